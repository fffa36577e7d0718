// Writes BGP UPDATEs (RFC 4271, section 4.3; RFC 4760).
#pragma once

#include "host/update.h"

#include <cstdint>
#include <vector>

namespace qel::host {

inline constexpr std::uint8_t kAttrOrigin = 1;
inline constexpr std::uint8_t kAttrAsPath = 2;
inline constexpr std::uint8_t kAttrLocalPref = 5;

inline constexpr std::uint8_t kWellKnown = 0x40;
inline constexpr std::uint8_t kOptional = 0x80;
inline constexpr std::uint8_t kOptionalTransitive = 0xc0;

// A path attribute; its length takes two octets where one is not enough.
void append_attribute(std::vector<std::uint8_t> &out, std::uint8_t flags, std::uint8_t type, Octets value);
// MP_REACH_NLRI and MP_UNREACH_NLRI with one route or several.
void append_mp_reach(std::vector<std::uint8_t> &out, const FamilyInfo &family, Octets next_hop, Octets nlri);
void append_mp_unreach(std::vector<std::uint8_t> &out, const FamilyInfo &family, Octets nlri);
// The whole message around a list of path attributes.
std::vector<std::uint8_t> make_update(Octets attributes);

} // namespace qel::host
