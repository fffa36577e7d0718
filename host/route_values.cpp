#include "host/route_values.h"

namespace qel::host {
namespace {

MvpnAddress ipv4(std::uint32_t address)
{
    MvpnAddress out;
    out.kind = MvpnAddress::Kind::ipv4;
    out.value.uiIpv4 = address;
    return out;
}

} // namespace

std::size_t route_form(const RouteValues &route)
{
    if (std::holds_alternative<MdtRoute>(route)) {
        return kFormMdt;
    }
    return std::holds_alternative<Vpnv4McastRoute>(route) ? kFormVpnv4Mcast : wire_type(route);
}

std::string_view route_form_name(std::size_t form)
{
    switch (form) {
    case kFormMdt:
        return "MDT";
    case kFormVpnv4Mcast:
        return "VPNv4 multicast";
    default:
        return ng_mvpn_type_name(static_cast<std::uint8_t>(form));
    }
}

std::uint8_t wire_type(const RouteValues &route)
{
    const auto *typed = std::get_if<NgMvpnRoute>(&route);
    return typed != nullptr ? typed->type : 0;
}

const QEL_RD_VALUE_S &rd_of(const RouteValues &route)
{
    return std::visit([](const auto &each) -> const QEL_RD_VALUE_S & { return each.rd; }, route);
}

MvpnAddress source_of(const RouteValues &route)
{
    if (const auto *typed = std::get_if<NgMvpnRoute>(&route)) {
        return typed->source;
    }
    const auto *mdt = std::get_if<MdtRoute>(&route);
    return mdt != nullptr ? ipv4(mdt->source) : MvpnAddress{};
}

MvpnAddress group_of(const RouteValues &route)
{
    if (const auto *typed = std::get_if<NgMvpnRoute>(&route)) {
        return typed->group;
    }
    const auto *mdt = std::get_if<MdtRoute>(&route);
    return mdt != nullptr ? ipv4(mdt->group) : MvpnAddress{};
}

} // namespace qel::host
