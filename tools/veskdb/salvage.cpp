#include "tools/veskdb/salvage.h"

#include "libdolmvesk/vesk_status.h"
#include "tools/common/alternate_root.h"
#include "tools/veskdb/created_database.h"
#include "tools/veskdb/damaged_file.h"
#include "tools/veskdb/file_lock.h"
#include "tools/veskdb/file_status.h"
#include "tools/veskdb/held_signals.h"
#include "tools/veskdb/message.h"
#include "tools/veskdb/own_command.h"
#include "tools/veskdb/present.h"
#include "tools/veskdb/refusal.h"
#include "tools/veskdb/replacement.h"
#include "tools/veskdb/sqlite_values.h"
#include "tools/veskdb/status_name.h"
#include "tools/veskdb/value_text.h"

#include <fmt/format.h>
#include <memory>
#include <sqlite3.h>
#include <unistd.h>

namespace veskdb {

namespace {

struct Lost
{
    std::string table;
    std::string key;
    std::string reason;
};

struct StatementCloser
{
    void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
};

/// Whether a row has the version of a file; the new file has its own.
bool isVersionRow(Table const& table, Row const& row)
{
    return table.name == "pcd_meta" && asText(row[0]).compare(0, 6, "schema") == 0;
}

/// Puts the rows that were read into a new database, whose schema may refuse some.
///
/// @return how many were accepted
std::size_t insert(VeskiDataStore& store, Table const& table, SalvagedTable const& salvaged,
                   std::vector<Lost>& lost)
{
    std::string parameters;
    for (std::size_t each = 1; each <= table.columns.size(); ++each) {
        parameters += fmt::format("{}?{}", each == 1 ? "" : ", ", each);
    }
    std::string const text =
        fmt::format("INSERT {} INTO {} ({}) VALUES ({})", table.name == "dependency_type" ? "OR REPLACE" : "",
                    table.name, fmt::join(table.columns, ", "), parameters);
    sqlite3_stmt* compiled = nullptr;
    sqlite3_prepare_v2(store.db, text.c_str(), -1, &compiled, nullptr);
    std::unique_ptr<sqlite3_stmt, StatementCloser> const statement(compiled);
    std::size_t taken = 0;
    for (auto const& [rowid, row] : salvaged.rows) {
        for (std::size_t each = 0; each < row.size(); ++each) {
            bindValue(compiled, static_cast<int>(each) + 1, row[each]);
        }
        if (isVersionRow(table, row) || sqlite3_step(compiled) == SQLITE_DONE) {
            ++taken;
        } else {
            lost.push_back({table.name, keyOf(table, row), sqlite3_errmsg(store.db)});
        }
        sqlite3_reset(compiled);
    }
    return taken;
}

void requireNewTarget(std::string const& target)
{
    struct stat status = {};
    if (lstat(target.c_str(), &status) == 0 && (!S_ISREG(status.st_mode) || status.st_size != 0)) {
        throw Refusal(kExitError,
                      fmt::format("--to '{}' exists already; give the path of a new file", target));
    }
    for (Database const& each : databases) {
        if (target == pathOf(each) || target == backupPathOf(each)) {
            throw Refusal(
                kExitError,
                fmt::format("--to '{}' is where the installer keeps {}; give the path of a new file, "
                            "and restore that",
                            target, each.title));
        }
    }
}

/// Writes a database in memory to a new file.
void write(VeskiDataStore& store, std::string const& target)
{
    sqlite3_int64 size = 0;
    std::unique_ptr<unsigned char, void (*)(void*)> const bytes(sqlite3_serialize(store.db, "main", &size, 0),
                                                                sqlite3_free);
    if (!bytes) {
        throw Refusal(kExitError, fmt::format("'{}': {}", target, describeStatus(kVeskNoMemory)));
    }
    HeldSignals const signals;
    removeTemporaryFilesOf(target);
    Replacement file(target);
    file.write({reinterpret_cast<char const*>(bytes.get()), static_cast<std::size_t>(size)});
    file.setAccess(geteuid(), getegid(), databaseAccess(false).file);
    signals.requireNone();
    file.replaceTarget();
    signals.ignore();
}

} // namespace

int salvage(Options const& options)
{
    Database const& database = options.database();
    std::string const source = options.from.value_or(pathOf(database));
    std::string const target = *options.to;
    auto const status = statusOf(source);
    if (!status || !S_ISREG(status->st_mode)) {
        throw Refusal(
            kExitNotFound,
            fmt::format("'{}': {}", source, status ? "it is not a file" : describeStatus(kVeskNotFound)));
    }
    requireSafe(source);
    requireNewTarget(target);
    if (statusOf(source + "-journal") || statusOf(source + "-wal")) {
        printMessage({"warning: '", source.c_str(),
                      "' has a journal, which is left out; roll it back first, if that works: ",
                      ownCommand(fmt::format("recover {}{}", database.name,
                                             options.from ? " --file " + quotedWord(source) : ""))
                          .c_str()});
    }
    DamagedFile file(FileLock(source, FileLock::Kind::kShared).bytes(), database);
    VeskiDataStore store;
    createInMemory(store, database, newestSchemaVersion(database.store->type));
    store.queryNR("BEGIN");
    Presenter presenter(options.json);
    presenter.begin({"tables",
                     false,
                     {{"table", "TABLE"}, {"read", "READ"}, {"kept", "KEPT"}, {"complete", "COMPLETE"}}});
    std::vector<Lost> lost;
    bool complete = true;
    for (Table const& table : tablesOf(database)) {
        SalvagedTable const salvaged = file.read(table);
        std::size_t const kept = insert(store, table, salvaged, lost);
        for (std::string const& key : salvaged.lost) {
            lost.push_back({table.name, key, "only its key could be read"});
        }
        complete = complete && !salvaged.damaged;
        presenter.add({table.name, static_cast<int64_t>(salvaged.rows.size()), static_cast<int64_t>(kept),
                       !salvaged.damaged});
    }
    store.commit();
    presenter.begin({"lost", false, {{"table", "TABLE"}, {"key", "KEY"}, {"reason", "REASON"}}});
    for (Lost const& each : lost) {
        presenter.add({each.table, each.key, each.reason});
    }
    write(store, target);
    presenter.print();
    printMessage(
        {"'", target.c_str(), "' holds what could be read", complete && lost.empty() ? ", which is all" : "",
         "; to put it in the database's place: ",
         ownCommand(fmt::format("restore {} --from {}", database.name, quotedWord(target))).c_str()});
    return complete && lost.empty() ? kExitDone : kExitNotFound;
}

} // namespace veskdb
