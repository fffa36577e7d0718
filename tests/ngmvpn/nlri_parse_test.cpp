// Reading MCAST-VPN routes from attributes 14 and 15: ngmvpn/qel_ngmvpn_nlri.cpp.
#include "nlri_cases.h"

#include <algorithm>
#include <array>
#include <functional>
#include <random>
#include <set>
#include <stdexcept>
#include <tuple>

namespace qel::test {
namespace {

constexpr std::uint32_t kMalformed = 0x60001;
constexpr std::uint32_t kRefused = 0x60002;

const Bytes kNextRoute = bytes("02 0c 0000 0064 00000001 0000fde9");

// --- what a call leaves behind --------------------------------------------------------------------------------------

void expect_refusal(const Parsed &got, std::uint32_t code, std::ptrdiff_t moved, std::uint32_t more = kUnwritten)
{
    EXPECT_EQ(got.code, code);
    EXPECT_EQ(got.moved, moved);
    EXPECT_EQ(got.more, more);
    EXPECT_FALSE(got.result_written);
}

void expect_route(const Parsed &got, const NlriCase &route, std::uint32_t more)
{
    EXPECT_EQ(got.code, 0U);
    EXPECT_EQ(got.moved, std::ssize(route.octets()));
    EXPECT_EQ(got.more, more);
    EXPECT_EQ(got.asserts, 0U);
    expect_block(got.block, route.key, route.nonkey());
}

// --- good routes ----------------------------------------------------------------------------------------------------

TEST(NlriParse, EveryRouteBecomesItsKeyAndNonKey)
{
    const LeakCheck leaks;
    for (const NlriCase &route : all_routes()) {
        SCOPED_TRACE(route);
        const NgmvpnInstance instance(route.side);
        const Parsed got = parse_route(instance, route.octets());
        expect_route(got, route, 0);
    }
}

TEST(NlriParse, AttributeTypes14And15AreReadAlikeThroughTheDescriptor)
{
    const LeakCheck leaks;
    for (const NlriCase &route : all_routes()) {
        SCOPED_TRACE(route);
        const NgmvpnInstance instance(route.side);
        for (const std::uint32_t type : {14U, 15U}) {
            const Bytes octets = route.octets();
            const Parsed got = run_parser(octets, 0, [&](auto cursor, auto result, auto more) {
                return instance.desc.pfParsePkt(cursor, static_cast<std::uint32_t>(octets.size()), 0, type, result,
                                                more, instance.ctx);
            });
            expect_route(got, route, 0);
        }
    }
}

TEST(NlriParse, TheRouteIsReadTheSameWithAnotherBehindIt)
{
    const LeakCheck leaks;
    for (const NlriCase &route : all_routes()) {
        SCOPED_TRACE(route);
        const NgmvpnInstance instance(route.side);
        const Parsed got = parse_route(instance, route.octets() + kNextRoute);
        expect_route(got, route, 1);
    }
}

TEST(NlriParse, MoreThanTwoOctetsBehindTheRouteAreTakenForAnother)
{
    const LeakCheck leaks;
    for (const NlriCase &route : one_of_each()) {
        SCOPED_TRACE(route);
        const NgmvpnInstance instance(route.side);
        for (std::size_t behind = 0; behind <= 4; ++behind) {
            const Parsed got = parse_route(instance, route.octets() + Bytes(behind, 0x77));
            EXPECT_EQ(got.code, 0U);
            EXPECT_EQ(got.moved, std::ssize(route.octets()));
            EXPECT_EQ(got.more, behind > 2 ? 1U : 0U) << behind << " octets behind the route";
            EXPECT_TRUE(got.block);
        }
    }
}

TEST(NlriParse, EveryPrefixOfAGoodRouteIsMalformedAndLeavesTheCursor)
{
    const LeakCheck leaks;
    for (const NlriCase &route : all_routes()) {
        SCOPED_TRACE(route);
        const NgmvpnInstance instance(route.side);
        const Bytes octets = route.octets();
        for (std::size_t size = 0; size < octets.size(); ++size) {
            const Parsed got = parse_route(instance, std::span(octets).first(size));
            ASSERT_EQ(got.code, kMalformed) << size << " octets";
            ASSERT_EQ(got.moved, 0);
            ASSERT_EQ(got.more, kUnwritten);
            ASSERT_FALSE(got.result_written);
            ASSERT_EQ(got.asserts, 0U);
        }
    }
}

TEST(NlriParse, AnAttributeIsWalkedOverRoutesThatAreTakenAndRoutesThatAreNot)
{
    const LeakCheck leaks;
    const NgmvpnInstance instance(kMvpn4);
    const Bytes attribute = bytes("02 0c" + kRd0 + kAs) +            // taken
                            bytes("08 0a 00000000000000000000") +    // unknown route type
                            bytes("05 12" + kRd3 + kS4 + kG4) +      // unknown RD type
                            bytes("01 0c" + kRd1 + kO4) +            // taken
                            bytes("00 0b 0000000000000000000000") +  // unknown route type
                            bytes("06 16" + kRd0 + kAs + kS4 + kG4); // taken
    const ExactCopy copy(attribute);
    const std::uint8_t *cursor = copy.data();
    std::vector<std::uint32_t> codes;
    std::vector<std::uint32_t> types;
    std::uint32_t more = 1;
    while (more == 1) {
        QEL_ROUTE_BLOCK_S *result = nullptr;
        more = kUnwritten;
        const auto left = static_cast<std::uint32_t>(copy.data() + copy.size() - cursor);
        codes.push_back(QEL_NGMVPN_ParseMpNlri(&cursor, left, &result, &more, instance.ctx));
        if (const Block block(result); block) {
            QEL_NGMVPN_KEY_S key;
            std::memcpy(&key, block.at(block->usKeyOffset), sizeof(key));
            types.push_back(key.uiKeyType);
        }
    }
    EXPECT_EQ(more, 0U);
    EXPECT_EQ(cursor, copy.data() + copy.size());
    EXPECT_EQ(codes, (std::vector<std::uint32_t>{0, kRefused, kRefused, 0, kRefused, 0}));
    EXPECT_EQ(types, (std::vector<std::uint32_t>{2, 1, 7}));
}

// --- forms and lengths ----------------------------------------------------------------------------------------------

// An address in a body: 'w' wildcard, '4', '6'. A wildcard stands with the octets that the hint asks for.
std::string address(char form, unsigned hint, bool group)
{
    if (form == '4') {
        return group ? kG4 : kS4;
    }
    if (form == '6') {
        return group ? kG6 : kS6;
    }
    return hint == 0 ? " 00 " : hint == 1 ? kZ4 : kZ6;
}

unsigned hint_of(std::size_t length)
{
    return length == 22 || length == 34 ? 1 : length == 46 || length == 58 ? 2 : 0;
}

// Cut or filled up with octets that are neither zero nor an address length.
Bytes sized(Bytes body, std::size_t length)
{
    body.resize(length, 0x11);
    return body;
}

Bytes header(unsigned type, std::size_t length)
{
    return {static_cast<std::uint8_t>(type), static_cast<std::uint8_t>(length)};
}

using Forms = std::set<std::string>; // "22w4": length 22, wildcard source, IPv4 group

const Forms kSpmsiForms{"14ww", "18w4", "184w", "22ww", "22w4", "224w", "2244", "26ww", "30w4", "304w", "34ww",
                        "34w4", "344w", "3444", "46ww", "46w6", "466w", "4666", "58ww", "58w6", "586w", "5866"};
const Forms kSourceActiveForms{"10ww", "14w4", "144w", "1844", "26w6", "266w", "3046", "3064", "4266"};
const Forms kCMulticastForms{"14ww", "18w4", "184w", "2244", "30w6", "306w", "3446", "3464", "4666"};

constexpr std::array kForms{'w', '4', '6'};

std::string form_name(std::size_t length, char src, char grp)
{
    return std::to_string(length) + src + grp;
}

void expect_form(const NgmvpnInstance &instance, const Bytes &route, bool accepted, const std::string &name)
{
    SCOPED_TRACE(name + " " + hex(route));
    for (const Bytes &behind : {Bytes{}, Bytes(100, 0x11)}) {
        const Parsed got = parse_route(instance, route + behind);
        if (accepted) {
            EXPECT_EQ(got.code, 0U);
            EXPECT_EQ(got.moved, std::ssize(route));
            EXPECT_TRUE(got.block);
        } else {
            expect_refusal(got, kMalformed, 2);
        }
    }
}

TEST(NlriParse, SpmsiTakesTheFormsThatItsLengthAllows)
{
    const NgmvpnInstance instance(kPlain);
    for (std::size_t length = 14; length <= 58; ++length) {
        const bool long_orig = length == 26 || length == 30 || length == 34 || length == 58;
        for (const char src : kForms) {
            for (const char grp : kForms) {
                const std::string name = form_name(length, src, grp);
                const unsigned hint = hint_of(length);
                const Bytes body =
                    bytes(kRd0 + address(src, hint, false) + address(grp, hint, true) + (long_orig ? kO6 : kO4));
                expect_form(instance, header(3, length) + sized(body, length), kSpmsiForms.contains(name), name);
            }
        }
    }
}

TEST(NlriParse, SpmsiOfAnIpv6GroupAloneIsTakenWithNeitherOriginator)
{
    // (*,G) of IPv6 would have length 30 or 42, and these lengths stand for other originators.
    const NgmvpnInstance instance(kPlain);
    for (const std::string &wire :
         {"03 1e" + kRd0 + "00" + kG6 + kO4, "03 2a" + kRd0 + "00" + kG6 + kO6, "03 22" + kRd0 + kS4 + kG6 + kO4}) {
        SCOPED_TRACE(wire);
        expect_refusal(parse_route(instance, bytes(wire)), kMalformed, 2);
        expect_refusal(parse_route(instance, bytes(wire) + Bytes(40, 0x20)), kMalformed, 2);
    }
}

TEST(NlriParse, SourceActiveTakesTheFormsThatItsLengthAllows)
{
    const NgmvpnInstance instance(kPlain);
    for (std::size_t length = 10; length <= 42; ++length) {
        for (const char src : kForms) {
            for (const char grp : kForms) {
                const std::string name = form_name(length, src, grp);
                const Bytes body = bytes(kRd0 + address(src, 0, false) + address(grp, 0, true));
                expect_form(instance, header(5, length) + sized(body, length), kSourceActiveForms.contains(name), name);
            }
        }
    }
}

TEST(NlriParse, CMulticastTakesTheFormsThatItsLengthAllows)
{
    const NgmvpnInstance instance(kPlain);
    for (const unsigned type : {6U, 7U}) {
        for (std::size_t length = 14; length <= 46; ++length) {
            for (const char src : kForms) {
                for (const char grp : kForms) {
                    const std::string name = form_name(length, src, grp);
                    const Bytes body = bytes(kRd0 + kAs + address(src, 0, false) + address(grp, 0, true));
                    expect_form(instance, header(type, length) + sized(body, length), kCMulticastForms.contains(name),
                                name);
                }
            }
        }
    }
}

// How a component reads a Leaf A-D route of an S-PMSI: which embedded lengths mean four-octet and which mean 16-octet
// addresses. Every other embedded length: four octets, but a route as long as with 16.
struct LeafRule {
    std::vector<std::uint16_t> kinds;
    std::set<std::uint32_t> four;
    std::set<std::uint32_t> sixteen;
    Forms forms; // by the embedded length
};

const std::vector<LeafRule> &leaf_rules()
{
    static const std::vector<LeafRule> rules{
        {{985, 1793},
         {14, 18, 22},
         {26, 30, 34},
         {"14ww", "18w4", "184w", "22ww", "22w4", "224w", "2244", "26ww", "30w4", "304w", "34ww", "34w4", "344w",
          "3444", "46ww", "46w6", "466w", "4666"}},
        {{298, 299}, {14, 30, 46}, {26, 42, 58}, {"14ww", "18w4", "184w", "22ww", "22w4", "224w", "2244", "26ww",
                                                  "30w6", "306w", "34w6", "346w", "3446", "3464", "46ww", "46w6",
                                                  "466w", "4666", "42w6", "426w", "58ww", "58w6", "586w", "5866"}},
        {{0, 1, 297, 300, 984, 986, 1792, 1794, 65535},
         {},
         {},
         {"14ww", "18w4", "184w", "22ww", "22w4", "224w", "2244", "30w6", "306w", "34w6", "346w", "3446", "3464",
          "46ww", "46w6", "466w", "4666"}},
    };
    return rules;
}

TEST(NlriParse, SpmsiLeafTakesTheFormsThatItsComponentAndEmbeddedLengthAllow)
{
    const NgmvpnInstance instance(kPlain);
    for (const LeafRule &rule : leaf_rules()) {
        for (const std::uint16_t kind : rule.kinds) {
            instance.ctx->usInstanceKind = kind;
            for (std::uint32_t inner = 14; inner <= 58; ++inner) {
                const std::size_t length = inner + (rule.four.contains(inner) ? 6 : 18);
                const bool long_addr = rule.sixteen.contains(inner);
                for (const char src : kForms) {
                    for (const char grp : kForms) {
                        const std::string name = form_name(inner, src, grp);
                        const unsigned hint = hint_of(inner);
                        const Bytes body =
                            header(3, inner) + bytes(kRd0 + address(src, hint, false) + address(grp, hint, true) +
                                                     (long_addr ? kO6 + kL6 : kO4 + kL4));
                        expect_form(instance, header(4, length) + sized(body, length), rule.forms.contains(name),
                                    name + " kind " + std::to_string(kind));
                    }
                }
            }
        }
    }
}

TEST(NlriParse, SpmsiLeafEmbeddedLength30NeedsRouteLength48OnTheIpv4SideAnd36OnTheIpv6Side)
{
    for (const auto &[side, good, bad] :
         {std::tuple{kMvrf4, 48, 36}, {kMvpn4, 48, 36}, {kMvrf6, 36, 48}, {kMvpn6, 36, 48}}) {
        const NgmvpnInstance instance(side);
        const bool wide = good == 48;
        const Bytes body = bytes("03 1e" + kRd0 + "00" + (wide ? kG4 + kO6 + kL6 : kG6 + kO4 + kL4));
        const Parsed got = parse_route(instance, header(4, static_cast<std::size_t>(good)) + body);
        EXPECT_EQ(got.code, 0U);
        EXPECT_TRUE(got.block);
        const auto other = static_cast<std::size_t>(bad);
        expect_refusal(parse_route(instance, header(4, other) + sized(body, other)), kMalformed, 2);
    }
}

TEST(NlriParse, SpmsiLeafOfTwentyOctetsPassesInAllFourComponents)
{
    for (const Side side : {kMvrf4, kMvrf6, kMvpn4, kMvpn6}) {
        const NgmvpnInstance instance(side);
        const Parsed got = parse_route(instance, bytes("04 14 03 0e" + kRd0 + "00 00" + kO4 + kL4));
        EXPECT_EQ(got.code, 0U);
        EXPECT_TRUE(got.block);
    }
}

TEST(NlriParse, LeafOfAPlainInstanceNeedsTwelveOctetsThatNobodyReads)
{
    const NgmvpnInstance instance(kPlain);
    const Bytes tight = bytes("04 14 03 0e" + kRd0 + "00 00" + kO4 + kL4);
    expect_refusal(parse_route(instance, tight), kMalformed, 2);
    const Bytes padded = bytes("04 20 03 0e" + kRd0 + "00 00" + kO4 + kL4) + Bytes(12, 0xff);
    const Parsed got = parse_route(instance, padded + kNextRoute);
    EXPECT_EQ(got.code, 0U);
    EXPECT_EQ(got.moved, std::ssize(padded));
    EXPECT_EQ(got.more, 1U);
    expect_block(got.block, padded_leaf_routes()[0].key, padded_leaf_routes()[0].nonkey());
}

TEST(NlriParse, SourceOfNoLengthIsFineWhereAZeroSourceIsRefused)
{
    const NgmvpnInstance instance(kPlain);
    EXPECT_EQ(parse_route(instance, bytes("05 0e" + kRd0 + "00" + kG4)).code, 0U);
    expect_refusal(parse_route(instance, bytes("05 12" + kRd0 + "20 00000000" + kG4)), kRefused, 2);
}

TEST(NlriParse, ExplicitWildcardOctetsMustAllBeZero)
{
    const NgmvpnInstance instance(kPlain);
    struct Row {
        std::string wire;
        std::size_t first; // the wildcard's octets
        std::size_t count;
    };
    const Row rows[] = {
        {"03 16" + kRd0 + kZ4 + kG4 + kO4, 11, 4},
        {"03 16" + kRd0 + kS4 + kZ4 + kO4, 16, 4},
        {"03 22" + kRd0 + kZ4 + kG4 + kO6, 11, 4},
        {"03 22" + kRd0 + kS4 + kZ4 + kO6, 16, 4},
        {"03 2e" + kRd0 + kZ6 + kG6 + kO4, 11, 16},
        {"03 2e" + kRd0 + kS6 + kZ6 + kO4, 28, 16},
        {"03 3a" + kRd0 + kZ6 + kG6 + kO6, 11, 16},
        {"03 3a" + kRd0 + kS6 + kZ6 + kO6, 28, 16},
        {"04 28 03 16" + kRd0 + kZ4 + kG4 + kO4 + kL4 + "000000000000000000000000", 13, 4},
        {"04 40 03 2e" + kRd0 + kS6 + kZ6 + kO4 + kL4 + "000000000000000000000000", 30, 16},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.wire);
        EXPECT_EQ(parse_route(instance, bytes(row.wire)).code, 0U);
        for (std::size_t i = 0; i < row.count; ++i) {
            Bytes octets = bytes(row.wire);
            octets[row.first + i] = 1;
            expect_refusal(parse_route(instance, octets), kMalformed, 2);
        }
    }
}

TEST(NlriParse, AnAddressIsZeroOnlyIfAllItsOctetsAre)
{
    const NgmvpnInstance instance(kPlain);
    for (const auto &[wire, first, count] : {std::tuple{"05 12" + kRd0 + "20 00000000" + kG4, 11, 4},
                                             {"05 12" + kRd0 + kS4 + "20 00000000", 16, 4},
                                             {"05 2a" + kRd0 + "80" + kZero16 + kG6, 11, 16},
                                             {"05 2a" + kRd0 + kS6 + "80" + kZero16, 28, 16}}) {
        SCOPED_TRACE(wire);
        expect_refusal(parse_route(instance, bytes(wire)), kRefused, 2);
        for (int i = 0; i < count; ++i) {
            Bytes octets = bytes(wire);
            octets[static_cast<std::size_t>(first + i)] = 1;
            EXPECT_EQ(parse_route(instance, octets).code, 0U) << "octet " << i;
        }
    }
}

// --- refusals -------------------------------------------------------------------------------------------------------

enum class Cursor { kUnmoved, kBehindHeader, kBehindRoute };

struct Refusal {
    const char *name;
    Side side;
    std::string wire;
    std::uint32_t code;
    Cursor cursor;
    std::size_t asserts = 0;
};

std::vector<Refusal> refusals()
{
    const std::string ten = "00000000000000000000";
    std::string seventy_six;
    for (int i = 0; i < 76; ++i) {
        seventy_six += "00";
    }
    using enum Cursor;
    return {
        {"route length 9", kPlain, "05 09 0000 0064 00000001 00", kMalformed, kUnmoved},
        {"route length 0", kPlain, "02 00" + ten, kMalformed, kUnmoved},
        {"route length 77", kPlain, "04 4d" + seventy_six + "00", kMalformed, kUnmoved},
        {"unknown route type, length 9", kPlain, "09 09 000000000000000000", kMalformed, kUnmoved},
        {"unknown route type, length 77", kPlain, "08 4d" + seventy_six + "00", kMalformed, kUnmoved},
        {"route type 0", kPlain, "00 0a" + ten, kRefused, kBehindRoute},
        {"route type 8", kPlain, "08 0a" + ten, kRefused, kBehindRoute},
        {"route type 255", kMvpn4, "ff 4c" + seventy_six, kRefused, kBehindRoute},
        {"intra 11", kPlain, "01 0b" + kRd0 + "0a0000", kMalformed, kBehindHeader},
        {"intra 13", kPlain, "01 0d" + kRd0 + "0a00000100", kMalformed, kBehindHeader},
        {"intra 23", kPlain, "01 17" + kRd0 + "000000000000000000000000000000", kMalformed, kBehindHeader},
        {"intra 25", kPlain, "01 19" + kRd0 + kO6 + "00", kMalformed, kBehindHeader},
        {"inter 11", kPlain, "02 0b" + kRd0 + "000000", kMalformed, kBehindHeader},
        {"inter 13", kPlain, "02 0d" + kRd0 + kAs + "00", kMalformed, kBehindHeader},
        {"inter 24", kPlain, "02 18" + kRd0 + kO6, kMalformed, kBehindHeader},

        {"S-PMSI source length 1", kPlain, "03 0e" + kRd0 + "01 00" + kO4, kMalformed, kBehindHeader},
        {"S-PMSI source length 31", kPlain, "03 16" + kRd0 + "1f 0a000001" + kG4 + kO4, kMalformed, kBehindHeader},
        {"S-PMSI source length 33", kPlain, "03 16" + kRd0 + "21 0a000001" + kG4 + kO4, kMalformed, kBehindHeader},
        {"S-PMSI group length 127", kPlain, "03 16" + kRd0 + kS4 + "7f ef010203" + kO4, kMalformed, kBehindHeader},
        {"S-PMSI group length 129", kPlain, "03 16" + kRd0 + kS4 + "81 ef010203" + kO4, kMalformed, kBehindHeader},
        {"S-PMSI source zero", kPlain, "03 16" + kRd0 + "20 00000000" + kG4 + kO4, kRefused, kBehindHeader},
        {"S-PMSI group zero", kPlain, "03 16" + kRd0 + kS4 + "20 00000000" + kO4, kRefused, kBehindHeader},
        {"S-PMSI IPv6 source zero", kPlain, "03 2e" + kRd0 + "80" + kZero16 + kG6 + kO4, kRefused, kBehindHeader},
        {"S-PMSI IPv6 group zero", kPlain, "03 2e" + kRd0 + kS6 + "80" + kZero16 + kO4, kRefused, kBehindHeader},
        {"S-PMSI one octet too long", kPlain, "03 0f" + kRd0 + "00 00" + kO4 + "00", kMalformed, kBehindHeader},

        {"leaf of route type 0", kMvpn4, "04 12 00 0c" + kRd0 + kO4 + kL4, kRefused, kBehindHeader},
        {"leaf of route type 2", kMvpn4, "04 12 02 0c" + kRd0 + kO4 + kL4, kRefused, kBehindHeader},
        {"leaf of route type 4", kMvpn4, "04 12 04 0c" + kRd0 + kO4 + kL4, kRefused, kBehindHeader},
        {"leaf of route type 2, RD type 3", kMvpn4, "04 12 02 0c" + kRd3 + kO4 + kL4, kRefused, kBehindHeader},
        {"leaf of route type 5, length 10", kMvpn4, "04 0a 05" + kRd0 + "00", kRefused, kBehindHeader},
        {"I-PMSI leaf 17", kMvpn4, "04 11 01 0c" + kRd0 + kO4 + "0a0000", kMalformed, kBehindHeader},
        {"I-PMSI leaf 19", kMvpn4, "04 13 01 0c" + kRd0 + kO4 + kL4 + "00", kMalformed, kBehindHeader},
        {"I-PMSI leaf 18 around 24", kMvpn4, "04 12 01 18" + kRd0 + kO4 + kL4, kMalformed, kBehindHeader},
        {"I-PMSI leaf 42 around 12", kMvpn4, "04 2a 01 0c" + kRd0 + kO6 + kL6, kMalformed, kBehindHeader},
        {"I-PMSI leaf 18 around 13", kMvpn4, "04 12 01 0d" + kRd0 + kO4 + kL4, kMalformed, kBehindHeader},
        {"I-PMSI leaf 42 around 23", kMvpn4, "04 2a 01 17" + kRd0 + kO6 + kL6, kMalformed, kBehindHeader},
        {"S-PMSI leaf 19", kMvpn4, "04 13 03 0d" + kRd0 + "00 00" + kO4 + "0a0000", kMalformed, kBehindHeader},
        {"S-PMSI leaf, embedded length 13", kMvpn4, "04 1f 03 0d" + kRd0 + "00 00" + kO6 + "0a0000", kMalformed,
         kBehindHeader, 1},
        {"S-PMSI leaf, embedded length 59", kMvpn4, "04 4c 03 3b" + kRd0 + kS6 + kG6 + kO6 + kL6, kMalformed,
         kBehindHeader, 1},
        {"S-PMSI leaf, embedded length that does not fit", kMvpn4, "04 15 03 0e" + kRd0 + "00 00" + kO4 + kL4 + "00",
         kMalformed, kBehindHeader},
        {"S-PMSI leaf source length 24", kMvpn4, "04 1c 03 16" + kRd0 + "18 0a000001" + kG4 + kO4 + kL4, kMalformed,
         kBehindHeader},
        {"S-PMSI leaf group length 64", kMvpn4, "04 1c 03 16" + kRd0 + kS4 + "40 ef010203" + kO4 + kL4, kMalformed,
         kBehindHeader},
        {"S-PMSI leaf source zero", kMvpn4, "04 1c 03 16" + kRd0 + "20 00000000" + kG4 + kO4 + kL4, kRefused,
         kBehindHeader},
        {"S-PMSI leaf group zero", kMvpn4, "04 1c 03 16" + kRd0 + kS4 + "20 00000000" + kO4 + kL4, kRefused,
         kBehindHeader},
        {"S-PMSI leaf IPv6 source zero", kMvpn6, "04 34 03 2e" + kRd0 + "80" + kZero16 + kG6 + kO4 + kL4, kRefused,
         kBehindHeader},
        {"S-PMSI leaf, an IPv6 route in an IPv4 component", kMvpn4,
         "04 40 03 2e" + kRd0 + kS6 + kG6 + kO4 + kL4 + "000000000000000000000000", kRefused, kBehindHeader},
        {"S-PMSI leaf, an IPv4 route in an IPv6 component", kMvrf6,
         "04 28 03 16" + kRd0 + kS4 + kG4 + kO4 + kL4 + "000000000000000000000000", kRefused, kBehindHeader},

        {"source active, source length 4", kPlain, "05 0a" + kRd0 + "04 00", kMalformed, kBehindHeader},
        {"source active, group length 255", kPlain, "05 0a" + kRd0 + "00 ff", kMalformed, kBehindHeader},
        {"source active, source zero", kPlain, "05 12" + kRd0 + "20 00000000" + kG4, kRefused, kBehindHeader},
        {"source active, group zero", kPlain, "05 12" + kRd0 + kS4 + "20 00000000", kRefused, kBehindHeader},
        {"source active with octets of a wildcard", kPlain, "05 12" + kRd0 + kS4 + kZ4, kMalformed, kBehindHeader},
        {"source active 43", kPlain, "05 2b" + kRd0 + kS6 + kG6 + "00", kMalformed, kBehindHeader},
        {"shared tree, source length 4", kPlain, "06 0e" + kRd0 + kAs + "04 00", kMalformed, kBehindHeader},
        {"shared tree, source zero", kPlain, "06 16" + kRd0 + kAs + "20 00000000" + kG4, kRefused, kBehindHeader},
        {"shared tree 13", kPlain, "06 0d" + kRd0 + "000000 00 00", kMalformed, kBehindHeader},
        {"source tree, group length 3", kPlain, "07 0e" + kRd0 + kAs + "00 03", kMalformed, kBehindHeader},
        {"source tree, group zero", kPlain, "07 16" + kRd0 + kAs + kS4 + "20 00000000", kRefused, kBehindHeader},
        {"source tree 47", kPlain, "07 2f" + kRd0 + kAs + kS6 + kG6 + "00", kMalformed, kBehindHeader},

        // Two faults in one route: length, RD type, source, group, originator, sum, address family.
        {"length before RD type", kPlain, "02 0d" + kRd3 + kAs + "00", kMalformed, kBehindHeader},
        {"embedded length before RD type", kMvpn4, "04 12 01 0d" + kRd3 + kO4 + kL4, kMalformed, kBehindHeader},
        {"embedded and route length before RD type", kMvpn4, "04 15 03 0e" + kRd3 + "00 00" + kO4 + kL4 + "00",
         kMalformed, kBehindHeader},
        {"RD type before source", kPlain, "05 0a" + kRd3 + "04 00", kRefused, kBehindRoute},
        {"zero source before group length", kPlain, "05 0f" + kRd0 + "20 00000000 04 00", kRefused, kBehindHeader},
        {"source length before zero group", kPlain, "05 0f" + kRd0 + "04 20 00000000 00", kMalformed, kBehindHeader},
        {"zero group before sum", kPlain, "05 13" + kRd0 + kS4 + "20 00000000 00", kRefused, kBehindHeader},
        {"sum before address family", kPlain6, "05 13" + kRd0 + kS4 + kG4 + "00", kMalformed, kBehindHeader},
        {"S-PMSI sum before address family", kPlain6, "03 13" + kRd0 + kS4 + "00" + kO4 + "00", kMalformed,
         kBehindHeader},
        {"S-PMSI leaf sum before address family", kMvpn6, "04 24 03 1e" + kRd0 + kS4 + "00" + kO4 + kL4 + kO6,
         kMalformed, kBehindHeader},
        {"shared tree sum before address family", kPlain4, "06 2d" + kRd0 + kAs + kS6 + "00" + kO6.substr(0, 31),
         kMalformed, kBehindHeader},
    };
}

TEST(NlriParse, EveryRefusalLeavesWhatItPromises)
{
    const LeakCheck leaks;
    for (const Refusal &row : refusals()) {
        SCOPED_TRACE(std::string(row.name) + " [" + row.wire + "]");
        const NgmvpnInstance instance(row.side);
        const Bytes octets = bytes(row.wire);
        for (std::size_t behind : {0U, 1U, 2U, 3U, 4U, 14U}) {
            const Bytes tail(kNextRoute.begin(), kNextRoute.begin() + static_cast<std::ptrdiff_t>(behind));
            const Parsed got = parse_route(instance, octets + tail);
            switch (row.cursor) {
            case Cursor::kUnmoved:
                expect_refusal(got, row.code, 0);
                break;
            case Cursor::kBehindHeader:
                expect_refusal(got, row.code, 2);
                break;
            case Cursor::kBehindRoute:
                expect_refusal(got, row.code, std::ssize(octets), behind > 2 ? 1U : 0U);
                break;
            }
            EXPECT_EQ(got.asserts, row.asserts);
        }
    }
}

TEST(NlriParse, ARouteOfAnyTypeIsMalformedPastTheEndOfTheAttribute)
{
    const NgmvpnInstance instance(kPlain);
    for (unsigned type = 0; type <= 9; ++type) {
        for (const std::size_t length : {10U, 12U, 24U, 42U, 76U, 77U, 255U}) {
            const Bytes octets = header(type, length) + Bytes(std::min<std::size_t>(length - 1, 76), 0);
            expect_refusal(parse_route(instance, octets), kMalformed, 0);
        }
    }
}

TEST(NlriParse, TheLengthOfEachTypeIsJudgedBeforeItsRdType)
{
    const NgmvpnInstance instance(kMvpn4);
    const auto in = [](std::size_t from, std::size_t to) {
        return [=](std::size_t length) { return length >= from && length <= to; };
    };
    const std::vector<std::pair<unsigned, std::function<bool(std::size_t)>>> rows{
        {1, [](std::size_t length) { return length == 12 || length == 24; }},
        {2, [](std::size_t length) { return length == 12; }},
        {3, in(14, 58)},
        {5, in(10, 42)},
        {6, in(14, 46)},
        {7, in(14, 46)},
    };
    for (const auto &[type, fits] : rows) {
        for (std::size_t length = 10; length <= 76; ++length) {
            SCOPED_TRACE("type " + std::to_string(type) + " length " + std::to_string(length));
            const Bytes route = header(type, length) + sized(bytes(kRd3), length);
            if (fits(length)) {
                expect_refusal(parse_route(instance, route), kRefused, std::ssize(route), 0);
            } else {
                expect_refusal(parse_route(instance, route), kMalformed, 2);
            }
        }
    }
}

TEST(NlriParse, TheLengthsOfALeafRouteAreJudgedBeforeItsRdType)
{
    const NgmvpnInstance instance(kMvpn4);
    const std::set<std::pair<std::size_t, std::size_t>> ipmsi{{18, 12}, {42, 24}};
    for (std::size_t length = 10; length <= 76; ++length) {
        for (std::size_t inner = 0; inner <= 80; ++inner) {
            const bool short_form = inner == 14 || inner == 18 || inner == 22;
            const bool spmsi = inner >= 14 && inner <= 58 && length == inner + (short_form ? 6 : 18);
            for (const auto &[embedded, fits] : {std::pair{1U, ipmsi.contains({length, inner})}, {3U, spmsi}}) {
                const Bytes route = header(4, length) + sized(header(embedded, inner) + bytes(kRd3), length);
                const Parsed got = parse_route(instance, route);
                ASSERT_EQ(got.code, fits ? kRefused : kMalformed) << length << " around " << inner;
                ASSERT_EQ(got.moved, fits ? std::ssize(route) + 2 : 2);
                ASSERT_FALSE(got.result_written);
            }
        }
    }
}

TEST(NlriParse, EveryNullArgumentIsReportedOnceAndRefused)
{
    const NgmvpnInstance instance(kPlain);
    const Bytes octets = ipmsi_routes()[0].octets();
    const auto size = static_cast<std::uint32_t>(octets.size());
    for (int missing = 0; missing < 4; ++missing) {
        const Parsed got = run_parser(octets, 0, [&](auto cursor, auto result, auto more) {
            return QEL_NGMVPN_ParseMpNlri(missing == 0 ? nullptr : cursor, size, missing == 1 ? nullptr : result,
                                          missing == 2 ? nullptr : more, missing == 3 ? nullptr : instance.ctx);
        });
        expect_refusal(got, 0x50002, 0);
        EXPECT_EQ(got.asserts, 1U);
        const Parsed leaf = run_parser(bytes("12 01 0c"), 1, [&](auto cursor, auto result, auto more) {
            return QEL_NGMVPN_ParseBgpLeafAd(missing == 0 ? nullptr : cursor, 1, 2, missing == 1 ? nullptr : result,
                                             missing == 2 ? nullptr : more, 2, missing == 3 ? nullptr : instance.ctx);
        });
        expect_refusal(leaf, 0x50002, 0);
        EXPECT_EQ(leaf.asserts, 1U);
    }
    const Parsed all =
        run_parser(octets, 0, [](auto...) { return QEL_NGMVPN_ParseMpNlri(nullptr, 0, nullptr, nullptr, nullptr); });
    expect_refusal(all, 0x50002, 0);
    EXPECT_EQ(all.asserts, 1U);
}

// --- address family of the instance
// -----------------------------------------------------------------------------------

TEST(NlriParse, AnAddressOfTheOtherFamilyIsRefused)
{
    struct Row {
        std::string wire;
        bool ipv4; // holds an IPv4 source or group, or a wildcard with four octets
        bool ipv6;
    };
    const Row rows[] = {
        {"03 0e" + kRd0 + "00 00" + kO4, false, false},
        {"03 1a" + kRd0 + "00 00" + kO6, false, false},
        {"03 12" + kRd0 + "00" + kG4 + kO4, true, false},
        {"03 12" + kRd0 + kS4 + "00" + kO4, true, false},
        {"03 16" + kRd0 + kZ4 + kZ4 + kO4, true, false},
        {"03 22" + kRd0 + kS4 + kG4 + kO6, true, false},
        {"03 2e" + kRd0 + kZ6 + kZ6 + kO4, false, true},
        {"03 2e" + kRd0 + kS6 + kG6 + kO4, false, true},
        {"05 0a" + kRd0 + "00 00", false, false},
        {"05 0e" + kRd0 + kS4 + "00", true, false},
        {"05 0e" + kRd0 + "00" + kG4, true, false},
        {"05 1a" + kRd0 + kS6 + "00", false, true},
        {"05 1a" + kRd0 + "00" + kG6, false, true},
        {"05 1e" + kRd0 + kS4 + kG6, true, true},
        {"05 1e" + kRd0 + kS6 + kG4, true, true},
        {"06 0e" + kRd0 + kAs + "00 00", false, false},
        {"06 12" + kRd0 + kAs + "00" + kG4, true, false},
        {"06 1e" + kRd0 + kAs + kS6 + "00", false, true},
        {"07 12" + kRd0 + kAs + kS4 + "00", true, false},
        {"07 1e" + kRd0 + kAs + "00" + kG6, false, true},
        {"07 22" + kRd0 + kAs + kS4 + kG6, true, true},
        {"07 22" + kRd0 + kAs + kS6 + kG4, true, true},
        {"04 20 03 0e" + kRd0 + "00 00" + kO4 + kL4 + "000000000000000000000000", false, false},
        {"04 24 03 12" + kRd0 + "00" + kG4 + kO4 + kL4 + "000000000000000000000000", true, false},
        {"04 24 03 12" + kRd0 + kS4 + "00" + kO4 + kL4 + "000000000000000000000000", true, false},
        {"04 28 03 16" + kRd0 + kZ4 + kZ4 + kO4 + kL4 + "000000000000000000000000", true, false},
        {"04 30 03 1e" + kRd0 + "00" + kG6 + kO4 + kL4 + "000000000000000000000000", false, true},
        {"04 30 03 1e" + kRd0 + kS6 + "00" + kO4 + kL4 + "000000000000000000000000", false, true},
        {"04 34 03 22" + kRd0 + kS4 + kG6 + kO4 + kL4 + "000000000000000000000000", true, true},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.wire);
        const Bytes octets = bytes(row.wire);
        for (const std::uint32_t family : {0U, 1U, 2U, 3U}) {
            const NgmvpnInstance instance(Side{QEL_NGMVPN_Construct, family});
            const Parsed got = parse_route(instance, octets + kNextRoute);
            if ((family == 1 && row.ipv6) || (family == 2 && row.ipv4)) {
                expect_refusal(got, kRefused, 2);
            } else {
                EXPECT_EQ(got.code, 0U) << "family " << family;
                EXPECT_TRUE(got.block);
            }
        }
    }
}

