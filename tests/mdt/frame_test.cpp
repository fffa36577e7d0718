// Frame of the MDT family: construction, the operations up to their handlers, scratch memory, the route counter.
#include "mdt_cases.h"

#include "construct_contract.h"
#include "counter_contract.h"
#include "dispatch_contract.h"
#include "scratch_contract.h"

#include <array>
#include <vector>

namespace qel::test {
namespace {

struct Mdt : MdtCalls {
    static constexpr auto kGetRouteType = QEL_MDT_GetRouteType;
    static constexpr auto kSetRtCount = QEL_MDT_SetRtCount;
    static constexpr auto kGetRtCount = QEL_MDT_GetRtCount;
    static constexpr std::uint32_t kRouteType = 11;
    static constexpr std::uint32_t kCtxLen = 264;
    static constexpr const char *kSource = "qel_mdt.cpp";

    static void describe(QEL_FAMILY_DESC_S &desc)
    {
        describe_lists(desc);
        desc.pfParsePkt = QEL_MDT_ParsePkt;
        desc.pfFormatPkt = QEL_MDT_FormatPkt;
        desc.pfSetAttr = QEL_MDT_SetAttr;
        desc.pfParseMsg = QEL_MDT_ParseMsg;
        desc.pfFormatMsg = QEL_MDT_FormatMsg;
        desc.pfParseHaMsg = QEL_MDT_ParseHaMsg;
        desc.pfFormatHaMsg = QEL_MDT_FormatHaMsg;
        desc.pfParseAttrMsg = QEL_MDT_ParseAttrMsg;
        desc.pfFormatAttrMsg = QEL_MDT_FormatAttrMsg;
        desc.pfParseCfg = QEL_MDT_ParseCfg;
        desc.pfFormatCfg = QEL_MDT_FormatCfg;
        desc.pfConstructRtpEntry = QEL_MDT_ConstructRtpEntry;
        desc.pfParseAddAttrMsg = QEL_MDT_ParseAddAttrMsg;
        desc.pfGetRouteType = QEL_MDT_GetRouteType;
        desc.pfConstructMatch = QEL_MDT_ConstructMatch;
        desc.pfApplyAction = QEL_MDT_ApplyAction;
        desc.pfGetCross = QEL_MDT_GetCross;
        desc.pfGetExtCommunity = QEL_MDT_GetExtCommunity;
        desc.pfCmpData = QEL_MDT_CmpData;
        desc.pfData2Str = QEL_MDT_Data2Str;
        desc.pfSetRtCount = QEL_MDT_SetRtCount;
        desc.pfGetRtCount = QEL_MDT_GetRtCount;
        desc.pfSpare30 = nullptr;
    }

