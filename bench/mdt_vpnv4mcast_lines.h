// The lines of the two families that are one in shape: a route and its communities on the wire, in messages and in
// configuration, the walk over cross values, policy, the compares, the texts. A floor is what the contract itself asks
// for: buffers allocated, cleared, filled and given back, octets copied, a text formed in one call.
#pragma once

#include "bench/samples.h"
#include "bench/table.h"

#include "host/family.h"
#include "host/route.h"
#include "platform/bounds.h"
#include "qel_byteorder.h"

#include <array>
#include <cstdio>
#include <cstring>
#include <initializer_list>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace qel::bench {

using Octets = std::span<const std::uint8_t>;

constexpr std::size_t kElement = 8;
constexpr std::size_t kText = 256;
constexpr std::uint32_t kPrefixMessage = 1; // types of the messages between two instances of a router
constexpr std::uint32_t kTargetMessage = 6;
constexpr std::uint32_t kListMessage = 11;

// A block allocated, cleared and filled.
inline host::BlockPtr filled_block(std::initializer_list<Octets> sections)
{
    std::size_t size = sizeof(QEL_ROUTE_BLOCK_S);
    for (const Octets section : sections) {
        size += section.size();
    }
    Buffer block = allocate(size);
    memset_s(block.get(), size, 0, size);
    std::size_t at = sizeof(QEL_ROUTE_BLOCK_S);
    for (const Octets section : sections) {
        if (!section.empty()) {
            memcpy_s(block.get() + at, size - at, section.data(), section.size());
            at += section.size();
        }
    }
    void *mem = block.release();
    return host::BlockPtr(static_cast<QEL_ROUTE_BLOCK_S *>(mem));
}

inline std::uint32_t length_of(const auto &octets)
{
    return static_cast<std::uint32_t>(octets.size());
}

// One family and one route of it, with communities and a cross value, as a host holds them.
class Subject {
public:
    Subject(const host::FamilyInfo &info, std::uint32_t type, Bytes wire, std::size_t targets, std::size_t others)
        : family_(info, kMemHandle), type_(type), wire_(std::move(wire)), list_wire_(communities(targets, others)),
          route_(parse(type_, wire_))
    {
        const auto *start = reinterpret_cast<const std::uint8_t *>(route_.get());
        info_.uiValidMask = route_->uiValidMask;
        info_.pucRd = start + route_->usRdOffset;
        info_.uiRdLen = route_->usRdLen;
        info_.pucKey = start + route_->usKeyOffset;
        info_.uiKeyLen = route_->usKeyLen;
        info_.pucNonKey = route_->usNonKeyLen != 0 ? start + route_->usNonKeyOffset : nullptr;
        info_.uiNonKeyLen = route_->usNonKeyLen;
        info_.uiLabelLen = route_->usLabelLen;
        label_ = route_->usLabelLen != 0 ? QEL_Load32(start + route_->usLabelOffset) : 0;
        info_.uiMplsLabel = label_;
        if (!list_wire_.empty()) {
            list_ = parse(QEL_ATTR_TYPE_EXTCOMM, list_wire_);
            info_.pucExtComm = reinterpret_cast<const std::uint8_t *>(list_.get()) + list_->usAttrOffset;
            info_.uiExtCommLen = list_->usAttrLen;
            info_.pucCross = info_.pucExtComm;
            info_.uiCrossLen = kElement;
        }
    }

    const host::Family &family() const { return family_; }
    const QEL_FAMILY_DESC_S &desc() const { return family_.desc(); }
    QEL_FAMILY_CTX_S *ctx() const { return family_.ctx(); }
    const QEL_ROUTE_INFO_S &info() const { return info_; }
    const Bytes &wire() const { return wire_; }
    const Bytes &list_wire() const { return list_wire_; }
    Octets rd() const { return {info_.pucRd, info_.uiRdLen}; }
    Octets key() const { return {info_.pucKey, info_.uiKeyLen}; }
    Octets non_key() const { return {info_.pucNonKey, info_.uiNonKeyLen}; }
    Octets label() const { return {reinterpret_cast<const std::uint8_t *>(&label_), info_.uiLabelLen}; }
    Octets list() const { return {info_.pucExtComm, info_.uiExtCommLen}; }
    std::uint8_t *out() { return out_.data(); }
    std::size_t room() const { return out_.size(); }

