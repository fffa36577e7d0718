// Keeps the backup board of a segmentation point as the active one is.
#pragma once

#include "host/channel.h"
#include "host/segment_board.h"

#include <span>
#include <string>
#include <vector>

namespace qel::host {

// What was sent, and what became of it.
struct MirrorReport {
    std::vector<std::string> messages; // "HA 1, 33 octets"
    std::string difference;            // what differs on the backup; empty: nothing
};

// One operation: made where it is needed.
class SegmentMirror final : private DeliverySink {
public:
    SegmentMirror(const SegmentBoard &active, SegmentBoard &backup);

    // The route with its record.
    MirrorReport tell(const StoredRoute &route);
    // `route` is still on the active board.
    MirrorReport withdraw(const StoredRoute &route);

private:
    void delivered(const Delivery &delivery) override;
    BlockPtr send_record(const Channel &channel, const QEL_ROUTE_INFO_S &route) const;
    void file(Route route, BlockPtr record, const SegmentState &state);

    const SegmentBoard &active_;
    SegmentBoard &backup_;
    MirrorReport report_;
};

// What of all routes differs between the boards; empty: nothing.
std::string boards_difference(const SegmentBoard &active, const SegmentBoard &backup);

} // namespace qel::host
