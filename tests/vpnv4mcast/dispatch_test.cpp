// The tables of the VPNv4 multicast family, row by row in their order, and the road from each operation to its
// handlers.
#include "table_contract.h"
#include "vpnv4mcast_cases.h"

namespace qel::test {
namespace {

using Row = QEL_DISPATCH_ENTRY_S;
using Lookup = decltype(&QEL_VPNV4MCAST_GetPktParseEntry);

// The rows in their order, their handlers, and what the lookup finds: them and nothing else.
template <auto kSlot, std::size_t kRows, typename Handler>
void expect_table(const Row (&table)[kRows], const std::pair<std::uint32_t, Handler> (&want)[kRows],
                  Lookup lookup = nullptr)
{
    for (std::size_t i = 0; i < kRows; ++i) {
        SCOPED_TRACE(i);
        EXPECT_EQ(table[i].uiType, want[i].first);
        EXPECT_EQ(table[i].*kSlot, want[i].second);
    }
    if (lookup != nullptr) {
        expect_lookup(table, lookup);
    }
}

using PktParse = std::pair<std::uint32_t, decltype(Row::pfParsePkt)>;
using PktFormat = std::pair<std::uint32_t, decltype(Row::pfFormatPkt)>;
using MsgParse = std::pair<std::uint32_t, decltype(Row::pfParseMsg)>;
using MsgFormat = std::pair<std::uint32_t, decltype(Row::pfFormatMsg)>;
using CfgFormat = std::pair<std::uint32_t, decltype(Row::pfFormatCfg)>;
using Show = std::pair<std::uint32_t, decltype(Row::pfData2Str)>;
using Compare = std::pair<std::uint32_t, decltype(Row::pfCmpData)>;
using Match = std::pair<std::uint32_t, decltype(Row::pfConstructMatch)>;
using Action = std::pair<std::uint32_t, decltype(Row::pfApplyAction)>;
using Set = std::pair<std::uint32_t, decltype(Row::pfSetAttr)>;

TEST(Vpnv4McastDispatch, PacketTables)
{
    const PktParse parse[] = {{14, QEL_VPNV4MCAST_ParseMpNlri},
                              {15, QEL_VPNV4MCAST_ParseMpNlri},
                              {16, QEL_VPNV4MCAST_ParseExtCommunity},
                              {256, QEL_VPNV4MCAST_ParseMpNlriWithoutLabel}};
    expect_table<&Row::pfParsePkt>(g_astQelVpnV4McastPktParseTbl, parse, QEL_VPNV4MCAST_GetPktParseEntry);
    const PktFormat format[] = {{14, QEL_VPNV4MCAST_FormatMpNlri},
                                {15, QEL_VPNV4MCAST_FormatMpNlri},
                                {16, QEL_VPNV4MCAST_FormatExtCommunity},
                                {256, QEL_VPNV4MCAST_FormatMpNlriWithoutLabel}};
    expect_table<&Row::pfFormatPkt>(g_astQelVpnV4McastPktFormatTbl, format, QEL_VPNV4MCAST_GetPktFormatEntry);
}

TEST(Vpnv4McastDispatch, HighAvailabilityMessageTables)
{
    const MsgParse parse[] = {{1, QEL_VPNV4MCAST_ParseRtPrefixTlv}, {3, QEL_VPNV4MCAST_ParseRtPrefixTlv},
                              {5, QEL_VPNV4MCAST_ParseRtPrefixTlv}, {8, QEL_VPNV4MCAST_ParseRtPrefixTlv},
                              {6, QEL_VPNV4MCAST_ParseIrtTlv},      {7, QEL_VPNV4MCAST_ParseIrtTlv}};
    expect_table<&Row::pfParseMsg>(g_astQelVpnV4McastHaMsgParseTbl, parse, QEL_VPNV4MCAST_GetHaiMsgParseEntry);
    const MsgFormat format[] = {{1, QEL_VPNV4MCAST_FormatRtPrefixTlv}, {3, QEL_VPNV4MCAST_FormatRtPrefixTlv},
                                {5, QEL_VPNV4MCAST_FormatRtPrefixTlv}, {8, QEL_VPNV4MCAST_FormatRtPrefixTlv},
                                {6, QEL_VPNV4MCAST_FormatIrtTlv},      {7, QEL_VPNV4MCAST_FormatIrtTlv}};
    expect_table<&Row::pfFormatMsg>(g_astQelVpnV4McastHaMsgFormatTbl, format, QEL_VPNV4MCAST_GetHaiMsgFormatEntry);
}

TEST(Vpnv4McastDispatch, AttributeMessageTables)
{
    const MsgParse parse[] = {{11, QEL_VPNV4MCAST_ParseExtCommunityTlv}, {21, QEL_VPNV4MCAST_ParseExtCommunityTlv}};
    expect_table<&Row::pfParseMsg>(g_astQelVpnV4McastAttrMsgParseTbl, parse, QEL_VPNV4MCAST_GetAttrMsgParseEntry);
    const MsgFormat format[] = {{11, QEL_VPNV4MCAST_FormatExtCommunityTlv}, {21, QEL_VPNV4MCAST_FormatExtCommunityTlv}};
    expect_table<&Row::pfFormatMsg>(g_astQelVpnV4McastAttrMsgFormatTbl, format, QEL_VPNV4MCAST_GetAttrMsgFormatEntry);
}

TEST(Vpnv4McastDispatch, ConfigurationTables)
{
    const MsgParse parse[] = {{1, QEL_VPNV4MCAST_ParseCfgRd}, {2, QEL_VPNV4MCAST_ParseCfgPrefix}};
    expect_table<&Row::pfParseMsg>(g_astQelVpnV4McastCfgParseTbl, parse, QEL_VPNV4MCAST_GetCfgParseEntry);
    const CfgFormat format[] = {{1, QEL_VPNV4MCAST_FormatCfgRd},
                                {2, QEL_VPNV4MCAST_FormatCfgPrefix},
                                {4, QEL_VPNV4MCAST_FormatCfgExtCommunity}};
    expect_table<&Row::pfFormatCfg>(g_astQelVpnV4McastCfgFormatTbl, format, QEL_VPNV4MCAST_GetCfgFormatEntry);
}

TEST(Vpnv4McastDispatch, DisplayTable)
{
    const Show rows[] = {{1, QEL_VPNV4MCAST_MpNlriData2Str}, {2, QEL_VPNV4MCAST_ExtCommunity2Str}};
    expect_table<&Row::pfData2Str>(g_astQelVpnV4McastData2StrTbl, rows, QEL_VPNV4MCAST_GetData2StrEntry);
}

TEST(Vpnv4McastDispatch, CompareTable)
{
    const Compare rows[] = {{1, QEL_VPNV4MCAST_CmpRd},
                            {2, QEL_VPNV4MCAST_CmpKey},
                            {32, QEL_VPNV4MCAST_CmpLabel},
                            {8, QEL_VPNV4MCAST_CmpAttr},
                            {16, QEL_VPNV4MCAST_CmpCross}};
    expect_table<&Row::pfCmpData>(g_astQelVpnV4McastCmpDataTbl, rows, QEL_VPNV4MCAST_GetDataCmpEntry);
}

TEST(Vpnv4McastDispatch, PolicyTables)
{
    const Match match[] = {{2048, QEL_VPNV4MCAST_ConstructMatchRd}, {4, QEL_VPNV4MCAST_ConstructMatchExtCommunity}};
    expect_table<&Row::pfConstructMatch>(g_astQelVpnV4McastConstructMatchTbl, match);
    const Action action[] = {{6, QEL_VPNV4MCAST_ApplyExtCommunity},  {7, QEL_VPNV4MCAST_ApplyExtCommunity},
                             {87, QEL_VPNV4MCAST_ApplyExtCommunity}, {36, QEL_VPNV4MCAST_ApplyExtCommunity},
                             {37, QEL_VPNV4MCAST_ApplyExtCommunity}, {38, QEL_VPNV4MCAST_ApplyExtCommunity}};
    expect_table<&Row::pfApplyAction>(g_astQelVpnV4McastApplyActionTbl, action, QEL_VPNV4MCAST_GetApplyActionEntry);
    const Set set[] = {{16, QEL_VPNV4MCAST_SetExtCommunity}};
    expect_table<&Row::pfSetAttr>(g_astQelVpnV4McastSetAttrTbl, set, QEL_VPNV4MCAST_GetAttrSetEntry);
}

// --- the operations -------------------------------------------------------------------------------------------------

using Vpnv4McastOperations = Vpnv4McastTest;

const Bytes kPrefix = bytes("0000 0064 00000005 0a010000 00000010");
const Bytes kTarget = bytes("0002 fde9 00000064");

Made parse(QEL_PARSE_TLV_F operation, const Bytes &value, std::uint32_t type, QEL_FAMILY_CTX_S *ctx)
{
    const Trusted message(value);
    return make([&](auto result) { return operation(message.data(), message.size(), type, result, ctx); });
}

Written format(QEL_FORMAT_TLV_F operation, const Sections &sections, std::uint32_t type, QEL_FAMILY_CTX_S *ctx)
{
    const Held held(sections);
    return write_into(30, [&](auto cursor) { return operation(&held.info, type, cursor, 30, ctx); });
}

TEST_F(Vpnv4McastOperations, HighAvailabilityMessagesReachTheirHandlers)
{
    for (const std::uint32_t type : {1U, 3U, 5U, 8U}) {
        expect_made(parse(desc_.pfParseHaMsg, kPrefix, type, ctx_), bare_route());
        expect_written(format(desc_.pfFormatHaMsg, bare_route(), type, ctx_), kPrefix);
    }
    for (const std::uint32_t type : {6U, 7U}) {
        expect_made(parse(desc_.pfParseHaMsg, kTarget, type, ctx_), {.cross = host_list(kTarget)});
        expect_written(format(desc_.pfFormatHaMsg, {.cross = host_list(kTarget)}, type, ctx_), kTarget);
    }
    for (const std::uint32_t type : {0U, 2U, 4U, 9U, 10U, 11U, 0x101U, 0x10001U}) {
        expect_not_made(parse(desc_.pfParseHaMsg, kPrefix, type, ctx_), kNoEntry);
        expect_not_written(format(desc_.pfFormatHaMsg, bare_route(), type, ctx_), kNoEntry);
    }
}

TEST_F(Vpnv4McastOperations, AttributeMessagesReachTheirHandlers)
{
    for (const std::uint32_t type : {11U, 21U}) {
        expect_made(parse(desc_.pfParseAttrMsg, kTarget, type, ctx_), {.list = host_list(kTarget)});
        expect_written(format(desc_.pfFormatAttrMsg, {.list = host_list(kTarget)}, type, ctx_), kTarget);
    }
    for (const std::uint32_t type : {0U, 12U, 25U, 34U, 50U, 0x10bU}) { // 34: there is no non-key
        expect_not_made(parse(desc_.pfParseAttrMsg, kTarget, type, ctx_), kNoEntry);
        expect_not_written(format(desc_.pfFormatAttrMsg, {.list = host_list(kTarget)}, type, ctx_), kNoEntry);
    }
}

TEST_F(Vpnv4McastOperations, ConfigurationRecordsReachTheirHandlers)
{
    expect_made(parse(desc_.pfParseCfg, bytes("00000000") + bytes(kRdMem) + Bytes(4), 1, ctx_), {.rd = bytes(kRdMem)});
    expect_made(parse(desc_.pfParseCfg, bytes("0a000000") + bytes(kKeyMem) + Bytes(77), 2, ctx_),
                {.key = bytes(kKeyMem)});
    Sections sections = bare_route();
    sections.list = host_list(kTarget);
    const Held held(sections);
    const auto cfg = [&](std::uint32_t type) {
        std::uint32_t index = 0;
        std::uint32_t more = kUnwritten;
        return write_into(89,
                          [&](auto cursor) { return desc_.pfFormatCfg(&held.info, type, cursor, 89, &index, &more); });
    };
    EXPECT_EQ(cfg(1).moved, 16);
    EXPECT_EQ(cfg(2).moved, 89);
    EXPECT_EQ(hex(slice(cfg(4).buffer, 0, 17)), hex_of("5254203c3635303031203a203130303e00")); // RT <65001 : 100>
    for (const std::uint32_t type : {0U, 3U, 4U, 8U, 0x101U}) {
        expect_not_made(parse(desc_.pfParseCfg, kPrefix, type, ctx_), kNoEntry);
        if (type != 4) {
            expect_not_written(cfg(type), kNoEntry);
        }
    }
}

TEST_F(Vpnv4McastOperations, NoMessageOfAnyTypeHasAHandler)
{
    EXPECT_EQ(desc_.ucMsgTlvCount, 0U);
    for (const std::uint32_t type : {5U, 15U, 53U, 56U, 71U}) {
        expect_not_made(parse(desc_.pfParseMsg, kPrefix, type, ctx_), 0);
        expect_written(format(desc_.pfFormatMsg, bare_route(), type, ctx_), {});
    }
}

} // namespace
} // namespace qel::test
