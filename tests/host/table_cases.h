// Routes for the tests of tables: made from wire octets by the family itself.
#pragma once

#include "host/family.h"
#include "host/route_table.h"
#include "host/update.h"

#include "../support.h"
#include "update_builder.h"

#include <cstdint>
#include <random>
#include <vector>

namespace qel::test {

inline host::Family ng_mvpn(host::Component component = host::Component::mvpn, std::uint16_t afi = 1)
{
    return {*host::find_family(afi, 5), kMemHandle, component};
}

// The first block that the family makes of an attribute's octets; null if it makes none.
inline host::BlockPtr block_of(const host::Family &family, std::uint32_t attribute_type, const Bytes &octets)
{
    host::WalkStep step;
    const ExactCopy copy(octets);
    host::AttributeWalk(family, attribute_type, {copy.data(), copy.size()}).next(step);
    return std::move(step.block);
}

inline host::StoredRoute route_of(const host::Family &family, const Bytes &nlri,
                                  host::SharedAttributes attributes = nullptr)
{
    return host::StoredRoute(block_of(family, 14, nlri), std::move(attributes));
}

inline host::SharedAttributes communities_of(const host::Family &family, const Bytes &list)
{
    std::vector<host::BlockPtr> blocks;
    blocks.push_back(block_of(family, 16, list));
    return std::make_shared<host::AttributeBlocks>(std::move(blocks));
}

// S-PMSI A-D with RD 0:100:`rd`, source 10.0.0.`source`, group 232.0.0.1, originator 192.0.2.1.
inline Bytes spmsi(std::uint8_t rd, std::uint8_t source)
{
    Bytes out = bytes("0316 0000006400000000 20 0a000000 20 e8000001 c0000201");
    out[9] = rd;
    out[14] = source;
    return out;
}

// Intra-AS I-PMSI A-D with RD 0:100:`rd`, originator 192.0.2.`originator`.
inline Bytes intra(std::uint8_t rd, std::uint8_t originator)
{
    Bytes out = bytes("010c 0000006400000000 c0000200");
    out[9] = rd;
    out[13] = originator;
    return out;
}

inline Bytes octets_of(std::span<const std::uint8_t> octets)
{
    return {octets.begin(), octets.end()};
}

} // namespace qel::test
