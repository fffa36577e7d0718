#include "host/show_table.h"

#include "table_session.h"

#include "host/family_words.h"
#include "host/match.h"

#include <string>
#include <utility>

namespace qel::host {
namespace {

using namespace qel::test;

class ShowTableTest : public ::testing::Test {
protected:
    LeakCheck leaks;
};

TEST_F(ShowTableTest, RoutesInOrderWithTheirCrossValues)
{
    Tables tables;
    tables.announce(spmsi(1, 1)).announce(intra(1, 1));
    EXPECT_EQ(tables.text(with_cross()),
              "IPv4 NG-MVPN (AFI 1, SAFI 5)  2 routes\n"
              "  1  Intra-AS I-PMSI A-D  RD 100:1          originator 192.0.2.1\n"
              "       cross   marker 0xffffffff: a VPN, or a route target\n"
              "               RT <100 : 1>\n"
              "               RT <192.0.2.1 : 7>\n"
              "  3  S-PMSI A-D           RD 100:1          source 10.0.0.1         group 232.0.0.1        originator "
              "192.0.2.1\n"
              "       cross   marker 0xffffffff: a VPN, or a route target\n"
              "               RT <100 : 1>\n"
              "               RT <192.0.2.1 : 7>\n");
    tables.finish();
}

TEST_F(ShowTableTest, AWithdrawnRouteGoesAndOneThatComesAgainReplaces)
{
    Tables tables;
    tables.announce(intra(1, 1)).announce(intra(1, 2)).announce(intra(1, 2), bytes("0002006400000009"));
    tables.withdraw(intra(1, 1)).withdraw(intra(3, 3));
    const std::vector<nlohmann::json> out = tables.json(with_cross());
    ASSERT_EQ(out.size(), 2U);
    EXPECT_EQ(out[0], nlohmann::json::parse(R"({"kind":"table","family":"ng-mvpn","afi":1,"safi":5,"routes":1,
                                                "shown":1})"));
    EXPECT_EQ(out[1]["originator"], "192.0.2.2");
    EXPECT_EQ(out[1]["cross"][1], nlohmann::json::parse(R"({"form":"route_target","octets":"0200640009000000",
                                                            "text":"RT <100 : 9>"})"));
    tables.finish();
}

TEST_F(ShowTableTest, RoutesOfOneUpdateHaveItsAttributesAndThoseOfTheNextHaveTheirs)
{
    Tables tables;
    tables.announce(join({intra(1, 1), intra(1, 2)})).announce(intra(1, 3), {});
    const std::vector<nlohmann::json> out = tables.json(with_cross());
    ASSERT_EQ(out.size(), 4U);
    EXPECT_EQ(out[1]["cross"].size(), 3U);
    EXPECT_EQ(out[2]["cross"].size(), 3U);
    EXPECT_EQ(out[3]["cross"].size(), 1U);
    tables.finish();
}

TEST_F(ShowTableTest, AFilterHidesRoutesOfATableThatWasLoadedWhole)
{
    Tables tables;
    tables.announce(intra(1, 1)).announce(intra(2, 2), bytes("0002006400000009")).announce(intra(1, 3));
    tables.withdraw(intra(1, 3)); // a withdrawal names no route target, and counts all the same
    ShowOptions show = with_cross();
    show.filter.route_target = "100:1";
    EXPECT_EQ(tables.text(show).substr(0, 55), "IPv4 NG-MVPN (AFI 1, SAFI 5)  2 routes, 1 shown\n  1  In");
    show.filter.rd = "100:2";
    EXPECT_EQ(tables.text(show), "IPv4 NG-MVPN (AFI 1, SAFI 5)  2 routes, 0 shown\n");
    tables.finish();
}

TEST_F(ShowTableTest, RefusedRoutesAreLeftOutAndTheGoodOnesStay)
{
    Tables tables;
    tables.announce(intra(1, 1)).announce(bytes("0804 01020304")).announce(intra(1, 2));
    EXPECT_EQ(tables.json(with_cross()).size(), 3U);
    EXPECT_EQ(tables.session.diagnostics.size(), 1U);
    tables.finish();
}

// --- words ------------------------------------------------------------------------------------------------------

struct CrossRow {
    const char *nlri;
    const char *list;
    Component component;
    std::vector<std::pair<std::string, std::string>> values; // form and words
};

TEST_F(ShowTableTest, EveryFormOfACrossValueHasItsWords)
{
    const std::string vpn = "marker 0xffffffff: a VPN, or a route target";
    const CrossRow rows[] = {
        {"010c 0000000000000000 c0000201",
         "",
         Component::mvpn,
         {{"marker", "marker 0x00000000: global table, no route target"}}},
        {"010c 0000000000000000 c0000201",
         "0002006400000001",
         Component::mvpn,
         {{"marker", vpn}, {"route_target", "RT <100 : 1>"}}},
        {"0716 0000006400000001 0000fbf4 20 0a000001 20 e8000001",
         "0102c00002010003",
         Component::mvpn,
         {{"rewritten_route_target", "rewritten RT <192.0.2.1 : 3>, type 0x010b"}}},
        {"0716 0000000000000000 0000fbf4 20 0a000001 20 e8000001",
         "0102c00002010000",
         Component::mvpn,
         {{"rewritten_route_target", "rewritten RT of the global table <192.0.2.1 : 0>, type 0xffff"}}},
        {"0412 010c 0000006400000001 c0000201 c0000202",
         "0102c00002010000",
         Component::mvpn,
         {{"rewritten_route_target", "rewritten RT <192.0.2.1 : 0>, type 0x010b"}}},
        {"0412 010c 0000006400000001 c0000201 c0000202",
         "0102c00002010000",
         Component::mvrf,
         {{"private_target", "Leaf A-D, answers Intra-AS I-PMSI A-D RD 100:1 originator 192.0.2.1, RT <192.0.2.1 : "
                             "0>"}}},
        {"041c 0316 0000006400000001 20 0a000001 20 e8000001 c0000201 c0000202",
         "0002006400000001",
         Component::mvrf,
         {{"private_target", "Leaf A-D, answers S-PMSI A-D RD 100:1 source 10.0.0.1 group 232.0.0.1 originator "
                             "192.0.2.1, RT <100 : 1>"}}},
        {"0414 030e 0001c00002010007 00 00 c0000201 c0000202",
         "0002006400000001",
         Component::mvrf,
         {{"private_target",
           "Leaf A-D, answers S-PMSI A-D RD 192.0.2.1:7 source * group * originator 192.0.2.1, RT <100 : 1>"}}},
        {"0418 0312 0000006400000001 20 0a000001 00 c0000201 c0000202",
         "0002006400000001",
         Component::mvrf,
         {{"private_target", "Leaf A-D, answers S-PMSI A-D RD 100:1 source 10.0.0.1 group * (octets c0000201) "
                             "originator 0.0.0.0, RT <100 : 1>"}}},
    };
    for (const CrossRow &row : rows) {
        Tables tables(row.component);
        tables.announce(bytes(row.nlri), bytes(row.list));
        const std::vector<nlohmann::json> out = tables.json(with_cross());
        ASSERT_EQ(out.size(), 2U) << row.nlri;
        std::vector<std::pair<std::string, std::string>> values;
        for (const nlohmann::json &value : out[1]["cross"]) {
            values.emplace_back(value["form"], value["text"]);
        }
        EXPECT_EQ(values, row.values) << row.nlri;
        tables.finish();
    }
}

struct WordsRow {
    std::uint16_t afi;
    const char *value;
    const char *form;
    const char *words;
};

TEST_F(ShowTableTest, CrossValuesThatNoRouteOfASampleHasAreToldToo)
{
    const WordsRow rows[] = {
        {1, "0201 b80d0120 00000000 00000000 01000000 0700", "ipv6_route_target", "RT <2001:db8::1 . 7>"},
        {1, "0b01 b80d0120 00000000 00000000 01000000 0700", "rewritten_route_target",
         "rewritten RT <2001:db8::1 . 7>, type 0x010b"},
        {2, "08 0000006400000001 20010db8000000000000000000000001 0002006400000001", "private_target",
         "Leaf A-D, answers Intra-AS I-PMSI A-D RD 100:1 originator 2001:db8::1, RT <100 : 1>"},
        {2, "02 0000006400000001 00 00 c0000201 0102 20010db8000000000000000000000001 0007", "private_target",
         "Leaf A-D, answers S-PMSI A-D RD 100:1 source * group * originator 192.0.2.1, RT <2001:db8::1 . 7>"},
        {1, "03 0000006400000001 c0000201 00 0002006400000001", "private_target",
         "private target of type 3 0000006400000001c0000201000002006400000001"},
        {1, "05 0000006400000001 c0000201 0002006400000001", "private_target",
         "private target of type 5 0000006400000001c00002010002006400000001"},
        {1, "010203040506", "value", "010203040506"},
    };
    for (const WordsRow &row : rows) {
        const Family family = ng_mvpn(Component::mvrf, row.afi);
        const ExactCopy copy(bytes(row.value));
        Buffer out;
        const std::string_view form = family_words(FamilyKind::ng_mvpn).cross(out, family, {copy.data(), copy.size()});
        EXPECT_EQ(form, row.form) << row.value;
        EXPECT_EQ(fmt::to_string(out), row.words) << row.value;
    }
}

// No octets of any length are read past their end.
TEST_F(ShowTableTest, AnyOctetsHaveSomeWords)
{
    const Family ipv4 = ng_mvpn();
    const Family ipv6 = ng_mvpn(Component::mvpn, 2);
    std::mt19937 random(23);
    for (int round = 0; round < 20000; ++round) {
        Bytes value(random() % 90);
        for (std::uint8_t &octet : value) {
            octet = static_cast<std::uint8_t>(random() % 3 == 0 ? 0x20 : random() % 12);
        }
        const ExactCopy copy(value);
        const Octets octets{copy.data(), copy.size()};
        for (const Family *family : {&ipv4, &ipv6}) {
            for (const FamilyKind kind : {FamilyKind::ng_mvpn, FamilyKind::mdt}) {
                Buffer out;
                EXPECT_NE(family_words(kind).cross(out, *family, octets), "");
                for (const int type : {11, 13, 38, 39, 40}) {
                    family_words(kind).match(out, *family, {4, static_cast<std::uint16_t>(type), octets});
                }
            }
        }
    }
}

// --- match ------------------------------------------------------------------------------------------------------

std::vector<std::pair<int, std::string>> matches(const nlohmann::json &route)
{
    std::vector<std::pair<int, std::string>> out;
    for (const nlohmann::json &tlv : route["match"]) {
        out.emplace_back(tlv["type"], tlv["text"]);
    }
    return out;
}

TEST_F(ShowTableTest, WhatAPolicyMatchesOn)
{
    Tables tables;
    tables.announce(intra(1, 1)).announce(bytes("0512 0000006400000001 20 0a000001 20 e8000001"));
    const std::vector<nlohmann::json> out = tables.json(with_match());
    const std::string list = "RT <100 : 1>, RT <192.0.2.1 : 7>";
    EXPECT_EQ(matches(out[1]),
              (std::vector<std::pair<int, std::string>>{{11, "communities " + list},
                                                        {38, "route type 1"},
                                                        {13, "RD 100:1"},
                                                        {11, "communities for a segmented next hop " + list},
                                                        {39, "originator 192.0.2.1"}}));
    EXPECT_EQ(matches(out[2]),
              (std::vector<std::pair<int, std::string>>{{11, "communities " + list}, {13, "RD 100:1"}}));
    EXPECT_NE(tables.text(with_match())
                  .find("\n       match   11  communities RT <100 : 1>, RT <192.0.2.1 : 7>\n               38  route"),
              std::string::npos);
    tables.finish();
}

TEST_F(ShowTableTest, ARouteWithoutCommunitiesHasNoneToMatch)
{
    Tables tables;
    tables.announce(intra(1, 1), {});
    EXPECT_EQ(matches(tables.json(with_match())[1]),
              (std::vector<std::pair<int, std::string>>{
                  {38, "route type 1"}, {13, "RD 100:1"}, {39, "originator 192.0.2.1"}}));
    tables.finish();
}

// The family gives eight octets for an IPv6 originator and writes none of them.
TEST_F(ShowTableTest, OctetsThatTheFamilyDidNotWriteAreNotLookedAt)
{
    Tables tables;
    tables.announce(bytes("0118 0000006400000001 20010db8000000000000000000000001"), {});
    EXPECT_EQ(matches(tables.json(with_match())[1]),
              (std::vector<std::pair<int, std::string>>{{38, "route type 1"}, {13, "RD 100:1"}}));
    tables.finish();
}

// --- policy -----------------------------------------------------------------------------------------------------

std::vector<std::string> texts(const nlohmann::json &list)
{
    std::vector<std::string> out;
    for (const nlohmann::json &community : list) {
        out.push_back(community["text"]);
    }
    return out;
}

struct PolicyRow {
    PolicyAction::Kind kind;
    const char *before;
    const char *value;
    std::vector<std::string> after;
    const char *empty; // the text of the listing, if the list is empty
};

TEST_F(ShowTableTest, WhatEachActionMakesOfTheCommunities)
{
    using Kind = PolicyAction::Kind;
    const PolicyRow rows[] = {
        {Kind::add, "0002006400000001", "0002006400000002", {"RT <100 : 1>", "RT <100 : 2>"}, nullptr},
        {Kind::add, "0002006400000001", "0002006400000001", {"RT <100 : 1>"}, nullptr},
        {Kind::add, "", "0002006400000001", {"RT <100 : 1>"}, nullptr},
        {Kind::replace,
         "0002006400000001 0009fbf400000000",
         "0002006400000002",
         {"RT <100 : 2>", "Source AS <64500 : 0>"},
         nullptr},
        {Kind::replace, "0002006400000001", "", {}, "no communities remain"},
        {Kind::remove, "0002006400000001 0009fbf400000000", "", {"Source AS <64500 : 0>"}, nullptr},
        {Kind::remove, "0002006400000001", "0002006400000002", {}, "no communities remain"},
        {Kind::remove, "", "", {}, "no communities remain"},
    };
    for (const PolicyRow &row : rows) {
        Tables tables;
        tables.announce(intra(1, 1), bytes(row.before));
        const ShowOptions show = with_action(row.kind, bytes(row.value));
        const nlohmann::json route = tables.json(show)[1];
        EXPECT_EQ(texts(route["after"]), row.after) << row.before << " by " << row.value;
        EXPECT_EQ(texts(route["before"]).size(), bytes(row.before).size() / 8);
        const std::string listing = tables.text(show);
        if (row.empty != nullptr) {
            EXPECT_NE(listing.find(std::string("       after   ") + row.empty + "\n"), std::string::npos) << listing;
        }
        EXPECT_EQ(tables.failures, 0U);
        tables.finish();
    }
}

TEST_F(ShowTableTest, AnActionLeavesTheTableAsItIs)
{
    Tables tables;
    tables.announce(intra(1, 1));
    const std::string before = tables.text(with_cross());
    tables.text(with_action(PolicyAction::Kind::remove));
    EXPECT_EQ(tables.text(with_cross()), before);
    tables.finish();
}

// --- failures ---------------------------------------------------------------------------------------------------

TEST_F(ShowTableTest, EveryAllocationMayFailAndTheRestIsShown)
{
    const std::pair<ShowOptions, const char *> cases[] = {
        {with_cross(), "cross values failed"},
        {with_match(), "match buffer failed"},
        {with_action(PolicyAction::Kind::replace, bytes("0002006400000002")), "policy action failed"}};
    for (const auto &[show, told] : cases) {
        Tables tables;
        tables.announce(intra(1, 1));
        std::uint64_t at = 0;
        for (bool fired = true; fired; ++at) {
            const platform::Recorder recorder;
            const platform::FailAllocation failing(at);
            tables.diagnostics.clear();
            const std::string listing = tables.text(show);
            fired = failing.fired();
            EXPECT_EQ(tables.failures, fired ? 1U : 0U) << told << at;
            EXPECT_EQ(tables.diagnostics.size(), tables.failures);
            EXPECT_EQ(listing.find("failed 0x") != std::string::npos, fired) << listing;
            if (fired) {
                EXPECT_NE(tables.diagnostics[0].find(told), std::string::npos) << tables.diagnostics[0];
            }
        }
        EXPECT_GE(at, 4U) << told; // at least three allocations that failed
        tables.finish();
    }
}

TEST_F(ShowTableTest, AFailureIsAMemberOfTheRoute)
{
    Tables tables;
    tables.announce(intra(1, 1));
    const platform::Recorder recorder;
    const platform::FailAllocation failing(1);
    const nlohmann::json route = tables.json(with_cross())[1];
    EXPECT_EQ(route["cross"].size(), 1U);
    EXPECT_EQ(route["cross_code"], "0x3");
    tables.finish();
}

TEST_F(ShowTableTest, AMatchTypeThatIsNotWrittenGivesNoTlv)
{
    const Family family = ng_mvpn();
    std::vector<std::uint16_t> types;
    const StoredRoute stored = route_of(family, intra(1, 1));
    const std::uint32_t code = for_each_match(
        family, stored.info(), [](std::uint32_t match) { return match != 0x800; },
        [&](const MatchTlv &tlv) { types.push_back(tlv.type); });
    EXPECT_EQ(code, 0U);
    EXPECT_EQ(types, (std::vector<std::uint16_t>{38, 39}));
}

} // namespace
} // namespace qel::host
