// What the NG-MVPN family makes of the messages of a segmentation point, said a second time and without the library's
// records, for the library to be held against: import routes and the flat record, both ways.
#pragma once

#include "message_model.h"

#include "qel_codes.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <utility>

namespace qel::fuzz {

constexpr std::size_t kKeySize = 104;
constexpr std::size_t kFixedSize = 152;
constexpr std::size_t kPeerSize = 8;
constexpr std::uint32_t kNoPolicy = 0xffffffff;

inline Bytes little_endian(std::uint32_t value, std::size_t octets)
{
    Bytes out = big_endian(value, octets);
    std::reverse(out.begin(), out.end());
    return out;
}

inline Bytes rd_turned(Octets rd, std::uint32_t type)
{
    return type == 0 ? turned(rd, {2, 2, 4}) : turned(rd, {2, 4, 2});
}

// ---- records ----

struct SegmentSet {
    std::uint32_t flags = 0;
    Bytes snh = Bytes(8);
    std::uint32_t offset = 0;
    Bytes tunnel{}; // section

    Bytes octets() const
    {
        Bytes out = little_endian(flags, 4);
        append(out, snh);
        append(out, little_endian(offset, 2));
        append(out, little_endian(static_cast<std::uint32_t>(tunnel.size()), 2));
        return out;
    }
};

struct SegmentRecord {
    Bytes key = Bytes(kKeySize);
    std::uint32_t policy_id = 0;
    Bytes policy = Bytes(12); // host order
    SegmentSet original{};
    SegmentSet replaced{};

    std::uint32_t key_type() const { return little32(key); }
    Bytes fixed() const
    {
        Bytes out = key;
        append(out, little_endian(policy_id, 4));
        append(out, policy);
        append(out, original.octets());
        append(out, replaced.octets());
        return out;
    }
    Bytes octets() const
    {
        Bytes out = fixed();
        append(out, original.tunnel);
        append(out, replaced.tunnel);
        return out;
    }
};

inline bool is_pmsi_type(std::uint32_t key_type)
{
    return key_type == 1 || key_type == 3;
}

// The wire form of a tunnel's section; none for a tunnel that nobody carries.
inline std::optional<Bytes> tunnel_wire(Octets section)
{
    Bytes out{section[0], section[1]};
    append(out, turned(section.subspan(4, 3), {3}));
    switch (section[1]) {
    case 1:
        append(out, turned(section.subspan(8, 12), {4, 2, 2, 4}));
        return out;
    case 2:
        append(out, section.subspan(8, 1));
        append(out, turned(section.subspan(10, 2), {2}));
        append(out, section.subspan(9, 1));
        append(out, turned(section.subspan(12, 6), {4, 2}));
        append(out, section.subspan(20, little16(section.subspan(16))));
        return out;
    case 11:
        append(out, section.subspan(8, 1));
        append(out, turned(section.subspan(10, 2), {2}));
        append(out, section[9] == 4 ? turned(section.subspan(12, 4), {4}) : turned(section.subspan(12, 16), {}));
        return out;
    default:
        return std::nullopt;
    }
}

// ---- message 137, reading ----

struct KeyVerdict {
    std::uint32_t code = QEL_OK;
    std::uint64_t asserts = 0;
    bool block = false;
    std::optional<Bytes> record{};   // the fixed part; none for a Leaf A-D route
    std::optional<RoutePart> leaf{}; // of a Leaf A-D route
    Bytes rd{};
};

class ImportKeyModel {
public:
    ImportKeyModel(Kind kind, MessageOctets message) : kind_(kind), message_(message) {}

    KeyVerdict judge()
    {
        const std::uint32_t remain = wire16(message_.from(2)) - 2;
        const std::uint8_t type = message_.whole[4];
        const std::uint8_t length = message_.whole[5];
        if (length > remain) {
            return {.code = QEL_ERR_ARGUMENT};
        }
        if (length < 10 || length > 52) {
            return {.code = QEL_ERR_NLRI_MALFORMED};
        }
        switch (type) {
        case 1:
            return intra(length);
        case 3:
            return s_pmsi(length);
        case 4:
            return leaf(length, remain);
        default:
            return {.code = QEL_ERR_VALUE};
        }
    }

private:
    bool known_rd() const { return wire16(message_.from(6)) <= 2; }

