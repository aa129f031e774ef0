#include "libdolmvesk/store_session.h"

#include "libdolmvesk/plat_utils.h"
#include "libdolmvesk/shared_folder.h"

namespace {

char const dbBackupDir[] = "backup";

/// Forms the path of a database's file.
///
/// @return whether the file exists
bool existingStore(StoreDescription const& store, std::string& path)
{
    return databasePath(store.folder, store.file, path) && veskiFileExists(path);
}

/// Forms the path of the databases' root folder, and withdraws the right of all to write it: earlier versions left it
/// writable by everyone if they were installed with an open umask.
bool rootClosedToOthers(std::string& root)
{
    bool const formed = veskiDbPath(root);
    veskiWithdrawFromOthers(root);
    return formed;
}

bool appendAll(char const* const* components, std::string& path)
{
    bool appended = true;
    for (; *components != nullptr && appended; ++components) {
        appended = veskiPathAppend(path, *components, path);
    }
    return appended;
}

} // namespace

char const* const backupFolder[] = {dbBackupDir, nullptr};

bool databasePath(char const* const* folder, char const* file, std::string& out)
{
    return veskiDbPath(out) && appendAll(folder, out) && (file == nullptr || veskiPathAppend(out, file, out));
}

int32_t openStoreSession(StoreDescription const& store, VeskSession** out)
{
    if (out == nullptr) {
        return kVeskInvalidArgument;
    }
    std::unique_ptr<VeskSession> session(new (std::nothrow) VeskSession{nullptr, store.kind});
    *out = session.get();
    if (session == nullptr) {
        return kVeskFailed;
    }
    int32_t const status = reportingNoMemory([&] {
        std::string folder;
        if (!rootClosedToOthers(folder) || !appendAll(store.folder, folder)) {
            // Deliberate: the handle stays in *out, without a store: see veskOpenSession.
            (void)session.release();
            return int32_t{kVeskFailed};
        }
        session->store = std::make_unique<VeskiDataStore>(folder, store.file, store.schemas,
                                                          store.sharedAccess, false, store.type);
        return session->store->status;
    });
    if (status == kVeskOK) {
        (void)session.release(); // the caller owns it now
    } else if (session != nullptr) {
        *out = nullptr;
    }
    return status;
}

int32_t openIfStoreExists(StoreDescription const& store, VeskSession** out,
                          int32_t (*open)(VeskSession** out))
{
    return reportingNoMemory([&] {
        std::string path;
        if (!existingStore(store, path)) {
            return int32_t{kVeskNotFound};
        }
        return open(out);
    });
}

int32_t storeModificationTime(StoreDescription const& store, uint32_t* out)
{
    if (out == nullptr) {
        return kVeskInvalidArgument;
    }
    return reportingNoMemory([&] {
        std::string path;
        if (!existingStore(store, path)) {
            return int32_t{kVeskNotFound};
        }
        *out = veskiGetFileModTime(path);
        return int32_t{kVeskOK};
    });
}

int32_t backUp(StoreDescription const& store)
{
    return reportingNoMemory([&] {
        std::string live;
        std::string copy; // first the path of its folder
        if (!existingStore(store, live) || !rootClosedToOthers(copy) || !appendAll(backupFolder, copy)) {
            return int32_t{kVeskNotFound};
        }
        int32_t const status = veskiDirectoryExists(copy) ? int32_t{kVeskOK} : veskiCreateDirectory(copy);
        bool const copied = veskiPathAppend(copy, store.file, copy) && veskiCopyDatabaseFile(live, copy);
        return copied ? status : int32_t{kVeskIOError};
    });
}

int32_t commitSession(VeskSession* session)
{
    if (session == nullptr) {
        return kVeskInvalidArgument;
    }
    return session->store == nullptr ? int32_t{kVeskOK}
                                     : reportingNoMemory([&] { return session->store->commit(); });
}

int32_t rollbackSession(VeskSession* session)
{
    if (session == nullptr) {
        return kVeskInvalidArgument;
    }
    return session->store == nullptr ? int32_t{kVeskOK}
                                     : reportingNoMemory([&] { return session->store->rollback(); });
}

int32_t closeAndFree(VeskSession* session, int32_t status)
{
    std::unique_ptr<VeskSession> const closing(session);
    return closing->store == nullptr ? status : closing->store->dbClose();
}
