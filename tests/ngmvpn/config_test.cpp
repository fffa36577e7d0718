// Configuration records and texts of NG-MVPN routes: ngmvpn/qel_ngmvpn_dfx.cpp.
#include "dfx_cases.h"

#include <optional>
#include <sstream>

namespace qel::test::dfx {
namespace {

constexpr std::uint32_t kKeyRoom = 89;
constexpr std::uint32_t kRdRoom = 16;
constexpr std::size_t kSlack = 128;

const QEL_RD_VALUE_S kNoRd{};

class Config : public AttributeTest {
protected:
    platform::Recorder recorder_;
};

// --- records
// ----------------------------------------------------------------------------------------------------------

// A record in the making: every byte that is not put stays what it was filled with.
class Record {
public:
    explicit Record(std::size_t size, std::uint8_t fill = kFill) : bytes_(size, fill) {}

    Record word(std::size_t at, std::uint32_t value) const
    {
        return put(at, Bytes{static_cast<std::uint8_t>(value), static_cast<std::uint8_t>(value >> 8),
                             static_cast<std::uint8_t>(value >> 16), static_cast<std::uint8_t>(value >> 24)});
    }
    Record octet(std::size_t at, std::uint8_t value) const { return put(at, Bytes{value}); }
    Record zeros(std::size_t at, std::size_t count) const { return put(at, Bytes(count)); }
    Record put(std::size_t at, const Bytes &value) const
    {
        Record out = *this;
        std::copy(value.begin(), value.end(), out.bytes_.begin() + static_cast<std::ptrdiff_t>(at));
        if (at + value.size() > out.bytes_.size()) {
            throw std::invalid_argument("behind the record");
        }
        return out;
    }
    // An address of 21 bytes. Without an address nothing is put.
    Record prefix(std::size_t at, const Addr &addr) const
    {
        if (addr.len == 32) {
            return word(at, addr.value.uiIpv4).octet(at + 20, 0);
        }
        return addr.len == 128 ? put(at + 4, bytes_of(addr.value)).octet(at + 20, 1) : *this;
    }
    // The same as the host gives it: no address is the zero address of either family.
    Record given(std::size_t at, const Addr &addr) const
    {
        return addr.len == 0 ? prefix(at, v4(0)) : prefix(at, addr);
    }

