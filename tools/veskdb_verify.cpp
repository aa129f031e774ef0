#include "tools/veskdb_verify.h"

#include "libdolmvesk/plat_utils.h"
#include "libdolmvesk/schemas.h"
#include "tools/status_name.h"
#include "tools/veskdb_read.h"

#include <algorithm>
#include <cstring>
#include <fmt/format.h>

namespace {

constexpr uid_t owner = 0;
constexpr gid_t group = 80;

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

int newestVersion(Database const& database)
{
    int version = 0;
    while (database.store->schemas[version] != nullptr) {
        ++version;
    }
    return version;
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
    int const newest = newestVersion(database);
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

std::string restoreStep(Database const& database)
{
    return fmt::format("veskdb restore {}{}", database.name,
                       database.hasBackup ? "" : " --from FILE, a sound copy");
}

void checkAccess(Database const& database, std::string const& path, struct stat const& status,
                 Findings& findings)
{
    bool const folder = S_ISDIR(status.st_mode);
    bool const shared = database.store->sharedAccess;
    mode_t const mode = folder ? (shared ? 01777 : 0755) : (shared ? 0666 : 0644);
    if (status.st_uid != owner || status.st_gid != group) {
        findings.fault(database, path,
                       fmt::format("its owner is {}, not {}:{}", ownerOf(status), owner, group),
                       fmt::format("as root: chown {}:{} '{}'", owner, group, path));
    }
    if ((status.st_mode & 07777U) != mode) {
        findings.fault(database, path, fmt::format("its mode is {}, not {:04o}", modeOf(status), mode),
                       fmt::format("as root: chmod {:04o} '{}'", mode, path));
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

void checkLiveFile(Database const& database, std::string const& path, struct stat const& status,
                   Findings& findings)
{
    if (auto const folder = lookAt(folderOf(database))) {
        checkAccess(database, folderOf(database), *folder, findings);
    }
    checkAccess(database, path, status, findings);
    auto const faults = faultsOf(path, database);
    for (Fault const& fault : faults) {
        findings.fault(database, path, fault.what,
                       fault.nextStep.empty() ? restoreStep(database) : fault.nextStep);
    }
    if (faults.empty()) {
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
    bool const hasBackup = database.hasBackup && lookAt(backup);
    std::size_t const before = findings.section.rows.size();
    if (!veskiMayOpenDatabase(folderOf(database), path)) {
        findings.fault(
            database, path,
            "it, or its journal, is not safe to open: a link, a file of several names, no file at "
            "all, or a journal that names another file",
            fmt::format("as root: ls -la '{}'; rm what does not belong there", folderOf(database)));
        return;
    }
    if (auto const status = lookAt(path)) {
        checkLiveFile(database, path, *status, findings);
    } else if (hasBackup) {
        findings.fault(database, path, describeStatus(kVeskNeedsRestore), restoreStep(database));
    } else {
        findings.add("note", database, path, "nothing has been recorded yet", "");
    }
    if (findings.section.rows.size() == before) {
        findings.add("ok", database, path, "sound", "");
    }
    if (hasBackup) {
        std::vector<Fault> const faults = faultsOf(backup, database);
        for (Fault const& fault : faults) {
            findings.fault(database, backup, fmt::format("the backup will not do: {}", fault.what),
                           fault.nextStep.empty() ? fmt::format("veskdb backup {}", database.name)
                                                  : fault.nextStep);
        }
        if (faults.empty()) {
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
            } catch (std::exception const& error) {
                findings.fault(database, pathOf(database), error.what(),
                               "run this as a user who may look there");
            }
        }
    }
    return {findings.section};
}
