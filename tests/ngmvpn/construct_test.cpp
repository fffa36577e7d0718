// Construction of the NG-MVPN family: the descriptor, the context and the component codes.
#include "ngmvpn/qel_ngmvpn.h"
#include "ngmvpn/qel_ngmvpn_cross.h"
#include "ngmvpn/qel_ngmvpn_nlri.h"
#include "ngmvpn/qel_ngmvpn_policy.h"
#include "ngmvpn/qel_ngmvpn_segment_policy.h"
#include "ngmvpn/qel_ngmvpn_util.h"

#include "construct_contract.h"

namespace qel::test {
namespace {

void describe_packets(QEL_FAMILY_DESC_S &desc)
{
    put_list(desc.auiPktAttrTypes, desc.ucPktAttrCount, {14, 15, 16, 22, 25, 40, 66});
}

void describe_messages(QEL_FAMILY_DESC_S &desc)
{
    put_list(desc.auiMsgTlvTypes, desc.ucMsgTlvCount,
             {53, 55, 59, 61, 56, 57, 5, 6, 15, 16, 18, 20, 19, 21, 137, 138, 157, 158});
}

void describe_ha_messages(QEL_FAMILY_DESC_S &desc)
{
    put_list(desc.auiHaMsgTlvTypes, desc.ucHaMsgTlvCount, {1, 3, 5, 6, 7, 8, 10, 11});
}

void describe_attr_messages(QEL_FAMILY_DESC_S &desc)
{
    desc.ucFamilyCode = 6;
    put_list(desc.auiAttrMsgTlvTypes, desc.ucAttrMsgTlvCount, {11, 21, 25, 34, 40, 50, 51, 43, 59});
}

void describe_policy(QEL_FAMILY_DESC_S &desc)
{
    desc.auiMatchTypeMask[0] = 0x300904;
    desc.auiMatchTypeMask[1] = 0x300904;
    desc.auiMatchTypeMask[2] = 0x300904;
    desc.auiActionTypeBits[0] = 0xc0;
    desc.auiActionTypeBits[1] = 0x20000000;
    desc.auiActionTypeBits[2] = 0x800000;
    desc.auiActionTypeBits[3] = 0;
    desc.ucPolicyActionCount = 0;
    put_list(desc.auiApplyActionTypes, desc.ucApplyActionCount, {6, 7, 61, 87});
}

void describe_operations(QEL_FAMILY_DESC_S &desc)
{
    desc.pfParsePkt = QEL_NGMVPN_ParsePkt;
    desc.pfFormatPkt = QEL_NGMVPN_FormatPkt;
    desc.pfSetAttr = QEL_NGMVPN_SetAttr;
    desc.pfSetAttrAfterPlcy = QEL_NGMVPN_SetAttrAfterPlcy;
    desc.pfParseMsg = QEL_NGMVPN_ParseMsg;
    desc.pfFormatMsg = QEL_NGMVPN_FormatMsg;
    desc.pfParseHaMsg = QEL_NGMVPN_ParseHaMsg;
    desc.pfFormatHaMsg = QEL_NGMVPN_FormatHaMsg;
    desc.pfParseAttrMsg = QEL_NGMVPN_ParseAttrMsg;
    desc.pfFormatAttrMsg = QEL_NGMVPN_FormatAttrMsg;
    desc.pfParseCfg = QEL_NGMVPN_ParseCfg;
    desc.pfFormatCfg = QEL_NGMVPN_FormatCfg;
    desc.pfConstructRtpEntry = QEL_NGMVPN_ConstructRtpEntry;
    desc.pfParseAddAttrMsg = QEL_NGMVPN_ParseAddAttrMsg;
    desc.pfGetRouteType = QEL_NGMVPN_GetRouteType;
    desc.pfGetCmcastNhpUserData = QEL_NGMVPN_GetCmcastNhpUserData;
    desc.pfConstructMatch = QEL_NGMVPN_ConstructMatch;
    desc.pfApplyAction = QEL_NGMVPN_ApplyAction;
    desc.pfGetCross = QEL_NGMVPN_GetCrossGtm; // the wrapper, not QEL_NGMVPN_GetCross
    desc.pfGetExtCommunity = QEL_NGMVPN_GetExtCommunity;
    desc.pfCmpData = QEL_NGMVPN_CmpData;
    desc.pfData2Str = QEL_NGMVPN_Data2Str;
    desc.pfSetRtCount = QEL_NGMVPN_SetRtCount;
    desc.pfGetRtCount = QEL_NGMVPN_GetRtCount;
    desc.pfCheckRouteForAdv = QEL_NGMVPN_CheckRouteForAdv;
    desc.pfSpare30 = nullptr;
    desc.pfSetRelayNextHop = QEL_NGMVPN_SetRelayNextHop;
    desc.pfCmpDataForAttrType = QEL_NGMVPN_CmpDataForAttrType;
    desc.pfCheckAttrByType = QEL_NGMVPN_CheckAttrByType;
    desc.pfSetLibDebug = QEL_NGMVPN_SetLibDebug;
    desc.pfGetIntraNlriKeyByUserData = QEL_NGMVPN_GetIntraNlriKeyByUserData;
}

struct Ngmvpn {
    static constexpr Construct kConstruct = QEL_NGMVPN_Construct;
    static constexpr Destruct kDestruct = QEL_NGMVPN_Destruct;
    static constexpr std::uint32_t kCtxLen = 276;
    static constexpr const char *kSource = "qel_ngmvpn.cpp";
    static void describe(QEL_FAMILY_DESC_S &desc)
    {
        desc.uiAddrFamily = 0;
        describe_packets(desc);
        describe_messages(desc);
        describe_ha_messages(desc);
        describe_attr_messages(desc);
        describe_policy(desc);
        describe_operations(desc);
    }
};

INSTANTIATE_TYPED_TEST_SUITE_P(Ngmvpn, ConstructContract, Ngmvpn);

TEST(NgmvpnConstruct, EachStepWritesItsPartOfTheDescriptorAlone)
{
    const struct {
        const char *name;
        void (*step)(QEL_FAMILY_DESC_S *);
        void (*describe)(QEL_FAMILY_DESC_S &);
    } steps[] = {
        {"packets", QEL_NGMVPN_InitPktTlv, describe_packets},
        {"messages", QEL_NGMVPN_InitMsgTlv, describe_messages},
        {"HA messages", QEL_NGMVPN_InitHaMsgTlv, describe_ha_messages},
        {"attribute messages", QEL_NGMVPN_InitAttrMsgTlv, describe_attr_messages},
        {"policy", QEL_NGMVPN_InitPolicy, describe_policy},
        {"operations", QEL_NGMVPN_InitCallBack, describe_operations},
    };
    for (const auto &step : steps) {
        SCOPED_TRACE(step.name);
        QEL_FAMILY_DESC_S desc = filled_descriptor();
        QEL_FAMILY_DESC_S expected = filled_descriptor();
        step.step(&desc);
        step.describe(expected);
        expect_descriptor(desc, expected);
    }
}

struct ComponentCase {
    Construct construct;
    std::uint32_t addr_family;
    std::uint16_t kept_family; // its low half
    std::uint16_t code;
    std::uint32_t is_mvrf;
    std::uint32_t is_mvpn;
};

// Any family but 1 picks the IPv6 code, 0 included; only the low 16 bits count.
const ComponentCase kComponents[] = {
    {QEL_NGMVPN_Construct4Mvrf, 1, 1, 985, 1, 0},
    {QEL_NGMVPN_Construct4Mvrf, 2, 2, 298, 1, 0},
    {QEL_NGMVPN_Construct4Mvrf, 0, 0, 298, 1, 0},
    {QEL_NGMVPN_Construct4Mvrf, 0x10001, 1, 985, 1, 0},
    {QEL_NGMVPN_Construct4Mvrf, 0x10000, 0, 298, 1, 0},
    {QEL_NGMVPN_Construct4Mvpn, 1, 1, 1793, 0, 1},
    {QEL_NGMVPN_Construct4Mvpn, 2, 2, 299, 0, 1},
    {QEL_NGMVPN_Construct4Mvpn, 0, 0, 299, 0, 1},
    {QEL_NGMVPN_Construct4Mvpn, 0xffff0001, 1, 1793, 0, 1},
    {QEL_NGMVPN_Construct4Mvpn, 0x101, 0x101, 299, 0, 1},
    {QEL_NGMVPN_Construct, 1, 1, 0, 0, 0},
    {QEL_NGMVPN_Construct, 2, 2, 0, 0, 0},
    {QEL_NGMVPN_Construct, 0xabcd1234, 0x1234, 0, 0, 0},
};

TEST(NgmvpnConstruct, ComponentCodeFollowsEntryPointAndAddressFamily)
{
    const LeakCheck leaks;
    for (const ComponentCase &c : kComponents) {
        SCOPED_TRACE(c.code);
        SCOPED_TRACE(c.addr_family);
        QEL_FAMILY_DESC_S desc = filled_descriptor();
        QEL_FAMILY_DESC_S expected = filled_descriptor();
        desc.uiAddrFamily = c.addr_family;
        Ngmvpn::describe(expected);
        platform::Recorder recorder;
        QEL_FAMILY_CTX_S *ctx = c.construct(&desc, kMemHandle);
        ASSERT_NE(ctx, nullptr);
        EXPECT_EQ(ctx->uiMemHandle, kMemHandle);
        EXPECT_EQ(ctx->uiInlineBufUsed, 0U);
        EXPECT_EQ(ctx->usAddrFamily, c.kept_family);
        EXPECT_EQ(ctx->usInstanceKind, c.code);
        EXPECT_EQ(ctx->uiDebugModule, 0U);
        EXPECT_EQ(ctx->uiDebugHandle, 0U);
        EXPECT_EQ(QEL_NGMVPN_IsMvrfComp(ctx), c.is_mvrf);
        EXPECT_EQ(QEL_NGMVPN_IsMvpnComp(ctx), c.is_mvpn);
        expect_descriptor(desc, expected); // the same for all three entry points
        EXPECT_TRUE(recorder.asserts().empty());
        QEL_NGMVPN_Destruct(ctx);
    }
}

TEST(NgmvpnConstruct, ComponentIsToldByTheCodeAlone)
{
    QEL_FAMILY_CTX_S ctx{};
    for (std::uint32_t code = 0; code <= 0xffff; ++code) {
        ctx.usInstanceKind = static_cast<std::uint16_t>(code);
        for (const std::uint16_t family : {std::uint16_t{0}, std::uint16_t{1}, std::uint16_t{2}}) {
            ctx.usAddrFamily = family;
            ASSERT_EQ(QEL_NGMVPN_IsMvrfComp(&ctx), code == 985 || code == 298 ? 1U : 0U) << code;
            ASSERT_EQ(QEL_NGMVPN_IsMvpnComp(&ctx), code == 1793 || code == 299 ? 1U : 0U) << code;
        }
    }
}

TEST(NgmvpnConstruct, NoContextServesNoComponent)
{
    const platform::Recorder recorder;
    EXPECT_EQ(QEL_NGMVPN_IsMvrfComp(nullptr), 0U);
    EXPECT_EQ(recorder.asserts().size(), 1U);
    EXPECT_EQ(QEL_NGMVPN_IsMvpnComp(nullptr), 0U);
    EXPECT_EQ(recorder.asserts().size(), 2U);
}

TEST(NgmvpnConstruct, ComponentEntryPointsPassTheFailureOn)
{
    const LeakCheck leaks;
    for (const Construct construct : {QEL_NGMVPN_Construct4Mvrf, QEL_NGMVPN_Construct4Mvpn}) {
        QEL_FAMILY_DESC_S desc = filled_descriptor();
        platform::Recorder recorder;
        EXPECT_EQ(construct(nullptr, kMemHandle), nullptr);
        EXPECT_EQ(recorder.asserts().size(), 1U);
        EXPECT_EQ(construct(&desc, 0), nullptr);
        EXPECT_EQ(recorder.asserts().size(), 2U);
        const platform::FailAllocation failure(0);
        EXPECT_EQ(construct(&desc, kMemHandle), nullptr);
        EXPECT_TRUE(failure.fired());
        EXPECT_EQ(recorder.asserts().size(), 3U);
        expect_descriptor(desc, filled_descriptor());
    }
}

// A constructed descriptor whose words all held the same octet before.
class NgmvpnDescriptor : public ::testing::Test {
protected:
    static constexpr std::uint32_t kFill = 0xa5a5a5a5;

