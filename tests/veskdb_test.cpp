// veskdb, through the built program: each command in a scratch root with a machine's records.
#include "libdolmvesk/session.h"
#include "tests/support/database_file.h"
#include "tests/support/shell.h"

#include <filesystem>
#include <gmock/gmock.h>
#include <regex>
#include <sqlite3.h>
#include <unistd.h>

using namespace testing_support;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

namespace {

std::string const zelko = "/Library/Application Support/Zelko/";
std::string const pdb = zelko + "vesk/pdb.db";
std::string const vesk = zelko + "vesk/vesk.db";
std::string const pcd = zelko + "Zelko PCD/pcd.db";
std::string const cache = zelko + "Zelko PCD/cache/cache.db";
std::string const pdbBackup = zelko + "backup/pdb.db";
std::string const veskBackup = zelko + "backup/vesk.db";

/// What a command prints if another program keeps a lock: veskdb first waits 2 seconds for it.
char const* const busy = UNDER_SANITIZERS
                             ? "kVeskBusy (14)"
                             : "kVeskBusy (14), another program keeps the database locked\nwaited 2000 ms";

/// Every file and folder of the root: dates of content and of status, access, a sum of the bytes, path.
std::vector<std::string> everything()
{
    std::vector<std::string> result;
    for (auto const& entry : std::filesystem::recursive_directory_iterator("/")) {
        struct stat const status = statusOf(entry.path());
        std::string line;
        for (timespec const& time : {status.st_mtim, status.st_ctim}) {
            line += std::to_string(time.tv_sec) + '.' + std::to_string(time.tv_nsec) + ' ';
        }
        std::string const bytes = entry.is_regular_file() ? readFile(entry.path()) : "";
        result.push_back(line + accessOf(entry.path()) + ' ' +
                         std::to_string(std::hash<std::string>{}(bytes)) + ' ' + entry.path().string());
    }
    return result;
}

std::string recordBytes()
{
    return readFile(pdb) + readFile(pcd) + readFile(cache) + readFile(vesk) + readFile(pdbBackup);
}

/// A connection that holds a lock, or an unfinished change, until it is destroyed.
class Connection
{
public:
    Connection(std::string const& path, char const* statements)
    {
        EXPECT_EQ(sqlite3_open(path.c_str(), &handle), SQLITE_OK);
        EXPECT_EQ(sqlite3_exec(handle, statements, nullptr, nullptr, nullptr), SQLITE_OK);
    }
    Connection(Connection const&) = delete;
    Connection& operator=(Connection const&) = delete;
    ~Connection() { sqlite3_close(handle); }

private:
    sqlite3* handle = nullptr;
};

class Veskdb : public ScratchRootTest
{
protected:
    /// The script's "$veskdb" works in the root; "$ordinary" does so as an ordinary user, who may enter it. "hold" lets
    /// another program run statements and hold their lock until "release", "$hasty" lets veskdb not wait for it, and
    /// "held PID" waits until that process holds back its signals.
    ShellResult shell(std::string const& script)
    {
        // A sanitizer's leak check needs a /proc, which the root does not have.
        return runShell(
            root,
            "export ASAN_OPTIONS=detect_leaks=0; exec 9<" VESKDB "\n"
            "veskdb='" VESKDB "'\" --root $root\" pdb=\"$root" +
                pdb + "\" cache=\"$root" + cache +
                "\"\n"
                "ordinary=\"setpriv --reuid 1234 --regid 2345 --clear-groups --inh-caps=+sys_chroot "
                "--ambient-caps=+sys_chroot /proc/self/fd/9 --root $root\"\n"
                "hasty=" +
                (UNDER_SANITIZERS ? "" : "'env LD_PRELOAD=" FAST_CLOCK "'") +
                "\n"
                "hold() { mkfifo $root.go $root.done; sqlite3 \"$pdb\" <$root.go >/dev/null & "
                "exec 5>$root.go; echo \"$1\" >&5; echo \".shell : >$root.done\" >&5; : <$root.done; "
                "rm $root.go $root.done; }\n"
                "release() { echo .quit >&5; wait; exec 5>&-; }\n"
                "held() { until grep -q -e '^SigBlk:.*[4-7c-f]...$' -e '^State:.Z' /proc/$1/status; do :; done; }\n" +
                script);
    }

    ShellResult veskdb(std::string const& arguments) { return shell("$veskdb " + arguments + " </dev/null"); }

    /// Whether "$ordinary" works here: not if only root is mapped, or if only root may enter the machine's own root.
    bool ordinaryUserWorks()
    {
        static bool const works = [&] {
            std::string const run = "setpriv --reuid 1234 --regid 2345 --clear-groups true";
            bool const ran = canBecomeOrdinaryUser() && shell(run).status == 0;
            ran ? 0 : std::puts("not tried as an ordinary user, who can run no program here");
            return ran;
        }();
        return works;
    }

    struct Refusal
    {
        std::string script;
        int status;
        char const* reason;
    };

    /// Expects each script to end with its status and reason, and to leave unchanged what a function reads.
    template<class Read>
    void refuses(std::vector<Refusal> const& cases, Read read)
    {
        auto const before = read();
        for (auto const& each : cases) {
            SCOPED_TRACE(each.script);
            if (each.script.find("$ordinary") == 0 && !ordinaryUserWorks()) {
                continue;
            }
            ShellResult const result = shell(each.script);
            EXPECT_EQ(result.status, each.status);
            EXPECT_THAT(result.err, HasSubstr(each.reason));
            EXPECT_TRUE(read() == before);
        }
    }

    void mustDo(std::string const& arguments)
    {
        ShellResult const result = veskdb(arguments);
        ASSERT_EQ(result.status, 0) << arguments << ": " << result.err;
        ASSERT_EQ(result.out, "") << arguments;
    }

