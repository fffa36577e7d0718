// What the MDT and the VPNv4 multicast family make of octets and of routes, said a second time and without the
// library's records, for the library to be held against. The two have one shape; where they part, the model asks which
// of them it speaks for.
#pragma once

#include "check.h"
#include "policy_model.h"

#include "qel_codes.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace qel::fuzz {

enum class Member : std::uint8_t { mdt, vpnv4 };

// ---- numbers ----

inline std::uint32_t big(Octets from)
{
    std::uint32_t value = 0;
    for (const std::uint8_t octet : from) {
        value = value << 8 | octet;
    }
    return value;
}

inline Bytes reversed(Octets from)
{
    return Bytes(from.rbegin(), from.rend());
}

inline std::uint32_t little(Octets from)
{
    return big(reversed(from));
}

inline void put(Bytes &to, Octets from)
{
    to.insert(to.end(), from.begin(), from.end());
}

inline void put_big(Bytes &to, std::uint32_t value, std::size_t octets)
{
    for (std::size_t i = octets; i > 0; --i) {
        to.push_back(static_cast<std::uint8_t>(value >> 8 * (i - 1)));
    }
}

inline Bytes little_word(std::uint32_t value)
{
    Bytes out;
    put_big(out, value, 4);
    return reversed(out);
}

// ---- a route's sections and the block that carries them ----

struct Sections {
    std::optional<Bytes> rd{};
    std::optional<Bytes> key{};
    std::optional<Bytes> non_key{};
    std::optional<Bytes> label{};
    std::optional<Bytes> attribute{};
    std::optional<Bytes> cross{};
};

// The whole block. Its header is a mask, flag, type and a word of zero, then offset and length of each section.
inline Bytes block_image(const Sections &sections)
{
    struct Place {
        const std::optional<Bytes> &section;
        std::uint32_t bit;
        std::size_t at;
    };
    const std::array places{Place{sections.rd, 0x1, 8},         Place{sections.key, 0x2, 12},
                            Place{sections.non_key, 0x4, 16},   Place{sections.label, 0x20, 20},
                            Place{sections.attribute, 0x8, 24}, Place{sections.cross, 0x10, 28}};
    Bytes image(32);
    for (const Place &place : places) {
        if (!place.section) {
            continue;
        }
        image[0] = static_cast<std::uint8_t>(image[0] | place.bit);
        const std::array words{image.size(), place.section->size()};
        for (std::size_t i = 0; i < words.size(); ++i) {
            image[place.at + 2 * i] = static_cast<std::uint8_t>(words[i]);
            image[place.at + 2 * i + 1] = static_cast<std::uint8_t>(words[i] >> 8);
        }
        image.insert(image.end(), place.section->begin(), place.section->end());
    }
    image[5] = sections.attribute ? 16 : 0;
    return image;
}

struct Verdict {
    std::uint32_t code = QEL_OK;
    Outcome outcome = Outcome::untouched;
    std::uint64_t asserts = 0;
    Sections sections{};
    // What a delete never gives back: octets of the heap, or the inline buffer.
    std::optional<std::size_t> kept{};
    bool inline_kept = false;
};

inline Verdict refused(std::uint32_t code, std::uint64_t asserts = 0)
{
    return {.code = code, .asserts = asserts};
}

inline Verdict blocked(Member member, Memory &memory, Sections sections, std::uint64_t asserts = 0)
{
    if (block_image(sections).size() == 32) {
        return refused(member == Member::mdt ? QEL_ERR_NULL : QEL_ERR_ARGUMENT, asserts);
    }
    if (!memory.heap()) {
        return refused(QEL_ERR_ALLOC, asserts + 1);
    }
    return {.outcome = Outcome::list, .asserts = asserts, .sections = std::move(sections)};
}

// ---- RD and targets ----

inline bool known_rd(std::uint32_t type)
{
    return type <= 2;
}

inline Bytes rd_turned(Octets rd, std::uint32_t type)
{
    if (type == 0) {
        return turned(rd, {2, 2, 4});
    }
    return known_rd(type) ? turned(rd, {2, 4, 2}) : turned(rd, {2});
}

inline bool known_target(Member member, std::uint32_t type)
{
    return one_of(type, {0x0002, 0x0102, 0x0202}) || (member == Member::mdt && one_of(type, {0x010A, 0x010B}));
}

inline Bytes known_target_turned(Member member, Octets element, std::uint32_t type)
{
    if (!known_target(member, type)) {
        return turned(element, {2});
    }
    return type == 0x0002 ? turned(element, {2, 2, 4}) : turned(element, {2, 4, 2});
}

inline bool is_target(Octets host_element)
{
    return host_element[0] == 2;
}

// ---- lists of communities ----

// The place of a host element in the order: sub-type, type, and the two numbers of the value.
inline std::array<std::uint64_t, 4> community_place(Octets element)
{
    const std::size_t first = element[1] == 1 || element[1] == 2 ? 4 : 2;
    return {element[0], element[1], little(element.subspan(2, first)), little(element.subspan(2 + first, 6 - first))};
}

