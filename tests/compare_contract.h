// Compares of the families that log nothing: sides that end where their heap blocks end, rows in ascending order,
// lengths that are refused, sides that are missing.
#pragma once

#include "family_cases.h"

#include <initializer_list>

namespace qel::test {

using Compare = std::int32_t (*)(const void *, std::uint32_t, const void *, std::uint32_t);
using CompareBySection = std::int32_t (*)(const void *, std::uint32_t, const void *, std::uint32_t, std::uint32_t);

// Both sides end where their heap blocks end and stand at odd addresses.
inline std::int32_t compare(Compare with, const Bytes &left, const Bytes &right)
{
    const OddBytes a(left);
    const OddBytes b(right);
    const platform::Recorder recorder;
    const std::int32_t result = with(a.data(), a.size(), b.data(), b.size());
    EXPECT_TRUE(recorder.asserts().empty());
    EXPECT_EQ(a.bytes(), left);
    EXPECT_EQ(b.bytes(), right);
    return result;
}

inline std::int32_t compare(Compare with, std::string_view left, std::string_view right)
{
    return compare(with, bytes(left), bytes(right));
}

// Each row is below the next one, whichever side it stands on, and equal to itself.
inline void expect_ascending(Compare with, const std::vector<std::string_view> &rows)
{
    for (std::size_t i = 0; i < rows.size(); ++i) {
        for (std::size_t j = 0; j < rows.size(); ++j) {
            EXPECT_EQ(compare(with, rows[i], rows[j]), i < j ? -1 : i > j ? 1 : 0) << rows[i] << " and " << rows[j];
        }
    }
}

// The operation, by the section's bit.
inline std::int32_t compare(CompareBySection with, std::uint32_t bit, std::string_view left, std::string_view right)
{
    const OddBytes a(bytes(left));
    const OddBytes b(bytes(right));
    const platform::Recorder recorder;
    const std::int32_t result = with(a.data(), a.size(), b.data(), b.size(), bit);
    EXPECT_TRUE(recorder.asserts().empty());
    return result;
}

// RDs in ascending order: type and the value's first half as one word, then the rest as another, least significant
// octet first.
inline const std::vector<std::string_view> kAscendingRds = {
    "00000000 00000000", "00000000 01000000", "00000000 00010000", "00000000 ffffff7f", "00000000 00000080",
    "00000000 ffffffff", "01000000 00000000", "02000000 00000000", "00000100 00000000", "01000100 05000000",
    "00000001 00000000", "00000080 00000000", "ffffffff 00000000",
};

// The value's first half goes ahead of the type.
inline void expect_rd_of_type_two_below_type_zero_with_an_as(Compare with)
{
    EXPECT_EQ(compare(with, "0200 00000100 0100", "0000 0100 00000000"), -1);
    EXPECT_EQ(compare(with, "0000 0100 00000000", "0200 00000100 0100"), 1);
}

struct LengthPair {
    std::uint32_t left;
    std::uint32_t right;
};

// For records of eight octets.
inline const std::vector<LengthPair> kNotEight = {{7, 8},       {8, 7},       {9, 8},        {8, 9}, {0, 8},
                                                  {8, 0},       {0, 0},       {4, 4},        {7, 7}, {16, 16},
                                                  {0x10008, 8}, {8, 0x10008}, {0x108, 0x108}};

inline void expect_lengths_refused(Compare with, std::string_view source, const std::vector<LengthPair> &rows)
{
    const OddBytes a(Bytes(24, 1));
    const OddBytes b(Bytes(24, 2));
    for (const LengthPair &row : rows) {
        const platform::Recorder recorder;
        EXPECT_EQ(with(a.data(), row.left, b.data(), row.right), -2) << row.left << " and " << row.right;
        ASSERT_EQ(recorder.asserts().size(), 1U);
        EXPECT_TRUE(recorder.asserts()[0].file.ends_with(source));
    }
}

inline void expect_missing_side_reported_once(Compare with, std::string_view source)
{
    const OddBytes a(Bytes(8, 1));
    for (const std::uint32_t length : {0U, 4U, 8U}) {
        expect_null_arguments_refused(
            2, source,
            [&](unsigned nulls) {
                return static_cast<std::uint32_t>(
                    with(unless(nulls, 0, a.data()), length, unless(nulls, 1, a.data()), length));
            },
            static_cast<std::uint32_t>(QEL_CMP_FAILED));
    }
}

inline void expect_operation_reports_a_missing_side_once(CompareBySection with, std::string_view source,
                                                         std::initializer_list<std::uint32_t> bits)
{
    const OddBytes a(Bytes(8, 1));
    for (const std::uint32_t bit : bits) {
        expect_null_arguments_refused(
            2, source,
            [&](unsigned nulls) {
                return static_cast<std::uint32_t>(
                    with(unless(nulls, 0, a.data()), 8, unless(nulls, 1, a.data()), 8, bit));
            },
            static_cast<std::uint32_t>(QEL_CMP_FAILED));
    }
}

} // namespace qel::test
