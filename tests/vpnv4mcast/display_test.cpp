// Display texts of VPNv4 multicast routes: the route, the RD, communities.
#include "vpnv4mcast_cases.h"

#include "fail_copy.h"

namespace qel::test {
namespace {

constexpr std::uint32_t kIndexBefore = 0x1111;
constexpr std::uint32_t kMoreBefore = 0x2222;

using Vpnv4McastDisplay = Vpnv4McastTest;
using TextWriter = decltype(&QEL_VPNV4MCAST_MpNlriData2Str);

struct Shown {
    std::uint32_t code = 0;
    bool stored = false; // the text was written
    Bytes buffer;
    std::uint32_t index = 0;
    std::uint32_t more = 0;
    std::size_t asserts = 0;
    std::uint64_t allocations = 0;
};

Shown show(TextWriter writer, const QEL_ROUTE_INFO_S &route, std::size_t room, std::uint32_t index,
           QEL_FAMILY_CTX_S *ctx)
{
    const UnchangedRoute unchanged(route);
    OddBytes out(Bytes(room, kUntouchedOctet));
    Shown got;
    got.index = index;
    got.more = kMoreBefore;
    const std::uint64_t before = allocations();
    const platform::Recorder recorder;
    got.code = writer(&route, out.as<char>(), static_cast<std::uint32_t>(room), &got.index, &got.more, ctx);
    got.allocations = allocations() - before;
    got.asserts = recorder.asserts().size();
    got.buffer = out.bytes();
    got.stored = got.buffer != Bytes(room, kUntouchedOctet);
    EXPECT_TRUE(recorder.debugs().empty());
    return got;
}

Bytes text_bytes(std::string_view text)
{
    return Bytes(text.begin(), text.end()) + Bytes(1);
}

void expect_text(const Shown &got, std::string_view text, std::uint32_t index, std::uint32_t more)
{
    EXPECT_EQ(got.code, 0U);
    EXPECT_EQ(got.asserts, 0U);
    const Bytes want = text_bytes(text);
    ASSERT_GE(got.buffer.size(), want.size());
    EXPECT_EQ(std::string(got.buffer.begin(), got.buffer.begin() + std::ssize(want)),
              std::string(want.begin(), want.end()));
    EXPECT_EQ(slice(got.buffer, want.size(), got.buffer.size() - want.size()),
              Bytes(got.buffer.size() - want.size(), kUntouchedOctet));
    EXPECT_EQ(got.index, index);
    EXPECT_EQ(got.more, more);
}

void expect_no_text(const Shown &got, std::uint32_t code, std::size_t asserts = 0)
{
    EXPECT_EQ(got.code, code);
    EXPECT_EQ(got.asserts, asserts);
    EXPECT_FALSE(got.stored);
}

// --- routes ---------------------------------------------------------------------------------------------------------

struct RouteText {
    std::string_view rd;
    std::uint32_t prefix;
    std::uint32_t length;
    std::optional<std::uint32_t> label;
    std::string_view text;
};

const RouteText kRouteTexts[] = {
    {"0000 6400 05000000", 0x0a010000, 16, 100, "10.1.0.0/16(<100:5> 100)"},
    {"0000 6400 05000000", 0x0a010000, 16, {}, "10.1.0.0/16(<100:5>)"},
    {"0000 6400 05000000", 0x0a010000, 16, 0, "10.1.0.0/16(<100:5> 0)"},
    {"0000 6400 05000000", 0x0a010000, 16, 0xffffffff, "10.1.0.0/16(<100:5> 4294967295)"}, // a decimal number
    {"0100 0100000a 0700", 0, 0, 1048574, "0.0.0.0/0(<10.0.0.1:7> 1048574)"},
    {"0200 02000100 0700", 0xffffffff, 0xffffffff, {}, "255.255.255.255/4294967295(<1.2:7>)"},
    {"0000 ffff ffffffff", 0x01020304, 40, {}, "1.2.3.4/40(<65535:4294967295>)"},
    {"0100 ffffffff ffff", 0xffffffff, 0xffffffff, 0xffffffff,
     "255.255.255.255/4294967295(<255.255.255.255:65535> 4294967295)"},
    {"0300 010203040506", 0x0a010000, 16, 100, "10.1.0.0/16(<> 100)"}, // an RD of no known type has no text
    {"0001 010203040506", 0x0a010000, 16, {}, "10.1.0.0/16(<>)"},
};

TEST_F(Vpnv4McastDisplay, ARouteIsShownWithItsPrefixItsRdAndItsLabel)
{
    for (const RouteText &row : kRouteTexts) {
        SCOPED_TRACE(row.text);
        const Held held({.rd = bytes(row.rd), .key = key_of(row.prefix, row.length), .label = row.label});
        for (const std::size_t room : {row.text.size() + 1, row.text.size() + 2, std::size_t{400}}) {
            expect_text(show(QEL_VPNV4MCAST_MpNlriData2Str, held.info, room, kIndexBefore, ctx_), row.text, 0, 0);
        }
    }
}

TEST_F(Vpnv4McastDisplay, ATextThatDoesNotFitIsRefusedAndNothingIsWritten)
{
    for (const RouteText &row : kRouteTexts) {
        const Held held({.rd = bytes(row.rd), .key = key_of(row.prefix, row.length), .label = row.label});
        for (std::size_t room = 0; room <= row.text.size(); ++room) {
            expect_no_text(show(QEL_VPNV4MCAST_MpNlriData2Str, held.info, room, kIndexBefore, ctx_), kNoRoom);
        }
    }
}

TEST_F(Vpnv4McastDisplay, ALabelOfAnyLengthIsShown)
{
    Held held(bare_route());
    held.info.uiMplsLabel = 7;
    held.info.uiLabelLen = 1;
    expect_text(show(QEL_VPNV4MCAST_MpNlriData2Str, held.info, 40, kIndexBefore, ctx_), "10.1.0.0/16(<100:5> 7)", 0, 0);
}

TEST_F(Vpnv4McastDisplay, ARouteWithoutKeyOrRdIsNotShown)
{
    for (const Sections &sections : {Sections{.rd = bytes(kRdMem)}, Sections{.key = bytes(kKeyMem)}, Sections{}}) {
        const Shown got = show(QEL_VPNV4MCAST_MpNlriData2Str, Held(sections).info, 40, kIndexBefore, ctx_);
        expect_no_text(got, kAbsent);
        EXPECT_EQ(got.index, kIndexBefore);
        EXPECT_EQ(got.more, kMoreBefore);
        EXPECT_EQ(got.allocations, 0U);
    }
}

TEST_F(Vpnv4McastDisplay, TheScratchOfARouteFailsOnce)
{
    const Held held(whole_route());
    const auto shown = [&] { return show(QEL_VPNV4MCAST_MpNlriData2Str, held.info, 40, kIndexBefore, ctx_); };
    expect_each_allocation_fails({}, shown); // the inline buffer
    const LentBuffer lent(ctx_);
    expect_each_allocation_fails({kOutOfMemory}, shown);
    const LeakCheck leaks;
    const std::uint64_t live = platform::usage(kMemHandle).live_blocks;
    EXPECT_EQ(show(QEL_VPNV4MCAST_MpNlriData2Str, held.info, 4, kIndexBefore, ctx_).code, kNoRoom);
    EXPECT_EQ(platform::usage(kMemHandle).live_blocks, live);
}

TEST_F(Vpnv4McastDisplay, ARouteWhoseTextCannotBeFormedIsRefusedWithoutAReport)
{
    for (const Sections &sections : {whole_route(), bare_route()}) {
        const Held held(sections);
        for (const bool heap : {false, true}) {
            const std::optional<LentBuffer> lent = lend_if(heap, ctx_);
            const LeakCheck leaks;
            const platform::FailText failure(0);
            const Shown got = show(QEL_VPNV4MCAST_MpNlriData2Str, held.info, 60, kIndexBefore, ctx_);
            EXPECT_TRUE(failure.fired());
            expect_no_text(got, kFailed);
            EXPECT_EQ(got.index, kIndexBefore);
            EXPECT_EQ(got.more, kMoreBefore);
            EXPECT_EQ(got.allocations, heap ? 1U : 0U);
            EXPECT_EQ(ctx_->uiInlineBufUsed, heap ? 1U : 0U);
        }
    }
}

// A scratch that can't be cleared or copied out of is reported, and the work goes on.
TEST_F(Vpnv4McastDisplay, ACopyThatFailsOnTheWayOfATextIsReportedAndTheWorkGoesOn)
{
    const Held held(whole_route());
    for (const std::uint64_t after : {0U, 1U}) { // the clearing, the copy to the caller
        const FailCopy failure(after);
        const Shown got = show(QEL_VPNV4MCAST_MpNlriData2Str, held.info, 25, kIndexBefore, ctx_);
        EXPECT_TRUE(failure.fired());
        EXPECT_EQ(got.code, 0U);
        EXPECT_EQ(got.asserts, 1U);
        EXPECT_EQ(hex(got.buffer),
                  hex(after == 0 ? text_bytes("10.1.0.0/16(<100:5> 100)") : Bytes(24, kUntouchedOctet) + Bytes(1)));
        EXPECT_EQ(got.index, 0U);
        EXPECT_EQ(got.more, 0U);
    }
}

TEST_F(Vpnv4McastDisplay, ARouteWithMissingArgumentsIsRefusedWithOneReport)
{
    for (const Sections &sections : {whole_route(), Sections{}}) {
        const Held held(sections);
        expect_null_arguments_refused(5, kFrameSource, [&](unsigned nulls) {
            std::array<char, 40> out{};
            std::uint32_t index = kIndexBefore;
            std::uint32_t more = kMoreBefore;
            const std::uint32_t code = QEL_VPNV4MCAST_MpNlriData2Str(
                unless(nulls, 0, &held.info), unless(nulls, 1, out.data()), 40, unless(nulls, 2, &index),
                unless(nulls, 3, &more), unless(nulls, 4, ctx_));
            EXPECT_EQ(out, (std::array<char, 40>{}));
            EXPECT_EQ(index, kIndexBefore);
            EXPECT_EQ(more, kMoreBefore);
            return code;
        });
    }
}

// --- RDs ------------------------------------------------------------------------------------------------------------

TEST_F(Vpnv4McastDisplay, AnRdIsShownByItsType)
{
    const std::tuple<std::string_view, std::string_view, std::uint32_t> rows[] = {
        {"0000 6400 05000000", "100:5", 0},
        {"0000 ffff ffffffff", "65535:4294967295", 0},
        {"0100 0100000a ffff", "10.0.0.1:65535", 0},
        {"0200 02000100 0700", "1.2:7", 0},
        {"0200 ffffffff ffff", "65535.65535:65535", 0},
        {"0200 05000000 0000", "0.5:0", 0},
        {"0300 010203040506", "", kBadValue},
        {"0001 010203040506", "", kBadValue},
        {"ffff 010203040506", "", kBadValue},
    };
    for (const auto &[mem, text, code] : rows) {
        const OddBytes rd(bytes(mem));
        OddBytes out(Bytes(24, kUntouchedOctet));
        const platform::Recorder recorder;
        EXPECT_EQ(QEL_VPNV4MCAST_RdValueToStr(rd.as<QEL_RD_VALUE_S>(), out.as<char>(), 24), code);
        EXPECT_STREQ(out.as<char>(), std::string(text).c_str());
        EXPECT_TRUE(recorder.asserts().empty());
        EXPECT_EQ(rd.hex(), hex_of(mem));
    }
}

// kept: a part that does not fit is reported and left out, and the answer is good
TEST_F(Vpnv4McastDisplay, APartOfAnRdThatDoesNotFitIsReportedAndLeftOut)
{
    const OddBytes rd(bytes("0000 6400 05000000"));
    const std::tuple<std::uint32_t, std::string_view, std::size_t> rows[] = {
        {6, "100:5", 0}, {5, "100:", 1}, {4, "100", 2}, {3, ":5", 1}, {2, ":", 2}, {1, "", 3}};
    for (const auto &[room, text, asserts] : rows) {
        OddBytes out(Bytes(room, kUntouchedOctet));
        const platform::Recorder recorder;
        EXPECT_EQ(QEL_VPNV4MCAST_RdValueToStr(rd.as<QEL_RD_VALUE_S>(), out.as<char>(), room), 0U);
        EXPECT_STREQ(out.as<char>(), std::string(text).c_str());
        EXPECT_EQ(recorder.asserts().size(), asserts) << room;
    }
}

TEST_F(Vpnv4McastDisplay, AnRdWithoutRoomIsReportedPieceByPieceAndNothingIsWritten)
{
    const OddBytes rd(bytes("0000 6400 05000000"));
    char out = 'x';
    const platform::Recorder recorder;
    EXPECT_EQ(QEL_VPNV4MCAST_RdValueToStr(rd.as<QEL_RD_VALUE_S>(), &out, 0), 0U);
    EXPECT_EQ(out, 'x');
    EXPECT_EQ(recorder.asserts().size(), 3U);
}

TEST_F(Vpnv4McastDisplay, NothingIsShownOfAMissingRdOrInAMissingText)
{
    const OddBytes rd(bytes(kRdMem));
    expect_null_arguments_refused(2, kFrameSource, [&](unsigned nulls) {
        char out = 'x';
        const std::uint32_t code =
            QEL_VPNV4MCAST_RdValueToStr(unless(nulls, 0, rd.as<QEL_RD_VALUE_S>()), unless(nulls, 1, &out), 1);
        EXPECT_EQ(out, 'x');
        return code;
    });
}

// --- communities ----------------------------------------------------------------------------------------------------

struct CommunityText {
    std::string_view wire;
    std::uint8_t as4_plain;
    std::string_view text;
};

const CommunityText kCommunityTexts[] = {
    {"0002 0064 00000001", 0, "RT <100 : 1>"},
    {"0002 ffff ffffffff", 1, "RT <65535 : 4294967295>"},
    {"0003 0064 00000001", 0, "SoO <0 : 65636>"}, // turned as an address, shown as an AS
    {"0009 0064 00000000", 0, "Source AS <100 : 0>"},
    {"0102 0a000001 0007", 0, "RT <10.0.0.1 : 7>"},
    {"0103 0a000001 0007", 0, "SoO <10.0.0.1 : 7>"},
    {"0109 0a000001 ffff", 0, "Source AS <10.0.0.1 : 65535>"},
    {"010a 0a000001 0007", 0, "Import RT(type:0x0A) <10.0.0.1 : 7>"},
    {"010b 0a000001 0007", 0, "Import RT(type:0x0B) <10.0.0.1 : 7>"},
    {"0202 00010002 0007", 1, "RT <65538 : 7>"},
    {"0202 00010002 0007", 0, "RT <1.2 : 7>"},
    {"0202 0000ffff 0007", 1, "RT <0.65535 : 7>"}, // plain only where the high half says something
    {"0202 0000ffff 0007", 0, "RT <0.65535 : 7>"},
    {"0202 ffffffff ffff", 0xff, "RT <4294967295 : 65535>"},
    {"020b 00010002 0007", 0, "Import RT(type:0x0B) <1.2 : 7>"},
    {"0105 0a000001 0007", 0, " <10.0.0.1 : 7>"}, // no text for the type: the value alone
    {"0112 0a000001 0007", 0, " <10.0.0.1 : 7>"}, // not even for a Segmented Next-Hop
    {"0302 0a000001 0007", 0, "RT"},              // no form for the value: the text alone
    {"430a 0a000001 0007", 1, "Import RT(type:0x0A)"},
    {"8009 0a000001 0007", 0, "Source AS"},
    {"0805 0a000001 0007", 0, ""},
    {"ffff 0a000001 0007", 1, ""},
};

TEST_F(Vpnv4McastDisplay, ACommunityIsShownByItsSubTypeAndItsType)
{
    for (const CommunityText &row : kCommunityTexts) {
        SCOPED_TRACE(row.wire);
        const OddBytes element(host_list(row.wire));
        OddBytes out(Bytes(256, kUntouchedOctet));
        std::uint32_t length = kUnwritten;
        const platform::Recorder recorder;
        EXPECT_EQ(
            QEL_VPNV4MCAST_ExtCommVal2Str(element.as<QEL_EXTCOMM_S>(), out.as<char>(), 256, &length, row.as4_plain),
            0U);
        EXPECT_STREQ(out.as<char>(), std::string(row.text).c_str());
        EXPECT_EQ(length, row.text.size());
        EXPECT_TRUE(recorder.asserts().empty());
        EXPECT_EQ(element.bytes(), host_list(row.wire));
    }
}

TEST_F(Vpnv4McastDisplay, NothingIsShownOfAMissingCommunityOrInAMissingText)
{
    const OddBytes element(host_list("0002 0064 00000001"));
    expect_null_arguments_refused(3, kFrameSource, [&](unsigned nulls) {
        std::array<char, 40> out{};
        std::uint32_t length = kUnwritten;
        const std::uint32_t code =
            QEL_VPNV4MCAST_ExtCommVal2Str(unless(nulls, 0, element.as<QEL_EXTCOMM_S>()), unless(nulls, 1, out.data()),
                                          40, unless(nulls, 2, &length), 0);
        EXPECT_EQ(out, (std::array<char, 40>{}));
        EXPECT_EQ(length, kUnwritten);
        return code;
    });
}

// Word and value can't be formed in no room: each is reported and has no characters.
TEST_F(Vpnv4McastDisplay, ACommunityWithoutRoomHasNoCharacters)
{
    const OddBytes element(host_list("0202 00010002 0007"));
    char out = 'x';
    std::uint32_t length = kUnwritten;
    const platform::Recorder recorder;
    EXPECT_EQ(QEL_VPNV4MCAST_ExtCommVal2Str(element.as<QEL_EXTCOMM_S>(), &out, 0, &length, 0), 0U);
    EXPECT_EQ(length, 0U);
    EXPECT_EQ(out, 'x');
    EXPECT_EQ(recorder.asserts().size(), 2U);
}

struct FailedPiece {
    std::string_view wire;
    std::uint64_t after;
    std::string_view text; // what is left
};

const FailedPiece kFailedPieces[] = {
    {"0002 0064 00000001", 0, " <100 : 1>"},
    {"0002 0064 00000001", 1, "RT"},
    {"010b 0a000001 0007", 0, " <10.0.0.1 : 7>"},
    {"010b 0a000001 0007", 1, "Import RT(type:0x0B)"},
    {"0203 00010002 0007", 0, " <1.2 : 7>"},
    {"0203 00010002 0007", 1, "SoO"},
    {"0105 0a000001 0007", 0, ""},
};

TEST_F(Vpnv4McastDisplay, APieceOfACommunityThatCannotBeFormedIsReportedAndLeftOut)
{
    for (const FailedPiece &row : kFailedPieces) {
        SCOPED_TRACE(row.wire);
        const OddBytes element(host_list(row.wire));
        char out[40] = "before";
        std::uint32_t length = kUnwritten;
        const platform::Recorder recorder;
        const platform::FailText failure(row.after);
        EXPECT_EQ(QEL_VPNV4MCAST_ExtCommVal2Str(element.as<QEL_EXTCOMM_S>(), out, sizeof(out), &length, 0), 0U);
        EXPECT_TRUE(failure.fired());
        EXPECT_EQ(std::string_view(out), row.text);
        EXPECT_EQ(length, row.text.size());
        ASSERT_EQ(recorder.asserts().size(), 1U);
        EXPECT_EQ(recorder.asserts()[0].value, UINT64_MAX);
    }
}

TEST_F(Vpnv4McastDisplay, TheRestOfACommunityIsShownWhereAPieceCannotBeFormed)
{
    for (const FailedPiece &row : kFailedPieces) {
        SCOPED_TRACE(row.wire);
        const Held held({.list = host_list(row.wire) + host_list(row.wire)});
        for (const bool heap : {false, true}) {
            const std::optional<LentBuffer> lent = lend_if(heap, ctx_);
            const LeakCheck leaks;
            const platform::FailText failure(row.after);
            Shown got = show(QEL_VPNV4MCAST_ExtCommunity2Str, held.info, row.text.size() + 1, 0, ctx_);
            EXPECT_TRUE(failure.fired());
            EXPECT_EQ(got.asserts, 1U);
            got.asserts = 0;
            expect_text(got, row.text, 1, 1);
        }
    }
}

TEST_F(Vpnv4McastDisplay, CommunitiesAreShownOnePerCall)
{
    for (const CommunityText &row : kCommunityTexts) {
        if (row.as4_plain > 1) {
            continue;
        }
        SCOPED_TRACE(row.wire);
        Held held({.list = host_list(row.wire) + host_list(row.wire) + Bytes(7, 2)});
        for (const std::uint32_t flags : {0U, 6U}) {
            held.info.uiRdFlags = flags | row.as4_plain;
            for (const std::size_t room : {row.text.size() + 1, row.text.size() + 2, std::size_t{300}}) {
                expect_text(show(QEL_VPNV4MCAST_ExtCommunity2Str, held.info, room, 0, ctx_), row.text, 1, 1);
                expect_text(show(QEL_VPNV4MCAST_ExtCommunity2Str, held.info, room, 1, ctx_), row.text, 2, 0);
            }
            for (std::size_t room = 0; room <= row.text.size(); ++room) {
                const Shown got = show(QEL_VPNV4MCAST_ExtCommunity2Str, held.info, room, 1, ctx_);
                expect_no_text(got, kNoRoom);
                EXPECT_EQ(got.index, 1U);
            }
        }
    }
}

TEST_F(Vpnv4McastDisplay, BehindTheLastCommunityNothingIsShown)
{
    Held held({.list = host_list("0002 0064 00000001") + Bytes(7, 2)});
    Held none({});
    none.info.uiExtCommLen = 24;
    const Held empty({.list = Bytes(7, 2)});
    const std::pair<const Held *, std::uint32_t> rows[] = {{&held, 1}, {&held, 2}, {&held, 0xffffffff},
                                                           {&none, 0}, {&none, 1}, {&empty, 0}};
    for (const auto &[route, index] : rows) {
        const Shown got = show(QEL_VPNV4MCAST_ExtCommunity2Str, route->info, 40, index, ctx_);
        expect_no_text(got, 0);
        EXPECT_EQ(got.index, index);
        EXPECT_EQ(got.more, 0U);
        EXPECT_EQ(got.allocations, 0U);
    }
}

TEST_F(Vpnv4McastDisplay, TheScratchOfACommunityFailsOnce)
{
    const Held held({.list = host_list("0002 0064 00000001")});
    const auto shown = [&] { return show(QEL_VPNV4MCAST_ExtCommunity2Str, held.info, 40, 0, ctx_); };
    expect_each_allocation_fails({}, shown);
    const LentBuffer lent(ctx_);
    expect_each_allocation_fails({kOutOfMemory}, shown);
    const std::uint64_t live = platform::usage(kMemHandle).live_blocks;
    EXPECT_EQ(show(QEL_VPNV4MCAST_ExtCommunity2Str, held.info, 4, 0, ctx_).code, kNoRoom);
    EXPECT_EQ(platform::usage(kMemHandle).live_blocks, live);
}

TEST_F(Vpnv4McastDisplay, WithoutAContextThereIsNoScratchForACommunity)
{
    const Held held({.list = host_list("0002 0064 00000001")});
    expect_no_text(show(QEL_VPNV4MCAST_ExtCommunity2Str, held.info, 40, 0, nullptr), kOutOfMemory, 2);
    expect_no_text(show(QEL_VPNV4MCAST_ExtCommunity2Str, held.info, 40, 1, nullptr), 0);
}

TEST_F(Vpnv4McastDisplay, CommunitiesWithMissingArgumentsAreRefusedWithOneReport)
{
    for (const Sections &sections : {Sections{.list = host_list("0002 0064 00000001")}, Sections{}}) {
        const Held held(sections);
        expect_null_arguments_refused(4, kFrameSource, [&](unsigned nulls) {
            std::array<char, 40> out{};
            std::uint32_t index = 0;
            std::uint32_t more = kMoreBefore;
            const std::uint32_t code =
                QEL_VPNV4MCAST_ExtCommunity2Str(unless(nulls, 0, &held.info), unless(nulls, 1, out.data()), 40,
                                                unless(nulls, 2, &index), unless(nulls, 3, &more), ctx_);
            EXPECT_EQ(out, (std::array<char, 40>{}));
            EXPECT_EQ(index, 0U);
            EXPECT_EQ(more, kMoreBefore);
            return code;
        });
    }
}

// --- the operation --------------------------------------------------------------------------------------------------

TEST_F(Vpnv4McastDisplay, TheOperationShowsRoutesAndCommunities)
{
    Sections sections = whole_route();
    sections.list = host_list("0002 0064 00000001");
    const Held held(sections);
    const auto shown = [&](std::uint32_t type) {
        std::array<char, 60> out{};
        std::uint32_t index = 0;
        std::uint32_t more = kMoreBefore;
        const std::uint32_t code = desc_.pfData2Str(&held.info, type, out.data(), out.size(), &index, &more, ctx_);
        return code == 0 ? std::string(out.data()) : std::to_string(code);
    };
    EXPECT_EQ(shown(1), "10.1.0.0/16(<100:5> 100)");
    EXPECT_EQ(shown(2), "RT <100 : 1>");
    for (const std::uint32_t type : {0U, 3U, 4U, 8U, 256U, 0x101U, 0x10001U}) {
        EXPECT_EQ(shown(type), std::to_string(kNoText));
    }
}

} // namespace
} // namespace qel::test
