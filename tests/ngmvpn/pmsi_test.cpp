// The PMSI tunnel attribute (22): tunnel identifiers, the record, the writer.
#include "attribute_cases.h"

#include "dirty_heap.h"

#include <algorithm>
#include <array>
#include <random>

namespace qel::test {
namespace {

constexpr std::uint32_t kNoTunnel = 0x20004;
constexpr std::uint32_t kBadFlags = 0x30004;
constexpr std::uint32_t kBadField = 0x3000a;
constexpr std::uint32_t kBadLength = 0x3000b;
constexpr std::uint32_t kNotCarried = 0x80006;
constexpr std::uint32_t kSteppedOver = 0x3000a; // the attribute's code for kNotCarried

// --- identifiers ----------------------------------------------------------------------------------------------------

// What an identifier of a tunnel type must give.
struct Expected {
    std::uint32_t code = 0;
    std::size_t moved = 0;
    std::uint32_t section = 0; // length; 0: any
    Bytes identifier{};        // as it lies in the record from offset 8 on
};

Expected refused(std::uint32_t code, std::uint32_t section = 0)
{
    return {.code = code, .section = section};
}

Expected stepped_over(std::size_t moved)
{
    return {.code = kNotCarried, .moved = moved};
}

Expected expected_rsvp_te(const Bytes &id)
{
    if (id.size() != 12) {
        return refused(kBadLength, 20);
    }
    if (be16(id, 4) != 0) {
        return refused(kBadField, 20);
    }
    return {.moved = 12,
            .section = 20,
            .identifier = reversed(id, 0, 4) + Bytes(2) + reversed(id, 6, 2) + reversed(id, 8, 4)};
}

Expected expected_mldp(const Bytes &id)
{
    if (id.size() < 10 || id.size() > 250) {
        return refused(kBadLength, 20);
    }
    const std::uint32_t family = be16(id, 1);
    if (family != 1 && family != 2) {
        return refused(kBadField, 20);
    }
    const std::uint32_t opaque = be16(id, 8);
    if (id[3] != (family == 1 ? 4 : 16) || opaque + 6 + id[3] != id.size()) {
        return refused(kBadLength, 20);
    }
    return {.moved = 10 + opaque,
            .section = 20 + opaque,
            .identifier = Bytes{id[0], id[3]} + reversed(id, 1, 2) + reversed(id, 4, 4) + reversed(id, 8, 2) +
                          Bytes(2) + slice(id, 10, opaque)};
}

Expected expected_bier(const Bytes &id)
{
    if (id.size() != 7 && id.size() != 19) {
        return refused(kBadLength, 28);
    }
    const auto prefix = static_cast<std::uint8_t>(id.size() - 3);
    return {.moved = id.size(),
            .section = 12U + prefix,
            .identifier =
                Bytes{id[0], prefix} + reversed(id, 1, 2) + (prefix == 4 ? reversed(id, 3, 4) : slice(id, 3, 16))};
}

Expected expected_identifier(std::uint32_t type, const Bytes &id)
{
    const std::size_t length = id.size();
    switch (type) {
    case 0:
        return refused(length == 0 ? kNoTunnel : kBadLength);
    case 1:
        return expected_rsvp_te(id);
    case 2:
        return expected_mldp(id);
    case 3:
    case 4:
    case 5:
        return length == 8 ? stepped_over(8) : refused(kBadLength);
    case 6:
        return length == 4 ? stepped_over(4) : refused(kBadLength);
    case 7:
        return length >= 10 && length <= 250 ? stepped_over(length) : refused(kBadLength);
    case 11:
        return expected_bier(id);
    default:
        return stepped_over(length);
    }
}

// Octets that come close to what the tunnel type wants, and such that are far off.
std::vector<Bytes> identifiers(std::uint32_t type, std::size_t length, std::mt19937 &random)
{
    Bytes any(length);
    for (std::uint8_t &octet : any) {
        octet = static_cast<std::uint8_t>(random());
    }
    std::vector<Bytes> out{any};
    const auto set = [&out](std::size_t at, const Bytes &octets) { // as far as they fit
        for (std::size_t i = 0; i < octets.size() && at + i < out.back().size(); ++i) {
            out.back()[at + i] = octets[i];
        }
    };
    if (type <= 11) {
        out.emplace_back(length);
        out.emplace_back(length, 0xff);
    }
    if (type == 1) {
        out.push_back(any);
        set(4, bytes("0000"));
        out.push_back(any);
        set(4, bytes("0001"));
    }
    for (const unsigned family : {1U, 2U}) {
        for (const int off : {-1, 0, 1}) {
            if (type == 2 && length >= 10) {
                const unsigned addr = family == 1 ? 4 : 16;
                const auto opaque =
                    static_cast<std::uint32_t>(static_cast<int>(length) - 6 - static_cast<int>(addr) + off);
                out.push_back(any);
                set(1, {0, static_cast<std::uint8_t>(family), static_cast<std::uint8_t>(addr)});
                set(8, {static_cast<std::uint8_t>(opaque >> 8), static_cast<std::uint8_t>(opaque)});
            }
        }
    }
    return out;
}

QEL_NGMVPN_PMSI_TNL_S empty_record(std::uint32_t type)
{
    QEL_NGMVPN_PMSI_TNL_S record{};
    record.ucFlags = 0x21;
    record.ucTnlType = static_cast<std::uint8_t>(type);
    record.uiLabel = 0x00abcdef;
    return record;
}

void check_identifier(std::uint32_t type, const Bytes &id)
{
    const Expected expected = expected_identifier(type, id);
    const OddBytes wire(id);
    const std::uint8_t *cursor = wire.data();
    QEL_NGMVPN_PMSI_TNL_S record = empty_record(type);
    std::uint32_t section = kUnwritten;
    const platform::Recorder recorder;
    ASSERT_EQ(QEL_NGMVPN_ParseTnlIdentifier(&cursor, &record, wire.size(), &section), expected.code);
    ASSERT_EQ(cursor - wire.data(), static_cast<std::ptrdiff_t>(expected.moved));
    ASSERT_NE(section, kUnwritten) << "set for every type, before the identifier is looked at";
    if (expected.section != 0) {
        ASSERT_EQ(section, expected.section);
    }
    ASSERT_EQ(recorder.asserts().size(), 0U);
    const Bytes front = slice(bytes_of(empty_record(type)), 0, 8);
    const Bytes got = bytes_of(record);
    ASSERT_EQ(slice(got, 0, 8), front);
    if (expected.code == 0) {
        ASSERT_EQ(expected.section, 8 + expected.identifier.size());
        ASSERT_EQ(hex(got), hex(front + expected.identifier + Bytes(260 - expected.identifier.size())));
    }
}

TEST(TnlIdentifier, OfEveryTypeAndLengthIsReadSteppedOverOrRefused)
{
    std::mt19937 random(22);
    for (std::uint32_t type = 0; type < 256; ++type) {
        for (std::size_t length = 0; length <= 260; ++length) {
            for (const Bytes &id : identifiers(type, length, random)) {
                ASSERT_NO_FATAL_FAILURE(check_identifier(type, id)) << "type " << type << ", " << hex(id);
            }
        }
    }
}

struct IdentifierRow {
    std::string name;
    std::uint32_t type;
    std::string identifier;
    std::uint32_t code;
    std::size_t moved;
    std::uint32_t section; // 0: any
};

const std::string kRsvp = "0a0b0c0d 0000 1112 0e0f1011";
const std::string kMldp = "06 0001 04 c0000201 0003 a1a2a3";

std::string zeros(std::size_t octets)
{
    return std::string(octets * 2, '0');
}

std::vector<IdentifierRow> identifier_rows()
{
    std::vector<IdentifierRow> rows{
        {"no tunnel, empty", 0, "", kNoTunnel, 0, 0},
        {"no tunnel, one octet", 0, "00", kBadLength, 0, 0},
        {"RSVP-TE, 11 octets", 1, zeros(11), kBadLength, 0, 20},
        {"RSVP-TE, 12 octets", 1, kRsvp, 0, 12, 20},
        {"RSVP-TE, 13 octets", 1, zeros(13), kBadLength, 0, 20},
        {"RSVP-TE, reserved 1", 1, "0a0b0c0d 0001 1112 0e0f1011", kBadField, 0, 20},
        {"RSVP-TE, reserved 256", 1, "0a0b0c0d 0100 1112 0e0f1011", kBadField, 0, 20},
        {"mLDP, 9 octets", 2, zeros(9), kBadLength, 0, 20},
        {"mLDP, no opaque value", 2, "06 0001 04 c0000201 0000", 0, 10, 20},
        {"mLDP, 3 octets of opaque value", 2, kMldp, 0, 13, 23},
        {"mLDP, FEC type 0", 2, "00 0001 04 c0000201 0000", 0, 10, 20},
        {"mLDP, FEC type 255", 2, "ff 0001 04 c0000201 0000", 0, 10, 20},
        {"mLDP, root 0.0.0.0", 2, "06 0001 04 00000000 0000", 0, 10, 20},
        {"mLDP, 240 octets of opaque value", 2, "06 0001 04 c0000201 00f0" + zeros(240), 0, 250, 260},
        {"mLDP, 241 octets of opaque value", 2, "06 0001 04 c0000201 00f1" + zeros(241), kBadLength, 0, 20},
        {"mLDP, family 0", 2, "06 0000 04 c0000201 0000", kBadField, 0, 20},
        {"mLDP, family 3", 2, "06 0003 04 c0000201 0000", kBadField, 0, 20},
        {"mLDP, family 257", 2, "06 0101 04 c0000201 0000", kBadField, 0, 20},
        {"mLDP, family 1 with 16", 2, "06 0001 10 c0000201 0000", kBadLength, 0, 20},
        {"mLDP, family 2 with 4", 2, "06 0002 04 c0000201 0000", kBadLength, 0, 20},
        {"mLDP, opaque length short", 2, "06 0001 04 c0000201 0002 a1a2a3", kBadLength, 0, 20},
        {"mLDP, opaque length long", 2, "06 0001 04 c0000201 0004 a1a2a3", kBadLength, 0, 20},
        {"mLDP, opaque length high octet", 2, "06 0001 04 c0000201 0103 a1a2a3", kBadLength, 0, 20},
        {"mLDP, sum of 65546", 2, "06 0002 10 c0000201 fff4", kBadLength, 0, 20},
        {"ingress replication, IPv6", 6, zeros(16), kBadLength, 0, 0},
        {"BIER, 6 octets", 11, zeros(6), kBadLength, 0, 28},
        {"BIER, 7 octets", 11, "07 0102 0a0b0c0d", 0, 7, 16},
        {"BIER, 8 octets", 11, zeros(8), kBadLength, 0, 28},
        {"BIER, 18 octets", 11, zeros(18), kBadLength, 0, 28},
        {"BIER, 19 octets", 11, zeros(19), 0, 19, 28},
        {"BIER, 20 octets", 11, zeros(20), kBadLength, 0, 28},
    };
    struct Span { // of lengths that are stepped over
        std::uint32_t type;
        std::size_t least;
        std::size_t most;
    };
    for (const Span &span : {Span{3, 8, 8}, Span{4, 8, 8}, Span{5, 8, 8}, Span{6, 4, 4}, Span{7, 10, 250}}) {
        const std::string name = "type " + std::to_string(span.type);
        rows.push_back({name, span.type, zeros(span.least - 1), kBadLength, 0, 0});
        rows.push_back({name, span.type, zeros(span.least), kNotCarried, span.least, 0});
        rows.push_back({name, span.type, zeros(span.most), kNotCarried, span.most, 0});
        rows.push_back({name, span.type, zeros(span.most + 1), kBadLength, 0, 0});
    }
    for (const std::uint32_t type : {8U, 9U, 10U, 12U, 13U, 128U, 255U}) {
        for (const std::size_t length : {0U, 1U, 8U, 251U}) {
            rows.push_back({"type " + std::to_string(type), type, zeros(length), kNotCarried, length, 0});
        }
    }
    return rows;
}

TEST(TnlIdentifier, Rows)
{
    for (const IdentifierRow &row : identifier_rows()) {
        SCOPED_TRACE(row.name + ": " + row.identifier);
        const OddBytes wire(bytes(row.identifier));
        const std::uint8_t *cursor = wire.data();
        QEL_NGMVPN_PMSI_TNL_S record = empty_record(row.type);
        std::uint32_t section = kUnwritten;
        EXPECT_EQ(QEL_NGMVPN_ParseTnlIdentifier(&cursor, &record, wire.size(), &section), row.code);
        EXPECT_EQ(cursor - wire.data(), static_cast<std::ptrdiff_t>(row.moved));
        EXPECT_NE(section, kUnwritten);
        if (row.section != 0) {
            EXPECT_EQ(section, row.section);
        }
    }
}

QEL_NGMVPN_PMSI_TNL_S read_identifier(std::uint32_t type, std::string_view identifier)
{
    const OddBytes wire(bytes(identifier));
    const std::uint8_t *cursor = wire.data();
    QEL_NGMVPN_PMSI_TNL_S record = empty_record(type);
    std::uint32_t section = 0;
    EXPECT_EQ(QEL_NGMVPN_ParseTnlIdentifier(&cursor, &record, wire.size(), &section), 0U);
    return record;
}

TEST(TnlIdentifier, FieldsOfEachTunnelThatIsCarried)
{
    const auto rsvp = read_identifier(1, kRsvp).uTnl.stRsvpTe;
    EXPECT_EQ(rsvp.uiP2mpId, 0x0a0b0c0dU);
    EXPECT_EQ(rsvp.usReserved, 0U);
    EXPECT_EQ(rsvp.usTunnelId, 0x1112U);
    EXPECT_EQ(rsvp.uiExtTunnelId, 0x0e0f1011U);

    const auto mldp = read_identifier(2, kMldp).uTnl.stMldp;
    EXPECT_EQ(mldp.ucFecType, 6U);
    EXPECT_EQ(mldp.ucAddrLen, 4U);
    EXPECT_EQ(mldp.usAddrFamily, 1U);
    EXPECT_EQ(mldp.uiRootAddr, 0xc0000201U);
    EXPECT_EQ(mldp.usOpaqueLen, 3U);
    EXPECT_EQ(mldp.aucOpaque[0], 0xa1U);
    EXPECT_EQ(mldp.aucOpaque[2], 0xa3U);

    const auto bier = read_identifier(11, "07 0102 0a0b0c0d").uTnl.stBier;
    EXPECT_EQ(bier.ucSubDomainId, 7U);
    EXPECT_EQ(bier.ucBfrPrefixLen, 4U);
    EXPECT_EQ(bier.usBfrId, 0x0102U);
    EXPECT_EQ(bier.stBfrPrefix.uiIpv4, 0x0a0b0c0dU);

    const auto bier6 = read_identifier(11, "ff fffe 20010db8000000000000000000000a01").uTnl.stBier;
    EXPECT_EQ(bier6.ucSubDomainId, 255U);
    EXPECT_EQ(bier6.ucBfrPrefixLen, 16U);
    EXPECT_EQ(bier6.usBfrId, 0xfffeU);
    EXPECT_EQ(hex(bier6.stBfrPrefix.aucIpv6), hex_of("20010db8000000000000000000000a01"));
}

TEST(TnlIdentifier, BierStepReadsSevenOrNineteenOctets)
{
    std::mt19937 random(3);
    for (std::size_t length = 0; length <= 64; ++length) {
        SCOPED_TRACE(length);
        for (const Bytes &id : identifiers(11, length, random)) {
            const Expected expected = expected_bier(id);
            const OddBytes wire(id);
            const std::uint8_t *cursor = wire.data();
            QEL_NGMVPN_PMSI_TNL_S record = empty_record(11);
            EXPECT_EQ(QEL_NGMVPN_ParseTnlIdentifierTunnelBier_(&cursor, wire.size(), &record), expected.code);
            EXPECT_EQ(cursor - wire.data(), static_cast<std::ptrdiff_t>(expected.moved));
            EXPECT_EQ(hex(slice(bytes_of(record), 8, 260)),
                      hex(expected.identifier + Bytes(260 - expected.identifier.size())));
        }
    }
}

// --- mLDP, in the order of its checks -------------------------------------------------------------------------------

struct MldpRow {
    std::string name;
    std::string identifier;
    std::uint32_t code;
    std::string read; // the record from offset 8 on, as far as the reader came
};

TEST(TnlMldp, IsCheckedWhileItIsRead)
{
    const std::string nothing = "00 00 0000 00000000 0000";
    const MldpRow rows[] = {
        {"length before family", "06 0007 04 c0000201 00", kBadLength, nothing},
        {"long before family", "06 0007 04 c0000201 00f1" + zeros(241), kBadLength, nothing},
        {"family before address length", "06 0007 05 c0000201 0009", kBadField, "06 00 0700 00000000 0000"},
        {"family 0 before address length", "06 0000 05 c0000201 0009", kBadField, "06 00 0000 00000000 0000"},
        {"address length before the sum", "06 0001 10 c0000201 0009", kBadLength, "06 10 0100 00000000 0000"},
        {"address length of family 2", "06 0002 04 c0000201 0000", kBadLength, "06 04 0200 00000000 0000"},
        {"address length 0", "06 0001 00 c0000201 0004", kBadLength, "06 00 0100 00000000 0000"},
        {"the sum last", "06 0001 04 c0000201 0009", kBadLength, "06 04 0100 010200c0 0900"},
        {"good", "06 0001 04 c0000201 0000", 0, "06 04 0100 010200c0 0000"},
        {"good, family 2", "06 0002 10 20010db8 0000" + zeros(12), 0, "06 10 0200 b80d0120 0000"},
    };
    for (const MldpRow &row : rows) {
        SCOPED_TRACE(row.name);
        const OddBytes wire(bytes(row.identifier));
        const std::uint8_t *cursor = wire.data();
        QEL_NGMVPN_PMSI_TNL_S record = empty_record(2);
        const platform::Recorder recorder;
        EXPECT_EQ(QEL_NGMVPN_CheckTnlIdentifierTunnelLdpP2mp(&record, &cursor, wire.size()), row.code);
        EXPECT_EQ(hex(slice(bytes_of(record), 8, 10)), hex_of(row.read));
        if (row.code == 0) {
            EXPECT_EQ(cursor, wire.data() + 10);
        }
        EXPECT_TRUE(recorder.asserts().empty());
    }
}

TEST(TnlMldp, KnowsTwoFamiliesAndOneAddressLengthOfEach)
{
    for (std::uint32_t family = 0; family < 65536; ++family) {
        if (family > 4 && family % 97 != 0 && (family & 0xff) > 2) {
            continue;
        }
        for (std::uint32_t addr = 0; addr < 256; addr += family < 4 ? 1 : 12) {
            Bytes id(22);
            id[1] = static_cast<std::uint8_t>(family >> 8);
            id[2] = static_cast<std::uint8_t>(family);
            id[3] = static_cast<std::uint8_t>(addr);
            id[9] = static_cast<std::uint8_t>(addr <= 16 ? 16 - addr : 0); // the sum is right
            const OddBytes wire(id);
            const std::uint8_t *cursor = wire.data();
            QEL_NGMVPN_PMSI_TNL_S record = empty_record(2);
            const bool known = family == 1 || family == 2;
            const std::uint32_t code = !known ? kBadField : addr == (family == 1 ? 4U : 16U) ? 0U : kBadLength;
            ASSERT_EQ(QEL_NGMVPN_CheckTnlIdentifierTunnelLdpP2mp(&record, &cursor, 22), code) << family << " " << addr;
        }
    }
}

// kept: the reader of the root address is four octets wide whatever the address length, so that an IPv6 root is taken
// only where its octets 4 and 5 equal the identifier's length less 22
TEST(TnlMldp, AnIpv6RootIsTakenOnlyWhereTwoOfItsOctetsEqualTheLengthLess22)
{
    for (std::size_t length = 10; length <= 250; ++length) {
        for (std::uint32_t octets = 0; octets <= 260; ++octets) {
            Bytes id(length, 0x5a);
            const Bytes head{6,
                             0,
                             2,
                             16,
                             0x20,
                             1,
                             13,
                             0xb8,
                             static_cast<std::uint8_t>(octets >> 8),
                             static_cast<std::uint8_t>(octets)};
            std::copy(head.begin(), head.end(), id.begin());
            const OddBytes wire(id);
            const std::uint8_t *cursor = wire.data();
            QEL_NGMVPN_PMSI_TNL_S record = empty_record(2);
            std::uint32_t section = 0;
            const bool taken = octets + 22 == length;
            ASSERT_EQ(QEL_NGMVPN_ParseTnlIdentifier(&cursor, &record, wire.size(), &section), taken ? 0 : kBadLength);
            ASSERT_EQ(cursor - wire.data(), taken ? static_cast<std::ptrdiff_t>(length) - 12 : 0);
            if (taken) {
                ASSERT_EQ(section, 20 + octets);
                ASSERT_EQ(record.uTnl.stMldp.ucAddrLen, 16);
                ASSERT_EQ(record.uTnl.stMldp.uiRootAddr, 0x20010db8U);
                ASSERT_EQ(record.uTnl.stMldp.usOpaqueLen, octets);
            }
        }
    }
}

// --- the attribute --------------------------------------------------------------------------------------------------

class Pmsi : public AttributeTest {
protected:
    Parsed parse(const Bytes &wire) { return parse_attribute(QEL_NGMVPN_ParsePmsiTnl, wire, ctx_); }
    Written write(const OddBytes &record, std::uint32_t told_length, std::size_t room)
    {
        return write_attribute(QEL_NGMVPN_FormatPmsiTnl, route_holding(22, record.data(), told_length), room, ctx_);
    }
    Written write(const OddBytes &record, std::size_t room) { return write(record, record.size(), room); }

