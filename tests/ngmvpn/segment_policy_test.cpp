// What becomes of a segmented route after policy: the decision table, the merged record, compares of records.
#include "segment_cases.h"

#include <random>

namespace qel::test {
namespace {

constexpr std::uint32_t kDeny = 6;
constexpr std::uint32_t kWithdraw = 7;

const std::string kRowA = "SetAttrAfterPlcy DENY + NEED_PROC(Y) + output(NEW), old import_pmsi is NULL ";
const std::string kRowB =
    "SetAttrAfterPlcy DENY + NEED_PROC(Y) + output(NEW), in old import_pmsi,replace attr is not exist";
const std::string kRow11 = "1.1: SetAttrAfterPlcy SUCCESS + NEED_PROC(N) + output(OLD),Replace snh and pmsi success !";
const std::string kRow12 = "1.2: SetAttrAfterPlcy SUCCESS + NEED_PROC(Y) + output(OLD+NEW)";
const std::string kRow21 = "2.1: SetAttrAfterPlcy WITHDRAW + NEED_PROC(N) + output(NEW), in old import_pmsi,replace "
                           "snh attr is not exist";
const std::string kRow22 = "2.2: SetAttrAfterPlcy DENY + NEED_PROC(Y) + output(NEW),origi plyinfo is refresh";
const std::string kNewIsNull = "SetAttrAfterPlcy Success + NEED_PROC(N) + output(NULL), new import_pmsi is NULL";
const std::string kLocal = "SetAttrAfterPlcy Success + NEED_PROC(N) + output(NULL),route from local/ebgp or to ebgp";

std::string entry_line(const std::string &type, const std::string &flag)
{
    return "SetAttrAfterPlcy: route type(" + type + "), uiCtrlFlag(" + flag + ").";
}

Log compare_lines(int ply, int snh, int pmsi)
{
    return {"SetAttrAfterPlcy PlyInfo CMP RESULT: " + std::to_string(ply) + ".",
            "SetAttrAfterPlcy SNH CMP RESULT: " + std::to_string(snh) + ".",
            "SetAttrAfterPlcy SNH CMP PMSI: " + std::to_string(pmsi) + "."};
}

std::string last_line(std::uint32_t code)
{
    return "SetAttrAfterPlcy Success, uiRetCode is " + std::to_string(code);
}

Answer decide(const QEL_ROUTE_INFO_S &old_route, const QEL_ROUTE_INFO_S &new_route, std::uint32_t flag,
              QEL_FAMILY_CTX_S *ctx)
{
    return answer_of([&](auto result) {
        return QEL_NGMVPN_SetAttrAfterPlcy(&old_route, &new_route, 0xdeadbeef, flag, result, ctx);
    });
}

Answer decide(const std::optional<Bytes> &old_record, const std::optional<Bytes> &new_record, QEL_FAMILY_CTX_S *ctx)
{
    const HostRoute old_route({.record = old_record});
    const HostRoute new_route({.record = new_record});
    return decide(old_route.info, new_route.info, 0, ctx);
}

Answer decide(const ImportRecord &old_record, const ImportRecord &new_record, QEL_FAMILY_CTX_S *ctx)
{
    return decide(std::optional(old_record.octets()), std::optional(new_record.octets()), ctx);
}

void expect_decision(const Answer &got, std::uint32_t code, std::uint16_t need_proc, const Bytes &record,
                     const Log &log, std::size_t asserts = 0)
{
    EXPECT_EQ(got.code, code);
    EXPECT_EQ(got.asserts, asserts);
    EXPECT_EQ(got.log, log);
    expect_section(got, 8, 2, 243, need_proc, record);
}

// The new record with the old one's replaced set.
Bytes merged(const ImportRecord &new_record, const ImportRecord &old_record)
{
    ImportRecord out = new_record;
    const std::size_t original = new_record.original.length;
    out.replaced = old_record.replaced;
    out.replaced.offset = static_cast<std::uint32_t>(original);
    out.data = slice(new_record.data, 0, original) +
               slice(old_record.data, old_record.original.length, old_record.replaced.length);
    return out.octets();
}

using SegmentPolicy = PolicyTest;

// --- routes that are not concerned ----------------------------------------------------------------------------------

TEST_F(SegmentPolicy, RoutesOfOtherTypesAreNotConcernedWhateverTheirRecordsHold)
{
    for (const std::uint32_t type : {0U, 2U, 4U, 5U, 6U, 7U, 8U, 9U, 0x101U, 0xfffffffeU}) {
        SCOPED_TRACE(type);
        const HostRoute old_route({.record = replaced_record().octets()});
        const HostRoute new_route({.key = empty_key(type, rd_a()), .record = arrived_record().octets()});
        const Answer got = decide(old_route.info, new_route.info, 0x2801, ctx_);
        expect_untouched(got, 0, 0);
        const std::string number = std::to_string(static_cast<std::int32_t>(type));
        EXPECT_EQ(got.log, (Log{entry_line(number, "2801"),
                                "SetAttrAfterPlcy Success + NEED_PROC(N) + output(NULL), for type " + number}));
        EXPECT_EQ(got.allocations, 0U);
    }
}

TEST_F(SegmentPolicy, TheNewRoutesTypeCountsAlone)
{
    const HostRoute old_route({.key = empty_key(4, rd_a()), .record = replaced_record().octets()});
    const HostRoute new_route({.key = empty_key(3, rd_a()), .record = arrived_record().octets()});
    expect_decision(decide(old_route.info, new_route.info, 0, ctx_), 0, 0, replaced_record().octets(),
                    Log{entry_line("3", "0")} + compare_lines(0, 0, 0) + Log{kRow11, last_line(0)});
    const Answer got = decide(new_route.info, old_route.info, 0, ctx_);
    expect_untouched(got, 0, 0);
}

TEST_F(SegmentPolicy, LocalAndEbgpRoutesAreNotConcerned)
{
    const HostRoute old_route({.record = replaced_record().octets()});
    const HostRoute new_route({.record = arrived_record().octets()});
    for (unsigned bit = 0; bit < 32; ++bit) {
        const std::uint32_t flag = 1U << bit;
        SCOPED_TRACE(flag);
        const Answer got = decide(old_route.info, new_route.info, flag, ctx_);
        if ((flag & 0x2801) == 0) {
            EXPECT_TRUE(got.block);
            continue;
        }
        expect_untouched(got, 0, 0);
        EXPECT_EQ(got.log, (Log{entry_line("1", bit == 0 ? "1" : bit == 11 ? "800" : "2000"), kLocal}));
        EXPECT_EQ(got.allocations, 0U);
    }
    EXPECT_EQ(decide(old_route.info, new_route.info, 0xffffd7fe, ctx_).log[0], entry_line("1", "ffffd7fe"));
}

TEST_F(SegmentPolicy, ANewRouteWithoutRecordIsNotConcerned)
{
    const Answer got = decide(std::nullopt, std::nullopt, ctx_);
    expect_untouched(got, 0, 0);
    EXPECT_EQ(got.log, (Log{entry_line("1", "0"), kNewIsNull}));
}

TEST_F(SegmentPolicy, ANewRouteWithoutRecordWhereTheOldOneHasOneIsReported)
{
    const Answer got = decide(replaced_record().octets(), std::nullopt, ctx_);
    expect_untouched(got, 0, 1);
    EXPECT_EQ(got.log, (Log{entry_line("1", "0"), kNewIsNull}));
    EXPECT_EQ(got.allocations, 0U);
}

TEST_F(SegmentPolicy, TheCheckSaysWhetherADecisionHasToBeMade)
{
    const HostRoute with({.record = arrived_record().octets()});
    const HostRoute without({});
    const HostRoute leaf({.key = empty_key(4, rd_a()), .record = arrived_record().octets()});
    const platform::Recorder recorder;
    EXPECT_EQ(QEL_NGMVPN_CheckNeedReplaceSnh(&without.info, &with.info, 0, ctx_), 0U);
    EXPECT_EQ(QEL_NGMVPN_CheckNeedReplaceSnh(&with.info, &with.info, 0, ctx_), 0U);
    EXPECT_EQ(QEL_NGMVPN_CheckNeedReplaceSnh(&without.info, &with.info, 0x800, ctx_), 1U);
    EXPECT_EQ(QEL_NGMVPN_CheckNeedReplaceSnh(&without.info, &leaf.info, 0, ctx_), 1U);
    EXPECT_EQ(QEL_NGMVPN_CheckNeedReplaceSnh(&without.info, &without.info, 0, ctx_), 1U);
    EXPECT_TRUE(recorder.asserts().empty());
    EXPECT_EQ(QEL_NGMVPN_CheckNeedReplaceSnh(&with.info, &without.info, 0, ctx_), 1U);
    EXPECT_EQ(recorder.asserts().size(), 1U);
    expect_null_arguments_refused(2, [&](unsigned nulls) {
        return QEL_NGMVPN_CheckNeedReplaceSnh(unless((nulls & 1) != 0, &with.info),
                                              unless((nulls & 2) != 0, &with.info), 0, ctx_);
    });
}

TEST_F(SegmentPolicy, IntraAndSPmsiRoutesAreDecided)
{
    for (const std::uint32_t type : {1U, 3U}) {
        const HostRoute old_route({.record = replaced_record().octets()});
        const HostRoute new_route({.key = empty_key(type, rd_a()), .record = arrived_record().octets()});
        EXPECT_TRUE(decide(old_route.info, new_route.info, 0, ctx_).block);
    }
}

TEST_F(SegmentPolicy, TheTypeIsAskedBeforeTheControlFlagsAndTheseBeforeTheRecord)
{
    const HostRoute old_route({.record = replaced_record().octets()});
    const HostRoute leaf({.key = empty_key(4, rd_a())});
    EXPECT_EQ(decide(old_route.info, leaf.info, 0x800, ctx_).log.back(),
              "SetAttrAfterPlcy Success + NEED_PROC(N) + output(NULL), for type 4");
    const HostRoute intra({});
    const Answer got = decide(old_route.info, intra.info, 0x800, ctx_);
    EXPECT_EQ(got.log.back(), kLocal);
    EXPECT_EQ(got.asserts, 0U) << "the missing record is not come to";
}

TEST_F(SegmentPolicy, TheCheckRefusesNullArgumentsWithOneReport)
{
    const HostRoute with({.record = arrived_record().octets()});
    expect_null_arguments_refused(2, [&](unsigned nulls) {
        return QEL_NGMVPN_CheckNeedReplaceSnh(unless((nulls & 1) != 0, &with.info),
                                              unless((nulls & 2) != 0, &with.info), 0, ctx_);
    });
}

TEST_F(SegmentPolicy, ANewRouteWithoutKeyGetsNoBlock)
{
    const HostRoute old_route({.record = replaced_record().octets()});
    const HostRoute keyless({.key = std::nullopt, .record = arrived_record().octets()});
    expect_untouched(decide(old_route.info, keyless.info, 0, ctx_), 0, 1);
    const platform::Recorder recorder;
    EXPECT_EQ(QEL_NGMVPN_CheckNeedReplaceSnh(&old_route.info, &keyless.info, 0, ctx_), kNull);
    EXPECT_EQ(recorder.asserts().size(), 1U);
    // the old route's key is not looked at
    const HostRoute old_keyless({.key = std::nullopt, .record = replaced_record().octets()});
    const HostRoute new_route({.record = arrived_record().octets()});
    EXPECT_TRUE(decide(old_keyless.info, new_route.info, 0, ctx_).block);
}

TEST_F(SegmentPolicy, NullArgumentsAreRefusedWithOneReport)
{
    const HostRoute old_route({.record = replaced_record().octets()});
    const HostRoute new_route({.record = arrived_record().octets()});
    QEL_ROUTE_BLOCK_S *result = nullptr;
    expect_null_arguments_refused(4, [&](unsigned nulls) {
        return QEL_NGMVPN_SetAttrAfterPlcy(unless((nulls & 1) != 0, &old_route.info),
                                           unless((nulls & 2) != 0, &new_route.info), 0, 0,
                                           unless((nulls & 4) != 0, &result), unless((nulls & 8) != 0, ctx_));
    });
    EXPECT_EQ(result, nullptr);
}

// --- the decision table ---------------------------------------------------------------------------------------------

TEST_F(SegmentPolicy, RowAWithoutOldRecordDeniesAndAsks)
{
    const ImportRecord record = arrived_record();
    expect_decision(decide(std::nullopt, record.octets(), ctx_), kDeny, 1, record.octets(),
                    {entry_line("1", "0"), kRowA});
}

TEST_F(SegmentPolicy, RowBWithoutReplacedSetDeniesAndAsksEvenIfAllAgrees)
{
    for (const std::uint32_t flags : {0U, kHasSnh, kHasPmsi, kHasSnh | kHasPmsi, ~kIsSet}) {
        ImportRecord old_record = replaced_record(flags);
        ImportRecord new_record = arrived_record();
        const Answer got = decide(old_record, new_record, ctx_);
        expect_decision(got, kDeny, 1, new_record.octets(), {entry_line("1", "0"), kRowB});
    }
}

TEST_F(SegmentPolicy, Row11KeepsTheOldRecordWhereNothingChanged)
{
    for (const std::uint32_t flags : {kIsSet | kHasSnh, kIsSet | kHasSnh | kHasPmsi, 0xffffffffU}) {
        const ImportRecord old_record = replaced_record(flags);
        expect_decision(decide(old_record, arrived_record(), ctx_), 0, 0, old_record.octets(),
                        Log{entry_line("1", "0")} + compare_lines(0, 0, 0) + Log{kRow11, last_line(0)});
    }
}

TEST_F(SegmentPolicy, Row12MergesWhereTheInputChanged)
{
    const ImportRecord old_record = replaced_record();
    ImportRecord new_record = arrived_record();
    new_record.key = spmsi_key(rd_b(), 2, s6(), g6(), o6());
    new_record.policy_id = 0x0f0e0d0c;
    new_record.ply[1] = 0x11121315;
    const Answer got = decide(old_record, new_record, ctx_);
    const Log log = Log{entry_line("1", "0")} + compare_lines(1, 0, 0) + Log{kRow12, last_line(0)};
    expect_decision(got, 0, 1, merged(new_record, old_record), log);
    EXPECT_EQ(got.allocations, 2U);
}

TEST_F(SegmentPolicy, Row21WithdrawsWhereNothingChangedAndThereIsNoReplacedCommunity)
{
    for (const std::uint32_t flags : {kIsSet, kIsSet | kHasPmsi, ~kHasSnh}) {
        const ImportRecord new_record = arrived_record();
        expect_decision(decide(replaced_record(flags), new_record, ctx_), kWithdraw, 0, new_record.octets(),
                        Log{entry_line("1", "0")} + compare_lines(0, 0, 0) + Log{kRow21, last_line(7)});
    }
}

TEST_F(SegmentPolicy, Row22DeniesAndAsksWhereTheInputChangedAndThereIsNoReplacedCommunity)
{
    for (const std::uint32_t flags : {kIsSet, kIsSet | kHasPmsi, ~kHasSnh}) {
        const ImportRecord new_record = arrived_record(kTunnel, kSnhOther);
        const Answer got = decide(replaced_record(flags), new_record, ctx_);
        expect_decision(got, kDeny, 1, new_record.octets(),
                        Log{entry_line("1", "0")} + compare_lines(0, -1, 0) + Log{kRow22, last_line(6)});
        EXPECT_EQ(got.allocations, 1U);
    }
}

// kept: blanks and words as they are, the blank at the end of row A too; operators search their logs for them
TEST_F(SegmentPolicy, TheLogLinesStandWordForWord)
{
    const auto log = [&](const std::optional<ImportRecord> &old_record, const std::optional<ImportRecord> &new_record,
                         std::uint32_t type = 1, std::uint32_t flag = 0) {
        const HostRoute old_route({.record = old_record ? std::optional(old_record->octets()) : std::nullopt});
        const HostRoute new_route({.key = empty_key(type, rd_a()),
                                   .record = new_record ? std::optional(new_record->octets()) : std::nullopt});
        return decide(old_route.info, new_route.info, flag, ctx_).log;
    };
    const ImportRecord first = arrived_record();
    const ImportRecord changed = arrived_record(kTunnel, kSnhOther);
    const std::string none = "SetAttrAfterPlcy Success + NEED_PROC(N) + output(NULL),";
    EXPECT_EQ(log(first, first, 4, 0x1a),
              (Log{"SetAttrAfterPlcy: route type(4), uiCtrlFlag(1a).", none + " for type 4"}));
    EXPECT_EQ(log(first, first, 3, 1).back(), none + "route from local/ebgp or to ebgp");
    EXPECT_EQ(log({}, {}).back(), none + " new import_pmsi is NULL");
    EXPECT_EQ(log({}, first).back(), "SetAttrAfterPlcy DENY + NEED_PROC(Y) + output(NEW), old import_pmsi is NULL ");
    EXPECT_EQ(log(first, first).back(),
              "SetAttrAfterPlcy DENY + NEED_PROC(Y) + output(NEW), in old import_pmsi,replace attr is not exist");
    const Log compared{"SetAttrAfterPlcy PlyInfo CMP RESULT: 0.", "SetAttrAfterPlcy SNH CMP RESULT: -1.",
                       "SetAttrAfterPlcy SNH CMP PMSI: 0."};
    const Log begin = Log{"SetAttrAfterPlcy: route type(1), uiCtrlFlag(0)."} + compared;
    EXPECT_EQ(log(replaced_record(), changed),
              (begin + Log{"1.2: SetAttrAfterPlcy SUCCESS + NEED_PROC(Y) + output(OLD+NEW)",
                           "SetAttrAfterPlcy Success, uiRetCode is 0"}));
    EXPECT_EQ(log(replaced_record(kIsSet), changed),
              (begin + Log{"2.2: SetAttrAfterPlcy DENY + NEED_PROC(Y) + output(NEW),origi plyinfo is refresh",
                           "SetAttrAfterPlcy Success, uiRetCode is 6"}));
    EXPECT_EQ(log(replaced_record(), first)[4],
              "1.1: SetAttrAfterPlcy SUCCESS + NEED_PROC(N) + output(OLD),Replace snh and pmsi success !");
    EXPECT_EQ(log(replaced_record(kIsSet), first)[4],
              "2.1: SetAttrAfterPlcy WITHDRAW + NEED_PROC(N) + output(NEW), in old import_pmsi,replace snh attr is "
              "not exist");
}

// kept: the two rows without an answer end with their own line
TEST_F(SegmentPolicy, RowsAAndBDoNotWriteTheLineOfTheResult)
{
    const Bytes record = arrived_record().octets();
    EXPECT_EQ(decide(std::nullopt, record, ctx_).log.back(), kRowA);
    EXPECT_EQ(decide(record, record, ctx_).log.back(), kRowB);
    EXPECT_EQ(decide(replaced_record().octets(), record, ctx_).log.back(), last_line(0));
}

TEST_F(SegmentPolicy, TheNeedToAskIsBit0x1OfTheBlocksHeader)
{
    const Answer got = decide(std::nullopt, arrived_record().octets(), ctx_);
    ASSERT_TRUE(got.block);
    EXPECT_EQ(got.block.section(6, 2), bytes("0100"));
    const Answer settled = decide(replaced_record(), arrived_record(), ctx_);
    ASSERT_TRUE(settled.block);
    EXPECT_EQ(settled.block.section(6, 2), bytes("0000"));
}

TEST_F(SegmentPolicy, TheMergedRecordIsGivenBack)
{
    const LeakCheck leaks;
    EXPECT_TRUE(decide(replaced_record(), arrived_record(kTunnel, kSnhOther), ctx_).block);
    const platform::FailAllocation failure(1);
    EXPECT_FALSE(decide(replaced_record(), arrived_record(kTunnel, kSnhOther), ctx_).block);
    EXPECT_TRUE(failure.fired());
}

// Every change shows alike on a route with a replaced community and on one without.
void expect_change(const ImportRecord &old_record, const ImportRecord &new_record, const Log &compares, bool changed,
                   QEL_FAMILY_CTX_S *ctx, std::size_t asserts = 0)
{
    const Log begin = Log{entry_line("1", "0")} + compares;
    ASSERT_EQ(old_record.replaced.flags & kHasSnh, kHasSnh);
    const Answer held = decide(old_record, new_record, ctx);
    expect_decision(held, 0, changed ? 1 : 0, changed ? merged(new_record, old_record) : old_record.octets(),
                    begin + Log{changed ? kRow12 : kRow11, last_line(0)}, asserts);
    ImportRecord without = old_record;
    without.replaced.flags &= ~kHasSnh;
    const std::uint32_t code = changed ? kDeny : kWithdraw;
    expect_decision(decide(without, new_record, ctx), code, changed ? 1 : 0, new_record.octets(),
                    begin + Log{changed ? kRow22 : kRow21, last_line(code)}, asserts);
}

TEST_F(SegmentPolicy, EveryOctetOfThePolicyInfoCountsByItsPlaceInMemory)
{
    for (std::size_t at = 0; at < 12; ++at) {
        SCOPED_TRACE(at);
        ImportRecord low = replaced_record();
        low.ply = {0x55555555, 0x55555555, 0x55555555};
        ImportRecord high = low;
        high.ply[at / 4] += 1U << (at % 4 * 8);
        if (at < 11) { // an octet behind it that says the opposite
            high.ply[(at + 1) / 4] -= 1U << ((at + 1) % 4 * 8);
        }
        ImportRecord new_high = high;
        ImportRecord new_low = low;
        new_high.replaced = new_low.replaced = {};
        expect_change(low, new_high, compare_lines(-1, 0, 0), true, ctx_);
        expect_change(high, new_low, compare_lines(1, 0, 0), true, ctx_);
    }
}

TEST_F(SegmentPolicy, EveryOctetOfTheOriginalCommunityCounts)
{
    for (std::size_t at = 0; at < 8; ++at) {
        SCOPED_TRACE(at);
        ImportRecord low = replaced_record();
        low.original.snh = Bytes(8, 0x55);
        ImportRecord high = low;
        high.original.snh[at] = 0xd6;
        expect_change(low, high, compare_lines(0, -1, 0), true, ctx_);
        expect_change(high, low, compare_lines(0, 1, 0), true, ctx_);
    }
}

TEST_F(SegmentPolicy, EveryOctetOfTheOriginalTunnelCounts)
{
    for (std::size_t at = 0; at < kTunnel.size(); ++at) {
        SCOPED_TRACE(at);
        Bytes other = kTunnel;
        other[at] = 0xf0;
        expect_change(replaced_record(), arrived_record(other), compare_lines(0, 0, -1), true, ctx_);
        expect_change(replaced_record(7 | kIsSet, other), arrived_record(), compare_lines(0, 0, 1), true, ctx_);
    }
}

TEST_F(SegmentPolicy, AnOriginalTunnelOneByteLongerMovesTheReplacedOneByOneByte)
{
    const Bytes longer = Bytes(kTunnel.size(), 0) + Bytes(1, 0);
    const ImportRecord new_record = arrived_record(longer);
    expect_change(replaced_record(), new_record, compare_lines(0, 0, -1), true, ctx_);
    const Answer got = decide(replaced_record(), new_record, ctx_);
    ASSERT_TRUE(got.block);
    ASSERT_EQ(got.block->usAttrLen, kFixedLen + kTunnel.size() + 1 + kNextTunnel.size());
    EXPECT_EQ(hex(got.block.section(32 + 148, 4)), "0b000e00") << "offset and length of the replaced tunnel";
    EXPECT_EQ(hex(got.block.section(32 + 152, 11)), hex(longer));
    EXPECT_EQ(hex(got.block.section(32 + 163, 14)), hex(kNextTunnel));
    expect_change(replaced_record(7 | kIsSet, longer), arrived_record(), compare_lines(0, 0, 1), true, ctx_);
}

TEST_F(SegmentPolicy, AllThreeComparesRunAndAnyOfThemIsAChange)
{
    Bytes other_tunnel = kTunnel;
    other_tunnel[9] = 0;
    for (unsigned differ = 0; differ < 8; ++differ) {
        SCOPED_TRACE(differ);
        ImportRecord record = arrived_record((differ & 4) != 0 ? other_tunnel : kTunnel);
        if ((differ & 1) != 0) {
            record.ply[0] = 0xffffffff;
        }
        if ((differ & 2) != 0) {
            record.original.snh = Bytes(8);
        }
        expect_change(replaced_record(), record,
                      compare_lines((differ & 1) != 0 ? -1 : 0, (differ & 2) != 0 ? 1 : 0, (differ & 4) != 0 ? 1 : 0),
                      differ != 0, ctx_);
    }
}

TEST_F(SegmentPolicy, KeyPolicyIdReplacedSetAndFlagsAreNoChange)
{
    ImportRecord record = arrived_record();
    record.key = spmsi_key(rd_b(), 2, s6(), g6(), o6());
    record.policy_id = 7;
    record.replaced.snh = Bytes(8, 0x99);
    record.replaced.flags = 0xf0;
    record.original.flags |= 0xf0;
    expect_change(replaced_record(), record, compare_lines(0, 0, 0), false, ctx_);
}

TEST_F(SegmentPolicy, ASideWithoutTunnelComparesAsEqualWithAReport)
{
    for (unsigned lacking = 1; lacking < 4; ++lacking) {
        SCOPED_TRACE(lacking);
        Bytes other = kTunnel;
        other[0] = 0x77;
        ImportRecord old_record = replaced_record();
        ImportRecord new_record = arrived_record(other);
        old_record.original.flags &= (lacking & 1) != 0 ? ~kHasPmsi : ~0U;
        new_record.original.flags &= (lacking & 2) != 0 ? ~kHasPmsi : ~0U;
        Log compares = compare_lines(0, 0, 0);
        compares.pop_back();
        expect_change(old_record, new_record, compares, false, ctx_, 1);
    }
}

TEST_F(SegmentPolicy, ATunnelTooShortToCompareIsAChange)
{
    const Bytes four(4, 1);
    expect_change(replaced_record(7 | kIsSet, four), arrived_record(four), compare_lines(0, 0, -2), true, ctx_, 1);
    expect_change(replaced_record(), arrived_record(four), compare_lines(0, 0, -2), true, ctx_, 1);
    const Bytes five(5, 1);
    expect_change(replaced_record(7 | kIsSet, five), arrived_record(five), compare_lines(0, 0, 0), false, ctx_);
}

TEST_F(SegmentPolicy, TheRecordGoesOutInTheLengthThatItsRouteTells)
{
    const Bytes behind(9, 0x3c);
    const Bytes record = arrived_record().octets();
    const Bytes answered = replaced_record().octets();
    for (const bool longer : {false, true}) {
        const auto told = [&](const Bytes &from) { return longer ? from + behind : slice(from, 0, kFixedLen + 10); };
        const auto log_is = [](const Answer &got, const std::string &row) {
            return std::find(got.log.begin(), got.log.end(), row) != got.log.end();
        };
        const auto run = [&](const std::optional<Bytes> &old_record, const Bytes &new_record, const Bytes &want,
                             const std::string &row) {
            const Answer got = decide(old_record, new_record, ctx_);
            expect_section(got, 8, 2, 243, got.block->usNeedProc, want);
            EXPECT_TRUE(log_is(got, row));
        };
        run(std::nullopt, told(record), told(record), kRowA);
        run(record, told(record), told(record), kRowB);
        run(told(answered), record, told(answered), kRow11);
        run(replaced_record(kIsSet).octets(), told(record), told(record), kRow21);
        run(replaced_record(kIsSet).octets(), told(arrived_record(kTunnel, kSnhOther).octets()),
            told(arrived_record(kTunnel, kSnhOther).octets()), kRow22);
    }
}

TEST_F(SegmentPolicy, ARecordOfNoLengthGivesNoBlockAndSuccessInEveryRow)
{
    const struct {
        std::optional<ImportRecord> old_record;
        ImportRecord new_record;
        std::string row;
    } rows[] = {{std::nullopt, arrived_record(), kRowA},
                {arrived_record(), arrived_record(), kRowB},
                {replaced_record(), arrived_record(), kRow11},
                {replaced_record(kIsSet), arrived_record(), kRow21},
                {replaced_record(kIsSet), arrived_record(kTunnel, kSnhOther), kRow22}};
    for (const auto &row : rows) {
        SCOPED_TRACE(row.row);
        HostRoute old_route({.record = row.old_record ? std::optional(row.old_record->octets()) : std::nullopt});
        HostRoute new_route({.record = row.new_record.octets()});
        old_route.info.uiImportAttrLen = 0;
        new_route.info.uiImportAttrLen = 0;
        const Answer got = decide(old_route.info, new_route.info, 0, ctx_);
        expect_untouched(got, 0, 1);
        ASSERT_FALSE(got.log.empty());
        EXPECT_EQ(got.log.back(), row.row) << "the line of the result is not written";
    }
}

// --- every allocation fails once ------------------------------------------------------------------------------------

TEST_F(SegmentPolicy, ABlockThatCanNotBeMadeGivesSuccessInEveryRow)
{
    const struct {
        std::optional<Bytes> old_record;
        ImportRecord new_record;
        std::string row;
        std::uint64_t after = 0;
    } rows[] = {{std::nullopt, arrived_record(), kRowA},
                {arrived_record().octets(), arrived_record(), kRowB},
                {replaced_record().octets(), arrived_record(), kRow11},
                {replaced_record().octets(), arrived_record(kTunnel, kSnhOther), kRow12, 1},
                {replaced_record(kIsSet).octets(), arrived_record(), kRow21},
                {replaced_record(kIsSet).octets(), arrived_record(kTunnel, kSnhOther), kRow22}};
    for (const auto &row : rows) {
        SCOPED_TRACE(row.row);
        const LeakCheck leaks;
        const platform::FailAllocation failure(row.after);
        const Answer got = decide(row.old_record, row.new_record.octets(), ctx_);
        EXPECT_TRUE(failure.fired());
        expect_untouched(got, 0, 2); // the failed allocation, then the decision that it undoes
        ASSERT_FALSE(got.log.empty());
        EXPECT_EQ(got.log.back(), row.row);
    }
}

// kept: the refusal of the merge is dropped, the host sees a plain success without a result
TEST_F(SegmentPolicy, AMergedRecordThatCanNotBeMadeGivesSuccessWithoutBlock)
{
    const platform::FailAllocation failure(0);
    const Answer got = decide(replaced_record(), arrived_record(kTunnel, kSnhOther), ctx_);
    EXPECT_TRUE(failure.fired());
    expect_untouched(got, 0, 1);
    EXPECT_EQ(got.log, Log{entry_line("1", "0")} + compare_lines(0, -1, 0));
}

// --- the merged record ----------------------------------------------------------------------------------------------

class MergedRecord : public PolicyTest {
protected:
    struct Merge {
        std::uint32_t code = 0;
        Bytes record{};
        QEL_ROUTE_VIEW_S view{};
        std::size_t asserts = 0;
        Log log{};
    };
    // Reads as many octets as the view says.
    Merge merge(const Bytes &new_octets, const Bytes &old_octets)
    {
        const OddBytes new_record(new_octets);
        const OddBytes old_record(old_octets);
        dirty_the_heap(static_cast<std::uint32_t>(new_octets.size() + kNextTunnel.size()));
        QEL_NGMVPN_IMPORT_ATTR_S *made = nullptr;
        Merge got;
        const platform::Recorder recorder;
        got.code = QEL_NGMVPN_SetAttrAfterPlcyWhenPlcyOrSnhDiff(
            reinterpret_cast<const QEL_NGMVPN_IMPORT_ATTR_AT_S *>(new_record.data()),
            reinterpret_cast<const QEL_NGMVPN_IMPORT_ATTR_AT_S *>(old_record.data()), &made, &got.view, ctx_);
        got.asserts = recorder.asserts().size();
        got.log = log_of(recorder);
        if (made != nullptr) {
            const auto *octets = reinterpret_cast<const std::uint8_t *>(made);
            EXPECT_EQ(got.view.pucAttr, octets);
            got.record.assign(octets, octets + got.view.usAttrLen);
            ZVK_Free_F(made, __FILE__, __LINE__);
        }
        EXPECT_EQ(new_record.bytes(), new_octets);
        EXPECT_EQ(old_record.bytes(), old_octets);
        return got;
    }
    Merge merge(const ImportRecord &new_record, const ImportRecord &old_record)
    {
        return merge(new_record.octets(), old_record.octets());
    }
    static void expect_merge(const Merge &got, const Bytes &want)
    {
        EXPECT_EQ(got.code, 0U);
        EXPECT_EQ(hex(got.record), hex(want));
        EXPECT_EQ(got.view.ucAttrFlag, 2);
        EXPECT_EQ(got.view.ucAttrType, 243);
        EXPECT_EQ(got.view.usAttrLen, want.size());
        EXPECT_EQ(got.view.pucKey, nullptr);
        EXPECT_EQ(got.view.pucRd, nullptr);
        EXPECT_EQ(got.asserts, 0U);
        EXPECT_EQ(got.log, Log{kRow12});
    }
};

TEST_F(MergedRecord, TheNewRecordTakesTheOldReplacedSet)
{
    ImportRecord new_record = arrived_record(Bytes(7, 0x44), kSnhOther);
    new_record.key = spmsi_key(rd_b(), 2, s6(), g6(), o6());
    new_record.policy_id = 9;
    new_record.ply = {1, 2, 3};
    expect_merge(merge(new_record, replaced_record()), merged(new_record, replaced_record()));
}

TEST_F(MergedRecord, TheNewRecordsOwnReplacedTunnelIsLeftBehind)
{
    ImportRecord new_record = replaced_record(7 | kIsSet, Bytes(6, 0x44), Bytes(40, 0x45));
    new_record.replaced.snh = Bytes(8, 0x46);
    expect_merge(merge(new_record, replaced_record()), merged(new_record, replaced_record()));
    expect_merge(merge(replaced_record(), new_record), merged(replaced_record(), new_record));
}

// kept: what the old replaced set does not hold stays as the new record has it
TEST_F(MergedRecord, FieldsThatTheOldReplacedSetDoesNotHoldStayTheNewRecords)
{
    ImportRecord new_record = arrived_record();
    new_record.replaced = {0xf0, Bytes(8, 0x46), 0x4748, 0x494a};
    for (unsigned holds = 0; holds < 4; ++holds) {
        SCOPED_TRACE(holds);
        const ImportRecord old_record = replaced_record(kIsSet | holds);
        ImportRecord want = new_record;
        want.replaced.flags = kIsSet | holds;
        want.data = kTunnel + Bytes(kNextTunnel.size());
        if ((holds & kHasSnh) != 0) {
            want.replaced.snh = host_list(kSnhReplacing);
        }
        if ((holds & kHasPmsi) != 0) {
            want.replaced.offset = 10;
            want.replaced.length = 14;
            want.data = kTunnel + kNextTunnel;
        }
        expect_merge(merge(new_record, old_record), want.octets());
    }
}

// kept: the old tunnel is found behind the old original one, its offset is not read
TEST_F(MergedRecord, TheOldReplacedTunnelIsReadBehindTheOriginalOneNotAtItsOffset)
{
    for (const std::uint32_t offset : {0U, 3U, 11U, 24U, 0xffffU}) {
        ImportRecord old_record = replaced_record();
        old_record.replaced.offset = offset;
        expect_merge(merge(arrived_record(), old_record), merged(arrived_record(), replaced_record()));
    }
}

// kept: its room is there and stays zero
TEST_F(MergedRecord, ATunnelThatTheOldSetDoesNotHoldStillTakesItsRoom)
{
    const Merge got = merge(arrived_record(), replaced_record(kIsSet | kHasSnh));
    ASSERT_EQ(got.record.size(), kFixedLen + kTunnel.size() + kNextTunnel.size());
    EXPECT_EQ(slice(got.record, kFixedLen + kTunnel.size(), kNextTunnel.size()), Bytes(kNextTunnel.size()));
}

TEST_F(MergedRecord, TheFlagsAreTheOldSets)
{
    ImportRecord new_record = arrived_record();
    new_record.replaced.flags = 0x70;
    const Merge got = merge(new_record, replaced_record(0x4b));
    ASSERT_GE(got.record.size(), kFixedLen);
    EXPECT_EQ(slice(got.record, 136, 4), bytes("4b000000"));
}

TEST_F(MergedRecord, SetsWithoutTunnelTakeNoRoom)
{
    ImportRecord bare = arrived_record({});
    expect_merge(merge(bare, replaced_record()), merged(bare, replaced_record()));
    const ImportRecord old_record = replaced_record(kIsSet | kHasSnh, kTunnel, {});
    ImportRecord want = arrived_record();
    want.replaced = old_record.replaced;
    want.replaced.offset = 0;
    expect_merge(merge(arrived_record(), old_record), want.octets());
    want = bare;
    want.replaced = old_record.replaced;
    want.replaced.offset = 0;
    expect_merge(merge(bare, old_record), want.octets());
}

TEST_F(MergedRecord, NoMemoryIsRefusedWithoutReportAndWithoutOutput)
{
    const OddBytes record(replaced_record().octets());
    const QEL_NGMVPN_IMPORT_ATTR_AT_S *at = reinterpret_cast<const QEL_NGMVPN_IMPORT_ATTR_AT_S *>(record.data());
    QEL_NGMVPN_IMPORT_ATTR_S *made = nullptr;
    QEL_ROUTE_VIEW_S view{};
    const platform::Recorder recorder;
    const platform::FailAllocation failure(0);
    EXPECT_EQ(QEL_NGMVPN_SetAttrAfterPlcyWhenPlcyOrSnhDiff(at, at, &made, &view, ctx_), kDeny);
    EXPECT_TRUE(failure.fired());
    EXPECT_EQ(made, nullptr);
    EXPECT_EQ(view.pucAttr, nullptr);
    EXPECT_EQ(view.usAttrLen, 0);
    EXPECT_TRUE(recorder.asserts().empty());
    EXPECT_TRUE(recorder.debugs().empty());
}

TEST_F(MergedRecord, TheHeapIsTakenEvenWhileTheInlineBufferIsFree)
{
    const std::uint64_t made = allocations();
    merge(arrived_record(), replaced_record());
    // eight of dirty_the_heap
    EXPECT_EQ(allocations() - made, 9U);
}

TEST_F(MergedRecord, NullArgumentsAreRefusedWithOneReport)
{
    const OddBytes record(replaced_record().octets());
    const QEL_NGMVPN_IMPORT_ATTR_AT_S *at = reinterpret_cast<const QEL_NGMVPN_IMPORT_ATTR_AT_S *>(record.data());
    QEL_NGMVPN_IMPORT_ATTR_S *made = nullptr;
    QEL_ROUTE_VIEW_S view{};
    expect_null_arguments_refused(5, [&](unsigned nulls) {
        return QEL_NGMVPN_SetAttrAfterPlcyWhenPlcyOrSnhDiff(
            (nulls & 1) != 0 ? nullptr : at, (nulls & 2) != 0 ? nullptr : at, unless((nulls & 4) != 0, &made),
            unless((nulls & 8) != 0, &view), unless((nulls & 16) != 0, ctx_));
    });
    EXPECT_EQ(made, nullptr);
    EXPECT_EQ(view.pucAttr, nullptr);
}

// Two tunnels whose lengths together pass 16 bits.
TEST_F(MergedRecord, TunnelsThatTogetherPass16BitsAreNeverWrittenPastTheRecord)
{
    const LeakCheck leaks;
    for (const std::size_t old_length : {std::size_t{0xffff}, std::size_t{65384 - 40000}, std::size_t{65384 - 40001},
                                         std::size_t{65383 - 40000 + 152}, std::size_t{65384 - 40000 + 152}}) {
        SCOPED_TRACE(old_length);
        ImportRecord new_record = arrived_record(Bytes(40000, 0x11));
        ImportRecord old_record = replaced_record(7 | kIsSet, kTunnel, Bytes(old_length, 0x22));
        new_record.ply[0] = 1;
        const std::size_t whole = kFixedLen + 40000 + old_length;
        const Answer got = decide(old_record, new_record, ctx_);
        EXPECT_EQ(got.code, 0U);
        if (whole < 0x10000) {
            EXPECT_EQ(got.asserts, 0U);
            ASSERT_TRUE(got.block);
            EXPECT_EQ(got.block->usAttrLen, whole);
        } else if (whole - 0x10000 < kFixedLen) {
            expect_untouched(got, 0, 1);
        } else {
            ASSERT_TRUE(got.block);
            EXPECT_EQ(got.block->usAttrLen, whole - 0x10000);
        }
    }
}

TEST_F(MergedRecord, ATunnelThatMissesTheRoomByLittleIsReportedAndLeftOut)
{
    for (const std::size_t old_length : {std::size_t{65236}, std::size_t{65400}, std::size_t{65535}}) {
        SCOPED_TRACE(old_length);
        ImportRecord new_record = arrived_record(Bytes(1000, 0x11));
        const ImportRecord old_record = replaced_record(7 | kIsSet, kTunnel, Bytes(old_length, 0x22));
        const Merge got = merge(new_record, old_record);
        const std::size_t room = 1000 + old_length - 0x10000; // behind the fixed part
        ASSERT_EQ(got.record.size(), kFixedLen + room);
        EXPECT_EQ(got.asserts, 2U);
        EXPECT_EQ(slice(got.record, kFixedLen, room), Bytes(room)) << "neither tunnel, not even in part";
    }
}

// --- compares of tunnels --------------------------------------------------------------------------------------------

TEST(SegmentCompare, TunnelsCompareByLengthThenByOctets)
{
    const struct {
        Bytes a;
        Bytes b;
        std::int32_t result;
    } rows[] = {
        {bytes("0001020304"), bytes("0001020304"), 0},     {bytes("ffffffffff"), bytes("000000000000"), -1},
        {bytes("0001020304"), bytes("0001020305"), -1},    {bytes("8000000000"), bytes("7fffffffff"), 1},
        {bytes("000000000001"), bytes("000000000000"), 1}, {bytes("00000000000000000000"), bytes("0000000000"), 1}};
    for (const auto &row : rows) {
        const OddBytes a(row.a);
        const OddBytes b(row.b);
        const platform::Recorder recorder;
        EXPECT_EQ(QEL_NGMVPN_CmpPmsi(a.data(), a.size(), b.data(), b.size()), row.result);
        EXPECT_EQ(QEL_NGMVPN_CmpPmsi(b.data(), b.size(), a.data(), a.size()), -row.result);
        EXPECT_TRUE(recorder.asserts().empty());
    }
}

TEST(SegmentCompare, TunnelsThatAreMissingOrTooShortFailTheCompare)
{
    const Bytes five(5, 1);
    for (unsigned wrong = 1; wrong < 16; ++wrong) {
        const platform::Recorder recorder;
        EXPECT_EQ(QEL_NGMVPN_CmpPmsi(unless((wrong & 1) != 0, five.data()), (wrong & 2) != 0 ? 4 : 5,
                                     unless((wrong & 4) != 0, five.data()), (wrong & 8) != 0 ? 4 : 5),
                  -2);
        EXPECT_EQ(recorder.asserts().size(), 1U) << wrong;
    }
    for (std::uint32_t length = 0; length < 5; ++length) {
        const platform::Recorder recorder;
        EXPECT_EQ(QEL_NGMVPN_CmpPmsi(five.data(), length, five.data(), length), -2);
        EXPECT_EQ(recorder.asserts().size(), 1U);
    }
}

using SegmentCompareLogged = PolicyTest;

TEST_F(SegmentCompareLogged, OriginalTunnelsOfTwoRecords)
{
    Bytes other = kTunnel;
    other[9] = 0xff;
    const OddBytes low(arrived_record().octets());
    const OddBytes high(replaced_record(7 | kIsSet, other).octets());
    ImportRecord lacking = arrived_record(other);
    lacking.original.flags = ~kHasPmsi;
    const OddBytes none(lacking.octets());
    const auto compare = [&](const OddBytes &a, const OddBytes &b) {
        return QEL_NGMVPN_CmpPmsiAttr(reinterpret_cast<const QEL_NGMVPN_IMPORT_ATTR_AT_S *>(a.data()),
                                      reinterpret_cast<const QEL_NGMVPN_IMPORT_ATTR_AT_S *>(b.data()), ctx_);
    };
    platform::Recorder recorder;
    EXPECT_EQ(compare(low, high), -1);
    EXPECT_EQ(compare(high, low), 1);
    EXPECT_EQ(compare(high, high), 0);
    EXPECT_TRUE(recorder.asserts().empty());
    EXPECT_EQ(log_of(recorder), (Log{"SetAttrAfterPlcy SNH CMP PMSI: -1.", "SetAttrAfterPlcy SNH CMP PMSI: 1.",
                                     "SetAttrAfterPlcy SNH CMP PMSI: 0."}));
    ImportRecord shifted = arrived_record();
    shifted.original.offset = 3;
    shifted.data = Bytes(3, 0xee) + kTunnel;
    const OddBytes at_offset(shifted.octets());
    EXPECT_EQ(compare(at_offset, low), 0);
    EXPECT_EQ(compare(low, at_offset), 0);
    recorder.clear();
    EXPECT_EQ(compare(none, low), 0);
    EXPECT_EQ(compare(low, none), 0);
    EXPECT_EQ(compare(none, none), 0);
    EXPECT_EQ(recorder.asserts().size(), 3U);
    EXPECT_TRUE(recorder.debugs().empty());
    for (unsigned missing = 1; missing < 4; ++missing) {
        recorder.clear();
        const auto *record = reinterpret_cast<const QEL_NGMVPN_IMPORT_ATTR_S *>(low.data());
        EXPECT_EQ(QEL_NGMVPN_CmpPmsiAttr(unless((missing & 1) != 0, record), unless((missing & 2) != 0, record), ctx_),
                  -2);
        EXPECT_EQ(recorder.asserts().size(), 1U);
        EXPECT_TRUE(recorder.debugs().empty());
    }
}

// --- compares of records --------------------------------------------------------------------------------------------

std::int32_t compare_records(const ImportRecord &a, const ImportRecord &b, std::size_t asserts = 0)
{
    const OddBytes left(a.octets());
    const OddBytes right(b.octets());
    const platform::Recorder recorder;
    const std::int32_t result = QEL_NGMVPN_CmpImportAttr(left.data(), left.size(), right.data());
    EXPECT_EQ(recorder.asserts().size(), asserts);
    return result;
}

TEST(SegmentCompare, RecordsCompareByKeyThenRdThenPolicyId)
{
    ImportRecord low = arrived_record();
    low.key.ucRdKind = 1; // the key's compare does not look at the RD
    low.policy_id = 0x7fffffff;
    ImportRecord by_policy = low;
    by_policy.policy_id = 0x80000000;
    ImportRecord by_rd = low;
    by_rd.key.stRd = rd0(101, 1);
    by_rd.policy_id = 0;
    ImportRecord by_key = low;
    by_key.key.uiKeyType = 3;
    by_key.key.stRd = rd0(99, 1);
    by_key.policy_id = 0;
    for (const ImportRecord *high : {&by_policy, &by_rd, &by_key}) {
        EXPECT_EQ(compare_records(low, *high), -1);
        EXPECT_EQ(compare_records(*high, low), 1);
        EXPECT_EQ(compare_records(*high, *high), 0);
    }
    EXPECT_EQ(compare_records(by_policy, by_rd), -1);
    EXPECT_EQ(compare_records(by_rd, by_key), -1);
}

TEST(SegmentCompare, RecordsThatDifferInCommunityTunnelOrPolicyInfoAreTheSameRoute)
{
    ImportRecord other = replaced_record();
    other.original.snh = Bytes(8);
    other.original.flags = 0;
    other.ply = {};
    EXPECT_EQ(compare_records(arrived_record(), other), 0);
    EXPECT_EQ(compare_records(other, arrived_record()), 0);
}

TEST(SegmentCompare, TheLengthOfARecordIsNotRead)
{
    const OddBytes a(slice(arrived_record().octets(), 0, 108));
    for (const std::uint32_t length : {0U, 1U, 104U, 0xffffffffU}) {
        EXPECT_EQ(QEL_NGMVPN_CmpImportAttr(a.data(), length, a.data()), 0);
    }
}

TEST(SegmentCompare, AMissingRecordFailsTheCompareWithOneReport)
{
    const Bytes record = arrived_record().octets();
    for (unsigned missing = 1; missing < 4; ++missing) {
        const platform::Recorder recorder;
        EXPECT_EQ(QEL_NGMVPN_CmpImportAttr(unless((missing & 1) != 0, record.data()), 162,
                                           unless((missing & 2) != 0, record.data())),
                  -2);
        EXPECT_EQ(recorder.asserts().size(), 1U);
    }
}

// --- pfCheckAttrByType ----------------------------------------------------------------------------------------------

std::uint32_t check(const Bytes &a, const Bytes &b, std::uint32_t type = 243, std::size_t asserts = 0)
{
    const OddBytes left(a);
    const OddBytes right(b);
    const platform::Recorder recorder;
    const std::uint32_t result = QEL_NGMVPN_CheckAttrByType(left.data(), left.size(), right.data(), right.size(), type);
    EXPECT_EQ(recorder.asserts().size(), asserts);
    EXPECT_TRUE(recorder.debugs().empty());
    return result;
}

TEST(SegmentCheck, RecordsAreEqualWhateverTheirReplacedSetsAndFlags)
{
    ImportRecord other = replaced_record();
    other.original.flags = 0;
    EXPECT_EQ(check(arrived_record().octets(), other.octets()), 0U);
    EXPECT_EQ(check(other.octets(), arrived_record().octets()), 0U);
    other.key.aucReserved101[0] = 1;
    EXPECT_EQ(check(arrived_record().octets(), other.octets()), 0U) << "keys compare by their fields";
    other = arrived_record({});
    EXPECT_EQ(check(other.octets(), other.octets()), 0U);
}

TEST(SegmentCheck, EveryOtherFieldMakesADifference)
{
    const ImportRecord record = replaced_record();
    std::vector<ImportRecord> others(7, record);
    others[0].key.uKey.stIntraIpmsiAd.stOrigAddr.uiIpv4 ^= 1;
    others[1].policy_id ^= 0x80000000;
    others[2].ply[0] ^= 1;
    others[3].ply[1] ^= 0x100;
    others[4].ply[2] ^= 0x80000000;
    others[5].original.length = 9;
    others[6].original.length = 11;
    for (std::size_t i = 0; i < others.size(); ++i) {
        EXPECT_EQ(check(record.octets(), others[i].octets()), 1U) << i;
        EXPECT_EQ(check(others[i].octets(), record.octets()), 1U) << i;
    }
    for (std::size_t at = 0; at < 8; ++at) {
        ImportRecord other = record;
        other.original.snh[at] ^= 1;
        EXPECT_EQ(check(record.octets(), other.octets()), 1U) << at;
    }
    for (std::size_t at = 0; at < kTunnel.size() + kNextTunnel.size(); ++at) {
        ImportRecord other = record;
        other.data[at] ^= 1;
        EXPECT_EQ(check(record.octets(), other.octets()), at < kTunnel.size() ? 1U : 0U) << at;
    }
}

TEST(SegmentCheck, EachTunnelIsReadAtItsOwnOffset)
{
    ImportRecord shifted = arrived_record();
    shifted.original.offset = 3;
    shifted.data = Bytes(3, 0x99) + kTunnel;
    EXPECT_EQ(check(arrived_record().octets(), shifted.octets()), 0U);
    EXPECT_EQ(check(shifted.octets(), arrived_record().octets()), 0U);
    shifted.data.back() ^= 1;
    EXPECT_EQ(check(arrived_record().octets(), shifted.octets()), 1U);
    EXPECT_EQ(check(shifted.octets(), arrived_record().octets()), 1U);
}

TEST(SegmentCheck, AnotherAttributeTypeAndAMissingRecordAreReportedAsDifferent)
{
    const Bytes record = arrived_record().octets();
    for (const std::uint32_t type : {0U, 16U, 22U, 242U, 244U, 0x1f3U, 0x100f3U}) {
        EXPECT_EQ(check(record, record, type, 1), 1U) << type;
    }
    for (unsigned wrong = 1; wrong < 8; ++wrong) {
        const platform::Recorder recorder;
        EXPECT_EQ(QEL_NGMVPN_CheckAttrByType(unless((wrong & 1) != 0, record.data()), 162,
                                             unless((wrong & 2) != 0, record.data()), 162, (wrong & 4) != 0 ? 22 : 243),
                  1U);
        EXPECT_EQ(recorder.asserts().size(), 1U);
    }
}

TEST_F(SegmentPolicy, TheDescriptorReachesDecisionAndCheck)
{
    const HostRoute old_route({.record = replaced_record().octets()});
    const HostRoute new_route({.record = arrived_record().octets()});
    const Answer got = answer_of([&](auto result) {
        return instance_.desc.pfSetAttrAfterPlcy(&old_route.info, &new_route.info, 1, 0, result, ctx_);
    });
    expect_section(got, 8, 2, 243, 0, replaced_record().octets());
    const Bytes record = arrived_record().octets();
    EXPECT_EQ(instance_.desc.pfCheckAttrByType(record.data(), 162, record.data(), 162, 243), 0U);
    EXPECT_EQ(instance_.desc.pfCmpDataForAttrType(record.data(), 0, record.data(), 9, 8, 243), 0);
}

TEST_F(SegmentPolicy, TheRoadOfARouteThroughTheStates)
{
    // no record yet -> denied; the same again -> denied; answered -> sent; changed -> merged and sent
    const Bytes first = arrived_record().octets();
    EXPECT_EQ(decide(std::nullopt, first, ctx_).code, kDeny);
    EXPECT_EQ(decide(first, first, ctx_).code, kDeny);
    const ImportRecord answered = replaced_record();
    EXPECT_EQ(decide(answered.octets(), first, ctx_).code, 0U);
    ImportRecord changed = arrived_record(kTunnel + Bytes(3, 7), kSnhOther);
    const Answer got = decide(answered, changed, ctx_);
    ASSERT_TRUE(got.block);
    const Bytes carried = got.block.section(32, got.block->usAttrLen);
    const Answer again = decide(carried, changed.octets(), ctx_);
    EXPECT_EQ(again.code, 0U);
    expect_section(again, 8, 2, 243, 0, carried);
}

TEST_F(SegmentPolicy, RandomPairsOfRecordsFollowTheTable)
{
    std::mt19937 random(20260721);
    const auto coin = [&random] { return random() % 2 == 0; };
    for (int round = 0; round < 2000; ++round) {
        ImportRecord old_record =
            replaced_record(random() % 16, Bytes(5 + random() % 3, 1), Bytes(1 + random() % 9, 2));
        ImportRecord new_record = arrived_record(Bytes(5 + random() % 3, 1), coin() ? kSnhArrived : kSnhOther);
        new_record.ply[2] ^= coin() ? 0U : 4U;
        const Answer got = decide(old_record, new_record, ctx_);
        const bool set = (old_record.replaced.flags & kIsSet) != 0;
        const bool snh = (old_record.replaced.flags & kHasSnh) != 0;
        const bool changed = new_record.ply != old_record.ply || new_record.original.snh != old_record.original.snh ||
                             new_record.original.length != old_record.original.length;
        EXPECT_EQ(got.code, set && snh ? 0U : set && !changed ? kWithdraw : kDeny);
        ASSERT_TRUE(got.block);
        EXPECT_EQ(got.block->usNeedProc, !set || changed ? 1 : 0);
        EXPECT_EQ(got.asserts, 0U);
    }
}

} // namespace
} // namespace qel::test
