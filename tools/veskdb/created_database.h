/// Databases in memory, as the record library creates them.
#ifndef TOOLS_VESKDB_CREATED_DATABASE_H
#define TOOLS_VESKDB_CREATED_DATABASE_H

#include "tools/veskdb/databases.h"

namespace veskdb {

/// Creates a database in memory, by the same steps by which the library creates a file.
///
/// @param store     receives the open database; owns it
/// @param version   1 to the database's newest
/// @param pageSize  in bytes; 0: SQLite's default
/// @throws Refusal (kExitError)
void createInMemory(VeskiDataStore& store, Database const& database, int version, int pageSize = 0);

} // namespace veskdb

#endif
