// Configuration records and texts of the MDT family.
#include "mdt_cases.h"

namespace qel::test {
namespace {

const std::string kRt1 = " 0002 fde9 00000064 ";   // 65001:100
const std::string kRtAs4 = " 0202 00010002 0007 "; // 1.2:7 or 65538:7

using MdtConfig = MdtTest;
using ConfigWriter = decltype(&QEL_MDT_FormatCfgRd);

struct Configured : Written {
    std::uint32_t index = 0;
    std::uint32_t more = 0;
};

Configured write_config(ConfigWriter writer, const QEL_ROUTE_INFO_S &route, std::size_t room, std::uint32_t index = 77)
{
    std::uint32_t more = kUnwritten;
    Configured got{write_into(
        room, [&](auto cursor) { return writer(&route, cursor, static_cast<std::uint32_t>(room), &index, &more); })};
    got.index = index;
    got.more = more;
    return got;
}

// --- RD records -----------------------------------------------------------------------------------------------------

TEST_F(MdtConfig, AnRdRecordBecomesTheRdAsItStands)
{
    for (const std::string_view rd :
         {"0000 6400 05000000", "0100 0d0c0b0a 3412", "0300 010203040506", "ffff ffffffffffff"}) {
        const Made got = read_message(QEL_MDT_ParseCfgRd, bytes("00000000") + bytes(rd) + bytes("01000000"), ctx_);
        expect_made(got, {.rd = bytes(rd)});
        EXPECT_EQ(got.allocations, 1U);
    }
    expect_made(read_message(QEL_MDT_ParseCfgRd, bytes("00000000 0000640005000000 ffffffff"), ctx_),
                {.rd = bytes(kRdMem)}); // what stands behind the RD is not looked at
}

TEST_F(MdtConfig, AnRdRecordOfAnotherLengthIsReported)
{
    for (const std::size_t length : {0U, 1U, 8U, 12U, 15U, 17U, 32U, 0x10010U}) {
        const Made got = read_message(QEL_MDT_ParseCfgRd, Bytes(length, 0), ctx_);
        expect_not_made(got, kNull, 1);
        EXPECT_EQ(got.allocations, 0U);
    }
    expect_not_made(read_message(QEL_MDT_ParseCfgRd, Bytes(15, 1), ctx_), kNull, 1); // ahead of the first word
}

TEST_F(MdtConfig, AnRdRecordWhoseFirstWordIsNotZeroIsRefused)
{
    for (const std::string_view word : {"01000000", "00000001", "00010000", "ffffffff"}) {
        const Made got = read_message(QEL_MDT_ParseCfgRd, bytes(word) + bytes(kRdMem) + bytes("01000000"), ctx_);
        expect_not_made(got, kBadCfgRd);
        EXPECT_EQ(got.allocations, 0U);
    }
}

TEST_F(MdtConfig, TheBlocksOfRecordsFailOnce)
{
    expect_each_allocation_fails({kNoBlock}, [&] { return read_message(QEL_MDT_ParseCfgRd, Bytes(16, 0), ctx_); });
    expect_each_allocation_fails({kNoBlock}, [&] { return read_message(QEL_MDT_ParseCfgPrefix, Bytes(89, 0), ctx_); });
}

TEST_F(MdtConfig, ReadersRefuseMissingArgumentsWithOneReport)
{
    const Trusted record(Bytes(89, 0));
    for (const MessageReader reader : {QEL_MDT_ParseCfgRd, QEL_MDT_ParseCfgPrefix}) {
        for (const std::uint32_t length : {0U, 16U, 89U}) {
            expect_null_arguments_refused(3, kFrameSource, [&](unsigned nulls) {
                QEL_ROUTE_BLOCK_S *result = block_marker();
                const std::uint32_t code =
                    reader(unless(nulls, 0, record.data()), length, unless(nulls, 1, &result), unless(nulls, 2, ctx_));
                EXPECT_EQ(result, block_marker());
                return code;
            });
        }
    }
}

TEST_F(MdtConfig, AnRdGoesOutAsARecordOfSixteenBytes)
{
    const struct {
        std::string_view rd;
        std::uint32_t flags;
        std::string_view form;
    } rows[] = {
        {"0000 6400 05000000", 0, "01000000"},          {"0000 6400 05000000", 1, "01000000"},
        {"0100 0d0c0b0a 3412", 0, "03000000"},          {"0100 0d0c0b0a 3412", 1, "02000000"},
        {"0200 0d0c0b0a 3412", 0, "03000000"},          {"0200 0d0c0b0a 3412", 1, "02000000"},
        {"0300 0d0c0b0a 3412", 2, "03000000"},          {"0001 0d0c0b0a 3412", 0xffffffff, "02000000"},
        {"0001 0d0c0b0a 3412", 0xfffffffe, "03000000"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.rd);
        Held held({.rd = bytes(row.rd)});
        held.info.uiRdFlags = row.flags;
        for (const std::size_t room : {16U, 17U, 40U}) {
            const Configured got = write_config(QEL_MDT_FormatCfgRd, held.info, room);
            expect_written(got, bytes("00000000") + bytes(row.rd) + bytes(row.form));
            EXPECT_EQ(got.index, 0U);
            EXPECT_EQ(got.more, 0U);
        }
        expect_made(read_message(QEL_MDT_ParseCfgRd, bytes("00000000") + bytes(row.rd) + bytes(row.form), ctx_),
                    {.rd = bytes(row.rd)});
    }
}

TEST_F(MdtConfig, AnRdRecordNeedsItsRoom)
{
    const Held held(whole_route());
    for (std::size_t room = 1; room <= 15; ++room) {
        const Configured got = write_config(QEL_MDT_FormatCfgRd, held.info, room);
        expect_not_written(got, kNoRoom);
        EXPECT_EQ(got.index, 77U);
        EXPECT_EQ(got.more, kUnwritten);
    }
}

// The record's first four bytes alone are cleared: what the RD does not fill stays as the caller gave it.
TEST_F(MdtConfig, AnRdThatIsNotEightLongLeavesTheRestOfItsPlace)
{
    Held held({.rd = bytes("0100 0d0c0b0a 3412 ffff")});
    for (const std::uint32_t length : {9U, 10U, 0x10008U}) {
        held.info.uiRdLen = length;
        const Configured got = write_config(QEL_MDT_FormatCfgRd, held.info, 16);
        EXPECT_EQ(got.code, 0U);
        EXPECT_EQ(got.moved, 16);
        EXPECT_EQ(got.asserts, 1U) << "the copy that does not fit";
        expect_buffer(got, bytes("00000000") + Bytes(8, kUntouchedOctet) + bytes("03000000"));
    }
    held.info.uiRdLen = 4;
    expect_written(write_config(QEL_MDT_FormatCfgRd, held.info, 16),
                   bytes("00000000 01000d0c") + Bytes(4, kUntouchedOctet) + bytes("03000000"));
}

TEST_F(MdtConfig, TheFormByteAndThreeZerosStandBehindTheRd)
{
    const struct {
        std::string_view rd;
        std::uint32_t flag;
        std::string_view want;
    } rows[] = {{"0000ffffffffffff", 0, "01000000"}, {"0000ffffffffffff", 1, "01000000"},
                {"0100000000000000", 1, "02000000"}, {"0100000000000000", 0, "03000000"},
                {"0001000000000000", 1, "02000000"}, {"0001000000000000", 0, "03000000"}};
    for (const auto &row : rows) {
        OddBytes record(bytes(row.rd) + Bytes(4, kUntouchedOctet));
        QEL_MDT_SetVrfRdType(record.data(), row.flag);
        EXPECT_EQ(record.hex(), hex_of(row.rd) + std::string(row.want));
    }
}

TEST_F(MdtConfig, TheFormByteOfNoRdIsReported)
{
    const platform::Recorder recorder;
    QEL_MDT_SetVrfRdType(nullptr, 1);
    EXPECT_EQ(recorder.asserts().size(), 1U);
}

// --- prefix records -------------------------------------------------------------------------------------------------

const std::string kRecord = "0b 000000 0100000a 010101ef 20 000000";

TEST_F(MdtConfig, APrefixRecordBecomesTheKey)
{
    const Bytes record = bytes(kRecord) + Bytes(73, 0x99);
    const Made got = read_message(QEL_MDT_ParseCfgPrefix, record, ctx_);
    expect_made(got, {.key = bytes(kKeyMem)});
    EXPECT_EQ(got.allocations, 1U);
}

// kept: neither its length nor its route type nor its mask length is looked at
TEST_F(MdtConfig, OfAPrefixRecordOnlySourceAndGroupAreRead)
{
    const Trusted record(bytes("ffffffff 0100000a 010101ef ffffffff") + Bytes(73, 0xff));
    for (const std::uint32_t length : {0U, 1U, 12U, 16U, 88U, 89U, 0xffffffffU}) {
        expect_made(make([&](auto result) { return QEL_MDT_ParseCfgPrefix(record.data(), length, result, ctx_); }),
                    {.key = bytes(kKeyMem)});
    }
    expect_made(read_message(QEL_MDT_ParseCfgPrefix, {}, ctx_), {.key = Bytes(8, kSlackOctet)});
}

// kept: sixteen bytes are written, the cursor moves by eighty-nine
TEST_F(MdtConfig, APrefixGoesOutAsTheFirstSixteenOf89Bytes)
{
    const Held held({.key = bytes(kKeyMem)}); // the RD is not needed
    for (const std::size_t room : {89U, 90U, 120U}) {
        const Configured got = write_config(QEL_MDT_FormatCfgPrefix, held.info, room);
        EXPECT_EQ(got.code, 0U);
        EXPECT_EQ(got.moved, 89);
        EXPECT_EQ(got.asserts, 0U);
        expect_buffer(got, bytes(kRecord));
        EXPECT_EQ(got.index, 0U);
        EXPECT_EQ(got.more, 0U);
    }
    const Configured other = write_config(QEL_MDT_FormatCfgPrefix, Held({.key = bytes("01020304 05060708")}).info, 89);
    expect_buffer(other, bytes("0b 000000 01020304 05060708 20 000000"));
}

TEST_F(MdtConfig, APrefixRecordNeedsRoomForAllOfIt)
{
    const Held held(whole_route());
    for (const std::size_t room : {1U, 15U, 16U, 87U, 88U}) {
        const Configured got = write_config(QEL_MDT_FormatCfgPrefix, held.info, room);
        expect_not_written(got, kNoRoom);
        EXPECT_EQ(got.index, 77U);
        EXPECT_EQ(got.more, kUnwritten);
    }
}

// Route, section, cursor, room, index and more.
TEST_F(MdtConfig, RecordsRefuseMissingArgumentsAndNoRoomWithOneReport)
{
    const Held full(whole_route());
    const Held no_rd({.key = bytes(kKeyMem)});
    const Held no_key({.rd = bytes(kRdMem)});
    const struct {
        ConfigWriter writer;
        const QEL_ROUTE_INFO_S *without;
    } rows[] = {{QEL_MDT_FormatCfgRd, &no_rd.info}, {QEL_MDT_FormatCfgPrefix, &no_key.info}};
    for (const auto &row : rows) {
        for (const std::uint32_t room : {5U, 100U}) {
            expect_null_arguments_refused(6, kFrameSource, [&](unsigned nulls) {
                std::array<std::uint8_t, 100> out{};
                std::uint8_t *cursor = out.data();
                std::uint32_t index = 77;
                std::uint32_t more = kUnwritten;
                const QEL_ROUTE_INFO_S *route = (nulls & 2) != 0 ? row.without : &full.info;
                const std::uint32_t code =
                    row.writer(unless(nulls, 0, route), unless(nulls, 2, &cursor), (nulls & 8) != 0 ? 0 : room,
                               unless(nulls, 4, &index), unless(nulls, 5, &more));
                EXPECT_EQ(cursor, out.data());
                EXPECT_EQ(out, (std::array<std::uint8_t, 100>{}));
                EXPECT_EQ(index, 77U);
                EXPECT_EQ(more, kUnwritten);
                return code;
            });
        }
    }
}

// --- the group's text -----------------------------------------------------------------------------------------------

Bytes text(std::string_view shown)
{
    Bytes out(shown.begin(), shown.end());
    out.push_back(0);
    return out;
}

void expect_text(const Configured &got, std::string_view shown)
{
    EXPECT_EQ(got.code, 0U);
    EXPECT_EQ(got.moved, 0);
    EXPECT_EQ(got.asserts, 0U);
    expect_buffer(got, text(shown));
}

TEST_F(MdtConfig, TheGroupIsShownAtACursorThatDoesNotMove)
{
    const std::string_view shown = "MDT group address: 239.1.1.1";
    const Held held({.key = bytes(kKeyMem)});
    for (const std::size_t room : {shown.size() + 1, shown.size() + 2, std::size_t{600}}) {
        const Configured got = write_config(QEL_MDT_FormatCfgGrpAddr, held.info, room);
        expect_text(got, shown);
        EXPECT_EQ(got.index, 0U);
        EXPECT_EQ(got.more, 0U);
    }
    expect_text(write_config(QEL_MDT_FormatCfgGrpAddr, Held({.key = bytes("00000000 ffffffff")}).info, 40),
                "MDT group address: 255.255.255.255");
}

// kept: the formatter cuts to the caller's size, so that a text that is too long is no failure
TEST_F(MdtConfig, TheGroupsTextIsCutToTheRoom)
{
    const std::string shown = "MDT group address: 239.1.1.1";
    const Held held({.key = bytes(kKeyMem)});
    for (std::size_t room = 1; room <= shown.size(); ++room) {
        expect_text(write_config(QEL_MDT_FormatCfgGrpAddr, held.info, room), shown.substr(0, room - 1));
    }
    const Configured none = write_config(QEL_MDT_FormatCfgGrpAddr, held.info, 0);
    expect_not_written(none, kFailed, 1);
}

TEST_F(MdtConfig, AGroupWhoseTextCannotBeFormedIsReportedAndRefused)
{
    const Held held({.key = bytes(kKeyMem)});
    const platform::FailText failure(0);
    const Configured got = write_config(QEL_MDT_FormatCfgGrpAddr, held.info, 40);
    EXPECT_TRUE(failure.fired());
    expect_not_written(got, kFailed, 1);
    EXPECT_EQ(got.index, 77U);
    EXPECT_EQ(got.more, kUnwritten);
}

TEST_F(MdtConfig, TheGroupsTextNeedsTheKey)
{
    const Configured got = write_config(QEL_MDT_FormatCfgGrpAddr, Held({.rd = bytes(kRdMem)}).info, 40);
    expect_not_written(got, kAbsent);
    EXPECT_EQ(got.index, 77U);
}

// --- community texts ------------------------------------------------------------------------------------------------

TEST_F(MdtConfig, CommunitiesAreShownOnePerCallAtACursorThatDoesNotMove)
{
    Held held({.list = host_list(kRt1 + kRtAs4) + bytes("020001")}); // the odd tail is no element
    const Configured first = write_config(QEL_MDT_FormatCfgExtCommunity, held.info, 40, 0);
    expect_text(first, "RT <65001 : 100>");
    EXPECT_EQ(first.index, 1U);
    EXPECT_EQ(first.more, 1U);
    const Configured second = write_config(QEL_MDT_FormatCfgExtCommunity, held.info, 40, 1);
    expect_text(second, "RT <1.2 : 7>");
    EXPECT_EQ(second.index, 2U);
    EXPECT_EQ(second.more, 0U);
    for (const std::uint32_t flags : {1U, 3U, 0xffffffffU}) {
        held.info.uiRdFlags = flags;
        expect_text(write_config(QEL_MDT_FormatCfgExtCommunity, held.info, 40, 1), "RT <65538 : 7>");
    }
    held.info.uiRdFlags = 0xfffffffe;
    expect_text(write_config(QEL_MDT_FormatCfgExtCommunity, held.info, 40, 1), "RT <1.2 : 7>");
}

TEST_F(MdtConfig, NoCommunityIsLeftToShow)
{
    const Held none({});
    Held two({.list = host_list(kRt1 + kRt1)});
    for (const std::uint32_t index : {0U, 1U}) {
        const Configured got = write_config(QEL_MDT_FormatCfgExtCommunity, none.info, 40, index);
        expect_written(got, {});
        EXPECT_EQ(got.index, index);
        EXPECT_EQ(got.more, 0U);
    }
    for (const std::uint32_t index : {2U, 3U, 0xffffffffU}) {
        const Configured got = write_config(QEL_MDT_FormatCfgExtCommunity, two.info, 40, index);
        expect_written(got, {});
        EXPECT_EQ(got.index, index);
        EXPECT_EQ(got.more, 0U);
    }
}

TEST_F(MdtConfig, ACommunitysTextNeedsItsRoom)
{
    const std::string_view shown = "RT <65001 : 100>";
    const Held held({.list = host_list(kRt1)});
    for (std::size_t room = 0; room <= shown.size(); ++room) {
        const Configured got = write_config(QEL_MDT_FormatCfgExtCommunity, held.info, room, 0);
        expect_not_written(got, kNoRoom);
        EXPECT_EQ(got.index, 0U);
    }
    expect_text(write_config(QEL_MDT_FormatCfgExtCommunity, held.info, shown.size() + 1, 0), shown);
}

TEST_F(MdtConfig, TextsRefuseMissingArgumentsWithOneReport)
{
    const Held full({.key = bytes(kKeyMem), .list = host_list(kRt1)});
    const Held empty({});
    for (const ConfigWriter writer : {QEL_MDT_FormatCfgGrpAddr, QEL_MDT_FormatCfgExtCommunity}) {
        for (const QEL_ROUTE_INFO_S *route : {&full.info, &empty.info}) {
            expect_null_arguments_refused(4, kFrameSource, [&](unsigned nulls) {
                std::array<std::uint8_t, 40> out{};
                std::uint8_t *cursor = out.data();
                std::uint32_t index = 0;
                std::uint32_t more = kUnwritten;
                const std::uint32_t code = writer(unless(nulls, 0, route), unless(nulls, 1, &cursor), 40,
                                                  unless(nulls, 2, &index), unless(nulls, 3, &more));
                EXPECT_EQ(out, (std::array<std::uint8_t, 40>{}));
                EXPECT_EQ(index, 0U);
                EXPECT_EQ(more, kUnwritten);
                return code;
            });
        }
    }
}

TEST_F(MdtConfig, WhatShowsASingleThingSetsIndexAndMoreToZero)
{
    const Held held(whole_route());
    for (const ConfigWriter writer : {QEL_MDT_FormatCfgRd, QEL_MDT_FormatCfgPrefix, QEL_MDT_FormatCfgGrpAddr}) {
        const Configured got = write_config(writer, held.info, 100, 5);
        EXPECT_EQ(got.index, 0U);
        EXPECT_EQ(got.more, 0U);
    }
}

TEST_F(MdtConfig, WritersAllocateNothing)
{
    const std::uint64_t before = allocations();
    const Held held({.rd = bytes(kRdMem), .key = bytes(kKeyMem), .list = host_list(kRt1)});
    for (const ConfigWriter writer :
         {QEL_MDT_FormatCfgRd, QEL_MDT_FormatCfgPrefix, QEL_MDT_FormatCfgGrpAddr, QEL_MDT_FormatCfgExtCommunity}) {
        EXPECT_EQ(write_config(writer, held.info, 100, 0).code, 0U);
    }
    EXPECT_EQ(allocations(), before);
}

} // namespace
} // namespace qel::test
