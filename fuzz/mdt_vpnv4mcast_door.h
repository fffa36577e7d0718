// The doors of the MDT and of the VPNv4 multicast family that have one shape in both: an input's fields, a call of the
// library and its verdict, and the same call again with an allocation failing.
#pragma once

#include "check.h"
#include "import_policy_common.h"
#include "mdt_vpnv4mcast_model.h"

#include "host/family.h"
#include "host/platform/platform.h"
#include "host/route.h"

#include <array>
#include <cstdint>
#include <limits>
#include <optional>
#include <utility>

namespace qel::fuzz {

constexpr std::size_t kNever = std::numeric_limits<std::size_t>::max();
constexpr std::uint8_t kBehind = 0xee; // what a Section has behind its octets

// The operations of one family that stand in no descriptor.
struct DirectDoors {
    uint32_t (*apply_list)(const QEL_ROUTE_INFO_S *, uint32_t, const uint8_t *, uint32_t, QEL_ROUTE_BLOCK_S **,
                           QEL_FAMILY_CTX_S *);
    int32_t (*order_communities)(const void *, uint32_t, const void *, uint32_t);
    // Gives back the one block, of that size and not the result, that the library holds on to.
    void (*take_back)(const void *result, std::size_t size);
};

// What the calls of one input are made on and with.
struct Stage {
    Member member;
    const host::Family &family;
    const DirectDoors &direct;
    bool lent = false;          // whether the inline buffer is lent out already
    std::size_t fails = kNever; // the allocation that fails the second time

