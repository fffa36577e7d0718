// The parser's door of the NG-MVPN family as the fuzz targets use it.
#pragma once

#include "check.h"

#include "host/family.h"
#include "host/route.h"

namespace qel::fuzz {

constexpr std::uint32_t kMemHandle = 7;
constexpr std::uint32_t kUnwritten = 0xa5a5a5a5; // a more-word that the family never stores
constexpr std::uint8_t kFill = 0x5a;

// One call of pfParsePkt.
struct Step {
    std::uint32_t code = 0;
    std::size_t advance = 0;
    std::uint32_t more = kUnwritten;
    host::BlockPtr block;
};

inline Step parse(const host::Family &family, std::uint32_t attribute_type, Octets left)
{
    Step step;
    const std::uint8_t *cursor = left.data();
    QEL_ROUTE_BLOCK_S *block = nullptr;
    step.code = family.desc().pfParsePkt(&cursor, static_cast<std::uint32_t>(left.size()), 0, attribute_type, &block,
                                         &step.more, family.ctx());
    step.block.reset(block);
    require(cursor >= left.data(), "the cursor never moves backwards");
    step.advance = static_cast<std::size_t>(cursor - left.data());
    return step;
}

Octets bytes_of(const auto &record)
{
    return {reinterpret_cast<const std::uint8_t *>(&record), sizeof(record)};
}

} // namespace qel::fuzz