    void begin(std::uint32_t key_type)
    {
        const Octets wire = message_.from(6).first(8);
        rd_ = rd_turned(wire, wire16(wire));
        record_.key[0] = static_cast<std::uint8_t>(key_type);
        record_.key[100] = 2;
        place(record_.key, 92, rd_);
        record_.replaced.flags = 0x8;
        at_ = 14;
    }

    // An address as the key holds it, its length octet four or sixteen octets before it.
    void take_address(std::size_t length_at, std::size_t at, bool ipv6)
    {
        record_.key[length_at] = ipv6 ? 128 : 32;
        const Octets wire = message_.from(at_).first(ipv6 ? 16 : 4);
        place(record_.key, at, ipv6 ? Bytes(wire.begin(), wire.end()) : turned(wire, {4}));
        at_ += wire.size();
    }

    KeyVerdict end()
    {
        const Octets tlv = message_.from(at_);
        const std::uint64_t asserts = (wire16(tlv) != 16 ? 1U : 0U) + (wire16(tlv.subspan(2)) != 4 ? 1U : 0U);
        record_.policy_id = wire32(tlv.subspan(4));
        return {.asserts = asserts, .block = true, .record = record_.fixed(), .rd = rd_};
    }

    KeyVerdict intra(std::uint8_t length)
    {
        if (length != 12 && length != 24) {
            return {.code = QEL_ERR_NLRI_MALFORMED};
        }
        if (!known_rd()) {
            return {.code = QEL_ERR_NLRI_REFUSED};
        }
        begin(1);
        take_address(8, 12, length == 24);
        return end();
    }

    // The family of what was read, or a code.
    std::pair<std::uint32_t, int> address(std::size_t length_at, std::size_t at, std::uint8_t hint)
    {
        const std::uint8_t bits = message_.whole[at_++];
        if (bits != 0 && bits != 32 && bits != 128) {
            return {QEL_ERR_NLRI_MALFORMED, 0};
        }
        const int family = bits == 0 ? hint : bits == 32 ? 1 : 2;
        const Octets octets = message_.from(at_).first(family == 1 ? 4 : family == 2 ? 16 : 0);
        const bool zero = std::all_of(octets.begin(), octets.end(), [](std::uint8_t octet) { return octet == 0; });
        if (bits == 0) {
            at_ += octets.size();
            return {zero ? QEL_OK : QEL_ERR_NLRI_MALFORMED, family};
        }
        if (zero) {
            return {QEL_ERR_NLRI_REFUSED, family};
        }
        take_address(length_at, at, bits == 128);
        return {QEL_OK, family};
    }

    KeyVerdict s_pmsi(std::uint8_t length)
    {
        if (length < 14) {
            return {.code = QEL_ERR_NLRI_MALFORMED};
        }
        if (!known_rd()) {
            return {.code = QEL_ERR_NLRI_REFUSED};
        }
        begin(3);
        const std::uint8_t hint = length == 22 || length == 34 ? 1 : length == 46 || length == 58 ? 2 : 0;
        record_.key[27] = hint;
        if (const auto [code, family] = address(4, 8, hint); code != QEL_OK) {
            return {.code = code};
        }
        const auto [code, group_family] = address(24, 28, hint);
        if (code != QEL_OK) {
            return {.code = code};
        }
        take_address(48, 52, length == 26 || length == 30 || length == 34 || length == 58);
        if (at_ != 6U + length) {
            return {.code = QEL_ERR_NLRI_MALFORMED};
        }
        if (group_family != 0 && group_family != family_of(kind_)) {
            return {.code = QEL_ERR_NLRI_REFUSED};
        }
        return end();
    }

    KeyVerdict leaf(std::uint8_t length, std::uint32_t remain)
    {
        const Octets rest = message_.from(4);
        const Octets route = rest.first(std::min<std::size_t>(rest.size(), std::size_t{remain} + 2));
        const Verdict verdict = RouteModel(component_of(kind_), family_of(kind_), route).judge();
        if (verdict.code != QEL_OK) {
            return {.code = verdict.code, .asserts = reports_of_route(route)};
        }
        const Octets wire_rd = route.subspan(4, 8);
        return {.block = true,
                .leaf = RoutePart{route.first(length + 2U), verdict.unread, 2},
                .rd = rd_turned(wire_rd, wire16(wire_rd))};
    }

