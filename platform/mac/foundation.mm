// The file manager, the home folder and property lists by way of Foundation. Objective-C++ for the old
// runtime: objects are retained and released by hand, and what a function makes dies with its pool.
#import <Foundation/Foundation.h>

#include "platform/descriptor.h"
#include "platform/platform.h"
#include "platform/unpublished_copy.h"

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

bool somethingStandsAt(std::string const& path)
{
    struct stat status = {};
    return lstat(path.c_str(), &status) == 0;
}

/// A link is copied by hand: a file manager may give the copy's attributes to what the link points to.
bool copyLink(std::string const& from, std::string const& to)
{
    char text[PATH_MAX];
    ssize_t const length = readlink(from.c_str(), text, sizeof text);
    return length > 0 && length < static_cast<ssize_t>(sizeof text) &&
           symlink(std::string(text, static_cast<size_t>(length)).c_str(), to.c_str()) == 0;
}

/// The number of a user or group; where there is none, the one with which chown changes nothing.
uid_t accountNumber(NSNumber* number)
{
    return number == nil ? static_cast<uid_t>(-1) : static_cast<uid_t>([number unsignedLongValue]);
}

/// Gives what carries rights, through the descriptor where there is one.
bool applyRights(NSDictionary* attributes, int descriptor, std::string const& path, bool isFolder)
{
    uid_t const owner = accountNumber([attributes fileOwnerAccountID]);
    gid_t const group = accountNumber([attributes fileGroupOwnerAccountID]);
    // The privilege of one file is not lent to another.
    mode_t const permissions =
        static_cast<mode_t>([attributes filePosixPermissions]) & (isFolder ? 07777 : 0777);
    bool const opened = descriptor >= 0;
    bool const owned = (opened ? fchown(descriptor, owner, group) : lchown(path.c_str(), owner, group)) == 0;
    bool const permitted = (opened ? fchmod(descriptor, permissions) : chmod(path.c_str(), permissions)) == 0;
    return owned && permitted;
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
    return [[NSDictionary dictionaryWithObject:entryValue forKey:entryKey] writeToFile:file atomically:YES];
}

bool fileExists(std::string const& path)
{
    AutoreleasePool const pool;
    return [fileManager() fileExistsAtPath:pathString(path)];
}

bool createDirectoryTree(std::string const& path)
{
    AutoreleasePool const pool;
    NSString* const folder = pathString(path);
    if (folder == nil) {
        return false;
    }
    [fileManager() createDirectoryAtPath:folder withIntermediateDirectories:YES attributes:nil error:NULL];
    BOOL isFolder = NO;
    return [fileManager() fileExistsAtPath:folder isDirectory:&isFolder] && isFolder;
}

bool copyItem(std::string const& from, std::string const& to)
{
    struct stat source = {};
    if (lstat(from.c_str(), &source) != 0 || somethingStandsAt(to)) {
        return false;
    }
    if (S_ISLNK(source.st_mode)) {
        return copyLink(from, to);
    }
    if (!S_ISREG(source.st_mode) && !S_ISDIR(source.st_mode)) {
        return false;
    }
    AutoreleasePool const pool;
    UnpublishedCopy copy(to);
    NSString* const fromPath = pathString(from);
    NSString* const copyPath = pathString(copy.path());
    return fromPath != nil && copyPath != nil &&
           [fileManager() copyItemAtPath:fromPath toPath:copyPath error:NULL] && copy.publish();
}

Attributes attributesOf(std::string const& path)
{
    AutoreleasePool const pool;
    char resolved[PATH_MAX]; // the file manager reports on a link itself
    if (realpath(path.c_str(), resolved) == nullptr) {
        return nullptr;
    }
    NSString* const item = pathString(resolved);
    NSDictionary* const read = item == nil ? nil : [fileManager() attributesOfItemAtPath:item error:NULL];
    return read == nil ? nullptr : std::make_shared<FileAttributes const>(read);
}

bool applyAttributes(Attributes const& attributes, std::string const& path)
{
    AutoreleasePool const pool;
    NSString* const item = pathString(path);
    if (!attributes || item == nil) {
        return false;
    }
    // Never a link, and without waiting for a pipe's other end.
    Descriptor const opened(open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    int const failure = errno;
    struct stat status = {};
    if (opened.isOpen()) {
        if (fstat(opened.get(), &status) != 0) {
            return false;
        }
    } else if (failure != EACCES || lstat(path.c_str(), &status) != 0 || S_ISLNK(status.st_mode)) {
        // What is closed to an ordinary user who owns it is still that user's to open; nothing else is left.
        return false;
    }
    bool const applied = applyRights(attributes->dictionary, opened.get(), path, S_ISDIR(status.st_mode));

    // The rest, dates and Finder's, grants nobody anything and goes by the path.
    NSMutableDictionary* const rest = [[attributes->dictionary mutableCopy] autorelease];
    [rest
        removeObjectsForKeys:[NSArray arrayWithObjects:NSFileOwnerAccountID, NSFileOwnerAccountName,
                                                       NSFileGroupOwnerAccountID, NSFileGroupOwnerAccountName,
                                                       NSFilePosixPermissions, nil]];
    return [fileManager() setAttributes:rest ofItemAtPath:item error:NULL] && applied;
}

bool isReadable(std::string const& path)
{
    AutoreleasePool const pool;
    return [fileManager() isReadableFileAtPath:pathString(path)];
}

bool isWritable(std::string const& path)
{
    AutoreleasePool const pool;
    return [fileManager() isWritableFileAtPath:pathString(path)];
}

bool isExecutable(std::string const& path)
{
    AutoreleasePool const pool;
    return [fileManager() isExecutableFileAtPath:pathString(path)];
}

} // namespace platform
