// What sessions on the catalogue and on both configuration stores have in common, and the catalogue's backup.
#include "libdolmvesk/pcd_compat.h"
#include "libdolmvesk/session.h"
#include "tests/support/database_file.h"
#include "tests/support/failing_vfs.h"
#include "tests/support/scratch_root.h"
#include "tests/support/stores.h"

#include <csignal>
#include <gmock/gmock.h>
#include <sqlite3.h>
#include <sys/resource.h>
#include <sys/time.h>
#include <unistd.h>

using namespace testing_support;
using testing::ElementsAre;
using testing::SizeIs;
using Texts = std::vector<std::string>;

namespace {

struct Store
{
    int32_t (*open)(VeskSession**);
    int32_t (*openNoCreate)(VeskSession**);
    int32_t (*modificationTime)(uint32_t*);
    int32_t kind;
    std::string file;
    std::string folder() const { return file.substr(0, file.rfind('/')); }
};
Store const stores[] = {
    {veskOpenSession, veskOpenSessionNoCreate, veskGetLastModTime, 0, catalogueFile},
    {pcdOpenSession, pcdOpenSessionNoCreate, pcdGetLastModTime, 1, masterFile},
    {pcdOpenCacheSession, pcdOpenCacheSessionNoCreate, pcdCacheGetLastModTime, 2, cacheFile},
};
VeskSession* const untouched = reinterpret_cast<VeskSession*>(16);

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
    static Texts marks(std::string const& file)
    {
        return sql(file, "SELECT key FROM pcd_meta WHERE key NOT LIKE 'schema%' ORDER BY key");
    }
};

TEST_F(Sessions, AreOpenedWithAndWithoutCreating)
{
    forEachStore([](Store const& store) {
        VeskSession* session = untouched;
        uint32_t time = 77;
        EXPECT_EQ(store.open(nullptr), kVeskInvalidArgument);
        EXPECT_EQ(store.modificationTime(nullptr), kVeskInvalidArgument);
        EXPECT_EQ(store.openNoCreate(nullptr), kVeskNotFound);
        EXPECT_THAT(namesIn("/"), ElementsAre());
        for (bool const folderInTheWay : {false, true}) {
            folderInTheWay ? makeFolders(store.file) : void();
            EXPECT_EQ(store.modificationTime(&time), kVeskNotFound);
            EXPECT_EQ(store.openNoCreate(&session), kVeskNotFound);
            EXPECT_EQ(session, untouched);
            EXPECT_EQ(time, 77U);
        }
        EXPECT_EQ(store.open(&session), kVeskFailed); // and the master's failure leaves no cache behind
        EXPECT_EQ(session, nullptr);
        EXPECT_THAT(namesIn(store.folder()), SizeIs(1));
        rmdir(store.file.c_str());

        ASSERT_EQ(store.open(&session), kVeskOK);
        EXPECT_EQ(session->kind, store.kind);
        EXPECT_EQ(veskCloseSession(session), kVeskOK);
        EXPECT_EQ(exists(masterFile), store.kind == 1);
        EXPECT_EQ(exists(cacheFile), store.kind != 0);
        EXPECT_EQ(store.openNoCreate(nullptr), kVeskInvalidArgument);
        EXPECT_EQ(store.modificationTime(nullptr), kVeskInvalidArgument);
        timeval const times[2] = {{1, 0}, {3000000000, 999999}};
        ASSERT_EQ(utimes(store.file.c_str(), times), 0);
        std::string const content = readFile(store.file);
        opened(store.openNoCreate);
        opened(store.open);
        EXPECT_EQ(readFile(store.file), content); // nothing to upgrade, nothing written
        EXPECT_EQ(store.modificationTime(&time), kVeskOK);
        EXPECT_EQ(time, 3000000000U);

        sql(store.file, "UPDATE pcd_meta SET value = 3");
        for (auto const open : {store.open, store.openNoCreate}) {
            session = untouched;
            EXPECT_EQ(open(&session), kVeskSchemaTooNew);
            EXPECT_EQ(session, nullptr);
        }
    });
}

