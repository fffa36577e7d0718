// Benchmarks as lines of a table: an operation on one thing beside its floor.
#pragma once

#include <benchmark/benchmark.h>

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace qel::bench {

using Bytes = std::vector<std::uint8_t>;

// "01 0c 0000" -> bytes; blanks are free.
Bytes bytes(std::string_view hex);

// Says what went wrong and ends the program.
[[noreturn]] void fail(std::string_view what);

struct Line {
    std::string operation;
    std::string form; // what the operation is done to
    std::function<void(benchmark::State &)> whole;
    std::function<void(benchmark::State &)> floor;
};

// The measured work, and nothing else, in the loop. Inlined where it is called: a call through a pointer would be
// measured too.
template <class Work> void measure(benchmark::State &state, Work work)
{
    for (auto _ : state) {
        benchmark::DoNotOptimize(work());
        benchmark::ClobberMemory();
    }
}

// A line's side that is a member of a sample of a form.
template <class Sample, auto kMember, class Form> std::function<void(benchmark::State &)> member(const Form &form)
{
    return [&form](benchmark::State &state) {
        Sample sample(form);
        measure(state, [&] { return (sample.*kMember)(); });
    };
}

// The fastest run of each line in ns.
class Results {
public:
    void add(const std::string &name, double ns);
    double whole(std::string_view operation, std::string_view form) const;
    double floor(std::string_view operation, std::string_view form) const;

private:
    double fastest(const std::string &name) const;

    std::map<std::string, double> times_;
};

// main() of a benchmark: [--table|--count] [Google Benchmark's options]. `behind` is printed behind the table; --count
// runs each line twice under callgrind and has it dump its counts under "operation/form/side/iterations".
int run(
    int argc, char **argv, const std::vector<Line> &lines,
    const std::function<void(const Results &)> &behind = [](const Results &) {});

} // namespace qel::bench
