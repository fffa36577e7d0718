// What the NG-MVPN family makes of a route's cross values, said a second time and without the library's records, for
// the library to be held against: the walk, the compare, the TLVs, the route keys.
#pragma once

#include "import_policy_common.h"

#include "qel_codes.h"

#include <algorithm>
#include <cstdint>
#include <optional>

namespace qel::fuzz {

inline bool is_mvrf(Kind kind)
{
    return kind == Kind::mvrf4 || kind == Kind::mvrf6;
}
inline bool is_mvpn(Kind kind)
{
    return kind == Kind::mvpn4 || kind == Kind::mvpn6;
}
inline bool is_ipv4_kind(Kind kind)
{
    return kind == Kind::mvrf4 || kind == Kind::mvpn4;
}

// ---- route keys of private IRTs ----

constexpr std::size_t kLongestKey = 58;
constexpr std::size_t kLongestIrt = 79;
constexpr std::size_t kRd = 8;

struct Wildcards {
    bool any_any = false;
    bool any_group = false;
    bool source_any = false;
    bool ipv6_originator = false;
};

inline Wildcards wildcards_of(Octets key, Kind kind)
{
    Wildcards found;
    if (kind == Kind::plain) {
        return found;
    }
    const std::uint32_t address = is_ipv4_kind(kind) ? 4 : 16;
    const std::uint32_t size = static_cast<std::uint32_t>(key.size());
    if (one_of(size, {26, 26 + address, 26 + 2 * address})) {
        found.ipv6_originator = true;
    } else if (!one_of(size, {14, 14 + address, 14 + 2 * address})) {
        return found;
    }
    if (one_of(size, {14, 26})) {
        found.any_any = true;
        return found;
    }
    const std::uint32_t one_address = found.ipv6_originator ? 26 + address : 14 + address;
    if (size == one_address) {
        found.any_group = key[8] == 0 && key[9] != 0;
        found.source_any = key[8] != 0 && key[9 + address] == 0;
    }
    return found;
}

// The full shape of an IPv4 wildcard key.
inline Bytes full_key(Octets key, const Wildcards &open)
{
    const std::size_t originator = open.ipv6_originator ? 16 : 4;
    Bytes out(18 + originator);
    const auto put = [&](std::size_t from, std::size_t count, std::size_t to) {
        const Octets piece = key.subspan(from, count);
        std::copy(piece.begin(), piece.end(), out.begin() + static_cast<std::ptrdiff_t>(to));
    };
    if (open.any_any || open.any_group || open.source_any) {
        put(0, kRd, 0);
    }
    if (open.any_any) {
        put(10, originator, 18);
    } else if (open.any_group) {
        put(9, 1, 13);
        put(10, 4, 14);
        put(14, originator, 18);
    } else if (open.source_any) {
        put(8, 1, 8);
        put(9, 4, 9);
        put(14, originator, 14); // in the group's place
    }
    return out;
}

// The key as a private IRT of the instance has it; none for a key that does not fit.
inline std::optional<Bytes> key_in_irt(Octets key, Kind kind)
{
    const Wildcards open = wildcards_of(key, kind);
    if (kind == Kind::mvrf4 && (open.any_any || open.any_group || open.source_any)) {
        return full_key(key, open);
    }
    if (key.size() > kLongestKey) {
        return std::nullopt;
    }
    return Bytes(key.begin(), key.end());
}

inline std::uint8_t irt_type(std::uint32_t key_size, Kind kind)
{
    if (key_size == 12 || key_size == 24) {
        return key_size == 12 ? 3 : 8;
    }
    if (is_ipv4_kind(kind)) {
        return one_of(key_size, {14, 18, 22}) ? 2 : one_of(key_size, {26, 30, 34}) ? 7 : 0;
    }
    if (kind != Kind::plain) {
        return one_of(key_size, {14, 30, 46}) ? 2 : one_of(key_size, {26, 42, 58}) ? 9 : 0;
    }
    return 0;
}

// ---- the walk ----

// A route as far as the walk looks at it.
struct CrossRoute {
    bool has_non_key = false; // pointer and bit
    std::uint32_t flags = 0;
    std::uint32_t key_type = 0;
    Bytes rd{};       // 8 octets
    Bytes embedded{}; // 60 octets
    Bytes list{};     // 8-octet elements, perhaps with a rest
    Bytes ipv6_list{};
};

struct CrossStep {
    std::optional<Bytes> value{}; // none: the walk is over
    std::uint32_t cursor = 0;     // behind the call
    std::uint64_t asserts = 0;
    bool marker = false;
};

class CrossModel {
public:
    CrossModel(const CrossRoute &route, Kind kind) : route_(route), kind_(kind) {}

