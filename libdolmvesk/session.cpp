#include "libdolmvesk/session.h"

#include "libdolmvesk/plat_utils.h"
#include "libdolmvesk/schemas.h"
#include "libdolmvesk/store_session.h"

namespace {

char const dbDir[] = "vesk";
char const dbName[] = "vesk.db";

char const* const catalogueFolder[] = {dbDir, nullptr};

} // namespace

StoreDescription const catalogue = {
    kSessionKindCatalogue, catalogueFolder, dbName, gVeskSchemas, false, kSchemaTypeStandard, true};

int32_t veskOpenSession(VeskSession** outSession)
{
    return openStoreSession(catalogue, outSession);
}

int32_t veskOpenSessionNoCreate(VeskSession** outSession)
{
    return openIfStoreExists(catalogue, outSession, veskOpenSession);
}

int32_t veskSessionCommit(VeskSession* session)
{
    return commitSession(session);
}

int32_t veskSessionRollback(VeskSession* session)
{
    return rollbackSession(session);
}

int32_t veskCloseSession(VeskSession* session)
{
    if (session == nullptr) {
        return kVeskInvalidArgument;
    }
    commitSession(session);
    return closeAndFree(session, kVeskOK);
}

int32_t veskGetLastModTime(uint32_t* outTime)
{
    return storeModificationTime(catalogue, outTime);
}

int32_t veskBackup()
{
    return backUp(catalogue);
}

int32_t veskVerifyIntegrity()
{
    return reportingNoMemory([] {
        std::string live;
        std::string backup;
        bool const backupAlone = databasePath(catalogueFolder, dbName, live) && !veskiFileExists(live) &&
                                 databasePath(backupFolder, dbName, backup) && veskiFileExists(backup);
        return int32_t{backupAlone ? kVeskNeedsRestore : kVeskOK};
    });
}
