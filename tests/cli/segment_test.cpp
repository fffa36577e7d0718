// The segment command as a shell sees it.
#include "shell.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <sstream>
#include <string>

namespace {

using qel::test::CommandTest;
using qel::test::Outcome;
using testing::HasSubstr;

using SegmentCommandTest = CommandTest;

const std::string kScenario = "peer pe1 ibgp 192.0.2.1\n"
                              "peer pe2 ibgp 192.0.2.2\n"
                              "announce pe1 intra 65000:1 192.0.2.1 rt 65000:100\n";

TEST_F(SegmentCommandTest, AScenarioWithoutMistakesExitsWith0)
{
    const Outcome ran = run("segment " + write("good.txt", kScenario));
    EXPECT_EQ(ran.status, 0);
    EXPECT_EQ(ran.err, "");
    EXPECT_THAT(ran.out, HasSubstr("  sent          to pe2 (ibgp)\n"));
    EXPECT_THAT(ran.out, HasSubstr("  end           routes 1, backup the same octets, blocks leaked 0, mistakes 0\n"));
}

TEST_F(SegmentCommandTest, AMistakeIsToldWithFileAndLineAndExitsWith1)
{
    const Outcome ran = run("segment " + write("bad.txt", "peer pe1\n" + kScenario));
    EXPECT_EQ(ran.status, 1);
    EXPECT_EQ(ran.err, "qel-mcast: " + path("bad.txt") + ":1: ibgp, ebgp or confederation is missing\n");
    EXPECT_THAT(ran.out, HasSubstr("mistakes 1\n"));
}

TEST_F(SegmentCommandTest, AFileThatCannotBeReadExitsWith1)
{
    const Outcome ran = run("segment " + path("nowhere.txt"));
    EXPECT_EQ(ran.status, 1);
    EXPECT_EQ(ran.err, "qel-mcast: " + path("nowhere.txt") + ": cannot be read: No such file or directory\n");
    const Outcome folder = run("segment " + path(""));
    EXPECT_EQ(folder.status, 1);
    EXPECT_EQ(folder.err, "qel-mcast: " + path("") + ": cannot be read: Is a directory\n");
    EXPECT_EQ(folder.out, "");
    const Outcome empty = run("segment " + write("empty.txt", ""));
    EXPECT_EQ(empty.status, 1);
    EXPECT_EQ(empty.err, "qel-mcast: " + path("empty.txt") + ": cannot be read: empty input\n");
}

TEST_F(SegmentCommandTest, OctetsOfAScenarioCanNotSteerATerminal)
{
    EXPECT_THAT(run("segment " + write("steer.txt", "\x1b[31mpeer\n")).err, HasSubstr("\\x1b[31mpeer"));
}

// Here an UPDATE of another family.
TEST_F(SegmentCommandTest, AnUpdateWithoutMulticastRoutesIsAJsonObjectToo)
{
    const std::string scenario = "peer pe1 ibgp 192.0.2.1\n"
                                 "update pe1 ffffffffffffffffffffffffffffffff 001e 02 0000 0007 800f04 000101 00\n";
    std::istringstream lines(run("segment --json " + write("other.txt", scenario)).out);
    int objects = 0;
    for (std::string line; std::getline(lines, line);) {
        EXPECT_TRUE(nlohmann::json::accept(line)) << line;
        ++objects;
    }
    EXPECT_GT(objects, 2);
}

TEST_F(SegmentCommandTest, DashIsStandardInput)
{
    const std::string good = write("good.txt", kScenario);
    EXPECT_EQ(run("segment - <" + good).out, run("segment " + good).out);
}

TEST_F(SegmentCommandTest, EveryJsonLineIsAnObjectAndTheLastOneTheEnd)
{
    std::istringstream lines(run("segment --json --log " + write("good.txt", kScenario)).out);
    nlohmann::json last;
    for (std::string line; std::getline(lines, line);) {
        last = nlohmann::json::parse(line);
        EXPECT_TRUE(last.contains("kind")) << line;
    }
    EXPECT_EQ(last["kind"], "end");
    EXPECT_EQ(last["routes"], 1);
}

TEST_F(SegmentCommandTest, WrongCommandLineExitsWith2)
{
    EXPECT_EQ(run("segment").status, 2);
    EXPECT_EQ(run("segment --raw x").status, 2);
}

} // namespace
