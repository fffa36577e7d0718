#include "host/update.h"

#include "update_builder.h"
#include "walk_text.h"

#include <fmt/format.h>

#include <string>
#include <utility>

namespace qel::host {
namespace {

using test::attribute;
using test::Bytes;
using test::bytes;
using test::ExactCopy;
using test::join;
using test::kMemHandle;
using test::LeakCheck;
using test::mp_reach;
using test::mp_unreach;
using test::show_walk;
using test::update;

// --- the frame --------------------------------------------------------------------------------------------------

TEST(UpdateFrameTest, AttributesAndTrailingPrefixesAreFound)
{
    const Bytes wire = test::message(2, bytes("0004 18c63364 0004 40010100 18cb0071"));
    const UpdateFrame frame = split_update(wire);
    ASSERT_FALSE(frame.malformed);
    EXPECT_EQ(test::hex(frame.withdrawn), "18c63364");
    EXPECT_EQ(test::hex(frame.attributes), "40010100");
    EXPECT_EQ(frame.attributes_offset, 27U);
    EXPECT_EQ(test::hex(frame.nlri), "18cb0071");
}

TEST(UpdateFrameTest, LengthsThatDoNotFitAreToldWithTheirOffset)
{
    struct Row {
        const char *body;
        std::size_t offset;
        const char *text;
    };
    const Row rows[] = {
        {"", 19, "the UPDATE ends before its withdrawn routes length"},
        {"00", 20, "the UPDATE ends before its withdrawn routes length"},
        {"0003 18c6", 19, "the withdrawn routes run past the end of the UPDATE"},
        {"ffff 0000", 19, "the withdrawn routes run past the end of the UPDATE"},
        {"0000", 21, "the UPDATE ends before its path attributes length"},
        {"0001 18 00", 22, "the UPDATE ends before its path attributes length"},
        {"0000 0005 40010100", 21, "the path attributes run past the end of the UPDATE"},
    };
    for (const Row &row : rows) {
        const ExactCopy copy(test::message(2, bytes(row.body)));
        const UpdateFrame frame = split_update({copy.data(), copy.size()});
        ASSERT_TRUE(frame.malformed) << row.body;
        EXPECT_EQ(frame.malformed->offset, row.offset) << row.body;
        EXPECT_EQ(frame.malformed->text, row.text) << row.body;
        EXPECT_TRUE(frame.attributes.empty());
    }
}

// --- the attributes ---------------------------------------------------------------------------------------------

// "type@offset:value" for each attribute, and what ended the list too early.
std::string show_list(const Bytes &list, std::size_t base)
{
    const ExactCopy copy(list);
    AttributeList attributes({copy.data(), copy.size()}, base);
    std::string out;
    for (PathAttribute one; attributes.next(one);) {
        out += fmt::format("{}@{}+{}:{} ", one.type, one.offset, one.value_offset, test::hex(one.value));
    }
    if (attributes.malformed()) {
        out += fmt::format("!{}: {}", attributes.malformed()->offset, attributes.malformed()->text);
    }
    return out;
}

TEST(AttributeListTest, ShortAndExtendedLengths)
{
    EXPECT_EQ(show_list(bytes("400101 00 500200 02 aabb 800e00"), 23), "1@23+26:00 2@27+31:aabb 14@33+36: ");
    EXPECT_EQ(show_list({}, 23), "");
}

TEST(AttributeListTest, ExtendedLengthOfMoreThan4096Octets)
{
    const std::string text = show_list(attribute(16, Bytes(40000, 1)), 23);
    EXPECT_EQ(text.substr(0, 9), "16@23+27:");
    EXPECT_EQ(text.size(), 9 + 80000 + 1U);
}

TEST(AttributeListTest, AttributesBeforeATruncatedOneAreStillGiven)
{
    const std::string header = "the path attributes end inside the header of an attribute";
    const std::string value = "a path attribute runs past the end of the path attributes";
    EXPECT_EQ(show_list(bytes("400101 00 80"), 23), "1@23+26:00 !27: " + header);
    EXPECT_EQ(show_list(bytes("400101 00 800e"), 23), "1@23+26:00 !27: " + header);
    EXPECT_EQ(show_list(bytes("90 0e 00"), 0), "!0: " + header);
    EXPECT_EQ(show_list(bytes("800e02 00"), 0), "!0: " + value);
    EXPECT_EQ(show_list(bytes("900e0100 00"), 0), "!0: " + value);
    EXPECT_EQ(show_list(bytes("90 0e ffff 00"), 5), "!5: " + value);
}

// The result looks into `wire`.
MpAttribute split(const Bytes &&wire) = delete;
MpAttribute split(const Bytes &wire)
{
    AttributeList list(wire, 23);
    PathAttribute one;
    EXPECT_TRUE(list.next(one));
    return split_mp(one);
}

TEST(MpAttributeTest, ReachHasANextHop)
{
    const Bytes wire = mp_reach(1, 5, bytes("0a0a0603"), bytes("0102"));
    const MpAttribute mp = split(wire);
    ASSERT_FALSE(mp.malformed);
    EXPECT_EQ(mp.attribute, 14);
    EXPECT_EQ(mp.afi, 1);
    EXPECT_EQ(mp.safi, 5);
    EXPECT_EQ(test::hex(mp.next_hop), "0a0a0603");
    EXPECT_EQ(test::hex(mp.nlri), "0102");
    EXPECT_EQ(mp.nlri_offset, 35U);
}

TEST(MpAttributeTest, ReservedOctetBehindTheNextHopMeansNothing)
{
    const Bytes wire = bytes("800e0a 0001 05 04 0a0a0603 ff 09");
    const MpAttribute mp = split(wire);
    ASSERT_FALSE(mp.malformed);
    EXPECT_EQ(test::hex(mp.nlri), "09");
}

TEST(MpAttributeTest, NextHopMayBeEmpty)
{
    const Bytes wire = bytes("800e06 0001 05 00 00 09");
    const MpAttribute mp = split(wire);
    ASSERT_FALSE(mp.malformed);
    EXPECT_TRUE(mp.next_hop.empty());
    EXPECT_EQ(test::hex(mp.nlri), "09");
}

TEST(MpAttributeTest, UnreachHasNoNextHop)
{
    const Bytes wire = mp_unreach(2, 5, bytes("0102"));
    const MpAttribute mp = split(wire);
    ASSERT_FALSE(mp.malformed);
    EXPECT_EQ(mp.afi, 2);
    EXPECT_EQ(mp.nlri_offset, 29U);
    EXPECT_EQ(test::hex(mp.nlri), "0102");
}

TEST(MpAttributeTest, TooShortOnesAreMalformed)
{
    for (const char *wire : {"800e00", "800e020001", "800e03000105", "800e0400010504", "800e0700010504 0a0a06",
                             "800e08 00010504 0a0a0603", "800f00", "800f020001"}) {
        const Bytes octets = bytes(wire);
        const ExactCopy copy(octets);
        AttributeList list({copy.data(), copy.size()}, 23);
        PathAttribute one;
        ASSERT_TRUE(list.next(one));
        const MpAttribute mp = split_mp(one);
        EXPECT_TRUE(mp.malformed) << wire;
        EXPECT_TRUE(mp.nlri.empty()) << wire;
    }
    const Bytes next_hop = bytes("800e0700010504 0a0a06");
    EXPECT_EQ(split(next_hop).malformed->offset, 29U) << "the next hop's length octet";
    const Bytes too_short = bytes("800f020001");
    EXPECT_EQ(split(too_short).malformed->offset, 23U) << "the attribute";
}

// --- the walk ---------------------------------------------------------------------------------------------------

// Routes of the IPv4 family.
const Bytes kJoin = bytes("06 16 0000 fde8 0001869f 0000fde8 20 0a63c701 20 effbffe4");      // 24 octets
const Bytes kSourceActive = bytes("05 12 0000 fde8 0001869f 20 0a630c04 20 effbffe4");       // 20
const Bytes kType8 = bytes("08 0c 0000 fde8 0001869f 01020304");                             // 14
const Bytes kRd3 = bytes("07 16 0003 fde8 0001869f 0000fde8 20 0a63c701 20 effbffe4");       // 24
const Bytes kLeaf = bytes("04 12 010c 0000 fde8 0001869f 0a000001 0a000002");                // 20
const Bytes kLeafRd3 = bytes("04 12 010c 0003 fde8 0001869f 0a000001 0a000002");             // 20
const Bytes kSpmsiLeafRd3 = bytes("04 14 030e 0003 fde8 0001869f 00 00 0a000001 0a000002");  // 22
const Bytes kLeafOfType2 = bytes("04 12 020c 0000 fde8 0001869f 0a000001 0a000002");         // 20
const Bytes kZeroSource = bytes("05 12 0000 fde8 0001869f 20 00000000 20 effbffe4");         // 20
const Bytes kWrongSum = bytes("05 13 0000 fde8 0001869f 20 0a630c04 20 effbffe4 00");        // 21
const Bytes kWrongAddressLength = bytes("05 12 0000 fde8 0001869f 21 0a630c04 20 effbffe4"); // 20
const Bytes kIpv6Source =
    bytes("05 2a 0000 fde8 0001869f 80 fd120000000000000000000000000004 80 ff0e0000000000000000000000000001"); // 44
const Bytes kTooLong = bytes("05 4d 0000 fde8 0001869f 20 0a630c04 20 effbffe4"); // length 77, 20 octets of it

class WalkTest : public testing::Test {
protected:
    LeakCheck leaks_;
    Family family_{*find_family(1, 5), kMemHandle};
    Family ipv6_{*find_family(2, 5), kMemHandle};
};

TEST_F(WalkTest, RoutesFollowOneAnother)
{
    EXPECT_EQ(show_walk(family_, 14, kJoin), "route@0+24");
    EXPECT_EQ(show_walk(family_, 15, join({kJoin, kSourceActive, kLeaf})), "route@0+24 route@24+20 route@44+20");
    EXPECT_EQ(show_walk(family_, 14, {}), "");
}

TEST_F(WalkTest, OneOrTwoOctetsBehindTheLastRouteAreReported)
{
    EXPECT_EQ(show_walk(family_, 14, join({kJoin, bytes("06")})), "route@0+24 unread@24+1");
    EXPECT_EQ(show_walk(family_, 14, join({kJoin, bytes("0616")})), "route@0+24 unread@24+2");
}

TEST_F(WalkTest, ThreeOctetsBehindARouteAreTakenForTheNextOne)
{
    EXPECT_EQ(show_walk(family_, 14, join({kJoin, bytes("061600")})), "route@0+24 refused:60001@24+3");
}

TEST_F(WalkTest, MalformedRouteStopsTheAttribute)
{
    EXPECT_EQ(show_walk(family_, 14, join({kJoin, kWrongSum, kJoin})), "route@0+24 refused:60001@24+21 unread@45+24");
    EXPECT_EQ(show_walk(family_, 14, join({kWrongAddressLength, kJoin})), "refused:60001@0+20 unread@20+24");
    EXPECT_EQ(show_walk(family_, 14, join({kTooLong, kJoin})), "refused:60001@0+44");
    EXPECT_EQ(show_walk(family_, 14, bytes("06")), "refused:60001@0+1");
    EXPECT_EQ(show_walk(family_, 14, bytes("0600 0616")), "refused:60001@0+2 unread@2+2");
    EXPECT_EQ(show_walk(family_, 14, Bytes(kJoin.begin(), kJoin.end() - 1)), "refused:60001@0+23");
}

TEST_F(WalkTest, UnknownRouteTypeIsSteppedOver)
{
    EXPECT_EQ(show_walk(family_, 14, join({kType8, kJoin})), "refused:60002@0+14 route@14+24");
    EXPECT_EQ(show_walk(family_, 14, join({kJoin, kType8})), "route@0+24 refused:60002@24+14");
    EXPECT_EQ(show_walk(family_, 14, join({kType8, bytes("0616")})), "refused:60002@0+14 unread@14+2");
}

TEST_F(WalkTest, UnknownRdTypeIsSteppedOver)
{
    EXPECT_EQ(show_walk(family_, 14, join({kRd3, kJoin})), "refused:60002@0+24 route@24+24");
    EXPECT_EQ(show_walk(family_, 15, join({kRd3, kType8, kRd3, kSourceActive})),
              "refused:60002@0+24 refused:60002@24+14 refused:60002@38+24 route@62+20");
}

TEST_F(WalkTest, LeafRouteWithUnknownRdTypeStopsTheAttribute)
{
    EXPECT_EQ(show_walk(family_, 14, join({kLeafRd3, kJoin})), "refused:60002@0+20 unread@20+24");
    EXPECT_EQ(show_walk(family_, 14, join({kSpmsiLeafRd3, kJoin})), "refused:60002@0+22 unread@22+24");
    // The family's cursor stands two octets behind the attribute here.
    EXPECT_EQ(show_walk(family_, 14, kLeafRd3), "refused:60002@0+20");
    EXPECT_EQ(show_walk(family_, 14, join({kJoin, kSpmsiLeafRd3})), "route@0+24 refused:60002@24+22");
    // And here exactly at its end, with nothing said of more.
    EXPECT_EQ(show_walk(family_, 14, join({kLeafRd3, bytes("0616")})), "refused:60002@0+20 unread@20+2");
}

TEST_F(WalkTest, RefusalWithoutAStepStopsTheAttribute)
{
    EXPECT_EQ(show_walk(family_, 14, join({kZeroSource, kJoin})), "refused:60002@0+20 unread@20+24");
    EXPECT_EQ(show_walk(family_, 14, join({kLeafOfType2, kJoin})), "refused:60002@0+20 unread@20+24");
    EXPECT_EQ(show_walk(family_, 14, join({kIpv6Source, kJoin})), "refused:60002@0+44 unread@44+24");
    EXPECT_EQ(show_walk(ipv6_, 14, join({kSourceActive, kIpv6Source})), "refused:60002@0+20 unread@20+44");
    EXPECT_EQ(show_walk(ipv6_, 14, kIpv6Source), "route@0+44");
}

TEST_F(WalkTest, RouteThatFindsNoMemoryIsLostAndEndsTheWalk)
{
    const Bytes wire = join({kJoin, kSourceActive, kLeaf});
    for (std::uint64_t allocation = 0; allocation < 3; ++allocation) {
        const platform::FailAllocation failure(allocation);
        const char *const expected[] = {"lost@0+24 unread@24+40", "route@0+24 lost@24+20 unread@44+20",
                                        "route@0+24 route@24+20 lost@44+20"};
        EXPECT_EQ(show_walk(family_, 14, wire), expected[allocation]);
        EXPECT_TRUE(failure.fired());
    }
}

TEST_F(WalkTest, AttributeThatTheFamilyDoesNotKnowIsPassedOver)
{
    for (const int type : {0, 1, 2, 5, 99, 128, 255}) {
        EXPECT_EQ(show_walk(family_, static_cast<std::uint8_t>(type), bytes("0102030405")), "") << type;
    }
    EXPECT_EQ(show_walk(family_, 16, {}), "");
}

// A family of the test's own, for answers that NG-MVPN never gives.
struct Scripted {
    static inline std::uint32_t code = 0;
    static inline std::uint32_t more = 0;
    static inline bool write_more = true;
    static inline bool give_block = false;
    static inline std::ptrdiff_t step = 0;
    static inline int calls = 0;

