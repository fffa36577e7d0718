// What Malloc and Free of a family promise, checked alike for every family.
#pragma once

#include "support.h"

namespace qel::test {

// Family: kConstruct, kDestruct, kMalloc, kFree, kSource.
template <class Family> class ScratchContract : public ::testing::Test {
protected:
    LeakCheck leaks_;
    Instance instance_{Family::kConstruct, Family::kDestruct, 1};
    QEL_FAMILY_CTX_S *ctx_ = instance_.ctx;
    platform::Recorder recorder_;

    std::uint64_t allocations() const { return platform::usage(kMemHandle).allocations; }
    std::uint64_t live_bytes() const { return platform::usage(kMemHandle).live_bytes; }
    void expect_one_report()
    {
        ASSERT_EQ(recorder_.asserts().size(), 1U);
        EXPECT_NE(recorder_.asserts()[0].file.find(Family::kSource), std::string::npos) << recorder_.asserts()[0].file;
        recorder_.clear();
    }
};
TYPED_TEST_SUITE_P(ScratchContract);

TYPED_TEST_P(ScratchContract, LendsTheInlineBufferUpToExactly256Bytes)
{
    for (const std::uint32_t size : {1U, 8U, 255U, 256U}) {
        SCOPED_TRACE(size);
        const std::uint64_t allocations = this->allocations();
        void *mem = TypeParam::kMalloc(this->ctx_, size);
        EXPECT_EQ(mem, this->ctx_->aucInlineBuf);
        EXPECT_EQ(this->ctx_->uiInlineBufUsed, 1U);
        EXPECT_EQ(this->allocations(), allocations);
        TypeParam::kFree(&mem, this->ctx_);
        EXPECT_EQ(mem, nullptr);
        EXPECT_EQ(this->ctx_->uiInlineBufUsed, 0U);
    }
    EXPECT_TRUE(this->recorder_.asserts().empty());
}

TYPED_TEST_P(ScratchContract, TakesMoreThan256BytesFromTheHeap)
{
    for (const std::uint32_t size : {257U, 4096U}) {
        SCOPED_TRACE(size);
        const std::uint64_t allocations = this->allocations();
        const std::uint64_t live = this->live_bytes();
        void *mem = TypeParam::kMalloc(this->ctx_, size);
        ASSERT_NE(mem, nullptr);
        EXPECT_NE(mem, this->ctx_->aucInlineBuf);
        EXPECT_EQ(this->ctx_->uiInlineBufUsed, 0U);
        EXPECT_EQ(this->allocations(), allocations + 1);
        EXPECT_EQ(this->live_bytes(), live + size);
        TypeParam::kFree(&mem, this->ctx_);
        EXPECT_EQ(mem, nullptr);
        EXPECT_EQ(this->ctx_->uiInlineBufUsed, 0U);
        EXPECT_EQ(this->live_bytes(), live);
    }
    EXPECT_TRUE(this->recorder_.asserts().empty());
}

TYPED_TEST_P(ScratchContract, GivesNothingForSizeZeroQuietly)
{
    EXPECT_EQ(TypeParam::kMalloc(this->ctx_, 0), nullptr);
    EXPECT_EQ(this->ctx_->uiInlineBufUsed, 0U);
    EXPECT_TRUE(this->recorder_.asserts().empty());
}

TYPED_TEST_P(ScratchContract, RefusesANullContextBeforeItLooksAtTheSize)
{
    for (const std::uint32_t size : {0U, 16U, 257U}) {
        EXPECT_EQ(TypeParam::kMalloc(nullptr, size), nullptr);
        this->expect_one_report();
    }
}

TYPED_TEST_P(ScratchContract, SecondSmallRequestGoesToTheHeapAndEitherOrderOfFreeingWorks)
{
    for (const bool first_first : {true, false}) {
        SCOPED_TRACE(first_first);
        const std::uint64_t live = this->live_bytes();
        void *first = TypeParam::kMalloc(this->ctx_, 16);
        void *second = TypeParam::kMalloc(this->ctx_, 16);
        EXPECT_EQ(first, this->ctx_->aucInlineBuf);
        ASSERT_NE(second, nullptr);
        EXPECT_NE(second, this->ctx_->aucInlineBuf);
        EXPECT_EQ(this->live_bytes(), live + 16);
        TypeParam::kFree(first_first ? &first : &second, this->ctx_);
        EXPECT_EQ(this->ctx_->uiInlineBufUsed, first_first ? 0U : 1U);
        TypeParam::kFree(first_first ? &second : &first, this->ctx_);
        EXPECT_EQ(this->ctx_->uiInlineBufUsed, 0U);
        EXPECT_EQ(first, nullptr);
        EXPECT_EQ(second, nullptr);
        EXPECT_EQ(this->live_bytes(), live);
    }
    EXPECT_TRUE(this->recorder_.asserts().empty());
}

TYPED_TEST_P(ScratchContract, InlineBufferIsLentAgainAfterItCameBackWhileAHeapBlockIsOut)
{
    void *first = TypeParam::kMalloc(this->ctx_, 256);
    void *second = TypeParam::kMalloc(this->ctx_, 256);
    TypeParam::kFree(&first, this->ctx_);
    void *third = TypeParam::kMalloc(this->ctx_, 256);
    EXPECT_EQ(third, this->ctx_->aucInlineBuf);
    TypeParam::kFree(&third, this->ctx_);
    TypeParam::kFree(&second, this->ctx_);
    EXPECT_TRUE(this->recorder_.asserts().empty());
}

TYPED_TEST_P(ScratchContract, AnExhaustedHeapGivesNullWithoutAReport)
{
    {
        const platform::FailAllocation failure(0);
        EXPECT_EQ(TypeParam::kMalloc(this->ctx_, 257), nullptr);
        EXPECT_TRUE(failure.fired());
    }
    void *inline_buf = TypeParam::kMalloc(this->ctx_, 16);
    {
        const platform::FailAllocation failure(0);
        EXPECT_EQ(TypeParam::kMalloc(this->ctx_, 16), nullptr);
        EXPECT_TRUE(failure.fired());
    }
    EXPECT_EQ(this->ctx_->uiInlineBufUsed, 1U);
    TypeParam::kFree(&inline_buf, this->ctx_);
    EXPECT_TRUE(this->recorder_.asserts().empty());
}

TYPED_TEST_P(ScratchContract, FreeOfANullArgumentIsReportedOnceAndIgnored)
{
    void *nothing = nullptr;
    TypeParam::kFree(nullptr, this->ctx_);
    this->expect_one_report();
    TypeParam::kFree(&nothing, this->ctx_);
    this->expect_one_report();
    TypeParam::kFree(nullptr, nullptr);
    this->expect_one_report();
    TypeParam::kFree(&nothing, nullptr);
    this->expect_one_report();
    EXPECT_EQ(nothing, nullptr);
}

TYPED_TEST_P(ScratchContract, FreeWithoutAContextLeavesBlockAndPointerAlone)
{
    const std::uint64_t live = this->live_bytes();
    void *const taken = TypeParam::kMalloc(this->ctx_, 300);
    void *mem = taken;
    TypeParam::kFree(&mem, nullptr);
    this->expect_one_report();
    EXPECT_EQ(mem, taken);
    EXPECT_EQ(this->live_bytes(), live + 300);
    TypeParam::kFree(&mem, this->ctx_);
    EXPECT_EQ(this->live_bytes(), live);
    EXPECT_TRUE(this->recorder_.asserts().empty());
}

TYPED_TEST_P(ScratchContract, FreeingTheInlineBufferTwiceIsReported)
{
    void *mem = TypeParam::kMalloc(this->ctx_, 16);
    TypeParam::kFree(&mem, this->ctx_);
    EXPECT_TRUE(this->recorder_.asserts().empty());
    TypeParam::kFree(&mem, this->ctx_); // the pointer is null by now
    this->expect_one_report();
    mem = this->ctx_->aucInlineBuf; // restored by hand: the flag tells
    TypeParam::kFree(&mem, this->ctx_);
    this->expect_one_report();
    EXPECT_EQ(this->ctx_->uiInlineBufUsed, 0U);
    EXPECT_EQ(mem, nullptr);
}

TYPED_TEST_P(ScratchContract, InlineBuffersOfTwoContextsAreTheirOwn)
{
    const Instance other(TypeParam::kConstruct, TypeParam::kDestruct, 1);
    void *mine = TypeParam::kMalloc(this->ctx_, 16);
    void *theirs = TypeParam::kMalloc(other.ctx, 16);
    EXPECT_EQ(mine, this->ctx_->aucInlineBuf);
    EXPECT_EQ(theirs, other.ctx->aucInlineBuf);
    TypeParam::kFree(&theirs, other.ctx);
    EXPECT_EQ(this->ctx_->uiInlineBufUsed, 1U);
    TypeParam::kFree(&mine, this->ctx_);
    EXPECT_TRUE(this->recorder_.asserts().empty());
}

REGISTER_TYPED_TEST_SUITE_P(ScratchContract, LendsTheInlineBufferUpToExactly256Bytes, TakesMoreThan256BytesFromTheHeap,
                            GivesNothingForSizeZeroQuietly, RefusesANullContextBeforeItLooksAtTheSize,
                            SecondSmallRequestGoesToTheHeapAndEitherOrderOfFreeingWorks,
                            InlineBufferIsLentAgainAfterItCameBackWhileAHeapBlockIsOut,
                            AnExhaustedHeapGivesNullWithoutAReport, FreeOfANullArgumentIsReportedOnceAndIgnored,
                            FreeWithoutAContextLeavesBlockAndPointerAlone, FreeingTheInlineBufferTwiceIsReported,
                            InlineBuffersOfTwoContextsAreTheirOwn);

} // namespace qel::test
