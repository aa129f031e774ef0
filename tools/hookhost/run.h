/// A run: calls into the plug-in, made in a worker process that hookhost watches.
#ifndef TOOLS_HOOKHOST_RUN_H
#define TOOLS_HOOKHOST_RUN_H

#include "tools/hookhost/captured_output.h"
#include "tools/hookhost/changes.h"
#include "tools/hookhost/options.h"
#include "tools/hookhost/overlay.h"
#include "tools/hookhost/report.h"
#include "tools/hookhost/run_state.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace hookhost {

/// What the worker and the host of one run share, or each have a copy of.
struct Run
{
    /// @param steps  names of what the worker does, in order, for records and messages
    Run(Options const& options, std::string const& mode, std::vector<std::string> steps);

    Options const& options;
    std::string const mode;
    std::vector<std::string> const steps;
    SharedRunState const state;
    Report report;
    std::optional<CapturedOutput> output; ///< none if the hook's output is not captured
    std::unique_ptr<Overlay> overlay;     ///< null if the run works on the root itself
    std::unique_ptr<FolderTree> folder;   ///< the tree to compare; null with an overlay
    std::optional<Changes> changes;       ///< none if changes are not recorded
};

/// Loads the plug-in, enters the root, calls the open entry, the phases and the close entry in order, and unloads the
/// plug-in. A status other than 0 does not end the run; a crash, a time-out or an exit() of the plug-in does.
///
/// Neither waits for helper programs that a phase starts nor ends them. Does not return if a signal interrupts
/// hookhost: the worker is killed, and hookhost ends by the same signal.
///
/// @return hookhost's exit status
/// @throws Refusal, common::alternate_root::Refused before anything is called
int runPhases(Options const& options);

/// Lists what the plug-in exports, on standard output.
///
/// @return hookhost's exit status; kExitSymbolMissing if a plain entry point is missing
/// @throws Refusal
int listPlugin(Options const& options);

/// Makes every check that runs no code of the plug-in.
///
/// @throws Refusal, common::alternate_root::Refused
void requireRunnable(Options const& options);

} // namespace hookhost

#endif
