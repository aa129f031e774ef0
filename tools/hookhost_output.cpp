#include "tools/hookhost_output.h"

#include "tools/hookhost_options.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <fmt/format.h>
#include <poll.h>
#include <unistd.h>

namespace {

/// Lets a write to a closed pipe fail instead, and does nothing else.
void noticeBrokenPipe(int /*signal*/)
{
}

} // namespace

void outliveReaders()
{
    struct sigaction action = {};
    sigaction(SIGPIPE, nullptr, &action);
    if (action.sa_handler == SIG_DFL) {
        // Deliberate: a handler, for SIG_IGN would outlast exec() and reach the hook's helper programs.
        action.sa_handler = noticeBrokenPipe;
        sigaction(SIGPIPE, &action, nullptr);
    }
}

int writeAll(int descriptor, std::string_view text) noexcept
{
    while (!text.empty()) {
        ssize_t const written = write(descriptor, text.data(), text.size());
        if (written >= 0) {
            text.remove_prefix(static_cast<std::size_t>(written));
        } else if (errno == EAGAIN) {
            pollfd room = {descriptor, POLLOUT, 0};
            if (poll(&room, 1, -1) < 0 && errno != EINTR) {
                return errno;
            }
        } else if (errno != EINTR) {
            return errno;
        }
    }
    return 0;
}

void printAnswer(std::string_view text)
{
    int const error = writeAll(STDOUT_FILENO, text);
    if (error != 0) {
        throw Refusal(kExitHostError, lossOf(error));
    }
}

std::string lossOf(int error)
{
    return fmt::format("output was lost: {}", std::strerror(error));
}

void complain(std::string const& message)
{
    writeAll(STDERR_FILENO, fmt::format("hookhost: {}\n", message));
}
