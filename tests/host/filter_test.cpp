#include "host/filter.h"

#include "decode_session.h"
#include "update_builder.h"

#include <nlohmann/json.hpp>

#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace qel::host {
namespace {

using test::attribute;
using test::Bytes;
using test::bytes;
using test::join;
using test::LeakCheck;
using test::lines;
using test::mp_reach;
using test::mp_unreach;
using test::Session;
using test::update;

// --- what may be asked for --------------------------------------------------------------------------------------

TEST(FilterTextTest, RouteDistinguisherInItsForms)
{
    const std::pair<const char *, const char *> rows[] = {
        {"65000:99999", "65000:99999"},
        {"0:0", "0:0"},
        {"65535:4294967295", "65535:4294967295"},
        {"10.0.0.1:5", "10.0.0.1:5"},
        {"70000:5", "70000:5"},
        {"1.4464:5", "70000:5"},
        {"3:0xFFFF00000001", "3:0xffff00000001"},
    };
    for (const auto &[text, canonical] : rows) {
        EXPECT_EQ(canonical_rd(text), canonical) << text;
    }
    for (const char *text : {"",
                             ":",
                             "100",
                             "100:",
                             ":1",
                             "100:1:1",
                             "100:x",
                             "-1:1",
                             "1 :1",
                             "70000:65536",
                             "1.2:65536",
                             "10.0.0.1:65536",
                             "10.0.0:1",
                             "10.0.0.256:1",
                             "65000:4294967296",
                             "4294967296:1",
                             "65536.1:1",
                             "3:0x12",
                             "3:0x00000000000g",
                             "*:1",
                             "*"}) {
        EXPECT_EQ(canonical_rd(text), std::nullopt) << text;
    }
}

TEST(FilterTextTest, RouteTargetInItsForms)
{
    const std::pair<const char *, const char *> rows[] = {
        {"100:1", "100:1"},
        {"65535:4294967295", "65535:4294967295"},
        {"192.0.2.1:5", "192.0.2.1:5"},
        {"0.100:5", "0.100:5"},
        {"65536:5", "1.0:5"},
        {"2001:db8::1.7", "2001:db8::1.7"},
        {"2001:0DB8:0::1.7", "2001:db8::1.7"},
        {"RT <100 : 1>", "100:1"},
        {"RT <2001:db8::1 . 7>", "2001:db8::1.7"},
    };
    for (const auto &[text, canonical] : rows) {
        EXPECT_EQ(canonical_route_target(text), canonical) << text;
    }
    for (const char *text : {"", "100", "100:", "RT", "2001:db8::1", "2001:db8::1.65536", "2001:db8::g.7",
                             "65536:65536", "::.", "a:b:c"}) {
        EXPECT_EQ(canonical_route_target(text), std::nullopt) << text;
    }
}

TEST(FilterTextTest, TypesAndAddresses)
{
    EXPECT_EQ(route_types("3"), 0x08U);
    EXPECT_EQ(route_types("1,7,3"), 0x8aU);
    for (const char *text : {"", "0", "8", "3,", ",3", "3;4", "3,8", "x"}) {
        EXPECT_EQ(route_types(text), std::nullopt) << text;
    }
    EXPECT_EQ(flow_address("*")->kind, MvpnAddress::Kind::wildcard);
    EXPECT_EQ(flow_address("10.0.0.1")->value.uiIpv4, 0x0a000001U);
    EXPECT_EQ(flow_address("ff0e::1")->kind, MvpnAddress::Kind::ipv6);
    for (const char *text : {"", "10.0.0", "10.0.0.1/32", "ff0e", "**", "wildcard"}) {
        EXPECT_FALSE(flow_address(text)) << text;
    }
}

// --- what is shown ----------------------------------------------------------------------------------------------

const Bytes kNextHop = bytes("0a0a0603");
const Bytes kActive = bytes("05 12 0000 fde8 0001869f 20 0a630c04 20 effbffe4"); // RD 65000:99999
const Bytes kActiveV6 = bytes("05 2a 0001 0a000001 0005 80 fd120000000000000000000000000004 "
                              "80 ff0e0000000000000000000000000001");                   // RD 10.0.0.1:5
const Bytes kJoin = bytes("06 16 0002 00011170 0005 0000fde8 20 0a63c701 20 effbffe4"); // RD 70000:5
const Bytes kStarStar = bytes("03 0e 0000 fde8 0001869f 00 00 0a0a0a0a");
const Bytes kIntra = bytes("01 0c 0000 fde8 0001869f 0a0a0a0a");
const Bytes kType8 = bytes("08 0c 0000 fde8 0001869f 01020304");
const Bytes kTargets = attribute(16, bytes("0002006400000001 0102c0000201 0005 0202000100000005 010b0a0000010003"));
const Bytes kIpv6Targets = attribute(25, bytes("0002 20010db8000000000000000000000001 0007"));

class FilterTest : public testing::Test {
protected:
    static DecodeOptions options(const RouteFilter &filter)
    {
        DecodeOptions out;
        out.json = true;
        out.filter = filter;
        return out;
    }

