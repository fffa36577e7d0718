// The messages of MDT in words.
#pragma once

#include "host/channel.h"
#include "host/parts.h"

namespace qel::host {

// One part for what the octets say, of a non-key one more for its TLV, and one for what the receiver makes of a route.
void append_mdt_message(Parts &parts, const Delivery &delivery);

} // namespace qel::host
