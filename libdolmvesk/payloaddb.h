/// The payload database, pdb.db: which payloads are on the machine, how they relate to each other, the data
/// stored for each, and the user actions on record. Compiles as C and as C++.
///
/// The file is "/Library/Application Support/Zelko/vesk/pdb.db"; its backup copy lies in the folder "backup"
/// beside "vesk". Sessions behave as session.h tells, with the differences given here.
///
/// Rules of all functions that take a session. Texts handed in are NUL-terminated, of any content, and needed
/// for the call only. An argument that is not named optional is refused when null, with kVeskInvalidArgument
/// and nothing done; a session without a database is refused with kVeskNoDataStore. Texts and lists handed
/// back are the session's, to be read until it is closed. A list is a flat array, row after row, ended by a
/// null entry; an empty one comes with kVeskNotFound. Besides the statuses named, each function returns that
/// of a failed statement: kVeskBusy, kVeskAccessDenied, kVeskIOError, kVeskNoMemory, kVeskError. A failure
/// leaves what the call has written so far in the session's open transaction: roll back to undo it.
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

/// The filter of pdbGetPayloads that lets every payload through.
enum PdbPayloadFilter
{
    kPdbAllPayloads = 4
};

/// A payload's record. The texts are the session's; one that is missing from the database reads as empty.
struct PdbPayloadInfo
{
    char const* payloadID;
    char const* productFamily;
    char const* productName;
    char const* version;
    char const* signature;
    int32_t installState; ///< a PdbInstallState
    int32_t
        installTime; ///< of the last state change, seconds since 1970-01-01 UTC; the last second of 32 bits
                     ///< for anything later
};

// Sessions

/// Opens the payload database, creating it and its folders as needed.
///
/// @param outSession  receives the session, the caller's until pdbCloseSession; otherwise as veskOpenSession
/// @return as veskOpenSession
VESK_API int32_t pdbOpenSession(VeskSession** outSession);

/// Opens the payload database only if its file exists. Creates nothing otherwise.
///
/// @param outSession  as pdbOpenSession; untouched when there is no such file
/// @return kVeskNotFound (no such file); else as pdbOpenSession
VESK_API int32_t pdbOpenSessionNoCreate(VeskSession** outSession);

/// Commits the open transaction, if there is one, and refreshes the backup of the catalogue.
///
/// Deliberate: it is the catalogue that is backed up, not this database, and how that went is not reported.
///
/// @return kVeskOK; kVeskInvalidArgument; kVeskBusy (another connection holds a lock; the transaction stays
///         open and the call may be repeated); else the status of the failed commit, without a backup
VESK_API int32_t pdbSessionCommit(VeskSession* session);

/// Same as veskSessionRollback.
VESK_API int32_t pdbSessionRollback(VeskSession* session);

/// Commits as pdbSessionCommit does, closes and frees the session with all that was read through it.
///
/// Deliberate: when the commit fails and closing succeeds, kVeskOK comes back and the changes are rolled back.
/// Commit first where that matters.
///
/// @param session  gone afterwards whatever the status
/// @return kVeskOK; kVeskInvalidArgument; else the status of closing the database
VESK_API int32_t pdbCloseSession(VeskSession* session);

/// The last modification of the payload database's file. No session is needed.
///
/// @param outTime  receives the low 32 bits of the seconds since 1970-01-01 UTC; untouched on failure
/// @return kVeskOK; kVeskInvalidArgument (null argument); kVeskNotFound (no such file); kVeskNoMemory
VESK_API int32_t pdbGetLastModTime(int32_t* outTime);

/// Copies the payload database's file into the backup folder; otherwise as veskBackup.
///
/// @return as veskBackup; kVeskNotFound when there is no payload database
VESK_API int32_t pdbBackup(void);

// Payloads

/// Puts a payload on record, not installed and stamped with the current time, over a record of the same
/// identifier, and declares its conflicts and upgrades.
///
/// @param conflicts  optional; identifiers, ended by null
/// @param upgrades   optional; identifiers, ended by null
/// @return kVeskOK; kVeskConstraint
VESK_API int32_t pdbAddPayload(VeskSession* session, char const* payloadID, char const* productFamily,
                               char const* productName, char const* version, char const* signature,
                               char const* const* conflicts, char const* const* upgrades);

/// Removes a payload and every payload recorded as upgraded by it, each with its relations and data. Relations
/// that others declare to them, and the record of upgrades, stay. An unknown payload is no error.
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
/// @param out     receives the list; an empty one on failure, untouched by a filter out of range
/// @return kVeskOK; kVeskInvalidArgument (also: filter out of range); kVeskNotFound (there are none)
VESK_API int32_t pdbGetPayloads(VeskSession* session, int32_t filter, char const*** out);

/// Reads whether a payload is installed.
///
/// @param outState  receives a PdbInstallState; 0 on failure
/// @return kVeskOK; kVeskNotFound (unknown payload)
VESK_API int32_t pdbGetInstallState(VeskSession* session, char const* payloadID, int32_t* outState);

/// Records whether a payload is installed and stamps the current time.
///
/// Marking it installed is refused while a payload in conflict with it, declared from either side, is on
/// record. Deliberate: in any state; one that was marked not installed but not removed still blocks. Declared
/// upgrades are recorded before the state changes: the first payload on record that declares to upgrade this
/// one, and every payload on record that this one upgrades. Marking it not installed looks at no relation. An
/// unknown payload is not reported: no row changes and the status is kVeskOK.
///
/// @param state  a PdbInstallState
/// @return kVeskOK; kVeskInvalidArgument (also: another state); kVeskConflict (nothing written)
VESK_API int32_t pdbSetInstallState(VeskSession* session, char const* payloadID, int32_t state);

