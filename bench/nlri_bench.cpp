// What one route costs in the library, beside the floor: the least that the same result can cost on the same platform
// services.
#include "host/family.h"
#include "host/route.h"
#include "host/update.h"
#include "ngmvpn/qel_ngmvpn_nlri.h"
#include "ngmvpn/qel_ngmvpn_records.h"
#include "platform/bounds.h"
#include "platform/zvk.h"

#include <benchmark/benchmark.h>
#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace qel::bench {
namespace {

constexpr std::uint32_t kMemHandle = 3;
constexpr std::uint32_t kAttribute = host::kAttrMpReach;
constexpr std::size_t kRoom = 78; // of the largest route

using Bytes = std::vector<std::uint8_t>;

Bytes bytes(std::string_view hex)
{
    Bytes out;
    std::string digits;
    for (const char c : hex) {
        if (c != ' ') {
            digits += c;
        }
        if (digits.size() == 2) {
            out.push_back(static_cast<std::uint8_t>(std::stoul(std::exchange(digits, {}), nullptr, 16)));
        }
    }
    return out;
}

struct RouteForm {
    std::string_view name;
    std::uint16_t afi;
    std::string_view wire;
};

constexpr std::array kForms{
    RouteForm{"intra-as ipv4", 1, "01 0c 0000006400000001 c0000201"},
    RouteForm{"intra-as ipv6", 2, "01 18 0000006400000001 20010db8000000000000000000000001"},
    RouteForm{"inter-as ipv4", 1, "02 0c 0000006400000001 0000fde9"},
    RouteForm{"inter-as ipv6", 2, "02 0c 0001c00002010007 fa56ea01"},
    RouteForm{"s-pmsi ipv4", 1, "03 16 0000006400000001 20 0a010001 20 e8010101 c0000201"},
    RouteForm{"s-pmsi ipv6", 2,
              "03 3a 0000006400000001 80 20010db8000100000000000000000001 80 ff3e0000000000000000000080000001"
              " 20010db8000000000000000000000001"},
    RouteForm{"leaf of i-pmsi ipv4", 1, "04 12 01 0c 0000006400000001 c0000201 c0000202"},
    RouteForm{"leaf of i-pmsi ipv6", 2,
              "04 2a 01 18 0000006400000001 20010db8000000000000000000000001 20010db8000000000000000000000002"},
    RouteForm{"leaf of s-pmsi ipv4", 1, "04 1c 03 16 0000006400000001 20 0a010001 20 e8010101 c0000201 c0000202"},
    RouteForm{"leaf of s-pmsi ipv6", 2,
              "04 4c 03 3a 0000006400000001 80 20010db8000100000000000000000001 80 ff3e0000000000000000000080000001"
              " 20010db8000000000000000000000001 20010db8000000000000000000000002"},
    RouteForm{"source active ipv4", 1, "05 12 0000006400000001 20 0a010001 20 e8010101"},
    RouteForm{"source active ipv6", 2,
              "05 2a 0000006400000001 80 20010db8000100000000000000000001 80 ff3e0000000000000000000080000001"},
    RouteForm{"shared join ipv4", 1, "06 16 0000006400000001 0000fbf4 20 0a010001 20 e8010101"},
    RouteForm{
        "shared join ipv6", 2,
        "06 2e 0000006400000001 0000fbf4 80 20010db8000100000000000000000001 80 ff3e0000000000000000000080000001"},
    RouteForm{"source join ipv4", 1, "07 16 0000006400000001 0000fbf4 20 0a010001 20 e8010101"},
    RouteForm{
        "source join ipv6", 2,
        "07 2e 0000006400000001 0000fbf4 80 20010db8000100000000000000000001 80 ff3e0000000000000000000080000001"},
};

[[noreturn]] void fail(std::string_view what)
{
    fmt::print(stderr, "bench_nlri: {}\n", what);
    std::exit(EXIT_FAILURE);
}

// One route, parsed once: what the operations take and what the floors copy.
class Sample {
public:
    explicit Sample(const RouteForm &form)
        : wire_(bytes(form.wire)), family_(*host::find_family(form.afi, 5), kMemHandle), route_(parse()), twin_(parse())
    {
        if (format() != wire_.size() || std::memcmp(out_.data(), wire_.data(), wire_.size()) != 0 || compare() != 0) {
            fail(form.name);
        }
    }

    host::BlockPtr parse()
    {
        const std::uint8_t *cursor = wire_.data();
        QEL_ROUTE_BLOCK_S *block = nullptr;
        std::uint32_t more = 0;
        const std::uint32_t code = family_.desc().pfParsePkt(&cursor, static_cast<std::uint32_t>(wire_.size()), 0,
                                                             kAttribute, &block, &more, family_.ctx());
        if (code != QEL_OK || block == nullptr) [[unlikely]] {
            fail("a route is not taken");
        }
        return host::BlockPtr(block);
    }

