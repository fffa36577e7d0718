// What the tests of the path attributes share: handlers run over exact-size buffers at odd addresses, the block of an
// attribute, a host route that holds one.
#pragma once

#include "../lent_buffer.h"
#include "../written.h"
#include "nlri_cases.h"

#include "ngmvpn/qel_ngmvpn_attribute_pkt.h"
#include "ngmvpn/qel_ngmvpn_util.h"

#include <string>

namespace qel::test {

using AttributeParser = decltype(&QEL_NGMVPN_ParseExtCommunity);
using AttributeFormatter = decltype(&QEL_NGMVPN_FormatExtCommunity);

inline constexpr std::uint32_t kNull = 0x50002;
inline constexpr std::uint32_t kNoMemory = 0x50001;
inline constexpr std::uint32_t kNoRoom = 4;

// An instance whose scratch is back and whose heap is empty at the end of the test.
class AttributeTest : public ::testing::Test {
protected:
    void TearDown() override { EXPECT_EQ(ctx_->uiInlineBufUsed, 0U); }

    LeakCheck leaks_;
    NgmvpnInstance instance_{kMvpn4};
    QEL_FAMILY_CTX_S *ctx_ = instance_.ctx;
};

using LentBuffer = LentBufferOf<QEL_NGMVPN_Malloc, QEL_NGMVPN_Free>;

inline std::uint32_t be16(std::span<const std::uint8_t> from, std::size_t at)
{
    return from[at] * 256U + from[at + 1];
}

inline Bytes reversed(std::span<const std::uint8_t> from, std::size_t at, std::size_t count)
{
    const auto part = from.subspan(at, count);
    return {part.rbegin(), part.rend()};
}

// --- reading --------------------------------------------------------------------------------------------------------

inline Parsed parse_attribute(AttributeParser parser, const Bytes &wire, QEL_FAMILY_CTX_S *ctx)
{
    const auto length = static_cast<std::uint32_t>(wire.size());
    return run_parser(Bytes(1) + wire, 1,
                      [&](auto cursor, auto result, auto more) { return parser(cursor, length, result, more, ctx); });
}

inline void expect_attribute_block(const Block &block, std::uint8_t flag, std::uint8_t type, const std::string &section)
{
    ASSERT_TRUE(block);
    QEL_ROUTE_BLOCK_S header{};
    header.uiValidMask = 0x8;
    header.ucAttrFlag = flag;
    header.ucAttrType = type;
    header.usAttrOffset = 32;
    header.usAttrLen = static_cast<std::uint16_t>(section.size() / 2);
    ASSERT_EQ(hex(block.section(0, 32)), hex(bytes_of(header)));
    EXPECT_EQ(hex(block.section(32, header.usAttrLen)), section);
}

inline void expect_taken(const Parsed &got, std::size_t moved)
{
    EXPECT_EQ(got.code, 0U);
    EXPECT_EQ(got.moved, static_cast<std::ptrdiff_t>(moved));
    EXPECT_EQ(got.more, 0U);
    EXPECT_TRUE(got.result_written);
    EXPECT_EQ(got.asserts, 0U);
}

// Refused: nothing but the code and the reports.
inline void expect_refused(const Parsed &got, std::uint32_t code, std::size_t asserts = 0)
{
    EXPECT_EQ(got.code, code);
    EXPECT_EQ(got.moved, 0);
    EXPECT_EQ(got.more, kUnwritten);
    EXPECT_FALSE(got.result_written);
    EXPECT_EQ(got.asserts, asserts);
}

// --- writing --------------------------------------------------------------------------------------------------------

inline QEL_ROUTE_INFO_S route_holding(std::uint32_t type, const std::uint8_t *section, std::uint32_t length)
{
    QEL_ROUTE_INFO_S route{};
    route.uiValidMask = 0x8;
    switch (type) {
    case 16:
        route.uiExtCommLen = length;
        route.pucExtComm = section;
        break;
    case 22:
        route.uiPmsiLen = length;
        route.pucPmsi = section;
        break;
    case 25:
        route.uiIpv6ExtCommLen = length;
        route.pucIpv6ExtComm = section;
        break;
    case 40:
        route.uiPfxSidLen = length;
        route.pucPfxSid = section;
        break;
    case 66:
        route.uiMsidLen = length;
        route.pucMsid = section;
        break;
    default:
        throw std::invalid_argument("no such attribute");
    }
    return route;
}

// Writes into a buffer of exactly `room` octets at an odd address.
inline Written write_attribute(AttributeFormatter formatter, QEL_ROUTE_INFO_S route, std::size_t room,
                               QEL_FAMILY_CTX_S *ctx)
{
    return write_octets(room,
                        [&](auto cursor) { return formatter(&route, cursor, static_cast<std::uint32_t>(room), ctx); });
}

inline Bytes untouched(std::size_t count)
{
    return Bytes(count, kUntouchedOctet);
}

} // namespace qel::test
