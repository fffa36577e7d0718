#include "decode_session.h"
#include "update_builder.h"

#include <nlohmann/json.hpp>

#include <functional>
#include <random>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace qel::host {
namespace {

using test::as_json;
using test::attribute;
using test::Bytes;
using test::bytes;
using test::ExactCopy;
using test::join;
using test::kMemHandle;
using test::LeakCheck;
using test::lines;
using test::mp_reach;
using test::mp_unreach;
using test::only;
using test::Session;
using test::update;

const Bytes kNextHop = bytes("0a0a0603");
const Bytes kJoin = bytes("06 16 0000 fde8 0001869f 0000fde8 20 0a63c701 20 effbffe4"); // 24 octets
const Bytes kSourceActive = bytes("05 12 0000 fde8 0001869f 20 0a630c04 20 effbffe4");  // 20
const Bytes kType8 = bytes("08 0c 0000 fde8 0001869f 01020304");                        // 14
// MDT: RD 100:1, source 10.0.0.1, group 239.1.1.1
const Bytes kMdt = bytes("80 0000006400000001 0a000001 ef010101");
const Bytes kZeroSource = bytes("05 12 0000 fde8 0001869f 20 00000000 20 effbffe4"); // 20

class DecodeTest : public testing::Test {
private:
    LeakCheck leaks_;
};

TEST_F(DecodeTest, AnnouncedRoutesAreListed)
{
    Session run;
    run.message(update(join({bytes("40010100 400200"), mp_reach(1, 5, kNextHop, join({kJoin, kSourceActive}))})));
    EXPECT_EQ(run.text(),
              "test.pcap  packet 1\n"
              "  announced  IPv4 NG-MVPN (AFI 1, SAFI 5)  next hop 10.10.6.3\n"
              "    6  Shared Tree Join     RD 65000:99999    source AS 65000       source 10.99.199.1      "
              "group 239.251.255.228\n"
              "    5  Source Active A-D    RD 65000:99999    source 10.99.12.4       group 239.251.255.228\n\n");
    const Summary &summary = run.finish();
    EXPECT_TRUE(run.diagnostics.empty());
    EXPECT_TRUE(summary.clean());
    EXPECT_EQ(summary.routes[6].announced, 1U);
    EXPECT_EQ(summary.routes[5].announced, 1U);
    EXPECT_EQ(summary.attributes_offered, 2U);
    EXPECT_EQ(summary.updates_shown, 1U);
    EXPECT_EQ(summary.messages[2], 1U);
    EXPECT_EQ(summary.blocks_leaked, 0U);
}

TEST_F(DecodeTest, WithdrawnRoutesAndEndOfRibAreListed)
{
    Session run;
    run.message(update(mp_unreach(1, 5, kJoin))).message(update(mp_unreach(2, 5, {})));
    EXPECT_EQ(run.text(), "test.pcap  packet 1\n"
                          "  withdrawn  IPv4 NG-MVPN (AFI 1, SAFI 5)\n"
                          "    6  Shared Tree Join     RD 65000:99999    source AS 65000       "
                          "source 10.99.199.1      group 239.251.255.228\n\n"
                          "test.pcap  packet 2\n"
                          "  withdrawn  IPv6 NG-MVPN (AFI 2, SAFI 5)  End-of-RIB\n\n");
    const Summary &summary = run.finish();
    EXPECT_EQ(summary.routes[6].withdrawn, 1U);
    EXPECT_EQ(summary.routes[6].announced, 0U);
    EXPECT_EQ(summary.end_of_rib, 1U);
    EXPECT_TRUE(summary.clean());
}

TEST_F(DecodeTest, AnnouncementWithoutARouteIsNoEndOfRib)
{
    Session run;
    run.message(update(mp_reach(1, 5, kNextHop, {})));
    EXPECT_EQ(run.text(), "test.pcap  packet 1\n"
                          "  announced  IPv4 NG-MVPN (AFI 1, SAFI 5)  next hop 10.10.6.3  no routes\n\n");
    EXPECT_EQ(run.finish().end_of_rib, 0U);
}

TEST_F(DecodeTest, OneUpdateMayAnnounceAndWithdraw)
{
    Session run(as_json());
    run.message(update(join({mp_unreach(1, 5, kJoin), mp_reach(1, 5, kNextHop, kSourceActive)})));
    const nlohmann::json line = lines(run.text()).at(0);
    ASSERT_EQ(line["nlri"].size(), 2U);
    EXPECT_EQ(line["nlri"][0]["action"], "withdraw");
    EXPECT_EQ(line["nlri"][0]["routes"][0]["type"], 6);
    EXPECT_EQ(line["nlri"][0]["routes"][0]["offset"], 29);
    EXPECT_EQ(line["nlri"][1]["action"], "announce");
    EXPECT_EQ(line["nlri"][1]["next_hop"], nlohmann::json::array({"10.10.6.3"}));
    EXPECT_EQ(line["nlri"][1]["routes"][0]["offset"], 23 + 30 + 3 + 9);
}

TEST_F(DecodeTest, IPv6RoutesGoToTheIPv6Instance)
{
    Session run(as_json());
    const Bytes route =
        bytes("05 2a 0000 fde8 0001869f 80 fd120000000000000000000000000004 80 ff0e0000000000000000000000000001");
    run.message(update(mp_reach(2, 5, kNextHop, route))).message(update(mp_reach(1, 5, kNextHop, route)));
    const std::vector<nlohmann::json> out = lines(run.text());
    EXPECT_EQ(out.at(0)["nlri"][0]["routes"][0]["source"], "fd12::4");
    EXPECT_EQ(out.at(1)["nlri"][0]["routes"].size(), 0U);
    EXPECT_EQ(out.at(1)["nlri"][0]["refused"][0]["code"], "0x60002");
}

TEST_F(DecodeTest, RefusedRouteIsListedAndReportedWithItsPlace)
{
    Session run;
    run.message(update(mp_reach(1, 5, kNextHop, join({kType8, kJoin}))));
    EXPECT_EQ(run.text(),
              "test.pcap  packet 1\n"
              "  announced  IPv4 NG-MVPN (AFI 1, SAFI 5)  next hop 10.10.6.3\n"
              "    refused 0x60002  route not accepted: unknown route type or RD type, zero address, or address of the "
              "other family\n"
              "      octet 35, 14 octets: 080c0000fde80001869f01020304\n"
              "    6  Shared Tree Join     RD 65000:99999    source AS 65000       source 10.99.199.1      "
              "group 239.251.255.228\n\n");
    ASSERT_EQ(run.diagnostics.size(), 1U);
    EXPECT_EQ(run.diagnostics[0],
              "test.pcap: packet 1, octet 35: MP_REACH_NLRI refused, 0x60002, route not accepted: unknown route type "
              "or RD type, zero address, or address of the other family");
    const Summary &summary = run.finish();
    EXPECT_FALSE(summary.clean());
    EXPECT_EQ(summary.refused.at(0x60002), 1U);
    EXPECT_EQ(summary.routes[6].announced, 1U);
}

TEST_F(DecodeTest, OctetsBehindAStopAreListedAndReported)
{
    Session run(as_json());
    run.message(update(mp_unreach(1, 5, join({kJoin, kZeroSource, kJoin}))));
    const nlohmann::json nlri = lines(run.text()).at(0)["nlri"][0];
    EXPECT_EQ(nlri["routes"].size(), 1U);
    EXPECT_EQ(nlri["refused"][0]["offset"], 53);
    EXPECT_EQ(nlri["refused"][0]["octets"], test::hex(kZeroSource));
    EXPECT_EQ(nlri["unread"][0]["offset"], 73);
    EXPECT_EQ(nlri["unread"][0]["octets"], test::hex(kJoin));
    ASSERT_EQ(run.diagnostics.size(), 2U);
    EXPECT_EQ(run.diagnostics[1],
              "test.pcap: packet 1, octet 73: MP_UNREACH_NLRI not read to its end, octets left: 24");
    EXPECT_EQ(run.finish().unread, 1U);
}

TEST_F(DecodeTest, OctetsBehindTheLastRouteAreNotClean)
{
    Session run;
    run.message(update(mp_unreach(1, 5, join({kJoin, bytes("0616")}))));
    EXPECT_NE(run.text().find("    not read\n      octet 53, 2 octets: 0616\n"), std::string::npos);
    EXPECT_FALSE(run.finish().clean());
}

TEST_F(DecodeTest, LostRouteIsToldAndTheAssertionCounted)
{
    Session run;
    {
        const platform::FailAllocation failure(0);
        run.message(update(mp_unreach(1, 5, kJoin)));
        EXPECT_TRUE(failure.fired());
    }
    EXPECT_NE(run.text().find("    lost  no memory for the route\n      octet 29, 24 octets: 0616"), std::string::npos);
    EXPECT_EQ(run.diagnostics.at(0), "test.pcap: packet 1, octet 29: route lost, out of memory");
    const Summary &summary = run.finish();
    EXPECT_EQ(summary.lost, 1U);
    EXPECT_EQ(summary.routes[6].withdrawn, 0U);
    EXPECT_GT(summary.assertions, 0U);
    EXPECT_FALSE(summary.clean());
}

TEST_F(DecodeTest, OtherFamiliesAndMessagesAreCountedOnly)
{
    Session run;
    run.message(test::message(1, bytes("04 fde8 00b4 7f000002 00")))
        .message(test::message(4, {}))
        .message(test::message(3, bytes("0602")))
        .message(test::message(5, bytes("00010005")))
        .message(test::message(77, {}))
        .message(test::message(0, {}))
        .message(update({}))
        .message(update(mp_unreach(1, 1, bytes("18c63364"))))
        .message(update(mp_reach(2, 66, kNextHop, bytes("01020304"))));
    EXPECT_EQ(run.text(), "");
    const Summary &summary = run.finish();
    EXPECT_EQ(summary.messages, (std::array<std::uint64_t, 6>{2, 1, 3, 1, 1, 1}));
    EXPECT_EQ(summary.updates_without_family, 3U);
    EXPECT_EQ(summary.updates_shown, 0U);
    EXPECT_EQ(summary.attributes_offered, 0U);
    EXPECT_TRUE(summary.clean());
}

TEST_F(DecodeTest, NlriOfAnotherFamilyBesideOursIsNotOffered)
{
    Session run(as_json());
    // Read as MCAST-VPN these withdrawn prefixes would be refused.
    run.message(update(join({mp_unreach(1, 1, bytes("18c63364")), mp_reach(1, 5, kNextHop, kJoin)})));
    const nlohmann::json line = lines(run.text()).at(0);
    EXPECT_EQ(line["nlri"].size(), 1U);
    const Summary &summary = run.finish();
    EXPECT_TRUE(summary.clean());
    EXPECT_EQ(summary.attributes_offered, 0U);
}

TEST_F(DecodeTest, FilterShowsOneFamilyAlone)
{
    const Bytes both = update(join({mp_unreach(1, 66, kMdt), mp_reach(1, 5, kNextHop, kType8)}));
    Session ng_mvpn(only(FamilyKind::ng_mvpn));
    ng_mvpn.message(both);
    EXPECT_EQ(ng_mvpn.text().find("MDT"), std::string::npos);
    EXPECT_EQ(ng_mvpn.finish().refused.size(), 1U);

    Session mdt(only(FamilyKind::mdt));
    mdt.message(both).message(update(mp_unreach(1, 5, kType8)));
    EXPECT_EQ(mdt.text(), "test.pcap  packet 1\n"
                          "  withdrawn  MDT (AFI 1, SAFI 66)\n"
                          "    MDT  RD 100:1          source 10.0.0.1         group 239.1.1.1\n\n");
    const Summary &summary = mdt.finish();
    EXPECT_TRUE(summary.clean());
    EXPECT_EQ(summary.updates_without_family, 1U);
}

TEST_F(DecodeTest, TruncatedUpdatesAreProblemsWithTheirOffset)
{
    Session run;
    run.message(test::message(2, bytes("0009 18"))).message(test::message(2, bytes("0000 0005 40010100")));
    EXPECT_EQ(run.text(), "test.pcap  packet 1\n"
                          "  problem  octet 19 of the message: the withdrawn routes run past the end of the UPDATE\n\n"
                          "test.pcap  packet 2\n"
                          "  problem  octet 21 of the message: the path attributes run past the end of the UPDATE\n\n");
    ASSERT_EQ(run.diagnostics.size(), 2U);
    EXPECT_EQ(run.diagnostics[0], "test.pcap: packet 1, stream octet 0: octet 19 of the message: the withdrawn routes "
                                  "run past the end of the UPDATE");
    EXPECT_EQ(run.finish().problems, 2U);
}

TEST_F(DecodeTest, AttributesBeforeATruncatedOneAreShown)
{
    Session run(as_json());
    run.message(update(join({mp_unreach(1, 5, kJoin), bytes("800e09 0001")})));
    const std::vector<nlohmann::json> out = lines(run.text());
    ASSERT_EQ(out.size(), 2U);
    EXPECT_EQ(out[0]["nlri"][0]["routes"].size(), 1U);
    EXPECT_EQ(out[1]["kind"], "problem");
    EXPECT_EQ(out[1]["text"], "octet 53 of the message: a path attribute runs past the end of the path attributes");
}

TEST_F(DecodeTest, TruncatedMpAttributesOfOurFamiliesAreProblems)
{
    Session run;
    run.message(update(attribute(14, bytes("0001 05 04 0a0a"))))
        .message(update(attribute(15, bytes("0001"))))
        .message(update(attribute(14, bytes("0001 01 04 0a0a"))));
    EXPECT_EQ(run.text(), "test.pcap  packet 1\n\n"
                          "test.pcap  packet 1\n"
                          "  problem  octet 29 of the message: the next hop runs past the end of MP_REACH_NLRI\n\n"
                          "test.pcap  packet 2\n"
                          "  problem  octet 23 of the message: MP_UNREACH_NLRI is too short\n\n");
    EXPECT_EQ(run.finish().problems, 2U) << "the third one is no business of ours";
}

TEST_F(DecodeTest, BareAttributeIsAnUpdateOfItsOwn)
{
    Session run(as_json());
    run.origin.unit = Origin::Unit::line;
    run.attribute(mp_unreach(1, 5, kJoin));
    const nlohmann::json line = lines(run.text()).at(0);
    EXPECT_EQ(line["unit"], "line");
    EXPECT_EQ(line["nlri"][0]["routes"][0]["offset"], 6);
    const Summary &summary = run.finish();
    EXPECT_EQ(summary.bare_attributes, 1U);
    EXPECT_EQ(summary.messages[2], 0U);
    EXPECT_EQ(summary.updates_shown, 1U);
}

TEST_F(DecodeTest, OtherBareAttributeIsOfferedAndCounted)
{
    Session run;
    run.attribute(attribute(99, bytes("010203")));
    EXPECT_EQ(run.text(), "");
    const Summary &summary = run.finish();
    EXPECT_EQ(summary.attributes_offered, 1U);
    EXPECT_EQ(summary.updates_without_family, 0U);
    EXPECT_TRUE(summary.clean());
}

TEST_F(DecodeTest, AttributesOfTheUpdateAreOfferedToTheFamilyToo)
{
    Session run(as_json());
    run.message(update(join({attribute(16, bytes("0102c0a85e0c0005")), attribute(22, bytes("00 0b 000000 01")),
                             attribute(16, bytes("01020304050607")), mp_reach(1, 5, kNextHop, kJoin)})));
    const nlohmann::json line = lines(run.text()).at(0);
    EXPECT_EQ(line["nlri"][0]["routes"].size(), 1U);
    EXPECT_EQ(line["refused"].size(), 2U);
    EXPECT_EQ(line["refused"][0]["attribute"], 22);
    EXPECT_EQ(line["refused"][0]["code"], "0x3000b");
    EXPECT_EQ(line["refused"][0]["offset"], 23 + 11 + 3);
    EXPECT_EQ(line["refused"][0]["octets"], "000b00000001");
    EXPECT_EQ(line["refused"][1]["attribute"], 16);
    EXPECT_EQ(line["refused"][1]["code"], "0x30009");
    ASSERT_EQ(run.diagnostics.size(), 2U);
    EXPECT_EQ(run.diagnostics[1], "test.pcap: packet 1, octet 46: extended communities refused, 0x30009, not a whole "
                                  "number of communities");
    EXPECT_EQ(run.finish().attributes_offered, 3U);
}

TEST_F(DecodeTest, AttributesAreOfferedToOneFamilyAlone)
{
    Session run;
    run.message(update(
        join({mp_unreach(2, 5, {}), attribute(16, bytes("0102c0a85e0c0005")), mp_reach(1, 5, kNextHop, kJoin)})));
    const Summary &summary = run.finish();
    EXPECT_EQ(summary.attributes_offered, 1U);
    EXPECT_TRUE(summary.clean());
}

TEST_F(DecodeTest, RefusedBareAttributeIsShown)
{
    Session run;
    run.attribute(attribute(16, bytes("01020304050607")));
    EXPECT_EQ(run.text(), "test.pcap  packet 1\n"
                          "  refused 0x30009  extended communities (attribute 16)  not a whole number of communities\n"
                          "      octet 3, 7 octets: 01020304050607\n\n");
    EXPECT_FALSE(run.finish().clean());
}

TEST_F(DecodeTest, OctetsBehindABareAttributeAreAProblem)
{
    Session run;
    run.attribute(join({mp_unreach(1, 5, kJoin), bytes("80")}));
    EXPECT_NE(run.text().find("problem  octet 30 of the attribute"), std::string::npos);
    EXPECT_EQ(run.finish().problems, 1U);
}

TEST_F(DecodeTest, ReadersProblemsAreShownAndReported)
{
    Session run;
    run.origin.number = 0;
    run.decoder->problem(run.origin, "cannot be read: no such file");
    run.origin.number = 4;
    run.origin.offset = 77;
    run.decoder->problem(run.origin, "octets missing\n");
    EXPECT_EQ(run.text(), "test.pcap\n  problem  cannot be read: no such file\n\n"
                          "test.pcap  packet 4\n  problem  octets missing\\x0a\n\n");
    ASSERT_EQ(run.diagnostics.size(), 2U);
    EXPECT_EQ(run.diagnostics[0], "test.pcap: cannot be read: no such file");
    EXPECT_EQ(run.diagnostics[1], "test.pcap: packet 4, stream octet 77: octets missing\\x0a");
    EXPECT_EQ(run.finish().problems, 2U);
}

TEST_F(DecodeTest, MessageShorterThanItsHeaderIsAProblem)
{
    Session run;
    run.message(Bytes(18, 0xff));
    EXPECT_EQ(run.finish().problems, 1U);
}

TEST_F(DecodeTest, DiagnosticsComeBehindTheUpdateTheyBelongTo)
{
    std::string order;
    Output out([&](std::string_view) { order += "o"; });
    DecodeOptions options;
    options.json = true;
    options.mem_handle = kMemHandle;
    options.diagnostic = [&](std::string_view) {
        EXPECT_EQ(out.buffer().data()[out.buffer().size() - 1], '\n');
        order += "d";
    };
    Decoder decoder(std::move(options), out);
    const Bytes wire = update(mp_unreach(1, 5, kType8));
    decoder.message({}, wire);
    EXPECT_EQ(order, "d");
    decoder.finish();
}

TEST_F(DecodeTest, ProgressIsPassedOn)
{
    std::vector<std::pair<std::uint64_t, std::uint64_t>> seen;
    Output out([](std::string_view) {});
    DecodeOptions options;
    options.mem_handle = kMemHandle;
    options.progress = [&](std::uint64_t read, std::uint64_t total) { seen.emplace_back(read, total); };
    Decoder decoder(std::move(options), out);
    decoder.progress(5, 10);
    EXPECT_EQ(seen, (std::vector<std::pair<std::uint64_t, std::uint64_t>>{{5, 10}}));
    decoder.finish();
}

TEST_F(DecodeTest, SummaryInBothForms)
{
    const auto feed = [](Session &run) {
        run.message(update(mp_reach(1, 5, kNextHop, join({kJoin, kJoin, kType8}))));
        run.message(update(mp_unreach(1, 5, kJoin)));
        run.text();
        run.finish();
        return run.text();
    };
    Session text;
    EXPECT_EQ(feed(text), "Summary\n"
                          "  messages                       2   UPDATE 2\n"
                          "  UPDATEs shown                  2   0 of other families, 0 End-of-RIB\n"
                          "  attributes offered             0   beside MP_REACH_NLRI and MP_UNREACH_NLRI\n"
                          "\n"
                          "  routes                 announced   withdrawn\n"
                          "  6 Shared Tree Join             2           1\n"
                          "  all                            2           1\n"
                          "\n"
                          "  refused                        1\n"
                          "    0x60002                      1   route not accepted: unknown route type or RD type, "
                          "zero address, or address of the other family\n"
                          "  stretches not read             0\n"
                          "  problems                       0\n"
                          "  assertions                     0   reported by the library\n"
                          "  blocks leaked: 0\n");
    Session json(as_json());
    const nlohmann::json summary = lines(feed(json)).at(0);
    EXPECT_EQ(summary["kind"], "summary");
    EXPECT_EQ(summary["messages"]["update"], 2);
    EXPECT_EQ(summary["routes"][5],
              nlohmann::json::parse(R"({"type":6,"name":"Shared Tree Join","announced":2,"withdrawn":1})"));
    EXPECT_EQ(summary["refused"], nlohmann::json::parse(R"({"0x60002":1})"));
    EXPECT_EQ(summary["blocks_leaked"], 0);
}

TEST_F(DecodeTest, BlockLeftOnTheHandleIsCountedAsLeaked)
{
    Session run;
    void *left = ZVK_SimpleAlloc_F(kMemHandle, 8, __FILE__, __LINE__);
    EXPECT_EQ(run.finish().blocks_leaked, 1U);
    EXPECT_NE(run.text().find("blocks leaked: 1\n"), std::string::npos);
    ZVK_Free_F(left, __FILE__, __LINE__);
}

// Every octet string is decoded to some end, and every JSON line is JSON.
TEST_F(DecodeTest, DamagedUpdatesNeverBreakTheOutput)
{
    const Bytes whole = update(join({bytes("40010100 400200"), mp_unreach(2, 5, join({kJoin, kSourceActive})),
                                     mp_reach(1, 5, kNextHop, join({kJoin, kType8, kSourceActive, kJoin}))}));
    std::mt19937 random(20240305);
    Session run(as_json());
    Session text({}, kMemHandle + 1);
    for (int round = 0; round < 3000; ++round) {
        Bytes wire = whole;
        const int changes = 1 + static_cast<int>(random() % 4);
        for (int i = 0; i < changes; ++i) {
            wire[kBgpHeaderSize + random() % (wire.size() - kBgpHeaderSize)] = static_cast<std::uint8_t>(random());
        }
        if (random() % 4 == 0) {
            wire.resize(kBgpHeaderSize + random() % (wire.size() - kBgpHeaderSize));
        }
        run.message(wire);
        text.message(wire);
    }
    for (const nlohmann::json &line : lines(run.text())) {
        ASSERT_TRUE(line["kind"] == "update" || line["kind"] == "problem");
    }
    EXPECT_EQ(run.finish().blocks_leaked, 0U);
    EXPECT_EQ(text.finish().refused, run.decoder->summary().refused);
}

} // namespace
} // namespace qel::host
