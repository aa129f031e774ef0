#include "tools/hookhost/own_descriptor.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <set>
#include <sys/resource.h>
#include <system_error>
#include <unistd.h>

namespace hookhost {

namespace {

std::set<int>& numbersInUse()
{
    static std::set<int>& numbers = *new std::set<int>; // outlives every static descriptor
    return numbers;
}

constexpr rlim_t lowestNumber = 1024;
constexpr rlim_t highestNumber = 65536; // the kernel's table grows with the highest number, so not beyond
constexpr rlim_t room = 16;             // for hookhost's own few descriptors

int copyOutOfReach(int original)
{
    rlimit limit = {};
    getrlimit(RLIMIT_NOFILE, &limit);
    rlim_t number = std::clamp(limit.rlim_cur, lowestNumber, highestNumber);
    rlimit const raised = {std::max(limit.rlim_cur, number + room), limit.rlim_max};
    bool const isRaised = raised.rlim_cur <= limit.rlim_max && setrlimit(RLIMIT_NOFILE, &raised) == 0;
    if (!isRaised && limit.rlim_cur < number + room) {
        number = limit.rlim_cur > room ? limit.rlim_cur - room : 0;
    }
    int const copy = fcntl(original, F_DUPFD_CLOEXEC, static_cast<int>(number));
    int const error = errno;
    if (isRaised) {
        setrlimit(RLIMIT_NOFILE, &limit);
    }
    if (copy < 0) {
        throw std::system_error(error, std::generic_category(), "no descriptor is left");
    }
    return copy;
}

} // namespace

OwnDescriptor::OwnDescriptor(int originalDescriptor) : copy(copyOutOfReach(originalDescriptor))
{
    fstat(copy, &original);
    numbersInUse().insert(copy);
}

OwnDescriptor::~OwnDescriptor()
{
    if (number() >= 0) {
        close(copy);
    }
    numbersInUse().erase(copy);
}

int OwnDescriptor::number() const noexcept
{
    struct stat present = {};
    bool const same =
        fstat(copy, &present) == 0 && present.st_dev == original.st_dev && present.st_ino == original.st_ino;
    return same ? copy : -1;
}

bool isOwnDescriptor(int number)
{
    return numbersInUse().count(number) != 0;
}

} // namespace hookhost
