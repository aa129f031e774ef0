/// Files below the folder of all databases that another user has put there.
#ifndef TOOLS_VESKDB_FOREIGN_FILES_H
#define TOOLS_VESKDB_FOREIGN_FILES_H

#include <cstddef>
#include <string>

namespace veskdb {

struct ForeignFiles
{
    std::size_t number = 0;
    std::string first; ///< path of one of them, always the same
};

/// Counts the files and folders below the folder of all databases that root does not own, except in the folders that
/// every user may write to. Follows no link and enters no other file system. Folders that this user may not read are
/// left out.
///
/// @throws Refusal (kExitError) if the system does not return the folder of all databases
ForeignFiles foreignFiles();

} // namespace veskdb

#endif
