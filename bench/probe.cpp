/// Runs one side of one operation on fresh stores, to be counted from outside or to tell its own memory.
#include "bench/operations.h"
#include "tests/support/scratch_root.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sqlite3.h>
#include <string>
#include <sys/resource.h>

namespace {

using namespace bench;

int const usageError = 2;

char const usage[] =
    "usage: probe list                              operations: number, calls and rows of one count, name\n"
    "       probe instructions NUMBER ours|floor    runs the operation inside countedPart\n"
    "       probe statements NUMBER ours|floor      prints the statements of one call\n"
    "       probe memory ours|floor                 KiB that the list of 100,000 payloads adds to the peak\n";

/// Few calls each: a count of instructions does not waver.
int countedCalls(Operation const& operation)
{
    return std::min(operation.calls, 50);
}

/// What callgrind counts, by this name: nothing before and nothing after.
extern "C" [[gnu::noinline]] void countedPart(Run& run, int calls)
{
    for (int call = 0; call < calls; ++call) {
        run.call();
    }
}

void countInstructions(Operation const& operation, Side side)
{
    prepareStores(operation.payloads);
    Run run(operation, side);
    countedPart(run, countedCalls(operation));
}

int printStatement(unsigned /*event*/, void* /*context*/, void* /*statement*/, void* text)
{
    std::printf("%s\n", static_cast<char const*>(text));
    return 0;
}

int traceConnection(sqlite3* database, char** /*error*/, void const* /*routines*/)
{
    return sqlite3_trace_v2(database, SQLITE_TRACE_STMT, printStatement, nullptr);
}

void printStatements(Operation const& operation, Side side)
{
    prepareStores(operation.payloads);
    sqlite3_auto_extension(reinterpret_cast<void (*)()>(traceConnection));
    Run const run(operation, side);
}

long peakKiB()
{
    rusage used = {};
    getrusage(RUSAGE_SELF, &used);
    return used.ru_maxrss;
}

void measureMemory(Operation const& operation, Side side)
{
    // In another process: filling the stores must not raise the peak of this one.
    testing_support::inChildProcess([&] { prepareStores(operation.payloads); });
    long const before = peakKiB();
    Run const run(operation, side);
    std::printf("%ld\n", peakKiB() - before);
}

void printOperations()
{
    int number = 0;
    for (auto const& operation : operations()) {
        std::printf("%d\t%d\t%d\t%s\n", number++, countedCalls(operation), operation.rows,
                    operation.name.c_str());
    }
}

bool parseSide(char const* text, Side& side)
{
    side = std::strcmp(text, "ours") == 0 ? Side::kOurs : Side::kFloor;
    return side == Side::kOurs || std::strcmp(text, "floor") == 0;
}

} // namespace

int main(int argumentCount, char** arguments)
{
    std::string const what = argumentCount > 1 ? arguments[1] : "";
    if (what == "list" && argumentCount == 2) {
        printOperations();
        return 0;
    }
    Side side = Side::kFloor;
    bool const onOperation = (what == "instructions" || what == "statements") && argumentCount == 4;
    if (!(onOperation || (what == "memory" && argumentCount == 3)) ||
        !parseSide(arguments[argumentCount - 1], side)) {
        std::fputs(usage, stderr);
        return usageError;
    }
    size_t const number = onOperation ? std::strtoul(arguments[2], nullptr, 10) : 0;
    if (number >= operations().size()) {
        std::fprintf(stderr, "probe: there is no operation %s; the last is %zu\n", arguments[2],
                     operations().size() - 1);
        return usageError;
    }
    Operation const& operation = onOperation ? operations()[number] : largestList();
    testing_support::ScratchRoot const root;
    (what == "memory"       ? measureMemory
     : what == "statements" ? printStatements
                            : countInstructions)(operation, side);
    return 0;
}
