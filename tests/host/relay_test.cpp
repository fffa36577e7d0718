// The listing of the messages, and what is said when one of them fails.
#include "host/relay.h"

#include "host/family_words.h"

#include "decode_session.h"
#include "table_cases.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using namespace qel;
using namespace qel::host;
using namespace qel::test;

// A decoder that sends its routes around.
struct RelaySession {
    explicit RelaySession(bool json = false)
        : relay(json ? make_json_relay_listing(out) : make_text_relay_listing(out, false), kMemHandle,
                [this](std::string_view line) { diagnostics.emplace_back(line); }),
          session(with(relay))
    {
    }

    static DecodeOptions with(Relay &relay)
    {
        DecodeOptions options;
        options.stats = true;
        options.routes = &relay;
        return options;
    }

    std::string text()
    {
        out.flush();
        return std::exchange(written, {});
    }

    void finish()
    {
        relay.clear();
        EXPECT_EQ(session.finish().blocks_leaked, 0U);
    }

    std::string written;
    Output out{[this](std::string_view piece) { written += piece; }};
    std::vector<std::string> diagnostics;
    Relay relay;
    Session session;
};

// RD 100:1, source 10.0.0.1, group 239.1.1.1
const Bytes kMdt = bytes("80 0000006400000001 0a000001 ef010101");

Bytes update_of(const Bytes &nlri)
{
    return update(mp_reach(1, 5, bytes("0a0a0603"), nlri));
}

TEST(Relay, AFailedMessageIsToldWithItsPlaceAndTheRestIsShown)
{
    const LeakCheck leaks;
    RelaySession quiet;
    quiet.session.message(update_of(intra(1, 1)));
    const std::string all = quiet.text();
    quiet.finish();

    RelaySession relay;
    relay.session.message(update_of(intra(1, 2))); // the components come up
    relay.text();
    {
        const platform::FailAllocation fail(1); // 0: the decoder's route
        relay.session.message(update_of(intra(1, 1)));
        EXPECT_TRUE(fail.fired());
    }
    EXPECT_EQ(relay.relay.failures(), 1U);
    ASSERT_EQ(relay.diagnostics.size(), 1U);
    EXPECT_EQ(relay.diagnostics[0], "test.pcap: packet 2, octet 35: HA 1 from mvpn to mvpn-backup failed, 0x50001, " +
                                        std::string(code_meaning(0x50001)));
    const std::string text = relay.text();
    EXPECT_NE(text.find("      mvpn -> mvpn-backup  HA 1           26 octets    "
                        "0015000402000000000b000e010c0000006400000001c0000201\n        failed 0x50001\n"),
              std::string::npos)
        << text;
    EXPECT_NE(text.find("mvrf -> mvpn         message 53     14 octets    010c0000006400000001c0000201\n"),
              std::string::npos);
    relay.finish();
}

TEST(Relay, JsonTellsACode)
{
    const LeakCheck leaks;
    RelaySession relay(true);
    relay.session.message(update_of(intra(1, 2)));
    relay.text();
    {
        const platform::FailAllocation fail(1);
        relay.session.message(update_of(intra(1, 1)));
    }
    const std::vector<nlohmann::json> out = lines(relay.text());
    ASSERT_EQ(out.size(), 1U);
    EXPECT_EQ(out[0]["messages"][0]["code"], "0x50001");
    EXPECT_EQ(out[0]["messages"][0]["text"], nlohmann::json::array());
    EXPECT_FALSE(out[0]["messages"][1].contains("code"));
    relay.finish();
}

// One head line per UPDATE, however many routes it has; no line of an UPDATE whose routes are filtered out.
TEST(Relay, RoutesOfOneUpdateStandBelowOneHeadLine)
{
    RelaySession relay;
    relay.session.message(update_of(join({intra(1, 1), intra(2, 2)})));
    relay.session.message(update(mp_unreach(1, 5, intra(1, 1))));
    const std::string text = relay.text();
    std::vector<std::string> heads;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        if (!line.empty() && (line[0] != ' ' || line.starts_with("  a") || line.starts_with("  w"))) {
            heads.push_back(line);
        }
    }
    EXPECT_EQ(heads, (std::vector<std::string>{"test.pcap  packet 1", "  announced  IPv4 NG-MVPN, octet 35",
                                               "  announced  IPv4 NG-MVPN, octet 49", "test.pcap  packet 2",
                                               "  withdrawn  IPv4 NG-MVPN, octet 29"}));
    relay.finish();
}

// The components of a family come up with its first route and are used for all others.
TEST(Relay, EachFamilyHasItsOwnComponents)
{
    const LeakCheck leaks;
    RelaySession relay;
    const auto live = [] { return platform::usage(kMemHandle).live_blocks; };
    const std::uint64_t before = live();
    relay.session.message(update_of(intra(1, 1)));
    EXPECT_EQ(live(), before + 4);
    relay.session.message(update_of(intra(1, 2)));
    EXPECT_EQ(live(), before + 4);
    relay.session.message(update(mp_reach(2, 5, bytes("0a0a0603"), intra(1, 1))));
    EXPECT_EQ(live(), before + 8);
    relay.session.message(update(mp_reach(1, 66, bytes("0a0a0603"), kMdt)));
    EXPECT_EQ(live(), before + 12);
    relay.text();
    relay.session.message(update(mp_reach(1, 129, bytes("0a0a0603"), bytes("58 000031 0000006400000001"))));
    EXPECT_EQ(live(), before + 12);
    EXPECT_EQ(relay.text(), "") << "VPNv4 multicast does not go round";
    relay.finish();
}

