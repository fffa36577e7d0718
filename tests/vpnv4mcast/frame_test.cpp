// Frame of the VPNv4 multicast family: construction, the operations up to their handlers, scratch memory, the route
// counter, the label type.
#include "vpnv4mcast_cases.h"

#include "construct_contract.h"
#include "counter_contract.h"
#include "dispatch_contract.h"
#include "scratch_contract.h"

namespace qel::test {
namespace {

void describe_ha_messages(QEL_FAMILY_DESC_S &desc)
{
    put_list(desc.auiHaMsgTlvTypes, desc.ucHaMsgTlvCount, {1, 3, 5, 8, 6, 7});
}

struct Vpnv4Mcast : Vpnv4McastCalls {
    static constexpr auto kGetRouteType = QEL_VPNV4MCAST_GetRouteType;
    static constexpr auto kSetRtCount = QEL_VPNV4MCAST_SetRtCount;
    static constexpr auto kGetRtCount = QEL_VPNV4MCAST_GetRtCount;
    static constexpr std::uint32_t kRouteType = 10;
    static constexpr std::uint32_t kCtxLen = 264;
    static constexpr const char *kSource = "qel_vpnv4mcast.cpp";

    static void describe(QEL_FAMILY_DESC_S &desc)
    {
        describe_lists(desc);
        desc.pfParsePkt = QEL_VPNV4MCAST_ParsePkt;
        desc.pfFormatPkt = QEL_VPNV4MCAST_FormatPkt;
        desc.pfSetAttr = QEL_VPNV4MCAST_SetAttr;
        desc.pfParseMsg = QEL_VPNV4MCAST_ParseMsg;
        desc.pfFormatMsg = QEL_VPNV4MCAST_FormatMsg;
        desc.pfParseHaMsg = QEL_VPNV4MCAST_ParseHaMsg;
        desc.pfFormatHaMsg = QEL_VPNV4MCAST_FormatHaMsg;
        desc.pfParseAttrMsg = QEL_VPNV4MCAST_ParseAttrMsg;
        desc.pfFormatAttrMsg = QEL_VPNV4MCAST_FormatAttrMsg;
        desc.pfParseCfg = QEL_VPNV4MCAST_ParseCfg;
        desc.pfFormatCfg = QEL_VPNV4MCAST_FormatCfg;
        desc.pfConstructRtpEntry = QEL_VPNV4MCAST_ConstructRtpEntry;
        desc.pfParseAddAttrMsg = QEL_VPNV4MCAST_ParseAddAttrMsg;
        desc.pfGetRouteType = QEL_VPNV4MCAST_GetRouteType;
        desc.pfConstructMatch = QEL_VPNV4MCAST_ConstructMatch;
        desc.pfApplyAction = QEL_VPNV4MCAST_ApplyAction;
        desc.pfGetCross = QEL_VPNV4MCAST_GetCross;
        desc.pfGetExtCommunity = QEL_VPNV4MCAST_GetExtCommunity;
        desc.pfCmpData = QEL_VPNV4MCAST_CmpData;
        desc.pfData2Str = QEL_VPNV4MCAST_Data2Str;
        desc.pfSetRtCount = QEL_VPNV4MCAST_SetRtCount;
        desc.pfGetRtCount = QEL_VPNV4MCAST_GetRtCount;
        desc.pfGetLabelType = QEL_VPNV4MCAST_GetLabelType;
        desc.pfSpare30 = nullptr;
    }