    host::BlockPtr parse(std::uint32_t type, const Bytes &wire) const
    {
        const std::uint8_t *cursor = wire.data();
        QEL_ROUTE_BLOCK_S *block = nullptr;
        std::uint32_t more = 0;
        if (desc().pfParsePkt(&cursor, length_of(wire), 0, type, &block, &more, ctx()) != QEL_OK || block == nullptr)
            [[unlikely]] {
            fail("an attribute is not taken");
        }
        return host::BlockPtr(block);
    }
    host::BlockPtr parse_route() const { return parse(type_, wire_); }

    std::size_t format(std::uint32_t type)
    {
        info_.uiMplsLabel = label_; // one of the families writes to it
        std::uint8_t *cursor = out();
        if (desc().pfFormatPkt(&info_, type, &cursor, length_of(out_), ctx()) != QEL_OK) [[unlikely]] {
            fail("an attribute is not written");
        }
        return static_cast<std::size_t>(cursor - out());
    }
    std::size_t format_route() { return format(type_); }

private:
    host::Family family_;
    std::uint32_t type_;
    Bytes wire_;
    Bytes list_wire_;
    host::BlockPtr route_;
    host::BlockPtr list_;
    std::uint32_t label_ = 0;
    QEL_ROUTE_INFO_S info_{};
    std::array<std::uint8_t, 1024> out_{};
};

using SubjectPtr = std::shared_ptr<Subject>;

// The works take the subject, and stand in the loop as they are.
template <class Whole, class Floor>
Line line(std::string operation, std::string form, const SubjectPtr &subject, Whole whole, Floor floor)
{
    return {std::move(operation), std::move(form),
            [subject, whole](benchmark::State &state) { measure(state, [&] { return whole(*subject); }); },
            [subject, floor](benchmark::State &state) { measure(state, [&] { return floor(*subject); }); }};
}

inline std::size_t copied(Subject &subject, const Bytes &from)
{
    memcpy_s(subject.out(), subject.room(), from.data(), from.size());
    return from.size();
}

// ---- a route and its list ----

inline void add_route_lines(std::vector<Line> &all, const std::string &form, const SubjectPtr &subject)
{
    if (subject->format_route() != subject->wire().size() ||
        std::memcmp(subject->out(), subject->wire().data(), subject->wire().size()) != 0) {
        fail(form);
    }
    all.push_back(line(
        "parse", form, subject, [](const Subject &s) { return s.parse_route(); },
        [](const Subject &s) {
            return filled_block({s.rd(), s.key(), s.non_key(), s.label()});
        }));
    all.push_back(line(
        "format", form, subject, [](Subject &s) { return s.format_route(); },
        [](Subject &s) { return copied(s, s.wire()); }));
}

inline void add_list_lines(std::vector<Line> &all, const SubjectPtr &subject)
{
    const std::size_t count = subject->list_wire().size() / kElement;
    const std::string form = std::to_string(count) + (count == 1 ? " community" : " communities");
    all.push_back(line(
        "parse", form, subject, [](const Subject &s) { return s.parse(QEL_ATTR_TYPE_EXTCOMM, s.list_wire()); },
        [](const Subject &s) {
            const std::size_t size = s.list_wire().size();
            const Buffer work = allocate(size);
            memset_s(work.get(), size, 0, size);
            memcpy_s(work.get(), size, s.list_wire().data(), size);
            return filled_block({{work.get(), size}});
        }));
    all.push_back(line(
        "format", form, subject, [](Subject &s) { return s.format(QEL_ATTR_TYPE_EXTCOMM); },
        [](Subject &s) {
            const std::size_t size = s.list().size();
            const Buffer copy = allocate(size);
            memcpy_s(copy.get(), size, s.list().data(), size);
            memcpy_s(s.out(), s.room(), copy.get(), size);
            return size;
        }));
}

