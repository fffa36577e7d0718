#include "host/family.h"

#include <array>
#include <stdexcept>
#include <string>

namespace qel::host {
namespace {

constexpr std::array<FamilyInfo, 4> kFamilies{{
    {FamilyKind::ng_mvpn, 1, 5, "ng-mvpn", "IPv4 NG-MVPN", QEL_NGMVPN_Construct4Mvpn, QEL_NGMVPN_Destruct},
    {FamilyKind::ng_mvpn, 2, 5, "ng-mvpn", "IPv6 NG-MVPN", QEL_NGMVPN_Construct4Mvpn, QEL_NGMVPN_Destruct},
    {FamilyKind::mdt, 1, 66, "mdt", "MDT", nullptr, nullptr},
    {FamilyKind::vpnv4_mcast, 1, 129, "vpnv4-mcast", "VPNv4 multicast", nullptr, nullptr},
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

Family::Family(const FamilyInfo &info, std::uint32_t mem_handle)
    : info_(&info), desc_(std::make_unique<QEL_FAMILY_DESC_S>()), ctx_(nullptr, info.destruct)
{
    desc_->uiAddrFamily = info.afi;
    ctx_.reset(info.construct(desc_.get(), mem_handle));
    if (ctx_ == nullptr) {
        throw std::runtime_error("no instance of " + std::string(info.title) + ": out of memory");
    }
}

} // namespace qel::host
