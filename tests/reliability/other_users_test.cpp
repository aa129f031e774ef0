// Other processes that use the same databases, and other users who lay links where the super-user will go.
#include "hooks/Tessarine.h"
#include "libdolmvesk/pcd_compat.h"
#include "tests/reliability/records.h"
#include "tests/support/log_recorder.h"

#include <algorithm>
#include <list>
#include <numeric>
#include <sqlite3.h>
#include <unistd.h>

using namespace testing_support;

namespace {

class OtherUsers : public ScratchRootTest
{
};

/// Writes numbered rows, each in a transaction of its own, and tries again when told that the database is busy. Between
/// writing and committing it makes backups, which read the live files: no lock may be lost over that.
void writeRows(int process, int count)
{
    for (auto const& store : stores) {
        VeskSession* session = nullptr;
        ASSERT_EQ(store.open(&session), kVeskOK);
        for (int row = 0; row < count;) {
            std::string const key = std::to_string(process) + "/" + std::to_string(row);
            int32_t status = store.write(session, key.c_str());
            pdbBackup();
            veskBackup();
            status = status == kVeskOK ? store.commit(session) : status;
            row += status == kVeskOK ? 1 : 0;
            if (status != kVeskOK) {
                EXPECT_EQ(status, kVeskBusy);
                EXPECT_EQ(veskSessionRollback(session), kVeskOK);
            }
        }
        EXPECT_EQ(store.close(session), kVeskOK);
    }
}

TEST_F(OtherUsers, WritersLoseNothingToEachOther)
{
    for (int const processes : {2, 4}) {
        int const count = 120 / processes;
        root.renew();
        {
            std::list<OtherProcess> writers;
            for (int process = 0; process < processes; ++process) {
                writers.emplace_back([=] { writeRows(process, count); });
            }
            inChildProcess([] { makeMachine(); });
            for (auto const& writer : writers) {
                writer.start();
            }
            for (auto const& writer : writers) {
                writer.wait();
            }
        }
        for (auto const& store : stores) {
            std::string const keys = rows(store.file, store.keys);
            EXPECT_EQ(std::count(keys.begin(), keys.end(), ','), 3 + processes * count - 1) << store.name;
            EXPECT_EQ(rows(store.file, "PRAGMA integrity_check"), "ok");
        }
    }
}

/// A journal that a crash might have left, ending with the name of a file for SQLite to delete afterwards.
std::string journalNaming(std::string const& victim)
{
    sqlite3* database = nullptr;
    sqlite3_open("/other.db", &database);
    sqlite3_exec(database,
                 "CREATE TABLE t(x); INSERT INTO t VALUES (zeroblob(30000)); PRAGMA cache_size = 1; BEGIN;"
                 "UPDATE t SET x = randomblob(30000); INSERT INTO t VALUES (randomblob(30000))",
                 nullptr, nullptr, nullptr);
    std::string journal = readFile("/other.db-journal");
    sqlite3_close(database);
    EXPECT_GT(journal.size(), 4096U);
    auto const number = [&](unsigned value) {
        for (int shift = 24; shift >= 0; shift -= 8) {
            journal += static_cast<char>(value >> shift & 0xFFU);
        }
    };
    number(0x40000000 / 4096 + 1); // the page that never holds data
    journal += victim;
    number(static_cast<unsigned>(victim.size()));
    number(std::accumulate(victim.begin(), victim.end(), 0U));
    return journal + "\xd9\xd5\x05\xf9\x20\xa1\x63\xd7";
}

TEST_F(OtherUsers, NothingIsReachedThroughWhatTheyPlant)
{
    SKIP_WITHOUT_OTHER_USERS();
    std::string const events = newEventsFolder + "/Tessarine/customevents.dat";
    auto const openCache = [] {
        VeskSession* session = nullptr;
        return pcdOpenCacheSession(&session) == kVeskAccessDenied && session == nullptr;
    };
    auto const carryEventsOver = [] {
        LogRecorder log;
        copyCustomEventsDATfileFromPreviousInstall(LogRecorder::session());
        return true;
    };
    auto const linkTo = [](std::string const& victim) {
        return [=](std::string const& path) {
            EXPECT_EQ(
                symlink(victim.c_str(), path.c_str()) + lchown(path.c_str(), ordinaryUser, ordinaryGroup), 0);
        };
    };
    auto const secondName = [](std::string const& path) {
        EXPECT_EQ(link("/victims/file", path.c_str()), 0);
    };
    struct
    {
        char const* name;
        std::string path;
        std::function<void(std::string const&)> plant;
        std::function<bool()> use;
    } const cases[] = {
        {"cache.db", cacheFile, linkTo("/victims/file"), openCache},
        {"cache.db, to be created", cacheFile, linkTo("/victims/new"), openCache},
        {"another name for cache.db", cacheFile, secondName, openCache},
        {"its journal", cacheFile + "-journal", linkTo("/victims/file"), openCache},
        {"its log", cacheFile + "-wal", linkTo("/victims/file"), openCache},
        {"the log's index", cacheFile + "-shm", secondName, openCache},
        {"a pipe for a journal", cacheFile + "-journal",
         [](std::string const& path) { mkfifo(path.c_str(), 0666); }, openCache},
        {"a pipe for a log", cacheFile + "-wal", [](std::string const& path) { mkfifo(path.c_str(), 0666); },
         openCache},
        {"a journal that names a file", cacheFile + "-journal",
         [](std::string const& path) { writeFile(path, journalNaming("/victims/file")); }, openCache},
        {"the folder of version 12", newEventsFolder, linkTo("/victims"), carryEventsOver},
        {"its data folder", newEventsFolder + "/Tessarine", linkTo("/victims"), carryEventsOver},
        {"a folder far above", "/home/Library/Application Support/Zelko/Fendrial Tessarine",
         linkTo("/victims"), carryEventsOver},
        {"the events file", events, linkTo("/victims/file"), carryEventsOver},
        {"the events file, to be created", events, linkTo("/victims/new"), carryEventsOver},
        {"an older events file",
         "/home" + databaseRoot + "Fendrial Tessarine/11.0/Tessarine/customevents.dat",
         linkTo("/victims/file"), carryEventsOver},
        {"another name for the events file", events, secondName, carryEventsOver},
    };
    for (auto const& each : cases) {
        SCOPED_TRACE(each.name);
        root.renew();
        makeMachine();
        makeFolders(each.path.substr(0, each.path.rfind('/')));
        if (exists(each.path)) {
            rename(each.path.c_str(), "/aside");
        }
        writeFile("/victims/file", "");
        writeFile("/victims/11.0/Tessarine/customevents.dat", "events");
        ASSERT_EQ(chmod("/victims/file", 04640) + chmod("/victims", 0711), 0);
        each.plant(each.path);
        EXPECT_TRUE(each.use());
        EXPECT_EQ(accessOf("/victims") + ", " + accessOf("/victims/file"), "0711 0:0, 4640 0:0");
        EXPECT_EQ(statusOf("/victims/file").st_size, 0);
        EXPECT_EQ(namesIn("/victims"), (Texts{"11.0", "file"}));
    }
}

} // namespace
