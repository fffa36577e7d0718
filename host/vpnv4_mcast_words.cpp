#include "host/vpnv4_mcast_words.h"

#include "vpnv4mcast/qel_vpnv4mcast_records.h"

namespace qel::host {
namespace {

constexpr std::uint32_t kLabelBits = 0xfffff;

} // namespace

std::optional<RouteValues> vpnv4_mcast_route(const QEL_ROUTE_INFO_S &route)
{
    QEL_VPNV4MCAST_KEY_S key;
    Vpnv4McastRoute out;
    if (!copy_section(out.rd, route.pucRd, route.uiRdLen) || !copy_section(key, route.pucKey, route.uiKeyLen)) {
        return std::nullopt;
    }
    out.prefix = key.uiPrefix;
    out.mask_len = key.uiMaskLen;
    if ((route.uiValidMask & QEL_SECTION_LABEL) != 0) {
        // All twenty bits set are a word of all bits set in the section.
        out.label = route.uiMplsLabel & kLabelBits;
    }
    return out;
}

} // namespace qel::host
