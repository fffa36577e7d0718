#include "host/segment_component.h"

#include "host/tlv.h"
#include "ngmvpn/qel_ngmvpn_intercomp_msg.h"
#include "ngmvpn/qel_ngmvpn_segment_parsemsg.h"

#include <algorithm>
#include <utility>

namespace qel::host {
namespace {

// In a request types 12 and 15 are the attributes that the route arrived with. In an answer they are the replaced ones,
// and the original ones have types of their own.
std::optional<std::uint16_t> type_in_answer(std::uint16_t asked)
{
    switch (asked) {
    case QEL_NGMVPN_TLV_PMSI:
        return QEL_NGMVPN_TLV_ORIG_PMSI;
    case QEL_NGMVPN_TLV_SNH:
        return QEL_NGMVPN_TLV_ORIG_SNH;
    case QEL_NGMVPN_TLV_PLY_INFO:
        return QEL_NGMVPN_TLV_ORIG_PMSI_RPL_INFO;
    default:
        return std::nullopt;
    }
}

} // namespace

SegmentComponent::Answer SegmentComponent::answer_to(Octets route, Octets attributes) const
{
    Answer out{{route.begin(), route.end()}, {}};
    for_each_tlv(attributes, [&](std::uint16_t asked, Octets value) {
        if (const auto type = type_in_answer(asked); type && !value.empty()) {
            append_tlv(out.attributes, *type, value);
        }
    });
    if (replacement_.segmented_next_hop) {
        append_tlv(out.attributes, QEL_NGMVPN_TLV_SNH, *replacement_.segmented_next_hop);
    }
    if (replacement_.tunnel) {
        append_tlv(out.attributes, QEL_NGMVPN_TLV_PMSI, *replacement_.tunnel);
    }
    return out;
}

void SegmentComponent::hear(Octets route, Octets attributes)
{
    if (mood_ != Mood::silent) {
        (mood_ == Mood::late ? waiting_ : ready_).push_back(answer_to(route, attributes));
    }
}

std::optional<SegmentComponent::Answer> SegmentComponent::next()
{
    if (ready_.empty()) {
        return std::nullopt;
    }
    Answer out = std::move(ready_.front());
    ready_.pop_front();
    return out;
}

std::size_t SegmentComponent::release(std::size_t count)
{
    const std::size_t released = std::min(count, waiting_.size());
    for (std::size_t i = 0; i < released; ++i) {
        ready_.push_back(std::move(waiting_.front()));
        waiting_.pop_front();
    }
    return released;
}

} // namespace qel::host
