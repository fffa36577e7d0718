// Texts of routes and attributes for the host's diagnostic output: ngmvpn/qel_ngmvpn_dfx.cpp.
#include "dfx_cases.h"

#include "dirty_heap.h"
#include "fail_copy.h"

#include <numeric>
#include <optional>

namespace qel::test::dfx {
namespace {

const QEL_RD_VALUE_S kKeysOwnRd = rd0(64999, 98);
constexpr std::uint32_t kRoom = 300;

class Display : public AttributeTest {
protected:
    TextDoor door(DisplayHandler handler) const { return display_door(handler, ctx_); }
    platform::Recorder recorder_;
};

// A route's RD and key at odd addresses, each ending where its heap block ends. The key's own RD is another one.
class ShownRoute {
public:
    ShownRoute(const QEL_RD_VALUE_S &rd, const QEL_NGMVPN_KEY_S &key) : rd_(bytes_of(rd)), key_(bytes_of(key))
    {
        route.uiValidMask = 0x3;
        route.uiRdLen = rd_.size();
        route.pucRd = rd_.data();
        route.uiKeyLen = key_.size();
        route.pucKey = key_.data();
    }
    QEL_ROUTE_INFO_S route{};

private:
    OddBytes rd_;
    OddBytes key_;
};

struct RouteText {
    std::string name;
    QEL_RD_VALUE_S rd;
    QEL_NGMVPN_KEY_S key;
    std::string text;
};

std::ostream &operator<<(std::ostream &out, const RouteText &row)
{
    return out << row.name;
}

std::vector<RouteText> ipmsi_texts()
{
    const QEL_RD_VALUE_S &own = kKeysOwnRd;
    return {
        {"intra", rd0(100, 1), intra_key(own, v4(0x01010101)),
         "Route Type: Intra Ipmsi Ad 100:1/Orig Route Ip: 1.1.1.1 "},
        {"intra, IPv6", rd_b(), intra_key(own, o6()),
         "Route Type: Intra Ipmsi Ad 192.0.2.1:7/Orig Route Ip: 2001:db8:1::b02 "},
        {"intra, no originator", rd_c(), intra_key(own, none()),
         "Route Type: Intra Ipmsi Ad 1.515:9/Orig Route Ip: wildcard "},
        {"inter", rd_a(), inter_key(own, 65001), "Route Type: Inter Ipmsi Ad 100:1/Source AS: 65001 "},
        {"inter, four-octet AS", rd_b(), inter_key(own, 0xffffffff),
         "Route Type: Inter Ipmsi Ad 192.0.2.1:7/Source AS: 4294967295 "},
        {"inter, AS 0", rd_c(), inter_key(own, 0), "Route Type: Inter Ipmsi Ad 1.515:9/Source AS: 0 "},
    };
}

std::vector<RouteText> spmsi_texts()
{
    const QEL_RD_VALUE_S &own = kKeysOwnRd;
    const Addr w = none();
    return {
        {"S-PMSI", rd_a(), spmsi_key(own, 1, s4(), g4(), o4()),
         "Route Type: Spmsi Ad 100:1/SourceAddr: 10.0.0.1 GroupAddr: 239.1.2.3 OrigRouteIp: 192.168.10.11 "},
        {"S-PMSI, IPv6", rd_b(), spmsi_key(own, 2, s6(), g6(), o6()),
         "Route Type: Spmsi Ad 192.0.2.1:7/SourceAddr: 2001:db8::a01 GroupAddr: ff3e::8001 OrigRouteIp: "
         "2001:db8:1::b02 "},
        {"S-PMSI, all wildcards", rd_c(), spmsi_key(own, 0, w, w, w),
         "Route Type: Spmsi Ad 1.515:9/SourceAddr: wildcard GroupAddr: wildcard OrigRouteIp: wildcard "},
        {"S-PMSI, (*,G)", rd_a(), spmsi_key(own, 0, w, g6(), o4()),
         "Route Type: Spmsi Ad 100:1/SourceAddr: wildcard GroupAddr: ff3e::8001 OrigRouteIp: 192.168.10.11 "},
        {"S-PMSI, (S,*)", rd_a(), spmsi_key(own, 0, s4(), w, o6()),
         "Route Type: Spmsi Ad 100:1/SourceAddr: 10.0.0.1 GroupAddr: wildcard OrigRouteIp: 2001:db8:1::b02 "},
    };
}

std::vector<RouteText> leaf_texts()
{
    const QEL_RD_VALUE_S &own = kKeysOwnRd;
    const Addr w = none();
    return {
        {"I-PMSI leaf", rd_a(), ipmsi_leaf_key(own, o4(), l4()),
         "Route Type: Leaf Ad 100:1/Remote OrigRoutIp: 192.168.10.11 Local OrigRoutIp: 192.168.20.21 "},
        {"I-PMSI leaf, IPv6", rd_b(), ipmsi_leaf_key(own, o6(), l6()),
         "Route Type: Leaf Ad 192.0.2.1:7/Remote OrigRoutIp: 2001:db8:1::b02 Local OrigRoutIp: 2001:db8:2::c03 "},
        {"I-PMSI leaf, no addresses", rd_c(), ipmsi_leaf_key(own, w, w),
         "Route Type: Leaf Ad 1.515:9/Remote OrigRoutIp: wildcard Local OrigRoutIp: wildcard "},
        {"I-PMSI leaf, two families", rd_c(), ipmsi_leaf_key(own, o4(), l6()),
         "Route Type: Leaf Ad 1.515:9/Remote OrigRoutIp: 192.168.10.11 Local OrigRoutIp: 2001:db8:2::c03 "},
        {"S-PMSI leaf", rd_a(), spmsi_leaf_key(own, 1, s4(), g4(), o4(), l4()),
         "Route Type: Leaf Ad 100:1/RouteKey(SourceAddr: 10.0.0.1 GroupAddr: 239.1.2.3 OrigRouteIp: 192.168.10.11) "
         "OrigRouteIp: 192.168.20.21 "},
        {"S-PMSI leaf, IPv6", rd_b(), spmsi_leaf_key(own, 2, s6(), g6(), o6(), l6()),
         "Route Type: Leaf Ad 192.0.2.1:7/RouteKey(SourceAddr: 2001:db8::a01 GroupAddr: ff3e::8001 OrigRouteIp: "
         "2001:db8:1::b02) OrigRouteIp: 2001:db8:2::c03 "},
        {"S-PMSI leaf, all wildcards", rd_c(), spmsi_leaf_key(own, 0, w, w, w, w),
         "Route Type: Leaf Ad 1.515:9/RouteKey(SourceAddr: wildcard GroupAddr: wildcard OrigRouteIp: wildcard) "
         "OrigRouteIp: wildcard "},
        {"S-PMSI leaf, (*,G)", rd_c(), spmsi_leaf_key(own, 0, w, g4(), o6(), l4()),
         "Route Type: Leaf Ad 1.515:9/RouteKey(SourceAddr: wildcard GroupAddr: 239.1.2.3 OrigRouteIp: "
         "2001:db8:1::b02) OrigRouteIp: 192.168.20.21 "},
    };
}

std::vector<RouteText> multicast_texts()
{
    const QEL_RD_VALUE_S &own = kKeysOwnRd;
    const Addr w = none();
    std::vector<RouteText> out = {
        {"source active", rd_a(), source_active_key(own, s4(), g4()),
         "Route Type: SourceActive 100:1/SourceAddr: 10.0.0.1 GroupAddr: 239.1.2.3 "},
        {"source active, IPv6", rd_b(), source_active_key(own, s6(), g6()),
         "Route Type: SourceActive 192.0.2.1:7/SourceAddr: 2001:db8::a01 GroupAddr: ff3e::8001 "},
        {"source active, all wildcards", rd_c(), source_active_key(own, w, w),
         "Route Type: SourceActive 1.515:9/SourceAddr: wildcard GroupAddr: wildcard "},
    };
    for (const std::uint32_t type : {7U, 8U}) {
        const RouteText rows[] = {
            {"C-multicast", rd_a(), cmcast_key(type, own, 130537, s4(), g4()),
             "Route Type: CMulticastRoute 100:1/SourceAS: 130537 SourceAddr: 10.0.0.1 GroupAddr: 239.1.2.3 "},
            {"C-multicast, IPv6", rd_b(), cmcast_key(type, own, 0xffffffff, s6(), g6()),
             "Route Type: CMulticastRoute 192.0.2.1:7/SourceAS: 4294967295 SourceAddr: 2001:db8::a01 GroupAddr: "
             "ff3e::8001 "},
            {"C-multicast, all wildcards", rd_c(), cmcast_key(type, own, 0, w, w),
             "Route Type: CMulticastRoute 1.515:9/SourceAS: 0 SourceAddr: wildcard GroupAddr: wildcard "},
            {"C-multicast, (*,G)", rd_c(), cmcast_key(type, own, 1, w, g6()),
             "Route Type: CMulticastRoute 1.515:9/SourceAS: 1 SourceAddr: wildcard GroupAddr: ff3e::8001 "},
        };
        out.insert(out.end(), std::begin(rows), std::end(rows));
    }
    return out;
}

std::vector<RouteText> route_texts()
{
    std::vector<RouteText> out;
    for (const auto &rows : {ipmsi_texts(), spmsi_texts(), leaf_texts(), multicast_texts()}) {
        out.insert(out.end(), rows.begin(), rows.end());
    }
    return out;
}

// --- tables
// -----------------------------------------------------------------------------------------------------------

TEST_F(Display, TheTableHasSevenRowsOfSingleBits)
{
    const std::pair<std::uint32_t, DisplayHandler> rows[] = {
        {1, QEL_NGMVPN_MpNlriData2Str},  {2, QEL_NGMVPN_ExtCommunity2Str},       {4, QEL_NGMVPN_PmsiTnl2Str},
        {8, QEL_NGMVPN_NonKey2Str},      {256, QEL_NGMVPN_IPv6ExtCommunity2Str}, {512, QEL_NGMVPN_PfxSidAttr2Str},
        {1024, QEL_NGMVPN_MsidAttr2Str},
    };
    ASSERT_EQ(std::size(g_astQelNgmvpnData2StrTbl), std::size(rows));
    for (std::size_t i = 0; i < std::size(rows); ++i) {
        EXPECT_EQ(g_astQelNgmvpnData2StrTbl[i].uiType, rows[i].first);
        EXPECT_EQ(g_astQelNgmvpnData2StrTbl[i].pfData2Str, rows[i].second);
        EXPECT_EQ(QEL_NGMVPN_GetData2StrEntry(rows[i].first), &g_astQelNgmvpnData2StrTbl[i]);
    }
}

TEST_F(Display, AnyOtherTypeHasNoRow)
{
    for (const std::uint32_t type : {0U, 3U, 5U, 7U, 9U, 16U, 32U, 64U, 128U, 257U, 513U, 1025U, 2048U, 0xffffffffU}) {
        EXPECT_EQ(QEL_NGMVPN_GetData2StrEntry(type), nullptr) << type;
        ShownRoute host(rd_a(), intra_key(rd_a(), o4()));
        const TextCall got = run_text({.out_len = kRoom}, [&](std::uint8_t *room, TextCall &call) {
            return instance_.desc.pfData2Str(&host.route, type, reinterpret_cast<char *>(room), kRoom, &call.index,
                                             &call.more, ctx_);
        });
        expect_nothing_shown(got, 0x80017);
    }
}

TEST_F(Display, EveryRowIsReachedThroughTheDescriptor)
{
    ShownRoute host(rd_a(), intra_key(kKeysOwnRd, o4()));
    const OddBytes communities(some_communities()[0].element);
    const OddBytes tunnel(rsvp_te(0, 16, 1, 2, 3));
    const OddBytes ipv6_communities(some_ipv6_communities()[0].element);
    const OddBytes pfx_sid(prefix_sid(69, "20010db8000000000000000000000a01"));
    const OddBytes msid_record(msid(0, 0, 0, "20010db8000000000000000000000a01"));
    QEL_NGMVPN_NONKEY_S nonkey{};
    nonkey.usFlags = 1;
    nonkey.uiKeyType = 6;
    const OddBytes nonkey_record(bytes_of(nonkey));
    QEL_ROUTE_INFO_S route = host.route;
    route.uiValidMask |= 0x4;
    route.uiNonKeyLen = nonkey_record.size();
    route.pucNonKey = nonkey_record.data();
    route.uiExtCommLen = communities.size();
    route.pucExtComm = communities.data();
    route.uiPmsiLen = tunnel.size();
    route.pucPmsi = tunnel.data();
    route.uiIpv6ExtCommLen = ipv6_communities.size();
    route.pucIpv6ExtComm = ipv6_communities.data();
    route.uiPfxSidLen = pfx_sid.size();
    route.pucPfxSid = pfx_sid.data();
    route.uiMsidLen = msid_record.size();
    route.pucMsid = msid_record.data();
    const struct {
        std::uint32_t type;
        std::string text;
        std::uint32_t index;
    } rows[] = {
        {1, "Route Type: Intra Ipmsi Ad 100:1/Orig Route Ip: 192.168.10.11 ", 0},
        {2, "RT <100 : 1>", 1},
        {4,
         "PMSI: Flags 0x0, RSVP-TE P2MP LSP, Label 0:0:0(16), P2MP ID: 0x1, Tunnel ID: 2, Extended tunnel ID: 0.0.0.3",
         0},
        {8, "Route Type: 6", 0},
        {256, "RT <2001:db8::a01 . 7>", 1},
        {512, "SRC-DT4 2001:db8::a01", 0},
        {1024, "2001:db8::a01, Prefix Len: --, MSID Len: --", 0},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.type);
        const Asked asked{.out_len = kRoom, .index = 0};
        expect_shown(run_text(asked,
                              [&](std::uint8_t *room, TextCall &call) {
                                  return instance_.desc.pfData2Str(&route, row.type, reinterpret_cast<char *>(room),
                                                                   kRoom, &call.index, &call.more, ctx_);
                              }),
                     row.text, row.index);
    }
}

// --- null arguments
// ---------------------------------------------------------------------------------------------------

// Calls `call(route, out, index, more, ctx)` with every set of null arguments; `checked` has a bit for each argument
// that the handler looks at.
template <typename Call> void expect_nulls_refused(unsigned checked, QEL_FAMILY_CTX_S *ctx, Call call)
{
    for (unsigned nulls = 1; nulls < 32; ++nulls) {
        if ((nulls & ~checked) != 0) {
            continue;
        }
        SCOPED_TRACE(nulls);
        const auto given = [nulls](unsigned bit) { return (nulls >> bit & 1U) == 0; };
        const TextCall got = run_text({.out_len = kRoom}, [&](std::uint8_t *room, TextCall &words) {
            return call(given(0), given(1) ? reinterpret_cast<char *>(room) : nullptr,
                        given(2) ? &words.index : nullptr, given(3) ? &words.more : nullptr, given(4) ? ctx : nullptr);
        });
        expect_nothing_shown(got, kNull, 1);
        EXPECT_NE(got.files.at(0).find("qel_ngmvpn_dfx.cpp"), std::string::npos) << got.files.at(0);
    }
}

TEST_F(Display, EachNullArgumentIsReportedOnce)
{
    QEL_NGMVPN_NONKEY_S nonkey{};
    nonkey.usFlags = 1;
    ShownRoute host(rd_a(), intra_key(kKeysOwnRd, o4()));
    host.route.uiValidMask = 0x7;
    host.route.pucNonKey = reinterpret_cast<const std::uint8_t *>(&nonkey);
    const struct {
        DisplayHandler handler;
        unsigned checked;
    } rows[] = {
        {QEL_NGMVPN_MpNlriData2Str, 0x1f}, {QEL_NGMVPN_ExtCommunity2Str, 0x0f}, {QEL_NGMVPN_PmsiTnl2Str, 0x1f},
        {QEL_NGMVPN_NonKey2Str, 0x1f},     {QEL_NGMVPN_PfxSidAttr2Str, 0x1f},   {QEL_NGMVPN_MsidAttr2Str, 0x1f},
    };
    for (std::size_t i = 0; i < std::size(rows); ++i) {
        SCOPED_TRACE(i);
        expect_nulls_refused(rows[i].checked, ctx_, [&](bool with_route, char *out, auto index, auto more, auto ctx) {
            return rows[i].handler(with_route ? &host.route : nullptr, out, kRoom, index, more, ctx);
        });
    }
}

TEST_F(Display, EachNullArgumentOfAnIpv6CommunityIsReportedOnce)
{
    const QEL_ROUTE_INFO_S route{};
    for (unsigned nulls = 1; nulls < 32; ++nulls) {
        SCOPED_TRACE(nulls);
        const auto given = [nulls](unsigned bit) { return (nulls >> bit & 1U) == 0; };
        recorder_.clear();
        std::array<char, 8> out{};
        std::uint32_t index = kIndexBefore;
        std::uint32_t more = kMoreBefore;
        EXPECT_EQ(QEL_NGMVPN_IPv6ExtCommunity2Str(given(0) ? &route : nullptr, given(1) ? out.data() : nullptr, 8,
                                                  given(2) ? &index : nullptr, given(3) ? &more : nullptr,
                                                  given(4) ? ctx_ : nullptr),
                  kNull);
        EXPECT_EQ(recorder_.asserts().size(), 1U);
        EXPECT_EQ(index, kIndexBefore);
        if (!given(4)) {
            EXPECT_EQ(more, kMoreBefore) << "the context is looked at before anything is written";
        }
    }
}

TEST_F(Display, EachNullArgumentOfAStepIsReportedOnce)
{
    const QEL_RD_VALUE_S rd = rd_a();
    const QEL_ADDR_S addr = s4().value;
    const QEL_EXTCOMM_S community{};
    const QEL_IPV6_EXTCOMM_S ipv6_community{};
    const OddBytes section(rsvp_te(0, 1, 2, 3, 4) + Bytes(248));
    const auto *const tunnel = section.as<QEL_NGMVPN_PMSI_TNL_S>();
    std::array<char, 512> out{"x"};
    char *const text = out.data();
    std::uint32_t left = 512;
    std::uint32_t length = 77;
    const auto expect_one_report = [this] {
        EXPECT_EQ(recorder_.asserts().size(), 1U);
        recorder_.clear();
    };
    for (unsigned bit = 0; bit < 4; ++bit) {
        SCOPED_TRACE(bit);
        const auto given = [bit](unsigned place) { return bit != place; };
        char *const to = given(1) ? text : nullptr;
        std::uint32_t *const len = given(2) ? &length : nullptr;
        if (bit < 2) {
            EXPECT_EQ(QEL_NGMVPN_RdValueToStr(given(0) ? &rd : nullptr, to, 24), kNull);
            expect_one_report();
            EXPECT_EQ(QEL_NGMVPN_MpNlriAddr2Str(given(0) ? &addr : nullptr, 32, 47, to), to);
            expect_one_report();
            EXPECT_LT(QEL_NGMVPN_BierPmsiToStr(given(0) ? tunnel : nullptr, to, 512), 0);
            expect_one_report();
        }
        if (bit < 3) {
            EXPECT_EQ(QEL_NGMVPN_ExtCommVal2Str(given(0) ? &community : nullptr, to, 256, len, 0), kNull);
            expect_one_report();
            QEL_NGMVPN_IPv6ExtCommVal2Str(given(0) ? &ipv6_community : nullptr, to, 512, len);
            expect_one_report();
            EXPECT_EQ(QEL_NGMVPN_PmsiDataToStr(given(0) ? tunnel : nullptr, to, 512, len), kNull);
            expect_one_report();
        }
        EXPECT_EQ(QEL_NGMVPN_FillLdpOpaquePmsiDataToStr(given(0) ? tunnel : nullptr, to, given(2) ? &left : nullptr,
                                                        given(3) ? &length : nullptr),
                  kNull);
        expect_one_report();
    }
    EXPECT_STREQ(text, "x");
    EXPECT_EQ(left, 512U);
    EXPECT_EQ(length, 77U);
}

// --- RD texts
// ---------------------------------------------------------------------------------------------------------

struct RdText {
    QEL_RD_VALUE_S rd;
    std::string text;
};

std::vector<RdText> rd_texts()
{
    return {
        {rd0(100, 1), "100:1"},
        {rd0(0, 0), "0:0"},
        {rd0(65535, 0xffffffff), "65535:4294967295"},
        {rd12(1, 0xc0000201, 7), "192.0.2.1:7"},
        {rd12(1, 0, 0), "0.0.0.0:0"},
        {rd12(1, 0xffffffff, 65535), "255.255.255.255:65535"},
        {rd12(2, 0x00010203, 9), "1.515:9"},
        {rd12(2, 0xffffffff, 65535), "65535.65535:65535"},
        {rd12(2, 0x00010000, 0), "1.0:0"},
    };
}

TEST_F(Display, AnRdIsShownByItsType)
{
    for (const RdText &row : rd_texts()) {
        SCOPED_TRACE(row.text);
        const OddBytes rd(bytes_of(row.rd));
        std::array<char, 24> out{};
        EXPECT_EQ(QEL_NGMVPN_RdValueToStr(rd.as<QEL_RD_VALUE_S>(), out.data(), out.size()), 0U);
        EXPECT_STREQ(out.data(), row.text.c_str());
    }
    EXPECT_TRUE(recorder_.asserts().empty());
}

TEST_F(Display, BothHalvesOfAType2RdAreShownAlsoWhereTheHighOneIsZero)
{
    std::array<char, 24> out{};
    const QEL_RD_VALUE_S rd = rd12(2, 100, 5);
    EXPECT_EQ(QEL_NGMVPN_RdValueToStr(&rd, out.data(), out.size()), 0U);
    EXPECT_STREQ(out.data(), "0.100:5");
    EXPECT_TRUE(recorder_.asserts().empty());
}

TEST_F(Display, AnRdOfAnotherTypeIsRefusedAndNothingIsWritten)
{
    for (const std::uint16_t type : std::array<std::uint16_t, 5>{3, 4, 0x100, 0x102, 0xffff}) {
        const QEL_RD_VALUE_S rd = rd12(type, 100, 5);
        std::array<char, 24> out{};
        out.fill('x');
        EXPECT_EQ(QEL_NGMVPN_RdValueToStr(&rd, out.data(), out.size()), 0x80001U);
        EXPECT_EQ(std::string(out.data(), out.size()), std::string(24, 'x'));
    }
    EXPECT_TRUE(recorder_.asserts().empty());
}

TEST_F(Display, AnRdTextThatCannotBeFormedIsReportedAndNothingIsWritten)
{
    for (const RdText &row : rd_texts()) {
        SCOPED_TRACE(row.text);
        std::array<char, 24> out{"x"};
        recorder_.clear();
        const platform::FailText failure(0);
        EXPECT_EQ(QEL_NGMVPN_RdValueToStr(&row.rd, out.data(), out.size()), kNoText);
        EXPECT_TRUE(failure.fired());
        ASSERT_EQ(recorder_.asserts().size(), 1U);
        EXPECT_EQ(recorder_.asserts()[0].value, UINT64_MAX);
        EXPECT_STREQ(out.data(), "x");
    }
}

TEST_F(Display, AnRdTextStaysInsideARoomOfAnySize)
{
    for (const RdText &row : rd_texts()) {
        SCOPED_TRACE(row.text);
        for (std::size_t size = 0; size <= row.text.size() + 2; ++size) {
            SCOPED_TRACE(size);
            ExactCopy room{Bytes(size)};
            const auto out_len = static_cast<std::uint32_t>(size);
            const std::uint32_t code = QEL_NGMVPN_RdValueToStr(&row.rd, reinterpret_cast<char *>(room.data()), out_len);
            if (size > row.text.size()) {
                EXPECT_EQ(code, 0U);
                EXPECT_STREQ(reinterpret_cast<char *>(room.data()), row.text.c_str());
            } else if (size > 0) {
                EXPECT_NE(std::find(room.data(), room.data() + size, 0), room.data() + size);
            }
        }
    }
}

// --- address texts
// ----------------------------------------------------------------------------------------------------

std::string addr_room(const Addr &addr, std::uint32_t claim, std::size_t room, const char *start_with = nullptr)
{
    const OddBytes field(bytes_of(addr.value));
    ExactCopy out(Bytes(room, kFill));
    char *const at = reinterpret_cast<char *>(out.data());
    if (start_with != nullptr) {
        std::memcpy(at, start_with, std::strlen(start_with));
    }
    EXPECT_EQ(QEL_NGMVPN_MpNlriAddr2Str(field.as<QEL_ADDR_S>(), addr.len, claim, at), at);
    return {at, room};
}

TEST_F(Display, AnAddressIsShownByItsLength)
{
    const std::pair<Addr, std::string> rows[] = {
        {v4(0x0a000001), "10.0.0.1"},
        {v4(0), "0.0.0.0"},
        {v4(0xffffffff), "255.255.255.255"},
        {s6(), "2001:db8::a01"},
        {v6("0102030405060708090a0b0c0d0e0f10"), "102:304:506:708:90a:b0c:d0e:f10"},
        {v6("ffffffffffffffffffffffffffffffff"), "ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff"},
        {v6(kZero16), "::"},
        {v6("00000000000000000000000000000001"), "::1"},
        {v6("00010000000000000000000000000000"), "1::"},
        {v6("20010db8000000010001000100010001"), "2001:db8:0:1:1:1:1:1"},
        {v6("00000000000000000000ffff0a000001"), "::ffff:10.0.0.1"},
    };
    for (const auto &[addr, text] : rows) {
        SCOPED_TRACE(text);
        EXPECT_EQ(addr_room(addr, 47, 47), room_with(text, 47));
        const std::uint32_t need = addr.len == 32 ? 16 : 47;
        EXPECT_EQ(addr_room(addr, need, need), room_with(text, need));
        EXPECT_EQ(addr_room(addr, 0xffffffff, 47), room_with(text, 47));
    }
    EXPECT_TRUE(recorder_.asserts().empty());
}

TEST_F(Display, NoAddressIsTheWordWildcardInSixteenBytes)
{
    const std::string word("wildcard\0\0\0\0\0\0\0\0", 16);
    EXPECT_EQ(addr_room(none(), 16, 16), word);
    EXPECT_EQ(addr_room(none(), 47, 47), word + filled(31));
    Addr stale = s6();
    stale.len = 0;
    EXPECT_EQ(addr_room(stale, 47, 47), word + filled(31)) << "what the field holds is not looked at";
    EXPECT_TRUE(recorder_.asserts().empty());
}

TEST_F(Display, ASmallAddressRoomIsReportedAndLeftAsItWas)
{
    const std::pair<Addr, std::uint32_t> rows[] = {{s4(), 16}, {none(), 16}, {s6(), 47}};
    for (const auto &[addr, need] : rows) {
        for (std::uint32_t size = 0; size < need; ++size) {
            SCOPED_TRACE(std::to_string(addr.len) + " bits, room " + std::to_string(size));
            recorder_.clear();
            EXPECT_EQ(addr_room(addr, size, size), filled(size));
            EXPECT_EQ(recorder_.asserts().size(), 1U);
        }
    }
}

TEST_F(Display, AnAddressOfAnyOtherLengthIsReportedAndTheRoomLeftAsItWas)
{
    for (unsigned length = 1; length <= 255; ++length) {
        if (length == 32 || length == 128) {
            continue;
        }
        SCOPED_TRACE(length);
        Addr addr = s6();
        addr.len = static_cast<std::uint8_t>(length);
        recorder_.clear();
        EXPECT_EQ(addr_room(addr, 47, 47, "as it was"), "as it was" + filled(38));
        EXPECT_EQ(recorder_.asserts().size(), 1U);
    }
}

// --- routes
// -----------------------------------------------------------------------------------------------------------

TEST_F(Display, ARouteIsShownByItsKeyType)
{
    for (const RouteText &row : route_texts()) {
        SCOPED_TRACE(row);
        const ShownRoute host(row.rd, row.key);
        expect_shown(run_display(QEL_NGMVPN_MpNlriData2Str, host.route, {.out_len = kRoom}, ctx_), row.text);
    }
}

TEST_F(Display, ARoutesTextNeedsItsLengthAndANul)
{
    for (const RouteText &row : route_texts()) {
        SCOPED_TRACE(row);
        const ShownRoute host(row.rd, row.key);
        expect_room_rule(door(QEL_NGMVPN_MpNlriData2Str), host.route, row.text);
    }
}

TEST_F(Display, TheRdIsTheRoutesAndNeverTheKeys)
{
    for (const std::uint8_t kind : std::array<std::uint8_t, 5>{0, 1, 2, 3, 255}) {
        for (const RdText &rd : rd_texts()) {
            SCOPED_TRACE(rd.text);
            QEL_NGMVPN_KEY_S key = intra_key(kKeysOwnRd, o4());
            key.ucRdKind = kind;
            const ShownRoute host(rd.rd, key);
            expect_shown(run_display(QEL_NGMVPN_MpNlriData2Str, host.route, {.out_len = kRoom}, ctx_),
                         "Route Type: Intra Ipmsi Ad " + rd.text + "/Orig Route Ip: 192.168.10.11 ");
        }
    }
}

TEST_F(Display, AnRdTypeAboveTwoLeavesTheRdTextEmpty)
{
    for (const std::uint16_t type : std::array<std::uint16_t, 3>{3, 0x100, 0xffff}) {
        const ShownRoute host(rd12(type, 100, 5), intra_key(kKeysOwnRd, o4()));
        expect_shown(run_display(QEL_NGMVPN_MpNlriData2Str, host.route, {.out_len = kRoom}, ctx_),
                     "Route Type: Intra Ipmsi Ad /Orig Route Ip: 192.168.10.11 ");
    }
}

// The same route without its RD: what stands between the last blank ahead of the slash and the slash is left out.
std::string without_rd(const std::string &text)
{
    const std::size_t slash = text.find('/');
    return text.substr(0, text.rfind(' ', slash) + 1) + text.substr(slash);
}

TEST_F(Display, AnRdTextThatCannotBeFormedIsReportedAndTheRouteShownWithoutIt)
{
    for (const RouteText &row : route_texts()) {
        SCOPED_TRACE(row);
        const ShownRoute host(row.rd, row.key);
        const platform::FailText failure(0);
        expect_shown(run_display(QEL_NGMVPN_MpNlriData2Str, host.route, {.out_len = kRoom}, ctx_), without_rd(row.text),
                     0, 0, 1);
        EXPECT_TRUE(failure.fired());
    }
}

TEST_F(Display, ARouteWhoseTextCannotBeFormedIsRefusedWithoutAReport)
{
    for (const RouteText &row : route_texts()) {
        SCOPED_TRACE(row);
        const ShownRoute host(row.rd, row.key);
        for (const bool heap : {false, true}) {
            const LeakCheck leaks;
            std::optional<LentBuffer> lent;
            if (heap) {
                lent.emplace(ctx_);
            }
            const platform::FailText failure(1);
            const TextCall got = run_display(QEL_NGMVPN_MpNlriData2Str, host.route, {.out_len = kRoom}, ctx_);
            expect_nothing_shown(got, kNoText);
            EXPECT_TRUE(failure.fired());
            EXPECT_EQ(got.allocations, heap ? 1U : 0U);
            EXPECT_EQ(ctx_->uiInlineBufUsed, heap ? 1U : 0U);
        }
    }
}

TEST_F(Display, AnAddressOfNoKnownLengthIsReportedAndShownAsNothing)
{
    Addr odd = s6();
    odd.len = 33;
    const struct {
        QEL_NGMVPN_KEY_S key;
        std::string text;
        std::size_t asserts;
    } rows[] = {
        {intra_key(kKeysOwnRd, odd), "Route Type: Intra Ipmsi Ad 100:1/Orig Route Ip:  ", 1},
        {spmsi_key(kKeysOwnRd, 1, odd, g4(), odd),
         "Route Type: Spmsi Ad 100:1/SourceAddr:  GroupAddr: 239.1.2.3 OrigRouteIp:  ", 2},
        {ipmsi_leaf_key(kKeysOwnRd, odd, odd), "Route Type: Leaf Ad 100:1/Remote OrigRoutIp:  Local OrigRoutIp:  ", 2},
        {spmsi_leaf_key(kKeysOwnRd, 1, odd, odd, odd, odd),
         "Route Type: Leaf Ad 100:1/RouteKey(SourceAddr:  GroupAddr:  OrigRouteIp: ) OrigRouteIp:  ", 4},
        {source_active_key(kKeysOwnRd, odd, odd), "Route Type: SourceActive 100:1/SourceAddr:  GroupAddr:  ", 2},
        {cmcast_key(7, kKeysOwnRd, 1, odd, odd),
         "Route Type: CMulticastRoute 100:1/SourceAS: 1 SourceAddr:  GroupAddr:  ", 2},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.text);
        const ShownRoute host(rd_a(), row.key);
        expect_shown(run_display(QEL_NGMVPN_MpNlriData2Str, host.route, {.out_len = kRoom}, ctx_), row.text, 0, 0,
                     row.asserts);
    }
}

