/// The payload database, pdb.db: the payloads of the machine, their relations to each other, the data stored for each,
/// and the record of user actions. Compiles as C and as C++.
///
/// The file is "/Library/Application Support/Zelko/vesk/pdb.db"; its backup is the file of the same name in the folder
/// "backup" next to "vesk". Sessions behave as described in session.h, except where this header differs.
///
/// These rules hold for all functions that take a session:
///
/// - Texts passed in are NUL-terminated, may contain any bytes, and are needed for the call only.
/// - A null argument that is not called optional is refused: kVeskInvalidArgument. A session without a database is
///   refused, except by commit, roll-back and close: kVeskNoDataStore. A refused call does nothing, and leaves what it
///   would return untouched unless its own description differs.
/// - Returned texts and lists belong to the session; callers may read them until it is closed. A list is a flat array,
///   row after row, ended by a null entry. If there are no rows, the list is empty and the status is kVeskNotFound; on
///   any other failure of a statement the list is empty, too.
/// - Each function also returns the status of a failed statement: kVeskBusy, kVeskAccessDenied, kVeskIOError,
///   kVeskNoMemory, kVeskError. What the call has written so far then stays in the session's open transaction: roll
///   back to undo it.
#ifndef LIBDOLMVESK_PAYLOADDB_H
#define LIBDOLMVESK_PAYLOADDB_H

#include "libdolmvesk/session.h"

/// How a payload relates to another.
enum PdbDependencyType
{
    kPdbConflicts = 0,
    kPdbUpgrades = 1,
    kPdbRequires = 2,
    kPdbRequired = 3,
    kPdbCritical = 4,
    kPdbRecommended = 5,
    kPdbLoadPatch = 6,
    kPdbLoadLangPack = 7
};

enum PdbInstallState
{
    kPdbNotInstalled = 0,
    kPdbInstalled = 2
};

/// The filter of pdbGetPayloads that matches every payload.
enum PdbPayloadFilter
{
    kPdbAllPayloads = 4
};

/// A payload's record. The texts belong to the session; a NULL in the database is returned as an empty text.
struct PdbPayloadInfo
{
    char const* payloadID;
    char const* productFamily;
    char const* productName;
    char const* version;
    char const* signature;
    int32_t installState; ///< a PdbInstallState
    /// Time of the last state change, in seconds since 1970-01-01 UTC; 2147483647 (in January 2038) for any later time.
    int32_t installTime;
};

// Sessions

/// Opens the payload database, creating it and its folders as needed.
///
/// @param outSession  receives the session, which the caller owns until pdbCloseSession; otherwise as veskOpenSession
/// @return as veskOpenSession
VESK_API int32_t pdbOpenSession(VeskSession** outSession);

/// Opens the payload database only if its file exists. Creates nothing otherwise.
///
/// @param outSession  as pdbOpenSession; untouched if there is no such file
/// @return kVeskNotFound (no such file); else as pdbOpenSession
VESK_API int32_t pdbOpenSessionNoCreate(VeskSession** outSession);

/// Commits the open transaction, if there is one, and then backs up the catalogue as veskBackup does.
///
/// Deliberate: this backs up the catalogue, not the payload database, and does not report a failed backup: what was
/// committed is committed. pdbBackup backs up this database.
///
/// @return kVeskOK; kVeskInvalidArgument; kVeskBusy (another connection holds a lock; the transaction stays
///         open and the call may be repeated); else the status of the failed commit, without a backup
VESK_API int32_t pdbSessionCommit(VeskSession* session);

/// Same as veskSessionRollback.
VESK_API int32_t pdbSessionRollback(VeskSession* session);

/// Commits as pdbSessionCommit does, then closes and frees the session, with every text and list read through it.
///
/// A failed commit is not reported if closing succeeds; its changes are rolled back. Commit first where that matters.
///
/// @param session  freed whatever the status
/// @return kVeskOK; kVeskInvalidArgument; else the status of closing the database
VESK_API int32_t pdbCloseSession(VeskSession* session);

