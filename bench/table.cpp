#include "bench/table.h"

#include <fmt/format.h>

#if __has_include(<valgrind/callgrind.h>)
#include <valgrind/callgrind.h>
#else
#define CALLGRIND_ZERO_STATS
#define CALLGRIND_DUMP_STATS_AT(name) static_cast<void>(name)
#endif

#include <algorithm>
#include <cstdlib>
#include <utility>

namespace qel::bench {
namespace {

std::string run_name(std::string_view operation, std::string_view form, std::string_view side)
{
    return fmt::format("{}/{}/{}", operation, form, side);
}

// Puts an operation and its floor into one line. Of repeated runs the fastest counts: what else the machine does only
// ever makes a run slower.
class TableReporter final : public benchmark::BenchmarkReporter {
public:
    TableReporter(const std::vector<Line> &lines, const std::function<void(const Results &)> &behind)
        : lines_(lines), behind_(behind)
    {
    }

    bool ReportContext(const Context &) override { return true; }

    void ReportRuns(const std::vector<Run> &runs) override
    {
        for (const Run &run : runs) {
            if (run.run_type == Run::RT_Iteration) {
                results_.add(run.run_name.function_name, run.GetAdjustedCPUTime());
            }
        }
    }

    void Finalize() override
    {
        fmt::print("{:<38} {:>9} {:>9} {:>7}\n", "operation", "ns", "floor ns", "ratio");
        for (const Line &line : lines_) {
            const double whole = results_.whole(line.operation, line.form);
            const double floor = results_.floor(line.operation, line.form);
            if (whole > 0 && floor > 0) {
                fmt::print("{:<38} {:>9.1f} {:>9.1f} {:>7.2f}\n", fmt::format("{} {}", line.operation, line.form),
                           whole, floor, whole / floor);
            }
        }
        behind_(results_);
    }

private:
    const std::vector<Line> &lines_;
    const std::function<void(const Results &)> &behind_;
    Results results_;
};

// Callgrind's count of a run of few and of a run of many iterations: what they differ by belongs to the iterations
// alone.
constexpr benchmark::IterationCount kFewIterations = 10;
constexpr benchmark::IterationCount kManyIterations = 110;

void register_counted(const std::string &name, const std::function<void(benchmark::State &)> &work)
{
    for (const benchmark::IterationCount iterations : {kFewIterations, kManyIterations}) {
        const std::string dump = fmt::format("{}/{}", name, iterations);
        benchmark::RegisterBenchmark(dump.c_str(), [work, dump](benchmark::State &state) {
            CALLGRIND_ZERO_STATS;
            work(state);
            CALLGRIND_DUMP_STATS_AT(dump.c_str());
        })->Iterations(iterations);
    }
}

void register_timed(const std::string &name, const std::function<void(benchmark::State &)> &work)
{
    benchmark::RegisterBenchmark(name.c_str(), work);
}

} // namespace

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

void fail(std::string_view what)
{
    fmt::print(stderr, "benchmark: {}\n", what);
    std::exit(EXIT_FAILURE);
}

void Results::add(const std::string &name, double ns)
{
    const auto [place, first] = times_.try_emplace(name, ns);
    place->second = first ? ns : std::min(place->second, ns);
}

double Results::whole(std::string_view operation, std::string_view form) const
{
    return fastest(run_name(operation, form, "whole"));
}

double Results::floor(std::string_view operation, std::string_view form) const
{
    return fastest(run_name(operation, form, "floor"));
}

double Results::fastest(const std::string &name) const
{
    const auto found = times_.find(name);
    return found != times_.end() ? found->second : 0;
}

int run(int argc, char **argv, const std::vector<Line> &lines, const std::function<void(const Results &)> &behind)
{
    const std::string_view first = argc > 1 ? argv[1] : "";
    const bool table = first == "--table";
    const bool count = first == "--count";
    if (table || count) {
        std::rotate(argv + 1, argv + 2, argv + argc);
        --argc;
    }
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return EXIT_FAILURE;
    }
    const auto add = count ? register_counted : register_timed;
    if (count && !lines.empty()) {
        // What only the first run of a program does, in nobody's count.
        benchmark::RegisterBenchmark("first", lines.front().whole)->Iterations(kFewIterations);
    }
    for (const Line &line : lines) {
        add(run_name(line.operation, line.form, "whole"), line.whole);
        add(run_name(line.operation, line.form, "floor"), line.floor);
    }
    if (table) {
        TableReporter reporter(lines, behind);
        benchmark::RunSpecifiedBenchmarks(&reporter);
    } else {
        benchmark::RunSpecifiedBenchmarks();
    }
    benchmark::Shutdown();
    return EXIT_SUCCESS;
}

} // namespace qel::bench
