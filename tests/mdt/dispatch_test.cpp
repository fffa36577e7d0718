// The tables of the MDT family row by row, their lookups, and the operations that reach the handlers through them.
#include "mdt_cases.h"
#include "table_contract.h"

namespace qel::test {
namespace {

template <typename Handler> struct Row {
    std::uint32_t type;
    Handler handler;
};

// The table has these rows in this order, and the lookup finds them and nothing else.
template <std::size_t kRows, typename Handler>
void expect_table(const QEL_DISPATCH_ENTRY_S (&table)[kRows], const QEL_DISPATCH_ENTRY_S *(*lookup)(std::uint32_t),
                  Handler QEL_DISPATCH_ENTRY_S::*member, const std::vector<Row<Handler>> &rows)
{
    ASSERT_EQ(kRows, rows.size());
    for (std::size_t i = 0; i < kRows; ++i) {
        SCOPED_TRACE(i);
        EXPECT_EQ(table[i].uiType, rows[i].type);
        EXPECT_EQ(table[i].*member, rows[i].handler);
    }
    if (lookup != nullptr) {
        expect_lookup(table, lookup);
    }
}

TEST(MdtDispatch, PacketTables)
{
    expect_table(g_astQelMdtPktParseTbl, QEL_MDT_GetPktParseEntry, &QEL_DISPATCH_ENTRY_S::pfParsePkt,
                 {{14, QEL_MDT_ParseMpNlri}, {15, QEL_MDT_ParseMpNlri}, {16, QEL_MDT_ParseExtCommunity}});
    expect_table(g_astQelMdtPktFormatTbl, QEL_MDT_GetPktFormatEntry, &QEL_DISPATCH_ENTRY_S::pfFormatPkt,
                 {{14, QEL_MDT_FormatMpNlri}, {15, QEL_MDT_FormatMpNlri}, {16, QEL_MDT_FormatExtCommunity}});
}

TEST(MdtDispatch, CompareTable)
{
    expect_table(g_astQelMdtCmpDataTbl, QEL_MDT_GetDataCmpEntry, &QEL_DISPATCH_ENTRY_S::pfCmpData,
                 {{1, QEL_MDT_CmpRd},
                  {2, QEL_MDT_CmpKey},
                  {4, QEL_MDT_CmpNonKey},
                  {16, QEL_MDT_CmpExtCommunity},
                  {8, QEL_MDT_CmpAttr}});
}

// kept: the two message tables are not symmetrical
TEST(MdtDispatch, Type15IsOnlyReadType5OnlyWrittenAnd70And71AreOnlyRead)
{
    expect_table(g_astQelMdtMsgParseTbl, QEL_MDT_GetBgpiMsgParseEntry, &QEL_DISPATCH_ENTRY_S::pfParseMsg,
                 {{53, QEL_MDT_ParseRtPrefixTlv},
                  {55, QEL_MDT_ParseRtPrefixTlv},
                  {59, QEL_MDT_ParseRtPrefixTlv},
                  {61, QEL_MDT_ParseRtPrefixTlv},
                  {15, QEL_MDT_ParseRtPrefixTlv},
                  {56, QEL_MDT_ParseIrtTlv},
                  {57, QEL_MDT_ParseIrtTlv},
                  {18, QEL_MDT_ParseIrtTlv},
                  {20, QEL_MDT_ParseIrtTlv},
                  {19, QEL_MDT_ParseIrtTlv},
                  {21, QEL_MDT_ParseIrtTlv},
                  {70, QEL_MDT_ParseIrtTlv},
                  {71, QEL_MDT_ParseIrtTlv}});
    expect_table(g_astQelMdtMsgFormatTbl, QEL_MDT_GetBgpiMsgFormatEntry, &QEL_DISPATCH_ENTRY_S::pfFormatMsg,
                 {{53, QEL_MDT_FormatRtPrefixTlv},
                  {55, QEL_MDT_FormatRtPrefixTlv},
                  {59, QEL_MDT_FormatRtPrefixTlv},
                  {61, QEL_MDT_FormatRtPrefixTlv},
                  {5, QEL_MDT_FormatRtPrefixTlv},
                  {56, QEL_MDT_FormatIrtTlv},
                  {57, QEL_MDT_FormatIrtTlv}});
}

TEST(MdtDispatch, HaMessageTables)
{
    expect_table(g_astQelMdtHaMsgParseTbl, QEL_MDT_GetHaiMsgParseEntry, &QEL_DISPATCH_ENTRY_S::pfParseMsg,
                 {{3, QEL_MDT_ParseRtPrefixTlv},
                  {5, QEL_MDT_ParseRtPrefixTlv},
                  {1, QEL_MDT_ParseRtPrefixTlv},
                  {8, QEL_MDT_ParseRtPrefixTlv},
                  {6, QEL_MDT_ParseIrtTlv},
                  {7, QEL_MDT_ParseIrtTlv}});
    expect_table(g_astQelMdtHaMsgFormatTbl, QEL_MDT_GetHaiMsgFormatEntry, &QEL_DISPATCH_ENTRY_S::pfFormatMsg,
                 {{3, QEL_MDT_FormatRtPrefixTlv},
                  {5, QEL_MDT_FormatRtPrefixTlv},
                  {1, QEL_MDT_FormatRtPrefixTlv},
                  {8, QEL_MDT_FormatRtPrefixTlv},
                  {6, QEL_MDT_FormatIrtTlv},
                  {7, QEL_MDT_FormatIrtTlv}});
}

TEST(MdtDispatch, AttributeMessageTables)
{
    expect_table(
        g_astQelMdtAttrMsgParseTbl, QEL_MDT_GetAttrMsgParseEntry, &QEL_DISPATCH_ENTRY_S::pfParseMsg,
        {{11, QEL_MDT_ParseRtExtCommunityTlv}, {21, QEL_MDT_ParseRtExtCommunityTlv}, {34, QEL_MDT_ParseRtNonKeyTlv}});
    expect_table(g_astQelMdtAttrMsgFormatTbl, QEL_MDT_GetAttrMsgFormatEntry, &QEL_DISPATCH_ENTRY_S::pfFormatMsg,
                 {{11, QEL_MDT_FormatRtExtCommunityTlv},
                  {21, QEL_MDT_FormatRtExtCommunityTlv},
                  {34, QEL_MDT_FormatRtNonKeyTlv}});
    expect_table(g_astQelMdtErtMsgParseTbl, QEL_MDT_GetErtMsgParseEntry, &QEL_DISPATCH_ENTRY_S::pfParseAddAttrMsg,
                 {{11, QEL_MDT_ParseAddAttrTlv}});
}

TEST(MdtDispatch, ConfigurationAndDisplayTables)
{
    expect_table(g_astQelMdtCfgParseTbl, QEL_MDT_GetCfgParseEntry, &QEL_DISPATCH_ENTRY_S::pfParseMsg,
                 {{1, QEL_MDT_ParseCfgRd}, {2, QEL_MDT_ParseCfgPrefix}});
    expect_table(g_astQelMdtCfgFormatTbl, QEL_MDT_GetCfgFormatEntry, &QEL_DISPATCH_ENTRY_S::pfFormatCfg,
                 {{1, QEL_MDT_FormatCfgRd}, {2, QEL_MDT_FormatCfgPrefix}, {4, QEL_MDT_FormatCfgExtCommunity}});
    expect_table(g_astQelMdtData2StrTbl, QEL_MDT_GetData2StrEntry, &QEL_DISPATCH_ENTRY_S::pfData2Str,
                 {{1, QEL_MDT_MpNlriData2Str}, {2, QEL_MDT_ExtCommunity2Str}, {8, QEL_MDT_NonKey2Str}});
}

TEST(MdtDispatch, PolicyTables)
{
    expect_table(g_astQelMdtSetAttrTbl, QEL_MDT_GetAttrSetEntry, &QEL_DISPATCH_ENTRY_S::pfSetAttr,
                 {{16, QEL_MDT_SetExtCommunity}});
    expect_table(g_astQelMdtApplyActionTbl, QEL_MDT_GetApplyActionEntry, &QEL_DISPATCH_ENTRY_S::pfApplyAction,
                 {{6, QEL_MDT_ApplyExtCommunity},
                  {7, QEL_MDT_ApplyExtCommunity},
                  {87, QEL_MDT_ApplyExtCommunity},
                  {36, QEL_MDT_ApplyExtCommunity},
                  {37, QEL_MDT_ApplyExtCommunity},
                  {38, QEL_MDT_ApplyExtCommunity}});
    expect_table(g_astQelMdtConstructMatchTbl, nullptr, &QEL_DISPATCH_ENTRY_S::pfConstructMatch,
                 {{2048, QEL_MDT_ConstructMatchRd},
                  {4, QEL_MDT_ConstructMatchExtCommunity},
                  {524288, QEL_MDT_ConstructMatchIpGroup}});
}

// --- through the descriptor -----------------------------------------------------------------------------------------

using MdtOperation = MdtTest;

const Bytes kPrefix = bytes("0000 0064 00000005 0a000001 ef010101");
const Bytes kTarget = bytes("0002 fde9 00000064");

Made read(QEL_PARSE_TLV_F reader, std::uint32_t type, const Bytes &value, QEL_FAMILY_CTX_S *ctx)
{
    const Trusted message(value);
    return make([&](auto result) { return reader(message.data(), message.size(), type, result, ctx); });
}

Written write(QEL_FORMAT_TLV_F writer, std::uint32_t type, std::uint32_t room, QEL_FAMILY_CTX_S *ctx)
{
    Sections sections = whole_route();
    sections.list = host_list(kTarget);
    sections.cross = bytes("010101ef");
    const Held held(sections);
    return write_into(room, [&](auto cursor) { return writer(&held.info, type, cursor, room, ctx); });
}

TEST_F(MdtOperation, MessagesReachTheirHandlers)
{
    for (const std::uint32_t type : {53U, 55U, 59U, 61U, 15U}) {
        expect_made(read(desc_.pfParseMsg, type, kPrefix, ctx_), whole_route());
    }
    for (const std::uint32_t type : {56U, 57U, 18U, 20U, 19U, 21U, 70U, 71U}) {
        expect_made(read(desc_.pfParseMsg, type, kTarget, ctx_), {.cross = host_list(kTarget)});
    }
    for (const std::uint32_t type : {5U, 16U, 54U, 72U}) {
        expect_not_made(read(desc_.pfParseMsg, type, kPrefix, ctx_), kNoEntry);
    }
    for (const std::uint32_t type : {53U, 55U, 59U, 61U, 5U}) {
        expect_written(write(desc_.pfFormatMsg, type, 16, ctx_), kPrefix);
        expect_not_written(write(desc_.pfFormatMsg, type, 15, ctx_), kNoRoom);
    }
    for (const std::uint32_t type : {56U, 57U}) {
        expect_written(write(desc_.pfFormatMsg, type, 4, ctx_), bytes("ef010101"));
    }
    for (const std::uint32_t type : {15U, 18U, 19U, 20U, 21U, 70U, 71U}) {
        expect_not_written(write(desc_.pfFormatMsg, type, 40, ctx_), kNoEntry);
    }
}

TEST_F(MdtOperation, HaMessagesReachTheirHandlers)
{
    for (const std::uint32_t type : {3U, 5U, 1U, 8U}) {
        expect_made(read(desc_.pfParseHaMsg, type, kPrefix, ctx_), whole_route());
        expect_written(write(desc_.pfFormatHaMsg, type, 16, ctx_), kPrefix);
    }
    for (const std::uint32_t type : {6U, 7U}) {
        expect_made(read(desc_.pfParseHaMsg, type, kTarget, ctx_), {.cross = host_list(kTarget)});
        expect_written(write(desc_.pfFormatHaMsg, type, 4, nullptr), bytes("ef010101"));
    }
    expect_not_made(read(desc_.pfParseHaMsg, 10, kPrefix, ctx_), kNoEntry);
    expect_not_written(write(desc_.pfFormatHaMsg, 10, 40, ctx_), kNoEntry);
}

TEST_F(MdtOperation, AttributeMessagesReachTheirHandlers)
{
    const Bytes nonkey = bytes("0001 0008 0001 0004 ef010101");
    for (const std::uint32_t type : {11U, 21U}) {
        expect_made(read(desc_.pfParseAttrMsg, type, kTarget + kTarget, ctx_), {.list = host_list(kTarget + kTarget)});
        expect_written(write(desc_.pfFormatAttrMsg, type, 8, ctx_), kTarget);
    }
    expect_made(read(desc_.pfParseAttrMsg, 34, nonkey, ctx_), {.nonkey = bytes(kNonKeyMem)});
    expect_written(write(desc_.pfFormatAttrMsg, 34, 12, ctx_), nonkey);
    expect_not_made(read(desc_.pfParseAttrMsg, 25, nonkey, ctx_), kNoEntry);
    expect_not_written(write(desc_.pfFormatAttrMsg, 25, 40, ctx_), kNoEntry);
}

TEST_F(MdtOperation, AddedListsReachTheirHandler)
{
    const Held held({.list = host_list(kTarget)});
    const Trusted data(kTarget);
    const auto add = [&](std::uint32_t type) {
        return make([&](auto result) {
            return desc_.pfParseAddAttrMsg(&held.info, data.data(), data.size(), type, result, ctx_);
        });
    };
    expect_made(add(11), {.list = host_list(kTarget) + kTarget});
    for (const std::uint32_t type : {0U, 21U, 34U}) { // kept: this family adds no non-key
        expect_not_made(add(type), kNoEntry);
    }
}

TEST_F(MdtOperation, ConfigurationReachesItsHandlers)
{
    expect_made(read(desc_.pfParseCfg, 1, bytes("00000000") + bytes(kRdMem) + bytes("01000000"), ctx_),
                {.rd = bytes(kRdMem)});
    expect_made(read(desc_.pfParseCfg, 2, bytes("0b000000") + bytes(kKeyMem) + Bytes(77), ctx_),
                {.key = bytes(kKeyMem)});
    expect_not_made(read(desc_.pfParseCfg, 4, Bytes(16), ctx_), kNoEntry);
    Sections sections = whole_route();
    sections.list = host_list(kTarget);
    const Held held(sections);
    const auto configure = [&](std::uint32_t type, std::ptrdiff_t moved) {
        std::uint32_t index = 0;
        std::uint32_t more = 7;
        const Written got = write_into(
            100, [&](auto cursor) { return desc_.pfFormatCfg(&held.info, type, cursor, 100, &index, &more); });
        EXPECT_EQ(got.moved, moved);
        return got;
    };
    expect_buffer(configure(1, 16), bytes("00000000") + bytes(kRdMem) + bytes("01000000"));
    expect_buffer(configure(2, 89), bytes("0b000000") + bytes(kKeyMem) + bytes("20000000"));
    const std::string_view shown = "RT <65001 : 100>";
    expect_buffer(configure(4, 0), Bytes(shown.begin(), shown.end()) + Bytes{0});
    EXPECT_EQ(configure(8, 0).code, kNoEntry);
}

// --- arguments of the operations ------------------------------------------------------------------------------------

TEST_F(MdtOperation, PacketsAreNotReadWithoutTheirArgumentsWhateverTheLengthAndTheType)
{
    const Trusted wire(kTarget);
    for (const std::uint32_t length : {0U, 8U}) {
        for (const std::uint32_t type : {16U, 22U}) {
            expect_null_arguments_refused(4, kFrameSource, [&](unsigned nulls) {
                const std::uint8_t *cursor = wire.data();
                QEL_ROUTE_BLOCK_S *result = block_marker();
                std::uint32_t more = kUnwritten;
                const std::uint32_t code =
                    desc_.pfParsePkt(unless(nulls, 0, &cursor), length, 0, type, unless(nulls, 1, &result),
                                     unless(nulls, 2, &more), unless(nulls, 3, ctx_));
                EXPECT_EQ(result, block_marker());
                EXPECT_EQ(more, kUnwritten);
                return code;
            });
        }
    }
}

TEST_F(MdtOperation, TheThirdArgumentOfAPacketIsNotLookedAt)
{
    for (const std::uint32_t third : {0U, 14U, 22U, 0xffffffffU}) {
        const OddBytes wire(kTarget);
        const std::uint8_t *cursor = wire.data();
        std::uint32_t more = kUnwritten;
        expect_made(make([&](auto result) { return desc_.pfParsePkt(&cursor, 8, third, 16, result, &more, ctx_); }),
                    {.list = host_list(kTarget)});
    }
}

TEST_F(MdtOperation, PacketsAreNotWrittenWithoutRouteAndCursor)
{
    Held held(whole_route());
    for (const std::uint32_t type : {14U, 22U}) {
        expect_null_arguments_refused(2, kFrameSource, [&](unsigned nulls) {
            std::array<std::uint8_t, 17> out{};
            std::uint8_t *cursor = out.data();
            return desc_.pfFormatPkt(unless(nulls, 0, &held.info), type, unless(nulls, 1, &cursor), 17, ctx_);
        });
    }
}

TEST_F(MdtOperation, MessagesAreNotReadWithoutTheirArguments)
{
    const Trusted value(kTarget);
    for (const QEL_PARSE_TLV_F reader :
         {desc_.pfParseMsg, desc_.pfParseHaMsg, desc_.pfParseAttrMsg, desc_.pfParseCfg}) {
        for (const std::uint32_t type : {1U, 6U, 11U, 56U, 200U}) {
            expect_null_arguments_refused(3, kFrameSource, [&](unsigned nulls) {
                QEL_ROUTE_BLOCK_S *result = block_marker();
                const std::uint32_t code =
                    reader(unless(nulls, 0, value.data()), 8, type, unless(nulls, 1, &result), unless(nulls, 2, ctx_));
                EXPECT_EQ(result, block_marker());
                return code;
            });
        }
    }
}

void expect_writer_refuses(QEL_FORMAT_TLV_F writer, unsigned count, QEL_FAMILY_CTX_S *ctx)
{
    const Held held(whole_route());
    for (const std::uint32_t type : {1U, 53U, 34U, 200U}) {
        expect_null_arguments_refused(count, kFrameSource, [&](unsigned nulls) {
            std::array<std::uint8_t, 40> out{};
            std::uint8_t *cursor = out.data();
            return writer(unless(nulls, 0, &held.info), type, unless(nulls, 1, &cursor), 40, unless(nulls, 2, ctx));
        });
    }
}

TEST_F(MdtOperation, MessagesAreNotWrittenWithoutRouteCursorAndContext)
{
    expect_writer_refuses(desc_.pfFormatMsg, 3, ctx_);
}

TEST_F(MdtOperation, HaAndAttributeMessagesAreNotWrittenWithoutRouteAndCursor)
{
    expect_writer_refuses(desc_.pfFormatHaMsg, 2, ctx_);
    expect_writer_refuses(desc_.pfFormatAttrMsg, 2, ctx_);
}

// kept: packets, HA messages and attribute messages are written without a look at the context
TEST_F(MdtOperation, PacketsHaAndAttributeMessagesDoNotAskForTheContext)
{
    const platform::Recorder recorder;
    Held held({.cross = bytes("010101ef")});
    const auto code = [&](auto writer, std::uint32_t type) {
        std::array<std::uint8_t, 40> out{};
        std::uint8_t *cursor = out.data();
        return writer(&held.info, type, &cursor, 40, nullptr);
    };
    EXPECT_EQ(code(desc_.pfFormatPkt, 22), kNoEntry);
    EXPECT_EQ(code(desc_.pfFormatHaMsg, 6), 0U);
    EXPECT_EQ(code(desc_.pfFormatAttrMsg, 11), 0U);
    EXPECT_TRUE(recorder.asserts().empty());
}

TEST_F(MdtOperation, ListsAreNotAddedWithoutDataResultAndContext)
{
    const Held held({.list = host_list(kTarget)});
    const Trusted data(kTarget);
    for (const std::uint32_t type : {11U, 34U}) {
        expect_null_arguments_refused(3, kFrameSource, [&](unsigned nulls) {
            QEL_ROUTE_BLOCK_S *result = block_marker();
            const std::uint32_t code = desc_.pfParseAddAttrMsg(&held.info, unless(nulls, 0, data.data()), 8, type,
                                                               unless(nulls, 1, &result), unless(nulls, 2, ctx_));
            EXPECT_EQ(result, block_marker());
            return code;
        });
    }
}

// kept: the operation leaves a missing route to the handler
TEST_F(MdtOperation, ARouteIsNotAskedForWhereNoHandlerIsFound)
{
    const Trusted data(kTarget);
    expect_not_made(
        make([&](auto result) { return desc_.pfParseAddAttrMsg(nullptr, data.data(), 8, 34, result, ctx_); }),
        kNoEntry);
}

TEST_F(MdtOperation, ConfigurationIsNotWrittenWithoutItsArguments)
{
    const Held held(whole_route());
    for (const std::uint32_t type : {1U, 200U}) {
        expect_null_arguments_refused(4, kFrameSource, [&](unsigned nulls) {
            std::array<std::uint8_t, 100> out{};
            std::uint8_t *cursor = out.data();
            std::uint32_t index = 0;
            std::uint32_t more = 0;
            return desc_.pfFormatCfg(unless(nulls, 0, &held.info), type, unless(nulls, 1, &cursor), 100,
                                     unless(nulls, 2, &index), unless(nulls, 3, &more));
        });
    }
}

TEST_F(MdtOperation, TextsAreNotShownWithoutTheirArguments)
{
    const Held held(whole_route());
    for (const std::uint32_t type : {1U, 200U}) {
        expect_null_arguments_refused(5, kFrameSource, [&](unsigned nulls) {
            std::array<char, 100> out{};
            std::uint32_t index = 0;
            std::uint32_t more = 0;
            return desc_.pfData2Str(unless(nulls, 0, &held.info), type, unless(nulls, 1, out.data()), 100,
                                    unless(nulls, 2, &index), unless(nulls, 3, &more), unless(nulls, 4, ctx_));
        });
    }
}

TEST_F(MdtOperation, AttributesAreNotSetWithoutTheirArguments)
{
    const Held held({.list = host_list(kTarget)});
    for (const std::uint32_t type : {16U, 22U}) {
        expect_null_arguments_refused(3, kFrameSource, [&](unsigned nulls) {
            QEL_ROUTE_BLOCK_S *result = block_marker();
            const std::uint32_t code = desc_.pfSetAttr(unless(nulls, 0, &held.info), type, 0, unless(nulls, 1, &result),
                                                       unless(nulls, 2, ctx_));
            EXPECT_EQ(result, block_marker());
            return code;
        });
    }
}

} // namespace
} // namespace qel::test
