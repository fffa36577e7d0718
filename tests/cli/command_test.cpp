// The command as a shell sees it: exit status, standard output, standard error.
#include "shell.h"

#include <nlohmann/json.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace {

using qel::test::CommandTest;
using qel::test::Outcome;

const std::string kMarker(32, 'f');
// An UPDATE with MP_UNREACH_NLRI of one Source Active A-D route, or of an unknown route type.
const std::string kGood = kMarker + "003102 0000 001a 800f17 000105 0512 0000fde80001869f 20 0a630c04 20 effbffe4\n";
const std::string kRefused = kMarker + "002b02 0000 0014 800f11 000105 080c 0000fde80001869f 01020304\n";

// MP_REACH_NLRI of the same route with a route target.
const std::string kTargets = kMarker + "004202 0000 002b c01008 0002006400000001 800e1d 000105 04 0a0a0603 00 "
                                       "0512 0000fde80001869f 20 0a630c04 20 effbffe4\n";

TEST_F(CommandTest, CleanInputExitsWith0)
{
    const Outcome outcome = run("decode " + write("good", kGood));
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.err, "");
    EXPECT_NE(outcome.out.find("    5  Source Active A-D    RD 65000:99999    source 10.99.12.4       "
                               "group 239.251.255.228\n"),
              std::string::npos)
        << outcome.out;
    EXPECT_NE(outcome.out.find("  blocks leaked: 0\n"), std::string::npos);
}

TEST_F(CommandTest, RefusalExitsWith1AndIsToldOnce)
{
    const Outcome outcome = run("decode " + write("refused", kRefused));
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.err, "qel-mcast: " + path("refused") +
                               ": line 1, octet 29: MP_UNREACH_NLRI refused, 0x60002, route not accepted: unknown "
                               "route type or RD type, zero address, or address of the other family\n");
    EXPECT_NE(outcome.out.find("refused 0x60002"), std::string::npos);
}

TEST_F(CommandTest, UnreadableFileExitsWith1AndTheOthersAreStillRead)
{
    const Outcome outcome = run("decode '" + path("absent") + "' " + write("good", kGood));
    EXPECT_EQ(outcome.status, 1);
    EXPECT_NE(outcome.err.find("absent"), std::string::npos);
    EXPECT_NE(outcome.out.find("Source Active A-D"), std::string::npos);
    EXPECT_EQ(run("decode '" + path(".") + "'").status, 1) << "a directory";
}

TEST_F(CommandTest, WrongCommandLineExitsWith2)
{
    const std::string file = write("good", kGood);
    for (const std::string &arguments : {std::string(),
                                         std::string("decode"),
                                         std::string("encode"),
                                         "decode --family ipv4 " + file,
                                         "decode --color sometimes " + file,
                                         "decode --no-such-option " + file,
                                         "decode --type 8 " + file,
                                         "decode --rd 100 " + file,
                                         "decode --rt 100 " + file,
                                         "decode --source 10.0.0 " + file,
                                         "decode --group any " + file,
                                         "decode --type " + file,
                                         std::string("table"),
                                         "table --component core " + file,
                                         "table --type 9 " + file,
                                         "table --action add " + file,
                                         std::string("relay"),
                                         "relay --type 9 " + file,
                                         "relay --component mvrf " + file,
                                         "policy " + file,
                                         "policy --action drop " + file,
                                         "policy --action add " + file,
                                         "policy --action add --rt 100 " + file,
                                         "policy --action add --rt 2001:db8::1.7 " + file}) {
        const Outcome outcome = run(arguments);
        EXPECT_EQ(outcome.status, 2) << arguments;
        EXPECT_EQ(outcome.out, "") << arguments;
        EXPECT_NE(outcome.err, "") << arguments;
    }
}

TEST_F(CommandTest, AWrongCommandIsNamed)
{
    const Outcome ran = run("decipher x.pcap");
    EXPECT_EQ(ran.status, 2);
    EXPECT_EQ(ran.err, "qel-mcast: decipher is no command of it; qel-mcast --help names them\n");
    EXPECT_EQ(ran.out, "");
}

TEST_F(CommandTest, HelpThatCannotBeWrittenExitsWith1)
{
    EXPECT_EQ(run("decode --help; echo $? >&2", "exec >/dev/full;").err, "1\n");
}

TEST_F(CommandTest, ACutCaptureIsToldWithItsPlaceInTheFileAndTheRoutesBeforeItAreShown)
{
    const std::string sample = QEL_SAMPLES_DIR "/ngmvpn.pcap";
    const Outcome cut = run("decode cut.pcap", "cd '" + path("") + "' && head -c 1000 '" + sample + "' >cut.pcap &&");
    EXPECT_EQ(cut.status, 1);
    EXPECT_THAT(cut.err, testing::StartsWith("qel-mcast: cut.pcap: packet 10, file octet 858: the capture breaks off"));
    const Outcome head = run("decode head.pcap", "cd '" + path("") + "' && head -c 10 '" + sample + "' >head.pcap &&");
    EXPECT_EQ(head.status, 1);
    EXPECT_THAT(head.err, testing::StartsWith("qel-mcast: head.pcap: file octet 10: not a readable capture"));
}

