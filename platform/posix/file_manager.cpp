#include "platform/descriptor.h"
#include "platform/platform.h"
#include "platform/posix/temporary_file.h"
#include "platform/unpublished_copy.h"

#include <array>
#include <cerrno>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>
#include <vector>

// Deliberate: nothing of std::filesystem. In a 32-bit process the C++ runtime's own calls refuse every file and
// folder dated past 2038.

namespace platform {

static_assert(
    sizeof(off_t) == 8 && sizeof(ino_t) == 8 && sizeof(time_t) == 8,
    "a 32-bit build, too, must reach large files, inode numbers beyond 32 bits and dates past 2038");

struct FileAttributes
{
    uid_t owner;
    gid_t group;
    mode_t permissions;
    std::array<timespec, 2> accessedAndModified;
};

namespace {

bool copyBytes(int source, TemporaryFile& target)
{
    std::array<char, 65536> buffer;
    for (;;) {
        ssize_t const count = read(source, buffer.data(), buffer.size());
        if (count == 0) {
            return true;
        }
        if (count > 0 ? !target.write(buffer.data(), static_cast<size_t>(count)) : errno != EINTR) {
            return false;
        }
    }
}

bool copyFile(std::string const& from, std::string const& to)
{
    // What stands at the path may have changed since the caller looked: never a link, never waiting for a pipe.
    Descriptor const source(open(from.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    struct stat status = {};
    if (!source.isOpen() || fstat(source.get(), &status) != 0 || !S_ISREG(status.st_mode)) {
        return false;
    }
    TemporaryFile target(to, 0600);
    return target.isOpen() && copyBytes(source.get(), target) && target.setMode(status.st_mode & 0777) &&
           target.becomeTarget();
}

bool copyLink(std::string const& from, std::string const& to, off_t length)
{
    std::string text(static_cast<size_t>(length) + 1, '\0');
    ssize_t const count = readlink(from.c_str(), text.data(), text.size());
    if (count < 0 || count > length) { // longer: changed in between
        return false;
    }
    text.resize(static_cast<size_t>(count));
    return symlink(text.c_str(), to.c_str()) == 0;
}

bool namesIn(std::string const& folder, std::vector<std::string>& names)
{
    std::unique_ptr<DIR, int (*)(DIR*)> const entries(opendir(folder.c_str()), closedir);
    if (!entries) {
        return false;
    }
    errno = 0;
    while (dirent const* const entry = readdir(entries.get())) {
        std::string name = entry->d_name;
        if (name != "." && name != "..") {
            names.push_back(std::move(name));
        }
        errno = 0;
    }
    return errno == 0;
}

bool copyAny(std::string const& from, std::string const& to);

bool copyFolder(std::string const& from, std::string const& to, mode_t permissions)
{
    // Not open while the folders below are copied, so that their depth takes no descriptors.
    std::vector<std::string> names;
    if (!namesIn(from, names) || mkdir(to.c_str(), 0700) != 0) {
        return false;
    }
    for (auto& name : names) {
        name.insert(0, 1, '/');
        if (!copyAny(from + name, to + name)) {
            return false;
        }
    }
    Descriptor const copy(open(to.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    return copy.isOpen() && fchmod(copy.get(), permissions) == 0;
}

bool copyAny(std::string const& from, std::string const& to)
{
    struct stat status = {};
    if (lstat(from.c_str(), &status) != 0) {
        return false;
    }
    switch (status.st_mode & S_IFMT) {
    case S_IFREG:
        return copyFile(from, to);
    case S_IFLNK:
        return copyLink(from, to, status.st_size);
    case S_IFDIR:
        return copyFolder(from, to, status.st_mode & 0777);
    default:
        return false;
    }
}

bool applyThroughDescriptor(FileAttributes const& attributes, int descriptor)
{
    struct stat status = {};
    if (fstat(descriptor, &status) != 0) {
        return false;
    }
    // A source that is changed while it is copied must not lend the copy a privilege.
    mode_t const permissions =
        S_ISDIR(status.st_mode) ? attributes.permissions : attributes.permissions & 0777;
    bool const owned = fchown(descriptor, attributes.owner, attributes.group) == 0;
    bool const permitted = fchmod(descriptor, permissions) == 0;
    bool const dated = futimens(descriptor, attributes.accessedAndModified.data()) == 0;
    return owned && permitted && dated;
}

} // namespace

bool fileExists(std::string const& path)
{
    struct stat status = {};
    return stat(path.c_str(), &status) == 0;
}

bool createDirectoryTree(std::string const& path)
{
    // Only the outcome counts: what cannot be made may already be there.
    for (size_t end = path.find('/', 1); end != std::string::npos; end = path.find('/', end + 1)) {
        mkdir(path.substr(0, end).c_str(), 0777);
    }
    mkdir(path.c_str(), 0777);
    struct stat status = {};
    return stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

bool copyItem(std::string const& from, std::string const& to)
{
    struct stat status = {};
    if (lstat(to.c_str(), &status) == 0 || lstat(from.c_str(), &status) != 0) {
        return false;
    }
    if (!S_ISDIR(status.st_mode)) {
        return copyAny(from, to);
    }
    UnpublishedCopy copy(to);
    return copyAny(from, copy.path()) && copy.publish();
}

Attributes attributesOf(std::string const& path)
{
    struct stat status = {};
    if (stat(path.c_str(), &status) != 0) {
        return nullptr;
    }
    return std::make_shared<FileAttributes const>(FileAttributes{
        status.st_uid, status.st_gid, status.st_mode & 07777, {{status.st_atim, status.st_mtim}}});
}

bool applyAttributes(Attributes const& attributes, std::string const& path)
{
    if (!attributes) {
        return false;
    }
    // Never a link, and without waiting for a pipe's other end.
    Descriptor const opened(open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    if (opened.isOpen()) {
        return applyThroughDescriptor(*attributes, opened.get());
    }
    struct stat status = {};
    if (errno != EACCES || lstat(path.c_str(), &status) != 0 || S_ISLNK(status.st_mode)) {
        return false;
    }
    // An ordinary user's own file or folder that is closed to that user too: there is no descriptor to be
    // had, and no more to be gained through a planted link than the user could change anyway.
    bool const owned = lchown(path.c_str(), attributes->owner, attributes->group) == 0;
    bool const permitted = chmod(path.c_str(), attributes->permissions & 0777) == 0;
    bool const dated =
        utimensat(AT_FDCWD, path.c_str(), attributes->accessedAndModified.data(), AT_SYMLINK_NOFOLLOW) == 0;
    return owned && permitted && dated;
}

bool isReadable(std::string const& path)
{
    return access(path.c_str(), R_OK) == 0;
}

bool isWritable(std::string const& path)
{
    return access(path.c_str(), W_OK) == 0;
}

bool isExecutable(std::string const& path)
{
    return access(path.c_str(), X_OK) == 0;
}

} // namespace platform
