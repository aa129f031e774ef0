/// The verb find: where a text is on record.
#ifndef TOOLS_VESKDB_FIND_H
#define TOOLS_VESKDB_FIND_H

#include "tools/veskdb/options.h"

namespace veskdb {

/// Prints database, table, key and column of each value that contains a text, in the databases named, or all.
///
/// @return kExitNotFound if there is none
/// @throws Refusal (kExitError: output was lost), Unreadable
int findText(Options const& options);

} // namespace veskdb

#endif
