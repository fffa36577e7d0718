// Extended communities (attribute 16) and IPv6 address specific ones (attribute 25): byte order, order, lists.
#include "attribute_cases.h"

#include "dirty_heap.h"
#include "exchange_sort.h"

#include <algorithm>
#include <array>
#include <functional>
#include <random>
#include <set>

namespace qel::test {
namespace {

constexpr std::uint32_t kEmpty = 0x20001;
constexpr std::uint32_t kBadLength = 0x30009;
constexpr std::uint32_t kAllTypes = 65536;

Bytes type_octets(std::uint32_t type) // as on the wire
{
    return {static_cast<std::uint8_t>(type >> 8), static_cast<std::uint8_t>(type & 0xff)};
}

// --- byte order -----------------------------------------------------------------------------------------------------

enum class Value { stays, as2, ip4 };

Value value_of_list(std::uint32_t type)
{
    return type == 0x0002 || type == 0x0009 ? Value::as2 : Value::ip4;
}

Value value_of_rt(std::uint32_t type)
{
    switch (type) {
    case 0x0002:
        return Value::as2;
    case 0x0102:
    case 0x0202:
    case 0x010a:
    case 0x010b:
    case 0xffff:
        return Value::ip4;
    default:
        return Value::stays;
    }
}

Bytes swapped_value(Value how, const Bytes &value)
{
    switch (how) {
    case Value::as2:
        return reversed(value, 0, 2) + reversed(value, 2, 4);
    case Value::ip4:
        return reversed(value, 0, 4) + reversed(value, 4, 2);
    default:
        return value;
    }
}

const Bytes kValue = bytes("a0a1a2a3a4a5");
const Bytes kValue6 = bytes("a0a1a2a3 b0b1b2b3 c0c1c2c3 d0d1d2d3 e0e1");

Bytes swapped_value6(const Bytes &value)
{
    Bytes out;
    for (std::size_t word = 0; word < 16; word += 4) {
        out = out + reversed(value, word, 4);
    }
    return out + reversed(value, 16, 2);
}

const std::set<std::uint32_t> kSwapped6{0x000b, 0x0002, 0x0102, 0x010a, 0x010b, 0xffff};

Bytes host_order(const Bytes &element) // of a list element on the wire
{
    const std::uint32_t type = be16(element, 0);
    const Bytes value = slice(element, 2, element.size() - 2);
    if (element.size() == 8) {
        return reversed(element, 0, 2) + swapped_value(value_of_list(type), value);
    }
    return reversed(element, 0, 2) + (kSwapped6.contains(type) ? swapped_value6(value) : value);
}

// Every type once with the same value, on the wire.
Bytes every_type(const Bytes &value)
{
    Bytes out;
    out.reserve(kAllTypes * (value.size() + 2));
    for (std::uint32_t type = 0; type < kAllTypes; ++type) {
        const Bytes octets = type_octets(type);
        out.insert(out.end(), octets.begin(), octets.end());
        out.insert(out.end(), value.begin(), value.end());
    }
    return out;
}

Bytes every_type_in_host_order(const Bytes &value)
{
    Bytes out;
    out.reserve(kAllTypes * (value.size() + 2));
    for (std::uint32_t type = 0; type < kAllTypes; ++type) {
        const Bytes element = host_order(type_octets(type) + value);
        out.insert(out.end(), element.begin(), element.end());
    }
    return out;
}

TEST(ExtCommByteOrder, TheListConversionSwapsEveryTypeAndKnowsTwoExceptions)
{
    const Bytes wire = every_type(kValue);
    OddBytes list(wire);
    QEL_NGMVPN_ConvertExtCommunityNTOH(list.as<QEL_EXTCOMM_S>(), kAllTypes);
    EXPECT_TRUE(list.bytes() == every_type_in_host_order(kValue));
    QEL_NGMVPN_ConvertExtCommunityHTON(list.as<QEL_EXTCOMM_S>(), kAllTypes);
    EXPECT_TRUE(list.bytes() == wire);
}

TEST(ExtCommByteOrder, TheIpv6ListConversionSwapsTheValueOfSixTypes)
{
    const Bytes wire = every_type(kValue6);
    OddBytes list(wire);
    QEL_NGMVPN_ConvertIPv6ExtCommunityNTOH(list.as<QEL_IPV6_EXTCOMM_S>(), kAllTypes);
    EXPECT_TRUE(list.bytes() == every_type_in_host_order(kValue6));
    QEL_NGMVPN_ConvertIPv6ExtCommunityHTON(list.as<QEL_IPV6_EXTCOMM_S>(), kAllTypes);
    EXPECT_TRUE(list.bytes() == wire);
}

TEST(ExtCommByteOrder, FieldsOfBothLayouts)
{
    OddBytes list(bytes("0002 fde9 00000064  0202 00010203 0007"));
    QEL_NGMVPN_ConvertExtCommunityNTOH(list.as<QEL_EXTCOMM_S>(), 2);
    std::array<QEL_EXTCOMM_S, 2> got{};
    std::memcpy(got.data(), list.data(), sizeof(got));
    EXPECT_EQ(got[0].usType, 0x0002);
    EXPECT_EQ(got[0].usGlobalAdmin, 65001);
    EXPECT_EQ(QEL_EXTCOMM_S{got[0]}.uiLocalAdmin + 0, 100U);
    EXPECT_EQ(got[1].usType, 0x0202);
    EXPECT_EQ(QEL_EXTCOMM_S{got[1]}.uiGlobalAdmin + 0, 66051U);
    EXPECT_EQ(got[1].usLocalAdmin, 7);
}

TEST(ExtCommByteOrder, TheConversionsStopAtTheCount)
{
    const Bytes list = bytes("0002 fde9 00000064  0202 00010203 0007  0009 1122 33445566");
    const Bytes list6 = bytes("000b") + kValue6 + bytes("0002") + kValue6;
    const auto convert = [](auto conversion, const Bytes &wire, std::uint32_t count) {
        OddBytes copy(wire);
        conversion(copy.template as<QEL_EXTCOMM_S>(), count);
        return copy.hex();
    };
    const auto convert6 = [](auto conversion, const Bytes &wire, std::uint32_t count) {
        OddBytes copy(wire);
        conversion(copy.template as<QEL_IPV6_EXTCOMM_S>(), count);
        return copy.hex();
    };
    for (std::uint32_t count = 0; count <= 2; ++count) {
        SCOPED_TRACE(count);
        const std::string rest = hex(list).substr(count * 16);
        EXPECT_EQ(convert(QEL_NGMVPN_ConvertExtCommunityNTOH, list, count).substr(count * 16), rest);
        EXPECT_EQ(convert(QEL_NGMVPN_ConvertExtCommunityHTON, list, count).substr(count * 16), rest);
    }
    for (std::uint32_t count = 0; count <= 1; ++count) {
        SCOPED_TRACE(count);
        const std::string rest = hex(list6).substr(count * 40);
        EXPECT_EQ(convert6(QEL_NGMVPN_ConvertIPv6ExtCommunityNTOH, list6, count).substr(count * 40), rest);
        EXPECT_EQ(convert6(QEL_NGMVPN_ConvertIPv6ExtCommunityHTON, list6, count).substr(count * 40), rest);
    }
}

TEST(ExtCommByteOrder, AListThatIsMissingIsReportedOnce)
{
    platform::Recorder recorder;
    const auto expect_one_report = [&] {
        EXPECT_EQ(recorder.asserts().size(), 1U);
        recorder.clear();
    };
    for (const std::uint32_t count : {0U, 3U}) {
        QEL_NGMVPN_ConvertExtCommunityNTOH(nullptr, count);
        expect_one_report();
        QEL_NGMVPN_ConvertExtCommunityHTON(nullptr, count);
        expect_one_report();
        QEL_NGMVPN_ConvertIPv6ExtCommunityNTOH(nullptr, count);
        expect_one_report();
        QEL_NGMVPN_ConvertIPv6ExtCommunityHTON(nullptr, count);
        expect_one_report();
    }
}

TEST(ExtCommByteOrder, ASingleRouteTargetIsSwappedByItsOwnList)
{
    const platform::Recorder recorder;
    for (std::uint32_t type = 0; type < kAllTypes; ++type) {
        const Bytes host_type = reversed(type_octets(type), 0, 2);
        OddBytes whole(host_type + kValue);
        QEL_NGMVPN_ConvertRTValueHTON(whole.as<QEL_EXTCOMM_S>(), 8);
        ASSERT_EQ(whole.bytes(), type_octets(type) + swapped_value(value_of_rt(type), kValue)) << type;
        OddBytes value(bytes("1234") + kValue); // the type word of the element is not looked at
        QEL_NGMVPN_ConvertRtValuebyType(type, value.as<QEL_EXTCOMM_S>());
        ASSERT_EQ(value.bytes(), bytes("1234") + swapped_value(value_of_rt(type), kValue)) << type;
    }
    EXPECT_TRUE(recorder.asserts().empty());
}

TEST(ExtCommByteOrder, ASingleIpv6RouteTargetIsSwappedByTheListsOwnRule)
{
    const platform::Recorder recorder;
    for (std::uint32_t type = 0; type < kAllTypes; ++type) {
        const Bytes wire = type_octets(type) + kValue6;
        OddBytes element(wire);
        QEL_NGMVPN_ConvertIPv6RTValueNTOH(element.as<QEL_IPV6_EXTCOMM_S>());
        ASSERT_EQ(element.bytes(), host_order(wire)) << type;
        QEL_NGMVPN_ConvertIPv6RTValueHTON(element.as<QEL_IPV6_EXTCOMM_S>(), 20);
        ASSERT_EQ(element.bytes(), wire) << type;
    }
    EXPECT_TRUE(recorder.asserts().empty());
}

// kept: the list conversion and the conversion of a single route target agree on six types alone
TEST(ExtCommByteOrder, TheTwoTablesDisagreeOnAllButSixTypes)
{
    OddBytes list(every_type_in_host_order(kValue));
    QEL_NGMVPN_ConvertExtCommunityHTON(list.as<QEL_EXTCOMM_S>(), kAllTypes);
    std::set<std::uint32_t> agreed;
    for (std::uint32_t type = 0; type < kAllTypes; ++type) {
        OddBytes single(host_order(type_octets(type) + kValue));
        QEL_NGMVPN_ConvertRTValueHTON(single.as<QEL_EXTCOMM_S>(), 8);
        if (std::memcmp(single.data(), list.data() + type * 8, 8) == 0) {
            agreed.insert(type);
        }
    }
    EXPECT_EQ(agreed, (std::set<std::uint32_t>{0x0002, 0x0102, 0x0202, 0x010a, 0x010b, 0xffff}));
}

// kept: Source AS is swapped in a list and left alone as a single route target
TEST(ExtCommByteOrder, SourceAsIsSwappedByTheListConversionAlone)
{
    OddBytes in_list(bytes("0900 a0a1a2a3a4a5"));
    QEL_NGMVPN_ConvertExtCommunityHTON(in_list.as<QEL_EXTCOMM_S>(), 1);
    EXPECT_EQ(in_list.hex(), "0009a1a0a5a4a3a2");
    OddBytes single(bytes("0900 a0a1a2a3a4a5"));
    QEL_NGMVPN_ConvertRTValueHTON(single.as<QEL_EXTCOMM_S>(), 8);
    EXPECT_EQ(single.hex(), "0009a0a1a2a3a4a5");
}

TEST(ExtCommByteOrder, ASingleRouteTargetNeedsItsEightBytes)
{
    for (std::uint32_t size = 0; size <= 24; ++size) {
        SCOPED_TRACE(size);
        OddBytes rt(bytes("0200 a0a1a2a3a4a5"));
        OddBytes rt6(bytes("0200") + kValue6);
        const platform::Recorder recorder;
        QEL_NGMVPN_ConvertRTValueHTON(rt.as<QEL_EXTCOMM_S>(), size);
        EXPECT_EQ(rt.hex(), size < 8 ? "0200a0a1a2a3a4a5" : "0002a1a0a5a4a3a2");
        EXPECT_EQ(recorder.asserts().size(), size < 8 ? 1U : 0U);
        QEL_NGMVPN_ConvertIPv6RTValueHTON(rt6.as<QEL_IPV6_EXTCOMM_S>(), size);
        EXPECT_EQ(rt6.bytes(), size < 20 ? bytes("0200") + kValue6 : bytes("0002") + swapped_value6(kValue6));
        EXPECT_EQ(recorder.asserts().size(), (size < 8 ? 1U : 0U) + (size < 20 ? 1U : 0U));
    }
}

// --- order ----------------------------------------------------------------------------------------------------------

using Compare = decltype(&QEL_NGMVPN_CmpExtCommunity);

std::uint32_t le(const Bytes &from, std::size_t at, std::size_t count)
{
    std::uint32_t out = 0;
    for (std::size_t i = count; i-- > 0;) {
        out = out << 8 | from[at + i];
    }
    return out;
}

using Fields = std::vector<std::uint32_t>;

// The fields of a host-order element in the order of their weight.
Fields weighed(const Bytes &element)
{
    const Fields head{element[0], element[1]};
    if (element.size() == 8) {
        const bool ip4 = element[1] == 1 || element[1] == 2;
        return ip4 ? Fields{head[0], head[1], le(element, 2, 4), le(element, 6, 2)}
                   : Fields{head[0], head[1], le(element, 2, 2), le(element, 4, 4)};
    }
    Fields out = head;
    if (element[1] <= 1 && (element[0] == 2 || element[0] == 11)) {
        for (std::size_t at = 2; at < 18; at += 4) {
            out.push_back(le(element, at, 4));
        }
        out.push_back(le(element, 18, 2));
    } else {
        out.insert(out.end(), element.begin() + 2, element.end());
    }
    return out;
}

int order(const Bytes &left, const Bytes &right)
{
    const auto way = weighed(left) <=> weighed(right);
    return way < 0 ? -1 : way > 0 ? 1 : 0;
}

int compare(const Bytes &left, const Bytes &right)
{
    const OddBytes a(left);
    const OddBytes b(right);
    const auto with = left.size() == 8 ? QEL_NGMVPN_CmpExtCommunity : QEL_NGMVPN_CmpIPv6ExtCommunity;
    return with(a.data(), a.size(), b.data(), b.size());
}

int compare(std::string_view left, std::string_view right)
{
    return compare(bytes(left), bytes(right));
}

// A pair and its mirror.
void expect_less(std::string_view left, std::string_view right)
{
    SCOPED_TRACE(std::string(left) + " < " + std::string(right));
    EXPECT_EQ(compare(left, right), -1);
    EXPECT_EQ(compare(right, left), 1);
    EXPECT_EQ(compare(left, left), 0);
    EXPECT_EQ(compare(right, right), 0);
}

// Elements are given as they lie in memory: sub-type, type, words in little-endian order.
TEST(ExtCommOrder, SubTypeThenTypeThenTheValueUnsigned)
{
    expect_less("0200 ffff ffffffff", "0300 0000 00000000");
    expect_less("02ff ffff ffffffff", "0300 0000 00000000");
    expect_less("7f00 0000 00000000", "8000 0000 00000000");
    expect_less("0200 ffff ffffffff", "0201 00000000 0000");
    expect_less("027f 0000 00000000", "0280 0000 00000000");
    expect_less("0200 0100 ffffffff", "0200 0200 00000000");
    expect_less("0200 ff00 00000000", "0200 0001 00000000");
    expect_less("0200 ff7f ffffffff", "0200 0080 00000000");
    expect_less("0200 0100 01000000", "0200 0100 02000000");
    expect_less("0200 0100 ff000000", "0200 0100 00010000");
    expect_less("0200 0100 ffffff7f", "0200 0100 00000080");
    expect_less("0201 01000000 ffff", "0201 02000000 0000");
    expect_less("0201 ffffff7f ffff", "0201 00000080 0000");
    expect_less("0201 01000000 0100", "0201 01000000 0200");
    expect_less("0201 01000000 ff00", "0201 01000000 0001");
    expect_less("0202 01000000 ff7f", "0202 01000000 0080");
}

TEST(ExtCommOrder, TypesStandInTheirOrder)
{
    const std::array<std::string, 8> in_order{"0200", "0201", "0202", "0900", "0a01", "0b01", "1201", "1202"};
    for (std::size_t i = 0; i < in_order.size(); ++i) {
        for (std::size_t j = i + 1; j < in_order.size(); ++j) {
            expect_less(in_order[i] + "ffffffffffff", in_order[j] + "000000000000");
        }
    }
}

TEST(ExtCommOrder, HighBytes1And2CompareTheLongFieldFirstAndAllOthersTheShortOne)
{
    for (std::uint32_t type = 0; type < kAllTypes; ++type) {
        const Bytes words = reversed(type_octets(type), 0, 2);
        const bool long_first = (type >> 8) == 1 || (type >> 8) == 2;
        // as 16 and 32 bits the left is lower, as 32 and 16 bits the right
        ASSERT_EQ(compare(words + bytes("0100 0001 0000"), words + bytes("0200 0000 0000")), long_first ? 1 : -1)
            << type;
    }
}

// kept: the list conversion swaps a value of type 0x0302 as 32 and 16 bits, the compare reads it as 16 and 32
TEST(ExtCommOrder, ATypeOf0x0302IsSwappedOneWayAndComparedTheOther)
{
    OddBytes list(bytes("0302 00020001 0000  0302 00010002 0000"));
    QEL_NGMVPN_ConvertExtCommunityNTOH(list.as<QEL_EXTCOMM_S>(), 2);
    EXPECT_EQ(list.hex(), hex_of("0203 01000200 0000  0203 02000100 0000"));
    EXPECT_EQ(QEL_NGMVPN_CmpExtCommunity(list.data(), 8, list.data() + 8, 8), -1) << "131073 below 65538";
}

TEST(ExtCommOrder, Ipv6WordsAreNumbersWhereTheTypeIsKnownAndBytesElsewhere)
{
    for (std::uint32_t type = 0; type < kAllTypes; ++type) {
        const Bytes words = reversed(type_octets(type), 0, 2);
        const std::uint32_t high = type >> 8;
        const std::uint32_t low = type & 0xff;
        const bool numbers = high <= 1 && (low == 2 || low == 11);
        const Bytes rest(14);
        // in host order the first word is 0x01000000 and 2
        ASSERT_EQ(compare(words + bytes("00000001") + rest, words + bytes("02000000") + rest), numbers ? 1 : -1)
            << type;
    }
}

TEST(ExtCommOrder, Ipv6EachWordInItsTurnUnsigned)
{
    for (const std::string head : {"0200", "0b00", "0201", "0b01"}) {
        for (std::size_t word = 0; word < 4; ++word) {
            const std::string same(word * 8, '0');
            const std::string rest((3 - word) * 8, 'f');
            const std::string zero((3 - word) * 8, '0');
            expect_less(head + same + "01000000" + rest + "ffff", head + same + "02000000" + zero + "0000");
            expect_less(head + same + "ffffff7f" + rest + "ffff", head + same + "00000080" + zero + "0000");
            expect_less(head + same + "ff000000" + rest + "ffff", head + same + "00010000" + zero + "0000");
        }
        const std::string addr(32, '7');
        expect_less(head + addr + "0100", head + addr + "0200");
        expect_less(head + addr + "ff00", head + addr + "0001");
        expect_less(head + addr + "ff7f", head + addr + "0080");
    }
    const std::string ones(36, 'f');
    const std::string zeros(36, '0');
    expect_less("0200" + ones, "0300" + zeros);
    expect_less("02ff" + ones, "0300" + zeros);
    expect_less("0200" + ones, "0201" + zeros);
    expect_less("027f" + ones, "0280" + zeros);
}

TEST(ExtCommOrder, Ipv6OfAnyOtherTypeByteByByte)
{
    for (const std::string head : {"0202", "0b02", "0a01", "ffff", "0300"}) {
        for (std::size_t at = 0; at < 18; ++at) {
            const std::string same(at * 2, '5');
            const std::string rest((17 - at) * 2, 'f');
            const std::string zero((17 - at) * 2, '0');
            expect_less(head + same + "7f" + rest, head + same + "80" + zero);
        }
    }
}

// Values of few different octets, so that fields are often equal.
Bytes few_octets(std::mt19937 &random, std::size_t size)
{
    static constexpr std::array<std::uint8_t, 8> kOctets{0, 0, 1, 2, 3, 11, 0x80, 0xff};
    Bytes out(size);
    for (std::uint8_t &octet : out) {
        octet = kOctets[random() % kOctets.size()];
    }
    return out;
}

TEST(ExtCommOrder, IsThatOfTheWeighedFields)
{
    std::mt19937 random(20240117);
    for (const std::size_t size : {8U, 20U}) {
        for (int turn = 0; turn < 40000; ++turn) {
            const Bytes left = few_octets(random, size);
            Bytes right = left;
            const std::size_t from = random() % (size + 1);
            const Bytes other = few_octets(random, size);
            std::copy(other.begin() + static_cast<std::ptrdiff_t>(from), other.end(),
                      right.begin() + static_cast<std::ptrdiff_t>(from));
            ASSERT_EQ(compare(left, right), order(left, right)) << hex(left) << " " << hex(right);
        }
    }
}

TEST(ExtCommOrder, IsRefusedWithoutTwoWholeElements)
{
    const struct {
        Compare compare;
        std::uint32_t size;
    } rows[] = {{QEL_NGMVPN_CmpExtCommunity, 8}, {QEL_NGMVPN_CmpIPv6ExtCommunity, 20}};
    for (const auto &row : rows) {
        const Bytes left(row.size, 1);
        const Bytes right(row.size, 2);
        platform::Recorder recorder;
        const auto refused = [&](const void *a, std::uint32_t len_a, const void *b, std::uint32_t len_b) {
            recorder.clear();
            EXPECT_EQ(row.compare(a, len_a, b, len_b), -2) << len_a << " " << len_b;
            ASSERT_EQ(recorder.asserts().size(), 1U);
            EXPECT_NE(recorder.asserts()[0].file.find("qel_ngmvpn_"), std::string::npos);
        };
        refused(nullptr, row.size, right.data(), row.size);
        refused(left.data(), row.size, nullptr, row.size);
        refused(nullptr, 0, nullptr, 0);
        for (std::uint32_t size = 0; size < row.size; ++size) {
            refused(left.data(), size, right.data(), row.size);
            refused(left.data(), row.size, right.data(), size);
            refused(left.data(), size, right.data(), size);
        }
        recorder.clear();
        for (const std::uint32_t size : {row.size, row.size + 1, 0xffffffffU}) { // more than one element is enough
            EXPECT_EQ(row.compare(left.data(), size, right.data(), row.size), -1);
            EXPECT_EQ(row.compare(right.data(), row.size, left.data(), size), 1);
        }
        EXPECT_TRUE(recorder.asserts().empty());
    }
}

// --- sort -----------------------------------------------------------------------------------------------------------

// What the compare of a running sort sees and answers. The sort takes a plain function.
struct Watch {
    const std::uint8_t *list = nullptr;
    std::uint32_t size = 0;
    QEL_FAMILY_CTX_S *ctx = nullptr;
    std::function<std::int32_t(const std::uint8_t *, const std::uint8_t *)> answer;
    std::vector<std::pair<std::size_t, std::size_t>> calls{};
    std::uint64_t live_bytes = 0;
    std::uint32_t inline_used = 0;
    bool sizes_right = true;
};
Watch *g_watch = nullptr;

std::int32_t watching_compare(const void *left, std::uint32_t left_len, const void *right, std::uint32_t right_len)
{
    const auto *a = static_cast<const std::uint8_t *>(left);
    const auto *b = static_cast<const std::uint8_t *>(right);
    Watch &watch = *g_watch;
    watch.calls.emplace_back((a - watch.list) / watch.size, (b - watch.list) / watch.size);
    watch.sizes_right = watch.sizes_right && left_len == watch.size && right_len == watch.size &&
                        (a - watch.list) % watch.size == 0 && (b - watch.list) % watch.size == 0;
    watch.live_bytes = platform::usage(kMemHandle).live_bytes;
    watch.inline_used = watch.ctx->uiInlineBufUsed;
    return watch.answer(a, b);
}

class ExtCommSort : public AttributeTest {
protected:
    void SetUp() override { g_watch = &watch_; }
    void TearDown() override
    {
        g_watch = nullptr;
        AttributeTest::TearDown();
    }