inline Bytes sorted_list(Octets list)
{
    std::vector<Bytes> elements;
    for (std::size_t at = 0; at + 8 <= list.size(); at += 8) {
        elements.emplace_back(list.begin() + static_cast<std::ptrdiff_t>(at),
                              list.begin() + static_cast<std::ptrdiff_t>(at + 8));
    }
    std::sort(elements.begin(), elements.end(),
              [](const Bytes &a, const Bytes &b) { return community_place(a) < community_place(b); });
    elements.erase(std::unique(elements.begin(), elements.end()), elements.end());
    Bytes out;
    for (const Bytes &element : elements) {
        put(out, element);
    }
    return out;
}

// ---- path attributes ----

struct WireVerdict {
    Verdict verdict{};
    std::size_t advance = 0;
    std::optional<std::uint32_t> more{};
};

inline std::uint32_t vpnv4_mask(std::uint32_t length)
{
    return length == 0 || length > 32 ? 0 : ~std::uint32_t{0} << (32 - length);
}

class WireModel {
public:
    WireModel(Member member, std::uint32_t type, Octets left) : member_(member), type_(type), left_(left) {}

    WireVerdict judge(Memory &memory) const
    {
        if (left_.empty()) {
            return {};
        }
        if (type_ == 14 || type_ == 15) {
            return member_ == Member::mdt ? mdt(memory) : vpnv4(memory, true);
        }
        if (type_ == 256 && member_ == Member::vpnv4) {
            return vpnv4(memory, false);
        }
        return type_ == 16 ? communities(memory) : WireVerdict{};
    }

private:
    static WireVerdict taken(Verdict verdict, std::size_t advance, std::uint32_t more)
    {
        if (verdict.code != QEL_OK) {
            return {.verdict = std::move(verdict)};
        }
        return {.verdict = std::move(verdict), .advance = advance, .more = more};
    }

    WireVerdict mdt(Memory &memory) const
    {
        const std::size_t rest = left_.size() - 1;
        if (left_[0] < 121 || left_[0] > 128 || rest < 16) {
            return {.verdict = refused(QEL_ERR_NLRI_MALFORMED)};
        }
        const std::uint32_t more = rest == 16 ? 0 : 1;
        const std::uint32_t rd_type = big(left_.subspan(1, 2));
        if (!known_rd(rd_type)) {
            return {.verdict = refused(QEL_ERR_NLRI_REFUSED), .advance = 9, .more = more};
        }
        const Bytes group = reversed(left_.subspan(13, 4));
        Bytes key = reversed(left_.subspan(9, 4));
        put(key, group);
        Bytes non_key{1, 0, 0, 0};
        put(non_key, group);
        return taken(
            blocked(member_, memory, {.rd = rd_turned(left_.subspan(1, 8), rd_type), .key = key, .non_key = non_key}),
            17, more);
    }

    WireVerdict vpnv4(Memory &memory, bool labelled) const
    {
        const std::uint32_t lowest = labelled ? 88 : 64;
        const std::uint32_t bits = left_[0];
        const std::size_t octets = (bits + 7) / 8;
        const std::size_t rest = left_.size() - 1;
        if (octets > rest || bits < lowest || bits > lowest + 32) {
            return {.verdict = refused(QEL_ERR_NLRI_MALFORMED)};
        }
        const std::uint32_t more = octets < rest ? 1 : 0;
        const std::size_t rd_at = labelled ? 4 : 1;
        const std::uint32_t rd_type = big(left_.subspan(rd_at, 2));
        if (!known_rd(rd_type)) {
            return {.verdict = refused(QEL_ERR_NLRI_REFUSED), .advance = rd_at + 8, .more = more};
        }
        Sections sections{.rd = rd_turned(left_.subspan(rd_at, 8), rd_type)};
        Bytes prefix(left_.begin() + static_cast<std::ptrdiff_t>(rd_at + 8),
                     left_.begin() + static_cast<std::ptrdiff_t>(1 + octets));
        prefix.resize(4);
        sections.key = little_word(big(prefix) & vpnv4_mask(bits - lowest));
        put(*sections.key, little_word(bits - lowest));
        if (labelled) {
            const std::uint32_t label = big(left_.subspan(1, 3)) >> 4;
            sections.label = little_word(label == 0xFFFFF ? 0xFFFFFFFF : label);
        }
        return taken(blocked(member_, memory, std::move(sections)), 1 + octets, more);
    }

    WireVerdict communities(Memory &memory) const
    {
        if (left_.size() % 8 != 0) {
            return {.verdict = refused(QEL_ERR_EXTCOMM_LEN)};
        }
        Memory::Scratch exchange(memory);
        if (!memory.heap() || !exchange.take(8)) {
            return {.verdict = refused(QEL_ERR_ALLOC, 1)};
        }
        return taken(blocked(member_, memory, {.attribute = sorted_list(list_turned(left_, true))}), left_.size(), 0);
    }

    Member member_;
    std::uint32_t type_;
    Octets left_;
};

// ---- messages ----

enum class Door : std::uint8_t { message, ha, attribute, config, added };
enum class Form : std::uint8_t { none, empty, prefix, target, communities, non_key, rd, cfg_prefix, added };

