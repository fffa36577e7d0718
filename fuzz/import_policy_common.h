// What the targets of route import and of routing policy share: the fields of an input, sections as a host holds them,
// the byte orders of communities, and the instances.
#pragma once

#include "check.h"
#include "ngmvpn_door.h"

#include "host/family.h"
#include "host/platform/platform.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <memory>
#include <numeric>
#include <span>
#include <vector>

namespace qel::fuzz {

using Bytes = std::vector<std::uint8_t>;

// Takes an input apart. Behind its end everything is 0.
class Fields {
public:
    explicit Fields(Octets input) : left_(input), sum_(std::accumulate(input.begin(), input.end(), 0U)) {}

    // Of all octets, taken or not.
    unsigned sum() const { return sum_; }

    std::uint8_t u8()
    {
        const Bytes one = take(1);
        return one[0];
    }
    std::uint16_t u16()
    {
        const Bytes two = take(2);
        return static_cast<std::uint16_t>(two[0] << 8 | two[1]);
    }
    Bytes take(std::size_t size)
    {
        const std::size_t there = std::min(size, left_.size());
        Bytes out(left_.begin(), left_.begin() + static_cast<std::ptrdiff_t>(there));
        out.resize(size);
        left_ = left_.subspan(there);
        return out;
    }
    Bytes rest() { return take(left_.size()); }

private:
    Octets left_;
    unsigned sum_;
};

// A heap copy whose last octet, with the slack behind it, is the last of its heap block. An odd one stands at an odd
// address.
class Section {
public:
    explicit Section(Octets from, bool odd = false, std::size_t slack = 0)
        : size_(from.size()), lead_(odd ? 1 : 0), whole_(new std::uint8_t[lead_ + size_ + slack])
    {
        std::fill_n(whole_.get(), lead_ + size_ + slack, std::uint8_t{0xee});
        std::copy(from.begin(), from.end(), whole_.get() + lead_);
    }
    std::uint8_t *data() { return whole_.get() + lead_; }
    const std::uint8_t *data() const { return whole_.get() + lead_; }
    std::uint32_t size() const { return static_cast<std::uint32_t>(size_); }
    Octets octets() const { return {data(), size_}; }

private:
    std::size_t size_;
    std::size_t lead_;
    std::unique_ptr<std::uint8_t[]> whole_;
};

// ---- communities: the type word first, then a value of two parts; in the host each number stands the other way round
// --

inline std::uint32_t little16(Octets from)
{
    return static_cast<std::uint32_t>(from[0] | from[1] << 8);
}

// Turns parts of the given lengths round, one behind the other.
inline Bytes turned(Octets from, std::initializer_list<std::size_t> parts)
{
    Bytes out(from.begin(), from.end());
    auto at = out.begin();
    for (const std::size_t part : parts) {
        std::reverse(at, at + static_cast<std::ptrdiff_t>(part));
        at += static_cast<std::ptrdiff_t>(part);
    }
    return out;
}

inline bool one_of(std::uint32_t number, std::initializer_list<std::uint32_t> numbers)
{
    return std::find(numbers.begin(), numbers.end(), number) != numbers.end();
}

// A single route target, either way: a type that is none keeps its value.
inline Bytes target_turned(Octets element, std::uint32_t type)
{
    if (type == 0x0002) {
        return turned(element, {2, 2, 4});
    }
    const bool known = one_of(type, {0x0102, 0x0202, 0x010A, 0x010B, 0xFFFF});
    return known ? turned(element, {2, 4, 2}) : turned(element, {2});
}

inline Bytes ipv6_target_turned(Octets element, std::uint32_t type)
{
    const bool known = one_of(type, {0x000B, 0x0002, 0x0102, 0x010A, 0x010B, 0xFFFF});
    return known ? turned(element, {2, 4, 4, 4, 4, 2}) : turned(element, {2});
}

// ---- instances ----

enum class Kind : std::uint8_t { plain, mvrf4, mvrf6, mvpn4, mvpn6 };

inline const host::Family &instance_of(Kind kind)
{
    static const std::vector<host::Family> instances = [] {
        struct Way {
            host::FamilyInfo::Construct construct;
            std::uint16_t address_family;
        };
        static constexpr std::array ways{Way{QEL_NGMVPN_Construct, 1}, Way{QEL_NGMVPN_Construct4Mvrf, 1},
                                         Way{QEL_NGMVPN_Construct4Mvrf, 2}, Way{QEL_NGMVPN_Construct4Mvpn, 1},
                                         Way{QEL_NGMVPN_Construct4Mvpn, 2}};
        static const std::vector<host::FamilyInfo> infos = [] {
            std::vector<host::FamilyInfo> all;
            for (const Way &way : ways) {
                all.push_back({host::FamilyKind::ng_mvpn, way.address_family, 5, "ng-mvpn", "NG-MVPN", way.construct,
                               QEL_NGMVPN_Destruct});
            }
            return all;
        }();
        std::vector<host::Family> all;
        for (const host::FamilyInfo &info : infos) {
            all.emplace_back(info, kMemHandle);
        }
        return all;
    }();
    return instances[static_cast<std::size_t>(kind)];
}

inline Kind kind_of(std::uint8_t octet)
{
    return static_cast<Kind>(octet % 5);
}

// ---- results ----

// A value that the library hands out outside a block, given back to the platform.
struct PlatformFree {
    void operator()(std::uint8_t *mem) const noexcept
    {
        host::BlockFree{}(static_cast<QEL_ROUTE_BLOCK_S *>(static_cast<void *>(mem)));
    }
};
using Value = std::unique_ptr<std::uint8_t, PlatformFree>;

// What a call of the library did to the accounts.
class Effect {
public:
    std::uint64_t asserts() const { return platform::assert_count() - asserts_; }
    std::uint64_t allocations() const { return platform::usage(kMemHandle).allocations - before_.allocations; }
    std::int64_t blocks() const
    {
        return static_cast<std::int64_t>(platform::usage(kMemHandle).live_blocks - before_.live_blocks);
    }
    std::int64_t bytes() const
    {
        return static_cast<std::int64_t>(platform::usage(kMemHandle).live_bytes - before_.live_bytes);
    }

private:
    platform::HandleUsage before_ = platform::usage(kMemHandle);
    std::uint64_t asserts_ = platform::assert_count();
};

// What an input is for: its first octet picks one of them.
using Branch = void (*)(Fields);

// One input: the octets behind the first one go to the branch that it picks.
inline int run_branch(std::span<const Branch> branches, Octets input)
{
    static_cast<void>(instance_of(Kind::plain)); // their contexts stay
    if (!input.empty()) {
        branches[input[0] % branches.size()](Fields(input.subspan(1)));
    }
    return 0;
}

// The same, and nothing stays allocated behind it.
inline int run_branch_without_loss(std::span<const Branch> branches, Octets input)
{
    static_cast<void>(instance_of(Kind::plain));
    const Effect effect;
    run_branch(branches, input);
    require(effect.blocks() == 0 && effect.bytes() == 0, "nothing stays allocated");
    return 0;
}

} // namespace qel::fuzz