TEST_F(Display, ARouteOfMoreThan255CharactersIsCutByTheWorkBuffer)
{
    const Addr longest = v6("ffffffffffffffffffffffffffffffff");
    const std::string ones = "ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff";
    const std::string whole = "Route Type: Leaf Ad 255.255.255.255:65535/RouteKey(SourceAddr: " + ones +
                              " GroupAddr: " + ones + " OrigRouteIp: " + ones + ") OrigRouteIp: " + ones + " ";
    ASSERT_EQ(whole.size(), 261U);
    const ShownRoute host(rd12(1, 0xffffffff, 65535),
                          spmsi_leaf_key(kKeysOwnRd, 2, longest, longest, longest, longest));
    expect_room_rule(door(QEL_NGMVPN_MpNlriData2Str), host.route, whole.substr(0, 255));
}

TEST_F(Display, ARouteWithoutRdOrKeyIsAbsent)
{
    const platform::FailAllocation no_memory(0);
    const LentBuffer lent(ctx_);
    for (const bool without_rd : {true, false}) {
        ShownRoute host(rd_a(), intra_key(kKeysOwnRd, o4()));
        (without_rd ? host.route.pucRd : host.route.pucKey) = nullptr;
        for (const std::uint32_t room : {0U, kRoom}) {
            expect_nothing_shown(run_display(QEL_NGMVPN_MpNlriData2Str, host.route, {.out_len = room}, ctx_), 0x80012);
        }
    }
    EXPECT_FALSE(no_memory.fired());
}

