// Result blocks of the MDT family.
#include "mdt/qel_mdt.h"

#include "output_contract.h"

namespace qel::test {
namespace {

struct Mdt {
    using View = QEL_ROUTE_VIEW_S;
    static constexpr Construct kConstruct = QEL_MDT_Construct;
    static constexpr Destruct kDestruct = QEL_MDT_Destruct;
    static constexpr auto kOutputData = QEL_MDT_OutputData;
    static constexpr auto kCalcOutputLen = QEL_MDT_CalcOutputLen;
    static constexpr auto kBuildNone = QEL_MDT_BuildNoneValueOutput;
    static constexpr std::array kSteps = {QEL_MDT_OutputRd, QEL_MDT_OutputKey, QEL_MDT_OutputNonKey, QEL_MDT_OutputAttr,
                                          QEL_MDT_OutputCross};
    static constexpr HeaderFields kFields[] = {
        {0x1, 8, 10}, {0x2, 12, 14}, {0x4, 16, 18}, {0x8, 24, 26}, {0x10, 28, 30}};
    static constexpr std::uint32_t kNothing = QEL_ERR_NULL;
    static constexpr std::size_t kNoneReports = 0; // kept: this family does not report it
    static constexpr const char *kSource = "qel_mdt.cpp";
    static void set_third(View &view, const std::uint8_t *data, std::uint32_t length)
    {
        view.pucNonKey = data;
        view.uiNonKeyLen = length;
    }
};

INSTANTIATE_TYPED_TEST_SUITE_P(Mdt, OutputContract, Mdt);

} // namespace
} // namespace qel::test
