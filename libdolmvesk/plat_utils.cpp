#include "libdolmvesk/plat_utils.h"

#include "libdolmvesk/shared_folder.h"
#include "libdolmvesk/vesk_status.h"
#include "platform/descriptor.h"
#include "platform/platform.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstring>
#include <fcntl.h>
#include <libgen.h>
#include <memory>
#include <new>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace {

using platform::Descriptor;

char const makerFolder[] = "/Zelko";
size_t const longestPath = 1024;
size_t const usualPathSize = 100;
size_t const copyBufferSize = 16384;

DatabaseAccess const ownAccess = {0, 80, 0755, 0644};
DatabaseAccess const sharedAccess = {0, 80, 01777, 0666};

bool isSuperUser()
{
    return geteuid() == 0;
}

std::string parentOf(std::string const& path)
{
    std::string parent;
    veskiPathParent(path, parent);
    return parent;
}

/// Sets the process's umask while the object lives.
class FileMask
{
public:
    explicit FileMask(mode_t mask) : previous(umask(mask)) {}
    FileMask(FileMask const&) = delete;
    FileMask& operator=(FileMask const&) = delete;
    ~FileMask() { umask(previous); }

private:
    mode_t previous;
};

/// A database file opened for reading through SQLite's default file layer (VFS). When any descriptor of a file is
/// closed, the system releases all locks that the process holds on the file; the file layer delays such closes.
class DatabaseSource
{
public:
    explicit DatabaseSource(std::string const& source) : vfs(sqlite3_vfs_find(nullptr)), code(open(source))
    {
        if (cannotBeOpened()) {
            // The file layer opens no link: like SQLite, pass it the resolved path.
            std::array<char, PATH_MAX> resolved;
            int const found =
                vfs->xFullPathname(vfs, source.c_str(), static_cast<int>(resolved.size()), resolved.data());
            code = (found & 0xFF) == SQLITE_OK ? open(resolved.data()) : code;
        }
    }
    DatabaseSource(DatabaseSource const&) = delete;
    DatabaseSource& operator=(DatabaseSource const&) = delete;
    ~DatabaseSource()
    {
        if (isOpen()) {
            file->pMethods->xClose(file);
        }
    }

    bool isOpen() const { return code == SQLITE_OK; }
    bool cannotBeOpened() const { return (code & 0xFF) == SQLITE_CANTOPEN; }

    /// Reads exactly `size` bytes.
    bool read(char* buffer, size_t size, off_t offset)
    {
        return file->pMethods->xRead(file, buffer, static_cast<int>(size), offset) == SQLITE_OK;
    }

private:
    int open(std::string const& path)
    {
        // The file layer's object, followed by the name, which must live as long: it ends with two zeros, the second of
        // which is an empty list of parameters.
        auto const recordSize = static_cast<size_t>(vfs->szOsFile);
        storage = std::make_unique<char[]>(recordSize + path.size() + 2);
        char* const name = storage.get() + recordSize;
        path.copy(name, path.size());
        file = reinterpret_cast<sqlite3_file*>(storage.get());
        return vfs->xOpen(vfs, name, file, SQLITE_OPEN_READONLY | SQLITE_OPEN_MAIN_DB, nullptr);
    }

    sqlite3_vfs* vfs;
    std::unique_ptr<char[]> storage; // new[] aligns it for any object
    sqlite3_file* file = nullptr;
    int code;
};

bool isSameFile(struct stat const& one, struct stat const& other)
{
    return one.st_dev == other.st_dev && one.st_ino == other.st_ino;
}

/// Opens the target of a copy and empties it. Where other users may write its folder, the super-user opens only a
/// regular file without further hard links. Does not block on a FIFO.
Descriptor openTarget(std::string const& path, mode_t mode)
{
    bool const shared = isSuperUser() && veskiOthersMayWriteIn(parentOf(path));
    int const flags = O_WRONLY | O_CREAT | O_CLOEXEC | O_NONBLOCK | (shared ? O_NOFOLLOW : 0);
    Descriptor target(open(path.c_str(), flags, mode));
    struct stat status = {};
    bool const usable = fstat(target.get(), &status) == 0 && S_ISREG(status.st_mode) &&
                        (!shared || status.st_nlink == 1) && ftruncate(target.get(), 0) == 0;
    return usable ? std::move(target) : Descriptor();
}

/// Copies the bytes that the source had when it was examined.
bool copyBytes(DatabaseSource& source, off_t size, int target)
{
    std::array<char, copyBufferSize> buffer;
    for (off_t offset = 0; offset < size;) {
        size_t const count = static_cast<size_t>(std::min<off_t>(copyBufferSize, size - offset));
        if (!source.read(buffer.data(), count, offset) ||
            write(target, buffer.data(), count) != static_cast<ssize_t>(count)) {
            return false;
        }
        offset += static_cast<off_t>(count);
    }
    return true;
}

void giveAccessByPath(std::string const& path, DatabaseAccess const& access)
{
    struct stat status = {};
    if (stat(path.c_str(), &status) != 0) {
        return;
    }
    (void)!chown(path.c_str(), access.owner, access.group);
    (void)chmod(path.c_str(), (status.st_mode & S_IFDIR) != 0 ? access.folder : access.file);
}