TEST_F(Display, AKeyTypeOutsideOneToEightHasNoText)
{
    for (const std::uint32_t type : {0U, 9U, 10U, 0x101U, 0x10001U, 0xffffffffU}) {
        const ShownRoute host(rd_a(), empty_key(type, kKeysOwnRd));
        for (const std::uint32_t room : {0U, kRoom}) {
            expect_nothing_shown(run_display(QEL_NGMVPN_MpNlriData2Str, host.route, {.out_len = room}, ctx_), kNoText);
            EXPECT_EQ(ctx_->uiInlineBufUsed, 0U);
        }
        const LentBuffer lent(ctx_);
        expect_nothing_shown(run_display(QEL_NGMVPN_MpNlriData2Str, host.route, {.out_len = kRoom}, ctx_), kNoText);
    }
}

TEST_F(Display, TheRoutesStepsGiveTheTextWithTheRdTextThatTheyGet)
{
    const Addr w = none();
    const struct {
        decltype(&QEL_NGMVPN_MpNlriData2StrINTRAIPMSIAD_) step;
        QEL_NGMVPN_KEY_S key;
        std::string text;
    } rows[] = {
        {QEL_NGMVPN_MpNlriData2StrINTRAIPMSIAD_, intra_key(kKeysOwnRd, o4()),
         "Route Type: Intra Ipmsi Ad an RD/Orig Route Ip: 192.168.10.11 "},
        {QEL_NGMVPN_MpNlriData2StrINTERIPMSIAD_, inter_key(kKeysOwnRd, 5),
         "Route Type: Inter Ipmsi Ad an RD/Source AS: 5 "},
        {QEL_NGMVPN_MpNlriData2StrSPMSIAD_, spmsi_key(kKeysOwnRd, 0, s4(), w, o6()),
         "Route Type: Spmsi Ad an RD/SourceAddr: 10.0.0.1 GroupAddr: wildcard OrigRouteIp: 2001:db8:1::b02 "},
        {QEL_NGMVPN_MpNlriData2StrIPMSILEAFAD_, ipmsi_leaf_key(kKeysOwnRd, o4(), l4()),
         "Route Type: Leaf Ad an RD/Remote OrigRoutIp: 192.168.10.11 Local OrigRoutIp: 192.168.20.21 "},
        {QEL_NGMVPN_MpNlriData2StrSPMSILEAFAD_, spmsi_leaf_key(kKeysOwnRd, 0, s4(), w, o4(), l6()),
         "Route Type: Leaf Ad an RD/RouteKey(SourceAddr: 10.0.0.1 GroupAddr: wildcard OrigRouteIp: 192.168.10.11) "
         "OrigRouteIp: 2001:db8:2::c03 "},
    };
    for (const auto &row : rows) {
        const OddBytes key(bytes_of(row.key));
        for (std::uint32_t size = 1; size <= row.text.size() + 2; ++size) {
            SCOPED_TRACE(row.text + " in " + std::to_string(size));
            ExactCopy room(Bytes(size, kFill));
            const std::string shown = row.text.substr(0, size - 1);
            EXPECT_EQ(row.step(key.as<QEL_NGMVPN_KEY_S>(), "an RD", reinterpret_cast<char *>(room.data()), size),
                      std::ssize(shown));
            EXPECT_EQ(std::string(room.data(), room.data() + size), room_with(shown, size));
        }
        EXPECT_LT(row.step(key.as<QEL_NGMVPN_KEY_S>(), "an RD", nullptr, 0), 0);
    }
    EXPECT_TRUE(recorder_.asserts().empty());
}

