// Instances of the library's address families, and how BGP numbers and people name them.
#pragma once

#include "qel_family.h"

#include <cstdint>
#include <memory>
#include <span>
#include <string_view>

namespace qel::host {

enum class FamilyKind : std::uint8_t { ng_mvpn, mdt, vpnv4_mcast };

// The component of a router that an instance serves: the multicast VPN core, or the routing of the VPNs. What a Leaf
// A-D route gives as cross value differs.
enum class Component : std::uint8_t { mvpn, mvrf };

// How a route's length stands in front of it.
enum class Framing : std::uint8_t {
    type_and_octets, // an octet of type, then the length in octets
    bits,            // the length in bits
};

// One AFI and SAFI that the host knows.
struct FamilyInfo {
    using Construct = QEL_FAMILY_CTX_S *(*)(QEL_FAMILY_DESC_S *, std::uint32_t);
    using Destruct = void (*)(QEL_FAMILY_CTX_S *);

    FamilyKind kind;
    std::uint16_t afi;
    std::uint8_t safi;
    std::string_view name;  // on the command line and in JSON: "ng-mvpn"
    std::string_view title; // for people: "IPv4 NG-MVPN"
    Construct construct;    // for Component::mvpn; null: the host only names this family
    Destruct destruct;
    Construct construct_mvrf = nullptr; // null: the same for both components
    Framing framing = Framing::type_and_octets;
    bool rd_beside_key = false; // routes are told apart by RD and key; else the key holds the RD
    // Keys that fit several routes: tables are searched with them, and never hold them. Null: there are none.
    bool (*search_only)(std::span<const std::uint8_t> key) = nullptr;

    bool decodable() const { return construct != nullptr; }
};

std::span<const FamilyInfo> known_families();
// The family of an AFI and SAFI, or null.
const FamilyInfo *find_family(std::uint16_t afi, std::uint8_t safi);

// A constructed family: its descriptor and its context, released together. Not for two threads at a time.
class Family {
public:
    // Throws std::runtime_error if the family refuses. `info` is a decodable row of known_families().
    Family(const FamilyInfo &info, std::uint32_t mem_handle, Component component = Component::mvpn);

    const FamilyInfo &info() const { return *info_; }
    const QEL_FAMILY_DESC_S &desc() const { return *desc_; }
    QEL_FAMILY_CTX_S *ctx() const { return ctx_.get(); }

private:
    const FamilyInfo *info_;
    std::unique_ptr<QEL_FAMILY_DESC_S> desc_;
    std::unique_ptr<QEL_FAMILY_CTX_S, FamilyInfo::Destruct> ctx_;
};

} // namespace qel::host
