// What the NG-MVPN family makes of messages between components, said a second time and without the library's records,
// for the library to be held against: codes, sections, octets written, and the outcome when any one allocation fails.
#pragma once

#include "attribute_model.h"
#include "import_policy_common.h"
#include "ngmvpn_nlri_model.h"
#include "policy_model.h"

#include "qel_codes.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

namespace qel::fuzz {

constexpr std::size_t kTlvHead = 4;
constexpr std::size_t kNonKeySize = 100;

inline std::uint32_t wire16(Octets from)
{
    return static_cast<std::uint32_t>(from[0] << 8 | from[1]);
}

inline std::uint32_t wire32(Octets from)
{
    return wire16(from) << 16 | wire16(from.subspan(2));
}

inline std::uint32_t little32(Octets from)
{
    return little16(from) | little16(from.subspan(2)) << 16;
}

inline void append(Bytes &to, Octets from)
{
    to.insert(to.end(), from.begin(), from.end());
}

// The number in as many octets, the highest first.
inline Bytes big_endian(std::uint32_t value, std::size_t octets)
{
    Bytes out(octets);
    for (std::size_t i = octets; i > 0; --i, value >>= 8) {
        out[i - 1] = static_cast<std::uint8_t>(value);
    }
    return out;
}

inline Bytes tlv_of(std::uint32_t type, Octets value)
{
    Bytes out = big_endian(type, 2);
    append(out, big_endian(static_cast<std::uint32_t>(value.size()), 2));
    append(out, value);
    return out;
}

inline void place(Bytes &into, std::size_t at, Octets from)
{
    std::copy(from.begin(), from.end(), into.begin() + static_cast<std::ptrdiff_t>(at));
}

// A list in host order as it is when it has been put in order, each element once.
inline Bytes cleaned_up(Octets host_list)
{
    return AttributeModel(kExtComm, list_turned(host_list, false)).judge().section;
}

// ---- memory of one call ----

class Store {
public:
    enum class Place : std::uint8_t { none, lent, heap };

    explicit Store(std::size_t fails) : fails_(fails) {}
    Place heap() { return allocations_++ != fails_ ? Place::heap : Place::none; }
    // The inline buffer once at a time, for what fits it.
    Place scratch(std::size_t size)
    {
        if (size > 256 || lent_) {
            return heap();
        }
        lent_ = true;
        return Place::lent;
    }
    void give_back(Place place) { lent_ = lent_ && place != Place::lent; }
    std::size_t allocations() const { return allocations_; }
    bool lent() const { return lent_; }

private:
    std::size_t fails_;
    std::size_t allocations_ = 0;
    bool lent_ = false;
};

// ---- results ----

struct AttributePart {
    std::uint8_t flag = 0;
    std::uint8_t type = 0;
    Bytes section{};
};

struct RoutePart {
    Octets wire{}; // route type, length, body
    std::size_t unread = 0;
    std::uint8_t rd_kind = 0;
};

struct MessageVerdict {
    std::uint32_t code = QEL_OK;
    bool block = false; // with success, unless there is nothing to do or the route is lost quietly
    std::optional<RoutePart> route{};
    std::optional<Bytes> non_key{};
    std::optional<AttributePart> attribute{};
    std::uint64_t asserts = 0;
    std::size_t allocations = 0;
};

// A message and the octets that are readable behind it.
struct MessageOctets {
    Octets whole;
    std::size_t size;
    Octets from(std::size_t at) const { return whole.subspan(std::min(at, whole.size())); }
};

// ---- readers of one value ----

struct TlvRecord {
    Bytes octets;
    std::size_t advance = 0;
    Store::Place place = Store::Place::none;
    std::size_t size = 0; // of its memory
};

class TlvReaders {
public:
    explicit TlvReaders(Store &store) : store_(store) {}

