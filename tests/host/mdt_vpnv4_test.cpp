// MDT and VPNv4 multicast on the road that NG-MVPN takes: walk, listing, JSON, filters, tables, policy.
#include "loss_on_purpose.h"
#include "table_session.h"
#include "walk_text.h"

#include "vpnv4mcast/qel_vpnv4mcast_records.h"

#include <random>
#include <string>
#include <utility>
#include <vector>

namespace qel::host {
namespace {

using namespace qel::test;

constexpr std::uint8_t kMdt = 66;
constexpr std::uint8_t kVpnv4 = 129;

// RD 100:1
const Bytes kA1 = bytes("80 0000006400000001 0a000001 ef010101");
const Bytes kA1OtherGroup = bytes("80 0000006400000001 0a000001 ef010109");
const Bytes kA2 = bytes("80 0000006400000001 0a000002 ef010102");
const Bytes kA1OtherRd = bytes("80 0000006400000002 0a000001 ef010101");
const Bytes kShortBits = bytes("79 0001c00002010007 0a000003 ef010103"); // 121 bits take 16 octets too
const Bytes kRd3 = bytes("80 0003006400000001 0a000003 ef010103");
// Labels 100, all twenty bits, 3; RD 100:1
const Bytes kLabelled16 = bytes("68 000641 0000006400000001 0a01");
const Bytes kLabelled12 = bytes("64 fffff1 0000006400000001 0aff"); // 10.240.0.0/12
const Bytes kLabelledAll = bytes("58 000031 0000006400000001");
const Bytes kLabelledRd3 = bytes("70 000641 0003006400000001 0a0102");
const Bytes kBare16 = bytes("50 0000006400000001 0a01");
const Bytes kBare24 = bytes("58 0000006400000001 0a0102");
const Bytes kBareHost = bytes("60 0002000100010005 0a010203");
const Bytes kBareRd3 = bytes("58 0003006400000001 0a0102");
// Without a label 10.1.2.0/24 of RD 256:1, with one 0.0.0.0/0 of RD 0:17432834.
const Bytes kEither = bytes("58 0000010000000001 0a0102");

Family family_of(std::uint8_t safi)
{
    return {*find_family(1, safi), kMemHandle};
}

class MdtVpnv4Test : public ::testing::Test {
protected:
    LeakCheck leaks;
};

// --- the walk ---------------------------------------------------------------------------------------------------

struct WalkRow {
    std::uint8_t safi;
    std::uint32_t type;
    Bytes octets;
    const char *expected;
};

TEST_F(MdtVpnv4Test, TheWalkFramesRoutesByTheirLengthInBits)
{
    const WalkRow rows[] = {
        {kMdt, 14, join({kA1, kA2}), "route@0+17 route@17+17"},
        {kMdt, 15, join({kShortBits, kA2}), "route@0+17 route@17+17"},
        {kMdt, 14, join({kA1, bytes("78 0000006400000001 0a000002 ef0101"), kA2}),
         "route@0+17 refused:60001@17+16 unread@33+17"},
        {kMdt, 14, join({kA1, bytes("81 0000006400000001 0a000002 ef010102 00"), kA2}),
         "route@0+17 refused:60001@17+18 unread@35+17"},
        {kMdt, 15, join({kA1, Bytes(kA2.begin(), kA2.end() - 1)}), "route@0+17 refused:60001@17+16"},
        {kMdt, 14, join({kA1, bytes("80")}), "route@0+17 refused:60001@17+1"},
        {kMdt, 14, bytes("00"), "refused:60001@0+1"},
        {kVpnv4, 14, join({kLabelled16, kLabelled12, kLabelledAll}), "route@0+14 route@14+14 route@28+12"},
        {kVpnv4, 15, join({kLabelled16, bytes("57 000641 0000006400000001")}), "route@0+14 refused:60001@14+12"},
        {kVpnv4, 14, join({bytes("79 000641 0000006400000001 0a01020304"), kLabelled16}),
         "refused:60001@0+17 unread@17+14"},
        {kVpnv4, kNlriWithoutLabels, join({kBare16, kBare24, kBareHost}), "route@0+11 route@11+12 route@23+13"},
        {kVpnv4, kNlriWithoutLabels, bytes("3f 0000006400000001"), "refused:60001@0+9"},
        {kVpnv4, kNlriWithoutLabels, bytes("61 0000006400000001 0a01020304"), "refused:60001@0+14"},
    };
    for (const WalkRow &row : rows) {
        EXPECT_EQ(show_walk(family_of(row.safi), row.type, row.octets), row.expected) << hex(row.octets);
    }
}

TEST_F(MdtVpnv4Test, BehindARouteOfUnknownRdTypeTheWalkGoesOnWithTheNextOne)
{
    const WalkRow rows[] = {
        {kMdt, 14, join({kA1, kRd3, kA2}), "route@0+17 refused:60002@17+17 route@34+17"},
        {kMdt, 15, join({kRd3, kRd3, kA2}), "refused:60002@0+17 refused:60002@17+17 route@34+17"},
        {kMdt, 14, join({kA1, kRd3}), "route@0+17 refused:60002@17+17"},
        {kMdt, 14, join({kRd3, bytes("80 00")}), "refused:60002@0+17 refused:60001@17+2"},
        {kVpnv4, 14, join({kLabelled16, kLabelledRd3, kLabelledAll}), "route@0+14 refused:60002@14+15 route@29+12"},
        {kVpnv4, kNlriWithoutLabels, join({kBareRd3, kBare16}), "refused:60002@0+12 route@12+11"},
    };
    for (const WalkRow &row : rows) {
        EXPECT_EQ(show_walk(family_of(row.safi), row.type, row.octets), row.expected) << hex(row.octets);
    }
}

TEST_F(MdtVpnv4Test, EveryOctetComesUpOnceWhateverTheyAre)
{
    const Family mdt = family_of(kMdt);
    const Family vpnv4 = family_of(kVpnv4);
    std::mt19937 random(66);
    for (int round = 0; round < 20000; ++round) {
        Bytes octets = join({kA1, kLabelled12, kRd3, kBare24, kLabelledRd3});
        octets.resize(random() % octets.size() + 1);
        for (int i = 0; i < 3; ++i) {
            octets[random() % octets.size()] = static_cast<std::uint8_t>(random());
        }
        const ExactCopy copy(octets);
        const std::pair<const Family *, std::uint32_t> walks[] = {
            {&mdt, 14}, {&vpnv4, 15}, {&vpnv4, kNlriWithoutLabels}};
        for (const auto &[family, type] : walks) {
            AttributeWalk walk(*family, type, {copy.data(), copy.size()});
            std::size_t at = 0;
            for (WalkStep step; walk.next(step);) {
                ASSERT_EQ(step.offset, at) << hex(octets);
                ASSERT_FALSE(step.octets.empty());
                at += step.octets.size();
            }
            ASSERT_EQ(at, octets.size()) << hex(octets);
        }
    }
}

// --- decode -----------------------------------------------------------------------------------------------------

TEST_F(MdtVpnv4Test, TheListingShowsWhatTheFamiliesRoutesHave)
{
    Session run;
    run.message(update(join({attribute(16, bytes("0002006400000001 010ac00002010007")),
                             mp_reach(1, kMdt, kNextHop, join({kA1, kRd3, kShortBits}))})))
        .message(update(mp_unreach(1, kMdt, kA2)))
        .message(update(mp_unreach(1, kMdt, {})))
        .message(update(mp_reach(1, kVpnv4, bytes("0000000000000000 c0000201"), join({kLabelled16, kLabelled12}))))
        .message(update(mp_unreach(1, kVpnv4, kBare24)));
    EXPECT_EQ(run.text(),
              "test.pcap  packet 1\n"
              "  communities       RT <100 : 1>, Import RT <192.0.2.1 : 7>\n"
              "  announced  MDT (AFI 1, SAFI 66)  next hop 192.0.2.1\n"
              "    MDT  RD 100:1          source 10.0.0.1         group 239.1.1.1\n"
              "    refused 0x60002  route not accepted: unknown route type or RD type, zero address, or address of the "
              "other family\n"
              "      octet 71, 17 octets: 8000030064000000010a000003ef010103\n"
              "    MDT  RD 192.0.2.1:7    source 10.0.0.3         group 239.1.1.3\n\n"
              "test.pcap  packet 2\n"
              "  withdrawn  MDT (AFI 1, SAFI 66)\n"
              "    MDT  RD 100:1          source 10.0.0.2         group 239.1.1.2\n\n"
              "test.pcap  packet 3\n"
              "  withdrawn  MDT (AFI 1, SAFI 66)  End-of-RIB\n\n"
              "test.pcap  packet 4\n"
              "  announced  VPNv4 multicast (AFI 1, SAFI 129)  next hop 192.0.2.1  with labels\n"
              "    VPNv4 multicast  RD 100:1          prefix 10.1.0.0/16         label 100\n"
              "    VPNv4 multicast  RD 100:1          prefix 10.240.0.0/12       label 1048575\n\n"
              "test.pcap  packet 5\n"
              "  withdrawn  VPNv4 multicast (AFI 1, SAFI 129)  without labels\n"
              "    VPNv4 multicast  RD 100:1          prefix 10.1.2.0/24\n\n");
    EXPECT_EQ(run.diagnostics.size(), 1U);
    const Summary &summary = run.finish();
    EXPECT_EQ(summary.routes[kFormMdt].announced, 2U);
    EXPECT_EQ(summary.routes[kFormMdt].withdrawn, 1U);
    EXPECT_EQ(summary.routes[kFormVpnv4Mcast].announced, 2U);
    EXPECT_EQ(summary.routes[kFormVpnv4Mcast].withdrawn, 1U);
    EXPECT_EQ(summary.blocks_leaked, 0U);
    EXPECT_NE(run.text().find("  routes                 announced   withdrawn\n"
                              "  MDT                            2           1\n"
                              "  VPNv4 multicast                2           1\n"
                              "  all                            4           2\n"),
              std::string::npos);
}

TEST_F(MdtVpnv4Test, JsonHoldsTheSame)
{
    DecodeOptions options = as_json();
    options.raw = true;
    Session run(options);
    run.message(update(mp_reach(1, kMdt, kNextHop, join({kA1, kRd3}))))
        .message(update(mp_reach(1, kVpnv4, kNextHop, kLabelled12)))
        .message(update(mp_unreach(1, kVpnv4, kBare24)));
    const std::vector<nlohmann::json> out = lines(run.text());
    ASSERT_EQ(out.size(), 3U);
    EXPECT_EQ(out[0]["nlri"][0], nlohmann::json::parse(R"({
        "attribute":14,"action":"announce","afi":1,"safi":66,"family":"mdt","next_hop":["192.0.2.1"],
        "routes":[{"offset":35,"name":"MDT","rd":"100:1","rd_type":0,"source":"10.0.0.1","group":"239.1.1.1",
                   "octets":"8000000064000000010a000001ef010101"}],
        "refused":[{"code":"0x60002","offset":52,"octets":"8000030064000000010a000003ef010103","meaning":
            "route not accepted: unknown route type or RD type, zero address, or address of the other family"}]})"));
    EXPECT_EQ(out[1]["nlri"][0], nlohmann::json::parse(R"({
        "attribute":14,"action":"announce","afi":1,"safi":129,"family":"vpnv4-mcast","next_hop":["192.0.2.1"],
        "labels":true,
        "routes":[{"offset":35,"name":"VPNv4 multicast","rd":"100:1","rd_type":0,"prefix":"10.240.0.0/12",
                   "label":1048575,"octets":"64fffff100000064000000010aff"}]})"));
    EXPECT_EQ(out[2]["nlri"][0], nlohmann::json::parse(R"({
        "attribute":15,"action":"withdraw","afi":1,"safi":129,"family":"vpnv4-mcast","labels":false,
        "routes":[{"offset":29,"name":"VPNv4 multicast","rd":"100:1","rd_type":0,"prefix":"10.1.2.0/24",
                   "octets":"5800000064000000010a0102"}]})"));
    run.finish();
    const nlohmann::json summary = lines(run.text()).at(0)["routes"];
    ASSERT_EQ(summary.size(), 9U);
    EXPECT_EQ(summary[7], nlohmann::json::parse(R"({"name":"MDT","announced":1,"withdrawn":0})"));
    EXPECT_EQ(summary[8], nlohmann::json::parse(R"({"name":"VPNv4 multicast","announced":1,"withdrawn":1})"));
}

struct LabelRow {
    LabelChoice choice;
    Bytes nlri;
    const char *told;
    const char *json; // labels and labels_fit
    std::size_t routes;
};

TEST_F(MdtVpnv4Test, LabelsAreFoundOutFromTheWholeAttributeOrTold)
{
    const std::string neither = "  with labels (the octets do not fit, with or without)\n";
    const LabelRow rows[] = {
        {LabelChoice::automatic, join({kLabelled16, kLabelledAll}), "  with labels\n", "true-", 2},
        {LabelChoice::automatic, join({kBare16, kBareHost, kBare24}), "  without labels\n", "false-", 3},
        {LabelChoice::automatic, kEither, "  with labels (the octets fit without them as well)\n", "true\"both\"", 1},
        {LabelChoice::automatic, join({kEither, kBare16}), "  without labels\n", "false-", 2},
        {LabelChoice::automatic, join({kLabelled16, kLabelledRd3, kLabelled12}), neither.c_str(), "true\"neither\"", 2},
        {LabelChoice::automatic, join({kBareRd3, kBare16}), neither.c_str(), "true\"neither\"", 0},
        {LabelChoice::without, kEither, "  without labels\n", "false-", 1},
        {LabelChoice::without, join({kBareRd3, kBare16}), "  without labels\n", "false-", 1},
        {LabelChoice::without, kLabelled16, "  without labels\n", "false-", 0},
        {LabelChoice::with, kEither, "  with labels\n", "true-", 1},
        {LabelChoice::with, kBare24, "  with labels\n", "true-", 0},
        {LabelChoice::automatic, {}, "  End-of-RIB\n", "--", 0},
        {LabelChoice::with, {}, "  End-of-RIB\n", "--", 0},
    };
    for (const LabelRow &row : rows) {
        DecodeOptions options;
        options.labels = row.choice;
        Session text(options);
        text.message(update(mp_unreach(1, kVpnv4, row.nlri)));
        EXPECT_NE(text.text().find("(AFI 1, SAFI 129)" + std::string(row.told)), std::string::npos)
            << hex(row.nlri) << row.told;
        text.finish();
        options.json = true;
        Session json(options, kMemHandle + 1);
        json.message(update(mp_unreach(1, kVpnv4, row.nlri)));
        const nlohmann::json nlri = lines(json.text()).at(0)["nlri"][0];
        const auto member = [&](const char *name) { return nlri.contains(name) ? nlri[name].dump() : "-"; };
        EXPECT_EQ(member("labels") + member("labels_fit"), row.json) << hex(row.nlri);
        EXPECT_EQ(nlri["routes"].size(), row.routes) << hex(row.nlri);
        EXPECT_EQ(json.finish().blocks_leaked, 0U);
    }
}

// Memory that runs out while the labels are looked for says nothing about them.
TEST_F(MdtVpnv4Test, LostRoutesAreToldAndLeakNothing)
{
    // Two routes that fit with labels, no route that fits without, then the routes that are kept.
    for (std::uint64_t allocation = 0; allocation < 4; ++allocation) {
        Session run(as_json());
        {
            const platform::FailAllocation failure(allocation);
            run.message(update(mp_reach(1, kVpnv4, kNextHop, join({kLabelled16, kLabelledAll}))));
            EXPECT_TRUE(failure.fired()) << allocation;
        }
        const nlohmann::json nlri = lines(run.text()).at(0)["nlri"][0];
        EXPECT_EQ(nlri["labels"], true) << allocation;
        EXPECT_FALSE(nlri.contains("labels_fit")) << allocation;
        EXPECT_EQ(nlri["routes"].size(), allocation < 2 ? 2U : 1U) << allocation;
        EXPECT_EQ(nlri.value("lost", nlohmann::json::array()).size(), allocation < 2 ? 0U : 1U) << allocation;
        const Summary &summary = run.finish();
        EXPECT_EQ(summary.blocks_leaked, 0U);
        EXPECT_EQ(summary.lost, allocation < 2 ? 0U : 1U);
    }
}

TEST_F(MdtVpnv4Test, TheNextHopBehindAnRdOfZeroIsAnAddressForVpnv4Alone)
{
    const Bytes with_rd = bytes("0000000000000000 c0000201");
    const std::pair<std::uint8_t, std::pair<Bytes, const char *>> rows[] = {
        {kVpnv4, {with_rd, "192.0.2.1"}},
        {kVpnv4, {bytes("0000000000000001 c0000201"), "0x0000000000000001c0000201"}},
        {kVpnv4, {kNextHop, "192.0.2.1"}},
        {kMdt, {with_rd, "0x0000000000000000c0000201"}},
        {5, {with_rd, "0x0000000000000000c0000201"}},
    };
    for (const auto &[safi, hop] : rows) {
        Session run(as_json());
        run.message(update(mp_reach(1, safi, hop.first, {})));
        EXPECT_EQ(lines(run.text()).at(0)["nlri"][0]["next_hop"], nlohmann::json::array({hop.second}));
        run.finish();
    }
}

TEST_F(MdtVpnv4Test, AttributesBelongToTheFamilyThatAnnounces)
{
    // Sub-type 10 has another name in each family's list, a PMSI tunnel is of NG-MVPN alone.
    const Bytes others = join({attribute(16, bytes("010ac00002010007")), attribute(22, bytes("0006000000c0000201"))});
    const std::pair<std::uint8_t, const char *> rows[] = {{kMdt, "Import RT <192.0.2.1 : 7>"},
                                                          {kVpnv4, "Import RT(type:0x0A) <192.0.2.1 : 7>"}};
    for (const auto &[safi, text] : rows) {
        Session run(as_json());
        run.message(update(join({others, mp_reach(1, safi, kNextHop, safi == kMdt ? kA1 : kBare16)})));
        const nlohmann::json attributes = lines(run.text()).at(0)["attributes"];
        EXPECT_EQ(attributes.size(), 1U);
        EXPECT_EQ(attributes["ext_communities"][0]["text"], text);
        EXPECT_TRUE(run.finish().clean());
    }
}

TEST_F(MdtVpnv4Test, ABareAttributeIsOfTheFamilyThatIsAskedFor)
{
    for (const FamilyKind kind : {FamilyKind::mdt, FamilyKind::vpnv4_mcast}) {
        Session run(only(kind));
        run.attribute(attribute(16, bytes("010bc00002010007"))).attribute(attribute(16, bytes("00")));
        EXPECT_NE(run.text().find(kind == FamilyKind::mdt ? "Import RT <192.0.2.1 : 7>"
                                                          : "Import RT(type:0x0B) <192.0.2.1 : 7>"),
                  std::string::npos);
        EXPECT_EQ(run.finish().refused.size(), 1U);
    }
}

// --- filters ----------------------------------------------------------------------------------------------------

// The offsets of the routes that are shown.
std::string shown(const RouteFilter &filter)
{
    DecodeOptions options = as_json();
    options.filter = filter;
    Session run(options);
    run.message(update(join({attribute(16, kTargets), mp_reach(1, kMdt, kNextHop, join({kA1, kA2, kA1OtherRd}))})))
        .message(update(mp_reach(1, kVpnv4, kNextHop, join({kLabelled16, kLabelled12}))));
    std::string out;
    for (const nlohmann::json &line : lines(run.text())) {
        for (const nlohmann::json &route : line["nlri"][0]["routes"]) {
            out += route.contains("prefix")
                       ? route["prefix"].get<std::string>() + " "
                       : route["rd"].get<std::string>() + "," + route["source"].get<std::string>() + " ";
        }
    }
    run.finish();
    return out;
}

TEST_F(MdtVpnv4Test, FiltersAskForWhatARouteHas)
{
    const std::string a1 = "100:1,10.0.0.1 ";
    const std::string a2 = "100:1,10.0.0.2 ";
    const std::string other = "100:2,10.0.0.1 ";
    EXPECT_EQ(shown({.rd = canonical_rd("100:2")}), other);
    EXPECT_EQ(shown({.rd = canonical_rd("100:1")}), a1 + a2 + "10.1.0.0/16 10.240.0.0/12 ");
    EXPECT_EQ(shown({.route_target = canonical_route_target("100:1")}), a1 + a2 + other);
    EXPECT_EQ(shown({.source = flow_address("10.0.0.1")}), a1 + other);
    EXPECT_EQ(shown({.group = flow_address("239.1.1.2")}), a2);
    EXPECT_EQ(shown({.source = flow_address("*")}), "");
    EXPECT_EQ(shown({.types = route_types("1,2,3,4,5,6,7")}), "") << "these routes have no type";
    EXPECT_EQ(shown({.rd = canonical_rd("100:1"), .source = flow_address("10.0.0.1")}), a1);
}

// --- tables -----------------------------------------------------------------------------------------------------

TEST_F(MdtVpnv4Test, AnMdtRouteReplacesOneWithAnotherGroupAndAWithdrawalNeedNotNameTheGroup)
{
    Tables tables;
    tables.announce(join({kA1, kA2, kA1OtherRd}), kTargets, 1, kMdt).announce(kA1OtherGroup, {}, 1, kMdt);
    EXPECT_EQ(tables.text(with_cross()), "MDT (AFI 1, SAFI 66)  3 routes\n"
                                         "  MDT  RD 100:1          source 10.0.0.1         group 239.1.1.9\n"
                                         "       cross   share group 239.1.1.9\n"
                                         "  MDT  RD 100:1          source 10.0.0.2         group 239.1.1.2\n"
                                         "       cross   RT <100 : 1>\n"
                                         "               RT <192.0.2.1 : 7>\n"
                                         "  MDT  RD 100:2          source 10.0.0.1         group 239.1.1.1\n"
                                         "       cross   RT <100 : 1>\n"
                                         "               RT <192.0.2.1 : 7>\n");
    tables.withdraw(join({kA1, kA1OtherRd}), kMdt);
    EXPECT_EQ(tables.text({}), "MDT (AFI 1, SAFI 66)  1 route\n"
                               "  MDT  RD 100:1          source 10.0.0.2         group 239.1.1.2\n");
    tables.finish();
}

TEST_F(MdtVpnv4Test, Vpnv4RoutesAreToldApartByRdPrefixAndLengthAndNotByLabel)
{
    Tables tables;
    tables.announce(join({kBare24, kBare16}), {}, 1, kVpnv4)
        .announce(bytes("68 000c81 0000006400000001 0a01"), kTargets, 1, kVpnv4) // 10.1.0.0/16 again, label 200
        .announce(bytes("51 0000006400000001 0a0100"), {}, 1, kVpnv4)            // 10.1.0.0/17
        .announce(kBareHost, {}, 1, kVpnv4);
    // RDs stand as the library compares them: by their words in memory.
    EXPECT_EQ(tables.text(with_cross()), "VPNv4 multicast (AFI 1, SAFI 129)  4 routes\n"
                                         "  VPNv4 multicast  RD 65537:5        prefix 10.1.2.3/32\n"
                                         "       cross   none\n"
                                         "  VPNv4 multicast  RD 100:1          prefix 10.1.0.0/16         label 200\n"
                                         "       cross   RT <100 : 1>\n"
                                         "               RT <192.0.2.1 : 7>\n"
                                         "  VPNv4 multicast  RD 100:1          prefix 10.1.0.0/17\n"
                                         "       cross   none\n"
                                         "  VPNv4 multicast  RD 100:1          prefix 10.1.2.0/24\n"
                                         "       cross   none\n");
    tables.withdraw(kBare16, kVpnv4);
    EXPECT_EQ(tables.text({}).substr(0, 44), "VPNv4 multicast (AFI 1, SAFI 129)  3 routes\n");
    tables.finish();
}

TEST_F(MdtVpnv4Test, RoutesStandByTheirRdAndThenByTheirKey)
{
    Tables tables;
    tables.announce(join({kA1OtherRd, kA2, kA1}), {}, 1, kMdt);
    EXPECT_EQ(tables.text({}), "MDT (AFI 1, SAFI 66)  3 routes\n"
                               "  MDT  RD 100:1          source 10.0.0.1         group 239.1.1.1\n"
                               "  MDT  RD 100:1          source 10.0.0.2         group 239.1.1.2\n"
                               "  MDT  RD 100:2          source 10.0.0.1         group 239.1.1.1\n");
    tables.finish();
}

TEST_F(MdtVpnv4Test, AWithdrawalTakesTheRouteOfItsOwnRdAlone)
{
    Tables tables;
    tables.announce(join({kA1, kA1OtherRd}), {}, 1, kMdt).withdraw(kA1OtherRd, kMdt);
    EXPECT_EQ(tables.text({}), "MDT (AFI 1, SAFI 66)  1 route\n"
                               "  MDT  RD 100:1          source 10.0.0.1         group 239.1.1.1\n");
    tables.finish();
}

TEST_F(MdtVpnv4Test, WithoutTheRdBesideTheKeyNothingIsFoundAndTheFamilyIsNotAsked)
{
    const Family family = family_of(kMdt);
    RouteTable table(family);
    const Bytes key = octets_of(table.insert_or_replace(route_of(family, kA1)).route->key());
    const std::uint64_t assertions = platform::assert_count();
    EXPECT_EQ(table.find(key), nullptr);
    EXPECT_FALSE(table.erase(key));
    EXPECT_EQ(platform::assert_count(), assertions);
}

TEST_F(MdtVpnv4Test, ARouteWithoutTheRdBesideItsKeyIsRefused)
{
    for (const std::uint8_t safi : {kMdt, kVpnv4}) {
        const Family family = family_of(safi);
        RouteTable table(family);
        BlockPtr block = block_of(family, 14, safi == kMdt ? kA1 : kLabelled16);
        block->uiValidMask &= ~QEL_SECTION_RD;
        EXPECT_EQ(table.insert_or_replace(StoredRoute(std::move(block))).change, RouteTable::Change::refused);
        EXPECT_TRUE(table.empty());
    }
}

TEST_F(MdtVpnv4Test, AKeyOfAnyLengthFindsARouteAndIsNeverStored)
{
    const Family family = family_of(kVpnv4);
    RouteTable table(family);
    const auto key_of = [](std::uint32_t mask_len) {
        const QEL_VPNV4MCAST_KEY_S key{0x0a010000, mask_len};
        const auto *octets = reinterpret_cast<const std::uint8_t *>(&key);
        return Bytes(octets, octets + sizeof(key));
    };
    BlockPtr block = block_of(family, kNlriWithoutLabels, kBare16);
    const Bytes rd = octets_of(StoredRoute(block_of(family, kNlriWithoutLabels, kBare16)).rd());
    EXPECT_EQ(table.insert_or_replace(StoredRoute(std::move(block))).change, RouteTable::Change::added);
    const Bytes any = key_of(QEL_VPNV4MCAST_ANY_LENGTH);
    EXPECT_EQ(table.find(any, rd), &*table.begin());
    EXPECT_EQ(std::as_const(table).find(key_of(17), rd), nullptr);
    EXPECT_EQ(table.find(any), nullptr) << "a key alone is not the whole of it";
    EXPECT_EQ(table.find(any, bytes("0000650001000000")), nullptr);

    block = block_of(family, kNlriWithoutLabels, kBare16);
    std::copy(any.begin(), any.end(), reinterpret_cast<std::uint8_t *>(block.get()) + block->usKeyOffset);
    EXPECT_EQ(table.insert_or_replace(StoredRoute(std::move(block))).change, RouteTable::Change::refused);
    block = block_of(family, kNlriWithoutLabels, kBare16);
    block->uiValidMask &= ~QEL_SECTION_RD;
    const std::uint64_t assertions = platform::assert_count();
    EXPECT_EQ(table.insert_or_replace(StoredRoute(std::move(block))).change, RouteTable::Change::refused);
    EXPECT_EQ(platform::assert_count(), assertions);
    EXPECT_EQ(table.size(), 1U);
    EXPECT_TRUE(table.erase(any, rd));
}

TEST_F(MdtVpnv4Test, TheLastCrossValueCountsAlsoWhereTheFamilySaysThatItIsTheLast)
{
    struct Row {
        std::uint8_t safi;
        const char *list;
        std::vector<std::pair<std::string, std::string>> values;
    };
    const std::pair<std::string, std::string> target{"route_target", "RT <100 : 1>"};
    const std::pair<std::string, std::string> group{"share_group", "share group 239.1.1.1"};
    const Row rows[] = {
        {kMdt, "", {group}},
        {kMdt, "0009006400000000", {group}},
        {kMdt, "0002006400000001", {target}},
        {kMdt, "0002006400000001 0009006400000000", {target}},
        {kMdt, "0002006400000001 0202000100020007", {target, {"route_target", "RT <1.2 : 7>"}}},
        {kMdt, "4002006400000001", {{"route_target", "RT 0x4002 006400000001"}}},
        {kVpnv4, "", {}},
        {kVpnv4, "0009006400000000", {}},
        {kVpnv4, "0002006400000001", {target}},
        {kVpnv4, "0002006400000001 0009006400000000", {target}},
    };
    for (const Row &row : rows) {
        Tables tables;
        tables.announce(row.safi == kMdt ? kA1 : kLabelled16, bytes(row.list), 1, row.safi);
        const nlohmann::json route = tables.json(with_cross()).at(1);
        std::vector<std::pair<std::string, std::string>> values;
        for (const nlohmann::json &value : route["cross"]) {
            values.emplace_back(value["form"], value["text"]);
        }
        EXPECT_EQ(values, row.values) << int{row.safi} << " " << row.list;
        EXPECT_EQ(tables.failures, 0U);
        tables.finish();
    }
}

TEST_F(MdtVpnv4Test, CrossValuesAreInTheFamilysOctets)
{
    Tables tables;
    tables.announce(kA1, {}, 1, kMdt).announce(kA2, bytes("0002006400000001"), 1, kMdt);
    const std::vector<nlohmann::json> out = tables.json(with_cross());
    EXPECT_EQ(out[1]["cross"][0]["octets"], "010101ef");
    EXPECT_EQ(out[2]["cross"][0]["octets"], "0200640001000000");
    tables.finish();
}

TEST_F(MdtVpnv4Test, WhatAPolicyMatchesOn)
{
    Tables tables;
    tables.announce(kA1, kTargets, 1, kMdt).announce(kA2, {}, 1, kMdt).announce(kLabelled16, kTargets, 1, kVpnv4);
    EXPECT_EQ(tables.text(with_match()), "MDT (AFI 1, SAFI 66)  2 routes\n"
                                         "  MDT  RD 100:1          source 10.0.0.1         group 239.1.1.1\n"
                                         "       match   11  communities RT <100 : 1>, RT <192.0.2.1 : 7>\n"
                                         "               13  RD 100:1\n"
                                         "               33  group 239.1.1.1\n"
                                         "  MDT  RD 100:1          source 10.0.0.2         group 239.1.1.2\n"
                                         "       match   13  RD 100:1\n"
                                         "               33  group 239.1.1.2\n"
                                         "VPNv4 multicast (AFI 1, SAFI 129)  1 route\n"
                                         "  VPNv4 multicast  RD 100:1          prefix 10.1.0.0/16         label 100\n"
                                         "       match   11  communities RT <100 : 1>, RT <192.0.2.1 : 7>\n"
                                         "               13  RD 100:1\n");
    tables.finish();
}

// --- policy -----------------------------------------------------------------------------------------------------

TEST_F(MdtVpnv4Test, WhatEachActionMakesOfTheCommunities)
{
    using Kind = PolicyAction::Kind;
    struct Row {
        Kind kind;
        const char *before;
        const char *value;
        const char *after;
    };
    const Row rows[] = {
        {Kind::add, "0002006400000001", "0002006400000002", "RT <100 : 1>\n               RT <100 : 2>\n"},
        {Kind::add, "", "0002006400000002", "RT <100 : 2>\n"},
        {Kind::replace, "0002006400000001 0009006400000000", "0002006400000002",
         "RT <100 : 2>\n               Source AS <100 : 0>\n"},
        {Kind::remove, "0002006400000001 0102c00002010007", "", "no communities remain\n"},
        {Kind::remove, "", "", "no communities remain\n"},
    };
    for (const std::uint8_t safi : {kMdt, kVpnv4}) {
        for (const Row &row : rows) {
            Tables tables;
            tables.announce(safi == kMdt ? kA1 : kBare16, bytes(row.before), 1, safi);
            const std::string out = tables.text(with_action(row.kind, bytes(row.value)));
            EXPECT_NE(out.find(std::string("\n       after   ") + row.after), std::string::npos) << out;
            EXPECT_EQ(tables.failures, 0U);
            tables.finish();
        }
    }
}

TEST_F(MdtVpnv4Test, AnActionThatFindsNoMemoryIsToldAndTheOtherRoutesAreShown)
{
    Tables tables;
    tables.announce(join({kA1, kA2}), kTargets, 1, kMdt);
    const platform::FailAllocation failure(0);
    const std::vector<nlohmann::json> out = tables.json(with_action(PolicyAction::Kind::replace, kTargets));
    ASSERT_EQ(out.size(), 3U);
    EXPECT_TRUE(out[1].contains("after_code"));
    EXPECT_EQ(out[2]["after"].size(), 2U);
    EXPECT_EQ(tables.failures, 1U);
    ASSERT_EQ(tables.diagnostics.size(), 1U);
    EXPECT_EQ(tables.diagnostics[0].substr(0, 28), "MDT: policy action failed, 0");
    tables.finish();
}

// kept by the VPNv4 multicast family: its delete leaves a work buffer unfreed where communities remain. The first one
// is the context's own, each further one is a block that the summary counts.
TEST_F(MdtVpnv4Test, DeletedTargetsOfVpnv4RoutesLeaveTheBlocksThatTheSummaryTells)
{
    const Bytes list = bytes("0002006400000001 0009006400000000");
    const LossOnPurpose loss;
    for (const std::uint8_t safi : {kMdt, kVpnv4}) {
        Tables tables(Component::mvpn, kMemHandle + 7);
        tables.announce(safi == kMdt ? join({kA1, kA2, kA1OtherRd}) : join({kBare16, kBare24, kBareHost}), list, 1,
                        safi);
        const std::vector<nlohmann::json> out = tables.json(with_action(PolicyAction::Kind::remove));
        ASSERT_EQ(out.size(), 4U);
        for (std::size_t i = 1; i < out.size(); ++i) {
            ASSERT_EQ(out[i]["after"].size(), 1U);
            EXPECT_EQ(out[i]["after"][0]["text"], "Source AS <100 : 0>");
        }
        tables.rib.clear();
        EXPECT_EQ(tables.session.finish().blocks_leaked, safi == kMdt ? 0U : 2U);
    }
}

// --- sinks ------------------------------------------------------------------------------------------------------

TEST_F(MdtVpnv4Test, ASinkThatSaysNothingElseGetsTheRoutesOfNgMvpnAlone)
{
    struct Counter final : RouteSink {
        std::size_t announced = 0;
        std::size_t withdrawn = 0;
        void announce(const Family &, StoredRoute) override { ++announced; }
        void withdraw(const Family &, const StoredRoute &) override { ++withdrawn; }
    } counter;
    DecodeOptions options;
    options.routes = &counter;
    Session run(options);
    run.message(update(join({attribute(16, kTargets), mp_reach(1, kMdt, kNextHop, kA1)})))
        .message(update(mp_unreach(1, kVpnv4, kBare16)))
        .message(update(mp_reach(1, 5, kNextHop, intra(1, 1))));
    EXPECT_EQ(counter.announced, 1U);
    EXPECT_EQ(counter.withdrawn, 0U);
    EXPECT_EQ(run.finish().routes[kFormMdt].announced, 1U) << "shown and counted all the same";
}

} // namespace
} // namespace qel::host
