/// The floor of every operation: plain C that repeats a recording of the operation. It opens the same database files,
/// runs the same statements and keeps a copy of each text that they read until the file is closed.
/// It knows nothing of the product: no paths, no versions, no owners and no rules.
#ifndef BENCH_REPLAY_H
#define BENCH_REPLAY_H

#include <sqlite3.h>
#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

enum
{
    kMostConnections = 4,
    kMostQuotedTexts = 8
};

enum StepKind
{
    kStepOpen,
    kStepRun,
    kStepClose,
    kStepCopy ///< of a database file while connections to it may be open in this process
};

struct Step
{
    enum StepKind kind;
    size_t connection; ///< which connection, below kMostConnections
    char const* text;  ///< path of the file; else the statement, with %q for each quoted text in it
    char const* arguments[kMostQuotedTexts]; ///< the quoted texts; for kStepCopy the path of the copy
};

/// A connection and every text read through it.
struct Connection
{
    sqlite3* database; ///< null: not open
    char** texts;
    size_t count;
};

/// Runs steps in order.
///
/// @param connections  kMostConnections of them, all zero before the first call
/// @return SQLITE_OK, or the code of the step that failed and ended the run
int replay(struct Connection* connections, struct Step const* steps, size_t count);

/// Closes a connection, which may not be open, and frees its texts. An open transaction is rolled back.
int closeConnection(struct Connection* connection);

#ifdef __cplusplus
}
#endif

#endif
