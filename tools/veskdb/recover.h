/// The verb recover: rolls back what a killed program has left of a change.
#ifndef TOOLS_VESKDB_RECOVER_H
#define TOOLS_VESKDB_RECOVER_H

#include "tools/veskdb/options.h"

namespace veskdb {

/// Opens a database for writing, as any program does that writes to it: SQLite then rolls an interrupted change back. A
/// write-ahead log is written to the file, which leaves that mode. A stale journal is removed.
///
/// @return kExitNotFound when the database is not sound afterwards
/// @throws Refusal, Unreadable; nothing is lost then
int recover(Options const& options);

} // namespace veskdb

#endif
