#include "host/route_table.h"

#include "table_cases.h"

#include "ngmvpn/qel_ngmvpn_records.h"

#include <algorithm>
#include <array>
#include <map>
#include <string>

namespace qel::host {
namespace {

using namespace qel::test;

std::vector<Bytes> keys(const RouteTable &table)
{
    std::vector<Bytes> out;
    for (const StoredRoute &route : table) {
        out.push_back(octets_of(route.key()));
    }
    return out;
}

class RouteTableTest : public ::testing::Test {
protected:
    LeakCheck leaks;
    Family family = ng_mvpn();
    RouteTable table{family};

    Bytes key(const Bytes &nlri) { return octets_of(route_of(family, nlri).key()); }
    RouteTable::Insertion insert(const Bytes &nlri, SharedAttributes attributes = nullptr)
    {
        return table.insert_or_replace(route_of(family, nlri, std::move(attributes)));
    }
};

TEST_F(RouteTableTest, RoutesComeInTheFamilysOrderWhateverTheOrderOfTheirComing)
{
    const std::vector<Bytes> order{intra(1, 1), intra(1, 2), intra(2, 1), spmsi(1, 1), spmsi(1, 2), spmsi(2, 1)};
    std::vector<Bytes> expected;
    for (const Bytes &nlri : order) {
        expected.push_back(key(nlri));
    }
    std::vector<Bytes> shuffled = order;
    std::mt19937 random(7);
    for (int round = 0; round < 20; ++round) {
        std::shuffle(shuffled.begin(), shuffled.end(), random);
        table.clear();
        for (const Bytes &nlri : shuffled) {
            EXPECT_EQ(insert(nlri).change, RouteTable::Change::added);
        }
        EXPECT_EQ(keys(table), expected);
        EXPECT_EQ(table.size(), expected.size());
    }
}

TEST_F(RouteTableTest, ARouteThatComesAgainReplacesWhereItStands)
{
    const RouteTable::Insertion first = insert(spmsi(1, 1), communities_of(family, bytes("0002006400000001")));
    insert(intra(1, 1));
    const RouteTable::Insertion second = insert(spmsi(1, 1), communities_of(family, bytes("0002006400000002")));
    EXPECT_EQ(second.change, RouteTable::Change::replaced);
    EXPECT_EQ(second.route, first.route);
    EXPECT_EQ(table.size(), 2U);
    const QEL_ROUTE_INFO_S info = table.find(key(spmsi(1, 1)))->info();
    EXPECT_EQ(hex({info.pucExtComm, info.uiExtCommLen}), "0200640002000000");
}

TEST_F(RouteTableTest, OneRouteIsFoundAndErasedByItsKeyAlone)
{
    insert(spmsi(1, 1));
    insert(spmsi(1, 2));
    EXPECT_EQ(table.find(key(spmsi(1, 3))), nullptr);
    EXPECT_FALSE(table.erase(key(spmsi(1, 3))));
    EXPECT_TRUE(table.erase(key(spmsi(1, 1))));
    EXPECT_FALSE(table.erase(key(spmsi(1, 1))));
    EXPECT_EQ(table.find(key(spmsi(1, 1))), nullptr);
    EXPECT_NE(std::as_const(table).find(key(spmsi(1, 2))), nullptr);
    EXPECT_EQ(table.size(), 1U);
    EXPECT_TRUE(table.erase(key(spmsi(1, 2))));
    EXPECT_TRUE(table.empty());
    EXPECT_EQ(table.begin(), table.end());
}

TEST_F(RouteTableTest, TheExpandedRouteHasTheSectionsOfItsBlocks)
{
    insert(intra(1, 1), communities_of(family, bytes("0002006400000001")));
    const QEL_ROUTE_INFO_S info = table.begin()->info();
    EXPECT_EQ(info.uiValidMask, QEL_SECTION_RD | QEL_SECTION_KEY | QEL_SECTION_NONKEY | QEL_SECTION_ATTR);
    EXPECT_EQ(info.uiKeyLen, sizeof(QEL_NGMVPN_KEY_S));
    EXPECT_EQ(info.uiNonKeyLen, sizeof(QEL_NGMVPN_NONKEY_S));
    EXPECT_EQ(hex({info.pucRd, info.uiRdLen}), "0000640001000000");
    EXPECT_EQ(info.uiPolicyId, QEL_POLICY_ID_NONE);
}

TEST_F(RouteTableTest, RoutesOfOneUpdateShareItsAttributesAndTheLastFreesThem)
{
    const std::uint64_t before = platform::usage(kMemHandle).live_blocks;
    SharedAttributes shared = communities_of(family, bytes("0002006400000001"));
    insert(intra(1, 1), shared);
    insert(intra(1, 2), shared);
    shared.reset();
    EXPECT_EQ(platform::usage(kMemHandle).live_blocks, before + 3);
    table.erase(key(intra(1, 1)));
    EXPECT_EQ(platform::usage(kMemHandle).live_blocks, before + 2);
    insert(intra(1, 2)); // without attributes
    EXPECT_EQ(platform::usage(kMemHandle).live_blocks, before + 1);
    EXPECT_EQ(table.begin()->info().pucExtComm, nullptr);
}

TEST_F(RouteTableTest, ARouteWithoutAKeyIsRefusedAndFreed)
{
    EXPECT_EQ(table.insert_or_replace(StoredRoute(block_of(family, 16, bytes("0002006400000001")))).change,
              RouteTable::Change::refused);
    EXPECT_TRUE(table.empty());
    EXPECT_FALSE(table.erase({}));
    EXPECT_EQ(table.find({}), nullptr);
}

TEST_F(RouteTableTest, ARouteWhoseKeyTheFamilyDoesNotCompareIsRefused)
{
    BlockPtr block = block_of(family, 14, intra(1, 1));
    block->usKeyLen -= 1;
    const platform::Recorder recorder;
    EXPECT_EQ(table.insert_or_replace(StoredRoute(std::move(block))).change, RouteTable::Change::refused);
    EXPECT_TRUE(table.empty());
    EXPECT_EQ(recorder.asserts().size(), 1U);
}

TEST_F(RouteTableTest, ASectionThatTheBlockDoesNotTellOfIsNoKey)
{
    BlockPtr block = block_of(family, 14, intra(1, 1));
    block->uiValidMask &= ~QEL_SECTION_KEY;
    EXPECT_TRUE(StoredRoute(std::move(block)).key().empty());
}

TEST_F(RouteTableTest, ASectionThatTheBlockTellsOfAndDoesNotHoldIsNoKey)
{
    BlockPtr block = block_of(family, 14, intra(1, 1));
    block->usKeyOffset = 0;
    EXPECT_TRUE(StoredRoute(std::move(block)).key().empty());
}

TEST_F(RouteTableTest, TheExpandedRouteIsOfNoRuleOfAPolicy)
{
    insert(intra(1, 1));
    EXPECT_EQ(table.begin()->info().uiPolicyId, QEL_POLICY_ID_NONE);
}

TEST_F(RouteTableTest, WithoutAKeyNothingIsFoundAndTheFamilyIsNotAsked)
{
    insert(intra(1, 1));
    const platform::Recorder recorder;
    EXPECT_EQ(table.find({}), nullptr);
    EXPECT_EQ(std::as_const(table).find({}), nullptr);
    EXPECT_FALSE(table.erase({}));
    EXPECT_EQ(recorder.asserts().size(), 0U);
    EXPECT_EQ(table.size(), 1U);
}

TEST_F(RouteTableTest, TheRdIsLeftOutOfAccountWhereTheKeyHoldsIt)
{
    insert(intra(1, 1));
    const Bytes other_rd = bytes("0000650001000000");
    EXPECT_NE(table.find(key(intra(1, 1)), other_rd), nullptr);
    EXPECT_TRUE(table.erase(key(intra(1, 1)), other_rd));
}

// The blocks that are made next may stand where the first one stood.
TEST_F(RouteTableTest, ARouteThatComesAgainIsSearchedByTheOctetsOfItsNewBlock)
{
    insert(spmsi(1, 1));
    insert(spmsi(1, 1));
    std::vector<BlockPtr> others;
    for (std::uint8_t i = 0; i < 8; ++i) {
        others.push_back(block_of(family, 14, spmsi(9, i)));
    }
    EXPECT_NE(table.find(key(spmsi(1, 1))), nullptr);
    EXPECT_EQ(table.find(key(spmsi(9, 0))), nullptr);
}

TEST_F(RouteTableTest, TheHeapOfATableIsThatOfItsSlotsAndItsRoutes)
{
    EXPECT_EQ(table.heap_octets(), 0U);
    for (int i = 0; i < 1000; ++i) {
        insert(spmsi(static_cast<std::uint8_t>(i >> 8), static_cast<std::uint8_t>(i)));
    }
    EXPECT_GE(table.heap_octets(), 1000 * (sizeof(StoredRoute) + 24));
}

TEST_F(RouteTableTest, ErasedRoutesGiveTheirSlotsAndBlocksBack)
{
    const std::uint64_t before = platform::usage(kMemHandle).live_blocks;
    for (int i = 0; i < 1000; ++i) {
        insert(spmsi(static_cast<std::uint8_t>(i >> 8), static_cast<std::uint8_t>(i)));
    }
    EXPECT_EQ(platform::usage(kMemHandle).live_blocks, before + 1000);
    for (int i = 0; i < 1000; ++i) {
        EXPECT_TRUE(table.erase(key(spmsi(static_cast<std::uint8_t>(i >> 8), static_cast<std::uint8_t>(i)))));
    }
    EXPECT_EQ(platform::usage(kMemHandle).live_blocks, before);
    EXPECT_LE(table.heap_octets(), 8 * 24U) << "no chunk is left, only the room to name eight";
}

TEST_F(RouteTableTest, AClearedTableHoldsNothingAndIsFilledAnew)
{
    const std::uint64_t before = platform::usage(kMemHandle).live_blocks;
    insert(intra(1, 1));
    insert(intra(1, 2));
    table.clear();
    EXPECT_EQ(platform::usage(kMemHandle).live_blocks, before);
    EXPECT_EQ(table.size(), 0U);
    EXPECT_EQ(table.begin(), table.end());
    EXPECT_EQ(insert(intra(1, 2)).change, RouteTable::Change::added);
    EXPECT_EQ(keys(table), std::vector<Bytes>{key(intra(1, 2))});
}

// Thousands of steps beside a table of the standard library, over several chunks.
TEST_F(RouteTableTest, ALongMixOfStepsGivesWhatAPlainMapGives)
{
    std::map<std::array<std::uint8_t, 2>, const StoredRoute *> model; // the order of S-PMSI routes of one form
    std::mt19937 random(11);
    for (int step = 0; step < 20000; ++step) {
        const std::array<std::uint8_t, 2> id{static_cast<std::uint8_t>(random() % 40),
                                             static_cast<std::uint8_t>(random() % 64)};
        const Bytes nlri = spmsi(id[0], id[1]);
        // More is added than erased in the first half, less in the second.
        if (random() % 4 < (step < 10000 ? 3U : 1U)) {
            const RouteTable::Insertion done = insert(nlri);
            const auto [at, added] = model.emplace(id, done.route);
            ASSERT_EQ(done.change, added ? RouteTable::Change::added : RouteTable::Change::replaced);
            ASSERT_EQ(done.route, at->second) << "a route keeps its address";
        } else {
            ASSERT_EQ(table.erase(key(nlri)), model.erase(id) == 1);
        }
        ASSERT_EQ(table.size(), model.size());
    }
    std::vector<const StoredRoute *> in_order;
    for (const StoredRoute &route : table) {
        in_order.push_back(&route);
    }
    std::vector<const StoredRoute *> expected;
    for (const auto &entry : model) {
        expected.push_back(entry.second);
    }
    EXPECT_EQ(in_order, expected);
    for (const auto &[id, route] : model) {
        EXPECT_EQ(table.find(key(spmsi(id[0], id[1]))), route);
    }
}

// Three hundred routes in order fill a chunk of 256 but for one, which comes last.
TEST_F(RouteTableTest, AFullChunkIsSplitInOrderWhereverTheNextRouteStands)
{
    const auto nlri = [](int i) { return spmsi(static_cast<std::uint8_t>(i >> 8), static_cast<std::uint8_t>(i)); };
    std::vector<Bytes> expected;
    for (int i = 0; i < 300; ++i) {
        expected.push_back(key(nlri(i)));
    }
    for (const int last : {0, 1, 127, 128, 129, 130, 200, 255}) {
        table.clear();
        for (int i = 0; i < 300; ++i) {
            if (i != last) {
                insert(nlri(i));
            }
        }
        EXPECT_EQ(insert(nlri(last)).change, RouteTable::Change::added);
        EXPECT_EQ(keys(table), expected) << last;
    }
}

TEST_F(RouteTableTest, RoutesThatComeInOrderFillTheirChunks)
{
    for (int i = 0; i < 4096; ++i) {
        insert(spmsi(static_cast<std::uint8_t>(i >> 8), static_cast<std::uint8_t>(i)));
    }
    ASSERT_EQ(table.size(), 4096U);
    EXPECT_LE(table.heap_octets(), 4096 * (sizeof(StoredRoute) + 24 + 1)) << "a slot takes 24 octets";
    EXPECT_EQ(sizeof(StoredRoute), 24U);
}

// --- the order of keys ------------------------------------------------------------------------------------------

std::int32_t compare(const Family &family, const Bytes &a, const Bytes &b)
{
    return family.desc().pfCmpData(a.data(), static_cast<std::uint32_t>(a.size()), b.data(),
                                   static_cast<std::uint32_t>(b.size()), QEL_SECTION_KEY);
}

// Keys of routes of every type, near to each other: few values for each octet.
std::vector<Bytes> wire_keys(const Family &family, std::size_t count)
{
    std::vector<Bytes> forms{bytes("010c 0000006400000001 c0000201"),
                             bytes("0118 0000006400000001 20010db8000000000000000000000001"),
                             bytes("020c 0000006400000001 0000fbf4"),
                             bytes("0316 0000006400000001 20 0a000001 20 e8000001 c0000201"),
                             bytes("030e 0000006400000001 00 00 c0000201"),
                             bytes("0512 0000006400000001 20 0a000001 20 e8000001"),
                             bytes("0616 0000006400000001 0000fbf4 20 0a000001 20 ef010101"),
                             bytes("0716 0001006400000001 0000fbf4 20 0a000001 20 e8000001"),
                             bytes("0412 010c 0000006400000001 c0000201 c0000202"),
                             bytes("041c 0316 0000006400000001 20 0a000001 20 e8000001 c0000201 c0000202")};
    std::mt19937 random(3);
    std::vector<Bytes> out;
    while (out.size() < count) {
        Bytes nlri = forms[random() % forms.size()];
        for (int i = 0; i < 2; ++i) {
            std::uint8_t &octet = nlri[nlri.size() - 1 - random() % 8];
            octet = octet == 0x20 ? octet : static_cast<std::uint8_t>(octet ^ (random() % 4));
        }
        nlri[nlri.size() > 9 ? 9 : 0] = static_cast<std::uint8_t>(random() % 3);
        BlockPtr block = block_of(family, 14, nlri);
        if (block != nullptr) {
            out.push_back(octets_of(StoredRoute(std::move(block)).key()));
        }
    }
    return out;
}

TEST_F(RouteTableTest, KeysFromTheWireAreInAStrictOrder)
{
    const std::vector<Bytes> all = wire_keys(family, 90);
    for (const Bytes &a : all) {
        ASSERT_EQ(compare(family, a, a), 0);
        for (const Bytes &b : all) {
            const std::int32_t ab = compare(family, a, b);
            ASSERT_EQ(ab, -compare(family, b, a)) << hex(a) << "\n" << hex(b);
            for (const Bytes &c : all) {
                const std::int32_t bc = compare(family, b, c);
                if (ab == bc || bc == 0) {
                    ASSERT_EQ(compare(family, a, c), ab) << hex(a) << "\n" << hex(b) << "\n" << hex(c);
                }
            }
        }
    }
}

// A key that fits any RD (kind 3, from configuration) is equal to keys that are not equal to each other.
TEST_F(RouteTableTest, AKeyThatFitsAnyRdIsNoPlaceInTheOrder)
{
    const Bytes first = key(intra(1, 1));
    const Bytes second = key(intra(2, 1));
    Bytes any = first;
    any[offsetof(QEL_NGMVPN_KEY_S, ucRdKind)] = 3;
    EXPECT_EQ(compare(family, any, first), 0);
    EXPECT_EQ(compare(family, any, second), 0);
    EXPECT_NE(compare(family, first, second), 0);
}

TEST_F(RouteTableTest, KeysWithoutAnOrderBreakNothing)
{
    std::mt19937 random(5);
    for (int step = 0; step < 5000; ++step) {
        BlockPtr block = block_of(
            family, 14, spmsi(static_cast<std::uint8_t>(random() % 50), static_cast<std::uint8_t>(random() % 50)));
        reinterpret_cast<std::uint8_t *>(block.get())[block->usKeyOffset + offsetof(QEL_NGMVPN_KEY_S, ucRdKind)] =
            static_cast<std::uint8_t>(random() % 4);
        StoredRoute route(std::move(block));
        if (random() % 3 == 0) {
            table.erase(route.key());
        } else {
            EXPECT_NE(table.insert_or_replace(std::move(route)).change, RouteTable::Change::refused);
        }
        if (step % 500 == 0) {
            EXPECT_EQ(static_cast<std::size_t>(std::distance(table.begin(), table.end())), table.size());
        }
    }
}

} // namespace
} // namespace qel::host
