// The routes of one family in the family's order.
#pragma once

#include "host/family.h"
#include "host/ordered_chunks.h"
#include "host/route.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <utility>
#include <vector>

namespace qel::host {

// The blocks of a set of path attributes. The routes of one UPDATE share them; the last one that goes frees them.
class AttributeBlocks {
public:
    explicit AttributeBlocks(std::vector<BlockPtr> blocks) : blocks_(std::move(blocks)) {}

    std::span<const BlockPtr> blocks() const { return blocks_; }

private:
    std::vector<BlockPtr> blocks_;
};
using SharedAttributes = std::shared_ptr<const AttributeBlocks>;

// A route as a table keeps it: the block of its NLRI, which it owns, and attributes, which it may share. Small: the
// expanded form is made when it is asked for.
class StoredRoute {
public:
    explicit StoredRoute(BlockPtr nlri, SharedAttributes attributes = nullptr)
        : nlri_(std::move(nlri)), attributes_(std::move(attributes))
    {
    }

    // The expanded form. It points into the blocks, and so holds as long as this route keeps them.
    QEL_ROUTE_INFO_S info() const;
    // The sections that tell routes apart; empty if there are none.
    std::span<const std::uint8_t> key() const;
    std::span<const std::uint8_t> rd() const;

    const SharedAttributes &attributes() const { return attributes_; }
    void set_attributes(SharedAttributes attributes) { attributes_ = std::move(attributes); }

private:
    BlockPtr nlri_;
    SharedAttributes attributes_;
};

// Owns routes of one family, at most one of each key, in the order of the family's compare of keys; where the RD stands
// beside the key, at most one of each RD and key, in the order of both. Routes are the same if the family says so, also
// where it leaves a part of the key out of account: an MDT route replaces one with another group. A route keeps its
// address until it is erased; one that replaces it stands there. What the compare answers decides the order and nothing
// else: with keys that it does not order (keys that fit any RD beside keys that hold one) a search may miss, and no
// more than that.
class RouteTable {
    // The key beside the route: a search then goes from the slot to the octets that it compares.
    struct Slot {
        std::unique_ptr<StoredRoute> route;
        std::span<const std::uint8_t> key;
    };
    using Slots = OrderedChunks<Slot>;

public:
    class Iterator {
    public:
        using value_type = StoredRoute;
        using difference_type = std::ptrdiff_t;

        Iterator() = default;
        const StoredRoute &operator*() const { return *at_->route; }
        const StoredRoute *operator->() const { return at_->route.get(); }
        Iterator &operator++()
        {
            ++at_;
            return *this;
        }
        Iterator operator++(int) { return Iterator(at_++); }
        bool operator==(const Iterator &) const = default;

    private:
        friend class RouteTable;
        explicit Iterator(Slots::Iterator at) : at_(at) {}

        Slots::Iterator at_;
    };

    enum class Change : std::uint8_t { added, replaced, refused };
    struct Insertion {
        Change change = Change::refused;
        StoredRoute *route = nullptr; // where it stands now; null if refused
    };

    // The family has to outlive the table.
    explicit RouteTable(const Family &family) : family_(&family) {}

    // Takes a route over; one of the same key that is there already goes. Refused, and freed, is a route whose key the
    // family does not compare with itself as equal: without a key, or with one of a wrong size; and one whose key is
    // for searches alone.
    Insertion insert_or_replace(StoredRoute route);
    // Null if there is none. The RD is left out of account where the key holds it.
    StoredRoute *find(std::span<const std::uint8_t> key, std::span<const std::uint8_t> rd = {});
    const StoredRoute *find(std::span<const std::uint8_t> key, std::span<const std::uint8_t> rd = {}) const;
    // Whether there was one.
    bool erase(std::span<const std::uint8_t> key, std::span<const std::uint8_t> rd = {});
    void clear() { slots_.clear(); }

    std::size_t size() const { return slots_.size(); }
    bool empty() const { return slots_.size() == 0; }
    Iterator begin() const { return Iterator(slots_.begin()); }
    Iterator end() const { return Iterator(slots_.end()); }

    const Family &family() const { return *family_; }
    // What the table takes of the host's heap for its slots and the routes in them; the blocks and the attributes that
    // the routes own are not counted.
    std::size_t heap_octets() const;

private:
    std::int32_t compare(std::span<const std::uint8_t> a, std::span<const std::uint8_t> b, std::uint32_t section) const;
    bool comparable(std::span<const std::uint8_t> octets, std::uint32_t section) const;
    // Not found if there is no key or RD that the family compares.
    Slots::Place locate(std::span<const std::uint8_t> key, std::span<const std::uint8_t> rd) const;
    bool rd_counts() const { return family_->info().rd_beside_key; }

    const Family *family_;
    Slots slots_;
};

} // namespace qel::host