    CrossStep step(std::uint32_t cursor) const
    {
        if (!route_.has_non_key) {
            return {.cursor = cursor};
        }
        const bool marked = (route_.flags & 0x10) != 0 && !c_multicast();
        if (marked && cursor == 0) {
            return {.value = Bytes(4, global() ? 0x00 : 0xff), .cursor = 1, .marker = true};
        }
        const std::uint32_t shift = marked ? 1 : 0;
        CrossStep step = target_step(cursor - shift);
        step.cursor += shift;
        return step;
    }

    std::size_t elements() const { return route_.list.size() / 8 + route_.ipv6_list.size() / 20; }

private:
    bool c_multicast() const { return route_.key_type == 7 || route_.key_type == 8; }
    bool rd_zero() const { return (route_.flags & 0x10) != 0 && route_.rd == Bytes(8); }

    Octets element(std::size_t index) const
    {
        const std::size_t short_ones = route_.list.size() / 8;
        return index < short_ones ? Octets(route_.list).subspan(index * 8, 8)
                                  : Octets(route_.ipv6_list).subspan((index - short_ones) * 20, 20);
    }

    // A global-table route without any community of a route target's sub-type.
    bool global() const
    {
        bool has_target = false;
        for (std::size_t i = 0; (route_.flags & 0x1) != 0 && i < elements(); ++i) {
            has_target = has_target || element(i)[0] == 2;
        }
        return rd_zero() && !has_target;
    }

    CrossStep target_step(std::uint32_t cursor) const
    {
        if ((route_.flags & 0x1) == 0) {
            return {.cursor = cursor};
        }
        for (; cursor < elements(); ++cursor) {
            const Octets found = element(cursor);
            if (one_of(little16(found), {0x0002, 0x0102, 0x0202})) {
                return value_of(found, cursor + 1);
            }
        }
        return {.cursor = cursor};
    }

    CrossStep value_of(Octets target, std::uint32_t cursor) const
    {
        CrossStep step{.value = Bytes(target.begin(), target.end()), .cursor = cursor};
        if (c_multicast()) {
            const bool none = rd_zero() && little16(target.subspan(target.size() - 2)) == 0;
            set_type(*step.value, none ? 0xFFFF : 0x010B);
        } else if (route_.key_type == 4 || route_.key_type == 5) {
            step.value = leaf_value(target, step.asserts);
        }
        return step;
    }

    static void set_type(Bytes &element, std::uint32_t type)
    {
        element[0] = static_cast<std::uint8_t>(type);
        element[1] = static_cast<std::uint8_t>(type >> 8);
    }

    Bytes leaf_target(Octets target) const
    {
        Bytes out(target.begin(), target.end());
        if (is_mvpn(kind_)) {
            set_type(out, 0x010B);
            return out;
        }
        if (out.size() == 8) {
            return target_turned(out, little16(out));
        }
        if (little16(out) == 0x0002) {
            set_type(out, 0x0102);
        }
        return ipv6_target_turned(out, little16(out));
    }

    // A part that does not fit is reported and left out; the length goes on without it, in a byte.
    Bytes leaf_value(Octets target, std::uint64_t &asserts) const
    {
        Bytes out(256);
        std::size_t at = 0;
        if (is_mvrf(kind_)) {
            const std::size_t key_size = route_.embedded[1];
            out[0] = irt_type(static_cast<std::uint32_t>(key_size), kind_);
            at = 1 + key_size;
            if (key_size > kLongestKey) {
                ++asserts;
            } else {
                const Bytes key = *key_in_irt(Octets(route_.embedded).subspan(2, key_size), kind_);
                std::copy(key.begin(), key.end(), out.begin() + 1);
                at = 1 + key.size();
            }
        }
        const Bytes tail = leaf_target(target);
        if (at + tail.size() <= kLongestIrt) {
            std::copy(tail.begin(), tail.end(), out.begin() + static_cast<std::ptrdiff_t>(at));
        } else {
            ++asserts;
        }
        out.resize((at + tail.size()) % 256);
        return out;
    }

