#include "host/community_words.h"

#include "host/attributes.h"
#include "host/family_words.h"
#include "host/listing.h"

#include <cstring>
#include <vector>

namespace qel::host {
namespace {

// The same in every family's match buffer.
constexpr std::uint16_t kTlvCommunities = 11;
constexpr std::uint16_t kTlvRd = 13;

} // namespace

void append_list(Buffer &out, const Family &family, Octets list)
{
    QEL_ROUTE_INFO_S info{};
    info.uiValidMask = QEL_SECTION_ATTR;
    info.pucExtComm = list.data();
    info.uiExtCommLen = static_cast<std::uint32_t>(list.size());
    AttributeView view(family, info);
    append_communities(out, view);
}

void append_ipv6_list(Buffer &out, const Family &family, Octets list)
{
    QEL_ROUTE_INFO_S info{};
    info.uiValidMask = QEL_SECTION_ATTR;
    info.pucIpv6ExtComm = list.data();
    info.uiIpv6ExtCommLen = static_cast<std::uint32_t>(list.size());
    AttributeView view(family, info);
    append_ipv6_communities(out, view);
}

void append_wire_communities(Buffer &out, const Family &family, Octets list)
{
    std::vector<QEL_EXTCOMM_S> elements(list.size() / sizeof(QEL_EXTCOMM_S));
    if (elements.empty()) {
        return;
    }
    std::memcpy(elements.data(), list.data(), elements.size() * sizeof(QEL_EXTCOMM_S));
    family_words(family.info().kind).to_host(elements.data(), static_cast<std::uint32_t>(elements.size()));
    append_list(out, family,
                {reinterpret_cast<const std::uint8_t *>(elements.data()), elements.size() * sizeof(elements[0])});
}

std::string_view append_target_cross(Buffer &out, const Family &family, Octets value)
{
    if (value.size() == sizeof(QEL_EXTCOMM_S)) {
        append_list(out, family, value);
        return "route_target";
    }
    append_hex(out, value);
    return "value";
}

void append_common_match(Buffer &out, const Family &family, const MatchTlv &tlv)
{
    if (tlv.type == kTlvRd && tlv.value.size() == sizeof(QEL_RD_VALUE_S)) {
        QEL_RD_VALUE_S rd; // as the route holds it, in host order
        std::memcpy(&rd, tlv.value.data(), sizeof(rd));
        append(out, "RD ");
        append_rd(out, rd);
    } else if (tlv.type == kTlvCommunities) {
        append(out, "communities ");
        append_wire_communities(out, family, tlv.value);
    } else {
        append_hex(out, tlv.value);
    }
}

} // namespace qel::host