    const QEL_FAMILY_DESC_S &desc() const { return family.desc(); }
    QEL_FAMILY_CTX_S *ctx() const { return family.ctx(); }
};

inline void set_stage(Stage &stage, Fields &fields)
{
    const std::uint8_t how = fields.u8();
    stage.lent = (how & 0x80) != 0;
    stage.fails = how & 0x7;
}

// The verdict and the call, first with all the memory that it wants, then with one allocation failing.
template <class Judge, class Call> void twice(const Stage &stage, Judge judge, Call call)
{
    for (const std::size_t fails : {kNever, stage.fails}) {
        Memory memory(fails);
        Memory::Scratch lent(memory);
        if (stage.lent) {
            lent.take(1);
        }
        const auto verdict = judge(memory);
        if (fails != kNever && memory.allocations() <= fails) {
            return; // the call doesn't get so far
        }
        stage.ctx()->uiInlineBufUsed = stage.lent ? 1 : 0;
        std::optional<platform::FailAllocation> no_memory;
        if (fails != kNever) {
            no_memory.emplace(fails);
        }
        const Effect effect;
        call(verdict, effect);
        require(fails != kNever || effect.allocations() == memory.allocations(),
                "as many allocations as there are uses");
        require(!no_memory || no_memory->fired(), "the allocation that fails is asked for");
    }
}

inline void check_inline(const Stage &stage, bool kept = false)
{
    require(stage.ctx()->uiInlineBufUsed == (stage.lent || kept ? 1U : 0U), "the inline buffer is back");
}

// A call that may make a block.
template <class Judge, class Call> void expect_block(const Stage &stage, Judge judge, Call call)
{
    twice(stage, judge, [&](const Verdict &verdict, const Effect &effect) {
        QEL_ROUTE_BLOCK_S untouched{};
        QEL_ROUTE_BLOCK_S *block = &untouched;
        const std::uint32_t code = call(&block);
        const host::BlockPtr owner(block != &untouched ? block : nullptr);
        const std::int64_t kept = verdict.kept ? 1 : 0;
        const auto kept_size = static_cast<std::int64_t>(verdict.kept.value_or(0));
        require(code == verdict.code, "the code that the octets call for");
        require(effect.asserts() == verdict.asserts, "a report of what failed alone");
        check_inline(stage, verdict.inline_kept);
        Bytes image;
        if (verdict.outcome == Outcome::no_value) {
            image = block_image({.attribute = Bytes{}});
            image[24] = 0; // no attribute, so it stands nowhere
        } else if (verdict.outcome == Outcome::list) {
            image = block_image(verdict.sections);
        } else {
            require(block == (verdict.outcome == Outcome::null ? nullptr : &untouched),
                    "no block, and the word for it");
            require(effect.blocks() == kept && effect.bytes() == kept_size, "nothing stays but what is kept");
        }
        if (!image.empty()) {
            require(block != nullptr && block != &untouched, "a block");
            require(equal({reinterpret_cast<const std::uint8_t *>(block), image.size()}, image), "header and sections");
            require(effect.blocks() == 1 + kept &&
                        effect.bytes() == static_cast<std::int64_t>(image.size()) + kept_size,
                    "the block stays and what is kept");
        }
        if (verdict.kept) {
            stage.direct.take_back(block, *verdict.kept);
        }
    });
}

// ---- routes ----

inline Bytes rd_of(Fields &fields)
{
    Bytes rd = fields.take(8);
    if (rd[1] != 0xff) { // most of them of a type that there is
        rd[0] %= 4;
        rd[1] = 0;
    }
    return rd;
}

inline Record record_of(Fields &fields, std::uint8_t missing)
{
    Record record{.rd = rd_of(fields), .key = fields.take(8), .non_key = fields.take(8)};
    const std::uint8_t form = fields.u8();
    record.plain = (form & 0x1) != 0;
    record.label_length = (form & 0x2) != 0 ? 4 : 0;
    record.label = std::uint32_t{fields.u16()} << 8;
    record.label |= fields.u8();
    record.label |= (form & 0x8) != 0 ? 0xff000000 : 0U;
    if ((form & 0x4) != 0) {
        record.rd_length = fields.u8() % 12;
        record.rd->resize(std::max<std::size_t>(8, record.rd_length));
    }
    if ((form & 0x10) != 0) { // a length as a route has it
        const Bytes length = little_word((*record.key)[4] % 33);
        std::copy(length.begin(), length.end(), record.key->begin() + 4);
    }
    record.cross = fields.take(fields.u8() % 12);
    record.list = fields.take(fields.u8() * ((form & 0x20) != 0 ? 3U : 1U));
    record.valid = (missing & 0x20) == 0;
    const std::array<std::pair<std::optional<Bytes> *, std::uint8_t>, 5> sections{
        {{&record.rd, 0x1}, {&record.key, 0x2}, {&record.non_key, 0x4}, {&record.list, 0x8}, {&record.cross, 0x10}}};
    for (const auto &[section, bit] : sections) {
        if ((missing & bit) != 0) {
            section->reset();
        }
    }
    return record;
}

// The record as a host holds it, every section exactly as long as it is.
class HeldRecord {
public:
    HeldRecord(const Record &record, bool odd) : record_(record)
    {
        const std::array<const std::optional<Bytes> *, 5> from{&record.rd, &record.key, &record.non_key, &record.list,
                                                               &record.cross};
        for (const std::optional<Bytes> *section : from) {
            if (*section) {
                sections_.emplace_back(std::in_place, **section, odd);
            } else {
                sections_.emplace_back();
            }
        }
        info_.uiValidMask = record.valid ? QEL_SECTION_NONKEY : 0;
        info_.pucRd = data(0);
        info_.uiRdLen = record.rd_length;
        info_.pucKey = data(1);
        info_.uiKeyLen = 8;
        info_.pucNonKey = data(2);
        info_.uiNonKeyLen = 8;
        info_.pucExtComm = data(3);
        info_.uiExtCommLen = sections_[3] ? sections_[3]->size() : 0;
        info_.pucCross = data(4);
        info_.uiCrossLen = sections_[4] ? sections_[4]->size() : 5; // a length without a value means nothing
        info_.uiLabelLen = record.label_length;
        info_.uiMplsLabel = record.label;
        info_.uiRdFlags = record.plain ? 0xffffffff : 0xfffffffe;
    }
    QEL_ROUTE_INFO_S &info() { return info_; }
    const QEL_ROUTE_INFO_S &info() const { return info_; }
    void check(bool label_shifted = false) const
    {
        const std::array<const std::optional<Bytes> *, 5> from{&record_.rd, &record_.key, &record_.non_key,
                                                               &record_.list, &record_.cross};
        for (std::size_t i = 0; i < from.size(); ++i) {
            require(!*from[i] || equal(sections_[i]->octets(), **from[i]), "the route is only read");
        }
        require(info_.uiMplsLabel == (label_shifted ? record_.label << 4 : record_.label), "the label, shifted or not");
    }

private:
    const std::uint8_t *data(std::size_t index) const { return sections_[index] ? sections_[index]->data() : nullptr; }

