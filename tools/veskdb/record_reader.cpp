#include "tools/veskdb/record_reader.h"

#include "libdolmvesk/database.h"
#include "libdolmvesk/plat_utils.h"
#include "libdolmvesk/shared_folder.h"
#include "platform/descriptor.h"
#include "tools/common/alternate_root.h"
#include "tools/veskdb/databases.h"
#include "tools/veskdb/file_status.h"
#include "tools/veskdb/own_command.h"
#include "tools/veskdb/sqlite_values.h"
#include "tools/veskdb/status_name.h"
#include "tools/veskdb/system_error.h"
#include "tools/veskdb/value_text.h"

#include <algorithm>
#include <fcntl.h>
#include <fmt/format.h>
#include <optional>
#include <sqlite3.h>
#include <unistd.h>

namespace veskdb {

using common::alternate_root::quotedFromOutside;

namespace {

constexpr int64_t mebibyte = 1 << 20;
constexpr int64_t heapLimit = 192 * mebibyte;
constexpr int instructionsBetweenLooks = 10000; // of SQLite's virtual machine

int64_t bytesOf(Value const& value)
{
    auto const* const text = bytesIn(value);
    return static_cast<int64_t>(sizeof value + (text != nullptr ? text->size() : 0));
}

/// Limits what SQLite allocates in this process; 0: no limit.
void limitHeap(int64_t bytes)
{
#if SQLITE_VERSION_NUMBER >= 3031000
    sqlite3_hard_heap_limit64(bytes);
#else
    sqlite3_soft_heap_limit64(bytes);
#endif
}

/// Reads one byte of a regular file; 0 behind its end. Other users may exchange the file at any moment: this does not
/// block on a FIFO and, as the super-user, follows no link of theirs.
///
/// @return nothing if it cannot be read
std::optional<char> byteAt(std::string const& path, off_t offset)
{
    int const links = geteuid() == 0 && veskiOthersMayWriteIn(folderPart(path)) ? O_NOFOLLOW : 0;
    platform::Descriptor const file(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC | links));
    struct stat status = {};
    char byte = 0;
    bool const read = fstat(file.get(), &status) == 0 && S_ISREG(status.st_mode) &&
                      pread(file.get(), &byte, 1, offset) >= 0;
    return read ? std::optional(byte) : std::nullopt;
}

/// The command that rolls back the unfinished change of a killed program.
std::string recovery(std::string const& path)
{
    for (Database const& database : databases) {
        if (path == pathOf(database)) {
            return ownCommand(fmt::format("recover {}", database.name));
        }
    }
    return ownCommand(fmt::format("recover DB --file {}", quotedWord(path)));
}

} // namespace

void requireSafe(std::string const& path)
{
    std::string const folder = folderPart(path);
    if (!veskiMayOpenDatabase(folder, path)) {
        throw Unreadable(
            fmt::format("'{}', or its journal, is not safe to open: a link, a file with several "
                        "hard links, or no regular file",
                        path),
            fmt::format(
                "as root, look at what another user has put there: ls -la {}; the other name of a hard "
                "link: find / -xdev -samefile {}",
                quotedFromOutside(folder), quotedFromOutside(path)));
    }
}

bool isInWriteAheadMode(std::string const& path)
{
    constexpr off_t readVersion = 19;
    return byteAt(path, readVersion) == 2;
}

bool isStaleJournal(std::string const& journal)
{
    return byteAt(journal, 0) == 0;
}

void RecordReader::Closer::operator()(sqlite3* connection) const
{
    sqlite3_close(connection);
}

RecordReader::RecordReader(std::string const& file, int64_t heapPerByte) : path(file)
{
    requireSafe(path);
    auto const status = statusOf(path);
    if (!status || !S_ISREG(status->st_mode)) {
        throw Unreadable(fmt::format("'{}' is not a file", path), "move it away");
    }
    if (isInWriteAheadMode(path) || statusOf(path + "-wal")) {
        throw Unreadable(
            fmt::format("'{}' is in write-ahead mode or has such a log next to it (-wal), which the "
                        "installer cannot read",
                        path),
            recovery(path));
    }
    sqlite3* opened = nullptr;
    int const flags = SQLITE_OPEN_READONLY | SQLITE_OPEN_NOMUTEX; // one thread uses it
    int const code = veskiOpenConnection(folderPart(path), path, flags, restrictedVfs, &opened);
    database.reset(opened);
    if (code != SQLITE_OK) {
        refuse(code);
    }
    sqlite3_busy_timeout(opened, busyTimeoutMilliseconds);
    fileSize = status->st_size;
    limit(heapPerByte);
    requireNoLeftoverJournal();
    rows("BEGIN");
    rows("SELECT count(*) FROM sqlite_master"); // takes the lock
    auto const locked = statusOf(path);
    fileSize = locked ? int64_t{locked->st_size} : fileSize;
    limit(heapPerByte);
}

RecordReader::~RecordReader()
{
    limitHeap(0);
}

