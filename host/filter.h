// Which routes are shown.
#pragma once

#include "host/attributes.h"
#include "host/route_values.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace qel::host {

// A route is shown if it agrees with everything that is set.
struct RouteFilter {
    std::optional<std::uint32_t> types{};      // bit N: wire route type N; MDT and VPNv4 multicast have no types
    std::optional<std::string> rd{};           // as canonical_rd() gives it
    std::optional<std::string> route_target{}; // as canonical_route_target() gives it
    std::optional<MvpnAddress> source{};       // a wildcard stands for itself
    std::optional<MvpnAddress> group{};

    bool active() const { return types || rd || route_target || source || group; }
    // Everything but the route target, which is the UPDATE's and not the route's.
    bool accepts(const RouteValues &route) const;
    // Whether one of the communities is the route target that is asked for.
    bool accepts_targets(AttributeView &attributes) const;
};

// The RD as the listing shows it, for "65000:99", "10.0.0.1:5", "70000:5" or "1.4464:5", "3:0x000000640001"; nothing
// for a text that is no RD.
std::optional<std::string> canonical_rd(std::string_view text);
// The route target as the listing shows it, without label, brackets and blanks: "100:1", "192.0.2.1:5", "1.4464:5" (or
// "70000:5") and "2001:db8::1.7". All of these may be given with them.
std::optional<std::string> canonical_route_target(std::string_view text);
// The extended community of a route target as the wire has it, for the same texts but those with an IPv6 address, which
// eight octets do not hold.
std::optional<std::array<std::uint8_t, 8>> route_target_octets(std::string_view text);
// The set of route types in "3" or "3,5"; nothing if one of them is not of 1 to 7.
std::optional<std::uint32_t> route_types(std::string_view text);
// An address, or the wildcard for "*".
std::optional<MvpnAddress> flow_address(std::string_view text);

} // namespace qel::host
