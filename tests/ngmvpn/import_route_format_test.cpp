// Import routes towards the multicast component: message 137, a route's key, and message 138, its attributes.
#include "import_route_cases.h"

#include "ngmvpn/qel_ngmvpn_attribute_msg.h"
#include "ngmvpn/qel_ngmvpn_intercomp_msg.h"

#include <algorithm>
#include <array>

namespace qel::test {
namespace {

constexpr std::uint32_t kRoutePolicy = 0x00123456;

// Another key than any of the routes, so that it shows which of the two goes out.
QEL_NGMVPN_KEY_S other_key()
{
    return intra_key(rd_c(), v4(0x7f7f7f7f));
}

ImportRecord record_of(const QEL_NGMVPN_KEY_S &key)
{
    ImportRecord out = arrived_record(rsvp_te().record);
    out.key = key;
    out.policy_id = kPolicy;
    return out;
}

Sections with_record(const QEL_NGMVPN_KEY_S &key)
{
    return {.key = other_key(), .record = record_of(key).octets(), .policy_id = kRoutePolicy};
}

// As it is written here: the outer length of an I-PMSI leaf is always 18.
Bytes written_nlri(const NlriCase &route)
{
    Bytes out = route.formatted();
    if (route.key.uiKeyType == 4) {
        out[1] = 18;
    }
    return out;
}

// --- logs -----------------------------------------------------------------------------------------------------------

Log nlri_log(std::uint32_t key_type, bool with_record)
{
    const std::string type = std::to_string(key_type);
    const std::string form = key_type == 1   ? "QEL_NGMVPN_FormatBgpIntraIpmsiAdNlriKey"
                             : key_type == 3 ? "QEL_NGMVPN_FormatBgpSpmsiAdNlriKey"
                                             : "QEL_NGMVPN_FormatBgpLeafAdNlriKey";
    const std::string end = key_type == 1 ? " Success." : key_type == 3 ? " success." : " success";
    return {std::string("QEL_NGMVPN_FormatBgpIntraIpmsiAdNlriKey ") + (with_record ? "Import pmsi, " : "") + "type(" +
                type + ").",
            form + ", IsImportPmsi(" + (with_record ? "1" : "0") + "), type(" + type + ").", form + end};
}

Log policy_log(std::uint32_t policy_id)
{
    return {"QEL_NGMVPN_FormatMcImportRoutePlyIdTlv success, policy id " +
            std::to_string(static_cast<std::int32_t>(policy_id))};
}

const Log kKeyDone{"QEL_NGMVPN_FormatMcImportRouteKeyTlv success, uiRetCode is 0"};
const Log kNoKeyDone{"QEL_NGMVPN_FormatMcImportRouteNoKeyTlv success, uiRetCode is 0"};

Log nlri_failed(std::uint32_t code)
{
    return {"FormatMcImportRouteKeyTlv failed, because FormatMcImportRouteNlri " + std::to_string(code)};
}

Log policy_failed(std::uint32_t code)
{
    return {"FormatMcImportRouteKeyTlv failed, because FormatMcImportRoutePlyIdTlv " + std::to_string(code)};
}

// --- message 137 ----------------------------------------------------------------------------------------------------

using ImportRouteKeyWriter = ImportRouteTest;

FormatGot write_key(const QEL_ROUTE_INFO_S &route, std::size_t room, QEL_FAMILY_CTX_S *ctx)
{
    return format_route(QEL_NGMVPN_FormatMcImportRouteKeyTlv, route, room, ctx);
}

TEST_F(ImportRouteKeyWriter, ARouteWithARecordSendsTheRecordsKeyAndPolicyId)
{
    for (const NlriCase &route : ad_routes()) {
        SCOPED_TRACE(route.name);
        const HostRoute host(with_record(route.key));
        const FormatGot got = write_key(host.info, 100, ctx_);
        expect_octets(got, key_message(route.octets(), kPolicy));
        EXPECT_EQ(got.log, nlri_log(route.key.uiKeyType, true) + policy_log(kPolicy) + kKeyDone);
    }
}

TEST_F(ImportRouteKeyWriter, ALeafRouteSendsItsOwnKeyAndPolicyId)
{
    for (const NlriCase &route : leaf_routes()) {
        SCOPED_TRACE(route.name);
        const HostRoute host({.key = route.key, .policy_id = kRoutePolicy});
        const FormatGot got = write_key(host.info, 100, ctx_);
        expect_octets(got, key_message(written_nlri(route), kRoutePolicy));
        EXPECT_EQ(got.log, nlri_log(route.key.uiKeyType, false) + policy_log(kRoutePolicy) + kKeyDone);
    }
}

TEST_F(ImportRouteKeyWriter, LeafRoutesStandAsStated)
{
    const HostRoute ipmsi({.key = ipmsi_leaf_key(rd_a(), o4(), l4()), .policy_id = 1});
    expect_octets(write_key(ipmsi.info, 82, ctx_),
                  bytes("000b 0014 04 12 01 0c" + kRd0 + kO4 + kL4 + "0010 0004 00000001"));
    const HostRoute spmsi({.key = spmsi_leaf_key(rd_a(), 1, s4(), g4(), o4(), l4()), .policy_id = 1});
    expect_octets(write_key(spmsi.info, 82, ctx_),
                  bytes("000b 001e 04 1c 03 16" + kRd0 + kS4 + kG4 + kO4 + kL4 + "0010 0004 00000001"));
}

TEST_F(ImportRouteKeyWriter, TheOuterLengthOfAnIpmsiLeafIs18WhateverItsOriginator)
{
    const HostRoute host({.key = ipmsi_leaf_key(rd_b(), o6(), l6()), .policy_id = 7});
    expect_octets(write_key(host.info, 82, ctx_),
                  bytes("000b 002c 04 12 01 18" + kRd1 + kO6 + kL6 + "0010 0004 00000007"));
}

TEST_F(ImportRouteKeyWriter, ComesThroughTheOperation)
{
    const NlriCase route = spmsi_routes()[4];
    const HostRoute host(with_record(route.key));
    const FormatGot got = format_into(
        100, [&](auto cursor, auto room) { return instance_.desc.pfFormatMsg(&host.info, 137, cursor, room, ctx_); });
    expect_octets(got, key_message(route.octets(), kPolicy));
    const QEL_DISPATCH_ENTRY_S *row = QEL_NGMVPN_GetBgpiMsgFormatEntry(137);
    ASSERT_NE(row, nullptr);
    EXPECT_EQ(row->pfFormatMsg, QEL_NGMVPN_FormatMcImportRouteKeyTlv);
    row = QEL_NGMVPN_GetBgpiMsgFormatEntry(138);
    ASSERT_NE(row, nullptr);
    EXPECT_EQ(row->pfFormatMsg, QEL_NGMVPN_FormatMcImportRouteNoKeyTlv);
}

void expect_writer_refuses_null_arguments(MessageFormatter formatter, const QEL_ROUTE_INFO_S &route,
                                          QEL_FAMILY_CTX_S *ctx)
{
    std::array<std::uint8_t, 100> out{};
    std::uint8_t *cursor = out.data();
    for (const std::uint32_t room : {0U, 100U}) {
        expect_null_arguments_refused(3, [&](unsigned nulls) {
            return formatter(unless(nulls & 1U, &route), unless(nulls & 2U, &cursor), room, unless(nulls & 4U, ctx));
        });
    }
    EXPECT_EQ(cursor, out.data());
}

TEST_F(ImportRouteKeyWriter, NullArgumentsAreReportedOnce)
{
    const HostRoute host(with_record(intra_key(rd_a(), o4())));
    for (const MessageFormatter formatter :
         {QEL_NGMVPN_FormatMcImportRouteKeyTlv, QEL_NGMVPN_FormatMcImportRouteNoKeyTlv}) {
        expect_writer_refuses_null_arguments(formatter, host.info, ctx_);
    }
}

TEST_F(ImportRouteKeyWriter, NullArgumentsOfTheFormsAreReportedOnce)
{
    const HostRoute host(with_record(intra_key(rd_a(), o4())));
    for (const MessageFormatter formatter :
         {QEL_NGMVPN_FormatBgpIntraIpmsiAdNlriKey, QEL_NGMVPN_FormatBgpSpmsiAdNlriKey,
          QEL_NGMVPN_FormatBgpLeafAdNlriKey, QEL_NGMVPN_FormatMcImportRoutePlyIdTlv}) {
        expect_writer_refuses_null_arguments(formatter, host.info, ctx_);
    }
}

struct KeyRoom {
    const char *what;
    QEL_NGMVPN_KEY_S key;
    bool with_record;
    std::size_t bound; // of the route with its two header octets
    std::size_t nlri;
};

std::vector<KeyRoom> key_rooms()
{
    return {{"intra 12", intra_key(rd_a(), o4()), true, 26, 14},
            {"intra 24", intra_key(rd_a(), o6()), true, 26, 26},
            {"S-PMSI 14", spmsi_key(rd_a(), 0, none(), none(), o4()), true, 60, 16},
            {"S-PMSI 22", spmsi_key(rd_a(), 1, s4(), g4(), o4()), true, 60, 24},
            {"S-PMSI 58", spmsi_key(rd_a(), 2, s6(), g6(), o6()), true, 60, 60},
            {"I-PMSI leaf 18", ipmsi_leaf_key(rd_a(), o4(), l4()), false, 78, 20},
            {"I-PMSI leaf 42", ipmsi_leaf_key(rd_a(), o6(), l6()), false, 78, 44},
            {"S-PMSI leaf 22", spmsi_leaf_key(rd_a(), 1, s4(), g4(), o4(), l4()), false, 78, 30},
            {"S-PMSI leaf 58", spmsi_leaf_key(rd_a(), 2, s6(), g6(), o6(), l6()), false, 78, 78}};
}

TEST_F(ImportRouteKeyWriter, EveryRoomBelowTheLargestFormIsRefusedThoughTheRouteWouldFit)
{
    for (const KeyRoom &row : key_rooms()) {
        const HostRoute host(row.with_record ? with_record(row.key)
                                             : Sections{.key = row.key, .policy_id = kRoutePolicy});
        for (std::size_t room = 0; room < 100; ++room) {
            SCOPED_TRACE(row.what);
            SCOPED_TRACE(room);
            const FormatGot got = write_key(host.info, room, ctx_);
            const Log nlri = nlri_log(row.key.uiKeyType, row.with_record);
            if (room < 4) {
                expect_format_failed(got, kNoRoom, 0);
                EXPECT_EQ(got.log, Log{"FormatMcImportRouteKeyTlv Success, MaxLen is " + std::to_string(room)});
                EXPECT_EQ(hex(got.buffer), hex(untouched(room)));
            } else if (room - 4 < row.bound) {
                expect_format_failed(got, kNoRoom, 0);
                EXPECT_EQ(got.log, Log{nlri[0]} + nlri_failed(kNoRoom));
            } else if (room - 4 - row.nlri < 8) {
                expect_format_failed(got, kNoRoom, 0);
                EXPECT_EQ(got.log, nlri + policy_failed(kNoRoom));
            } else {
                EXPECT_EQ(got.code, 0U);
                EXPECT_EQ(got.moved, static_cast<std::ptrdiff_t>(4 + row.nlri + 8));
            }
        }
    }
}

TEST_F(ImportRouteKeyWriter, FormsAskForTheirLargestSize)
{
    struct Row {
        MessageFormatter form;
        QEL_NGMVPN_KEY_S key;
        std::size_t bound;
        Bytes wire;
    };
    const Row rows[] = {
        {QEL_NGMVPN_FormatBgpIntraIpmsiAdNlriKey, intra_key(rd_a(), o4()), 26, bytes("01 0c" + kRd0 + kO4)},
        {QEL_NGMVPN_FormatBgpSpmsiAdNlriKey, spmsi_key(rd_a(), 1, s4(), g4(), o4()), 60,
         bytes("03 16" + kRd0 + kS4 + kG4 + kO4)},
        {QEL_NGMVPN_FormatBgpLeafAdNlriKey, ipmsi_leaf_key(rd_a(), o4(), l4()), 78,
         bytes("04 12 01 0c" + kRd0 + kO4 + kL4)},
    };
    for (const Row &row : rows) {
        for (const bool record : {false, true}) {
            const HostRoute host(record ? with_record(row.key) : Sections{.key = row.key});
            for (std::size_t room = 0; room < row.bound + 3; ++room) {
                SCOPED_TRACE(room);
                const FormatGot got = format_route(row.form, host.info, room, ctx_);
                const FormatGot through = format_route(QEL_NGMVPN_FormatMcImportRouteNlri, host.info, room, ctx_);
                const Log log = nlri_log(row.key.uiKeyType, record);
                if (room < row.bound) {
                    expect_format_failed(got, kNoRoom, 0);
                    EXPECT_EQ(got.log, Log{});
                    EXPECT_EQ(hex(got.buffer), hex(untouched(room)));
                    expect_format_failed(through, kNoRoom, 0);
                } else {
                    expect_octets(got, row.wire);
                    EXPECT_EQ(got.log, (Log{log[1], log[2]}));
                    expect_octets(through, row.wire);
                    EXPECT_EQ(through.log, log);
                }
            }
        }
    }
}

TEST_F(ImportRouteKeyWriter, RouteTypesThatAreNotSentAreRefused)
{
    for (const std::uint32_t type : {2U, 6U, 7U, 8U, 9U, 0xffffffffU}) {
        SCOPED_TRACE(type);
        const std::string shown = std::to_string(static_cast<std::int32_t>(type));
        const QEL_NGMVPN_KEY_S key = empty_key(type, rd_a());
        const HostRoute record(with_record(key));
        const FormatGot with = write_key(record.info, 100, ctx_);
        expect_format_failed(with, kBadValue, 0);
        EXPECT_EQ(with.log, Log{"QEL_NGMVPN_FormatBgpIntraIpmsiAdNlriKey Import pmsi, type(" + shown + ")."} +
                                nlri_failed(kBadValue));
        const HostRoute own({.key = key});
        const FormatGot without = write_key(own.info, 100, ctx_);
        expect_format_failed(without, kBadValue, 0);
        EXPECT_EQ(without.log,
                  Log{"QEL_NGMVPN_FormatBgpIntraIpmsiAdNlriKey type(" + shown + ")."} + nlri_failed(kBadValue));
    }
}

TEST_F(ImportRouteKeyWriter, WithNeitherRecordNorKeyTheRouteIsRefusedAndItsFormsWriteNothing)
{
    const HostRoute host({.key = std::nullopt});
    const FormatGot whole = write_key(host.info, 100, ctx_);
    expect_format_failed(whole, kNull, 1);
    EXPECT_EQ(whole.log, nlri_failed(kNull));
    for (const MessageFormatter form : {QEL_NGMVPN_FormatBgpIntraIpmsiAdNlriKey, QEL_NGMVPN_FormatBgpSpmsiAdNlriKey,
                                        QEL_NGMVPN_FormatBgpLeafAdNlriKey}) {
        const FormatGot got = format_route(form, host.info, 100, ctx_);
        expect_octets(got, {});
        EXPECT_EQ(got.log, Log{});
    }
}

TEST_F(ImportRouteKeyWriter, ARouteThatIsMissingIsReportedAndNothingIsWritten)
{
    OddBytes out(untouched(100));
    std::uint8_t *cursor = out.data();
    const platform::Recorder recorder;
    EXPECT_EQ(QEL_NGMVPN_FormatMcImportRouteNlri(nullptr, &cursor, 100, ctx_), kNull);
    EXPECT_EQ(recorder.asserts().size(), 1U);
    EXPECT_TRUE(recorder.debugs().empty());
    EXPECT_EQ(cursor, out.data());
    EXPECT_EQ(out.bytes(), untouched(100));
}

TEST_F(ImportRouteKeyWriter, APolicyIdNeedsAKeyToo)
{
    const HostRoute host({.key = std::nullopt, .policy_id = kPolicy});
    const FormatGot got = format_route(QEL_NGMVPN_FormatMcImportRoutePlyIdTlv, host.info, 8, ctx_);
    expect_format_failed(got, kBadArgument, 1);
    EXPECT_EQ(hex(got.buffer), hex(untouched(8)));
}

TEST_F(ImportRouteKeyWriter, ARecordWithoutTheRoutesKeyIsEnough)
{
    Sections from = with_record(intra_key(rd_a(), o4()));
    from.key.reset();
    const HostRoute host(from);
    expect_octets(write_key(host.info, 100, ctx_), key_message(bytes("01 0c" + kRd0 + kO4), kPolicy));
}

TEST_F(ImportRouteKeyWriter, TheRdComesFromTheRouteWhereTheKeyHoldsNone)
{
    const NlriCase routes[] = {ipmsi_routes()[0],      ipmsi_routes()[2],         spmsi_routes()[4],
                               spmsi_routes()[21],     ipmsi_leaf_routes()[0],    ipmsi_leaf_routes()[1],
                               spmsi_leaf_routes()[3], spmsi_leaf_routes().back()};
    for (const NlriCase &route : routes) {
        for (const std::uint8_t kind : Bytes{0, 1, 3, 255}) {
            for (const auto &[rd, wire] : {std::pair{rd_a(), kRd0}, std::pair{rd_b(), kRd1}, std::pair{rd_c(), kRd2}}) {
                SCOPED_TRACE(route.name);
                QEL_NGMVPN_KEY_S key = route.key;
                key.ucRdKind = kind;
                HostRoute host(route.leaf() ? Sections{.key = key, .policy_id = kPolicy} : with_record(key));
                const OddBytes held(bytes_of(rd));
                host.info.pucRd = held.data();
                host.info.uiRdLen = 8;
                const Bytes octets = bytes(wire);
                Bytes nlri = written_nlri(route);
                std::copy(octets.begin(), octets.end(), nlri.begin() + (route.leaf() ? 4 : 2));
                expect_octets(write_key(host.info, 100, ctx_), key_message(nlri, kPolicy));
            }
        }
    }
}

TEST_F(ImportRouteKeyWriter, WithoutAnRdOfEitherTheRouteIsRefused)
{
    for (const NlriCase &route : {ipmsi_routes()[0], spmsi_routes()[4], ipmsi_leaf_routes()[0]}) {
        SCOPED_TRACE(route.name);
        QEL_NGMVPN_KEY_S key = route.key;
        key.ucRdKind = 1;
        const HostRoute host(route.leaf() ? Sections{.key = key} : with_record(key));
        const FormatGot got = write_key(host.info, 100, ctx_);
        expect_format_failed(got, kNull, 1);
        EXPECT_EQ(got.log.back(), nlri_failed(kNull)[0]);
        EXPECT_EQ(got.log[1], nlri_log(key.uiKeyType, !route.leaf())[1]);
    }
}

TEST_F(ImportRouteKeyWriter, AnSpmsiLeafWithoutAnRdGoesOutWithItsRdOctetsUnwritten)
{
    QEL_NGMVPN_KEY_S key = spmsi_leaf_key(rd_a(), 1, s4(), g4(), o4(), l4());
    key.ucRdKind = 1;
    const HostRoute host({.key = key, .policy_id = kPolicy});
    const FormatGot got = write_key(host.info, 100, ctx_);
    expect_octets(got, key_message(bytes("04 1c 03 16 eeeeeeeeeeeeeeee" + kS4 + kG4 + kO4 + kL4), kPolicy), 1);
    EXPECT_EQ(got.log, nlri_log(5, false) + policy_log(kPolicy) + kKeyDone);
}

TEST_F(ImportRouteKeyWriter, OriginatorLengthsOfNeitherFamilyTakeTheFormOfEachRoute)
{
    const std::string orig = " 0a0b0c0d 01020304 11121314 21222324 ";
    const std::string leaf = " 30313233 40414243 50515253 60616263 ";
    const std::string word = " 0d0c0b0a ";
    for (const std::uint8_t length : Bytes{0, 33, 64, 255}) {
        Addr o = v6(orig);
        Addr l = v6(leaf);
        o.len = length;
        l.len = length;
        struct Row {
            QEL_NGMVPN_KEY_S key;
            std::string nlri;
        };
        const Row rows[] = {
            {intra_key(rd_a(), o), "01 0c" + kRd0 + word},
            {spmsi_key(rd_a(), 1, s4(), g4(), o), "03 16" + kRd0 + kS4 + kG4 + word},
            {ipmsi_leaf_key(rd_a(), o, l), "04 12 01 18" + kRd0 + orig + leaf},
            {spmsi_leaf_key(rd_a(), 1, s4(), g4(), o, l), "04 34 03 22" + kRd0 + kS4 + kG4 + orig + leaf},
        };
        for (const Row &row : rows) {
            SCOPED_TRACE(row.nlri);
            const HostRoute host(row.key.uiKeyType > 3 ? Sections{.key = row.key, .policy_id = kPolicy}
                                                       : with_record(row.key));
            expect_octets(write_key(host.info, 100, ctx_), key_message(bytes(row.nlri), kPolicy));
        }
    }
}

TEST_F(ImportRouteKeyWriter, TheLeafAddressesLengthIsNotLookedAt)
{
    Addr leaf = l4();
    leaf.len = 128;
    const HostRoute four({.key = ipmsi_leaf_key(rd_a(), o4(), leaf), .policy_id = 1});
    expect_octets(write_key(four.info, 100, ctx_), key_message(bytes("04 12 01 0c" + kRd0 + kO4 + kL4), 1));
    const HostRoute five({.key = spmsi_leaf_key(rd_a(), 0, none(), none(), o4(), leaf), .policy_id = 1});
    expect_octets(write_key(five.info, 100, ctx_), key_message(bytes("04 14 03 0e" + kRd0 + "00 00" + kO4 + kL4), 1));
}

TEST_F(ImportRouteKeyWriter, AnAddressOfABadLengthIsReportedWrittenShortAndNotCounted)
{
    Addr bad = s4();
    bad.len = 7;
    struct Row {
        QEL_NGMVPN_KEY_S key;
        std::string nlri;
        std::size_t asserts;
    };
    const Row rows[] = {
        {spmsi_key(rd_a(), 1, bad, g4(), o4()), "03 11" + kRd0 + "07" + kG4 + kO4, 1},
        {spmsi_key(rd_a(), 1, s4(), bad, o4()), "03 11" + kRd0 + kS4 + "07" + kO4, 1},
        {spmsi_key(rd_a(), 1, bad, bad, o4()), "03 0c" + kRd0 + "07 07" + kO4, 2},
        {spmsi_leaf_key(rd_a(), 1, bad, g4(), o4(), l4()), "04 17 03 11" + kRd0 + "07" + kG4 + kO4 + kL4, 1},
        {spmsi_leaf_key(rd_a(), 1, s4(), bad, o4(), l4()), "04 17 03 11" + kRd0 + kS4 + "07" + kO4 + kL4, 1},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.nlri);
        const HostRoute host(row.key.uiKeyType == 5 ? Sections{.key = row.key, .policy_id = kPolicy}
                                                    : with_record(row.key));
        expect_octets(write_key(host.info, 100, ctx_), key_message(bytes(row.nlri), kPolicy), row.asserts);
    }
}

TEST_F(ImportRouteKeyWriter, FillingAnSpmsiKeyPatchesItsLength)
{
    for (const NlriCase &route : spmsi_routes()) {
        SCOPED_TRACE(route.name);
        const QEL_ROUTE_INFO_S host{};
        const OddBytes key(bytes_of(route.key));
        const FormatGot got = format_into(60, [&](auto cursor, auto) {
            return QEL_NGMVPN_FillBgpSpmsiAdNlriKey(&host, cursor, key.as<QEL_NGMVPN_KEY_AT_S>());
        });
        expect_octets(got, route.octets());
        EXPECT_EQ(got.log, Log{});
    }
}

TEST_F(ImportRouteKeyWriter, TheSpmsiLeafStepAnswersWithALengthNotACode)
{
    for (const auto &rows : {spmsi_leaf_routes(), padded_leaf_routes()}) {
        for (const NlriCase &route : rows) {
            SCOPED_TRACE(route.name);
            const QEL_ROUTE_INFO_S host{};
            const OddBytes key(bytes_of(route.key));
            const Bytes whole = route.formatted();
            FormatGot got = format_into(78, [&](auto cursor, auto) {
                return QEL_NGMVPN_FormatBgpSpmsiLeafAdNlriKey(&host, cursor, key.as<QEL_NGMVPN_KEY_AT_S>());
            });
            EXPECT_EQ(got.code, whole[1]);
            got.code = 0;
            expect_octets(got, slice(whole, 2, whole.size() - 2));
        }
    }
    for (const NlriCase &route : ipmsi_leaf_routes()) {
        SCOPED_TRACE(route.name);
        const QEL_ROUTE_INFO_S host{};
        const OddBytes key(bytes_of(route.key));
        const Bytes whole = route.formatted();
        const FormatGot got = format_into(78, [&](auto cursor, auto) {
            return QEL_NGMVPN_FormatBgpIpmsiLeafAdNlriKey(&host, cursor, key.as<QEL_NGMVPN_KEY_AT_S>());
        });
        expect_octets(got, slice(whole, 2, whole.size() - 2));
    }
}

TEST_F(ImportRouteKeyWriter, APolicyIdGoesWithARecordOfTypes1And3OrWithALeafRouteWithoutOne)
{
    const QEL_NGMVPN_KEY_S keys[] = {intra_key(rd_a(), o4()), spmsi_key(rd_a(), 1, s4(), g4(), o4()),
                                     ipmsi_leaf_key(rd_a(), o4(), l4()),
                                     spmsi_leaf_key(rd_a(), 1, s4(), g4(), o4(), l4())};
    for (const QEL_NGMVPN_KEY_S &key : keys) {
        const bool leaf = key.uiKeyType > 3;
        for (const bool record : {false, true}) {
            SCOPED_TRACE(key.uiKeyType);
            SCOPED_TRACE(record);
            const HostRoute host(record ? with_record(key) : Sections{.key = key, .policy_id = kRoutePolicy});
            const FormatGot got = write_key(host.info, 100, ctx_);
            const FormatGot step = format_route(QEL_NGMVPN_FormatMcImportRoutePlyIdTlv, host.info, 8, ctx_);
            if (leaf == record) {
                expect_format_failed(got, kBadArgument, 1);
                EXPECT_EQ(got.log, nlri_log(key.uiKeyType, record) + policy_failed(kBadArgument));
                expect_format_failed(step, kBadArgument, 1);
                EXPECT_EQ(hex(step.buffer), hex(untouched(8)));
                EXPECT_EQ(step.log, Log{});
            } else {
                EXPECT_EQ(got.code, 0U);
                expect_octets(step, policy_tlv(record ? kPolicy : kRoutePolicy));
                EXPECT_EQ(step.log, policy_log(record ? kPolicy : kRoutePolicy));
            }
        }
    }
}

TEST_F(ImportRouteKeyWriter, APolicyIdTlvTakesEightOctets)
{
    const HostRoute host(with_record(intra_key(rd_a(), o4())));
    for (std::size_t room = 0; room < 8; ++room) {
        const FormatGot got = format_route(QEL_NGMVPN_FormatMcImportRoutePlyIdTlv, host.info, room, ctx_);
        expect_format_failed(got, kNoRoom, 0);
        EXPECT_EQ(hex(got.buffer), hex(untouched(room)));
    }
    const HostRoute wrong(with_record(ipmsi_leaf_key(rd_a(), o4(), l4()))); // the room comes first
    expect_format_failed(format_route(QEL_NGMVPN_FormatMcImportRoutePlyIdTlv, wrong.info, 7, ctx_), kNoRoom, 0);
}

TEST_F(ImportRouteKeyWriter, ARecordWithoutAPolicyIdIsReportedAndSent)
{
    ImportRecord record = record_of(intra_key(rd_a(), o4()));
    record.policy_id = 0xffffffff;
    const HostRoute host({.key = other_key(), .record = record.octets()});
    const FormatGot got = write_key(host.info, 100, ctx_);
    expect_octets(got, key_message(bytes("01 0c" + kRd0 + kO4), 0xffffffff), 1);
    EXPECT_EQ(got.log, nlri_log(1, true) + policy_log(0xffffffff) + kKeyDone);
    EXPECT_EQ(got.log[3], "QEL_NGMVPN_FormatMcImportRoutePlyIdTlv success, policy id -1");

    const HostRoute leaf({.key = ipmsi_leaf_key(rd_a(), o4(), l4()), .policy_id = 0xffffffff}); // not of a leaf route
    expect_octets(write_key(leaf.info, 100, ctx_), key_message(bytes("04 12 01 0c" + kRd0 + kO4 + kL4), 0xffffffff));
}

TEST_F(ImportRouteKeyWriter, ARoomBelowAHeaderIsRefusedWithTheWordSuccess)
{
    const HostRoute host(with_record(intra_key(rd_a(), o4())));
    const FormatGot got = write_key(host.info, 3, ctx_);
    expect_format_failed(got, kNoRoom, 0);
    EXPECT_EQ(got.log, Log{"FormatMcImportRouteKeyTlv Success, MaxLen is 3"});
}

TEST_F(ImportRouteKeyWriter, ThePolicyIdNeedsEightOctetsBehindTheRoute)
{
    const HostRoute host(with_record(spmsi_key(rd_a(), 2, s6(), g6(), o6()))); // the largest of its type
    const FormatGot got = write_key(host.info, 4 + 60 + 7, ctx_);
    expect_format_failed(got, kNoRoom, 0);
    EXPECT_EQ(got.log.back(), "FormatMcImportRouteKeyTlv failed, because FormatMcImportRoutePlyIdTlv 4");
    EXPECT_EQ(write_key(host.info, 4 + 60 + 8, ctx_).moved, 72);
}

TEST_F(ImportRouteKeyWriter, TheRouteStandsInATlvOfType11WithTheLengthOfWhatWasWritten)
{
    const HostRoute host(with_record(intra_key(rd_a(), o6())));
    EXPECT_EQ(hex(slice(write_key(host.info, 100, ctx_).buffer, 0, 6)), hex_of("000b 001a 01 18"));
}

TEST_F(ImportRouteKeyWriter, TheRdGoesOutInNetworkOrder)
{
    for (const auto &[rd, wire] : {std::pair{rd_a(), kRd0}, std::pair{rd_b(), kRd1}, std::pair{rd_c(), kRd2}}) {
        const HostRoute host(with_record(intra_key(rd, o4())));
        EXPECT_EQ(hex(slice(write_key(host.info, 100, ctx_).buffer, 6, 8)), hex_of(wire));
    }
}

TEST_F(ImportRouteKeyWriter, KeyTypes4And5AreBothSentAsLeafRoutes)
{
    for (const QEL_NGMVPN_KEY_S &key :
         {ipmsi_leaf_key(rd_a(), o4(), l4()), spmsi_leaf_key(rd_a(), 1, s4(), g4(), o4(), l4())}) {
        const HostRoute host({.key = key, .policy_id = kPolicy});
        const FormatGot got = write_key(host.info, 100, ctx_);
        EXPECT_EQ(got.code, 0U);
        EXPECT_EQ(got.buffer[4], 4U);
        EXPECT_EQ(got.buffer[6], key.uiKeyType == 4 ? 1U : 3U);
    }
}

TEST_F(ImportRouteKeyWriter, TheInnerLengthOfALeafRouteLeavesOutTheLeafAddress)
{
    const HostRoute ipmsi({.key = ipmsi_leaf_key(rd_a(), o4(), l4()), .policy_id = kPolicy});
    EXPECT_EQ(write_key(ipmsi.info, 100, ctx_).buffer[7], 12U);
    const HostRoute ipmsi6({.key = ipmsi_leaf_key(rd_a(), o6(), l6()), .policy_id = kPolicy});
    EXPECT_EQ(write_key(ipmsi6.info, 100, ctx_).buffer[7], 24U);
    const HostRoute spmsi({.key = spmsi_leaf_key(rd_a(), 1, s4(), g4(), o4(), l4()), .policy_id = kPolicy});
    EXPECT_EQ(write_key(spmsi.info, 100, ctx_).buffer[7], 22U);
    const HostRoute spmsi6({.key = spmsi_leaf_key(rd_a(), 2, s6(), g6(), o6(), l6()), .policy_id = kPolicy});
    EXPECT_EQ(write_key(spmsi6.info, 100, ctx_).buffer[7], 58U);
}

TEST_F(ImportRouteKeyWriter, TheLogOfAFormTellsWhetherTheKeyIsARecords)
{
    const HostRoute record(with_record(intra_key(rd_a(), o4())));
    EXPECT_EQ(format_route(QEL_NGMVPN_FormatBgpIntraIpmsiAdNlriKey, record.info, 26, ctx_).log[0],
              "QEL_NGMVPN_FormatBgpIntraIpmsiAdNlriKey, IsImportPmsi(1), type(1).");
    const HostRoute own({.key = intra_key(rd_a(), o4())});
    EXPECT_EQ(format_route(QEL_NGMVPN_FormatBgpIntraIpmsiAdNlriKey, own.info, 26, ctx_).log[0],
              "QEL_NGMVPN_FormatBgpIntraIpmsiAdNlriKey, IsImportPmsi(0), type(1).");
}

TEST_F(ImportRouteKeyWriter, EveryRouteTypeShowsTheNameOfTheIntraForm)
{
    const HostRoute spmsi(with_record(spmsi_key(rd_a(), 1, s4(), g4(), o4())));
    EXPECT_EQ(write_key(spmsi.info, 100, ctx_).log[0], "QEL_NGMVPN_FormatBgpIntraIpmsiAdNlriKey Import pmsi, type(3).");
    const HostRoute leaf({.key = ipmsi_leaf_key(rd_a(), o4(), l4())});
    EXPECT_EQ(write_key(leaf.info, 100, ctx_).log[0], "QEL_NGMVPN_FormatBgpIntraIpmsiAdNlriKey type(4).");
}

TEST_F(ImportRouteKeyWriter, EachFormEndsItsLastLineInItsOwnWay)
{
    const HostRoute intra(with_record(intra_key(rd_a(), o4())));
    EXPECT_EQ(write_key(intra.info, 100, ctx_).log[2], "QEL_NGMVPN_FormatBgpIntraIpmsiAdNlriKey Success.");
    const HostRoute spmsi(with_record(spmsi_key(rd_a(), 1, s4(), g4(), o4())));
    EXPECT_EQ(write_key(spmsi.info, 100, ctx_).log[2], "QEL_NGMVPN_FormatBgpSpmsiAdNlriKey success.");
    const HostRoute leaf({.key = ipmsi_leaf_key(rd_a(), o4(), l4())});
    EXPECT_EQ(write_key(leaf.info, 100, ctx_).log[2], "QEL_NGMVPN_FormatBgpLeafAdNlriKey success");
}

TEST_F(ImportRouteKeyWriter, WildcardsGoOutWithTheZeroOctetsThatTheKeyRemembers)
{
    struct Row {
        QEL_NGMVPN_KEY_S key;
        std::string nlri;
    };
    const Row rows[] = {
        {spmsi_key(rd_a(), 0, none(), none(), o4()), "03 0e" + kRd0 + "00 00" + kO4},
        {spmsi_key(rd_a(), 1, none(), none(), o4()), "03 16" + kRd0 + kZ4 + kZ4 + kO4},
        {spmsi_key(rd_a(), 2, none(), none(), o4()), "03 2e" + kRd0 + kZ6 + kZ6 + kO4},
        {spmsi_leaf_key(rd_a(), 0, none(), none(), o4(), l4()), "04 14 03 0e" + kRd0 + "00 00" + kO4 + kL4},
        {spmsi_leaf_key(rd_a(), 1, none(), none(), o4(), l4()), "04 1c 03 16" + kRd0 + kZ4 + kZ4 + kO4 + kL4},
        {spmsi_leaf_key(rd_a(), 2, none(), none(), o4(), l4()), "04 34 03 2e" + kRd0 + kZ6 + kZ6 + kO4 + kL4},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.nlri);
        const HostRoute host(row.key.uiKeyType == 5 ? Sections{.key = row.key, .policy_id = kPolicy}
                                                    : with_record(row.key));
        expect_octets(write_key(host.info, 100, ctx_), key_message(bytes(row.nlri), kPolicy));
    }
}