// ---- messages and configuration ----

using ParseMessage = decltype(QEL_FAMILY_DESC_S::pfParseHaMsg);
using FormatMessage = decltype(QEL_FAMILY_DESC_S::pfFormatHaMsg);

struct MessageForm {
    std::string name;
    std::uint32_t type;
    ParseMessage parse;
    FormatMessage format; // null: written through another door, or not at all
    std::array<Octets, 3> sections;
    bool through_scratch = false; // a list passes a buffer of its own on its way, without cost of an allocation
};

inline void add_message_lines(std::vector<Line> &all, const MessageForm &form, const Bytes &value,
                              const SubjectPtr &subject)
{
    Bytes readable = value;
    readable.resize(value.size() + QEL_MSG_READ_SLACK);
    const std::uint32_t length = length_of(value);
    const auto parse = [readable, length, form](const Subject &s) {
        QEL_ROUTE_BLOCK_S *block = nullptr;
        if (form.parse(readable.data(), length, form.type, &block, s.ctx()) != QEL_OK) [[unlikely]] {
            fail(form.name);
        }
        return host::BlockPtr(block);
    };
    all.push_back(line("parse", form.name, subject, parse, [form, value](Subject &s) {
        if (form.through_scratch) {
            memcpy_s(s.out(), s.room(), value.data(), value.size());
        }
        return filled_block({form.sections[0], form.sections[1], form.sections[2]});
    }));
    if (form.format == nullptr) {
        return;
    }
    const auto format = [form](Subject &s) {
        std::uint8_t *cursor = s.out();
        if (form.format(&s.info(), form.type, &cursor, static_cast<std::uint32_t>(s.room()), s.ctx()) != QEL_OK)
            [[unlikely]] {
            fail(form.name);
        }
        return static_cast<std::size_t>(cursor - s.out());
    };
    if (format(*subject) != value.size() || std::memcmp(subject->out(), value.data(), value.size()) != 0) {
        fail(form.name);
    }
    all.push_back(line("format", form.name, subject, format, [form, value](Subject &s) {
        if (form.through_scratch) {
            memcpy_s(s.out() + s.room() / 2, s.room() / 2, value.data(), value.size());
        }
        return copied(s, value);
    }));
}

// `prefix`: the 16 octets that a route is in messages.
inline void add_shared_messages(std::vector<Line> &all, const Bytes &prefix, const SubjectPtr &subject)
{
    const QEL_FAMILY_DESC_S &desc = subject->desc();
    const Octets target = subject->list().first(kElement);
    add_message_lines(all,
                      {"prefix message",
                       kPrefixMessage,
                       desc.pfParseHaMsg,
                       desc.pfFormatHaMsg,
                       {subject->rd(), subject->key(), subject->non_key()}},
                      prefix, subject);
    add_message_lines(all, {"target message", kTargetMessage, desc.pfParseHaMsg, desc.pfFormatHaMsg, {target}},
                      communities(1, 0), subject);
    add_message_lines(all,
                      {"list message, " + std::to_string(subject->list().size() / kElement),
                       kListMessage,
                       desc.pfParseAttrMsg,
                       desc.pfFormatAttrMsg,
                       {subject->list()},
                       true},
                      subject->list_wire(), subject);
    add_message_lines(all, {"configured rd", 1, desc.pfParseCfg, nullptr, {subject->rd()}}, Bytes(16), subject);
    add_message_lines(all, {"configured prefix", 2, desc.pfParseCfg, nullptr, {subject->key()}}, Bytes(89), subject);
    for (const auto &[name, type, size] :
         {std::tuple{"configured rd", 1U, std::size_t{16}}, std::tuple{"configured prefix", 2U, std::size_t{16}}}) {
        all.push_back(line(
            "format", name, subject,
            [type = type](Subject &s) {
                std::uint8_t *cursor = s.out();
                std::uint32_t index = 0;
                std::uint32_t more = 0;
                return s.desc().pfFormatCfg(&s.info(), type, &cursor, static_cast<std::uint32_t>(s.room()), &index,
                                            &more);
            },
            [size = size](Subject &s) {
                memcpy_s(s.out(), s.room(), s.list_wire().data(), size);
                return 0U;
            }));
    }
}

