/// The verb why: why a payload can or cannot be marked installed.
#ifndef TOOLS_VESKDB_WHY_H
#define TOOLS_VESKDB_WHY_H

#include "tools/veskdb/options.h"

namespace veskdb {

/// Prints whether a payload can be marked installed, what it is in conflict with, what it upgrades and was upgraded by,
/// and what removing it would remove.
///
/// @return kExitNotFound if it cannot be marked installed
/// @throws Refusal (kExitNotFound: it is not on record; kExitError: output was lost), Unreadable
int explainState(Options const& options);

} // namespace veskdb

#endif
