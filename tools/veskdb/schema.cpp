#include "tools/veskdb/schema.h"

#include "tools/veskdb/created_database.h"
#include "tools/veskdb/value_text.h"

#include <algorithm>
#include <map>
#include <string_view>
#include <utility>

namespace veskdb {

namespace {

char const schemaQuery[] = "SELECT type, name, sql FROM sqlite_master WHERE sql IS NOT NULL ORDER BY rowid";

Schema create(Database const& database, int version)
{
    VeskiDataStore store;
    createInMemory(store, database, version);
    char const** list = nullptr;
    store.queryList(&list, schemaQuery);
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

std::vector<Table> const& tablesOf(Database const& database)
{
    static std::map<Database const*, std::vector<Table>> described;
    std::vector<Table>& tables = described[&database];
    if (tables.empty()) {
        VeskiDataStore store;
        createInMemory(store, database, newestSchemaVersion(database.store->type));
        char const** list = nullptr;
        store.queryList(&list, "SELECT object.name, part.name, part.pk FROM sqlite_master AS object, "
                               "pragma_table_info(object.name) AS part WHERE object.type = 'table' ORDER BY "
                               "object.rowid, part.cid");
        for (; *list != nullptr; list += 3) {
            if (tables.empty() || tables.back().name != list[0]) {
                tables.push_back({list[0], {}, {}});
            }
            Table& table = tables.back();
            if (std::string(list[2]) != "0") { // all keys have their columns in the order of the table
                table.key.push_back(table.columns.size());
            }
            table.columns.emplace_back(list[1]);
        }
        for (Table& table : tables) {
            for (std::size_t each = 0; table.key.empty() && each < table.columns.size(); ++each) {
                table.key.push_back(each);
            }
        }
    }
    return tables;
}

std::string keyOf(Table const& table, Row const& row)
{
    std::string key;
    for (std::size_t const column : table.key) {
        key += key.empty() && column == table.key.front() ? "" : "/";
        appendText(key, row[column], kindOf(table.columns[column]));
    }
    return key;
}

std::string selectAll(Table const& table)
{
    std::string columns;
    for (std::string const& column : table.columns) {
        columns += (columns.empty() ? "" : ", ") + column;
    }
    std::string keys;
    for (std::size_t const column : table.key) {
        keys += (keys.empty() ? "" : ", ") + table.columns[column];
    }
    return "SELECT " + columns + " FROM " + table.name + " ORDER BY " + keys;
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
