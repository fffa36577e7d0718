#include "host/cross.h"
#include "host/import_table.h"

#include "table_cases.h"

#include "ngmvpn/qel_ngmvpn_cross.h"

#include <algorithm>
#include <array>
#include <set>
#include <string>

namespace qel::host {
namespace {

using namespace qel::test;

std::int32_t family_order(const Family &family, const Bytes &a, const Bytes &b)
{
    return family.desc().pfCmpData(a.data(), static_cast<std::uint32_t>(a.size()), b.data(),
                                   static_cast<std::uint32_t>(b.size()), QEL_SECTION_CROSS);
}

// The target of an older peer: the rewritten type, and no number.
bool is_old(const Bytes &value)
{
    return value.size() == 8 && value[0] == 0x0b && value[1] == 0x01 && value[6] == 0 && value[7] == 0;
}

// A private target that is searched, not ordered: by its length and its first octet.
bool is_searched(const Bytes &value)
{
    static const std::set<std::pair<std::size_t, std::uint8_t>> forms{{21, 3}, {31, 2}, {45, 8},
                                                                      {55, 2}, {55, 7}, {79, 9}};
    return forms.contains({value.size(), value[0]});
}

// Whether the family orders two values: all but the two rules of a search.
bool is_ordered(const Bytes &a, const Bytes &b)
{
    const auto upgrade = [](const Bytes &x, const Bytes &y) {
        return is_old(x) && (y.size() == 21 || y.size() == 31 || y.size() == 55);
    };
    return !upgrade(a, b) && !upgrade(b, a) && !(a.size() == b.size() && (is_searched(a) || is_searched(b)));
}

// Values of every form, with few values for each octet, so that many are equal in part.
Bytes random_value(std::mt19937 &random)
{
    static constexpr std::array<std::size_t, 9> lengths{4, 8, 20, 21, 31, 38, 45, 55, 79};
    Bytes out(lengths[random() % lengths.size()]);
    for (std::uint8_t &octet : out) {
        octet = static_cast<std::uint8_t>(random() % 2);
    }
    out[0] = static_cast<std::uint8_t>(random() % 10);
    if (out.size() == 8 && random() % 2 == 0) {
        out[0] = 0x0b;
        out[1] = 0x01;
    }
    return out;
}

class ImportTableTest : public ::testing::Test {
protected:
    LeakCheck leaks;
    Family family = ng_mvpn(Component::mvrf);
    std::mt19937 random{17};