    // What the contract makes of a route, and nothing else: a block allocated, cleared and filled.
    host::BlockPtr parse_floor() const
    {
        const QEL_ROUTE_INFO_S &info = route_.info();
        const std::size_t size = sizeof(QEL_ROUTE_BLOCK_S) + info.uiRdLen + info.uiKeyLen + info.uiNonKeyLen;
        void *mem = ZVK_SimpleAlloc_F(kMemHandle, static_cast<std::uint32_t>(size), __FILE__, __LINE__);
        auto *to = static_cast<std::uint8_t *>(mem);
        memset_s(to, size, 0, size);
        std::size_t room = size - sizeof(QEL_ROUTE_BLOCK_S);
        to += sizeof(QEL_ROUTE_BLOCK_S);
        for (const auto &[section, length] :
             {std::pair{info.pucRd, info.uiRdLen}, std::pair{info.pucKey, info.uiKeyLen},
              std::pair{info.pucNonKey, info.uiNonKeyLen}}) {
            memcpy_s(to, room, section, length);
            to += length;
            room -= length;
        }
        return host::BlockPtr(static_cast<QEL_ROUTE_BLOCK_S *>(mem));
    }

    std::size_t format()
    {
        std::uint8_t *cursor = out_.data();
        if (family_.desc().pfFormatPkt(&route_.mutable_info(), kAttribute, &cursor, kRoom, family_.ctx()) != QEL_OK)
            [[unlikely]] {
            fail("a route is not written");
        }
        return static_cast<std::size_t>(cursor - out_.data());
    }

    std::size_t format_floor()
    {
        std::memcpy(out_.data(), wire_.data(), wire_.size());
        return wire_.size();
    }

    // Of equal keys, where no difference ends it early.
    std::int32_t compare() const
    {
        const QEL_ROUTE_INFO_S &a = route_.info();
        const QEL_ROUTE_INFO_S &b = twin_.info();
        return family_.desc().pfCmpData(a.pucKey, a.uiKeyLen, b.pucKey, b.uiKeyLen, QEL_SECTION_KEY);
    }

    std::int32_t compare_floor() const
    {
        return std::memcmp(route_.info().pucKey, twin_.info().pucKey, route_.info().uiKeyLen);
    }

private:
    Bytes wire_;
    host::Family family_;
    host::Route route_;
    host::Route twin_;
    std::array<std::uint8_t, kRoom> out_{};
};

template <class Work> void measure(benchmark::State &state, const RouteForm &form, Work work)
{
    Sample sample(form);
    for (auto _ : state) {
        benchmark::DoNotOptimize(work(sample));
        benchmark::ClobberMemory();
    }
}

struct Operation {
    std::string_view name;
    void (*whole)(benchmark::State &, const RouteForm &);
    void (*floor)(benchmark::State &, const RouteForm &);
};

template <auto kMember> void run_member(benchmark::State &state, const RouteForm &form)
{
    measure(state, form, [](Sample &sample) { return (sample.*kMember)(); });
}

constexpr std::array kOperations{
    Operation{"parse", run_member<&Sample::parse>, run_member<&Sample::parse_floor>},
    Operation{"format", run_member<&Sample::format>, run_member<&Sample::format_floor>},
    Operation{"compare", run_member<&Sample::compare>, run_member<&Sample::compare_floor>},
};

std::string run_name(const Operation &operation, const RouteForm &form, std::string_view side)
{
    return fmt::format("{}/{}/{}", operation.name, form.name, side);
}

// Puts an operation and its floor into one line. Of repeated runs the fastest counts: what else the machine does only
// ever makes a run slower.
class TableReporter final : public benchmark::BenchmarkReporter {
public:
    bool ReportContext(const Context &) override { return true; }

    void ReportRuns(const std::vector<Run> &runs) override
    {
        for (const Run &run : runs) {
            if (run.run_type == Run::RT_Iteration) {
                const double time = run.GetAdjustedCPUTime();
                const auto [place, first] = times_.try_emplace(run.run_name.function_name, time);
                place->second = first ? time : std::min(place->second, time);
            }
        }
    }

    void Finalize() override
    {
        fmt::print("{:<30} {:>9} {:>9} {:>7}\n", "operation", "ns", "floor ns", "ratio");
        for (const Operation &operation : kOperations) {
            for (const RouteForm &form : kForms) {
                const double whole = fastest(run_name(operation, form, "whole"));
                const double floor = fastest(run_name(operation, form, "floor"));
                if (whole > 0 && floor > 0) {
                    fmt::print("{:<30} {:>9.1f} {:>9.1f} {:>7.2f}\n", fmt::format("{} {}", operation.name, form.name),
                               whole, floor, whole / floor);
                }
            }
        }
    }

private:
    double fastest(const std::string &name) const
    {
        const auto found = times_.find(name);
        return found != times_.end() ? found->second : 0;
    }

    std::map<std::string, double> times_; // ns by run
};

void register_all()
{
    for (const Operation &operation : kOperations) {
        for (const RouteForm &form : kForms) {
            benchmark::RegisterBenchmark(run_name(operation, form, "whole").c_str(), operation.whole, form);
            benchmark::RegisterBenchmark(run_name(operation, form, "floor").c_str(), operation.floor, form);
        }
    }
}

} // namespace
} // namespace qel::bench

// bench_nlri [--table] [Google Benchmark's options]
int main(int argc, char **argv)
{
    const bool table = argc > 1 && std::string_view(argv[1]) == "--table";
    if (table) {
        std::rotate(argv + 1, argv + 2, argv + argc);
        --argc;
    }
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return EXIT_FAILURE;
    }
    qel::bench::register_all();
    if (table) {
        qel::bench::TableReporter reporter;
        benchmark::RunSpecifiedBenchmarks(&reporter);
    } else {
        benchmark::RunSpecifiedBenchmarks();
    }
    benchmark::Shutdown();
    return EXIT_SUCCESS;
}
