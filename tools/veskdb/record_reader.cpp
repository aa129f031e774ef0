#include "tools/veskdb/record_reader.h"

#include "libdolmvesk/database.h"
#include "libdolmvesk/plat_utils.h"
#include "libdolmvesk/shared_folder.h"
#include "tools/common/alternate_root.h"
#include "tools/veskdb/file_status.h"
#include "tools/veskdb/status_name.h"
#include "tools/veskdb/value_text.h"

#include <array>
#include <fmt/format.h>
#include <fstream>
#include <sqlite3.h>

namespace veskdb {

using common::alternate_root::quotedFromOutside;

namespace {

struct StatementCloser
{
    void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
};

/// Whether the file's header says that changes are kept in a log next to it.
bool isInWriteAheadMode(std::string const& path)
{
    constexpr std::size_t readVersion = 19;
    std::array<char, readVersion + 1> header = {};
    std::ifstream(path, std::ios::binary).read(header.data(), header.size());
    return header[readVersion] == 2;
}

Value valueOf(sqlite3_stmt* statement, int column)
{
    switch (sqlite3_column_type(statement, column)) {
    case SQLITE_INTEGER:
        return int64_t{sqlite3_column_int64(statement, column)};
    case SQLITE_FLOAT:
        return sqlite3_column_double(statement, column);
    case SQLITE_NULL:
        return nullptr;
    default:
        auto const* const bytes = reinterpret_cast<char const*>(sqlite3_column_text(statement, column));
        return std::string(bytes != nullptr ? bytes : "",
                           static_cast<std::size_t>(sqlite3_column_bytes(statement, column)));
    }
}

std::string removal(std::string const& file)
{
    return fmt::format("as root, once no program uses the database: rm {}", quotedFromOutside(file));
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

void RecordReader::Closer::operator()(sqlite3* connection) const
{
    sqlite3_close(connection);
}

RecordReader::RecordReader(std::string const& file) : path(file)
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
            statusOf(path + "-wal") && statusOf(path + "-wal")->st_size == 0
                ? removal(path + "-wal")
                : fmt::format("as root: sqlite3 {} 'PRAGMA journal_mode=DELETE'", quotedFromOutside(path)));
    }
    std::string folder;
    veskiPathParent(path, folder);
    sqlite3* opened = nullptr;
    int const code = veskiOpenConnection(folder, path, SQLITE_OPEN_READONLY, restrictedVfs, &opened);
    database.reset(opened);
    if (code != SQLITE_OK) {
        refuse(code);
    }
    sqlite3_busy_timeout(opened, busyTimeoutMilliseconds);
    // None of the databases has a view; a crafted one in a table's place need not end.
    sqlite3_db_config(opened, SQLITE_DBCONFIG_ENABLE_VIEW, 0, nullptr);
    requireNoLeftoverJournal();
    rows("BEGIN");
    rows("SELECT count(*) FROM sqlite_master"); // takes the lock
}

/// Refuses a journal that no process is writing: if root read the database, SQLite would change even the journal's
/// owner.
void RecordReader::requireNoLeftoverJournal() const
{
    std::string const journal = path + "-journal";
    auto const status = statusOf(journal);
    sqlite3_file* file = nullptr;
    int writing = 0;
    if (!status ||
        (sqlite3_file_control(database.get(), "main", SQLITE_FCNTL_FILE_POINTER, &file) == SQLITE_OK &&
         file->pMethods->xCheckReservedLock(file, &writing) == SQLITE_OK && writing != 0)) {
        return;
    }
    bool const over = status->st_size == 0 || std::ifstream(journal, std::ios::binary).get() == 0;
    if (over) {
        throw Unreadable(fmt::format("'{}' has a stale journal: '{}'", path, journal), removal(journal));
    }
    throw Unreadable(fmt::format("'{}' is in the middle of a change that was interrupted: '{}' is left over",
                                 path, journal),
                     fmt::format("as root, undo the change: sqlite3 {} 'SELECT * FROM pcd_meta'",
                                 quotedFromOutside(path)));
}

std::vector<Row> RecordReader::rows(std::string const& query,
                                    std::vector<std::string> const& parameters) const
{
    sqlite3_stmt* compiled = nullptr;
    int code = sqlite3_prepare_v2(database.get(), query.c_str(), -1, &compiled, nullptr);
    std::unique_ptr<sqlite3_stmt, StatementCloser> const statement(compiled);
    for (std::size_t each = 0; code == SQLITE_OK && each < parameters.size(); ++each) {
        code = sqlite3_bind_text(compiled, static_cast<int>(each) + 1, parameters[each].c_str(), -1,
                                 SQLITE_TRANSIENT);
    }
    if (code != SQLITE_OK) {
        refuse(code);
    }
    std::vector<Row> result;
    while ((code = sqlite3_step(compiled)) == SQLITE_ROW) {
        Row& row = result.emplace_back();
        for (int column = 0; column < sqlite3_column_count(compiled); ++column) {
            row.push_back(valueOf(compiled, column));
        }
    }
    if (code != SQLITE_DONE) {
        refuse(code);
    }
    return result;
}

void RecordReader::refuse(int code) const
{
    std::string const message = fmt::format("'{}': {}: {}", path, escaped(sqlite3_errmsg(database.get())),
                                            describeStatus(veskiSQLiteErrorMap(code)));
    switch (code) {
    case SQLITE_BUSY:
        throw Unreadable(message, "try again when the other program has ended");
    case SQLITE_CANTOPEN:
    case SQLITE_PERM:
        throw Unreadable(message, "run this as a user who may read the file");
    default:
        throw Unreadable(message, "");
    }
}

} // namespace veskdb
