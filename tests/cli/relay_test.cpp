// qel-mcast relay as a shell sees it.
#include "shell.h"

#include <nlohmann/json.hpp>

#include <gtest/gtest.h>

#include <map>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace {

using qel::test::CommandTest;
using qel::test::Outcome;
using Json = nlohmann::json;

class RelayCommandTest : public CommandTest {
protected:
    Outcome relay(const std::string &options, const std::string &sample) const
    {
        return run("relay " + options + " '" QEL_SAMPLES_DIR "/" + sample + "'");
    }

    std::vector<Json> routes(const Outcome &outcome) const
    {
        std::vector<Json> out;
        std::istringstream lines(outcome.out);
        for (std::string line; std::getline(lines, line);) {
            Json object = Json::parse(line);
            if (object["kind"] == "route") {
                out.push_back(std::move(object));
            }
        }
        return out;
    }
};

// A Leaf A-D route all the way round.
const std::string kLeaf = R"(  announced  IPv4 NG-MVPN, octet 61
    4  Leaf A-D             RD 100:1          originator 192.0.2.1        leaf 192.0.2.2        answers Intra-AS I-PMSI A-D
      mvpn -> mvpn-backup  HA 1           32 octets    0015000402000000000b00140412010c0000006400000001c0000201c0000202
        TLV 21, 4 octets: RD kind 2, the RD is part of the key
        TLV 11, 20 octets: route prefix, Leaf A-D
        read with RD kind 2, the RD is part of the key
      mvpn -> mvpn-backup  attribute 11   8 octets     0102c00002010000
        RT <192.0.2.1 : 0>
      mvpn -> mvpn-backup  attribute 34   76 octets    0005004800010004000000040004003c010c0000006400000001c000020100000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000
        non-key, flags 0x5
        TLV 1, 4 octets: key type 4
        TLV 4, 60 octets: embedded key 010c0000006400000001c000020100000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000
      mvpn -> mvpn-backup  HA 6           8 octets     010bc00002010000
        import target: rewritten RT <192.0.2.1 : 0>, type 0x010b
      mvpn -> mvrf         message 59     20 octets    0412010c0000006400000001c0000201c0000202
        route prefix, Leaf A-D
        read with RD kind 1, the RD stands beside the key
      mvpn -> mvrf         attribute 11   8 octets     0102c00002010000
        RT <192.0.2.1 : 0>
      mvpn -> mvrf         attribute 34   76 octets    0005004800010004000000040004003c010c0000006400000001c000020100000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000
        non-key, flags 0x5
        TLV 1, 4 octets: key type 4
        TLV 4, 60 octets: embedded key 010c0000006400000001c000020100000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000
      mvrf -> mvrf-backup  HA 1           32 octets    0015000401000000000b00140412010c0000006400000001c0000201c0000202
        TLV 21, 4 octets: RD kind 1, the RD stands beside the key
        TLV 11, 20 octets: route prefix, Leaf A-D
        read with RD kind 1, the RD stands beside the key
      mvrf -> mvrf-backup  attribute 11   8 octets     0102c00002010000
        RT <192.0.2.1 : 0>
      mvrf -> mvrf-backup  attribute 34   76 octets    0005004800010004000000040004003c010c0000006400000001c000020100000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000
        non-key, flags 0x5
        TLV 1, 4 octets: key type 4
        TLV 4, 60 octets: embedded key 010c0000006400000001c000020100000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000
      mvrf -> mvrf-backup  HA 10          21 octets    030000006400000001c00002010102c00002010000
        import target: Leaf A-D, answers Intra-AS I-PMSI A-D RD 100:1 originator 192.0.2.1, RT <192.0.2.1 : 0>
      mvrf -> mc           message 5      24 octets    000b00140412010c0000006400000001c0000201c0000202
        TLV 11, 20 octets: route prefix, Leaf A-D
      mvrf -> mc           attribute 11   8 octets     0102c00002010000
        RT <192.0.2.1 : 0>
      mvrf -> mc           message 56     21 octets    030000006400000001c00002010102c00002010000
        import target: Leaf A-D, answers Intra-AS I-PMSI A-D RD 100:1 originator 192.0.2.1, RT <192.0.2.1 : 0>
      mc -> mvrf           message 15     24 octets    000b00140412010c0000006400000001c0000201c0000202
        TLV 11, 20 octets: route prefix, Leaf A-D
        read with RD kind 2, the RD is part of the key
      mc -> mvrf           message 16     24 octets    000e0008c000020200000000000d00080102c00002010000
        TLV 14, 8 octets: next hop 192.0.2.2, value 0
        TLV 13, 8 octets: RT <192.0.2.1 : 0>
      mc -> mvrf           message 157    21 octets    030000006400000001c00002010102c00002010000
        import target: Leaf A-D, answers Intra-AS I-PMSI A-D RD 100:1 originator 192.0.2.1, RT <192.0.2.1 : 0>
      mvrf -> mvpn         message 53     20 octets    0412010c0000006400000001c0000201c0000202
        route prefix, Leaf A-D
        read with RD kind 2, the RD is part of the key
      mvrf -> mvpn         attribute 21   8 octets     0102c00002010000
        RT <192.0.2.1 : 0>
      mvrf -> mvpn         attribute 34   104 octets   000700640001000400000004000200180000000000000000c00002020000000000000000000000000004003c010c0000006400000001c000020100000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000
        non-key, flags 0x7
        TLV 1, 4 octets: key type 4
        TLV 2, 24 octets: next hop c000:202::, value 0
        TLV 4, 60 octets: embedded key 010c0000006400000001c000020100000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000
)";

