// What becomes of a route at a segmentation point and what goes out of it, said a second time and without the library's
// records: the action that makes the record, the decision after policy, attributes, checks and lookups of a route.
#pragma once

#include "segment_model.h"

#include "qel_codes.h"

#include <cstdint>
#include <optional>
#include <utility>

namespace qel::fuzz {

// ---- what becomes of a route ----

// A result block with an attribute section, or none.
struct SegmentResult {
    std::uint32_t code = QEL_OK;
    std::uint64_t asserts = 0;
    bool stored = false; // null, or the block
    std::optional<AttributePart> attribute{};
    bool need_proc = false;
    std::size_t allocations = 0;
};

class SegmentModel {
public:
    SegmentModel(const SegmentRoute &route, std::size_t fails) : route_(route), store_(fails) {}

    SegmentResult action(Octets value, std::uint32_t length) { return done(apply(value, length)); }
    SegmentResult after_policy(const SegmentRoute &old, std::uint32_t control) { return done(decide(old, control)); }
    SegmentResult set(std::uint32_t attribute, std::uint32_t control)
    {
        switch (attribute) {
        case 16:
            return done(communities(control));
        case 22:
            return done(tunnel());
        case 3:
            return done(next_hop());
        case 8:
            return done(no_export());
        default:
            return {.code = QEL_ERR_NO_ENTRY};
        }
    }

private:
    SegmentResult done(SegmentResult outcome) const
    {
        outcome.allocations = store_.allocations();
        return outcome;
    }

    SegmentResult block(AttributePart part)
    {
        if (part.section.empty()) {
            return {.code = QEL_ERR_NULL};
        }
        if (store_.heap() == Store::Place::none) {
            return {.code = QEL_ERR_ALLOC};
        }
        return {.stored = true, .attribute = std::move(part)};
    }
    static SegmentResult null() { return {.stored = true}; }

    static std::optional<std::size_t> snh_at(const Bytes &list)
    {
        for (std::size_t at = 0; at + 8 <= list.size(); at += 8) {
            if (list[at] == 18) {
                return at;
            }
        }
        return std::nullopt;
    }

    SegmentResult apply(Octets value, std::uint32_t length)
    {
        if (length == 0) {
            return {.code = QEL_ERR_NULL, .asserts = 1};
        }
        if (!is_pmsi_type(route_.key_type()) || !route_.tunnel || !route_.list || !snh_at(*route_.list) ||
            route_.policy_id == kNoPolicy) {
            return {};
        }
        if (route_.tunnel->empty()) {
            return {.code = QEL_ERR_FAILED, .asserts = 1};
        }
        if (store_.scratch(kFixedSize + route_.tunnel->size()) == Store::Place::none) {
            return {.code = QEL_ERR_MEMORY};
        }
        SegmentRecord record{.key = route_.key, .policy_id = route_.policy_id};
        record.policy = turned(value.first(8), {4, 4});
        append(record.policy, turned(value.subspan(20, 4), {4}));
        const auto snh = route_.list->begin() + static_cast<std::ptrdiff_t>(*snh_at(*route_.list));
        record.original = {0xb, Bytes(snh, snh + 8), 0, *route_.tunnel};
        return block({2, 243, record.octets()});
    }

    SegmentResult row(std::uint32_t code, bool need_proc, Bytes record)
    {
        SegmentResult out = block({2, 243, std::move(record)});
        if (!out.stored) {
            return {};
        }
        out.code = code;
        out.need_proc = need_proc;
        return out;
    }

    SegmentResult decide(const SegmentRoute &old, std::uint32_t control)
    {
        if (!is_pmsi_type(route_.key_type()) || (control & 0x2801) != 0) {
            return {};
        }
        if (!route_.record) {
            return {.asserts = old.record ? 1U : 0U};
        }
        const SegmentRecord &fresh = *route_.record;
        if (!old.record || (old.record->replaced.flags & 0x8) == 0) {
            return row(QEL_PLCY_DENY, true, fresh.octets());
        }
        const SegmentRecord &held = *old.record;
        std::uint64_t asserts = 0;
        const bool unchanged =
            same_tunnel(held, fresh, asserts) && held.policy == fresh.policy && held.original.snh == fresh.original.snh;
        SegmentResult out;
        if ((held.replaced.flags & 0x1) == 0) {
            out = row(unchanged ? QEL_PLCY_WITHDRAW : QEL_PLCY_DENY, !unchanged, fresh.octets());
        } else if (unchanged) {
            out = row(QEL_OK, false, held.octets());
        } else if (store_.heap() != Store::Place::none) {
            out = row(QEL_OK, true, merged(held, fresh));
        }
        out.asserts += asserts;
        return out;
    }

    static bool same_tunnel(const SegmentRecord &a, const SegmentRecord &b, std::uint64_t &asserts)
    {
        if ((a.original.flags & b.original.flags & 0x2) == 0) {
            ++asserts;
            return true;
        }
        if (a.original.tunnel.size() < 5 || b.original.tunnel.size() < 5) {
            ++asserts;
            return false;
        }
        return a.original.tunnel == b.original.tunnel;
    }

