// A MCAST-VPN route in plain values, read from its key section.
#pragma once

#include "ngmvpn/qel_ngmvpn_records.h"
#include "qel_route.h"

#include <cstdint>
#include <optional>
#include <string_view>

namespace qel::host {

struct MvpnAddress {
    enum class Kind : std::uint8_t { absent, wildcard, ipv4, ipv6 };

    Kind kind = Kind::absent;
    QEL_ADDR_S value{};
};

struct NgMvpnRoute {
    std::uint8_t type = 0; // on the wire: 1 to 7
    QEL_RD_VALUE_S rd{};
    std::optional<std::uint32_t> source_as;
    MvpnAddress source;
    MvpnAddress group;
    MvpnAddress originator;
    MvpnAddress leaf;
    std::uint8_t answers = 0;       // Leaf A-D: the wire type of the route that it answers; else 0
    bool explicit_wildcard = false; // a wildcard is written out with zero octets
};

inline constexpr std::uint8_t kNgMvpnTypes = 7;

// Nothing if the route has no NG-MVPN key.
std::optional<NgMvpnRoute> ng_mvpn_route(const QEL_ROUTE_INFO_S &info);

// "S-PMSI A-D" and so on, by wire type.
std::string_view ng_mvpn_type_name(std::uint8_t type);

} // namespace qel::host
