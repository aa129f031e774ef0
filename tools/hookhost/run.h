/// Calls into the plug-in, each run in a worker process of its own that hookhost watches.
#ifndef TOOLS_HOOKHOST_RUN_H
#define TOOLS_HOOKHOST_RUN_H

#include "tools/hookhost/options.h"

namespace hookhost {

/// Says what runPhases would call, on standard output. Loads and calls nothing.
///
/// @return hookhost's exit status
/// @throws Refusal, common::alternate_root::Refused for what would be refused
int showRun(Options const& options);

/// Loads the plug-in, enters the root and calls the open entry, the phases and the close entry in order. A
/// status other than 0 does not end the run; a crash, a time-out or an exit() of the plug-in does.
///
/// Helper programs that a phase starts are neither waited for nor ended.
///
/// @return hookhost's exit status
/// @throws Refusal, common::alternate_root::Refused before anything is called
int runPhases(Options const& options);

/// Lists what the plug-in exports, on standard output.
///
/// @return hookhost's exit status; kExitSymbolMissing when a plain entry point is missing
/// @throws Refusal
int listPlugin(Options const& options);

} // namespace hookhost

#endif
