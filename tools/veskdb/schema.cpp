#include "tools/veskdb/schema.h"

#include "libdolmvesk/vesk_status.h"
#include "tools/veskdb/refusal.h"
#include "tools/veskdb/value_text.h"

#include <algorithm>
#include <fmt/format.h>
#include <map>
#include <sqlite3.h>
#include <string_view>
#include <utility>

namespace veskdb {

namespace {

char const schemaQuery[] = "SELECT type, name, sql FROM sqlite_master WHERE sql IS NOT NULL ORDER BY rowid";

/// Creates a database in memory, by the same steps by which the library creates a file.
Schema create(Database const& database, int version)
{
    VeskiDataStore store;
    store.schemaLists = database.store->schemas;
    store.schemaType = database.store->type;
    store.status = sqlite3_open(":memory:", &store.db) == SQLITE_OK ? kVeskOK : kVeskNoMemory;
    int32_t status = store.status;
    for (int step = 1; status == kVeskOK && step <= version; ++step) {
        status = store.loadSchema(step);
    }
    char const** list = nullptr;
    if (status == kVeskOK) {
        status = store.queryList(&list, schemaQuery);
    }
    if (status != kVeskOK) {
        throw Refusal(kExitError, fmt::format("{} cannot be created in memory", database.title));
    }
    Schema schema;
    for (; *list != nullptr; list += 3) {
        schema.push_back({list[0], list[1], list[2]});
    }
    return schema;
}

/// Whether a table only holds rows: a virtual table runs code.
bool onlyHoldsRows(std::string const& statement)
{
    constexpr std::string_view create = "CREATE TABLE ";
    return statement.compare(0, create.size(), create) == 0;
}

} // namespace

SchemaObject const* find(Schema const& schema, std::string const& type, std::string const& name)
{
    auto const found = std::find_if(schema.begin(), schema.end(), [&](SchemaObject const& object) {
        return object.type == type && object.name == name;
    });
    return found != schema.end() ? &*found : nullptr;
}

Schema schemaOf(RecordReader const& reader)
{
    Schema schema;
    for (Row const& row : reader.rows(schemaQuery)) {
        schema.push_back({asText(row[0]), asText(row[1]), asText(row[2])});
    }
    return schema;
}

Schema const& schemaCreated(Database const& database, int version)
{
    static std::map<std::pair<Database const*, int>, Schema> schemas;
    auto found = schemas.find({&database, version});
    if (found == schemas.end()) {
        found = schemas.emplace(std::pair(&database, version), create(database, version)).first;
    }
    return found->second;
}

std::vector<std::string> tablesIn(Schema const& schema)
{
    std::vector<std::string> tables;
    for (SchemaObject const& object : schema) {
        if (object.type == "table") {
            tables.push_back(object.name);
        }
    }
    return tables;
}

SchemaDifferences compare(Schema const& present, Schema const& created)
{
    SchemaDifferences differences;
    for (SchemaObject const& object : created) {
        SchemaObject const* const found = find(present, object.type, object.name);
        if (found == nullptr) {
            differences.missing.push_back(object.type + ' ' + object.name);
        } else if (found->statement != object.statement) {
            differences.changed.push_back(object.type + ' ' + object.name);
        }
    }
    for (SchemaObject const& object : present) {
        if (find(created, object.type, object.name) != nullptr) {
            continue;
        }
        if (object.type == "table" && onlyHoldsRows(object.statement)) {
            differences.ownTables.push_back(object.name);
        } else {
            differences.added.push_back(object.type + ' ' + object.name);
        }
    }
    return differences;
}

} // namespace veskdb
