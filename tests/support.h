// What the tests of the library share: bytes from hex text, exact-size heap copies, instances and blocks with owners.
#pragma once

#include "host/platform/platform.h"
#include "platform/zvk.h"
#include "qel_family.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <memory>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace qel::test {

using Bytes = std::vector<std::uint8_t>;

// "03 16 0000 0064" -> bytes; blanks are free, anything else is a mistake of the test.
inline Bytes bytes(std::string_view hex)
{
    Bytes out;
    int high = -1;
    for (const char c : hex) {
        int digit = 0;
        if (c >= '0' && c <= '9') {
            digit = c - '0';
        } else if (c >= 'a' && c <= 'f') {
            digit = c - 'a' + 10;
        } else if (c >= 'A' && c <= 'F') {
            digit = c - 'A' + 10;
        } else if (c == ' ' || c == '\n') {
            continue;
        } else {
            throw std::invalid_argument("not hex: " + std::string(hex));
        }
        if (high < 0) {
            high = digit;
        } else {
            out.push_back(static_cast<std::uint8_t>(high * 16 + digit));
            high = -1;
        }
    }
    if (high >= 0) {
        throw std::invalid_argument("odd hex: " + std::string(hex));
    }
    return out;
}

inline std::string hex(std::span<const std::uint8_t> data)
{
    static constexpr char digits[] = "0123456789abcdef";
    std::string out;
    for (const std::uint8_t b : data) {
        out += digits[b >> 4];
        out += digits[b & 15];
    }
    return out;
}

// A heap copy of exactly the given bytes: one read past its end is a sanitizer report.
class ExactCopy {
public:
    explicit ExactCopy(std::span<const std::uint8_t> from) : size_(from.size()), data_(new std::uint8_t[from.size()])
    {
        if (!from.empty()) {
            std::memcpy(data_.get(), from.data(), from.size());
        }
    }
    const std::uint8_t *data() const { return data_.get(); }
    std::uint8_t *data() { return data_.get(); }
    std::uint32_t size() const { return static_cast<std::uint32_t>(size_); }

private:
    std::size_t size_;
    std::unique_ptr<std::uint8_t[]> data_;
};

struct PlatformFree {
    void operator()(void *mem) const { ZVK_Free_F(mem, __FILE__, __LINE__); }
};

// A result block that the test owns.
class Block {
public:
    Block() = default;
    explicit Block(QEL_ROUTE_BLOCK_S *block) : block_(block) {}
    explicit operator bool() const { return block_ != nullptr; }
    const QEL_ROUTE_BLOCK_S *operator->() const { return block_.get(); }
    const QEL_ROUTE_BLOCK_S *get() const { return block_.get(); }
    const std::uint8_t *at(std::uint16_t offset) const
    {
        return reinterpret_cast<const std::uint8_t *>(block_.get()) + offset;
    }
    Bytes section(std::uint16_t offset, std::uint16_t length) const { return {at(offset), at(offset) + length}; }

private:
    std::unique_ptr<QEL_ROUTE_BLOCK_S, PlatformFree> block_;
};

inline constexpr std::uint32_t kMemHandle = 7;

using Construct = QEL_FAMILY_CTX_S *(*)(QEL_FAMILY_DESC_S *, std::uint32_t);
using Destruct = void (*)(QEL_FAMILY_CTX_S *);

// A constructed family with its descriptor, destroyed at the end of the test.
class Instance {
public:
    Instance(Construct construct, Destruct destruct, std::uint32_t addr_family) : destruct_(destruct)
    {
        desc.uiAddrFamily = addr_family;
        ctx = construct(&desc, kMemHandle);
    }
    ~Instance()
    {
        if (ctx != nullptr) {
            destruct_(ctx);
        }
    }
    Instance(const Instance &) = delete;
    Instance &operator=(const Instance &) = delete;

    QEL_FAMILY_DESC_S desc{};
    QEL_FAMILY_CTX_S *ctx = nullptr;

private:
    Destruct destruct_;
};

// Fails the test if allocations on the test's memory handle outlive it.
class LeakCheck {
public:
    LeakCheck() : before_(platform::usage(kMemHandle).live_blocks) {}
    ~LeakCheck() { EXPECT_EQ(platform::usage(kMemHandle).live_blocks, before_) << "blocks left on the memory handle"; }
    LeakCheck(const LeakCheck &) = delete;
    LeakCheck &operator=(const LeakCheck &) = delete;

private:
    std::uint64_t before_;
};

} // namespace qel::test
