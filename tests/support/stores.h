/// Paths of the databases, sessions that close themselves, and functions that read through them.
#ifndef TESTS_SUPPORT_STORES_H
#define TESTS_SUPPORT_STORES_H

#include "libdolmvesk/payloaddb.h"
#include "libdolmvesk/pcd_compat.h"
#include "libdolmvesk/store_session.h"
#include "tests/support/database_file.h"
#include "tests/support/scratch_root.h"

namespace testing_support {

using Texts = std::vector<std::string>;

inline std::string const databaseRoot = "/Library/Application Support/Zelko/";
inline std::string const catalogueFile = databaseRoot + "vesk/vesk.db";
inline std::string const payloadFile = databaseRoot + "vesk/pdb.db";
inline std::string const masterFile = databaseRoot + "Zelko PCD/pcd.db";
inline std::string const cacheFile = databaseRoot + "Zelko PCD/cache/cache.db";
inline std::string const backupPath = databaseRoot + "backup";
inline std::string const backupFile = backupPath + "/vesk.db";

/// A value so long that two of them do not fit into one page.
inline std::string const filler(3000, 'x');

inline int32_t writeSetting(VeskSession* session, char const* key)
{
    return pcdSetDomainData(session, 1, "settings", key, filler.c_str());
}

inline int32_t listSettings(VeskSession* session, char const*** keys)
{
    return pcdGetDomainDataKeys(session, 1, "settings", keys);
}

/// One of the four databases, with a way to write a row under a key and to list the keys.
struct Store
{
    std::string folder, file;
    int32_t kind, (*open)(VeskSession**), (*openNoCreate)(VeskSession**), (*modificationTime)(uint32_t*);
    int32_t (*commit)(VeskSession*), (*rollback)(VeskSession*), (*close)(VeskSession*);
    int32_t (*write)(VeskSession*, char const* key), (*list)(VeskSession*, char const*** keys);
    std::string keys; ///< SQL that lists them in order
};

// clang-format off
inline Store const stores[] = {
    {databaseRoot + "vesk", catalogueFile, 0, veskOpenSession, veskOpenSessionNoCreate, veskGetLastModTime,
     veskSessionCommit, veskSessionRollback, veskCloseSession,
     [](VeskSession* session, char const* key) { return session->store->queryNR("INSERT OR REPLACE INTO upgraded_payloads VALUES ('%q', '%q')", key, filler.c_str()); },
     [](VeskSession* session, char const*** keys) { return session->store->queryList(keys, "SELECT payloadIDOriginal FROM upgraded_payloads"); },
     "SELECT payloadIDOriginal FROM upgraded_payloads ORDER BY 1"},
    {databaseRoot + "Zelko PCD", masterFile, 1, pcdOpenSession, pcdOpenSessionNoCreate, pcdGetLastModTime, pcdSessionCommit, pcdSessionRollback, pcdCloseSession,
     writeSetting, listSettings, "SELECT key FROM domain_data ORDER BY key"},
    {databaseRoot + "Zelko PCD/cache", cacheFile, 2, pcdOpenCacheSession, pcdOpenCacheSessionNoCreate, pcdCacheGetLastModTime, pcdSessionCommit, pcdSessionRollback, pcdCloseSession,
     writeSetting, listSettings, "SELECT key FROM domain_data ORDER BY key"},
    {databaseRoot + "vesk", payloadFile, 4, pdbOpenSession, pdbOpenSessionNoCreate, [](uint32_t* time) { return pdbGetLastModTime(reinterpret_cast<int32_t*>(time)); },
     pdbSessionCommit, pdbSessionRollback, pdbCloseSession,
     [](VeskSession* session, char const* key) { return pdbAddPayload(session, key, "family", "name", "1", filler.c_str(), nullptr, nullptr); },
     [](VeskSession* session, char const*** keys) { return pdbGetPayloads(session, kPdbAllPayloads, keys); },
     "SELECT PayloadID FROM payloads ORDER BY 1"},
};
// clang-format on

struct SessionCloser
{
    void operator()(VeskSession* session) const
    {
        EXPECT_EQ((session->kind == kSessionKindPayload ? pdbCloseSession : veskCloseSession)(session), 0);
    }
};
using OpenSession = std::unique_ptr<VeskSession, SessionCloser>;

/// Opens a session; a failure fails the test.
inline OpenSession opened(int32_t (*open)(VeskSession**))
{
    VeskSession* session = nullptr;
    EXPECT_EQ(open(&session), kVeskOK);
    return OpenSession(session);
}

/// Whether each of these calls, in this order, returns this status.
inline testing::AssertionResult allGive(int32_t expected, std::initializer_list<int32_t> statuses)
{
    for (auto const* status = statuses.begin(); status != statuses.end(); ++status) {
        if (*status != expected) {
            return testing::AssertionFailure() << *status << " by call " << status - statuses.begin();
        }
    }
    return testing::AssertionSuccess();
}

/// All values that a query returns, separated by commas.
inline std::string rows(std::string const& file, std::string const& query)
{
    std::string all;
    for (auto const& value : sql(file, query)) {
        all += (all.empty() ? "" : ",") + value;
    }
    return all;
}

/// What a function reads: a list's entries with a comma after each, up to the first null; "status N" if it fails.
template<class Read, class... Arguments>
std::string listed(Read read, OpenSession const& session, Arguments... arguments)
{
    char const** list = nullptr;
    int32_t const status = read(session.get(), arguments..., &list);
    EXPECT_TRUE(status != kVeskNotFound || list == empty_list);
    std::string all = status == kVeskOK ? "" : "status " + std::to_string(status);
    for (; status == kVeskOK && *list != nullptr; ++list) {
        all.append(*list) += ',';
    }
    return all;
}
template<class Read, class... Arguments>
std::string textOf(Read read, OpenSession const& session, Arguments... arguments)
{
    char const* text = "before";
    int32_t const status = read(session.get(), arguments..., &text);
    EXPECT_EQ(text == nullptr, status == kVeskNotFound);
    return status == kVeskOK ? text : "status " + std::to_string(status);
}

} // namespace testing_support

#endif
