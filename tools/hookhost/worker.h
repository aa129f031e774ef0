/// The worker: the process that loads the plug-in and calls it.
#ifndef TOOLS_HOOKHOST_WORKER_H
#define TOOLS_HOOKHOST_WORKER_H

#include "tools/hookhost/run.h"

namespace hookhost {

/// Loads the plug-in, makes every call of the run, and unloads the plug-in.
///
/// @return 0; the hook's statuses are in the run's state
/// @throws Refusal, common::alternate_root::Refused before anything is called
int callPlugin(Run& run);

} // namespace hookhost

#endif
