/// Reads a database file with SQLite alone. Unlike a session of the record library, it creates, upgrades and backs up
/// nothing, leaves every byte, mode and date unchanged, and works for every user who may read the file.
#ifndef TOOLS_VESKDB_RECORD_READER_H
#define TOOLS_VESKDB_RECORD_READER_H

#include "libdolmvesk/shared_folder.h"
#include "tools/veskdb/records.h"

#include <chrono>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

struct sqlite3;
struct sqlite3_stmt;

namespace veskdb {

/// A file cannot be read as a database. what() names the file and the reason.
class Unreadable : public std::runtime_error
{
public:
    Unreadable(std::string const& message, std::string step)
        : std::runtime_error(message), nextStep(std::move(step))
    {
    }

    std::string nextStep; ///< what to do; empty if the file is damaged
};

/// Refuses a file that the record library, run by the super-user, would not open either.
///
/// @throws Unreadable
void requireSafe(std::string const& path);

/// Whether the file's header marks it as in write-ahead mode.
bool isInWriteAheadMode(std::string const& path);

/// Whether a journal is a file that has nothing to roll back.
bool isStaleJournal(std::string const& journal);

class RecordReader;

/// The rows of one query, in turn.
class Cursor
{
public:
    /// Moves to the next row.
    ///
    /// @return false at the end
    /// @throws Unreadable
    bool next();

    /// The row that next has read; valid until next is called again.
    Row const& row() const { return values; }

private:
    friend class RecordReader;
    Cursor(RecordReader const& source, sqlite3_stmt* compiled);

    struct Closer
    {
        void operator()(sqlite3_stmt* statement) const;
    };
    RecordReader const* reader;
    std::unique_ptr<sqlite3_stmt, Closer> statement;
    Row values;
};

/// One read transaction: no process changes the file during its lifetime, so all rows belong together.
///
/// The file may be crafted, so reading is limited: a query ends after ten seconds and a second for each 10 MiB of the
/// file, SQLite takes at most 192 MiB and some times the file's size, and rows take at most 32 MiB and eight times the
/// file's size. No view is read, and nothing in a schema can call a function that takes arguments.
class RecordReader
{
public:
    /// Waits for a lock as long as the record library does.
    ///
    /// Refuses a file in write-ahead mode or with such a log next to it, because SQLite would create files to read it,
    /// and a file with the journal of an interrupted change.
    ///
    /// @param heapPerByte  how many bytes SQLite may take for each byte of the file, in addition to 192 MiB: it copies
    ///                     a value, which may be as large as the file, several times
    /// @throws Unreadable
    explicit RecordReader(std::string const& path, int64_t heapPerByte = 4);
    RecordReader(RecordReader const&) = delete;
    RecordReader& operator=(RecordReader const&) = delete;
    ~RecordReader();

    /// Runs a query, its parameters ?1, ?2, ... bound to the texts.
    ///
    /// @throws Unreadable
    std::vector<Row> rows(std::string const& query, std::vector<std::string> const& parameters = {}) const;

    /// The same, row by row.
    ///
    /// @return lives no longer than this object
    /// @throws Unreadable
    Cursor query(std::string const& query, std::vector<std::string> const& parameters = {}) const;

    /// The file's size in bytes.
    int64_t size() const { return fileSize; }

    /// Reads bytes of the file through SQLite: closing any other descriptor of it would release the lock.
    ///
    /// @param size    in bytes
    /// @param offset  in bytes; the range must be inside the file
    /// @return whether they were read
    bool readBytes(char* buffer, int size, int64_t offset) const;

private:
    friend class Cursor;
    void requireNoLeftoverJournal() const;
    void limit(int64_t heapPerByte);
    [[noreturn]] void refuse(int code) const;

    struct Closer
    {
        void operator()(sqlite3* connection) const;
    };
    std::string path;
    int64_t fileSize = 0;
    std::chrono::steady_clock::time_point end;
    std::chrono::seconds allowedTime{0};
    mutable int64_t allowedBytes = 0;             ///< of rows
    std::unique_ptr<RestrictedVfs> restrictedVfs; ///< the connection's
    mutable std::unique_ptr<sqlite3, Closer> database;
};

} // namespace veskdb

#endif
