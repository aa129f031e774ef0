#include "tests/support/faults.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <dlfcn.h>
#include <link.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace testing_support {

Fault const allFaults[faultKinds] = {
    {" malloc realloc ", ENOMEM},
    {" open64 openat64 ", EMFILE},
    {" pread64 read lseek64 ", EIO},
    {" pwrite64 write sendfile64 ", EIO},
    {" pwrite64 write sendfile64 ", ENOSPC},
    {" fdatasync fsync ", EIO},
    {" ftruncate64 unlink ", EIO},
    {" linkat rename renameat renameat2 symlinkat ", EIO},
    {" mkdir mkdirat chmod fchmod chown fchown fchownat setfsuid ", EPERM},
};

std::function<void()> intrude;

namespace {

Fault armed = {};
Strike manner = Strike::kOnce;
int remaining = 0; // calls until the fault; 0: none armed
bool hasStruck = false;

bool strikes(char const* call)
{
    if (remaining == 0 || std::strstr(armed.calls, call) == nullptr || --remaining > 0) {
        return false;
    }
    if (manner == Strike::kDeath) {
        raise(SIGKILL);
    }
    hasStruck = true;
    remaining = manner == Strike::kFromThenOn ? 1 : 0;
    if (manner == Strike::kIntrusion) {
        intrude();
        return false;
    }
    errno = armed.error;
    return true;
}

/// Whether code of this program, of SQLite or of the C++ library is at an address: other libraries keep their memory.
bool isConcerned(void* caller)
{
    dl_find_object found = {};
    if (_dl_find_object(caller, &found) != 0) {
        return false;
    }
    char const* const file = found.dlfo_link_map->l_name; // empty for this program
    return *file == '\0' || std::strstr(file, "sqlite") != nullptr || std::strstr(file, "stdc++") != nullptr;
}

} // namespace

void arm(Fault const& fault, int nth, Strike strike)
{
    armed = fault;
    manner = strike;
    remaining = nth;
    hasStruck = false;
}

bool disarm()
{
    remaining = 0;
    return hasStruck;
}

// NOLINTBEGIN(readability-identifier-naming,misc-definitions-in-headers,bugprone-macro-parentheses)
// The names that a caller's code has come to once the C library's headers are through with them.
#define FAILING_CALL(result, name, parameters, arguments, condition, failure)                                \
    extern "C" __attribute__((visibility("default"))) result failing_##name parameters __asm__(#name);       \
    result failing_##name parameters                                                                         \
    {                                                                                                        \
        static auto* const original = reinterpret_cast<result(*) parameters>(dlsym(RTLD_NEXT, #name));       \
        return condition && strikes(" " #name " ") ? failure : original arguments;                           \
    }
#define FAILING(name, parameters, arguments) FAILING_CALL(int, name, parameters, arguments, true, -1)

FAILING(open64, (char const* path, int flags, mode_t mode), (path, flags, mode))
FAILING(openat64, (int folder, char const* path, int flags, mode_t mode), (folder, path, flags, mode))
FAILING(mkdir, (char const* path, mode_t mode), (path, mode))
FAILING(mkdirat, (int folder, char const* path, mode_t mode), (folder, path, mode))
FAILING(fchownat, (int folder, char const* path, uid_t owner, gid_t group, int flags),
        (folder, path, owner, group, flags))
// What cannot fail: asking for the user, and returning to the process's own.
FAILING_CALL(int, setfsuid, (uid_t user), (user), user != static_cast<uid_t>(-1) && user != geteuid(), -1)
FAILING(chmod, (char const* path, mode_t mode), (path, mode))
FAILING(fchmod, (int file, mode_t mode), (file, mode))
FAILING(chown, (char const* path, uid_t owner, gid_t group), (path, owner, group))
FAILING(fchown, (int file, uid_t owner, gid_t group), (file, owner, group))
FAILING(fsync, (int file), (file))
FAILING(fdatasync, (int file), (file))
FAILING(ftruncate64, (int file, off_t size), (file, size))
FAILING(linkat, (int fromFolder, char const* from, int toFolder, char const* to, int flags),
        (fromFolder, from, toFolder, to, flags))
FAILING(renameat2, (int fromFolder, char const* from, int toFolder, char const* to, unsigned flags),
        (fromFolder, from, toFolder, to, flags))
FAILING(rename, (char const* from, char const* to), (from, to))
FAILING(renameat, (int folder, char const* from, int other, char const* to), (folder, from, other, to))
FAILING(symlinkat, (char const* text, int folder, char const* path), (text, folder, path))
FAILING(unlink, (char const* path), (path))
FAILING_CALL(ssize_t, read, (int file, void* bytes, size_t size), (file, bytes, size), true, -1)
FAILING_CALL(ssize_t, pread64, (int file, void* bytes, size_t size, off_t at), (file, bytes, size, at), true,
             -1)
FAILING_CALL(ssize_t, pwrite64, (int file, void const* bytes, size_t size, off_t at), (file, bytes, size, at),
             true, -1)
FAILING_CALL(off_t, lseek64, (int file, off_t offset, int from), (file, offset, from), true, -1)
FAILING_CALL(ssize_t, sendfile64, (int target, int source, off_t* at, size_t size),
             (target, source, at, size), true, -1)
FAILING(getgroups, (int size, gid_t* groups), (size, groups))
// Half of the bytes reach the file, as on a disk that has just become full.
FAILING_CALL(ssize_t, write, (int file, void const* bytes, size_t size), (file, bytes, size), true,
             size > 1 ? original(file, bytes, size / 2) : -1)
FAILING_CALL(void*, malloc, (size_t size), (size), remaining != 0 && isConcerned(__builtin_return_address(0)),
             nullptr)
FAILING_CALL(void*, realloc, (void* block, size_t size), (block, size),
             remaining != 0 && isConcerned(__builtin_return_address(0)), nullptr)
// NOLINTEND(readability-identifier-naming,misc-definitions-in-headers,bugprone-macro-parentheses)

} // namespace testing_support
