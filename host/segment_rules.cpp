#include "host/segment_rules.h"

#include "host/family_words.h"
#include "host/match.h"
#include "host/ng_mvpn_words.h"
#include "host/text.h"
#include "ngmvpn/qel_ngmvpn_policy.h"
#include "qel_byteorder.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace qel::host {
namespace {

constexpr std::size_t kReplacementSize = 24;
constexpr std::size_t kRootAt = 4;
constexpr std::size_t kTemplateAt = 20;

// What a rule may ask of a route, as the family tells the policy engine.
struct Matchable {
    std::optional<std::uint8_t> route_type;
    std::string rd;
    std::vector<std::array<std::uint8_t, kCommunitySize>> communities;
};

void take(Matchable &out, const MatchTlv &tlv)
{
    if (tlv.type == QEL_NGMVPN_MATCH_TLV_MVPN_TYPE && tlv.value.size() == 1) {
        out.route_type = tlv.value[0];
    } else if (tlv.type == QEL_NGMVPN_MATCH_TLV_RD && tlv.value.size() == sizeof(QEL_RD_VALUE_S)) {
        QEL_RD_VALUE_S rd; // as the route holds it, in host order
        std::memcpy(&rd, tlv.value.data(), sizeof(rd));
        Buffer text;
        append_rd(text, rd);
        out.rd = fmt::to_string(text);
    } else if (tlv.type == QEL_NGMVPN_MATCH_TLV_EXTCOMM) {
        for (std::size_t at = 0; at + kCommunitySize <= tlv.value.size(); at += kCommunitySize) {
            std::copy_n(tlv.value.data() + at, kCommunitySize, out.communities.emplace_back().data());
        }
    }
}

Matchable matchable(const Family &family, const QEL_ROUTE_INFO_S &route)
{
    Matchable out;
    for_each_match(
        family, route, [&](std::uint32_t match) { return ng_mvpn_match_written(route, match); },
        [&](const MatchTlv &tlv) { take(out, tlv); });
    return out;
}

bool matches(const SegmentRule &rule, const Matchable &route)
{
    return (!rule.route_type || rule.route_type == route.route_type) && (!rule.rd || *rule.rd == route.rd) &&
           (!rule.community ||
            std::find(route.communities.begin(), route.communities.end(), *rule.community) != route.communities.end());
}

// Applies an action and keeps its block in `held`; says in words what it did.
std::string run(const PolicyAction &action, const Family &family, const QEL_ROUTE_INFO_S &route, BlockPtr &held,
                std::string_view done)
{
    PolicyAction::Result result = action.apply(family, route);
    if (result.code != QEL_OK) {
        return fmt::format("action {} failed, 0x{:x}", action.code(), result.code);
    }
    if (result.block == nullptr) {
        return fmt::format("action {} has nothing to do", action.code());
    }
    held = std::move(result.block);
    return fmt::format("action {}: {}", action.code(), done);
}

} // namespace

PolicyAction TunnelReplacement::action() const
{
    std::array<std::uint8_t, kReplacementSize> value{};
    QEL_StoreBe32(value.data(), type);
    QEL_StoreBe32(value.data() + kRootAt, root);
    QEL_StoreBe32(value.data() + kTemplateAt, template_id);
    return {PolicyAction::Kind::replace_tunnel, value};
}

SegmentPolicy::Outcome SegmentPolicy::apply(const Family &family, const QEL_ROUTE_INFO_S &route) const
{
    Outcome out;
    if (rules_.empty()) {
        return out;
    }
    const Matchable values = matchable(family, route);
    const auto found =
        std::find_if(rules_.begin(), rules_.end(), [&](const auto &each) { return matches(each.second, values); });
    out.accepted = found != rules_.end() && found->second.accept;
    if (found == rules_.end()) {
        return out;
    }
    out.policy_id = found->first;
    if (!out.accepted) {
        return out;
    }
    QEL_ROUTE_INFO_S after = route;
    after.uiPolicyId = out.policy_id;
    for (const PolicyAction &edit : found->second.edits) {
        // The list before stays until the next one is made of it.
        BlockPtr edited;
        out.actions.push_back(run(edit, family, after, edited, "new communities"));
        if (edited != nullptr) {
            out.communities = std::move(edited);
            place_sections(after, *out.communities);
        }
    }
    if (found->second.replacement) {
        out.actions.push_back(
            run(found->second.replacement->action(), family, after, out.record, "an import attribute record"));
    }
    return out;
}

} // namespace qel::host
