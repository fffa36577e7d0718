// The command as a shell sees it: exit status, standard output, standard error.
#include <nlohmann/json.hpp>

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include <sys/wait.h>
#include <unistd.h>

namespace {

struct Outcome {
    int status = -1;
    std::string out;
    std::string err;
};

class CommandTest : public testing::Test {
protected:
    CommandTest()
    {
        std::string name = (std::filesystem::temp_directory_path() / "qel-mcast-XXXXXX").string();
        directory_ = ::mkdtemp(name.data());
    }
    ~CommandTest() override { std::filesystem::remove_all(directory_); }

    std::string path(const std::string &name) const { return (directory_ / name).string(); }

    std::string write(const std::string &name, const std::string &text) const
    {
        std::ofstream(path(name), std::ios::binary) << text;
        return "'" + path(name) + "'";
    }

    std::string read(const std::string &name) const
    {
        std::ifstream stream(path(name), std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }

    // Runs `prefix qel-mcast arguments` in a shell; `arguments` may redirect as well.
    Outcome run(const std::string &arguments, const std::string &prefix = {}) const
    {
        const std::string line = "{ " + prefix + " '" QEL_MCAST_COMMAND "' " + arguments + "; } >'" + path("out") +
                                 "' 2>'" + path("err") + "'";
        const int status = std::system(line.c_str());
        return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, read("out"), read("err")};
    }

private:
    std::filesystem::path directory_;
};

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
    for (const std::string &arguments :
         {std::string(), std::string("decode"), std::string("encode"), "decode --family ipv4 " + file,
          "decode --color sometimes " + file, "decode --no-such-option " + file, "decode --type 8 " + file,
          "decode --rd 100 " + file, "decode --rt 100 " + file, "decode --source 10.0.0 " + file,
          "decode --group any " + file, "decode --type " + file}) {
        const Outcome outcome = run(arguments);
        EXPECT_EQ(outcome.status, 2) << arguments;
        EXPECT_EQ(outcome.out, "") << arguments;
        EXPECT_NE(outcome.err, "") << arguments;
    }
}

TEST_F(CommandTest, HelpAndVersionExitWith0)
{
    EXPECT_EQ(run("--version").out.substr(0, 10), "qel-mcast ");
    for (const char *arguments : {"--version", "--help", "decode --help"}) {
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

} // namespace
