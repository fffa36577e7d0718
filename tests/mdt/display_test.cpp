// Display texts of the MDT family: the route, communities, the share group, and the texts of the values in them.
#include "mdt_cases.h"

#include "fail_copy.h"

namespace qel::test {
namespace {

const std::string kRt1 = " 0002 fde9 00000064 ";   // 65001:100
const std::string kRtAs4 = " 0202 00010002 0007 "; // 1.2:7 or 65538:7
constexpr std::string_view kShown = "<100:5>, 10.0.0.1/32, Group Address: 239.1.1.1 ";

using MdtDisplay = MdtTest;
using Shower = decltype(&QEL_MDT_MpNlriData2Str);

struct Shown {
    std::uint32_t code = 0;
    Bytes buffer;
    std::uint32_t index = 0;
    std::uint32_t more = 0;
    std::size_t asserts = 0;
    bool stored = false; // anything was written
};

// Shows into exactly `room` octets.
Shown show(Shower shower, const QEL_ROUTE_INFO_S &route, std::size_t room, QEL_FAMILY_CTX_S *ctx,
           std::uint32_t index = 0)
{
    OddBytes out(Bytes(room, kUntouchedOctet));
    const platform::Recorder recorder;
    Shown got;
    got.index = index;
    got.more = kUnwritten;
    got.code = shower(&route, reinterpret_cast<char *>(out.data()), static_cast<std::uint32_t>(room), &got.index,
                      &got.more, ctx);
    got.buffer = out.bytes();
    got.asserts = recorder.asserts().size();
    got.stored = got.code != 0 && got.buffer != Bytes(room, kUntouchedOctet);
    EXPECT_TRUE(recorder.debugs().empty());
    return got;
}

void expect_text(const Shown &got, std::string_view text, std::uint32_t index, std::uint32_t more)
{
    EXPECT_EQ(got.code, 0U);
    EXPECT_EQ(got.asserts, 0U);
    Bytes want(text.begin(), text.end());
    want.push_back(0);
    ASSERT_GE(got.buffer.size(), want.size());
    EXPECT_EQ(hex(got.buffer), hex(want + Bytes(got.buffer.size() - want.size(), kUntouchedOctet)));
    EXPECT_EQ(got.index, index);
    EXPECT_EQ(got.more, more);
}

void expect_nothing(const Shown &got, std::uint32_t code, std::size_t asserts = 0)
{
    EXPECT_EQ(got.code, code);
    EXPECT_EQ(got.asserts, asserts);
    EXPECT_EQ(got.buffer, Bytes(got.buffer.size(), kUntouchedOctet));
}

// --- the route ------------------------------------------------------------------------------------------------------

TEST_F(MdtDisplay, ARouteIsShownWithABlankBehindIt)
{
    const Held held(whole_route());
    for (const std::size_t room : {kShown.size() + 1, kShown.size() + 2, std::size_t{600}}) {
        expect_text(show(QEL_MDT_MpNlriData2Str, held.info, room, ctx_, 9), kShown, 0, 0);
    }
    const std::pair<std::string_view, std::string_view> rds[] = {
        {"0000 ffff ffffffff", "<65535:4294967295>"},
        {"0100 ffffffff ffff", "<255.255.255.255:65535>"},
        {"0200 ffffffff ffff", "<65535.65535:65535>"},
        {"0100 04030201 0500", "<1.2.3.4:5>"},
        {"0200 02000100 0700", "<1.2:7>"},
        {"0000 0000 00000000", "<0:0>"},
    };
    for (const auto &[rd, text] : rds) {
        const Held other({.rd = bytes(rd), .key = bytes("ffffffff ffffffff")});
        expect_text(show(QEL_MDT_MpNlriData2Str, other.info, 256, ctx_),
                    std::string(text) + ", 255.255.255.255/32, Group Address: 255.255.255.255 ", 0, 0);
    }
}

TEST_F(MdtDisplay, ARouteWithAnRdTypeAboveTwoIsShownWithoutIt)
{
    const Held held({.rd = bytes("0300 6400 05000000"), .key = bytes(kKeyMem)});
    const Shown got = show(QEL_MDT_MpNlriData2Str, held.info, 100, ctx_);
    expect_text(got, "<>, 10.0.0.1/32, Group Address: 239.1.1.1 ", 0, 0);
}

// kept: a route has no mask; its text shows 32 and ends with a blank all the same
TEST_F(MdtDisplay, TheMaskOfARouteIsAlwaysShownAs32AndTheTextEndsWithABlank)
{
    for (const std::string_view key : {"00000000 00000000", "0000000a 000000e0"}) {
        const Held held({.rd = bytes(kRdMem), .key = bytes(key)});
        const Shown got = show(QEL_MDT_MpNlriData2Str, held.info, 100, ctx_);
        const std::string text(got.buffer.begin(), std::find(got.buffer.begin(), got.buffer.end(), 0));
        EXPECT_NE(text.find(".0/32, "), std::string::npos) << text;
        EXPECT_TRUE(text.ends_with(".0 ")) << text;
    }
}

TEST_F(MdtDisplay, WhatShowsASingleThingSetsIndexAndMoreToZero)
{
    const Held held(whole_route());
    for (const Shower shower : {QEL_MDT_MpNlriData2Str, QEL_MDT_NonKey2Str}) {
        const Shown got = show(shower, held.info, 100, ctx_, 5);
        EXPECT_EQ(got.index, 0U);
        EXPECT_EQ(got.more, 0U);
    }
}

TEST_F(MdtDisplay, ARoutesTextNeedsItsRoom)
{
    const Held held(whole_route());
    for (std::size_t room = 0; room <= kShown.size(); ++room) {
        expect_nothing(show(QEL_MDT_MpNlriData2Str, held.info, room, ctx_), kNoRoom);
    }
}

TEST_F(MdtDisplay, ARoutesTextNeedsKeyAndRd)
{
    for (const std::size_t room : {0U, 100U}) {
        expect_nothing(show(QEL_MDT_MpNlriData2Str, Held({.rd = bytes(kRdMem)}).info, room, ctx_), kAbsent);
        expect_nothing(show(QEL_MDT_MpNlriData2Str, Held({.key = bytes(kKeyMem)}).info, room, ctx_), kAbsent);
    }
}

TEST_F(MdtDisplay, TheScratchOfATextFailsOnce)
{
    Sections sections = whole_route();
    sections.list = host_list(kRt1);
    const Held held(sections);
    for (const Shower shower : {QEL_MDT_MpNlriData2Str, QEL_MDT_ExtCommunity2Str}) {
        const auto call = [&] { return show(shower, held.info, 100, ctx_); };
        expect_each_allocation_fails({}, call); // the inline buffer does
        const LentBuffer lent(ctx_);
        expect_each_allocation_fails({kOutOfMemory}, call);
        const std::uint64_t before = platform::usage(kMemHandle).live_blocks;
        expect_nothing(show(shower, held.info, 3, ctx_), kNoRoom);
        EXPECT_EQ(platform::usage(kMemHandle).live_blocks, before);
    }
}

TEST_F(MdtDisplay, ARouteWhoseTextCannotBeFormedIsRefusedWithoutAReport)
{
    const Held held(whole_route());
    for (const bool heap : {false, true}) {
        const std::optional<LentBuffer> lent = lend_if(heap, ctx_);
        const LeakCheck leaks;
        const platform::FailText failure(0);
        const Shown got = show(QEL_MDT_MpNlriData2Str, held.info, 100, ctx_, 9);
        EXPECT_TRUE(failure.fired());
        expect_nothing(got, kFailed);
        EXPECT_EQ(got.index, 9U);
        EXPECT_EQ(got.more, kUnwritten);
        EXPECT_EQ(ctx_->uiInlineBufUsed, heap ? 1U : 0U);
    }
}

// A scratch that can't be cleared or copied out of is reported, and the work goes on.
TEST_F(MdtDisplay, ACopyThatFailsOnTheWayOfATextIsReportedAndTheWorkGoesOn)
{
    const Held held(whole_route());
    for (const std::uint64_t after : {0U, 1U}) { // the clearing, the copy to the caller
        const FailCopy failure(after);
        Shown got = show(QEL_MDT_MpNlriData2Str, held.info, kShown.size() + 1, ctx_, 9);
        EXPECT_TRUE(failure.fired());
        EXPECT_EQ(got.asserts, 1U);
        got.asserts = 0;
        if (after == 1) {
            EXPECT_EQ(got.buffer, Bytes(kShown.size(), kUntouchedOctet) + Bytes(1));
            std::copy(kShown.begin(), kShown.end(), got.buffer.begin());
        }
        expect_text(got, kShown, 0, 0);
    }
}

TEST_F(MdtDisplay, TheScratchOfATextIsClearedAheadOfIt)
{
    Sections sections = whole_route();
    sections.list = host_list(kRt1);
    const Held held(sections);
    const std::pair<Shower, std::size_t> rows[] = {{QEL_MDT_MpNlriData2Str, kShown.size()},
                                                   {QEL_MDT_ExtCommunity2Str, 16}};
    for (const auto &[shower, length] : rows) {
        std::memset(ctx_->aucInlineBuf, 0xa5, sizeof(ctx_->aucInlineBuf));
        EXPECT_EQ(show(shower, held.info, 100, ctx_).code, 0U);
        const Bytes behind(ctx_->aucInlineBuf + length, ctx_->aucInlineBuf + sizeof(ctx_->aucInlineBuf));
        EXPECT_EQ(behind, Bytes(behind.size(), 0));
    }
}

// --- communities ----------------------------------------------------------------------------------------------------

TEST_F(MdtDisplay, CommunitiesAreShownOnePerCall)
{
    Held held({.list = host_list(kRt1 + kRtAs4) + bytes("020001")}); // the odd tail is no element
    expect_text(show(QEL_MDT_ExtCommunity2Str, held.info, 40, ctx_, 0), "RT <65001 : 100>", 1, 1);
    expect_text(show(QEL_MDT_ExtCommunity2Str, held.info, 40, ctx_, 1), "RT <1.2 : 7>", 2, 0);
    for (const std::uint32_t flags : {1U, 3U, 0xffffffffU}) {
        held.info.uiRdFlags = flags;
        expect_text(show(QEL_MDT_ExtCommunity2Str, held.info, 40, ctx_, 1), "RT <65538 : 7>", 2, 0);
    }
    held.info.uiRdFlags = 0xfffffffe;
    expect_text(show(QEL_MDT_ExtCommunity2Str, held.info, 40, ctx_, 1), "RT <1.2 : 7>", 2, 0);
}

TEST_F(MdtDisplay, NoCommunityIsLeftToShow)
{
    Held none({});
    none.info.uiExtCommLen = 8;
    const Held two({.list = host_list(kRt1 + kRt1)});
    const auto expect_end = [&](const QEL_ROUTE_INFO_S &route, std::uint32_t index) {
        const Shown got = show(QEL_MDT_ExtCommunity2Str, route, 40, ctx_, index);
        expect_nothing(got, 0);
        EXPECT_EQ(got.index, index);
        EXPECT_EQ(got.more, 0U);
    };
    expect_end(none.info, 0);
    expect_end(two.info, 2);
    expect_end(two.info, 3);
    expect_end(two.info, 0xffffffff);
    expect_end(Held({.list = bytes("02000102030405")}).info, 0);
}

TEST_F(MdtDisplay, ACommunitysTextNeedsItsRoom)
{
    const std::string_view text = "RT <65001 : 100>";
    const Held held({.list = host_list(kRt1 + kRt1)});
    for (std::size_t room = 0; room <= text.size(); ++room) {
        const Shown got = show(QEL_MDT_ExtCommunity2Str, held.info, room, ctx_);
        expect_nothing(got, kNoRoom);
        EXPECT_EQ(got.index, 0U);
    }
    expect_text(show(QEL_MDT_ExtCommunity2Str, held.info, text.size() + 1, ctx_), text, 1, 1);
}

TEST_F(MdtDisplay, ACommunityWithoutATextIsShownAsNothing)
{
    const Held held({.list = host_list("4304 01020304 0506")});
    expect_text(show(QEL_MDT_ExtCommunity2Str, held.info, 1, ctx_), "", 1, 0);
    expect_nothing(show(QEL_MDT_ExtCommunity2Str, held.info, 0, ctx_), kNoRoom);
}

// --- the share group ------------------------------------------------------------------------------------------------

TEST_F(MdtDisplay, TheShareGroupIsShown)
{
    const std::string shown = "Share Group: 239.1.1.1";
    const Held held(whole_route());
    for (const std::size_t room : {shown.size() + 1, std::size_t{100}}) {
        expect_text(show(QEL_MDT_NonKey2Str, held.info, room, ctx_, 9), shown, 0, 0);
    }
    expect_text(show(QEL_MDT_NonKey2Str, Held({.nonkey = bytes("0380 0000 ffffffff")}).info, 40, ctx_),
                "Share Group: 255.255.255.255", 0, 0);
}

// kept: the result of the formatter is not looked at, so that the text is cut to the room and no room is no failure
TEST_F(MdtDisplay, TheShareGroupsTextIsCutToTheRoom)
{
    const std::string shown = "Share Group: 239.1.1.1";
    const Held held(whole_route());
    for (std::size_t room = 1; room <= shown.size(); ++room) {
        expect_text(show(QEL_MDT_NonKey2Str, held.info, room, ctx_), shown.substr(0, room - 1), 0, 0);
    }
    const Shown none = show(QEL_MDT_NonKey2Str, held.info, 0, ctx_, 9);
    expect_nothing(none, 0);
    EXPECT_EQ(none.index, 0U);
    EXPECT_EQ(none.more, 0U);
}

// kept: the result of the formatter is not looked at, also where there is no text at all
TEST_F(MdtDisplay, AShareGroupWhoseTextCannotBeFormedIsNoFailure)
{
    const Held held(whole_route());
    const platform::FailText failure(0);
    const Shown got = show(QEL_MDT_NonKey2Str, held.info, 40, ctx_, 9);
    EXPECT_TRUE(failure.fired());
    expect_nothing(got, 0);
    EXPECT_EQ(got.index, 0U);
    EXPECT_EQ(got.more, 0U);
}

TEST_F(MdtDisplay, ANonKeyWithoutAShareGroupIsReported)
{
    for (const std::string_view mem : {"0000 0000 010101ef", "feff ffff 010101ef"}) {
        expect_nothing(show(QEL_MDT_NonKey2Str, Held({.nonkey = bytes(mem)}).info, 40, ctx_), kFailed, 1);
    }
}

TEST_F(MdtDisplay, TextsRefuseMissingArgumentsWithOneReport)
{
    Sections sections = whole_route();
    sections.list = host_list(kRt1);
    const Held full(sections);
    const Held empty({});
    const auto run = [&](Shower shower, unsigned nulls, const QEL_ROUTE_INFO_S *route) {
        std::array<char, 100> out{};
        std::uint32_t index = 0;
        std::uint32_t more = kUnwritten;
        const std::uint32_t code = shower(unless(nulls, 0, route), unless(nulls, 1, out.data()), 100,
                                          unless(nulls, 2, &index), unless(nulls, 3, &more), unless(nulls, 4, ctx_));
        EXPECT_EQ(out, (std::array<char, 100>{}));
        EXPECT_EQ(index, 0U);
        EXPECT_EQ(more, kUnwritten);
        return code;
    };
    for (const QEL_ROUTE_INFO_S *route : {&full.info, &empty.info}) {
        expect_null_arguments_refused(5, kFrameSource,
                                      [&](unsigned nulls) { return run(QEL_MDT_MpNlriData2Str, nulls, route); });
        expect_null_arguments_refused(4, kFrameSource,
                                      [&](unsigned nulls) { return run(QEL_MDT_ExtCommunity2Str, nulls, route); });
    }
    expect_null_arguments_refused(6, kFrameSource, [&](unsigned nulls) { // the section is the sixth
        return run(QEL_MDT_NonKey2Str, nulls, (nulls & 32) != 0 ? &empty.info : &full.info);
    });
}

// --- values ---------------------------------------------------------------------------------------------------------

TEST_F(MdtDisplay, RdsAreShownByTheirType)
{
    const std::pair<std::string_view, std::string> rows[] = {
        {"0000 6400 05000000", "100:5"},      {"0000 ffff ffffffff", "65535:4294967295"},
        {"0100 0100000a 0200", "10.0.0.1:2"}, {"0100 ffffffff ffff", "255.255.255.255:65535"},
        {"0200 02000100 0700", "1.2:7"},      {"0200 ffffffff ffff", "65535.65535:65535"},
        {"0200 05000000 0000", "0.5:0"},
    };
    const platform::Recorder recorder;
    for (const auto &[rd, text] : rows) {
        SCOPED_TRACE(text);
        const OddBytes record(bytes(rd));
        for (const std::size_t room : {text.size() + 1, std::size_t{24}}) {
            OddBytes out(Bytes(room, kUntouchedOctet));
            EXPECT_EQ(QEL_MDT_RdValueToStr(record.as<QEL_RD_VALUE_S>(), reinterpret_cast<char *>(out.data()),
                                           static_cast<std::uint32_t>(room)),
                      0U);
            EXPECT_STREQ(reinterpret_cast<const char *>(out.data()), text.c_str());
        }
    }
    EXPECT_TRUE(recorder.asserts().empty());
}

TEST_F(MdtDisplay, AnRdTypeAboveTwoShowsNothing)
{
    const platform::Recorder recorder;
    for (const std::string_view rd : {"0300 6400 05000000", "0001 6400 05000000", "ffff 6400 05000000"}) {
        const OddBytes record(bytes(rd));
        char out[24] = "before";
        EXPECT_EQ(QEL_MDT_RdValueToStr(record.as<QEL_RD_VALUE_S>(), out, sizeof(out)), kBadValue);
        EXPECT_STREQ(out, "");
    }
    EXPECT_TRUE(recorder.asserts().empty());
}

// kept: what does not fit is reported and left out, and the result is success all the same
TEST_F(MdtDisplay, APieceOfAnRdThatDoesNotFitIsReportedAndLeftOut)
{
    const struct {
        std::string_view rd;
        std::uint32_t room;
        std::string_view text;
        std::size_t asserts;
    } rows[] = {
        {"0000 6400 05000000", 5, "100:", 1},     {"0000 6400 05000000", 4, "100", 2},
        {"0000 6400 05000000", 3, ":5", 1},       {"0000 6400 05000000", 2, ":", 2},
        {"0000 6400 05000000", 1, "", 3},         {"0100 0100000a 0200", 10, "10.0.0.1:", 1},
        {"0100 0100000a 0200", 9, "10.0.0.1", 2}, {"0100 0100000a 0200", 8, ":2", 1},
        {"0200 02000100 0700", 5, "1.2:", 1},     {"0200 02000100 0700", 4, "1.2", 2},
        {"0200 02000100 0700", 3, "1.", 3},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.room);
        const OddBytes record(bytes(row.rd));
        OddBytes out(Bytes(row.room, kUntouchedOctet));
        const platform::Recorder recorder;
        EXPECT_EQ(QEL_MDT_RdValueToStr(record.as<QEL_RD_VALUE_S>(), reinterpret_cast<char *>(out.data()), row.room),
                  0U);
        EXPECT_EQ(std::string_view(reinterpret_cast<const char *>(out.data())), row.text);
        EXPECT_EQ(recorder.asserts().size(), row.asserts);
    }
}

TEST_F(MdtDisplay, AnRdWithoutRoomIsReportedPieceByPieceAndNothingIsWritten)
{
    const OddBytes record(bytes("0000 6400 05000000"));
    char out = 'x';
    const platform::Recorder recorder;
    EXPECT_EQ(QEL_MDT_RdValueToStr(record.as<QEL_RD_VALUE_S>(), &out, 0), 0U);
    EXPECT_EQ(out, 'x');
    EXPECT_EQ(recorder.asserts().size(), 3U);
}

TEST_F(MdtDisplay, TheWordOfACommunityFollowsItsSubType)
{
    for (unsigned sub_type = 0; sub_type <= 255; ++sub_type) {
        for (const std::uint8_t ignored : std::array<std::uint8_t, 3>{0, 1, 255}) {
            const std::string_view want = sub_type == 2                      ? "RT"
                                          : sub_type == 3                    ? "SoO"
                                          : sub_type == 9                    ? "Source AS"
                                          : sub_type == 10 || sub_type == 11 ? "Import RT"
                                                                             : "";
            char out[20] = "before";
            EXPECT_EQ(QEL_MDT_ExtCommType2Str(out, sizeof(out), static_cast<std::uint8_t>(sub_type), ignored),
                      want.size());
            EXPECT_EQ(std::string_view(out), want.empty() ? "before" : want) << sub_type;
        }
    }
}

TEST_F(MdtDisplay, CommunitiesAreShownByWordAndValue)
{
    const struct {
        std::string_view mem;
        std::string_view dotted;
        std::string_view plain;
    } rows[] = {
        {"0200 6400 01000000", "RT <100 : 1>", "RT <100 : 1>"},
        {"0200 ffff ffffffff", "RT <65535 : 4294967295>", "RT <65535 : 4294967295>"},
        {"0300 6400 01000000", "SoO <100 : 1>", "SoO <100 : 1>"},
        {"0900 6400 00000000", "Source AS <100 : 0>", "Source AS <100 : 0>"},
        {"0201 0100000a 0700", "RT <10.0.0.1 : 7>", "RT <10.0.0.1 : 7>"},
        {"0a01 ffffffff ffff", "Import RT <255.255.255.255 : 65535>", "Import RT <255.255.255.255 : 65535>"},
        {"0b01 0100000a 0700", "Import RT <10.0.0.1 : 7>", "Import RT <10.0.0.1 : 7>"},
        {"0202 02000100 0700", "RT <1.2 : 7>", "RT <65538 : 7>"},
        {"0202 05000000 0700", "RT <0.5 : 7>", "RT <0.5 : 7>"}, // plain only where the high half is not zero
        {"0202 ffff0000 0700", "RT <0.65535 : 7>", "RT <0.65535 : 7>"},
        {"0302 00000100 0700", "SoO <1.0 : 7>", "SoO <65536 : 7>"},
        {"0b02 ffffffff 0700", "Import RT <65535.65535 : 7>", "Import RT <4294967295 : 7>"},
        {"1201 0100000a 0700", " <10.0.0.1 : 7>", " <10.0.0.1 : 7>"}, // no text of its own in this family
        {"0400 6400 01000000", " <100 : 1>", " <100 : 1>"},
        {"0002 02000100 0700", " <1.2 : 7>", " <65538 : 7>"},
        {"0203 0100000a 0700", "RT", "RT"},
        {"0940 0100000a 0700", "Source AS", "Source AS"},
        {"0403 0100000a 0700", "", ""},
        {"12ff 0100000a 0700", "", ""},
    };
    const platform::Recorder recorder;
    for (const auto &row : rows) {
        SCOPED_TRACE(row.mem);
        const OddBytes element(bytes(row.mem));
        for (const std::uint8_t plain : std::array<std::uint8_t, 2>{0, 1}) {
            const std::string_view want = plain != 0 ? row.plain : row.dotted;
            char out[64] = "before";
            std::uint32_t length = kUnwritten;
            EXPECT_EQ(QEL_MDT_ExtCommVal2Str(element.as<QEL_EXTCOMM_S>(), out, sizeof(out), &length, plain), 0U);
            EXPECT_EQ(std::string_view(out), want);
            EXPECT_EQ(length, want.size());
        }
    }
    EXPECT_TRUE(recorder.asserts().empty());
}

// kept: the Segmented Next-Hop has a word in another family alone
TEST_F(MdtDisplay, TheSegmentedNextHopHasNoWordHere)
{
    char out[40] = "before";
    EXPECT_EQ(QEL_MDT_ExtCommType2Str(out, sizeof(out), 18, 0), 0U);
    EXPECT_STREQ(out, "before");
}

TEST_F(MdtDisplay, ACommunityWithoutAWordAndWithATypeAboveTwoHasNoCharacters)
{
    const OddBytes element(bytes("0403 0100000a 0700"));
    char out[40] = "before";
    std::uint32_t length = kUnwritten;
    EXPECT_EQ(QEL_MDT_ExtCommVal2Str(element.as<QEL_EXTCOMM_S>(), out, sizeof(out), &length, 1), 0U);
    EXPECT_STREQ(out, "");
    EXPECT_EQ(length, 0U);
}

TEST_F(MdtDisplay, ValuesRefuseMissingArgumentsWithOneReport)
{
    const OddBytes element(bytes("0200 6400 01000000"));
    char out[40] = "before";
    std::uint32_t length = kUnwritten;
    expect_null_arguments_refused(3, kFrameSource, [&](unsigned nulls) {
        return QEL_MDT_ExtCommVal2Str(unless(nulls, 0, element.as<QEL_EXTCOMM_S>()), unless(nulls, 1, &out[0]), 40,
                                      unless(nulls, 2, &length), 0);
    });
    expect_null_arguments_refused(
        1, kFrameSource, [&](unsigned) { return QEL_MDT_ExtCommType2Str(nullptr, 40, 2, 0); }, 0);
    expect_null_arguments_refused(2, kFrameSource, [&](unsigned nulls) {
        return QEL_MDT_RdValueToStr(unless(nulls, 0, element.as<QEL_RD_VALUE_S>()), unless(nulls, 1, &out[0]), 24);
    });
    EXPECT_STREQ(out, "before");
    EXPECT_EQ(length, kUnwritten);
}

// Room that is short is never passed, and the count is that of what was written.
TEST_F(MdtDisplay, ACommunitysTextIsCutToItsRoom)
{
    const std::string text = "RT <1.2 : 7>";
    const OddBytes element(bytes("0202 02000100 0700"));
    for (std::uint32_t room = 3; room <= text.size(); ++room) {
        OddBytes out(Bytes(room, kUntouchedOctet));
        std::uint32_t length = kUnwritten;
        const platform::Recorder recorder;
        EXPECT_EQ(
            QEL_MDT_ExtCommVal2Str(element.as<QEL_EXTCOMM_S>(), reinterpret_cast<char *>(out.data()), room, &length, 0),
            0U);
        EXPECT_EQ(std::string(reinterpret_cast<const char *>(out.data())), text.substr(0, room - 1));
        EXPECT_EQ(length, room - 1);
        EXPECT_TRUE(recorder.asserts().empty());
    }
}

// Word and value can't be formed in no room: each is reported and has no characters.
TEST_F(MdtDisplay, ACommunitysTextWithoutRoomHasNoCharacters)
{
    const OddBytes element(bytes("0202 02000100 0700"));
    char out = 'x';
    std::uint32_t length = kUnwritten;
    const platform::Recorder recorder;
    EXPECT_EQ(QEL_MDT_ExtCommVal2Str(element.as<QEL_EXTCOMM_S>(), &out, 0, &length, 0), 0U);
    EXPECT_EQ(length, 0U);
    EXPECT_EQ(out, 'x');
    EXPECT_EQ(recorder.asserts().size(), 2U);
}

struct FailedPiece {
    std::string_view mem;
    std::uint64_t after;
    std::string_view text; // what is left
};

const FailedPiece kFailedPieces[] = {
    {"0200 6400 01000000", 0, " <100 : 1>"},
    {"0200 6400 01000000", 1, "RT"},
    {"0301 0100000a 0700", 0, " <10.0.0.1 : 7>"},
    {"0301 0100000a 0700", 1, "SoO"},
    {"0902 02000100 0700", 0, " <1.2 : 7>"},
    {"0902 02000100 0700", 1, "Source AS"},
    {"0a00 6400 01000000", 0, " <100 : 1>"},
    {"0b00 6400 01000000", 1, "Import RT"},
    {"1201 0100000a 0700", 0, ""},
};

TEST_F(MdtDisplay, APieceOfACommunityThatCannotBeFormedIsReportedAndLeftOut)
{
    for (const FailedPiece &row : kFailedPieces) {
        SCOPED_TRACE(row.mem);
        const OddBytes element(bytes(row.mem));
        char out[40] = "before";
        std::uint32_t length = kUnwritten;
        const platform::Recorder recorder;
        const platform::FailText failure(row.after);
        EXPECT_EQ(QEL_MDT_ExtCommVal2Str(element.as<QEL_EXTCOMM_S>(), out, sizeof(out), &length, 0), 0U);
        EXPECT_TRUE(failure.fired());
        EXPECT_EQ(std::string_view(out), row.text);
        EXPECT_EQ(length, row.text.size());
        ASSERT_EQ(recorder.asserts().size(), 1U);
        EXPECT_EQ(recorder.asserts()[0].value, UINT64_MAX);
    }
}

TEST_F(MdtDisplay, TheRestOfACommunityIsShownWhereAPieceCannotBeFormed)
{
    for (const FailedPiece &row : kFailedPieces) {
        SCOPED_TRACE(row.mem);
        const Held held({.list = bytes(row.mem) + bytes(row.mem)});
        const platform::FailText failure(row.after);
        Shown got = show(QEL_MDT_ExtCommunity2Str, held.info, row.text.size() + 1, ctx_);
        EXPECT_TRUE(failure.fired());
        EXPECT_EQ(got.asserts, 1U);
        got.asserts = 0;
        expect_text(got, row.text, 1, 1);
    }
}

TEST_F(MdtDisplay, WithoutAContextThereIsNoScratchForACommunity)
{
    const Held held({.list = host_list(kRt1)});
    const Shown got = show(QEL_MDT_ExtCommunity2Str, held.info, 40, nullptr);
    expect_nothing(got, kOutOfMemory, got.asserts);
    EXPECT_GE(got.asserts, 1U);
    EXPECT_EQ(got.index, 0U);
}

// --- the operation --------------------------------------------------------------------------------------------------

TEST_F(MdtDisplay, AnUnknownTypeOfTextHasACodeOfItsOwn)
{
    const Held held(whole_route());
    char out[100] = "before";
    std::uint32_t index = 5;
    std::uint32_t more = kUnwritten;
    const platform::Recorder recorder;
    EXPECT_EQ(desc_.pfData2Str(&held.info, 4, out, sizeof(out), &index, &more, ctx_), 0x80017U);
    EXPECT_STREQ(out, "before");
    EXPECT_EQ(index, 5U);
    EXPECT_EQ(more, kUnwritten);
    EXPECT_TRUE(recorder.asserts().empty());
}

TEST_F(MdtDisplay, TypesLeadToTheirTexts)
{
    Sections sections = whole_route();
    sections.list = host_list(kRt1);
    const Held held(sections);
    const auto by = [&](std::uint32_t type) {
        char out[100] = "before";
        std::uint32_t index = 0;
        std::uint32_t more = 7;
        EXPECT_EQ(desc_.pfData2Str(&held.info, type, out, sizeof(out), &index, &more, ctx_),
                  type == 1 || type == 2 || type == 8 ? 0U : kNoText);
        return std::string(out);
    };
    EXPECT_EQ(by(1), kShown);
    EXPECT_EQ(by(2), "RT <65001 : 100>");
    EXPECT_EQ(by(8), "Share Group: 239.1.1.1");
    for (const std::uint32_t type : {0U, 3U, 4U, 16U, 256U}) {
        EXPECT_EQ(by(type), "before");
    }
}

} // namespace
} // namespace qel::test
