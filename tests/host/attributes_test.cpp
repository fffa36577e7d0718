// The path attributes of an UPDATE: wire in, listing and JSON out.
#include "decode_session.h"
#include "update_builder.h"

#include "host/attributes.h"

#include <nlohmann/json.hpp>

#include <random>
#include <string>
#include <vector>

namespace qel::host {
namespace {

using test::as_json;
using test::attribute;
using test::Bytes;
using test::bytes;
using test::join;
using test::kMemHandle;
using test::LeakCheck;
using test::lines;
using test::mp_reach;
using test::mp_unreach;
using test::Session;
using test::update;

const Bytes kNextHop = bytes("0a0a0603");
const Bytes kSourceActive = bytes("05 12 0000 fde8 0001869f 20 0a630c04 20 effbffe4");
const Bytes kReach = mp_reach(1, 5, kNextHop, kSourceActive);
const std::string kReachText = "  announced  IPv4 NG-MVPN (AFI 1, SAFI 5)  next hop 10.10.6.3\n"
                               "    5  Source Active A-D    RD 65000:99999    source 10.99.12.4       "
                               "group 239.251.255.228\n";
const std::string kSid = "20010db8000100020003000400050006";

DecodeOptions raw(bool json)
{
    DecodeOptions options;
    options.json = json;
    options.raw = true;
    return options;
}

class AttributesTest : public testing::Test {
private:
    LeakCheck leaks_;
};

// --- one attribute ----------------------------------------------------------------------------------------------

struct AttributeRow {
    const char *what;
    std::uint8_t type;
    std::string wire;
    std::string listing; // its lines
    const char *json;
};

const AttributeRow kRows[] = {
    {"route targets of the three forms, and what comes with them", 16,
     "0002006400000001 0102c0a85e0c0005 0202000100000005 00090064 00000000 010b0a0000010003 0209fa56ea010000",
     "  communities       RT <100 : 1>, RT <192.168.94.12 : 5>, RT <1.0 : 5>, Source AS <100 : 0>, "
     "Source AS <64086.59905 : 0>, Import RT <10.0.0.1 : 3>\n",
     R"({"ext_communities":[
        {"type":"0x0002","text":"RT <100 : 1>","global":100,"local":1},
        {"type":"0x0102","text":"RT <192.168.94.12 : 5>","global_ip":"192.168.94.12","local":5},
        {"type":"0x0202","text":"RT <1.0 : 5>","global":65536,"local":5},
        {"type":"0x0009","text":"Source AS <100 : 0>","global":100,"local":0},
        {"type":"0x0209","text":"Source AS <64086.59905 : 0>","global":4200000001,"local":0},
        {"type":"0x010b","text":"Import RT <10.0.0.1 : 3>","global_ip":"10.0.0.1","local":3}]})"},
    {"a community without a text", 16, "030c 000000000008", "  communities       0x030c 000000000008\n",
     R"({"ext_communities":[{"type":"0x030c","text":"","value":"000000000008"}]})"},
    {"a community with a label and no value", 16, "0302 0102030405ff", "  communities       RT 0x0302 0102030405ff\n",
     R"({"ext_communities":[{"type":"0x0302","text":"RT","value":"0102030405ff"}]})"},
    {"a community with a value and no label", 16, "0103 c0000201 0007", "  communities       0x0103 <192.0.2.1 : 7>\n",
     R"({"ext_communities":[{"type":"0x0103","text":" <192.0.2.1 : 7>","global_ip":"192.0.2.1","local":7}]})"},
    {"a community that does not leave the AS", 16, "4204 00010000 0007", "  communities       0x4204 000100000007\n",
     R"({"ext_communities":[{"type":"0x4204","text":"","global":65536,"local":7}]})"},
    {"a community that the wire has twice", 16, "0002006400000001 0002006400000001",
     "  communities       RT <100 : 1>\n",
     R"({"ext_communities":[{"type":"0x0002","text":"RT <100 : 1>","global":100,"local":1}]})"},
    {"IPv6 communities", 25, "0002" + kSid + "0007 000b" + kSid + "0003",
     "  IPv6 communities  RT <2001:db8:1:2:3:4:5:6 . 7>, Import RT <2001:db8:1:2:3:4:5:6 . 3>\n",
     R"({"ipv6_ext_communities":[
        {"type":"0x0002","text":"RT <2001:db8:1:2:3:4:5:6 . 7>","address":"2001:db8:1:2:3:4:5:6","local":7},
        {"type":"0x000b","text":"Import RT <2001:db8:1:2:3:4:5:6 . 3>","address":"2001:db8:1:2:3:4:5:6","local":3}]})"},
    {"an IPv6 community without a text", 25, "0003" + kSid + "0102", "  IPv6 communities  0x0003 " + kSid + "0102\n",
     R"({"ipv6_ext_communities":[{"type":"0x0003","text":"","address":"2001:db8:1:2:3:4:5:6","local":258}]})"},
    {"an RSVP-TE tunnel", 22, "01 01 123456 0000007b 0000 0011 c0000201",
     "  tunnel            PMSI: Flags 0x1, RSVP-TE P2MP LSP, Label 0:0:0(1193046), P2MP ID: 0x7b, Tunnel ID: 17, "
     "Extended tunnel ID: 192.0.2.1\n",
     R"({"pmsi":{"flags":1,"type":1,"name":"RSVP-TE P2MP LSP","label":1193046,"p2mp_id":123,"tunnel_id":17,
        "ext_tunnel_id":"192.0.2.1","text":"PMSI: Flags 0x1, RSVP-TE P2MP LSP, Label 0:0:0(1193046), P2MP ID: 0x7b, )"
     R"(Tunnel ID: 17, Extended tunnel ID: 192.0.2.1"}})"},
    {"a mLDP tunnel", 22, "00 02 000000 06 0001 04 c0000201 0002 0102",
     "  tunnel            PMSI: Flags 0x0, mLDP P2MP LSP, Label 0:0:0(0), Root node address: 192.0.2.1, Opaque value: "
     "01 02 \n",
     R"({"pmsi":{"flags":0,"type":2,"name":"mLDP P2MP LSP","label":0,"root":"192.0.2.1","fec_type":6,"opaque":"0102",
        "text":"PMSI: Flags 0x0, mLDP P2MP LSP, Label 0:0:0(0), Root node address: 192.0.2.1, Opaque value: 01 02 "}})"},
    {"a BIER tunnel of an IPv4 router", 22, "20 0b 123456 01 0041 c0000201",
     "  tunnel            PMSI: Flags 0x20, BIER, Label 18:52:86(1193046), subdomain ID: 1, BFR ID: 65, BFR prefix: "
     "192.0.2.1\n",
     R"({"pmsi":{"flags":32,"type":11,"name":"BIER","label":1193046,"sub_domain":1,"bfr_id":65,
        "bfr_prefix":"192.0.2.1","text":"PMSI: Flags 0x20, BIER, Label 18:52:86(1193046), subdomain ID: 1, )"
     R"(BFR ID: 65, BFR prefix: 192.0.2.1"}})"},
    {"a BIER tunnel of an IPv6 router", 22, "00 0b 000000 01 0041" + kSid,
     "  tunnel            PMSI: Flags 0x0, BIER, Label 0:0:0(0), subdomain ID: 1, BFR ID: 65, BFR prefix: "
     "2001:db8:1:2:3:4:5:6\n",
     R"({"pmsi":{"flags":0,"type":11,"name":"BIER","label":0,"sub_domain":1,"bfr_id":65,
        "bfr_prefix":"2001:db8:1:2:3:4:5:6","text":"PMSI: Flags 0x0, BIER, Label 0:0:0(0), subdomain ID: 1, )"
     R"(BFR ID: 65, BFR prefix: 2001:db8:1:2:3:4:5:6"}})"},
    {"a Prefix-SID", 40, "05 0019 00 01 0015 00" + kSid + "00 0045 00",
     "  Prefix-SID        SRC-DT4 2001:db8:1:2:3:4:5:6\n",
     R"({"prefix_sid":{"sid":"2001:db8:1:2:3:4:5:6","behavior":69,"text":"SRC-DT4 2001:db8:1:2:3:4:5:6"}})"},
    {"a Prefix-SID of another behavior", 40, "05 0019 00 01 0015 00" + kSid + "00 0013 00",
     "  Prefix-SID        behavior 19 2001:db8:1:2:3:4:5:6\n",
     R"({"prefix_sid":{"sid":"2001:db8:1:2:3:4:5:6","behavior":19,"text":""}})"},
    {"an MSID", 66, "01 0011 b1" + kSid, "  MSID              2001:db8:1:2:3:4:5:6, Prefix Len: --, MSID Len: --\n",
     R"({"msid":{"msid":"2001:db8:1:2:3:4:5:6","text":"2001:db8:1:2:3:4:5:6, Prefix Len: --, MSID Len: --"}})"},
    {"an MSID with its structure", 66, "01 0019 b1" + kSid + "01 0005 b2 20 18 b3 b4",
     "  MSID              2001:db8:1:2:3:4:5:6, Prefix Len: 32, MSID Len: 24\n",
     R"({"msid":{"msid":"2001:db8:1:2:3:4:5:6","prefix_len":32,"msid_len":24,
        "text":"2001:db8:1:2:3:4:5:6, Prefix Len: 32, MSID Len: 24"}})"},
    {"no tunnel information", 22, "01 00 000000", "  tunnel            no tunnel information, octets 0100000000\n",
     R"({"not_carried":[{"attribute":22,"tunnel_type":0,"name":"no tunnel information","flags":1,"label":0,
        "offset":26,"octets":"0100000000"}]})"},
    {"ingress replication", 22, "00 06 123456 c0000201",
     "  tunnel            type 6 (ingress replication) not carried by this family, octets 0006123456c0000201\n",
     R"({"not_carried":[{"attribute":22,"tunnel_type":6,"name":"ingress replication","flags":0,"label":1193046,
        "offset":26,"octets":"0006123456c0000201"}]})"},
    {"a tunnel of an unknown type", 22, "00 7f 000000",
     "  tunnel            type 127 (unknown) not carried by this family, octets 007f000000\n",
     R"({"not_carried":[{"attribute":22,"tunnel_type":127,"name":"unknown","flags":0,"label":0,"offset":26,
        "octets":"007f000000"}]})"},
};