TEST_F(ImportRouteKeyWriter, ARefusedMessageLeavesTheCursor)
{
    const HostRoute leaf_record(with_record(ipmsi_leaf_key(rd_a(), o4(), l4()))); // the route fits, its policy id fails
    EXPECT_EQ(write_key(leaf_record.info, 100, ctx_).moved, 0);
    const HostRoute wrong_type({.key = empty_key(6, rd_a())});
    EXPECT_EQ(write_key(wrong_type.info, 100, ctx_).moved, 0);
}

TEST_F(ImportRouteKeyWriter, WhatIsSentIsReadBackAsTheSameKey)
{
    for (const NlriCase &route : ad_routes()) {
        SCOPED_TRACE(route.name);
        const LoggingInstance instance(route.side);
        const HostRoute host(with_record(route.key));
        const FormatGot sent = write_key(host.info, 100, instance.ctx);
        const Answer got = parse_key(slice(sent.buffer, 0, static_cast<std::size_t>(sent.moved)), instance.ctx);
        if (route.octets()[1] > 52) {
            EXPECT_EQ(got.code, kMalformed);
            continue;
        }
        EXPECT_EQ(got.code, 0U);
        expect_import_block(got.block, route.key, key_record(route.key, kPolicy).octets());
    }
}

TEST_F(ImportRouteKeyWriter, AnIpv6IpmsiLeafThatIsSentCannotBeReadBack)
{
    for (const NlriCase &route : ipmsi_leaf_routes()) {
        SCOPED_TRACE(route.name);
        const LoggingInstance instance(route.side);
        const HostRoute host({.key = route.key, .policy_id = kPolicy});
        const FormatGot sent = write_key(host.info, 100, instance.ctx);
        const Answer got = parse_key(slice(sent.buffer, 0, static_cast<std::size_t>(sent.moved)), instance.ctx);
        if (route.key.uKey.stIpmsiLeafAd.ucOrigAddrLen == 32) {
            EXPECT_EQ(got.code, 0U);
            expect_block(got.block, route.key, route.nonkey());
        } else {
            EXPECT_EQ(got.code, kMalformed);
            EXPECT_FALSE(got.stored);
        }
    }
}

