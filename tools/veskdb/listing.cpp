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

/// Reads one section into a presentation.
///
/// @param rest  of the query, after FROM
/// @return the number of records
std::size_t read(RecordReader const& reader, Presenter& presenter, Section const& section,
                 std::string const& rest, std::vector<std::string> const& parameters = {})
{
    std::string names;
    for (Column const& column : section.columns) {
        names += (names.empty() ? "" : ", ") + column.name;
    }
    std::size_t records = 0;
    presenter.begin(section);
    Cursor cursor = reader.query("SELECT " + names + " FROM " + rest, parameters);
    for (; cursor.next(); ++records) {
        presenter.add(cursor.row());
    }
    return records;
}

[[noreturn]] void refuseMissing(std::string const& what)
{
    throw Refusal(kExitNotFound, fmt::format("{}: {}", what, describeStatus(kVeskNotFound)));
}

/// Numbers of rows of each table, except of those that the schema fills and of virtual tables, which would run code.
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

void describe(Database const& database, Presenter& presenter)
{
    Section const section = {database.name,
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
                              {"backup_modified", "backup made", ValueKind::kTime}}};
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
    presenter.begin(section);
    presenter.add(row);
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
    Presenter presenter(options.json);
    read(*openToRead(options.database(), {"payloads"}), presenter,
         {"",
          false,
          {{"installState", "STATE", kindOf("installState")},
           {"PayloadID", "ID"},
           {"version", "VERSION"},
           {"productFamily", "FAMILY"},
           {"productName", "NAME"},
           {"installTime", "CHANGED", kindOf("installTime")},
           {"signature", ""}}},
         "payloads " + filter + "ORDER BY installTime, rowid");
    presenter.print();
    return kExitDone;
}

int listSettings(Options const& options)
{
    std::string filter;
    std::vector<std::string> parameters;
    if (options.domain) {
        filter = " WHERE domain = ?1";
        parameters.push_back(std::to_string(*options.domain));
    }
    std::vector<std::string> const columns = {"subDomain", "key"};
    for (std::size_t each = 0; each < options.address.size(); ++each) {
        filter += fmt::format(" AND {} = ?{}", columns[each], each + 2);
        parameters.push_back(options.address[each]);
    }
    Presenter presenter(options.json);
    std::size_t const found = read(
        *openToRead(options.database(), {"domain_data"}), presenter,
        {"", false, {{"domain", "DOMAIN"}, {"subDomain", "SUBDOMAIN"}, {"key", "KEY"}, {"value", "VALUE"}}},
        "domain_data" + filter + " ORDER BY CAST(domain AS INTEGER), subDomain, key", parameters);
    if (options.address.size() == 2 && found == 0) {
        refuseMissing(
            fmt::format("setting {} '{}' '{}'", *options.domain, options.address[0], options.address[1]));
    }
    presenter.print();
    return kExitDone;
}

int listCatalogue(Options const& options)
{
    auto const reader =
        openToRead(options.database(), {"dolm_payload", "dolm_collection", "dolm_collection_payload"});
    Presenter presenter(options.json);
    read(*reader, presenter,
         {"dolm_payload", false,
          columnsNamed({"payloadID", "version", "productFamily", "productName", "signature"})},
         "dolm_payload ORDER BY payloadID");
    read(*reader, presenter,
         {"dolm_collection", false,
          columnsNamed({"collectionID", "collectionPayloadID", "tsInstalled", "tsModified"})},
         "dolm_collection ORDER BY collectionID");
    read(*reader, presenter,
         {"dolm_collection_payload", false,
          columnsNamed({"collectionID", "payloadID", "installState", "tsInstalled"})},
         "dolm_collection_payload ORDER BY collectionID, payloadID");
    presenter.print();
    return kExitDone;
}