// ---- import and policy ----

// All values of the route, each freed at once.
inline void add_walk_line(std::vector<Line> &all, const std::string &form, const SubjectPtr &subject,
                          std::size_t values, std::size_t size)
{
    const auto walk = [form](const Subject &s) {
        std::size_t count = 0;
        std::uint32_t cursor = 0;
        for (std::uint32_t more = 1; more == 1;) {
            std::uint8_t *cross = nullptr;
            std::uint32_t length = 0;
            if (s.desc().pfGetCross(&s.info(), &cross, &length, &cursor, &more, s.ctx()) != QEL_OK) [[unlikely]] {
                fail(form);
            }
            const Buffer value(cross);
            count += length != 0 ? 1 : 0;
        }
        return count;
    };
    if (walk(*subject) != values) {
        fail(form);
    }
    all.push_back(line("walk", form, subject, walk, [values, size](const Subject &s) {
        for (std::size_t i = 0; i < values; ++i) {
            const Buffer copy = allocate(size);
            memcpy_s(copy.get(), size, s.key().data(), size);
            benchmark::ClobberMemory();
        }
        return values;
    }));
}

inline void add_match_line(std::vector<Line> &all, const std::string &form, const SubjectPtr &subject,
                           std::uint32_t mask, std::size_t length)
{
    const auto match = [mask](const Subject &s) {
        std::uint8_t *buffer = nullptr;
        std::uint32_t size = 0;
        if (s.desc().pfConstructMatch(&s.info(), mask, &buffer, &size, s.ctx()) != QEL_OK) [[unlikely]] {
            fail("no match buffer");
        }
        return std::pair{Buffer(buffer), size};
    };
    if (match(*subject).second != length) {
        fail(form);
    }
    const std::size_t list = (mask & 0x4) != 0 ? subject->list().size() : 0;
    all.push_back(line(
        "match", form, subject, [match](const Subject &s) { return match(s).second; },
        [length, list](Subject &s) {
            const Buffer buffer = allocate(length);
            if (list != 0) {
                const Buffer copy = allocate(list);
                memcpy_s(copy.get(), list, s.list().data(), list);
                memcpy_s(buffer.get(), length, copy.get(), list);
            }
            memcpy_s(buffer.get() + list, length - list, s.out(), length - list);
            benchmark::ClobberMemory();
            return static_cast<std::uint32_t>(length);
        }));
}

struct ActionForm {
    std::string_view name;
    std::uint32_t code;
    std::size_t targets; // of the route
    std::size_t others;
    std::size_t value;
    std::size_t left; // elements of the result
};

constexpr std::array kActions{
    ActionForm{"replace 1 by 1", 6, 1, 0, 1, 1},  ActionForm{"replace 4 of 8 by 4", 6, 4, 4, 4, 8},
    ActionForm{"add 1 to none", 7, 0, 0, 1, 1},   ActionForm{"add 4 to 8", 7, 4, 4, 4, 12},
    ActionForm{"delete 1 of 1", 87, 1, 0, 1, 0},  ActionForm{"delete 4 of 8", 87, 4, 4, 1, 4},
    ActionForm{"accepted alone", 36, 4, 4, 1, 0},
};

