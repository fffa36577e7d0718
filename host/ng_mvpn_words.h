// The octets of NG-MVPN in words.
#pragma once

#include "host/family.h"
#include "host/match.h"
#include "host/text.h"

#include <cstdint>
#include <string_view>

namespace qel::host {

std::string_view append_ng_mvpn_cross(Buffer &out, const Family &family, Octets value);
void append_ng_mvpn_match(Buffer &out, const Family &family, const MatchTlv &tlv);
// Room for the originator's address is given for every I-PMSI and S-PMSI A-D route, and an IPv6 one is not written.
bool ng_mvpn_match_written(const QEL_ROUTE_INFO_S &route, std::uint32_t match);

} // namespace qel::host
