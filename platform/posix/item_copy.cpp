#include "platform/posix/item_copy.h"

#include "platform/platform.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <unistd.h>
#include <utility>
#include <vector>

namespace platform {

static_assert(
    sizeof(off_t) == 8 && sizeof(ino_t) == 8 && sizeof(time_t) == 8,
    "a 32-bit build, too, must handle large files, inode numbers beyond 32 bits and dates after 2038");

namespace {

/// Deeper folders are not copied: each level takes stack and two descriptors, and a user can nest folders without end.
constexpr int deepestFolder = 100;

/// Runs a system call with an account's rights, repeating it when a signal interrupts it.
///
/// @return its result; -1, with errno EACCES, if the rights cannot be taken
template<class Call>
auto with(Account const* account, Call call)
{
    ThreadRights const rights(account);
    decltype(call()) result = -1;
    errno = EACCES;
    while (rights.taken() && (result = call()) < 0 && errno == EINTR) {
    }
    return result;
}

bool examine(Place const& place, struct stat& status)
{
    return with(place.account,
                [&] { return fstatat(place.folder, place.name.c_str(), &status, AT_SYMLINK_NOFOLLOW); }) == 0;
}

bool isAbsent(Place const& place)
{
    struct stat status = {};
    return !examine(place, status) && errno == ENOENT;
}

/// Opens what exists at a place. Does not follow links or block on a FIFO.
Descriptor openExisting(Place const& place, int flags)
{
    return Descriptor(with(place.account, [&] {
        return openat(place.folder, place.name.c_str(),
                      flags | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    }));
}

/// Writes bytes at an offset.
bool writeAt(int file, char const* bytes, size_t size, off_t offset)
{
    while (size > 0) {
        ssize_t const written = pwrite(file, bytes, size, offset);
        if (written < 0 && errno != EINTR) {
            return false;
        }
        if (written > 0) {
            bytes += written;
            offset += written;
            size -= static_cast<size_t>(written);
        }
    }
    return true;
}

/// Copies the bytes from one offset up to another, or up to the end of the source.
bool copyRange(int source, int target, off_t offset, off_t end)
{
    std::array<char, 65536> buffer;
    while (offset < end) {
        size_t const most = static_cast<size_t>(std::min<off_t>(end - offset, buffer.size()));
        ssize_t const count = pread(source, buffer.data(), most, offset);
        if (count == 0) {
            return true;
        }
        if (count < 0 ? errno != EINTR
                      : !writeAt(target, buffer.data(), static_cast<size_t>(count), offset)) {
            return false;
        }
        offset += std::max<ssize_t>(count, 0);
    }
    return true;
}

/// Copies a file's data and preserves its holes.
bool copyData(int source, int target)
{
    off_t const size = lseek(source, 0, SEEK_END);
    for (off_t offset = 0; offset < size;) {
        off_t data = lseek(source, offset, SEEK_DATA);
        if (data < 0 && errno == ENXIO) {
            break; // the rest is a hole
        }
        data = data < 0 ? offset : data; // the file system reports no holes
        off_t hole = lseek(source, data, SEEK_HOLE);
        hole = hole < 0 ? size : hole;
        if (!copyRange(source, target, data, hole)) {
            return false;
        }
        offset = hole;
    }
    return size >= 0 && ftruncate(target, size) == 0;
}

/// Whether no process has another descriptor of the file open; false, too, on a file system without leases.
bool isOpenHereAlone(int file)
{
    return fcntl(file, F_SETLEASE, F_WRLCK) == 0 && fcntl(file, F_SETLEASE, F_UNLCK) == 0;
}

bool copyFile(Place const& from, Place const& to, bool asSuperUser)
{
    Descriptor const source = openExisting(from, O_RDONLY);
    struct stat status = {};
    if (!source.isOpen() || fstat(source.get(), &status) != 0 || !S_ISREG(status.st_mode)) {
        return false;
    }
    Descriptor const target(with(to.account, [&] {
        return openat(to.folder, to.name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    }));
    if (!target.isOpen()) {
        return false;
    }
    ThreadRights const rights(asSuperUser ? nullptr : to.account);
    struct stat made = {};
    if (!rights.taken() || fstat(target.get(), &made) != 0 || (asSuperUser && made.st_nlink != 1)) {
        return false;
    }
    if (asSuperUser && to.account != nullptr && (status.st_mode & S_IROTH) == 0) {
        // The new file's owner may not read the source: write no bytes before that user has lost access to the file.
        if (fchown(target.get(), status.st_uid, status.st_gid) != 0 || !isOpenHereAlone(target.get())) {
            return false;
        }
    }
    bool const copied = copyData(source.get(), target.get());
    giveAttributes(target.get(), status);
    return copied && fsync(target.get()) == 0;
}

bool copyLink(Place const& from, Place const& to, struct stat const& status)
{
    std::string text(static_cast<size_t>(status.st_size) + 1, '\0');
    ssize_t const length = with(
        from.account, [&] { return readlinkat(from.folder, from.name.c_str(), text.data(), text.size()); });
    if (length < 0 || length > status.st_size) { // longer: the link has changed
        return false;
    }
    text.resize(static_cast<size_t>(length));
    ThreadRights const rights(to.account);
    if (!rights.taken() || symlinkat(text.c_str(), to.folder, to.name.c_str()) != 0) {
        return false;
    }
    (void)!fchownat(to.folder, to.name.c_str(), status.st_uid, status.st_gid, AT_SYMLINK_NOFOLLOW);
    return true;
}

/// Lists the names in a folder, which stays open.
bool namesIn(int folder, std::vector<std::string>& names)
{
    int const again = openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    std::unique_ptr<DIR, int (*)(DIR*)> const entries(again >= 0 ? fdopendir(again) : nullptr, closedir);
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

bool create(Place const& from, Place const& to, bool asSuperUser, int depth);

bool copyFolder(Place const& from, Place const& to, bool asSuperUser, int depth)
{
    Descriptor const source = openExisting(from, O_RDONLY | O_DIRECTORY);
    struct stat status = {};
    std::vector<std::string> names;
    if (depth > deepestFolder || !source.isOpen() || fstat(source.get(), &status) != 0 ||
        (asSuperUser && from.account == nullptr && !isClosedRootFolder(source.get())) ||
        with(from.account, [&] { return namesIn(source.get(), names) ? 0 : -1; }) != 0 ||
        with(to.account, [&] { return mkdirat(to.folder, to.name.c_str(), 0700); }) != 0) {
        return false;
    }
    Descriptor const target = openExisting(to, O_RDONLY | O_DIRECTORY);
    if (!target.isOpen()) {
        return false;
    }
    for (auto& name : names) {
        if (!create({source.get(), name, from.account}, {target.get(), name, to.account}, asSuperUser,
                    depth + 1)) {
            return false;
        }
    }
    ThreadRights const rights(to.account);
    if (rights.taken()) {
        giveAttributes(target.get(), status);
    }
    return true;
}

/// Copies to a place where nothing exists. A failure can leave a part of the copy.
bool create(Place const& from, Place const& to, bool asSuperUser, int depth)
{
    struct stat status = {};
    if (!examine(from, status)) {
        return false;
    }
    switch (status.st_mode & S_IFMT) {
    case S_IFREG:
        return copyFile(from, to, asSuperUser);
    case S_IFLNK:
        return copyLink(from, to, status);
    case S_IFDIR:
        return copyFolder(from, to, asSuperUser, depth);
    default:
        return false;
    }
}

/// Removes what exists at a place, if the place's rights allow it.
void removeItem(Place const& place, int depth = 1)
{
    if (depth > deepestFolder + 1 ||
        with(place.account, [&] { return unlinkat(place.folder, place.name.c_str(), 0); }) == 0) {
        return;
    }
    Descriptor const folder = openExisting(place, O_RDONLY | O_DIRECTORY);
    std::vector<std::string> names;
    if (folder.isOpen() && with(place.account, [&] { return namesIn(folder.get(), names) ? 0 : -1; }) == 0) {
        for (auto& name : names) {
            removeItem({folder.get(), name, place.account}, depth + 1);
        }
        with(place.account, [&] { return unlinkat(place.folder, place.name.c_str(), AT_REMOVEDIR); });
    }
}

/// Gives a complete copy its final name, unless something exists there.
bool publish(Place const& copy, Place const& target)
{
    ThreadRights const rights(target.account);
    char const* const from = copy.name.c_str();
    char const* const to = target.name.c_str();
    if (!rights.taken()) {
        return false;
    }
    if (linkat(copy.folder, from, target.folder, to, 0) == 0) {
        (void)!unlinkat(copy.folder, from, 0);
        return true;
    }
    // A folder, or a file system without hard links.
    if (errno == EEXIST) {
        return false;
    }
    if (renameat2(copy.folder, from, target.folder, to, RENAME_NOREPLACE) == 0) {
        return true;
    }
    struct stat status = {};
    return errno != EEXIST && fstatat(target.folder, to, &status, AT_SYMLINK_NOFOLLOW) != 0 &&
           errno == ENOENT && renameat(copy.folder, from, target.folder, to) == 0;
}

} // namespace

bool isClosedRootFolder(int folder)
{
    struct stat status = {};
    return fstat(folder, &status) == 0 && S_ISDIR(status.st_mode) && status.st_uid == 0 &&
           (status.st_mode & (S_IWGRP | S_IWOTH)) == 0;
}

void giveAttributes(int descriptor, struct stat const& source)
{
    struct stat status = {};
    if (fstat(descriptor, &status) != 0) {
        return;
    }
    if (fchown(descriptor, source.st_uid, source.st_gid) != 0) {
        (void)!fchown(descriptor, static_cast<uid_t>(-1), source.st_gid);
    }
    mode_t const kept = S_ISDIR(status.st_mode) ? 07777 : 0777;
    fchmod(descriptor, source.st_mode & kept);
    timespec const dates[] = {source.st_atim, source.st_mtim};
    futimens(descriptor, dates);
}

bool copyItem(Place const& from, Place const& to, bool asSuperUser)
{
    if (!isAbsent(to)) {
        return false;
    }
    Place const copy = {to.folder, to.name + '.' + newUUIDString(), to.account};
    bool const published = create(from, copy, asSuperUser, 1) && publish(copy, to);
    if (!published) {
        removeItem(copy);
    }
    return published;
}

} // namespace platform
