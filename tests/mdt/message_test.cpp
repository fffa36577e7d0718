// Values of messages between components: route prefixes, import targets, community lists, the non-key, added lists.
#include "mdt_cases.h"

#include "dirty_heap.h"
#include "message_contract.h"

namespace qel::test {
namespace {

const Bytes kPrefix = bytes("0000 0064 00000005 0a000001 ef010101");

struct MdtMessageCalls : MdtCalls {
    static constexpr auto kParseList = QEL_MDT_ParseRtExtCommunityTlv;
    static constexpr auto kFormatList = QEL_MDT_FormatRtExtCommunityTlv;
    static constexpr auto kParsePrefix = QEL_MDT_ParseRtPrefixTlv;
    static constexpr auto kFormatTarget = QEL_MDT_FormatIrtTlv;
};
using MdtMessage = MessageContract<MdtMessageCalls>;

// --- route prefixes -------------------------------------------------------------------------------------------------

TEST_F(MdtMessage, APrefixBecomesRdKeyAndNonKeyInHostOrder)
{
    expect_made(read_message(QEL_MDT_ParseRtPrefixTlv, kPrefix, ctx_), whole_route());
    expect_made(
        read_message(QEL_MDT_ParseRtPrefixTlv, bytes("0001 0a0b0c0d 1234 01020304 05060708"), ctx_),
        {.rd = bytes("0100 0d0c0b0a 3412"), .key = bytes("04030201 08070605"), .nonkey = bytes("0100 0000 08070605")});
    expect_made(
        read_message(QEL_MDT_ParseRtPrefixTlv, bytes("0002 00010203 fffe 00000000 ffffffff"), ctx_),
        {.rd = bytes("0200 03020100 feff"), .key = bytes("00000000 ffffffff"), .nonkey = bytes("0100 0000 ffffffff")});
}

TEST_F(MdtMessage, WhatStandsBehindTheSixteenBytesOfAPrefixIsIgnored)
{
    for (std::size_t more = 1; more <= 20; ++more) {
        expect_made(read_message(QEL_MDT_ParseRtPrefixTlv, kPrefix + Bytes(more, 0xff), ctx_), whole_route());
    }
}

TEST_F(MdtMessage, AShortPrefixIsABadArgumentWithoutAReport)
{
    for (std::size_t length = 0; length < 16; ++length) {
        expect_not_made(read_message(QEL_MDT_ParseRtPrefixTlv, slice(kPrefix, 0, length), ctx_), kBadArgument);
    }
    expect_not_made(read_message(QEL_MDT_ParseRtPrefixTlv, bytes("0003"), ctx_), kBadArgument);
}

TEST_F(MdtMessage, APrefixWithAnRdTypeAboveTwoIsRefused)
{
    a_prefix_with_an_rd_type_above_two_is_refused(kPrefix);
}

TEST_F(MdtMessage, ThePrefixsBlockFailsOnce)
{
    the_prefixs_block_fails_once(kPrefix);
}

TEST_F(MdtMessage, ReadersRefuseMissingArgumentsWithOneReport)
{
    expect_reader_refuses(QEL_MDT_ParseRtPrefixTlv, kPacketSource, kPrefix, ctx_);
    expect_reader_refuses(QEL_MDT_ParseIrtTlv, kPacketSource, bytes("ef010203"), ctx_);
    expect_reader_refuses(QEL_MDT_ParseIrtTlv, kPacketSource, bytes(kRt1), ctx_);
    expect_reader_refuses(QEL_MDT_ParseRtExtCommunityTlv, kPacketSource, bytes(kRt1), ctx_);
}

TEST_F(MdtMessage, ANonKeyRefusesMissingArgumentsWithOneReport)
{
    const Trusted message(bytes("0001 0008 0001 0004 ef010101"));
    expect_null_arguments_refused(3, kPacketSource, [&](unsigned nulls) {
        QEL_ROUTE_BLOCK_S *result = block_marker();
        const std::uint32_t code = QEL_MDT_ParseRtNonKeyTlv(unless(nulls, 0, message.data()), message.size(),
                                                            unless(nulls, 1, &result), unless(nulls, 2, ctx_));
        EXPECT_EQ(result, block_marker());
        return code;
    });
    for (const std::uint32_t length : {0U, 3U}) { // the value goes ahead of the length
        expect_null_arguments_refused(1, kPacketSource, [&](unsigned) {
            QEL_ROUTE_BLOCK_S *result = nullptr;
            return QEL_MDT_ParseRtNonKeyTlv(nullptr, length, &result, ctx_);
        });
    }
}

TEST_F(MdtMessage, APrefixGoesOutWithoutALengthOctet)
{
    for (const std::size_t room : {16U, 17U, 40U}) {
        expect_written(write_message(QEL_MDT_FormatRtPrefixTlv, Held(whole_route()).info, room, ctx_), kPrefix);
    }
    const Held other({.rd = bytes("0200 03020100 feff"), .key = bytes("04030201 08070605")});
    expect_written(write_message(QEL_MDT_FormatRtPrefixTlv, other.info, 16, ctx_),
                   bytes("0002 00010203 fffe 01020304 05060708"));
    const Held unknown({.rd = bytes("0300 010203040506"), .key = bytes(kKeyMem)});
    expect_written(write_message(QEL_MDT_FormatRtPrefixTlv, unknown.info, 16, ctx_),
                   bytes("0003 010203040506 0a000001 ef010101"));
}

TEST_F(MdtMessage, APrefixNeedsKeyAndRdAndThenRoom)
{
    const Held held(whole_route());
    for (std::size_t room = 0; room < 16; ++room) {
        expect_not_written(write_message(QEL_MDT_FormatRtPrefixTlv, held.info, room, ctx_), kNoRoom);
    }
    for (const std::size_t room : {0U, 15U, 16U}) {
        expect_not_written(write_message(QEL_MDT_FormatRtPrefixTlv, Held({.rd = bytes(kRdMem)}).info, room, ctx_),
                           kAbsent);
        expect_not_written(write_message(QEL_MDT_FormatRtPrefixTlv, Held({.key = bytes(kKeyMem)}).info, room, ctx_),
                           kAbsent);
    }
}

TEST_F(MdtMessage, WritersRefuseMissingArgumentsWithOneReport)
{
    expect_writer_refuses(QEL_MDT_FormatRtPrefixTlv, kPacketSource, 3, whole_route(), ctx_);
    expect_writer_refuses(QEL_MDT_FormatRtNonKeyTlv, kPacketSource, 3, whole_route(), ctx_);
    expect_writer_refuses(QEL_MDT_FormatIrtTlv, kPacketSource, 2, {.cross = bytes("010203ef")}, ctx_);
    expect_writer_refuses(QEL_MDT_FormatRtExtCommunityTlv, kPacketSource, 2, {.list = host_list(kRt1)}, ctx_);
}

// --- import targets -------------------------------------------------------------------------------------------------

TEST_F(MdtMessage, AnImportTargetOfFourBytesIsAShareGroup)
{
    const Made got = read_message(QEL_MDT_ParseIrtTlv, bytes("ef010203"), ctx_);
    expect_made(got, {.cross = bytes("030201ef")}); // the host word 0xef010203
    EXPECT_EQ(got.allocations, 1U);
    const Held held({.cross = got.block.section(got.block->usCrossOffset, 4)});
    expect_written(write_message(QEL_MDT_FormatIrtTlv, held.info, 4, ctx_), bytes("ef010203"));
}

TEST_F(MdtMessage, AnImportTargetOfEightBytesIsARouteTarget)
{
    const std::pair<std::string_view, std::string_view> rows[] = {
        {"0002 fde9 00000064", "0200 e9fd 64000000"}, {"0102 c0000201 0007", "0201 010200c0 0700"},
        {"0202 00010203 0009", "0202 03020100 0900"}, {"010a 0a000001 0102", "0a01 0100000a 0201"},
        {"010b 0a000001 0102", "0b01 0100000a 0201"},
    };
    for (const auto &[wire, mem] : rows) {
        SCOPED_TRACE(wire);
        expect_made(read_message(QEL_MDT_ParseIrtTlv, bytes(wire), ctx_), {.cross = bytes(mem)});
        expect_written(write_message(QEL_MDT_FormatIrtTlv, Held({.cross = bytes(mem)}).info, 8, ctx_), bytes(wire));
        expect_written(write_message(QEL_MDT_FormatIrtTlv, Held({.cross = bytes(mem)}).info, 20, nullptr), bytes(wire));
    }
}

TEST_F(MdtMessage, OnlyTheTypesOfRouteTargetsPassAsImportTargets)
{
    for (const std::string_view type : {"0009", "0000", "0302", "000a", "000b", "0112", "4002", "ffff", "0200"}) {
        const Made got = read_message(QEL_MDT_ParseIrtTlv, bytes(type) + bytes("010203040506"), ctx_);
        expect_not_made(got, kBadValue);
        EXPECT_EQ(got.allocations, 0U);
    }
}

TEST_F(MdtMessage, AnImportTargetOfAnotherLengthIsReported)
{
    for (const std::size_t length : {0U, 1U, 3U, 5U, 7U, 9U, 12U, 16U, 0x10004U, 0x10008U, 0x104U}) {
        const Made got = read_message(QEL_MDT_ParseIrtTlv, Bytes(length, 0), ctx_);
        expect_not_made(got, kBadArgument, 1);
        EXPECT_EQ(got.allocations, 0U);
    }
}

TEST_F(MdtMessage, TheImportTargetsBlockFailsOnce)
{
    for (const Bytes &value : {bytes("ef010203"), bytes(kRt1)}) {
        expect_each_allocation_fails({kNoBlock}, [&] { return read_message(QEL_MDT_ParseIrtTlv, value, ctx_); });
    }
}

TEST_F(MdtMessage, NoCrossValueWritesNothingWhateverTheRoom)
{
    no_cross_value_writes_nothing_whatever_the_room();
}

TEST_F(MdtMessage, ACrossValueNeedsRoomAheadOfAKnownLength)
{
    for (const std::size_t length : {1U, 4U, 5U, 8U, 12U}) {
        const Held held({.cross = Bytes(length, 7)});
        for (std::size_t room = 0; room < length; ++room) {
            expect_not_written(write_message(QEL_MDT_FormatIrtTlv, held.info, room, ctx_), kNoRoom);
        }
    }
    for (const std::size_t length : {0U, 1U, 3U, 5U, 7U, 9U, 12U}) {
        const Held held({.cross = Bytes(length, 7)});
        expect_not_written(write_message(QEL_MDT_FormatIrtTlv, held.info, length, ctx_), kBadArgument, 1);
        expect_not_written(write_message(QEL_MDT_FormatIrtTlv, held.info, 40, ctx_), kBadArgument, 1);
    }
}

// Its value stays in host order, as the type alone is turned.
TEST_F(MdtMessage, ACrossValueOfAnotherTypeGoesOutWithItsTypeTurned)
{
    for (const std::string_view type : {"0900", "ffff", "1201"}) {
        const Bytes mem = bytes(type) + bytes("010203040506");
        expect_written(write_message(QEL_MDT_FormatIrtTlv, Held({.cross = mem}).info, 8, ctx_),
                       Bytes{mem[1], mem[0]} + slice(mem, 2, 6));
    }
}

// --- community lists ------------------------------------------------------------------------------------------------

TEST_F(MdtMessage, AListComesToHostOrderAsItStands)
{
    a_list_comes_to_host_order_as_it_stands();
}

TEST_F(MdtMessage, TheOddTailOfAListIsTakenOverUnswapped)
{
    the_odd_tail_of_a_list_is_taken_over_unswapped();
}

TEST_F(MdtMessage, LessThanOneElementIsRefused)
{
    less_than_one_element_is_refused();
}

TEST_F(MdtMessage, AListsLengthHas16BitsInTheBlock)
{
    a_lists_length_has_16_bits_in_the_block();
}

TEST_F(MdtMessage, EachAllocationOfAListFailsOnce)
{
    each_allocation_of_a_list_fails_once();
}

TEST_F(MdtMessage, AListGoesOutInWireOrder)
{
    a_list_goes_out_in_wire_order();
}

TEST_F(MdtMessage, TheListToWriteHasALengthOf16Bits)
{
    the_list_to_write_has_a_length_of_16_bits();
}

TEST_F(MdtMessage, ARouteWithoutAListWritesNothing)
{
    a_route_without_a_list_writes_nothing();
}

TEST_F(MdtMessage, WithoutAContextThereIsNoScratchForAList)
{
    const Held held({.list = host_list(kRt1)});
    const Written got = write_message(QEL_MDT_FormatRtExtCommunityTlv, held.info, 8, nullptr);
    expect_not_written(got, kOutOfMemory, got.asserts);
    EXPECT_GE(got.asserts, 1U);
    expect_not_written(write_message(QEL_MDT_FormatRtExtCommunityTlv, held.info, 7, nullptr), kNoRoom);
}

// kept: scratch memory of no octet is none, so that an empty list is answered like a failed allocation
TEST_F(MdtMessage, AnEmptyListIsAnsweredLikeAFailedAllocation)
{
    an_empty_list_is_answered_like_a_failed_allocation();
}

TEST_F(MdtMessage, TheScratchOfAListToWriteFailsOnce)
{
    the_scratch_of_a_list_to_write_fails_once();
}

// --- the non-key ----------------------------------------------------------------------------------------------------

TEST_F(MdtMessage, ANonKeyComesFromItsFlagsAndItsGroup)
{
    const std::pair<std::string_view, std::string_view> rows[] = {
        {"0001 0008 0001 0004 ef010101", "0100 0000 010101ef"},
        {"8003 0008 0001 0004 01020304", "0380 0000 04030201"},
        {"0000 0008 0001 0004 01020304", "0000 0000 04030201"},                    // whatever the flags say
        {"0001 0001 0001 0004 01020304", "0100 0000 04030201"},                    // the length is not 0 and no more
        {"0001 ffff 0001 0004 01020304", "0100 0000 04030201"},                    //
        {"0001 0008", "0100 0000 00000000"},                                       // no sub-TLV
        {"0001 0010 0001 0004 01020304 0001 0004 05060708", "0100 0000 08070605"}, // the last group
        {"0001 0010 0001 0004 01020304 0002 0004 05060708", "0100 0000 04030201"}, // type 2 ends the walk
        {"0001 0010 0002 0004 01020304 0001 0004 05060708", "0100 0000 00000000"}, //
        {"0001 0008 0101 0004 01020304", "0100 0000 00000000"},                    // so does 0x101
    };
    for (const auto &[wire, mem] : rows) {
        SCOPED_TRACE(wire);
        expect_made(read_message(QEL_MDT_ParseRtNonKeyTlv, bytes(wire), ctx_), {.nonkey = bytes(mem)});
    }
}

// kept: how far the walk goes is told by the value's length and not by the length of the sub-TLVs in it
TEST_F(MdtMessage, TheLengthOfTheSubTlvsIsLookedAtForZeroAlone)
{
    for (const std::string_view length : {"0001", "0008", "0010", "ffff"}) {
        expect_made(read_message(QEL_MDT_ParseRtNonKeyTlv,
                                 bytes("0001") + bytes(length) + bytes("0001 0004 01020304 0001 0004 05060708"), ctx_),
                    {.nonkey = bytes("0100 0000 08070605")});
    }
}

// kept: a sub-TLV takes 8 off the rest whatever its own length, by which the walk steps
TEST_F(MdtMessage, EachSubTlvTakesEightOffTheRestAndStepsByItsOwnLength)
{
    const std::pair<std::string_view, std::string_view> rows[] = {
        // a long one: the next stands behind it
        {"0001 0018 0001 000c 01020304 00000000 00000000 0001 0004 05060708", "0100 0000 08070605"},
        {"0001 0010 0001 000c 01020304 0001 0004 05060708", "0100 0000 04030201"},
        // one without octets: its group is read all the same, and the next header stands where the group was
        {"0001 0008 0001 0000 01020304", "0100 0000 04030201"},
        {"0001 0010 0001 0000 0001 0000 05060708 090a0b0c", "0100 0000 08070605"},
        // short ones use the rest up before the end: the third is not looked at
        {"0001 0010 0001 0000 0001 0000 0001 0000 05060708", "0100 0000 00000100"},
    };
    for (const auto &[wire, mem] : rows) {
        SCOPED_TRACE(wire);
        expect_made(read_message(QEL_MDT_ParseRtNonKeyTlv, bytes(wire), ctx_), {.nonkey = bytes(mem)});
    }
}

// kept: a rest that is no multiple of eight wraps around
TEST_F(MdtMessage, ARestThatIsNoMultipleOfEightWrapsIn16Bits)
{
    // 20, 12, 4 and then 0xfffc: the fourth sub-TLV is read as well, and its group is the last four octets
    expect_made(read_message(QEL_MDT_ParseRtNonKeyTlv,
                             bytes("0001 0014 0001 0000 0001 0000 0001 0000 0001 0000 05060708"), ctx_),
                {.nonkey = bytes("0100 0000 08070605")});
}

TEST_F(MdtMessage, TheRestHas16Bits)
{
    Bytes value = bytes("0001 0008 0001 0004 01020304");
    value.resize(0x10004);
    expect_made(read_message(QEL_MDT_ParseRtNonKeyTlv, value, ctx_), {.nonkey = bytes("0100 0000 00000000")});
    value.resize(0x1000c);
    expect_made(read_message(QEL_MDT_ParseRtNonKeyTlv, value, ctx_), {.nonkey = bytes("0100 0000 04030201")});
}

// The octets behind the value are no part of it, although they are readable.
TEST_F(MdtMessage, TheWalkStaysInsideTheValue)
{
    const Bytes value = bytes("0001 0010 0001 0004 01020304 0001 0004 05060708");
    for (std::size_t length = 4; length <= value.size(); ++length) {
        SCOPED_TRACE(length);
        const std::string_view group = length < 12 ? "00000000" : length < 20 ? "04030201" : "08070605";
        expect_made(read_message(QEL_MDT_ParseRtNonKeyTlv, slice(value, 0, length), ctx_),
                    {.nonkey = bytes("0100 0000") + bytes(group)});
    }
    for (const std::string_view last : {"0001 0005 05060708", "0001 0008 05060708", "0001 ffff 05060708",
                                        "0001 fffc 05060708", "0001 8000 05060708"}) {
        SCOPED_TRACE(last);
        expect_made(read_message(QEL_MDT_ParseRtNonKeyTlv, slice(value, 0, 12) + bytes(last), ctx_),
                    {.nonkey = bytes("0100 0000 04030201")});
    }
    for (const std::string_view last : {"0001 0000", "0001 0001 ff", "0001 0003 ffffff"}) { // no room for a group
        SCOPED_TRACE(last);
        expect_made(read_message(QEL_MDT_ParseRtNonKeyTlv, slice(value, 0, 12) + bytes(last), ctx_),
                    {.nonkey = bytes("0100 0000 04030201")});
    }
}

TEST_F(MdtMessage, TheWalkEndsForAnyValueOfSubTlvsWithoutOctets)
{
    Bytes value = bytes("0001 0008");
    value.resize(0xffff);
    for (std::size_t at = 5; at < value.size(); at += 4) { // 0001 0000 all the way
        value[at] = 1;
    }
    const Made got = read_message(QEL_MDT_ParseRtNonKeyTlv, value, ctx_);
    EXPECT_EQ(got.code, 0U);
    EXPECT_EQ(got.asserts, 0U);
}

TEST_F(MdtMessage, AShortNonKeyFailsWithoutAReport)
{
    for (std::size_t length = 0; length <= 3; ++length) {
        const Made got = read_message(QEL_MDT_ParseRtNonKeyTlv, slice(bytes("000100080001"), 0, length), ctx_);
        expect_not_made(got, kFailed);
        EXPECT_EQ(got.allocations, 0U);
    }
}

// kept: what is written for a route without a group cannot be read back
TEST_F(MdtMessage, ANonKeyWithoutAGroupIsWrittenButNotRead)
{
    const Held held({.nonkey = bytes("0000 0000 00000000")});
    const Written got = write_message(QEL_MDT_FormatRtNonKeyTlv, held.info, 4, ctx_);
    expect_written(got, bytes("0000 0000"));
    expect_not_made(read_message(QEL_MDT_ParseRtNonKeyTlv, got.buffer, ctx_), kFailed, 1);
    expect_not_made(read_message(QEL_MDT_ParseRtNonKeyTlv, bytes("0001 0000 0001 0004 01020304"), ctx_), kFailed, 1);
}

TEST_F(MdtMessage, TheNonKeysBlockFailsOnce)
{
    expect_each_allocation_fails({kNoBlock}, [&] {
        return read_message(QEL_MDT_ParseRtNonKeyTlv, bytes("0001 0008 0001 0004 ef010101"), ctx_);
    });
}

TEST_F(MdtMessage, ANonKeyGoesOutWithItsGroupAsSubTlv)
{
    const Bytes wire = bytes("0001 0008 0001 0004 ef010101");
    const Held held(whole_route());
    for (const std::size_t room : {12U, 13U, 40U}) {
        expect_written(write_message(QEL_MDT_FormatRtNonKeyTlv, held.info, room, ctx_), wire);
    }
    const Held flags({.nonkey = bytes("0380 0000 04030201")});
    expect_written(write_message(QEL_MDT_FormatRtNonKeyTlv, flags.info, 12, ctx_),
                   bytes("8003 0008 0001 0004 01020304"));
    expect_made(read_message(QEL_MDT_ParseRtNonKeyTlv, wire, ctx_), {.nonkey = bytes(kNonKeyMem)});
}

TEST_F(MdtMessage, ANonKeyWhoseGroupIsNotValidGoesOutWithoutIt)
{
    const std::pair<std::string_view, std::string_view> rows[] = {
        {"0000 0000 010101ef", "0000 0000"}, {"0280 0000 010101ef", "8002 0000"}, {"0001 0000 010101ef", "0100 0000"}};
    for (const auto &[mem, wire] : rows) {
        for (const std::size_t room : {4U, 5U, 12U}) {
            expect_written(write_message(QEL_MDT_FormatRtNonKeyTlv, Held({.nonkey = bytes(mem)}).info, room, ctx_),
                           bytes(wire));
        }
    }
}

TEST_F(MdtMessage, ANonKeyIsWrittenByItsPointerWhateverTheMask)
{
    Held held(whole_route());
    held.info.uiValidMask = 0;
    expect_written(write_message(QEL_MDT_FormatRtNonKeyTlv, held.info, 12, ctx_),
                   bytes("0001 0008 0001 0004 ef010101"));
}

// kept: the flags are left behind a cursor that does not move
TEST_F(MdtMessage, WithoutRoomForTheGroupTheFlagsAreLeftInTheBuffer)
{
    const Held held({.nonkey = bytes("0380 0000 04030201")});
    for (std::size_t room = 4; room <= 11; ++room) {
        const Written got = write_message(QEL_MDT_FormatRtNonKeyTlv, held.info, room, ctx_);
        EXPECT_EQ(got.code, kNoRoom);
        EXPECT_EQ(got.moved, 0);
        EXPECT_EQ(got.asserts, 0U);
        expect_buffer(got, bytes("8003"));
    }
}

TEST_F(MdtMessage, ANonKeyNeedsItsSectionAndThenRoom)
{
    for (std::size_t room = 0; room <= 3; ++room) {
        for (const std::string_view mem : {kNonKeyMem, std::string_view("0000 0000 00000000")}) {
            expect_not_written(write_message(QEL_MDT_FormatRtNonKeyTlv, Held({.nonkey = bytes(mem)}).info, room, ctx_),
                               kNoRoom);
        }
    }
    for (const std::size_t room : {0U, 3U, 12U}) {
        Held held({.key = bytes(kKeyMem)});
        held.info.uiValidMask = 0x4;
        expect_not_written(write_message(QEL_MDT_FormatRtNonKeyTlv, held.info, room, ctx_), kAbsent);
    }
}

// --- added lists ----------------------------------------------------------------------------------------------------

Made add(const QEL_ROUTE_INFO_S &route, const Bytes &data, QEL_FAMILY_CTX_S *ctx)
{
    const Trusted message(data);
    return make(
        [&](auto result) { return QEL_MDT_ParseAddAttrTlv(&route, message.data(), message.size(), result, ctx); });
}

// kept: the data is taken as it stands, in wire order, with its repeats and in its place
TEST_F(MdtMessage, DataIsAddedBehindTheListAsItStands)
{
    const Bytes list = host_list(kSourceAs + kRt1);
    for (const Bytes &data : {bytes(kRt1), bytes(kRt4 + kRt1), host_list(kRt1), bytes("01"), bytes("0102030405")}) {
        expect_made(add(Held({.list = list}).info, data, ctx_), {.list = list + data});
        expect_made(add(Held({.list = slice(list, 0, 3)}).info, data, ctx_), {.list = slice(list, 0, 3) + data});
    }
}

TEST_F(MdtMessage, DataIsTheListOfARouteThatHasNone)
{
    Held held({});
    held.info.uiExtCommLen = 8; // says nothing without a list
    for (const Bytes &data : {bytes(kRt1), bytes(kRt4 + kRt1), bytes("0102030405")}) {
        expect_made(add(held.info, data, ctx_), {.list = data});
    }
}

TEST_F(MdtMessage, NothingAddedLeavesTheList)
{
    const Bytes list = host_list(kSourceAs + kRt1);
    const Made got = add(Held({.list = list}).info, {}, ctx_);
    EXPECT_EQ(got.code, 0U);
    expect_block(got.block, {.list = list});
}

TEST_F(MdtMessage, NothingAddedToNothingMakesNoBlock)
{
    const Made got = add(Held({}).info, {}, ctx_);
    EXPECT_EQ(got.code, kNull);
    EXPECT_FALSE(got.stored);
}

TEST_F(MdtMessage, ASumBeyond16BitsIsCutAndReported)
{
    // 0x10004 is 4: neither the list nor the data fits
    dirty_the_heap(4);
    Made got = add(Held({.list = Bytes(0xfffc, 1)}).info, Bytes(8, 2), ctx_);
    EXPECT_EQ(got.code, 0U);
    EXPECT_GE(got.asserts, 1U);
    expect_block(got.block, {.list = Bytes(4, 0)});
    // 0x10008 is 8: the list fits, the data does not
    got = add(Held({.list = Bytes(8, 1)}).info, Bytes(0x10000, 2), ctx_);
    EXPECT_EQ(got.code, 0U);
    EXPECT_EQ(got.asserts, 1U);
    expect_block(got.block, {.list = Bytes(8, 1)});
}

TEST_F(MdtMessage, EachAllocationOfAnAddedListFailsOnce)
{
    for (const bool lent : {false, true}) { // the inline buffer has no part in it
        const auto keep = lend_if(lent, ctx_);
        const Held held({.list = host_list(kRt1)});
        expect_each_allocation_fails({kOutOfMemory, kNoBlock}, [&] { return add(held.info, bytes(kRt2), ctx_); });
    }
}

TEST_F(MdtMessage, AddingRefusesMissingArgumentsWithOneReport)
{
    const Trusted data(bytes(kRt1));
    const Held held({.list = host_list(kRt1)});
    for (const std::uint32_t length : {0U, 8U}) {
        expect_null_arguments_refused(3, kPacketSource, [&](unsigned nulls) {
            QEL_ROUTE_BLOCK_S *result = block_marker();
            const std::uint32_t code = QEL_MDT_ParseAddAttrTlv(unless(nulls, 0, &held.info), data.data(), length,
                                                               unless(nulls, 1, &result), unless(nulls, 2, ctx_));
            EXPECT_EQ(result, block_marker());
            return code;
        });
    }
}

TEST_F(MdtMessage, AddingThroughTheOperationRefusesAMissingRouteToo)
{
    const Trusted data(bytes(kRt1));
    expect_null_arguments_refused(1, kPacketSource, [&](unsigned) {
        QEL_ROUTE_BLOCK_S *result = block_marker();
        return desc_.pfParseAddAttrMsg(nullptr, data.data(), 8, 11, &result, ctx_);
    });
}

} // namespace
} // namespace qel::test
