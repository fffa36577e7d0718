// Pieces of the listings for people.
#pragma once

#include "host/attributes.h"
#include "host/input.h"
#include "host/route_values.h"
#include "host/text.h"

#include <cstddef>
#include <string_view>

namespace qel::host {

// Terminal sequences; without colours all of them are empty.
struct Palette {
    std::string_view head;
    std::string_view label;
    std::string_view announced;
    std::string_view withdrawn;
    std::string_view trouble;
    std::string_view off;
};
const Palette &palette(bool colour);
void append_painted(Buffer &out, const Palette &colours, std::string_view colour, std::string_view text);

// A route in columns, without a newline.
void append_route(Buffer &out, const Palette &colours, const RouteValues &route);

// A community as the family displays it, and what it leaves untold: the type of one that has no label, the value of one
// that has none of the known forms.
void append_community(Buffer &out, AttributeView &attributes, std::size_t index);
void append_ipv6_community(Buffer &out, AttributeView &attributes, std::size_t index);
// Whole lists, with commas; a tunnel and segment identifiers as the family displays them, or by their numbers where it
// has no text. Nothing where the route has none.
void append_communities(Buffer &out, AttributeView &attributes);
void append_ipv6_communities(Buffer &out, AttributeView &attributes);
void append_tunnel(Buffer &out, AttributeView &attributes);
void append_prefix_sid(Buffer &out, AttributeView &attributes);
void append_msid(Buffer &out, AttributeView &attributes);

// File, place, time and speakers of a message, in one line.
void append_head(Buffer &out, const Palette &colours, const Origin &origin);

} // namespace qel::host