inline Form parse_form(Member member, Door door, std::uint32_t type)
{
    const bool mdt = member == Member::mdt;
    switch (door) {
    case Door::message:
        if (!mdt) {
            return Form::empty;
        }
        return one_of(type, {53, 55, 59, 61, 15})               ? Form::prefix
               : one_of(type, {56, 57, 18, 20, 19, 21, 70, 71}) ? Form::target
                                                                : Form::none;
    case Door::ha:
        return one_of(type, {1, 3, 5, 8}) ? Form::prefix : one_of(type, {6, 7}) ? Form::target : Form::none;
    case Door::attribute:
        return one_of(type, {11, 21}) ? Form::communities : mdt && type == 34 ? Form::non_key : Form::none;
    case Door::config:
        return type == 1 ? Form::rd : type == 2 ? Form::cfg_prefix : Form::none;
    default:
        return !mdt ? Form::empty : type == 11 ? Form::added : Form::none;
    }
}

class MessageModel {
public:
    // `behind`: what a reader finds behind the value.
    MessageModel(Member member, Octets value, std::uint8_t behind) : member_(member), value_(value), behind_(behind) {}

    // `list`: the route's, for the messages that add to one.
    Verdict judge(Form form, const std::optional<Bytes> &list, Memory &memory) const
    {
        switch (form) {
        case Form::none:
            return refused(QEL_ERR_NO_ENTRY);
        case Form::empty:
            return {};
        case Form::prefix:
            return prefix(memory);
        case Form::target:
            return target(memory);
        case Form::communities:
            return communities(memory);
        case Form::non_key:
            return non_key(memory);
        case Form::rd:
            return rd(memory);
        case Form::cfg_prefix:
            return cfg_prefix(memory);
        default:
            return added(list, memory);
        }
    }

private:
    Verdict prefix(Memory &memory) const
    {
        if (member_ == Member::mdt && value_.size() < 16) {
            return refused(QEL_ERR_ARGUMENT);
        }
        if (member_ == Member::vpnv4 && value_.size() != 16) {
            return refused(QEL_ERR_NLRI_MALFORMED);
        }
        const std::uint32_t rd_type = big(value_.first(2));
        if (!known_rd(rd_type)) {
            return refused(QEL_ERR_NLRI_REFUSED);
        }
        const Bytes second = reversed(value_.subspan(12, 4));
        Sections sections{.rd = rd_turned(value_.first(8), rd_type), .key = reversed(value_.subspan(8, 4))};
        put(*sections.key, second);
        if (member_ == Member::mdt) {
            sections.non_key = Bytes{1, 0, 0, 0};
            put(*sections.non_key, second);
        }
        return blocked(member_, memory, std::move(sections));
    }

    Verdict target(Memory &memory) const
    {
        if (member_ == Member::mdt && value_.size() == 4) {
            return blocked(member_, memory, {.cross = reversed(value_)});
        }
        if (value_.size() != 8) {
            return refused(QEL_ERR_ARGUMENT, member_ == Member::mdt ? 1 : 0);
        }
        const std::uint32_t type = big(value_.first(2));
        if (!known_target(member_, type)) {
            return refused(member_ == Member::mdt ? QEL_ERR_VALUE : QEL_ERR_ARGUMENT);
        }
        return blocked(member_, memory, {.cross = known_target_turned(member_, value_, type)});
    }

    Verdict communities(Memory &memory) const
    {
        if (value_.size() < 8) {
            return refused(QEL_ERR_EXTCOMM_TLV);
        }
        Memory::Scratch copy(memory);
        if (!copy.take(value_.size())) {
            return refused(QEL_ERR_MEMORY, 1);
        }
        Bytes list = list_turned(value_, true);
        list.resize(list.size() & 0xffff); // what a section can have
        return blocked(member_, memory, {.attribute = std::move(list)});
    }

    // Each sub-TLV takes 8 from a count of 16 bits and is passed by its own length; the walk stays inside the value.
    Verdict non_key(Memory &memory) const
    {
        if (value_.size() < 4) {
            return refused(QEL_ERR_FAILED);
        }
        if (big(value_.subspan(2, 2)) == 0) {
            return refused(QEL_ERR_FAILED, 1);
        }
        Bytes section{value_[1], value_[0], 0, 0};
        Bytes group(4);
        std::size_t count = (value_.size() - 4) & 0xffff;
        for (std::size_t at = 4; count != 0 && at + 8 <= value_.size();) {
            const std::size_t end = at + 4 + big(value_.subspan(at + 2, 2));
            if (big(value_.subspan(at, 2)) != 1 || end > value_.size()) {
                break;
            }
            group = reversed(value_.subspan(at + 4, 4));
            count = (count - 8) & 0xffff;
            at = end;
        }
        put(section, group);
        return blocked(member_, memory, {.non_key = section});
    }

    Verdict rd(Memory &memory) const
    {
        if (value_.size() != 16) {
            return refused(QEL_ERR_NULL, 1);
        }
        if (big(value_.first(4)) != 0) {
            return refused(QEL_ERR_CFG_RD);
        }
        const Octets section = value_.subspan(4, 8);
        return blocked(member_, memory, {.rd = Bytes(section.begin(), section.end())});
    }

    Verdict cfg_prefix(Memory &memory) const
    {
        Bytes record(value_.begin(), value_.end());
        record.resize(std::max<std::size_t>(record.size(), 12), behind_);
        const Octets octets(record);
        const std::uint32_t second = little(octets.subspan(8, 4));
        std::uint32_t first = little(octets.subspan(4, 4));
        if (member_ == Member::vpnv4 && second != 0xFFFFFFFF) {
            first &= vpnv4_mask(second);
        }
        Bytes key = little_word(first);
        put(key, little_word(second));
        return blocked(member_, memory, {.key = key});
    }

