/// The two configuration stores: named settings of installed products as domain / subdomain / key / value rows.
/// Compiles as C and as C++.
///
/// The master store is "/Library/Application Support/Zelko/Zelko PCD/pcd.db"; the cache store, which every user
/// may write, is "cache/cache.db" below the same folder. Sessions behave as session.h tells.
#ifndef LIBDOLMVESK_PCD_COMPAT_H
#define LIBDOLMVESK_PCD_COMPAT_H

#include "libdolmvesk/session.h"

/// Opens the master store, creating it as needed, and makes sure that the cache store exists too.
///
/// Deliberate: when the cache store cannot be opened, its status comes back with the master session open in
/// `*outSession`.
///
/// @param outSession  receives the session, the caller's until pcdCloseSession; otherwise as veskOpenSession
/// @return as veskOpenSession, for the master store or else for the cache store
VESK_API int32_t pcdOpenSession(VeskSession** outSession);

/// Opens the master store only if its file exists; the cache store is created if it does not. Creates nothing
/// otherwise.
///
/// @param outSession  as pcdOpenSession; untouched when there is no such file
/// @return kVeskNotFound (no such file); else as pcdOpenSession
VESK_API int32_t pcdOpenSessionNoCreate(VeskSession** outSession);

/// Opens the cache store, creating it as needed.
///
/// @param outSession  receives the session, the caller's until pcdCloseSession; otherwise as veskOpenSession
/// @return as veskOpenSession
VESK_API int32_t pcdOpenCacheSession(VeskSession** outSession);

/// Opens the cache store only if its file exists. Creates nothing otherwise.
///
/// @param outSession  as pcdOpenCacheSession; untouched when there is no such file
/// @return kVeskNotFound (no such file); else as veskOpenSession
VESK_API int32_t pcdOpenCacheSessionNoCreate(VeskSession** outSession);

/// Same as veskSessionCommit.
VESK_API int32_t pcdSessionCommit(VeskSession* session);

/// Same as veskSessionRollback.
VESK_API int32_t pcdSessionRollback(VeskSession* session);

/// Same as veskCloseSession: commits, closes and frees.
VESK_API int32_t pcdCloseSession(VeskSession* session);

/// The last modification of the master store's file. No session is needed.
///
/// @param outTime  receives seconds since 1970-01-01 UTC; untouched on failure
/// @return kVeskOK; kVeskInvalidArgument (null argument); kVeskNotFound (no such file); kVeskNoMemory
VESK_API int32_t pcdGetLastModTime(uint32_t* outTime);

/// The last modification of the cache store's file; otherwise as pcdGetLastModTime.
VESK_API int32_t pcdCacheGetLastModTime(uint32_t* outTime);

// The settings of an open master or cache session.
//
// Any 32-bit number is a domain. Subdomains, keys and values are NUL-terminated UTF-8 of any content and are
// needed for the call only. Every function refuses a null argument that is not named optional with
// kVeskInvalidArgument and a handle without a store with kVeskNoDataStore, touching nothing. Besides the
// statuses named, each returns that of the failed statement: kVeskBusy, kVeskAccessDenied (a file that may not
// be written), kVeskIOError, kVeskNoMemory, kVeskError.

/// Reads one setting.
///
/// @param value  receives the text, the session's until it is closed; null when there is none
/// @return kVeskOK; kVeskNotFound
VESK_API int32_t pcdGetDomainData(VeskSession* session, int32_t domain, char const* subdomain,
                                  char const* key, char const** value);

/// Writes one setting in the session's transaction, over the one before.
///
/// @param value  optional; null removes the setting
/// @return kVeskOK
VESK_API int32_t pcdSetDomainData(VeskSession* session, int32_t domain, char const* subdomain,
                                  char const* key, char const* value);

/// Removes one setting in the session's transaction. One that does not exist is no error.
///
/// @return kVeskOK
VESK_API int32_t pcdRemoveDomainData(VeskSession* session, int32_t domain, char const* subdomain,
                                     char const* key);

/// Lists the keys of a subdomain, in no particular order.
///
/// @param keys  receives a list ended by null, the session's until it is closed; an empty one on failure
/// @return kVeskOK; kVeskNotFound (there are none)
VESK_API int32_t pcdGetDomainDataKeys(VeskSession* session, int32_t domain, char const* subdomain,
                                      char const*** keys);

/// Lists the subdomains of a domain, each once, in no particular order.
///
/// @param subdomains  receives a list ended by null, the session's until it is closed; an empty one on failure
/// @return kVeskOK; kVeskNotFound (there are none)
VESK_API int32_t pcdGetDomainDataSubdomains(VeskSession* session, int32_t domain, char const*** subdomains);

#endif
