// The extended communities attribute of the VPNv4 multicast family: reading, writing, byte order, sorting and clean-up.
#include "vpnv4mcast_cases.h"

#include "extcomm_contract.h"

namespace qel::test {
namespace {

struct Vpnv4McastExtCommCalls : Vpnv4McastCalls {
    static constexpr auto kCheckLen = QEL_VPNV4MCAST_CheckExtCommLen;
    static constexpr auto kParse = QEL_VPNV4MCAST_ParseExtCommunity;
    static constexpr auto kFormat = QEL_VPNV4MCAST_FormatExtCommunity;
    static constexpr auto kToHost = QEL_VPNV4MCAST_ConvertExtCommunityNTOH;
    static constexpr auto kToWire = QEL_VPNV4MCAST_ConvertExtCommunityHTON;
    static constexpr auto kSort = QEL_VPNV4MCAST_SortExtCommunitys;
    static constexpr auto kRemoveRepeats = QEL_VPNV4MCAST_RemoveDupExtCommunitys;
    static constexpr auto kCleanUp = QEL_VPNV4MCAST_CleanupExtCommunity;
    static constexpr std::string_view kSource = kFrameSource;
};
using Vpnv4McastExtComm = ExtCommContract<Vpnv4McastExtCommCalls>;

TEST_F(Vpnv4McastExtComm, LengthsAreWholeElements)
{
    lengths_are_whole_elements();
}

TEST_F(Vpnv4McastExtComm, AListIsReadIntoHostOrderSortedAndWithoutRepeats)
{
    a_list_is_read_into_host_order_sorted_and_without_repeats();
}

TEST_F(Vpnv4McastExtComm, TheCountOfElementsHas16Bits)
{
    const Bytes wire = bytes(kRt2) + Bytes(0x80000, 9); // 0x10001 elements are one
    const Parsed got = parse(wire, ctx_);
    expect_list(got, kRt2, 0x80008);
}

TEST_F(Vpnv4McastExtComm, EachAllocationOfTheReaderFailsOnce)
{
    each_allocation_of_the_reader_fails_once();
}

TEST_F(Vpnv4McastExtComm, ReadingRefusesMissingArgumentsWithOneReport)
{
    reading_refuses_missing_arguments_with_one_report();
}

// --- writing --------------------------------------------------------------------------------------------------------

TEST_F(Vpnv4McastExtComm, AListGoesOutInWireOrderAsItStands)
{
    a_list_goes_out_in_wire_order_as_it_stands();
}

TEST_F(Vpnv4McastExtComm, NoListWritesNothing)
{
    no_list_writes_nothing();
}

TEST_F(Vpnv4McastExtComm, TheOddTailOfAListGoesOutAsItStands)
{
    the_odd_tail_of_a_list_goes_out_as_it_stands();
}

TEST_F(Vpnv4McastExtComm, TheListToWriteHasALengthOf16Bits)
{
    the_list_to_write_has_a_length_of_16_bits();
}

TEST_F(Vpnv4McastExtComm, TheCopyToWriteFailsOnce)
{
    the_copy_to_write_fails_once();
}

TEST_F(Vpnv4McastExtComm, WritingRefusesMissingArgumentsWithOneReport)
{
    writing_refuses_missing_arguments_with_one_report();
}

TEST_F(Vpnv4McastExtComm, TheOperationsReadAndWriteTheListAsAttribute16)
{
    const OddBytes wire(bytes(kRt1));
    const std::uint8_t *cursor = wire.data();
    std::uint32_t more = kUnwritten;
    expect_made(make([&](auto result) { return desc_.pfParsePkt(&cursor, wire.size(), 0, 16, result, &more, ctx_); }),
                {.list = host_list(kRt1)});
    Held held({.list = host_list(kRt1)});
    expect_written(write_into(8, [&](auto at) { return desc_.pfFormatPkt(&held.info, 16, at, 8, ctx_); }), bytes(kRt1));
}

// --- byte order -----------------------------------------------------------------------------------------------------

TEST_F(Vpnv4McastExtComm, OnlyTheTypes0002And0009AreTurnedAsAsAndNumber)
{
    only_the_types_0002_and_0009_are_turned_as_as_and_number();
}

TEST_F(Vpnv4McastExtComm, OnlyTheCountedElementsAreTurned)
{
    only_the_counted_elements_are_turned();
}

TEST_F(Vpnv4McastExtComm, TurningNoListIsReported)
{
    turning_no_list_is_reported();
}

// --- order and repeats ----------------------------------------------------------------------------------------------

TEST_F(Vpnv4McastExtComm, SortingKeepsRepeatsAndWhatStandsBehindTheCount)
{
    sorting_keeps_repeats(kSourceAs + kRt4 + kRt1 + kRt4 + kImport + kRt1,
                          kRt1 + kRt4 + kRt4 + kSourceAs + kImport + kRt1,
                          kRt1 + kRt1 + kRt4 + kRt4 + kSourceAs + kImport);
}

TEST_F(Vpnv4McastExtComm, SortingTakesItsScratchForNoElementAndForOneToo)
{
    sorting_takes_its_scratch_for_no_element_and_for_one_too();
}

TEST_F(Vpnv4McastExtComm, SortingWithoutScratchIsReported)
{
    sorting_without_scratch_is_reported();
}

TEST_F(Vpnv4McastExtComm, RepeatsOfASortedListAreDropped)
{
    repeats_of_a_sorted_list_are_dropped();
}

// kept: no element counts as one
TEST_F(Vpnv4McastExtComm, AnEmptyListCountsAsOneElementAfterwards)
{
    an_empty_list_counts_as_one_element_afterwards();
}

TEST_F(Vpnv4McastExtComm, CleanUpSortsAndDropsRepeats)
{
    clean_up_sorts_and_drops_repeats();
}

TEST_F(Vpnv4McastExtComm, CleanUpReturnsTheFailureOfTheSort)
{
    clean_up_returns_the_failure_of_the_sort();
}

TEST_F(Vpnv4McastExtComm, RandomListsComeOutAsASortOfTheirFieldsGivesThem)
{
    random_lists_come_out_as_a_sort_of_their_fields_gives_them(20260104);
}

TEST_F(Vpnv4McastExtComm, AnyListIsSortedAsExchangesSortIt)
{
    any_list_is_sorted_as_exchanges_sort_it(20260106);
}

TEST_F(Vpnv4McastExtComm, ListOperationsRefuseMissingArgumentsWithOneReport)
{
    list_operations_refuse_missing_arguments_with_one_report();
}

} // namespace
} // namespace qel::test
