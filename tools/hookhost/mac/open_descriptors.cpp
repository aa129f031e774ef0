#include "tools/hookhost/open_descriptors.h"

#include "tools/hookhost/own_descriptor.h"

#include <fcntl.h>
#include <sys/param.h>
#include <unistd.h>

namespace hookhost {

int openDescriptorList()
{
    return -1;
}

std::map<int, std::string> openDescriptors(int /*list*/)
{
    std::map<int, std::string> descriptors;
    for (int each = 0; each < getdtablesize(); ++each) {
        char path[MAXPATHLEN];
        if (fcntl(each, F_GETFD) >= 0 && !isOwnDescriptor(each)) {
            descriptors[each] = fcntl(each, F_GETPATH, path) == 0 ? path : "a pipe or socket";
        }
    }
    return descriptors;
}

} // namespace hookhost
