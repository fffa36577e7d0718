// Messages between the components of a router from any octets: route prefixes, route paths, single attributes, what is
// added to a route; read, and written back in every room. The first octet of an input picks the door.
#include "check.h"
#include "import_policy_common.h"
#include "message_door.h"
#include "message_model.h"

#include "host/family.h"
#include "host/platform/platform.h"
#include "host/route.h"
#include "ngmvpn/qel_ngmvpn.h"

#include <array>
#include <functional>
#include <optional>
#include <utility>

namespace qel::fuzz {
namespace {

using host::BlockPtr;
using host::Family;

// ---- reading ----

void check_route_sections(const QEL_ROUTE_BLOCK_S &block, const RoutePart &route)
{
    const Octets key = section_of(block, block.usKeyOffset, block.usKeyLen);
    const Octets non_key = section_of(block, block.usNonKeyOffset, block.usNonKeyLen);
    require(key[100] == route.rd_kind, "where the RD belongs");
    const std::uint8_t wire_type = route.wire[0];
    const std::uint32_t key_type = wire_type <= 3                         ? wire_type
                                   : wire_type == 4 && route.wire[2] == 1 ? 4U
                                                                          : wire_type + 1U;
    require(little32(key) == key_type && little32(non_key.subspan(4)) == key_type, "the type of key and non-key");
    const bool leaf = wire_type == 4;
    require(little16(non_key) == (leaf ? 0x5U : 0x11U), "what the non-key holds");
    const std::size_t rd_at = leaf ? 4 : 2;
    const Octets wire_rd = route.wire.subspan(rd_at, 8);
    const Bytes rd = turned(wire_rd, wire16(wire_rd) == 0 ? std::initializer_list<std::size_t>{2, 2, 4}
                                                          : std::initializer_list<std::size_t>{2, 4, 2});
    require(equal(section_of(block, block.usRdOffset, block.usRdLen), rd), "the RD section");
    if (leaf) {
        const std::size_t embedded = 2U + route.wire[3];
        require(equal(non_key.subspan(40, embedded), route.wire.subspan(2, embedded)), "the route that is answered");
    } else {
        require(equal(non_key.subspan(32, 8), rd), "the RD of the non-key");
    }
}

void check_block(const QEL_ROUTE_BLOCK_S &block, const MessageVerdict &verdict, const Effect &effect)
{
    const auto [header, size] =
        header_of(verdict.route.has_value(), verdict.route || verdict.non_key, verdict.attribute);
    require(equal(bytes_of(block), bytes_of(header)), "the header of the block");
    require(effect.blocks() == 1 && effect.bytes() == static_cast<std::int64_t>(size), "the block alone stays");
    if (verdict.route) {
        check_route_sections(block, *verdict.route);
    }
    if (verdict.non_key) {
        require(equal(section_of(block, block.usNonKeyOffset, block.usNonKeyLen), *verdict.non_key), "the non-key");
    }
    if (verdict.attribute) {
        require(equal(section_of(block, block.usAttrOffset, block.usAttrLen), verdict.attribute->section),
                "the attribute's section");
    }
}

BlockPtr check_read(const Family &family, const Reader &reader, const MessageVerdict &verdict, std::size_t fails)
{
    const Effect effect;
    Read out;
    bool fired = false;
    {
        const std::optional<platform::FailAllocation> no_memory = failing(fails);
        out = read(reader);
        fired = no_memory && no_memory->fired();
    }
    require(out.code == verdict.code, "the code that the octets call for");
    require((out.block != nullptr) == verdict.block && out.stored == verdict.block, "a block where there is one");
    require(fired == (fails < verdict.allocations), "as many allocations as the message needs");
    require(fails != kNever || effect.allocations() == verdict.allocations, "no more memory than that");
    require(fired ? effect.asserts() > verdict.asserts : effect.asserts() == verdict.asserts,
            "a report of what failed alone");
    require(family.ctx()->uiInlineBufUsed == 0, "the inline buffer is back");
    if (out.block == nullptr) {
        require(effect.blocks() == 0, "nothing stays allocated");
        return nullptr;
    }
    check_block(*out.block, verdict, effect);
    return std::move(out.block);
}

// Reads with memory, and without each allocation that there is; `lost` is the one that the input asks to be checked in
// full.
using Judge = std::function<MessageVerdict(std::size_t fails)>;

BlockPtr check_reads(const Family &family, const Reader &reader, const Judge &judge, std::size_t lost)
{
    const MessageVerdict verdict = judge(kNever);
    BlockPtr block = check_read(family, reader, verdict, kNever);
    if (verdict.allocations != 0) {
        const std::size_t fails = lost % verdict.allocations;
        check_read(family, reader, judge(fails), fails);
    }
    return block;
}

// ---- writing ----

using CodeIn = std::function<std::uint32_t(std::size_t room)>; // the code that a room calls for

void check_written(Octets out, Octets before, const Expected &expected)
{
    Bytes wanted = expected.octets;
    for (const std::size_t at : expected.open) {
        wanted[at] = before[at];
    }
    require(equal(out.first(wanted.size()), wanted), "the octets that the route calls for");
    require(equal(out.subspan(wanted.size()), before.subspan(wanted.size())), "nothing is written behind them");
}

void check_write_in(const Writer &writer, const Expected &expected, std::size_t room, std::uint32_t code)
{
    const Bytes before(room, kFill);
    Section out(before);
    std::uint8_t *cursor = out.data();
    const Effect effect;
    require(writer(&cursor, out.size()) == code, "the code that room and route call for");
    require(cursor == out.data() + (code == QEL_OK ? expected.octets.size() : 0), "where the cursor stands");
    require(effect.blocks() == 0, "writing keeps no memory");
    if (code == QEL_OK) {
        check_written(out.octets(), before, expected);
    }
}

// Every room from none to more than enough.
void check_write(const Writer &writer, const Expected &expected, const CodeIn &code_in)
{
    for (std::size_t room = 0; room <= expected.needs + 2; ++room) {
        check_write_in(writer, expected, room, code_in(room));
    }
}

void check_write(const Writer &writer, const Expected &expected)
{
    check_write(writer, expected, [&](std::size_t room) {
        return expected.code != QEL_OK ? expected.code : room < expected.needs ? QEL_ERR_SPACE : QEL_OK;
    });
}

// A writer that needs scratch memory gives back nothing without it.
void check_write_lost(const Writer &writer, const Expected &expected)
{
    const platform::FailAllocation no_memory(0);
    const Effect effect;
    Section out(Bytes(expected.needs, kFill));
    std::uint8_t *cursor = out.data();
    const std::uint32_t code = writer(&cursor, out.size());
    require(no_memory.fired() ? code == QEL_ERR_MEMORY && cursor == out.data() && effect.asserts() != 0
                              : code == QEL_OK || expected.code != QEL_OK,
            "no memory, nothing written");
    require(effect.blocks() == 0, "nothing is kept");
}

enum class Door : std::uint8_t { message, high_availability, attribute };

Reader reader_of(const Family &family, Door door, std::uint32_t type, const Message &message)
{
    const auto parse = door == Door::message             ? family.desc().pfParseMsg
                       : door == Door::high_availability ? family.desc().pfParseHaMsg
                                                         : family.desc().pfParseAttrMsg;
    return [&family, &message, parse, type](QEL_ROUTE_BLOCK_S **block) {
        return parse(message.data(), message.size(), type, block, family.ctx());
    };
}

Writer writer_of(const Family &family, Door door, std::uint32_t type, const QEL_ROUTE_INFO_S &route)
{
    const auto format = door == Door::message             ? family.desc().pfFormatMsg
                        : door == Door::high_availability ? family.desc().pfFormatHaMsg
                                                          : family.desc().pfFormatAttrMsg;
    return [&family, &route, format, type](std::uint8_t **cursor, std::uint32_t room) {
        return format(&route, type, cursor, room, family.ctx());
    };
}

// ---- route prefixes ----

struct PrefixType {
    Door door;
    std::uint32_t type;
    MessageVerdict (*judge)(MessageModel &model);
};

MessageVerdict of_old_ha(MessageModel &model)
{
    return model.high_availability(false);
}

constexpr std::array kPrefixes{
    PrefixType{Door::message, 53, [](MessageModel &model) { return model.from_mvrf(); }},
    PrefixType{Door::message, 55, [](MessageModel &model) { return model.from_mvrf(); }},
    PrefixType{Door::message, 59, [](MessageModel &model) { return model.from_mvpn(); }},
    PrefixType{Door::message, 61, [](MessageModel &model) { return model.from_mvpn(); }},
    PrefixType{Door::message, 15, [](MessageModel &model) { return model.from_mc(); }},
    PrefixType{Door::high_availability, 1, of_old_ha},
    PrefixType{Door::high_availability, 3, of_old_ha},
    PrefixType{Door::high_availability, 5, of_old_ha},
    PrefixType{Door::high_availability, 8, [](MessageModel &model) { return model.high_availability(true); }},
};

// The room that the writer of a wire's route type asks for.
std::size_t largest_form(std::uint8_t wire_type)
{
    static constexpr std::array<std::size_t, 8> room{0, 26, 14, 60, 78, 44, 48, 48};
    return room[wire_type];
}

// What was read comes back in every form: bare, for the multicast component, for the standby board.
void check_prefix_forms(const Family &family, const QEL_ROUTE_INFO_S &route, const RoutePart &part)
{
    Bytes wire(part.wire.begin(), part.wire.end() - static_cast<std::ptrdiff_t>(part.unread));
    wire[1] = static_cast<std::uint8_t>(wire[1] - part.unread);
    const std::size_t bound = largest_form(wire[0]);
    const auto check = [&](Door door, std::uint32_t type, const Bytes &octets, std::size_t head) {
        check_write(writer_of(family, door, type, route), {.octets = octets, .needs = head + bound},
                    [&](std::size_t room) { return room < head + bound ? QEL_ERR_SPACE : QEL_OK; });
    };
    for (const std::uint32_t type : {53U, 55U, 59U, 61U}) {
        check(Door::message, type, wire, 0);
    }
    check(Door::message, 5, tlv_of(11, wire), 4);
    Bytes backup = tlv_of(21, Bytes{part.rd_kind, 0, 0, 0});
    append(backup, tlv_of(11, wire));
    for (const std::uint32_t type : {1U, 3U, 5U, 8U}) {
        check(Door::high_availability, type, backup, 12);
    }
}

void run_prefix(Fields fields)
{
    const Kind kind = kind_of(fields.u8());
    const Family &family = instance_of(kind);
    const PrefixType &type = kPrefixes[fields.u8() % kPrefixes.size()];
    const std::uint8_t behind = fields.u8();
    const bool odd = (fields.u8() & 1) != 0;
    const Message message(fields.rest(), behind, odd);
    const auto judge = [&](std::size_t fails) {
        MessageModel model(kind, message.octets(), fails);
        return type.judge(model);
    };
    BlockPtr block = check_reads(family, reader_of(family, type.door, type.type, message), judge, 0);
    if (block != nullptr) {
        const host::Route route(std::move(block));
        check_prefix_forms(family, route.info(), *judge(kNever).route);
    }
}

// ---- route paths ----

// A route's path as the writer sees it.
struct Path {
    Bytes non_key;
    std::optional<Bytes> msid;       // section
    std::optional<Bytes> prefix_sid; // section
    std::optional<Bytes> tunnel;     // wire
    std::optional<Bytes> list;       // section
};

struct PathTlv {
    Bytes octets;
    std::size_t least; // room that is asked for
};

std::vector<PathTlv> path_tlvs(const Path &path)
{
    std::vector<PathTlv> out;
    const auto add = [&out](std::uint32_t type, Octets value) {
        Bytes tlv = tlv_of(type, value);
        const std::size_t size = tlv.size();
        out.push_back({std::move(tlv), size});
    };
    if (path.msid) {
        const Octets held = *path.msid;
        Bytes value{1, 0, static_cast<std::uint8_t>(held[2] != 0 ? 25 : 17), 0};
        append(value, turned(held.subspan(4, 16), {4, 4, 4, 4}));
        if (held[2] != 0) {
            append(value, Bytes{1, 0, 5, 0, held[0], held[1], 0, 0});
        }
        add(24, value);
    }
    if (path.prefix_sid) {
        add(23, Octets(*path.prefix_sid).subspan(20));
    }
    if (path.tunnel) {
        add(12, *path.tunnel);
    }
    const std::uint32_t key_type = little32(Octets(path.non_key).subspan(4));
    if (path.list && (key_type == 1 || key_type == 3)) {
        for (std::size_t at = 0; at + 8 <= path.list->size(); at += 8) {
            if ((*path.list)[at] == 18) {
                add(15, list_turned(Octets(*path.list).subspan(at, 8), false));
                break;
            }
        }
    }
    return out;
}

void check_path_written(const Family &family, const QEL_ROUTE_INFO_S &route, const Path &path)
{
    const Writer writer = writer_of(family, Door::message, 6, route);
    Expected expected;
    for (const PathTlv &tlv : path_tlvs(path)) {
        append(expected.octets, tlv.octets);
    }
    expected.needs = std::max<std::size_t>(expected.octets.size(), 4);
    const bool typed = (path.non_key[0] & 1) != 0;
    check_write(writer, expected, [&](std::size_t room) {
        return room < 4                        ? QEL_ERR_SPACE
               : !typed                        ? QEL_ERR_ARGUMENT
               : room < expected.octets.size() ? QEL_ERR_SPACE
                                               : QEL_OK;
    });
}

void keep(Path &path, const AttributePart &part)
{
    switch (part.type) {
    case kPmsi:
        break; // its wire form comes from the message
    case kPrefixSid:
        path.prefix_sid = part.section;
        break;
    case kMsid:
        path.msid = part.section;
        break;
    case kExtComm:
        path.list = part.section;
        break;
    default:
        break;
    }
}

// Several messages, each for a route of its own; then one route that has the attributes of all.
void run_path(Fields fields)
{
    const Kind kind = kind_of(fields.u8());
    const Family &family = instance_of(kind);
    const std::uint8_t behind = fields.u8();
    const std::size_t lost = fields.u8();
    const std::uint8_t flags = fields.u8();
    const std::uint8_t key_type = fields.u8();
    const std::array<std::size_t, 3> sizes{fields.u8(), fields.u8(), kNever};
    host::Route route;
    Path path{.non_key = Bytes(kNonKeySize)};
    for (const std::size_t size : sizes) {
        const Bytes octets = size == kNever ? fields.rest() : fields.take(size);
        const Message message(octets, behind, size % 2 != 0);
        const auto judge = [&](std::size_t fails) { return MessageModel(kind, message.octets(), fails).route_path(); };
        BlockPtr block = check_reads(family, reader_of(family, Door::message, 16, message), judge, lost);
        if (block == nullptr) {
            continue;
        }
        const MessageVerdict verdict = judge(kNever);
        if (verdict.attribute) {
            keep(path, *verdict.attribute);
        }
        route.add(std::move(block));
    }
    const QEL_ROUTE_INFO_S &info = route.info();
    if (info.pucPmsi != nullptr) {
        // The writer of an update gives the tunnel's octets; that writer has its own target.
        Bytes out(512);
        std::uint8_t *cursor = out.data();
        require(family.desc().pfFormatPkt(&route.mutable_info(), kPmsi, &cursor, 512, family.ctx()) == QEL_OK,
                "a tunnel that was read can be written");
        out.resize(static_cast<std::size_t>(cursor - out.data()));
        path.tunnel = std::move(out);
    }
    path.non_key[0] = flags;
    path.non_key[4] = key_type % 10;
    const Section non_key(path.non_key, true);
    QEL_ROUTE_INFO_S whole = info;
    whole.uiValidMask |= QEL_SECTION_NONKEY;
    whole.pucNonKey = non_key.data();
    whole.uiNonKeyLen = non_key.size();
    check_path_written(family, whole, path);
}

// ---- attribute messages ----

struct AttributeType {
    std::uint32_t type;
    std::uint8_t attribute; // 0: the non-key
};

constexpr std::array kAttributes{
    AttributeType{11, kExtComm},   AttributeType{21, kExtComm},     AttributeType{25, kPmsi},
    AttributeType{34, 0},          AttributeType{50, kIpv6ExtComm}, AttributeType{51, kIpv6ExtComm},
    AttributeType{43, kPrefixSid}, AttributeType{59, kMsid},
};

MessageVerdict judge_attribute(MessageModel model, std::uint8_t attribute)
{
    switch (attribute) {
    case 0:
        return model.non_key();
    case kExtComm:
        return model.list(false);
    case kIpv6ExtComm:
        return model.list(true);
    default:
        return model.one_attribute(attribute);
    }
}

Expected attribute_written(Octets value, std::uint8_t attribute, const MessageVerdict &verdict)
{
    if (attribute == 0) {
        return written_non_key(*verdict.non_key);
    }
    Expected out;
    if (attribute == kExtComm || attribute == kIpv6ExtComm) {
        out.octets.assign(value.begin(), value.end());
    } else {
        out.octets = AttributeModel(attribute, value).judge().written;
    }
    out.needs = out.octets.size();
    return out;
}

void run_attribute(Fields fields)
{
    const Kind kind = kind_of(fields.u8());
    const Family &family = instance_of(kind);
    const AttributeType &type = kAttributes[fields.u8() % kAttributes.size()];
    const std::uint8_t behind = fields.u8();
    const std::size_t lost = fields.u8();
    const Bytes octets = fields.rest();
    const Message message(octets, behind, lost % 2 != 0);
    const auto judge = [&](std::size_t fails) {
        return judge_attribute(MessageModel(kind, message.octets(), fails), type.attribute);
    };
    BlockPtr block = check_reads(family, reader_of(family, Door::attribute, type.type, message), judge, lost);
    if (block == nullptr) {
        return;
    }
    const host::Route route(std::move(block));
    const Expected expected = attribute_written(octets, type.attribute, judge(kNever));
    const Writer writer = writer_of(family, Door::attribute, type.type, route.info());
    check_write(writer, expected);
    check_write_lost(writer, expected);
    // The other types of the table find nothing to write in this route.
    for (const AttributeType &other : kAttributes) {
        if (other.attribute != type.attribute) {
            check_write(writer_of(family, Door::attribute, other.type, route.info()), {});
        }
    }
}

// ---- what is added to a route ----

void run_add(Fields fields)
{
    const Kind kind = kind_of(fields.u8());
    const Family &family = instance_of(kind);
    const std::uint8_t form = fields.u8();
    const std::size_t lost = fields.u8();
    Bytes record = fields.take(kNonKeySize);
    record[4] %= 10;
    std::fill_n(record.begin() + 5, 3, std::uint8_t{0});
    const Bytes held = fields.take(fields.u8());
    const Message message(fields.rest(), form, (form & 0x8) != 0);

    const Section non_key(record, (form & 0x10) != 0);
    const Section list(held, true);
    QEL_ROUTE_INFO_S route{};
    route.uiValidMask = (form & 0x1) != 0 ? 0 : QEL_SECTION_NONKEY;
    route.pucNonKey = (form & 0x2) != 0 ? nullptr : non_key.data();
    route.uiNonKeyLen = non_key.size();
    route.pucExtComm = (form & 0x4) != 0 ? nullptr : list.data();
    route.uiExtCommLen = list.size();
    const bool typed = (form & 0x3) == 0 && (record[0] & 1) != 0;
    const std::optional<Bytes> typed_non_key = typed ? std::optional(record) : std::nullopt;
    const Octets present = (form & 0x4) != 0 ? Octets() : Octets(held);

    for (const std::uint32_t type : {11U, 34U}) {
        const Reader reader = [&](QEL_ROUTE_BLOCK_S **block) {
            return family.desc().pfParseAddAttrMsg(&route, message.data(), message.size(), type, block, family.ctx());
        };
        const auto judge = [&](std::size_t fails) {
            MessageModel model(kind, message.octets(), fails);
            return type == 11 ? model.add_list(typed_non_key, present) : model.add_non_key(typed_non_key);
        };
        check_reads(family, reader, judge, lost);
    }
    require(equal(non_key.octets(), record) && equal(list.octets(), held), "the route is only read");
}

// ---- any type at any door ----

// Types with a target of their own, types of another table, types of no table: no read beyond, nothing kept but a
// block, and a block with success alone.
void run_any(Fields fields)
{
    static constexpr std::array<std::uint32_t, 16> types{56, 57, 18, 20, 19, 21, 157, 158, 137, 40, 6, 7, 10, 11, 2, 9};
    const Family &family = instance_of(kind_of(fields.u8()));
    const auto door = static_cast<Door>(fields.u8() % 3);
    const std::uint8_t pick = fields.u8();
    const std::uint32_t type = pick < 240 ? types[pick % types.size()] : pick;
    const std::uint8_t behind = fields.u8();
    const Message message(fields.rest(), behind, (pick & 0x10) != 0);
    const Reader reader = reader_of(family, door, type, message);
    for (const std::size_t fails : {kNever, std::size_t{0}, std::size_t{1}, std::size_t{2}}) {
        const Effect effect;
        const std::optional<platform::FailAllocation> no_memory = failing(fails);
        const Read out = read(reader);
        require(!out.stored || out.code == QEL_OK, "a block with success alone");
        require(effect.blocks() == (out.block != nullptr ? 1 : 0), "nothing else stays allocated");
        require(family.ctx()->uiInlineBufUsed == 0, "the inline buffer is back");
    }
    const Effect effect;
    require(read(reader_of(family, door, 9999, message)).code == QEL_ERR_NO_ENTRY && effect.asserts() == 0,
            "a type of no table");
}

constexpr Branch kBranches[] = {run_prefix, run_path, run_attribute, run_add, run_any, run_path};

} // namespace
} // namespace qel::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    return qel::fuzz::run_branch_without_loss(qel::fuzz::kBranches, {data, size});
}
