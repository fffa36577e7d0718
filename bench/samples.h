// What samples of benchmarks are made of: memory of the library's kind, lists of communities, blocks read from the
// wire.
#pragma once

#include "bench/table.h"

#include "host/family.h"
#include "host/route.h"
#include "platform/zvk.h"
#include "qel_byteorder.h"

#include <memory>

namespace qel::bench {

constexpr std::uint32_t kMemHandle = 3;

struct PlatformFree {
    void operator()(void *mem) const { ZVK_Free_F(mem, __FILE__, __LINE__); }
};
using Buffer = std::unique_ptr<std::uint8_t, PlatformFree>;

inline Buffer allocate(std::size_t size)
{
    return Buffer(static_cast<std::uint8_t *>(
        ZVK_SimpleAlloc_F(kMemHandle, static_cast<std::uint32_t>(size), __FILE__, __LINE__)));
}

// As many route targets, and behind them as many other communities, on the wire and in order.
inline Bytes communities(std::size_t targets, std::size_t others, std::uint32_t first = 1)
{
    Bytes list;
    for (std::size_t i = 0; i < targets + others; ++i) {
        const Bytes element = bytes(i < targets ? "0002 0064 00000000" : "0009 0064 00000000");
        list.insert(list.end(), element.begin(), element.end());
        QEL_StoreBe32(&list[list.size() - 4], first + static_cast<std::uint32_t>(i));
    }
    return list;
}

inline host::BlockPtr read_block(const host::Family &family, const Bytes &wire, std::uint32_t attribute)
{
    const std::uint8_t *cursor = wire.data();
    QEL_ROUTE_BLOCK_S *block = nullptr;
    std::uint32_t more = 0;
    if (family.desc().pfParsePkt(&cursor, static_cast<std::uint32_t>(wire.size()), 0, attribute, &block, &more,
                                 family.ctx()) != QEL_OK ||
        block == nullptr) {
        fail("a route is not taken");
    }
    return host::BlockPtr(block);
}

} // namespace qel::bench
