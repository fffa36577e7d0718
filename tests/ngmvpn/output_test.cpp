// Result blocks of NG-MVPN, and the NLRI parsers' shortcut to them.
#include "ngmvpn/qel_ngmvpn.h"

#include "octets.h"
#include "output_contract.h"

namespace qel::test {
namespace {

struct Ngmvpn {
    using View = QEL_ROUTE_VIEW_S;
    static constexpr Construct kConstruct = QEL_NGMVPN_Construct;
    static constexpr Destruct kDestruct = QEL_NGMVPN_Destruct;
    static constexpr auto kOutputData = QEL_NGMVPN_OutputData;
    static constexpr auto kCalcOutputLen = QEL_NGMVPN_CalcOutputLen;
    static constexpr auto kBuildNone = QEL_NGMVPN_BuildNoneValueOutput;
    static constexpr std::array kSteps = {QEL_NGMVPN_OutputRd, QEL_NGMVPN_OutputKey, QEL_NGMVPN_OutputNonKey,
                                          QEL_NGMVPN_OutputAttr, QEL_NGMVPN_OutputCross};
    static constexpr HeaderFields kFields[] = {
        {0x1, 8, 10}, {0x2, 12, 14}, {0x4, 16, 18}, {0x8, 24, 26}, {0x10, 28, 30}};
    static constexpr std::uint32_t kNothing = QEL_ERR_NULL;
    static constexpr std::size_t kNoneReports = 1;
    static constexpr const char *kSource = "qel_ngmvpn.cpp";
    static void set_third(View &view, const std::uint8_t *data, std::uint32_t length)
    {
        view.pucNonKey = data;
        view.uiNonKeyLen = length;
    }
};

INSTANTIATE_TYPED_TEST_SUITE_P(Ngmvpn, OutputContract, Ngmvpn);

// A block of a view, and what its making left behind.
class NgmvpnBlock : public ::testing::Test {
protected:
    NgmvpnBlock()
    {
        view_.ucAttrFlag = 0x35;
        view_.ucAttrType = 0xc7;
    }
    std::uint32_t build()
    {
        QEL_ROUTE_BLOCK_S *made = nullptr;
        const std::uint32_t code = QEL_NGMVPN_OutputData(&made, &view_, kMemHandle);
        block_ = Block(made);
        return code;
    }
    void rd(std::uint32_t length)
    {
        view_.pucRd = octets_.data();
        view_.uiRdLen = length;
    }
    void key(std::uint32_t length)
    {
        view_.pucKey = octets_.data() + 16;
        view_.uiKeyLen = length;
    }
    void non_key(std::uint32_t length)
    {
        view_.pucNonKey = octets_.data() + 32;
        view_.uiNonKeyLen = length;
    }
    void attr(std::uint16_t length)
    {
        view_.pucAttr = octets_.data() + 48;
        view_.usAttrLen = length;
    }
    void cross(std::uint32_t length)
    {
        view_.pucCross = octets_.data() + 64;
        view_.uiCrossLen = length;
    }
    Bytes part(std::size_t at, std::size_t length) const { return {octets_.data() + at, octets_.data() + at + length}; }

