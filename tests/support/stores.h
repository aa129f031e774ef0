/// Where the databases lie, sessions that close themselves, and what is read through them.
#ifndef TESTS_SUPPORT_STORES_H
#define TESTS_SUPPORT_STORES_H

#include "libdolmvesk/payloaddb.h"
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

struct SessionCloser
{
    void operator()(VeskSession* session) const
    {
        EXPECT_EQ((session->kind == kSessionKindPayload ? pdbCloseSession : veskCloseSession)(session), 0);
    }
};
using OpenSession = std::unique_ptr<VeskSession, SessionCloser>;

/// Opens a session that has to open.
inline OpenSession opened(int32_t (*open)(VeskSession**))
{
    VeskSession* session = nullptr;
    EXPECT_EQ(open(&session), kVeskOK);
    return OpenSession(session);
}

/// Whether every one of these calls, made in this order, gives this status.
inline testing::AssertionResult allGive(int32_t expected, std::initializer_list<int32_t> statuses)
{
    for (auto const* status = statuses.begin(); status != statuses.end(); ++status) {
        if (*status != expected) {
            return testing::AssertionFailure() << *status << " by call " << status - statuses.begin();
        }
    }
    return testing::AssertionSuccess();
}

/// What a query gives, value after value with commas between.
inline std::string rows(std::string const& file, std::string const& query)
{
    std::string all;
    for (auto const& value : sql(file, query)) {
        all += (all.empty() ? "" : ",") + value;
    }
    return all;
}

/// What a function reads: a list's entries with a comma after each, up to the first null; "status N" when it fails.
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
