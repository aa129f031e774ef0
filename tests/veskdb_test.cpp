// veskdb, through the built program: each command in a scratch root with a machine's records.
#include "libdolmvesk/session.h"
#include "tests/support/database_file.h"
#include "tests/support/shell.h"

#include <filesystem>
#include <gmock/gmock.h>
#include <nlohmann/json.hpp>
#include <regex>
#include <sqlite3.h>
#include <unistd.h>

using namespace testing_support;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using Json = nlohmann::json;

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
    struct
    {
        char const* arguments;
        int status;
        char const* out;
    } const cases[] = {
        {"list pdb --state installed", 0, "installed\tAPP\t12.0\tHalvorick\tFendrial 12 Tessarine\t2"},
        {"show pdb APP", 0,
         "\ndependencies\tAPP\tOLD\t1\tUpgrades\nupgraded_payloads\tOLD\tAPP\npayload_data\t0\tINS"},
        {"list pcd 1", 0, "1\t{E2B9}\tDefaultDriverPayload\t{E2B9}\n"},
        {"list pcd 1 '{E2B9}' None", 1, ""},
        {"find E2B9", 0, "pcd\tdomain_data\t1/{E2B9}/DefaultDriverPayload\tsubDomain\n"},
        {"show pdb NONE", 1, ""},
        {"list cache", 1, ""},
        {"list vesk", 0,
         "dolm_payload\tP\t1\tF\tN\ts\ndolm_collection\tC\tP\t1970-01-01T00:00:05Z\t1970-01-01T00:00:06Z\n"
         "dolm_collection_payload\tC\tP\tnot-installed\t1970-01-01T00:00:07Z\n"},
        {"show vesk C", 0, "dolm_collection\tcollectionID\tC\n"},
        {"verify", 1, "\t/Library/Application Support/Zelko/vesk/pdb.db\tits mode is 0664, not 0644\t"},
        {"info", 0, "pdb\trows\tpayloads 2, dependencies 1, "},
        {"info", 0, "cache\tbackup\t\\N\n"},
    };
    auto const before = everything();
    for (std::string const user : {"$veskdb ", "$ordinary "}) {
        for (auto const& each : cases) {
            SCOPED_TRACE(user + each.arguments);
            if (user == "$ordinary " && !ordinaryUserWorks()) {
                continue;
            }
            ShellResult const result = shell(user + each.arguments);
            EXPECT_EQ(result.status, each.status) << result.err;
            EXPECT_THAT(result.out, HasSubstr(each.out));
            EXPECT_EQ(everything(), before);
        }
    }
}

