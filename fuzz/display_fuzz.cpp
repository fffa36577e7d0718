// Texts and configuration records of NG-MVPN routes. An input is a list of parts: an octet for the kind, two for the
// length, then that many octets. Parts that a parser reads and parts that a host may hold without one make a route,
// which every display and configuration door shows in every room.
#include "check.h"
#include "ngmvpn_door.h"

#include "host/family.h"
#include "host/platform/platform.h"
#include "host/route.h"
#include "ngmvpn/qel_ngmvpn_attr_records.h"
#include "ngmvpn/qel_ngmvpn_records.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace qel::fuzz {
namespace {

using Bytes = std::vector<std::uint8_t>;

const host::Family &instance()
{
    static const host::Family family(*host::find_family(1, 5), kMemHandle);
    return family;
}

std::uint32_t word_at(Octets octets, std::size_t at)
{
    std::uint32_t value = 0;
    std::memcpy(&value, octets.data() + at, sizeof(value));
    return value;
}

// ---- the route ----

// A section of a host: octets that end where its heap block ends, at an even or an odd address.
class Section {
public:
    Section(Octets octets, bool odd)
        : shift_(odd ? 1 : 0), size_(octets.size()), data_(new std::uint8_t[shift_ + size_])
    {
        if (size_ != 0) {
            std::memcpy(data_.get() + shift_, octets.data(), size_);
        }
    }
    const std::uint8_t *data() const { return data_.get() + shift_; }
    std::uint32_t size() const { return static_cast<std::uint32_t>(size_); }

private:
    std::size_t shift_;
    std::size_t size_;
    std::unique_ptr<std::uint8_t[]> data_;
};

Bytes padded(Octets octets, std::size_t size)
{
    Bytes record(octets.begin(), octets.begin() + static_cast<std::ptrdiff_t>(std::min(octets.size(), size)));
    record.resize(size);
    return record;
}

// The octets that the type and the lengths of a tunnel record call for.
std::size_t tunnel_length(Octets octets)
{
    const Bytes front = padded(octets, QEL_NGMVPN_PMSI_SECTION_MLDP_BASE);
    switch (front[1]) {
    case QEL_NGMVPN_TNL_RSVP_TE_P2MP:
        return QEL_NGMVPN_PMSI_SECTION_RSVP_TE;
    case QEL_NGMVPN_TNL_MLDP_P2MP:
        return QEL_NGMVPN_PMSI_SECTION_MLDP_BASE + front[16] + front[17] * std::size_t{256};
    case QEL_NGMVPN_TNL_BIER:
        return front[9] == 4 ? QEL_NGMVPN_PMSI_SECTION_BIER_IPV4 : QEL_NGMVPN_PMSI_SECTION_BIER_IPV6;
    default:
        return offsetof(QEL_NGMVPN_PMSI_TNL_S, uTnl);
    }
}

class FuzzedRoute {
public:
    enum Kind : std::uint8_t {
        parsed_nlri,
        parsed_communities,
        parsed_tunnel,
        parsed_ipv6_communities,
        parsed_prefix_sid,
        parsed_msid,
        held_rd,
        held_key,
        held_non_key,
        held_communities,
        held_tunnel,
        held_ipv6_communities,
        held_prefix_sid,
        held_msid,
        configured_rd,
        configured_key,
        rd_flags,
        place, // where the caller begins in a list
        kinds
    };

    explicit FuzzedRoute(Octets input)
    {
        while (input.size() >= 3) {
            const std::size_t length = std::min(input[1] * std::size_t{256} + input[2], input.size() - 3);
            add(static_cast<Kind>((input[0] & 0x7f) % kinds), input.subspan(3, length), (input[0] & 0x80) != 0);
            input = input.subspan(3 + length);
        }
        info_ = parsed_.info();
        for (const Held &held : held_) {
            info_.*held.data = held.section.data();
            info_.*held.length = held.told_length;
            info_.uiValidMask |= held.mask;
        }
        info_.uiRdFlags = rd_flags_;
    }