    // Copies of nothing into nothing are reported, and so are those that a sum of 16 bits leaves without room.
    Verdict added(const std::optional<Bytes> &list, Memory &memory) const
    {
        if (!memory.heap()) {
            return refused(QEL_ERR_MEMORY, 1);
        }
        const std::size_t old = list ? list->size() : 0;
        Bytes joined((old + value_.size()) & 0xffff);
        std::uint64_t asserts = joined.empty() ? 1 : 0;
        if (list && !joined.empty() && old <= joined.size()) {
            std::copy(list->begin(), list->end(), joined.begin());
        } else if (list) {
            ++asserts;
        }
        const std::size_t room = joined.size() - std::min(old, joined.size());
        if (room != 0 && value_.size() <= room) {
            std::copy(value_.begin(), value_.end(), joined.end() - static_cast<std::ptrdiff_t>(room));
        } else {
            ++asserts;
        }
        return blocked(member_, memory, {.attribute = std::move(joined)}, asserts);
    }

    Member member_;
    Octets value_;
    std::uint8_t behind_;
};

// ---- a route as the host holds it ----

struct Record {
    std::optional<Bytes> rd{};
    std::optional<Bytes> key{};
    std::optional<Bytes> non_key{};
    std::optional<Bytes> list{};
    std::optional<Bytes> cross{};
    bool valid = true; // whether the mask tells of the non-key
    std::uint32_t rd_length = 8;
    std::uint32_t label_length = 0;
    std::uint32_t label = 0;
    bool plain = false;

    std::uint32_t first() const { return little(Octets(*key).first(4)); }
    std::uint32_t second() const { return little(Octets(*key).subspan(4, 4)); }
    std::size_t elements() const { return list ? list->size() / 8 : 0; }
    Octets element(std::size_t index) const { return Octets(*list).subspan(index * 8, 8); }
};

// ---- writers ----

struct Written {
    std::uint32_t code = QEL_OK;
    std::uint64_t asserts = 0;
    Bytes octets{};                       // what stands at the cursor's place behind the call
    std::optional<std::size_t> advance{}; // nothing: as many
    bool ended = false;                   // index and more-word of a configuration writer get 0
    std::optional<std::pair<std::uint32_t, std::uint32_t>> step{}; // or these
    bool label_shifted = false;
};

enum class Writer : std::uint8_t {
    none,
    empty,
    route,
    plain_route,
    prefix,
    target,
    communities,
    list,
    non_key,
    rd,
    cfg_prefix,
    cfg_list
};

inline Writer pkt_writer(Member member, std::uint32_t type)
{
    if (type == 14 || type == 15) {
        return Writer::route;
    }
    return type == 16                               ? Writer::communities
           : type == 256 && member == Member::vpnv4 ? Writer::plain_route
                                                    : Writer::none;
}

inline Writer message_writer(Member member, Door door, std::uint32_t type)
{
    const bool mdt = member == Member::mdt;
    switch (door) {
    case Door::message:
        if (!mdt) {
            return Writer::empty;
        }
        return one_of(type, {53, 55, 59, 61, 5}) ? Writer::prefix
               : one_of(type, {56, 57})          ? Writer::target
                                                 : Writer::none;
    case Door::ha:
        return one_of(type, {1, 3, 5, 8}) ? Writer::prefix : one_of(type, {6, 7}) ? Writer::target : Writer::none;
    case Door::attribute:
        return one_of(type, {11, 21}) ? Writer::list : mdt && type == 34 ? Writer::non_key : Writer::none;
    default:
        return type == 1 ? Writer::rd : type == 2 ? Writer::cfg_prefix : type == 4 ? Writer::cfg_list : Writer::none;
    }
}

inline std::string ip_text(std::uint32_t address)
{
    return std::to_string(address >> 24) + "." + std::to_string(address >> 16 & 0xff) + "." +
           std::to_string(address >> 8 & 0xff) + "." + std::to_string(address & 0xff);
}

inline std::string community_text(Member member, Octets element, bool plain)
{
    static constexpr std::array<const char *, 2> import_mdt{"Import RT", "Import RT"};
    static constexpr std::array<const char *, 2> import_vpnv4{"Import RT(type:0x0A)", "Import RT(type:0x0B)"};
    const auto &import = member == Member::mdt ? import_mdt : import_vpnv4;
    std::string text;
    switch (element[0]) {
    case 2:
        text = "RT";
        break;
    case 3:
        text = "SoO";
        break;
    case 9:
        text = "Source AS";
        break;
    case 10:
    case 11:
        text = import[element[0] - 10U];
        break;
    default:
        break;
    }
    const std::uint32_t word = little(element.subspan(2, 4));
    const std::string last = " : " + std::to_string(little(element.subspan(6, 2))) + ">";
    switch (element[1]) {
    case 0:
        return text + " <" + std::to_string(little(element.subspan(2, 2))) + " : " +
               std::to_string(little(element.subspan(4, 4))) + ">";
    case 1:
        return text + " <" + ip_text(word) + last;
    case 2:
        if (plain && word > 0xffff) {
            return text + " <" + std::to_string(word) + last;
        }
        return text + " <" + std::to_string(word >> 16) + "." + std::to_string(word & 0xffff) + last;
    default:
        return text;
    }
}

