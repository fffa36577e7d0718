#include "host/show_table.h"

#include "table_session.h"

#include "host/family_words.h"
#include "host/match.h"

#include <algorithm>
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

TEST_F(ShowTableTest, EachAfiHasATableOfItsOwnInTheOrderInWhichTheyCameUp)
{
    Tables tables;
    tables.announce(bytes("0118 0000006400000001 20010db8000000000000000000000001"), {}, 2).announce(intra(1, 1), {});
    tables.announce(bytes("0118 0000006400000002 20010db8000000000000000000000001"), {}, 2);
    EXPECT_EQ(tables.text({}), "IPv6 NG-MVPN (AFI 2, SAFI 5)  2 routes\n"
                               "  1  Intra-AS I-PMSI A-D  RD 100:1          originator 2001:db8::1\n"
                               "  1  Intra-AS I-PMSI A-D  RD 100:2          originator 2001:db8::1\n"
                               "IPv4 NG-MVPN (AFI 1, SAFI 5)  1 route\n"
                               "  1  Intra-AS I-PMSI A-D  RD 100:1          originator 192.0.2.1\n");
    tables.finish();
}

TEST_F(ShowTableTest, AnEmptyTableHasItsHeadAlone)
{
    Tables tables;
    tables.announce(intra(1, 1)).withdraw(intra(1, 1));
    EXPECT_EQ(tables.text(with_cross()), "IPv4 NG-MVPN (AFI 1, SAFI 5)  0 routes\n");
    tables.finish();
}

TEST_F(ShowTableTest, TheAttributesOfAnUpdateGoWithTheLastRouteThatHasThem)
{
    Tables tables;
    const std::uint64_t before = platform::usage(kMemHandle).live_blocks;
    tables.announce(join({intra(1, 1), intra(1, 2)}));
    EXPECT_EQ(platform::usage(kMemHandle).live_blocks, before + 3);
    tables.rib.clear();
    EXPECT_EQ(platform::usage(kMemHandle).live_blocks, before);
    tables.finish();
}

TEST_F(ShowTableTest, OnlyTheListsThatAreAskedForAreShown)
{
    Tables tables;
    tables.announce(intra(1, 1));
    const auto lists = [&](const ShowOptions &show) {
        std::string out;
        const nlohmann::json route = tables.json(show).at(1);
        for (const char *name : {"cross", "match", "before", "after"}) {
            out += route.contains(name) ? std::string(name) + " " : "";
        }
        return out;
    };
    EXPECT_EQ(lists({}), "");
    EXPECT_EQ(lists(with_cross()), "cross ");
    EXPECT_EQ(lists(with_match()), "match ");
    EXPECT_EQ(lists(with_action(PolicyAction::Kind::remove)), "before after ");
    tables.finish();
}

TEST_F(ShowTableTest, AFilterThatIsNotGivenCountsEveryRouteAsShown)
{
    Tables tables;
    tables.announce(join({intra(1, 1), intra(1, 2)}));
    EXPECT_EQ(tables.text({}).substr(0, 40), "IPv4 NG-MVPN (AFI 1, SAFI 5)  2 routes\n ");
    EXPECT_EQ(tables.json({}).at(0)["shown"], 2);
    tables.finish();
}

TEST_F(ShowTableTest, AFilterByRdAndOneByRouteTargetBothHideRoutes)
{
    Tables tables;
    tables.announce(intra(1, 1)).announce(intra(2, 2)).announce(intra(1, 3), bytes("0002006400000009"));
    const auto shown = [&](const char *rd, const char *target) {
        ShowOptions show;
        show.filter.rd = rd;
        show.filter.route_target = target;
        const std::vector<nlohmann::json> out = tables.json(show);
        EXPECT_EQ(out[0]["routes"], 3);
        EXPECT_EQ(out[0]["shown"], out.size() - 1);
        std::string originators;
        for (std::size_t i = 1; i < out.size(); ++i) {
            originators += out[i]["originator"].get<std::string>() + " ";
        }
        return originators;
    };
    EXPECT_EQ(shown("100:1", "100:1"), "192.0.2.1 ");
    EXPECT_EQ(shown("100:2", "100:1"), "192.0.2.2 ");
    EXPECT_EQ(shown("100:1", "100:9"), "192.0.2.3 ");
    EXPECT_EQ(shown("100:2", "100:9"), "");
    tables.finish();
}

