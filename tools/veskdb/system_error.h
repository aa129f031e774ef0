/// Why a file cannot be read or written, in words.
#ifndef TOOLS_VESKDB_SYSTEM_ERROR_H
#define TOOLS_VESKDB_SYSTEM_ERROR_H

#include <string>

struct sqlite3;

namespace veskdb {

/// @param error  an errno
std::string describeError(int error);

/// Why SQLite could not use a database, if more is known than its result code.
///
/// @param sqliteCode   result code of the call that failed
/// @param systemError  sqlite3_system_errno of the connection; 0 if there is none
/// @param path         the database
/// @return empty if no more is known
std::string reasonFor(int sqliteCode, int systemError, std::string const& path);
std::string reasonFor(sqlite3* connection, std::string const& path); ///< of its last call

/// Why a lock was not granted: on a file system without locks, SQLite reports that another program holds one. Call it
/// only while this process holds no lock on the file: it would be released.
///
/// @return empty if the file system grants locks
std::string reasonForBusy(std::string const& path);

} // namespace veskdb

#endif