    Kind kind_;
    MessageOctets message_;
    std::size_t at_ = 0;
    SegmentRecord record_;
    Bytes rd_;
};

// ---- message 138, reading ----

struct NoKeyVerdict {
    std::uint32_t code = QEL_OK;
    std::uint64_t asserts = 0;
    bool block = false;
    std::optional<AttributePart> plain{}; // overwrites the block of message 137
    std::optional<Bytes> record{};        // replaces it
    std::size_t allocations = 0;
    std::int64_t lost_blocks = 0; // left behind, as told
    std::int64_t lost_bytes = 0;
};

class ImportNoKeyModel {
public:
    // `held`: the octets of the block of message 137 and where its attribute stands.
    ImportNoKeyModel(MessageOctets message, std::optional<Octets> fixed, std::size_t fails)
        : message_(message), fixed_(fixed), store_(fails)
    {
    }

    NoKeyVerdict judge()
    {
        NoKeyVerdict verdict = walk();
        if (verdict.code == QEL_OK) {
            verdict = output();
        }
        verdict.asserts += asserts_;
        verdict.allocations = store_.allocations();
        verdict.lost_blocks = lost_blocks_;
        verdict.lost_bytes = lost_bytes_;
        return verdict;
    }

private:
    NoKeyVerdict reported(std::uint32_t code)
    {
        ++asserts_;
        return {.code = code};
    }

    void lose(const TlvRecord &record)
    {
        if (record.place == Store::Place::heap) {
            ++lost_blocks_;
            lost_bytes_ += static_cast<std::int64_t>(record.size);
        }
    }

    NoKeyVerdict walk()
    {
        if (message_.size < 4) {
            return reported(QEL_ERR_TLV);
        }
        std::size_t cursor = 0;
        for (std::size_t remain = message_.size;;) {
            if (cursor + kTlvHead > message_.size) {
                return reported(QEL_ERR_TLV);
            }
            const std::uint32_t type = wire16(message_.from(cursor));
            const std::uint32_t length = wire16(message_.from(cursor + 2));
            cursor += kTlvHead;
            remain -= kTlvHead;
            if (remain == 0 || length == 0 || length > remain || length > message_.from(cursor).size()) {
                return reported(QEL_ERR_TLV);
            }
            if (!one_of(type, {12, 13, 15, 18, 19, 20, 22, 23, 24})) {
                for (const auto &[row, record] : rows_) {
                    lose(record);
                }
                return reported(QEL_ERR_FAILED);
            }
            cursor += take(type, message_.from(cursor), length);
            if (remain - length < 5) {
                return {};
            }
            remain -= length;
        }
    }

    std::size_t take(std::uint32_t type, Octets value, std::size_t length)
    {
        std::optional<TlvRecord> record =
            type == 18 ? policy_info(value) : TlvReaders(store_).read(type, value, length);
        if (!record) {
            return 0;
        }
        if (const auto old = rows_.find(type); old != rows_.end()) {
            lose(old->second);
        }
        const std::size_t advance = record->advance;
        rows_[type] = std::move(*record);
        return advance;
    }

    std::optional<TlvRecord> policy_info(Octets value)
    {
        const Store::Place place = store_.scratch(12);
        if (place == Store::Place::none) {
            return std::nullopt;
        }
        Bytes host{value[0], 0, 0, 0};
        append(host, turned(value.subspan(4, 8), {4, 4}));
        return TlvRecord{std::move(host), 12, place, 12};
    }

    NoKeyVerdict output()
    {
        for (const std::uint32_t type : {13U, 22U, 23U, 24U}) {
            if (const auto row = rows_.find(type); row != rows_.end()) {
                if (store_.heap() == Store::Place::none) {
                    return {.code = QEL_ERR_ALLOC};
                }
                return {.block = true, .plain = part_of(type, row->second.octets)};
            }
        }
        if (!fixed_) {
            return reported(QEL_ERR_ARGUMENT);
        }
        if (store_.heap() == Store::Place::none) {
            return {.code = QEL_ERR_MEMORY};
        }
        Bytes record = built();
        if (store_.heap() == Store::Place::none) {
            return {.code = QEL_ERR_ALLOC};
        }
        return {.block = true, .record = std::move(record)};
    }

