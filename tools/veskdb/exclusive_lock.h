/// SQLite's exclusive lock on a database file, for replacing it.
#ifndef TOOLS_VESKDB_EXCLUSIVE_LOCK_H
#define TOOLS_VESKDB_EXCLUSIVE_LOCK_H

#include "libdolmvesk/shared_folder.h"

#include <memory>
#include <string>

struct sqlite3;
struct sqlite3_file;

namespace veskdb {

/// SQLite's own exclusive lock on a database file, whatever the file holds: a damaged one has to be replaced as safely
/// as a sound one.
class ExclusiveLock
{
public:
    /// Waits for other programs' locks for as long as the record library does.
    ///
    /// @throws Refusal (kExitError)
    explicit ExclusiveLock(std::string const& path);
    ExclusiveLock(ExclusiveLock const&) = delete;
    ExclusiveLock& operator=(ExclusiveLock const&) = delete;
    ~ExclusiveLock();

private:
    struct Closer
    {
        void operator()(sqlite3* connection) const;
    };
    std::unique_ptr<RestrictedVfs> restrictedVfs; // the connection's
    std::unique_ptr<sqlite3, Closer> connection;
    sqlite3_file* file = nullptr;
};

} // namespace veskdb

#endif
