// Files, the home folder and property lists, implemented with Foundation. Objective-C++ for the old runtime: objects
// are retained and released by hand, and temporaries are released with the function's pool.
#import <Foundation/Foundation.h>

#include "platform/descriptor.h"
#include "platform/home_folder.h"
#include "platform/mac/unpublished_copy.h"
#include "platform/platform.h"

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace platform {

struct FileAttributes
{
    explicit FileAttributes(NSDictionary* read) : dictionary([read retain]) {}
    FileAttributes(FileAttributes const&) = delete;
    FileAttributes& operator=(FileAttributes const&) = delete;
    ~FileAttributes() { [dictionary release]; }

    NSDictionary* const dictionary;
};

namespace {

class AutoreleasePool
{
public:
    AutoreleasePool() : pool([[NSAutoreleasePool alloc] init]) {}
    AutoreleasePool(AutoreleasePool const&) = delete;
    AutoreleasePool& operator=(AutoreleasePool const&) = delete;
    ~AutoreleasePool() { [pool drain]; }

private:
    NSAutoreleasePool* pool;
};

NSFileManager* fileManager()
{
    return [NSFileManager defaultManager];
}

/// The path for Foundation; nil when its bytes are not in the file system's encoding.
NSString* pathString(std::string const& path)
{
    return [fileManager() stringWithFileSystemRepresentation:path.data() length:path.size()];
}

bool somethingExistsAt(std::string const& path)
{
    struct stat status = {};
    return lstat(path.c_str(), &status) == 0;
}

/// Copies a link. Not with the file manager, which may give the copy's attributes to what the link points to.
bool copyLink(std::string const& from, std::string const& to)
{
    char text[PATH_MAX];
    ssize_t const length = readlink(from.c_str(), text, sizeof text);
    return length > 0 && length < static_cast<ssize_t>(sizeof text) &&
           symlink(std::string(text, static_cast<size_t>(length)).c_str(), to.c_str()) == 0;
}

/// The number of a user or group; if there is none, -1, with which chown changes nothing.
uid_t accountNumber(NSNumber* number)
{
    return number == nil ? static_cast<uid_t>(-1) : static_cast<uid_t>([number unsignedLongValue]);
}

/// Sets owner, group and permission bits, through the descriptor if it is open, else by path.
void giveRights(NSDictionary* attributes, int descriptor, std::string const& path, bool isFolder)
{
    uid_t const owner = accountNumber([attributes fileOwnerAccountID]);
    gid_t const group = accountNumber([attributes fileGroupOwnerAccountID]);
    // Set-user, set-group and sticky bits are not passed on to another file.
    mode_t const permissions =
        static_cast<mode_t>([attributes filePosixPermissions]) & (isFolder ? 07777 : 0777);
    bool const opened = descriptor >= 0;
    (void)!(opened ? fchown(descriptor, owner, group) : chown(path.c_str(), owner, group));
    (void)(opened ? fchmod(descriptor, permissions) : chmod(path.c_str(), permissions));
}

/// Whether permission bits let an ordinary user read, write and search a folder.
bool modeLetsUse(struct stat const& status, Account const& account)
{
    mode_t const bits = account.user == status.st_uid    ? status.st_mode >> 6
                        : account.group == status.st_gid ? status.st_mode >> 3
                                                         : status.st_mode;
    return (bits & S_IRWXO) == S_IRWXO;
}

/// Reads the attributes of what a path leads to; null if nothing is there.
std::unique_ptr<FileAttributes const> attributesOf(std::string const& path)
{
    char resolved[PATH_MAX]; // given a link, the file manager reads the attributes of the link itself
    if (realpath(path.c_str(), resolved) == nullptr) {
        return nullptr;
    }
    NSString* const item = pathString(resolved);
    NSDictionary* const read = item == nil ? nil : [fileManager() attributesOfItemAtPath:item error:NULL];
    return read == nil ? nullptr : std::make_unique<FileAttributes const>(read);
}

/// Gives what a path leads to the attributes of another file or folder, each if the thread's rights allow it.
void giveAttributes(FileAttributes const* attributes, std::string const& path)
{
    char resolved[PATH_MAX]; // given a link, the file manager would change the link itself
    if (attributes == nullptr || realpath(path.c_str(), resolved) == nullptr) {
        return;
    }
    NSString* const item = pathString(resolved);
    // O_NONBLOCK: do not block on a FIFO. A folder that its owner may not read is changed by its path.
    Descriptor const opened(open(resolved, O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    struct stat status = {};
    if (item == nil || (opened.isOpen() ? fstat(opened.get(), &status) : stat(resolved, &status)) != 0) {
        return;
    }
    giveRights(attributes->dictionary, opened.get(), resolved, S_ISDIR(status.st_mode));
    // The rest, dates and Finder's flags.
    NSMutableDictionary* const rest = [[attributes->dictionary mutableCopy] autorelease];
    [rest
        removeObjectsForKeys:[NSArray arrayWithObjects:NSFileOwnerAccountID, NSFileOwnerAccountName,
                                                       NSFileGroupOwnerAccountID, NSFileGroupOwnerAccountName,
                                                       NSFilePosixPermissions, nil]];
    [fileManager() setAttributes:rest ofItemAtPath:item error:NULL];
}

bool copyItem(std::string const& from, std::string const& to)
{
    struct stat source = {};
    if (lstat(from.c_str(), &source) != 0 || somethingExistsAt(to)) {
        return false;
    }
    if (S_ISLNK(source.st_mode)) {
        return copyLink(from, to);
    }
    if (!S_ISREG(source.st_mode) && !S_ISDIR(source.st_mode)) {
        return false;
    }
    UnpublishedCopy copy(to);
    NSString* const fromPath = pathString(from);
    NSString* const copyPath = pathString(copy.path());
    if (fromPath == nil || copyPath == nil ||
        ![fileManager() copyItemAtPath:fromPath toPath:copyPath error:NULL]) {
        return false;
    }
    bool const published = copy.publish();
    if (published) {
        giveAttributes(attributesOf(from).get(), to);
    }
    return published;
}

} // namespace

std::string homeDirectory()
{
    AutoreleasePool const pool;
    NSString* const home = NSHomeDirectory();
    return [home length] == 0 ? "" : [home fileSystemRepresentation];
}

bool writePropertyList(std::string const& path, std::string const& key, std::string const& value)
{
    AutoreleasePool const pool;
    NSString* const file = pathString(path);
    NSString* const entryKey = [NSString stringWithUTF8String:key.c_str()];
    NSString* const entryValue = [NSString stringWithUTF8String:value.c_str()];
    if (file == nil || entryKey == nil || entryValue == nil) {
        return false;
    }
    // Foundation creates the file with mode 0666, less the umask.
    mode_t const mask = umask(S_IRWXG | S_IRWXO);
    umask(mask | S_IWGRP | S_IWOTH);
    BOOL const written = [[NSDictionary dictionaryWithObject:entryValue forKey:entryKey] writeToFile:file
                                                                                          atomically:YES];
    umask(mask);
    return written;
}

HomeFolder::HomeFolder(std::string homePath)
    : path(std::move(homePath)), attributes([this] {
          AutoreleasePool const pool;
          return attributesOf(path);
      }())
{
    struct stat status = {};
    if (stat(path.c_str(), &status) == 0) {
        bool const superUser = geteuid() == 0;
        owner = {status.st_uid, status.st_gid};
        foreign = superUser && owner.user != 0;
        accessible = !superUser || foreign || (status.st_mode & S_IWOTH) == 0;
    }
}

HomeFolder::~HomeFolder() = default;

bool HomeFolder::exists(std::string const& below) const
{
    return asOwner([&] { return fileExists(path + below); });
}

bool HomeFolder::isUsable(std::string const& below) const
{
    AutoreleasePool const pool;
    return asOwner([&] {
        struct stat status = {};
        if (foreign) { // the file manager checks the rights of the process's real user
            return stat((path + below).c_str(), &status) == 0 && modeLetsUse(status, owner);
        }
        NSString* const item = pathString(path + below);
        return [fileManager() isReadableFileAtPath:item] && [fileManager() isWritableFileAtPath:item] &&
               [fileManager() isExecutableFileAtPath:item] != NO;
    });
}

bool HomeFolder::createFolders(std::string const& below) const
{
    return asOwner([&] { return createDirectoryTree(path + below, 0777); });
}

void HomeFolder::giveOwnAttributes(std::string const& below) const
{
    AutoreleasePool const pool;
    asOwner([&] {
        giveAttributes(attributes.get(), path + below);
        return true;
    });
}

bool HomeFolder::copy(std::string const& from, std::string const& to) const
{
    AutoreleasePool const pool;
    return asOwner([&] { return copyItem(path + from, path + to); });
}

} // namespace platform
