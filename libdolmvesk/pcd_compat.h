/// The two configuration stores: named settings of installed products as domain / subdomain / key / value rows.
/// Compiles as C and as C++.
///
/// The master store is "/Library/Application Support/Zelko/Zelko PCD/pcd.db"; the cache store, which every user
/// may write, is "cache/cache.db" below the same folder. Sessions behave as described in session.h.
#ifndef LIBDOLMVESK_PCD_COMPAT_H
#define LIBDOLMVESK_PCD_COMPAT_H

#include "libdolmvesk/session.h"

/// Opens the master store, creating it as needed, and also opens, or creates, and closes the cache store.
///
/// If only the cache store cannot be opened, its status is returned, and `*outSession` is an open master session even
/// so: close it.
///
/// @param outSession  receives the session, which the caller owns until pcdCloseSession; otherwise as veskOpenSession
/// @return as veskOpenSession, for the master store or else for the cache store
VESK_API int32_t pcdOpenSession(VeskSession** outSession);

/// Opens the master store as pcdOpenSession does, but only if its file exists. Creates nothing otherwise.
///
/// @param outSession  as pcdOpenSession; untouched if there is no such file
/// @return kVeskNotFound (no such file); else as pcdOpenSession
VESK_API int32_t pcdOpenSessionNoCreate(VeskSession** outSession);

/// Opens the cache store, creating it as needed.
///
/// @param outSession  receives the session, which the caller owns until pcdCloseSession; otherwise as veskOpenSession
/// @return as veskOpenSession
VESK_API int32_t pcdOpenCacheSession(VeskSession** outSession);

/// Opens the cache store only if its file exists. Creates nothing otherwise.
///
/// @param outSession  as pcdOpenCacheSession; untouched if there is no such file
/// @return kVeskNotFound (no such file); else as veskOpenSession
VESK_API int32_t pcdOpenCacheSessionNoCreate(VeskSession** outSession);

/// Same as veskSessionCommit.
VESK_API int32_t pcdSessionCommit(VeskSession* session);

/// Same as veskSessionRollback.
VESK_API int32_t pcdSessionRollback(VeskSession* session);

/// Same as veskCloseSession: commits, closes and frees.
VESK_API int32_t pcdCloseSession(VeskSession* session);

/// Reads when the master store's file was last modified. No session is needed.
///
/// @param outTime  receives seconds since 1970-01-01 UTC; untouched on failure
/// @return kVeskOK; kVeskInvalidArgument (null argument); kVeskNotFound (no such file); kVeskNoMemory
VESK_API int32_t pcdGetLastModTime(uint32_t* outTime);

/// Reads when the cache store's file was last modified; otherwise as pcdGetLastModTime.
VESK_API int32_t pcdCacheGetLastModTime(uint32_t* outTime);

// The settings of an open master or cache session.
//
// Any 32-bit number is a domain. Subdomains, keys and values are NUL-terminated UTF-8 texts and are needed for the call
// only. A null argument that is not called optional is refused: kVeskInvalidArgument. A session without a database is
// refused: kVeskNoDataStore. A refused call does nothing and leaves what it would return untouched. Each function also
// returns the status of a failed statement: kVeskBusy, kVeskAccessDenied (a file that may not be written),
// kVeskIOError, kVeskNoMemory, kVeskError.

/// Reads one setting.
///
/// @param value  receives the text, which the session owns until it is closed; null if there is none; null or an empty
///               text on any other failure of the statement
/// @return kVeskOK; kVeskNotFound
VESK_API int32_t pcdGetDomainData(VeskSession* session, int32_t domain, char const* subdomain,
                                  char const* key, char const** value);

/// Writes one setting in the session's transaction, replacing an earlier value.
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
/// @param keys  receives a list ended by null, which the session owns until it is closed; an empty one on failure
/// @return kVeskOK; kVeskNotFound (there are none)
VESK_API int32_t pcdGetDomainDataKeys(VeskSession* session, int32_t domain, char const* subdomain,
                                      char const*** keys);

/// Lists the subdomains of a domain, each once, in no particular order.
///
/// @param subdomains  receives a list ended by null, which the session owns until it is closed; an empty one on
///                    failure
/// @return kVeskOK; kVeskNotFound (there are none)
VESK_API int32_t pcdGetDomainDataSubdomains(VeskSession* session, int32_t domain, char const*** subdomains);

#endif
