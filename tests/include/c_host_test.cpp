// The contract as a host in C meets it: headers, linkage, tables, and a route there and back.
#include "c_host.h"
#include "support.h"

#include "qel_codes.h"
#include "qel_route.h"

#include <gtest/gtest.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace qel::test {
namespace {

static_assert(C_HOST_MEM_HANDLE == kMemHandle);

TEST(CHost, ConstructsDrivesAndDestroysEveryFamily)
{
    const LeakCheck leaks;
    const platform::Recorder recorder;
    std::array<C_HOST_FAMILY_S, C_HOST_FAMILIES> families{};
    c_host_visit_families(families.data());

    struct Expected {
        std::uint32_t code, pkt_attrs, kind, route_type, has_label_type;
    };
    constexpr std::array<Expected, C_HOST_FAMILIES> expected{
        {{6, 7, 0, 0, 0}, {6, 7, 985, 0, 0}, {6, 7, 1793, 0, 0}, {1, 3, 0, 11, 0}, {1, 4, 0, 10, 1}}};
    for (std::size_t i = 0; i < families.size(); ++i) {
        SCOPED_TRACE(families[i].pszName);
        EXPECT_EQ(families[i].uiConstructed, 1U);
        EXPECT_EQ(families[i].uiFamilyCode, expected[i].code);
        EXPECT_EQ(families[i].uiPktAttrCount, expected[i].pkt_attrs);
        EXPECT_EQ(families[i].uiInstanceKind, expected[i].kind);
        EXPECT_EQ(families[i].uiRouteType, expected[i].route_type);
        EXPECT_EQ(families[i].uiHasLabelType, expected[i].has_label_type);
        EXPECT_EQ(families[i].uiUnknownParse, QEL_OK);
        EXPECT_EQ(families[i].uiUnknownFormat, QEL_ERR_NO_ENTRY);
        EXPECT_EQ(families[i].iUnknownCompare, QEL_CMP_FAILED);
    }
    EXPECT_TRUE(recorder.asserts().empty());
    EXPECT_TRUE(recorder.debugs().empty());
}

TEST(CHost, AnswersToFailedConstructionWithoutTouchingTheFamily)
{
    const LeakCheck leaks;
    std::array<C_HOST_FAMILY_S, C_HOST_FAMILIES> families{};
    const platform::FailAllocation fail(3);
    c_host_visit_families(families.data());
    EXPECT_TRUE(fail.fired());
    EXPECT_EQ(families[2].uiConstructed, 1U);
    EXPECT_EQ(families[3].uiConstructed, 0U);
    EXPECT_EQ(families[4].uiConstructed, 1U);
}

// Source Tree Join (RFC 6514): RD 65000:1, source AS 65000, (10.0.0.1, 239.1.1.1)
TEST(CHost, ReadsARouteComparesItAndWritesItBack)
{
    const LeakCheck leaks;
    const platform::Recorder recorder;
    const Bytes wire = bytes("07 16 0000fde800000001 0000fde8 20 0a000001 20 ef010101");
    const ExactCopy copy(wire);
    C_HOST_TRIP_S trip{};
    c_host_round_trip(copy.data(), copy.size(), &trip);

    EXPECT_EQ(trip.uiParsed, QEL_OK);
    EXPECT_EQ(trip.uiRead, 24U);
    EXPECT_EQ(trip.uiMore, 0U);
    EXPECT_EQ(trip.uiValidMask, QEL_SECTION_RD | QEL_SECTION_KEY | QEL_SECTION_NONKEY);
    EXPECT_EQ(trip.uiKeyType, 8U);
    EXPECT_EQ(trip.uiSourceAs, 65000U);
    EXPECT_EQ(trip.uiSource, 0x0A000001U);
    EXPECT_EQ(trip.uiGroup, 0xEF010101U);
    EXPECT_EQ(trip.uiRdType, 0U);
    EXPECT_EQ(trip.uiRdAsn, 65000U);
    EXPECT_EQ(trip.uiRdAssigned, 1U);
    EXPECT_EQ(trip.uiFormatted, QEL_OK);
    EXPECT_EQ(hex({trip.aucOut, trip.uiWritten}), hex(wire));
    EXPECT_EQ(trip.iCmpRd, 0);
    EXPECT_EQ(trip.iCmpKey, 0);
    EXPECT_EQ(trip.iCmpNonKey, 0);
    EXPECT_TRUE(recorder.asserts().empty());
}

TEST(CHost, SeesARefusedRouteAsACode)
{
    const LeakCheck leaks;
    const ExactCopy copy(bytes("07 16 0000fde800000001 0000fde8 20 0a000001 20 ef0101"));
    C_HOST_TRIP_S trip{};
    c_host_round_trip(copy.data(), copy.size(), &trip);
    EXPECT_EQ(trip.uiParsed, QEL_ERR_NLRI_MALFORMED);
    EXPECT_EQ(trip.uiRead, 0U);
    EXPECT_EQ(trip.uiValidMask, 0U);
    EXPECT_EQ(trip.uiWritten, 0U);
}

TEST(CHost, ReadsTheTablesByTheirNames)
{
    EXPECT_EQ(c_host_first_pkt_parse_type(), 14U);
    EXPECT_EQ(c_host_lookup_finds_the_table_row(), 1U);
}

TEST(CHost, IncludesEveryPublicHeader)
{
    const std::filesystem::path root = std::filesystem::path(QEL_SAMPLES_DIR).parent_path();
    std::ifstream file(root / "tests/include/c_host.c");
    const std::string source{std::istreambuf_iterator<char>(file), {}};
    int headers = 0;
    for (const char *folder : {"include", "platform", "ngmvpn", "mdt", "vpnv4mcast"}) {
        for (const auto &entry : std::filesystem::directory_iterator(root / folder)) {
            if (entry.path().extension() != ".h") {
                continue;
            }
            const std::string name = entry.path().filename().string();
            const std::string spelled = folder == std::string("include") ? name : std::string(folder) + "/" + name;
            EXPECT_NE(source.find("#include \"" + spelled + "\"\n"), std::string::npos) << spelled;
            ++headers;
        }
    }
    EXPECT_GE(headers, 10);
}

} // namespace
} // namespace qel::test
