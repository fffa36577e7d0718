// What the contract itself costs of a message: its work buffers, its block, the octets that are written, the texts of
// its log, which are cleared whether or not anybody reads them.
#pragma once

#include "bench/samples.h"
#include "bench/table.h"

#include "host/family.h"
#include "host/platform/platform.h"
#include "host/route.h"
#include "platform/bounds.h"

#include <array>
#include <cstring>
#include <memory>
#include <utility>
#include <vector>

namespace qel::bench {

constexpr std::size_t kInline = 256; // scratch up to here costs no allocation, once at a time

constexpr std::size_t kLogText = 700;

inline void clear_texts(std::size_t count)
{
    for (std::size_t i = 0; i < count; ++i) {
        std::array<char, kLogText> text;
        memset_s(text.data(), text.size(), 0, text.size());
        benchmark::DoNotOptimize(text.data());
    }
}

// How many a call writes.
template <class Call> std::size_t texts_of(const host::Family &family, Call call)
{
    const platform::Recorder recorder;
    family.desc().pfSetLibDebug(1, 1, family.ctx());
    call();
    family.desc().pfSetLibDebug(0, 0, family.ctx());
    return recorder.debugs().size();
}

// A work buffer of one call. Those of a call live at once, so that the first small one alone is inline.
struct Work {
    std::size_t size;
    bool cleared = true;
    bool always_heap = false;
};
constexpr Work kSorting{8, false}; // of a list that is put in order
constexpr Work kTunnelWork{268};

inline std::size_t size_of(const QEL_ROUTE_BLOCK_S &block)
{
    return sizeof(block) + block.usRdLen + block.usKeyLen + block.usNonKeyLen + block.usAttrLen + block.usCrossLen;
}

// The buffers of a call that gives a block: each allocated, cleared and filled, the block allocated, cleared and filled
// from the last of them; all but the block go.
class BlockFloor {
public:
    BlockFloor() = default;
    BlockFloor(std::vector<Work> works, const QEL_ROUTE_BLOCK_S &block, std::size_t texts)
        : works_(std::move(works)), image_(size_of(block)), texts_(texts)
    {
        std::memcpy(image_.data(), &block, image_.size());
    }

    host::BlockPtr operator()()
    {
        clear_texts(texts_);
        std::array<Buffer, 8> held;
        std::size_t count = 0;
        bool lent = false;
        for (const Work &work : works_) {
            const bool is_inline = !lent && !work.always_heap && work.size <= kInline;
            lent = lent || is_inline;
            Buffer heap = is_inline ? Buffer() : allocate(work.size);
            std::uint8_t *mem = is_inline ? inline_.data() : heap.get();
            if (work.cleared) {
                memset_s(mem, work.size, 0, work.size);
            }
            const std::size_t filled = work.size < image_.size() ? work.size : image_.size();
            memcpy_s(mem, work.size, image_.data(), filled);
            benchmark::DoNotOptimize(mem);
            held[count++] = std::move(heap);
        }
        Buffer block = allocate(image_.size());
        memset_s(block.get(), image_.size(), 0, image_.size());
        memcpy_s(block.get(), image_.size(), image_.data(), image_.size());
        void *mem = block.release();
        return host::BlockPtr(static_cast<QEL_ROUTE_BLOCK_S *>(mem));
    }

private:
    std::vector<Work> works_;
    Bytes image_;
    std::size_t texts_ = 0;
    std::array<std::uint8_t, kInline> inline_{};
};

// The octets that a writer gives, copied.
class OctetsFloor {
public:
    OctetsFloor() = default;
    // `copied`: through a work buffer of the octets' size.
    OctetsFloor(Bytes image, std::size_t texts, bool copied = false)
        : image_(std::move(image)), out_(image_.size()), texts_(texts), copied_(copied)
    {
    }
    std::size_t operator()()
    {
        clear_texts(texts_);
        const std::size_t size = image_.size();
        const std::uint8_t *from = image_.data();
        const Buffer heap = copied_ && size > kInline ? allocate(size) : Buffer();
        if (copied_) {
            std::uint8_t *work = heap != nullptr ? heap.get() : inline_.data();
            memcpy_s(work, size, from, size);
            benchmark::DoNotOptimize(work);
            from = work;
        }
        memcpy_s(out_.data(), size, from, size);
        return size;
    }

private:
    Bytes image_;
    Bytes out_;
    std::size_t texts_ = 0;
    bool copied_ = false;
    std::array<std::uint8_t, kInline> inline_{};
};

} // namespace qel::bench
