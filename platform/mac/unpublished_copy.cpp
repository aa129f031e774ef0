#include "platform/mac/unpublished_copy.h"

#include "platform/platform.h"

#include <cerrno>
#include <cstdio>
#include <ftw.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace platform {

namespace {

constexpr int mostOpenFolders = 16;

int withoutPrivileges(char const* path, struct stat const* status, int kind, FTW*)
{
    if (kind == FTW_NS || kind == FTW_SL) {
        return kind == FTW_SL ? 0 : -1;
    }
#ifdef UF_IMMUTABLE
    // A file flagged immutable or append-only cannot be linked, renamed or removed.
    if ((status->st_flags & (UF_IMMUTABLE | UF_APPEND)) != 0 && chflags(path, 0) != 0) {
        return -1;
    }
#endif
    bool const privileged = !S_ISDIR(status->st_mode) && (status->st_mode & 07000) != 0;
    return privileged ? chmod(path, status->st_mode & 0777) : 0;
}

int removeOne(char const* path, struct stat const*, int, FTW*)
{
    std::remove(path);
    return 0;
}

} // namespace

UnpublishedCopy::UnpublishedCopy(std::string targetPath)
    : target(std::move(targetPath)), folder(target + "." + newUUIDString()), copy(folder + "/copy")
{
    if (mkdir(folder.c_str(), 0700) != 0) {
        folder.clear();
    }
}

UnpublishedCopy::~UnpublishedCopy()
{
    if (!folder.empty()) {
        nftw(folder.c_str(), removeOne, mostOpenFolders, FTW_PHYS | FTW_DEPTH);
    }
}

bool UnpublishedCopy::publish()
{
    struct stat status = {};
    if (folder.empty() || lstat(copy.c_str(), &status) != 0 ||
        nftw(copy.c_str(), withoutPrivileges, mostOpenFolders, FTW_PHYS) != 0) {
        return false;
    }
    if (!S_ISDIR(status.st_mode)) {
        if (link(copy.c_str(), target.c_str()) == 0) {
            return true;
        }
        if (errno == EEXIST) {
            return false;
        }
    }
    // A folder, or a file system without hard links: rename() would replace the target, so check first.
    struct stat existing = {};
    return lstat(target.c_str(), &existing) != 0 && errno == ENOENT &&
           rename(copy.c_str(), target.c_str()) == 0;
}

} // namespace platform
