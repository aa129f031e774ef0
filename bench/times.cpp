/// Times every operation beside its floor and prints the tables; writes the growth into a file of columns.
#include "bench/operations.h"
#include "tests/support/scratch_root.h"

#include <algorithm>
#include <benchmark/benchmark.h>
#include <climits>
#include <cstdio>
#include <malloc.h>
#include <map>
#include <string>
#include <vector>

namespace {

using namespace bench;

int const repetitions = 15;

/// The least time that each benchmark took, in microseconds of the processor for one row. Others who use the machine
/// can only make a measurement longer.
class LeastTimes : public benchmark::BenchmarkReporter
{
public:
    bool ReportContext(Context const& /*context*/) override { return true; }

    void ReportRuns(std::vector<Run> const& runs) override
    {
        for (auto const& run : runs) {
            if (run.run_type == Run::RT_Iteration && run.iterations > 0) {
                double const time = 1e6 * run.cpu_accumulated_time / static_cast<double>(run.iterations);
                auto const known = least.emplace(run.run_name.function_name, time).first;
                known->second = std::min(known->second, time);
            }
        }
    }

    double operator[](std::string const& name) const { return least.at(name); }

private:
    std::map<std::string, double> least;
};

Operation const* measured;

template<Side side>
void runSide(benchmark::State& state)
{
    bench::Run run(*measured, side);
    for (auto unused : state) {
        (void)unused;
        run.call();
    }
}

benchmark::internal::Benchmark* const benchmarks[] = {
    benchmark::RegisterBenchmark("floor", runSide<Side::kFloor>)->Repetitions(repetitions),
    benchmark::RegisterBenchmark("ours", runSide<Side::kOurs>)->Repetitions(repetitions)};

struct Pair
{
    double floor;
    double ours;
};

/// Measures one operation after the other, the two sides of each in turns, all on the files of one scratch root for as
/// long as the number of payloads stays the same.
class Times
{
public:
    Pair measure(Operation const& operation)
    {
        if (operation.payloads != payloads) {
            root.renew();
            prepareStores(operation.payloads);
            payloads = operation.payloads;
        }
        measured = &operation;
        for (auto* benchmark : benchmarks) {
            benchmark->Iterations(operation.calls);
        }
        LeastTimes times;
        benchmark::RunSpecifiedBenchmarks(&times);
        return {times["floor"] / operation.rows, times["ours"] / operation.rows};
    }

private:
    testing_support::ScratchRoot root;
    int payloads = 0;
};

void printTable(Times& times)
{
    std::printf("Microseconds of the processor for one call, the least of %d measurements in turns:\n\n"
                "| %-40s | %9s | %9s | ratio |\n|---|---:|---:|---:|\n",
                repetitions, "operation", "floor", "ours");
    for (auto const& operation : operations()) {
        Pair const pair = times.measure(operation);
        std::printf("| %-40s | %9.3f | %9.3f | %5.3f |\n", operation.name.c_str(), pair.floor, pair.ours,
                    pair.ours / pair.floor);
        std::fflush(stdout);
    }
}

void printGrowth(Times& times, std::FILE* columns)
{
    std::printf(
        "\nHow it grows with the payloads on record, each with one relation: ours, and its ratio to the "
        "floor:\n\n| payloads | read | list, per row | mark installed | remove |\n"
        "|---:|---:|---:|---:|---:|\n");
    for (int const payloads : growthSteps) {
        std::printf("| %8d |", payloads);
        std::fprintf(columns, "%d", payloads);
        for (auto const& operation : growthOperations(payloads)) {
            Pair const pair = times.measure(operation);
            std::printf(" %9.3f (%5.3f) |", pair.ours, pair.ours / pair.floor);
            std::fflush(stdout);
            std::fprintf(columns, " %.4f %.4f", pair.ours, pair.floor);
        }
        std::printf("\n");
        std::fprintf(columns, "\n");
    }
}

} // namespace

int main(int argumentCount, char** arguments)
{
    if (argumentCount != 2) {
        std::fputs("usage: times COLUMNS-FILE\n", stderr);
        return 2;
    }
    std::FILE* const columns = std::fopen(arguments[1], "w"); // before the scratch root is entered
    if (columns == nullptr) {
        std::fprintf(stderr, "times: %s cannot be written\n", arguments[1]);
        return 2;
    }
    char inTurns[] = "--benchmark_enable_random_interleaving=true";
    char* options[] = {arguments[0], inTurns, nullptr};
    int optionCount = 2;
    benchmark::Initialize(&optionCount, options);
    // Memory once had is kept: else it is chance on which side the system hands out fresh pages.
    mallopt(M_TRIM_THRESHOLD, INT_MAX);
    mallopt(M_MMAP_THRESHOLD, INT_MAX);
    (void)benchmark::CPUInfo::Get(); // reads /proc, which is not in a scratch root
    {
        Times times;
        printTable(times);
        printGrowth(times, columns);
    }
    return std::fclose(columns) == 0 ? 0 : 2;
}
