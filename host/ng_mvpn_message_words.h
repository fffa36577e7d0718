// The messages of NG-MVPN in words.
#pragma once

#include "host/channel.h"
#include "host/parts.h"

namespace qel::host {

// One part for each TLV, and one for what the receiver makes of a route.
void append_ng_mvpn_message(Parts &parts, const Delivery &delivery);

} // namespace qel::host
