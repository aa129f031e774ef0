#include "tools/hookhost/output.h"

#include "tools/common/descriptor_output.h"
#include "tools/hookhost/exit_status.h"

#include <csignal>
#include <fmt/format.h>
#include <unistd.h>

namespace hookhost {

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
    int const error = common::writeAll(STDOUT_FILENO, text);
    if (error != 0) {
        throw Refusal(kExitHostError, common::lossOf(error));
    }
}

void complain(std::string const& message)
{
    common::writeAll(STDERR_FILENO, fmt::format("hookhost: {}\n", message));
}

} // namespace hookhost
