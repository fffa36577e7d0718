// What a writer did to a buffer of exactly the room that it was told.
#pragma once

#include "octets.h"

namespace qel::test {

inline constexpr std::uint8_t kUntouchedOctet = 0xee;

struct Written {
    std::uint32_t code = 0;
    std::ptrdiff_t moved = 0;
    Bytes buffer; // all of it, kUntouchedOctet where nothing was written
    std::size_t asserts = 0;
    std::size_t debugs = 0;
};

// Runs `call(&cursor)` over a buffer of exactly `room` octets at an odd address.
template <typename Call> inline Written write_octets(std::size_t room, Call call)
{
    OddBytes out(Bytes(room, kUntouchedOctet));
    std::uint8_t *cursor = out.data();
    const platform::Recorder recorder;
    Written got;
    got.code = call(&cursor);
    got.moved = cursor - out.data();
    got.buffer = out.bytes();
    got.asserts = recorder.asserts().size();
    got.debugs = recorder.debugs().size();
    return got;
}

inline void expect_buffer(const Written &got, const Bytes &front)
{
    ASSERT_GE(got.buffer.size(), front.size());
    EXPECT_EQ(hex(got.buffer), hex(front + Bytes(got.buffer.size() - front.size(), kUntouchedOctet)));
}

inline void expect_written(const Written &got, const Bytes &wire)
{
    EXPECT_EQ(got.code, 0U);
    EXPECT_EQ(got.moved, std::ssize(wire));
    EXPECT_EQ(got.asserts, 0U);
    expect_buffer(got, wire);
}

inline void expect_not_written(const Written &got, std::uint32_t code, std::size_t asserts = 0)
{
    EXPECT_EQ(got.code, code);
    EXPECT_EQ(got.moved, 0);
    EXPECT_EQ(got.asserts, asserts);
    expect_buffer(got, {});
}

} // namespace qel::test
