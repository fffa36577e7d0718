// What the policy engine gets to see of a route: the flat buffer of match TLVs and the prefix entry.
#include "policy_cases.h"

#include "dirty_heap.h"

#include <array>
#include <cstddef>
#include <optional>

namespace qel::test {
namespace {

constexpr std::uint32_t kRdBit = 0x800;
constexpr std::uint32_t kListBit = 0x4;
constexpr std::uint32_t kSnhBit = 0x100000;
constexpr std::uint32_t kTypeBit = 0x100;
constexpr std::uint32_t kOriginBit = 0x200000;
constexpr std::array kBits{kRdBit, kListBit, kSnhBit, kTypeBit, kOriginBit};
constexpr std::uint32_t kAllBits = 0x300904;
constexpr std::uint32_t kAbsentSection = 0x80012;

const Bytes kRd = bytes("0100 02c80110 0700"); // no order of its own: it goes out as it stands
const Bytes kWireList = bytes("0002 fde9 00000064  010a c0a80a0b 0007  8012 01020304 0506");
const Addr kOrigin = v4(0x0a0b0c0d);

Bytes tlv(std::string_view head, const Bytes &value)
{
    return bytes(head) + value;
}

// --- a route to ask about -------------------------------------------------------------------------------------------

// Each section ends where its heap block ends and stands at an odd address.
struct Subject {
    std::uint32_t type = 1;
    std::optional<Bytes> rd = kRd;
    std::optional<Bytes> wire_list = kWireList;
    Addr origin = kOrigin;
    std::optional<std::uint32_t> list_len{}; // another length than that of the list

    QEL_NGMVPN_KEY_S key() const
    {
        QEL_NGMVPN_KEY_S out = empty_key(type, rd_a());
        std::memset(&out.uKey, 0x5a, sizeof(out.uKey));
        if (type == 3) {
            out.uKey.stSpmsiAd.ucOrigAddrLen = origin.len;
            out.uKey.stSpmsiAd.stOrigAddr = origin.value;
        } else { // no other type than 1 has its originator looked at, wherever it stands
            out.uKey.stIntraIpmsiAd.ucOrigAddrLen = origin.len;
            out.uKey.stIntraIpmsiAd.stOrigAddr = origin.value;
        }
        return out;
    }
};

class MatchRoute {
public:
    explicit MatchRoute(const Subject &subject)
        : key_(bytes_of(subject.key())), rd_(subject.rd.value_or(Bytes{})),
          list_(host_list(subject.wire_list.value_or(Bytes{}))), list_before_(list_.bytes())
    {
        route.pucKey = key_.data();
        route.uiKeyLen = key_.size();
        if (subject.rd) {
            route.pucRd = rd_.data();
            route.uiRdLen = rd_.size();
        }
        route.uiExtCommLen = subject.list_len.value_or(list_.size());
        if (subject.wire_list) {
            route.pucExtComm = list_.data();
        }
    }
    ~MatchRoute() { EXPECT_EQ(list_.bytes(), list_before_) << "the route's own list stays in host order"; }
    MatchRoute(const MatchRoute &) = delete;
    MatchRoute &operator=(const MatchRoute &) = delete;