    /// All four databases, with backups: APP is installed and has upgraded OLD.
    void makeMachine()
    {
        mustDo("add pdb OLD --family Halvorick --name Old --version 11.0 --signature ''");
        mustDo("add pdb APP --family Halvorick --name 'Fendrial 12 Tessarine' --version 12.0 --signature s"
               " --upgrades OLD");
        mustDo("set pdb APP --state installed --data 0 INSTALLDIR /Applications/Fendrial");
        mustDo("set pcd 1 '{E2B9}' DefaultDriverPayload '{E2B9}'");
        mustDo("set cache -- -1 sub 'tab\there' '-v'");
        VeskSession* session = nullptr;
        ASSERT_EQ(veskOpenSession(&session), kVeskOK);
        ASSERT_EQ(veskCloseSession(session), kVeskOK);
        sql(vesk, "INSERT INTO dolm_payload VALUES('P','F','N','1','s');"
                  "INSERT INTO dolm_collection VALUES('C','P',5,6);"
                  "INSERT INTO dolm_collection_payload VALUES('C','P',0,7);");
        mustDo("backup");
    }
};

TEST_F(Veskdb, ReadingLeavesEverythingAsItIs)
{
    makeMachine();
    // What the library would correct when it opens a database.
    chmod(pdb.c_str(), 0664);
    sql(vesk, "UPDATE pcd_meta SET value = 1 WHERE key = 'schema_version'");
    unlink(cache.c_str());
    std::pair<char const*, int> const cases[] = {
        {"list pdb", 0},
        {"list pcd 1 '{E2B9}' None", 1},
        {"list cache", 1},
        {"list vesk", 0},
        {"show pdb APP", 0},
        {"show vesk C", 0},
        {"why pdb APP", 0},
        {"find E2B9", 0},
        {"graph pdb --format svg", 0},
        {"diff pdb", 0},
        {"export pdb", 0},
        {"info", 0},
        {"verify", 1},
    };
    auto const before = everything();
    for (std::string const user : {"$veskdb ", "$ordinary "}) {
        for (auto const& [arguments, status] : cases) {
            SCOPED_TRACE(user + arguments);
            if (user == "$ordinary " && !ordinaryUserWorks()) {
                continue;
            }
            ShellResult const result = shell(user + arguments);
            EXPECT_EQ(result.status, status) << result.err;
            EXPECT_EQ(everything(), before);
        }
    }
    EXPECT_THAT(shell("cd / && PATH=/none " VESKDB " --root $root graph pdb --format svg").err,
                HasSubstr("install the package graphviz"));
}

TEST_F(Veskdb, TheExitStatusDoesNotDependOnItsOutput)
{
    makeMachine();
    std::string const before = recordBytes();
    EXPECT_EQ(shell("setpriv --bounding-set=-sys_chroot $veskdb list pdb").status, 2);
    EXPECT_EQ(shell("$veskdb list pdb >/dev/full").status, 2);
    EXPECT_EQ(shell("$veskdb list pdb >&-").status, 2);
    EXPECT_EQ(shell("$veskdb frob 2>/dev/full").status, 2);
    EXPECT_EQ(shell("$veskdb --help >/dev/full").status, 2);
    EXPECT_EQ(shell("$veskdb show pdb NONE 2>/dev/full").status, 1);
    EXPECT_EQ(shell("$veskdb remove pdb NONE --yes 2>&-").status, 1);
    EXPECT_EQ(
        shell(
            "mkfifo $root/p; exec 3<>$root/p 4>$root/p 3<&-; rm $root/p; $veskdb show pdb APP >&4; echo $? >&2")
            .err,
        "veskdb: output was lost: Broken pipe\n2\n");
    EXPECT_TRUE(recordBytes() == before);
}

TEST_F(Veskdb, AsksOnATerminal)
{
    makeMachine();
    for (auto const& [answer, status] :
         {std::pair("n", 1), std::pair("", 1), std::pair("y", 0), std::pair("Y", 0), std::pair("yes", 0)}) {
        SCOPED_TRACE(answer);
        mustDo("add --replace pdb OLD --family F --name N --version 1 --signature s");
        EXPECT_EQ(shell(std::string("echo ") + answer + " | script -qec \"$veskdb remove pdb OLD\" /dev/null")
                      .status,
                  status);
        EXPECT_EQ(veskdb("show pdb OLD").status, status == 0 ? 1 : 0);
    }
}

TEST_F(Veskdb, StoresValuesOfAnySizeByteForByte)
{
    makeMachine();
    std::string const value = "two\nlines\xFF\n" + std::string(2000000, 'x') + "\n";
    writeFile("/value", value);
    mustDo("set pdb APP --data 0 K --value-from /value");
    EXPECT_EQ(shell("$veskdb set cache 1 sub big --value-from - <\"$root/value\"").status, 0);
    EXPECT_TRUE(sql(pdb, "SELECT value FROM payload_data WHERE key = 'K'")[0] == value);
    EXPECT_TRUE(sql(cache, "SELECT value FROM domain_data WHERE key = 'big'")[0] == value);
    // A signal that the shell ignores does not interrupt.
    EXPECT_EQ(
        shell(
            "trap '' HUP; hold 'BEGIN IMMEDIATE;'; $veskdb set pdb APP --data 0 K V & veskdb=$!; held $veskdb; "
            "kill -HUP $veskdb; release; wait $veskdb")
            .status,
        0);
}

TEST_F(Veskdb, ChangesAreAllOrNothing)
{
    makeMachine();
    sql(pdb, "CREATE TRIGGER refuse BEFORE INSERT ON dependencies WHEN NEW.PayloadIDb = 'BAD' BEGIN "
             "SELECT RAISE(ABORT, 'refused'); END;");
    auto const records = [] {
        auto values = sql(pdb, "SELECT * FROM payloads ORDER BY 1; SELECT * FROM dependencies ORDER BY 1;"
                               "SELECT * FROM payload_data; SELECT * FROM upgraded_payloads");
        EXPECT_GT(values.size(), 10U);
        EXPECT_FALSE(exists(pdb + "-journal"));
        return std::tuple(values, sql(cache, "SELECT * FROM domain_data"), readFile(veskBackup));
    };
    sql(vesk,
        "INSERT INTO dolm_payload VALUES('Q','F','N','1','s')"); // not to be backed up by what is refused
    std::string const add = "--family F --name N --version 1 --signature s --conflicts GOOD --conflicts BAD";
    std::vector<Refusal> const cases = {
        {"$veskdb add pdb NEW " + add, 2, "kVeskConstraint (6)"},
        {"$veskdb add pdb APP --replace " + add, 2, "kVeskConstraint (6)"},
        {"$veskdb set pdb APP --data 0 K V --data 0 L W", 2, "--data can be given once"},
        // A limit on the size of files has the effect of a full disk.
        {"ulimit -f 120; $veskdb set pdb APP --state not-installed --data 0 K "
         "$(head -c 90000 /dev/zero | tr '\\0' x)",
         2, "kVeskIOError (4)"},
        // Interrupted while it waits for another program's lock.
        {"hold 'BEGIN IMMEDIATE;'; $veskdb set pdb APP --data 0 K V & veskdb=$!; held $veskdb; "
         "kill -TERM $veskdb; release; wait $veskdb",
         128 + SIGTERM, "interrupted; nothing was changed"},
        // Interrupted in a statement that never ends.
        {"sqlite3 \"$cache\" 'CREATE TRIGGER t AFTER INSERT ON domain_data BEGIN INSERT INTO pcd_meta WITH RECURSIVE "
         "n(x) AS (SELECT 1 UNION ALL SELECT x + 1 FROM n) SELECT x, x FROM n; END'; "
         "$veskdb set cache 1 a b c & veskdb=$!; held $veskdb; kill -TERM $veskdb; wait $veskdb",
         128 + SIGTERM, "interrupted; nothing was changed"},
        {"sqlite3 \"$cache\" \"DROP TRIGGER t; INSERT INTO domain_data VALUES (7, 1, x'410042', 1)\"; "
         "$veskdb remove cache 7 1 --yes; status=$?; sqlite3 \"$cache\" 'DELETE FROM domain_data WHERE domain = 7'; "
         "exit $status",
         2, "a key that is no text"},
        {"sqlite3 \"$pdb\" \"UPDATE pcd_meta SET key = 'x' WHERE key LIKE '%comp%'\"; $veskdb set pdb APP --state "
         "installed; status=$?; sqlite3 \"$pdb\" \"UPDATE pcd_meta SET key = 'schema_compatibility_version' WHERE "
         "key = 'x'\"; exit $status",
         2, "a row of its version is missing: kVeskNotFound (8)"},
        // Another program reads, so the commit waits, in vain.
        {"hold 'BEGIN; SELECT count(*) FROM payloads;'; $hasty $veskdb set pdb APP --data 0 K V; status=$?; "
         "release; exit $status",
         2, busy},
    };
    refuses(cases, records);
    // If nothing can be written, the message names the reason.
    std::string const mounted = "unshare --mount sh -c 'zelko=\"$0/Library/Application Support/Zelko\"; ";
    if (shell("unshare --mount true").status == 0) {
        refuses(
            {{mounted + "mount --bind \"$zelko\" \"$zelko\" && mount -o remount,bind,ro \"$zelko\" && " VESKDB
                        " --root $0 set pdb APP --state installed' $root",
              2, "kVeskAccessDenied (11), the file system is read-only"},
             {mounted + "mount -t tmpfs -o size=8k,mode=755 tmpfs \"$zelko\" && " VESKDB
                        " --root $0 set cache 1 a b c' $root",
              2, "the disk is full"}},
            records);
    }
    if (!UNDER_SANITIZERS) {
        // A clock that is fast: what a large or crafted database would take.
        sql(cache,
            "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 20000) INSERT INTO "
            "domain_data SELECT 1, 'many', i, i FROM n");
        EXPECT_THAT(shell("$hasty $veskdb list cache").err,
                    HasSubstr("it takes more than 10 seconds to read"));
        EXPECT_EQ(veskdb("list cache").status, 0);
        sql(cache, "DELETE FROM domain_data WHERE subDomain = 'many'");
        std::string const preload =
            "WITHOUT_LOCKS= LD_PRELOAD='" POOR_FILE_SYSTEM " " FAST_CLOCK "' $veskdb ";
        refuses({{preload + "list pdb", 2, "the file system grants no locks"},
                 {preload + "set pdb APP --data 0 K V", 2, "the file system grants no locks"}},
                records);
    }
    // A closed pipe does not matter: there is nothing to print.
    EXPECT_EQ(shell("$veskdb set pdb APP --data 0 K V >&-").status, 0);
    unlink(pdb.c_str());
    refuses(
        {{"$veskdb add pdb NEW --family F --name N --version 1 --signature s", 2, "kVeskNeedsRestore (5)"},
         {"$veskdb set pdb APP --state installed", 2, "restore pdb"},
         {"$veskdb remove pdb APP --yes", 2, "restore pdb"},
         {"$veskdb list pdb", 1, "but its backup does; to restore it: "}},
        [] { return exists(pdb); });
}

/// Breaks a machine's records in one way at a time.
class VeskdbVerify : public Veskdb
{
protected:
    struct Breakage
    {
        char const* name;
        std::function<void()> damage;
        std::string file;
        char const* found;
        char const* step;
    };

