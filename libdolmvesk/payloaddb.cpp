#include "libdolmvesk/payloaddb.h"

#include "libdolmvesk/schemas.h"
#include "libdolmvesk/store_session.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <ctime>

static_assert(sizeof(void*) != 4 || sizeof(PdbPayloadInfo) == 28, "seven 32-bit words");

namespace {

char const dbDir[] = "vesk";
char const dbName[] = "pdb.db";

char const* const payloadFolder[] = {dbDir, nullptr};

/// The current time as the statements write it. Where a long has 32 bits, the time stays at LONG_MAX from 2038 on, so
/// that later changes never sort before earlier ones.
long secondsNow()
{
    return static_cast<long>(std::min<std::time_t>(std::time(nullptr), LONG_MAX));
}

bool isReadableType(uint32_t type)
{
    return type <= kPdbLoadLangPack && type != kPdbRequires;
}

int32_t writeDependency(VeskiDataStore& store, char const* payloadID, char const* payloadIDb, int32_t type)
{
    return store.queryNR(
        "INSERT OR REPLACE INTO dependencies (payloadID, payloadIDb, type) VALUES ('%q', '%q', %d)",
        payloadID, payloadIDb, type);
}

int32_t writeDependencies(VeskiDataStore& store, char const* payloadID, char const* const* others,
                          int32_t type)
{
    int32_t status = kVeskOK;
    for (; others != nullptr && *others != nullptr && status == kVeskOK; ++others) {
        status = writeDependency(store, payloadID, *others, type);
    }
    return status;
}

int32_t writeUpgrade(VeskiDataStore& store, char const* original, char const* upgraded)
{
    return store.queryNR(
        "INSERT OR REPLACE INTO upgraded_payloads (payloadIDOriginal, payloadIDUpgraded) VALUES "
        "('%q', '%q')",
        original, upgraded);
}

int32_t deletePayload(VeskiDataStore& store, char const* payloadID)
{
    return store.queryNR("DELETE FROM payloads WHERE payloadID = '%q'", payloadID);
}

int32_t deletePayloadData(VeskiDataStore& store, char const* payloadID, int32_t domain, char const* key)
{
    return store.queryNR("DELETE FROM payload_data WHERE PayloadID = '%q' AND domain = %d AND key = '%q'",
                         payloadID, domain, key);
}

int32_t readUpgrades(VeskiDataStore& store, char const*** pairs)
{
    return store.queryList(pairs, "SELECT payloadIDOriginal,payloadIDUpgraded FROM upgraded_payloads");
}

int32_t readInstallState(VeskiDataStore& store, char const* payloadID, int32_t& state)
{
    char const* value = nullptr;
    int32_t const status =
        store.querySingle(&value, "SELECT installState FROM payloads WHERE payloadID = '%q'", payloadID);
    state = value != nullptr ? veskiDecimalNumber(value) : 0;
    return status;
}

int32_t writeInstallState(VeskiDataStore& store, char const* payloadID, int32_t state)
{
    return store.queryNR("UPDATE payloads SET installState ='%d', installTime = '%ld' WHERE PayloadID = '%q'",
                         state, secondsNow(), payloadID);
}

/// Calls a body with each payload of a list that is on record.
///
/// @param listed  the status of reading the list; an empty list is no failure
/// @param body    takes the identifier and a flag, which it sets to false to stop; returns a status
/// @return kVeskOK; else the first failure: of reading the list, of looking up a payload, or of the body
template<class Body>
int32_t forEachOnRecord(VeskiDataStore& store, int32_t listed, char const* const* payloads, Body body)
{
    if (listed != kVeskOK) {
        return listed == kVeskNotFound ? int32_t{kVeskOK} : listed;
    }
    bool goOn = true;
    for (; *payloads != nullptr && goOn; ++payloads) {
        int32_t state = 0;
        int32_t const found = readInstallState(store, *payloads, state);
        if (found == kVeskNotFound) {
            continue;
        }
        int32_t const status = found == kVeskOK ? body(*payloads, goOn) : found;
        if (status != kVeskOK) {
            return status;
        }
    }
    return kVeskOK;
}

/// Lists the payloads that declare a relation to a payload.
int32_t readDeclaring(VeskiDataStore& store, char const* payloadID, int32_t type, char const*** payloads)
{
    return store.queryList(payloads, "SELECT payloadID FROM dependencies WHERE payloadIDb = '%q' AND type=%d",
                           payloadID, type);
}

/// Lists the payloads that a payload declares a relation to.
int32_t readDeclared(VeskiDataStore& store, char const* payloadID, int32_t type, char const*** payloads)
{
    return store.queryList(payloads, "SELECT payloadIDb FROM dependencies WHERE payloadID = '%q' AND type=%d",
                           payloadID, type);
}

int32_t refuseConflicts(VeskiDataStore& store, char const* payloadID)
{
    for (auto* read : {readDeclaring, readDeclared}) {
        char const** others = nullptr;
        int32_t const listed = read(store, payloadID, kPdbConflicts, &others);
        int32_t const status =
            forEachOnRecord(store, listed, others, [](char const*, bool&) { return int32_t{kVeskConflict}; });
        if (status != kVeskOK) {
            return status;
        }
    }
    return kVeskOK;
}

int32_t recordUpgrades(VeskiDataStore& store, char const* payloadID)
{
    char const** upgrading = nullptr;
    int32_t listed = readDeclaring(store, payloadID, kPdbUpgrades, &upgrading);
    // One payload at most upgrades this one: the first on record that declares it.
    int32_t const status = forEachOnRecord(store, listed, upgrading, [&](char const* other, bool& goOn) {
        goOn = false;
        return writeUpgrade(store, payloadID, other);
    });
    if (status != kVeskOK) {
        return status;
    }
    char const** upgraded = nullptr;
    listed = readDeclared(store, payloadID, kPdbUpgrades, &upgraded);
    return forEachOnRecord(store, listed, upgraded,
                           [&](char const* other, bool&) { return writeUpgrade(store, other, payloadID); });
}

} // namespace

