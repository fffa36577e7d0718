// The octets of VPNv4 multicast in words.
#pragma once

#include "host/route_values.h"

#include <optional>

namespace qel::host {

// Nothing if the route has no key or no RD of the family.
std::optional<RouteValues> vpnv4_mcast_route(const QEL_ROUTE_INFO_S &route);

} // namespace qel::host
