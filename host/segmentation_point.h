// A router that stitches a multicast tunnel of one domain to a tunnel of the next (RFC 7524), around the NG-MVPN
// family: peers, routing policy, the exchange with the multicast component, and a backup that can take over.
#pragma once

#include "host/import_table.h"
#include "host/platform/platform.h"
#include "host/segment_board.h"
#include "host/segment_component.h"
#include "host/segment_decision.h"
#include "host/segment_mirror.h"
#include "host/segment_notes.h"
#include "host/segment_peer.h"
#include "host/segment_rules.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace qel::host {

// Goes the whole road of a route: UPDATE, route table and import, policy, decision, multicast component and backup,
// UPDATE to each peer but the one that it comes from. Every step is told to a sink, in order, before the call returns.
class SegmentationPoint {
public:
    // `info` is the NG-MVPN family of one AFI. The sink has to outlive the point. Throws as Family does. What the
    // library reports and logs goes to the notes as long as the point is the innermost recorder.
    SegmentationPoint(const FamilyInfo &info, std::uint32_t mem_handle, NoteSink &sink);
    ~SegmentationPoint();
    SegmentationPoint(const SegmentationPoint &) = delete;
    SegmentationPoint &operator=(const SegmentationPoint &) = delete;

    const LocalRouter &router() const { return updates_.router(); }
    void set_router(const LocalRouter &router) { updates_.set_router(router); }
    // A peer of a new name gets the routes that may go to it; false if the name is taken.
    bool add_peer(std::string name, PeerKind kind, const MvpnAddress &address);
    // A VPN that imports a route target, in wire order.
    void add_import(std::string vpn, std::span<const std::uint8_t, 8> target);

    // The policy of all routes from now on; every route goes through it again.
    void set_rule(std::uint32_t number, SegmentRule rule);
    // Whether there was such a rule.
    bool remove_rule(std::uint32_t number);
    // Every route goes through policy again.
    void refresh();

    SegmentComponent &component() { return component_; }
    // Takes what the component has ready.
    void take_answers();

    // An UPDATE of a peer, or of this router itself ("local"); false if there is no such peer.
    bool receive(std::string_view from, Octets message);
    // The backup takes over with what it was told, a new backup is filled from it.
    void switch_over();
    // Tells of every route that is held.
    void show();

    const SegmentBoard &active() const { return *active_; }
    const SegmentBoard &backup() const { return *backup_; }
    const std::vector<SegmentPeer> &peers() const { return peers_; }
    // The library's blocks that this point owns: those of the routes and the contexts of the two instances.
    std::size_t block_count() const;

private:
    enum class Ask : std::uint8_t { yes, no };

    std::unique_ptr<SegmentBoard> make_board() const;
    void tell(Note note);

    void read_announced(const SegmentState &source, const MpAttribute &mp, const SharedAttributes &attributes);
    void read_withdrawn(const SegmentState &source, const MpAttribute &mp);
    SharedAttributes read_attributes(const UpdateFrame &frame);
    void announce(const SegmentState &source, StoredRoute route, Octets nlri);
    void withdraw(const SegmentState &source, std::span<const std::uint8_t> key, Octets nlri);
    void refused(std::string_view what, const WalkStep &step);
    void show_import(const QEL_ROUTE_INFO_S &route);
    void show_relay(const QEL_ROUTE_INFO_S &route);

    void evaluate(const StoredRoute &route, Ask ask);
    Decision decide_after(const StoredRoute &route, const SegmentPolicy::Outcome &outcome);
    void show_policy(const SegmentPolicy::Outcome &outcome);
    void ask_component(const StoredRoute &route);
    void take_answer(const SegmentComponent::Answer &answer);
    BlockPtr read_answer(const SegmentComponent::Answer &answer);
    void mirror(const StoredRoute &route);
    void tell_mirror(const MirrorReport &report);

    void advertise(const StoredRoute &route);
    void advertise(const StoredRoute &route, SegmentPeer &peer);
    bool may_go(const StoredRoute &route, const SegmentPeer &peer, QEL_ROUTE_INFO_S &outgoing);
    void take_back(const StoredRoute &route, SegmentPeer &peer);

    const FamilyInfo *info_;
    std::uint32_t mem_handle_;
    NoteSink *sink_;
    platform::Recorder recorder_;
    std::unique_ptr<SegmentBoard> active_;
    std::unique_ptr<SegmentBoard> backup_;
    std::vector<SegmentPeer> peers_;
    std::unique_ptr<ImportTable<std::string>> imports_; // compares as the active board's family does
    SegmentPolicy policy_;
    SegmentComponent component_;
    PeerUpdates updates_{LocalRouter{}};
    MessageWriter writer_;
};

} // namespace qel::host
