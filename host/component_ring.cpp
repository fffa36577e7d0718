#include "host/component_ring.h"

#include <utility>

namespace qel::host {
namespace {

// The first type code of a pair announces, the second withdraws.
constexpr TargetTypes kTargets{{56, 57}, {56, 57}, {}};
constexpr TargetTypes kTargetsToMc{{56, 57}, {56, 57}, {56, 57}};
constexpr Protocol kMvpnToMvrf{Carrier::message, {59, 61}, Half::first, {}};
constexpr Protocol kMvrfToMvpn{Carrier::message, {53, 55}, Half::second, kTargets};
constexpr Protocol kMvrfToMc{Carrier::message, {5, 5}, Half::first, kTargetsToMc};

constexpr std::uint32_t kPathToMc = 6;
constexpr std::uint32_t kRouteFromMc = 15;
constexpr std::uint32_t kPathFromMc = 16;
constexpr std::uint32_t kNonKey = 34;

// Attribute messages that the multicast component listens to: it learns the tunnel and the identifiers of segments from
// the route path, but no communities.
bool is_community_list(std::uint32_t type)
{
    return type == 11 || type == 50;
}

} // namespace

ComponentRing::ComponentRing(const FamilyInfo &info, std::uint32_t mem_handle, DeliverySink &sink)
    : families_{Family(info, mem_handle, Component::mvpn), Family(info, mem_handle, Component::mvpn),
                Family(info, mem_handle, Component::mvrf), Family(info, mem_handle, Component::mvrf)},
      mvpn_{"mvpn", &families_[0]}, mvpn_backup_{"mvpn-backup", &families_[1]}, mvrf_{"mvrf", &families_[2]},
      mvrf_backup_{"mvrf-backup", &families_[3]}, mc_(info.kind), courier_(sink)
{
}

ComponentRing::Stations ComponentRing::pass(const QEL_ROUTE_INFO_S &route, Change change, const McPath &path)
{
    Stations out;
    out.mvpn_backup = mirror(Component::mvpn).tell(route, change);
    out.mvrf = Channel(mvpn_, mvrf_, courier_).send_route(kMvpnToMvrf, route, change);
    if (!has_key(out.mvrf)) {
        return out;
    }
    const QEL_ROUTE_INFO_S &held = out.mvrf.info();
    out.mvrf_backup = mirror(Component::mvrf).tell(held, change);
    const Channel to_core(mvrf_, mvpn_, courier_);
    to_core.send_targets(kMvrfToMvpn, held, change);
    tell_mc(held, change);
    out.mvrf_from_mc = hear_mc(change, path);
    if (has_key(out.mvrf_from_mc)) {
        out.mvpn_from_mvrf = to_core.send_route(kMvrfToMvpn, out.mvrf_from_mc.info(), change);
    }
    return out;
}

void ComponentRing::tell_mc(const QEL_ROUTE_INFO_S &route, Change change)
{
    const Channel channel(mvrf_, mc_port_, courier_);
    const auto tell = [&](Carrier carrier, std::uint32_t type, const QEL_ROUTE_INFO_S &what) {
        mc_.hear(carrier, type, channel.write(carrier, type, what).octets());
    };
    mc_.reset();
    tell(Carrier::message, kMvrfToMc.route.of(change, route), route);
    if (change != Change::withdraw) {
        tell(Carrier::message, kPathToMc, route);
        channel.for_each_attribute(kMvrfToMc.half, route, [&](std::uint32_t type) {
            if (is_community_list(type)) {
                tell(Carrier::attribute, type, route);
            }
        });
    }
    channel.for_each_target(kMvrfToMc, route, change, [&](std::uint32_t type, const QEL_ROUTE_INFO_S &target) {
        tell(Carrier::message, type, target);
    });
}

Route ComponentRing::hear_mc(Change change, const McPath &path)
{
    const Channel channel(mc_port_, mvrf_, courier_);
    Route out;
    mc_.answer(change, path, [&](std::uint32_t type, Octets octets) {
        BlockPtr block = channel.read(Carrier::message, type, octets);
        if (type == kRouteFromMc) {
            out.add(std::move(block));
        } else if (type == kPathFromMc && block != nullptr && has_key(out)) {
            add_path(out, std::move(block));
        }
    });
    return out;
}

// The next hop of a route path joins the non-key that the route has; the attribute becomes the route's own.
void ComponentRing::add_path(Route &route, BlockPtr path)
{
    BlockPtr merged;
    if (path->usNonKeyOffset != 0) {
        const auto *start = reinterpret_cast<const std::uint8_t *>(path.get());
        const MessageBuffer added({start + path->usNonKeyOffset, path->usNonKeyLen});
        const Family &family = *mvrf_.family;
        QEL_ROUTE_BLOCK_S *block = nullptr;
        const std::uint32_t code =
            family.desc().pfParseAddAttrMsg(&route.info(), added.data(), added.size(), kNonKey, &block, family.ctx());
        if (code != QEL_OK || block == nullptr) {
            Channel(mc_port_, mvrf_, courier_).show(Carrier::attribute, kNonKey, added.octets(), code, nullptr);
            return;
        }
        merged.reset(block);
    }
    route.add(std::move(path));
    route.add(std::move(merged));
}

} // namespace qel::host
