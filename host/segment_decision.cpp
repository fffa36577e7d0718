#include "host/segment_decision.h"

#include <array>
#include <cstddef>
#include <string>

namespace qel::host {
namespace {

struct Row {
    std::string_view logged; // by which the library's line is known
    std::string_view row;
    std::string_view reason;
};

constexpr std::array<Row, 9> kRows{{
    {"output(NULL), for type", "none", "only I-PMSI and S-PMSI A-D routes are concerned"},
    {"output(NULL),route from local/ebgp", "none", "the route comes from this router or from EBGP, or goes to EBGP"},
    {"output(NULL), new import_pmsi", "none", "policy replaces no tunnel of this route"},
    {"(NEW), old import_pmsi is NULL", "A", "the component has not been asked yet"},
    {"in old import_pmsi,replace attr is not exist", "B", "the component has not answered yet"},
    {"1.1:", "1.1", "replaced, and nothing has changed since"},
    {"1.2:", "1.2", "something has changed; the replacement stays while the component is asked again"},
    {"2.1:", "2.1", "answered without a segmented next hop, and nothing has changed since"},
    {"2.2:", "2.2", "answered without a segmented next hop, but something has changed"},
}};

} // namespace

Decision decide(const Family &family, const QEL_ROUTE_INFO_S &before, const QEL_ROUTE_INFO_S &after,
                std::uint32_t control_flag, const platform::Recorder &recorder)
{
    const std::size_t logged = recorder.debugs().size();
    QEL_ROUTE_BLOCK_S *block = nullptr;
    Decision out;
    out.code = family.desc().pfSetAttrAfterPlcy(&before, &after, 0, control_flag, &block, family.ctx());
    out.record.reset(block);
    out.need_proc = block != nullptr && (block->usNeedProc & QEL_NEED_PROC) != 0;
    for (std::size_t i = logged; i < recorder.debugs().size(); ++i) {
        for (const Row &row : kRows) {
            if (recorder.debugs()[i].text.find(row.logged) != std::string::npos) {
                out.row = row.row;
                out.reason = row.reason;
            }
        }
    }
    return out;
}

std::string_view decision_name(std::uint32_t code)
{
    switch (code) {
    case QEL_OK:
        return "SUCCESS";
    case QEL_PLCY_DENY:
        return "DENY";
    case QEL_PLCY_WITHDRAW:
        return "WITHDRAW";
    default:
        return "failed";
    }
}

} // namespace qel::host
