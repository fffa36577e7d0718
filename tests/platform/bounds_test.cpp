#include "platform/bounds.h"

#include "host/platform/platform.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdarg>
#include <cstring>
#include <string>
#include <thread>

namespace qel::test {
namespace {

using Area = std::array<char, 8>;

constexpr Area kBefore{'x', 'x', 'x', 'x', 'x', 'x', 'x', 'x'};
const char kSource[] = "abcdefgh";

using Copy = int32_t (*)(void *, size_t, const void *, size_t);

struct CopyCase {
    const char *what;
    bool has_dst;
    std::size_t room;
    bool has_src;
    std::size_t count;
    bool succeeds;
};

const CopyCase kCopyCases[] = {
    {"less than the room", true, 8, true, 3, true},
    {"all of the room", true, 8, true, 8, true},
    {"nothing", true, 8, true, 0, true},
    {"more than the room", true, 4, true, 5, false},
    {"no room", true, 0, true, 1, false},
    {"no room and nothing to copy", true, 0, true, 0, false},
    {"no destination", false, 8, true, 3, false},
    {"no source", true, 8, false, 3, false},
    {"no source and nothing to copy", true, 8, false, 0, false},
    {"a count that went below zero", true, 8, true, static_cast<std::size_t>(-1), false},
};

void expect_copy_rules(Copy copy)
{
    for (const CopyCase &c : kCopyCases) {
        SCOPED_TRACE(c.what);
        Area area = kBefore;
        const int32_t result = copy(c.has_dst ? area.data() : nullptr, c.room, c.has_src ? kSource : nullptr, c.count);
        EXPECT_EQ(result == 0, c.succeeds);
        Area expected = kBefore;
        if (c.succeeds) {
            std::memcpy(expected.data(), kSource, c.count);
        }
        EXPECT_EQ(area, expected);
    }
}

TEST(Bounds, memcpy_copies_within_the_room_or_writes_nothing)
{
    expect_copy_rules(memcpy_s);
}

TEST(Bounds, memmove_copies_within_the_room_or_writes_nothing)
{
    expect_copy_rules(memmove_s);
}

TEST(Bounds, memmove_takes_overlapping_areas)
{
    Area area{'a', 'b', 'c', 'd', 'e', 'f', 'g', 'h'};
    EXPECT_EQ(memmove_s(area.data() + 2, 6, area.data(), 6), 0);
    EXPECT_EQ(area, (Area{'a', 'b', 'a', 'b', 'c', 'd', 'e', 'f'}));
}

TEST(Bounds, memset_fills_within_the_room_or_writes_nothing)
{
    Area area = kBefore;
    EXPECT_EQ(memset_s(area.data(), 8, 'o', 3), 0);
    EXPECT_EQ(area, (Area{'o', 'o', 'o', 'x', 'x', 'x', 'x', 'x'}));
    EXPECT_EQ(memset_s(area.data(), 8, 0, 8), 0);
    EXPECT_EQ(area, Area{});

    area = kBefore;
    EXPECT_EQ(memset_s(area.data(), 8, 0, 0), 0);
    EXPECT_NE(memset_s(area.data(), 4, 0, 5), 0);
    EXPECT_NE(memset_s(area.data(), 0, 0, 0), 0);
    EXPECT_NE(memset_s(nullptr, 8, 0, 8), 0);
    EXPECT_EQ(area, kBefore);
}

TEST(Bounds, strcat_appends_what_fits_with_its_terminator)
{
    Area area{'a', 'b', '\0', 'x', 'x', 'x', 'x', 'x'};
    EXPECT_EQ(strcat_s(area.data(), 8, "cdefg"), 0);
    EXPECT_STREQ(area.data(), "abcdefg");
    EXPECT_EQ(strcat_s(area.data(), 8, ""), 0);
    EXPECT_STREQ(area.data(), "abcdefg");
}

TEST(Bounds, strcat_refuses_and_writes_nothing)
{
    const Area before{'a', 'b', '\0', 'x', 'x', 'x', 'x', 'x'};
    Area area = before;
    EXPECT_NE(strcat_s(area.data(), 8, "cdefgh"), 0);
    EXPECT_NE(strcat_s(area.data(), 2, ""), 0) << "no terminator within the room";
    EXPECT_NE(strcat_s(area.data(), 0, "c"), 0);
    EXPECT_NE(strcat_s(area.data(), 8, nullptr), 0);
    EXPECT_NE(strcat_s(nullptr, 8, "c"), 0);
    EXPECT_EQ(area, before);
}

__attribute__((format(printf, 3, 4))) int32_t through_va_list(char *dst, std::size_t room, const char *format, ...)
{
    va_list args;
    va_start(args, format);
    const int32_t written = vsnprintf_truncated_s(dst, room, format, args);
    va_end(args);
    return written;
}

TEST(Bounds, formatting_gives_the_characters_in_the_buffer)
{
    Area area = kBefore;
    EXPECT_EQ(snprintf_truncated_s(area.data(), 8, "%u:%s", 65000U, "1"), 7);
    EXPECT_STREQ(area.data(), "65000:1");
    area = kBefore;
    EXPECT_EQ(through_va_list(area.data(), 8, "%x", 0xabcU), 3);
    EXPECT_EQ(area, (Area{'a', 'b', 'c', '\0', 'x', 'x', 'x', 'x'}));
}

TEST(Bounds, formatting_cuts_at_the_room)
{
    Area area = kBefore;
    EXPECT_EQ(snprintf_truncated_s(area.data(), 5, "%s", "abcdefgh"), 4);
    EXPECT_EQ(area, (Area{'a', 'b', 'c', 'd', '\0', 'x', 'x', 'x'}));
    area = kBefore;
    EXPECT_EQ(through_va_list(area.data(), 1, "%d", 42), 0);
    EXPECT_EQ(area, (Area{'\0', 'x', 'x', 'x', 'x', 'x', 'x', 'x'}));
}

TEST(Bounds, formatting_without_a_buffer_or_a_format_fails)
{
    Area area = kBefore;
    va_list none{};
    int32_t (*const unchecked)(char *, std::size_t, const char *, va_list) = vsnprintf_truncated_s;
    EXPECT_EQ(snprintf_truncated_s(nullptr, 8, "%d", 1), -1);
    EXPECT_EQ(snprintf_truncated_s(area.data(), 0, "%d", 1), -1);
    EXPECT_EQ(unchecked(area.data(), 8, nullptr, none), -1);
    EXPECT_EQ(area, kBefore);
}

TEST(FailText, the_chosen_text_fails_once_and_writes_nothing)
{
    for (const std::uint64_t after : {0U, 1U, 2U, 3U}) {
        const platform::FailText fail(after);
        for (std::uint64_t i = 0; i < 6; ++i) {
            SCOPED_TRACE("text " + std::to_string(i) + " with failure after " + std::to_string(after));
            EXPECT_EQ(fail.fired(), i > after);
            Area area = kBefore;
            const int32_t written = i % 2 == 0 ? snprintf_truncated_s(area.data(), 8, "%u", 42U)
                                               : through_va_list(area.data(), 8, "%u", 42U);
            EXPECT_EQ(written, i == after ? -1 : 2);
            EXPECT_EQ(area, i == after ? kBefore : (Area{'4', '2', '\0', 'x', 'x', 'x', 'x', 'x'}));
        }
    }
}

TEST(FailText, counts_texts_that_fail_by_themselves)
{
    const platform::FailText fail(1);
    EXPECT_EQ(snprintf_truncated_s(nullptr, 8, "%d", 1), -1);
    EXPECT_FALSE(fail.fired());
    Area area = kBefore;
    EXPECT_EQ(snprintf_truncated_s(area.data(), 8, "%d", 1), -1);
    EXPECT_TRUE(fail.fired());
}

TEST(FailText, ends_with_its_scope)
{
    {
        const platform::FailText fail(0);
        EXPECT_FALSE(fail.fired());
    }
    Area area = kBefore;
    EXPECT_EQ(snprintf_truncated_s(area.data(), 8, "%d", 1), 1);
}

TEST(FailText, leaves_other_threads_copies_and_appended_texts_alone)
{
    const platform::FailText fail(0);
    Area area{'a', '\0'};
    EXPECT_EQ(strcat_s(area.data(), 8, "b"), 0);
    EXPECT_EQ(memcpy_s(area.data(), 8, kSource, 8), 0);
    int32_t written = -1;
    std::thread([&] { written = snprintf_truncated_s(area.data(), 8, "%d", 1); }).join();
    EXPECT_EQ(written, 1);
    EXPECT_FALSE(fail.fired());
}

} // namespace
} // namespace qel::test
