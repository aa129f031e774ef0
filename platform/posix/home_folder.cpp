#include "platform/home_folder.h"

#include "platform/platform.h"
#include "platform/posix/item_copy.h"

#include <cerrno>
#include <fcntl.h>
#include <string_view>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace platform {

struct FileAttributes
{
    struct stat status;
};

namespace {

Descriptor openFolderIn(int folder, std::string const& name)
{
    return Descriptor(openat(folder, name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
}

/// Removes the first component from a path that begins with "/", and returns it.
std::string takeComponent(std::string_view& path)
{
    path.remove_prefix(1);
    std::string component(path.substr(0, path.find('/')));
    path.remove_prefix(component.size());
    return component;
}

std::string_view folderOf(std::string_view below)
{
    return below.substr(0, below.rfind('/'));
}

std::string nameOf(std::string const& below)
{
    return below.substr(below.rfind('/') + 1);
}

/// Opens a folder below another user's home if it and all folders above it, up to the home, are closed root folders:
/// see isClosedRootFolder.
///
/// @param create  whether to make missing folders, except in the home itself
/// @return not open if a folder is missing, is a link, or is not a closed root folder
Descriptor openClosedFolder(std::string const& home, std::string_view below, bool create)
{
    Descriptor folder(open(home.c_str(), O_PATH | O_CLOEXEC));
    bool inHome = true;
    while (folder.isOpen() && !below.empty()) {
        std::string const name = takeComponent(below);
        Descriptor next = openFolderIn(folder.get(), name);
        if (!next.isOpen() && errno == ENOENT && create && !inHome) {
            // Deliberate: not 0777; whatever the umask, only root may write where the next folder is made.
            mkdirat(folder.get(), name.c_str(), 0755);
            next = openFolderIn(folder.get(), name);
        }
        folder = isClosedRootFolder(next.get()) ? std::move(next) : Descriptor();
        inHome = false;
    }
    return inHome ? Descriptor() : std::move(folder);
}

/// Whether the thread may read, write and execute what a name leads to. Deliberate: not access(2), which checks the
/// rights of the process's real user, nor faccessat(3), which may check those of its effective user.
bool mayUse(int folder, char const* name)
{
    return syscall(SYS_faccessat2, folder, name, R_OK | W_OK | X_OK, AT_EACCESS) == 0;
}

/// Gives attributes to what a path leads to, each if the thread's rights allow it.
void giveAttributesByPath(std::string const& path, struct stat const& source)
{
    (void)!chown(path.c_str(), source.st_uid, source.st_gid);
    chmod(path.c_str(), source.st_mode & 07777);
    timespec const dates[] = {source.st_atim, source.st_mtim};
    utimensat(AT_FDCWD, path.c_str(), dates, 0);
}

} // namespace

HomeFolder::HomeFolder(std::string homePath)
    : path(std::move(homePath)), attributes([this] {
          auto read = std::make_unique<FileAttributes>();
          return stat(path.c_str(), &read->status) == 0 ? std::move(read) : nullptr;
      }())
{
    if (attributes) {
        struct stat const& status = attributes->status;
        bool const superUser = geteuid() == 0;
        owner = {status.st_uid, status.st_gid};
        foreign = superUser && owner.user != 0;
        accessible = !superUser || foreign || (status.st_mode & S_IWOTH) == 0;
    }
}

HomeFolder::~HomeFolder() = default;

Descriptor HomeFolder::rootsFolderOf(std::string const& below) const
{
    return foreign ? openClosedFolder(path, folderOf(below), false) : Descriptor();
}

bool HomeFolder::exists(std::string const& below) const
{
    if (Descriptor const folder = rootsFolderOf(below); folder.isOpen()) {
        struct stat status = {};
        bool const found = fstatat(folder.get(), nameOf(below).c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0;
        if (!found || !S_ISLNK(status.st_mode)) {
            return found;
        }
    }
    return asOwner([&] { return fileExists(path + below); });
}

bool HomeFolder::isUsable(std::string const& below) const
{
    if (Descriptor const folder = rootsFolderOf(below); folder.isOpen()) {
        if (Descriptor const item = openFolderIn(folder.get(), nameOf(below)); item.isOpen()) {
            return mayUse(item.get(), ".");
        }
    }
    return asOwner([&] { return mayUse(AT_FDCWD, (path + below).c_str()); });
}

bool HomeFolder::createFolders(std::string const& below) const
{
    return (foreign && openClosedFolder(path, below, true).isOpen()) ||
           asOwner([&] { return createDirectoryTree(path + below, 0777); });
}

void HomeFolder::giveOwnAttributes(std::string const& below) const
{
    if (Descriptor const folder = rootsFolderOf(below); folder.isOpen()) {
        if (Descriptor const item = openFolderIn(folder.get(), nameOf(below)); item.isOpen()) {
            giveAttributes(item.get(), attributes->status);
            return;
        }
    }
    asOwner([&] {
        giveAttributesByPath(path + below, attributes->status);
        return true;
    });
}

bool HomeFolder::copy(std::string const& from, std::string const& to) const
{
    auto const open = [&](std::string const& below) {
        if (Descriptor folder = rootsFolderOf(below); folder.isOpen()) {
            return std::pair(std::move(folder), static_cast<Account const*>(nullptr));
        }
        int folder = -1;
        asOwner([&] {
            folder = ::open((path + std::string(folderOf(below))).c_str(), O_PATH | O_CLOEXEC);
            return true;
        });
        return std::pair(Descriptor(folder), account());
    };
    auto const& [source, sourceAccount] = open(from);
    auto const& [target, targetAccount] = open(to);
    return copyItem({source.get(), nameOf(from), sourceAccount}, {target.get(), nameOf(to), targetAccount},
                    sourceAccount != account() || targetAccount != account());
}

} // namespace platform
