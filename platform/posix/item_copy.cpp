#include "platform/posix/item_copy.h"

#include "platform/platform.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <new>
#include <sys/sendfile.h>
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

/// Opens what exists at a place. Does not follow links or block on a FIFO.
Descriptor openExisting(Place const& place, int flags)
{
    int opened = -1;
    withRights(place.account, [&] {
        opened = openat(place.folder, place.name.c_str(), flags | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
        return opened >= 0;
    });
    return Descriptor(opened);
}

Descriptor openFolder(Place const& place)
{
    return openExisting(place, O_RDONLY | O_DIRECTORY);
}

/// Copies a file's data up to a size and preserves its holes.
bool copyData(int source, int target, off_t size)
{
    off_t data = 0;
    for (off_t hole = 0; (data = lseek(source, hole, SEEK_DATA)) >= hole;) {
        hole = lseek(source, data, SEEK_HOLE);
        if (hole <= data) { // an error, or a file system that would never let this end
            return false;
        }
        lseek(target, data, SEEK_SET);
        while (data < hole) {
            if (sendfile(target, source, &data, static_cast<size_t>(std::min<off_t>(hole - data, INT_MAX))) <=
                0) {
                return false;
            }
        }
    }
    return errno == ENXIO && ftruncate(target, size) == 0; // ENXIO: no data is left
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
    fstat(source.get(), &status);
    int created = -1;
    withRights(to.account, [&] {
        created = openat(to.folder, to.name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
        return created >= 0;
    });
    Descriptor const target(created);
    if (asSuperUser && to.account != nullptr && (status.st_mode & S_IROTH) == 0) {
        // The new file's owner may not read the source: write no bytes before that user has lost access to the file.
        if (fchown(target.get(), status.st_uid, status.st_gid) != 0 || !isOpenHereAlone(target.get())) {
            return false;
        }
    }
    return withRights(asSuperUser ? nullptr : to.account, [&] {
        bool const copied = copyData(source.get(), target.get(), status.st_size);
        giveAttributes(target.get(), status);
        return copied && fsync(target.get()) == 0;
    });
}

bool copyLink(Place const& from, Place const& to, struct stat const& status)
{
    std::array<char, PATH_MAX> text = {}; // no link is longer
    return withRights(from.account,
                      [&] {
                          return readlinkat(from.folder, from.name.c_str(), text.data(), text.size() - 1) > 0;
                      }) &&
           withRights(to.account, [&] {
               bool const made = symlinkat(text.data(), to.folder, to.name.c_str()) == 0;
               (void)!fchownat(to.folder, to.name.c_str(), status.st_uid, status.st_gid, AT_SYMLINK_NOFOLLOW);
               return made;
           });
}

/// Lists the names in a folder, which stays open.
bool namesIn(int folder, std::vector<std::string>& names)
{
    int const again = openat(folder, ".", O_RDONLY | O_CLOEXEC);
    std::unique_ptr<DIR, int (*)(DIR*)> const entries(fdopendir(again), closedir);
    while (entries) {
        errno = 0;
        dirent const* const entry = readdir(entries.get());
        if (entry == nullptr) {
            return errno == 0;
        }
        std::string name = entry->d_name;
        if (name != "." && name != "..") {
            names.push_back(std::move(name));
        }
    }
    return false;
}

bool create(Place const& from, Place const& to, bool asSuperUser, int depth);

bool copyFolder(Place const& from, Place const& to, bool asSuperUser, int depth)
{
    Descriptor const source = openFolder(from);
    struct stat status = {};
    std::vector<std::string> names;
    fstat(source.get(), &status);
    if (depth > deepestFolder ||
        (asSuperUser && from.account == nullptr && !isClosedRootFolder(source.get())) ||
        !withRights(from.account, [&] { return namesIn(source.get(), names); }) ||
        !withRights(to.account, [&] { return mkdirat(to.folder, to.name.c_str(), 0700) == 0; })) {
        return false;
    }
    Descriptor const target = openFolder(to);
    for (auto& name : names) {
        if (!create({source.get(), name, from.account}, {target.get(), name, to.account}, asSuperUser,
                    depth + 1)) {
            return false;
        }
    }
    return withRights(to.account, [&] {
        giveAttributes(target.get(), status);
        return true;
    });
}

/// Copies to a place where nothing exists. A failure can leave a part of the copy.
bool create(Place const& from, Place const& to, bool asSuperUser, int depth)
{
    struct stat status = {};
    withRights(from.account,
               [&] { return fstatat(from.folder, from.name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0; });
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
void removeItem(Place const& place, int depth)
{
    withRights(place.account, [&] { return unlinkat(place.folder, place.name.c_str(), 0) == 0; });
    Descriptor const folder = openFolder(place);
    std::vector<std::string> names;
    if (depth <= deepestFolder) {
        withRights(place.account, [&] { return namesIn(folder.get(), names); });
    }
    for (auto& name : names) {
        removeItem({folder.get(), name, place.account}, depth + 1);
    }
    withRights(place.account, [&] { return unlinkat(place.folder, place.name.c_str(), AT_REMOVEDIR) == 0; });
}

/// Gives a complete copy its final name, unless something exists there.
bool publish(Place const& copy, Place const& target)
{
    char const* const from = copy.name.c_str();
    char const* const to = target.name.c_str();
    return withRights(target.account, [&] {
        if (linkat(copy.folder, from, target.folder, to, 0) == 0) {
            unlinkat(copy.folder, from, 0);
            return true;
        }
        // A folder, or a file system without hard links.
        if (renameat2(copy.folder, from, target.folder, to, RENAME_NOREPLACE) == 0) {
            return true;
        }
        // Where the file system has neither, an empty file of our own reserves the name.
        Descriptor const reserved(openat(target.folder, to, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
        if (reserved.isOpen() && renameat(copy.folder, from, target.folder, to) != 0) {
            unlinkat(target.folder, to, 0); // the copy is a folder
            return false;
        }
        return reserved.isOpen();
    });
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
    (void)!fchown(descriptor, source.st_uid, source.st_gid);
    fchmod(descriptor, source.st_mode & (S_ISDIR(source.st_mode) ? 07777 : 0777));
    timespec const dates[] = {source.st_atim, source.st_mtim};
    futimens(descriptor, dates);
}

bool copyItem(Place const& from, Place const& to, bool asSuperUser)
{
    struct stat existing = {};
    if (withRights(to.account, [&] {
            return fstatat(to.folder, to.name.c_str(), &existing, AT_SYMLINK_NOFOLLOW) == 0;
        })) {
        return false;
    }
    Place const copy = {to.folder, to.name + '.' + newUUIDString(), to.account};
    try {
        if (create(from, copy, asSuperUser, 1) && publish(copy, to)) {
            return true;
        }
    } catch (std::bad_alloc const&) {
        removeItem(copy, 1);
        throw;
    }
    removeItem(copy, 1);
    return false;
}

} // namespace platform
