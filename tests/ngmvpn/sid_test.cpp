// The SRv6 path attributes: Prefix-SID (40) and MSID (66).
#include "attribute_cases.h"

#include "dirty_heap.h"

#include <algorithm>
#include <random>

namespace qel::test {
namespace {

constexpr std::uint32_t kPfxSidLength = 0x30001;
constexpr std::uint32_t kPfxSidType = 0x80003;
constexpr std::uint32_t kPfxSidTlvLength = 0x8000a;
constexpr std::uint32_t kBadMsid = 0x70001;
constexpr std::uint32_t kNoAttribute = 2;

const std::string kSid = "20010db8 000a0b0c 0d0e0f10 11121314";
const std::string kPfxSid = "05 0019 a1 01 0015 a2" + kSid + "a3 0044 a4";
const std::string kMsid20 = "01 0011 b1" + kSid;
const std::string kMsidHead28 = "01 0019 b1" + kSid;
const std::string kStructure = "01 0005 b2 20 18 b3b4";

Bytes words(std::span<const std::uint8_t> sid)
{
    return reversed(sid, 0, 4) + reversed(sid, 4, 4) + reversed(sid, 8, 4) + reversed(sid, 12, 4);
}

// --- Prefix-SID -----------------------------------------------------------------------------------------------------

class PrefixSid : public AttributeTest {
protected:
    Parsed parse(const Bytes &wire) { return parse_attribute(QEL_NGMVPN_ParsePrefixSid, wire, ctx_); }
    Written write(const OddBytes &record, std::uint32_t told_length, std::size_t room)
    {
        return write_attribute(QEL_NGMVPN_FormatPrefixSid, route_holding(40, record.data(), told_length), room, ctx_);
    }