    const TlvRecord *row(std::uint32_t type) const
    {
        const auto found = rows_.find(type);
        return found != rows_.end() ? &found->second : nullptr;
    }

    // A block without a record, of a Leaf A-D route, gives its own first octets; so the place of the second tunnel may
    // be anywhere.
    Bytes built()
    {
        Bytes out(fixed_->begin(), fixed_->begin() + kFixedSize);
        if (const TlvRecord *policy = row(18)) {
            place(out, 108, policy->octets);
        }
        const auto size_of = [](const TlvRecord *tunnel) { return tunnel != nullptr ? tunnel->octets.size() : 0; };
        out.resize(kFixedSize + size_of(row(20)) + size_of(row(12)));
        take_set(out, 120, row(19), row(20), 0);
        take_set(out, 136, row(15), row(12), little16(Octets(out).subspan(134)));
        return out;
    }

    void take_set(Bytes &out, std::size_t at, const TlvRecord *snh, const TlvRecord *tunnel, std::uint32_t offset)
    {
        if (snh != nullptr) {
            out[at] |= 0x1;
            place(out, at + 4, Octets(snh->octets).first(8));
        }
        if (tunnel == nullptr) {
            return;
        }
        out[at] |= 0x2;
        place(out, at + 12, little_endian(offset, 2));
        place(out, at + 14, little_endian(static_cast<std::uint32_t>(tunnel->octets.size()), 2));
        if (kFixedSize + offset + tunnel->octets.size() <= out.size()) {
            place(out, kFixedSize + offset, tunnel->octets);
        } else {
            ++asserts_; // does not fit
        }
    }

    MessageOctets message_;
    std::optional<Octets> fixed_;
    Store store_;
    std::map<std::uint32_t, TlvRecord> rows_;
    std::uint64_t asserts_ = 0;
    std::int64_t lost_blocks_ = 0;
    std::int64_t lost_bytes_ = 0;
};

// ---- attribute message 40, reading ----

class FlatRecordModel {
public:
    FlatRecordModel(MessageOctets message, std::size_t fails) : message_(message), store_(fails) {}

    MessageVerdict judge()
    {
        MessageVerdict verdict = read();
        verdict.asserts = asserts_;
        verdict.allocations = store_.allocations();
        return verdict;
    }

private:
    MessageVerdict short_value()
    {
        ++asserts_;
        return {.code = QEL_ERR_TLV};
    }
    std::size_t left() const { return message_.size - at_; }

    MessageVerdict read()
    {
        if (message_.size < 104) {
            return short_value();
        }
        SegmentRecord record;
        const Octets value = message_.whole;
        const std::uint32_t type = wire32(value);
        const std::uint32_t rd_type = wire16(value.subspan(92));
        if (!is_pmsi_type(type) || rd_type > 2) {
            return {.code = QEL_ERR_VALUE};
        }
        take_key(record.key, type);
        record.policy_id = wire32(value.subspan(100));
        if (message_.size < 148) { // policy info and both heads; whichever is cut
            return short_value();
        }
        record.policy = Bytes{value[104], 0, 0, 0};
        append(record.policy, turned(value.subspan(108, 8), {4, 4}));
        const std::uint32_t first = take_head(record.original, value.subspan(116, 16));
        const std::uint32_t second = take_head(record.replaced, value.subspan(132, 16));
        at_ = 148;
        Bytes fixed = record.fixed();
        place(fixed, 134, little_endian(first, 2));
        place(fixed, 150, little_endian(second, 2));
        const std::size_t size = (kFixedSize + first + second) & 0xffff;
        if (size < kFixedSize) {
            ++asserts_;
            return {.code = QEL_ERR_MEMORY};
        }
        if (store_.scratch(size) == Store::Place::none) {
            return {.code = QEL_ERR_MEMORY};
        }
        fixed.resize(size);
        return take_tunnels(std::move(fixed), first, second);
    }