TEST_F(AttributesTest, StandUnderTheHeadLineOfTheirUpdate)
{
    for (const AttributeRow &row : kRows) {
        SCOPED_TRACE(row.what);
        Session run;
        run.message(update(join({attribute(row.type, bytes(row.wire)), kReach})));
        EXPECT_EQ(run.text(), "test.pcap  packet 1\n" + row.listing + kReachText + "\n");
        EXPECT_TRUE(run.diagnostics.empty());
        const Summary &summary = run.finish();
        EXPECT_TRUE(summary.clean());
        EXPECT_EQ(summary.blocks_leaked, 0U);
        EXPECT_EQ(summary.assertions, 0U);
    }
}

TEST_F(AttributesTest, AreMembersOfTheirUpdateInJson)
{
    for (const AttributeRow &row : kRows) {
        SCOPED_TRACE(row.what);
        Session run(as_json());
        run.message(update(join({attribute(row.type, bytes(row.wire)), kReach})));
        const nlohmann::json line = lines(run.text()).at(0);
        EXPECT_EQ(line["attributes"], nlohmann::json::parse(row.json));
        EXPECT_EQ(line["nlri"][0]["routes"].size(), 1U);
    }
}

TEST_F(AttributesTest, OfABareAttributeAreShownToo)
{
    for (const AttributeRow &row : kRows) {
        SCOPED_TRACE(row.what);
        Session run;
        run.attribute(attribute(row.type, bytes(row.wire)));
        EXPECT_EQ(run.text(), "test.pcap  packet 1\n" + row.listing + "\n");
        EXPECT_EQ(run.finish().updates_shown, 1U);
    }
    Session run(as_json());
    run.attribute(attribute(66, bytes("01 0011 b1" + kSid)));
    const nlohmann::json line = lines(run.text()).at(0);
    EXPECT_EQ(line["attributes"]["msid"]["msid"], "2001:db8:1:2:3:4:5:6");
    EXPECT_EQ(line["nlri"], nlohmann::json::array());
}

