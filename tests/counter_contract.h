// The route type and the one route counter of the families that do not tell route types apart.
#pragma once

#include "support.h"

#include <array>

namespace qel::test {

// Family: kGetRouteType, kSetRtCount, kGetRtCount, kRouteType.
template <class Family> class CounterContract : public ::testing::Test {
protected:
    CounterContract()
    {
        std::memset(&keyed_, 0, sizeof(keyed_));
        std::memset(&keyless_, 0, sizeof(keyless_));
        keyed_.pucKey = &key_;
    }
    void TearDown() override { EXPECT_TRUE(recorder_.asserts().empty()) << "refusals are answers, not reports"; }

    platform::Recorder recorder_;
    std::uint8_t key_ = 0; // one byte: the key itself is not read
    QEL_ROUTE_INFO_S keyed_;
    QEL_ROUTE_INFO_S keyless_;
    std::array<std::uint32_t, 2> counters_ = {10, 77};
};
TYPED_TEST_SUITE_P(CounterContract);

TYPED_TEST_P(CounterContract, RouteTypeIsTheSameForEveryRoute)
{
    for (const QEL_ROUTE_INFO_S *any : {&this->keyed_, &this->keyless_, static_cast<QEL_ROUTE_INFO_S *>(nullptr)}) {
        std::uint32_t type = 0xa5a5a5a5;
        EXPECT_EQ(TypeParam::kGetRouteType(any, &type), QEL_OK);
        EXPECT_EQ(type, TypeParam::kRouteType);
    }
}

TYPED_TEST_P(CounterContract, OneCounterServesAllRoutesWhateverItsCountIsSaidToBe)
{
    std::uint32_t *const counters = this->counters_.data();
    for (const std::uint32_t count_num : {0U, 1U, 9U}) {
        counters[0] = 10;
        EXPECT_EQ(TypeParam::kSetRtCount(&this->keyed_, counters, count_num, 1, 5), QEL_OK);
        EXPECT_EQ(counters[0], 15U);
        EXPECT_EQ(TypeParam::kSetRtCount(&this->keyed_, counters, count_num, 0x80000000, 1), QEL_OK);
        EXPECT_EQ(counters[0], 16U);
        EXPECT_EQ(TypeParam::kSetRtCount(&this->keyed_, counters, count_num, 0, 17), QEL_OK);
        EXPECT_EQ(counters[0], 0xffffffffU) << "no check of underflow";
        EXPECT_EQ(TypeParam::kSetRtCount(&this->keyed_, counters, count_num, 1, 3), QEL_OK);
        EXPECT_EQ(counters[0], 2U);
        for (const std::uint32_t type : {0U, 1U, TypeParam::kRouteType, 200U}) {
            std::uint32_t count = 0;
            EXPECT_EQ(TypeParam::kGetRtCount(counters, count_num, type, &count), QEL_OK);
            EXPECT_EQ(count, 2U);
        }
    }
    EXPECT_EQ(counters[1], 77U);
}

TYPED_TEST_P(CounterContract, ARouteWithoutKeyIsNotCounted)
{
    for (const QEL_ROUTE_INFO_S *route : {&this->keyless_, static_cast<QEL_ROUTE_INFO_S *>(nullptr)}) {
        EXPECT_EQ(TypeParam::kSetRtCount(route, this->counters_.data(), 1, 1, 5), QEL_ERR_ARGUMENT);
        EXPECT_EQ(TypeParam::kSetRtCount(route, this->counters_.data(), 1, 0, 5), QEL_ERR_ARGUMENT);
    }
    EXPECT_EQ(this->counters_[0], 10U);
}

REGISTER_TYPED_TEST_SUITE_P(CounterContract, RouteTypeIsTheSameForEveryRoute,
                            OneCounterServesAllRoutesWhateverItsCountIsSaidToBe, ARouteWithoutKeyIsNotCounted);

} // namespace qel::test
