#include "libdolmvesk/plat_utils.h"

#include "libdolmvesk/vesk_status.h"
#include "platform/descriptor.h"
#include "platform/planted_links.h"
#include "platform/platform.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <fcntl.h>
#include <libgen.h>
#include <memory>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

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

/// The process's file mask while the object lives.
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

/// A database file opened for reading through SQLite's default file system layer. The system drops all locks
/// that a process has on a file when any descriptor of it is closed; that layer holds such closes back.
class DatabaseSource
{
public:
    explicit DatabaseSource(std::string const& source) : vfs(sqlite3_vfs_find(nullptr))
    {
        if (vfs == nullptr) {
            return;
        }
        // The layer's record of the file and behind it, for as long, the name that it keeps looking at: ended by two
        // zeros, the second for an empty list of parameters.
        auto const recordSize = static_cast<size_t>(vfs->szOsFile);
        storage = std::make_unique<char[]>(recordSize + source.size() + 2);
        char* const name = storage.get() + recordSize;
        source.copy(name, source.size());
        file = reinterpret_cast<sqlite3_file*>(storage.get());
        int const flags = SQLITE_OPEN_READONLY | SQLITE_OPEN_MAIN_DB;
        opened = vfs->xOpen(vfs, name, file, flags, nullptr) == SQLITE_OK;
    }
    DatabaseSource(DatabaseSource const&) = delete;
    DatabaseSource& operator=(DatabaseSource const&) = delete;
    ~DatabaseSource()
    {
        if (file != nullptr && file->pMethods != nullptr) {
            file->pMethods->xClose(file);
        }
    }
    bool isOpen() const { return opened; }

    /// Reads exactly the bytes asked for.
    bool read(char* buffer, size_t size, off_t offset)
    {
        return file->pMethods->xRead(file, buffer, static_cast<int>(size), offset) == SQLITE_OK;
    }

private:
    sqlite3_vfs* vfs;
    std::unique_ptr<char[]> storage; // as aligned as whatever comes from new
    sqlite3_file* file = nullptr;
    bool opened = false;
};

/// Opens the target of a copy. As the super-user it follows no link but the super-user's own, also when one
/// appears in between, and waits for no pipe.
int openTarget(std::string const& path, mode_t mode)
{
    int flags = O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NONBLOCK;
    struct stat unfollowed = {};
    bool const exists = lstat(path.c_str(), &unfollowed) == 0;
    bool const trustedLink = exists && S_ISLNK(unfollowed.st_mode) && !platform::isPlantedLink(unfollowed);
    if (isSuperUser() && !trustedLink) {
        flags |= O_NOFOLLOW;
    }
    return open(path.c_str(), flags, mode);
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

void setAccess(std::string const& path, DatabaseAccess const& access)
{
    struct stat status = {};
    bool const superUser = isSuperUser();
    if (superUser ? lstat(path.c_str(), &status) != 0 : stat(path.c_str(), &status) != 0) {
        return;
    }
    bool const trustedLink = superUser && S_ISLNK(status.st_mode);
    if (trustedLink && (platform::isPlantedLink(status) || stat(path.c_str(), &status) != 0)) {
        return;
    }
    if (superUser && !S_ISDIR(status.st_mode) && status.st_nlink > 1) {
        return; // a second name of some other file: its owner and mode are not the database's to change
    }
    if (superUser && (status.st_uid != access.owner || status.st_gid != access.group)) {
        if (trustedLink) {
            (void)!chown(path.c_str(), access.owner, access.group);
        } else {
            // From here on the file is the super-user's, and nobody else can exchange it in a sticky folder.
            (void)!lchown(path.c_str(), access.owner, access.group);
            if (lstat(path.c_str(), &status) != 0 || S_ISLNK(status.st_mode) ||
                (!S_ISDIR(status.st_mode) && status.st_nlink > 1)) {
                return;
            }
        }
    }
    (void)chmod(path.c_str(), (status.st_mode & S_IFDIR) != 0 ? access.folder : access.file);
}

/// Whether somebody other than the super-user can create, exchange and remove files in a folder.
bool othersMayWriteIn(std::string const& folder)
{
    struct stat status = {};
    return stat(folder.c_str(), &status) == 0 &&
           (status.st_uid != 0 || (status.st_mode & (S_IWGRP | S_IWOTH)) != 0);
}

/// Whether what stands at a path is a file of this name alone, or nothing.
bool isOrdinaryFile(std::string const& path)
{
    struct stat status = {};
    if (lstat(path.c_str(), &status) != 0) {
        return true;
    }
    if (platform::isPlantedLink(status) || (S_ISLNK(status.st_mode) && stat(path.c_str(), &status) != 0)) {
        return false;
    }
    return S_ISREG(status.st_mode) && status.st_nlink == 1;
}

} // namespace