    const Record &record_;
    std::vector<std::optional<Section>> sections_;
    QEL_ROUTE_INFO_S info_{};
};

// ---- path attributes ----

constexpr std::array<std::uint32_t, 6> kAttributes{14, 15, 16, 256, 22, 14};

// One call on a heap copy of exactly the octets that are left.
inline WireVerdict check_wire(const Stage &stage, std::uint32_t type, Octets left)
{
    const ExactCopy copy(left);
    const WireModel model(stage.member, type, copy.octets());
    std::optional<WireVerdict> first; // with all the memory that it wants
    std::optional<WireVerdict> judged;
    expect_block(
        stage,
        [&](Memory &memory) {
            judged = model.judge(memory);
            if (!first) {
                first = judged;
            }
            return judged->verdict;
        },
        [&](QEL_ROUTE_BLOCK_S **block) {
            static const std::uint8_t nothing = 0;
            const std::uint8_t *const start = left.empty() ? &nothing : copy.octets().data();
            const std::uint8_t *cursor = start;
            std::uint32_t more = kUnwritten;
            const std::uint32_t code = stage.desc().pfParsePkt(&cursor, static_cast<std::uint32_t>(left.size()), 0,
                                                               type, block, &more, stage.ctx());
            require(cursor == start + judged->advance, "the cursor of the code");
            require(more == judged->more.value_or(kUnwritten), "the more-word of the code");
            return code;
        });
    require(equal(copy.octets(), left), "an attribute is only read");
    return *first;
}

inline void run_wire(Stage stage, Fields fields)
{
    set_stage(stage, fields);
    const std::uint32_t type = kAttributes[fields.u8() % kAttributes.size()];
    const Bytes wire = fields.rest();
    Octets left(wire);
    for (std::optional<std::uint32_t> more = 1; more.value_or(0) == 1;) {
        const WireVerdict step = check_wire(stage, type, left);
        require(step.advance <= left.size(), "the cursor stays inside the attribute");
        left = left.subspan(step.advance);
        more = step.more;
    }
}

// ---- messages ----

constexpr std::array<std::uint32_t, 24> kTypes{1,  2,  3,  4,  5,  6,  7,  8,  11, 15, 16, 18,
                                               19, 20, 21, 34, 53, 55, 56, 57, 59, 61, 70, 71};

inline std::uint32_t type_of(Fields &fields)
{
    const std::uint8_t octet = fields.u8();
    return octet < kTypes.size() * 8 ? kTypes[octet % kTypes.size()] : octet;
}

inline void check_message(const Stage &stage, Door door, std::uint32_t type, Octets octets, const Record &record,
                          bool odd)
{
    const HeldRecord held(record, odd);
    const Section value(octets, odd, QEL_MSG_READ_SLACK);
    const MessageModel model(stage.member, value.octets(), kBehind);
    const Form form = parse_form(stage.member, door, type);
    expect_block(
        stage, [&](Memory &memory) { return model.judge(form, record.list, memory); },
        [&](QEL_ROUTE_BLOCK_S **block) {
            const QEL_FAMILY_DESC_S &desc = stage.desc();
            if (door == Door::added) {
                return desc.pfParseAddAttrMsg(&held.info(), value.data(), value.size(), type, block, stage.ctx());
            }
            const std::array parsers{desc.pfParseMsg, desc.pfParseHaMsg, desc.pfParseAttrMsg, desc.pfParseCfg};
            return parsers[static_cast<std::size_t>(door)](value.data(), value.size(), type, block, stage.ctx());
        });
    require(equal(value.octets(), octets), "a message is only read");
    held.check();
}

inline void run_message(Stage stage, Fields fields)
{
    set_stage(stage, fields);
    const std::uint8_t door = fields.u8();
    const std::uint32_t type = type_of(fields);
    const Record record = record_of(fields, fields.u8());
    Bytes value = fields.rest();
    if ((door & 0x40) != 0 && record.list) { // their sum has more than 16 bits
        value.resize(65536 - record.list->size() + value.size());
    }
    check_message(stage, static_cast<Door>(door % 5), type, value, record, (door & 0x80) != 0);
}

// ---- writers ----

struct Room {
    explicit Room(std::size_t size) : before(size, kFill), out(before) {}

