#include "tools/veskdb/listing.h"

#include "libdolmvesk/vesk_status.h"
#include "tools/veskdb/file_status.h"
#include "tools/veskdb/open_to_read.h"
#include "tools/veskdb/present.h"
#include "tools/veskdb/refusal.h"
#include "tools/veskdb/schema.h"
#include "tools/veskdb/status_name.h"

#include <fmt/format.h>

namespace veskdb {

namespace {

/// Columns whose headings are their own names.
std::vector<Column> columnsNamed(std::vector<std::string> const& names)
{
    std::vector<Column> columns;
    columns.reserve(names.size());
    for (std::string const& name : names) {
        columns.push_back({name, name, kindOf(name)});
    }
    return columns;
}

/// Reads one section; the rest of the query begins with the table.
Section read(RecordReader const& reader, std::string const& name, bool single,
             std::vector<Column> const& columns, std::string const& rest,
             std::vector<std::string> const& parameters = {})
{
    std::vector<std::string> names;
    names.reserve(columns.size());
    for (Column const& column : columns) {
        names.push_back(column.name);
    }
    return {name, single, columns,
            reader.rows(fmt::format("SELECT {} FROM {}", fmt::join(names, ", "), rest), parameters)};
}

[[noreturn]] void refuseMissing(std::string const& what)
{
    throw Refusal(kExitNotFound, fmt::format("{}: {}", what, describeStatus(kVeskNotFound)));
}

/// Rows of each table, except those that the schema itself fills. A virtual table would run code.
Counts rowCounts(RecordReader const& reader, Schema const& schema)
{
    constexpr std::string_view create = "CREATE TABLE ";
    Counts counts;
    for (SchemaObject const& object : schema) {
        if (object.type != "table" || object.statement.compare(0, create.size(), create) != 0 ||
            object.name == "pcd_meta" || object.name == "dependency_type") {
            continue;
        }
        std::string quoted = "\"";
        for (char const each : object.name) {
            quoted += each == '"' ? "\"\"" : std::string(1, each);
        }
        counts.emplace_back(object.name,
                            std::get<int64_t>(reader.rows("SELECT count(*) FROM " + quoted + '"')[0][0]));
    }
    return counts;
}

Value metaValue(RecordReader const& reader, char const* key)
{
    std::vector<Row> const rows = reader.rows("SELECT value FROM pcd_meta WHERE key = ?1", {key});
    return rows.empty() ? Value() : rows[0][0];
}

Section describe(Database const& database)
{
    Section section = {database.name,
                       true,
                       {{"path", "path"},
                        {"present", "present"},
                        {"size", "size"},
                        {"owner", "owner"},
                        {"mode", "mode"},
                        {"modified", "modified", ValueKind::kTime},
                        {"schema_version", "schema version"},
                        {"schema_compatibility_version", "usable from version"},
                        {"rows", "rows"},
                        {"unreadable", "unreadable"},
                        {"backup", "backup"},
                        {"backup_modified", "backup made", ValueKind::kTime}},
                       {}};
    std::string const path = pathOf(database);
    Row row(section.columns.size());
    row[0] = path;
    row[1] = false;
    try {
        if (auto const status = statusOf(path)) {
            row[1] = true;
            row[2] = static_cast<int64_t>(status->st_size);
            row[3] = ownerOf(*status);
            row[4] = modeOf(*status);
            row[5] = static_cast<int64_t>(status->st_mtime);
            auto const reader = openToRead(path, database, {"pcd_meta"});
            row[6] = metaValue(*reader, "schema_version");
            row[7] = metaValue(*reader, "schema_compatibility_version");
            row[8] = rowCounts(*reader, schemaOf(*reader));
        }
    } catch (std::exception const& error) {
        row[9] = std::string(error.what());
    }
    std::string const backup = backupPathOf(database);
    if (database.store->hasBackup) {
        row[10] = backup;
        if (auto const status = statusOf(backup)) {
            row[11] = static_cast<int64_t>(status->st_mtime);
        }
    }
    section.rows = {row};
    return section;
}

} // namespace

std::vector<std::string> originalsUpgradedBy(RecordReader const& reader, std::string const& payloadID)
{
    std::vector<std::string> originals;
    for (Row const& row : reader.rows("SELECT PayloadID FROM payloads WHERE PayloadID <> ?1 AND PayloadID IN "
                                      "(SELECT payloadIDOriginal FROM upgraded_payloads "
                                      "WHERE payloadIDUpgraded = ?1) ORDER BY PayloadID",
                                      {payloadID})) {
        originals.push_back(std::get<std::string>(row[0]));
    }
    return originals;
}

void requirePayload(RecordReader const& reader, std::string const& payloadID)
{
    if (reader.rows("SELECT 1 FROM payloads WHERE PayloadID = ?1", {payloadID}).empty()) {
        refuseMissing(fmt::format("payload '{}'", payloadID));
    }
}

int listPayloads(Options const& options)
{
    std::string const filter = options.state ? fmt::format("WHERE installState = {} ", *options.state) : "";
    print({read(*openToRead(options.database(), {"payloads"}), "", false,
                {{"installState", "STATE", kindOf("installState")},
                 {"PayloadID", "ID"},
                 {"version", "VERSION"},
                 {"productFamily", "FAMILY"},
                 {"productName", "NAME"},
                 {"installTime", "CHANGED", kindOf("installTime")},
                 {"signature", ""}},
                "payloads " + filter + "ORDER BY installTime, rowid")},
          options.json);
    return kExitDone;
}

int listSettings(Options const& options)
{
    std::string filter;
    std::vector<std::string> parameters;
    if (options.domain) {
        filter = " WHERE domain = ?1";
        parameters.push_back(fmt::format("{}", *options.domain));
    }
    char const* const columns[] = {"subDomain", "key"};
    for (std::size_t each = 0; each < options.address.size(); ++each) {
        filter += fmt::format(" AND {} = ?{}", columns[each], each + 2);
        parameters.push_back(options.address[each]);
    }
    Section settings =
        read(*openToRead(options.database(), {"domain_data"}), "", false,
             {{"domain", "DOMAIN"}, {"subDomain", "SUBDOMAIN"}, {"key", "KEY"}, {"value", "VALUE"}},
             "domain_data" + filter + " ORDER BY CAST(domain AS INTEGER), subDomain, key", parameters);
    if (options.address.size() == 2 && settings.rows.empty()) {
        refuseMissing(
            fmt::format("setting {} '{}' '{}'", *options.domain, options.address[0], options.address[1]));
    }
    print({settings}, options.json);
    return kExitDone;
}

int listCatalogue(Options const& options)
{
    auto const reader =
        openToRead(options.database(), {"dolm_payload", "dolm_collection", "dolm_collection_payload"});
    print(
        {
            read(*reader, "dolm_payload", false,
                 columnsNamed({"payloadID", "version", "productFamily", "productName", "signature"}),
                 "dolm_payload ORDER BY payloadID"),
            read(*reader, "dolm_collection", false,
                 columnsNamed({"collectionID", "collectionPayloadID", "tsInstalled", "tsModified"}),
                 "dolm_collection ORDER BY collectionID"),
            read(*reader, "dolm_collection_payload", false,
                 columnsNamed({"collectionID", "payloadID", "installState", "tsInstalled"}),
                 "dolm_collection_payload ORDER BY collectionID, payloadID"),
        },
        options.json);
    return kExitDone;
}

int showPayload(Options const& options)
{
    auto const reader = openToRead(options.database(), {"payloads", "dependencies", "dependency_type",
                                                        "upgraded_payloads", "payload_data"});
    std::vector<std::string> const id = {options.id};
    requirePayload(*reader, options.id);
    print(
        {
            read(*reader, "payloads", true,
                 columnsNamed({"PayloadID", "productFamily", "productName", "version", "signature",
                               "installState", "installTime"}),
                 "payloads WHERE PayloadID = ?1", id),
            read(*reader, "dependencies", false,
                 columnsNamed({"PayloadID", "PayloadIDb", "type", "description"}),
                 "dependencies LEFT JOIN dependency_type USING (type) WHERE ?1 IN (PayloadID, PayloadIDb) "
                 "ORDER BY type, PayloadID, PayloadIDb",
                 id),
            read(*reader, "upgraded_payloads", false,
                 columnsNamed({"payloadIDOriginal", "payloadIDUpgraded"}),
                 "upgraded_payloads WHERE ?1 IN (payloadIDOriginal, payloadIDUpgraded) ORDER BY 1, 2", id),
            read(*reader, "payload_data", false, columnsNamed({"domain", "key", "value"}),
                 "payload_data WHERE PayloadID = ?1 ORDER BY CAST(domain AS INTEGER), key", id),
        },
        options.json);
    return kExitDone;
}

int showCatalogue(Options const& options)
{
    auto const reader =
        openToRead(options.database(),
                   {"dolm_payload", "dolm_collection", "dolm_collection_payload", "dolm_payload_constraint",
                    "upgraded_payloads", "collection_data", "payload_data"});
    std::vector<std::string> const id = {options.id};
    std::vector<Section> sections = {
        read(*reader, "dolm_payload", true,
             columnsNamed({"payloadID", "productFamily", "productName", "version", "signature"}),
             "dolm_payload WHERE payloadID = ?1", id),
        read(*reader, "dolm_collection", true,
             columnsNamed({"collectionID", "collectionPayloadID", "tsInstalled", "tsModified"}),
             "dolm_collection WHERE collectionID = ?1", id),
    };
    if (sections[0].rows.empty() && sections[1].rows.empty()) {
        refuseMissing(fmt::format("payload or collection '{}'", options.id));
    }
    struct
    {
        char const* table;
        std::vector<std::string> columns;
        char const* filter;
    } const related[] = {
        {"dolm_collection_payload",
         {"collectionID", "payloadID", "installState", "tsInstalled"},
         "collectionID, payloadID"},
        {"dolm_payload_constraint", {"payloadID", "payloadIDb", "constraintType"}, "payloadID, payloadIDb"},
        {"upgraded_payloads",
         {"payloadIDOriginal", "payloadIDUpgraded"},
         "payloadIDOriginal, payloadIDUpgraded"},
        {"collection_data", {"collectionID", "domain", "key", "value"}, "collectionID"},
        {"payload_data", {"payloadID", "domain", "key", "value"}, "payloadID"},
    };
    for (auto const& each : related) {
        sections.push_back(read(*reader, each.table, false, columnsNamed(each.columns),
                                fmt::format("{} WHERE ?1 IN ({}) ORDER BY 1, 2", each.table, each.filter),
                                id));
    }
    print(sections, options.json);
    return kExitDone;
}

int showDatabases(Options const& options)
{
    std::vector<Section> sections;
    sections.reserve(databases.size());
    for (Database const& database : databases) {
        sections.push_back(describe(database));
    }
    print(sections, options.json);
    return kExitDone;
}

} // namespace veskdb
