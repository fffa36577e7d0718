#include "host/attributes.h"

#include "host/family_words.h"
#include "ngmvpn/qel_ngmvpn_util.h"
#include "qel_byteorder.h"
#include "qel_codes.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace qel::host {
namespace {

// Bits of the Type octet: whether the community leaves the AS changes nothing about its form.
constexpr std::uint8_t kNonTransitive = 0x40;

bool holds_section(const QEL_ROUTE_INFO_S &info, std::uint8_t attribute_type)
{
    switch (attribute_type) {
    case QEL_ATTR_TYPE_EXTCOMM:
        return info.pucExtComm != nullptr;
    case QEL_ATTR_TYPE_PMSI:
        return info.pucPmsi != nullptr;
    case QEL_ATTR_TYPE_IPV6_EXTCOMM:
        return info.pucIpv6ExtComm != nullptr;
    case QEL_ATTR_TYPE_PFXSID:
        return info.pucPfxSid != nullptr;
    case QEL_ATTR_TYPE_MSID:
        return info.pucMsid != nullptr;
    default:
        return false;
    }
}

// Four host-order words as the wire has them.
std::array<std::uint8_t, 16> wire_address(const std::uint32_t *words)
{
    std::array<std::uint8_t, 16> out;
    for (std::size_t i = 0; i < 4; ++i) {
        QEL_StoreBe32(out.data() + 4 * i, words[i]);
    }
    return out;
}

// A copy of the record at the front of a section, which may stand at any address and be shorter.
template <class Record> Record record_at(const std::uint8_t *section, std::uint32_t length)
{
    Record record{};
    std::memcpy(&record, section, std::min<std::size_t>(sizeof(record), length));
    return record;
}

} // namespace

std::uint32_t NotCarriedTunnel::label() const
{
    return QEL_LoadBe32(octets.data() + 1) & 0xffffff;
}

std::uint16_t Ipv6Community::local() const
{
    return QEL_LoadBe16(octets.data() + 16);
}

void UpdateAttributes::reset(const Family *family)
{
    family_ = family;
    route_ = Route();
    not_carried_.clear();
    wire_.clear();
}

bool UpdateAttributes::add(BlockPtr block)
{
    if (holds_section(info(), block->ucAttrType)) {
        return false;
    }
    route_.add(std::move(block));
    return true;
}

bool UpdateAttributes::empty() const
{
    return (info().uiValidMask & QEL_SECTION_ATTR) == 0 && not_carried_.empty() && wire_.empty();
}

std::optional<AttributeView> UpdateAttributes::view() const
{
    return family_ != nullptr ? std::optional<AttributeView>(std::in_place, *family_, info()) : std::nullopt;
}

std::string_view AttributeView::text(Shown what, std::size_t index)
{
    text_[0] = '\0';
    auto place = static_cast<std::uint32_t>(index);
    std::uint32_t more = 0;
    const std::uint32_t code =
        family_->desc().pfData2Str(info_, static_cast<std::uint32_t>(what), text_.data(),
                                   static_cast<std::uint32_t>(text_.size() - 1), &place, &more, family_->ctx());
    return code == QEL_OK ? std::string_view(text_.data()) : std::string_view();
}

std::size_t community_count(const QEL_ROUTE_INFO_S &info)
{
    return info.pucExtComm != nullptr ? info.uiExtCommLen / sizeof(QEL_EXTCOMM_S) : 0;
}

std::size_t ipv6_community_count(const QEL_ROUTE_INFO_S &info)
{
    return info.pucIpv6ExtComm != nullptr ? info.uiIpv6ExtCommLen / sizeof(QEL_IPV6_EXTCOMM_S) : 0;
}

