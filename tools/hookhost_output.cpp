#include "tools/hookhost_output.h"

#include "tools/hookhost_options.h"
#include "tools/standard_descriptors.h"

#include <csignal>
#include <fmt/format.h>
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

void printAnswer(std::string_view text)
{
    int const error = writeAll(STDOUT_FILENO, text);
    if (error != 0) {
        throw Refusal(kExitHostError, lossOf(error));
    }
}

void complain(std::string const& message)
{
    writeAll(STDERR_FILENO, fmt::format("hookhost: {}\n", message));
}
