#include "tools/veskdb/recover.h"

#include "libdolmvesk/database.h"
#include "libdolmvesk/shared_folder.h"
#include "tools/veskdb/file_status.h"
#include "tools/veskdb/held_signals.h"
#include "tools/veskdb/message.h"
#include "tools/veskdb/own_command.h"
#include "tools/veskdb/record_reader.h"
#include "tools/veskdb/refusal.h"
#include "tools/veskdb/soundness.h"
#include "tools/veskdb/status_name.h"
#include "tools/veskdb/system_error.h"
#include "tools/veskdb/value_text.h"

#include <fmt/format.h>
#include <memory>
#include <sqlite3.h>
#include <unistd.h>

namespace veskdb {

namespace {

bool hasLeftovers(std::string const& path)
{
    return statusOf(path + "-journal") || statusOf(path + "-wal") || isInWriteAheadMode(path);
}

/// One connection that may write.
class Recovery
{
public:
    explicit Recovery(std::string const& file) : path(file)
    {
        sqlite3* opened = nullptr;
        int const code =
            veskiOpenConnection(folderPart(path), path, SQLITE_OPEN_READWRITE, restrictedVfs, &opened);
        connection.reset(opened);
        if (code != SQLITE_OK) {
            refuse(code);
        }
        sqlite3_busy_timeout(opened, busyTimeoutMilliseconds);
    }

    void run(char const* statement)
    {
        int const code = sqlite3_exec(connection.get(), statement, nullptr, nullptr, nullptr);
        if (code != SQLITE_OK) {
            refuse(code);
        }
    }

private:
    [[noreturn]] void refuse(int code)
    {
        std::string const detail = escaped(sqlite3_errmsg(connection.get()));
        std::string const reason = reasonFor(connection.get(), path);
        connection.reset();
        throw Refusal(kExitError,
                      fmt::format("'{}' cannot be recovered: {}: {}", path, detail,
                                  describeStatus(veskiSQLiteErrorMap(code & 0xFF),
                                                 code == SQLITE_BUSY ? reasonForBusy(path) : reason)));
    }

    struct Closer
    {
        void operator()(sqlite3* each) const { sqlite3_close(each); }
    };
    std::string const& path;
    std::unique_ptr<RestrictedVfs> restrictedVfs; // the connection's
    std::unique_ptr<sqlite3, Closer> connection;
};

} // namespace

int recover(Options const& options)
{
    Database const& database = options.database();
    std::string const path = options.file.value_or(pathOf(database));
    auto const status = statusOf(path);
    if (!status) {
        throw Refusal(kExitNotFound,
                      fmt::format("{}, '{}': {}", database.title, path, describeStatus(kVeskNotFound)));
    }
    requireFile(path, status);
    requireSafe(path);
    if (!hasLeftovers(path)) {
        printMessage({"'", path.c_str(), "': there is nothing to recover"});
        return kExitDone;
    }
    HeldSignals const signals;
    signals.requireNone();
    {
        Recovery recovery(path);
        if (isInWriteAheadMode(path)) {
            recovery.run(
                "PRAGMA locking_mode = EXCLUSIVE"); // reads the log without memory shared with other processes
        }
        recovery.run("SELECT count(*) FROM sqlite_master; PRAGMA journal_mode = DELETE");
        recovery.run("BEGIN EXCLUSIVE");
        // No process is writing, so an empty journal or log is stale.
        std::string const journal = path + "-journal";
        if (isStaleJournal(journal)) {
            unlink(journal.c_str());
        }
        auto const log = statusOf(path + "-wal");
        if (log && log->st_size == 0) {
            unlink((path + "-wal").c_str());
        }
        recovery.run("COMMIT");
    }
    signals.ignore();
    printMessage({"'", path.c_str(), "': what an interrupted change had left was rolled back"});
    Findings const found = examine(path, database);
    if (!found.faults.empty()) {
        throw Refusal(kExitNotFound,
                      fmt::format("'{}' is not sound: {}; see {}", path, escaped(found.faults.front().what),
                                  ownCommand(fmt::format("verify {}", database.name))));
    }
    return kExitDone;
}

} // namespace veskdb