// The list is in host order, but for which octets of an unknown type that means only the family knows: it turns the
// element back.
Community AttributeView::community(std::size_t index) const
{
    auto element = record_at<QEL_EXTCOMM_S>(info_->pucExtComm + index * sizeof(QEL_EXTCOMM_S), sizeof(QEL_EXTCOMM_S));
    Community out;
    out.type = element.usType;
    family_words(family_->info().kind).to_wire(&element, 1);
    std::memcpy(out.octets.data(), element.aucValue, out.octets.size());
    const std::uint8_t *value = out.octets.data();
    switch ((out.type >> 8) & ~kNonTransitive) {
    case 0:
        out.form = Community::Form::as2;
        out.global = QEL_LoadBe16(value);
        out.local = QEL_LoadBe32(value + 2);
        break;
    case 1:
    case 2:
        out.form = ((out.type >> 8) & 1) != 0 ? Community::Form::ipv4 : Community::Form::as4;
        out.global = QEL_LoadBe32(value);
        out.local = QEL_LoadBe16(value + 4);
        break;
    default:
        break;
    }
    return out;
}

Ipv6Community ipv6_community(const QEL_ROUTE_INFO_S &info, std::size_t index)
{
    auto element = record_at<QEL_IPV6_EXTCOMM_S>(info.pucIpv6ExtComm + index * sizeof(QEL_IPV6_EXTCOMM_S),
                                                 sizeof(QEL_IPV6_EXTCOMM_S));
    Ipv6Community out;
    out.type = element.usType;
    QEL_NGMVPN_ConvertIPv6ExtCommunityHTON(&element, 1);
    const auto *octets = reinterpret_cast<const std::uint8_t *>(&element);
    std::memcpy(out.octets.data(), octets + sizeof(element.usType), out.octets.size());
    return out;
}

std::optional<QEL_NGMVPN_PMSI_TNL_S> pmsi_tunnel(const QEL_ROUTE_INFO_S &info)
{
    if (info.pucPmsi == nullptr) {
        return std::nullopt;
    }
    return record_at<QEL_NGMVPN_PMSI_TNL_S>(info.pucPmsi, info.uiPmsiLen);
}

std::optional<PrefixSid> prefix_sid(const QEL_ROUTE_INFO_S &info)
{
    if (info.pucPfxSid == nullptr) {
        return std::nullopt;
    }
    const auto record = record_at<QEL_NGMVPN_PFXSID_S>(info.pucPfxSid, info.uiPfxSidLen);
    return PrefixSid{wire_address(record.auiSid), record.usEndpointBehavior};
}

std::optional<Msid> msid(const QEL_ROUTE_INFO_S &info)
{
    if (info.pucMsid == nullptr) {
        return std::nullopt;
    }
    const auto record = record_at<QEL_NGMVPN_MSID_S>(info.pucMsid, info.uiMsidLen);
    return Msid{wire_address(record.auiMsid), record.ucHasStructure != 0, record.ucPrefixLen, record.ucMsidLen};
}

std::string_view tunnel_type_name(std::uint8_t type)
{
    switch (type) {
    case QEL_NGMVPN_TNL_NONE:
        return "no tunnel information";
    case QEL_NGMVPN_TNL_RSVP_TE_P2MP:
        return "RSVP-TE P2MP LSP";
    case QEL_NGMVPN_TNL_MLDP_P2MP:
        return "mLDP P2MP LSP";
    case QEL_NGMVPN_TNL_PIM_SSM:
        return "PIM-SSM tree";
    case QEL_NGMVPN_TNL_PIM_SM:
        return "PIM-SM tree";
    case QEL_NGMVPN_TNL_BIDIR_PIM:
        return "BIDIR-PIM tree";
    case QEL_NGMVPN_TNL_INGRESS_REPLICATION:
        return "ingress replication";
    case QEL_NGMVPN_TNL_MLDP_MP2MP:
        return "mLDP MP2MP LSP";
    case QEL_NGMVPN_TNL_BIER:
        return "BIER";
    default:
        return "unknown";
    }
}

} // namespace qel::host