    /// Expects verify to report each with its file and the next step, and a step that is a command to repair it.
    void expectReports(std::vector<Breakage> const& cases)
    {
        makeMachine();
        ShellResult const sound = veskdb("verify");
        EXPECT_EQ(sound.status, 0) << sound.out;
        EXPECT_THAT(sound.out, Not(HasSubstr("fault")));
        shell("cp -a $root/Library $root/machine");
        for (auto const& each : cases) {
            SCOPED_TRACE(each.name);
            shell("rm -r $root/Library && cp -a $root/machine $root/Library");
            each.damage();
            auto const before = everything();
            ShellResult const result = veskdb("verify");
            EXPECT_EQ(result.status, 1);
            EXPECT_THAT(result.out, AllOf(HasSubstr("fault\t"), HasSubstr('\t' + each.file + '\t'),
                                          HasSubstr(each.found), HasSubstr(each.step)));
            EXPECT_EQ(everything(), before);

            // Steps that are commands work.
            std::string const fault = result.out.substr(result.out.find("fault\t"));
            std::string step = fault.substr(0, fault.find('\n'));
            step =
                std::regex_replace(step.substr(step.rfind('\t') + 1), std::regex("^as root[^:]*: |^veskdb "),
                                   step.find("\tveskdb ") != std::string::npos ? VESKDB " " : "");
            bool const command =
                step.find("FILE") == std::string::npos && step.find("ls -la") == std::string::npos &&
                std::string(each.name) != "newer" && step.find("drop it") == std::string::npos &&
                step.find(" ID ") == std::string::npos;
            if (command) {
                ShellResult const done =
                    shell(step + (step.find("restore") != std::string::npos ? " --yes" : ""));
                EXPECT_EQ(done.status, 0) << step << '\n' << done.err;
                ShellResult const mended = veskdb("verify");
                EXPECT_EQ(mended.status, 0) << step << '\n' << mended.out;
            }
        }
    }
};

TEST_F(VeskdbVerify, ReportsDamageAndWrongAccess)
{
    SKIP_WITHOUT_OTHER_USERS();
    auto const overwrite = [](std::string const& path, char const* object, char const* from,
                              std::string const& to) {
        std::string bytes = readFile(path);
        size_t const page = std::stoul(sql(path, "PRAGMA page_size")[0]);
        size_t const first =
            (std::stoul(sql(path, std::string("SELECT rootpage FROM sqlite_master WHERE name = '") + object +
                                      "'")[0]) -
             1) *
            page;
        size_t const at = from == nullptr ? first : bytes.find(from, first);
        ASSERT_LT(at, first + page);
        writeFile(path, bytes.replace(at, to.size(), to));
    };
    expectReports({
        {"index", [&] { overwrite(pdb, "sqlite_autoindex_payloads_1", "APP", "AQQ"); }, pdb,
         "missing from index sqlite_autoindex_payloads_1", "restore pdb"},
        {"page", [&] { overwrite(pcd, "domain_data", nullptr, std::string(100, '\xFF')); }, pcd, "",
         "restore pcd --from FILE"},
        {"garbage",
         [] { writeFile(cache, "this is no database, and long enough to be one" + std::string(600, '.')); },
         cache, "kVeskIOError (4)", "restore cache --from FILE"},
        {"empty", [] { writeFile(vesk, ""); }, vesk, "tables are missing: pcd_meta, ", "restore vesk"},
        {"missing", [] { unlink(vesk.c_str()); }, vesk, "kVeskNeedsRestore (5)", "restore vesk"},
        {"dropped", [] { sql(pdb, "DROP TABLE user_actions"); }, pdb, "tables are missing: user_actions",
         "restore"},
        {"another", [] { writeFile(cache, readFile(pcd)); }, cache, "it is the master store", "restore"},
        {"newer", [] { sql(pdb, "UPDATE pcd_meta SET value = 2 WHERE key LIKE '%comp%'"); }, pdb,
         "can be used from version 2 on and this program knows 1", "newer version"},
        {"no version", [] { sql(pcd, "DELETE FROM pcd_meta WHERE key = 'schema_version'"); }, pcd,
         "the row schema_version is missing", "restore"},
        {"mode", [] { chmod(cache.c_str(), 0644); }, cache, "its mode is 0644, not 0666", "chmod 0666"},
        {"folder's mode", [] { chmod((zelko + "Zelko PCD/cache").c_str(), 0777); }, zelko + "Zelko PCD/cache",
         "its mode is 0777, not 1777", "chmod 1777"},
        {"half a backup", [] { truncate(pdbBackup.c_str(), 8192); }, pdbBackup, "the backup is not usable",
         "backup pdb"},
        {"write-ahead", [] { sql(pcd, "PRAGMA journal_mode = WAL"); }, pcd, "write-ahead mode",
         "recover pcd"},
        {"log", [] { writeFile(vesk + "-wal", "x"); }, vesk, "write-ahead", "recover vesk"},
        {"interrupted",
         [] {
             inChildProcess([] {
                 // Ends in the middle of a change that has reached the file.
                 sqlite3* database = nullptr;
                 sqlite3_open(pdb.c_str(), &database);
                 EXPECT_EQ(sqlite3_exec(database,
                                        "PRAGMA cache_size = 1; BEGIN; UPDATE payloads SET version = "
                                        "hex(zeroblob(20000))",
                                        nullptr, nullptr, nullptr),
                           SQLITE_OK);
             });
         },
         pdb, "in the middle of a change", "recover pdb"},
        {"journal", [] { writeFile(vesk + "-journal", ""); }, vesk, "has a stale journal", "recover vesk"},
        {"empty log", [] { writeFile(pcd + "-wal", ""); }, pcd, "write-ahead", "recover pcd"},
        {"backup gone too", [] { truncate(pdbBackup.c_str(), 8192), unlink(pdb.c_str()); }, pdb,
         "kVeskNeedsRestore (5)", "restore pdb --from FILE, a sound copy; if there is none"},
        {"open backup", [] { chmod(veskBackup.c_str(), 0666); }, veskBackup, "others may write it",
         "chmod o-w"},
        {"dangling", [] { unlink(pcd.c_str()), (void)!symlink("/none", pcd.c_str()); }, pcd, "dangling link",
         "rm '"},
    });
}

TEST_F(VeskdbVerify, ReportsForeignSchemasAndWrongRows)
{
    SKIP_WITHOUT_OTHER_USERS();
    expectReports({
        {"columns", [] { sql(pcd, "DROP TABLE domain_data; CREATE TABLE domain_data(a)"); }, pcd,
         "its table domain_data is not as the installer creates it", "restore"},
        {"trigger", [] { sql(pdb, "DROP TRIGGER ctd_payloads"); }, pdb, "creates: trigger ctd_payloads",
         "restore"},
        {"addition",
         [] { sql(cache, "CREATE TRIGGER extra AFTER INSERT ON domain_data BEGIN SELECT 1; END"); }, cache,
         "does not create: trigger extra", "drop it"},
        {"endless",
         [] {
             sql(cache, "DROP TABLE pcd_meta; CREATE VIEW pcd_meta AS WITH RECURSIVE n(x) AS (SELECT 1 "
                        "UNION ALL SELECT x + 1 FROM n) SELECT x AS key, x AS value FROM n");
         },
         cache, "tables are missing: pcd_meta", "restore"},
        {"planted", [] { mkfifo((cache + "-journal").c_str(), 0666); }, cache, "not safe to open", "ls -la"},
        {"cut", [] { truncate(pdb.c_str(), statusOf(pdb).st_size - 100); }, pdb, "its size is ",
         "restore pdb"},
        {"body",
         [] {
             sql(pdb,
                 "DROP TRIGGER ctd_payloads; CREATE TRIGGER ctd_payloads BEFORE DELETE ON payloads BEGIN SELECT "
                 "1; END");
         },
         pdb, "its trigger ctd_payloads is not as the installer creates it", "restore pdb"},
        {"key",
         [] {
             sql(cache,
                 "DROP TABLE domain_data; CREATE TABLE domain_data(domain TEXT NOT NULL, subDomain TEXT NOT "
                 "NULL, key TEXT NOT NULL, value TEXT)");
         },
         cache, "its table domain_data", "restore"},
        {"index", [] { sql(vesk, "CREATE INDEX extra ON dolm_payload(version)"); }, vesk, "index extra",
         "drop it"},
        {"backup's trigger", [] { sql(pdbBackup, "DROP TRIGGER ctd_payloads"); }, pdbBackup, "lacks",
         "backup pdb"},
        {"orphans", [] { sql(pdb, "UPDATE payloads SET PayloadID = 'X' WHERE PayloadID = 'APP'"); }, pdb,
         "1 relations of payloads that are not on record", "--relation OTHER"},
        {"orphaned data", [] { sql(pdb, "UPDATE payloads SET PayloadID = 'X' WHERE PayloadID = 'APP'"); },
         pdb, "1 data of payloads that are not on record", "--data DOMAIN KEY"},
        {"state", [] { sql(pdb, "UPDATE payloads SET installState = 7"); }, pdb,
         "2 payloads in a state other", "--state"},
        {"type", [] { sql(pdb, "UPDATE dependencies SET type = 9"); }, pdb, "1 relations of a type",
         "--relation"},
        {"version", [] { sql(vesk, "UPDATE pcd_meta SET value = 'two' WHERE key = 'schema_version'"); }, vesk,
         "is 'two', not a number", "restore vesk"},
        {"orphans in vesk", [] { sql(vesk, "UPDATE dolm_collection SET collectionID = 'X'"); }, vesk,
         "1 rows of dolm_collection_payload", "restore vesk"},
        {"open folder", [] { chmod(zelko.c_str(), 0777); }, zelko.substr(0, zelko.size() - 1),
         "every user may write", "chmod o-w"},
        {"foreign folder", [] { (void)!chown("/Library", ordinaryUser, 0); }, "/Library", "user 1234",
         "chown 0"},
        {"bomb",
         [] {
             sql(cache,
                 "CREATE TABLE bomb(a, b); INSERT INTO bomb VALUES(1, 1); PRAGMA writable_schema = ON; UPDATE "
                 "sqlite_master SET sql = 'CREATE TABLE bomb(a, b AS (hex(zeroblob(900000000))) NOT NULL)' "
                 "WHERE name = 'bomb'");
         },
         cache, "too many arguments on function", "restore"},
        {"owner", [] { (void)!chown(pdb.c_str(), ordinaryUser, 80); }, pdb, "its owner is 1234:80, not 0:80",
         "chown 0:80"},
    });
}

TEST_F(Veskdb, VerifyReportsLegalLeftoversAsNotes)
{
    SKIP_WITHOUT_OTHER_USERS();
    EXPECT_EQ(veskdb("verify").status, 0);
    makeMachine();
    mustDo("add pdb LONE --family F --name N --version 1 --signature s --conflicts GONE");
    sql(pdb, "INSERT INTO upgraded_payloads VALUES('GONE', 'APP')");
    sql(vesk,
        "DROP TRIGGER insert_upgraded_payloads; DROP TRIGGER update_upgraded_payloads; UPDATE pcd_meta SET value = 1 "
        "WHERE key = 'schema_version'; ANALYZE");
    EXPECT_THAT(veskdb("verify vesk").out, AllOf(HasSubstr("ok\tvesk\t" + vesk), HasSubstr("sqlite_stat1")));
    if (shell("unshare --user --map-root-user true").status == 0) {
        ShellResult const hidden = shell("unshare --user --map-root-user $veskdb verify");
        EXPECT_EQ(hidden.status, 0);
        EXPECT_THAT(hidden.out, HasSubstr("hides the owners"));
    }
    writeFile(zelko + "vesk/theirs", "");
    writeFile(cache + ".theirs", ""); // every user may write there
    for (std::string const& path : {zelko + "vesk/theirs", cache + ".theirs"}) {
        EXPECT_EQ(chown(path.c_str(), ordinaryUser, 0), 0);
    }
    EXPECT_THAT(veskdb("verify").out, HasSubstr(zelko + "vesk/theirs\tnot root's: 1 file"));
    unlink((zelko + "vesk/theirs").c_str());
    if (ordinaryUserWorks()) {
        ShellResult const closed =
            shell("chmod 700 \"$root" + zelko + "vesk\"; $ordinary verify pdb; chmod 755 \"$root" + zelko +
                  "vesk\"");
        EXPECT_THAT(closed.out, HasSubstr("Permission denied\trun this as a user who may look there"));
    }
    Connection const writer(pdb, "BEGIN IMMEDIATE; DELETE FROM payloads WHERE PayloadID = 'LONE'");
    ShellResult const result = veskdb("verify pdb");
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.out, AllOf(HasSubstr("note\tpdb\t" + pdb + "-journal\ta change is under way"),
                                  HasSubstr("1 records of upgrades"), HasSubstr("1 relations to payloads")));
    EXPECT_THAT(result.out, Not(HasSubstr("vesk.db")));
}

