/// The processes of a run, as far as the operating system shows and controls them.
#ifndef TOOLS_HOOKHOST_PROCESSES_H
#define TOOLS_HOOKHOST_PROCESSES_H

#include <string>
#include <sys/types.h>
#include <vector>

namespace hookhost {

/// From here on, the kernel kills this process when its parent ends, unless this process has changed its user (Linux).
void endWithParent();

/// From here on, a descendant whose parent ends becomes a child of this process (Linux).
void adoptOrphans();

struct RunningProcess
{
    pid_t id;
    std::string program; ///< the path of its program; a short name or nothing if that cannot be read
};

/// The descendants of this process that have not ended; none if the system does not list processes.
std::vector<RunningProcess> runningDescendants();

/// Whether a debugger has attached to this process; false if the system does not show it.
bool isTraced();

/// Closes every descriptor from a number on.
void closeAllFrom(int first);

} // namespace hookhost

#endif
