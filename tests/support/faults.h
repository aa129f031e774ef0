/// Faults on purpose: the Nth operation of a kind fails, once or from then on. One fault at a time.
#ifndef TESTS_SUPPORT_FAULTS_H
#define TESTS_SUPPORT_FAULTS_H

#include <sqlite3.h>
#include <string>
#include <vector>

namespace testing_support {

enum class FaultPlace
{
    // SQLite's file system layer, while a FailingVfs lives.
    kOpen,
    kRead,
    kWrite,
    kSync,
    kTruncate,
    kDelete,
    // The product's own calls, in programs that are linked with failing_calls.cpp.
    kAllocation,
    kSystemCall
};

struct Fault
{
    FaultPlace place;
    int sqliteCode;
    char const* name;
};

/// Every kind of fault there is, for sweeps.
extern std::vector<Fault> const allFaults;

/// Lets the Nth operation at the fault's place from now on, counted from 1, fail; for ever: each from that one on.
void arm(Fault const& fault, int nth, bool forEver);
void disarm();

/// Whether the armed fault has struck.
bool struck();

/// Asked by each operation that can fail: counts it and tells whether it is to fail.
bool strikes(FaultPlace place);

/// What failing_calls.cpp has handed out and not got back.
extern long liveAllocations;

/// One change that SQLite has made to a file.
struct FileChange
{
    FaultPlace place; ///< kWrite, kTruncate, kSync or kDelete
    std::string file;
    sqlite3_int64 offset; ///< of a write; the new size of a truncation
    std::string bytes;    ///< of a write
};

/// A layer over SQLite's default one, and the process's default while it lives; one at a time.
class FailingVfs
{
public:
    FailingVfs();
    FailingVfs(FailingVfs const&) = delete;
    FailingVfs& operator=(FailingVfs const&) = delete;
    ~FailingVfs();

    /// Where all changes to files are put down, in order; null: nowhere. The caller's.
    static inline std::vector<FileChange>* record = nullptr;
};

} // namespace testing_support

#endif