inline std::string rd_text(Octets rd)
{
    const std::string last = ":" + std::to_string(little(rd.subspan(6, 2)));
    const std::uint32_t word = little(rd.subspan(2, 4));
    switch (little(rd.first(2))) {
    case 0:
        return std::to_string(little(rd.subspan(2, 2))) + ":" + std::to_string(little(rd.subspan(4, 4)));
    case 1:
        return ip_text(word) + last;
    case 2:
        return std::to_string(word >> 16) + "." + std::to_string(word & 0xffff) + last;
    default:
        return "";
    }
}

inline Bytes closed(const std::string &text)
{
    Bytes out(text.begin(), text.end());
    out.push_back(0);
    return out;
}

class WriteModel {
public:
    WriteModel(Member member, const Record &record, std::size_t room, std::uint8_t fill)
        : member_(member), record_(record), room_(room), fill_(fill)
    {
    }

    Written judge(Writer writer, std::uint32_t index, Memory &memory) const
    {
        switch (writer) {
        case Writer::none:
            return {.code = QEL_ERR_NO_ENTRY};
        case Writer::empty:
            return {};
        case Writer::route:
            return member_ == Member::mdt ? mdt_route() : vpnv4_route(true);
        case Writer::plain_route:
            return vpnv4_route(false);
        case Writer::prefix:
            return prefix();
        case Writer::target:
            return target();
        case Writer::communities:
        case Writer::list:
            return communities(writer == Writer::list, memory);
        case Writer::non_key:
            return non_key();
        case Writer::rd:
            return rd();
        case Writer::cfg_prefix:
            return cfg_prefix();
        default:
            return cfg_list(index);
        }
    }

private:
    // The RD in wire order; of one that is missing what stood there, its type word turned.
    Bytes wire_rd() const
    {
        const Bytes rd = record_.rd ? *record_.rd : Bytes(8, fill_);
        return rd_turned(Octets(rd).first(8), little(Octets(rd).first(2)));
    }

    Written mdt_route() const
    {
        if (!record_.key || !record_.rd) {
            return {.code = QEL_ERR_ABSENT};
        }
        if (room_ < 17) {
            return {.code = QEL_ERR_SPACE};
        }
        Written out{.octets = {0x80}};
        put(out.octets, wire_rd());
        put_big(out.octets, record_.first(), 4);
        put_big(out.octets, record_.second(), 4);
        return out;
    }

    Written vpnv4_route(bool labelled) const
    {
        if (!record_.key || (labelled && record_.label_length == 0)) {
            return {.code = QEL_ERR_ABSENT};
        }
        const std::uint32_t bits = labelled ? 88 : 64;
        const std::uint32_t length = record_.second();
        const std::size_t octets = std::min<std::size_t>(((length & 0xff) + 7) / 8, 4);
        const std::uint32_t told = (length + bits + 7) / 8 + 1; // of 32 bits
        if (told > room_ || 1 + bits / 8 + octets > room_) {
            return {.code = QEL_ERR_SPACE};
        }
        Written out{.asserts = record_.rd ? 0U : 1U, .octets = {static_cast<std::uint8_t>(length + bits)}};
        if (labelled) {
            put_big(out.octets, record_.label << 4, 3);
            out.label_shifted = true;
        }
        put(out.octets, wire_rd());
        Bytes address;
        put_big(address, record_.first(), 4);
        put(out.octets, Octets(address).first(octets));
        return out;
    }

    Written prefix() const
    {
        if (!record_.key || (member_ == Member::mdt && !record_.rd)) {
            return {.code = QEL_ERR_ABSENT};
        }
        if (room_ < 16) {
            return {.code = QEL_ERR_SPACE};
        }
        Written out{.asserts = record_.rd ? 0U : 1U, .octets = wire_rd()};
        put_big(out.octets, record_.first(), 4);
        put_big(out.octets, record_.second(), 4);
        return out;
    }

    Written target() const
    {
        if (!record_.cross) {
            return {};
        }
        const Octets cross(*record_.cross);
        if (cross.size() > room_) {
            return {.code = QEL_ERR_SPACE};
        }
        if (cross.size() == 4 && member_ == Member::mdt) {
            return {.octets = reversed(cross)};
        }
        if (cross.size() != 8) {
            return {.code = QEL_ERR_ARGUMENT, .asserts = 1};
        }
        return {.octets = member_ == Member::mdt ? known_target_turned(member_, cross, little16(cross))
                                                 : list_turned(cross, false)};
    }

    // For messages the copy is scratch, of which no octet can be had.
    Written communities(bool message, Memory &memory) const
    {
        if (!record_.list) {
            return {};
        }
        const std::size_t size = record_.list->size() & 0xffff;
        if (size > room_) {
            return {.code = QEL_ERR_SPACE};
        }
        Memory::Scratch copy(memory);
        if (message ? size == 0 || !copy.take(size) : !memory.heap()) {
            return {.code = QEL_ERR_MEMORY, .asserts = 1};
        }
        return {.asserts = size != 0    ? 0U
                           : room_ != 0 ? 1U
                                        : 2U,
                .octets = list_turned(Octets(*record_.list).first(size), false)};
    }

