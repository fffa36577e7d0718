// Writing MCAST-VPN routes for attributes 14 and 15: ngmvpn/qel_ngmvpn_nlri.cpp.
#include "nlri_cases.h"

#include <array>

namespace qel::test {
namespace {

constexpr std::uint32_t kTooShort = 4;
constexpr std::uint8_t kFill = 0xee;

const QEL_RD_VALUE_S kHostRd = rd12(1, 0xc6336407, 0x0a0b);
const std::string kHostRdWire = " 0001 c6336407 0a0b ";

// What a formatter left behind: the octets before its cursor; `spilt` if it wrote behind it.
struct Written {
    std::uint32_t code = 0;
    Bytes octets;
    bool spilt = false;
    std::size_t asserts = 0;
};

// Runs `call(cursor)` on a buffer of exactly `room` octets.
template <typename Call> Written run_formatter(std::size_t room, Call call)
{
    const Bytes blank(room, kFill);
    ExactCopy copy(blank);
    std::uint8_t *cursor = copy.data();
    Written out;
    const platform::Recorder recorder;
    out.code = call(&cursor);
    out.octets.assign(copy.data(), cursor);
    for (const std::uint8_t *rest = cursor; rest != copy.data() + room; ++rest) {
        out.spilt = out.spilt || *rest != kFill;
    }
    out.asserts = recorder.asserts().size();
    return out;
}

Written format_route(QEL_ROUTE_INFO_S &route, std::size_t room, std::uint32_t out_len, QEL_FAMILY_CTX_S *ctx)
{
    return run_formatter(room,
                         [&](std::uint8_t **cursor) { return QEL_NGMVPN_FormatMpNlri(&route, cursor, out_len, ctx); });
}

Written format_key(const QEL_NGMVPN_KEY_S &key, QEL_FAMILY_CTX_S *ctx)
{
    KeyRoute host(key, kHostRd);
    return format_route(host.route, 78, 78, ctx);
}

void expect_written(const Written &got, const Bytes &octets, std::size_t asserts = 0)
{
    EXPECT_EQ(got.code, 0U);
    EXPECT_EQ(hex(got.octets), hex(octets));
    EXPECT_FALSE(got.spilt);
    EXPECT_EQ(got.asserts, asserts);
}

void expect_nothing_written(const Written &got, std::uint32_t code, std::size_t asserts)
{
    EXPECT_EQ(got.code, code);
    EXPECT_EQ(hex(got.octets), "");
    EXPECT_FALSE(got.spilt);
    EXPECT_EQ(got.asserts, asserts);
}

using Formatter = uint32_t (*)(const QEL_ROUTE_INFO_S *, uint8_t **, uint32_t, uint32_t);

// The formatter of a key type and the room that it asks for, whatever its route needs.
struct Door {
    Formatter formatter;
    std::uint32_t bound;
};

Door door_of(std::uint32_t key_type)
{
    switch (key_type) {
    case 1:
        return {QEL_NGMVPN_FormatBgpIntraIpmsiAdNlri, 26};
    case 2:
        return {QEL_NGMVPN_FormatBgpInterIpmsiAdNlri, 14};
    case 3:
        return {QEL_NGMVPN_FormatBgpSpmsiAdNlri, 60};
    case 4:
    case 5:
        return {QEL_NGMVPN_FormatBgpLeafAdNlri, 78};
    case 6:
        return {QEL_NGMVPN_FormatBgpSourceActiveAdNlri, 44};
    default:
        return {QEL_NGMVPN_FormatBgpCMulticastRouteNlri, 48};
    }
}

// --- good routes ----------------------------------------------------------------------------------------------------

TEST(NlriFormat, AParsedRouteIsWrittenAsItStoodOnTheWire)
{
    const LeakCheck leaks;
    for (const NlriCase &row : all_routes()) {
        SCOPED_TRACE(row);
        const NgmvpnInstance instance(row.side);
        const Parsed parsed = parse_route(instance, row.octets());
        ASSERT_TRUE(parsed.block);
        QEL_ROUTE_INFO_S route = route_of(parsed.block);
        expect_written(format_route(route, 78, 78, instance.ctx), row.formatted());
    }
}

TEST(NlriFormat, AttributeTypes14And15AreWrittenAlikeThroughTheDescriptor)
{
    for (const NlriCase &row : all_routes()) {
        SCOPED_TRACE(row);
        const NgmvpnInstance instance(row.side);
        KeyRoute host(row.key, kHostRd);
        for (const std::uint32_t type : {14U, 15U}) {
            expect_written(run_formatter(78,
                                         [&](std::uint8_t **cursor) {
                                             return instance.desc.pfFormatPkt(&host.route, type, cursor, 78,
                                                                              instance.ctx);
                                         }),
                           row.formatted());
        }
    }
}

TEST(NlriFormat, AWrittenRouteIsReadAgainAsTheSameKey)
{
    const LeakCheck leaks;
    const NgmvpnInstance instance(kPlain);
    for (const NlriCase &row : all_routes()) {
        if (row.key.uiKeyType == 5) {
            continue; // in a plain instance its length would have to be another
        }
        SCOPED_TRACE(row);
        const Parsed again = parse_route(instance, format_key(row.key, instance.ctx).octets);
        EXPECT_EQ(again.code, 0U);
        expect_block(again.block, row.key, row.nonkey());
    }
}

TEST(NlriFormat, TheKeyMayStandAtAnyAddress)
{
    const NgmvpnInstance instance(kPlain);
    for (const NlriCase &row : one_of_each()) {
        SCOPED_TRACE(row);
        for (std::size_t shift = 1; shift < 4; ++shift) {
            Bytes storage(shift);
            const ExactCopy copy(storage + bytes_of(row.key) + bytes_of(kHostRd));
            QEL_ROUTE_INFO_S route{};
            route.uiKeyLen = sizeof(row.key);
            route.pucKey = copy.data() + shift;
            route.uiRdLen = sizeof(kHostRd);
            route.pucRd = copy.data() + shift + sizeof(row.key);
            expect_written(format_route(route, 78, 78, instance.ctx), row.formatted());
        }
    }
}

TEST(NlriFormat, TheNonKeyIsNotRead)
{
    const NgmvpnInstance instance(kMvpn4);
    for (const NlriCase &row : one_of_each()) {
        SCOPED_TRACE(row);
        KeyRoute host(row.key, kHostRd);
        const ExactCopy other(Bytes(100, 0x5a));
        host.route.uiNonKeyLen = other.size();
        host.route.pucNonKey = other.data();
        expect_written(format_route(host.route, 78, 78, instance.ctx), row.formatted());
    }
}

TEST(NlriFormat, AKeyOfKind2TakesItsOwnRdAndAnyOtherTheHosts)
{
    const NgmvpnInstance instance(kPlain);
    for (const NlriCase &row : one_of_each()) {
        SCOPED_TRACE(row);
        Bytes with_host_rd = row.formatted();
        const Bytes rd = bytes(kHostRdWire);
        std::copy(rd.begin(), rd.end(), with_host_rd.begin() + (row.leaf() ? 4 : 2));
        for (const std::uint8_t kind : std::array<std::uint8_t, 6>{0, 1, 2, 3, 4, 255}) {
            QEL_NGMVPN_KEY_S key = row.key;
            key.ucRdKind = kind;
            KeyRoute host(key, kHostRd);
            expect_written(format_route(host.route, 78, 78, instance.ctx), kind == 2 ? row.formatted() : with_host_rd);
            EXPECT_EQ(hex(bytes_of(host.key)), hex(bytes_of(key))) << "the key stays in host order";
            EXPECT_EQ(hex(bytes_of(host.rd)), hex(bytes_of(kHostRd)));
        }
    }
}

TEST(NlriFormat, TheRdIsWrittenByItsType)
{
    const NgmvpnInstance instance(kPlain);
    const std::pair<QEL_RD_VALUE_S, std::string> rds[] = {
        {rd0(0x0102, 0x03040506), "0000 0102 03040506"},
        {rd12(1, 0x01020304, 0x0506), "0001 01020304 0506"},
        {rd12(2, 0x01020304, 0x0506), "0002 01020304 0506"},
        {rd12(3, 0x01020304, 0x0506), "0003 04030201 0605"}, // no RD type: the value stays as it lies in memory
    };
    for (const NlriCase &row : one_of_each()) {
        for (const auto &[value, wire] : rds) {
            SCOPED_TRACE(row.name + " " + wire);
            Bytes expected = row.formatted();
            const Bytes rd = bytes(wire);
            std::copy(rd.begin(), rd.end(), expected.begin() + (row.leaf() ? 4 : 2));
            QEL_NGMVPN_KEY_S key = row.key;
            key.stRd = value;
            expect_written(format_key(key, instance.ctx), expected);
            key.ucRdKind = 1;
            key.stRd = rd_a();
            KeyRoute host(key, value);
            expect_written(format_route(host.route, 78, 78, instance.ctx), expected);
        }
    }
}

TEST(NlriFormat, TheMessageFormIsNotRead)
{
    for (const NlriCase &row : one_of_each()) {
        SCOPED_TRACE(row);
        const KeyRoute host(row.key, kHostRd);
        const Door door = door_of(row.key.uiKeyType);
        for (const std::uint32_t form : {0U, 1U, 2U, 3U, 77U, 0xffffffffU}) {
            expect_written(run_formatter(door.bound,
                                         [&](std::uint8_t **cursor) {
                                             return door.formatter(&host.route, cursor, door.bound, form);
                                         }),
                           row.formatted());
        }
    }
}

TEST(NlriFormat, EachKeyTypeIsWrittenWithItsRouteTypeAndLength)
{
    const NgmvpnInstance instance(kPlain);
    const std::pair<QEL_NGMVPN_KEY_S, std::string> rows[] = {
        {intra_key(rd_a(), o4()), "010c"},
        {intra_key(rd_a(), o6()), "0118"},
        {inter_key(rd_a(), 1), "020c"},
        {spmsi_key(rd_a(), 1, s4(), g4(), o4()), "0316"},
        {spmsi_key(rd_a(), 2, s6(), g6(), o6()), "033a"},
        {source_active_key(rd_a(), s4(), g6()), "051e"},
        {cmcast_key(7, rd_a(), 1, s4(), g4()), "0616"},
        {cmcast_key(8, rd_a(), 1, s6(), none()), "071e"},
    };
    for (const auto &[key, head] : rows) {
        const Written got = format_key(key, instance.ctx);
        ASSERT_GE(got.octets.size(), 2U);
        EXPECT_EQ(hex({got.octets.data(), 2}), head);
        EXPECT_EQ(got.octets.size(), got.octets[1] + 2U);
    }
}

TEST(NlriFormat, ALeafOfAnIpmsiIsEighteenAroundTwelveOrFortyTwoAroundTwentyFour)
{
    const NgmvpnInstance instance(kPlain);
    for (const auto &[key, head] : {std::pair{ipmsi_leaf_key(rd_a(), o4(), l4()), "0412010c"},
                                    {ipmsi_leaf_key(rd_a(), o6(), l6()), "042a0118"}}) {
        EXPECT_EQ(hex(format_key(key, instance.ctx).octets).substr(0, 8), head);
    }
}

// The embedded length leaves the leaf address out, the route's adds it and the embedded header.
TEST(NlriFormat, TheLengthOfALeafOfAnSpmsiIsTheEmbeddedOneAndTheLeafAddressAndTwo)
{
    const NgmvpnInstance instance(kPlain);
    for (const auto &[key, head] : {std::pair{spmsi_leaf_key(rd_a(), 1, s4(), g4(), o4(), l4()), "041c0316"},
                                    {spmsi_leaf_key(rd_a(), 2, s6(), g6(), o6(), l6()), "044c033a"}}) {
        EXPECT_EQ(hex(format_key(key, instance.ctx).octets).substr(0, 8), head);
    }
}

TEST(NlriFormat, NumbersAndIpv4AddressesAreWrittenMostSignificantOctetFirst)
{
    const NgmvpnInstance instance(kPlain);
    EXPECT_EQ(hex(format_key(inter_key(rd_a(), 0x01020304), instance.ctx).octets),
              hex(bytes("02 0c" + kRd0 + "01020304")));
    EXPECT_EQ(hex(format_key(intra_key(rd_a(), v4(0x01020304)), instance.ctx).octets),
              hex(bytes("01 0c" + kRd0 + "01020304")));
    EXPECT_EQ(hex(format_key(cmcast_key(7, rd_a(), 0x01020304, none(), none()), instance.ctx).octets),
              hex(bytes("06 0e" + kRd0 + "01020304 00 00")));
}

TEST(NlriFormat, TheKeyStaysInHostOrder)
{
    const NgmvpnInstance instance(kPlain);
    KeyRoute host(spmsi_key(rd_b(), 1, s4(), g4(), o4()), kHostRd);
    EXPECT_EQ(format_route(host.route, 78, 78, instance.ctx).code, 0U);
    EXPECT_EQ(hex(bytes_of(host.key.stRd)), hex(bytes_of(rd_b())));
}

// --- room
// ---------------------------------------------------------------------------------------------------------------

TEST(NlriFormat, RoomIsTestedAgainstTheLargestFormOfTheRoute)
{
    const NgmvpnInstance instance(kPlain);
    for (const NlriCase &row : all_routes()) {
        SCOPED_TRACE(row);
        KeyRoute host(row.key, kHostRd);
        const Door door = door_of(row.key.uiKeyType);
        // The room is there in full, only the claim is small.
        expect_written(format_route(host.route, door.bound, door.bound, instance.ctx), row.formatted());
        for (const std::uint32_t claim : {door.bound - 1, 13U, 1U, 0U}) {
            expect_nothing_written(format_route(host.route, door.bound, claim, instance.ctx), kTooShort, 0);
            expect_nothing_written(
                run_formatter(door.bound,
                              [&](std::uint8_t **cursor) { return door.formatter(&host.route, cursor, claim, 2); }),
                kTooShort, 0);
        }
    }
}

TEST(NlriFormat, AFourteenOctetRouteNeedsRoomForTwentySix)
{
    const NgmvpnInstance instance(kPlain);
    KeyRoute host(intra_key(rd_a(), o4()), kHostRd);
    expect_nothing_written(format_route(host.route, 25, 25, instance.ctx), kTooShort, 0);
    expect_written(format_route(host.route, 26, 26, instance.ctx), bytes("01 0c" + kRd0 + kO4));
}

// --- refusals
// -----------------------------------------------------------------------------------------------------------

TEST(NlriFormat, EveryNullArgumentIsReportedOnceAndRefused)
{
    const NgmvpnInstance instance(kPlain);
    KeyRoute host(intra_key(rd_a(), o4()), kHostRd);
    for (int missing = 0; missing < 4; ++missing) {
        const Written got = run_formatter(78, [&](std::uint8_t **cursor) {
            return QEL_NGMVPN_FormatMpNlri(missing == 0 || missing == 3 ? nullptr : &host.route,
                                           missing == 1 || missing == 3 ? nullptr : cursor, 78,
                                           missing == 2 || missing == 3 ? nullptr : instance.ctx);
        });
        expect_nothing_written(got, 0x50002, 1);
    }
    for (const NlriCase &row : one_of_each()) {
        SCOPED_TRACE(row);
        const KeyRoute each(row.key, kHostRd);
        const Door door = door_of(row.key.uiKeyType);
        for (const std::uint32_t claim : {0U, 78U}) { // before the room is looked at
            for (int missing = 0; missing < 3; ++missing) {
                const Written got = run_formatter(78, [&](std::uint8_t **cursor) {
                    return door.formatter(missing == 0 || missing == 2 ? nullptr : &each.route,
                                          missing == 1 || missing == 2 ? nullptr : cursor, claim, 2);
                });
                expect_nothing_written(got, 0x50002, 1);
            }
        }
    }
}

TEST(NlriFormat, WithoutAContextTheDescriptorsOperationReachesTheHandlersCheck)
{
    const NgmvpnInstance instance(kPlain);
    KeyRoute host(intra_key(rd_a(), o4()), kHostRd);
    expect_nothing_written(
        run_formatter(
            78, [&](std::uint8_t **cursor) { return instance.desc.pfFormatPkt(&host.route, 14, cursor, 78, nullptr); }),
        0x50002, 1);
}

TEST(NlriFormat, ARouteWithoutAKeyIsAbsent)
{
    const NgmvpnInstance instance(kPlain);
    KeyRoute host(intra_key(rd_a(), o4()), kHostRd);
    host.route.pucKey = nullptr;
    for (const std::uint32_t claim : {0U, 78U}) {
        expect_nothing_written(format_route(host.route, 78, claim, instance.ctx), 0x80012, 0);
    }
}

TEST(NlriFormat, AKeyTypeOutsideOneToEightIsNoValue)
{
    const NgmvpnInstance instance(kPlain);
    for (const std::uint32_t type : {0U, 9U, 10U, 256U, 257U, 0xffffffffU}) {
        KeyRoute host(empty_key(type, rd_a()), kHostRd);
        for (const std::uint32_t claim : {0U, 78U}) {
            expect_nothing_written(format_route(host.route, 78, claim, instance.ctx), 0x80001, 0);
        }
        host.route.pucRd = nullptr;
        expect_nothing_written(format_route(host.route, 78, 78, instance.ctx), 0x80001, 0);
    }
}

TEST(NlriFormat, AllButIntraAskForTheHostsRdAlsoWhereTheyDoNotUseIt)
{
    const NgmvpnInstance instance(kPlain);
    for (const NlriCase &row : one_of_each()) {
        SCOPED_TRACE(row);
        const Door door = door_of(row.key.uiKeyType);
        KeyRoute host(row.key, kHostRd);
        host.route.pucRd = nullptr;
        expect_nothing_written(format_route(host.route, 78, door.bound - 1, instance.ctx), kTooShort, 0);
        const Written got = format_route(host.route, 78, door.bound, instance.ctx);
        if (row.key.uiKeyType == 1) {
            expect_written(got, row.formatted());
        } else {
            expect_nothing_written(got, 0x50002, 1);
            host.key.ucRdKind = 1;
            expect_nothing_written(format_route(host.route, 78, door.bound, instance.ctx), 0x50002, 1);
        }
    }
}

TEST(NlriFormat, IntraWithoutTheHostsRdLeavesTheRdOctetsUnwritten)
{
    const NgmvpnInstance instance(kPlain);
    for (const std::uint8_t kind : std::array<std::uint8_t, 3>{0, 1, 3}) {
        for (const auto &[orig, wire] :
             {std::pair{o4(), "01 0c eeeeeeeeeeeeeeee" + kO4}, {o6(), "01 18 eeeeeeeeeeeeeeee" + kO6}}) {
            QEL_NGMVPN_KEY_S key = intra_key(rd_a(), orig);
            key.ucRdKind = kind;
            KeyRoute host(key, kHostRd);
            host.route.pucRd = nullptr;
            expect_written(format_route(host.route, 78, 78, instance.ctx), bytes(wire), 1);
        }
    }
}

TEST(NlriFormat, WithoutTheHostsRdTheOctetsThatStoodThereAreSwappedAsAnRd)
{
    QEL_NGMVPN_KEY_S key = intra_key(rd_a(), o4());
    key.ucRdKind = 1;
    KeyRoute host(key, kHostRd);
    host.route.pucRd = nullptr;
    const NgmvpnInstance instance(kPlain);
    // A host-order RD of type 1 lay in the room.
    ExactCopy room(bytes("0000") + bytes_of(kHostRd) + Bytes(16, kFill));
    std::uint8_t *cursor = room.data();
    EXPECT_EQ(QEL_NGMVPN_FormatMpNlri(&host.route, &cursor, room.size(), instance.ctx), 0U);
    EXPECT_EQ(hex({room.data(), cursor}), hex(bytes("01 0c" + kHostRdWire + kO4)));
}

// --- keys that no parser makes
// ----------------------------------------------------------------------------------------

TEST(NlriFormat, IntraOriginatorOfAnyOtherLengthIsSixteenOctetsUnderLengthTwelve)
{
    const NgmvpnInstance instance(kPlain);
    for (const std::uint8_t length : std::array<std::uint8_t, 4>{0, 31, 33, 127}) {
        QEL_NGMVPN_KEY_S key = intra_key(rd_a(), o6());
        key.uKey.stIntraIpmsiAd.ucOrigAddrLen = length;
        expect_written(format_key(key, instance.ctx), bytes("01 0c" + kRd0 + kO6));
    }
}

TEST(NlriFormat, SpmsiOriginatorOfAnyOtherLengthIsFourOctets)
{
    const NgmvpnInstance instance(kPlain);
    for (const std::uint8_t length : std::array<std::uint8_t, 4>{0, 31, 127, 129}) {
        QEL_NGMVPN_KEY_S key = spmsi_key(rd_a(), 1, s4(), g4(), o4());
        key.uKey.stSpmsiAd.ucOrigAddrLen = length;
        expect_written(format_key(key, instance.ctx), bytes("03 16" + kRd0 + kS4 + kG4 + kO4));
    }
}

TEST(NlriFormat, LeafAddressesOfAnyOtherLengthAreSixteenOctets)
{
    const NgmvpnInstance instance(kPlain);
    for (const std::uint8_t length : std::array<std::uint8_t, 4>{0, 31, 33, 127}) {
        QEL_NGMVPN_KEY_S ipmsi = ipmsi_leaf_key(rd_a(), o6(), l6());
        ipmsi.uKey.stIpmsiLeafAd.ucOrigAddrLen = length;
        expect_written(format_key(ipmsi, instance.ctx), bytes("04 2a 01 18" + kRd0 + kO6 + kL6));
        QEL_NGMVPN_KEY_S spmsi = spmsi_leaf_key(rd_a(), 0, none(), none(), o6(), l6());
        spmsi.uKey.stSpmsiLeafAd.ucOrigAddrLen = length;
        expect_written(format_key(spmsi, instance.ctx), bytes("04 2c 03 1a" + kRd0 + "00 00" + kO6 + kL6));
    }
}

TEST(NlriFormat, TheOriginatorsLengthSpeaksForTheLeafAddressToo)
{
    const NgmvpnInstance instance(kPlain);
    for (const std::uint8_t length : std::array<std::uint8_t, 3>{0, 32, 128}) {
        QEL_NGMVPN_KEY_S four = ipmsi_leaf_key(rd_a(), o4(), l4());
        four.uKey.stIpmsiLeafAd.ucLeafAddrLen = length;
        expect_written(format_key(four, instance.ctx), bytes("04 12 01 0c" + kRd0 + kO4 + kL4));
        QEL_NGMVPN_KEY_S sixteen = ipmsi_leaf_key(rd_a(), o6(), l6());
        sixteen.uKey.stIpmsiLeafAd.ucLeafAddrLen = length;
        expect_written(format_key(sixteen, instance.ctx), bytes("04 2a 01 18" + kRd0 + kO6 + kL6));
        QEL_NGMVPN_KEY_S spmsi = spmsi_leaf_key(rd_a(), 1, s4(), g4(), o4(), l4());
        spmsi.uKey.stSpmsiLeafAd.ucLeafAddrLen = length;
        expect_written(format_key(spmsi, instance.ctx), bytes("04 1c 03 16" + kRd0 + kS4 + kG4 + kO4 + kL4));
    }
}

TEST(NlriFormat, AnAddressOfNoKnownLengthIsWrittenShortAndNotCounted)
{
    const NgmvpnInstance instance(kPlain);
    struct Row {
        QEL_NGMVPN_KEY_S key;
        std::string wire;
        std::size_t asserts;
    };
    Addr odd_src = s4();
    odd_src.len = 33;
    Addr odd_grp = g6();
    odd_grp.len = 127;
    const Row rows[] = {
        {spmsi_key(rd_a(), 1, odd_src, g4(), o4()), "03 11" + kRd0 + "21" + kG4 + kO4, 1},
        {spmsi_key(rd_a(), 2, s6(), odd_grp, o6()), "03 29" + kRd0 + kS6 + "7f" + kO6, 1},
        {spmsi_key(rd_a(), 1, odd_src, odd_grp, o4()), "03 0c" + kRd0 + "21 7f" + kO4, 2},
        {spmsi_leaf_key(rd_a(), 1, odd_src, g4(), o4(), l4()), "04 17 03 11" + kRd0 + "21" + kG4 + kO4 + kL4, 1},
        {spmsi_leaf_key(rd_a(), 2, s6(), odd_grp, o6(), l6()), "04 3b 03 29" + kRd0 + kS6 + "7f" + kO6 + kL6, 1},
        {source_active_key(rd_a(), odd_src, g4()), "05 0d" + kRd0 + "21" + kG4, 1},
        {source_active_key(rd_a(), s4(), odd_grp), "05 0d" + kRd0 + kS4 + "7f", 1},
        {source_active_key(rd_a(), odd_src, odd_grp), "05 08" + kRd0 + "21 7f", 2},
        {cmcast_key(7, rd_a(), 130537, odd_src, g6()), "06 1d" + kRd0 + kAs + "21" + kG6, 1},
        {cmcast_key(8, rd_a(), 130537, s4(), odd_grp), "07 11" + kRd0 + kAs + kS4 + "7f", 1},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.wire);
        expect_written(format_key(row.key, instance.ctx), bytes(row.wire), row.asserts);
    }
}

TEST(NlriFormat, AWildcardsOctetsFollowTheKeysAddressFamily)
{
    const NgmvpnInstance instance(kPlain);
    const Addr w = none();
    struct Row {
        QEL_NGMVPN_KEY_S key;
        std::string wire;
    };
    const Row rows[] = {
        {spmsi_key(rd_a(), 0, w, w, o4()), "03 0e" + kRd0 + "00 00" + kO4},
        {spmsi_key(rd_a(), 1, w, w, o4()), "03 16" + kRd0 + kZ4 + kZ4 + kO4},
        {spmsi_key(rd_a(), 2, w, w, o4()), "03 2e" + kRd0 + kZ6 + kZ6 + kO4},
        {spmsi_key(rd_a(), 3, w, w, o6()), "03 3a" + kRd0 + kZ6 + kZ6 + kO6},
        {spmsi_leaf_key(rd_a(), 0, w, w, o4(), l4()), "04 14 03 0e" + kRd0 + "00 00" + kO4 + kL4},
        {spmsi_leaf_key(rd_a(), 1, w, w, o4(), l4()), "04 1c 03 16" + kRd0 + kZ4 + kZ4 + kO4 + kL4},
        {spmsi_leaf_key(rd_a(), 2, w, w, o6(), l6()), "04 4c 03 3a" + kRd0 + kZ6 + kZ6 + kO6 + kL6},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.wire);
        expect_written(format_key(row.key, instance.ctx), bytes(row.wire));
    }
    // Where S-PMSI keys hold their family, the others hold a reserved octet that is not looked at.
    QEL_NGMVPN_KEY_S source_active = source_active_key(rd_a(), w, w);
    source_active.uKey.stSpmsiAd.ucKeyAddrFamily = 1;
    expect_written(format_key(source_active, instance.ctx), bytes("05 0a" + kRd0 + "00 00"));
}

