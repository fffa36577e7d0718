// Import route targets (IRTs) between components: their TLVs in both directions, the route keys inside private ones,
// the rows that lead to the handlers.
#include "cross_cases.h"

namespace qel::test {
namespace {

constexpr std::uint32_t kBadType = 0x80001;

using IrtParser = decltype(&QEL_NGMVPN_ParseIrtTlv);

class IrtTest : public ::testing::Test {
protected:
    void TearDown() override { EXPECT_EQ(ctx_->uiInlineBufUsed, 0U); }
    // The value ends where its heap block ends: no handler has a reason to read on.
    Parsed parse(IrtParser parser, const Bytes &value)
    {
        Parsed got = run_parser(Bytes(1) + value, 1, [&](auto cursor, auto result, auto) {
            return parser(*cursor, static_cast<std::uint32_t>(value.size()), result, ctx_);
        });
        EXPECT_EQ(got.moved, 0);
        EXPECT_EQ(got.more, kUnwritten);
        return got;
    }
    Parsed irt(const Bytes &value) { return parse(QEL_NGMVPN_ParseIrtTlv, value); }
    Parsed vrf_irt(const Bytes &value) { return parse(QEL_NGMVPN_ParseVrfIrtTlv, value); }

    LeakCheck leaks_;
    NgmvpnInstance instance_{kMvpn4};
    QEL_FAMILY_CTX_S *ctx_ = instance_.ctx;
};

// One block with one cross section, and nothing else in it.
void expect_cross_block(const Parsed &got, const Bytes &value)
{
    EXPECT_EQ(got.code, 0U);
    EXPECT_EQ(got.asserts, 0U);
    ASSERT_TRUE(got.block);
    QEL_ROUTE_BLOCK_S header{};
    header.uiValidMask = 0x10;
    header.usCrossOffset = 32;
    header.usCrossLen = static_cast<std::uint16_t>(value.size());
    ASSERT_EQ(hex(got.block.section(0, 32)), hex(bytes_of(header)));
    EXPECT_EQ(hex(got.block.section(32, header.usCrossLen)), hex(value));
}

void expect_no_block(const Parsed &got, std::uint32_t code, std::size_t asserts)
{
    EXPECT_EQ(got.code, code);
    EXPECT_FALSE(got.result_written);
    EXPECT_EQ(got.asserts, asserts);
}

// --- reading --------------------------------------------------------------------------------------------------------

TEST_F(IrtTest, AMarkerIsKept)
{
    for (const char *marker : {"00000000", "ffffffff", "01020304"}) {
        expect_cross_block(irt(bytes(marker)), bytes(marker));
    }
}

TEST_F(IrtTest, RouteTargetsComeToHostOrder)
{
    expect_cross_block(irt(bytes("0002 fde9 00000064")), bytes("0200 e9fd 64000000"));
    expect_cross_block(irt(bytes("0102 c0000201 0007")), bytes("0201 010200c0 0700"));
    expect_cross_block(irt(bytes("0202 00010203 0009")), bytes("0202 03020100 0900"));
    expect_cross_block(irt(bytes("010a c0000201 0007")), bytes("0a01 010200c0 0700"));
    expect_cross_block(irt(bytes("010b c0000201 0007")), bytes("0b01 010200c0 0700"));
    expect_cross_block(irt(bytes("ffff c0000201 0007")), bytes("ffff 010200c0 0700"));
    expect_cross_block(irt(bytes("0102 20010db8 00010203 04050607 08090a0b 1122")),
                       bytes("0201 b80d0120 03020100 07060504 0b0a0908 2211"));
}

TEST_F(IrtTest, SixTypesOfEachLengthAreTaken)
{
    for (std::uint32_t type = 0; type < 65536; type += type < 0x300 || type >= 0xff00 ? 1 : 37) {
        const bool common = type == 0x0002 || type == 0x0102 || type == 0x010a || type == 0x010b || type == 0xffff;
        SCOPED_TRACE(type);
        const Target rt = type == 0x0002 ? as2(type, 0xa1a2, 0xb1b2b3b4) : ip4(type, 0xa1a2a3a4, 0xb1b2);
        if (common || type == 0x0202) {
            expect_cross_block(irt(rt.wire), rt.host);
        } else {
            expect_no_block(irt(rt.wire), kBadType, 0);
        }
        const Target rt6 = target6(type, kAddr6, 0xc1c2);
        if (common || type == 0x000b) {
            expect_cross_block(irt(rt6.wire), rt6.host);
        } else {
            expect_no_block(irt(rt6.wire), kBadType, 0);
        }
    }
}

// kept: one length takes the four-octet AS, the other the IPv6 import target
TEST_F(IrtTest, TheTwoLengthsDifferInOneType)
{
    expect_no_block(irt(bytes("000b c0000201 0007")), kBadType, 0);
    expect_no_block(irt(target6(0x0202, kAddr6, 1).wire), kBadType, 0);
}

TEST_F(IrtTest, AnyOtherLengthGivesNoBlockAndNoReport)
{
    for (std::size_t length = 4; length <= 300; ++length) {
        if (length != 4 && length != 8 && length != 20) {
            Bytes value(length, 0);
            value[1] = 2; // a route target's type
            expect_no_block(irt(value), kNull, 0);
        }
    }
}

TEST_F(IrtTest, LessThanFourOctetsAreReported)
{
    for (std::size_t length = 0; length < 4; ++length) {
        expect_no_block(irt(Bytes(length, 0)), kNull, 1);
    }
}

TEST_F(IrtTest, TheWholeLengthCounts)
{
    const Bytes value(64, 0);
    for (const std::uint32_t length : {0x10004U, 0x10008U, 0x10014U, 0x104U, 0x108U, 0x114U, 0x80000008U}) {
        QEL_ROUTE_BLOCK_S *result = nullptr;
        EXPECT_EQ(QEL_NGMVPN_ParseIrtTlv(value.data(), length, &result, ctx_), kNull);
        EXPECT_EQ(result, nullptr);
    }
}

TEST_F(IrtTest, ParsersReportTheFirstMissingArgument)
{
    const OddBytes value(Bytes(21, 0));
    for (const IrtParser parser : {&QEL_NGMVPN_ParseIrtTlv, &QEL_NGMVPN_ParseVrfIrtTlv}) {
        for (const std::uint32_t length : {0U, 8U, 21U}) {
            expect_nulls_reported_in_order(3, [&](unsigned nulls) {
                QEL_ROUTE_BLOCK_S *result = nullptr;
                EXPECT_EQ(parser(null_if(nulls, 0, value.data()), length, null_if(nulls, 1, &result),
                                 null_if(nulls, 2, ctx_)),
                          kNull);
                EXPECT_EQ(result, nullptr);
            });
        }
    }
}

TEST_F(IrtTest, WithoutAMemoryHandleThereIsNoBlock)
{
    ctx_->uiMemHandle = 0;
    expect_no_block(irt(bytes("00000000")), kNull, 1);
    expect_no_block(vrf_irt(Bytes(21)), kNull, 1);
    ctx_->uiMemHandle = kMemHandle;
}

TEST_F(IrtTest, ABlockThatCannotBeAllocated)
{
    const Bytes values[] = {bytes("00000000"), kRtAs2.wire, kRt6.wire};
    for (const Bytes &value : values) {
        const platform::FailAllocation fail(0);
        expect_no_block(irt(value), kNoMemory, 1);
        EXPECT_TRUE(fail.fired());
    }
    for (const std::size_t length : {20U, 21U, 54U, 55U, 79U}) {
        const platform::FailAllocation fail(0);
        expect_no_block(vrf_irt(Bytes(length, 1)), kNoMemory, 1);
        EXPECT_TRUE(fail.fired());
    }
}

TEST_F(IrtTest, TheBlockIsTheOneAllocation)
{
    for (const Bytes &value : {bytes("00000000"), kRtAs2.wire, kRt6.wire}) {
        const std::uint64_t before = allocations();
        irt(value);
        EXPECT_EQ(allocations() - before, 1U);
    }
    for (const std::size_t length : {20U, 21U, 54U, 55U}) {
        const std::uint64_t before = allocations();
        vrf_irt(Bytes(length, 1));
        EXPECT_EQ(allocations() - before, 1U);
    }
    const platform::FailAllocation fail(0); // refused before
    irt(Bytes(12));
    irt(Bytes(8));
    vrf_irt(Bytes(19));
    EXPECT_FALSE(fail.fired());
}

TEST_F(IrtTest, EveryInstanceReadsAlike)
{
    for (const std::uint16_t kind : kKinds) {
        ctx_->usInstanceKind = kind;
        expect_cross_block(irt(kRtAs2.wire), kRtAs2.host);
        expect_cross_block(vrf_irt(Bytes(20, 5)), Bytes{1} + Bytes(20, 5));
    }
}

// --- reading private ones -------------------------------------------------------------------------------------------

Bytes numbered(std::size_t length)
{
    Bytes out(length);
    for (std::size_t i = 0; i < length; ++i) {
        out[i] = static_cast<std::uint8_t>(0x81 + i);
    }
    return out;
}

TEST_F(IrtTest, APrivateOneOfTwentyOctetsGetsTheIntraOctetInFront)
{
    const Bytes value = bytes(kRd0 + kO4 + "0102 c0000201 0007");
    expect_cross_block(vrf_irt(value), bytes("01") + value);
}

TEST_F(IrtTest, APrivateOneOfFiftyFourOctetsGetsAZeroInFront)
{
    const Bytes value = bytes(kRd0 + kS6 + kG6 + kO4 + "0102 c0000201 0007");
    ASSERT_EQ(value.size(), 54U);
    expect_cross_block(vrf_irt(value), bytes("00") + value);
}

TEST_F(IrtTest, PrivateOnesOfOtherLengthsStandAsTheyAre)
{
    for (std::size_t length = 21; length <= 140; ++length) {
        SCOPED_TRACE(length);
        if (length != 54) {
            expect_cross_block(vrf_irt(numbered(length)), numbered(length));
        }
    }
    for (const std::size_t length : {276U, 310U, 1000U}) {
        expect_cross_block(vrf_irt(numbered(length)), numbered(length));
    }
}

// kept: the private form takes no marker and no plain route target
TEST_F(IrtTest, APrivateOneBelowTwentyOctetsIsReported)
{
    for (std::size_t length = 0; length < 20; ++length) {
        expect_no_block(vrf_irt(numbered(length)), kNull, 1);
    }
}

TEST_F(IrtTest, ThePrivateFormLooksAtNoTypeAndSwapsNothing)
{
    for (const char *target : {"0102 c0000201 0007", "0009 fde9 00000005", "0302 11223344 5566"}) {
        const Bytes value = bytes("02" + kRd0 + kS4 + kG4 + kO4) + bytes(target);
        expect_cross_block(vrf_irt(value), value);
    }
}

// kept: the octets in front are the numbers of search keys, so that the value finds what a leaf route stored
TEST_F(IrtTest, ACompletedPrivateOneFindsTheStoredValueOfTheSameKey)
{
    const auto stored = [&](std::uint16_t kind, std::uint32_t key_type, const std::string &key) {
        ctx_->usInstanceKind = kind;
        const CrossRoute route(leaf_nonkey(key_type, bytes(key)), kRtIp4.host);
        return call_cross(QEL_NGMVPN_GetCrossGtm, route.info, 0, ctx_).value;
    };
    const auto found_by = [&](const Bytes &value, const std::string &key) {
        const Parsed got = vrf_irt(bytes(key) + kRtIp4.wire);
        const Bytes search = got.block.section(got.block->usCrossOffset, got.block->usCrossLen);
        EXPECT_EQ(search.size(), value.size());
        return QEL_NGMVPN_CmpCross(value.data(), static_cast<std::uint32_t>(value.size()), search.data(),
                                   static_cast<std::uint32_t>(search.size()));
    };
    const std::string intra = kRd0 + kO4;
    EXPECT_EQ(found_by(stored(kKindMvrf4, 4, intra), intra), 0);
    EXPECT_EQ(found_by(stored(kKindMvrf4, 4, intra), kRd1 + kO4), -1);
    const std::string spmsi = kRd0 + kS6 + kG6 + kO4;
    EXPECT_EQ(found_by(stored(kKindMvrf6, 5, spmsi), spmsi), 0);
    EXPECT_EQ(found_by(stored(kKindMvrf6, 5, spmsi), kRd1 + kS6 + kG6 + kO4), -1);
}

// --- writing --------------------------------------------------------------------------------------------------------

struct IrtWritten {
    std::uint32_t code;
    std::ptrdiff_t moved;
    Bytes buffer;
    std::size_t asserts;
};

IrtWritten write_irt(const Bytes &value, std::size_t room, QEL_FAMILY_CTX_S *ctx = nullptr)
{
    const OddBytes copy(value);
    OddBytes out(Bytes(room, kUntouchedOctet));
    std::uint8_t *cursor = out.data();
    QEL_ROUTE_INFO_S route{};
    route.pucCross = copy.data();
    route.uiCrossLen = copy.size();
    const platform::Recorder recorder;
    const platform::FailAllocation fail(0);
    IrtWritten got{};
    got.code = QEL_NGMVPN_FormatIrtTlv(&route, &cursor, static_cast<std::uint32_t>(room), ctx);
    EXPECT_FALSE(fail.fired()) << "nothing is allocated";
    got.moved = cursor - out.data();
    got.buffer = out.bytes();
    got.asserts = recorder.asserts().size();
    EXPECT_EQ(copy.hex(), hex(value)) << "the route keeps its value";
    return got;
}

void expect_irt_written(const Bytes &value, const Bytes &wire, std::size_t asserts = 0)
{
    SCOPED_TRACE(hex(value));
    for (const std::size_t spare : {0U, 1U, 30U}) {
        const IrtWritten got = write_irt(value, wire.size() + spare);
        EXPECT_EQ(got.code, 0U);
        EXPECT_EQ(got.moved, std::ssize(wire));
        EXPECT_EQ(hex(got.buffer), hex(wire + untouched(spare)));
        EXPECT_EQ(got.asserts, asserts);
    }
    for (const std::size_t room : {std::size_t{0}, wire.size() / 2, wire.size() - 1}) {
        const IrtWritten got = write_irt(value, room);
        EXPECT_EQ(got.code, kNoRoom);
        EXPECT_EQ(got.moved, 0);
        EXPECT_EQ(got.buffer, untouched(room));
        EXPECT_EQ(got.asserts, asserts);
    }
}

TEST(IrtWriting, RouteTargetsGoOutInWireOrder)
{
    for (const Target &rt : {kRtAs2, kRtIp4, kRtAs4, kVrfImport, ip4(0x010a, 1, 2), ip4(0xffff, 0x01020304, 0x0506)}) {
        expect_irt_written(rt.host, rt.wire);
    }
    for (const std::uint32_t type : {0x0002U, 0x0102U, 0x000bU, 0x010aU, 0x010bU, 0xffffU}) {
        const Target rt = target6(type, kAddr6, 0x1122);
        expect_irt_written(rt.host, rt.wire);
    }
}

// kept: a type that the single conversions do not know has its type word swapped alone
TEST(IrtWriting, OtherTypesHaveTheirTypeWordSwappedAlone)
{
    expect_irt_written(bytes("0900 a0a1a2a3a4a5"), bytes("0009 a0a1a2a3a4a5"));
    expect_irt_written(bytes("0203 a0a1a2a3a4a5"), bytes("0302 a0a1a2a3a4a5"));
    const Bytes value6 = bytes("a0a1a2a3 b0b1b2b3 c0c1c2c3 d0d1d2d3 e0e1");
    expect_irt_written(bytes("0202") + value6, bytes("0202") + value6);
    expect_irt_written(bytes("1234") + value6, bytes("3412") + value6);
}

// kept: the route target of a private one is in wire order already
TEST(IrtWriting, EveryOtherLengthGoesOutAsItStands)
{
    for (std::size_t length = 4; length <= 120; ++length) {
        if (length != 8 && length != 20) {
            expect_irt_written(numbered(length), numbered(length));
        }
    }
    expect_irt_written(numbered(264), numbered(264));
    expect_irt_written(numbered(276), numbered(276));
    const Bytes private_one = bytes("02" + kRd0 + kS4 + kG4 + kO4 + "0102 c0000201 0007");
    expect_irt_written(private_one, private_one);
    expect_irt_written(bytes("00000000"), bytes("00000000"));
    expect_irt_written(bytes("ffffffff"), bytes("ffffffff"));
}

// kept: the report does not stop the work
TEST(IrtWriting, LessThanFourOctetsAreReportedAndWritten)
{
    for (std::size_t length = 1; length < 4; ++length) {
        expect_irt_written(numbered(length), numbered(length), 1);
    }
    const IrtWritten empty = write_irt({}, 4);
    EXPECT_EQ(empty.code, 0U);
    EXPECT_EQ(empty.moved, 0);
    EXPECT_EQ(empty.buffer, untouched(4));
    EXPECT_EQ(empty.asserts, 1U);
}

TEST(IrtWriting, AValueAboveTheRoomIsRefusedAndOneThatFillsItIsNot)
{
    for (const std::size_t length : {4U, 8U, 20U, 31U}) {
        const IrtWritten refused = write_irt(numbered(length), length - 1);
        EXPECT_EQ(refused.code, kNoRoom) << length;
        EXPECT_EQ(refused.moved, 0);
        EXPECT_EQ(refused.buffer, untouched(length - 1));
        const IrtWritten whole = write_irt(numbered(length), length);
        EXPECT_EQ(whole.code, 0U) << length;
        EXPECT_EQ(whole.moved, static_cast<std::ptrdiff_t>(length));
    }
}

TEST(IrtWriting, ARouteWithoutAValueWritesNothing)
{
    for (const std::uint32_t length : {0U, 3U, 8U, 500U}) {
        const platform::Recorder recorder;
        QEL_ROUTE_INFO_S route{};
        route.uiCrossLen = length;
        OddBytes out(untouched(4));
        std::uint8_t *cursor = out.data();
        EXPECT_EQ(QEL_NGMVPN_FormatIrtTlv(&route, &cursor, 4, nullptr), 0U);
        EXPECT_EQ(cursor, out.data());
        EXPECT_EQ(out.bytes(), untouched(4));
        EXPECT_TRUE(recorder.asserts().empty());
    }
}

TEST(IrtWriting, ReportsTheFirstMissingArgumentAndNeedsNoContext)
{
    const OddBytes value(kRtAs2.host);
    QEL_ROUTE_INFO_S route{};
    route.pucCross = value.data();
    route.uiCrossLen = 8;
    expect_nulls_reported_in_order(2, [&](unsigned nulls) {
        OddBytes out(untouched(8));
        std::uint8_t *cursor = out.data();
        EXPECT_EQ(QEL_NGMVPN_FormatIrtTlv(null_if(nulls, 0, &route), null_if(nulls, 1, &cursor), 8, nullptr), kNull);
        EXPECT_EQ(cursor, out.data());
        EXPECT_EQ(out.bytes(), untouched(8));
    });
}

TEST_F(IrtTest, WhatIsWrittenIsReadBack)
{
    for (const Bytes &value : {bytes("00000000"), bytes("ffffffff"), kRtAs2.host, kRtIp4.host, kRtAs4.host,
                               kVrfImport.host, kRt6.host, kRt6Type1.host}) {
        expect_cross_block(irt(write_irt(value, value.size()).buffer), value);
    }
    for (const std::size_t length : {21U, 31U, 33U, 43U, 45U, 55U, 67U, 79U}) {
        expect_cross_block(vrf_irt(write_irt(numbered(length), length).buffer), numbered(length));
    }
}

// --- route keys -----------------------------------------------------------------------------------------------------

struct KeyGot {
    Bytes out; // 64 octets, kUntouchedOctet where nothing was written
    std::uint8_t length;
    std::size_t asserts;
};

KeyGot add_key(const Bytes &key, std::uint16_t kind)
{
    const OddBytes copy(key);
    OddBytes out(untouched(58));
    KeyGot got{{}, static_cast<std::uint8_t>(key.size()), 0};
    const platform::Recorder recorder;
    QEL_NGMVPN_AddRouteKey(out.data(), copy.data(), &got.length, kind);
    got.out = out.bytes();
    got.asserts = recorder.asserts().size();
    return got;
}

void expect_key(const KeyGot &got, const Bytes &wanted)
{
    EXPECT_EQ(got.length, wanted.size());
    EXPECT_EQ(hex(got.out), hex(wanted + untouched(58 - wanted.size())));
    EXPECT_EQ(got.asserts, 0U);
}

const std::string kOpen5 = "0000000000";

TEST(IrtKey, WildcardKeysOfTheIpv4MvrfGetTheFullShape)
{
    expect_key(add_key(bytes(kRd0 + "0000" + kO4), kKindMvrf4), bytes(kRd0 + kOpen5 + kOpen5 + kO4));
    expect_key(add_key(bytes(kRd0 + "0000" + kO6), kKindMvrf4), bytes(kRd0 + kOpen5 + kOpen5 + kO6));
    expect_key(add_key(bytes(kRd1 + "00" + kG4 + kO4), kKindMvrf4), bytes(kRd1 + kOpen5 + kG4 + kO4));
    expect_key(add_key(bytes(kRd1 + "00" + kG4 + kO6), kKindMvrf4), bytes(kRd1 + kOpen5 + kG4 + kO6));
}

// kept: in the (S,*) form the originator lands in the group's place and the octets behind it stay zero
TEST(IrtKey, AnOpenGroupLeavesTheOriginatorInTheGroupsPlace)
{
    expect_key(add_key(bytes(kRd2 + kS4 + "00" + kO4), kKindMvrf4), bytes(kRd2 + kS4 + "00" + kO4 + "00000000"));
    expect_key(add_key(bytes(kRd2 + kS4 + "00" + kO6), kKindMvrf4), bytes(kRd2 + kS4 + "00" + kO6 + "00000000"));
}

// kept: only component 985 expands; the others know the wildcard and copy the key all the same
TEST(IrtKey, EveryOtherInstanceCopiesWildcardKeys)
{
    for (const std::uint16_t kind : {kKindPlain, kKindMvrf6, kKindMvpn4, kKindMvpn6}) {
        for (const std::string &key :
             {kRd0 + "0000" + kO4, kRd0 + "0000" + kO6, kRd0 + "00" + kG4 + kO4, kRd0 + kS4 + "00" + kO4,
              kRd0 + "00" + kG4 + kO6, kRd0 + "00" + kG6 + kO4, kRd0 + kS6 + "00" + kO6}) {
            expect_key(add_key(bytes(key), kind), bytes(key));
        }
    }
}

TEST(IrtKey, KeysThatNameSourceAndGroupAreCopied)
{
    for (const std::uint16_t kind : kKinds) {
        for (const std::string &key : {kRd0 + kS4 + kG4 + kO4, kRd0 + kS4 + kG4 + kO6, kRd0 + kZ4 + kZ4 + kO4,
                                       kRd0 + kS6 + kG6 + kO4, kRd0 + kS6 + kG6 + kO6, kRd0 + kO4, kRd0 + kO6}) {
            expect_key(add_key(bytes(key), kind), bytes(key));
        }
    }
}

TEST(IrtKey, EveryLengthUpToTheLongestInEveryInstance)
{
    for (const std::uint16_t kind : kKinds) {
        for (const std::uint8_t source_len : std::initializer_list<std::uint8_t>{0, 1, 0x20, 0x80}) {
            for (const std::uint8_t group_len : std::initializer_list<std::uint8_t>{0, 1, 0x20}) {
                for (std::size_t length = 0; length <= 58; ++length) {
                    Bytes key = numbered(length);
                    const auto put = [&key](std::size_t at, std::uint8_t octet) {
                        if (at < key.size()) {
                            key[at] = octet;
                        }
                    };
                    put(8, source_len);
                    put(source_len == 0 ? 9 : 13, group_len);
                    SCOPED_TRACE(hex(key));
                    expect_key(add_key(key, kind), key_in_irt(key, kind));
                }
            }
        }
    }
}

TEST(IrtKey, ReportsTheFirstMissingArgumentAndCopiesNothing)
{
    const OddBytes key(bytes(kRd0 + "0000" + kO4));
    expect_nulls_reported_in_order(3, [&](unsigned nulls) {
        OddBytes out(untouched(58));
        std::uint8_t length = 14;
        QEL_NGMVPN_AddRouteKey(null_if(nulls, 0, out.data()), null_if(nulls, 1, key.data()), null_if(nulls, 2, &length),
                               kKindMvrf4);
        EXPECT_EQ(out.bytes(), untouched(58));
        EXPECT_EQ(length, 14U);
    });
}

// --- wildcard words -------------------------------------------------------------------------------------------------

using Words = std::array<std::uint32_t, 4>; // (*,*), (*,G), (S,*), IPv6 originator

QEL_NGMVPN_WC_TYPE_S words_record(const Words &words)
{
    QEL_NGMVPN_WC_TYPE_S out{};
    out.bStarStar = words[0];
    out.bStarG = words[1];
    out.bSourceStar = words[2];
    out.bOrigIpv6 = words[3];
    return out;
}

Words words_of(decltype(&QEL_NGMVPN_GetIPv4WcType) get, const Bytes &key, std::uint16_t kind, const Words &before = {})
{
    const OddBytes copy(key);
    OddBytes out(untouched(58));
    QEL_NGMVPN_WC_TYPE_S wc = words_record(before);
    auto length = static_cast<std::uint8_t>(key.size());
    const platform::Recorder recorder;
    get(out.data(), copy.data(), kind, &length, &wc);
    EXPECT_TRUE(recorder.asserts().empty());
    EXPECT_EQ(length, key.size());
    EXPECT_EQ(out.bytes(), untouched(58));
    return {wc.bStarStar, wc.bStarG, wc.bSourceStar, wc.bOrigIpv6};
}

struct WordsRow {
    std::string key;
    Words words;
};

// The two instances of the family give the words of each key, all others leave them.
void expect_words(decltype(&QEL_NGMVPN_GetIPv4WcType) get, const std::vector<WordsRow> &rows,
                  const std::array<std::uint16_t, 2> &own, const std::array<std::uint16_t, 3> &others)
{
    for (const WordsRow &row : rows) {
        SCOPED_TRACE(row.key);
        const Bytes key = bytes(kRd0 + row.key);
        for (const std::uint16_t kind : own) {
            EXPECT_EQ(words_of(get, key, kind), row.words);
        }
        const Words before{7, 8, 9, 10};
        for (const std::uint16_t kind : others) {
            EXPECT_EQ(words_of(get, key, kind, before), before);
        }
    }
}

TEST(IrtWildcard, TheWordsOfIpv4Keys)
{
    const std::vector<WordsRow> rows = {
        {"0000" + kO4, {1, 0, 0, 0}},
        {"0000" + kO6, {1, 0, 0, 1}},
        {"ffff" + kO4, {1, 0, 0, 0}}, // the length alone tells
        {"00" + kG4 + kO4, {0, 1, 0, 0}},
        {"00" + kG4 + kO6, {0, 1, 0, 1}},
        {kS4 + "00" + kO4, {0, 0, 1, 0}},
        {kS4 + "00" + kO6, {0, 0, 1, 1}},
        {"01 0a000001 00" + kO4, {0, 0, 1, 0}},
        {"00 01 ef010203" + kO4, {0, 1, 0, 0}},
        {"00 00 ef010203" + kO4, {0, 0, 0, 0}},
        {"00 00 ef010203" + kO6, {0, 0, 0, 1}},
        {kS4 + "01" + kO4, {0, 0, 0, 0}},
        {"00 20 000000 00" + kO4, {0, 1, 0, 0}}, // octet 13 is 0, which tells nothing without a source
        {kS4 + kG4 + kO4, {0, 0, 0, 0}},
        {kS4 + kG4 + kO6, {0, 0, 0, 1}},
        {kZ4 + kZ4 + kO4, {0, 0, 0, 0}},
        {kZ4 + kZ4 + kO6, {0, 0, 0, 1}},
    };
    expect_words(QEL_NGMVPN_GetIPv4WcType, rows, {kKindMvrf4, kKindMvpn4}, {kKindPlain, kKindMvrf6, kKindMvpn6});
}

TEST(IrtWildcard, TheWordsOfIpv6Keys)
{
    const std::vector<WordsRow> rows = {
        {"0000" + kO4, {1, 0, 0, 0}},
        {"0000" + kO6, {1, 0, 0, 1}},
        {"00" + kG6 + kO4, {0, 1, 0, 0}},
        {"00" + kG6 + kO6, {0, 1, 0, 1}},
        {kS6 + "00" + kO4, {0, 0, 1, 0}},
        {kS6 + "00" + kO6, {0, 0, 1, 1}},
        {"80 20010db8 00000000 00000000 00000a01 80" + kO4, {0, 0, 0, 0}}, // octet 13 is 0 and tells nothing here
        {"00 00 ff3e0000 00000000 00000000 00008001" + kO4, {0, 0, 0, 0}},
        {"00 00 ff3e0000 00000000 00000000 00008001" + kO6, {0, 0, 0, 1}},
        {kS6 + kG6 + kO4, {0, 0, 0, 0}},
        {kS6 + kG6 + kO6, {0, 0, 0, 1}},
        {kZ6 + kZ6 + kO4, {0, 0, 0, 0}},
        {kZ6 + kZ6 + kO6, {0, 0, 0, 1}},
    };
    expect_words(QEL_NGMVPN_GetIPv6WcType, rows, {kKindMvrf6, kKindMvpn6}, {kKindPlain, kKindMvrf4, kKindMvpn4});
}

TEST(IrtWildcard, ServesTheTwoInstancesOfItsFamilyAlone)
{
    const Bytes key = bytes(kRd0 + "0000" + kO4);
    const Words both_open{1, 0, 0, 0};
    for (const std::uint16_t kind : kKinds) {
        EXPECT_EQ(words_of(QEL_NGMVPN_GetIPv4WcType, key, kind), is_ipv4_kind(kind) ? both_open : Words{}) << kind;
        EXPECT_EQ(words_of(QEL_NGMVPN_GetIPv6WcType, key, kind), is_ipv6_kind(kind) ? both_open : Words{}) << kind;
    }
}

TEST(IrtWildcard, TheLengthAloneTellsThatBothAreOpen)
{
    for (const std::string &key : {"0000" + kO4, "2020" + kO4}) {
        EXPECT_EQ(words_of(QEL_NGMVPN_GetIPv4WcType, bytes(kRd0 + key), kKindMvrf4), (Words{1, 0, 0, 0}));
        EXPECT_EQ(words_of(QEL_NGMVPN_GetIPv6WcType, bytes(kRd0 + key), kKindMvrf6), (Words{1, 0, 0, 0}));
    }
}

TEST(IrtWildcard, AnOpenSourceNeedsTheLengthOfAGroupBehindIt)
{
    EXPECT_EQ(words_of(QEL_NGMVPN_GetIPv4WcType, bytes(kRd0 + "00" + kG4 + kO4), kKindMvrf4), (Words{0, 1, 0, 0}));
    EXPECT_EQ(words_of(QEL_NGMVPN_GetIPv4WcType, bytes(kRd0 + "0000 ef010203" + kO4), kKindMvrf4), Words{});
    EXPECT_EQ(words_of(QEL_NGMVPN_GetIPv6WcType, bytes(kRd0 + "00" + kG6 + kO4), kKindMvrf6), (Words{0, 1, 0, 0}));
}

TEST(IrtWildcard, AnOpenGroupIsSeenBehindTheSource)
{
    EXPECT_EQ(words_of(QEL_NGMVPN_GetIPv4WcType, bytes(kRd0 + kS4 + "00" + kO4), kKindMvrf4), (Words{0, 0, 1, 0}));
    EXPECT_EQ(words_of(QEL_NGMVPN_GetIPv4WcType, bytes(kRd0 + kS4 + "20" + kO4), kKindMvrf4), Words{});
    EXPECT_EQ(words_of(QEL_NGMVPN_GetIPv6WcType, bytes(kRd0 + kS6 + "00" + kO4), kKindMvrf6), (Words{0, 0, 1, 0}));
    EXPECT_EQ(words_of(QEL_NGMVPN_GetIPv6WcType, bytes(kRd0 + kS6 + "80" + kO4), kKindMvrf6), Words{});
}

TEST(IrtWildcard, KeysThatNameBothHaveNoneOfTheThree)
{
    const std::string no_source = "00 20000000" + kG4 + kO4; // looks open where a shorter key would tell it
    const std::string no_group = kS4 + "00 ef010203" + kO4;
    for (const std::string &key : {kZ4 + kZ4 + kO4, kS4 + kG4 + kO4, no_source, no_group}) {
        EXPECT_EQ(words_of(QEL_NGMVPN_GetIPv4WcType, bytes(kRd0 + key), kKindMvrf4), Words{});
    }
    EXPECT_EQ(words_of(QEL_NGMVPN_GetIPv6WcType, bytes(kRd0 + kZ6 + kZ6 + kO4), kKindMvrf6), Words{});
}

TEST(IrtWildcard, AnotherLengthChangesNoWord)
{
    const Words before{7, 8, 9, 10};
    for (std::size_t length = 0; length <= 70; ++length) {
        const auto known = [length](std::initializer_list<std::size_t> lengths) {
            return std::find(lengths.begin(), lengths.end(), length) != lengths.end();
        };
        const Bytes key = numbered(length);
        for (const std::uint16_t kind : kKinds) {
            if (!known({14, 18, 22, 26, 30, 34})) {
                EXPECT_EQ(words_of(QEL_NGMVPN_GetIPv4WcType, key, kind, before), before) << length;
            }
            if (!known({14, 30, 46, 26, 42, 58})) {
                EXPECT_EQ(words_of(QEL_NGMVPN_GetIPv6WcType, key, kind, before), before) << length;
            }
        }
    }
}

TEST(IrtWildcard, TheOriginatorsWordIsStoredBothWays)
{
    const Words before{0, 0, 0, 10};
    EXPECT_EQ(words_of(QEL_NGMVPN_GetIPv4WcType, numbered(22), kKindMvrf4, before)[3], 0U);
    EXPECT_EQ(words_of(QEL_NGMVPN_GetIPv4WcType, numbered(34), kKindMvrf4, before)[3], 1U);
    EXPECT_EQ(words_of(QEL_NGMVPN_GetIPv6WcType, numbered(46), kKindMvrf6, before)[3], 0U);
    EXPECT_EQ(words_of(QEL_NGMVPN_GetIPv6WcType, numbered(58), kKindMvrf6, before)[3], 1U);
}

// --- the setters ----------------------------------------------------------------------------------------------------

using Setter = decltype(&QEL_NGMVPN_RouteKeyWildCardSet);

std::string set_key(Setter setter, std::uint32_t orig_ipv6)
{
    const OddBytes key(numbered(30));
    OddBytes out(untouched(34));
    const QEL_NGMVPN_WC_TYPE_S wc = words_record({0, 0, 0, orig_ipv6});
    const platform::Recorder recorder;
    setter(&wc, key.data(), out.data(), 34);
    EXPECT_TRUE(recorder.asserts().empty());
    return out.hex();
}

// Octets of the key behind one another, and the octets between them as they were.
std::string spread(std::initializer_list<std::pair<std::size_t, std::pair<std::size_t, std::size_t>>> copies)
{
    const Bytes key = numbered(30);
    Bytes out = untouched(34);
    for (const auto &[to, from] : copies) {
        std::copy_n(key.begin() + static_cast<std::ptrdiff_t>(from.first), from.second,
                    out.begin() + static_cast<std::ptrdiff_t>(to));
    }
    return hex(out);
}

TEST(IrtSetter, EachCopiesItsOwnOctetsAndNoOther)
{
    EXPECT_EQ(set_key(QEL_NGMVPN_RouteKeyWildCardSet, 0), spread({{0, {0, 8}}, {18, {10, 4}}}));
    EXPECT_EQ(set_key(QEL_NGMVPN_RouteKeyWildCardSet, 1), spread({{0, {0, 8}}, {18, {10, 16}}}));
    EXPECT_EQ(set_key(QEL_NGMVPN_RouteKeyWildCardGSet, 0),
              spread({{0, {0, 8}}, {13, {9, 1}}, {14, {10, 4}}, {18, {14, 4}}}));
    EXPECT_EQ(set_key(QEL_NGMVPN_RouteKeyWildCardGSet, 1),
              spread({{0, {0, 8}}, {13, {9, 1}}, {14, {10, 4}}, {18, {14, 16}}}));
}

// kept: the originator of an (S,*) key goes to octet 14, not to 18
TEST(IrtSetter, TheOpenGroupIsAsymmetric)
{
    EXPECT_EQ(set_key(QEL_NGMVPN_RouteKeyWildCardSSet, 0),
              spread({{0, {0, 8}}, {8, {8, 1}}, {9, {9, 4}}, {14, {14, 4}}}));
    EXPECT_EQ(set_key(QEL_NGMVPN_RouteKeyWildCardSSet, 1),
              spread({{0, {0, 8}}, {8, {8, 1}}, {9, {9, 4}}, {14, {14, 16}}}));
}

TEST(IrtSetter, AnyNonZeroWordMeansSixteenOctets)
{
    for (const Setter setter :
         {&QEL_NGMVPN_RouteKeyWildCardSet, &QEL_NGMVPN_RouteKeyWildCardGSet, &QEL_NGMVPN_RouteKeyWildCardSSet}) {
        EXPECT_EQ(set_key(setter, 0x100), set_key(setter, 1));
    }
}

TEST(IrtSetter, NothingIsWrittenPastTheRoom)
{
    for (const Setter setter :
         {&QEL_NGMVPN_RouteKeyWildCardSet, &QEL_NGMVPN_RouteKeyWildCardGSet, &QEL_NGMVPN_RouteKeyWildCardSSet}) {
        for (std::uint32_t room = 0; room < 34; ++room) {
            const OddBytes key(numbered(30));
            OddBytes out(untouched(room));
            const QEL_NGMVPN_WC_TYPE_S wc = words_record({0, 0, 0, 1});
            const platform::Recorder recorder;
            setter(&wc, key.data(), out.data(), room);
            const bool fits = setter == &QEL_NGMVPN_RouteKeyWildCardSSet && room >= 30;
            EXPECT_EQ(recorder.asserts().empty(), fits) << room;
        }
    }
}

TEST(IrtSetter, AMissingArgumentIsReportedOnce)
{
    const OddBytes key(numbered(30));
    const QEL_NGMVPN_WC_TYPE_S wc = words_record({0, 0, 0, 0});
    for (const Setter setter :
         {&QEL_NGMVPN_RouteKeyWildCardSet, &QEL_NGMVPN_RouteKeyWildCardGSet, &QEL_NGMVPN_RouteKeyWildCardSSet}) {
        expect_nulls_reported_in_order(3, [&](unsigned nulls) {
            OddBytes out(untouched(34));
            setter(null_if(nulls, 0, &wc), null_if(nulls, 1, key.data()), null_if(nulls, 2, out.data()), 34);
            EXPECT_EQ(out.bytes(), untouched(34));
        });
    }
}

TEST(IrtWildcard, AMissingKeyLengthOrRecordIsReportedOnce)
{
    const OddBytes key(bytes(kRd0 + "0000" + kO4));
    for (const auto get : {&QEL_NGMVPN_GetIPv4WcType, &QEL_NGMVPN_GetIPv6WcType}) {
        expect_nulls_reported_in_order(3, [&](unsigned nulls) {
            const std::uint8_t length = 14;
            std::uint8_t out = kUntouchedOctet;
            QEL_NGMVPN_WC_TYPE_S wc = words_record({7, 8, 9, 10});
            get(&out, null_if(nulls, 0, key.data()), get == &QEL_NGMVPN_GetIPv4WcType ? kKindMvrf4 : kKindMvrf6,
                null_if(nulls, 1, &length), null_if(nulls, 2, &wc));
            EXPECT_EQ(wc.bStarStar, 7U);
            EXPECT_EQ(wc.bOrigIpv6, 10U);
        });
    }
}

// --- the full shape -------------------------------------------------------------------------------------------------

KeyGot change_key(const Bytes &key, const Words &words)
{
    const OddBytes copy(key);
    OddBytes out(untouched(58));
    KeyGot got{{}, static_cast<std::uint8_t>(key.size()), 0};
    const QEL_NGMVPN_WC_TYPE_S wc = words_record(words);
    const platform::Recorder recorder;
    QEL_NGMVPN_ChangeRouteKeyFormat(out.data(), copy.data(), &got.length, &wc);
    got.out = out.bytes();
    got.asserts = recorder.asserts().size();
    return got;
}

TEST(IrtKey, TheFirstWordThatIsSetPicksTheForm)
{
    const Bytes key = numbered(30);
    const auto part = [&key](std::size_t at, std::size_t count) { return slice(key, at, count); };
    const Bytes star_star = part(0, 8) + Bytes(10) + part(10, 4);
    const Bytes star_g = part(0, 8) + Bytes(5) + part(9, 1) + part(10, 4) + part(14, 4);
    const Bytes source_star = part(0, 8) + part(8, 5) + Bytes(1) + part(14, 4) + Bytes(4);
    expect_key(change_key(key, {1, 0, 0, 0}), star_star);
    expect_key(change_key(key, {1, 1, 1, 0}), star_star);
    expect_key(change_key(key, {0, 1, 0, 0}), star_g);
    expect_key(change_key(key, {0, 1, 1, 0}), star_g);
    expect_key(change_key(key, {0, 0, 1, 0}), source_star);
    expect_key(change_key(key, {0, 0, 0x100, 0}), source_star);
    expect_key(change_key(key, {1, 0, 0, 1}), part(0, 8) + Bytes(10) + part(10, 16));
    expect_key(change_key(key, {0, 1, 0, 2}), part(0, 8) + Bytes(5) + part(9, 5) + part(14, 16));
    expect_key(change_key(key, {0, 0, 1, 1}), part(0, 13) + Bytes(1) + part(14, 16) + Bytes(4));
}

TEST(IrtKey, WithoutAWordTheShapeIsReportedAndGoesOutEmpty)
{
    for (const std::uint32_t orig_ipv6 : {0U, 1U}) {
        const KeyGot got = change_key(numbered(30), {0, 0, 0, orig_ipv6});
        const std::size_t length = orig_ipv6 != 0 ? 34 : 22;
        EXPECT_EQ(got.asserts, 1U);
        EXPECT_EQ(got.length, length);
        EXPECT_EQ(hex(got.out), hex(Bytes(length) + untouched(58 - length)));
    }
}

TEST(IrtKey, TheShapeReportsTheFirstMissingArgumentAndWritesNothing)
{
    const OddBytes key(numbered(30));
    const QEL_NGMVPN_WC_TYPE_S wc = words_record({1, 0, 0, 0});
    expect_nulls_reported_in_order(4, [&](unsigned nulls) {
        OddBytes out(untouched(58));
        std::uint8_t length = 14;
        QEL_NGMVPN_ChangeRouteKeyFormat(null_if(nulls, 0, out.data()), null_if(nulls, 1, key.data()),
                                        null_if(nulls, 2, &length), null_if(nulls, 3, &wc));
        EXPECT_EQ(out.bytes(), untouched(58));
        EXPECT_EQ(length, 14U);
    });
}

// --- the rows -------------------------------------------------------------------------------------------------------

using ParseRow = std::pair<std::uint32_t, IrtParser>;
using FormatRow = std::pair<std::uint32_t, decltype(&QEL_NGMVPN_FormatIrtTlv)>;

TEST(IrtRows, TypesAndHandlersInTheirOrder)
{
    const auto parse_rows = [](const auto &table) {
        std::vector<ParseRow> out;
        for (const QEL_DISPATCH_ENTRY_S &entry : table) {
            if (entry.pfParseMsg == &QEL_NGMVPN_ParseIrtTlv || entry.pfParseMsg == &QEL_NGMVPN_ParseVrfIrtTlv) {
                out.emplace_back(entry.uiType, entry.pfParseMsg);
            }
        }
        return out;
    };
    const auto format_rows = [](const auto &table) {
        std::vector<FormatRow> out;
        for (const QEL_DISPATCH_ENTRY_S &entry : table) {
            if (entry.pfFormatMsg == &QEL_NGMVPN_FormatIrtTlv) {
                out.emplace_back(entry.uiType, entry.pfFormatMsg);
            }
        }
        return out;
    };
    const IrtParser irt = QEL_NGMVPN_ParseIrtTlv;
    const IrtParser vrf = QEL_NGMVPN_ParseVrfIrtTlv;
    EXPECT_EQ(parse_rows(g_astQelNgmvpnMsgParseTbl),
              (std::vector<ParseRow>{
                  {56, irt}, {57, irt}, {18, irt}, {20, irt}, {19, irt}, {21, irt}, {157, vrf}, {158, vrf}}));
    EXPECT_EQ(parse_rows(g_astQelNgmvpnHaMsgParseTbl),
              (std::vector<ParseRow>{{6, irt}, {7, irt}, {10, vrf}, {11, vrf}}));
    const auto format = QEL_NGMVPN_FormatIrtTlv;
    EXPECT_EQ(format_rows(g_astQelNgmvpnMsgFormatTbl), (std::vector<FormatRow>{{56, format}, {57, format}}));
    EXPECT_EQ(format_rows(g_astQelNgmvpnHaMsgFormatTbl),
              (std::vector<FormatRow>{{6, format}, {7, format}, {10, format}, {11, format}}));
}

TEST(IrtRows, TheCompareOfCrossValuesStandsBeforeThatOfAttributes)
{
    const auto types = [](const auto &table) {
        std::vector<std::uint32_t> out;
        for (const QEL_DISPATCH_ENTRY_S &entry : table) {
            out.push_back(entry.uiType);
        }
        return out;
    };
    const std::vector<std::uint32_t> wanted{1, 2, 4, 16, 8};
    EXPECT_EQ(types(g_astQelNgmvpnCmpDataTbl), wanted);
    EXPECT_EQ(types(g_astQelNgmvpnCmpAttrDataTbl), wanted);
    ASSERT_NE(QEL_NGMVPN_GetDataCmpEntry(16), nullptr);
    EXPECT_EQ(QEL_NGMVPN_GetDataCmpEntry(16)->pfCmpData, &QEL_NGMVPN_CmpCross);
    ASSERT_NE(QEL_NGMVPN_GetDataCmpAttrEntry(16), nullptr);
    EXPECT_EQ(QEL_NGMVPN_GetDataCmpAttrEntry(16)->pfCmpDataForAttrType, &QEL_NGMVPN_CmpCrossAttr);
}

TEST_F(IrtTest, MessagesAreReadThroughTheDescriptor)
{
    const auto read = [&](QEL_PARSE_TLV_F operation, std::uint32_t type, const Bytes &value) {
        return run_parser(value, 0, [&](auto cursor, auto result, auto) {
            return operation(*cursor, static_cast<std::uint32_t>(value.size()), type, result, ctx_);
        });
    };
    const Bytes short_private(20, 0x02); // a type word of no route target, so that the two handlers differ
    for (const std::uint32_t type : {56U, 57U, 18U, 20U, 19U, 21U}) {
        SCOPED_TRACE(type);
        expect_cross_block(read(instance_.desc.pfParseMsg, type, kRtAs2.wire), kRtAs2.host);
        expect_no_block(read(instance_.desc.pfParseMsg, type, short_private), kBadType, 0);
    }
    for (const std::uint32_t type : {157U, 158U}) {
        SCOPED_TRACE(type);
        expect_cross_block(read(instance_.desc.pfParseMsg, type, short_private), Bytes{1} + short_private);
        expect_no_block(read(instance_.desc.pfParseMsg, type, kRtAs2.wire), kNull, 1);
    }
    for (const std::uint32_t type : {6U, 7U}) {
        SCOPED_TRACE(type);
        expect_cross_block(read(instance_.desc.pfParseHaMsg, type, kRtAs2.wire), kRtAs2.host);
        expect_no_block(read(instance_.desc.pfParseHaMsg, type, short_private), kBadType, 0);
    }
    for (const std::uint32_t type : {10U, 11U}) {
        SCOPED_TRACE(type);
        expect_cross_block(read(instance_.desc.pfParseHaMsg, type, short_private), Bytes{1} + short_private);
        expect_no_block(read(instance_.desc.pfParseHaMsg, type, kRtAs2.wire), kNull, 1);
    }
}

TEST_F(IrtTest, MessagesAreWrittenThroughTheDescriptor)
{
    const auto write = [&](QEL_FORMAT_TLV_F operation, std::uint32_t type, const Bytes &value) {
        const OddBytes copy(value);
        OddBytes out(untouched(value.size()));
        std::uint8_t *cursor = out.data();
        QEL_ROUTE_INFO_S route{};
        route.pucCross = copy.data();
        route.uiCrossLen = copy.size();
        EXPECT_EQ(operation(&route, type, &cursor, out.size(), ctx_), 0U);
        EXPECT_EQ(cursor, out.data() + out.size());
        return out.hex();
    };
    for (const std::uint32_t type : {56U, 57U}) {
        EXPECT_EQ(write(instance_.desc.pfFormatMsg, type, kRtIp4.host), hex(kRtIp4.wire)) << type;
    }
    for (const std::uint32_t type : {6U, 7U, 10U, 11U}) {
        EXPECT_EQ(write(instance_.desc.pfFormatHaMsg, type, kRtIp4.host), hex(kRtIp4.wire)) << type;
        EXPECT_EQ(write(instance_.desc.pfFormatHaMsg, type, numbered(31)), hex(numbered(31))) << type;
    }
}

// kept: these types are read and never written
TEST_F(IrtTest, SixMessageTypesHaveNoWriter)
{
    for (const std::uint32_t type : {18U, 19U, 20U, 21U, 157U, 158U}) {
        QEL_ROUTE_INFO_S route{};
        std::uint8_t octet = kUntouchedOctet;
        std::uint8_t *cursor = &octet;
        EXPECT_EQ(instance_.desc.pfFormatMsg(&route, type, &cursor, 1, ctx_), QEL_ERR_NO_ENTRY) << type;
        EXPECT_EQ(cursor, &octet);
        EXPECT_EQ(octet, kUntouchedOctet);
    }
}

} // namespace
} // namespace qel::test
