/// The verbs backup and restore.
///
/// A copy is made while a read lock keeps writers off, is read through before it takes its place, and takes it
/// in one step. The file that it replaces is kept next to it, under its name and the time. A database that is
/// locked, or has a journal, is neither copied nor replaced.
#ifndef TOOLS_VESKDB_BACKUP_RESTORE_H
#define TOOLS_VESKDB_BACKUP_RESTORE_H

#include "tools/veskdb/options.h"

namespace veskdb {

/// Backs up the databases named, or every one that is there and that the library keeps a backup of. One that
/// cannot be backed up does not keep the others from it.
///
/// @return the exit status; the reasons went to standard error
int backUp(Options const& options);

/// Replaces a database by a copy, with the owner and mode that the library gives it.
///
/// @return the exit status
/// @throws Refusal, Unreadable; the database is then as it was
int restore(Options const& options);

} // namespace veskdb

#endif
