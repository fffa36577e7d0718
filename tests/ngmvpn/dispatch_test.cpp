// The NG-MVPN operations up to their handlers: checks, tables, codes of a failed lookup, the debug lines.
#include "ngmvpn/qel_ngmvpn.h"
#include "ngmvpn/qel_ngmvpn_attribute_msg.h"
#include "ngmvpn/qel_ngmvpn_attribute_pkt.h"
#include "ngmvpn/qel_ngmvpn_cross.h"
#include "ngmvpn/qel_ngmvpn_dfx.h"
#include "ngmvpn/qel_ngmvpn_intercomp_msg.h"
#include "ngmvpn/qel_ngmvpn_nlri.h"
#include "ngmvpn/qel_ngmvpn_policy.h"
#include "ngmvpn/qel_ngmvpn_segment_importattr.h"
#include "ngmvpn/qel_ngmvpn_segment_parsemsg.h"
#include "ngmvpn/qel_ngmvpn_segment_policy.h"

#include "dispatch_contract.h"

#include <algorithm>
#include <array>
#include <string>
#include <type_traits>
#include <utility>

namespace qel::test {
namespace {

struct Ngmvpn {
    static constexpr Construct kConstruct = QEL_NGMVPN_Construct4Mvpn;
    static constexpr Destruct kDestruct = QEL_NGMVPN_Destruct;
    static constexpr const char *kSource = "qel_ngmvpn.cpp";
    static Operations operations()
    {
        Operations all = shared_operations();
        all.push_back(parse_add_attr_msg());
        all.push_back(cmp_data_for_attr_type());
        find_operation(all, "ParseMsg").log =
            "ParseMsg failed, pstMsgParseEntry or pstMsgParseEntry->pfParseMsg if NULL";
        // kept: the word Success stands in this failure's text
        find_operation(all, "FormatMsg").log =
            "FormatMsg Success, pstMsgFormatEntry or pstMsgFormatEntry->pfFormatMsg is NULL";
        find_operation(all, "ApplyAction").log = "Process ApplyAction, ApplyActionEntry or ApplyAction is NULL";
        return all;
    }
};

INSTANTIATE_TYPED_TEST_SUITE_P(Ngmvpn, DispatchContract, Ngmvpn);

class NgmvpnDispatch : public ::testing::Test {
protected:
    LeakCheck leaks_;
    Instance instance_{QEL_NGMVPN_Construct4Mvpn, QEL_NGMVPN_Destruct, 1};
    const QEL_FAMILY_DESC_S &desc_ = instance_.desc;
    platform::Recorder recorder_;
};

TEST_F(NgmvpnDispatch, ThreeOperationsLogAFailedLookupAndTheOthersDoNot)
{
    ASSERT_EQ(desc_.pfSetLibDebug(0x1234, 0x5678, instance_.ctx), QEL_OK);
    unsigned logged = 0;
    for (const Operation &operation : Ngmvpn::operations()) {
        SCOPED_TRACE(operation.name);
        recorder_.clear();
        Call c(instance_.ctx, 0, 200);
        EXPECT_EQ(operation.call(desc_, c), operation.not_found);
        c.expect_untouched();
        EXPECT_TRUE(recorder_.asserts().empty());
        if (operation.log == nullptr) {
            EXPECT_TRUE(recorder_.debugs().empty());
            continue;
        }
        ++logged;
        ASSERT_EQ(recorder_.debugs().size(), 1U);
        const platform::DebugRecord &line = recorder_.debugs()[0];
        EXPECT_EQ(line.module, 0x1234U);
        EXPECT_EQ(line.handle, 0x5678U);
        EXPECT_EQ(line.name, "NULL");
        EXPECT_EQ(line.code, 0x879ac001U);
        const std::size_t end = line.text.find("]:");
        ASSERT_NE(end, std::string::npos) << line.text;
        ASSERT_EQ(line.text.substr(0, 13), "[MCAST][Line:");
        EXPECT_GT(std::stoul(line.text.substr(13, end - 13)), 0U) << "the line of the source that logs";
        EXPECT_EQ(line.text.substr(end + 2), operation.log);
    }
    EXPECT_EQ(logged, 3U);
}

TEST_F(NgmvpnDispatch, AMissingArgumentIsNotLogged)
{
    desc_.pfSetLibDebug(1, 2, instance_.ctx);
    for (const Operation &operation : Ngmvpn::operations()) {
        SCOPED_TRACE(operation.name);
        for (unsigned i = 0; i < operation.tested; ++i) {
            Call c(instance_.ctx, 1U << i, 200);
            operation.call(desc_, c);
        }
        EXPECT_TRUE(recorder_.debugs().empty());
    }
}

TEST_F(NgmvpnDispatch, ParsePktPassesAnUnknownAttributeOverWhichFormatPktRefuses)
{
    Call c(instance_.ctx, 0, 200);
    EXPECT_EQ(desc_.pfParsePkt(&c.in_cursor, 8, 0, 200, &c.result, &c.more, instance_.ctx), QEL_OK);
    EXPECT_EQ(desc_.pfFormatPkt(&c.route, 200, &c.out_cursor, 16, instance_.ctx), QEL_ERR_NO_ENTRY);
    c.expect_untouched();
}

// kept: the codes differ from operation to operation
TEST_F(NgmvpnDispatch, EachOperationHasItsOwnCodeForATypeThatItDoesNotKnow)
{
    const std::pair<const char *, std::uint32_t> codes[] = {
        {"ParsePkt", 0},           {"FormatPkt", 0x80003},
        {"ParseMsg", 0x80003},     {"FormatMsg", 0x80003},
        {"ParseHaMsg", 0x80003},   {"FormatHaMsg", 0x80003},
        {"ParseAttrMsg", 0x80003}, {"FormatAttrMsg", 0x80003},
        {"ParseCfg", 0x80003},     {"FormatCfg", 0x80003},
        {"Data2Str", 0x80017},     {"SetAttr", 0x80003},
        {"ApplyAction", 0x80013},  {"ParseAddAttrMsg", 0x80003},
        {"CmpData", 0xfffffffe},   {"CmpDataForAttrType", 0xfffffffe},
    };
    Operations all = Ngmvpn::operations();
    ASSERT_EQ(std::size(codes), all.size());
    for (const auto &[name, code] : codes) {
        SCOPED_TRACE(name);
        Call c(instance_.ctx, 0, 200);
        EXPECT_EQ(find_operation(all, name).call(desc_, c), code);
        c.expect_untouched();
        EXPECT_TRUE(recorder_.asserts().empty());
    }
}

TEST_F(NgmvpnDispatch, EachOperationRefusesItsPointersAndReportsTheFirstThatIsMissing)
{
    const struct {
        const char *name;
        unsigned pointers;
        std::uint32_t refusal;
    } rows[] = {
        {"ParsePkt", 4, 0x50002},     {"FormatPkt", 2, 0x50002},
        {"ParseMsg", 3, 0x50002},     {"FormatMsg", 3, 0x50002},
        {"ParseHaMsg", 3, 0x50002},   {"FormatHaMsg", 2, 0x50002},
        {"ParseAttrMsg", 3, 0x50002}, {"FormatAttrMsg", 2, 0x50002},
        {"ParseCfg", 3, 0x50002},     {"FormatCfg", 4, 0x50002},
        {"Data2Str", 5, 0x50002},     {"SetAttr", 3, 0x50002},
        {"ApplyAction", 4, 0x50002},  {"ParseAddAttrMsg", 3, 0x50002},
        {"CmpData", 2, 0xfffffffe},   {"CmpDataForAttrType", 2, 0xfffffffe},
    };
    Operations all = Ngmvpn::operations();
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        for (unsigned i = 0; i < row.pointers; ++i) {
            SCOPED_TRACE(i);
            for (const unsigned nulls : {1U << i, (1U << row.pointers) - (1U << i)}) {
                recorder_.clear();
                Call c(instance_.ctx, nulls, 200);
                EXPECT_EQ(find_operation(all, row.name).call(desc_, c), row.refusal);
                EXPECT_EQ(recorder_.asserts().size(), 1U);
            }
        }
    }
}

// kept: only these three do without one
TEST_F(NgmvpnDispatch, PacketsHaAndAttributeMessagesAreWrittenWithoutAContext)
{
    Call c(nullptr, 0, 200);
    EXPECT_EQ(desc_.pfFormatPkt(&c.route, 200, &c.out_cursor, 16, nullptr), QEL_ERR_NO_ENTRY);
    EXPECT_EQ(desc_.pfFormatHaMsg(&c.route, 200, &c.out_cursor, 16, nullptr), QEL_ERR_NO_ENTRY);
    EXPECT_EQ(desc_.pfFormatAttrMsg(&c.route, 200, &c.out_cursor, 16, nullptr), QEL_ERR_NO_ENTRY);
    EXPECT_TRUE(recorder_.asserts().empty());
    EXPECT_EQ(desc_.pfFormatMsg(&c.route, 200, &c.out_cursor, 16, nullptr), QEL_ERR_NULL);
    EXPECT_EQ(recorder_.asserts().size(), 1U);
}

TEST_F(NgmvpnDispatch, AnAttributeOfNoOctetsIsPassedOverBeforeItsHandlerIsLookedUp)
{
    Call c(instance_.ctx, 0, 14);
    EXPECT_EQ(desc_.pfParsePkt(&c.in_cursor, 0, 0, 14, &c.result, &c.more, instance_.ctx), QEL_OK);
    c.expect_untouched();
    EXPECT_TRUE(recorder_.asserts().empty());
    EXPECT_EQ(desc_.pfParsePkt(nullptr, 0, 0, 14, &c.result, &c.more, instance_.ctx), QEL_ERR_NULL);
    EXPECT_EQ(recorder_.asserts().size(), 1U);
}

TEST_F(NgmvpnDispatch, AdditionalAttributesAreLookedUpWithoutARoute)
{
    Call c(instance_.ctx, 0, 200);
    EXPECT_EQ(desc_.pfParseAddAttrMsg(nullptr, c.in.data(), 8, 200, &c.result, instance_.ctx), QEL_ERR_NO_ENTRY);
    EXPECT_TRUE(recorder_.asserts().empty());
}

TEST_F(NgmvpnDispatch, LookupsFindTheRowsOfTheirTables)
{
    expect_lookup(g_astQelNgmvpnPktParseTbl, QEL_NGMVPN_GetPktParseEntry);
    expect_lookup(g_astQelNgmvpnPktFormatTbl, QEL_NGMVPN_GetPktFormatEntry);
    expect_lookup(g_astQelNgmvpnData2StrTbl, QEL_NGMVPN_GetData2StrEntry);
    expect_lookup(g_astQelNgmvpnCfgFormatTbl, QEL_NGMVPN_GetCfgFormatEntry);
    expect_lookup(g_astQelNgmvpnCfgParseTbl, QEL_NGMVPN_GetCfgParseEntry);
    expect_lookup(g_astQelNgmvpnCmpDataTbl, QEL_NGMVPN_GetDataCmpEntry);
    expect_lookup(g_astQelNgmvpnCmpAttrDataTbl, QEL_NGMVPN_GetDataCmpAttrEntry);
    expect_lookup(g_astQelNgmvpnMsgParseTbl, QEL_NGMVPN_GetBgpiMsgParseEntry);
    expect_lookup(g_astQelNgmvpnMsgFormatTbl, QEL_NGMVPN_GetBgpiMsgFormatEntry);
    expect_lookup(g_astQelNgmvpnHaMsgParseTbl, QEL_NGMVPN_GetHaiMsgParseEntry);
    expect_lookup(g_astQelNgmvpnHaMsgFormatTbl, QEL_NGMVPN_GetHaiMsgFormatEntry);
    expect_lookup(g_astQelNgmvpnAttrMsgParseTbl, QEL_NGMVPN_GetAttrMsgParseEntry);
    expect_lookup(g_astQelNgmvpnAttrMsgFormatTbl, QEL_NGMVPN_GetAttrMsgFormatEntry);
    expect_lookup(g_astQelNgmvpnErtMsgParseTbl, QEL_NGMVPN_GetErtMsgParseEntry);
    expect_lookup(g_astQelNgmvpnParseRoutePathTbl, QEL_NGMVPN_GetParseMcRoutePathEntry);
    expect_lookup(g_astQelNgmvpnSetAttrTbl, QEL_NGMVPN_GetAttrSetEntry);
    expect_lookup(g_astQelNgmvpnApplyActionTbl, QEL_NGMVPN_GetApplyActionEntry);
}

// kept: the descriptor names 5 and 6, which are written and never read
TEST_F(NgmvpnDispatch, TwoMessageTypesThatTheDescriptorNamesHaveNoReader)
{
    for (std::size_t i = 0; i < desc_.ucMsgTlvCount; ++i) {
        const std::uint32_t type = desc_.auiMsgTlvTypes[i];
        const bool read = type != 5 && type != 6;
        EXPECT_EQ(QEL_NGMVPN_GetBgpiMsgParseEntry(type) != nullptr, read) << type;
        if (!read) {
            Call c(instance_.ctx, 0, type);
            EXPECT_EQ(desc_.pfParseMsg(c.in.data(), 8, type, &c.result, instance_.ctx), QEL_ERR_NO_ENTRY) << type;
            c.expect_untouched();
        }
    }
}

TEST_F(NgmvpnDispatch, NoLookupFindsATypeThatNoTableHas)
{
    expect_no_lookup_finds_an_unknown_type({
        QEL_NGMVPN_GetErtMsgParseEntry,
        QEL_NGMVPN_GetParseMcRoutePathEntry,
        QEL_NGMVPN_GetData2StrEntry,
        QEL_NGMVPN_GetCfgFormatEntry,
        QEL_NGMVPN_GetCfgParseEntry,
        QEL_NGMVPN_GetAttrMsgFormatEntry,
        QEL_NGMVPN_GetAttrMsgParseEntry,
        QEL_NGMVPN_GetHaiMsgFormatEntry,
        QEL_NGMVPN_GetHaiMsgParseEntry,
        QEL_NGMVPN_GetBgpiMsgFormatEntry,
        QEL_NGMVPN_GetBgpiMsgParseEntry,
        QEL_NGMVPN_GetDataCmpAttrEntry,
        QEL_NGMVPN_GetDataCmpEntry,
        QEL_NGMVPN_GetPktFormatEntry,
        QEL_NGMVPN_GetPktParseEntry,
        QEL_NGMVPN_GetAttrSetEntry,
        QEL_NGMVPN_GetApplyActionEntry,
    });
}

// The rows of a table, in their order.
template <class Handler, std::size_t kRows>
void expect_rows(const QEL_DISPATCH_ENTRY_S (&table)[kRows], Handler QEL_DISPATCH_ENTRY_S::*handler,
                 std::type_identity_t<std::initializer_list<std::pair<std::uint32_t, Handler>>> rows)
{
    ASSERT_EQ(kRows, rows.size());
    std::size_t i = 0;
    for (const auto &[type, wanted] : rows) {
        EXPECT_EQ(table[i].uiType, type) << "row " << i;
        EXPECT_EQ(table[i].*handler, wanted) << "type " << type;
        ++i;
    }
}

TEST(NgmvpnTable, PacketsAreReadByTheseHandlers)
{
    expect_rows(g_astQelNgmvpnPktParseTbl, &QEL_DISPATCH_ENTRY_S::pfParsePkt,
                {
                    {14, QEL_NGMVPN_ParseMpNlri},
                    {15, QEL_NGMVPN_ParseMpNlri},
                    {16, QEL_NGMVPN_ParseExtCommunity},
                    {22, QEL_NGMVPN_ParsePmsiTnl},
                    {25, QEL_NGMVPN_ParseIPv6ExtCommunity},
                    {40, QEL_NGMVPN_ParsePrefixSid},
                    {66, QEL_NGMVPN_ParseMsid},
                });
}

TEST(NgmvpnTable, PacketsAreWrittenByTheseHandlers)
{
    expect_rows(g_astQelNgmvpnPktFormatTbl, &QEL_DISPATCH_ENTRY_S::pfFormatPkt,
                {
                    {14, QEL_NGMVPN_FormatMpNlri},
                    {15, QEL_NGMVPN_FormatMpNlri},
                    {16, QEL_NGMVPN_FormatExtCommunity},
                    {22, QEL_NGMVPN_FormatPmsiTnl},
                    {25, QEL_NGMVPN_FormatIPv6ExtCommunity},
                    {40, QEL_NGMVPN_FormatPrefixSid},
                    {66, QEL_NGMVPN_FormatMsid},
                });
}

TEST(NgmvpnTable, SectionsAreComparedByTheseHandlers)
{
    expect_rows(g_astQelNgmvpnCmpDataTbl, &QEL_DISPATCH_ENTRY_S::pfCmpData,
                {
                    {1, QEL_NGMVPN_CmpRd},
                    {2, QEL_NGMVPN_CmpKey},
                    {4, QEL_NGMVPN_CmpNonKey},
                    {16, QEL_NGMVPN_CmpCross},
                    {8, QEL_NGMVPN_CmpAttr},
                });
}

TEST(NgmvpnTable, SectionsAreComparedForAnAttributeByTheseHandlers)
{
    expect_rows(g_astQelNgmvpnCmpAttrDataTbl, &QEL_DISPATCH_ENTRY_S::pfCmpDataForAttrType,
                {
                    {1, QEL_NGMVPN_CmpRdAttr},
                    {2, QEL_NGMVPN_CmpKeyAttr},
                    {4, QEL_NGMVPN_CmpNonKeyAttr},
                    {16, QEL_NGMVPN_CmpCrossAttr},
                    {8, QEL_NGMVPN_CmpAttrNew},
                });
}

TEST(NgmvpnTable, SectionsAreShownByTheseHandlers)
{
    expect_rows(g_astQelNgmvpnData2StrTbl, &QEL_DISPATCH_ENTRY_S::pfData2Str,
                {
                    {1, QEL_NGMVPN_MpNlriData2Str},
                    {2, QEL_NGMVPN_ExtCommunity2Str},
                    {4, QEL_NGMVPN_PmsiTnl2Str},
                    {8, QEL_NGMVPN_NonKey2Str},
                    {256, QEL_NGMVPN_IPv6ExtCommunity2Str},
                    {512, QEL_NGMVPN_PfxSidAttr2Str},
                    {1024, QEL_NGMVPN_MsidAttr2Str},
                });
}

TEST(NgmvpnTable, ConfigurationIsWrittenByTheseHandlers)
{
    expect_rows(g_astQelNgmvpnCfgFormatTbl, &QEL_DISPATCH_ENTRY_S::pfFormatCfg,
                {
                    {1, QEL_NGMVPN_FormatCfgRd},
                    {2, QEL_NGMVPN_FormatCfgPrefix},
                    {4, QEL_NGMVPN_FormatCfgExtCommunity},
                    {8, QEL_NGMVPN_FormatCfgPmsiTnl},
                    {64, QEL_NGMVPN_FormatCfgIPv6ExtCommunity},
                    {128, QEL_NGMVPN_FormatCfgPrefixSid},
                    {256, QEL_NGMVPN_FormatCfgMsid},
                });
}

TEST(NgmvpnTable, ConfigurationIsReadByTheseHandlers)
{
    expect_rows(g_astQelNgmvpnCfgParseTbl, &QEL_DISPATCH_ENTRY_S::pfParseMsg,
                {
                    {1, QEL_NGMVPN_ParseCfgRd},
                    {2, QEL_NGMVPN_ParseCfgPrefix},
                });
}

TEST(NgmvpnTable, HaMessagesAreWrittenByTheseHandlers)
{
    expect_rows(g_astQelNgmvpnHaMsgFormatTbl, &QEL_DISPATCH_ENTRY_S::pfFormatMsg,
                {
                    {1, QEL_NGMVPN_MvpnORMvrfFormatToHaRtPrefixTlv},
                    {3, QEL_NGMVPN_MvpnORMvrfFormatToHaRtPrefixTlv},
                    {5, QEL_NGMVPN_MvpnORMvrfFormatToHaRtPrefixTlv},
                    {8, QEL_NGMVPN_MvpnORMvrfFormatToHaRtPrefixTlv},
                    {6, QEL_NGMVPN_FormatIrtTlv},
                    {7, QEL_NGMVPN_FormatIrtTlv},
                    {10, QEL_NGMVPN_FormatIrtTlv},
                    {11, QEL_NGMVPN_FormatIrtTlv},
                });
}

TEST(NgmvpnTable, HaMessagesAreReadByTheseHandlers)
{
    expect_rows(g_astQelNgmvpnHaMsgParseTbl, &QEL_DISPATCH_ENTRY_S::pfParseMsg,
                {
                    {1, QEL_NGMVPN_ParseHARtPrefixTlv},
                    {3, QEL_NGMVPN_ParseHARtPrefixTlv},
                    {5, QEL_NGMVPN_ParseHARtPrefixTlv},
                    {8, QEL_NGMVPN_ParseHARtPrefixTlvGlbal},
                    {6, QEL_NGMVPN_ParseIrtTlv},
                    {7, QEL_NGMVPN_ParseIrtTlv},
                    {10, QEL_NGMVPN_ParseVrfIrtTlv},
                    {11, QEL_NGMVPN_ParseVrfIrtTlv},
                });
}

TEST(NgmvpnTable, MessagesAreWrittenByTheseHandlers)
{
    expect_rows(g_astQelNgmvpnMsgFormatTbl, &QEL_DISPATCH_ENTRY_S::pfFormatMsg,
                {
                    {53, QEL_NGMVPN_MvrfFormatToMvpnRtPrefixTlv},
                    {55, QEL_NGMVPN_MvrfFormatToMvpnRtPrefixTlv},
                    {59, QEL_NGMVPN_MvpnFormatToMvrfRtPrefixTlv},
                    {61, QEL_NGMVPN_MvpnFormatToMvrfRtPrefixTlv},
                    {5, QEL_NGMVPN_MvrfFormatToMcRtPrefixTlv},
                    {6, QEL_NGMVPN_FormatRoutePathTlv},
                    {56, QEL_NGMVPN_FormatIrtTlv},
                    {57, QEL_NGMVPN_FormatIrtTlv},
                    {137, QEL_NGMVPN_FormatMcImportRouteKeyTlv},
                    {138, QEL_NGMVPN_FormatMcImportRouteNoKeyTlv},
                });
}

TEST(NgmvpnTable, MessagesAreReadByTheseHandlers)
{
    expect_rows(g_astQelNgmvpnMsgParseTbl, &QEL_DISPATCH_ENTRY_S::pfParseMsg,
                {
                    {53, QEL_NGMVPN_MvpnParseFromMvrfRtPrefixTlv},
                    {55, QEL_NGMVPN_MvpnParseFromMvrfRtPrefixTlv},
                    {59, QEL_NGMVPN_MvrfParseFromMvpnRtPrefixTlv},
                    {61, QEL_NGMVPN_MvrfParseFromMvpnRtPrefixTlv},
                    {15, QEL_NGMVPN_MvrfParseFromMcRtPrefixTlv},
                    {16, QEL_NGMVPN_ParseMcRoutePathTlv},
                    {56, QEL_NGMVPN_ParseIrtTlv},
                    {57, QEL_NGMVPN_ParseIrtTlv},
                    {18, QEL_NGMVPN_ParseIrtTlv},
                    {20, QEL_NGMVPN_ParseIrtTlv},
                    {19, QEL_NGMVPN_ParseIrtTlv},
                    {21, QEL_NGMVPN_ParseIrtTlv},
                    {157, QEL_NGMVPN_ParseVrfIrtTlv},
                    {158, QEL_NGMVPN_ParseVrfIrtTlv},
                    {137, QEL_NGMVPN_ParseMcImportRouteKeyTlv},
                    {138, QEL_NGMVPN_ParseMcImportRouteNoKeyTlv},
                });
}

TEST(NgmvpnTable, OutgoingAttributesAreSetByTheseHandlers)
{
    expect_rows(g_astQelNgmvpnSetAttrTbl, &QEL_DISPATCH_ENTRY_S::pfSetAttr,
                {
                    {16, QEL_NGMVPN_SetExtCommunity},
                    {3, QEL_NGMVPN_SetNexthop},
                    {8, QEL_NGMVPN_SetCommunity},
                    {22, QEL_NGMVPN_SetPmsi},
                });
}

TEST(NgmvpnTable, ActionsAreAppliedByTheseHandlers)
{
    expect_rows(g_astQelNgmvpnApplyActionTbl, &QEL_DISPATCH_ENTRY_S::pfApplyAction,
                {
                    {6, QEL_NGMVPN_ApplyExtCommunity},
                    {7, QEL_NGMVPN_ApplyExtCommunity},
                    {87, QEL_NGMVPN_ApplyExtCommunity},
                    {61, QEL_NGMVPN_ApplyAttrRplInfo},
                });
}

TEST(NgmvpnTable, AdditionalAttributesAreReadByTheseHandlers)
{
    expect_rows(g_astQelNgmvpnErtMsgParseTbl, &QEL_DISPATCH_ENTRY_S::pfParseAddAttrMsg,
                {
                    {11, QEL_NGMVPN_ParseAddAttrTlv},
                    {34, QEL_NGMVPN_ParseNonkeyTlv},
                });
}

TEST(NgmvpnTable, RoutePathsAreReadByTheseHandlers)
{
    expect_rows(g_astQelNgmvpnParseRoutePathTbl, &QEL_DISPATCH_ENTRY_S::pfParseRoutePath,
                {
                    {14, QEL_NGMVPN_ParseMcRoutePathNh},
                    {13, QEL_NGMVPN_ParseRoutePathExtComTlvRtImportOrSnh_},
                    {15, QEL_NGMVPN_ParseRoutePathExtComTlvRtImportOrSnh_},
                    {12, QEL_NGMVPN_ParseRoutePathExtComTlvPmsi_},
                    {22, QEL_NGMVPN_ParseRoutePathExtComTlvRt6Import_},
                    {23, QEL_NGMVPN_ParseRoutePathExtComTlvPfxSid_},
                    {24, QEL_NGMVPN_ParseRoutePathExtComTlvMsid_},
                });
}

TEST(NgmvpnTable, AttributeMessagesAreWrittenByTheseHandlers)
{
    expect_rows(g_astQelNgmvpnAttrMsgFormatTbl, &QEL_DISPATCH_ENTRY_S::pfFormatMsg,
                {
                    {11, QEL_NGMVPN_FormatExtCommunityTlv},
                    {21, QEL_NGMVPN_FormatExtCommunityTlv},
                    {25, QEL_NGMVPN_FormatPmsiTnlTlv},
                    {34, QEL_NGMVPN_FormatRtNonKeyTlv},
                    {40, QEL_NGMVPN_FormatImportAttrTlv},
                    {50, QEL_NGMVPN_FormatIPv6ExtCommunityTlv},
                    {51, QEL_NGMVPN_FormatIPv6ExtCommunityTlv},
                    {43, QEL_NGMVPN_FormatRtPfxSidTlv},
                    {59, QEL_NGMVPN_FormatRtMsidTlv},
                });
}

TEST(NgmvpnTable, AttributeMessagesAreReadByTheseHandlers)
{
    expect_rows(g_astQelNgmvpnAttrMsgParseTbl, &QEL_DISPATCH_ENTRY_S::pfParseMsg,
                {
                    {11, QEL_NGMVPN_ParseRtExtCommunityTlv},
                    {21, QEL_NGMVPN_ParseRtExtCommunityTlv},
                    {25, QEL_NGMVPN_ParsePmsiTnlTlv},
                    {34, QEL_NGMVPN_ParseRtNonKeyTlv},
                    {40, QEL_NGMVPN_ParseImportAttrTlv},
                    {50, QEL_NGMVPN_ParseRtIPv6ExtCommunityTlv},
                    {51, QEL_NGMVPN_ParseRtIPv6ExtCommunityTlv},
                    {43, QEL_NGMVPN_ParseRtPfxSidTlv},
                    {59, QEL_NGMVPN_ParseRtMsidTlv},
                });
}

// 1: Intra-AS I-PMSI A-D, RD 0:100:1, originator 10.10.10.10
constexpr const char *kRoute = "01 0c 0000 0064 00000001 0a0a0a0a";

TEST_F(NgmvpnDispatch, ParsePktAndFormatPktHandTheirArgumentsToTheHandler)
{
    const Bytes wire = bytes(kRoute);
    for (const std::uint32_t type : {14U, 15U}) {
        SCOPED_TRACE(type);
        const ExactCopy copy(wire);
        const std::uint8_t *cursor = copy.data();
        QEL_ROUTE_BLOCK_S *result = nullptr;
        std::uint32_t more = 7;
        ASSERT_EQ(desc_.pfParsePkt(&cursor, copy.size(), 99, type, &result, &more, instance_.ctx), QEL_OK);
        const Block block(result);
        ASSERT_TRUE(block);
        EXPECT_EQ(cursor, copy.data() + copy.size());
        EXPECT_EQ(more, 0U);

        QEL_ROUTE_INFO_S route{};
        route.pucRd = block.at(block->usRdOffset);
        route.uiRdLen = block->usRdLen;
        route.pucKey = block.at(block->usKeyOffset);
        route.uiKeyLen = block->usKeyLen;
        std::array<std::uint8_t, 26> out{};
        std::uint8_t *write = out.data();
        ASSERT_EQ(desc_.pfFormatPkt(&route, type, &write, 26, instance_.ctx), QEL_OK);
        EXPECT_EQ(write, out.data() + wire.size());
        EXPECT_EQ(hex({out.data(), wire.size()}), hex(wire));
        write = out.data();
        EXPECT_EQ(desc_.pfFormatPkt(&route, type, &write, 25, instance_.ctx), QEL_ERR_SPACE);
    }
    EXPECT_TRUE(recorder_.asserts().empty());
}

TEST_F(NgmvpnDispatch, Data2StrAndFormatCfgHandTheirArgumentsToTheHandler)
{
    QEL_NGMVPN_KEY_S key{};
    key.uiKeyType = QEL_NGMVPN_KEY_INTER_IPMSI_AD;
    key.uKey.stInterIpmsiAd.uiSourceAs = 65001;
    const Bytes rd = bytes("0000 6400 01000000");
    QEL_ROUTE_INFO_S route{};
    route.pucKey = reinterpret_cast<const std::uint8_t *>(&key);
    route.uiKeyLen = sizeof(key);
    route.pucRd = rd.data();
    route.uiRdLen = 8;

    std::array<char, 512> text{};
    std::array<char, 512> expected_text{};
    std::uint32_t index = 0;
    std::uint32_t more = 7;
    ASSERT_EQ(desc_.pfData2Str(&route, 1, text.data(), 512, &index, &more, instance_.ctx), QEL_OK);
    EXPECT_EQ(more, 0U);
    ASSERT_EQ(QEL_NGMVPN_MpNlriData2Str(&route, expected_text.data(), 512, &index, &more, instance_.ctx), QEL_OK);
    EXPECT_NE(text[0], '\0');
    EXPECT_EQ(text, expected_text);
    EXPECT_EQ(desc_.pfData2Str(&route, 1, text.data(), 1, &index, &more, instance_.ctx), QEL_ERR_SPACE);

    std::array<std::uint8_t, 128> record{};
    std::array<std::uint8_t, 128> expected_record{};
    std::uint8_t *write = record.data();
    std::uint8_t *expected_write = expected_record.data();
    const std::uint32_t code = desc_.pfFormatCfg(&route, 1, &write, 128, &index, &more);
    EXPECT_EQ(code, QEL_NGMVPN_FormatCfgRd(&route, &expected_write, 128, &index, &more));
    EXPECT_EQ(code, QEL_OK);
    EXPECT_NE(write, record.data());
    EXPECT_EQ(write - record.data(), expected_write - expected_record.data());
    EXPECT_EQ(record, expected_record);
    write = record.data();
    EXPECT_EQ(desc_.pfFormatCfg(&route, 1, &write, 15, &index, &more), QEL_ERR_SPACE);
    EXPECT_TRUE(recorder_.asserts().empty());
}

TEST_F(NgmvpnDispatch, ParseCfgHandsItsArgumentsToTheHandler)
{
    Bytes record = bytes("00000000 0000 6400 01000000 00000000"); // an RD record of 16 bytes
    record.resize(record.size() + QEL_MSG_READ_SLACK);
    QEL_ROUTE_BLOCK_S *result = nullptr;
    ASSERT_EQ(desc_.pfParseCfg(record.data(), 16, 1, &result, instance_.ctx), QEL_OK);
    const Block block(result);
    ASSERT_TRUE(block);
    EXPECT_EQ(block->uiValidMask, QEL_SECTION_RD);
    EXPECT_EQ(hex(block.section(block->usRdOffset, block->usRdLen)), "0000640001000000");
    EXPECT_TRUE(recorder_.asserts().empty());
    EXPECT_EQ(desc_.pfParseCfg(record.data(), 15, 1, &result, instance_.ctx), QEL_ERR_NULL);
}

TEST_F(NgmvpnDispatch, ParsePktReturnsTheHandlersCodeUnchanged)
{
    const ExactCopy copy(bytes("01 0b 0000 0064 00000001 0a0a0a"));
    const std::uint8_t *cursor = copy.data();
    QEL_ROUTE_BLOCK_S *result = nullptr;
    std::uint32_t more = 0;
    EXPECT_EQ(desc_.pfParsePkt(&cursor, copy.size(), 0, 14, &result, &more, instance_.ctx), QEL_ERR_NLRI_MALFORMED);
    EXPECT_EQ(result, nullptr);
}

TEST_F(NgmvpnDispatch, FormatPktLeavesANullContextToTheHandler)
{
    QEL_ROUTE_INFO_S route{};
    std::uint8_t *write = nullptr;
    EXPECT_EQ(desc_.pfFormatPkt(&route, 14, &write, 0, nullptr), QEL_ERR_NULL);
    ASSERT_EQ(recorder_.asserts().size(), 1U);
    const std::string &file = recorder_.asserts()[0].file;
    EXPECT_NE(file.find("qel_ngmvpn_nlri.cpp"), std::string::npos) << "the handler's own report, not " << file;
}

struct CmpCase {
    std::uint32_t type;
    std::uint32_t length; // 0: any
};

// A section of the given length whose first word tells the order; the rest is equal.
Bytes section_with(std::uint32_t length, std::uint8_t first)
{
    Bytes out(length, 0);
    out[4] = first; // RD: the second word; key: the union; non-key: the key type
    out[8] = first; // key type 1: the originator's length
    out[0] = length == 104 ? 1 : 0;
    return out;
}

TEST_F(NgmvpnDispatch, ComparesHandBothSidesToTheHandlerOfTheType)
{
    for (const CmpCase c : {CmpCase{1, 8}, CmpCase{2, 104}, CmpCase{4, 100}, CmpCase{8, 12}}) {
        SCOPED_TRACE(c.type);
        const Bytes low = section_with(std::max(c.length, 12U), 1);
        const Bytes high = section_with(std::max(c.length, 12U), 2);
        const auto cmp = [&](const Bytes &a, std::uint32_t a_len, const Bytes &b, std::uint32_t b_len) {
            const std::int32_t plain = desc_.pfCmpData(a.data(), a_len, b.data(), b_len, c.type);
            EXPECT_EQ(desc_.pfCmpDataForAttrType(a.data(), a_len, b.data(), b_len, c.type, 16), plain);
            return plain;
        };
        EXPECT_EQ(cmp(low, c.length, high, c.length), -1);
        EXPECT_EQ(cmp(high, c.length, low, c.length), 1);
        EXPECT_EQ(cmp(low, c.length, low, c.length), 0);
        const bool fixed = c.type != 8;
        EXPECT_EQ(cmp(low, c.length - 1, low, c.length), fixed ? QEL_CMP_FAILED : -1);
        EXPECT_EQ(cmp(low, c.length, low, c.length - 1), fixed ? QEL_CMP_FAILED : 1);
    }
}

TEST_F(NgmvpnDispatch, CompareWithATypeWithoutARowIsNeverAnOrder)
{
    const Bytes same(104, 1);
    for (const std::uint32_t type : kUnknownTypes) {
        EXPECT_EQ(desc_.pfCmpData(same.data(), 104, same.data(), 104, type), QEL_CMP_FAILED);
        EXPECT_EQ(desc_.pfCmpDataForAttrType(same.data(), 104, same.data(), 104, type, 16), QEL_CMP_FAILED);
    }
    EXPECT_TRUE(recorder_.asserts().empty());
}

} // namespace
} // namespace qel::test
