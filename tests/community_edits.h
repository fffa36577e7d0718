// Edits of a route's community list by policy, as every family makes them: what the counts of 16 bits do, and which
// allocations there are to fail.
#pragma once

#include "communities.h"

#include <optional>
#include <utility>

namespace qel::test {

inline constexpr std::uint32_t kReplace = 6;
inline constexpr std::uint32_t kAdd = 7;
inline constexpr std::uint32_t kDelete = 87;

// The list as it stands on the wire; "-" is no list.
inline std::optional<Bytes> route_list(std::string_view wire)
{
    return wire == "-" ? std::nullopt : std::optional(host_list(wire));
}

// The elements of the route's list: `edit(action, list, value)` runs an action, expect_list(got, list) and
// expect_no_value(got) are the family's.
template <typename Edit, typename ExpectList, typename ExpectNoValue>
void expect_route_elements_counted_in_16_bits(Edit edit, ExpectList expect_list, ExpectNoValue expect_no_value)
{
    Bytes list = host_list(kSourceAs);
    list.resize(0x80000);
    expect_no_value(edit(kDelete, list, bytes(kRt1)));
    expect_list(edit(kReplace, list, bytes(kRt1)), host_list(kRt1));
    expect_list(edit(kAdd, list, bytes(kRt1)), host_list(kRt1));
    list.resize(0x80008);
    expect_list(edit(kDelete, list, bytes(kRt1)), host_list(kSourceAs));
    expect_list(edit(kReplace, list, bytes(kRt1)), host_list(kRt1 + kSourceAs));
    expect_list(edit(kAdd, list, bytes(kRt1)), host_list(kRt1 + kSourceAs));
}

template <typename Edit, typename ExpectList>
void expect_lists_beyond_16_bits_stay_within_their_buffers(Edit edit, ExpectList expect_list)
{
    for (const std::size_t length : {0xfff8U, 0x10000U, 0x10008U}) {
        Bytes list(length, 2); // route targets, that of the end excepted
        list[length - 8] = 9;
        const Bytes rest = slice(list, length - 8, 8);
        expect_list(edit(kReplace, list, bytes(kRt1)), host_list(kRt1) + rest);
        expect_list(edit(kDelete, list, bytes(kRt1)), rest);
    }
    EXPECT_EQ(edit(kAdd, Bytes(0x10008, 2), bytes(kRt1)).asserts, 0U);
}

// --- every allocation of an action fails once -----------------------------------------------------------------------

struct FailureCase {
    std::string name;
    std::uint32_t action;
    std::string list;
    std::string value;
    bool lent;
    std::vector<std::uint32_t> codes; // what each allocation's failure gives, in turn
    bool no_value = false;            // the last one is the no-value block
};

// While the inline buffer is free it serves the action's list, or where there is none the route's rest, and then the
// sort's scratch. `out_of_memory` is the code of work memory, `no_block` that of the sort's scratch and of the block.
inline std::vector<FailureCase> failure_cases(std::uint32_t out_of_memory, std::uint32_t no_block)
{
    const std::uint32_t work = out_of_memory;
    const std::uint32_t last = no_block;
    const std::string both = kRt1 + kSourceAs;
    std::string many;
    for (int i = 0; i < 33; ++i) {
        many += kRt1 + kSourceAs;
    }
    return {
        {"replace", kReplace, both, kRt2, false, {work, work, last}},
        {"replace, lent", kReplace, both, kRt2, true, {work, work, work, last, last}},
        {"replace, no list", kReplace, "-", kRt2, false, {work, last}},
        {"replace, no list, lent", kReplace, "-", kRt2, true, {work, work, last, last}},
        {"replace, targets alone", kReplace, kRt1, kRt2, false, {work, work, last}},
        {"replace, targets alone, lent", kReplace, kRt1, kRt2, true, {work, work, work, last, last}},
        {"replace, no value", kReplace, both, "", false, {work, last}},
        {"replace, no value, lent", kReplace, both, "", true, {work, work, last, last}},
        {"replace, long lists", kReplace, many, many, false, {work, work, work, last}},
        {"replace, long lists, lent", kReplace, many, many, true, {work, work, work, last, last}},
        {"add", kAdd, both, kRt2, false, {work, last}},
        {"add, lent", kAdd, both, kRt2, true, {work, work, last, last}},
        {"add, no list", kAdd, "-", kRt2, false, {work, last}},
        {"add, no list, lent", kAdd, "-", kRt2, true, {work, work, last, last}},
        {"add, long lists", kAdd, many, many, false, {work, work, last}},
        {"delete", kDelete, both, kRt2, false, {work, last}},
        {"delete, lent", kDelete, both, kRt2, true, {work, work, work, last, last}},
        {"delete, no value, lent", kDelete, both, "", true, {work, work, last, last}},
        {"delete, long lists", kDelete, many, many, false, {work, work, work, last}},
    };
}

} // namespace qel::test
