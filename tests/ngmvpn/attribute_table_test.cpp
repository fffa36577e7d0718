// The path attributes of NG-MVPN by type code, and what their five pairs of handlers have in common.
#include "attribute_cases.h"

#include "ngmvpn/qel_ngmvpn.h"

#include "dirty_heap.h"

namespace qel::test {
namespace {

// --- tables ---------------------------------------------------------------------------------------------------------

// The rows behind those of the routes.
template <std::size_t kRows, typename Handler>
void expect_attribute_rows(const QEL_DISPATCH_ENTRY_S (&table)[kRows], Handler QEL_DISPATCH_ENTRY_S::*handler,
                           const std::array<Handler, 5> &handlers)
{
    static constexpr std::array<std::uint32_t, 5> types{16, 22, 25, 40, 66};
    ASSERT_EQ(kRows, 7U);
    for (std::size_t i = 0; i < types.size(); ++i) {
        EXPECT_EQ(table[2 + i].uiType, types[i]);
        EXPECT_EQ(table[2 + i].*handler, handlers[i]) << types[i];
    }
}

TEST(AttributeTable, ParseRowsInOrder)
{
    expect_attribute_rows(g_astQelNgmvpnPktParseTbl, &QEL_DISPATCH_ENTRY_S::pfParsePkt,
                          {QEL_NGMVPN_ParseExtCommunity, QEL_NGMVPN_ParsePmsiTnl, QEL_NGMVPN_ParseIPv6ExtCommunity,
                           QEL_NGMVPN_ParsePrefixSid, QEL_NGMVPN_ParseMsid});
}

TEST(AttributeTable, FormatRowsInOrder)
{
    expect_attribute_rows(g_astQelNgmvpnPktFormatTbl, &QEL_DISPATCH_ENTRY_S::pfFormatPkt,
                          {QEL_NGMVPN_FormatExtCommunity, QEL_NGMVPN_FormatPmsiTnl, QEL_NGMVPN_FormatIPv6ExtCommunity,
                           QEL_NGMVPN_FormatPrefixSid, QEL_NGMVPN_FormatMsid});
}

TEST(AttributeTable, LookupsFindTheRows)
{
    for (std::size_t row = 2; row < 7; ++row) {
        const std::uint32_t type = g_astQelNgmvpnPktParseTbl[row].uiType;
        EXPECT_EQ(QEL_NGMVPN_GetPktParseEntry(type), &g_astQelNgmvpnPktParseTbl[row]);
        EXPECT_EQ(QEL_NGMVPN_GetPktFormatEntry(type), &g_astQelNgmvpnPktFormatTbl[row]);
    }
}

// --- what all have in common ----------------------------------------------------------------------------------------

struct AttributeCase {
    std::string name;
    std::uint8_t type;
    std::uint8_t flag;
    AttributeParser parser;
    AttributeFormatter formatter;
    std::string wire;
    std::string section;
    std::string back{};            // what formatting gives; empty: the wire bytes again
    std::uint64_t with_buffer = 2; // allocations of reading while the inline buffer is free
    std::uint64_t without = 2;     // and while it is lent out

