// What a table of routes costs the host: the time to load routes into it, in the family's order and in any order, and
// to find them again, and the heap that a route takes, for growing numbers of routes.
//
// usage: bench_route_table [ROUTES...]      by default 10000 100000 1000000
#include "host/family.h"
#include "host/platform/platform.h"
#include "host/route.h"
#include "host/route_table.h"
#include "qel_byteorder.h"

#include <fmt/format.h>
#include <malloc.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <numeric>
#include <random>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

namespace qel::bench {
namespace {

using Octets = std::span<const std::uint8_t>;

constexpr std::uint32_t kMemHandle = 3;
constexpr std::size_t kMostSearches = 200'000;
constexpr std::size_t kRepetitions = 3; // the fastest counts

[[noreturn]] void fail(std::string_view what)
{
    fmt::print(stderr, "benchmark: {}\n", what);
    std::exit(EXIT_FAILURE);
}

// S-PMSI A-D route `number`: a thousand VPNs, a thousand sources in each before the group moves on.
host::BlockPtr route_of(const host::Family &family, std::uint32_t number)
{
    std::array<std::uint8_t, 24> wire{0x03, 0x16, 0x00, 0x00, 0x00, 0x64, 0, 0, 0,    0, 0x20, 0x0a,
                                      0,    0,    0,    0x20, 0xe8, 0,    0, 0, 0xc0, 0, 2,    1};
    constexpr std::uint32_t vpns = 1000;
    constexpr std::uint32_t sources = 1000;
    QEL_StoreBe32(&wire[6], 1 + number % vpns);
    QEL_StoreBe32(&wire[11], 0x0a000001 + number / vpns % sources);
    QEL_StoreBe32(&wire[16], 0xe8010101 + number / vpns / sources);
    const std::uint8_t *cursor = wire.data();
    QEL_ROUTE_BLOCK_S *block = nullptr;
    std::uint32_t more = 0;
    if (family.desc().pfParsePkt(&cursor, wire.size(), 0, 14, &block, &more, family.ctx()) != QEL_OK ||
        block == nullptr) {
        fail("a route is not taken");
    }
    return host::BlockPtr(block);
}

Octets key_of(const QEL_ROUTE_BLOCK_S &block)
{
    return {reinterpret_cast<const std::uint8_t *>(&block) + block.usKeyOffset, block.usKeyLen};
}

std::size_t heap_in_use()
{
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

// Nanoseconds of the processor that the work takes for each of `count`.
template <class Work> double timed(std::size_t count, Work work)
{
    const std::clock_t start = std::clock();
    work();
    constexpr double tick = 1e9 / CLOCKS_PER_SEC;
    return static_cast<double>(std::clock() - start) * tick / static_cast<double>(count);
}

using Numbers = std::vector<std::uint32_t>;

// The same order in each run.
Numbers shuffled(std::size_t count)
{
    Numbers numbers(count);
    std::iota(numbers.begin(), numbers.end(), 0U);
    std::mt19937 random(1);
    for (std::size_t i = count; i > 1; --i) {
        std::swap(numbers[i - 1], numbers[random() % i]);
    }
    return numbers;
}

struct Row {
    double parse = 1e9;
    double in_order = 1e9;
    double any_order = 1e9;
    double find = 1e9;
    double clear = 1e9;
    double heap = 0; // octets for a route
};

void load(host::RouteTable &table, const Numbers &numbers)
{
    for (const std::uint32_t number : numbers) {
        table.insert_or_replace(host::StoredRoute(route_of(table.family(), number)));
    }
    if (table.size() != numbers.size()) {
        fail("the table has not taken every route");
    }
}

// The numbers of the routes in the order in which the family puts them.
Numbers in_order(const host::RouteTable &table, const host::Family &family, const Numbers &numbers)
{
    Numbers sorted(numbers.size());
    std::vector<std::pair<const host::StoredRoute *, std::uint32_t>> places;
    places.reserve(numbers.size());
    for (const std::uint32_t number : numbers) {
        places.emplace_back(table.find(key_of(*route_of(family, number))), number);
    }
    std::sort(places.begin(), places.end());
    std::size_t at = 0;
    for (const host::StoredRoute &route : table) {
        const auto found = std::lower_bound(places.begin(), places.end(), std::pair(&route, std::uint32_t{0}));
        sorted[at++] = found->second;
    }
    return sorted;
}

double find_all(host::RouteTable &table, const std::vector<host::BlockPtr> &searched)
{
    std::size_t found = 0;
    const double ns = timed(searched.size(), [&] {
        for (const host::BlockPtr &block : searched) {
            found += table.find(key_of(*block)) != nullptr ? 1U : 0U;
        }
    });
    if (found != searched.size()) {
        fail("a route is not found");
    }
    return ns;
}

Row measure(const host::Family &family, std::size_t count)
{
    const Numbers any = shuffled(count);
    Row row;
    std::vector<host::BlockPtr> searched;
    for (const std::uint32_t number :
         Numbers(any.rbegin(), any.rbegin() + static_cast<std::ptrdiff_t>(std::min(count, kMostSearches)))) {
        searched.push_back(route_of(family, number));
    }
    Numbers sorted;
    for (std::size_t i = 0; i < kRepetitions; ++i) {
        row.parse = std::min(row.parse, timed(count, [&] {
                                 for (const std::uint32_t number : any) {
                                     route_of(family, number).reset();
                                 }
                             }));
        const std::size_t before = heap_in_use();
        host::RouteTable table(family);
        row.any_order = std::min(row.any_order, timed(count, [&] { load(table, any); }));
        row.heap = static_cast<double>(heap_in_use() - before) / static_cast<double>(count);
        row.find = std::min(row.find, find_all(table, searched));
        if (sorted.empty()) {
            sorted = in_order(table, family, any);
        }
        row.clear = std::min(row.clear, timed(count, [&] { table.clear(); }));
        row.in_order = std::min(row.in_order, timed(count, [&] { load(table, sorted); }));
    }
    return row;
}

std::size_t block_size(const host::Family &family)
{
    const std::uint64_t before = platform::usage(kMemHandle).live_bytes;
    const host::BlockPtr block = route_of(family, 0);
    return static_cast<std::size_t>(platform::usage(kMemHandle).live_bytes - before);
}

void print_table(const std::vector<std::size_t> &counts)
{
    const host::Family family(*host::find_family(1, 5), kMemHandle);
    fmt::print("{:<10} {:>9} {:>14} {:>13} {:>9} {:>9} {:>13} {:>12}\n", "routes", "parse ns", "load in order",
               "load shuffled", "find ns", "clear ns", "heap octets", "of the block");
    for (const std::size_t count : counts) {
        const Row row = measure(family, count);
        fmt::print("{:<10} {:>9.0f} {:>14.0f} {:>13.0f} {:>9.0f} {:>9.0f} {:>13.1f} {:>12}\n", count, row.parse,
                   row.in_order, row.any_order, row.find, row.clear, row.heap, block_size(family));
    }
}

} // namespace
} // namespace qel::bench

int main(int argc, char **argv)
{
    std::vector<std::size_t> counts;
    for (int i = 1; i < argc; ++i) {
        const unsigned long long count = std::strtoull(argv[i], nullptr, 10);
        if (count == 0 || count > 100'000'000) {
            fmt::print(stderr, "usage: {} [ROUTES...]\n", argv[0]);
            return EXIT_FAILURE;
        }
        counts.push_back(count);
    }
    if (counts.empty()) {
        counts = {10'000, 100'000, 1'000'000};
    }
    qel::bench::print_table(counts);
    return EXIT_SUCCESS;
}
