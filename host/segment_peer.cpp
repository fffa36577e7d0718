#include "host/segment_peer.h"

#include "host/route.h"
#include "host/update_writer.h"
#include "ngmvpn/qel_ngmvpn_segment_policy.h"
#include "qel_byteorder.h"

#include <fmt/format.h>

namespace qel::host {
namespace {

constexpr std::uint32_t kToPeer = 2; // the check that looks at the peer
constexpr std::uint32_t kConfederation = 0x2000;
constexpr std::uint32_t kLocal = 0x800;
constexpr std::uint32_t kLocalPref = 100;
constexpr std::uint8_t kIpv4Octets = 4;
constexpr std::uint8_t kIpv6Octets = 16;

std::uint8_t octets_of(const MvpnAddress &address)
{
    return address.kind == MvpnAddress::Kind::ipv4 ? kIpv4Octets : kIpv6Octets;
}

} // namespace

std::uint32_t control_flag(PeerKind kind)
{
    switch (kind) {
    case PeerKind::ebgp:
        return QEL_NGMVPN_CTRL_DROP_NON_TRANSITIVE;
    case PeerKind::confederation:
        return kConfederation;
    case PeerKind::local:
        return kLocal;
    default:
        return 0;
    }
}

std::string_view peer_kind_name(PeerKind kind)
{
    switch (kind) {
    case PeerKind::ebgp:
        return "ebgp";
    case PeerKind::confederation:
        return "confederation";
    case PeerKind::local:
        return "local";
    default:
        return "ibgp";
    }
}

bool PeerUpdates::may_go(const Family &family, QEL_ROUTE_INFO_S route, const SegmentPeer &peer)
{
    const std::uint8_t length = octets_of(peer.address);
    const QEL_PEER_S told{0, length, length, {}};
    route.uiUserDataKind = QEL_USER_DATA_PEER;
    route.uiUserDataLen = sizeof(told);
    route.pstUserData = &told;
    std::uint32_t may = 0;
    return family.desc().pfCheckRouteForAdv(&route, kToPeer, &may) == QEL_OK && may == 1;
}

std::vector<std::uint8_t> PeerUpdates::formatted(const Family &family, QEL_ROUTE_INFO_S route, std::uint8_t type,
                                                 std::vector<std::string> &troubles)
{
    const std::uint32_t code = writer_.write([&](std::uint8_t **cursor, std::uint32_t room) {
        return family.desc().pfFormatPkt(&route, type, cursor, room, family.ctx());
    });
    if (code != QEL_OK) {
        troubles.push_back(fmt::format("attribute {} not written, 0x{:x}", type, code));
    }
    const Octets written = writer_.written();
    return {written.begin(), written.end()};
}

// The outgoing value is the library's to say; a value of no octets leaves the attribute out.
void PeerUpdates::append_outgoing(std::vector<std::uint8_t> &out, const Family &family, const QEL_ROUTE_INFO_S &route,
                                  std::uint8_t type, std::uint32_t flag, std::vector<std::string> &troubles)
{
    QEL_ROUTE_BLOCK_S *block = nullptr;
    const std::uint32_t code = family.desc().pfSetAttr(&route, type, flag, &block, family.ctx());
    const BlockPtr owner(code == QEL_OK ? block : nullptr);
    if (code != QEL_OK) {
        troubles.push_back(fmt::format("attribute {} has no outgoing value, 0x{:x}", type, code));
    }
    if (owner == nullptr || owner->usAttrLen == 0) {
        return;
    }
    QEL_ROUTE_INFO_S outgoing = route;
    place_sections(outgoing, *owner);
    // The writer of a tunnel takes what it is given.
    outgoing.pstImportAttr = nullptr;
    outgoing.uiImportAttrLen = 0;
    append_attribute(out, kOptionalTransitive, type, formatted(family, outgoing, type, troubles));
}

void PeerUpdates::append_path(std::vector<std::uint8_t> &out, PeerKind kind) const
{
    constexpr std::uint8_t igp = 0;
    append_attribute(out, kWellKnown, kAttrOrigin, {&igp, 1});
    std::array<std::uint8_t, 6> path{static_cast<std::uint8_t>(kind == PeerKind::confederation ? 3 : 2), 1};
    QEL_StoreBe32(path.data() + 2, router_.as);
    append_attribute(out, kWellKnown, kAttrAsPath, kind == PeerKind::ibgp ? Octets() : Octets(path));
    if (kind != PeerKind::ebgp) {
        std::array<std::uint8_t, 4> preference;
        QEL_StoreBe32(preference.data(), kLocalPref);
        append_attribute(out, kWellKnown, kAttrLocalPref, preference);
    }
}

std::vector<std::uint8_t> PeerUpdates::announcement(const Family &family, const QEL_ROUTE_INFO_S &route,
                                                    const SegmentPeer &peer, std::vector<std::string> &troubles)
{
    std::array<std::uint8_t, kIpv4Octets> ipv4;
    QEL_StoreBe32(ipv4.data(), router_.ipv4);
    const Octets next_hop = octets_of(peer.address) == kIpv4Octets ? Octets(ipv4) : Octets(router_.ipv6);
    std::vector<std::uint8_t> out;
    append_mp_reach(out, family.info(), next_hop, formatted(family, route, kAttrMpReach, troubles));
    append_path(out, peer.kind);
    const std::uint32_t flag = control_flag(peer.kind);
    append_outgoing(out, family, route, QEL_ATTR_TYPE_EXTCOMM, flag, troubles);
    if (route.pucPmsi != nullptr) {
        append_outgoing(out, family, route, QEL_ATTR_TYPE_PMSI, flag, troubles);
    }
    const auto append_held = [&](std::uint8_t type, const std::uint8_t *section) {
        if (section != nullptr) {
            append_attribute(out, kOptionalTransitive, type, formatted(family, route, type, troubles));
        }
    };
    append_held(QEL_ATTR_TYPE_IPV6_EXTCOMM, route.pucIpv6ExtComm);
    append_held(QEL_ATTR_TYPE_PFXSID, route.pucPfxSid);
    append_held(QEL_ATTR_TYPE_MSID, route.pucMsid);
    return make_update(out);
}

std::vector<std::uint8_t> PeerUpdates::withdrawal(const Family &family, const QEL_ROUTE_INFO_S &route)
{
    std::vector<std::string> troubles;
    std::vector<std::uint8_t> out;
    append_mp_unreach(out, family.info(), formatted(family, route, kAttrMpUnreach, troubles));
    return make_update(out);
}

} // namespace qel::host