StoreDescription const payloadDatabase = {kSessionKindPayload, payloadFolder, dbName, gPdbSchemas, false,
                                          kSchemaTypePayload,  true};

int32_t pdbOpenSession(VeskSession** outSession)
{
    return openStoreSession(payloadDatabase, outSession);
}

int32_t pdbOpenSessionNoCreate(VeskSession** outSession)
{
    return openIfStoreExists(payloadDatabase, outSession, pdbOpenSession);
}

int32_t pdbSessionCommit(VeskSession* session)
{
    int32_t const status = commitSession(session);
    if (status == kVeskOK) {
        veskBackup(); // Deliberate: backs up the catalogue and ignores the result; the commit has succeeded
    }
    return status;
}

int32_t pdbSessionRollback(VeskSession* session)
{
    return rollbackSession(session);
}

int32_t pdbCloseSession(VeskSession* session)
{
    if (session == nullptr) {
        return kVeskInvalidArgument;
    }
    int32_t const committed = pdbSessionCommit(session);
    // Deliberate: returns the status of closing; only a session without a store returns that of the commit.
    return closeAndFree(session, committed);
}

int32_t pdbGetLastModTime(int32_t* outTime)
{
    return storeModificationTime(payloadDatabase, reinterpret_cast<uint32_t*>(outTime));
}

int32_t pdbBackup()
{
    return backUp(payloadDatabase);
}

int32_t pdbAddPayload(VeskSession* session, char const* payloadID, char const* productFamily,
                      char const* productName, char const* version, char const* signature,
                      char const* const* conflicts, char const* const* upgrades)
{
    if (anyNull(session, payloadID, productFamily, productName, version, signature)) {
        return kVeskInvalidArgument;
    }
    return withStore(session, [&](VeskiDataStore& store) {
        int32_t status =
            store.queryNR("INSERT OR REPLACE INTO payloads (payloadID, productFamily, productName, "
                          "version, signature) VALUES ('%q', '%q', '%q', '%q', '%q')",
                          payloadID, productFamily, productName, version, signature);
        if (status != kVeskOK) {
            return status;
        }
        status = store.queryNR(
            "UPDATE payloads SET installState = '%d', installTime = '%ld' where PayloadID = '%q'",
            kPdbNotInstalled, secondsNow(), payloadID);
        if (status != kVeskOK && status != kVeskConstraint) {
            return status;
        }
        status = writeDependencies(store, payloadID, conflicts, kPdbConflicts);
        return status == kVeskOK ? writeDependencies(store, payloadID, upgrades, kPdbUpgrades) : status;
    });
}

int32_t pdbRemovePayload(VeskSession* session, char const* payloadID)
{
    if (anyNull(session, payloadID)) {
        return kVeskInvalidArgument;
    }
    return withStore(session, [&](VeskiDataStore& store) {
        char const** pairs = nullptr;
        int32_t const listed = readUpgrades(store, &pairs);
        if (listed != kVeskOK && listed != kVeskNotFound) {
            return listed;
        }
        for (; pairs[0] != nullptr && pairs[1] != nullptr; pairs += 2) {
            if (std::strcmp(pairs[1], payloadID) != 0) {
                continue;
            }
            int32_t const status = deletePayload(store, pairs[0]);
            if (status != kVeskOK) {
                return status;
            }
        }
        return deletePayload(store, payloadID);
    });
}

