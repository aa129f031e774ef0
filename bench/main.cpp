/// Measures the operations next to their floors: times, or, for a program that counts from outside, one side of one.
#include "bench/operations.h"
#include "tests/support/scratch_root.h"

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <limits>
#include <malloc.h>
#include <sys/resource.h>

namespace {

using namespace bench;
using testing_support::ScratchRoot;

int const measurements = 15;
int const mostCountedCalls = 50; // few: a count of instructions hardly varies

/// The part that callgrind counts; it finds it by this name.
extern "C" [[gnu::noinline]] void countedPart(Run& run, int calls)
{
    for (int call = 0; call < calls; ++call) {
        run.call();
    }
}

void printOperations()
{
    int number = 0;
    for (auto const& operation : operations()) {
        std::printf("%d\t%d\t%d\t%s\n", number++, std::min(operation.calls, mostCountedCalls), operation.rows,
                    operation.name.c_str());
    }
}

void countInstructions(Operation operation, bool floor)
{
    operation.calls = std::min(operation.calls, mostCountedCalls);
    prepareStores(operation.payloads);
    Recording const recording = record(operation);
    Run run(operation, floor ? &recording : nullptr);
    run.call();
    countedPart(run, operation.calls);
}

long peakKiB()
{
    rusage used = {};
    getrusage(RUSAGE_SELF, &used);
    return used.ru_maxrss;
}

/// A list's statement does not depend on the number of payloads, so it is recorded with one payload; another process
/// adds the others. Neither raises the peak of this process.
void printMemory(ScratchRoot& root, Operation const& operation, bool floor)
{
    prepareStores(1);
    Recording const recording = record(operation);
    root.renew();
    testing_support::inChildProcess([&] { prepareStores(operation.payloads); });
    long const before = peakKiB();
    Run run(operation, floor ? &recording : nullptr);
    run.call();
    std::printf("%ld\n", peakKiB() - before);
}

/// Microseconds of the processor for each row that the calls read.
double timeOf(Operation const& operation, Recording const* floor)
{
    Run run(operation, floor);
    run.call();
    std::clock_t const before = std::clock();
    countedPart(run, operation.calls);
    return 1e6 / CLOCKS_PER_SEC * double(std::clock() - before) / operation.calls / operation.rows;
}

struct Times
{
    double floor = std::numeric_limits<double>::max();
    double ours = floor;
};

/// The minimum of several measurements, the sides alternating: other work on the machine can only make one longer.
Times measure(Operation const& operation)
{
    Recording const recording = record(operation);
    Times least;
    for (int round = 0; round < measurements; ++round) {
        least.floor = std::min(least.floor, timeOf(operation, &recording));
        least.ours = std::min(least.ours, timeOf(operation, nullptr));
    }
    return least;
}

void printTimes(ScratchRoot& root, std::FILE* columns)
{
    // Freed memory is kept: otherwise it is chance which side pays for fresh pages.
    mallopt(M_TRIM_THRESHOLD, INT_MAX);
    mallopt(M_MMAP_THRESHOLD, INT_MAX);
    std::printf("Microseconds of the processor for one call, the minimum of %d alternating measurements:\n\n"
                "| %-40s | %9s | %9s | ratio |\n|---|---:|---:|---:|\n",
                measurements, "operation", "floor", "ours");
    for (auto const& operation : operations()) {
        root.renew();
        prepareStores(operation.payloads);
        Times const times = measure(operation);
        std::printf("| %-40s | %9.3f | %9.3f | %5.3f |\n", operation.name.c_str(), times.floor, times.ours,
                    times.ours / times.floor);
        std::fflush(stdout);
    }
    std::printf(
        "\nHow times grow with the payloads on record, each with one relation: ours, and its ratio to the "
        "floor:\n\n| payloads | read | list, per row | mark installed | remove |\n"
        "|---:|---:|---:|---:|---:|\n");
    for (int const payloads : growthSteps) {
        root.renew();
        prepareStores(payloads);
        std::printf("| %8d |", payloads);
        std::fprintf(columns, "%d", payloads);
        for (auto const& operation : growthOperations(payloads)) {
            Times const times = measure(operation);
            std::printf(" %9.3f (%5.3f) |", times.ours, times.ours / times.floor);
            std::fflush(stdout);
            std::fprintf(columns, " %.4f %.4f", times.ours, times.floor);
        }
        std::printf("\n");
        std::fprintf(columns, "\n");
    }
}

} // namespace

int main(int argumentCount, char** arguments)
{
    std::string const what = argumentCount > 1 ? arguments[1] : "";
    std::string const side = argumentCount > 2 ? arguments[2] : "";
    std::FILE* const columns = what == "times" ? std::fopen(side.c_str(), "w") : nullptr;
    ScratchRoot root; // from here on no file of the machine can be opened
    if (what == "list") {
        printOperations();
    } else if (what == "instructions" && argumentCount == 4) {
        countInstructions(operations().at(std::strtoul(arguments[3], nullptr, 10)), side == "floor");
    } else if (what == "memory") {
        printMemory(root, largestList(), side == "floor");
    } else if (columns != nullptr) {
        printTimes(root, columns);
        return std::fclose(columns) == 0 ? 0 : 2;
    } else {
        std::fputs(
            "usage: bench list                             operations: number, calls, rows of a call, name\n"
            "       bench instructions ours|floor NUMBER   runs the operation inside countedPart\n"
            "       bench memory ours|floor                KiB that the list of 100,000 adds to the peak\n"
            "       bench times FILE                       prints tables; columns of the growth into FILE\n",
            stderr);
        return 2;
    }
    return 0;
}
