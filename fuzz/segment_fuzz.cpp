// Segmentation points of the MCAST-VPN family from any octets: the two import route messages and the flat record both
// ways, what policy makes of a route, what goes out of it. The first octet of an input picks the door.
#include "check.h"
#include "import_policy_common.h"
#include "message_door.h"
#include "segment_model.h"
#include "segment_route_model.h"

#include "host/family.h"
#include "host/platform/platform.h"
#include "host/route.h"
#include "ngmvpn/qel_ngmvpn.h"

#include <sanitizer/lsan_interface.h>

#include <array>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

namespace qel::fuzz {
namespace {

using host::BlockPtr;
using host::Family;

// ---- routes as a host holds them ----

// Every section exactly as long as it says, none of it changed while the route is held.
class HeldRoute {
public:
    explicit HeldRoute(const SegmentRoute &route, bool odd)
        : sections_{section(route.key, odd, info_.pucKey, info_.uiKeyLen),
                    section(route.rd, odd, info_.pucRd, info_.uiRdLen),
                    section(route.non_key, odd, info_.pucNonKey, info_.uiNonKeyLen),
                    section(route.list, odd, info_.pucExtComm, info_.uiExtCommLen),
                    section(route.ipv6_list, odd, info_.pucIpv6ExtComm, info_.uiIpv6ExtCommLen),
                    section(route.tunnel, odd, info_.pucPmsi, info_.uiPmsiLen),
                    section(route.record ? std::optional(route.record->octets()) : std::nullopt, odd, record_,
                            info_.uiImportAttrLen),
                    section(route.peer, odd, peer_, info_.uiUserDataLen)}
    {
        info_.uiValidMask = 0xb | (route.non_key ? QEL_SECTION_NONKEY : 0);
        info_.pstImportAttr = static_cast<const QEL_NGMVPN_IMPORT_ATTR_S *>(static_cast<const void *>(record_));
        info_.pstUserData = peer_;
        info_.uiUserDataKind = QEL_USER_DATA_PEER;
        info_.uiPolicyId = route.policy_id;
    }
    ~HeldRoute()
    {
        for (const auto &held : sections_) {
            require(held == nullptr || equal(held->now.octets(), held->first), "the route is only read");
        }
    }
    HeldRoute(const HeldRoute &) = delete;
    HeldRoute &operator=(const HeldRoute &) = delete;
    const QEL_ROUTE_INFO_S &info() const { return info_; }

private:
    struct Held {
        Section now;
        Bytes first;
    };
    static std::unique_ptr<Held> section(const std::optional<Bytes> &from, bool odd, const std::uint8_t *&at,
                                         std::uint32_t &length)
    {
        if (!from) {
            return nullptr;
        }
        auto held = std::make_unique<Held>(Held{Section(*from, odd), *from});
        at = held->now.data();
        length = held->now.size();
        return held;
    }

