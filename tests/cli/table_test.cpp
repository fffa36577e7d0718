// The commands table and policy as a shell sees them.
#include "shell.h"

#include <nlohmann/json.hpp>

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

namespace {

using qel::test::CommandTest;
using qel::test::Outcome;

const std::string kMarker(32, 'f');
const std::string kHead = kMarker + "004202 0000 002b c01008 0002006400000001 800e1d 000105 04 0a0a0603 00 ";
// A Source Active A-D route with route target 100:1, and its withdrawal.
const std::string kRoute = "0512 0000fde80001869f 20 0a630c04 20 effbffe4\n";
const std::string kAnnounced = kHead + kRoute;
const std::string kWithdrawn = kMarker + "003102 0000 001a 800f17 000105 " + kRoute;

TEST_F(CommandTest, AFilterOfATableHidesRoutesAndAWithdrawalCountsAllTheSame)
{
    const std::string file = write("gone", kAnnounced + kWithdrawn);
    for (const char *command : {"table --rt 100:1 ", "policy --action delete --match-rt 100:1 "}) {
        const Outcome outcome = run(command + file);
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        EXPECT_NE(outcome.out.find("IPv4 NG-MVPN (AFI 1, SAFI 5)  0 routes\n"), std::string::npos) << outcome.out;
    }
}

TEST_F(CommandTest, ColoursOfATableComeWhenAskedFor)
{
    const std::string file = write("routes", kAnnounced);
    for (const std::string command : {"table ", "policy --action delete "}) {
        EXPECT_EQ(run(command + file).out.find('\x1b'), std::string::npos);
        EXPECT_EQ(run(command + "--color always " + file).out.find("\x1b[1mIPv4 NG-MVPN\x1b[0m"), 0U);
        EXPECT_EQ(run(command + "--json --color always " + file).out.find('\x1b'), std::string::npos);
    }
}

TEST_F(CommandTest, EveryJsonLineOfATableIsAnObject)
{
    const std::string file = write("routes", kAnnounced);
    for (const std::string command : {"table --json ", "policy --json --action delete "}) {
        std::istringstream lines(run(command + file).out);
        std::vector<std::string> kinds;
        for (std::string line; std::getline(lines, line);) {
            const nlohmann::json object = nlohmann::json::parse(line, nullptr, false);
            kinds.push_back(object.is_object() ? object.value("kind", "") : "no object: " + line);
        }
        EXPECT_EQ(kinds, (std::vector<std::string>{"table", "route", "summary"}));
    }
}

TEST_F(CommandTest, TableAndPolicyExitWith1WhereAFileCannotBeReadAndShowTheOthers)
{
    const std::string files = "'" + path("absent") + "' " + write("routes", kAnnounced);
    for (const std::string command : {"table ", "policy --action delete "}) {
        const Outcome outcome = run(command + files);
        EXPECT_EQ(outcome.status, 1);
        EXPECT_EQ(outcome.err.find("qel-mcast: " + path("absent") + ": cannot be read: "), 0U) << outcome.err;
        EXPECT_NE(outcome.out.find("RD 65000:99999"), std::string::npos);
    }
}

// kept by these two families: a list that comes to no octets is answered like a lack of memory.
TEST_F(CommandTest, AReplaceThatLeavesMdtAndVpnv4RoutesNothingIsToldAndTheStatusIs1)
{
    const Outcome outcome = run("policy --action replace '" QEL_SAMPLES_DIR "/mdt-vpnv4.pcap'");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_NE(outcome.err.find("qel-mcast: MDT: policy action failed, 0x3, out of memory\n"), std::string::npos);
    EXPECT_NE(outcome.err.find("qel-mcast: VPNv4 multicast: policy action failed, 0x3, out of memory\n"),
              std::string::npos);
    EXPECT_NE(outcome.out.find("\n       after   failed 0x3\n"), std::string::npos);
    EXPECT_NE(outcome.out.find("  blocks leaked: 0\n"), std::string::npos) << "all the rest is shown";
}

TEST_F(CommandTest, PolicyNeedsAnActionAlsoWhereATargetIsGiven)
{
    const Outcome outcome = run("policy --rt 1:1 " + write("routes", kAnnounced));
    EXPECT_EQ(outcome.status, 2);
    EXPECT_NE(outcome.err.find("--action"), std::string::npos);
    EXPECT_EQ(outcome.out, "");
}

TEST_F(CommandTest, PolicyLeavesNoBlocksBehind)
{
    const std::string file = write("routes", kAnnounced);
    for (const char *action : {"add --rt 1:1", "replace --rt 1:1", "delete"}) {
        const Outcome outcome = run(std::string("policy --action ") + action + " " + file);
        EXPECT_EQ(outcome.status, 0);
        EXPECT_NE(outcome.out.find("  blocks leaked: 0\n"), std::string::npos);
    }
}

} // namespace
