// The octets of the MDT family in words.
#pragma once

#include "host/family.h"
#include "host/match.h"
#include "host/route_values.h"
#include "host/text.h"

#include <optional>
#include <string_view>

namespace qel::host {

// Nothing if the route has no key or no RD of the family.
std::optional<RouteValues> mdt_route(const QEL_ROUTE_INFO_S &route);
// A route target, or the share group of a route that has none.
std::string_view append_mdt_cross(Buffer &out, const Family &family, Octets value);
void append_mdt_match(Buffer &out, const Family &family, const MatchTlv &tlv);

} // namespace qel::host
