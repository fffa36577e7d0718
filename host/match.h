// What the policy engine matches a route on.
#pragma once

#include "host/family.h"
#include "host/update.h"

#include <cstdint>
#include <functional>

namespace qel::host {

// One TLV of a match buffer.
struct MatchTlv {
    std::uint32_t match = 0; // the bit that asked for it
    std::uint16_t type = 0;
    Octets value;
};

// Asks the family for each match type that it offers, one at a time, and calls `found` for what it gives. A family that
// gives more octets than it wrote says so through `written`: false for a match type whose octets may not be looked at.
// Returns 0, or what the family answered when it failed.
std::uint32_t for_each_match(const Family &family, const QEL_ROUTE_INFO_S &route,
                             const std::function<bool(std::uint32_t match)> &written,
                             const std::function<void(const MatchTlv &)> &found);

} // namespace qel::host
