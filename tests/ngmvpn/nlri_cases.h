// Routes of every type with the wire bytes, the key and the non-key that they become; shared by the tests of the route
// parsers, formatters and compares.
#pragma once

#include "../octets.h"

#include "ngmvpn/qel_ngmvpn_nlri.h"
#include "ngmvpn/qel_ngmvpn_records.h"

#include <cstddef>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

namespace qel::test {

// An instance to be made: which component, which address family.
struct Side {
    Construct construct;
    std::uint32_t family;
};
inline constexpr Side kPlain{QEL_NGMVPN_Construct, 0};
inline constexpr Side kPlain4{QEL_NGMVPN_Construct, 1};
inline constexpr Side kPlain6{QEL_NGMVPN_Construct, 2};
inline constexpr Side kMvrf4{QEL_NGMVPN_Construct4Mvrf, 1};
inline constexpr Side kMvrf6{QEL_NGMVPN_Construct4Mvrf, 2};
inline constexpr Side kMvrfAny{QEL_NGMVPN_Construct4Mvrf, 0}; // component code of IPv6, no family to refuse
inline constexpr Side kMvpn4{QEL_NGMVPN_Construct4Mvpn, 1};
inline constexpr Side kMvpn6{QEL_NGMVPN_Construct4Mvpn, 2};

class NgmvpnInstance : public Instance {
public:
    explicit NgmvpnInstance(Side side) : Instance(side.construct, QEL_NGMVPN_Destruct, side.family) {}
};

// A record with every byte zero: the braces of an initializer clear no more than the first member of a union.
template <typename Record> inline Record zeroed()
{
    Record record;
    std::memset(&record, 0, sizeof(record));
    return record;
}

template <typename Record> inline Bytes bytes_of(const Record &record)
{
    Bytes out(sizeof(record));
    std::memcpy(out.data(), &record, sizeof(record));
    return out;
}

// --- values -----------------------------------------------------------------------------------------------------

inline QEL_RD_VALUE_S rd0(std::uint16_t asn, std::uint32_t number)
{
    auto rd = zeroed<QEL_RD_VALUE_S>();
    rd.usRdType = 0;
    rd.usAsn = asn;
    rd.uiAssigned = number;
    return rd;
}

inline QEL_RD_VALUE_S rd12(std::uint16_t type, std::uint32_t admin, std::uint16_t number)
{
    auto rd = zeroed<QEL_RD_VALUE_S>();
    rd.usRdType = type;
    rd.uiAdmin = admin;
    rd.usAssigned = number;
    return rd;
}

struct Addr {
    std::uint8_t len = 0;
    QEL_ADDR_S value = zeroed<QEL_ADDR_S>();
};

inline Addr none()
{
    return {};
}

inline Addr v4(std::uint32_t host_order)
{
    Addr addr;
    addr.len = 32;
    addr.value.uiIpv4 = host_order;
    return addr;
}

inline Addr v6(std::string_view wire)
{
    Addr addr;
    addr.len = 128;
    const Bytes octets = bytes(wire);
    std::memcpy(addr.value.aucIpv6, octets.data(), sizeof(addr.value.aucIpv6));
    return addr;
}

// --- keys: RD kind 2, everything that is not named is zero --------------------------------------------------------

inline QEL_NGMVPN_KEY_S empty_key(std::uint32_t type, const QEL_RD_VALUE_S &rd)
{
    auto key = zeroed<QEL_NGMVPN_KEY_S>();
    key.uiKeyType = type;
    key.stRd = rd;
    key.ucRdKind = 2;
    return key;
}

template <typename Body> void put_source_and_group(Body &body, const Addr &src, const Addr &grp)
{
    body.ucSrcAddrLen = src.len;
    body.stSrcAddr = src.value;
    body.ucGrpAddrLen = grp.len;
    body.stGrpAddr = grp.value;
}

template <typename Body> void put_originator(Body &body, const Addr &orig)
{
    body.ucOrigAddrLen = orig.len;
    body.stOrigAddr = orig.value;
}

template <typename Body> void put_leaf(Body &body, const Addr &leaf)
{
    body.ucLeafAddrLen = leaf.len;
    body.stLeafAddr = leaf.value;
}

inline QEL_NGMVPN_KEY_S intra_key(const QEL_RD_VALUE_S &rd, const Addr &orig)
{
    QEL_NGMVPN_KEY_S key = empty_key(1, rd);
    put_originator(key.uKey.stIntraIpmsiAd, orig);
    return key;
}

inline QEL_NGMVPN_KEY_S inter_key(const QEL_RD_VALUE_S &rd, std::uint32_t as)
{
    QEL_NGMVPN_KEY_S key = empty_key(2, rd);
    key.uKey.stInterIpmsiAd.uiSourceAs = as;
    return key;
}

inline QEL_NGMVPN_KEY_S spmsi_key(const QEL_RD_VALUE_S &rd, std::uint8_t family, const Addr &src, const Addr &grp,
                                  const Addr &orig)
{
    QEL_NGMVPN_KEY_S key = empty_key(3, rd);
    auto &body = key.uKey.stSpmsiAd;
    body.ucKeyAddrFamily = family;
    put_source_and_group(body, src, grp);
    put_originator(body, orig);
    return key;
}

inline QEL_NGMVPN_KEY_S ipmsi_leaf_key(const QEL_RD_VALUE_S &rd, const Addr &orig, const Addr &leaf)
{
    QEL_NGMVPN_KEY_S key = empty_key(4, rd);
    put_originator(key.uKey.stIpmsiLeafAd, orig);
    put_leaf(key.uKey.stIpmsiLeafAd, leaf);
    return key;
}

inline QEL_NGMVPN_KEY_S spmsi_leaf_key(const QEL_RD_VALUE_S &rd, std::uint8_t family, const Addr &src, const Addr &grp,
                                       const Addr &orig, const Addr &leaf)
{
    QEL_NGMVPN_KEY_S key = empty_key(5, rd);
    auto &body = key.uKey.stSpmsiLeafAd;
    body.ucKeyAddrFamily = family;
    put_source_and_group(body, src, grp);
    put_originator(body, orig);
    put_leaf(body, leaf);
    return key;
}

inline QEL_NGMVPN_KEY_S source_active_key(const QEL_RD_VALUE_S &rd, const Addr &src, const Addr &grp)
{
    QEL_NGMVPN_KEY_S key = empty_key(6, rd);
    put_source_and_group(key.uKey.stSourceActiveAd, src, grp);
    return key;
}

inline QEL_NGMVPN_KEY_S cmcast_key(std::uint32_t type, const QEL_RD_VALUE_S &rd, std::uint32_t as, const Addr &src,
                                   const Addr &grp)
{
    QEL_NGMVPN_KEY_S key = empty_key(type, rd);
    key.uKey.stCMulticastRoute.uiSourceAs = as;
    put_source_and_group(key.uKey.stCMulticastRoute, src, grp);
    return key;
}

// --- routes -------------------------------------------------------------------------------------------------------

struct NlriCase {
    std::string name;
    Side side;
    std::string wire;
    QEL_NGMVPN_KEY_S key;
    std::string back{}; // what formatting gives; empty: the wire bytes again

