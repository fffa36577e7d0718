// Runs a segmentation point through a scenario: a text file with one event per line.
//
//     family ipv4|ipv6                                  of the routes; the first line, ipv4 if there is none
//     router AS ADDRESS [IPV6-ADDRESS]                  this router
//     peer NAME ibgp|ebgp|confederation ADDRESS
//     import VPN TARGET                                 a VPN imports a route target
//     policy NUMBER accept [CONDITION]... [EDIT]... [replace-tunnel TYPE ROOT TEMPLATE]
//     policy NUMBER deny [CONDITION]...
//     policy NUMBER none                                takes the rule away
//     component answers|waits|silent                    what it does when it is asked
//     component replaces [snh SNH] [tunnel TUNNEL]      what it answers
//     component release [COUNT]                         answers that wait come
//     announce PEER ROUTE [ATTRIBUTE]...
//     withdraw PEER ROUTE
//     update PEER HEX                                   a whole BGP message
//     refresh                                           every route goes through policy again
//     switch-over                                       the backup takes over
//     show                                              every route that is held
//
// CONDITION is type 1|3, rd RD or rt TARGET; EDIT is add TARGET, replace TARGET or delete. ROUTE, TUNNEL and ATTRIBUTE
// are those of ScenarioWords; PEER may be "local". '#' begins a comment.
#pragma once

#include "host/scenario_words.h"
#include "host/segment_transcript.h"
#include "host/segmentation_point.h"

#include <cstdint>
#include <functional>
#include <istream>
#include <memory>
#include <string_view>
#include <vector>

namespace qel::host {

class SegmentScenario {
public:
    // A mistake of the scenario, by its line.
    using Mistake = std::function<void(std::uint64_t line, std::string_view text)>;

    SegmentScenario(SegmentTranscript &transcript, Mistake mistake);

    // Runs line after line; a line with a mistake is left out.
    void run(std::istream &lines);
    // Ends the point and settles its accounts. Returns whether there was no mistake and nothing is left or differs.
    bool finish();

private:
    using Event = void (SegmentScenario::*)(ScenarioWords &words);
    struct Verb;

    void run_line(std::uint64_t number, std::string_view line);
    SegmentationPoint &point();
    void receive(std::string_view from, Octets attributes);
    std::vector<std::uint8_t> next_hop_of(std::string_view from);

    void family(ScenarioWords &words);
    void router(ScenarioWords &words);
    void peer(ScenarioWords &words);
    void import(ScenarioWords &words);
    void policy(ScenarioWords &words);
    void component(ScenarioWords &words);
    void announce(ScenarioWords &words);
    void withdraw(ScenarioWords &words);
    void update(ScenarioWords &words);
    void refresh(ScenarioWords &words);
    void switch_over(ScenarioWords &words);
    void show(ScenarioWords &words);

    SegmentTranscript *transcript_;
    Mistake mistake_;
    std::uint64_t mistakes_ = 0;
    std::uint64_t blocks_before_;
    const FamilyInfo *info_;
    std::unique_ptr<SegmentationPoint> point_;
};

} // namespace qel::host