// --- communities
// ------------------------------------------------------------------------------------------------------

// Label and value of the community whose six value bytes are 01 to 06.
std::string community_text(unsigned type, bool plain)
{
    std::string out;
    switch (type & 0xff) {
    case 2:
        out = "RT";
        break;
    case 9:
        out = "Source AS";
        break;
    case 10:
    case 11:
        out = "Import RT";
        break;
    case 18:
        out = "Segmented Next-Hop";
        break;
    default:
        break;
    }
    switch (type >> 8) {
    case 0:
        return out + " <513 : 100992003>"; // 0x0201, 0x06050403
    case 1:
        return out + " <4.3.2.1 : 1541>"; // 0x04030201, 0x0605
    case 2:
        return out + (plain ? " <67305985 : 1541>" : " <1027.513 : 1541>");
    default:
        return out;
    }
}

TEST_F(Display, EveryTypeOfCommunityHasItsLabelAndValue)
{
    for (unsigned type = 0; type <= 0xffff; ++type) {
        for (const bool plain : {false, true}) {
            QEL_EXTCOMM_S community{};
            community.usType = static_cast<std::uint16_t>(type);
            std::iota(std::begin(community.aucValue), std::end(community.aucValue), std::uint8_t{1});
            std::array<char, 256> out{};
            std::uint32_t length = 77;
            ASSERT_EQ(QEL_NGMVPN_ExtCommVal2Str(&community, out.data(), out.size(), &length, plain ? 1 : 0), 0U)
                << type;
            ASSERT_EQ(std::string(out.data()), community_text(type, plain)) << type;
            ASSERT_EQ(length, community_text(type, plain).size()) << type;
        }
    }
    EXPECT_TRUE(recorder_.asserts().empty());
}

TEST_F(Display, ACommunitysTextIsCutByItsRoom)
{
    for (const Community &row :
         {as2_community(0x0002, 65535, 0xffffffff, "RT <65535 : 4294967295>"),
          ip4_community(0x0112, 0xffffffff, 65535, "Segmented Next-Hop <255.255.255.255 : 65535>"),
          ip4_community(0x0209, 0xffffffff, 65535, "Source AS <65535.65535 : 65535>"),
          ip4_community(0x030a, 1, 2, "Import RT"), as2_community(0x0001, 1, 2, " <1 : 2>"),
          ip4_community(0x0301, 1, 2, "")}) {
        for (std::uint32_t size = 1; size <= row.text.size() + 2; ++size) {
            SCOPED_TRACE(row.text + " in " + std::to_string(size));
            const OddBytes element(row.element);
            ExactCopy room{Bytes(size)};
            std::uint32_t length = 77;
            EXPECT_EQ(QEL_NGMVPN_ExtCommVal2Str(element.as<QEL_EXTCOMM_S>(), reinterpret_cast<char *>(room.data()),
                                                size, &length, 0),
                      0U);
            EXPECT_EQ(std::string(reinterpret_cast<char *>(room.data())), row.text.substr(0, size - 1));
            EXPECT_EQ(length, std::min<std::size_t>(row.text.size(), size - 1));
        }
    }
    EXPECT_TRUE(recorder_.asserts().empty());
}

TEST_F(Display, ACommunityInNoRoomCannotBeFormedUnlessItIsEmpty)
{
    const std::pair<Community, std::uint32_t> rows[] = {
        {as2_community(0x0002, 1, 2, ""), kNoText},
        {as2_community(0x0001, 1, 2, ""), kNoText},
        {ip4_community(0x0302, 1, 2, ""), kNoText},
        {ip4_community(0x0301, 1, 2, ""), 0},
    };
    for (const auto &[community, code] : rows) {
        const OddBytes element(community.element);
        char out = 'x';
        std::uint32_t length = 77;
        recorder_.clear();
        EXPECT_EQ(QEL_NGMVPN_ExtCommVal2Str(element.as<QEL_EXTCOMM_S>(), &out, 0, &length, 0), code);
        EXPECT_EQ(out, 'x');
        EXPECT_EQ(length, code == 0 ? 0U : 77U);
        EXPECT_EQ(recorder_.asserts().size(), code == 0 ? 0U : 1U);
    }
}