TEST_F(Veskdb, BackupKeepsPreviousCopiesAndRefusesUnsoundDatabases)
{
    makeMachine();
    mustDo("backup pcd --to /copies.db");
    mustDo("backup pcd --to /copies.db");
    EXPECT_TRUE(readFile("/copies.db") == readFile(pcd));
    EXPECT_THAT(namesIn("/"), ElementsAre("Library", "copies.db", testing::StartsWith("copies.db.2")));

    // Owner and mode stay; a file that is not a copy of the database is not replaced.
    chmod("/copies.db", 0640);
    mustDo("backup pcd --to /copies.db");
    EXPECT_EQ(accessOf("/copies.db").substr(0, 4), "0640");
    sql(pdb, "UPDATE payloads SET installState = 1 WHERE PayloadID = 'OLD'");
    EXPECT_THAT(veskdb("backup pdb").err, AllOf(HasSubstr("warning: "), HasSubstr("is in place")));
    sql(pdb, "UPDATE payloads SET installState = 0 WHERE PayloadID = 'OLD'");
    EXPECT_EQ(accessOf("/" + namesIn("/")[2]).substr(0, 4), "0644");
    EXPECT_EQ(accessOf("/" + namesIn("/")[3]).substr(0, 4), "0640");
    writeFile("/empty", "");
    mustDo("backup pcd --to /empty");
    if (!UNDER_SANITIZERS) {
        EXPECT_EQ(shell("LD_PRELOAD=" POOR_FILE_SYSTEM " $veskdb backup pcd --to /second").status, 0);
        EXPECT_TRUE(readFile("/second") == readFile(pcd));
        EXPECT_THAT(namesIn("/"),
                    ElementsAre("Library", "copies.db", testing::_, testing::_, "empty", "second"));
        unlink("/second");
    }
    writeFile("/text", "t");
    (void)!symlink("/copies.db", "/link");
    refuses({{"$veskdb backup pcd --to /text", 2, "neither empty nor a copy of the master store"},
             {"$veskdb backup pdb --to /copies.db", 2, "neither empty nor a copy of the payload database"},
             {"ln -s 'Library/Application Support/Zelko/Zelko PCD' $root/alias; $veskdb backup pcd --to "
              "/alias/pcd.db; status=$?; rm $root/alias; exit $status",
              2, "is the master store itself"},
             {"$veskdb backup pcd --to /link", 2, "is a link"}},
            [] { return std::pair(namesIn("/"), readFile("/copies.db") + readFile("/text")); });

    // The next backup removes the temporary file of a killed one, but not of one that is still running.
    writeFile(pdbBackup + ".veskdb-killed", "1234");
    writeFile(pdbBackup + ".veskdb-runs__", "5678");
    EXPECT_THAT(veskdb("verify pdb").out, HasSubstr("backup or restore: 2, 8 bytes\t"));
    ShellResult const next = shell("flock \"$root" + pdbBackup + ".veskdb-runs__\" $veskdb backup pdb");
    EXPECT_EQ(next.status, 0) << next.err;
    EXPECT_FALSE(exists(pdbBackup + ".veskdb-killed"));
    EXPECT_TRUE(exists(pdbBackup + ".veskdb-runs__"));
    EXPECT_THAT(veskdb("verify pdb").out, HasSubstr("dated copies: 2, "));
    std::filesystem::remove_all(zelko + "backup");
    mustDo("backup");

    std::string const kept = readFile(pdbBackup);
    mustDo("set pdb APP --data 0 K V");
    mustDo("backup pdb");
    EXPECT_TRUE(readFile(pdbBackup) == readFile(pdb));
    EXPECT_EQ(accessOf(pdbBackup).substr(0, 4), "0644");
    ASSERT_EQ(namesIn(zelko + "backup").size(), 3U);
    EXPECT_TRUE(readFile(zelko + "backup/" + namesIn(zelko + "backup")[1]) == kept);

    std::vector<Refusal> const cases = {
        {"ulimit -f 16; $veskdb backup pdb", 2, "cannot be copied"},
        {"ulimit -f 16; $veskdb backup pdb --to /new.db", 2, "cannot be copied"},
        {"truncate -s 1M $root/copies.db; ulimit -f 200; $veskdb backup pcd --to /copies.db", 2,
         "it cannot be kept aside as 'copies.db."},
        {"$ordinary backup pdb", 2, "no file can be created there"},
        {"cd \"$root" + zelko +
             "backup\"; mv pdb.db ..; mkdir pdb.db; $veskdb backup pdb; status=$?; rmdir pdb.db; "
             "mv ../pdb.db .; exit $status",
         2, "is not a file; move it away"},
        {"journal=\"$root" + pdbBackup +
             "-journal\"; : >\"$journal\"; $veskdb backup pdb; status=$?; rm \"$journal\"; "
             "exit $status",
         2, "has a journal"},
        {": >\"$pdb-journal\"; $veskdb backup pdb; status=$?; rm \"$pdb-journal\"; exit $status", 2,
         "has a journal"},
        {"hold 'BEGIN EXCLUSIVE;'; $hasty $veskdb backup pdb; status=$?; release; exit $status", 1, busy},
        {"truncate -s 8192 \"$pdb\"; $veskdb backup pdb vesk", 1, "is not usable; nothing was replaced"},
    };
    refuses(cases, [] { return std::pair(readFile(pdbBackup), namesIn("/")); });
    // The last of them backed up the catalogue all the same.
    EXPECT_EQ(namesIn(zelko + "backup").size(), 4U);
}

