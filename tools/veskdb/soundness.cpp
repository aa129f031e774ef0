#include "tools/veskdb/soundness.h"

#include "tools/veskdb/own_command.h"
#include "tools/veskdb/refusal.h"
#include "tools/veskdb/schema.h"
#include "tools/veskdb/value_text.h"

#include <algorithm>
#include <fmt/format.h>
#include <optional>

namespace veskdb {

namespace {

/// Reads one file and collects what it finds.
class Examination
{
public:
    Examination(RecordReader const& fileReader, Database const& expected, Findings& found)
        : reader(fileReader), database(expected), findings(found), present(schemaOf(fileReader)),
          newest(newestSchemaVersion(expected.store->type)), version(newest)
    {
    }

    /// Each step relies on the previous ones: nothing in the schema is evaluated before it was compared.
    void run()
    {
        checkKind();
        if (findings.faults.empty()) {
            checkVersions();
        }
        if (findings.faults.empty()) {
            checkSchema();
        }
        if (findings.faults.empty()) {
            checkPages();
        }
        if (findings.faults.empty() && version <= newest) {
            checkRows();
        }
    }

    /// A file is the database whose tables it has; if it has those of several, the one with the most tables.
    void checkKind()
    {
        std::vector<std::string> const missing = tablesMissingOf(database);
        if (!missing.empty()) {
            fault(fmt::format("it is not {}: tables are missing: {}", database.title,
                              fmt::join(missing, ", ")));
            return;
        }
        for (Database const& other : databases) {
            if (tablesIn(schemaCreated(other, 1)).size() > tablesIn(schemaCreated(database, 1)).size() &&
                tablesMissingOf(other).empty()) {
                fault(fmt::format("it is {}, not {}", other.title, database.title));
            }
        }
    }

private:
    void fault(std::string const& what, std::string const& nextStep = "")
    {
        findings.faults.push_back({what, nextStep});
    }

    std::vector<std::string> tablesMissingOf(Database const& candidate) const
    {
        std::vector<std::string> missing;
        for (std::string const& table : tablesIn(schemaCreated(candidate, 1))) {
            if (find(present, "table", table) == nullptr) {
                missing.push_back(table);
            }
        }
        return missing;
    }

    /// The number in a version row. A row that is missing or is not a number is a finding.
    std::optional<int64_t> versionIn(char const* key)
    {
        auto const rows = reader.rows("SELECT value FROM pcd_meta WHERE key = ?1", {key});
        if (rows.empty()) {
            fault(fmt::format("the row {} is missing from pcd_meta", key));
            return std::nullopt;
        }
        std::string const text = asText(rows[0][0]);
        if (text.empty() || text.size() > 9 || text.find_first_not_of("0123456789") != std::string::npos) {
            findings.contentFaults.push_back(
                {fmt::format("the row {} of pcd_meta is '{}', not a number", key, text), ""});
            return std::nullopt;
        }
        return std::stoll(text);
    }

    void checkVersions()
    {
        if (find(present, "table", "pcd_meta")->statement !=
            find(schemaCreated(database, 1), "table", "pcd_meta")->statement) {
            reportChanged({"table pcd_meta"});
            return;
        }
        version = versionIn("schema_version").value_or(newest);
        auto const compatible = versionIn("schema_compatibility_version");
        if (compatible && *compatible > newest) {
            fault(fmt::format(
                      "it is of a newer version: it can be used from version {} on and this program knows {}",
                      *compatible, newest),
                  "use the product's newer version");
        }
    }

    void reportChanged(std::vector<std::string> const& changed)
    {
        for (std::string const& object : changed) {
            fault(fmt::format("its {} is not as the installer creates it", object));
        }
    }

    void checkSchema()
    {
        if (version > newest) {
            findings.notes.push_back(
                fmt::format("it is at version {}, newer than {}, the newest that this program "
                            "knows; its schema was not compared",
                            version, newest));
            return;
        }
        int const created = version < 1 ? newest : static_cast<int>(version);
        SchemaDifferences const differences = compare(present, schemaCreated(database, created));
        if (!differences.missing.empty()) {
            fault(
                fmt::format("it lacks what the installer creates: {}", fmt::join(differences.missing, ", ")));
        }
        reportChanged(differences.changed);
        for (std::string const& object : differences.added) {
            fault(fmt::format("it has what the installer does not create: {}", object),
                  "find out what it is for; if nothing needs it, drop it");
        }
        if (!differences.ownTables.empty()) {
            findings.notes.push_back(fmt::format("it has tables that the installer does not create: {}",
                                                 fmt::join(differences.ownTables, ", ")));
        }
    }

