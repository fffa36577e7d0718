// BGP messages and path attributes from their parts.
#pragma once

#include "../support.h"

#include <cstddef>
#include <cstdint>
#include <initializer_list>

namespace qel::test {

inline void put16(Bytes &out, std::size_t value)
{
    out.push_back(static_cast<std::uint8_t>(value >> 8));
    out.push_back(static_cast<std::uint8_t>(value));
}

inline Bytes join(std::initializer_list<Bytes> parts)
{
    Bytes out;
    for (const Bytes &part : parts) {
        out.insert(out.end(), part.begin(), part.end());
    }
    return out;
}

inline Bytes message(std::uint8_t type, const Bytes &body)
{
    Bytes out(16, 0xff);
    put16(out, 19 + body.size());
    out.push_back(type);
    return join({out, body});
}

// An UPDATE with path attributes alone; they begin at octet 23.
inline Bytes update(const Bytes &attributes)
{
    Bytes body{0, 0};
    put16(body, attributes.size());
    return message(2, join({body, attributes}));
}

inline Bytes attribute(std::uint8_t type, const Bytes &value)
{
    Bytes out{0x80, type};
    if (value.size() > 255) {
        out[0] = 0x90;
        put16(out, value.size());
    } else {
        out.push_back(static_cast<std::uint8_t>(value.size()));
    }
    return join({out, value});
}

// In an UPDATE of its own the NLRI begin at octet 31 + the next hop's length.
inline Bytes mp_reach(std::uint8_t afi, std::uint8_t safi, const Bytes &next_hop, const Bytes &nlri)
{
    const Bytes head{0, afi, safi, static_cast<std::uint8_t>(next_hop.size())};
    return attribute(14, join({head, next_hop, Bytes{0}, nlri}));
}

// In an UPDATE of its own the NLRI begin at octet 29.
inline Bytes mp_unreach(std::uint8_t afi, std::uint8_t safi, const Bytes &nlri)
{
    return attribute(15, join({Bytes{0, afi, safi}, nlri}));
}

} // namespace qel::test
