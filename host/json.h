// Writers of JSON, member by member: what is written once per route has to be quick.
#pragma once

#include "host/attributes.h"
#include "host/input.h"
#include "host/route_values.h"
#include "host/text.h"
#include "host/update.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace qel::host {

// Writes the commas of one object or array.
class Separator {
public:
    void reset() { first_ = true; }
    void next(Buffer &out)
    {
        if (!first_) {
            out.push_back(',');
        }
        first_ = false;
    }

private:
    bool first_ = true;
};

// Each writes a comma in front.
void append_member(Buffer &out, std::string_view name, std::uint64_t value);
// For values that hold nothing to escape.
void append_plain_member(Buffer &out, std::string_view name, std::string_view value);
void append_text_member(Buffer &out, std::string_view name, std::string_view value);
void append_hex_member(Buffer &out, std::string_view name, Octets octets);
void append_ipv4_member(Buffer &out, std::string_view name, std::uint32_t address);
void append_ipv6_member(Buffer &out, std::string_view name, const std::uint8_t *address);
// Objects, nothing in front.
void append_community_object(Buffer &out, AttributeView &attributes, std::size_t index);
void append_ipv6_community_object(Buffer &out, AttributeView &attributes, std::size_t index);
// Place, time and speakers of a message, with a comma in front.
void append_origin_members(Buffer &out, const Origin &origin);
// Type (of families that have one), name, RD, and what else the route has, with a comma in front.
void append_route_members(Buffer &out, const RouteValues &route);

} // namespace qel::host