    void check(Octets written) const
    {
        require(equal(out.octets().first(written.size()), written), "the octets that the route calls for");
        require(equal(out.octets().subspan(written.size()), Octets(before).subspan(written.size())),
                "nothing is written behind them");
    }

    Bytes before;
    Section out;
};

// `door`: 0 the path attributes, 1 to 3 the messages, 4 the configuration.
inline std::size_t check_write(const Stage &stage, const Record &record, std::uint8_t door, std::uint32_t type,
                               std::size_t room_size, bool odd, std::uint32_t from)
{
    const bool pkt = door == 0;
    const bool config = door == 4;
    const Writer writer =
        pkt ? pkt_writer(stage.member, type) : message_writer(stage.member, static_cast<Door>(door - 1), type);
    const WriteModel model(stage.member, record, room_size, kFill);
    std::size_t needed = 0;
    twice(
        stage, [&](Memory &memory) { return model.judge(writer, from, memory); },
        [&](const Written &expected, const Effect &effect) {
            HeldRecord held(record, odd);
            Room room(room_size);
            std::uint8_t *cursor = room.out.data();
            const auto size = static_cast<std::uint32_t>(room_size);
            std::uint32_t index = from;
            std::uint32_t more = kUnwritten;
            const QEL_FAMILY_DESC_S &desc = stage.desc();
            std::uint32_t code = 0;
            if (pkt) {
                code = desc.pfFormatPkt(&held.info(), type, &cursor, size, stage.ctx());
            } else if (config) {
                code = desc.pfFormatCfg(&held.info(), type, &cursor, size, &index, &more);
            } else {
                const std::array formatters{desc.pfFormatMsg, desc.pfFormatHaMsg, desc.pfFormatAttrMsg};
                code = formatters[door - 1U](&held.info(), type, &cursor, size, stage.ctx());
            }
            require(code == expected.code, "the code that route and room call for");
            require(effect.asserts() == expected.asserts, "a report of what failed alone");
            require(effect.blocks() == 0 && effect.bytes() == 0, "nothing stays allocated");
            const std::size_t advance = code == QEL_OK ? expected.advance.value_or(expected.octets.size()) : 0;
            require(cursor == room.out.data() + advance, "the cursor behind what is written");
            room.check(expected.octets);
            const auto step = expected.ended ? std::pair{0U, 0U} : expected.step.value_or(std::pair{from, kUnwritten});
            require(index == step.first && more == step.second, "index and more-word");
            held.check(expected.label_shifted);
            check_inline(stage);
            needed = std::max(needed, std::max(advance, expected.octets.size()));
        });
    return needed;
}

inline void run_write(Stage stage, Fields fields)
{
    set_stage(stage, fields);
    const std::uint8_t door = fields.u8();
    const std::uint8_t index = fields.u8();
    const std::size_t room = fields.u8();
    const std::uint32_t type = (door & 0x7f) % 5 == 0 ? kAttributes[fields.u8() % kAttributes.size()] : type_of(fields);
    const Record record = record_of(fields, fields.u8());
    const std::uint8_t which = (door & 0x7f) % 5;
    const bool odd = (door & 0x80) != 0;
    check_write(stage, record, which, type, room, odd, index % 8);
    const std::size_t needed = check_write(stage, record, which, type, 4096, odd, index % 8);
    const std::size_t all = needed <= 100 ? 0 : needed - 2;
    for (std::size_t size = all; size <= needed; ++size) {
        check_write(stage, record, which, type, size, odd, index % 8);
    }
}

// ---- texts ----

inline void check_text(const Stage &stage, const Record &record, std::uint32_t type, std::size_t room_size,
                       std::uint32_t from)
{
    twice(
        stage, [&](Memory &memory) { return shown(stage.member, record, type, room_size, from, memory); },
        [&](const Written &expected, const Effect &effect) {
            const HeldRecord held(record, true);
            const Room room(room_size);
            Section out(room.before);
            std::uint32_t index = from;
            std::uint32_t more = kUnwritten;
            const std::uint32_t code =
                stage.desc().pfData2Str(&held.info(), type, static_cast<char *>(static_cast<void *>(out.data())),
                                        out.size(), &index, &more, stage.ctx());
            require(code == expected.code && effect.asserts() == expected.asserts, "the code of the text");
            require(equal(out.octets().first(expected.octets.size()), expected.octets), "the text");
            require(equal(out.octets().subspan(expected.octets.size()),
                          Octets(room.before).subspan(expected.octets.size())),
                    "nothing behind the text");
            const auto step =
                expected.step.value_or(expected.code == QEL_OK ? std::pair{0U, 0U} : std::pair{from, kUnwritten});
            require(index == step.first && more == step.second, "index and more-word of a text");
            require(effect.blocks() == 0, "a text leaves nothing allocated");
            held.check();
            check_inline(stage);
        });
}

inline void run_text(Stage stage, Fields fields)
{
    static constexpr std::array<std::uint32_t, 4> types{1, 2, 8, 4};
    set_stage(stage, fields);
    const std::uint32_t type = types[fields.u8() % types.size()];
    const std::uint8_t index = fields.u8();
    const std::size_t room = fields.u8();
    const Record record = record_of(fields, fields.u8());
    check_text(stage, record, type, room, index);
    for (std::uint32_t i = 0; i <= record.elements() && i < 8; ++i) {
        check_text(stage, record, type, 256, i);
    }
    for (std::size_t size = 0; size < 80; ++size) {
        check_text(stage, record, type, size, 0);
    }
}

// ---- import ----

inline CrossVerdict check_cross(const Stage &stage, const Record &record, bool odd, std::uint32_t from)
{
    CrossVerdict last;
    twice(
        stage, [&](Memory &memory) { return cross_step(stage.member, record, from, memory); },
        [&](const CrossVerdict &expected, const Effect &effect) {
            const HeldRecord held(record, odd);
            std::uint8_t untouched = 0;
            std::uint8_t *cross = &untouched;
            std::uint32_t length = kUnwritten;
            std::uint32_t cursor = from;
            std::uint32_t more = kUnwritten;
            const std::uint32_t code =
                stage.desc().pfGetCross(&held.info(), &cross, &length, &cursor, &more, stage.ctx());
            const Value owner(cross != &untouched ? cross : nullptr);
            require(code == expected.code && effect.asserts() == expected.asserts, "the code of the walk");
            require((cross != nullptr) == expected.value.has_value() && cross != &untouched, "a value or null");
            require(length == expected.length.value_or(kUnwritten) && more == expected.more.value_or(kUnwritten),
                    "length and more-word of the walk");
            require(cursor == expected.cursor, "the cursor of the walk");
            const std::int64_t blocks = expected.value ? 1 : 0;
            const auto bytes = static_cast<std::int64_t>(expected.value ? expected.value->size() : 0);
            require(effect.blocks() == blocks && effect.bytes() == bytes, "a block of the value's size");
            require(!expected.value || equal({cross, expected.value->size()}, *expected.value), "the value itself");
            held.check();
            if (expected.code != QEL_ERR_MEMORY) {
                last = expected;
            }
        });
    return last;
}

inline void run_cross(Stage stage, Fields fields)
{
    set_stage(stage, fields);
    const std::uint8_t start = fields.u8();
    const std::uint8_t how = fields.u8();
    const Record record = record_of(fields, how);
    std::uint32_t cursor = 0;
    for (std::size_t calls = 0;; ++calls) {
        require(calls <= record.elements() + 1, "no more calls than elements and an end");
        const CrossVerdict step = check_cross(stage, record, (how & 0x40) != 0, cursor);
        cursor = step.cursor;
        if (step.more.value_or(0) == 0) {
            break;
        }
    }
    // Anywhere else the cursor is an index like any other.
    check_cross(stage, record, false, start == 255 ? std::numeric_limits<std::uint32_t>::max() : start);
    const bool has_list = record.list.has_value();
    twice(
        stage,
        [&](Memory &memory) {
            return !has_list ? BufferVerdict{.stored = true}
                   : memory.heap()
                       ? BufferVerdict{.asserts = record.list->empty() ? 1U : 0U, .stored = true, .buffer = record.list}
                       : BufferVerdict{.code = QEL_ERR_MEMORY, .asserts = 1};
        },
        [&](const BufferVerdict &expected, const Effect &effect) {
            const HeldRecord held(record, (how & 0x40) != 0);
            std::uint8_t untouched = 0;
            std::uint8_t *list = &untouched;
            std::uint32_t count = kUnwritten;
            const std::uint32_t code = stage.desc().pfGetExtCommunity(&held.info(), &list, &count, stage.ctx());
            const Value owner(list != &untouched ? list : nullptr);
            require(code == expected.code && effect.asserts() == expected.asserts, "the code of a list's copy");
            require((list == &untouched) == !expected.stored, "a list or nothing");
            require(count == (expected.stored ? record.elements() : kUnwritten), "the elements of the copy");
            require(!expected.buffer || equal({list, expected.buffer->size()}, *expected.buffer), "the list itself");
            require(effect.blocks() == (expected.buffer ? 1 : 0), "the copy alone stays");
        });
}

// ---- policy ----

inline std::uint32_t mask_of(std::uint8_t octet)
{
    static constexpr std::array<std::uint32_t, 8> bits{0x800, 0x4, 0x80000, 0x10, 0x1, 0x100000, 0x80000000, 0x8};
    std::uint32_t mask = 0;
    for (std::size_t i = 0; i < bits.size(); ++i) {
        mask |= (octet >> i & 1) != 0 ? bits[i] : 0;
    }
    return mask;
}

inline void check_match(const Stage &stage, const Record &record, std::uint32_t mask, bool odd)
{
    twice(
        stage, [&](Memory &memory) { return match_buffer(stage.member, record, mask, memory); },
        [&](const BufferVerdict &expected, const Effect &effect) {
            const HeldRecord held(record, odd);
            std::uint8_t untouched = 0;
            std::uint8_t *match = &untouched;
            std::uint32_t length = kUnwritten;
            const std::uint32_t code = stage.desc().pfConstructMatch(&held.info(), mask, &match, &length, stage.ctx());
            const Value owner(match != &untouched ? match : nullptr);
            require(code == expected.code, "the code that route and mask call for");
            require(effect.asserts() == expected.asserts, "a report of what failed alone");
            require((match == &untouched) == !expected.stored, "an output or none");
            const Bytes buffer = expected.buffer.value_or(Bytes{});
            require(length == (expected.stored ? buffer.size() : kUnwritten), "the length of the match");
            require(effect.bytes() == static_cast<std::int64_t>(buffer.size()), "no room beyond the length");
            require(buffer.empty() || (match != nullptr && equal({match, buffer.size()}, buffer)),
                    "the TLVs of the mask");
            held.check();
        });
}

inline void check_entry(const Stage &stage, const Record &record, const Bytes &before)
{
    const HeldRecord held(record, true);
    Section entry(before);
    auto *place = static_cast<QEL_RTP_ENTRY_S *>(static_cast<void *>(entry.data()));
    const Effect effect;
    const std::uint32_t code = stage.desc().pfConstructRtpEntry(&held.info(), place);
    require(code == (record.key ? QEL_OK : QEL_ERR_NULL) && effect.asserts() == (record.key ? 0U : 1U),
            "an entry for any key");
    require(effect.allocations() == 0, "an entry needs no memory");
    require(equal(entry.octets(), record.key ? prefix_entry(stage.member, record, before) : before),
            "three fields and nothing else");
}

inline void run_match(Stage stage, Fields fields)
{
    set_stage(stage, fields);
    const std::uint32_t mask = mask_of(fields.u8());
    const std::uint8_t control = fields.u8();
    const std::uint8_t missing = fields.u8();
    Record record = record_of(fields, missing);
    check_entry(stage, record, fields.take(kEntrySize));
    if ((missing & 0x40) != 0 && record.list && fields.sum() % 32 == 0) { // a length that 16-bit words can't tell
        record.list->resize(record.list->size() + 65536);
    }
    check_match(stage, record, mask, (missing & 0x80) != 0);
    const HeldRecord held(record, (missing & 0x80) != 0);
    const std::uint32_t type = control % 16 == 15 ? 22 : 16;
    expect_block(
        stage,
        [&](Memory &memory) {
            return type == 16 ? set_list(stage.member, record, control, memory) : refused(QEL_ERR_NO_ENTRY);
        },
        [&](QEL_ROUTE_BLOCK_S **block) {
            return stage.desc().pfSetAttr(&held.info(), type, control, block, stage.ctx());
        });
    held.check();
}

// As many octets as asked for, of which the input tells the first; those behind them repeat these.
inline Bytes repeated(Fields &fields, std::size_t told, std::size_t size)
{
    const Bytes block = fields.take(told);
    Bytes out;
    while (out.size() < size && !block.empty()) {
        out.insert(out.end(), block.begin(),
                   block.begin() + static_cast<std::ptrdiff_t>(std::min(size - out.size(), block.size())));
    }
    out.resize(size);
    return out;
}

inline void run_action(Stage stage, Fields fields)
{
    static constexpr std::array<std::uint32_t, 12> codes{6, 7, 38, 87, 36, 37, 6, 87, 7, 87, 61, 5};
    set_stage(stage, fields);
    const std::uint32_t action = codes[fields.u8() % codes.size()];
    const std::uint8_t how = fields.u8();
    const bool huge = (how & 0xe0) == 0xe0 && fields.sum() % 32 == 0;
    const std::size_t extra = huge ? std::size_t{65536} * 8 : 0; // elements that 16 bits don't count
    const std::size_t list_size = fields.u8() * ((how & 0x1) != 0 ? 3U : 1U);
    const std::size_t value_size = fields.u8() * ((how & 0x2) != 0 ? 3U : 1U);
    Record record{.list = repeated(fields, list_size, list_size + ((how & 0x4) != 0 ? extra : 0))};
    if ((how & 0x8) != 0) {
        record.list.reset();
    }
    const Bytes octets = repeated(fields, value_size, value_size + ((how & 0x4) == 0 ? extra : 0));
    const bool odd = (how & 0x10) != 0;
    const HeldRecord held(record, odd);
    const Section value(octets, odd, QEL_MSG_READ_SLACK);
    const bool direct = (how & 0xe0) == 0x20 && one_of(action, {6, 7, 38, 87, 36, 37});
    const auto judge = [&](Memory &memory) {
        return ListActionModel(stage.member, record.list.value_or(Bytes{}), stage.lent, memory)
            .judge(action, value.octets());
    };
    expect_block(stage, judge, [&](QEL_ROUTE_BLOCK_S **block) {
        const auto apply = direct ? stage.direct.apply_list : stage.desc().pfApplyAction;
        return apply(&held.info(), action, value.data(), value.size(), block, stage.ctx());
    });
    require(equal(value.octets(), octets), "the value is only read");
    held.check();
    QEL_ROUTE_BLOCK_S *block = nullptr;
    const Effect effect;
    require(stage.desc().pfApplyAction(&held.info(), action, nullptr, 0, &block, stage.ctx()) == QEL_ERR_NULL &&
                effect.asserts() == 1 && effect.allocations() == 0,
            "no action without a value");
}

// ---- compares ----

inline void check_order(const Stage &stage, Octets a, Octets b, std::uint32_t section, bool odd)
{
    const Section left(a, odd);
    const Section right(b);
    const Effect effect;
    const Order expected = section_order(stage.member, section, a, b);
    require(stage.desc().pfCmpData(left.data(), left.size(), right.data(), right.size(), section) == expected.result,
            "the order that the two sections call for");
    require(effect.asserts() == expected.asserts && effect.allocations() == 0, "a report of a failed check alone");
}

// The order that lists are sorted by; one of the families wants whole elements.
inline void check_community_order(const Stage &stage, Octets a, Octets b)
{
    const bool refused = stage.member == Member::vpnv4 && (a.size() < 8 || b.size() < 8);
    const Section left(a, true);
    const Section right(b);
    const Effect effect;
    const std::int32_t order = stage.direct.order_communities(left.data(), left.size(), right.data(), right.size());
    require(order == (refused ? -2 : community_order(a, b)), "the order of two communities");
    require(effect.asserts() == (refused ? 1U : 0U), "a report of less than an element alone");
}

// The second section of a pair may be made of the first: some octets of it changed.
inline void run_compare(Stage stage, Fields fields)
{
    static constexpr std::array<std::uint32_t, 8> sections{1, 2, 4, 8, 16, 32, 64, 2};
    const std::uint32_t section = sections[fields.u8() % sections.size()];
    const std::uint8_t form = fields.u8();
    const std::size_t changes = fields.u8() % 4;
    const std::size_t size = (form & 0x1) != 0 ? fields.u8() % 20 : section == 32 || (form & 0x2) != 0 ? 4 : 8;
    const Bytes a = fields.take(size);
    Bytes b = a;
    if ((form & 0x4) != 0) {
        b = fields.take((form & 0x8) != 0 ? fields.u8() % 20 : size);
    }
    if ((form & 0x10) != 0 && b.size() == 8) { // any length
        std::fill_n(b.begin() + 4, 4, std::uint8_t{0xff});
    }
    for (std::size_t i = 0; i < changes && !b.empty(); ++i) {
        const std::size_t at = fields.u8() % b.size();
        b[at] = fields.u8();
    }
    const bool odd = (form & 0x80) != 0;
    check_order(stage, a, b, section, odd);
    check_order(stage, b, a, section, odd);
    check_order(stage, a, a, section, false);
    check_community_order(stage, a, b);
    check_community_order(stage, b, a);
    const std::uint8_t octet = 0;
    const Effect effect;
    require(stage.desc().pfCmpData(&octet, 8, nullptr, 8, section) == -2 &&
                stage.desc().pfCmpData(nullptr, 8, &octet, 8, section) == -2 && effect.asserts() == 2,
            "no order without a section");
}

// One input: an octet for the door and what the door wants. Behind the shared doors stand those of the family itself.
template <std::size_t kOwn>
void run_doors(const Stage &stage, const std::array<void (*)(Stage, Fields), kOwn> &own, Octets input)
{
    static constexpr std::array shared{run_wire,  run_message, run_write,  run_text,
                                       run_cross, run_match,   run_action, run_compare};
    if (input.empty()) {
        return;
    }
    const std::size_t door = input[0] % (shared.size() + kOwn);
    const Effect effect;
    (door < shared.size() ? shared[door] : own[door - shared.size()])(stage, Fields(input.subspan(1)));
    require(effect.blocks() == 0 && effect.bytes() == 0, "nothing stays allocated");
    stage.ctx()->uiInlineBufUsed = 0;
}

} // namespace qel::fuzz
