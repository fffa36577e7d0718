// Octets that tests state, cut and hold: joined and sliced, at odd addresses, and community lists in either byte order.
#pragma once

#include "support.h"

#include <algorithm>
#include <cstddef>
#include <span>
#include <string>
#include <string_view>

namespace qel::test {

inline Bytes operator+(Bytes left, const Bytes &right)
{
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

inline Bytes slice(std::span<const std::uint8_t> from, std::size_t at, std::size_t count)
{
    const auto part = from.subspan(at, count);
    return {part.begin(), part.end()};
}

inline std::string hex_of(std::string_view spaced)
{
    return hex(bytes(spaced));
}

inline std::uint64_t allocations()
{
    return platform::usage(kMemHandle).allocations;
}

// Bytes at an odd address that end where their heap block ends.
class OddBytes {
public:
    explicit OddBytes(const Bytes &from) : copy_(Bytes(1) + from) {}
    std::uint8_t *data() { return copy_.data() + 1; }
    const std::uint8_t *data() const { return copy_.data() + 1; }
    std::uint32_t size() const { return copy_.size() - 1; }
    Bytes bytes() const { return {data(), data() + size()}; }
    std::string hex() const { return test::hex({data(), size()}); }
    template <typename Record> Record *as() { return reinterpret_cast<Record *>(data()); }
    template <typename Record> const Record *as() const { return reinterpret_cast<const Record *>(data()); }

private:
    ExactCopy copy_;
};

// The whole elements of a community list from wire to host order; what is left behind the last one stays.
inline Bytes host_list(const Bytes &wire)
{
    Bytes out = wire;
    const auto turn = [&out](std::size_t from, std::size_t count) {
        const auto start = out.begin() + static_cast<std::ptrdiff_t>(from);
        std::reverse(start, start + static_cast<std::ptrdiff_t>(count));
    };
    for (std::size_t at = 0; at + 8 <= wire.size(); at += 8) {
        const unsigned type = wire[at] * 256U + wire[at + 1];
        const std::size_t first = type == 0x0002 || type == 0x0009 ? 2 : 4;
        turn(at, 2);
        turn(at + 2, first);
        turn(at + 2 + first, 6 - first);
    }
    return out;
}

inline Bytes host_list(std::string_view wire)
{
    return host_list(bytes(wire));
}

} // namespace qel::test
