#include "platform/planted_links.h"

#include <algorithm>
#include <sys/stat.h>
#include <unistd.h>

namespace platform {

bool isPlantedLink(struct stat const& unfollowed)
{
    return S_ISLNK(unfollowed.st_mode) && unfollowed.st_uid != 0;
}

bool leadsAstray(std::string const& start, std::string const& way)
{
    if (geteuid() != 0) {
        return false;
    }
    std::string const path = start + way;
    for (size_t end = start.size(); end < path.size();) {
        end = std::min(path.find('/', end + 1), path.size());
        std::string const folder = path.substr(0, end);
        struct stat link = {};
        if (lstat(folder.c_str(), &link) != 0) {
            return false;
        }
        struct stat destination = {};
        if (isPlantedLink(link) &&
            (stat(folder.c_str(), &destination) != 0 || destination.st_uid != link.st_uid)) {
            return true;
        }
    }
    return false;
}

} // namespace platform
