// A segmentation point on a long random walk, beside a model of what has to become of each route.
#include "host/ng_mvpn_route.h"
#include "host/segmentation_point.h"
#include "host/update_writer.h"

#include "../support.h"
#include "update_builder.h"

#include <algorithm>
#include <deque>
#include <map>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <tuple>
#include <vector>

namespace qel::host {
namespace {

using namespace qel::test;

// --- what routes are made of ----------------------------------------------------------------------------------------

constexpr int kRoutes = 7; // the last one is of a type that is not concerned
constexpr int kReplacingSnh = 100;
constexpr int kReplacingTunnel = 100;

// The route's number is its RD's.
Bytes nlri(int route)
{
    Bytes out = bytes("010c 0000fde800000000 c0000201");
    if (route == kRoutes - 1) {
        out = bytes("0512 0000fde800000000 20 0a010001 20 ef010101");
    } else if (route % 2 == 1) {
        out = bytes("0316 0000fde800000000 20 0a010001 20 e8010101 c0000201");
    }
    out[9] = static_cast<std::uint8_t>(route);
    return out;
}

Bytes target(int which)
{
    return {0, 2, 0xfd, 0xe8, 0, 0, 0, static_cast<std::uint8_t>(which)};
}

Bytes snh(int which)
{
    return {1, 0x12, 192, 0, 2, static_cast<std::uint8_t>(which), 0, 0};
}

// Values of the PMSI tunnel attribute, of three types and of several lengths.
Bytes tunnel(int which)
{
    const auto number = static_cast<std::uint8_t>(which);
    switch (which % 3) {
    case 0:
        return join({bytes("00 01 000000 00000005 0000 0011 c00002"), {number}});
    case 1:
        return join({bytes("00 02 000000 06 0001 04 c0000201 00"), {number}, Bytes(number, 0x5a)});
    default:
        return join({bytes("00 0b 000000 01 0014 c00002"), {number}});
    }
}

// --- the model ------------------------------------------------------------------------------------------------------

struct Original {
    int policy = 0; // the rule
    int ply = 0;    // what it says of the replacement
    int snh = 0;
    int tunnel = 0;

    bool same_input(const Original &other) const
    {
        return std::tie(ply, snh, tunnel) == std::tie(other.ply, other.snh, other.tunnel);
    }
    bool operator==(const Original &) const = default;
};

struct Replaced {
    std::optional<int> snh;
    std::optional<int> tunnel;
};

struct ModelRecord {
    Original original;
    std::optional<Replaced> replaced;
};

enum class Verdict { denied_by_policy, success, deny, withdraw };

struct ModelRoute {
    std::string from;
    int target = 0;
    std::optional<int> snh;
    std::optional<int> tunnel;
    std::optional<ModelRecord> record;
    Verdict verdict = Verdict::success;
};

struct ModelRule {
    int number = 0;
    bool accept = true;
    std::optional<int> ply;
};

struct ModelAnswer {
    int route = 0;
    ModelRecord record;
};

// Who is who: two IBGP peers, one that is not, and the router itself.
bool from_inside(const std::string &from)
{
    return from == "pe1" || from == "pe2";
}

class Model {
public:
    std::map<int, ModelRoute> routes;
    std::vector<ModelRule> rules; // one or none
    SegmentComponent::Mood mood = SegmentComponent::Mood::prompt;
    Replaced replacement;
    std::deque<ModelAnswer> ready;
    std::deque<ModelAnswer> waiting;
    std::vector<std::string> rows; // the decisions since the last look
    int asked = 0;

    void evaluate(int number, bool may_ask)
    {
        ModelRoute &route = routes.at(number);
        if (!rules.empty() && !rules[0].accept) {
            route.verdict = Verdict::denied_by_policy;
            route.record.reset();
            return;
        }
        const bool ask = decide(number, route);
        if (ask && may_ask) {
            ++asked;
            if (mood != SegmentComponent::Mood::silent) {
                const ModelAnswer answer{number, {route.record->original, replacement}};
                (mood == SegmentComponent::Mood::late ? waiting : ready).push_back(answer);
            }
        }
    }

