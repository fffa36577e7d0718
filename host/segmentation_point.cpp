#include "host/segmentation_point.h"

#include "host/attributes.h"
#include "host/cross.h"
#include "host/family_words.h"
#include "host/listing.h"
#include "host/ng_mvpn_route.h"
#include "host/segment_record.h"

#include <fmt/format.h>

#include <algorithm>
#include <optional>
#include <utility>

namespace qel::host {
namespace {

constexpr std::uint32_t kLogModule = 1;
constexpr std::uint32_t kLogHandle = 1;
constexpr std::uint32_t kRouteOfComponent = 137;
constexpr std::uint32_t kAttributesOfComponent = 138;
constexpr std::string_view kLocalName = "local";

template <class Append> std::string words(Append append)
{
    Buffer out;
    append(out);
    return fmt::to_string(out);
}

std::string hex(Octets octets)
{
    return words([&](Buffer &out) { append_hex(out, octets); });
}

std::string route_words(const QEL_ROUTE_INFO_S &route)
{
    const std::optional<NgMvpnRoute> values = ng_mvpn_route(route);
    if (!values) {
        return "a route without a key";
    }
    std::string out = words([&](Buffer &line) { append_route(line, palette(false), *values); });
    // The columns of a listing, closed up.
    const auto blanks = std::unique(out.begin(), out.end(), [](char a, char b) { return a == ' ' && b == ' '; });
    out.erase(blanks, out.end());
    return out;
}

std::string key_of(const StoredRoute &route)
{
    const std::span<const std::uint8_t> key = route.key();
    return {key.begin(), key.end()};
}

Octets section_key(const QEL_ROUTE_BLOCK_S &block)
{
    return {reinterpret_cast<const std::uint8_t *>(&block) + block.usKeyOffset, block.usKeyLen};
}

} // namespace

SegmentationPoint::SegmentationPoint(const FamilyInfo &info, std::uint32_t mem_handle, NoteSink &sink)
    : info_(&info), mem_handle_(mem_handle), sink_(&sink), active_(make_board()), backup_(make_board()),
      imports_(std::make_unique<ImportTable<std::string>>(active_->family()))
{
}

SegmentationPoint::~SegmentationPoint() = default;

std::unique_ptr<SegmentBoard> SegmentationPoint::make_board() const
{
    auto board = std::make_unique<SegmentBoard>(*info_, mem_handle_);
    board->family().desc().pfSetLibDebug(kLogModule, kLogHandle, board->family().ctx());
    return board;
}

std::size_t SegmentationPoint::block_count() const
{
    return active_->block_count() + backup_->block_count() + 2;
}

void SegmentationPoint::tell(Note note)
{
    note.reports = recorder_.asserts().size();
    for (const platform::DebugRecord &record : recorder_.debugs()) {
        note.log.push_back(record.text);
    }
    recorder_.clear();
    sink_->note(note);
}

// --- what is configured ---------------------------------------------------------------------------------------------

bool SegmentationPoint::add_peer(std::string name, PeerKind kind, const MvpnAddress &address)
{
    const auto same = [&](const SegmentPeer &peer) { return peer.name == name; };
    if (name == kLocalName || std::any_of(peers_.begin(), peers_.end(), same)) {
        return false;
    }
    SegmentPeer &added = peers_.emplace_back();
    added.name = std::move(name);
    added.kind = kind;
    added.address = address;
    for (const StoredRoute &route : active_->routes()) {
        advertise(route, added);
    }
    return true;
}

void SegmentationPoint::add_import(std::string vpn, std::span<const std::uint8_t, 8> target)
{
    WalkStep step;
    AttributeWalk(active_->family(), QEL_ATTR_TYPE_EXTCOMM, target).next(step);
    if (step.block != nullptr) {
        const QEL_ROUTE_BLOCK_S &block = *step.block;
        const auto *start = reinterpret_cast<const std::uint8_t *>(&block);
        imports_->insert(Cross({start + block.usAttrOffset, block.usAttrLen}), std::move(vpn));
    }
}

void SegmentationPoint::set_rule(std::uint32_t number, SegmentRule rule)
{
    policy_.set(number, std::move(rule));
    refresh();
}

bool SegmentationPoint::remove_rule(std::uint32_t number)
{
    const bool removed = policy_.remove(number);
    if (removed) {
        refresh();
    }
    return removed;
}

void SegmentationPoint::refresh()
{
    for (const StoredRoute &route : active_->routes()) {
        tell(Note("policy_again").with("route", route_words(route.info())));
        evaluate(route, Ask::yes);
    }
    take_answers();
}

// --- UPDATEs that come ----------------------------------------------------------------------------------------------

bool SegmentationPoint::receive(std::string_view from, Octets message)
{
    SegmentState source;
    source.from = from;
    source.source = PeerKind::local;
    if (from != kLocalName) {
        const auto peer =
            std::find_if(peers_.begin(), peers_.end(), [&](const SegmentPeer &each) { return each.name == from; });
        if (peer == peers_.end()) {
            return false;
        }
        source.source = peer->kind;
    }
    Note note("received");
    note.with("from", fmt::format("{} ({})", from, peer_kind_name(source.source))).with("octets", hex(message));
    note.update.assign(message.begin(), message.end());
    tell(std::move(note));
    const UpdateFrame frame = split_update(message);
    if (frame.malformed) {
        tell(Note("refused").with(
            "why", fmt::format("octet {} of the message: {}", frame.malformed->offset, frame.malformed->text)));
        return true;
    }
    const SharedAttributes attributes = read_attributes(frame);
    AttributeList list(frame.attributes, frame.attributes_offset);
    for (PathAttribute attribute; list.next(attribute);) {
        if (attribute.type != kAttrMpReach && attribute.type != kAttrMpUnreach) {
            continue;
        }
        const MpAttribute mp = split_mp(attribute);
        if (mp.malformed || find_family(mp.afi, mp.safi) != info_) {
            tell(Note("refused").with("why", std::string(mp.malformed ? mp.malformed->text : "another family")));
        } else if (mp.attribute == kAttrMpReach) {
            read_announced(source, mp, attributes);
        } else {
            read_withdrawn(source, mp);
        }
    }
    take_answers();
    return true;
}

SharedAttributes SegmentationPoint::read_attributes(const UpdateFrame &frame)
{
    UpdateAttributes attributes;
    attributes.reset(&active_->family());
    AttributeList list(frame.attributes, frame.attributes_offset);
    for (PathAttribute attribute; list.next(attribute);) {
        if (attribute.type == kAttrMpReach || attribute.type == kAttrMpUnreach) {
            continue;
        }
        AttributeWalk walk(active_->family(), attribute.type, attribute.value);
        for (WalkStep step; walk.next(step);) {
            if (step.kind == WalkStep::Kind::block) {
                attributes.add(std::move(step.block)); // of two of a kind the first one counts
            } else {
                refused(attribute_name(attribute.type), step);
            }
        }
    }
    std::vector<BlockPtr> blocks = attributes.take_blocks();
    return blocks.empty() ? nullptr : std::make_shared<AttributeBlocks>(std::move(blocks));
}

void SegmentationPoint::refused(std::string_view what, const WalkStep &step)
{
    const std::string why = step.kind == WalkStep::Kind::refused
                                ? fmt::format("0x{:x}, {}", step.code, code_meaning(step.code))
                            : step.kind == WalkStep::Kind::not_carried ? "a tunnel that the family does not carry"
                                                                       : "not read";
    tell(Note("refused").with("why", fmt::format("{}: {}", what, why)).with("octets", hex(step.octets)));
}

void SegmentationPoint::read_announced(const SegmentState &source, const MpAttribute &mp,
                                       const SharedAttributes &attributes)
{
    AttributeWalk walk(active_->family(), mp.attribute, mp.nlri);
    for (WalkStep step; walk.next(step);) {
        if (step.kind == WalkStep::Kind::block) {
            announce(source, StoredRoute(std::move(step.block), attributes), step.octets);
        } else {
            refused("route", step);
        }
    }
}

void SegmentationPoint::read_withdrawn(const SegmentState &source, const MpAttribute &mp)
{
    AttributeWalk walk(active_->family(), mp.attribute, mp.nlri);
    for (WalkStep step; walk.next(step);) {
        if (step.kind == WalkStep::Kind::block) {
            const StoredRoute route(std::move(step.block));
            withdraw(source, route.key(), step.octets);
        } else {
            refused("route", step);
        }
    }
}

void SegmentationPoint::announce(const SegmentState &source, StoredRoute route, Octets nlri)
{
    const StoredRoute *held = active_->find(route.key());
    const bool known = held != nullptr;
    const std::string from = known ? active_->state(*held).from : std::string();
    held = active_->put(std::move(route));
    if (held == nullptr) {
        tell(Note("refused").with("why", std::string("route: not ordered by the family")).with("octets", hex(nlri)));
        return;
    }
    SegmentState &state = active_->state(*held);
    state.from = source.from;
    state.source = source.source;
    tell(Note("route")
             .with("announced", route_words(held->info()))
             .with("table", std::string(known ? "replaces the route before" : "new")));
    show_import(held->info());
    show_relay(held->info());
    evaluate(*held, Ask::yes);
}

void SegmentationPoint::withdraw(const SegmentState &source, std::span<const std::uint8_t> key, Octets nlri)
{
    const StoredRoute *held = active_->find(key);
    if (held == nullptr || active_->state(*held).from != source.from) {
        tell(Note("refused")
                 .with("why", std::string("withdrawn: no such route from this peer"))
                 .with("octets", hex(nlri)));
        return;
    }
    tell(Note("route").with("withdrawn", route_words(held->info())));
    for (SegmentPeer &peer : peers_) {
        take_back(*held, peer);
    }
    const MirrorReport report = SegmentMirror(*active_, *backup_).withdraw(*held);
    active_->erase(key);
    tell_mirror(report);
}

void SegmentationPoint::show_import(const QEL_ROUTE_INFO_S &route)
{
    std::vector<std::string> vpns;
    CrossWalk walk(active_->family(), route);
    while (const std::optional<Cross> cross = walk.next()) {
        imports_->for_each_match(cross->octets(), [&](const auto &entry) {
            vpns.push_back(entry.value + ", by " + words([&](Buffer &out) {
                               family_words(info_->kind).cross(out, active_->family(), cross->octets());
                           }));
        });
    }
    if (walk.code() != QEL_OK) {
        vpns.push_back(fmt::format("failed, 0x{:x}", walk.code()));
    }
    if (!vpns.empty()) {
        tell(Note("import").with("vpns", std::move(vpns)));
    }
}

void SegmentationPoint::show_relay(const QEL_ROUTE_INFO_S &route)
{
    std::uint32_t next_hop = 0;
    std::uint32_t has = 0;
    const Family &family = active_->family();
    if (family.desc().pfSetRelayNextHop(&route, &next_hop, &has, family.ctx()) == QEL_OK && has != 0) {
        tell(Note("relay").with("next_hop", words([&](Buffer &out) { append_ipv4(out, next_hop); })));
    }
}

// --- policy and decision --------------------------------------------------------------------------------------------

void SegmentationPoint::evaluate(const StoredRoute &route, Ask ask)
{
    SegmentState &state = active_->state(route);
    SegmentPolicy::Outcome outcome = policy_.apply(active_->family(), route.info());
    show_policy(outcome);
    bool need_proc = false;
    if (outcome.accepted) {
        Decision decision = decide_after(route, outcome);
        need_proc = decision.need_proc;
        state.verdict = decision.code;
        state.record = std::move(decision.record);
    } else {
        state.verdict.reset();
        state.record.reset();
    }
    state.communities = std::move(outcome.communities);
    if (need_proc && ask == Ask::yes) {
        ask_component(route);
    } else if (need_proc) {
        tell(Note("ask").with("not_asked", std::string("the answer leads to the same question")));
    }
    mirror(route);
    advertise(route);
}

void SegmentationPoint::show_policy(const SegmentPolicy::Outcome &outcome)
{
    Note note("policy");
    note.with("result", std::string(outcome.accepted ? "accept" : "deny"));
    if (outcome.policy_id != QEL_POLICY_ID_NONE) {
        note.with("rule", std::uint64_t{outcome.policy_id});
    }
    if (!outcome.actions.empty()) {
        note.with("actions", outcome.actions);
    }
    tell(std::move(note));
}

Decision SegmentationPoint::decide_after(const StoredRoute &route, const SegmentPolicy::Outcome &outcome)
{
    const Family &family = active_->family();
    const QEL_ROUTE_INFO_S before = active_->received(route);
    QEL_ROUTE_INFO_S after = route.info();
    if (outcome.communities != nullptr) {
        place_sections(after, *outcome.communities);
    }
    after.uiPolicyId = outcome.policy_id;
    place_record(after, outcome.record.get());
    Decision decision = decide(family, before, after, control_flag(active_->state(route).source), recorder_);
    QEL_ROUTE_INFO_S carried{};
    place_record(carried, decision.record.get());
    tell(Note("decision")
             .with("result", std::string(decision_name(decision.code)))
             .with("need_proc", decision.need_proc)
             .with("row", std::string(decision.row))
             .with("reason", std::string(decision.reason))
             .with("before", record_lines(family, before))
             .with("after", record_lines(family, carried)));
    return decision;
}

// --- the multicast component ----------------------------------------------------------------------------------------

void SegmentationPoint::ask_component(const StoredRoute &route)
{
    const Family &family = active_->family();
    const QEL_ROUTE_INFO_S info = active_->edited(route);
    std::vector<std::uint8_t> messages[2];
    const std::uint32_t types[2] = {kRouteOfComponent, kAttributesOfComponent};
    for (std::size_t i = 0; i < 2; ++i) {
        const std::uint32_t code = writer_.write([&](std::uint8_t **cursor, std::uint32_t room) {
            return family.desc().pfFormatMsg(&info, types[i], cursor, room, family.ctx());
        });
        if (code != QEL_OK) {
            tell(Note("ask").with("not_asked", fmt::format("message {} not written, 0x{:x}", types[i], code)));
            return;
        }
        messages[i].assign(writer_.written().begin(), writer_.written().end());
    }
    component_.hear(messages[0], messages[1]);
    Note note("ask");
    note.with("component", std::string("messages 137 and 138"));
    note.messages = {{kRouteOfComponent, messages[0]}, {kAttributesOfComponent, messages[1]}};
    tell(std::move(note));
}

void SegmentationPoint::take_answers()
{
    while (const std::optional<SegmentComponent::Answer> answer = component_.next()) {
        take_answer(*answer);
    }
}

// The block with the record; null after a note.
BlockPtr SegmentationPoint::read_answer(const SegmentComponent::Answer &answer)
{
    const Family &family = active_->family();
    const MessageBuffer route(answer.route);
    const MessageBuffer attributes(answer.attributes);
    QEL_ROUTE_BLOCK_S *block = nullptr;
    std::uint32_t code = family.desc().pfParseMsg(route.data(), route.size(), kRouteOfComponent, &block, family.ctx());
    std::uint32_t type = kRouteOfComponent;
    if (code == QEL_OK && block != nullptr) {
        // Replaces the block and frees the one before; on failure it is still there.
        type = kAttributesOfComponent;
        code = family.desc().pfParseMsg(attributes.data(), attributes.size(), type, &block, family.ctx());
    }
    BlockPtr owner(block);
    if (code != QEL_OK || owner == nullptr || !has_record(*owner)) {
        tell(Note("answer").with("refused", fmt::format("message {}, 0x{:x}", type, code)));
        return nullptr;
    }
    return owner;
}

void SegmentationPoint::take_answer(const SegmentComponent::Answer &answer)
{
    Note note("answer");
    note.with("component", std::string("messages 137 and 138"));
    note.messages = {{kRouteOfComponent, answer.route}, {kAttributesOfComponent, answer.attributes}};
    tell(std::move(note));
    BlockPtr block = read_answer(answer);
    if (block == nullptr) {
        return;
    }
    const StoredRoute *route = active_->find(section_key(*block));
    if (route == nullptr) {
        tell(Note("answer").with("dropped", std::string("the route has gone")));
        return;
    }
    SegmentState &state = active_->state(*route);
    if (state.record == nullptr) {
        tell(Note("answer").with("dropped", std::string("the route has no record any more")));
        return;
    }
    const QEL_ROUTE_INFO_S held = active_->received(*route);
    QEL_ROUTE_INFO_S answered{};
    place_record(answered, block.get());
    const QEL_FAMILY_DESC_S &desc = active_->family().desc();
    if (desc.pfCmpDataForAttrType(held.pstImportAttr, held.uiImportAttrLen, answered.pstImportAttr,
                                  answered.uiImportAttrLen, QEL_SECTION_ATTR, QEL_ATTR_TYPE_IMPORT) != 0) {
        tell(Note("answer").with("dropped", std::string("another rule of the policy has asked since")));
        return;
    }
    const bool fresh = desc.pfCheckAttrByType(held.pstImportAttr, held.uiImportAttrLen, answered.pstImportAttr,
                                              answered.uiImportAttrLen, QEL_ATTR_TYPE_IMPORT) == 0;
    tell(Note("answer")
             .with("taken", route_words(route->info()))
             .with("to", std::string(fresh ? "the question as it stands" : "an earlier question"))
             .with("record", record_lines(active_->family(), answered)));
    state.record = std::move(block);
    // An answer to the question as it stands settles it.
    evaluate(*route, fresh ? Ask::no : Ask::yes);
}

// --- backup ---------------------------------------------------------------------------------------------------------

void SegmentationPoint::mirror(const StoredRoute &route)
{
    tell_mirror(SegmentMirror(*active_, *backup_).tell(route));
}

void SegmentationPoint::tell_mirror(const MirrorReport &report)
{
    tell(Note("mirror")
             .with("backup",
                   report.difference.empty() ? std::string("the same octets") : "differs: " + report.difference)
             .with("messages", report.messages));
}

void SegmentationPoint::switch_over()
{
    std::unique_ptr<SegmentBoard> before = std::exchange(active_, std::move(backup_));
    auto imports = std::make_unique<ImportTable<std::string>>(active_->family());
    for (const auto &entry : *imports_) {
        imports->insert(entry.cross, entry.value);
    }
    imports_ = std::move(imports);
    before.reset();
    backup_ = make_board();
    tell(Note("switch_over").with("active", fmt::format("the backup, with {} routes", active_->routes().size())));
    refresh();
}

void SegmentationPoint::show()
{
    for (const StoredRoute &route : active_->routes()) {
        const SegmentState &state = active_->state(route);
        const StoredRoute *there = backup_->find(route.key());
        const std::string_view difference =
            there != nullptr ? first_difference(active_->received(route), backup_->received(*there)) : "the route";
        tell(Note("held")
                 .with("route", route_words(route.info()))
                 .with("from", state.from)
                 .with("verdict", std::string(state.verdict ? decision_name(*state.verdict) : "denied by policy"))
                 .with("backup", std::string(difference.empty() ? "the same octets" : difference))
                 .with("record", record_lines(active_->family(), active_->received(route))));
    }
}

// --- UPDATEs that go ------------------------------------------------------------------------------------------------

void SegmentationPoint::advertise(const StoredRoute &route)
{
    for (SegmentPeer &peer : peers_) {
        advertise(route, peer);
    }
}

// Whether the route may go to the peer; `outgoing` is what goes. What goes to EBGP is decided for itself: there the
// route goes without its record.
bool SegmentationPoint::may_go(const StoredRoute &route, const SegmentPeer &peer, QEL_ROUTE_INFO_S &outgoing)
{
    const SegmentState &state = active_->state(route);
    if (!state.verdict || state.from == peer.name) {
        return false;
    }
    std::uint32_t verdict = *state.verdict;
    if (const std::uint32_t flag = control_flag(peer.kind); flag != 0) {
        const Decision decision =
            decide(active_->family(), active_->received(route), outgoing, flag | control_flag(state.source), recorder_);
        tell(Note("decision")
                 .with("result", std::string(decision_name(decision.code)))
                 .with("towards", peer.name)
                 .with("row", std::string(decision.row))
                 .with("reason", std::string(decision.reason)));
        verdict = decision.code;
        place_record(outgoing, nullptr);
    }
    if (verdict != QEL_OK) {
        return false;
    }
    const bool may = PeerUpdates::may_go(active_->family(), outgoing, peer);
    if (!may) {
        tell(Note("held_back").with("from", peer.name).with("why", std::string("its address is of the other family")));
    }
    return may;
}

void SegmentationPoint::advertise(const StoredRoute &route, SegmentPeer &peer)
{
    QEL_ROUTE_INFO_S outgoing = active_->edited(route);
    if (!may_go(route, peer, outgoing)) {
        take_back(route, peer);
        return;
    }
    std::vector<std::string> troubles;
    std::vector<std::uint8_t> update = updates_.announcement(active_->family(), outgoing, peer, troubles);
    std::vector<std::uint8_t> &sent = peer.announced[key_of(route)];
    if (sent == update) {
        tell(Note("sent").with("nothing_new_to", peer.name));
        return;
    }
    sent = update;
    Note note("sent");
    note.with("to", fmt::format("{} ({})", peer.name, peer_kind_name(peer.kind))).with("octets", hex(update));
    if (!troubles.empty()) {
        note.with("troubles", std::move(troubles));
    }
    note.update = std::move(update);
    tell(std::move(note));
}

void SegmentationPoint::take_back(const StoredRoute &route, SegmentPeer &peer)
{
    if (peer.announced.erase(key_of(route)) == 0) {
        return;
    }
    Note note("sent");
    note.update = updates_.withdrawal(active_->family(), route.info());
    note.with("to", fmt::format("{} ({})", peer.name, peer_kind_name(peer.kind))).with("octets", hex(note.update));
    tell(std::move(note));
}

} // namespace qel::host
