#include "tools/hookhost/open_descriptors.h"

#include "tools/hookhost/own_descriptor.h"

#include <climits>
#include <cstdlib>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <unistd.h>

namespace hookhost {

int openDescriptorList()
{
    return open("/proc/self/fd", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
}

std::map<int, std::string> openDescriptors(int list)
{
    std::map<int, std::string> descriptors;
    int const copy = openat(list, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC); // to be read from the beginning
    std::unique_ptr<DIR, int (*)(DIR*)> const folder(fdopendir(copy), closedir);
    for (dirent const* entry = nullptr; folder && (entry = readdir(folder.get())) != nullptr;) {
        int const number = std::atoi(entry->d_name);
        char target[PATH_MAX];
        ssize_t const length = readlinkat(list, entry->d_name, target, sizeof target);
        if (length > 0 && number != list && number != copy && !isOwnDescriptor(number)) {
            descriptors[number] = std::string(target, static_cast<std::size_t>(length));
        }
    }
    return descriptors;
}

} // namespace hookhost
