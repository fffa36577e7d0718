#include "host/ng_mvpn_route.h"

#include <array>
#include <cstring>

namespace qel::host {
namespace {

MvpnAddress address(std::uint8_t length, const QEL_ADDR_S &value)
{
    switch (length) {
    case QEL_NGMVPN_ADDR_LEN_IPV4:
        return {MvpnAddress::Kind::ipv4, value};
    case QEL_NGMVPN_ADDR_LEN_IPV6:
        return {MvpnAddress::Kind::ipv6, value};
    default:
        return {MvpnAddress::Kind::wildcard, {}};
    }
}

// Source and group of any key record that has both.
template <class Record> void read_flow(NgMvpnRoute &route, const Record &record)
{
    route.source = address(record.ucSrcAddrLen, record.stSrcAddr);
    route.group = address(record.ucGrpAddrLen, record.stGrpAddr);
}

// S-PMSI A-D and the Leaf A-D route that answers it. The key's address family is known where a wildcard could only
// stand as a zero length octet with zero octets behind it.
template <class Record> void read_spmsi(NgMvpnRoute &route, const Record &record)
{
    read_flow(route, record);
    route.originator = address(record.ucOrigAddrLen, record.stOrigAddr);
    route.explicit_wildcard = record.ucKeyAddrFamily != 0 && (record.ucSrcAddrLen == 0 || record.ucGrpAddrLen == 0);
}

} // namespace

std::optional<NgMvpnRoute> ng_mvpn_route(const QEL_ROUTE_INFO_S &info)
{
    QEL_NGMVPN_KEY_S key;
    if (info.pucKey == nullptr || info.uiKeyLen != sizeof(key)) {
        return std::nullopt;
    }
    std::memcpy(&key, info.pucKey, sizeof(key)); // the section may stand at any address
    NgMvpnRoute route;
    route.rd = key.stRd;
    switch (key.uiKeyType) {
    case QEL_NGMVPN_KEY_INTRA_IPMSI_AD:
        route.type = QEL_NGMVPN_WIRE_INTRA_IPMSI_AD;
        route.originator = address(key.uKey.stIntraIpmsiAd.ucOrigAddrLen, key.uKey.stIntraIpmsiAd.stOrigAddr);
        return route;
    case QEL_NGMVPN_KEY_INTER_IPMSI_AD:
        route.type = QEL_NGMVPN_WIRE_INTER_IPMSI_AD;
        route.source_as = key.uKey.stInterIpmsiAd.uiSourceAs;
        return route;
    case QEL_NGMVPN_KEY_SPMSI_AD:
        route.type = QEL_NGMVPN_WIRE_SPMSI_AD;
        read_spmsi(route, key.uKey.stSpmsiAd);
        return route;
    case QEL_NGMVPN_KEY_IPMSI_LEAF_AD:
        route.type = QEL_NGMVPN_WIRE_LEAF_AD;
        route.answers = QEL_NGMVPN_WIRE_INTRA_IPMSI_AD;
        route.originator = address(key.uKey.stIpmsiLeafAd.ucOrigAddrLen, key.uKey.stIpmsiLeafAd.stOrigAddr);
        route.leaf = address(key.uKey.stIpmsiLeafAd.ucLeafAddrLen, key.uKey.stIpmsiLeafAd.stLeafAddr);
        return route;
    case QEL_NGMVPN_KEY_SPMSI_LEAF_AD:
        route.type = QEL_NGMVPN_WIRE_LEAF_AD;
        route.answers = QEL_NGMVPN_WIRE_SPMSI_AD;
        read_spmsi(route, key.uKey.stSpmsiLeafAd);
        route.leaf = address(key.uKey.stSpmsiLeafAd.ucLeafAddrLen, key.uKey.stSpmsiLeafAd.stLeafAddr);
        return route;
    case QEL_NGMVPN_KEY_SOURCE_ACTIVE_AD:
        route.type = QEL_NGMVPN_WIRE_SOURCE_ACTIVE_AD;
        read_flow(route, key.uKey.stSourceActiveAd);
        return route;
    case QEL_NGMVPN_KEY_SHARED_TREE_JOIN:
    case QEL_NGMVPN_KEY_SOURCE_TREE_JOIN:
        route.type = key.uiKeyType == QEL_NGMVPN_KEY_SHARED_TREE_JOIN ? QEL_NGMVPN_WIRE_SHARED_TREE_JOIN
                                                                      : QEL_NGMVPN_WIRE_SOURCE_TREE_JOIN;
        route.source_as = key.uKey.stCMulticastRoute.uiSourceAs;
        read_flow(route, key.uKey.stCMulticastRoute);
        return route;
    default:
        return std::nullopt;
    }
}

std::string_view ng_mvpn_type_name(std::uint8_t type)
{
    static constexpr std::array<std::string_view, kNgMvpnTypes + 1> names{
        "unknown route type", "Intra-AS I-PMSI A-D", "Inter-AS I-PMSI A-D", "S-PMSI A-D",
        "Leaf A-D",           "Source Active A-D",   "Shared Tree Join",    "Source Tree Join"};
    return type < names.size() ? names[type] : names[0];
}

} // namespace qel::host
