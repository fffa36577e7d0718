#include "host/render.h"

#include "update_builder.h"

#include <nlohmann/json.hpp>

#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace qel::host {
namespace {

using test::Bytes;
using test::bytes;

template <class Write> std::string written(Write write)
{
    Buffer out;
    write(out);
    return fmt::to_string(out);
}

// --- small texts ------------------------------------------------------------------------------------------------

TEST(TextTest, AddressesInTheirUsualForms)
{
    EXPECT_EQ(written([](Buffer &out) { append_ipv4(out, 0x0a63c701); }), "10.99.199.1");
    EXPECT_EQ(written([](Buffer &out) { append_ipv4(out, 0); }), "0.0.0.0");
    EXPECT_EQ(written([](Buffer &out) { append_ipv4(out, 0xffffffff); }), "255.255.255.255");
    const std::pair<const char *, const char *> rows[] = {
        {"00000000000000000000000000000000", "::"},
        {"fd120000000000000000000000000004", "fd12::4"},
        {"ff0e0000000000000000000000000001", "ff0e::1"},
        {"20010db8000000010000000000000001", "2001:db8:0:1::1"},
        {"20010db8000100020003000400050006", "2001:db8:1:2:3:4:5:6"},
    };
    for (const auto &[wire, text] : rows) {
        const Bytes octets = bytes(wire);
        EXPECT_EQ(written([&](Buffer &out) { append_ipv6(out, octets.data()); }), text);
    }
}

TEST(TextTest, RouteDistinguisherByItsType)
{
    QEL_RD_VALUE_S rd{};
    rd.usAsn = 65000;
    rd.uiAssigned = 4294967295;
    EXPECT_EQ(written([&](Buffer &out) { append_rd(out, rd); }), "65000:4294967295");
    rd = {};
    rd.usRdType = 1;
    rd.uiAdmin = 0x0a000001;
    rd.usAssigned = 5;
    EXPECT_EQ(written([&](Buffer &out) { append_rd(out, rd); }), "10.0.0.1:5");
    rd.usRdType = 2;
    rd.uiAdmin = 70000;
    EXPECT_EQ(written([&](Buffer &out) { append_rd(out, rd); }), "70000:5");
    rd.usRdType = 3;
    EXPECT_EQ(written([&](Buffer &out) { append_rd(out, rd); }), "3:0x701101000500");
}

TEST(TextTest, TimeHasSixOrNineDigits)
{
    const std::pair<std::int64_t, const char *> rows[] = {
        {0, "1970-01-01T00:00:00.000000Z"},
        {1, "1970-01-01T00:00:00.000000001Z"},
        {1000, "1970-01-01T00:00:00.000001Z"},
        {1709649192106050000, "2024-03-05T14:33:12.106050Z"},
        {1709649192106050007, "2024-03-05T14:33:12.106050007Z"},
        {951782399999999000, "2000-02-28T23:59:59.999999Z"},
        {951868799000000000, "2000-02-29T23:59:59.000000Z"},
        {-1000, "1969-12-31T23:59:59.999999Z"},
        {std::numeric_limits<std::int64_t>::max(), "2262-04-11T23:47:16.854775807Z"},
    };
    for (const auto &[time, text] : rows) {
        EXPECT_EQ(written([at = time](Buffer &out) { append_time(out, at); }), text);
    }
}

TEST(TextTest, TextFromOutsideCanNotSteerATerminal)
{
    EXPECT_EQ(written([](Buffer &out) { append_visible(out, "a\x1b[2J\n\x7f.pcap"); }), "a\\x1b[2J\\x0a\\x7f.pcap");
    EXPECT_EQ(written([](Buffer &out) { append_visible(out, "gr\xc3\xbc\xc3\x9f"); }), "gr\xc3\xbc\xc3\x9f");
}

TEST(TextTest, JsonStringsAreEscapedAndAlwaysUtf8)
{
    const std::pair<std::string, std::string> rows[] = {
        {"plain.pcap", "plain.pcap"},
        {"quote\"back\\slash\n", "quote\"back\\slash\n"},
        {"gr\xc3\xbc\xc3\x9f", "gr\xc3\xbc\xc3\x9f"},
        {"bad\xff", "bad\xef\xbf\xbd"},
        {std::string("nul\0", 4), std::string("nul\0", 4)},
    };
    for (const auto &[text, value] : rows) {
        const std::string json = written([&from = text](Buffer &out) { append_json_string(out, from); });
        EXPECT_EQ(nlohmann::json::parse(json).get<std::string>(), value) << json;
    }
}

TEST(TextTest, EveryCodeThatAPacketParserAnswersHasItsOwnWords)
{
    std::map<std::string_view, std::uint32_t> seen;
    for (const std::uint32_t code :
         {QEL_ERR_NLRI_MALFORMED, QEL_ERR_NLRI_REFUSED, QEL_ERR_EXTCOMM_EMPTY, QEL_ERR_EXTCOMM_LEN,
          QEL_ERR_PMSI_NO_TUNNEL, QEL_ERR_PMSI_FLAGS, QEL_ERR_PMSI_IDENT, QEL_ERR_PMSI_LEN, QEL_ERR_PFXSID_LEN,
          QEL_ERR_PFXSID_TLV, QEL_ERR_NO_ENTRY, QEL_ERR_MSID, QEL_ERR_ALLOC, QEL_ERR_NULL}) {
        const std::string_view meaning = code_meaning(code);
        EXPECT_NE(meaning, code_meaning(0xffffffff)) << code;
        EXPECT_TRUE(seen.emplace(meaning, code).second) << meaning;
    }
}

// --- routes -----------------------------------------------------------------------------------------------------

NgMvpnRoute from_key(const QEL_NGMVPN_KEY_S &key)
{
    QEL_ROUTE_INFO_S info{};
    info.pucKey = reinterpret_cast<const std::uint8_t *>(&key);
    info.uiKeyLen = sizeof(key);
    const std::optional<NgMvpnRoute> route = ng_mvpn_route(info);
    EXPECT_TRUE(route);
    return route.value_or(NgMvpnRoute{});
}

QEL_ADDR_S v4(std::uint32_t address)
{
    QEL_ADDR_S out{};
    out.uiIpv4 = address;
    return out;
}

QEL_ADDR_S v6(const char *hex)
{
    QEL_ADDR_S out{};
    std::memcpy(out.aucIpv6, bytes(hex).data(), sizeof(out.aucIpv6));
    return out;
}

QEL_NGMVPN_KEY_S make_key(std::uint32_t type)
{
    QEL_NGMVPN_KEY_S key{};
    key.uiKeyType = type;
    key.stRd.usAsn = 100;
    key.stRd.uiAssigned = 1;
    return key;
}

std::string text_of(const NgMvpnRoute &route)
{
    std::string text;
    Output out([&](std::string_view piece) { text += piece; });
    make_text_renderer(out, false)->route(31, {}, route);
    out.flush();
    return text;
}

nlohmann::json json_of(const NgMvpnRoute &route)
{
    std::string text;
    Output out([&](std::string_view piece) { text += piece; });
    const auto renderer = make_json_renderer(out);
    renderer->begin_update({});
    MpAttribute mp;
    mp.attribute = kAttrMpReach;
    renderer->begin_nlri(*find_family(1, 5), mp);
    renderer->route(31, {}, route);
    renderer->end_nlri(true);
    renderer->end_update(true);
    out.flush();
    return nlohmann::json::parse(text)["nlri"][0]["routes"][0];
}

TEST(RouteTextTest, IntraAs)
{
    QEL_NGMVPN_KEY_S key = make_key(1);
    key.uKey.stIntraIpmsiAd.ucOrigAddrLen = 32;
    key.uKey.stIntraIpmsiAd.stOrigAddr = v4(0x0a0a0a0a);
    EXPECT_EQ(text_of(from_key(key)), "    1  Intra-AS I-PMSI A-D  RD 100:1          originator 10.10.10.10\n");
    EXPECT_EQ(json_of(from_key(key)), nlohmann::json::parse(R"({"offset":31,"type":1,"name":"Intra-AS I-PMSI A-D",
        "rd":"100:1","rd_type":0,"originator":"10.10.10.10"})"));
}

TEST(RouteTextTest, InterAs)
{
    QEL_NGMVPN_KEY_S key = make_key(2);
    key.uKey.stInterIpmsiAd.uiSourceAs = 4200000001;
    EXPECT_EQ(text_of(from_key(key)), "    2  Inter-AS I-PMSI A-D  RD 100:1          source AS 4200000001\n");
    EXPECT_EQ(json_of(from_key(key)), nlohmann::json::parse(R"({"offset":31,"type":2,"name":"Inter-AS I-PMSI A-D",
        "rd":"100:1","rd_type":0,"source_as":4200000001})"));
}

TEST(RouteTextTest, SpmsiWithWildcards)
{
    QEL_NGMVPN_KEY_S key = make_key(3);
    key.uKey.stSpmsiAd.ucOrigAddrLen = 32;
    key.uKey.stSpmsiAd.stOrigAddr = v4(0x0a0a0a0a);
    EXPECT_EQ(text_of(from_key(key)), "    3  S-PMSI A-D           RD 100:1          source *                group * "
                                      "               originator 10.10.10.10\n");
    EXPECT_EQ(json_of(from_key(key)), nlohmann::json::parse(R"({"offset":31,"type":3,"name":"S-PMSI A-D",
        "rd":"100:1","rd_type":0,"source":"*","group":"*","originator":"10.10.10.10"})"));

    key.uKey.stSpmsiAd.ucKeyAddrFamily = 1;
    key.uKey.stSpmsiAd.ucGrpAddrLen = 32;
    key.uKey.stSpmsiAd.stGrpAddr = v4(0xef010101);
    EXPECT_EQ(json_of(from_key(key)),
              nlohmann::json::parse(R"({"offset":31,"type":3,"name":"S-PMSI A-D","rd":"100:1","rd_type":0,
        "source":"*","group":"239.1.1.1","originator":"10.10.10.10","explicit_wildcard":true})"));
    EXPECT_NE(text_of(from_key(key)).find("  wildcard written out\n"), std::string::npos);

    key.uKey.stSpmsiAd.ucSrcAddrLen = 32;
    key.uKey.stSpmsiAd.stSrcAddr = v4(0x0a000001);
    EXPECT_FALSE(json_of(from_key(key)).contains("explicit_wildcard")) << "no wildcard in it";
}

TEST(RouteTextTest, LeafAnswersIntraAs)
{
    QEL_NGMVPN_KEY_S key = make_key(4);
    key.uKey.stIpmsiLeafAd.ucOrigAddrLen = 128;
    key.uKey.stIpmsiLeafAd.stOrigAddr = v6("20010db8000000000000000000000001");
    key.uKey.stIpmsiLeafAd.ucLeafAddrLen = 128;
    key.uKey.stIpmsiLeafAd.stLeafAddr = v6("20010db8000000000000000000000002");
    EXPECT_EQ(text_of(from_key(key)), "    4  Leaf A-D             RD 100:1          originator 2001:db8::1      "
                                      "leaf 2001:db8::2      answers Intra-AS I-PMSI A-D\n");
    EXPECT_EQ(json_of(from_key(key)), nlohmann::json::parse(R"({"offset":31,"type":4,"name":"Leaf A-D",
        "rd":"100:1","rd_type":0,"originator":"2001:db8::1","leaf":"2001:db8::2","answers":1})"));
}

TEST(RouteTextTest, LeafAnswersSpmsi)
{
    QEL_NGMVPN_KEY_S key = make_key(5);
    key.uKey.stSpmsiLeafAd.ucSrcAddrLen = 32;
    key.uKey.stSpmsiLeafAd.stSrcAddr = v4(0x0a000001);
    key.uKey.stSpmsiLeafAd.ucOrigAddrLen = 32;
    key.uKey.stSpmsiLeafAd.stOrigAddr = v4(0x0a0a0a0a);
    key.uKey.stSpmsiLeafAd.ucLeafAddrLen = 32;
    key.uKey.stSpmsiLeafAd.stLeafAddr = v4(0x0a0b0c0d);
    EXPECT_EQ(json_of(from_key(key)), nlohmann::json::parse(R"({"offset":31,"type":4,"name":"Leaf A-D",
        "rd":"100:1","rd_type":0,"source":"10.0.0.1","group":"*","originator":"10.10.10.10","leaf":"10.11.12.13",
        "answers":3})"));
}

TEST(RouteTextTest, SourceActiveAndJoins)
{
    QEL_NGMVPN_KEY_S key = make_key(6);
    key.uKey.stSourceActiveAd.ucSrcAddrLen = 32;
    key.uKey.stSourceActiveAd.stSrcAddr = v4(0x0a000001);
    key.uKey.stSourceActiveAd.ucGrpAddrLen = 32;
    key.uKey.stSourceActiveAd.stGrpAddr = v4(0xef010101);
    EXPECT_EQ(text_of(from_key(key)),
              "    5  Source Active A-D    RD 100:1          source 10.0.0.1         group 239.1.1.1\n");
    for (const std::uint32_t type : {7U, 8U}) {
        key = make_key(type);
        key.uKey.stCMulticastRoute.uiSourceAs = 65000;
        key.uKey.stCMulticastRoute.ucGrpAddrLen = 128;
        key.uKey.stCMulticastRoute.stGrpAddr = v6("ff0e0000000000000000000000000001");
        const nlohmann::json json = json_of(from_key(key));
        EXPECT_EQ(json["type"], type - 1);
        EXPECT_EQ(json["name"], type == 7 ? "Shared Tree Join" : "Source Tree Join");
        EXPECT_EQ(json["source_as"], 65000);
        EXPECT_EQ(json["source"], "*");
        EXPECT_EQ(json["group"], "ff0e::1");
        EXPECT_FALSE(json.contains("originator"));
    }
}

TEST(RouteTextTest, KeyMayStandAtAnyAddress)
{
    QEL_NGMVPN_KEY_S key = make_key(2);
    key.uKey.stInterIpmsiAd.uiSourceAs = 7;
    std::vector<std::uint8_t> memory(sizeof(key) + 1);
    std::memcpy(memory.data() + 1, &key, sizeof(key));
    QEL_ROUTE_INFO_S info{};
    info.pucKey = memory.data() + 1;
    info.uiKeyLen = sizeof(key);
    EXPECT_EQ(ng_mvpn_route(info)->source_as, 7U);
}

TEST(RouteTextTest, WithoutAnNgMvpnKeyThereIsNoRoute)
{
    QEL_ROUTE_INFO_S info{};
    EXPECT_FALSE(ng_mvpn_route(info));
    QEL_NGMVPN_KEY_S key = make_key(1);
    info.pucKey = reinterpret_cast<const std::uint8_t *>(&key);
    info.uiKeyLen = sizeof(key) - 1;
    EXPECT_FALSE(ng_mvpn_route(info));
    info.uiKeyLen = sizeof(key);
    for (const std::uint32_t type : {0U, 9U}) {
        key.uiKeyType = type;
        EXPECT_FALSE(ng_mvpn_route(info));
    }
}

// --- next hops --------------------------------------------------------------------------------------------------

TEST(NextHopTest, OneOrTwoAddressesElseHex)
{
    const std::pair<const char *, std::vector<std::string>> rows[] = {
        {"", {}},
        {"0a0a0603", {"10.10.6.3"}},
        {"20010db8000000000000000000000001", {"2001:db8::1"}},
        {"20010db8000000000000000000000001fe800000000000000000000000000001", {"2001:db8::1", "fe80::1"}},
        {"00000000000000000a0a0603", {"0x00000000000000000a0a0603"}},
        {"0a", {"0x0a"}},
    };
    for (const auto &[wire, expected] : rows) {
        const Bytes octets = bytes(wire);
        MpAttribute mp;
        mp.next_hop = octets;
        ASSERT_EQ(next_hop_count(mp), expected.size());
        for (std::size_t i = 0; i < expected.size(); ++i) {
            EXPECT_EQ(written([&](Buffer &out) { append_next_hop(out, mp, i); }), expected[i]);
        }
    }
}

// --- the renderers ----------------------------------------------------------------------------------------------

class RendererTest : public testing::Test {
protected:
    std::string text()
    {
        out_.flush();
        return std::exchange(text_, {});
    }