    static std::uint32_t parse(const std::uint8_t **cursor, std::uint32_t, std::uint32_t, std::uint32_t,
                               QEL_ROUTE_BLOCK_S **result, std::uint32_t *more_word, QEL_FAMILY_CTX_S *)
    {
        ++calls;
        *cursor += step;
        if (write_more) {
            *more_word = more;
        }
        if (give_block) {
            *result = static_cast<QEL_ROUTE_BLOCK_S *>(
                ZVK_SimpleAlloc_F(kMemHandle, sizeof(QEL_ROUTE_BLOCK_S), __FILE__, __LINE__));
            **result = {};
        }
        return code;
    }
    static QEL_FAMILY_CTX_S *construct(QEL_FAMILY_DESC_S *desc, std::uint32_t)
    {
        static QEL_FAMILY_CTX_S ctx{};
        desc->pfParsePkt = parse;
        return &ctx;
    }
    static void destruct(QEL_FAMILY_CTX_S *) {}
};
constexpr FamilyInfo kScripted{FamilyKind::ng_mvpn, 1, 5, "scripted", "scripted", Scripted::construct,
                               Scripted::destruct};

TEST_F(WalkTest, GoingOnTakesTheWordTheCursorAndTheCodeTogether)
{
    const Family family(kScripted, kMemHandle);
    const Bytes three = bytes("0101aa 0101bb 0101cc");
    struct Row {
        std::uint32_t code;
        bool write_more;
        std::uint32_t more;
        std::ptrdiff_t step;
        const char *expected;
    };
    const Row rows[] = {
        {0, true, 1, 3, "lost@0+3 lost@3+3 lost@6+3"},
        {0, true, 0, 3, "lost@0+3 unread@3+6"},
        {0, false, 0, 3, "lost@0+3 unread@3+6"},
        {0, true, 1, 0, "lost@0+3 unread@3+6"},
        {0, true, 1, 5, "lost@0+3 unread@3+6"},
        {0x60002, true, 1, 3, "refused:60002@0+3 refused:60002@3+3 refused:60002@6+3"},
        {0x60002, true, 1, 2, "refused:60002@0+3 unread@3+6"},
        {0x60002, true, 1, 5, "refused:60002@0+3 unread@3+6"},
        {0x60002, true, 0, 3, "refused:60002@0+3 unread@3+6"},
        {0x60002, false, 0, 3, "refused:60002@0+3 unread@3+6"},
        {0x60001, true, 1, 3, "refused:60001@0+3 unread@3+6"},
        {0x50002, true, 1, 3, "refused:50002@0+3 unread@3+6"},
        {0x80001, true, 1, 3, "refused:80001@0+3 unread@3+6"},
    };
    for (const Row &row : rows) {
        Scripted::code = row.code;
        Scripted::write_more = row.write_more;
        Scripted::more = row.more;
        Scripted::step = row.step;
        Scripted::give_block = false;
        EXPECT_EQ(show_walk(family, 14, three), row.expected) << fmt::format("{:x} {}", row.code, row.step);
    }
}

TEST_F(WalkTest, AttributeOtherThanNlriIsOfferedOnce)
{
    const Family family(kScripted, kMemHandle);
    Scripted::code = 0x3000b;
    Scripted::write_more = true;
    Scripted::more = 1;
    Scripted::step = 3;
    Scripted::give_block = false;
    Scripted::calls = 0;
    EXPECT_EQ(show_walk(family, 22, bytes("0101aa0101bb")), "refused:3000b@0+6");
    EXPECT_EQ(Scripted::calls, 1);
    Scripted::code = 0;
    Scripted::give_block = true;
    EXPECT_EQ(show_walk(family, 22, bytes("0101aa0101bb")), "route@0+6");
}

TEST_F(WalkTest, TunnelThatTheFamilySteppedOverIsNoRefusal)
{
    const std::pair<const char *, const char *> rows[] = {
        {"00 00 000000", "not-carried:20004@0+5"},
        {"01 06 000640 c0000201", "not-carried:3000a@0+9"},
        {"00 03 000000 c0000201 e8010101", "not-carried:3000a@0+13"},
        {"00 7f 000000", "not-carried:3000a@0+5"},
        {"00 00 000000 00", "refused:3000b@0+6"},
        {"00 06 000000 20010db8000000000000000000000001", "refused:3000b@0+21"},
        {"00 01 000000 00000005 0001 0011 c0000201", "refused:3000a@0+17"}, // reserved octets that are not 0
        {"02 06 000000 c0000201", "refused:30004@0+9"},
    };
    for (const auto &[wire, expected] : rows) {
        EXPECT_EQ(show_walk(family_, 22, bytes(wire)), expected) << wire;
    }
}

TEST_F(WalkTest, CodeOfARefusedIdentifierIsARefusalInEveryOtherAttribute)
{
    const Family family(kScripted, kMemHandle);
    Scripted::code = 0x3000a;
    Scripted::write_more = true;
    Scripted::more = 0;
    Scripted::step = 3;
    Scripted::give_block = false;
    EXPECT_EQ(show_walk(family, 16, bytes("0101aa")), "refused:3000a@0+3");
    EXPECT_EQ(show_walk(family, 22, bytes("0101aa")), "not-carried:3000a@0+3");
    Scripted::step = 0;
    EXPECT_EQ(show_walk(family, 22, bytes("0101aa")), "refused:3000a@0+3");
}

TEST_F(WalkTest, BlockThatComesWithAFailureIsFreed)
{
    const Family family(kScripted, kMemHandle);
    Scripted::code = 0x60001;
    Scripted::write_more = false;
    Scripted::step = 2;
    Scripted::give_block = true;
    const Bytes wire = bytes("0101aa");
    AttributeWalk walk(family, 14, wire);
    WalkStep step;
    ASSERT_TRUE(walk.next(step));
    EXPECT_EQ(step.kind, WalkStep::Kind::refused);
    EXPECT_FALSE(walk.next(step));
}

// --- instances --------------------------------------------------------------------------------------------------

TEST(FamilyTest, KnownFamiliesByAfiAndSafi)
{
    EXPECT_EQ(find_family(1, 5)->title, "IPv4 NG-MVPN");
    EXPECT_EQ(find_family(2, 5)->title, "IPv6 NG-MVPN");
    EXPECT_EQ(find_family(1, 66)->name, "mdt");
    EXPECT_EQ(find_family(1, 129)->name, "vpnv4-mcast");
    EXPECT_EQ(find_family(2, 129), nullptr);
    EXPECT_EQ(find_family(1, 1), nullptr);
    EXPECT_EQ(find_family(0, 0), nullptr);
}

TEST(FamilyTest, InstanceIsOfItsAddressFamilyAndReleasedWithItsOwner)
{
    const LeakCheck leaks;
    for (const std::uint16_t afi : {std::uint16_t{1}, std::uint16_t{2}}) {
        Family family(*find_family(afi, 5), kMemHandle);
        EXPECT_EQ(family.ctx()->usAddrFamily, afi);
        EXPECT_EQ(family.desc().uiAddrFamily, 0U);
        const Family moved(std::move(family));
        EXPECT_NE(moved.ctx(), nullptr);
        EXPECT_NE(moved.desc().pfParsePkt, nullptr);
    }
}

TEST(FamilyTest, ConstructionWithoutMemoryThrows)
{
    const LeakCheck leaks;
    const platform::FailAllocation failure(0);
    EXPECT_THROW(Family(*find_family(1, 5), kMemHandle), std::runtime_error);
}

} // namespace
} // namespace qel::host