/// Reads when the payload database's file was last modified. No session is needed.
///
/// @param outTime  receives the low 32 bits of the seconds since 1970-01-01 UTC; untouched on failure
/// @return kVeskOK; kVeskInvalidArgument (null argument); kVeskNotFound (no such file); kVeskNoMemory
VESK_API int32_t pdbGetLastModTime(int32_t* outTime);

/// Copies the payload database's file into the backup folder; otherwise as veskBackup.
///
/// @return as veskBackup; kVeskNotFound if there is no payload database
VESK_API int32_t pdbBackup(void);

// Payloads

/// Records a payload as not installed, with the current time, and declares its conflicts and upgrades. Replaces a
/// record of the same identifier; its relations and data stay.
///
/// @param conflicts  optional; identifiers of payloads, ended by null
/// @param upgrades   optional; identifiers of payloads, ended by null
/// @return kVeskOK; kVeskConstraint
VESK_API int32_t pdbAddPayload(VeskSession* session, char const* payloadID, char const* productFamily,
                               char const* productName, char const* version, char const* signature,
                               char const* const* conflicts, char const* const* upgrades);

/// Removes a payload and every payload that is recorded as upgraded by it, each with its data and the relations that it
/// declares. Relations that other payloads declare to them stay, and so does the record of upgrades. An unknown payload
/// is no error.
///
/// @return kVeskOK
VESK_API int32_t pdbRemovePayload(VeskSession* session, char const* payloadID);

/// Reads a payload's record.
///
/// @param out  receives the record; untouched on failure
/// @return kVeskOK; kVeskNotFound
VESK_API int32_t pdbGetPayload(VeskSession* session, char const* payloadID, struct PdbPayloadInfo* out);

/// Lists the identifiers of payloads, the oldest state change first.
///
/// @param filter  an install state from 0 to 3, or kPdbAllPayloads
/// @param out     receives the list; an empty one on failure, untouched by kVeskInvalidArgument
/// @return kVeskOK; kVeskInvalidArgument (also: filter out of range); kVeskNotFound (there are none)
VESK_API int32_t pdbGetPayloads(VeskSession* session, int32_t filter, char const*** out);

/// Reads whether a payload is installed.
///
/// @param outState  receives a PdbInstallState; 0 on failure, untouched by kVeskInvalidArgument
/// @return kVeskOK; kVeskNotFound (unknown payload)
VESK_API int32_t pdbGetInstallState(VeskSession* session, char const* payloadID, int32_t* outState);

/// Records whether a payload is installed, with the current time.
///
/// A payload cannot be marked installed while a payload in conflict with it is on record, even one that is not
/// installed; it does not matter which of the two declares the conflict. Before the state changes, upgrades are
/// recorded: that of this payload by the first payload on record that declares to upgrade it, and those of all payloads
/// on record that this one declares to upgrade. Marking a payload not installed ignores all relations. An unknown
/// payload is not reported: no row changes and the status is kVeskOK.
///
/// @param state  a PdbInstallState
/// @return kVeskOK; kVeskInvalidArgument (also: another state); kVeskConflict (nothing written)
VESK_API int32_t pdbSetInstallState(VeskSession* session, char const* payloadID, int32_t state);

// Relations between payloads. One ordered pair has one relation at most: declaring another type replaces it. The
// functions that read relations accept every type except kPdbRequires, which can only be written and removed.

/// Declares that a payload on record relates to another payload, which need not be on record.
///
/// @param type  a PdbDependencyType; negative numbers are accepted, too, and cannot be read
/// @return kVeskOK; kVeskInvalidArgument (also: a type above 7); kVeskConstraint (the payload is not on record)
VESK_API int32_t pdbAddPayloadDependency(VeskSession* session, char const* payloadID, int32_t type,
                                         char const* payloadIDb);

/// Removes a payload's relation of one type to another payload, or all its relations of that type. Removing a relation
/// that does not exist is no error.
///
/// @param payloadIDb  optional; null for all
/// @return kVeskOK
VESK_API int32_t pdbRemovePayloadDependency(VeskSession* session, char const* payloadID, int32_t type,
                                            char const* payloadIDb);