// Relations between payloads. One ordered pair has one relation at most: recording another type replaces it.
// A reader's type is 0, 1 or 3 to 7. Deliberate: kPdbRequires can be written and removed but not read.

/// Declares that a payload on record relates to another, which need not be.
///
/// @param type  at most 7. Deliberate: negative numbers pass
/// @return kVeskOK; kVeskInvalidArgument (also: a type above 7); kVeskConstraint (the payload is not on record)
VESK_API int32_t pdbAddPayloadDependency(VeskSession* session, char const* payloadID, int32_t type,
                                         char const* payloadIDb);

/// Removes a payload's relation of one type to another payload, or all its relations of that type. What does
/// not exist is no error.
///
/// @param payloadIDb  optional; null for all
/// @return kVeskOK
VESK_API int32_t pdbRemovePayloadDependency(VeskSession* session, char const* payloadID, int32_t type,
                                            char const* payloadIDb);

/// Lists the payloads that a payload declares a relation to.
///
/// @return kVeskOK; kVeskInvalidArgument (also: not a reader's type); kVeskNotFound (there are none)
VESK_API int32_t pdbGetPayloadDependency(VeskSession* session, char const* payloadID, uint32_t type,
                                         char const*** out);

/// Lists the payloads that declare a relation to a payload.
///
/// @return as pdbGetPayloadDependency
VESK_API int32_t pdbGetPayloadDependencyReverse(VeskSession* session, char const* payloadIDb, uint32_t type,
                                                char const*** out);

/// Lists all relations of a type as pairs: who declares it, to whom.
///
/// @return as pdbGetPayloadDependency
VESK_API int32_t pdbGetPayloadDependencyKeysAndValues(VeskSession* session, uint32_t type, char const*** out);

// The record of upgrades: which payload was upgraded by which.

/// Records an upgrade. Deliberate: the identifiers are not checked; the caller passes valid ones.
///
/// @return kVeskOK; kVeskInvalidArgument (null session)
VESK_API int32_t pdbAddUpgradedPayloads(VeskSession* session, char const* original, char const* upgraded);

/// Removes every record of a payload having upgraded others. Deliberate: the identifier is not checked.
///
/// @return kVeskOK (also when there is none); kVeskInvalidArgument (null session)
VESK_API int32_t pdbRemoveUpgradePayloads(VeskSession* session, char const* upgraded);

/// Lists all upgrades as pairs: the original, the payload that upgraded it.
///
/// @return kVeskOK; kVeskNotFound (there are none)
VESK_API int32_t pdbGetUpgradedPayloadsKeysAndValues(VeskSession* session, char const*** out);

// Data of payloads, by domain (0 to 5) and key. Domains are checked by pdbRemovePayloadDomainData alone.

/// Stores a value for a payload on record, over the one before.
///
/// @param value  optional; null removes the key, an empty text keeps it
/// @return kVeskOK; kVeskConstraint (the payload is not on record)
VESK_API int32_t pdbSetPayloadData(VeskSession* session, char const* payloadID, int32_t domain,
                                   char const* key, char const* value);

/// Reads a value.
///
/// @param value  receives the text; null when there is none
/// @return kVeskOK; kVeskNotFound
VESK_API int32_t pdbGetPayloadData(VeskSession* session, char const* payloadID, int32_t domain,
                                   char const* key, char const** value);

/// Lists the keys of a payload's domain.
///
/// @return kVeskOK; kVeskNotFound (there are none)
VESK_API int32_t pdbGetPayloadDataKeys(VeskSession* session, char const* payloadID, int32_t domain,
                                       char const*** out);

/// Lists a payload's domain as pairs: key, value. A value that is NULL in the database is a null entry.
///
/// @return kVeskOK; kVeskNotFound (there are none)
VESK_API int32_t pdbGetPayloadDataKeysAndValues(VeskSession* session, char const* payloadID, int32_t domain,
                                                char const*** out);

/// Removes a value. One that does not exist is no error.
///
/// @return kVeskOK
VESK_API int32_t pdbRemovePayloadData(VeskSession* session, char const* payloadID, int32_t domain,
                                      char const* key);

/// Removes all values of a payload's domain.
///
/// @param domain  at most 5. Deliberate: negative numbers pass
/// @return kVeskOK; kVeskInvalidArgument (also: a domain above 5)
VESK_API int32_t pdbRemovePayloadDomainData(VeskSession* session, char const* payloadID, int32_t domain);

// User actions on products. Every record is a row of its own.

/// Records an action with the current time.
///
/// @param actor  who or what acted
/// @return kVeskOK
VESK_API int32_t pdbSetUserAction(VeskSession* session, char const* productID, char const* actor);

/// Removes all actions of a product. None is no error.
///
/// @return kVeskOK
VESK_API int32_t pdbRemoveUserAction(VeskSession* session, char const* productID);

/// Lists the actions of all products as triples: product, actor, time in seconds since 1970-01-01 UTC.
///
/// @return kVeskOK; kVeskNotFound (there are none)
VESK_API int32_t pdbGetUserAction(VeskSession* session, char const*** out);

#endif
