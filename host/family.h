// Instances of the library's address families, and how BGP numbers and people name them.
#pragma once

#include "qel_family.h"

#include <cstdint>
#include <memory>
#include <span>
#include <string_view>

namespace qel::host {

enum class FamilyKind : std::uint8_t { ng_mvpn, mdt, vpnv4_mcast };

// One AFI and SAFI that the host knows.
struct FamilyInfo {
    using Construct = QEL_FAMILY_CTX_S *(*)(QEL_FAMILY_DESC_S *, std::uint32_t);
    using Destruct = void (*)(QEL_FAMILY_CTX_S *);

    FamilyKind kind;
    std::uint16_t afi;
    std::uint8_t safi;
    std::string_view name;  // on the command line and in JSON: "ng-mvpn"
    std::string_view title; // for people: "IPv4 NG-MVPN"
    Construct construct;    // null: the host only names this family
    Destruct destruct;

    bool decodable() const { return construct != nullptr; }
};

std::span<const FamilyInfo> known_families();
// The family of an AFI and SAFI, or null.
const FamilyInfo *find_family(std::uint16_t afi, std::uint8_t safi);

// A constructed family: its descriptor and its context, released together. Not for two threads at a time.
class Family {
public:
    // Throws std::runtime_error if the family refuses. `info` is a decodable row of known_families().
    Family(const FamilyInfo &info, std::uint32_t mem_handle);

    const FamilyInfo &info() const { return *info_; }
    const QEL_FAMILY_DESC_S &desc() const { return *desc_; }
    QEL_FAMILY_CTX_S *ctx() const { return ctx_.get(); }

private:
    const FamilyInfo *info_;
    std::unique_ptr<QEL_FAMILY_DESC_S> desc_;
    std::unique_ptr<QEL_FAMILY_CTX_S, FamilyInfo::Destruct> ctx_;
};

} // namespace qel::host
