// The extended communities attribute of the VPNv4 multicast family: reading, writing, byte order, sorting and clean-up.
#include "vpnv4mcast_cases.h"

#include <random>

namespace qel::test {
namespace {

const std::string kRt1 = " 0002 fde9 00000064 ";      // 65001:100
const std::string kRt2 = " 0002 fde9 00000065 ";      // 65001:101
const std::string kRt4 = " 0102 c0000201 0007 ";      // 192.0.2.1:7
const std::string kRtAs4 = " 0202 00010203 0009 ";    // 66051:9
const std::string kSourceAs = " 0009 fde9 00000000 "; // 65001:0
const std::string kImport = " 010b c0a80a0b 0001 ";   // 192.168.10.11:1
const std::string kOther = " 0803 01020304 0506 ";    // of no type that has a meaning here

struct Parsed : Made {
    std::ptrdiff_t moved = 0;
    std::uint32_t more = kUnwritten;
};

Parsed parse(const Bytes &wire, QEL_FAMILY_CTX_S *ctx)
{
    const OddBytes attribute(wire);
    const std::uint8_t *cursor = attribute.data();
    std::uint32_t more = kUnwritten;
    Parsed got{make(
        [&](auto result) { return QEL_VPNV4MCAST_ParseExtCommunity(&cursor, attribute.size(), result, &more, ctx); })};
    got.moved = cursor - attribute.data();
    got.more = more;
    EXPECT_EQ(attribute.bytes(), wire);
    return got;
}

void expect_list(const Parsed &got, const std::string &want, std::size_t moved)
{
    expect_made(got, {.list = host_list(want)});
    EXPECT_EQ(got.moved, static_cast<std::ptrdiff_t>(moved));
    EXPECT_EQ(got.more, 0U);
}

using Vpnv4McastExtComm = Vpnv4McastTest;

TEST_F(Vpnv4McastExtComm, LengthsAreWholeElements)
{
    for (std::uint32_t length = 0; length <= 40; ++length) {
        const std::uint32_t want = length == 0 ? 0x20001U : length % 8 == 0 ? 0U : 0x30009U;
        EXPECT_EQ(QEL_VPNV4MCAST_CheckExtCommLen(length), want) << length;
        if (want != 0) {
            const Parsed got = parse(Bytes(length, 2), ctx_);
            expect_not_made(got, want);
            EXPECT_EQ(got.moved, 0);
            EXPECT_EQ(got.more, kUnwritten);
            EXPECT_EQ(got.allocations, 0U);
        }
    }
    EXPECT_EQ(QEL_VPNV4MCAST_CheckExtCommLen(0xfff8), 0U);
    EXPECT_EQ(QEL_VPNV4MCAST_CheckExtCommLen(0xffffffff), 0x30009U);
    EXPECT_EQ(QEL_VPNV4MCAST_CheckExtCommLen(0xfffffff8), 0U);
    EXPECT_EQ(QEL_VPNV4MCAST_CheckExtCommLen(0x10000), 0U);
}

TEST_F(Vpnv4McastExtComm, AListIsReadIntoHostOrderSortedAndWithoutRepeats)
{
    expect_made(parse(bytes(kRt1), ctx_), {.list = bytes("0200 e9fd 64000000")});
    expect_made(parse(bytes(kRt4), ctx_), {.list = bytes("0201 010200c0 0700")});
    expect_made(parse(bytes(kSourceAs), ctx_), {.list = bytes("0900 e9fd 00000000")});
    expect_made(parse(bytes(kOther), ctx_), {.list = bytes("0308 04030201 0605")});
    expect_list(parse(bytes(kRtAs4 + kRt1 + kSourceAs), ctx_), kRt1 + kRtAs4 + kSourceAs, 24);
    expect_list(parse(bytes(kImport + kRt2 + kRt4 + kRt1 + kOther), ctx_), kRt1 + kRt2 + kRt4 + kOther + kImport, 40);
    expect_list(parse(bytes(kRt1 + kRt1), ctx_), kRt1, 16);
    expect_list(parse(bytes(kRt1 + kSourceAs + kRt1 + kSourceAs + kRt1), ctx_), kRt1 + kSourceAs, 40);
}

TEST_F(Vpnv4McastExtComm, TheCountOfElementsHas16Bits)
{
    const Bytes wire = bytes(kRt2) + Bytes(0x80000, 9); // 0x10001 elements are one
    const Parsed got = parse(wire, ctx_);
    expect_list(got, kRt2, 0x80008);
}

TEST_F(Vpnv4McastExtComm, EachAllocationOfTheReaderFailsOnce)
{
    for (const bool lent : {false, true}) {
        const auto keep = lend_if(lent, ctx_);
        const std::vector<std::uint32_t> codes(lent ? 3 : 2, kNoBlock); // work, scratch unless it is inline, block
        expect_each_allocation_fails(codes, [&] {
            Parsed got = parse(bytes(kRt2 + kRt1), ctx_);
            EXPECT_EQ(got.moved, got.code == 0 ? 16 : 0);
            EXPECT_EQ(got.more, got.code == 0 ? 0U : kUnwritten);
            return got;
        });
    }
}

TEST_F(Vpnv4McastExtComm, ReadingRefusesMissingArgumentsWithOneReport)
{
    const OddBytes wire(bytes(kRt1));
    for (const std::uint32_t length : {0U, 7U, 8U}) {
        expect_null_arguments_refused(4, kFrameSource, [&](unsigned nulls) {
            const std::uint8_t *cursor = wire.data();
            QEL_ROUTE_BLOCK_S *result = block_marker();
            std::uint32_t more = kUnwritten;
            const std::uint32_t code =
                QEL_VPNV4MCAST_ParseExtCommunity(unless(nulls, 0, &cursor), length, unless(nulls, 1, &result),
                                                 unless(nulls, 2, &more), unless(nulls, 3, ctx_));
            EXPECT_EQ(cursor, wire.data());
            EXPECT_EQ(result, block_marker());
            EXPECT_EQ(more, kUnwritten);
            return code;
        });
    }
}

// --- writing --------------------------------------------------------------------------------------------------------

Written format(QEL_ROUTE_INFO_S &route, std::size_t room, QEL_FAMILY_CTX_S *ctx)
{
    return write_into(room, [&](auto cursor) {
        return QEL_VPNV4MCAST_FormatExtCommunity(&route, cursor, static_cast<std::uint32_t>(room), ctx);
    });
}

TEST_F(Vpnv4McastExtComm, AListGoesOutInWireOrderAsItStands)
{
    const std::string wire = kSourceAs + kRt4 + kRt1 + kRt1 + kOther;
    Held held({.list = host_list(wire)});
    for (const std::size_t room : {40U, 41U, 60U}) {
        expect_written(format(held.info, room, ctx_), bytes(wire));
    }
    for (std::size_t room = 0; room < 40; ++room) {
        expect_not_written(format(held.info, room, ctx_), kNoRoom);
    }
}

TEST_F(Vpnv4McastExtComm, NoListWritesNothing)
{
    Held held({});
    held.info.uiExtCommLen = 8;
    expect_written(format(held.info, 0, ctx_), {});
    expect_written(format(held.info, 8, ctx_), {});
}

TEST_F(Vpnv4McastExtComm, TheOddTailOfAListGoesOutAsItStands)
{
    Held held({.list = host_list(kRt1) + bytes("0a0b0c")});
    expect_written(format(held.info, 12, ctx_), bytes(kRt1 + "0a0b0c"));
}

TEST_F(Vpnv4McastExtComm, TheListToWriteHasALengthOf16Bits)
{
    Held held({.list = host_list(kRt1)});
    held.info.uiExtCommLen = 0x10008;
    expect_written(format(held.info, 8, ctx_), bytes(kRt1));
}

TEST_F(Vpnv4McastExtComm, TheCopyToWriteFailsOnce)
{
    Held held({.list = host_list(kRt1)});
    const LeakCheck leaks;
    const platform::FailAllocation failure(0);
    expect_not_written(format(held.info, 8, ctx_), kOutOfMemory, 1);
    EXPECT_TRUE(failure.fired());
}

TEST_F(Vpnv4McastExtComm, WritingRefusesMissingArgumentsWithOneReport)
{
    for (const Sections &sections : {Sections{.list = host_list(kRt1)}, Sections{}}) {
        Held held(sections);
        for (const std::uint32_t room : {0U, 8U}) {
            expect_null_arguments_refused(3, kFrameSource, [&](unsigned nulls) {
                std::array<std::uint8_t, 8> out{};
                std::uint8_t *cursor = out.data();
                const std::uint32_t code = QEL_VPNV4MCAST_FormatExtCommunity(
                    unless(nulls, 0, &held.info), unless(nulls, 1, &cursor), room, unless(nulls, 2, ctx_));
                EXPECT_EQ(cursor, out.data());
                return code;
            });
        }
    }
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
    for (unsigned type = 0; type <= 0xffff; ++type) {
        Bytes wire = bytes("0000 010203040506");
        wire[0] = static_cast<std::uint8_t>(type >> 8);
        wire[1] = static_cast<std::uint8_t>(type);
        OddBytes list(wire);
        QEL_VPNV4MCAST_ConvertExtCommunityNTOH(list.as<QEL_EXTCOMM_S>(), 1);
        const bool as2 = type == 0x0002 || type == 0x0009;
        const Bytes want = Bytes{wire[1], wire[0]} + bytes(as2 ? "0201 06050403" : "04030201 0605");
        ASSERT_EQ(list.bytes(), want) << type;
        QEL_VPNV4MCAST_ConvertExtCommunityHTON(list.as<QEL_EXTCOMM_S>(), 1);
        ASSERT_EQ(list.bytes(), wire) << type;
    }
}

TEST_F(Vpnv4McastExtComm, OnlyTheCountedElementsAreTurned)
{
    const Bytes wire = bytes(kRt1 + kRt4 + kRt2);
    for (std::uint32_t count = 0; count <= 3; ++count) {
        OddBytes list(wire);
        QEL_VPNV4MCAST_ConvertExtCommunityNTOH(list.as<QEL_EXTCOMM_S>(), count);
        EXPECT_EQ(list.bytes(), host_list(slice(wire, 0, count * 8)) + slice(wire, count * 8, 24 - count * 8));
        QEL_VPNV4MCAST_ConvertExtCommunityHTON(list.as<QEL_EXTCOMM_S>(), count);
        EXPECT_EQ(list.bytes(), wire);
    }
}

TEST_F(Vpnv4McastExtComm, TurningNoListIsReported)
{
    const platform::Recorder recorder;
    QEL_VPNV4MCAST_ConvertExtCommunityNTOH(nullptr, 1);
    EXPECT_EQ(recorder.asserts().size(), 1U);
    QEL_VPNV4MCAST_ConvertExtCommunityHTON(nullptr, 1);
    EXPECT_EQ(recorder.asserts().size(), 2U);
}

// --- order and repeats ----------------------------------------------------------------------------------------------

TEST_F(Vpnv4McastExtComm, SortingKeepsRepeatsAndWhatStandsBehindTheCount)
{
    const platform::Recorder recorder;
    OddBytes list(host_list(kSourceAs + kRt4 + kRt1 + kRt4 + kImport + kRt1));
    EXPECT_EQ(QEL_VPNV4MCAST_SortExtCommunitys(list.as<QEL_EXTCOMM_S>(), 4, ctx_), 0U);
    EXPECT_EQ(list.bytes(), host_list(kRt1 + kRt4 + kRt4 + kSourceAs + kImport + kRt1));
    EXPECT_EQ(QEL_VPNV4MCAST_SortExtCommunitys(list.as<QEL_EXTCOMM_S>(), 6, ctx_), 0U);
    EXPECT_EQ(list.bytes(), host_list(kRt1 + kRt1 + kRt4 + kRt4 + kSourceAs + kImport));
    EXPECT_TRUE(recorder.asserts().empty());
}

TEST_F(Vpnv4McastExtComm, SortingTakesItsScratchForNoElementAndForOneToo)
{
    const LentBuffer lent(ctx_);
    OddBytes list(host_list(kSourceAs + kRt4));
    for (const auto count : std::initializer_list<std::uint16_t>{0, 1, 2}) {
        const std::uint64_t before = allocations();
        EXPECT_EQ(QEL_VPNV4MCAST_SortExtCommunitys(list.as<QEL_EXTCOMM_S>(), count, ctx_), 0U);
        EXPECT_EQ(allocations(), before + 1);
        EXPECT_EQ(list.bytes(), count < 2 ? host_list(kSourceAs + kRt4) : host_list(kRt4 + kSourceAs));
    }
}

TEST_F(Vpnv4McastExtComm, SortingWithoutScratchIsReported)
{
    const LentBuffer lent(ctx_);
    OddBytes list(host_list(kSourceAs + kRt4));
    const platform::Recorder recorder;
    const platform::FailAllocation failure(0);
    EXPECT_EQ(QEL_VPNV4MCAST_SortExtCommunitys(list.as<QEL_EXTCOMM_S>(), 2, ctx_), kNoBlock);
    EXPECT_EQ(recorder.asserts().size(), 1U);
    EXPECT_EQ(list.bytes(), host_list(kSourceAs + kRt4));
}

TEST_F(Vpnv4McastExtComm, RepeatsOfASortedListAreDropped)
{
    const struct {
        std::string list;
        std::string kept;
    } rows[] = {
        {kRt1, kRt1},
        {kRt1 + kRt2, kRt1 + kRt2},
        {kRt1 + kRt1, kRt1},
        {kRt1 + kRt1 + kRt2 + kRt2 + kRt2 + kSourceAs, kRt1 + kRt2 + kSourceAs},
        {kRt1 + kRt2 + kRt2 + kSourceAs, kRt1 + kRt2 + kSourceAs},
        {kRt1 + kRt2 + kRt1, kRt1 + kRt2 + kRt1}, // not sorted: only neighbours are looked at
        {kRt1 + "0002 fde9 00000164", kRt1 + "0002 fde9 00000164"},
    };
    const platform::Recorder recorder;
    for (const auto &row : rows) {
        OddBytes list(host_list(row.list));
        auto count = static_cast<std::uint16_t>(list.size() / 8);
        EXPECT_EQ(QEL_VPNV4MCAST_RemoveDupExtCommunitys(list.as<QEL_EXTCOMM_S>(), &count, ctx_), 0U);
        const Bytes kept = host_list(row.kept);
        EXPECT_EQ(count, kept.size() / 8);
        EXPECT_EQ(slice(list.bytes(), 0, kept.size()), kept);
    }
    EXPECT_TRUE(recorder.asserts().empty());
}

// kept: no element counts as one
TEST_F(Vpnv4McastExtComm, AnEmptyListCountsAsOneElementAfterwards)
{
    OddBytes list(host_list(kRt1));
    for (const auto operation : {QEL_VPNV4MCAST_RemoveDupExtCommunitys, QEL_VPNV4MCAST_CleanupExtCommunity}) {
        std::uint16_t count = 0;
        EXPECT_EQ(operation(list.as<QEL_EXTCOMM_S>(), &count, ctx_), 0U);
        EXPECT_EQ(count, 1U);
        EXPECT_EQ(list.bytes(), host_list(kRt1));
    }
}

TEST_F(Vpnv4McastExtComm, CleanUpSortsAndDropsRepeats)
{
    const platform::Recorder recorder;
    OddBytes list(host_list(kImport + kRt1 + kSourceAs + kRt1 + kImport));
    std::uint16_t count = 5;
    EXPECT_EQ(QEL_VPNV4MCAST_CleanupExtCommunity(list.as<QEL_EXTCOMM_S>(), &count, ctx_), 0U);
    EXPECT_EQ(count, 3U);
    EXPECT_EQ(slice(list.bytes(), 0, 24), host_list(kRt1 + kSourceAs + kImport));
    EXPECT_TRUE(recorder.asserts().empty());
}

TEST_F(Vpnv4McastExtComm, CleanUpReturnsTheFailureOfTheSort)
{
    const LentBuffer lent(ctx_);
    OddBytes list(host_list(kRt1 + kRt1));
    std::uint16_t count = 2;
    const platform::FailAllocation failure(0);
    EXPECT_EQ(QEL_VPNV4MCAST_CleanupExtCommunity(list.as<QEL_EXTCOMM_S>(), &count, ctx_), kNoBlock);
    EXPECT_EQ(count, 2U);
}

TEST_F(Vpnv4McastExtComm, RandomListsComeOutAsASortOfTheirFieldsGivesThem)
{
    std::mt19937 random(20260104);
    const auto pick = [&](std::initializer_list<unsigned> from) {
        return static_cast<std::uint8_t>(from.begin()[random() % from.size()]);
    };
    const auto weight = [](const Bytes &wire) { // sub-type, type, then the fields, each from its high octet on
        const bool wide_first = wire[0] == 1 || wire[0] == 2;
        const Bytes host = host_list(wire);
        Bytes fields = slice(host, 2, 6);
        std::reverse(fields.begin(), fields.begin() + (wide_first ? 4 : 2));
        std::reverse(fields.begin() + (wide_first ? 4 : 2), fields.end());
        return Bytes{wire[1], wire[0]} + fields;
    };
    for (int round = 0; round < 200; ++round) {
        std::vector<Bytes> elements(1 + random() % 40);
        Bytes wire;
        for (Bytes &element : elements) {
            element = {pick({0, 1, 2, 3, 0x40, 0x80, 0xff}),
                       pick({2, 2, 3, 9, 10, 11}),
                       pick({0, 1}),
                       0,
                       pick({0, 9}),
                       0,
                       pick({0, 1, 255}),
                       pick({0, 1})};
            wire = wire + element;
        }
        std::sort(elements.begin(), elements.end(),
                  [&](const Bytes &a, const Bytes &b) { return weight(a) < weight(b); });
        elements.erase(std::unique(elements.begin(), elements.end()), elements.end());
        Bytes want;
        for (const Bytes &element : elements) {
            want = want + host_list(element);
        }
        expect_made(parse(wire, ctx_), {.list = want});
    }
}

TEST_F(Vpnv4McastExtComm, ListOperationsRefuseMissingArgumentsWithOneReport)
{
    OddBytes list(host_list(kRt2 + kRt1));
    auto *elements = list.as<QEL_EXTCOMM_S>();
    for (const auto length : std::initializer_list<std::uint16_t>{0, 2}) {
        expect_null_arguments_refused(2, kFrameSource, [&](unsigned nulls) {
            return QEL_VPNV4MCAST_SortExtCommunitys(unless(nulls, 0, elements), length, unless(nulls, 1, ctx_));
        });
        for (const auto operation : {QEL_VPNV4MCAST_RemoveDupExtCommunitys, QEL_VPNV4MCAST_CleanupExtCommunity}) {
            expect_null_arguments_refused(3, kFrameSource, [&](unsigned nulls) {
                std::uint16_t count = length;
                const std::uint32_t code =
                    operation(unless(nulls, 0, elements), unless(nulls, 1, &count), unless(nulls, 2, ctx_));
                EXPECT_EQ(count, length);
                return code;
            });
        }
    }
    EXPECT_EQ(list.bytes(), host_list(kRt2 + kRt1));
}

} // namespace
} // namespace qel::test
