// Frame of the VPNv4 multicast family: construction, the operations up to their handlers, scratch memory, the route
// counter, the label type.
#include "vpnv4mcast/qel_vpnv4mcast.h"

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

struct Vpnv4Mcast {
    static constexpr Construct kConstruct = QEL_VPNV4MCAST_Construct;
    static constexpr Destruct kDestruct = QEL_VPNV4MCAST_Destruct;
    static constexpr auto kMalloc = QEL_VPNV4MCAST_Malloc;
    static constexpr auto kFree = QEL_VPNV4MCAST_Free;
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
        desc.auiActionTypeBits[0] = 0xc0;
        desc.auiActionTypeBits[1] = 0x70;
        desc.auiActionTypeBits[2] = 0x800000;
        desc.auiActionTypeBits[3] = 0;
        put_list(desc.auiPolicyActionTypes, desc.ucPolicyActionCount, {6, 7, 36, 37, 38, 87});
        put_list(desc.auiApplyActionTypes, desc.ucApplyActionCount, {6, 7, 36, 37, 38, 87});
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

} // namespace
} // namespace qel::test
