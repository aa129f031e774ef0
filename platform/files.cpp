#include "platform/platform.h"
#include "platform/thread_rights.h"

#include <algorithm>
#include <sys/stat.h>

// Deliberate: no std::filesystem. In a 32-bit process, the C++ runtime's own calls fail on every file and folder dated
// after January 2038.

namespace platform {

bool fileExists(std::string const& path)
{
    struct stat status = {};
    return stat(path.c_str(), &status) == 0;
}

bool createDirectoryTree(std::string const& path, mode_t mode)
{
    // Only the last stat counts: a folder that cannot be made may already exist.
    for (auto end = path.begin(); end != path.end();) {
        end = std::find(end + 1, path.end(), '/');
        mkdir(std::string(path.begin(), end).c_str(), mode);
    }
    struct stat status = {};
    return stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

} // namespace platform
