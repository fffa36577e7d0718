// Scenarios of a segmentation point: the samples print what stands beside them, and mistakes are told by their line.
#include "host/segment_scenario.h"

#include "../support.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace qel::host {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;

struct Ran {
    bool clean = false;
    std::string text;
    std::vector<std::string> mistakes; // "3: text"
};

enum class Form { text, json };

Ran run(std::istream &lines, Form form = Form::text, bool log = false)
{
    Ran out;
    Output output([&](std::string_view piece) { out.text += piece; });
    const auto transcript = form == Form::json ? make_json_transcript(output, log) : make_text_transcript(output, log);
    SegmentScenario scenario(*transcript, [&](std::uint64_t line, std::string_view text) {
        out.mistakes.push_back(std::to_string(line) + ": " + std::string(text));
    });
    scenario.run(lines);
    out.clean = scenario.finish();
    return out;
}

Ran run(const std::string &lines, Form form = Form::text, bool log = false)
{
    std::istringstream stream(lines);
    return run(stream, form, log);
}

std::string content(const std::filesystem::path &file)
{
    std::ifstream stream(file, std::ios::binary);
    EXPECT_TRUE(stream) << file;
    return {std::istreambuf_iterator<char>(stream), {}};
}

std::vector<std::filesystem::path> samples()
{
    std::vector<std::filesystem::path> out;
    for (const auto &entry : std::filesystem::directory_iterator(QEL_SAMPLES_DIR "/scenarios")) {
        if (entry.path().extension() == ".txt") {
            out.push_back(entry.path());
        }
    }
    return out;
}

std::vector<nlohmann::json> objects(const std::string &lines)
{
    std::vector<nlohmann::json> out;
    std::istringstream stream(lines);
    for (std::string line; std::getline(stream, line);) {
        out.push_back(nlohmann::json::parse(line));
    }
    return out;
}

std::vector<nlohmann::json> of_kind(const std::string &lines, const std::string &kind)
{
    std::vector<nlohmann::json> out;
    for (nlohmann::json &object : objects(lines)) {
        if (object["kind"] == kind) {
            out.push_back(std::move(object));
        }
    }
    return out;
}

// The rows that the decisions of a scenario fall into, those towards one peer left out.
std::vector<std::string> rows(const std::string &lines)
{
    std::vector<std::string> out;
    for (const nlohmann::json &decision : of_kind(lines, "decision")) {
        if (!decision.contains("towards")) {
            out.push_back(decision["row"]);
        }
    }
    return out;
}

TEST(SegmentScenarioSamples, EachPrintsTheTranscriptBesideIt)
{
    const std::vector<std::filesystem::path> files = samples();
    EXPECT_GE(files.size(), 6U);
    for (const std::filesystem::path &file : files) {
        std::ifstream stream(file);
        const Ran ran = run(stream);
        EXPECT_TRUE(ran.clean) << file;
        EXPECT_THAT(ran.mistakes, ElementsAre()) << file;
        std::filesystem::path printed = file;
        EXPECT_EQ(ran.text, content(printed.replace_extension(".out")))
            << "qel-mcast segment " << file << " > " << printed << " writes it anew";
    }
}

TEST(SegmentScenarioSamples, OneReachesEveryRowOfTheDecision)
{
    std::ifstream stream(QEL_SAMPLES_DIR "/scenarios/decision-table.txt");
    const Ran ran = run(stream, Form::json);
    std::set<std::string> reasons;
    std::set<std::string> decided;
    for (const nlohmann::json &decision : of_kind(ran.text, "decision")) {
        decided.insert(decision["row"].get<std::string>() + " " + decision["result"].get<std::string>() +
                       (decision["need_proc"].get<bool>() ? " + NEED_PROC" : ""));
        reasons.insert(decision["reason"]);
    }
    EXPECT_THAT(decided, ElementsAre("1.1 SUCCESS", "1.2 SUCCESS + NEED_PROC", "2.1 WITHDRAW", "2.2 DENY + NEED_PROC",
                                     "A DENY + NEED_PROC", "B DENY + NEED_PROC", "none SUCCESS"));
    EXPECT_EQ(reasons.size(), 9U); // there are three ways not to be concerned
}

constexpr const char *kSetUp = "peer pe1 ibgp 192.0.2.1\n"
                               "peer pe2 ibgp 192.0.2.2\n"
                               "policy 10 accept replace-tunnel 2 192.0.2.254 7\n"
                               "component replaces snh 192.0.2.254 tunnel rsvp-te 90 91 192.0.2.254\n";
