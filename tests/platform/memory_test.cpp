#include "host/platform/platform.h"
#include "platform/zvk.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <thread>
#include <vector>

namespace qel::test {
namespace {

void *alloc(std::uint32_t handle, std::uint32_t size)
{
    return ZVK_SimpleAlloc_F(handle, size, __FILE__, __LINE__);
}

void release(void *mem)
{
    ZVK_Free_F(mem, __FILE__, __LINE__);
}

// Handles of their own, so that one test doesn't see another's blocks.
constexpr std::uint32_t kQuiet = 0x1001;
constexpr std::uint32_t kCounted = 0x1002;
constexpr std::uint32_t kOther = 0x1003;
constexpr std::uint32_t kOne = 0x1004;
constexpr std::uint32_t kShared = 0x1010;

void expect_usage(std::uint32_t handle, std::uint64_t blocks, std::uint64_t bytes, std::uint64_t allocations)
{
    const platform::HandleUsage got = platform::usage(handle);
    EXPECT_EQ(got.live_blocks, blocks);
    EXPECT_EQ(got.live_bytes, bytes);
    EXPECT_EQ(got.allocations, allocations);
}

TEST(Memory, handle_without_allocations_has_an_empty_account)
{
    expect_usage(kQuiet, 0, 0, 0);
}

TEST(Memory, accounts_are_kept_per_handle_and_in_total)
{
    const platform::HandleUsage before = platform::total_usage();
    void *first = alloc(kCounted, 40);
    void *second = alloc(kCounted, 24);
    void *third = alloc(kOther, 100);
    expect_usage(kCounted, 2, 64, 2);
    expect_usage(kOther, 1, 100, 1);
    EXPECT_EQ(platform::total_usage().live_blocks, before.live_blocks + 3);
    EXPECT_EQ(platform::total_usage().live_bytes, before.live_bytes + 164);
    EXPECT_EQ(platform::total_usage().allocations, before.allocations + 3);

    release(first);
    expect_usage(kCounted, 1, 24, 2);
    release(second);
    release(third);
    expect_usage(kCounted, 0, 0, 2);
    expect_usage(kOther, 0, 0, 1);
    EXPECT_EQ(platform::total_usage().live_bytes, before.live_bytes);
}

TEST(Memory, blocks_are_aligned_and_writable_to_the_last_byte)
{
    for (const std::uint32_t size : {1U, 7U, 32U, 244U, 70000U}) {
        void *block = alloc(kOne, size);
        ASSERT_NE(block, nullptr);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block) % alignof(std::max_align_t), 0U);
        std::memset(block, 0xA5, size);
        release(block);
    }
}

TEST(Memory, empty_block_is_a_block)
{
    const platform::HandleUsage before = platform::usage(kOne);
    void *block = alloc(kOne, 0);
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(platform::usage(kOne).live_blocks, before.live_blocks + 1);
    release(block);
    EXPECT_EQ(platform::usage(kOne).live_blocks, before.live_blocks);
}

TEST(Memory, freeing_null_does_nothing)
{
    const platform::HandleUsage before = platform::total_usage();
    release(nullptr);
    EXPECT_EQ(platform::total_usage().live_blocks, before.live_blocks);
}

TEST(Memory, handle_zero_has_an_account)
{
    const platform::HandleUsage before = platform::usage(0);
    void *block = alloc(0, 12);
    EXPECT_EQ(platform::usage(0).live_blocks, before.live_blocks + 1);
    EXPECT_EQ(platform::usage(0).live_bytes, before.live_bytes + 12);
    release(block);
}

#if defined(__SANITIZE_ADDRESS__)
#define QEL_TEST_ASAN 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define QEL_TEST_ASAN 1
#endif
#endif

#ifdef QEL_TEST_ASAN
TEST(MemoryDeathTest, one_byte_past_a_block_is_reported)
{
    volatile std::uint8_t sink = 0;
    for (const std::uint32_t size : {1U, 9U, 32U}) {
        std::uint8_t *block = static_cast<std::uint8_t *>(alloc(kOne, size));
        std::memset(block, 0, size);
        EXPECT_DEATH(sink = static_cast<volatile std::uint8_t *>(block)[size], "heap-buffer-overflow");
        release(block);
    }
    EXPECT_EQ(sink, 0);
}

TEST(MemoryDeathTest, freeing_twice_is_reported)
{
    void *block = alloc(kOne, 16);
    release(block);
    EXPECT_DEATH(release(block), "heap-use-after-free");
}
#endif

