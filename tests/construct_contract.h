// What construction and destruction promise, checked alike for every family. A family's traits give the entry points,
// the size of its context and the descriptor as it must look afterwards.
#pragma once

#include "dirty_heap.h"
#include "support.h"

#include <array>
#include <cstddef>
#include <initializer_list>

namespace qel::test {

inline constexpr std::uint8_t kDescriptorFill = 0xa5;

using Slots = std::array<std::uintptr_t, QEL_OPERATION_SLOTS>;
inline constexpr std::size_t kFirstSlot = offsetof(QEL_FAMILY_DESC_S, pfParsePkt);

inline Slots slots_of(const QEL_FAMILY_DESC_S &desc)
{
    Slots slots{};
    static_assert(sizeof(slots) == sizeof(desc) - kFirstSlot);
    std::memcpy(slots.data(), reinterpret_cast<const std::uint8_t *>(&desc) + kFirstSlot, sizeof(slots));
    return slots;
}

// A descriptor whose every byte is `fill`, so that a word that construction leaves alone shows.
inline QEL_FAMILY_DESC_S filled_descriptor(std::uint8_t fill = kDescriptorFill)
{
    QEL_FAMILY_DESC_S desc;
    std::memset(&desc, fill, sizeof(desc));
    return desc;
}

inline void put_list(std::uint32_t (&list)[QEL_TYPE_LIST_MAX], std::uint8_t &count,
                     std::initializer_list<std::uint32_t> types)
{
    count = static_cast<std::uint8_t>(types.size());
    std::size_t i = 0;
    for (const std::uint32_t type : types) {
        list[i++] = type;
    }
}

// The six actions on a community list, as bits and in both lists.
inline void put_community_actions(QEL_FAMILY_DESC_S &desc)
{
    desc.auiActionTypeBits[0] = 0xc0;
    desc.auiActionTypeBits[1] = 0x70;
    desc.auiActionTypeBits[2] = 0x800000;
    desc.auiActionTypeBits[3] = 0;
    put_list(desc.auiPolicyActionTypes, desc.ucPolicyActionCount, {6, 7, 36, 37, 38, 87});
    put_list(desc.auiApplyActionTypes, desc.ucApplyActionCount, {6, 7, 36, 37, 38, 87});
}

template <std::size_t kWords>
void expect_words(const std::uint32_t (&actual)[kWords], const std::uint32_t (&expected)[kWords], const char *list)
{
    for (std::size_t i = 0; i < kWords; ++i) {
        EXPECT_EQ(actual[i], expected[i]) << list << "[" << i << "]";
    }
}

// Every field, every list entry and every slot.
inline void expect_descriptor(const QEL_FAMILY_DESC_S &actual, const QEL_FAMILY_DESC_S &expected)
{
    EXPECT_EQ(actual.uiAddrFamily, expected.uiAddrFamily);
    EXPECT_EQ(actual.ucFamilyCode, expected.ucFamilyCode);
    EXPECT_EQ(actual.ucPktAttrCount, expected.ucPktAttrCount);
    EXPECT_EQ(actual.ucMsgTlvCount, expected.ucMsgTlvCount);
    EXPECT_EQ(actual.ucHaMsgTlvCount, expected.ucHaMsgTlvCount);
    EXPECT_EQ(actual.ucAttrMsgTlvCount, expected.ucAttrMsgTlvCount);
    EXPECT_EQ(actual.ucPolicyActionCount, expected.ucPolicyActionCount);
    EXPECT_EQ(actual.ucApplyActionCount, expected.ucApplyActionCount);
    expect_words(actual.auiPktAttrTypes, expected.auiPktAttrTypes, "auiPktAttrTypes");
    expect_words(actual.auiMsgTlvTypes, expected.auiMsgTlvTypes, "auiMsgTlvTypes");
    expect_words(actual.auiHaMsgTlvTypes, expected.auiHaMsgTlvTypes, "auiHaMsgTlvTypes");
    expect_words(actual.auiAttrMsgTlvTypes, expected.auiAttrMsgTlvTypes, "auiAttrMsgTlvTypes");
    expect_words(actual.auiMatchTypeMask, expected.auiMatchTypeMask, "auiMatchTypeMask");
    expect_words(actual.auiActionTypeBits, expected.auiActionTypeBits, "auiActionTypeBits");
    expect_words(actual.auiPolicyActionTypes, expected.auiPolicyActionTypes, "auiPolicyActionTypes");
    expect_words(actual.auiApplyActionTypes, expected.auiApplyActionTypes, "auiApplyActionTypes");
    const Slots actual_slots = slots_of(actual);
    const Slots expected_slots = slots_of(expected);
    for (std::size_t i = 0; i < actual_slots.size(); ++i) {
        EXPECT_EQ(actual_slots[i], expected_slots[i]) << "slot " << i;
    }
}

// Family: kConstruct, kDestruct, kCtxLen, kSource (part of the source file's name), describe(desc) writes what the
// family's construction writes.
template <class Family> class ConstructContract : public ::testing::Test {
};
TYPED_TEST_SUITE_P(ConstructContract);

TYPED_TEST_P(ConstructContract, WritesItsValuesAndLeavesEveryOtherWordAlone)
{
    for (const std::uint8_t fill : {std::uint8_t{kDescriptorFill}, std::uint8_t{0}, std::uint8_t{0x5a}}) {
        SCOPED_TRACE(fill);
        QEL_FAMILY_DESC_S desc = filled_descriptor(fill);
        QEL_FAMILY_DESC_S expected = desc;
        TypeParam::describe(expected);
        platform::Recorder recorder;
        QEL_FAMILY_CTX_S *ctx = TypeParam::kConstruct(&desc, kMemHandle);
        ASSERT_NE(ctx, nullptr);
        expect_descriptor(desc, expected);
        EXPECT_TRUE(recorder.asserts().empty());
        EXPECT_TRUE(recorder.debugs().empty());
        TypeParam::kDestruct(ctx);
    }
}

TYPED_TEST_P(ConstructContract, KeepsTheHostsValueInEverySpareSlotAndClearsSlot30)
{
    QEL_FAMILY_DESC_S desc = filled_descriptor();
    const Slots before = slots_of(desc);
    QEL_FAMILY_CTX_S *ctx = TypeParam::kConstruct(&desc, kMemHandle);
    ASSERT_NE(ctx, nullptr);
    const Slots after = slots_of(desc);
    for (const std::size_t spare : {17U, 27U, 28U, 29U, 31U, 32U, 33U, 37U, 39U, 40U, 41U, 42U, 43U}) {
        EXPECT_EQ(after[spare], before[spare]) << "slot " << spare;
    }
    EXPECT_EQ(after[30], 0U);
    TypeParam::kDestruct(ctx);
}

TYPED_TEST_P(ConstructContract, ClearsTheFirstWordWhateverTheHostPassed)
{
    for (const std::uint32_t given : {0U, 1U, 2U, 0x10001U, 0xffffffffU}) {
        QEL_FAMILY_DESC_S desc{};
        desc.uiAddrFamily = given;
        QEL_FAMILY_CTX_S *ctx = TypeParam::kConstruct(&desc, kMemHandle);
        ASSERT_NE(ctx, nullptr);
        EXPECT_EQ(desc.uiAddrFamily, 0U) << given;
        TypeParam::kDestruct(ctx);
    }
}

TYPED_TEST_P(ConstructContract, AllocatesOneClearedContextOnTheGivenHandle)
{
    static constexpr std::uint32_t kOtherHandle = 0xfffffff1;
    QEL_FAMILY_DESC_S desc{};
    for (const std::uint32_t handle : {kMemHandle, kOtherHandle}) {
        dirty_the_heap(TypeParam::kCtxLen);
        const platform::HandleUsage before = platform::usage(handle);
        QEL_FAMILY_CTX_S *ctx = TypeParam::kConstruct(&desc, handle);
        ASSERT_NE(ctx, nullptr);
        EXPECT_EQ(platform::usage(handle).allocations, before.allocations + 1);
        EXPECT_EQ(platform::usage(handle).live_bytes, before.live_bytes + TypeParam::kCtxLen);
        EXPECT_EQ(ctx->uiMemHandle, handle);
        Bytes expected(TypeParam::kCtxLen, 0);
        std::memcpy(expected.data(), &handle, sizeof(handle));
        const auto *octets = reinterpret_cast<const std::uint8_t *>(ctx);
        EXPECT_EQ(hex({octets, TypeParam::kCtxLen}), hex(expected));
        TypeParam::kDestruct(ctx);
        EXPECT_EQ(platform::usage(handle).live_blocks, before.live_blocks);
        EXPECT_EQ(platform::usage(handle).live_bytes, before.live_bytes);
    }
}

TYPED_TEST_P(ConstructContract, RefusesANullDescriptorWithOneReport)
{
    const LeakCheck leaks;
    for (const std::uint32_t handle : {kMemHandle, 0U}) {
        platform::Recorder recorder;
        const std::uint64_t allocations = platform::usage(kMemHandle).allocations;
        EXPECT_EQ(TypeParam::kConstruct(nullptr, handle), nullptr);
        ASSERT_EQ(recorder.asserts().size(), 1U);
        EXPECT_NE(recorder.asserts()[0].file.find(TypeParam::kSource), std::string::npos) << recorder.asserts()[0].file;
        EXPECT_EQ(recorder.asserts()[0].value, 0U);
        EXPECT_EQ(platform::usage(kMemHandle).allocations, allocations);
    }
}

TYPED_TEST_P(ConstructContract, RefusesMemoryHandleZeroAndLeavesTheDescriptorAlone)
{
    QEL_FAMILY_DESC_S desc = filled_descriptor();
    const std::uint64_t allocations = platform::total_usage().allocations;
    platform::Recorder recorder;
    EXPECT_EQ(TypeParam::kConstruct(&desc, 0), nullptr);
    EXPECT_EQ(recorder.asserts().size(), 1U);
    EXPECT_EQ(platform::total_usage().allocations, allocations);
    expect_descriptor(desc, filled_descriptor());
}

TYPED_TEST_P(ConstructContract, AnswersNullToAFailedAllocationAndLeavesTheDescriptorAlone)
{
    const LeakCheck leaks;
    QEL_FAMILY_DESC_S desc = filled_descriptor();
    platform::Recorder recorder;
    const platform::FailAllocation failure(0);
    EXPECT_EQ(TypeParam::kConstruct(&desc, kMemHandle), nullptr);
    EXPECT_TRUE(failure.fired());
    EXPECT_EQ(recorder.asserts().size(), 1U);
    expect_descriptor(desc, filled_descriptor());
}

TYPED_TEST_P(ConstructContract, InstancesAreIndependent)
{
    const LeakCheck leaks;
    QEL_FAMILY_DESC_S desc{};
    QEL_FAMILY_CTX_S *first = TypeParam::kConstruct(&desc, kMemHandle);
    QEL_FAMILY_CTX_S *second = TypeParam::kConstruct(&desc, kMemHandle + 1);
    ASSERT_NE(first, nullptr);
    ASSERT_NE(second, nullptr);
    EXPECT_NE(first, second);
    TypeParam::kDestruct(first);
    EXPECT_EQ(second->uiMemHandle, kMemHandle + 1);
    TypeParam::kDestruct(second);
}

TYPED_TEST_P(ConstructContract, DestructReleasesTheContextAndNothingElse)
{
    QEL_FAMILY_DESC_S desc = filled_descriptor();
    const LeakCheck leaks;
    platform::Recorder recorder;
    QEL_FAMILY_CTX_S *ctx = TypeParam::kConstruct(&desc, kMemHandle);
    ASSERT_NE(ctx, nullptr);
    ctx->uiInlineBufUsed = 1; // a buffer that is still lent out does not hold the context back
    QEL_FAMILY_DESC_S expected = filled_descriptor();
    TypeParam::describe(expected);
    TypeParam::kDestruct(ctx);
    EXPECT_TRUE(recorder.asserts().empty());
    expect_descriptor(desc, expected);
}

TYPED_TEST_P(ConstructContract, DestructOfNullIsReportedAndIgnored)
{
    const platform::HandleUsage before = platform::total_usage();
    platform::Recorder recorder;
    TypeParam::kDestruct(nullptr);
    ASSERT_EQ(recorder.asserts().size(), 1U);
    EXPECT_NE(recorder.asserts()[0].file.find(TypeParam::kSource), std::string::npos);
    EXPECT_EQ(recorder.asserts()[0].value, 0U);
    EXPECT_EQ(platform::total_usage().live_blocks, before.live_blocks);
}

REGISTER_TYPED_TEST_SUITE_P(ConstructContract, WritesItsValuesAndLeavesEveryOtherWordAlone,
                            KeepsTheHostsValueInEverySpareSlotAndClearsSlot30, ClearsTheFirstWordWhateverTheHostPassed,
                            AllocatesOneClearedContextOnTheGivenHandle, RefusesANullDescriptorWithOneReport,
                            RefusesMemoryHandleZeroAndLeavesTheDescriptorAlone,
                            AnswersNullToAFailedAllocationAndLeavesTheDescriptorAlone, InstancesAreIndependent,
                            DestructReleasesTheContextAndNothingElse, DestructOfNullIsReportedAndIgnored);

} // namespace qel::test
