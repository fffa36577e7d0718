// Bounded copies that fail when a test says so. A test program whose sources include this links these instead of the
// platform's own, which are spared the counting.
#pragma once

#include "host/platform/bounded.h"
#include "host/platform/fail_once.h"
#include "platform/bounds.h"

namespace qel::test {

// Makes copy number `after` of the current thread fail (0: the next one), once, while it lives: nothing is written. A
// copy is one call of memcpy_s, memmove_s or memset_s.
class FailCopy {
public:
    explicit FailCopy(std::uint64_t after) { state = {.armed = true, .fired = false, .before_failure = after}; }
    ~FailCopy() { state = {}; }
    FailCopy(const FailCopy &) = delete;
    FailCopy &operator=(const FailCopy &) = delete;

    // Whether the failure happened.
    bool fired() const { return state.fired; }

    static inline constinit thread_local platform::FailOnce state{};
};

} // namespace qel::test

// Weak, because several sources of a program may include this.
extern "C" {

[[gnu::weak]] int32_t memcpy_s(void *pvDst, size_t ulDstMax, const void *pvSrc, size_t ulCount)
{
    return qel::test::FailCopy::state.must_fail() ? qel::platform::kRefused
                                                  : qel::platform::bounded_copy(pvDst, ulDstMax, pvSrc, ulCount);
}

[[gnu::weak]] int32_t memset_s(void *pvDst, size_t ulDstMax, int32_t iValue, size_t ulCount)
{
    return qel::test::FailCopy::state.must_fail() ? qel::platform::kRefused
                                                  : qel::platform::bounded_fill(pvDst, ulDstMax, iValue, ulCount);
}

[[gnu::weak]] int32_t memmove_s(void *pvDst, size_t ulDstMax, const void *pvSrc, size_t ulCount)
{
    return qel::test::FailCopy::state.must_fail() ? qel::platform::kRefused
                                                  : qel::platform::bounded_move(pvDst, ulDstMax, pvSrc, ulCount);
}
}
