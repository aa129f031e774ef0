// What sessions on all four databases have in common, and the backup copies.
#include "libdolmvesk/pcd_compat.h"
#include "tests/support/faults.h"
#include "tests/support/stores.h"

#include <sys/time.h>
#include <unistd.h>

using namespace testing_support;

namespace {

// clang-format off
struct Store
{
    std::string folder, file;
    int32_t kind, (*open)(VeskSession**), (*openNoCreate)(VeskSession**), (*modificationTime)(uint32_t*);
    int32_t (*commit)(VeskSession*), (*rollback)(VeskSession*), (*close)(VeskSession*);
} const stores[] = {
    {"vesk", catalogueFile, 0, veskOpenSession, veskOpenSessionNoCreate, veskGetLastModTime, veskSessionCommit, veskSessionRollback, veskCloseSession},
    {"Zelko PCD", masterFile, 1, pcdOpenSession, pcdOpenSessionNoCreate, pcdGetLastModTime, pcdSessionCommit, pcdSessionRollback, pcdCloseSession},
    {"Zelko PCD/cache", cacheFile, 2, pcdOpenCacheSession, pcdOpenCacheSessionNoCreate, pcdCacheGetLastModTime, pcdSessionCommit, pcdSessionRollback, pcdCloseSession},
    {"vesk", payloadFile, 4, pdbOpenSession, pdbOpenSessionNoCreate, [](uint32_t* time) { return pdbGetLastModTime(reinterpret_cast<int32_t*>(time)); }, pdbSessionCommit, pdbSessionRollback, pdbCloseSession},
};
// clang-format on

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
    static int32_t addMark(OpenSession const& session, char const* mark)
    {
        return session->store->queryNR("INSERT INTO pcd_meta VALUES ('%q', '')", mark);
    }
    static std::string marks(std::string const& file)
    {
        return rows(file, "SELECT key FROM pcd_meta WHERE key NOT LIKE 'schema%' ORDER BY key");
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
        EXPECT_EQ(store.open(&session), kVeskFailed); // and the master's failure leaves no cache behind
        EXPECT_TRUE(session == nullptr && namesIn(databaseRoot + store.folder).size() == 1);
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
        EXPECT_EQ(accessOf(databaseRoot + store.folder), everyones ? "1777 0:80" : "0755 0:80");
        EXPECT_EQ(accessOf(store.file), everyones ? "0666 0:80" : "0644 0:80");
        asOrdinaryUser(
            [&] { EXPECT_EQ(addMark(opened(store.open), "mine"), everyones ? kVeskOK : kVeskAccessDenied); });
        EXPECT_EQ(marks(store.file), everyones ? "mine" : "");
    });
}

TEST_F(Sessions, CommitRollBackAndClose)
{
    forEachStore([](Store const& store) {
        opened(veskOpenSession);
        auto session = opened(store.open);
        EXPECT_TRUE(allGive(kVeskOK, {store.rollback(session.get()), addMark(session, "committed")}));
        EXPECT_EQ(marks(store.file), "");
        EXPECT_FALSE(exists(backupFile));
        EXPECT_TRUE(allGive(kVeskOK, {store.commit(session.get()), addMark(session, "rolled back"),
                                      store.rollback(session.get()), addMark(session, "closed")}));
        EXPECT_EQ(marks(store.file), "committed");
        EXPECT_EQ(store.close(session.release()), kVeskOK);
        EXPECT_EQ(marks(store.file), "closed,committed");

        // The payload database's commits refresh the catalogue's backup, also without a store.
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
        int const descriptors = openDescriptors();
        auto session = opened(store.open);
        sqlite3_busy_timeout(session->store->db, 1);
        EXPECT_EQ(addMark(session, "lost"), kVeskOK);
        sqlite3* reader = nullptr;
        sqlite3_open(store.file.c_str(), &reader);
        ASSERT_EQ(sqlite3_exec(reader, "BEGIN; SELECT * FROM pcd_meta", nullptr, nullptr, nullptr),
                  SQLITE_OK);
        EXPECT_EQ(store.commit(session.get()), kVeskBusy); // the transaction stays open
        EXPECT_EQ(store.close(session.release()), kVeskOK);
        sqlite3_close(reader);
        EXPECT_EQ(openDescriptors(), descriptors);
        EXPECT_FALSE(exists(backupFile));

        // A failed close is told, after the commit has been done; how the backup went is not.
        writeFile(backupPath, "in the way");
        session = opened(store.open);
        EXPECT_TRUE(allGive(
            kVeskOK, {addMark(session, "committed"), store.commit(session.get()), addMark(session, "kept")}));
        sqlite3* const connection = session->store->db;
        sqlite3_stmt* pending = nullptr;
        ASSERT_EQ(sqlite3_prepare_v2(connection, "SELECT 1", -1, &pending, nullptr), SQLITE_OK);
        EXPECT_EQ(store.close(session.release()), kVeskBusy);
        EXPECT_EQ(marks(store.file), "committed,kept");
        sqlite3_finalize(pending);
        EXPECT_EQ(sqlite3_close(connection), SQLITE_OK);
    });
}

TEST_F(Sessions, KeepOutOfEachOthersWay)
{
    auto const refused = [] {
        auto const other = opened(pcdOpenSessionNoCreate); // opens while somebody writes
        sqlite3_busy_timeout(other->store->db, 1);
        EXPECT_EQ(addMark(other, "other"), kVeskBusy);
    };
    OtherProcess refusedProcess(refused);
    OtherProcess acceptedProcess([] { EXPECT_EQ(addMark(opened(pcdOpenSession), "other"), kVeskOK); });
    auto session = opened(pcdOpenSession);
    EXPECT_EQ(addMark(session, "mine"), kVeskOK);
    refused();
    refusedProcess.run();
    EXPECT_EQ(pcdSessionCommit(session.get()), kVeskOK);
    acceptedProcess.run();
    EXPECT_TRUE(allGive(kVeskOK, {addMark(session, "mine too"), pcdSessionCommit(session.get())}));
    EXPECT_EQ(marks(masterFile), "mine,mine too,other");
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
        EXPECT_TRUE(allGive(kVeskOK, {addMark(session, "new"), store.commit(session.get())}));
        EXPECT_EQ(marks(copy), ""); // nobody's commit refreshes its own
        EXPECT_EQ(backup(), kVeskOK);
        EXPECT_EQ(readFile(copy), readFile(store.file));
        FailingVfs vfs;
        arm({FaultPlace::kRead, SQLITE_IOERR_READ, "read"}, 1, true);
        EXPECT_EQ(backup(), kVeskIOError);
        disarm();
        // Intended: a target that does not open counts as copied, and the status is the folder's.
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