    // `left`: from the value on, at least `length` octets.
    std::optional<TlvRecord> read(std::uint32_t type, Octets left, std::size_t length)
    {
        const Octets value = left.first(length);
        switch (type) {
        case 13:
        case 15:
        case 19:
            return list(kExtComm, 8, value);
        case 22:
            return list(kIpv6ExtComm, 20, value);
        case 12:
        case 20:
            return length < 5 ? std::nullopt : kept(store_.scratch(268), 268, AttributeModel(kPmsi, value).judge());
        case 23:
            return length != 28 ? std::nullopt : stays(AttributeModel(kPrefixSid, value).judge(), 48);
        case 24:
            return length != 20 && length != 28 ? std::nullopt : stays(msid(value), 20 + length);
        default:
            return std::nullopt;
        }
    }

private:
    std::optional<TlvRecord> kept(Store::Place place, std::size_t size, AttributeVerdict verdict)
    {
        if (place == Store::Place::none) {
            return std::nullopt;
        }
        if (verdict.code != QEL_OK) {
            store_.give_back(place);
            return std::nullopt;
        }
        return TlvRecord{std::move(verdict.section), verdict.advance, place, size};
    }
    // The cursor of these two never moves, and their memory is the heap's.
    std::optional<TlvRecord> stays(AttributeVerdict verdict, std::size_t size)
    {
        verdict.advance = 0;
        return kept(store_.heap(), size, std::move(verdict));
    }

    std::optional<TlvRecord> list(std::uint8_t attribute, std::size_t element, Octets value)
    {
        if (value.size() < element || value.size() % element != 0) {
            return std::nullopt;
        }
        const Store::Place memory = store_.scratch(value.size());
        if (memory == Store::Place::none) {
            return std::nullopt;
        }
        const Store::Place sorting = store_.scratch(element);
        if (sorting == Store::Place::none) {
            store_.give_back(memory);
            return std::nullopt;
        }
        store_.give_back(sorting);
        return kept(memory, value.size(), AttributeModel(attribute, value).judge());
    }

    // Either length of the sub-TLV goes with either value, and one structure is all that may stand behind it.
    static AttributeVerdict msid(Octets value)
    {
        const std::uint32_t inner = wire16(value.subspan(1));
        AttributeVerdict verdict;
        const bool structure = value.size() == 28;
        if (value[0] != 1 || (inner != 17 && inner != 25) ||
            (structure && (value[20] != 1 || wire16(value.subspan(21)) != 5))) {
            verdict.code = QEL_ERR_MSID;
            return verdict;
        }
        verdict.section = structure ? Bytes{value[24], value[25], 1, 0} : Bytes(4);
        append(verdict.section, turned(value.subspan(4, 16), {4, 4, 4, 4}));
        append(verdict.section, value);
        return verdict;
    }

    Store &store_;
};

inline AttributePart part_of(std::uint32_t tlv_type, Bytes section)
{
    switch (tlv_type) {
    case 12:
        return {1, kPmsi, std::move(section)};
    case 22:
        return {3, kIpv6ExtComm, std::move(section)};
    case 23:
        return {4, kPrefixSid, std::move(section)};
    case 24:
        return {5, kMsid, std::move(section)};
    default:
        return {0, kExtComm, std::move(section)};
    }
}

inline Component component_of(Kind kind)
{
    switch (kind) {
    case Kind::plain:
        return Component::none;
    case Kind::mvrf4:
    case Kind::mvpn4:
        return Component::ipv4;
    default:
        return Component::ipv6;
    }
}

inline std::uint16_t family_of(Kind kind)
{
    return kind == Kind::mvrf6 || kind == Kind::mvpn6 ? 2 : 1;
}

// A refused route is no report, but for an answered S-PMSI A-D route of a length that no such route has.
inline std::uint64_t reports_of_route(Octets route)
{
    return route[0] == 4 && route[2] == 3 && route[1] >= 20 && (route[3] < 14 || route[3] > 58) ? 1 : 0;
}

// ---- the messages ----

class MessageModel {
public:
    MessageModel(Kind kind, MessageOctets message, std::size_t fails) : kind_(kind), message_(message), store_(fails) {}

    MessageVerdict from_mvrf() { return done(prefix(0, message_.size, 2)); }
    MessageVerdict from_mvpn() { return done(prefix(0, message_.size, 1)); }
    MessageVerdict from_mc()
    {
        if (message_.size == 0) {
            return reported(QEL_ERR_NULL);
        }
        if (tlv_type(0) != 11) {
            return reported(QEL_ERR_NLRI_MALFORMED);
        }
        const std::uint8_t route_type = message_.whole[4];
        return done(prefix(4, tlv_length(0), route_type >= 4 && route_type <= 7 ? 2 : 1));
    }

