// What the tests of the path attributes share: handlers run over exact-size buffers at odd addresses, the block of an
// attribute, a host route that holds one.
#pragma once

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
inline constexpr std::uint8_t kUntouchedOctet = 0xee;

// An instance whose scratch is back and whose heap is empty at the end of the test.
class AttributeTest : public ::testing::Test {
protected:
    void TearDown() override { EXPECT_EQ(ctx_->uiInlineBufUsed, 0U); }

    LeakCheck leaks_;
    NgmvpnInstance instance_{kMvpn4};
    QEL_FAMILY_CTX_S *ctx_ = instance_.ctx;
};

// Keeps the context's inline buffer lent out, so that scratch comes from the heap.
class LentBuffer {
public:
    explicit LentBuffer(QEL_FAMILY_CTX_S *ctx) : ctx_(ctx), mem_(QEL_NGMVPN_Malloc(ctx, 1))
    {
        EXPECT_EQ(mem_, ctx->aucInlineBuf);
    }
    ~LentBuffer()
    {
        EXPECT_EQ(ctx_->uiInlineBufUsed, 1U);
        QEL_NGMVPN_Free(&mem_, ctx_);
    }
    LentBuffer(const LentBuffer &) = delete;
    LentBuffer &operator=(const LentBuffer &) = delete;

private:
    QEL_FAMILY_CTX_S *ctx_;
    void *mem_;
};

// Bytes at an odd address that end where their heap block ends.
class OddBytes {
public:
    explicit OddBytes(const Bytes &from) : copy_(Bytes(1) + from) {}
    std::uint8_t *data() { return copy_.data() + 1; }
    const std::uint8_t *data() const { return copy_.data() + 1; }
    std::uint32_t size() const { return copy_.size() - 1; }
    Bytes bytes() const { return {data(), data() + size()}; }
    std::string hex() const { return test::hex({data(), size()}); }
    template <typename Record> Record *as() { return reinterpret_cast<Record *>(data()); }
    template <typename Record> const Record *as() const { return reinterpret_cast<const Record *>(data()); }

private:
    ExactCopy copy_;
};

inline std::string hex_of(std::string_view spaced)
{
    return hex(bytes(spaced));
}

inline std::uint32_t be16(std::span<const std::uint8_t> from, std::size_t at)
{
    return from[at] * 256U + from[at + 1];
}

inline Bytes reversed(std::span<const std::uint8_t> from, std::size_t at, std::size_t count)
{
    const auto part = from.subspan(at, count);
    return {part.rbegin(), part.rend()};
}

inline Bytes slice(std::span<const std::uint8_t> from, std::size_t at, std::size_t count)
{
    const auto part = from.subspan(at, count);
    return {part.begin(), part.end()};
}

inline std::uint64_t allocations()
{
    return platform::usage(kMemHandle).allocations;
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

struct Written {
    std::uint32_t code = 0;
    std::ptrdiff_t moved = 0;
    Bytes buffer; // all of it, kUntouchedOctet where nothing was written
    std::size_t asserts = 0;
};

// Writes into a buffer of exactly `room` octets at an odd address.
inline Written write_attribute(AttributeFormatter formatter, QEL_ROUTE_INFO_S route, std::size_t room,
                               QEL_FAMILY_CTX_S *ctx)
{
    OddBytes out(Bytes(room, kUntouchedOctet));
    std::uint8_t *cursor = out.data();
    const platform::Recorder recorder;
    Written got;
    got.code = formatter(&route, &cursor, static_cast<std::uint32_t>(room), ctx);
    got.moved = cursor - out.data();
    got.buffer = out.bytes();
    got.asserts = recorder.asserts().size();
    return got;
}

inline Bytes untouched(std::size_t count)
{
    return Bytes(count, kUntouchedOctet);
}

inline void expect_written(const Written &got, const Bytes &wire)
{
    EXPECT_EQ(got.code, 0U);
    EXPECT_EQ(got.moved, std::ssize(wire));
    EXPECT_EQ(got.asserts, 0U);
    ASSERT_GE(got.buffer.size(), wire.size());
    EXPECT_EQ(hex(got.buffer), hex(wire + untouched(got.buffer.size() - wire.size())));
}

inline void expect_not_written(const Written &got, std::uint32_t code, std::size_t asserts = 0)
{
    EXPECT_EQ(got.code, code);
    EXPECT_EQ(got.moved, 0);
    EXPECT_EQ(got.asserts, asserts);
    EXPECT_EQ(got.buffer, untouched(got.buffer.size()));
}

} // namespace qel::test