    void check(const Bytes &wire);
};

std::uint32_t prefix_sid_code(const Bytes &wire)
{
    if (wire.size() != 28) {
        return kPfxSidLength;
    }
    if (wire[0] != 5) {
        return kPfxSidType;
    }
    if (be16(wire, 1) != 25) {
        return kPfxSidTlvLength;
    }
    if (wire[4] != 1) {
        return kPfxSidType;
    }
    return be16(wire, 5) != 21 ? kPfxSidTlvLength : 0;
}

// Read, and written again if it is taken.
void PrefixSid::check(const Bytes &wire)
{
    const Parsed got = parse(wire);
    if (const std::uint32_t code = prefix_sid_code(wire); code != 0) {
        expect_refused(got, code);
        return;
    }
    expect_taken(got, 28);
    const Bytes section = reversed(wire, 25, 2) + Bytes(2) + words(slice(wire, 8, 16)) + wire;
    expect_attribute_block(got.block, 4, 40, hex(section));
    expect_written(write(OddBytes(section), 48, 28), wire);
}

TEST_F(PrefixSid, OfEveryLengthBut28IsRefusedBeforeAnythingIsRead)
{
    const Bytes good = bytes(kPfxSid) + bytes(kPfxSid) + bytes(kPfxSid);
    for (std::size_t length = 0; length <= 84; ++length) {
        SCOPED_TRACE(length);
        const std::uint64_t before = allocations();
        check(slice(good, 0, length));
        EXPECT_EQ(allocations() - before, length == 28 ? 2U : 0U);
    }
    const std::uint8_t octets[1] = {5};
    for (const std::uint32_t length : {0x1cU + 0x100, 0x1cU + 0x10000, 0x8000001cU, 0xffffffffU}) { // nothing is read
        const std::uint8_t *cursor = octets;
        QEL_ROUTE_BLOCK_S *result = nullptr;
        std::uint32_t more = kUnwritten;
        EXPECT_EQ(QEL_NGMVPN_ParsePrefixSid(&cursor, length, &result, &more, ctx_), kPfxSidLength);
        EXPECT_EQ(cursor, octets);
        EXPECT_EQ(more, kUnwritten);
    }
}

TEST_F(PrefixSid, WithAnyOctetChangedIsRefusedOrKeptAsItArrived)
{
    unsigned taken = 0;
    for (std::size_t at = 0; at < 28; ++at) {
        for (unsigned octet = 0; octet < 256; ++octet) {
            Bytes wire = bytes(kPfxSid);
            wire[at] = static_cast<std::uint8_t>(octet);
            SCOPED_TRACE(hex(wire));
            check(wire);
            taken += prefix_sid_code(wire) == 0 ? 1U : 0U;
        }
    }
    EXPECT_EQ(taken, 6 + 22U * 256); // six octets have one good value, the others any
}

struct PrefixSidRow {
    std::string name;
    std::string head;
    std::uint32_t code;
};

TEST_F(PrefixSid, HeadersAreCheckedInTheOrderOfTheirOctets)
{
    const PrefixSidRow rows[] = {
        {"TLV type 6", "06 0019 00 01 0015 00", kPfxSidType},
        {"TLV length 24", "05 0018 00 01 0015 00", kPfxSidTlvLength},
        {"TLV length 281", "05 0119 00 01 0015 00", kPfxSidTlvLength},
        {"sub-TLV type 2", "05 0019 00 02 0015 00", kPfxSidType},
        {"sub-TLV length 22", "05 0019 00 01 0016 00", kPfxSidTlvLength},
        {"sub-TLV length 277", "05 0019 00 01 0115 00", kPfxSidTlvLength},
        {"type before length", "06 0018 00 02 0016 00", kPfxSidType},
        {"length before sub-TLV type", "05 0018 00 02 0016 00", kPfxSidTlvLength},
        {"sub-TLV type before its length", "05 0019 00 02 0016 00", kPfxSidType},
        {"length before sub-TLV length", "05 0018 00 01 0015 00", kPfxSidTlvLength},
    };
    for (const PrefixSidRow &row : rows) {
        SCOPED_TRACE(row.name);
        const Bytes wire = bytes(row.head + kSid + "00 0044 00");
        expect_refused(parse(wire), row.code);
        const OddBytes step(wire);
        const std::uint8_t *cursor = step.data();
        EXPECT_EQ(QEL_NGMVPN_ParsePktPrefixSid_(&cursor, ctx_), row.code);
        // the memory is asked for before the headers are looked at
        const platform::FailAllocation failure(0);
        expect_refused(parse(wire), kNoMemory, 1);
    }
}

TEST_F(PrefixSid, TheHeaderStepLeavesTheCursorAtTheSid)
{
    const OddBytes wire(bytes(kPfxSid));
    const std::uint8_t *cursor = wire.data();
    const platform::Recorder recorder;
    EXPECT_EQ(QEL_NGMVPN_ParsePktPrefixSid_(&cursor, ctx_), 0U);
    EXPECT_EQ(cursor, wire.data() + 8);
    EXPECT_TRUE(recorder.asserts().empty());
}

TEST_F(PrefixSid, FieldsOfTheRecord)
{
    dirty_the_heap(48);
    const Parsed got = parse(bytes(kPfxSid));
    ASSERT_TRUE(got.block);
    ASSERT_EQ(got.block->usAttrLen, sizeof(QEL_NGMVPN_PFXSID_S));
    QEL_NGMVPN_PFXSID_S record;
    std::memcpy(&record, got.block.at(32), sizeof(record));
    EXPECT_EQ(record.usEndpointBehavior, 68);
    EXPECT_EQ(record.usReserved, 0);
    EXPECT_EQ(record.auiSid[0], 0x20010db8U);
    EXPECT_EQ(record.auiSid[1], 0x000a0b0cU);
    EXPECT_EQ(record.auiSid[2], 0x0d0e0f10U);
    EXPECT_EQ(record.auiSid[3], 0x11121314U);
    EXPECT_EQ(hex(record.aucRawTlv), hex_of(kPfxSid));
}

TEST_F(PrefixSid, OfAnyBehaviorIsKeptAndWrittenBack)
{
    for (std::uint32_t behavior = 0; behavior < 65536; behavior += behavior < 300 ? 1 : 97) {
        Bytes wire = bytes(kPfxSid);
        wire[25] = static_cast<std::uint8_t>(behavior >> 8);
        wire[26] = static_cast<std::uint8_t>(behavior);
        check(wire);
        ASSERT_FALSE(HasFailure()) << behavior;
    }
}

// kept: the attribute's octets are written as they were received, whatever the parsed fields say
TEST_F(PrefixSid, IsWrittenFromTheOctetsReceivedAlone)
{
    const Bytes raw = bytes("f0f1f2f3f4f5f6f7 e0e1e2e3e4e5e6e7 d0d1d2d3d4d5d6d7 c0c1c2c3");
    const OddBytes record(bytes("4500 0000") + Bytes(16, 0x11) + raw);
    for (const std::uint32_t told : {48U, 0U, 20U, 28U, 1000U}) { // nor is the length of the record looked at
        expect_written(write(record, told, 28), raw);
        expect_written(write(record, told, 40), raw);
        expect_not_written(write(record, told, 27), kNoRoom);
        expect_not_written(write(record, told, 0), kNoRoom);
    }
}

// --- MSID -----------------------------------------------------------------------------------------------------------

class Msid : public AttributeTest {
protected:
    Parsed parse(const Bytes &wire) { return parse_attribute(QEL_NGMVPN_ParseMsid, wire, ctx_); }
    Written write(const OddBytes &record, std::uint32_t told_length, std::size_t room)
    {
        return write_attribute(QEL_NGMVPN_FormatMsid, route_holding(66, record.data(), told_length), room, ctx_);
    }

