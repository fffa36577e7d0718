#include "host/ng_mvpn_words.h"

#include "host/community_words.h"
#include "host/ng_mvpn_route.h"
#include "host/render.h"
#include "ngmvpn/qel_ngmvpn_cross.h"
#include "ngmvpn/qel_ngmvpn_policy.h"
#include "ngmvpn/qel_ngmvpn_util.h"
#include "qel_byteorder.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <optional>

namespace qel::host {
namespace {

// Type words of an import target: any route target that is rewritten, and that of the global table's own.
constexpr std::uint16_t kRewritten = 0x010b;
constexpr std::uint16_t kRewrittenGlobal = 0xffff;
constexpr std::uint8_t kAfiIpv6 = 2;

std::string_view append_marker(Buffer &out, Octets value)
{
    const bool zero = std::all_of(value.begin(), value.end(), [](std::uint8_t octet) { return octet == 0; });
    append(out,
           zero ? "marker 0x00000000: global table, no route target" : "marker 0xffffffff: a VPN, or a route target");
    return "marker";
}

std::uint16_t type_of(Octets element)
{
    return QEL_Load16(element.data());
}

// The type tells no longer which form the target had; it is read as an address and a number, which is what routes of
// these types carry.
void append_rewritten(Buffer &out, Octets element)
{
    const std::uint16_t type = type_of(element);
    append(out, type == kRewritten ? "rewritten RT <" : "rewritten RT of the global table <");
    if (element.size() == sizeof(QEL_EXTCOMM_S)) {
        append_ipv4(out, QEL_Load32(element.data() + offsetof(QEL_EXTCOMM_S, uiGlobalAdmin)));
        append(out, " : ");
        append_number(out, QEL_Load16(element.data() + offsetof(QEL_EXTCOMM_S, usLocalAdmin)));
    } else {
        std::array<std::uint8_t, 16> address;
        for (std::size_t at = 0; at < address.size(); at += sizeof(std::uint32_t)) {
            QEL_StoreBe32(address.data() + at, QEL_Load32(element.data() + offsetof(QEL_IPV6_EXTCOMM_S, auiAddr) + at));
        }
        append_ipv6(out, address.data());
        append(out, " . ");
        append_number(out, QEL_Load16(element.data() + offsetof(QEL_IPV6_EXTCOMM_S, usLocalAdmin)));
    }
    append(out, ">, type ");
    append_community_type(out, type);
}

std::string_view append_target(Buffer &out, const Family &family, Octets value)
{
    if (type_of(value) == kRewritten || type_of(value) == kRewrittenGlobal) {
        append_rewritten(out, value);
        return "rewritten_route_target";
    }
    if (value.size() == sizeof(QEL_EXTCOMM_S)) {
        append_list(out, family, value);
        return "route_target";
    }
    append_ipv6_list(out, family, value);
    return "ipv6_route_target";
}

// The parts of a private import target: what the key is of, the key's octets, the target in wire order.
struct PrivateTarget {
    std::string_view name;
    bool flow; // source and group stand before the originator
    std::size_t originator;
};

const PrivateTarget *private_target(std::uint8_t type)
{
    static constexpr std::size_t kIpv4 = 4;
    static constexpr std::size_t kIpv6 = 16;
    static constexpr PrivateTarget intra{"Intra-AS I-PMSI A-D", false, kIpv4};
    static constexpr PrivateTarget intra_orig6{"Intra-AS I-PMSI A-D", false, kIpv6};
    static constexpr PrivateTarget spmsi{"S-PMSI A-D", true, kIpv4};
    static constexpr PrivateTarget spmsi_orig6{"S-PMSI A-D", true, kIpv6};
    switch (type) {
    case QEL_NGMVPN_IRT_INTRA:
        return &intra;
    case QEL_NGMVPN_IRT_INTRA_ORIG6:
        return &intra_orig6;
    case QEL_NGMVPN_IRT_SPMSI:
        return &spmsi;
    case QEL_NGMVPN_IRT_SPMSI_ORIG6:
    case QEL_NGMVPN_IRT_SPMSI_V6_ORIG6:
        return &spmsi_orig6;
    default:
        return nullptr;
    }
}

void append_octets_address(Buffer &out, Octets address)
{
    if (address.size() == sizeof(std::uint32_t)) {
        append_ipv4(out, QEL_LoadBe32(address.data()));
    } else {
        append_ipv6(out, address.data());
    }
}

// `rest` is what stands between RD and originator; false for lengths that no key has. In the full shape a wildcard
// keeps the room of its address, and an octet that stands there is shown.
bool append_flow(Buffer &out, Octets rest, std::size_t address)
{
    const bool full = rest.size() == 2 * (1 + address);
    for (const std::string_view label : {" source ", " group "}) {
        if (rest.empty()) {
            return false;
        }
        const std::uint8_t bits = rest[0];
        const std::size_t room = full ? address : bits / 8U;
        if ((bits != 0 && bits != 8 * address) || rest.size() - 1 < room) {
            return false;
        }
        append(out, label);
        const Octets octets = rest.subspan(1, room);
        if (bits != 0) {
            append_octets_address(out, octets);
        } else {
            out.push_back('*');
            if (std::any_of(octets.begin(), octets.end(), [](std::uint8_t octet) { return octet != 0; })) {
                append(out, " (octets ");
                append_hex(out, octets);
                out.push_back(')');
            }
        }
        rest = rest.subspan(1 + room);
    }
    return rest.empty();
}

void append_wire_rd(Buffer &out, Octets octets)
{
    QEL_RD_VALUE_S rd{};
    rd.usRdType = QEL_LoadBe16(octets.data());
    std::memcpy(rd.aucValue, octets.data() + sizeof(rd.usRdType), sizeof(rd.aucValue));
    if (rd.usRdType == 0) {
        rd.usAsn = QEL_LoadBe16(octets.data() + offsetof(QEL_RD_VALUE_S, usAsn));
        rd.uiAssigned = QEL_LoadBe32(octets.data() + offsetof(QEL_RD_VALUE_S, uiAssigned));
    } else {
        rd.uiAdmin = QEL_LoadBe32(octets.data() + offsetof(QEL_RD_VALUE_S, uiAdmin));
        rd.usAssigned = QEL_LoadBe16(octets.data() + offsetof(QEL_RD_VALUE_S, usAssigned));
    }
    append_rd(out, rd);
}

bool append_private_key(Buffer &out, const PrivateTarget &parts, Octets key, std::size_t address)
{
    if (key.size() < sizeof(QEL_RD_VALUE_S) + parts.originator) {
        return false;
    }
    append(out, " RD ");
    append_wire_rd(out, key.first(sizeof(QEL_RD_VALUE_S)));
    const Octets rest = key.subspan(sizeof(QEL_RD_VALUE_S), key.size() - sizeof(QEL_RD_VALUE_S) - parts.originator);
    if (parts.flow ? !append_flow(out, rest, address) : !rest.empty()) {
        return false;
    }
    append(out, " originator ");
    append_octets_address(out, key.last(parts.originator));
    return true;
}

void append_wire_target(Buffer &out, const Family &family, Octets target)
{
    if (target.size() == sizeof(QEL_EXTCOMM_S)) {
        return append_wire_communities(out, family, target);
    }
    QEL_IPV6_EXTCOMM_S element;
    std::memcpy(&element, target.data(), sizeof(element));
    QEL_NGMVPN_ConvertIPv6ExtCommunityNTOH(&element, 1);
    append_ipv6_list(out, family, {reinterpret_cast<const std::uint8_t *>(&element), sizeof(element)});
}

// The lengths tell where the key ends: with the addresses of one family no two keys and targets add up to the same.
std::string_view append_private(Buffer &out, const Family &family, Octets value)
{
    const std::size_t start = out.size();
    const PrivateTarget *parts = private_target(value[0]);
    const std::size_t address = family.info().afi == kAfiIpv6 ? 16 : sizeof(std::uint32_t);
    for (const std::size_t target : {sizeof(QEL_EXTCOMM_S), sizeof(QEL_IPV6_EXTCOMM_S)}) {
        if (parts == nullptr || value.size() <= 1 + target) {
            continue;
        }
        append(out, "Leaf A-D, answers ");
        append(out, parts->name);
        if (append_private_key(out, *parts, value.subspan(1, value.size() - 1 - target), address)) {
            append(out, ", ");
            append_wire_target(out, family, value.last(target));
            return "private_target";
        }
        out.resize(start);
    }
    append(out, "private target of type ");
    append_number(out, value[0]);
    out.push_back(' ');
    append_hex(out, value.subspan(1));
    return "private_target";
}

} // namespace

std::string_view append_ng_mvpn_cross(Buffer &out, const Family &family, Octets value)
{
    switch (value.size()) {
    case QEL_NGMVPN_CROSS_GTM_LEN:
        return append_marker(out, value);
    case QEL_NGMVPN_CROSS_RT_LEN:
    case QEL_NGMVPN_CROSS_IPV6_RT_LEN:
        return append_target(out, family, value);
    default:
        break;
    }
    if (value.size() > QEL_NGMVPN_CROSS_IPV6_RT_LEN) {
        return append_private(out, family, value);
    }
    append_hex(out, value);
    return "value";
}

void append_ng_mvpn_match(Buffer &out, const Family &family, const MatchTlv &tlv)
{
    if (tlv.match == QEL_NGMVPN_MATCH_SNH_EXTCOMM && tlv.type == QEL_NGMVPN_MATCH_TLV_EXTCOMM) {
        append(out, "communities for a segmented next hop ");
        append_wire_communities(out, family, tlv.value);
    } else if (tlv.type == QEL_NGMVPN_MATCH_TLV_MVPN_TYPE && tlv.value.size() == 1) {
        append(out, "route type ");
        append_number(out, tlv.value[0]);
    } else if (tlv.type == QEL_NGMVPN_MATCH_TLV_ORIGI_IP && tlv.value.size() == sizeof(std::uint32_t)) {
        append(out, "originator ");
        append_octets_address(out, tlv.value);
    } else {
        append_common_match(out, family, tlv);
    }
}

bool ng_mvpn_match_written(const QEL_ROUTE_INFO_S &route, std::uint32_t match)
{
    if (match != QEL_NGMVPN_MATCH_ORIGI_IP) {
        return true;
    }
    const std::optional<NgMvpnRoute> values = ng_mvpn_route(route);
    return values && values->originator.kind == MvpnAddress::Kind::ipv4;
}

} // namespace qel::host
