// Configuration records and texts of VPNv4 multicast routes.
#include "vpnv4mcast_cases.h"

namespace qel::test {
namespace {

constexpr std::uint32_t kRdRecord = 16;
constexpr std::uint32_t kPrefixRecord = 89;
constexpr std::uint32_t kIndexBefore = 0x1111;
constexpr std::uint32_t kMoreBefore = 0x2222;

using Vpnv4McastCfg = Vpnv4McastTest;
using CfgWriter = decltype(&QEL_VPNV4MCAST_FormatCfgRd);

struct CfgWritten : Written {
    std::uint32_t index = 0;
    std::uint32_t more = 0;
};

CfgWritten write_cfg(CfgWriter writer, const QEL_ROUTE_INFO_S &route, std::size_t room,
                     std::uint32_t index = kIndexBefore)
{
    const UnchangedRoute unchanged(route);
    std::uint32_t more = kMoreBefore;
    CfgWritten got{
        write_into(
            room, [&](auto cursor) { return writer(&route, cursor, static_cast<std::uint32_t>(room), &index, &more); }),
        0, 0};
    got.index = index;
    got.more = more;
    return got;
}

void expect_record(const CfgWritten &got, const Bytes &front, std::uint32_t moved)
{
    EXPECT_EQ(got.code, 0U);
    EXPECT_EQ(got.moved, static_cast<std::ptrdiff_t>(moved));
    EXPECT_EQ(got.asserts, 0U);
    expect_buffer(got, front);
    EXPECT_EQ(got.index, 0U);
    EXPECT_EQ(got.more, 0U);
}

void expect_no_record(const CfgWritten &got, std::uint32_t code, std::size_t asserts = 0)
{
    expect_not_written(got, code, asserts);
    EXPECT_EQ(got.index, kIndexBefore);
    EXPECT_EQ(got.more, kMoreBefore);
}

void expect_reader_refuses(MessageReader reader, const Bytes &value, QEL_FAMILY_CTX_S *ctx)
{
    const Trusted record(value);
    for (const std::uint32_t length : {0U, 16U}) {
        expect_null_arguments_refused(3, kFrameSource, [&](unsigned nulls) {
            QEL_ROUTE_BLOCK_S *result = block_marker();
            const std::uint32_t code =
                reader(unless(nulls, 0, record.data()), length, unless(nulls, 1, &result), unless(nulls, 2, ctx));
            EXPECT_EQ(result, block_marker());
            return code;
        });
    }
}

// --- RD records -----------------------------------------------------------------------------------------------------

TEST_F(Vpnv4McastCfg, AnRdRecordGivesItsRdAsItStands)
{
    for (const std::string_view rd : {"0000 6400 05000000", "0100 0d0c0b0a 3412", "ffff 010203040506"}) {
        const Made got =
            read_message(QEL_VPNV4MCAST_ParseCfgRd, bytes("00000000") + bytes(rd) + bytes("03ffffff"), ctx_);
        expect_made(got, {.rd = bytes(rd)});
        EXPECT_EQ(got.allocations, 1U);
    }
}

TEST_F(Vpnv4McastCfg, AnRdRecordOfAnotherLengthIsReported)
{
    for (const std::size_t length : {0U, 4U, 12U, 15U, 17U, 32U, 0x110U, 0x10010U}) {
        Bytes value = bytes("00000000 0000640005000000 01000000");
        value.resize(length);
        const Made got = read_message(QEL_VPNV4MCAST_ParseCfgRd, value, ctx_);
        expect_not_made(got, kNull, 1);
        EXPECT_EQ(got.allocations, 0U);
    }
}

TEST_F(Vpnv4McastCfg, AnRdRecordWithAFirstWordOtherThanZeroIsRefused)
{
    for (const std::string_view first : {"01000000", "00000001", "00010000", "ffffffff"}) {
        const Made got =
            read_message(QEL_VPNV4MCAST_ParseCfgRd, bytes(first) + bytes("0000640005000000 01000000"), ctx_);
        expect_not_made(got, kBadCfgRd);
        EXPECT_EQ(got.allocations, 0U);
    }
}

TEST_F(Vpnv4McastCfg, EachReadersBlockFailsOnce)
{
    expect_each_allocation_fails({kNoBlock}, [&] {
        return read_message(QEL_VPNV4MCAST_ParseCfgRd, bytes("00000000 0000640005000000 01000000"), ctx_);
    });
    expect_each_allocation_fails(
        {kNoBlock}, [&] { return read_message(QEL_VPNV4MCAST_ParseCfgPrefix, Bytes(kPrefixRecord, 1), ctx_); });
}

TEST_F(Vpnv4McastCfg, ReadersRefuseMissingArgumentsWithOneReport)
{
    expect_reader_refuses(QEL_VPNV4MCAST_ParseCfgRd, bytes("00000000 0000640005000000 01000000"), ctx_);
    expect_reader_refuses(QEL_VPNV4MCAST_ParseCfgPrefix, Bytes(kPrefixRecord, 1), ctx_);
}

TEST_F(Vpnv4McastCfg, TheFormOctetTellsHowAnRdIsShown)
{
    const struct {
        std::string_view rd;
        std::uint32_t flags;
        std::string_view form;
    } rows[] = {{"0000 6400 05000000", 0, "01"},     {"0000 6400 05000000", 1, "01"}, {"0100 0d0c0b0a 3412", 1, "02"},
                {"0100 0d0c0b0a 3412", 0, "03"},     {"0200 0d0c0b0a 3412", 3, "02"}, {"0200 0d0c0b0a 3412", 2, "03"},
                {"0100 0d0c0b0a 3412", 0x100, "03"}, {"ffff 010203040506", 1, "02"},  {"0001 010203040506", 0, "03"}};
    for (const auto &row : rows) {
        SCOPED_TRACE(row.rd);
        Held held({.rd = bytes(row.rd)});
        held.info.uiRdFlags = row.flags;
        const Bytes record = bytes("00000000") + bytes(row.rd) + bytes(row.form) + bytes("000000");
        for (const std::size_t room : {16U, 17U, 40U}) {
            expect_record(write_cfg(QEL_VPNV4MCAST_FormatCfgRd, held.info, room), record, kRdRecord);
        }
        for (std::size_t room = 1; room < 16; ++room) {
            expect_no_record(write_cfg(QEL_VPNV4MCAST_FormatCfgRd, held.info, room), kNoRoom);
        }
    }
}

TEST_F(Vpnv4McastCfg, TheFormOctetIsWrittenBehindTheRdByTheStep)
{
    const std::tuple<std::string_view, std::uint32_t, std::string_view> rows[] = {
        {"0000", 0, "01000000"}, {"0000", 1, "01000000"}, {"0100", 1, "02000000"}, {"0100", 0, "03000000"}};
    for (const auto &[type, flag, form] : rows) {
        OddBytes record(bytes(type) + Bytes(10, kUntouchedOctet));
        QEL_VPNV4MCAST_SetVrfRdType(record.data(), flag);
        EXPECT_EQ(record.hex(), hex(bytes(type) + Bytes(6, kUntouchedOctet) + bytes(form)));
    }
}

TEST_F(Vpnv4McastCfg, TheFormOctetOfNoRdIsReported)
{
    const platform::Recorder recorder;
    QEL_VPNV4MCAST_SetVrfRdType(nullptr, 1);
    ASSERT_EQ(recorder.asserts().size(), 1U);
    EXPECT_TRUE(recorder.asserts()[0].file.ends_with(kFrameSource));
}

TEST_F(Vpnv4McastCfg, WritersReportAMissingRouteAndWriteNothing)
{
    for (const CfgWriter writer : {QEL_VPNV4MCAST_FormatCfgRd, QEL_VPNV4MCAST_FormatCfgPrefix}) {
        expect_null_arguments_refused(1, kFrameSource, [&](unsigned) {
            OddBytes out(Bytes(100, kUntouchedOctet));
            std::uint8_t *cursor = out.data();
            std::uint32_t index = kUnwritten;
            std::uint32_t more = kUnwritten;
            const std::uint32_t code = writer(nullptr, &cursor, 100, &index, &more);
            EXPECT_EQ(cursor, out.data());
            EXPECT_EQ(out.bytes(), Bytes(100, kUntouchedOctet));
            EXPECT_EQ(index, kUnwritten);
            EXPECT_EQ(more, kUnwritten);
            return code;
        });
    }
}

TEST_F(Vpnv4McastCfg, TheLengthOfTheRdIsTheRoutes)
{
    Held held({.rd = bytes("0000 6400")});
    const CfgWritten got = write_cfg(QEL_VPNV4MCAST_FormatCfgRd, held.info, 16);
    EXPECT_EQ(got.code, 0U);
    EXPECT_EQ(hex(slice(got.buffer, 0, 8)), hex_of("00000000 0000 6400"));
    EXPECT_EQ(hex(slice(got.buffer, 12, 4)), hex_of("01000000"));
    // longer than an RD: the copy is reported and the work goes on
    Held longer({.rd = bytes("0100 0d0c0b0a 3412 77")});
    const CfgWritten cut = write_cfg(QEL_VPNV4MCAST_FormatCfgRd, longer.info, 16);
    EXPECT_EQ(cut.code, 0U);
    EXPECT_EQ(cut.asserts, 1U);
    EXPECT_EQ(cut.moved, 16);
}

TEST_F(Vpnv4McastCfg, WritingAnRdRefusesWhatIsMissingWithOneReport)
{
    for (const std::uint32_t room : {15U, 16U}) {
        // the RD, the cursor, the room, the index, the word for more
        expect_null_arguments_refused(5, kFrameSource, [&](unsigned nulls) {
            const Held held((nulls & 1U) != 0 ? Sections{.key = bytes(kKeyMem)} : bare_route());
            std::array<std::uint8_t, 16> out{};
            std::uint8_t *cursor = out.data();
            std::uint32_t index = kIndexBefore;
            std::uint32_t more = kMoreBefore;
            const std::uint32_t code =
                QEL_VPNV4MCAST_FormatCfgRd(&held.info, unless(nulls, 1, &cursor), (nulls & 4U) != 0 ? 0 : room,
                                           unless(nulls, 3, &index), unless(nulls, 4, &more));
            EXPECT_EQ(cursor, out.data());
            EXPECT_EQ(out, (std::array<std::uint8_t, 16>{}));
            EXPECT_EQ(index, kIndexBefore);
            EXPECT_EQ(more, kMoreBefore);
            return code;
        });
    }
}

// --- prefix records -------------------------------------------------------------------------------------------------

Bytes prefix_record(std::uint32_t prefix, std::uint32_t length)
{
    return bytes("0a000000") + word(prefix) + word(length) + Bytes(kPrefixRecord - 12, 0xff);
}

TEST_F(Vpnv4McastCfg, APrefixRecordGivesItsKeyWithTheBitsBehindTheLengthCleared)
{
    const std::tuple<std::uint32_t, std::uint32_t, std::uint32_t> rows[] = {
        {0x0a010203, 16, 0x0a010000}, {0x0a010203, 0xffffffff, 0x0a010203}, // the wildcard keeps the address
        {0x0a010203, 40, 0},          {0x0a010203, 33, 0},
        {0x0a010203, 32, 0x0a010203}, {0x0a010203, 31, 0x0a010202},
        {0x0a010203, 8, 0x0a000000},  {0x0a010203, 0, 0},
        {0xffffffff, 1, 0x80000000},  {0xffffffff, 0xfffffffe, 0},
        {0xffffffff, 0x80000001, 0},  {0xffffffff, 0x120, 0},
        {0xffffffff, 64, 0},          {0x0a010203, 12, 0x0a000000},
    };
    for (const auto &[given, length, kept] : rows) {
        SCOPED_TRACE(length);
        const Made got = read_message(QEL_VPNV4MCAST_ParseCfgPrefix, prefix_record(given, length), ctx_);
        expect_made(got, {.key = key_of(kept, length)});
        EXPECT_EQ(got.allocations, 1U);
    }
    for (std::uint32_t length = 1; length <= 32; ++length) {
        const std::uint32_t mask = 0xffffffffU << (32 - length);
        expect_made(read_message(QEL_VPNV4MCAST_ParseCfgPrefix, prefix_record(0xa5c3e187, length), ctx_),
                    {.key = key_of(0xa5c3e187 & mask, length)});
    }
}

// kept: neither the length nor the route type octet is looked at
TEST_F(Vpnv4McastCfg, APrefixRecordIsReadWhateverItsLengthAndType)
{
    for (const std::size_t length : {0U, 1U, 11U, 12U, 89U, 100U}) {
        const Bytes record = bytes("ffffffff") + word(0x0a010203) + word(24) + Bytes(100);
        const Trusted message(record);
        expect_made(make([&](auto result) {
                        return QEL_VPNV4MCAST_ParseCfgPrefix(message.data(), static_cast<std::uint32_t>(length), result,
                                                             ctx_);
                    }),
                    {.key = key_of(0x0a010200, 24)});
    }
    // an empty record is read from what is promised behind it
    expect_made(read_message(QEL_VPNV4MCAST_ParseCfgPrefix, {}, ctx_), {.key = bytes("00000000 d7d7d7d7")});
}

TEST_F(Vpnv4McastCfg, APrefixRecordIsWrittenInItsFirstTwelveOctetsAndSteppedOverWhole)
{
    for (const std::uint32_t length : {0U, 16U, 32U, 40U, 0xffffffffU}) {
        const Held held({.key = key_of(0x0a010203, length)});
        const Bytes record = bytes("0a000000") + word(0x0a010203) + word(length);
        for (const std::size_t room : {89U, 90U, 120U}) {
            expect_record(write_cfg(QEL_VPNV4MCAST_FormatCfgPrefix, held.info, room), record, kPrefixRecord);
        }
        for (const std::size_t room : {1U, 12U, 16U, 88U}) {
            expect_no_record(write_cfg(QEL_VPNV4MCAST_FormatCfgPrefix, held.info, room), kNoRoom);
        }
    }
}

TEST_F(Vpnv4McastCfg, WritingAPrefixRefusesWhatIsMissingWithOneReport)
{
    for (const std::uint32_t room : {88U, 89U}) {
        // the key, the cursor, the room, the index, the word for more; the route alone below
        expect_null_arguments_refused(5, kFrameSource, [&](unsigned nulls) {
            const Held held((nulls & 1U) != 0 ? Sections{.rd = bytes(kRdMem)} : bare_route());
            std::array<std::uint8_t, 89> out{};
            std::uint8_t *cursor = out.data();
            std::uint32_t index = kIndexBefore;
            std::uint32_t more = kMoreBefore;
            const std::uint32_t code =
                QEL_VPNV4MCAST_FormatCfgPrefix(&held.info, unless(nulls, 1, &cursor), (nulls & 4U) != 0 ? 0 : room,
                                               unless(nulls, 3, &index), unless(nulls, 4, &more));
            EXPECT_EQ(cursor, out.data());
            EXPECT_EQ(out, (std::array<std::uint8_t, 89>{}));
            EXPECT_EQ(index, kIndexBefore);
            EXPECT_EQ(more, kMoreBefore);
            return code;
        });
    }
    std::uint32_t index = kIndexBefore;
    std::uint32_t more = kMoreBefore;
    std::uint8_t octet = 0;
    std::uint8_t *cursor = &octet;
    expect_null_arguments_refused(
        1, kFrameSource, [&](unsigned) { return QEL_VPNV4MCAST_FormatCfgPrefix(nullptr, &cursor, 89, &index, &more); });
}

// --- community texts ------------------------------------------------------------------------------------------------

const std::string kList = "0002 0064 00000001 010b 0a000001 0007 0202 00010002 0007";

TEST_F(Vpnv4McastCfg, CommunitiesAreShownOnePerCallAtACursorThatStays)
{
    Held held({.list = host_list(kList)});
    const struct {
        std::uint32_t index;
        std::uint32_t flags;
        std::string_view text;
        std::uint32_t more;
    } rows[] = {{0, 0, "RT <100 : 1>", 1},
                {1, 0, "Import RT(type:0x0B) <10.0.0.1 : 7>", 1},
                {2, 0, "RT <1.2 : 7>", 0},
                {2, 1, "RT <65538 : 7>", 0},
                {2, 2, "RT <1.2 : 7>", 0}};
    for (const auto &row : rows) {
        SCOPED_TRACE(row.text);
        held.info.uiRdFlags = row.flags;
        const Bytes text = Bytes(row.text.begin(), row.text.end()) + Bytes(1);
        for (const std::size_t room : {text.size(), text.size() + 1, text.size() + 300}) {
            const CfgWritten got = write_cfg(QEL_VPNV4MCAST_FormatCfgExtCommunity, held.info, room, row.index);
            EXPECT_EQ(got.code, 0U);
            EXPECT_EQ(got.moved, 0);
            EXPECT_EQ(got.asserts, 0U);
            expect_buffer(got, text);
            EXPECT_EQ(got.index, row.index + 1);
            EXPECT_EQ(got.more, row.more);
        }
        for (std::size_t room = 1; room < text.size(); ++room) {
            const CfgWritten got = write_cfg(QEL_VPNV4MCAST_FormatCfgExtCommunity, held.info, room, row.index);
            expect_not_written(got, kNoRoom);
            EXPECT_EQ(got.index, row.index);
        }
    }
}

TEST_F(Vpnv4McastCfg, BehindTheLastCommunityNothingIsShown)
{
    Held held({.list = host_list(kList) + bytes("01020304050607")});
    Held none({});
    none.info.uiExtCommLen = 24;
    const Held empty({.list = Bytes(7, 2)});
    const std::pair<const Held *, std::uint32_t> rows[] = {{&held, 3}, {&held, 4}, {&held, 0xffffffff},
                                                           {&none, 0}, {&none, 1}, {&empty, 0}};
    for (const auto &[route, index] : rows) {
        const CfgWritten got = write_cfg(QEL_VPNV4MCAST_FormatCfgExtCommunity, route->info, 40, index);
        expect_not_written(got, 0);
        EXPECT_EQ(got.index, index);
        EXPECT_EQ(got.more, 0U);
    }
}

TEST_F(Vpnv4McastCfg, ShowingACommunityAllocatesNothing)
{
    const Held held({.list = host_list(kList)});
    const std::uint64_t before = allocations();
    EXPECT_EQ(write_cfg(QEL_VPNV4MCAST_FormatCfgExtCommunity, held.info, 40, 0).code, 0U);
    EXPECT_EQ(allocations(), before);
}

TEST_F(Vpnv4McastCfg, ShowingACommunityRefusesMissingArgumentsWithOneReport)
{
    for (const Sections &sections : {Sections{.list = host_list(kList)}, Sections{}}) {
        const Held held(sections);
        expect_null_arguments_refused(4, kFrameSource, [&](unsigned nulls) {
            std::array<std::uint8_t, 40> out{};
            std::uint8_t *cursor = out.data();
            std::uint32_t index = 0;
            std::uint32_t more = kMoreBefore;
            const std::uint32_t code =
                QEL_VPNV4MCAST_FormatCfgExtCommunity(unless(nulls, 0, &held.info), unless(nulls, 1, &cursor), 40,
                                                     unless(nulls, 2, &index), unless(nulls, 3, &more));
            EXPECT_EQ(cursor, out.data());
            EXPECT_EQ(out, (std::array<std::uint8_t, 40>{}));
            EXPECT_EQ(index, 0U);
            EXPECT_EQ(more, kMoreBefore);
            return code;
        });
    }
}

} // namespace
} // namespace qel::test
