// For the places where the library keeps or loses memory as it is told to.
#pragma once

#if defined(__SANITIZE_ADDRESS__)
#define QEL_TEST_LEAK_SANITIZER
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define QEL_TEST_LEAK_SANITIZER
#endif
#endif
#if defined(QEL_TEST_LEAK_SANITIZER)
#include <sanitizer/lsan_interface.h>
#endif

namespace qel::test {

// Blocks that are lost on purpose while it lives are not the leak sanitizer's concern; the accounts still show them.
class [[maybe_unused]] LossOnPurpose {
public:
#if defined(QEL_TEST_LEAK_SANITIZER)
    LossOnPurpose()
    {
        __lsan_disable();
    }
    ~LossOnPurpose()
    {
        __lsan_enable();
    }
#else
    LossOnPurpose() = default;
#endif
    LossOnPurpose(const LossOnPurpose &) = delete;
    LossOnPurpose &operator=(const LossOnPurpose &) = delete;
};

} // namespace qel::test
