// What the tests of the MDT family share: its entry points, its sources and one route of it.
#pragma once

#include "family_cases.h"

#include "mdt/qel_mdt.h"

namespace qel::test {

// One route, 100:5, 10.0.0.1, 239.1.1.1, on the wire and as the records that it becomes.
inline constexpr std::string_view kRdWire = "0000 0064 00000005";
inline constexpr std::string_view kAddrWire = "0a000001 ef010101";
inline constexpr std::string_view kRdMem = "0000 6400 05000000";
inline constexpr std::string_view kKeyMem = "0100000a 010101ef";
inline constexpr std::string_view kNonKeyMem = "0100 0000 010101ef";

inline Sections whole_route()
{
    return {.rd = bytes(kRdMem), .key = bytes(kKeyMem), .nonkey = bytes(kNonKeyMem)};
}

inline constexpr std::string_view kFrameSource = "/qel_mdt.cpp";
inline constexpr std::string_view kPacketSource = "/qel_mdtpkt.cpp";

struct MdtCalls {
    static constexpr Construct kConstruct = QEL_MDT_Construct;
    static constexpr Destruct kDestruct = QEL_MDT_Destruct;
    static constexpr auto kMalloc = QEL_MDT_Malloc;
    static constexpr auto kFree = QEL_MDT_Free;
};
using MdtTest = FamilyTest<MdtCalls>;

} // namespace qel::test
