// Freed memory that is not zero, so that a record that is not cleared shows.
#pragma once

#include "support.h"

#include <array>

namespace qel::test {

inline void dirty_the_heap(std::uint32_t size)
{
    std::array<void *, 8> blocks{};
    for (void *&block : blocks) {
        block = ZVK_SimpleAlloc_F(kMemHandle, size, __FILE__, __LINE__);
        ASSERT_NE(block, nullptr);
        std::memset(block, 0xa5, size);
    }
    for (void *block : blocks) {
        ZVK_Free_F(block, __FILE__, __LINE__);
    }
}

} // namespace qel::test
