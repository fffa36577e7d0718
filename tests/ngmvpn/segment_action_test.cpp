// Policy action 61, which makes the import attribute record, and the relay next hop of a segmented route.
#include "segment_cases.h"

namespace qel::test {
namespace {

constexpr std::uint32_t kAction = 61;

const std::string kNoCommunities = "ApplyAttrRplInfo Success, PMSITNL or EXTCOMMUNITY is NULL";
const std::string kNoSnh = "ApplyAttrRplInfo Success, GetSnhExtCom is NULL";
const std::string kNoPolicy = "ApplyAttrRplInfo Success, PolicyId is 0xffffffff.";
const std::string kFound = "QEL_NGMVPN_GetSnhExtCom Success";

// A policy action's value: 24 octets are read, 8 to 19 not.
const Bytes kValue = bytes("01020304 05060708 a8a9aaab acadaeaf b0b1b2b3 c1c2c3c4");
constexpr std::array<std::uint32_t, 3> kPly{0x01020304, 0x05060708, 0xc1c2c3c4};

Sections segmented(const QEL_NGMVPN_KEY_S &key = intra_key(rd_a(), o4()))
{
    return {.key = key, .list = host_list(kTarget + kSnhArrived), .pmsi = kTunnel};
}

// The value ends with exactly its slack behind it.
Answer act(const QEL_ROUTE_INFO_S &route, const Bytes &value, std::uint32_t length, QEL_FAMILY_CTX_S *ctx)
{
    Bytes with_slack = value;
    with_slack.resize(length + std::size_t{QEL_MSG_READ_SLACK}, 0x5c);
    const OddBytes given(with_slack);
    Answer got = answer_of(
        [&](auto result) { return QEL_NGMVPN_ApplyAttrRplInfo(&route, kAction, given.data(), length, result, ctx); });
    EXPECT_EQ(given.bytes(), with_slack);
    return got;
}

Answer act(const Sections &sections, QEL_FAMILY_CTX_S *ctx)
{
    const HostRoute route(sections);
    return act(route.info, kValue, 24, ctx);
}

ImportRecord made_record(const QEL_NGMVPN_KEY_S &key, const Bytes &tunnel = kTunnel)
{
    ImportRecord want = arrived_record(tunnel);
    want.key = key;
    want.ply = kPly;
    return want;
}

void expect_record(const Answer &got, const Bytes &record)
{
    expect_attribute(got, 2, 243, record);
    EXPECT_EQ(got.log, (Log{kFound, "ApplyAttrRplInfo Success, uiRetCode is 0"}));
}

using SegmentAction = PolicyTest;

TEST_F(SegmentAction, TheRecordHoldsTheOriginalSetAlone)
{
    const QEL_NGMVPN_KEY_S key = intra_key(rd_a(), o4());
    const Answer got = act(segmented(key), ctx_);
    const Bytes fields = bytes("04030201"                              // policy id
                               "04030201 08070605 c4c3c2c1"            // policy info
                               "0b000000 1201 0b0aa8c0 0000 0000 0a00" // original set
                               "00000000 0000 00000000 0000 0000 0000" // replaced set
    );
    expect_record(got, bytes_of(key) + fields + kTunnel);
    EXPECT_EQ(hex(made_record(key).octets()), hex(bytes_of(key) + fields + kTunnel));
}

TEST_F(SegmentAction, SPmsiRoutesGetARecordToo)
{
    const QEL_NGMVPN_KEY_S key = spmsi_key(rd_b(), 2, s6(), g6(), o6());
    expect_record(act(segmented(key), ctx_), made_record(key).octets());
}

TEST_F(SegmentAction, NoOtherRouteGetsARecord)
{
    for (const std::uint32_t type : {0U, 2U, 4U, 5U, 6U, 7U, 8U, 9U, 0x101U, 0x80000001U, 0xfffffffdU}) {
        SCOPED_TRACE(type);
        const Answer got = act(segmented(empty_key(type, rd_a())), ctx_);
        expect_untouched(got, 0, 0);
        EXPECT_EQ(got.log, Log{});
        EXPECT_EQ(got.allocations, 0U);
    }
}

TEST_F(SegmentAction, ARouteWithoutTunnelOrCommunitiesGetsNoRecord)
{
    for (int missing = 1; missing < 4; ++missing) {
        Sections sections = segmented();
        sections.policy_id = 0xffffffff;
        if ((missing & 1) != 0) {
            sections.pmsi.reset();
        }
        if ((missing & 2) != 0) {
            sections.list.reset();
        }
        const Answer got = act(sections, ctx_);
        expect_untouched(got, 0, 0);
        EXPECT_EQ(got.log, Log{kNoCommunities});
        EXPECT_EQ(got.allocations, 0U);
    }
}

TEST_F(SegmentAction, ARouteWithoutSegmentedNextHopGetsNoRecord)
{
    // the sub-type is the first octet in memory; 18 elsewhere says nothing, and a rest of an element is not looked at
    for (const Bytes &list : {host_list(kTarget), Bytes{}, bytes("12010b0aa8c000"), bytes("0112121212121212"),
                              host_list(kTarget) + bytes("12010b0aa8c000")}) {
        SCOPED_TRACE(hex(list));
        Sections sections = segmented();
        sections.policy_id = 0xffffffff;
        sections.list = list;
        const Answer got = act(sections, ctx_);
        expect_untouched(got, 0, 0);
        EXPECT_EQ(got.log, Log{kNoSnh});
    }
}

TEST_F(SegmentAction, APolicyIdOfNoneGivesNoRecord)
{
    Sections sections = segmented();
    sections.policy_id = 0xffffffff;
    sections.pmsi = Bytes{};
    const Answer got = act(sections, ctx_);
    expect_untouched(got, 0, 0);
    EXPECT_EQ(got.log, (Log{kFound, kNoPolicy}));
    EXPECT_EQ(got.allocations, 0U);
}

TEST_F(SegmentAction, EveryOtherPolicyIdIsCarried)
{
    for (const std::uint32_t id : {0U, 1U, 0xfffffffeU, 0x7fffffffU, 0xffffU}) {
        Sections sections = segmented();
        sections.policy_id = id;
        ImportRecord want = made_record(*sections.key);
        want.policy_id = id;
        expect_record(act(sections, ctx_), want.octets());
    }
}

TEST_F(SegmentAction, ATunnelOfNoLengthIsReported)
{
    Sections sections = segmented();
    sections.pmsi = Bytes{};
    const Answer got = act(sections, ctx_);
    expect_untouched(got, 1, 1);
    EXPECT_EQ(got.log, Log{kFound});
    EXPECT_EQ(got.allocations, 0U);
}

TEST_F(SegmentAction, TheFirstOfTwoSegmentedNextHopsIsTaken)
{
    Sections sections = segmented();
    sections.list = host_list(kTarget + kSnhOther + kSnhArrived);
    ImportRecord want = made_record(*sections.key);
    want.original.snh = host_list(kSnhOther);
    expect_record(act(sections, ctx_), want.octets());
}

// kept: 24 octets are read whatever the length says
TEST_F(SegmentAction, TwentyFourOctetsAreReadWhateverTheLengthOfTheValue)
{
    const HostRoute route(segmented());
    const Bytes want = made_record(intra_key(rd_a(), o4())).octets();
    for (const std::uint32_t length : {1U, 4U, 8U, 20U, 23U, 24U, 25U, 200U}) {
        SCOPED_TRACE(length);
        expect_record(act(route.info, kValue, length, ctx_), want);
    }
}

TEST_F(SegmentAction, Octets8To19OfTheValueSayNothing)
{
    const HostRoute route(segmented());
    const Bytes want = made_record(intra_key(rd_a(), o4())).octets();
    for (std::size_t at = 0; at < 24; ++at) {
        Bytes value = kValue;
        value[at] ^= 0xff;
        const Answer got = act(route.info, value, 24, ctx_);
        ASSERT_TRUE(got.block);
        EXPECT_EQ(hex(got.block.section(32, got.block->usAttrLen)) == hex(want), at >= 8 && at < 20) << at;
    }
}

TEST_F(SegmentAction, TheKeyIsCopiedByItsOwnLength)
{
    const QEL_NGMVPN_KEY_S key = spmsi_key(rd_b(), 2, s6(), g6(), o6());
    HostRoute route(segmented(key));
    for (const std::uint32_t length : {4U, 50U, 103U}) {
        route.info.uiKeyLen = length;
        Bytes want = made_record(key).octets();
        std::fill(want.begin() + length, want.begin() + 104, std::uint8_t{0});
        expect_record(act(route.info, kValue, 24, ctx_), want);
    }
}

TEST_F(SegmentAction, AKeyThatDoesNotFitIsReportedAndLeftOut)
{
    HostRoute route(segmented());
    route.info.uiKeyLen = 105;
    const Answer got = act(route.info, kValue, 24, ctx_);
    Bytes want = made_record(intra_key(rd_a(), o4())).octets();
    std::fill(want.begin(), want.begin() + 104, std::uint8_t{0});
    EXPECT_EQ(got.code, 0U);
    EXPECT_EQ(got.asserts, 1U);
    expect_section(got, 8, 2, 243, 0, want);
}

TEST_F(SegmentAction, TheRecordIsClearWhateverTheScratchHeld)
{
    std::memset(ctx_->aucInlineBuf, 0xa5, sizeof(ctx_->aucInlineBuf));
    expect_record(act(segmented(), ctx_), made_record(intra_key(rd_a(), o4())).octets());
    const LentBuffer lent(ctx_);
    dirty_the_heap(kFixedLen + static_cast<std::uint32_t>(kTunnel.size()));
    expect_record(act(segmented(), ctx_), made_record(intra_key(rd_a(), o4())).octets());
}

TEST_F(SegmentAction, TunnelsOfAnyLengthAreHeldBehindTheRecord)
{
    for (const std::size_t length :
         {std::size_t{1}, std::size_t{104}, std::size_t{105}, std::size_t{274}, std::size_t{0xffff - kFixedLen}}) {
        SCOPED_TRACE(length);
        Bytes tunnel(length, 0x77);
        tunnel.back() = 0x78;
        Sections sections = segmented();
        sections.pmsi = tunnel;
        const Answer got = act(sections, ctx_);
        // 32 octets of header on top: the block of the longest record needs more than 16 bits, its lengths do not
        expect_record(got, made_record(*sections.key, tunnel).octets());
        EXPECT_EQ(got.allocations, length <= 104 ? 1U : 2U) << "scratch of up to 256 octets is lent by the context";
    }
}

TEST_F(SegmentAction, ASizeThatWrapsBelowTheFixedPartIsAnsweredLikeAFailedAllocation)
{
    for (const std::uint32_t size : {0x10000U, 0x10001U, 0x10000U + kFixedLen - 1, 0x20000U, 0xffff0000U}) {
        SCOPED_TRACE(size);
        HostRoute route(segmented());
        route.info.uiPmsiLen = size - kFixedLen; // not read: nothing is built
        const Answer got = act(route.info, kValue, 24, ctx_);
        expect_untouched(got, kOutOfMemory, 1);
        EXPECT_EQ(got.log, Log{kFound});
        EXPECT_EQ(got.allocations, 0U);
    }
}

TEST_F(SegmentAction, ATunnelThatDoesNotFitTheWrappedSizeIsReportedAndLeftOut)
{
    for (const std::uint32_t room : {0U, 1U, 5U, 100U, 400U}) {
        SCOPED_TRACE(room);
        Sections sections = segmented();
        sections.pmsi = Bytes(0x10000U + room, 0x77);
        const Answer got = act(sections, ctx_);
        EXPECT_EQ(got.code, 0U);
        EXPECT_EQ(got.asserts, 1U);
        ImportRecord want = made_record(*sections.key, {});
        want.original.length = room;
        want.data = Bytes(room);
        expect_section(got, 8, 2, 243, 0, want.octets());
    }
}

TEST_F(SegmentAction, EveryAllocationFailsOnceAndNothingIsLeftBehind)
{
    const HostRoute route(segmented());
    const auto fail = [&](std::uint64_t after, std::uint32_t code, const Log &log) {
        const LeakCheck leaks;
        const platform::FailAllocation failure(after);
        const Answer got = act(route.info, kValue, 24, ctx_);
        EXPECT_TRUE(failure.fired());
        expect_untouched(got, code, 1);
        EXPECT_EQ(got.log, log);
    };
    const Log refused{kFound, "ApplyAttrRplInfo Success, uiRetCode is 327681"};
    fail(0, kNoMemory, refused);
    EXPECT_EQ(ctx_->uiInlineBufUsed, 0U);
    const LentBuffer lent(ctx_);
    fail(0, kOutOfMemory, {kFound});
    fail(1, kNoMemory, refused);
}

TEST_F(SegmentAction, TheRecordIsLabelled2And243)
{
    const Answer got = act(segmented(), ctx_);
    ASSERT_TRUE(got.block);
    EXPECT_EQ(got.block->ucAttrFlag, 2);
    EXPECT_EQ(got.block->ucAttrType, 243);
}

TEST_F(SegmentAction, TheLogLinesStandWordForWord)
{
    Sections sections = segmented();
    EXPECT_EQ(act(sections, ctx_).log,
              (Log{"QEL_NGMVPN_GetSnhExtCom Success", "ApplyAttrRplInfo Success, uiRetCode is 0"}));
    sections.policy_id = 0xffffffff;
    EXPECT_EQ(act(sections, ctx_).log,
              (Log{"QEL_NGMVPN_GetSnhExtCom Success", "ApplyAttrRplInfo Success, PolicyId is 0xffffffff."}));
    sections.list = host_list(kTarget);
    EXPECT_EQ(act(sections, ctx_).log, Log{"ApplyAttrRplInfo Success, GetSnhExtCom is NULL"});
    sections.list.reset();
    EXPECT_EQ(act(sections, ctx_).log, Log{"ApplyAttrRplInfo Success, PMSITNL or EXTCOMMUNITY is NULL"});
}

TEST_F(SegmentAction, ThePolicyIsAskedBeforeTheTunnelsLength)
{
    Sections sections = segmented();
    sections.pmsi = Bytes{};
    EXPECT_EQ(act(sections, ctx_).code, 1U);
    sections.policy_id = 0xffffffff;
    EXPECT_EQ(act(sections, ctx_).code, 0U);
}

TEST_F(SegmentAction, TheScratchOfAShortRecordIsLentByTheContextAndGivenBack)
{
    const LeakCheck leaks;
    EXPECT_EQ(act(segmented(), ctx_).allocations, 1U);
    EXPECT_EQ(ctx_->uiInlineBufUsed, 0U);
}

TEST_F(SegmentAction, AFailedAllocationIsReportedAndRefused)
{
    const LentBuffer lent(ctx_);
    const platform::FailAllocation failure(0);
    const Answer got = act(segmented(), ctx_);
    EXPECT_TRUE(failure.fired());
    expect_untouched(got, kOutOfMemory, 1);
}

TEST_F(SegmentAction, TheBlocksCodeIsReturned)
{
    const platform::FailAllocation failure(0);
    EXPECT_EQ(act(segmented(), ctx_).code, kNoMemory);
}

TEST_F(SegmentAction, NoOtherActionIsTaken)
{
    const HostRoute route(segmented());
    for (const std::uint32_t action : {0U, 6U, 60U, 62U, 0x13dU}) {
        const platform::Recorder recorder;
        QEL_ROUTE_BLOCK_S *result = nullptr;
        EXPECT_EQ(QEL_NGMVPN_ApplyAttrRplInfo(&route.info, action, kValue.data(), 24, &result, ctx_), kNull);
        EXPECT_EQ(recorder.asserts().size(), 1U);
    }
}

TEST_F(SegmentAction, AValueOfNoLengthIsReportedAndRefused)
{
    const HostRoute route(segmented());
    expect_untouched(act(route.info, kValue, 0, ctx_), kNull, 1);
}

TEST_F(SegmentAction, NullArgumentsAndAnotherActionAreRefusedWithOneReport)
{
    const HostRoute route(segmented());
    QEL_ROUTE_BLOCK_S *result = nullptr;
    expect_null_arguments_refused(6, [&](unsigned nulls) {
        return QEL_NGMVPN_ApplyAttrRplInfo(unless((nulls & 1) != 0, &route.info), (nulls & 2) != 0 ? 60 : kAction,
                                           unless((nulls & 4) != 0, kValue.data()), (nulls & 8) != 0 ? 0 : 24,
                                           unless((nulls & 16) != 0, &result), unless((nulls & 32) != 0, ctx_));
    });
    for (const std::uint32_t action : {0U, 6U, 7U, 60U, 62U, 87U, 0x13dU, 0x1003dU}) {
        const platform::Recorder recorder;
        EXPECT_EQ(QEL_NGMVPN_ApplyAttrRplInfo(&route.info, action, kValue.data(), 24, &result, ctx_), kNull);
        EXPECT_EQ(recorder.asserts().size(), 1U);
    }
    EXPECT_EQ(result, nullptr);
}

TEST_F(SegmentAction, AMissingKeyGivesNoRecord)
{
    Sections sections = segmented();
    sections.key.reset();
    const Answer got = act(sections, ctx_);
    expect_untouched(got, kNull, 1);
    EXPECT_TRUE(got.log.empty());
    EXPECT_EQ(got.allocations, 0U);
}

TEST_F(SegmentAction, TheDescriptorReachesTheActionByItsCode)
{
    const HostRoute route(segmented());
    const Answer got = answer_of([&](auto result) {
        return instance_.desc.pfApplyAction(&route.info, kAction, kValue.data(), 24, result, ctx_);
    });
    expect_record(got, made_record(intra_key(rd_a(), o4())).octets());
    static_assert(std::size(g_astQelNgmvpnApplyActionTbl) == 4);
    constexpr std::array<std::uint32_t, 4> kCodes{6, 7, 87, 61};
    for (std::size_t i = 0; i < kCodes.size(); ++i) {
        EXPECT_EQ(g_astQelNgmvpnApplyActionTbl[i].uiType, kCodes[i]);
        EXPECT_EQ(g_astQelNgmvpnApplyActionTbl[i].pfApplyAction,
                  i == 3 ? QEL_NGMVPN_ApplyAttrRplInfo : QEL_NGMVPN_ApplyExtCommunity);
        EXPECT_EQ(QEL_NGMVPN_GetApplyActionEntry(kCodes[i]), &g_astQelNgmvpnApplyActionTbl[i]);
    }
}

// --- the segmented next hop of a list -------------------------------------------------------------------------------

class SegmentedNextHop : public PolicyTest {
protected:
    std::uint32_t find(const Bytes &list, std::uint32_t length)
    {
        const OddBytes held(list);
        out_ = untouched(8);
        return QEL_NGMVPN_GetSnhExtCom(held.data(), length, out_.data(), ctx_);
    }

