// The cross values of a route: octet strings that say into which import scopes it falls.
#pragma once

#include "host/family.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace qel::host {

// A cross value. Up to 15 octets need no heap.
class Cross {
public:
    explicit Cross(std::span<const std::uint8_t> octets)
        : octets_(reinterpret_cast<const char *>(octets.data()), octets.size())
    {
    }

    std::span<const std::uint8_t> octets() const
    {
        return {reinterpret_cast<const std::uint8_t *>(octets_.data()), octets_.size()};
    }
    bool operator==(const Cross &) const = default;

private:
    std::string octets_;
};

// Goes through the cross values of a route, one per call of next().
class CrossWalk {
public:
    // Family and route have to outlive the walk.
    CrossWalk(const Family &family, const QEL_ROUTE_INFO_S &route) : family_(&family), route_(&route) {}

    // Nothing at the end, and where the family fails; code() tells which.
    std::optional<Cross> next();
    // 0, or what the family answered when it failed.
    std::uint32_t code() const { return code_; }

private:
    const Family *family_;
    const QEL_ROUTE_INFO_S *route_;
    std::uint32_t cursor_ = 0; // the family's own
    std::uint32_t code_ = 0;
    bool ended_ = false;
};

} // namespace qel::host
