/// What the sessions of all four databases share: the handle, each store's description, opening, commit, roll-back and
/// close, and the backup copy.
#ifndef LIBDOLMVESK_STORE_SESSION_H
#define LIBDOLMVESK_STORE_SESSION_H

#include "libdolmvesk/database.h"
#include "libdolmvesk/session.h"
#include "libdolmvesk/vesk_status.h"

#include <cstddef>
#include <memory>
#include <new>

enum SessionKind : int32_t
{
    kSessionKindCatalogue = 0,
    kSessionKindMaster = 1,
    kSessionKindCache = 2,
    kSessionKindPayload = 4
};

/// The handle of a session: two words, opaque to callers. Open functions allocate it, close functions free it.
struct VeskSession
{
    std::unique_ptr<VeskiDataStore> store; ///< null until opened
    int32_t kind;                          ///< a SessionKind; set at open, never read
};
static_assert(sizeof(void*) != 4 || sizeof(VeskSession) == 8, "two 32-bit words");
static_assert(offsetof(VeskSession, kind) == sizeof(void*), "the store first");

/// One database: its path below the database root and how it is opened.
struct StoreDescription
{
    SessionKind kind;
    char const* const* folder; ///< components below the database root; ends with null
    char const* file;
    SchemaFamily schemas;
    bool sharedAccess; ///< whether every user may write it; see databaseAccess
    schemaType type;   ///< fixes the newest version; see newestSchemaVersion
    bool hasBackup;    ///< whether the library keeps a copy of it in backupFolder
};

extern StoreDescription const catalogue;
extern StoreDescription const payloadDatabase;
extern StoreDescription const masterStore;
extern StoreDescription const cacheStore;

/// The folder of the backup copies: its components below the database root; ends with null.
extern char const* const backupFolder[];

/// Forms a path below the database root, one component at a time.
///
/// @param folder  components of a folder; ends with null
/// @param file    a last component; null for the folder itself
/// @param out     receives the path
/// @return whether it can be formed; the file system is neither read nor changed
bool databasePath(char const* const* folder, char const* file, std::string& out);

/// Opens a session, creating and upgrading the database as needed.
///
/// @param store  which database; outlives the call
/// @param out    receives the handle; null if the store could not be opened
/// @return kVeskOK; kVeskInvalidArgument (null argument, nothing done); kVeskFailed (no memory for the handle,
///         or a path that cannot be formed, which leaves a handle without a store in `*out`); kVeskNoMemory;
///         else the status of the failed opening
int32_t openStoreSession(StoreDescription const& store, VeskSession** out);

/// Opens a session if the database's file exists; touches nothing otherwise.
///
/// @param open  opens the session
/// @return kVeskNotFound (no such file, `*out` untouched); kVeskNoMemory; else what `open` returns
int32_t openIfStoreExists(StoreDescription const& store, VeskSession** out,
                          int32_t (*open)(VeskSession** out));

/// The last modification of a database's file, in seconds since 1970-01-01 UTC.
///
/// @return kVeskOK; kVeskInvalidArgument (null argument); kVeskNotFound (no such file, `*out` untouched);
///         kVeskNoMemory
int32_t storeModificationTime(StoreDescription const& store, uint32_t* out);

/// Copies a database's file into the backup folder, which is created if it is missing. No session is needed.
///
/// @return kVeskOK; kVeskNotFound (no such file, nothing done); kVeskIOError (the copy failed); kVeskNoMemory;
///         else the status of creating the folder; the copy was tried even so
int32_t backUp(StoreDescription const& store);

/// Commit and roll-back of any session: see veskSessionCommit and veskSessionRollback.
int32_t commitSession(VeskSession* session);
int32_t rollbackSession(VeskSession* session);

/// Closes the session's database, if it has one, and frees the session in any case. Commits nothing.
///
/// @param session  not null
/// @param status   what to return for a session without a database
/// @return the status of closing the database; else `status`
int32_t closeAndFree(VeskSession* session, int32_t status);

/// Whether any argument is missing.
template<class... Arguments>
bool anyNull(Arguments const*... arguments)
{
    return ((arguments == nullptr) || ...);
}

/// Runs the body of an exported function, which no exception may leave: running out of memory becomes kVeskNoMemory.
template<class Body>
int32_t reportingNoMemory(Body body) noexcept
{
    try {
        return body();
    } catch (std::bad_alloc const&) {
        return kVeskNoMemory;
    }
}

/// Runs the body of an exported function with the session's store.
///
/// @return the body's status; kVeskNoDataStore for a session without a store; kVeskNoMemory
template<class Body>
int32_t withStore(VeskSession* session, Body body) noexcept
{
    if (session->store == nullptr) {
        return kVeskNoDataStore;
    }
    return reportingNoMemory([&] { return body(*session->store); });
}

#endif