TEST_F(AttributesTest, EveryAllocationThatFailsIsToldAndNothingLeaks)
{
    for (const AttributeRow &row : kRows) {
        const Bytes wire = update(join({attribute(row.type, bytes(row.wire)), kReach}));
        std::uint64_t allocation = 0;
        for (bool fired = true; fired; ++allocation) {
            SCOPED_TRACE(row.what + std::to_string(allocation));
            Session run;
            const platform::FailAllocation failure(allocation);
            run.message(wire);
            fired = failure.fired();
            const Summary &summary = run.finish();
            EXPECT_EQ(summary.clean(), !fired);
            EXPECT_EQ(run.diagnostics.empty(), !fired);
            EXPECT_EQ(summary.blocks_leaked, 0U);
        }
        EXPECT_GT(allocation, 1U) << row.what;
    }
}

// --- an UPDATE with several -------------------------------------------------------------------------------------

TEST_F(AttributesTest, BehindTheRoutesTellOfThemAllTheSame)
{
    const Bytes targets = attribute(16, bytes("0002006400000001"));
    const Bytes msid = attribute(66, bytes("01 0011 b1" + kSid));
    const std::string expected = "  communities       RT <100 : 1>\n"
                                 "  MSID              2001:db8:1:2:3:4:5:6, Prefix Len: --, MSID Len: --\n" +
                                 kReachText + "\n";
    Session run;
    run.message(update(join({targets, msid, kReach})))
        .message(update(join({kReach, msid, targets})))
        .message(update(join({msid, kReach, targets})));
    EXPECT_EQ(run.text(), "test.pcap  packet 1\n" + expected + "test.pcap  packet 2\n" + expected +
                              "test.pcap  packet 3\n" + expected);
    EXPECT_EQ(run.finish().attributes_offered, 6U);
}