    const QEL_ROUTE_INFO_S &info() const { return info_; }
    std::uint32_t first_place() const { return place_; }

private:
    struct Held {
        Section section;
        std::uint32_t told_length;
        std::uint32_t mask;
        const std::uint8_t *QEL_ROUTE_INFO_S::*data;
        std::uint32_t QEL_ROUTE_INFO_S::*length;
    };

    void add(Kind kind, Octets octets, bool odd)
    {
        using Info = QEL_ROUTE_INFO_S;
        switch (kind) {
        case parsed_nlri:
            return take(14, octets);
        case parsed_communities:
            return take(16, octets);
        case parsed_tunnel:
            return take(22, octets);
        case parsed_ipv6_communities:
            return take(25, octets);
        case parsed_prefix_sid:
            return take(40, octets);
        case parsed_msid:
            return take(66, octets);
        case held_rd:
            // Eight octets are there whatever length the host tells.
            hold(padded(octets, std::max<std::size_t>(octets.size(), sizeof(QEL_RD_VALUE_S))), odd, QEL_SECTION_RD,
                 &Info::pucRd, &Info::uiRdLen);
            held_.back().told_length = static_cast<std::uint32_t>(octets.size());
            return;
        case held_key:
            return hold(padded(octets, sizeof(QEL_NGMVPN_KEY_S)), odd, QEL_SECTION_KEY, &Info::pucKey, &Info::uiKeyLen);
        case held_non_key:
            return hold(padded(octets, sizeof(QEL_NGMVPN_NONKEY_S)), odd, QEL_SECTION_NONKEY, &Info::pucNonKey,
                        &Info::uiNonKeyLen);
        case held_communities:
            return hold(octets, odd, QEL_SECTION_ATTR, &Info::pucExtComm, &Info::uiExtCommLen);
        case held_tunnel:
            return hold(padded(octets, tunnel_length(octets)), odd, QEL_SECTION_ATTR, &Info::pucPmsi, &Info::uiPmsiLen);
        case held_ipv6_communities:
            return hold(octets, odd, QEL_SECTION_ATTR, &Info::pucIpv6ExtComm, &Info::uiIpv6ExtCommLen);
        case held_prefix_sid:
            return hold(padded(octets, sizeof(QEL_NGMVPN_PFXSID_S)), odd, QEL_SECTION_ATTR, &Info::pucPfxSid,
                        &Info::uiPfxSidLen);
        case held_msid:
            return hold(padded(octets, sizeof(QEL_NGMVPN_MSID_S)), odd, QEL_SECTION_ATTR, &Info::pucMsid,
                        &Info::uiMsidLen);
        case configured_rd:
            return configure_rd(octets);
        case configured_key:
            return configure_key(octets);
        case rd_flags:
            rd_flags_ = word_at(padded(octets, 4), 0);
            return;
        case place:
            place_ = word_at(padded(octets, 4), 0);
            return;
        case kinds:
            return;
        }
    }

    void take(std::uint32_t attribute_type, Octets octets)
    {
        const ExactCopy copy(octets);
        parsed_.add(parse(instance(), attribute_type, copy.octets()).block);
    }

    void hold(Octets octets, bool odd, std::uint32_t mask, const std::uint8_t *QEL_ROUTE_INFO_S::*data,
              std::uint32_t QEL_ROUTE_INFO_S::*length)
    {
        held_.push_back({Section(octets, odd), static_cast<std::uint32_t>(octets.size()), mask, data, length});
    }

    void configure_rd(Octets octets);
    void configure_key(Octets octets);

