// What the tests of routing policy share: an instance whose debug output is on, its messages, community lists that are
// stated as they stand on the wire.
#pragma once

#include "attribute_cases.h"

#include "ngmvpn/qel_ngmvpn_policy.h"

#include <string>
#include <string_view>
#include <vector>

namespace qel::test {

using Log = std::vector<std::string>;

inline constexpr std::uint32_t kOutOfMemory = 3;

class PolicyTest : public AttributeTest {
protected:
    PolicyTest() { instance_.desc.pfSetLibDebug(3, 4, ctx_); }
};

// The messages without their line prefix; one that has no such prefix shows as a whole.
inline Log log_of(const platform::Recorder &recorder)
{
    static constexpr std::string_view prefix = "[MCAST][Line:";
    Log out;
    for (const auto &record : recorder.debugs()) {
        const std::string &text = record.text;
        const std::size_t end = text.find_first_not_of("0123456789", prefix.size());
        const bool numbered = end != std::string::npos && end > prefix.size() && text.compare(end, 2, "]:") == 0;
        out.push_back(text.starts_with(prefix) && numbered ? text.substr(end + 2) : "no prefix: " + text);
    }
    return out;
}

// Runs `call(nulls)` for every choice of missing arguments out of `count`; bit i of `nulls` means that argument i is
// null. Each is answered with the code for it after one report.
template <typename Call> inline void expect_null_arguments_refused(unsigned count, Call call)
{
    for (unsigned nulls = 1; nulls < 1U << count; ++nulls) {
        SCOPED_TRACE(nulls);
        platform::Recorder recorder;
        EXPECT_EQ(call(nulls), kNull);
        EXPECT_EQ(recorder.asserts().size(), 1U);
        EXPECT_TRUE(recorder.debugs().empty());
    }
}

template <typename T> inline T *unless(bool missing, T *argument)
{
    return missing ? nullptr : argument;
}

} // namespace qel::test
