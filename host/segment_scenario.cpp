#include "host/segment_scenario.h"

#include "host/filter.h"
#include "host/platform/platform.h"
#include "host/update_writer.h"

#include <fmt/format.h>

#include <algorithm>
#include <string>
#include <utility>

namespace qel::host {
namespace {

constexpr std::uint32_t kMemHandle = 1;
constexpr std::uint8_t kSafi = 5;

PeerKind peer_kind(std::string_view word)
{
    for (const PeerKind kind : {PeerKind::ibgp, PeerKind::ebgp, PeerKind::confederation}) {
        if (word == peer_kind_name(kind)) {
            return kind;
        }
    }
    throw ScenarioError(fmt::format("'{}' is no kind of peer: ibgp, ebgp or confederation", word));
}

// Conditions of a rule; false at a word that is none.
bool take_condition(ScenarioWords &words, SegmentRule &rule)
{
    if (words.take("type")) {
        rule.route_type = static_cast<std::uint8_t>(words.number("route type", kNgMvpnTypes));
    } else if (words.take("rd")) {
        rule.rd = words.rd();
    } else if (words.take("rt")) {
        rule.community = words.route_target();
    } else {
        return false;
    }
    return true;
}

bool take_edit(ScenarioWords &words, SegmentRule &rule)
{
    using Kind = PolicyAction::Kind;
    if (words.take("add")) {
        rule.edits.emplace_back(Kind::add, words.route_target());
    } else if (words.take("replace")) {
        rule.edits.emplace_back(Kind::replace, words.route_target());
    } else if (words.take("delete")) {
        rule.edits.emplace_back(Kind::remove, std::span<const std::uint8_t>());
    } else if (words.take("replace-tunnel")) {
        TunnelReplacement &replacement = rule.replacement.emplace();
        replacement.type = static_cast<std::uint8_t>(words.number("replacement type", UINT8_MAX));
        replacement.root = words.ipv4("root");
        replacement.template_id = words.number("template", UINT32_MAX);
    } else {
        return false;
    }
    return true;
}

SegmentRule rule_of(ScenarioWords &words)
{
    SegmentRule rule;
    rule.accept = words.take("accept");
    if (!rule.accept && !words.take("deny")) {
        throw ScenarioError("a rule says accept, deny or none");
    }
    while (take_condition(words, rule) || (rule.accept && take_edit(words, rule))) {
    }
    words.end();
    return rule;
}

} // namespace

struct SegmentScenario::Verb {
    std::string_view word;
    Event event;
};

SegmentScenario::SegmentScenario(SegmentTranscript &transcript, Mistake mistake)
    : transcript_(&transcript), mistake_(std::move(mistake)), blocks_before_(platform::usage(kMemHandle).live_blocks),
      info_(find_family(1, kSafi))
{
}

SegmentationPoint &SegmentScenario::point()
{
    if (point_ == nullptr) {
        point_ = std::make_unique<SegmentationPoint>(*info_, kMemHandle, *transcript_);
    }
    return *point_;
}

void SegmentScenario::run(std::istream &lines)
{
    std::string line;
    for (std::uint64_t number = 1; std::getline(lines, line); ++number) {
        try {
            run_line(number, line);
        } catch (const ScenarioError &error) {
            ++mistakes_;
            transcript_->flush();
            mistake_(number, error.what());
        }
    }
}

void SegmentScenario::run_line(std::uint64_t number, std::string_view line)
{
    static constexpr Verb verbs[] = {
        {"family", &SegmentScenario::family},
        {"router", &SegmentScenario::router},
        {"peer", &SegmentScenario::peer},
        {"import", &SegmentScenario::import},
        {"policy", &SegmentScenario::policy},
        {"component", &SegmentScenario::component},
        {"announce", &SegmentScenario::announce},
        {"withdraw", &SegmentScenario::withdraw},
        {"update", &SegmentScenario::update},
        {"refresh", &SegmentScenario::refresh},
        {"switch-over", &SegmentScenario::switch_over},
        {"show", &SegmentScenario::show},
    };
    ScenarioWords words(line);
    if (!words.more()) {
        if (const std::size_t comment = line.find('#'); comment != std::string_view::npos) {
            transcript_->remark(line.substr(comment));
        }
        return;
    }
    const std::string_view word = words.next("an event");
    const Verb *verb =
        std::find_if(std::begin(verbs), std::end(verbs), [&](const Verb &each) { return each.word == word; });
    if (verb == std::end(verbs)) {
        throw ScenarioError(fmt::format("'{}' is no event", word));
    }
    line = line.substr(0, line.find('#'));
    line.remove_prefix(line.find_first_not_of(" \t"));
    transcript_->step(number, line.substr(0, line.find_last_not_of(" \t\r") + 1));
    (this->*verb->event)(words);
    words.end();
}

void SegmentScenario::family(ScenarioWords &words)
{
    const std::string_view name = words.next("ipv4 or ipv6");
    if (name != "ipv4" && name != "ipv6") {
        throw ScenarioError(fmt::format("'{}' is no address family: ipv4 or ipv6", name));
    }
    if (point_ != nullptr) {
        throw ScenarioError("the family stands in front of all other events");
    }
    info_ = find_family(name == "ipv4" ? 1 : 2, kSafi);
}

void SegmentScenario::router(ScenarioWords &words)
{
    LocalRouter router;
    router.as = words.number("AS", UINT32_MAX);
    router.ipv4 = words.ipv4("address");
    if (words.more()) {
        const MvpnAddress ipv6 = words.address("IPv6 address");
        if (ipv6.kind != MvpnAddress::Kind::ipv6) {
            throw ScenarioError("the router's second address is an IPv6 address");
        }
        std::copy(std::begin(ipv6.value.aucIpv6), std::end(ipv6.value.aucIpv6), router.ipv6.begin());
    }
    point().set_router(router);
}

void SegmentScenario::peer(ScenarioWords &words)
{
    std::string name(words.next("the peer's name"));
    const PeerKind kind = peer_kind(words.next("ibgp, ebgp or confederation"));
    const MvpnAddress address = words.address("the peer's address");
    if (!point().add_peer(name, kind, address)) {
        throw ScenarioError(fmt::format("there is a peer '{}' already", name));
    }
}

void SegmentScenario::import(ScenarioWords &words)
{
    std::string vpn(words.next("the VPN's name"));
    point().add_import(std::move(vpn), words.route_target());
}

void SegmentScenario::policy(ScenarioWords &words)
{
    const std::uint32_t number = words.number("the rule's number", QEL_POLICY_ID_NONE - 1);
    if (!words.take("none")) {
        point().set_rule(number, rule_of(words));
    } else if (!point().remove_rule(number)) {
        throw ScenarioError(fmt::format("there is no rule {}", number));
    }
}

void SegmentScenario::component(ScenarioWords &words)
{
    SegmentComponent &component = point().component();
    if (words.take("answers")) {
        component.set_mood(SegmentComponent::Mood::prompt);
    } else if (words.take("waits")) {
        component.set_mood(SegmentComponent::Mood::late);
    } else if (words.take("silent")) {
        component.set_mood(SegmentComponent::Mood::silent);
    } else if (words.take("replaces")) {
        SegmentComponent::Replacement replacement;
        if (words.take("snh")) {
            replacement.segmented_next_hop = words.segmented_next_hop();
        }
        if (words.take("tunnel")) {
            replacement.tunnel = words.tunnel();
        }
        words.end();
        component.set_replacement(std::move(replacement));
    } else if (words.take("release")) {
        const std::size_t count = words.more() ? words.number("count", UINT32_MAX) : component.waiting();
        if (component.release(count) == 0) {
            throw ScenarioError("no answer waits");
        }
        point().take_answers();
    } else {
        throw ScenarioError("the component answers, waits, is silent, replaces or is told to release");
    }
}

void SegmentScenario::receive(std::string_view from, Octets attributes)
{
    if (!point().receive(from, make_update(attributes))) {
        throw ScenarioError(fmt::format("there is no peer '{}'", from));
    }
}

// The peer's own address; this router's for its own routes.
std::vector<std::uint8_t> SegmentScenario::next_hop_of(std::string_view from)
{
    const std::vector<SegmentPeer> &peers = point().peers();
    const auto peer =
        std::find_if(peers.begin(), peers.end(), [&](const SegmentPeer &each) { return each.name == from; });
    MvpnAddress own;
    own.kind = MvpnAddress::Kind::ipv4;
    own.value.uiIpv4 = point().router().ipv4;
    return address_octets(peer != peers.end() ? peer->address : own);
}

void SegmentScenario::announce(ScenarioWords &words)
{
    const std::string from(words.next("the peer"));
    const std::vector<std::uint8_t> route = words.route();
    const std::vector<std::uint8_t> others = words.attributes();
    std::vector<std::uint8_t> attributes;
    append_mp_reach(attributes, *info_, next_hop_of(from), route);
    attributes.insert(attributes.end(), others.begin(), others.end());
    receive(from, attributes);
}

void SegmentScenario::withdraw(ScenarioWords &words)
{
    const std::string from(words.next("the peer"));
    const std::vector<std::uint8_t> route = words.route();
    words.end();
    std::vector<std::uint8_t> attributes;
    append_mp_unreach(attributes, *info_, route);
    receive(from, attributes);
}

void SegmentScenario::update(ScenarioWords &words)
{
    const std::string from(words.next("the peer"));
    ScenarioWords joined(words.rest());
    const std::vector<std::uint8_t> message = joined.octets("the UPDATE");
    if (message.size() < kBgpHeaderSize || message[kBgpHeaderSize - 1] != static_cast<std::uint8_t>(BgpType::update)) {
        throw ScenarioError("the octets are no UPDATE with its header");
    }
    if (!point().receive(from, message)) {
        throw ScenarioError(fmt::format("there is no peer '{}'", from));
    }
}

void SegmentScenario::refresh(ScenarioWords &words)
{
    words.end();
    point().refresh();
}

void SegmentScenario::switch_over(ScenarioWords &words)
{
    words.end();
    point().switch_over();
}

void SegmentScenario::show(ScenarioWords &words)
{
    words.end();
    point().show();
}

bool SegmentScenario::finish()
{
    Note note("end");
    std::string difference;
    if (point_ != nullptr) {
        difference = boards_difference(point_->active(), point_->backup());
        note.with("routes", std::uint64_t{point_->active().routes().size()});
        point_.reset();
    }
    const std::uint64_t leaked = platform::usage(kMemHandle).live_blocks - blocks_before_;
    note.with("backup", difference.empty() ? std::string("the same octets") : "differs: " + difference)
        .with("blocks_leaked", leaked)
        .with("mistakes", mistakes_);
    transcript_->note(note);
    transcript_->flush();
    return mistakes_ == 0 && leaked == 0 && difference.empty();
}

} // namespace qel::host