// --- route distinguishers
// -----------------------------------------------------------------------------------------------

std::size_t rd_at(const NlriCase &route)
{
    return route.leaf() ? 4 : 2;
}

NlriCase with_rd(NlriCase route, std::string_view wire_rd)
{
    std::string text = hex(route.octets());
    text.replace(2 * rd_at(route), 16, hex(bytes(wire_rd)));
    route.wire = text;
    return route;
}

TEST(NlriParse, TheRdIsKeptInHostOrderByItsType)
{
    const LeakCheck leaks;
    const std::pair<std::string, QEL_RD_VALUE_S> rds[] = {{"0000 0102 03040506", rd0(0x0102, 0x03040506)},
                                                          {"0001 01020304 0506", rd12(1, 0x01020304, 0x0506)},
                                                          {"0002 01020304 0506", rd12(2, 0x01020304, 0x0506)}};
    for (const NlriCase &good : one_of_each()) {
        for (const auto &[wire, value] : rds) {
            NlriCase route = with_rd(good, wire);
            route.key.stRd = value;
            SCOPED_TRACE(route);
            const NgmvpnInstance instance(route.side);
            const Parsed got = parse_route(instance, route.octets());
            EXPECT_EQ(got.code, 0U);
            expect_block(got.block, route.key, route.nonkey());
        }
    }
}