    void check(const Bytes &header, const Bytes &id);
};

void expect_stepped_over(const Parsed &got, std::size_t moved)
{
    EXPECT_EQ(got.code, kSteppedOver);
    EXPECT_EQ(got.moved, static_cast<std::ptrdiff_t>(moved));
    EXPECT_EQ(got.more, 0U);
    EXPECT_FALSE(got.result_written);
    EXPECT_EQ(got.asserts, 0U);
}

// An attribute of five octets of header and an identifier: read, and written again if it is carried.
void Pmsi::check(const Bytes &header, const Bytes &id)
{
    const Expected expected = expected_identifier(header[1], id);
    const Parsed got = parse(header + id);
    if (expected.code == kNotCarried) {
        expect_stepped_over(got, 5 + expected.moved);
        return;
    }
    if (expected.code != 0) {
        expect_refused(got, expected.code);
        return;
    }
    expect_taken(got, 5 + expected.moved);
    const Bytes section = Bytes{header[0], header[1], 0, 0} + reversed(header, 2, 3) + Bytes(1) + expected.identifier;
    expect_attribute_block(got.block, 1, 22, hex(section));
    ASSERT_EQ(section.size(), expected.section);
    expect_written(write(OddBytes(section), 300), header + slice(id, 0, expected.moved));
}

TEST_F(Pmsi, OfEveryTunnelTypeAndLengthIsReadAndWrittenBackSteppedOverOrRefused)
{
    std::mt19937 random(2222);
    for (std::uint32_t type = 0; type < 256; ++type) {
        for (std::size_t length = 0; length <= 260; length += type > 12 && length > 12 ? 31 : 1) {
            for (const Bytes &id : identifiers(type, length, random)) {
                const Bytes header{0x21, static_cast<std::uint8_t>(type), 0x12, 0x34, 0x51};
                check(header, id);
                ASSERT_FALSE(HasFailure()) << "type " << type << ", " << hex(id);
            }
        }
    }
}

TEST_F(Pmsi, ShorterThanItsHeaderIsRefusedBeforeAnythingIsRead)
{
    const platform::FailAllocation failure(0);
    for (const std::string octets : {"", "de", "de ff", "de ff ff", "de ff ff ff", "00 00 0000", "00 01 0000"}) {
        expect_refused(parse(bytes(octets)), kBadLength);
    }
    EXPECT_FALSE(failure.fired());
}

TEST_F(Pmsi, TwoFlagsAreKnown)
{
    for (unsigned flags = 0; flags < 256; ++flags) {
        SCOPED_TRACE(flags);
        const Bytes wire = Bytes{static_cast<std::uint8_t>(flags)} + bytes("01 000010" + kRsvp);
        const Parsed got = parse(wire);
        if (flags == 0 || flags == 0x01 || flags == 0x20 || flags == 0x21) {
            expect_taken(got, wire.size());
            ASSERT_TRUE(got.block);
            EXPECT_EQ(*got.block.at(32), flags);
        } else {
            expect_refused(got, kBadFlags);
        }
    }
}

TEST_F(Pmsi, FlagsAreLookedAtAfterTheLengthAndTheMemoryAndBeforeTheTunnel)
{
    expect_refused(parse(bytes("40 01 000000 00")), kBadFlags);
    expect_refused(parse(bytes("40 00 000000")), kBadFlags);
    expect_refused(parse(bytes("40 06 000000 0a000001")), kBadFlags); // not stepped over
    expect_refused(parse(bytes("02 01 000010" + kRsvp)), kBadFlags);
    const platform::FailAllocation failure(0);
    expect_refused(parse(bytes("40 00 000000")), kNoMemory, 1);
    EXPECT_TRUE(failure.fired());
}

TEST_F(Pmsi, TheTunnelIsLookedAtAfterTheMemory)
{
    for (const std::string octets : {"00 00 000000", "00 01 000000 00", "00 06 000000 0a000001"}) {
        const platform::FailAllocation failure(0);
        expect_refused(parse(bytes(octets)), kNoMemory, 1);
        EXPECT_TRUE(failure.fired());
    }
}

// kept: the label field is kept as it stands, not shifted to a label
TEST_F(Pmsi, TheLabelFieldKeepsItsTwentyFourBits)
{
    const auto check_label = [this](std::uint32_t label) {
        SCOPED_TRACE(label);
        const Bytes octets{static_cast<std::uint8_t>(label >> 16), static_cast<std::uint8_t>(label >> 8),
                           static_cast<std::uint8_t>(label)};
        const Bytes wire = bytes("00 01") + octets + bytes(kRsvp);
        const Parsed got = parse(wire);
        ASSERT_TRUE(got.block);
        QEL_NGMVPN_PMSI_TNL_S record{};
        std::memcpy(&record, got.block.at(32), 20);
        EXPECT_EQ(record.uiLabel, label);
        expect_written(write(OddBytes(got.block.section(32, 20)), wire.size()), wire);
    };
    check_label(0);
    check_label(0xffffff);
    check_label(0xabcdef);
    for (unsigned bit = 0; bit < 24; ++bit) {
        check_label(1U << bit);
    }
}

TEST_F(Pmsi, ATunnelThatIsNotCarriedIsSteppedOverAndTheNextAttributeIsRead)
{
    for (const std::string first : {"00 06 000010 0a000001", "21 03 000000 0a000001 e8010101", "00 0c 000000",
                                    "01 0a 000000 0102030405", "00 07 000000 06 0001 04 0a000001 0000"}) {
        SCOPED_TRACE(first);
        const Bytes second = bytes("00 01 000010" + kRsvp);
        const ExactCopy copy(bytes(first) + second);
        const auto length = static_cast<std::uint32_t>(bytes(first).size());
        const std::uint8_t *cursor = copy.data();
        QEL_ROUTE_BLOCK_S *result = nullptr;
        std::uint32_t more = 1;
        EXPECT_EQ(QEL_NGMVPN_ParsePmsiTnl(&cursor, length, &result, &more, ctx_), kSteppedOver);
        EXPECT_EQ(cursor, copy.data() + length);
        EXPECT_EQ(more, 0U);
        EXPECT_EQ(result, nullptr);
        EXPECT_EQ(QEL_NGMVPN_ParsePmsiTnl(&cursor, static_cast<std::uint32_t>(second.size()), &result, &more, ctx_),
                  0U);
        const Block block(result);
        EXPECT_EQ(cursor, copy.data() + copy.size());
    }
}

TEST_F(Pmsi, ATunnelThatIsNotCarriedNeedsTheRecordAlone)
{
    const std::uint64_t before = allocations();
    expect_stepped_over(parse(bytes("00 06 000010 0a000001")), 9);
    EXPECT_EQ(allocations(), before + 1);
}

TEST_F(Pmsi, NoTunnelInformation)
{
    expect_refused(parse(bytes("00 00 000000")), kNoTunnel);
    expect_refused(parse(bytes("21 00 ffffff")), kNoTunnel);
    expect_refused(parse(bytes("00 00 000000 00")), kBadLength);
}

// kept: an IPv6 root that is taken leaves twelve octets of the attribute unread
TEST_F(Pmsi, AnIpv6RootThatIsTakenEndsTwelveOctetsShortOfTheAttribute)
{
    const std::string identifier = "06 0002 10 20010db8 0003 000000000000 00000a01 0000 000000";
    ASSERT_EQ(bytes(identifier).size(), 25U);
    const Bytes wire = bytes("00 02 000000" + identifier);
    const Parsed got = parse(wire);
    expect_taken(got, wire.size() - 12);
    expect_attribute_block(got.block, 1, 22, hex_of("00 02 0000 00000000 06 10 0200 b80d0120 0300 0000 000000"));
    expect_refused(parse(bytes("00 02 000000 06 0002 10 20010db8 0004 000000000000 00000a01 0000 000000")), kBadLength);
}

TEST_F(Pmsi, GapsOfTheRecordAreZeroWhateverTheHeapHeld)
{
    dirty_the_heap(268);
    const Parsed got = parse(bytes("00 02 000000" + kMldp));
    expect_attribute_block(got.block, 1, 22, hex_of("00 02 0000 00000000 06 04 0100 010200c0 0300 0000 a1a2a3"));
    dirty_the_heap(268);
    const Parsed rsvp = parse(bytes("00 01 000000" + kRsvp));
    expect_attribute_block(rsvp.block, 1, 22, hex_of("00 01 0000 00000000 0d0c0b0a 0000 1211 11100f0e"));
}

// --- writing --------------------------------------------------------------------------------------------------------

// A record with every octet of its identifier set.
QEL_NGMVPN_PMSI_TNL_S full_record(std::uint32_t type)
{
    QEL_NGMVPN_PMSI_TNL_S record{};
    record.ucFlags = 0xff;
    record.ucTnlType = static_cast<std::uint8_t>(type);
    record.uiLabel = 0x5a010203;
    for (std::size_t i = 0; i < sizeof(record.uTnl.aucIdentifier); ++i) {
        record.uTnl.aucIdentifier[i] = static_cast<std::uint8_t>(i + 1);
    }
    return record;
}

std::uint32_t need_of(const QEL_NGMVPN_PMSI_TNL_S &record)
{
    const OddBytes odd(bytes_of(record));
    return QEL_NGMVPN_GetPmsiTnlFmtNeedLen(odd.as<QEL_NGMVPN_PMSI_TNL_AT_S>());
}

TEST(PmsiNeed, OfEveryTunnelType)
{
    const platform::Recorder recorder;
    EXPECT_EQ(QEL_NGMVPN_GetPmsiTnlFmtNeedLen(nullptr), 0U);
    for (std::uint32_t type = 0; type < 256; ++type) {
        QEL_NGMVPN_PMSI_TNL_S record = full_record(type);
        if (type == 2) {
            record.uTnl.stMldp.usOpaqueLen = 9;
        }
        EXPECT_EQ(need_of(record), type == 1 ? 17U : type == 2 ? 24U : type == 11 ? 24U : 5U) << type;
    }
    EXPECT_TRUE(recorder.asserts().empty());
}

TEST(PmsiNeed, OfMldpByTheOpaqueLength)
{
    QEL_NGMVPN_PMSI_TNL_S record = full_record(2);
    for (std::uint32_t opaque = 0; opaque < 65536; ++opaque) {
        record.uTnl.stMldp.usOpaqueLen = static_cast<std::uint16_t>(opaque);
        ASSERT_EQ(need_of(record), 15 + opaque);
    }
}

TEST(PmsiNeed, OfBierByThePrefixLength)
{
    QEL_NGMVPN_PMSI_TNL_S record = full_record(11);
    for (unsigned prefix = 0; prefix < 256; ++prefix) {
        record.uTnl.stBier.ucBfrPrefixLen = static_cast<std::uint8_t>(prefix);
        EXPECT_EQ(need_of(record), prefix == 4 ? 12U : 24U) << prefix;
    }
}

TEST(PmsiNeed, LooksAtNoMoreThanItsTypeNeeds)
{
    const std::pair<std::string, std::uint32_t> rows[] = {
        {"00 05", 5}, {"00 01", 17}, {"00 0b 0000 00000000 07 04", 12}, {"00 02" + zeros(14) + "0300", 18}};
    for (const auto &[section, need] : rows) {
        const OddBytes odd(bytes(section));
        EXPECT_EQ(QEL_NGMVPN_GetPmsiTnlFmtNeedLen(odd.as<QEL_NGMVPN_PMSI_TNL_AT_S>()), need);
    }
}

// Each tunnel type has its need of room; a record of a type that is not carried is written as its header.
TEST_F(Pmsi, EveryTunnelTypeIsWritten)
{
    for (std::uint32_t type = 0; type < 256; ++type) {
        SCOPED_TRACE(type);
        QEL_NGMVPN_PMSI_TNL_S record = full_record(type);
        if (type == 2) {
            record.uTnl.stMldp.usOpaqueLen = 3;
        }
        Bytes wire = Bytes{0xff, static_cast<std::uint8_t>(type), 1, 2, 3};
        if (type == 1) {
            wire = wire + bytes("04030201 0000 0807 0c0b0a09"); // kept: the stored reserved word is not written
        } else if (type == 2) {
            wire = wire + bytes("01 0403 02 08070605 0003 0d0e0f");
        } else if (type == 11) {
            wire = wire + bytes("01 0403 05060708090a0b0c0d0e0f1011121314");
        }
        const OddBytes section(bytes_of(record));
        for (std::size_t room = 0; room < wire.size(); ++room) {
            expect_not_written(write(section, room), kNoRoom);
        }
        expect_written(write(section, wire.size()), wire);
        expect_written(write(section, 300), wire);
        EXPECT_EQ(section.bytes(), bytes_of(record));
    }
}

TEST_F(Pmsi, ARecordOfAnotherTypeIsItsHeaderOfFiveOctets)
{
    const OddBytes section(bytes("21 05 0000 45230100"));
    expect_written(write(section, 5), bytes("21 05 012345"));
    expect_not_written(write(section, 4), kNoRoom);
}

TEST_F(Pmsi, BierPrefixOfFourOctetsIsAWordAndAnyOtherSixteenOctets)
{
    for (unsigned prefix = 0; prefix < 256; ++prefix) {
        SCOPED_TRACE(prefix);
        QEL_NGMVPN_PMSI_TNL_S record = full_record(11);
        record.uTnl.stBier.ucBfrPrefixLen = static_cast<std::uint8_t>(prefix);
        const Bytes identifier = bytes(prefix == 4 ? "01 0403 08070605" : "01 0403 05060708090a0b0c0d0e0f1011121314");
        const OddBytes section(slice(bytes_of(record), 0, prefix == 4 ? 16 : 28));
        OddBytes out(untouched(identifier.size()));
        std::uint8_t *cursor = out.data();
        EXPECT_EQ(QEL_NGMVPN_FormatPmsiTnlBier_(&cursor, section.as<QEL_NGMVPN_PMSI_TNL_AT_S>()), identifier.size());
        EXPECT_EQ(cursor, out.data() + identifier.size());
        EXPECT_EQ(out.bytes(), identifier);
        expect_written(write(section, identifier.size() + 5), bytes("ff 0b 010203") + identifier);
    }
}

QEL_NGMVPN_PMSI_TNL_S mldp_record(std::uint32_t opaque)
{
    QEL_NGMVPN_PMSI_TNL_S record{};
    record.ucTnlType = 2;
    auto &mldp = record.uTnl.stMldp;
    mldp.ucFecType = 6;
    mldp.ucAddrLen = 4;
    mldp.usAddrFamily = 1;
    mldp.uiRootAddr = 0xc0000201;
    mldp.usOpaqueLen = static_cast<std::uint16_t>(opaque);
    std::memset(mldp.aucOpaque, 0x77, sizeof(mldp.aucOpaque));
    return record;
}

Bytes mldp_head(std::uint32_t opaque)
{
    return bytes("00 02 000000 06 0001 04 c0000201") +
           Bytes{static_cast<std::uint8_t>(opaque >> 8), static_cast<std::uint8_t>(opaque)};
}

TEST_F(Pmsi, EveryOpaqueLengthIsWrittenFromExactlyItsSection)
{
    for (std::uint32_t opaque = 0; opaque <= 240; ++opaque) {
        SCOPED_TRACE(opaque);
        const OddBytes section(slice(bytes_of(mldp_record(opaque)), 0, 20 + opaque));
        expect_written(write(section, 15 + opaque), mldp_head(opaque) + Bytes(opaque, 0x77));
        expect_not_written(write(section, 14 + opaque), kNoRoom);
    }
}

// A record that is longer than its section tells is refused although its head has been written.
TEST_F(Pmsi, AnOpaqueLengthPastTheSectionIsRefusedWithTheCursorAlone)
{
    for (const std::uint32_t opaque : {0U, 1U, 3U, 240U, 241U, 65520U, 65521U, 65535U}) {
        SCOPED_TRACE(opaque);
        const OddBytes section(bytes_of(mldp_record(opaque)));
        for (const std::uint32_t told : {0U, 14U, opaque, opaque + 14}) {
            const Written got = write(section, told, 15 + opaque);
            EXPECT_EQ(got.code, 1U);
            EXPECT_EQ(got.moved, 0);
            EXPECT_EQ(got.asserts, 1U);
            EXPECT_TRUE(got.buffer == mldp_head(opaque) + untouched(opaque));
        }
        expect_not_written(write(section, 0, 14 + opaque), kNoRoom); // the room is looked at first
    }
    const OddBytes section(bytes_of(mldp_record(3)));
    expect_written(write(section, 18, 18), mldp_head(3) + Bytes(3, 0x77)); // told as short as it may be
}

// kept: the bounded copy of an opaque value above 240 octets fails and is reported, and the cursor moves on all the
// same
TEST_F(Pmsi, AnOpaqueValueAbove240OctetsIsSkippedOnTheWayOut)
{
    for (const std::uint32_t opaque : {241U, 242U, 248U, 256U, 1000U, 65535U}) {
        SCOPED_TRACE(opaque);
        const OddBytes section(bytes_of(mldp_record(opaque)));
        const Written got = write(section, opaque + 20, opaque + 16);
        EXPECT_EQ(got.code, 0U);
        EXPECT_EQ(got.moved, static_cast<std::ptrdiff_t>(opaque) + 15);
        EXPECT_EQ(got.asserts, 1U);
        EXPECT_TRUE(got.buffer == mldp_head(opaque) + untouched(opaque + 1));
        expect_not_written(write(section, opaque + 20, opaque + 14), kNoRoom);
    }
}

// kept: what the writer puts out of a family 2 record is its four octets of root
TEST_F(Pmsi, AnIpv6RootIsWrittenWithFourOctets)
{
    const OddBytes section(bytes("00 02 0000 00000000 06 10 0200 b80d0120 0300 0000 a1a2a3"));
    expect_written(write(section, 18), bytes("00 02 000000 06 0002 10 20010db8 0003 a1a2a3"));
}

TEST_F(Pmsi, TheLengthOfTheSectionIsOnlyLookedAtForMldp)
{
    for (const std::string section : {"00 01 0000 45230100 0d0c0b0a 0000 1211 11100f0e",
                                      "00 0b 0000 45230100 07 04 0201 0d0c0b0a", "00 05 0000 45230100"}) {
        const OddBytes odd(bytes(section));
        const Written told = write(odd, odd.size(), 300);
        const Written untold = write(odd, 0, 300);
        EXPECT_EQ(untold.code, 0U);
        EXPECT_EQ(untold.moved, told.moved);
        EXPECT_EQ(untold.buffer, told.buffer);
    }
}

} // namespace
} // namespace qel::test
