// Route counters of NG-MVPN: one per key type, read by route type.
#include "ngmvpn/qel_ngmvpn.h"

#include "support.h"

#include <array>

namespace qel::test {
namespace {

using Counters = std::array<std::uint32_t, 12>;
constexpr Counters kCounters = {100, 101, 102, 103, 104, 105, 106, 107, 108, 109, 110, 111};

// A route whose key has the given type and stands at an odd address.
class KeyedRoute {
public:
    explicit KeyedRoute(std::uint32_t key_type) : key_(std::vector<std::uint8_t>(1 + sizeof(QEL_NGMVPN_KEY_S)))
    {
        std::memcpy(key_.data() + 1, &key_type, sizeof(key_type));
        route.uiKeyLen = sizeof(QEL_NGMVPN_KEY_S);
        route.pucKey = key_.data() + 1;
    }
    QEL_ROUTE_INFO_S route{};

private:
    ExactCopy key_;
};

class NgmvpnRouteCount : public ::testing::Test {
protected:
    platform::Recorder recorder_;
    Counters counters_ = kCounters;

    void TearDown() override { EXPECT_TRUE(recorder_.asserts().empty()) << "refusals are answers, not reports"; }
};

TEST_F(NgmvpnRouteCount, AddsToAndTakesFromTheCounterOfTheKeyType)
{
    for (std::uint32_t key_type = 1; key_type <= 8; ++key_type) {
        SCOPED_TRACE(key_type);
        const KeyedRoute keyed(key_type);
        for (const std::uint32_t count_num : {9U, 12U}) {
            Counters expected = counters_ = kCounters;
            EXPECT_EQ(QEL_NGMVPN_SetRtCount(&keyed.route, counters_.data(), count_num, 1, 5), QEL_OK);
            expected[key_type] += 5;
            EXPECT_EQ(counters_, expected);
            EXPECT_EQ(QEL_NGMVPN_SetRtCount(&keyed.route, counters_.data(), count_num, 0x80000000, 1), QEL_OK);
            expected[key_type] += 1;
            EXPECT_EQ(counters_, expected);
            EXPECT_EQ(QEL_NGMVPN_SetRtCount(&keyed.route, counters_.data(), count_num, 0, 7), QEL_OK);
            expected[key_type] -= 7;
            EXPECT_EQ(counters_, expected);
        }
    }
}

TEST_F(NgmvpnRouteCount, CountersWrapIn32Bits)
{
    const KeyedRoute keyed(3);
    EXPECT_EQ(QEL_NGMVPN_SetRtCount(&keyed.route, counters_.data(), 9, 0, 104), QEL_OK);
    EXPECT_EQ(counters_[3], 0xffffffffU);
    EXPECT_EQ(QEL_NGMVPN_SetRtCount(&keyed.route, counters_.data(), 9, 1, 2), QEL_OK);
    EXPECT_EQ(counters_[3], 1U);
}

TEST_F(NgmvpnRouteCount, RefusesARouteWithoutKey)
{
    const QEL_ROUTE_INFO_S keyless{};
    EXPECT_EQ(QEL_NGMVPN_SetRtCount(nullptr, counters_.data(), 9, 1, 1), QEL_ERR_ARGUMENT);
    EXPECT_EQ(QEL_NGMVPN_SetRtCount(&keyless, counters_.data(), 9, 1, 1), QEL_ERR_ARGUMENT);
    EXPECT_EQ(counters_, kCounters);
}

// Key type 8 needs index 8.
TEST_F(NgmvpnRouteCount, RefusesFewerThanNineCounters)
{
    for (const std::uint32_t key_type : {1U, 8U, 9U}) {
        const KeyedRoute keyed(key_type);
        for (const std::uint32_t count_num : {0U, 1U, 8U}) {
            EXPECT_EQ(QEL_NGMVPN_SetRtCount(&keyed.route, counters_.data(), count_num, 1, 1), QEL_ERR_ARGUMENT);
        }
    }
    EXPECT_EQ(counters_, kCounters);
}

TEST_F(NgmvpnRouteCount, RefusesAKeyTypeOutside1To8)
{
    for (const std::uint32_t key_type : {0U, 9U, 0x101U, 0x10001U, 0xffffffffU}) {
        const KeyedRoute keyed(key_type);
        EXPECT_EQ(QEL_NGMVPN_SetRtCount(&keyed.route, counters_.data(), 12, 1, 1), QEL_ERR_FAILED) << key_type;
    }
    EXPECT_EQ(counters_, kCounters);
}

TEST_F(NgmvpnRouteCount, ReadsByRouteTypeWithBothLeafFormsTogetherAndApart)
{
    const struct {
        std::uint32_t type;
        std::uint32_t count;
    } cases[] = {{1, 101}, {2, 102}, {3, 103}, {4, 104 + 105}, {5, 106}, {6, 107}, {7, 108}, {8, 104}, {9, 105}};
    for (const auto &c : cases) {
        for (const std::uint32_t count_num : {9U, 12U}) {
            std::uint32_t count = 0xa5a5a5a5;
            EXPECT_EQ(QEL_NGMVPN_GetRtCount(counters_.data(), count_num, c.type, &count), QEL_OK);
            EXPECT_EQ(count, c.count) << "type " << c.type;
        }
    }
    EXPECT_EQ(counters_, kCounters);
}

TEST_F(NgmvpnRouteCount, LeavesTheOutputAloneForOtherTypes)
{
    for (const std::uint32_t type : {0U, 10U, 11U, 0x101U, 0x10001U, 0xffffffffU}) {
        std::uint32_t count = 0xa5a5a5a5;
        EXPECT_EQ(QEL_NGMVPN_GetRtCount(counters_.data(), 12, type, &count), QEL_OK);
        EXPECT_EQ(count, 0xa5a5a5a5U) << type;
    }
}

TEST_F(NgmvpnRouteCount, ReadingRefusesFewerThanNineCounters)
{
    for (const std::uint32_t type : {1U, 9U, 10U}) {
        std::uint32_t count = 0xa5a5a5a5;
        EXPECT_EQ(QEL_NGMVPN_GetRtCount(counters_.data(), 8, type, &count), QEL_ERR_ARGUMENT);
        EXPECT_EQ(QEL_NGMVPN_GetRtCount(counters_.data(), 0, type, &count), QEL_ERR_ARGUMENT);
        EXPECT_EQ(count, 0xa5a5a5a5U);
    }
}

TEST_F(NgmvpnRouteCount, DescriptorCountsWhatItReads)
{
    const Instance instance(QEL_NGMVPN_Construct, QEL_NGMVPN_Destruct, 1);
    const KeyedRoute leaf(5);
    Counters counters{};
    EXPECT_EQ(instance.desc.pfSetRtCount(&leaf.route, counters.data(), 9, 1, 3), QEL_OK);
    std::uint32_t count = 0;
    EXPECT_EQ(instance.desc.pfGetRtCount(counters.data(), 9, 4, &count), QEL_OK);
    EXPECT_EQ(count, 3U);
}

} // namespace
} // namespace qel::test