    Written non_key() const
    {
        if (!record_.non_key) {
            return {.code = QEL_ERR_ABSENT};
        }
        if (room_ < 4) {
            return {.code = QEL_ERR_SPACE};
        }
        const Octets held(*record_.non_key);
        Written out{.octets = reversed(held.first(2))};
        if ((held[0] & 0x1) == 0) {
            put_big(out.octets, 0, 2);
            return out;
        }
        if (room_ < 12) {
            out.code = QEL_ERR_SPACE;
            out.advance = 0;
            return out;
        }
        put(out.octets, Bytes{0, 8, 0, 1, 0, 4});
        put(out.octets, reversed(held.subspan(4, 4)));
        return out;
    }

    Written rd() const
    {
        if (!record_.rd || room_ == 0) {
            return {.code = QEL_ERR_NULL, .asserts = 1};
        }
        if (room_ < 16) {
            return {.code = QEL_ERR_SPACE};
        }
        const bool fits = record_.rd_length <= 8;
        Bytes held(8, fill_);
        if (fits) {
            std::copy_n(record_.rd->begin(), record_.rd_length, held.begin());
        }
        Written out{.asserts = fits ? 0U : 1U, .octets = Bytes(4), .ended = true};
        put(out.octets, held);
        const bool first_form = little16(held) == 0;
        put(out.octets, little_word(first_form ? 1 : record_.plain ? 2 : 3));
        return out;
    }

    Written cfg_prefix() const
    {
        if (!record_.key || room_ == 0) {
            return {.code = QEL_ERR_NULL, .asserts = 1};
        }
        if (room_ < 89) {
            return {.code = QEL_ERR_SPACE};
        }
        Written out{.octets = little_word(member_ == Member::mdt ? 11 : 10), .advance = 89, .ended = true};
        put(out.octets, *record_.key);
        if (member_ == Member::mdt) {
            put(out.octets, little_word(32));
        }
        return out;
    }

    Written cfg_list(std::uint32_t index) const
    {
        if (index >= record_.elements()) {
            return {.step = std::pair{index, 0U}};
        }
        const std::string text = community_text(member_, record_.element(index), record_.plain);
        if (text.size() >= room_) {
            return {.code = QEL_ERR_SPACE};
        }
        return {.octets = closed(text),
                .advance = 0,
                .step = std::pair{index + 1, index + 1 < record_.elements() ? 1U : 0U}};
    }

    Member member_;
    const Record &record_;
    std::size_t room_;
    std::uint8_t fill_;
};

// ---- display ----

inline Written shown(Member member, const Record &record, std::uint32_t type, std::size_t room, std::uint32_t index,
                     Memory &memory)
{
    const bool mdt = member == Member::mdt;
    std::string text;
    std::pair<std::uint32_t, std::uint32_t> step{0, 0};
    if (type == 8 && mdt) {
        if (!record.non_key) {
            return {.code = QEL_ERR_NULL, .asserts = 1};
        }
        if (((*record.non_key)[0] & 0x1) == 0) {
            return {.code = QEL_ERR_FAILED, .asserts = 1};
        }
        text = "Share Group: " + ip_text(little(Octets(*record.non_key).subspan(4, 4)));
        text.resize(std::min(text.size(), room == 0 ? 0 : room - 1));
        return {.octets = room == 0 ? Bytes{} : closed(text), .advance = 0, .step = step};
    }
    if (type == 1) {
        if (!record.key || !record.rd) {
            return {.code = QEL_ERR_ABSENT};
        }
        const std::string rd = "<" + rd_text(*record.rd);
        text = mdt ? rd + ">, " + ip_text(record.first()) + "/32, Group Address: " + ip_text(record.second()) + " "
                   : ip_text(record.first()) + "/" + std::to_string(record.second()) + "(" + rd +
                         (record.label_length != 0 ? "> " + std::to_string(record.label) + ")" : ">)");
    } else if (type == 2) {
        if (index >= record.elements()) {
            return {.step = std::pair{index, 0U}};
        }
        text = community_text(member, record.element(index), record.plain);
        step = {index + 1, index + 1 < record.elements() ? 1 : 0};
    } else {
        return {.code = QEL_ERR_NO_DATA2STR};
    }
    Memory::Scratch work(memory);
    if (!work.take(256)) {
        return {.code = QEL_ERR_MEMORY, .asserts = 1};
    }
    if (text.size() >= room) {
        return {.code = QEL_ERR_SPACE};
    }
    return {.octets = closed(text), .advance = 0, .step = step};
}

// ---- import ----

struct CrossVerdict {
    std::uint32_t code = QEL_OK;
    std::uint64_t asserts = 0;
    std::optional<Bytes> value{};
    std::optional<std::uint32_t> length{}; // nothing: not written
    std::optional<std::uint32_t> more{};
    std::uint32_t cursor = 0;
};

