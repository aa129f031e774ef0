#include "tools/veskdb/verify.h"

#include "libdolmvesk/plat_utils.h"
#include "libdolmvesk/schemas.h"
#include "tools/common/alternate_root.h"
#include "tools/veskdb/read.h"
#include "tools/veskdb/status_name.h"

#include <algorithm>
#include <cstring>
#include <fmt/format.h>
#include <iterator>
#include <memory>
#include <set>
#include <sqlite3.h>

namespace veskdb {

using common::alternate_root::quotedFromOutside;

namespace {

/// The tables that a schema family creates.
std::vector<std::string> tablesOf(Database const& database)
{
    constexpr std::string_view create = "CREATE TABLE ";
    std::vector<std::string> names;
    for (SchemaFamily version = database.store->schemas; *version != nullptr; ++version) {
        for (StatementList statement = *version; *statement != nullptr; ++statement) {
            std::string_view const text = *statement;
            if (text.substr(0, create.size()) == create) {
                std::string_view const rest = text.substr(create.size());
                names.emplace_back(rest.substr(0, rest.find_first_of(" (")));
            }
        }
    }
    return names;
}

/// A file is the database whose tables it has; of several, the one with the most.
void checkTables(RecordReader const& reader, Database const& database, std::vector<Fault>& faults)
{
    std::vector<Row> const present = reader.rows("SELECT name FROM sqlite_master WHERE type = 'table'");
    auto const missingOf = [&](Database const& candidate) {
        std::vector<std::string> missing = tablesOf(candidate);
        missing.erase(std::remove_if(missing.begin(), missing.end(),
                                     [&](std::string const& table) {
                                         return std::find(present.begin(), present.end(), Row{table}) !=
                                                present.end();
                                     }),
                      missing.end());
        return missing;
    };
    std::vector<std::string> const missing = missingOf(database);
    if (!missing.empty()) {
        faults.push_back(
            {fmt::format("it is not {}: tables are missing: {}", database.title, fmt::join(missing, ", ")),
             ""});
        return;
    }
    for (Database const& other : databases) {
        if (tablesOf(other).size() > tablesOf(database).size() && missingOf(other).empty()) {
            faults.push_back({fmt::format("it is {}, not {}", other.title, database.title), ""});
        }
    }
}

void checkVersion(RecordReader const& reader, Database const& database, std::vector<Fault>& faults)
{
    int const newest = newestSchemaVersion(database.store->type);
    for (char const* const key : {"schema_version", "schema_compatibility_version"}) {
        auto const rows = reader.rows("SELECT CAST(value AS INTEGER) FROM pcd_meta WHERE key = ?1", {key});
        if (rows.empty()) {
            faults.push_back({fmt::format("the row {} is missing from pcd_meta", key), ""});
        } else if (std::strcmp(key, "schema_compatibility_version") == 0 && rows[0][0] > newest) {
            faults.push_back({fmt::format("it is of a newer version: it can be used from version {} on and "
                                          "this program knows {}",
                                          rows[0][0].dump(), newest),
                              "use the product's newer version"});
        }
    }
}

/// What a database consists of, one line for each trigger, view and column.
char const partsQuery[] =
    "SELECT type || ' ' || name FROM sqlite_master WHERE type IN ('trigger', 'view') UNION "
    "SELECT 'column ' || object.name || '.' || part.name FROM sqlite_master AS object, "
    "pragma_table_info(object.name) AS part WHERE object.type = 'table'";

using Parts = std::set<std::string>;

Parts partsOf(RecordReader const& reader)
{
    Parts parts;
    for (Row const& row : reader.rows(partsQuery)) {
        parts.insert(row[0].get<std::string>());
    }
    return parts;
}

/// The parts of a database as the library creates it.
Parts partsCreated(Database const& database, int version)
{
    sqlite3* opened = nullptr;
    sqlite3_open(":memory:", &opened);
    std::unique_ptr<sqlite3, int (*)(sqlite3*)> const memory(opened, sqlite3_close);
    for (int each = 0; each < version; ++each) {
        for (StatementList text = database.store->schemas[each]; *text != nullptr; ++text) {
            sqlite3_exec(opened, *text, nullptr, nullptr, nullptr);
        }
    }
    Parts parts;
    auto const collect = [](void* into, int /*columns*/, char** texts, char** /*names*/) {
        static_cast<Parts*>(into)->insert(texts[0]);
        return 0;
    };
    sqlite3_exec(opened, partsQuery, collect, &parts, nullptr);
    return parts;
}

std::string without(Parts const& parts, Parts const& taken)
{
    std::vector<std::string> rest;
    std::set_difference(parts.begin(), parts.end(), taken.begin(), taken.end(), std::back_inserter(rest));
    return fmt::format("{}", fmt::join(rest, ", "));
}

void checkParts(RecordReader const& reader, Database const& database, std::vector<Fault>& faults)
{
    auto const rows = reader.rows("SELECT CAST(value AS INTEGER) FROM pcd_meta WHERE key = 'schema_version'");
    int const version = !rows.empty() && rows[0][0] == 1 ? 1 : newestSchemaVersion(database.store->type);
    std::string const missing = without(partsCreated(database, version), partsOf(reader));
    if (!missing.empty()) {
        faults.push_back({fmt::format("it lacks what the installer creates: {}", missing), ""});
    }
}

class Findings
{
public:
    explicit Findings(bool& stillSound) : sound(stillSound) { sound = true; }

