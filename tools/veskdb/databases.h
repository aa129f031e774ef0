/// The four databases as veskdb knows them, and how it refuses.
#ifndef TOOLS_VESKDB_DATABASES_H
#define TOOLS_VESKDB_DATABASES_H

#include "libdolmvesk/store_session.h"

#include <array>
#include <initializer_list>
#include <optional>
#include <stdexcept>
#include <string>
#include <sys/stat.h>

namespace veskdb {

enum ExitStatus
{
    kExitNotFound = 1, ///< what was asked for is not on record, was declined, or a check failed
    kExitError = 2     ///< usage, or the database cannot be read or changed
};

/// The command ends. what() names the input and what would be right.
class Refusal : public std::runtime_error
{
public:
    Refusal(ExitStatus status, std::string const& message) : std::runtime_error(message), exitStatus(status)
    {
    }

    ExitStatus exitStatus;
};

struct Database
{
    char const* name;  ///< on the command line
    char const* title; ///< in messages
    StoreDescription const* store;
    int32_t (*open)(VeskSession** out);
    int32_t (*openExisting)(VeskSession** out);
    int32_t (*commit)(VeskSession* session);
    int32_t (*close)(VeskSession* session);
};

extern std::array<Database, 4> const databases; // pdb, pcd, cache, vesk

/// @throws Refusal (kExitError) that names the four
Database const& databaseNamed(std::string const& name);

/// Paths of the live file, its folder, and the library's backup of it.
///
/// @throws Refusal (kExitError) when the system cannot name the folder of all databases
std::string pathOf(Database const& database);
std::string folderOf(Database const& database);
std::string backupPathOf(Database const& database);

/// A command line of this program, for the root that it works in now.
///
/// @param words  verb and what follows
std::string commandLine(std::string const& words);

/// Says something on standard error, behind the program's name. What cannot be written is lost: the exit status
/// tells the outcome all the same.
///
/// @param pieces  the message
/// @param end     what comes behind it
void tell(std::initializer_list<char const*> pieces, char const* end = "\n") noexcept;

/// Looks at a path, following links.
///
/// @return nothing when nothing is there
/// @throws Refusal (kExitError) when this user may not look
std::optional<struct stat> lookAt(std::string const& path);

} // namespace veskdb

#endif