bool veskiDbPath(std::string& out)
{
    out.reserve(usualPathSize); // once, for all that is appended to it too
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
    std::string copy = path; // dirname writes into its argument
    if (char const* const folder = dirname(copy.data())) {
        parent = folder;
    }
    return true;
}

bool veskiPathAppend(std::string const& base, std::string_view tail, std::string& out)
{
    if (base.size() + tail.size() > longestPath) {
        return false;
    }
    if (&out != &base) {
        out = base;
    }
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
    platform::Descriptor const file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (!file.isOpen() || static_cast<uintmax_t>(status.st_size) > out.max_size()) {
        return false;
    }
    out.resize(static_cast<size_t>(status.st_size));
    return read(file.get(), out.data(), out.size()) == static_cast<ssize_t>(out.size());
}

bool veskiCopyDatabaseFile(std::string const& source, std::string const& target)
{
    struct stat status = {};
    if (stat(source.c_str(), &status) != 0) {
        return false;
    }
    DatabaseSource from(source);
    if (from.isOpen()) {
        platform::Descriptor const to(openTarget(target, status.st_mode & (S_IRWXU | S_IRWXG | S_IRWXO)));
        if (to.isOpen()) {
            // The size is the file's own: SQLite's layer takes a file of one byte for an empty one.
            if (!copyBytes(from, status.st_size, to.get())) {
                return false;
            }
            fchmod(to.get(), ownAccess.file);
            return true;
        }
    }
    veskiSetDBMod(target);
    return true;
}

bool veskiJournalNamesFile(std::string const& journal)
{
    std::array<unsigned char, 8> const mark{0xd9, 0xd5, 0x05, 0xf9, 0x20, 0xa1, 0x63, 0xd7};
    std::array<unsigned char, 8> end{};
    platform::Descriptor const file(open(journal.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    struct stat status = {};
    return file.isOpen() && fstat(file.get(), &status) == 0 &&
           pread(file.get(), end.data(), end.size(), status.st_size - static_cast<off_t>(end.size())) ==
               static_cast<ssize_t>(end.size()) &&
           end == mark;
}

bool veskiMayOpenDatabase(std::string const& folder, std::string const& path)
{
    if (!isSuperUser() || !othersMayWriteIn(folder)) {
        return true;
    }
    std::string const journal = path + "-journal";
    return isOrdinaryFile(path) && isOrdinaryFile(journal) && isOrdinaryFile(path + "-wal") &&
           isOrdinaryFile(path + "-shm") && !veskiJournalNamesFile(journal);
}

DatabaseAccess const& databaseAccess(bool shared)
{
    return shared ? sharedAccess : ownAccess;
}

int veskiSetDBMod(std::string const& path)
{
    struct stat unfollowed = {};
    if (isSuperUser() && lstat(path.c_str(), &unfollowed) == 0 && platform::isPlantedLink(unfollowed)) {
        errno = ELOOP;
        return -1;
    }
    return chmod(path.c_str(), ownAccess.file);
}

int32_t veskiSetDbAccess(std::string const& folder, std::string const& fileName, bool shared)
{
    setAccess(folder, databaseAccess(shared));
    std::string path;
    if (veskiPathAppend(folder, fileName, path)) {
        setAccess(path, databaseAccess(shared));
    }
    return kVeskOK;
}
