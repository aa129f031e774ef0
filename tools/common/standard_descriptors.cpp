#include "tools/common/standard_descriptors.h"

#include <fcntl.h>
#include <unistd.h>

namespace common {

void occupyStandardDescriptors()
{
    int descriptor = 0;
    while (descriptor >= 0 && descriptor <= STDERR_FILENO) {
        descriptor = open("/dev/null", O_RDONLY);
    }
    if (descriptor > STDERR_FILENO) {
        close(descriptor);
    }
}

} // namespace common