TEST_F(AttributesTest, AreToldOncePerUpdateAndForgottenBehindIt)
{
    const Bytes other = bytes("05 12 0000 fde8 00018700 20 0a630c05 20 effbffe4");
    Session run;
    run.message(update(join({attribute(16, bytes("0002006400000001")),
                             mp_reach(1, 5, kNextHop, join({kSourceActive, other}))})))
        .message(update(kReach));
    const std::string text = run.text();
    EXPECT_EQ(text.find("communities"), text.rfind("communities"));
    EXPECT_LT(text.find("communities"), text.find("packet 2"));
    EXPECT_EQ(run.finish().routes[5].announced, 3U);
}

TEST_F(AttributesTest, OfAWithdrawalAreNotShownButOffered)
{
    const Bytes wire = update(
        join({attribute(16, bytes("0002006400000001")), attribute(16, bytes("00")), mp_unreach(1, 5, kSourceActive)}));
    Session run;
    run.message(wire);
    const std::string text = run.text();
    EXPECT_EQ(text.find("  communities"), std::string::npos);
    EXPECT_NE(text.find("refused 0x30009"), std::string::npos);
    EXPECT_EQ(run.finish().attributes_offered, 2U);
    Session json(as_json());
    json.message(wire);
    EXPECT_FALSE(lines(json.text()).at(0).contains("attributes"));
}

TEST_F(AttributesTest, OfAnUpdateWithBothBelongToItsAnnouncement)
{
    Session run;
    run.message(update(join({mp_unreach(1, 5, kSourceActive), attribute(16, bytes("0002006400000001")), kReach})));
    EXPECT_EQ(run.text(), "test.pcap  packet 1\n  communities       RT <100 : 1>\n"
                          "  withdrawn  IPv4 NG-MVPN (AFI 1, SAFI 5)\n"
                          "    5  Source Active A-D    RD 65000:99999    source 10.99.12.4       "
                          "group 239.251.255.228\n" +
                              kReachText + "\n");
}

