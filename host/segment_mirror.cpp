#include "host/segment_mirror.h"

#include "host/segment_record.h"

#include <fmt/format.h>

#include <utility>

namespace qel::host {
namespace {

constexpr std::uint32_t kAnnounce = 1;
constexpr std::uint32_t kWithdraw = 3;
constexpr std::uint32_t kRecord = 40;
// The reader of a record wants so many octets behind it.
constexpr std::size_t kBehindRecord = 4;

std::string_view carrier_name(Carrier carrier)
{
    return carrier == Carrier::ha ? "HA" : "attribute";
}

} // namespace

SegmentMirror::SegmentMirror(const SegmentBoard &active, SegmentBoard &backup) : active_(active), backup_(backup) {}

void SegmentMirror::delivered(const Delivery &delivery)
{
    std::string line =
        fmt::format("{} {} of {} octets", carrier_name(delivery.carrier), delivery.type, delivery.octets.size());
    if (delivery.code != QEL_OK) {
        line += fmt::format(", {} with 0x{:x}", delivery.octets.empty() ? "not written" : "refused", delivery.code);
    }
    report_.messages.push_back(std::move(line));
}

BlockPtr SegmentMirror::send_record(const Channel &channel, const QEL_ROUTE_INFO_S &route) const
{
    const MessageBuffer message = channel.write(Carrier::attribute, kRecord, route);
    if (message.size() == 0) {
        return nullptr;
    }
    const Octets written = message.octets();
    std::vector<std::uint8_t> octets(written.begin(), written.end());
    octets.resize(octets.size() + kBehindRecord);
    return channel.read(Carrier::attribute, kRecord, octets);
}

// The block with the key is the route, the others are its attributes.
void SegmentMirror::file(Route route, BlockPtr record, const SegmentState &state)
{
    BlockPtr nlri;
    std::vector<BlockPtr> attributes;
    for (BlockPtr &block : route.take_blocks()) {
        const bool is_route = nlri == nullptr && (block->uiValidMask & QEL_SECTION_KEY) != 0;
        if (is_route) {
            nlri = std::move(block);
        } else {
            attributes.push_back(std::move(block));
        }
    }
    SharedAttributes shared = attributes.empty() ? nullptr : std::make_shared<AttributeBlocks>(std::move(attributes));
    if (const StoredRoute *held = backup_.put(StoredRoute(std::move(nlri), std::move(shared))); held != nullptr) {
        SegmentState &there = backup_.state(*held);
        there.from = state.from; // the host's own, beside the library's messages
        there.source = state.source;
        there.record = std::move(record);
    }
}

MirrorReport SegmentMirror::tell(const StoredRoute &route)
{
    const Port from{"active", &active_.family()};
    const Port to{"backup", &backup_.family()};
    Courier courier(*this);
    const Channel channel(from, to, courier);
    const QEL_ROUTE_INFO_S info = active_.received(route);
    Route there(channel.send(Carrier::ha, kAnnounce, info));
    if (!has_key(there)) {
        report_.difference = "the route did not arrive";
        return std::move(report_);
    }
    BlockPtr record;
    channel.for_each_attribute(Half::first, info, [&](std::uint32_t type) {
        if (type == kRecord) {
            record = send_record(channel, info);
        } else {
            there.add(channel.send(Carrier::attribute, type, info));
        }
    });
    file(std::move(there), std::move(record), active_.state(route));
    if (const StoredRoute *held = backup_.find(route.key()); held != nullptr) {
        report_.difference = first_difference(info, backup_.received(*held));
    } else {
        report_.difference = "the route is not kept";
    }
    return std::move(report_);
}

MirrorReport SegmentMirror::withdraw(const StoredRoute &route)
{
    const Port from{"active", &active_.family()};
    const Port to{"backup", &backup_.family()};
    Courier courier(*this);
    const Route there(Channel(from, to, courier).send(Carrier::ha, kWithdraw, route.info()));
    if (has_key(there)) {
        backup_.erase({there.info().pucKey, there.info().uiKeyLen});
    }
    if (backup_.find(route.key()) != nullptr) {
        report_.difference = "the route is still there";
    }
    return std::move(report_);
}

std::string boards_difference(const SegmentBoard &active, const SegmentBoard &backup)
{
    if (active.routes().size() != backup.routes().size()) {
        return fmt::format("{} routes, {} on the backup", active.routes().size(), backup.routes().size());
    }
    for (const StoredRoute &route : active.routes()) {
        const StoredRoute *held = backup.find(route.key());
        const std::string_view difference =
            held == nullptr ? "a route is missing" : first_difference(active.received(route), backup.received(*held));
        if (!difference.empty()) {
            return std::string(difference);
        }
    }
    return {};
}

} // namespace qel::host