inline CrossVerdict cross_step(Member member, const Record &record, std::uint32_t cursor, Memory &memory)
{
    const bool mdt = member == Member::mdt;
    CrossVerdict none{.length = 0, .more = 0, .cursor = cursor};
    const auto lost = [&] {
        return mdt ? CrossVerdict{.code = QEL_ERR_MEMORY, .asserts = 1, .cursor = cursor}
                   : CrossVerdict{.code = QEL_ERR_MEMORY, .asserts = 1, .length = 0, .more = 0, .cursor = cursor};
    };
    const auto value = [&](Octets octets, std::uint32_t next, std::uint32_t more) {
        if (!memory.heap()) {
            return lost();
        }
        return CrossVerdict{.value = Bytes(octets.begin(), octets.end()),
                            .length = static_cast<std::uint32_t>(octets.size()),
                            .more = more,
                            .cursor = next};
    };
    if (mdt && (!record.valid || !record.non_key)) {
        return none;
    }
    if (mdt && !record.list) {
        return value(Octets(*record.non_key).subspan(4, 4), 0, 0);
    }
    if (!record.list || (!mdt && record.list->empty())) {
        return none;
    }
    const auto count = static_cast<std::uint32_t>(record.elements());
    if (cursor >= count) {
        none.code = QEL_ERR_FAILED;
        if (mdt) {
            none.length.reset();
            none.more.reset();
        }
        return none;
    }
    for (std::uint32_t i = cursor; i < count; ++i) {
        if (is_target(record.element(i))) {
            return value(record.element(i), i + 1, i + 1 < count ? 1 : 0);
        }
    }
    if (mdt && cursor == 0) {
        return value(Octets(*record.non_key).subspan(4, 4), count, 0);
    }
    none.cursor = count;
    return none;
}

// ---- policy ----

struct BufferVerdict {
    std::uint32_t code = QEL_OK;
    std::uint64_t asserts = 0;
    bool stored = false;
    std::optional<Bytes> buffer{}; // with `stored` and without: null and 0
};

inline BufferVerdict match_buffer(Member member, const Record &record, std::uint32_t mask, Memory &memory)
{
    const bool group = member == Member::mdt && (mask & 0x80000) != 0;
    const bool rd = (mask & 0x800) != 0;
    const bool list = (mask & 0x4) != 0;
    if (mask == 0) {
        return {.code = QEL_ERR_NULL, .asserts = 1};
    }
    if ((list && !record.list) || (!rd && !list && !group)) {
        return {};
    }
    if (!memory.heap()) {
        return {.code = QEL_ERR_MEMORY, .asserts = 1};
    }
    BufferVerdict out{.stored = true, .buffer = Bytes{}};
    const auto tlv = [&out](std::uint32_t type, Octets value) {
        put_big(*out.buffer, type, 2);
        put_big(*out.buffer, static_cast<std::uint32_t>(value.size()), 2);
        put(*out.buffer, value);
    };
    const auto failed = [&out] {
        return BufferVerdict{.code = QEL_ERR_FAILED, .asserts = out.asserts, .stored = true};
    };
    if (rd) {
        if (!record.rd) {
            return failed();
        }
        tlv(13, Octets(*record.rd).first(8));
    }
    if (list) {
        if (!memory.heap()) {
            ++out.asserts;
            return failed();
        }
        const std::size_t size = record.list->size() & 0xffff;
        tlv(11, list_turned(Octets(*record.list).first(size), false));
        out.asserts += size != 0 ? 0U : group ? 1U : 2U; // nothing is copied, there into no room
    }
    if (group) {
        if (!record.key) {
            return failed();
        }
        tlv(33, reversed(Octets(*record.key).subspan(4, 4)));
    }
    return out;
}

inline Bytes prefix_entry(Member member, const Record &record, Bytes entry)
{
    const auto place = [&entry](std::size_t at, std::uint32_t value) {
        const Bytes word = little_word(value);
        std::copy(word.begin(), word.end(), entry.begin() + static_cast<std::ptrdiff_t>(at));
    };
    place(12, 0);
    place(16, record.first());
    place(48, member == Member::mdt ? 32 : record.second());
    return entry;
}

inline Verdict set_list(Member member, const Record &record, std::uint32_t control, Memory &memory)
{
    if (!record.list) {
        return {.outcome = Outcome::null};
    }
    if (!memory.heap()) {
        return refused(QEL_ERR_MEMORY, 1);
    }
    const std::size_t size = record.list->size() & 0xffff;
    Bytes kept;
    for (std::size_t i = 0; i < size / 8; ++i) {
        if ((control & 0x1) == 0 || (record.element(i)[1] & 0x40) == 0) {
            put(kept, record.element(i));
        }
    }
    return blocked(member, memory, {.attribute = std::move(kept)}, size == 0 ? 1 : 0);
}

class ListActionModel {
public:
    ListActionModel(Member member, Octets list, bool lent, Memory &memory)
        : member_(member), list_(list), lent_(lent), memory_(memory)
    {
    }

    Verdict judge(std::uint32_t action, Octets value)
    {
        if (!one_of(action, {6, 7, 36, 37, 38, 87})) {
            return refused(QEL_ERR_NO_ACTION);
        }
        Memory::Scratch host(memory_);
        if (!value.empty() && !host.take(value.size())) {
            return refused(QEL_ERR_MEMORY, 1);
        }
        switch (action) {
        case 6:
            return replaced(value, host);
        case 7:
        case 38:
            return added(value, host);
        case 87:
            host.give_back();
            return deleted();
        default:
            return {.outcome = Outcome::null};
        }
    }

private:
    std::size_t elements() const { return list_.size() / 8 & 0xffff; }

