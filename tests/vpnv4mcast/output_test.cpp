// Result blocks of the VPNv4 multicast family: a label section in the place of the non-key.
#include "vpnv4mcast/qel_vpnv4mcast.h"

#include "output_contract.h"

namespace qel::test {
namespace {

struct Vpnv4Mcast {
    using View = QEL_VPNV4MCAST_VIEW_S;
    static constexpr Construct kConstruct = QEL_VPNV4MCAST_Construct;
    static constexpr Destruct kDestruct = QEL_VPNV4MCAST_Destruct;
    static constexpr auto kOutputData = QEL_VPNV4MCAST_OutputData;
    static constexpr auto kCalcOutputLen = QEL_VPNV4MCAST_CalcOutputLen;
    static constexpr auto kBuildNone = QEL_VPNV4MCAST_BuildNoneValueOutput;
    static constexpr std::array kSteps = {QEL_VPNV4MCAST_OutputRd, QEL_VPNV4MCAST_OutputKey, QEL_VPNV4MCAST_OutputLabel,
                                          QEL_VPNV4MCAST_OutputAttr, QEL_VPNV4MCAST_OutputCross};
    static constexpr HeaderFields kFields[] = {
        {0x1, 8, 10}, {0x2, 12, 14}, {0x20, 20, 22}, {0x8, 24, 26}, {0x10, 28, 30}};
    static constexpr std::uint32_t kNothing = QEL_ERR_ARGUMENT; // kept: 2 here, 0x50002 in the other families
    static constexpr std::size_t kNoneReports = 0;              // kept: this family does not report it
    static constexpr const char *kSource =
        "vpnv4mcast/qel_vpnv4mcast"; // the cross step stands with the cross functions
    static void set_third(View &view, const std::uint8_t *data, std::uint32_t length)
    {
        view.pucLabel = data;
        view.uiLabelLen = length;
        view.uiSpare0 = 0xa5a5a5a5; // the spare words count for nothing
        view.uiSpare1 = 0x5a5a5a5a;
    }
};

INSTANTIATE_TYPED_TEST_SUITE_P(Vpnv4Mcast, OutputContract, Vpnv4Mcast);

} // namespace
} // namespace qel::test
