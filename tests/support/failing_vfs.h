/// SQLite's default file system layer with faults: the Nth operation of a kind fails, once or from then on.
#ifndef TESTS_SUPPORT_FAILING_VFS_H
#define TESTS_SUPPORT_FAILING_VFS_H

#include <sqlite3.h>

namespace testing_support {

enum class FileOperation
{
    kOpen,
    kRead,
    kWrite,
    kSync,
    kTruncate,
    kDelete
};

struct Fault
{
    FileOperation operation;
    int sqliteCode;
    bool forEver;
    char const* name;
};

/// Every kind of fault there is, for sweeps.
extern Fault const allFaults[12];

/// The process's default layer while it lives; one at a time.
class FailingVfs
{
public:
    FailingVfs();
    FailingVfs(FailingVfs const&) = delete;
    FailingVfs& operator=(FailingVfs const&) = delete;
    ~FailingVfs();

    /// Lets the Nth operation from now on, counted from 1, fail.
    void arm(Fault const& fault, int nth);
    void disarm();

    /// Whether the armed fault has struck.
    static bool struck();
};

} // namespace testing_support

#endif
