#include "libdolmvesk/shared_folder.h"

#include "platform/descriptor.h"

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace {

using platform::Descriptor;

int const examined = O_NOFOLLOW | O_CLOEXEC;

#ifdef O_PATH
// A descriptor of this kind holds no lock: closing it releases none of the process's locks on the file.
Descriptor openToExamine(std::string const& path)
{
    return Descriptor(open(path.c_str(), O_PATH | examined));
}

bool giveOwner(Descriptor const& file, uid_t owner, gid_t group)
{
    return fchownat(file.get(), "", owner, group, AT_EMPTY_PATH) == 0;
}
#else
Descriptor openToExamine(std::string const& path)
{
    return Descriptor(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | examined));
}

using Descriptors = std::vector<Descriptor>;
std::weak_ptr<Descriptors> keptDescriptors;

std::shared_ptr<Descriptors> keep()
{
    auto kept = keptDescriptors.lock();
    if (!kept) {
        kept = std::make_shared<Descriptors>();
        keptDescriptors = kept;
    }
    return kept;
}

bool giveOwner(Descriptor const& file, uid_t owner, gid_t group)
{
    return fchown(file.get(), owner, group) == 0;
}
#endif

void keepOpen(Descriptor file)
{
#ifndef O_PATH
    keep()->push_back(std::move(file));
#else
    (void)file;
#endif
}

bool isSameFile(struct stat const& one, struct stat const& other)
{
    return one.st_dev == other.st_dev && one.st_ino == other.st_ino;
}

/// Sets the mode of a folder or file that was opened to be examined.
void giveMode(Descriptor const& opened, std::string const& path, struct stat const& status, mode_t mode)
{
#ifdef O_PATH
    if (chmod(("/proc/self/fd/" + std::to_string(opened.get())).c_str(), mode) == 0) {
        return;
    }
    // No /proc. In a sticky folder, root's own file keeps its name, so that the name can be used below.
    struct stat now = {};
    if (lstat(path.c_str(), &now) == 0 && isSameFile(now, status) && now.st_uid == 0) {
        (void)chmod(path.c_str(), mode);
    }
#else
    (void)path;
    (void)status;
    (void)fchmod(opened.get(), mode);
#endif
}

bool isAcceptable(struct stat const& status)
{
    return S_ISREG(status.st_mode) &&
           (status.st_nlink == 1 || (status.st_uid == 0 && (status.st_mode & S_IWOTH) != 0));
}

enum class Found
{
    kNothing,
    kAcceptable,
    kRefused
};

Found look(char const* path, struct stat& status)
{
    return lstat(path, &status) != 0 ? Found::kNothing
           : isAcceptable(status)    ? Found::kAcceptable
                                     : Found::kRefused;
}

/// Examines a file and makes it root's: no other user can then exchange it in a sticky folder.
Found bind(char const* path, struct stat& status)
{
    Found const found = look(path, status);
    if (found != Found::kAcceptable || status.st_uid == 0) {
        return found;
    }
    Descriptor file = openToExamine(path);
    struct stat named = {};
    bool const bound = fstat(file.get(), &status) == 0 && isAcceptable(status) &&
                       giveOwner(file, 0, static_cast<gid_t>(-1)) && lstat(path, &named) == 0 &&
                       isSameFile(status, named);
    keepOpen(std::move(file));
    return bound ? Found::kAcceptable : Found::kRefused;
}

/// Creates a file that is root's from the start. Fails if the path exists. SQLite gives an empty journal its
/// database's owner and mode.
bool createEmpty(char const* path)
{
    return Descriptor(open(path, O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0644)).isOpen();
}

/// Makes a folder root's and sticky if others may write it: then only a file's owner can exchange it.
bool preventExchange(std::string const& folder)
{
    std::string parent;
    veskiPathParent(folder, parent);
    int const links = veskiOthersMayWriteIn(parent) ? O_NOFOLLOW : 0;
    Descriptor const opened(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC | links));
    struct stat status = {};
    if (fstat(opened.get(), &status) != 0) {
        return false;
    }
    bool const owned = status.st_uid == 0 || fchown(opened.get(), 0, static_cast<gid_t>(-1)) == 0;
    bool const sticky = (status.st_mode & (S_IWOTH | S_ISVTX)) != S_IWOTH ||
                        fchmod(opened.get(), (status.st_mode & 07777) | S_ISVTX) == 0;
    return owned && sticky;
}

} // namespace

bool veskiOthersMayWriteIn(std::string const& folder)
{
    struct stat status = {};
    return stat(folder.c_str(), &status) == 0 && (status.st_uid != 0 || (status.st_mode & S_IWOTH) != 0);
}

bool veskiWithdrawFromOthers(std::string const& path)
{
    struct stat status = {};
    auto const isRoots = [&] {
        return status.st_uid == 0 &&
               (S_ISDIR(status.st_mode) || (S_ISREG(status.st_mode) && status.st_nlink == 1));
    };
    if (geteuid() != 0 || lstat(path.c_str(), &status) != 0 || !isRoots()) {
        return false;
    }
    if ((status.st_mode & S_IWOTH) == 0) {
        return true;
    }
    Descriptor const opened(open(path.c_str(), O_RDONLY | O_NONBLOCK | examined));
    return fstat(opened.get(), &status) == 0 && isRoots() &&
           fchmod(opened.get(), status.st_mode & 07777 & ~mode_t{S_IWOTH}) == 0;
}

