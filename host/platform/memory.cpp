// Allocation on memory handles, with an account for each handle and thread.
#include "host/platform/fail_once.h"
#include "host/platform/platform.h"
#include "platform/zvk.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <new>
#include <optional>

namespace qel::platform {
namespace {

// Which place of the accounts belongs to which handle. Hashed with linear probing; a taken place is never given back.
// Handles that find no place any more share the place behind the last, as does handle 0.
constexpr std::size_t kPlaceBits = 8;
constexpr std::size_t kPlaces = std::size_t{1} << kPlaceBits;
constexpr std::size_t kSharedPlace = kPlaces;
constinit std::array<std::atomic<std::uint32_t>, kPlaces> g_handles{}; // 0: not taken yet

std::size_t first_place(std::uint32_t handle)
{
    return (handle * 0x9E3779B1U) >> (32 - kPlaceBits);
}

// The place of a handle, taken for it if it has none yet.
std::size_t place_for_writing(std::uint32_t handle)
{
    std::size_t place = first_place(handle);
    for (std::size_t tried = 0; handle != 0 && tried < kPlaces; ++tried, place = (place + 1) % kPlaces) {
        std::uint32_t owner = g_handles[place].load(std::memory_order_relaxed);
        if (owner == handle) [[likely]] {
            return place;
        }
        if (owner == 0 && g_handles[place].compare_exchange_strong(owner, handle, std::memory_order_relaxed)) {
            return place;
        }
        if (owner == handle) { // another thread took the place for the same handle meanwhile
            return place;
        }
    }
    return kSharedPlace;
}

std::optional<std::size_t> place_for_reading(std::uint32_t handle)
{
    std::size_t place = first_place(handle);
    for (std::size_t tried = 0; handle != 0 && tried < kPlaces; ++tried, place = (place + 1) % kPlaces) {
        const std::uint32_t owner = g_handles[place].load(std::memory_order_relaxed);
        if (owner == handle) {
            return place;
        }
        if (owner == 0) {
            return std::nullopt;
        }
    }
    return kSharedPlace;
}

// What one thread did on one memory handle. Only that thread writes, so that a counter needs no locked addition; and
// counters only grow, so that a reader that takes the freed side first never sees more freed than allocated.
struct Account {
    std::atomic<std::uint64_t> allocations{0};
    std::atomic<std::uint64_t> allocated_bytes{0};
    std::atomic<std::uint64_t> frees{0};
    std::atomic<std::uint64_t> freed_bytes{0};
};

void grow(std::atomic<std::uint64_t> &counter, std::uint64_t by)
{
    counter.store(counter.load(std::memory_order_relaxed) + by, std::memory_order_release);
}

// The accounts of one thread at a time. A ledger outlives its thread: the next new thread goes on with it.
struct alignas(64) Ledger {
    std::array<Account, kPlaces + 1> accounts{};
    std::atomic<bool> taken{true};
    Ledger *next = nullptr;
};
constinit std::atomic<Ledger *> g_ledgers{nullptr};

Ledger *take_ledger()
{
    for (Ledger *old = g_ledgers.load(std::memory_order_acquire); old != nullptr; old = old->next) {
        bool taken = false;
        if (old->taken.compare_exchange_strong(taken, true, std::memory_order_acquire)) {
            return old;
        }
    }
    auto *fresh = new Ledger;
    fresh->next = g_ledgers.load(std::memory_order_relaxed);
    while (!g_ledgers.compare_exchange_weak(fresh->next, fresh, std::memory_order_release, std::memory_order_relaxed)) {
    }
    return fresh;
}

constinit thread_local Ledger *t_ledger = nullptr;
constinit thread_local bool t_thread_ends = false;

struct GiveBackLedger {
    GiveBackLedger() = default;
    ~GiveBackLedger()
    {
        t_thread_ends = true;
        Ledger *ledger = t_ledger;
        t_ledger = nullptr;
        ledger->taken.store(false, std::memory_order_release);
    }
    GiveBackLedger(const GiveBackLedger &) = delete;
    GiveBackLedger &operator=(const GiveBackLedger &) = delete;
};

[[gnu::noinline]] Ledger &first_use_of_ledger()
{
    Ledger *const ledger = take_ledger();
    t_ledger = ledger;
    if (!t_thread_ends) { // a ledger taken by a thread that is on its way out stays taken
        thread_local const GiveBackLedger give_back;
    }
    return *ledger;
}

Account &own_account(std::size_t place)
{
    Ledger &ledger = t_ledger != nullptr ? *t_ledger : first_use_of_ledger();
    return ledger.accounts[place];
}

// Sums the places from first to last over all threads.
HandleUsage sum(std::size_t first, std::size_t last)
{
    std::uint64_t frees = 0;
    std::uint64_t freed_bytes = 0;
    std::uint64_t allocations = 0;
    std::uint64_t allocated_bytes = 0;
    const auto each = [first, last](auto &&visit) {
        for (const Ledger *ledger = g_ledgers.load(std::memory_order_acquire); ledger != nullptr;
             ledger = ledger->next) {
            for (std::size_t place = first; place <= last; ++place) {
                visit(ledger->accounts[place]);
            }
        }
    };
    each([&](const Account &account) {
        frees += account.frees.load(std::memory_order_acquire);
        freed_bytes += account.freed_bytes.load(std::memory_order_acquire);
    });
    each([&](const Account &account) {
        allocations += account.allocations.load(std::memory_order_acquire);
        allocated_bytes += account.allocated_bytes.load(std::memory_order_acquire);
    });
    return {
        .live_blocks = allocations - frees, .live_bytes = allocated_bytes - freed_bytes, .allocations = allocations};
}

// Stands in front of every block. The block's last byte is the last byte of the heap's own block, so that
// AddressSanitizer sees the first byte past it.
struct alignas(std::max_align_t) BlockHeader {
    std::uint64_t place;
    std::uint64_t size;
};
static_assert(sizeof(BlockHeader) == 16);

constinit thread_local FailOnce t_fail{};

} // namespace

HandleUsage usage(std::uint32_t mem_handle)
{
    const std::optional<std::size_t> place = place_for_reading(mem_handle);
    return place ? sum(*place, *place) : HandleUsage{};
}

HandleUsage total_usage()
{
    return sum(0, kSharedPlace);
}

FailAllocation::FailAllocation(std::uint64_t after)
{
    t_fail = {.armed = true, .fired = false, .before_failure = after};
}

FailAllocation::~FailAllocation()
{
    t_fail = {};
}

bool FailAllocation::fired() const
{
    return t_fail.fired;
}

namespace {

void *allocate(std::uint32_t handle, std::uint32_t size)
{
    if (t_fail.must_fail()) [[unlikely]] {
        return nullptr;
    }
    void *raw = std::malloc(sizeof(BlockHeader) + size);
    if (raw == nullptr) [[unlikely]] {
        return nullptr;
    }
    const std::size_t place = place_for_writing(handle);
    Account &account = own_account(place);
    grow(account.allocations, 1);
    grow(account.allocated_bytes, size);
    return new (raw) BlockHeader{.place = place, .size = size} + 1;
}

void release(void *block)
{
    BlockHeader *header = static_cast<BlockHeader *>(block) - 1;
    Account &account = own_account(header->place);
    grow(account.freed_bytes, header->size);
    grow(account.frees, 1);
    std::free(header);
}

} // namespace
} // namespace qel::platform

void *ZVK_SimpleAlloc_F(uint32_t uiMemHandle, uint32_t uiSize, const char *, uint32_t)
{
    return qel::platform::allocate(uiMemHandle, uiSize);
}

void ZVK_Free_F(void *pvMem, const char *, uint32_t)
{
    if (pvMem != nullptr) {
        qel::platform::release(pvMem);
    }
}