TEST_F(Sessions, SuperUserCreatesAndOrdinaryUsersMayOpen)
{
    SKIP_WITHOUT_OTHER_USERS();
    forEachStore([](Store const& store) {
        asOrdinaryUser([&] {
            VeskSession* session = untouched;
            EXPECT_EQ(store.open(&session), kVeskAccessDenied);
            EXPECT_EQ(session, nullptr);
        });
        EXPECT_THAT(namesIn("/"), ElementsAre());
        opened(store.open);
        EXPECT_EQ(accessOf("/Library/Application Support"), "0775 0:0");
        bool const everyones = store.kind == 2;
        EXPECT_EQ(accessOf(store.folder()), everyones ? "1777 0:80" : "0755 0:80");
        EXPECT_EQ(accessOf(store.file), everyones ? "0666 0:80" : "0644 0:80");
        EXPECT_TRUE(store.kind != 1 || accessOf(cacheFile) == "0666 0:80");
        asOrdinaryUser(
            [&] { EXPECT_EQ(addMark(opened(store.open), "mine"), everyones ? kVeskOK : kVeskAccessDenied); });
        EXPECT_EQ(marks(store.file), everyones ? Texts{"mine"} : Texts{});
    });
}

TEST_F(Sessions, CommitRollBackAndClose)
{
    for (auto const end : {veskSessionCommit, veskSessionRollback, veskCloseSession, pcdSessionCommit,
                           pcdSessionRollback, pcdCloseSession}) {
        EXPECT_EQ(end(nullptr), kVeskInvalidArgument);
        auto* const storeless = new VeskSession{};
        EXPECT_EQ(end(storeless), kVeskOK);
        end == veskCloseSession || end == pcdCloseSession ? void() : delete storeless;
    }
    forEachStore([](Store const& store) {
        auto const commit = store.kind == 0 ? veskSessionCommit : pcdSessionCommit;
        auto const rollback = store.kind == 0 ? veskSessionRollback : pcdSessionRollback;
        auto session = opened(store.open);
        EXPECT_EQ(commit(session.get()), kVeskOK); // nothing open is nothing to do
        EXPECT_EQ(rollback(session.get()), kVeskOK);
        EXPECT_EQ(addMark(session, "committed"), kVeskOK);
        EXPECT_EQ(marks(store.file), Texts{});
        EXPECT_EQ(commit(session.get()), kVeskOK);
        EXPECT_EQ(addMark(session, "rolled back"), kVeskOK);
        EXPECT_EQ(rollback(session.get()), kVeskOK);
        EXPECT_EQ(marks(store.file), Texts{"committed"});
        EXPECT_EQ(addMark(session, "closed"), kVeskOK);
        EXPECT_EQ((store.kind == 0 ? veskCloseSession : pcdCloseSession)(session.release()), kVeskOK);
        EXPECT_EQ(marks(store.file), (Texts{"closed", "committed"}));
    });
}

TEST_F(Sessions, CloseFreesWhateverFails)
{
    int const descriptors = openDescriptors();
    auto session = opened(veskOpenSession);
    sqlite3_busy_timeout(session->store->db, 1);
    EXPECT_EQ(addMark(session, "lost"), kVeskOK);
    sqlite3* reader = nullptr;
    ASSERT_EQ(sqlite3_open(catalogueFile.c_str(), &reader), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(reader, "BEGIN; SELECT * FROM pcd_meta", nullptr, nullptr, nullptr), SQLITE_OK);
    EXPECT_EQ(veskSessionCommit(session.get()), kVeskBusy); // the transaction stays open
    EXPECT_EQ(veskCloseSession(session.release()), kVeskOK);
    sqlite3_close(reader);
    EXPECT_EQ(sql(catalogueFile, "BEGIN EXCLUSIVE"), Texts{});
    EXPECT_EQ(openDescriptors(), descriptors);

    // A failed close is told, after the commit has been done.
    session = opened(veskOpenSession);
    EXPECT_EQ(addMark(session, "kept"), kVeskOK);
    sqlite3* const connection = session->store->db;
    sqlite3_stmt* pending = nullptr;
    ASSERT_EQ(sqlite3_prepare_v2(connection, "SELECT 1", -1, &pending, nullptr), SQLITE_OK);
    EXPECT_EQ(veskCloseSession(session.release()), kVeskBusy);
    EXPECT_EQ(marks(catalogueFile), Texts{"kept"});
    sqlite3_finalize(pending);
    EXPECT_EQ(sqlite3_close(connection), SQLITE_OK);
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
    auto const session = opened(pcdOpenSession);
    EXPECT_EQ(addMark(session, "mine"), kVeskOK);
    refused();
    refusedProcess.run();
    EXPECT_EQ(pcdSessionCommit(session.get()), kVeskOK);
    acceptedProcess.run();
    EXPECT_EQ(addMark(session, "mine too"), kVeskOK);
    EXPECT_EQ(pcdSessionCommit(session.get()), kVeskOK);
    EXPECT_EQ(marks(masterFile), (Texts{"mine", "mine too", "other"}));
}

