// The product's allocations and system calls, with faults: SQLite's and C++'s memory, and by the linker's --wrap what
// the product's objects call themselves. Libraries beside SQLite keep their own.
#include "tests/support/faults.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <new>
#include <sys/stat.h>
#include <unistd.h>

using namespace testing_support;

namespace {

void* counted(void* allocated)
{
    liveAllocations += allocated != nullptr ? 1 : 0;
    return allocated;
}

sqlite3_mem_methods sqliteMemory;

// Before anything else makes SQLite fix its own.
[[maybe_unused]] int const configured = [] {
    sqlite3_config(SQLITE_CONFIG_GETMALLOC, &sqliteMemory);
    sqlite3_mem_methods failing = sqliteMemory;
    failing.xMalloc = [](int size) -> void* {
        return strikes(FaultPlace::kAllocation) ? nullptr : counted(sqliteMemory.xMalloc(size));
    };
    failing.xRealloc = [](void* block, int size) {
        return strikes(FaultPlace::kAllocation) ? nullptr : sqliteMemory.xRealloc(block, size);
    };
    failing.xFree = [](void* block) {
        --liveAllocations;
        sqliteMemory.xFree(block);
    };
    return sqlite3_config(SQLITE_CONFIG_MALLOC, &failing);
}();

bool callFails()
{
    errno = EIO;
    return strikes(FaultPlace::kSystemCall);
}

} // namespace

// NOLINTBEGIN(bugprone-reserved-identifier,readability-identifier-naming): the linker's names
extern "C" {
void* __real_malloc(size_t size);
void __real_free(void* block);
ssize_t __real_write(int file, void const* bytes, size_t size);

void* __wrap_malloc(size_t size)
{
    return strikes(FaultPlace::kAllocation) ? nullptr : counted(__real_malloc(size));
}
void __wrap_free(void* block)
{
    liveAllocations -= block != nullptr ? 1 : 0;
    __real_free(block);
}

#define FAILING_CALL(name, parameters, arguments)                                                            \
    int __real_##name parameters;                                                                            \
    int __wrap_##name parameters                                                                             \
    {                                                                                                        \
        return callFails() ? -1 : __real_##name arguments;                                                   \
    }
FAILING_CALL(open64, (char const* path, int flags, mode_t mode), (path, flags, mode))
FAILING_CALL(mkdir, (char const* path, mode_t mode), (path, mode))
FAILING_CALL(chmod, (char const* path, mode_t mode), (path, mode))
FAILING_CALL(fchmod, (int file, mode_t mode), (file, mode))
FAILING_CALL(chown, (char const* path, uid_t owner, gid_t group), (path, owner, group))
FAILING_CALL(lchown, (char const* path, uid_t owner, gid_t group), (path, owner, group))
FAILING_CALL(fchown, (int file, uid_t owner, gid_t group), (file, owner, group))
FAILING_CALL(fsync, (int file), (file))
FAILING_CALL(link, (char const* from, char const* to), (from, to))
FAILING_CALL(rename, (char const* from, char const* to), (from, to))

// Half of the bytes reach the file, as on a disk that has just become full.
ssize_t __wrap_write(int file, void const* bytes, size_t size)
{
    if (!callFails()) {
        return __real_write(file, bytes, size);
    }
    return size > 1 ? __real_write(file, bytes, size / 2) : -1;
}
}
// NOLINTEND(bugprone-reserved-identifier,readability-identifier-naming)

void* operator new(size_t size, std::nothrow_t const& /*tag*/) noexcept
{
    return __wrap_malloc(size);
}
void* operator new(size_t size)
{
    void* const block = __wrap_malloc(size);
    return block != nullptr ? block : throw std::bad_alloc();
}
void* operator new[](size_t size)
{
    return operator new(size);
}
void operator delete(void* block) noexcept
{
    __wrap_free(block);
}
void operator delete(void* block, size_t /*size*/) noexcept
{
    __wrap_free(block);
}
void operator delete[](void* block) noexcept
{
    __wrap_free(block);
}
void operator delete[](void* block, size_t /*size*/) noexcept
{
    __wrap_free(block);
}