    void fault(Database const& database, std::string const& file, std::string const& what,
               std::string const& step)
    {
        sound = false;
        add("fault", database, file, what, step);
    }

    void add(char const* result, Database const& database, std::string const& file, std::string const& what,
             std::string const& step)
    {
        section.rows.push_back({result, database.name, file, what, step});
    }

    bool& sound;
    Section section = {"",
                       false,
                       {{"result", "RESULT"},
                        {"database", "DB"},
                        {"file", "FILE"},
                        {"finding", "FINDING"},
                        {"next", "NEXT STEP"}},
                       {}};
};

/// @param backupSound  whether the library's own backup will do
std::string restoreStep(Database const& database, bool backupSound)
{
    std::string const restore = commandLine(fmt::format("restore {}", database.name));
    std::string const path = quotedFromOutside(pathOf(database));
    return backupSound
               ? restore
               : fmt::format("{} --from FILE, a sound copy; if there is none, as root: mv {} {}.damaged, and "
                             "the installer starts a new one",
                             restore, path, path);
}

void checkAccess(Database const& database, std::string const& path, struct stat const& status,
                 Findings& findings)
{
    bool const folder = S_ISDIR(status.st_mode);
    DatabaseAccess const& access = databaseAccess(database.store->sharedAccess);
    mode_t const mode = folder ? access.folder : access.file;
    if (status.st_uid != access.owner || status.st_gid != access.group) {
        findings.fault(
            database, path,
            fmt::format("its owner is {}, not {}:{}", ownerOf(status), access.owner, access.group),
            fmt::format("as root: chown {}:{} {}", access.owner, access.group, quotedFromOutside(path)));
    }
    if ((status.st_mode & 07777U) != mode) {
        findings.fault(database, path, fmt::format("its mode is {}, not {:04o}", modeOf(status), mode),
                       fmt::format("as root: chmod {:04o} {}", mode, quotedFromOutside(path)));
    }
}

/// What the product itself leaves behind at times: no fault.
void noteLeftovers(Database const& database, std::string const& path, Findings& findings)
{
    struct
    {
        char const* query;
        char const* what;
    } const leftovers[] = {
        {"SELECT count(*) FROM upgraded_payloads WHERE payloadIDOriginal NOT IN (SELECT PayloadID FROM "
         "payloads) OR payloadIDUpgraded NOT IN (SELECT PayloadID FROM payloads)",
         "records of upgrades that name a payload no longer on record"},
        {"SELECT count(*) FROM dependencies WHERE PayloadIDb NOT IN (SELECT PayloadID FROM payloads)",
         "relations to payloads that are not on record"},
    };
    RecordReader const reader(path);
    for (auto const& each : leftovers) {
        Json const count = reader.rows(each.query)[0][0];
        if (count > 0) {
            findings.add("note", database, path, fmt::format("{} {}", count.dump(), each.what), "");
        }
    }
}

/// A backup that others can write would bring their records back.
void checkBackupAccess(Database const& database, std::string const& path, Findings& findings)
{
    auto const status = lookAt(path);
    uid_t const owner = databaseAccess(database.store->sharedAccess).owner;
    if (status && (status->st_uid != owner || (status->st_mode & S_IWOTH) != 0)) {
        findings.fault(database, path,
                       fmt::format("others may write it: its owner is {}, its mode {}", ownerOf(*status),
                                   modeOf(*status)),
                       fmt::format("as root: chown {0} {1}; chmod o-w {1}", owner, quotedFromOutside(path)));
    }
}

/// What somebody has added: a trigger acts on every change.
void checkAdditions(Database const& database, std::string const& path, Findings& findings)
{
    Parts const created = partsCreated(database, newestSchemaVersion(database.store->type));
    for (std::string const& part : partsOf(RecordReader(path))) {
        if (part.compare(0, 6, "column") != 0 && created.count(part) == 0) {
            findings.fault(database, path, fmt::format("it has what the installer does not create: {}", part),
                           "find out who made it and what it does, and drop it if nobody needs it");
        }
    }
}

void checkLiveFile(Database const& database, std::string const& path, struct stat const& status,
                   bool backupSound, Findings& findings)
{
    checkAccess(database, path, status, findings);
    auto const faults = faultsOf(path, database);
    for (Fault const& fault : faults) {
        findings.fault(database, path, fault.what,
                       fault.nextStep.empty() ? restoreStep(database, backupSound) : fault.nextStep);
    }
    if (faults.empty()) {
        checkAdditions(database, path, findings);
        if (lookAt(path + "-journal")) {
            findings.add("note", database, path + "-journal", "a change is under way, or left this behind",
                         "verify again later");
        }
        if (database.store == &payloadDatabase) {
            noteLeftovers(database, path, findings);
        }
    }
}

void checkDatabase(Database const& database, Findings& findings)
{
    std::string const path = pathOf(database);
    std::string const backup = backupPathOf(database);
    bool const hasBackup = database.store->hasBackup && lookAt(backup);
    auto const backupFaults = hasBackup ? faultsOf(backup, database) : std::vector<Fault>();
    bool const backupSound = hasBackup && backupFaults.empty();

    std::size_t const before = findings.section.rows.size();
    requireSafe(path);
    if (auto const folder = lookAt(folderOf(database))) {
        checkAccess(database, folderOf(database), *folder, findings);
    }
    struct stat link = {};
    if (auto const status = lookAt(path)) {
        checkLiveFile(database, path, *status, backupSound, findings);
    } else if (lstat(path.c_str(), &link) == 0) {
        findings.fault(database, path, "it is a link that leads nowhere",
                       fmt::format("as root: rm {}", quotedFromOutside(path)));
    } else if (hasBackup) {
        findings.fault(database, path, describeStatus(kVeskNeedsRestore), restoreStep(database, backupSound));
    } else {
        findings.add("note", database, path, "nothing has been recorded yet", "");
    }
    bool const sound = findings.section.rows.size() == before;
    if (sound) {
        findings.add("ok", database, path, "sound", "");
    }
    if (hasBackup) {
        std::size_t const beforeBackup = findings.section.rows.size();
        for (Fault const& fault : backupFaults) {
            std::string const anew = sound ? commandLine(fmt::format("backup {}", database.name))
                                           : "after the database itself is sound: " +
                                                 commandLine(fmt::format("backup {}", database.name));
            findings.fault(database, backup, fmt::format("the backup will not do: {}", fault.what),
                           fault.nextStep.empty() ? anew : fault.nextStep);
        }
        std::string folder;
        veskiPathParent(backup, folder);
        checkBackupAccess(database, folder, findings);
        checkBackupAccess(database, backup, findings);
        if (findings.section.rows.size() == beforeBackup) {
            findings.add("ok", database, backup, "sound", "");
        }
    }
}

} // namespace

std::vector<Fault> faultsOf(std::string const& path, Database const& database)
{
    std::vector<Fault> faults;
    try {
        RecordReader const reader(path);
        for (Row const& row : reader.rows("PRAGMA integrity_check")) {
            if (row[0] != "ok") {
                faults.push_back({row[0].get<std::string>(), ""});
            }
        }
        checkTables(reader, database, faults);
        if (faults.empty()) {
            checkVersion(reader, database, faults);
        }
        if (faults.empty()) {
            checkParts(reader, database, faults);
        }
    } catch (Unreadable const& unreadable) {
        faults.push_back({unreadable.what(), unreadable.nextStep});
    } catch (Refusal const& refusal) {
        faults.push_back({refusal.what(), "run this as a user who may look there"});
    }
    return faults;
}

std::vector<Section> verify(Options const& options, bool& sound)
{
    Findings findings(sound);
    for (Database const& database : databases) {
        bool const named =
            std::find(options.named.begin(), options.named.end(), &database) != options.named.end();
        if (named || options.named.empty()) {
            try {
                checkDatabase(database, findings);
            } catch (Unreadable const& unreadable) {
                findings.fault(database, pathOf(database), unreadable.what(), unreadable.nextStep);
            } catch (std::exception const& error) {
                findings.fault(database, pathOf(database), error.what(),
                               "run this as a user who may look there");
            }
        }
    }
    return {findings.section};
}

} // namespace veskdb
