/// The operations that are measured, each next to its floor, both on the same files.
#ifndef BENCH_OPERATIONS_H
#define BENCH_OPERATIONS_H

#include "bench/replay.h"
#include "libdolmvesk/payloaddb.h"

#include <deque>
#include <string>
#include <vector>

namespace bench {

struct Operation
{
    std::string name;
    int payloads;                             ///< on record beforehand
    int calls;                                ///< number of calls for one figure
    int rows;                                 ///< rows that one call reads; figures are given per row
    int32_t (*open)(VeskSession**);           ///< null: the operation opens its own session
    int32_t (*run)(VeskSession*, int number); ///< one call, numbers count up from 0; 0 for success
    bool backsUp = false;                     ///< whether a call also copies the catalogue to its backup
};

/// The operations of the table, in its order.
std::vector<Operation> const& operations();

/// The numbers of payloads that growth is measured with, and the operations measured with each.
constexpr int growthSteps[] = {100, 1000, 10000, 100000};
std::vector<Operation> growthOperations(int payloads);

/// The list of all of 100,000 payloads.
Operation const& largestList();

/// Fills the stores of an empty root folder: payloads that each declare a conflict with one that is not on record, the
/// first of them 100 relations, and ten entries of data of the first payload and of one subdomain.
void prepareStores(int payloads);

/// What an operation does to its databases, so that the floor can repeat it.
struct Recording
{
    std::vector<std::vector<Step>> calls; ///< first the opening of the session, then each call
    std::deque<std::string> texts;        ///< the steps point to these
};

/// Runs an operation once more than it is counted, rolls back what it wrote, and records every database that it opens
/// and closes and every statement that it runs. Not from two threads at once.
Recording record(Operation const& operation);

/// One side of one operation: opens its session, and at its end rolls back what the calls wrote. A call that fails ends
/// the program with a message.
class Run
{
public:
    /// @param replayed  what the replay repeats; null: the product itself runs
    Run(Operation const& measured, Recording const* replayed);
    Run(Run const&) = delete;
    Run& operator=(Run const&) = delete;
    ~Run();

    /// Makes the next call. The first differs from the others: it begins the transaction and fills caches.
    void call();

private:
    void require(bool succeeded) const;
    bool replays(size_t call);

    Operation const& operation;
    Recording const* const floor;
    VeskSession* session = nullptr;
    Connection connections[kMostConnections] = {};
    int number = 0;
};

} // namespace bench

#endif