/// Limits what the file can make SQLite do. A clock alone is not enough: SQLite checks it only between VDBE
/// instructions.
void RecordReader::limit(int64_t heapPerByte)
{
    sqlite3* const connection = database.get();
    sqlite3_db_config(connection, SQLITE_DBCONFIG_ENABLE_VIEW, 0, nullptr);
    sqlite3_limit(connection, SQLITE_LIMIT_FUNCTION_ARG, 0);
    sqlite3_limit(connection, SQLITE_LIMIT_LIKE_PATTERN_LENGTH, 0);
    sqlite3_limit(connection, SQLITE_LIMIT_LENGTH,
                  static_cast<int>(std::clamp<int64_t>(fileSize, mebibyte, 1000 * mebibyte)));
    limitHeap(heapLimit + heapPerByte * fileSize);
    allowedTime = std::chrono::seconds(10 + fileSize / (10 * mebibyte));
    allowedBytes = 32 * mebibyte + 8 * fileSize;
    end = std::chrono::steady_clock::now() + allowedTime;
    sqlite3_progress_handler(
        connection, instructionsBetweenLooks,
        [](void* reader) {
            return std::chrono::steady_clock::now() > static_cast<RecordReader const*>(reader)->end ? 1 : 0;
        },
        this);
}

/// Refuses a journal that no process is writing: if root read the database, SQLite would change even the journal's
/// owner.
void RecordReader::requireNoLeftoverJournal() const
{
    std::string const journal = path + "-journal";
    sqlite3_file* file = nullptr;
    int writing = 0;
    if (!statusOf(journal) ||
        (sqlite3_file_control(database.get(), "main", SQLITE_FCNTL_FILE_POINTER, &file) == SQLITE_OK &&
         file->pMethods->xCheckReservedLock(file, &writing) == SQLITE_OK && writing != 0)) {
        return;
    }
    if (isStaleJournal(journal)) {
        throw Unreadable(fmt::format("'{}' has a stale journal, '{}'", path, journal), recovery(path));
    }
    throw Unreadable(
        fmt::format("'{}' is in the middle of a change that was interrupted: '{}' holds what is to be "
                    "rolled back",
                    path, journal),
        recovery(path));
}

void Cursor::Closer::operator()(sqlite3_stmt* each) const
{
    sqlite3_finalize(each);
}

Cursor::Cursor(RecordReader const& source, sqlite3_stmt* compiled)
    : reader(&source), statement(compiled), values(static_cast<std::size_t>(sqlite3_column_count(compiled)))
{
}

bool Cursor::next()
{
    int code = sqlite3_step(statement.get());
    if (code == SQLITE_ROW) {
        for (std::size_t column = 0; column < values.size(); ++column) {
            readValue(statement.get(), static_cast<int>(column), values[column]);
            reader->allowedBytes -= bytesOf(values[column]);
        }
        if (reader->allowedBytes >= 0 && sqlite3_errcode(reader->database.get()) != SQLITE_NOMEM) {
            return true;
        }
        code = SQLITE_TOOBIG;
    }
    statement.reset();
    if (code != SQLITE_DONE) {
        reader->refuse(code);
    }
    return false;
}

Cursor RecordReader::query(std::string const& query, std::vector<std::string> const& parameters) const
{
    sqlite3_stmt* compiled = nullptr;
    int code = sqlite3_prepare_v2(database.get(), query.c_str(), -1, &compiled, nullptr);
    Cursor cursor(*this, compiled);
    for (std::size_t each = 0; code == SQLITE_OK && each < parameters.size(); ++each) {
        code = sqlite3_bind_text(compiled, static_cast<int>(each) + 1, parameters[each].data(),
                                 static_cast<int>(parameters[each].size()), SQLITE_TRANSIENT);
    }
    if (code != SQLITE_OK) {
        refuse(code);
    }
    return cursor;
}

std::vector<Row> RecordReader::rows(std::string const& text, std::vector<std::string> const& parameters) const
{
    std::vector<Row> result;
    Cursor cursor = query(text, parameters);
    while (cursor.next()) {
        result.push_back(cursor.row());
    }
    return result;
}

bool RecordReader::readBytes(char* buffer, int size, int64_t offset) const
{
    sqlite3_file* file = nullptr;
    return sqlite3_file_control(database.get(), "main", SQLITE_FCNTL_FILE_POINTER, &file) == SQLITE_OK &&
           file->pMethods->xRead(file, buffer, size, offset) == SQLITE_OK;
}

void RecordReader::refuse(int code) const
{
    std::string const detail = escaped(sqlite3_errmsg(database.get()));
    std::string reason = reasonFor(database.get(), path);
    code &= 0xFF;
    if (code == SQLITE_BUSY) {
        database.reset(); // which drops the locks
        reason = reasonForBusy(path);
    }
    std::string const message =
        fmt::format("'{}': {}: {}", path, detail, describeStatus(veskiSQLiteErrorMap(code), reason));
    switch (code) {
    case SQLITE_BUSY:
        throw Unreadable(message, reason.empty() ? "try again when the other program has ended"
                                                 : "copy the file to a file system with locks");
    case SQLITE_INTERRUPT:
        throw Unreadable(
            fmt::format("'{}': it takes more than {} seconds to read, which its size does not explain", path,
                        allowedTime.count()),
            "");
    case SQLITE_NOMEM:
    case SQLITE_TOOBIG:
        throw Unreadable(fmt::format("'{}': it takes more memory to read than is allowed for its size", path),
                         "");
    case SQLITE_CANTOPEN:
    case SQLITE_PERM:
        throw Unreadable(message, "run this as a user who may read the file");
    default:
        throw Unreadable(message, "");
    }
}

} // namespace veskdb
