// Frame of the MDT family: construction, the operations up to their handlers, scratch memory, the route counter.
#include "mdt/qel_mdt.h"

#include "construct_contract.h"
#include "counter_contract.h"
#include "dispatch_contract.h"
#include "scratch_contract.h"

namespace qel::test {
namespace {

struct Mdt {
    static constexpr Construct kConstruct = QEL_MDT_Construct;
    static constexpr Destruct kDestruct = QEL_MDT_Destruct;
    static constexpr auto kMalloc = QEL_MDT_Malloc;
    static constexpr auto kFree = QEL_MDT_Free;
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
        desc.auiActionTypeBits[0] = 0xc0;
        desc.auiActionTypeBits[1] = 0x70;
        desc.auiActionTypeBits[2] = 0x800000;
        desc.auiActionTypeBits[3] = 0;
        put_list(desc.auiPolicyActionTypes, desc.ucPolicyActionCount, {6, 7, 36, 37, 38, 87});
        put_list(desc.auiApplyActionTypes, desc.ucApplyActionCount, {6, 7, 36, 37, 38, 87});
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
