#include "tools/veskdb/file_lock.h"

#include "libdolmvesk/database.h"
#include "tools/veskdb/file_status.h"
#include "tools/veskdb/refusal.h"
#include "tools/veskdb/status_name.h"
#include "tools/veskdb/system_error.h"

#include <algorithm>
#include <fmt/format.h>
#include <sqlite3.h>

namespace veskdb {

namespace {

constexpr int busyPause = 50; // milliseconds

} // namespace

FileLock::FileLock(std::string const& path, Kind kind)
{
    sqlite3* opened = nullptr;
    bool const exclusive = kind == Kind::kExclusive;
    int const flags = exclusive ? SQLITE_OPEN_READWRITE : SQLITE_OPEN_READONLY;
    int code = veskiOpenConnection(folderPart(path), path, flags, restrictedVfs, &opened);
    connection.reset(opened);
    if (code == SQLITE_OK && exclusive && sqlite3_db_readonly(opened, "main") != 0) {
        code = SQLITE_READONLY;
    }
    if (code == SQLITE_OK) {
        code = sqlite3_file_control(opened, "main", SQLITE_FCNTL_FILE_POINTER, &file);
    }
    for (int waited = 0; code == SQLITE_OK; waited += busyPause) {
        code = file->pMethods->xLock(file, SQLITE_LOCK_SHARED);
        code = code == SQLITE_OK && exclusive ? file->pMethods->xLock(file, SQLITE_LOCK_EXCLUSIVE) : code;
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

std::string FileLock::bytes() const
{
    constexpr int64_t partSize = 512; // at most a page: only unreadable blocks become zeros
    sqlite3_int64 size = 0;
    file->pMethods->xFileSize(file, &size);
    std::string result(static_cast<std::size_t>(size), '\0');
    for (int64_t offset = 0; offset < size; offset += partSize) {
        auto const count = static_cast<int>(std::min<int64_t>(partSize, size - offset));
        file->pMethods->xRead(file, result.data() + offset, count, offset);
    }
    return result;
}

void FileLock::Closer::operator()(sqlite3* each) const
{
    sqlite3_close(each);
}

} // namespace veskdb
