// From the library's result blocks to the expanded route that its operations take.
#pragma once

#include "qel_route.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>

namespace qel::host {

struct BlockFree {
    void operator()(QEL_ROUTE_BLOCK_S *block) const noexcept;
};
// A result block from the library. The library made it; whoever holds this frees it.
using BlockPtr = std::unique_ptr<QEL_ROUTE_BLOCK_S, BlockFree>;

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

    const QEL_ROUTE_INFO_S &info() const { return info_; }
    // For pfFormatPkt, which may write the label, and for the host's own fields: user data, path data, flags.
    QEL_ROUTE_INFO_S &mutable_info() { return info_; }

private:
    // The sections that lie in a block: RD, key, non-key, cross and the six attributes. A label is a plain value.
    enum Slot : std::size_t {
        rd,
        key,
        non_key,
        cross,
        ext_comm,
        pmsi,
        import_attr,
        ipv6_ext_comm,
        pfx_sid,
        msid,
        no_slot
    };

    static Slot attribute_slot(std::uint8_t flag, std::uint8_t type);
    void own(Slot slot, QEL_ROUTE_BLOCK_S *block);
    void set_section(Slot slot, const std::uint8_t *data, std::uint32_t length);
    bool owns(const QEL_ROUTE_BLOCK_S *block) const;
    void update_mask(bool has_label);
    void release() noexcept;

    QEL_ROUTE_INFO_S info_{};
    std::array<QEL_ROUTE_BLOCK_S *, no_slot> owners_{};
};

} // namespace qel::host