TEST_F(RelayCommandTest, EveryMessageOfARouteIsShownWithItsOctetsAndWhatTheySay)
{
    const Outcome outcome = relay("--type 4 --rd 100:1", "ngmvpn.pcap");
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.err, "");
    const std::string head = std::string(QEL_SAMPLES_DIR "/ngmvpn.pcap  packet 33  2024-01-01T12:00:00.290000Z  ") +
                             "192.0.2.2:49152 -> 192.0.2.1:179\n";
    EXPECT_EQ(outcome.out.substr(0, head.size() + kLeaf.size()), head + kLeaf);
    EXPECT_NE(outcome.out.find("\n  blocks leaked: 0\n"), std::string::npos);
    EXPECT_NE(outcome.out.find("\n  assertions                     0   reported by the library\n"), std::string::npos);
}

TEST_F(RelayCommandTest, JsonHasOneObjectForEachRoute)
{
    const Outcome outcome = relay("--json", "ngmvpn.pcap");
    EXPECT_EQ(outcome.status, 0);
    const std::vector<Json> all = routes(outcome);
    ASSERT_EQ(all.size(), 251U);
    std::set<std::pair<std::string, std::string>> ways;
    for (const Json &route : all) {
        EXPECT_EQ(route["family"], "ng-mvpn");
        EXPECT_GE(route["messages"].size(), 6U);
        for (const Json &message : route["messages"]) {
            ways.emplace(message["from"], message["to"]);
            EXPECT_EQ(message["octets"].get<std::string>().size(), 2 * message["length"].get<std::size_t>());
            EXPECT_FALSE(message["text"].empty());
            EXPECT_FALSE(message.contains("code"));
        }
    }
    EXPECT_EQ(ways, (std::set<std::pair<std::string, std::string>>{{"mvpn", "mvpn-backup"},
                                                                   {"mvpn", "mvrf"},
                                                                   {"mvrf", "mvrf-backup"},
                                                                   {"mvrf", "mvpn"},
                                                                   {"mvrf", "mc"},
                                                                   {"mc", "mvrf"}}));
    const Json &first = all.front();
    EXPECT_EQ(first["number"], 10);
    EXPECT_EQ(first["route_offset"], 93);
    EXPECT_EQ(first["action"], "announce");
    EXPECT_EQ(first["originator"], "192.0.2.1");
    EXPECT_EQ(first["messages"][0],
              Json::parse(R"({"from":"mvpn","to":"mvpn-backup","carrier":"HA","type":1,"length":26,
        "octets":"0015000402000000000b000e010c0000006400000001c0000201",
        "text":["TLV 21, 4 octets: RD kind 2, the RD is part of the key",
                "TLV 11, 14 octets: route prefix, Intra-AS I-PMSI A-D",
                "read with RD kind 2, the RD is part of the key"]})"));
}

