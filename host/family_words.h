// Octets that a family hands out, in words. What a family's octets mean stands here and nowhere else.
#pragma once

#include "host/channel.h"
#include "host/family.h"
#include "host/match.h"
#include "host/parts.h"
#include "host/route_values.h"
#include "host/text.h"

#include <cstdint>
#include <optional>
#include <string_view>

namespace qel::host {

struct FamilyWords {
    // The values of an expanded route; nothing if it has no key of the family.
    std::optional<RouteValues> (*route)(const QEL_ROUTE_INFO_S &route);
    // Communities between wire order and the order that the family's lists are in, in place.
    void (*to_host)(QEL_EXTCOMM_S *list, std::uint32_t count);
    void (*to_wire)(QEL_EXTCOMM_S *list, std::uint32_t count);
    // Writes what a cross value is; returns the name of its form for programs.
    std::string_view (*cross)(Buffer &out, const Family &family, Octets value);
    void (*match)(Buffer &out, const Family &family, const MatchTlv &tlv);
    // Whether the family writes what it gives for a match type of this route.
    bool (*match_written)(const QEL_ROUTE_INFO_S &route, std::uint32_t match);
    // Writes what the octets of a message say, part by part.
    void (*message)(Parts &parts, const Delivery &delivery);
};

const FamilyWords &family_words(FamilyKind kind);

} // namespace qel::host