    LeakCheck leaks_;
    platform::Recorder recorder_;
    Bytes octets_ = [] {
        Bytes out(80);
        for (std::size_t i = 0; i < out.size(); ++i) {
            out[i] = static_cast<std::uint8_t>(0x80 + i);
        }
        return out;
    }();
    QEL_ROUTE_VIEW_S view_{};
    Block block_;
};

TEST_F(NgmvpnBlock, OfALoneRdHasFortyBytes)
{
    rd(8);
    const std::uint64_t live = platform::usage(kMemHandle).live_bytes;
    ASSERT_EQ(build(), QEL_OK);
    EXPECT_EQ(platform::usage(kMemHandle).live_bytes - live, 40U);
    EXPECT_EQ(block_->uiValidMask, 1U);
    EXPECT_EQ(block_->usRdOffset, 32U);
    EXPECT_EQ(block_->usRdLen, 8U);
    EXPECT_EQ(block_.section(32, 8), part(0, 8));
}

TEST_F(NgmvpnBlock, OfAnEmptyAttributeAloneIsRefusedWithoutAReport)
{
    attr(0);
    const std::uint64_t allocations = platform::usage(kMemHandle).allocations;
    EXPECT_EQ(build(), QEL_ERR_NULL);
    EXPECT_FALSE(block_);
    EXPECT_EQ(platform::usage(kMemHandle).allocations, allocations);
    EXPECT_TRUE(recorder_.asserts().empty());
}

TEST_F(NgmvpnBlock, OfNothingIsRefusedAndNoLengthIsStored)
{
    std::uint32_t length = 77;
    EXPECT_EQ(QEL_NGMVPN_CalcOutputLen(&view_, &length), QEL_ERR_NULL);
    EXPECT_EQ(length, 77U);
    EXPECT_EQ(build(), QEL_ERR_NULL);
    EXPECT_TRUE(recorder_.asserts().empty());
}

TEST_F(NgmvpnBlock, HasRdKeyNonKeyAttributeAndCrossInThisOrderBehindItsHeader)
{
    rd(8);
    key(7);
    non_key(6);
    attr(5);
    cross(4);
    ASSERT_EQ(build(), QEL_OK);
    EXPECT_EQ(block_->uiValidMask, 0x1fU);
    EXPECT_EQ(hex(block_.section(32, 30)),
              hex(part(0, 8)) + hex(part(16, 7)) + hex(part(32, 6)) + hex(part(48, 5)) + hex(part(64, 4)));
    EXPECT_EQ(block_->usRdOffset, 32U);
    EXPECT_EQ(block_->usKeyOffset, 40U);
    EXPECT_EQ(block_->usNonKeyOffset, 47U);
    EXPECT_EQ(block_->usAttrOffset, 53U);
    EXPECT_EQ(block_->usCrossOffset, 58U);
    EXPECT_EQ(block_->usRdLen, 8U);
    EXPECT_EQ(block_->usKeyLen, 7U);
    EXPECT_EQ(block_->usNonKeyLen, 6U);
    EXPECT_EQ(block_->usAttrLen, 5U);
    EXPECT_EQ(block_->usCrossLen, 4U);
    EXPECT_TRUE(recorder_.asserts().empty());
}

TEST_F(NgmvpnBlock, CountsNoLengthBesideANullPointer)
{
    view_.uiRdLen = view_.uiKeyLen = view_.uiNonKeyLen = view_.uiCrossLen = 100;
    view_.usAttrLen = 100;
    EXPECT_EQ(build(), QEL_ERR_NULL);
    rd(8);
    const std::uint64_t live = platform::usage(kMemHandle).live_bytes;
    ASSERT_EQ(build(), QEL_OK);
    EXPECT_EQ(platform::usage(kMemHandle).live_bytes - live, 40U);
    EXPECT_EQ(block_->uiValidMask, 1U);
}

TEST_F(NgmvpnBlock, SetsTheBitOfAnEmptySectionBeforeAnother)
{
    key(0);
    cross(4);
    ASSERT_EQ(build(), QEL_OK);
    EXPECT_EQ(block_->uiValidMask, 0x12U);
    EXPECT_EQ(block_->usKeyOffset, 32U);
    EXPECT_EQ(block_->usKeyLen, 0U);
    EXPECT_EQ(block_->usCrossOffset, 32U);
}

// kept: an empty section at the very end leaves no trace
TEST_F(NgmvpnBlock, SetsNoBitForAnEmptySectionAtItsVeryEnd)
{
    rd(8);
    attr(0);
    cross(0);
    ASSERT_EQ(build(), QEL_OK);
    EXPECT_EQ(block_->uiValidMask, 1U);
    EXPECT_EQ(block_->usAttrOffset, 0U);
    EXPECT_EQ(block_->ucAttrFlag, 0U);
    EXPECT_EQ(block_->ucAttrType, 0U);
    EXPECT_EQ(block_->usCrossOffset, 0U);
}

TEST_F(NgmvpnBlock, HasFlagAndTypeWithAnAttributeAlone)
{
    attr(5);
    ASSERT_EQ(build(), QEL_OK);
    EXPECT_EQ(block_->ucAttrFlag, 0x35U);
    EXPECT_EQ(block_->ucAttrType, 0xc7U);
    view_.pucAttr = nullptr;
    rd(8);
    ASSERT_EQ(build(), QEL_OK);
    EXPECT_EQ(block_->ucAttrFlag, 0U);
    EXPECT_EQ(block_->ucAttrType, 0U);
}

TEST_F(NgmvpnBlock, IsClearedBeforeItsSections)
{
    cross(4);
    dirty_the_heap(36);
    ASSERT_EQ(build(), QEL_OK);
    EXPECT_EQ(hex({block_.at(0), 28}), "10000000" + std::string(48, '0'));
}

TEST_F(NgmvpnBlock, ThatCannotBeAllocatedIsReportedAndNothingIsStored)
{
    rd(8);
    QEL_ROUTE_BLOCK_S other{};
    QEL_ROUTE_BLOCK_S *made = &other;
    const platform::FailAllocation failure(0);
    EXPECT_EQ(QEL_NGMVPN_OutputData(&made, &view_, kMemHandle), QEL_ERR_ALLOC);
    EXPECT_TRUE(failure.fired());
    EXPECT_EQ(made, &other);
    EXPECT_EQ(recorder_.asserts().size(), 1U);
}

TEST_F(NgmvpnBlock, NeedsItsPlaceItsViewAndAHandle)
{
    rd(8);
    QEL_ROUTE_BLOCK_S *made = nullptr;
    EXPECT_EQ(QEL_NGMVPN_OutputData(nullptr, &view_, kMemHandle), QEL_ERR_NULL);
    EXPECT_EQ(recorder_.asserts().size(), 1U);
    EXPECT_EQ(QEL_NGMVPN_OutputData(&made, nullptr, kMemHandle), QEL_ERR_NULL);
    EXPECT_EQ(recorder_.asserts().size(), 2U);
    EXPECT_EQ(QEL_NGMVPN_OutputData(&made, &view_, 0), QEL_ERR_NULL);
    EXPECT_EQ(recorder_.asserts().size(), 3U);
    EXPECT_EQ(QEL_NGMVPN_OutputData(nullptr, nullptr, 0), QEL_ERR_NULL);
    EXPECT_EQ(recorder_.asserts().size(), 4U);
    EXPECT_EQ(made, nullptr);
}

// kept: success without a block
TEST_F(NgmvpnBlock, OfASumThatWrapsBelowItsHeaderIsSuccessWithoutABlock)
{
    rd(0xfffffff0);
    EXPECT_EQ(build(), QEL_OK);
    EXPECT_FALSE(block_);
    EXPECT_TRUE(recorder_.asserts().empty());
}

// A block of the wrapped size would have its second section written behind it.
TEST_F(NgmvpnBlock, OfASumThatWrapsAboveItsHeaderIsLikeExhaustedMemory)
{
    rd(0xffff8000);
    key(0x8008);
    const std::uint64_t allocations = platform::usage(kMemHandle).allocations;
    EXPECT_EQ(build(), QEL_ERR_ALLOC);
    EXPECT_FALSE(block_);
    EXPECT_EQ(recorder_.asserts().size(), 1U);
    EXPECT_EQ(platform::usage(kMemHandle).allocations, allocations);
}

TEST_F(NgmvpnBlock, HasItsLengthsCutTo16Bits)
{
    const Bytes big(0x10004, 0x77);
    view_.pucCross = big.data();
    view_.uiCrossLen = 0x10004;
    ASSERT_EQ(build(), QEL_OK);
    EXPECT_EQ(block_->usCrossLen, 4U);
}

TEST_F(NgmvpnBlock, StepWhoseCopyDoesNotFitIsReportedAndCountsAllTheSame)
{
    attr(5);
    QEL_ROUTE_BLOCK_S block{};
    std::uint32_t remain = 4;
    std::uint16_t offset = 32;
    EXPECT_EQ(QEL_NGMVPN_OutputAttr(&block, &remain, &view_, &offset), QEL_OK);
    EXPECT_EQ(recorder_.asserts().size(), 1U);
    EXPECT_EQ(block.uiValidMask, 8U);
    EXPECT_EQ(block.usAttrLen, 5U);
    EXPECT_EQ(remain, 0xffffffffU);
    EXPECT_EQ(offset, 37U);
}

TEST_F(NgmvpnBlock, StepsRefuseEachMissingArgumentWithOneReport)
{
    rd(4);
    key(4);
    non_key(4);
    attr(4);
    cross(4);
    for (const auto step : Ngmvpn::kSteps) {
        for (unsigned missing = 0; missing < 4; ++missing) {
            QEL_ROUTE_BLOCK_S block{};
            std::uint32_t remain = 40;
            std::uint16_t offset = 32;
            recorder_.clear();
            EXPECT_EQ(step(missing == 0 ? nullptr : &block, missing == 1 ? nullptr : &remain,
                           missing == 2 ? nullptr : &view_, missing == 3 ? nullptr : &offset),
                      QEL_ERR_NULL);
            EXPECT_EQ(recorder_.asserts().size(), 1U) << missing;
            EXPECT_EQ(block.uiValidMask, 0U);
        }
    }
}

TEST_F(NgmvpnBlock, WithoutAValueSaysThatAttribute16IsEmpty)
{
    const Instance instance(QEL_NGMVPN_Construct, QEL_NGMVPN_Destruct, 1);
    dirty_the_heap(32);
    QEL_ROUTE_BLOCK_S *made = nullptr;
    ASSERT_EQ(QEL_NGMVPN_BuildNoneValueOutput(&made, instance.ctx), QEL_OK);
    block_ = Block(made);
    EXPECT_EQ(hex({block_.at(0), 32}), "0800000000100000" + std::string(48, '0'));
    EXPECT_TRUE(recorder_.asserts().empty());
}

TEST_F(NgmvpnBlock, WithoutAValueThatCannotBeAllocatedIsReportedAndStoresNull)
{
    const Instance instance(QEL_NGMVPN_Construct, QEL_NGMVPN_Destruct, 1);
    QEL_ROUTE_BLOCK_S other{};
    QEL_ROUTE_BLOCK_S *made = &other;
    const platform::FailAllocation failure(0);
    EXPECT_EQ(QEL_NGMVPN_BuildNoneValueOutput(&made, instance.ctx), QEL_ERR_ALLOC);
    EXPECT_EQ(made, nullptr);
    EXPECT_EQ(recorder_.asserts().size(), 1U);
}

TEST_F(NgmvpnBlock, WithoutAValueNeedsItsPlaceAndAContext)
{
    QEL_ROUTE_BLOCK_S *made = nullptr;
    QEL_FAMILY_CTX_S ctx{};
    EXPECT_EQ(QEL_NGMVPN_BuildNoneValueOutput(nullptr, &ctx), QEL_ERR_NULL);
    EXPECT_EQ(recorder_.asserts().size(), 1U);
    EXPECT_EQ(QEL_NGMVPN_BuildNoneValueOutput(&made, nullptr), QEL_ERR_NULL);
    EXPECT_EQ(recorder_.asserts().size(), 2U);
}

class NgmvpnOutPutRoute : public ::testing::Test {
protected:
    NgmvpnOutPutRoute()
    {
        std::memset(&key_, 0x4b, sizeof(key_));
        std::memset(&non_key_, 0x6e, sizeof(non_key_));
        const Bytes rd = bytes("0102030405060708");
        std::memcpy(&key_.stRd, rd.data(), rd.size());
    }

