// Shows the routes of tables in their order, each with its cross values, or with what a policy makes of it.
#pragma once

#include "host/filter.h"
#include "host/policy.h"
#include "host/rib.h"
#include "host/table_listing.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string_view>

namespace qel::host {

struct ShowOptions {
    RouteFilter filter;
    bool cross = false;
    bool match = false;
    std::optional<PolicyAction> action;
    // Every operation that failed, as one line without its newline.
    std::function<void(std::string_view)> diagnostic;
};

// Returns how many operations of the library failed.
std::uint64_t show_tables(const Rib &rib, const ShowOptions &options, TableListing &listing);

} // namespace qel::host