    const Bytes &bytes() const { return bytes_; }

private:
    Bytes bytes_;
};

// A route over copies at odd addresses, each ending where its heap block ends.
class HostRoute {
public:
    HostRoute(const QEL_RD_VALUE_S &rd, const QEL_NGMVPN_KEY_S &key, std::uint32_t rd_flags = 0)
        : rd_(bytes_of(rd)), key_(bytes_of(key))
    {
        route.uiValidMask = 0x3;
        route.uiRdLen = rd_.size();
        route.pucRd = rd_.data();
        route.uiKeyLen = key_.size();
        route.pucKey = key_.data();
        route.uiRdFlags = rd_flags;
    }
    QEL_ROUTE_INFO_S route{};

private:
    OddBytes rd_;
    OddBytes key_;
};

struct RecordCall {
    std::uint32_t code = 0;
    std::ptrdiff_t moved = 0;
    Bytes room; // all of it
    std::uint32_t index = kIndexBefore;
    std::uint32_t more = kMoreBefore;
    std::size_t asserts = 0;
};

// Writes a record into a room of exactly that size, at an odd address.
RecordCall write_record(ConfigHandler handler, const QEL_ROUTE_INFO_S &route, std::uint32_t room)
{
    OddBytes out(Bytes(room, kFill));
    std::uint8_t *cursor = out.data();
    RecordCall got;
    const platform::Recorder recorder;
    got.code = handler(&route, &cursor, room, &got.index, &got.more);
    got.moved = cursor - out.data();
    got.room = out.bytes();
    got.asserts = recorder.asserts().size();
    return got;
}

void expect_record(const RecordCall &got, const Record &record, std::size_t asserts = 0)
{
    EXPECT_EQ(got.code, 0U);
    EXPECT_EQ(got.moved, std::ssize(record.bytes()));
    EXPECT_EQ(hex(got.room), hex(record.bytes()));
    EXPECT_EQ(got.index, 0U);
    EXPECT_EQ(got.more, 0U);
    EXPECT_EQ(got.asserts, asserts);
}

void expect_no_record(const RecordCall &got, std::uint32_t code, std::size_t asserts = 0)
{
    EXPECT_EQ(got.code, code);
    EXPECT_EQ(got.moved, 0);
    EXPECT_EQ(hex(got.room), hex(Bytes(got.room.size(), kFill)));
    EXPECT_EQ(got.index, kIndexBefore);
    EXPECT_EQ(got.more, kMoreBefore);
    EXPECT_EQ(got.asserts, asserts);
}

using ParseHandler = decltype(&QEL_NGMVPN_ParseCfgRd);

struct ReadCall {
    std::uint32_t code = 0;
    bool result_written = false;
    Block block;
    std::size_t asserts = 0;
};

// Reads a record that ends where the host's promise begins: 128 readable bytes behind it and nothing more.
ReadCall read_record(ParseHandler handler, const Bytes &record, std::uint32_t claim, QEL_FAMILY_CTX_S *ctx)
{
    static QEL_ROUTE_BLOCK_S untouched{};
    const OddBytes buffer(record + Bytes(kSlack, kFill));
    QEL_ROUTE_BLOCK_S *result = &untouched;
    ReadCall got;
    const platform::Recorder recorder;
    got.code = handler(buffer.data(), claim, &result, ctx);
    got.result_written = result != &untouched;
    if (got.result_written) {
        got.block = Block(result);
    }
    got.asserts = recorder.asserts().size();
    return got;
}

ReadCall read_record(ParseHandler handler, const Bytes &record, QEL_FAMILY_CTX_S *ctx)
{
    return read_record(handler, record, static_cast<std::uint32_t>(record.size()), ctx);
}

ReadCall read_key(const Record &record, QEL_FAMILY_CTX_S *ctx)
{
    return read_record(QEL_NGMVPN_ParseCfgPrefix, record.bytes(), ctx);
}

void expect_no_block(const ReadCall &got, std::uint32_t code, std::size_t asserts = 0)
{
    EXPECT_EQ(got.code, code);
    EXPECT_FALSE(got.result_written);
    EXPECT_EQ(got.asserts, asserts);
}

// A block that holds a key and nothing else; ucRdKind of `key` is not looked at, the block's is 3.
void expect_key_block(const ReadCall &got, QEL_NGMVPN_KEY_S key, std::size_t asserts = 0)
{
    EXPECT_EQ(got.code, 0U);
    EXPECT_EQ(got.asserts, asserts);
    ASSERT_TRUE(got.block);
    key.ucRdKind = 3;
    QEL_ROUTE_BLOCK_S header{};
    header.uiValidMask = 0x2;
    header.usKeyOffset = 32;
    header.usKeyLen = 104;
    ASSERT_EQ(hex(got.block.section(0, 32)), hex(bytes_of(header)));
    EXPECT_EQ(hex(got.block.section(32, 104)), hex(bytes_of(key)));
}

void expect_rd_block(const ReadCall &got, const QEL_RD_VALUE_S &rd)
{
    EXPECT_EQ(got.code, 0U);
    EXPECT_EQ(got.asserts, 0U);
    ASSERT_TRUE(got.block);
    QEL_ROUTE_BLOCK_S header{};
    header.uiValidMask = 0x1;
    header.usRdOffset = 32;
    header.usRdLen = 8;
    ASSERT_EQ(hex(got.block.section(0, 32)), hex(bytes_of(header)));
    EXPECT_EQ(hex(got.block.section(32, 8)), hex(bytes_of(rd)));
}

// --- tables
// -----------------------------------------------------------------------------------------------------------

TEST_F(Config, TheParseTableHasTwoRows)
{
    ASSERT_EQ(std::size(g_astQelNgmvpnCfgParseTbl), 2U);
    EXPECT_EQ(g_astQelNgmvpnCfgParseTbl[0].uiType, 1U);
    EXPECT_EQ(g_astQelNgmvpnCfgParseTbl[0].pfParseMsg, &QEL_NGMVPN_ParseCfgRd);
    EXPECT_EQ(g_astQelNgmvpnCfgParseTbl[1].uiType, 2U);
    EXPECT_EQ(g_astQelNgmvpnCfgParseTbl[1].pfParseMsg, &QEL_NGMVPN_ParseCfgPrefix);
    EXPECT_EQ(QEL_NGMVPN_GetCfgParseEntry(1), &g_astQelNgmvpnCfgParseTbl[0]);
    EXPECT_EQ(QEL_NGMVPN_GetCfgParseEntry(2), &g_astQelNgmvpnCfgParseTbl[1]);
    for (const std::uint32_t type : {0U, 3U, 4U, 8U, 64U, 0x10001U, 0xffffffffU}) {
        EXPECT_EQ(QEL_NGMVPN_GetCfgParseEntry(type), nullptr) << type;
    }
}

TEST_F(Config, TheFormatTableHasSevenRows)
{
    const std::pair<std::uint32_t, ConfigHandler> rows[] = {
        {1, QEL_NGMVPN_FormatCfgRd},
        {2, QEL_NGMVPN_FormatCfgPrefix},
        {4, QEL_NGMVPN_FormatCfgExtCommunity},
        {8, QEL_NGMVPN_FormatCfgPmsiTnl},
        {64, QEL_NGMVPN_FormatCfgIPv6ExtCommunity},
        {128, QEL_NGMVPN_FormatCfgPrefixSid},
        {256, QEL_NGMVPN_FormatCfgMsid},
    };
    ASSERT_EQ(std::size(g_astQelNgmvpnCfgFormatTbl), std::size(rows));
    for (std::size_t i = 0; i < std::size(rows); ++i) {
        EXPECT_EQ(g_astQelNgmvpnCfgFormatTbl[i].uiType, rows[i].first);
        EXPECT_EQ(g_astQelNgmvpnCfgFormatTbl[i].pfFormatCfg, rows[i].second);
        EXPECT_EQ(QEL_NGMVPN_GetCfgFormatEntry(rows[i].first), &g_astQelNgmvpnCfgFormatTbl[i]);
    }
    for (const std::uint32_t type : {0U, 3U, 5U, 16U, 32U, 512U, 1024U, 0x10001U, 0xffffffffU}) {
        EXPECT_EQ(QEL_NGMVPN_GetCfgFormatEntry(type), nullptr) << type;
    }
}

TEST_F(Config, RecordsGoThroughTheDescriptorAndComeBack)
{
    QEL_NGMVPN_KEY_S key = cmcast_key(7, kNoRd, 65001, s4(), g4());
    key.ucRdKind = 3;
    const HostRoute host(rd_b(), key);
    OddBytes room(Bytes(4 + kRdRoom + kKeyRoom, 0));
    std::uint8_t *cursor = room.data();
    std::uint32_t index = 9;
    std::uint32_t more = 9;
    EXPECT_EQ(instance_.desc.pfFormatCfg(&host.route, 1, &cursor, kRdRoom, &index, &more), 0U);
    std::uint8_t *const key_record = cursor;
    cursor += 4; // the host's own word in front of a key
    EXPECT_EQ(instance_.desc.pfFormatCfg(&host.route, 2, &cursor, kKeyRoom, &index, &more), 0U);
    EXPECT_EQ(cursor, room.data() + room.size());
    key_record[0] = 6;

    QEL_ROUTE_BLOCK_S *result = nullptr;
    ReadCall got;
    const Bytes with_slack = room.bytes() + Bytes(kSlack);
    got.code = instance_.desc.pfParseCfg(with_slack.data(), kRdRoom, 1, &result, ctx_);
    got.block = Block(result);
    expect_rd_block(got, rd_b());
    got.code = instance_.desc.pfParseCfg(with_slack.data() + kRdRoom, 4 + kKeyRoom, 2, &result, ctx_);
    got.block = Block(result);
    expect_key_block(got, key);
    EXPECT_EQ(instance_.desc.pfParseCfg(with_slack.data(), kRdRoom, 3, &result, ctx_), 0x80003U);
    EXPECT_EQ(instance_.desc.pfFormatCfg(&host.route, 3, &cursor, kKeyRoom, &index, &more), 0x80003U);
    EXPECT_TRUE(recorder_.asserts().empty());
}

// --- null arguments
// ---------------------------------------------------------------------------------------------------

TEST_F(Config, EachNullArgumentOfARecordHandlerIsReportedOnce)
{
    const std::pair<ConfigHandler, bool> rows[] = {{QEL_NGMVPN_FormatCfgRd, true}, {QEL_NGMVPN_FormatCfgPrefix, false}};
    for (const auto &[handler, wants_rd] : rows) {
        for (unsigned nulls = 1; nulls < 64; ++nulls) {
            SCOPED_TRACE((wants_rd ? "RD, " : "key, ") + std::to_string(nulls));
            const auto given = [nulls](unsigned bit) { return (nulls >> bit & 1U) == 0; };
            HostRoute host(rd_a(), intra_key(kNoRd, o4()));
            if (!given(1)) {
                (wants_rd ? host.route.pucRd : host.route.pucKey) = nullptr;
            }
            Bytes room(kKeyRoom, kFill);
            std::uint8_t *cursor = room.data();
            std::uint32_t index = kIndexBefore;
            std::uint32_t more = kMoreBefore;
            recorder_.clear();
            EXPECT_EQ(handler(given(0) ? &host.route : nullptr, given(2) ? &cursor : nullptr, given(3) ? kKeyRoom : 0,
                              given(4) ? &index : nullptr, given(5) ? &more : nullptr),
                      kNull);
            ASSERT_EQ(recorder_.asserts().size(), 1U);
            EXPECT_NE(recorder_.asserts()[0].file.find("qel_ngmvpn_dfx.cpp"), std::string::npos);
            EXPECT_EQ(cursor, room.data());
            EXPECT_EQ(room, Bytes(kKeyRoom, kFill));
            EXPECT_EQ(index, kIndexBefore);
            EXPECT_EQ(more, kMoreBefore);
        }
    }
}

TEST_F(Config, EachNullArgumentOfATextHandlerIsReportedOnce)
{
    const ConfigHandler handlers[] = {QEL_NGMVPN_FormatCfgExtCommunity, QEL_NGMVPN_FormatCfgPmsiTnl,
                                      QEL_NGMVPN_FormatCfgIPv6ExtCommunity, QEL_NGMVPN_FormatCfgPrefixSid,
                                      QEL_NGMVPN_FormatCfgMsid};
    const QEL_ROUTE_INFO_S route{};
    for (std::size_t i = 0; i < std::size(handlers); ++i) {
        for (unsigned nulls = 1; nulls < 16; ++nulls) {
            SCOPED_TRACE(std::to_string(i) + ", " + std::to_string(nulls));
            const auto given = [nulls](unsigned bit) { return (nulls >> bit & 1U) == 0; };
            Bytes room(8, kFill);
            std::uint8_t *cursor = room.data();
            std::uint32_t index = kIndexBefore;
            std::uint32_t more = kMoreBefore;
            recorder_.clear();
            EXPECT_EQ(handlers[i](given(0) ? &route : nullptr, given(1) ? &cursor : nullptr, 8,
                                  given(2) ? &index : nullptr, given(3) ? &more : nullptr),
                      kNull);
            ASSERT_EQ(recorder_.asserts().size(), 1U);
            EXPECT_EQ(cursor, room.data());
            EXPECT_EQ(room, Bytes(8, kFill));
            EXPECT_EQ(index, kIndexBefore);
        }
    }
}

TEST_F(Config, EachNullArgumentOfAParseHandlerIsReportedOnce)
{
    const std::pair<ParseHandler, unsigned> rows[] = {{QEL_NGMVPN_ParseCfgRd, 16}, {QEL_NGMVPN_ParseCfgPrefix, 3}};
    for (const auto &[handler, bits] : rows) {
        for (unsigned nulls = 1; nulls < 8; ++nulls) {
            for (const std::uint32_t length : {0U, 16U, 93U}) {
                SCOPED_TRACE(std::to_string(bits) + ", " + std::to_string(nulls) + ", " + std::to_string(length));
                const Bytes record(93 + kSlack);
                QEL_ROUTE_BLOCK_S *result = nullptr;
                recorder_.clear();
                EXPECT_EQ(handler((nulls & 1) != 0 ? nullptr : record.data(), length,
                                  (nulls & 2) != 0 ? nullptr : &result, (nulls & 4) != 0 ? nullptr : ctx_),
                          kNull);
                EXPECT_EQ(recorder_.asserts().size(), 1U);
                EXPECT_EQ(result, nullptr);
            }
        }
    }
}

// --- addresses
// --------------------------------------------------------------------------------------------------------

// The 21 bytes after the conversion of a field.
std::string prefix_of(const Addr &addr, std::uint32_t size)
{
    const OddBytes field(bytes_of(addr.value));
    OddBytes out(Bytes(21, kFill));
    QEL_NGMVPN_PrefixToIpv4Ipv6(out.as<QEL_NGMVPN_CFG_PREFIX_S>(), field.as<QEL_ADDR_S>(), size, addr.len);
    return out.hex();
}

TEST_F(Config, AKeysAddressBecomesARecordsAddress)
{
    for (const std::uint32_t size : {4U, 15U, 16U, 17U, 0xffffffffU}) {
        EXPECT_EQ(prefix_of(v4(0x0a000001), size), hex(Record(21).word(0, 0x0a000001).octet(20, 0).bytes()));
        EXPECT_EQ(prefix_of(v4(0), size), hex(Record(21).word(0, 0).octet(20, 0).bytes()));
    }
    for (const std::uint32_t size : {16U, 17U, 0xffffffffU}) {
        EXPECT_EQ(prefix_of(s6(), size), hex(Record(21).put(4, bytes_of(s6().value)).octet(20, 1).bytes()));
        EXPECT_EQ(prefix_of(v6(kZero16), size), hex(Record(21).zeros(4, 16).octet(20, 1).bytes()));
    }
    Addr stale = s6();
    stale.len = 0;
    for (const std::uint32_t size : {0U, 3U, 16U}) {
        EXPECT_EQ(prefix_of(stale, size), hex(Record(21).bytes())) << "no address leaves the bytes as they were";
    }
    EXPECT_TRUE(recorder_.asserts().empty());
}

TEST_F(Config, AKeysAddressOfNoKnownLengthOrInASmallFieldIsReportedAndChangesNothing)
{
    for (unsigned length = 1; length <= 255; ++length) {
        SCOPED_TRACE(length);
        Addr addr = s6();
        addr.len = static_cast<std::uint8_t>(length);
        const std::uint32_t most = length == 32 ? 3 : length == 128 ? 15 : 16;
        for (std::uint32_t size = 0; size <= most; ++size) {
            recorder_.clear();
            EXPECT_EQ(prefix_of(addr, size), hex(Record(21).bytes()));
            EXPECT_EQ(recorder_.asserts().size(), 1U);
        }
    }
}

struct KeyField {
    std::string field; // sixteen bytes
    unsigned len;
    std::size_t asserts;
};

KeyField field_of(const Record &prefix, std::uint32_t size)
{
    const OddBytes from(prefix.bytes());
    QEL_ADDR_S field;
    std::memset(&field, kFill, sizeof(field));
    std::uint8_t len = 0x77;
    const platform::Recorder recorder;
    QEL_NGMVPN_Ipv4Ipv6ToPrefix(&field, size, &len, from.as<QEL_NGMVPN_CFG_PREFIX_S>());
    return {hex(bytes_of(field)), len, recorder.asserts().size()};
}

void expect_field(const KeyField &got, const Record &field, unsigned len, std::size_t asserts = 0)
{
    EXPECT_EQ(got.field, hex(field.bytes()));
    EXPECT_EQ(got.len, len);
    EXPECT_EQ(got.asserts, asserts);
}

TEST_F(Config, ARecordsAddressBecomesAKeysAddressAndTheZeroAddressNone)
{
    for (const std::uint32_t size : {4U, 15U, 16U, 0xffffffffU}) {
        SCOPED_TRACE(size);
        for (const std::uint32_t address : {0x0a000001U, 1U, 0x80000000U}) {
            expect_field(field_of(Record(21).word(0, address).octet(20, 0), size), Record(16).word(0, address), 32);
        }
        expect_field(field_of(Record(21).word(0, 0).octet(20, 0), size), Record(16).word(0, 0), 0);
    }
    for (const std::uint32_t size : {16U, 17U, 0xffffffffU}) {
        SCOPED_TRACE(size);
        for (const std::string_view address : {"20010db8000000000000000000000a01", "80000000000000000000000000000000",
                                               "00000000000000000000000000000001"}) {
            expect_field(field_of(Record(21).prefix(0, v6(address)), size), Record(16).put(0, bytes(address)), 128);
        }
        // The field of an IPv6 wildcard is left alone, that of an IPv4 wildcard above is not.
        expect_field(field_of(Record(21).zeros(4, 16).octet(20, 1), size), Record(16), 0);
    }
}

TEST_F(Config, ARecordsAddressOfNoKnownVersionOrForASmallFieldIsReportedAndChangesNothing)
{
    for (unsigned version = 0; version <= 255; ++version) {
        const std::uint32_t most = version == 0 ? 3 : version == 1 ? 15 : 16;
        for (std::uint32_t size = 0; size <= most; ++size) {
            SCOPED_TRACE(std::to_string(version) + ", " + std::to_string(size));
            for (const std::uint8_t fill : std::array<std::uint8_t, 2>{0, 1}) {
                expect_field(field_of(Record(21, fill).octet(20, static_cast<std::uint8_t>(version)), size), Record(16),
                             0x77, 1);
            }
        }
    }
}

TEST_F(Config, EachNullArgumentOfAStepIsReportedOnce)
{
    QEL_ADDR_S addr{};
    QEL_NGMVPN_CFG_PREFIX_S prefix{};
    std::uint8_t len = 0x77;
    const auto expect_one_report = [this] {
        EXPECT_EQ(recorder_.asserts().size(), 1U);
        recorder_.clear();
    };
    QEL_NGMVPN_PrefixToIpv4Ipv6(nullptr, &addr, 16, 32);
    expect_one_report();
    QEL_NGMVPN_PrefixToIpv4Ipv6(&prefix, nullptr, 16, 32);
    expect_one_report();
    QEL_NGMVPN_Ipv4Ipv6ToPrefix(nullptr, 16, &len, &prefix);
    expect_one_report();
    QEL_NGMVPN_Ipv4Ipv6ToPrefix(&addr, 16, nullptr, &prefix);
    expect_one_report();
    QEL_NGMVPN_Ipv4Ipv6ToPrefix(&addr, 16, &len, nullptr);
    expect_one_report();
    QEL_NGMVPN_SetVrfRdType(nullptr, 1);
    expect_one_report();
    EXPECT_EQ(len, 0x77);
}

// --- RD records
// -------------------------------------------------------------------------------------------------------

Record rd_record(const QEL_RD_VALUE_S &rd, std::uint8_t form)
{
    return Record(kRdRoom, 0).put(4, bytes_of(rd)).octet(12, form);
}

TEST_F(Config, AnRdRecordHoldsTheRdAndItsForm)
{
    const struct {
        QEL_RD_VALUE_S rd;
        std::uint8_t form;
        std::uint8_t form_with_flag;
    } rows[] = {
        {rd0(100, 1), 1, 1},
        {rd0(65535, 0xffffffff), 1, 1},
        {rd12(1, 0xc0000201, 7), 3, 2},
        {rd12(2, 0x00010203, 9), 3, 2},
        {rd12(3, 1, 2), 3, 2},
        {rd12(0x100, 1, 2), 3, 2},
        {rd12(0xffff, 0xffffffff, 0xffff), 3, 2},
    };
    for (const auto &row : rows) {
        for (const std::uint32_t flags : {0U, 1U, 2U, 3U, 0x100U, 0xfffffffeU, 0xffffffffU}) {
            SCOPED_TRACE(std::to_string(row.rd.usRdType) + " with flags " + std::to_string(flags));
            const HostRoute host(row.rd, empty_key(0, rd_a()), flags);
            QEL_ROUTE_INFO_S route = host.route;
            const Record record = rd_record(row.rd, (flags & 1) != 0 ? row.form_with_flag : row.form);
            route.pucKey = nullptr;
            route.uiValidMask = 0x1;
            expect_record(write_record(QEL_NGMVPN_FormatCfgRd, route, kRdRoom), record);
        }
    }
}

TEST_F(Config, TheRdIsTheKeysForKind2AloneAlsoWhereTheRoutesDiffers)
{
    const QEL_RD_VALUE_S routes = rd12(1, 0xc0000201, 7);
    for (unsigned kind = 0; kind <= 255; ++kind) {
        SCOPED_TRACE(kind);
        QEL_NGMVPN_KEY_S key = empty_key(3, rd0(64999, 98));
        key.ucRdKind = static_cast<std::uint8_t>(kind);
        const HostRoute host(routes, key, 1);
        expect_record(write_record(QEL_NGMVPN_FormatCfgRd, host.route, kRdRoom),
                      kind == 2 ? rd_record(key.stRd, 1) : rd_record(routes, 2));
    }
}

TEST_F(Config, AKeysOwnRdIsTakenWhateverTheLengthOfTheRoutes)
{
    for (const std::uint32_t length : {0U, 1U, 9U, 0xffffffffU}) {
        HostRoute host(rd_a(), empty_key(1, rd_b()));
        host.route.uiRdLen = length;
        expect_record(write_record(QEL_NGMVPN_FormatCfgRd, host.route, kRdRoom), rd_record(rd_b(), 3));
    }
}

TEST_F(Config, AnRdOfUpToEightBytesIsCopiedAndTheRestIsZero)
{
    const Bytes rd = bytes_of(rd12(0x0102, 0x03040506, 0x0708));
    for (std::uint32_t length = 0; length <= 8; ++length) {
        SCOPED_TRACE(length);
        const OddBytes section(slice(rd, 0, length));
        QEL_ROUTE_INFO_S route{};
        route.uiValidMask = 0x1;
        route.uiRdLen = length;
        route.pucRd = section.data();
        expect_record(write_record(QEL_NGMVPN_FormatCfgRd, route, kRdRoom),
                      Record(kRdRoom, 0).put(4, section.bytes()).octet(12, length == 0 ? 1 : 3));
    }
}

TEST_F(Config, AnRdOfMoreThanEightBytesIsReportedAndStaysZero)
{
    const OddBytes section(Bytes(16, 0x01));
    for (const std::uint32_t length : {9U, 16U, 0x100U, 0xffffffffU}) {
        SCOPED_TRACE(length);
        QEL_ROUTE_INFO_S route{};
        route.uiValidMask = 0x1;
        route.uiRdFlags = 1;
        route.uiRdLen = length;
        route.pucRd = section.data();
        expect_record(write_record(QEL_NGMVPN_FormatCfgRd, route, kRdRoom), rd_record(kNoRd, 1), 1);
    }
}

TEST_F(Config, AnRdRecordNeedsSixteenBytes)
{
    const HostRoute host(rd_a(), empty_key(1, rd_b()));
    for (std::uint32_t room = 1; room < kRdRoom; ++room) {
        SCOPED_TRACE(room);
        expect_no_record(write_record(QEL_NGMVPN_FormatCfgRd, host.route, room), kNoRoom);
    }
    const RecordCall got = write_record(QEL_NGMVPN_FormatCfgRd, host.route, 20);
    EXPECT_EQ(got.code, 0U);
    EXPECT_EQ(got.moved, 16);
    EXPECT_EQ(hex(got.room), hex(rd_record(rd_b(), 3).bytes() + Bytes(4, kFill)));
}

TEST_F(Config, TheRdFormStandsBehindTheRd)
{
    for (const std::uint16_t type : std::array<std::uint16_t, 5>{0, 1, 2, 3, 0x100}) {
        for (const std::uint32_t flag : {0U, 1U}) {
            OddBytes rd(bytes_of(rd12(type, 5, 6)) + Bytes(1, kFill));
            QEL_NGMVPN_SetVrfRdType(rd.data(), flag);
            const std::uint8_t form = type == 0 ? 1 : flag != 0 ? 2 : 3;
            EXPECT_EQ(rd.hex(), hex(bytes_of(rd12(type, 5, 6)) + Bytes(1, form)));
        }
    }
}

TEST_F(Config, AnRdRecordIsReadAsARouteWithAnRd)
{
    for (const QEL_RD_VALUE_S &rd : {rd_a(), rd_b(), rd_c(), rd12(3, 1, 2), kNoRd}) {
        for (const std::uint8_t form : std::array<std::uint8_t, 5>{0, 1, 2, 3, 255}) {
            const Record record = Record(kRdRoom).zeros(0, 4).put(4, bytes_of(rd)).octet(12, form);
            expect_rd_block(read_record(QEL_NGMVPN_ParseCfgRd, record.bytes(), ctx_), rd);
        }
        const HostRoute host(rd, empty_key(1, rd), 1);
        expect_rd_block(
            read_record(QEL_NGMVPN_ParseCfgRd, write_record(QEL_NGMVPN_FormatCfgRd, host.route, kRdRoom).room, ctx_),
            rd);
    }
}

TEST_F(Config, AnRdRecordIsSixteenBytes)
{
    const Bytes record = rd_record(rd_a(), 1).bytes();
    for (const std::uint32_t length : {0U, 8U, 15U, 17U, 32U, 0x10010U, 0xffffffffU}) {
        SCOPED_TRACE(length);
        expect_no_block(read_record(QEL_NGMVPN_ParseCfgRd, record, length, ctx_), kNull, 1);
    }
}

TEST_F(Config, AnRdRecordStartsWithZero)
{
    for (const std::uint32_t word : {1U, 0x100U, 0x10000U, 0x1000000U, 0xffffffffU}) {
        expect_no_block(read_record(QEL_NGMVPN_ParseCfgRd, rd_record(rd_a(), 1).word(0, word).bytes(), ctx_), 0x80015);
    }
}

// --- key records as written
// -------------------------------------------------------------------------------------------

struct KeyRecord {
    std::string name;
    QEL_NGMVPN_KEY_S key;
    Record record;       // as written, 89 bytes
    std::size_t written; // the bytes behind the last one that is named
};

std::ostream &operator<<(std::ostream &out, const KeyRecord &row)
{
    return out << row.name;
}

// What a prefix writes of its 21 bytes.
std::size_t prefix_end(std::size_t at, const Addr &addr)
{
    return addr.len == 0 ? 0 : at + 21;
}

std::vector<KeyRecord> intra_and_inter_records()
{
    const Record blank(kKeyRoom);
    return {
        {"intra", intra_key(rd_a(), o4()), blank.word(0, 0).word(4, 0xc0a80a0b), 8},
        {"intra, 0.0.0.0", intra_key(rd_a(), v4(0)), blank.word(0, 0).word(4, 0), 8},
        {"intra, IPv6", intra_key(rd_a(), o6()), blank.word(0, 15).put(4, bytes_of(o6().value)), 20},
        {"intra, ::", intra_key(rd_a(), v6(kZero16)), blank.word(0, 15).zeros(4, 16), 20},
        {"inter", inter_key(rd_a(), 65001), blank.word(0, 2).word(4, 65001).octet(8, 1).zeros(9, 3), 12},
    };
}

std::vector<KeyRecord> address_records(const Addr &src, const Addr &grp, const Addr &orig, const Addr &leaf)
{
    const Record blank(kKeyRoom);
    const auto end = [](std::initializer_list<std::size_t> ends) { return std::max(ends); };
    const std::size_t two = end({4, prefix_end(4, src), prefix_end(25, grp)});
    const std::size_t three = end({two, prefix_end(46, orig)});
    std::vector<KeyRecord> out = {
        {"S-PMSI", spmsi_key(rd_a(), 1, src, grp, orig),
         blank.word(0, 3).prefix(4, src).prefix(25, grp).prefix(46, orig), three},
        {"I-PMSI leaf", ipmsi_leaf_key(rd_a(), orig, leaf), blank.word(0, 13).prefix(4, orig).prefix(25, leaf),
         end({4, prefix_end(4, orig), prefix_end(25, leaf)})},
        {"S-PMSI leaf", spmsi_leaf_key(rd_a(), 1, src, grp, orig, leaf),
         blank.word(0, 5).prefix(4, src).prefix(25, grp).prefix(46, orig).prefix(67, leaf),
         end({three, prefix_end(67, leaf)})},
        {"source active", source_active_key(rd_a(), src, grp), blank.word(0, 6).prefix(4, src).prefix(25, grp), two},
    };
    for (const std::uint32_t type : {7U, 8U}) {
        out.push_back({"C-multicast", cmcast_key(type, rd_a(), 65001, src, grp),
                       blank.word(0, 7).word(4, 65001).octet(8, 1).zeros(9, 3).prefix(12, src).prefix(33, grp),
                       end({12, prefix_end(12, src), prefix_end(33, grp)})});
    }
    return out;
}

std::vector<KeyRecord> key_records()
{
    std::vector<KeyRecord> out = intra_and_inter_records();
    const Addr w = none();
    for (const auto &[src, grp, orig, leaf] :
         {std::array{s4(), g4(), o4(), l4()}, std::array{s6(), g6(), o6(), l6()}, std::array{w, w, w, w},
          std::array{w, g4(), o6(), w}, std::array{s6(), w, w, l4()}, std::array{v4(0), v6(kZero16), v4(0), v4(0)}}) {
        for (const KeyRecord &row : address_records(src, grp, orig, leaf)) {
            out.push_back(row);
        }
    }
    return out;
}

TEST_F(Config, AKeyIsWrittenByItsTypeAndBytesThatAreNotNamedStay)
{
    for (const KeyRecord &row : key_records()) {
        std::ostringstream name;
        name << row << " " << hex(row.record.bytes());
        SCOPED_TRACE(name.str());
        const HostRoute host(rd_b(), row.key);
        expect_record(write_record(QEL_NGMVPN_FormatCfgPrefix, host.route, kKeyRoom), row.record);
    }
}

TEST_F(Config, AKeysRecordNeeds89BytesWhateverItsForm)
{
    for (const KeyRecord &row : key_records()) {
        SCOPED_TRACE(row);
        const HostRoute host(rd_b(), row.key);
        for (std::uint32_t room = 1; room < kKeyRoom; ++room) {
            expect_no_record(write_record(QEL_NGMVPN_FormatCfgPrefix, host.route, room), kNoRoom);
        }
        const RecordCall got = write_record(QEL_NGMVPN_FormatCfgPrefix, host.route, 100);
        EXPECT_EQ(got.code, 0U);
        EXPECT_EQ(got.moved, 89);
        EXPECT_EQ(hex(got.room), hex(row.record.bytes() + Bytes(11, kFill)));
    }
}

TEST_F(Config, AKeysRecordDoesNotAskForTheRoutesRd)
{
    HostRoute host(rd_b(), intra_key(rd_a(), o4()));
    host.route.pucRd = nullptr;
    expect_record(write_record(QEL_NGMVPN_FormatCfgPrefix, host.route, kKeyRoom), intra_and_inter_records()[0].record);
}

TEST_F(Config, AnIntraKeyWithAnyOtherOriginatorLengthWritesNothingAndStillMovesOn)
{
    for (unsigned length = 0; length <= 255; ++length) {
        if (length == 32 || length == 128) {
            continue;
        }
        SCOPED_TRACE(length);
        QEL_NGMVPN_KEY_S key = intra_key(rd_a(), o6());
        key.uKey.stIntraIpmsiAd.ucOrigAddrLen = static_cast<std::uint8_t>(length);
        const HostRoute host(rd_b(), key);
        expect_record(write_record(QEL_NGMVPN_FormatCfgPrefix, host.route, kKeyRoom), Record(kKeyRoom));
    }
}

TEST_F(Config, AKeyTypeOutsideOneToEightIsReportedBehindTheRoom)
{
    for (const std::uint32_t type : {0U, 9U, 10U, 0x101U, 0x10001U, 0xffffffffU}) {
        const HostRoute host(rd_b(), empty_key(type, rd_a()));
        expect_no_record(write_record(QEL_NGMVPN_FormatCfgPrefix, host.route, 88), kNoRoom);
        expect_no_record(write_record(QEL_NGMVPN_FormatCfgPrefix, host.route, 89), kNoText, 1);
    }
}

TEST_F(Config, AnAddressOfNoKnownLengthIsReportedAndItsBytesStay)
{
    Addr odd = s6();
    odd.len = 33;
    for (const KeyRecord &row : address_records(odd, odd, odd, odd)) {
        SCOPED_TRACE(row);
        const HostRoute host(rd_b(), row.key);
        const std::size_t addresses = row.name == "S-PMSI" ? 3 : row.name == "S-PMSI leaf" ? 4 : 2;
        expect_record(write_record(QEL_NGMVPN_FormatCfgPrefix, host.route, kKeyRoom), row.record, addresses);
    }
}

struct AsForm {
    std::uint32_t as;
    std::uint8_t form_with_flag;
};

constexpr AsForm kAsForms[] = {{0, 1}, {100, 1}, {65534, 1}, {65535, 0}, {65536, 0}, {0xffffffff, 0}};

TEST_F(Config, TheAsFormIsZeroForAnAsAbove65534WithBitZeroOfTheRdFlagsAlone)
{
    for (const AsForm &row : kAsForms) {
        for (const std::uint32_t flags : {0U, 1U, 2U, 3U, 0x100U, 0xfffffffeU, 0xffffffffU}) {
            SCOPED_TRACE(std::to_string(row.as) + " with flags " + std::to_string(flags));
            const std::uint8_t form = (flags & 1) != 0 ? row.form_with_flag : 1;
            const Record with_as = Record(kKeyRoom).word(4, row.as).octet(8, form).zeros(9, 3);
            const HostRoute inter(rd_b(), inter_key(rd_a(), row.as), flags);
            expect_record(write_record(QEL_NGMVPN_FormatCfgPrefix, inter.route, kKeyRoom), with_as.word(0, 2));
            for (const std::uint32_t type : {7U, 8U}) {
                const HostRoute cmcast(rd_b(), cmcast_key(type, rd_a(), row.as, none(), none()), flags);
                expect_record(write_record(QEL_NGMVPN_FormatCfgPrefix, cmcast.route, kKeyRoom), with_as.word(0, 7));
            }
        }
    }
}

TEST_F(Config, TheInterLeafFormHasNoCallerAndStaysInTheLibrary)
{
    for (const AsForm &row : kAsForms) {
        for (const std::uint32_t flags : {0U, 1U, 2U, 3U}) {
            SCOPED_TRACE(std::to_string(row.as) + " with flags " + std::to_string(flags));
            const HostRoute host(rd_b(), inter_key(rd_a(), row.as), flags);
            OddBytes room(Bytes(12, kFill));
            QEL_NGMVPN_FormatCfgInterIpmsiLeafAdKey(&host.route, room.data());
            const Record record =
                Record(9).word(0, 4).word(4, row.as).octet(8, (flags & 1) != 0 ? row.form_with_flag : 1);
            EXPECT_EQ(hex({room.data(), 9}), hex(record.bytes()));
        }
    }
    EXPECT_TRUE(recorder_.asserts().empty());
}

using KeyWriter = decltype(&QEL_NGMVPN_FormatCfgSpmsiAdKey);

KeyWriter writer_of(std::uint32_t key_type)
{
    switch (key_type) {
    case 1:
        return QEL_NGMVPN_FormatCfgIntraIpmsiAdKey;
    case 2:
        return QEL_NGMVPN_FormatCfgInterIpmsiAdKey;
    case 3:
        return QEL_NGMVPN_FormatCfgSpmsiAdKey;
    case 4:
        return QEL_NGMVPN_FormatCfgIntraIpmsiLeafAdKey;
    case 5:
        return QEL_NGMVPN_FormatCfgSpmsiLeafAdKey;
    case 6:
        return QEL_NGMVPN_FormatCfgSourceActiveAdKey;
    default:
        return QEL_NGMVPN_FormatCfgCMulticastRouteKey;
    }
}

TEST_F(Config, AWriterReachesNoFurtherThanItsForm)
{
    for (const KeyRecord &row : key_records()) {
        SCOPED_TRACE(row);
        const HostRoute host(rd_b(), row.key);
        OddBytes room(Bytes(row.written, kFill));
        writer_of(row.key.uiKeyType)(&host.route, room.data());
        EXPECT_EQ(room.hex(), hex({row.record.bytes().data(), row.written}));
    }
    EXPECT_TRUE(recorder_.asserts().empty());
}

// --- key records as read
// ----------------------------------------------------------------------------------------------

// One record in the making for every form: all offsets are four above those of the written record.
Record given(std::uint32_t first, std::uint32_t second, std::size_t size)
{
    return Record(size).word(0, first).word(4, second);
}

TEST_F(Config, AnIntraRecordIsReadByItsSecondWord)
{
    expect_key_block(read_key(given(1, 0, 12).word(8, 0xc0a80a0b), ctx_), intra_key(kNoRd, o4()));
    expect_key_block(read_key(given(1, 15, 24).put(8, bytes_of(o6().value)), ctx_), intra_key(kNoRd, o6()));
    for (const std::uint32_t second : {1U, 2U, 13U, 14U, 16U, 0x100U, 0xffffffffU}) {
        SCOPED_TRACE(second);
        expect_key_block(read_key(given(1, second, 24), ctx_), intra_key(kNoRd, none()));
    }
}

TEST_F(Config, AnIntraRecordKeepsTheLengthOfAZeroOriginator)
{
    expect_key_block(read_key(given(1, 0, 12).word(8, 0), ctx_), intra_key(kNoRd, v4(0)));
    expect_key_block(read_key(given(1, 15, 24).zeros(8, 16), ctx_), intra_key(kNoRd, v6(kZero16)));
}

TEST_F(Config, AnInterRecordHoldsTheSourceAs)
{
    for (const std::uint32_t as : {0U, 65001U, 0xfedcba98U}) {
        for (const std::uint32_t second : {0U, 2U, 77U}) {
            expect_key_block(read_key(given(2, second, 12).word(8, as), ctx_), inter_key(kNoRd, as));
        }
    }
}

struct FourAddresses {
    Addr src;
    Addr grp;
    Addr orig;
    Addr leaf;
};

std::vector<FourAddresses> given_addresses()
{
    const Addr w = none();
    return {
        {s4(), g4(), o4(), l4()}, {s6(), g6(), o6(), l6()}, {w, w, w, w}, {w, g6(), o4(), w}, {s4(), w, w, l6()},
    };
}

TEST_F(Config, ARecordsAddressesStandFourBytesFurtherThanWritten)
{
    for (const auto &[src, grp, orig, leaf] : given_addresses()) {
        SCOPED_TRACE(std::to_string(src.len) + " " + std::to_string(grp.len) + " " + std::to_string(orig.len));
        expect_key_block(read_key(given(3, 3, 71).given(8, src).given(29, grp).given(50, orig), ctx_),
                         spmsi_key(kNoRd, 0, src, grp, orig));
        expect_key_block(read_key(given(5, 6, 50).given(8, src).given(29, grp), ctx_),
                         source_active_key(kNoRd, src, grp));
        for (const auto &[first, type] : {std::pair{6U, 7U}, {7U, 8U}}) {
            expect_key_block(read_key(given(first, 7, 58).word(8, 65001).given(16, src).given(37, grp), ctx_),
                             cmcast_key(type, kNoRd, 65001, src, grp));
        }
        for (const std::uint32_t first : {4U, 8U, 9U, 10U}) {
            expect_key_block(read_key(given(first, 13, 50).given(8, orig).given(29, leaf), ctx_),
                             ipmsi_leaf_key(kNoRd, orig, leaf));
            expect_key_block(
                read_key(given(first, 5, 92).given(8, src).given(29, grp).given(50, orig).given(71, leaf), ctx_),
                spmsi_leaf_key(kNoRd, 0, src, grp, orig, leaf));
        }
    }
}

TEST_F(Config, TheIpv6ZeroAddressInARecordIsNoAddress)
{
    const Addr zero = v6(kZero16);
    const Addr w = none();
    expect_key_block(read_key(given(3, 3, 71).given(8, zero).given(29, zero).given(50, zero), ctx_),
                     spmsi_key(kNoRd, 0, w, w, w));
    expect_key_block(read_key(given(5, 6, 50).given(8, zero).given(29, zero), ctx_), source_active_key(kNoRd, w, w));
    expect_key_block(read_key(given(6, 7, 58).word(8, 1).given(16, zero).given(37, zero), ctx_),
                     cmcast_key(7, kNoRd, 1, w, w));
    expect_key_block(read_key(given(4, 13, 50).given(8, zero).given(29, zero), ctx_), ipmsi_leaf_key(kNoRd, w, w));
    expect_key_block(read_key(given(4, 5, 92).given(8, zero).given(29, zero).given(50, zero).given(71, zero), ctx_),
                     spmsi_leaf_key(kNoRd, 0, w, w, w, w));
}

TEST_F(Config, AnAddressOfNoKnownVersionIsReportedAndIsNone)
{
    const Addr w = none();
    for (const std::uint8_t version : std::array<std::uint8_t, 3>{2, 0xa5, 0xff}) {
        const auto odd = [version](const Record &record, std::initializer_list<std::size_t> places) {
            Record out = record;
            for (const std::size_t at : places) {
                out = out.octet(at + 20, version);
            }
            return out;
        };
        expect_key_block(read_key(odd(given(3, 3, 71), {8, 29, 50}), ctx_), spmsi_key(kNoRd, 0, w, w, w), 3);
        expect_key_block(read_key(odd(given(5, 6, 50), {8, 29}), ctx_), source_active_key(kNoRd, w, w), 2);
        expect_key_block(read_key(odd(given(6, 7, 58).word(8, 1), {16, 37}), ctx_), cmcast_key(7, kNoRd, 1, w, w), 2);
        expect_key_block(read_key(odd(given(4, 13, 50), {8, 29}), ctx_), ipmsi_leaf_key(kNoRd, w, w), 2);
        expect_key_block(read_key(odd(given(4, 5, 92), {8, 29, 50, 71}), ctx_), spmsi_leaf_key(kNoRd, 0, w, w, w, w),
                         4);
    }
}

TEST_F(Config, TheFirstWordSelectsTheRoute)
{
    const std::optional<std::uint32_t> key_types[] = {
        std::nullopt, 1U, 2U, 3U, 5U, 6U, 7U, 8U, 5U, 5U, 5U, std::nullopt,
    };
    for (std::uint32_t first = 0; first < std::size(key_types); ++first) {
        SCOPED_TRACE(first);
        const ReadCall got = read_key(Record(92, 0).word(0, first), ctx_);
        if (!key_types[first]) {
            expect_no_block(got, 0, 1);
            continue;
        }
        ASSERT_TRUE(got.block);
        std::uint32_t type = 0;
        std::memcpy(&type, got.block.at(32), sizeof(type));
        EXPECT_EQ(type, *key_types[first]);
        EXPECT_EQ(got.block.at(32)[100], 3) << "the kind of a configured RD";
        EXPECT_EQ(got.asserts, 0U);
    }
}

TEST_F(Config, AFirstWordOutsideOneToTenIsReportedAndNoFailure)
{
    for (const std::uint32_t first : {0U, 11U, 12U, 0x101U, 0x10001U, 0x80000001U, 0xffffffffU}) {
        expect_no_block(read_key(Record(92).word(0, first), ctx_), 0, 1);
    }
}

TEST_F(Config, ALeafRecordWithSecondWordFourIsPassedOver)
{
    for (const std::uint32_t first : {4U, 8U, 9U, 10U}) {
        expect_no_block(read_key(given(first, 4, 92), ctx_), 0);
    }
}

TEST_F(Config, ALeafRecordWithAnyOtherSecondWordIsAnSpmsiLeaf)
{
    for (const std::uint32_t second : {0U, 1U, 3U, 5U, 12U, 14U, 0x104U, 0x10dU, 0xffffffffU}) {
        SCOPED_TRACE(second);
        const auto [src, grp, orig, leaf] = given_addresses()[0];
        expect_key_block(
            read_key(given(8, second, 92).given(8, src).given(29, grp).given(50, orig).given(71, leaf), ctx_),
            spmsi_leaf_key(kNoRd, 0, src, grp, orig, leaf));
    }
}

TEST_F(Config, TheSecondWordOfAnyOtherRecordIsNotRead)
{
    for (const std::uint32_t second : {0U, 4U, 13U, 0xffffffffU}) {
        SCOPED_TRACE(second);
        expect_key_block(read_key(given(3, second, 71).given(8, s4()).given(29, g4()).given(50, o4()), ctx_),
                         spmsi_key(kNoRd, 0, s4(), g4(), o4()));
        expect_key_block(read_key(given(5, second, 50).given(8, s4()).given(29, g4()), ctx_),
                         source_active_key(kNoRd, s4(), g4()));
        expect_key_block(read_key(given(7, second, 58).word(8, 9).given(16, s4()).given(37, g4()), ctx_),
                         cmcast_key(8, kNoRd, 9, s4(), g4()));
    }
}

TEST_F(Config, TheStepsReadWholeRecords)
{
    const auto [src, grp, orig, leaf] = given_addresses()[0];
    const struct {
        ParseHandler step;
        Record record;
        QEL_NGMVPN_KEY_S key;
    } rows[] = {
        {QEL_NGMVPN_ParseCfgIntraIpmsiAdKey, given(1, 0, 12).word(8, 0xc0a80a0b), intra_key(kNoRd, o4())},
        {QEL_NGMVPN_ParseCfgInterIpmsiAdKey, given(2, 2, 12).word(8, 5), inter_key(kNoRd, 5)},
        {QEL_NGMVPN_ParseCfgSpmsiAdKey, given(3, 3, 71).given(8, src).given(29, grp).given(50, orig),
         spmsi_key(kNoRd, 0, src, grp, orig)},
        {QEL_NGMVPN_ParseCfgLeafAdKey, given(9, 13, 50).given(8, orig).given(29, leaf),
         ipmsi_leaf_key(kNoRd, orig, leaf)},
        {QEL_NGMVPN_ParseCfgSourceActiveAdKey, given(5, 6, 50).given(8, src).given(29, grp),
         source_active_key(kNoRd, src, grp)},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.key.uiKeyType);
        expect_key_block(read_record(row.step, row.record.bytes(), ctx_), row.key);
    }
}

TEST_F(Config, TheCMulticastStepMakesKeyType7OfFirstWord6AndKeyType8OfAnyOther)
{
    for (const std::uint32_t first : {0U, 5U, 6U, 7U, 8U, 0x106U}) {
        SCOPED_TRACE(first);
        const Record record = given(first, 7, 58).word(8, 9).given(16, s4()).given(37, g4());
        expect_key_block(read_record(QEL_NGMVPN_ParseCfgCMulticastRouteKey, record.bytes(), ctx_),
                         cmcast_key(first == 6 ? 7 : 8, kNoRd, 9, s4(), g4()));
    }
}

TEST_F(Config, TheLengthOfAKeyRecordIsNotRead)
{
    const Record record = given(3, 3, 71).given(8, s4()).given(29, g4()).given(50, o4());
    for (const std::uint32_t length : {0U, 4U, 16U, 71U, 0xffffffffU}) {
        expect_key_block(read_record(QEL_NGMVPN_ParseCfgPrefix, record.bytes(), length, ctx_),
                         spmsi_key(kNoRd, 0, s4(), g4(), o4()));
    }
}

TEST_F(Config, AShortRecordIsReadOnIntoTheHostsSlackAndNoFurther)
{
    for (std::uint32_t first = 0; first <= 11; ++first) {
        for (std::uint32_t second : {0U, 4U, 13U, 15U}) {
            for (std::size_t size = 0; size <= 8; size += 4) {
                SCOPED_TRACE(std::to_string(first) + ", " + std::to_string(second) + ", " + std::to_string(size));
                Bytes record = given(first, second, 8).bytes();
                record.resize(size);
                EXPECT_EQ(read_record(QEL_NGMVPN_ParseCfgPrefix, record, ctx_).code, 0U);
            }
        }
    }
}

TEST_F(Config, AWrittenKeyIsReadAgainBehindTheWordThatSelectsIt)
{
    constexpr std::uint32_t first_words[] = {0, 1, 2, 3, 4, 4, 5, 6, 7};
    std::vector<KeyRecord> rows = intra_and_inter_records();
    for (const auto &[src, grp, orig, leaf] : given_addresses()) {
        for (const KeyRecord &row : address_records(src, grp, orig, leaf)) {
            rows.push_back(row);
        }
    }
    for (const KeyRecord &row : rows) {
        SCOPED_TRACE(row);
        const HostRoute host(rd_b(), row.key);
        OddBytes room(Bytes(4 + kKeyRoom)); // cleared by the host
        room.data()[0] = static_cast<std::uint8_t>(first_words[row.key.uiKeyType]);
        std::uint8_t *cursor = room.data() + 4;
        std::uint32_t index = 0;
        std::uint32_t more = 0;
        EXPECT_EQ(QEL_NGMVPN_FormatCfgPrefix(&host.route, &cursor, kKeyRoom, &index, &more), 0U);
        QEL_NGMVPN_KEY_S key = row.key;
        key.stRd = kNoRd; // the RD has a record of its own
        if (key.uiKeyType == 3 || key.uiKeyType == 5) {
            key.uKey.stSpmsiAd.ucKeyAddrFamily = 0; // which no record holds
        }
        expect_key_block(read_record(QEL_NGMVPN_ParseCfgPrefix, room.bytes(), ctx_), key);
    }
}

TEST_F(Config, AKeyOfType7ComesBackThroughTheFirstWordAndNotThroughTheRecord)
{
    const HostRoute seven(rd_b(), cmcast_key(7, rd_a(), 5, s4(), g4()));
    const HostRoute eight(rd_b(), cmcast_key(8, rd_a(), 5, s4(), g4()));
    EXPECT_EQ(hex(write_record(QEL_NGMVPN_FormatCfgPrefix, seven.route, kKeyRoom).room),
              hex(write_record(QEL_NGMVPN_FormatCfgPrefix, eight.route, kKeyRoom).room));
}

TEST_F(Config, ABlockThatCannotBeAllocatedIsReported)
{
    const std::pair<ParseHandler, Record> rows[] = {
        {QEL_NGMVPN_ParseCfgRd, rd_record(rd_a(), 1)},
        {QEL_NGMVPN_ParseCfgPrefix, Record(92, 0).word(0, 1)},
        {QEL_NGMVPN_ParseCfgPrefix, Record(92, 0).word(0, 2)},
        {QEL_NGMVPN_ParseCfgPrefix, Record(92, 0).word(0, 3)},
        {QEL_NGMVPN_ParseCfgPrefix, Record(92, 0).word(0, 4)},
        {QEL_NGMVPN_ParseCfgPrefix, given(4, 13, 92).zeros(8, 84)},
        {QEL_NGMVPN_ParseCfgPrefix, Record(92, 0).word(0, 5)},
        {QEL_NGMVPN_ParseCfgPrefix, Record(92, 0).word(0, 6)},
        {QEL_NGMVPN_ParseCfgPrefix, Record(92, 0).word(0, 7)},
    };
    for (const auto &[handler, record] : rows) {
        SCOPED_TRACE(hex(record.bytes()));
        const platform::FailAllocation no_memory(0);
        expect_no_block(read_record(handler, record.bytes(), ctx_), kNoMemory, 1);
        EXPECT_TRUE(no_memory.fired());
    }
}

TEST_F(Config, ReadingTakesOneBlockAndWritingNone)
{
    const std::uint64_t before = allocations();
    read_key(Record(92, 0).word(0, 4), ctx_);
    EXPECT_EQ(allocations(), before + 1);
    for (const KeyRecord &row : key_records()) {
        const HostRoute host(rd_b(), row.key);
        write_record(QEL_NGMVPN_FormatCfgPrefix, host.route, kKeyRoom);
        write_record(QEL_NGMVPN_FormatCfgRd, host.route, kRdRoom);
    }
    EXPECT_EQ(allocations(), before + 1);
}

// --- communities
// ------------------------------------------------------------------------------------------------------

TEST_F(Config, CommunitiesAreWrittenOnePerCall)
{
    const TextDoor door = config_door(QEL_NGMVPN_FormatCfgExtCommunity);
    expect_steps_through_lists(door, route_with_communities, some_communities());
    expect_a_missing_list_ends_at_once(door, route_with_communities);
}

TEST_F(Config, ACommunitysTextNeedsItsLengthAndANul)
{
    const TextDoor door = config_door(QEL_NGMVPN_FormatCfgExtCommunity);
    for (const Community &row : some_communities()) {
        expect_room_rule_of_element(door, route_with_communities, row, kMoreBefore);
    }
    expect_room_rule_of_element(door, route_with_communities, ip4_community(0x0305, 1, 2, ""), kMoreBefore);
}

TEST_F(Config, BitZeroOfTheRdFlagsShowsAFourOctetAsAsOneNumber)
{
    const struct {
        std::uint32_t as;
        std::string dotted;
        std::string plain;
    } rows[] = {{65536, "RT <1.0 : 5>", "RT <65536 : 5>"}, {65535, "RT <0.65535 : 5>", "RT <0.65535 : 5>"}};
    for (const auto &row : rows) {
        const OddBytes list(ip4_community(0x0202, row.as, 5, "").element);
        QEL_ROUTE_INFO_S route = route_with_communities(list.data(), list.size());
        for (const std::uint32_t flags : {0U, 1U, 2U, 3U, 0x100U, 0xfffffffeU, 0xffffffffU}) {
            SCOPED_TRACE(row.dotted + " with flags " + std::to_string(flags));
            route.uiRdFlags = flags;
            expect_shown(run_config(QEL_NGMVPN_FormatCfgExtCommunity, route, {.out_len = 100, .index = 0}),
                         (flags & 1) != 0 ? row.plain : row.dotted, 1);
        }
    }
}

TEST_F(Config, Ipv6CommunitiesAreWrittenOnePerCall)
{
    const TextDoor door = config_door(QEL_NGMVPN_FormatCfgIPv6ExtCommunity);
    expect_steps_through_lists(door, route_with_ipv6_communities, some_ipv6_communities());
    expect_a_missing_list_ends_at_once(door, route_with_ipv6_communities);
}

TEST_F(Config, TheMoreWordOfAnIpv6CommunityIsClearedFirstSoThatARefusalLeavesItZero)
{
    for (const Community &row : some_ipv6_communities()) {
        expect_room_rule_of_element(config_door(QEL_NGMVPN_FormatCfgIPv6ExtCommunity), route_with_ipv6_communities, row,
                                    0);
    }
}

// --- tunnels
// ----------------------------------------------------------------------------------------------------------

QEL_ROUTE_INFO_S route_with_tunnel(const OddBytes &section)
{
    return route_holding(22, section.data(), section.size());
}

TEST_F(Config, ATunnelsTextThatIsTooLongIsRefusedForEveryType)
{
    std::vector<TunnelText> rows = cut_tunnels();
    for (const TunnelText &row : bier_tunnels()) {
        rows.push_back(row);
    }
    for (const TunnelText &row : rows) {
        SCOPED_TRACE(row);
        const OddBytes section(row.section);
        expect_room_rule(config_door(QEL_NGMVPN_FormatCfgPmsiTnl), route_with_tunnel(section), row.text());
    }
}

TEST_F(Config, AMldpTextIsCutAt511Characters)
{
    for (std::size_t count = 0; count <= 240; ++count) {
        SCOPED_TRACE(count);
        const Bytes opaque = counted(count);
        const OddBytes section(mldp(0, 1, 0x01020304, opaque));
        std::string text =
            "PMSI: Flags 0x0, mLDP P2MP LSP, Label 0:0:0(1), Root node address: 1.2.3.4, Opaque value: " +
            opaque_text(opaque);
        text.resize(std::min<std::size_t>(text.size(), 511));
        const auto length = static_cast<std::uint32_t>(text.size());
        const QEL_ROUTE_INFO_S route = route_with_tunnel(section);
        expect_nothing_shown(run_config(QEL_NGMVPN_FormatCfgPmsiTnl, route, {.out_len = length}), kNoRoom);
        expect_shown(run_config(QEL_NGMVPN_FormatCfgPmsiTnl, route, {.out_len = length + 1}), text);
        expect_shown(run_config(QEL_NGMVPN_FormatCfgPmsiTnl, route, {.out_len = 1000}), text);
    }
}

TEST_F(Config, ATunnelThatIsNotShownHasAnEmptyTextWhereDisplayRefusesIt)
{
    for (unsigned type = 0; type <= 255; ++type) {
        if (type == 1 || type == 2 || type == 11) {
            continue;
        }
        SCOPED_TRACE(type);
        OddBytes section(rsvp_te(0, 1, 2, 3, 4));
        section.data()[1] = static_cast<std::uint8_t>(type);
        const QEL_ROUTE_INFO_S route = route_with_tunnel(section);
        expect_nothing_shown(run_config(QEL_NGMVPN_FormatCfgPmsiTnl, route, {.out_len = 0}), kNoRoom);
        expect_shown(run_config(QEL_NGMVPN_FormatCfgPmsiTnl, route, {.out_len = 1}), "");
        expect_shown(run_config(QEL_NGMVPN_FormatCfgPmsiTnl, route, {.out_len = 512}), "");
        expect_nothing_shown(run_display(QEL_NGMVPN_PmsiTnl2Str, route, {.out_len = 512}, ctx_), kNoRoom);
    }
}

TEST_F(Config, ACutTunnelTextIsRefusedWhereDisplayShowsIt)
{
    const TunnelText row = cut_tunnels()[0];
    const OddBytes section(row.section);
    const QEL_ROUTE_INFO_S route = route_with_tunnel(section);
    expect_nothing_shown(run_config(QEL_NGMVPN_FormatCfgPmsiTnl, route, {.out_len = 30}), kNoRoom);
    expect_shown(run_display(QEL_NGMVPN_PmsiTnl2Str, route, {.out_len = 30}, ctx_), row.text().substr(0, 29));
}

TEST_F(Config, ABierPrefixOfAnyOtherLengthLeavesTheFlagsAlone)
{
    OddBytes section(bier(0x20, 0x123456, 7, 258, s6()));
    section.data()[9] = 5;
    expect_room_rule(config_door(QEL_NGMVPN_FormatCfgPmsiTnl), route_with_tunnel(section), "PMSI: Flags 0x20,");
}

TEST_F(Config, ARouteWithoutATunnelWritesNoText)
{
    QEL_ROUTE_INFO_S route{};
    for (const std::uint32_t claim : {0U, 268U}) {
        route.uiPmsiLen = claim;
        for (const std::uint32_t room : {0U, 300U}) {
            const TextCall got = run_config(QEL_NGMVPN_FormatCfgPmsiTnl, route, {.out_len = room});
            EXPECT_EQ(got.code, 0U);
            EXPECT_EQ(got.room, filled(room));
            EXPECT_EQ(got.moved, 0);
            EXPECT_EQ(got.asserts, 0U);
        }
    }
}

// --- SIDs
// -------------------------------------------------------------------------------------------------------------

ConfigHandler sid_handler(std::uint32_t type)
{
    return type == 40 ? QEL_NGMVPN_FormatCfgPrefixSid : QEL_NGMVPN_FormatCfgMsid;
}

TEST_F(Config, ASidsTextMayBeExactlyAsLongAsItsRoom)
{
    for (const SidText &row : shown_sids()) {
        SCOPED_TRACE(row);
        expect_sid_room_rule(config_door(sid_handler(row.type)), row);
        const OddBytes section(row.section);
        run_config(sid_handler(row.type), route_holding(row.type, section.data(), section.size()), {.out_len = 600});
        EXPECT_EQ(hex(section.bytes()), hex(row.section)) << "the record stays in host order";
    }
}

TEST_F(Config, ARouteWithoutASidHasAnEmptyText)
{
    const QEL_ROUTE_INFO_S route{};
    for (const std::uint32_t type : {40U, 66U}) {
        expect_no_sid_text(config_door(sid_handler(type)), route);
    }
}

TEST_F(Config, OnlyTwoBehaviorsOfAPrefixSidHaveAText)
{
    for (unsigned behavior = 0; behavior <= 0xffff; behavior += behavior < 512 ? 1 : 1021) {
        SCOPED_TRACE(behavior);
        const OddBytes section(prefix_sid(static_cast<std::uint16_t>(behavior), "20010db8000000000000000000000a01"));
        const QEL_ROUTE_INFO_S route = route_holding(40, section.data(), section.size());
        const std::string label = behavior == 68 ? "SRC-DT6 " : behavior == 69 ? "SRC-DT4 " : "";
        if (label.empty()) {
            expect_no_sid_text(config_door(QEL_NGMVPN_FormatCfgPrefixSid), route);
        } else {
            expect_shown(run_config(QEL_NGMVPN_FormatCfgPrefixSid, route, {.out_len = 60}), label + "2001:db8::a01");
        }
    }
}

TEST_F(Config, TextsTakeNoMemory)
{
    const platform::FailAllocation no_memory(0);
    const OddBytes list(some_communities()[0].element);
    expect_shown(run_config(QEL_NGMVPN_FormatCfgExtCommunity, route_with_communities(list.data(), list.size()),
                            {.out_len = 60, .index = 0}),
                 some_communities()[0].text, 1);
    const OddBytes ipv6_list(some_ipv6_communities()[0].element);
    expect_shown(run_config(QEL_NGMVPN_FormatCfgIPv6ExtCommunity,
                            route_with_ipv6_communities(ipv6_list.data(), ipv6_list.size()),
                            {.out_len = 60, .index = 0}),
                 some_ipv6_communities()[0].text, 1);
    const OddBytes tunnel(cut_tunnels()[0].section);
    expect_shown(run_config(QEL_NGMVPN_FormatCfgPmsiTnl, route_with_tunnel(tunnel), {.out_len = 512}),
                 cut_tunnels()[0].text());
    for (const SidText &row : shown_sids()) {
        const OddBytes section(row.section);
        expect_shown(run_config(sid_handler(row.type), route_holding(row.type, section.data(), section.size()),
                                {.out_len = 512}),
                     row.text);
    }
    EXPECT_FALSE(no_memory.fired());
}

} // namespace
} // namespace qel::test::dfx