    // A block of these sections and of no attribute.
    static std::string header_hex(std::string_view mask, std::string_view rd, std::string_view key,
                                  std::string_view non_key)
    {
        const Bytes front = bytes(mask) + Bytes(4) + bytes(rd) + bytes(key) + bytes(non_key);
        return hex(front + Bytes(32 - front.size()));
    }
    std::string key_hex() const { return hex({reinterpret_cast<const std::uint8_t *>(&key_), sizeof(key_)}); }
    std::string non_key_hex() const
    {
        return hex({reinterpret_cast<const std::uint8_t *>(&non_key_), sizeof(non_key_)});
    }

    LeakCheck leaks_;
    Instance instance_{QEL_NGMVPN_Construct, QEL_NGMVPN_Destruct, 1};
    platform::Recorder recorder_;
    QEL_NGMVPN_KEY_S key_;
    QEL_NGMVPN_NONKEY_S non_key_;
    QEL_ROUTE_BLOCK_S *block_ = nullptr;
    std::uint32_t more_ = 0xa5a5a5a5;
};

TEST_F(NgmvpnOutPutRoute, KeyAndNonKeyMakeABlockWithTheRdStandingTwice)
{
    const std::uint64_t live = platform::usage(kMemHandle).live_bytes;
    ASSERT_EQ(QEL_NGMVPN_OutPutRoute(&key_, &non_key_, 12, 12, &block_, &more_, instance_.ctx), QEL_OK);
    EXPECT_EQ(platform::usage(kMemHandle).live_bytes, live + 244);
    const Block block(block_);
    EXPECT_EQ(hex({block.at(0), 244}), header_hex("07000000", "2000 0800", "2800 6800", "9000 6400") +
                                           "0102030405060708" + key_hex() + non_key_hex());
    EXPECT_TRUE(recorder_.asserts().empty());
}

TEST_F(NgmvpnOutPutRoute, KeyAloneMakesABlockOfRdAndKey)
{
    const std::uint64_t live = platform::usage(kMemHandle).live_bytes;
    ASSERT_EQ(QEL_NGMVPN_OutPutRoute(&key_, nullptr, 12, 12, &block_, &more_, instance_.ctx), QEL_OK);
    EXPECT_EQ(platform::usage(kMemHandle).live_bytes, live + 144);
    const Block block(block_);
    EXPECT_EQ(hex({block.at(0), 144}),
              header_hex("03000000", "2000 0800", "2800 6800", "0000 0000") + "0102030405060708" + key_hex());
}

TEST_F(NgmvpnOutPutRoute, NonKeyAloneMakesABlockWithoutRd)
{
    const std::uint64_t live = platform::usage(kMemHandle).live_bytes;
    ASSERT_EQ(QEL_NGMVPN_OutPutRoute(nullptr, &non_key_, 12, 12, &block_, &more_, instance_.ctx), QEL_OK);
    EXPECT_EQ(platform::usage(kMemHandle).live_bytes, live + 132);
    const Block block(block_);
    EXPECT_EQ(hex({block.at(0), 132}), header_hex("04000000", "0000 0000", "0000 0000", "2000 6400") + non_key_hex());
}

TEST_F(NgmvpnOutPutRoute, MoreAsksForMoreThanTwoFurtherOctets)
{
    const struct {
        std::uint32_t nlri_len;
        std::uint32_t remain;
        std::uint32_t more;
    } cases[] = {
        {12, 11, 0}, {12, 12, 0}, {12, 13, 0}, {12, 14, 0},   {12, 15, 1},   {12, 200, 1},
        {0, 0, 0},   {0, 2, 0},   {0, 3, 1},   {255, 257, 0}, {255, 258, 1}, {255, 0xffff, 1},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.nlri_len);
        SCOPED_TRACE(c.remain);
        more_ = 0xa5a5a5a5;
        ASSERT_EQ(QEL_NGMVPN_OutPutRoute(&key_, &non_key_, c.nlri_len, c.remain, &block_, &more_, instance_.ctx),
                  QEL_OK);
        const Block block(block_);
        EXPECT_EQ(more_, c.more);
    }
}

TEST_F(NgmvpnOutPutRoute, NeitherKeyNorNonKeyIsReportedAndLeavesTheMoreWordAlone)
{
    EXPECT_EQ(QEL_NGMVPN_OutPutRoute(nullptr, nullptr, 12, 200, &block_, &more_, instance_.ctx), QEL_ERR_NULL);
    EXPECT_EQ(block_, nullptr);
    EXPECT_EQ(more_, 0xa5a5a5a5U);
    EXPECT_EQ(recorder_.asserts().size(), 1U);
}

TEST_F(NgmvpnOutPutRoute, AFailedAllocationIsReportedTwiceAndLeavesTheMoreWordAlone)
{
    const platform::FailAllocation failure(0);
    EXPECT_EQ(QEL_NGMVPN_OutPutRoute(&key_, &non_key_, 12, 200, &block_, &more_, instance_.ctx), QEL_ERR_ALLOC);
    EXPECT_TRUE(failure.fired());
    EXPECT_EQ(block_, nullptr);
    EXPECT_EQ(more_, 0xa5a5a5a5U);
    EXPECT_EQ(recorder_.asserts().size(), 2U); // by the building of the block and by the shortcut
}

TEST_F(NgmvpnOutPutRoute, NoPlaceForTheBlockIsRefused)
{
    EXPECT_EQ(QEL_NGMVPN_OutPutRoute(&key_, &non_key_, 12, 200, nullptr, &more_, instance_.ctx), QEL_ERR_NULL);
    EXPECT_EQ(more_, 0xa5a5a5a5U);
    EXPECT_EQ(recorder_.asserts().size(), 2U);
}

TEST_F(NgmvpnOutPutRoute, NoMoreWordOrNoContextIsRefusedWithOneReport)
{
    EXPECT_EQ(QEL_NGMVPN_OutPutRoute(&key_, &non_key_, 12, 200, &block_, nullptr, instance_.ctx), QEL_ERR_NULL);
    EXPECT_EQ(recorder_.asserts().size(), 1U);
    EXPECT_EQ(QEL_NGMVPN_OutPutRoute(&key_, &non_key_, 12, 200, &block_, &more_, nullptr), QEL_ERR_NULL);
    EXPECT_EQ(recorder_.asserts().size(), 2U);
    EXPECT_EQ(block_, nullptr);
    EXPECT_EQ(more_, 0xa5a5a5a5U);
}

TEST_F(NgmvpnOutPutRoute, TheBlockComesFromTheContextsHandle)
{
    static constexpr std::uint32_t kOtherHandle = 4711;
    QEL_FAMILY_CTX_S ctx{};
    ctx.uiMemHandle = kOtherHandle;
    const std::uint64_t live = platform::usage(kOtherHandle).live_blocks;
    ASSERT_EQ(QEL_NGMVPN_OutPutRoute(&key_, &non_key_, 12, 12, &block_, &more_, &ctx), QEL_OK);
    EXPECT_EQ(platform::usage(kOtherHandle).live_blocks, live + 1);
    const Block block(block_);
}

} // namespace
} // namespace qel::test
