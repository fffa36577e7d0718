// A service that fails once when it is told to: counted per thread, for tests.
#pragma once

#include <cstdint>

namespace qel::platform {

struct FailOnce {
    bool armed = false;
    bool fired = false;
    std::uint64_t before_failure = 0;

    // Counts one request; whether this is the one that fails.
    bool must_fail()
    {
        if (!armed) [[likely]] {
            return false;
        }
        if (before_failure > 0) {
            --before_failure;
            return false;
        }
        armed = false;
        fired = true;
        return true;
    }
};

} // namespace qel::platform
