// Memory calls that stay within a room.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace qel::platform {

inline constexpr std::int32_t kDone = 0;
inline constexpr std::int32_t kRefused = 1;

inline bool fits(const void *dst, std::size_t room, const void *src, std::size_t count)
{
    return dst != nullptr && src != nullptr && room != 0 && count <= room;
}

inline std::int32_t bounded_copy(void *dst, std::size_t room, const void *src, std::size_t count)
{
    if (!fits(dst, room, src, count)) {
        return kRefused;
    }
    std::memcpy(dst, src, count);
    return kDone;
}

inline std::int32_t bounded_fill(void *dst, std::size_t room, std::int32_t value, std::size_t count)
{
    if (!fits(dst, room, dst, count)) {
        return kRefused;
    }
    std::memset(dst, value, count);
    return kDone;
}

inline std::int32_t bounded_move(void *dst, std::size_t room, const void *src, std::size_t count)
{
    if (!fits(dst, room, src, count)) {
        return kRefused;
    }
    std::memmove(dst, src, count);
    return kDone;
}

} // namespace qel::platform