    Bytes without_targets() const
    {
        Bytes kept;
        for (std::size_t i = 0; i < elements(); ++i) {
            if (!is_target(list_.subspan(i * 8, 8))) {
                put(kept, list_.subspan(i * 8, 8));
            }
        }
        kept.resize(kept.size() & 0xffff);
        return kept;
    }

    Verdict added(Octets value, Memory::Scratch &host)
    {
        const Octets whole = list_.first(elements() * 8 & 0xffff);
        Memory::Scratch apply(memory_);
        if ((whole.empty() && value.empty()) || !apply.take(room_for(whole, value))) {
            return refused(QEL_ERR_MEMORY, 1);
        }
        host.give_back();
        return finished(whole, value, value.empty() ? 1 : 0);
    }

    Verdict replaced(Octets value, Memory::Scratch &host)
    {
        Memory::Scratch temp(memory_);
        if (elements() != 0 && !temp.take(list_.size())) {
            return refused(QEL_ERR_MEMORY, 1);
        }
        const Bytes staying = without_targets();
        Memory::Scratch apply(memory_);
        if ((staying.empty() && value.empty()) || !apply.take(room_for(staying, value))) {
            return refused(QEL_ERR_MEMORY, 1);
        }
        temp.give_back();
        host.give_back();
        return finished(staying, value, 0);
    }

    Verdict deleted()
    {
        Memory::Scratch temp(memory_);
        if (elements() != 0 && !temp.take(list_.size())) {
            return refused(QEL_ERR_MEMORY, 1);
        }
        const Bytes staying = without_targets();
        if (staying.empty()) {
            return memory_.heap() ? Verdict{.outcome = Outcome::no_value}
                                  : Verdict{.code = QEL_ERR_ALLOC, .outcome = Outcome::null};
        }
        Memory::Scratch apply(memory_);
        const bool room = apply.take(staying.size());
        if (member_ == Member::mdt) {
            temp.give_back();
        }
        Verdict verdict = room ? finished(staying, {}, 0) : refused(QEL_ERR_MEMORY, 1);
        if (member_ == Member::vpnv4) {
            verdict.inline_kept = !lent_ && list_.size() <= 256;
            if (!verdict.inline_kept) {
                verdict.kept = list_.size();
            }
        }
        return verdict;
    }

    static std::size_t room_for(Octets staying, Octets value)
    {
        return std::max<std::size_t>(staying.size() + value.size(), 8);
    }

    // Sorted and each once. Less than an element that is alone counts as one, as it stands.
    Verdict finished(Octets staying, Octets value, std::uint64_t asserts)
    {
        Memory::Scratch exchange(memory_);
        if (!exchange.take(8)) {
            return refused(QEL_ERR_ALLOC, asserts + 1);
        }
        const std::size_t count = (staying.size() / 8 + value.size() / 8) & 0xffff;
        Bytes joined(staying.begin(), staying.end());
        put(joined, list_turned(value, true));
        joined.resize(std::max<std::size_t>(count, 1) * 8);
        exchange.give_back();
        return blocked(member_, memory_, {.attribute = sorted_list(joined)}, asserts);
    }

    Member member_;
    Octets list_;
    bool lent_;
    Memory &memory_;
};

// ---- compares ----

struct Order {
    std::int32_t result = 0;
    std::uint64_t asserts = 0;
};

template <class T> std::int32_t order_of(const T &a, const T &b)
{
    return a < b ? -1 : a > b ? 1 : 0;
}

inline std::int32_t octet_order(Octets a, Octets b)
{
    if (a.size() != b.size()) {
        return order_of(a.size(), b.size());
    }
    return order_of(Bytes(a.begin(), a.end()), Bytes(b.begin(), b.end()));
}

inline std::int32_t community_order(Octets a, Octets b)
{
    if (a.size() == b.size() && a.size() == 8) {
        return order_of(community_place(a), community_place(b));
    }
    return a.size() != b.size() ? octet_order(a, b) : octet_order(b, a);
}

inline Order section_order(Member member, std::uint32_t section, Octets a, Octets b)
{
    const bool mdt = member == Member::mdt;
    const auto word = [](Octets from, std::size_t at) { return little(from.subspan(at, 4)); };
    if (section == 8 || (section == 16 && !mdt)) {
        return {octet_order(a, b)};
    }
    if (section == 16) {
        return {community_order(a, b)};
    }
    const bool known = section == 1 || section == 2 || section == (mdt ? 4U : 32U);
    const std::size_t size = section == 32 ? 4 : 8;
    if (!known || a.size() != size || b.size() != size) {
        return {-2, known ? 1U : 0U};
    }
    const std::int32_t first = order_of(word(a, 0), word(b, 0));
    if (section == 4) {
        return {order_of(word(a, 4), word(b, 4))};
    }
    if (first != 0 || section == 32 || (section == 2 && mdt)) {
        return {first};
    }
    if (section == 2 && (word(a, 4) == 0xFFFFFFFF || word(b, 4) == 0xFFFFFFFF)) {
        return {0};
    }
    return {order_of(word(a, 4), word(b, 4))};
}

} // namespace qel::fuzz
