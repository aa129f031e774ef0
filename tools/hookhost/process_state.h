/// What a hook can leave behind in the installer's process.
#ifndef TOOLS_HOOKHOST_PROCESS_STATE_H
#define TOOLS_HOOKHOST_PROCESS_STATE_H

#include "tools/hookhost/own_descriptor.h"

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace hookhost {

/// The state of this process, by name: "umask" -> "022". What hookhost itself has set up is left out.
using ProcessState = std::map<std::string, std::string>;

/// One difference between two states.
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
    /// Opens the system's list of descriptors: make the reader before another root is entered.
    ProcessStateReader();

    /// The present state.
    ProcessState read() const;

private:
    std::optional<OwnDescriptor> descriptorList; ///< none if the system needs none
};

/// The differences, sorted by name.
std::vector<LeftBehind> compare(ProcessState const& before, ProcessState const& after);

} // namespace hookhost

#endif
