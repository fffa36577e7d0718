// A control board of a segmentation point: an instance of the family, its routes, and what goes with each of them.
#pragma once

#include "host/family.h"
#include "host/route_table.h"
#include "host/segment_peer.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <string>

namespace qel::host {

// What a route has beside its own sections.
struct SegmentState {
    std::string from; // the peer
    PeerKind source = PeerKind::ibgp;
    std::optional<std::uint32_t> verdict; // what the library decided; nothing: policy denies the route
    BlockPtr communities;                 // as policy leaves them; null: those that the route arrived with
    BlockPtr record;                      // the import attribute record; null: none
};

class SegmentBoard {
public:
    // Throws as Family does.
    SegmentBoard(const FamilyInfo &info, std::uint32_t mem_handle);
    SegmentBoard(const SegmentBoard &) = delete;
    SegmentBoard &operator=(const SegmentBoard &) = delete;

    const Family &family() const { return family_; }
    const RouteTable &routes() const { return routes_; }

    // A route that is there already keeps what goes with it. Null: the family does not order such a route.
    StoredRoute *put(StoredRoute route);
    StoredRoute *find(std::span<const std::uint8_t> key) { return routes_.find(key); }
    const StoredRoute *find(std::span<const std::uint8_t> key) const { return routes_.find(key); }
    void erase(std::span<const std::uint8_t> key);
    // Of a route of this board.
    SegmentState &state(const StoredRoute &route) { return states_[&route]; }
    const SegmentState &state(const StoredRoute &route) const { return states_.at(&route); }

    // As it was received, with its record. Holds as long as neither changes.
    QEL_ROUTE_INFO_S received(const StoredRoute &route) const;
    // As policy leaves it, with its record.
    QEL_ROUTE_INFO_S edited(const StoredRoute &route) const;

    // The library's blocks that the routes own.
    std::size_t block_count() const;

private:
    Family family_;
    RouteTable routes_;
    std::map<const StoredRoute *, SegmentState> states_;
};

// The first section in which two routes differ: "key", "tunnel", "import attribute record"; empty if they are the same
// octet for octet.
std::string_view first_difference(const QEL_ROUTE_INFO_S &a, const QEL_ROUTE_INFO_S &b);

} // namespace qel::host