QEL_NGMVPN_NONKEY_S leaf_nonkey_of(std::uint32_t type)
{
    auto out = zeroed<QEL_NGMVPN_NONKEY_S>();
    out.usFlags = 0x5;
    out.uiKeyType = type;
    return out;
}

// --- message 138 of routes with a record ----------------------------------------------------------------------------

using ImportRouteAttrWriter = ImportRouteTest;

FormatGot write_attrs(const QEL_ROUTE_INFO_S &route, std::size_t room, QEL_FAMILY_CTX_S *ctx)
{
    return format_route(QEL_NGMVPN_FormatMcImportRouteNoKeyTlv, route, room, ctx);
}

ImportRecord tunnel_record(const Tunnel &tunnel, std::string_view snh = kSnhArrived)
{
    ImportRecord out = arrived_record(tunnel.record, snh);
    out.ply = {0x24, 0xc0000201, 0x01020304};
    return out;
}

// What the record sends; octets 1 to 3 of the policy info stay as the buffer holds them.
Bytes record_message(const Tunnel &tunnel, const std::string &snh = kSnhArrived)
{
    return tlv(12, tunnel.wire) + (snh.empty() ? Bytes{} : tlv(15, bytes(snh))) +
           tlv(17, bytes("24 eeeeee c0000201 01020304"));
}