    NgmvpnDescriptor()
    {
        desc_.uiAddrFamily = 1;
        ctx_ = QEL_NGMVPN_Construct(&desc_, kMemHandle);
    }
    ~NgmvpnDescriptor() override { QEL_NGMVPN_Destruct(ctx_); }

    static void expect_list(const std::uint32_t (&list)[QEL_TYPE_LIST_MAX], std::uint8_t count,
                            std::initializer_list<std::uint32_t> types)
    {
        ASSERT_EQ(count, types.size());
        std::size_t i = 0;
        for (const std::uint32_t type : types) {
            EXPECT_EQ(list[i++], type);
        }
        for (; i < QEL_TYPE_LIST_MAX; ++i) {
            EXPECT_EQ(list[i], kFill) << "an entry behind the count";
        }
    }

    LeakCheck leaks_;
    QEL_FAMILY_DESC_S desc_ = filled_descriptor();
    QEL_FAMILY_CTX_S *ctx_ = nullptr;
};

TEST_F(NgmvpnDescriptor, NamesSevenPacketAttributes)
{
    expect_list(desc_.auiPktAttrTypes, desc_.ucPktAttrCount, {14, 15, 16, 22, 25, 40, 66});
}

TEST_F(NgmvpnDescriptor, NamesEighteenMessageTypes)
{
    expect_list(desc_.auiMsgTlvTypes, desc_.ucMsgTlvCount,
                {53, 55, 59, 61, 56, 57, 5, 6, 15, 16, 18, 20, 19, 21, 137, 138, 157, 158});
}

TEST_F(NgmvpnDescriptor, NamesEightHaMessageTypes)
{
    expect_list(desc_.auiHaMsgTlvTypes, desc_.ucHaMsgTlvCount, {1, 3, 5, 6, 7, 8, 10, 11});
}

TEST_F(NgmvpnDescriptor, NamesNineAttributeMessageTypes)
{
    expect_list(desc_.auiAttrMsgTlvTypes, desc_.ucAttrMsgTlvCount, {11, 21, 25, 34, 40, 50, 51, 43, 59});
}

TEST_F(NgmvpnDescriptor, NamesFourActionsInTheSecondListAlone)
{
    expect_list(desc_.auiApplyActionTypes, desc_.ucApplyActionCount, {6, 7, 61, 87});
    expect_list(desc_.auiPolicyActionTypes, desc_.ucPolicyActionCount, {});
}

TEST_F(NgmvpnDescriptor, HasThreeMatchMasksAndLeavesTheOtherThreeWords)
{
    for (std::size_t i = 0; i < 6; ++i) {
        EXPECT_EQ(desc_.auiMatchTypeMask[i], i < 3 ? 0x300904U : kFill) << i;
    }
}

TEST_F(NgmvpnDescriptor, HasItsActionsAsBitsOfFourWords)
{
    const std::uint32_t words[] = {0xc0, 0x20000000, 0x800000, 0};
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(desc_.auiActionTypeBits[i], words[i]) << i;
    }
    for (const std::uint32_t action : {6U, 7U, 61U, 87U}) {
        EXPECT_NE(desc_.auiActionTypeBits[action / 32] >> action % 32 & 1U, 0U) << action;
    }
}

TEST_F(NgmvpnDescriptor, HasFamilyCodeSix)
{
    EXPECT_EQ(desc_.ucFamilyCode, 6U);
}

TEST_F(NgmvpnDescriptor, HasNoAddressFamilyAfterwards)
{
    EXPECT_EQ(desc_.uiAddrFamily, 0U);
}

TEST_F(NgmvpnDescriptor, HasItsOperationsInTheirSlots)
{
    QEL_FAMILY_DESC_S expected = filled_descriptor();
    describe_operations(expected);
    const Slots slots = slots_of(desc_);
    const Slots wanted = slots_of(expected);
    for (std::size_t i = 0; i < slots.size(); ++i) {
        EXPECT_EQ(slots[i], wanted[i]) << "slot " << i;
    }
}

// kept: one spare slot of fourteen is written
TEST_F(NgmvpnDescriptor, SpareSlotsStayTheHostsAndSlot30IsCleared)
{
    const Slots slots = slots_of(desc_);
    const Slots before = slots_of(filled_descriptor());
    for (const std::size_t spare : {17U, 26U, 27U, 28U, 29U, 31U, 32U, 33U, 37U, 39U, 40U, 41U, 42U, 43U}) {
        EXPECT_EQ(slots[spare], before[spare]) << spare;
    }
    EXPECT_EQ(slots[30], 0U);
}

TEST(NgmvpnConstruct, WithoutDescriptorOrHandleIsReportedAndGivesNoContext)
{
    QEL_FAMILY_DESC_S desc = filled_descriptor();
    platform::Recorder recorder;
    EXPECT_EQ(QEL_NGMVPN_Construct(nullptr, kMemHandle), nullptr);
    EXPECT_EQ(recorder.asserts().size(), 1U);
    EXPECT_EQ(QEL_NGMVPN_Construct(&desc, 0), nullptr);
    EXPECT_EQ(recorder.asserts().size(), 2U);
    EXPECT_EQ(QEL_NGMVPN_Construct(nullptr, 0), nullptr);
    EXPECT_EQ(recorder.asserts().size(), 3U);
    expect_descriptor(desc, filled_descriptor());
}

TEST(NgmvpnConstruct, WithoutMemoryIsReportedAndLeavesTheDescriptor)
{
    QEL_FAMILY_DESC_S desc = filled_descriptor();
    const platform::Recorder recorder;
    const platform::FailAllocation failure(0);
    EXPECT_EQ(QEL_NGMVPN_Construct(&desc, kMemHandle), nullptr);
    EXPECT_TRUE(failure.fired());
    EXPECT_EQ(recorder.asserts().size(), 1U);
    expect_descriptor(desc, filled_descriptor());
}

TEST(NgmvpnConstruct, MakesAClearedContextOf276BytesOnTheHandle)
{
    const LeakCheck leaks;
    dirty_the_heap(276);
    QEL_FAMILY_DESC_S desc = filled_descriptor();
    const std::uint64_t live = platform::usage(kMemHandle).live_bytes;
    QEL_FAMILY_CTX_S *ctx = QEL_NGMVPN_Construct(&desc, kMemHandle);
    ASSERT_NE(ctx, nullptr);
    EXPECT_EQ(platform::usage(kMemHandle).live_bytes - live, 276U);
    EXPECT_EQ(ctx->uiMemHandle, kMemHandle);
    EXPECT_EQ(ctx->usAddrFamily, 0xa5a5U) << "the low half";
    const auto *octets = reinterpret_cast<const std::uint8_t *>(ctx);
    EXPECT_EQ(hex({octets + 4, 260}), std::string(520, '0'));
    EXPECT_EQ(ctx->usInstanceKind, 0U);
    EXPECT_EQ(ctx->uiDebugModule, 0U);
    EXPECT_EQ(ctx->uiDebugHandle, 0U);
    QEL_NGMVPN_Destruct(ctx);
}

TEST(NgmvpnConstruct, DestructReleasesTheContextAndReportsNull)
{
    const LeakCheck leaks;
    QEL_FAMILY_DESC_S desc{};
    platform::Recorder recorder;
    QEL_NGMVPN_Destruct(QEL_NGMVPN_Construct(&desc, kMemHandle));
    EXPECT_TRUE(recorder.asserts().empty());
    QEL_NGMVPN_Destruct(nullptr);
    EXPECT_EQ(recorder.asserts().size(), 1U);
}

} // namespace
} // namespace qel::test
