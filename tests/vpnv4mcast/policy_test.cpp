// Routing policy of the VPNv4 multicast family: the advertised list, the prefix entry, the match buffer, the actions.
#include "vpnv4mcast_cases.h"

#include "action_contract.h"
#include "dirty_heap.h"
#include "loss_on_purpose.h"

#include <random>

namespace qel::test {
namespace {

const std::string kLocal = " 4003 00640000 0001 "; // non-transitive

using Vpnv4McastPolicy = Vpnv4McastTest;

// --- the advertised list --------------------------------------------------------------------------------------------

Made set_list(const QEL_ROUTE_INFO_S &route, std::uint32_t flags, QEL_FAMILY_CTX_S *ctx)
{
    const UnchangedRoute unchanged(route);
    return make([&](auto result) { return QEL_VPNV4MCAST_SetExtCommunity(&route, flags, result, ctx); });
}

TEST_F(Vpnv4McastPolicy, TheAdvertisedListIsTheRoutesInHostOrder)
{
    const Held held({.list = host_list(kSourceAs + kLocal + kRt1 + kRt1) + bytes("010203")});
    for (const std::uint32_t flags : {0U, 2U, 0xfffffffeU}) {
        expect_made(set_list(held.info, flags, ctx_), {.list = host_list(kSourceAs + kLocal + kRt1 + kRt1)});
    }
}

TEST_F(Vpnv4McastPolicy, TheControlFlagsFirstBitDropsNonTransitiveElements)
{
    const Held held({.list = host_list(kLocal + kSourceAs + kLocal + kRt1 + " 4002 fde90000 0064 ")});
    for (const std::uint32_t flags : {1U, 3U, 0xffffffffU}) {
        expect_made(set_list(held.info, flags, ctx_), {.list = host_list(kSourceAs + kRt1)});
    }
    for (unsigned type = 0; type <= 0xff; ++type) { // the bit 0x40 of the type, whatever the sub-type
        const Bytes element = Bytes{0x42, static_cast<std::uint8_t>(type)} + Bytes(6, 0x40);
        const Bytes list = host_list(kRt1) + element;
        expect_made(set_list(Held({.list = list}).info, 1, ctx_),
                    {.list = (type & 0x40U) != 0 ? host_list(kRt1) : list});
    }
}

TEST_F(Vpnv4McastPolicy, AListOfNonTransitiveElementsAloneMakesNoBlock)
{
    expect_not_made(set_list(Held({.list = host_list(kLocal)}).info, 1, ctx_), kBadArgument);
    expect_not_made(set_list(Held({.list = host_list(kLocal + kLocal)}).info, 1, ctx_), kBadArgument);
    expect_not_made(set_list(Held({.list = Bytes(7, 2)}).info, 0, ctx_), kBadArgument);
    expect_made(set_list(Held({.list = host_list(kLocal)}).info, 0, ctx_), {.list = host_list(kLocal)});
}

TEST_F(Vpnv4McastPolicy, ARouteWithoutAListStoresNull)
{
    Held held({});
    held.info.uiExtCommLen = 8;
    const Made got = set_list(held.info, 1, ctx_);
    expect_null_result(got);
    EXPECT_EQ(got.allocations, 0U);
}

TEST_F(Vpnv4McastPolicy, TheAdvertisedListHasALengthOf16Bits)
{
    Held held({.list = host_list(kRt1)});
    held.info.uiExtCommLen = 0x10008;
    expect_made(set_list(held.info, 0, ctx_), {.list = host_list(kRt1)});
    // of 0x2001 elements one is looked at, whatever becomes of the others
    const Bytes many = host_list(kRt1 + kLocal) + Bytes(0xfff8, 9);
    expect_made(set_list(Held({.list = many}).info, 1, ctx_), {.list = host_list(kRt1)});
}

TEST_F(Vpnv4McastPolicy, EachAllocationOfTheAdvertisedListFailsOnce)
{
    const Held held({.list = host_list(kRt1)});
    for (const bool lent : {false, true}) { // the inline buffer has no part in it
        const auto keep = lend_if(lent, ctx_);
        expect_each_allocation_fails({kOutOfMemory, kNoBlock}, [&] { return set_list(held.info, 0, ctx_); });
    }
}

TEST_F(Vpnv4McastPolicy, TheAdvertisedListRefusesMissingArgumentsWithOneReport)
{
    for (const Sections &sections : {Sections{.list = host_list(kRt1)}, Sections{}}) {
        const Held held(sections);
        QEL_ROUTE_BLOCK_S *result = block_marker();
        expect_null_arguments_refused(3, kFrameSource, [&](unsigned nulls) {
            return QEL_VPNV4MCAST_SetExtCommunity(unless(nulls, 0, &held.info), 0, unless(nulls, 1, &result),
                                                  unless(nulls, 2, ctx_));
        });
        expect_null_arguments_refused(3, kFrameSource, [&](unsigned nulls) {
            return desc_.pfSetAttr(unless(nulls, 0, &held.info), 16, 0, unless(nulls, 1, &result),
                                   unless(nulls, 2, ctx_));
        });
        EXPECT_EQ(result, block_marker());
    }
}

TEST_F(Vpnv4McastPolicy, TheOperationSetsAttribute16Alone)
{
    const Held held({.list = host_list(kLocal + kRt1)});
    const auto set = [&](std::uint32_t type, std::uint32_t flags) {
        return make([&](auto result) { return desc_.pfSetAttr(&held.info, type, flags, result, ctx_); });
    };
    expect_made(set(16, 0), {.list = host_list(kLocal + kRt1)});
    expect_made(set(16, 1), {.list = host_list(kRt1)});
    for (const std::uint32_t type : {0U, 3U, 8U, 14U, 22U, 0x110U, 0x10010U}) {
        expect_not_made(set(type, 0), kNoEntry);
    }
}

// --- the prefix entry -----------------------------------------------------------------------------------------------

// An entry of which nothing was written: three fields are, and of the address the first word.
TEST_F(Vpnv4McastPolicy, ThePrefixEntryHoldsThePrefixAndItsLength)
{
    for (const std::uint32_t length : {0U, 16U, 32U, 0xffffffffU}) {
        QEL_RTP_ENTRY_S entry;
        std::memset(&entry, 0xa5, sizeof(entry));
        QEL_RTP_ENTRY_S want = entry;
        want.uiRtpAddrType = 0;
        want.stRtpAddr.uiIpv4 = 0x0a010203;
        want.uiRtpPrefixLen = length;
        const Held held({.key = key_of(0x0a010203, length)});
        const platform::Recorder recorder;
        EXPECT_EQ(desc_.pfConstructRtpEntry(&held.info, &entry), 0U);
        EXPECT_EQ(std::memcmp(&entry, &want, sizeof(entry)), 0);
        EXPECT_TRUE(recorder.asserts().empty());
    }
}

TEST_F(Vpnv4McastPolicy, ThePrefixEntryRefusesMissingArgumentsWithOneReport)
{
    const Held held({.key = bytes(kKeyMem)});
    const Held keyless({.rd = bytes(kRdMem)});
    QEL_RTP_ENTRY_S entry;
    std::memset(&entry, 0xa5, sizeof(entry));
    const QEL_RTP_ENTRY_S before = entry;
    expect_null_arguments_refused(2, kFrameSource, [&](unsigned nulls) { // the key, the entry
        return QEL_VPNV4MCAST_ConstructRtpEntry((nulls & 1U) != 0 ? &keyless.info : &held.info,
                                                unless(nulls, 1, &entry));
    });
    expect_null_arguments_refused(2, kFrameSource, [&](unsigned nulls) { // the route, the entry
        return QEL_VPNV4MCAST_ConstructRtpEntry(unless(nulls, 0, &held.info), unless(nulls, 1, &entry));
    });
    EXPECT_EQ(std::memcmp(&entry, &before, sizeof(entry)), 0);
}

// --- the match buffer -----------------------------------------------------------------------------------------------

std::uint8_t *buffer_marker()
{
    static std::uint8_t marker = 0;
    return &marker;
}

struct Matched {
    std::uint32_t code = 0;
    bool stored = false; // one of the outputs was written
    bool held = false;   // the pointer holds memory
    Bytes buffer;
    std::uint32_t length = kUnwritten;
    std::size_t asserts = 0;
};

Matched match(const QEL_ROUTE_INFO_S &route, std::uint32_t mask, QEL_FAMILY_CTX_S *ctx)
{
    const UnchangedRoute unchanged(route);
    std::uint8_t *buffer = buffer_marker();
    Matched got;
    const platform::Recorder recorder;
    got.code = QEL_VPNV4MCAST_ConstructMatch(&route, mask, &buffer, &got.length, ctx);
    got.stored = buffer != buffer_marker() || got.length != kUnwritten;
    got.held = buffer != buffer_marker() && buffer != nullptr;
    if (got.held) {
        got.buffer.assign(buffer, buffer + got.length);
        ZVK_Free_F(buffer, __FILE__, __LINE__);
    }
    got.asserts = recorder.asserts().size();
    EXPECT_TRUE(recorder.debugs().empty());
    return got;
}

void expect_match(const Matched &got, const Bytes &want)
{
    EXPECT_EQ(got.code, 0U);
    EXPECT_TRUE(got.held);
    EXPECT_EQ(hex(got.buffer), hex(want));
    EXPECT_EQ(got.asserts, 0U);
}

void expect_nothing_asked(const Matched &got)
{
    EXPECT_EQ(got.code, 0U);
    EXPECT_FALSE(got.stored);
    EXPECT_EQ(got.asserts, 0U);
}

void expect_match_failed(const Matched &got, std::size_t asserts)
{
    EXPECT_EQ(got.code, kFailed);
    EXPECT_TRUE(got.stored);
    EXPECT_FALSE(got.held);
    EXPECT_EQ(got.length, 0U);
    EXPECT_EQ(got.asserts, asserts);
}

Sections route_with(const std::string &list)
{
    Sections sections = bare_route();
    sections.list = host_list(list);
    return sections;
}

const Bytes kMatchRd = bytes("000d 0008") + bytes(kRdMem);

TEST_F(Vpnv4McastPolicy, TheMatchBufferHoldsTheRdAsItLiesAndTheListInWireOrder)
{
    const Held held(route_with(kSourceAs + kRt4 + kRt1));
    const Bytes list = bytes("000b 0018" + kSourceAs + kRt4 + kRt1);
    expect_match(match(held.info, 0x800, ctx_), kMatchRd);
    expect_match(match(held.info, 0x4, ctx_), list);
    expect_match(match(held.info, 0x804, ctx_), kMatchRd + list);
    expect_match(match(held.info, 0xfffffffb, ctx_), kMatchRd);
    expect_match(match(held.info, 0xffffffff, ctx_), kMatchRd + list);
}

// kept: the masks of the descriptor hold a bit that has no row; it brings nothing
TEST_F(Vpnv4McastPolicy, TheBitThatHasNoRowBringsNothing)
{
    const Held held(route_with(kRt1));
    const Bytes list = bytes("000b 0008" + kRt1);
    expect_match(match(held.info, 0x814, ctx_), kMatchRd + list);
    expect_match(match(held.info, 0x14, ctx_), list);
    expect_match(match(held.info, 0x810, ctx_), kMatchRd);
    for (const std::uint32_t mask : {0x10U, 0x80000U, 0x100U, 0x300100U, 0x80000000U}) {
        expect_nothing_asked(match(held.info, mask, ctx_));
    }
    EXPECT_EQ(desc_.auiMatchTypeMask[0], 0x814U);
    EXPECT_EQ(desc_.auiMatchTypeMask[1], 0x814U);
    EXPECT_EQ(desc_.auiMatchTypeMask[2], 0x14U);
}

// kept: a list that is asked for and missing empties the whole match, the RD with it
TEST_F(Vpnv4McastPolicy, AMissingListEmptiesTheWholeMatch)
{
    Held held(bare_route());
    held.info.uiExtCommLen = 8;
    for (const std::uint32_t mask : {0x4U, 0x804U, 0x814U, 0x14U}) {
        expect_nothing_asked(match(held.info, mask, ctx_));
        std::uint32_t length = kUnwritten;
        EXPECT_EQ(QEL_VPNV4MCAST_CalcRtpMatchTlvLen(&held.info, mask, &length), 0U);
        EXPECT_EQ(length, kUnwritten);
    }
    expect_match(match(held.info, 0x800, ctx_), kMatchRd);
}

TEST_F(Vpnv4McastPolicy, TheMatchLengthIsTheSumOfItsTlvs)
{
    Held held(route_with(kRt1 + kRt2));
    const std::tuple<std::uint32_t, std::uint32_t, std::uint32_t> rows[] = {
        {0x800, 16, 12},    {0x4, 16, 20},          {0x804, 16, 32},         {0x814, 16, 32}, {0x14, 16, 20},
        {0, 16, 0},         {0x80000, 16, 0},       {0x10, 16, 0},           {0x4, 0, 4},     {0x804, 11, 27},
        {0x4, 0x10008, 12}, {0x4, 0xffff, 0x10003}, {0x804, 0xfff8, 0x10008}};
    for (const auto &[mask, list, want] : rows) {
        held.info.uiExtCommLen = list;
        std::uint32_t length = kUnwritten;
        EXPECT_EQ(QEL_VPNV4MCAST_CalcRtpMatchTlvLen(&held.info, mask, &length), 0U);
        EXPECT_EQ(length, want) << mask;
    }
    // no key is asked for
    const Held keyless({.rd = bytes(kRdMem)});
    std::uint32_t length = kUnwritten;
    EXPECT_EQ(QEL_VPNV4MCAST_CalcRtpMatchTlvLen(&keyless.info, 0x800, &length), 0U);
    EXPECT_EQ(length, 12U);
    expect_match(match(keyless.info, 0x800, ctx_), kMatchRd);
}

TEST_F(Vpnv4McastPolicy, TheMatchLengthRefusesMissingArgumentsWithOneReport)
{
    const Held held(route_with(kRt1));
    std::uint32_t length = kUnwritten;
    for (const std::uint32_t mask : {0U, 0x804U}) {
        expect_null_arguments_refused(2, kFrameSource, [&](unsigned nulls) {
            return QEL_VPNV4MCAST_CalcRtpMatchTlvLen(unless(nulls, 0, &held.info), mask, unless(nulls, 1, &length));
        });
    }
    EXPECT_EQ(length, kUnwritten);
}

TEST_F(Vpnv4McastPolicy, ListsOfEveryLengthMatchInFull)
{
    Sections sections = bare_route();
    sections.list = host_list(kRt4) + bytes("0a0b0c");
    expect_match(match(Held(sections).info, 0x804, ctx_), kMatchRd + bytes("000b 000b" + kRt4 + "0a0b0c"));
    Held cut(route_with(kRt1));
    cut.info.uiExtCommLen = 0x10008;
    expect_match(match(cut.info, 0x4, ctx_), bytes("000b 0008" + kRt1));
}

// A list that is there and has no octets: its copies fail, are reported, and the header stands alone.
TEST_F(Vpnv4McastPolicy, AnEmptyListMatchesByItsHeaderAlone)
{
    const Matched got = match(Held(route_with("")).info, 0x804, ctx_);
    EXPECT_EQ(got.code, 0U);
    EXPECT_EQ(hex(got.buffer), hex(kMatchRd + bytes("000b 0000")));
    const Made none = set_list(Held(route_with("")).info, 0, ctx_);
    EXPECT_EQ(none.code, kBadArgument);
    EXPECT_FALSE(none.stored);
}

TEST_F(Vpnv4McastPolicy, AMissingRdFreesTheBufferAndFails)
{
    const LeakCheck leaks;
    Sections sections = route_with(kRt1);
    sections.rd.reset();
    const Held held(sections);
    expect_match_failed(match(held.info, 0x800, ctx_), 0);
    expect_match_failed(match(held.info, 0x804, ctx_), 0);
    expect_match(match(held.info, 0x4, ctx_), bytes("000b 0008" + kRt1));
}

TEST_F(Vpnv4McastPolicy, EachAllocationOfTheMatchFailsOnce)
{
    const Held held(route_with(kRt1));
    for (const bool lent : {false, true}) { // the inline buffer has no part in it
        const auto keep = lend_if(lent, ctx_);
        const LeakCheck leaks;
        {
            const platform::FailAllocation failure(0);
            const Matched got = match(held.info, 0x804, ctx_);
            EXPECT_EQ(got.code, kOutOfMemory);
            EXPECT_FALSE(got.stored);
            EXPECT_EQ(got.asserts, 1U);
        }
        {
            const platform::FailAllocation failure(1); // the copy of the list
            expect_match_failed(match(held.info, 0x804, ctx_), 1);
        }
        const platform::FailAllocation failure(2);
        expect_match(match(held.info, 0x804, ctx_), kMatchRd + bytes("000b 0008" + kRt1));
        EXPECT_FALSE(failure.fired());
    }
}

TEST_F(Vpnv4McastPolicy, TheMatchRefusesMissingArgumentsWithOneReport)
{
    const Held held(route_with(kRt1));
    std::uint8_t *buffer = buffer_marker();
    std::uint32_t length = kUnwritten;
    expect_null_arguments_refused(5, kFrameSource, [&](unsigned nulls) {
        return desc_.pfConstructMatch(unless(nulls, 0, &held.info), (nulls & 16U) != 0 ? 0 : 0x804,
                                      unless(nulls, 1, &buffer), unless(nulls, 2, &length), unless(nulls, 3, ctx_));
    });
    EXPECT_EQ(buffer, buffer_marker());
    EXPECT_EQ(length, kUnwritten);
}

using MatchHandler = decltype(&QEL_VPNV4MCAST_ConstructMatchRd);

struct Handled : Written {
    std::uint32_t left = 0;
};

Handled handle(MatchHandler handler, const QEL_ROUTE_INFO_S &route, std::uint32_t room, QEL_FAMILY_CTX_S *ctx)
{
    std::uint32_t left = room;
    Handled got{write_into(room, [&](auto cursor) { return handler(&route, cursor, &left, ctx); }), 0};
    got.left = left;
    return got;
}

TEST_F(Vpnv4McastPolicy, TheRdRowNeedsItsRdAndThenTwelveOctets)
{
    const Held held(bare_route());
    for (const std::uint32_t room : {12U, 13U, 40U}) {
        const Handled got = handle(QEL_VPNV4MCAST_ConstructMatchRd, held.info, room, ctx_);
        expect_written(got, kMatchRd);
        EXPECT_EQ(got.left, room - 12);
    }
    for (std::uint32_t room = 0; room < 12; ++room) {
        const Handled got = handle(QEL_VPNV4MCAST_ConstructMatchRd, held.info, room, ctx_);
        expect_not_written(got, kNoRoom);
        EXPECT_EQ(got.left, room);
        expect_not_written(handle(QEL_VPNV4MCAST_ConstructMatchRd, Held({.key = bytes(kKeyMem)}).info, room, ctx_),
                           kAbsent);
    }
}

TEST_F(Vpnv4McastPolicy, TheListRowNeedsRoomForHeaderAndList)
{
    const Held held(route_with(kRt4 + kRt1));
    const Bytes want = bytes("000b 0010" + kRt4 + kRt1);
    for (const std::uint32_t room : {20U, 21U, 40U}) {
        const Handled got = handle(QEL_VPNV4MCAST_ConstructMatchExtCommunity, held.info, room, ctx_);
        expect_written(got, want);
        EXPECT_EQ(got.left, room - 20);
    }
    for (std::uint32_t room = 0; room < 20; ++room) {
        const Handled got = handle(QEL_VPNV4MCAST_ConstructMatchExtCommunity, held.info, room, ctx_);
        expect_not_written(got, kNoRoom);
        EXPECT_EQ(got.left, room);
    }
    const Handled none = handle(QEL_VPNV4MCAST_ConstructMatchExtCommunity, Held(bare_route()).info, 3, ctx_);
    expect_written(none, {});
    EXPECT_EQ(none.left, 3U);
}

TEST_F(Vpnv4McastPolicy, TheListRowsCopyFailsOnce)
{
    const Held held(route_with(kRt4));
    const LeakCheck leaks;
    const platform::FailAllocation failure(0);
    const Handled got = handle(QEL_VPNV4MCAST_ConstructMatchExtCommunity, held.info, 12, ctx_);
    EXPECT_EQ(got.code, kOutOfMemory);
    EXPECT_EQ(got.asserts, 1U);
    EXPECT_TRUE(failure.fired());
}

TEST_F(Vpnv4McastPolicy, TheRowsRefuseMissingArgumentsWithOneReport)
{
    for (const MatchHandler handler : {QEL_VPNV4MCAST_ConstructMatchRd, QEL_VPNV4MCAST_ConstructMatchExtCommunity}) {
        for (const Sections &sections : {route_with(kRt1), Sections{}}) {
            const Held held(sections);
            expect_null_arguments_refused(4, kFrameSource, [&](unsigned nulls) {
                std::array<std::uint8_t, 20> out{};
                std::uint8_t *cursor = out.data();
                std::uint32_t left = 20;
                const std::uint32_t code = handler(unless(nulls, 0, &held.info), unless(nulls, 1, &cursor),
                                                   unless(nulls, 2, &left), unless(nulls, 3, ctx_));
                EXPECT_EQ(cursor, out.data());
                EXPECT_EQ(left, 20U);
                EXPECT_EQ(out, (std::array<std::uint8_t, 20>{}));
                return code;
            });
        }
    }
}

// --- actions --------------------------------------------------------------------------------------------------------

// The route's list as it stands on the wire; "-" is no list.
Sections listed(std::string_view wire)
{
    return wire == "-" ? Sections{} : Sections{.list = host_list(wire)};
}

Made apply_to(const Sections &sections, std::uint32_t action, const Bytes &value, QEL_FAMILY_CTX_S *ctx)
{
    return test::apply(QEL_VPNV4MCAST_ApplyExtCommunity, action, sections.list, value, ctx);
}

Made apply(std::uint32_t action, std::string_view list, std::string_view value, QEL_FAMILY_CTX_S *ctx)
{
    return apply_to(listed(list), action, bytes(value), ctx);
}

TEST_F(Vpnv4McastPolicy, ReplaceTakesTheNewRouteTargetsForTheOldOnes)
{
    expect_list(apply(kReplace, kRt1, kRt4 + kRt2, ctx_), kRt2 + kRt4);
    expect_list(apply(kReplace, kRt1 + kSourceAs + kRt4 + kSegmented, kRt2, ctx_), kRt2 + kSourceAs + kSegmented);
    expect_list(apply(kReplace, kRt1, kSourceAs + kSegmented, ctx_), kSourceAs + kSegmented);
    expect_list(apply(kReplace, kSourceAs, kSourceAs + kRt1, ctx_), kRt1 + kSourceAs);
    for (const std::string_view none : {"-", "", "020202"}) {
        expect_list(apply(kReplace, none, kRt4 + kRt1, ctx_), kRt1 + kRt4);
    }
}

TEST_F(Vpnv4McastPolicy, ReplaceByNothingLeavesWhatIsNoRouteTarget)
{
    expect_list(apply(kReplace, kRt1 + kImport + kSourceAs, "", ctx_), kSourceAs + kImport);
}

// kept: where the replace leaves nothing this family has no block without a value but a failed allocation
TEST_F(Vpnv4McastPolicy, ReplaceOfRouteTargetsAloneByNothingIsAnsweredLikeAFailedAllocation)
{
    for (const std::string &list : {kRt1, kRt1 + kRt4 + kRtAs4, std::string(), std::string("-"), std::string("0202")}) {
        expect_not_made(apply(kReplace, list, "", ctx_), kOutOfMemory, 1);
        EXPECT_EQ(ctx_->uiInlineBufUsed, 0U);
    }
}

TEST_F(Vpnv4McastPolicy, AddKeepsTheWholeListOfTheRouteAndTakesRepeatsOnce)
{
    expect_add_keeps_the_whole_list(QEL_VPNV4MCAST_ApplyExtCommunity, {"-", "", "020202"}, ctx_);
}

// kept: the empty second copy is reported and no more
TEST_F(Vpnv4McastPolicy, AddOfNothingGivesTheRoutesListCleanedUpAfterOneReport)
{
    expect_add_of_nothing_cleans_the_list_up(QEL_VPNV4MCAST_ApplyExtCommunity, ctx_);
}

// kept: scratch memory of no octet is none
TEST_F(Vpnv4McastPolicy, AddOfNothingToNothingIsAnsweredLikeAFailedAllocation)
{
    expect_add_of_nothing_to_nothing_is_like_no_memory(QEL_VPNV4MCAST_ApplyExtCommunity, {"-", "", "020202"}, ctx_);
}

// No octet of it is read: together with the route's list it would have no length of 32 bits.
TEST_F(Vpnv4McastPolicy, AValueOfNearlyFourGigabytesIsLikeNoMemory)
{
    expect_value_of_nearly_four_gigabytes_is_like_no_memory(QEL_VPNV4MCAST_ApplyExtCommunity, {kReplace, kAdd, kDelete},
                                                            ctx_);
}

TEST_F(Vpnv4McastPolicy, ActionsThatAreOnlyAcceptedStoreNull)
{
    for (const std::uint32_t action : {36U, 37U}) {
        for (const std::string &value : {kRt1, kSourceAs + kRt4, std::string(), std::string("0102")}) {
            for (const std::string &list : {kRt1 + kSourceAs, std::string("-")}) {
                const Made got = apply(action, list, value, ctx_);
                expect_null_result(got);
                EXPECT_EQ(got.allocations, 0U);
                EXPECT_EQ(ctx_->uiInlineBufUsed, 0U);
            }
        }
    }
}

TEST_F(Vpnv4McastPolicy, ACodeThatTheHandlerDoesNotKnowStoresNull)
{
    for (const std::uint32_t action : {0U, 5U, 8U, 35U, 39U, 61U, 86U, 88U, 0x106U, 0x10007U, 0xffffffffU}) {
        expect_null_result(apply(action, kRt1 + kSourceAs, kRt2, ctx_));
    }
}

TEST_F(Vpnv4McastPolicy, DeleteThatLeavesNothingGivesTheNoValueBlockAndItsScratchBack)
{
    for (const std::string &value : {std::string(), kRt1, kSourceAs}) {
        for (const std::string &list :
             {kRt1, kRt1 + kRt4 + kRtAs4, std::string(), std::string("-"), std::string("09")}) {
            expect_no_value(apply(kDelete, list, value, ctx_));
            EXPECT_EQ(ctx_->uiInlineBufUsed, 0U);
            const LentBuffer lent(ctx_);
            const LeakCheck leaks;
            expect_no_value(apply(kDelete, list, value, ctx_));
        }
    }
}

TEST_F(Vpnv4McastPolicy, AValueOfNoWholeElementStandsAloneAsOneAndElseCountsForNothing)
{
    for (const std::uint32_t action : {kAdd, kAddOther, kReplace}) {
        for (std::size_t length = 1; length <= 7; ++length) {
            const Bytes value = slice(bytes("0102030405060708"), 0, length);
            expect_made(apply_to({}, action, value, ctx_), {.list = value + Bytes(8 - length)});
            expect_list(apply_to(listed(kSourceAs), action, value, ctx_), kSourceAs);
            expect_list(apply_to(listed(kSourceAs), action, bytes(kRt2) + value, ctx_), kRt2 + kSourceAs);
            expect_list(apply_to({}, action, bytes(kRt2) + value, ctx_), kRt2);
            const LentBuffer lent(ctx_); // and the scratch of the heap, which is not clear
            dirty_the_heap(8);
            expect_made(apply_to({}, action, value, ctx_), {.list = value + Bytes(8 - length)});
        }
    }
    expect_made(apply_to(listed(kRt1), kReplace, bytes("0909"), ctx_), {.list = bytes("0909000000000000")});
}

TEST_F(Vpnv4McastPolicy, TheOddTailOfTheRoutesListIsNoElement)
{
    const Sections odd{.list = host_list(kSourceAs) + Bytes(7, 9)};
    expect_list(apply_to(odd, kAdd, bytes(kRt1), ctx_), kRt1 + kSourceAs);
    expect_list(apply_to(odd, kReplace, bytes(kRt1), ctx_), kRt1 + kSourceAs);
}

TEST_F(Vpnv4McastPolicy, ListsBeyondTheInlineBufferAreEditedAsOthers)
{
    std::string list;
    std::string targets;
    for (int i = 0; i < 40; ++i) {
        const std::string number = hex(Bytes{static_cast<std::uint8_t>(i)});
        list += " 0009 fde9 000000" + number;
        targets += " 0002 fde9 000000" + number;
    }
    expect_list(apply(kAdd, list, targets, ctx_), targets + list);
    expect_list(apply(kReplace, list + kRt4, targets, ctx_), targets + list);
    expect_list(apply(kAdd, "-", targets, ctx_), targets);
}

// Counts of elements and octets of the route's list have 16 bits, and nothing leaves its buffer for it.
TEST_F(Vpnv4McastPolicy, CountsBeyond16BitsAreCut)
{
    const Bytes far = Bytes(0x80000, 9); // 0x10000 elements are none
    for (const std::uint32_t action : {kAdd, kReplace}) {
        expect_list(apply_to({}, action, bytes(kRt1) + far, ctx_), kRt1);
        expect_list(apply_to({.list = host_list(kSourceAs) + far}, action, bytes(kRt1), ctx_), kRt1 + kSourceAs);
        expect_list(apply_to({.list = host_list(kSourceAs) + far}, action, bytes(kRt1) + far, ctx_), kRt1 + kSourceAs);
        expect_list(apply_to({.list = far}, action, bytes(kRt1), ctx_), kRt1);
    }
    const Made none = apply_to({.list = far}, kDelete, bytes(kRt1), ctx_);
    expect_no_value(none);
    EXPECT_EQ(none.allocations, 1U) << "no scratch for a list of no elements";
    // the count has 16 bits and the length has not: 0x10000 octets are 0x2000 elements
    expect_no_value(apply_to({.list = Bytes(0x10000, 2)}, kDelete, bytes(kRt1), ctx_));
    expect_list(apply_to({.list = Bytes(0x10000, 2) + host_list(kSourceAs)}, kReplace, bytes(kRt1), ctx_),
                kRt1 + kSourceAs);
}

TEST_F(Vpnv4McastPolicy, TheOperationKnowsSixActions)
{
    const Held held(listed(kRt1 + kSourceAs));
    const Trusted value(bytes(kRt2));
    const auto through = [&](std::uint32_t action) {
        return make([&](auto result) {
            return desc_.pfApplyAction(&held.info, action, value.data(), value.size(), result, ctx_);
        });
    };
    expect_list(through(kReplace), kRt2 + kSourceAs);
    expect_list(through(kAdd), kRt1 + kRt2 + kSourceAs);
    expect_list(through(kAddOther), kRt1 + kRt2 + kSourceAs);
    expect_null_result(through(36));
    expect_null_result(through(37));
    for (const std::uint32_t action : {0U, 5U, 8U, 35U, 39U, 61U, 86U, 88U, 0x106U, 0x10007U}) {
        expect_not_made(through(action), kNoAction);
    }
    expect_list(through(kDelete), kSourceAs);
    ctx_->uiInlineBufUsed = 0; // what the delete keeps
}

// kept: this family logs nothing
TEST_F(Vpnv4McastPolicy, ActionsAreNotLogged)
{
    const Held held(listed(kRt1));
    const Trusted value(bytes(kRt2));
    for (const std::uint32_t action : {kReplace, kAdd, kDelete, 36U, 37U, kAddOther}) {
        const platform::Recorder recorder;
        QEL_ROUTE_BLOCK_S *result = nullptr;
        EXPECT_EQ(desc_.pfApplyAction(&held.info, action, value.data(), value.size(), &result, ctx_), 0U);
        const Block owner(result);
        EXPECT_TRUE(recorder.debugs().empty()) << action;
    }
}

// kept: this family logs nothing
TEST_F(Vpnv4McastPolicy, AnUnknownActionIsNotLogged)
{
    const Held held(listed(kRt1));
    const Trusted value(bytes(kRt2));
    const platform::Recorder recorder;
    QEL_ROUTE_BLOCK_S *result = block_marker();
    EXPECT_EQ(desc_.pfApplyAction(&held.info, 61, value.data(), value.size(), &result, ctx_), kNoAction);
    EXPECT_TRUE(recorder.debugs().empty());
    EXPECT_TRUE(recorder.asserts().empty());
}

TEST_F(Vpnv4McastPolicy, ActionsRefuseMissingArgumentsWithOneReportEvenTheDelete)
{
    const Held held(listed(kRt1));
    const Trusted value(bytes(kRt1));
    QEL_ROUTE_BLOCK_S *result = block_marker();
    for (const auto with : {&QEL_VPNV4MCAST_ApplyExtCommunity, &QEL_VPNV4MCAST_ApplyAction}) {
        for (const std::uint32_t action : {kReplace, kAdd, kDelete, 36U, 37U, kAddOther}) {
            for (const std::uint32_t length : {0U, 8U}) {
                expect_null_arguments_refused(4, kFrameSource, [&](unsigned nulls) {
                    return with(unless(nulls, 0, &held.info), action, unless(nulls, 1, value.data()), length,
                                unless(nulls, 2, &result), unless(nulls, 3, ctx_));
                });
            }
        }
    }
    EXPECT_EQ(result, block_marker());
}

// --- allocations of the actions -------------------------------------------------------------------------------------

TEST_F(Vpnv4McastPolicy, EachAllocationOfAnActionFailsOnce)
{
    using Codes = std::vector<std::uint32_t>;
    const struct {
        std::uint32_t action;
        std::string list;
        std::string value;
        Codes inline_codes; // the first scratch of 256 octets or less is no allocation
        Codes heap_codes;
    } rows[] = {
        {kAdd, kSourceAs, kRt1, {3, kNoBlock}, {3, 3, kNoBlock, kNoBlock}},
        {kAddOther, kSourceAs, kRt1, {3, kNoBlock}, {3, 3, kNoBlock, kNoBlock}},
        {kAdd, "-", kRt1, {3, kNoBlock}, {3, 3, kNoBlock, kNoBlock}},
        {kReplace, kSourceAs + kRt2, kRt1, {3, 3, kNoBlock}, {3, 3, 3, kNoBlock, kNoBlock}},
        {kReplace, kRt2, kRt1, {3, 3, kNoBlock}, {3, 3, 3, kNoBlock, kNoBlock}},
        {kReplace, "-", kRt1, {3, kNoBlock}, {3, 3, kNoBlock, kNoBlock}},
        {kReplace, kSourceAs, "", {3, kNoBlock}, {3, 3, kNoBlock, kNoBlock}},
        {36, kRt2, kRt1, {}, {3}},
        {37, "-", kRt1, {}, {3}},
        {37, "-", "", {}, {}},
    };
    for (const auto &row : rows) {
        for (const bool lent : {false, true}) {
            SCOPED_TRACE(std::to_string(row.action) + row.list + (lent ? " lent" : ""));
            const auto keep = lend_if(lent, ctx_);
            const Codes &codes = lent ? row.heap_codes : row.inline_codes;
            expect_each_allocation_fails(codes, [&] {
                Made got = apply(row.action, row.list, row.value, ctx_);
                EXPECT_EQ(ctx_->uiInlineBufUsed, lent ? 1U : 0U);
                return got;
            });
            EXPECT_EQ(apply(row.action, row.list, row.value, ctx_).allocations, codes.size());
        }
    }
}

// The failed block without a value is not reported, and null is stored.
TEST_F(Vpnv4McastPolicy, EachAllocationOfADeleteThatLeavesNothingFailsOnce)
{
    for (const std::string &list : {kRt1, std::string("-")}) {
        for (const std::string &value : {kRt1, std::string()}) {
            for (const bool lent : {false, true}) {
                const auto keep = lend_if(lent, ctx_);
                const std::size_t scratch = lent ? (list == "-" ? 0U : 1U) + (value.empty() ? 0U : 1U) : 0U;
                for (std::size_t after = 0; after <= scratch; ++after) {
                    const LeakCheck leaks;
                    const platform::FailAllocation failure(after);
                    const Made got = apply(kDelete, list, value, ctx_);
                    EXPECT_TRUE(failure.fired());
                    if (after == scratch) {
                        expect_null_result(got, kNoBlock);
                    } else {
                        expect_not_made(got, kOutOfMemory, 1);
                    }
                    EXPECT_EQ(ctx_->uiInlineBufUsed, lent ? 1U : 0U);
                }
                EXPECT_EQ(apply(kDelete, list, value, ctx_).allocations, scratch + 1);
            }
        }
    }
}

TEST_F(Vpnv4McastPolicy, TheFailedBlockWithoutAValueStoresNullWithoutAReport)
{
    const platform::FailAllocation failure(0);
    expect_null_result(make([&](auto result) { return QEL_VPNV4MCAST_BuildNoneValueOutput(result, ctx_); }), kNoBlock);
    expect_no_value(make([&](auto result) { return QEL_VPNV4MCAST_BuildNoneValueOutput(result, ctx_); }));
}

// --- the delete that leaves something: its scratch is never given back
// ------------------------------------------------

constexpr std::uint32_t kKeptHandle = 0x5153;

// An instance on a memory handle of its own, whose scratch from the heap is lost by the delete.
class Vpnv4McastDelete : public ::testing::Test {
protected:
    Vpnv4McastDelete() : ctx_(QEL_VPNV4MCAST_Construct(&desc_, kKeptHandle)) {}
    ~Vpnv4McastDelete() override { QEL_VPNV4MCAST_Destruct(ctx_); }