    void take_key(Bytes &key, std::uint32_t type) const
    {
        const Octets value = message_.whole;
        key[0] = static_cast<std::uint8_t>(type);
        if (type == 1) {
            key[8] = 32;
            place(key, 12, turned(value.subspan(4, 4), {4}));
        } else {
            for (const std::size_t at : {4U, 24U, 27U}) {
                key[at] = value[at];
            }
            for (const std::size_t at : {8U, 28U}) {
                place(key, at, turned(value.subspan(at, 16), {4, 4, 4, 4}));
            }
            key[48] = 32;
            place(key, 52, turned(value.subspan(44, 4), {4}));
        }
        place(key, 92, rd_turned(value.subspan(92, 8), wire16(value.subspan(92))));
        key[100] = 2;
    }

    static std::uint32_t take_head(SegmentSet &set, Octets head)
    {
        set.flags = head[0];
        set.snh = list_turned(head.subspan(4, 8), true);
        set.offset = wire16(head.subspan(12));
        return wire16(head.subspan(14));
    }

    MessageVerdict take_tunnels(Bytes record, std::uint32_t first, std::uint32_t second)
    {
        std::size_t offset = 0;
        for (const auto &[type, size] : {std::pair{20U, first}, std::pair{12U, second}}) {
            if (left() < 4) {
                return short_value();
            }
            if (size != 0) {
                const std::uint32_t code = take_tunnel(record, type, size, offset);
                if (code != QEL_OK) {
                    return {.code = code};
                }
            }
            offset = first;
        }
        if (store_.heap() == Store::Place::none) {
            return {.code = QEL_ERR_ALLOC};
        }
        return {.block = true, .attribute = AttributePart{2, 243, std::move(record)}};
    }

    std::uint32_t take_tunnel(Bytes &record, std::uint32_t type, std::uint32_t size, std::size_t offset)
    {
        asserts_ += wire16(message_.from(at_)) != type ? 1 : 0;
        const std::uint32_t length = wire16(message_.from(at_ + 2));
        at_ += kTlvHead;
        if (left() < length) {
            return short_value().code;
        }
        if (length < 5) {
            return QEL_ERR_IMPORT_PMSI_LEN;
        }
        const Store::Place memory = store_.scratch(268);
        if (memory == Store::Place::none) {
            return QEL_ERR_MEMORY;
        }
        store_.give_back(memory);
        const AttributeVerdict verdict = AttributeModel(kPmsi, message_.from(at_).first(length)).judge();
        const bool not_carried = verdict.code == QEL_ERR_PMSI_IDENT && verdict.more_written;
        if (verdict.code == QEL_ERR_PMSI_FLAGS) {
            return QEL_ERR_IMPORT_PMSI;
        }
        if (verdict.code != QEL_OK && !not_carried) {
            return verdict.code;
        }
        at_ += verdict.advance;
        const std::size_t start = kFixedSize + offset;
        if (!verdict.section.empty()) {
            if (start < record.size() && verdict.section.size() <= record.size() - start) {
                place(record, start, verdict.section);
            } else {
                ++asserts_; // does not fit
            }
        }
        asserts_ += verdict.section.size() != size ? 1 : 0;
        return QEL_OK;
    }

    MessageOctets message_;
    Store store_;
    std::size_t at_ = 0;
    std::uint64_t asserts_ = 0;
};

// ---- writing ----

// A route of a segmentation point.
struct SegmentRoute {
    Bytes key = Bytes(kKeySize);
    std::optional<Bytes> rd{};
    std::optional<Bytes> non_key{};
    std::optional<Bytes> list{};
    std::optional<Bytes> ipv6_list{};
    std::optional<Bytes> tunnel{}; // section
    std::optional<SegmentRecord> record{};
    std::optional<Bytes> peer{};
    std::uint32_t policy_id = 0;

    const Bytes &sent_key() const { return record ? record->key : key; }
    std::uint32_t key_type() const { return little32(key); }
};

struct Written {
    std::uint32_t code = QEL_OK;
    std::uint64_t asserts = 0;
    Bytes octets{}; // what nobody writes is kFill
};

class SegmentWriter {
public:
    SegmentWriter(const SegmentRoute &route, std::size_t room) : route_(route), room_(room) {}

