// MDT routes on the wire: reading and writing one, the values in them, and the two packet operations.
#include "mdt_cases.h"

namespace qel::test {
namespace {

// --- reading --------------------------------------------------------------------------------------------------------

struct Parsed : Made {
    std::ptrdiff_t moved = 0;
    std::uint32_t more = kUnwritten;
};

// The attribute ends where its heap block ends, at an odd address.
Parsed parse(const Bytes &wire, QEL_FAMILY_CTX_S *ctx)
{
    const OddBytes attribute(wire);
    const std::uint8_t *cursor = attribute.data();
    std::uint32_t more = kUnwritten;
    Parsed got{make([&](auto result) { return QEL_MDT_ParseMpNlri(&cursor, attribute.size(), result, &more, ctx); })};
    got.moved = cursor - attribute.data();
    got.more = more;
    return got;
}

Parsed parse(std::string_view wire, QEL_FAMILY_CTX_S *ctx)
{
    return parse(bytes(wire), ctx);
}

void expect_refused(const Parsed &got, std::uint32_t code, std::size_t asserts = 0)
{
    expect_not_made(got, code, asserts);
    EXPECT_EQ(got.allocations, 0U);
    EXPECT_EQ(got.moved, 0);
    EXPECT_EQ(got.more, kUnwritten);
}

const Bytes kNlri = bytes("80 0000 0064 00000005 0a000001 ef010101");

using MdtNlri = MdtTest;

TEST_F(MdtNlri, BecomesRdKeyAndNonKeyInHostOrder)
{
    const struct {
        std::string_view wire;
        std::string_view rd;
        std::string_view key;
        std::string_view nonkey;
    } rows[] = {
        {"80 0000 0064 00000005 0a000001 ef010101", kRdMem, kKeyMem, kNonKeyMem},
        {"80 0001 0a0b0c0d 1234 01020304 05060708", "0100 0d0c0b0a 3412", "04030201 08070605", "0100 0000 08070605"},
        {"80 0002 00010203 fffe 00000000 00000000", "0200 03020100 feff", "00000000 00000000", "0100 0000 00000000"},
        {"80 0000 fffe fffdfcfb ffffffff e0000001", "0000 feff fbfcfdff", "ffffffff 010000e0", "0100 0000 010000e0"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.wire);
        const Parsed got = parse(row.wire, ctx_);
        expect_made(got, {.rd = bytes(row.rd), .key = bytes(row.key), .nonkey = bytes(row.nonkey)});
        EXPECT_EQ(got.allocations, 1U);
        EXPECT_EQ(got.moved, 17);
        EXPECT_EQ(got.more, 0U);
    }
}

// kept: the group stands twice in a route, in the key and as the share group of the non-key
TEST_F(MdtNlri, TheGroupStandsInTheKeyAndInTheNonKey)
{
    const Parsed got = parse(kNlri, ctx_);
    ASSERT_TRUE(got.block);
    EXPECT_EQ(hex(got.block.section(static_cast<std::uint16_t>(got.block->usKeyOffset + 4), 4)), "010101ef");
    EXPECT_EQ(hex(got.block.section(got.block->usNonKeyOffset, 8)), "01000000010101ef");
}

TEST_F(MdtNlri, TheFlagsOfARouteFromTheWireSayThatItsShareGroupIsValidAndNothingElse)
{
    for (const std::string_view wire :
         {"80 0000 0064 00000005 0a000001 ef010101", "80 0002 ffffffff ffff ffffffff ffffffff"}) {
        const Parsed got = parse(wire, ctx_);
        ASSERT_TRUE(got.block);
        EXPECT_EQ(hex(got.block.section(got.block->usNonKeyOffset, 4)), "01000000");
    }
}

TEST_F(MdtNlri, TheBlockOfARouteComesFromTheMemoryOfItsContext)
{
    constexpr std::uint32_t kOther = 31;
    const std::uint64_t before = platform::usage(kOther).allocations;
    ctx_->uiMemHandle = kOther;
    const Parsed got = parse(kNlri, ctx_);
    ctx_->uiMemHandle = kMemHandle;
    EXPECT_TRUE(got.block);
    EXPECT_EQ(platform::usage(kOther).allocations, before + 1);
    EXPECT_EQ(got.allocations, 0U);
}

TEST_F(MdtNlri, AReportNamesTheSourceThatHoldsTheCheck)
{
    const OddBytes wire(kNlri);
    const std::uint8_t *cursor = wire.data();
    QEL_ROUTE_BLOCK_S *result = block_marker();
    std::uint32_t more = kUnwritten;
    const platform::Recorder recorder;
    EXPECT_EQ(QEL_MDT_ParseMpNlri(&cursor, 17, &result, &more, nullptr), kNull);
    EXPECT_EQ(QEL_MDT_ParsePkt(&cursor, 17, 0, 14, &result, &more, nullptr), kNull);
    ASSERT_EQ(recorder.asserts().size(), 2U);
    EXPECT_TRUE(recorder.asserts()[0].file.ends_with(kPacketSource));
    EXPECT_TRUE(recorder.asserts()[1].file.ends_with(kFrameSource));
}

TEST_F(MdtNlri, MoreIsToldByWhatIsLeftBehindTheSixteenBytes)
{
    EXPECT_EQ(parse(kNlri, ctx_).more, 0U);
    for (std::size_t behind = 1; behind <= 17; ++behind) {
        const Parsed got = parse(kNlri + Bytes(behind, 0x80), ctx_);
        expect_made(got, whole_route());
        EXPECT_EQ(got.more, 1U) << behind;
        EXPECT_EQ(got.moved, 17);
    }
    EXPECT_EQ(parse(kNlri + kNlri, ctx_).more, 1U);
}

// kept: bit lengths of 121 to 127 are taken for sixteen bytes too and not kept
TEST_F(MdtNlri, BitLengthsOf121To128TakeSixteenBytes)
{
    for (unsigned bits = 0; bits <= 255; ++bits) {
        SCOPED_TRACE(bits);
        Bytes wire = kNlri + Bytes(17, 0x55);
        wire[0] = static_cast<std::uint8_t>(bits);
        const Parsed got = parse(wire, ctx_);
        if (bits >= 121 && bits <= 128) {
            expect_made(got, whole_route());
            EXPECT_EQ(got.moved, 17);
            EXPECT_EQ(got.more, 1U);
        } else {
            expect_refused(got, kMalformed);
        }
    }
}

TEST_F(MdtNlri, ARouteLongerThanWhatIsLeftIsMalformed)
{
    for (std::size_t length = 1; length < kNlri.size(); ++length) {
        SCOPED_TRACE(length);
        expect_refused(parse(slice(kNlri, 0, length), ctx_), kMalformed);
    }
}

TEST_F(MdtNlri, TheLengthIsJudgedBeforeTheRd)
{
    expect_refused(parse("78 0003 0064 00000005 0a000001 ef010101", ctx_), kMalformed);
    expect_refused(parse("80 0003 0064 00000005 0a000001 ef0101", ctx_), kMalformed);
}

// kept: the cursor stands on the source address of the route that is passed over, not on the next route
TEST_F(MdtNlri, AnRdTypeAboveTwoLeavesTheCursorOnTheSourceAddress)
{
    for (const std::string_view type : {"0003", "0100", "00ff", "ffff", "0200"}) {
        SCOPED_TRACE(type);
        Bytes wire = kNlri;
        std::ranges::copy(bytes(type), wire.begin() + 1);
        for (std::size_t behind = 0; behind <= 17; ++behind) {
            const Parsed got = parse(wire + Bytes(behind, 0x80), ctx_);
            expect_not_made(got, kRefusedRoute);
            EXPECT_EQ(got.moved, 9);
            EXPECT_EQ(got.more, behind == 0 ? 0U : 1U);
            EXPECT_EQ(got.allocations, 0U);
        }
    }
}

TEST_F(MdtNlri, TheBlocksFailedAllocationMovesNothing)
{
    expect_each_allocation_fails({kNoBlock}, [&] {
        Parsed got = parse(kNlri + kNlri, ctx_);
        EXPECT_EQ(got.moved, got.code == 0 ? 17 : 0);
        EXPECT_EQ(got.more, got.code == 0 ? 1U : kUnwritten);
        return got;
    });
}

TEST_F(MdtNlri, NoBytesAreRefusedLikeAMissingArgument)
{
    const OddBytes wire(kNlri);
    expect_null_arguments_refused(5, kPacketSource, [&](unsigned nulls) {
        const std::uint8_t *cursor = wire.data();
        QEL_ROUTE_BLOCK_S *result = block_marker();
        std::uint32_t more = kUnwritten;
        const std::uint32_t code =
            QEL_MDT_ParseMpNlri(unless(nulls, 0, &cursor), (nulls & 4) != 0 ? 0 : wire.size(),
                                unless(nulls, 1, &result), unless(nulls, 3, &more), unless(nulls, 4, ctx_));
        EXPECT_EQ(cursor, wire.data());
        EXPECT_EQ(result, block_marker());
        EXPECT_EQ(more, kUnwritten);
        return code;
    });
}

// --- writing --------------------------------------------------------------------------------------------------------

Written format(const Sections &sections, std::size_t room, QEL_FAMILY_CTX_S *ctx)
{
    Held held(sections);
    return write_into(room, [&](auto cursor) {
        return QEL_MDT_FormatMpNlri(&held.info, cursor, static_cast<std::uint32_t>(room), ctx);
    });
}

TEST_F(MdtNlri, GoesOutInSeventeenBytes)
{
    for (const std::size_t room : {17U, 18U, 40U}) {
        expect_written(format(whole_route(), room, ctx_), kNlri);
    }
    expect_written(
        format({.rd = bytes("0100 0d0c0b0a 3412"), .key = bytes("04030201 08070605")}, 17, ctx_), // no non-key needed
        bytes("80 0001 0a0b0c0d 1234 01020304 05060708"));
    expect_written(format({.rd = bytes("0200 03020100 feff"), .key = bytes("00000000 ffffffff")}, 17, ctx_),
                   bytes("80 0002 00010203 fffe 00000000 ffffffff"));
}

TEST_F(MdtNlri, OfAnRdTypeAboveTwoOnlyTheTypeIsTurnedOnTheWayOut)
{
    expect_written(format({.rd = bytes("0300 010203040506"), .key = bytes(kKeyMem)}, 17, ctx_),
                   bytes("80 0003 010203040506 0a000001 ef010101"));
}

TEST_F(MdtNlri, NeedsRoomForAllOfIt)
{
    for (std::size_t room = 0; room <= 16; ++room) {
        expect_not_written(format(whole_route(), room, ctx_), kNoRoom);
    }
}

TEST_F(MdtNlri, WithoutKeyOrRdItIsAbsentWhateverTheRoom)
{
    for (const std::size_t room : {0U, 16U, 17U}) {
        expect_not_written(format({.rd = bytes(kRdMem), .nonkey = bytes(kNonKeyMem)}, room, ctx_), kAbsent);
        expect_not_written(format({.key = bytes(kKeyMem), .nonkey = bytes(kNonKeyMem)}, room, ctx_), kAbsent);
    }
}

TEST_F(MdtNlri, WritingRefusesMissingArgumentsWithOneReport)
{
    for (const Sections &sections : {whole_route(), Sections{}}) {
        Held held(sections);
        for (const std::uint32_t room : {0U, 17U}) {
            expect_null_arguments_refused(3, kPacketSource, [&](unsigned nulls) {
                std::array<std::uint8_t, 17> out{};
                std::uint8_t *cursor = out.data();
                const std::uint32_t code = QEL_MDT_FormatMpNlri(unless(nulls, 0, &held.info), unless(nulls, 1, &cursor),
                                                                room, unless(nulls, 2, ctx_));
                EXPECT_EQ(cursor, out.data());
                EXPECT_EQ(out, (std::array<std::uint8_t, 17>{}));
                return code;
            });
        }
    }
}

TEST_F(MdtNlri, TheFormattedRouteSays128Bits)
{
    for (const std::uint8_t bits : std::array<std::uint8_t, 3>{121, 127, 128}) {
        Bytes wire = kNlri;
        wire[0] = bits;
        const Parsed got = parse(wire, ctx_);
        ASSERT_TRUE(got.block);
        const Sections sections{.rd = got.block.section(got.block->usRdOffset, 8),
                                .key = got.block.section(got.block->usKeyOffset, 8)};
        expect_written(format(sections, 17, ctx_), kNlri);
    }
}

// --- values ---------------------------------------------------------------------------------------------------------

struct ValueRow {
    std::string_view wire;
    std::string_view mem;
    bool known;
};

constexpr ValueRow kRdRows[] = {
    {"0000 0102 03040506", "0000 0201 06050403", true}, {"0001 01020304 0506", "0100 04030201 0605", true},
    {"0002 01020304 0506", "0200 04030201 0605", true}, {"0003 010203040506", "0300 010203040506", false},
    {"0100 010203040506", "0001 010203040506", false},  {"0200 010203040506", "0002 010203040506", false},
    {"ffff 010203040506", "ffff 010203040506", false},
};

constexpr ValueRow kRtRows[] = {
    {"0002 0102 03040506", "0200 0201 06050403", true}, {"0102 01020304 0506", "0201 04030201 0605", true},
    {"0202 01020304 0506", "0202 04030201 0605", true}, {"010a 01020304 0506", "0a01 04030201 0605", true},
    {"010b 01020304 0506", "0b01 04030201 0605", true}, {"0009 010203040506", "0900 010203040506", false},
    {"0000 010203040506", "0000 010203040506", false},  {"0302 010203040506", "0203 010203040506", false},
    {"000a 010203040506", "0a00 010203040506", false},  {"000b 010203040506", "0b00 010203040506", false},
    {"0112 010203040506", "1201 010203040506", false},  {"020a 010203040506", "0a02 010203040506", false},
    {"0200 010203040506", "0002 010203040506", false},  {"4002 010203040506", "0240 010203040506", false},
};

// Reads each row from exactly its eight bytes and turns it back.
template <typename Record, std::size_t kRows>
void expect_values(const ValueRow (&rows)[kRows], void (*get)(const std::uint8_t **, Record *, std::uint32_t *),
                   void (*back)(Record *))
{
    const platform::Recorder recorder;
    for (const ValueRow &row : rows) {
        SCOPED_TRACE(row.wire);
        const OddBytes wire(bytes(row.wire));
        OddBytes record(Bytes(8, kUntouchedOctet));
        const std::uint8_t *cursor = wire.data();
        std::uint32_t result = kUnwritten;
        get(&cursor, record.as<Record>(), &result);
        EXPECT_EQ(result, row.known ? 0U : kBadValue);
        EXPECT_EQ(cursor - wire.data(), row.known ? 8 : 0);
        EXPECT_EQ(record.hex(), hex_of(row.mem));
        back(record.as<Record>());
        EXPECT_EQ(record.hex(), hex_of(row.wire));
    }
    EXPECT_TRUE(recorder.asserts().empty());
}

TEST_F(MdtNlri, RdValuesAreTurnedByTheirType)
{
    expect_values<QEL_RD_VALUE_S>(kRdRows, QEL_MDT_GET_RD_VALUE, QEL_MDT_ConvertRDValueHTON);
}

TEST_F(MdtNlri, RouteTargetValuesAreTurnedByTheirType)
{
    expect_values<QEL_EXTCOMM_S>(kRtRows, QEL_MDT_GET_RT_VALUE, QEL_MDT_ConvertRTValueHTON);
}

// kept: this family's table of route targets has no 0xffff
TEST_F(MdtNlri, TheTypeFfffIsNoRouteTargetHere)
{
    constexpr ValueRow rows[] = {{"ffff 010203040506", "ffff 010203040506", false}};
    expect_values<QEL_EXTCOMM_S>(rows, QEL_MDT_GET_RT_VALUE, QEL_MDT_ConvertRTValueHTON);
}

TEST_F(MdtNlri, TurningNoRecordIsReported)
{
    const platform::Recorder recorder;
    QEL_MDT_ConvertRDValueHTON(nullptr);
    EXPECT_EQ(recorder.asserts().size(), 1U);
    QEL_MDT_ConvertRTValueHTON(nullptr);
    EXPECT_EQ(recorder.asserts().size(), 2U);
    for (const platform::AssertRecord &report : recorder.asserts()) {
        EXPECT_TRUE(report.file.ends_with(kPacketSource)) << report.file;
    }
}

TEST_F(MdtNlri, ReadingAValueReportsAMissingArgumentAndDoesNothing)
{
    const OddBytes wire(bytes(kRdWire));
    const std::uint8_t *cursor = wire.data();
    OddBytes record(Bytes(8, kUntouchedOctet));
    std::uint32_t result = kUnwritten;
    const auto refused = [&](auto get, auto *value) {
        expect_null_arguments_refused(
            3, kPacketSource,
            [&](unsigned nulls) {
                get(unless(nulls, 0, &cursor), unless(nulls, 1, value), unless(nulls, 2, &result));
                return 0U;
            },
            0);
    };
    refused(QEL_MDT_GET_RD_VALUE, record.as<QEL_RD_VALUE_S>());
    refused(QEL_MDT_GET_RT_VALUE, record.as<QEL_EXTCOMM_S>());
    EXPECT_EQ(cursor, wire.data());
    EXPECT_EQ(record.bytes(), Bytes(8, kUntouchedOctet));
    EXPECT_EQ(result, kUnwritten);
}

// --- the operations -------------------------------------------------------------------------------------------------

Parsed parse_pkt(const QEL_FAMILY_DESC_S &desc, std::uint32_t type, const Bytes &wire, std::uint32_t length,
                 QEL_FAMILY_CTX_S *ctx)
{
    const OddBytes attribute(wire);
    const std::uint8_t *cursor = attribute.data();
    std::uint32_t more = kUnwritten;
    Parsed got{make([&](auto result) { return desc.pfParsePkt(&cursor, length, 99, type, result, &more, ctx); })};
    got.moved = cursor - attribute.data();
    got.more = more;
    return got;
}

TEST_F(MdtNlri, AttributesLeadToTheirReaders)
{
    for (const std::uint32_t type : {14U, 15U}) {
        const Parsed got = parse_pkt(desc_, type, kNlri, 17, ctx_);
        expect_made(got, whole_route());
        EXPECT_EQ(got.moved, 17);
        EXPECT_EQ(got.more, 0U);
    }
    const Parsed list = parse_pkt(desc_, 16, bytes("0002 fde9 00000064"), 8, ctx_);
    expect_made(list, {.list = bytes("0200 e9fd 64000000")});
    EXPECT_EQ(list.moved, 8);
    EXPECT_EQ(list.more, 0U);
    expect_refused(parse_pkt(desc_, 16, bytes("0002 fde9"), 4, ctx_), 0x30009);
    expect_refused(parse_pkt(desc_, 15, bytes("78"), 1, ctx_), kMalformed);
}

// kept: an attribute that the family does not know is passed over in silence on the way in alone
TEST_F(MdtNlri, AnUnknownAttributeIsPassedOverOnTheWayInAndRefusedOnTheWayOut)
{
    for (const std::uint32_t type : {0U, 1U, 13U, 17U, 22U, 25U, 0x10eU, 0x1000eU}) {
        expect_refused(parse_pkt(desc_, type, kNlri, 17, ctx_), 0);
        Held held(whole_route());
        expect_not_written(
            write_into(40, [&](auto cursor) { return desc_.pfFormatPkt(&held.info, type, cursor, 40, ctx_); }),
            kNoEntry);
    }
}

TEST_F(MdtNlri, NoBytesAreNothingToDoForTheOperation)
{
    for (const std::uint32_t type : {14U, 15U, 16U, 22U}) {
        expect_refused(parse_pkt(desc_, type, kNlri, 0, ctx_), 0);
    }
}

TEST_F(MdtNlri, AttributesLeadToTheirWriters)
{
    Sections sections = whole_route();
    sections.list = host_list("0002 fde9 00000064");
    Held held(sections);
    const auto write = [&](std::uint32_t type, std::uint32_t room) {
        return write_into(room, [&](auto cursor) { return desc_.pfFormatPkt(&held.info, type, cursor, room, ctx_); });
    };
    for (const std::uint32_t type : {14U, 15U}) {
        expect_written(write(type, 17), kNlri);
        expect_not_written(write(type, 16), kNoRoom);
    }
    expect_written(write(16, 8), bytes("0002 fde9 00000064"));
    expect_not_written(write(16, 7), kNoRoom);
}

} // namespace
} // namespace qel::test
