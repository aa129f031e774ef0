#include "tools/veskdb/change.h"

#include "tools/veskdb/file_status.h"
#include "tools/veskdb/message.h"
#include "tools/veskdb/open_to_read.h"
#include "tools/veskdb/own_command.h"
#include "tools/veskdb/refusal.h"
#include "tools/veskdb/status_name.h"
#include "tools/veskdb/system_error.h"

#include <fmt/format.h>
#include <sqlite3.h>

namespace veskdb {

namespace {

constexpr int instructionsBetweenLooks = 100000; // of SQLite's virtual machine: some milliseconds

/// After a commit the library backs up the catalogue, but does not report whether that succeeded.
void reportLostBackup() noexcept
{
    try {
        Database const& copied = databaseNamed("vesk");
        auto const live = statusOf(pathOf(copied));
        auto const copy = statusOf(backupPathOf(copied));
        if (live && (!copy || copy->st_size != live->st_size)) {
            printMessage(
                {"the change was made, but the catalogue's backup is incomplete; when there is room, run: ",
                 ownCommand("backup vesk").c_str()});
        }
    } catch (std::exception const&) { // a user who may not look there cannot repair it either
    }
}

} // namespace

Change::Change(Database const& changed, WhenMissing whenMissing) : database(changed)
{
    requireNotLost(database);
    std::string const what = fmt::format("{}, '{}'", database.title, pathOf(database));
    int32_t status =
        whenMissing == WhenMissing::kCreate ? database.open(&session) : database.openExisting(&session);
    if (status == kVeskNotFound && statusOf(pathOf(database))) {
        throw Refusal(kExitError,
                      fmt::format("{}: a row of its version is missing: kVeskNotFound ({}); see {}", what,
                                  kVeskNotFound, ownCommand("verify")));
    }
    if (status == kVeskOK) {
        // So that signals interrupt an endless statement, such as one in a crafted trigger.
        sqlite3_progress_handler(
            session->store->db, instructionsBetweenLooks,
            [](void* held) { return static_cast<HeldSignals const*>(held)->anyIsPending() ? 1 : 0; },
            &signals);
        status = session->store->queryNR("BEGIN IMMEDIATE");
    }
    require(status, what);
}

Change::~Change()
{
    end();
}

void Change::require(int32_t status, std::string const& what)
{
    if (status == kVeskOK) {
        return;
    }
    std::string const path = pathOf(database);
    std::string reason;
    if (session != nullptr) {
        reason = reasonForFailure(path);
    } else {
        reason = reasonFor(SQLITE_CANTOPEN, 0, path);
    }
    end();                 // which drops the locks
    signals.requireNone(); // what failed may be a statement that a signal has interrupted
    if (status == kVeskBusy) {
        reason = reasonForBusy(path);
    }
    throw Refusal(status == kVeskNotFound ? kExitNotFound : kExitError,
                  fmt::format("{}: {}", what, describeStatus(status, reason)));
}

/// Why the last call on the session failed. A database that could not be created has no tables: another attempt to
/// create them finds the reason.
std::string Change::reasonForFailure(std::string const& path)
{
    sqlite3* const connection = session->store != nullptr ? session->store->db : nullptr;
    if (connection == nullptr) {
        return "";
    }
    int code = sqlite3_errcode(connection);
    if (code == SQLITE_ERROR) {
        sqlite3_exec(connection, "BEGIN", nullptr, nullptr, nullptr); // unless the transaction is still open
        code = SQLITE_OK;
        for (StatementList each = database.store->schemas[0]; *each != nullptr && code == SQLITE_OK; ++each) {
            code = sqlite3_exec(connection, *each, nullptr, nullptr, nullptr);
        }
        code = code == SQLITE_OK ? sqlite3_db_cacheflush(connection) : code;
    }
    return reasonFor(code, sqlite3_system_errno(connection), path);
}

void Change::commit()
{
    signals.requireNone();
    require(database.commit(session), fmt::format("committing to '{}'", pathOf(database)));
    signals.ignore();
    if (database.store == &payloadDatabase) {
        reportLostBackup();
    }
}

/// Closing commits: if the roll-back fails, the session stays open, and SQLite rolls back at the next opening. A
/// payload session is closed like any other, which refreshes no backup: a commit has already done so, and a refusal
/// must not.
void Change::end()
{
    if (session != nullptr && veskSessionRollback(session) == kVeskOK) {
        veskCloseSession(session);
    }
    session = nullptr;
}

} // namespace veskdb