// What the octets of each attribute say, in the route path and by themselves.
TEST_F(RelayCommandTest, AttributesAreShownAsTheFamilyDisplaysThem)
{
    std::map<std::pair<std::string, int>, std::set<std::string>> texts;
    for (const Json &route : routes(relay("--json", "attributes.pcap"))) {
        for (const Json &message : route["messages"]) {
            for (const std::string text : message["text"]) {
                texts[{message["carrier"], message["type"]}].insert(text);
            }
        }
    }
    const auto has = [&](const char *carrier, int type, const std::string &text) {
        EXPECT_EQ(texts[std::pair(carrier, type)].count(text), 1U) << carrier << ' ' << type << ": " << text;
    };
    has("attribute", 11, "RT <100 : 6>, Source AS <64500 : 0>");
    has("attribute", 21, "RT <100 : 6>, Source AS <64500 : 0>");
    has("attribute", 25,
        "PMSI: Flags 0x21, RSVP-TE P2MP LSP, Label 0:0:0(1193040), P2MP ID: 0x6, Tunnel ID: 65535, Extended tunnel ID: "
        "192.0.2.1");
    has("message", 6,
        "TLV 12, 17 octets: PMSI: Flags 0x0, RSVP-TE P2MP LSP, Label 0:0:0(0), P2MP ID: 0xc0000201, Tunnel ID: 17, "
        "Extended tunnel ID: 192.0.2.1");
    has("attribute", 34, "TLV 16, 8 octets: RD 100:6");
    has("attribute", 34, "TLV 1, 4 octets: key type 6");
    has("attribute", 34, "TLV 2, 24 octets: next hop 2001:db8::1, value 0");
    has("attribute", 43, "SRC-DT6 2001:db8:f:1::6");
    has("attribute", 50, "RT <2001:db8::1 . 6>");
    has("attribute", 51, "RT <2001:db8::1 . 6>");
    has("attribute", 59, "2001:db8:e:1::1, Prefix Len: 32, MSID Len: 16");
    has("message", 16, "TLV 14, 8 octets: next hop 192.0.2.1, value 0");
    has("message", 16, "TLV 13, 8 octets: RT <100 : 6>");
    has("message", 19, "import target: RT <2001:db8::2 . 8>");
    has("HA", 6, "import target: RT <0.100 : 5>");
    has("HA", 7, "import target: marker 0xffffffff: a VPN, or a route target");
}

TEST_F(RelayCommandTest, AMessageThatFailsIsToldAndEverythingElseIsShown)
{
    const Outcome outcome = relay("", "attributes.pcap");
    EXPECT_EQ(outcome.status, 1);
    const std::string place = "qel-mcast: " QEL_SAMPLES_DIR "/attributes.pcap: packet ";
    const std::string value = " failed, 0x80001, value not valid\n";
    const std::string tunnel = " failed, 0x3000b, PMSI tunnel attribute or identifier of the wrong length\n";
    EXPECT_EQ(outcome.err, place + "24, octet 315: HA 6 from mvpn to mvpn-backup" + value +             //
                               place + "24, octet 315: HA 6 from mvrf to mvrf-backup" + value +         //
                               place + "24, octet 315: message 56 from mvrf to mvpn" + value +          //
                               place + "24, octet 315: message 19 from mc to mvrf" + value +            //
                               place + "70, octet 49: attribute 25 from mvpn to mvpn-backup" + tunnel + //
                               place + "70, octet 49: attribute 25 from mvpn to mvrf" + tunnel);
    EXPECT_NE(outcome.out.find("\n        failed 0x80001\n"), std::string::npos);
    EXPECT_NE(outcome.out.find("\n  blocks leaked: 0\n"), std::string::npos);
    EXPECT_EQ(routes(relay("--json", "attributes.pcap")).size(), 49U);
}

TEST_F(RelayCommandTest, RefusedRoutesAreToldAndTheGoodOnesGoRound)
{
    const Outcome decoded = run("decode '" QEL_SAMPLES_DIR "/ngmvpn-refused.pcap'");
    const Outcome outcome = relay("--json", "ngmvpn-refused.pcap");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_NE(outcome.err, "");
    EXPECT_EQ(outcome.err, decoded.err) << "the decoder's refusals and nothing else";
    EXPECT_GT(routes(outcome).size(), 10U);
}