    // The delete's call with what it keeps: told to the sanitizer's own search for lost memory.
    Made del(std::string_view list, std::string_view value)
    {
        const LossOnPurpose loss;
        return apply(kDelete, list, value, ctx_);
    }
    static platform::HandleUsage usage() { return platform::usage(kKeptHandle); }

    QEL_FAMILY_DESC_S desc_{};
    QEL_FAMILY_CTX_S *ctx_;
};

TEST_F(Vpnv4McastDelete, LeavesWhatIsNoRouteTargetAndIgnoresTheActionsList)
{
    for (const std::string &value : {std::string(), kRt1, kSourceAs + kRt4, kImport}) {
        for (const std::string_view list : {" 0009 fde9 00000000 ", " 0009 fde9 00000000 0002 fde9 00000064"}) {
            ctx_->uiInlineBufUsed = 0;
            expect_list(del(list, value), kSourceAs);
        }
        ctx_->uiInlineBufUsed = 0;
        expect_list(del(kSegmented + kRt1 + kSourceAs + kRtAs4 + kSourceAs, value), kSourceAs + kSegmented);
        ctx_->uiInlineBufUsed = 0;
        expect_list(del(kSourceAs + "090909", value), kSourceAs);
    }
}

// kept: the inline buffer stays lent out, and every later request of the context goes to the heap
TEST_F(Vpnv4McastDelete, KeepsTheInlineBuffer)
{
    for (const std::string &value : {std::string(), kRt1}) {
        ctx_->uiInlineBufUsed = 0;
        const platform::HandleUsage before = usage();
        expect_list(del(kSourceAs + kRt1, value), kSourceAs);
        EXPECT_EQ(ctx_->uiInlineBufUsed, 1U);
        EXPECT_EQ(usage().live_blocks, before.live_blocks) << "nothing of the heap is kept beside it";
        for (const std::uint32_t size : {1U, 256U}) {
            void *next = QEL_VPNV4MCAST_Malloc(ctx_, size);
            EXPECT_NE(next, ctx_->aucInlineBuf);
            EXPECT_EQ(usage().live_blocks, before.live_blocks + 1);
            QEL_VPNV4MCAST_Free(&next, ctx_);
            EXPECT_EQ(ctx_->uiInlineBufUsed, 1U);
        }
    }
}

// kept: what came from the heap is not given back, as many octets as the route's list has
TEST_F(Vpnv4McastDelete, LosesItsScratchOfTheHeap)
{
    ctx_->uiInlineBufUsed = 1;
    for (const std::string &value : {std::string(), kRt1}) {
        for (const std::string &list : {kSourceAs, kSourceAs + kRt1, kSourceAs + kRt1 + "0909"}) {
            const platform::HandleUsage before = usage();
            expect_list(del(list, value), kSourceAs);
            EXPECT_EQ(usage().live_blocks, before.live_blocks + 1);
            EXPECT_EQ(usage().live_bytes, before.live_bytes + bytes(list).size());
            EXPECT_EQ(ctx_->uiInlineBufUsed, 1U);
        }
    }
}

TEST_F(Vpnv4McastDelete, LosesAScratchBeyondTheInlineBufferWithTheFlagClear)
{
    std::string list;
    for (int i = 0; i < 33; ++i) {
        list += " 0009 fde9 000000" + hex(Bytes{static_cast<std::uint8_t>(i)});
    }
    const platform::HandleUsage before = usage();
    expect_list(del(list + kRt1, kRt2), list);
    EXPECT_EQ(usage().live_blocks, before.live_blocks + 1);
    EXPECT_EQ(usage().live_bytes, before.live_bytes + 34U * 8);
    EXPECT_EQ(ctx_->uiInlineBufUsed, 0U);
}

// kept: each way out behind the making of the scratch keeps it
TEST_F(Vpnv4McastDelete, KeepsItsScratchOnEveryWayOutBehindItsMaking)
{
    const std::vector<std::uint32_t> codes{kOutOfMemory, kNoBlock, kNoBlock}; // the result, the sort's, the block
    for (std::size_t after = 0; after < codes.size(); ++after) {
        SCOPED_TRACE(after);
        ctx_->uiInlineBufUsed = 0;
        platform::HandleUsage before = usage();
        {
            const platform::FailAllocation failure(after);
            expect_not_made(del(kSourceAs + kRt1, kRt1), codes[after], 1);
            EXPECT_TRUE(failure.fired());
        }
        EXPECT_EQ(ctx_->uiInlineBufUsed, 1U);
        EXPECT_EQ(usage().live_blocks, before.live_blocks);
        // and now with the inline buffer lent out: the action's list and the scratch itself come first
        before = usage();
        {
            const platform::FailAllocation failure(after + 2);
            expect_not_made(del(kSourceAs + kRt1, kRt1), codes[after], 1);
            EXPECT_TRUE(failure.fired());
        }
        EXPECT_EQ(usage().live_blocks, before.live_blocks + 1);
        EXPECT_EQ(usage().live_bytes, before.live_bytes + 16);
    }
    for (const std::size_t after : {0U, 1U}) { // ahead of its making nothing is kept
        const platform::HandleUsage before = usage();
        const platform::FailAllocation failure(after);
        expect_not_made(del(kSourceAs + kRt1, kRt1), kOutOfMemory, 1);
        EXPECT_TRUE(failure.fired());
        EXPECT_EQ(usage().live_blocks, before.live_blocks);
    }
}

// --- the step -------------------------------------------------------------------------------------------------------

TEST_F(Vpnv4McastPolicy, TheStepCopiesWhatIsNoRouteTarget)
{
    const OddBytes list(host_list(kSourceAs + kRt1 + kImport + kRt4 + kSegmented + " 4302 01020304 0506"));
    for (std::uint16_t count = 0; count <= 6; ++count) {
        std::string want = count > 0 ? kSourceAs : "";
        want += count > 2 ? kImport : "";
        want += count > 4 ? kSegmented : "";
        OddBytes out(Bytes(48, kUntouchedOctet));
        std::uint16_t length = 0x7777;
        const platform::Recorder recorder;
        QEL_VPNV4MCAST_GetExtCommAttrExcludeRT(list.data(), count, out.data(), &length);
        EXPECT_EQ(length, bytes(want).size());
        EXPECT_EQ(out.hex(), hex(host_list(want) + Bytes(48 - bytes(want).size(), kUntouchedOctet)));
        EXPECT_TRUE(recorder.asserts().empty());
    }
}

TEST_F(Vpnv4McastPolicy, TheStepReportsWhatIsMissingAndDoesNothing)
{
    const OddBytes list(host_list(kSourceAs));
    OddBytes out(Bytes(8, kUntouchedOctet));
    std::uint16_t length = 0x7777;
    expect_null_arguments_refused(3, kFrameSource, [&](unsigned nulls) {
        QEL_VPNV4MCAST_GetExtCommAttrExcludeRT(unless(nulls, 0, list.data()), 1, unless(nulls, 1, out.data()),
                                               unless(nulls, 2, &length));
        return kNull; // this one only reports
    });
    EXPECT_EQ(out.bytes(), Bytes(8, kUntouchedOctet));
    EXPECT_EQ(length, 0x7777);
}

// --- lists of every kind against a model ----------------------------------------------------------------------------

// Of an element in wire order.
bool is_target(const Bytes &element)
{
    return element[1] == 2;
}

TEST_F(Vpnv4McastPolicy, RandomListsComeOutAsTheModelSays)
{
    std::mt19937 random(20260105);
    const auto pick = [&](std::initializer_list<unsigned> from) {
        return static_cast<std::uint8_t>(from.begin()[random() % from.size()]);
    };
    const auto pick_list = [&](std::size_t least) {
        List list(least + random() % 12);
        for (Bytes &element : list) {
            element = {pick({0, 1, 2, 3, 0x40, 0xff}),
                       pick({2, 2, 3, 9, 10, 11}),
                       pick({0, 1}),
                       0,
                       pick({0, 9}),
                       0,
                       pick({0, 1, 255}),
                       pick({0, 1})};
        }
        return list;
    };
    for (int round = 0; round < 300; ++round) {
        const List held = pick_list(0);
        const List given = pick_list(1);
        List rest = held;
        std::erase_if(rest, is_target);
        List added = held;
        added.insert(added.end(), given.begin(), given.end());
        List replaced = rest;
        replaced.insert(replaced.end(), given.begin(), given.end());
        const std::string list = hex(joined(held));
        const std::string value = hex(joined(given));
        const auto want = [](const List &wire) { return cleaned(elements(host_list(joined(wire)))); };
        expect_list(apply(kAdd, list, value, ctx_), want(added));
        expect_list(apply(kReplace, list, value, ctx_), want(replaced));
        const Made deleted = apply(kDelete, list, value, ctx_);
        EXPECT_EQ(ctx_->uiInlineBufUsed, rest.empty() ? 0U : 1U);
        ctx_->uiInlineBufUsed = 0;
        if (rest.empty()) {
            expect_no_value(deleted);
        } else {
            expect_list(deleted, want(rest));
        }
    }
}

} // namespace
} // namespace qel::test