TEST_F(Display, ALabelOrValueThatCannotBeFormedIsReportedAndTheLengthIsNotWritten)
{
    const struct {
        Community community; // its text: what has been written before the failure
        std::uint64_t after;
    } rows[] = {
        {as2_community(0x0002, 1, 2, "x"), 0},         {as2_community(0x0002, 1, 2, "RT"), 1},
        {ip4_community(0x0109, 1, 2, "Source AS"), 1}, {ip4_community(0x020b, 1, 2, "Import RT"), 1},
        {ip4_community(0x0302, 1, 2, "x"), 0},         {ip4_community(0x0101, 1, 2, "x"), 0},
    };
    for (const auto &[community, after] : rows) {
        SCOPED_TRACE(community.text);
        const OddBytes element(community.element);
        std::array<char, 64> out{"x"};
        std::uint32_t length = 77;
        recorder_.clear();
        const platform::FailText failure(after);
        EXPECT_EQ(QEL_NGMVPN_ExtCommVal2Str(element.as<QEL_EXTCOMM_S>(), out.data(), out.size(), &length, 0), kNoText);
        EXPECT_TRUE(failure.fired());
        EXPECT_EQ(recorder_.asserts().size(), 1U);
        EXPECT_EQ(out.data(), community.text);
        EXPECT_EQ(length, 77U);
    }
}

TEST_F(Display, ACommunityThatCannotBeFormedIsReportedAndThePlaceStays)
{
    const OddBytes list(list_of(some_communities()));
    const QEL_ROUTE_INFO_S route = route_with_communities(list.data(), list.size());
    for (const TextDoor &call : {door(QEL_NGMVPN_ExtCommunity2Str), config_door(QEL_NGMVPN_FormatCfgExtCommunity)}) {
        for (const std::uint64_t after : {0U, 1U}) {
            for (const bool heap : {false, true}) {
                const LeakCheck leaks;
                std::optional<LentBuffer> lent;
                if (heap) {
                    lent.emplace(ctx_);
                }
                const platform::FailText failure(after);
                expect_nothing_shown(call(route, {.out_len = kRoom, .index = 1}), kNoText, 1, 1);
                EXPECT_TRUE(failure.fired());
                EXPECT_EQ(ctx_->uiInlineBufUsed, heap ? 1U : 0U);
            }
        }
    }
}

struct AsText {
    std::uint32_t as;
    std::string dotted;
    std::string plain;
};

const AsText kFourOctetAs[] = {
    {65536, "RT <1.0 : 5>", "RT <65536 : 5>"},
    {65535, "RT <0.65535 : 5>", "RT <0.65535 : 5>"},
    {100, "RT <0.100 : 5>", "RT <0.100 : 5>"},
    {0, "RT <0.0 : 5>", "RT <0.0 : 5>"},
    {0xffffffff, "RT <65535.65535 : 5>", "RT <4294967295 : 5>"},
};

TEST_F(Display, BitZeroOfTheRdFlagsShowsAFourOctetAsAsOneNumber)
{
    for (const AsText &row : kFourOctetAs) {
        const OddBytes list(ip4_community(0x0202, row.as, 5, "").element);
        QEL_ROUTE_INFO_S route = route_with_communities(list.data(), list.size());
        for (const std::uint32_t flags : {0U, 1U, 2U, 3U, 0x100U, 0xfffffffeU, 0xffffffffU}) {
            SCOPED_TRACE(row.dotted + " with flags " + std::to_string(flags));
            route.uiRdFlags = flags;
            expect_shown(run_display(QEL_NGMVPN_ExtCommunity2Str, route, {.out_len = kRoom, .index = 0}, ctx_),
                         (flags & 1) != 0 ? row.plain : row.dotted, 1);
        }
    }
}

TEST_F(Display, OnlyAFourOctetAsIsShownAsOneNumber)
{
    for (const Community &row :
         {as2_community(0x0002, 65535, 65536, "RT <65535 : 65536>"),
          ip4_community(0x0102, 65536, 5, "RT <0.1.0.0 : 5>"), ip4_community(0x0302, 65536, 5, "RT")}) {
        const OddBytes list(row.element);
        QEL_ROUTE_INFO_S route = route_with_communities(list.data(), list.size());
        for (const std::uint32_t flags : {0U, 1U}) {
            route.uiRdFlags = flags;
            expect_shown(run_display(QEL_NGMVPN_ExtCommunity2Str, route, {.out_len = kRoom, .index = 0}, ctx_),
                         row.text, 1);
        }
    }
}

TEST_F(Display, CommunitiesAreShownOnePerCall)
{
    expect_steps_through_lists(door(QEL_NGMVPN_ExtCommunity2Str), route_with_communities, some_communities());
    expect_a_missing_list_ends_at_once(door(QEL_NGMVPN_ExtCommunity2Str), route_with_communities);
}

TEST_F(Display, ACommunitysTextNeedsItsLengthAndANul)
{
    for (const Community &row : some_communities()) {
        expect_room_rule_of_element(door(QEL_NGMVPN_ExtCommunity2Str), route_with_communities, row, kMoreBefore);
    }
}

TEST_F(Display, ACommunityWithoutLabelAndValueIsAnEmptyTextThatMovesOn)
{
    expect_room_rule_of_element(door(QEL_NGMVPN_ExtCommunity2Str), route_with_communities,
                                ip4_community(0x0305, 1, 2, ""), kMoreBefore);
}

TEST_F(Display, CommunitiesLookAtTheContextOnlyForTheirWorkBuffer)
{
    expect_a_missing_list_ends_at_once(display_door(QEL_NGMVPN_ExtCommunity2Str, nullptr), route_with_communities);
    const OddBytes list(some_communities()[0].element);
    const QEL_ROUTE_INFO_S route = route_with_communities(list.data(), list.size());
    // One report of the refused context, one of the missing buffer.
    expect_nothing_shown(run_display(QEL_NGMVPN_ExtCommunity2Str, route, {.out_len = kRoom, .index = 0}, nullptr),
                         kNoScratch, 2, 0);
}

// --- IPv6 communities
// -------------------------------------------------------------------------------------------------

TEST_F(Display, SixTypesOfIpv6CommunityHaveAText)
{
    const Community shape = ipv6_community(0, "20010db8000000000000000000000a01", 7, "");
    for (unsigned type = 0; type <= 0xffff; ++type) {
        OddBytes element(shape.element);
        element.as<QEL_IPV6_EXTCOMM_S>()->usType = static_cast<std::uint16_t>(type);
        std::array<char, 512> out{};
        out[0] = 'x';
        std::uint32_t length = 77;
        ASSERT_EQ(QEL_NGMVPN_IPv6ExtCommVal2Str(element.as<QEL_IPV6_EXTCOMM_S>(), out.data(), out.size(), &length), 0U);
        std::string text;
        if (type == 0x0002 || type == 0x0102) {
            text = "RT <2001:db8::a01 . 7>";
        } else if (type == 0x000a || type == 0x000b || type == 0x010a || type == 0x010b) {
            text = "Import RT <2001:db8::a01 . 7>";
        }
        ASSERT_EQ(length, text.size()) << type;
        ASSERT_EQ(std::string(out.data()), text.empty() ? "x" : text)
            << type << ": only a length is written for others";
    }
    EXPECT_TRUE(recorder_.asserts().empty());
}

TEST_F(Display, AnIpv6CommunitysTextIsCutByItsRoom)
{
    const Community row = some_ipv6_communities()[2];
    const OddBytes element(row.element);
    for (std::uint32_t size = 1; size <= row.text.size() + 2; ++size) {
        SCOPED_TRACE(size);
        ExactCopy room(Bytes(size, kFill));
        std::uint32_t length = 77;
        EXPECT_EQ(QEL_NGMVPN_IPv6ExtCommVal2Str(element.as<QEL_IPV6_EXTCOMM_S>(), reinterpret_cast<char *>(room.data()),
                                                size, &length),
                  0U);
        const std::string shown = row.text.substr(0, size - 1);
        EXPECT_EQ(std::string(room.data(), room.data() + size), room_with(shown, size));
        EXPECT_EQ(length, shown.size());
    }
    EXPECT_EQ(hex(element.bytes()), hex(row.element)) << "the element stays in host order";
    EXPECT_TRUE(recorder_.asserts().empty());
}

TEST_F(Display, AnIpv6CommunityInNoRoomHasNoLengthAndNoFailure)
{
    for (const Community &row : some_ipv6_communities()) {
        const OddBytes element(row.element);
        char out = 'x';
        std::uint32_t length = 77;
        EXPECT_EQ(QEL_NGMVPN_IPv6ExtCommVal2Str(element.as<QEL_IPV6_EXTCOMM_S>(), &out, 0, &length), 0U);
        EXPECT_EQ(out, 'x');
        EXPECT_EQ(length, 0U);
    }
}

TEST_F(Display, AnIpv6CommunityThatCannotBeFormedIsReportedAndShownAsNothing)
{
    const Community rows[] = {some_ipv6_communities()[0], some_ipv6_communities()[2]};
    for (const Community &row : rows) {
        SCOPED_TRACE(row.text);
        const OddBytes list(row.element + row.element);
        std::array<char, 64> out{"x"};
        std::uint32_t length = 77;
        {
            const platform::FailText failure(0);
            EXPECT_EQ(QEL_NGMVPN_IPv6ExtCommVal2Str(list.as<QEL_IPV6_EXTCOMM_S>(), out.data(), out.size(), &length),
                      0U);
            EXPECT_TRUE(failure.fired());
        }
        EXPECT_EQ(recorder_.asserts().size(), 1U);
        recorder_.clear();
        EXPECT_STREQ(out.data(), "x");
        EXPECT_EQ(length, 0U);
        const platform::FailText failure(0);
        const QEL_ROUTE_INFO_S route = route_with_ipv6_communities(list.data(), list.size());
        expect_shown(run_display(QEL_NGMVPN_IPv6ExtCommunity2Str, route, {.out_len = kRoom, .index = 0}, ctx_), "", 1,
                     1, 1);
        EXPECT_TRUE(failure.fired());
    }
}

TEST_F(Display, Ipv6CommunitiesAreShownOnePerCall)
{
    expect_steps_through_lists(door(QEL_NGMVPN_IPv6ExtCommunity2Str), route_with_ipv6_communities,
                               some_ipv6_communities());
    expect_a_missing_list_ends_at_once(door(QEL_NGMVPN_IPv6ExtCommunity2Str), route_with_ipv6_communities);
}

TEST_F(Display, AnIpv6CommunitysTextNeedsItsLengthAndANulAndARefusalClearsTheMoreWord)
{
    for (const Community &row : some_ipv6_communities()) {
        expect_room_rule_of_element(door(QEL_NGMVPN_IPv6ExtCommunity2Str), route_with_ipv6_communities, row, 0);
    }
}

// --- tunnels
// ----------------------------------------------------------------------------------------------------------

std::vector<TunnelText> shown_tunnels()
{
    std::vector<TunnelText> out = cut_tunnels();
    for (const TunnelText &row : bier_tunnels()) {
        out.push_back(row);
    }
    return out;
}

QEL_ROUTE_INFO_S route_with_tunnel(const OddBytes &section)
{
    return route_holding(22, section.data(), section.size());
}