TEST(NlriFormat, KeyTypeSevenIsWireTypeSixAndEveryOtherSeven)
{
    for (const auto &[key_type, wire] : {std::pair{7U, "06 16"}, {8U, "07 16"}, {6U, "07 16"}, {9U, "07 16"}}) {
        const KeyRoute host(cmcast_key(key_type, rd_a(), 130537, s4(), g4()), kHostRd);
        expect_written(run_formatter(48,
                                     [&](std::uint8_t **cursor) {
                                         return QEL_NGMVPN_FormatBgpCMulticastRouteNlri(&host.route, cursor, 48, 2);
                                     }),
                       bytes(wire + kRd0 + kAs + kS4 + kG4));
    }
}

// --- steps
// --------------------------------------------------------------------------------------------------------------

TEST(NlriFormat, TheIpmsiLeafStepStartsOnTheOuterLength)
{
    for (const NlriCase &row : ipmsi_leaf_routes()) {
        SCOPED_TRACE(row);
        const KeyRoute host(row.key, kHostRd);
        const Bytes whole = row.formatted();
        expect_written(run_formatter(whole.size() - 1,
                                     [&](std::uint8_t **cursor) {
                                         return QEL_NGMVPN_FormatBgpLeafAdNlriIPMSILEAFAD_(&host.route, &host.key,
                                                                                           cursor);
                                     }),
                       Bytes(whole.begin() + 1, whole.end()));
    }
}