    QEL_ROUTE_INFO_S info_{};
    const std::uint8_t *record_ = nullptr;
    const std::uint8_t *peer_ = nullptr;
    std::array<std::unique_ptr<Held>, 8> sections_;
};

// ---- records and routes from the fields of an input ----

// A tunnel's section that is consistent in itself: one that was read, or one of a type that nobody carries.
Bytes tunnel_of(Fields &fields, std::size_t size)
{
    const Bytes value = fields.take(size);
    const AttributeVerdict verdict = AttributeModel(kPmsi, value).judge();
    if (verdict.code == QEL_OK && !verdict.section.empty()) {
        return verdict.section;
    }
    Bytes section(8 + size % 12);
    section[1] = 6;
    std::copy_n(value.begin(), std::min<std::size_t>(value.size(), 1), section.begin());
    return section;
}

// A key whose length octets tell of addresses that a record can hold.
Bytes key_of(Fields &fields)
{
    static constexpr std::array<std::uint8_t, 4> lengths{32, 128, 0, 32};
    const std::uint8_t type = fields.u8() % 10;
    const std::uint8_t forms = fields.u8();
    Bytes key(kKeySize);
    place(key, 4, fields.take(88));
    key[0] = type;
    const auto length = [&](std::size_t at, unsigned shift, unsigned forms_of) {
        key[at] = lengths[(forms >> shift & 3U) % forms_of];
    };
    if (type == 3 || type == 5) {
        length(4, 0, 4);
        length(24, 2, 4);
        key[27] = key[27] % 3;
    }
    switch (type) {
    case 1:
        length(8, 4, 3);
        break;
    case 3:
        length(48, 4, 3);
        break;
    case 4:
        length(12, 4, 2);
        length(32, 6, 2);
        break;
    case 5:
        length(52, 4, 2);
        length(72, 6, 2);
        break;
    default:
        break;
    }
    const Bytes rd = fields.take(8);
    place(key, 92, rd);
    key[92] %= 3;
    key[93] = 0;
    key[100] = static_cast<std::uint8_t>(1 + (forms >> 7));
    return key;
}

SegmentRecord record_of(Fields &fields)
{
    SegmentRecord record{.key = key_of(fields)};
    const std::uint8_t id = fields.u8();
    record.policy_id = id == 0xff ? kNoPolicy : id;
    record.policy = fields.take(12);
    const auto set = [&fields](SegmentSet &to) {
        to.flags = fields.u8();
        to.snh = fields.take(8);
        const std::uint8_t size = fields.u8();
        to.tunnel = size == 0 ? Bytes{} : tunnel_of(fields, size);
    };
    set(record.original);
    set(record.replaced);
    record.replaced.offset = static_cast<std::uint32_t>(record.original.tunnel.size());
    return record;
}

// A bit of `present` for each part.
SegmentRoute route_of(Fields &fields)
{
    SegmentRoute route{.key = key_of(fields)};
    const std::uint8_t present = fields.u8();
    const auto part = [&](unsigned bit, auto make) {
        return (present >> bit & 1) != 0 ? std::optional(make()) : std::nullopt;
    };
    route.policy_id = fields.u8();
    route.policy_id = route.policy_id == 0xff ? kNoPolicy : route.policy_id;
    route.rd = part(0, [&] {
        Bytes rd = fields.take(8);
        rd[0] %= 3;
        rd[1] = 0;
        return rd;
    });
    route.non_key = part(1, [&] {
        Bytes record(kNonKeySize);
        record[0] = fields.u8();
        record[2] = fields.u8();
        record[4] = fields.u8();
        place(record, 12, fields.take(20));
        return record;
    });
    route.list = part(2, [&] { return fields.take(8U * (1U + fields.u8() % 12U)); });
    route.ipv6_list = part(3, [&] { return fields.take(20U * (1U + fields.u8() % 4U)); });
    route.tunnel = part(4, [&] { return tunnel_of(fields, fields.u8()); });
    route.peer = part(5, [&] { return fields.take(kPeerSize); });
    route.record = part(6, [&] { return record_of(fields); });
    if (route.record && (present >> 7) != 0) {
        route.record->key = route.key;
    }
    return route;
}

// ---- writing ----

// Of the rooms up to the most that is asked for: the least, those about the end, and of the others one in sixteen,
// which ones the input says.
std::vector<std::size_t> rooms(std::size_t most, std::size_t enough, std::size_t turn)
{
    std::vector<std::size_t> out;
    for (std::size_t room = 0; room <= most; ++room) {
        if (room <= 4 || room % 16 == turn % 16 || (room + 3 > enough && room < enough + 3)) {
            out.push_back(room);
        }
    }
    return out;
}

void check_write(const Writer &writer, const SegmentRoute &route, Written (*judge)(SegmentWriter &), std::size_t most,
                 std::size_t turn)
{
    SegmentWriter whole(route, most);
    for (const std::size_t room : rooms(most, judge(whole).octets.size(), turn)) {
        SegmentWriter model(route, room);
        const Written expected = judge(model);
        Section out(Bytes(room, kFill));
        std::uint8_t *cursor = out.data();
        const Effect effect;
        require(writer(&cursor, out.size()) == expected.code, "the code that room and route call for");
        require(effect.asserts() == expected.asserts, "a report of what failed alone");
        require(cursor == out.data() + expected.octets.size(), "where the cursor stands");
        require(effect.allocations() == 0, "writing needs no memory");
        if (expected.code == QEL_OK) {
            Bytes wanted = expected.octets;
            wanted.resize(room, kFill);
            require(equal(out.octets(), wanted), "the octets that the route calls for and nothing else");
        }
    }
}

Written of_key(SegmentWriter &model)
{
    return model.key_message();
}

Written of_no_key(SegmentWriter &model)
{
    return model.no_key_message();
}

Written of_flat(SegmentWriter &model)
{
    return model.flat();
}

void check_written(const Family &family, const SegmentRoute &route, std::size_t turn)
{
    const HeldRoute held(route, turn % 2 != 0);
    const auto message = [&](std::uint32_t type) -> Writer {
        return [&, type](std::uint8_t **cursor, std::uint32_t room) {
            return family.desc().pfFormatMsg(&held.info(), type, cursor, room, family.ctx());
        };
    };
    // The writers look for an RD where the key has none, but for one.
    const bool needs_rd = !route.rd && route.sent_key()[100] != 2 && route.sent_key()[0] == 5;
    if (!needs_rd) {
        check_write(message(137), route, of_key, 100, turn);
    }
    check_write(message(138), route, of_no_key, 24 + (route.record ? route.record->original.tunnel.size() : 36), turn);
    if (route.record) {
        const Writer flat = [&](std::uint8_t **cursor, std::uint32_t room) {
            return family.desc().pfFormatAttrMsg(&held.info(), 40, cursor, room, family.ctx());
        };
        check_write(flat, route, of_flat, route.record->octets().size() + 6, turn);
    }
}

// ---- messages 137 and 138 ----

void check_header(const QEL_ROUTE_BLOCK_S &block, bool route, const std::optional<AttributePart> &attribute,
                  std::uint16_t need_proc = 0)
{
    const QEL_ROUTE_BLOCK_S header = header_of(route, route, attribute, need_proc).first;
    require(equal(bytes_of(block), bytes_of(header)), "the header of the block");
    if (attribute) {
        require(equal(section_of(block, block.usAttrOffset, block.usAttrLen), attribute->section),
                "the octets of the attribute's section");
    }
}

std::optional<AttributePart> record_part(const std::optional<Bytes> &record)
{
    return record ? std::optional(AttributePart{2, 243, *record}) : std::nullopt;
}

BlockPtr read_key(const Family &family, const KeyVerdict &verdict, const Message &message, bool with_memory)
{
    const Effect effect;
    const std::optional<platform::FailAllocation> no_memory = failing(with_memory ? kNever : 0);
    Read out = read([&](QEL_ROUTE_BLOCK_S **block) {
        return family.desc().pfParseMsg(message.data(), message.size(), 137, block, family.ctx());
    });
    require(out.code == verdict.code, "the code that the key message's octets call for");
    const bool block = verdict.block && with_memory;
    require(out.stored == block && effect.blocks() == (block ? 1 : 0), "a block where there is one");
    if (with_memory || !verdict.block) {
        require(effect.asserts() == verdict.asserts, "a report of what failed alone");
    } else {
        require(effect.asserts() > verdict.asserts, "a lost block is reported");
    }
    if (!block) {
        return nullptr;
    }
    check_header(*out.block, true, record_part(verdict.record));
    require(equal(section_of(*out.block, 32, 8), verdict.rd), "the RD of the route");
    const Octets key = section_of(*out.block, 40, kKeySize);
    const Octets non_key = section_of(*out.block, 144, kNonKeySize);
    if (verdict.record) {
        require(equal(key, Octets(*verdict.record).first(kKeySize)), "the key twice");
        Bytes wanted(kNonKeySize);
        wanted[0] = 1;
        wanted[4] = key[0];
        require(equal(non_key, wanted), "a non-key of the type alone");
    } else {
        const std::size_t embedded = 2U + verdict.leaf->wire[3];
        require(key[100] == 2 && key[0] == (verdict.leaf->wire[2] == 1 ? 4 : 5), "a Leaf A-D key");
        require(equal(non_key.subspan(40, embedded), verdict.leaf->wire.subspan(2, embedded)), "what it answers");
    }
    return std::move(out.block);
}

// What the second message makes of the first one's block. An instance of its own: what an unknown or repeated TLV
// leaves behind may be its inline buffer.
BlockPtr read_no_key(Kind kind, const Message &message, BlockPtr held, std::size_t fails, std::size_t &allocations)
{
    const Family family(instance_of(kind).info(), kMemHandle);
    std::optional<Octets> fixed;
    if (held != nullptr) {
        const auto *start = reinterpret_cast<const std::uint8_t *>(held.get());
        fixed = Octets(start + held->usAttrOffset, kFixedSize);
    }
    const NoKeyVerdict verdict = ImportNoKeyModel(message.octets(), fixed, fails).judge();
    allocations = verdict.allocations;
    const Bytes route = held != nullptr ? Bytes(reinterpret_cast<const std::uint8_t *>(held.get()) + 32,
                                                reinterpret_cast<const std::uint8_t *>(held.get()) + 244)
                                        : Bytes();
    const std::int64_t record_before = held != nullptr ? held->usAttrLen : 0;
    QEL_ROUTE_BLOCK_S *const old = held.release();
    QEL_ROUTE_BLOCK_S *block = old;
    const Effect effect;
    std::uint32_t code = 0;
    bool fired = false;
    {
        // What is left behind as told is no news to the leak check; the accounts tell how much it is.
        const __lsan::ScopedDisabler expected_loss;
        const std::optional<platform::FailAllocation> no_memory = failing(fails);
        code = family.desc().pfParseMsg(message.data(), message.size(), 138, &block, family.ctx());
        fired = no_memory && no_memory->fired();
    }
    BlockPtr made(block);
    const BlockPtr overwritten(verdict.plain ? old : nullptr);
    require(code == verdict.code, "the code that the attribute message's octets call for");
    require((block != old) == verdict.block, "the block is replaced with success alone");
    require(fired == (fails < verdict.allocations), "as many allocations as the message needs");
    require(fired ? effect.asserts() > verdict.asserts : effect.asserts() == verdict.asserts,
            "a report of what failed alone");
    require(effect.blocks() == verdict.lost_blocks + (verdict.plain ? 1 : 0), "only what is told is left behind");
    if (verdict.plain) {
        check_header(*made, false, verdict.plain);
    } else if (verdict.record) {
        check_header(*made, true, record_part(verdict.record));
        require(equal(section_of(*made, 32, 212), route), "the route of the first message");
        require(effect.bytes() ==
                    verdict.lost_bytes + static_cast<std::int64_t>(verdict.record->size()) - record_before,
                "the record is as long as it says");
        return made;
    }
    return nullptr;
}

SegmentRecord record_from(Octets octets)
{
    SegmentRecord record;
    record.key.assign(octets.begin(), octets.begin() + 104);
    record.policy_id = little32(octets.subspan(104));
    record.policy.assign(octets.begin() + 108, octets.begin() + 120);
    std::size_t at = kFixedSize;
    for (const auto &[set, from] :
         {std::pair{&record.original, std::size_t{120}}, std::pair{&record.replaced, std::size_t{136}}}) {
        const Octets head = octets.subspan(from, 16);
        set->flags = little32(head);
        set->snh.assign(head.begin() + 4, head.begin() + 12);
        set->offset = little16(head.subspan(12));
        const Octets tunnel = octets.subspan(at, little16(head.subspan(14)));
        set->tunnel.assign(tunnel.begin(), tunnel.end());
        at += tunnel.size();
    }
    return record;
}

void run_pair(Fields fields)
{
    const Kind kind = kind_of(fields.u8());
    const Family &family = instance_of(kind);
    const std::uint8_t behind = fields.u8();
    const std::uint8_t lost = fields.u8();
    const Bytes key_octets = fields.take(fields.u8());
    const Message key_message(key_octets, behind, (lost & 1) != 0);
    const Message message(fields.rest(), behind, (lost & 2) != 0);

    const KeyVerdict verdict = ImportKeyModel(kind, key_message.octets()).judge();
    const auto first = [&] { return read_key(family, verdict, key_message, true); };
    read_key(family, verdict, key_message, false);
    std::size_t allocations = 0;
    const BlockPtr made = read_no_key(kind, message, first(), kNever, allocations);
    if (allocations != 0) {
        std::size_t same = 0;
        read_no_key(kind, message, first(), (lost >> 2) % allocations, same);
    }
    read_no_key(kind, message, nullptr, kNever, allocations);
    if (made != nullptr && verdict.record) {
        SegmentRoute route{.record = record_from(section_of(*made, made->usAttrOffset, made->usAttrLen))};
        route.non_key = Bytes(kNonKeySize);
        check_written(family, route, lost);
    }
}

// ---- attribute message 40 ----

BlockPtr read_flat(const Family &family, const Message &message, std::size_t fails, std::size_t &allocations)
{
    const MessageVerdict verdict = FlatRecordModel(message.octets(), fails).judge();
    allocations = verdict.allocations;
    const Effect effect;
    const std::optional<platform::FailAllocation> no_memory = failing(fails);
    Read out = read([&](QEL_ROUTE_BLOCK_S **block) {
        return family.desc().pfParseAttrMsg(message.data(), message.size(), 40, block, family.ctx());
    });
    require(out.code == verdict.code, "the code that the flat record's octets call for");
    const bool fired = no_memory && no_memory->fired();
    require(fired == (fails < verdict.allocations), "as many allocations as the record needs");
    require(fired ? effect.asserts() > verdict.asserts : effect.asserts() == verdict.asserts,
            "a report of what failed alone");
    require(out.stored == verdict.block && effect.blocks() == (verdict.block ? 1 : 0), "a block where there is one");
    require(family.ctx()->uiInlineBufUsed == 0, "the inline buffer is back");
    if (verdict.block) {
        check_header(*out.block, false, verdict.attribute);
    }
    return std::move(out.block);
}

void check_flat(const Family &family, const Message &message, std::size_t lost)
{
    std::size_t allocations = 0;
    read_flat(family, message, kNever, allocations);
    if (allocations != 0) {
        std::size_t same = 0;
        read_flat(family, message, lost % allocations, same);
    }
}

void run_flat(Fields fields)
{
    const Family &family = instance_of(kind_of(fields.u8()));
    const std::uint8_t behind = fields.u8();
    const std::uint8_t lost = fields.u8();
    check_flat(family, Message(fields.rest(), behind, (lost & 1) != 0), lost);
}

// A record written and read again, with the octets behind it that a reader asks for.
void run_flat_again(Fields fields)
{
    const Family &family = instance_of(kind_of(fields.u8()));
    const std::uint8_t form = fields.u8();
    SegmentRoute route{.non_key = Bytes(kNonKeySize)};
    route.record = record_of(fields);
    check_written(family, route, form);
    SegmentWriter writer(route, 1200);
    Bytes flat = writer.flat().octets;
    if (!flat.empty()) {
        flat.resize(flat.size() + form / 2 % 8);
        check_flat(family, Message(flat, form, (form & 1) != 0), form);
    }
}

// ---- what becomes of a route ----

using Operation = std::function<SegmentResult(SegmentModel &)>;

std::size_t check_operation(const Family &family, const SegmentRoute &route, const Operation &judge,
                            const Reader &operation, std::size_t fails)
{
    SegmentModel model(route, fails);
    const SegmentResult expected = judge(model);
    const Effect effect;
    const std::optional<platform::FailAllocation> no_memory = failing(fails);
    const Read out = read(operation);
    const bool fired = no_memory && no_memory->fired();
    require(out.code == expected.code, "the code that the routes call for");
    require(fired == (fails < expected.allocations), "as many allocations as the operation needs");
    require(fired ? effect.asserts() > expected.asserts : effect.asserts() == expected.asserts,
            "a report of what failed alone");
    require(out.stored == expected.stored, "whether the result is stored");
    require((out.block != nullptr) == expected.attribute.has_value(), "a block where there is one");
    require(effect.blocks() == (out.block != nullptr ? 1 : 0), "nothing else stays allocated");
    require(family.ctx()->uiInlineBufUsed == 0, "the inline buffer is back");
    if (out.block != nullptr) {
        check_header(*out.block, false, expected.attribute, expected.need_proc ? QEL_NEED_PROC : 0);
    }
    return expected.allocations;
}

void check_operations(const Family &family, const SegmentRoute &route, const Operation &judge, const Reader &operation)
{
    const std::size_t allocations = check_operation(family, route, judge, operation, kNever);
    for (std::size_t fails = 0; fails < allocations; ++fails) {
        check_operation(family, route, judge, operation, fails);
    }
}

void run_action(Fields fields)
{
    const Family &family = instance_of(kind_of(fields.u8()));
    const std::uint8_t form = fields.u8();
    const std::uint8_t length = fields.u8();
    const Bytes octets = fields.take(24);
    SegmentRoute route = route_of(fields);
    if ((form & 0xf0) == 0xf0) {
        route.tunnel = Bytes(); // there, and of no length
    }
    // The host keeps the octets behind a value readable, so a short one is read on.
    const Section value(Octets(octets).first(std::min<std::size_t>(length, 24)), false, QEL_MSG_READ_SLACK);
    Bytes seen(value.data(), value.data() + value.size() + QEL_MSG_READ_SLACK);
    const HeldRoute held(route, (form & 1) != 0);
    check_operations(
        family, route, [&](SegmentModel &model) { return model.action(seen, value.size()); },
        [&](QEL_ROUTE_BLOCK_S **block) {
            return family.desc().pfApplyAction(&held.info(), 61, value.data(), value.size(), block, family.ctx());
        });
}

// The second record of a pair, made of the first by what a router changes; or one of its own.
SegmentRecord changed(SegmentRecord record, Fields &fields, std::uint8_t form)
{
    if ((form & 0x80) != 0) {
        return record_of(fields);
    }
    record.replaced.flags = fields.u8();
    record.replaced.snh = fields.take(8);
    const std::uint8_t size = fields.u8();
    record.replaced.tunnel = size == 0 ? Bytes{} : tunnel_of(fields, size);
    if ((form & 0x01) != 0) {
        record.policy[fields.u8() % 12] ^= fields.u8();
    }
    if ((form & 0x02) != 0) {
        record.original.snh[fields.u8() % 8] ^= fields.u8();
    }
    if ((form & 0x04) != 0 && !record.original.tunnel.empty()) {
        record.original.tunnel[record.original.tunnel.size() - 1] ^= fields.u8();
    }
    if ((form & 0x08) != 0) {
        record.original.tunnel.resize(fields.u8() % 12);
        record.replaced.offset = static_cast<std::uint32_t>(record.original.tunnel.size());
    }
    if ((form & 0x10) != 0) {
        record.policy_id ^= fields.u8();
    }
    if ((form & 0x20) != 0) {
        record.original.flags ^= fields.u8() & 3U;
    }
    return record;
}

void check_compares(const Family &family, const SegmentRoute &a, const SegmentRoute &b)
{
    const SegmentRecord &first = *a.record;
    const SegmentRecord &second = *b.record;
    const HeldRoute left(a, true);
    const HeldRoute right(b, false);
    const QEL_FAMILY_DESC_S &desc = family.desc();
    const Effect effect;
    if (first.key == second.key && first.key_type() >= 1 && first.key_type() <= 8) {
        const bool same = first.policy_id == second.policy_id && first.policy == second.policy &&
                          first.original.snh == second.original.snh && first.original.tunnel == second.original.tunnel;
        const std::uint32_t differ =
            desc.pfCheckAttrByType(left.info().pstImportAttr, left.info().uiImportAttrLen, right.info().pstImportAttr,
                                   right.info().uiImportAttrLen, 243);
        require(differ == (same ? 0U : 1U), "what makes another attribute");
        const std::int32_t order = first.policy_id == second.policy_id  ? 0
                                   : first.policy_id > second.policy_id ? 1
                                                                        : -1;
        require(desc.pfCmpDataForAttrType(left.info().pstImportAttr, left.info().uiImportAttrLen,
                                          right.info().pstImportAttr, right.info().uiImportAttrLen, 8, 243) == order,
                "the order of records");
    }
    require(desc.pfCheckAttrByType(left.info().pstImportAttr, left.info().uiImportAttrLen, right.info().pstImportAttr,
                                   right.info().uiImportAttrLen, 16) == 1,
            "no other attribute has this compare");
    require(effect.allocations() == 0, "a compare needs no memory");
}

void run_decision(Fields fields)
{
    static constexpr std::array<std::uint32_t, 8> controls{0, 0, 0, 0x1, 0x800, 0x2000, 0x2801, 0x400};
    const Family &family = instance_of(kind_of(fields.u8()));
    const std::uint8_t form = fields.u8();
    const std::uint8_t presence = fields.u8();
    const std::uint32_t control = controls[fields.u8() % controls.size()];
    SegmentRoute fresh;
    fresh.record = record_of(fields);
    fresh.key = fresh.record->key;
    SegmentRoute old{.key = fresh.key};
    old.record = changed(*fresh.record, fields, form);
    check_compares(family, old, fresh);
    if ((presence & 0x3) == 0x3) {
        old.record.reset();
    }
    if ((presence & 0xc) == 0xc) {
        fresh.record.reset();
    }
    const HeldRoute before(old, (form & 0x40) != 0);
    const HeldRoute after(fresh, true);
    check_operations(
        family, fresh, [&](SegmentModel &model) { return model.after_policy(old, control); },
        [&](QEL_ROUTE_BLOCK_S **block) {
            return family.desc().pfSetAttrAfterPlcy(&before.info(), &after.info(), presence, control, block,
                                                    family.ctx());
        });
}

// ---- what goes out ----

void check_lookup(const Family &family, const SegmentRoute &route, const QEL_ROUTE_INFO_S &info, std::uint32_t length)
{
    const std::optional<Bytes> expected = lookup_data(route);
    std::uint8_t *data = nullptr;
    std::uint32_t size = kUnwritten;
    require(family.desc().pfGetCmcastNhpUserData(&info, &data, &size, family.ctx()) == QEL_OK, "user data, or none");
    const Value owner(data);
    require((data != nullptr) == expected.has_value() && size == (expected ? 28U : 0U),
            "user data where there is some");
    if (!expected) {
        return;
    }
    require(equal({data, size}, *expected), "the user data of the next hop's lookup");
    {
        const platform::FailAllocation no_memory(0);
        std::uint8_t *none = nullptr;
        require(family.desc().pfGetCmcastNhpUserData(&info, &none, &size, family.ctx()) == QEL_ERR_MEMORY &&
                    none == nullptr && size == 0,
                "no user data without memory");
    }
    const Section octets(*expected);
    const Read out = read([&](QEL_ROUTE_BLOCK_S **block) {
        return family.desc().pfGetIntraNlriKeyByUserData(octets.data(), length, block, family.ctx());
    });
    if (length == 28) {
        require(out.code == QEL_ERR_NULL && !out.stored, "the very length that is made is refused");
        return;
    }
    require(out.code == QEL_OK && out.block != nullptr, "user data is a route again");
    Bytes key(kKeySize);
    key[0] = 1;
    key[8] = (*expected)[0] == 0 ? 32 : 128;
    place(key, 12, Octets(*expected).subspan(12, (*expected)[0] == 0 ? 4 : 16));
    require(equal(section_of(*out.block, out.block->usKeyOffset, out.block->usKeyLen), key), "the key of a next hop");
    require(equal(section_of(*out.block, out.block->usRdOffset, out.block->usRdLen), Octets(*expected).subspan(4, 8)),
            "the RD of a next hop");
}

void check_relay(const Family &family, const SegmentRoute &route, const QEL_ROUTE_INFO_S &info)
{
    std::uint32_t hop = kUnwritten;
    std::uint32_t has = kUnwritten;
    require(family.desc().pfSetRelayNextHop(&info, &hop, &has, family.ctx()) == QEL_OK, "a next hop, or none");
    std::optional<std::uint32_t> expected;
    const Bytes list = route.list.value_or(Bytes{});
    for (std::size_t at = 0; is_pmsi_type(route.key_type()) && !expected && at + 8 <= list.size(); at += 8) {
        if (list[at] == 18) {
            expected = little32(Octets(list).subspan(at + 2));
        }
    }
    require(has == (expected ? 1U : 0U) && hop == expected.value_or(kUnwritten), "the next hop that the list tells");
}

void check_list(const Family &family, const SegmentRoute &route, const QEL_ROUTE_INFO_S &info)
{
    std::uint8_t *list = nullptr;
    std::uint32_t count = kUnwritten;
    require(family.desc().pfGetExtCommunity(&info, &list, &count, family.ctx()) == QEL_OK, "the list, or none");
    const Value owner(list);
    const Bytes expected = route.list.value_or(Bytes{});
    require((list != nullptr) == route.list.has_value() && count == expected.size() / 8 &&
                equal({list, list != nullptr ? expected.size() : 0}, expected),
            "a copy of the list");
}

void run_out(Fields fields)
{
    static constexpr std::array<std::uint32_t, 8> controls{0, 0x1, 0x2000, 0x2001, 0x800, 0x2801, 0xfffe, 0xffff};
    const Family &family = instance_of(kind_of(fields.u8()));
    const std::uint8_t form = fields.u8();
    const std::uint32_t control = controls[fields.u8() % controls.size()];
    const std::uint32_t length = 24U + fields.u8() % 8U;
    const SegmentRoute route = route_of(fields);
    const HeldRoute held(route, (form & 1) != 0);
    for (const std::uint32_t attribute : {16U, 22U, 3U, 8U, 14U}) {
        check_operations(
            family, route, [&](SegmentModel &model) { return model.set(attribute, control); },
            [&](QEL_ROUTE_BLOCK_S **block) {
                return family.desc().pfSetAttr(&held.info(), attribute, control, block, family.ctx());
            });
    }
    const Effect effect;
    std::uint32_t answer = kUnwritten;
    const auto [expected, asserts] = advertised(route, 2 + form % 2);
    require(family.desc().pfCheckRouteForAdv(&held.info(), 2 + form % 2, &answer) == QEL_OK && answer == expected,
            "whether the route goes to the peer");
    require(effect.asserts() == asserts, "a report of what failed alone");
    check_relay(family, route, held.info());
    check_list(family, route, held.info());
    check_lookup(family, route, held.info(), length);
    check_written(family, route, form);
}

constexpr Branch kBranches[] = {run_pair, run_pair, run_flat, run_flat_again, run_action, run_decision, run_out};

} // namespace
} // namespace qel::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    return qel::fuzz::run_branch(qel::fuzz::kBranches, {data, size});
}
