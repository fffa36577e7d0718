// Routes of the VPNv4 multicast family on the wire, with a label and without: reading, writing and the way back.
#include "vpnv4mcast_cases.h"

#include "fail_copy.h"

namespace qel::test {
namespace {

constexpr std::uint32_t kReach = 14;
constexpr std::uint32_t kUnreach = 15;
constexpr std::uint32_t kNoLabelType = 256;
const std::string kRd = " 0000 0064 00000005 ";

// What differs between the two forms.
struct Form {
    std::uint32_t type;
    unsigned lowest;   // bit length of the route 0.0.0.0/0
    std::size_t fixed; // octets ahead of the prefix
    decltype(&QEL_VPNV4MCAST_ParseMpNlri) parse;
    decltype(&QEL_VPNV4MCAST_FormatMpNlri) format;
    bool labelled;

    std::string head() const { return labelled ? " 000640 " + kRd : kRd; }
    std::optional<std::uint32_t> label() const { return labelled ? std::optional(kLabel) : std::nullopt; }
    Bytes wire(unsigned bits, const Bytes &prefix) const
    {
        return Bytes{static_cast<std::uint8_t>(bits)} + bytes(head()) + prefix;
    }
};

const Form kLabelled{kReach, 88, 12, QEL_VPNV4MCAST_ParseMpNlri, QEL_VPNV4MCAST_FormatMpNlri, true};
const Form kBare{kNoLabelType, 64, 9, QEL_VPNV4MCAST_ParseMpNlriWithoutLabel, QEL_VPNV4MCAST_FormatMpNlriWithoutLabel,
                 false};
const std::array kForms{kLabelled, kBare};

struct Read : Made {
    std::ptrdiff_t moved = 0;
    std::uint32_t more = kUnwritten;
};

// Reads one route from an attribute that ends where its heap block ends.
Read read(decltype(&QEL_VPNV4MCAST_ParseMpNlri) with, const Bytes &wire, QEL_FAMILY_CTX_S *ctx)
{
    const OddBytes attribute(wire);
    const std::uint8_t *cursor = attribute.data();
    std::uint32_t more = kUnwritten;
    Read got{make([&](auto result) { return with(&cursor, attribute.size(), result, &more, ctx); })};
    got.moved = cursor - attribute.data();
    got.more = more;
    EXPECT_EQ(attribute.bytes(), wire);
    return got;
}

void expect_route(const Read &got, const Sections &sections, std::size_t moved, std::uint32_t more)
{
    expect_made(got, sections);
    EXPECT_EQ(got.allocations, 1U);
    EXPECT_EQ(got.moved, static_cast<std::ptrdiff_t>(moved));
    EXPECT_EQ(got.more, more);
}

void expect_malformed(const Read &got)
{
    expect_not_made(got, kMalformed);
    EXPECT_EQ(got.allocations, 0U);
    EXPECT_EQ(got.moved, 0);
    EXPECT_EQ(got.more, kUnwritten);
}

// The first `length` bits of a prefix, bit by bit.
std::uint32_t leading_bits(std::uint32_t prefix, unsigned length)
{
    std::uint32_t out = 0;
    for (unsigned bit = 0; bit < length; ++bit) {
        out |= prefix & UINT32_C(0x80000000) >> bit;
    }
    return out;
}

Bytes network_octets(std::uint32_t value, std::size_t count)
{
    Bytes out = word(value);
    std::reverse(out.begin(), out.end());
    out.resize(count);
    return out;
}

using Vpnv4McastNlri = Vpnv4McastTest;

// --- reading --------------------------------------------------------------------------------------------------------

TEST_F(Vpnv4McastNlri, ARouteBecomesRdKeyAndLabelInHostOrder)
{
    expect_route(read(QEL_VPNV4MCAST_ParseMpNlri, bytes(kRouteWire), ctx_), whole_route(), 14, 0);
    expect_route(read(QEL_VPNV4MCAST_ParseMpNlri, bytes("78 abcde0 0001 0a0b0c0d 1234 01020304"), ctx_),
                 {.rd = bytes("0100 0d0c0b0a 3412"), .key = bytes("04030201 20000000"), .label = 0xabcde}, 16, 0);
    expect_route(read(QEL_VPNV4MCAST_ParseMpNlri, bytes("60 000010 0002 00010203 fffe 7f"), ctx_),
                 {.rd = bytes("0200 03020100 feff"), .key = bytes("0000007f 08000000"), .label = 1}, 13, 0);
}

TEST_F(Vpnv4McastNlri, ARouteWithoutALabelHasNoLabelSection)
{
    const Read got = read(QEL_VPNV4MCAST_ParseMpNlriWithoutLabel, bytes(kBareWire), ctx_);
    expect_route(got, bare_route(), 11, 0);
    ASSERT_TRUE(got.block);
    EXPECT_EQ(got.block->uiValidMask, 0x3U);
    EXPECT_EQ(got.block->usLabelOffset, 0U);
    EXPECT_EQ(got.block->usLabelLen, 0U);
}

TEST_F(Vpnv4McastNlri, TheLabelSectionStandsBehindTheKeyInFieldsOfItsOwn)
{
    const Read got = read(QEL_VPNV4MCAST_ParseMpNlri, bytes(kRouteWire), ctx_);
    ASSERT_TRUE(got.block);
    EXPECT_EQ(got.block->uiValidMask, 0x23U);
    EXPECT_EQ(got.block->usLabelOffset, 48U);
    EXPECT_EQ(got.block->usLabelLen, 4U);
    EXPECT_EQ(hex(got.block.section(0, 52)),
              hex_of("23000000 00000000 2000 0800 2800 0800 0000 0000 3000 0400 0000 0000 0000 0000"
                     "0000 6400 05000000 0000010a 10000000 64000000"));
}

TEST_F(Vpnv4McastNlri, EveryPrefixLengthTakesItsOctetsAndKeepsItsBitsAlone)
{
    for (const Form &form : kForms) {
        for (unsigned length = 0; length <= 32; ++length) {
            for (const std::uint32_t prefix : {0xffffffffU, 0xa5c3e187U, 0x00000000U}) {
                SCOPED_TRACE(length);
                const std::size_t octets = (length + 7) / 8;
                const Bytes wire = form.wire(form.lowest + length, network_octets(prefix, octets));
                const Sections want{
                    .rd = bytes(kRdMem), .key = key_of(leading_bits(prefix, length), length), .label = form.label()};
                expect_route(read(form.parse, wire, ctx_), want, form.fixed + octets, 0);
                expect_route(read(form.parse, wire + bytes("58"), ctx_), want, form.fixed + octets, 1);
            }
        }
    }
}

TEST_F(Vpnv4McastNlri, ARouteOfNoPrefixBitsReadsNoPrefixOctet)
{
    expect_route(read(QEL_VPNV4MCAST_ParseMpNlri, bytes("58 000640" + kRd), ctx_),
                 {.rd = bytes(kRdMem), .key = bytes("00000000 00000000"), .label = kLabel}, 12, 0);
    expect_route(read(QEL_VPNV4MCAST_ParseMpNlri, bytes("58 000640" + kRd + "ffffffff"), ctx_),
                 {.rd = bytes(kRdMem), .key = bytes("00000000 00000000"), .label = kLabel}, 12, 1);
}

TEST_F(Vpnv4McastNlri, TwelveBitsTakeTwoOctetsAndKeepTheTopTwelve)
{
    expect_route(read(QEL_VPNV4MCAST_ParseMpNlri, bytes("64 000640" + kRd + "0abf"), ctx_),
                 {.rd = bytes(kRdMem), .key = key_of(0x0ab00000, 12), .label = kLabel}, 14, 0);
}

TEST_F(Vpnv4McastNlri, NineBytesHoldABareRouteWithoutAPrefixAndNothingIsLeft)
{
    expect_route(read(QEL_VPNV4MCAST_ParseMpNlriWithoutLabel, bytes("40" + kRd), ctx_),
                 {.rd = bytes(kRdMem), .key = key_of(0, 0)}, 9, 0);
}

TEST_F(Vpnv4McastNlri, ABitLengthOutOfItsRangeIsMalformedAndMovesNothing)
{
    for (const Form &form : kForms) {
        for (unsigned bits = 0; bits <= 255; ++bits) {
            SCOPED_TRACE(bits);
            const Bytes wire = form.wire(bits, Bytes(40, 1));
            if (bits < form.lowest || bits > form.lowest + 32) {
                expect_malformed(read(form.parse, wire, ctx_));
            } else {
                EXPECT_EQ(read(form.parse, wire, ctx_).code, 0U);
            }
        }
    }
}

TEST_F(Vpnv4McastNlri, ARouteLongerThanWhatIsLeftIsMalformedAndMovesNothing)
{
    for (const Form &form : kForms) {
        for (unsigned length = 0; length <= 32; ++length) {
            const Bytes wire = form.wire(form.lowest + length, Bytes((length + 7) / 8, 1));
            for (std::size_t left = 1; left < wire.size(); ++left) {
                expect_malformed(read(form.parse, slice(wire, 0, left), ctx_));
            }
        }
    }
}

TEST_F(Vpnv4McastNlri, TheTopTwentyBitsAreTheLabel)
{
    const std::pair<std::string_view, std::uint32_t> rows[] = {
        {"000641", 100},        {"000640", 100},        {"00064f", 100},        {"000000", 0},
        {"00000f", 0},          {"000010", 1},          {"800000", 0x80000},    {"7fffff", 0x7ffff},
        {"fffff0", 0xffffffff}, {"fffff1", 0xffffffff}, {"ffffff", 0xffffffff}, {"ffffef", 0xffffe},
        {"12345f", 0x12345},
    };
    for (const auto &[wire, label] : rows) {
        SCOPED_TRACE(wire);
        expect_route(read(QEL_VPNV4MCAST_ParseMpNlri, bytes("58") + bytes(wire) + bytes(kRd), ctx_),
                     {.rd = bytes(kRdMem), .key = key_of(0, 0), .label = label}, 12, 0);
    }
}

// kept: one label stands in a route, whatever its bottom-of-stack bit says
TEST_F(Vpnv4McastNlri, ASecondLabelIsReadAsTheRd)
{
    // the first label does not end the stack: 000651 00 0064 0000 stands where the RD is expected
    expect_route(read(QEL_VPNV4MCAST_ParseMpNlri, bytes("78 000640 0000 51 0000 006400 00050a01"), ctx_),
                 {.rd = bytes("0000 0051 00640000"), .key = key_of(0x00050a01, 32), .label = kLabel}, 16, 0);
}

// kept: behind a route that is refused for its RD the cursor stands on the prefix, not on the next route
TEST_F(Vpnv4McastNlri, AnRdTypeAboveTwoIsRefusedWithTheCursorOnThePrefix)
{
    for (const Form &form : kForms) {
        for (const std::string_view type : {"0003", "0100", "0200", "ffff"}) {
            for (unsigned length = 0; length <= 32; ++length) {
                Bytes wire = form.wire(form.lowest + length, Bytes((length + 7) / 8, 1));
                const Bytes type_octets = bytes(type);
                std::copy(type_octets.begin(), type_octets.end(), wire.begin() + (form.labelled ? 4 : 1));
                for (const std::uint32_t more : {0U, 1U, 20U}) {
                    const Read got = read(form.parse, wire + Bytes(more, 0x58), ctx_);
                    expect_not_made(got, kRefusedRoute);
                    EXPECT_EQ(got.allocations, 0U);
                    EXPECT_EQ(got.moved, form.labelled ? 12 : 9);
                    EXPECT_EQ(got.more, more != 0 ? 1U : 0U);
                }
            }
        }
    }
}

TEST_F(Vpnv4McastNlri, RoutesOfOneAttributeAreReadOneByOne)
{
    const OddBytes attribute(bytes("68 000640" + kRd + "0a01" + "58 000650" + kRd + "78 fffff1" + kRd + "0a010203"));
    const std::uint8_t *cursor = attribute.data();
    const std::pair<Bytes, std::uint32_t> want[] = {
        {key_of(0x0a010000, 16), 100}, {key_of(0, 0), 101}, {key_of(0x0a010203, 32), 0xffffffff}};
    for (const auto &[key, label] : want) {
        std::uint32_t more = kUnwritten;
        const auto left = static_cast<std::uint32_t>(attribute.data() + attribute.size() - cursor);
        const Made got =
            make([&](auto result) { return desc_.pfParsePkt(&cursor, left, 0, kUnreach, result, &more, ctx_); });
        expect_made(got, {.rd = bytes(kRdMem), .key = key, .label = label});
        EXPECT_EQ(more, cursor == attribute.data() + attribute.size() ? 0U : 1U);
    }
    EXPECT_EQ(cursor, attribute.data() + attribute.size());
}

TEST_F(Vpnv4McastNlri, TheRoutesBlockFailsOnceWithNothingMoved)
{
    for (const Form &form : kForms) {
        const Bytes wire = form.wire(form.lowest + 16, bytes("0a01"));
        expect_each_allocation_fails({kNoBlock}, [&] {
            Read got = read(form.parse, wire, ctx_);
            EXPECT_EQ(got.moved, got.code == 0 ? std::ssize(wire) : 0);
            EXPECT_EQ(got.more, got.code == 0 ? 0U : kUnwritten);
            return got;
        });
    }
}

void expect_reading_refused(const Form &form, const Bytes &attribute, QEL_FAMILY_CTX_S *ctx)
{
    const OddBytes wire(attribute);
    // a cursor, the octets that it stands on, a result, some octets left, a word for more, a context
    expect_null_arguments_refused(6, kFrameSource, [&](unsigned nulls) {
        const std::uint8_t *const start = unless(nulls, 1, wire.data());
        const std::uint8_t *cursor = start;
        QEL_ROUTE_BLOCK_S *result = block_marker();
        std::uint32_t more = kUnwritten;
        const std::uint32_t code =
            form.parse(unless(nulls, 0, &cursor), (nulls & 8U) != 0 ? 0 : wire.size(), unless(nulls, 2, &result),
                       unless(nulls, 4, &more), unless(nulls, 5, ctx));
        EXPECT_EQ(cursor, start);
        EXPECT_EQ(result, block_marker());
        EXPECT_EQ(more, kUnwritten);
        return code;
    });
}

TEST_F(Vpnv4McastNlri, ReadingRefusesMissingArgumentsWithOneReport)
{
    for (const Form &form : kForms) {
        expect_reading_refused(form, form.wire(form.lowest + 16, bytes("0a01")), ctx_);
    }
}

TEST_F(Vpnv4McastNlri, ReadingRefusesMissingArgumentsAheadOfAMalformedRoute)
{
    for (const Form &form : kForms) {
        expect_reading_refused(form, form.wire(form.lowest - 1, bytes("0a01")), ctx_);
    }
}

TEST_F(Vpnv4McastNlri, TheStepReadsEitherFormByItsFlag)
{
    for (const Form &form : kForms) {
        const OddBytes wire(form.wire(form.lowest + 16, bytes("0a01")));
        const std::uint8_t *cursor = wire.data();
        std::uint32_t more = kUnwritten;
        const Made got = make([&](auto result) {
            return QEL_VPNV4MCAST_ParseMpNlri_(&cursor, wire.size(), result, &more, form.labelled ? 1 : 0, ctx_);
        });
        expect_made(got, {.rd = bytes(kRdMem), .key = bytes(kKeyMem), .label = form.label()});
        EXPECT_EQ(cursor, wire.data() + wire.size());
        EXPECT_EQ(more, 0U);
    }
}

TEST_F(Vpnv4McastNlri, TheBlockStepTakesTheRdsLengthAndALabelOrNone)
{
    const OddBytes rd(bytes(kRdMem));
    const QEL_VPNV4MCAST_KEY_S key{0x0a010000, 16};
    const std::uint32_t label = 0x12345678;
    const auto *rd_record = rd.as<QEL_RD_VALUE_S>();
    expect_made(make([&](auto result) { return QEL_VPNV4MCAST_Output(result, rd_record, 8, &key, &label, ctx_); }),
                {.rd = bytes(kRdMem), .key = bytes(kKeyMem), .label = label});
    expect_made(make([&](auto result) { return QEL_VPNV4MCAST_Output(result, rd_record, 8, &key, nullptr, ctx_); }),
                bare_route());
    expect_made(make([&](auto result) { return QEL_VPNV4MCAST_Output(result, rd_record, 6, &key, &label, ctx_); }),
                {.rd = bytes("0000 6400 0500"), .key = bytes(kKeyMem), .label = label});
}

TEST_F(Vpnv4McastNlri, TheBlockStepWithoutAContextIsRefusedWithOneReport)
{
    const OddBytes rd(bytes(kRdMem));
    const QEL_VPNV4MCAST_KEY_S key{0x0a010000, 16};
    expect_null_arguments_refused(1, kFrameSource, [&](unsigned nulls) {
        QEL_ROUTE_BLOCK_S *result = block_marker();
        const std::uint32_t code =
            QEL_VPNV4MCAST_Output(&result, rd.as<QEL_RD_VALUE_S>(), 8, &key, nullptr, unless(nulls, 0, ctx_));
        EXPECT_EQ(result, block_marker());
        return code;
    });
}

// --- the operation --------------------------------------------------------------------------------------------------

TEST_F(Vpnv4McastNlri, TheOperationKnowsAttributes14And15WithALabelAnd256Without)
{
    for (const std::uint32_t type : {kReach, kUnreach, kNoLabelType}) {
        const bool labelled = type != kNoLabelType;
        const OddBytes wire(bytes(labelled ? kRouteWire : kBareWire));
        const std::uint8_t *cursor = wire.data();
        std::uint32_t more = kUnwritten;
        const Made got =
            make([&](auto result) { return desc_.pfParsePkt(&cursor, wire.size(), 77, type, result, &more, ctx_); });
        expect_made(got, labelled ? whole_route() : bare_route());
        EXPECT_EQ(cursor, wire.data() + wire.size());
        EXPECT_EQ(more, 0U);
    }
}

TEST_F(Vpnv4McastNlri, TheOperationPassesOverNoOctetsAndUnknownAttributes)
{
    const OddBytes wire(bytes(kRouteWire));
    const std::pair<std::uint32_t, std::uint32_t> rows[] = {
        {kReach, 0},          {kUnreach, 0},          {kNoLabelType, 0},
        {22, wire.size()},    {0, wire.size()},       {25, wire.size()},
        {0x10e, wire.size()}, {0x1000e, wire.size()}, {22, 0}};
    for (const auto &row : rows) {
        const std::uint8_t *cursor = wire.data();
        std::uint32_t more = kUnwritten;
        const Made got =
            make([&](auto result) { return desc_.pfParsePkt(&cursor, row.second, 0, row.first, result, &more, ctx_); });
        expect_not_made(got, 0);
        EXPECT_EQ(cursor, wire.data());
        EXPECT_EQ(more, kUnwritten);
    }
}

// --- writing --------------------------------------------------------------------------------------------------------

Written write(decltype(&QEL_VPNV4MCAST_FormatMpNlri) with, QEL_ROUTE_INFO_S &route, std::size_t room,
              QEL_FAMILY_CTX_S *ctx)
{
    const UnchangedRoute unchanged(route);
    return write_into(room, [&](auto cursor) { return with(&route, cursor, static_cast<std::uint32_t>(room), ctx); });
}

TEST_F(Vpnv4McastNlri, ARouteGoesOutAsItCame)
{
    for (const Form &form : kForms) {
        for (unsigned length = 0; length <= 32; ++length) {
            SCOPED_TRACE(length);
            const std::uint32_t prefix = leading_bits(0xa5c3e187, length);
            const std::size_t octets = (length + 7) / 8;
            const Bytes wire = form.wire(form.lowest + length, network_octets(prefix, octets));
            Held held({.rd = bytes(kRdMem), .key = key_of(prefix, length), .label = kLabel});
            for (std::size_t room = 0; room < wire.size(); ++room) {
                expect_not_written(write(form.format, held.info, room, ctx_), kNoRoom);
                EXPECT_EQ(held.info.uiMplsLabel, kLabel);
            }
            for (const std::size_t room : {wire.size(), wire.size() + 1, wire.size() + 30}) {
                held.info.uiMplsLabel = kLabel;
                expect_written(write(form.format, held.info, room, ctx_), wire);
            }
            const Read back = read(form.parse, wire, ctx_);
            expect_made(back, {.rd = bytes(kRdMem), .key = key_of(prefix, length), .label = form.label()});
        }
    }
}

TEST_F(Vpnv4McastNlri, RdsGoOutByTheirTypes)
{
    const std::pair<std::string_view, std::string_view> rows[] = {{"0000 6400 05000000", "0000 0064 00000005"},
                                                                  {"0100 0d0c0b0a 3412", "0001 0a0b0c0d 1234"},
                                                                  {"0200 03020100 feff", "0002 00010203 fffe"},
                                                                  {"0300 010203040506", "0003 010203040506"},
                                                                  {"0001 010203040506", "0100 010203040506"}};
    for (const Form &form : kForms) {
        for (const auto &[mem, wire] : rows) {
            Held held({.rd = bytes(mem), .key = key_of(0, 0), .label = kLabel});
            const Written got = write(form.format, held.info, form.fixed, ctx_);
            expect_written(got, slice(form.wire(form.lowest, {}), 0, form.fixed - 8) + bytes(wire));
        }
    }
}

// kept: the label shifted into its place stays in the route record
TEST_F(Vpnv4McastNlri, WritingTwiceWritesTwoDifferentLabels)
{
    Held held(whole_route());
    expect_written(write(QEL_VPNV4MCAST_FormatMpNlri, held.info, 14, ctx_), bytes("68 000640" + kRd + "0a01"));
    EXPECT_EQ(held.info.uiMplsLabel, 0x640U);
    expect_written(write(QEL_VPNV4MCAST_FormatMpNlri, held.info, 14, ctx_), bytes("68 006400" + kRd + "0a01"));
    EXPECT_EQ(held.info.uiMplsLabel, 0x6400U);
}

TEST_F(Vpnv4McastNlri, TheLabelGoesOutInItsTopTwentyBits)
{
    const struct {
        std::uint32_t label;
        std::string_view wire;
        std::uint32_t left;
    } rows[] = {{0xffffffff, "fffff0", 0xfffffff0}, {0, "000000", 0},
                {0xfffff, "fffff0", 0xfffff0},      {0x100000, "000000", 0x1000000},
                {0x12345, "123450", 0x123450},      {0xf0000001, "000010", 0x10}};
    for (const auto &row : rows) {
        SCOPED_TRACE(row.label);
        Held held({.rd = bytes(kRdMem), .key = key_of(0, 0), .label = row.label});
        expect_written(write(QEL_VPNV4MCAST_FormatMpNlri, held.info, 12, ctx_),
                       bytes("58") + bytes(row.wire) + bytes(kRd));
        EXPECT_EQ(held.info.uiMplsLabel, row.left);
    }
}

TEST_F(Vpnv4McastNlri, TheLowNibbleOfALabelIsNotGivenBack)
{
    const Read got = read(QEL_VPNV4MCAST_ParseMpNlri, bytes("58 000641" + kRd), ctx_);
    ASSERT_TRUE(got.block);
    std::uint32_t label = 0;
    std::memcpy(&label, got.block.at(got.block->usLabelOffset), 4);
    Held held({.rd = bytes(kRdMem), .key = key_of(0, 0), .label = label});
    expect_written(write(QEL_VPNV4MCAST_FormatMpNlri, held.info, 12, ctx_), bytes("58 000640" + kRd));
}

TEST_F(Vpnv4McastNlri, WritingWithoutALabelLeavesTheRecordsLabel)
{
    for (const std::uint32_t length : {0U, 4U}) {
        Held held(whole_route());
        held.info.uiLabelLen = length;
        expect_written(write(QEL_VPNV4MCAST_FormatMpNlriWithoutLabel, held.info, 11, ctx_), bytes(kBareWire));
        EXPECT_EQ(held.info.uiMplsLabel, kLabel);
    }
}

TEST_F(Vpnv4McastNlri, AKeyAndInTheLabelledFormALabelAreNeededAheadOfRoom)
{
    for (const std::size_t room : {0U, 11U, 40U}) {
        Held keyless({.rd = bytes(kRdMem), .label = kLabel});
        for (const Form &form : kForms) {
            expect_not_written(write(form.format, keyless.info, room, ctx_), kAbsent);
        }
        Held bare(bare_route());
        expect_not_written(write(QEL_VPNV4MCAST_FormatMpNlri, bare.info, room, ctx_), kAbsent);
        EXPECT_EQ(bare.info.uiMplsLabel, kUnwritten);
        Held odd(whole_route());
        odd.info.uiLabelLen = 1; // any length but 0 is a label
        EXPECT_EQ(write(QEL_VPNV4MCAST_FormatMpNlri, odd.info, room, ctx_).code, room < 14 ? kNoRoom : 0U);
    }
}

// kept: nobody looks for the RD, and what stood in the buffer is turned in its place
TEST_F(Vpnv4McastNlri, AMissingRdIsOnlyReported)
{
    for (const Form &form : kForms) {
        Held held({.key = bytes(kKeyMem), .label = kLabel});
        OddBytes out(Bytes(form.fixed - 8, kUntouchedOctet) + bytes("0000 0102 03040506 eeee"));
        std::uint8_t *cursor = out.data();
        const platform::Recorder recorder;
        EXPECT_EQ(form.format(&held.info, &cursor, out.size(), ctx_), 0U);
        EXPECT_EQ(recorder.asserts().size(), 1U);
        EXPECT_EQ(cursor, out.data() + out.size());
        EXPECT_EQ(out.hex(),
                  hex(slice(form.wire(form.lowest + 16, {}), 0, form.fixed - 8) + bytes("0000 0201 06050403 0a01")));
        EXPECT_EQ(held.info.uiMplsLabel, form.labelled ? kLabel << 4 : kLabel);
    }
}

// A mask length that no prefix has: four octets at most, the length octet as it comes, the room by the whole length.
TEST_F(Vpnv4McastNlri, AMaskLengthAbove32WritesAtMostTheFourOctetsOfThePrefix)
{
    const struct {
        std::uint32_t length;
        std::size_t octets;
        std::size_t need; // of the prefix and more, as the length says
    } rows[] = {{33, 4, 5}, {40, 4, 5}, {41, 4, 6}, {255, 4, 32}, {256, 0, 32}, {257, 1, 33}, {0x110, 2, 34}};
    for (const Form &form : kForms) {
        for (const auto &row : rows) {
            SCOPED_TRACE(row.length);
            Held held({.rd = bytes(kRdMem), .key = key_of(0x01020304, row.length), .label = kLabel});
            const std::size_t room = form.fixed + row.need;
            expect_not_written(write(form.format, held.info, room - 1, ctx_), kNoRoom);
            EXPECT_EQ(held.info.uiMplsLabel, kLabel);
            expect_written(write(form.format, held.info, room, ctx_),
                           form.wire((form.lowest + row.length) & 0xff, network_octets(0x01020304, row.octets)));
        }
    }
}

TEST_F(Vpnv4McastNlri, TheAnyLengthWildcardWritesFourOctetsWhereTheyFit)
{
    for (const Form &form : kForms) {
        Held held({.rd = bytes(kRdMem), .key = key_of(0x01020304, 0xffffffff), .label = kLabel});
        for (std::size_t room = 0; room < form.fixed + 4; ++room) {
            expect_not_written(write(form.format, held.info, room, ctx_), kNoRoom);
            EXPECT_EQ(held.info.uiMplsLabel, kLabel);
        }
        expect_written(write(form.format, held.info, form.fixed + 4, ctx_),
                       form.wire(form.lowest - 1, bytes("01020304")));
    }
}

TEST_F(Vpnv4McastNlri, WritingRefusesMissingArgumentsWithOneReport)
{
    for (const Form &form : kForms) {
        for (const Sections &sections : {whole_route(), Sections{}}) {
            Held held(sections);
            for (const std::uint32_t room : {0U, 20U}) {
                expect_null_arguments_refused(3, kFrameSource, [&](unsigned nulls) {
                    std::array<std::uint8_t, 20> out{};
                    std::uint8_t *cursor = out.data();
                    const std::uint32_t before = held.info.uiMplsLabel;
                    const std::uint32_t code = form.format(unless(nulls, 0, &held.info), unless(nulls, 1, &cursor),
                                                           room, unless(nulls, 2, ctx_));
                    EXPECT_EQ(cursor, out.data());
                    EXPECT_EQ(out, (std::array<std::uint8_t, 20>{}));
                    EXPECT_EQ(held.info.uiMplsLabel, before);
                    return code;
                });
            }
        }
    }
}

TEST_F(Vpnv4McastNlri, TheOperationWritesAttributes14And15WithALabelAnd256Without)
{
    for (const std::uint32_t type : {kReach, kUnreach, kNoLabelType, 22U, 0U, 0x10eU, 0x10fU, 0x1000eU}) {
        SCOPED_TRACE(type);
        Held held(whole_route());
        const Written got =
            write_into(20, [&](auto cursor) { return desc_.pfFormatPkt(&held.info, type, cursor, 20, ctx_); });
        if (type == kReach || type == kUnreach) {
            expect_written(got, bytes(kRouteWire));
            EXPECT_EQ(held.info.uiMplsLabel, kLabel << 4);
        } else if (type == kNoLabelType) {
            expect_written(got, bytes(kBareWire));
            EXPECT_EQ(held.info.uiMplsLabel, kLabel);
        } else {
            expect_not_written(got, kNoEntry);
        }
    }
}

// --- the steps ------------------------------------------------------------------------------------------------------

TEST_F(Vpnv4McastNlri, PrefixOctetsGoOutFromTheMostSignificantOneOn)
{
    for (const auto count : std::initializer_list<std::uint8_t>{0, 1, 2, 3, 4, 5, 32, 255}) {
        SCOPED_TRACE(count);
        const std::size_t written = std::min<std::size_t>(count, 4);
        OddBytes out(Bytes(written, kUntouchedOctet));
        std::uint8_t *cursor = out.data();
        const platform::Recorder recorder;
        QEL_VPNV4MCAST_PutPrefixBytes(&cursor, count, 0x01020304);
        EXPECT_EQ(cursor, out.data() + written);
        EXPECT_EQ(out.hex(), hex(slice(bytes("01020304"), 0, written)));
        EXPECT_TRUE(recorder.asserts().empty());
    }
}

TEST_F(Vpnv4McastNlri, AnRdIsReadByItsType)
{
    const struct {
        std::string_view wire;
        std::string_view mem;
        bool known;
    } rows[] = {
        {"0000 0064 00000005", "0000 6400 05000000", true}, {"0001 0a0b0c0d 1234", "0100 0d0c0b0a 3412", true},
        {"0002 00010203 fffe", "0200 03020100 feff", true}, {"0003 010203040506", "0300 010203040506", false},
        {"0100 010203040506", "0001 010203040506", false},  {"ffff 010203040506", "ffff 010203040506", false},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.wire);
        const OddBytes wire(bytes(row.wire));
        OddBytes rd(Bytes(8, kUntouchedOctet));
        const std::uint8_t *cursor = wire.data();
        std::uint32_t result = kUnwritten;
        const platform::Recorder recorder;
        QEL_VPNV4MCAST_GET_RD_VALUE(&cursor, rd.as<QEL_RD_VALUE_S>(), &result);
        EXPECT_EQ(result, row.known ? 0U : kBadValue);
        EXPECT_EQ(cursor, wire.data() + (row.known ? 8 : 0));
        EXPECT_EQ(rd.hex(), hex_of(row.mem));
        QEL_VPNV4MCAST_ConvertRDValueHTON(rd.as<QEL_RD_VALUE_S>());
        EXPECT_EQ(rd.hex(), hex_of(row.wire));
        EXPECT_TRUE(recorder.asserts().empty());
    }
}

TEST_F(Vpnv4McastNlri, ReadingAnRdReportsAMissingArgumentAndDoesNothing)
{
    const OddBytes wire(bytes("0000 0064 00000005"));
    const std::uint8_t *cursor = wire.data();
    OddBytes rd(Bytes(8, kUntouchedOctet));
    std::uint32_t result = kUnwritten;
    expect_null_arguments_refused(
        3, kFrameSource,
        [&](unsigned nulls) {
            QEL_VPNV4MCAST_GET_RD_VALUE(unless(nulls, 0, &cursor), unless(nulls, 1, rd.as<QEL_RD_VALUE_S>()),
                                        unless(nulls, 2, &result));
            return 0U;
        },
        0);
    EXPECT_EQ(cursor, wire.data());
    EXPECT_EQ(rd.bytes(), Bytes(8, kUntouchedOctet));
    EXPECT_EQ(result, kUnwritten);
}

// The copy that fails leaves the octets that were there, which are then turned like an RD that has been read.
TEST_F(Vpnv4McastNlri, AnRdWhoseCopyFailsIsReportedAndTheWorkGoesOn)
{
    const OddBytes wire(bytes("0000 0064 00000005"));
    OddBytes rd(bytes("0001 0a0b0c0d 1234"));
    const std::uint8_t *cursor = wire.data();
    std::uint32_t result = kUnwritten;
    const platform::Recorder recorder;
    const FailCopy failure(0);
    QEL_VPNV4MCAST_GET_RD_VALUE(&cursor, rd.as<QEL_RD_VALUE_S>(), &result);
    EXPECT_TRUE(failure.fired());
    EXPECT_EQ(result, 0U);
    EXPECT_EQ(cursor, wire.data() + 8);
    EXPECT_EQ(rd.hex(), hex_of("0100 0d0c0b0a 3412"));
    EXPECT_EQ(recorder.asserts().size(), 1U);
}

TEST_F(Vpnv4McastNlri, TurningNoRdIsReported)
{
    const platform::Recorder recorder;
    QEL_VPNV4MCAST_ConvertRDValueHTON(nullptr);
    ASSERT_EQ(recorder.asserts().size(), 1U);
    EXPECT_TRUE(recorder.asserts()[0].file.ends_with(kFrameSource));
}

} // namespace
} // namespace qel::test