const std::array<std::string, 4> kUnknownRds{"0003 0102 03040506", "0100 0102 03040506", "0200 0000 00000000",
                                             "ffff ffff ffffffff"};

TEST(NlriParse, ARouteOfAnUnknownRdTypeIsSteppedOver)
{
    const LeakCheck leaks;
    for (const NlriCase &good : one_of_each()) {
        if (good.leaf()) {
            continue;
        }
        for (const std::string &rd : kUnknownRds) {
            const NlriCase route = with_rd(good, rd);
            SCOPED_TRACE(route);
            const NgmvpnInstance instance(route.side);
            for (std::size_t behind = 0; behind <= 4; ++behind) {
                const Parsed got = parse_route(instance, route.octets() + Bytes(behind, 0x55));
                expect_refusal(got, kRefused, std::ssize(route.octets()), behind > 2 ? 1U : 0U);
                EXPECT_EQ(got.asserts, 0U);
            }
        }
    }
}

TEST(NlriParse, LeafSkipLandsTwoOctetsFurther)
{
    const LeakCheck leaks;
    for (const NlriCase &good : one_of_each()) {
        if (!good.leaf()) {
            continue;
        }
        for (const std::string &rd : kUnknownRds) {
            const NlriCase route = with_rd(good, rd);
            SCOPED_TRACE(route);
            const NgmvpnInstance instance(route.side);
            // With up to two octets behind the route that is behind or at the end of the attribute.
            for (std::size_t behind = 0; behind <= 4; ++behind) {
                const Parsed got = parse_route(instance, route.octets() + Bytes(behind, 0x55));
                expect_refusal(got, kRefused, std::ssize(route.octets()) + 2, behind > 2 ? 1U : 0U);
                EXPECT_EQ(got.asserts, 0U);
            }
        }
    }
}

