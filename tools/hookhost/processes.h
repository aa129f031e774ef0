/// The processes of a run, as far as the operating system shows and controls them.
#ifndef TOOLS_HOOKHOST_PROCESSES_H
#define TOOLS_HOOKHOST_PROCESSES_H

#include <string>
#include <sys/types.h>
#include <vector>

namespace hookhost {

/// The kernel kills this process when its parent ends, unless the process changes its user before.
void endWithParent();

/// From here on, a descendant whose parent ends becomes a child of this process.
void adoptOrphans();

struct RunningProcess
{
    pid_t id;
    std::string program; ///< the path of its program, else its short name
};

/// The descendants of this process that have not ended; none if the system does not list processes.
std::vector<RunningProcess> runningDescendants();

/// Whether a debugger has attached to this process; false if the system does not show it.
bool isTraced();

/// Closes every descriptor from a number on.
void closeAllFrom(int first);

} // namespace hookhost

#endif
