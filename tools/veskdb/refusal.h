/// How a command ends that cannot be carried out.
#ifndef TOOLS_VESKDB_REFUSAL_H
#define TOOLS_VESKDB_REFUSAL_H

#include <stdexcept>
#include <string>

namespace veskdb {

enum ExitStatus
{
    kExitDone = 0,
    kExitNotFound = 1, ///< what was asked for is not on record, was declined, or a check failed
    kExitError = 2     ///< usage, or the database cannot be read or changed
};

/// The command ends. what() names the input and what would be right.
class Refusal : public std::runtime_error
{
public:
    Refusal(ExitStatus status, std::string const& message) : std::runtime_error(message), exitStatus(status)
    {
    }

    ExitStatus exitStatus;
};

} // namespace veskdb

#endif
