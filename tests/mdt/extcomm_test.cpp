// The extended communities attribute of the MDT family: reading, writing, byte order, sorting and clean-up.
#include "mdt_cases.h"

#include "extcomm_contract.h"

namespace qel::test {
namespace {

struct MdtExtCommCalls : MdtCalls {
    static constexpr auto kCheckLen = QEL_MDT_CheckExtCommLen;
    static constexpr auto kParse = QEL_MDT_ParseExtCommunity;
    static constexpr auto kFormat = QEL_MDT_FormatExtCommunity;
    static constexpr auto kToHost = QEL_MDT_ConvertExtCommunityNTOH;
    static constexpr auto kToWire = QEL_MDT_ConvertExtCommunityHTON;
    static constexpr auto kSort = QEL_MDT_SortExtCommunitys;
    static constexpr auto kRemoveRepeats = QEL_MDT_RemoveDupExtCommunitys;
    static constexpr auto kCleanUp = QEL_MDT_CleanupExtCommunity;
    static constexpr std::string_view kSource = kPacketSource;
};
using MdtExtComm = ExtCommContract<MdtExtCommCalls>;

TEST_F(MdtExtComm, LengthsAreWholeElements)
{
    lengths_are_whole_elements();
}

TEST_F(MdtExtComm, AListIsReadIntoHostOrderSortedAndWithoutRepeats)
{
    a_list_is_read_into_host_order_sorted_and_without_repeats();
}

TEST_F(MdtExtComm, TheCursorPassesTheWholeAttributeWhateverIsDropped)
{
    const Parsed got = parse(bytes(kRt1 + kRt1 + kRt1), ctx_);
    expect_made(got, {.list = host_list(kRt1)});
    EXPECT_EQ(got.moved, 24);
}

TEST_F(MdtExtComm, ACommunityOfUnknownTypeComesOutAsItCameIn)
{
    const Parsed got = parse(bytes(kOther), ctx_);
    ASSERT_TRUE(got.block);
    Held held({.list = got.block.section(got.block->usAttrOffset, 8)});
    expect_written(write_into(8, [&](auto cursor) { return QEL_MDT_FormatExtCommunity(&held.info, cursor, 8, ctx_); }),
                   bytes(kOther));
}

TEST_F(MdtExtComm, TheElementsOfTheAttributeAreCountedIn16Bits)
{
    Bytes wire = bytes(kRt1 + kRt4);
    wire.resize(0x80008);
    const Parsed got = parse(wire, ctx_);
    expect_made(got, {.list = host_list(kRt1)});
    EXPECT_EQ(got.moved, 0x80008);
}

TEST_F(MdtExtComm, EachAllocationOfTheReaderFailsOnce)
{
    each_allocation_of_the_reader_fails_once();
}

TEST_F(MdtExtComm, ReadingRefusesMissingArgumentsWithOneReport)
{
    reading_refuses_missing_arguments_with_one_report();
}

// --- writing --------------------------------------------------------------------------------------------------------

TEST_F(MdtExtComm, AListGoesOutInWireOrderAsItStands)
{
    a_list_goes_out_in_wire_order_as_it_stands();
}

TEST_F(MdtExtComm, TheRoutesListStaysInHostOrderWhereItIsWritten)
{
    const Bytes list = host_list(kRt4 + kSourceAs);
    OddBytes own(list);
    QEL_ROUTE_INFO_S route;
    std::memset(&route, 0, sizeof(route));
    route.pucExtComm = own.data();
    route.uiExtCommLen = own.size();
    EXPECT_EQ(format(route, 16, ctx_).code, 0U);
    EXPECT_EQ(own.bytes(), list);
}

TEST_F(MdtExtComm, NoListWritesNothing)
{
    no_list_writes_nothing();
}

TEST_F(MdtExtComm, TheOddTailOfAListGoesOutAsItStands)
{
    the_odd_tail_of_a_list_goes_out_as_it_stands();
}

TEST_F(MdtExtComm, TheListToWriteHasALengthOf16Bits)
{
    the_list_to_write_has_a_length_of_16_bits();
}

TEST_F(MdtExtComm, TheCopyToWriteFailsOnce)
{
    the_copy_to_write_fails_once();
}

TEST_F(MdtExtComm, WritingRefusesMissingArgumentsWithOneReport)
{
    writing_refuses_missing_arguments_with_one_report();
}

// --- byte order -----------------------------------------------------------------------------------------------------

TEST_F(MdtExtComm, OnlyTheTypes0002And0009AreTurnedAsAsAndNumber)
{
    only_the_types_0002_and_0009_are_turned_as_as_and_number();
}

TEST_F(MdtExtComm, OnlyTheCountedElementsAreTurned)
{
    only_the_counted_elements_are_turned();
}

TEST_F(MdtExtComm, TurningNoListIsReported)
{
    turning_no_list_is_reported();
}

// --- order and repeats ----------------------------------------------------------------------------------------------

TEST_F(MdtExtComm, SortingKeepsRepeatsAndWhatStandsBehindTheCount)
{
    sorting_keeps_repeats(kSourceAs + kRt4 + kRt1 + kRt4 + kRt1 + kImport,
                          kRt1 + kRt4 + kRt4 + kSourceAs + kRt1 + kImport,
                          kRt1 + kRt1 + kRt4 + kRt4 + kSourceAs + kImport);
}

TEST_F(MdtExtComm, SortingTakesItsScratchForNoElementAndForOneToo)
{
    sorting_takes_its_scratch_for_no_element_and_for_one_too();
}

TEST_F(MdtExtComm, SortingWithoutScratchIsReported)
{
    sorting_without_scratch_is_reported();
}

TEST_F(MdtExtComm, RepeatsOfASortedListAreDropped)
{
    repeats_of_a_sorted_list_are_dropped();
}

// kept: no element counts as one
TEST_F(MdtExtComm, AnEmptyListCountsAsOneElementAfterwards)
{
    an_empty_list_counts_as_one_element_afterwards();
}

TEST_F(MdtExtComm, CleanUpSortsAndDropsRepeats)
{
    clean_up_sorts_and_drops_repeats();
}

TEST_F(MdtExtComm, CleanUpReturnsTheFailureOfTheSort)
{
    clean_up_returns_the_failure_of_the_sort();
}

TEST_F(MdtExtComm, RandomListsComeOutAsASortOfTheirFieldsGivesThem)
{
    random_lists_come_out_as_a_sort_of_their_fields_gives_them(20260103);
}

TEST_F(MdtExtComm, AnyListIsSortedAsExchangesSortIt)
{
    any_list_is_sorted_as_exchanges_sort_it(20260105);
}

TEST_F(MdtExtComm, ListOperationsRefuseMissingArgumentsWithOneReport)
{
    list_operations_refuse_missing_arguments_with_one_report();
}

} // namespace
} // namespace qel::test