    void take_answers()
    {
        while (!ready.empty()) {
            const ModelAnswer answer = ready.front();
            ready.pop_front();
            const auto found = routes.find(answer.route);
            if (found == routes.end() || !found->second.record ||
                found->second.record->original.policy != answer.record.original.policy) {
                continue;
            }
            const bool fresh = found->second.record->original == answer.record.original;
            found->second.record = answer.record;
            evaluate(answer.route, !fresh);
        }
    }

    void run_policy()
    {
        // in the order of the table: by type, then by number
        std::vector<int> order;
        for (const auto &[number, route] : routes) {
            order.push_back(number);
        }
        const auto type = [](int number) { return number == kRoutes - 1 ? 5 : number % 2 == 1 ? 3 : 1; };
        std::sort(order.begin(), order.end(),
                  [&](int a, int b) { return std::pair(type(a), a) < std::pair(type(b), b); });
        for (const int number : order) {
            evaluate(number, true);
        }
        take_answers();
    }

private:
    // The record that policy makes of the route, if it makes one.
    std::optional<ModelRecord> made(const ModelRoute &route, int number) const
    {
        const bool replaces = !rules.empty() && rules[0].ply.has_value();
        if (!replaces || number == kRoutes - 1 || !route.snh || !route.tunnel) {
            return std::nullopt;
        }
        return ModelRecord{{rules[0].number, *rules[0].ply, *route.snh, *route.tunnel}, std::nullopt};
    }

    bool settle(ModelRoute &route, const char *row, Verdict verdict, bool ask)
    {
        rows.emplace_back(row);
        route.verdict = verdict;
        return ask;
    }

    // The table of decisions. Returns whether the component has to be asked.
    bool decide(int number, ModelRoute &route)
    {
        std::optional<ModelRecord> fresh = made(route, number);
        const std::optional<ModelRecord> old = route.record;
        route.record = fresh;
        if (number == kRoutes - 1 || !from_inside(route.from) || !fresh) {
            route.record.reset();
            return settle(route, "none", Verdict::success, false);
        }
        if (!old) {
            return settle(route, "A", Verdict::deny, true);
        }
        if (!old->replaced) {
            return settle(route, "B", Verdict::deny, true);
        }
        const bool unchanged = old->original.same_input(fresh->original);
        if (!old->replaced->snh) {
            return unchanged ? settle(route, "2.1", Verdict::withdraw, false)
                             : settle(route, "2.2", Verdict::deny, true);
        }
        if (unchanged) {
            route.record = old;
            return settle(route, "1.1", Verdict::success, false);
        }
        route.record->replaced = old->replaced;
        return settle(route, "1.2", Verdict::success, true);
    }
};

// --- the point on its walk ------------------------------------------------------------------------------------------

class Rows final : public NoteSink {
public:
    std::vector<std::string> rows;
    int asked = 0;
    std::uint64_t notes = 0;

    void note(const Note &note) override
    {
        ++notes;
        const auto field = [&](std::string_view name) -> const Note::Value * {
            const auto found = std::find_if(note.fields.begin(), note.fields.end(),
                                            [&](const Note::Field &each) { return each.name == name; });
            return found != note.fields.end() ? &found->value : nullptr;
        };
        if (note.what == "decision" && field("towards") == nullptr) {
            rows.push_back(std::get<std::string>(*field("row")));
        }
        asked += note.what == "ask" && field("component") != nullptr ? 1 : 0;
    }
};

// The value of a path attribute of an UPDATE, if it has it.
std::optional<Bytes> value_of(const std::vector<std::uint8_t> &update, std::uint8_t type)
{
    const UpdateFrame frame = split_update(update);
    AttributeList list(frame.attributes, 0);
    for (PathAttribute attribute; list.next(attribute);) {
        if (attribute.type == type) {
            return Bytes(attribute.value.begin(), attribute.value.end());
        }
    }
    return std::nullopt;
}

std::set<Bytes> elements(const std::optional<Bytes> &list)
{
    std::set<Bytes> out;
    for (std::size_t at = 0; list && at + 8 <= list->size(); at += 8) {
        out.emplace(list->begin() + static_cast<std::ptrdiff_t>(at),
                    list->begin() + static_cast<std::ptrdiff_t>(at + 8));
    }
    return out;
}

int number_of(std::string_view key)
{
    QEL_NGMVPN_KEY_S record;
    EXPECT_EQ(key.size(), sizeof(record));
    std::memcpy(&record, key.data(), sizeof(record));
    return static_cast<int>(record.stRd.uiAssigned);
}

class Walk {
public:
    explicit Walk(std::uint32_t seed) : random_(seed)
    {
        MvpnAddress address;
        address.kind = MvpnAddress::Kind::ipv4;
        for (const char *name : {"pe1", "pe2", "pe3"}) {
            point_.add_peer(name, PeerKind::ibgp, address);
        }
        point_.add_peer("ext", PeerKind::ebgp, address);
    }