TEST_F(RelayCommandTest, AFilterLeavesTheOtherRoutesAtHome)
{
    const std::vector<Json> joins = routes(relay("--json --type 6,7 --group 232.1.1.1", "ngmvpn.pcap"));
    ASSERT_FALSE(joins.empty());
    for (const Json &route : joins) {
        EXPECT_GE(route["type"], 6);
        EXPECT_EQ(route["group"], "232.1.1.1");
    }
    EXPECT_TRUE(routes(relay("--json --rt 9:9", "ngmvpn.pcap")).empty());
    EXPECT_TRUE(routes(relay("--json --family mdt", "ngmvpn.pcap")).empty());
}

// MDT routes: with route targets, with none, and withdrawn.
const std::string kMdtWithTargets = R"(  announced  MDT, octet 68
    MDT  RD 100:1          source 192.0.2.1        group 239.1.1.1
      mvpn -> mvpn-backup  HA 1           16 octets    0000006400000001c0000201ef010101
        route prefix, RD 100:1, source 192.0.2.1, group 239.1.1.1
        read with share group 239.1.1.1
      mvpn -> mvpn-backup  attribute 11   16 octets    00020064000000010102c00002010007
        RT <100 : 1>, RT <192.0.2.1 : 7>
      mvpn -> mvpn-backup  attribute 34   12 octets    0001000800010004ef010101
        non-key, flags 0x1
        TLV 1, 4 octets: share group 239.1.1.1
      mvpn -> mvpn-backup  HA 6           8 octets     0002006400000001
        import target: RT <100 : 1>
      mvpn -> mvpn-backup  HA 6           8 octets     0102c00002010007
        import target: RT <192.0.2.1 : 7>
      mvpn -> mvrf         message 59     16 octets    0000006400000001c0000201ef010101
        route prefix, RD 100:1, source 192.0.2.1, group 239.1.1.1
        read with share group 239.1.1.1
      mvpn -> mvrf         attribute 11   16 octets    00020064000000010102c00002010007
        RT <100 : 1>, RT <192.0.2.1 : 7>
      mvpn -> mvrf         attribute 34   12 octets    0001000800010004ef010101
        non-key, flags 0x1
        TLV 1, 4 octets: share group 239.1.1.1
      mvrf -> mvrf-backup  HA 1           16 octets    0000006400000001c0000201ef010101
        route prefix, RD 100:1, source 192.0.2.1, group 239.1.1.1
        read with share group 239.1.1.1
      mvrf -> mvrf-backup  attribute 11   16 octets    00020064000000010102c00002010007
        RT <100 : 1>, RT <192.0.2.1 : 7>
      mvrf -> mvrf-backup  attribute 34   12 octets    0001000800010004ef010101
        non-key, flags 0x1
        TLV 1, 4 octets: share group 239.1.1.1
      mvrf -> mvrf-backup  HA 6           8 octets     0002006400000001
        import target: RT <100 : 1>
      mvrf -> mvrf-backup  HA 6           8 octets     0102c00002010007
        import target: RT <192.0.2.1 : 7>
      mvrf -> mvpn         message 56     8 octets     0002006400000001
        import target: RT <100 : 1>
      mvrf -> mvpn         message 56     8 octets     0102c00002010007
        import target: RT <192.0.2.1 : 7>
      mvrf -> mc           message 5      16 octets    0000006400000001c0000201ef010101
        route prefix, RD 100:1, source 192.0.2.1, group 239.1.1.1
      mvrf -> mc           attribute 11   16 octets    00020064000000010102c00002010007
        RT <100 : 1>, RT <192.0.2.1 : 7>
      mvrf -> mc           message 56     8 octets     0002006400000001
        import target: RT <100 : 1>
      mvrf -> mc           message 56     8 octets     0102c00002010007
        import target: RT <192.0.2.1 : 7>
      mc -> mvrf           message 15     16 octets    0000006400000001c0000201ef010101
        route prefix, RD 100:1, source 192.0.2.1, group 239.1.1.1
        read with share group 239.1.1.1
      mc -> mvrf           message 18     8 octets     0002006400000001
        import target: RT <100 : 1>
      mc -> mvrf           message 18     8 octets     0102c00002010007
        import target: RT <192.0.2.1 : 7>
      mvrf -> mvpn         message 53     16 octets    0000006400000001c0000201ef010101
        route prefix, RD 100:1, source 192.0.2.1, group 239.1.1.1
        read with share group 239.1.1.1
      mvrf -> mvpn         attribute 34   12 octets    0001000800010004ef010101
        non-key, flags 0x1
        TLV 1, 4 octets: share group 239.1.1.1
)";
const std::string kMdtWithoutTargets = R"(  announced  MDT, octet 49
    MDT  RD 100:1          source 192.0.2.1        group 239.1.1.9
      mvpn -> mvpn-backup  HA 1           16 octets    0000006400000001c0000201ef010109
        route prefix, RD 100:1, source 192.0.2.1, group 239.1.1.9
        read with share group 239.1.1.9
      mvpn -> mvpn-backup  attribute 34   12 octets    0001000800010004ef010109
        non-key, flags 0x1
        TLV 1, 4 octets: share group 239.1.1.9
      mvpn -> mvpn-backup  HA 6           4 octets     ef010109
        import target: share group 239.1.1.9
      mvpn -> mvrf         message 59     16 octets    0000006400000001c0000201ef010109
        route prefix, RD 100:1, source 192.0.2.1, group 239.1.1.9
        read with share group 239.1.1.9
      mvpn -> mvrf         attribute 34   12 octets    0001000800010004ef010109
        non-key, flags 0x1
        TLV 1, 4 octets: share group 239.1.1.9
      mvrf -> mvrf-backup  HA 1           16 octets    0000006400000001c0000201ef010109
        route prefix, RD 100:1, source 192.0.2.1, group 239.1.1.9
        read with share group 239.1.1.9
      mvrf -> mvrf-backup  attribute 34   12 octets    0001000800010004ef010109
        non-key, flags 0x1
        TLV 1, 4 octets: share group 239.1.1.9
      mvrf -> mvrf-backup  HA 6           4 octets     ef010109
        import target: share group 239.1.1.9
      mvrf -> mvpn         message 56     4 octets     ef010109
        import target: share group 239.1.1.9
      mvrf -> mc           message 5      16 octets    0000006400000001c0000201ef010109
        route prefix, RD 100:1, source 192.0.2.1, group 239.1.1.9
      mvrf -> mc           message 56     4 octets     ef010109
        import target: share group 239.1.1.9
      mc -> mvrf           message 15     16 octets    0000006400000001c0000201ef010109
        route prefix, RD 100:1, source 192.0.2.1, group 239.1.1.9
        read with share group 239.1.1.9
      mc -> mvrf           message 18     4 octets     ef010109
        import target: share group 239.1.1.9
      mvrf -> mvpn         message 53     16 octets    0000006400000001c0000201ef010109
        route prefix, RD 100:1, source 192.0.2.1, group 239.1.1.9
        read with share group 239.1.1.9
      mvrf -> mvpn         attribute 34   12 octets    0001000800010004ef010109
        non-key, flags 0x1
        TLV 1, 4 octets: share group 239.1.1.9
)";
const std::string kMdtWithdrawn = R"(  withdrawn  MDT, octet 29
    MDT  RD 192.0.2.1:7    source 192.0.2.1        group 239.1.1.2
      mvpn -> mvpn-backup  HA 3           16 octets    0001c00002010007c0000201ef010102
        route prefix, RD 192.0.2.1:7, source 192.0.2.1, group 239.1.1.2
        read with share group 239.1.1.2
      mvpn -> mvpn-backup  HA 7           4 octets     ef010102
        import target: share group 239.1.1.2
      mvpn -> mvrf         message 61     16 octets    0001c00002010007c0000201ef010102
        route prefix, RD 192.0.2.1:7, source 192.0.2.1, group 239.1.1.2
        read with share group 239.1.1.2
      mvrf -> mvrf-backup  HA 3           16 octets    0001c00002010007c0000201ef010102
        route prefix, RD 192.0.2.1:7, source 192.0.2.1, group 239.1.1.2
        read with share group 239.1.1.2
      mvrf -> mvrf-backup  HA 7           4 octets     ef010102
        import target: share group 239.1.1.2
      mvrf -> mvpn         message 57     4 octets     ef010102
        import target: share group 239.1.1.2
      mvrf -> mc           message 5      16 octets    0001c00002010007c0000201ef010102
        route prefix, RD 192.0.2.1:7, source 192.0.2.1, group 239.1.1.2
      mvrf -> mc           message 57     4 octets     ef010102
        import target: share group 239.1.1.2
      mc -> mvrf           message 15     16 octets    0001c00002010007c0000201ef010102
        route prefix, RD 192.0.2.1:7, source 192.0.2.1, group 239.1.1.2
        read with share group 239.1.1.2
      mc -> mvrf           message 20     4 octets     ef010102
        import target: share group 239.1.1.2
      mvrf -> mvpn         message 55     16 octets    0001c00002010007c0000201ef010102
        route prefix, RD 192.0.2.1:7, source 192.0.2.1, group 239.1.1.2
        read with share group 239.1.1.2
)";