    std::uint32_t sort(OddBytes &list, std::uint16_t count, std::uint32_t size)
    {
        watch_.list = list.data();
        watch_.size = size;
        watch_.ctx = ctx_;
        watch_.calls.clear();
        return QEL_NGMVPN_SortExtCommunitys_(list.data(), count, size, watching_compare, ctx_);
    }

    Watch watch_;
};

std::int32_t by_first_octet(const std::uint8_t *a, const std::uint8_t *b)
{
    return *a < *b ? -1 : *a > *b ? 1 : 0;
}

Bytes numbered(std::initializer_list<std::uint8_t> firsts, std::uint32_t size)
{
    Bytes out;
    for (const std::uint8_t first : firsts) {
        Bytes element(size, static_cast<std::uint8_t>(first + 0x40));
        element[0] = first;
        out = out + element;
    }
    return out;
}

TEST_F(ExtCommSort, ComparesEveryPairInTurnAndExchangesInPlace)
{
    const platform::Recorder recorder;
    for (const std::uint32_t size : {1U, 3U, 8U, 20U, 256U, 257U, 300U}) {
        SCOPED_TRACE(size);
        OddBytes list(numbered({5, 3, 4, 1, 3, 2}, size));
        watch_.answer = by_first_octet;
        EXPECT_EQ(sort(list, 6, size), 0U);
        EXPECT_EQ(list.bytes(), numbered({1, 2, 3, 3, 4, 5}, size));
        std::vector<std::pair<std::size_t, std::size_t>> pairs;
        for (std::size_t i = 0; i < 5; ++i) {
            for (std::size_t j = i + 1; j < 6; ++j) {
                pairs.emplace_back(i, j);
            }
        }
        EXPECT_EQ(watch_.calls, pairs);
        EXPECT_TRUE(watch_.sizes_right);
    }
    EXPECT_TRUE(recorder.asserts().empty());
}

TEST_F(ExtCommSort, LeavesWhatStandsBehindTheCount)
{
    OddBytes list(numbered({5, 3, 4, 1}, 8));
    watch_.answer = by_first_octet;
    EXPECT_EQ(sort(list, 2, 8), 0U);
    EXPECT_EQ(list.bytes(), numbered({3, 5, 4, 1}, 8));
}

// kept: a failed compare is no exchange and no failure of the sort
TEST_F(ExtCommSort, OnlyAResultOfExactlyOneExchanges)
{
    const platform::Recorder recorder;
    for (const std::int32_t result : {-2, -1, 0, 2, 3, 0x101, 0x10001, INT32_MIN, INT32_MAX}) {
        SCOPED_TRACE(result);
        OddBytes list(numbered({5, 3, 4, 1}, 8));
        watch_.answer = [&](auto, auto) { return result; };
        EXPECT_EQ(sort(list, 4, 8), 0U);
        EXPECT_EQ(list.bytes(), numbered({5, 3, 4, 1}, 8));
        EXPECT_EQ(watch_.calls.size(), 6U);
    }
    OddBytes list(numbered({5, 3, 4, 1}, 8));
    watch_.answer = [](auto, auto) { return 1; };
    EXPECT_EQ(sort(list, 4, 8), 0U);
    EXPECT_EQ(list.bytes(), numbered({1, 4, 3, 5}, 8)) << "every pair exchanged once";
    EXPECT_TRUE(recorder.asserts().empty());
}

// kept: an element that the compare refuses stays where it stands and the others are sorted around it
TEST_F(ExtCommSort, ACompareThatFailsForSomeLeavesThoseInPlace)
{
    OddBytes list(numbered({9, 5, 1}, 8));
    watch_.answer = [](const std::uint8_t *a, const std::uint8_t *b) {
        return *a == 5 || *b == 5 ? -2 : by_first_octet(a, b);
    };
    EXPECT_EQ(sort(list, 3, 8), 0U);
    EXPECT_EQ(list.bytes(), numbered({1, 5, 9}, 8));
}

TEST_F(ExtCommSort, BorrowsTheInlineBufferForOneElement)
{
    const std::uint64_t before = allocations();
    OddBytes list(numbered({2, 1}, 20));
    watch_.answer = by_first_octet;
    EXPECT_EQ(sort(list, 2, 20), 0U);
    EXPECT_EQ(watch_.inline_used, 1U);
    EXPECT_EQ(allocations(), before);
    EXPECT_EQ(ctx_->uiInlineBufUsed, 0U);
}

TEST_F(ExtCommSort, TakesOneElementFromTheHeapWhileTheInlineBufferIsLent)
{
    const LentBuffer lent(ctx_);
    for (const std::uint32_t size : {8U, 20U}) {
        const std::uint64_t before = allocations();
        const std::uint64_t live = platform::usage(kMemHandle).live_bytes;
        OddBytes list(numbered({2, 1, 3}, size));
        watch_.answer = by_first_octet;
        EXPECT_EQ(sort(list, 3, size), 0U);
        EXPECT_EQ(list.bytes(), numbered({1, 2, 3}, size));
        EXPECT_EQ(allocations(), before + 1) << "one scratch for the whole call";
        EXPECT_EQ(watch_.live_bytes, live + size);
        EXPECT_EQ(platform::usage(kMemHandle).live_bytes, live);
    }
}

TEST_F(ExtCommSort, TakesItsScratchForNoElementAndForOneToo)
{
    const LentBuffer lent(ctx_);
    watch_.answer = by_first_octet;
    for (const std::uint16_t count : {std::uint16_t{0}, std::uint16_t{1}, std::uint16_t{2}}) {
        SCOPED_TRACE(count);
        OddBytes list(numbered({2, 1}, 8));
        const std::uint64_t before = allocations();
        EXPECT_EQ(sort(list, count, 8), 0U);
        EXPECT_EQ(allocations(), before + 1);
        EXPECT_EQ(watch_.calls.size(), count == 2 ? 1U : 0U);

        OddBytes again(numbered({2, 1}, 8));
        const platform::FailAllocation failure(0);
        const platform::Recorder recorder;
        EXPECT_EQ(sort(again, count, 8), kNoMemory);
        EXPECT_TRUE(failure.fired());
        EXPECT_EQ(recorder.asserts().size(), 1U);
        EXPECT_TRUE(watch_.calls.empty());
        EXPECT_EQ(again.bytes(), numbered({2, 1}, 8));
    }
}

TEST_F(ExtCommSort, IsRefusedWithoutListOrContext)
{
    OddBytes list(bytes("0300 000000000000 0200 000000000000"));
    auto *communities = list.as<QEL_EXTCOMM_S>();
    auto *communities6 = list.as<QEL_IPV6_EXTCOMM_S>();
    platform::Recorder recorder;
    const auto refused = [&](std::uint32_t code) {
        EXPECT_EQ(code, kNull);
        EXPECT_EQ(recorder.asserts().size(), 1U);
        recorder.clear();
    };
    for (const std::uint16_t count : {std::uint16_t{0}, std::uint16_t{2}}) {
        refused(QEL_NGMVPN_SortExtCommunitys_(nullptr, count, 8, watching_compare, ctx_));
        refused(QEL_NGMVPN_SortExtCommunitys_(list.data(), count, 8, watching_compare, nullptr));
        refused(QEL_NGMVPN_SortExtCommunitys_(nullptr, count, 8, watching_compare, nullptr));
        refused(QEL_NGMVPN_SortExtCommunitys(nullptr, count, ctx_));
        refused(QEL_NGMVPN_SortExtCommunitys(communities, count, nullptr));
        refused(QEL_NGMVPN_SortIPv6ExtCommunitys(nullptr, count, ctx_));
        refused(QEL_NGMVPN_SortIPv6ExtCommunitys(communities6, count, nullptr));
    }
    EXPECT_EQ(list.hex(), hex_of("0300 000000000000 0200 000000000000"));
}

// The two element kinds of one set of tests.
struct Kind {
    std::size_t size;
    std::uint32_t type;
    AttributeParser parser;
    AttributeFormatter formatter;
    std::uint32_t (*sort)(std::uint8_t *, std::uint16_t, QEL_FAMILY_CTX_S *);
    std::uint32_t (*remove_dup)(std::uint8_t *, std::uint16_t *, QEL_FAMILY_CTX_S *);
    std::uint32_t (*cleanup)(std::uint8_t *, std::uint16_t *, QEL_FAMILY_CTX_S *);
};

template <typename Element> Element *element(std::uint8_t *list)
{
    return reinterpret_cast<Element *>(list);
}

const Kind kEight{8,
                  16,
                  QEL_NGMVPN_ParseExtCommunity,
                  QEL_NGMVPN_FormatExtCommunity,
                  [](auto list, auto count, auto ctx) {
                      return QEL_NGMVPN_SortExtCommunitys(element<QEL_EXTCOMM_S>(list), count, ctx);
                  },
                  [](auto list, auto count, auto ctx) {
                      return QEL_NGMVPN_RemoveDupExtCommunitys(element<QEL_EXTCOMM_S>(list), count, ctx);
                  },
                  [](auto list, auto count, auto ctx) {
                      return QEL_NGMVPN_CleanupExtCommunity(element<QEL_EXTCOMM_S>(list), count, ctx);
                  }};
const Kind kTwenty{20,
                   25,
                   QEL_NGMVPN_ParseIPv6ExtCommunity,
                   QEL_NGMVPN_FormatIPv6ExtCommunity,
                   [](auto list, auto count, auto ctx) {
                       return QEL_NGMVPN_SortIPv6ExtCommunitys(element<QEL_IPV6_EXTCOMM_S>(list), count, ctx);
                   },
                   [](auto list, auto count, auto ctx) {
                       return QEL_NGMVPN_RemoveDupIPv6ExtCommunitys(element<QEL_IPV6_EXTCOMM_S>(list), count, ctx);
                   },
                   [](auto list, auto count, auto ctx) {
                       return QEL_NGMVPN_CleanupIPv6ExtCommunity(element<QEL_IPV6_EXTCOMM_S>(list), count, ctx);
                   }};

// The elements of a list.
std::vector<Bytes> elements(const Bytes &list, std::size_t size)
{
    std::vector<Bytes> out;
    for (std::size_t at = 0; at + size <= list.size(); at += size) {
        out.push_back(slice(list, at, size));
    }
    return out;
}

Bytes joined(const std::vector<Bytes> &parts)
{
    Bytes out;
    for (const Bytes &part : parts) {
        out.insert(out.end(), part.begin(), part.end());
    }
    return out;
}

std::vector<Bytes> sorted(std::vector<Bytes> list)
{
    std::stable_sort(list.begin(), list.end(), [](const Bytes &a, const Bytes &b) { return order(a, b) < 0; });
    return list;
}

std::vector<Bytes> without_repeats(std::vector<Bytes> list)
{
    list.erase(std::unique(list.begin(), list.end()), list.end());
    return list;
}

Bytes random_list(std::mt19937 &random, std::size_t count, std::size_t size)
{
    Bytes out;
    for (std::size_t i = 0; i < count; ++i) {
        out = out + few_octets(random, 3) + Bytes(size - 4, static_cast<std::uint8_t>(random() % 2)) +
              few_octets(random, 1);
    }
    return out;
}

class ExtCommList : public AttributeTest {};

TEST_F(ExtCommList, SortsByTheOrderOfItsElements)
{
    std::mt19937 random(7);
    for (const Kind &kind : {kEight, kTwenty}) {
        for (std::uint16_t count = 1; count < 40; ++count) {
            OddBytes list(random_list(random, count, kind.size));
            const Bytes expected = joined(sorted(elements(list.bytes(), kind.size)));
            EXPECT_EQ(kind.sort(list.data(), count, ctx_), 0U);
            ASSERT_EQ(list.hex(), hex(expected));
        }
    }
}

TEST_F(ExtCommList, IsSortedAsExchangesSortItWhateverItsLengthTypesAndAddress)
{
    const platform::Recorder recorder;
    for (const Kind &kind : {kEight, kTwenty}) {
        const auto sort = [&](std::uint8_t *list, std::uint16_t count) { EXPECT_EQ(kind.sort(list, count, ctx_), 0U); };
        SortsLikeExchanges lists(kind.size, 20260107);
        lists.check(sort);
        lists.check_every_type(sort);
    }
    EXPECT_TRUE(recorder.asserts().empty());
}

TEST_F(ExtCommList, TheGeneralSortWithTheCompareOfItsElementsLeavesTheSameOrder)
{
    const platform::Recorder recorder;
    SortsLikeExchanges(8, 20260108).check_every_type([&](std::uint8_t *list, std::uint16_t count) {
        EXPECT_EQ(QEL_NGMVPN_SortExtCommunitys_(list, count, 8, QEL_NGMVPN_CmpExtCommunity, ctx_), 0U);
    });
    SortsLikeExchanges(20, 20260109).check_every_type([&](std::uint8_t *list, std::uint16_t count) {
        EXPECT_EQ(QEL_NGMVPN_SortExtCommunitys_(list, count, 20, QEL_NGMVPN_CmpIPv6ExtCommunity, ctx_), 0U);
    });
    EXPECT_TRUE(recorder.asserts().empty());
}

// kept: scratch is asked for though the sort puts nothing there
TEST_F(ExtCommList, SortingAndCleaningUpAskForOneScratchWhateverTheCount)
{
    for (const Kind &kind : {kEight, kTwenty}) {
        for (const std::uint16_t count : {std::uint16_t{0}, std::uint16_t{1}, std::uint16_t{2}}) {
            SCOPED_TRACE(count);
            OddBytes list(numbered({2, 1}, static_cast<std::uint32_t>(kind.size)));
            std::uint16_t kept = count;
            const std::uint64_t before = allocations();
            EXPECT_EQ(kind.sort(list.data(), count, ctx_), 0U);
            EXPECT_EQ(kind.cleanup(list.data(), &kept, ctx_), 0U);
            EXPECT_EQ(allocations(), before);
            EXPECT_EQ(ctx_->uiInlineBufUsed, 0U);

            const LentBuffer lent(ctx_);
            EXPECT_EQ(kind.sort(list.data(), count, ctx_), 0U);
            EXPECT_EQ(allocations(), before + 1);
            kept = count;
            EXPECT_EQ(kind.cleanup(list.data(), &kept, ctx_), 0U);
            EXPECT_EQ(allocations(), before + 2);
        }
    }
}

TEST_F(ExtCommList, SortingWithoutScratchIsReportedAndLeavesTheList)
{
    const LentBuffer lent(ctx_);
    for (const Kind &kind : {kEight, kTwenty}) {
        for (const std::uint16_t count : {std::uint16_t{0}, std::uint16_t{1}, std::uint16_t{2}}) {
            OddBytes list(numbered({2, 1}, static_cast<std::uint32_t>(kind.size)));
            const platform::Recorder recorder;
            const platform::FailAllocation failure(0);
            EXPECT_EQ(kind.sort(list.data(), count, ctx_), kNoMemory);
            EXPECT_TRUE(failure.fired());
            EXPECT_EQ(recorder.asserts().size(), 1U);
            EXPECT_EQ(list.bytes(), numbered({2, 1}, static_cast<std::uint32_t>(kind.size)));
        }
    }
}

// --- duplicates -----------------------------------------------------------------------------------------------------

Bytes element_of(char name, std::size_t size)
{
    Bytes out(size, 0x77);
    out[0] = static_cast<std::uint8_t>(name);
    return out;
}

Bytes list_of(std::string_view names, std::size_t size)
{
    Bytes out;
    for (const char name : names) {
        out = out + element_of(name, size);
    }
    return out;
}

TEST_F(ExtCommList, KeepsTheFirstOfEqualNeighbours)
{
    const std::pair<std::string, std::string> rows[] = {
        {"a", "a"},           {"aa", "a"},           {"aaaaa", "a"}, {"ab", "ab"},     {"aab", "ab"},
        {"abb", "ab"},        {"aabb", "ab"},        {"abc", "abc"}, {"aabcc", "abc"}, {"abbbcdd", "abcd"},
        {"aabbccdd", "abcd"}, {"abcdeef", "abcdef"}, {"aba", "aba"}, // neighbours alone
    };
    const platform::Recorder recorder;
    for (const Kind &kind : {kEight, kTwenty}) {
        for (const auto &[names, kept] : rows) {
            SCOPED_TRACE(names);
            OddBytes list(list_of(names, kind.size));
            auto count = static_cast<std::uint16_t>(names.size());
            EXPECT_EQ(kind.remove_dup(list.data(), &count, ctx_), 0U);
            EXPECT_EQ(count, kept.size());
            EXPECT_EQ(hex(list.bytes()).substr(0, kept.size() * kind.size * 2), hex(list_of(kept, kind.size)));
        }
    }
    EXPECT_TRUE(recorder.asserts().empty());
}

TEST_F(ExtCommList, RepeatsAreEqualInEveryByte)
{
    for (const Kind &kind : {kEight, kTwenty}) {
        for (std::size_t at = 0; at < kind.size; ++at) {
            Bytes other = element_of('a', kind.size);
            other[at] ^= 0x80;
            OddBytes list(element_of('a', kind.size) + other);
            std::uint16_t count = 2;
            EXPECT_EQ(kind.remove_dup(list.data(), &count, ctx_), 0U);
            EXPECT_EQ(count, 2) << "byte " << at;
            EXPECT_EQ(list.bytes(), element_of('a', kind.size) + other);
        }
    }
}

TEST_F(ExtCommList, WhatStandsBehindTheCountIsNoRepeat)
{
    for (const Kind &kind : {kEight, kTwenty}) {
        OddBytes list(list_of("aabb", kind.size));
        std::uint16_t count = 2;
        EXPECT_EQ(kind.remove_dup(list.data(), &count, ctx_), 0U);
        EXPECT_EQ(count, 1);
        EXPECT_EQ(list.bytes(), list_of("aabb", kind.size));
    }
}

// kept: an empty list comes out with a count of 1
TEST_F(ExtCommList, RemovalOfRepeatsMakesACountOfZeroOne)
{
    for (const Kind &kind : {kEight, kTwenty}) {
        for (const auto remove : {kind.remove_dup, kind.cleanup}) {
            OddBytes nothing(Bytes{});
            std::uint16_t count = 0;
            const platform::Recorder recorder;
            EXPECT_EQ(remove(nothing.data(), &count, ctx_), 0U);
            EXPECT_EQ(count, 1);
            EXPECT_TRUE(recorder.asserts().empty());
        }
    }
}

TEST_F(ExtCommList, RemovalOfRepeatsAllocatesNothing)
{
    const LentBuffer lent(ctx_);
    for (const Kind &kind : {kEight, kTwenty}) {
        const std::uint64_t before = allocations();
        OddBytes list(list_of("aabbc", kind.size));
        std::uint16_t count = 5;
        EXPECT_EQ(kind.remove_dup(list.data(), &count, ctx_), 0U);
        EXPECT_EQ(allocations(), before);
    }
}

TEST_F(ExtCommList, RemovalAndCleanUpAreRefusedWithoutAnArgument)
{
    for (const Kind &kind : {kEight, kTwenty}) {
        for (const auto remove : {kind.remove_dup, kind.cleanup}) {
            for (unsigned missing = 1; missing < 8; ++missing) {
                SCOPED_TRACE(missing);
                OddBytes list(list_of("baa", kind.size));
                std::uint16_t count = 3;
                const platform::Recorder recorder;
                EXPECT_EQ(remove((missing & 1) != 0 ? nullptr : list.data(), (missing & 2) != 0 ? nullptr : &count,
                                 (missing & 4) != 0 ? nullptr : ctx_),
                          kNull);
                EXPECT_EQ(recorder.asserts().size(), 1U);
                EXPECT_EQ(list.bytes(), list_of("baa", kind.size));
                EXPECT_EQ(count, 3);
            }
        }
    }
}

// --- clean-up -------------------------------------------------------------------------------------------------------

TEST_F(ExtCommList, CleanUpSortsAndDropsRepeats)
{
    std::mt19937 random(11);
    for (const Kind &kind : {kEight, kTwenty}) {
        for (std::uint16_t length = 1; length < 40; ++length) {
            OddBytes list(random_list(random, length, kind.size));
            const Bytes expected = joined(without_repeats(sorted(elements(list.bytes(), kind.size))));
            std::uint16_t count = length;
            EXPECT_EQ(kind.cleanup(list.data(), &count, ctx_), 0U);
            ASSERT_EQ(count * kind.size, expected.size());
            EXPECT_EQ(hex(list.bytes()).substr(0, expected.size() * 2), hex(expected));
        }
    }
}

TEST_F(ExtCommList, CleanUpReturnsTheFailureOfTheSort)
{
    const LentBuffer lent(ctx_);
    for (const Kind &kind : {kEight, kTwenty}) {
        OddBytes list(list_of("baa", kind.size));
        std::uint16_t count = 3;
        const platform::FailAllocation failure(0);
        const platform::Recorder recorder;
        EXPECT_EQ(kind.cleanup(list.data(), &count, ctx_), kNoMemory);
        EXPECT_TRUE(failure.fired());
        EXPECT_EQ(recorder.asserts().size(), 1U);
        EXPECT_EQ(list.bytes(), list_of("baa", kind.size));
        EXPECT_EQ(count, 3);
    }
}

// --- reading --------------------------------------------------------------------------------------------------------

std::uint32_t length_code(std::uint32_t length)
{
    return length == 0 ? kEmpty : length % 8 == 0 ? 0 : kBadLength;
}

TEST(ExtCommLength, IsAWholeNumberOfElements)
{
    const platform::Recorder recorder;
    for (std::uint32_t length = 0; length <= 64; ++length) {
        EXPECT_EQ(QEL_NGMVPN_CheckExtCommLen(length), length_code(length)) << length;
    }
    for (const std::uint32_t length :
         {255U, 256U, 65528U, 65535U, 65536U, 0x7fffffffU, 0x80000000U, 0xfffffff8U, 0xfffffffcU, 0xffffffffU}) {
        EXPECT_EQ(QEL_NGMVPN_CheckExtCommLen(length), length_code(length)) << length;
    }
    EXPECT_TRUE(recorder.asserts().empty());
}

TEST(ExtCommLength, NothingHasACodeOfItsOwn)
{
    EXPECT_EQ(QEL_NGMVPN_CheckExtCommLen(0), kEmpty);
    EXPECT_EQ(QEL_NGMVPN_CheckExtCommLen(4), kBadLength);
    EXPECT_EQ(QEL_NGMVPN_CheckExtCommLen(12), kBadLength);
}

// kept: attribute 25 knows no code for an empty one
TEST_F(ExtCommList, AnEmptyAttributeHasItsOwnCodeIn16AndThatOfABrokenLengthIn25)
{
    expect_refused(parse_attribute(kEight.parser, {}, ctx_), kEmpty);
    expect_refused(parse_attribute(kTwenty.parser, {}, ctx_), kBadLength);
}

TEST_F(ExtCommList, TheSectionsAreLabelled0And16And3And25)
{
    for (const Kind &kind : {kEight, kTwenty}) {
        const Parsed got = parse_attribute(kind.parser, Bytes(kind.size, 2), ctx_);
        ASSERT_TRUE(got.block);
        EXPECT_EQ(got.block->ucAttrFlag, kind.size == 8 ? 0 : 3);
        EXPECT_EQ(got.block->ucAttrType, kind.type);
    }
}

TEST_F(ExtCommList, TheCursorMovesByTheWholeAttributeThoughRepeatsWereDropped)
{
    for (const Kind &kind : {kEight, kTwenty}) {
        const Parsed got = parse_attribute(kind.parser, list_of("aaa", kind.size), ctx_);
        ASSERT_TRUE(got.block);
        EXPECT_EQ(got.block->usAttrLen, kind.size);
        EXPECT_EQ(got.moved, static_cast<std::ptrdiff_t>(3 * kind.size));
        EXPECT_EQ(got.more, 0U);
    }
}

TEST_F(ExtCommList, ReadingRefusesNullArgumentsWithOneReport)
{
    for (const Kind &kind : {kEight, kTwenty}) {
        const OddBytes wire(list_of("a", kind.size));
        for (unsigned missing = 1; missing < 16; ++missing) {
            SCOPED_TRACE(missing);
            const std::uint8_t *cursor = wire.data();
            QEL_ROUTE_BLOCK_S *result = nullptr;
            std::uint32_t more = kUnwritten;
            const platform::Recorder recorder;
            // the length comes after the arguments
            EXPECT_EQ(kind.parser((missing & 1) != 0 ? nullptr : &cursor, 3, (missing & 2) != 0 ? nullptr : &result,
                                  (missing & 4) != 0 ? nullptr : &more, (missing & 8) != 0 ? nullptr : ctx_),
                      kNull);
            EXPECT_EQ(recorder.asserts().size(), 1U);
            EXPECT_EQ(cursor, wire.data());
        }
    }
}

TEST_F(ExtCommList, ReadingGivesItsWorkBufferBack)
{
    const LeakCheck leaks;
    for (const Kind &kind : {kEight, kTwenty}) {
        const Parsed got = parse_attribute(kind.parser, list_of("baa", kind.size), ctx_);
        EXPECT_TRUE(got.block);
    }
}

TEST_F(ExtCommList, ReadingWithoutMemoryIsReportedAndLeavesCursorAndResult)
{
    const LentBuffer lent(ctx_); // so that the scratch of the sort comes from the heap
    for (const Kind &kind : {kEight, kTwenty}) {
        for (std::uint64_t after = 0; after < 3; ++after) { // work buffer, scratch, block
            SCOPED_TRACE(after);
            const LeakCheck leaks;
            const platform::FailAllocation failure(after);
            const Parsed got = parse_attribute(kind.parser, list_of("ba", kind.size), ctx_);
            EXPECT_TRUE(failure.fired());
            expect_refused(got, kNoMemory, 1);
        }
    }
}

TEST_F(ExtCommList, AnAttributeOfEveryLengthIsReadOrRefused)
{
    for (std::size_t length = 0; length <= 64; ++length) {
        SCOPED_TRACE(length);
        const Bytes wire(length, 0x02);
        const std::uint64_t before = allocations();
        const std::uint32_t code = length_code(static_cast<std::uint32_t>(length));
        const Parsed got = parse_attribute(QEL_NGMVPN_ParseExtCommunity, wire, ctx_);
        if (code != 0) {
            expect_refused(got, code);
            EXPECT_EQ(allocations(), before);
        } else {
            expect_taken(got, length);
            expect_attribute_block(got.block, 0, 16, "0202020202020202");
        }
    }
}

// kept: an empty attribute 25 is one of a wrong length, not an empty one
TEST_F(ExtCommList, AnIpv6AttributeOfEveryLengthIsReadOrRefused)
{
    for (std::size_t length = 0; length <= 101; ++length) {
        SCOPED_TRACE(length);
        const Bytes wire(length, 0x02);
        const std::uint64_t before = allocations();
        const Parsed got = parse_attribute(QEL_NGMVPN_ParseIPv6ExtCommunity, wire, ctx_);
        if (length == 0 || length % 20 != 0) {
            expect_refused(got, kBadLength);
            EXPECT_EQ(allocations(), before);
        } else {
            expect_taken(got, length);
            expect_attribute_block(got.block, 3, 25, hex(slice(wire, 0, 20)));
        }
    }
}

struct ListRow {
    std::string name;
    std::string wire;
    std::string back;
};

const std::vector<ListRow> kLists{
    {"the same twice", "0002 fde9 00000001  0002 fde9 00000001", "0002 fde9 00000001"},
    {"route targets and Source AS out of order", "0202 00010203 0001  0002 fde9 00000001  0009 fde9 00000000",
     "0002 fde9 00000001  0202 00010203 0001  0009 fde9 00000000"},
    {"an unknown type", "0803 a0a1a2a3 a4a5", "0803 a0a1a2a3 a4a5"},
    {"every known type backwards",
     "0112 0a000001 0000  010b 0a000001 0007  010a 0a000001 0007  0009 fde9 00000000  0202 00010203 0001  "
     "0102 0a000001 0001  0002 fde9 00000001",
     "0002 fde9 00000001  0102 0a000001 0001  0202 00010203 0001  0009 fde9 00000000  010a 0a000001 0007  "
     "010b 0a000001 0007  0112 0a000001 0000"},
    {"by value", "0002 0002 00000001  0002 0001 00000003  0002 0001 00000002  0102 0b000000 0000  0102 0a0000ff ffff",
     "0002 0001 00000002  0002 0001 00000003  0002 0002 00000001  0102 0a0000ff ffff  0102 0b000000 0000"},
    {"non-transitive types behind the transitive ones", "4002 0001 00000001  0002 ffff ffffffff",
     "0002 ffff ffffffff  4002 0001 00000001"},
    // kept: the value of 0x0302 is swapped as 32 and 16 bits and compared as 16 and 32
    {"0x0302 in the order of a misread value", "0302 00010002 0000  0302 00020001 0000",
     "0302 00020001 0000  0302 00010002 0000"},
};

// Reads, and writes what came out.
void expect_read_and_back(const Kind &kind, const Bytes &wire, const Bytes &back, QEL_FAMILY_CTX_S *ctx)
{
    const Parsed got = parse_attribute(kind.parser, wire, ctx);
    expect_taken(got, wire.size());
    ASSERT_TRUE(got.block);
    ASSERT_EQ(got.block->usAttrLen, back.size());
    Bytes section;
    for (const Bytes &one : elements(back, kind.size)) {
        const Bytes host = host_order(one);
        section.insert(section.end(), host.begin(), host.end());
    }
    expect_attribute_block(got.block, kind.size == 8 ? 0 : 3, static_cast<std::uint8_t>(kind.type), hex(section));
    const OddBytes odd(section);
    const QEL_ROUTE_INFO_S route = route_holding(kind.type, odd.data(), odd.size());
    expect_written(write_attribute(kind.formatter, route, back.size(), ctx), back);
    EXPECT_EQ(odd.bytes(), section) << "the route's list stays in host order";
}

TEST_F(ExtCommList, IsReadInOrderAndWithoutRepeats)
{
    for (const ListRow &row : kLists) {
        SCOPED_TRACE(row.name);
        expect_read_and_back(kEight, bytes(row.wire), bytes(row.back), ctx_);
    }
}

TEST_F(ExtCommList, Ipv6ListIsReadInOrderAndWithoutRepeats)
{
    const std::string low = "20010db8 00000000 00000000 00000001 0001";
    const std::string high = "20010db8 00000000 00000000 00000001 0100";
    const std::string addr = "20010db8 01000000 00000000 00000000 0000";
    // 0x000b compares numbers; 0x010a is swapped too, but compared byte by byte in memory; 0x0010 is not swapped
    const ListRow rows[] = {
        {"twice", "000b" + low + "000b" + low, "000b" + low},
        {"numbers", "000b" + addr + "000b" + high + "000b" + low, "000b" + low + "000b" + high + "000b" + addr},
        {"memory bytes", "010a" + low + "010a" + high, "010a" + high + "010a" + low},
        {"not swapped", "0010" + high + "0010" + low, "0010" + low + "0010" + high},
        {"sub-type first", "0110" + low + "0010" + high + "010b" + low + "000b" + high + "0102" + low + "0002" + high,
         "0002" + high + "0102" + low + "000b" + high + "010b" + low + "0010" + high + "0110" + low},
    };
    for (const ListRow &row : rows) {
        SCOPED_TRACE(row.name);
        expect_read_and_back(kTwenty, bytes(row.wire), bytes(row.back), ctx_);
    }
}

TEST_F(ExtCommList, EveryTypeComesOutOnTheWireAsItCameIn)
{
    for (const Kind &kind : {kEight, kTwenty}) {
        for (std::uint32_t type = 0; type < kAllTypes; type += 7) {
            const Bytes wire = type_octets(type) + (kind.size == 8 ? kValue : kValue6);
            SCOPED_TRACE(hex(wire));
            expect_read_and_back(kind, wire, wire, ctx_);
        }
    }
}

TEST_F(ExtCommList, IsReadAsItsElementsInOrder)
{
    std::mt19937 random(23);
    for (const Kind &kind : {kEight, kTwenty}) {
        for (const std::size_t count : {1U, 2U, 3U, 5U, 17U, 60U, 250U}) {
            SCOPED_TRACE(count);
            const Bytes wire = random_list(random, count, kind.size);
            std::vector<Bytes> host;
            for (const Bytes &one : elements(wire, kind.size)) {
                host.push_back(host_order(one));
            }
            const Parsed got = parse_attribute(kind.parser, wire, ctx_);
            expect_taken(got, wire.size());
            expect_attribute_block(got.block, kind.size == 8 ? 0 : 3, static_cast<std::uint8_t>(kind.type),
                                   hex(joined(without_repeats(sorted(host)))));
        }
    }
}

TEST_F(ExtCommList, TheLongestAttributeIsRead)
{
    for (const Kind &kind : {kEight, kTwenty}) {
        const std::size_t count = 65535 / kind.size;
        Bytes wire;
        for (std::size_t i = count; i-- > 0;) { // backwards by sub-type, so that the compare ends early
            Bytes one(kind.size);
            one[1] = static_cast<std::uint8_t>(i >> 8);
            one[3] = static_cast<std::uint8_t>(i);
            wire.insert(wire.end(), one.begin(), one.end());
        }
        std::vector<Bytes> host;
        for (const Bytes &one : elements(wire, kind.size)) {
            host.push_back(host_order(one));
        }
        const Bytes expected = joined(sorted(host));
        const Parsed got = parse_attribute(kind.parser, wire, ctx_);
        expect_taken(got, count * kind.size);
        ASSERT_TRUE(got.block);
        ASSERT_EQ(got.block->usAttrLen, count * kind.size);
        EXPECT_TRUE(got.block.section(32, got.block->usAttrLen) == expected);
    }
}

// kept: the element count has 16 bits, so that 65536 elements more are copied and not looked at
TEST_F(ExtCommList, TheCountOfElementsHasSixteenBits)
{
    for (const Kind &kind : {kEight, kTwenty}) {
        SCOPED_TRACE(kind.size);
        const Bytes three = list_of("cba", kind.size);
        const Bytes wire = three + Bytes(std::size_t{65536 - 1} * kind.size, 0x33);
        const Parsed got = parse_attribute(kind.parser, wire, ctx_); // 65538 elements: two
        expect_taken(got, wire.size());
        const std::vector<Bytes> host{host_order(element_of('b', kind.size)), host_order(element_of('c', kind.size))};
        expect_attribute_block(got.block, kind.size == 8 ? 0 : 3, static_cast<std::uint8_t>(kind.type),
                               hex(joined(sorted(host))));
        const Parsed none = parse_attribute(kind.parser, slice(wire, 0, 65536 * kind.size), ctx_); // none, so one
        expect_taken(none, 65536 * kind.size);
        expect_attribute_block(none.block, kind.size == 8 ? 0 : 3, static_cast<std::uint8_t>(kind.type),
                               hex(element_of('c', kind.size)));
    }
}

// --- writing --------------------------------------------------------------------------------------------------------

// kept: the list's length is the low half of the route's length word
TEST_F(ExtCommList, TheLengthToWriteHasSixteenBits)
{
    for (const Kind &kind : {kEight, kTwenty}) {
        const OddBytes section(host_order(element_of('b', kind.size)) + host_order(element_of('a', kind.size)));
        const Bytes wire = list_of("ba", kind.size);
        const auto whole = static_cast<std::uint32_t>(2 * kind.size);
        for (const std::uint32_t high : {0U, 0x10000U, 0x80000000U, 0xffff0000U}) {
            const QEL_ROUTE_INFO_S route = route_holding(kind.type, section.data(), whole + high);
            expect_written(write_attribute(kind.formatter, route, whole, ctx_), wire); // in the list's own order
            expect_not_written(write_attribute(kind.formatter, route, whole - 1, ctx_), kNoRoom);
            const QEL_ROUTE_INFO_S none = route_holding(kind.type, section.data(), high);
            const Written got = write_attribute(kind.formatter, none, whole, ctx_);
            EXPECT_EQ(got.code, 0U);
            EXPECT_EQ(got.moved, 0);
            EXPECT_EQ(got.buffer, untouched(whole));
        }
    }
}

// kept: octets behind the last whole element go out as they stand
TEST_F(ExtCommList, WholeElementsAreSwappedAndTheRestIsWrittenAsItStands)
{
    for (const Kind &kind : {kEight, kTwenty}) {
        for (std::size_t rest = 1; rest < kind.size; ++rest) {
            SCOPED_TRACE(rest);
            const Bytes tail = slice(bytes("02000102030405060708090a0b0c0d0e0f101112"), 0, rest);
            const OddBytes section(host_order(element_of('a', kind.size)) + tail);
            const QEL_ROUTE_INFO_S route = route_holding(kind.type, section.data(), section.size());
            expect_written(write_attribute(kind.formatter, route, section.size(), ctx_),
                           element_of('a', kind.size) + tail);
            const OddBytes short_section(tail);
            const QEL_ROUTE_INFO_S short_route = route_holding(kind.type, short_section.data(), short_section.size());
            expect_written(write_attribute(kind.formatter, short_route, short_section.size(), ctx_), tail);
        }
    }
}

TEST_F(ExtCommList, WritingRefusesNullArgumentsWithOneReport)
{
    for (const Kind &kind : {kEight, kTwenty}) {
        const OddBytes section(list_of("a", kind.size));
        for (unsigned missing = 1; missing < 8; ++missing) {
            SCOPED_TRACE(missing);
            QEL_ROUTE_INFO_S route = route_holding(kind.type, section.data(), section.size());
            Bytes out(kind.size);
            std::uint8_t *cursor = out.data();
            const platform::Recorder recorder;
            EXPECT_EQ(kind.formatter((missing & 1) != 0 ? nullptr : &route, (missing & 2) != 0 ? nullptr : &cursor,
                                     section.size(), (missing & 4) != 0 ? nullptr : ctx_),
                      kNull);
            EXPECT_EQ(recorder.asserts().size(), 1U);
            EXPECT_EQ(cursor, out.data());
        }
    }
}

TEST_F(ExtCommList, ARouteWithoutListWritesNothing)
{
    for (const Kind &kind : {kEight, kTwenty}) {
        expect_not_written(write_attribute(kind.formatter, route_holding(kind.type, nullptr, 40), 40, ctx_), 0);
    }
}

TEST_F(ExtCommList, AListThatDoesNotFitGives4AndMovesNothing)
{
    for (const Kind &kind : {kEight, kTwenty}) {
        const OddBytes section(list_of("ab", kind.size));
        const QEL_ROUTE_INFO_S route = route_holding(kind.type, section.data(), section.size());
        expect_not_written(write_attribute(kind.formatter, route, section.size() - 1, ctx_), kNoRoom);
        EXPECT_EQ(write_attribute(kind.formatter, route, section.size(), ctx_).code, 0U);
    }
}

TEST_F(ExtCommList, WritingWithoutMemoryIs3AndReported)
{
    for (const Kind &kind : {kEight, kTwenty}) {
        const OddBytes section(list_of("ab", kind.size));
        const QEL_ROUTE_INFO_S route = route_holding(kind.type, section.data(), section.size());
        const platform::FailAllocation failure(0);
        expect_not_written(write_attribute(kind.formatter, route, section.size(), ctx_), 3, 1);
        EXPECT_TRUE(failure.fired());
    }
}

TEST_F(ExtCommList, WritingLeavesTheRoutesListInHostOrderAndGivesItsCopyBack)
{
    const LeakCheck leaks;
    for (const Kind &kind : {kEight, kTwenty}) {
        const OddBytes section(host_order(bytes("0102") + Bytes(kind.size - 2, 0x31)) + Bytes(kind.size, 0x12));
        const Bytes before = section.bytes();
        const QEL_ROUTE_INFO_S route = route_holding(kind.type, section.data(), section.size());
        EXPECT_EQ(write_attribute(kind.formatter, route, section.size(), ctx_).code, 0U);
        EXPECT_EQ(section.bytes(), before);
    }
}

TEST_F(ExtCommList, TheLongestListIsWritten)
{
    std::mt19937 random(5);
    for (const Kind &kind : {kEight, kTwenty}) {
        Bytes wire(65535);
        for (std::uint8_t &octet : wire) {
            octet = static_cast<std::uint8_t>(random());
        }
        const std::size_t whole = 65535 / kind.size * kind.size;
        Bytes section;
        for (const Bytes &one : elements(wire, kind.size)) {
            const Bytes host = host_order(one);
            section.insert(section.end(), host.begin(), host.end());
        }
        section = section + slice(wire, whole, 65535 - whole);
        const OddBytes odd(section);
        const QEL_ROUTE_INFO_S route = route_holding(kind.type, odd.data(), odd.size());
        const Written got = write_attribute(kind.formatter, route, 65536, ctx_);
        EXPECT_EQ(got.code, 0U);
        EXPECT_EQ(got.moved, 65535);
        EXPECT_TRUE(got.buffer == wire + untouched(1));
        EXPECT_TRUE(odd.bytes() == section);
    }
}

} // namespace
} // namespace qel::test
