// A route of any family in plain values.
#pragma once

#include "host/ng_mvpn_route.h"
#include "qel_route.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string_view>
#include <variant>

namespace qel::host {

struct MdtRoute {
    QEL_RD_VALUE_S rd{};
    std::uint32_t source = 0; // host order
    std::uint32_t group = 0;
};

struct Vpnv4McastRoute {
    QEL_RD_VALUE_S rd{};
    std::uint32_t prefix = 0; // host order
    std::uint32_t mask_len = 0;
    std::optional<std::uint32_t> label; // 20 bits
};

using RouteValues = std::variant<NgMvpnRoute, MdtRoute, Vpnv4McastRoute>;

// The kinds of routes that are counted apart: 1 to 7 the route types of NG-MVPN, then the families of one kind.
inline constexpr std::size_t kFormMdt = kNgMvpnTypes + 1;
inline constexpr std::size_t kFormVpnv4Mcast = kFormMdt + 1;
inline constexpr std::size_t kRouteForms = kFormVpnv4Mcast + 1;
std::size_t route_form(const RouteValues &route);
std::string_view route_form_name(std::size_t form);

// A copy of a section, which may stand at any address; false if it is not there in this size.
template <class Record> bool copy_section(Record &record, const std::uint8_t *section, std::uint32_t length)
{
    if (section == nullptr || length != sizeof(record)) {
        return false;
    }
    std::memcpy(&record, section, sizeof(record));
    return true;
}

// Of a family without route types: 0.
std::uint8_t wire_type(const RouteValues &route);
const QEL_RD_VALUE_S &rd_of(const RouteValues &route);
// Absent where routes of the kind have none.
MvpnAddress source_of(const RouteValues &route);
MvpnAddress group_of(const RouteValues &route);

} // namespace qel::host
