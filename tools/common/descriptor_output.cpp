#include "tools/common/descriptor_output.h"

#include <cerrno>
#include <cstring>
#include <poll.h>
#include <unistd.h>

namespace common {

int writeAll(int descriptor, std::string_view text) noexcept
{
    while (!text.empty()) {
        ssize_t const written = write(descriptor, text.data(), text.size());
        if (written >= 0) {
            text.remove_prefix(static_cast<std::size_t>(written));
        } else if (errno == EAGAIN) {
            pollfd room = {descriptor, POLLOUT, {}};
            poll(&room, 1, -1);
        } else if (errno != EINTR) {
            return errno;
        }
    }
    return 0;
}

std::string lossOf(int error)
{
    return std::string("output was lost: ") + std::strerror(error);
}

} // namespace common