const Log kPlyDone{"QEL_NGMVPN_FormatPlyInfoTlv success, type 36, RootIp -1073741311, TempId 16909060."};

TEST_F(ImportRouteAttrWriter, ARecordSendsTunnelSnhAndPolicyInfo)
{
    for (const Tunnel &tunnel : all_tunnels()) {
        for (const QEL_NGMVPN_KEY_S &key : {intra_key(rd_a(), o4()), spmsi_key(rd_a(), 1, s4(), g4(), o4())}) {
            ImportRecord record = tunnel_record(tunnel);
            record.key = key;
            const HostRoute host({.key = other_key(), .record = record.octets()});
            const FormatGot got = write_attrs(host.info, 400, ctx_);
            expect_octets(got, record_message(tunnel));
            EXPECT_EQ(got.log, kPlyDone + kNoKeyDone);
        }
    }
}

TEST_F(ImportRouteAttrWriter, TheRoutesOwnTunnelAndCommunitiesAreNotSent)
{
    const HostRoute host({.key = std::nullopt,
                          .list = host_list(kSnhOther + kTarget),
                          .pmsi = bier4().record,
                          .record = tunnel_record(rsvp_te()).octets(),
                          .ipv6_list = rt6_part().held});
    expect_octets(write_attrs(host.info, 400, ctx_), record_message(rsvp_te()));
}

