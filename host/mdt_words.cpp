#include "host/mdt_words.h"

#include "host/community_words.h"
#include "mdt/qel_mdt.h"
#include "mdt/qel_mdt_records.h"
#include "qel_byteorder.h"

#include <cstring>

namespace qel::host {

std::optional<RouteValues> mdt_route(const QEL_ROUTE_INFO_S &route)
{
    QEL_MDT_KEY_S key;
    MdtRoute out;
    if (!copy_section(out.rd, route.pucRd, route.uiRdLen) || !copy_section(key, route.pucKey, route.uiKeyLen)) {
        return std::nullopt;
    }
    out.source = key.uiSource;
    out.group = key.uiGroup;
    return out;
}

std::string_view append_mdt_cross(Buffer &out, const Family &family, Octets value)
{
    if (value.size() != sizeof(std::uint32_t)) {
        return append_target_cross(out, family, value);
    }
    append(out, "share group ");
    append_ipv4(out, QEL_Load32(value.data()));
    return "share_group";
}

void append_mdt_match(Buffer &out, const Family &family, const MatchTlv &tlv)
{
    if (tlv.type != QEL_MDT_MATCH_TLV_IP || tlv.value.size() != sizeof(std::uint32_t)) {
        return append_common_match(out, family, tlv);
    }
    append(out, "group ");
    append_ipv4(out, QEL_LoadBe32(tlv.value.data()));
}

} // namespace qel::host