TEST_F(AttributesTest, FirstOfTwoCountsAndTheSecondIsAProblem)
{
    Session run;
    run.message(
        update(join({attribute(16, bytes("0002006400000001")), attribute(16, bytes("0002006400000002")),
                     attribute(22, bytes("00 06 000000 c0000201")), attribute(22, bytes("00 00 000000")), kReach})));
    const std::string text = run.text();
    EXPECT_NE(text.find("  communities       RT <100 : 1>\n"), std::string::npos);
    EXPECT_EQ(text.find("RT <100 : 2>"), std::string::npos);
    ASSERT_EQ(run.diagnostics.size(), 1U);
    EXPECT_EQ(run.diagnostics[0], "test.pcap: packet 1, stream octet 0: octet 34 of the message: a path attribute a "
                                  "second time; the first one counts");
    const Summary &summary = run.finish();
    EXPECT_FALSE(summary.clean());
    EXPECT_EQ(summary.tunnels_not_carried, 2U);
    EXPECT_EQ(summary.blocks_leaked, 0U);
}

TEST_F(AttributesTest, TunnelsNotCarriedAreCountedAndNoMistake)
{
    const Bytes wire = update(join({attribute(22, bytes("00 06 000000 c0000201")), kReach}));
    Session run;
    run.message(wire).message(wire);
    run.text();
    const Summary &summary = run.finish();
    EXPECT_TRUE(summary.clean());
    EXPECT_TRUE(run.diagnostics.empty());
    EXPECT_EQ(summary.tunnels_not_carried, 2U);
    EXPECT_NE(run.text().find("  tunnels not carried            2   of another type, or no tunnel information\n"),
              std::string::npos);
    Session json(as_json());
    json.message(wire);
    json.text();
    json.finish();
    EXPECT_EQ(lines(json.text()).at(0)["not_carried"], 1);
}

TEST_F(AttributesTest, RefusedOnesAreToldBehindTheOthers)
{
    Session run;
    run.message(update(join({attribute(40, bytes("05 0019 00 02 0015 00" + kSid + "00 0045 00")),
                             attribute(16, bytes("0002006400000001")), kReach})));
    EXPECT_EQ(run.text(),
              "test.pcap  packet 1\n"
              "  communities       RT <100 : 1>\n"
              "  refused 0x80003  Prefix-SID (attribute 40)  Prefix-SID of a kind that is not carried: no SRv6 L3 "
              "service with a SID\n"
              "      octet 26, 28 octets: 050019000200150020010db8000100020003000400050006000045"
              "00\n" +
                  kReachText + "\n");
    EXPECT_EQ(run.diagnostics.size(), 1U);
    EXPECT_EQ(run.finish().refused.at(0x80003), 1U);
}

// --- octets -----------------------------------------------------------------------------------------------------

TEST_F(AttributesTest, RawListingHasTheOctetsOfAttributesAndRoutes)
{
    Session run(raw(false));
    run.message(update(join({bytes("40010100 400200"), attribute(16, bytes("0002006400000001")), kReach})));
    EXPECT_EQ(run.text(), "test.pcap  packet 1\n"
                          "  communities       RT <100 : 1>\n"
                          "  raw attribute 1   00\n"
                          "  raw attribute 2   \n"
                          "  raw attribute 16  0002006400000001\n" +
                              kReachText + "      octets " + test::hex(kSourceActive) + "\n\n");
}

TEST_F(AttributesTest, RawJsonHasTheOctetsOfAttributesAndRoutes)
{
    Session run(raw(true));
    run.message(update(join({bytes("40010100"), attribute(16, bytes("0002006400000001")), kReach})));
    const nlohmann::json line = lines(run.text()).at(0);
    EXPECT_EQ(line["attributes"]["octets"],
              nlohmann::json::parse(R"([{"attribute":1,"flags":64,"offset":26,"octets":"00"},
        {"attribute":16,"flags":128,"offset":30,"octets":"0002006400000001"}])"));
    EXPECT_EQ(line["nlri"][0]["routes"][0]["octets"], test::hex(kSourceActive));
}

