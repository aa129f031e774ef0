/// The verb diff: how two files of a database differ.
#ifndef TOOLS_VESKDB_DIFF_H
#define TOOLS_VESKDB_DIFF_H

#include "tools/veskdb/options.h"

namespace veskdb {

/// Prints each difference between two files of a database, or two roots that have one: by default its backup and its
/// live file.
///
/// @return kExitNotFound if they differ
/// @throws Refusal (kExitError), Unreadable
int diff(Options const& options);

} // namespace veskdb

#endif