void giveAccess(std::string const& folder, std::string const& path, DatabaseAccess const& access)
{
    if (isSuperUser() && veskiOthersMayWriteIn(folder)) {
        veskiGiveAccessInSharedFolder(path, access);
    } else {
        giveAccessByPath(path, access);
    }
}

} // namespace

bool veskiDbPath(std::string& out)
{
    out.reserve(usualPathSize); // one allocation, enough for what callers append, too
    if (!platform::localApplicationSupport(out)) {
        return false;
    }
    out += makerFolder;
    return true;
}

bool veskiPathExists(std::string const& path)
{
    struct stat status = {};
    return stat(path.c_str(), &status) == 0;
}

bool veskiFileExists(std::string const& path)
{
    struct stat status = {};
    return stat(path.c_str(), &status) == 0 && (status.st_mode & S_IFREG) != 0;
}

bool veskiDirectoryExists(std::string const& path)
{
    struct stat status = {};
    return stat(path.c_str(), &status) == 0 && (status.st_mode & S_IFDIR) != 0;
}

uint32_t veskiGetFileModTime(std::string const& path)
{
    struct stat status = {};
    return stat(path.c_str(), &status) == 0 ? static_cast<uint32_t>(status.st_mtime) : 0;
}

bool veskiPathParent(std::string const& path, std::string& parent)
{
    parent = path;
    char const* const folder = dirname(parent.data()); // which cuts its argument
    if (folder != parent.data()) {
        parent = folder; // "." or "/"
    }
    parent.resize(std::strlen(parent.c_str()));
    return true;
}

bool veskiPathAppend(std::string const& base, std::string_view tail, std::string& out)
{
    if (base.size() + tail.size() > longestPath) {
        return false;
    }
    out = base;
    if (tail.empty()) {
        return true;
    }
    if (out.empty() || out.back() != '/') {
        out.push_back('/');
    }
    tail.remove_prefix(std::min(tail.find_first_not_of('/'), tail.size()));
    out += tail;
    return true;
}

int32_t veskiCreateDirectory(std::string const& path)
{
    if (!isSuperUser()) {
        return kVeskAccessDenied;
    }
    FileMask const mask(S_IWOTH);
    if (mkdir(path.c_str(), S_IRWXU | S_IRWXG | S_IRWXO) == 0) {
        return kVeskOK;
    }
    switch (errno) {
    case EEXIST:
        return veskiDirectoryExists(path) ? kVeskOK : kVeskIOError;
    case ENAMETOOLONG:
        return kVeskInvalidArgument;
    case EACCES:
        return kVeskAccessDenied;
    default:
        return kVeskIOError;
    }
}

int32_t veskiCreatePath(std::string const& path)
{
    if (veskiPathExists(path)) {
        return veskiDirectoryExists(path) ? kVeskOK : kVeskIOError;
    }
    std::string parent;
    veskiPathParent(path, parent);
    int32_t const status = veskiCreatePath(parent);
    return status == kVeskOK ? veskiCreateDirectory(path) : status;
}

bool veskiLoadFileContents(std::string const& path, std::vector<unsigned char>& out)
{
    struct stat status = {};
    if (stat(path.c_str(), &status) != 0) {
        return false;
    }
    if (status.st_size <= 0) {
        out.clear();
        return true;
    }
    Descriptor const file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (static_cast<uintmax_t>(status.st_size) > out.max_size()) {
        return false;
    }
    out.resize(static_cast<size_t>(status.st_size));
    return read(file.get(), out.data(), out.size()) == static_cast<ssize_t>(out.size());
}

bool veskiCopyDatabaseFile(std::string const& source, std::string const& target)
{
    bool const shared = isSuperUser() && veskiOthersMayWriteIn(parentOf(source));
    struct stat status = {};
    struct stat existing = {};
    if ((shared ? lstat(source.c_str(), &status) : stat(source.c_str(), &status)) != 0 ||
        (shared && (!S_ISREG(status.st_mode) || status.st_nlink != 1)) ||
        (stat(target.c_str(), &existing) == 0 && isSameFile(status, existing))) {
        return false;
    }
    DatabaseSource from(source);
    if (from.isOpen()) {
        Descriptor const to = openTarget(target, status.st_mode & (S_IRWXU | S_IRWXG | S_IRWXO));
        if (to.isOpen()) {
            // Not the size that SQLite's file layer reports: it reports a file of one byte as empty.
            if (!copyBytes(from, status.st_size, to.get())) {
                return false;
            }
            fchmod(to.get(), ownAccess.file);
            return true;
        }
    }
    veskiSetDBMod(target);
    return from.isOpen() || from.cannotBeOpened();
}

DatabaseAccess const& databaseAccess(bool shared)
{
    return shared ? sharedAccess : ownAccess;
}

int veskiSetDBMod(std::string const& path)
{
    if (isSuperUser() && veskiOthersMayWriteIn(parentOf(path))) {
        errno = EACCES;
        return -1;
    }
    return chmod(path.c_str(), ownAccess.file);
}

int32_t veskiSetDbAccess(std::string const& folder, std::string const& fileName, bool shared)
{
    giveAccess(parentOf(folder), folder, databaseAccess(shared));
    std::string path;
    if (veskiPathAppend(folder, fileName, path)) {
        giveAccess(folder, path, databaseAccess(shared));
    }
    return kVeskOK;
}
