/// How hookhost ends: its exit statuses, and the exception that ends a run early.
#ifndef TOOLS_HOOKHOST_EXIT_STATUS_H
#define TOOLS_HOOKHOST_EXIT_STATUS_H

#include <stdexcept>
#include <string>

namespace hookhost {

/// Exit statuses of hookhost, apart from those that are the hook's own.
enum ExitStatus
{
    kExitNotAsExpected = 121, ///< an expectation does not hold
    kExitLargeStatus = 123,   ///< the hook's status is 123 or above, which would collide with the ones below
    kExitTimeout = 124,
    kExitHostError = 125, ///< usage error, or the host cannot do its work
    kExitSymbolMissing = 126,
    kExitNotLoadable = 127,
    kExitSignal = 128 ///< plus the number of the signal that ended the plug-in
};

/// The run ends, or does not begin. what() names the input and what would be right.
class Refusal : public std::runtime_error
{
public:
    Refusal(ExitStatus status, std::string const& message) : std::runtime_error(message), exitStatus(status)
    {
    }

    ExitStatus exitStatus;
};

} // namespace hookhost

#endif
