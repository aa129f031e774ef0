// What the sessions on all four databases share, and the backup copies.
#include "tests/support/faults.h"
#include "tests/support/stores.h"

#include <cerrno>
#include <sqlite3.h>
#include <sys/time.h>
#include <unistd.h>

using namespace testing_support;

namespace {

class Sessions : public ScratchRootTest
{
protected:
    /// Runs a body for every store, each in an empty root.
    void forEachStore(std::function<void(Store const&)> const& body)
    {
        for (Store const& store : stores) {
            SCOPED_TRACE(store.file);
            root.renew();
            body(store);
        }
    }
};

TEST_F(Sessions, AreOpenedWithAndWithoutCreating)
{
    forEachStore([](Store const& store) {
        auto* const untouched = reinterpret_cast<VeskSession*>(16);
        VeskSession* session = untouched;
        uint32_t time = 77;
        for (bool const folderInTheWay : {false, true}) {
            folderInTheWay ? makeFolders(store.file) : void();
            EXPECT_TRUE(allGive(kVeskNotFound, {store.modificationTime(&time), store.openNoCreate(&session),
                                                store.openNoCreate(nullptr)}));
            EXPECT_TRUE(session == untouched && time == 77 && namesIn("/").size() == folderInTheWay);
        }
        EXPECT_EQ(store.open(&session), kVeskFailed); // a master that fails creates no cache
        EXPECT_TRUE(session == nullptr && namesIn(store.folder).size() == 1);
        rmdir(store.file.c_str());
        EXPECT_EQ(opened(store.open)->kind, store.kind);
        EXPECT_EQ(exists(masterFile), store.kind == 1);
        EXPECT_EQ(exists(cacheFile), store.kind == 1 || store.kind == 2);
        EXPECT_TRUE(allGive(kVeskInvalidArgument, {store.open(nullptr), store.openNoCreate(nullptr),
                                                   store.commit(nullptr), store.rollback(nullptr),
                                                   store.close(nullptr), store.modificationTime(nullptr)}));
        std::string const content = readFile(store.file);
        opened(store.openNoCreate);
        EXPECT_EQ(readFile(store.file), content); // nothing to upgrade, nothing written
        timeval const times[2] = {{1, 0}, {3000000000, 999999}};
        ASSERT_EQ(utimes(store.file.c_str(), times), 0);
        EXPECT_EQ(store.modificationTime(&time), kVeskOK);
        EXPECT_EQ(time, 3000000000U);
        utimes(store.file.c_str(), nullptr); // Debian's 32-bit SQLite opens no file of so late a date
        sql(store.file, "UPDATE pcd_meta SET value = 3");
        EXPECT_TRUE(allGive(kVeskSchemaTooNew, {store.openNoCreate(&session), store.open(&session)}));
        EXPECT_EQ(session, nullptr);
    });
}

TEST_F(Sessions, SuperUserCreatesAndOrdinaryUsersMayOpen)
{
    SKIP_WITHOUT_OTHER_USERS();
    forEachStore([](Store const& store) {
        VeskSession* session = nullptr;
        asOrdinaryUser([&] { EXPECT_EQ(store.open(&session), kVeskAccessDenied); });
        EXPECT_EQ(namesIn("/"), Texts{});
        opened(store.open);
        bool const everyones = store.kind == 2;
        EXPECT_EQ(accessOf("/Library/Application Support"), "0775 0:0");
        EXPECT_EQ(accessOf(store.folder), everyones ? "1777 0:80" : "0755 0:80");
        EXPECT_EQ(accessOf(store.file), everyones ? "0666 0:80" : "0644 0:80");
        asOrdinaryUser([&] {
            EXPECT_EQ(store.write(opened(store.open).get(), "mine"), everyones ? kVeskOK : kVeskAccessDenied);
        });
        EXPECT_EQ(rows(store.file, store.keys), everyones ? "mine" : "");
    });
}

TEST_F(Sessions, CommitRollBackAndClose)
{
    forEachStore([](Store const& store) {
        opened(veskOpenSession);
        auto session = opened(store.open);
        // With these settings, SQLite itself handles power failures and other processes.
        for (auto const& [pragma, setting] :
             {std::pair("synchronous", "2"), {"journal_mode", "delete"}, {"busy_timeout", "2000"}}) {
            char const* value = nullptr;
            EXPECT_EQ(session->store->querySingle(&value, "PRAGMA %s", pragma), kVeskOK);
            EXPECT_STREQ(value, setting);
        }
        EXPECT_TRUE(
            allGive(kVeskOK, {store.rollback(session.get()), store.write(session.get(), "committed")}));
        EXPECT_EQ(rows(store.file, store.keys), "");
        EXPECT_FALSE(exists(backupFile));
        EXPECT_TRUE(allGive(kVeskOK, {store.commit(session.get()), store.write(session.get(), "rolled back"),
                                      store.rollback(session.get()), store.write(session.get(), "closed")}));
        EXPECT_EQ(rows(store.file, store.keys), "committed");
        EXPECT_EQ(store.close(session.release()), kVeskOK);
        EXPECT_EQ(rows(store.file, store.keys), "closed,committed");

        // The payload database's commits back up the catalogue, even without a store.
        bool const refreshes = store.kind == kSessionKindPayload;
        EXPECT_EQ(exists(backupFile) && readFile(backupFile) == readFile(catalogueFile), refreshes);
        auto* const storeless = new VeskSession{nullptr, store.kind};
        for (auto const end : {store.rollback, store.commit, store.close}) {
            unlink(backupFile.c_str());
            EXPECT_EQ(end(storeless), kVeskOK);
            EXPECT_EQ(exists(backupFile), refreshes && end != store.rollback);
        }
    });
}

TEST_F(Sessions, CloseFreesWhateverFails)
{
    forEachStore([](Store const& store) {
        opened(veskOpenSession);
        auto session = opened(store.open);
        sqlite3_busy_timeout(session->store->db, 1);
        EXPECT_EQ(store.write(session.get(), "lost"), kVeskOK);
        sqlite3* reader = nullptr;
        sqlite3_open(store.file.c_str(), &reader);
        ASSERT_EQ(sqlite3_exec(reader, "BEGIN; SELECT * FROM pcd_meta", nullptr, nullptr, nullptr),
                  SQLITE_OK);
        EXPECT_EQ(store.commit(session.get()), kVeskBusy); // the transaction stays open
        EXPECT_EQ(store.close(session.release()), kVeskOK);
        sqlite3_close(reader);
        EXPECT_FALSE(exists(backupFile));

        // A failed close is reported, and the changes are committed; a failed backup is not reported.
        writeFile(backupPath, "in the way");
        session = opened(store.open);
        EXPECT_TRUE(allGive(kVeskOK, {store.write(session.get(), "committed"), store.commit(session.get()),
                                      store.write(session.get(), "kept")}));
        sqlite3* const connection = session->store->db;
        sqlite3_stmt* pending = nullptr;
        ASSERT_EQ(sqlite3_prepare_v2(connection, "SELECT 1", -1, &pending, nullptr), SQLITE_OK);
        EXPECT_EQ(store.close(session.release()), kVeskBusy);
        EXPECT_EQ(rows(store.file, store.keys), "committed,kept");
        sqlite3_finalize(pending);
        EXPECT_EQ(sqlite3_close(connection), SQLITE_OK);
    });
}

TEST_F(Sessions, LockEachOtherOut)
{
    auto const refused = [] {
        auto const other = opened(pcdOpenSessionNoCreate); // opens during another session's transaction
        sqlite3_busy_timeout(other->store->db, 1);
        EXPECT_EQ(writeSetting(other.get(), "other"), kVeskBusy);
    };
    OtherProcess refusedProcess(refused);
    OtherProcess acceptedProcess(
        [] { EXPECT_EQ(writeSetting(opened(pcdOpenSession).get(), "other"), kVeskOK); });
    auto session = opened(pcdOpenSession);
    EXPECT_EQ(writeSetting(session.get(), "mine"), kVeskOK);
    refused();
    refusedProcess.run();
    EXPECT_EQ(pcdSessionCommit(session.get()), kVeskOK);
    acceptedProcess.run();
    EXPECT_TRUE(allGive(kVeskOK, {writeSetting(session.get(), "mine too"), pcdSessionCommit(session.get())}));
    EXPECT_EQ(rows(masterFile, stores[1].keys), "mine,mine too,other");
}

TEST_F(Sessions, BackupsCopyTheFile)
{
    for (Store const& store : {stores[0], stores[3]}) {
        auto const backup = store.kind == 0 ? veskBackup : pdbBackup;
        std::string const copy = backupPath + store.file.substr(store.file.rfind('/'));
        root.renew();
        EXPECT_EQ(backup(), kVeskNotFound);
        EXPECT_EQ(namesIn("/"), Texts{});
        auto const session = opened(store.open);
        EXPECT_EQ(backup(), kVeskOK);
        EXPECT_EQ(accessOf(backupPath) + ' ' + accessOf(copy), "0775 0:0 0644 0:0");
        EXPECT_TRUE(allGive(kVeskOK, {store.write(session.get(), "new"), store.commit(session.get())}));
        EXPECT_EQ(rows(copy, store.keys), ""); // no commit backs up its own database
        EXPECT_EQ(backup(), kVeskOK);
        EXPECT_EQ(readFile(copy), readFile(store.file));
        arm({" pread64 ", EIO}, 1, Strike::kFromThenOn);
        EXPECT_EQ(backup(), kVeskIOError);
        disarm();
        // A target that cannot be opened is not reported: the status is the folder's.
        unlink(copy.c_str());
        makeFolders(copy);
        EXPECT_EQ(backup(), kVeskOK);
        rmdir(copy.c_str());
        rmdir(backupPath.c_str());
        writeFile(backupPath, "in the way");
        EXPECT_EQ(backup(), kVeskIOError);
        unlink(backupPath.c_str());
        canBecomeOrdinaryUser() ? asOrdinaryUser([&] { EXPECT_EQ(backup(), kVeskAccessDenied); }) : void();
        EXPECT_FALSE(exists(backupPath));
    }
}

TEST_F(Sessions, PresenceCheckLooksForFiles)
{
    for (std::string const state : {"--", "-d", "-f", "d-", "df", "f-", "ff"}) { // absent, a folder, a file
        root.renew();
        for (auto const& [path, presence] : {std::pair(catalogueFile, state[0]), {backupFile, state[1]}}) {
            presence == 'f' ? writeFile(path, "") : presence == 'd' ? makeFolders(path) : void();
        }
        EXPECT_EQ(veskVerifyIntegrity(), state == "-f" || state == "df" ? kVeskNeedsRestore : kVeskOK)
            << state;
        EXPECT_EQ(exists(catalogueFile), state[0] != '-'); // nothing is restored
    }
}

} // namespace
