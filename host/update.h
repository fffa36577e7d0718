// The frame of a BGP UPDATE (RFC 4271, section 4.3; RFC 4760; RFC 8654), and the walk of one attribute through a
// family. Everything here looks into the caller's octets and allocates nothing of its own.
#pragma once

#include "host/bgp_stream.h"
#include "host/family.h"
#include "host/route.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

namespace qel::host {

using Octets = std::span<const std::uint8_t>;

enum class BgpType : std::uint8_t { open = 1, update = 2, notification = 3, keepalive = 4, route_refresh = 5 };

inline constexpr std::uint8_t kAttrMpReach = 14;
inline constexpr std::uint8_t kAttrMpUnreach = 15;
// No attribute of BGP: what a family is told of NLRI without the labels that it has otherwise.
inline constexpr std::uint32_t kNlriWithoutLabels = 256;

// A length field that does not fit: where it stands, counted from the first octet of the message, and what is wrong.
struct Malformed {
    std::size_t offset = 0;
    std::string_view text;
};

// The path attributes of an UPDATE. If the frame is malformed they are empty.
struct UpdateFrame {
    Octets withdrawn; // IPv4 unicast
    Octets attributes;
    std::size_t attributes_offset = 0;
    Octets nlri; // IPv4 unicast
    std::optional<Malformed> malformed;
};

// `message` is a whole UPDATE with its header.
UpdateFrame split_update(Octets message);

struct PathAttribute {
    std::uint8_t flags = 0;
    std::uint8_t type = 0;
    std::size_t offset = 0;       // of the flags octet in the message
    std::size_t value_offset = 0; // of the value in the message
    Octets value;
};

// Goes through a list of path attributes, one per call of next().
class AttributeList {
public:
    // `base` is the offset of the list in its message.
    AttributeList(Octets list, std::size_t base) : list_(list), base_(base) {}

    // False at the end and at an attribute that does not fit; malformed() tells which.
    bool next(PathAttribute &attribute);
    const std::optional<Malformed> &malformed() const { return malformed_; }

private:
    bool fail(std::string_view text);

    Octets list_;
    std::size_t base_;
    std::size_t at_ = 0;
    std::optional<Malformed> malformed_;
};

// Whether the routes of an attribute are read with an MPLS label in front of each.
enum class Labels : std::uint8_t {
    none_known, // the family has no such choice
    with,
    without,
    with_either,  // the octets fit with labels, and fit without
    with_neither, // the octets fit in neither way
};

// The value of MP_REACH_NLRI or MP_UNREACH_NLRI.
struct MpAttribute {
    std::uint8_t attribute = 0; // kAttrMpReach or kAttrMpUnreach
    std::uint16_t afi = 0;
    std::uint8_t safi = 0;
    Octets next_hop; // empty for MP_UNREACH_NLRI
    Octets nlri;
    std::size_t nlri_offset = 0; // in the message
    Labels labels = Labels::none_known;
    std::optional<Malformed> malformed;

    // By what type the family is to read the routes.
    std::uint32_t nlri_type() const { return labels == Labels::without ? kNlriWithoutLabels : attribute; }
};

// AFI and SAFI are 0 if the value is too short to hold them, the rest is empty if it is malformed.
MpAttribute split_mp(const PathAttribute &attribute);

// What the walk of an attribute came upon.
struct WalkStep {
    enum class Kind : std::uint8_t {
        block,       // a route, or the record of another attribute: `block` holds it
        refused,     // the family answered `code`
        lost,        // a route was read, but there was no memory for its block
        unread,      // nobody looked at these octets
        not_carried, // a well-formed PMSI tunnel attribute without a tunnel, or with one that the family does not carry
    };

    Kind kind = Kind::unread;
    std::uint32_t code = 0;
    std::size_t offset = 0; // of `octets` in what was walked
    Octets octets;          // routes: type, length and body, as far as they are there; else the whole value
    BlockPtr block;
};

// Offers the octets of one attribute to a family, route by route. Every octet of MP_REACH_NLRI and MP_UNREACH_NLRI
// comes up in exactly one step. The rules for going on are the careful ones: after a route while the family says that
// more follows; after a refusal only if the family stepped over exactly that route, and said so; else never. A family
// whose routes have their length in bits refuses for what a route holds only when its length is good, and stops inside
// of it: there the walk goes on behind the route, and behind one for which there was no memory.
class AttributeWalk {
public:
    // `octets`: the NLRI for the two MP attributes and for kNlriWithoutLabels, the value for all others.
    AttributeWalk(const Family &family, std::uint32_t attribute_type, Octets octets);

    bool next(WalkStep &step);

private:
    bool is_nlri() const;
    bool is_framed_by_bits() const;
    std::size_t framed_length() const;
    bool is_not_carried(std::uint32_t code, bool moved) const;
    bool may_go_on(std::uint32_t code, std::uint32_t more, std::size_t after) const;
    void give(WalkStep &step, WalkStep::Kind kind, std::size_t length);

    const Family *family_;
    std::uint32_t type_;
    Octets octets_;
    std::size_t at_ = 0;
    bool stopped_;
};

} // namespace qel::host
