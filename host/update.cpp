#include "host/update.h"

#include "qel_byteorder.h"

#include <algorithm>

namespace qel::host {
namespace {

constexpr std::uint8_t kFlagExtendedLength = 0x10;
// Behind AFI, SAFI and the next hop's length octet; the next hop and one reserved octet follow.
constexpr std::size_t kMpReachFixed = 4;
constexpr std::size_t kMpUnreachFixed = 3;
// The family stores 0 or 1 in the more-word, or leaves it alone: a value that it never stores tells these apart.
constexpr std::uint32_t kMoreUnwritten = 0xa5a5a5a5;

UpdateFrame malformed_frame(std::size_t offset, std::string_view text)
{
    UpdateFrame frame;
    frame.malformed = Malformed{offset, text};
    return frame;
}

} // namespace

UpdateFrame split_update(Octets message)
{
    std::size_t at = kBgpHeaderSize;
    if (message.size() < at + 2) {
        return malformed_frame(message.size(), "the UPDATE ends before its withdrawn routes length");
    }
    const std::size_t withdrawn_length = QEL_LoadBe16(message.data() + at);
    if (message.size() - at - 2 < withdrawn_length) {
        return malformed_frame(at, "the withdrawn routes run past the end of the UPDATE");
    }
    UpdateFrame frame;
    frame.withdrawn = message.subspan(at + 2, withdrawn_length);
    at += 2 + withdrawn_length;
    if (message.size() - at < 2) {
        return malformed_frame(at, "the UPDATE ends before its path attributes length");
    }
    const std::size_t attributes_length = QEL_LoadBe16(message.data() + at);
    if (message.size() - at - 2 < attributes_length) {
        return malformed_frame(at, "the path attributes run past the end of the UPDATE");
    }
    frame.attributes_offset = at + 2;
    frame.attributes = message.subspan(frame.attributes_offset, attributes_length);
    frame.nlri = message.subspan(frame.attributes_offset + attributes_length);
    return frame;
}

bool AttributeList::fail(std::string_view text)
{
    malformed_ = Malformed{base_ + at_, text};
    at_ = list_.size();
    return false;
}

bool AttributeList::next(PathAttribute &attribute)
{
    const Octets left = list_.subspan(at_);
    if (left.empty()) {
        return false;
    }
    const bool extended = (left[0] & kFlagExtendedLength) != 0;
    const std::size_t header = extended ? 4 : 3;
    if (left.size() < header) {
        return fail("the path attributes end inside the header of an attribute");
    }
    const std::size_t length = extended ? QEL_LoadBe16(left.data() + 2) : left[2];
    if (left.size() - header < length) {
        return fail("a path attribute runs past the end of the path attributes");
    }
    attribute.flags = left[0];
    attribute.type = left[1];
    attribute.offset = base_ + at_;
    attribute.value_offset = attribute.offset + header;
    attribute.value = left.subspan(header, length);
    at_ += header + length;
    return true;
}

MpAttribute split_mp(const PathAttribute &attribute)
{
    const Octets value = attribute.value;
    MpAttribute mp;
    mp.attribute = attribute.type;
    if (value.size() >= kMpUnreachFixed) {
        mp.afi = QEL_LoadBe16(value.data());
        mp.safi = value[2];
    }
    std::size_t fixed = kMpUnreachFixed;
    if (attribute.type == kAttrMpReach) {
        fixed = kMpReachFixed;
        if (value.size() >= fixed) {
            const std::size_t length = value[fixed - 1];
            if (value.size() - fixed < length + 1) {
                mp.malformed =
                    Malformed{attribute.value_offset + fixed - 1, "the next hop runs past the end of MP_REACH_NLRI"};
                return mp;
            }
            mp.next_hop = value.subspan(fixed, length);
            fixed += length + 1; // the reserved octet; its value means nothing (RFC 4760, section 3)
        }
    }
    if (value.size() < fixed) {
        mp.malformed = Malformed{attribute.offset, attribute.type == kAttrMpReach ? "MP_REACH_NLRI is too short"
                                                                                  : "MP_UNREACH_NLRI is too short"};
        return mp;
    }
    mp.nlri = value.subspan(fixed);
    mp.nlri_offset = attribute.value_offset + fixed;
    return mp;
}

AttributeWalk::AttributeWalk(const Family &family, std::uint32_t attribute_type, Octets octets)
    : family_(&family), type_(attribute_type), octets_(octets), stopped_(octets.empty())
{
}

bool AttributeWalk::is_nlri() const
{
    return type_ == kAttrMpReach || type_ == kAttrMpUnreach || type_ == kNlriWithoutLabels;
}

bool AttributeWalk::is_framed_by_bits() const
{
    return family_->info().framing == Framing::bits;
}

// The route at the cursor by its own length octet, cut where the attribute ends; another attribute is one piece.
std::size_t AttributeWalk::framed_length() const
{
    const std::size_t left = octets_.size() - at_;
    if (!is_nlri()) {
        return left;
    }
    if (is_framed_by_bits()) {
        return std::min(left, std::size_t{1} + (octets_[at_] + 7U) / 8U);
    }
    return left < 2 ? left : std::min(left, std::size_t{2} + octets_[at_ + 1]);
}

// A tunnel that is not carried has the code of a refused identifier; the family stepped over it.
bool AttributeWalk::is_not_carried(std::uint32_t code, bool moved) const
{
    return type_ == QEL_ATTR_TYPE_PMSI && (code == QEL_ERR_PMSI_NO_TUNNEL || (code == QEL_ERR_PMSI_IDENT && moved));
}

bool AttributeWalk::may_go_on(std::uint32_t code, std::uint32_t more, std::size_t after) const
{
    const std::size_t next = at_ + framed_length();
    if (!is_nlri() || next >= octets_.size()) {
        return false;
    }
    if (is_framed_by_bits() && (code == QEL_ERR_NLRI_REFUSED || code == QEL_ERR_ALLOC)) {
        return true;
    }
    // A Leaf A-D route with an unknown RD type leaves the cursor two octets behind the route, on nothing that is one.
    return more == 1 && after == next && (code == QEL_OK || code == QEL_ERR_NLRI_REFUSED);
}

void AttributeWalk::give(WalkStep &step, WalkStep::Kind kind, std::size_t length)
{
    step.kind = kind;
    step.offset = at_;
    step.octets = octets_.subspan(at_, length);
    at_ += length;
}

bool AttributeWalk::next(WalkStep &step)
{
    step.block.reset();
    step.code = QEL_OK;
    if (stopped_) {
        if (at_ >= octets_.size()) {
            return false;
        }
        give(step, WalkStep::Kind::unread, octets_.size() - at_);
        return true;
    }
    const std::uint8_t *const start = octets_.data() + at_;
    const std::uint8_t *cursor = start;
    QEL_ROUTE_BLOCK_S *block = nullptr;
    std::uint32_t more = kMoreUnwritten;
    step.code = family_->desc().pfParsePkt(&cursor, static_cast<std::uint32_t>(octets_.size() - at_), 0, type_, &block,
                                           &more, family_->ctx());
    step.block.reset(block);
    stopped_ = !may_go_on(step.code, more, at_ + static_cast<std::size_t>(cursor - start));
    const std::size_t length = framed_length();
    if (is_nlri() && is_framed_by_bits() && step.code == QEL_ERR_ALLOC) {
        give(step, WalkStep::Kind::lost, length);
        return true;
    }
    if (step.code != QEL_OK) {
        const bool not_carried = is_not_carried(step.code, cursor != start);
        give(step, not_carried ? WalkStep::Kind::not_carried : WalkStep::Kind::refused, length);
        return true;
    }
    if (block == nullptr && !is_nlri()) {
        at_ = octets_.size(); // an attribute that the family does not know
        return false;
    }
    give(step, block != nullptr ? WalkStep::Kind::block : WalkStep::Kind::lost, length);
    return true;
}

} // namespace qel::host
