// Policy actions on the list of a route of a family that logs nothing: one action, what it must answer, and what adding
// does in both families alike.
#pragma once

#include "community_edits.h"
#include "family_cases.h"

#include <initializer_list>

namespace qel::test {

using Apply = std::uint32_t (*)(const QEL_ROUTE_INFO_S *, std::uint32_t, const std::uint8_t *, std::uint32_t,
                                QEL_ROUTE_BLOCK_S **, QEL_FAMILY_CTX_S *);

inline constexpr std::uint32_t kAddOther = 38;

inline Made apply(Apply with, std::uint32_t action, const std::optional<Bytes> &list, const Bytes &value,
                  QEL_FAMILY_CTX_S *ctx)
{
    const Held held({.list = list});
    const Trusted given(value);
    Made got = make([&](auto result) { return with(&held.info, action, given.data(), given.size(), result, ctx); });
    EXPECT_EQ(given.bytes(), value);
    return got;
}

inline Made apply(Apply with, std::uint32_t action, std::string_view list, std::string_view value,
                  QEL_FAMILY_CTX_S *ctx)
{
    return apply(with, action, route_list(list), bytes(value), ctx);
}

inline void expect_list(const Made &got, const Bytes &list, std::size_t asserts = 0)
{
    expect_made(got, {.list = list}, asserts);
}

inline void expect_list(const Made &got, const std::string &wire, std::size_t asserts = 0)
{
    expect_list(got, host_list(wire), asserts);
}

inline void expect_no_value(const Made &got)
{
    EXPECT_EQ(got.code, 0U);
    EXPECT_EQ(got.asserts, 0U);
    ASSERT_TRUE(got.block);
    EXPECT_EQ(hex(got.block.section(0, 32)), "0800000000100000" + std::string(48, '0'));
}

// Null is stored.
inline void expect_null_result(const Made &got, std::uint32_t code = 0, std::size_t asserts = 0)
{
    EXPECT_EQ(got.code, code);
    EXPECT_TRUE(got.stored);
    EXPECT_FALSE(got.block);
    EXPECT_EQ(got.asserts, asserts);
}

// `none` are lists without an element.
using Lists = std::initializer_list<std::string_view>;

inline void expect_add_keeps_the_whole_list(Apply with, Lists none, QEL_FAMILY_CTX_S *ctx)
{
    for (const std::uint32_t action : {kAdd, kAddOther}) {
        expect_list(apply(with, action, kSourceAs + kRt4, kRt1 + kRtAs4, ctx), kRt1 + kRt4 + kRtAs4 + kSourceAs);
        expect_list(apply(with, action, kRt1 + kSourceAs, kRt1, ctx), kRt1 + kSourceAs);
        expect_list(apply(with, action, kRt1, kRt2 + kRt2 + kRt1, ctx), kRt1 + kRt2);
        for (const std::string_view list : none) {
            expect_list(apply(with, action, list, kRt4 + kRt1 + kRt1, ctx), kRt1 + kRt4);
        }
    }
}

inline void expect_add_of_nothing_cleans_the_list_up(Apply with, QEL_FAMILY_CTX_S *ctx)
{
    for (const std::uint32_t action : {kAdd, kAddOther}) {
        expect_list(apply(with, action, kSourceAs + kRt1 + kSourceAs, "", ctx), kRt1 + kSourceAs, 1);
        expect_list(apply(with, action, kRt1, "", ctx), kRt1, 1);
    }
}

inline void expect_add_of_nothing_to_nothing_is_like_no_memory(Apply with, Lists none, QEL_FAMILY_CTX_S *ctx)
{
    for (const std::uint32_t action : {kAdd, kAddOther}) {
        for (const std::string_view list : none) {
            const Made got = apply(with, action, list, "", ctx);
            expect_not_made(got, kOutOfMemory, 1);
            EXPECT_EQ(got.allocations, 0U);
        }
    }
}

// No octet of it is read: together with the route's list it would have no length of 32 bits.
inline void expect_value_of_nearly_four_gigabytes_is_like_no_memory(Apply with,
                                                                    std::initializer_list<std::uint32_t> actions,
                                                                    QEL_FAMILY_CTX_S *ctx)
{
    const Held held({.list = host_list(kSourceAs)});
    const OddBytes given(bytes(kRt1));
    for (const std::uint32_t action : actions) {
        for (const std::uint32_t length : {0xffff0001U, 0xfffffff8U, 0xffffffffU}) {
            const Made got =
                make([&](auto result) { return with(&held.info, action, given.data(), length, result, ctx); });
            expect_not_made(got, kOutOfMemory, 1);
            EXPECT_EQ(got.allocations, 0U);
        }
    }
}

} // namespace qel::test