    std::vector<Bytes> values(std::size_t count)
    {
        std::vector<Bytes> out(count);
        std::generate(out.begin(), out.end(), [&] { return random_value(random); });
        return out;
    }
};

TEST_F(ImportTableTest, TheFamilyOrdersEveryPairButThoseOfASearch)
{
    const std::vector<Bytes> all = values(150);
    std::size_t exceptions = 0;
    for (const Bytes &a : all) {
        for (const Bytes &b : all) {
            if (!is_ordered(a, b)) {
                ++exceptions;
                continue;
            }
            const std::int32_t answer = family_order(family, a, b);
            ASSERT_EQ(answer, -family_order(family, b, a)) << hex(a) << "\n" << hex(b);
            ASSERT_EQ(answer == 0, a == b) << hex(a) << "\n" << hex(b);
            ASSERT_EQ(answer, cross_order(family, a, b)) << hex(a) << "\n" << hex(b);
        }
    }
    EXPECT_GT(exceptions, 100U);
}

TEST_F(ImportTableTest, TheFamilysOrderIsTransitiveWhereItIsOne)
{
    const std::vector<Bytes> all = values(90);
    for (const Bytes &a : all) {
        for (const Bytes &b : all) {
            if (!is_ordered(a, b)) {
                continue;
            }
            const std::int32_t ab = family_order(family, a, b);
            for (const Bytes &c : all) {
                if (is_ordered(b, c) && is_ordered(a, c) && family_order(family, b, c) == ab) {
                    ASSERT_EQ(family_order(family, a, c), ab) << hex(a) << "\n" << hex(b) << "\n" << hex(c);
                }
            }
        }
    }
}

TEST_F(ImportTableTest, TheTablesOrderIsStrictForAllValues)
{
    const std::vector<Bytes> all = values(90);
    for (const Bytes &a : all) {
        for (const Bytes &b : all) {
            const std::int32_t ab = cross_order(family, a, b);
            ASSERT_EQ(ab, -cross_order(family, b, a)) << hex(a) << "\n" << hex(b);
            ASSERT_EQ(ab == 0, a == b);
            for (const Bytes &c : all) {
                if (cross_order(family, b, c) == ab) {
                    ASSERT_EQ(cross_order(family, a, c), ab) << hex(a) << "\n" << hex(b) << "\n" << hex(c);
                }
            }
        }
    }
}

// --- the exceptions ---------------------------------------------------------------------------------------------

// Type 2, RD, source 10.0.0.1, group 232.0.0.1, originator, route target.
const Bytes kStored = bytes("02 0000006400000001 20 0a000001 20 e8000001 c0000201 0002006400000001");
const Bytes kOtherFlow = bytes("02 0000006400000001 20 0a000002 20 e8000002 c0000201 0002006400000001");
// The search key of the same, and one that leaves source and group open.
const Bytes kSearched = bytes("00 0000006400000001 20 0a000001 20 e8000001 c0000201 0002006400000001");
const Bytes kOpen = bytes("00 0000006400000001 00 00000000 00 00000000 c0000201 0002006400000001");
// The target of an older peer, 10.1.1.1 with number 0 in the octets of the wire.
const Bytes kOld = bytes("0b01 0a010101 0000");
const Bytes kOldsPrivate = bytes("03 0000006400000001 c0000201 0102 0a010101 0000");

TEST_F(ImportTableTest, AStoredPrivateTargetIsBelowItself)
{
    EXPECT_EQ(family_order(family, kStored, kStored), -1);
    EXPECT_EQ(cross_order(family, kStored, kStored), 0);
}

TEST_F(ImportTableTest, TwoStoredPrivateTargetsAreEachBelowTheOther)
{
    EXPECT_EQ(family_order(family, kStored, kOtherFlow), -1);
    EXPECT_EQ(family_order(family, kOtherFlow, kStored), -1);
    EXPECT_EQ(cross_order(family, kStored, kOtherFlow), -1);
    EXPECT_EQ(cross_order(family, kOtherFlow, kStored), 1);
}

TEST_F(ImportTableTest, AnOpenSearchKeyIsEqualToTwoTargetsThatAreNot)
{
    EXPECT_EQ(family_order(family, kStored, kOpen), 0);
    EXPECT_EQ(family_order(family, kOtherFlow, kOpen), 0);
}

TEST_F(ImportTableTest, AnOldTargetIsEqualToAPrivateOneOneWayRound)
{
    EXPECT_EQ(family_order(family, kOld, kOldsPrivate), 0);
    EXPECT_EQ(family_order(family, kOldsPrivate, kOld), 1);
    EXPECT_TRUE(cross_matches(family, kOldsPrivate, kOld));
    EXPECT_EQ(cross_order(family, kOld, kOldsPrivate), -1);
}

// --- the table --------------------------------------------------------------------------------------------------

std::vector<int> found(const ImportTable<int> &table, const Bytes &searched)
{
    std::vector<int> out;
    table.for_each_match(searched, [&](const auto &entry) { out.push_back(entry.value); });
    return out;
}

TEST_F(ImportTableTest, ASearchFindsWhatTheFamilyFinds)
{
    ImportTable<int> table(family);
    table.insert(Cross(kOtherFlow), 2);
    table.insert(Cross(kStored), 1);
    table.insert(Cross(kOldsPrivate), 3);
    table.insert(Cross(bytes("0200640001000000")), 4);
    EXPECT_EQ(found(table, kSearched), std::vector<int>{1});
    EXPECT_EQ(found(table, kOpen), (std::vector<int>{1, 2}));
    EXPECT_EQ(found(table, kOld), std::vector<int>{3});
    EXPECT_EQ(found(table, bytes("0200640001000000")), std::vector<int>{4});
    EXPECT_EQ(found(table, bytes("0200640002000000")), std::vector<int>{});
    EXPECT_EQ(found(table, kStored), std::vector<int>{}) << "a stored number is no search number";
}

TEST_F(ImportTableTest, SeveralEntriesStandUnderOneValueInTheOrderOfTheirComing)
{
    ImportTable<int> table(family);
    const Bytes target = bytes("0200640001000000");
    for (const int value : {5, 3, 5, 1}) {
        table.insert(Cross(target), value);
    }
    table.insert(Cross(bytes("ffffffff")), 9);
    const auto [first, last] = table.equal_range(target);
    std::vector<int> range;
    for (auto at = first; at != last; ++at) {
        range.push_back(at->value);
    }
    EXPECT_EQ(range, (std::vector<int>{5, 3, 5, 1}));
    EXPECT_TRUE(table.erase(target, 5));
    EXPECT_FALSE(table.erase(target, 7));
    EXPECT_FALSE(table.erase(bytes("00000000"), 5));
    EXPECT_EQ(found(table, target), (std::vector<int>{3, 5, 1}));
    EXPECT_EQ(table.size(), 4U);
    const auto none = table.equal_range(bytes("00000000"));
    EXPECT_EQ(none.first, none.second);
}

TEST_F(ImportTableTest, ALongMixOfStepsLosesAndInventsNothing)
{
    ImportTable<int> table(family);
    std::multiset<std::pair<Bytes, int>> model;
    for (int step = 0; step < 6000; ++step) {
        const Bytes value = random_value(random);
        const int number = static_cast<int>(random() % 2);
        if (random() % 5 < 3) {
            table.insert(Cross(value), number);
            model.emplace(value, number);
        } else {
            const auto at = model.find({value, number});
            ASSERT_EQ(table.erase(value, number), at != model.end());
            if (at != model.end()) {
                model.erase(at);
            }
        }
    }
    std::multiset<std::pair<Bytes, int>> held;
    Bytes before;
    for (const auto &entry : table) {
        const Bytes value = octets_of(entry.cross.octets());
        ASSERT_TRUE(before.empty() || cross_order(family, before, value) <= 0);
        before = value;
        held.emplace(value, entry.value);
    }
    EXPECT_EQ(held, model);
    EXPECT_EQ(table.size(), model.size());
}

TEST_F(ImportTableTest, ASearchThatLeavesSourceAndGroupOpenFindsTheTargetsOfEveryFlow)
{
    ImportTable<int> table(family);
    table.insert(Cross(kStored), 1);
    table.insert(Cross(kOtherFlow), 2);
    EXPECT_EQ(found(table, kOpen), (std::vector<int>{1, 2}));
    EXPECT_EQ(found(table, kSearched), std::vector<int>{1});
}

TEST_F(ImportTableTest, TheTargetOfAnOlderPeerFindsThePrivateTargetsThatEndWithIt)
{
    ImportTable<int> table(family);
    table.insert(Cross(kOldsPrivate), 1);
    table.insert(Cross(kStored), 2);
    EXPECT_EQ(found(table, kOld), std::vector<int>{1});
}

TEST_F(ImportTableTest, WhereTheFamilyHasNoOrderTheShorterValueStandsFirst)
{
    EXPECT_EQ(cross_order(family, kOld, kOldsPrivate), -1);
    EXPECT_EQ(cross_order(family, kOldsPrivate, kOld), 1);
}

TEST_F(ImportTableTest, WhereTheFamilyHasNoOrderValuesOfOneLengthStandByTheirOctets)
{
    EXPECT_EQ(cross_order(family, kStored, kOtherFlow), -1);
    EXPECT_EQ(cross_order(family, kOtherFlow, kStored), 1);
}

TEST_F(ImportTableTest, AValueThatTheFamilyFindsEqualIsNotErasedInPlaceOfAnother)
{
    ImportTable<int> table(family);
    table.insert(Cross(kStored), 1);
    table.insert(Cross(kOldsPrivate), 1);
    EXPECT_FALSE(table.erase(kOpen, 1));
    EXPECT_FALSE(table.erase(kOld, 1));
    EXPECT_TRUE(table.erase(kStored, 1));
    EXPECT_EQ(table.size(), 1U);
}

TEST_F(ImportTableTest, AClearedTableFindsNothing)
{
    ImportTable<int> table(family);
    table.insert(Cross(kStored), 1);
    table.clear();
    EXPECT_TRUE(table.empty());
    EXPECT_EQ(table.begin(), table.end());
    EXPECT_EQ(found(table, kSearched), std::vector<int>{});
}

// --- the walk ---------------------------------------------------------------------------------------------------

std::vector<std::string> walk(const Family &family, const QEL_ROUTE_INFO_S &route)
{
    std::vector<std::string> out;
    CrossWalk walk(family, route);
    while (const std::optional<Cross> cross = walk.next()) {
        out.push_back(hex(cross->octets()));
    }
    EXPECT_EQ(walk.code(), 0U);
    EXPECT_EQ(walk.next(), std::nullopt);
    return out;
}

class CrossWalkTest : public ::testing::Test {
protected:
    LeakCheck leaks;
    Family family = ng_mvpn();
    SharedAttributes targets = communities_of(family, bytes("0009fbf400000000 0002006400000001 0102c00002010007"));
};

TEST_F(CrossWalkTest, GivesTheMarkerAndEachTarget)
{
    EXPECT_EQ(walk(family, route_of(family, intra(1, 1), targets).info()),
              (std::vector<std::string>{"ffffffff", "0200640001000000", "0201010200c00700"}));
    EXPECT_EQ(walk(family, route_of(family, intra(1, 1)).info()), std::vector<std::string>{"ffffffff"});
    EXPECT_EQ(walk(family, QEL_ROUTE_INFO_S{}), std::vector<std::string>{});
}

TEST_F(CrossWalkTest, AFamilyThatSaysWithAValueThatItIsTheLastIsNotAskedAgain)
{
    const Family mdt(*find_family(1, 66), kMemHandle);
    const StoredRoute stored = route_of(mdt, bytes("80 0000006400000001 0a000001 ef010101"));
    const QEL_ROUTE_INFO_S route = stored.info();
    CrossWalk walk(mdt, route);
    const std::optional<Cross> first = walk.next();
    ASSERT_TRUE(first);
    EXPECT_EQ(hex(first->octets()), "010101ef");
    EXPECT_EQ(walk.next(), std::nullopt);
    EXPECT_EQ(walk.next(), std::nullopt);
}

TEST_F(CrossWalkTest, EachComponentHasItsLeafValues)
{
    const Bytes leaf = bytes("0412 010c 0000006400000001 c0000201 c0000202");
    const SharedAttributes target = communities_of(family, bytes("0002006400000001"));
    EXPECT_EQ(walk(family, route_of(family, leaf, target).info()), std::vector<std::string>{"0b01640001000000"});
    const Family mvrf = ng_mvpn(Component::mvrf);
    EXPECT_EQ(walk(mvrf, route_of(mvrf, leaf, target).info()),
              std::vector<std::string>{"030000006400000001c00002010002006400000001"});
}

TEST_F(CrossWalkTest, FreesEveryValueAndEndsWhereTheFamilyFails)
{
    const StoredRoute stored = route_of(family, intra(1, 1), targets);
    const QEL_ROUTE_INFO_S route = stored.info();
    const std::uint64_t before = platform::usage(kMemHandle).live_blocks;
    for (std::uint64_t at = 0; at < 3; ++at) {
        const platform::Recorder recorder;
        const platform::FailAllocation failing(at);
        CrossWalk walk(family, route);
        std::size_t given = 0;
        while (walk.next()) {
            ++given;
        }
        EXPECT_TRUE(failing.fired());
        EXPECT_EQ(given, at);
        EXPECT_EQ(walk.code(), 3U);
        EXPECT_EQ(walk.next(), std::nullopt);
        EXPECT_EQ(platform::usage(kMemHandle).live_blocks, before);
    }
}

} // namespace
} // namespace qel::host