int32_t pdbGetPayload(VeskSession* session, char const* payloadID, PdbPayloadInfo* out)
{
    if (anyNull(session, payloadID, out)) {
        return kVeskInvalidArgument;
    }
    return withStore(session, [&](VeskiDataStore& store) {
        char const** row = nullptr;
        int32_t const status =
            store.queryList(&row,
                            "SELECT payloadID, productFamily, productName, version, signature, installState, "
                            "installTime FROM payloads WHERE PayloadID = '%q'",
                            payloadID);
        if (status == kVeskOK) {
            auto const text = [&](int column) { return row[column] != nullptr ? row[column] : empty_string; };
            auto const number = [&](int column) { return veskiDecimalNumber(text(column)); };
            *out = {text(0), text(1), text(2), text(3), text(4), number(5), number(6)};
        }
        return status;
    });
}

int32_t pdbGetPayloads(VeskSession* session, int32_t filter, char const*** out)
{
    if (anyNull(session, out) || filter < 0 || filter > kPdbAllPayloads) {
        return kVeskInvalidArgument;
    }
    *out = empty_list;
    return withStore(session, [&](VeskiDataStore& store) {
        if (filter == kPdbAllPayloads) {
            return store.queryList(out, "SELECT DISTINCT PayloadID FROM payloads ORDER BY installTime");
        }
        return store.queryList(
            out, "SELECT DISTINCT PayloadID FROM payloads WHERE installState = %d ORDER BY installTime",
            filter);
    });
}

int32_t pdbGetInstallState(VeskSession* session, char const* payloadID, int32_t* outState)
{
    if (anyNull(session, payloadID, outState)) {
        return kVeskInvalidArgument;
    }
    *outState = 0;
    return withStore(session,
                     [&](VeskiDataStore& store) { return readInstallState(store, payloadID, *outState); });
}

int32_t pdbSetInstallState(VeskSession* session, char const* payloadID, int32_t state)
{
    if (anyNull(session, payloadID) || (state != kPdbNotInstalled && state != kPdbInstalled)) {
        return kVeskInvalidArgument;
    }
    return withStore(session, [&](VeskiDataStore& store) {
        if (state == kPdbInstalled) {
            int32_t status = refuseConflicts(store, payloadID);
            if (status == kVeskOK) {
                status = recordUpgrades(store, payloadID);
            }
            if (status != kVeskOK) {
                return status;
            }
        }
        return writeInstallState(store, payloadID, state);
    });
}

int32_t pdbAddPayloadDependency(VeskSession* session, char const* payloadID, int32_t type,
                                char const* payloadIDb)
{
    if (anyNull(session, payloadID, payloadIDb) || type > kPdbLoadLangPack) {
        return kVeskInvalidArgument;
    }
    return withStore(
        session, [&](VeskiDataStore& store) { return writeDependency(store, payloadID, payloadIDb, type); });
}

int32_t pdbRemovePayloadDependency(VeskSession* session, char const* payloadID, int32_t type,
                                   char const* payloadIDb)
{
    if (anyNull(session, payloadID)) {
        return kVeskInvalidArgument;
    }
    return withStore(session, [&](VeskiDataStore& store) {
        if (payloadIDb == nullptr) {
            return store.queryNR("DELETE FROM dependencies WHERE payloadID = '%q' AND type = %d", payloadID,
                                 type);
        }
        return store.queryNR(
            "DELETE FROM dependencies WHERE payloadID = '%q' AND type = %d AND payloadIDb = '%q'", payloadID,
            type, payloadIDb);
    });
}

int32_t pdbGetPayloadDependency(VeskSession* session, char const* payloadID, uint32_t type, char const*** out)
{
    if (anyNull(session, payloadID, out) || !isReadableType(type)) {
        return kVeskInvalidArgument;
    }
    return withStore(session, [&](VeskiDataStore& store) {
        return store.queryList(
            out, "SELECT payloadIDb FROM dependencies WHERE payloadID = '%q' AND type = %d", payloadID, type);
    });
}

int32_t pdbGetPayloadDependencyReverse(VeskSession* session, char const* payloadIDb, uint32_t type,
                                       char const*** out)
{
    if (anyNull(session, payloadIDb, out) || !isReadableType(type)) {
        return kVeskInvalidArgument;
    }
    return withStore(session, [&](VeskiDataStore& store) {
        return store.queryList(out,
                               "SELECT payloadID FROM dependencies WHERE payloadIDb = '%q' AND type = %d",
                               payloadIDb, type);
    });
}

int32_t pdbGetPayloadDependencyKeysAndValues(VeskSession* session, uint32_t type, char const*** out)
{
    if (anyNull(session, out) || !isReadableType(type)) {
        return kVeskInvalidArgument;
    }
    return withStore(session, [&](VeskiDataStore& store) {
        return store.queryList(out, "SELECT payloadID,payloadIDb FROM dependencies where type = %d", type);
    });
}

