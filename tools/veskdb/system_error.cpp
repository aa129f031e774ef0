#include "tools/veskdb/system_error.h"

#include "platform/descriptor.h"
#include "tools/veskdb/file_status.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sqlite3.h>
#include <sys/statvfs.h>
#include <unistd.h>

namespace veskdb {

std::string describeError(int error)
{
    switch (error) {
    case ENOSPC:
        return "the disk is full";
    case EROFS:
        return "the file system is read-only";
    default:
        return std::strerror(error);
    }
}

std::string reasonFor(int sqliteCode, int systemError, std::string const& path)
{
    int const code = sqliteCode & 0xFF;
    if (code == SQLITE_FULL) {
        return describeError(ENOSPC);
    }
    struct statvfs fileSystem = {};
    statvfs(folderPart(path).c_str(), &fileSystem);
    bool const readOnly = (fileSystem.f_flag & ST_RDONLY) != 0;
    if (readOnly && (code == SQLITE_READONLY || code == SQLITE_CANTOPEN || code == SQLITE_AUTH)) {
        return describeError(EROFS);
    }
    return code == SQLITE_IOERR && systemError != 0 ? describeError(systemError) : "";
}

std::string reasonFor(sqlite3* connection, std::string const& path)
{
    return reasonFor(sqlite3_errcode(connection), sqlite3_system_errno(connection), path);
}

std::string reasonForBusy(std::string const& path)
{
    constexpr off_t unusedBySQLite = 0x7FFF0000;
    platform::Descriptor const file(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    struct flock lock = {};
    lock.l_type = F_RDLCK;
    lock.l_whence = SEEK_SET;
    lock.l_start = unusedBySQLite;
    lock.l_len = 1;
    bool const granted =
        !file.isOpen() || fcntl(file.get(), F_SETLK, &lock) == 0 || errno == EAGAIN || errno == EACCES;
    return granted ? "" : "the file system grants no locks, without which SQLite cannot work";
}

} // namespace veskdb