TEST_F(Display, ATunnelIsShownByItsType)
{
    for (const TunnelText &row : shown_tunnels()) {
        SCOPED_TRACE(row);
        const OddBytes section(row.section);
        expect_shown(run_display(QEL_NGMVPN_PmsiTnl2Str, route_with_tunnel(section), {.out_len = 512}, ctx_),
                     row.text());
        EXPECT_EQ(hex(section.bytes()), hex(row.section)) << "the record stays as it was";
    }
}

TEST_F(Display, OnlyBierSplitsTheLabel)
{
    const struct {
        Bytes section;
        std::string text;
    } rows[] = {
        {rsvp_te(0, 0x123456, 0, 0, 0), "Label 0:0:0(1193046),"},
        {mldp(0, 0x123456, 0, {}), "Label 0:0:0(1193046),"},
        {bier(0, 0x123456, 0, 0, v4(0)), "Label 18:52:86(1193046),"},
        {bier(0, 0xffffff, 0, 0, v4(0)), "Label 255:255:255(16777215),"},
        {bier(0, 0xff000000, 0, 0, v4(0)), "Label 0:0:0(4278190080),"},
    };
    for (const auto &row : rows) {
        const OddBytes section(row.section);
        const TextCall got = run_display(QEL_NGMVPN_PmsiTnl2Str, route_with_tunnel(section), {.out_len = 512}, ctx_);
        EXPECT_EQ(got.code, 0U);
        EXPECT_NE(got.room.find(row.text), std::string::npos) << got.room;
    }
}

TEST_F(Display, ARsvpTeOrMldpTextIsCutByItsRoomWithoutAnError)
{
    for (const TunnelText &row : cut_tunnels()) {
        const std::string text = row.text();
        const OddBytes section(row.section);
        const QEL_ROUTE_INFO_S route = route_with_tunnel(section);
        // Nothing can be formed in no room at all.
        expect_nothing_shown(run_display(QEL_NGMVPN_PmsiTnl2Str, route, {.out_len = 0}, ctx_), kNoRoom, 1);
        for (std::uint32_t room = 1; room <= text.size() + 2; ++room) {
            SCOPED_TRACE(row.name + " in " + std::to_string(room));
            expect_shown(run_display(QEL_NGMVPN_PmsiTnl2Str, route, {.out_len = room}, ctx_), text.substr(0, room - 1));
        }
    }
}

TEST_F(Display, ABierTextThatIsTooLongIsRefused)
{
    for (const TunnelText &row : bier_tunnels()) {
        const std::string text = row.text();
        const OddBytes section(row.section);
        const QEL_ROUTE_INFO_S route = route_with_tunnel(section);
        expect_nothing_shown(run_display(QEL_NGMVPN_PmsiTnl2Str, route, {.out_len = 0}, ctx_), kNoRoom, 1);
        // In a room of one byte the flags and the tunnel are both cut to nothing, and nothing fits.
        expect_shown(run_display(QEL_NGMVPN_PmsiTnl2Str, route, {.out_len = 1}, ctx_), "");
        for (std::uint32_t room = 2; room <= text.size(); ++room) {
            SCOPED_TRACE(row.name + " in " + std::to_string(room));
            expect_nothing_shown(run_display(QEL_NGMVPN_PmsiTnl2Str, route, {.out_len = room}, ctx_), kNoRoom);
        }
        const auto need = static_cast<std::uint32_t>(text.size() + 1);
        expect_shown(run_display(QEL_NGMVPN_PmsiTnl2Str, route, {.out_len = need}, ctx_), text);
        expect_shown(run_display(QEL_NGMVPN_PmsiTnl2Str, route, {.out_len = 1000}, ctx_), text);
    }
}

TEST_F(Display, ABierPrefixOfAnyOtherLengthLeavesTheFlagsAlone)
{
    for (unsigned length = 0; length <= 255; ++length) {
        if (length == 4 || length == 16) {
            continue;
        }
        SCOPED_TRACE(length);
        OddBytes section(bier(0x20, 0x123456, 7, 258, s6()));
        section.data()[9] = static_cast<std::uint8_t>(length);
        std::array<char, 512> out{};
        out[0] = 'x';
        EXPECT_EQ(QEL_NGMVPN_BierPmsiToStr(section.as<QEL_NGMVPN_PMSI_TNL_S>(), out.data(), out.size()), 0);
        EXPECT_STREQ(out.data(), "x");
        const QEL_ROUTE_INFO_S route = route_with_tunnel(section);
        const std::string text = "PMSI: Flags 0x20,";
        expect_shown(run_display(QEL_NGMVPN_PmsiTnl2Str, route, {.out_len = 512}, ctx_), text);
        expect_shown(run_display(QEL_NGMVPN_PmsiTnl2Str, route, {.out_len = 5}, ctx_), text.substr(0, 4));
    }
    EXPECT_TRUE(recorder_.asserts().empty());
}

TEST_F(Display, AMldpTextShowsEveryOpaqueByteUpTo511Characters)
{
    for (std::size_t count = 0; count <= 240; ++count) {
        SCOPED_TRACE(count);
        const Bytes opaque = counted(count);
        const OddBytes section(mldp(0, 1, 0x01020304, opaque));
        const std::string text =
            "PMSI: Flags 0x0, mLDP P2MP LSP, Label 0:0:0(1), Root node address: 1.2.3.4, Opaque value: " +
            opaque_text(opaque);
        const QEL_ROUTE_INFO_S route = route_with_tunnel(section);
        for (const std::uint32_t room : {511U, 512U, 513U, 1000U}) {
            const std::size_t cut = std::min<std::size_t>(room, 512) - 1;
            expect_shown(run_display(QEL_NGMVPN_PmsiTnl2Str, route, {.out_len = room}, ctx_), text.substr(0, cut));
        }
    }
}

TEST_F(Display, ATunnelOfAnotherTypeIsNotShown)
{
    for (unsigned type = 0; type <= 255; ++type) {
        if (type == 1 || type == 2 || type == 11) {
            continue;
        }
        SCOPED_TRACE(type);
        OddBytes section(rsvp_te(0, 1, 2, 3, 4));
        section.data()[1] = static_cast<std::uint8_t>(type);
        std::array<char, 512> out{};
        out[0] = 'x';
        std::uint32_t length = 77;
        EXPECT_EQ(QEL_NGMVPN_PmsiDataToStr(section.as<QEL_NGMVPN_PMSI_TNL_S>(), out.data(), out.size(), &length), 5U);
        EXPECT_STREQ(out.data(), "x");
        EXPECT_EQ(length, 77U);
        expect_nothing_shown(run_display(QEL_NGMVPN_PmsiTnl2Str, route_with_tunnel(section), {.out_len = 512}, ctx_),
                             kNoRoom);
    }
    EXPECT_TRUE(recorder_.asserts().empty());
}

TEST_F(Display, ARouteWithoutATunnelIsShownAsNothing)
{
    QEL_ROUTE_INFO_S route{};
    for (const std::uint32_t claim : {0U, 268U}) {
        route.uiPmsiLen = claim;
        expect_nothing_shown(run_display(QEL_NGMVPN_PmsiTnl2Str, route, {.out_len = kRoom}, ctx_), 0);
        expect_nothing_shown(run_display(QEL_NGMVPN_PmsiTnl2Str, route, {.out_len = 0}, ctx_), 0);
    }
}

TEST_F(Display, TheLengthOfATunnelsTextIsAddedToTheCallers)
{
    for (const TunnelText &row : shown_tunnels()) {
        SCOPED_TRACE(row);
        const OddBytes section(row.section);
        std::array<char, 512> out{};
        std::uint32_t length = 1000;
        EXPECT_EQ(QEL_NGMVPN_PmsiDataToStr(section.as<QEL_NGMVPN_PMSI_TNL_S>(), out.data(), out.size(), &length), 0U);
        EXPECT_EQ(std::string(out.data()), row.text());
        EXPECT_EQ(length, 1000 + row.text().size());
    }
    EXPECT_TRUE(recorder_.asserts().empty());
}

TEST_F(Display, TheBierTextIsGivenTheWholeSizeAndNotTheSizeLeft)
{
    for (const TunnelText &row : bier_tunnels()) {
        for (std::uint32_t size = 1; size <= row.text().size() + 1; ++size) {
            SCOPED_TRACE(row.name + " in " + std::to_string(size));
            const OddBytes section(row.section);
            std::array<char, 512> out{};
            std::uint32_t length = 0;
            EXPECT_EQ(QEL_NGMVPN_PmsiDataToStr(section.as<QEL_NGMVPN_PMSI_TNL_S>(), out.data(), size, &length), 0U);
            const std::string text = row.head.substr(0, size - 1) + row.body.substr(0, size - 1);
            EXPECT_EQ(std::string(out.data()), text);
            EXPECT_EQ(length, text.size());
        }
    }
    EXPECT_TRUE(recorder_.asserts().empty());
}

TEST_F(Display, RsvpTeAndMldpTextsAreGivenTheSizeLeft)
{
    for (const TunnelText &row : cut_tunnels()) {
        for (std::uint32_t size = 1; size <= row.text().size() + 2; ++size) {
            SCOPED_TRACE(row.name + " in " + std::to_string(size));
            const OddBytes section(row.section);
            ExactCopy room(Bytes(size, kFill));
            std::uint32_t length = 5;
            EXPECT_EQ(QEL_NGMVPN_PmsiDataToStr(section.as<QEL_NGMVPN_PMSI_TNL_S>(),
                                               reinterpret_cast<char *>(room.data()), size, &length),
                      0U);
            const std::string text = row.text().substr(0, size - 1);
            EXPECT_EQ(std::string(room.data(), room.data() + size), room_with(text, size));
            EXPECT_EQ(length, 5 + text.size());
        }
    }
    EXPECT_TRUE(recorder_.asserts().empty());
}

TEST_F(Display, FlagsThatCannotBeFormedAreReported)
{
    for (const TunnelText &row : shown_tunnels()) {
        SCOPED_TRACE(row);
        const OddBytes section(row.section);
        std::array<char, 512> out{"x"};
        std::uint32_t length = 77;
        recorder_.clear();
        EXPECT_EQ(QEL_NGMVPN_PmsiDataToStr(section.as<QEL_NGMVPN_PMSI_TNL_S>(), out.data(), 0, &length), kNoText);
        EXPECT_EQ(recorder_.asserts().size(), 1U);
        EXPECT_STREQ(out.data(), "x");
        EXPECT_EQ(length, 77U);
    }
}

// The pieces of a tunnel's text: flags, tunnel, and each opaque byte.
std::size_t pieces_of(const TunnelText &row)
{
    return 2 + (row.section[1] == 2 ? row.section.size() - 20 : 0);
}