    const CrossRoute &route_;
    Kind kind_;
};

// ---- the compare ----

inline std::int32_t sign(int order)
{
    return order < 0 ? -1 : order > 0 ? 1 : 0;
}

inline std::int32_t octet_order(Octets a, Octets b)
{
    return sign(std::memcmp(a.data(), b.data(), a.size()));
}

inline std::int32_t length_order(Octets a, Octets b)
{
    return a.size() != b.size() ? (a.size() < b.size() ? -1 : 1) : octet_order(a, b);
}

inline bool same(Octets a, Octets b, std::size_t at, std::size_t count)
{
    return equal(a.subspan(at, count), b.subspan(at, count));
}

// A stored private IRT against a search key of its length.
inline std::int32_t search_order(Octets stored, Octets wanted)
{
    const bool names = stored[10] != 0 || stored[15] != 0;
    const bool asks = wanted[10] != 0 || wanted[15] != 0;
    if (one_of(stored[0], {2, 7}) && one_of(wanted[0], {0, 4}) && names && !asks && same(stored, wanted, 1, 8) &&
        same(stored, wanted, 19, 12)) {
        return 0;
    }
    Bytes numbered(stored.begin(), stored.end());
    static constexpr std::array<std::uint8_t, 10> search_type{0, 1, 0, 1, 4, 5, 6, 4, 5, 6};
    numbered[0] = search_type.at(stored[0]); // no other types come here than 2, 3, 7, 8 and 9
    return octet_order(numbered, wanted);
}

inline std::int32_t cross_order(Octets a, Octets b)
{
    if (a.size() < 4 || b.size() < 4) {
        return -2;
    }
    const bool private_length = one_of(static_cast<std::uint32_t>(b.size()), {55, 31, 21});
    if (a.size() == 8 && private_length && little16(a) == 0x010B && little16(a.subspan(6)) == 0) {
        Bytes tail(b.end() - 8, b.end());
        tail[0] = 0x0B;
        tail[1] = 0x01;
        return octet_order(a, tail);
    }
    const auto is = [&](std::size_t size, std::uint8_t type) { return a.size() == size && a[0] == type; };
    const bool stored = is(21, 3) || is(31, 2) || is(45, 8) || is(55, 2) || is(55, 7) || is(79, 9);
    return a.size() == b.size() && stored ? search_order(a, b) : length_order(a, b);
}

// ---- TLVs ----

enum class IrtForm : std::uint8_t { target, vrf, none };

struct IrtVerdict {
    std::uint32_t code = QEL_OK;
    std::uint64_t asserts = 0;
    Bytes cross{};
};

inline IrtVerdict parse_target(Octets value)
{
    const std::uint32_t type = value.size() < 2 ? 0 : static_cast<std::uint32_t>(value[0] << 8 | value[1]);
    if (value.size() < 4) {
        return {.code = QEL_ERR_NULL, .asserts = 1};
    }
    if (value.size() == 4) {
        return {.cross = Bytes(value.begin(), value.end())};
    }
    if (value.size() == 8) {
        const bool taken = one_of(type, {0x0002, 0x0102, 0x0202, 0x010A, 0x010B, 0xFFFF});
        return taken ? IrtVerdict{.cross = target_turned(value, type)} : IrtVerdict{.code = QEL_ERR_VALUE};
    }
    if (value.size() == 20) {
        const bool taken = one_of(type, {0x0002, 0x0102, 0x000B, 0x010A, 0x010B, 0xFFFF});
        return taken ? IrtVerdict{.cross = ipv6_target_turned(value, type)} : IrtVerdict{.code = QEL_ERR_VALUE};
    }
    return {.code = QEL_ERR_NULL};
}

inline IrtVerdict parse_vrf(Octets value)
{
    Bytes cross;
    if (value.size() == 20 || value.size() == 54) {
        cross.push_back(value.size() == 20 ? 1 : 0);
    }
    cross.insert(cross.end(), value.begin(), value.end());
    if (cross.size() <= 20) {
        return {.code = QEL_ERR_NULL, .asserts = 1};
    }
    return {.cross = std::move(cross)};
}

inline Bytes written_irt(Octets cross)
{
    if (cross.size() == 8) {
        return target_turned(cross, little16(cross));
    }
    if (cross.size() == 20) {
        return ipv6_target_turned(cross, little16(cross));
    }
    return {cross.begin(), cross.end()};
}

} // namespace qel::fuzz