TEST_F(ImportRouteAttrWriter, TheOriginalSetIsSentNotTheReplacedOne)
{
    ImportRecord record = tunnel_record(rsvp_te());
    record.replaced = {kIsSet | kHasSnh | kHasPmsi, host_list(kSnhReplacing), 20, 16};
    record.data = record.data + bier4().record;
    const HostRoute host({.record = record.octets()});
    expect_octets(write_attrs(host.info, 400, ctx_), record_message(rsvp_te()));

    record.original.offset = 20; // the tunnel stands where the offset says
    record.original.length = 16;
    const HostRoute moved({.record = record.octets()});
    expect_octets(write_attrs(moved.info, 400, ctx_), record_message(bier4()));
}

TEST_F(ImportRouteAttrWriter, TheSnhIsSentWithoutALookAtItsFlag)
{
    ImportRecord record = tunnel_record(rsvp_te());
    record.original.flags = 0;
    const HostRoute host({.record = record.octets()});
    expect_octets(write_attrs(host.info, 400, ctx_), record_message(rsvp_te()));
}

TEST_F(ImportRouteAttrWriter, AnSnhOfAnotherSubTypeIsLeftOut)
{
    for (const std::string &snh :
         {kTarget, kTarget2, std::string("1200 00000000 0000"), std::string("0000 00000000 0000")}) {
        SCOPED_TRACE(snh);
        const HostRoute host({.list = host_list(kSnhOther), .record = tunnel_record(mldp(), snh).octets()});
        expect_octets(write_attrs(host.info, 400, ctx_), record_message(mldp(), ""));
    }
    for (const std::string &snh : {kSnhOther, std::string("ff12 0a0b0c0d 1122")}) {
        const HostRoute host({.record = tunnel_record(mldp(), snh).octets()});
        expect_octets(write_attrs(host.info, 400, ctx_), record_message(mldp(), snh));
    }
}