    host::Route parsed_;
    std::vector<Held> held_;
    std::uint32_t rd_flags_ = 0;
    std::uint32_t place_ = 0;
    QEL_ROUTE_INFO_S info_{};
};

// ---- configuration records in ----

struct Configured {
    std::uint32_t code = 0;
    host::BlockPtr block;
    bool reported = false;
};

constexpr std::uint32_t kCfgRd = 1;
constexpr std::uint32_t kCfgKey = 2;

Configured configure(std::uint32_t type, Octets record)
{
    // What a trusted sender keeps readable behind the record, and not an octet more.
    Bytes readable(record.begin(), record.end());
    readable.resize(record.size() + QEL_MSG_READ_SLACK, 0x20);
    const ExactCopy copy(readable);
    const std::uint64_t assertions = platform::assert_count();
    const platform::HandleUsage before = platform::usage(kMemHandle);
    QEL_ROUTE_BLOCK_S *block = nullptr;
    Configured result;
    result.code = instance().desc().pfParseCfg(copy.octets().data(), static_cast<std::uint32_t>(record.size()), type,
                                               &block, instance().ctx());
    result.block.reset(block);
    result.reported = platform::assert_count() != assertions;
    require(equal(copy.octets(), readable), "a record is only read");
    const std::uint64_t kept = block != nullptr ? 1 : 0;
    require(platform::usage(kMemHandle).live_blocks == before.live_blocks + kept, "the block alone stays allocated");
    if (block != nullptr) {
        const platform::FailAllocation no_memory(0);
        QEL_ROUTE_BLOCK_S *none = nullptr;
        require(instance().desc().pfParseCfg(copy.octets().data(), static_cast<std::uint32_t>(record.size()), type,
                                             &none, instance().ctx()) == QEL_ERR_ALLOC &&
                    no_memory.fired() && none == nullptr,
                "no block without memory");
    }
    return result;
}

Octets section_of(const QEL_ROUTE_BLOCK_S &block, std::uint16_t offset, std::uint16_t length)
{
    return {reinterpret_cast<const std::uint8_t *>(&block) + offset, length};
}

void FuzzedRoute::configure_rd(Octets octets)
{
    Configured result = configure(kCfgRd, octets);
    if (octets.size() != QEL_NGMVPN_CFG_RD_LEN) {
        require(result.code == QEL_ERR_NULL && result.reported && result.block == nullptr, "no other length is an RD");
        return;
    }
    if (word_at(octets, 0) != 0) {
        require(result.code == QEL_ERR_CFG_RD && !result.reported && result.block == nullptr, "the first word is 0");
        return;
    }
    require(result.code == QEL_OK && !result.reported && result.block != nullptr, "an RD");
    QEL_ROUTE_BLOCK_S header{};
    header.uiValidMask = QEL_SECTION_RD;
    header.usRdOffset = sizeof(header);
    header.usRdLen = sizeof(QEL_RD_VALUE_S);
    require(equal(bytes_of(*result.block), bytes_of(header)), "the header of an RD's block");
    require(equal(section_of(*result.block, header.usRdOffset, header.usRdLen),
                  octets.subspan(QEL_NGMVPN_CFG_RD_AT, sizeof(QEL_RD_VALUE_S))),
            "the RD as it stands");
    parsed_.add(std::move(result.block));
}

// The key type of a record by its first two words, 0 for a record without a key.
std::uint32_t configured_type(std::uint32_t first, std::uint32_t second)
{
    switch (first) {
    case 1:
    case 2:
    case 3:
        return first;
    case 4:
    case 8:
    case 9:
    case 10:
        return second == 4 ? 0 : second == 13 ? 4 : 5;
    case 5:
    case 6:
    case 7:
        return first + 1;
    default:
        return 0;
    }
}

// A key that configuration gave comes back from the record that it is written to.
void check_configured_key_again(const QEL_NGMVPN_KEY_S &key)
{
    if (key.uiKeyType == QEL_NGMVPN_KEY_INTRA_IPMSI_AD && key.uKey.stIntraIpmsiAd.ucOrigAddrLen == 0) {
        return; // the one key that writes nothing
    }
    static constexpr std::array<std::uint32_t, 9> first_words{0, 1, 2, 3, 4, 4, 5, 6, 7};
    QEL_ROUTE_INFO_S info{};
    info.pucKey = reinterpret_cast<const std::uint8_t *>(&key);
    info.uiKeyLen = sizeof(key);
    Bytes record(sizeof(std::uint32_t) + QEL_NGMVPN_CFG_KEY_LEN);
    record[0] = static_cast<std::uint8_t>(first_words[key.uiKeyType]);
    std::uint8_t *cursor = record.data() + sizeof(std::uint32_t);
    std::uint32_t index = 0;
    std::uint32_t more = 0;
    require(instance().desc().pfFormatCfg(&info, kCfgKey, &cursor, QEL_NGMVPN_CFG_KEY_LEN, &index, &more) == QEL_OK,
            "a configured key can be written");
    const Configured again = configure(kCfgKey, record);
    require(again.code == QEL_OK && again.block != nullptr &&
                equal(section_of(*again.block, again.block->usKeyOffset, again.block->usKeyLen), bytes_of(key)),
            "a configured key comes back");
}

void FuzzedRoute::configure_key(Octets octets)
{
    Configured result = configure(kCfgKey, octets);
    require(result.code == QEL_OK, "every record of a key is success");
    Bytes words(octets.begin(), octets.end());
    words.resize(octets.size() + 8, 0x20);
    const std::uint32_t first = word_at(words, 0);
    const std::uint32_t type = configured_type(first, word_at(words, 4));
    require((result.block != nullptr) == (type != 0), "a block for a record with a key");
    if (first < 1 || first > 10) {
        require(result.reported, "a record of no route is reported");
    }
    if (result.block == nullptr) {
        return;
    }
    QEL_ROUTE_BLOCK_S header{};
    header.uiValidMask = QEL_SECTION_KEY;
    header.usKeyOffset = sizeof(header);
    header.usKeyLen = sizeof(QEL_NGMVPN_KEY_S);
    require(equal(bytes_of(*result.block), bytes_of(header)), "the header of a key's block");
    QEL_NGMVPN_KEY_S key;
    std::memcpy(&key, section_of(*result.block, header.usKeyOffset, header.usKeyLen).data(), sizeof(key));
    require(key.uiKeyType == type && key.ucRdKind == QEL_NGMVPN_RD_KIND_CFG, "the key of the record's route");
    check_configured_key_again(key);
    parsed_.add(std::move(result.block));
}

// ---- texts out ----

constexpr std::uint32_t kIndexBefore = 0x01020304;

struct Call {
    std::uint32_t code = 0;
    std::uint32_t index = 0;
    std::uint32_t more = kUnwritten;
};

using Door = std::function<Call(char *out, std::uint32_t room, std::uint32_t index)>;

Door display(const QEL_ROUTE_INFO_S &info, std::uint32_t type)
{
    return [&info, type](char *out, std::uint32_t room, std::uint32_t index) {
        Call call{.index = index};
        call.code = instance().desc().pfData2Str(&info, type, out, room, &call.index, &call.more, instance().ctx());
        return call;
    };
}

Door configuration(const QEL_ROUTE_INFO_S &info, std::uint32_t type)
{
    return [&info, type](char *out, std::uint32_t room, std::uint32_t index) {
        Call call{.index = index};
        auto *const start = reinterpret_cast<std::uint8_t *>(out);
        std::uint8_t *cursor = start;
        call.code = instance().desc().pfFormatCfg(&info, type, &cursor, room, &call.index, &call.more);
        require(cursor == start, "a text leaves the pointer");
        return call;
    };
}

struct Text {
    Call call;
    std::string text;
    bool written = false;
};

constexpr std::size_t kAmple = 1024;

// What a door says in a room that no text fills.
Text ample(const Door &door, std::uint32_t index)
{
    std::string out(kAmple, static_cast<char>(kFill));
    Text result{.call = door(out.data(), kAmple, index), .text = {}};
    const std::size_t end = out.find('\0');
    result.written = end != std::string::npos;
    require(std::all_of(out.begin() + static_cast<std::ptrdiff_t>(result.written ? end + 1 : 0), out.end(),
                        [](char c) { return c == static_cast<char>(kFill); }),
            "nothing behind the text's end");
    if (result.written) {
        result.text = out.substr(0, end);
        require(std::all_of(result.text.begin(), result.text.end(), [](char c) { return c >= ' ' && c <= '~'; }),
                "a text can be printed");
    }
    return result;
}

// A room of exactly the given octets, `behind` of them not told of.
struct Exact {
    Exact(const Door &door, std::size_t room, std::size_t behind, std::uint32_t index)
        : out(room + behind, static_cast<char>(kFill))
    {
        const std::unique_ptr<char[]> heap(new char[out.size()]);
        std::copy(out.begin(), out.end(), heap.get());
        call = door(heap.get(), static_cast<std::uint32_t>(room), index);
        out.assign(heap.get(), heap.get() + out.size());
    }

