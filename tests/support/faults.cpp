#include "tests/support/faults.h"

#include <cstring>

namespace testing_support {

std::vector<Fault> const allFaults = {
    {FaultPlace::kOpen, SQLITE_CANTOPEN, "open"},
    {FaultPlace::kRead, SQLITE_IOERR_READ, "read"},
    {FaultPlace::kWrite, SQLITE_IOERR_WRITE, "write"},
    {FaultPlace::kWrite, SQLITE_FULL, "write to a full disk"},
    {FaultPlace::kSync, SQLITE_IOERR_FSYNC, "sync"},
    {FaultPlace::kTruncate, SQLITE_IOERR_TRUNCATE, "truncate"},
    {FaultPlace::kDelete, SQLITE_IOERR_DELETE, "delete"},
    {FaultPlace::kAllocation, SQLITE_NOMEM, "allocation"},
    {FaultPlace::kSystemCall, SQLITE_IOERR, "system call"},
};

long liveAllocations = 0;

namespace {

sqlite3_vfs* real = nullptr;
sqlite3_vfs failing;
Fault armed{};
bool armedForEver = false;
int remaining = 0; // operations until the fault; 0: none armed
bool hasStruck = false;

struct FailingFile
{
    sqlite3_file base;
    sqlite3_file* inner; // lies behind this record
    char const* name;    // SQLite's, while the file is open
};

sqlite3_file* innerOf(sqlite3_file* file)
{
    return reinterpret_cast<FailingFile*>(file)->inner;
}

template<class Call>
int unlessFailing(FaultPlace place, Call call)
{
    return strikes(place) ? armed.sqliteCode : call();
}

void putDown(FaultPlace place, char const* name, sqlite3_int64 offset = 0, void const* bytes = nullptr,
             int size = 0)
{
    if (FailingVfs::record != nullptr && name != nullptr) {
        FailingVfs::record->push_back(
            {place, name, offset, {static_cast<char const*>(bytes), static_cast<size_t>(size)}});
    }
}

char const* nameOf(sqlite3_file* file)
{
    return reinterpret_cast<FailingFile*>(file)->name;
}

int fileClose(sqlite3_file* file)
{
    return innerOf(file)->pMethods->xClose(innerOf(file));
}
int fileRead(sqlite3_file* file, void* buffer, int amount, sqlite3_int64 offset)
{
    return unlessFailing(FaultPlace::kRead, [&] {
        return innerOf(file)->pMethods->xRead(innerOf(file), buffer, amount, offset);
    });
}
int fileWrite(sqlite3_file* file, void const* buffer, int amount, sqlite3_int64 offset)
{
    return unlessFailing(FaultPlace::kWrite, [&] {
        putDown(FaultPlace::kWrite, nameOf(file), offset, buffer, amount);
        return innerOf(file)->pMethods->xWrite(innerOf(file), buffer, amount, offset);
    });
}
int fileTruncate(sqlite3_file* file, sqlite3_int64 size)
{
    return unlessFailing(FaultPlace::kTruncate, [&] {
        putDown(FaultPlace::kTruncate, nameOf(file), size);
        return innerOf(file)->pMethods->xTruncate(innerOf(file), size);
    });
}
int fileSync(sqlite3_file* file, int flags)
{
    return unlessFailing(FaultPlace::kSync, [&] {
        putDown(FaultPlace::kSync, nameOf(file));
        return innerOf(file)->pMethods->xSync(innerOf(file), flags);
    });
}
int fileSize(sqlite3_file* file, sqlite3_int64* size)
{
    return innerOf(file)->pMethods->xFileSize(innerOf(file), size);
}
int fileLock(sqlite3_file* file, int level)
{
    return innerOf(file)->pMethods->xLock(innerOf(file), level);
}
int fileUnlock(sqlite3_file* file, int level)
{
    return innerOf(file)->pMethods->xUnlock(innerOf(file), level);
}
int fileCheckReservedLock(sqlite3_file* file, int* reserved)
{
    return innerOf(file)->pMethods->xCheckReservedLock(innerOf(file), reserved);
}
int fileControl(sqlite3_file* file, int operation, void* argument)
{
    return innerOf(file)->pMethods->xFileControl(innerOf(file), operation, argument);
}
int fileSectorSize(sqlite3_file* file)
{
    return innerOf(file)->pMethods->xSectorSize(innerOf(file));
}
int fileCharacteristics(sqlite3_file* file)
{
    return innerOf(file)->pMethods->xDeviceCharacteristics(innerOf(file));
}

sqlite3_io_methods const methods = {1,
                                    fileClose,
                                    fileRead,
                                    fileWrite,
                                    fileTruncate,
                                    fileSync,
                                    fileSize,
                                    fileLock,
                                    fileUnlock,
                                    fileCheckReservedLock,
                                    fileControl,
                                    fileSectorSize,
                                    fileCharacteristics,
                                    nullptr,
                                    nullptr,
                                    nullptr,
                                    nullptr,
                                    nullptr,
                                    nullptr};

int vfsOpen(sqlite3_vfs* /*vfs*/, char const* name, sqlite3_file* file, int flags, int* outFlags)
{
    auto* const opened = reinterpret_cast<FailingFile*>(file);
    opened->base.pMethods = nullptr;
    opened->inner = reinterpret_cast<sqlite3_file*>(opened + 1);
    opened->name = name;
    int const code = unlessFailing(FaultPlace::kOpen,
                                   [&] { return real->xOpen(real, name, opened->inner, flags, outFlags); });
    if (code == SQLITE_OK) {
        opened->base.pMethods = &methods;
    }
    return code;
}

int vfsDelete(sqlite3_vfs* /*vfs*/, char const* name, int syncFolder)
{
    return unlessFailing(FaultPlace::kDelete, [&] {
        putDown(FaultPlace::kDelete, name);
        return real->xDelete(real, name, syncFolder);
    });
}

} // namespace

FailingVfs::FailingVfs()
{
    real = sqlite3_vfs_find(nullptr);
    failing = *real;
    failing.zName = "failing";
    failing.szOsFile = static_cast<int>(sizeof(FailingFile)) + real->szOsFile;
    failing.xOpen = vfsOpen;
    failing.xDelete = vfsDelete;
    disarm();
    sqlite3_vfs_register(&failing, 1);
}

FailingVfs::~FailingVfs()
{
    sqlite3_vfs_unregister(&failing);
    sqlite3_vfs_register(real, 1);
}

void arm(Fault const& fault, int nth, bool forEver)
{
    armed = fault;
    armedForEver = forEver;
    remaining = nth;
    hasStruck = false;
}

void disarm()
{
    remaining = 0;
}

bool struck()
{
    return hasStruck;
}

bool strikes(FaultPlace place)
{
    if (remaining == 0 || armed.place != place || --remaining > 0) {
        return false;
    }
    hasStruck = true;
    remaining = armedForEver ? 1 : 0;
    return true;
}

} // namespace testing_support
