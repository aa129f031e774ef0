#include "tools/standard_descriptors.h"

#include <fcntl.h>
#include <unistd.h>

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
