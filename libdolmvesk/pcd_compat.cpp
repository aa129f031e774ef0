#include "libdolmvesk/pcd_compat.h"

#include "libdolmvesk/schemas.h"
#include "libdolmvesk/store_session.h"

namespace {

char const dbDir[] = "Zelko PCD";
char const dbName[] = "pcd.db";
char const hbSubdir[] = "cache";
char const hbName[] = "cache.db";

char const* const masterFolder[] = {dbDir, nullptr};
char const* const cacheFolder[] = {dbDir, hbSubdir, nullptr};

} // namespace

StoreDescription const masterStore = {kSessionKindMaster,  masterFolder, dbName, gPcdSchemas, false,
                                      kSchemaTypeStandard, false};
StoreDescription const cacheStore = {kSessionKindCache,   cacheFolder, hbName, gHbSchemas, true,
                                     kSchemaTypeStandard, false};

int32_t pcdOpenSession(VeskSession** outSession)
{
    int32_t const opened = openStoreSession(masterStore, outSession);
    if (opened != kVeskOK) {
        return opened;
    }
    VeskSession* cacheSession = nullptr;
    int32_t const cacheOpened = pcdOpenCacheSession(&cacheSession);
    if (cacheOpened != kVeskOK) {
        return cacheOpened;
    }
    return pcdCloseSession(cacheSession);
}

int32_t pcdOpenSessionNoCreate(VeskSession** outSession)
{
    return openIfStoreExists(masterStore, outSession, pcdOpenSession);
}

int32_t pcdOpenCacheSession(VeskSession** outSession)
{
    return openStoreSession(cacheStore, outSession);
}

int32_t pcdOpenCacheSessionNoCreate(VeskSession** outSession)
{
    return openIfStoreExists(cacheStore, outSession, pcdOpenCacheSession);
}

int32_t pcdSessionCommit(VeskSession* session)
{
    return veskSessionCommit(session);
}

int32_t pcdSessionRollback(VeskSession* session)
{
    return veskSessionRollback(session);
}

int32_t pcdCloseSession(VeskSession* session)
{
    return veskCloseSession(session);
}

int32_t pcdGetLastModTime(uint32_t* outTime)
{
    return storeModificationTime(masterStore, outTime);
}

int32_t pcdCacheGetLastModTime(uint32_t* outTime)
{
    return storeModificationTime(cacheStore, outTime);
}

int32_t pcdGetDomainData(VeskSession* session, int32_t domain, char const* subdomain, char const* key,
                         char const** value)
{
    if (anyNull(session, subdomain, key, value)) {
        return kVeskInvalidArgument;
    }
    return withStore(session, [&](VeskiDataStore& store) {
        return store.querySingle(
            value, "SELECT value FROM domain_data WHERE domain = %d AND subdomain = '%q' AND key = '%q'",
            domain, subdomain, key);
    });
}

int32_t pcdSetDomainData(VeskSession* session, int32_t domain, char const* subdomain, char const* key,
                         char const* value)
{
    if (anyNull(session, subdomain, key)) {
        return kVeskInvalidArgument;
    }
    if (value == nullptr) {
        return pcdRemoveDomainData(session, domain, subdomain, key);
    }
    return withStore(session, [&](VeskiDataStore& store) {
        return store.queryNR("INSERT OR REPLACE INTO domain_data (domain, subdomain, key, value) VALUES (%d, "
                             "'%q', '%q', '%q')",
                             domain, subdomain, key, value);
    });
}

int32_t pcdRemoveDomainData(VeskSession* session, int32_t domain, char const* subdomain, char const* key)
{
    if (anyNull(session, subdomain, key)) {
        return kVeskInvalidArgument;
    }
    return withStore(session, [&](VeskiDataStore& store) {
        return store.queryNR("DELETE FROM domain_data WHERE domain = %d AND subdomain = '%q' AND key = '%q'",
                             domain, subdomain, key);
    });
}

int32_t pcdGetDomainDataKeys(VeskSession* session, int32_t domain, char const* subdomain, char const*** keys)
{
    if (anyNull(session, subdomain, keys)) {
        return kVeskInvalidArgument;
    }
    return withStore(session, [&](VeskiDataStore& store) {
        return store.queryList(keys, "SELECT key FROM domain_data WHERE domain = %d AND subdomain = '%q'",
                               domain, subdomain);
    });
}

int32_t pcdGetDomainDataSubdomains(VeskSession* session, int32_t domain, char const*** subdomains)
{
    if (anyNull(session, subdomains)) {
        return kVeskInvalidArgument;
    }
    return withStore(session, [&](VeskiDataStore& store) {
        return store.queryList(subdomains, "SELECT DISTINCT subdomain FROM domain_data WHERE domain = %d",
                               domain);
    });
}
