// What the NG-MVPN family hands to the policy engine and what it makes of the engine's actions, said a second time and
// without the library's records, for the library to be held against: codes, octets, log lines, and the outcome when any
// one allocation fails.
#pragma once

#include "import_policy_common.h"

#include "qel_codes.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace qel::fuzz {

// The memory of one call: the inline buffer, lent once at a time, and the heap, whose allocation `fails` is refused.
class Memory {
public:
    explicit Memory(std::size_t fails) : fails_(fails) {}

    bool heap() { return allocations_++ != fails_; }

    class Scratch {
    public:
        explicit Scratch(Memory &memory) : memory_(memory) {}
        bool take(std::size_t size)
        {
            inline_ = size <= 256 && !memory_.inline_lent_;
            memory_.inline_lent_ = memory_.inline_lent_ || inline_;
            return inline_ || memory_.heap();
        }
        void give_back()
        {
            if (inline_) {
                memory_.inline_lent_ = false;
            }
            inline_ = false;
        }

    private:
        Memory &memory_;
        bool inline_ = false;
    };

    std::size_t allocations() const { return allocations_; }

private:
    std::size_t fails_;
    std::size_t allocations_ = 0;
    bool inline_lent_ = false;
};

// A list of 8-octet elements between host and wire order; a rest behind the last whole one stays.
inline Bytes list_turned(Octets list, bool from_wire)
{
    Bytes out(list.begin(), list.end());
    for (std::size_t at = 0; at + 8 <= list.size(); at += 8) {
        const Octets element = list.subspan(at, 8);
        const std::uint32_t type =
            from_wire ? static_cast<std::uint32_t>(element[0] << 8 | element[1]) : little16(element);
        const std::ptrdiff_t first = one_of(type, {0x0002, 0x0009}) ? 2 : 4;
        const auto start = out.begin() + static_cast<std::ptrdiff_t>(at);
        std::reverse(start, start + 2);
        std::reverse(start + 2, start + 2 + first);
        std::reverse(start + 2 + first, start + 8);
    }
    return out;
}

// ---- match buffer ----

// A route as far as the policy engine is told of it.
struct PolicyRoute {
    std::optional<Bytes> rd{};   // 8 octets
    std::optional<Bytes> key{};  // 104 octets
    std::optional<Bytes> list{}; // host order
};

struct MatchVerdict {
    std::uint32_t code = QEL_OK;
    std::uint64_t asserts = 0;
    std::vector<std::string> log{};
    bool stored = false; // whether the outputs are
    std::size_t length = 0;
    Bytes written{}; // the first octets; what is behind them is the allocator's
    std::size_t allocations = 0;
};

class MatchModel {
public:
    MatchModel(const PolicyRoute &route, std::uint32_t mask, std::size_t fails)
        : route_(route), mask_(mask), memory_(fails)
    {
    }

    MatchVerdict judge()
    {
        MatchVerdict verdict = build();
        verdict.log = std::move(log_);
        verdict.asserts += asserts_;
        verdict.allocations = memory_.allocations();
        return verdict;
    }

private:
    static constexpr std::uint32_t kList = 0x4;
    static constexpr std::uint32_t kType = 0x100;
    static constexpr std::uint32_t kRdBit = 0x800;
    static constexpr std::uint32_t kAgain = 0x100000;
    static constexpr std::uint32_t kOriginator = 0x200000;

    bool asks(std::uint32_t bit) const { return (mask_ & bit) != 0; }
    std::uint32_t key_type() const
    {
        const Bytes &key = *route_.key;
        return little16(key) | little16(Octets(key).subspan(2)) << 16;
    }
    bool pmsi() const { return key_type() == 1 || key_type() == 3; }
    bool asks_pmsi(std::uint32_t bit) const { return asks(bit) && pmsi(); }

    MatchVerdict build()
    {
        if (mask_ == 0) {
            return {.code = QEL_ERR_NULL, .asserts = 1};
        }
        if (!route_.key) {
            return {.asserts = 1};
        }
        if ((asks(kList) || asks_pmsi(kAgain)) && !route_.list) {
            return {};
        }
        const std::size_t list_size = route_.list ? route_.list->size() + 4 : 0;
        length_ = (asks(kRdBit) ? 12U : 0U) + (asks(kList) ? list_size : 0) + (asks_pmsi(kAgain) ? list_size : 0) +
                  (asks_pmsi(kType) ? 5U : 0U) + (asks_pmsi(kOriginator) ? 8U : 0U);
        if (length_ == 0) {
            return {};
        }
        if (!memory_.heap()) {
            return {.code = QEL_ERR_MEMORY, .asserts = 1};
        }
        if (!write()) {
            return {.code = QEL_ERR_FAILED, .stored = true};
        }
        return {.stored = true, .length = length_, .written = std::move(out_)};
    }