    QEL_ROUTE_INFO_S route{};

private:
    OddBytes key_;
    OddBytes rd_;
    OddBytes list_;
    Bytes list_before_;
};

// --- the buffer -----------------------------------------------------------------------------------------------------

struct Match {
    std::uint32_t code = 0;
    bool written = false; // both outputs
    bool buffer = false;
    std::uint32_t length = kUnwritten;
    Bytes octets;
    std::size_t asserts = 0;
    Log log;
    std::uint64_t allocations = 0;
    std::uint64_t kept_bytes = 0;
};

std::uint64_t live_bytes()
{
    return platform::usage(kMemHandle).live_bytes;
}

// Asks, checks that both outputs were written or neither, and gives the buffer back.
Match ask(const QEL_ROUTE_INFO_S &route, std::uint32_t mask, QEL_FAMILY_CTX_S *ctx)
{
    std::uint8_t untouched = 0;
    std::uint8_t *buffer = &untouched;
    Match got;
    const std::uint64_t before = live_bytes();
    const std::uint64_t made = allocations();
    const platform::Recorder recorder;
    got.code = QEL_NGMVPN_ConstructMatch(&route, mask, &buffer, &got.length, ctx);
    got.allocations = allocations() - made;
    got.kept_bytes = live_bytes() - before;
    got.asserts = recorder.asserts().size();
    got.log = log_of(recorder);
    got.written = buffer != &untouched;
    EXPECT_EQ(got.written, got.length != kUnwritten);
    got.buffer = got.written && buffer != nullptr;
    if (got.buffer) {
        got.octets.assign(buffer, buffer + got.length);
        ZVK_Free_F(buffer, __FILE__, __LINE__);
    }
    return got;
}

Match ask(const Subject &subject, std::uint32_t mask, QEL_FAMILY_CTX_S *ctx)
{
    const MatchRoute route(subject);
    return ask(route.route, mask, ctx);
}

void expect_no_output(const Match &got, std::uint32_t code, std::size_t asserts)
{
    EXPECT_EQ(got.code, code);
    EXPECT_FALSE(got.written);
    EXPECT_EQ(got.asserts, asserts);
}

void expect_nulled(const Match &got, std::size_t asserts)
{
    EXPECT_EQ(got.code, 1U);
    EXPECT_TRUE(got.written);
    EXPECT_FALSE(got.buffer);
    EXPECT_EQ(got.length, 0U);
    EXPECT_EQ(got.asserts, asserts);
    EXPECT_EQ(got.kept_bytes, 0U);
}

void expect_buffer(const Match &got, const Bytes &octets)
{
    EXPECT_EQ(got.code, 0U);
    ASSERT_TRUE(got.buffer);
    EXPECT_EQ(hex(got.octets), hex(octets));
    EXPECT_EQ(got.kept_bytes, octets.size());
    EXPECT_EQ(got.asserts, 0U);
}

using MatchBuffer = PolicyTest;

TEST_F(MatchBuffer, ARouteDistinguisherAlone)
{
    expect_buffer(ask(Subject{.type = 8}, kRdBit, ctx_), tlv("000d 0008", kRd));
}

TEST_F(MatchBuffer, ARouteTypeAlone)
{
    expect_buffer(ask(Subject{.type = 1}, kTypeBit, ctx_), bytes("0026 0001 01"));
    expect_buffer(ask(Subject{.type = 3}, kTypeBit, ctx_), bytes("0026 0001 03"));
}

TEST_F(MatchBuffer, AnOriginatorAlone)
{
    expect_buffer(ask(Subject{.type = 1}, kOriginBit, ctx_), bytes("0027 0004 0a0b0c0d"));
    expect_buffer(ask(Subject{.type = 3}, kOriginBit, ctx_), bytes("0027 0004 0a0b0c0d"));
}

// kept: the segmented next hop row repeats the whole list, not the one community
TEST_F(MatchBuffer, TheSegmentedNextHopRowRepeatsTheWholeListOnRoutesOfTypes1And3Alone)
{
    const Bytes once = tlv("000b 0018", kWireList);
    for (const std::uint32_t type : {1U, 3U}) {
        expect_buffer(ask(Subject{.type = type}, kListBit | kSnhBit, ctx_), once + once);
        expect_buffer(ask(Subject{.type = type}, kSnhBit, ctx_), once);
    }
    for (const std::uint32_t type : {2U, 4U, 5U, 6U, 7U, 8U}) {
        expect_buffer(ask(Subject{.type = type}, kListBit | kSnhBit, ctx_), once);
        expect_no_output(ask(Subject{.type = type}, kSnhBit, ctx_), 0, 0);
    }
}

TEST_F(MatchBuffer, AllFiveRowsInTheirOrder)
{
    const Bytes list = tlv("000b 0018", kWireList);
    const Match got = ask(Subject{.type = 3}, kAllBits, ctx_);
    expect_buffer(got, tlv("000d 0008", kRd) + list + list + bytes("0026 0001 03  0027 0004 0a0b0c0d"));
    EXPECT_EQ(got.log, (Log{"ConstructMatchSnhExtCommunity type(3)", "ConstructMatchMvpnType type(3)",
                            "ConstructMatchOrigiIp type 3 origiIp(168496141)"}));
    EXPECT_EQ(got.allocations, 3U) << "the buffer and two copies of the list";
}

struct Expected {
    std::uint32_t code = 0;
    bool written = false;
    Bytes octets{};
    std::uint32_t length = 0; // of the buffer: what is behind the octets was not written
    Log log{};
};

bool auto_discovery(std::uint32_t type)
{
    return type == 1 || type == 3;
}

Expected expected(const Subject &of, std::uint32_t mask)
{
    const bool ad = auto_discovery(of.type);
    const bool list = (mask & kListBit) != 0;
    const bool again = ad && (mask & kSnhBit) != 0;
    if (!of.wire_list && (list || again)) {
        return {};
    }
    const std::string number = std::to_string(of.type);
    Expected out;
    std::uint32_t unwritten = 0;
    if ((mask & kRdBit) != 0) {
        out.octets = out.octets + tlv("000d 0008", of.rd.value_or(Bytes(8)));
    }
    if (list) {
        out.octets = out.octets + tlv("000b 0018", *of.wire_list);
    }
    if (again) {
        out.octets = out.octets + tlv("000b 0018", *of.wire_list);
        out.log.push_back("ConstructMatchSnhExtCommunity type(" + number + ")");
    }
    if (ad && (mask & kTypeBit) != 0) {
        out.octets = out.octets + bytes("0026 0001 0" + number);
        out.log.push_back("ConstructMatchMvpnType type(" + number + ")");
    }
    if (ad && (mask & kOriginBit) != 0 && of.origin.len == 32) {
        out.octets = out.octets + bytes("0027 0004 0a0b0c0d");
        out.log.push_back("ConstructMatchOrigiIp type " + number + " origiIp(168496141)");
    } else if (ad && (mask & kOriginBit) != 0) {
        unwritten = 8;
    }
    out.length = static_cast<std::uint32_t>(out.octets.size()) + unwritten;
    out.written = out.length != 0;
    if ((mask & kRdBit) != 0 && !of.rd) {
        return {.code = 1, .written = true};
    }
    return out;
}

void expect_answer(const Subject &subject, std::uint32_t mask, std::uint32_t other_bits, QEL_FAMILY_CTX_S *ctx)
{
    const Expected want = expected(subject, mask);
    const Match got = ask(subject, mask | other_bits, ctx);
    ASSERT_EQ(got.code, want.code);
    ASSERT_EQ(got.asserts, 0U);
    ASSERT_EQ(got.written, want.written);
    ASSERT_EQ(got.log, want.log);
    ASSERT_EQ(got.buffer, want.length != 0);
    if (want.written) {
        ASSERT_EQ(got.length, want.length);
        ASSERT_EQ(got.kept_bytes, want.length);
    }
    if (got.buffer) {
        ASSERT_EQ(hex(slice(got.octets, 0, want.octets.size())), hex(want.octets));
    } else if (want.code == 0) {
        ASSERT_EQ(got.allocations, 0U);
    }
}

constexpr std::array<std::uint32_t, 14> kTypes{1, 2, 3, 4, 5, 6, 7, 8, 0, 9, 0x101, 0x10001, 0x80000003, 0xffffffff};

TEST_F(MatchBuffer, EveryMaskOnEveryTypeOfRouteWithAndWithoutItsSections)
{
    for (unsigned choice = 0; choice < 32; ++choice) {
        std::uint32_t mask = 0;
        for (std::size_t bit = 0; bit < kBits.size(); ++bit) {
            mask |= (choice >> bit & 1) != 0 ? kBits[bit] : 0;
        }
        for (const std::uint32_t type : kTypes) {
            for (const std::optional<Bytes> &rd : {std::optional(kRd), std::optional<Bytes>()}) {
                for (const std::optional<Bytes> &list : {std::optional(kWireList), std::optional<Bytes>()}) {
                    for (const Addr &origin : {kOrigin, o6(), none()}) {
                        const Subject subject{.type = type, .rd = rd, .wire_list = list, .origin = origin};
                        SCOPED_TRACE(::testing::Message() << std::hex << mask << " type " << type << " rd " << !!rd
                                                          << " list " << !!list << " origin " << +origin.len);
                        if (mask != 0) {
                            ASSERT_NO_FATAL_FAILURE(expect_answer(subject, mask, 0, ctx_));
                        }
                        ASSERT_NO_FATAL_FAILURE(expect_answer(subject, mask, ~kAllBits, ctx_));
                    }
                }
            }
        }
    }
}

TEST_F(MatchBuffer, AMaskOfZeroIsReportedAndRefused)
{
    expect_no_output(ask(Subject{}, 0, ctx_), kNull, 1);
}

TEST_F(MatchBuffer, NullArgumentsAreRefusedWithOneReport)
{
    const MatchRoute route{Subject{}};
    std::uint8_t *buffer = nullptr;
    std::uint32_t length = kUnwritten;
    expect_null_arguments_refused(4, [&](unsigned nulls) {
        return QEL_NGMVPN_ConstructMatch(unless((nulls & 1) != 0, &route.route), kAllBits,
                                         unless((nulls & 2) != 0, &buffer), unless((nulls & 4) != 0, &length),
                                         unless((nulls & 8) != 0, ctx_));
    });
    expect_null_arguments_refused(4, [&](unsigned nulls) { // the mask is looked at last
        return QEL_NGMVPN_ConstructMatch(unless((nulls & 1) != 0, &route.route), 0, unless((nulls & 2) != 0, &buffer),
                                         unless((nulls & 4) != 0, &length), unless((nulls & 8) != 0, ctx_));
    });
    EXPECT_EQ(buffer, nullptr);
    EXPECT_EQ(length, kUnwritten);
}

// kept: the length step reports the missing key, the operation takes its length of 0 for nothing asked
TEST_F(MatchBuffer, ARouteWithoutAKeyIsReportedAndAnsweredWithNothing)
{
    MatchRoute route{Subject{}};
    route.route.pucKey = nullptr;
    for (const std::uint32_t mask : {kAllBits, kRdBit, kListBit, kSnhBit, kTypeBit, kOriginBit, 1U}) {
        SCOPED_TRACE(mask);
        const Match got = ask(route.route, mask, ctx_);
        expect_no_output(got, 0, 1);
        EXPECT_EQ(got.allocations, 0U);
    }
}

// kept: without a community list a mask that asks for one gets nothing at all, the RD neither
TEST_F(MatchBuffer, AMissingListAsksForNothingAtAllWhateverElseTheMaskAsksFor)
{
    for (const std::uint32_t rest : {0U, kRdBit, kTypeBit, kOriginBit, kRdBit | kTypeBit | kOriginBit}) {
        expect_no_output(ask(Subject{.wire_list = {}}, rest | kListBit, ctx_), 0, 0);
        expect_no_output(ask(Subject{.wire_list = {}}, rest | kSnhBit, ctx_), 0, 0);
        expect_no_output(ask(Subject{.wire_list = {}, .list_len = 24}, rest | kListBit, ctx_), 0, 0);
        expect_no_output(ask(Subject{.rd = {}, .wire_list = {}}, rest | kListBit, ctx_), 0, 0);
    }
    expect_buffer(ask(Subject{.type = 2, .wire_list = {}}, kRdBit | kSnhBit, ctx_), tlv("000d 0008", kRd));
}

TEST_F(MatchBuffer, AMissingRouteDistinguisherNullsTheOutputs)
{
    expect_nulled(ask(Subject{.rd = {}}, kRdBit, ctx_), 0);
    const Match got = ask(Subject{.rd = {}}, kAllBits, ctx_);
    expect_nulled(got, 0);
    EXPECT_EQ(got.log, Log{}) << "the rows behind it are not walked";
}

// kept: the length counts 8 octets for an originator that is not written when it is no IPv4 address
TEST_F(MatchBuffer, AnIpv6OriginatorIsCountedAndNotWritten)
{
    for (const std::uint32_t type : {1U, 3U}) {
        for (const Addr &origin : {o6(), none(), Addr{33, o4().value}}) {
            SCOPED_TRACE(+origin.len);
            dirty_the_heap(8);
            const Match alone = ask(Subject{.type = type, .origin = origin}, kOriginBit, ctx_);
            EXPECT_EQ(alone.code, 0U);
            EXPECT_EQ(alone.length, 8U);
            ASSERT_TRUE(alone.buffer);
            EXPECT_NE(hex(alone.octets), hex(Bytes(8))) << "as the allocator left them";
            EXPECT_EQ(alone.log, Log{});
            dirty_the_heap(13);
            const Match behind = ask(Subject{.type = type, .origin = origin}, kOriginBit | kTypeBit, ctx_);
            EXPECT_EQ(behind.length, 13U);
            ASSERT_TRUE(behind.buffer);
            EXPECT_EQ(hex(slice(behind.octets, 0, 5)), "002600010" + std::to_string(type));
            EXPECT_NE(hex(slice(behind.octets, 5, 8)), hex(Bytes(8)));
        }
    }
}

TEST_F(MatchBuffer, AListOfAnyLengthGoesOutAsItStandsBehindItsWholeElements)
{
    const Bytes wire = bytes("0302 01020304 0506  0009 0102 03040506  aabbccddeeff11");
    for (std::size_t length = 1; length <= wire.size(); ++length) {
        SCOPED_TRACE(length);
        Bytes list = slice(wire, 0, length);
        const Bytes value = slice(wire, 0, length / 8 * 8) + slice(wire, length / 8 * 8, length % 8);
        const Bytes head = bytes("000b 00") + Bytes{static_cast<std::uint8_t>(length)};
        const Match got = ask(Subject{.type = 1, .wire_list = list}, kListBit | kSnhBit, ctx_);
        expect_buffer(got, head + value + head + value);
    }
}

TEST_F(MatchBuffer, AnEmptyListIsAnEmptyTlv)
{
    const Match got = ask(Subject{.type = 6, .wire_list = Bytes{}}, kListBit | kRdBit, ctx_);
    EXPECT_EQ(got.code, 0U);
    EXPECT_EQ(hex(got.octets), hex(tlv("000d 0008", kRd) + bytes("000b 0000")));
}

// kept: the length step counts all of the list's length, the row takes its low 16 bits
TEST_F(MatchBuffer, AListBeyond16BitsIsCountedWholeAndWrittenByItsLowBits)
{
    const Bytes element = bytes("0002 fde9 00000064");
    const Match got = ask(Subject{.type = 6, .wire_list = element, .list_len = 0x10008}, kListBit, ctx_);
    EXPECT_EQ(got.code, 0U);
    EXPECT_EQ(got.length, 0x1000cU);
    EXPECT_EQ(got.kept_bytes, 0x1000cU);
    ASSERT_TRUE(got.buffer);
    EXPECT_EQ(hex(slice(got.octets, 0, 12)), hex(tlv("000b 0008", element)));
}

TEST_F(MatchBuffer, AListWhoseLengthWrapsTheSumFindsNoRoom)
{
    expect_nulled(ask(Subject{.list_len = 0xffffffff}, kListBit, ctx_), 0);
    expect_nulled(ask(Subject{.list_len = 0xffffffff}, kListBit | kTypeBit, ctx_), 0);
    expect_nulled(ask(Subject{.list_len = 0xfffffffe}, kListBit | kSnhBit | kRdBit, ctx_), 0);
}

TEST_F(MatchBuffer, FailedAllocations)
{
    const Subject subject{.type = 1};
    {
        const platform::FailAllocation failure(0);
        expect_no_output(ask(subject, kAllBits, ctx_), kOutOfMemory, 1);
        EXPECT_TRUE(failure.fired());
    }
    for (const std::uint64_t after : {1U, 2U}) { // a copy of the list: the row's 3 becomes 1
        SCOPED_TRACE(after);
        const platform::FailAllocation failure(after);
        const Match got = ask(subject, kAllBits, ctx_);
        expect_nulled(got, 1);
        EXPECT_EQ(got.log, after == 1 ? Log{} : Log{"ConstructMatchSnhExtCommunity type(1)"});
        EXPECT_TRUE(failure.fired());
    }
    const platform::FailAllocation failure(3);
    EXPECT_EQ(ask(subject, kAllBits, ctx_).code, 0U);
    EXPECT_FALSE(failure.fired());
}

TEST_F(MatchBuffer, TheInlineBufferIsNeitherLentNorNeeded)
{
    const LentBuffer lent(ctx_);
    EXPECT_EQ(ask(Subject{}, kAllBits, ctx_).allocations, 3U);
}

TEST_F(MatchBuffer, IsReachedThroughTheDescriptor)
{
    const MatchRoute route{Subject{.type = 3}};
    std::uint8_t *buffer = nullptr;
    std::uint32_t length = 0;
    EXPECT_EQ(instance_.desc.pfConstructMatch(&route.route, kTypeBit, &buffer, &length, ctx_), 0U);
    ASSERT_EQ(length, 5U);
    EXPECT_EQ(hex({buffer, length}), "0026000103");
    ZVK_Free_F(buffer, __FILE__, __LINE__);
}

TEST_F(MatchBuffer, TlvsFollowOneAnotherWithoutPadding)
{
    const Bytes odd = bytes("0002 fde9 00000064  010a c0a80a");
    const Match got = ask(Subject{.wire_list = odd}, kRdBit | kListBit | kTypeBit | kOriginBit, ctx_);
    expect_buffer(got, tlv("000d 0008", kRd) + tlv("000b 000d", odd) + bytes("0026 0001 01  0027 0004 0a0b0c0d"));
}

TEST_F(MatchBuffer, OnlyTheRowsThatTheMaskAsksForAreWritten)
{
    expect_buffer(ask(Subject{.type = 3}, kRdBit | kTypeBit, ctx_), tlv("000d 0008", kRd) + bytes("0026 0001 03"));
    expect_buffer(ask(Subject{.type = 3}, kOriginBit, ctx_), bytes("0027 0004 0a0b0c0d"));
}

TEST_F(MatchBuffer, IsAllocatedOnTheContextsHandleAndBelongsToTheHost)
{
    const MatchRoute route{Subject{}};
    std::uint8_t *buffer = nullptr;
    std::uint32_t length = 0;
    const std::uint64_t before = live_bytes();
    ASSERT_EQ(QEL_NGMVPN_ConstructMatch(&route.route, kAllBits, &buffer, &length, ctx_), 0U);
    EXPECT_EQ(live_bytes() - before, 81U);
    ZVK_Free_F(buffer, __FILE__, __LINE__);
    EXPECT_EQ(live_bytes(), before);
}

// kept: nobody clears the buffer, so octets that are counted and not written are the allocator's
TEST_F(MatchBuffer, WhatIsCountedAndNotWrittenIsAsTheAllocatorLeftIt)
{
    dirty_the_heap(8);
    const Match got = ask(Subject{.origin = o6()}, kOriginBit, ctx_);
    ASSERT_TRUE(got.buffer);
    EXPECT_NE(hex(got.octets), hex(Bytes(8)));
}

TEST_F(MatchBuffer, TheCalculatedLengthIsStoredNotWhatTheRowsWrote)
{
    EXPECT_EQ(ask(Subject{.origin = o6()}, kOriginBit | kTypeBit, ctx_).length, 13U);
    EXPECT_EQ(ask(Subject{.origin = o4()}, kOriginBit | kTypeBit, ctx_).length, 13U);
}

TEST_F(MatchBuffer, WithoutMemoryForItBothOutputsStayAsTheyWere)
{
    const platform::FailAllocation failure(0);
    const Match got = ask(Subject{}, kAllBits, ctx_);
    EXPECT_EQ(got.code, kOutOfMemory);
    EXPECT_EQ(got.asserts, 1U);
    EXPECT_FALSE(got.written);
}

// kept: the code of a row is not passed on
TEST_F(MatchBuffer, WhateverCodeARowFailsWithBecomesOne)
{
    EXPECT_EQ(ask(Subject{.rd = {}}, kRdBit, ctx_).code, 1U) << "the row's 0x80012";
    EXPECT_EQ(ask(Subject{.list_len = 0xffffffff}, kListBit, ctx_).code, 1U) << "the row's 4";
    const platform::FailAllocation failure(1);
    EXPECT_EQ(ask(Subject{}, kListBit, ctx_).code, 1U) << "the row's 3";
}

TEST_F(MatchBuffer, ARowThatFailsGivesTheBufferBackAndStoresNullAndZero)
{
    const Match got = ask(Subject{.rd = {}}, kAllBits, ctx_);
    EXPECT_EQ(got.kept_bytes, 0U);
    EXPECT_TRUE(got.written);
    EXPECT_FALSE(got.buffer);
    EXPECT_EQ(got.length, 0U);
}

TEST_F(MatchBuffer, ARowThatFailsEndsTheWalk)
{
    const Match got = ask(Subject{.rd = {}}, kAllBits, ctx_);
    EXPECT_EQ(got.log, Log{});
    EXPECT_EQ(got.allocations, 1U) << "the buffer alone, no copy of the list";
}

// --- the length step ------------------------------------------------------------------------------------------------

std::uint32_t length_of(const Subject &subject, std::uint32_t mask)
{
    const MatchRoute route(subject);
    std::uint32_t length = kUnwritten;
    EXPECT_EQ(QEL_NGMVPN_CalcRtpMatchTlvLen(&route.route, mask, &length), 0U);
    return length;
}

TEST(MatchLength, IsTheSumOfTheRowsThatTheRouteHas)
{
    for (const std::uint32_t type : kTypes) {
        SCOPED_TRACE(type);
        const bool ad = auto_discovery(type);
        const Subject subject{.type = type};
        EXPECT_EQ(length_of(subject, kRdBit), 12U);
        EXPECT_EQ(length_of(subject, kListBit), 28U);
        EXPECT_EQ(length_of(subject, kSnhBit), ad ? 28U : 0U);
        EXPECT_EQ(length_of(subject, kTypeBit), ad ? 5U : 0U);
        EXPECT_EQ(length_of(subject, kOriginBit), ad ? 8U : 0U);
        EXPECT_EQ(length_of(subject, kAllBits), ad ? 81U : 40U);
        EXPECT_EQ(length_of(subject, 0), 0U) << "a sum of 0 is stored too";
        EXPECT_EQ(length_of(subject, ~kAllBits), 0U);
    }
}

TEST(MatchLength, EachRowCountsTheOctetsOfItsTlv)
{
    const Subject subject{.type = 3, .wire_list = Bytes(13)};
    EXPECT_EQ(length_of(subject, kRdBit), 12U);
    EXPECT_EQ(length_of(subject, kListBit), 17U);
    EXPECT_EQ(length_of(subject, kSnhBit), 17U);
    EXPECT_EQ(length_of(subject, kTypeBit), 5U);
    EXPECT_EQ(length_of(subject, kOriginBit), 8U);
}

TEST(MatchLength, TheLastThreeRowsCountOnRoutesOfTypes1And3Alone)
{
    for (const std::uint32_t type : kTypes) {
        SCOPED_TRACE(type);
        for (const std::uint32_t bit : {kSnhBit, kTypeBit, kOriginBit}) {
            EXPECT_EQ(length_of(Subject{.type = type}, bit) != 0, type == 1 || type == 3);
        }
    }
}

TEST(MatchLength, ASumOfZeroIsStored)
{
    EXPECT_EQ(length_of(Subject{.type = 6}, kTypeBit), 0U);
}

// kept: an originator that will not be written is counted
TEST(MatchLength, AnOriginatorOfAnyLengthCountsEight)
{
    for (const Addr &origin : {o4(), o6(), none()}) {
        EXPECT_EQ(length_of(Subject{.origin = origin}, kOriginBit), 8U);
    }
}

// kept: the row takes fewer
TEST(MatchLength, CountsAll32BitsOfTheListsLength)
{
    EXPECT_EQ(length_of(Subject{.list_len = 0x10008}, kListBit), 0x1000cU);
    EXPECT_EQ(length_of(Subject{.list_len = 0x10008}, kSnhBit), 0x1000cU);
}

TEST(MatchLength, AMissingListEndsItAtOnceWithTheLengthAsItWas)
{
    for (const std::uint32_t rest : {0U, kRdBit, kTypeBit, kRdBit | kTypeBit | kOriginBit}) {
        for (const std::uint32_t type : {1U, 3U, 6U}) {
            const Subject subject{.type = type, .wire_list = {}, .list_len = 16};
            EXPECT_EQ(length_of(subject, rest | kListBit), kUnwritten);
            EXPECT_EQ(length_of(subject, rest | kListBit | kSnhBit), kUnwritten);
            if (auto_discovery(type)) {
                EXPECT_EQ(length_of(subject, rest | kSnhBit), kUnwritten);
            } else {
                EXPECT_EQ(length_of(subject, rest | kSnhBit), (rest & kRdBit) != 0 ? 12U : 0U);
            }
        }
    }
}

TEST(MatchLength, ReadsNeitherTheListNorTheRouteDistinguisher)
{
    EXPECT_EQ(length_of(Subject{.rd = {}}, kRdBit), 12U);
    EXPECT_EQ(length_of(Subject{.wire_list = Bytes{}}, kListBit), 4U);
    EXPECT_EQ(length_of(Subject{.wire_list = Bytes{}, .list_len = 0x20000}, kListBit | kSnhBit), 0x40008U);
    EXPECT_EQ(length_of(Subject{.wire_list = Bytes{}, .list_len = 13}, kListBit), 17U);
}

TEST(MatchLength, NullArgumentsAndAMissingKeyAreRefusedWithOneReport)
{
    MatchRoute route{Subject{}};
    std::uint32_t length = kUnwritten;
    const auto call = [&](unsigned nulls) {
        route.route.pucKey = unless((nulls & 2) != 0, MatchRoute(Subject{}).route.pucKey);
        return QEL_NGMVPN_CalcRtpMatchTlvLen(unless((nulls & 1) != 0, &route.route), kAllBits,
                                             unless((nulls & 4) != 0, &length));
    };
    expect_null_arguments_refused(3, call);
    EXPECT_EQ(length, kUnwritten);
}

// --- the rows -------------------------------------------------------------------------------------------------------

using Row = decltype(&QEL_NGMVPN_ConstructMatchRd);

struct RowRun {
    std::uint32_t code = 0;
    std::ptrdiff_t moved = 0;
    std::uint32_t left = 0;
    Bytes buffer;
    std::size_t asserts = 0;
    Log log;
    std::uint64_t allocations = 0;
};

// Runs a row at an odd address with `remain` as the room that it is told, over exactly `room` octets.
RowRun run_row(Row row, const Subject &subject, std::uint32_t remain, std::size_t room, QEL_FAMILY_CTX_S *ctx)
{
    const MatchRoute route(subject);
    OddBytes out(untouched(room));
    std::uint8_t *cursor = out.data();
    RowRun got;
    got.left = remain;
    const std::uint64_t made = allocations();
    const platform::Recorder recorder;
    got.code = row(&route.route, &cursor, &got.left, ctx);
    got.allocations = allocations() - made;
    got.moved = cursor - out.data();
    got.buffer = out.bytes();
    got.asserts = recorder.asserts().size();
    got.log = log_of(recorder);
    return got;
}

void expect_row_written(const RowRun &got, std::uint32_t remain, const Bytes &tlv, const Log &log)
{
    EXPECT_EQ(got.code, 0U);
    EXPECT_EQ(got.moved, std::ssize(tlv));
    EXPECT_EQ(got.left, remain - tlv.size());
    ASSERT_GE(got.buffer.size(), tlv.size());
    EXPECT_EQ(hex(got.buffer), hex(tlv + untouched(got.buffer.size() - tlv.size())));
    EXPECT_EQ(got.asserts, 0U);
    EXPECT_EQ(got.log, log);
}

void expect_row_not_written(const RowRun &got, std::uint32_t code, std::uint32_t remain, const Log &log = {})
{
    EXPECT_EQ(got.code, code);
    EXPECT_EQ(got.moved, 0);
    EXPECT_EQ(got.left, remain);
    EXPECT_EQ(got.buffer, untouched(got.buffer.size()));
    EXPECT_EQ(got.asserts, 0U);
    EXPECT_EQ(got.log, log);
    EXPECT_EQ(got.allocations, 0U);
}

// Every room from none to some more than the TLV needs, and the largest there is.
void expect_bound(Row row, const Subject &subject, const Bytes &tlv, const Log &log, const Log &log_too_small,
                  QEL_FAMILY_CTX_S *ctx)
{
    for (std::uint32_t remain = 0; remain <= tlv.size() + 4; ++remain) {
        SCOPED_TRACE(remain);
        const RowRun got = run_row(row, subject, remain, remain, ctx);
        if (remain < tlv.size()) {
            expect_row_not_written(got, kNoRoom, remain, log_too_small);
        } else {
            expect_row_written(got, remain, tlv, log);
        }
    }
    expect_row_written(run_row(row, subject, 0xffffffff, tlv.size(), ctx), 0xffffffff, tlv, log);
}

using MatchRow = PolicyTest;

// kept: the RD is the one value that goes out in host order
TEST_F(MatchRow, RouteDistinguisherTakesTwelveOctetsAsTheyStand)
{
    for (const std::uint32_t type : kTypes) {
        SCOPED_TRACE(type);
        expect_bound(QEL_NGMVPN_ConstructMatchRd, Subject{.type = type}, tlv("000d 0008", kRd), {}, {}, ctx_);
    }
}

TEST_F(MatchRow, RouteDistinguisherOfTheRouteIsTakenNotThatOfItsKey)
{
    MatchRoute route{Subject{}};
    route.route.pucKey = nullptr;
    Bytes out = untouched(12);
    std::uint8_t *cursor = out.data();
    std::uint32_t remain = 12;
    EXPECT_EQ(QEL_NGMVPN_ConstructMatchRd(&route.route, &cursor, &remain, ctx_), 0U);
    EXPECT_EQ(hex(out), hex(tlv("000d 0008", kRd)));
}

TEST_F(MatchRow, AMissingRouteDistinguisherIsToldBeforeAMissingRoom)
{
    for (const std::uint32_t remain : {0U, 11U, 12U, 40U}) {
        expect_row_not_written(run_row(QEL_NGMVPN_ConstructMatchRd, Subject{.rd = {}}, remain, remain, ctx_),
                               kAbsentSection, remain);
    }
}

TEST_F(MatchRow, CommunityListTakesItsLengthAndFourOctets)
{
    const auto row = QEL_NGMVPN_ConstructMatchExtCommunity;
    for (const std::uint32_t type : kTypes) {
        expect_bound(row, Subject{.type = type}, tlv("000b 0018", kWireList), {}, {}, ctx_);
    }
    const Bytes element = bytes("0009 fde9 00000064");
    expect_bound(row, Subject{.wire_list = element}, tlv("000b 0008", element), {}, {}, ctx_);
    const Bytes ragged = bytes("0302 01020304 0506 a1b2c3");
    expect_bound(row, Subject{.wire_list = ragged}, tlv("000b 000b", ragged), {}, {}, ctx_);
}

TEST_F(MatchRow, CommunityListOfEveryTypeIsWrittenInWireOrder)
{
    for (std::uint32_t first = 0; first < 0x10000; first += 0x1000) {
        Bytes wire;
        for (std::uint32_t type = first; type < first + 0x1000; ++type) {
            for (const std::uint32_t octet : {type >> 8, type & 0xff, 0xa1U, 0xb2U, 0xc3U, 0xd4U, 0xe5U, 0xf6U}) {
                wire.push_back(static_cast<std::uint8_t>(octet));
            }
        }
        const RowRun got =
            run_row(QEL_NGMVPN_ConstructMatchExtCommunity, Subject{.wire_list = wire}, 0x8004, 0x8004, ctx_);
        ASSERT_EQ(got.code, 0U);
        ASSERT_TRUE(got.buffer == tlv("000b 8000", wire)) << first;
    }
}

TEST_F(MatchRow, ALongestListIsBoundedBeyond16Bits)
{
    const auto row = QEL_NGMVPN_ConstructMatchExtCommunity;
    Bytes wire;
    for (unsigned i = 0; i < 0xffff; ++i) {
        wire.push_back(static_cast<std::uint8_t>(i % 8 == 1 ? 2 : i % 8 < 2 ? 0 : i / 8));
    }
    const Subject subject{.wire_list = wire};
    for (const std::uint32_t remain : {0U, 3U, 4U, 0xffffU, 0x10002U}) {
        expect_row_not_written(run_row(row, subject, remain, remain, ctx_), kNoRoom, remain);
    }
    const RowRun got = run_row(row, subject, 0x10003, 0x10003, ctx_);
    EXPECT_EQ(got.code, 0U);
    EXPECT_EQ(got.left, 0U);
    EXPECT_TRUE(got.buffer == tlv("000b ffff", wire));
}

// kept: only the low 16 bits of the list's length are written
TEST_F(MatchRow, CommunityListIsTakenByTheLow16BitsOfItsLength)
{
    const Bytes element = bytes("0002 fde9 00000064");
    for (const std::uint32_t length : {0x10008U, 0xffff0008U}) {
        expect_bound(QEL_NGMVPN_ConstructMatchExtCommunity, Subject{.wire_list = element, .list_len = length},
                     tlv("000b 0008", element), {}, {}, ctx_);
    }
}

TEST_F(MatchRow, AMissingListWritesNothingWhateverTheRoom)
{
    for (const std::uint32_t remain : {0U, 3U, 40U}) {
        for (const std::uint32_t length : {0U, 24U}) {
            const Subject subject{.wire_list = {}, .list_len = length};
            expect_row_not_written(run_row(QEL_NGMVPN_ConstructMatchExtCommunity, subject, remain, remain, ctx_), 0,
                                   remain);
            expect_row_not_written(run_row(QEL_NGMVPN_ConstructMatchSnhExtCommunity, subject, remain, remain, ctx_), 0,
                                   remain, {"ConstructMatchSnhExtCommunity type(1)"});
        }
    }
}

TEST_F(MatchRow, AListWithoutRoomIsNotCopied)
{
    for (const Row row : {QEL_NGMVPN_ConstructMatchExtCommunity, QEL_NGMVPN_ConstructMatchSnhExtCommunity}) {
        const platform::FailAllocation failure(0);
        EXPECT_EQ(run_row(row, Subject{}, 27, 27, ctx_).code, kNoRoom);
        EXPECT_FALSE(failure.fired());
    }
}

TEST_F(MatchRow, AListThatCanNotBeCopiedGivesThree)
{
    for (const Row row : {QEL_NGMVPN_ConstructMatchExtCommunity, QEL_NGMVPN_ConstructMatchSnhExtCommunity}) {
        const platform::FailAllocation failure(0);
        const RowRun got = run_row(row, Subject{}, 28, 28, ctx_);
        EXPECT_EQ(got.code, kOutOfMemory);
        EXPECT_EQ(got.asserts, 1U);
        EXPECT_TRUE(failure.fired());
    }
}

TEST_F(MatchRow, SegmentedNextHopIsTheListAgainAndIsLoggedBeforeItsRoomIsLookedAt)
{
    for (const std::uint32_t type : {1U, 3U}) {
        const Log log{"ConstructMatchSnhExtCommunity type(" + std::to_string(type) + ")"};
        expect_bound(QEL_NGMVPN_ConstructMatchSnhExtCommunity, Subject{.type = type}, tlv("000b 0018", kWireList), log,
                     log, ctx_);
    }
}

TEST_F(MatchRow, RouteTypeTakesFiveOctetsAndIsLoggedWhenItIsWritten)
{
    expect_bound(QEL_NGMVPN_ConstructMatchMvpnType, Subject{.type = 1}, bytes("0026 0001 01"),
                 {"ConstructMatchMvpnType type(1)"}, {}, ctx_);
    expect_bound(QEL_NGMVPN_ConstructMatchMvpnType, Subject{.type = 3}, bytes("0026 0001 03"),
                 {"ConstructMatchMvpnType type(3)"}, {}, ctx_);
}

TEST_F(MatchRow, OriginatorTakesEightOctetsAndIsLoggedWhenItIsWritten)
{
    const auto row = QEL_NGMVPN_ConstructMatchOrigiIp;
    expect_bound(row, Subject{.type = 1}, bytes("0027 0004 0a0b0c0d"),
                 {"ConstructMatchOrigiIp type 1 origiIp(168496141)"}, {}, ctx_);
    expect_bound(row, Subject{.type = 3}, bytes("0027 0004 0a0b0c0d"),
                 {"ConstructMatchOrigiIp type 3 origiIp(168496141)"}, {}, ctx_);
}

// kept: the address is logged as a signed number in host order
TEST_F(MatchRow, AnOriginatorInTheUpperHalfIsLoggedNegative)
{
    const Subject subject{.type = 3, .origin = o4()};
    expect_row_written(run_row(QEL_NGMVPN_ConstructMatchOrigiIp, subject, 8, 8, ctx_), 8, bytes("0027 0004 c0a80a0b"),
                       {"ConstructMatchOrigiIp type 3 origiIp(-1062729205)"});
    const Subject zero{.type = 1, .origin = v4(0)};
    expect_row_written(run_row(QEL_NGMVPN_ConstructMatchOrigiIp, zero, 8, 8, ctx_), 8, bytes("0027 0004 00000000"),
                       {"ConstructMatchOrigiIp type 1 origiIp(0)"});
}

TEST_F(MatchRow, AnOriginatorOfAnyOtherLengthWritesNothingButNeedsTheRoom)
{
    for (const std::uint32_t type : {1U, 3U}) {
        for (const std::uint8_t length : std::array<std::uint8_t, 5>{0, 31, 33, 128, 255}) {
            const Subject subject{.type = type, .origin = {length, o6().value}};
            for (std::uint32_t remain = 0; remain <= 12; ++remain) {
                SCOPED_TRACE(remain);
                expect_row_not_written(run_row(QEL_NGMVPN_ConstructMatchOrigiIp, subject, remain, remain, ctx_),
                                       remain < 8 ? kNoRoom : 0, remain);
            }
        }
    }
}

TEST_F(MatchRow, ThreeRowsPassOverRoutesOfOtherTypesThanOneAndThree)
{
    for (const Row row : {QEL_NGMVPN_ConstructMatchSnhExtCommunity, QEL_NGMVPN_ConstructMatchMvpnType,
                          QEL_NGMVPN_ConstructMatchOrigiIp}) {
        for (const std::uint32_t type : kTypes) {
            for (const std::uint32_t remain : {0U, 4U, 64U}) {
                if (!auto_discovery(type)) {
                    SCOPED_TRACE(type);
                    expect_row_not_written(run_row(row, Subject{.type = type}, remain, remain, ctx_), 0, remain);
                }
            }
        }
    }
}

// The rows in their order, with a subject on which each writes a TLV, and the octets of its value.
struct RowCase {
    Row row;
    std::uint32_t tlv_type;
    std::uint32_t value;
};

const std::array<RowCase, 5> kRows{{{QEL_NGMVPN_ConstructMatchRd, 13, 8},
                                    {QEL_NGMVPN_ConstructMatchExtCommunity, 11, 24},
                                    {QEL_NGMVPN_ConstructMatchSnhExtCommunity, 11, 24},
                                    {QEL_NGMVPN_ConstructMatchMvpnType, 38, 1},
                                    {QEL_NGMVPN_ConstructMatchOrigiIp, 39, 4}}};

TEST_F(MatchRow, EachHasItsTlvType)
{
    for (const RowCase &c : kRows) {
        EXPECT_EQ(be16(run_row(c.row, Subject{}, 40, 40, ctx_).buffer, 0), c.tlv_type);
    }
}

TEST_F(MatchRow, TheLengthOfATlvIsThatOfItsValueWithoutTheHead)
{
    for (const RowCase &c : kRows) {
        EXPECT_EQ(be16(run_row(c.row, Subject{}, 40, 40, ctx_).buffer, 2), c.value) << c.tlv_type;
    }
}

TEST_F(MatchRow, TheHeadIsTypeAndLengthInNetworkOrder)
{
    const Subject subject{.wire_list = Bytes(0x108)};
    const RowRun got = run_row(QEL_NGMVPN_ConstructMatchExtCommunity, subject, 0x10c, 0x10c, ctx_);
    EXPECT_EQ(hex(slice(got.buffer, 0, 4)), "000b0108");
}

TEST_F(MatchRow, EachMovesTheCursorBehindItsTlv)
{
    for (const RowCase &c : kRows) {
        EXPECT_EQ(run_row(c.row, Subject{}, 40, 40, ctx_).moved, c.value + 4) << c.tlv_type;
    }
}

TEST_F(MatchRow, EachTakesWhatItWroteFromTheRoom)
{
    for (const RowCase &c : kRows) {
        EXPECT_EQ(run_row(c.row, Subject{}, 40, 40, ctx_).left, 40 - (c.value + 4)) << c.tlv_type;
    }
}

TEST_F(MatchRow, EachAsksForTheRoomOfItsWholeTlv)
{
    for (const RowCase &c : kRows) {
        SCOPED_TRACE(c.tlv_type);
        EXPECT_EQ(run_row(c.row, Subject{}, c.value + 3, c.value + 3, ctx_).code, kNoRoom);
        EXPECT_EQ(run_row(c.row, Subject{}, c.value + 4, c.value + 4, ctx_).code, 0U);
    }
}

TEST_F(MatchRow, TheCopyOfTheListIsGivenBackAndTheListStaysInHostOrder)
{
    const MatchRoute route{Subject{}}; // which looks at its list at the end
    OddBytes out(untouched(28));
    std::uint8_t *cursor = out.data();
    std::uint32_t remain = 28;
    const std::uint64_t before = live_bytes();
    EXPECT_EQ(QEL_NGMVPN_ConstructMatchExtCommunity(&route.route, &cursor, &remain, ctx_), 0U);
    EXPECT_EQ(live_bytes(), before);
}

TEST_F(MatchRow, TheHeadIsWrittenBeforeTheListIsCopied)
{
    const platform::FailAllocation failure(0);
    const RowRun got = run_row(QEL_NGMVPN_ConstructMatchExtCommunity, Subject{}, 28, 28, ctx_);
    EXPECT_EQ(hex(got.buffer), "000b0018" + hex(untouched(24)));
}

TEST_F(MatchRow, OriginatorOfEachTypeIsTakenFromItsOwnPlaceInTheKey)
{
    for (const std::uint32_t type : {1U, 3U}) {
        const RowRun got = run_row(QEL_NGMVPN_ConstructMatchOrigiIp, Subject{.type = type}, 8, 8, ctx_);
        EXPECT_EQ(hex(got.buffer), "002700040a0b0c0d") << type;
    }
}

TEST_F(MatchRow, OriginatorIsWrittenInNetworkOrder)
{
    const RowRun got = run_row(QEL_NGMVPN_ConstructMatchOrigiIp, Subject{.origin = v4(0x01020304)}, 8, 8, ctx_);
    EXPECT_EQ(hex(slice(got.buffer, 4, 4)), "01020304");
}

// kept: the room is looked at first
TEST_F(MatchRow, AnIpv6OriginatorWithoutRoomIsRefusedThoughItWritesNothing)
{
    for (const std::uint32_t type : {1U, 3U}) {
        const Subject subject{.type = type, .origin = o6()};
        EXPECT_EQ(run_row(QEL_NGMVPN_ConstructMatchOrigiIp, subject, 7, 7, ctx_).code, kNoRoom);
        EXPECT_EQ(run_row(QEL_NGMVPN_ConstructMatchOrigiIp, subject, 8, 8, ctx_).code, 0U);
    }
}

TEST_F(MatchRow, NullArgumentsAreRefusedWithOneReport)
{
    const MatchRoute route{Subject{}};
    Bytes out = untouched(64);
    std::uint8_t *cursor = out.data();
    std::uint32_t remain = 64;
    for (const Row row :
         {QEL_NGMVPN_ConstructMatchRd, QEL_NGMVPN_ConstructMatchExtCommunity, QEL_NGMVPN_ConstructMatchSnhExtCommunity,
          QEL_NGMVPN_ConstructMatchMvpnType, QEL_NGMVPN_ConstructMatchOrigiIp}) {
        expect_null_arguments_refused(4, [&](unsigned nulls) {
            return row(unless((nulls & 1) != 0, &route.route), unless((nulls & 2) != 0, &cursor),
                       unless((nulls & 4) != 0, &remain), unless((nulls & 8) != 0, ctx_));
        });
    }
    EXPECT_EQ(cursor, out.data());
    EXPECT_EQ(remain, 64U);
    EXPECT_EQ(out, untouched(64));
}

TEST_F(MatchRow, ThreeRowsNeedTheKey)
{
    MatchRoute route{Subject{}};
    route.route.pucKey = nullptr;
    for (const Row row : {QEL_NGMVPN_ConstructMatchSnhExtCommunity, QEL_NGMVPN_ConstructMatchMvpnType,
                          QEL_NGMVPN_ConstructMatchOrigiIp}) {
        Bytes out = untouched(64);
        std::uint8_t *cursor = out.data();
        std::uint32_t remain = 64;
        const platform::Recorder recorder;
        EXPECT_EQ(row(&route.route, &cursor, &remain, ctx_), kNull);
        EXPECT_EQ(recorder.asserts().size(), 1U);
        EXPECT_TRUE(recorder.debugs().empty());
        EXPECT_EQ(cursor, out.data());
        EXPECT_EQ(remain, 64U);
        EXPECT_EQ(out, untouched(64));
    }
}

TEST_F(MatchRow, TheListRowNeedsNoKey)
{
    MatchRoute route{Subject{}};
    route.route.pucKey = nullptr;
    Bytes out = untouched(28);
    std::uint8_t *cursor = out.data();
    std::uint32_t remain = 28;
    const platform::Recorder recorder;
    EXPECT_EQ(QEL_NGMVPN_ConstructMatchExtCommunity(&route.route, &cursor, &remain, ctx_), 0U);
    EXPECT_EQ(hex(out), hex(tlv("000b 0018", kWireList)));
    EXPECT_TRUE(recorder.asserts().empty());
}

TEST(MatchTable, RowsInTheOrderInWhichTheyAreWritten)
{
    ASSERT_EQ(std::size(g_astQelNgmvpnConstructMatchTbl), 5U);
    const struct {
        std::uint32_t bit;
        Row row;
    } rows[] = {{2048, QEL_NGMVPN_ConstructMatchRd},
                {4, QEL_NGMVPN_ConstructMatchExtCommunity},
                {1048576, QEL_NGMVPN_ConstructMatchSnhExtCommunity},
                {256, QEL_NGMVPN_ConstructMatchMvpnType},
                {2097152, QEL_NGMVPN_ConstructMatchOrigiIp}};
    std::uint32_t all = 0;
    for (std::size_t i = 0; i < std::size(rows); ++i) {
        EXPECT_EQ(g_astQelNgmvpnConstructMatchTbl[i].uiType, rows[i].bit);
        EXPECT_EQ(g_astQelNgmvpnConstructMatchTbl[i].pfConstructMatch, rows[i].row);
        all |= rows[i].bit;
    }
    const NgmvpnInstance instance(kMvpn4);
    EXPECT_EQ(instance.desc.auiMatchTypeMask[0], all);
}

TEST(MatchTable, TheDescriptorOffersTheUnionOfTheBitsInItsThreeWords)
{
    const NgmvpnInstance instance(kMvpn4);
    for (std::size_t word = 0; word < 3; ++word) {
        EXPECT_EQ(instance.desc.auiMatchTypeMask[word], 0x300904U) << word;
    }
}

// --- the prefix entry -----------------------------------------------------------------------------------------------

// The entry inside a larger one of the host, every octet of it 0xa5 or 0x5a.
struct HostEntry {
    explicit HostEntry(int fill) { std::memset(this, fill, sizeof(*this)); }
    QEL_RTP_ENTRY_S known;
    std::uint8_t more[32];
};

Bytes fill_entry(const QEL_NGMVPN_KEY_S &key, int fill)
{
    const OddBytes section(bytes_of(key));
    QEL_ROUTE_INFO_S route{};
    route.pucKey = section.data();
    HostEntry entry(fill);
    const platform::Recorder recorder;
    EXPECT_EQ(QEL_NGMVPN_ConstructRtpEntry(&route, &entry.known), 0U);
    EXPECT_TRUE(recorder.asserts().empty());
    return bytes_of(entry);
}

Bytes with(Bytes entry, std::size_t at, std::string_view octets)
{
    const Bytes field = bytes(octets);
    std::copy(field.begin(), field.end(), entry.begin() + static_cast<std::ptrdiff_t>(at));
    return entry;
}

TEST(PrefixEntry, AnIpv4OriginatorIsOneHostOrderWordOf32Bits)
{
    for (const int fill : {0xa5, 0x5a}) {
        const Bytes before = bytes_of(HostEntry(fill));
        EXPECT_EQ(hex(fill_entry(intra_key(rd_a(), v4(0x0a0b0c0d)), fill)),
                  hex(with(with(with(before, 12, "00000000"), 16, "0d0c0b0a"), 48, "20000000")));
    }
}

// kept: every length but 32 counts as IPv6, none at all too
TEST(PrefixEntry, AnyOtherOriginatorIsSixteenOctetsOf128Bits)
{
    for (const int fill : {0xa5, 0x5a}) {
        for (const std::uint8_t length : std::array<std::uint8_t, 5>{128, 0, 31, 33, 255}) {
            SCOPED_TRACE(+length);
            const Bytes before = bytes_of(HostEntry(fill));
            const Addr origin{length, o6().value};
            EXPECT_EQ(hex(fill_entry(intra_key(rd_a(), origin), fill)),
                      hex(with(with(with(before, 12, "01000000"), 16, kO6), 48, "80000000")));
        }
    }
}

TEST(PrefixEntry, ARouteOfAnotherTypeSetsItsBitAndNothingElse)
{
    for (const std::uint32_t type : kTypes) {
        if (type == 1) {
            continue;
        }
        SCOPED_TRACE(type);
        const QEL_NGMVPN_KEY_S key = Subject{.type = type}.key();
        EXPECT_EQ(hex(fill_entry(key, 0xa5)), hex(with(bytes_of(HostEntry(0xa5)), 2, "ada5")));
        EXPECT_EQ(hex(fill_entry(key, 0x5a)), hex(bytes_of(HostEntry(0x5a)))) << "the bit is set already";
    }
}

// kept: the bit of an earlier route stays in the entry of an Intra I-PMSI route
TEST(PrefixEntry, ARouteOfType1DoesNotClearTheBit)
{
    const Bytes entry = fill_entry(intra_key(rd_a(), o4()), 0x5a);
    EXPECT_EQ(hex(slice(entry, 2, 2)), "5a5a");
}

TEST(PrefixEntry, NullArgumentsAndAMissingKeyAreRefusedWithOneReport)
{
    const QEL_NGMVPN_KEY_S key = intra_key(rd_a(), o4());
    KeyRoute route(key, rd_a());
    const std::uint8_t *const section = route.route.pucKey;
    HostEntry entry(0xa5);
    expect_null_arguments_refused(3, [&](unsigned nulls) {
        route.route.pucKey = unless((nulls & 2) != 0, section);
        return QEL_NGMVPN_ConstructRtpEntry(unless((nulls & 1) != 0, &route.route),
                                            unless((nulls & 4) != 0, &entry.known));
    });
    EXPECT_EQ(bytes_of(entry), bytes_of(HostEntry(0xa5)));
}

TEST(PrefixEntry, IsReachedThroughTheDescriptor)
{
    const NgmvpnInstance instance(kMvpn4);
    const KeyRoute route(inter_key(rd_a(), 65001), rd_a());
    HostEntry entry(0);
    EXPECT_EQ(instance.desc.pfConstructRtpEntry(&route.route, &entry.known), 0U);
    EXPECT_EQ(entry.known.usRtpFlags, 8);
}

} // namespace
} // namespace qel::test