    // `all_by_component`: of the older forms the routes of all types, not the first three alone.
    MessageVerdict high_availability(bool all_by_component)
    {
        if (message_.size == 0) {
            return reported(QEL_ERR_NULL);
        }
        const std::uint8_t first = message_.whole[0];
        if (first >= 1 && first <= 7) {
            return done(old_prefix(0, message_.size, all_by_component));
        }
        if (message_.size < 4 || tlv_length(0) > message_.size - 4) {
            return reported(QEL_ERR_NULL);
        }
        if (tlv_type(0) == 11) {
            return done(old_prefix(4, tlv_length(0), all_by_component));
        }
        if (tlv_type(0) != 21) {
            return reported(QEL_ERR_NLRI_MALFORMED);
        }
        if (message_.size < 12 || tlv_length(8) > message_.size - 12) {
            return reported(QEL_ERR_NULL);
        }
        if (tlv_type(8) != 11) {
            return reported(QEL_ERR_NLRI_MALFORMED);
        }
        return done(prefix(12, tlv_length(8), is_mvpn() ? 2 : message_.whole[4]));
    }

    MessageVerdict route_path()
    {
        if (message_.size < 4) {
            return reported(QEL_ERR_TLV);
        }
        std::size_t cursor = 0;
        std::size_t remain = message_.size;
        for (;;) {
            const std::uint32_t type = tlv_type(cursor);
            const std::uint32_t length = tlv_length(cursor);
            cursor += kTlvHead;
            remain -= kTlvHead;
            if (remain == 0 || length == 0 || length > remain) {
                return reported(QEL_ERR_TLV);
            }
            cursor += path_tlv(type, message_.from(cursor), length);
            if (remain - length <= kTlvHead) {
                break;
            }
            remain -= length;
        }
        return done(section_block());
    }

    MessageVerdict list(bool ipv6)
    {
        const std::size_t element = ipv6 ? 20 : 8;
        if (message_.size < element) {
            return done({.code = QEL_ERR_EXTCOMM_TLV});
        }
        if (store_.scratch(message_.size) == Store::Place::none) {
            return done({.code = QEL_ERR_MEMORY});
        }
        const Octets value = message_.whole.first(message_.size);
        Bytes section;
        if (ipv6) {
            for (std::size_t at = 0; at + 20 <= value.size(); at += 20) {
                append(section, ipv6_target_turned(value.subspan(at, 20), wire16(value.subspan(at))));
            }
            append(section, value.subspan(section.size()));
        } else {
            section = list_turned(value, true);
        }
        attribute_ = part_of(ipv6 ? 22 : 13, std::move(section));
        return done(section_block());
    }

    MessageVerdict one_attribute(std::uint8_t attribute)
    {
        const Octets value = message_.whole.first(message_.size);
        const AttributeVerdict verdict =
            value.empty() ? AttributeVerdict{.code = length_code(attribute)} : AttributeModel(attribute, value).judge();
        // A wrong length costs no memory; what else is wrong is found in the record.
        const bool made = attribute == kPmsi        ? value.size() >= 5
                          : attribute == kPrefixSid ? value.size() == 28
                                                    : value.size() == 20 || value.size() == 28;
        if (made && store_.heap() == Store::Place::none) {
            return done({.code = QEL_ERR_ALLOC});
        }
        if (verdict.code != QEL_OK) {
            return done({.code = verdict.code});
        }
        attribute_ = part_of(attribute == kPmsi ? 12 : attribute == kPrefixSid ? 23 : 24, verdict.section);
        return done(section_block());
    }

    MessageVerdict non_key()
    {
        non_key_ = Bytes(kNonKeySize);
        const std::size_t size = message_.size;
        if (size == 1) {
            (*non_key_)[0] = 1;
            (*non_key_)[4] = message_.whole[0];
        } else if (size < 4) {
            return done({.code = QEL_ERR_FAILED});
        } else {
            place(*non_key_, 0, turned(message_.whole.first(2), {2}));
            if (tlv_length(0) == 0) {
                return reported(QEL_ERR_FAILED);
            }
            for (std::size_t at = 4; size - at >= 4; at += kTlvHead + tlv_length(at)) {
                if (kTlvHead + tlv_length(at) > size - at) {
                    return reported(QEL_ERR_FAILED);
                }
                if (!non_key_field(tlv_type(at), message_.from(at + kTlvHead), tlv_length(at))) {
                    return done({.code = QEL_ERR_FAILED});
                }
            }
        }
        return done(section_block());
    }