    Bytes octets() const { return bytes(wire); }
    Bytes formatted() const { return bytes(back.empty() ? wire : back); }
    std::uint64_t write_allocations() const { return type == 16 || type == 25 ? 1 : 0; }
    bool writer_needs_context() const { return type != 22; }
};

std::ostream &operator<<(std::ostream &out, const AttributeCase &attribute)
{
    return out << attribute.name;
}

const std::string kSid = "20010db8 000a0b0c 0d0e0f10 11121314";
const std::string kSidWords = "b80d0120 0c0b0a00 100f0e0d 14131211";
const std::string kOpaque = "01 0004 deadbeef";
const std::string kPfxSid = "05 0019 a1 01 0015 a2" + kSid + "a3 0044 a4";
const std::string kMsid20 = "01 0011 b1" + kSid;
const std::string kMsid28 = "01 0019 b1" + kSid + "01 0005 b2 20 18 b3b4";

std::vector<AttributeCase> community_cases()
{
    const auto parse = QEL_NGMVPN_ParseExtCommunity;
    const auto write = QEL_NGMVPN_FormatExtCommunity;
    const auto parse6 = QEL_NGMVPN_ParseIPv6ExtCommunity;
    const auto write6 = QEL_NGMVPN_FormatIPv6ExtCommunity;
    return {
        {"one community", 16, 0, parse, write, "0002 fde9 00000064", "0200 e9fd 64000000", "", 2, 3},
        {"communities out of order and twice", 16, 0, parse, write,
         "0202 00010203 0005  0002 0064 00000001  0009 fde9 00000000  0002 0064 00000001  0803 01020304 0506",
         "0200 6400 01000000  0202 03020100 0500  0308 04030201 0605  0900 e9fd 00000000",
         "0002 0064 00000001  0202 00010203 0005  0803 01020304 0506  0009 fde9 00000000", 2, 3},
        {"one IPv6 community", 25, 3, parse6, write6, "000b" + kSid + "0102", "0b00" + kSidWords + "0201", "", 2, 3},
        {"IPv6 communities out of order and twice", 25, 3, parse6, write6,
         "0010" + kSid + "0102  000b" + kSid + "0102  0002" + kSid + "0102  000b" + kSid + "0102",
         "0200" + kSidWords + "0201  0b00" + kSidWords + "0201  1000" + kSid + "0102",
         "0002" + kSid + "0102  000b" + kSid + "0102  0010" + kSid + "0102", 2, 3},
    };
}

std::vector<AttributeCase> tunnel_cases()
{
    const auto parse = QEL_NGMVPN_ParsePmsiTnl;
    const auto write = QEL_NGMVPN_FormatPmsiTnl;
    return {
        {"RSVP-TE P2MP", 22, 1, parse, write, "00 01 012345 0a0b0c0d 0000 1112 0e0f1011",
         "00 01 0000 45230100 0d0c0b0a 0000 1211 11100f0e"},
        {"mLDP P2MP", 22, 1, parse, write, "21 02 fffff1 06 0001 04 c0000201 0007" + kOpaque,
         "21 02 0000 f1ffff00 06 04 0100 010200c0 0700 0000" + kOpaque},
        {"BIER, IPv4", 22, 1, parse, write, "20 0b 000010 07 0102 0a0b0c0d", "20 0b 0000 10000000 07 04 0201 0d0c0b0a"},
        {"BIER, IPv6", 22, 1, parse, write, "01 0b 000010 07 0102" + kSid, "01 0b 0000 10000000 07 10 0201" + kSid},
    };
}

std::vector<AttributeCase> sid_cases()
{
    return {
        {"Prefix-SID", 40, 4, QEL_NGMVPN_ParsePrefixSid, QEL_NGMVPN_FormatPrefixSid, kPfxSid,
         "4400 0000" + kSidWords + kPfxSid},
        {"MSID of 20", 66, 5, QEL_NGMVPN_ParseMsid, QEL_NGMVPN_FormatMsid, kMsid20,
         "00 00 00 00" + kSidWords + kMsid20},
        {"MSID of 28", 66, 5, QEL_NGMVPN_ParseMsid, QEL_NGMVPN_FormatMsid, kMsid28,
         "20 18 01 00" + kSidWords + kMsid28},
    };
}

std::vector<AttributeCase> all_attributes()
{
    std::vector<AttributeCase> out = community_cases();
    for (const auto &more : {tunnel_cases(), sid_cases()}) {
        out.insert(out.end(), more.begin(), more.end());
    }
    return out;
}

class EveryAttribute : public AttributeTest {};

TEST_F(EveryAttribute, BecomesItsSection)
{
    for (const AttributeCase &attribute : all_attributes()) {
        SCOPED_TRACE(attribute);
        const Parsed got = parse_attribute(attribute.parser, attribute.octets(), ctx_);
        expect_taken(got, attribute.octets().size());
        expect_attribute_block(got.block, attribute.flag, attribute.type, hex_of(attribute.section));
    }
}

TEST_F(EveryAttribute, BecomesItsSectionWhateverTheHeapHeldBefore)
{
    for (const AttributeCase &attribute : all_attributes()) {
        SCOPED_TRACE(attribute);
        const auto length = static_cast<std::uint32_t>(attribute.octets().size());
        const auto section = static_cast<std::uint32_t>(bytes(attribute.section).size());
        for (const std::uint32_t size : {length, section, section + 32, 268U}) {
            dirty_the_heap(size);
        }
        const Parsed got = parse_attribute(attribute.parser, attribute.octets(), ctx_);
        expect_attribute_block(got.block, attribute.flag, attribute.type, hex_of(attribute.section));
    }
}

TEST_F(EveryAttribute, IsReadAndWrittenThroughTheDescriptor)
{
    for (const AttributeCase &attribute : all_attributes()) {
        SCOPED_TRACE(attribute);
        const Bytes wire = attribute.octets();
        const auto length = static_cast<std::uint32_t>(wire.size());
        const Parsed got = run_parser(wire, 0, [&](auto cursor, auto result, auto more) {
            return instance_.desc.pfParsePkt(cursor, length, 0, attribute.type, result, more, ctx_);
        });
        expect_taken(got, wire.size());
        expect_attribute_block(got.block, attribute.flag, attribute.type, hex_of(attribute.section));

        QEL_ROUTE_INFO_S route =
            route_holding(attribute.type, got.block.at(got.block->usAttrOffset), got.block->usAttrLen);
        Bytes out(attribute.formatted().size());
        std::uint8_t *cursor = out.data();
        EXPECT_EQ(
            instance_.desc.pfFormatPkt(&route, attribute.type, &cursor, static_cast<std::uint32_t>(out.size()), ctx_),
            0U);
        EXPECT_EQ(cursor, out.data() + out.size());
        EXPECT_EQ(hex(out), hex(attribute.formatted()));
    }
}

TEST_F(EveryAttribute, IsFollowedByTheNext)
{
    for (const AttributeCase &attribute : all_attributes()) {
        SCOPED_TRACE(attribute);
        const Bytes wire = attribute.octets();
        const auto length = static_cast<std::uint32_t>(wire.size());
        const ExactCopy copy(wire + wire);
        const std::uint8_t *cursor = copy.data();
        for (std::size_t turn = 1; turn <= 2; ++turn) {
            QEL_ROUTE_BLOCK_S *result = nullptr;
            std::uint32_t more = kUnwritten;
            EXPECT_EQ(attribute.parser(&cursor, length, &result, &more, ctx_), 0U);
            const Block block(result);
            EXPECT_EQ(cursor, copy.data() + turn * wire.size());
            EXPECT_EQ(more, 0U);
            expect_attribute_block(block, attribute.flag, attribute.type, hex_of(attribute.section));
        }
    }
}

// --- missing arguments and memory -----------------------------------------------------------------------------------

void expect_one_report_from_here(const platform::Recorder &recorder)
{
    ASSERT_EQ(recorder.asserts().size(), 1U);
    EXPECT_NE(recorder.asserts()[0].file.find("qel_ngmvpn_attribute_pkt.cpp"), std::string::npos)
        << recorder.asserts()[0].file;
    EXPECT_GT(recorder.asserts()[0].line, 0U);
}

TEST_F(EveryAttribute, IsNotReadWithoutAnArgument)
{
    for (const AttributeCase &attribute : all_attributes()) {
        const ExactCopy copy(attribute.octets());
        for (unsigned missing = 1; missing < 16; ++missing) {
            for (const std::uint32_t length : {0U, copy.size()}) { // the arguments are looked at before the length
                SCOPED_TRACE(attribute.name + ", missing " + std::to_string(missing));
                const std::uint64_t before = allocations();
                const std::uint8_t *cursor = copy.data();
                QEL_ROUTE_BLOCK_S untouched_block{};
                QEL_ROUTE_BLOCK_S *result = &untouched_block;
                std::uint32_t more = kUnwritten;
                const platform::Recorder recorder;
                EXPECT_EQ(attribute.parser((missing & 1) != 0 ? nullptr : &cursor, length,
                                           (missing & 2) != 0 ? nullptr : &result, (missing & 4) != 0 ? nullptr : &more,
                                           (missing & 8) != 0 ? nullptr : ctx_),
                          kNull);
                expect_one_report_from_here(recorder);
                EXPECT_EQ(cursor, copy.data());
                EXPECT_EQ(result, &untouched_block);
                EXPECT_EQ(more, kUnwritten);
                EXPECT_EQ(allocations(), before);
            }
        }
    }
}

TEST_F(EveryAttribute, IsNotWrittenWithoutAnArgument)
{
    for (const AttributeCase &attribute : all_attributes()) {
        const OddBytes section(bytes(attribute.section));
        QEL_ROUTE_INFO_S route = route_holding(attribute.type, section.data(), section.size());
        for (unsigned missing = 1; missing < (attribute.writer_needs_context() ? 8U : 4U); ++missing) {
            SCOPED_TRACE(attribute.name + ", missing " + std::to_string(missing));
            Bytes out = untouched(300);
            std::uint8_t *cursor = out.data();
            const platform::Recorder recorder;
            EXPECT_EQ(attribute.formatter((missing & 1) != 0 ? nullptr : &route, (missing & 2) != 0 ? nullptr : &cursor,
                                          300, (missing & 4) != 0 ? nullptr : ctx_),
                      kNull);
            expect_one_report_from_here(recorder);
            EXPECT_EQ(cursor, out.data());
            EXPECT_EQ(out, untouched(300));
        }
    }
}

TEST_F(EveryAttribute, ATunnelIsWrittenWithoutAContext)
{
    for (const AttributeCase &attribute : tunnel_cases()) {
        SCOPED_TRACE(attribute);
        const OddBytes section(bytes(attribute.section));
        const QEL_ROUTE_INFO_S route = route_holding(attribute.type, section.data(), section.size());
        expect_written(write_attribute(attribute.formatter, route, 300, nullptr), attribute.formatted());
    }
}

void fail_each_allocation(const AttributeCase &attribute, std::uint64_t expected, QEL_FAMILY_CTX_S *ctx)
{
    const std::uint64_t before = allocations();
    expect_taken(parse_attribute(attribute.parser, attribute.octets(), ctx), attribute.octets().size());
    EXPECT_EQ(allocations() - before, expected);
    for (std::uint64_t number = 0; number < expected; ++number) {
        SCOPED_TRACE("allocation " + std::to_string(number));
        const std::uint64_t live = platform::usage(kMemHandle).live_blocks;
        const platform::FailAllocation failure(number);
        expect_refused(parse_attribute(attribute.parser, attribute.octets(), ctx), kNoMemory, 1);
        EXPECT_TRUE(failure.fired());
        EXPECT_EQ(platform::usage(kMemHandle).live_blocks, live);
    }
}

TEST_F(EveryAttribute, IsNotReadWithoutMemory)
{
    for (const AttributeCase &attribute : all_attributes()) {
        SCOPED_TRACE(attribute);
        fail_each_allocation(attribute, attribute.with_buffer, ctx_);
        EXPECT_EQ(ctx_->uiInlineBufUsed, 0U);
        SCOPED_TRACE("inline buffer lent");
        const LentBuffer lent(ctx_);
        fail_each_allocation(attribute, attribute.without, ctx_);
        EXPECT_EQ(ctx_->uiInlineBufUsed, 1U);
    }
}

TEST_F(EveryAttribute, IsNotWrittenWithoutMemory)
{
    for (const AttributeCase &attribute : all_attributes()) {
        SCOPED_TRACE(attribute);
        const OddBytes section(bytes(attribute.section));
        const QEL_ROUTE_INFO_S route = route_holding(attribute.type, section.data(), section.size());
        const std::uint64_t before = allocations();
        expect_written(write_attribute(attribute.formatter, route, 300, ctx_), attribute.formatted());
        EXPECT_EQ(allocations() - before, attribute.write_allocations());
        if (attribute.write_allocations() == 1) {
            const platform::FailAllocation failure(0);
            expect_not_written(write_attribute(attribute.formatter, route, 300, ctx_), 3, 1);
            EXPECT_TRUE(failure.fired());
        }
    }
}

// --- writing --------------------------------------------------------------------------------------------------------

TEST_F(EveryAttribute, IsWrittenIntoExactlyItsRoomAndNotIntoLess)
{
    for (const AttributeCase &attribute : all_attributes()) {
        SCOPED_TRACE(attribute);
        const OddBytes section(bytes(attribute.section));
        const QEL_ROUTE_INFO_S route = route_holding(attribute.type, section.data(), section.size());
        const Bytes wire = attribute.formatted();
        for (std::size_t room = 0; room < wire.size(); ++room) {
            SCOPED_TRACE(room);
            const std::uint64_t before = allocations();
            expect_not_written(write_attribute(attribute.formatter, route, room, ctx_), kNoRoom);
            EXPECT_EQ(allocations(), before);
        }
        for (const std::size_t more : {0U, 1U, 77U}) {
            expect_written(write_attribute(attribute.formatter, route, wire.size() + more, ctx_), wire);
        }
        EXPECT_EQ(section.hex(), hex_of(attribute.section)) << "the route's section is not swapped in place";
    }
}

TEST_F(EveryAttribute, ThatTheRouteDoesNotHoldIsNotWritten)
{
    for (const AttributeCase &attribute : all_attributes()) {
        SCOPED_TRACE(attribute);
        const auto length = static_cast<std::uint32_t>(bytes(attribute.section).size());
        for (const std::uint32_t told : {0U, length}) {
            const QEL_ROUTE_INFO_S route = route_holding(attribute.type, nullptr, told);
            for (const std::size_t room : {0U, 1U, 300U}) {
                const std::uint64_t before = allocations();
                expect_not_written(write_attribute(attribute.formatter, route, room, ctx_), 0);
                EXPECT_EQ(allocations(), before);
            }
        }
    }
}

} // namespace
} // namespace qel::test
