/// Where the core file of a crash is.
#ifndef TOOLS_HOOKHOST_CORE_FILE_H
#define TOOLS_HOOKHOST_CORE_FILE_H

#include "tools/hookhost/crash_handler.h"

#include <string>
#include <sys/types.h>

namespace hookhost {

/// @param dumped   the kernel has reported a core file
/// @param process  the process that crashed
/// @param crash    what it has noted; its folder is empty if it has noted nothing
/// @param root     the root folder that it was in, as this process names it; empty for the same root
/// @return "core file: " and its absolute path, or "no core file: " and the reason, as far as the kernel shows both
std::string describeCoreFile(bool dumped, pid_t process, Crash const& crash, std::string const& root);

} // namespace hookhost

#endif