constexpr const char *kAnnounce =
    "announce pe1 intra 65000:1 192.0.2.1 rt 65000:100 snh 192.0.2.1 tunnel rsvp-te 5 17 192.0.2.1\n";

TEST(SegmentScenario, AMistakeIsToldByItsLineAndTheOtherLinesRun)
{
    const test::LeakCheck leaks;
    const Ran ran = run("pear x\n" + std::string(kSetUp) + "announce pe9 intra 65000:1 192.0.2.1\n" + kAnnounce);
    EXPECT_FALSE(ran.clean);
    EXPECT_THAT(ran.mistakes, ElementsAre("1: 'pear' is no event", "6: there is no peer 'pe9'"));
    EXPECT_THAT(ran.text, HasSubstr("SUCCESS, row 1.1"));
    EXPECT_THAT(ran.text, HasSubstr("blocks leaked 0, mistakes 2"));
}

TEST(SegmentScenario, EveryWordIsLookedAt)
{
    struct Row {
        const char *line;
        const char *mistake;
    };
    const Row mistaken[] = {
        {"family ipx", "'ipx' is no address family: ipv4 or ipv6"},
        {"family ipv4", "the family stands in front of all other events"},
        {"router x 192.0.2.1", "AS: 'x' is no number from 0 to 4294967295"},
        {"router 1 2001:db8::1", "address: '2001:db8::1' is no IPv4 address"},
        {"router 1 192.0.2.1 192.0.2.2", "the router's second address is an IPv6 address"},
        {"peer pe1 ibgp 192.0.2.9", "there is a peer 'pe1' already"},
        {"peer local ibgp 192.0.2.9", "there is a peer 'local' already"},
        {"peer pe9 xbgp 192.0.2.9", "'xbgp' is no kind of peer: ibgp, ebgp or confederation"},
        {"peer pe9 ibgp", "the peer's address is missing"},
        {"peer pe9 ibgp 192.0.2.256", "the peer's address: '192.0.2.256' is no address"},
        {"import blue 1:2:3", "'1:2:3' is no route target"},
        {"policy 1 maybe", "a rule says accept, deny or none"},
        {"policy 1 none", "there is no rule 1"},
        {"policy 4294967295 accept", "the rule's number: '4294967295' is no number from 0 to 4294967294"},
        {"policy 1 deny add 1:1", "'add' is one word too many"},
        {"policy 1 accept type 8", "route type: '8' is no number from 0 to 7"},
        {"policy 1 accept rd 1", "'1' is no route distinguisher"},
        {"policy 1 accept replace-tunnel 256 1.1.1.1 1", "replacement type: '256' is no number from 0 to 255"},
        {"component sleeps", "the component answers, waits, is silent, replaces or is told to release"},
        {"component release", "no answer waits"},
        {"component replaces tunnel gre 1", "'gre' is no kind of tunnel: rsvp-te, mldp, bier or octets"},
        {"component replaces snh 1:1", "'1:1' is no segmented next hop"},
        {"component answers now", "'now' is one word too many"},
        {"announce pe1 inter 1:1", "'inter' is no kind of route: intra, spmsi, leaf, source-active or octets"},
        {"announce pe1 intra 1:1 192.0.2.1 med 5", "'med' is no attribute: rt, snh, community or tunnel"},
        {"announce pe1 intra 1:1 192.0.2.1 community 0x123", "community: '0x123' are no octets in hex"},
        {"withdraw pe1 intra 1:1 192.0.2.1 rt 1:1", "'rt' is one word too many"},
        {"update pe1 00", "the octets are no UPDATE with its header"},
        {"update pe1 0g", "the UPDATE: '0g' are no octets in hex"},
        {"refresh now", "'now' is one word too many"},
        {"switch-over now", "'now' is one word too many"},
        {"show all", "'all' is one word too many"},
    };
    for (const Row &row : mistaken) {
        EXPECT_THAT(run(std::string(kSetUp) + row.line + "\n").mistakes, ElementsAre("5: " + std::string(row.mistake)));
    }
}

TEST(SegmentScenario, CommentsAndEmptyLinesAreNoEvents)
{
    const Ran ran = run("# a remark\n\n   # another\npeer pe1 ibgp 192.0.2.1   # behind an event\n");
    EXPECT_TRUE(ran.clean);
    EXPECT_THAT(ran.text, HasSubstr("# a remark\n# another\nline 4  peer pe1 ibgp 192.0.2.1\n"));
}

