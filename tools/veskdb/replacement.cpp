#include "tools/veskdb/replacement.h"

#include "tools/common/descriptor_output.h"
#include "tools/veskdb/file_status.h"
#include "tools/veskdb/record_reader.h"
#include "tools/veskdb/refusal.h"
#include "tools/veskdb/system_error.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <ctime>
#include <dirent.h>
#include <fcntl.h>
#include <fmt/format.h>
#include <functional>
#include <memory>
#include <random>
#include <regex>
#include <sys/file.h>
#include <unistd.h>

namespace veskdb {

namespace {

constexpr std::size_t bufferSize = 65536;
constexpr char temporaryMark[] = ".veskdb-";

void require(bool done, std::string const& path, std::string const& what)
{
    if (!done) {
        throw Refusal(kExitError, fmt::format("'{}': {}: {}", path, what, describeError(errno)));
    }
}

std::string randomName(std::string const& base)
{
    constexpr char letters[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";
    std::random_device random;
    std::string name = base + temporaryMark;
    for (int each = 0; each < 6; ++each) {
        name += letters[random() % (sizeof letters - 1)];
    }
    return name;
}

/// Writes all of a file's bytes to another one.
bool copyBytes(int from, int to)
{
    std::array<char, bufferSize> buffer;
    for (off_t offset = 0;;) {
        ssize_t const count = pread(from, buffer.data(), buffer.size(), offset);
        if (count <= 0) {
            return count == 0;
        }
        int const error = common::writeAll(to, {buffer.data(), static_cast<std::size_t>(count)});
        if (error != 0) {
            errno = error;
            return false;
        }
        offset += count;
    }
}

/// Calls a body for each entry of a target's folder whose name begins with the target's name and a dot.
void forEachNextTo(std::string const& target,
                   std::function<void(int folder, std::string const& name)> const& body)
{
    std::string const base = target.substr(target.rfind('/') + 1) + '.';
    std::unique_ptr<DIR, int (*)(DIR*)> const folder(opendir(folderPart(target).c_str()), closedir);
    while (dirent const* const entry = folder ? readdir(folder.get()) : nullptr) {
        std::string const name = entry->d_name;
        if (name.compare(0, base.size(), base) == 0) {
            body(dirfd(folder.get()), name);
        }
    }
}

/// Opens a leftover; the descriptor holds its lock.
int openLeftover(int folder, std::string const& target, std::string const& name)
{
    std::string const prefix = target.substr(target.rfind('/') + 1) + temporaryMark;
    if (name.size() != prefix.size() + 6 || name.compare(0, prefix.size(), prefix) != 0) {
        return -1;
    }
    int const file = openat(folder, name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    if (file >= 0 && flock(file, LOCK_EX | LOCK_NB) != 0) {
        close(file);
        return -1;
    }
    return file;
}

void add(Leftovers& leftovers, struct stat const& status)
{
    ++leftovers.number;
    leftovers.bytes += status.st_size;
}

} // namespace

Replacement::Replacement(std::string const& targetPath)
    : target(targetPath), base(targetPath.substr(targetPath.rfind('/') + 1)),
      folder(open(folderPart(targetPath).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC))
{
    require(folder.isOpen(), folderPart(target), "no file can be created there");
    struct stat status = {};
    do {
        name = randomName(base);
        file = platform::Descriptor(
            openat(folder.get(), name.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
        require(file.isOpen() || errno == EEXIST, folderPart(target), "no file can be created there");
        // Before it was locked, another process may have removed it as a leftover.
    } while (flock(file.get(), LOCK_EX | LOCK_NB) != 0 || fstat(file.get(), &status) != 0 ||
             status.st_nlink != 1);
}

Replacement::~Replacement()
{
    unlinkat(folder.get(), name.c_str(), 0); // nothing without a temporary name
}

std::string Replacement::path() const
{
    return target.substr(0, target.size() - base.size()) + name;
}

void Replacement::copyFrom(RecordReader const& source) const
{
    std::array<char, bufferSize> buffer;
    for (int64_t offset = 0; offset < source.size();) {
        auto const size = std::min<int64_t>(static_cast<int64_t>(buffer.size()), source.size() - offset);
        errno = EIO;
        bool const read = source.readBytes(buffer.data(), static_cast<int>(size), offset);
        int const error =
            read ? common::writeAll(file.get(), {buffer.data(), static_cast<std::size_t>(size)}) : errno;
        errno = error;
        require(error == 0, target, "the database cannot be copied there");
        offset += size;
    }
}

void Replacement::write(std::string_view bytes) const
{
    errno = common::writeAll(file.get(), bytes);
    require(errno == 0, target, "the file cannot be written");
}

void Replacement::setAccess(uid_t owner, gid_t group, mode_t mode) const
{
    (void)!fchown(file.get(), owner, group);
    fchmod(file.get(), mode);
}

std::string Replacement::replaceTarget()
{
    require(fsync(file.get()) == 0, target, "the new file cannot be synced to disk");
    std::string const aside = keepAside();
    bool const placed = !kept.isOpen()
                            ? takeFreeName()
                            : renameat(folder.get(), name.c_str(), folder.get(), base.c_str()) == 0;
    if (!placed) {
        int const error = errno;
        if (!aside.empty()) {
            unlinkat(folder.get(), aside.c_str(), 0);
        }
        errno = error;
        require(false, target, "it cannot be replaced");
    }
    name.clear(); // from now on it may be another user's
    fsync(folder.get());
    return aside.empty() ? "" : target.substr(0, target.size() - base.size()) + aside;
}

/// Gives the new file the target's name, unless a file has appeared there.
bool Replacement::takeFreeName() const
{
    if (linkat(folder.get(), name.c_str(), folder.get(), base.c_str(), 0) == 0) {
        unlinkat(folder.get(), name.c_str(), 0);
        return true;
    }
    if (errno == EEXIST) {
        return false;
    }
    // On a file system without hard links, an empty file of our own takes the name first.
    platform::Descriptor const reserved(
        openat(folder.get(), base.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
    return reserved.isOpen() && renameat(folder.get(), name.c_str(), folder.get(), base.c_str()) == 0;
}

/// Not a hard link: the library does not accept a database with two names.
std::string Replacement::keepAside()
{
    kept = platform::Descriptor(
        openat(folder.get(), base.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    if (!kept.isOpen() && errno == ENOENT) {
        return "";
    }
    struct stat status = {};
    require(fstat(kept.get(), &status) == 0, target, "it cannot be kept aside");
    if (status.st_size == 0) {
        return "";
    }
    time_t const now = std::time(nullptr);
    tm utc = {};
    char stamp[32] = "";
    strftime(stamp, sizeof stamp, "%Y%m%dT%H%M%SZ", gmtime_r(&now, &utc));
    for (int attempt = 0;; ++attempt) {
        std::string aside =
            fmt::format("{}.{}{}", base, stamp, attempt == 0 ? "" : fmt::format(".{}", attempt));
        platform::Descriptor const made(
            openat(folder.get(), aside.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
        require(made.isOpen() || errno == EEXIST, target, "it cannot be kept aside");
        if (!made.isOpen()) {
            continue;
        }
        bool const copied = copyBytes(kept.get(), made.get());
        (void)!fchown(made.get(), status.st_uid, status.st_gid);
        fchmod(made.get(), status.st_mode & 07777U);
        if (!copied || fsync(made.get()) != 0) {
            int const error = errno;
            unlinkat(folder.get(), aside.c_str(), 0);
            errno = error;
            require(false, target, fmt::format("it cannot be kept aside as '{}'", aside));
        }
        return aside;
    }
}

Leftovers temporaryFilesOf(std::string const& target)
{
    Leftovers leftovers;
    forEachNextTo(target, [&](int folder, std::string const& name) {
        platform::Descriptor const file(openLeftover(folder, target, name));
        struct stat status = {};
        if (file.isOpen() && fstat(file.get(), &status) == 0) {
            add(leftovers, status);
        }
    });
    return leftovers;
}

Leftovers datedCopiesOf(std::string const& target)
{
    static std::regex const dated(R"(\d{8}T\d{6}Z(\.\d+)?)");
    Leftovers leftovers;
    std::size_t const prefix = target.size() - target.rfind('/'); // of the name and a dot
    forEachNextTo(target, [&](int folder, std::string const& name) {
        struct stat status = {};
        if (std::regex_match(name.substr(prefix), dated) &&
            fstatat(folder, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0) {
            add(leftovers, status);
        }
    });
    return leftovers;
}

void removeTemporaryFilesOf(std::string const& target)
{
    forEachNextTo(target, [&](int folder, std::string const& name) {
        platform::Descriptor const file(openLeftover(folder, target, name));
        struct stat opened = {};
        struct stat named = {};
        if (file.isOpen() && fstat(file.get(), &opened) == 0 && S_ISREG(opened.st_mode) &&
            fstatat(folder, name.c_str(), &named, AT_SYMLINK_NOFOLLOW) == 0 && isSameFile(opened, named)) {
            unlinkat(folder, name.c_str(), 0);
        }
    });
}

} // namespace veskdb
