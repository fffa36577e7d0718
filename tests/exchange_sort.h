// Community lists put in order by exchanges, as the families' sorts must leave them whatever way they take.
#pragma once

#include "octets.h"

#include <array>
#include <cstring>
#include <initializer_list>
#include <random>

namespace qel::test {

constexpr std::size_t kLongestElement = 20;

// The octets of an element of 8 or 20, the one that decides first in front: Sub-type, Type, then field by field.
inline std::array<std::uint8_t, kLongestElement> deciding_octets(const std::uint8_t *element, std::size_t size)
{
    std::array<std::uint8_t, kLongestElement> out{};
    std::copy(element, element + size, out.begin());
    const auto turn = [&out](std::size_t from, std::size_t to) {
        std::reverse(out.begin() + static_cast<std::ptrdiff_t>(from), out.begin() + static_cast<std::ptrdiff_t>(to));
    };
    const unsigned sub_type = element[0];
    const unsigned type = element[1];
    if (size == 8) {
        const std::size_t second = type == 1 || type == 2 ? 6 : 4;
        turn(2, second);
        turn(second, 8);
    } else if (type <= 1 && (sub_type == 2 || sub_type == 11)) {
        for (std::size_t word = 2; word < 18; word += 4) {
            turn(word, word + 4);
        }
        turn(18, 20);
    }
    return out;
}

// Every pair in turn; what stands above comes behind.
inline Bytes sorted_by_exchanges(const Bytes &list, std::size_t size)
{
    struct Element {
        std::array<std::uint8_t, kLongestElement> decides;
        std::uint32_t at;
    };
    std::vector<Element> elements;
    for (std::uint32_t at = 0; at < list.size(); at += static_cast<std::uint32_t>(size)) {
        elements.push_back({deciding_octets(list.data() + at, size), at});
    }
    Element *const end = elements.data() + elements.size();
    for (Element *first = elements.data(); first != end; ++first) {
        for (Element *second = first + 1; second != end; ++second) {
            if (std::memcmp(first, second, size) > 0) {
                std::swap(*first, *second);
            }
        }
    }
    Bytes out;
    out.reserve(list.size());
    for (const Element &element : elements) {
        out.insert(out.end(), list.begin() + element.at, list.begin() + element.at + static_cast<std::ptrdiff_t>(size));
    }
    return out;
}

// Lists of elements of `size`, at every address from an even one on: `sort(octets, count)` must leave what exchanges
// leave, and nothing else touched.
class SortsLikeExchanges {
public:
    SortsLikeExchanges(std::size_t size, std::uint32_t seed) : size_(size), random_(seed) {}

    template <class Sort> void check(Sort sort)
    {
        for (std::size_t count = 0; count <= 70; ++count) {
            for (const bool many_repeats : {true, false}) {
                const Bytes list = any_list(count, many_repeats);
                const Bytes ascending = sorted_by_exchanges(list, size_);
                for (const Bytes &given : {list, ascending, reversed(ascending)}) {
                    ASSERT_NO_FATAL_FAILURE(expect_order(sort, given, ascending)) << count;
                }
            }
        }
        const Bytes long_list = any_list(1000, true);
        ASSERT_NO_FATAL_FAILURE(expect_order(sort, long_list, sorted_by_exchanges(long_list, size_)));
    }

    // Three elements of one type word, for every type word.
    template <class Sort> void check_every_type(Sort sort)
    {
        for (unsigned type = 0; type <= 0xffff; ++type) {
            Bytes list = any_list(3, true);
            for (std::size_t at = 0; at < list.size(); at += size_) {
                list[at] = static_cast<std::uint8_t>(type);
                list[at + 1] = static_cast<std::uint8_t>(type >> 8);
            }
            ASSERT_NO_FATAL_FAILURE(expect_order(sort, list, sorted_by_exchanges(list, size_))) << type;
        }
    }

private:
    template <class Sort> void expect_order(Sort sort, const Bytes &given, const Bytes &wanted)
    {
        shift_ = (shift_ + 1) % 8;
        Bytes memory(shift_ + given.size() + size_); // the octets behind would come first
        std::copy(given.begin(), given.end(), memory.begin() + static_cast<std::ptrdiff_t>(shift_));
        sort(memory.data() + shift_, static_cast<std::uint16_t>(given.size() / size_));
        if (!std::equal(wanted.begin(), wanted.end(), memory.begin() + static_cast<std::ptrdiff_t>(shift_))) {
            FAIL() << "from " << hex(given) << " to " << hex(memory);
        }
        for (std::size_t i = 0; i < size_; ++i) {
            ASSERT_EQ(memory[shift_ + given.size() + i], 0U);
        }
    }

    std::uint8_t pick(std::initializer_list<unsigned> from)
    {
        return static_cast<std::uint8_t>(from.begin()[random_() % from.size()]);
    }

    Bytes any_list(std::size_t count, bool many_repeats)
    {
        Bytes list(count * size_);
        for (std::size_t at = 0; at < list.size(); ++at) {
            if (at % size_ == 0) {
                list[at] = pick({0, 2, 2, 3, 9, 10, 11, 0x12, 0xff});
            } else if (at % size_ == 1) {
                list[at] = pick({0, 0, 1, 1, 2, 2, 3, 0x40, 0x43, 0x80, 0xff});
            } else {
                list[at] = many_repeats ? pick({0, 0, 0, 0, 0, 0, 1, 0x80}) : static_cast<std::uint8_t>(random_());
            }
        }
        return list;
    }

    Bytes reversed(const Bytes &list) const
    {
        Bytes out;
        for (std::size_t at = list.size(); at > 0; at -= size_) {
            out = out + slice(list, at - size_, size_);
        }
        return out;
    }

    std::size_t size_;
    std::mt19937 random_;
    std::size_t shift_ = 0;
};

} // namespace qel::test