    void checkPages()
    {
        int64_t const pages = std::get<int64_t>(reader.rows("PRAGMA page_count")[0][0]);
        int64_t const pageSize = std::get<int64_t>(reader.rows("PRAGMA page_size")[0][0]);
        if (pages * pageSize != reader.size()) {
            fault(fmt::format("its size is {} bytes, not {} pages of {} bytes", reader.size(), pages,
                              pageSize));
        }
        for (Row const& row : reader.rows("PRAGMA integrity_check")) {
            std::string const message = asText(row[0]);
            if (message != "ok") {
                fault(message);
            }
        }
    }

    struct RowCheck
    {
        StoreDescription const* store;
        char const* table;
        char const* condition; ///< of the rows that are counted
        char const* what;
        char const* nextStep; ///< words of a veskdb command; empty: a sound copy; null: a note
    };

    void checkRows()
    {
        RowCheck const checks[] = {
            {&payloadDatabase, "upgraded_payloads",
             "payloadIDOriginal NOT IN (SELECT PayloadID FROM payloads) OR payloadIDUpgraded NOT IN (SELECT "
             "PayloadID FROM payloads)",
             "records of upgrades that name a payload no longer on record", nullptr},
            {&payloadDatabase, "dependencies", "PayloadIDb NOT IN (SELECT PayloadID FROM payloads)",
             "relations to payloads that are not on record", nullptr},
            {&payloadDatabase, "dependencies", "PayloadID NOT IN (SELECT PayloadID FROM payloads)",
             "relations of payloads that are not on record", "remove pdb ID --relation OTHER"},
            {&payloadDatabase, "dependencies", "type NOT IN (SELECT type FROM dependency_type)",
             "relations of a type that is not in dependency_type", "remove pdb ID --relation OTHER"},
            {&payloadDatabase, "payload_data", "PayloadID NOT IN (SELECT PayloadID FROM payloads)",
             "data of payloads that are not on record", "remove pdb ID --data DOMAIN KEY"},
            {&payloadDatabase, "payloads", "installState NOT IN (0, 2)",
             "payloads in a state other than 0 or 2", "set pdb ID --state installed|not-installed"},
            {&catalogue, "dolm_collection_payload",
             "collectionID NOT IN (SELECT collectionID FROM dolm_collection) OR payloadID NOT IN (SELECT payloadID "
             "FROM dolm_payload)",
             "rows of dolm_collection_payload that name a collection or payload that is not on record", ""},
            {&catalogue, "dolm_payload_constraint", "payloadID NOT IN (SELECT payloadID FROM dolm_payload)",
             "constraints of payloads that are not on record", ""},
            {&catalogue, "payload_data", "payloadID NOT IN (SELECT payloadID FROM dolm_payload)",
             "data of payloads that are not on record", ""},
            {&catalogue, "collection_data", "collectionID NOT IN (SELECT collectionID FROM dolm_collection)",
             "data of collections that are not on record", ""},
        };
        for (RowCheck const& check : checks) {
            if (check.store != database.store) {
                continue;
            }
            std::string const count = asText(reader.rows(
                fmt::format("SELECT count(*) FROM {} WHERE {}", check.table, check.condition))[0][0]);
            if (count == "0") {
                continue;
            }
            std::string const what = fmt::format("{} {}", count, check.what);
            if (check.nextStep == nullptr) {
                findings.notes.push_back(what);
            } else {
                std::string const step = check.nextStep;
                findings.contentFaults.push_back({what, step.empty() ? "" : ownCommand(step)});
            }
        }
    }

    RecordReader const& reader;
    Database const& database;
    Findings& findings;
    Schema const present;
    int const newest;
    int64_t version;
};

} // namespace

bool isKindOf(std::string const& path, Database const& database)
{
    try {
        Findings findings;
        RecordReader const reader(path);
        Examination(reader, database, findings).checkKind();
        return findings.faults.empty();
    } catch (Unreadable const&) {
        return false;
    }
}

Findings examine(std::string const& path, Database const& database)
{
    Findings findings;
    try {
        RecordReader const reader(path, 0);
        Examination(reader, database, findings).run();
    } catch (Unreadable const& unreadable) {
        findings.faults.push_back({unreadable.what(), unreadable.nextStep});
    } catch (Refusal const& refusal) {
        findings.faults.push_back({refusal.what(), "run this as a user who may look there"});
    }
    return findings;
}

} // namespace veskdb
