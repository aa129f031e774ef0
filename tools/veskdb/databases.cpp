#include "tools/veskdb/databases.h"

#include "libdolmvesk/payloaddb.h"
#include "libdolmvesk/pcd_compat.h"
#include "tools/common/alternate_root.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fmt/format.h>

namespace veskdb {

namespace {

std::string formPath(char const* const* folder, char const* file)
{
    std::string path;
    if (!databasePath(folder, file, path)) {
        throw Refusal(kExitError, "the system does not name its Application Support folder");
    }
    return path;
}

} // namespace

std::array<Database, 4> const databases = {{
    {"pdb", "the payload database", &payloadDatabase, pdbOpenSession, pdbOpenSessionNoCreate,
     pdbSessionCommit, pdbCloseSession},
    {"pcd", "the master store", &masterStore, pcdOpenSession, pcdOpenSessionNoCreate, pcdSessionCommit,
     pcdCloseSession},
    {"cache", "the cache store", &cacheStore, pcdOpenCacheSession, pcdOpenCacheSessionNoCreate,
     pcdSessionCommit, pcdCloseSession},
    {"vesk", "the catalogue", &catalogue, veskOpenSession, veskOpenSessionNoCreate, veskSessionCommit,
     veskCloseSession},
}};

Database const& databaseNamed(std::string const& name)
{
    for (Database const& each : databases) {
        if (name == each.name) {
            return each;
        }
    }
    throw Refusal(kExitError,
                  fmt::format("the database '{}' is unknown; give pdb, pcd, cache or vesk", name));
}

std::string pathOf(Database const& database)
{
    return formPath(database.store->folder, database.store->file);
}

std::string folderOf(Database const& database)
{
    return formPath(database.store->folder, nullptr);
}

std::string backupPathOf(Database const& database)
{
    return formPath(backupFolder, database.store->file);
}

std::string commandLine(std::string const& words)
{
    return (common::alternate_root::entered().empty()
                ? "veskdb "
                : "veskdb --root " + common::alternate_root::quotedFromOutside("") + ' ') +
           words;
}

void tell(std::initializer_list<char const*> pieces, char const* end) noexcept
{
    std::fputs("veskdb: ", stderr);
    for (char const* piece : pieces) {
        std::fputs(piece, stderr);
    }
    std::fputs(end, stderr);
}

std::optional<struct stat> lookAt(std::string const& path)
{
    struct stat status = {};
    if (stat(path.c_str(), &status) == 0) {
        return status;
    }
    if (errno == ENOENT || errno == ENOTDIR) {
        return std::nullopt;
    }
    throw Refusal(kExitError, fmt::format("'{}': {}", path, std::strerror(errno)));
}

} // namespace veskdb
