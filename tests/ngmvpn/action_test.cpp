// Policy actions on the community list: replace, add, delete.
#include "segment_cases.h"

#include "community_edits.h"
#include "dirty_heap.h"
#include "ngmvpn/qel_ngmvpn.h"
#include "ngmvpn/qel_ngmvpn_segment_policy.h"

#include <algorithm>
#include <array>
#include <random>

namespace qel::test {
namespace {

constexpr std::array kActions{kReplace, kAdd, kDelete};
constexpr std::uint32_t kNoAction = 0x80013;

const Log kInput{"QEL_NGMVPN_ApplyExtCommunity, action input", "QEL_NGMVPN_ApplyExtCommunity, origi ext"};
const Log kWhole{kInput[0], kInput[1], "QEL_NGMVPN_ApplyExtCommunity, outPut ext"};

// --- one action -----------------------------------------------------------------------------------------------------

using Applied = Answer;
using Apply = decltype(&QEL_NGMVPN_ApplyExtCommunity);

// The list, in host order, and the value end where their heap blocks end and stand at odd addresses; neither changes.
Applied apply(Apply with, std::uint32_t action, const std::optional<Bytes> &list, const Bytes &value,
              QEL_FAMILY_CTX_S *ctx)
{
    const OddBytes held(list.value_or(Bytes{}));
    const OddBytes given(value);
    QEL_ROUTE_INFO_S route{};
    route.uiExtCommLen = held.size();
    route.pucExtComm = list ? held.data() : nullptr;
    Applied got = answer_of([&](auto result) { return with(&route, action, given.data(), given.size(), result, ctx); });
    EXPECT_EQ(held.bytes(), list.value_or(Bytes{}));
    EXPECT_EQ(given.bytes(), value);
    return got;
}

Applied apply(std::uint32_t action, std::string_view list, std::string_view value, QEL_FAMILY_CTX_S *ctx)
{
    return apply(QEL_NGMVPN_ApplyExtCommunity, action, route_list(list), bytes(value), ctx);
}

void expect_list(const Applied &got, const Bytes &list)
{
    EXPECT_EQ(got.code, 0U);
    ASSERT_TRUE(got.stored);
    EXPECT_EQ(got.asserts, 0U);
    EXPECT_EQ(got.log, kWhole);
    expect_attribute_block(got.block, 0, 16, hex(list));
}

void expect_no_value(const Applied &got)
{
    EXPECT_EQ(got.code, 0U);
    ASSERT_TRUE(got.block);
    EXPECT_EQ(hex(got.block.section(0, 32)), "0800000000100000" + std::string(48, '0'));
    EXPECT_EQ(got.asserts, 0U);
    EXPECT_EQ(got.log, kInput);
}

void expect_failed(const Applied &got, std::uint32_t code, const Log &log)
{
    EXPECT_EQ(got.code, code);
    EXPECT_FALSE(got.stored);
    EXPECT_EQ(got.asserts, 1U);
    EXPECT_EQ(got.log, log);
}

using Action = PolicyTest;

// --- replace --------------------------------------------------------------------------------------------------------

TEST_F(Action, ReplaceTakesTheNewRouteTargetsForTheOldOnesInOrder)
{
    expect_list(apply(kReplace, kRt1, kRt4 + kRt2, ctx_), host_list(kRt2 + kRt4));
    expect_list(apply(kReplace, kRt1 + kRt4 + kRtAs4, kRt2, ctx_), host_list(kRt2));
}

TEST_F(Action, ReplaceKeepsWhatIsNoRouteTarget)
{
    expect_list(apply(kReplace, kRt1 + kSourceAs + kRt4 + kSegmented, kRt2, ctx_),
                host_list(kRt2 + kSourceAs + kSegmented));
    expect_list(apply(kReplace, kSourceAs, kRt2, ctx_), host_list(kRt2 + kSourceAs));
}

TEST_F(Action, ReplaceOnARouteWithoutAListGivesTheActionsList)
{
    expect_list(apply(kReplace, "-", kRt1, ctx_), host_list(kRt1));
    expect_list(apply(kReplace, "", kRt1, ctx_), host_list(kRt1));
}

TEST_F(Action, ReplaceByNothingLeavesWhatIsNoRouteTarget)
{
    expect_list(apply(kReplace, kRt1 + kImport + kSourceAs, "", ctx_), host_list(kSourceAs + kImport));
}

TEST_F(Action, ReplaceOfRouteTargetsAloneByNothingGivesTheNoValueBlock)
{
    for (const std::string &list : {kRt1, kRt1 + kRt4 + kRtAs4, std::string(), std::string("-")}) {
        expect_no_value(apply(kReplace, list, "", ctx_));
    }
}

TEST_F(Action, ReplaceTakesAnyCommunityOfTheActionsList)
{
    expect_list(apply(kReplace, kRt1, kSourceAs + kSegmented, ctx_), host_list(kSourceAs + kSegmented));
    expect_list(apply(kReplace, kSourceAs + kRt1, kSourceAs + kRt1, ctx_), host_list(kRt1 + kSourceAs));
}

// --- add ------------------------------------------------------------------------------------------------------------

TEST_F(Action, AddKeepsTheWholeListOfTheRoute)
{
    expect_list(apply(kAdd, kSourceAs + kRt4, kRt1 + kRtAs4, ctx_), host_list(kRt1 + kRt4 + kRtAs4 + kSourceAs));
}

TEST_F(Action, AddOfACommunityThatTheRouteHasGivesItOnce)
{
    expect_list(apply(kAdd, kRt1 + kSourceAs, kRt1, ctx_), host_list(kRt1 + kSourceAs));
    expect_list(apply(kAdd, kRt1, kRt2 + kRt2 + kRt1, ctx_), host_list(kRt1 + kRt2));
}

TEST_F(Action, AddOnARouteWithoutAListGivesTheActionsListSorted)
{
    for (const std::string list : {"", "-"}) {
        expect_list(apply(kAdd, list, kRt4 + kRt1 + kRt1, ctx_), host_list(kRt1 + kRt4));
    }
}

TEST_F(Action, AddOfNothingIsReportedAndRefused)
{
    for (const std::string &list : {kRt1, std::string(), std::string("-")}) {
        const Applied got = apply(kAdd, list, "", ctx_);
        expect_failed(got, kNull, kInput);
        EXPECT_EQ(got.allocations, 0U);
    }
}

// --- delete ---------------------------------------------------------------------------------------------------------

TEST_F(Action, DeleteLeavesWhatIsNoRouteTargetAndIgnoresTheActionsList)
{
    for (const std::string &value : {std::string(), kRt1, kSourceAs + kRt4}) {
        expect_list(apply(kDelete, kSourceAs + kRt1, value, ctx_), host_list(kSourceAs));
        expect_list(apply(kDelete, kSegmented + kRt1 + kSourceAs + kRtAs4, value, ctx_),
                    host_list(kSourceAs + kSegmented));
        expect_list(apply(kDelete, kSourceAs, value, ctx_), host_list(kSourceAs));
    }
}

TEST_F(Action, DeleteThatLeavesNothingGivesTheNoValueBlock)
{
    for (const std::string &value : {std::string(), kRt1, kSourceAs}) {
        for (const std::string &list : {kRt1, kRt1 + kRt4 + kRtAs4, std::string(), std::string("-")}) {
            expect_no_value(apply(kDelete, list, value, ctx_));
        }
    }
}

// kept: a missing value is refused by the delete too, which reads none
TEST_F(Action, DeleteRefusesAMissingValueThatItWouldNotRead)
{
    QEL_ROUTE_INFO_S route{};
    QEL_ROUTE_BLOCK_S *result = nullptr;
    const platform::Recorder recorder;
    EXPECT_EQ(QEL_NGMVPN_ApplyExtCommunity(&route, kDelete, nullptr, 0, &result, ctx_), kNull);
    EXPECT_EQ(recorder.asserts().size(), 1U);
    EXPECT_TRUE(recorder.debugs().empty()) << "the arguments come before the log";
    EXPECT_EQ(result, nullptr);
}

// --- any other code -------------------------------------------------------------------------------------------------

TEST_F(Action, ACodeThatTheHandlerDoesNotKnowStoresNull)
{
    for (const std::uint32_t action : {0U, 5U, 8U, 36U, 37U, 38U, 61U, 86U, 88U, 0x106U, 0x10007U, 0xffffffffU}) {
        for (const std::string &value : {std::string(), kRt1}) {
            SCOPED_TRACE(action);
            const Applied got = apply(action, kRt1 + kSourceAs, value, ctx_);
            EXPECT_EQ(got.code, 0U);
            EXPECT_TRUE(got.stored);
            EXPECT_FALSE(got.block);
            EXPECT_EQ(got.asserts, 0U);
            EXPECT_EQ(got.log, kInput);
            EXPECT_EQ(got.allocations, 0U);
        }
    }
}

TEST_F(Action, OfAnUnknownCodeIsLoggedAndRefusedByTheOperation)
{
    const std::uint8_t value = 0;
    QEL_ROUTE_INFO_S route{};
    QEL_ROUTE_BLOCK_S untouched{};
    for (const std::uint32_t action : {0U, 5U, 8U, 36U, 38U, 60U, 62U, 86U, 88U, 0x106U, 0x10007U, 0xffffffffU}) {
        SCOPED_TRACE(action);
        QEL_ROUTE_BLOCK_S *result = &untouched;
        const platform::Recorder recorder;
        EXPECT_EQ(instance_.desc.pfApplyAction(&route, action, &value, 1, &result, ctx_), kNoAction);
        EXPECT_EQ(result, &untouched);
        EXPECT_TRUE(recorder.asserts().empty());
        EXPECT_EQ(log_of(recorder), Log{"Process ApplyAction, ApplyActionEntry or ApplyAction is NULL"});
    }
}

TEST_F(Action, IsReachedThroughTheDescriptorWithItsCode)
{
    const auto through = instance_.desc.pfApplyAction;
    const std::optional<Bytes> list = host_list(kRt1 + kSourceAs);
    const Bytes value = bytes(kRt2);
    expect_list(apply(through, kReplace, list, value, ctx_), host_list(kRt2 + kSourceAs));
    expect_list(apply(through, kAdd, list, value, ctx_), host_list(kRt1 + kRt2 + kSourceAs));
    expect_list(apply(through, kDelete, list, value, ctx_), host_list(kSourceAs));
}

TEST_F(Action, TableRowsInTheirOrder)
{
    const QEL_DISPATCH_ENTRY_S *const rows = g_astQelNgmvpnApplyActionTbl;
    ASSERT_GE(std::size(g_astQelNgmvpnApplyActionTbl), kActions.size());
    for (std::size_t i = 0; i < kActions.size(); ++i) {
        EXPECT_EQ(rows[i].uiType, kActions[i]);
        EXPECT_EQ(rows[i].pfApplyAction, QEL_NGMVPN_ApplyExtCommunity);
        EXPECT_EQ(QEL_NGMVPN_GetApplyActionEntry(kActions[i]), rows + i);
    }
    for (const std::uint32_t action : {0U, 5U, 8U, 60U, 62U, 88U, 0x106U, 0xffffffffU}) {
        EXPECT_EQ(QEL_NGMVPN_GetApplyActionEntry(action), nullptr) << action;
    }
}

TEST_F(Action, SegmentationIsTheLastOfTheFourRows)
{
    ASSERT_EQ(std::size(g_astQelNgmvpnApplyActionTbl), 4U);
    EXPECT_EQ(g_astQelNgmvpnApplyActionTbl[3].uiType, 61U);
    EXPECT_EQ(g_astQelNgmvpnApplyActionTbl[3].pfApplyAction, QEL_NGMVPN_ApplyAttrRplInfo);
}

TEST_F(Action, TheDescriptorListsTheFourCodes)
{
    ASSERT_EQ(instance_.desc.ucApplyActionCount, 4);
    const std::array<std::uint32_t, 4> codes{6, 7, 61, 87};
    EXPECT_TRUE(std::equal(codes.begin(), codes.end(), instance_.desc.auiApplyActionTypes));
}

TEST_F(Action, TheDescriptorHasABitForEachOfTheFourCodes)
{
    std::array<std::uint32_t, 4> words{};
    for (const std::uint32_t code : {6U, 7U, 61U, 87U}) {
        words[code / 32] |= 1U << code % 32;
    }
    EXPECT_TRUE(std::equal(words.begin(), words.end(), instance_.desc.auiActionTypeBits));
}

// No octet of it is read: together with the route's list it would have no length of 32 bits.
TEST_F(Action, AValueOfNearlyFourGigabytesIsLikeNoMemory)
{
    const Bytes list = route_list(kRt1).value_or(Bytes{});
    const OddBytes held(list);
    const OddBytes given(bytes(kRt2));
    QEL_ROUTE_INFO_S route{};
    route.pucExtComm = held.data();
    route.uiExtCommLen = held.size();
    for (const std::uint32_t action : kActions) {
        for (const std::uint32_t length : {0xffff0001U, 0xfffffff8U, 0xffffffffU}) {
            static QEL_ROUTE_BLOCK_S untouched{};
            QEL_ROUTE_BLOCK_S *result = &untouched;
            const std::uint64_t made = allocations();
            const platform::Recorder recorder;
            EXPECT_EQ(QEL_NGMVPN_ApplyExtCommunity(&route, action, given.data(), length, &result, ctx_), kOutOfMemory);
            EXPECT_EQ(result, &untouched);
            EXPECT_EQ(recorder.asserts().size(), 1U);
            EXPECT_EQ(allocations(), made);
        }
    }
}

TEST_F(Action, TheInputIsLoggedInTwoLinesOnceTheArgumentsAreThere)
{
    EXPECT_EQ(apply(kAdd, kRt1, "", ctx_).log, kInput);
}

TEST_F(Action, TheOutputIsLoggedBehindTheCleanUpAlone)
{
    EXPECT_EQ(apply(kAdd, kRt1, kRt2, ctx_).log, kWhole);
    EXPECT_EQ(apply(kDelete, kRt1, "", ctx_).log, kInput) << "no value";
    const LentBuffer lent(ctx_);
    const platform::FailAllocation failure(2); // the sort's scratch
    EXPECT_EQ(apply(kAdd, kRt1, kRt2, ctx_).log, kInput);
    EXPECT_TRUE(failure.fired());
}

TEST_F(Action, TheResultIsSortedAndWithoutRepeats)
{
    for (const std::uint32_t action : {kAdd, kReplace}) {
        expect_list(apply(action, "-", kSourceAs + kRt4 + kRt1 + kSourceAs, ctx_), host_list(kRt1 + kRt4 + kSourceAs));
    }
}

TEST_F(Action, TheBlockCarriesTheListInHostOrder)
{
    const Applied got = apply(kAdd, "-", kRt1, ctx_);
    ASSERT_TRUE(got.block);
    EXPECT_EQ(hex(got.block.section(32, 8)), "0200e9fd64000000");
}

TEST_F(Action, TheBlockIsAttribute16OfFlag0AndNothingElse)
{
    const Applied got = apply(kAdd, "-", kRt1 + kRt2, ctx_);
    ASSERT_TRUE(got.block);
    EXPECT_EQ(got.block->uiValidMask, 8U);
    EXPECT_EQ(got.block->ucAttrFlag, 0);
    EXPECT_EQ(got.block->ucAttrType, 16);
    EXPECT_EQ(got.block->usAttrLen, 16);
}

TEST_F(Action, TheNoValueBlockIs32OctetsThatNameAttribute16WithNothingInIt)
{
    dirty_the_heap(32);
    const std::uint64_t live = platform::usage(kMemHandle).live_bytes;
    const Applied got = apply(kDelete, kRt1, "", ctx_);
    EXPECT_EQ(platform::usage(kMemHandle).live_bytes, live + 32);
    expect_no_value(got);
}

// kept: no block and a block without value are two answers
TEST_F(Action, NothingBuiltAndNothingLeftAreToldApart)
{
    EXPECT_FALSE(apply(5, kRt1, kRt1, ctx_).block);
    EXPECT_TRUE(apply(kDelete, kRt1, kRt1, ctx_).block);
}

TEST_F(Action, DeleteForgetsTheCountOfTheActionsList)
{
    expect_list(apply(kDelete, kSourceAs, kRt1 + kRt2 + kRt4, ctx_), host_list(kSourceAs));
}

TEST_F(Action, ReplaceCountsTheRestOfTheRouteAndTheActionsList)
{
    expect_list(apply(kReplace, kRt1 + kSourceAs + kImport, kRt2 + kRt4, ctx_),
                host_list(kRt2 + kRt4 + kSourceAs + kImport));
}

TEST_F(Action, AddCountsTheRoutesListAndTheActionsList)
{
    expect_list(apply(kAdd, kRt1 + kSourceAs + kImport, kRt2 + kRt4, ctx_),
                host_list(kRt1 + kRt2 + kRt4 + kSourceAs + kImport));
}

// kept: the list that a delete drops is made all the same
TEST_F(Action, DeleteMakesTheActionsListThatItDrops)
{
    const LentBuffer lent(ctx_);
    EXPECT_EQ(apply(kDelete, kRt1 + kSourceAs, kRt2, ctx_).allocations, 5U)
        << "it, the rest, the new list, sort, block";
    EXPECT_EQ(apply(kDelete, kRt1 + kSourceAs, "", ctx_).allocations, 4U);
}

// A delete's value is given back first, so that the rest of the route takes the inline buffer.
TEST_F(Action, DeleteGivesTheActionsListBackBeforeItLooksAtTheRoute)
{
    EXPECT_EQ(apply(kDelete, kRt1 + kSourceAs, kRt2, ctx_).allocations, 2U) << "the new list and the block";
}

// The sort's scratch takes the inline buffer that the action's list had.
TEST_F(Action, TheActionsListIsGivenBackBeforeTheSort)
{
    EXPECT_EQ(apply(kAdd, kRt1, kRt2, ctx_).allocations, 2U) << "the new list and the block";
    EXPECT_EQ(apply(kReplace, kSourceAs, kRt2, ctx_).allocations, 3U) << "the rest of the route too";
}

TEST_F(Action, ALengthWithoutAListIsReportedAndTheWorkGoesOn)
{
    QEL_ROUTE_INFO_S route{};
    route.uiExtCommLen = 8;
    const Bytes value = bytes(kRt1);
    QEL_ROUTE_BLOCK_S *result = nullptr;
    const platform::Recorder recorder;
    EXPECT_EQ(QEL_NGMVPN_ApplyExtCommunity(&route, kAdd, value.data(), 8, &result, ctx_), 0U);
    const Block block(result);
    EXPECT_EQ(recorder.asserts().size(), 1U);
    ASSERT_TRUE(block);
    EXPECT_EQ(hex(block.section(32, 16)), hex(Bytes(8) + host_list(kRt1)));
}

TEST_F(Action, NullArgumentsAreRefusedWithOneReport)
{
    QEL_ROUTE_INFO_S route{};
    QEL_ROUTE_BLOCK_S untouched{};
    QEL_ROUTE_BLOCK_S *result = &untouched;
    const std::uint8_t value[8]{};
    for (const Apply with : {Apply{QEL_NGMVPN_ApplyExtCommunity}, Apply{instance_.desc.pfApplyAction}}) {
        for (const std::uint32_t action : {kReplace, kAdd, kDelete, 0U}) {
            expect_null_arguments_refused(4, [&](unsigned nulls) {
                return with(unless((nulls & 1) != 0, &route), action, unless((nulls & 2) != 0, value), 8,
                            unless((nulls & 4) != 0, &result), unless((nulls & 8) != 0, ctx_));
            });
        }
    }
    EXPECT_EQ(result, &untouched);
}

// --- lists of every kind against a model ----------------------------------------------------------------------------

List without_route_targets(List list)
{
    std::erase_if(list, [](const Bytes &element) { return element[0] == 2; });
    return list;
}

void expect_modelled(std::uint32_t action, const std::optional<Bytes> &list, const Bytes &value, QEL_FAMILY_CTX_S *ctx)
{
    const Applied got = apply(QEL_NGMVPN_ApplyExtCommunity, action, list, value, ctx);
    const List held = elements(list.value_or(Bytes{}));
    const List rest = without_route_targets(held);
    List want = action == kAdd ? held : rest;
    if (action == kAdd && value.empty()) {
        expect_failed(got, kNull, kInput);
        return;
    }
    if (rest.empty() && (action == kDelete || (action == kReplace && value.empty()))) {
        expect_no_value(got);
        return;
    }
    if (action != kDelete) {
        const List added = elements(host_list(value));
        want.insert(want.end(), added.begin(), added.end());
    }
    if (want.empty()) { // less than one element and nothing else: it counts as one, as it stands
        want.push_back(value + Bytes(8 - value.size()));
    }
    expect_list(got, cleaned(want));
}

std::vector<std::optional<Bytes>> lists_of_every_kind()
{
    std::vector<std::optional<Bytes>> out{std::nullopt};
    for (const std::string &wire :
         {std::string(), std::string("0002fd"), std::string("0002fde9000000"), kRt1, kRt2 + "0009fd", kRt4 + kRt1,
          kSourceAs, kSourceAs + kRtAs4, kRt1 + kSegmented + "0002fde9000000", kRt1 + kRt1 + kRt1,
          kImport + kSourceAs + kSourceAs, kSegmented + kImport + kSourceAs + kRtAs4 + kRt4 + kRt2 + kRt1,
          std::string("0302 01020304 0506") + kSourceAs, std::string("0200 01020304 0506")}) {
        out.push_back(host_list(wire));
    }
    return out;
}

TEST_F(Action, ValuesOfEveryLengthOnListsOfEveryKind)
{
    for (const std::string &wire : {kRt4 + kRt1 + kSourceAs, kSourceAs + kSourceAs + kRt2, kRt1 + kRt1 + kRt1}) {
        const Bytes value = bytes(wire);
        for (std::size_t length = 0; length <= value.size(); ++length) {
            for (const std::optional<Bytes> &list : lists_of_every_kind()) {
                for (const std::uint32_t action : kActions) {
                    SCOPED_TRACE(::testing::Message() << "action " << action << " length " << length << " list "
                                                      << (list ? hex(*list) : "none"));
                    expect_modelled(action, list, slice(value, 0, length), ctx_);
                }
            }
        }
    }
}

TEST_F(Action, TheSameWhileTheInlineBufferIsLent)
{
    const LentBuffer lent(ctx_);
    for (const std::string &value : {std::string(), kRt4.substr(0, 5), kRt4, kRt2 + kSourceAs + "000209"}) {
        for (const std::optional<Bytes> &list : lists_of_every_kind()) {
            for (const std::uint32_t action : kActions) {
                SCOPED_TRACE(action);
                dirty_the_heap(8);
                expect_modelled(action, list, bytes(value), ctx_);
            }
        }
    }
}

// kept: a value shorter than one element that stands alone counts as one, zeros behind it, in no order of its own
TEST_F(Action, AValueShorterThanOneElementThatStandsAloneCountsAsOne)
{
    for (const std::uint32_t action : {kReplace, kAdd}) {
        for (const std::string list : {"-", ""}) {
            expect_list(apply(action, list, "01", ctx_), bytes("0100000000000000"));
            expect_list(apply(action, list, "0002fde9000000", ctx_), bytes("0002fde900000000"));
        }
    }
    expect_list(apply(kReplace, kRt1, "0002fde9000000", ctx_), bytes("0002fde900000000"));
}

TEST_F(Action, AValueShorterThanOneElementIsIgnoredBesideOthers)
{
    expect_list(apply(kReplace, kRt1 + kSourceAs, "0002fde9000000", ctx_), host_list(kSourceAs));
    expect_list(apply(kAdd, kRt1, "0002fde9000000", ctx_), host_list(kRt1));
    expect_list(apply(kAdd, kRt1, kRt2 + "0002fde9000000", ctx_), host_list(kRt1 + kRt2));
}

TEST_F(Action, RandomListsBeyondTheInlineBuffer)
{
    std::mt19937 random(20260102);
    const auto any = [&](std::uint32_t below) { return static_cast<std::uint8_t>(random() % below); };
    const auto any_list = [&](std::size_t longest) {
        static constexpr std::array<std::uint8_t, 8> types{0, 1, 2, 3, 0x40, 0x80, 0x82, 0xff};
        static constexpr std::array<std::uint8_t, 7> sub_types{2, 2, 2, 9, 10, 11, 18};
        Bytes out;
        for (std::size_t left = random() % (longest + 1); left > 0; --left) {
            const Bytes head{types[any(types.size())], sub_types[any(sub_types.size())]};
            out = out + head + Bytes{any(2), 0, any(2), 0, any(3), any(2)};
        }
        return out + Bytes(random() % 3 == 0 ? random() % 8 : 0, 0x77);
    };
    for (int round = 0; round < 600; ++round) {
        const std::size_t longest = round % 3 == 0 ? 60 : 6;
        const std::optional<Bytes> list = round % 11 == 0 ? std::nullopt : std::optional(host_list(any_list(longest)));
        const Bytes value = any_list(longest);
        const std::uint32_t action = kActions[static_cast<std::size_t>(round) % 3];
        SCOPED_TRACE(::testing::Message() << "round " << round << " action " << action);
        expect_modelled(action, list, value, ctx_);
    }
}

// kept: the route's elements are counted in 16 bits
TEST_F(Action, TheElementsOfTheRouteAreCountedIn16Bits)
{
    const auto edit = [&](std::uint32_t action, const Bytes &list, const Bytes &value) {
        return apply(QEL_NGMVPN_ApplyExtCommunity, action, list, value, ctx_);
    };
    expect_route_elements_counted_in_16_bits(edit, expect_list, expect_no_value);
}

// kept: so are those of the action
TEST_F(Action, TheElementsOfTheActionAreCountedIn16Bits)
{
    Bytes value = bytes(kRt1);
    value.resize(0x80008);
    for (const std::uint32_t action : {kReplace, kAdd}) {
        expect_list(apply(QEL_NGMVPN_ApplyExtCommunity, action, std::nullopt, value, ctx_), host_list(kRt1));
    }
}

TEST_F(Action, AListWhoseLengthPasses16BitsStaysWithinItsBuffers)
{
    const auto edit = [&](std::uint32_t action, const Bytes &list, const Bytes &value) {
        return apply(QEL_NGMVPN_ApplyExtCommunity, action, list, value, ctx_);
    };
    expect_lists_beyond_16_bits_stay_within_their_buffers(edit, expect_list);
}

// --- every allocation fails once ------------------------------------------------------------------------------------

// Those that end with the no-value block too.
std::vector<FailureCase> all_failure_cases()
{
    std::vector<FailureCase> rows = failure_cases(kOutOfMemory, kNoMemory);
    const FailureCase no_value[] = {
        {"replace by nothing", kReplace, kRt1, "", false, {kNoMemory}, true},
        {"replace by nothing, lent", kReplace, kRt1, "", true, {kOutOfMemory, kNoMemory}, true},
        {"replace by nothing, no list", kReplace, "-", "", true, {kNoMemory}, true},
        {"delete of all", kDelete, kRt1, kRt2, false, {kNoMemory}, true},
        {"delete of all, lent", kDelete, kRt1, kRt2, true, {kOutOfMemory, kOutOfMemory, kNoMemory}, true},
        {"delete, no list", kDelete, "-", kRt2, false, {kNoMemory}, true},
        {"delete, no list, lent", kDelete, "-", kRt2, true, {kOutOfMemory, kNoMemory}, true},
    };
    rows.insert(rows.end(), std::begin(no_value), std::end(no_value));
    return rows;
}

void expect_failure(const FailureCase &row, std::size_t after, QEL_FAMILY_CTX_S *ctx)
{
    const LeakCheck leaks;
    const platform::FailAllocation failure(after);
    const Applied got = apply(row.action, row.list, row.value, ctx);
    EXPECT_TRUE(failure.fired());
    EXPECT_EQ(got.code, row.codes[after]);
    EXPECT_EQ(got.asserts, 1U);
    const bool last = after + 1 == row.codes.size();
    EXPECT_EQ(got.stored, row.no_value && last) << "the no-value block's failure stores null, all others nothing";
    EXPECT_FALSE(got.block);
    EXPECT_EQ(got.log, last && !row.no_value ? kWhole : kInput);
    EXPECT_EQ(ctx->uiInlineBufUsed, row.lent ? 1U : 0U);
}

TEST_F(Action, EveryAllocationFailsOnceAndNothingIsLeftBehind)
{
    for (const FailureCase &row : all_failure_cases()) {
        SCOPED_TRACE(row.name);
        const auto lent = lent_buffer_if<LentBuffer>(row.lent, ctx_);
        for (std::size_t after = 0; after < row.codes.size(); ++after) {
            SCOPED_TRACE(after);
            expect_failure(row, after, ctx_);
        }
        const platform::FailAllocation failure(row.codes.size());
        const Applied got = apply(row.action, row.list, row.value, ctx_);
        EXPECT_FALSE(failure.fired());
        EXPECT_EQ(got.code, 0U);
        EXPECT_EQ(got.allocations, row.codes.size());
        EXPECT_TRUE(got.block);
    }
}

TEST_F(Action, AWorkBufferThatCanNotBeHadGivesThreeAndLeavesTheResultAlone)
{
    const LentBuffer lent(ctx_);
    for (const std::uint32_t action : kActions) {
        for (const std::uint64_t after : {0U, 1U}) { // the action's list, then the next one
            SCOPED_TRACE(::testing::Message() << "action " << action << " after " << after);
            const LeakCheck leaks;
            const platform::FailAllocation failure(after);
            expect_failed(apply(action, kRt1 + kSourceAs, kRt2, ctx_), kOutOfMemory, kInput);
            EXPECT_TRUE(failure.fired());
        }
    }
}

TEST_F(Action, ANewListThatCanNotBeHadGivesBackWhatWasHeldBefore)
{
    const LentBuffer lent(ctx_);
    const std::uint64_t live = platform::usage(kMemHandle).live_bytes;
    for (const std::uint32_t action : {kReplace, kDelete}) {
        const platform::FailAllocation failure(2);
        EXPECT_EQ(apply(action, kRt1 + kSourceAs, kRt2, ctx_).code, kOutOfMemory);
        EXPECT_EQ(platform::usage(kMemHandle).live_bytes, live);
    }
}

TEST_F(Action, ASortWithoutScratchGivesItsOwnCodeAndTheNewListIsGivenBack)
{
    const LentBuffer lent(ctx_);
    const std::uint64_t live = platform::usage(kMemHandle).live_bytes;
    const platform::FailAllocation failure(2);
    expect_failed(apply(kAdd, kRt1, kRt2, ctx_), kNoMemory, kInput);
    EXPECT_EQ(platform::usage(kMemHandle).live_bytes, live);
}

TEST_F(Action, ABlockThatCanNotBeHadGivesItsCodeAndTheNewListIsGivenBack)
{
    const std::uint64_t live = platform::usage(kMemHandle).live_bytes;
    const platform::FailAllocation failure(1);
    expect_failed(apply(kAdd, kRt1, kRt2, ctx_), kNoMemory, kWhole);
    EXPECT_EQ(platform::usage(kMemHandle).live_bytes, live);
}

TEST_F(Action, ANoValueBlockThatCanNotBeHadIsReportedAndStoresNull)
{
    const platform::FailAllocation failure(0);
    const Applied got = apply(kDelete, kRt1, "", ctx_);
    EXPECT_EQ(got.code, kNoMemory);
    EXPECT_TRUE(got.stored);
    EXPECT_FALSE(got.block);
    EXPECT_EQ(got.asserts, 1U);
}

TEST_F(Action, ACodeThatTheHandlerDoesNotKnowStillNeedsTheActionsList)
{
    const LentBuffer lent(ctx_);
    const platform::FailAllocation failure(0);
    expect_failed(apply(5, kRt1, kRt2, ctx_), kOutOfMemory, kInput);
    EXPECT_TRUE(failure.fired());
}

// --- the steps ------------------------------------------------------------------------------------------------------

class ActionStep : public PolicyTest {
protected:
    void TearDown() override
    {
        QEL_NGMVPN_FreeTempValue(&mem_, ctx_);
        PolicyTest::TearDown();
        EXPECT_TRUE(recorder_.debugs().empty());
    }
    void expect_reports(std::size_t count)
    {
        EXPECT_EQ(recorder_.asserts().size(), count);
        recorder_.clear();
    }

