// The import attribute record of a route at a segmentation point: the attributes that it arrived with and those that
// replace them.
#pragma once

#include "host/family.h"
#include "host/route.h"

#include <optional>
#include <string>
#include <vector>

namespace qel::host {

// Makes the record in the block that of the route; null takes the route's record away. The block has to stay.
void place_record(QEL_ROUTE_INFO_S &route, const QEL_ROUTE_BLOCK_S *block);
// Whether the block holds a record.
bool has_record(const QEL_ROUTE_BLOCK_S &block);
// The record's octets; empty if the route has none.
std::vector<std::uint8_t> record_octets(const QEL_ROUTE_INFO_S &route);
// In words: policy, original and replaced attributes. "none" for a route without a record.
std::vector<std::string> record_lines(const Family &family, const QEL_ROUTE_INFO_S &route);

} // namespace qel::host
