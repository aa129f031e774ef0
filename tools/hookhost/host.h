/// The host: hookhost itself, which starts the worker, watches it and reports how it ended.
#ifndef TOOLS_HOOKHOST_HOST_H
#define TOOLS_HOOKHOST_HOST_H

#include "tools/hookhost/run.h"

#include <functional>

namespace hookhost {

/// Runs work in a worker process. Does not return if a signal interrupts hookhost.
///
/// @param work    returns the worker's exit status, 0 if the hook's statuses decide; may throw Refusal
/// @param finish  called after the last record, even after an interruption; may throw Refusal, whose exit status
///                replaces status 0
/// @return hookhost's exit status
/// @throws Refusal if no worker can be started
int runInWorker(Run& run, std::function<int(Run&)> const& work, std::function<void()> const& finish);

} // namespace hookhost

#endif
