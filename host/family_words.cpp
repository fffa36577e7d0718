#include "host/family_words.h"

#include "host/community_words.h"
#include "host/mdt_message_words.h"
#include "host/mdt_words.h"
#include "host/ng_mvpn_message_words.h"
#include "host/ng_mvpn_words.h"
#include "host/vpnv4_mcast_words.h"
#include "mdt/qel_mdtpkt.h"
#include "ngmvpn/qel_ngmvpn_util.h"
#include "vpnv4mcast/qel_vpnv4mcast.h"

#include <array>

namespace qel::host {
namespace {

std::optional<RouteValues> ng_mvpn_values(const QEL_ROUTE_INFO_S &route)
{
    return ng_mvpn_route(route);
}

bool always_written(const QEL_ROUTE_INFO_S &, std::uint32_t)
{
    return true;
}

void no_words(Parts &, const Delivery &) {}

// By FamilyKind.
constexpr std::array<FamilyWords, 3> kWords{{
    {ng_mvpn_values, QEL_NGMVPN_ConvertExtCommunityNTOH, QEL_NGMVPN_ConvertExtCommunityHTON, append_ng_mvpn_cross,
     append_ng_mvpn_match, ng_mvpn_match_written, append_ng_mvpn_message},
    {mdt_route, QEL_MDT_ConvertExtCommunityNTOH, QEL_MDT_ConvertExtCommunityHTON, append_mdt_cross, append_mdt_match,
     always_written, append_mdt_message},
    {vpnv4_mcast_route, QEL_VPNV4MCAST_ConvertExtCommunityNTOH, QEL_VPNV4MCAST_ConvertExtCommunityHTON,
     append_target_cross, append_common_match, always_written, no_words},
}};

} // namespace

const FamilyWords &family_words(FamilyKind kind)
{
    return kWords[static_cast<std::size_t>(kind)];
}

} // namespace qel::host