    bool write()
    {
        if (asks(kRdBit)) {
            if (!route_.rd) {
                return false;
            }
            tlv(13, *route_.rd);
        }
        if (asks(kList) && !write_list()) {
            return false;
        }
        if (asks_pmsi(kAgain)) {
            log_.push_back("ConstructMatchSnhExtCommunity type(" + std::to_string(key_type()) + ")");
            if (!write_list()) {
                return false;
            }
        }
        if (asks_pmsi(kType)) {
            tlv(38, Bytes{static_cast<std::uint8_t>(key_type())});
            log_.push_back("ConstructMatchMvpnType type(" + std::to_string(key_type()) + ")");
        }
        if (asks_pmsi(kOriginator)) {
            write_originator();
        }
        return true;
    }

    bool write_list()
    {
        const std::size_t size = route_.list->size() & 0xffff;
        if (!memory_.heap()) {
            // The header stands there already, in a buffer that nobody sees.
            ++asserts_;
            return false;
        }
        tlv(11, list_turned(Octets(*route_.list).first(size), false));
        if (size == 0) { // a copy of nothing into nothing is reported, there and back
            asserts_ += length_ == out_.size() ? 2U : 1U;
        }
        return true;
    }

    void write_originator()
    {
        const std::size_t at = key_type() == 1 ? 8 : 48;
        const Octets key(*route_.key);
        if (key[at] != 32) {
            return;
        }
        const Octets held = key.subspan(at + 4, 4);
        tlv(39, turned(held, {4}));
        const std::uint32_t word = little16(held) | little16(held.subspan(2)) << 16;
        log_.push_back("ConstructMatchOrigiIp type " + std::to_string(key_type()) + " origiIp(" +
                       std::to_string(static_cast<std::int32_t>(word)) + ")");
    }

    void tlv(std::uint8_t type, const Bytes &value)
    {
        const std::size_t size = value.size();
        for (const std::size_t octet : {std::size_t{0}, std::size_t{type}, size >> 8, size}) {
            out_.push_back(static_cast<std::uint8_t>(octet));
        }
        out_.insert(out_.end(), value.begin(), value.end());
    }

    const PolicyRoute &route_;
    std::uint32_t mask_;
    Memory memory_;
    std::uint64_t asserts_ = 0;
    std::size_t length_ = 0;
    Bytes out_;
    std::vector<std::string> log_;
};

// ---- prefix entry ----

constexpr std::size_t kEntrySize = 52;

// What the entry holds behind the call, of a route with a key.
inline Bytes entry_of(Octets key, Bytes entry)
{
    const auto put32 = [&](std::size_t at, std::uint8_t value) {
        std::fill_n(entry.begin() + static_cast<std::ptrdiff_t>(at), 4, std::uint8_t{0});
        entry[at] = value;
    };
    if (little16(key) != 1 || little16(key.subspan(2)) != 0) {
        entry[2] |= 0x8;
        return entry;
    }
    const bool ipv4 = key[8] == 32;
    put32(12, ipv4 ? 0 : 1);
    put32(48, ipv4 ? 32 : 128);
    std::copy_n(key.begin() + 12, ipv4 ? 4 : 16, entry.begin() + 16);
    return entry;
}

// ---- actions ----

constexpr std::uint32_t kReplace = 6;
constexpr std::uint32_t kAdd = 7;
constexpr std::uint32_t kDelete = 87;

enum class Outcome : std::uint8_t { untouched, null, no_value, list };

struct ActionVerdict {
    std::uint32_t code = QEL_OK;
    Outcome outcome = Outcome::untouched;
    std::uint64_t asserts = 0;
    Bytes list{}; // host order
    std::vector<std::string> log{};
    std::size_t allocations = 0;
};

class ActionModel {
public:
    ActionModel(Octets list, std::uint32_t action, std::size_t fails) : list_(list), action_(action), memory_(fails) {}

    ActionVerdict judge(Octets value)
    {
        log_ = {"QEL_NGMVPN_ApplyExtCommunity, action input", "QEL_NGMVPN_ApplyExtCommunity, origi ext"};
        ActionVerdict verdict = apply(value);
        verdict.log = std::move(log_);
        verdict.allocations = memory_.allocations();
        return verdict;
    }

private:
    static ActionVerdict lost(std::uint32_t code) { return {.code = code, .asserts = 1}; }