TEST_F(RelayCommandTest, MdtRoutesGoRoundBareWithTheirTargetsOrShareGroup)
{
    struct Row {
        const char *options;
        const char *packet;
        const std::string &route;
    };
    const Row rows[] = {
        {"--rd 100:1 --source 192.0.2.1 --group 239.1.1.1", "  packet 10  ", kMdtWithTargets},
        {"--group 239.1.1.9", "  packet 14  ", kMdtWithoutTargets},
        {"--rd 192.0.2.1:7 --family mdt", "  packet 26  ", kMdtWithdrawn},
    };
    for (const Row &row : rows) {
        const Outcome outcome = relay(row.options, "mdt-vpnv4.pcap");
        EXPECT_EQ(outcome.status, 0);
        EXPECT_EQ(outcome.err, "");
        const std::size_t head = outcome.out.find(row.packet);
        ASSERT_NE(head, std::string::npos) << outcome.out;
        const std::string from_route = outcome.out.substr(outcome.out.find('\n', head) + 1);
        EXPECT_EQ(from_route.substr(0, row.route.size() + 1), row.route + "\n") << row.options;
        EXPECT_NE(outcome.out.find("\n  blocks leaked: 0\n"), std::string::npos);
        EXPECT_NE(outcome.out.find("\n  assertions                     0   reported by the library\n"),
                  std::string::npos);
    }
}

