/// Reads a database file with SQLite alone. A session of the record library would create, upgrade, re-mode and
/// back up; this leaves every byte, mode and date as it is, and works for whoever may read the file.
#ifndef TOOLS_VESKDB_RECORD_READER_H
#define TOOLS_VESKDB_RECORD_READER_H

#include "libdolmvesk/shared_folder.h"
#include "tools/veskdb/records.h"

#include <memory>
#include <stdexcept>

struct sqlite3;

namespace veskdb {

/// A file cannot be read as a database. what() names the file and the reason.
class Unreadable : public std::runtime_error
{
public:
    Unreadable(std::string const& message, std::string step)
        : std::runtime_error(message), nextStep(std::move(step))
    {
    }

    std::string nextStep; ///< what to do; empty when the file is damaged
};

/// Refuses a file that the record library would not open either, as the super-user.
///
/// @throws Unreadable
void requireSafe(std::string const& path);

/// One read transaction: all rows are of the same moment, and no process changes the file while this lives.
class RecordReader
{
public:
    /// Waits for a lock for up to 2000 milliseconds.
    ///
    /// Refuses a file in write-ahead mode, or with such a log next to it, because SQLite creates files to read
    /// one, and a file next to which a change has left its journal. No view is read.
    ///
    /// @throws Unreadable
    explicit RecordReader(std::string const& path);

    /// Runs a query, its parameters ?1, ?2, ... bound to the texts.
    ///
    /// @throws Unreadable
    std::vector<Row> rows(std::string const& query, std::vector<std::string> const& parameters = {}) const;

private:
    void requireNoLeftoverJournal() const;
    [[noreturn]] void refuse(int code) const;

    struct Closer
    {
        void operator()(sqlite3* connection) const;
    };
    std::string path;
    std::unique_ptr<RestrictedVfs> restrictedVfs; // the connection's
    std::unique_ptr<sqlite3, Closer> database;
};

} // namespace veskdb

#endif