TEST_F(ImportRouteAttrWriter, EveryRoomThatIsTooSmallIsRefusedAtItsStep)
{
    for (const Tunnel &tunnel : all_tunnels()) {
        const HostRoute host({.record = tunnel_record(tunnel).octets()});
        const std::size_t snh_at = 4 + tunnel.wire.size();
        const std::size_t ply_at = snh_at + 12;
        for (std::size_t room = 0; room < ply_at + 20; ++room) {
            SCOPED_TRACE(tunnel.wire.size());
            SCOPED_TRACE(room);
            const FormatGot got = write_attrs(host.info, room, ctx_);
            const std::string because = "FormatMcImportRouteNoKeyTlv failed, because ";
            Log log;
            if (room < 4) {
                log = {"FormatMcImportRouteNoKeyTlv failed, MaxLen is " + std::to_string(room)};
                EXPECT_EQ(hex(got.buffer), hex(untouched(room)));
            } else if (room < snh_at) {
                log = {because + "FormatPmsiTnlTlv 4"};
            } else if (room < ply_at) {
                log = {because + "FormatExtComTlv 4"};
            } else if (room < ply_at + 4) {
                log = {};
            } else if (room < ply_at + 16) {
                log = {because + "FormatPlyInfoTlv 4"};
            } else {
                expect_octets(got, record_message(tunnel));
                continue;
            }
            expect_format_failed(got, kNoRoom, 0);
            EXPECT_EQ(got.log, log);
        }
    }
}

TEST_F(ImportRouteAttrWriter, WithoutASnhTheRoomIsCountedWithoutIt)
{
    const HostRoute host({.record = tunnel_record(rsvp_te(), kTarget).octets()});
    const Bytes wire = record_message(rsvp_te(), "");
    for (std::size_t room = 21; room < wire.size(); ++room) {
        const FormatGot got = write_attrs(host.info, room, ctx_);
        expect_format_failed(got, kNoRoom, 0);
        EXPECT_EQ(got.log, room < 25 ? Log{} : Log{"FormatMcImportRouteNoKeyTlv failed, because FormatPlyInfoTlv 4"});
    }
    expect_octets(write_attrs(host.info, wire.size(), ctx_), wire);
}

TEST_F(ImportRouteAttrWriter, ARoomOfMoreThan16BitsIsRoomEnoughForTheSnh)
{
    const HostRoute host({.record = tunnel_record(rsvp_te()).octets()});
    const std::size_t snh_at = 4 + rsvp_te().wire.size();
    for (const std::size_t left : {0xffffU, 0x10000U, 0x1000bU, 0x1000cU}) {
        expect_octets(write_attrs(host.info, snh_at + left, ctx_), record_message(rsvp_te()));
    }
}

TEST_F(ImportRouteAttrWriter, ARecordWithoutATunnelSendsAnEmptyTlvForIt)
{
    const HostRoute host({.pmsi = rsvp_te().record, .record = tunnel_record({}).octets()});
    const Bytes wire = record_message({});
    expect_octets(write_attrs(host.info, wire.size(), ctx_), wire);
}

TEST_F(ImportRouteAttrWriter, ATunnelThatIsNotCarriedIsReported)
{
    const HostRoute host({.record = tunnel_record({{}, bytes("00 06 0000 01000000")}).octets()});
    const FormatGot got = write_attrs(host.info, 400, ctx_);
    expect_format_failed(got, kFailed, 1);
    EXPECT_EQ(got.log, Log{"FormatMcImportRouteNoKeyTlv failed, because FormatPmsiTnlTlv 1"});
}

TEST_F(ImportRouteAttrWriter, ARecordOfAnotherRouteTypeIsRefused)
{
    for (const std::uint32_t type : {0U, 2U, 4U, 5U, 6U, 7U, 8U, 9U, 0xffffffffU}) {
        SCOPED_TRACE(type);
        ImportRecord record = tunnel_record(rsvp_te());
        record.key.uiKeyType = type;
        const HostRoute host({.key = intra_key(rd_a(), o4()),
                              .list = host_list(kTarget),
                              .record = record.octets(),
                              .nonkey = bytes_of(leaf_nonkey_of(4))});
        const FormatGot got = write_attrs(host.info, 400, ctx_);
        expect_format_failed(got, kBadArgument, 1);
        EXPECT_EQ(got.log, Log{});
        EXPECT_EQ(hex(got.buffer), hex(untouched(400)));
    }
}