    void check(const Bytes &wire);
};

// The sub-sub-TLVs of an attribute: the code, and what they put into the record.
struct Structure {
    std::uint32_t code = 0;
    std::uint8_t prefix = 0;
    std::uint8_t msid = 0;
    std::uint8_t present = 0;

    Bytes octets() const { return {prefix, msid, present, 0}; }
};

Structure structure_of(const Bytes &tlvs)
{
    Structure out;
    for (std::size_t at = 0; at < tlvs.size();) {
        if (tlvs.size() - at < 3 || be16(tlvs, at + 1) > tlvs.size() - at - 3) {
            out.code = kBadMsid;
            return out;
        }
        const std::uint32_t length = be16(tlvs, at + 1);
        if (tlvs[at] == 1) {
            if (length != 5) {
                out.code = kBadMsid;
                return out;
            }
            out.prefix = tlvs[at + 4];
            out.msid = tlvs[at + 5];
            out.present = 1;
        }
        at += 3 + length;
    }
    return out;
}

bool msid_head_good(const Bytes &wire)
{
    return wire[0] == 1 && be16(wire, 1) >= 17 && be16(wire, 1) == wire.size() - 3;
}

void Msid::check(const Bytes &wire)
{
    const Parsed got = parse(wire);
    if ((wire.size() != 20 && wire.size() != 28) || !msid_head_good(wire)) {
        expect_refused(got, kBadMsid);
        return;
    }
    const Structure structure = structure_of(slice(wire, 20, wire.size() - 20));
    if (structure.code != 0) {
        expect_refused(got, kBadMsid);
        return;
    }
    expect_taken(got, wire.size());
    const Bytes section = structure.octets() + words(slice(wire, 4, 16)) + wire;
    expect_attribute_block(got.block, 5, 66, hex(section));
    const OddBytes record(section);
    expect_written(write(record, record.size(), wire.size()), wire);
}

TEST_F(Msid, OfEveryLengthBut20And28IsRefusedBeforeAnythingIsRead)
{
    for (std::size_t length = 0; length <= 300; ++length) {
        SCOPED_TRACE(length);
        Bytes wire = slice(bytes(kMsidHead28 + kStructure) + Bytes(300), 0, length);
        if (length >= 20) { // the sub-TLV's length is right
            wire[1] = static_cast<std::uint8_t>((length - 3) >> 8);
            wire[2] = static_cast<std::uint8_t>(length - 3);
        }
        const std::uint64_t before = allocations();
        check(wire);
        EXPECT_EQ(allocations() - before, length == 20 || length == 28 ? 2U : 0U);
    }
    const std::uint8_t octets[1] = {1};
    for (const std::uint32_t length : {0x14U + 0x100, 0x1cU + 0x100, 0x10014U, 0x8000001cU, 0xffffffffU}) {
        const std::uint8_t *cursor = octets; // nothing is read
        QEL_ROUTE_BLOCK_S *result = nullptr;
        std::uint32_t more = kUnwritten;
        EXPECT_EQ(QEL_NGMVPN_ParseMsid(&cursor, length, &result, &more, ctx_), kBadMsid);
        EXPECT_EQ(cursor, octets);
        EXPECT_EQ(more, kUnwritten);
    }
}

TEST_F(Msid, WithAnyOctetChangedIsRefusedOrKeptAsItArrived)
{
    for (const std::string &good : {kMsid20, kMsidHead28 + kStructure}) {
        for (std::size_t at = 0; at < bytes(good).size(); ++at) {
            for (unsigned octet = 0; octet < 256; ++octet) {
                Bytes wire = bytes(good);
                wire[at] = static_cast<std::uint8_t>(octet);
                SCOPED_TRACE(hex(wire));
                check(wire);
            }
        }
    }
}

struct MsidRow {
    std::string name;
    std::string wire;
    std::string structure; // the first four octets of the record; empty: refused
};

TEST_F(Msid, Rows)
{
    const std::string head = kMsidHead28;
    const MsidRow rows[] = {
        {"of 20", kMsid20, "00 00 00 00"},
        {"of 28 with a structure", head + kStructure, "20 18 01 00"},
        {"structure of zeros", head + "01 0005 00 00 00 0000", "00 00 01 00"},
        {"structure of ones", head + "01 0005 ff ff ff ffff", "ff ff 01 00"},
        {"sub-sub-TLV of type 2", head + "02 0005 b2 20 18 b3b4", "00 00 00 00"},
        {"sub-sub-TLV of type 0", head + "00 0005 b2 20 18 b3b4", "00 00 00 00"},
        {"sub-sub-TLV of type 255", head + "ff 0005 b2 20 18 b3b4", "00 00 00 00"},
        {"two sub-sub-TLVs, the first empty", head + "02 0000 03 0002 0101", "00 00 00 00"},
        {"two sub-sub-TLVs", head + "02 0001 01 03 0001 01", "00 00 00 00"},
        {"two sub-sub-TLVs, the last empty", head + "02 0002 0101 03 0000", "00 00 00 00"},
        {"two octets left", head + "02 0003 010101 0100", ""},
        {"one octet left", head + "02 0004 01010101 01", ""},
        {"two empty ones and two octets left", head + "02 0000 02 0000 0000", ""},
        {"sub-sub-TLV past the end", head + "02 0006 b2 20 18 b3b4", ""},
        {"second sub-sub-TLV past the end", head + "02 0001 01 03 0002 01", ""},
        {"sub-sub-TLV past the end by its high octet", head + "02 0105 b2 20 18 b3b4", ""},
        {"structure past the end", head + "01 0006 b2 20 18 b3b4", ""},
        {"structure of 4", head + "01 0004 b2 20 18 b3 b4", ""},
        {"structure of 2 and another", head + "01 0002 0101 03 0000", ""},
        {"empty structure", head + "01 0000 03 0002 0101", ""},
        {"structure second, past the end", head + "02 0000 01 0005 0101", ""},
        {"structure second, too short", head + "02 0000 01 0002 0101", ""},
        {"sub-TLV type 2", "02 0011 b1" + kSid, ""},
        {"sub-TLV length 18", "01 0012 b1" + kSid, ""},
        {"sub-TLV length 16", "01 0010 b1" + kSid, ""},
        {"sub-TLV length 273", "01 0111 b1" + kSid, ""},
        {"of 28 with a sub-TLV length of 17", kMsid20 + kStructure, ""},
        {"of 28 with a sub-TLV length of 26", "01 001a b1" + kSid + kStructure, ""},
        {"of 24", "01 0015 b1" + kSid + "02 0001 00", ""},
        {"of 20 with a sub-TLV length of 25", kMsidHead28, ""},
    };
    for (const MsidRow &row : rows) {
        SCOPED_TRACE(row.name);
        const Bytes wire = bytes(row.wire);
        const Parsed got = parse(wire);
        if (row.structure.empty()) {
            expect_refused(got, kBadMsid);
        } else {
            expect_taken(got, wire.size());
            ASSERT_TRUE(got.block);
            EXPECT_EQ(hex(got.block.section(32, 4)), hex_of(row.structure));
        }
        check(wire);
    }
}

TEST_F(Msid, TheMemoryIsAskedForAfterTheLengthAndBeforeTheHeader)
{
    {
        const platform::FailAllocation failure(0);
        expect_refused(parse(bytes("01 0015 b1" + kSid + "02 0001 00")), kBadMsid);
        EXPECT_FALSE(failure.fired());
    }
    for (const std::string &wire : {"02 0011 b1" + kSid, kMsidHead28 + "01 0004 b2 20 18 b3 b4"}) {
        const platform::FailAllocation failure(0);
        expect_refused(parse(bytes(wire)), kNoMemory, 1);
        EXPECT_TRUE(failure.fired());
    }
}

TEST_F(Msid, FieldsOfTheRecord)
{
    dirty_the_heap(48);
    const Parsed got = parse(bytes(kMsidHead28 + kStructure));
    ASSERT_TRUE(got.block);
    ASSERT_EQ(got.block->usAttrLen, 48);
    QEL_NGMVPN_MSID_S record;
    std::memcpy(&record, got.block.at(32), sizeof(record));
    EXPECT_EQ(record.ucPrefixLen, 32);
    EXPECT_EQ(record.ucMsidLen, 24);
    EXPECT_EQ(record.ucHasStructure, 1);
    EXPECT_EQ(record.ucReserved3, 0);
    EXPECT_EQ(record.auiMsid[0], 0x20010db8U);
    EXPECT_EQ(record.auiMsid[1], 0x000a0b0cU);
    EXPECT_EQ(record.auiMsid[2], 0x0d0e0f10U);
    EXPECT_EQ(record.auiMsid[3], 0x11121314U);
    EXPECT_EQ(hex(got.block.section(52, 28)), hex_of(kMsidHead28 + kStructure));
}

TEST_F(Msid, WithoutAStructureKeepsItsZerosWhateverTheHeapHeld)
{
    for (const std::string &wire : {kMsid20, kMsidHead28 + "02 0005 b2 20 18 b3b4"}) {
        dirty_the_heap(static_cast<std::uint32_t>(bytes(wire).size()) + 20);
        const Parsed got = parse(bytes(wire));
        ASSERT_TRUE(got.block);
        EXPECT_EQ(hex(got.block.section(32, 4)), "00000000");
    }
}

// --- the steps of reading, beyond what an attribute of 20 or 28 octets can hold -------------------------------------

TEST(MsidHeader, OfAnyLengthMatchesTheAttribute)
{
    for (std::size_t length = 4; length <= 60; ++length) {
        for (std::uint32_t told = 0; told <= 600; ++told) {
            Bytes wire = slice(bytes(kMsid20) + Bytes(60), 0, length);
            wire[1] = static_cast<std::uint8_t>(told >> 8);
            wire[2] = static_cast<std::uint8_t>(told);
            const OddBytes copy(wire);
            const std::uint8_t *cursor = copy.data();
            QEL_NGMVPN_MSID_S record{};
            const bool good = told >= 17 && told == length - 3;
            ASSERT_EQ(QEL_NGMVPN_ParsePktMsid_(&cursor, copy.data() + copy.size(), &record), good ? 0 : kBadMsid)
                << length << " " << told;
            if (good) {
                ASSERT_EQ(cursor, copy.data() + 20);
                ASSERT_EQ(hex(bytes_of(record)), hex(Bytes(4) + words(slice(wire, 4, 16))));
            }
        }
    }
}

// A run of sub-sub-TLVs; most are whole.
Bytes random_tlvs(std::mt19937 &random)
{
    Bytes out;
    for (std::size_t left = random() % 5; left > 0; --left) {
        const auto type = static_cast<std::uint8_t>(random() % 3);
        const std::size_t length = type == 1 && random() % 8 != 0 ? 5 : random() % 9;
        Bytes value(length);
        for (std::uint8_t &octet : value) {
            octet = static_cast<std::uint8_t>(random());
        }
        out = out + Bytes{type, 0, static_cast<std::uint8_t>(length)} + value;
    }
    if (random() % 4 == 0 && !out.empty()) {
        out.resize(out.size() - random() % out.size());
    }
    return out;
}

TEST(MsidSubSubTlv, OfAnyNumberAreWalkedToTheEnd)
{
    std::mt19937 random(66);
    unsigned taken = 0;
    for (int turn = 0; turn < 20000; ++turn) {
        const Bytes tlvs = random_tlvs(random);
        const Structure expected = structure_of(tlvs);
        const OddBytes copy(tlvs);
        const std::uint8_t *cursor = copy.data();
        QEL_NGMVPN_MSID_S record{};
        ASSERT_EQ(QEL_NGMVPN_ParsePktMsidSubSubTlv_(&cursor, copy.data() + copy.size(), &record), expected.code)
            << hex(tlvs);
        if (expected.code == 0) {
            ++taken;
            ASSERT_EQ(cursor, copy.data() + copy.size());
            ASSERT_EQ(hex(bytes_of(record)), hex(expected.octets() + Bytes(16))) << hex(tlvs);
        }
    }
    EXPECT_GT(taken, 5000U);
}

TEST(MsidSubSubTlv, TheLastStructureCounts)
{
    const OddBytes copy(bytes("01 0005 00 10 11 0000  02 0001 00  01 0005 00 20 21 0000  03 0000"));
    const std::uint8_t *cursor = copy.data();
    QEL_NGMVPN_MSID_S record{};
    EXPECT_EQ(QEL_NGMVPN_ParsePktMsidSubSubTlv_(&cursor, copy.data() + copy.size(), &record), 0U);
    EXPECT_EQ(record.ucPrefixLen, 0x20);
    EXPECT_EQ(record.ucMsidLen, 0x21);
    EXPECT_EQ(record.ucHasStructure, 1);
    EXPECT_EQ(cursor, copy.data() + copy.size());
}

// --- writing --------------------------------------------------------------------------------------------------------

TEST_F(Msid, ARecordWithoutTheAttributeBehindItIsRefused)
{
    const OddBytes record(Bytes(20, 0x11));
    for (std::uint32_t length = 0; length <= 20; ++length) {
        for (const std::size_t room : {0U, 1U, 28U}) { // whatever the room
            expect_not_written(write(record, length, room), kNoAttribute);
        }
    }
}

// kept: what is behind the record's head is written as it was received, whatever its length and the parsed fields
TEST_F(Msid, IsWrittenFromTheOctetsReceivedAlone)
{
    for (std::size_t length = 1; length <= 300; ++length) {
        SCOPED_TRACE(length);
        Bytes raw(length);
        for (std::size_t i = 0; i < length; ++i) {
            raw[i] = static_cast<std::uint8_t>(i * 7 + 1);
        }
        const OddBytes record(Bytes(20, 0x11) + raw);
        expect_written(write(record, record.size(), length), raw);
        expect_written(write(record, record.size(), length + 9), raw);
        expect_not_written(write(record, record.size(), length - 1), kNoRoom);
        expect_not_written(write(record, record.size(), 0), kNoRoom);
    }
}

} // namespace
} // namespace qel::test
