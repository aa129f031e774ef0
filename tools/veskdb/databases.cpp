#include "tools/veskdb/databases.h"

#include "libdolmvesk/payloaddb.h"
#include "libdolmvesk/pcd_compat.h"
#include "tools/veskdb/refusal.h"

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
     pdbSessionCommit},
    {"pcd", "the master store", &masterStore, pcdOpenSession, pcdOpenSessionNoCreate, pcdSessionCommit},
    {"cache", "the cache store", &cacheStore, pcdOpenCacheSession, pcdOpenCacheSessionNoCreate,
     pcdSessionCommit},
    {"vesk", "the catalogue", &catalogue, veskOpenSession, veskOpenSessionNoCreate, veskSessionCommit},
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

} // namespace veskdb
