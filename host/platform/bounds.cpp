// Bounds-checked memory and string calls.
#include "platform/bounds.h"

#include "host/platform/fail_once.h"
#include "host/platform/platform.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>

namespace qel::platform {
namespace {

constexpr std::int32_t kDone = 0;
constexpr std::int32_t kRefused = 1;

constinit thread_local FailOnce t_fail_text{};
constinit thread_local FailOnce t_fail_copy{};

// The room that no copy gets by with: 0, and while copies are counted every room, so that the count costs a copy
// nothing but the test that it has to make anyway.
constexpr std::size_t kAnyRoom = SIZE_MAX;
[[gnu::tls_model("initial-exec")]] constinit thread_local std::size_t t_too_small = 0;

bool fits(const void *dst, std::size_t room, const void *src, std::size_t count, std::size_t too_small = 0)
{
    return dst != nullptr && src != nullptr && room > too_small && count <= room;
}

// Whether a copy that the first test turned away is done after all: copies are counted, and this one is not to fail.
bool fits_counted(const void *dst, std::size_t room, const void *src, std::size_t count)
{
    if (!t_fail_copy.armed) {
        return false;
    }
    if (t_fail_copy.must_fail()) {
        t_too_small = 0;
        return false;
    }
    return fits(dst, room, src, count);
}

[[gnu::noinline, gnu::cold]] std::int32_t copy_counted(void *dst, std::size_t room, const void *src, std::size_t count)
{
    if (!fits_counted(dst, room, src, count)) {
        return kRefused;
    }
    std::memmove(dst, src, count);
    return kDone;
}

[[gnu::noinline, gnu::cold]] std::int32_t fill_counted(void *dst, std::size_t room, std::int32_t value,
                                                       std::size_t count)
{
    if (!fits_counted(dst, room, dst, count)) {
        return kRefused;
    }
    std::memset(dst, value, count);
    return kDone;
}

} // namespace

FailText::FailText(std::uint64_t after)
{
    t_fail_text = {.armed = true, .fired = false, .before_failure = after};
}

FailText::~FailText()
{
    t_fail_text = {};
}

bool FailText::fired() const
{
    return t_fail_text.fired;
}

FailCopy::FailCopy(std::uint64_t after)
{
    t_fail_copy = {.armed = true, .fired = false, .before_failure = after};
    t_too_small = kAnyRoom;
}

FailCopy::~FailCopy()
{
    t_fail_copy = {};
    t_too_small = 0;
}

bool FailCopy::fired() const
{
    return t_fail_copy.fired;
}

} // namespace qel::platform

using namespace qel::platform;

int32_t memcpy_s(void *pvDst, size_t ulDstMax, const void *pvSrc, size_t ulCount)
{
    if (!fits(pvDst, ulDstMax, pvSrc, ulCount, t_too_small)) [[unlikely]] {
        return copy_counted(pvDst, ulDstMax, pvSrc, ulCount);
    }
    std::memcpy(pvDst, pvSrc, ulCount);
    return kDone;
}

int32_t memset_s(void *pvDst, size_t ulDstMax, int32_t iValue, size_t ulCount)
{
    if (!fits(pvDst, ulDstMax, pvDst, ulCount, t_too_small)) [[unlikely]] {
        return fill_counted(pvDst, ulDstMax, iValue, ulCount);
    }
    std::memset(pvDst, iValue, ulCount);
    return kDone;
}

int32_t memmove_s(void *pvDst, size_t ulDstMax, const void *pvSrc, size_t ulCount)
{
    if (!fits(pvDst, ulDstMax, pvSrc, ulCount, t_too_small)) [[unlikely]] {
        return copy_counted(pvDst, ulDstMax, pvSrc, ulCount);
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
    if (t_fail_text.must_fail() || !fits(pcDst, ulDstMax, pszFormat, 0)) {
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