TEST(FailAllocation, the_chosen_allocation_fails_once)
{
    for (const std::uint64_t after : {0U, 1U, 2U}) {
        const platform::HandleUsage before = platform::usage(kOne);
        const platform::FailAllocation fail(after);
        for (std::uint64_t i = 0; i < 4; ++i) {
            EXPECT_EQ(fail.fired(), i > after);
            void *block = alloc(kOne, 8);
            EXPECT_EQ(block == nullptr, i == after) << "allocation " << i << " with failure after " << after;
            release(block);
        }
        EXPECT_EQ(platform::usage(kOne).allocations, before.allocations + 3);
        EXPECT_EQ(platform::usage(kOne).live_blocks, before.live_blocks);
    }
}

TEST(FailAllocation, ends_with_its_scope)
{
    {
        const platform::FailAllocation fail(0);
        EXPECT_FALSE(fail.fired());
    }
    void *block = alloc(kOne, 8);
    EXPECT_NE(block, nullptr);
    release(block);
}

TEST(FailAllocation, leaves_other_threads_alone)
{
    const platform::FailAllocation fail(0);
    bool other_succeeded = false;
    std::thread([&] {
        void *block = alloc(kOne, 8);
        other_succeeded = block != nullptr;
        release(block);
    }).join();
    EXPECT_TRUE(other_succeeded);
    EXPECT_FALSE(fail.fired());
}

TEST(MemoryThreads, accounts_add_up_over_threads_and_never_run_negative)
{
    constexpr int kThreads = 4;
    constexpr std::uint64_t kRounds = 5000;
    std::atomic<int> running{kThreads};
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&running, t] {
            for (std::uint64_t i = 0; i < kRounds; ++i) {
                void *shared = alloc(kShared, 16);
                void *own = alloc(kShared + 1 + static_cast<std::uint32_t>(t), 48);
                release(shared);
                release(own);
            }
            --running;
        });
    }
    while (running > 0) {
        ASSERT_LE(platform::usage(kShared).live_blocks, kThreads * kRounds);
        ASSERT_LE(platform::usage(kShared).live_bytes, kThreads * kRounds * 16);
        std::this_thread::yield();
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    expect_usage(kShared, 0, 0, kThreads * kRounds);
    for (std::uint32_t t = 0; t < kThreads; ++t) {
        expect_usage(kShared + 1 + t, 0, 0, kRounds);
    }
}

TEST(MemoryThreads, one_thread_frees_what_another_allocated)
{
    constexpr std::uint32_t kHandle = 0x2001;
    std::array<void *, 64> blocks{};
    std::thread([&] {
        for (void *&block : blocks) {
            block = alloc(kHandle, 10);
        }
    }).join();
    expect_usage(kHandle, blocks.size(), blocks.size() * 10, blocks.size());
    for (void *block : blocks) {
        release(block);
    }
    expect_usage(kHandle, 0, 0, blocks.size());
}

// Allocates on more handles than the table of accounts has places; true if nothing got lost.
bool accounts_hold_with_more_handles_than_places()
{
    constexpr std::uint32_t kFirst = 0x500000;
    constexpr std::uint32_t kHandles = 400;
    const platform::HandleUsage before = platform::total_usage();
    std::vector<void *> blocks;
    bool every_handle_counts = true;
    for (std::uint32_t i = 0; i < kHandles; ++i) {
        blocks.push_back(alloc(kFirst + i, 8));
        every_handle_counts = every_handle_counts && platform::usage(kFirst + i).live_blocks >= 1;
    }
    const bool last_ones_share = platform::usage(kFirst + kHandles - 1).live_blocks > 1;
    const bool all_counted = platform::total_usage().live_blocks == before.live_blocks + kHandles;
    for (void *block : blocks) {
        release(block);
    }
    const platform::HandleUsage after = platform::total_usage();
    return every_handle_counts && last_ones_share && all_counted && after.live_blocks == before.live_blocks &&
           after.live_bytes == before.live_bytes && after.allocations == before.allocations + kHandles;
}

// In a process of its own, because it uses up the places for good.
TEST(MemoryDeathTest, handles_beyond_the_table_share_an_account_and_nothing_is_lost)
{
    EXPECT_EXIT(std::exit(accounts_hold_with_more_handles_than_places() ? 0 : 1), testing::ExitedWithCode(0), "");
}

} // namespace
} // namespace qel::test
