/// Values between SQLite's statements and this program.
#ifndef TOOLS_VESKDB_SQLITE_VALUES_H
#define TOOLS_VESKDB_SQLITE_VALUES_H

#include "tools/veskdb/records.h"

struct sqlite3_stmt;

namespace veskdb {

/// Reads a column of a statement's row. A text reuses the memory of a text that the value already has.
void readValue(sqlite3_stmt* statement, int column, Value& value);

/// Binds a value, which must stay unchanged until the statement is reset.
///
/// @param index  of the parameter, from 1
/// @return an SQLite result code
int bindValue(sqlite3_stmt* statement, int index, Value const& value);

} // namespace veskdb

#endif