    static Bytes merged(const SegmentRecord &held, const SegmentRecord &fresh)
    {
        Bytes out = fresh.fixed();
        place(out, 136, little_endian(held.replaced.flags, 4));
        if ((held.replaced.flags & 0x1) != 0) {
            place(out, 140, held.replaced.snh);
        }
        append(out, fresh.original.tunnel);
        if ((held.replaced.flags & 0x2) != 0) {
            place(out, 148, little_endian(static_cast<std::uint32_t>(fresh.original.tunnel.size()), 2));
            place(out, 150, little_endian(static_cast<std::uint32_t>(held.replaced.tunnel.size()), 2));
            append(out, held.replaced.tunnel);
        } else {
            out.resize(out.size() + held.replaced.tunnel.size());
        }
        return out;
    }

    SegmentResult communities(std::uint32_t control)
    {
        if (!route_.list) {
            return null();
        }
        Bytes list = *route_.list;
        if (route_.record) {
            if ((route_.record->replaced.flags & 0x1) != 0) {
                if (store_.heap() == Store::Place::none) {
                    return {.code = QEL_ERR_MEMORY};
                }
                if (!snh_at(list)) {
                    return {.code = QEL_ERR_MEMORY, .asserts = 3};
                }
                place(list, *snh_at(list), route_.record->replaced.snh);
            }
        } else if (snh_at(list) && ((control & 0x2001) == 1 || (control & 0x2001) == 0x2000)) {
            if (store_.heap() == Store::Place::none) {
                return null();
            }
            list = without(list, [](Octets element) { return element[0] == 18; });
            if (list.empty()) {
                return null();
            }
        }
        if (store_.heap() == Store::Place::none) {
            return {.code = QEL_ERR_MEMORY};
        }
        list = without(list, [control](Octets element) { return (control & 1) != 0 && (element[1] & 0x40) != 0; });
        return block({0, kExtComm, std::move(list)});
    }

    template <class Drops> static Bytes without(const Bytes &list, Drops drops)
    {
        Bytes out;
        for (std::size_t at = 0; at + 8 <= list.size(); at += 8) {
            const Octets element = Octets(list).subspan(at, 8);
            if (!drops(element)) {
                append(out, element);
            }
        }
        return out;
    }

    SegmentResult tunnel()
    {
        if (route_.record && (route_.record->replaced.flags & 0x2) != 0) {
            return block({1, kPmsi, route_.record->replaced.tunnel});
        }
        return block({1, kPmsi, route_.tunnel.value_or(Bytes{})});
    }

    bool has_user_data() const { return route_.non_key && ((*route_.non_key)[0] & 0x3) == 0x3; }

    SegmentResult next_hop()
    {
        const std::uint32_t size = has_user_data() ? little16(Octets(*route_.non_key).subspan(2)) : 0;
        if (size != 4 && size != 16) {
            return null();
        }
        Bytes address(16);
        place(address, 0, Octets(*route_.non_key).subspan(12, size));
        SegmentResult out = block({0, 0, std::move(address)});
        out.stored = true; // null before anything else
        return out;
    }

    SegmentResult no_export()
    {
        if (!has_user_data() || little32(Octets(*route_.non_key).subspan(28)) == 1) {
            return null();
        }
        return block({0, 0, Bytes{0x01, 0xff, 0xff, 0xff}});
    }

    const SegmentRoute &route_;
    Store store_;
};

// Whether a route goes to the peer; nothing for a report.
inline std::pair<std::uint32_t, std::uint64_t> advertised(const SegmentRoute &route, std::uint32_t check)
{
    if (check != 2) {
        return {1, 0};
    }
    if (!route.peer || route.peer->size() != kPeerSize) {
        return {0, 0};
    }
    const Bytes &peer = *route.peer;
    if (little32(peer) != 0) {
        return {peer[4] == peer[5] ? 1 : 0, 0};
    }
    const std::uint8_t wanted = peer[5] == 4 ? 32 : 128;
    switch (route.key_type()) {
    case 1:
        return {route.key[8] == wanted ? 1 : 0, 0};
    case 3:
        return {route.key[48] == wanted ? 1 : 0, 0};
    case 4:
        return {route.key[32] == wanted ? 1 : 0, 0};
    case 5:
        return {route.key[72] == wanted ? 1 : 0, 0};
    case 7:
    case 8:
        break;
    default:
        return {1, 0};
    }
    if (!route.list || peer[5] != 4) {
        return {route.ipv6_list && peer[5] == 16 ? 1 : 0, 0};
    }
    const Octets list = *route.list;
    if (list.empty() || list.size() % 8 != 0) {
        return {0, 1};
    }
    for (std::size_t number = 0, step = 0; number < list.size() / 8; number += ++step) {
        if (one_of(little16(list.subspan(number * 8)), {0x0102, 0x010a, 0x010b})) {
            return {1, 0};
        }
    }
    return {0, 0};
}

// The user data of a next-hop lookup.
inline std::optional<Bytes> lookup_data(const SegmentRoute &route)
{
    const Octets key = route.key;
    const std::uint32_t type = route.key_type();
    if (!one_of(type, {1, 7, 8})) {
        return std::nullopt;
    }
    Bytes out(28);
    place(out, 4, key.subspan(92, 8));
    if (type == 1) {
        out[0] = key[8] == 32 ? 0 : 1;
        place(out, 12, key.subspan(12, key[8] == 32 ? 4 : 16));
    } else if (!route.ipv6_list) {
        place(out, 12, key.subspan(4, 4));
    } else if (Bytes(key.begin() + 92, key.begin() + 100) == Bytes(8) && route.ipv6_list->size() > 20) {
        return Bytes(28);
    } else {
        out[0] = 1;
        place(out, 12, turned(Octets(*route.ipv6_list).subspan(2, 16), {4, 4, 4, 4}));
    }
    return out;
}

} // namespace qel::fuzz
