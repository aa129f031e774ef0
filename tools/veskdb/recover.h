/// The verb recover: rolls back the unfinished change of a killed program.
#ifndef TOOLS_VESKDB_RECOVER_H
#define TOOLS_VESKDB_RECOVER_H

#include "tools/veskdb/options.h"

namespace veskdb {

/// Opens a database for writing, as any program that writes to it does: SQLite then rolls back an interrupted change. A
/// write-ahead log is written to the file, which leaves that mode. A stale journal is removed.
///
/// @return kExitNotFound if the database is not sound afterwards
/// @throws Refusal, Unreadable; nothing is lost then
int recover(Options const& options);

} // namespace veskdb

#endif