TEST_F(Display, APieceOfATunnelThatCannotBeFormedIsReportedAndTheLengthIsNotWritten)
{
    for (const TunnelText &row : shown_tunnels()) {
        const OddBytes section(row.section);
        for (std::uint64_t after = 0; after < pieces_of(row); ++after) {
            SCOPED_TRACE(row.name + ", piece " + std::to_string(after));
            std::array<char, 512> out{"x"};
            std::uint32_t length = 77;
            recorder_.clear();
            const platform::FailText failure(after);
            EXPECT_EQ(QEL_NGMVPN_PmsiDataToStr(section.as<QEL_NGMVPN_PMSI_TNL_S>(), out.data(), 512, &length), kNoText);
            EXPECT_TRUE(failure.fired());
            ASSERT_EQ(recorder_.asserts().size(), 1U);
            EXPECT_EQ(recorder_.asserts()[0].value, UINT64_MAX);
            EXPECT_EQ(length, 77U);
            const std::string written = out.data();
            EXPECT_EQ(written, after == 0 ? "x" : row.text().substr(0, written.size()));
        }
    }
}

TEST_F(Display, ATunnelThatCannotBeFormedIsTooLongForTheDisplayAndEmptyForTheConfiguration)
{
    for (const TunnelText &row : shown_tunnels()) {
        const OddBytes section(row.section);
        const QEL_ROUTE_INFO_S route = route_with_tunnel(section);
        for (std::uint64_t after = 0; after < pieces_of(row); ++after) {
            SCOPED_TRACE(row.name + ", piece " + std::to_string(after));
            {
                const platform::FailText failure(after);
                expect_nothing_shown(run_display(QEL_NGMVPN_PmsiTnl2Str, route, {.out_len = 512}, ctx_), kNoRoom, 1);
                EXPECT_TRUE(failure.fired());
            }
            const platform::FailText failure(after);
            expect_shown(run_config(QEL_NGMVPN_FormatCfgPmsiTnl, route, {.out_len = 512}), "", 0, 0, 1);
            EXPECT_TRUE(failure.fired());
        }
    }
}

TEST_F(Display, ABierPrefixThatCannotBeCopiedIsAFailureOfTheTunnel)
{
    const OddBytes section(bier_tunnels()[1].section);
    std::array<char, 512> out{"x"};
    {
        const FailCopy failure(0);
        EXPECT_EQ(QEL_NGMVPN_BierPmsiToStr(section.as<QEL_NGMVPN_PMSI_TNL_S>(), out.data(), 512), -1);
        EXPECT_TRUE(failure.fired());
    }
    EXPECT_TRUE(recorder_.asserts().empty()) << "the caller reports it";
    EXPECT_STREQ(out.data(), "x");
    std::uint32_t length = 77;
    const FailCopy failure(0);
    EXPECT_EQ(QEL_NGMVPN_PmsiDataToStr(section.as<QEL_NGMVPN_PMSI_TNL_S>(), out.data(), 512, &length), kNoText);
    EXPECT_TRUE(failure.fired());
    EXPECT_EQ(recorder_.asserts().size(), 1U);
    EXPECT_STREQ(out.data(), bier_tunnels()[1].head.c_str());
    EXPECT_EQ(length, 77U);
}

TEST_F(Display, TheBierStepIsCutByItsRoom)
{
    for (const TunnelText &row : bier_tunnels()) {
        const OddBytes section(row.section);
        for (std::uint32_t size = 1; size <= row.body.size() + 2; ++size) {
            SCOPED_TRACE(row.name + " in " + std::to_string(size));
            ExactCopy room(Bytes(size, kFill));
            const std::string text = row.body.substr(0, size - 1);
            EXPECT_EQ(QEL_NGMVPN_BierPmsiToStr(section.as<QEL_NGMVPN_PMSI_TNL_S>(),
                                               reinterpret_cast<char *>(room.data()), size),
                      std::ssize(text));
            EXPECT_EQ(std::string(room.data(), room.data() + size), room_with(text, size));
        }
        char none_left = 'x';
        EXPECT_LT(QEL_NGMVPN_BierPmsiToStr(section.as<QEL_NGMVPN_PMSI_TNL_S>(), &none_left, 0), 0);
        EXPECT_EQ(none_left, 'x');
    }
    EXPECT_TRUE(recorder_.asserts().empty());
}

TEST_F(Display, TheOpaqueStepKeepsBothCountsUpToDate)
{
    for (const std::size_t count : {0U, 1U, 2U, 3U, 240U}) {
        const Bytes opaque = counted(count);
        const OddBytes section(mldp(0, 1, 2, opaque));
        const std::string whole = opaque_text(opaque);
        for (const std::size_t size : {std::size_t{1}, std::size_t{2}, std::size_t{3}, std::size_t{4}, std::size_t{5},
                                       std::size_t{8}, std::size_t{300}, whole.size() + 1, whole.size() + 9}) {
            SCOPED_TRACE(std::to_string(count) + " bytes in " + std::to_string(size));
            ExactCopy room{Bytes(size)};
            const std::string text = whole.substr(0, size - 1);
            auto left = static_cast<std::uint32_t>(size);
            std::uint32_t length = 40;
            EXPECT_EQ(QEL_NGMVPN_FillLdpOpaquePmsiDataToStr(section.as<QEL_NGMVPN_PMSI_TNL_S>(),
                                                            reinterpret_cast<char *>(room.data()), &left, &length),
                      0U);
            EXPECT_EQ(std::string(reinterpret_cast<char *>(room.data())), text);
            EXPECT_EQ(left, size - text.size());
            EXPECT_EQ(length, 40 + text.size());
        }
    }
    EXPECT_TRUE(recorder_.asserts().empty());
}

TEST_F(Display, NoMoreThanTheRecordsOpaqueBytesAreShown)
{
    const std::string whole = opaque_text(counted(240));
    for (const std::uint16_t claim : std::array<std::uint16_t, 4>{240, 241, 256, 0xffff}) {
        OddBytes section(mldp(0, 1, 2, counted(240)));
        section.data()[16] = static_cast<std::uint8_t>(claim);
        section.data()[17] = static_cast<std::uint8_t>(claim >> 8);
        std::array<char, 800> out{};
        std::uint32_t left = out.size();
        std::uint32_t length = 0;
        EXPECT_EQ(
            QEL_NGMVPN_FillLdpOpaquePmsiDataToStr(section.as<QEL_NGMVPN_PMSI_TNL_S>(), out.data(), &left, &length), 0U);
        EXPECT_EQ(std::string(out.data()), whole);
        EXPECT_EQ(length, whole.size());
    }
    EXPECT_TRUE(recorder_.asserts().empty());
}

TEST_F(Display, AnOpaqueByteThatCannotBeFormedIsReported)
{
    const OddBytes section(mldp(0, 1, 2, bytes("0102")));
    char out = 'x';
    std::uint32_t left = 0;
    std::uint32_t length = 40;
    EXPECT_EQ(QEL_NGMVPN_FillLdpOpaquePmsiDataToStr(section.as<QEL_NGMVPN_PMSI_TNL_S>(), &out, &left, &length),
              kNoText);
    EXPECT_EQ(recorder_.asserts().size(), 1U);
    EXPECT_EQ(out, 'x');
    EXPECT_EQ(left, 0U);
    EXPECT_EQ(length, 40U);
    const OddBytes nothing(mldp(0, 1, 2, {}));
    EXPECT_EQ(QEL_NGMVPN_FillLdpOpaquePmsiDataToStr(nothing.as<QEL_NGMVPN_PMSI_TNL_S>(), &out, &left, &length), 0U);
    EXPECT_EQ(recorder_.asserts().size(), 1U);
}

TEST_F(Display, BothCountsStandBehindTheLastOpaqueByteThatWasFormed)
{
    const OddBytes section(mldp(0, 1, 2, bytes("010203")));
    for (std::uint32_t after = 0; after < 3; ++after) {
        SCOPED_TRACE(after);
        std::array<char, 40> out{};
        std::uint32_t left = out.size();
        std::uint32_t length = 40;
        recorder_.clear();
        const platform::FailText failure(after);
        EXPECT_EQ(
            QEL_NGMVPN_FillLdpOpaquePmsiDataToStr(section.as<QEL_NGMVPN_PMSI_TNL_S>(), out.data(), &left, &length),
            kNoText);
        EXPECT_TRUE(failure.fired());
        EXPECT_EQ(recorder_.asserts().size(), 1U);
        EXPECT_EQ(std::string(out.data()), std::string("01 02 03 ").substr(0, 3 * after));
        EXPECT_EQ(left, 40 - 3 * after);
        EXPECT_EQ(length, 40 + 3 * after);
    }
}

// --- non-keys
// ---------------------------------------------------------------------------------------------------------

class ShownNonKey {
public:
    ShownNonKey(std::uint16_t flags, std::uint32_t key_type) : record_(record(flags, key_type))
    {
        route.uiValidMask = 0x4;
        route.uiNonKeyLen = record_.size();
        route.pucNonKey = record_.data();
    }
    QEL_ROUTE_INFO_S route{};

private:
    static Bytes record(std::uint16_t flags, std::uint32_t key_type)
    {
        QEL_NGMVPN_NONKEY_S nonkey{};
        nonkey.usFlags = flags;
        nonkey.uiKeyType = key_type;
        return bytes_of(nonkey);
    }
    OddBytes record_;
};

TEST_F(Display, ANonKeyShowsItsKeyTypeWhateverItIs)
{
    for (const std::uint16_t flags : std::array<std::uint16_t, 4>{0x1, 0x5, 0x11, 0xffff}) {
        for (const std::uint32_t type : {0U, 1U, 8U, 9U, 0xffffffffU}) {
            const ShownNonKey host(flags, type);
            expect_shown(run_display(QEL_NGMVPN_NonKey2Str, host.route, {.out_len = kRoom}, ctx_),
                         "Route Type: " + std::to_string(type));
        }
    }
}

TEST_F(Display, ANonKeyTextThatDoesNotFitIsOnlyReported)
{
    const std::string text = "Route Type: 4294967295";
    const ShownNonKey host(0x1, 0xffffffff);
    for (std::uint32_t room = 0; room <= text.size(); ++room) {
        SCOPED_TRACE(room);
        expect_nothing_shown(run_display(QEL_NGMVPN_NonKey2Str, host.route, {.out_len = room}, ctx_), 0, 1, 0, 0);
        EXPECT_EQ(ctx_->uiInlineBufUsed, 0U);
    }
    const auto need = static_cast<std::uint32_t>(text.size() + 1);
    expect_shown(run_display(QEL_NGMVPN_NonKey2Str, host.route, {.out_len = need}, ctx_), text);
    expect_shown(run_display(QEL_NGMVPN_NonKey2Str, host.route, {.out_len = need + 1}, ctx_), text);
}

