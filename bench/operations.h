/// What is measured: each operation of the product beside its floor, both on the same files.
#ifndef BENCH_OPERATIONS_H
#define BENCH_OPERATIONS_H

#include "bench/floor.h"

#include <string>
#include <vector>

namespace bench {

/// A session of the record library, or the floor's store: null where an operation opens its own.
struct Open
{
    VeskSession* session;
    FloorStore* store;
};

struct Operation
{
    std::string name;
    int payloads;                   ///< on record beforehand
    int calls;                      ///< how often it is called for one figure
    int rows;                       ///< that one call reads; figures are given for one
    int32_t (*open)(VeskSession**); ///< null: the operation opens its own session
    FloorDatabase database;
    /// One call; numbers count up from 0. Both give 0 for success.
    int32_t (*ours)(VeskSession*, int number);
    int (*floor)(FloorStore*, int number);
};

enum class Side
{
    kFloor,
    kOurs
};

/// The operations of the table, in its order.
std::vector<Operation> const& operations();

/// The numbers of payloads that growth is told for, and the operations on as many.
constexpr int growthSteps[] = {100, 1000, 10000, 100000};
std::vector<Operation> growthOperations(int payloads);

/// The list of all of 100,000 payloads.
Operation const& largestList();

/// Fills the stores of an empty root folder: payloads that each declare a conflict with one that is not there, the
/// first of them 100 relations, and ten entries of data of the first payload and of one subdomain.
void prepareStores(int payloads);

/// One side of one operation: opens its session and makes the first call, so that what happens once is behind. At its
/// end rolls back what the calls wrote. A call that fails ends the program with a message.
class Run
{
public:
    Run(Operation const& measured, Side measuredSide);
    Run(Run const&) = delete;
    Run& operator=(Run const&) = delete;
    ~Run();

    /// The next call.
    void call();

private:
    [[noreturn]] void fail(char const* what, int status) const;

    Operation const& operation;
    Side const side;
    VeskSession* session = nullptr;
    FloorStore* store = nullptr;
    int number = 0;
};

} // namespace bench

#endif