    Written key_message()
    {
        if (room_ < 4) {
            return {.code = QEL_ERR_SPACE};
        }
        const std::uint32_t type = little32(route_.sent_key());
        if (!one_of(type, {1, 3, 4, 5})) {
            return {.code = QEL_ERR_VALUE};
        }
        if (room_ - 4 < (type == 1 ? 26U : type == 3 ? 60U : 78U)) {
            return {.code = QEL_ERR_SPACE};
        }
        const Octets key = route_.sent_key();
        if (key[100] != 2 && !route_.rd) {
            return {.code = QEL_ERR_NULL, .asserts = 1};
        }
        append(out_, tlv_of(11, nlri(key, type)));
        if (left() < 8) {
            return {.code = QEL_ERR_SPACE};
        }
        if (route_.record ? !is_pmsi_type(type) : is_pmsi_type(type)) {
            return {.code = QEL_ERR_ARGUMENT, .asserts = 1};
        }
        const std::uint32_t id = route_.record ? route_.record->policy_id : route_.policy_id;
        append(out_, tlv_of(16, big_endian(id, 4)));
        return {.asserts = route_.record && id == kNoPolicy ? 1U : 0U, .octets = std::move(out_)};
    }

    Written no_key_message()
    {
        if (room_ < 4) {
            return {.code = QEL_ERR_SPACE};
        }
        return route_.record ? of_record(*route_.record) : of_leaf();
    }

    Written flat()
    {
        if (!route_.non_key) {
            return {};
        }
        const SegmentRecord &record = *route_.record;
        if (room_ < record.octets().size()) {
            return {.code = QEL_ERR_SPACE};
        }
        const std::uint32_t type = record.key_type();
        if (!is_pmsi_type(type)) {
            return {.code = QEL_ERR_VALUE};
        }
        if (record.key[type == 1 ? 8 : 48] != 32) {
            return {.code = QEL_ERR_FAILED, .asserts = 1};
        }
        flat_heads(record, type);
        for (const auto &[tlv, set] : {std::pair{20U, &record.original}, std::pair{12U, &record.replaced}}) {
            if (set->tunnel.empty()) {
                continue;
            }
            if (set->tunnel.size() + 4 > left()) {
                return {.code = QEL_ERR_SPACE};
            }
            if (const Written failed = put_tunnel(tlv, set->tunnel); failed.code != QEL_OK) {
                return failed;
            }
        }
        return {.octets = std::move(out_)};
    }

private:
    std::size_t left() const { return room_ - out_.size(); }

    static Bytes address(Octets key, std::size_t at, bool ipv6)
    {
        const Octets held = key.subspan(at, ipv6 ? 16 : 4);
        return ipv6 ? Bytes(held.begin(), held.end()) : turned(held, {4});
    }

    // With its length octet; of a wildcard as much of its field as the key's family says.
    static Bytes flow_address(Octets key, std::size_t length_at, std::size_t at, std::uint8_t family)
    {
        Bytes out{key[length_at]};
        if (key[length_at] != 0 || family != 0) {
            append(out, address(key, at, key[length_at] == 128 || (key[length_at] == 0 && family != 1)));
        }
        return out;
    }

    Bytes rd(Octets key) const
    {
        const Octets held = key[100] == 2 ? key.subspan(92, 8) : Octets(*route_.rd);
        return rd_turned(held, little16(held));
    }

    Bytes nlri(Octets key, std::uint32_t type) const
    {
        Bytes body = rd(key);
        if (type == 1) {
            append(body, address(key, 12, key[8] == 128));
            return headed(1, body.size(), body);
        }
        if (type == 4) {
            const bool ipv6 = key[12] != 32;
            append(body, address(key, 16, ipv6));
            const std::size_t inner = body.size();
            append(body, address(key, 36, ipv6));
            return headed(4, 18, headed(1, inner, body));
        }
        append(body, flow_address(key, 4, 8, key[27]));
        append(body, flow_address(key, 24, 28, key[27]));
        if (type == 3) {
            append(body, address(key, 52, key[48] == 128));
            return headed(3, body.size(), body);
        }
        const bool ipv6 = key[52] != 32;
        append(body, address(key, 56, ipv6));
        const std::size_t inner = body.size();
        append(body, address(key, 76, ipv6));
        return headed(4, body.size() + 2, headed(3, inner, body));
    }

