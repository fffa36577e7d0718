// The components of a router, wired in memory: the multicast VPN core (mvpn), the routing of the VPNs (mvrf), a
// stand-in for the multicast component (mc), and a backup of each of the first two.
#pragma once

#include "host/channel.h"
#include "host/multicast_component.h"

#include <cstdint>

namespace qel::host {

// Sends routes around: from the core, where BGP has left them, to the VPNs, from there to the multicast component, and
// by the same way back. Each backup is told what its component has.
class ComponentRing {
public:
    // A route as each component has it when the messages have been read; without a key where it did not arrive.
    struct Stations {
        Route mvpn_backup;
        Route mvrf;
        Route mvrf_backup;
        Route mvrf_from_mc;
        Route mvpn_from_mvrf;
    };

    // `info` is a decodable row of known_families(). The sink has to outlive the ring. Throws as Family does.
    ComponentRing(const FamilyInfo &info, std::uint32_t mem_handle, DeliverySink &sink);
    ComponentRing(const ComponentRing &) = delete;
    ComponentRing &operator=(const ComponentRing &) = delete;

    // `route` is as the core has it.
    Stations pass(const QEL_ROUTE_INFO_S &route, Change change, const McPath &path);
    // The way to a component's backup.
    Mirror mirror(Component component)
    {
        return component == Component::mvpn ? Mirror(mvpn_, mvpn_backup_, courier_)
                                            : Mirror(mvrf_, mvrf_backup_, courier_);
    }

private:
    void tell_mc(const QEL_ROUTE_INFO_S &route, Change change);
    Route hear_mc(Change change, const McPath &path);
    void add_path(Route &route, BlockPtr path);

    Family families_[4];
    Port mvpn_;
    Port mvpn_backup_;
    Port mvrf_;
    Port mvrf_backup_;
    Port mc_port_{"mc", nullptr};
    MulticastComponent mc_;
    Courier courier_;
};

} // namespace qel::host