TEST_F(CommandTest, HelpAndVersionExitWith0)
{
    EXPECT_EQ(run("--version").out.substr(0, 10), "qel-mcast ");
    for (const char *arguments :
         {"--version", "--help", "decode --help", "table --help", "policy --help", "relay --help"}) {
        const Outcome outcome = run(arguments);
        EXPECT_EQ(outcome.status, 0) << arguments;
        EXPECT_NE(outcome.out, "") << arguments;
        EXPECT_EQ(outcome.err, "") << arguments;
    }
}

TEST_F(CommandTest, DashIsStandardInput)
{
    const Outcome outcome = run("decode - <" + write("good", kGood));
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.out.substr(0, 9), "-  line 1");
}

TEST_F(CommandTest, EveryJsonLineIsAnObjectAndTheLastOneTheSummary)
{
    const Outcome outcome = run("decode --json " + write("both", kGood + kRefused + "not hex\n"));
    EXPECT_EQ(outcome.status, 1);
    std::istringstream lines(outcome.out);
    std::vector<std::string> kinds;
    for (std::string line; std::getline(lines, line);) {
        kinds.push_back(nlohmann::json::parse(line).at("kind"));
    }
    EXPECT_EQ(kinds, (std::vector<std::string>{"update", "update", "problem", "summary"}));
}

TEST_F(CommandTest, FamilyFilterLeavesTheOthersOut)
{
    const std::string file = write("refused", kRefused);
    EXPECT_EQ(run("decode --family ng-mvpn " + file).status, 1);
    const Outcome outcome = run("decode --family mdt " + file);
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.out.find("announced  IPv4"), std::string::npos);
    EXPECT_EQ(outcome.out.find("withdrawn  IPv4"), std::string::npos);
}

TEST_F(CommandTest, RouteFiltersShowMatchingRoutesAlone)
{
    const std::string file = write("good", kGood);
    for (const char *match : {"--type 5", "--type 3,5", "--type=5", "--rd 65000:99999", "--source 10.99.12.4",
                              "--group 239.251.255.228", "--type 5 --rd 65000:99999"}) {
        const Outcome outcome = run(std::string("decode ") + match + " " + file);
        EXPECT_EQ(outcome.status, 0) << match;
        EXPECT_NE(outcome.out.find("Source Active A-D    RD"), std::string::npos) << match;
        EXPECT_NE(outcome.out.find("routes matched                 1"), std::string::npos) << match;
    }
    for (const char *miss :
         {"--type 3", "--rd 65000:1", "--rt 100:1", "--source '*'", "--group 239.1.1.1", "--type 5 --rd 65000:1"}) {
        const Outcome outcome = run(std::string("decode ") + miss + " " + file);
        EXPECT_EQ(outcome.status, 0) << miss;
        EXPECT_EQ(outcome.out.find("Source Active A-D    RD"), std::string::npos) << miss;
        EXPECT_NE(outcome.out.find("routes matched                 0"), std::string::npos) << miss;
    }
}

TEST_F(CommandTest, RouteTargetFilterLooksAtTheAttributes)
{
    const std::string file = write("targets", kTargets);
    EXPECT_NE(run("decode --rt 100:1 " + file).out.find("  communities       RT <100 : 1>\n"), std::string::npos);
    EXPECT_EQ(run("decode --rt 100:2 " + file).out.find("communities"), std::string::npos);
}

TEST_F(CommandTest, FilterHidesNoRefusal)
{
    const Outcome outcome = run("decode --type 5 " + write("refused", kRefused));
    EXPECT_EQ(outcome.status, 1);
    EXPECT_NE(outcome.err.find("0x60002"), std::string::npos);
    EXPECT_EQ(outcome.out.substr(0, 8), "Summary\n");
}

TEST_F(CommandTest, RawAddsOctets)
{
    const std::string file = write("targets", kTargets);
    const std::string text = run("decode --raw " + file).out;
    EXPECT_NE(text.find("  raw attribute 16  0002006400000001\n"), std::string::npos);
    EXPECT_NE(text.find("      octets 05120000fde80001869f200a630c0420effbffe4\n"), std::string::npos);
    EXPECT_EQ(run("decode " + file).out.find("octets"), std::string::npos);
}