// The action's list copied into scratch, the route's list filtered into a cleared buffer, both into a cleared result,
// that into a cleared block. Sorting is not in it. The first scratch costs no allocation.
inline void add_action_line(std::vector<Line> &all, const ActionForm &form, const SubjectPtr &subject)
{
    Bytes value = communities(form.value, 0, 1000);
    const std::uint32_t length = length_of(value);
    value.resize(value.size() + QEL_MSG_READ_SLACK);
    const auto apply = [value, length, form](const Subject &s) {
        QEL_ROUTE_BLOCK_S *block = nullptr;
        if (s.desc().pfApplyAction(&s.info(), form.code, value.data(), length, &block, s.ctx()) != QEL_OK)
            [[unlikely]] {
            fail(form.name);
        }
        s.ctx()->uiInlineBufUsed = 0; // a delete of one of the families keeps it
        return host::BlockPtr(block);
    };
    const host::BlockPtr block = apply(*subject);
    if ((block != nullptr ? block->usAttrLen : 0) != form.left * kElement) {
        fail(form.name);
    }
    const auto floor = [value, length, form](Subject &s) {
        const std::size_t result = form.left * kElement;
        memcpy_s(s.out(), s.room(), value.data(), length);
        if (form.code == 36) {
            return host::BlockPtr();
        }
        const Octets list = s.list();
        const bool filtered = form.code != 7 && !list.empty();
        const Buffer temp = filtered && form.code == 6 ? allocate(list.size()) : nullptr;
        std::uint8_t *const staying = temp ? temp.get() : s.out() + kText;
        if (filtered) {
            memset_s(staying, list.size(), 0, list.size());
            memcpy_s(staying, list.size(), list.data(), form.others * kElement);
        }
        const Buffer made = result != 0 ? allocate(result) : nullptr;
        if (made != nullptr) {
            memset_s(made.get(), result, 0, result);
            memcpy_s(made.get(), result, s.out(), result);
        }
        return filled_block({{made.get(), result}});
    };
    all.push_back(line("action", std::string(form.name), subject, apply, floor));
}

// ---- compares and texts ----

// Of two equal sections, where no difference ends it early.
inline void add_compare_line(std::vector<Line> &all, const std::string &form, const SubjectPtr &subject,
                             std::uint32_t section, Octets octets)
{
    const Bytes twin(octets.begin(), octets.end());
    const auto compare = [twin, octets, section](const Subject &s) {
        return s.desc().pfCmpData(octets.data(), length_of(octets), twin.data(), length_of(twin), section);
    };
    if (compare(*subject) != QEL_CMP_EQUAL) {
        fail(form);
    }
    all.push_back(line("compare", form, subject, compare, [twin, octets](const Subject &) {
        return std::memcmp(octets.data(), twin.data(), twin.size());
    }));
}

// `write`: the same text in one call. `work`: whether it is formed in a cleared buffer.
template <class Write>
void add_text_line(std::vector<Line> &all, const std::string &form, const SubjectPtr &subject, std::uint32_t type,
                   bool work, Write write)
{
    const auto shown = [type](Subject &s) {
        std::uint32_t index = 0;
        std::uint32_t more = 0;
        char *text = reinterpret_cast<char *>(s.out());
        if (s.desc().pfData2Str(&s.info(), type, text, kText, &index, &more, s.ctx()) != QEL_OK) [[unlikely]] {
            fail("no text");
        }
        return text;
    };
    const auto floor = [write, work](Subject &s) {
        char *text = reinterpret_cast<char *>(s.out());
        if (!work) {
            write(text, kText);
            return text;
        }
        std::array<char, kText> buffer;
        memset_s(buffer.data(), buffer.size(), 0, buffer.size());
        const int length = write(buffer.data(), buffer.size());
        memcpy_s(text, kText, buffer.data(), static_cast<std::size_t>(length) + 1);
        return text;
    };
    const std::string expected = floor(*subject);
    if (shown(*subject) != expected) {
        fail(form + ": " + shown(*subject));
    }
    all.push_back(line("text", form, subject, shown, floor));
}

inline void add_community_text(std::vector<Line> &all, const SubjectPtr &subject)
{
    add_text_line(all, "community", subject, 2, true,
                  [](char *out, std::size_t size) { return std::snprintf(out, size, "RT <%u : %u>", 100U, 1U); });
}

} // namespace qel::bench