int listActions(Options const& options)
{
    Presenter presenter(options.json);
    std::vector<std::string> const id = {options.id};
    bool const all = options.id.empty();
    read(*openToRead(options.database(), {"user_actions"}), presenter,
         {"",
          false,
          {{"product_id", "PRODUCT"}, {"actor", "ACTOR"}, {"time_action", "TIME", kindOf("time_action")}}},
         fmt::format("user_actions {}ORDER BY rowid", all ? "" : "WHERE product_id = ?1 "),
         all ? std::vector<std::string>() : id);
    presenter.print();
    return kExitDone;
}

int showPayload(Options const& options)
{
    auto const reader = openToRead(options.database(), {"payloads", "dependencies", "dependency_type",
                                                        "upgraded_payloads", "payload_data", "user_actions"});
    std::vector<std::string> const id = {options.id};
    requirePayload(*reader, options.id);
    Presenter presenter(options.json);
    read(*reader, presenter,
         {"payloads", true,
          columnsNamed({"PayloadID", "productFamily", "productName", "version", "signature", "installState",
                        "installTime"})},
         "payloads WHERE PayloadID = ?1", id);
    read(*reader, presenter,
         {"dependencies", false, columnsNamed({"PayloadID", "PayloadIDb", "type", "description"})},
         "dependencies LEFT JOIN dependency_type USING (type) WHERE ?1 IN (PayloadID, PayloadIDb) "
         "ORDER BY type, PayloadID, PayloadIDb",
         id);
    read(*reader, presenter,
         {"upgraded_payloads", false, columnsNamed({"payloadIDOriginal", "payloadIDUpgraded"})},
         "upgraded_payloads WHERE ?1 IN (payloadIDOriginal, payloadIDUpgraded) ORDER BY 1, 2", id);
    read(*reader, presenter, {"payload_data", false, columnsNamed({"domain", "key", "value"})},
         "payload_data WHERE PayloadID = ?1 ORDER BY CAST(domain AS INTEGER), key", id);
    read(*reader, presenter, {"user_actions", false, columnsNamed({"product_id", "actor", "time_action"})},
         "user_actions WHERE product_id = ?1 ORDER BY rowid", id);
    presenter.print();
    return kExitDone;
}

int showCatalogue(Options const& options)
{
    struct
    {
        char const* table;
        bool single;
        std::vector<std::string> columns;
        char const* filter;
    } const sections[] = {
        {"dolm_payload",
         true,
         {"payloadID", "productFamily", "productName", "version", "signature"},
         "payloadID"},
        {"dolm_collection",
         true,
         {"collectionID", "collectionPayloadID", "tsInstalled", "tsModified"},
         "collectionID"},
        {"dolm_collection_payload",
         false,
         {"collectionID", "payloadID", "installState", "tsInstalled"},
         "collectionID, payloadID"},
        {"dolm_payload_constraint",
         false,
         {"payloadID", "payloadIDb", "constraintType"},
         "payloadID, payloadIDb"},
        {"upgraded_payloads",
         false,
         {"payloadIDOriginal", "payloadIDUpgraded"},
         "payloadIDOriginal, payloadIDUpgraded"},
        {"collection_data", false, {"collectionID", "domain", "key", "value"}, "collectionID"},
        {"payload_data", false, {"payloadID", "domain", "key", "value"}, "payloadID"},
    };
    Tables tables;
    for (auto const& each : sections) {
        tables.emplace_back(each.table);
    }
    auto const reader = openToRead(options.database(), tables);
    Presenter presenter(options.json);
    std::size_t found = 0;
    for (auto const& each : sections) {
        std::size_t const records =
            read(*reader, presenter, {each.table, each.single, columnsNamed(each.columns)},
                 fmt::format("{} WHERE ?1 IN ({}) ORDER BY 1, 2", each.table, each.filter), {options.id});
        found += each.single ? records : 0;
    }
    if (found == 0) {
        refuseMissing(fmt::format("payload or collection '{}'", options.id));
    }
    presenter.print();
    return kExitDone;
}

int showDatabases(Options const& options)
{
    Presenter presenter(options.json);
    for (Database const& database : databases) {
        describe(database, presenter);
    }
    presenter.print();
    return kExitDone;
}

} // namespace veskdb