TEST_F(Veskdb, ShowsRecordsToPeopleAndPrograms)
{
    makeMachine();
    sql(pcd,
        "INSERT INTO domain_data VALUES('2', x'6380FF', 'line' || char(10) || char(27, 155, 8238, 8294), NULL),"
        " ('10', x'FF', 'q', 'a\"b\\')");
    EXPECT_EQ(veskdb("list cache").out, "-1\tsub\ttab\\there\t-v\n");
    EXPECT_EQ(veskdb("list pcd 2").out,
              "2\tc\\x80\xFF\tline\\n\\x1B\\xC2\\x9B\\xE2\\x80\\xAE\\xE2\\x81\\xA6\t\\N\n");
    EXPECT_EQ(veskdb("list pcd 10").out, "10\t\xFF\tq\ta\"b\\\\\n");

    Json const settings = Json::parse(veskdb("list --json pcd").out);
    EXPECT_EQ(settings.size(), 3U);
    EXPECT_EQ(settings[1], (Json{{"domain", "2"},
                                 {"subDomain", "c\xEF\xBF\xBD\xEF\xBF\xBD"},
                                 {"key", "line\n\x1B\xC2\x9B\xE2\x80\xAE\xE2\x81\xA6"},
                                 {"value", nullptr},
                                 {"hex", {{"subDomain", "6380FF"}}}}));
    Json const payload = Json::parse(veskdb("show pdb APP --json").out);
    EXPECT_EQ(payload["payloads"]["installState"], 2);
    EXPECT_GT(payload["payloads"]["installTime"], 1000000000);
    EXPECT_EQ(payload["dependencies"][0]["PayloadIDb"], "OLD");
    for (char const* const other : {"list pdb", "list vesk", "show vesk P", "verify", "info"}) {
        std::string const out = veskdb(std::string("--json ") + other).out;
        EXPECT_EQ(nlohmann::ordered_json::parse(out, nullptr, false).dump(2) + "\n", out);
    }
    EXPECT_EQ(
        Json::parse(veskdb("--json info").out)["pdb"],
        (Json{{"path", "/Library/Application Support/Zelko/vesk/pdb.db"},
              {"present", true},
              {"size", statusOf(pdb).st_size},
              {"owner", accessOf(pdb).substr(5)},
              {"mode", "0644"},
              {"modified", statusOf(pdb).st_mtime},
              {"schema_version", "1"},
              {"schema_compatibility_version", "1"},
              {"rows",
               {{"payloads", 2},
                {"dependencies", 1},
                {"upgraded_payloads", 1},
                {"payload_data", 1},
                {"user_actions", 0}}},
              {"unreadable", nullptr},
              {"backup", "/Library/Application Support/Zelko/backup/pdb.db"},
              {"backup_modified", statusOf("/Library/Application Support/Zelko/backup/pdb.db").st_mtime}}));

    std::string const table = shell("script -qec \"$veskdb list pdb\" /dev/null").out;
    EXPECT_THAT(table,
                HasSubstr("STATE          ID   VERSION  FAMILY     NAME                   CHANGED\r\n"));
    EXPECT_THAT(table, HasSubstr("installed      APP  12.0     Halvorick  Fendrial 12 Tessarine  2"));
}