TEST_F(Display, ANonKeyThatCannotBeFormedIsReportedAndRefused)
{
    const ShownNonKey host(0x1, 3);
    for (const bool heap : {false, true}) {
        const LeakCheck leaks;
        std::optional<LentBuffer> lent;
        if (heap) {
            lent.emplace(ctx_);
        }
        const platform::FailText failure(0);
        expect_nothing_shown(run_display(QEL_NGMVPN_NonKey2Str, host.route, {.out_len = kRoom}, ctx_), kNoText, 1);
        EXPECT_TRUE(failure.fired());
        EXPECT_EQ(ctx_->uiInlineBufUsed, heap ? 1U : 0U);
    }
}

TEST_F(Display, ANonKeyWithoutItsTypeIsReported)
{
    for (const std::uint16_t flags : std::array<std::uint16_t, 5>{0, 0x2, 0x4, 0x10, 0xfffe}) {
        const ShownNonKey host(flags, 3);
        expect_nothing_shown(run_display(QEL_NGMVPN_NonKey2Str, host.route, {.out_len = kRoom}, ctx_), 3, 1);
        EXPECT_EQ(ctx_->uiInlineBufUsed, 0U);
        const LentBuffer lent(ctx_);
        expect_nothing_shown(run_display(QEL_NGMVPN_NonKey2Str, host.route, {.out_len = kRoom}, ctx_), 3, 1);
    }
}

TEST_F(Display, ARouteHasANonKeyByItsMaskBitAndItsPointer)
{
    for (const std::uint32_t mask : {0x0U, 0x1U, 0x3U, 0xfffffffbU}) {
        ShownNonKey host(0x1, 3);
        host.route.uiValidMask = mask;
        expect_nothing_shown(run_display(QEL_NGMVPN_NonKey2Str, host.route, {.out_len = kRoom}, ctx_), kNull, 1);
    }
    ShownNonKey host(0x1, 3);
    host.route.pucNonKey = nullptr;
    expect_nothing_shown(run_display(QEL_NGMVPN_NonKey2Str, host.route, {.out_len = kRoom}, ctx_), kNull, 1);
    ShownNonKey masked(0x1, 3);
    masked.route.uiValidMask = 0xffffffff;
    expect_shown(run_display(QEL_NGMVPN_NonKey2Str, masked.route, {.out_len = kRoom}, ctx_), "Route Type: 3");
}

// --- SIDs
// -------------------------------------------------------------------------------------------------------------

DisplayHandler sid_handler(std::uint32_t type)
{
    return type == 40 ? QEL_NGMVPN_PfxSidAttr2Str : QEL_NGMVPN_MsidAttr2Str;
}

TEST_F(Display, ASidsTextMayBeExactlyAsLongAsItsRoom)
{
    for (const SidText &row : shown_sids()) {
        SCOPED_TRACE(row);
        expect_sid_room_rule(door(sid_handler(row.type)), row);
    }
}

TEST_F(Display, ARouteWithoutASidHasAnEmptyText)
{
    QEL_ROUTE_INFO_S route{};
    for (const std::uint32_t type : {40U, 66U}) {
        expect_no_sid_text(door(sid_handler(type)), route);
    }
}

TEST_F(Display, APrefixSidOfAnotherBehaviorHasAnEmptyText)
{
    for (const std::uint16_t behavior : std::array<std::uint16_t, 6>{0, 67, 70, 0x4444, 0x4500, 0xffff}) {
        const OddBytes section(prefix_sid(behavior, "20010db8000000000000000000000a01"));
        expect_no_sid_text(door(QEL_NGMVPN_PfxSidAttr2Str), route_holding(40, section.data(), section.size()));
    }
}

TEST_F(Display, ASidThatCannotBeFormedIsRefusedWithoutAReportBehindAnEmptyText)
{
    for (const SidText &row : shown_sids()) {
        SCOPED_TRACE(row);
        const OddBytes section(row.section);
        const QEL_ROUTE_INFO_S route = route_holding(row.type, section.data(), section.size());
        for (const TextDoor &call :
             {door(sid_handler(row.type)),
              config_door(row.type == 40 ? QEL_NGMVPN_FormatCfgPrefixSid : QEL_NGMVPN_FormatCfgMsid)}) {
            const platform::FailText failure(0);
            TextCall got = call(route, {.out_len = kRoom});
            EXPECT_TRUE(failure.fired());
            EXPECT_EQ(got.code, kNoText);
            got.code = 0;
            expect_shown(got, "");
        }
    }
}

// --- work buffers
// -----------------------------------------------------------------------------------------------------

struct Shown {
    std::string name;
    DisplayHandler handler;
    QEL_ROUTE_INFO_S route;
    std::string text;
    std::uint32_t index_after;
};

// One good call of each handler that takes a work buffer from the context.
class DisplayScratch : public Display {
protected:
    ShownRoute host_{rd_a(), intra_key(kKeysOwnRd, o4())};
    OddBytes list_{some_communities()[0].element};
    ShownNonKey nonkey_{0x1, 6};
    std::vector<Shown> rows_ = {
        {"route", QEL_NGMVPN_MpNlriData2Str, host_.route,
         "Route Type: Intra Ipmsi Ad 100:1/Orig Route Ip: 192.168.10.11 ", 0},
        {"communities", QEL_NGMVPN_ExtCommunity2Str, route_with_communities(list_.data(), list_.size()), "RT <100 : 1>",
         1},
        {"non-key", QEL_NGMVPN_NonKey2Str, nonkey_.route, "Route Type: 6", 0},
    };
};

TEST_F(DisplayScratch, TheInlineBufferIsLentAndGivenBack)
{
    for (const Shown &row : rows_) {
        SCOPED_TRACE(row.name);
        const TextCall got = run_display(row.handler, row.route, {.out_len = kRoom, .index = 0}, ctx_);
        expect_shown(got, row.text, row.index_after);
        EXPECT_EQ(got.allocations, 0U);
        EXPECT_EQ(ctx_->uiInlineBufUsed, 0U);
        EXPECT_EQ(std::string(reinterpret_cast<const char *>(ctx_->aucInlineBuf)), row.text);
        EXPECT_EQ(ctx_->aucInlineBuf[255], 0) << "cleared to its end";
    }
}

TEST_F(DisplayScratch, WhileTheInlineBufferIsLentTheHeapServesOneBlockOf256)
{
    for (const Shown &row : rows_) {
        SCOPED_TRACE(row.name);
        const LentBuffer lent(ctx_);
        dirty_the_heap(256);
        const std::uint64_t live = platform::usage(kMemHandle).live_bytes;
        const TextCall got = run_display(row.handler, row.route, {.out_len = kRoom, .index = 0}, ctx_);
        expect_shown(got, row.text, row.index_after);
        EXPECT_EQ(got.allocations, 1U);
        EXPECT_EQ(platform::usage(kMemHandle).live_bytes, live);
        EXPECT_EQ(std::string(reinterpret_cast<const char *>(ctx_->aucInlineBuf), 256), std::string(256, 'Z'));
    }
}

TEST_F(DisplayScratch, WithoutOneTheCodeIsThreeAndReported)
{
    for (const Shown &row : rows_) {
        SCOPED_TRACE(row.name);
        const LentBuffer lent(ctx_);
        const platform::FailAllocation no_memory(0);
        expect_nothing_shown(run_display(row.handler, row.route, {.out_len = kRoom, .index = 0}, ctx_), kNoScratch, 1,
                             0);
        EXPECT_TRUE(no_memory.fired());
    }
}

TEST_F(DisplayScratch, OneThatCannotBeClearedIsReportedAndUsed)
{
    for (const Shown &row : rows_) {
        SCOPED_TRACE(row.name);
        const FailCopy failure(0);
        expect_shown(run_display(row.handler, row.route, {.out_len = kRoom, .index = 0}, ctx_), row.text,
                     row.index_after, 0, 1);
        EXPECT_TRUE(failure.fired());
        EXPECT_EQ(ctx_->aucInlineBuf[255], 'Z') << "what an earlier user left there";
        EXPECT_EQ(ctx_->uiInlineBufUsed, 0U);
    }
}

// Behind the clearing comes the copy to the caller: the NUL is put by hand, but for the non-key, which copies it too.
TEST_F(DisplayScratch, ACopyToTheCallerThatFailsIsReportedAndTheWorkGoesOn)
{
    for (const Shown &row : rows_) {
        SCOPED_TRACE(row.name);
        const FailCopy failure(1);
        const TextCall got = run_display(row.handler, row.route, {.out_len = kRoom, .index = 0}, ctx_);
        EXPECT_TRUE(failure.fired());
        EXPECT_EQ(got.code, 0U);
        EXPECT_EQ(got.asserts, 1U);
        std::string room = filled(kRoom);
        if (row.name != "non-key") {
            room[row.text.size()] = '\0';
        }
        EXPECT_EQ(got.room, room);
        EXPECT_EQ(got.index, row.index_after);
        EXPECT_EQ(got.more, 0U);
        EXPECT_EQ(ctx_->uiInlineBufUsed, 0U);
    }
}

TEST_F(DisplayScratch, ARefusedTextGivesThemBack)
{
    for (const Shown &row : rows_) {
        SCOPED_TRACE(row.name);
        run_display(row.handler, row.route, {.out_len = 3, .index = 0}, ctx_);
        EXPECT_EQ(ctx_->uiInlineBufUsed, 0U);
        const LentBuffer lent(ctx_);
        run_display(row.handler, row.route, {.out_len = 3, .index = 0}, ctx_);
    }
}

TEST_F(DisplayScratch, TunnelsSidsAndIpv6CommunitiesTakeNone)
{
    const LentBuffer lent(ctx_);
    const platform::FailAllocation no_memory(0);
    const OddBytes tunnel(cut_tunnels()[0].section);
    expect_shown(run_display(QEL_NGMVPN_PmsiTnl2Str, route_with_tunnel(tunnel), {.out_len = 512}, ctx_),
                 cut_tunnels()[0].text());
    const OddBytes list(some_ipv6_communities()[0].element);
    expect_shown(run_display(QEL_NGMVPN_IPv6ExtCommunity2Str, route_with_ipv6_communities(list.data(), list.size()),
                             {.out_len = 512, .index = 0}, ctx_),
                 some_ipv6_communities()[0].text, 1);
    for (const SidText &row : shown_sids()) {
        const OddBytes section(row.section);
        expect_shown(run_display(sid_handler(row.type), route_holding(row.type, section.data(), section.size()),
                                 {.out_len = 512}, ctx_),
                     row.text);
    }
    EXPECT_FALSE(no_memory.fired());
}

} // namespace
} // namespace qel::test::dfx