    std::size_t elements() const { return list_.size() / 8 & 0xffff; }

    Bytes without_targets() const
    {
        Bytes kept;
        for (std::size_t i = 0; i < elements(); ++i) {
            const Octets element = list_.subspan(i * 8, 8);
            if (element[0] != 2) {
                kept.insert(kept.end(), element.begin(), element.end());
            }
        }
        return kept;
    }

    ActionVerdict apply(Octets value)
    {
        Memory::Scratch host(memory_);
        if (!value.empty() && !host.take(value.size())) {
            return lost(QEL_ERR_MEMORY);
        }
        if (action_ == kAdd) {
            if (value.empty()) {
                return lost(QEL_ERR_NULL);
            }
            const Octets whole = list_.first(elements() * 8 & 0xffff);
            return join(Bytes(whole.begin(), whole.end()), value, elements(), host, nullptr);
        }
        if (action_ == kDelete) {
            host.give_back();
            return replace({}, host);
        }
        if (action_ == kReplace) {
            return replace(value, host);
        }
        return {.outcome = Outcome::null};
    }

    ActionVerdict replace(Octets value, Memory::Scratch &host)
    {
        Memory::Scratch temp(memory_);
        if (elements() != 0 && !temp.take(list_.size())) {
            return lost(QEL_ERR_MEMORY);
        }
        Bytes kept = without_targets();
        kept.resize(kept.size() & 0xffff);
        if (kept.empty() && value.empty()) {
            if (!memory_.heap()) {
                return {.code = QEL_ERR_ALLOC, .outcome = Outcome::null, .asserts = 1};
            }
            return {.outcome = Outcome::no_value};
        }
        const std::size_t count = kept.size() / 8;
        return join(std::move(kept), value, count, host, &temp);
    }

    // What stays and behind it the action's elements, sorted and each once.
    ActionVerdict join(Bytes joined, Octets value, std::size_t count, Memory::Scratch &host, Memory::Scratch *temp)
    {
        const std::size_t staying = joined.size();
        joined.insert(joined.end(), value.begin(), value.end());
        joined.resize(std::max<std::size_t>(joined.size(), 8));
        Memory::Scratch apply(memory_);
        if (!apply.take(joined.size())) {
            return lost(QEL_ERR_MEMORY);
        }
        if (temp != nullptr) {
            temp->give_back();
        }
        host.give_back();
        Memory::Scratch exchange(memory_);
        if (!exchange.take(8)) {
            return lost(QEL_ERR_ALLOC);
        }
        exchange.give_back();
        count = (count + value.size() / 8) & 0xffff;
        log_.emplace_back("QEL_NGMVPN_ApplyExtCommunity, outPut ext");
        if (!memory_.heap()) {
            return lost(QEL_ERR_ALLOC);
        }
        // Those behind the count do not matter; a lone rest of an element stays as it is.
        joined.resize(std::max<std::size_t>(count, 1) * 8);
        if (staying < joined.size() && value.size() >= 8) {
            const Bytes added = list_turned(Octets(joined).subspan(staying), true);
            std::copy(added.begin(), added.end(), joined.begin() + static_cast<std::ptrdiff_t>(staying));
        }
        return {.outcome = Outcome::list, .list = sorted(joined)};
    }

    static Bytes sorted(const Bytes &joined)
    {
        std::vector<Bytes> elements;
        for (auto at = joined.begin(); at != joined.end(); at += 8) {
            elements.emplace_back(at, at + 8);
        }
        std::sort(elements.begin(), elements.end(), [](const Bytes &a, const Bytes &b) { return place(a) < place(b); });
        elements.erase(std::unique(elements.begin(), elements.end()), elements.end());
        Bytes out;
        for (const Bytes &element : elements) {
            out.insert(out.end(), element.begin(), element.end());
        }
        return out;
    }

    // Sub-type, type, and the two numbers of the value.
    static std::array<std::uint64_t, 4> place(const Bytes &element)
    {
        const std::size_t first = element[1] == 1 || element[1] == 2 ? 4 : 2;
        const auto number = [&](std::size_t at, std::size_t octets) {
            std::uint64_t value = 0;
            for (std::size_t i = octets; i > 0; --i) {
                value = value << 8 | element[at + i - 1];
            }
            return value;
        };
        return {element[0], element[1], number(2, first), number(2 + first, 6 - first)};
    }

    Octets list_;
    std::uint32_t action_;
    Memory memory_;
    std::vector<std::string> log_;
};

} // namespace qel::fuzz