    Output &out() { return out_; }

private:
    std::string text_;
    Output out_{[this](std::string_view piece) { text_ += piece; }};
};

TEST_F(RendererTest, HeadLineTellsWhatIsKnown)
{
    const auto renderer = make_text_renderer(out(), false);
    Origin origin;
    origin.file = "a\tb.pcap";
    origin.number = 12;
    origin.time_ns = 1709649192106050000;
    origin.from = "10.0.0.1:179";
    origin.to = "[2001:db8::1]:40000";
    renderer->begin_update(origin);
    EXPECT_EQ(text(), "a\\x09b.pcap  packet 12  2024-03-05T14:33:12.106050Z  10.0.0.1:179 -> [2001:db8::1]:40000\n");
    Origin line;
    line.file = "-";
    line.unit = Origin::Unit::line;
    line.number = 3;
    renderer->begin_update(line);
    EXPECT_EQ(text(), "-  line 3\n");
    line.number = 0;
    renderer->problem(line, "is a directory");
    EXPECT_EQ(text(), "-\n  problem  is a directory\n\n");
}

TEST_F(RendererTest, LongStretchesAreCutInTheListingAlone)
{
    const Bytes octets(100, 0xab);
    const Trouble trouble{WalkStep::Kind::unread, 14, 0, 40, octets};
    make_text_renderer(out(), false)->trouble(trouble);
    std::string shown;
    for (int i = 0; i < 80; ++i) {
        shown += "ab";
    }
    EXPECT_EQ(text(), "    not read\n      octet 40, 100 octets: " + shown + " ...\n");
}

TEST_F(RendererTest, ColoursComeInPairsAndOnlyWhenAsked)
{
    MpAttribute mp;
    mp.attribute = kAttrMpUnreach;
    mp.afi = 1;
    mp.safi = 5;
    for (const bool colour : {true, false}) {
        const auto renderer = make_text_renderer(out(), colour);
        renderer->begin_update({});
        renderer->begin_nlri(*find_family(1, 5), mp);
        renderer->route(0, {}, from_key(make_key(3)));
        renderer->trouble({});
        renderer->end_nlri(true);
        renderer->end_update(true);
        renderer->problem({}, "text");
        renderer->summary({});
        const std::string shown = text();
        int open = 0;
        for (std::size_t at = shown.find("\x1b["); at != std::string::npos; at = shown.find("\x1b[", at + 1)) {
            const bool off = shown.compare(at, 4, "\x1b[0m") == 0;
            open += off ? -1 : 1;
            EXPECT_TRUE(open == 0 || open == 1);
        }
        EXPECT_EQ(open, 0);
        EXPECT_EQ(shown.find('\x1b') != std::string::npos, colour);
    }
}

TEST_F(RendererTest, JsonLineHoldsEverything)
{
    const auto renderer = make_json_renderer(out());
    Origin origin;
    origin.file = "x\".pcap";
    origin.number = 12;
    origin.offset = 76;
    origin.from = "10.0.0.1:179";
    origin.to = "10.0.0.2:179";
    const Bytes octets = bytes("0811");
    MpAttribute mp;
    mp.attribute = kAttrMpReach;
    mp.afi = 1;
    mp.safi = 5;
    mp.nlri = octets;
    renderer->begin_update(origin);
    renderer->begin_nlri(*find_family(1, 5), mp);
    renderer->trouble({WalkStep::Kind::refused, 14, 0x60002, 31, octets});
    renderer->trouble({WalkStep::Kind::lost, 14, 0, 33, octets});
    renderer->trouble({WalkStep::Kind::unread, 14, 0, 35, octets});
    renderer->end_nlri(true);
    mp.safi = 66;
    mp.attribute = kAttrMpUnreach;
    static constexpr FamilyInfo kNamedOnly{FamilyKind::mdt, 1, 66, "mdt", "MDT", nullptr, nullptr};
    renderer->begin_nlri(kNamedOnly, mp);
    renderer->end_nlri(true);
    renderer->attribute_trouble({WalkStep::Kind::refused, 22, 0x3000b, 90, octets});
    renderer->end_update(true);
    EXPECT_EQ(nlohmann::json::parse(text()), nlohmann::json::parse(R"({
        "kind":"update","file":"x\".pcap","unit":"packet","number":12,"offset":76,"time":null,
        "from":"10.0.0.1:179","to":"10.0.0.2:179",
        "nlri":[
            {"attribute":14,"action":"announce","afi":1,"safi":5,"family":"ng-mvpn","next_hop":[],"routes":[],
             "refused":[{"code":"0x60002","offset":31,"octets":"0811","meaning":
                "route not accepted: unknown route type or RD type, zero address, or address of the other family"}],
             "lost":[{"offset":33,"octets":"0811"}],
             "unread":[{"offset":35,"octets":"0811"}]},
            {"attribute":15,"action":"withdraw","afi":1,"safi":66,"family":"mdt","not_decoded_octets":2}],
        "refused":[{"attribute":22,"code":"0x3000b","offset":90,"octets":"0811","meaning":
            "PMSI tunnel attribute or identifier of the wrong length"}]})"));

    // The next line knows nothing of the one before.
    mp.safi = 5;
    mp.nlri = {};
    renderer->begin_update({});
    renderer->begin_nlri(*find_family(1, 5), mp);
    renderer->end_nlri(true);
    renderer->end_update(true);
    EXPECT_EQ(nlohmann::json::parse(text()), nlohmann::json::parse(R"({
        "kind":"update","file":"","unit":"packet","number":0,"offset":0,"time":null,
        "nlri":[{"attribute":15,"action":"withdraw","afi":1,"safi":5,"family":"ng-mvpn","end_of_rib":true,
                 "routes":[]}]})"));
}

TEST(OutputTest, PiecesGoOutWhenFullAndAtTheEnd)
{
    std::vector<std::size_t> pieces;
    Output out([&](std::string_view piece) { pieces.push_back(piece.size()); });
    append(out.buffer(), std::string(65535, 'x'));
    out.flush_when_full();
    EXPECT_TRUE(pieces.empty());
    append(out.buffer(), "y");
    out.flush_when_full();
    out.flush();
    append(out.buffer(), "z");
    out.flush();
    EXPECT_EQ(pieces, (std::vector<std::size_t>{65536, 1}));
}

TEST(OutputTest, FailedWriteTellsWhy)
{
    try {
        write_all(-1, "text");
        FAIL() << "written to a descriptor that does not exist";
    } catch (const OutputError &error) {
        EXPECT_EQ(error.code(), std::errc::bad_file_descriptor);
    }
    write_all(-1, "");
}

} // namespace
} // namespace qel::host