TEST(NlriParse, BehindASkippedLeafTheAttributeIsReadTwoOctetsOff)
{
    const NgmvpnInstance instance(kMvpn4);
    const Bytes leaf = bytes("04 12 01 0c" + kRd3 + kO4 + kL4);
    const Bytes octets = leaf + kNextRoute + kNextRoute;
    expect_refusal(parse_route(instance, octets), kRefused, std::ssize(leaf) + 2, 1);
    // The next header would be the first two octets of the next route's RD: route type 0, length 0.
    expect_refusal(parse_route(instance, std::span(octets).subspan(leaf.size() + 2)), kMalformed, 0);
}

// --- reads that leave the route
// ------------------------------------------------------------------------------------------

TEST(NlriParse, ReadsRunOnIntoTheNextRouteButNeverPastTheAttribute)
{
    const LeakCheck leaks;
    struct Row {
        const char *name;
        Side side;
        std::string wire;   // the route, its last address cut off by the route's length
        std::size_t beyond; // octets behind the route that complete that address
    };
    // All octets of the cut address are zero: complete it is refused (or, as a wildcard's, taken into the sum), with
    // one octet missing the route is malformed.
    const Row rows[] = {
        {"S-PMSI source", kPlain, "03 0e" + kRd0 + "80 0000000000", 11},
        {"S-PMSI group", kPlain, "03 0e" + kRd0 + "00 80 00000000", 12},
        {"S-PMSI group behind a long source", kPlain, "03 1a" + kRd0 + kS6 + "80", 16},
        {"S-PMSI group of IPv4", kPlain, "03 1c" + kRd0 + kS6 + "20 0000", 2},
        {"source active source", kPlain, "05 0a" + kRd0 + "20 00", 3},
        {"source active source of IPv6", kPlain, "05 0a" + kRd0 + "80 00", 15},
        {"source active group", kPlain, "05 0a" + kRd0 + "00 20", 4},
        {"source active group of IPv6", kPlain, "05 12" + kRd0 + kS4 + "80 00000000", 12},
        {"shared tree source", kPlain, "06 0e" + kRd0 + kAs + "80 00", 15},
        {"source tree group", kPlain, "07 0e" + kRd0 + kAs + "00 20", 4},
        {"S-PMSI leaf source", kMvpn4, "04 14 03 0e" + kRd0 + "80 000000000000000000", 7},
        {"S-PMSI leaf group", kMvpn4, "04 14 03 0e" + kRd0 + kS4 + "80 00000000", 12},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(std::string(row.name) + " [" + row.wire + "]");
        const NgmvpnInstance instance(row.side);
        const Bytes route = bytes(row.wire);
        ASSERT_EQ(route[1] + 2U, route.size());
        for (std::size_t behind = 0; behind <= row.beyond + 3; ++behind) {
            const Parsed got = parse_route(instance, route + Bytes(behind, 0));
            expect_refusal(got, behind < row.beyond ? kMalformed : kRefused, 2);
            EXPECT_EQ(got.asserts, 0U);
        }
        // Completed by other octets the address is no zero address, and the sum does not fit.
        expect_refusal(parse_route(instance, route + Bytes(row.beyond + 64, 0x20)), kMalformed, 2);
    }
}

TEST(NlriParse, TheGroupOfALongSourceIsReadFromTheNextRoute)
{
    const NgmvpnInstance instance(kPlain);
    const Bytes route = bytes("05 19" + kRd0 + kS6); // ends behind the source
    expect_refusal(parse_route(instance, route), kMalformed, 2);
    expect_refusal(parse_route(instance, route + bytes("20 00000000")), kRefused, 2);
    expect_refusal(parse_route(instance, route + bytes("20 000000")), kMalformed, 2);
    expect_refusal(parse_route(instance, route + bytes("00")), kMalformed, 2);
    expect_refusal(parse_route(instance, route + bytes("ff")), kMalformed, 2);
    const Bytes leaf = bytes("04 1b 03 15" + kRd0 + kS6); // other kind: 21 + 18 octets would be asked for
    expect_refusal(parse_route(instance, leaf), kMalformed, 2);
}

TEST(NlriParse, AWildcardInTheNextRouteIsReadWithItsOctetsUpToTheEnd)
{
    // An S-PMSI of 22: the IPv6 source runs on into the next route, where a group of length 0 has its four octets.
    const NgmvpnInstance instance(kPlain);
    const Bytes route = bytes("03 16" + kRd0 + "80 20010db80000000000000000 00");
    ASSERT_EQ(route[1] + 2U, route.size());
    for (const std::string_view rest :
         {"000a01 00 00000000 01020304", "000a01 00 00000001 01020304", "000000 00 00000000 00"}) {
        const Bytes behind = bytes(rest);
        for (std::size_t size = 0; size <= behind.size(); ++size) {
            const Bytes tail(behind.begin(), behind.begin() + static_cast<std::ptrdiff_t>(size));
            expect_refusal(parse_route(instance, route + tail), kMalformed, 2);
        }
    }
}

TEST(NlriParse, OriginatorsPastTheAttributeAreMalformed)
{
    // Source and group are longer than the length says, so that originator or leaf address are cut by the end.
    for (const auto &[side, wire] : {std::pair{kPlain, "03 0e" + kRd0 + kS4 + "00"},
                                     {kPlain, "03 12" + kRd0 + kS4 + kG4},
                                     {kPlain, "03 1e" + kRd0 + kS4 + kG4 + kO4 + kL4 + "0000"},
                                     {kPlain, "03 22" + kRd0 + kS6 + kZ4},
                                     {kMvpn4, "04 14 03 0e" + kRd0 + kS4 + "00" + kO4},
                                     {kMvpn4, "04 18 03 12" + kRd0 + kS4 + kG4 + kO4},
                                     {kMvpn6, "04 2c 03 1a" + kRd0 + kS4 + "00" + kO6 + kL6},
                                     {kMvpn6, "04 2c 03 1a" + kRd0 + kS6 + kG6}}) {
        const NgmvpnInstance instance(side);
        const Bytes route = sized(bytes(wire), bytes(wire)[1] + 2U);
        SCOPED_TRACE(hex(route));
        for (std::size_t behind = 0; behind <= 40; ++behind) {
            expect_refusal(parse_route(instance, route + Bytes(behind, 0)), kMalformed, 2);
        }
    }
}

// --- allocation
// -------------------------------------------------------------------------------------------------------

TEST(NlriParse, ARouteWhoseBlockCannotBeAllocatedIsLostQuietly)
{
    const LeakCheck leaks;
    for (const NlriCase &route : one_of_each()) {
        SCOPED_TRACE(route);
        const NgmvpnInstance instance(route.side);
        const platform::FailAllocation failure(0);
        const Parsed got = parse_route(instance, route.octets() + kNextRoute);
        EXPECT_TRUE(failure.fired());
        expect_refusal(got, 0, std::ssize(route.octets()));
        EXPECT_EQ(got.asserts, 2U); // the block's, then the route's
    }
}

TEST(NlriParse, ARouteTakesOneAllocationOfItsExactSize)
{
    for (const NlriCase &route : one_of_each()) {
        SCOPED_TRACE(route);
        const NgmvpnInstance instance(route.side);
        const platform::HandleUsage before = platform::usage(kMemHandle);
        const Parsed got = parse_route(instance, route.octets());
        const platform::HandleUsage after = platform::usage(kMemHandle);
        EXPECT_EQ(after.allocations, before.allocations + 1);
        EXPECT_EQ(after.live_bytes, before.live_bytes + 244);
    }
}

TEST(NlriParse, RefusedRoutesAllocateNothing)
{
    for (const Refusal &row : refusals()) {
        SCOPED_TRACE(row.name);
        const NgmvpnInstance instance(row.side);
        const auto before = platform::usage(kMemHandle).allocations;
        static_cast<void>(parse_route(instance, bytes(row.wire) + kNextRoute));
        EXPECT_EQ(platform::usage(kMemHandle).allocations, before);
    }
}

// --- debug output
// -------------------------------------------------------------------------------------------------------

// The text behind "[MCAST][Line:<n>]:".
std::string message(const std::string &text)
{
    const std::string head = "[MCAST][Line:";
    const std::size_t end = text.find("]:", head.size());
    EXPECT_EQ(text.substr(0, head.size()), head);
    EXPECT_NE(end, std::string::npos);
    EXPECT_TRUE(std::all_of(text.begin() + static_cast<std::ptrdiff_t>(head.size()),
                            text.begin() + static_cast<std::ptrdiff_t>(end),
                            [](char c) { return c >= '0' && c <= '9'; }));
    return text.substr(end + 2);
}

