// The compares of the MDT family: RD, key, non-key, attribute, communities and cross values.
#include "mdt_cases.h"

#include "compare_contract.h"

namespace qel::test {
namespace {

TEST(MdtCompare, RdsStandInTheOrderOfTheirWordsInMemory)
{
    expect_ascending(QEL_MDT_CmpRd, kAscendingRds);
}

// kept: the words decide as they lie, so that the value's first half goes ahead of the type
TEST(MdtCompare, AnRdOfTypeTwoStandsBelowOneOfTypeZeroWithAnAs)
{
    expect_rd_of_type_two_below_type_zero_with_an_as(QEL_MDT_CmpRd);
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

TEST(MdtCompare, RdKeyAndNonKeyNeedLengthsOfEight)
{
    for (const Compare with : {QEL_MDT_CmpRd, QEL_MDT_CmpKey, QEL_MDT_CmpNonKey}) {
        expect_lengths_refused(with, kPacketSource, kNotEight);
    }
}

TEST(MdtCompare, AMissingSideIsReportedOnce)
{
    for (const Compare with :
         {QEL_MDT_CmpRd, QEL_MDT_CmpKey, QEL_MDT_CmpNonKey, QEL_MDT_CmpAttr, QEL_MDT_CmpExtCommunity}) {
        expect_missing_side_reported_once(with, kPacketSource);
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
    EXPECT_EQ(compare(QEL_MDT_CmpData, 1, "0200 00000100 0100", "0000 0100 00000000"), -1);
    EXPECT_EQ(compare(QEL_MDT_CmpData, 2, "0100000a 010000e0", "0100000a 020000e0"), 0);
    EXPECT_EQ(compare(QEL_MDT_CmpData, 4, "0100 0000 010000e0", "0000 0000 020000e0"), -1);
    EXPECT_EQ(compare(QEL_MDT_CmpData, 8, "00000001", "00000002"), -1);
    EXPECT_EQ(compare(QEL_MDT_CmpData, 16, "00000001", "00000002"), 1);
    EXPECT_EQ(compare(QEL_MDT_CmpData, 16, "0900 0000 00000000", "0202 00000000 0000"), 1);
    for (const std::uint32_t bit : {0U, 3U, 5U, 32U, 0x101U, 0x10001U}) {
        EXPECT_EQ(compare(QEL_MDT_CmpData, bit, "0000000000000000", "0000000000000001"), -2) << bit;
    }
}

TEST(MdtCompare, TheOperationReportsAMissingSideOnce)
{
    expect_operation_reports_a_missing_side_once(QEL_MDT_CmpData, kFrameSource, {1, 2, 4, 8, 16, 32});
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
