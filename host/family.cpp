#include "host/family.h"

#include "qel_byteorder.h"
#include "vpnv4mcast/qel_vpnv4mcast_records.h"

#include <array>
#include <cstddef>
#include <stdexcept>
#include <string>

namespace qel::host {
namespace {

bool fits_any_length(std::span<const std::uint8_t> key)
{
    return key.size() == sizeof(QEL_VPNV4MCAST_KEY_S) &&
           QEL_Load32(key.data() + offsetof(QEL_VPNV4MCAST_KEY_S, uiMaskLen)) == QEL_VPNV4MCAST_ANY_LENGTH;
}

constexpr std::array<FamilyInfo, 4> kFamilies{{
    {FamilyKind::ng_mvpn, 1, 5, "ng-mvpn", "IPv4 NG-MVPN", QEL_NGMVPN_Construct4Mvpn, QEL_NGMVPN_Destruct,
     QEL_NGMVPN_Construct4Mvrf},
    {FamilyKind::ng_mvpn, 2, 5, "ng-mvpn", "IPv6 NG-MVPN", QEL_NGMVPN_Construct4Mvpn, QEL_NGMVPN_Destruct,
     QEL_NGMVPN_Construct4Mvrf},
    {FamilyKind::mdt, 1, 66, "mdt", "MDT", QEL_MDT_Construct, QEL_MDT_Destruct, nullptr, Framing::bits, true},
    {FamilyKind::vpnv4_mcast, 1, 129, "vpnv4-mcast", "VPNv4 multicast", QEL_VPNV4MCAST_Construct,
     QEL_VPNV4MCAST_Destruct, nullptr, Framing::bits, true, fits_any_length},
}};

} // namespace

std::span<const FamilyInfo> known_families()
{
    return kFamilies;
}

const FamilyInfo *find_family(std::uint16_t afi, std::uint8_t safi)
{
    for (const FamilyInfo &info : kFamilies) {
        if (info.afi == afi && info.safi == safi) {
            return &info;
        }
    }
    return nullptr;
}

Family::Family(const FamilyInfo &info, std::uint32_t mem_handle, Component component)
    : info_(&info), desc_(std::make_unique<QEL_FAMILY_DESC_S>()), ctx_(nullptr, info.destruct)
{
    desc_->uiAddrFamily = info.afi;
    const bool mvrf = component == Component::mvrf && info.construct_mvrf != nullptr;
    ctx_.reset((mvrf ? info.construct_mvrf : info.construct)(desc_.get(), mem_handle));
    if (ctx_ == nullptr) {
        throw std::runtime_error("no instance of " + std::string(info.title) + ": out of memory");
    }
}

} // namespace qel::host
