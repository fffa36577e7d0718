// Bounds-checked memory and string calls.
#include "platform/bounds.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>

namespace {

constexpr std::int32_t kDone = 0;
constexpr std::int32_t kRefused = 1;

bool fits(const void *dst, std::size_t room, const void *src, std::size_t count)
{
    return dst != nullptr && src != nullptr && room != 0 && count <= room;
}

} // namespace

int32_t memcpy_s(void *pvDst, size_t ulDstMax, const void *pvSrc, size_t ulCount)
{
    if (!fits(pvDst, ulDstMax, pvSrc, ulCount)) {
        return kRefused;
    }
    std::memcpy(pvDst, pvSrc, ulCount);
    return kDone;
}

int32_t memset_s(void *pvDst, size_t ulDstMax, int32_t iValue, size_t ulCount)
{
    if (!fits(pvDst, ulDstMax, pvDst, ulCount)) {
        return kRefused;
    }
    std::memset(pvDst, iValue, ulCount);
    return kDone;
}

int32_t memmove_s(void *pvDst, size_t ulDstMax, const void *pvSrc, size_t ulCount)
{
    if (!fits(pvDst, ulDstMax, pvSrc, ulCount)) {
        return kRefused;
    }
    std::memmove(pvDst, pvSrc, ulCount);
    return kDone;
}

int32_t strcat_s(char *pcDst, size_t ulDstMax, const char *pszSrc)
{
    if (!fits(pcDst, ulDstMax, pszSrc, 0)) {
        return kRefused;
    }
    const std::size_t used = ::strnlen(pcDst, ulDstMax);
    const std::size_t added = std::strlen(pszSrc);
    if (used == ulDstMax || added >= ulDstMax - used) {
        return kRefused;
    }
    std::memcpy(pcDst + used, pszSrc, added + 1);
    return kDone;
}

int32_t vsnprintf_truncated_s(char *pcDst, size_t ulDstMax, const char *pszFormat, va_list stArgs)
{
    if (!fits(pcDst, ulDstMax, pszFormat, 0)) {
        return -1;
    }
    const int wanted = std::vsnprintf(pcDst, ulDstMax, pszFormat, stArgs);
    if (wanted < 0) {
        return -1;
    }
    return static_cast<std::int32_t>(std::min(static_cast<std::size_t>(wanted), ulDstMax - 1));
}

int32_t snprintf_truncated_s(char *pcDst, size_t ulDstMax, const char *pszFormat, ...)
{
    va_list args;
    va_start(args, pszFormat);
    const std::int32_t written = vsnprintf_truncated_s(pcDst, ulDstMax, pszFormat, args);
    va_end(args);
    return written;
}