TEST_F(Veskdb, RestoreReplacesTheWholeDatabase)
{
    makeMachine();
    std::string const before = readFile(pdb);
    mustDo("remove pdb APP --yes");
    std::string const changed = readFile(pdb);
    chmod((zelko + "vesk").c_str(), 0700);
    mustDo("restore pdb --yes");
    EXPECT_TRUE(readFile(pdb) == before);
    EXPECT_EQ(accessOf(pdb).substr(0, 4), "0644");
    EXPECT_EQ(accessOf(zelko + "vesk").substr(0, 4), "0755");
    EXPECT_TRUE(readFile(zelko + "vesk/" + namesIn(zelko + "vesk")[1]) == changed);
    writeFile(pdb, "garbage of any kind");
    mustDo("restore pdb --yes");
    EXPECT_TRUE(readFile(pdb) == before);
    EXPECT_EQ(namesIn(zelko + "vesk").size(), 4U);

    std::filesystem::remove_all(zelko + "vesk");
    mustDo("restore vesk --yes");
    EXPECT_TRUE(readFile(vesk) == readFile(veskBackup));

    mustDo("backup cache --to /cache.copy");
    mustDo("restore cache --from /cache.copy --yes");
    EXPECT_EQ(accessOf(cache).substr(0, 4), "0666");
    if (canBecomeOrdinaryUser()) {
        EXPECT_EQ(accessOf(cache), "0666 0:80");
        EXPECT_EQ(accessOf(vesk), "0644 0:80");
        EXPECT_EQ(veskdb("verify cache vesk").status, 0);
    }
}