TEST(NlriParse, LeafParsersLogTheirLengthErrorsWhileDebugOutputIsOn)
{
    struct Row {
        std::string wire;
        std::vector<std::string> texts;
    };
    const Row rows[] = {
        {"04 11 01 0c" + kRd0 + kO4 + "000000", {"QEL_NGMVPN_ParseIntraIpmsiLeaf, ipmsi leaf ad len err 17"}},
        {"04 2b 01 18" + kRd0 + kO6 + kL6 + "00", {"QEL_NGMVPN_ParseIntraIpmsiLeaf, ipmsi leaf ad len err 43"}},
        {"04 12 01 18" + kRd0 + kO4 + kL4, {"QEL_NGMVPN_ParseIntraIpmsiLeaf, intra ad len err 24"}},
        {"04 2a 01 ff" + kRd0 + kO6 + kL6, {"QEL_NGMVPN_ParseIntraIpmsiLeaf, intra ad len err 255"}},
        {"04 13 03 0e" + kRd0 + "00 00" + kO4 + "000000", {"QEL_NGMVPN_ParseSpmsiLeaf, spmsi leaf ad len err 19"}},
        {"04 15 03 0e" + kRd0 + "00 00" + kO4 + kL4 + "00", {}},
        {"04 12 02 0c" + kRd0 + kO4 + kL4, {}},
        {"04 12 01 0c" + kRd3 + kO4 + kL4, {}},
        {"04 12 01 0c" + kRd0 + kO4 + kL4, {}},
        {"04 14 03 0e" + kRd0 + "00 00" + kO4 + kL4, {}},
        {"03 0d" + kRd0 + "00 00 000000", {}},
        {"01 0d" + kRd0 + kO4 + "00", {}},
        {"05 0a" + kRd0 + "04 00", {}},
    };
    const NgmvpnInstance instance(kMvpn4);
    for (const Row &row : rows) {
        SCOPED_TRACE(row.wire);
        EXPECT_TRUE(parse_route(instance, bytes(row.wire)).debugs.empty());
    }
    instance.desc.pfSetLibDebug(5, 6, instance.ctx);
    for (const Row &row : rows) {
        SCOPED_TRACE(row.wire);
        std::vector<std::string> texts;
        for (const std::string &text : parse_route(instance, bytes(row.wire)).debugs) {
            texts.push_back(message(text));
        }
        EXPECT_EQ(texts, row.texts);
    }
}

TEST(NlriParse, ALeafRouteOfLessThanTwoOctetsIsLogged)
{
    const NgmvpnInstance instance(kMvpn4);
    for (const bool on : {false, true}) {
        for (const std::uint32_t length : {0U, 1U, 2U}) {
            if (on) {
                instance.desc.pfSetLibDebug(5, 6, instance.ctx);
            }
            const Bytes octets = bytes("02 0c 00");
            const Parsed got = run_parser(octets, 0, [&](auto cursor, auto result, auto more) {
                return QEL_NGMVPN_ParseBgpLeafAd(cursor, length, 3, result, more, 2, instance.ctx);
            });
            expect_refusal(got, length < 2 ? kMalformed : kRefused, 0);
            EXPECT_EQ(got.asserts, 0U);
            if (on && length < 2) {
                ASSERT_EQ(got.debugs.size(), 1U);
                EXPECT_EQ(message(got.debugs[0]), "NGMVPN_ParseBgpLeafAd, pkt nlri len err " + std::to_string(length));
            } else {
                EXPECT_TRUE(got.debugs.empty());
            }
        }
    }
}

// --- the parsers by themselves
// ----------------------------------------------------------------------------------------

using Parser = uint32_t (*)(const uint8_t **, uint32_t, uint32_t, QEL_ROUTE_BLOCK_S **, uint32_t *, uint8_t,
                            QEL_FAMILY_CTX_S *);

uint32_t parse_shared_tree(const uint8_t **cursor, uint32_t length, uint32_t remain, QEL_ROUTE_BLOCK_S **result,
                           uint32_t *more, uint8_t rd_kind, QEL_FAMILY_CTX_S *ctx)
{
    return QEL_NGMVPN_ParseBgpCMulticastRoute(6, cursor, length, remain, result, more, rd_kind, ctx);
}

uint32_t parse_source_tree(const uint8_t **cursor, uint32_t length, uint32_t remain, QEL_ROUTE_BLOCK_S **result,
                           uint32_t *more, uint8_t rd_kind, QEL_FAMILY_CTX_S *ctx)
{
    return QEL_NGMVPN_ParseBgpCMulticastRoute(7, cursor, length, remain, result, more, rd_kind, ctx);
}

std::vector<Parser> parsers_of(const NlriCase &route)
{
    switch (route.key.uiKeyType) {
    case 1:
        return {QEL_NGMVPN_ParseBgpIntraIpmsiAd};
    case 2:
        return {QEL_NGMVPN_ParseBgpInterIpmsiAd};
    case 3:
        return {QEL_NGMVPN_ParseBgpSpmsiAd};
    case 4:
        return {QEL_NGMVPN_ParseBgpLeafAd, QEL_NGMVPN_ParseIntraIpmsiLeaf};
    case 5:
        return {QEL_NGMVPN_ParseBgpLeafAd, QEL_NGMVPN_ParseSpmsiLeaf};
    case 6:
        return {QEL_NGMVPN_ParseBgpSourceActiveAd};
    case 7:
        return {parse_shared_tree};
    default:
        return {parse_source_tree};
    }
}

// The cursor stands behind the route's two header octets.
Parsed call(Parser parser, const NgmvpnInstance &instance, const Bytes &octets, std::uint8_t rd_kind)
{
    return run_parser(octets, 2, [&](auto cursor, auto result, auto more) {
        return parser(cursor, octets[1], static_cast<std::uint32_t>(octets.size() - 2), result, more, rd_kind,
                      instance.ctx);
    });
}

// The step refuses by itself, before anything is read, what the operation refuses ahead of it.
TEST(NlriParse, ALeafOfAnSpmsiLongerThanAnyRouteIsMalformed)
{
    const NgmvpnInstance instance(kMvpn4);
    instance.desc.pfSetLibDebug(5, 6, instance.ctx);
    for (const std::uint32_t length : {77U, 255U, 256U, 276U, 0xffffffffU}) {
        SCOPED_TRACE(length);
        const Parsed got = run_parser(Bytes(300), 0, [&](auto cursor, auto result, auto more) {
            return QEL_NGMVPN_ParseSpmsiLeaf(cursor, length, length, result, more, 1, instance.ctx);
        });
        EXPECT_EQ(got.code, kMalformed);
        EXPECT_EQ(got.moved, 0);
        EXPECT_FALSE(got.block);
        ASSERT_EQ(got.debugs.size(), 1U);
        EXPECT_EQ(message(got.debugs[0]), "QEL_NGMVPN_ParseSpmsiLeaf, spmsi leaf ad len err " + std::to_string(length));
    }
}

TEST(NlriParse, TheParsersFileARouteWithTheRdKindThatTheyAreGiven)
{
    const LeakCheck leaks;
    for (const NlriCase &route : one_of_each()) {
        SCOPED_TRACE(route);
        const NgmvpnInstance instance(route.side);
        for (const Parser parser : parsers_of(route)) {
            for (const std::uint8_t kind : std::array<std::uint8_t, 5>{0, 1, 2, 3, 255}) {
                const Parsed got = call(parser, instance, route.octets() + Bytes(3, 0), kind);
                EXPECT_EQ(got.code, 0U);
                EXPECT_EQ(got.moved, std::ssize(route.octets()) - 2);
                EXPECT_EQ(got.more, 1U);
                QEL_NGMVPN_KEY_S key = route.key;
                key.ucRdKind = kind;
                expect_block(got.block, key, route.nonkey());
            }
        }
    }
}

TEST(NlriParse, ARefusingParserLeavesItsCursorAndASkippingOneMovesIt)
{
    for (const NlriCase &good : one_of_each()) {
        SCOPED_TRACE(good);
        const NgmvpnInstance instance(good.side);
        const NlriCase unknown = with_rd(good, kUnknownRds[0]);
        for (const Parser parser : parsers_of(good)) {
            const std::ptrdiff_t skip = std::ssize(unknown.octets()) - 2 + (good.leaf() ? 2 : 0);
            expect_refusal(call(parser, instance, unknown.octets(), 2), kRefused, skip, 0);
            Bytes octets = good.octets();
            octets[1] = 9;
            expect_refusal(call(parser, instance, octets, 2), kMalformed, 0);
        }
    }
}

TEST(NlriParse, FixedFormsAskForTheirOctets)
{
    const NgmvpnInstance instance(kPlain);
    struct Row {
        Parser parser;
        std::uint32_t length;
        std::uint32_t remain;
        bool good;
    };
    const Row rows[] = {
        {QEL_NGMVPN_ParseBgpIntraIpmsiAd, 12, 12, true},  {QEL_NGMVPN_ParseBgpIntraIpmsiAd, 12, 11, false},
        {QEL_NGMVPN_ParseBgpIntraIpmsiAd, 12, 24, true},  {QEL_NGMVPN_ParseBgpIntraIpmsiAd, 24, 24, true},
        {QEL_NGMVPN_ParseBgpIntraIpmsiAd, 24, 23, false}, {QEL_NGMVPN_ParseBgpIntraIpmsiAd, 24, 12, false},
        {QEL_NGMVPN_ParseBgpIntraIpmsiAd, 16, 24, false}, {QEL_NGMVPN_ParseBgpInterIpmsiAd, 12, 12, true},
        {QEL_NGMVPN_ParseBgpInterIpmsiAd, 12, 11, false}, {QEL_NGMVPN_ParseBgpInterIpmsiAd, 13, 24, false},
        {QEL_NGMVPN_ParseBgpInterIpmsiAd, 11, 24, false}, {QEL_NGMVPN_ParseBgpInterIpmsiAd, 24, 24, false},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(std::to_string(row.length) + " of " + std::to_string(row.remain));
        const Bytes octets = sized(bytes(kRd0 + kO6), row.remain);
        const Parsed got = run_parser(octets, 0, [&](auto cursor, auto result, auto more) {
            return row.parser(cursor, row.length, row.remain, result, more, 2, instance.ctx);
        });
        if (row.good) {
            EXPECT_EQ(got.code, 0U);
            EXPECT_EQ(got.moved, row.length);
            EXPECT_TRUE(got.block);
        } else {
            expect_refusal(got, kMalformed, 0);
        }
    }
}

TEST(NlriParse, AParserByItselfJudgesTheLengthBeforeTheRdType)
{
    const NgmvpnInstance instance(kPlain);
    struct Row {
        Parser parser;
        std::uint32_t shortest;
        std::uint32_t longest;
    };
    for (const Row &row : {Row{QEL_NGMVPN_ParseBgpSpmsiAd, 14, 58}, Row{QEL_NGMVPN_ParseBgpSourceActiveAd, 10, 42},
                           Row{parse_shared_tree, 14, 46}, Row{parse_source_tree, 14, 46},
                           Row{QEL_NGMVPN_ParseBgpInterIpmsiAd, 12, 12}}) {
        for (std::uint32_t length = 0; length <= 80; ++length) {
            const Parsed got = run_parser(sized(bytes(kRd3), 80), 0, [&](auto cursor, auto result, auto more) {
                return row.parser(cursor, length, 80, result, more, 2, instance.ctx);
            });
            if (length >= row.shortest && length <= row.longest) {
                expect_refusal(got, kRefused, length, length + 2 < 80 ? 1U : 0U);
            } else {
                expect_refusal(got, kMalformed, 0);
            }
        }
    }
}

TEST(NlriParse, ALeafRouteOfAnUnknownTypeIsRefusedByItsFirstOctet)
{
    const NgmvpnInstance instance(kMvpn4);
    for (const auto &row : {std::pair{"02", kRefused}, {"00", kRefused}, {"01", kMalformed}, {"03", kMalformed}}) {
        const Parsed got = run_parser(bytes(row.first), 0, [&](auto cursor, auto result, auto more) {
            return QEL_NGMVPN_ParseBgpLeafAd(cursor, 18, 1, result, more, 2, instance.ctx);
        });
        expect_refusal(got, row.second, 0);
    }
}