    static Operations operations()
    {
        Operations all = shared_operations();
        // the family has no messages between components: the two operations check their arguments and answer 0
        find_operation(all, "ParseMsg").not_found = QEL_OK;
        find_operation(all, "FormatMsg").not_found = QEL_OK;
        return all;
    }

private:
    static void describe_lists(QEL_FAMILY_DESC_S &desc)
    {
        desc.uiAddrFamily = 0;
        desc.ucFamilyCode = 1;
        put_list(desc.auiPktAttrTypes, desc.ucPktAttrCount, {14, 15, 16, 256});
        desc.ucMsgTlvCount = 0;
        describe_ha_messages(desc);
        put_list(desc.auiAttrMsgTlvTypes, desc.ucAttrMsgTlvCount, {11, 21});
        desc.auiMatchTypeMask[0] = 0x814;
        desc.auiMatchTypeMask[1] = 0x814;
        desc.auiMatchTypeMask[2] = 0x14;
        put_community_actions(desc);
    }
};

INSTANTIATE_TYPED_TEST_SUITE_P(Vpnv4Mcast, ConstructContract, Vpnv4Mcast);
INSTANTIATE_TYPED_TEST_SUITE_P(Vpnv4Mcast, DispatchContract, Vpnv4Mcast);
INSTANTIATE_TYPED_TEST_SUITE_P(Vpnv4Mcast, ScratchContract, Vpnv4Mcast);
INSTANTIATE_TYPED_TEST_SUITE_P(Vpnv4Mcast, CounterContract, Vpnv4Mcast);

TEST(Vpnv4McastFrame, HaMessageStepWritesItsListAlone)
{
    QEL_FAMILY_DESC_S desc = filled_descriptor();
    QEL_FAMILY_DESC_S expected = filled_descriptor();
    QEL_VPNV4MCAST_ConstructHaMsgTlv(&desc);
    describe_ha_messages(expected);
    expect_descriptor(desc, expected);
}

TEST(Vpnv4McastFrame, NoLookupFindsATypeThatNoTableHas)
{
    expect_no_lookup_finds_an_unknown_type({
        QEL_VPNV4MCAST_GetData2StrEntry,
        QEL_VPNV4MCAST_GetCfgFormatEntry,
        QEL_VPNV4MCAST_GetCfgParseEntry,
        QEL_VPNV4MCAST_GetAttrMsgFormatEntry,
        QEL_VPNV4MCAST_GetAttrMsgParseEntry,
        QEL_VPNV4MCAST_GetHaiMsgFormatEntry,
        QEL_VPNV4MCAST_GetHaiMsgParseEntry,
        QEL_VPNV4MCAST_GetDataCmpEntry,
        QEL_VPNV4MCAST_GetPktFormatEntry,
        QEL_VPNV4MCAST_GetPktParseEntry,
        QEL_VPNV4MCAST_GetAttrSetEntry,
        QEL_VPNV4MCAST_GetApplyActionEntry,
    });
}

class Vpnv4McastStubs : public ::testing::Test {
protected:
    Instance instance_{QEL_VPNV4MCAST_Construct, QEL_VPNV4MCAST_Destruct, 1};
    platform::Recorder recorder_;
};

TEST_F(Vpnv4McastStubs, MessagesOfEveryTypeGiveZeroAndWriteNothing)
{
    EXPECT_EQ(instance_.desc.ucMsgTlvCount, 0U);
    for (const std::uint32_t type : {0U, 5U, 15U, 53U, 55U, 56U, 59U, 70U, 200U, 0xffffffffU}) {
        Call c(instance_.ctx, 0, type);
        EXPECT_EQ(instance_.desc.pfParseMsg(c.in.data(), 8, type, &c.result, instance_.ctx), QEL_OK);
        EXPECT_EQ(instance_.desc.pfParseMsg(c.in.data(), 0, type, &c.result, instance_.ctx), QEL_OK);
        EXPECT_EQ(instance_.desc.pfFormatMsg(&c.route, type, &c.out_cursor, 16, instance_.ctx), QEL_OK);
        EXPECT_EQ(instance_.desc.pfFormatMsg(&c.route, type, &c.out_cursor, 0, instance_.ctx), QEL_OK);
        c.expect_untouched();
    }
    EXPECT_TRUE(recorder_.asserts().empty());
}

TEST_F(Vpnv4McastStubs, ParseAddAttrMsgReadsNothing)
{
    for (const std::uint32_t type : {0U, 11U, 34U, 200U}) {
        Call c(instance_.ctx, 0, type);
        EXPECT_EQ(instance_.desc.pfParseAddAttrMsg(&c.route, c.in.data(), 8, type, &c.result, instance_.ctx), QEL_OK);
        EXPECT_EQ(instance_.desc.pfParseAddAttrMsg(nullptr, nullptr, 8, type, nullptr, nullptr), QEL_OK);
        c.expect_untouched();
    }
    EXPECT_TRUE(recorder_.asserts().empty());
}

TEST(Vpnv4McastFrame, LabelTypeIsTheSameForEveryRoute)
{
    const platform::Recorder recorder;
    const QEL_ROUTE_INFO_S route{};
    std::uint32_t type = 0xa5a5a5a5;
    std::uint32_t count = 0xa5a5a5a5;
    std::uint32_t third = 0xa5a5a5a5;
    EXPECT_EQ(QEL_VPNV4MCAST_GetLabelType(&route, &type, &count, &third), QEL_OK);
    EXPECT_EQ(type, 3U);
    EXPECT_EQ(count, 1U);
    EXPECT_EQ(third, 0U);
    EXPECT_TRUE(recorder.asserts().empty());
}

TEST(Vpnv4McastFrame, LabelTypeRefusesEachMissingArgumentWithOneReport)
{
    const QEL_ROUTE_INFO_S route{};
    for (unsigned nulls = 1; nulls < 16; ++nulls) {
        const platform::Recorder recorder;
        std::array<std::uint32_t, 3> words = {7, 8, 9};
        EXPECT_EQ(
            QEL_VPNV4MCAST_GetLabelType((nulls & 1) != 0 ? nullptr : &route, (nulls & 2) != 0 ? nullptr : &words[0],
                                        (nulls & 4) != 0 ? nullptr : &words[1], (nulls & 8) != 0 ? nullptr : &words[2]),
            QEL_ERR_NULL);
        EXPECT_EQ(recorder.asserts().size(), 1U);
        EXPECT_EQ(words, (std::array<std::uint32_t, 3>{7, 8, 9}));
    }
}

// --- what sets this family's descriptor apart -----------------------------------------------------------------------

using Vpnv4McastFamily = Vpnv4McastTest;

template <std::size_t kWords> std::vector<std::uint32_t> front(const std::uint32_t (&list)[kWords], std::size_t count)
{
    return {list, list + count};
}

using Words = std::vector<std::uint32_t>;

TEST_F(Vpnv4McastFamily, ItsCodeIsOne)
{
    EXPECT_EQ(desc_.ucFamilyCode, 1U);
}

TEST_F(Vpnv4McastFamily, ItNamesFourAttributesTheLabellessRouteAmongThem)
{
    EXPECT_EQ(desc_.ucPktAttrCount, 4U);
    EXPECT_EQ(front(desc_.auiPktAttrTypes, 4), (Words{14, 15, 16, 256}));
}

TEST_F(Vpnv4McastFamily, ItNamesNoMessageTypesAndFillsTheirOperationsAllTheSame)
{
    QEL_FAMILY_DESC_S desc = filled_descriptor();
    QEL_FAMILY_CTX_S *ctx = QEL_VPNV4MCAST_Construct(&desc, kMemHandle);
    EXPECT_EQ(desc.ucMsgTlvCount, 0U);
    EXPECT_EQ(desc.auiMsgTlvTypes[0], 0xa5a5a5a5U) << "no entry of the list is written";
    EXPECT_EQ(desc.pfParseMsg, QEL_VPNV4MCAST_ParseMsg);
    EXPECT_EQ(desc.pfFormatMsg, QEL_VPNV4MCAST_FormatMsg);
    QEL_VPNV4MCAST_Destruct(ctx);
}

// kept: an order of its own
TEST_F(Vpnv4McastFamily, ItsHighAvailabilityTypesStandInAnOrderOfTheirOwn)
{
    EXPECT_EQ(desc_.ucHaMsgTlvCount, 6U);
    EXPECT_EQ(front(desc_.auiHaMsgTlvTypes, 6), (Words{1, 3, 5, 8, 6, 7}));
}

TEST_F(Vpnv4McastFamily, ItNamesTwoAttributeMessagesAsThereIsNoNonKey)
{
    EXPECT_EQ(desc_.ucAttrMsgTlvCount, 2U);
    EXPECT_EQ(front(desc_.auiAttrMsgTlvTypes, 2), (Words{11, 21}));
    EXPECT_EQ(desc_.auiAttrMsgTlvTypes[2], 0U);
}

TEST_F(Vpnv4McastFamily, ItsThirdMatchMaskHasNoRd)
{
    EXPECT_EQ(front(desc_.auiMatchTypeMask, 6), (Words{0x814, 0x814, 0x14, 0, 0, 0}));
}

TEST_F(Vpnv4McastFamily, ItNamesSixActionsInBothListsAndAsBits)
{
    EXPECT_EQ(front(desc_.auiActionTypeBits, 4), (Words{0xc0, 0x70, 0x800000, 0}));
    EXPECT_EQ(desc_.ucPolicyActionCount, 6U);
    EXPECT_EQ(front(desc_.auiPolicyActionTypes, 6), (Words{6, 7, 36, 37, 38, 87}));
    EXPECT_EQ(desc_.ucApplyActionCount, 6U);
    EXPECT_EQ(front(desc_.auiApplyActionTypes, 6), (Words{6, 7, 36, 37, 38, 87}));
    for (const std::uint32_t action : front(desc_.auiApplyActionTypes, 6)) {
        EXPECT_NE(desc_.auiActionTypeBits[action / 32] & 1U << action % 32, 0U) << action;
    }
}

TEST_F(Vpnv4McastFamily, ItFillsTheLabelTypeOperation)
{
    EXPECT_EQ(desc_.pfGetLabelType, QEL_VPNV4MCAST_GetLabelType);
}

TEST_F(Vpnv4McastFamily, SlotsOfOtherFamiliesStayTheHostsAndSlot30IsCleared)
{
    QEL_FAMILY_DESC_S desc = filled_descriptor();
    const Slots before = slots_of(desc);
    QEL_FAMILY_CTX_S *ctx = QEL_VPNV4MCAST_Construct(&desc, kMemHandle);
    const Slots slots = slots_of(desc);
    for (const std::size_t slot : std::initializer_list<std::size_t>{3,  15, 17, 25, 27, 28, 29, 31, 32, 33, 34,
                                                                     35, 36, 37, 38, 39, 40, 41, 42, 43, 44}) {
        EXPECT_EQ(slots[slot], before[slot]) << slot;
    }
    EXPECT_EQ(slots[30], 0U);
    QEL_VPNV4MCAST_Destruct(ctx);
}

TEST_F(Vpnv4McastFamily, TheFirstWordIsClearedWhateverTheHostPassed)
{
    for (const std::uint32_t family : {0U, 1U, 2U, 0xffffffffU}) {
        QEL_FAMILY_DESC_S desc{};
        desc.uiAddrFamily = family;
        QEL_FAMILY_CTX_S *ctx = QEL_VPNV4MCAST_Construct(&desc, kMemHandle);
        EXPECT_EQ(desc.uiAddrFamily, 0U);
        QEL_VPNV4MCAST_Destruct(ctx);
    }
}

TEST_F(Vpnv4McastFamily, TheContextEndsBehindTheInlineBufferAndIsCleared)
{
    dirty_the_heap(264);
    const platform::HandleUsage before = platform::usage(kMemHandle);
    QEL_FAMILY_DESC_S desc{};
    QEL_FAMILY_CTX_S *ctx = QEL_VPNV4MCAST_Construct(&desc, kMemHandle);
    EXPECT_EQ(platform::usage(kMemHandle).live_bytes, before.live_bytes + 264);
    EXPECT_EQ(platform::usage(kMemHandle).allocations, before.allocations + 1);
    EXPECT_EQ(ctx->uiMemHandle, kMemHandle);
    EXPECT_EQ(ctx->uiInlineBufUsed, 0U);
    EXPECT_EQ(Bytes(ctx->aucInlineBuf, ctx->aucInlineBuf + 256), Bytes(256));
    QEL_VPNV4MCAST_Destruct(ctx);
    EXPECT_EQ(platform::usage(kMemHandle).live_bytes, before.live_bytes);
}

TEST_F(Vpnv4McastFamily, ConstructionRefusesAMissingArgumentWithOneReport)
{
    QEL_FAMILY_DESC_S desc = filled_descriptor();
    const QEL_FAMILY_DESC_S before = filled_descriptor();
    expect_null_arguments_refused(
        2, kFrameSource,
        [&](unsigned nulls) {
            return QEL_VPNV4MCAST_Construct(unless(nulls, 0, &desc), (nulls & 2U) != 0 ? 0 : kMemHandle) == nullptr
                       ? 0U
                       : 1U;
        },
        0);
    EXPECT_EQ(std::memcmp(&desc, &before, sizeof(desc)), 0);
}

TEST_F(Vpnv4McastFamily, ConstructionWithoutMemoryIsReportedAndLeavesTheDescriptor)
{
    QEL_FAMILY_DESC_S desc = filled_descriptor();
    const QEL_FAMILY_DESC_S before = filled_descriptor();
    const platform::Recorder recorder;
    const platform::FailAllocation failure(0);
    EXPECT_EQ(QEL_VPNV4MCAST_Construct(&desc, kMemHandle), nullptr);
    EXPECT_EQ(recorder.asserts().size(), 1U);
    EXPECT_EQ(std::memcmp(&desc, &before, sizeof(desc)), 0);
}

TEST_F(Vpnv4McastFamily, TheEndOfNoInstanceIsReportedAndNothingElse)
{
    const platform::Recorder recorder;
    QEL_VPNV4MCAST_Destruct(nullptr);
    EXPECT_EQ(recorder.asserts().size(), 1U);
}

// --- the route type and the counter ---------------------------------------------------------------------------------

// kept: the argument is not looked at
TEST_F(Vpnv4McastFamily, ItsRouteTypeIsTenWithoutALookAtTheRoute)
{
    const Held held(whole_route());
    const platform::Recorder recorder;
    for (const QEL_ROUTE_INFO_S *route : {&held.info, static_cast<const QEL_ROUTE_INFO_S *>(nullptr)}) {
        std::uint32_t type = kUnwritten;
        EXPECT_EQ(desc_.pfGetRouteType(route, &type), 0U);
        EXPECT_EQ(type, 10U);
    }
    EXPECT_TRUE(recorder.asserts().empty());
}

TEST_F(Vpnv4McastFamily, OneCounterGrowsAndShrinksWithoutABound)
{
    const Held held(whole_route());
    std::array<std::uint32_t, 2> counts{5, 77};
    EXPECT_EQ(desc_.pfSetRtCount(&held.info, counts.data(), 0, 1, 3), 0U);
    EXPECT_EQ(counts[0], 8U);
    EXPECT_EQ(desc_.pfSetRtCount(&held.info, counts.data(), 99, 0x100, 1), 0U);
    EXPECT_EQ(counts[0], 9U);
    EXPECT_EQ(desc_.pfSetRtCount(&held.info, counts.data(), 0, 0, 10), 0U);
    EXPECT_EQ(counts[0], 0xffffffffU);
    EXPECT_EQ(counts[1], 77U);
}

TEST_F(Vpnv4McastFamily, ARouteWithoutAKeyIsNotCountedAndNotReported)
{
    const Held keyless({.rd = bytes(kRdMem)});
    const platform::Recorder recorder;
    std::uint32_t count = 5;
    for (const QEL_ROUTE_INFO_S *route : {&keyless.info, static_cast<const QEL_ROUTE_INFO_S *>(nullptr)}) {
        EXPECT_EQ(desc_.pfSetRtCount(route, &count, 1, 1, 3), kBadArgument);
        EXPECT_EQ(count, 5U);
    }
    EXPECT_TRUE(recorder.asserts().empty());
}

// kept: neither the number of counters nor the type is looked at
TEST_F(Vpnv4McastFamily, TheOneCounterAnswersForEveryType)
{
    const std::array<std::uint32_t, 2> counts{5, 77};
    for (const std::uint32_t type : {0U, 1U, 10U, 0xffffffffU}) {
        std::uint32_t count = kUnwritten;
        EXPECT_EQ(desc_.pfGetRtCount(counts.data(), 0, type, &count), 0U);
        EXPECT_EQ(count, 5U);
    }
}

// --- scratch --------------------------------------------------------------------------------------------------------

TEST_F(Vpnv4McastFamily, ScratchOfUpTo256OctetsIsTheInlineBuffer)
{
    for (const std::uint32_t size : {1U, 255U, 256U, 257U}) {
        void *scratch = QEL_VPNV4MCAST_Malloc(ctx_, size);
        EXPECT_EQ(scratch == ctx_->aucInlineBuf, size <= 256) << size;
        EXPECT_EQ(ctx_->uiInlineBufUsed, size <= 256 ? 1U : 0U);
        QEL_VPNV4MCAST_Free(&scratch, ctx_);
        EXPECT_EQ(scratch, nullptr);
        EXPECT_EQ(ctx_->uiInlineBufUsed, 0U);
    }
}

TEST_F(Vpnv4McastFamily, TheInlineBufferIsLentOnceAtATime)
{
    const LentBuffer lent(ctx_);
    const std::uint64_t live = platform::usage(kMemHandle).live_blocks;
    void *scratch = QEL_VPNV4MCAST_Malloc(ctx_, 8);
    EXPECT_NE(scratch, ctx_->aucInlineBuf);
    EXPECT_EQ(platform::usage(kMemHandle).live_blocks, live + 1);
    QEL_VPNV4MCAST_Free(&scratch, ctx_);
    EXPECT_EQ(platform::usage(kMemHandle).live_blocks, live);
}

TEST_F(Vpnv4McastFamily, ScratchOfNoOctetsIsNoneWithoutAReport)
{
    const platform::Recorder recorder;
    EXPECT_EQ(QEL_VPNV4MCAST_Malloc(ctx_, 0), nullptr);
    EXPECT_TRUE(recorder.asserts().empty());
    EXPECT_EQ(QEL_VPNV4MCAST_Malloc(nullptr, 0), nullptr);
    EXPECT_EQ(recorder.asserts().size(), 1U);
}

TEST_F(Vpnv4McastFamily, TheInlineBufferGivenBackTwiceIsReported)
{
    const platform::Recorder recorder;
    void *scratch = ctx_->aucInlineBuf;
    QEL_VPNV4MCAST_Free(&scratch, ctx_);
    EXPECT_EQ(recorder.asserts().size(), 1U);
    EXPECT_EQ(scratch, nullptr);
    EXPECT_EQ(ctx_->uiInlineBufUsed, 0U);
    QEL_VPNV4MCAST_Free(&scratch, ctx_); // nothing to give back
    EXPECT_EQ(recorder.asserts().size(), 2U);
}

// --- the operations -------------------------------------------------------------------------------------------------

TEST_F(Vpnv4McastFamily, PacketsHaAndAttributeMessagesAreWrittenWithoutAContext)
{
    Held held(whole_route());
    const auto code = [&](auto operation) { return write_into(30, operation); };
    expect_not_written(code([&](auto at) { return desc_.pfFormatPkt(&held.info, 22, at, 30, nullptr); }), kNoEntry);
    expect_not_written(code([&](auto at) { return desc_.pfFormatHaMsg(&held.info, 22, at, 30, nullptr); }), kNoEntry);
    expect_not_written(code([&](auto at) { return desc_.pfFormatAttrMsg(&held.info, 22, at, 30, nullptr); }), kNoEntry);
    expect_not_written(code([&](auto at) { return desc_.pfFormatMsg(&held.info, 22, at, 30, nullptr); }), kNull, 1);
}

// kept: the two checks are one, and of several missing arguments the first is reported alone
TEST_F(Vpnv4McastFamily, PacketsWithoutRouteAndCursorAreReportedOnce)
{
    Held held(whole_route());
    expect_null_arguments_refused(2, kFrameSource, [&](unsigned nulls) {
        std::uint8_t octet = 0;
        std::uint8_t *cursor = &octet;
        return desc_.pfFormatPkt(unless(nulls, 0, &held.info), 14, unless(nulls, 1, &cursor), 1, ctx_);
    });
}

// kept: the message operations do nothing but look at their arguments
TEST_F(Vpnv4McastFamily, MessagesOfNoTypeStillNeedTheirArguments)
{
    Held held(whole_route());
    const Bytes value(16);
    expect_null_arguments_refused(3, kFrameSource, [&](unsigned nulls) {
        QEL_ROUTE_BLOCK_S *result = block_marker();
        return desc_.pfParseMsg(unless(nulls, 0, value.data()), 16, 1, unless(nulls, 1, &result),
                                unless(nulls, 2, ctx_));
    });
    expect_null_arguments_refused(3, kFrameSource, [&](unsigned nulls) {
        std::array<std::uint8_t, 16> out{};
        std::uint8_t *cursor = out.data();
        return desc_.pfFormatMsg(unless(nulls, 0, &held.info), 1, unless(nulls, 1, &cursor), 16,
                                 unless(nulls, 2, ctx_));
    });
}

TEST_F(Vpnv4McastFamily, ReadersRefuseMissingArgumentsAheadOfTypeAndLength)
{
    const Bytes value(16);
    for (const std::uint32_t length : {0U, 16U}) {
        expect_null_arguments_refused(4, kFrameSource, [&](unsigned nulls) {
            const std::uint8_t *cursor = value.data();
            QEL_ROUTE_BLOCK_S *result = block_marker();
            std::uint32_t more = 0;
            return desc_.pfParsePkt(unless(nulls, 0, &cursor), length, 0, 200, unless(nulls, 1, &result),
                                    unless(nulls, 2, &more), unless(nulls, 3, ctx_));
        });
        for (const QEL_PARSE_TLV_F reader : {desc_.pfParseHaMsg, desc_.pfParseAttrMsg, desc_.pfParseCfg}) {
            expect_null_arguments_refused(3, kFrameSource, [&](unsigned nulls) {
                QEL_ROUTE_BLOCK_S *result = block_marker();
                return reader(unless(nulls, 0, value.data()), length, 200, unless(nulls, 1, &result),
                              unless(nulls, 2, ctx_));
            });
        }
    }
}

TEST_F(Vpnv4McastFamily, WritersRefuseMissingArgumentsAheadOfTheType)
{
    const Held held(whole_route());
    std::array<std::uint8_t, 16> out{};
    std::array<char, 16> text{};
    std::uint32_t index = 0;
    std::uint32_t more = 0;
    for (const QEL_FORMAT_TLV_F writer : {desc_.pfFormatHaMsg, desc_.pfFormatAttrMsg}) {
        expect_null_arguments_refused(2, kFrameSource, [&](unsigned nulls) {
            std::uint8_t *cursor = out.data();
            return writer(unless(nulls, 0, &held.info), 200, unless(nulls, 1, &cursor), 16, ctx_);
        });
    }
    expect_null_arguments_refused(4, kFrameSource, [&](unsigned nulls) {
        std::uint8_t *cursor = out.data();
        return desc_.pfFormatCfg(unless(nulls, 0, &held.info), 200, unless(nulls, 1, &cursor), 16,
                                 unless(nulls, 2, &index), unless(nulls, 3, &more));
    });
    expect_null_arguments_refused(5, kFrameSource, [&](unsigned nulls) {
        return desc_.pfData2Str(unless(nulls, 0, &held.info), 200, unless(nulls, 1, text.data()), 16,
                                unless(nulls, 2, &index), unless(nulls, 3, &more), unless(nulls, 4, ctx_));
    });
}

TEST_F(Vpnv4McastFamily, EachOperationHasItsOwnCodeForATypeThatItDoesNotKnow)
{
    Held held(whole_route());
    const Trusted value(Bytes(16));
    std::uint32_t index = 0;
    std::uint32_t more = 0;
    std::array<char, 16> text{};
    const auto made = [&](auto call) { return make(call).code; };
    const auto written = [&](auto call) { return write_into(30, call).code; };
    const auto *cursor = value.data();
    EXPECT_EQ(made([&](auto to) { return desc_.pfParsePkt(&cursor, 16, 0, 22, to, &more, ctx_); }), 0U);
    EXPECT_EQ(made([&](auto to) { return desc_.pfParseHaMsg(value.data(), 16, 22, to, ctx_); }), kNoEntry);
    EXPECT_EQ(made([&](auto to) { return desc_.pfParseAttrMsg(value.data(), 16, 34, to, ctx_); }), kNoEntry);
    EXPECT_EQ(made([&](auto to) { return desc_.pfParseCfg(value.data(), 16, 22, to, ctx_); }), kNoEntry);
    EXPECT_EQ(made([&](auto to) { return desc_.pfSetAttr(&held.info, 22, 0, to, ctx_); }), kNoEntry);
    EXPECT_EQ(made([&](auto to) { return desc_.pfApplyAction(&held.info, 61, value.data(), 8, to, ctx_); }), kNoAction);
    EXPECT_EQ(written([&](auto at) { return desc_.pfFormatPkt(&held.info, 22, at, 30, ctx_); }), kNoEntry);
    EXPECT_EQ(written([&](auto at) { return desc_.pfFormatHaMsg(&held.info, 22, at, 30, ctx_); }), kNoEntry);
    EXPECT_EQ(written([&](auto at) { return desc_.pfFormatAttrMsg(&held.info, 22, at, 30, ctx_); }), kNoEntry);
    EXPECT_EQ(written([&](auto at) { return desc_.pfFormatCfg(&held.info, 22, at, 30, &index, &more); }), kNoEntry);
    EXPECT_EQ(desc_.pfData2Str(&held.info, 8, text.data(), 16, &index, &more, ctx_), kNoText);
    EXPECT_EQ(desc_.pfCmpData(value.data(), 8, value.data(), 8, 4), -2);
}

} // namespace
} // namespace qel::test
