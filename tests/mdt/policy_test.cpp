// Routing policy on MDT routes: the match buffer, the prefix entry, community actions, the list to advertise.
#include "mdt_cases.h"

#include "action_contract.h"
#include "dirty_heap.h"

#include <random>

namespace qel::test {
namespace {

constexpr std::uint32_t kRdBit = 0x800;
constexpr std::uint32_t kListBit = 0x4;
constexpr std::uint32_t kGroupBit = 0x80000;

constexpr std::uint32_t kAddOther = 38;

using MdtMatch = MdtTest;
using MdtAction = MdtTest;
using MdtAdvertise = MdtTest;

// --- the match buffer -----------------------------------------------------------------------------------------------

using Owned = std::unique_ptr<std::uint8_t, PlatformFree>;

struct Matched {
    std::uint32_t code = 0;
    bool stored = false; // an output was written
    Owned buffer;
    std::uint32_t length = 0;
    std::size_t asserts = 0;
    std::uint64_t allocations = 0;
};

Matched match(const QEL_ROUTE_INFO_S &route, std::uint32_t mask, QEL_FAMILY_CTX_S *ctx)
{
    static std::uint8_t marker = 0;
    std::uint8_t *buffer = &marker;
    Matched got;
    got.length = kUnwritten;
    const std::uint64_t before = allocations();
    const platform::Recorder recorder;
    got.code = QEL_MDT_ConstructMatch(&route, mask, &buffer, &got.length, ctx);
    got.allocations = allocations() - before;
    got.asserts = recorder.asserts().size();
    EXPECT_TRUE(recorder.debugs().empty());
    got.stored = buffer != &marker || got.length != kUnwritten;
    if (buffer != &marker) {
        got.buffer = Owned(buffer);
    }
    return got;
}

void expect_match(const Matched &got, const std::string &tlvs)
{
    EXPECT_EQ(got.code, 0U);
    EXPECT_EQ(got.asserts, 0U);
    ASSERT_NE(got.buffer, nullptr);
    ASSERT_EQ(got.length, bytes(tlvs).size());
    EXPECT_EQ(hex({got.buffer.get(), got.length}), hex_of(tlvs));
}

const std::string kWireList = kSourceAs + kRt4 + kRt1;
const std::string kRdTlv = "000d 0008 0000640005000000"; // as it stands in memory
const std::string kListTlv = "000b 0018" + kWireList;
const std::string kGroupTlv = "0021 0004 ef010101";

Sections route_with_list()
{
    Sections sections = whole_route();
    sections.list = host_list(kWireList);
    return sections;
}

TEST_F(MdtMatch, TlvsStandInTheOrderOfTheTable)
{
    const Held held(route_with_list());
    expect_match(match(held.info, kRdBit, ctx_), kRdTlv);
    expect_match(match(held.info, kListBit, ctx_), kListTlv);
    expect_match(match(held.info, kGroupBit, ctx_), kGroupTlv);
    expect_match(match(held.info, kRdBit | kListBit, ctx_), kRdTlv + kListTlv);
    expect_match(match(held.info, kRdBit | kGroupBit, ctx_), kRdTlv + kGroupTlv);
    expect_match(match(held.info, kListBit | kGroupBit, ctx_), kListTlv + kGroupTlv);
    expect_match(match(held.info, 0x80804, ctx_), kRdTlv + kListTlv + kGroupTlv);
    expect_match(match(held.info, 0xffffffff, ctx_), kRdTlv + kListTlv + kGroupTlv);
}

TEST_F(MdtMatch, EachAsksForItsOwnSectionAlone)
{
    expect_match(match(Held({.rd = bytes(kRdMem)}).info, kRdBit, ctx_), kRdTlv);
    expect_match(match(Held({.list = host_list(kWireList)}).info, kListBit, ctx_), kListTlv);
    expect_match(match(Held({.key = bytes("04030201 08070605")}).info, kGroupBit, ctx_), "0021 0004 05060708");
}

TEST_F(MdtMatch, AMaskOfOtherBitsIsEmpty)
{
    const Held held(route_with_list());
    for (const std::uint32_t mask : {0x1U, 0x100U, 0x100000U, ~0x80804U}) {
        const Matched got = match(held.info, mask, ctx_);
        EXPECT_EQ(got.code, 0U);
        EXPECT_FALSE(got.stored);
        EXPECT_EQ(got.asserts, 0U);
        EXPECT_EQ(got.allocations, 0U);
    }
}

// kept: without a list the whole match is gone, the RD's part too
TEST_F(MdtMatch, ARouteWithoutAListMatchesNothingWhereOneIsAskedFor)
{
    Held held(whole_route());
    held.info.uiExtCommLen = 8;
    for (const std::uint32_t mask : {kListBit, kListBit | kRdBit, kListBit | kGroupBit, 0x80804U}) {
        const Matched got = match(held.info, mask, ctx_);
        EXPECT_EQ(got.code, 0U);
        EXPECT_FALSE(got.stored);
        EXPECT_EQ(got.asserts, 0U);
        EXPECT_EQ(got.allocations, 0U);
    }
    expect_match(match(held.info, kRdBit | kGroupBit, ctx_), kRdTlv + kGroupTlv);
}

void expect_match_failed(const Matched &got, std::size_t asserts = 0)
{
    EXPECT_EQ(got.code, kFailed) << "not the handler's code";
    EXPECT_EQ(got.asserts, asserts);
    EXPECT_TRUE(got.stored);
    EXPECT_EQ(got.buffer, nullptr);
    EXPECT_EQ(got.length, 0U);
}

TEST_F(MdtMatch, AHandlersFailureClearsBothOutputsAndGivesOne)
{
    expect_match_failed(match(Held({.key = bytes(kKeyMem)}).info, kRdBit, ctx_));
    expect_match_failed(match(Held({.key = bytes(kKeyMem)}).info, kRdBit | kGroupBit, ctx_));
    expect_match_failed(match(Held({.rd = bytes(kRdMem)}).info, kGroupBit, ctx_));
    expect_match_failed(match(Held({.rd = bytes(kRdMem)}).info, kRdBit | kGroupBit, ctx_));
}

TEST_F(MdtMatch, EachAllocationFailsOnce)
{
    const Held held(route_with_list());
    {
        const platform::FailAllocation failure(0);
        const Matched got = match(held.info, 0x80804, ctx_);
        EXPECT_TRUE(failure.fired());
        EXPECT_EQ(got.code, kOutOfMemory);
        EXPECT_EQ(got.asserts, 1U);
        EXPECT_FALSE(got.stored);
    }
    {
        const platform::FailAllocation failure(1); // the copy of the list in the handler
        const Matched got = match(held.info, 0x80804, ctx_);
        EXPECT_TRUE(failure.fired());
        expect_match_failed(got, 1);
    }
    EXPECT_EQ(match(held.info, 0x80804, ctx_).allocations, 2U);
    EXPECT_EQ(match(held.info, kRdBit | kGroupBit, ctx_).allocations, 1U);
}

TEST_F(MdtMatch, AnOddTailOfTheListGoesOutAsItStands)
{
    const Held held({.list = host_list(kRt1) + bytes("0a0b0c")});
    expect_match(match(held.info, kListBit, ctx_), "000b 000b" + kRt1 + "0a0b0c");
}

TEST_F(MdtMatch, TheListHasALengthOf16Bits)
{
    Held held({.rd = bytes(kRdMem), .list = host_list(kRt1)});
    held.info.uiExtCommLen = 0x10008;
    expect_match(match(held.info, kListBit | kRdBit, ctx_), kRdTlv + "000b 0008" + kRt1);
}

TEST_F(MdtMatch, RefusesMissingArgumentsAndAnEmptyMaskWithOneReport)
{
    const Held held(route_with_list());
    expect_null_arguments_refused(5, kFrameSource, [&](unsigned nulls) {
        std::uint8_t marker = 0;
        std::uint8_t *buffer = &marker;
        std::uint32_t length = kUnwritten;
        const std::uint32_t code =
            desc_.pfConstructMatch(unless(nulls, 0, &held.info), (nulls & 16) != 0 ? 0 : kRdBit,
                                   unless(nulls, 1, &buffer), unless(nulls, 2, &length), unless(nulls, 3, ctx_));
        EXPECT_EQ(buffer, &marker);
        EXPECT_EQ(length, kUnwritten);
        return code;
    });
}

TEST_F(MdtMatch, TheLengthIsThatOfTheTlvs)
{
    const Held held(route_with_list());
    const Held bare({});
    const platform::Recorder recorder;
    const struct {
        std::uint32_t mask;
        std::uint32_t full;
        std::uint32_t bare;
    } rows[] = {{0, 0, 0},
                {0x800, 12, 12},
                {0x4, 28, kUnwritten}, // nothing stored without a list
                {0x80000, 8, 8},
                {0x804, 40, kUnwritten},
                {0x80800, 20, 20},
                {0x80004, 36, kUnwritten},
                {0x80804, 48, kUnwritten},
                {~0x80804U, 0, 0}};
    for (const auto &row : rows) {
        SCOPED_TRACE(row.mask);
        std::uint32_t length = kUnwritten;
        EXPECT_EQ(QEL_MDT_CalcRtpMatchTlvLen(&held.info, row.mask, &length), 0U);
        EXPECT_EQ(length, row.full);
        length = kUnwritten;
        EXPECT_EQ(QEL_MDT_CalcRtpMatchTlvLen(&bare.info, row.mask, &length), 0U); // the key is not asked for
        EXPECT_EQ(length, row.bare);
    }
    Held longer(route_with_list());
    longer.info.uiExtCommLen = 0x10008;
    std::uint32_t length = kUnwritten;
    EXPECT_EQ(QEL_MDT_CalcRtpMatchTlvLen(&longer.info, 0x80804, &length), 0U);
    EXPECT_EQ(length, 32U) << "the low 16 bits of the list's length";
    EXPECT_TRUE(recorder.asserts().empty());
    expect_null_arguments_refused(2, kFrameSource, [&](unsigned nulls) {
        return QEL_MDT_CalcRtpMatchTlvLen(unless(nulls, 0, &held.info), 0x800, unless(nulls, 1, &length));
    });
}

using MatchHandler = decltype(&QEL_MDT_ConstructMatchRd);

// The handler alone: what is written, how far the cursor goes and what remains.
Written run_handler(MatchHandler handler, const QEL_ROUTE_INFO_S &route, std::uint32_t room, QEL_FAMILY_CTX_S *ctx,
                    std::uint32_t &remain)
{
    remain = room;
    return write_into(room, [&](auto cursor) { return handler(&route, cursor, &remain, ctx); });
}

struct HandlerRow {
    MatchHandler handler;
    std::string tlv;
};

const HandlerRow kHandlers[] = {{QEL_MDT_ConstructMatchRd, kRdTlv},
                                {QEL_MDT_ConstructMatchExtCommunity, kListTlv},
                                {QEL_MDT_ConstructMatchIpGroup, kGroupTlv},
                                {QEL_MDT_ConstructMatchIpSource, "0021 0004 0a000001"}};

TEST_F(MdtMatch, HandlersTakeTheirRoomFromWhatRemains)
{
    const Held held(route_with_list());
    for (const HandlerRow &row : kHandlers) {
        SCOPED_TRACE(row.tlv);
        const Bytes tlv = bytes(row.tlv);
        const auto need = static_cast<std::uint32_t>(tlv.size());
        std::uint32_t remain = 0;
        for (std::uint32_t room = 0; room < need; ++room) {
            const LeakCheck leaks;
            expect_not_written(run_handler(row.handler, held.info, room, ctx_, remain), kNoRoom);
            EXPECT_EQ(remain, room);
        }
        for (const std::uint32_t room : {need, need + 1, need + 30}) {
            expect_written(run_handler(row.handler, held.info, room, ctx_, remain), tlv);
            EXPECT_EQ(remain, room - need);
        }
    }
}

TEST_F(MdtMatch, HandlersNeedTheirSectionAheadOfTheRoom)
{
    const Held bare({});
    std::uint32_t remain = 0;
    for (const std::uint32_t room : {0U, 40U}) {
        for (const MatchHandler handler :
             {QEL_MDT_ConstructMatchRd, QEL_MDT_ConstructMatchIpGroup, QEL_MDT_ConstructMatchIpSource}) {
            expect_not_written(run_handler(handler, bare.info, room, ctx_, remain), kAbsent);
            EXPECT_EQ(remain, room);
        }
        expect_written(run_handler(QEL_MDT_ConstructMatchExtCommunity, bare.info, room, ctx_, remain), {});
        EXPECT_EQ(remain, room);
    }
}

TEST_F(MdtMatch, TheListsHandlerFailsWithoutMemory)
{
    const Held held(route_with_list());
    const platform::FailAllocation failure(0);
    std::uint32_t remain = 0;
    const Written got = run_handler(QEL_MDT_ConstructMatchExtCommunity, held.info, 40, ctx_, remain);
    EXPECT_EQ(got.code, kOutOfMemory);
    EXPECT_EQ(got.asserts, 1U);
    EXPECT_TRUE(failure.fired());
}

TEST_F(MdtMatch, HandlersRefuseMissingArgumentsWithOneReport)
{
    const Held held(route_with_list());
    const Held bare({});
    for (const HandlerRow &row : kHandlers) {
        const bool takes_context =
            row.handler == QEL_MDT_ConstructMatchRd || row.handler == QEL_MDT_ConstructMatchExtCommunity;
        const unsigned count = takes_context ? 4 : 3;
        for (const QEL_ROUTE_INFO_S *route : {&held.info, &bare.info}) {
            expect_null_arguments_refused(count, kFrameSource, [&](unsigned nulls) {
                std::array<std::uint8_t, 40> out{};
                std::uint8_t *cursor = out.data();
                std::uint32_t remain = 40;
                const std::uint32_t code = row.handler(unless(nulls, 0, route), unless(nulls, 1, &cursor),
                                                       unless(nulls, 2, &remain), unless(nulls, 3, ctx_));
                EXPECT_EQ(cursor, out.data());
                EXPECT_EQ(remain, 40U);
                EXPECT_EQ(out, (std::array<std::uint8_t, 40>{}));
                return code;
            });
        }
    }
}

// --- the prefix entry -----------------------------------------------------------------------------------------------

TEST_F(MdtMatch, ThePrefixEntryIsTheSourceWith32Bits)
{
    const platform::Recorder recorder;
    QEL_RTP_ENTRY_S entry;
    std::memset(&entry, 0xa5, sizeof(entry));
    QEL_RTP_ENTRY_S want = entry;
    want.uiRtpAddrType = 0;
    want.stRtpAddr.uiIpv4 = 0x0a000001;
    want.uiRtpPrefixLen = 32;
    const Held held({.key = bytes(kKeyMem)});
    EXPECT_EQ(desc_.pfConstructRtpEntry(&held.info, &entry), 0U);
    EXPECT_EQ(std::memcmp(&entry, &want, sizeof(entry)), 0) << "nothing else is written, the flags neither";
    EXPECT_TRUE(recorder.asserts().empty());
}

TEST_F(MdtMatch, ThePrefixEntryRefusesMissingArgumentsWithOneReport)
{
    const Held full(whole_route());
    const Held no_key({.rd = bytes(kRdMem)});
    expect_null_arguments_refused(3, kFrameSource, [&](unsigned nulls) {
        QEL_RTP_ENTRY_S entry{};
        return QEL_MDT_ConstructRtpEntry(unless(nulls, 0, (nulls & 2) != 0 ? &no_key.info : &full.info),
                                         unless(nulls, 2, &entry));
    });
}

// --- actions --------------------------------------------------------------------------------------------------------

using test::apply;

Made apply(std::uint32_t action, const std::string &list, const std::string &value, QEL_FAMILY_CTX_S *ctx)
{
    return apply(QEL_MDT_ApplyExtCommunity, action, route_list(list), bytes(value), ctx);
}

TEST_F(MdtAction, ReplaceTakesTheNewRouteTargetsForTheOldOnes)
{
    expect_list(apply(kReplace, kRt1, kRt4 + kRt2, ctx_), kRt2 + kRt4);
    expect_list(apply(kReplace, kRt1 + kRt4 + kRtAs4 + kRtOdd, kRt2, ctx_), kRt2);
    expect_list(apply(kReplace, kRt1 + kSourceAs + kRt4 + kImport, kRt2, ctx_), kRt2 + kSourceAs + kImport);
    expect_list(apply(kReplace, kSourceAs, kSourceAs + kRt1 + kRt1, ctx_), kRt1 + kSourceAs);
    expect_list(apply(kReplace, kRt1 + kImport + kSourceAs, "", ctx_), kSourceAs + kImport);
}

TEST_F(MdtAction, ReplaceOnARouteWithoutElementsGivesTheActionsList)
{
    for (const std::string list : {"-", "", "0002fde9000000"}) {
        expect_list(apply(kReplace, list, kRt4 + kRt1, ctx_), kRt1 + kRt4);
    }
}

// kept: work memory of no octet is none, so that nothing in place of nothing is like a failed allocation
TEST_F(MdtAction, ReplaceOfNothingLeftByNothingIsLikeNoMemory)
{
    for (const std::string &list : {kRt1, kRt1 + kRt4 + kRtOdd, std::string(), std::string("-")}) {
        expect_not_made(apply(kReplace, list, "", ctx_), kOutOfMemory, 1);
    }
}

TEST_F(MdtAction, AddKeepsTheWholeListOfTheRoute)
{
    expect_add_keeps_the_whole_list(QEL_MDT_ApplyExtCommunity, {"-", "", "0002fde9000000"}, ctx_);
}

// kept: an empty value is not looked for; its copy fails, is reported, and the route's own list is cleaned up
TEST_F(MdtAction, AddOfNothingCleansTheRoutesListUp)
{
    expect_add_of_nothing_cleans_the_list_up(QEL_MDT_ApplyExtCommunity, ctx_);
}

// kept: and with nothing else to show, work memory of no octet is none
TEST_F(MdtAction, AddOfNothingToNothingIsLikeNoMemory)
{
    expect_add_of_nothing_to_nothing_is_like_no_memory(QEL_MDT_ApplyExtCommunity, {"-", "", "0002fde9000000"}, ctx_);
}

TEST_F(MdtAction, DeleteLeavesWhatIsNoRouteTargetAndIgnoresTheActionsList)
{
    for (const std::string &value : {std::string(), kRt1, kSourceAs + kRt4}) {
        expect_list(apply(kDelete, kSourceAs + kRt1, value, ctx_), kSourceAs);
        expect_list(apply(kDelete, kImport + kRt1 + kSourceAs + kRtAs4 + kImport, value, ctx_), kSourceAs + kImport);
        for (const std::string &list : {kRt1, kRt1 + kRt4 + kRtOdd, std::string(), std::string("-")}) {
            expect_no_value(apply(kDelete, list, value, ctx_));
        }
    }
}

// kept: two codes are taken and change nothing, whatever their value
TEST_F(MdtAction, Codes36And37StoreNull)
{
    for (const std::uint32_t action : {36U, 37U}) {
        for (const std::string &value : {std::string(), kRt1, kRt1 + kSourceAs, std::string("00")}) {
            for (const std::string &list : {kRt1, kSourceAs, std::string("-"), std::string()}) {
                const Made got = apply(QEL_MDT_ApplyAction, action, route_list(list), bytes(value), ctx_);
                expect_null_result(got);
                EXPECT_EQ(got.allocations, 0U);
            }
        }
    }
}

TEST_F(MdtAction, ACodeThatTheHandlerDoesNotKnowStoresNull)
{
    for (const std::uint32_t action : {0U, 5U, 8U, 35U, 39U, 61U, 86U, 88U}) {
        expect_null_result(apply(action, kRt1, kRt2, ctx_));
    }
}

TEST_F(MdtAction, TheOperationRefusesAnUnknownCodeWithoutALog)
{
    for (const std::uint32_t action : {0U, 5U, 8U, 35U, 39U, 61U, 88U, 0x106U}) {
        expect_not_made(apply(QEL_MDT_ApplyAction, action, host_list(kRt1), bytes(kRt2), ctx_), kNoAction);
    }
}

TEST_F(MdtAction, TheOperationHandsOverTheCodeAndTheValue)
{
    const auto with = desc_.pfApplyAction;
    const Bytes list = host_list(kRt1 + kSourceAs);
    expect_list(apply(with, kReplace, list, bytes(kRt2), ctx_), kRt2 + kSourceAs);
    expect_list(apply(with, kAdd, list, bytes(kRt2), ctx_), kRt1 + kRt2 + kSourceAs);
    expect_list(apply(with, kAddOther, list, bytes(kRt2), ctx_), kRt1 + kRt2 + kSourceAs);
    expect_list(apply(with, kDelete, list, bytes(kRt2), ctx_), kSourceAs);
}

// kept: a missing value is refused by the delete too, which reads none
TEST_F(MdtAction, EachActionRefusesMissingArgumentsWithOneReport)
{
    const Held held({.list = host_list(kRt1)});
    const Trusted value(bytes(kRt1));
    for (const Apply with : {QEL_MDT_ApplyAction, QEL_MDT_ApplyExtCommunity}) {
        for (const std::uint32_t action : {kReplace, kAdd, kAddOther, kDelete, 36U, 37U, 0U}) {
            expect_null_arguments_refused(4, kFrameSource, [&](unsigned nulls) {
                QEL_ROUTE_BLOCK_S *result = block_marker();
                const std::uint32_t code = with(unless(nulls, 0, &held.info), action, unless(nulls, 1, value.data()), 8,
                                                unless(nulls, 2, &result), unless(nulls, 3, ctx_));
                EXPECT_EQ(result, block_marker());
                return code;
            });
        }
    }
}

TEST_F(MdtAction, WhatIsLessThanAnElementIsIgnoredBesideOthers)
{
    expect_list(apply(kReplace, kRt1 + kSourceAs, "0002fde9000000", ctx_), kSourceAs);
    expect_list(apply(kAdd, kRt1, "0002fde9000000", ctx_), kRt1);
    expect_list(apply(kAdd, kRt1, kRt2 + "0002fde9000000", ctx_), kRt1 + kRt2);
    expect_list(apply(kAdd, kRt1 + "0009fd", kRt2, ctx_), kRt1 + kRt2);
    expect_list(apply(kDelete, kSourceAs + kRt1 + "0009fd", kRt2, ctx_), kSourceAs);
    expect_list(apply(kReplace, kSourceAs + kRt1 + "0009fd", kRt2, ctx_), kRt2 + kSourceAs);
}

// kept: a value shorter than one element that stands alone counts as one, zeros behind it, in no order of its own
TEST_F(MdtAction, AValueShorterThanOneElementThatStandsAloneCountsAsOne)
{
    dirty_the_heap(8);
    for (const bool lent : {false, true}) {
        const auto keep = lend_if(lent, ctx_);
        for (const std::uint32_t action : {kReplace, kAdd, kAddOther}) {
            for (const std::string list : {"-", ""}) {
                expect_list(apply(action, list, "01", ctx_), bytes("0100000000000000"));
                expect_list(apply(action, list, "0002fde9000000", ctx_), bytes("0002fde900000000"));
            }
        }
        expect_list(apply(kReplace, kRt1, "0002fde9000000", ctx_), bytes("0002fde900000000"));
    }
}

// kept: the route's elements are counted in 16 bits
TEST_F(MdtAction, TheElementsOfTheRouteAreCountedIn16Bits)
{
    const auto edit = [&](std::uint32_t action, const Bytes &list, const Bytes &value) {
        return apply(QEL_MDT_ApplyExtCommunity, action, list, value, ctx_);
    };
    expect_route_elements_counted_in_16_bits(
        edit, [](const Made &got, const Bytes &list) { expect_list(got, list); }, expect_no_value);
}

TEST_F(MdtAction, TheElementsOfTheActionAreCountedIn16Bits)
{
    Bytes value = bytes(kRt1);
    value.resize(0x80008);
    for (const std::uint32_t action : {kReplace, kAdd, kAddOther}) {
        expect_list(apply(QEL_MDT_ApplyExtCommunity, action, std::nullopt, value, ctx_), kRt1);
    }
}

// No octet of it is read: together with the route's list it would have no length of 32 bits.
TEST_F(MdtAction, AValueOfNearlyFourGigabytesIsLikeNoMemory)
{
    expect_value_of_nearly_four_gigabytes_is_like_no_memory(QEL_MDT_ApplyExtCommunity,
                                                            {kReplace, kAdd, kAddOther, kDelete, 36U}, ctx_);
}

TEST_F(MdtAction, AListWhoseLengthPasses16BitsStaysWithinItsBuffers)
{
    const auto edit = [&](std::uint32_t action, const Bytes &list, const Bytes &value) {
        return apply(QEL_MDT_ApplyExtCommunity, action, list, value, ctx_);
    };
    expect_lists_beyond_16_bits_stay_within_their_buffers(
        edit, [](const Made &got, const Bytes &list) { expect_list(got, list); });
}

// --- lists of every kind against a model ----------------------------------------------------------------------------

void expect_modelled(std::uint32_t action, const std::optional<Bytes> &list, const Bytes &value, QEL_FAMILY_CTX_S *ctx)
{
    const Made got = apply(QEL_MDT_ApplyExtCommunity, action, list, value, ctx);
    const List held = elements(list.value_or(Bytes{}));
    List want = held;
    if (action != kAdd) {
        std::erase_if(want, [](const Bytes &element) { return element[0] == 2; });
    }
    if (action == kDelete && want.empty()) {
        expect_no_value(got);
        return;
    }
    if (action != kDelete && want.empty() && value.empty()) {
        expect_not_made(got, kOutOfMemory, 1);
        return;
    }
    if (action != kDelete) {
        for (const Bytes &element : elements(host_list(value))) {
            want.push_back(element);
        }
    }
    if (want.empty()) {
        want.push_back(value + Bytes(8 - value.size()));
    }
    expect_list(got, cleaned(want), action == kAdd && value.empty() ? 1 : 0);
}

TEST_F(MdtAction, RandomListsAsAModelGivesThem)
{
    std::mt19937 random(20260104);
    const auto any = [&](std::uint32_t below) { return static_cast<std::uint8_t>(random() % below); };
    const auto any_list = [&](std::size_t longest) {
        static constexpr std::array<std::uint8_t, 7> types{0, 1, 2, 3, 0x40, 0x80, 0xff};
        static constexpr std::array<std::uint8_t, 6> sub_types{2, 2, 2, 9, 10, 11};
        Bytes out;
        for (std::size_t left = random() % (longest + 1); left > 0; --left) {
            out =
                out +
                Bytes{types[any(types.size())], sub_types[any(sub_types.size())], any(2), 0, any(2), 0, any(3), any(2)};
        }
        return out + Bytes(random() % 3 == 0 ? random() % 8 : 0, 0x77);
    };
    for (int round = 0; round < 900; ++round) {
        const std::size_t longest = round % 3 == 0 ? 60 : 3;
        const std::optional<Bytes> list = round % 11 == 0 ? std::nullopt : std::optional(host_list(any_list(longest)));
        const Bytes value = any_list(longest);
        const std::uint32_t action = std::array{kReplace, kAdd, kDelete}[static_cast<std::size_t>(round / 2) % 3];
        SCOPED_TRACE(::testing::Message() << "round " << round << " action " << action);
        const auto keep = lend_if(round % 2 == 0, ctx_);
        expect_modelled(action, list, value, ctx_);
    }
}

// --- every allocation of an action fails once -----------------------------------------------------------------------

// The two codes that change nothing make the action's list all the same.
std::vector<FailureCase> all_failure_cases()
{
    std::vector<FailureCase> rows = failure_cases(kOutOfMemory, kNoBlock);
    const std::string both = kRt1 + kSourceAs;
    std::string many;
    for (int i = 0; i < 33; ++i) {
        many += both;
    }
    rows.push_back({"add 38, lent", kAddOther, both, kRt2, true, {kOutOfMemory, kOutOfMemory, kNoBlock, kNoBlock}});
    rows.push_back({"36, lent", 36, both, kRt2, true, {kOutOfMemory}});
    rows.push_back({"37, long value", 37, both, many, false, {kOutOfMemory}});
    rows.push_back({"37, no value, lent", 37, both, "", true, {}});
    return rows;
}

TEST_F(MdtAction, EveryAllocationFailsOnceAndNothingIsLeftBehind)
{
    for (const FailureCase &row : all_failure_cases()) {
        SCOPED_TRACE(row.name);
        const auto keep = lend_if(row.lent, ctx_);
        expect_each_allocation_fails(row.codes, [&] {
            Made got = apply(row.action, row.list, row.value, ctx_);
            EXPECT_EQ(ctx_->uiInlineBufUsed, row.lent ? 1U : 0U);
            return got;
        });
    }
}

// kept: the no-value block that cannot be made stores null and is not reported
TEST_F(MdtAction, ANoValueBlockThatCannotBeMadeStoresNullWithoutAReport)
{
    for (const bool lent : {false, true}) {
        const auto keep = lend_if(lent, ctx_);
        for (const std::string list : {kRt1.c_str(), "-"}) {
            const LeakCheck leaks;
            // the action's list and the route's rest come from the heap while the inline buffer is lent
            const platform::FailAllocation failure(!lent ? 0 : list == "-" ? 1 : 2);
            const Made got = apply(kDelete, list, kRt2, ctx_);
            EXPECT_TRUE(failure.fired());
            EXPECT_EQ(got.code, kNoBlock);
            EXPECT_TRUE(got.stored);
            EXPECT_FALSE(got.block);
            EXPECT_EQ(got.asserts, 0U);
        }
    }
    const LentBuffer lent(ctx_);
    for (const std::size_t after : {0U, 1U}) {
        const LeakCheck leaks;
        const platform::FailAllocation failure(after);
        expect_not_made(apply(kDelete, kRt1, kRt2, ctx_), kOutOfMemory, 1);
    }
}

// --- the step -------------------------------------------------------------------------------------------------------

TEST_F(MdtAction, TheStepLeavesEveryElementOfSubType2Out)
{
    const platform::Recorder recorder;
    const OddBytes list(host_list(kSourceAs + kRt1 + "0203 fde9 00000000" + kRtOdd + kImport));
    const std::pair<std::uint16_t, std::string> rows[] = {{0, ""},
                                                          {1, kSourceAs},
                                                          {2, kSourceAs},
                                                          {3, kSourceAs + "0203 fde9 00000000"},
                                                          {4, kSourceAs + "0203 fde9 00000000"},
                                                          {5, kSourceAs + "0203 fde9 00000000" + kImport}};
    for (const auto &[count, wire] : rows) {
        const Bytes want = host_list(wire);
        OddBytes out(Bytes(40, kUntouchedOctet));
        std::uint16_t length = 99;
        QEL_MDT_GetExtCommAttrExcludeRT(list.data(), count, out.data(), &length);
        EXPECT_EQ(length, want.size());
        EXPECT_EQ(hex(out.bytes()), hex(want + Bytes(40 - want.size(), kUntouchedOctet)));
    }
    EXPECT_TRUE(recorder.asserts().empty());
}

TEST_F(MdtAction, TheStepReportsAMissingArgumentAndDoesNothing)
{
    const OddBytes list(host_list(kSourceAs));
    std::array<std::uint8_t, 8> out{};
    std::uint16_t length = 99;
    expect_null_arguments_refused(
        3, kFrameSource,
        [&](unsigned nulls) {
            QEL_MDT_GetExtCommAttrExcludeRT(unless(nulls, 0, list.data()), 1, unless(nulls, 1, out.data()),
                                            unless(nulls, 2, &length));
            return 0U;
        },
        0);
    EXPECT_EQ(out, (std::array<std::uint8_t, 8>{}));
    EXPECT_EQ(length, 99U);
}

// kept: an action on a route that changes nothing stores null, one that leaves nothing a block that says so
TEST_F(MdtAction, NothingLeftIsABlockAndNothingChangedIsNone)
{
    expect_no_value(apply(kDelete, kRt1, kRt2, ctx_));
    expect_null_result(apply(36, kRt1, kRt2, ctx_));
}

// --- the list to advertise ------------------------------------------------------------------------------------------

const std::string kNonTransitive = " 4003 fde9 00000001 ";
const std::string kTransitive = " 0002 fde9 00000001 ";

Made advertise(const std::optional<Bytes> &list, std::uint32_t flags, QEL_FAMILY_CTX_S *ctx)
{
    const Held held({.list = list});
    return make([&](auto result) { return QEL_MDT_SetExtCommunity(&held.info, flags, result, ctx); });
}

TEST_F(MdtAdvertise, NonTransitiveElementsAreLeftOutWhereAsked)
{
    const std::string list = kNonTransitive + kSourceAs + kTransitive + kNonTransitive + kRt4;
    for (const std::uint32_t flags : {0U, 2U, 0xfffffffeU}) {
        expect_list(advertise(host_list(list), flags, ctx_), list); // neither sorted nor free of repeats
    }
    for (const std::uint32_t flags : {1U, 3U, 0xffffffffU}) {
        expect_list(advertise(host_list(list), flags, ctx_), kSourceAs + kTransitive + kRt4);
    }
    for (const std::string_view type : {"4000", "ff02", "c009", "4302", "5002"}) {
        expect_list(advertise(host_list(std::string(type) + "010203040506" + kRt1), 1, ctx_), kRt1);
    }
    for (const std::string_view type : {"0040", "8002", "bf40", "03ff"}) { // the bit of the Type octet alone
        const std::string wire = std::string(type) + "010203040506";
        expect_list(advertise(host_list(wire + kRt1), 1, ctx_), wire + kRt1);
    }
}

TEST_F(MdtAdvertise, NoListStoresNull)
{
    for (const std::uint32_t flags : {0U, 1U}) {
        const Made got = advertise(std::nullopt, flags, ctx_);
        expect_null_result(got);
        EXPECT_EQ(got.allocations, 0U);
    }
}

TEST_F(MdtAdvertise, AListOfWhichNothingIsLeftIsAnsweredAsAnEmptyView)
{
    const Made got = advertise(host_list(kNonTransitive + kNonTransitive), 1, ctx_);
    EXPECT_EQ(got.code, kNull);
    EXPECT_FALSE(got.stored);
}

TEST_F(MdtAdvertise, OnlyWholeElementsAndALengthOf16BitsCount)
{
    expect_list(advertise(host_list(kRt1) + bytes("0a0b0c"), 0, ctx_), kRt1);
    Held held({.list = host_list(kRt1)});
    held.info.uiExtCommLen = 0x10008;
    expect_list(make([&](auto result) { return QEL_MDT_SetExtCommunity(&held.info, 0, result, ctx_); }), kRt1);
}

TEST_F(MdtAdvertise, EachAllocationFailsOnce)
{
    for (const bool lent : {false, true}) { // the inline buffer has no part in it
        const auto keep = lend_if(lent, ctx_);
        expect_each_allocation_fails({kOutOfMemory, kNoBlock},
                                     [&] { return advertise(host_list(kRt1 + kRt4), 1, ctx_); });
    }
}

TEST_F(MdtAdvertise, RefusesMissingArgumentsWithOneReport)
{
    for (const Sections &sections : {Sections{.list = host_list(kRt1)}, Sections{}}) {
        const Held held(sections);
        expect_null_arguments_refused(3, kFrameSource, [&](unsigned nulls) {
            QEL_ROUTE_BLOCK_S *result = block_marker();
            const std::uint32_t code = QEL_MDT_SetExtCommunity(unless(nulls, 0, &held.info), 0,
                                                               unless(nulls, 1, &result), unless(nulls, 2, ctx_));
            EXPECT_EQ(result, block_marker());
            return code;
        });
    }
}

TEST_F(MdtAdvertise, Attribute16AloneIsSetThroughTheDescriptor)
{
    const Held held({.list = host_list(kNonTransitive + kTransitive)});
    const auto set = [&](std::uint32_t type, std::uint32_t flags) {
        return make([&](auto result) { return desc_.pfSetAttr(&held.info, type, flags, result, ctx_); });
    };
    expect_list(set(16, 0), kNonTransitive + kTransitive);
    expect_list(set(16, 1), kTransitive);
    for (const std::uint32_t type : {0U, 3U, 8U, 22U, 0x10010U}) {
        expect_not_made(set(type, 0), kNoEntry);
    }
}

} // namespace
} // namespace qel::test