TEST_F(Veskdb, RestoreRefusesUnsafeSourcesAndTargets)
{
    makeMachine();
    std::string const half = readFile(pdbBackup).substr(0, 8192);
    writeFile("/half.db", half);
    writeFile("/cache.db", readFile(cache));
    sql(pcd, "UPDATE pcd_meta SET value = 3 WHERE key LIKE '%comp%'");
    writeFile("/newer.db", readFile(pcd));
    writeFile(pcd + "-journal", "x");
    std::vector<Refusal> const cases = {
        {"$veskdb restore pdb --from /half.db --yes", 1, "is not usable"},
        {"$veskdb restore pdb --from '" + vesk + "' --yes", 1, "it is not the payload database"},
        {"$veskdb restore pdb --from '" + pdb + "' --yes", 2, "the database itself"},
        {"$veskdb restore pcd --from /newer.db --yes", 2, "has a journal"},
        {"rm \"$root" + pcd + "-journal\"; $veskdb restore pcd --from /newer.db --yes", 1, "newer version"},
        {"$ordinary restore cache --from /cache.db --yes", 2, "/cache.db': it cannot be replaced"},
        {"$ordinary restore pdb --yes", 2, "cannot be locked: kVeskAccessDenied (11)"},
        {"ulimit -f 16; $veskdb restore pdb --yes", 2, "cannot be copied"},
        {"cd \"$root" + zelko +
             "vesk\"; mv vesk.db ..; mkdir vesk.db; $veskdb restore vesk --yes; status=$?; "
             "rmdir vesk.db; mv ../vesk.db .; exit $status",
         2, "is not a file; move it away"},
        {"hold 'BEGIN; SELECT count(*) FROM payloads;'; : >\"$pdb-journal\"; $hasty $veskdb recover pdb; status=$?; release; "
         "rm \"$pdb-journal\"; exit $status",
         2, busy},
        {"chmod 600 \"$pdb\"; $ordinary list pdb; status=$?; chmod 644 \"$pdb\"; exit $status", 2,
         "run this as a user who may read the file"},
        {"hold 'BEGIN; SELECT count(*) FROM payloads;'; $hasty $veskdb restore pdb --yes; status=$?; release; "
         "exit $status",
         2, busy},
        {"hold 'BEGIN; SELECT count(*) FROM payloads;'; $veskdb restore pdb --yes & veskdb=$!; held $veskdb; "
         "kill -TERM $veskdb; release; wait $veskdb",
         128 + SIGTERM, "interrupted; nothing was changed"},
    };
    refuses(cases, [] {
        return std::tuple(readFile(pdb), readFile(pcd), namesIn(zelko + "vesk"),
                          namesIn(zelko + "Zelko PCD/cache"));
    });
}

