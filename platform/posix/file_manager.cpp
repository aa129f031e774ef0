#include "platform/platform.h"
#include "platform/posix/temporary_file.h"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

namespace platform {

struct FileAttributes
{
    uid_t owner;
    gid_t group;
    mode_t permissions;
    std::array<timespec, 2> accessedAndModified;
};

namespace {

class Descriptor
{
public:
    explicit Descriptor(int opened) : value(opened) {}
    Descriptor(Descriptor const&) = delete;
    Descriptor& operator=(Descriptor const&) = delete;
    ~Descriptor()
    {
        if (value >= 0) {
            close(value);
        }
    }
    int get() const { return value; }

private:
    int value;
};

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
    if (source.get() < 0 || fstat(source.get(), &status) != 0 || !S_ISREG(status.st_mode)) {
        return false;
    }
    TemporaryFile target(to, 0600);
    return target.isOpen() && copyBytes(source.get(), target) && target.setMode(status.st_mode & 0777) &&
           target.becomeTarget();
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
    std::error_code error;
    std::filesystem::create_directories(path, error);
    return !error && std::filesystem::is_directory(path, error);
}

bool copyItem(std::string const& from, std::string const& to)
{
    namespace fs = std::filesystem;
    std::error_code error;
    fs::file_status const source = fs::symlink_status(from, error);
    if (fs::symlink_status(to, error).type() != fs::file_type::not_found) {
        return false;
    }
    switch (source.type()) {
    case fs::file_type::regular:
        return copyFile(from, to);
    case fs::file_type::symlink:
    case fs::file_type::directory:
        fs::copy(from, to, fs::copy_options::recursive | fs::copy_options::copy_symlinks, error);
        return !error;
    default:
        return false;
    }
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
    if (opened.get() >= 0) {
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
