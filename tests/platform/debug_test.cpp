#include "host/platform/platform.h"
#include "platform/ksx.h"
#include "platform/zvk.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

namespace qel::test {
namespace {

TEST(Asserts, are_counted_and_recorded)
{
    const std::uint64_t before = platform::assert_count();
    platform::Recorder recorder;
    ZVK_Assert("some.cpp", 42, 0x123456789ULL);
    ASSERT_EQ(recorder.asserts().size(), 1U);
    EXPECT_EQ(recorder.asserts()[0].file, "some.cpp");
    EXPECT_EQ(recorder.asserts()[0].line, 42U);
    EXPECT_EQ(recorder.asserts()[0].value, 0x123456789ULL);
    EXPECT_TRUE(recorder.debugs().empty());
    EXPECT_EQ(platform::assert_count(), before + 1);
}

TEST(Asserts, without_a_recorder_are_counted_only)
{
    const std::uint64_t before = platform::assert_count();
    ZVK_Assert(nullptr, 1, 0);
    EXPECT_EQ(platform::assert_count(), before + 1);
}

TEST(Asserts, a_missing_file_name_is_recorded_empty)
{
    platform::Recorder recorder;
    ZVK_Assert(nullptr, 1, 0);
    ASSERT_EQ(recorder.asserts().size(), 1U);
    EXPECT_EQ(recorder.asserts()[0].file, "");
}

TEST(Debug, messages_are_recorded_formatted)
{
    platform::Recorder recorder;
    KSX_Debug(0x11, 0x22, "NULL", 0x33, "%s=%u", "length", 7U);
    ASSERT_EQ(recorder.debugs().size(), 1U);
    EXPECT_EQ(recorder.debugs()[0].module, 0x11U);
    EXPECT_EQ(recorder.debugs()[0].handle, 0x22U);
    EXPECT_EQ(recorder.debugs()[0].name, "NULL");
    EXPECT_EQ(recorder.debugs()[0].code, 0x33U);
    EXPECT_EQ(recorder.debugs()[0].text, "length=7");
    EXPECT_TRUE(recorder.asserts().empty());
}

TEST(Debug, long_and_empty_messages_come_out_whole)
{
    platform::Recorder recorder;
    const std::string text(5000, 'm');
    KSX_Debug(0, 0, nullptr, 0, "%s", text.c_str());
    KSX_Debug(0, 0, nullptr, 0, "%s", "");
    ASSERT_EQ(recorder.debugs().size(), 2U);
    EXPECT_EQ(recorder.debugs()[0].text, text);
    EXPECT_EQ(recorder.debugs()[0].name, "");
    EXPECT_EQ(recorder.debugs()[1].text, "");
}

TEST(Recorder, the_innermost_receives)
{
    platform::Recorder outer;
    {
        platform::Recorder inner;
        ZVK_Assert("inner.cpp", 1, 0);
        EXPECT_EQ(inner.asserts().size(), 1U);
    }
    EXPECT_TRUE(outer.asserts().empty());
    ZVK_Assert("outer.cpp", 2, 0);
    ASSERT_EQ(outer.asserts().size(), 1U);
    EXPECT_EQ(outer.asserts()[0].file, "outer.cpp");
}

TEST(Recorder, forgets_on_clear)
{
    platform::Recorder recorder;
    ZVK_Assert("some.cpp", 1, 0);
    KSX_Debug(0, 0, "NULL", 0, "%d", 1);
    recorder.clear();
    EXPECT_TRUE(recorder.asserts().empty());
    EXPECT_TRUE(recorder.debugs().empty());
}

TEST(Recorder, hears_its_own_thread_alone)
{
    platform::Recorder recorder;
    const std::uint64_t before = platform::assert_count();
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([] {
            platform::Recorder own;
            for (int i = 0; i < 200; ++i) {
                ZVK_Assert("thread.cpp", 1, 0);
                KSX_Debug(0, 0, "NULL", 0, "%d", i);
            }
            EXPECT_EQ(own.asserts().size(), 200U);
            EXPECT_EQ(own.debugs().size(), 200U);
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    EXPECT_TRUE(recorder.asserts().empty());
    EXPECT_TRUE(recorder.debugs().empty());
    EXPECT_EQ(platform::assert_count(), before + 800);
}

} // namespace
} // namespace qel::test
