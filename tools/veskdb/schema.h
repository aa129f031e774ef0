/// The schemas of database files, and those that the record library creates.
#ifndef TOOLS_VESKDB_SCHEMA_H
#define TOOLS_VESKDB_SCHEMA_H

#include "tools/veskdb/databases.h"
#include "tools/veskdb/record_reader.h"

#include <string>
#include <vector>

namespace veskdb {

/// A table, index, trigger or view; the indexes that SQLite makes for a table's keys belong to the table.
struct SchemaObject
{
    std::string type;
    std::string name;
    std::string statement; ///< that created it
};

/// In the order of creation.
using Schema = std::vector<SchemaObject>;

/// @return null if the schema has no such object
SchemaObject const* find(Schema const& schema, std::string const& type, std::string const& name);

/// The schema of a file.
///
/// @throws Unreadable
Schema schemaOf(RecordReader const& reader);

/// The schema that the record library creates for a version of a database.
///
/// @param version  1 to the database's newest
/// @return lives as long as the process
Schema const& schemaCreated(Database const& database, int version);

/// A table of one of the databases.
struct Table
{
    std::string name;
    std::vector<std::string> columns;
    std::vector<std::size_t> key; ///< the columns that identify a row; all if the table has no key
};

/// A database's tables, in the order of creation: the rows that a row names are in an earlier table.
///
/// @return lives as long as the process
std::vector<Table> const& tablesOf(Database const& database);

/// The key of a row that has all columns, escaped; several columns are joined by "/".
std::string keyOf(Table const& table, Row const& row);

/// A query for all columns of all rows of a table, in the order of its key.
std::string selectAll(Table const& table);

/// The names of a schema's tables.
std::vector<std::string> tablesIn(Schema const& schema);

/// How a schema differs from the one that the library creates; objects as "trigger ctd_payloads".
struct SchemaDifferences
{
    std::vector<std::string> missing;
    std::vector<std::string> changed;
    std::vector<std::string> added;     ///< except tables that only hold rows
    std::vector<std::string> ownTables; ///< names of the added tables that only hold rows
};

SchemaDifferences compare(Schema const& present, Schema const& created);

} // namespace veskdb

#endif
