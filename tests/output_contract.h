// What the building of result blocks promises, checked alike for every family. A family's traits give the functions,
// the view and the third section: the non-key, or the label of VPNv4 multicast.
#pragma once

#include "dirty_heap.h"
#include "support.h"

#include <array>

namespace qel::test {

inline constexpr std::uint32_t kSections = 5;
inline constexpr std::uint32_t kAttr = 3; // index of the attribute section
inline constexpr std::uint8_t kAttrFlag = 0x35;
inline constexpr std::uint8_t kAttrType = 0xc7;

enum class State { kAbsent, kEmpty, kFull };
using States = std::array<State, kSections>;

inline constexpr std::array<std::uint16_t, kSections> kLengths = {8, 104, 100, 24, 21};

inline Bytes section_bytes(std::uint32_t section)
{
    Bytes out(kLengths[section]);
    for (std::size_t i = 0; i < out.size(); ++i) {
        out[i] = static_cast<std::uint8_t>(0x11 * (section + 1) + i);
    }
    return out;
}

// Where a section's offset and length stand in the block's header.
struct HeaderFields {
    std::uint32_t bit;
    std::size_t offset_at;
    std::size_t length_at;
};

inline void put16(Bytes &block, std::size_t at, std::size_t value)
{
    block[at] = static_cast<std::uint8_t>(value & 0xff);
    block[at + 1] = static_cast<std::uint8_t>((value >> 8) & 0xff);
}

// The block that the sections must become; empty: none.
template <class Family> Bytes expected_block(const States &states)
{
    std::size_t total = 32;
    for (std::uint32_t i = 0; i < kSections; ++i) {
        total += states[i] == State::kFull ? kLengths[i] : 0U;
    }
    if (total == 32) {
        return {};
    }
    Bytes block(total, 0);
    std::size_t offset = 32;
    for (std::uint32_t i = 0; i < kSections; ++i) {
        if (states[i] == State::kAbsent || offset == total) {
            continue; // also an empty section at the very end
        }
        const std::size_t length = states[i] == State::kFull ? kLengths[i] : 0U;
        block[0] = static_cast<std::uint8_t>(block[0] | Family::kFields[i].bit);
        put16(block, Family::kFields[i].offset_at, offset);
        put16(block, Family::kFields[i].length_at, length);
        if (i == kAttr) {
            block[4] = kAttrFlag;
            block[5] = kAttrType;
        }
        if (length != 0) {
            const Bytes section = section_bytes(i);
            std::memcpy(block.data() + offset, section.data(), length);
        }
        offset += length;
    }
    return block;
}

// The sections of a view as exact-size heap copies.
template <class Family> class ViewOf {
public:
    explicit ViewOf(const States &states)
    {
        std::memset(&view, 0, sizeof(view));
        view.ucAttrFlag = kAttrFlag;
        view.ucAttrType = kAttrType;
        for (std::uint32_t i = 0; i < kSections; ++i) {
            copies_.emplace_back(states[i] == State::kFull ? section_bytes(i) : Bytes{});
            const std::uint8_t *section = states[i] == State::kAbsent ? nullptr : copies_.back().data();
            // a length beside a null pointer counts for nothing
            set(i, section, states[i] == State::kEmpty ? 0 : kLengths[i]);
        }
    }

    void set(std::uint32_t section, const std::uint8_t *data, std::uint32_t length)
    {
        switch (section) {
        case 0:
            view.pucRd = data;
            view.uiRdLen = length;
            break;
        case 1:
            view.pucKey = data;
            view.uiKeyLen = length;
            break;
        case 2:
            Family::set_third(view, data, length);
            break;
        case kAttr:
            view.pucAttr = data;
            view.usAttrLen = static_cast<std::uint16_t>(length);
            break;
        default:
            view.pucCross = data;
            view.uiCrossLen = length;
            break;
        }
    }

    typename Family::View view;

private:
    std::vector<ExactCopy> copies_;
};

inline std::string to_string(const States &states)
{
    std::string text;
    for (const State state : states) {
        text += state == State::kAbsent ? '-' : state == State::kEmpty ? '0' : 'x';
    }
    return text;
}

// Calls visit with each of the 243 ways in which five sections can be absent, empty or full.
template <class Visit> void for_each_view(Visit visit)
{
    for (unsigned code = 0; code < 243; ++code) {
        States states{};
        unsigned rest = code;
        for (State &state : states) {
            state = static_cast<State>(rest % 3);
            rest /= 3;
        }
        SCOPED_TRACE(to_string(states));
        visit(states);
    }
}

// Family: View, kOutputData, kCalcOutputLen, kSteps, kBuildNone, kFields, set_third, kNothing (the code for a view with
// nothing to write), kNoneReports (reports of a no-value block that cannot be allocated), kSource.
template <class Family> class OutputContract : public ::testing::Test {
protected:
    // A pointer that no operation hands out, to see whether one was stored.
    static QEL_ROUTE_BLOCK_S *marker()
    {
        static QEL_ROUTE_BLOCK_S block{};
        return &block;
    }

    void expect_one_report()
    {
        ASSERT_EQ(recorder_.asserts().size(), 1U);
        EXPECT_NE(recorder_.asserts()[0].file.find(Family::kSource), std::string::npos) << recorder_.asserts()[0].file;
        recorder_.clear();
    }

    LeakCheck leaks_;
    platform::Recorder recorder_;
    QEL_ROUTE_BLOCK_S *block_ = marker();
};
TYPED_TEST_SUITE_P(OutputContract);

inline constexpr States kAllFull = {State::kFull, State::kFull, State::kFull, State::kFull, State::kFull};
inline constexpr States kAllAbsent = {};

TYPED_TEST_P(OutputContract, EverySetOfSectionsBecomesTheBlockByteByByte)
{
    for_each_view([this](const States &states) {
        const ViewOf<TypeParam> sections(states);
        const Bytes expected = expected_block<TypeParam>(states);
        dirty_the_heap(static_cast<std::uint32_t>(expected.size() + 1));
        const platform::HandleUsage before = platform::usage(kMemHandle);
        QEL_ROUTE_BLOCK_S *block = this->marker();
        const std::uint32_t code = TypeParam::kOutputData(&block, &sections.view, kMemHandle);
        if (expected.empty()) {
            EXPECT_EQ(code, TypeParam::kNothing);
            EXPECT_EQ(block, this->marker());
            EXPECT_EQ(platform::usage(kMemHandle).allocations, before.allocations);
            return;
        }
        ASSERT_EQ(code, QEL_OK);
        ASSERT_NE(block, this->marker());
        const Block owner(block);
        EXPECT_EQ(hex({owner.at(0), expected.size()}), hex(expected));
        EXPECT_EQ(platform::usage(kMemHandle).allocations, before.allocations + 1);
        EXPECT_EQ(platform::usage(kMemHandle).live_bytes, before.live_bytes + expected.size());
    });
    EXPECT_TRUE(this->recorder_.asserts().empty());
}

TYPED_TEST_P(OutputContract, LengthIsTheHeaderAndThePresentSections)
{
    for_each_view([](const States &states) {
        const ViewOf<TypeParam> sections(states);
        const Bytes expected = expected_block<TypeParam>(states);
        std::uint32_t length = 0xa5a5a5a5;
        const std::uint32_t code = TypeParam::kCalcOutputLen(&sections.view, &length);
        EXPECT_EQ(code, expected.empty() ? TypeParam::kNothing : QEL_OK);
        EXPECT_EQ(length, expected.empty() ? 0xa5a5a5a5 : expected.size());
    });
    EXPECT_TRUE(this->recorder_.asserts().empty());
}

TYPED_TEST_P(OutputContract, ALoneRdMakesABlockOfFortyBytes)
{
    ViewOf<TypeParam> sections(kAllAbsent);
    const Bytes rd = bytes("0000 6400 01000000");
    sections.set(0, rd.data(), 8);
    ASSERT_EQ(TypeParam::kOutputData(&this->block_, &sections.view, kMemHandle), QEL_OK);
    const Block block(this->block_);
    EXPECT_EQ(hex({block.at(0), 40}), "01000000"
                                      "0000"
                                      "0000"
                                      "2000"
                                      "0800"
                                      "0000"
                                      "0000"
                                      "0000"
                                      "0000"
                                      "0000"
                                      "0000"
                                      "0000"
                                      "0000"
                                      "0000"
                                      "0000"
                                      "0000640001000000");
}

TYPED_TEST_P(OutputContract, AnEmptyAttributeAloneAllocatesNothing)
{
    ViewOf<TypeParam> sections(kAllAbsent);
    const std::uint8_t nothing = 0;
    sections.set(kAttr, &nothing, 0);
    const std::uint64_t allocations = platform::usage(kMemHandle).allocations;
    EXPECT_EQ(TypeParam::kOutputData(&this->block_, &sections.view, kMemHandle), TypeParam::kNothing);
    EXPECT_EQ(this->block_, this->marker());
    EXPECT_EQ(platform::usage(kMemHandle).allocations, allocations);
    EXPECT_TRUE(this->recorder_.asserts().empty());
}

TYPED_TEST_P(OutputContract, SectionsMayStandAtAnyAddress)
{
    for (std::uint32_t i = 0; i < kSections; ++i) {
        SCOPED_TRACE(i);
        Bytes shifted = section_bytes(i);
        shifted.insert(shifted.begin(), 0xee);
        const ExactCopy copy(shifted);
        ViewOf<TypeParam> sections(kAllAbsent);
        sections.set(i, copy.data() + 1, kLengths[i]);
        QEL_ROUTE_BLOCK_S *block = nullptr;
        ASSERT_EQ(TypeParam::kOutputData(&block, &sections.view, kMemHandle), QEL_OK);
        const Block owner(block);
        EXPECT_EQ(hex({owner.at(32), kLengths[i]}), hex(section_bytes(i)));
    }
}

TYPED_TEST_P(OutputContract, TheBlockComesFromTheGivenHandle)
{
    static constexpr std::uint32_t kOtherHandle = 0x80000001;
    const ViewOf<TypeParam> sections(kAllFull);
    const platform::HandleUsage before = platform::usage(kOtherHandle);
    ASSERT_EQ(TypeParam::kOutputData(&this->block_, &sections.view, kOtherHandle), QEL_OK);
    EXPECT_EQ(platform::usage(kOtherHandle).live_blocks, before.live_blocks + 1);
    {
        const Block owner(this->block_);
    }
    EXPECT_EQ(platform::usage(kOtherHandle).live_blocks, before.live_blocks);
}

TYPED_TEST_P(OutputContract, ABlockThatCannotBeAllocatedIsReportedAndNothingIsStored)
{
    const ViewOf<TypeParam> sections(kAllFull);
    const platform::FailAllocation failure(0);
    EXPECT_EQ(TypeParam::kOutputData(&this->block_, &sections.view, kMemHandle), QEL_ERR_ALLOC);
    EXPECT_TRUE(failure.fired());
    EXPECT_EQ(this->block_, this->marker());
    this->expect_one_report();
}

TYPED_TEST_P(OutputContract, MissingArgumentsAreReportedOnceAndRefused)
{
    const ViewOf<TypeParam> sections(kAllFull);
    const typename TypeParam::View *const view = &sections.view;
    const std::uint64_t allocations = platform::total_usage().allocations;
    struct {
        QEL_ROUTE_BLOCK_S **block;
        const typename TypeParam::View *view;
        std::uint32_t handle;
    } const cases[] = {
        {nullptr, view, kMemHandle},    {&this->block_, nullptr, kMemHandle}, {&this->block_, view, 0},
        {nullptr, nullptr, kMemHandle}, {&this->block_, nullptr, 0},          {nullptr, nullptr, 0},
    };
    for (const auto &c : cases) {
        EXPECT_EQ(TypeParam::kOutputData(c.block, c.view, c.handle), QEL_ERR_NULL);
        this->expect_one_report();
    }
    const Instance instance(TypeParam::kConstruct, TypeParam::kDestruct, 1);
    EXPECT_EQ(TypeParam::kBuildNone(nullptr, instance.ctx), QEL_ERR_NULL);
    this->expect_one_report();
    EXPECT_EQ(TypeParam::kBuildNone(&this->block_, nullptr), QEL_ERR_NULL);
    this->expect_one_report();
    EXPECT_EQ(this->block_, this->marker());
    EXPECT_EQ(platform::total_usage().allocations, allocations + 1) << "the instance's own";
    std::uint32_t length = 7;
    EXPECT_EQ(TypeParam::kCalcOutputLen(nullptr, &length), QEL_ERR_NULL);
    this->expect_one_report();
    EXPECT_EQ(TypeParam::kCalcOutputLen(view, nullptr), QEL_ERR_NULL);
    this->expect_one_report();
    EXPECT_EQ(length, 7U);
}

// Lengths that no parser gives: the sum is taken in 32 bits.
TYPED_TEST_P(OutputContract, ALengthThatWrapsToTheHeaderOrLessMakesNoBlock)
{
    const std::uint8_t section = 0;
    const std::uint64_t allocations = platform::usage(kMemHandle).allocations;
    ViewOf<TypeParam> sections(kAllAbsent);
    sections.set(0, &section, 0xfffffff0);
    std::uint32_t length = 0;
    EXPECT_EQ(TypeParam::kCalcOutputLen(&sections.view, &length), QEL_OK);
    EXPECT_EQ(length, 16U);
    EXPECT_EQ(TypeParam::kOutputData(&this->block_, &sections.view, kMemHandle), QEL_OK);
    EXPECT_EQ(this->block_, this->marker());
    sections.set(0, &section, 0xffffffff);
    EXPECT_EQ(TypeParam::kOutputData(&this->block_, &sections.view, kMemHandle), QEL_OK);
    EXPECT_EQ(this->block_, this->marker());
    sections.set(1, &section, 1);
    EXPECT_EQ(TypeParam::kOutputData(&this->block_, &sections.view, kMemHandle), TypeParam::kNothing);
    EXPECT_EQ(platform::usage(kMemHandle).allocations, allocations);
}

// A block of the wrapped size would have its second section written behind it.
TYPED_TEST_P(OutputContract, ALengthThatWrapsToMoreThanTheHeaderIsLikeExhaustedMemory)
{
    const std::vector<std::uint8_t> section(0x8008, 0x5a);
    const std::uint64_t allocations = platform::usage(kMemHandle).allocations;
    ViewOf<TypeParam> sections(kAllAbsent);
    sections.set(0, section.data(), 0xffff8000);
    sections.set(1, section.data(), 0x8008);
    const platform::Recorder recorder;
    EXPECT_EQ(TypeParam::kOutputData(&this->block_, &sections.view, kMemHandle), QEL_ERR_ALLOC);
    EXPECT_EQ(recorder.asserts().size(), 1U);
    EXPECT_EQ(this->block_, this->marker());
    EXPECT_EQ(platform::usage(kMemHandle).allocations, allocations);
}

TYPED_TEST_P(OutputContract, LengthsAreCutTo16BitsInTheHeader)
{
    const Bytes big(0x10004, 0x77);
    ViewOf<TypeParam> sections(kAllAbsent);
    sections.set(4, big.data(), 0x10004);
    ASSERT_EQ(TypeParam::kOutputData(&this->block_, &sections.view, kMemHandle), QEL_OK);
    const Block block(this->block_);
    EXPECT_EQ(block->uiValidMask, QEL_SECTION_CROSS);
    EXPECT_EQ(block->usCrossOffset, 32U);
    EXPECT_EQ(block->usCrossLen, 4U);
    EXPECT_EQ(std::memcmp(block.at(32), big.data(), big.size()), 0);
    EXPECT_TRUE(this->recorder_.asserts().empty());
}

TYPED_TEST_P(OutputContract, EachStepAppendsItsOwnSection)
{
    const ViewOf<TypeParam> sections(kAllFull);
    for (std::uint32_t i = 0; i < kSections; ++i) {
        SCOPED_TRACE(i);
        alignas(QEL_ROUTE_BLOCK_S) std::array<std::uint8_t, 256> space{};
        auto *block = reinterpret_cast<QEL_ROUTE_BLOCK_S *>(space.data());
        block->uiValidMask = 0x80;
        std::uint32_t remain = kLengths[i] + 3U;
        std::uint16_t offset = 40;
        ASSERT_EQ(TypeParam::kSteps[i](block, &remain, &sections.view, &offset), QEL_OK);
        Bytes expected(space.size(), 0);
        expected[0] = static_cast<std::uint8_t>(0x80 | TypeParam::kFields[i].bit);
        put16(expected, TypeParam::kFields[i].offset_at, 40);
        put16(expected, TypeParam::kFields[i].length_at, kLengths[i]);
        if (i == kAttr) {
            expected[4] = kAttrFlag;
            expected[5] = kAttrType;
        }
        const Bytes section = section_bytes(i);
        std::memcpy(expected.data() + 40, section.data(), section.size());
        EXPECT_EQ(hex(space), hex(expected));
        EXPECT_EQ(remain, 3U);
        EXPECT_EQ(offset, 40U + kLengths[i]);
    }
    EXPECT_TRUE(this->recorder_.asserts().empty());
}

TYPED_TEST_P(OutputContract, AStepKeepsTheBitsThatAreSet)
{
    const ViewOf<TypeParam> sections(kAllFull);
    for (std::uint32_t i = 0; i < kSections; ++i) {
        alignas(QEL_ROUTE_BLOCK_S) std::array<std::uint8_t, 256> space{};
        auto *block = reinterpret_cast<QEL_ROUTE_BLOCK_S *>(space.data());
        block->uiValidMask = 0xffffffff;
        std::uint32_t remain = 200;
        std::uint16_t offset = 32;
        EXPECT_EQ(TypeParam::kSteps[i](block, &remain, &sections.view, &offset), QEL_OK);
        EXPECT_EQ(block->uiValidMask, 0xffffffffU) << i;
    }
}

TYPED_TEST_P(OutputContract, AStepWritesNothingForAnAbsentSectionOrWithoutSpace)
{
    const ViewOf<TypeParam> full(kAllFull);
    const ViewOf<TypeParam> absent(kAllAbsent);
    for (std::uint32_t i = 0; i < kSections; ++i) {
        for (const bool no_space : {false, true}) {
            SCOPED_TRACE(i);
            QEL_ROUTE_BLOCK_S block{};
            std::uint32_t remain = no_space ? 0 : 200;
            std::uint16_t offset = 32;
            EXPECT_EQ(TypeParam::kSteps[i](&block, &remain, no_space ? &full.view : &absent.view, &offset), QEL_OK);
            EXPECT_EQ(hex({reinterpret_cast<std::uint8_t *>(&block), 32}), std::string(64, '0'));
            EXPECT_EQ(remain, no_space ? 0U : 200U);
            EXPECT_EQ(offset, 32U);
        }
    }
    EXPECT_TRUE(this->recorder_.asserts().empty());
}

// A section that does not fit is reported; header, space left and offset move on as if it had been copied.
TYPED_TEST_P(OutputContract, AStepWhoseCopyDoesNotFitReportsAndCarriesOn)
{
    const ViewOf<TypeParam> sections(kAllFull);
    for (std::uint32_t i = 0; i < kSections; ++i) {
        SCOPED_TRACE(i);
        QEL_ROUTE_BLOCK_S block{};
        std::uint32_t remain = kLengths[i] - 1U;
        std::uint16_t offset = 32;
        EXPECT_EQ(TypeParam::kSteps[i](&block, &remain, &sections.view, &offset), QEL_OK);
        this->expect_one_report();
        EXPECT_EQ(block.uiValidMask, TypeParam::kFields[i].bit);
        EXPECT_EQ(block.ucAttrFlag, i == kAttr ? kAttrFlag : 0);
        EXPECT_EQ(block.ucAttrType, i == kAttr ? kAttrType : 0);
        Bytes expected(32, 0);
        put16(expected, TypeParam::kFields[i].offset_at, 32);
        put16(expected, TypeParam::kFields[i].length_at, kLengths[i]);
        EXPECT_EQ(hex({reinterpret_cast<std::uint8_t *>(&block) + 8, 24}), hex({expected.data() + 8, 24}));
        EXPECT_EQ(remain, 0xffffffffU);
        EXPECT_EQ(offset, 32U + kLengths[i]);
    }
}

TYPED_TEST_P(OutputContract, AStepRefusesEachMissingArgumentWithOneReport)
{
    const ViewOf<TypeParam> sections(kAllFull);
    for (std::uint32_t i = 0; i < kSections; ++i) {
        for (unsigned nulls = 1; nulls < 16; ++nulls) {
            SCOPED_TRACE(i * 100 + nulls);
            QEL_ROUTE_BLOCK_S block{};
            std::uint32_t remain = 200;
            std::uint16_t offset = 32;
            EXPECT_EQ(TypeParam::kSteps[i]((nulls & 1) != 0 ? nullptr : &block, (nulls & 2) != 0 ? nullptr : &remain,
                                           (nulls & 4) != 0 ? nullptr : &sections.view,
                                           (nulls & 8) != 0 ? nullptr : &offset),
                      QEL_ERR_NULL);
            this->expect_one_report();
            EXPECT_EQ(block.uiValidMask, 0U);
            EXPECT_EQ(remain, 200U);
            EXPECT_EQ(offset, 32U);
        }
    }
}

TYPED_TEST_P(OutputContract, ANoValueBlockSaysThatAttribute16IsEmpty)
{
    const Instance instance(TypeParam::kConstruct, TypeParam::kDestruct, 1);
    dirty_the_heap(32);
    const platform::HandleUsage before = platform::usage(kMemHandle);
    ASSERT_EQ(TypeParam::kBuildNone(&this->block_, instance.ctx), QEL_OK);
    ASSERT_NE(this->block_, this->marker());
    EXPECT_EQ(platform::usage(kMemHandle).live_blocks, before.live_blocks + 1);
    EXPECT_EQ(platform::usage(kMemHandle).live_bytes, before.live_bytes + 32);
    const Block block(this->block_);
    EXPECT_EQ(hex({block.at(0), 32}), "08000000"
                                      "00"
                                      "10"
                                      "0000" +
                                          std::string(48, '0'));
    EXPECT_TRUE(this->recorder_.asserts().empty());
}

TYPED_TEST_P(OutputContract, ANoValueBlockThatCannotBeAllocatedStoresNull)
{
    const Instance instance(TypeParam::kConstruct, TypeParam::kDestruct, 1);
    const platform::FailAllocation failure(0);
    EXPECT_EQ(TypeParam::kBuildNone(&this->block_, instance.ctx), QEL_ERR_ALLOC);
    EXPECT_TRUE(failure.fired());
    EXPECT_EQ(this->block_, nullptr);
    EXPECT_EQ(this->recorder_.asserts().size(), TypeParam::kNoneReports);
}

REGISTER_TYPED_TEST_SUITE_P(OutputContract, EverySetOfSectionsBecomesTheBlockByteByByte,
                            LengthIsTheHeaderAndThePresentSections, ALoneRdMakesABlockOfFortyBytes,
                            AnEmptyAttributeAloneAllocatesNothing, SectionsMayStandAtAnyAddress,
                            TheBlockComesFromTheGivenHandle, ABlockThatCannotBeAllocatedIsReportedAndNothingIsStored,
                            MissingArgumentsAreReportedOnceAndRefused, ALengthThatWrapsToTheHeaderOrLessMakesNoBlock,
                            ALengthThatWrapsToMoreThanTheHeaderIsLikeExhaustedMemory, LengthsAreCutTo16BitsInTheHeader,
                            EachStepAppendsItsOwnSection, AStepKeepsTheBitsThatAreSet,
                            AStepWritesNothingForAnAbsentSectionOrWithoutSpace,
                            AStepWhoseCopyDoesNotFitReportsAndCarriesOn, AStepRefusesEachMissingArgumentWithOneReport,
                            ANoValueBlockSaysThatAttribute16IsEmpty, ANoValueBlockThatCannotBeAllocatedStoresNull);

} // namespace qel::test
