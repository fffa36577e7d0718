// Import scopes by their cross values.
#pragma once

#include "host/cross.h"
#include "host/family.h"
#include "host/ordered_chunks.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <utility>

namespace qel::host {

// How cross values stand in a table: -1, 0 (the same octets) or 1. That is what the family's compare says if it says
// the opposite for the values the other way round. Where it does not, it answers a search and gives no order, and the
// shorter value stands first, values of one length by their octets. Such pairs of NG-MVPN are: a private import target
// and any other of its length, one side of which is taken for the stored and the other for the searched value (so a
// stored one is below itself); and the target of an older peer with private ones, which are searched by their end.
std::int32_t cross_order(const Family &family, std::span<const std::uint8_t> a, std::span<const std::uint8_t> b);
// Whether the family's compare finds the stored value under the searched one. It is asked both ways round, since of the
// two rules above one has the stored value on the left and one the searched value.
bool cross_matches(const Family &family, std::span<const std::uint8_t> stored, std::span<const std::uint8_t> searched);

// Values of any kind under cross values, several under one.
template <class Value> class ImportTable {
public:
    struct Entry {
        Cross cross;
        Value value;
    };
    using Iterator = typename OrderedChunks<Entry>::Iterator;

    // The family has to outlive the table.
    explicit ImportTable(const Family &family) : family_(&family) {}

    // Behind the entries of the same octets.
    void insert(Cross cross, Value value)
    {
        const auto place = entries_.locate(behind(cross.octets()));
        entries_.insert(place, Entry{std::move(cross), std::move(value)});
    }

    // Whether there was such an entry; of several like it the first one goes.
    bool erase(std::span<const std::uint8_t> cross, const Value &value)
    {
        auto place = entries_.locate(order(cross));
        const Iterator end = entries_.end();
        for (Iterator at = entries_.iterator(place); at != end && order(cross)(*at) == 0; ++at) {
            if (at->value == value) {
                entries_.erase(entries_.place(at));
                return true;
            }
        }
        return false;
    }
    void clear() { entries_.clear(); }

    // The entries of exactly these octets.
    std::pair<Iterator, Iterator> equal_range(std::span<const std::uint8_t> cross) const
    {
        return {entries_.iterator(entries_.locate(order(cross))), entries_.iterator(entries_.locate(behind(cross)))};
    }

    // Calls `found(entry)` for every entry that the family finds under the searched value, in the table's order. Looks
    // at every entry: those of a wildcard stand anywhere among the values of their length.
    template <class Found> void for_each_match(std::span<const std::uint8_t> searched, Found found) const
    {
        for (const Entry &entry : entries_) {
            if (cross_matches(*family_, entry.cross.octets(), searched)) {
                found(entry);
            }
        }
    }

    std::size_t size() const { return entries_.size(); }
    bool empty() const { return entries_.size() == 0; }
    Iterator begin() const { return entries_.begin(); }
    Iterator end() const { return entries_.end(); }

    const Family &family() const { return *family_; }

private:
    auto order(std::span<const std::uint8_t> cross) const
    {
        return [this, cross](const Entry &entry) { return cross_order(*family_, entry.cross.octets(), cross); };
    }
    auto behind(std::span<const std::uint8_t> cross) const
    {
        return [below = order(cross)](const Entry &entry) { return below(entry) <= 0 ? -1 : 1; };
    }

    const Family *family_;
    OrderedChunks<Entry> entries_;
};

} // namespace qel::host