    platform::Recorder recorder_;
    std::uint8_t *mem_ = nullptr;
};

TEST_F(ActionStep, TheActionsListOfNoLengthIsNoList)
{
    const std::uint8_t value = 0;
    const std::uint64_t made = allocations();
    EXPECT_EQ(QEL_NGMVPN_InitHostAction(0, &mem_, &value, ctx_), 0U);
    EXPECT_EQ(mem_, nullptr);
    EXPECT_EQ(ctx_->uiInlineBufUsed, 0U);
    EXPECT_EQ(allocations(), made);
    expect_reports(0);
}

TEST_F(ActionStep, TheActionsListTakesTheInlineBufferInHostOrder)
{
    const Bytes wire = bytes(kRt1 + kRt4 + "0009fde9000000");
    for (std::size_t length = 1; length <= wire.size(); ++length) {
        SCOPED_TRACE(length);
        const OddBytes value(slice(wire, 0, length));
        EXPECT_EQ(QEL_NGMVPN_InitHostAction(value.size(), &mem_, value.data(), ctx_), 0U);
        ASSERT_EQ(mem_, ctx_->aucInlineBuf);
        EXPECT_EQ(hex({mem_, length}), hex(host_list(value.bytes()))) << "a rest of an element stays as it was";
        EXPECT_EQ(value.bytes(), slice(wire, 0, length));
        QEL_NGMVPN_FreeTempValue(&mem_, ctx_);
    }
    expect_reports(0);
}

TEST_F(ActionStep, TheActionsListBeyondTheInlineBufferTakesTheHeap)
{
    const std::uint64_t live = platform::usage(kMemHandle).live_bytes;
    const OddBytes value(Bytes(264, 0x11));
    EXPECT_EQ(QEL_NGMVPN_InitHostAction(264, &mem_, value.data(), ctx_), 0U);
    EXPECT_NE(mem_, ctx_->aucInlineBuf);
    EXPECT_EQ(platform::usage(kMemHandle).live_bytes, live + 264);
    QEL_NGMVPN_FreeTempValue(&mem_, ctx_);
    {
        const platform::FailAllocation failure(0);
        EXPECT_EQ(QEL_NGMVPN_InitHostAction(264, &mem_, value.data(), ctx_), kOutOfMemory);
    }
    EXPECT_EQ(mem_, nullptr);
    expect_reports(1);
}

TEST_F(ActionStep, ARouteWithoutAWholeElementLeavesBothOutputsOfItsRestAlone)
{
    std::uint16_t used = 0x7777;
    for (std::uint32_t length = 0; length < 8; ++length) {
        const OddBytes list(Bytes(length, 2));
        EXPECT_EQ(QEL_NGMVPN_InitTempExtCommValue(list.data(), length, &mem_, &used, ctx_), 0U);
    }
    EXPECT_EQ(QEL_NGMVPN_InitTempExtCommValue(nullptr, 0, &mem_, &used, ctx_), 0U);
    EXPECT_EQ(mem_, nullptr);
    EXPECT_EQ(used, 0x7777);
    EXPECT_EQ(ctx_->uiInlineBufUsed, 0U);
    expect_reports(0);
}

TEST_F(ActionStep, TheRoutesRestIsClearedBehindWhatIsNoRouteTarget)
{
    std::memset(ctx_->aucInlineBuf, 0xa5, sizeof(ctx_->aucInlineBuf));
    std::uint16_t used = 0x7777;
    const OddBytes list(host_list(kRt1 + kImport + kRt4 + kSourceAs + "0009fd"));
    EXPECT_EQ(QEL_NGMVPN_InitTempExtCommValue(list.data(), list.size(), &mem_, &used, ctx_), 0U);
    ASSERT_EQ(mem_, ctx_->aucInlineBuf);
    EXPECT_EQ(used, 16);
    EXPECT_EQ(hex({mem_, list.size()}), hex(host_list(kImport + kSourceAs) + Bytes(19)));
    EXPECT_EQ(ctx_->aucInlineBuf[list.size()], 0xa5);
    expect_reports(0);
}

TEST_F(ActionStep, TheRoutesRestOfRouteTargetsAloneIsMadeAndEmpty)
{
    std::uint16_t used = 0x7777;
    const OddBytes list(host_list(kRt1 + kRt4));
    EXPECT_EQ(QEL_NGMVPN_InitTempExtCommValue(list.data(), list.size(), &mem_, &used, ctx_), 0U);
    ASSERT_NE(mem_, nullptr);
    EXPECT_EQ(used, 0);
    EXPECT_EQ(hex({mem_, 16}), hex(Bytes(16)));
    expect_reports(0);
}

TEST_F(ActionStep, TheRoutesRestHasTheLengthOfTheWholeList)
{
    void *lent = QEL_NGMVPN_Malloc(ctx_, 1);
    const std::uint64_t live = platform::usage(kMemHandle).live_bytes;
    std::uint16_t used = 0;
    const OddBytes list(host_list(kRt1 + kSourceAs + "0009fd"));
    EXPECT_EQ(QEL_NGMVPN_InitTempExtCommValue(list.data(), list.size(), &mem_, &used, ctx_), 0U);
    EXPECT_EQ(platform::usage(kMemHandle).live_bytes, live + 19);
    QEL_NGMVPN_FreeTempValue(&mem_, ctx_);
    {
        const platform::FailAllocation failure(0);
        EXPECT_EQ(QEL_NGMVPN_InitTempExtCommValue(list.data(), list.size(), &mem_, &used, ctx_), kOutOfMemory);
    }
    EXPECT_EQ(mem_, nullptr);
    expect_reports(1);
    QEL_NGMVPN_Free(&lent, ctx_);
}

// kept: the sub-type alone makes a route target, whatever the type
TEST_F(ActionStep, ARouteTargetIsAnyElementOfSubType2)
{
    Bytes list;
    std::string kept;
    for (std::uint32_t type = 0; type < 0x10000; ++type) {
        const Bytes element{
            static_cast<std::uint8_t>(type & 0xff), static_cast<std::uint8_t>(type >> 8), 2, 0, 2, 0, 2, 0};
        list.insert(list.end(), element.begin(), element.end());
        kept += (type & 0xff) == 2 ? "" : hex(element);
        if (list.size() == 0x1000) {
            const OddBytes from(list);
            OddBytes to(untouched(list.size()));
            std::uint16_t copied = 0x7777;
            QEL_NGMVPN_GetExtCommAttrExcludeRT(from.data(), 0x200, to.data(), &copied);
            ASSERT_EQ(copied, kept.size() / 2) << type;
            ASSERT_EQ(to.hex(), kept + hex(untouched(list.size() - copied))) << type;
            ASSERT_EQ(from.bytes(), list);
            list.clear();
            kept.clear();
        }
    }
    expect_reports(0);
}

TEST_F(ActionStep, OnlyTheCountedElementsAreLookedAt)
{
    const OddBytes from(host_list(kSourceAs + kRt1 + kImport));
    for (std::uint16_t count = 0; count <= 3; ++count) {
        OddBytes to(untouched(24));
        std::uint16_t copied = 0x7777;
        QEL_NGMVPN_GetExtCommAttrExcludeRT(from.data(), count, to.data(), &copied);
        const std::string want = (count > 0 ? kSourceAs : "") + (count > 2 ? kImport : "");
        EXPECT_EQ(copied, host_list(want).size());
        EXPECT_EQ(to.hex(), hex(host_list(want) + untouched(24U - copied)));
    }
    expect_reports(0);
}

TEST_F(ActionStep, TheResultBufferIsClear)
{
    std::memset(ctx_->aucInlineBuf, 0xa5, sizeof(ctx_->aucInlineBuf));
    EXPECT_EQ(QEL_NGMVPN_InitApplyExtComm(&mem_, 24, ctx_), 0U);
    ASSERT_EQ(mem_, ctx_->aucInlineBuf);
    EXPECT_EQ(hex({mem_, 24}), hex(Bytes(24)));
    EXPECT_EQ(mem_[24], 0xa5);
    std::uint8_t *second = nullptr;
    dirty_the_heap(24);
    EXPECT_EQ(QEL_NGMVPN_InitApplyExtComm(&second, 24, ctx_), 0U);
    ASSERT_NE(second, nullptr);
    EXPECT_EQ(hex({second, 24}), hex(Bytes(24)));
    QEL_NGMVPN_FreeTempValue(&second, ctx_);
    expect_reports(0);
    {
        const platform::FailAllocation failure(0);
        EXPECT_EQ(QEL_NGMVPN_InitApplyExtComm(&second, 24, ctx_), kOutOfMemory);
    }
    EXPECT_EQ(second, nullptr);
    expect_reports(1);
}

TEST_F(ActionStep, GivingBackABufferThatIsNullAlreadyIsQuiet)
{
    QEL_NGMVPN_FreeTempValue(&mem_, ctx_);
    EXPECT_EQ(mem_, nullptr);
    EXPECT_EQ(QEL_NGMVPN_InitApplyExtComm(&mem_, 8, ctx_), 0U);
    EXPECT_EQ(ctx_->uiInlineBufUsed, 1U);
    QEL_NGMVPN_FreeTempValue(&mem_, ctx_);
    EXPECT_EQ(mem_, nullptr);
    EXPECT_EQ(ctx_->uiInlineBufUsed, 0U);
    QEL_NGMVPN_FreeTempValue(&mem_, ctx_);
    expect_reports(0);
}

TEST_F(ActionStep, NullArgumentsAreRefusedWithOneReport)
{
    const Bytes octets(8, 9);
    std::uint16_t used = 0x7777;
    expect_null_arguments_refused(3, [&](unsigned nulls) {
        return QEL_NGMVPN_InitHostAction(8, unless((nulls & 1) != 0, &mem_), unless((nulls & 2) != 0, octets.data()),
                                         unless((nulls & 4) != 0, ctx_));
    });
    expect_null_arguments_refused(3, [&](unsigned nulls) {
        return QEL_NGMVPN_InitTempExtCommValue(octets.data(), 8, unless((nulls & 1) != 0, &mem_),
                                               unless((nulls & 2) != 0, &used), unless((nulls & 4) != 0, ctx_));
    });
    expect_null_arguments_refused(2, [&](unsigned nulls) {
        return QEL_NGMVPN_InitApplyExtComm(unless((nulls & 1) != 0, &mem_), 8, unless((nulls & 2) != 0, ctx_));
    });
    EXPECT_EQ(mem_, nullptr);
    Bytes out = untouched(8);
    expect_null_arguments_refused(3, [&](unsigned nulls) {
        QEL_NGMVPN_GetExtCommAttrExcludeRT(unless((nulls & 1) != 0, octets.data()), 1,
                                           unless((nulls & 2) != 0, out.data()), unless((nulls & 4) != 0, &used));
        return kNull; // this one only reports
    });
    EXPECT_EQ(out, untouched(8));
    EXPECT_EQ(used, 0x7777);
    QEL_NGMVPN_FreeTempValue(nullptr, ctx_);
    expect_reports(1);
}

} // namespace
} // namespace qel::test