int32_t pdbAddUpgradedPayloads(VeskSession* session, char const* original, char const* upgraded)
{
    if (anyNull(session)) {
        return kVeskInvalidArgument;
    }
    return withStore(session, [&](VeskiDataStore& store) { return writeUpgrade(store, original, upgraded); });
}

int32_t pdbRemoveUpgradePayloads(VeskSession* session, char const* upgraded)
{
    if (anyNull(session)) {
        return kVeskInvalidArgument;
    }
    return withStore(session, [&](VeskiDataStore& store) {
        return store.queryNR("DELETE FROM upgraded_payloads WHERE payloadIDUpgraded = '%q'", upgraded);
    });
}

int32_t pdbGetUpgradedPayloadsKeysAndValues(VeskSession* session, char const*** out)
{
    if (anyNull(session, out)) {
        return kVeskInvalidArgument;
    }
    return withStore(session, [&](VeskiDataStore& store) { return readUpgrades(store, out); });
}

int32_t pdbSetPayloadData(VeskSession* session, char const* payloadID, int32_t domain, char const* key,
                          char const* value)
{
    if (anyNull(session, payloadID, key)) {
        return kVeskInvalidArgument;
    }
    return withStore(session, [&](VeskiDataStore& store) {
        if (value == nullptr) {
            return deletePayloadData(store, payloadID, domain, key);
        }
        return store.queryNR(
            "INSERT OR REPLACE INTO payload_data (PayloadID, domain, key, value) VALUES ('%q', %d, '%q', '%q')",
            payloadID, domain, key, value);
    });
}

int32_t pdbGetPayloadData(VeskSession* session, char const* payloadID, int32_t domain, char const* key,
                          char const** value)
{
    if (anyNull(session, payloadID, key, value)) {
        return kVeskInvalidArgument;
    }
    return withStore(session, [&](VeskiDataStore& store) {
        return store.querySingle(
            value, "SELECT value FROM payload_data WHERE payloadID = '%q' AND domain = %d AND key = '%q'",
            payloadID, domain, key);
    });
}

int32_t pdbGetPayloadDataKeys(VeskSession* session, char const* payloadID, int32_t domain, char const*** out)
{
    if (anyNull(session, payloadID, out)) {
        return kVeskInvalidArgument;
    }
    return withStore(session, [&](VeskiDataStore& store) {
        return store.queryList(out, "SELECT key FROM payload_data WHERE payloadID = '%q' AND domain = %d",
                               payloadID, domain);
    });
}

int32_t pdbGetPayloadDataKeysAndValues(VeskSession* session, char const* payloadID, int32_t domain,
                                       char const*** out)
{
    if (anyNull(session, payloadID, out)) {
        return kVeskInvalidArgument;
    }
    return withStore(session, [&](VeskiDataStore& store) {
        return store.queryList(out,
                               "SELECT key,value FROM payload_data WHERE payloadID = '%q' AND domain = %d",
                               payloadID, domain);
    });
}

int32_t pdbRemovePayloadData(VeskSession* session, char const* payloadID, int32_t domain, char const* key)
{
    if (anyNull(session, payloadID, key)) {
        return kVeskInvalidArgument;
    }
    return withStore(session,
                     [&](VeskiDataStore& store) { return deletePayloadData(store, payloadID, domain, key); });
}

int32_t pdbRemovePayloadDomainData(VeskSession* session, char const* payloadID, int32_t domain)
{
    int32_t const lastDomain = 5;
    if (anyNull(session, payloadID) || domain > lastDomain) {
        return kVeskInvalidArgument;
    }
    return withStore(session, [&](VeskiDataStore& store) {
        return store.queryNR("DELETE FROM payload_data WHERE PayloadID = '%q' AND domain = %d", payloadID,
                             domain);
    });
}

int32_t pdbSetUserAction(VeskSession* session, char const* productID, char const* actor)
{
    if (anyNull(session, productID, actor)) {
        return kVeskInvalidArgument;
    }
    return withStore(session, [&](VeskiDataStore& store) {
        // The table has no key, so nothing is ever replaced: every action stays.
        return store.queryNR("INSERT OR REPLACE into user_actions VALUES('%q','%q','%ld')", productID, actor,
                             secondsNow());
    });
}

int32_t pdbRemoveUserAction(VeskSession* session, char const* productID)
{
    if (anyNull(session, productID)) {
        return kVeskInvalidArgument;
    }
    return withStore(session, [&](VeskiDataStore& store) {
        return store.queryNR("DELETE FROM user_actions WHERE product_id = '%q' ", productID);
    });
}

int32_t pdbGetUserAction(VeskSession* session, char const*** out)
{
    if (anyNull(session, out)) {
        return kVeskInvalidArgument;
    }
    return withStore(
        session, [&](VeskiDataStore& store) { return store.queryList(out, "SELECT * FROM user_actions"); });
}
