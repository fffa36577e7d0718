// The compares of the VPNv4 multicast family: RD, key, label, attribute, communities and cross values.
#include "vpnv4mcast_cases.h"

#include "compare_contract.h"

namespace qel::test {
namespace {

TEST(Vpnv4McastCompare, RdsStandInTheOrderOfTheirWordsInMemory)
{
    expect_ascending(QEL_VPNV4MCAST_CmpRd, kAscendingRds);
}

// kept: the words decide as they lie, so that the value's first half goes ahead of the type
TEST(Vpnv4McastCompare, AnRdOfTypeTwoStandsBelowOneOfTypeZeroWithAnAs)
{
    expect_rd_of_type_two_below_type_zero_with_an_as(QEL_VPNV4MCAST_CmpRd);
}

TEST(Vpnv4McastCompare, KeysStandByPrefixAndThenByMaskLength)
{
    expect_ascending(QEL_VPNV4MCAST_CmpKey, {"00000000 00000000", "00000000 01000000", "00000000 20000000",
                                             "00000000 feffffff", "01000000 00000000", "00010000 00000000",
                                             "ffffff7f 20000000", "00000080 00000000", "ffffffff 20000000"});
}

// kept: a wildcard on either side equals every length of its prefix
TEST(Vpnv4McastCompare, AKeyOfAnyLengthEqualsItsPrefixWithEveryLength)
{
    for (const std::uint32_t length : {0U, 1U, 16U, 32U, 40U, 0x7fffffffU, 0xfffffffeU, 0xffffffffU}) {
        EXPECT_EQ(compare(QEL_VPNV4MCAST_CmpKey, key_of(0x0a010000, 0xffffffff), key_of(0x0a010000, length)), 0);
        EXPECT_EQ(compare(QEL_VPNV4MCAST_CmpKey, key_of(0x0a010000, length), key_of(0x0a010000, 0xffffffff)), 0);
        EXPECT_EQ(compare(QEL_VPNV4MCAST_CmpKey, key_of(0x0a010000, 0xffffffff), key_of(0x0a010001, length)), -1);
        EXPECT_EQ(compare(QEL_VPNV4MCAST_CmpKey, key_of(0x0a010001, length), key_of(0x0a010000, 0xffffffff)), 1);
        EXPECT_EQ(compare(QEL_VPNV4MCAST_CmpKey, key_of(0x0a010000, length), key_of(0x0a010001, 0xffffffff)), -1);
    }
}

// kept: two lengths that differ are both equal to the wildcard
TEST(Vpnv4McastCompare, KeysWithAWildcardHaveNoTotalOrder)
{
    const Bytes sixteen = key_of(0x0a010000, 16);
    const Bytes any = key_of(0x0a010000, 0xffffffff);
    const Bytes twenty = key_of(0x0a010000, 20);
    EXPECT_EQ(compare(QEL_VPNV4MCAST_CmpKey, sixteen, any), 0);
    EXPECT_EQ(compare(QEL_VPNV4MCAST_CmpKey, any, twenty), 0);
    EXPECT_EQ(compare(QEL_VPNV4MCAST_CmpKey, sixteen, twenty), -1);
}

TEST(Vpnv4McastCompare, LabelsStandByValue)
{
    expect_ascending(QEL_VPNV4MCAST_CmpLabel,
                     {"00000000", "01000000", "00010000", "ffff0f00", "ffffff7f", "00000080", "ffffffff"});
}

TEST(Vpnv4McastCompare, AttributesStandByLengthAndThenByBytes)
{
    expect_ascending(QEL_VPNV4MCAST_CmpAttr,
                     {"", "ff", "0000", "00ff", "0100", "7f00", "8000", "ffff", "000000", "ffffffff",
                      "00000000 00000000", "00000000 00000001", "01000000 00000000", "00000000 00000000 00"});
}

// kept: cross values stand by their bytes in memory, not by the fields of a community
TEST(Vpnv4McastCompare, CrossValuesStandByLengthAndThenByBytesInMemory)
{
    expect_ascending(QEL_VPNV4MCAST_CmpCross, {"", "ff", "0000", "00000001", "00000002", "ff000000",
                                               "0200 0100 00000000", "0200 00ff 00000000 00"});
    expect_ascending(QEL_VPNV4MCAST_CmpCross,
                     {"0102 00000000 0000", "0200 0001 00000000", "0200 0100 00000000", "0201 00000000 0000"});
    EXPECT_EQ(compare(QEL_VPNV4MCAST_CmpExtCommunity, "0200 0001 00000000", "0200 0100 00000000"), 1);
}

TEST(Vpnv4McastCompare, RdAndKeyNeedLengthsOfEight)
{
    for (const Compare with : {QEL_VPNV4MCAST_CmpRd, QEL_VPNV4MCAST_CmpKey}) {
        expect_lengths_refused(with, kFrameSource, kNotEight);
    }
}

TEST(Vpnv4McastCompare, LabelsNeedLengthsOfFour)
{
    expect_lengths_refused(QEL_VPNV4MCAST_CmpLabel, kFrameSource,
                           {{3, 4}, {4, 3}, {5, 4}, {4, 5}, {0, 4}, {4, 0}, {0, 0}, {8, 8}, {0x104, 4}, {4, 0x10004}});
}

TEST(Vpnv4McastCompare, CommunitiesNeedLengthsOfEightAtLeast)
{
    expect_lengths_refused(QEL_VPNV4MCAST_CmpExtCommunity, kFrameSource,
                           {{7, 8}, {8, 7}, {7, 7}, {4, 4}, {0, 0}, {0, 8}, {8, 0}, {7, 9}, {9, 7}});
}

TEST(Vpnv4McastCompare, AMissingSideIsReportedOnce)
{
    for (const Compare with : {QEL_VPNV4MCAST_CmpRd, QEL_VPNV4MCAST_CmpKey, QEL_VPNV4MCAST_CmpLabel,
                               QEL_VPNV4MCAST_CmpAttr, QEL_VPNV4MCAST_CmpExtCommunity}) {
        expect_missing_side_reported_once(with, kFrameSource);
    }
    expect_missing_side_reported_once(QEL_VPNV4MCAST_CmpCross, kCrossSource);
}

// --- communities ----------------------------------------------------------------------------------------------------

TEST(Vpnv4McastCompare, CommunitiesStandBySubTypeTypeAndFields)
{
    expect_ascending(QEL_VPNV4MCAST_CmpExtCommunity,
                     {
                         "00ff ffff ffffffff", // sub-type 0 of any type first
                         "0200 0000 00000000", "0200 0000 01000000", "0200 0000 00000080",
                         "0200 0100 00000000", // type 0: the 16-bit field first
                         "0200 00ff 00000000", "0201 00000000 0000",
                         "0201 00000000 ffff", // type 1: the 32-bit field first
                         "0201 01000000 0000", "0201 00000080 0000", "0202 00000000 0000",
                         "0202 00000000 00ff", // type 2 as well
                         "0202 01000000 0000", "0202 00000100 0000",
                         "0203 0000 00000000", // kept: type 3 as type 0
                         "0203 0000 ffffffff", "0203 0100 00000000", "02ff 0000 01000000", "02ff 0100 00000000",
                         "0900 0000 00000000", "0a01 00000000 0000", "0b01 00000000 0000", "ff00 0000 00000000",
                     });
}

// kept: values longer than an element stand in the reverse order of their bytes
TEST(Vpnv4McastCompare, ValuesLongerThanAnElementStandByLengthAndInReverseOrder)
{
    expect_ascending(QEL_VPNV4MCAST_CmpExtCommunity,
                     {"ff00 0000 00000000", "ff00 0000 00000000 00", "0200 0000 00000000 ff", "0200 0000 00000000 01",
                      "0000 0000 00000000 00", "ff00 0000 00000000 0000"});
    EXPECT_EQ(compare(QEL_VPNV4MCAST_CmpExtCommunity, "000000000000000001", "000000000000000002"), 1);
    EXPECT_EQ(compare(QEL_VPNV4MCAST_CmpExtCommunity, "000000000000000002", "000000000000000001"), -1);
    EXPECT_EQ(compare(QEL_VPNV4MCAST_CmpExtCommunity, "000000000000000001", "000000000000000001"), 0);
}

// --- the operation --------------------------------------------------------------------------------------------------

TEST(Vpnv4McastCompare, SectionBitsLeadToTheirCompares)
{
    EXPECT_EQ(compare(QEL_VPNV4MCAST_CmpData, 1, "0200 00000100 0100", "0000 0100 00000000"), -1);
    EXPECT_EQ(compare(QEL_VPNV4MCAST_CmpData, 2, "0000010a 10000000", "0000010a ffffffff"), 0);
    EXPECT_EQ(compare(QEL_VPNV4MCAST_CmpData, 2, "0000010a 20000000", "0000010a 10000000"), 1);
    EXPECT_EQ(compare(QEL_VPNV4MCAST_CmpData, 32, "00000001", "01000000"), 1);
    EXPECT_EQ(compare(QEL_VPNV4MCAST_CmpData, 8, "00000001", "01000000"), -1);
    EXPECT_EQ(compare(QEL_VPNV4MCAST_CmpData, 16, "0200 0001 00000000", "0200 0100 00000000"), -1);
    for (const std::uint32_t bit : {0U, 3U, 4U, 5U, 33U, 0x101U, 0x10001U}) { // 4: there is no non-key
        EXPECT_EQ(compare(QEL_VPNV4MCAST_CmpData, bit, "0000000000000000", "0000000000000001"), -2) << bit;
    }
}

TEST(Vpnv4McastCompare, TheOperationReportsAMissingSideOnce)
{
    expect_operation_reports_a_missing_side_once(QEL_VPNV4MCAST_CmpData, kFrameSource, {1, 2, 8, 16, 32, 4});
}

TEST(Vpnv4McastCompare, LengthsReachTheCompareAsTheyWereGiven)
{
    const OddBytes a(Bytes(8, 1));
    const OddBytes b(Bytes(8, 1));
    for (const std::uint32_t bit : {8U, 16U}) {
        EXPECT_EQ(QEL_VPNV4MCAST_CmpData(a.data(), 4, b.data(), 8, bit), -1);
        EXPECT_EQ(QEL_VPNV4MCAST_CmpData(a.data(), 8, b.data(), 4, bit), 1);
    }
    const platform::Recorder recorder;
    EXPECT_EQ(QEL_VPNV4MCAST_CmpData(a.data(), 7, b.data(), 8, 2), -2);
    EXPECT_EQ(recorder.asserts().size(), 1U);
}

} // namespace
} // namespace qel::test