// Those of VPNv4 multicast stay at home: the family has no messages between components.
TEST_F(RelayCommandTest, JsonOfMdtRoutes)
{
    const Outcome outcome = relay("--json", "mdt-vpnv4.pcap");
    EXPECT_EQ(outcome.status, 0);
    const std::vector<Json> all = routes(outcome);
    ASSERT_EQ(all.size(), 9U);
    for (const Json &route : all) {
        EXPECT_EQ(route["family"], "mdt");
        EXPECT_EQ(route["safi"], 66);
        EXPECT_EQ(route["name"], "MDT");
        std::set<std::string> ways;
        for (const Json &message : route["messages"]) {
            ways.insert(message["from"].get<std::string>() + " " + message["to"].get<std::string>());
            EXPECT_EQ(message["octets"].get<std::string>().size(), 2 * message["length"].get<std::size_t>());
            EXPECT_FALSE(message["text"].empty());
            EXPECT_FALSE(message.contains("code"));
        }
        EXPECT_EQ(ways, (std::set<std::string>{"mvpn mvpn-backup", "mvpn mvrf", "mvrf mvrf-backup", "mvrf mvpn",
                                               "mvrf mc", "mc mvrf"}));
    }
    const Json &first = all.front();
    EXPECT_EQ(first["route_offset"], 68);
    EXPECT_EQ(first["source"], "192.0.2.1");
    EXPECT_EQ(first["group"], "239.1.1.1");
    EXPECT_EQ(first["messages"][2], Json::parse(R"({"from":"mvpn","to":"mvpn-backup","carrier":"attribute","type":34,
        "length":12,"octets":"0001000800010004ef010101",
        "text":["non-key, flags 0x1","TLV 1, 4 octets: share group 239.1.1.1"]})"));
    EXPECT_EQ(all.back()["action"], "withdraw");
    EXPECT_TRUE(routes(relay("--json --family vpnv4-mcast", "mdt-vpnv4.pcap")).empty());
}

TEST_F(RelayCommandTest, RefusedMdtRoutesAreToldAndTheGoodOnesGoRound)
{
    const Outcome decoded = run("decode '" QEL_SAMPLES_DIR "/mdt-vpnv4-refused.pcap'");
    const Outcome outcome = relay("--json", "mdt-vpnv4-refused.pcap");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_NE(outcome.err, "");
    EXPECT_EQ(outcome.err, decoded.err) << "the decoder's refusals and nothing else";
    EXPECT_EQ(routes(outcome).size(), 19U);
}

} // namespace
