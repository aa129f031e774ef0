/// The verb verify: whether the databases and their backups are sound and as the record library leaves them.
#ifndef TOOLS_VESKDB_VERIFY_H
#define TOOLS_VESKDB_VERIFY_H

#include "tools/veskdb/options.h"

namespace veskdb {

/// Verifies the databases named, or all, and prints what was found, at least one line for each.
///
/// @return the exit status: kExitNotFound if there is a fault; notes are not faults
/// @throws Refusal (kExitError) if output is lost
int verify(Options const& options);

} // namespace veskdb

#endif
