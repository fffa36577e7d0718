// The BGP peers of a segmentation point, and the UPDATEs that they get.
#pragma once

#include "host/family.h"
#include "host/message_buffer.h"
#include "host/ng_mvpn_route.h"

#include <array>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace qel::host {

enum class PeerKind : std::uint8_t { ibgp, ebgp, confederation, local };

// How a peer's kind is told to the library.
std::uint32_t control_flag(PeerKind kind);
std::string_view peer_kind_name(PeerKind kind);

// This router, as its peers see it.
struct LocalRouter {
    std::uint32_t as = 65000;
    std::uint32_t ipv4 = 0xc00002fe; // 192.0.2.254
    std::array<std::uint8_t, 16> ipv6{0x20, 0x01, 0x0d, 0xb8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xfe};
};

struct SegmentPeer {
    std::string name;
    PeerKind kind = PeerKind::ibgp;
    MvpnAddress address;
    // The UPDATE that announced each route that the peer has from us, by the route's key.
    std::map<std::string, std::vector<std::uint8_t>> announced;
};

// Writes the UPDATEs. The attributes that the family does not own are the host's: ORIGIN is IGP, AS_PATH is empty or
// this router's AS, LOCAL_PREF is 100, the next hop is this router.
class PeerUpdates {
public:
    explicit PeerUpdates(const LocalRouter &router) : router_(router) {}

    const LocalRouter &router() const { return router_; }
    void set_router(const LocalRouter &router) { router_ = router; }

    // Whether the family lets the route go to the peer.
    static bool may_go(const Family &family, QEL_ROUTE_INFO_S route, const SegmentPeer &peer);
    // The route with its outgoing attributes. What the library failed at is left out and told in `troubles`.
    std::vector<std::uint8_t> announcement(const Family &family, const QEL_ROUTE_INFO_S &route, const SegmentPeer &peer,
                                           std::vector<std::string> &troubles);
    std::vector<std::uint8_t> withdrawal(const Family &family, const QEL_ROUTE_INFO_S &route);

private:
    std::vector<std::uint8_t> formatted(const Family &family, QEL_ROUTE_INFO_S route, std::uint8_t type,
                                        std::vector<std::string> &troubles);
    void append_outgoing(std::vector<std::uint8_t> &out, const Family &family, const QEL_ROUTE_INFO_S &route,
                         std::uint8_t type, std::uint32_t flag, std::vector<std::string> &troubles);
    void append_path(std::vector<std::uint8_t> &out, PeerKind kind) const;

    LocalRouter router_;
    MessageWriter writer_;
};

} // namespace qel::host
