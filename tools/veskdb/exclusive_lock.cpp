#include "tools/veskdb/exclusive_lock.h"

#include "libdolmvesk/database.h"
#include "tools/veskdb/file_status.h"
#include "tools/veskdb/refusal.h"
#include "tools/veskdb/status_name.h"
#include "tools/veskdb/system_error.h"

#include <fmt/format.h>
#include <sqlite3.h>

namespace veskdb {

namespace {

constexpr int busyPause = 50; // milliseconds

} // namespace

ExclusiveLock::ExclusiveLock(std::string const& path)
{
    sqlite3* opened = nullptr;
    int code = veskiOpenConnection(folderPart(path), path, SQLITE_OPEN_READWRITE, restrictedVfs, &opened);
    connection.reset(opened);
    if (code == SQLITE_OK && sqlite3_db_readonly(opened, "main") != 0) {
        code = SQLITE_READONLY;
    }
    if (code == SQLITE_OK) {
        code = sqlite3_file_control(opened, "main", SQLITE_FCNTL_FILE_POINTER, &file);
    }
    for (int waited = 0; code == SQLITE_OK; waited += busyPause) {
        code = file->pMethods->xLock(file, SQLITE_LOCK_SHARED);
        code = code == SQLITE_OK ? file->pMethods->xLock(file, SQLITE_LOCK_EXCLUSIVE) : code;
        if (code == SQLITE_OK) {
            return;
        }
        file->pMethods->xUnlock(file, SQLITE_LOCK_NONE);
        if (code == SQLITE_BUSY && waited < busyTimeoutMilliseconds) {
            sqlite3_sleep(busyPause);
            code = SQLITE_OK;
        }
    }
    int const systemError = sqlite3_system_errno(opened);
    connection.reset();
    std::string const reason = code == SQLITE_BUSY ? reasonForBusy(path) : reasonFor(code, systemError, path);
    throw Refusal(kExitError, fmt::format("'{}' cannot be locked: {}", path,
                                          describeStatus(veskiSQLiteErrorMap(code & 0xFF), reason)));
}

ExclusiveLock::~ExclusiveLock()
{
    file->pMethods->xUnlock(file, SQLITE_LOCK_NONE);
}

void ExclusiveLock::Closer::operator()(sqlite3* each) const
{
    sqlite3_close(each);
}

} // namespace veskdb
