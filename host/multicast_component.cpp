#include "host/multicast_component.h"

#include "host/tlv.h"
#include "ngmvpn/qel_ngmvpn_intercomp_msg.h"

#include <utility>

namespace qel::host {
namespace {

constexpr std::uint32_t kRouteHeard = 5;
constexpr std::uint32_t kPathHeard = 6;
constexpr std::uint32_t kRouteSaid = 15;
constexpr std::uint32_t kPathSaid = 16;
constexpr std::uint32_t kCommunitiesHeard = 11;
constexpr std::uint32_t kIpv6CommunitiesHeard = 50;
constexpr TargetTypes kTargetsSaid{{18, 20}, {19, 21}, {157, 158}};

// The value of a next hop TLV: an IPv4 address with the user value behind it, or that and an IPv6 address.
std::vector<std::uint8_t> next_hop_value(const McPath &path)
{
    std::vector<std::uint8_t> out;
    const std::vector<std::uint8_t> user{path.user_value, 0, 0, 0};
    if (path.next_hop.size() == 4) {
        out.assign(path.next_hop.begin(), path.next_hop.end());
        out.insert(out.end(), user.begin(), user.end());
    } else if (path.next_hop.size() == 16) {
        out.assign(4, 0);
        out.insert(out.end(), user.begin(), user.end());
        out.insert(out.end(), path.next_hop.begin(), path.next_hop.end());
    }
    return out;
}

} // namespace

void MulticastComponent::reset()
{
    prefix_.clear();
    attributes_.clear();
    targets_.clear();
}

void MulticastComponent::hear_path(Octets octets)
{
    for_each_tlv(octets, [&](std::uint16_t type, Octets value) {
        attributes_.push_back({type, {value.begin(), value.end()}});
    });
}

void MulticastComponent::hear(Carrier carrier, std::uint32_t type, Octets octets)
{
    if (octets.empty()) {
        return;
    }
    if (carrier == Carrier::attribute) {
        if (type == kCommunitiesHeard || type == kIpv6CommunitiesHeard) {
            const bool ipv6 = type == kIpv6CommunitiesHeard;
            attributes_.push_back(
                {static_cast<std::uint16_t>(ipv6 ? QEL_NGMVPN_TLV_RT6_IMPORT : QEL_NGMVPN_TLV_RT_IMPORT),
                 {octets.begin(), octets.end()}});
        }
        return;
    }
    switch (type) {
    case kRouteHeard:
        if (!wraps_) {
            prefix_.assign(octets.begin(), octets.end());
            return;
        }
        for_each_tlv(octets, [&](std::uint16_t tlv, Octets value) {
            if (tlv == QEL_NGMVPN_TLV_RT_PREFIX) {
                prefix_.assign(value.begin(), value.end());
            }
        });
        return;
    case kPathHeard:
        return hear_path(octets);
    case 56:
    case 57:
        targets_.emplace_back(octets.begin(), octets.end());
        return;
    default:
        return;
    }
}

void MulticastComponent::say_path(const std::vector<std::uint8_t> &next_hop, const Tlv *attribute, const Say &say)
{
    std::vector<std::uint8_t> message;
    if (!next_hop.empty()) {
        append_tlv(message, QEL_NGMVPN_TLV_NEXT_HOP, next_hop);
    }
    if (attribute != nullptr) {
        append_tlv(message, attribute->type, attribute->value);
    }
    if (!message.empty()) {
        say(kPathSaid, message);
    }
}

void MulticastComponent::answer(Change change, const McPath &path, const Say &say)
{
    if (prefix_.empty()) {
        return;
    }
    std::vector<std::uint8_t> route;
    if (wraps_) {
        append_tlv(route, QEL_NGMVPN_TLV_RT_PREFIX, prefix_);
    } else {
        route = prefix_;
    }
    say(kRouteSaid, route);
    if (change != Change::withdraw) {
        const std::vector<std::uint8_t> next_hop = next_hop_value(path);
        for (const Tlv &attribute : attributes_) {
            say_path(next_hop, &attribute, say);
        }
        if (attributes_.empty()) {
            say_path(next_hop, nullptr, say);
        }
    }
    for (const std::vector<std::uint8_t> &target : targets_) {
        if (const std::uint32_t type = kTargetsSaid.of(change, target); type != 0) {
            say(type, target);
        }
    }
}

} // namespace qel::host