TEST(NlriFormat, SetAddrAndLenWritesAnAddressByItsLengthAndHint)
{
    const QEL_ADDR_S field = v6("0102030405060708090a0b0c0d0e0f10").value; // as a word: 0x04030201
    const std::string word = " 04030201 ";
    const std::string whole = " 0102030405060708090a0b0c0d0e0f10 ";
    struct Row {
        std::uint8_t len;
        std::uint8_t hint;
        std::string wire;
        std::uint8_t consumed;
    };
    const Row rows[] = {
        {32, 0, "20" + word, 5},
        {32, 1, "20" + word, 5},
        {32, 2, "20" + word, 5},
        {128, 0, "80" + whole, 17},
        {128, 1, "80" + whole, 17},
        {128, 2, "80" + whole, 17},
        {0, 0, "00", 1},
        {0, 1, "00" + word, 5},
        {0, 2, "00" + whole, 17},
        {0, 3, "00" + whole, 17},
        {0, 255, "00" + whole, 17},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(std::to_string(row.len) + " hint " + std::to_string(row.hint));
        std::uint8_t consumed = 0xee;
        expect_written(run_formatter(row.consumed,
                                     [&](std::uint8_t **cursor) {
                                         QEL_NGMVPN_SetAddrAndLen(cursor, &field, row.len, &consumed, row.hint);
                                         return 0U;
                                     }),
                       bytes(row.wire));
        EXPECT_EQ(consumed, row.consumed);
    }
}

TEST(NlriFormat, SetAddrAndLenReportsAnyOtherLengthAndCountsNothing)
{
    const QEL_ADDR_S field = s6().value;
    for (unsigned length = 1; length <= 255; ++length) {
        if (length == 32 || length == 128) {
            continue;
        }
        for (const std::uint8_t hint : std::array<std::uint8_t, 3>{0, 1, 2}) {
            std::uint8_t consumed = 0xee;
            const auto len = static_cast<std::uint8_t>(length);
            expect_written(run_formatter(1,
                                         [&](std::uint8_t **cursor) {
                                             QEL_NGMVPN_SetAddrAndLen(cursor, &field, len, &consumed, hint);
                                             return 0U;
                                         }),
                           Bytes{len}, 1);
            EXPECT_EQ(consumed, 0xee);
        }
    }
}

TEST(NlriFormat, FormattingAllocatesNothing)
{
    const NgmvpnInstance instance(kPlain);
    const std::uint64_t before = platform::usage(kMemHandle).allocations;
    for (const NlriCase &row : one_of_each()) {
        EXPECT_EQ(format_key(row.key, instance.ctx).code, 0U);
    }
    EXPECT_EQ(platform::usage(kMemHandle).allocations, before);
}

} // namespace
} // namespace qel::test