    Bytes octets() const { return bytes(wire); }
    Bytes formatted() const { return bytes(back.empty() ? wire : back); }
    bool leaf() const { return key.uiKeyType == 4 || key.uiKeyType == 5; }
    // The non-key of the route: a Leaf A-D route holds the embedded route as it stands on the wire and no RD.
    QEL_NGMVPN_NONKEY_S nonkey() const
    {
        auto out = zeroed<QEL_NGMVPN_NONKEY_S>();
        out.uiKeyType = key.uiKeyType;
        if (leaf()) {
            const Bytes from = octets();
            out.usFlags = 0x5;
            std::memcpy(out.aucEmbeddedKey, from.data() + 2, from[3] + 2U);
        } else {
            out.usFlags = 0x11;
            out.stRd = key.stRd;
        }
        return out;
    }
};

inline std::ostream &operator<<(std::ostream &out, const NlriCase &route)
{
    return out << route.name << " [" << route.wire << "]";
}

inline const std::string kRd0 = " 0000 0064 00000001 "; // 100:1
inline const std::string kRd1 = " 0001 c0000201 0007 "; // 192.0.2.1:7
inline const std::string kRd2 = " 0002 00010203 0009 "; // 66051:9
inline const std::string kRd3 = " 0003 0064 00000001 "; // no such RD type
inline const std::string kS4 = " 20 0a000001 ";         // 10.0.0.1
inline const std::string kG4 = " 20 ef010203 ";         // 239.1.2.3
inline const std::string kO4 = " c0a80a0b ";            // 192.168.10.11
inline const std::string kL4 = " c0a81415 ";            // 192.168.20.21
inline const std::string kZ4 = " 00 00000000 ";         // wildcard with its four octets
inline const std::string kS6 = " 80 20010db8000000000000000000000a01 ";
inline const std::string kG6 = " 80 ff3e0000000000000000000000008001 ";
inline const std::string kO6 = " 20010db8000100000000000000000b02 ";
inline const std::string kL6 = " 20010db8000200000000000000000c03 ";
inline const std::string kZero16 = " 00000000000000000000000000000000 ";
inline const std::string kZ6 = " 00 00000000000000000000000000000000 "; // wildcard with its sixteen octets
inline const std::string kAs = " 0001fde9 ";                            // 130537

inline Addr s4()
{
    return v4(0x0a000001);
}
inline Addr g4()
{
    return v4(0xef010203);
}
inline Addr o4()
{
    return v4(0xc0a80a0b);
}
inline Addr l4()
{
    return v4(0xc0a81415);
}
inline Addr s6()
{
    return v6("20010db8000000000000000000000a01");
}
inline Addr g6()
{
    return v6("ff3e0000000000000000000000008001");
}
inline Addr o6()
{
    return v6("20010db8000100000000000000000b02");
}
inline Addr l6()
{
    return v6("20010db8000200000000000000000c03");
}
inline QEL_RD_VALUE_S rd_a()
{
    return rd0(100, 1);
}
inline QEL_RD_VALUE_S rd_b()
{
    return rd12(1, 0xc0000201, 7);
}
inline QEL_RD_VALUE_S rd_c()
{
    return rd12(2, 0x00010203, 9);
}

inline std::vector<NlriCase> ipmsi_routes()
{
    return {
        {"intra 12", kMvpn4, "01 0c" + kRd0 + kO4, intra_key(rd_a(), o4())},
        {"intra 24", kMvpn6, "01 18" + kRd1 + kO6, intra_key(rd_b(), o6())},
        {"intra 24 in an IPv4 instance", kMvrf4, "01 18" + kRd2 + kO6, intra_key(rd_c(), o6())},
        {"intra 12 in an IPv6 instance", kMvrf6, "01 0c" + kRd1 + kO4, intra_key(rd_b(), o4())},
        {"intra 12, originator zero", kPlain, "01 0c" + kRd2 + "00000000", intra_key(rd_c(), v4(0))},
        {"intra 24, originator zero", kPlain, "01 18" + kRd0 + kZero16, intra_key(rd_a(), v6(kZero16))},
        {"inter, two-octet AS", kMvpn4, "02 0c" + kRd0 + "0000fde9", inter_key(rd_a(), 65001)},
        {"inter, four-octet AS", kMvpn6, "02 0c" + kRd1 + "fedcba98", inter_key(rd_b(), 0xfedcba98)},
        {"inter, RD of type 2", kPlain, "02 0c" + kRd2 + kAs, inter_key(rd_c(), 130537)},
    };
}

inline std::vector<NlriCase> spmsi_routes()
{
    const Addr w = none();
    return {
        {"S-PMSI 14 (*,*)", kMvpn4, "03 0e" + kRd0 + "00 00" + kO4, spmsi_key(rd_a(), 0, w, w, o4())},
        {"S-PMSI 14 (*,*) on the IPv6 side", kMvpn6, "03 0e" + kRd0 + "00 00" + kO4, spmsi_key(rd_a(), 0, w, w, o4())},
        {"S-PMSI 18 (*,G)", kMvrf4, "03 12" + kRd1 + "00" + kG4 + kO4, spmsi_key(rd_b(), 0, w, g4(), o4())},
        {"S-PMSI 18 (S,*)", kMvrf4, "03 12" + kRd2 + kS4 + "00" + kO4, spmsi_key(rd_c(), 0, s4(), w, o4())},
        {"S-PMSI 22 (S,G)", kMvpn4, "03 16" + kRd0 + kS4 + kG4 + kO4, spmsi_key(rd_a(), 1, s4(), g4(), o4())},
        {"S-PMSI 22 (*,G)", kMvpn4, "03 16" + kRd1 + kZ4 + kG4 + kO4, spmsi_key(rd_b(), 1, w, g4(), o4())},
        {"S-PMSI 22 (S,*)", kMvpn4, "03 16" + kRd2 + kS4 + kZ4 + kO4, spmsi_key(rd_c(), 1, s4(), w, o4())},
        {"S-PMSI 22 (*,*)", kPlain, "03 16" + kRd0 + kZ4 + kZ4 + kO4, spmsi_key(rd_a(), 1, w, w, o4())},
        {"S-PMSI 22, originator zero", kPlain4, "03 16" + kRd0 + kS4 + kG4 + "00000000",
         spmsi_key(rd_a(), 1, s4(), g4(), v4(0))},
        {"S-PMSI 26 (*,*)", kMvpn6, "03 1a" + kRd1 + "00 00" + kO6, spmsi_key(rd_b(), 0, w, w, o6())},
        {"S-PMSI 26 (*,*) on the IPv4 side", kMvpn4, "03 1a" + kRd1 + "00 00" + kO6, spmsi_key(rd_b(), 0, w, w, o6())},
        {"S-PMSI 30 (*,G)", kMvpn4, "03 1e" + kRd2 + "00" + kG4 + kO6, spmsi_key(rd_c(), 0, w, g4(), o6())},
        {"S-PMSI 30 (S,*)", kMvpn4, "03 1e" + kRd0 + kS4 + "00" + kO6, spmsi_key(rd_a(), 0, s4(), w, o6())},
        {"S-PMSI 34 (S,G)", kMvrf4, "03 22" + kRd1 + kS4 + kG4 + kO6, spmsi_key(rd_b(), 1, s4(), g4(), o6())},
        {"S-PMSI 34 (*,G)", kMvrf4, "03 22" + kRd2 + kZ4 + kG4 + kO6, spmsi_key(rd_c(), 1, w, g4(), o6())},
        {"S-PMSI 34 (S,*)", kMvrf4, "03 22" + kRd0 + kS4 + kZ4 + kO6, spmsi_key(rd_a(), 1, s4(), w, o6())},
        {"S-PMSI 34 (*,*)", kMvrf4, "03 22" + kRd1 + kZ4 + kZ4 + kO6, spmsi_key(rd_b(), 1, w, w, o6())},
        {"S-PMSI 46 (S,G)", kMvrf6, "03 2e" + kRd2 + kS6 + kG6 + kO4, spmsi_key(rd_c(), 2, s6(), g6(), o4())},
        {"S-PMSI 46 (*,G)", kMvrf6, "03 2e" + kRd0 + kZ6 + kG6 + kO4, spmsi_key(rd_a(), 2, w, g6(), o4())},
        {"S-PMSI 46 (S,*)", kMvrf6, "03 2e" + kRd1 + kS6 + kZ6 + kO4, spmsi_key(rd_b(), 2, s6(), w, o4())},
        {"S-PMSI 46 (*,*)", kPlain6, "03 2e" + kRd2 + kZ6 + kZ6 + kO4, spmsi_key(rd_c(), 2, w, w, o4())},
        {"S-PMSI 58 (S,G)", kMvpn6, "03 3a" + kRd0 + kS6 + kG6 + kO6, spmsi_key(rd_a(), 2, s6(), g6(), o6())},
        {"S-PMSI 58 (*,G)", kMvpn6, "03 3a" + kRd1 + kZ6 + kG6 + kO6, spmsi_key(rd_b(), 2, w, g6(), o6())},
        {"S-PMSI 58 (S,*)", kMvpn6, "03 3a" + kRd2 + kS6 + kZ6 + kO6, spmsi_key(rd_c(), 2, s6(), w, o6())},
        {"S-PMSI 58 (*,*)", kPlain, "03 3a" + kRd0 + kZ6 + kZ6 + kO6, spmsi_key(rd_a(), 2, w, w, o6())},
        {"S-PMSI 58, originator zero", kPlain, "03 3a" + kRd0 + kS6 + kG6 + kZero16,
         spmsi_key(rd_a(), 2, s6(), g6(), v6(kZero16))},
    };
}

inline std::vector<NlriCase> ipmsi_leaf_routes()
{
    return {
        {"I-PMSI leaf 18", kMvpn4, "04 12 01 0c" + kRd0 + kO4 + kL4, ipmsi_leaf_key(rd_a(), o4(), l4())},
        {"I-PMSI leaf 42", kMvpn6, "04 2a 01 18" + kRd1 + kO6 + kL6, ipmsi_leaf_key(rd_b(), o6(), l6())},
        {"I-PMSI leaf 18 on the IPv6 side", kMvrf6, "04 12 01 0c" + kRd2 + kO4 + kL4,
         ipmsi_leaf_key(rd_c(), o4(), l4())},
        {"I-PMSI leaf 42 on the IPv4 side", kMvrf4, "04 2a 01 18" + kRd2 + kO6 + kL6,
         ipmsi_leaf_key(rd_c(), o6(), l6())},
        {"I-PMSI leaf 18, addresses zero", kPlain, "04 12 01 0c" + kRd2 + "00000000 00000000",
         ipmsi_leaf_key(rd_c(), v4(0), v4(0))},
        {"I-PMSI leaf 42, addresses zero", kPlain, "04 2a 01 18" + kRd0 + kZero16 + kZero16,
         ipmsi_leaf_key(rd_a(), v6(kZero16), v6(kZero16))},
    };
}

inline std::vector<NlriCase> spmsi_leaf_routes()
{
    const Addr w = none();
    std::vector<NlriCase> out;
    for (const auto &[name, side] : {std::pair{" (985)", kMvrf4}, std::pair{" (1793)", kMvpn4}}) {
        const std::string n = std::string(name);
        const NlriCase rows[] = {
            {"S-PMSI leaf 14 (*,*)" + n, side, "04 14 03 0e" + kRd0 + "00 00" + kO4 + kL4,
             spmsi_leaf_key(rd_a(), 0, w, w, o4(), l4())},
            {"S-PMSI leaf 18 (*,G)" + n, side, "04 18 03 12" + kRd1 + "00" + kG4 + kO4 + kL4,
             spmsi_leaf_key(rd_b(), 0, w, g4(), o4(), l4())},
            {"S-PMSI leaf 18 (S,*)" + n, side, "04 18 03 12" + kRd2 + kS4 + "00" + kO4 + kL4,
             spmsi_leaf_key(rd_c(), 0, s4(), w, o4(), l4())},
            {"S-PMSI leaf 22 (S,G)" + n, side, "04 1c 03 16" + kRd0 + kS4 + kG4 + kO4 + kL4,
             spmsi_leaf_key(rd_a(), 1, s4(), g4(), o4(), l4())},
            {"S-PMSI leaf 22 (*,G)" + n, side, "04 1c 03 16" + kRd1 + kZ4 + kG4 + kO4 + kL4,
             spmsi_leaf_key(rd_b(), 1, w, g4(), o4(), l4())},
            {"S-PMSI leaf 22 (S,*)" + n, side, "04 1c 03 16" + kRd1 + kS4 + kZ4 + kO4 + kL4,
             spmsi_leaf_key(rd_b(), 1, s4(), w, o4(), l4())},
            {"S-PMSI leaf 22 (*,*)" + n, side, "04 1c 03 16" + kRd1 + kZ4 + kZ4 + kO4 + kL4,
             spmsi_leaf_key(rd_b(), 1, w, w, o4(), l4())},
            {"S-PMSI leaf 26 (*,*)" + n, side, "04 2c 03 1a" + kRd2 + "00 00" + kO6 + kL6,
             spmsi_leaf_key(rd_c(), 0, w, w, o6(), l6())},
            {"S-PMSI leaf 30 (*,G)" + n, side, "04 30 03 1e" + kRd0 + "00" + kG4 + kO6 + kL6,
             spmsi_leaf_key(rd_a(), 0, w, g4(), o6(), l6())},
            {"S-PMSI leaf 30 (S,*)" + n, side, "04 30 03 1e" + kRd0 + kS4 + "00" + kO6 + kL6,
             spmsi_leaf_key(rd_a(), 0, s4(), w, o6(), l6())},
            {"S-PMSI leaf 34 (S,G)" + n, side, "04 34 03 22" + kRd1 + kS4 + kG4 + kO6 + kL6,
             spmsi_leaf_key(rd_b(), 1, s4(), g4(), o6(), l6())},
            {"S-PMSI leaf 34 (*,G)" + n, side, "04 34 03 22" + kRd1 + kZ4 + kG4 + kO6 + kL6,
             spmsi_leaf_key(rd_b(), 1, w, g4(), o6(), l6())},
        };
        out.insert(out.end(), std::begin(rows), std::end(rows));
    }
    for (const auto &[name, side] : {std::pair{" (298)", kMvrf6}, std::pair{" (299)", kMvpn6}}) {
        const std::string n = std::string(name);
        const NlriCase rows[] = {
            {"S-PMSI leaf 14 (*,*)" + n, side, "04 14 03 0e" + kRd0 + "00 00" + kO4 + kL4,
             spmsi_leaf_key(rd_a(), 0, w, w, o4(), l4())},
            {"S-PMSI leaf 30 (*,G)" + n, side, "04 24 03 1e" + kRd1 + "00" + kG6 + kO4 + kL4,
             spmsi_leaf_key(rd_b(), 0, w, g6(), o4(), l4())},
            {"S-PMSI leaf 30 (S,*)" + n, side, "04 24 03 1e" + kRd2 + kS6 + "00" + kO4 + kL4,
             spmsi_leaf_key(rd_c(), 0, s6(), w, o4(), l4())},
            {"S-PMSI leaf 46 (S,G)" + n, side, "04 34 03 2e" + kRd0 + kS6 + kG6 + kO4 + kL4,
             spmsi_leaf_key(rd_a(), 2, s6(), g6(), o4(), l4())},
            {"S-PMSI leaf 46 (S,*)" + n, side, "04 34 03 2e" + kRd0 + kS6 + kZ6 + kO4 + kL4,
             spmsi_leaf_key(rd_a(), 2, s6(), w, o4(), l4())},
            {"S-PMSI leaf 26 (*,*)" + n, side, "04 2c 03 1a" + kRd2 + "00 00" + kO6 + kL6,
             spmsi_leaf_key(rd_c(), 0, w, w, o6(), l6())},
            {"S-PMSI leaf 42 (*,G)" + n, side, "04 3c 03 2a" + kRd1 + "00" + kG6 + kO6 + kL6,
             spmsi_leaf_key(rd_b(), 0, w, g6(), o6(), l6())},
            {"S-PMSI leaf 42 (S,*)" + n, side, "04 3c 03 2a" + kRd1 + kS6 + "00" + kO6 + kL6,
             spmsi_leaf_key(rd_b(), 0, s6(), w, o6(), l6())},
            {"S-PMSI leaf 58 (S,G)" + n, side, "04 4c 03 3a" + kRd1 + kS6 + kG6 + kO6 + kL6,
             spmsi_leaf_key(rd_b(), 2, s6(), g6(), o6(), l6())},
            {"S-PMSI leaf 58 (*,G)" + n, side, "04 4c 03 3a" + kRd2 + kZ6 + kG6 + kO6 + kL6,
             spmsi_leaf_key(rd_c(), 2, w, g6(), o6(), l6())},
            {"S-PMSI leaf 58 (*,*)" + n, side, "04 4c 03 3a" + kRd2 + kZ6 + kZ6 + kO6 + kL6,
             spmsi_leaf_key(rd_c(), 2, w, w, o6(), l6())},
        };
        out.insert(out.end(), std::begin(rows), std::end(rows));
    }
    return out;
}

// Leaf A-D routes whose embedded length is none of the component's: four-octet addresses, and twelve octets that nobody
// reads behind them. Written again they lose those twelve octets.
inline std::vector<NlriCase> padded_leaf_routes()
{
    const Addr w = none();
    const std::string pad = " 111111111111111111111111 ";
    return {
        {"padded leaf 14", kPlain, "04 20 03 0e" + kRd0 + "00 00" + kO4 + kL4 + pad,
         spmsi_leaf_key(rd_a(), 0, w, w, o4(), l4()), "04 14 03 0e" + kRd0 + "00 00" + kO4 + kL4},
        {"padded leaf 18", kPlain4, "04 24 03 12" + kRd1 + kS4 + "00" + kO4 + kL4 + pad,
         spmsi_leaf_key(rd_b(), 0, s4(), w, o4(), l4()), "04 18 03 12" + kRd1 + kS4 + "00" + kO4 + kL4},
        {"padded leaf 22", kPlain, "04 28 03 16" + kRd2 + kS4 + kZ4 + kO4 + kL4 + pad,
         spmsi_leaf_key(rd_c(), 1, s4(), w, o4(), l4()), "04 1c 03 16" + kRd2 + kS4 + kZ4 + kO4 + kL4},
        {"padded leaf 30", kPlain6, "04 30 03 1e" + kRd0 + "00" + kG6 + kO4 + kL4 + pad,
         spmsi_leaf_key(rd_a(), 0, w, g6(), o4(), l4()), "04 24 03 1e" + kRd0 + "00" + kG6 + kO4 + kL4},
        {"padded leaf 34, source and group of two families", kPlain, "04 34 03 22" + kRd0 + kS4 + kG6 + kO4 + kL4 + pad,
         spmsi_leaf_key(rd_a(), 1, s4(), g6(), o4(), l4()), "04 28 03 22" + kRd0 + kS4 + kG6 + kO4 + kL4},
        {"padded leaf 46", kPlain, "04 40 03 2e" + kRd1 + kZ6 + kG6 + kO4 + kL4 + pad,
         spmsi_leaf_key(rd_b(), 2, w, g6(), o4(), l4()), "04 34 03 2e" + kRd1 + kZ6 + kG6 + kO4 + kL4},
        {"padded leaf 22 (298 without a family)", kMvrfAny, "04 28 03 16" + kRd2 + kS4 + kG4 + kO4 + kL4 + pad,
         spmsi_leaf_key(rd_c(), 1, s4(), g4(), o4(), l4()), "04 1c 03 16" + kRd2 + kS4 + kG4 + kO4 + kL4},
    };
}

inline std::vector<NlriCase> source_active_routes()
{
    const Addr w = none();
    return {
        {"source active 10 (*,*)", kMvpn4, "05 0a" + kRd0 + "00 00", source_active_key(rd_a(), w, w)},
        {"source active 14 (*,G)", kMvpn4, "05 0e" + kRd1 + "00" + kG4, source_active_key(rd_b(), w, g4())},
        {"source active 14 (S,*)", kMvpn4, "05 0e" + kRd2 + kS4 + "00", source_active_key(rd_c(), s4(), w)},
        {"source active 18 (S,G)", kMvrf4, "05 12" + kRd0 + kS4 + kG4, source_active_key(rd_a(), s4(), g4())},
        {"source active 26 (*,G)", kMvpn6, "05 1a" + kRd1 + "00" + kG6, source_active_key(rd_b(), w, g6())},
        {"source active 26 (S,*)", kMvpn6, "05 1a" + kRd2 + kS6 + "00", source_active_key(rd_c(), s6(), w)},
        {"source active 30, IPv4 source and IPv6 group", kPlain, "05 1e" + kRd0 + kS4 + kG6,
         source_active_key(rd_a(), s4(), g6())},
        {"source active 30, IPv6 source and IPv4 group", kPlain, "05 1e" + kRd0 + kS6 + kG4,
         source_active_key(rd_a(), s6(), g4())},
        {"source active 42 (S,G)", kMvrf6, "05 2a" + kRd1 + kS6 + kG6, source_active_key(rd_b(), s6(), g6())},
    };
}

inline std::vector<NlriCase> cmcast_routes()
{
    const Addr w = none();
    return {
        {"shared tree 14 (*,*)", kMvrf4, "06 0e" + kRd0 + kAs + "00 00", cmcast_key(7, rd_a(), 130537, w, w)},
        {"shared tree 18 (*,G)", kMvrf4, "06 12" + kRd1 + kAs + "00" + kG4, cmcast_key(7, rd_b(), 130537, w, g4())},
        {"shared tree 18 (S,*)", kMvrf4, "06 12" + kRd2 + kAs + kS4 + "00", cmcast_key(7, rd_c(), 130537, s4(), w)},
        {"shared tree 22 (S,G)", kMvpn4, "06 16" + kRd0 + kAs + kS4 + kG4, cmcast_key(7, rd_a(), 130537, s4(), g4())},
        {"shared tree 46 (S,G)", kMvpn6, "06 2e" + kRd1 + kAs + kS6 + kG6, cmcast_key(7, rd_b(), 130537, s6(), g6())},
        {"source tree 14 (*,*)", kMvrf6, "07 0e" + kRd0 + kAs + "00 00", cmcast_key(8, rd_a(), 130537, w, w)},
        {"source tree 22 (S,G)", kMvrf4, "07 16" + kRd2 + "fedcba98" + kS4 + kG4,
         cmcast_key(8, rd_c(), 0xfedcba98, s4(), g4())},
        {"source tree 30 (*,G)", kMvrf6, "07 1e" + kRd1 + kAs + "00" + kG6, cmcast_key(8, rd_b(), 130537, w, g6())},
        {"source tree 30 (S,*)", kMvrf6, "07 1e" + kRd1 + kAs + kS6 + "00", cmcast_key(8, rd_b(), 130537, s6(), w)},
        {"source tree 34, IPv4 source and IPv6 group", kPlain, "07 22" + kRd1 + kAs + kS4 + kG6,
         cmcast_key(8, rd_b(), 130537, s4(), g6())},
        {"source tree 46 (S,G)", kMvpn6, "07 2e" + kRd2 + kAs + kS6 + kG6, cmcast_key(8, rd_c(), 130537, s6(), g6())},
    };
}

inline const std::vector<NlriCase> &all_routes()
{
    static const std::vector<NlriCase> routes = [] {
        std::vector<NlriCase> out;
        for (const auto &rows : {ipmsi_routes(), spmsi_routes(), ipmsi_leaf_routes(), spmsi_leaf_routes(),
                                 padded_leaf_routes(), source_active_routes(), cmcast_routes()}) {
            out.insert(out.end(), rows.begin(), rows.end());
        }
        return out;
    }();
    return routes;
}

// One route of each key type, IPv4 side first.
inline std::vector<NlriCase> one_of_each()
{
    return {ipmsi_routes()[0],          ipmsi_routes()[1],         ipmsi_routes()[6],      spmsi_routes()[4],
            spmsi_routes()[21],         ipmsi_leaf_routes()[0],    ipmsi_leaf_routes()[1], spmsi_leaf_routes()[3],
            spmsi_leaf_routes().back(), source_active_routes()[3], cmcast_routes()[3],     cmcast_routes()[6]};
}

// --- one call of the route parser -----------------------------------------------------------------------------------

inline constexpr std::uint32_t kUnwritten = 0xa5a5a5a5;

// What a parser left behind. `block` is empty if the result pointer was not written.
struct Parsed {
    std::uint32_t code = 0;
    std::ptrdiff_t moved = 0;
    std::uint32_t more = kUnwritten;
    bool result_written = false;
    Block block;
    std::size_t asserts = 0;
    std::vector<std::string> debugs;
};

// Runs `call(cursor, result, more)` on an exact-size heap copy with the cursor `offset` octets into it.
template <typename Call> inline Parsed run_parser(std::span<const std::uint8_t> octets, std::size_t offset, Call call)
{
    static QEL_ROUTE_BLOCK_S untouched{};
    const ExactCopy copy(octets);
    const std::uint8_t *cursor = copy.data() + offset;
    QEL_ROUTE_BLOCK_S *result = &untouched;
    Parsed out;
    platform::Recorder recorder;
    out.code = call(&cursor, &result, &out.more);
    out.moved = cursor - (copy.data() + offset);
    out.result_written = result != &untouched;
    if (out.result_written) {
        out.block = Block(result);
    }
    out.asserts = recorder.asserts().size();
    for (const auto &record : recorder.debugs()) {
        out.debugs.push_back(record.text);
    }
    return out;
}

inline Parsed parse_route(const NgmvpnInstance &instance, std::span<const std::uint8_t> octets)
{
    return run_parser(octets, 0, [&](const std::uint8_t **cursor, QEL_ROUTE_BLOCK_S **result, std::uint32_t *more) {
        return QEL_NGMVPN_ParseMpNlri(cursor, static_cast<std::uint32_t>(octets.size()), result, more, instance.ctx);
    });
}

// The header of a block of RD, key and non-key.
inline QEL_ROUTE_BLOCK_S route_header()
{
    QEL_ROUTE_BLOCK_S header{};
    header.uiValidMask = 0x7;
    header.usRdOffset = 32;
    header.usRdLen = 8;
    header.usKeyOffset = 40;
    header.usKeyLen = 104;
    header.usNonKeyOffset = 144;
    header.usNonKeyLen = 100;
    return header;
}

// The whole block of a route: header, RD, key, non-key.
inline void expect_block(const Block &block, const QEL_NGMVPN_KEY_S &key, const QEL_NGMVPN_NONKEY_S &nonkey,
                         const QEL_ROUTE_BLOCK_S &header = route_header())
{
    ASSERT_TRUE(block);
    ASSERT_EQ(hex(block.section(0, 32)), hex(bytes_of(header)));
    EXPECT_EQ(hex(block.section(32, 8)), hex(bytes_of(key.stRd)));
    EXPECT_EQ(hex(block.section(40, 104)), hex(bytes_of(key)));
    EXPECT_EQ(hex(block.section(144, 100)), hex(bytes_of(nonkey)));
}

// The host's expanded route over a block's sections.
inline QEL_ROUTE_INFO_S route_of(const Block &block)
{
    QEL_ROUTE_INFO_S route{};
    route.uiValidMask = block->uiValidMask;
    route.uiRdLen = block->usRdLen;
    route.pucRd = block.at(block->usRdOffset);
    route.uiKeyLen = block->usKeyLen;
    route.pucKey = block.at(block->usKeyOffset);
    route.uiNonKeyLen = block->usNonKeyLen;
    route.pucNonKey = block.at(block->usNonKeyOffset);
    return route;
}

// A host route over records of the test. The route points into the object.
struct KeyRoute {
    explicit KeyRoute(const QEL_NGMVPN_KEY_S &from, const QEL_RD_VALUE_S &host_rd) : key(from), rd(host_rd)
    {
        route.uiValidMask = 0x3;
        route.uiRdLen = sizeof(rd);
        route.pucRd = reinterpret_cast<const std::uint8_t *>(&rd);
        route.uiKeyLen = sizeof(key);
        route.pucKey = reinterpret_cast<const std::uint8_t *>(&key);
    }
    KeyRoute(const KeyRoute &) = delete;
    KeyRoute &operator=(const KeyRoute &) = delete;

    QEL_NGMVPN_KEY_S key;
    QEL_RD_VALUE_S rd;
    QEL_ROUTE_INFO_S route{};
};

} // namespace qel::test
