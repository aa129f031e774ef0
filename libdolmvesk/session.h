/// The catalogue, vesk.db, and what every session of the record library shares. Compiles as C and as C++.
///
/// The live file is "/Library/Application Support/Zelko/vesk/vesk.db"; its backup is the file of the same name in the
/// folder "backup" next to "vesk". Any number of sessions may be open, each with a connection of its own. A session may
/// be used by one thread at a time.
///
/// A write opens the session's transaction, which lasts until commit, roll-back or close. If another connection holds a
/// lock, each statement waits for it up to 2000 milliseconds.
#ifndef LIBDOLMVESK_SESSION_H
#define LIBDOLMVESK_SESSION_H

#include "libdolmvesk/vesk_export.h"
#include "libdolmvesk/vesk_status.h"

#include <stdint.h>

/// A session on one of the four databases. Opaque: open functions allocate it, close functions free it.
typedef struct VeskSession VeskSession;

/// Opens the catalogue, creating it and its folders as needed and upgrading it to version 2. Only the super-user can
/// create folders.
///
/// A failure leaves no session; schema versions applied so far stay in the file.
///
/// @param outSession  receives the session, which the caller owns until veskCloseSession; null if the database could
///                    not be opened, except that with kVeskFailed it may point to a handle without a database: close
///                    that, and use it for nothing else
/// @return kVeskOK; kVeskInvalidArgument (null argument); kVeskFailed (no memory for the handle, a path that cannot be
///         formed, or the path exists but is not a regular file); kVeskAccessDenied; kVeskIOError; kVeskSchemaTooNew;
///         kVeskNotFound (a version row is missing from the file); kVeskNoMemory; kVeskBusy; kVeskError
VESK_API int32_t veskOpenSession(VeskSession** outSession);

/// Opens the catalogue only if its file exists. Creates nothing otherwise.
///
/// @param outSession  as veskOpenSession; untouched if there is no such file
/// @return kVeskNotFound (no such file); else as veskOpenSession
VESK_API int32_t veskOpenSessionNoCreate(VeskSession** outSession);

/// Commits a session's open transaction, if there is one. For every kind of session except payload sessions: see
/// pdbSessionCommit.
///
/// If a statement, even one that only reads, runs out of memory, meets a full disk or cannot read or write its file,
/// SQLite itself may roll back the transaction. The status of that call reports it; a commit afterwards finds no
/// transaction and returns kVeskOK. After kVeskNoMemory or kVeskIOError, roll back and begin again.
///
/// @param session  open session
/// @return kVeskOK; kVeskInvalidArgument (null argument); kVeskBusy (another connection holds a lock; the
///         transaction stays open and the call may be repeated); else the status of the failed commit
VESK_API int32_t veskSessionCommit(VeskSession* session);

/// Rolls back a session's open transaction, if there is one. For every kind of session.
///
/// @param session  open session
/// @return kVeskOK; kVeskInvalidArgument (null argument); else the status of the failed roll-back
VESK_API int32_t veskSessionRollback(VeskSession* session);

/// Commits, closes and frees a session of any kind, with every text and list read through it.
///
/// A failed commit is not reported; its changes are rolled back. Commit first where that matters.
///
/// @param session  open session; freed whatever the status
/// @return kVeskOK; kVeskInvalidArgument (null argument); else the status of closing the database
VESK_API int32_t veskCloseSession(VeskSession* session);

/// Reads when the catalogue's file was last modified. No session is needed.
///
/// @param outTime  receives seconds since 1970-01-01 UTC; untouched on failure
/// @return kVeskOK; kVeskInvalidArgument (null argument); kVeskNotFound (no such file); kVeskNoMemory
VESK_API int32_t veskGetLastModTime(uint32_t* outTime);

/// Copies the catalogue's file into the backup folder, over the previous copy, and creates the folder if it is missing.
/// A plain copy that takes no lock: call it while no session writes.
///
/// A backup file that cannot be opened, as by an ordinary user, is not reported: the status is that of the folder.
///
/// @return kVeskOK; kVeskNotFound (no catalogue, nothing done); kVeskIOError (the copy failed and is
///         incomplete); kVeskNoMemory; kVeskAccessDenied, kVeskInvalidArgument (the folder could not be created)
VESK_API int32_t veskBackup(void);

/// Checks whether the catalogue is missing although its backup exists. Does not look into the two files.
///
/// @return kVeskNeedsRestore (only the backup exists); kVeskNoMemory; else kVeskOK
VESK_API int32_t veskVerifyIntegrity(void);

#endif