TEST_F(ImportRouteAttrWriter, ARecordsTunnelOverridesTheRoutesForEveryWriter)
{
    auto nonkey = zeroed<QEL_NGMVPN_NONKEY_S>();
    nonkey.usFlags = 0x1;
    nonkey.uiKeyType = 1;
    ImportRecord record = tunnel_record(rsvp_te());
    record.key = intra_key(rd_a(), o4());
    const HostRoute host({.pmsi = bier4().record, .record = record.octets(), .nonkey = bytes_of(nonkey)});
    // the attribute by itself
    expect_octets(format_route(QEL_NGMVPN_FormatPmsiTnlTlv, host.info, 100, ctx_), rsvp_te().wire);
    // a route's path, whose TLV is there because the route has a tunnel of its own
    expect_octets(format_route(QEL_NGMVPN_FormatRoutePathTlv, host.info, 100, ctx_),
                  tlv(12, rsvp_te().wire) + tlv(15, bytes(kSnhArrived)));
    // an import route's attributes
    expect_octets(write_attrs(host.info, 100, ctx_), record_message(rsvp_te()));
    // the whole record
    const FormatGot whole = format_route(QEL_NGMVPN_FormatImportAttrTlv, host.info, 400, ctx_);
    EXPECT_EQ(hex(slice(whole.buffer, 148, 21)), hex(tlv(20, rsvp_te().wire)));
}

TEST_F(ImportRouteAttrWriter, ARecordWithAReplacedTunnelAloneHasNoTunnelToSend)
{
    for (const Tunnel &tunnel : all_tunnels()) {
        ImportRecord record = tunnel_record({});
        record.replaced = {kIsSet | kHasPmsi, Bytes(8), 0, static_cast<std::uint32_t>(tunnel.record.size())};
        record.data = tunnel.record;
        const HostRoute host({.pmsi = bier4().record, .record = record.octets()});
        expect_octets(format_route(QEL_NGMVPN_FormatPmsiTnlTlv, host.info, 300, ctx_), {});
        expect_octets(write_attrs(host.info, 300, ctx_), record_message({}));
    }
}

TEST_F(ImportRouteAttrWriter, LessThanAHeadersRoomForThePolicyInfoIsRefusedWithoutALog)
{
    const HostRoute host({.record = tunnel_record(rsvp_te()).octets()});
    const std::size_t ply_at = 4 + rsvp_te().wire.size() + 12;
    const FormatGot without = write_attrs(host.info, ply_at + 3, ctx_);
    expect_format_failed(without, kNoRoom, 0);
    EXPECT_EQ(without.log, Log{});
    const FormatGot with = write_attrs(host.info, ply_at + 4, ctx_);
    expect_format_failed(with, kNoRoom, 0);
    EXPECT_EQ(with.log, Log{"FormatMcImportRouteNoKeyTlv failed, because FormatPlyInfoTlv 4"});
}

TEST_F(ImportRouteAttrWriter, PolicyInfoTakesTwelveOctetsAndLeavesThree)
{
    const OddBytes info(bytes("fe000000 040302ff d4c3b2a1"));
    for (std::size_t room = 0; room < 14; ++room) {
        SCOPED_TRACE(room);
        const FormatGot got = format_into(room, [&](auto cursor, auto space) {
            return QEL_NGMVPN_FormatPlyInfoTlv(info.as<QEL_NGMVPN_PLY_INFO_AT_S>(), cursor, space, ctx_);
        });
        if (room < 12) {
            expect_format_failed(got, kNoRoom, 0);
            EXPECT_EQ(got.log, Log{});
            EXPECT_EQ(hex(got.buffer), hex(untouched(room)));
        } else {
            expect_octets(got, bytes("fe eeeeee ff020304 a1b2c3d4"));
            EXPECT_EQ(got.log,
                      Log{"QEL_NGMVPN_FormatPlyInfoTlv success, type 254, RootIp -16645372, TempId -1582119980."});
        }
    }
}

TEST_F(ImportRouteAttrWriter, OfThePolicyInfosTypeOneOctetIsSent)
{
    const OddBytes info(bytes("78563412 00000000 00000000"));
    const FormatGot got = format_into(12, [&](auto cursor, auto space) {
        return QEL_NGMVPN_FormatPlyInfoTlv(info.as<QEL_NGMVPN_PLY_INFO_AT_S>(), cursor, space, ctx_);
    });
    expect_octets(got, bytes("78 eeeeee 00000000 00000000"));
}

TEST_F(ImportRouteAttrWriter, NullArgumentsOfThePolicyInfoAreReportedOnce)
{
    const OddBytes info(Bytes(12));
    std::array<std::uint8_t, 12> out{};
    std::uint8_t *cursor = out.data();
    for (const std::uint32_t room : {0U, 12U}) {
        expect_null_arguments_refused(2, [&](unsigned nulls) {
            return QEL_NGMVPN_FormatPlyInfoTlv(unless(nulls & 1U, info.as<QEL_NGMVPN_PLY_INFO_AT_S>()),
                                               unless(nulls & 2U, &cursor), room, ctx_);
        });
    }
}

TEST_F(ImportRouteAttrWriter, ThePolicyInfoThatIsSentIsNotKnownToTheReader)
{
    const HostRoute host({.record = tunnel_record(rsvp_te()).octets()});
    const FormatGot sent = write_attrs(host.info, 49, ctx_);
    LossyInstance lossy;
    const LossOnPurpose loss;
    const NoKeyGot got = parse_nokey(sent.buffer, nullptr, lossy.ctx);
    EXPECT_EQ(got.code, kFailed);
    EXPECT_EQ(got.asserts, 1U);
    EXPECT_EQ(got.grown, 1); // the tunnel; the SNH lies in the inline buffer
    EXPECT_EQ(lossy.ctx->uiInlineBufUsed, 1U);
}

// --- message 138 of Leaf A-D routes ---------------------------------------------------------------------------------

using ImportRouteLeafWriter = ImportRouteTest;

const std::string kRt6a = " 0002 20010db8 00010203 04050607 08090a0b 1122 ";
const std::string kRt6b = " 0102 20010db8 f0f1f2f3 04050607 08090a0b 3344 ";

Bytes host_list6(const std::string &wire)
{
    const Bytes octets = bytes(wire);
    Bytes out;
    for (std::size_t at = 0; at + 20 <= octets.size(); at += 20) {
        out = out + reversed(octets, at, 2);
        for (std::size_t word = 2; word < 18; word += 4) {
            out = out + reversed(octets, at + word, 4);
        }
        out = out + reversed(octets, at + 18, 2);
    }
    return out;
}

Sections leaf_with(const std::optional<Bytes> &list, const std::optional<Bytes> &list6, std::uint32_t type = 4)
{
    return {.key = std::nullopt, .list = list, .ipv6_list = list6, .nonkey = bytes_of(leaf_nonkey_of(type))};
}

TEST_F(ImportRouteLeafWriter, SendsTheFirstRouteTargetOfEachList)
{
    struct Row {
        const char *what;
        std::optional<std::string> list;
        std::optional<std::string> list6;
        Bytes wire;
    };
    const Row rows[] = {
        {"both", kTarget, kRt6a, tlv(13, bytes(kTarget)) + tlv(22, bytes(kRt6a))},
        {"first of several", kTarget2 + kTarget, kRt6b + kRt6a, tlv(13, bytes(kTarget2)) + tlv(22, bytes(kRt6b))},
        {"behind others", kSnhArrived + "0009 fde9 00000000" + kTarget,
         " 000b 20010db8 00010203 04050607 08090a0b 1122 " + kRt6a, tlv(13, bytes(kTarget)) + tlv(22, bytes(kRt6a))},
        {"by the low byte alone", "4302 0a0b0c0d 0001", std::nullopt, tlv(13, bytes("4302 0a0b0c0d 0001"))},
        {"IPv4 alone", kTarget, std::nullopt, tlv(13, bytes(kTarget))},
        {"IPv6 alone", std::nullopt, kRt6a, tlv(22, bytes(kRt6a))},
        {"none in either list", kSnhArrived, std::nullopt, {}},
        {"no list", std::nullopt, std::nullopt, {}},
    };
    for (const Row &row : rows) {
        for (const std::uint32_t type : {4U, 5U}) {
            SCOPED_TRACE(row.what);
            const HostRoute host(leaf_with(row.list ? std::optional(host_list(*row.list)) : std::nullopt,
                                           row.list6 ? std::optional(host_list6(*row.list6)) : std::nullopt, type));
            const FormatGot got = write_attrs(host.info, 100, ctx_);
            expect_octets(got, row.wire);
            EXPECT_EQ(got.log, kNoKeyDone);
        }
    }
}