    bool untouched() const
    {
        return std::all_of(out.begin(), out.end(), [](char c) { return c == static_cast<char>(kFill); });
    }
    bool says(std::string_view text) const
    {
        return out.size() > text.size() && std::string_view(out).substr(0, text.size()) == text &&
               out[text.size()] == '\0' &&
               std::all_of(out.begin() + static_cast<std::ptrdiff_t>(text.size()) + 1, out.end(),
                           [](char c) { return c == static_cast<char>(kFill); });
    }
    bool ended(std::uint32_t index, std::uint32_t more) const { return call.index == index && call.more == more; }

    Call call;
    std::string out;
};

// Texts with a NUL inside their room: refused, and the caller left where he is, when they do not fit.
void check_rooms(const Door &door, const Text &whole, std::uint32_t index, bool more_cleared_first)
{
    for (std::size_t room = 0; room <= whole.text.size() + 1; ++room) {
        const Exact exact(door, room, 0, index);
        if (room <= whole.text.size()) {
            require(exact.call.code == QEL_ERR_SPACE && exact.untouched(), "a text that does not fit is not written");
            require(exact.ended(index, more_cleared_first ? 0 : kUnwritten), "the caller stays at his place");
        } else {
            require(exact.call.code == QEL_OK && exact.says(whole.text), "a text that fits with its NUL");
            require(exact.ended(whole.call.index, whole.call.more), "the place behind the text");
        }
    }
}

void check_one(const Door &door, std::string_view begins)
{
    const Text whole = ample(door, kIndexBefore);
    require(whole.call.code == QEL_OK && whole.written && whole.text.starts_with(begins), "a text of this kind");
    require(whole.call.index == 0 && whole.call.more == 0, "one text and no more");
    check_rooms(door, whole, kIndexBefore, false);
}

void check_nothing(const Door &door, std::uint32_t code)
{
    const Exact exact(door, 0, 0, kIndexBefore);
    require(exact.call.code == code && exact.ended(kIndexBefore, kUnwritten), "nothing to show");
    const Text whole = ample(door, kIndexBefore);
    require(whole.call.code == code && !whole.written && whole.call.index == kIndexBefore,
            "nothing to show in any room");
}

bool key_type_known(const QEL_ROUTE_INFO_S &info)
{
    const std::uint32_t type = word_at({info.pucKey, info.uiKeyLen}, 0);
    return type >= 1 && type <= 8;
}

void check_route_text(const QEL_ROUTE_INFO_S &info)
{
    const Door door = display(info, 1);
    if (info.pucRd == nullptr || info.pucKey == nullptr) {
        check_nothing(door, QEL_ERR_ABSENT);
    } else if (!key_type_known(info)) {
        check_nothing(door, QEL_ERR_FAILED);
    } else {
        check_one(door, "Route Type: ");
    }
}

void check_non_key_text(const QEL_ROUTE_INFO_S &info)
{
    const Door door = display(info, 8);
    if (info.pucNonKey == nullptr) {
        return check_nothing(door, QEL_ERR_NULL);
    }
    QEL_NGMVPN_NONKEY_S non_key;
    std::memcpy(&non_key, info.pucNonKey, sizeof(non_key));
    if ((non_key.usFlags & QEL_NGMVPN_NONKEY_TYPE) == 0) {
        return check_nothing(door, QEL_ERR_MEMORY);
    }
    const std::string text = "Route Type: " + std::to_string(non_key.uiKeyType);
    for (std::size_t room = 0; room <= text.size() + 2; ++room) {
        const std::uint64_t assertions = platform::assert_count();
        const Exact exact(door, room, 0, kIndexBefore);
        require(exact.call.code == QEL_OK && exact.ended(0, 0), "the room is not tested");
        const bool fits = room > text.size();
        require(fits ? exact.says(text) : exact.untouched(), "a text that does not fit is not shown");
        require(platform::assert_count() - assertions == (fits ? 0U : 1U), "and reported");
    }
}

// ---- texts of lists ----

constexpr std::size_t kRoomsChecked = 4; // elements that are shown in every room

// Shows a list as a caller does, through both doors.
void check_list(const Door &shown, const Door &configured, bool present, std::uint32_t count, std::uint32_t first,
                bool more_cleared_first)
{
    std::uint32_t index = first;
    for (std::size_t step = 0;; ++step) {
        const Text a = ample(shown, index);
        const Text b = ample(configured, index);
        require(a.call.code == QEL_OK && b.call.code == QEL_OK, "every element can be shown");
        require(a.text == b.text && a.written == b.written && a.call.index == b.call.index &&
                    a.call.more == b.call.more,
                "both doors say the same");
        if (!present || index >= count) {
            require(!a.written && a.call.index == index && a.call.more == 0, "nothing behind the list's end");
            return;
        }
        require(a.written && a.call.index == index + 1 && a.call.more == (count > index + 1 ? 1U : 0U),
                "one element and the next place");
        if (step < kRoomsChecked) {
            check_rooms(shown, a, index, more_cleared_first);
            check_rooms(configured, b, index, more_cleared_first);
        }
        ++index;
    }
}

// A community's text, said a second time: a label by its low octet, a value by its high one.
std::string community_text(Octets community, bool as4_plain)
{
    const auto half_at = [&](std::size_t at) { return community[at] + community[at + 1] * 256U; };
    std::string text;
    switch (community[0]) {
    case 2:
        text = "RT";
        break;
    case 9:
        text = "Source AS";
        break;
    case 10:
    case 11:
        text = "Import RT";
        break;
    case 18:
        text = "Segmented Next-Hop";
        break;
    default:
        break;
    }
    switch (community[1]) {
    case 0:
        return text + fmt::format(" <{} : {}>", half_at(2), word_at(community, 4));
    case 1:
        return text +
               fmt::format(" <{}.{}.{}.{} : {}>", community[5], community[4], community[3], community[2], half_at(6));
    case 2:
        if (as4_plain && half_at(4) != 0) {
            return text + fmt::format(" <{} : {}>", word_at(community, 2), half_at(6));
        }
        return text + fmt::format(" <{}.{} : {}>", half_at(4), half_at(2), half_at(6));
    default:
        return text;
    }
}

void check_community_texts(const QEL_ROUTE_INFO_S &info)
{
    const Octets list(info.pucExtComm, info.pucExtComm != nullptr ? info.uiExtCommLen : 0);
    for (std::uint32_t index = 0; index < list.size() / 8; ++index) {
        require(ample(display(info, 2), index).text ==
                    community_text(list.subspan(index * 8, 8), (info.uiRdFlags & 1) != 0),
                "the text that a community calls for");
    }
}

void check_lists(const QEL_ROUTE_INFO_S &info, std::uint32_t place)
{
    check_community_texts(info);
    for (const std::uint32_t first : {std::uint32_t{0}, place}) {
        check_list(display(info, 2), configuration(info, 4), info.pucExtComm != nullptr, info.uiExtCommLen / 8, first,
                   false);
        check_list(display(info, 256), configuration(info, 64), info.pucIpv6ExtComm != nullptr,
                   info.uiIpv6ExtCommLen / 20, first, true);
    }
}

// ---- texts of tunnels ----

struct TunnelForm {
    bool shown = false;
    bool bier_prefix = false; // a BIER tunnel with a prefix that has a text
};

TunnelForm tunnel_form(const QEL_ROUTE_INFO_S &info)
{
    const Octets record(info.pucPmsi, info.uiPmsiLen);
    const bool bier = record[1] == QEL_NGMVPN_TNL_BIER;
    return {.shown = record[1] == QEL_NGMVPN_TNL_RSVP_TE_P2MP || record[1] == QEL_NGMVPN_TNL_MLDP_P2MP || bier,
            .bier_prefix = bier && (record[9] == 4 || record[9] == 16)};
}

// Cut where it does not fit, but for a BIER text, which is refused; in a room for the NUL alone nothing is left of it
// to refuse.
void check_tunnel_rooms(const Door &door, const Text &whole, const TunnelForm &form)
{
    for (std::size_t room = 0; room <= whole.text.size() + 1; ++room) {
        const Exact exact(door, room, 0, kIndexBefore);
        const bool refused = room == 0 || (form.bier_prefix && room > 1 && room <= whole.text.size());
        if (refused) {
            require(exact.call.code == QEL_ERR_SPACE && exact.untouched() && exact.ended(kIndexBefore, kUnwritten),
                    "a tunnel that is refused is not written");
        } else {
            require(exact.call.code == QEL_OK && exact.says(std::string_view(whole.text).substr(0, room - 1)) &&
                        exact.ended(0, 0),
                    "a tunnel as far as the room goes");
        }
    }
}

void check_tunnel_text(const QEL_ROUTE_INFO_S &info)
{
    const Door shown = display(info, 4);
    const Door configured = configuration(info, 8);
    if (info.pucPmsi == nullptr) {
        check_nothing(shown, QEL_OK);
        return check_nothing(configured, QEL_OK);
    }
    const TunnelForm form = tunnel_form(info);
    if (!form.shown) {
        check_nothing(shown, QEL_ERR_SPACE);
        const Text empty = ample(configured, kIndexBefore);
        require(empty.call.code == QEL_OK && empty.written && empty.text.empty() && empty.call.index == 0 &&
                    empty.call.more == 0,
                "a tunnel without a text is an empty text for configuration");
        return check_rooms(configured, empty, kIndexBefore, false);
    }
    check_one(configured, "PMSI: Flags 0x");
    const Text whole = ample(shown, kIndexBefore);
    require(whole.call.code == QEL_OK && whole.text == ample(configured, kIndexBefore).text, "both doors say the same");
    check_tunnel_rooms(shown, whole, form);
}

// ---- texts of SIDs ----

// The room does not count the NUL, and the output is emptied first.
void check_sid_text(const Door &shown, const Door &configured, bool present)
{
    const Text whole = ample(shown, kIndexBefore);
    require(whole.call.code == QEL_OK && whole.written && whole.call.index == 0 && whole.call.more == 0,
            "a SID's text");
    require(whole.text.empty() == !present, "a text for what is there");
    for (std::size_t room = 0; room <= whole.text.size() + 1; ++room) {
        for (const Door *door : {&shown, &configured}) {
            const Exact exact(*door, room, 1, kIndexBefore);
            const bool fits = room >= whole.text.size();
            require(exact.call.code == (fits ? QEL_OK : QEL_ERR_SPACE) && exact.ended(0, 0), "room for the text alone");
            require(exact.says(fits ? whole.text : std::string()), "the text, or an empty one");
        }
    }
}

void check_sid_texts(const QEL_ROUTE_INFO_S &info)
{
    bool behavior_shown = false;
    if (info.pucPfxSid != nullptr) {
        const unsigned behavior = info.pucPfxSid[0] + info.pucPfxSid[1] * 256U;
        behavior_shown = behavior == QEL_NGMVPN_BEHAVIOR_SRC_DT4 || behavior == QEL_NGMVPN_BEHAVIOR_SRC_DT6;
    }
    check_sid_text(display(info, 512), configuration(info, 128), behavior_shown);
    check_sid_text(display(info, 1024), configuration(info, 256), info.pucMsid != nullptr);
}

// ---- configuration records out ----

struct Record {
    std::uint32_t code = 0;
    std::size_t advance = 0;
    std::uint32_t index = kIndexBefore;
    std::uint32_t more = kUnwritten;
    Bytes octets;
};

Record record(const QEL_ROUTE_INFO_S &info, std::uint32_t type, std::size_t room)
{
    const Bytes before(room, kFill);
    const std::unique_ptr<std::uint8_t[]> heap(new std::uint8_t[room]);
    std::copy(before.begin(), before.end(), heap.get());
    std::uint8_t *cursor = heap.get();
    Record result;
    result.code = instance().desc().pfFormatCfg(&info, type, &cursor, static_cast<std::uint32_t>(room), &result.index,
                                                &result.more);
    result.advance = static_cast<std::size_t>(cursor - heap.get());
    result.octets.assign(heap.get(), heap.get() + room);
    if (result.code != QEL_OK) {
        require(result.advance == 0 && result.index == kIndexBefore && result.more == kUnwritten &&
                    result.octets == before,
                "a refused record leaves everything alone");
    } else {
        require(result.index == 0 && result.more == 0, "one record and no more");
    }
    return result;
}

void check_record(const QEL_ROUTE_INFO_S &info, std::uint32_t type, bool present, std::size_t size, bool writable)
{
    const std::uint32_t refusal = present ? QEL_ERR_SPACE : QEL_ERR_NULL;
    require(record(info, type, 0).code == QEL_ERR_NULL, "a record needs a room");
    for (const std::size_t room : {std::size_t{1}, size / 2, size - 1}) {
        require(record(info, type, room).code == refusal, "no room below the record");
    }
    for (const std::size_t room : {size, size + 5}) {
        const Record written = record(info, type, room);
        if (!present || !writable) {
            require(written.code == (present ? QEL_ERR_FAILED : QEL_ERR_NULL), "no record of this route");
            continue;
        }
        require(written.code == QEL_OK && written.advance == size, "a record of its size");
        require(std::all_of(written.octets.begin() + static_cast<std::ptrdiff_t>(size), written.octets.end(),
                            [](std::uint8_t octet) { return octet == kFill; }),
                "nothing behind the record");
    }
}

void check_rd_record(const QEL_ROUTE_INFO_S &info)
{
    check_record(info, kCfgRd, info.pucRd != nullptr, QEL_NGMVPN_CFG_RD_LEN, true);
    if (info.pucRd == nullptr) {
        return;
    }
    Bytes rd(sizeof(QEL_RD_VALUE_S));
    QEL_NGMVPN_KEY_S key{};
    if (info.pucKey != nullptr) {
        std::memcpy(&key, info.pucKey, sizeof(key));
    }
    if (key.ucRdKind == QEL_NGMVPN_RD_KIND_KEY) {
        const Octets from = bytes_of(key.stRd);
        rd.assign(from.begin(), from.end());
    } else if (info.uiRdLen <= rd.size()) {
        std::copy(info.pucRd, info.pucRd + info.uiRdLen, rd.begin());
    }
    const std::uint8_t form = (rd[0] | rd[1]) == 0 ? 1 : (info.uiRdFlags & 1) != 0 ? 2 : 3;
    Bytes expected(QEL_NGMVPN_CFG_RD_LEN);
    std::copy(rd.begin(), rd.end(), expected.begin() + QEL_NGMVPN_CFG_RD_AT);
    expected[QEL_NGMVPN_CFG_RD_AT + sizeof(QEL_RD_VALUE_S)] = form;
    require(record(info, kCfgRd, QEL_NGMVPN_CFG_RD_LEN).octets == expected, "the RD and its form");
}

void check_records(const QEL_ROUTE_INFO_S &info)
{
    check_rd_record(info);
    check_record(info, kCfgKey, info.pucKey != nullptr, QEL_NGMVPN_CFG_KEY_LEN,
                 info.pucKey != nullptr && key_type_known(info));
}

void check_unknown(const QEL_ROUTE_INFO_S &info, std::uint32_t type)
{
    const auto has_single_bit_of = [type](std::uint32_t known) {
        return (type & (type - 1)) == 0 && (type & known) != 0;
    };
    if (!has_single_bit_of(0x70f)) {
        check_nothing(display(info, type), QEL_ERR_NO_DATA2STR);
    }
    if (!has_single_bit_of(0x1cf)) {
        check_nothing(configuration(info, type), QEL_ERR_NO_ENTRY);
    }
}

void run(Octets input)
{
    const QEL_FAMILY_CTX_S &context = *instance().ctx();
    const platform::HandleUsage before = platform::usage(kMemHandle);
    {
        const FuzzedRoute route(input);
        const platform::HandleUsage built = platform::usage(kMemHandle);
        check_route_text(route.info());
        check_non_key_text(route.info());
        check_lists(route.info(), route.first_place());
        check_tunnel_text(route.info());
        check_sid_texts(route.info());
        check_records(route.info());
        check_unknown(route.info(), route.first_place());
        require(platform::usage(kMemHandle).allocations == built.allocations, "showing a route takes no heap");
        require(context.uiInlineBufUsed == 0, "the inline buffer is back");
    }
    require(platform::usage(kMemHandle).live_blocks == before.live_blocks, "nothing stays allocated");
}

} // namespace
} // namespace qel::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    qel::fuzz::run({data, size});
    return 0;
}
