// What the tests of the VPNv4 multicast family share: its entry points, its sources and one route of it.
#pragma once

#include "family_cases.h"

#include "vpnv4mcast/qel_vpnv4mcast.h"

namespace qel::test {

// One route, 10.1.0.0/16 with RD 100:5 and label 100, on the wire and as the records that it becomes.
inline constexpr std::string_view kRouteWire = "68 000640 0000006400000005 0a01";
inline constexpr std::string_view kBareWire = "50 0000006400000005 0a01"; // without its label
inline constexpr std::string_view kRdMem = "0000 6400 05000000";
inline constexpr std::string_view kKeyMem = "0000010a 10000000";
inline constexpr std::uint32_t kLabel = 100;

inline Sections bare_route()
{
    return {.rd = bytes(kRdMem), .key = bytes(kKeyMem)};
}

inline Sections whole_route()
{
    return {.rd = bytes(kRdMem), .key = bytes(kKeyMem), .label = kLabel};
}

// A key section.
inline Bytes key_of(std::uint32_t prefix, std::uint32_t length)
{
    return word(prefix) + word(length);
}

// Fails the test if a call changes the route record itself; the label is told apart, as one operation writes it.
class UnchangedRoute {
public:
    explicit UnchangedRoute(const QEL_ROUTE_INFO_S &route) : route_(route)
    {
        std::memcpy(&before_, &route, sizeof(route));
    }
    ~UnchangedRoute()
    {
        before_.uiMplsLabel = route_.uiMplsLabel;
        EXPECT_EQ(std::memcmp(&before_, &route_, sizeof(route_)), 0) << "the route record was written";
    }
    UnchangedRoute(const UnchangedRoute &) = delete;
    UnchangedRoute &operator=(const UnchangedRoute &) = delete;

private:
    const QEL_ROUTE_INFO_S &route_;
    QEL_ROUTE_INFO_S before_;
};

inline constexpr std::string_view kFrameSource = "/qel_vpnv4mcast.cpp";
inline constexpr std::string_view kCrossSource = "/qel_vpnv4mcast_cross.cpp";
inline constexpr std::string_view kIrtSource = "/qel_vpnv4mcast_irt.cpp";

struct Vpnv4McastCalls {
    static constexpr Construct kConstruct = QEL_VPNV4MCAST_Construct;
    static constexpr Destruct kDestruct = QEL_VPNV4MCAST_Destruct;
    static constexpr auto kMalloc = QEL_VPNV4MCAST_Malloc;
    static constexpr auto kFree = QEL_VPNV4MCAST_Free;
};
using Vpnv4McastTest = FamilyTest<Vpnv4McastCalls>;

} // namespace qel::test
