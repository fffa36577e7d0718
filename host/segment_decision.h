// What becomes of a route at a segmentation point after policy.
#pragma once

#include "host/family.h"
#include "host/platform/platform.h"
#include "host/route.h"

#include <cstdint>
#include <span>
#include <string_view>

namespace qel::host {

struct Decision {
    std::uint32_t code = 0;       // QEL_OK, QEL_PLCY_DENY or QEL_PLCY_WITHDRAW
    bool need_proc = false;       // the multicast component has to be asked
    BlockPtr record;              // the import attribute record that the route now carries
    std::string_view row = "";    // which of the eight cases the library's log tells of: "none", "A", "1.1"
    std::string_view reason = ""; // the same in words
};

// `before` is the route as it stood before policy, `after` as policy leaves it; `control_flag` tells where the route
// comes from and goes to. The recorder is the innermost one.
Decision decide(const Family &family, const QEL_ROUTE_INFO_S &before, const QEL_ROUTE_INFO_S &after,
                std::uint32_t control_flag, const platform::Recorder &recorder);
// "SUCCESS", "DENY", "WITHDRAW"
std::string_view decision_name(std::uint32_t code);

} // namespace qel::host
