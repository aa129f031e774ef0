/// The four databases as veskdb knows them.
#ifndef TOOLS_VESKDB_DATABASES_H
#define TOOLS_VESKDB_DATABASES_H

#include "libdolmvesk/store_session.h"

#include <array>
#include <string>

namespace veskdb {

struct Database
{
    char const* name;  ///< on the command line
    char const* title; ///< in messages
    StoreDescription const* store;
    int32_t (*open)(VeskSession** out);
    int32_t (*openExisting)(VeskSession** out);
    int32_t (*commit)(VeskSession* session);
};

extern std::array<Database, 4> const databases; // pdb, pcd, cache, vesk

/// @throws Refusal (kExitError) that names the four
Database const& databaseNamed(std::string const& name);

/// Paths of the live file, its folder, and the library's backup of it.
///
/// @throws Refusal (kExitError) if the system does not return the folder of all databases
std::string pathOf(Database const& database);
std::string folderOf(Database const& database);
std::string backupPathOf(Database const& database);

} // namespace veskdb

#endif
