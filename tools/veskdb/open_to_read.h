/// Opening a database to read its records.
#ifndef TOOLS_VESKDB_OPEN_TO_READ_H
#define TOOLS_VESKDB_OPEN_TO_READ_H

#include "tools/veskdb/databases.h"
#include "tools/veskdb/record_reader.h"

#include <memory>
#include <string>
#include <vector>

namespace veskdb {

using Tables = std::vector<std::string>;

/// Opens a database's live file to read some of its tables.
///
/// @throws Refusal (kExitNotFound: there is no such file), Unreadable
std::unique_ptr<RecordReader> openToRead(Database const& database, Tables const& tables);

/// Opens a file to read tables of a database. They must be as the library creates them: a crafted table could make a
/// query run forever.
///
/// @throws Unreadable
std::unique_ptr<RecordReader> openToRead(std::string const& path, Database const& database,
                                         Tables const& tables);

/// Refuses if a database is missing but its backup exists: otherwise a new, empty database would be created.
///
/// @throws Refusal (kExitError) with the command that restores it
void requireNotLost(Database const& database);

} // namespace veskdb

#endif
