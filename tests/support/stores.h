/// Where the databases lie, and sessions that close themselves.
#ifndef TESTS_SUPPORT_STORES_H
#define TESTS_SUPPORT_STORES_H

#include "libdolmvesk/store_session.h"

#include <gtest/gtest.h>

namespace testing_support {

inline std::string const databaseRoot = "/Library/Application Support/Zelko/";
inline std::string const catalogueFile = databaseRoot + "vesk/vesk.db";
inline std::string const backupFile = databaseRoot + "backup/vesk.db";
inline std::string const masterFile = databaseRoot + "Zelko PCD/pcd.db";
inline std::string const cacheFile = databaseRoot + "Zelko PCD/cache/cache.db";

struct SessionCloser
{
    void operator()(VeskSession* session) const { EXPECT_EQ(veskCloseSession(session), kVeskOK); }
};
using OpenSession = std::unique_ptr<VeskSession, SessionCloser>;

/// Opens a session that has to open.
inline OpenSession opened(int32_t (*open)(VeskSession**))
{
    VeskSession* session = nullptr;
    EXPECT_EQ(open(&session), kVeskOK);
    return OpenSession(session);
}

} // namespace testing_support

#endif
