/// The verbs backup and restore.
///
/// A copy is made under a read lock, is checked, and then replaces its target atomically. A copy of the previous file
/// is kept next to it, under its name and the time. A database that is locked or has a journal is neither copied nor
/// replaced.
#ifndef TOOLS_VESKDB_BACKUP_RESTORE_H
#define TOOLS_VESKDB_BACKUP_RESTORE_H

#include "tools/veskdb/options.h"

namespace veskdb {

/// Backs up the databases named, or every existing one that the library keeps a backup of. If one cannot be backed up,
/// the others still are.
///
/// @return the exit status; the reasons were printed on standard error
int backUp(Options const& options);

/// Replaces a database by a copy, with the owner and mode that the library gives it.
///
/// @return the exit status
/// @throws Refusal, Unreadable; the database is unchanged then
int restore(Options const& options);

} // namespace veskdb

#endif
