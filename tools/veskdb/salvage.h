/// The verb salvage: what can still be read of a damaged database.
#ifndef TOOLS_VESKDB_SALVAGE_H
#define TOOLS_VESKDB_SALVAGE_H

#include "tools/veskdb/options.h"

namespace veskdb {

/// Reads what can be read of a damaged file and writes it to a new, sound database. Prints how many rows of each table
/// were read, and what was lost.
///
/// @return kExitNotFound if anything was lost
/// @throws Refusal; no file is written then
int salvage(Options const& options);

} // namespace veskdb

#endif