TEST_F(Sessions, BackupCopiesTheCatalogue)
{
    std::string const backupFolder = databaseRoot + "backup";
    EXPECT_EQ(veskBackup(), kVeskNotFound);
    EXPECT_THAT(namesIn("/"), ElementsAre());
    auto const session = opened(veskOpenSession);
    EXPECT_EQ(veskBackup(), kVeskOK);
    EXPECT_EQ(accessOf(backupFolder), "0775 0:0");
    EXPECT_EQ(accessOf(backupFile), "0644 0:0");
    EXPECT_EQ(readFile(backupFile), readFile(catalogueFile));
    EXPECT_EQ(addMark(session, std::string(9000, 'x').c_str()), kVeskOK);
    EXPECT_EQ(veskSessionCommit(session.get()), kVeskOK);
    EXPECT_NE(readFile(backupFile), readFile(catalogueFile));
    EXPECT_EQ(veskBackup(), kVeskOK);
    EXPECT_EQ(readFile(backupFile), readFile(catalogueFile));

    FailingVfs vfs;
    vfs.arm({FileOperation::kRead, SQLITE_IOERR_READ, true, "read"}, 1);
    EXPECT_EQ(veskBackup(), kVeskIOError);
    vfs.disarm();
    inChildProcess([] {
        rlimit const limit = {1000, 1000};
        signal(SIGXFSZ, SIG_IGN);
        ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
        EXPECT_EQ(veskBackup(), kVeskIOError); // a short write
    });

    // Intended: a target that does not open counts as copied, and the status is the folder's.
    unlink(backupFile.c_str());
    makeFolders(backupFile);
    EXPECT_EQ(veskBackup(), kVeskOK);
    EXPECT_THAT(namesIn(backupFile), ElementsAre());
    rmdir(backupFile.c_str());
    rmdir(backupFolder.c_str());
    writeFile(backupFolder, "in the way");
    EXPECT_EQ(veskBackup(), kVeskIOError);
    EXPECT_EQ(readFile(backupFolder), "in the way");
    unlink(backupFolder.c_str());
    if (canBecomeOrdinaryUser()) {
        asOrdinaryUser([] { EXPECT_EQ(veskBackup(), kVeskAccessDenied); });
    }
    EXPECT_FALSE(exists(backupFolder));
}

TEST_F(Sessions, PresenceCheckLooksForFiles)
{
    for (char const live : {'-', 'd', 'f'}) { // absent, a folder, a file
        for (char const backup : {'-', 'd', 'f'}) {
            SCOPED_TRACE(std::string(1, live) + backup);
            root.renew();
            for (auto const& [path, presence] : {std::pair(catalogueFile, live), {backupFile, backup}}) {
                presence == 'f' ? writeFile(path, "") : presence == 'd' ? makeFolders(path) : void();
            }
            EXPECT_EQ(veskVerifyIntegrity(), live != 'f' && backup == 'f' ? kVeskNeedsRestore : kVeskOK);
            EXPECT_EQ(exists(catalogueFile), live != '-'); // nothing is restored
        }
    }
}

} // namespace