std::shared_ptr<void> veskiKeepDescriptors()
{
#ifndef O_PATH
    return keep();
#else
    return nullptr;
#endif
}

void veskiGiveAccessInSharedFolder(std::string const& path, DatabaseAccess const& access)
{
    Descriptor file = openToExamine(path);
    struct stat status = {};
    if (fstat(file.get(), &status) != 0) {
        return;
    }
    bool const isFolder = S_ISDIR(status.st_mode);
    mode_t const mode = isFolder ? access.folder : access.file;
    if (isFolder || (S_ISREG(status.st_mode) && status.st_nlink == 1)) {
        if (status.st_uid != access.owner || status.st_gid != access.group) {
            giveOwner(file, access.owner, access.group);
        }
        giveMode(file, path, status, mode);
    }
    keepOpen(std::move(file));
}

/// The functions that SQLite calls in place of its own file layer's.
struct RestrictedVfs::Calls
{
    static RestrictedVfs& layerOf(sqlite3_vfs* vfs) { return *static_cast<RestrictedVfs*>(vfs); }

    static int open(sqlite3_vfs* vfs, char const* name, sqlite3_file* file, int flags, int* outFlags)
    {
        RestrictedVfs const& layer = layerOf(vfs);
        file->pMethods = nullptr;
        if (name == nullptr) { // a temporary file of SQLite's
            return layer.base->xOpen(layer.base, name, file, flags, outFlags);
        }
        struct stat status = {};
        bool const create = (flags & SQLITE_OPEN_CREATE) != 0;
        Found found = Found::kRefused;
        if (name == layer.database) {
            found = layer.mayChange ? bind(name, status) : look(name, status);
        } else if (name == layer.journal && layer.mayChange) {
            if (create) { // SQLite holds a writer's lock, so an existing journal is of no use
                unlink(name);
            }
            found = bind(name, status);
            flags = (flags & ~SQLITE_OPEN_READONLY) | SQLITE_OPEN_READWRITE; // does not block on a FIFO
        }
        // Before SQLite opens the name: it would change owner and mode of what another user has put there.
        if (found == Found::kRefused || (found == Found::kNothing && create && !createEmpty(name))) {
            return SQLITE_CANTOPEN;
        }
        return layer.base->xOpen(layer.base, name, file, flags, outFlags);
    }

    static int remove(sqlite3_vfs* vfs, char const* name, int syncFolder)
    {
        RestrictedVfs const& layer = layerOf(vfs);
        return name == layer.journal ? layer.base->xDelete(layer.base, name, syncFolder) : SQLITE_OK;
    }

    static int access(sqlite3_vfs* vfs, char const* name, int flags, int* result)
    {
        RestrictedVfs const& layer = layerOf(vfs);
        if (name == layer.database || name == layer.journal) {
            return layer.base->xAccess(layer.base, name, flags, result);
        }
        *result = 0;
        return SQLITE_OK;
    }

    /// Deliberate: returns the path unchanged. SQLite's own would follow a link at the file's name.
    static int fullPathname(sqlite3_vfs* /*vfs*/, char const* name, int size, char* result)
    {
        return std::snprintf(result, static_cast<size_t>(size), "%s", name) < size ? SQLITE_OK
                                                                                   : SQLITE_CANTOPEN;
    }
};

RestrictedVfs::RestrictedVfs(std::string path, bool becomesRoots)
    : sqlite3_vfs(), base(sqlite3_vfs_find(nullptr)), database(std::move(path)),
      journal(database + "-journal"), ownName("dolmvesk-" + database), mayChange(becomesRoots)
{
    // An older SQLite has a shorter record.
    size_t const sizes[] = {offsetof(sqlite3_vfs, xCurrentTimeInt64), offsetof(sqlite3_vfs, xSetSystemCall),
                            sizeof(sqlite3_vfs)};
    int const version = std::min(base->iVersion, 3);
    std::memcpy(static_cast<sqlite3_vfs*>(this), base, sizes[version - 1]);
    pNext = nullptr;
    zName = ownName.c_str();
    xOpen = Calls::open;
    xDelete = Calls::remove;
    xAccess = Calls::access;
    xFullPathname = Calls::fullPathname;
}

int RestrictedVfs::open(int flags, sqlite3** connection)
{
    // Registered during the call only: no other code can use it, and nothing is left when the plug-in is unloaded.
    sqlite3_vfs_register(this, 0);
    int const opened = sqlite3_open_v2(database.c_str(), connection, flags, zName);
    sqlite3_vfs_unregister(this);
    return opened;
}

bool veskiMayOpenDatabase(std::string const& folder, std::string const& path)
{
    struct stat status = {};
    return geteuid() != 0 || !veskiOthersMayWriteIn(folder) ||
           (look(path.c_str(), status) != Found::kRefused &&
            look((path + "-journal").c_str(), status) != Found::kRefused);
}

int veskiOpenConnection(std::string const& folder, std::string const& path, int flags,
                        std::unique_ptr<RestrictedVfs>& vfs, sqlite3** database)
{
    if (geteuid() != 0 || !veskiOthersMayWriteIn(folder)) {
        return sqlite3_open_v2(path.c_str(), database, flags, nullptr);
    }
    bool const mayChange = (flags & SQLITE_OPEN_READWRITE) != 0;
    *database = nullptr;
    if (!veskiMayOpenDatabase(folder, path) || (mayChange && !preventExchange(folder))) {
        return SQLITE_CANTOPEN;
    }
    vfs = std::make_unique<RestrictedVfs>(path, mayChange);
    return vfs->open(flags, database);
}
