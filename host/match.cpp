#include "host/match.h"

#include "host/route.h"
#include "host/tlv.h"

#include <bit>

namespace qel::host {

std::uint32_t for_each_match(const Family &family, const QEL_ROUTE_INFO_S &route,
                             const std::function<bool(std::uint32_t match)> &written,
                             const std::function<void(const MatchTlv &)> &found)
{
    for (std::uint32_t left = family.desc().auiMatchTypeMask[0]; left != 0; left &= left - 1) {
        const std::uint32_t match = 1U << std::countr_zero(left);
        std::uint8_t *octets = nullptr;
        std::uint32_t length = 0;
        const std::uint32_t code = family.desc().pfConstructMatch(&route, match, &octets, &length, family.ctx());
        if (code != QEL_OK) {
            return code;
        }
        const OctetsPtr owner(octets);
        if (owner != nullptr && written(match)) {
            for_each_tlv({owner.get(), length}, [&](std::uint16_t type, Octets value) { found({match, type, value}); });
        }
    }
    return QEL_OK;
}

} // namespace qel::host
