/// The dry run: what a run would do.
#ifndef TOOLS_HOOKHOST_DRY_RUN_H
#define TOOLS_HOOKHOST_DRY_RUN_H

#include "tools/hookhost/options.h"

namespace hookhost {

/// Prints what runPhases would call, on standard output. Loads and calls nothing.
///
/// @return hookhost's exit status
/// @throws Refusal, common::alternate_root::Refused for what would be refused
int showRun(Options const& options);

} // namespace hookhost

#endif