TEST(SegmentScenario, AnIpv6OriginatorIsNotMirrored)
{
    const Ran ran = run("family ipv6\npeer pe1 ibgp 2001:db8::1\npolicy 1 accept replace-tunnel 2 192.0.2.254 7\n"
                        "announce pe1 intra 65000:1 2001:db8::1 snh 192.0.2.1 tunnel rsvp-te 5 17 192.0.2.1\n");
    EXPECT_FALSE(ran.clean);
    EXPECT_THAT(ran.mistakes, ElementsAre());
    EXPECT_THAT(ran.text, HasSubstr("attribute 40 of 0 octets, not written with 0x1"));
    EXPECT_THAT(ran.text, HasSubstr("backup differs: import attribute record, blocks leaked 0"));
}

TEST(SegmentScenario, AnSpmsiOfTwoIpv6FlowsAndAnIpv6OriginatorIsRefusedAtItsWayBack)
{
    const Ran ran = run("family ipv6\npeer pe1 ibgp 2001:db8::1\npolicy 1 accept replace-tunnel 2 192.0.2.254 7\n"
                        "announce pe1 spmsi 65000:1 2001:db8::a ff3e::1 2001:db8::1 snh 192.0.2.1 tunnel rsvp-te 5 17 "
                        "192.0.2.1\n");
    EXPECT_THAT(ran.text, HasSubstr("refused message 137, 0x60001"));
}

TEST(SegmentScenario, JsonIsOneObjectPerLineAndSaysTheSame)
{
    const Ran ran = run(std::string(kSetUp) + kAnnounce, Form::json);
    EXPECT_TRUE(ran.clean);
    EXPECT_THAT(rows(ran.text), ElementsAre("A", "1.1"));
    const std::vector<nlohmann::json> sent = of_kind(ran.text, "sent");
    ASSERT_EQ(sent.size(), 1U);
    EXPECT_EQ(sent[0]["to"], "pe2 (ibgp)");
    EXPECT_EQ(sent[0]["line"], 5);
    EXPECT_EQ(sent[0]["says"]["attributes"]["pmsi"]["tunnel_id"], 91);
    EXPECT_EQ(sent[0]["says"]["attributes"]["ext_communities"][1]["global_ip"], "192.0.2.254");
    const std::vector<nlohmann::json> end = of_kind(ran.text, "end");
    ASSERT_EQ(end.size(), 1U);
    EXPECT_EQ(end[0]["blocks_leaked"], 0);
}

TEST(SegmentScenario, TheLibrarysLogIsThereIfAskedFor)
{
    const std::string logged = "SetAttrAfterPlcy DENY + NEED_PROC(Y) + output(NEW), old import_pmsi is NULL";
    EXPECT_THAT(run(std::string(kSetUp) + kAnnounce, Form::text, true).text, HasSubstr(logged));
    EXPECT_THAT(run(std::string(kSetUp) + kAnnounce).text, Not(HasSubstr(logged)));
    EXPECT_THAT(run(std::string(kSetUp) + kAnnounce, Form::json, true).text, HasSubstr(logged));
    EXPECT_THAT(run(std::string(kSetUp) + kAnnounce, Form::json).text, Not(HasSubstr(logged)));
}

TEST(SegmentScenario, APeerThatComesLaterGetsWhatMayGoToIt)
{
    const Ran ran = run(std::string(kSetUp) + kAnnounce + "peer pe3 ibgp 192.0.2.3\n", Form::json);
    const std::vector<nlohmann::json> sent = of_kind(ran.text, "sent");
    ASSERT_EQ(sent.size(), 2U);
    EXPECT_EQ(sent[1]["to"], "pe3 (ibgp)");
    EXPECT_EQ(sent[1]["octets"], sent[0]["octets"]);
}

TEST(SegmentScenario, APeerWithdrawsItsOwnRoutesAlone)
{
    const Ran ran = run(std::string(kSetUp) + kAnnounce + "withdraw pe2 intra 65000:1 192.0.2.1\nshow\n", Form::json);
    EXPECT_EQ(of_kind(ran.text, "held").size(), 1U);
    EXPECT_EQ(of_kind(ran.text, "refused").at(0)["why"], "withdrawn: no such route from this peer");
}

TEST(SegmentScenario, ARouteThatIsRefusedLeavesTheOthers)
{
    // RD of type 3
    const Ran ran =
        run(std::string(kSetUp) + "announce pe1 octets 010c0003fde800000001c0000201\n" + kAnnounce, Form::json);
    EXPECT_EQ(of_kind(ran.text, "refused").at(0)["why"], "route: 0x60002, route not accepted: unknown route type or RD "
                                                         "type, zero address, or address of the other family");
    EXPECT_EQ(of_kind(ran.text, "sent").size(), 1U);
}

} // namespace
} // namespace qel::host
