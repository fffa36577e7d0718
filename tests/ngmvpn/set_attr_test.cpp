// The values that a route's attributes go out with: community list, next hop, community, tunnel; and the steps that
// replace and remove the segmented next hop.
#include "segment_cases.h"

#include "fail_copy.h"

namespace qel::test {
namespace {

const std::string kReplaceLine = "QEL_NGMVPN_SetExtCommunity replace SNH.";
const std::string kPeerLine = "QEL_NGMVPN_ProcExtCommunityEbgpPeer Ebgp peer.";
const std::string kRemoveLine = "QEL_NGMVPN_SetExtCommunity remove SNH.";
const std::string kAfterLine = "QEL_NGMVPN_SetExtCommunity after ebgp proc.";
const std::string kErrLine = "QEL_NGMVPN_SetExtCommunity Err.";
const std::string kNothingLine = "QEL_NGMVPN_SetExtCommunity after replace SNH, no extcomm.";

std::string input_line(const std::string &flag)
{
    return "QEL_NGMVPN_SetExtCommunity input uiCtrl: 0x" + flag;
}

std::string flag_line(const std::string &flag)
{
    return "QEL_NGMVPN_SetExtCommunity remove SNH, ebgpflag(0x" + flag + ").";
}

using Handler = decltype(&QEL_NGMVPN_SetExtCommunity);

Answer set(Handler handler, const QEL_ROUTE_INFO_S &route, std::uint32_t flag, QEL_FAMILY_CTX_S *ctx)
{
    return answer_of([&](auto result) { return handler(&route, flag, result, ctx); });
}

// --- the community list ---------------------------------------------------------------------------------------------

Answer set_list(const std::optional<Bytes> &list, const std::optional<ImportRecord> &record, std::uint32_t flag,
                QEL_FAMILY_CTX_S *ctx)
{
    const HostRoute route({.list = list, .record = record ? std::optional(record->octets()) : std::nullopt});
    return set(QEL_NGMVPN_SetExtCommunity, route.info, flag, ctx);
}

Answer set_list(const std::string &wire, const std::optional<ImportRecord> &record, std::uint32_t flag,
                QEL_FAMILY_CTX_S *ctx)
{
    return set_list(std::optional(host_list(wire)), record, flag, ctx);
}

void expect_list(const Answer &got, const std::string &wire, const Log &log)
{
    expect_attribute(got, 0, 16, host_list(wire));
    EXPECT_EQ(got.log, log);
}

using SetCommunities = PolicyTest;

TEST_F(SetCommunities, ARouteWithoutListHasNone)
{
    for (const std::uint32_t flag : {0U, 1U, 0x2000U}) {
        const Answer got = set_list(std::nullopt, replaced_record(), flag, ctx_);
        expect_no_block(got, 0, 0);
        EXPECT_TRUE(got.log.empty());
        EXPECT_EQ(got.allocations, 0U);
    }
}

TEST_F(SetCommunities, AListWithoutSegmentedNextHopGoesOutAsItIs)
{
    const std::string list = kTarget + kOpaque + kTarget2;
    for (const std::uint32_t flag : {0U, 0x2000U, 0x2U, 0x800U}) {
        SCOPED_TRACE(flag);
        const std::string shown = flag == 0 ? "0" : flag == 2 ? "2" : flag == 0x800 ? "800" : "2000";
        const Answer got = set_list(list, std::nullopt, flag, ctx_);
        expect_list(got, list, {input_line(shown)});
        EXPECT_EQ(got.allocations, 2U);
    }
}

TEST_F(SetCommunities, ASegmentedNextHopAloneTowardsAnEbgpPeerLeavesNothing)
{
    for (const std::string &list : {kSnhArrived, kSnhArrived + kSnhOther}) {
        for (const auto &[flag, shown] : {std::pair{1U, "1"}, std::pair{0x2000U, "2000"}}) {
            const Answer got = set_list(list, std::nullopt, flag, ctx_);
            expect_no_block(got, 0, 0);
            EXPECT_EQ(got.log, (Log{input_line(shown), kPeerLine, kRemoveLine, kNothingLine}));
            EXPECT_EQ(got.allocations, 1U);
        }
    }
}

TEST_F(SetCommunities, ASegmentedNextHopAloneStaysTowardsAnotherPeer)
{
    const Answer got = set_list(kSnhArrived, std::nullopt, 0, ctx_);
    expect_list(got, kSnhArrived, {input_line("0"), kAfterLine});
    EXPECT_EQ(got.allocations, 2U);
}

TEST_F(SetCommunities, TowardsAnEbgpPeerTheSegmentedNextHopGoesAndTheRestStays)
{
    const Answer got = set_list(kTarget + kSnhArrived + kOpaque + kSnhOther, std::nullopt, 0x2000, ctx_);
    expect_list(got, kTarget + kOpaque, {input_line("2000"), kPeerLine, kRemoveLine, flag_line("2000"), kAfterLine});
    EXPECT_EQ(got.allocations, 3U);
    expect_list(set_list(kSnhArrived + kTarget, std::nullopt, 0xffffdffe | 0x2000, ctx_), kTarget,
                {input_line("fffffffe"), kPeerLine, kRemoveLine, flag_line("fffffffe"), kAfterLine});
}

TEST_F(SetCommunities, TheNonTransitiveRuleComesAfterTheRemoval)
{
    expect_list(set_list(kTarget + kSnhArrived + kOpaque, std::nullopt, 1, ctx_), kTarget,
                {input_line("1"), kPeerLine, kRemoveLine, flag_line("1"), kAfterLine});
}

// kept: both bits together mean no EBGP peer
TEST_F(SetCommunities, BothBitsOfTheEbgpMaskKeepTheSegmentedNextHop)
{
    expect_list(set_list(kTarget + kSnhArrived + kOpaque, std::nullopt, 0x2001, ctx_), kTarget + kSnhArrived,
                {input_line("2001"), kAfterLine});
}

TEST_F(SetCommunities, ARecordReplacesTheSegmentedNextHop)
{
    const std::string list = kTarget + kSnhArrived + kOpaque + kTarget2;
    const std::string want = kTarget + kSnhReplacing + kOpaque + kTarget2;
    Answer got = set_list(list, replaced_record(), 0, ctx_);
    expect_list(got, want, {input_line("0"), kReplaceLine});
    EXPECT_EQ(got.allocations, 3U);
    expect_list(set_list(list, replaced_record(kHasSnh), 0x800, ctx_), want, {input_line("800"), kReplaceLine});
}

TEST_F(SetCommunities, ARecordReplacesAndTheNonTransitiveElementIsDropped)
{
    expect_list(set_list(kTarget + kSnhArrived + kOpaque, replaced_record(), 1, ctx_), kTarget + kSnhReplacing,
                {input_line("1"), kReplaceLine});
}

TEST_F(SetCommunities, OnlyTheFirstSegmentedNextHopIsReplaced)
{
    expect_list(set_list(kSnhArrived + kTarget + kSnhOther, replaced_record(), 0, ctx_),
                kSnhReplacing + kTarget + kSnhOther, {input_line("0"), kReplaceLine});
}

// kept: towards an EBGP peer a route with a record keeps its segmented next hop, replaced or not
TEST_F(SetCommunities, ARecordKeepsTheSegmentedNextHopTowardsAnEbgpPeer)
{
    const std::string list = kTarget + kSnhArrived;
    expect_list(set_list(list, replaced_record(), 0x2000, ctx_), kTarget + kSnhReplacing,
                {input_line("2000"), kReplaceLine});
    expect_list(set_list(list, replaced_record(kIsSet | kHasPmsi), 0x2000, ctx_), list, {input_line("2000")});
    expect_list(set_list(list, arrived_record(), 1, ctx_), list, {input_line("1")});
}

TEST_F(SetCommunities, AReplacingCommunityWithoutOneToReplaceIsReportedAndRefused)
{
    for (const std::string &list : {kTarget, kTarget + kOpaque}) {
        const Answer got = set_list(list, replaced_record(), 0, ctx_);
        expect_untouched(got, kOutOfMemory, 3); // the search, the replacement, the attribute
        EXPECT_EQ(got.log, Log{input_line("0")});
        EXPECT_EQ(got.allocations, 1U);
    }
}

TEST_F(SetCommunities, ElementsWithoutTheTransitiveBitAloneAreDropped)
{
    for (unsigned type = 0; type < 256; ++type) {
        const Bytes element{0x40, static_cast<std::uint8_t>(type), 0x40, 0x40, 0x40, 0x40, 0x40, 0x40};
        const Bytes kept = host_list(kTarget);
        const Answer got = set_list(kept + element + kept, std::nullopt, 1, ctx_);
        expect_attribute(got, 0, 16, (type & 0x40) != 0 ? kept + kept : kept + element + kept);
    }
}

TEST_F(SetCommunities, AListThatTheNonTransitiveRuleLeavesEmptyGivesWhatAnEmptyViewGives)
{
    const Answer got = set_list(kOpaque + kOpaque, std::nullopt, 1, ctx_);
    expect_untouched(got, kNull, 0);
    EXPECT_EQ(got.log, Log{input_line("1")});
    EXPECT_EQ(got.allocations, 1U);
    const Answer removed = set_list(kOpaque + kSnhArrived, std::nullopt, 1, ctx_);
    expect_untouched(removed, kNull, 0);
    EXPECT_EQ(removed.log, (Log{input_line("1"), kPeerLine, kRemoveLine, flag_line("1"), kAfterLine}));
}

TEST_F(SetCommunities, ARestOfLessThanOneElementIsLeftOut)
{
    const Bytes whole = host_list(kTarget);
    for (std::size_t rest = 1; rest < 8; ++rest) {
        const Bytes part = slice(host_list(kSnhArrived), 0, rest);
        expect_attribute(set_list(whole + part, std::nullopt, 0x2000, ctx_), 0, 16, whole);
        expect_untouched(set_list(std::optional(part), std::nullopt, 0, ctx_), kNull, 0);
    }
    const Bytes part = slice(host_list(kTarget2), 0, 5);
    expect_attribute(set_list(whole + host_list(kSnhArrived) + part, std::nullopt, 0x2000, ctx_), 0, 16, whole);
    expect_attribute(set_list(whole + host_list(kSnhArrived) + part, replaced_record(), 0x2000, ctx_), 0, 16,
                     whole + host_list(kSnhReplacing));
}

// The clear of nothing is refused and reported.
TEST_F(SetCommunities, AListOfNoLengthGivesWhatAnEmptyViewGives)
{
    for (const std::uint32_t flag : {0U, 1U, 0x2000U}) {
        expect_untouched(set_list(Bytes{}, std::nullopt, flag, ctx_), kNull, 1);
        expect_untouched(set_list(Bytes{}, arrived_record(), flag, ctx_), kNull, 1);
    }
}

TEST_F(SetCommunities, TheLengthIsTakenIn16Bits)
{
    Bytes list = host_list(kTarget);
    list.resize(0x10008, 0x41);
    const Answer got = set_list(std::optional(list), std::nullopt, 0, ctx_);
    expect_attribute(got, 0, 16, host_list(kTarget));
}

TEST_F(SetCommunities, LongListsGoOutWhole)
{
    Bytes list;
    Bytes transitive;
    for (unsigned i = 0; i < 8190; ++i) {
        const Bytes element{2,
                            static_cast<std::uint8_t>(i % 3 == 0 ? 0x43 : 0x01),
                            0,
                            0,
                            0,
                            0,
                            static_cast<std::uint8_t>(i),
                            static_cast<std::uint8_t>(i >> 8)};
        list.insert(list.end(), element.begin(), element.end());
        if (i % 3 != 0) {
            transitive.insert(transitive.end(), element.begin(), element.end());
        }
    }
    expect_attribute(set_list(std::optional(list), std::nullopt, 0, ctx_), 0, 16, list);
    expect_attribute(set_list(std::optional(list), std::nullopt, 1, ctx_), 0, 16, transitive);
}

TEST_F(SetCommunities, EveryAllocationFailsOnceAndNothingIsLeftBehind)
{
    const std::string list = kTarget + kSnhArrived;
    struct Failure {
        std::uint32_t code;
        std::size_t asserts;
        bool nulled;
        Log log;
    };
    const struct {
        std::string name;
        std::optional<ImportRecord> record;
        std::uint32_t flag;
        std::vector<Failure> failures;
    } rows[] = {
        {"as it is",
         std::nullopt,
         0,
         {{3, 1, false, {input_line("0"), kAfterLine}}, {kNoMemory, 1, false, {input_line("0"), kAfterLine}}}},
        {"replaced",
         replaced_record(),
         0,
         {{3, 2, false, {input_line("0")}},
          {3, 1, false, {input_line("0"), kReplaceLine}},
          {kNoMemory, 1, false, {input_line("0"), kReplaceLine}}}},
        {"removed",
         std::nullopt,
         0x2000,
         {{0, 1, true, {input_line("2000"), kPeerLine, kErrLine}},
          {3, 1, false, {input_line("2000"), kPeerLine, kRemoveLine, flag_line("2000"), kAfterLine}},
          {kNoMemory, 1, false, {input_line("2000"), kPeerLine, kRemoveLine, flag_line("2000"), kAfterLine}}}},
    };
    for (const auto &row : rows) {
        for (std::size_t after = 0; after < row.failures.size(); ++after) {
            SCOPED_TRACE(row.name + " " + std::to_string(after));
            const LeakCheck leaks;
            const platform::FailAllocation failure(after);
            const Answer got = set_list(list, row.record, row.flag, ctx_);
            EXPECT_TRUE(failure.fired());
            EXPECT_EQ(got.code, row.failures[after].code);
            EXPECT_EQ(got.asserts, row.failures[after].asserts);
            EXPECT_EQ(got.stored, row.failures[after].nulled);
            EXPECT_FALSE(got.block);
            EXPECT_EQ(got.log, row.failures[after].log);
        }
        const platform::FailAllocation failure(row.failures.size());
        EXPECT_TRUE(set_list(list, row.record, row.flag, ctx_).block);
        EXPECT_FALSE(failure.fired());
    }
}

TEST_F(SetCommunities, TheSectionIsLabelled0And16)
{
    const Answer got = set_list(kTarget, std::nullopt, 0, ctx_);
    ASSERT_TRUE(got.block);
    EXPECT_EQ(got.block->ucAttrFlag, 0);
    EXPECT_EQ(got.block->ucAttrType, 16);
}

// kept: operators search their logs for the words as they are, a removal told as a replacement among them
TEST_F(SetCommunities, TheLogLinesStandWordForWord)
{
    EXPECT_EQ(set_list(kTarget + kSnhArrived, replaced_record(), 0xabc, ctx_).log,
              (Log{"QEL_NGMVPN_SetExtCommunity input uiCtrl: 0xabc", "QEL_NGMVPN_SetExtCommunity replace SNH."}));
    EXPECT_EQ(set_list(kTarget + kSnhArrived, std::nullopt, 0x2a00, ctx_).log,
              (Log{"QEL_NGMVPN_SetExtCommunity input uiCtrl: 0x2a00", "QEL_NGMVPN_ProcExtCommunityEbgpPeer Ebgp peer.",
                   "QEL_NGMVPN_SetExtCommunity remove SNH.", "QEL_NGMVPN_SetExtCommunity remove SNH, ebgpflag(0x2a00).",
                   "QEL_NGMVPN_SetExtCommunity after ebgp proc."}));
    EXPECT_EQ(set_list(kSnhArrived, std::nullopt, 1, ctx_).log.back(),
              "QEL_NGMVPN_SetExtCommunity after replace SNH, no extcomm.");
    const platform::FailAllocation failure(0);
    EXPECT_EQ(set_list(kSnhArrived, std::nullopt, 1, ctx_).log.back(), "QEL_NGMVPN_SetExtCommunity Err.");
}

// kept: the code of the replacement does not come through, any failure is told as missing memory
TEST_F(SetCommunities, AnyFailedReplacementIsAnsweredAsNoMemory)
{
    EXPECT_EQ(set_list(kTarget, replaced_record(), 0, ctx_).code, kOutOfMemory) << "1 from the replacement";
    const platform::FailAllocation failure(0);
    EXPECT_EQ(set_list(kSnhArrived, replaced_record(), 0, ctx_).code, kOutOfMemory);
}

// kept: nobody but the log hears of it
TEST_F(SetCommunities, ARemovalWithoutMemoryTakesTheAttributeOutOfTheUpdate)
{
    const platform::FailAllocation failure(0);
    const Answer got = set_list(kTarget + kSnhArrived, std::nullopt, 0x2000, ctx_);
    EXPECT_TRUE(failure.fired());
    expect_no_block(got, 0, 1);
    EXPECT_EQ(got.log, (Log{input_line("2000"), kPeerLine, kErrLine}));
}

TEST_F(SetCommunities, Without0x1NonTransitiveElementsStay)
{
    for (const std::uint32_t flag : {0U, 0x2000U, 0xfffffffeU}) {
        expect_attribute(set_list(kOpaque + kTarget, std::nullopt, flag, ctx_), 0, 16, host_list(kOpaque + kTarget));
    }
}

TEST_F(SetCommunities, EveryCopyIsGivenBack)
{
    const LeakCheck leaks;
    set_list(kTarget + kSnhArrived, std::nullopt, 0, ctx_);
    set_list(kTarget + kSnhArrived, replaced_record(), 0, ctx_);
    set_list(kTarget + kSnhArrived, std::nullopt, 0x2000, ctx_);
    set_list(kSnhArrived, std::nullopt, 0x2000, ctx_);
    set_list(kTarget, replaced_record(), 0, ctx_);
}

// --- next hop and community -----------------------------------------------------------------------------------------

constexpr std::uint16_t kTypeAndUser = 0x3;

Bytes nonkey_of(std::uint16_t flags, std::uint16_t user_len, std::uint32_t user_value,
                const Bytes &addr = bytes("0d0c0b0a 1112131415161718191a1b1c"))
{
    auto nonkey = zeroed<QEL_NGMVPN_NONKEY_S>();
    nonkey.usFlags = flags;
    nonkey.usUserAddrLen = user_len;
    std::memcpy(&nonkey.stUserAddr, addr.data(), addr.size());
    nonkey.uiUserValue = user_value;
    return bytes_of(nonkey);
}

Answer set_by_nonkey(Handler handler, const std::optional<Bytes> &nonkey, std::uint32_t mask, QEL_FAMILY_CTX_S *ctx)
{
    HostRoute route({.nonkey = nonkey});
    route.info.uiValidMask = mask;
    return set(handler, route.info, 0xffffffff, ctx);
}

// A block without attribute flag and type.
void expect_value(const Answer &got, const Bytes &value)
{
    expect_attribute(got, 0, 0, value);
    EXPECT_TRUE(got.log.empty());
    EXPECT_EQ(got.allocations, 1U);
}

using SetNonKeyValue = PolicyTest;

TEST_F(SetNonKeyValue, AnIpv4NextHopStandsInSixteenOctetsWithZerosBehind)
{
    expect_value(set_by_nonkey(QEL_NGMVPN_SetNexthop, nonkey_of(kTypeAndUser, 4, 1), 0x4, ctx_),
                 bytes("0d0c0b0a") + Bytes(12));
}

TEST_F(SetNonKeyValue, AnIpv6NextHopIsCopied)
{
    expect_value(set_by_nonkey(QEL_NGMVPN_SetNexthop, nonkey_of(0xffff, 16, 1), 0xffffffff, ctx_),
                 bytes("0d0c0b0a 1112131415161718191a1b1c"));
}

TEST_F(SetNonKeyValue, AnyOtherUserAddressLengthGivesNoNextHop)
{
    for (const std::uint16_t length : std::initializer_list<std::uint16_t>{0, 1, 3, 5, 15, 17, 32, 128, 0x104, 0x110}) {
        expect_no_block(set_by_nonkey(QEL_NGMVPN_SetNexthop, nonkey_of(kTypeAndUser, length, 0), 0x4, ctx_), 0, 0);
    }
}

TEST_F(SetNonKeyValue, TheCommunityIsNoExport)
{
    for (const std::uint32_t value : {0U, 2U, 0x101U, 0x10001U, 0x80000001U, 0xffffffffU}) {
        expect_value(set_by_nonkey(QEL_NGMVPN_SetCommunity, nonkey_of(kTypeAndUser, 0, value), 0x4, ctx_),
                     bytes("01ffffff"));
    }
}

TEST_F(SetNonKeyValue, AUserValueOfOneGivesNoCommunity)
{
    expect_no_block(set_by_nonkey(QEL_NGMVPN_SetCommunity, nonkey_of(0xffff, 4, 1), 0x4, ctx_), 0, 0);
}

TEST_F(SetNonKeyValue, BothNeedTheNonKeySectionAndItsTypeAndUserBits)
{
    for (const Handler handler : {QEL_NGMVPN_SetNexthop, QEL_NGMVPN_SetCommunity}) {
        for (std::uint16_t flags = 0; flags < 8; ++flags) {
            const Answer got = set_by_nonkey(handler, nonkey_of(flags, 4, 0), 0x4, ctx_);
            EXPECT_EQ(got.code, 0U);
            EXPECT_TRUE(got.stored);
            EXPECT_EQ(static_cast<bool>(got.block), (flags & 3) == 3) << flags;
        }
        for (const std::uint32_t mask : {0U, 0x3U, 0xfffffffbU}) {
            const Answer got = set_by_nonkey(handler, nonkey_of(kTypeAndUser, 4, 0), mask, ctx_);
            expect_no_block(got, 0, 0);
            EXPECT_EQ(got.allocations, 0U);
            EXPECT_TRUE(got.log.empty());
        }
        expect_no_block(set_by_nonkey(handler, std::nullopt, 0x4, ctx_), 0, 0);
    }
}

TEST_F(SetNonKeyValue, ABlockThatCanNotBeMadeIsNoMemory)
{
    {
        const platform::FailAllocation failure(0);
        // null was stored before
        expect_no_block(set_by_nonkey(QEL_NGMVPN_SetNexthop, nonkey_of(kTypeAndUser, 4, 0), 0x4, ctx_), kNoMemory, 1);
    }
    const platform::FailAllocation failure(0);
    expect_untouched(set_by_nonkey(QEL_NGMVPN_SetCommunity, nonkey_of(kTypeAndUser, 4, 0), 0x4, ctx_), kNoMemory, 1);
}

TEST_F(SetNonKeyValue, NextHopAndCommunityHaveNeitherFlagNorType)
{
    for (const Handler handler : {QEL_NGMVPN_SetNexthop, QEL_NGMVPN_SetCommunity}) {
        const Answer got = set_by_nonkey(handler, nonkey_of(kTypeAndUser, 16, 0), 0x4, ctx_);
        ASSERT_TRUE(got.block);
        EXPECT_EQ(got.block->ucAttrFlag, 0);
        EXPECT_EQ(got.block->ucAttrType, 0);
    }
}

TEST_F(SetNonKeyValue, NullIsStoredBeforeANextHopIsMadeButNotBeforeACommunity)
{
    for (const Handler handler : {QEL_NGMVPN_SetNexthop, QEL_NGMVPN_SetCommunity}) {
        const platform::FailAllocation failure(0);
        const Answer got = set_by_nonkey(handler, nonkey_of(kTypeAndUser, 4, 0), 0x4, ctx_);
        EXPECT_EQ(got.code, kNoMemory);
        EXPECT_EQ(got.stored, handler == QEL_NGMVPN_SetNexthop);
        EXPECT_FALSE(got.block);
    }
}

TEST_F(SetNonKeyValue, ASectionWithoutItsPointerGivesNothing)
{
    for (const Handler handler : {QEL_NGMVPN_SetNexthop, QEL_NGMVPN_SetCommunity}) {
        expect_no_block(set_by_nonkey(handler, std::nullopt, 0xffffffff, ctx_), 0, 0);
    }
}

// --- tunnel ---------------------------------------------------------------------------------------------------------

const std::string kPmsiLine = "QEL_NGMVPN_SetPmsi.";
const std::string kReplacePmsiLine = "QEL_NGMVPN_SetPmsi replace pmsi.";

Answer set_tunnel(const std::optional<Bytes> &pmsi, const std::optional<ImportRecord> &record, QEL_FAMILY_CTX_S *ctx)
{
    const HostRoute route({.pmsi = pmsi, .record = record ? std::optional(record->octets()) : std::nullopt});
    return set(QEL_NGMVPN_SetPmsi, route.info, 0xffffffff, ctx);
}

void expect_tunnel(const Answer &got, const Bytes &tunnel, const Log &log)
{
    expect_attribute(got, 1, 22, tunnel);
    EXPECT_EQ(got.log, log);
    EXPECT_EQ(got.allocations, 1U);
}

using SetTunnel = PolicyTest;

TEST_F(SetTunnel, TheRoutesOwnTunnelGoesOutWithoutARecord)
{
    expect_tunnel(set_tunnel(kTunnel, std::nullopt, ctx_), kTunnel, {kPmsiLine});
}

TEST_F(SetTunnel, ARecordWithoutReplacedTunnelLeavesTheRoutesOwn)
{
    for (const std::uint32_t flags : {0U, kIsSet | kHasSnh, ~kHasPmsi}) {
        expect_tunnel(set_tunnel(kTunnel, replaced_record(flags), ctx_), kTunnel, {kPmsiLine});
    }
    expect_tunnel(set_tunnel(kTunnel, arrived_record(Bytes(9, 3)), ctx_), kTunnel, {kPmsiLine});
}

TEST_F(SetTunnel, AReplacedTunnelGoesOutInsteadOfTheRoutesOwnOrNone)
{
    for (const std::uint32_t flags : {kHasPmsi, kIsSet | kHasPmsi, 0xffffffffU}) {
        expect_tunnel(set_tunnel(kTunnel, replaced_record(flags), ctx_), kNextTunnel, {kPmsiLine, kReplacePmsiLine});
        expect_tunnel(set_tunnel(std::nullopt, replaced_record(flags), ctx_), kNextTunnel,
                      {kPmsiLine, kReplacePmsiLine});
    }
}

TEST_F(SetTunnel, TheReplacedTunnelIsReadAtItsOffset)
{
    ImportRecord record = replaced_record();
    record.replaced.offset = 3;
    record.replaced.length = 12;
    expect_tunnel(set_tunnel(kTunnel, record, ctx_), slice(record.data, 3, 12), {kPmsiLine, kReplacePmsiLine});
}

TEST_F(SetTunnel, NoTunnelAtAllGivesWhatAnEmptyViewGives)
{
    const ImportRecord bare = replaced_record(kIsSet | kHasPmsi, kTunnel, {});
    for (const Answer &got : {set_tunnel(std::nullopt, std::nullopt, ctx_), set_tunnel(Bytes{}, std::nullopt, ctx_),
                              set_tunnel(std::nullopt, arrived_record(), ctx_)}) {
        expect_untouched(got, kNull, 0);
        EXPECT_EQ(got.log, Log{kPmsiLine});
    }
    const Answer got = set_tunnel(kTunnel, bare, ctx_);
    expect_untouched(got, kNull, 0);
    EXPECT_EQ(got.log, (Log{kPmsiLine, kReplacePmsiLine}));
}

TEST_F(SetTunnel, ALengthBesideAMissingTunnelIsIgnored)
{
    HostRoute route({});
    route.info.uiPmsiLen = 10;
    expect_untouched(set(QEL_NGMVPN_SetPmsi, route.info, 0, ctx_), kNull, 0);
}

TEST_F(SetTunnel, TheLengthIsTakenIn16Bits)
{
    HostRoute route({.pmsi = kTunnel});
    route.info.uiPmsiLen = 0x10000 + 10;
    expect_tunnel(set(QEL_NGMVPN_SetPmsi, route.info, 0, ctx_), kTunnel, {kPmsiLine});
}

TEST_F(SetTunnel, ABlockThatCanNotBeMadeIsNoMemory)
{
    const platform::FailAllocation failure(0);
    const Answer got = set_tunnel(kTunnel, std::nullopt, ctx_);
    expect_untouched(got, kNoMemory, 1);
    EXPECT_EQ(got.log, Log{kPmsiLine});
}

TEST_F(SetTunnel, TheSectionIsLabelled1And22)
{
    const Answer got = set_tunnel(kTunnel, std::nullopt, ctx_);
    ASSERT_TRUE(got.block);
    EXPECT_EQ(got.block->ucAttrFlag, 1);
    EXPECT_EQ(got.block->ucAttrType, 22);
}

TEST_F(SetTunnel, TheLogLinesStandWordForWord)
{
    EXPECT_EQ(set_tunnel(kTunnel, replaced_record(), ctx_).log,
              (Log{"QEL_NGMVPN_SetPmsi.", "QEL_NGMVPN_SetPmsi replace pmsi."}));
}

// --- the doors ------------------------------------------------------------------------------------------------------

using SetAttrDoor = PolicyTest;

TEST_F(SetAttrDoor, NullArgumentsAreRefusedByEveryHandlerWithOneReport)
{
    const HostRoute route({.list = host_list(kTarget), .pmsi = kTunnel, .nonkey = nonkey_of(kTypeAndUser, 4, 0)});
    static QEL_ROUTE_BLOCK_S untouched{};
    QEL_ROUTE_BLOCK_S *result = &untouched;
    for (const Handler handler :
         {QEL_NGMVPN_SetExtCommunity, QEL_NGMVPN_SetNexthop, QEL_NGMVPN_SetCommunity, QEL_NGMVPN_SetPmsi}) {
        expect_null_arguments_refused(3, [&](unsigned nulls) {
            return handler(unless((nulls & 1) != 0, &route.info), 0, unless((nulls & 2) != 0, &result),
                           unless((nulls & 4) != 0, ctx_));
        });
    }
    EXPECT_EQ(result, &untouched);
}

TEST_F(SetAttrDoor, AMissingResultIsRefusedAlsoWhereThereIsNothingToHandOut)
{
    const HostRoute route({.nonkey = nonkey_of(kTypeAndUser, 0, 1)});
    for (const Handler handler :
         {QEL_NGMVPN_SetExtCommunity, QEL_NGMVPN_SetNexthop, QEL_NGMVPN_SetCommunity, QEL_NGMVPN_SetPmsi}) {
        const platform::Recorder recorder;
        EXPECT_EQ(handler(&route.info, 0, nullptr, ctx_), kNull);
        EXPECT_EQ(recorder.asserts().size(), 1U);
    }
}

TEST_F(SetAttrDoor, EveryRowOfTheTableHasItsHandler)
{
    static_assert(std::size(g_astQelNgmvpnSetAttrTbl) == 4);
    const struct {
        std::uint32_t type;
        Handler handler;
    } rows[] = {{16, QEL_NGMVPN_SetExtCommunity},
                {3, QEL_NGMVPN_SetNexthop},
                {8, QEL_NGMVPN_SetCommunity},
                {22, QEL_NGMVPN_SetPmsi}};
    for (std::size_t i = 0; i < std::size(rows); ++i) {
        EXPECT_EQ(g_astQelNgmvpnSetAttrTbl[i].uiType, rows[i].type);
        EXPECT_EQ(g_astQelNgmvpnSetAttrTbl[i].pfSetAttr, rows[i].handler);
        EXPECT_EQ(QEL_NGMVPN_GetAttrSetEntry(rows[i].type), &g_astQelNgmvpnSetAttrTbl[i]);
    }
}

TEST_F(SetAttrDoor, TheDescriptorReachesEachHandlerByAttributeType)
{
    const HostRoute route({.list = host_list(kTarget + kOpaque), .pmsi = kTunnel, .nonkey = nonkey_of(3, 4, 0)});
    const auto run = [&](std::uint32_t type, std::uint32_t flag) {
        return answer_of([&](auto result) { return instance_.desc.pfSetAttr(&route.info, type, flag, result, ctx_); });
    };
    expect_attribute(run(16, 0), 0, 16, host_list(kTarget + kOpaque));
    expect_attribute(run(16, 1), 0, 16, host_list(kTarget));
    expect_attribute(run(3, 0), 0, 0, bytes("0d0c0b0a") + Bytes(12));
    expect_attribute(run(8, 0), 0, 0, bytes("01ffffff"));
    expect_attribute(run(22, 0), 1, 22, kTunnel);
    for (const std::uint32_t type : {0U, 1U, 14U, 15U, 25U, 40U, 66U, 243U, 0x110U}) {
        expect_untouched(run(type, 0), 0x80003, 0);
    }
}

TEST_F(SetAttrDoor, AnAttributeWithoutRowIsRefusedAndTheResultLeftAlone)
{
    const HostRoute route({.list = host_list(kTarget), .pmsi = kTunnel});
    for (const std::uint32_t type : {0U, 2U, 4U, 14U, 23U, 25U, 243U, 0x116U}) {
        const Answer got =
            answer_of([&](auto result) { return QEL_NGMVPN_SetAttr(&route.info, type, 0, result, ctx_); });
        expect_untouched(got, 0x80003, 0);
        EXPECT_TRUE(got.log.empty());
    }
}

TEST_F(SetAttrDoor, NullArgumentsAreRefusedBeforeTheRowIsSought)
{
    const HostRoute route({.list = host_list(kTarget)});
    QEL_ROUTE_BLOCK_S *result = nullptr;
    for (const std::uint32_t type : {16U, 243U}) {
        expect_null_arguments_refused(3, [&](unsigned nulls) {
            return QEL_NGMVPN_SetAttr(unless((nulls & 1) != 0, &route.info), type, 0, unless((nulls & 2) != 0, &result),
                                      unless((nulls & 4) != 0, ctx_));
        });
    }
}

// --- the steps that replace and remove ------------------------------------------------------------------------------

class CommunityStep : public PolicyTest {
protected:
    void expect_reports(std::size_t count)
    {
        EXPECT_EQ(recorder_.asserts().size(), count);
        recorder_.clear();
    }
    platform::Recorder recorder_;
};

TEST_F(CommunityStep, ASegmentedNextHopIsFoundByItsSubType)
{
    const struct {
        std::optional<Bytes> list;
        std::uint32_t exists;
    } rows[] = {{std::nullopt, 0},
                {Bytes{}, 0},
                {host_list(kTarget), 0},
                {host_list(kSnhArrived), 1},
                {host_list(kTarget + kTarget2 + kSnhArrived), 1},
                {host_list(kTarget) + slice(host_list(kSnhArrived), 0, 7), 0},
                {bytes("0012121212121212"), 0},
                {bytes("12ff000000000000"), 1}};
    for (const auto &row : rows) {
        const HostRoute route({.list = row.list});
        EXPECT_EQ(QEL_NGMVPN_CheckSnhExist(&route.info), row.exists);
    }
    expect_reports(0);
    EXPECT_EQ(QEL_NGMVPN_CheckSnhExist(nullptr), kNull);
    expect_reports(1);
}

TEST_F(CommunityStep, ASearchInAMissingRouteIsReportedAndIsNoYes)
{
    EXPECT_EQ(QEL_NGMVPN_CheckSnhExist(nullptr), kNull);
    expect_reports(1);
}

TEST_F(CommunityStep, ReplacingTouchesTheFirstOfTwoAndRemovalDropsBoth)
{
    const OddBytes snh(host_list(kSnhReplacing));
    OddBytes list(host_list(kSnhArrived + kTarget + kSnhOther));
    EXPECT_EQ(QEL_NGMVPN_ExtComReplaceSnh(snh.data(), list.data(), list.size()), 0U);
    EXPECT_EQ(list.bytes(), host_list(kSnhReplacing + kTarget + kSnhOther));
    std::uint16_t length = 0x7777;
    EXPECT_EQ(QEL_NGMVPN_ExtComRemoveSnh(list.data(), list.size(), &length), 0U);
    EXPECT_EQ(length, 8);
    EXPECT_EQ(slice(list.bytes(), 0, 8), host_list(kTarget));
}

TEST_F(CommunityStep, AListWithoutOneToReplaceIsReportedAndRefused)
{
    const OddBytes snh(host_list(kSnhReplacing));
    OddBytes list(host_list(kTarget));
    EXPECT_EQ(QEL_NGMVPN_ExtComReplaceSnh(snh.data(), list.data(), list.size()), 1U);
    expect_reports(1);
    EXPECT_EQ(list.bytes(), host_list(kTarget));
}

TEST_F(CommunityStep, WithoutAReplacingCommunityTheOutputIsLeftAlone)
{
    const OddBytes list(host_list(kSnhArrived));
    for (const std::uint32_t flags : {0U, kIsSet | kHasPmsi, ~kHasSnh}) {
        const HostRoute route({.record = replaced_record(flags).octets()});
        std::uint8_t marker = 0;
        std::uint8_t *out = &marker;
        EXPECT_EQ(QEL_NGMVPN_ReplaceSnhExtComm(&route.info, list.data(), list.size(), &out, ctx_), 0U);
        EXPECT_EQ(out, &marker);
    }
}

TEST_F(CommunityStep, AFailedReplacementGivesItsCopyBackAndIsReportedTwice)
{
    const LeakCheck leaks;
    const HostRoute route({.record = replaced_record().octets()});
    const OddBytes list(host_list(kTarget));
    std::uint8_t marker = 0;
    std::uint8_t *out = &marker;
    EXPECT_EQ(QEL_NGMVPN_ReplaceSnhExtComm(&route.info, list.data(), list.size(), &out, ctx_), 1U);
    expect_reports(2);
    EXPECT_EQ(out, &marker);
}

TEST_F(CommunityStep, WithoutAnEbgpPeerBothOutputsAreCleared)
{
    const OddBytes list(host_list(kSnhArrived));
    for (const std::uint32_t flag : {0U, 0x2001U, 0x800U}) {
        std::uint8_t marker = 0;
        std::uint8_t *out = &marker;
        std::uint16_t length = 0x7777;
        EXPECT_EQ(QEL_NGMVPN_ProcExtCommunityEbgpPeer(list.data(), list.size(), flag, &out, &length, ctx_), 0U);
        EXPECT_EQ(out, nullptr);
        EXPECT_EQ(length, 0);
    }
}

TEST_F(CommunityStep, TheFirstSegmentedNextHopIsOverwritten)
{
    const OddBytes snh(host_list(kSnhReplacing));
    OddBytes list(host_list(kTarget + kSnhArrived + kSnhOther) + bytes("121212"));
    EXPECT_EQ(QEL_NGMVPN_ExtComReplaceSnh(snh.data(), list.data(), list.size()), 0U);
    EXPECT_EQ(list.bytes(), host_list(kTarget + kSnhReplacing + kSnhOther) + bytes("121212"));
    expect_reports(0);
    for (const Bytes &without : {host_list(kTarget), Bytes{}, slice(host_list(kSnhArrived), 0, 7)}) {
        OddBytes none(without);
        EXPECT_EQ(QEL_NGMVPN_ExtComReplaceSnh(snh.data(), none.data(), none.size()), 1U);
        EXPECT_EQ(none.bytes(), without);
        expect_reports(1);
    }
    expect_null_arguments_refused(2, [&](unsigned nulls) {
        return QEL_NGMVPN_ExtComReplaceSnh(unless((nulls & 1) != 0, snh.data()), unless((nulls & 2) != 0, list.data()),
                                           24);
    });
}

TEST_F(CommunityStep, EverySegmentedNextHopIsRemoved)
{
    const std::string elements[] = {kTarget, kSnhArrived, kOpaque, kSnhOther, kTarget2, kSnhReplacing};
    for (unsigned picked = 0; picked < 64; ++picked) {
        std::string wire;
        std::string want;
        for (unsigned i = 0; i < 6; ++i) {
            if ((picked >> i & 1) != 0) {
                wire += elements[i];
                want += i % 2 == 0 ? elements[i] : "";
            }
        }
        OddBytes list(host_list(wire));
        std::uint16_t length = 0x7777;
        EXPECT_EQ(QEL_NGMVPN_ExtComRemoveSnh(list.data(), list.size(), &length), 0U);
        ASSERT_EQ(length, host_list(want).size()) << picked;
        EXPECT_EQ(slice(list.bytes(), 0, length), host_list(want)) << picked;
    }
    expect_reports(0);
}

TEST_F(CommunityStep, AMoveThatFailsOnTheWayOfARemovalIsReportedAndTheElementCounted)
{
    OddBytes list(host_list(kSnhArrived + kTarget + kTarget2));
    std::uint16_t length = 0x7777;
    const FailCopy failure(0);
    EXPECT_EQ(QEL_NGMVPN_ExtComRemoveSnh(list.data(), list.size(), &length), 0U);
    EXPECT_TRUE(failure.fired());
    EXPECT_EQ(length, 16);
    EXPECT_EQ(list.bytes(), host_list(kSnhArrived + kTarget2 + kTarget2));
    ASSERT_EQ(recorder_.asserts().size(), 1U);
    EXPECT_EQ(recorder_.asserts()[0].value, 8U);
}

TEST_F(CommunityStep, ARestOfLessThanOneElementIsNotCounted)
{
    const Bytes rest = slice(host_list(kTarget2), 0, 7);
    for (const std::string &wire : {std::string(), kTarget, kSnhArrived + kTarget}) {
        OddBytes list(host_list(wire) + rest);
        std::uint16_t length = 0x7777;
        EXPECT_EQ(QEL_NGMVPN_ExtComRemoveSnh(list.data(), list.size(), &length), 0U);
        EXPECT_EQ(length, wire.empty() ? 0 : 8);
        EXPECT_EQ(slice(list.bytes(), 0, length), wire.empty() ? Bytes{} : host_list(kTarget));
    }
    std::uint16_t length = 0x7777;
    OddBytes list(host_list(kSnhArrived));
    expect_null_arguments_refused(2, [&](unsigned nulls) {
        return QEL_NGMVPN_ExtComRemoveSnh(unless((nulls & 1) != 0, list.data()), 8, unless((nulls & 2) != 0, &length));
    });
    EXPECT_EQ(list.bytes(), host_list(kSnhArrived));
    EXPECT_EQ(length, 0x7777);
    expect_reports(0);
}

TEST_F(CommunityStep, AReplacedCopyIsMadeWhereTheRecordHoldsACommunity)
{
    const Bytes octets = host_list(kTarget + kSnhArrived) + bytes("0102");
    const OddBytes list(octets);
    for (const std::uint32_t flags : {0U, kIsSet, kIsSet | kHasPmsi, ~kHasSnh}) {
        const HostRoute route({.record = replaced_record(flags).octets()});
        std::uint8_t marker = 0;
        std::uint8_t *out = &marker;
        EXPECT_EQ(QEL_NGMVPN_ReplaceSnhExtComm(&route.info, list.data(), list.size(), &out, ctx_), 0U);
        EXPECT_EQ(out, &marker);
    }
    const HostRoute route({.record = replaced_record().octets()});
    const std::uint64_t live = platform::usage(kMemHandle).live_bytes;
    std::uint8_t *out = nullptr;
    EXPECT_EQ(QEL_NGMVPN_ReplaceSnhExtComm(&route.info, list.data(), list.size(), &out, ctx_), 0U);
    ASSERT_NE(out, nullptr);
    EXPECT_EQ(platform::usage(kMemHandle).live_bytes, live + 18) << "on the heap though the inline buffer is free";
    EXPECT_EQ(hex({out, 18}), hex(host_list(kTarget + kSnhReplacing) + bytes("0102")));
    ZVK_Free_F(out, __FILE__, __LINE__);
    EXPECT_EQ(log_of(recorder_), Log{kReplaceLine});
    EXPECT_EQ(list.bytes(), octets);
    expect_reports(0);
}

TEST_F(CommunityStep, AReplacedCopyThatCanNotBeMadeLeavesTheOutputAlone)
{
    const HostRoute route({.record = replaced_record().octets()});
    const OddBytes list(host_list(kSnhArrived));
    const OddBytes other(host_list(kTarget));
    std::uint8_t marker = 0;
    std::uint8_t *out = &marker;
    {
        const platform::FailAllocation failure(0);
        EXPECT_EQ(QEL_NGMVPN_ReplaceSnhExtComm(&route.info, list.data(), 8, &out, ctx_), kOutOfMemory);
        expect_reports(1);
    }
    EXPECT_EQ(QEL_NGMVPN_ReplaceSnhExtComm(&route.info, other.data(), 8, &out, ctx_), 1U);
    EXPECT_TRUE(recorder_.debugs().empty());
    expect_reports(2);
    EXPECT_EQ(out, &marker);
}

TEST_F(CommunityStep, TheReplacementRefusesNullArgumentsWithOneReport)
{
    const HostRoute with({.record = replaced_record().octets()});
    const HostRoute without({});
    const OddBytes list(host_list(kSnhArrived));
    std::uint8_t *out = nullptr;
    expect_null_arguments_refused(5, [&](unsigned nulls) {
        const QEL_ROUTE_INFO_S &info = (nulls & 16) != 0 ? without.info : with.info;
        return QEL_NGMVPN_ReplaceSnhExtComm(unless((nulls & 1) != 0, &info), unless((nulls & 2) != 0, list.data()), 8,
                                            unless((nulls & 4) != 0, &out), unless((nulls & 8) != 0, ctx_));
    });
    EXPECT_EQ(out, nullptr);
}

TEST_F(CommunityStep, OneOfTheTwoBitsMeansAnEbgpPeerBothOrNeitherDoNot)
{
    const Bytes octets = host_list(kSnhArrived + kTarget + kSnhOther + kOpaque);
    const OddBytes list(octets);
    for (const std::uint32_t flag : {0U, 1U, 0x2000U, 0x2001U, 0xffffdffeU, 0xffffdfffU, 0xfffffffeU, 0xffffffffU}) {
        SCOPED_TRACE(flag);
        const bool peer = (flag & 0x2001) == 1 || (flag & 0x2001) == 0x2000;
        std::uint8_t marker = 0;
        std::uint8_t *out = &marker;
        std::uint16_t length = 0x7777;
        EXPECT_EQ(QEL_NGMVPN_ProcExtCommunityEbgpPeer(list.data(), list.size(), flag, &out, &length, ctx_), 0U);
        EXPECT_EQ(out != nullptr, peer);
        EXPECT_EQ(length, peer ? 16 : 0);
        EXPECT_EQ(log_of(recorder_), (peer ? Log{kPeerLine, kRemoveLine} : Log{}));
        if (out != nullptr) {
            EXPECT_EQ(hex({out, 16}), hex(host_list(kTarget + kOpaque)));
            ZVK_Free_F(out, __FILE__, __LINE__);
        }
        expect_reports(0);
    }
    EXPECT_EQ(list.bytes(), octets);
}

TEST_F(CommunityStep, ACopyForAnEbgpPeerThatCanNotBeMadeIsNull)
{
    const OddBytes list(host_list(kSnhArrived));
    std::uint8_t marker = 0;
    std::uint8_t *out = &marker;
    std::uint16_t length = 0x7777;
    const platform::FailAllocation failure(0);
    EXPECT_EQ(QEL_NGMVPN_ProcExtCommunityEbgpPeer(list.data(), 8, 1, &out, &length, ctx_), kOutOfMemory);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(length, 0);
    EXPECT_EQ(log_of(recorder_), Log{kPeerLine});
    expect_reports(1);
}

TEST_F(CommunityStep, TheRemovalRefusesNullArgumentsWithOneReport)
{
    const OddBytes list(host_list(kSnhArrived));
    std::uint8_t *out = nullptr;
    std::uint16_t length = 0;
    expect_null_arguments_refused(4, [&](unsigned nulls) {
        return QEL_NGMVPN_ProcExtCommunityEbgpPeer(unless((nulls & 1) != 0, list.data()), 8, 1,
                                                   unless((nulls & 2) != 0, &out), unless((nulls & 4) != 0, &length),
                                                   unless((nulls & 8) != 0, ctx_));
    });
    EXPECT_EQ(out, nullptr);
}

// --- the list that the host asks for --------------------------------------------------------------------------------

using GetCommunities = PolicyTest;

struct Listed {
    std::uint32_t code = 0;
    bool stored = false;
    bool list = false;
    std::uint32_t count = kUnwritten;
    Bytes octets{};
    std::size_t asserts = 0;
};

// Reads `length` octets of the copy.
Listed get(const QEL_ROUTE_INFO_S &route, const QEL_FAMILY_DESC_S &desc, QEL_FAMILY_CTX_S *ctx)
{
    std::uint8_t marker = 0;
    std::uint8_t *list = &marker;
    const std::uint64_t live = platform::usage(kMemHandle).live_bytes;
    const platform::Recorder recorder;
    Listed got;
    got.code = desc.pfGetExtCommunity(&route, &list, &got.count, ctx);
    got.asserts = recorder.asserts().size();
    EXPECT_TRUE(recorder.debugs().empty());
    got.stored = list != &marker;
    got.list = got.stored && list != nullptr;
    if (got.list) {
        got.octets.assign(list, list + (platform::usage(kMemHandle).live_bytes - live));
        ZVK_Free_F(list, __FILE__, __LINE__);
    }
    return got;
}

TEST_F(GetCommunities, TheHostGetsACopyAndTheCountOfItsElements)
{
    for (const Bytes &list : {host_list(kTarget), host_list(kOpaque + kSnhArrived + kTarget),
                              host_list(kTarget) + bytes("01020304050607")}) {
        const HostRoute route({.list = list, .record = replaced_record().octets()});
        const Listed got = get(route.info, instance_.desc, ctx_);
        EXPECT_EQ(got.code, 0U);
        EXPECT_EQ(hex(got.octets), hex(list));
        EXPECT_EQ(got.count, list.size() / 8);
        EXPECT_EQ(got.asserts, 0U);
    }
}

TEST_F(GetCommunities, NoListGivesNullAndZero)
{
    HostRoute route({});
    route.info.uiExtCommLen = 16;
    const Listed got = get(route.info, instance_.desc, ctx_);
    EXPECT_EQ(got.code, 0U);
    EXPECT_TRUE(got.stored);
    EXPECT_FALSE(got.list);
    EXPECT_EQ(got.count, 0U);
    EXPECT_EQ(got.asserts, 0U);
}

// The copy of nothing is refused and reported.
TEST_F(GetCommunities, AListOfNoLengthGivesACopyOfNothing)
{
    const HostRoute route({.list = Bytes{}});
    const Listed got = get(route.info, instance_.desc, ctx_);
    EXPECT_EQ(got.code, 0U);
    EXPECT_TRUE(got.list);
    EXPECT_EQ(got.count, 0U);
    EXPECT_EQ(got.asserts, 1U);
}

TEST_F(GetCommunities, NoMemoryLeavesBothOutputsAlone)
{
    const HostRoute route({.list = host_list(kTarget)});
    const platform::FailAllocation failure(0);
    const Listed got = get(route.info, instance_.desc, ctx_);
    EXPECT_TRUE(failure.fired());
    EXPECT_EQ(got.code, kOutOfMemory);
    EXPECT_FALSE(got.stored);
    EXPECT_EQ(got.count, kUnwritten);
    EXPECT_EQ(got.asserts, 1U);
}

TEST_F(GetCommunities, NullArgumentsAreRefusedWithOneReport)
{
    const HostRoute route({.list = host_list(kTarget)});
    std::uint8_t *list = nullptr;
    std::uint32_t count = kUnwritten;
    expect_null_arguments_refused(4, [&](unsigned nulls) {
        return QEL_NGMVPN_GetExtCommunity(unless((nulls & 1) != 0, &route.info), unless((nulls & 2) != 0, &list),
                                          unless((nulls & 4) != 0, &count), unless((nulls & 8) != 0, ctx_));
    });
    EXPECT_EQ(list, nullptr);
    EXPECT_EQ(count, kUnwritten);
}

} // namespace
} // namespace qel::test