    static Operations operations()
    {
        Operations all = shared_operations();
        all.push_back(parse_add_attr_msg());
        return all;
    }

private:
    static void describe_lists(QEL_FAMILY_DESC_S &desc)
    {
        desc.uiAddrFamily = 0;
        desc.ucFamilyCode = 1;
        put_list(desc.auiPktAttrTypes, desc.ucPktAttrCount, {14, 15, 16});
        // kept: 70 stands twice and 71 is left out, although a message of type 71 is read
        put_list(desc.auiMsgTlvTypes, desc.ucMsgTlvCount, {53, 55, 59, 61, 56, 57, 5, 15, 18, 20, 19, 21, 70, 70});
        put_list(desc.auiHaMsgTlvTypes, desc.ucHaMsgTlvCount, {3, 5, 1, 8, 6, 7});
        put_list(desc.auiAttrMsgTlvTypes, desc.ucAttrMsgTlvCount, {11, 21, 34});
        desc.auiMatchTypeMask[0] = 0x80804;
        desc.auiMatchTypeMask[1] = 0x80804;
        desc.auiMatchTypeMask[2] = 0x80004;
        put_community_actions(desc);
    }
};

INSTANTIATE_TYPED_TEST_SUITE_P(Mdt, ConstructContract, Mdt);
INSTANTIATE_TYPED_TEST_SUITE_P(Mdt, DispatchContract, Mdt);
INSTANTIATE_TYPED_TEST_SUITE_P(Mdt, ScratchContract, Mdt);
INSTANTIATE_TYPED_TEST_SUITE_P(Mdt, CounterContract, Mdt);

TEST(MdtFrame, ListOfMessagesNames70TwiceAndNot71)
{
    const Instance instance(QEL_MDT_Construct, QEL_MDT_Destruct, 1);
    EXPECT_EQ(instance.desc.ucMsgTlvCount, 14U);
    EXPECT_EQ(instance.desc.auiMsgTlvTypes[12], 70U);
    EXPECT_EQ(instance.desc.auiMsgTlvTypes[13], 70U);
}

TEST(MdtFrame, ListOfAttributesNames14To16)
{
    const Instance instance(QEL_MDT_Construct, QEL_MDT_Destruct, 1);
    EXPECT_EQ(std::vector(instance.desc.auiPktAttrTypes, instance.desc.auiPktAttrTypes + instance.desc.ucPktAttrCount),
              (std::vector<std::uint32_t>{14, 15, 16}));
}

// kept: the third mask of match types has no RD
TEST(MdtFrame, TheThirdMatchMaskHasNoRdBit)
{
    const Instance instance(QEL_MDT_Construct, QEL_MDT_Destruct, 1);
    EXPECT_EQ(instance.desc.auiMatchTypeMask[0], 0x80804U);
    EXPECT_EQ(instance.desc.auiMatchTypeMask[1], 0x80804U);
    EXPECT_EQ(instance.desc.auiMatchTypeMask[2], 0x80004U);
}

TEST(MdtFrame, BothActionListsAndTheActionBitsNameTheSixCodes)
{
    const Instance instance(QEL_MDT_Construct, QEL_MDT_Destruct, 1);
    const QEL_FAMILY_DESC_S &desc = instance.desc;
    const std::vector<std::uint32_t> codes{6, 7, 36, 37, 38, 87};
    EXPECT_EQ(std::vector(desc.auiPolicyActionTypes, desc.auiPolicyActionTypes + desc.ucPolicyActionCount), codes);
    EXPECT_EQ(std::vector(desc.auiApplyActionTypes, desc.auiApplyActionTypes + desc.ucApplyActionCount), codes);
    std::vector<std::uint32_t> marked;
    for (std::uint32_t type = 0; type < 128; ++type) {
        if ((desc.auiActionTypeBits[type / 32] >> (type % 32) & 1U) != 0) {
            marked.push_back(type);
        }
    }
    EXPECT_EQ(marked, codes);
}

TEST(MdtFrame, TheRouteTypeIsElevenWithoutALookAtTheRoute)
{
    for (const std::uint32_t before : {0U, 10U, 0xffffffffU}) {
        std::uint32_t type = before;
        EXPECT_EQ(QEL_MDT_GetRouteType(nullptr, &type), 0U);
        EXPECT_EQ(type, 11U);
    }
}

struct CountedRoute {
    std::array<std::uint8_t, 8> key{};
    QEL_ROUTE_INFO_S info;
    CountedRoute()
    {
        std::memset(&info, 0, sizeof(info));
        info.pucKey = key.data();
        info.uiKeyLen = 8;
    }
};

TEST(MdtFrame, TheCounterGrowsWithTheFlagAndShrinksWithoutIt)
{
    const CountedRoute route;
    std::uint32_t count = 5;
    for (const std::uint32_t flag : {1U, 2U, 0x80000000U}) {
        EXPECT_EQ(QEL_MDT_SetRtCount(&route.info, &count, 1, flag, 3), 0U);
    }
    EXPECT_EQ(count, 14U);
    EXPECT_EQ(QEL_MDT_SetRtCount(&route.info, &count, 1, 0, 4), 0U);
    EXPECT_EQ(count, 10U);
}

// kept: nothing keeps the counter from going below zero
TEST(MdtFrame, TheCounterWrapsIn32Bits)
{
    const CountedRoute route;
    std::uint32_t count = 1;
    EXPECT_EQ(QEL_MDT_SetRtCount(&route.info, &count, 1, 0, 3), 0U);
    EXPECT_EQ(count, 0xfffffffeU);
}

// kept: there is one counter, however many the host says there are and whatever type it asks for
TEST(MdtFrame, TheNumberOfCountersAndTheTypeAreNotLookedAt)
{
    const CountedRoute route;
    for (const std::uint32_t number : {0U, 1U, 9U, 0xffffffffU}) {
        std::uint32_t count[2] = {7, 70};
        EXPECT_EQ(QEL_MDT_SetRtCount(&route.info, count, number, 1, 2), 0U);
        EXPECT_EQ(count[0], 9U);
        EXPECT_EQ(count[1], 70U);
        for (const std::uint32_t type : {0U, 1U, 11U, 0xffffffffU}) {
            std::uint32_t told = 0;
            EXPECT_EQ(QEL_MDT_GetRtCount(count, number, type, &told), 0U);
            EXPECT_EQ(told, 9U);
        }
    }
}

TEST(MdtFrame, ARouteWithoutAKeyIsNotCountedAndNotReported)
{
    const platform::Recorder recorder;
    CountedRoute route;
    route.info.pucKey = nullptr;
    std::uint32_t count = 7;
    for (const std::uint32_t flag : {0U, 1U}) {
        EXPECT_EQ(QEL_MDT_SetRtCount(nullptr, &count, 1, flag, 2), 2U);
        EXPECT_EQ(QEL_MDT_SetRtCount(&route.info, &count, 1, flag, 2), 2U);
    }
    EXPECT_EQ(count, 7U);
    EXPECT_TRUE(recorder.asserts().empty());
}

TEST(MdtFrame, TheInlineBufferServesOneRequestOfUpTo256BytesAtATime)
{
    const LeakCheck leaks;
    const Instance instance(QEL_MDT_Construct, QEL_MDT_Destruct, 1);
    void *longer = QEL_MDT_Malloc(instance.ctx, 257);
    EXPECT_NE(longer, instance.ctx->aucInlineBuf);
    void *first = QEL_MDT_Malloc(instance.ctx, 256);
    EXPECT_EQ(first, instance.ctx->aucInlineBuf);
    void *second = QEL_MDT_Malloc(instance.ctx, 1);
    EXPECT_NE(second, instance.ctx->aucInlineBuf);
    QEL_MDT_Free(&first, instance.ctx);
    EXPECT_EQ(first, nullptr);
    first = QEL_MDT_Malloc(instance.ctx, 1);
    EXPECT_EQ(first, instance.ctx->aucInlineBuf);
    for (void **mem : {&longer, &first, &second}) {
        QEL_MDT_Free(mem, instance.ctx);
    }
}

// The descriptor and the context of a family are made together or not at all.
struct Built {
    QEL_FAMILY_DESC_S desc = filled_descriptor();
    QEL_FAMILY_CTX_S *ctx;
    std::size_t asserts;
    explicit Built(std::uint32_t handle = kMemHandle)
    {
        const platform::Recorder recorder;
        ctx = QEL_MDT_Construct(&desc, handle);
        asserts = recorder.asserts().size();
    }
    ~Built()
    {
        if (ctx != nullptr) {
            QEL_MDT_Destruct(ctx);
        }
    }
    Built(const Built &) = delete;
    Built &operator=(const Built &) = delete;
};

TEST(MdtFrame, AMissingDescriptorIsReportedAndGivesNoContext)
{
    const platform::Recorder recorder;
    EXPECT_EQ(QEL_MDT_Construct(nullptr, kMemHandle), nullptr);
    EXPECT_EQ(recorder.asserts().size(), 1U);
}

TEST(MdtFrame, AHandleOfZeroIsReportedAndGivesNoContext)
{
    const Built built(0);
    EXPECT_EQ(built.ctx, nullptr);
    EXPECT_EQ(built.asserts, 1U);
}

TEST(MdtFrame, AContextThatCannotBeHadIsReportedAndLeavesTheDescriptorAlone)
{
    const platform::FailAllocation failure(0);
    const Built built;
    EXPECT_EQ(built.ctx, nullptr);
    EXPECT_EQ(built.asserts, 1U);
    expect_descriptor(built.desc, filled_descriptor());
}

TEST(MdtFrame, TheContextIsClearedAndEndsBehindTheInlineBuffer)
{
    dirty_the_heap(264);
    const std::uint64_t before = platform::usage(kMemHandle).live_bytes;
    const Built built;
    ASSERT_NE(built.ctx, nullptr);
    EXPECT_EQ(platform::usage(kMemHandle).live_bytes, before + 264);
    EXPECT_EQ(built.ctx->uiMemHandle, kMemHandle);
    EXPECT_EQ(built.ctx->uiInlineBufUsed, 0U);
    EXPECT_EQ(hex({built.ctx->aucInlineBuf, 256}), hex(Bytes(256)));
}

TEST(MdtFrame, TheFirstWordOfTheDescriptorIsClearedAndTheFamilyCodeIsOne)
{
    const Built built;
    EXPECT_EQ(built.desc.uiAddrFamily, 0U);
    EXPECT_EQ(built.desc.ucFamilyCode, 1U);
}

TEST(MdtFrame, ListsOfHaAndAttributeMessagesNameTheirTypes)
{
    const Built built;
    EXPECT_EQ(std::vector(built.desc.auiHaMsgTlvTypes, built.desc.auiHaMsgTlvTypes + built.desc.ucHaMsgTlvCount),
              (std::vector<std::uint32_t>{3, 5, 1, 8, 6, 7}));
    EXPECT_EQ(std::vector(built.desc.auiAttrMsgTlvTypes, built.desc.auiAttrMsgTlvTypes + built.desc.ucAttrMsgTlvCount),
              (std::vector<std::uint32_t>{11, 21, 34}));
}

TEST(MdtFrame, SlotsOfOtherFamiliesStayTheHostsAndSlot30IsCleared)
{
    const Built built;
    const Slots before = slots_of(filled_descriptor());
    const Slots after = slots_of(built.desc);
    for (const std::size_t slot : {3U, 15U, 17U, 25U, 26U, 27U, 29U, 31U, 34U, 35U, 36U, 38U, 44U}) {
        EXPECT_EQ(after[slot], before[slot]) << slot;
    }
    EXPECT_EQ(after[30], 0U);
}

TEST(MdtFrame, EverySlotLeadsToItsOperation)
{
    const Built built;
    QEL_FAMILY_DESC_S expected = filled_descriptor();
    Mdt::describe(expected);
    EXPECT_EQ(slots_of(built.desc), slots_of(expected));
}

TEST(MdtFrame, DestructionOfNothingIsReported)
{
    const platform::Recorder recorder;
    QEL_MDT_Destruct(nullptr);
    EXPECT_EQ(recorder.asserts().size(), 1U);
}

TEST(MdtFrame, DestructionGivesTheContextBack)
{
    const LeakCheck leaks;
    const Built built;
    EXPECT_NE(built.ctx, nullptr);
}

TEST(MdtFrame, ScratchOfNoByteIsNoneWithoutAReport)
{
    const Built built;
    const platform::Recorder recorder;
    EXPECT_EQ(QEL_MDT_Malloc(built.ctx, 0), nullptr);
    EXPECT_TRUE(recorder.asserts().empty());
    EXPECT_EQ(built.ctx->uiInlineBufUsed, 0U);
}

TEST(MdtFrame, ScratchWithoutAContextIsReportedEvenForNoByte)
{
    const platform::Recorder recorder;
    EXPECT_EQ(QEL_MDT_Malloc(nullptr, 0), nullptr);
    EXPECT_EQ(recorder.asserts().size(), 1U);
}

TEST(MdtFrame, ScratchThatTheHeapRefusesIsNotReported)
{
    const Built built;
    const platform::Recorder recorder;
    const platform::FailAllocation failure(0);
    EXPECT_EQ(QEL_MDT_Malloc(built.ctx, 257), nullptr);
    EXPECT_TRUE(recorder.asserts().empty());
}

TEST(MdtFrame, GivingBackWithoutAnArgumentIsReportedAndDoesNothing)
{
    const Built built;
    const platform::Recorder recorder;
    std::uint8_t octet = 0;
    void *mem = &octet;
    void *none = nullptr;
    QEL_MDT_Free(nullptr, built.ctx);
    EXPECT_EQ(recorder.asserts().size(), 1U);
    QEL_MDT_Free(&none, built.ctx);
    EXPECT_EQ(recorder.asserts().size(), 2U);
    QEL_MDT_Free(&mem, nullptr);
    EXPECT_EQ(recorder.asserts().size(), 3U);
    EXPECT_EQ(mem, &octet);
}

// kept: the second return is reported and done all the same
TEST(MdtFrame, AnInlineBufferThatComesBackTwiceIsReported)
{
    const Built built;
    const platform::Recorder recorder;
    void *mem = built.ctx->aucInlineBuf;
    QEL_MDT_Free(&mem, built.ctx);
    EXPECT_EQ(recorder.asserts().size(), 1U);
    EXPECT_EQ(mem, nullptr);
    EXPECT_EQ(built.ctx->uiInlineBufUsed, 0U);
}

TEST(MdtFrame, WhatComesBackIsNullAfterwards)
{
    const LeakCheck leaks;
    const Built built;
    void *mem = QEL_MDT_Malloc(built.ctx, 300);
    QEL_MDT_Free(&mem, built.ctx);
    EXPECT_EQ(mem, nullptr);
}

TEST(MdtFrame, NoLookupFindsATypeThatNoTableHas)
{
    expect_no_lookup_finds_an_unknown_type({
        QEL_MDT_GetErtMsgParseEntry,
        QEL_MDT_GetData2StrEntry,
        QEL_MDT_GetCfgFormatEntry,
        QEL_MDT_GetCfgParseEntry,
        QEL_MDT_GetAttrMsgFormatEntry,
        QEL_MDT_GetAttrMsgParseEntry,
        QEL_MDT_GetHaiMsgFormatEntry,
        QEL_MDT_GetHaiMsgParseEntry,
        QEL_MDT_GetBgpiMsgFormatEntry,
        QEL_MDT_GetBgpiMsgParseEntry,
        QEL_MDT_GetDataCmpEntry,
        QEL_MDT_GetPktFormatEntry,
        QEL_MDT_GetPktParseEntry,
        QEL_MDT_GetAttrSetEntry,
        QEL_MDT_GetApplyActionEntry,
    });
}

} // namespace
} // namespace qel::test
