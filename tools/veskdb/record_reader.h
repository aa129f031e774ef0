/// Reads a database file with SQLite alone. A session of the record library would create, upgrade, re-mode and
/// back up; this leaves every byte, mode and date as it is, and works for every user who may read the file.
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

    std::string nextStep; ///< what to do; empty when the file is damaged
};

/// Refuses a file that the record library would not open either, as the super-user.
///
/// @throws Unreadable
void requireSafe(std::string const& path);

/// Whether the file's header says that changes are kept in a log next to it.
bool isInWriteAheadMode(std::string const& path);

/// Whether a journal holds nothing to roll back.
bool isStaleJournal(std::string const& journal);

class RecordReader;

/// The rows of one query, in turn.
class Cursor
{
public:
    /// Goes on to the next row.
    ///
    /// @return false at the end
    /// @throws Unreadable
    bool next();

    /// The row that next has read; it changes with the next one.
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

/// One read transaction: all rows are of the same moment, and no process changes the file while this lives.
///
/// What is read is bounded, because anything may have written the file: a query ends after ten seconds and a second
/// for each 10 MiB of the file, SQLite takes at most 192 MiB and some times the file's size, and rows take at most
/// 32 MiB and eight times the file's size. No view is read, and nothing in a schema can call a function that takes arguments.
class RecordReader
{
public:
    /// Waits for a lock for as long as the record library does.
    ///
    /// Refuses a file in write-ahead mode, or with such a log next to it, because SQLite creates files to read
    /// one, and a file next to which a change has left its journal.
    ///
    /// @param heapPerByte  how many bytes SQLite may take for each byte of the file, besides 192 MiB: a value that is
    ///                     as large as the file takes some copies
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

    /// Bytes of the file.
    int64_t size() const { return fileSize; }

    /// Reads bytes of the file through SQLite: any other descriptor of it, once closed, would drop the lock.
    ///
    /// @param offset  with the size within the file
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