/// A machine with each kind of record, for the verbs that explain, compare, move and save records.
class VeskdbRecords : public Veskdb
{
protected:
    void SetUp() override
    {
        makeMachine();
        mustDo(
            "add pdb ANTI --family F --name 'R \"1\"' --version 1 --signature s --conflicts APP --relation "
            "requires GONE");
        sql(pdb, "INSERT INTO user_actions VALUES('APP', 'ann', '1700000000');"
                 "INSERT INTO payload_data VALUES('APP', '3', 'raw', CAST(x'61FF0A' AS TEXT));"
                 "UPDATE payloads SET installTime = 1234567890 WHERE PayloadID = 'OLD';"
                 "UPDATE payloads SET installTime = 1 WHERE PayloadID = 'ANTI'");
        mustDo("set pdb OLD --conflicts NOWHERE");
        mustDo("set pcd 10 s k v");
        mustDo("set pcd 2 s k v");
        mustDo("backup pdb");
    }
};

TEST_F(VeskdbRecords, AreSalvagedFromDamagedFiles)
{
    sql(pdb,
        "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 400) INSERT INTO payloads "
        "SELECT 'P' || "
        "i, 'F', hex(zeroblob(40)), 'V', 'S', 2, i FROM n; INSERT INTO payload_data SELECT PayloadID, 0, 'K', 'V' FROM "
        "payloads; INSERT INTO upgraded_payloads SELECT 'from' || PayloadID, PayloadID FROM payloads");
    std::string const sound = readFile(pdb);
    size_t const page = 4096;
    std::string const hole(page, '\xFF');
    auto const over = [](std::string bytes, size_t at, std::string const& with) {
        return bytes.replace(at, with.size(), with);
    };
    auto const pagesOf = [&](std::string const& bytes, char kind, std::string const& content) {
        std::vector<size_t> pages;
        for (size_t at = page; at < bytes.size(); at += page) {
            if (bytes[at] == kind && bytes.find(content, at) < at + page) {
                pages.push_back(at);
            }
        }
        return pages;
    };
    auto const changed = [&](char const* statements) {
        writeFile("/changed.db", sound);
        sql("/changed.db", statements);
        return readFile("/changed.db");
    };
    auto const rootOf = [&](std::string const& table) {
        std::string const number =
            sql(pdb, "SELECT rootpage FROM sqlite_master WHERE name = '" + table + "'")[0];
        return (std::stoul(number) - 1) * page;
    };
    std::string const newer = changed("UPDATE pcd_meta SET value = '9'");
    // Without the pages that an older library would have them on, and with a gap between the rowids.
    std::string const moved = changed("PRAGMA auto_vacuum = 1; VACUUM");
    std::string const sparse = changed("UPDATE payloads SET rowid = rowid + 1000000 WHERE rowid > 300");
    auto const leaves = pagesOf(sound, '\x0D', "00000000");
    auto const others = pagesOf(sound, '\x0D', "0KV");
    auto const last = pagesOf(sparse, '\x0D', "P290F");
    ASSERT_GT(leaves.size(), 5U);
    ASSERT_GT(others.size(), 1U);
    ASSERT_EQ(last.size(), 1U);
    size_t const index = rootOf("sqlite_autoindex_payloads_1");
    std::string const twoLost = over(over(over(sound, leaves[2], hole), leaves[4], hole), index, hole);
    struct
    {
        char const* name;
        std::string bytes;
        int status;
        char const* payloads; ///< how many are left
        char const* out;
    } const cases[] = {
        {"sound", sound, 0, "403", "tables\tpayloads\t403\t403\ttrue\n"},
        {"schema", std::string(page, '\0') + sound.substr(page), 0, "403", ""},
        {"header", over(sound, 0, std::string(100, '\xFF')), 0, "403", ""},
        {"header and a root", over(over(sound, 0, hole), rootOf("dependency_type"), hole), 1, "403",
         "tables\tdependency_type\t0\t0\tfalse\n"},
        {"page size", over(sound, 16, "\2\1"), 0, "403", ""},
        {"cut", sound.substr(0, sound.size() - 10), 0, "403", ""},
        {"index", over(sound, pagesOf(sound, '\x0A', "P399")[0], hole), 0, "403", ""},
        {"moved, in write-ahead mode", over(moved, 18, "\2\2"), 0, "403", ""},
        {"version", newer, 0, "403", ""},
        {"short", sound.substr(0, sound.size() - page), 0, "403", ""},
        {"leaves", over(over(sound, leaves[2], hole), leaves[4], hole), 1, "324",
         "\tonly its key could be read\n"},
        {"leaves and index", twoLost, 1, "324", "tables\tpayloads\t324\t324\tfalse\n"},
        {"a leaf between overwritten", over(twoLost, leaves[3], sound.substr(others[1], page)), 1, "284",
         "tables\tpayloads\t284\t284\tfalse\n"},
        {"gap", over(over(sparse, last[0], hole), index, hole), 1, "381", "tables\tpayloads\t"},
        {"block", over(sound, leaves[2] + 2048, std::string(512, '\0')), 1, "397",
         "tables\tpayloads\t397\t397\tfalse\n"},
        {"overwritten", over(sound, leaves[2], sound.substr(leaves[4], page)), 1, "363",
         "tables\tpayloads\t363\t363\tfalse\n"},
        {"overwritten by another table", over(sound, leaves[2], sound.substr(others[1], page)), 1, "363",
         "tables\tpayloads\t363\t363\tfalse\n"},
        {"overwritten root", over(sound, rootOf("payloads"), sound.substr(leaves[2], page)), 1, "40",
         "tables\tpayloads\t40\t40\tfalse"},
        {"dependants", over(sound, leaves[2], hole), 1, "363", "\tcti_payload_data: PayloadID is invalid.\n"},
        {"covered", over(sound, rootOf("upgraded_payloads"), hole), 0, "403",
         "tables\tupgraded_payloads\t404\t404\ttrue\n"},
        {"nothing", "no database", 1, "0", "tables\tpayloads\t0\t0\tfalse\n"},
    };
    for (auto const& each : cases) {
        SCOPED_TRACE(each.name);
        writeFile("/damaged.db", each.bytes);
        unlink("/new.db");
        writeFile("/new.db.veskdb-killed", "");
        writeFile("/damaged.db-journal", "");
        ShellResult const result = veskdb("salvage pdb --from /damaged.db --to /new.db");
        EXPECT_EQ(result.status, each.status) << result.err << result.out;
        EXPECT_THAT(result.out, HasSubstr(each.out));
        EXPECT_THAT(result.err, AllOf(HasSubstr("recover pdb --file '/damaged.db'"),
                                      HasSubstr("restore pdb --from '/new.db'")));
        EXPECT_FALSE(exists("/new.db.veskdb-killed"));
        EXPECT_TRUE(readFile("/damaged.db") == each.bytes);
        EXPECT_THAT(sql("/new.db", "SELECT count(*) FROM payloads"), ElementsAre(each.payloads));
        EXPECT_EQ(veskdb("restore pdb --from /new.db --yes").status, 0);
    }
    for (char const* const pageSize : {"512", "1024", "65536"}) {
        SCOPED_TRACE(pageSize);
        writeFile("/whole.db", sound);
        sql("/whole.db", std::string("PRAGMA page_size = ") + pageSize + "; VACUUM");
        unlink(pdb.c_str());
        sql(pdb, std::string("PRAGMA page_size = ") + pageSize + "; VACUUM");
        mustDo("add pdb APP --family F --name N --version 1 --signature s");
        writeFile("/damaged.db", over(readFile(pdb), 0, std::string(100, '\xFF')));
        for (char const* const from : {"/whole.db", "/damaged.db"}) {
            unlink("/small.db");
            EXPECT_EQ(shell(std::string("$veskdb salvage pdb --to /small.db --from ") + from).status, 0);
        }
        // The header alone tells the size where the first pages of tables and indexes are lost.
        std::string few = readFile("/whole.db");
        for (auto const& number :
             sql("/whole.db",
                 "SELECT rootpage FROM sqlite_master WHERE rootpage > 0 AND name <> 'payloads'")) {
            few.replace((std::stoul(number) - 1) * std::stoul(pageSize), 16, std::string(16, '\xFF'));
        }
        writeFile("/few.db", few);
        unlink("/small.db");
        EXPECT_THAT(veskdb("salvage pdb --to /small.db --from /few.db").out,
                    HasSubstr("payloads\t403\t403\t"));
    }
    refuses({{"$veskdb salvage pdb --to /damaged.db", 2, "exists already"},
             {"$veskdb salvage pdb --to \"" + pdbBackup + "\"", 2, "exists already"},
             {"mv \"$pdb\" $root/live; $veskdb salvage pdb --from /live --to '" + pdb +
                  "'; status=$?; mv $root/live \"$pdb\"; exit $status",
              2, "is where the installer keeps"},
             {"$veskdb salvage pdb", 2, "--to is missing"},
             {"$veskdb salvage pdb --from /none --to /x.db", 1, "kVeskNotFound (8)"}},
            [] { return readFile("/damaged.db") + readFile(pdbBackup); });
}

} // namespace
