#include "libdolmvesk/plat_utils.h"
#include "libdolmvesk/vesk_status.h"
#include "tests/support/database_file.h"
#include "tests/support/faults.h"
#include "tests/support/scratch_root.h"

#include <gmock/gmock.h>
#include <sqlite3.h>
#include <unistd.h>

using namespace testing_support;
using Texts = std::vector<std::string>;

namespace {

using FileHelpers = ScratchRootTest;

TEST_F(FileHelpers, PathsAreJoinedWithOneSlash)
{
    std::string const x(1000, 'x'), y(24, 'y');
    // clang-format off
    struct { std::string base, tail, joined; } const cases[] = { // joined empty: refused
        {"a", "b", "a/b"}, {"a/", "/b", "a/b"}, {"a", "///", "a/"}, {"a/", "", "a/"}, {"a", "", "a"},
        {"/", "b/c", "/b/c"}, {"a", "b//", "a/b//"}, {x, y, x + '/' + y}, {x, y + 'y', ""},
    };
    // clang-format on
    for (auto const& each : cases) {
        std::string out = "untouched";
        EXPECT_EQ(veskiPathAppend(each.base, each.tail, out), !each.joined.empty());
        EXPECT_EQ(out, each.joined.empty() ? "untouched" : each.joined);
    }
    std::string parent;
    EXPECT_TRUE(veskiPathParent("/a/b", parent) && parent == "/a");
}

TEST_F(FileHelpers, OnlyTheSuperUserCreatesFolders)
{
    writeFile("/a/file", "");
    ASSERT_EQ(symlink("nowhere", "/a/lost"), 0);
    // clang-format off
    struct { std::string path; int32_t asRoot, asUser; } const cases[] = {
        {"/a/b/c", kVeskOK, kVeskAccessDenied},
        {"/a", kVeskOK, kVeskOK},
        {"/a/file", kVeskIOError, kVeskIOError},
        {"/a/file/b", kVeskIOError, kVeskIOError},
        {"/a/lost", kVeskIOError, kVeskAccessDenied},
        {"/a/d/" + std::string(300, 'n'), kVeskInvalidArgument, kVeskAccessDenied},
    };
    // clang-format on
    if (canBecomeOrdinaryUser()) {
        ASSERT_EQ(chmod("/a", 0777), 0);
        asOrdinaryUser([&] {
            for (auto const& each : cases) {
                EXPECT_EQ(veskiCreatePath(each.path), each.asUser) << each.path;
            }
        });
        EXPECT_EQ(namesIn("/a"), (Texts{"file", "lost"}));
    }
    umask(077);
    for (auto const& each : cases) {
        EXPECT_EQ(veskiCreatePath(each.path), each.asRoot) << each.path;
    }
    EXPECT_EQ(veskiCreateDirectory("/a/file"), kVeskIOError);
    EXPECT_EQ(veskiCreateDirectory("/a/b"), kVeskOK);
    EXPECT_EQ(veskiCreateDirectory("/missing/a"), kVeskIOError);
    arm({" mkdir ", EACCES}, 1, Strike::kOnce);
    EXPECT_EQ(veskiCreateDirectory("/a/c"), kVeskAccessDenied);
    EXPECT_TRUE(disarm());
    EXPECT_EQ(veskiGetFileModTime("/a/c"), 0U);
    EXPECT_EQ(accessOf("/a/b/c"), "0775 0:0");
    EXPECT_EQ(umask(022), 077U);
}

TEST_F(FileHelpers, CopiesAreCompleteAtEverySize)
{
    for (size_t size : {0U, 1U, 2U, 16383U, 16384U, 16385U, 100000U}) {
        SCOPED_TRACE(size);
        std::string content(size, 'x');
        for (size_t at = 0; at < size; ++at) {
            content[at] = static_cast<char>(at * 7 / 5);
        }
        writeFile("/source", content);
        chmod("/source", 0600);
        writeFile("/target", std::string(50000, 'o'));
        chmod("/target", 0660);
        EXPECT_TRUE(veskiCopyDatabaseFile("/source", "/target"));
        EXPECT_TRUE(readFile("/target") == content);
        EXPECT_EQ(accessOf("/target") + accessOf("/source"), "0644 0:00600 0:0");
        std::vector<unsigned char> bytes{9};
        EXPECT_TRUE(veskiLoadFileContents("/target", bytes));
        EXPECT_TRUE(std::string(bytes.begin(), bytes.end()) == content);
        EXPECT_FALSE(veskiLoadFileContents("/missing", bytes) || veskiLoadFileContents("/", bytes));
    }
    std::vector<unsigned char> bytes{9};
    ASSERT_EQ(mkfifo("/pipe", 0644), 0);
    EXPECT_TRUE(veskiLoadFileContents("/pipe", bytes) && bytes.empty());
    EXPECT_TRUE(veskiCopyDatabaseFile("/source", "/pipe"));
    writeFile("/large", "");
    ASSERT_EQ(truncate("/large", off_t{5} << 30), 0);
    EXPECT_FALSE(sizeof(void*) == 4 && veskiLoadFileContents("/large", bytes));
    unlink("/target");
    ASSERT_EQ(chmod("/source", 0604), 0);
    arm({" write ", ENOSPC}, 2, Strike::kOnce);
    EXPECT_FALSE(veskiCopyDatabaseFile("/source", "/target"));
    EXPECT_TRUE(disarm());
    EXPECT_EQ(accessOf("/target"), "0604 0:0"); // what a failure leaves has the mode of the source
    ASSERT_EQ(chmod("/source", 0600), 0);
    EXPECT_FALSE(veskiCopyDatabaseFile("/missing", "/target"));
    EXPECT_TRUE(veskiCopyDatabaseFile("/source", "/missing/target")); // nothing is copied; not an error
    EXPECT_FALSE(exists("/missing"));
    makeFolders("/folder");
    EXPECT_TRUE(veskiCopyDatabaseFile("/source", "/folder"));
    EXPECT_FALSE(veskiCopyDatabaseFile("/folder", "/target")); // opens, but cannot be read
    if (canBecomeOrdinaryUser()) {
        writeFile("/target", "kept");
        ASSERT_EQ(chmod("/target", 0606) + chown("/target", ordinaryUser, ordinaryGroup), 0);
        asOrdinaryUser([] { EXPECT_TRUE(veskiCopyDatabaseFile("/source", "/target")); });
        EXPECT_EQ(readFile("/target") + accessOf("/target"), "kept0644 1234:2345");
    }
}

TEST_F(FileHelpers, CopyingCausesNoWarningsOfSQLite)
{
    // In its own process: SQLite's log function must be set before SQLite is used.
    inChildProcess([] {
        auto const warn = [](void*, int code, char const* message) {
            ADD_FAILURE() << code << ": " << message;
        };
        ASSERT_EQ(sqlite3_shutdown(), SQLITE_OK);
        ASSERT_EQ(
            sqlite3_config(SQLITE_CONFIG_LOG, static_cast<void (*)(void*, int, char const*)>(warn), nullptr),
            SQLITE_OK);
        sql("/a database with a long name", "CREATE TABLE t (x)");
        EXPECT_TRUE(veskiCopyDatabaseFile("/a database with a long name", "/copy"));
    });
}

TEST_F(FileHelpers, CopyKeepsTheLocksOfASessionInThisProcess)
{
    sql("/live.db", "CREATE TABLE t (x)");
    OtherProcess other(
        [] { EXPECT_EQ(sql("/live.db", "INSERT INTO t VALUES (2)"), Texts{"error: database is locked"}); });
    sqlite3* session = nullptr;
    ASSERT_EQ(sqlite3_open("/live.db", &session), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(session, "BEGIN; INSERT INTO t VALUES (1)", nullptr, nullptr, nullptr), SQLITE_OK);
    EXPECT_TRUE(veskiCopyDatabaseFile("/live.db", "/backup.db"));
    other.run();
    sqlite3_close(session);
    EXPECT_EQ(sql("/backup.db", "SELECT count(*) FROM t"), Texts{"0"});
}

TEST_F(FileHelpers, AccessOfDatabases)
{
    SKIP_WITHOUT_OTHER_USERS();
    // clang-format off
    struct { bool shared, asRoot; std::string folder, file; } const cases[] = {
        {false, true, "0755 0:80", "0644 0:80"},
        {true, true, "1777 0:80", "0666 0:80"},
        {false, false, "0755 1234:2345", "0644 1234:2345"},
        {true, false, "1777 1234:2345", "0666 1234:2345"},
    };
    // clang-format on
    for (auto const& each : cases) {
        root.renew();
        writeFile("/db/file.db", "");
        for (char const* path : {"/db", "/db/file.db"}) {
            ASSERT_EQ(chmod(path, 0700) + chown(path, ordinaryUser, ordinaryGroup), 0);
        }
        auto const set = [&] { EXPECT_EQ(veskiSetDbAccess("/db", "/file.db", each.shared), kVeskOK); };
        each.asRoot ? set() : asOrdinaryUser(set);
        EXPECT_EQ(accessOf("/db"), each.folder);
        EXPECT_EQ(accessOf("/db/file.db"), each.file);
    }
    for (char const* path : {"/db", "/db/file.db"}) { // only the owner differs
        ASSERT_EQ(chown(path, ordinaryUser, 80), 0);
    }
    EXPECT_EQ(veskiSetDbAccess("/db", "file.db", true), kVeskOK);
    EXPECT_EQ(accessOf("/db/file.db"), "0666 0:80");
    EXPECT_EQ(veskiSetDbAccess("/missing", "file.db", true), kVeskOK);
    EXPECT_EQ(veskiSetDbAccess("/db", std::string(1024, 'n'), false), kVeskOK); // the folder alone
    EXPECT_EQ(accessOf("/db"), "0755 0:80");
    EXPECT_EQ(veskiSetDBMod("/missing"), -1);
}

TEST_F(FileHelpers, LinksAreFollowedOnlyWhereOthersMayNotWrite)
{
    SKIP_WITHOUT_OTHER_USERS();
    for (bool const shared : {false, true}) {
        for (auto* const plant : {symlink, link}) {
            SCOPED_TRACE(testing::Message() << shared << (plant == link ? " hard link" : " link"));
            root.renew();
            writeFile("/elsewhere", "old");
            writeFile("/source", "new");
            makeFolders("/db");
            ASSERT_EQ(chmod("/elsewhere", 0600) + chmod("/db", shared ? 01777 : 0775), 0);
            ASSERT_EQ(plant("/elsewhere", "/db/file.db"), 0);
            veskiSetDbAccess("/db", "file.db", shared);
            EXPECT_EQ(accessOf("/elsewhere"), shared ? "0600 0:0" : "0644 0:80");
            EXPECT_EQ(veskiSetDBMod("/db/file.db"), shared ? -1 : 0);
            EXPECT_TRUE(veskiCopyDatabaseFile("/source", "/db/file.db"));
            EXPECT_EQ(readFile("/elsewhere"), shared ? "old" : "new");
            EXPECT_EQ(veskiCopyDatabaseFile("/db/file.db", "/copy"), !shared);
            EXPECT_EQ(readFile("/copy"), shared ? "" : "new");
            unlink("/db/file.db");
            writeFile("/db/file.db", "its own");
            EXPECT_TRUE(veskiCopyDatabaseFile("/db/file.db", "/copy"));
            EXPECT_EQ(readFile("/copy"), "its own");
        }
    }
}

TEST_F(FileHelpers, AFileIsNotCopiedOntoItself)
{
    writeFile("/db/live", "bytes");
    ASSERT_EQ(symlink("/db/live", "/db/link") + link("/db/live", "/db/name"), 0);
    for (char const* copy : {"/db/live", "/db/link", "/db/name"}) {
        EXPECT_FALSE(veskiCopyDatabaseFile("/db/live", copy));
    }
    EXPECT_EQ(readFile("/db/live"), "bytes");
}

} // namespace
