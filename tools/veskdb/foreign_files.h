/// Files below the folder of all databases that another user has put there.
#ifndef TOOLS_VESKDB_FOREIGN_FILES_H
#define TOOLS_VESKDB_FOREIGN_FILES_H

#include <cstddef>
#include <string>

namespace veskdb {

struct ForeignFiles
{
    std::size_t number = 0;
    std::string first; ///< path of one of them
};

/// Counts what is not root's below the folder of all databases, except in the folders that every user may write.
/// Follows no link and enters no other file system. What this user may not look at is left out.
///
/// @throws Refusal (kExitError) when the system cannot name the folder of all databases
ForeignFiles foreignFiles();

} // namespace veskdb

#endif