TEST(NlriParse, AParserByItselfStopsWhereItsOctetsEnd)
{
    const LeakCheck leaks;
    for (const NlriCase &route : one_of_each()) {
        SCOPED_TRACE(route);
        const NgmvpnInstance instance(route.side);
        const Bytes octets = route.octets();
        for (const Parser parser : parsers_of(route)) {
            for (std::size_t size = 2; size < octets.size(); ++size) { // the length octet claims them all
                const auto remain = static_cast<std::uint32_t>(size - 2);
                const Parsed got =
                    run_parser(std::span(octets).first(size), 2, [&](auto cursor, auto result, auto more) {
                        return parser(cursor, octets[1], remain, result, more, 2, instance.ctx);
                    });
                expect_refusal(got, kMalformed, 0);
                EXPECT_EQ(got.asserts, 0U);
            }
        }
    }
}

TEST(NlriParse, EveryCMulticastTypeButSixIsASourceTree)
{
    const NgmvpnInstance instance(kPlain);
    const Bytes octets = bytes(kRd0 + kAs + "00 00");
    for (const auto &row : {std::pair{6U, 7U}, {7U, 8U}, {0U, 8U}, {5U, 8U}, {8U, 8U}, {262U, 8U}}) {
        const Parsed got = run_parser(octets, 0, [&](auto cursor, auto result, auto more) {
            return QEL_NGMVPN_ParseBgpCMulticastRoute(row.first, cursor, 14, 14, result, more, 2, instance.ctx);
        });
        const QEL_NGMVPN_KEY_S key = cmcast_key(row.second, rd_a(), 130537, none(), none());
        auto nonkey = zeroed<QEL_NGMVPN_NONKEY_S>();
        nonkey.usFlags = 0x11;
        nonkey.uiKeyType = row.second;
        nonkey.stRd = rd_a();
        expect_block(got.block, key, nonkey);
    }
}

// --- helpers
// ------------------------------------------------------------------------------------------------------------

struct AddrRead {
    QEL_ADDR_S addr = zeroed<QEL_ADDR_S>();
    std::uint8_t len = 0xee;
    std::uint8_t consumed = 0xee;
    std::uint16_t family = 0xeeee;
    std::uint32_t ret = kUnwritten;
    std::ptrdiff_t moved = 0;
};

using AddrReader = void (*)(const uint8_t **, QEL_ADDR_S *, uint8_t *, uint8_t *, uint8_t, uint32_t *, uint16_t *);

AddrRead read_addr(AddrReader reader, std::string_view wire, std::uint8_t hint, std::uint8_t len = 0xee)
{
    const Bytes octets = bytes(wire);
    const ExactCopy copy(octets);
    const std::uint8_t *cursor = copy.data();
    AddrRead out;
    out.len = len;
    const platform::Recorder recorder;
    reader(&cursor, &out.addr, &out.len, &out.consumed, hint, &out.ret, &out.family);
    EXPECT_TRUE(recorder.asserts().empty());
    out.moved = cursor - copy.data();
    return out;
}

TEST(NlriParse, GetAddrAndLenReadsAnAddressByItsLengthOctet)
{
    for (const std::uint8_t hint : std::array<std::uint8_t, 3>{0, 1, 2}) {
        const AddrRead four = read_addr(QEL_NGMVPN_GetAddrAndLen, "20 0a0b0c0d", hint);
        EXPECT_EQ(four.len, 32);
        EXPECT_EQ(four.consumed, 5);
        EXPECT_EQ(four.family, 1);
        EXPECT_EQ(four.ret, 0U);
        EXPECT_EQ(four.moved, 5);
        EXPECT_EQ(hex(bytes_of(four.addr)), hex(bytes_of(v4(0x0a0b0c0d).value)));

        const AddrRead sixteen = read_addr(QEL_NGMVPN_GetAddrAndLen, kS6, hint);
        EXPECT_EQ(sixteen.len, 128);
        EXPECT_EQ(sixteen.consumed, 17);
        EXPECT_EQ(sixteen.family, 2);
        EXPECT_EQ(sixteen.ret, 0U);
        EXPECT_EQ(sixteen.moved, 17);
        EXPECT_EQ(hex(bytes_of(sixteen.addr)), hex(bytes_of(s6().value)));

        const AddrRead zero4 = read_addr(QEL_NGMVPN_GetAddrAndLen, "20 00000000", hint);
        EXPECT_EQ(zero4.len, 32);
        EXPECT_EQ(zero4.consumed, 5);
        EXPECT_EQ(zero4.family, 1);
        EXPECT_EQ(zero4.ret, kRefused);
    }
}

TEST(NlriParse, AZeroIpv6AddressLeavesTheCursorBeforeItsOctets)
{
    const AddrRead zero = read_addr(QEL_NGMVPN_GetAddrAndLen, "80" + kZero16, 0);
    EXPECT_EQ(zero.len, 128);
    EXPECT_EQ(zero.consumed, 17);
    EXPECT_EQ(zero.family, 2);
    EXPECT_EQ(zero.ret, kRefused);
    EXPECT_EQ(zero.moved, 1);
    EXPECT_EQ(hex(bytes_of(zero.addr)), hex(bytes_of(zeroed<QEL_ADDR_S>())));
}

TEST(NlriParse, AWildcardHasTwoWireForms)
{
    const std::tuple<std::uint8_t, std::string, std::uint8_t, std::uint16_t> rows[] = {
        {0, "", 1, 0}, {1, "00000000", 5, 1}, {2, kZero16, 17, 2}};
    for (const auto &[hint, zeros, consumed, family] : rows) {
        const AddrRead got = read_addr(QEL_NGMVPN_GetAddrAndLen, "00" + zeros, hint);
        EXPECT_EQ(got.len, 0);
        EXPECT_EQ(got.consumed, consumed);
        EXPECT_EQ(got.family, family);
        EXPECT_EQ(got.ret, 0U);
        EXPECT_EQ(got.moved, consumed);
        EXPECT_EQ(hex(bytes_of(got.addr)), hex(bytes_of(zeroed<QEL_ADDR_S>())));

        const AddrRead step = read_addr(QEL_NGMVPN_GetAddrAndLenWhenZero, zeros, hint, 0);
        EXPECT_EQ(step.len, 0);
        EXPECT_EQ(step.consumed, consumed);
        EXPECT_EQ(step.family, family);
        EXPECT_EQ(step.ret, 0U);
        EXPECT_EQ(step.moved, consumed - 1);

        for (std::size_t i = 0; i + 1 < consumed; ++i) {
            Bytes octets = bytes("00" + zeros);
            octets[i + 1] = 0x80;
            EXPECT_EQ(read_addr(QEL_NGMVPN_GetAddrAndLen, hex(octets), hint).ret, kMalformed);
            octets.erase(octets.begin());
            EXPECT_EQ(read_addr(QEL_NGMVPN_GetAddrAndLenWhenZero, hex(octets), hint, 0).ret, kMalformed);
        }
    }
}

TEST(NlriParse, AWildcardOfAnUnknownHintIsMalformedAndWritesNothingElse)
{
    for (const std::uint8_t hint : std::array<std::uint8_t, 3>{3, 4, 255}) {
        const AddrRead step = read_addr(QEL_NGMVPN_GetAddrAndLenWhenZero, kZero16, hint, 0);
        EXPECT_EQ(step.ret, kMalformed);
        EXPECT_EQ(step.consumed, 0xee);
        EXPECT_EQ(step.family, 0xeeee);
        EXPECT_EQ(step.moved, 0);
        EXPECT_EQ(read_addr(QEL_NGMVPN_GetAddrAndLen, "00" + kZero16, hint).ret, kMalformed);
    }
}

TEST(NlriParse, AnyOtherAddressLengthIsMalformedAndWritesNothingElse)
{
    for (unsigned length = 1; length <= 255; ++length) {
        if (length == 32 || length == 128) {
            continue;
        }
        const std::uint8_t octet[] = {static_cast<std::uint8_t>(length)};
        const AddrRead got = read_addr(QEL_NGMVPN_GetAddrAndLen, hex(octet), 0);
        EXPECT_EQ(got.ret, kMalformed);
        EXPECT_EQ(got.len, length);
        EXPECT_EQ(got.consumed, 0xee);
        EXPECT_EQ(got.family, 0xeeee);
        EXPECT_EQ(hex(bytes_of(got.addr)), hex(bytes_of(zeroed<QEL_ADDR_S>())));
    }
}

TEST(NlriParse, CheckPktAddrFamilyRefusesTheOtherFamilyAlone)
{
    for (std::uint16_t grp = 0; grp <= 3; ++grp) {
        for (std::uint16_t src = 0; src <= 3; ++src) {
            EXPECT_EQ(QEL_NGMVPN_CheckPktAddrFamily(grp, src, 0), 0U);
            EXPECT_EQ(QEL_NGMVPN_CheckPktAddrFamily(grp, src, 3), 0U);
            EXPECT_EQ(QEL_NGMVPN_CheckPktAddrFamily(grp, src, 257), 0U);
            EXPECT_EQ(QEL_NGMVPN_CheckPktAddrFamily(grp, src, 1), grp == 2 || src == 2 ? kRefused : 0U);
            EXPECT_EQ(QEL_NGMVPN_CheckPktAddrFamily(grp, src, 2), grp == 1 || src == 1 ? kRefused : 0U);
        }
    }
}

TEST(NlriParse, SetRdNonKeyCopiesTheRdAndAddsItsFlag)
{
    auto key = zeroed<QEL_NGMVPN_KEY_S>();
    key.stRd = rd12(2, 0x11223344, 0x5566);
    auto nonkey = zeroed<QEL_NGMVPN_NONKEY_S>();
    nonkey.usFlags = 0x3;
    QEL_NGMVPN_NONKEY_S expected = nonkey;
    expected.usFlags = 0x13;
    expected.stRd = key.stRd;
    QEL_NGMVPN_ParseNlriSetRdNonKey(&key, &nonkey);
    EXPECT_EQ(hex(bytes_of(nonkey)), hex(bytes_of(expected)));
}

TEST(NlriParse, TheRdKindFollowsFromTheMessageKind)
{
    for (std::uint32_t route = 0; route <= 10; ++route) {
        EXPECT_EQ(QEL_NGMVPN_RDCheckIsKey(route), route >= 4 && route <= 7 ? 0U : 1U);
        for (const std::uint32_t kind :
             {0U, 1U, 2U, 3U, 4U, 5U, 6U, 7U, 8U, 9U, 10U, 11U, 12U, 13U, 137U, 0xffffffffU}) {
            for (const std::uint8_t fallback : std::array<std::uint8_t, 4>{0, 1, 2, 77}) {
                std::uint8_t got = 0xee;
                const platform::Recorder recorder;
                QEL_NGMVPN_ParseMsgTypeSwitchRdType(route, &got, kind, fallback);
                std::uint8_t expected = 1;
                std::size_t asserts = 0;
                switch (kind) {
                case 1:
                case 2:
                case 12:
                    expected = 2;
                    break;
                case 5:
                    expected = route >= 4 && route <= 7 ? 2 : 1;
                    break;
                case 6:
                    break;
                case 11:
                    expected = fallback;
                    break;
                default:
                    asserts = 1;
                }
                EXPECT_EQ(got, expected) << "route " << route << " kind " << kind;
                EXPECT_EQ(recorder.asserts().size(), asserts) << "kind " << kind;
            }
        }
    }
    EXPECT_EQ(QEL_NGMVPN_RDCheckIsKey(0xffffffff), 1U);
}

TEST(NlriParse, LengthsOfAnSpmsiLeafFitByComponentAndEmbeddedLength)
{
    const NgmvpnInstance instance(kPlain);
    for (const LeafRule &rule : leaf_rules()) {
        for (const std::uint16_t kind : rule.kinds) {
            instance.ctx->usInstanceKind = kind;
            for (std::uint32_t inner = 0; inner <= 80; ++inner) {
                const bool known = inner >= 14 && inner <= 58;
                const std::uint32_t fitting = inner + (rule.four.contains(inner) ? 6 : 18);
                for (std::uint32_t length = 0; length <= 110; ++length) {
                    std::uint32_t is_v6 = kUnwritten;
                    const platform::Recorder recorder;
                    const std::uint32_t fits =
                        QEL_NGMVPN_GetUndTypeBySpmsiLeafAdKeyLen(inner, length, &is_v6, instance.ctx);
                    const bool expected = known && length == fitting;
                    ASSERT_EQ(fits, expected ? 1U : 0U) << kind << ": " << length << " around " << inner;
                    const std::uint32_t wide = rule.sixteen.contains(inner) ? 1 : 0;
                    ASSERT_EQ(is_v6, expected ? wide : kUnwritten) << kind << ": " << length << " around " << inner;
                    ASSERT_EQ(recorder.asserts().size(), known ? 0U : 1U) << inner;
                }
            }
        }
    }
}

