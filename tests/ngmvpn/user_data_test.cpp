// User data of next-hop lookups, made from a route and turned back into a key.
#include "segment_cases.h"

namespace qel::test {
namespace {

const Bytes kAddress = bytes("20010db8 01020304 05060708 090a0b0c");

// Elements of the IPv6 list in host order: each word of the address swapped.
Bytes ipv6_element(const Bytes &address, std::uint16_t type = 0x000b, std::uint16_t local = 7)
{
    Bytes out = le16(type);
    for (std::size_t at = 0; at < 16; at += 4) {
        out = out + reversed(address, at, 4);
    }
    return out + le16(local);
}

const Bytes kOtherAddress = bytes("20010db8 ffffffff eeeeeeee dddddddd");

struct UserData {
    std::uint32_t code = 0;
    bool stored = false;
    bool data = false;
    Bytes octets{}; // all that was allocated
    std::uint32_t length = kUnwritten;
    std::size_t asserts = 0;
    std::uint64_t allocations = 0;
};

UserData ask(const QEL_ROUTE_INFO_S &route, QEL_FAMILY_CTX_S *ctx)
{
    dirty_the_heap(28);
    std::uint8_t marker = 0;
    std::uint8_t *data = &marker;
    const std::uint64_t live = platform::usage(kMemHandle).live_bytes;
    const std::uint64_t made = allocations();
    const platform::Recorder recorder;
    UserData got;
    got.code = QEL_NGMVPN_GetCmcastNhpUserData(&route, &data, &got.length, ctx);
    got.asserts = recorder.asserts().size();
    got.allocations = allocations() - made;
    EXPECT_TRUE(recorder.debugs().empty());
    got.stored = data != &marker;
    got.data = got.stored && data != nullptr;
    if (got.data) {
        got.octets.assign(data, data + (platform::usage(kMemHandle).live_bytes - live));
        ZVK_Free_F(data, __FILE__, __LINE__);
    }
    return got;
}

UserData ask(const Sections &sections, QEL_FAMILY_CTX_S *ctx)
{
    const HostRoute route(sections);
    return ask(route.info, ctx);
}

void expect_data(const UserData &got, const Bytes &octets)
{
    EXPECT_EQ(got.code, 0U);
    ASSERT_TRUE(got.data);
    EXPECT_EQ(hex(got.octets), hex(octets));
    EXPECT_EQ(got.length, 28U);
    EXPECT_EQ(got.asserts, 0U);
}

void expect_nothing(const UserData &got, std::uint32_t code, std::size_t asserts)
{
    EXPECT_EQ(got.code, code);
    EXPECT_TRUE(got.stored);
    EXPECT_FALSE(got.data);
    EXPECT_EQ(got.length, 0U);
    EXPECT_EQ(got.asserts, asserts);
}

using NextHopData = PolicyTest;

TEST_F(NextHopData, OfAnIntraRouteIsTheIpv4Originator)
{
    expect_data(ask({.key = intra_key(rd_b(), o4())}, ctx_), bytes("00000000 0100 010200c0 0700 0b0aa8c0") + Bytes(12));
}

TEST_F(NextHopData, OfAnIntraRouteIsTheIpv6OriginatorAsItStands)
{
    expect_data(ask({.key = intra_key(rd_a(), o6())}, ctx_), bytes("01000000 0000 6400 01000000" + kO6));
}

TEST_F(NextHopData, AnyOriginatorLengthBut32IsTakenForIpv6)
{
    for (const std::uint8_t length : std::initializer_list<std::uint8_t>{0, 1, 31, 33, 127, 255}) {
        QEL_NGMVPN_KEY_S key = intra_key(rd_a(), o6());
        key.uKey.stIntraIpmsiAd.ucOrigAddrLen = length;
        expect_data(ask({.key = key}, ctx_), bytes("01000000 0000 6400 01000000" + kO6));
    }
}

TEST_F(NextHopData, OfAnIpv4OriginatorOneWordIsTaken)
{
    QEL_NGMVPN_KEY_S key = intra_key(rd_a(), o6());
    key.uKey.stIntraIpmsiAd.ucOrigAddrLen = 32;
    expect_data(ask({.key = key, .ipv6_list = ipv6_element(kAddress)}, ctx_),
                bytes("00000000 0000 6400 01000000 20010db8") + Bytes(12));
}

TEST_F(NextHopData, OfACMulticastRouteWithoutIpv6ListIsItsSourceAs)
{
    for (const std::uint32_t type : {7U, 8U}) {
        expect_data(ask({.key = cmcast_key(type, rd_c(), 0x01020304, s4(), g4()), .list = Bytes(8, 1)}, ctx_),
                    bytes("00000000 0200 03020100 0900 04030201") + Bytes(12));
    }
}

TEST_F(NextHopData, OfACMulticastRouteWithIpv6ListIsTheFirstAddressInWireOrder)
{
    for (const std::uint32_t type : {7U, 8U}) {
        const QEL_NGMVPN_KEY_S key = cmcast_key(type, rd_c(), 0x01020304, s6(), g6());
        const Bytes want = bytes("01000000 0200 03020100 0900") + kAddress;
        expect_data(ask({.key = key, .ipv6_list = ipv6_element(kAddress)}, ctx_), want);
        expect_data(ask({.key = key, .ipv6_list = ipv6_element(kAddress) + ipv6_element(kOtherAddress)}, ctx_), want);
        expect_data(ask({.key = key, .ipv6_list = ipv6_element(kAddress, 0x1234, 0xffff)}, ctx_), want);
    }
}

TEST_F(NextHopData, OfAGlobalTableRouteWithTwoIpv6TargetsIsAllZero)
{
    const QEL_NGMVPN_KEY_S key = cmcast_key(8, rd0(0, 0), 0x01020304, s6(), g6());
    const Bytes one = ipv6_element(kAddress);
    expect_data(ask({.key = key, .ipv6_list = one + ipv6_element(kOtherAddress)}, ctx_), Bytes(28));
    expect_data(ask({.key = key, .ipv6_list = one + Bytes(1)}, ctx_), Bytes(28));
    expect_data(ask({.key = key, .ipv6_list = one}, ctx_), bytes("01000000 0000000000000000") + kAddress);
}

TEST_F(NextHopData, ADualRootClearsAll28OctetsKindAndRdToo)
{
    const OddBytes key(bytes_of(cmcast_key(8, rd0(0, 0), 5, s6(), g6())));
    const HostRoute dual({.key = std::nullopt, .ipv6_list = Bytes(40, 1)});
    OddBytes out(Bytes(28, 0xee));
    QEL_NGMVPN_GetCmcastNhpUserDataForCmcast(out.data(), reinterpret_cast<const QEL_NGMVPN_KEY_AT_S *>(key.data()),
                                             &dual.info);
    EXPECT_EQ(out.bytes(), Bytes(28));
}

TEST_F(NextHopData, ADualRootNeedsEightZeroOctetsAndMoreThanOneElement)
{
    const Bytes two(40, 1);
    for (std::size_t at = 0; at <= 8; ++at) {
        QEL_NGMVPN_KEY_S key = cmcast_key(7, rd0(0, 0), 1, s6(), g6());
        if (at < 8) {
            reinterpret_cast<std::uint8_t *>(&key.stRd)[at] = 0x80;
        }
        const OddBytes held(bytes_of(key));
        const QEL_NGMVPN_KEY_AT_S *at_key = reinterpret_cast<const QEL_NGMVPN_KEY_AT_S *>(held.data());
        HostRoute route({.key = key, .ipv6_list = two});
        for (const std::uint32_t length : {0U, 19U, 20U, 21U, 40U}) {
            route.info.uiIpv6ExtCommLen = length;
            EXPECT_EQ(QEL_NGMVPN_IsGtmBierV6CmcastDualRoot(at_key, &route.info), at == 8 && length > 20 ? 1U : 0U)
                << at << " " << length;
        }
    }
}

TEST_F(NextHopData, AGlobalTableRouteWithoutIpv6ListIsNoDualRoot)
{
    HostRoute route({.key = cmcast_key(8, rd0(0, 0), 0x01020304, s6(), g6())});
    route.info.uiIpv6ExtCommLen = 40;
    expect_data(ask(route.info, ctx_), Bytes(12) + bytes("04030201") + Bytes(12));
}

TEST_F(NextHopData, TheRdStandsAtOctet4AndTheAddressAtOctet12)
{
    for (const QEL_NGMVPN_KEY_S &key : {intra_key(rd_b(), o4()), cmcast_key(7, rd_b(), 0xc0a80a0b, s4(), g4())}) {
        const UserData got = ask({.key = key}, ctx_);
        ASSERT_EQ(got.octets.size(), 28U);
        EXPECT_EQ(slice(got.octets, 4, 8), bytes_of(rd_b()));
        EXPECT_EQ(slice(got.octets, 12, 4), bytes("0b0aa8c0"));
    }
}

TEST_F(NextHopData, NoOtherRouteHasOne)
{
    for (const std::uint32_t type : {0U, 2U, 3U, 4U, 5U, 6U, 9U, 0x101U, 0x10007U}) {
        const UserData got = ask({.key = empty_key(type, rd_a()), .ipv6_list = ipv6_element(kAddress)}, ctx_);
        expect_nothing(got, 0, 0);
        EXPECT_EQ(got.allocations, 0U);
    }
}

TEST_F(NextHopData, NoMemoryStoresNullAndZero)
{
    const HostRoute intra({.key = intra_key(rd_a(), o4())});
    const HostRoute cmcast({.key = cmcast_key(8, rd_a(), 1, s4(), g4())});
    for (const HostRoute *route : {&intra, &cmcast}) {
        std::uint8_t marker = 0;
        std::uint8_t *data = &marker;
        std::uint32_t length = kUnwritten;
        const platform::Recorder recorder;
        const platform::FailAllocation failure(0);
        EXPECT_EQ(QEL_NGMVPN_GetCmcastNhpUserData(&route->info, &data, &length, ctx_), kOutOfMemory);
        EXPECT_TRUE(failure.fired());
        EXPECT_EQ(data, nullptr);
        EXPECT_EQ(length, 0U);
        EXPECT_EQ(recorder.asserts().size(), 1U);
    }
}

TEST_F(NextHopData, TheHeapIsTakenEvenWhileTheInlineBufferIsFree)
{
    EXPECT_EQ(ask({.key = intra_key(rd_a(), o4())}, ctx_).allocations, 1U);
}

TEST_F(NextHopData, NullArgumentsAreRefusedWithOneReport)
{
    const HostRoute route({.key = intra_key(rd_a(), o4())});
    const HostRoute keyless({.key = std::nullopt});
    std::uint8_t marker = 0;
    std::uint8_t *data = &marker;
    std::uint32_t length = kUnwritten;
    expect_null_arguments_refused(5, [&](unsigned nulls) {
        const QEL_ROUTE_INFO_S &info = (nulls & 16) != 0 ? keyless.info : route.info;
        return QEL_NGMVPN_GetCmcastNhpUserData(unless((nulls & 1) != 0, &info), unless((nulls & 2) != 0, &data),
                                               unless((nulls & 4) != 0, &length), unless((nulls & 8) != 0, ctx_));
    });
    EXPECT_EQ(data, &marker);
    EXPECT_EQ(length, kUnwritten);
}

TEST_F(NextHopData, TheStepsFillWhatTheOperationCleared)
{
    const OddBytes intra(bytes_of(intra_key(rd_b(), o4())));
    const OddBytes cmcast(bytes_of(cmcast_key(8, rd0(0, 0), 5, s6(), g6())));
    const HostRoute dual({.key = std::nullopt, .ipv6_list = Bytes(40, 1)});
    OddBytes out(Bytes(28, 0xee));
    QEL_NGMVPN_GetCmcastNhpUserDataForIntraAd(out.data(), reinterpret_cast<const QEL_NGMVPN_KEY_AT_S *>(intra.data()));
    EXPECT_EQ(hex(slice(out.bytes(), 4, 12)), "0100010200c007000b0aa8c0");
    QEL_NGMVPN_GetCmcastNhpUserDataForCmcast(out.data(), reinterpret_cast<const QEL_NGMVPN_KEY_AT_S *>(cmcast.data()),
                                             &dual.info);
    EXPECT_EQ(out.bytes(), Bytes(28));
}

TEST_F(NextHopData, TheStepsRefuseNullArgumentsWithOneReport)
{
    const QEL_NGMVPN_KEY_S key = cmcast_key(8, rd0(0, 0), 5, s6(), g6());
    const HostRoute route({.ipv6_list = Bytes(40, 1)});
    Bytes out(28, 0xee);
    expect_null_arguments_refused(2, [&](unsigned nulls) {
        QEL_NGMVPN_GetCmcastNhpUserDataForIntraAd(unless((nulls & 1) != 0, out.data()), unless((nulls & 2) != 0, &key));
        return kNull; // this one only reports
    });
    expect_null_arguments_refused(3, [&](unsigned nulls) {
        QEL_NGMVPN_GetCmcastNhpUserDataForCmcast(unless((nulls & 1) != 0, out.data()), unless((nulls & 2) != 0, &key),
                                                 unless((nulls & 4) != 0, &route.info));
        return kNull; // this one only reports
    });
    expect_null_arguments_refused(2, [&](unsigned nulls) {
        return QEL_NGMVPN_IsGtmBierV6CmcastDualRoot(unless((nulls & 1) != 0, &key),
                                                    unless((nulls & 2) != 0, &route.info));
    });
    EXPECT_EQ(out, Bytes(28, 0xee));
}

// --- back to a key --------------------------------------------------------------------------------------------------

// The data ends with exactly its slack behind it.
Answer key_of(const Bytes &data, std::uint32_t length, const QEL_FAMILY_DESC_S &desc, QEL_FAMILY_CTX_S *ctx)
{
    Bytes with_slack = data;
    with_slack.resize(length + std::size_t{QEL_MSG_READ_SLACK}, 0x5c);
    const OddBytes given(with_slack);
    return answer_of([&](auto result) { return desc.pfGetIntraNlriKeyByUserData(given.data(), length, result, ctx); });
}

void expect_key(const Answer &got, const Bytes &rd, const Addr &orig)
{
    EXPECT_EQ(got.code, 0U);
    EXPECT_EQ(got.asserts, 0U);
    EXPECT_TRUE(got.log.empty());
    ASSERT_TRUE(got.block);
    QEL_ROUTE_BLOCK_S header{};
    header.uiValidMask = 0x3;
    header.usRdOffset = 32;
    header.usRdLen = 8;
    header.usKeyOffset = 40;
    header.usKeyLen = 104;
    ASSERT_EQ(hex(got.block.section(0, 32)), hex(bytes_of(header)));
    EXPECT_EQ(hex(got.block.section(32, 8)), hex(rd));
    QEL_NGMVPN_KEY_S key = intra_key(rd0(0, 0), orig); // the key holds no RD
    key.ucRdKind = 0;
    EXPECT_EQ(hex(got.block.section(40, 104)), hex(bytes_of(key)));
}

const Bytes kRdOctets = bytes("f0f1f2f3f4f5f6f7");
const Bytes kData4 = bytes("00a1a2a3") + kRdOctets + bytes("0b0aa8c0 e0e1e2e3e4e5e6e7e8e9eaeb");
const Bytes kData6 = bytes("01a1a2a3") + kRdOctets + bytes(kO6);

using IntraKey = PolicyTest;

TEST_F(IntraKey, Ipv4DataBecomesTheKeyOfItsOriginator)
{
    for (const std::uint32_t length : {29U, 27U, 100U}) {
        expect_key(key_of(kData4, length, instance_.desc, ctx_), kRdOctets, o4());
    }
}

TEST_F(IntraKey, Ipv6DataBecomesTheKeyOfItsOriginator)
{
    for (const std::uint32_t length : {29U, 27U, 100U}) {
        expect_key(key_of(kData6, length, instance_.desc, ctx_), kRdOctets, o6());
    }
}

// kept: the one length that the library itself makes is the one that is refused
TEST_F(IntraKey, DataOfTheLengthThatTheLibraryMakesIsRefused)
{
    for (const Bytes &data : {kData4, kData6}) {
        const Answer got = key_of(data, 28, instance_.desc, ctx_);
        expect_untouched(got, kNull, 1);
        EXPECT_TRUE(got.log.empty());
        EXPECT_EQ(got.allocations, 0U);
    }
}

TEST_F(IntraKey, OnlyTheFirstOctetOfTheKindIsRead)
{
    for (const std::string_view rest : {"000000", "010000", "0000ff"}) {
        expect_key(key_of(bytes("00") + bytes(rest) + slice(kData4, 4, 24), 29, instance_.desc, ctx_), kRdOctets, o4());
        expect_key(key_of(bytes("01") + bytes(rest) + slice(kData6, 4, 24), 29, instance_.desc, ctx_), kRdOctets, o6());
    }
}

TEST_F(IntraKey, OfAnIpv4OriginatorOneWordIsTaken)
{
    const Answer got = key_of(kData4, 29, instance_.desc, ctx_);
    ASSERT_TRUE(got.block);
    EXPECT_EQ(got.block.section(40 + 8, 1), bytes("20"));
    EXPECT_EQ(got.block.section(40 + 12, 16), bytes("0b0aa8c0") + Bytes(12));
}

// kept: the key's own RD stays zero
TEST_F(IntraKey, TheRdStandsInItsSectionAlone)
{
    const Answer got = key_of(kData6, 29, instance_.desc, ctx_);
    ASSERT_TRUE(got.block);
    EXPECT_EQ(got.block.section(32, 8), kRdOctets);
    EXPECT_EQ(got.block.section(40 + 92, 12), Bytes(12));
}

TEST_F(IntraKey, NoOtherLengthIsLookedAt)
{
    for (const std::uint32_t length : {0U, 1U, 4U, 12U, 0x11cU}) {
        expect_key(key_of(kData6, length, instance_.desc, ctx_), kRdOctets, o6());
    }
    const OddBytes exact(kData6);
    Answer got = answer_of(
        [&](auto result) { return QEL_NGMVPN_GetIntraNlriKeyByUserData(exact.data(), 0xffffffff, result, ctx_); });
    expect_key(got, kRdOctets, o6());
}

TEST_F(IntraKey, AKindAbove1StoresNull)
{
    for (unsigned kind = 2; kind < 256; ++kind) {
        Bytes data = kData6;
        data[0] = static_cast<std::uint8_t>(kind);
        data[1] = data[2] = data[3] = 0;
        expect_no_block(key_of(data, 29, instance_.desc, ctx_), 0, 0);
    }
}

TEST_F(IntraKey, ABlockThatCanNotBeMadeIsNoMemory)
{
    const platform::FailAllocation failure(0);
    expect_no_block(key_of(kData4, 29, instance_.desc, ctx_), kNoMemory, 1);
    EXPECT_TRUE(failure.fired());
}

TEST_F(IntraKey, NullArgumentsAreRefusedWithOneReport)
{
    static QEL_ROUTE_BLOCK_S untouched{};
    QEL_ROUTE_BLOCK_S *result = &untouched;
    for (const std::uint32_t length : {28U, 29U}) {
        expect_null_arguments_refused(3, [&](unsigned nulls) {
            return QEL_NGMVPN_GetIntraNlriKeyByUserData(unless((nulls & 1) != 0, kData4.data()), length,
                                                        unless((nulls & 2) != 0, &result),
                                                        unless((nulls & 4) != 0, ctx_));
        });
    }
    EXPECT_EQ(result, &untouched);
}

TEST_F(IntraKey, WhatARouteMadeComesBackWithAnotherLength)
{
    const UserData made = ask({.key = intra_key(rd_b(), o6())}, ctx_);
    ASSERT_TRUE(made.data);
    expect_key(key_of(made.octets, 29, instance_.desc, ctx_), bytes_of(rd_b()), o6());
}

} // namespace
} // namespace qel::test
