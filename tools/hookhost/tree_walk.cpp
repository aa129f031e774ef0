#include "tools/hookhost/tree_walk.h"

#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <memory>

namespace hookhost {

namespace {

struct CloseFolder
{
    void operator()(DIR* folder) const { closedir(folder); }
};
using OpenFolder = std::unique_ptr<DIR, CloseFolder>;

OpenFolder openFolder(int above, std::string const& name)
{
    constexpr int flags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
    int folder = -1;
#ifdef O_NOATIME
    folder = openat(above, name.c_str(), flags | O_NOATIME);
#endif
    if (folder < 0) { // only the owner and the super-user may leave the date of the last reading as it is
        folder = openat(above, name.c_str(), flags);
    }
    return folder < 0 ? nullptr : OpenFolder(fdopendir(folder));
}

std::vector<std::string> readNames(DIR* folder)
{
    std::vector<std::string> names;
    while (dirent const* const entry = readdir(folder)) {
        if (std::strcmp(entry->d_name, ".") != 0 && std::strcmp(entry->d_name, "..") != 0) {
            names.emplace_back(entry->d_name);
        }
    }
    return names;
}

void walkFolder(DIR* folder, std::string const& path, Visitor const& visit)
{
    for (std::string const& name : readNames(folder)) {
        std::string const inner = path + name;
        if (visit(dirfd(folder), name, inner)) {
            if (OpenFolder const below = openFolder(dirfd(folder), name)) {
                walkFolder(below.get(), inner + '/', visit);
            }
        }
    }
}

} // namespace

std::optional<std::vector<std::string>> namesIn(int folder, std::string const& name)
{
    OpenFolder const opened = openFolder(folder, name);
    return opened ? std::optional(readNames(opened.get())) : std::nullopt;
}

void walk(int folder, std::string const& name, std::string const& path, Visitor const& visit)
{
    if (OpenFolder const opened = openFolder(folder, name)) {
        walkFolder(opened.get(), path, visit);
    }
}

} // namespace hookhost
