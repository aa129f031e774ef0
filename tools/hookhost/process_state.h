/// What a hook can leave behind in the installer's process.
#ifndef TOOLS_HOOKHOST_PROCESS_STATE_H
#define TOOLS_HOOKHOST_PROCESS_STATE_H

#include "tools/hookhost/own_descriptor.h"

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace hookhost {

/// The state of this process, by what it is of: "umask" -> "022". What hookhost itself has set up does not count.
using ProcessState = std::map<std::string, std::string>;

/// One thing that is not as it was.
struct LeftBehind
{
    std::string what;
    std::string before;
    std::string after;
};

/// Reads the working directory, umask, environment, ids, signal handlers and mask, open descriptors and limits.
class ProcessStateReader
{
public:
    /// Opens what is needed to list descriptors: make it before another root is entered.
    ProcessStateReader();

    ProcessState read() const;

private:
    std::optional<OwnDescriptor> descriptorList; ///< none if the system needs none
};

/// What differs, in the order of what it is of.
std::vector<LeftBehind> compare(ProcessState const& before, ProcessState const& after);

} // namespace hookhost

#endif
