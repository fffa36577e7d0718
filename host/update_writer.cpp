#include "host/update_writer.h"

namespace qel::host {
namespace {

constexpr std::uint8_t kExtendedLength = 0x10;

void append_be16(std::vector<std::uint8_t> &out, std::size_t value)
{
    out.push_back(static_cast<std::uint8_t>(value >> 8));
    out.push_back(static_cast<std::uint8_t>(value));
}

void append_octets(std::vector<std::uint8_t> &out, Octets octets)
{
    out.insert(out.end(), octets.begin(), octets.end());
}

std::vector<std::uint8_t> family_head(const FamilyInfo &family)
{
    std::vector<std::uint8_t> out;
    append_be16(out, family.afi);
    out.push_back(family.safi);
    return out;
}

} // namespace

void append_attribute(std::vector<std::uint8_t> &out, std::uint8_t flags, std::uint8_t type, Octets value)
{
    const bool extended = value.size() > UINT8_MAX;
    out.push_back(extended ? static_cast<std::uint8_t>(flags | kExtendedLength) : flags);
    out.push_back(type);
    if (extended) {
        append_be16(out, value.size());
    } else {
        out.push_back(static_cast<std::uint8_t>(value.size()));
    }
    append_octets(out, value);
}

void append_mp_reach(std::vector<std::uint8_t> &out, const FamilyInfo &family, Octets next_hop, Octets nlri)
{
    std::vector<std::uint8_t> value = family_head(family);
    value.push_back(static_cast<std::uint8_t>(next_hop.size()));
    append_octets(value, next_hop);
    value.push_back(0);
    append_octets(value, nlri);
    append_attribute(out, kOptional, kAttrMpReach, value);
}

void append_mp_unreach(std::vector<std::uint8_t> &out, const FamilyInfo &family, Octets nlri)
{
    std::vector<std::uint8_t> value = family_head(family);
    append_octets(value, nlri);
    append_attribute(out, kOptional, kAttrMpUnreach, value);
}

std::vector<std::uint8_t> make_update(Octets attributes)
{
    std::vector<std::uint8_t> out(16, 0xff);
    append_be16(out, kBgpHeaderSize + 4 + attributes.size());
    out.push_back(static_cast<std::uint8_t>(BgpType::update));
    append_be16(out, 0);
    append_be16(out, attributes.size());
    append_octets(out, attributes);
    return out;
}

} // namespace qel::host
