// From the library's result blocks to the expanded route that its operations take.
#pragma once

#include "qel_route.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace qel::host {

struct BlockFree {
    void operator()(void *block) const noexcept;
};
// A result block from the library. The library made it; whoever holds this frees it.
using BlockPtr = std::unique_ptr<QEL_ROUTE_BLOCK_S, BlockFree>;
// The same for octets that it hands out: cross values, match buffers.
using OctetsPtr = std::unique_ptr<std::uint8_t, BlockFree>;

// Makes the sections that a block tells of those of the route, and takes away those that it tells of and does not hold;
// attributes are told apart by flag and type. The route owns nothing: the block has to stay. All sections that a route
// takes from several blocks are those of the last one that tells of them.
void place_sections(QEL_ROUTE_INFO_S &info, const QEL_ROUTE_BLOCK_S &block);

// A route in its expanded form, made of the blocks that the library handed out for it: the block of its NLRI, blocks of
// its path attributes, blocks that replace some of these. Owns every block that one of its sections lies in and no
// other; uses no further heap.
class Route {
public:
    Route();
    explicit Route(BlockPtr block);
    ~Route();
    Route(Route &&other) noexcept;
    Route &operator=(Route &&other) noexcept;
    Route(const Route &) = delete;
    Route &operator=(const Route &) = delete;

    // Takes a block over. Each section in it replaces the section of its kind; attributes are told apart by flag and
    // type, and one of a pair that no route holds is dropped. The block that says that attribute 16 carries no value
    // removes the communities.
    void add(BlockPtr block);
    // Hands out every block and leaves an empty route.
    std::vector<BlockPtr> take_blocks();

    const QEL_ROUTE_INFO_S &info() const { return info_; }
    // For pfFormatPkt, which may write the label, and for the host's own fields: user data, path data, flags.
    QEL_ROUTE_INFO_S &mutable_info() { return info_; }

private:
    // The sections that lie in a block: RD, key, non-key, cross and the six attributes.
    static constexpr std::size_t kSlots = 10;

    void own(std::size_t slot, QEL_ROUTE_BLOCK_S *block);
    bool owns(const QEL_ROUTE_BLOCK_S *block) const;
    void release() noexcept;

    QEL_ROUTE_INFO_S info_{};
    std::array<QEL_ROUTE_BLOCK_S *, kSlots> owners_{};
};

} // namespace qel::host
