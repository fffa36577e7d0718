// Values of messages between components: route prefixes, import targets, community lists, the label names without work.
#include "vpnv4mcast_cases.h"

#include "message_contract.h"

namespace qel::test {
namespace {

const Bytes kPrefix = bytes("0000 0064 00000005 0a010000 00000010");

struct Vpnv4McastMessageCalls : Vpnv4McastCalls {
    static constexpr auto kParseList = QEL_VPNV4MCAST_ParseExtCommunityTlv;
    static constexpr auto kFormatList = QEL_VPNV4MCAST_FormatExtCommunityTlv;
    static constexpr auto kParsePrefix = QEL_VPNV4MCAST_ParseRtPrefixTlv;
    static constexpr auto kFormatTarget = QEL_VPNV4MCAST_FormatIrtTlv;
};
using Vpnv4McastMessage = MessageContract<Vpnv4McastMessageCalls>;

TEST_F(Vpnv4McastMessage, ReadersRefuseMissingArgumentsWithOneReport)
{
    expect_reader_refuses(QEL_VPNV4MCAST_ParseRtPrefixTlv, kFrameSource, kPrefix, ctx_);
    expect_reader_refuses(QEL_VPNV4MCAST_ParseExtCommunityTlv, kFrameSource, bytes(kRt1), ctx_);
    expect_reader_refuses(QEL_VPNV4MCAST_ParseIrtTlv, kIrtSource, bytes(kRt1), ctx_);
}

TEST_F(Vpnv4McastMessage, WritersRefuseMissingArgumentsWithOneReport)
{
    expect_writer_refuses(QEL_VPNV4MCAST_FormatRtPrefixTlv, kFrameSource, 3, bare_route(), ctx_);
    expect_writer_refuses(QEL_VPNV4MCAST_FormatExtCommunityTlv, kFrameSource, 2, {.list = host_list(kRt1)}, ctx_);
    expect_writer_refuses(QEL_VPNV4MCAST_FormatIrtTlv, kIrtSource, 2, {.cross = host_list(kRt1)}, ctx_);
}

// --- route prefixes -------------------------------------------------------------------------------------------------

TEST_F(Vpnv4McastMessage, APrefixBecomesRdAndKeyInHostOrderAndNoLabel)
{
    const Made got = read_message(QEL_VPNV4MCAST_ParseRtPrefixTlv, kPrefix, ctx_);
    expect_made(got, bare_route());
    EXPECT_EQ(got.allocations, 1U);
    expect_made(read_message(QEL_VPNV4MCAST_ParseRtPrefixTlv, bytes("0001 0a0b0c0d 1234 01020304 05060708"), ctx_),
                {.rd = bytes("0100 0d0c0b0a 3412"), .key = bytes("04030201 08070605")});
    expect_made(read_message(QEL_VPNV4MCAST_ParseRtPrefixTlv, bytes("0002 00010203 fffe 00000000 00000000"), ctx_),
                {.rd = bytes("0200 03020100 feff"), .key = bytes("00000000 00000000")});
}

// kept: neither word is masked or bounded, so that the wildcard passes through a message
TEST_F(Vpnv4McastMessage, PrefixAndMaskLengthAreTakenAsTheyStand)
{
    for (const std::uint32_t length : {0U, 8U, 32U, 33U, 0xffffffffU}) {
        const Bytes mem = key_of(0x0a010203, length);
        Bytes wire = word(length);
        std::reverse(wire.begin(), wire.end());
        wire = slice(kPrefix, 0, 8) + bytes("0a010203") + wire;
        expect_made(read_message(QEL_VPNV4MCAST_ParseRtPrefixTlv, wire, ctx_), {.rd = bytes(kRdMem), .key = mem});
        const Held held({.rd = bytes(kRdMem), .key = mem});
        expect_written(write_message(QEL_VPNV4MCAST_FormatRtPrefixTlv, held.info, 16, ctx_), wire);
    }
}

// kept: exactly sixteen octets, and a longer value is a malformed route
TEST_F(Vpnv4McastMessage, APrefixOfAnotherLengthIsMalformedWithoutAReport)
{
    for (std::size_t length = 0; length <= 40; ++length) {
        if (length != 16) {
            const Bytes value = slice(kPrefix + Bytes(24), 0, length);
            const Made got = read_message(QEL_VPNV4MCAST_ParseRtPrefixTlv, value, ctx_);
            expect_not_made(got, kMalformed);
            EXPECT_EQ(got.allocations, 0U);
        }
    }
    const Trusted message(kPrefix);
    for (const std::uint32_t length : {0x110U, 0x10010U, 0x80000010U}) {
        expect_not_made(
            make([&](auto result) { return QEL_VPNV4MCAST_ParseRtPrefixTlv(message.data(), length, result, ctx_); }),
            kMalformed);
    }
    expect_not_made(read_message(QEL_VPNV4MCAST_ParseRtPrefixTlv, bytes("0003"), ctx_), kMalformed);
}

TEST_F(Vpnv4McastMessage, APrefixWithAnRdTypeAboveTwoIsRefused)
{
    a_prefix_with_an_rd_type_above_two_is_refused(kPrefix);
}

TEST_F(Vpnv4McastMessage, ThePrefixsBlockFailsOnce)
{
    the_prefixs_block_fails_once(kPrefix);
}

TEST_F(Vpnv4McastMessage, APrefixGoesOutWithoutALengthOctet)
{
    const Held held(whole_route());
    for (const std::size_t room : {16U, 17U, 40U}) {
        expect_written(write_message(QEL_VPNV4MCAST_FormatRtPrefixTlv, held.info, room, ctx_), kPrefix);
    }
    EXPECT_EQ(held.info.uiMplsLabel, kLabel);
    const Held other({.rd = bytes("0200 03020100 feff"), .key = bytes("04030201 08070605")});
    expect_written(write_message(QEL_VPNV4MCAST_FormatRtPrefixTlv, other.info, 16, ctx_),
                   bytes("0002 00010203 fffe 01020304 05060708"));
    const Held unknown({.rd = bytes("0300 010203040506"), .key = bytes(kKeyMem)});
    expect_written(write_message(QEL_VPNV4MCAST_FormatRtPrefixTlv, unknown.info, 16, ctx_),
                   bytes("0003 010203040506 0a010000 00000010"));
}

TEST_F(Vpnv4McastMessage, APrefixNeedsItsKeyAndThenRoom)
{
    const Held held(bare_route());
    for (std::size_t room = 0; room < 16; ++room) {
        expect_not_written(write_message(QEL_VPNV4MCAST_FormatRtPrefixTlv, held.info, room, ctx_), kNoRoom);
    }
    const Held keyless({.rd = bytes(kRdMem)});
    for (const std::size_t room : {0U, 15U, 16U}) {
        expect_not_written(write_message(QEL_VPNV4MCAST_FormatRtPrefixTlv, keyless.info, room, ctx_), kAbsent);
    }
}

// kept: nobody looks for the RD
TEST_F(Vpnv4McastMessage, AMissingRdOfAPrefixIsOnlyReported)
{
    const Held held({.key = bytes(kKeyMem)});
    OddBytes out(bytes("0000 0102 03040506 eeeeeeee eeeeeeee"));
    std::uint8_t *cursor = out.data();
    const platform::Recorder recorder;
    EXPECT_EQ(QEL_VPNV4MCAST_FormatRtPrefixTlv(&held.info, &cursor, 16, ctx_), 0U);
    EXPECT_EQ(recorder.asserts().size(), 1U);
    EXPECT_EQ(cursor, out.data() + 16);
    EXPECT_EQ(hex(slice(out.bytes(), 8, 8)), hex_of("0a010000 00000010"));
    EXPECT_EQ(write_message(QEL_VPNV4MCAST_FormatRtPrefixTlv, held.info, 15, ctx_).code, kNoRoom);
}

// --- import targets -------------------------------------------------------------------------------------------------

const std::pair<std::string_view, std::string_view> kTargets[] = {{"0002 fde9 00000064", "0200 e9fd 64000000"},
                                                                  {"0102 c0000201 0007", "0201 010200c0 0700"},
                                                                  {"0202 00010203 0009", "0202 03020100 0900"}};
// among them the import types, Source AS and the pseudo type
constexpr std::string_view kNoTargets[] = {"010a", "010b", "0009", "0000", "0302", "000a", "000b",
                                           "0112", "4002", "8102", "ffff", "0200", "0201"};

TEST_F(Vpnv4McastMessage, ReadingARouteTargetReportsAMissingArgumentAndDoesNothing)
{
    const OddBytes from(bytes(kTargets[0].first));
    const std::uint8_t *cursor = from.data();
    OddBytes to(Bytes(8, kUntouchedOctet));
    expect_null_arguments_refused(2, kIrtSource, [&](unsigned nulls) {
        return QEL_VPNV4MCAST_GetRtValue(unless(nulls, 0, &cursor), unless(nulls, 1, to.as<QEL_EXTCOMM_S>()));
    });
    EXPECT_EQ(cursor, from.data());
    EXPECT_EQ(to.bytes(), Bytes(8, kUntouchedOctet));
}

TEST_F(Vpnv4McastMessage, ARouteTargetIsReadByItsType)
{
    const platform::Recorder recorder;
    for (const auto &[wire, mem] : kTargets) {
        SCOPED_TRACE(wire);
        const OddBytes from(bytes(wire));
        OddBytes to(Bytes(8, kUntouchedOctet));
        const std::uint8_t *cursor = from.data();
        EXPECT_EQ(QEL_VPNV4MCAST_GetRtValue(&cursor, to.as<QEL_EXTCOMM_S>()), 0U);
        EXPECT_EQ(cursor, from.data() + 8);
        EXPECT_EQ(to.hex(), hex_of(mem));
    }
    for (const std::string_view type : kNoTargets) { // the type alone is turned
        SCOPED_TRACE(type);
        const Bytes octets = bytes(type);
        const OddBytes from(octets + bytes("010203040506"));
        OddBytes to(Bytes(8, kUntouchedOctet));
        const std::uint8_t *cursor = from.data();
        EXPECT_EQ(QEL_VPNV4MCAST_GetRtValue(&cursor, to.as<QEL_EXTCOMM_S>()), kBadArgument);
        EXPECT_EQ(cursor, from.data());
        EXPECT_EQ(to.hex(), hex(Bytes{octets[1], octets[0]} + bytes("010203040506")));
    }
    EXPECT_TRUE(recorder.asserts().empty());
}

TEST_F(Vpnv4McastMessage, AnImportTargetIsARouteTargetBothWays)
{
    for (const auto &[wire, mem] : kTargets) {
        SCOPED_TRACE(wire);
        const Made got = read_message(QEL_VPNV4MCAST_ParseIrtTlv, bytes(wire), ctx_);
        expect_made(got, {.cross = bytes(mem)});
        EXPECT_EQ(got.allocations, 1U);
        const Held held({.cross = bytes(mem)});
        expect_written(write_message(QEL_VPNV4MCAST_FormatIrtTlv, held.info, 8, ctx_), bytes(wire));
        expect_written(write_message(QEL_VPNV4MCAST_FormatIrtTlv, held.info, 20, nullptr), bytes(wire));
    }
}

// kept: the import types of the other families are no import targets here
TEST_F(Vpnv4McastMessage, OnlyTheThreeRouteTargetTypesPassAsImportTargets)
{
    for (const std::string_view type : kNoTargets) {
        const Made got = read_message(QEL_VPNV4MCAST_ParseIrtTlv, bytes(type) + bytes("010203040506"), ctx_);
        expect_not_made(got, kBadArgument);
        EXPECT_EQ(got.allocations, 0U);
    }
}

TEST_F(Vpnv4McastMessage, AnImportTargetOfAnotherLengthIsABadArgumentWithoutAReport)
{
    for (const std::size_t length : {0U, 1U, 4U, 7U, 9U, 12U, 16U, 20U, 0x108U, 0x10008U}) {
        Bytes value = bytes(kRt1);
        value.resize(length);
        const Made got = read_message(QEL_VPNV4MCAST_ParseIrtTlv, value, ctx_);
        expect_not_made(got, kBadArgument);
        EXPECT_EQ(got.allocations, 0U);
    }
}

TEST_F(Vpnv4McastMessage, TheImportTargetsBlockFailsOnce)
{
    expect_each_allocation_fails({kNoBlock},
                                 [&] { return read_message(QEL_VPNV4MCAST_ParseIrtTlv, bytes(kRt1), ctx_); });
}

TEST_F(Vpnv4McastMessage, NoCrossValueWritesNothingWhateverTheRoom)
{
    no_cross_value_writes_nothing_whatever_the_room();
}

TEST_F(Vpnv4McastMessage, ACrossValueNeedsRoomAheadOfALengthOfEight)
{
    for (const std::size_t length : {1U, 4U, 8U, 12U}) {
        const Held held({.cross = Bytes(length, 7)});
        for (std::size_t room = 0; room < length; ++room) {
            expect_not_written(write_message(QEL_VPNV4MCAST_FormatIrtTlv, held.info, room, ctx_), kNoRoom);
        }
    }
    for (const std::size_t length : {0U, 1U, 3U, 4U, 7U, 9U, 12U, 16U}) {
        const Held held({.cross = Bytes(length, 7)});
        expect_not_written(write_message(QEL_VPNV4MCAST_FormatIrtTlv, held.info, length, ctx_), kBadArgument, 1);
        expect_not_written(write_message(QEL_VPNV4MCAST_FormatIrtTlv, held.info, 40, ctx_), kBadArgument, 1);
    }
}

// kept: the conversion of a list serves the single target, so that every type is turned in full
TEST_F(Vpnv4McastMessage, ACrossValueOfAnotherTypeIsTurnedInFull)
{
    for (const std::string_view wire : {"0009 0102 03040506", "010a 01020304 0506", "0803 01020304 0506",
                                        "ffff 01020304 0506", "0000 01020304 0506"}) {
        const Held held({.cross = host_list(wire)});
        expect_written(write_message(QEL_VPNV4MCAST_FormatIrtTlv, held.info, 8, ctx_), bytes(wire));
    }
}

// --- community lists ------------------------------------------------------------------------------------------------

TEST_F(Vpnv4McastMessage, AListComesToHostOrderAsItStands)
{
    a_list_comes_to_host_order_as_it_stands();
}

TEST_F(Vpnv4McastMessage, TheOddTailOfAListIsTakenOverUnswapped)
{
    the_odd_tail_of_a_list_is_taken_over_unswapped();
}

TEST_F(Vpnv4McastMessage, LessThanOneElementIsRefused)
{
    less_than_one_element_is_refused();
}

TEST_F(Vpnv4McastMessage, AListsLengthHas16BitsInTheBlock)
{
    a_lists_length_has_16_bits_in_the_block();
}

TEST_F(Vpnv4McastMessage, EachAllocationOfAListFailsOnce)
{
    each_allocation_of_a_list_fails_once();
}

TEST_F(Vpnv4McastMessage, AListGoesOutInWireOrder)
{
    a_list_goes_out_in_wire_order();
}

TEST_F(Vpnv4McastMessage, TheListToWriteHasALengthOf16Bits)
{
    the_list_to_write_has_a_length_of_16_bits();
}

TEST_F(Vpnv4McastMessage, ARouteWithoutAListWritesNothing)
{
    a_route_without_a_list_writes_nothing();
}

TEST_F(Vpnv4McastMessage, WithoutAContextThereIsNoScratchForAList)
{
    const Held held({.list = host_list(kRt1)});
    const Written got = write_message(QEL_VPNV4MCAST_FormatExtCommunityTlv, held.info, 8, nullptr);
    expect_not_written(got, kOutOfMemory, 2); // the missing context and the missing scratch
    expect_not_written(write_message(QEL_VPNV4MCAST_FormatExtCommunityTlv, held.info, 7, nullptr), kNoRoom);
}

// kept: scratch memory of no octet is none, so that an empty list is answered like a failed allocation
TEST_F(Vpnv4McastMessage, AnEmptyListIsAnsweredLikeAFailedAllocation)
{
    an_empty_list_is_answered_like_a_failed_allocation();
}

TEST_F(Vpnv4McastMessage, TheScratchOfAListToWriteFailsOnce)
{
    the_scratch_of_a_list_to_write_fails_once();
}

// --- names without work ---------------------------------------------------------------------------------------------

// kept: a label travels in no message; the two names are there and do nothing
TEST_F(Vpnv4McastMessage, LabelMessagesReadAndWriteNothing)
{
    const Held held(whole_route());
    expect_not_made(read_message(QEL_VPNV4MCAST_ParseRtLabelTlv, bytes("00064000"), ctx_), 0);
    expect_written(write_message(QEL_VPNV4MCAST_FormatRtLabelTlv, held.info, 8, ctx_), {});
    const platform::Recorder recorder;
    EXPECT_EQ(QEL_VPNV4MCAST_ParseRtLabelTlv(nullptr, 8, nullptr, nullptr), 0U);
    EXPECT_EQ(QEL_VPNV4MCAST_FormatRtLabelTlv(nullptr, nullptr, 8, nullptr), 0U);
    EXPECT_TRUE(recorder.asserts().empty());
}

} // namespace
} // namespace qel::test