TEST(NlriParse, SpmsiOriginatorIsSixteenOctetsAtFourLengths)
{
    const Bytes octets = bytes(kO6);
    for (std::uint32_t length = 0; length <= 80; ++length) {
        const ExactCopy copy(octets);
        const std::uint8_t *cursor = copy.data();
        auto key = zeroed<QEL_NGMVPN_KEY_S>();
        const std::uint32_t taken = QEL_NGMVPN_ParseBgpSpmsiAdOrigiRouterIp_(length, &cursor, &key);
        const bool wide = length == 26 || length == 30 || length == 34 || length == 58;
        EXPECT_EQ(taken, wide ? 16U : 4U) << length;
        EXPECT_EQ(cursor - copy.data(), wide ? 16 : 4) << length;
        auto expected = zeroed<QEL_NGMVPN_KEY_S>();
        expected.uKey.stSpmsiAd.ucOrigAddrLen = wide ? 128 : 32;
        expected.uKey.stSpmsiAd.stOrigAddr = wide ? o6().value : v4(0x20010db8).value;
        EXPECT_EQ(hex(bytes_of(key)), hex(bytes_of(expected)));
    }
}

TEST(NlriParse, SpmsiLeafReadsOriginatorAndLeafAddressOfOneSize)
{
    for (const std::uint32_t is_v6 : {0U, 1U}) {
        const Bytes octets = is_v6 == 1 ? bytes(kO6 + kL6) : bytes(kO4 + kL4);
        const ExactCopy copy(octets);
        const std::uint8_t *cursor = copy.data();
        auto key = zeroed<QEL_NGMVPN_KEY_S>();
        EXPECT_EQ(QEL_NGMVPN_ParseSpmsiLeafOriginRouterIp_(is_v6, &cursor, &key), is_v6 == 1 ? 16U : 4U);
        EXPECT_EQ(cursor, copy.data() + copy.size());
        auto expected = zeroed<QEL_NGMVPN_KEY_S>();
        expected.uKey.stSpmsiLeafAd.ucOrigAddrLen = is_v6 == 1 ? 128 : 32;
        expected.uKey.stSpmsiLeafAd.stOrigAddr = is_v6 == 1 ? o6().value : o4().value;
        expected.uKey.stSpmsiLeafAd.ucLeafAddrLen = is_v6 == 1 ? 128 : 32;
        expected.uKey.stSpmsiLeafAd.stLeafAddr = is_v6 == 1 ? l6().value : l4().value;
        EXPECT_EQ(hex(bytes_of(key)), hex(bytes_of(expected)));
    }
}

TEST(NlriParse, TheEmbeddedKeyIsRebuiltFromTheKey)
{
    const NgmvpnInstance instance(kMvpn4);
    for (const auto &routes : {spmsi_leaf_routes(), padded_leaf_routes()}) {
        for (const NlriCase &route : routes) {
            SCOPED_TRACE(route);
            for (const std::uint8_t kind :
                 std::array<std::uint8_t, 2>{1, 2}) { // the RD is the key's, whatever its kind
                QEL_NGMVPN_KEY_S key = route.key;
                key.ucRdKind = kind;
                auto nonkey = zeroed<QEL_NGMVPN_NONKEY_S>();
                nonkey.usFlags = 0x1;
                nonkey.uiKeyType = 5;
                QEL_NGMVPN_FormatSpmsiRoutekey(&key, &nonkey, instance.ctx);
                EXPECT_EQ(hex(bytes_of(nonkey)), hex(bytes_of(route.nonkey())));
                EXPECT_EQ(hex(bytes_of(key.stRd)), hex(bytes_of(route.key.stRd)));
            }
        }
    }
    auto flagged = zeroed<QEL_NGMVPN_NONKEY_S>();
    flagged.usFlags = 0x12;
    QEL_NGMVPN_FormatSpmsiRoutekey(&spmsi_leaf_routes()[0].key, &flagged, instance.ctx);
    EXPECT_EQ(flagged.usFlags, 0x16);
}

TEST(NlriParse, GetRouteTypeGivesTheNumberOnTheWire)
{
    const std::pair<std::uint32_t, std::uint32_t> rows[] = {{0, 0}, {1, 1}, {2, 2}, {3, 3}, {4, 4},   {5, 4},
                                                            {6, 5}, {7, 6}, {8, 7}, {9, 0}, {257, 0}, {0xffffffff, 0}};
    const NgmvpnInstance instance(kPlain);
    for (const auto &[key_type, wire_type] : rows) {
        std::vector<std::uint8_t> storage(1 + sizeof(QEL_NGMVPN_KEY_S)); // the section may stand anywhere
        std::memcpy(storage.data() + 1, &key_type, sizeof(key_type));
        QEL_ROUTE_INFO_S route{};
        route.uiKeyLen = sizeof(QEL_NGMVPN_KEY_S);
        route.pucKey = storage.data() + 1;
        const platform::Recorder recorder;
        std::uint32_t got = kUnwritten;
        EXPECT_EQ(QEL_NGMVPN_GetRouteType(&route, &got), 0U);
        EXPECT_EQ(got, wire_type) << key_type;
        got = kUnwritten;
        EXPECT_EQ(instance.desc.pfGetRouteType(&route, &got), 0U);
        EXPECT_EQ(got, wire_type) << key_type;
        EXPECT_TRUE(recorder.asserts().empty());
    }
}

TEST(NlriParse, GetRouteTypeOfNothingIsZeroAndAnArgumentError)
{
    const QEL_ROUTE_INFO_S no_key{};
    for (const QEL_ROUTE_INFO_S *route : {static_cast<const QEL_ROUTE_INFO_S *>(nullptr), &no_key}) {
        const platform::Recorder recorder;
        std::uint32_t got = kUnwritten;
        EXPECT_EQ(QEL_NGMVPN_GetRouteType(route, &got), 2U);
        EXPECT_EQ(got, 0U);
        EXPECT_EQ(recorder.asserts().size(), 1U);
    }
}

// --- one behaviour at a time
// --------------------------------------------------------------------------------------------

QEL_NGMVPN_KEY_S key_of(const Block &block)
{
    auto key = zeroed<QEL_NGMVPN_KEY_S>();
    std::memcpy(&key, block.at(block->usKeyOffset), sizeof(key));
    return key;
}

QEL_NGMVPN_NONKEY_S nonkey_of(const Block &block)
{
    auto nonkey = zeroed<QEL_NGMVPN_NONKEY_S>();
    std::memcpy(&nonkey, block.at(block->usNonKeyOffset), sizeof(nonkey));
    return nonkey;
}

// The route as an instance of that side takes it; the test fails if it does not.
Block taken(Side side, const std::string &wire)
{
    const NgmvpnInstance instance(side);
    Parsed got = parse_route(instance, bytes(wire));
    EXPECT_EQ(got.code, 0U);
    if (!got.block) {
        throw std::runtime_error("not taken: " + wire);
    }
    return std::move(got.block);
}

TEST(NlriParse, ARouteLengthBelowTenOrAboveSeventySixIsMalformedAndLeavesTheCursor)
{
    const NgmvpnInstance instance(kPlain);
    for (const std::size_t length : {0U, 9U, 77U, 200U}) {
        expect_refusal(parse_route(instance, header(8, length) + Bytes(length)), kMalformed, 0);
    }
    for (const std::size_t length : {10U, 76U}) {
        EXPECT_EQ(parse_route(instance, header(8, length) + Bytes(length)).code, kRefused);
    }
}

TEST(NlriParse, EachRouteTypeHasItsKeyTypeInKeyAndNonKey)
{
    const std::tuple<std::string, Side, std::uint32_t> rows[] = {
        {"01 0c" + kRd0 + kO4, kMvpn4, 1},
        {"02 0c" + kRd0 + kAs, kMvpn4, 2},
        {"03 0e" + kRd0 + "00 00" + kO4, kMvpn4, 3},
        {"04 12 01 0c" + kRd0 + kO4 + kL4, kMvpn4, 4},
        {"04 14 03 0e" + kRd0 + "00 00" + kO4 + kL4, kMvpn4, 5},
        {"05 0a" + kRd0 + "00 00", kMvpn4, 6},
        {"06 0e" + kRd0 + kAs + "00 00", kMvpn4, 7},
        {"07 0e" + kRd0 + kAs + "00 00", kMvpn4, 8},
    };
    for (const auto &[wire, side, key_type] : rows) {
        const Block block = taken(side, wire);
        EXPECT_EQ(key_of(block).uiKeyType, key_type);
        EXPECT_EQ(nonkey_of(block).uiKeyType, key_type);
    }
}

TEST(NlriParse, ARouteOfAPathAttributeIsFiledWithRdKindTwo)
{
    for (const NlriCase &route : one_of_each()) {
        EXPECT_EQ(key_of(taken(route.side, route.wire)).ucRdKind, 2) << route;
    }
}

// Leaves octets behind where the next call has its stack.
[[gnu::noinline]] void dirty_the_stack()
{
    volatile std::uint8_t area[4096];
    for (volatile std::uint8_t &octet : area) {
        octet = 0xa5;
    }
}

TEST(NlriParse, WhatARouteDoesNotHoldIsZeroInItsKeyAndNonKey)
{
    for (const NlriCase &route : one_of_each()) {
        SCOPED_TRACE(route);
        const NgmvpnInstance instance(route.side);
        const Bytes octets = route.octets();
        const std::uint8_t *cursor = octets.data();
        const auto size = static_cast<std::uint32_t>(octets.size());
        QEL_ROUTE_BLOCK_S *result = nullptr;
        std::uint32_t more = 0;
        dirty_the_stack();
        ASSERT_EQ(QEL_NGMVPN_ParseMpNlri(&cursor, size, &result, &more, instance.ctx), 0U);
        const Block block(result);
        EXPECT_EQ(hex(bytes_of(key_of(block))), hex(bytes_of(route.key)));
        EXPECT_EQ(hex(bytes_of(nonkey_of(block))), hex(bytes_of(route.nonkey())));
    }
}

TEST(NlriParse, ARefusedRouteLeavesTheCursorBehindItsHeaderAndTheMoreWordAlone)
{
    const NgmvpnInstance instance(kMvpn4);
    for (const std::string &wire :
         {"01 0d" + kRd0 + kO4 + "00", "05 0a" + kRd0 + "04 00", "05 12" + kRd0 + "20 00000000" + kG4,
          "05 2a" + kRd0 + kS6 + kG6, "04 12 02 0c" + kRd0 + kO4 + kL4, "04 13 01 0c" + kRd0 + kO4 + kL4 + "00"}) {
        const Parsed got = parse_route(instance, bytes(wire) + kNextRoute);
        EXPECT_NE(got.code, 0U) << wire;
        EXPECT_EQ(got.moved, 2) << wire;
        EXPECT_EQ(got.more, kUnwritten) << wire;
        EXPECT_FALSE(got.result_written) << wire;
    }
}

TEST(NlriParse, AnUnknownRouteTypeIsSteppedOver)
{
    const NgmvpnInstance instance(kPlain);
    for (const unsigned type : {0U, 8U, 255U}) {
        for (std::size_t behind = 0; behind <= 4; ++behind) {
            const Parsed got = parse_route(instance, header(type, 10) + Bytes(10 + behind));
            expect_refusal(got, kRefused, 12, behind > 2 ? 1U : 0U);
        }
    }
}

TEST(NlriParse, ARouteOfAnUnknownRdTypeStoresNothingEvenWithALengthThatFits)
{
    const NgmvpnInstance instance(kPlain);
    const Parsed got = parse_route(instance, bytes("02 0c" + kRd3 + kAs) + kNextRoute);
    EXPECT_EQ(got.code, kRefused);
    EXPECT_FALSE(got.result_written);
    EXPECT_EQ(got.more, 1U);
}

TEST(NlriParse, NonKeysOfAllButLeafRoutesHoldTheRdAndItsFlag)
{
    for (const NlriCase &route : one_of_each()) {
        const QEL_NGMVPN_NONKEY_S nonkey = nonkey_of(taken(route.side, route.wire));
        EXPECT_EQ(nonkey.usFlags, route.leaf() ? 0x5 : 0x11) << route;
        EXPECT_EQ(hex(bytes_of(nonkey.stRd)), route.leaf() ? hex(Bytes(8)) : hex(bytes_of(route.key.stRd))) << route;
    }
}