TEST_F(ShowTableTest, ARouteOfATableIsAnObjectWithItsFamilyItsKeyAndItsLists)
{
    Tables tables;
    tables.announce(intra(1, 1), bytes("0002006400000001"));
    const nlohmann::json expected = nlohmann::json::parse(
        R"({"kind":"route","family":"ng-mvpn","afi":1,"safi":5,"type":1,"name":"Intra-AS I-PMSI A-D","rd":"100:1",
            "rd_type":0,"originator":"192.0.2.1",
            "cross":[{"form":"marker","octets":"ffffffff","text":"marker 0xffffffff: a VPN, or a route target"},
                     {"form":"route_target","octets":"0200640001000000","text":"RT <100 : 1>"}]})");
    EXPECT_EQ(tables.json(with_cross()).at(1), expected);
    tables.finish();
}

TEST_F(ShowTableTest, ColoursMoveNoColumn)
{
    Tables tables;
    tables.announce(join({intra(1, 1), spmsi(1, 1)}));
    for (const ShowOptions &show : {with_cross(), with_match(), with_action(PolicyAction::Kind::remove)}) {
        const std::string plain = tables.text(show);
        const std::string coloured = tables.coloured(show);
        EXPECT_NE(coloured, plain);
        std::string bare;
        for (std::size_t at = 0; at < coloured.size(); ++at) {
            if (coloured[at] == '\x1b') {
                at = coloured.find('m', at);
            } else {
                bare += coloured[at];
            }
        }
        EXPECT_EQ(bare, plain);
    }
    tables.finish();
}

