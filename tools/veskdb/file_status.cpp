#include "tools/veskdb/file_status.h"

#include "libdolmvesk/plat_utils.h"
#include "tools/veskdb/refusal.h"

#include <cerrno>
#include <cstring>
#include <fmt/format.h>

namespace veskdb {

std::optional<struct stat> statusOf(std::string const& path)
{
    struct stat status = {};
    if (stat(path.c_str(), &status) == 0) {
        return status;
    }
    if (errno == ENOENT || errno == ENOTDIR) {
        return std::nullopt;
    }
    throw Refusal(kExitError, fmt::format("'{}': {}", path, std::strerror(errno)));
}

void requireFile(std::string const& path, std::optional<struct stat> const& status)
{
    if (status && !S_ISREG(status->st_mode)) {
        throw Refusal(kExitError, fmt::format("'{}' is not a file; move it away", path));
    }
}

std::string ownerOf(struct stat const& status)
{
    return fmt::format("{}:{}", status.st_uid, status.st_gid);
}

std::string modeOf(struct stat const& status)
{
    return fmt::format("{:04o}", status.st_mode & 07777U);
}

bool isSameFile(struct stat const& one, struct stat const& other)
{
    return one.st_dev == other.st_dev && one.st_ino == other.st_ino;
}

std::string folderPart(std::string const& path)
{
    std::string folder;
    veskiPathParent(path, folder);
    return folder;
}

} // namespace veskdb