TEST_F(CommandTest, StatsAreTheSummaryAlone)
{
    const std::string file = write("both", kGood + kRefused);
    const Outcome text = run("decode --stats " + file);
    EXPECT_EQ(text.status, 1);
    EXPECT_NE(text.err, "");
    EXPECT_EQ(text.out.substr(0, 8), "Summary\n");
    const Outcome json = run("decode --stats --json " + file);
    EXPECT_EQ(nlohmann::json::parse(json.out)["kind"], "summary");
}

TEST_F(CommandTest, TunnelThatIsNotCarriedIsNoMistake)
{
    const Outcome outcome = run("decode " + write("tunnel", "c01609 0006 000640 c0000201\n"));
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.err, "");
    EXPECT_NE(outcome.out.find("tunnel            type 6 (ingress replication) not carried by this family"),
              std::string::npos);
}

TEST_F(CommandTest, ColoursComeWhenAskedForAndNeverInAPipe)
{
    const std::string file = write("good", kGood);
    EXPECT_EQ(run("decode " + file).out.find('\x1b'), std::string::npos);
    EXPECT_EQ(run("decode --color never " + file).out.find('\x1b'), std::string::npos);
    EXPECT_NE(run("decode --color always " + file).out.find('\x1b'), std::string::npos);
    EXPECT_NE(run("decode --color always " + file, "NO_COLOR=1").out.find('\x1b'), std::string::npos)
        << "the command line is nearer than the environment";
    EXPECT_EQ(run("decode --json --color always " + file).out.find('\x1b'), std::string::npos);
}

TEST_F(CommandTest, FullDiskIsReported)
{
    if (!std::filesystem::exists("/dev/full")) {
        GTEST_SKIP() << "no /dev/full";
    }
    const Outcome outcome = run("decode " + write("good", kGood) + " >/dev/full");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_NE(outcome.err.find("cannot write the listing"), std::string::npos);
}

TEST_F(CommandTest, ReaderThatHasSeenEnoughIsNoMistake)
{
    std::string many;
    for (int i = 0; i < 20000; ++i) {
        many += kGood;
    }
    const std::string file = write("many", many);
    // The status of the command itself is kept aside: that of a pipe is the last command's.
    const std::string command = "decode " + file + " 2>'" + path("messages") + "'";
    const Outcome outcome = run(command + "; echo $? >'" + path("status") + "'; } | { head -n 1");
    EXPECT_EQ(read("status"), "0\n");
    EXPECT_EQ(read("messages"), "");
    EXPECT_NE(outcome.out.find("line 1\n"), std::string::npos);
}

TEST_F(CommandTest, ClosedStandardErrorChangesNothing)
{
    const Outcome outcome = run("decode " + write("refused", kRefused) + " 2>&-");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_NE(outcome.out.find("blocks leaked: 0"), std::string::npos);
}

// --- table and policy -------------------------------------------------------------------------------------------

// Intra-AS I-PMSI A-D of RD 100:1 behind the Source Active route of above, with a route target and a Source AS.
const std::string kIntraRoute = "0000006400000001 c0000201\n";

std::string intra_update()
{
    return kMarker + "004402 0000 002d c01010 0002006400000002 0009fbf400000000 800e17 000105 04 0a0a0603 00 010c " +
           kIntraRoute;
}

TEST_F(CommandTest, TableShowsTheRoutesThatRemainInTheirOrder)
{
    const std::string both = write("both", kTargets + intra_update());
    const Outcome shown = run("table " + both);
    EXPECT_EQ(shown.status, 0) << shown.err;
    EXPECT_EQ(shown.out.substr(0, shown.out.find("\n\nSummary\n")),
              "IPv4 NG-MVPN (AFI 1, SAFI 5)  2 routes\n"
              "  1  Intra-AS I-PMSI A-D  RD 100:1          originator 192.0.2.1\n"
              "       cross   marker 0xffffffff: a VPN, or a route target\n"
              "               RT <100 : 2>\n"
              "  5  Source Active A-D    RD 65000:99999    source 10.99.12.4       group 239.251.255.228\n"
              "       cross   marker 0xffffffff: a VPN, or a route target\n"
              "               RT <100 : 1>");
    EXPECT_NE(shown.out.find("  blocks leaked: 0\n"), std::string::npos);

    const Outcome withdrawn = run("table " + both + " " + write("good", kGood));
    EXPECT_NE(withdrawn.out.find("  1 route\n"), std::string::npos) << withdrawn.out;
    EXPECT_EQ(withdrawn.out.find("RD 65000:99999"), std::string::npos);
}

TEST_F(CommandTest, TableTellsRefusalsLikeDecodeAndShowsTheGoodRoutes)
{
    const std::string file = write("refused", kRefused + intra_update());
    const Outcome table = run("table " + file);
    EXPECT_EQ(table.status, 1);
    EXPECT_EQ(table.err, run("decode " + file).err);
    EXPECT_NE(table.err, "");
    EXPECT_NE(table.out.find("  1 route\n"), std::string::npos);
}

