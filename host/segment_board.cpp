#include "host/segment_board.h"

#include "host/segment_record.h"

#include <algorithm>
#include <set>
#include <string_view>
#include <utility>
#include <vector>

namespace qel::host {

SegmentBoard::SegmentBoard(const FamilyInfo &info, std::uint32_t mem_handle)
    : family_(info, mem_handle), routes_(family_)
{
}

StoredRoute *SegmentBoard::put(StoredRoute route)
{
    StoredRoute *held = routes_.insert_or_replace(std::move(route)).route;
    if (held != nullptr) {
        states_.try_emplace(held);
    }
    return held;
}

void SegmentBoard::erase(std::span<const std::uint8_t> key)
{
    if (const StoredRoute *route = routes_.find(key); route != nullptr) {
        states_.erase(route);
        routes_.erase(key);
    }
}

QEL_ROUTE_INFO_S SegmentBoard::received(const StoredRoute &route) const
{
    QEL_ROUTE_INFO_S info = route.info();
    place_record(info, state(route).record.get());
    return info;
}

QEL_ROUTE_INFO_S SegmentBoard::edited(const StoredRoute &route) const
{
    const SegmentState &held = state(route);
    QEL_ROUTE_INFO_S info = route.info();
    if (held.communities != nullptr) {
        place_sections(info, *held.communities);
    }
    place_record(info, held.record.get());
    return info;
}

std::size_t SegmentBoard::block_count() const
{
    std::size_t count = 0;
    std::set<const AttributeBlocks *> counted; // routes of one UPDATE share their attributes
    for (const StoredRoute &route : routes_) {
        const SegmentState &held = state(route);
        count += 1U + (held.communities != nullptr ? 1U : 0U) + (held.record != nullptr ? 1U : 0U);
        const AttributeBlocks *attributes = route.attributes().get();
        if (attributes != nullptr && counted.insert(attributes).second) {
            count += attributes->blocks().size();
        }
    }
    return count;
}

std::string_view first_difference(const QEL_ROUTE_INFO_S &a, const QEL_ROUTE_INFO_S &b)
{
    struct Section {
        std::string_view name;
        const std::uint8_t *QEL_ROUTE_INFO_S::*data;
        std::uint32_t QEL_ROUTE_INFO_S::*length;
    };
    static constexpr Section sections[] = {
        {"RD", &QEL_ROUTE_INFO_S::pucRd, &QEL_ROUTE_INFO_S::uiRdLen},
        {"key", &QEL_ROUTE_INFO_S::pucKey, &QEL_ROUTE_INFO_S::uiKeyLen},
        {"non-key", &QEL_ROUTE_INFO_S::pucNonKey, &QEL_ROUTE_INFO_S::uiNonKeyLen},
        {"communities", &QEL_ROUTE_INFO_S::pucExtComm, &QEL_ROUTE_INFO_S::uiExtCommLen},
        {"tunnel", &QEL_ROUTE_INFO_S::pucPmsi, &QEL_ROUTE_INFO_S::uiPmsiLen},
        {"IPv6 communities", &QEL_ROUTE_INFO_S::pucIpv6ExtComm, &QEL_ROUTE_INFO_S::uiIpv6ExtCommLen},
        {"Prefix-SID", &QEL_ROUTE_INFO_S::pucPfxSid, &QEL_ROUTE_INFO_S::uiPfxSidLen},
        {"MSID", &QEL_ROUTE_INFO_S::pucMsid, &QEL_ROUTE_INFO_S::uiMsidLen},
    };
    for (const Section &section : sections) {
        const std::span<const std::uint8_t> left{a.*section.data, a.*section.length};
        const std::span<const std::uint8_t> right{b.*section.data, b.*section.length};
        if (!std::equal(left.begin(), left.end(), right.begin(), right.end())) {
            return section.name;
        }
    }
    return record_octets(a) == record_octets(b) ? "" : "import attribute record";
}

} // namespace qel::host
