// A sorted sequence in chunks. Unlike the standard's ordered containers it asks nothing of the compare that it is
// sorted by: a search ends and touches what is there alone, whatever the compare answers.
#pragma once

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <utility>
#include <vector>

namespace qel::host {

template <class Item> class OrderedChunks {
    using Chunk = std::vector<Item>;

public:
    struct Place {
        std::size_t chunk = 0;
        std::size_t at = 0;
        bool found = false;
    };

    class Iterator {
    public:
        using value_type = Item;
        using difference_type = std::ptrdiff_t;

        Iterator() = default;
        const Item &operator*() const { return (*chunk_)[at_]; }
        const Item *operator->() const { return &**this; }
        Iterator &operator++()
        {
            if (++at_ == chunk_->size()) {
                ++chunk_;
                at_ = 0;
            }
            return *this;
        }
        Iterator operator++(int)
        {
            Iterator before = *this;
            ++*this;
            return before;
        }
        bool operator==(const Iterator &) const = default;

    private:
        friend class OrderedChunks;
        Iterator(const Chunk *chunk, std::size_t at) : chunk_(chunk), at_(at) {}

        const Chunk *chunk_ = nullptr;
        std::size_t at_ = 0;
    };

    // The first item that is not below what is searched; `order(item)` says how an item stands to that: below it (less
    // than 0), equal to it, above it.
    template <class Order> Place locate(Order order) const
    {
        Place place;
        place.chunk = bisect(chunks_.size(), [&](std::size_t i) { return order(chunks_[i].back()) < 0; });
        if (place.chunk < chunks_.size()) {
            const Chunk &chunk = chunks_[place.chunk];
            place.at = bisect(chunk.size(), [&](std::size_t i) { return order(chunk[i]) < 0; });
            place.found = place.at < chunk.size() && order(chunk[place.at]) == 0;
        }
        return place;
    }

    Item &operator[](Place place) { return chunks_[place.chunk][place.at]; }
    const Item &operator[](Place place) const { return chunks_[place.chunk][place.at]; }
    Iterator iterator(Place place) const
    {
        const bool behind = place.chunk < chunks_.size() && place.at == chunks_[place.chunk].size();
        return {chunks_.data() + place.chunk + (behind ? 1 : 0), behind ? 0 : place.at};
    }

    // Where an iterator of this sequence that is not at its end stands.
    Place place(Iterator at) const { return {static_cast<std::size_t>(at.chunk_ - chunks_.data()), at.at_, true}; }

    // In front of the item at `place`, which locate() gave.
    Item &insert(Place place, Item item)
    {
        if (place.chunk == chunks_.size()) { // behind everything: fill the last chunk up
            if (chunks_.empty() || chunks_.back().size() == kChunkItems) {
                chunks_.emplace_back();
            }
            place.chunk = chunks_.size() - 1;
            place.at = chunks_.back().size();
        } else if (chunks_[place.chunk].size() == kChunkItems) {
            split(place.chunk);
            if (place.at > chunks_[place.chunk].size()) {
                place.at -= chunks_[place.chunk].size();
                ++place.chunk;
            }
        }
        Chunk &chunk = chunks_[place.chunk];
        const auto at = chunk.insert(std::next(chunk.begin(), static_cast<std::ptrdiff_t>(place.at)), std::move(item));
        ++size_;
        return *at;
    }

    void erase(Place place)
    {
        Chunk &chunk = chunks_[place.chunk];
        chunk.erase(std::next(chunk.begin(), static_cast<std::ptrdiff_t>(place.at)));
        if (chunk.empty()) {
            chunks_.erase(std::next(chunks_.begin(), static_cast<std::ptrdiff_t>(place.chunk)));
        }
        --size_;
    }

    void clear()
    {
        chunks_.clear();
        size_ = 0;
    }

    std::size_t size() const { return size_; }
    Iterator begin() const { return {chunks_.data(), 0}; }
    Iterator end() const { return {chunks_.data() + chunks_.size(), 0}; }

    // What the sequence takes of the heap, without what its items own.
    std::size_t heap_octets() const
    {
        std::size_t octets = chunks_.capacity() * sizeof(Chunk);
        for (const Chunk &chunk : chunks_) {
            octets += chunk.capacity() * sizeof(Item);
        }
        return octets;
    }

private:
    static constexpr std::size_t kChunkItems = 256;

    // The first index that is not `below`, searched as if those that are stood in front.
    template <class Below> static std::size_t bisect(std::size_t count, Below below)
    {
        std::size_t first = 0;
        while (first < count) {
            const std::size_t middle = first + (count - first) / 2;
            if (below(middle)) {
                first = middle + 1;
            } else {
                count = middle;
            }
        }
        return first;
    }

    void split(std::size_t index)
    {
        Chunk upper;
        Chunk &lower = chunks_[index];
        const auto half = std::next(lower.begin(), static_cast<std::ptrdiff_t>(kChunkItems / 2));
        upper.assign(std::make_move_iterator(half), std::make_move_iterator(lower.end()));
        lower.erase(half, lower.end());
        chunks_.insert(std::next(chunks_.begin(), static_cast<std::ptrdiff_t>(index) + 1), std::move(upper));
    }

    std::vector<Chunk> chunks_; // none is empty
    std::size_t size_ = 0;
};

} // namespace qel::host
