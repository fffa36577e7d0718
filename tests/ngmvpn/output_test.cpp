// Result blocks of NG-MVPN, and the NLRI parsers' shortcut to them.
#include "ngmvpn/qel_ngmvpn.h"

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

class NgmvpnOutPutRoute : public ::testing::Test {
protected:
    NgmvpnOutPutRoute()
    {
        std::memset(&key_, 0x4b, sizeof(key_));
        std::memset(&non_key_, 0x6e, sizeof(non_key_));
        const Bytes rd = bytes("0102030405060708");
        std::memcpy(&key_.stRd, rd.data(), rd.size());
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
    EXPECT_EQ(hex({block.at(0), 244}), "07000000"
                                       "00"
                                       "00"
                                       "0000"
                                       "2000"
                                       "0800"
                                       "2800"
                                       "6800"
                                       "9000"
                                       "6400"
                                       "0000"
                                       "0000"
                                       "0000"
                                       "0000"
                                       "0000"
                                       "0000"
                                       "0102030405060708" +
                                           key_hex() + non_key_hex());
    EXPECT_TRUE(recorder_.asserts().empty());
}

TEST_F(NgmvpnOutPutRoute, KeyAloneMakesABlockOfRdAndKey)
{
    const std::uint64_t live = platform::usage(kMemHandle).live_bytes;
    ASSERT_EQ(QEL_NGMVPN_OutPutRoute(&key_, nullptr, 12, 12, &block_, &more_, instance_.ctx), QEL_OK);
    EXPECT_EQ(platform::usage(kMemHandle).live_bytes, live + 144);
    const Block block(block_);
    EXPECT_EQ(hex({block.at(0), 144}), "03000000"
                                       "00"
                                       "00"
                                       "0000"
                                       "2000"
                                       "0800"
                                       "2800"
                                       "6800"
                                       "0000"
                                       "0000"
                                       "0000"
                                       "0000"
                                       "0000"
                                       "0000"
                                       "0000"
                                       "0000"
                                       "0102030405060708" +
                                           key_hex());
}

TEST_F(NgmvpnOutPutRoute, NonKeyAloneMakesABlockWithoutRd)
{
    const std::uint64_t live = platform::usage(kMemHandle).live_bytes;
    ASSERT_EQ(QEL_NGMVPN_OutPutRoute(nullptr, &non_key_, 12, 12, &block_, &more_, instance_.ctx), QEL_OK);
    EXPECT_EQ(platform::usage(kMemHandle).live_bytes, live + 132);
    const Block block(block_);
    EXPECT_EQ(hex({block.at(0), 132}), "04000000"
                                       "00"
                                       "00"
                                       "0000"
                                       "0000"
                                       "0000"
                                       "0000"
                                       "0000"
                                       "2000"
                                       "6400"
                                       "0000"
                                       "0000"
                                       "0000"
                                       "0000"
                                       "0000"
                                       "0000" +
                                           non_key_hex());
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