TEST(Relay, AFailedMessageOfMdtIsTold)
{
    const LeakCheck leaks;
    RelaySession relay;
    const Bytes message = update(mp_reach(1, 66, bytes("0a0a0603"), kMdt));
    relay.session.message(message); // the components come up
    relay.text();
    {
        const platform::FailAllocation fail(1); // 0: the decoder's route
        relay.session.message(message);
        EXPECT_TRUE(fail.fired());
    }
    EXPECT_EQ(relay.relay.failures(), 1U);
    ASSERT_EQ(relay.diagnostics.size(), 1U);
    EXPECT_EQ(relay.diagnostics[0].find("test.pcap: packet 2, octet 35: HA 1 from mvpn to mvpn-backup failed, 0x"), 0U)
        << relay.diagnostics[0];
    const std::string text = relay.text();
    EXPECT_NE(text.find("HA 1           16 octets    00000064000000010a000001ef010101\n        failed 0x"),
              std::string::npos)
        << text;
    EXPECT_NE(text.find("mvrf -> mvpn         message 53     16 octets    00000064000000010a000001ef010101\n"
                        "        route prefix, RD 100:1, source 10.0.0.1, group 239.1.1.1\n"),
              std::string::npos)
        << text;
    relay.finish();
}

// Also what no component of the ring sends.
TEST(Relay, WhatTheOctetsOfMdtMessagesSay)
{
    struct Row {
        Carrier carrier;
        std::uint32_t type;
        const char *octets;
        std::vector<std::string> expected;
    };
    const std::string prefix = "route prefix, RD 192.0.2.1:7, source 10.0.0.1, group 239.1.1.1";
    const char *octets = "0001c00002010007 0a000001 ef010101";
    const Row rows[] = {
        {Carrier::message, 53, octets, {prefix}},
        {Carrier::message, 55, octets, {prefix}},
        {Carrier::message, 59, octets, {prefix}},
        {Carrier::message, 61, octets, {prefix}},
        {Carrier::message, 5, octets, {prefix}},
        {Carrier::message, 15, octets, {prefix}},
        {Carrier::ha, 1, octets, {prefix}},
        {Carrier::ha, 3, octets, {prefix}},
        {Carrier::ha, 5, octets, {prefix}},
        {Carrier::ha, 8, octets, {prefix}},
        {Carrier::message, 5, "0000006400000001 0a000001", {"route prefix, 00000064000000010a000001"}},
        {Carrier::message, 5, "0003006400000001 0a000001 ef010101", {"route prefix, 00030064000000010a000001ef010101"}},
        {Carrier::message, 56, "0002006400000001", {"import target: RT <100 : 1>"}},
        {Carrier::message, 57, "ef010203", {"import target: share group 239.1.2.3"}},
        {Carrier::message, 18, "010ac00002010002", {"import target: Import RT <192.0.2.1 : 2>"}},
        {Carrier::message, 19, "ef010203", {"import target: share group 239.1.2.3"}},
        {Carrier::message, 20, "ef010203", {"import target: share group 239.1.2.3"}},
        {Carrier::message, 21, "ef010203", {"import target: share group 239.1.2.3"}},
        {Carrier::message, 70, "ef010203", {"import target: share group 239.1.2.3"}},
        {Carrier::ha, 6, "ef010203", {"import target: share group 239.1.2.3"}},
        {Carrier::ha, 7, "0002006400000001", {"import target: RT <100 : 1>"}},
        {Carrier::ha, 7, "000200", {"import target: 000200"}},
        {Carrier::attribute, 11, "0002006400000001 0009fbf400000000", {"RT <100 : 1>, Source AS <64500 : 0>"}},
        {Carrier::attribute, 21, "0002006400000001", {"RT <100 : 1>"}},
        {Carrier::attribute, 34, "0000 0000", {"non-key, flags 0x0"}},
        {Carrier::attribute,
         34,
         "0001 0008 0001 0004 ef010203",
         {"non-key, flags 0x1", "TLV 1, 4 octets: share group 239.1.2.3"}},
        {Carrier::attribute,
         34,
         "0003 000c 0001 0002 ef01 0002 0004 ef010203 aa",
         {"non-key, flags 0x3", "TLV 1, 2 octets: ef01", "TLV 2, 4 octets: ef010203", "no TLV: aa"}},
        {Carrier::attribute, 34, "0001", {"no TLV: 0001"}},
        {Carrier::message, 99, "aabb", {"no TLV: aabb"}},
    };
    const LeakCheck leaks;
    const Family mdt(*find_family(1, 66), kMemHandle);
    for (const Row &row : rows) {
        const Bytes value = bytes(row.octets);
        const ExactCopy copy(value);
        Parts parts;
        family_words(FamilyKind::mdt)
            .message(parts, {"mvrf", "mc", row.carrier, row.type, {copy.data(), copy.size()}, 0, nullptr, &mdt});
        std::vector<std::string> said;
        for (std::size_t i = 0; i < parts.size(); ++i) {
            said.emplace_back(parts[i]);
        }
        EXPECT_EQ(said, row.expected) << row.type << ": " << row.octets;
    }
}

} // namespace
