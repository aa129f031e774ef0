/// SQLite's locks on a database file.
#ifndef TOOLS_VESKDB_FILE_LOCK_H
#define TOOLS_VESKDB_FILE_LOCK_H

#include "libdolmvesk/shared_folder.h"

#include <memory>
#include <string>

struct sqlite3;
struct sqlite3_file;

namespace veskdb {

/// SQLite's own lock on a database file, whatever the file contains: a damaged one must be replaced, or read, as safely
/// as a sound one.
class FileLock
{
public:
    enum class Kind
    {
        kShared,   ///< no process writes during its lifetime
        kExclusive ///< no process reads or writes during its lifetime
    };

    /// Waits for other programs' locks as long as the record library does.
    ///
    /// @throws Refusal (kExitError)
    FileLock(std::string const& path, Kind kind);

    /// Reads the whole file. Blocks that the disk cannot read become zeros.
    std::string bytes() const;

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
