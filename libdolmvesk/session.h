/// The catalogue, vesk.db, and what every session of the record library shares. Compiles as C and as C++.
///
/// The live file is "/Library/Application Support/Zelko/vesk/vesk.db"; its one backup copy lies in the folder
/// "backup" beside "vesk". Any number of sessions may be open, each with a connection of its own; one session
/// belongs to one thread at a time.
///
/// A write opens the session's transaction, which lasts until commit, roll-back or close. A lock that another
/// connection holds is waited for up to 2000 milliseconds.
#ifndef LIBDOLMVESK_SESSION_H
#define LIBDOLMVESK_SESSION_H

#include "libdolmvesk/vesk_export.h"
#include "libdolmvesk/vesk_status.h"

#include <stdint.h>

/// A session on one of the four databases. Open functions hand it out, close functions free it, and nobody
/// looks inside.
typedef struct VeskSession VeskSession;

/// Opens the catalogue, creating it and its folders as needed and upgrading it to version 2. Folders are
/// created by the super-user only.
///
/// A failure leaves no session; versions applied so far stay in the file.
///
/// @param outSession  receives the session, the caller's until veskCloseSession; null when the database could
///                    not be opened. With kVeskFailed it may hold a handle without a database: not a session
/// @return kVeskOK; kVeskInvalidArgument (null argument); kVeskFailed (no memory for the handle, a path that
///         cannot be formed, or something other than a file stands at the path); kVeskAccessDenied;
///         kVeskIOError; kVeskSchemaTooNew; kVeskNotFound (a version row is missing from the file);
///         kVeskNoMemory; kVeskBusy; kVeskError
VESK_API int32_t veskOpenSession(VeskSession** outSession);

/// Opens the catalogue only if its file exists. Creates nothing otherwise.
///
/// @param outSession  as veskOpenSession; untouched when there is no such file
/// @return kVeskNotFound (no such file); else as veskOpenSession
VESK_API int32_t veskOpenSessionNoCreate(VeskSession** outSession);

/// Commits a session's open transaction, if there is one. Serves every kind of session but the payload one.
///
/// A statement, be it a reading one, that runs out of memory, fills the disk or cannot read or write its file
/// can make SQLite itself roll the transaction back. That call's own status tells of it; this one finds no
/// transaction then. After kVeskNoMemory or kVeskIOError roll back and begin again.
///
/// @param session  open session
/// @return kVeskOK; kVeskInvalidArgument (null argument); kVeskBusy (another connection holds a lock; the
///         transaction stays open and the call may be repeated); else the status of the failed commit
VESK_API int32_t veskSessionCommit(VeskSession* session);

/// Rolls a session's open transaction back, if there is one. Serves every kind of session.
///
/// @param session  open session
/// @return kVeskOK; kVeskInvalidArgument (null argument); else the status of the failed roll-back
VESK_API int32_t veskSessionRollback(VeskSession* session);

/// Commits, closes and frees a session of any kind, with every text and list read through it.
///
/// Deliberate: a failed commit is not reported, and what it would have kept is rolled back. Commit first where
/// that matters.
///
/// @param session  open session; gone afterwards whatever the status
/// @return kVeskOK; kVeskInvalidArgument (null argument); else the status of closing the database
VESK_API int32_t veskCloseSession(VeskSession* session);

/// The last modification of the catalogue's file. No session is needed.
///
/// @param outTime  receives seconds since 1970-01-01 UTC; untouched on failure
/// @return kVeskOK; kVeskInvalidArgument (null argument); kVeskNotFound (no such file); kVeskNoMemory
VESK_API int32_t veskGetLastModTime(uint32_t* outTime);

/// Copies the catalogue's file into the backup folder, over the copy before, creating the folder when missing.
/// A plain copy outside any lock: call it while nobody writes.
///
/// Deliberate: a backup that may not be written counts as made.
///
/// @return kVeskOK; kVeskNotFound (no catalogue, nothing done); kVeskIOError (the copy failed and is
///         incomplete); kVeskNoMemory; kVeskAccessDenied, kVeskInvalidArgument (the folder could not be created)
VESK_API int32_t veskBackup(void);

/// Tells whether the catalogue is gone while its backup is there. Looks at the presence of the two files only.
///
/// @return kVeskNeedsRestore (the backup is there alone); kVeskNoMemory; else kVeskOK
VESK_API int32_t veskVerifyIntegrity(void);

#endif
