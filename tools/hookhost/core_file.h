/// Where the core file of a crash is.
#ifndef TOOLS_HOOKHOST_CORE_FILE_H
#define TOOLS_HOOKHOST_CORE_FILE_H

#include "tools/hookhost/crash_handler.h"

#include <string>
#include <sys/types.h>

namespace hookhost {

/// Describes where the core file of a crash is.
///
/// @param dumped   the kernel has reported a core file
/// @param process  the process that crashed
/// @param crash    what the process has noted; the folder is empty if it has noted nothing
/// @param root     the crashed process's root folder, as a path in this process's root; empty for the same root
/// @return "core file: " and its absolute path, or "no core file: " and the reason, as far as the kernel shows both
std::string describeCoreFile(bool dumped, pid_t process, Crash const& crash, std::string const& root);

} // namespace hookhost

#endif