// kept: neither zero nor the other family is refused for an originator
TEST(NlriParse, AnIntraOriginatorMayBeZeroOrOfTheOtherFamily)
{
    for (const std::string &wire : {"01 0c" + kRd0 + "00000000", "01 18" + kRd0 + kZero16, "01 18" + kRd0 + kO6}) {
        EXPECT_EQ(key_of(taken(kMvpn4, wire)).uiKeyType, 1U);
    }
    EXPECT_EQ(key_of(taken(kMvpn6, "01 0c" + kRd0 + kO4)).uiKeyType, 1U);
}

TEST(NlriParse, AnIntraOriginatorIsAHostOrderWordOrSixteenWireOctets)
{
    const auto four = key_of(taken(kPlain, "01 0c" + kRd0 + "0a0b0c0d")).uKey.stIntraIpmsiAd;
    EXPECT_EQ(four.ucOrigAddrLen, 32);
    EXPECT_EQ(four.stOrigAddr.uiIpv4, 0x0a0b0c0dU);
    const auto sixteen = key_of(taken(kPlain, "01 18" + kRd0 + kO6)).uKey.stIntraIpmsiAd;
    EXPECT_EQ(sixteen.ucOrigAddrLen, 128);
    EXPECT_EQ(hex(sixteen.stOrigAddr.aucIpv6), hex(bytes(kO6)));
}

TEST(NlriParse, ASourceAsIsKeptInHostOrder)
{
    EXPECT_EQ(key_of(taken(kPlain, "02 0c" + kRd0 + "01020304")).uKey.stInterIpmsiAd.uiSourceAs, 0x01020304U);
    for (const char *type : {"06", "07"}) {
        const Block block = taken(kPlain, type + (" 0e" + kRd0) + "01020304 00 00");
        EXPECT_EQ(key_of(block).uKey.stCMulticastRoute.uiSourceAs, 0x01020304U);
    }
}

TEST(NlriParse, TheFamilyOfAnSpmsiKeyFollowsFromTheRoutesLengthAlone)
{
    for (const NlriCase &route : spmsi_routes()) {
        const unsigned length = route.octets()[1];
        EXPECT_EQ(key_of(taken(route.side, route.wire)).uKey.stSpmsiAd.ucKeyAddrFamily, hint_of(length)) << route;
    }
}

TEST(NlriParse, TheFamilyOfAnSpmsiLeafKeyFollowsFromTheEmbeddedLengthAlone)
{
    for (const NlriCase &route : spmsi_leaf_routes()) {
        const unsigned length = route.octets()[3];
        EXPECT_EQ(key_of(taken(route.side, route.wire)).uKey.stSpmsiLeafAd.ucKeyAddrFamily, hint_of(length)) << route;
    }
}

TEST(NlriParse, SpmsiOf22WithASourceOfNoLengthNeedsFourZeroOctetsBehindIt)
{
    const NgmvpnInstance instance(kPlain);
    EXPECT_EQ(parse_route(instance, bytes("03 16" + kRd0 + "00 00000000" + kG4 + kO4)).code, 0U);
    expect_refusal(parse_route(instance, bytes("03 16" + kRd0 + "00 00000001" + kG4 + kO4)), kMalformed, 2);
}

// Only routes of S-PMSIs have a second form of the wildcard.
TEST(NlriParse, SourceActiveAndCMulticastWildcardsTakeOneOctet)
{
    EXPECT_EQ(key_of(taken(kPlain, "05 0e" + kRd0 + "00" + kG4)).uKey.stSourceActiveAd.ucGrpAddrLen, 32);
    EXPECT_EQ(key_of(taken(kPlain, "06 12" + kRd0 + kAs + "00" + kG4)).uKey.stCMulticastRoute.ucGrpAddrLen, 32);
    const NgmvpnInstance instance(kPlain);
    expect_refusal(parse_route(instance, bytes("05 12" + kRd0 + kZ4 + kG4)), kMalformed, 2);
    expect_refusal(parse_route(instance, bytes("06 16" + kRd0 + kAs + kZ4 + kG4)), kMalformed, 2);
}

TEST(NlriParse, OctetsThatDoNotAddUpToTheLengthAreMalformed)
{
    const NgmvpnInstance instance(kMvpn4);
    for (const std::string &wire :
         {"03 0f" + kRd0 + "00 00" + kO4 + "00", "05 0b" + kRd0 + "00 00 00", "06 0f" + kRd0 + kAs + "00 00 00",
          "07 0f" + kRd0 + kAs + "00 00 00", "04 18 03 12" + kRd0 + "00 00" + kO4 + kL4 + "00000000"}) {
        expect_refusal(parse_route(instance, bytes(wire)), kMalformed, 2);
    }
}

TEST(NlriParse, ABadSourceIsToldBeforeABadGroup)
{
    const NgmvpnInstance instance(kPlain);
    expect_refusal(parse_route(instance, bytes("05 0f" + kRd0 + "20 00000000 04 00")), kRefused, 2);
    expect_refusal(parse_route(instance, bytes("05 0f" + kRd0 + "04 20 00000000 00")), kMalformed, 2);
}

TEST(NlriParse, TheSumIsTestedBeforeTheAddressFamily)
{
    const NgmvpnInstance instance(kPlain6);
    expect_refusal(parse_route(instance, bytes("05 12" + kRd0 + kS4 + kG4)), kRefused, 2);
    expect_refusal(parse_route(instance, bytes("05 13" + kRd0 + kS4 + kG4 + "00")), kMalformed, 2);
}

TEST(NlriParse, ALeafOfAnIpmsiHoldsItsEmbeddedRouteAsItStandsOnTheWire)
{
    for (const NlriCase &route : ipmsi_leaf_routes()) {
        const Bytes octets = route.octets();
        Bytes embedded(octets.begin() + 2, octets.begin() + 4 + octets[3]);
        embedded.resize(60);
        EXPECT_EQ(hex(nonkey_of(taken(route.side, route.wire)).aucEmbeddedKey), hex(embedded)) << route;
    }
}

TEST(NlriParse, ALeafOfAnIpmsiIsEighteenAroundTwelveOrFortyTwoAroundTwentyFour)
{
    const NgmvpnInstance instance(kMvpn4);
    for (const std::size_t length : {17U, 18U, 19U, 41U, 42U, 43U}) {
        for (const std::size_t inner : {11U, 12U, 13U, 23U, 24U, 25U}) {
            const bool fits = (length == 18 && inner == 12) || (length == 42 && inner == 24);
            const Bytes route = header(4, length) + sized(header(1, inner) + bytes(kRd0 + kO6 + kL6), length);
            EXPECT_EQ(parse_route(instance, route).code, fits ? 0U : kMalformed) << length << " around " << inner;
        }
    }
}

TEST(NlriParse, ALeafOfAnIpmsiHasOriginatorAndLeafAddressOfOneSize)
{
    const auto four = key_of(taken(kMvpn4, "04 12 01 0c" + kRd0 + kO4 + kL4)).uKey.stIpmsiLeafAd;
    EXPECT_EQ(four.ucOrigAddrLen, 32);
    EXPECT_EQ(four.ucLeafAddrLen, 32);
    EXPECT_EQ(four.stOrigAddr.uiIpv4, 0xc0a80a0bU);
    EXPECT_EQ(four.stLeafAddr.uiIpv4, 0xc0a81415U);
    const auto sixteen = key_of(taken(kMvpn4, "04 2a 01 18" + kRd0 + kO6 + kL6)).uKey.stIpmsiLeafAd;
    EXPECT_EQ(sixteen.ucOrigAddrLen, 128);
    EXPECT_EQ(sixteen.ucLeafAddrLen, 128);
    EXPECT_EQ(hex(sixteen.stOrigAddr.aucIpv6), hex(bytes(kO6)));
    EXPECT_EQ(hex(sixteen.stLeafAddr.aucIpv6), hex(bytes(kL6)));
}

TEST(NlriParse, ALeafOfAnSpmsiIsTwentyToSeventySixOctets)
{
    const NgmvpnInstance instance(kMvpn4);
    instance.desc.pfSetLibDebug(5, 6, instance.ctx);
    for (const std::size_t length : {19U, 20U, 76U}) {
        const Bytes route = header(4, length) + sized(header(3, 13) + bytes(kRd0), length);
        const Parsed got = parse_route(instance, route);
        expect_refusal(got, kMalformed, 2);
        EXPECT_EQ(got.debugs.size(), length == 19 ? 1U : 0U) << length;
        EXPECT_EQ(got.asserts, length == 19 ? 0U : 1U) << "the embedded length is looked at behind the route's";
    }
}

TEST(NlriParse, AnEmbeddedLengthOutsideFourteenToFiftyEightIsReported)
{
    const NgmvpnInstance instance(kMvpn4);
    for (const std::uint32_t inner : {0U, 13U, 14U, 58U, 59U, 255U}) {
        std::uint32_t is_v6 = kUnwritten;
        const platform::Recorder recorder;
        EXPECT_EQ(QEL_NGMVPN_GetUndTypeBySpmsiLeafAdKeyLen(inner, inner, &is_v6, instance.ctx), 0U);
        EXPECT_EQ(recorder.asserts().size(), inner < 14 || inner > 58 ? 1U : 0U) << inner;
        EXPECT_EQ(is_v6, kUnwritten);
    }
}

// kept: four-octet addresses are read under the length that 16-octet ones would have
TEST(NlriParse, AnEmbeddedLengthThatTheComponentDoesNotKnowNeedsEighteenMoreAndReadsFourOctets)
{
    for (const auto &[side, inner] : {std::pair{kMvpn4, 46U}, {kMvpn6, 22U}, {kPlain, 14U}}) {
        const NgmvpnInstance instance(side);
        std::uint32_t is_v6 = kUnwritten;
        EXPECT_EQ(QEL_NGMVPN_GetUndTypeBySpmsiLeafAdKeyLen(inner, inner + 6, &is_v6, instance.ctx), 0U);
        EXPECT_EQ(is_v6, kUnwritten);
        EXPECT_EQ(QEL_NGMVPN_GetUndTypeBySpmsiLeafAdKeyLen(inner, inner + 18, &is_v6, instance.ctx), 1U);
        EXPECT_EQ(is_v6, 0U);
    }
}

// --- anything at all
// ------------------------------------------------------------------------------------------------------

void expect_some_promise(const Parsed &got, const Bytes &octets)
{
    const auto route_size = octets.size() < 2 ? std::ptrdiff_t{0} : std::ptrdiff_t{octets[1]} + 2;
    const std::uint32_t more = std::ssize(octets) - 2 > route_size ? 1 : 0;
    switch (got.code) {
    case 0:
        EXPECT_EQ(got.moved, route_size);
        EXPECT_EQ(got.more, more);
        EXPECT_TRUE(got.block);
        return;
    case kMalformed:
        EXPECT_TRUE(got.moved == 0 || got.moved == 2);
        EXPECT_EQ(got.more, kUnwritten);
        break;
    case kRefused:
        if (got.more == kUnwritten) {
            EXPECT_EQ(got.moved, 2);
        } else {
            EXPECT_EQ(got.moved, route_size + (octets[0] == 4 ? 2 : 0));
            EXPECT_EQ(got.more, more);
        }
        break;
    default:
        ADD_FAILURE() << "code " << got.code;
    }
    EXPECT_FALSE(got.result_written);
}

TEST(NlriParse, DamagedRoutesKeepThePromisesAndTheBounds)
{
    const LeakCheck leaks;
    static constexpr std::array<std::uint8_t, 24> kOctets{0,  1,  2,  3,  4,  5,  6,  7,  8,  10, 12,  14,
                                                          18, 22, 26, 30, 32, 34, 42, 46, 58, 76, 128, 255};
    std::mt19937 random(20240229);
    const auto below = [&](std::size_t limit) { return static_cast<std::size_t>(random()) % limit; };
    for (int round = 0; round < 20000; ++round) {
        const NlriCase &route = all_routes()[below(all_routes().size())];
        Bytes octets = route.octets();
        for (std::size_t hits = 1 + below(4); hits > 0; --hits) {
            octets[below(std::min<std::size_t>(octets.size(), 34))] = kOctets[below(kOctets.size())];
        }
        if (below(2) == 0) {
            octets.resize(2 + below(octets.size() - 1));
            octets[1] = static_cast<std::uint8_t>(octets.size() - 2);
        }
        const std::size_t behind = below(3) == 0 ? below(30) : 0;
        octets.resize(octets.size() + behind, kOctets[below(kOctets.size())]);
        const NgmvpnInstance instance(route.side);
        expect_some_promise(parse_route(instance, octets), octets);
        if (::testing::Test::HasFailure()) {
            FAIL() << route << " became " << hex(octets);
        }
    }
}

} // namespace
} // namespace qel::test