    platform::Recorder recorder_;
    Bytes out_;
};

TEST_F(SegmentedNextHop, TheFirstElementOfSubType18IsCopied)
{
    const Bytes list = host_list(kTarget + kSnhArrived + kSnhOther);
    EXPECT_EQ(find(list, 24), 0U);
    EXPECT_EQ(out_, host_list(kSnhArrived));
    EXPECT_EQ(find(list, 16), 0U);
    EXPECT_EQ(log_of(recorder_), (Log{kFound, kFound}));
    EXPECT_TRUE(recorder_.asserts().empty());
}

TEST_F(SegmentedNextHop, TheSubTypeAloneDecides)
{
    for (unsigned sub_type = 0; sub_type < 256; ++sub_type) {
        for (const std::uint8_t type : std::initializer_list<std::uint8_t>{0x00, 0x01, 0x12, 0x41, 0xff}) {
            const Bytes element{static_cast<std::uint8_t>(sub_type), type, 18, 18, 18, 18, 18, 18};
            EXPECT_EQ(find(element, 8), sub_type == 18 ? 0U : 1U) << sub_type;
            EXPECT_EQ(out_, sub_type == 18 ? element : untouched(8));
        }
    }
    EXPECT_TRUE(recorder_.asserts().empty());
}

TEST_F(SegmentedNextHop, OnlyWholeElementsOfTheLengthAreLookedAt)
{
    const Bytes list = host_list(kTarget + kSnhArrived);
    for (std::uint32_t length = 0; length <= 16; ++length) {
        EXPECT_EQ(find(slice(list, 0, length), length), length == 16 ? 0U : 1U) << length;
        EXPECT_EQ(out_, length == 16 ? host_list(kSnhArrived) : untouched(8));
    }
    EXPECT_TRUE(recorder_.asserts().empty());
}

TEST_F(SegmentedNextHop, NullArgumentsAreRefusedWithOneReport)
{
    const Bytes list = host_list(kSnhArrived);
    out_ = untouched(8);
    expect_null_arguments_refused(2, [&](unsigned nulls) {
        return QEL_NGMVPN_GetSnhExtCom(unless((nulls & 1) != 0, list.data()), 8, unless((nulls & 2) != 0, out_.data()),
                                       ctx_);
    });
    EXPECT_EQ(out_, untouched(8));
}

// --- relay next hop -------------------------------------------------------------------------------------------------

class RelayNextHop : public PolicyTest {
protected:
    struct Relay {
        std::uint32_t code;
        std::uint32_t next_hop = kUnwritten;
        std::uint32_t has = kUnwritten;
        std::size_t asserts = 0;
        Log log{};
    };
    Relay relay(const QEL_ROUTE_INFO_S &route)
    {
        const platform::Recorder recorder;
        Relay got{};
        got.code = QEL_NGMVPN_SetRelayNextHop(&route, &got.next_hop, &got.has, ctx_);
        got.asserts = recorder.asserts().size();
        got.log = log_of(recorder);
        return got;
    }
    Relay relay(const QEL_NGMVPN_KEY_S &key, const std::optional<Bytes> &list)
    {
        const HostRoute route({.key = key, .list = list});
        return relay(route.info);
    }
    static void expect_none(const Relay &got, const Log &log)
    {
        EXPECT_EQ(got.code, 0U);
        EXPECT_EQ(got.has, 0U);
        EXPECT_EQ(got.next_hop, kUnwritten);
        EXPECT_EQ(got.asserts, 0U);
        EXPECT_EQ(got.log, log);
    }
};

TEST_F(RelayNextHop, TheSegmentedNextHopsAddressIsTold)
{
    for (const std::uint32_t type : {1U, 3U}) {
        const Relay got = relay(empty_key(type, rd_a()), host_list(kTarget + kSnhArrived + kSnhOther));
        EXPECT_EQ(got.code, 0U);
        EXPECT_EQ(got.has, 1U);
        EXPECT_EQ(got.next_hop, 0xc0a80a0bU);
        EXPECT_EQ(got.asserts, 0U);
        EXPECT_EQ(got.log, (Log{kFound, "QEL_NGMVPN_SetRelayNextHop Success, NetHop: 0xc0a80a0b"}));
    }
}

TEST_F(RelayNextHop, NoOtherRouteHasOne)
{
    for (const std::uint32_t type : {0U, 2U, 4U, 5U, 6U, 7U, 8U, 9U, 0x101U}) {
        expect_none(relay(empty_key(type, rd_a()), host_list(kSnhArrived)),
                    {"QEL_NGMVPN_SetRelayNextHop Success, type(" + std::to_string(type) + ")"});
    }
}

TEST_F(RelayNextHop, ARouteWithoutListHasNone)
{
    expect_none(relay(empty_key(3, rd_a()), std::nullopt),
                {"QEL_NGMVPN_SetRelayNextHop Success, EXTCOMMUNITY is NULL"});
}

TEST_F(RelayNextHop, AListWithoutSegmentedNextHopHasNone)
{
    expect_none(relay(empty_key(1, rd_a()), host_list(kTarget)), {});
    expect_none(relay(empty_key(1, rd_a()), Bytes{}), {});
}

TEST_F(RelayNextHop, TheReplacedCommunityOfTheRecordIsNotLookedAt)
{
    const HostRoute route({.list = host_list(kSnhArrived), .record = replaced_record().octets()});
    EXPECT_EQ(relay(route.info).next_hop, 0xc0a80a0bU);
}

// kept: "NetHop"; operators search their logs for the words as they are
TEST_F(RelayNextHop, TheLogLinesStandWordForWord)
{
    EXPECT_EQ(relay(empty_key(1, rd_a()), host_list(kSnhArrived)).log.back(),
              "QEL_NGMVPN_SetRelayNextHop Success, NetHop: 0xc0a80a0b");
    EXPECT_EQ(relay(empty_key(1, rd_a()), std::nullopt).log,
              Log{"QEL_NGMVPN_SetRelayNextHop Success, EXTCOMMUNITY is NULL"});
    EXPECT_EQ(relay(empty_key(7, rd_a()), host_list(kSnhArrived)).log,
              Log{"QEL_NGMVPN_SetRelayNextHop Success, type(7)"});
}

TEST_F(RelayNextHop, NullArgumentsAreRefusedWithOneReport)
{
    HostRoute route({.list = host_list(kSnhArrived)});
    HostRoute keyless({.key = std::nullopt, .list = host_list(kSnhArrived)});
    std::uint32_t next_hop = kUnwritten;
    std::uint32_t has = kUnwritten;
    expect_null_arguments_refused(5, [&](unsigned nulls) {
        const QEL_ROUTE_INFO_S &info = (nulls & 4) != 0 ? keyless.info : route.info;
        return QEL_NGMVPN_SetRelayNextHop(unless((nulls & 1) != 0, &info), unless((nulls & 8) != 0, &next_hop),
                                          unless((nulls & 16) != 0, &has), unless((nulls & 2) != 0, ctx_));
    });
    EXPECT_EQ(next_hop, kUnwritten);
    EXPECT_EQ(has, kUnwritten);
}

TEST_F(RelayNextHop, TheDescriptorReachesIt)
{
    const HostRoute route({.list = host_list(kSnhArrived)});
    std::uint32_t next_hop = 0;
    std::uint32_t has = 0;
    EXPECT_EQ(instance_.desc.pfSetRelayNextHop(&route.info, &next_hop, &has, ctx_), 0U);
    EXPECT_EQ(next_hop, 0xc0a80a0bU);
    EXPECT_EQ(has, 1U);
}

} // namespace
} // namespace qel::test