    // What is added to a route that has a non-key with a type, if it has.
    MessageVerdict add_list(const std::optional<Bytes> &typed_non_key, Octets held)
    {
        if (!typed_non_key) {
            return done({});
        }
        const std::uint32_t type = little32(Octets(*typed_non_key).subspan(4));
        Bytes joined(held.begin(), held.end());
        if (!one_of(type, {4, 5, 7, 8})) {
            append(joined, message_.whole.first(message_.size));
        }
        if (joined.empty()) {
            return done({});
        }
        if (store_.heap() == Store::Place::none) {
            return done({.code = QEL_ERR_MEMORY});
        }
        joined.resize(std::max<std::size_t>(joined.size() / 8 * 8, 8));
        attribute_ = part_of(13, cleaned_up(joined));
        return done(section_block());
    }

    MessageVerdict add_non_key(const std::optional<Bytes> &typed_non_key)
    {
        if (!typed_non_key) {
            return done({});
        }
        const Octets old = *typed_non_key;
        const Octets added = message_.whole.first(kNonKeySize);
        Bytes made(kNonKeySize);
        made[0] = static_cast<std::uint8_t>(1 | (old[0] & 0x4) | (added[0] & 0x12));
        place(made, 4, old.subspan(4, 4));
        if ((old[0] & 0x4) != 0) {
            place(made, 40, old.subspan(40, 60));
        }
        if ((added[0] & 0x2) != 0) {
            place(made, 12, added.subspan(12, 20));
        }
        if ((added[0] & 0x10) != 0) {
            place(made, 32, added.subspan(32, 8));
        }
        non_key_ = std::move(made);
        return done(section_block());
    }

private:
    std::uint32_t tlv_type(std::size_t at) const { return wire16(message_.from(at)); }
    std::uint32_t tlv_length(std::size_t at) const { return wire16(message_.from(at + 2)); }
    bool is_mvpn() const { return kind_ == Kind::mvpn4 || kind_ == Kind::mvpn6; }

    static std::uint32_t length_code(std::uint8_t attribute)
    {
        return attribute == kPmsi ? QEL_ERR_PMSI_LEN : attribute == kPrefixSid ? QEL_ERR_PFXSID_LEN : QEL_ERR_MSID;
    }

    MessageVerdict done(MessageVerdict verdict) const
    {
        verdict.asserts += asserts_;
        verdict.allocations = store_.allocations();
        return verdict;
    }
    MessageVerdict reported(std::uint32_t code) const { return done({.code = code, .asserts = 1}); }

    // A block of what has been gathered.
    MessageVerdict section_block()
    {
        if (!non_key_ && !attribute_) {
            return {.code = QEL_ERR_NULL};
        }
        if (store_.heap() == Store::Place::none) {
            return {.code = QEL_ERR_ALLOC};
        }
        return {.block = true, .non_key = non_key_, .attribute = attribute_};
    }

    MessageVerdict old_prefix(std::size_t at, std::size_t length, bool all_by_component)
    {
        const std::uint8_t type = message_.whole[at];
        return prefix(at, length, (all_by_component || type <= 3) && !is_mvpn() ? 1 : 2);
    }

    MessageVerdict prefix(std::size_t at, std::size_t length, std::uint8_t rd_kind)
    {
        const Octets value = message_.from(at).first(std::min(length, message_.from(at).size()));
        if (length < 2 || value[1] > length - 2) {
            return {.code = QEL_ERR_ARGUMENT};
        }
        if (value[1] < 10 || value[1] > 76) {
            return {.code = QEL_ERR_NLRI_MALFORMED};
        }
        if (value[0] < 1 || value[0] > 7) {
            return {.code = QEL_ERR_VALUE};
        }
        const Verdict verdict = RouteModel(component_of(kind_), family_of(kind_), value).judge();
        if (verdict.code != QEL_OK) {
            return {.code = verdict.code, .asserts = reports_of_route(value)};
        }
        if (store_.heap() == Store::Place::none) {
            return {};
        }
        return {.block = true, .route = RoutePart{value.first(value[1] + 2U), verdict.unread, rd_kind}};
    }