    void step();
    void check();
    const std::map<std::string, int> &seen() const { return seen_; }

private:
    int any(int count) { return std::uniform_int_distribution<int>(0, count - 1)(random_); }

    void announce();
    void withdraw();
    void change_policy();
    void change_component();
    void release();
    void send(const std::string &from, const Bytes &attributes)
    {
        ASSERT_TRUE(point_.receive(from, make_update(attributes)));
    }
    void check_peer(const SegmentPeer &peer);
    void check_update(const ModelRoute &route, const SegmentPeer &peer, const std::vector<std::uint8_t> &update);

    std::mt19937 random_;
    std::uint64_t blocks_before_ = platform::usage(kMemHandle).live_blocks;
    Rows rows_;
    SegmentationPoint point_{*find_family(1, 5), kMemHandle, rows_};
    Model model_;
    std::map<std::string, int> seen_;
};

void Walk::announce()
{
    const int number = any(kRoutes);
    static const std::string speakers[] = {"pe1", "pe1", "pe2", "ext", "local"};
    ModelRoute route;
    route.from = speakers[any(5)];
    route.target = any(2);
    if (any(8) != 0) {
        route.snh = any(2);
    }
    if (any(8) != 0) {
        route.tunnel = any(4);
    }
    Bytes attributes;
    append_mp_reach(attributes, *find_family(1, 5), bytes("c0000201"), nlri(number));
    Bytes communities = target(route.target);
    if (route.snh) {
        communities = join({communities, snh(*route.snh)});
    }
    append_attribute(attributes, kOptionalTransitive, 16, communities);
    if (route.tunnel) {
        append_attribute(attributes, kOptionalTransitive, 22, tunnel(*route.tunnel));
    }
    if (const auto held = model_.routes.find(number); held != model_.routes.end()) {
        route.record = held->second.record;
    }
    model_.routes[number] = route;
    model_.evaluate(number, true);
    model_.take_answers();
    send(route.from, attributes);
}

void Walk::withdraw()
{
    const int number = any(kRoutes);
    const auto held = model_.routes.find(number);
    const std::string from = held != model_.routes.end() && any(4) != 0 ? held->second.from : "pe1";
    Bytes attributes;
    append_mp_unreach(attributes, *find_family(1, 5), nlri(number));
    if (held != model_.routes.end() && held->second.from == from) {
        model_.routes.erase(held);
    }
    send(from, attributes);
}

// A rule in the place of the one before, or of another number when that one has gone.
void Walk::change_policy()
{
    ModelRule rule;
    rule.number = 10 + any(2);
    if (!model_.rules.empty()) {
        const int number = model_.rules[0].number;
        if (any(2) == 0) {
            rule.number = number;
        } else {
            model_.rules.clear();
            model_.run_policy();
            EXPECT_TRUE(point_.remove_rule(static_cast<std::uint32_t>(number)));
            if (any(4) == 0) {
                return;
            }
        }
    }
    SegmentRule set;
    rule.accept = set.accept = any(8) != 0;
    if (rule.accept && any(8) != 0) {
        rule.ply = any(2);
        set.replacement = TunnelReplacement{2, 0xc00002fe, static_cast<std::uint32_t>(*rule.ply)};
    }
    model_.rules = {rule};
    model_.run_policy();
    point_.set_rule(static_cast<std::uint32_t>(rule.number), std::move(set));
}

void Walk::change_component()
{
    using Mood = SegmentComponent::Mood;
    static constexpr Mood moods[] = {Mood::prompt, Mood::late, Mood::late, Mood::silent};
    model_.mood = moods[any(4)];
    model_.replacement = {};
    SegmentComponent::Replacement replacement;
    if (any(2) != 0) {
        const int which = kReplacingSnh + any(2);
        model_.replacement.snh = which;
        replacement.segmented_next_hop.emplace();
        std::ranges::copy(snh(which), replacement.segmented_next_hop->begin());
    }
    if (any(4) != 0) {
        model_.replacement.tunnel = kReplacingTunnel + any(3);
        replacement.tunnel = tunnel(*model_.replacement.tunnel);
    }
    point_.component().set_mood(model_.mood);
    point_.component().set_replacement(std::move(replacement));
}

void Walk::release()
{
    const std::size_t count = std::min<std::size_t>(model_.waiting.size(), static_cast<std::size_t>(any(3)) + 1);
    EXPECT_EQ(point_.component().release(count), count);
    for (std::size_t i = 0; i < count; ++i) {
        model_.ready.push_back(model_.waiting.front());
        model_.waiting.pop_front();
    }
    model_.take_answers();
    point_.take_answers();
}

void Walk::step()
{
    switch (any(20)) {
    case 0:
        return change_policy();
    case 1:
    case 2:
        return change_component();
    case 3:
        model_.run_policy();
        return point_.refresh();
    case 4:
        model_.run_policy();
        return point_.switch_over();
    case 5:
    case 6:
    case 7:
    case 8:
    case 9:
        return release();
    case 10:
    case 11:
        return withdraw();
    default:
        return announce();
    }
}

void Walk::check()
{
    EXPECT_EQ(rows_.rows, model_.rows);
    EXPECT_EQ(rows_.asked, model_.asked);
    for (const std::string &row : model_.rows) {
        ++seen_[row];
    }
    rows_.rows.clear();
    model_.rows.clear();
    EXPECT_EQ(point_.component().waiting(), model_.waiting.size());
    EXPECT_EQ(point_.active().routes().size(), model_.routes.size());
    EXPECT_EQ(boards_difference(point_.active(), point_.backup()), "");
    EXPECT_EQ(platform::usage(kMemHandle).live_blocks, blocks_before_ + point_.block_count());
    for (const SegmentPeer &peer : point_.peers()) {
        check_peer(peer);
    }
}

void Walk::check_peer(const SegmentPeer &peer)
{
    std::set<int> expected;
    for (const auto &[number, route] : model_.routes) {
        const bool passes = peer.kind == PeerKind::ibgp ? route.verdict == Verdict::success
                                                        : route.verdict != Verdict::denied_by_policy;
        if (passes && route.from != peer.name) {
            expected.insert(number);
        }
    }
    std::set<int> announced;
    for (const auto &[key, update] : peer.announced) {
        const int number = number_of(key);
        announced.insert(number);
        if (const auto route = model_.routes.find(number); route != model_.routes.end()) {
            check_update(route->second, peer, update);
        }
    }
    EXPECT_EQ(announced, expected) << peer.name;
}

// Towards IBGP the replaced values go out if there are some; towards EBGP the route goes as it came, without SNH.
void Walk::check_update(const ModelRoute &route, const SegmentPeer &peer, const std::vector<std::uint8_t> &update)
{
    const bool inside = peer.kind == PeerKind::ibgp;
    const Replaced replaced = inside && route.record && route.record->replaced ? *route.record->replaced : Replaced{};
    std::set<Bytes> communities{target(route.target)};
    if (inside && route.snh) {
        communities.insert(snh(replaced.snh.value_or(*route.snh)));
    }
    EXPECT_EQ(elements(value_of(update, 16)), communities) << peer.name;
    std::optional<Bytes> expected;
    if (route.tunnel) {
        expected = tunnel(replaced.tunnel.value_or(*route.tunnel));
    }
    EXPECT_EQ(value_of(update, 22), expected) << peer.name;
}

TEST(SegmentationWalk, TheDecisionTableHoldsAndTheBackupIsTheSameAfterEveryEvent)
{
    constexpr int steps = 4000;
    const LeakCheck leaks;
    std::map<std::string, int> seen;
    {
        Walk walk(20261121);
        for (int i = 0; i < steps && !::testing::Test::HasFailure(); ++i) {
            walk.step();
            walk.check();
            EXPECT_FALSE(::testing::Test::HasFailure()) << "at step " << i;
        }
        seen = walk.seen();
    }
    for (const char *row : {"none", "A", "B", "1.1", "1.2", "2.1", "2.2"}) {
        EXPECT_GT(seen[row], 10) << row;
        RecordProperty(std::string("row_") + row, seen[row]);
    }
}

} // namespace
} // namespace qel::host