/// Lists the payloads that a payload declares a relation to.
///
/// @param type  a PdbDependencyType except kPdbRequires
/// @return kVeskOK; kVeskInvalidArgument (also: another type); kVeskNotFound (there are none)
VESK_API int32_t pdbGetPayloadDependency(VeskSession* session, char const* payloadID, uint32_t type,
                                         char const*** out);

/// Lists the payloads that declare a relation to a payload.
///
/// @return as pdbGetPayloadDependency
VESK_API int32_t pdbGetPayloadDependencyReverse(VeskSession* session, char const* payloadIDb, uint32_t type,
                                                char const*** out);

/// Lists all relations of a type as pairs: the declaring payload, the other payload.
///
/// @return as pdbGetPayloadDependency
VESK_API int32_t pdbGetPayloadDependencyKeysAndValues(VeskSession* session, uint32_t type, char const*** out);

// The record of upgrades: which payload was upgraded by which.

/// Records an upgrade. The identifiers are not checked: do not pass null.
///
/// @return kVeskOK; kVeskInvalidArgument (null session)
VESK_API int32_t pdbAddUpgradedPayloads(VeskSession* session, char const* original, char const* upgraded);

/// Removes every record of upgrades by one payload. The identifier is not checked: do not pass null.
///
/// @return kVeskOK (even if there is none); kVeskInvalidArgument (null session)
VESK_API int32_t pdbRemoveUpgradePayloads(VeskSession* session, char const* upgraded);

/// Lists all upgrades as pairs: the original, the payload that upgraded it.
///
/// @return kVeskOK; kVeskNotFound (there are none)
VESK_API int32_t pdbGetUpgradedPayloadsKeysAndValues(VeskSession* session, char const*** out);

// Data of payloads, by domain (0 to 5) and key. Only pdbRemovePayloadDomainData checks the domain.

/// Stores a value for a payload on record, replacing an earlier one.
///
/// @param value  optional; null removes the value
/// @return kVeskOK; kVeskConstraint (the payload is not on record)
VESK_API int32_t pdbSetPayloadData(VeskSession* session, char const* payloadID, int32_t domain,
                                   char const* key, char const* value);

/// Reads a value.
///
/// @param value  receives the text; null if there is none; null or an empty text on any other failure of the statement
/// @return kVeskOK; kVeskNotFound
VESK_API int32_t pdbGetPayloadData(VeskSession* session, char const* payloadID, int32_t domain,
                                   char const* key, char const** value);

/// Lists the keys of a payload in one domain.
///
/// @return kVeskOK; kVeskNotFound (there are none)
VESK_API int32_t pdbGetPayloadDataKeys(VeskSession* session, char const* payloadID, int32_t domain,
                                       char const*** out);

/// Lists a payload's data in one domain as pairs: key, value. A NULL value is a null entry: walk such a list in pairs
/// and stop at a null key.
///
/// @return kVeskOK; kVeskNotFound (there are none)
VESK_API int32_t pdbGetPayloadDataKeysAndValues(VeskSession* session, char const* payloadID, int32_t domain,
                                                char const*** out);

/// Removes a value. One that does not exist is no error.
///
/// @return kVeskOK
VESK_API int32_t pdbRemovePayloadData(VeskSession* session, char const* payloadID, int32_t domain,
                                      char const* key);

/// Removes all values of a payload in one domain.
///
/// @param domain  at most 5; negative numbers are accepted, as by pdbSetPayloadData
/// @return kVeskOK; kVeskInvalidArgument (also: a domain above 5)
VESK_API int32_t pdbRemovePayloadDomainData(VeskSession* session, char const* payloadID, int32_t domain);

// User actions on products. Every record is a row of its own.

/// Records an action with the current time.
///
/// @param actor  who or what acted
/// @return kVeskOK
VESK_API int32_t pdbSetUserAction(VeskSession* session, char const* productID, char const* actor);

/// Removes all actions of a product. It is no error if there is none.
///
/// @return kVeskOK
VESK_API int32_t pdbRemoveUserAction(VeskSession* session, char const* productID);

/// Lists the actions of all products as triples: product, actor, time in seconds since 1970-01-01 UTC.
///
/// @return kVeskOK; kVeskNotFound (there are none)
VESK_API int32_t pdbGetUserAction(VeskSession* session, char const*** out);

#endif