TEST_F(Veskdb, RefusesWithReasonAndExitStatus)
{
    makeMachine();
    mustDo("add pdb RIVAL --family F --name N --version 1 --signature s --conflicts OLD");
    for (auto const& [arguments, shown] :
         {std::pair("--help", "veskdb set pdb ID [--state"),
          std::pair("set --help", "veskdb set pcd|cache DOMAIN"), std::pair("--version", "veskdb 12."),
          std::pair("verify --help", "[DB]...")}) {
        EXPECT_THAT(shell(std::string("$veskdb ") + arguments).out, HasSubstr(shown)) << arguments;
    }
    struct
    {
        char const* arguments;
        int status;
        char const* reason;
    } const cases[] = {
        {"", 2, "the verb is missing"},
        {"frob pdb", 2, "'frob' is unknown"},
        {"list", 2, "list needs a database"},
        {"list ddb", 2, "'ddb' is unknown; give pdb, pcd, cache or vesk"},
        {"list pdb X", 2, "too many words"},
        {"list pdb pcd", 2, "too many words"},
        {"set vesk A --state installed", 2, "no set for vesk (the catalogue)"},
        {"remove vesk A", 2, "no remove for vesk (the catalogue)"},
        {"list pdb --state none", 2, "--state 'none' is unknown; give installed, not-installed or all"},
        {"list pdb --yes", 2, "--yes does not go with"},
        {"list pcd one", 2, "domain 'one'"},
        {"set pcd 2147483648 a b c", 2, "domain '2147483648'"},
        {"add pdb NEW --family F --name N --version 1", 2, "--signature is missing"},
        {"add pdb '' --family F --name N --version 1 --signature s", 2, "cannot be empty"},
        {"add pdb APP --family F --name N --version 1 --signature s", 2, "on record already; give --replace"},
        {"set pdb APP", 2, "nothing to set"},
        {"set pdb APP --data 0 KEY", 2, "--data"},
        {"set pdb APP --state=", 2, "--state= has no value"},
        {"set pdb NONE --state installed", 1, "payload 'NONE': kVeskNotFound (8)"},
        {"set pdb NONE --data 0 K V", 1, "payload 'NONE': kVeskNotFound (8)"},
        {"set pdb OLD --state installed", 2, "in conflict with 'RIVAL': kVeskConflict (16)"},
        {"set pdb OLD --relation conflicts OLD", 2, "cannot be in conflict with itself"},
        {"add pdb A --family F --name N --version 1 --signature s --conflicts A", 2, "conflict with itself"},
        {"set pdb OLD --relation likes APP", 2,
         "the type of relation 'likes' is unknown; give conflicts, upgrades"},
        {"set pdb OLD --data 6 K V", 2, "invalid domain '6' of payload data; give a number from 0 to 5"},
        {"set pdb OLD --value-from /none", 2, "--value-from needs --data"},
        {"set pcd 1 a b c --value-from /none", 2, "not both"},
        {"set pcd 1 a b --value-from none", 2, "--value-from 'none' is relative"},
        {"set pcd 1 a b --value-from /none", 2, "No such file"},
        {"remove pdb APP --relation OLD", 2, "(upgrades)? There is no terminal"},
        {"remove pdb APP --data 0 INSTALLDIR", 2, "no terminal"},
        {"remove pdb APP --relation NONE --yes", 1, "kVeskNotFound (8)"},
        {"remove pdb APP --data 0 NONE --yes", 1, "kVeskNotFound (8)"},
        {"restore pdb --yes=", 2, "has no value"},
        {"backup pdb --to \"/Library/Application Support/Zelko/backup/vesk.db\"", 2,
         "the catalogue itself, its backup"},
        {"remove pdb NONE --yes", 1, "kVeskNotFound (8)"},
        {"remove pdb APP", 2,
         "with it, what it has upgraded: 'OLD'? There is no terminal to ask on; give --yes"},
        {"remove pcd 1 '{E2B9}' none", 1, "kVeskNotFound (8)"},
        {"remove pcd 1 none --yes", 1, "kVeskNotFound (8)"},
        {"backup pcd", 2, "give --to FILE"},
        {"restore cache --yes", 2, "give --from FILE"},
        {"backup pdb vesk --to /x", 2, "one database"},
        {"backup pcd --to x", 2, "--to 'x' is relative"},
        {"backup pdb --to \"/Library/Application Support/Zelko/vesk/pdb.db\"", 2,
         "is the payload database itself"},
        {"backup pdb --to \"/Library/Application Support/Zelko/vesk/vesk.db\"", 2, "is the catalogue itself"},
        {"add pdb A --family F --name N --version 1 --signature s --conflicts B --upgrades B", 2, "not both"},
        {"restore pdb", 2, "no terminal"},
        {"restore pdb --yes --from /none", 1, "kVeskNotFound (8)"},
        {"verify --root /none", 2, "root"},
    };
    std::string const before = recordBytes();
    for (auto const& each : cases) {
        SCOPED_TRACE(each.arguments);
        ShellResult const result = veskdb(each.arguments);
        EXPECT_EQ(result.status, each.status);
        EXPECT_EQ(result.out, "");
        EXPECT_THAT(result.err, AllOf(testing::StartsWith("veskdb: "), HasSubstr(each.reason)));
    }
    EXPECT_EQ(shell("printf 'n\\n' | script -qec \"$veskdb remove pdb APP\" /dev/null").status, 1);
    EXPECT_EQ(shell("setpriv --bounding-set=-sys_chroot $veskdb list pdb").status, 2);
    EXPECT_EQ(shell("$veskdb list pdb >/dev/full").status, 2);
    EXPECT_EQ(shell("$veskdb list pdb >&-").status, 2);
    // The exit status does not depend on the message.
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

TEST_F(Veskdb, ChangesRecords)
{
    makeMachine();
    mustDo("set pdb APP --state not-installed --data 3 K -value");
    EXPECT_THAT(sql(pdb, "SELECT installState FROM payloads WHERE PayloadID='APP'"), ElementsAre("0"));
    EXPECT_THAT(sql(pdb, "SELECT value FROM payload_data WHERE domain = 3"), ElementsAre("-value"));
    mustDo("add --replace pdb APP --family F2 --name N2 --version 13 --signature ''");
    EXPECT_THAT(sql(pdb, "SELECT productName, installState FROM payloads WHERE PayloadID='APP'"),
                ElementsAre("N2", "0"));
    mustDo(
        "set pdb APP --relation load-lang-pack LANG --conflicts RIVAL --relation requires LIB --state installed");
    EXPECT_THAT(sql(pdb, "SELECT type, PayloadIDb FROM dependencies WHERE PayloadID = 'APP' ORDER BY type"),
                ElementsAre("0", "RIVAL", "1", "OLD", "2", "LIB", "7", "LANG"));
    mustDo("remove pdb APP --relation LIB --yes");
    mustDo("remove pdb APP --data 3 K --yes");
    EXPECT_THAT(sql(pdb, "SELECT type FROM dependencies ORDER BY type; SELECT key FROM payload_data"),
                ElementsAre("0", "1", "7", "INSTALLDIR"));
    std::string const value = "two\nlines\xFF\n" + std::string(2000000, 'x') + "\n";
    writeFile("/value", value);
    mustDo("set pdb APP --data 0 K --value-from /value");
    EXPECT_EQ(shell("$veskdb set cache 1 sub big --value-from - <\"$root/value\"").status, 0);
    EXPECT_TRUE(sql(pdb, "SELECT value FROM payload_data WHERE key = 'K'")[0] == value);
    EXPECT_TRUE(sql(cache, "SELECT value FROM domain_data WHERE key = 'big'")[0] == value);
    EXPECT_THAT(shell("printf 'a\\0b' | $veskdb set cache 1 sub big --value-from -").err, HasSubstr("NUL"));
    mustDo("set pdb APP --state not-installed");
    mustDo("set pcd 1 '{E2B9}' second 2");
    mustDo("remove pcd 1 '{E2B9}' second");
    EXPECT_THAT(sql(pcd, "SELECT key FROM domain_data"), ElementsAre("DefaultDriverPayload"));
    mustDo("remove pcd 1 '{E2B9}' --yes");
    EXPECT_THAT(sql(pcd, "SELECT key FROM domain_data"), ElementsAre());
    EXPECT_EQ(shell("printf 'y\\n' | script -qec \"$veskdb remove pdb APP\" /dev/null").status, 0);
    EXPECT_THAT(sql(pdb, "SELECT PayloadID FROM payloads"), ElementsAre());
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
         128 + SIGTERM, ""},
        // Interrupted in a statement that never ends.
        {"sqlite3 \"$cache\" 'CREATE TRIGGER t AFTER INSERT ON domain_data BEGIN INSERT INTO pcd_meta WITH RECURSIVE "
         "n(x) AS (SELECT 1 UNION ALL SELECT x + 1 FROM n) SELECT x, x FROM n; END'; "
         "$veskdb set cache 1 a b c & veskdb=$!; held $veskdb; kill -TERM $veskdb; wait $veskdb",
         128 + SIGTERM, ""},
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
        std::string const preload = "LD_PRELOAD='" WITHOUT_LOCKS " " FAST_CLOCK "' $veskdb ";
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
    refuses(cases, [] { return std::pair(readFile(pdbBackup), exists("/new.db")); });
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
        {"hold 'BEGIN; SELECT count(*) FROM payloads;'; $hasty $veskdb restore pdb --yes; status=$?; release; "
         "exit $status",
         2, busy},
        {"hold 'BEGIN; SELECT count(*) FROM payloads;'; $veskdb restore pdb --yes & veskdb=$!; held $veskdb; "
         "kill -TERM $veskdb; release; wait $veskdb",
         128 + SIGTERM, ""},
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

TEST_F(VeskdbRecords, AreExplainedAndComparedWithoutAChange)
{
    writeFile("/other.db", readFile(pdb));
    sql("/other.db",
        "UPDATE payloads SET installState = 7 WHERE PayloadID = 'APP'; UPDATE payloads SET installTime = 1.5 "
        "WHERE PayloadID = 'ANTI'; DELETE FROM payloads WHERE PayloadID = "
        "'OLD'; INSERT INTO payload_data VALUES('APP', 4, 'k/', x'0A')");
    writeFile("/root2" + pdb, readFile("/other.db"));
    struct
    {
        char const* arguments;
        int status;
        char const* out;
    } const cases[] = {
        {"why pdb APP", 1, "payload\treason\tin conflict with it and on record, in any state: 'ANTI'\n"},
        {"why pdb APP", 1,
         "conflicts\tANTI\tAPP\ttrue\tnot-installed\nupgrades\tAPP\tOLD\ttrue\tnot-installed\n"},
        {"why pdb APP", 1,
         "removed_with_it\tAPP\tinstalled\t1\t2\nremoved_with_it\tOLD\tnot-installed\t1\t0\n"},
        {"why pdb APP", 1, "\nupgraded_payloads\tOLD\tAPP\n"},
        {"why pdb OLD", 0, "can be marked installed\ttrue\n"},
        {"why pdb OLD", 0,
         "\nconflicts\tOLD\tNOWHERE\tfalse\t\\N\nupgrades\tAPP\tOLD\ttrue\tinstalled\nupgraded_payloads\tOLD\tAPP\n"},
        {"why pdb NONE", 1, ""},
        {"diff pdb", 0, ""},
        {"diff pcd", 2, ""},
        {"diff pdb /none", 2, ""},
        {"diff pdb /other.db", 1,
         "~ payloads ANTI installTime 1.5 -> 1970-01-01T00:00:01Z\n~ payloads APP installState 7 -> installed\n+ "
         "payloads OLD\n+ dependencies OLD/NOWHERE\n- payload_data APP/4/k/\n"},
        {"diff pdb /other.db /root2", 0, ""},
        {"diff pdb '"
         "/Library/Application Support/Zelko/vesk/pdb.db' /root2",
         1, "- payloads OLD\n- dependencies OLD/NOWHERE\n+ payload_data APP/4"},
        {"find E2B9", 0, "pcd\tdomain_data\t1/{E2B9}/DefaultDriverPayload\tsubDomain\n"},
        {"find Tessarine pdb", 0, "pdb\tpayloads\tAPP\tproductName\n"},
        {"find 45678", 0, "pdb\tpayloads\tOLD\tinstallTime\n"},
        {"find Tessarine vesk", 1, ""},
        {"find '%' ", 1, ""},
        {"list actions", 0, "APP\tann\t2023-11-14T22:13:20Z\n"},
        {"list actions NONE", 0, ""},
        {"show pdb APP", 0, "\nuser_actions\tAPP\tann\t2023-11-14T22:13:20Z\n"},
        {"export pdb ANTI", 0,
         "{\"PayloadID\":\"ANTI\",\"productFamily\":\"F\",\"productName\":\"R "
         "\\\"1\\\"\",\"version\":\"1\",\"signature\":"
         "\"s\",\"installState\":0,\"dependencies\":[{\"PayloadIDb\":\"APP\",\"type\":0},{\"PayloadIDb\":\"GONE\",\"type\":"
         "2}],\"payload_data\":[],\"upgraded_payloads\":[]}\n"},
        {"export pdb APP", 0,
         "\"payload_data\":[{\"domain\":0,\"key\":\"INSTALLDIR\",\"value\":\"/Applications/Fendrial\"},"
         "{\"domain\":3,\"key\":\"raw\",\"value\":{\"hex\":\"61FF0A\"}}],\"upgraded_payloads\":[\"OLD\"]}\n"},
        {"export pdb NONE", 1, ""},
        {"export cache", 0,
         "{\"domain\":-1,\"subDomain\":\"sub\",\"key\":\"tab\\there\",\"value\":\"-v\"}\n"},
        {"export pcd", 0,
         "}\n{\"domain\":2,\"subDomain\":\"s\",\"key\":\"k\",\"value\":\"v\"}\n{\"domain\":10,"},
        {"graph pdb OLD --depth 0", 0,
         "n1 [label=\"OLD\\nOld 11.0\\nnot-installed\", fillcolor=\"#fce8b2\"];\n}\n"},
        {"graph pdb OLD --depth 1", 0,
         "n1 [label=\"APP\\nFendrial 12 Tessarine 12.0\\ninstalled\", fillcolor=\"#b7e1cd\"];\n"
         "  n2 [label=\"NOWHERE\\nnot on record\", fillcolor=\"#ffffff\", style=\"filled,dashed\"];\n"
         "  n3 [label=\"OLD\\nOld 11.0\\nnot-installed\", fillcolor=\"#fce8b2\"];\n"
         "  n1 -> n3 [label=\"upgrades\"];\n  n3 -> n2 [label=\"conflicts\"];\n}\n"},
        {"graph pdb OLD --format mermaid", 0, "[\"ANTI<br/>R #quot;1#quot; 1<br/>not-installed\"]"},
        {"graph pdb OLD --format mermaid", 0, "-->|requires|"},
        {"graph pdb --format svg", 0, "</svg>"},
        {"graph pdb --depth 1", 2, ""},
    };
    auto const before = everything();
    for (auto const& each : cases) {
        SCOPED_TRACE(each.arguments);
        ShellResult const result = veskdb(each.arguments);
        EXPECT_EQ(result.status, each.status) << result.err;
        EXPECT_THAT(result.out, HasSubstr(each.out));
        EXPECT_EQ(result.out.empty(), *each.out == '\0');
    }
    auto const json = [&](char const* arguments) { return Json::parse(veskdb(arguments).out); };
    EXPECT_EQ(
        json("why pdb APP --json")["conflicts"],
        Json::parse(R"([{"PayloadID": "ANTI", "PayloadIDb": "APP", "onRecord": true, "installState": 0}])"));
    EXPECT_EQ(json("diff pdb /other.db --json"), Json::parse(R"([
        {"difference": "changed", "table": "payloads", "key": "ANTI", "column": "installTime", "old": 1.5, "new": 1},
        {"difference": "changed", "table": "payloads", "key": "APP", "column": "installState", "old": 7, "new": 2},
        {"difference": "added", "table": "payloads", "key": "OLD", "column": null, "old": null, "new": null},
        {"difference": "added", "table": "dependencies", "key": "OLD/NOWHERE", "column": null, "old": null,
         "new": null},
        {"difference": "removed", "table": "payload_data", "key": "APP/4/k/", "column": null, "old": null,
         "new": null}])"));
    EXPECT_EQ(
        json("find Halvorick pdb --json")[0],
        Json::parse(R"({"database": "pdb", "table": "payloads", "key": "APP", "column": "productFamily"})"));
    EXPECT_EQ(json("list actions --json"),
              Json::parse(R"([{"product_id": "APP", "actor": "ann", "time_action": "1700000000"}])"));
    EXPECT_EQ(json("show pdb APP --json")["user_actions"][0]["actor"], "ann");
    EXPECT_THAT(shell("cd / && PATH=/none " VESKDB " --root $root graph pdb --format svg").err,
                HasSubstr("install the package graphviz"));
    EXPECT_EQ(everything(), before);
    // Another program's values: they end no quotes.
    sql(pdb, "UPDATE payloads SET installState = 'a\"|b\\' WHERE PayloadID = 'APP'; "
             "UPDATE dependencies SET type = 'c\"|d' WHERE PayloadID = 'APP'");
    EXPECT_THAT(veskdb("graph pdb OLD --depth 1").out,
                AllOf(HasSubstr("\\na\\\"|b\\\\\\\\\", fill"), HasSubstr("label=\"c\\\"|d\"]")));
    EXPECT_THAT(veskdb("graph pdb OLD --format mermaid").out,
                AllOf(HasSubstr("<br/>a#quot;#124;b\\\\\"]"), HasSubstr("-->|c#quot;#124;d|")));
    EXPECT_THAT(veskdb("diff pdb").out, HasSubstr("~ payloads APP installState installed -> a"));
}

TEST_F(VeskdbRecords, AreImportedAsTheyWereExported)
{
    auto const exported = [&] { return veskdb("export pdb").out + veskdb("export pcd").out; };
    std::string const before = exported();
    writeFile("/pdb", veskdb("export pdb").out);
    writeFile("/pcd", veskdb("export pcd").out);
    mustDo("set pdb OLD --data 1 more x --relation critical LIB");
    sql(pdb, "INSERT INTO upgraded_payloads VALUES('GONE', 'OLD')");
    auto const records = [] { return readFile(pdb) + readFile(pcd); };
    refuses(
        {{"$veskdb import pdb /pdb", 2,
          "'/pdb', line 1: payload 'ANTI' is on record already; give --replace"},
         {"$veskdb import pcd /pcd", 2, "on record already; give --replace"},
         {"sed 's/\"s\"/null/' \"$root/pdb\" | $veskdb import pdb --replace", 2,
          "standard input, line 1: \"signature\" is null"},
         {"sed 's/61FF0A/6100/' \"$root/pdb\" | $veskdb import pdb --replace", 2, "NUL byte"},
         {"sed 's/61FF0A/61F/' \"$root/pdb\" | $veskdb import pdb --replace", 2, "hexadecimal"},
         {"sed 's/installState/state/' \"$root/pdb\" | $veskdb import pdb --replace", 2,
          "\"state\" is unknown"},
         {"sed 's/\"type\":2/\"type\":4294967298/' \"$root/pdb\" | $veskdb import pdb --replace", 2,
          "\"type\" is no such number"},
         {"sed 's/\"PayloadID\":\"ANTI\"/\"PayloadID\":\"\"/' \"$root/pdb\" | $veskdb import pdb --replace",
          2, "cannot be empty"},
         {"grep APP.*raw \"$root/pdb\" | $veskdb import pdb --replace", 2,
          "in conflict with 'ANTI': kVeskConflict (16)"},
         {"cat \"$root/pdb\" \"$root/pdb\" | $veskdb import pdb --replace", 2,
          "line 4: payload 'ANTI' has a line already"},
         {"sed 's/\"type\":2/\"type\":9/' \"$root/pdb\" | $veskdb import pdb --replace", 2,
          "payload 'ANTI', dependencies: kVeskInvalidArgument (10)"}},
        records);
    mustDo("import pdb /pdb --replace");
    mustDo("import pcd /pcd --replace");
    EXPECT_EQ(exported(), before);
    std::filesystem::remove_all(zelko);
    mustDo("import pdb /pdb");
    mustDo("import pcd /pcd");
    EXPECT_EQ(exported(), before);
    sql(pdb, "UPDATE payloads SET productName = NULL WHERE PayloadID = 'APP'");
    EXPECT_THAT(veskdb("export pdb").err, HasSubstr("payload 'APP': its productName is null"));
    sql(pdb, "UPDATE payloads SET productName = CAST(x'6100' AS TEXT) WHERE PayloadID = 'APP'");
    EXPECT_THAT(veskdb("export pdb").err, HasSubstr("its productName is a value with a NUL byte"));
}

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
    unlink(pdb.c_str());
    sql(pdb, "PRAGMA page_size = 1024; VACUUM");
    mustDo("add pdb APP --family F --name N --version 1 --signature s");
    writeFile("/damaged.db", over(readFile(pdb), 0, std::string(100, '\xFF')));
    EXPECT_EQ(veskdb("salvage pdb --from /damaged.db --to /small.db").status, 0);
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