TEST_F(ShowTableTest, ALongListingIsWrittenWhileItGrows)
{
    Tables tables;
    for (int i = 0; i < 4000; ++i) {
        tables.announce(spmsi(static_cast<std::uint8_t>(i >> 8), static_cast<std::uint8_t>(i)));
    }
    for (const bool json : {false, true}) {
        std::size_t longest = 0;
        Output out([&](std::string_view piece) { longest = std::max(longest, piece.size()); });
        show_tables(tables.rib, with_cross(), json ? *make_json_listing(out) : *make_text_listing(out, false));
        EXPECT_GT(longest, 0U) << "something left before the end";
        out.flush();
        EXPECT_LT(longest, 200000U);
    }
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

TEST_F(ShowTableTest, ATermOfAMatchIsAnObjectOfTypeOctetsAndText)
{
    Tables tables;
    tables.announce(intra(1, 1), {});
    EXPECT_EQ(tables.json(with_match()).at(1)["match"],
              nlohmann::json::parse(R"([{"type":38,"octets":"01","text":"route type 1"},
                                        {"type":13,"octets":"0000640001000000","text":"RD 100:1"},
                                        {"type":39,"octets":"c0000201","text":"originator 192.0.2.1"}])"));
    tables.finish();
}

TEST_F(ShowTableTest, MatchTypesAreAskedOneAtATimeFromTheLowestBitOn)
{
    const Family family = ng_mvpn();
    const StoredRoute stored = route_of(family, intra(1, 1), communities_of(family, bytes("0002006400000001")));
    std::vector<std::uint32_t> bits;
    for_each_match(
        family, stored.info(), [](std::uint32_t) { return true; },
        [&](const MatchTlv &tlv) { bits.push_back(tlv.match); });
    EXPECT_EQ(bits.size(), 5U);
    for (std::size_t i = 0; i < bits.size(); ++i) {
        EXPECT_EQ(bits[i] & (bits[i] - 1), 0U) << "one bit";
        EXPECT_NE(bits[i] & family.desc().auiMatchTypeMask[0], 0U);
        EXPECT_TRUE(i == 0 || bits[i - 1] < bits[i]);
    }
}

TEST_F(ShowTableTest, AMatchTypeThatFailsIsTheLastThatIsAsked)
{
    const Family family = ng_mvpn();
    const StoredRoute stored = route_of(family, intra(1, 1));
    const platform::FailAllocation failing(0);
    const platform::Recorder recorder;
    std::size_t found = 0;
    EXPECT_NE(for_each_match(
                  family, stored.info(), [](std::uint32_t) { return true; }, [&](const MatchTlv &) { ++found; }),
              0U);
    EXPECT_EQ(found, 0U);
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

TEST_F(ShowTableTest, ActionsHaveTheNumbersThatFamiliesKnowThemBy)
{
    using Kind = PolicyAction::Kind;
    EXPECT_EQ(PolicyAction(Kind::replace, {}).code(), 6U);
    EXPECT_EQ(PolicyAction(Kind::add, {}).code(), 7U);
    EXPECT_EQ(PolicyAction(Kind::remove, {}).code(), 87U);
    EXPECT_EQ(PolicyAction(Kind::replace_tunnel, {}).code(), 61U);
}

TEST_F(ShowTableTest, AListThatIsEmptyFromTheBeginningIsToldApartFromOneThatAnActionEmpties)
{
    Tables tables;
    tables.announce(intra(1, 1), {}).announce(intra(1, 2), bytes("0002006400000001"));
    const std::string out = tables.text(with_action(PolicyAction::Kind::remove));
    EXPECT_NE(out.find("192.0.2.1\n       before  no communities\n       after   no communities remain\n"),
              std::string::npos)
        << out;
    EXPECT_NE(out.find("192.0.2.2\n       before  RT <100 : 1>\n       after   no communities remain\n"),
              std::string::npos)
        << out;
    tables.finish();
}

TEST_F(ShowTableTest, CommunitiesOfAnActionAreObjectsLikeThoseOfAnUpdate)
{
    Tables tables;
    tables.announce(intra(1, 1), bytes("0002006400000001"));
    const nlohmann::json route = tables.json(with_action(PolicyAction::Kind::add, bytes("0002006400000002"))).at(1);
    const nlohmann::json one =
        nlohmann::json::parse(R"({"type":"0x0002","text":"RT <100 : 1>","global":100,"local":1})");
    const nlohmann::json two =
        nlohmann::json::parse(R"({"type":"0x0002","text":"RT <100 : 2>","global":100,"local":2})");
    EXPECT_EQ(route["before"], nlohmann::json::array({one}));
    EXPECT_EQ(route["after"], nlohmann::json::array({one, two}));
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

TEST_F(ShowTableTest, AFailureIsToldWithFamilyListCodeAndMeaning)
{
    Tables tables;
    tables.announce(intra(1, 1));
    const platform::Recorder recorder;
    const platform::FailAllocation failing(0);
    EXPECT_NE(tables.text(with_cross()).find("\n       cross   failed 0x3\n"), std::string::npos);
    EXPECT_EQ(tables.diagnostics,
              std::vector<std::string>{"IPv4 NG-MVPN: cross values failed, 0x3, " + std::string(code_meaning(3))});
    tables.finish();
}

TEST_F(ShowTableTest, AnActionThatFailsShowsTheListBeforeAndItsCodeInPlaceOfTheListAfter)
{
    Tables tables;
    tables.announce(intra(1, 1));
    for (const bool json : {false, true}) {
        const platform::Recorder recorder;
        const platform::FailAllocation failing(0);
        const ShowOptions show = with_action(PolicyAction::Kind::replace, bytes("0002006400000002"));
        if (json) {
            const nlohmann::json route = tables.json(show).at(1);
            EXPECT_EQ(route["before"].size(), 2U);
            EXPECT_FALSE(route.contains("before_code"));
            EXPECT_EQ(route["after"].size(), 0U);
            EXPECT_TRUE(route.contains("after_code"));
        } else {
            const std::string out = tables.text(show);
            EXPECT_NE(
                out.find("       before  RT <100 : 1>\n               RT <192.0.2.1 : 7>\n       after   failed "),
                std::string::npos)
                << out;
        }
    }
    EXPECT_EQ(tables.diagnostics.size(), 2U);
    tables.finish();
}

TEST_F(ShowTableTest, FailuresOfAllTablesCount)
{
    Tables tables;
    tables.announce(intra(1, 1)).announce(bytes("80 0000006400000001 0a000001 ef010101"), {}, 1, 66);
    const platform::Recorder recorder;
    const platform::FailAllocation failing(0);
    tables.text(with_cross());
    EXPECT_EQ(tables.failures, 1U);
    tables.finish();
}

TEST_F(ShowTableTest, AFailureBehindValuesIsToldBelowThem)
{
    Tables tables;
    tables.announce(intra(1, 1));
    const platform::Recorder recorder;
    const platform::FailAllocation failing(1);
    EXPECT_NE(tables.text(with_cross())
                  .find("       cross   marker 0xffffffff: a VPN, or a route target\n               failed 0x3\n"),
              std::string::npos);
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
