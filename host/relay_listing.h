// How the messages that a route becomes are shown: as text for people, as JSON for programs.
#pragma once

#include "host/channel.h"
#include "host/input.h"
#include "host/output.h"
#include "host/parts.h"
#include "host/route_values.h"

#include <cstddef>
#include <memory>
#include <string_view>

namespace qel::host {

// Calls come as begin_route, its messages in the order in which they pass, end_route.
class RelayListing {
public:
    virtual ~RelayListing() = default;
    // `offset` is the route's first octet in the message.
    virtual void begin_route(const FamilyInfo &family, const Origin &origin, Change change, std::size_t offset,
                             const RouteValues &route) = 0;
    // `words` say what the octets mean.
    virtual void message(const Delivery &delivery, const Parts &words) = 0;
    virtual void end_route() = 0;
};

std::unique_ptr<RelayListing> make_text_relay_listing(Output &out, bool colour);
std::unique_ptr<RelayListing> make_json_relay_listing(Output &out);

// "message", "HA" or "attribute"
std::string_view carrier_name(Carrier carrier);

} // namespace qel::host