    // "1:5,3 2:6": the routes shown by the packets that they came in.
    static std::string shown(const RouteFilter &filter)
    {
        Session run(options(filter));
        run.message(update(join({mp_reach(1, 5, kNextHop, join({kActive, kStarStar, kIntra})), kTargets})))
            .message(update(mp_reach(2, 5, kNextHop, kActiveV6)))
            .message(update(join({mp_unreach(1, 5, kActive), mp_reach(1, 5, kNextHop, kJoin), kIpv6Targets})));
        std::string out;
        for (const nlohmann::json &line : lines(run.text())) {
            out += out.empty() ? "" : " ";
            out += std::to_string(line["number"].get<int>()) + ":";
            for (const nlohmann::json &nlri : line["nlri"]) {
                EXPECT_FALSE(nlri["routes"].empty()) << "no routes of it match";
                out += nlri["action"] == "withdraw" ? "-" : "";
                for (const nlohmann::json &route : nlri["routes"]) {
                    out += std::to_string(route["type"].get<int>());
                }
            }
        }
        const Summary &summary = run.finish();
        EXPECT_EQ(summary.updates_shown + summary.updates_without_match, 3U);
        EXPECT_EQ(summary.blocks_leaked, 0U);
        return out;
    }

private:
    LeakCheck leaks_;
};

TEST_F(FilterTest, OnlyMatchingRoutesAreShown)
{
    EXPECT_EQ(shown({}), "1:531 2:5 3:-56");
    EXPECT_EQ(shown({.types = route_types("5")}), "1:5 2:5 3:-5");
    EXPECT_EQ(shown({.types = route_types("1,6")}), "1:1 3:6");
    EXPECT_EQ(shown({.types = route_types("7")}), "");
    EXPECT_EQ(shown({.rd = canonical_rd("65000:99999")}), "1:531 3:-5");
    EXPECT_EQ(shown({.rd = canonical_rd("10.0.0.1:5")}), "2:5");
    EXPECT_EQ(shown({.rd = canonical_rd("1.4464:5")}), "3:6");
    EXPECT_EQ(shown({.source = flow_address("10.99.12.4")}), "1:5 3:-5");
    EXPECT_EQ(shown({.source = flow_address("fd12::4")}), "2:5");
    EXPECT_EQ(shown({.source = flow_address("*")}), "1:3") << "a route without a source is none with a wildcard";
    EXPECT_EQ(shown({.group = flow_address("239.251.255.228")}), "1:5 3:-56");
    EXPECT_EQ(shown({.group = flow_address("ff0e::1")}), "2:5");
    EXPECT_EQ(shown({.group = flow_address("*")}), "1:3");
    EXPECT_EQ(shown({.types = route_types("6"), .group = flow_address("239.251.255.228")}), "3:6");
    EXPECT_EQ(shown({.types = route_types("3"), .group = flow_address("239.251.255.228")}), "");
}

TEST_F(FilterTest, RouteTargetIsTheUpdatesAndOfItsAnnouncedRoutesAlone)
{
    for (const char *target : {"100:1", "192.0.2.1:5", "1.0:5", "65536:5", "RT <100 : 1>"}) {
        EXPECT_EQ(shown({.route_target = canonical_route_target(target)}), "1:531") << target;
    }
    EXPECT_EQ(shown({.route_target = canonical_route_target("2001:db8::1.7")}), "3:6");
    EXPECT_EQ(shown({.route_target = canonical_route_target("10.0.0.1:3")}), "") << "a VRF Route Import is no target";
    EXPECT_EQ(shown({.route_target = canonical_route_target("100:2")}), "");
    EXPECT_EQ(shown({.types = route_types("3"), .route_target = canonical_route_target("100:1")}), "1:3");
}

TEST_F(FilterTest, RefusalsAreStillReportedAndCounted)
{
    Session run(options({.types = route_types("6")}));
    run.message(update(mp_reach(1, 5, kNextHop, join({kType8, kActive}))))
        .message(update(join({attribute(16, bytes("00")), mp_reach(1, 5, kNextHop, join({kType8, kJoin}))})))
        .message(update(mp_unreach(1, 5, {})))
        .message(update(mp_unreach(1, 66, bytes("80 0000006400000001 0a000001 ef010101"))));
    const std::vector<nlohmann::json> out = lines(run.text());
    ASSERT_EQ(out.size(), 1U);
    EXPECT_EQ(out[0]["nlri"][0]["routes"].size(), 1U);
    EXPECT_EQ(out[0]["nlri"][0]["refused"].size(), 1U) << "only its own";
    EXPECT_EQ(out[0]["refused"].size(), 1U);
    EXPECT_EQ(run.diagnostics.size(), 3U);
    const Summary &summary = run.finish();
    EXPECT_EQ(summary.refused.at(0x60002), 2U);
    EXPECT_EQ(summary.refused.at(0x30009), 1U);
    EXPECT_EQ(summary.routes[5].announced, 1U) << "all routes count";
    EXPECT_EQ(summary.routes_matched, 1U);
    EXPECT_EQ(summary.updates_shown, 1U);
    EXPECT_EQ(summary.updates_without_match, 3U);
    EXPECT_EQ(summary.end_of_rib, 1U);
}

TEST_F(FilterTest, WhatIsLeftOutLeavesNothingBehind)
{
    const auto both = [](bool json) {
        DecodeOptions out = options({.types = route_types("6")});
        out.json = json;
        Session filtered(out);
        DecodeOptions plain;
        plain.json = json;
        Session alone(plain);
        const Bytes wanted = update(mp_reach(1, 5, kNextHop, kJoin));
        const Bytes mixed = update(join({mp_unreach(1, 5, join({kActive, kType8})), mp_reach(1, 5, kNextHop, kJoin)}));
        const Bytes unwanted = update(join({kTargets, attribute(16, bytes("00")), mp_reach(1, 5, kNextHop, kActive)}));
        filtered.message(unwanted).message(wanted).message(unwanted).message(mixed).message(unwanted);
        alone.origin.number = 2;
        alone.message(wanted);
        alone.origin.number = 4;
        alone.message(wanted);
        return std::pair(filtered.text(), alone.text());
    };
    const auto [text, text_alone] = both(false);
    EXPECT_EQ(text, text_alone);
    const auto [json, json_alone] = both(true);
    const std::vector<nlohmann::json> have = lines(json);
    ASSERT_EQ(have.size(), 2U);
    EXPECT_EQ(have[0], lines(json_alone).at(0));
    EXPECT_EQ(have[1]["nlri"].size(), 1U);
    EXPECT_FALSE(have[1]["nlri"][0].contains("refused")) << "that of the withdrawal";
    EXPECT_FALSE(have[1].contains("attributes"));
}

TEST_F(FilterTest, SummaryTellsHowManyRoutesMatched)
{
    for (const bool json : {false, true}) {
        DecodeOptions with = options({.types = route_types("5")});
        with.json = json;
        Session run(with);
        run.message(update(mp_reach(1, 5, kNextHop, join({kActive, kIntra, kActive}))))
            .message(update(mp_reach(1, 5, kNextHop, kJoin)));
        run.text();
        run.finish();
        const std::string text = run.text();
        if (json) {
            const nlohmann::json summary = nlohmann::json::parse(text);
            EXPECT_EQ(summary["routes_matched"], 2);
            EXPECT_EQ(summary["updates"], nlohmann::json::parse(R"({"shown":1,"no_match":1,"not_shown":0})"));
            EXPECT_EQ(summary["routes"][0]["announced"], 1);
        } else {
            EXPECT_NE(text.find("  UPDATEs shown                  1   1 without a match, 0 of other families, "
                                "0 End-of-RIB\n"),
                      std::string::npos)
                << text;
            EXPECT_NE(text.find("  routes matched                 2   by the filter\n"), std::string::npos) << text;
        }
    }
    Session plain;
    plain.finish();
    EXPECT_EQ(plain.text().find("matched"), std::string::npos);
}

TEST_F(FilterTest, StatsShowTheSummaryAlone)
{
    for (const bool json : {false, true}) {
        DecodeOptions quiet;
        quiet.json = json;
        Session loud(quiet);
        quiet.stats = true;
        Session run(quiet);
        const auto feed = [](Session &session) {
            session.message(update(join({kTargets, mp_reach(1, 5, kNextHop, join({kActive, kType8}))})));
            session.message(test::message(2, bytes("0009 18")));
        };
        feed(run);
        EXPECT_EQ(run.text(), "");
        EXPECT_EQ(run.diagnostics.size(), 2U);
        run.finish();
        feed(loud);
        loud.text();
        loud.finish();
        EXPECT_EQ(run.text(), loud.text());
    }
}

} // namespace
} // namespace qel::host