// --- the values -------------------------------------------------------------------------------------------------

// Whatever the family does to a list, each value is one of the wire's.
TEST_F(AttributesTest, ValuesAreTheWiresForEveryTypeOfCommunity)
{
    const Family family(*find_family(1, 5), kMemHandle);
    for (std::uint32_t type = 0; type <= 0xffff; type += 0x0101 / 3 + 1) {
        const auto high = static_cast<std::uint8_t>(type >> 8);
        const auto low = static_cast<std::uint8_t>(type);
        const Bytes wire{high, low, 1, 2, 3, 4, 5, 6};
        const Bytes address = bytes("0102030405060708090a0b0c0d0e0f10 1112");
        UpdateAttributes attributes;
        attributes.reset(&family);
        WalkStep step;
        ASSERT_TRUE(AttributeWalk(family, 16, wire).next(step));
        attributes.add(std::move(step.block));
        const Community value = attributes.view().value().community(0);
        EXPECT_EQ(value.type, type);
        EXPECT_EQ(Bytes(value.octets.begin(), value.octets.end()), (Bytes{1, 2, 3, 4, 5, 6})) << type;

        const Bytes ipv6 = join({Bytes{high, low}, address});
        ASSERT_TRUE(AttributeWalk(family, 25, ipv6).next(step));
        attributes.add(std::move(step.block));
        const Ipv6Community ipv6_value = ipv6_community(attributes.info(), 0);
        EXPECT_EQ(ipv6_value.type, type);
        EXPECT_EQ(Bytes(ipv6_value.octets.begin(), ipv6_value.octets.end()), address) << type;
        EXPECT_EQ(ipv6_value.local(), 0x1112);
    }
}

TEST(TunnelNameTest, NamesOfTheRegistry)
{
    const char *const names[] = {"no tunnel information", "RSVP-TE P2MP LSP", "mLDP P2MP LSP",       "PIM-SSM tree",
                                 "PIM-SM tree",           "BIDIR-PIM tree",   "ingress replication", "mLDP MP2MP LSP"};
    for (std::uint8_t type = 0; type < 8; ++type) {
        EXPECT_EQ(tunnel_type_name(type), names[type]);
    }
    EXPECT_EQ(tunnel_type_name(11), "BIER");
    EXPECT_EQ(tunnel_type_name(8), "unknown");
    EXPECT_EQ(tunnel_type_name(255), "unknown");
}

// Every octet string is decoded to some end, and every JSON line is JSON.
TEST_F(AttributesTest, DamagedOnesNeverBreakTheOutput)
{
    Bytes attributes = kReach;
    for (const AttributeRow &row : kRows) {
        attributes = join({attributes, attribute(row.type, bytes(row.wire))});
    }
    const Bytes whole = update(attributes);
    std::mt19937 random(20240611);
    Session json(raw(true));
    Session text(raw(false), kMemHandle + 1);
    for (int round = 0; round < 1500; ++round) {
        Bytes wire = whole;
        const int changes = 1 + static_cast<int>(random() % 4);
        for (int i = 0; i < changes; ++i) {
            wire[kBgpHeaderSize + 4 + random() % (wire.size() - kBgpHeaderSize - 4)] =
                static_cast<std::uint8_t>(random());
        }
        json.message(wire);
        text.message(wire);
        for (const nlohmann::json &line : lines(json.text())) {
            ASSERT_TRUE(line["kind"] == "update" || line["kind"] == "problem");
        }
        text.text();
    }
    EXPECT_EQ(json.finish().blocks_leaked, 0U);
    EXPECT_EQ(text.finish().blocks_leaked, 0U);
    EXPECT_EQ(text.decoder->summary().refused, json.decoder->summary().refused);
    EXPECT_EQ(text.decoder->summary().tunnels_not_carried, json.decoder->summary().tunnels_not_carried);
}

} // namespace
} // namespace qel::host
