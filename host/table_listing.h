// How the routes of a table are shown, with what the library says of each: as text for people, as JSON for programs.
#pragma once

#include "host/attributes.h"
#include "host/family.h"
#include "host/output.h"
#include "host/route_values.h"
#include "host/update.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>

namespace qel::host {

// Calls come as table, then for each of its routes begin_route, its lists, end_route. A list is begin_list, its
// elements, end_list.
class TableListing {
public:
    enum class List : std::uint8_t { cross, match, before, after };

    virtual ~TableListing() = default;
    // `shown` of the `routes` follow.
    virtual void table(const FamilyInfo &family, std::size_t routes, std::size_t shown) = 0;
    virtual void begin_route(const FamilyInfo &family, const RouteValues &route) = 0;
    virtual void begin_list(List list) = 0;
    virtual void cross(std::string_view form, Octets value, std::string_view words) = 0;
    virtual void match(std::uint16_t tlv_type, Octets value, std::string_view words) = 0;
    virtual void community(AttributeView &attributes, std::size_t index) = 0;
    // `empty` says what it means that the list has no elements; `code` is not 0 if the library failed at it.
    virtual void end_list(std::string_view empty, std::uint32_t code) = 0;
    virtual void end_route() = 0;
};

std::unique_ptr<TableListing> make_text_listing(Output &out, bool colour);
std::unique_ptr<TableListing> make_json_listing(Output &out);

} // namespace qel::host