    // How far the cursor moves over the value.
    std::size_t path_tlv(std::uint32_t type, Octets value, std::size_t length)
    {
        if (type == 14) {
            return next_hop(value, length);
        }
        if (!one_of(type, {12, 13, 15, 22, 23, 24})) {
            return 0;
        }
        if (attribute_) {
            ++asserts_;
            return 0;
        }
        std::optional<TlvRecord> record = TlvReaders(store_).read(type, value, length);
        if (!record) {
            return 0;
        }
        attribute_ = part_of(type, std::move(record->octets));
        return record->advance;
    }

    std::size_t next_hop(Octets value, std::size_t length)
    {
        if (!non_key_) {
            if (store_.scratch(kNonKeySize) == Store::Place::none) {
                return 0;
            }
            non_key_ = Bytes(kNonKeySize);
        }
        Bytes &record = *non_key_;
        record[0] |= 0x2;
        record[2] = length == 8 ? 4 : 16;
        place(record, 28, Bytes{value[4], 0, 0, 0});
        place(record, 12, length == 8 ? turned(value.first(4), {4}) : turned(value.subspan(8, 16), {4, 4, 4, 4}));
        return length;
    }

    // False after a fault, which has been counted if it is reported.
    bool non_key_field(std::uint32_t type, Octets value, std::size_t length)
    {
        Bytes &record = *non_key_;
        if ((type == 1 && length < 4) || (type == 2 && length != 8 && length != 24)) {
            ++asserts_;
            return false;
        }
        switch (type) {
        case 1:
            place(record, 4, turned(value.first(4), {4}));
            return true;
        case 2:
            record[2] = length == 8 ? 4 : 16;
            place(record, 12, length == 8 ? turned(value.first(4), {4}) : turned(value.subspan(8, 16), {4, 4, 4, 4}));
            place(record, 28, turned(value.subspan(4, 4), {4}));
            return true;
        case 4:
            place(record, 40, value.first(std::min<std::size_t>(length, 60)));
            return true;
        case 16:
            place(record, 32, value.first(8));
            return true;
        default:
            return false;
        }
    }

    Kind kind_;
    MessageOctets message_;
    Store store_;
    std::optional<Bytes> non_key_;
    std::optional<AttributePart> attribute_;
    std::uint64_t asserts_ = 0;
};

// ---- writing ----

// What a writer gives in a room: the octets if they fit. `needs` is the least room; octets marked open keep what the
// buffer held.
struct Expected {
    std::uint32_t code = QEL_OK;
    Bytes octets{};
    std::size_t needs = 0;
    std::vector<std::size_t> open{};
};

inline Expected written_non_key(Octets record)
{
    Expected out;
    const std::uint32_t flags = little16(record);
    Bytes tlvs;
    if ((flags & 0x1) != 0) {
        append(tlvs, tlv_of(1, turned(record.subspan(4, 4), {4})));
    }
    if ((flags & 0x2) != 0) {
        Bytes value;
        if (little16(record.subspan(2)) == 4) {
            value = turned(record.subspan(12, 4), {4});
        } else {
            for (std::size_t i = 0; i < 4; ++i) {
                out.open.push_back(kTlvHead + tlvs.size() + kTlvHead + i);
            }
            value = Bytes(4, kFill);
        }
        append(value, turned(record.subspan(28, 4), {4}));
        if (little16(record.subspan(2)) != 4) {
            append(value, turned(record.subspan(12, 16), {4, 4, 4, 4}));
        }
        append(tlvs, tlv_of(2, value));
    }
    if ((flags & 0x4) != 0) {
        append(tlvs, tlv_of(4, record.subspan(40, 60)));
    }
    if ((flags & 0x10) != 0) {
        append(tlvs, tlv_of(16, record.subspan(32, 8)));
    }
    out.octets = tlv_of(flags, tlvs);
    out.needs = out.octets.size();
    return out;
}

} // namespace qel::fuzz
