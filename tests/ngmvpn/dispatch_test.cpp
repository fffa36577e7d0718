// The NG-MVPN operations up to their handlers: checks, tables, codes of a failed lookup, the debug lines.
#include "ngmvpn/qel_ngmvpn.h"
#include "ngmvpn/qel_ngmvpn_dfx.h"
#include "ngmvpn/qel_ngmvpn_nlri.h"
#include "ngmvpn/qel_ngmvpn_policy.h"
#include "ngmvpn/qel_ngmvpn_segment_policy.h"

#include "dispatch_contract.h"

#include <algorithm>
#include <array>
#include <string>

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

TEST_F(NgmvpnDispatch, LookupsFindTheRowsOfTheirTables)
{
    expect_lookup(g_astQelNgmvpnPktParseTbl, QEL_NGMVPN_GetPktParseEntry);
    expect_lookup(g_astQelNgmvpnPktFormatTbl, QEL_NGMVPN_GetPktFormatEntry);
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

TEST_F(NgmvpnDispatch, RoutesAndComparesHaveTheirHandlers)
{
    for (const std::uint32_t type : {14U, 15U}) {
        ASSERT_NE(row(g_astQelNgmvpnPktParseTbl, type), nullptr);
        EXPECT_EQ(row(g_astQelNgmvpnPktParseTbl, type)->pfParsePkt, QEL_NGMVPN_ParseMpNlri);
        ASSERT_NE(row(g_astQelNgmvpnPktFormatTbl, type), nullptr);
        EXPECT_EQ(row(g_astQelNgmvpnPktFormatTbl, type)->pfFormatPkt, QEL_NGMVPN_FormatMpNlri);
    }
    const struct {
        std::uint32_t type;
        decltype(QEL_DISPATCH_ENTRY_S::pfCmpData) plain;
        decltype(QEL_DISPATCH_ENTRY_S::pfCmpDataForAttrType) attr;
    } compares[] = {
        {1, QEL_NGMVPN_CmpRd, QEL_NGMVPN_CmpRdAttr},
        {2, QEL_NGMVPN_CmpKey, QEL_NGMVPN_CmpKeyAttr},
        {4, QEL_NGMVPN_CmpNonKey, QEL_NGMVPN_CmpNonKeyAttr},
        {8, QEL_NGMVPN_CmpAttr, QEL_NGMVPN_CmpAttrNew},
    };
    for (const auto &c : compares) {
        ASSERT_NE(row(g_astQelNgmvpnCmpDataTbl, c.type), nullptr) << c.type;
        EXPECT_EQ(row(g_astQelNgmvpnCmpDataTbl, c.type)->pfCmpData, c.plain) << c.type;
        ASSERT_NE(row(g_astQelNgmvpnCmpAttrDataTbl, c.type), nullptr) << c.type;
        EXPECT_EQ(row(g_astQelNgmvpnCmpAttrDataTbl, c.type)->pfCmpDataForAttrType, c.attr) << c.type;
    }
}

TEST_F(NgmvpnDispatch, OutgoingAttributesAndActionsHaveTheirHandlers)
{
    const struct {
        std::uint32_t type;
        decltype(QEL_DISPATCH_ENTRY_S::pfSetAttr) handler;
    } attributes[] = {
        {16, QEL_NGMVPN_SetExtCommunity},
        {3, QEL_NGMVPN_SetNexthop},
        {8, QEL_NGMVPN_SetCommunity},
        {22, QEL_NGMVPN_SetPmsi},
    };
    for (const auto &a : attributes) {
        ASSERT_NE(row(g_astQelNgmvpnSetAttrTbl, a.type), nullptr) << a.type;
        EXPECT_EQ(row(g_astQelNgmvpnSetAttrTbl, a.type)->pfSetAttr, a.handler) << a.type;
    }
    for (const std::uint32_t type : {6U, 7U, 87U}) {
        ASSERT_NE(row(g_astQelNgmvpnApplyActionTbl, type), nullptr) << type;
        EXPECT_EQ(row(g_astQelNgmvpnApplyActionTbl, type)->pfApplyAction, QEL_NGMVPN_ApplyExtCommunity) << type;
    }
    ASSERT_NE(row(g_astQelNgmvpnApplyActionTbl, 61U), nullptr);
    EXPECT_EQ(row(g_astQelNgmvpnApplyActionTbl, 61U)->pfApplyAction, QEL_NGMVPN_ApplyAttrRplInfo);
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
    EXPECT_EQ(desc_.pfFormatPkt(&route, 14, &write, 0, nullptr), QEL_NGMVPN_FormatMpNlri(&route, &write, 0, nullptr));
    EXPECT_EQ(recorder_.asserts().size(), 2U);
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
