// What the fuzz targets share.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <span>

namespace qel::fuzz {

using Octets = std::span<const std::uint8_t>;

// Stops the run, so that the fuzzer keeps the input.
inline void require(bool holds, const char *promise, const char *file = __builtin_FILE(), int line = __builtin_LINE())
{
    if (!holds) {
        std::fprintf(stderr, "%s:%d: broken promise: %s\n", file, line, promise);
        std::abort();
    }
}

// A heap block of exactly the given octets: one access past its end is a report.
class ExactCopy {
public:
    explicit ExactCopy(Octets from) : size_(from.size()), data_(new std::uint8_t[from.size()])
    {
        if (!from.empty()) {
            std::memcpy(data_.get(), from.data(), from.size());
        }
    }
    Octets octets() const { return {data_.get(), size_}; }

private:
    std::size_t size_;
    std::unique_ptr<std::uint8_t[]> data_;
};

inline bool equal(Octets a, Octets b)
{
    return a.size() == b.size() && (a.empty() || std::memcmp(a.data(), b.data(), a.size()) == 0);
}

} // namespace qel::fuzz
