// The compares of the MDT family: RD, key, non-key, attribute, communities and cross values.
#include "mdt_cases.h"

namespace qel::test {
namespace {

using Compare = decltype(&QEL_MDT_CmpRd);

// Both sides end where their heap blocks end and stand at odd addresses.
std::int32_t compare(Compare with, std::string_view left, std::string_view right)
{
    const OddBytes a(bytes(left));
    const OddBytes b(bytes(right));
    const platform::Recorder recorder;
    const std::int32_t result = with(a.data(), a.size(), b.data(), b.size());
    EXPECT_TRUE(recorder.asserts().empty());
    EXPECT_EQ(a.hex(), hex_of(left));
    EXPECT_EQ(b.hex(), hex_of(right));
    return result;
}

// Each row is below the next one, whichever side it stands on, and equal to itself.
void expect_ascending(Compare with, const std::vector<std::string_view> &rows)
{
    for (std::size_t i = 0; i < rows.size(); ++i) {
        for (std::size_t j = 0; j < rows.size(); ++j) {
            EXPECT_EQ(compare(with, rows[i], rows[j]), i < j ? -1 : i > j ? 1 : 0) << rows[i] << " and " << rows[j];
        }
    }
}

TEST(MdtCompare, RdsStandInTheOrderOfTheirWordsInMemory)
{
    // type and the value's first half as one word, then the rest as another, least significant octet first
    expect_ascending(QEL_MDT_CmpRd, {
                                        "00000000 00000000",
                                        "00000000 01000000",
                                        "00000000 00010000",
                                        "00000000 ffffff7f",
                                        "00000000 00000080",
                                        "00000000 ffffffff",
                                        "01000000 00000000",
                                        "02000000 00000000",
                                        "00000100 00000000",
                                        "01000100 05000000",
                                        "00000001 00000000",
                                        "00000080 00000000",
                                        "ffffffff 00000000",
                                    });
}

// kept: the words decide as they lie, so that the value's first half goes ahead of the type
TEST(MdtCompare, AnRdOfTypeTwoStandsBelowOneOfTypeZeroWithAnAs)
{
    EXPECT_EQ(compare(QEL_MDT_CmpRd, "0200 00000100 0100", "0000 0100 00000000"), -1);
    EXPECT_EQ(compare(QEL_MDT_CmpRd, "0000 0100 00000000", "0200 00000100 0100"), 1);
}

TEST(MdtCompare, KeysStandInTheOrderOfTheirSources)
{
    expect_ascending(QEL_MDT_CmpKey, {"00000000 05000000", "01000000 04000000", "00010000 03000000",
                                      "ffffff7f 02000000", "00000080 01000000", "ffffffff 00000000"});
}

// kept: the group takes no part in the key
TEST(MdtCompare, TheGroupTakesNoPartInTheKey)
{
    EXPECT_EQ(compare(QEL_MDT_CmpKey, "0100000a 010000e0", "0100000a 020000e0"), 0);
    EXPECT_EQ(compare(QEL_MDT_CmpKey, "0100000a ffffffff", "0100000a 00000000"), 0);
    EXPECT_EQ(compare(QEL_MDT_CmpNonKey, "0100 0000 010000e0", "0100 0000 020000e0"), -1);
    EXPECT_EQ(compare(QEL_MDT_CmpNonKey, "0100 0000 020000e0", "0100 0000 010000e0"), 1);
}

TEST(MdtCompare, NonKeysStandInTheOrderOfTheirShareGroups)
{
    expect_ascending(QEL_MDT_CmpNonKey, {"0500 0000 00000000", "0400 0000 01000000", "0300 0000 00010000",
                                         "0200 0000 ffffff7f", "0100 0000 00000080", "0000 0000 ffffffff"});
}

// kept: the flags take no part in the non-key, not even the bit that makes the group valid
TEST(MdtCompare, TheFlagsTakeNoPartInTheNonKey)
{
    EXPECT_EQ(compare(QEL_MDT_CmpNonKey, "0100 0000 010000e0", "0000 0000 010000e0"), 0);
    EXPECT_EQ(compare(QEL_MDT_CmpNonKey, "0000 ffff 010000e0", "ffff 0000 010000e0"), 0);
}

TEST(MdtCompare, AttributesStandByLengthAndThenByBytes)
{
    expect_ascending(QEL_MDT_CmpAttr, {"", "ff", "0000", "00ff", "0100", "7f00", "8000", "ffff", "000000", "ffffffff",
                                       "00000000 00000000", "00000000 00000001", "01000000 00000000"});
}

struct LengthPair {
    std::uint32_t left;
    std::uint32_t right;
};

TEST(MdtCompare, RdKeyAndNonKeyNeedLengthsOfEight)
{
    const OddBytes a(Bytes(24, 1));
    const OddBytes b(Bytes(24, 2));
    for (const Compare with : {QEL_MDT_CmpRd, QEL_MDT_CmpKey, QEL_MDT_CmpNonKey}) {
        for (const LengthPair &row : {LengthPair{7, 8},
                                      {8, 7},
                                      {9, 8},
                                      {8, 9},
                                      {0, 8},
                                      {8, 0},
                                      {0, 0},
                                      {7, 7},
                                      {16, 16},
                                      {0x10008, 8},
                                      {8, 0x10008},
                                      {0x108, 0x108}}) {
            const platform::Recorder recorder;
            EXPECT_EQ(with(a.data(), row.left, b.data(), row.right), -2) << row.left << " and " << row.right;
            ASSERT_EQ(recorder.asserts().size(), 1U);
            EXPECT_TRUE(recorder.asserts()[0].file.ends_with(kPacketSource));
        }
    }
}

TEST(MdtCompare, AMissingSideIsReportedOnce)
{
    const OddBytes a(Bytes(8, 1));
    for (const Compare with :
         {QEL_MDT_CmpRd, QEL_MDT_CmpKey, QEL_MDT_CmpNonKey, QEL_MDT_CmpAttr, QEL_MDT_CmpExtCommunity}) {
        for (const std::uint32_t length : {0U, 4U, 8U}) {
            expect_null_arguments_refused(
                2, kPacketSource,
                [&](unsigned nulls) {
                    return static_cast<std::uint32_t>(
                        with(unless(nulls, 0, a.data()), length, unless(nulls, 1, a.data()), length));
                },
                static_cast<std::uint32_t>(QEL_CMP_FAILED));
        }
    }
}

// --- communities and cross values -----------------------------------------------------------------------------------

TEST(MdtCompare, CommunitiesStandBySubTypeTypeAndFields)
{
    expect_ascending(QEL_MDT_CmpExtCommunity, {
                                                  "00ff ffff ffffffff", // sub-type 0 of any type first
                                                  "0200 0000 00000000", "0200 0000 01000000", "0200 0000 00000080",
                                                  "0200 0100 00000000", // type 0: the 16-bit field first
                                                  "0200 00ff 00000000", "0201 00000000 0000",
                                                  "0201 00000000 ffff", // type 1: the 32-bit field first
                                                  "0201 01000000 0000", "0201 00000080 0000", "0202 00000000 0000",
                                                  "0202 00000000 00ff", // type 2 as well
                                                  "0202 01000000 0000", "0202 00000080 0000",
                                                  "0203 0000 00000000", // kept: type 3 as type 0, however it is turned
                                                  "0203 0000 ffffffff", "0203 0100 00000000", "02ff 0000 00000000",
                                                  "02ff 0000 01000000", "02ff 0100 00000000", "0900 0000 00000000",
                                                  "0a01 00000000 0000", "0b01 00000000 0000", "ff00 0000 00000000",
                                              });
}

// kept: a list turns a type above 2 as 32 and 16 bits, the compare reads 16 and 32
TEST(MdtCompare, ATypeAboveTwoIsComparedAsTypeZeroHoweverItIsTurned)
{
    EXPECT_EQ(compare(QEL_MDT_CmpExtCommunity, "0203 00000080 0000", "0203 01000000 0000"), -1);
    EXPECT_EQ(compare(QEL_MDT_CmpExtCommunity, "0202 00000080 0000", "0202 01000000 0000"), 1);
}

TEST(MdtCompare, OfCommunitiesTheShorterStandsFirstWhateverItsBytes)
{
    expect_ascending(QEL_MDT_CmpExtCommunity,
                     {"", "ff", "ffffffff", "ffffff ffffff ff", "00000000 00000000", "00000000 00000000 00"});
    EXPECT_EQ(compare(QEL_MDT_CmpExtCommunity, "ffffffff", "0000000000000000"), -1);
    EXPECT_EQ(compare(QEL_MDT_CmpExtCommunity, "0000000000000000", "ffffffff"), 1);
}

// kept: values that are no elements stand in the reverse order of their bytes
TEST(MdtCompare, CrossValuesOfFourBytesStandInReverseOrder)
{
    EXPECT_EQ(compare(QEL_MDT_CmpExtCommunity, "00000001", "00000002"), 1);
    EXPECT_EQ(compare(QEL_MDT_CmpExtCommunity, "00000002", "00000001"), -1);
    EXPECT_EQ(compare(QEL_MDT_CmpExtCommunity, "00000001", "00000001"), 0);
    expect_ascending(QEL_MDT_CmpExtCommunity, {"ff000000", "80000000", "7fffffff", "01000000", "000000ff", "00000000"});
    expect_ascending(QEL_MDT_CmpExtCommunity, {"02", "01", "00"});
    expect_ascending(QEL_MDT_CmpExtCommunity, {"0000000000000000ff", "000000000000000001", "000000000000000000"});
    expect_ascending(QEL_MDT_CmpExtCommunity, {"02000000000001", "02000000000000", "01ffffffffffff"});
}

// --- the operation --------------------------------------------------------------------------------------------------

TEST(MdtCompare, SectionBitsLeadToTheirCompares)
{
    const auto by = [](std::uint32_t bit, std::string_view left, std::string_view right) {
        const OddBytes a(bytes(left));
        const OddBytes b(bytes(right));
        const platform::Recorder recorder;
        const std::int32_t result = QEL_MDT_CmpData(a.data(), a.size(), b.data(), b.size(), bit);
        EXPECT_TRUE(recorder.asserts().empty());
        return result;
    };
    EXPECT_EQ(by(1, "0200 00000100 0100", "0000 0100 00000000"), -1);
    EXPECT_EQ(by(2, "0100000a 010000e0", "0100000a 020000e0"), 0);
    EXPECT_EQ(by(4, "0100 0000 010000e0", "0000 0000 020000e0"), -1);
    EXPECT_EQ(by(8, "00000001", "00000002"), -1);
    EXPECT_EQ(by(16, "00000001", "00000002"), 1);
    EXPECT_EQ(by(16, "0900 0000 00000000", "0202 00000000 0000"), 1);
    for (const std::uint32_t bit : {0U, 3U, 5U, 32U, 0x101U, 0x10001U}) {
        EXPECT_EQ(by(bit, "0000000000000000", "0000000000000001"), -2) << bit;
    }
}

TEST(MdtCompare, TheOperationReportsAMissingSideOnce)
{
    const OddBytes a(Bytes(8, 1));
    for (const std::uint32_t bit : {1U, 2U, 4U, 8U, 16U, 32U}) {
        expect_null_arguments_refused(
            2, kFrameSource,
            [&](unsigned nulls) {
                return static_cast<std::uint32_t>(
                    QEL_MDT_CmpData(unless(nulls, 0, a.data()), 8, unless(nulls, 1, a.data()), 8, bit));
            },
            static_cast<std::uint32_t>(QEL_CMP_FAILED));
    }
}

TEST(MdtCompare, LengthsReachTheCompareAsTheyWereGiven)
{
    const OddBytes a(Bytes(8, 1));
    const OddBytes b(Bytes(8, 1));
    EXPECT_EQ(QEL_MDT_CmpData(a.data(), 4, b.data(), 8, 8), -1);
    EXPECT_EQ(QEL_MDT_CmpData(a.data(), 8, b.data(), 4, 8), 1);
    EXPECT_EQ(QEL_MDT_CmpData(a.data(), 4, b.data(), 8, 16), -1);
    const platform::Recorder recorder;
    EXPECT_EQ(QEL_MDT_CmpData(a.data(), 7, b.data(), 8, 2), -2);
    EXPECT_EQ(recorder.asserts().size(), 1U);
}

} // namespace
} // namespace qel::test
