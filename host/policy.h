// Actions of a routing policy on a route.
#pragma once

#include "host/family.h"
#include "host/message_buffer.h"
#include "host/route.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

namespace qel::host {

inline constexpr std::size_t kCommunitySize = 8;

// An action with its value: the first three have extended communities in wire order, the last one the instruction to
// replace the tunnel at a segmentation point.
class PolicyAction {
public:
    enum class Kind : std::uint8_t { add, replace, remove, replace_tunnel };

    PolicyAction(Kind kind, std::span<const std::uint8_t> value);

    // The number that the family knows the action by.
    std::uint32_t code() const;

    struct Result {
        std::uint32_t code = 0; // what the family answered
        // The new list, or the word that there is none; the record of the replaced tunnel. Null: the route keeps what
        // it has.
        BlockPtr block;
    };
    Result apply(const Family &family, const QEL_ROUTE_INFO_S &route) const;

private:
    Kind kind_;
    std::shared_ptr<const MessageBuffer> value_;
};

} // namespace qel::host
