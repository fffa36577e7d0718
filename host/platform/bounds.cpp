// Bounds-checked string calls.
#include "platform/bounds.h"

#include "host/platform/bounded.h"
#include "host/platform/fail_once.h"
#include "host/platform/platform.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>

namespace qel::platform {
namespace {

constinit thread_local FailOnce t_fail_text{};

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

} // namespace qel::platform

using namespace qel::platform;

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