TEST_F(CommandTest, TableFiltersMatchTermsAndComponents)
{
    const std::string file = write("both", kTargets + intra_update());
    EXPECT_NE(run("table --type 1 " + file).out.find("  2 routes, 1 shown\n"), std::string::npos);
    EXPECT_NE(run("table --rt 100:1 " + file).out.find("RD 65000:99999"), std::string::npos);
    EXPECT_EQ(run("table --rt 100:1 " + file).out.find("RD 100:1"), std::string::npos);
    EXPECT_EQ(run("table " + file).out.find("match"), std::string::npos);
    EXPECT_NE(run("table --match " + file).out.find("               38  route type 1\n"), std::string::npos);
    const std::string leaf =
        write("leaf", kMarker + "004202 0000 002b c01008 0002006400000001 800e1d 000105 04 0a0a0603 "
                                "00 0412 010c 0000006400000001 c0000201 c0000202 \n");
    EXPECT_NE(run("table " + leaf).out.find("rewritten RT <"), std::string::npos) << run("table " + leaf).err;
    EXPECT_NE(run("table --component mvrf " + leaf).out.find("Leaf A-D, answers Intra-AS I-PMSI A-D RD 100:1"),
              std::string::npos);
}

TEST_F(CommandTest, PolicyShowsCommunitiesBeforeAndAfter)
{
    const std::string file = write("intra", intra_update());
    const auto after = [&](const std::string &arguments) {
        const Outcome outcome = run("policy --json " + arguments + " " + file);
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        std::istringstream lines(outcome.out);
        std::string line;
        std::vector<std::string> texts;
        while (std::getline(lines, line)) {
            const nlohmann::json object = nlohmann::json::parse(line);
            if (object["kind"] == "route") {
                EXPECT_EQ(object["before"].size(), 2U);
                for (const nlohmann::json &community : object["after"]) {
                    texts.push_back(community["text"]);
                }
            }
        }
        return texts;
    };
    using Texts = std::vector<std::string>;
    EXPECT_EQ(after("--action add --rt 1:1 --rt 192.0.2.1:5 --rt 70000:5"),
              (Texts{"RT <1 : 1>", "RT <100 : 2>", "RT <192.0.2.1 : 5>", "RT <1.4464 : 5>", "Source AS <64500 : 0>"}));
    EXPECT_EQ(after("--action replace --rt 1:1"), (Texts{"RT <1 : 1>", "Source AS <64500 : 0>"}));
    EXPECT_EQ(after("--action replace"), Texts{"Source AS <64500 : 0>"});
    EXPECT_EQ(after("--action delete"), Texts{"Source AS <64500 : 0>"});
    EXPECT_EQ(after("--action delete --rt 1:1"), Texts{"Source AS <64500 : 0>"});
    EXPECT_EQ(after("--action delete --match-rt 1:1"), Texts{});
    EXPECT_NE(run("policy --action delete " + write("targets", kTargets))
                  .out.find("       before  RT <100 : 1>\n       after   no communities remain\n"),
              std::string::npos);
}

// The routes that are announced and not withdrawn again, by what the samples' script says of them.
TEST_F(CommandTest, TablesOfTheSamplesHoldWhatRemains)
{
    static const std::vector<const char *> parts{"afi",    "type",  "rd",         "rd_type", "source_as",
                                                 "source", "group", "originator", "leaf",    "answers"};
    const auto identity = [](const nlohmann::json &route) {
        nlohmann::json out;
        for (const char *part : parts) {
            if (route.contains(part)) {
                out[part] = route[part];
            }
        }
        return out.dump();
    };
    const nlohmann::json expected = nlohmann::json::parse(std::ifstream(QEL_SAMPLES_DIR "/expected.json"));
    for (const char *name : {"ngmvpn.pcap", "ngmvpn.pcapng", "ngmvpn-refused.pcap", "attributes.pcap"}) {
        std::set<std::string> remain;
        for (const nlohmann::json &route : expected[name]["accepted"]) {
            if (route["action"] == "announce") {
                remain.insert(identity(route));
            } else {
                remain.erase(identity(route));
            }
        }
        std::set<std::string> shown;
        std::istringstream lines(run(std::string("table --json " QEL_SAMPLES_DIR "/") + name).out);
        for (std::string line; std::getline(lines, line);) {
            const nlohmann::json object = nlohmann::json::parse(line);
            if (object["kind"] == "route") {
                EXPECT_TRUE(shown.insert(identity(object)).second) << name << ": twice: " << line;
            }
        }
        EXPECT_EQ(shown, remain) << name;
        EXPECT_GT(shown.size(), 10U) << name;
    }
}

} // namespace