    static Bytes headed(std::uint8_t type, std::size_t length, const Bytes &body)
    {
        Bytes out{type, static_cast<std::uint8_t>(length)};
        append(out, body);
        return out;
    }

    Written put_tunnel(std::uint32_t tlv, Octets section)
    {
        if (section.empty()) {
            append(out_, tlv_of(tlv, {}));
            return {};
        }
        const std::size_t room = left() - kTlvHead;
        const std::optional<Bytes> wire = tunnel_wire(section);
        if (room < 5 || (wire && room < wire->size())) {
            return {.code = QEL_ERR_SPACE};
        }
        if (!wire) {
            return {.code = QEL_ERR_FAILED, .asserts = 1};
        }
        append(out_, tlv_of(tlv, *wire));
        return {};
    }

    static Bytes policy_value(Octets host)
    {
        Bytes out{host[0], kFill, kFill, kFill};
        append(out, turned(host.subspan(4, 8), {4, 4}));
        return out;
    }

    Written of_record(const SegmentRecord &record)
    {
        if (!is_pmsi_type(record.key_type())) {
            return {.code = QEL_ERR_ARGUMENT, .asserts = 1};
        }
        if (const Written failed = put_tunnel(12, record.original.tunnel); failed.code != QEL_OK) {
            return failed;
        }
        if (record.original.snh[0] == 18) {
            if (left() < 12) {
                return {.code = QEL_ERR_SPACE};
            }
            append(out_, tlv_of(15, list_turned(record.original.snh, false)));
        }
        if (left() < 16) {
            return {.code = QEL_ERR_SPACE};
        }
        append(out_, tlv_of(17, policy_value(record.policy)));
        return {.octets = std::move(out_)};
    }

    Written of_leaf()
    {
        if (!route_.non_key || !one_of(little32(Octets(*route_.non_key).subspan(4)), {4, 5}) ||
            ((*route_.non_key)[0] & 0x1) == 0) {
            return {.code = QEL_ERR_ARGUMENT, .asserts = 1};
        }
        for (const auto &[tlv, list, size] :
             {std::tuple{13U, &route_.list, std::size_t{8}}, std::tuple{22U, &route_.ipv6_list, std::size_t{20}}}) {
            if (!*list) {
                continue;
            }
            const Octets whole = **list;
            for (std::size_t at = 0; at + size <= whole.size(); at += size) {
                if (whole[at] == 2) {
                    const Octets element = whole.subspan(at, size);
                    if (left() < size + 4) {
                        return {.code = QEL_ERR_SPACE};
                    }
                    append(out_, tlv_of(tlv, size == 8 ? list_turned(element, false)
                                                       : ipv6_target_turned(element, little16(element))));
                    break;
                }
            }
        }
        return {.octets = std::move(out_)};
    }

    void flat_heads(const SegmentRecord &record, std::uint32_t type)
    {
        const Octets key = record.key;
        out_.assign(100, kFill);
        place(out_, 0, big_endian(type, 4));
        if (type == 1) {
            place(out_, 4, turned(key.subspan(12, 4), {4}));
        } else {
            for (const std::size_t at : {4U, 24U, 27U}) {
                out_[at] = key[at];
            }
            for (const std::size_t at : {8U, 28U}) {
                place(out_, at, turned(key.subspan(at, 16), {4, 4, 4, 4}));
            }
            place(out_, 44, turned(key.subspan(52, 4), {4}));
        }
        place(out_, 92, rd_turned(key.subspan(92, 8), little16(key.subspan(92))));
        append(out_, big_endian(record.policy_id, 4));
        append(out_, policy_value(record.policy));
        for (const SegmentSet *set : {&record.original, &record.replaced}) {
            append(out_, Bytes{static_cast<std::uint8_t>(set->flags), kFill, kFill, kFill});
            append(out_, list_turned(set->snh, false));
            append(out_, big_endian(set->offset, 2));
            append(out_, big_endian(static_cast<std::uint32_t>(set->tunnel.size()), 2));
        }
    }

    const SegmentRoute &route_;
    std::size_t room_;
    Bytes out_;
};

} // namespace qel::fuzz
