// Attribute message 40: a whole import attribute record as one flat value.
#include "import_route_cases.h"

#include <algorithm>
#include <array>
#include <random>

namespace qel::test {
namespace {

constexpr std::uint32_t kBadPmsi = 0x80009;
constexpr std::uint32_t kBadPmsiLength = 0x8000b;
constexpr std::size_t kKeyLen = 100;
constexpr std::size_t kHeadLen = 148;

// --- values ---------------------------------------------------------------------------------------------------------

// Octets of the value that nobody writes or reads stand as "gg".
std::string gaps(std::size_t count)
{
    std::string out = " ";
    for (std::size_t i = 0; i < count; ++i) {
        out += "gg";
    }
    return out + " ";
}

Bytes with_gaps(std::string text, std::uint8_t gap)
{
    const std::string octet = hex(Bytes{gap});
    for (std::size_t at = text.find("gg"); at != std::string::npos; at = text.find("gg", at)) {
        text.replace(at, 2, octet);
    }
    return bytes(text);
}

// A key with its first hundred octets.
struct KeyCase {
    std::string name;
    QEL_NGMVPN_KEY_S key;
    std::string area;
};

std::string intra_area(const std::string &orig, const std::string &rd)
{
    return "00000001" + orig + gaps(84) + rd;
}

// source and group: length octet, then sixteen octets
std::string spmsi_area(const std::string &src_len, const std::string &src, const std::string &grp_len,
                       const std::string &family, const std::string &grp, const std::string &orig,
                       const std::string &rd)
{
    return "00000003" + src_len + gaps(3) + src + grp_len + gaps(2) + family + grp + orig + gaps(44) + rd;
}

const std::string kNoWords(24, '0');
const std::string kNoAddr(32, '0');

std::vector<KeyCase> keys()
{
    const Addr w = none();
    // sixteen octets are taken for four words, whose octets turn round
    const std::string s6_words = " b80d0120 00000000 00000000 010a0000 ";
    const std::string g6_words = " 00003eff 00000000 00000000 01800000 ";
    return {
        {"intra", intra_key(rd_a(), o4()), intra_area(kO4, kRd0)},
        {"intra, RD of type 1", intra_key(rd_b(), l4()), intra_area(kL4, kRd1)},
        {"intra, RD of type 2", intra_key(rd_c(), v4(0)), intra_area("00000000", kRd2)},
        {"S-PMSI", spmsi_key(rd_a(), 1, s4(), g4(), o4()),
         spmsi_area("20", "0a000001" + kNoWords, "20", "01", "ef010203" + kNoWords, kO4, kRd0)},
        {"S-PMSI (*,*)", spmsi_key(rd_b(), 0, w, w, o4()), spmsi_area("00", kNoAddr, "00", "00", kNoAddr, kO4, kRd1)},
        {"S-PMSI IPv6", spmsi_key(rd_c(), 2, s6(), g6(), o4()),
         spmsi_area("80", s6_words, "80", "02", g6_words, kO4, kRd2)},
        {"S-PMSI IPv6 (*,G)", spmsi_key(rd_c(), 2, w, g6(), l4()),
         spmsi_area("00", kNoAddr, "80", "02", g6_words, kL4, kRd2)},
    };
}

struct Held {
    std::optional<Tunnel> orig;
    std::optional<Tunnel> next;
};

ImportRecord record_of(const KeyCase &key, const Held &held)
{
    ImportRecord out;
    out.key = key.key;
    out.policy_id = 0x01020304;
    out.ply = {0x35, 0xc0000201, 0xa1a2a3a4};
    out.original = {kIsSet | kHasSnh, host_list(kSnhArrived)};
    out.replaced = {kIsSet | kHasSnh, host_list(kSnhReplacing)};
    if (held.orig) {
        out.original.flags |= kHasPmsi;
        out.original.length = static_cast<std::uint32_t>(held.orig->record.size());
        out.data = held.orig->record;
    }
    if (held.next) {
        out.replaced.flags |= kHasPmsi;
        out.replaced.offset = out.original.length;
        out.replaced.length = static_cast<std::uint32_t>(held.next->record.size());
        out.data = out.data + held.next->record;
    }
    return out;
}

Bytes set_octets(const SegSet &set, const std::string &snh, std::uint8_t gap)
{
    return Bytes{static_cast<std::uint8_t>(set.flags), gap, gap, gap} + bytes(snh) + wire_u16(set.offset) +
           wire_u16(set.length);
}

// The first 148 octets of the record's value.
Bytes head_of(const KeyCase &key, const ImportRecord &record, std::uint8_t gap)
{
    return with_gaps(key.area, gap) + wire_u32(record.policy_id) +
           Bytes{static_cast<std::uint8_t>(record.ply[0]), gap, gap, gap} + wire_u32(record.ply[1]) +
           wire_u32(record.ply[2]) + set_octets(record.original, kSnhArrived, gap) +
           set_octets(record.replaced, kSnhReplacing, gap);
}

Bytes value_of(const KeyCase &key, const Held &held, std::uint8_t gap)
{
    return head_of(key, record_of(key, held), gap) + (held.orig ? tlv(20, held.orig->wire) : Bytes{}) +
           (held.next ? tlv(12, held.next->wire) : Bytes{});
}

std::vector<Held> held_pairs()
{
    std::vector<Held> out{{std::nullopt, std::nullopt}};
    for (const Tunnel &one : all_tunnels()) {
        out.push_back({one, std::nullopt});
        out.push_back({std::nullopt, one});
        for (const Tunnel &other : all_tunnels()) {
            out.push_back({one, other});
        }
    }
    return out;
}

// Enough of them where every length is tried.
std::vector<Held> some_pairs()
{
    return {{std::nullopt, std::nullopt}, {bier4(), std::nullopt}, {std::nullopt, mldp()}, {rsvp_te(), mldp()},
            {bier6(), rsvp_te()},         {mldp({}), bier4()},     {mldp(), bier6()}};
}

Sections sections_of(const ImportRecord &record)
{
    return {.record = record.octets(), .nonkey = Bytes(100)};
}

const KeyCase kIntra = keys()[0];
const Held kBoth{rsvp_te(), mldp()};

// --- the writer -----------------------------------------------------------------------------------------------------

using ImportAttrWriter = ImportRouteTest;

FormatGot write_value(const QEL_ROUTE_INFO_S &route, std::size_t room, QEL_FAMILY_CTX_S *ctx)
{
    return format_route(QEL_NGMVPN_FormatImportAttrTlv, route, room, ctx);
}

std::string writer(const std::string &text)
{
    return "QEL_NGMVPN_FormatImportAttrTlv" + text;
}

Log writer_failed(const std::string &step, std::uint32_t code)
{
    return {writer(" failed, because " + step + " " + std::to_string(code))};
}

const Log kWriterInput{writer(": input ipmort_pmsi")};
const Log kWriterNlri = kWriterInput + Log{writer(": nlri(N).")};
const Log kWriterPly =
    kWriterNlri + Log{"QEL_NGMVPN_FormatPlyInfoTlv success, type 53, RootIp -1073741311, TempId -1583176796.",
                      writer(": plyInfo(N).")};
const Log kWriterOrig = kWriterPly + Log{writer(": orgi attr(N).")};
const Log kWriterHeads = kWriterOrig + Log{writer(": replace attr(N).")};

Log writer_log(const Held &held, std::size_t length)
{
    return kWriterHeads + (held.orig ? Log{writer(": orgi pmsi(N).")} : Log{}) +
           (held.next ? Log{writer(": replace pmsi(N).")} : Log{}) +
           Log{writer(": formate len(" + std::to_string(length) + ")."), writer(": format result")};
}

TEST_F(ImportAttrWriter, EveryRecordStandsAsItsValueAndGapsAreLeft)
{
    for (const KeyCase &key : keys()) {
        for (const Held &held : held_pairs()) {
            SCOPED_TRACE(key.name);
            const HostRoute host(sections_of(record_of(key, held)));
            const Bytes value = value_of(key, held, kUntouchedOctet);
            const FormatGot got = write_value(host.info, host.info.uiImportAttrLen + 4, ctx_);
            expect_octets(got, value);
            EXPECT_EQ(without_progress(got.log), writer_log(held, value.size()));
        }
    }
}

TEST_F(ImportAttrWriter, BothTunnelLengthsZeroEndAtOctet148)
{
    const HostRoute host(sections_of(record_of(kIntra, {})));
    EXPECT_EQ(write_value(host.info, 200, ctx_).moved, 148);
}

TEST_F(ImportAttrWriter, ComesThroughTheOperation)
{
    const HostRoute host(sections_of(record_of(kIntra, kBoth)));
    const FormatGot got = format_into(300, [&](auto cursor, auto room) {
        return instance_.desc.pfFormatAttrMsg(&host.info, 40, cursor, room, ctx_);
    });
    expect_octets(got, value_of(kIntra, kBoth, kUntouchedOctet));
    const QEL_DISPATCH_ENTRY_S *row = QEL_NGMVPN_GetAttrMsgFormatEntry(40);
    ASSERT_NE(row, nullptr);
    EXPECT_EQ(row->pfFormatMsg, QEL_NGMVPN_FormatImportAttrTlv);
    row = QEL_NGMVPN_GetAttrMsgParseEntry(40);
    ASSERT_NE(row, nullptr);
    EXPECT_EQ(row->pfParseMsg, QEL_NGMVPN_ParseImportAttrTlv);
}

TEST_F(ImportAttrWriter, NullArgumentsAreReportedOnceBeforeTheNonKeyIsLookedAt)
{
    HostRoute host(sections_of(record_of(kIntra, kBoth)));
    host.info.pucNonKey = nullptr;
    QEL_ROUTE_INFO_S no_record = host.info;
    no_record.pstImportAttr = nullptr;
    std::array<std::uint8_t, 300> out{};
    std::uint8_t *cursor = out.data();
    expect_null_arguments_refused(3, [&](unsigned nulls) {
        const QEL_ROUTE_INFO_S *route = (nulls & 2U) != 0 ? &no_record : &host.info;
        return QEL_NGMVPN_FormatImportAttrTlv(unless(nulls & 1U, route), unless(nulls & 4U, &cursor), 300, ctx_);
    });
    EXPECT_EQ(cursor, out.data());
}

TEST_F(ImportAttrWriter, TheContextIsNotNeeded)
{
    const HostRoute host(sections_of(record_of(kIntra, kBoth)));
    const FormatGot got = write_value(host.info, 300, nullptr);
    expect_octets(got, value_of(kIntra, kBoth, kUntouchedOctet));
    EXPECT_EQ(got.log, Log{});
}

TEST_F(ImportAttrWriter, WithoutANonKeyNothingIsWritten)
{
    for (const std::size_t room : {0U, 300U}) {
        const HostRoute host({.record = record_of(kIntra, kBoth).octets()});
        const FormatGot got = write_value(host.info, room, ctx_);
        expect_octets(got, {});
        EXPECT_EQ(got.log, Log{});
    }
}

TEST_F(ImportAttrWriter, ARoomBelowTheRecordsLengthIsRefusedThoughTheValueWouldFit)
{
    const Held held{mldp(), mldp()};
    const HostRoute host(sections_of(record_of(kIntra, held)));
    const Bytes value = value_of(kIntra, held, kUntouchedOctet);
    ASSERT_LT(value.size(), host.info.uiImportAttrLen);
    for (std::size_t room = 0; room <= host.info.uiImportAttrLen; ++room) {
        SCOPED_TRACE(room);
        const FormatGot got = write_value(host.info, room, ctx_);
        if (room < host.info.uiImportAttrLen) {
            expect_format_failed(got, kNoRoom, 0);
            EXPECT_EQ(got.log, kWriterInput);
            EXPECT_EQ(hex(got.buffer), hex(untouched(room)));
        } else {
            expect_octets(got, value);
        }
    }
}

TEST_F(ImportAttrWriter, BehindAnRsvpTeTunnelTheRecordsLengthIsOneOctetTooLittleThoughTheValueWouldFit)
{
    const HostRoute host(sections_of(record_of(kIntra, kBoth)));
    const Bytes value = value_of(kIntra, kBoth, kUntouchedOctet);
    ASSERT_LT(value.size(), host.info.uiImportAttrLen);
    const FormatGot got = write_value(host.info, host.info.uiImportAttrLen, ctx_);
    expect_format_failed(got, kNoRoom, 0);
    EXPECT_EQ(without_progress(got.log), kWriterHeads + Log{writer(": orgi pmsi(N).")});
    expect_octets(write_value(host.info, host.info.uiImportAttrLen + 1, ctx_), value);
}

TEST_F(ImportAttrWriter, EveryRoomThatIsTooSmallIsRefusedAtItsStep)
{
    for (const Held &held : some_pairs()) {
        HostRoute host(sections_of(record_of(kIntra, held)));
        host.info.uiImportAttrLen = 0; // so that the steps have to look
        const Bytes value = value_of(kIntra, held, kUntouchedOctet);
        const std::size_t orig_end = held.orig ? kHeadLen + 4 + held.orig->wire.size() : kHeadLen;
        const std::size_t orig_need =
            held.orig ? std::max(orig_end, kHeadLen + 4 + held.orig->record.size()) : kHeadLen;
        const std::size_t next_need =
            held.next ? orig_end + 4 + std::max(held.next->wire.size(), held.next->record.size()) : orig_end;
        const std::size_t need = std::max(orig_need, next_need);
        for (std::size_t room = 0; room <= need; room += room < 90 ? 7 : 1) {
            SCOPED_TRACE(value.size());
            SCOPED_TRACE(room);
            const FormatGot got = write_value(host.info, room, ctx_);
            if (room == need) {
                expect_octets(got, value);
                continue;
            }
            expect_format_failed(got, kNoRoom, 0);
            const Log log = without_progress(got.log);
            if (room < 104) {
                EXPECT_EQ(log, kWriterInput + writer_failed("FormatMcImportRouteNlri", kNoRoom));
                EXPECT_EQ(hex(got.buffer), hex(untouched(room)));
            } else if (room < 116) {
                EXPECT_EQ(log, kWriterNlri + writer_failed("FormatPlyInfoTlv", kNoRoom));
            } else if (room < 132) {
                EXPECT_EQ(log, kWriterPly);
            } else if (room < kHeadLen) {
                EXPECT_EQ(log, kWriterOrig);
            } else if (room < orig_need) {
                EXPECT_EQ(log, kWriterHeads);
            } else {
                EXPECT_EQ(log, kWriterHeads + (held.orig ? Log{writer(": orgi pmsi(N).")} : Log{}));
            }
        }
    }
}

TEST_F(ImportAttrWriter, AnIpv6OriginatorCannotBeWritten)
{
    for (QEL_NGMVPN_KEY_S key : {intra_key(rd_a(), o6()), spmsi_key(rd_a(), 1, s4(), g4(), o6()),
                                 intra_key(rd_a(), none()), spmsi_key(rd_a(), 1, s4(), g4(), none())}) {
        SCOPED_TRACE(key.uiKeyType);
        const HostRoute host(sections_of(record_of({"", key, ""}, kBoth)));
        const FormatGot got = write_value(host.info, 300, ctx_);
        expect_format_failed(got, kFailed, 1);
        EXPECT_EQ(got.log, kWriterInput + writer_failed("FormatMcImportRouteNlri", kFailed));
    }
}

TEST_F(ImportAttrWriter, KeyTypesOtherThan1And3AreRefused)
{
    for (const std::uint32_t type : {0U, 2U, 4U, 5U, 6U, 7U, 8U, 9U, 0x01000000U, 0xffffffffU}) {
        SCOPED_TRACE(type);
        ImportRecord record = record_of(kIntra, kBoth);
        record.key.uiKeyType = type;
        const HostRoute host(sections_of(record));
        const FormatGot got = write_value(host.info, 300, ctx_);
        expect_format_failed(got, kBadValue, 0);
        EXPECT_EQ(got.log, kWriterInput + writer_failed("FormatMcImportRouteNlri", kBadValue));
    }
}

TEST_F(ImportAttrWriter, AnRdTypeAbove2HasItsTypeTurnedAlone)
{
    ImportRecord record = record_of(kIntra, {});
    record.key.stRd = rd12(3, 0x01020304, 0x0506);
    const HostRoute host(sections_of(record));
    const FormatGot got = write_value(host.info, 200, ctx_);
    EXPECT_EQ(got.code, 0U);
    EXPECT_EQ(hex(slice(got.buffer, 92, 8)), hex_of("0003 04030201 0605"));
}

TEST_F(ImportAttrWriter, TunnelsThatAreNotCarriedOrDoNotFitTheirLengthAreReported)
{
    Tunnel long_opaque = mldp();
    long_opaque.record[16] = 11; // 15 octets and these are one more than its length
    for (const Tunnel &bad : {Tunnel{{}, bytes("00 06 0000 01000000")}, Tunnel{{}, bytes("00 00 0000 01000000")},
                              Tunnel{{}, bytes("21 0c 0000 01000000")}, long_opaque}) {
        SCOPED_TRACE(hex(bad.record));
        const HostRoute orig(sections_of(record_of(kIntra, {bad, mldp()})));
        const FormatGot first = write_value(orig.info, 300, ctx_);
        expect_format_failed(first, kFailed, 1);
        EXPECT_EQ(without_progress(first.log), kWriterHeads + writer_failed("FormatPmsiTnlTlv", kFailed));
        const HostRoute next(sections_of(record_of(kIntra, {rsvp_te(), bad})));
        const FormatGot second = write_value(next.info, 300, ctx_);
        expect_format_failed(second, kFailed, 1);
        EXPECT_EQ(without_progress(second.log),
                  kWriterHeads + Log{writer(": orgi pmsi(N).")} + writer_failed("FormatPmsiTnlTlv", kFailed));
    }
}

TEST_F(ImportAttrWriter, BothTunnelsAreTakenFromWhereTheirOffsetsSay)
{
    ImportRecord record = record_of(kIntra, {rsvp_te(), bier4()});
    record.original.offset = 16; // turned round
    record.replaced.offset = 0;
    record.data = bier4().record + rsvp_te().record;
    const HostRoute host(sections_of(record));
    const FormatGot got = write_value(host.info, 300, ctx_);
    expect_octets(got, head_of(kIntra, record, kUntouchedOctet) + tlv(20, rsvp_te().wire) + tlv(12, bier4().wire));
}

TEST_F(ImportAttrWriter, LengthsDecideNotTheFlags)
{
    ImportRecord record = record_of(kIntra, kBoth);
    record.original.flags = 0;
    record.replaced.flags = 0;
    const HostRoute host(sections_of(record));
    expect_octets(write_value(host.info, 300, ctx_),
                  head_of(kIntra, record, kUntouchedOctet) + tlv(20, rsvp_te().wire) + tlv(12, mldp().wire));
    ImportRecord flags_alone = record_of(kIntra, {});
    flags_alone.original.flags = 0xff;
    flags_alone.replaced.flags = 0x2;
    const HostRoute none(sections_of(flags_alone));
    expect_octets(write_value(none.info, 300, ctx_), head_of(kIntra, flags_alone, kUntouchedOctet));
}

TEST_F(ImportAttrWriter, OfFlagsAndPolicyTypeOneOctetIsWritten)
{
    ImportRecord record = record_of(kIntra, {});
    record.ply[0] = 0xaabbcc35;
    record.original.flags = 0x11223309;
    record.replaced.flags = 0x44556609;
    const HostRoute host(sections_of(record));
    expect_octets(write_value(host.info, 200, ctx_), value_of(kIntra, {}, kUntouchedOctet));
}

TEST_F(ImportAttrWriter, TheWordsOfTheLogStandAsTheyAre)
{
    const HostRoute host(sections_of(record_of(kIntra, kBoth)));
    const Log log = without_progress(write_value(host.info, 300, ctx_).log);
    const std::string name = "QEL_NGMVPN_FormatImportAttrTlv: ";
    EXPECT_EQ(log, (Log{name + "input ipmort_pmsi", name + "nlri(N).",
                        "QEL_NGMVPN_FormatPlyInfoTlv success, type 53, RootIp -1073741311, TempId -1583176796.",
                        name + "plyInfo(N).", name + "orgi attr(N).", name + "replace attr(N).", name + "orgi pmsi(N).",
                        name + "replace pmsi(N).", name + "formate len(193).", name + "format result"}));
}

TEST_F(ImportAttrWriter, AFailedReplacedTunnelIsLoggedUnderTheNameOfTheOtherWriter)
{
    const HostRoute host(sections_of(record_of(kIntra, {std::nullopt, Tunnel{{}, bytes("00 06 0000 01000000")}})));
    const FormatGot got = write_value(host.info, 300, ctx_);
    expect_format_failed(got, kFailed, 1);
    EXPECT_EQ(got.log.back(), "QEL_NGMVPN_FormatImportAttrTlv failed, because FormatPmsiTnlTlv 1");
}

TEST_F(ImportAttrWriter, AFailedKeyIsLoggedUnderTheNameOfTheImportRouteMessage)
{
    const HostRoute host(sections_of(record_of({"", intra_key(rd_a(), o6()), ""}, {})));
    EXPECT_EQ(write_value(host.info, 300, ctx_).log.back(),
              "QEL_NGMVPN_FormatImportAttrTlv failed, because FormatMcImportRouteNlri 1");
}

TEST_F(ImportAttrWriter, ATunnelNeedsRoomForItsRecordsLengthThoughItTakesLess)
{
    for (const Held &held : {Held{rsvp_te(), std::nullopt}, Held{std::nullopt, rsvp_te()}}) {
        HostRoute host(sections_of(record_of(kIntra, held)));
        host.info.uiImportAttrLen = 0;
        // 17 octets on the wire, 20 in the record
        const FormatGot got = write_value(host.info, kHeadLen + 4 + 19, ctx_);
        expect_format_failed(got, kNoRoom, 0);
        EXPECT_EQ(without_progress(got.log), kWriterHeads);
        EXPECT_EQ(write_value(host.info, kHeadLen + 4 + 20, ctx_).moved, std::ptrdiff_t{kHeadLen + 4 + 17});
    }
}

TEST_F(ImportAttrWriter, TheOctetsBehindFlagsAndPolicyTypeStayAsTheyAre)
{
    const HostRoute host(sections_of(record_of(kIntra, {})));
    const FormatGot got = write_value(host.info, 200, ctx_);
    for (const std::size_t at : {105U, 117U, 133U}) {
        SCOPED_TRACE(at);
        EXPECT_EQ(hex(slice(got.buffer, at, 3)), "eeeeee");
    }
}

TEST_F(ImportAttrWriter, TheKeysUnusedOctetsStayAsTheyAre)
{
    const HostRoute intra(sections_of(record_of(kIntra, {})));
    EXPECT_EQ(hex(slice(write_value(intra.info, 200, ctx_).buffer, 8, 84)), hex(untouched(84)));
    const HostRoute spmsi(sections_of(record_of(keys()[3], {})));
    const Bytes octets = write_value(spmsi.info, 200, ctx_).buffer;
    EXPECT_EQ(hex(slice(octets, 5, 3)), "eeeeee");
    EXPECT_EQ(hex(slice(octets, 25, 2)), "eeee");
    EXPECT_EQ(hex(slice(octets, 48, 44)), hex(untouched(44)));
}

TEST_F(ImportAttrWriter, AnIpv6SourceAndGroupGoOutWithTheOctetsOfEachWordTurned)
{
    const HostRoute host(sections_of(record_of(keys()[5], {})));
    const Bytes octets = write_value(host.info, 200, ctx_).buffer;
    EXPECT_EQ(hex(slice(octets, 8, 16)), hex_of("b80d0120 00000000 00000000 010a0000"));
    EXPECT_EQ(hex(slice(octets, 28, 16)), hex_of("00003eff 00000000 00000000 01800000"));
}

TEST_F(ImportAttrWriter, ThePolicyIdFollowsTheKey)
{
    const HostRoute host(sections_of(record_of(kIntra, {})));
    EXPECT_EQ(hex(slice(write_value(host.info, 200, ctx_).buffer, 100, 4)), "01020304");
}

TEST_F(ImportAttrWriter, TheLengthOfEachTunnelsRecordEndsTheHeadOfItsSet)
{
    const HostRoute host(sections_of(record_of(kIntra, kBoth)));
    const Bytes octets = write_value(host.info, 300, ctx_).buffer;
    EXPECT_EQ(hex(slice(octets, 128, 4)), "00000014");
    EXPECT_EQ(hex(slice(octets, 144, 4)), "00140019");
}

TEST_F(ImportAttrWriter, ATunnelsTlvHasTheLengthOfItsWireForm)
{
    const HostRoute host(sections_of(record_of(kIntra, kBoth)));
    const Bytes octets = write_value(host.info, 300, ctx_).buffer;
    EXPECT_EQ(hex(slice(octets, 148, 4)), "00140011"); // 17 octets of 20 in the record
    EXPECT_EQ(hex(slice(octets, 169, 4)), "000c0014"); // 20 octets of 25
}

TEST_F(ImportAttrWriter, BothCommunitiesGoOutInWireOrder)
{
    const HostRoute host(sections_of(record_of(kIntra, {})));
    const Bytes octets = write_value(host.info, 200, ctx_).buffer;
    EXPECT_EQ(hex(slice(octets, 120, 8)), hex_of(kSnhArrived));
    EXPECT_EQ(hex(slice(octets, 136, 8)), hex_of(kSnhReplacing));
}

// --- steps of the writer --------------------------------------------------------------------------------------------

using ImportAttrWriterStep = ImportRouteTest;

TEST_F(ImportAttrWriterStep, TheKeyAsksFor104OctetsAndTakes100)
{
    for (const KeyCase &key : keys()) {
        SCOPED_TRACE(key.name);
        const OddBytes record(record_of(key, {}).octets());
        for (const std::size_t room : {0U, 99U, 100U, 103U, 104U}) {
            const FormatGot got = format_into(room, [&](auto cursor, auto space) {
                return QEL_NGMVPN_FormatImportAttrNlri(record.as<QEL_NGMVPN_IMPORT_ATTR_AT_S>(), cursor, space, ctx_);
            });
            if (room < 104) {
                expect_format_failed(got, kNoRoom, 0);
                EXPECT_EQ(hex(got.buffer), hex(untouched(room)));
            } else {
                expect_octets(got, with_gaps(key.area, kUntouchedOctet));
            }
            EXPECT_EQ(got.log, Log{});
        }
    }
}

TEST_F(ImportAttrWriterStep, TheHintForWildcardsStandsAtOctet27)
{
    for (const std::uint8_t hint : Bytes{0, 1, 2}) {
        const KeyCase key{"", spmsi_key(rd_a(), hint, none(), none(), o4()), ""};
        const OddBytes record(record_of(key, {}).octets());
        const FormatGot got = format_into(104, [&](auto cursor, auto space) {
            return QEL_NGMVPN_FormatImportAttrNlri(record.as<QEL_NGMVPN_IMPORT_ATTR_AT_S>(), cursor, space, ctx_);
        });
        EXPECT_EQ(got.buffer[27], hint);
    }
}

TEST_F(ImportAttrWriterStep, ARefusedKeyLeavesTheCursor)
{
    for (const QEL_NGMVPN_KEY_S &key :
         {intra_key(rd_a(), o6()), spmsi_key(rd_a(), 1, s4(), g4(), o6()), empty_key(4, rd_a())}) {
        const OddBytes record(record_of({"", key, ""}, {}).octets());
        const FormatGot got = format_into(104, [&](auto cursor, auto space) {
            return QEL_NGMVPN_FormatImportAttrNlri(record.as<QEL_NGMVPN_IMPORT_ATTR_AT_S>(), cursor, space, ctx_);
        });
        EXPECT_NE(got.code, 0U);
        EXPECT_EQ(got.moved, 0);
    }
}

FormatGot write_tunnel(const Bytes &record, std::size_t length, std::size_t room)
{
    const OddBytes held(record);
    return format_into(room, [&](auto cursor, auto space) {
        return QEL_NGMVPN_FormatImportAttrPmsi(held.as<QEL_NGMVPN_PMSI_TNL_AT_S>(), static_cast<std::uint32_t>(length),
                                               cursor, space);
    });
}

TEST_F(ImportAttrWriterStep, TheReplacedTunnelAsksForItsOwnSize)
{
    for (const Tunnel &tunnel : all_tunnels()) {
        for (std::size_t room = 0; room < tunnel.wire.size() + 3; ++room) {
            SCOPED_TRACE(room);
            const FormatGot got = write_tunnel(tunnel.record, tunnel.record.size(), room);
            if (room < tunnel.wire.size()) {
                EXPECT_EQ(got.code, kNoRoom);
                EXPECT_EQ(got.asserts, 0U);
                if (room < 5) {
                    EXPECT_EQ(hex(got.buffer), hex(untouched(room)));
                }
            } else {
                expect_octets(got, tunnel.wire);
            }
        }
    }
}

TEST_F(ImportAttrWriterStep, ABierPrefixOfAnotherLengthThan4TakesSixteenOctets)
{
    for (const std::uint8_t length : Bytes{0, 3, 5, 16, 255}) {
        SCOPED_TRACE(int{length});
        Bytes record = bier6().record;
        record[9] = length;
        EXPECT_EQ(write_tunnel(record, record.size(), 23).code, kNoRoom);
        expect_octets(write_tunnel(record, record.size(), 24), bier6().wire);
    }
}

TEST_F(ImportAttrWriterStep, TheReservedOctetsOfAnRsvpTeTunnelAreWrittenZero)
{
    Bytes record = rsvp_te().record;
    record[12] = 0x77;
    record[13] = 0x88;
    record[2] = 0x99; // not the label's
    record[7] = 0x66; // above the label's three octets
    expect_octets(write_tunnel(record, record.size(), 17), rsvp_te().wire);
}

TEST_F(ImportAttrWriterStep, OtherTunnelTypesAreReported)
{
    for (unsigned type = 0; type < 256; ++type) {
        if (type == 1 || type == 2 || type == 11) {
            continue;
        }
        SCOPED_TRACE(type);
        Bytes record = rsvp_te().record;
        record[1] = static_cast<std::uint8_t>(type);
        for (const std::size_t room : {5U, 100U}) {
            const FormatGot got = write_tunnel(record, record.size(), room);
            EXPECT_EQ(got.code, kFailed);
            EXPECT_EQ(got.asserts, 1U);
        }
        EXPECT_EQ(write_tunnel(record, record.size(), 4).code, kNoRoom);
    }
}

TEST_F(ImportAttrWriterStep, AnOpaqueValueIsHeldAgainstTheTunnelsLength)
{
    const Tunnel tunnel = mldp(Bytes(20, 0x3c));
    for (std::size_t length = 30; length < 40; ++length) {
        SCOPED_TRACE(length);
        const FormatGot got = write_tunnel(tunnel.record, length, 100);
        if (length < 35) {
            EXPECT_EQ(got.code, kFailed);
            EXPECT_EQ(got.asserts, 1U);
        } else {
            expect_octets(got, tunnel.wire);
        }
    }
    EXPECT_EQ(write_tunnel(tunnel.record, 34, 34).code, kNoRoom); // the room comes first
}

TEST_F(ImportAttrWriterStep, AnOpaqueValueAbove240OctetsIsReportedAndLeftOut)
{
    const Tunnel tunnel = mldp(Bytes(248, 0x3c));
    for (const std::uint8_t length : Bytes{241, 248}) {
        Bytes record = slice(tunnel.record, 0, 268);
        record[16] = length;
        const FormatGot got = write_tunnel(record, 268, 300);
        Bytes wire = slice(tunnel.wire, 0, 15) + untouched(length);
        wire[14] = length;
        expect_octets(got, wire, 1);
    }
    const Tunnel longest = mldp(Bytes(240, 0x3c));
    expect_octets(write_tunnel(longest.record, 260, 300), longest.wire);
}

TEST_F(ImportAttrWriterStep, NullArgumentsOfTheTunnelAreReportedOnce)
{
    const OddBytes held(rsvp_te().record);
    std::array<std::uint8_t, 17> out{};
    std::uint8_t *cursor = out.data();
    for (const std::uint32_t room : {0U, 17U}) {
        expect_null_arguments_refused(2, [&](unsigned nulls) {
            return QEL_NGMVPN_FormatImportAttrPmsi(unless(nulls & 1U, held.as<QEL_NGMVPN_PMSI_TNL_AT_S>()), 20,
                                                   unless(nulls & 2U, &cursor), room);
        });
    }
    EXPECT_EQ(cursor, out.data());
}

// --- the reader -----------------------------------------------------------------------------------------------------

using ImportAttrReader = ImportRouteTest;

Answer read_value(const Bytes &value, QEL_FAMILY_CTX_S *ctx)
{
    const MessageCopy copy(value);
    return answer_of([&](auto result) { return QEL_NGMVPN_ParseImportAttrTlv(copy.data(), copy.size(), result, ctx); });
}

std::string reader(const std::string &text)
{
    return "QEL_NGMVPN_ParseImportAttrTlv" + text;
}

std::string reader_length(const std::string &what, std::size_t length)
{
    return reader(" " + what + " usPmsiLen(" + std::to_string(length) + ")");
}

Log reader_failed(const std::string &step, std::uint32_t code)
{
    return {reader(" failed, because " + step + " " + std::to_string(code))};
}

const Log kReaderInput{reader(": pMsg")};
const Log kReaderNlri = kReaderInput + Log{reader(": nlri(N).")};

// Up to the replaced tunnel's length; the lengths are those that the tunnels have.
Log reader_orig_log(const Held &held)
{
    const std::size_t orig = held.orig ? held.orig->record.size() : 0;
    return kReaderNlri + Log{reader_length("stOriginalAttr", orig)} +
           (held.orig ? Log{reader_length("stOriginalAttr 2", orig)} : Log{});
}

Log reader_log(const Held &held)
{
    const std::size_t next = held.next ? held.next->record.size() : 0;
    return reader_orig_log(held) + Log{reader_length("stReplacedAttr", next)} +
           (held.next ? Log{reader_length("stReplacedAttr 2", next)} : Log{}) + Log{reader(": replace pmsi(N).")};
}

void expect_record(const Answer &got, const Bytes &record, std::size_t asserts = 0)
{
    EXPECT_EQ(got.code, 0U);
    EXPECT_EQ(got.asserts, asserts);
    expect_section(got, 0x8, 2, 243, 0, record);
}

void expect_value_refused(const Answer &got, std::uint32_t code, std::size_t asserts, const Log &log)
{
    expect_untouched(got, code, asserts);
    EXPECT_EQ(without_progress(got.log), log);
}

TEST_F(ImportAttrReader, EveryValueBecomesItsRecordAndGapsAreNotRead)
{
    for (const KeyCase &key : keys()) {
        for (const Held &held : held_pairs()) {
            for (const std::uint8_t gap : Bytes{0x00, 0xff}) {
                SCOPED_TRACE(key.name);
                const Bytes behind = held.next ? Bytes{} : Bytes(4, gap); // what the reader asks for
                const ImportRecord record = record_of(key, held);
                dirty_the_heap(static_cast<std::uint32_t>(record.octets().size()));
                const Answer got = read_value(value_of(key, held, gap) + behind, ctx_);
                expect_record(got, record.octets());
                EXPECT_EQ(without_progress(got.log), reader_log(held));
            }
        }
    }
}

TEST_F(ImportAttrReader, WhatIsWrittenIsReadBack)
{
    for (const KeyCase &key : keys()) {
        for (const Held &held : held_pairs()) {
            SCOPED_TRACE(key.name);
            const ImportRecord record = record_of(key, held);
            const HostRoute host(sections_of(record));
            const FormatGot written = write_value(host.info, 1000, ctx_);
            const Bytes value = slice(written.buffer, 0, static_cast<std::size_t>(written.moved));
            expect_record(read_value(value + (held.next ? Bytes{} : Bytes(4)), ctx_), record.octets());
        }
    }
}

TEST_F(ImportAttrReader, ComesThroughTheOperation)
{
    const MessageCopy copy(value_of(kIntra, kBoth, 0));
    const Answer got = answer_of(
        [&](auto result) { return instance_.desc.pfParseAttrMsg(copy.data(), copy.size(), 40, result, ctx_); });
    expect_record(got, record_of(kIntra, kBoth).octets());
}

TEST_F(ImportAttrReader, NullArgumentsAreReportedOnce)
{
    const MessageCopy copy(value_of(kIntra, kBoth, 0));
    QEL_ROUTE_BLOCK_S *result = nullptr;
    for (const std::uint32_t length : {0U, copy.size()}) {
        expect_null_arguments_refused(3, [&](unsigned nulls) {
            return QEL_NGMVPN_ParseImportAttrTlv(unless(nulls & 1U, copy.data()), length, unless(nulls & 2U, &result),
                                                 unless(nulls & 4U, ctx_));
        });
    }
    EXPECT_EQ(result, nullptr);
}

TEST_F(ImportAttrReader, EveryShorterValueIsRefusedAtItsStep)
{
    for (const Held &held : some_pairs()) {
        const Bytes value = value_of(kIntra, held, 0) + (held.next ? Bytes{} : Bytes(4));
        const std::size_t orig_at = kHeadLen + 4;
        const std::size_t next_at = held.orig ? orig_at + held.orig->wire.size() + 4 : orig_at;
        for (std::size_t length = 0; length < value.size(); length += length < 90 ? 7 : 1) {
            SCOPED_TRACE(value.size());
            SCOPED_TRACE(length);
            const Answer got = read_value(slice(value, 0, length), ctx_);
            Log log;
            if (length < 104) {
                log = kReaderInput;
            } else if (length < orig_at) {
                log = kReaderNlri;
            } else if (held.orig && length < orig_at + held.orig->wire.size()) {
                log = kReaderNlri + Log{reader_length("stOriginalAttr", held.orig->record.size())};
            } else if (length < next_at) {
                log = reader_orig_log(held);
            } else {
                log = reader_orig_log(held) + Log{reader_length("stReplacedAttr", held.next->record.size())};
            }
            expect_value_refused(got, kBadTlv, 1, log);
        }
    }
}

TEST_F(ImportAttrReader, AValueThatEndsWithItsHeadsIsRefused)
{
    const Bytes value = value_of(kIntra, {}, 0);
    ASSERT_EQ(value.size(), 148U);
    for (std::size_t behind = 0; behind < 4; ++behind) {
        expect_value_refused(read_value(value + Bytes(behind), ctx_), kBadTlv, 1, kReaderNlri);
    }
    expect_record(read_value(value + Bytes(4, 0xff), ctx_), record_of(kIntra, {}).octets());
}

TEST_F(ImportAttrReader, AnOriginalTunnelAloneIsRefusedWithoutFourOctetsBehindIt)
{
    const Held held{rsvp_te(), std::nullopt};
    const Bytes value = value_of(kIntra, held, 0);
    for (std::size_t behind = 0; behind < 4; ++behind) {
        expect_value_refused(read_value(value + Bytes(behind), ctx_), kBadTlv, 1, reader_orig_log(held));
    }
    expect_record(read_value(value + Bytes(4, 0xff), ctx_), record_of(kIntra, held).octets());
}

TEST_F(ImportAttrReader, BothTunnelsMakeARecordOfTheFixedPartAndBothLengths)
{
    const Answer got = read_value(value_of(kIntra, kBoth, 0), ctx_);
    ASSERT_TRUE(got.block);
    EXPECT_EQ(got.block->usAttrLen, 152 + 20 + 25);
}

TEST_F(ImportAttrReader, AnotherTlvTypeIsReportedAndReadAllTheSame)
{
    const Bytes head = head_of(kIntra, record_of(kIntra, kBoth), 0);
    for (const auto &[first, second, asserts] :
         {std::array<std::size_t, 3>{21, 12, 1}, std::array<std::size_t, 3>{20, 13, 1},
          std::array<std::size_t, 3>{12, 20, 2}, std::array<std::size_t, 3>{0, 0xffff, 2}}) {
        SCOPED_TRACE(first);
        const Answer got = read_value(head + tlv(first, kBoth.orig->wire) + tlv(second, kBoth.next->wire), ctx_);
        expect_record(got, record_of(kIntra, kBoth).octets(), asserts);
        EXPECT_EQ(without_progress(got.log), reader_log(kBoth));
    }
}

TEST_F(ImportAttrReader, KeyTypesOtherThan1And3AreRefused)
{
    for (const std::uint32_t type : {0U, 2U, 4U, 5U, 8U, 0x01000000U, 0x03000000U, 0xffffffffU}) {
        SCOPED_TRACE(type);
        Bytes value = value_of(kIntra, kBoth, 0);
        const Bytes octets = wire_u32(type);
        std::copy(octets.begin(), octets.end(), value.begin());
        expect_value_refused(read_value(value, ctx_), kBadValue, 0,
                             kReaderInput + reader_failed("FormatMcImportRouteNlri", kBadValue));
    }
}

TEST_F(ImportAttrReader, AnRdTypeAbove2IsRefused)
{
    for (const KeyCase &key : {keys()[0], keys()[3]}) {
        for (const std::string &type : {std::string("0003"), std::string("0100"), std::string("ffff")}) {
            SCOPED_TRACE(type);
            Bytes value = value_of(key, kBoth, 0);
            const Bytes octets = bytes(type);
            std::copy(octets.begin(), octets.end(), value.begin() + 92);
            expect_value_refused(read_value(value, ctx_), kBadValue, 0,
                                 kReaderInput + reader_failed("FormatMcImportRouteNlri", kBadValue));
        }
    }
}

TEST_F(ImportAttrReader, OnlyTheKnownFlagsOfATunnelAreTaken)
{
    for (unsigned flags = 0; flags < 256; ++flags) {
        SCOPED_TRACE(flags);
        for (const bool second : {false, true}) {
            Held held = kBoth;
            Tunnel &tunnel = second ? *held.next : *held.orig;
            tunnel.wire[0] = tunnel.record[0] = static_cast<std::uint8_t>(flags);
            const Answer got = read_value(value_of(kIntra, held, 0), ctx_);
            if ((flags & 0xdeU) == 0) {
                expect_record(got, record_of(kIntra, held).octets());
            } else {
                const Log log = second ? reader_orig_log(held) + Log{reader_length("stReplacedAttr", 25)}
                                       : kReaderNlri + Log{reader_length("stOriginalAttr", 20)};
                expect_value_refused(got, kBadPmsi, 0, log + reader_failed("FormatPmsiTnlTlv", kBadPmsi));
            }
        }
    }
}

TEST_F(ImportAttrReader, ATunnelsRefusalIsTheValues)
{
    struct Row {
        std::string wire;
        std::uint32_t code;
    };
    const Row rows[] = {{"", kBadPmsiLength},
                        {"21 01 0000", kBadPmsiLength},
                        {"40 01 0000", kBadPmsiLength},
                        {"21 00 000000", 0x20004},
                        {"21 00 000000 00", 0x3000b},
                        {"40 00 000000", kBadPmsi},
                        {"21 01 000000 0a000001 0000 0102 0b0000", 0x3000b},
                        {"21 01 000000 0a000001 0001 0102 0b000002", 0x3000a},
                        {"21 02 000000 06 0003 04 c0a80102 0000", 0x3000a},
                        {"21 02 000000 06 0001 10 c0a80102 0000", 0x3000b},
                        {"21 06 000000 0a0000010a000001", 0x3000b},
                        {"21 0b 000000 07 0102 0a0b0c", 0x3000b}};
    const Bytes head = head_of(kIntra, record_of(kIntra, kBoth), 0);
    for (const Row &row : rows) {
        SCOPED_TRACE(row.wire);
        const Answer first = read_value(head + tlv(20, bytes(row.wire)) + tlv(12, kBoth.next->wire), ctx_);
        expect_value_refused(first, row.code, 0,
                             kReaderNlri + Log{reader_length("stOriginalAttr", 20)} +
                                 reader_failed("FormatPmsiTnlTlv", row.code));
        const Answer second = read_value(head + tlv(20, kBoth.orig->wire) + tlv(12, bytes(row.wire)), ctx_);
        expect_value_refused(second, row.code, 0,
                             reader_orig_log(kBoth) + Log{reader_length("stReplacedAttr", 25)} +
                                 reader_failed("FormatPmsiTnlTlv", row.code));
    }
}

TEST_F(ImportAttrReader, ATunnelThatIsNotCarriedIsSteppedOverAndReportedByItsLength)
{
    for (const char *wire :
         {"00 03 000000 0102030405060708", "00 05 000000 0102030405060708", "00 06 000000 01020304",
          "00 07 000000 01020304050607080910", "00 08 000000 01", "00 0a 000000", "21 0c 000000 0102"}) {
        SCOPED_TRACE(wire);
        const Bytes head = head_of(kIntra, record_of(kIntra, kBoth), 0);
        const Answer first = read_value(head + tlv(20, bytes(wire)) + tlv(12, kBoth.next->wire), ctx_);
        ImportRecord without_orig = record_of(kIntra, kBoth);
        without_orig.data = Bytes(20) + kBoth.next->record;
        expect_record(first, without_orig.octets(), 1);
        const Answer second = read_value(head + tlv(20, kBoth.orig->wire) + tlv(12, bytes(wire)), ctx_);
        ImportRecord without_next = record_of(kIntra, kBoth);
        without_next.data = kBoth.orig->record + Bytes(25);
        expect_record(second, without_next.octets(), 1);
    }
}

TEST_F(ImportAttrReader, ALengthThatIsNotTheTunnelsIsReportedAndTheRecordKeepsIt)
{
    struct Row {
        std::uint32_t orig;
        std::uint32_t next;
        Bytes data;
        std::size_t asserts;
    };
    const Bytes first = kBoth.orig->record;  // 20 octets
    const Bytes second = kBoth.next->record; // 25 octets
    const Row rows[] = {
        {24, 25, first + Bytes(4) + second, 1},               // room between them
        {20, 30, first + second + Bytes(5), 1},               // room behind
        {16, 29, slice(first, 0, 16) + second + Bytes(4), 2}, // the second over the first's end
        {16, 25, slice(first, 0, 16) + second, 1},
        {1, 60, slice(first, 0, 1) + second + Bytes(35), 2},
        {20, 24, first + Bytes(24), 2}, // the second does not fit: nothing of it
        {20, 1, first + Bytes(1), 2},
        {10, 9, Bytes(19), 4}, // neither fits
        {44, 1, first + Bytes(25), 3},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.orig);
        SCOPED_TRACE(row.next);
        ImportRecord record = record_of(kIntra, kBoth);
        record.original.length = row.orig;
        record.replaced.length = row.next;
        record.data = row.data;
        const Bytes value = head_of(kIntra, record, 0) + tlv(20, kBoth.orig->wire) + tlv(12, kBoth.next->wire);
        expect_record(read_value(value, ctx_), record.octets(), row.asserts);
    }
}

TEST_F(ImportAttrReader, TheTunnelsStandByTheirLengthsWhateverTheOffsetsSay)
{
    ImportRecord record = record_of(kIntra, kBoth);
    record.original.offset = 0x1234;
    record.replaced.offset = 0xffff;
    const Bytes value = head_of(kIntra, record, 0) + tlv(20, kBoth.orig->wire) + tlv(12, kBoth.next->wire);
    expect_record(read_value(value, ctx_), record.octets());
}

TEST_F(ImportAttrReader, ASizeThatWrapsBelowTheFixedPartIsAFailedAllocation)
{
    for (const auto &[orig, next] : {std::pair{65384U, 0U}, std::pair{65535U, 0U}, std::pair{0U, 65535U},
                                     std::pair{0x8000U, 0x7fffU}, std::pair{0x8000U, 0x7f68U}}) {
        SCOPED_TRACE(orig);
        SCOPED_TRACE(next);
        ImportRecord record = record_of(kIntra, kBoth);
        record.original.length = orig;
        record.replaced.length = next;
        const Answer got =
            read_value(head_of(kIntra, record, 0) + tlv(20, kBoth.orig->wire) + tlv(12, kBoth.next->wire), ctx_);
        expect_value_refused(got, kOutOfMemory, 1, kReaderNlri);
        EXPECT_EQ(got.allocations, 0U);
    }
}

TEST_F(ImportAttrReader, ASizeThatWrapsToTheFixedPartOrAboveHoldsNoMoreThanItHasRoomFor)
{
    for (const auto &[orig, next, size] :
         {std::array{0x8000U, 0x8000U, 152U}, std::array{0xffffU, 1U, 152U}, std::array{0xffffU, 15U, 166U},
          std::array{0xffffU, 0xff00U, 0U}, std::array{20U, 0xffffU, 171U}, std::array{0xfff0U, 60U, 196U}}) {
        SCOPED_TRACE(orig);
        SCOPED_TRACE(next);
        ImportRecord record = record_of(kIntra, kBoth);
        record.original.length = orig;
        record.replaced.length = next;
        const Answer got =
            read_value(head_of(kIntra, record, 0) + tlv(20, kBoth.orig->wire) + tlv(12, kBoth.next->wire), ctx_);
        EXPECT_EQ(got.code, 0U);
        EXPECT_GE(got.asserts, 2U);
        ASSERT_TRUE(got.block);
        EXPECT_EQ(got.block->usAttrLen, size == 0 ? (152 + 0xffff + 0xff00) % 65536 : static_cast<int>(size));
    }
}

TEST_F(ImportAttrReader, AFailedKeyIsLoggedUnderTheNameOfTheImportRouteMessage)
{
    Bytes value = value_of(kIntra, {}, 0);
    value[3] = 2;
    EXPECT_EQ(read_value(value, ctx_).log.back(),
              "QEL_NGMVPN_ParseImportAttrTlv failed, because FormatMcImportRouteNlri 524289");
}

TEST_F(ImportAttrReader, AFailedTunnelIsLoggedUnderTheNameOfAWriter)
{
    const Bytes value = head_of(kIntra, record_of(kIntra, kBoth), 0) + tlv(20, bytes("02 01 000000"));
    EXPECT_EQ(read_value(value, ctx_).log.back(),
              "QEL_NGMVPN_ParseImportAttrTlv failed, because FormatPmsiTnlTlv 524297");
}

TEST_F(ImportAttrReader, TheRecordIsAttribute243UnderFlag2)
{
    const Answer got = read_value(value_of(kIntra, kBoth, 0), ctx_);
    ASSERT_TRUE(got.block);
    EXPECT_EQ(got.block->ucAttrType, 243U);
    EXPECT_EQ(got.block->ucAttrFlag, 2U);
}

TEST_F(ImportAttrReader, ThePolicyIdIsReadBehindTheKey)
{
    const Answer got = read_value(value_of(kIntra, kBoth, 0), ctx_);
    ASSERT_TRUE(got.block);
    EXPECT_EQ(hex({got.block.at(got.block->usAttrOffset) + 104, 4}), "04030201");
}

TEST_F(ImportAttrReader, BothCommunitiesAreTakenInHostOrder)
{
    const Answer got = read_value(value_of(kIntra, {}, 0) + Bytes(4), ctx_);
    ASSERT_TRUE(got.block);
    EXPECT_EQ(hex({got.block.at(got.block->usAttrOffset) + 124, 8}), hex(host_list(kSnhArrived)));
    EXPECT_EQ(hex({got.block.at(got.block->usAttrOffset) + 140, 8}), hex(host_list(kSnhReplacing)));
}

TEST_F(ImportAttrReader, OfFlagsAndPolicyTypeOneOctetIsRead)
{
    const Answer got = read_value(value_of(kIntra, {}, 0xff) + Bytes(4), ctx_);
    ASSERT_TRUE(got.block);
    const std::uint8_t *record = got.block.at(got.block->usAttrOffset);
    EXPECT_EQ(hex({record + 108, 4}), "35000000");
    EXPECT_EQ(hex({record + 120, 4}), "09000000");
    EXPECT_EQ(hex({record + 136, 4}), "09000000");
}

TEST_F(ImportAttrReader, ATlvLengthAboveWhatIsLeftIsRefused)
{
    const Bytes head = head_of(kIntra, record_of(kIntra, kBoth), 0);
    const Bytes longer = wire_u16(20) + wire_u16(18) + kBoth.orig->wire;
    expect_value_refused(read_value(head + longer, ctx_), kBadTlv, 1,
                         kReaderNlri + Log{reader_length("stOriginalAttr", 20)});
    const Bytes second = tlv(20, kBoth.orig->wire) + wire_u16(12) + wire_u16(21) + kBoth.next->wire;
    expect_value_refused(read_value(head + second, ctx_), kBadTlv, 1,
                         reader_orig_log(kBoth) + Log{reader_length("stReplacedAttr", 25)});
}

TEST_F(ImportAttrReader, ARefusedValueGivesItsRecordBack)
{
    const LentBuffer lent(ctx_); // so that the accounts show it
    const Bytes head = head_of(kIntra, record_of(kIntra, kBoth), 0);
    const std::int64_t before = live();
    for (const Bytes &behind :
         {Bytes{}, tlv(20, kBoth.orig->wire), wire_u16(20) + wire_u16(99) + Bytes(8), tlv(20, bytes("02 01 000000")),
          tlv(20, kBoth.orig->wire) + tlv(12, bytes("02 01 000000"))}) {
        EXPECT_FALSE(read_value(head + behind, ctx_).stored);
        EXPECT_EQ(live(), before);
    }
}

TEST_F(ImportAttrReader, OctetsThatNoTunnelFillsAreZero)
{
    ImportRecord record = record_of(kIntra, kBoth);
    record.replaced.length = 30; // five more than the tunnel
    const Bytes value = head_of(kIntra, record, 0) + tlv(20, kBoth.orig->wire) + tlv(12, kBoth.next->wire);
    const LentBuffer lent(ctx_);
    dirty_the_heap(152 + 20 + 30);
    const Answer got = read_value(value, ctx_);
    ASSERT_TRUE(got.block);
    EXPECT_EQ(hex({got.block.at(got.block->usAttrOffset) + 152 + 45, 5}), "0000000000");
}

TEST_F(ImportAttrReader, EachAllocationFailsOnce)
{
    const Bytes value = value_of(kIntra, kBoth, 0);
    const Log first = kReaderNlri + Log{reader_length("stOriginalAttr", 20)};
    const Log second = reader_orig_log(kBoth) + Log{reader_length("stReplacedAttr", 25)};
    struct Row {
        std::uint32_t code;
        Log log;
    };
    const Row rows[] = {{kOutOfMemory, kReaderNlri},
                        {kOutOfMemory, first + reader_failed("FormatPmsiTnlTlv", kOutOfMemory)},
                        {kOutOfMemory, second + reader_failed("FormatPmsiTnlTlv", kOutOfMemory)},
                        {kNoMemory, reader_log(kBoth)}};
    for (std::size_t i = 0; i < std::size(rows); ++i) {
        SCOPED_TRACE(i);
        const LentBuffer lent(ctx_);
        const platform::FailAllocation fail(i);
        const Answer got = read_value(value, ctx_);
        EXPECT_TRUE(fail.fired());
        expect_value_refused(got, rows[i].code, 1, rows[i].log);
    }
    for (std::size_t i = 1; i < std::size(rows); ++i) { // the record in the inline buffer
        SCOPED_TRACE(i);
        const platform::FailAllocation fail(i - 1);
        const Answer got = read_value(value, ctx_);
        EXPECT_TRUE(fail.fired());
        expect_value_refused(got, rows[i].code, 1, rows[i].log);
    }
    const platform::FailAllocation none_left(3);
    expect_record(read_value(value, ctx_), record_of(kIntra, kBoth).octets());
    EXPECT_FALSE(none_left.fired());
}

TEST_F(ImportAttrReader, RandomValuesNeverReadPastTheSlackNorWritePastTheRecord)
{
    std::mt19937 random(40);
    const std::vector<Held> pairs = held_pairs();
    const std::vector<KeyCase> all = keys();
    for (int i = 0; i < 5000; ++i) {
        Bytes value = value_of(all[random() % all.size()], pairs[random() % pairs.size()], 0) + Bytes(random() % 8);
        for (std::size_t changes = random() % 4; changes > 0; --changes) {
            const std::size_t at = random() % 3 == 0 ? random() % value.size() : 116 + random() % (value.size() - 116);
            value[at] = static_cast<std::uint8_t>(random());
        }
        if (random() % 4 == 0) {
            value.resize(random() % value.size());
        }
        read_value(value, ctx_);
    }
}

// --- steps of the reader --------------------------------------------------------------------------------------------

using ImportAttrReaderStep = ImportRouteTest;

struct NlriGot {
    std::uint32_t code = 0;
    std::ptrdiff_t moved = 0;
    std::size_t asserts = 0;
    Bytes record;
};

NlriGot read_key(const Bytes &value, std::uint32_t length, QEL_FAMILY_CTX_S *ctx)
{
    const MessageCopy copy(value);
    const std::uint8_t *cursor = copy.data();
    auto record = zeroed<QEL_NGMVPN_IMPORT_ATTR_S>();
    NlriGot got;
    const platform::Recorder recorder;
    got.code = QEL_NGMVPN_ParseImportAttrNlri(&cursor, length, &record, ctx);
    got.record = bytes_of(record);
    got.moved = cursor - copy.data();
    got.asserts = recorder.asserts().size();
    return got;
}

TEST_F(ImportAttrReaderStep, TheKeyIsReadFromItsHundredOctets)
{
    for (const KeyCase &key : keys()) {
        for (const std::uint8_t gap : Bytes{0x00, 0xff}) {
            SCOPED_TRACE(key.name);
            const NlriGot got = read_key(with_gaps(key.area, gap), 104, ctx_);
            EXPECT_EQ(got.code, 0U);
            EXPECT_EQ(got.moved, std::ptrdiff_t{kKeyLen});
            EXPECT_EQ(hex(slice(got.record, 0, 104)), hex(bytes_of(key.key)));
            EXPECT_EQ(hex(slice(got.record, 104, 48)), hex(Bytes(48)));
        }
        for (const std::uint32_t length : {0U, 100U, 103U}) {
            const NlriGot got = read_key(with_gaps(key.area, 0), length, ctx_);
            EXPECT_EQ(got.code, kNoRoom);
            EXPECT_EQ(got.moved, 0);
            EXPECT_EQ(hex(got.record), hex(Bytes(152)));
        }
    }
}

TEST_F(ImportAttrReaderStep, AnRdTypeAbove2IsRefusedWithTheCursorBehindTheKey)
{
    for (const KeyCase &key : {keys()[0], keys()[3]}) {
        Bytes value = with_gaps(key.area, 0);
        value[93] = 3;
        const NlriGot got = read_key(value, 104, ctx_);
        EXPECT_EQ(got.code, kBadValue);
        EXPECT_EQ(got.moved, std::ptrdiff_t{kKeyLen});
        EXPECT_EQ(got.asserts, 0U);
        EXPECT_EQ(got.record[100], 2U); // the RD kind stands before the RD is judged
    }
}

TEST_F(ImportAttrReaderStep, AShortKeyIsAnsweredWithTheCodeOfAShortRoom)
{
    EXPECT_EQ(read_key(with_gaps(kIntra.area, 0), 103, ctx_).code, 4U);
    EXPECT_EQ(read_key(with_gaps(kIntra.area, 0), 104, ctx_).code, 0U);
}

TEST_F(ImportAttrReaderStep, AnOriginatorIsAlwaysIpv4)
{
    // what the gap behind the originator holds is no length
    EXPECT_EQ(read_key(with_gaps(keys()[0].area, 0x80), 104, ctx_).record[8], 32U);
    EXPECT_EQ(read_key(with_gaps(keys()[3].area, 0x80), 104, ctx_).record[48], 32U);
}

TEST_F(ImportAttrReaderStep, SourceAndGroupAreFourWordsEach)
{
    const Bytes record = read_key(with_gaps(keys()[5].area, 0), 104, ctx_).record;
    EXPECT_EQ(hex(slice(record, 8, 16)), "20010db8000000000000000000000a01");
    EXPECT_EQ(hex(slice(record, 28, 16)), "ff3e0000000000000000000000008001");
}

TEST_F(ImportAttrReaderStep, NullArgumentsOfTheKeyAreReportedOnce)
{
    const MessageCopy copy(with_gaps(kIntra.area, 0));
    const std::uint8_t *cursor = copy.data();
    auto record = zeroed<QEL_NGMVPN_IMPORT_ATTR_S>();
    QEL_NGMVPN_IMPORT_ATTR_S *const out = &record;
    for (const std::uint32_t length : {0U, 104U}) {
        expect_null_arguments_refused(3, [&](unsigned nulls) {
            return QEL_NGMVPN_ParseImportAttrNlri(unless(nulls & 1U, &cursor), length, unless(nulls & 2U, out),
                                                  unless(nulls & 4U, ctx_));
        });
    }
    EXPECT_EQ(cursor, copy.data());
}

struct TunnelGot {
    std::uint32_t code = 0;
    std::ptrdiff_t moved = 0;
    Bytes out;
    std::uint16_t length = 0;
    std::size_t asserts = 0;
};

TunnelGot read_tunnel(const Bytes &wire, QEL_FAMILY_CTX_S *ctx)
{
    const MessageCopy copy(wire);
    const std::uint8_t *cursor = copy.data();
    TunnelGot got;
    got.out = untouched(268);
    got.length = 0x7777;
    const platform::Recorder recorder;
    got.code = QEL_NGMVPN_ParseImportAttrPmsiTnl(&cursor, static_cast<std::uint16_t>(wire.size()), got.out.data(),
                                                 &got.length, ctx);
    got.moved = cursor - copy.data();
    got.asserts = recorder.asserts().size();
    return got;
}

TEST_F(ImportAttrReaderStep, ATunnelIsStoredWithItsLength)
{
    for (const Tunnel &tunnel : all_tunnels()) {
        dirty_the_heap(268);
        const TunnelGot got = read_tunnel(tunnel.wire, ctx_);
        EXPECT_EQ(got.code, 0U);
        EXPECT_EQ(got.moved, std::ssize(tunnel.wire));
        EXPECT_EQ(got.length, tunnel.record.size());
        EXPECT_EQ(hex(got.out), hex(tunnel.record + untouched(268 - tunnel.record.size())));
        EXPECT_EQ(got.asserts, 0U);
    }
}

TEST_F(ImportAttrReaderStep, ATunnelThatIsNotCarriedMovesTheCursorAlone)
{
    for (const char *wire : {"00 06 000000 01020304", "20 09 000000", "00 ff 000000 010203"}) {
        SCOPED_TRACE(wire);
        const TunnelGot got = read_tunnel(bytes(wire), ctx_);
        EXPECT_EQ(got.code, 0U);
        EXPECT_EQ(got.moved, std::ssize(bytes(wire)));
        EXPECT_EQ(got.length, 0x7777U);
        EXPECT_EQ(hex(got.out), hex(untouched(268)));
        EXPECT_EQ(got.asserts, 0U);
    }
}

TEST_F(ImportAttrReaderStep, ARefusedTunnelLeavesEverything)
{
    for (const auto &[wire, code] : {std::pair{"02 01 00", kBadPmsiLength}, std::pair{"02 01 000000", kBadPmsi},
                                     std::pair{"00 00 000000", 0x20004U}, std::pair{"00 01 000000", 0x3000bU}}) {
        SCOPED_TRACE(wire);
        const TunnelGot got = read_tunnel(bytes(wire), ctx_);
        EXPECT_EQ(got.code, code);
        EXPECT_EQ(got.moved, 0);
        EXPECT_EQ(got.length, 0x7777U);
        EXPECT_EQ(hex(got.out), hex(untouched(268)));
        EXPECT_EQ(got.asserts, 0U);
    }
    const platform::FailAllocation fail(0);
    const TunnelGot got = read_tunnel(rsvp_te().wire, ctx_);
    EXPECT_TRUE(fail.fired());
    EXPECT_EQ(got.code, kOutOfMemory);
    EXPECT_EQ(got.asserts, 1U);
    EXPECT_EQ(got.moved, 0);
    EXPECT_EQ(got.length, 0x7777U);
}

TEST_F(ImportAttrReaderStep, NullArgumentsOfTheTunnelAreReportedOnce)
{
    const MessageCopy copy(rsvp_te().wire);
    const std::uint8_t *cursor = copy.data();
    Bytes out(268);
    std::uint16_t length = 0;
    for (const std::uint16_t size : std::initializer_list<std::uint16_t>{0, 17}) {
        expect_null_arguments_refused(2, [&](unsigned nulls) {
            return QEL_NGMVPN_ParseImportAttrPmsiTnl(unless(nulls & 1U, &cursor), size, out.data(), &length,
                                                     unless(nulls & 2U, ctx_));
        });
    }
    EXPECT_EQ(cursor, copy.data());
}

} // namespace
} // namespace qel::test
