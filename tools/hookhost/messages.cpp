#include "tools/hookhost/messages.h"

#include "tools/common/descriptor_output.h"
#include "tools/common/printable.h"
#include "tools/hookhost/json.h"
#include "tools/hookhost/own_descriptor.h"

#include <csignal>
#include <fmt/format.h>
#include <optional>
#include <unistd.h>

namespace hookhost {

namespace {

bool asJson = false;

/// A copy of hookhost's standard error, once it is kept.
std::optional<OwnDescriptor>& keptDescriptor()
{
    static std::optional<OwnDescriptor> descriptor;
    return descriptor;
}

/// Does nothing: a write to a closed pipe then fails instead of ending the process.
void noticeBrokenPipe(int /*signal*/)
{
}

void print(Json const& record, std::string const& message)
{
    int const descriptor = keptDescriptor() ? keptDescriptor()->number() : STDERR_FILENO;
    common::writeAll(descriptor, asJson ? jsonLine(record)
                                        : fmt::format("hookhost: {}\n", common::printable(message, "\\\t")));
}

} // namespace

void outliveReaders()
{
    struct sigaction action = {};
    sigaction(SIGPIPE, nullptr, &action);
    if (action.sa_handler == SIG_DFL) {
        // Deliberate: a handler, because SIG_IGN would outlast exec() and reach the hook's helper programs.
        action.sa_handler = noticeBrokenPipe;
        sigaction(SIGPIPE, &action, nullptr);
    }
}

bool isPipeHandler(void (*handler)(int))
{
    return handler == noticeBrokenPipe;
}

void printMessagesAsJson()
{
    asJson = true;
}

void keepMessageDescriptor()
{
    keptDescriptor().emplace(STDERR_FILENO);
}

void printResult(std::string_view text)
{
    int const error = common::writeAll(STDOUT_FILENO, text);
    if (error != 0) {
        throw Refusal(kExitHostError, common::lossOf(error));
    }
}

void complain(std::string const& message)
{
    print({{"type", "error"}, {"message", message}}, message);
}

void complain(Refusal const& refusal)
{
    print({{"type", "error"}, {"message", refusal.what()}, {"exit", static_cast<int>(refusal.exitStatus)}},
          refusal.what());
}

void notice(std::string const& message)
{
    print({{"type", "notice"}, {"message", message}}, message);
}

} // namespace hookhost
