// Sections and match values that all families have, in words.
#pragma once

#include "host/family.h"
#include "host/match.h"
#include "host/text.h"
#include "host/update.h"

#include <string_view>

namespace qel::host {

// A list of communities, or of IPv6 address specific ones, in host order as a route holds it, displayed.
void append_list(Buffer &out, const Family &family, Octets list);
void append_ipv6_list(Buffer &out, const Family &family, Octets list);
// A list of communities in wire order, displayed.
void append_wire_communities(Buffer &out, const Family &family, Octets list);

// A cross value that is a route target alone; any other one in hex. Returns the name of its form.
std::string_view append_target_cross(Buffer &out, const Family &family, Octets value);
// The RD and the communities of a match buffer; any other TLV in hex.
void append_common_match(Buffer &out, const Family &family, const MatchTlv &tlv);

} // namespace qel::host
