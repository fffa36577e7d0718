// The order of RDs, keys, non-keys and attributes of MCAST-VPN routes: ngmvpn/qel_ngmvpn_nlri.cpp.
#include "nlri_cases.h"

#include "ngmvpn/qel_ngmvpn_segment_policy.h"

#include <array>
#include <random>

namespace qel::test {
namespace {

using Cmp = int32_t (*)(const void *, uint32_t, const void *, uint32_t);

constexpr std::uint32_t kKeyLen = 104;
constexpr std::uint32_t kNonKeyLen = 100;

// Compares two byte strings that stand at odd addresses, and the other way round.
std::int32_t cmp(Cmp compare, const Bytes &a, const Bytes &b)
{
    const ExactCopy left(Bytes(1) + a);
    const ExactCopy right(Bytes(1) + b);
    const platform::Recorder recorder;
    const auto size_a = static_cast<std::uint32_t>(a.size());
    const auto size_b = static_cast<std::uint32_t>(b.size());
    const std::int32_t forth = compare(left.data() + 1, size_a, right.data() + 1, size_b);
    const std::int32_t back = compare(right.data() + 1, size_b, left.data() + 1, size_a);
    EXPECT_EQ(forth, -back);
    EXPECT_EQ(compare(left.data() + 1, size_a, left.data() + 1, size_a), 0);
    EXPECT_TRUE(recorder.asserts().empty());
    return forth;
}

std::int32_t cmp_keys(const QEL_NGMVPN_KEY_S &a, const QEL_NGMVPN_KEY_S &b)
{
    return cmp(QEL_NGMVPN_CmpKey, bytes_of(a), bytes_of(b));
}

std::int32_t cmp_nonkeys(const QEL_NGMVPN_NONKEY_S &a, const QEL_NGMVPN_NONKEY_S &b)
{
    return cmp(QEL_NGMVPN_CmpNonKey, bytes_of(a), bytes_of(b));
}

// --- RD
// -----------------------------------------------------------------------------------------------------------------

TEST(NlriCompare, RdsCompareAsTwoWordsOfMemory)
{
    struct Row {
        const char *a;
        const char *b;
        std::int32_t result;
    };
    const Row rows[] = {
        {"0000000000000000", "0000000000000000", 0}, {"0100000000000000", "0000000000000000", 1},
        {"0000000100000000", "ffffff0000000000", 1}, // the fourth byte weighs most
        {"00000080ffffffff", "0000007fffffffff", 1}, // unsigned
        {"0000000000000001", "00000000ffffff00", 1}, {"0000000000000080", "000000000000007f", 1},
        {"0100000000000000", "00000000ffffffff", 1}, // the first word decides
        {"0000000001000000", "0000000000000000", 1}, {"0000000000010000", "00000000ff000000", 1},
        {"0102030405060708", "0102030405060708", 0},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(std::string(row.a) + " and " + row.b);
        EXPECT_EQ(cmp(QEL_NGMVPN_CmpRd, bytes(row.a), bytes(row.b)), row.result);
    }
}

TEST(NlriCompare, AnRdsTypeDoesNotWeighMoreThanTheStartOfItsValue)
{
    // 2:... with a small administrator stands before 0:... with a greater one.
    EXPECT_EQ(cmp(QEL_NGMVPN_CmpRd, bytes_of(rd12(2, 1, 0)), bytes_of(rd0(2, 0))), -1);
    EXPECT_EQ(cmp(QEL_NGMVPN_CmpRd, bytes_of(rd12(2, 1, 0)), bytes_of(rd0(1, 0))), 1);
}

// --- failed checks
// --------------------------------------------------------------------------------------------------------

void expect_failed(std::int32_t result, const platform::Recorder &recorder)
{
    EXPECT_EQ(result, -2);
    EXPECT_EQ(recorder.asserts().size(), 1U);
}

TEST(NlriCompare, SectionsOfAnotherSizeAndNullSectionsAreRefusedWithOneReport)
{
    struct Row {
        Cmp compare;
        std::uint32_t size;
    };
    const Bytes area(256, 0);
    for (const Row &row :
         {Row{QEL_NGMVPN_CmpRd, 8}, Row{QEL_NGMVPN_CmpKey, kKeyLen}, Row{QEL_NGMVPN_CmpNonKey, kNonKeyLen}}) {
        for (const std::uint32_t size : {0U, 4U, 7U, 9U, 99U, 101U, 103U, 105U, 208U, row.size + 256, 0xffffffffU}) {
            SCOPED_TRACE(std::to_string(row.size) + " and " + std::to_string(size));
            {
                const platform::Recorder recorder;
                expect_failed(row.compare(area.data(), size, area.data(), row.size), recorder);
            }
            {
                const platform::Recorder recorder;
                expect_failed(row.compare(area.data(), row.size, area.data(), size), recorder);
            }
            {
                const platform::Recorder recorder;
                expect_failed(row.compare(area.data(), size, area.data(), size), recorder);
            }
        }
        for (int missing = 1; missing <= 3; ++missing) {
            const platform::Recorder recorder;
            expect_failed(row.compare((missing & 1) != 0 ? nullptr : area.data(), row.size,
                                      (missing & 2) != 0 ? nullptr : area.data(), row.size),
                          recorder);
        }
        const platform::Recorder recorder;
        expect_failed(row.compare(nullptr, 0, nullptr, 0), recorder);
        EXPECT_EQ(row.compare(area.data(), row.size, area.data(), row.size), 0);
    }
}

TEST(NlriCompare, StepsRefuseNullKeysWithOneReport)
{
    using Step = int32_t (*)(const QEL_NGMVPN_KEY_AT_S *, const QEL_NGMVPN_KEY_AT_S *);
    const Step steps[] = {QEL_NGMVPN_CmpIntraIpmsiAdKey,   QEL_NGMVPN_CmpInterIpmsiAdKey,
                          QEL_NGMVPN_CmpSpmsiAdKey,        QEL_NGMVPN_CmpIpmsiLeafAdKey,
                          QEL_NGMVPN_CmpSpmsiLeafAdKey,    QEL_NGMVPN_CmpSourceActiveAdKey,
                          QEL_NGMVPN_CmpCMulticastRouteKey};
    const auto key = zeroed<QEL_NGMVPN_KEY_S>();
    for (const Step step : steps) {
        for (int missing = 1; missing <= 3; ++missing) {
            const platform::Recorder recorder;
            expect_failed(step((missing & 1) != 0 ? nullptr : &key, (missing & 2) != 0 ? nullptr : &key), recorder);
        }
        EXPECT_EQ(step(&key, &key), 0);
    }
}

// --- keys
// -----------------------------------------------------------------------------------------------------------------

TEST(NlriCompare, KeysOfDifferentTypeAreOrderedByTypeWhateverTheRest)
{
    for (std::uint32_t type = 0; type <= 10; ++type) {
        for (std::uint32_t other = type + 1; other <= 10; ++other) {
            QEL_NGMVPN_KEY_S low = empty_key(type, rd12(2, 0xffffffff, 0xffff));
            std::memset(&low.uKey, 0xff, sizeof(low.uKey));
            const QEL_NGMVPN_KEY_S high = empty_key(other, rd0(0, 0));
            EXPECT_EQ(cmp_keys(low, high), -1) << type << " and " << other;
        }
    }
    EXPECT_EQ(cmp_keys(empty_key(0x80000000, rd_a()), empty_key(1, rd_a())), 1) << "unsigned";
    EXPECT_EQ(cmp_keys(empty_key(256, rd_a()), empty_key(1, rd_a())), 1);
}

TEST(NlriCompare, AKeyTypeWithoutFieldsComparesByItsRdAlone)
{
    for (const std::uint32_t type : {0U, 9U, 0xffffffffU}) {
        QEL_NGMVPN_KEY_S a = empty_key(type, rd_a());
        QEL_NGMVPN_KEY_S b = a;
        std::memset(&a.uKey, 0xff, sizeof(a.uKey));
        EXPECT_EQ(cmp_keys(a, b), 0);
        b.stRd = rd0(100, 2);
        EXPECT_EQ(cmp_keys(a, b), -1);
    }
}

TEST(NlriCompare, RdsTakePartOnlyWhereBothKeysHoldThemAsKey)
{
    for (std::uint8_t kind_a = 0; kind_a <= 4; ++kind_a) {
        for (std::uint8_t kind_b = 0; kind_b <= 4; ++kind_b) {
            SCOPED_TRACE(std::to_string(kind_a) + " and " + std::to_string(kind_b));
            QEL_NGMVPN_KEY_S a = empty_key(2, rd0(7, 7));
            QEL_NGMVPN_KEY_S b = a;
            a.ucRdKind = kind_a;
            b.ucRdKind = kind_b;
            const bool blind = kind_a == 0 || kind_a == 3 || kind_b == 0 || kind_b == 3 || (kind_a == 1 && kind_b == 1);
            const int by_kind = blind || kind_a == kind_b ? 0 : kind_a > kind_b ? 1 : -1;
            EXPECT_EQ(QEL_NGMVPN_CmpNlriRD(&a, &b), by_kind);
            EXPECT_EQ(cmp_keys(a, b), by_kind);
            b.stRd = rd0(7, 8);
            const int greater_b = blind ? 0 : by_kind != 0 ? by_kind : -1;
            EXPECT_EQ(QEL_NGMVPN_CmpNlriRD(&a, &b), greater_b);
            EXPECT_EQ(cmp_keys(a, b), greater_b);
            b.stRd = rd0(6, 7);
            const int smaller_b = blind ? 0 : by_kind != 0 ? by_kind : 1;
            EXPECT_EQ(QEL_NGMVPN_CmpNlriRD(&a, &b), smaller_b);
            EXPECT_EQ(cmp_keys(a, b), smaller_b);
        }
    }
}

TEST(NlriCompare, RdsOfKeysCompareByByteAndNotByWord)
{
    QEL_NGMVPN_KEY_S a = empty_key(2, rd_a());
    QEL_NGMVPN_KEY_S b = a;
    for (std::size_t i = 0; i < sizeof(QEL_RD_VALUE_S); ++i) {
        Bytes low(8, 0x10);
        Bytes high = low;
        high[i] = 0x80; // unsigned, and the first difference decides
        low[i] = 0x7f;
        for (std::size_t after = i + 1; after < 8; ++after) {
            low[after] = 0xff;
        }
        std::memcpy(&a.stRd, low.data(), 8);
        std::memcpy(&b.stRd, high.data(), 8);
        EXPECT_EQ(QEL_NGMVPN_CmpNlriRD(&a, &b), -1) << "byte " << i;
        EXPECT_EQ(cmp_keys(a, b), -1) << "byte " << i;
    }
}

TEST(NlriCompare, TheRdDecidesBeforeTheFields)
{
    for (const NlriCase &row : one_of_each()) {
        SCOPED_TRACE(row);
        QEL_NGMVPN_KEY_S low = row.key;
        low.stRd = rd0(1, 1);
        std::memset(&low.uKey, 0xff, sizeof(low.uKey));
        QEL_NGMVPN_KEY_S high = empty_key(row.key.uiKeyType, rd0(1, 2));
        EXPECT_EQ(cmp_keys(low, high), -1);
        low.ucRdKind = 1;
        high.stRd = rd0(1, 0);
        EXPECT_EQ(cmp_keys(low, high), -1) << "kind 1 stands before kind 2";
        high.ucRdKind = 1;
        EXPECT_EQ(cmp_keys(low, high), 1) << "with kind 1 on both sides the fields decide";
    }
}

// A field of a key: where it stands, how many bytes it has, and whether it is a number or bytes.
struct Field {
    std::size_t offset;
    std::size_t size;
    bool number;
};

struct Sequence {
    std::uint32_t key_type;
    int32_t (*step)(const QEL_NGMVPN_KEY_AT_S *, const QEL_NGMVPN_KEY_AT_S *);
    std::vector<Field> fields;
};

const std::vector<Sequence> &sequences()
{
    static const std::vector<Sequence> out{
        {1, QEL_NGMVPN_CmpIntraIpmsiAdKey, {{8, 1, true}, {12, 16, false}}},
        {2, QEL_NGMVPN_CmpInterIpmsiAdKey, {{4, 4, true}}},
        {3,
         QEL_NGMVPN_CmpSpmsiAdKey,
         {{4, 1, true}, {8, 16, false}, {24, 1, true}, {28, 16, false}, {48, 1, true}, {52, 16, false}}},
        {4, QEL_NGMVPN_CmpIpmsiLeafAdKey, {{12, 1, true}, {16, 16, false}, {32, 1, true}, {36, 16, false}}},
        {5,
         QEL_NGMVPN_CmpSpmsiLeafAdKey,
         {{4, 1, true},
          {8, 16, false},
          {24, 1, true},
          {28, 16, false},
          {52, 1, true},
          {56, 16, false},
          {72, 1, true},
          {76, 16, false}}},
        {6, QEL_NGMVPN_CmpSourceActiveAdKey, {{4, 1, true}, {8, 16, false}, {24, 1, true}, {28, 16, false}}},
        {7,
         QEL_NGMVPN_CmpCMulticastRouteKey,
         {{4, 4, true}, {8, 1, true}, {12, 16, false}, {28, 1, true}, {32, 16, false}}},
        {8,
         QEL_NGMVPN_CmpCMulticastRouteKey,
         {{4, 4, true}, {8, 1, true}, {12, 16, false}, {28, 1, true}, {32, 16, false}}},
    };
    return out;
}

// Two records that are alike up to `fields[at]`, where byte `byte` differs, and in all fields behind it the other way.
std::pair<Bytes, Bytes> differing(Bytes base, const std::vector<Field> &fields, std::size_t at, std::size_t byte)
{
    Bytes low = base;
    Bytes high = std::move(base);
    const Field &field = fields[at];
    low[field.offset + byte] = 0x7f;
    high[field.offset + byte] = 0x80;
    for (std::size_t other = 0; other < field.size; ++other) {
        // A number's bytes weigh more towards the end, bytes more towards the start.
        if (field.number ? other < byte : other > byte) {
            low[field.offset + other] = 0xff;
        }
    }
    for (std::size_t behind = at + 1; behind < fields.size(); ++behind) {
        std::fill_n(low.begin() + static_cast<std::ptrdiff_t>(fields[behind].offset), fields[behind].size, 0xff);
    }
    return {low, high};
}

TEST(NlriCompare, EveryFieldOfAKeyDecidesInItsTurn)
{
    for (const Sequence &sequence : sequences()) {
        for (std::size_t at = 0; at < sequence.fields.size(); ++at) {
            for (std::size_t byte = 0; byte < sequence.fields[at].size; ++byte) {
                SCOPED_TRACE("key type " + std::to_string(sequence.key_type) + " offset " +
                             std::to_string(sequence.fields[at].offset + byte));
                const auto [low, high] =
                    differing(bytes_of(empty_key(sequence.key_type, rd_a())), sequence.fields, at, byte);
                EXPECT_EQ(cmp(QEL_NGMVPN_CmpKey, low, high), -1);
                EXPECT_EQ(cmp(QEL_NGMVPN_CmpKey, high, low), 1);
                const ExactCopy odd_low(Bytes(1) + low);
                const ExactCopy odd_high(Bytes(3) + high);
                const auto *a = reinterpret_cast<const QEL_NGMVPN_KEY_AT_S *>(odd_low.data() + 1);
                const auto *b = reinterpret_cast<const QEL_NGMVPN_KEY_AT_S *>(odd_high.data() + 3);
                EXPECT_EQ(sequence.step(a, b), -1);
                EXPECT_EQ(sequence.step(b, a), 1);
                EXPECT_EQ(sequence.step(a, a), 0);
            }
        }
    }
}

TEST(NlriCompare, NothingElseOfAKeyTakesPart)
{
    for (const Sequence &sequence : sequences()) {
        std::vector<bool> counts(kKeyLen, false);
        for (const Field &field : sequence.fields) {
            std::fill_n(counts.begin() + static_cast<std::ptrdiff_t>(field.offset), field.size, true);
        }
        for (std::size_t i = 4; i < 92; ++i) { // between the type and the RD
            const Bytes a = bytes_of(empty_key(sequence.key_type, rd_a()));
            Bytes b = a;
            b[i] = 1;
            EXPECT_EQ(cmp(QEL_NGMVPN_CmpKey, a, b), counts[i] ? -1 : 0) << sequence.key_type << " offset " << i;
        }
        for (std::size_t i = 101; i < kKeyLen; ++i) { // behind the RD kind
            const Bytes a = bytes_of(empty_key(sequence.key_type, rd_a()));
            Bytes b = a;
            b[i] = 1;
            EXPECT_EQ(cmp(QEL_NGMVPN_CmpKey, a, b), 0) << sequence.key_type << " offset " << i;
        }
    }
}

TEST(NlriCompare, KeysThatDifferInTheirAddressFamilyAloneAreEqual)
{
    EXPECT_EQ(cmp_keys(spmsi_key(rd_a(), 0, none(), none(), o4()), spmsi_key(rd_a(), 1, none(), none(), o4())), 0);
    EXPECT_EQ(cmp_keys(spmsi_leaf_key(rd_a(), 2, none(), none(), o6(), l6()),
                       spmsi_leaf_key(rd_a(), 0, none(), none(), o6(), l6())),
              0);
}

TEST(NlriCompare, Ipv4AddressesCompareByTheirMemoryBytes)
{
    // 10.0.0.2 lies as 02 00 00 0a and 11.0.0.1 as 01 00 00 0b.
    EXPECT_EQ(cmp_keys(intra_key(rd_a(), v4(0x0a000002)), intra_key(rd_a(), v4(0x0b000001))), 1);
}

TEST(NlriCompare, AShorterAddressStandsFirstWhateverItHolds)
{
    EXPECT_EQ(cmp_keys(intra_key(rd_a(), v4(0xffffffff)), intra_key(rd_a(), v6(kZero16))), -1);
    EXPECT_EQ(cmp_keys(source_active_key(rd_a(), none(), g6()), source_active_key(rd_a(), s4(), g4())), -1);
}

TEST(NlriCompare, RandomKeysAreOrderedAntisymmetricallyAndTransitively)
{
    std::mt19937 random(4711);
    std::vector<Bytes> keys;
    for (int i = 0; i < 60; ++i) {
        Bytes key(kKeyLen);
        for (std::uint8_t &octet : key) {
            octet = random() % 4 == 0 ? static_cast<std::uint8_t>(random() % 3 * 100) : std::uint8_t{0};
        }
        const auto type = static_cast<std::uint32_t>(random() % 4 + 3);
        std::memcpy(key.data(), &type, sizeof(type));
        key[100] = 2;
        keys.push_back(key);
    }
    for (const Bytes &a : keys) {
        for (const Bytes &b : keys) {
            const std::int32_t ab = cmp(QEL_NGMVPN_CmpKey, a, b);
            ASSERT_TRUE(ab >= -1 && ab <= 1);
            for (const Bytes &c : keys) {
                if (ab <= 0 && QEL_NGMVPN_CmpKey(b.data(), kKeyLen, c.data(), kKeyLen) <= 0) {
                    ASSERT_LE(QEL_NGMVPN_CmpKey(a.data(), kKeyLen, c.data(), kKeyLen), 0);
                }
            }
        }
    }
}

// --- non-keys
// ---------------------------------------------------------------------------------------------------------------

const std::vector<Field> kNonKeyFields{{4, 4, true},  {2, 2, true},   {12, 16, false},
                                       {28, 4, true}, {32, 8, false}, {40, 60, false}};

TEST(NlriCompare, EveryFieldOfANonKeyDecidesInItsTurn)
{
    for (std::size_t at = 0; at < kNonKeyFields.size(); ++at) {
        for (std::size_t byte = 0; byte < kNonKeyFields[at].size; ++byte) {
            const auto [low, high] = differing(Bytes(kNonKeyLen), kNonKeyFields, at, byte);
            SCOPED_TRACE("offset " + std::to_string(kNonKeyFields[at].offset + byte));
            EXPECT_EQ(cmp(QEL_NGMVPN_CmpNonKey, low, high), -1);
            EXPECT_EQ(cmp(QEL_NGMVPN_CmpNonKey, high, low), 1);
        }
    }
}

TEST(NlriCompare, TheFlagsOfANonKeyTakeNoPart)
{
    auto a = zeroed<QEL_NGMVPN_NONKEY_S>();
    auto b = zeroed<QEL_NGMVPN_NONKEY_S>();
    b.usFlags = 0xffff;
    EXPECT_EQ(cmp_nonkeys(a, b), 0);
    b.uiReserved8 = 0xffffffff;
    EXPECT_EQ(cmp_nonkeys(a, b), 0);
    a.aucEmbeddedKey[59] = 1;
    EXPECT_EQ(cmp_nonkeys(a, b), 1);
}

// --- attributes
// ---------------------------------------------------------------------------------------------------------------

TEST(NlriCompare, TheShorterAttributeIsSmallerWhateverItHolds)
{
    EXPECT_EQ(cmp(QEL_NGMVPN_CmpAttr, bytes("ffffff"), bytes("00000000")), -1);
    EXPECT_EQ(cmp(QEL_NGMVPN_CmpAttr, bytes("00000000"), bytes("ffffff")), 1);
    EXPECT_EQ(cmp(QEL_NGMVPN_CmpAttr, Bytes{}, bytes("00")), -1);
}

TEST(NlriCompare, AttributesOfOneLengthCompareByByte)
{
    EXPECT_EQ(cmp(QEL_NGMVPN_CmpAttr, bytes("01020304"), bytes("01020304")), 0);
    EXPECT_EQ(cmp(QEL_NGMVPN_CmpAttr, bytes("0102ff04"), bytes("01030004")), -1);
    EXPECT_EQ(cmp(QEL_NGMVPN_CmpAttr, bytes("80"), bytes("7f")), 1);
    EXPECT_EQ(cmp(QEL_NGMVPN_CmpAttr, bytes("0102030405060709"), bytes("0102030405060708")), 1);
    EXPECT_EQ(cmp(QEL_NGMVPN_CmpAttr, Bytes{}, Bytes{}), 0);
}

TEST(NlriCompare, NullAttributesAreRefusedWithOneReport)
{
    const Bytes area(8);
    for (int missing = 1; missing <= 3; ++missing) {
        const void *a = (missing & 1) != 0 ? nullptr : area.data();
        const void *b = (missing & 2) != 0 ? nullptr : area.data();
        {
            const platform::Recorder recorder;
            expect_failed(QEL_NGMVPN_CmpAttr(a, 8, b, 8), recorder);
        }
        {
            const platform::Recorder recorder;
            expect_failed(QEL_NGMVPN_CmpAttr(a, 4, b, 8), recorder);
        }
        {
            const platform::Recorder recorder;
            expect_failed(QEL_NGMVPN_CmpAttrNew(a, 8, b, 8, 8, 16), recorder);
        }
        {
            const platform::Recorder recorder;
            expect_failed(QEL_NGMVPN_CmpAttrNew(a, 8, b, 8, 8, 243), recorder);
        }
    }
}

// An import attribute record: the key, the policy id at offset 104, and the rest up to the fixed size of 152.
Bytes import_record(const QEL_NGMVPN_KEY_S &key, std::uint32_t policy_id, std::uint8_t rest)
{
    Bytes out = bytes_of(key);
    out.resize(152, rest);
    std::memcpy(out.data() + 104, &policy_id, sizeof(policy_id));
    return out;
}

TEST(NlriCompare, AttributeType243ComparesImportRecordsByKeyRdAndPolicy)
{
    QEL_NGMVPN_KEY_S key = spmsi_key(rd_a(), 1, s4(), g4(), o4());
    QEL_NGMVPN_KEY_S other_key = spmsi_key(rd_a(), 1, s4(), v4(0xef010204), o4());
    QEL_NGMVPN_KEY_S blind_key = key; // kind 1: the key's compare does not look at the RD
    blind_key.ucRdKind = 1;
    QEL_NGMVPN_KEY_S blind_other = blind_key;
    blind_other.stRd = rd0(100, 2);
    struct Row {
        Bytes a;
        Bytes b;
        std::int32_t result;
    };
    const Row rows[] = {
        {import_record(key, 5, 0), import_record(key, 5, 0xff), 0},
        {import_record(key, 5, 0xff), import_record(key, 6, 0), -1},
        {import_record(key, 0xffffffff, 0), import_record(key, 6, 0), 1},
        {import_record(key, 9, 0), import_record(other_key, 6, 0), -1},
        {import_record(blind_key, 9, 0), import_record(blind_other, 6, 0), -1},
        {import_record(blind_other, 6, 0), import_record(blind_key, 9, 0), 1},
    };
    for (const Row &row : rows) {
        const ExactCopy a(row.a);
        const ExactCopy b(row.b);
        const platform::Recorder recorder;
        EXPECT_EQ(QEL_NGMVPN_CmpAttrNew(a.data(), a.size(), b.data(), b.size(), 8, 243), row.result);
        EXPECT_EQ(QEL_NGMVPN_CmpAttrNew(b.data(), b.size(), a.data(), a.size(), 8, 243), -row.result);
        EXPECT_TRUE(recorder.asserts().empty());
    }
}

TEST(NlriCompare, AttributeType243IgnoresTheLengthOfB)
{
    const QEL_NGMVPN_KEY_S key = intra_key(rd_a(), o4());
    const ExactCopy a(import_record(key, 5, 0));
    const ExactCopy b(import_record(key, 5, 1));
    for (const std::uint32_t length : {0U, 1U, 151U, 152U, 153U, 0xffffffffU}) {
        EXPECT_EQ(QEL_NGMVPN_CmpAttrNew(a.data(), a.size(), b.data(), length, 8, 243), 0);
        EXPECT_EQ(QEL_NGMVPN_CmpAttrNew(a.data(), a.size(), b.data(), length, 8, 243),
                  QEL_NGMVPN_CmpImportAttr(a.data(), a.size(), b.data()));
    }
    EXPECT_EQ(QEL_NGMVPN_CmpAttrNew(a.data(), a.size(), b.data(), 151, 8, 22), 1);
    EXPECT_EQ(QEL_NGMVPN_CmpAttrNew(a.data(), a.size(), b.data(), 152, 8, 22), -1);
}

TEST(NlriCompare, EveryOtherAttributeTypeComparesAsAnAttribute)
{
    const Bytes a = bytes("010203");
    const Bytes b = bytes("01020300");
    for (const std::uint32_t type : {0U, 16U, 22U, 25U, 40U, 66U, 242U, 244U, 499U, 0xffffffffU}) {
        for (const std::uint32_t cmp_type : {0U, 8U, 243U}) {
            EXPECT_EQ(QEL_NGMVPN_CmpAttrNew(a.data(), 3, b.data(), 4, cmp_type, type), -1);
            EXPECT_EQ(QEL_NGMVPN_CmpAttrNew(b.data(), 4, a.data(), 3, cmp_type, type), 1);
            EXPECT_EQ(QEL_NGMVPN_CmpAttrNew(a.data(), 3, b.data(), 3, cmp_type, type), 0);
        }
    }
}

// --- the doors of the descriptor
// ----------------------------------------------------------------------------------------

TEST(NlriCompare, TheAttributeFormsHandOnTheirFirstFourArguments)
{
    using CmpForAttr = int32_t (*)(const void *, uint32_t, const void *, uint32_t, uint32_t, uint32_t);
    struct Row {
        Cmp plain;
        CmpForAttr attr;
        std::uint32_t size;
    };
    for (const Row &row :
         {Row{QEL_NGMVPN_CmpRd, QEL_NGMVPN_CmpRdAttr, 8}, Row{QEL_NGMVPN_CmpKey, QEL_NGMVPN_CmpKeyAttr, kKeyLen},
          Row{QEL_NGMVPN_CmpNonKey, QEL_NGMVPN_CmpNonKeyAttr, kNonKeyLen}}) {
        const Bytes low(row.size, 1);
        const Bytes high(row.size, 2);
        for (const std::uint32_t any : {0U, 1U, 8U, 243U}) {
            EXPECT_EQ(row.attr(low.data(), row.size, high.data(), row.size, any, any), -1);
            EXPECT_EQ(row.attr(high.data(), row.size, low.data(), row.size, any, any), 1);
            EXPECT_EQ(row.attr(low.data(), row.size, low.data(), row.size, any, 243), 0);
        }
        {
            const platform::Recorder recorder;
            expect_failed(row.attr(low.data(), row.size - 1, high.data(), row.size, 0, 0), recorder);
        }
        {
            const platform::Recorder recorder;
            expect_failed(row.attr(low.data(), row.size, high.data(), row.size + 1, 0, 0), recorder);
        }
        const platform::Recorder recorder;
        expect_failed(row.attr(nullptr, row.size, high.data(), row.size, 0, 0), recorder);
    }
}

TEST(NlriCompare, TheDescriptorReachesEachCompareByItsType)
{
    const NgmvpnInstance instance(kMvpn4);
    const QEL_NGMVPN_KEY_S key = intra_key(rd_a(), o4());
    struct Row {
        std::uint32_t type;
        Bytes low;
        Bytes high;
    };
    Bytes low_nonkey(kNonKeyLen);
    Bytes high_nonkey = low_nonkey;
    low_nonkey[0] = 1;
    high_nonkey[40] = 1;
    const Row rows[] = {
        {1, bytes("ffffff0000000000"), bytes("0000000100000000")},
        {2, bytes_of(key), bytes_of(inter_key(rd_a(), 0))},
        {4, low_nonkey, high_nonkey},
        {8, bytes("ffffff"), bytes("00000000")},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.type);
        const auto low_size = static_cast<std::uint32_t>(row.low.size());
        const auto high_size = static_cast<std::uint32_t>(row.high.size());
        const QEL_FAMILY_DESC_S &desc = instance.desc;
        EXPECT_EQ(desc.pfCmpData(row.low.data(), low_size, row.high.data(), high_size, row.type), -1);
        EXPECT_EQ(desc.pfCmpData(row.high.data(), high_size, row.low.data(), low_size, row.type), 1);
        EXPECT_EQ(desc.pfCmpDataForAttrType(row.low.data(), low_size, row.high.data(), high_size, row.type, 16), -1);
        EXPECT_EQ(desc.pfCmpDataForAttrType(row.high.data(), high_size, row.low.data(), low_size, row.type, 16), 1);
    }
    const Bytes a = import_record(key, 5, 0xff);
    const Bytes b = import_record(key, 5, 0);
    EXPECT_EQ(instance.desc.pfCmpDataForAttrType(a.data(), 152, b.data(), 152, 8, 243), 0);
    EXPECT_EQ(instance.desc.pfCmpData(a.data(), 152, b.data(), 152, 8), 1);
}

} // namespace
} // namespace qel::test