TEST_F(ImportRouteLeafWriter, ComesThroughTheOperation)
{
    const HostRoute host(leaf_with(host_list(kTarget), {}));
    const FormatGot got = format_into(
        100, [&](auto cursor, auto room) { return instance_.desc.pfFormatMsg(&host.info, 138, cursor, room, ctx_); });
    expect_octets(got, tlv(13, bytes(kTarget)));
}

TEST_F(ImportRouteLeafWriter, EveryRoomThatIsTooSmallIsRefusedAtItsStep)
{
    const HostRoute host(leaf_with(host_list(kTarget), host_list6(kRt6a)));
    for (std::size_t room = 0; room < 40; ++room) {
        SCOPED_TRACE(room);
        const FormatGot got = write_attrs(host.info, room, ctx_);
        Log log;
        if (room < 4) {
            log = {"FormatMcImportRouteNoKeyTlv failed, MaxLen is " + std::to_string(room)};
        } else if (room < 12) {
            log = {"FormatMcImportRouteNoKeyTlv failed, because FormatExtComTlv 4"};
        } else if (room < 36) {
            log = {"FormatMcImportRouteNoKeyTlv failed(IPv6) because FormatExtComTlv 4"};
        } else {
            expect_octets(got, tlv(13, bytes(kTarget)) + tlv(22, bytes(kRt6a)));
            continue;
        }
        expect_format_failed(got, kNoRoom, 0);
        EXPECT_EQ(got.log, log);
    }
    const HostRoute empty(leaf_with({}, {})); // an empty message still asks for four octets
    expect_format_failed(write_attrs(empty.info, 3, ctx_), kNoRoom, 0);
    expect_octets(write_attrs(empty.info, 4, ctx_), {});
}

TEST_F(ImportRouteLeafWriter, ARoomOfMoreThan16BitsIsRoomEnough)
{
    const HostRoute host(leaf_with(host_list(kTarget), host_list6(kRt6a)));
    for (const std::size_t room : {0xffffU, 0x10000U, 0x1000bU, 0x10023U, 0x10024U}) {
        expect_octets(write_attrs(host.info, room, ctx_), tlv(13, bytes(kTarget)) + tlv(22, bytes(kRt6a)));
    }
}

TEST_F(ImportRouteLeafWriter, ARouteWithoutAProperNonKeyIsRefused)
{
    auto nonkey = leaf_nonkey_of(4);
    const auto expect_refusal = [&](const HostRoute &host) {
        const FormatGot got = write_attrs(host.info, 100, ctx_);
        expect_format_failed(got, kBadArgument, 1);
        EXPECT_EQ(got.log, Log{});
        EXPECT_EQ(hex(got.buffer), hex(untouched(100)));
    };
    HostRoute no_mask(leaf_with(host_list(kTarget), {}));
    no_mask.info.uiValidMask = 0xfffffffb;
    expect_refusal(no_mask);
    no_mask.info.uiValidMask = 0x4; // the one bit that counts
    EXPECT_EQ(write_attrs(no_mask.info, 100, ctx_).code, 0U);
    expect_refusal(HostRoute({.key = ipmsi_leaf_key(rd_a(), o4(), l4()), .list = host_list(kTarget)}));
    for (const std::uint32_t type : {0U, 1U, 2U, 3U, 6U, 7U, 8U, 9U}) {
        SCOPED_TRACE(type);
        expect_refusal(HostRoute(leaf_with(host_list(kTarget), {}, type)));
    }
    for (const std::uint16_t flags : std::initializer_list<std::uint16_t>{0, 0x4, 0xfffe}) {
        nonkey.usFlags = flags;
        expect_refusal(HostRoute({.list = host_list(kTarget), .nonkey = bytes_of(nonkey)}));
    }
    nonkey.usFlags = 0x1;
    const HostRoute fine({.list = host_list(kTarget), .nonkey = bytes_of(nonkey)});
    EXPECT_EQ(write_attrs(fine.info, 100, ctx_).code, 0U);
}

TEST_F(ImportRouteLeafWriter, ALeafRouteWithoutARouteTargetIsAnEmptyMessageAndNoFailure)
{
    for (const auto &list : {std::optional<Bytes>{}, std::optional(host_list(kSnhArrived))}) {
        const HostRoute host(leaf_with(list, {}));
        const FormatGot got = write_attrs(host.info, 4, ctx_);
        expect_octets(got, {});
        EXPECT_EQ(got.log, kNoKeyDone);
    }
}

TEST_F(ImportRouteLeafWriter, AFailureOfTheIpv6TargetIsLoggedInItsOwnWords)
{
    const HostRoute host(leaf_with({}, host_list6(kRt6a)));
    const FormatGot got = write_attrs(host.info, 23, ctx_);
    expect_format_failed(got, kNoRoom, 0);
    EXPECT_EQ(got.log, Log{"FormatMcImportRouteNoKeyTlv failed(IPv6) because FormatExtComTlv 4"});
}

TEST_F(ImportRouteLeafWriter, ANonKeyWithoutItsTypeFlagIsReported)
{
    auto nonkey = leaf_nonkey_of(4);
    nonkey.usFlags = 0xfffe;
    const HostRoute host({.list = host_list(kTarget), .nonkey = bytes_of(nonkey)});
    const FormatGot got = format_route(QEL_NGMVPN_FormatLeafAdExtCom, host.info, 100, ctx_);
    expect_format_failed(got, kBadArgument, 1);
}

TEST_F(ImportRouteLeafWriter, TheNonKeysTypeDecidesNotTheKeys)
{
    Sections from = leaf_with(host_list(kTarget), {});
    from.key = intra_key(rd_a(), o4());
    const HostRoute host(from);
    expect_octets(write_attrs(host.info, 100, ctx_), tlv(13, bytes(kTarget)));
}

TEST_F(ImportRouteLeafWriter, WhatIsSentIsReadBackAsTheList)
{
    const HostRoute both(leaf_with(host_list(kTarget2), host_list6(kRt6a)));
    const NoKeyGot got = parse_nokey(write_attrs(both.info, 36, ctx_).buffer, nullptr, ctx_);
    EXPECT_EQ(got.code, 0U);
    expect_attribute_block(Block(got.result), 0, 16, hex(host_list(kTarget2)));
    const HostRoute ipv6(leaf_with({}, host_list6(kRt6b)));
    const NoKeyGot got6 = parse_nokey(write_attrs(ipv6.info, 24, ctx_).buffer, nullptr, ctx_);
    EXPECT_EQ(got6.code, 0U);
    expect_attribute_block(Block(got6.result), 3, 25, hex(host_list6(kRt6b)));
}

TEST(ImportRouteTypes, BothChecksAnswerIsNot)
{
    for (const std::uint32_t type : {0U, 1U, 2U, 3U, 4U, 5U, 6U, 7U, 8U, 9U, 0xffffffffU}) {
        EXPECT_EQ(QEL_NGMVPN_CheckIspmsiAd(type), type == 1 || type == 3 ? 0U : 1U) << type;
        EXPECT_EQ(QEL_NGMVPN_CheckIsLeafAd(type), type == 4 || type == 5 ? 0U : 1U) << type;
    }
}

} // namespace
} // namespace qel::test
