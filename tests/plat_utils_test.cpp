#include "libdolmvesk/plat_utils.h"
#include "libdolmvesk/vesk_status.h"
#include "tests/support/database_file.h"
#include "tests/support/scratch_root.h"

#include <gmock/gmock.h>
#include <sqlite3.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

using namespace testing_support;

namespace {

class FileHelpers : public ScratchRootTest
{
};

TEST_F(FileHelpers, PathsAreJoinedWithOneSlash)
{
    struct
    {
        std::string base, tail, joined; // joined empty: refused
    } const cases[] = {
        {"a", "b", "a/b"},
        {"a/", "/b", "a/b"},
        {"a", "///", "a/"},
        {"a/", "", "a/"},
        {"a", "", "a"},
        {"/", "b/c", "/b/c"},
        {"a", "b//", "a/b//"},
        {std::string(1000, 'x'), std::string(24, 'y'), std::string(1000, 'x') + '/' + std::string(24, 'y')},
        {std::string(1000, 'x'), std::string(25, 'y'), ""},
    };
    for (auto const& each : cases) {
        std::string out = "untouched";
        EXPECT_EQ(veskiPathAppend(each.base, each.tail, out), !each.joined.empty());
        EXPECT_EQ(out, each.joined.empty() ? "untouched" : each.joined);
    }
    std::string path;
    ASSERT_TRUE(veskiDbPath(path));
    EXPECT_EQ(path, "/Library/Application Support/Zelko");
    ASSERT_TRUE(veskiPathAppend(path, "vesk", path));
    EXPECT_EQ(path, "/Library/Application Support/Zelko/vesk");
    ASSERT_TRUE(veskiPathParent(path, path));
    EXPECT_EQ(path, "/Library/Application Support/Zelko");
}

TEST_F(FileHelpers, ExistenceIsTestedByOneModeBit)
{
    writeFile("/file", "");
    makeFolders("/folder");
    ASSERT_EQ(symlink("/file", "/link"), 0);
    ASSERT_EQ(symlink("/nowhere", "/dangling"), 0);
    ASSERT_EQ(mkfifo("/pipe", 0600), 0);
    int const listener = socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address{AF_UNIX, "/socket"};
    ASSERT_EQ(bind(listener, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    close(listener);
    struct
    {
        char const* path;
        bool any, file, folder;
    } const cases[] = {
        {"/file", true, true, false},  {"/folder", true, false, true}, {"/link", true, true, false},
        {"/pipe", true, false, false}, {"/socket", true, true, true},  {"/dangling", false, false, false},
        {"/", true, false, true},
    };
    for (auto const& each : cases) {
        SCOPED_TRACE(each.path);
        EXPECT_EQ(veskiPathExists(each.path), each.any);
        EXPECT_EQ(veskiFileExists(each.path), each.file);
        EXPECT_EQ(veskiDirectoryExists(each.path), each.folder);
        EXPECT_EQ(veskiGetFileModTime(each.path) != 0, each.any);
    }
}

TEST_F(FileHelpers, FoldersAreMadeBySuperUserAlone)
{
    writeFile("/a/file", "");
    struct
    {
        std::string path;
        int32_t asRoot, asUser;
    } const cases[] = {
        {"/a/b/c", kVeskOK, kVeskAccessDenied},
        {"/a", kVeskOK, kVeskOK},
        {"/a/file", kVeskIOError, kVeskIOError},
        {"/a/file/b", kVeskIOError, kVeskIOError},
        {"/a/d/" + std::string(300, 'n'), kVeskInvalidArgument, kVeskAccessDenied},
    };
    if (canBecomeOrdinaryUser()) {
        ASSERT_EQ(chmod("/a", 0777), 0);
        asOrdinaryUser([&] {
            for (auto const& each : cases) {
                EXPECT_EQ(veskiCreatePath(each.path), each.asUser) << each.path;
            }
            EXPECT_EQ(veskiCreateDirectory("/a"), kVeskAccessDenied);
        });
        EXPECT_EQ(namesIn("/a"), std::vector<std::string>{"file"});
    }
    umask(077);
    for (auto const& each : cases) {
        EXPECT_EQ(veskiCreatePath(each.path), each.asRoot) << each.path;
    }
    EXPECT_EQ(veskiCreateDirectory("/a/file"), kVeskIOError);
    EXPECT_EQ(veskiCreateDirectory("/a/b"), kVeskOK);
    EXPECT_EQ(accessOf("/a/b/c"), "0775 0:0");
    EXPECT_EQ(umask(022), 077U);
}

TEST_F(FileHelpers, WholeFilesAreLoaded)
{
    writeFile("/file", std::string("a\0b", 3));
    writeFile("/empty", "");
    std::vector<unsigned char> bytes{9};
    EXPECT_FALSE(veskiLoadFileContents("/missing", bytes));
    EXPECT_EQ(bytes, std::vector<unsigned char>{9});
    EXPECT_TRUE(veskiLoadFileContents("/file", bytes));
    EXPECT_EQ(bytes, (std::vector<unsigned char>{'a', 0, 'b'}));
    EXPECT_FALSE(veskiLoadFileContents("/", bytes)); // opens, but cannot be read
    EXPECT_TRUE(veskiLoadFileContents("/empty", bytes));
    EXPECT_TRUE(bytes.empty());
}

TEST_F(FileHelpers, CopiesAreWholeAtEverySize)
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
        EXPECT_TRUE(veskiCopyDatabaseFile("/source", "/target"));
        EXPECT_TRUE(readFile("/target") == content);
        EXPECT_EQ(accessOf("/target"), "0644 0:0");
        EXPECT_EQ(accessOf("/source"), "0600 0:0");
    }
    EXPECT_FALSE(veskiCopyDatabaseFile("/missing", "/target"));
    EXPECT_TRUE(veskiCopyDatabaseFile("/source", "/missing/target")); // nothing is copied: intended
    EXPECT_FALSE(exists("/missing"));
    makeFolders("/folder");
    EXPECT_TRUE(veskiCopyDatabaseFile("/source", "/folder"));
    EXPECT_FALSE(veskiCopyDatabaseFile("/folder", "/target")); // opens, but cannot be read
}

TEST_F(FileHelpers, CopyThatMayNotReadReportsSuccess)
{
    SKIP_WITHOUT_OTHER_USERS();
    writeFile("/source", "secret");
    chmod("/source", 0600);
    writeFile("/target", "kept");
    chmod("/target", 0606);
    chown("/target", ordinaryUser, ordinaryGroup);
    asOrdinaryUser([] { EXPECT_TRUE(veskiCopyDatabaseFile("/source", "/target")); });
    EXPECT_EQ(readFile("/target"), "kept");
    EXPECT_EQ(accessOf("/target"), "0644 1234:2345");
}

TEST_F(FileHelpers, CopyKeepsTheLocksOfASessionInThisProcess)
{
    sql("/live.db", "CREATE TABLE t (x)");
    OtherProcess other([] {
        EXPECT_EQ(sql("/live.db", "INSERT INTO t VALUES (2)"),
                  std::vector<std::string>{"error: database is locked"});
    });
    sqlite3* session = nullptr;
    ASSERT_EQ(sqlite3_open("/live.db", &session), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(session, "BEGIN; INSERT INTO t VALUES (1)", nullptr, nullptr, nullptr), SQLITE_OK);
    EXPECT_TRUE(veskiCopyDatabaseFile("/live.db", "/backup.db"));
    other.run();
    EXPECT_EQ(sqlite3_exec(session, "COMMIT", nullptr, nullptr, nullptr), SQLITE_OK);
    sqlite3_close(session);
    EXPECT_EQ(sql("/backup.db", "SELECT count(*) FROM t"), std::vector<std::string>{"0"});
}

TEST_F(FileHelpers, AccessOfDatabases)
{
    SKIP_WITHOUT_OTHER_USERS();
    struct
    {
        bool shared, asRoot;
        std::string folder, file;
    } const cases[] = {
        {false, true, "0755 0:80", "0644 0:80"},
        {true, true, "1777 0:80", "0666 0:80"},
        {false, false, "0755 1234:2345", "0644 1234:2345"},
        {true, false, "1777 1234:2345", "0666 1234:2345"},
    };
    for (auto const& each : cases) {
        root.renew();
        writeFile("/db/file.db", "");
        for (char const* path : {"/db", "/db/file.db"}) {
            chmod(path, 0700);
            chown(path, ordinaryUser, ordinaryGroup);
        }
        auto const set = [&] { EXPECT_EQ(veskiSetDbAccess("/db", "/file.db", each.shared), kVeskOK); };
        each.asRoot ? set() : asOrdinaryUser(set);
        EXPECT_EQ(accessOf("/db"), each.folder);
        EXPECT_EQ(accessOf("/db/file.db"), each.file);
    }
    EXPECT_EQ(veskiSetDbAccess("/missing", "file.db", true), kVeskOK);
    EXPECT_EQ(veskiSetDbAccess("/db", std::string(1024, 'n'), false), kVeskOK); // the folder alone
    EXPECT_EQ(accessOf("/db"), "0755 0:80");
    EXPECT_EQ(accessOf("/db/file.db"), "0666 1234:2345");
    EXPECT_EQ(veskiSetDBMod("/missing"), -1);
}

TEST_F(FileHelpers, SuperUserFollowsNoLinkThatSomebodyElsePlanted)
{
    SKIP_WITHOUT_OTHER_USERS();
    enum Kind
    {
        kPlanted,
        kOwn,
        kSecondName
    };
    for (Kind const kind : {kPlanted, kOwn, kSecondName}) {
        SCOPED_TRACE(kind);
        root.renew();
        writeFile("/victim", "secret");
        chmod("/victim", 0640);
        chown("/victim", ordinaryUser, ordinaryGroup);
        writeFile("/source", "new");
        makeFolders("/db");
        if (kind == kSecondName) {
            ASSERT_EQ(link("/victim", "/db/file.db"), 0);
        } else {
            ASSERT_EQ(symlink("/victim", "/db/file.db"), 0);
            ASSERT_EQ(lchown("/db/file.db", kind == kPlanted ? ordinaryUser : 0, 0), 0);
        }
        veskiSetDbAccess("/db", "file.db", true);
        EXPECT_EQ(accessOf("/victim"), kind == kOwn ? "0666 0:80" : "0640 1234:2345");
        if (kind == kSecondName) {
            continue; // only the super-user writes to the backup folder
        }
        EXPECT_EQ(veskiSetDBMod("/db/file.db"), kind == kOwn ? 0 : -1);
        EXPECT_TRUE(veskiCopyDatabaseFile("/source", "/db/file.db"));
        EXPECT_EQ(readFile("/victim"), kind == kOwn ? "new" : "secret");
        EXPECT_EQ(accessOf("/victim"), kind == kOwn ? "0644 0:80" : "0640 1234:2345");
    }
}

} // namespace
