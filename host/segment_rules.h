// The routing policy of a segmentation point: numbered rules, of which the first that matches a route decides.
#pragma once

#include "host/family.h"
#include "host/policy.h"
#include "host/route.h"

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace qel::host {

// The instruction to replace a route's tunnel (action 61). Messages to the multicast component carry one octet of the
// type.
struct TunnelReplacement {
    std::uint8_t type = 0;
    std::uint32_t root = 0; // host order
    std::uint32_t template_id = 0;

    PolicyAction action() const;
};

struct SegmentRule {
    bool accept = true;
    // Conditions; a rule without any matches every route.
    std::optional<std::uint8_t> route_type{};               // 1 or 3: the others have nothing to match on
    std::optional<std::string> rd{};                        // as canonical_rd() gives it
    std::optional<std::array<std::uint8_t, 8>> community{}; // in wire order
    // What an accepted route goes through, in order.
    std::vector<PolicyAction> edits{};
    std::optional<TunnelReplacement> replacement{};
};

class SegmentPolicy {
public:
    // A route as policy leaves it. Sections that no action touched are those of the route before.
    struct Outcome {
        bool accepted = true;
        std::uint32_t policy_id = QEL_POLICY_ID_NONE; // the number of the rule that decided
        BlockPtr communities;                         // the list after the edits; null: none did anything
        BlockPtr record;                              // the import attribute record of action 61
        std::vector<std::string> actions;             // what was done, in words
    };

    void set(std::uint32_t number, SegmentRule rule) { rules_[number] = std::move(rule); }
    // Whether there was one.
    bool remove(std::uint32_t number) { return rules_.erase(number) != 0; }

    // A policy without rules lets every route through; one with rules denies what none of them matches.
    Outcome apply(const Family &family, const QEL_ROUTE_INFO_S &route) const;

private:
    std::map<std::uint32_t, SegmentRule> rules_;
};

} // namespace qel::host
