// The payload database as its callers see it, with SQLite itself for a second look at the file.
#include "libdolmvesk/payloaddb.h"
#include "libdolmvesk/schemas.h"
#include "libdolmvesk/store_session.h"
#include "tests/support/database_file.h"
#include "tests/support/failing_vfs.h"
#include "tests/support/scratch_root.h"

#include <cstring>
#include <ctime>
#include <gmock/gmock.h>
#include <sqlite3.h>
#include <sys/time.h>
#include <unistd.h>

using namespace testing_support;
using testing::Each;
using testing::ElementsAre;
using testing::UnorderedElementsAre;
using Texts = std::vector<std::string>;

namespace {

std::string const file = "/Library/Application Support/Zelko/vesk/pdb.db";
std::string const catalogueFile = "/Library/Application Support/Zelko/vesk/vesk.db";
std::string const backupFolder = "/Library/Application Support/Zelko/backup";
Texts const locked{"error: database is locked"};

struct Closer
{
    void operator()(VeskSession* session) const { EXPECT_EQ(pdbCloseSession(session), kVeskOK); }
};
using Session = std::unique_ptr<VeskSession, Closer>;

Session opened()
{
    VeskSession* session = nullptr;
    EXPECT_EQ(pdbOpenSession(&session), kVeskOK);
    return Session(session);
}

/// A session on a new database in which these statements have been run.
Session openedWith(std::string const& statements)
{
    opened();
    EXPECT_EQ(sql(file, statements), Texts{});
    return opened();
}

int32_t add(Session const& session, char const* payload)
{
    return pdbAddPayload(session.get(), payload, "Family", "Name", "1.0", "sig", nullptr, nullptr);
}

/// What the file holds after a commit.
Texts stored(Session const& session, std::string const& query)
{
    EXPECT_EQ(pdbSessionCommit(session.get()), kVeskOK);
    return sql(file, query);
}

/// A list read by one of the functions; its status when it cannot be read.
template<class Read, class... Arguments>
Texts listed(Read read, Session const& session, Arguments... arguments)
{
    char const** list = nullptr;
    int32_t const status = read(session.get(), arguments..., &list);
    if (status == kVeskNotFound) {
        EXPECT_EQ(list, empty_list);
    }
    if (status != kVeskOK) {
        return {"status " + std::to_string(status)};
    }
    Texts texts;
    for (; *list != nullptr; ++list) {
        texts.emplace_back(*list);
    }
    return texts;
}

/// The number of statements that a body runs, those inside triggers left out.
template<class Body>
int statementsOf(Session const& session, Body body)
{
    int count = 0;
    auto const note = [](unsigned, void* counter, void*, void* statement) {
        *static_cast<int*>(counter) += std::strncmp(static_cast<char const*>(statement), "--", 2) != 0;
        return 0;
    };
    sqlite3* const database = session->store->db;
    sqlite3_trace_v2(database, SQLITE_TRACE_STMT, note, &count);
    body();
    sqlite3_trace_v2(database, 0, nullptr, nullptr);
    return count;
}

class PayloadDatabase : public ScratchRootTest
{
};

TEST_F(PayloadDatabase, NewFilesHoldTheirTables)
{
    // Columns that are no text name their type; "!" is NOT NULL; a number is the place in the primary key.
    std::string const columns =
        "SELECT t.name || ': ' || (SELECT group_concat(c.name || replace(' ' || c.type, ' TEXT', '')"
        " || substr('!', 1, c.\"notnull\") || replace(c.pk, 0, '') || coalesce(' = ' || c.dflt_value, '')"
        " || coalesce((SELECT ' -> ' || f.\"table\" || ' ' || f.on_delete FROM pragma_foreign_key_list(t.name)"
        " AS f WHERE f.\"from\" = c.name), ''), ', ') FROM pragma_table_info(t.name) AS c)"
        " FROM sqlite_master AS t WHERE t.type = 'table' ORDER BY t.rowid";
    opened();
    EXPECT_THAT(
        sql(file, columns),
        ElementsAre("pcd_meta: key!1, value!",
                    "payloads: PayloadID!1, productFamily, productName, version, signature, "
                    "installState INT! = 0, installTime INT",
                    "dependencies: PayloadID!1 -> payloads CASCADE, PayloadIDb!2, "
                    "type INTEGER! -> dependency_types NO ACTION", // no such table: never enforced
                    "dependency_type: type INTEGER!1, description!",
                    "payload_data: PayloadID!1 -> payloads NO ACTION, domain!2, key!3, value",
                    "upgraded_payloads: payloadIDOriginal!1, payloadIDUpgraded!2 -> payloads NO ACTION",
                    "user_actions: product_id!, actor, time_action!"));
    EXPECT_THAT(sql(file, "SELECT key, value FROM pcd_meta ORDER BY key DESC"),
                ElementsAre("schema_version", "1", "schema_compatibility_version", "1"));
    EXPECT_THAT(sql(file, "SELECT type || description FROM dependency_type ORDER BY type"),
                ElementsAre("0Conflicts", "1Upgrades", "2Requires", "3Required", "4Critical", "5Recommended",
                            "6loadPatch", "7loadLangPack"));
    EXPECT_THAT(sql(file,
                    "SELECT PayloadID FROM payloads UNION ALL SELECT PayloadID FROM dependencies UNION ALL "
                    "SELECT key FROM payload_data UNION ALL SELECT payloadIDUpgraded FROM upgraded_payloads "
                    "UNION ALL SELECT actor FROM user_actions"),
                ElementsAre());
    EXPECT_THAT(sql(file, "SELECT instr(sql, 'signature TEXT ,' || char(9) || 'installState') > 0 "
                          "FROM sqlite_master WHERE instr(sql, char(9))"),
                ElementsAre("1"));
}

TEST_F(PayloadDatabase, TriggersRefuseAndTakeAlong)
{
    auto const refuses = [](std::string const& path, std::string const& table) {
        std::string const why = table + ": PayloadID is invalid.";
        EXPECT_THAT(sql(path, "INSERT INTO " + table + " (PayloadID) VALUES ('X')"),
                    ElementsAre("error: cti_" + why));
        EXPECT_THAT(sql(path, "UPDATE " + table + " SET PayloadID = 'X'"), ElementsAre("error: ctu_" + why));
    };
    openedWith("INSERT INTO payloads (PayloadID) VALUES ('A'), ('B'); INSERT INTO upgraded_payloads VALUES "
               "('B', 'A'); INSERT INTO dependencies VALUES ('A', 'B', 0), ('B', 'A', 0); INSERT INTO "
               "payload_data VALUES ('A', 0, 'k', 'v'), ('B', 0, 'k', 'v')");
    refuses(file, "dependencies");
    refuses(file, "payload_data");
    EXPECT_THAT(sql(file,
                    "DELETE FROM payloads WHERE PayloadID = 'A'; SELECT PayloadID FROM dependencies UNION "
                    "ALL SELECT PayloadID FROM payload_data UNION ALL SELECT 'kept' FROM upgraded_payloads"),
                ElementsAre("B", "B", "kept"));

    std::string const media = "/media/media.db";
    VeskiDataStore const store("/media", "media.db", gMdbSchemas, false, false, kSchemaTypePayload);
    ASSERT_EQ(sql(media,
                  "INSERT INTO Suites VALUES ('S', '', '', ''), ('T', '', '', ''); INSERT INTO Payloads "
                  "VALUES ('A', '', '', '', ''), ('B', '', '', '', ''); INSERT INTO SuitePayloads VALUES "
                  "('S', 'B'), ('T', 'A'), ('T', 'B'); INSERT INTO Branding VALUES ('S', '', ''), "
                  "('T', '', ''); INSERT INTO PayloadData VALUES ('A', 0, '', ''), ('B', 0, '', '');"
                  "INSERT INTO DependencyData (PayloadID, type) VALUES ('A', 0), ('B', 0)"),
              Texts{});
    refuses(media, "PayloadData");
    refuses(media, "DependencyData");
    EXPECT_THAT(sql(media, "DELETE FROM Suites WHERE ProductID = 'S'; SELECT ProductID || PayloadID FROM "
                           "SuitePayloads UNION ALL SELECT ProductID FROM Branding"),
                ElementsAre("TA", "TB", "T"));
    EXPECT_THAT(sql(media, "DELETE FROM Payloads WHERE PayloadID = 'A'; SELECT ProductID || PayloadID FROM "
                           "SuitePayloads UNION ALL SELECT PayloadID FROM PayloadData UNION ALL SELECT "
                           "PayloadID FROM DependencyData UNION ALL SELECT ProductID FROM Branding"),
                ElementsAre("TB", "B", "B", "T"));
}

TEST_F(PayloadDatabase, SessionsAreOpenedWithAndWithoutCreating)
{
    char untouched = 0;
    auto* const marker = reinterpret_cast<VeskSession*>(&untouched);
    VeskSession* session = marker;
    EXPECT_EQ(pdbOpenSession(nullptr), kVeskInvalidArgument);
    EXPECT_EQ(pdbOpenSessionNoCreate(&session), kVeskNotFound);
    EXPECT_EQ(pdbOpenSessionNoCreate(nullptr), kVeskNotFound);
    EXPECT_EQ(session, marker);
    EXPECT_THAT(namesIn("/"), ElementsAre());

    EXPECT_EQ(opened()->kind, kSessionKindPayload);
    EXPECT_THAT(namesIn("/Library/Application Support/Zelko"), ElementsAre("vesk"));
    EXPECT_EQ(accessOf(file), canBecomeOrdinaryUser() ? "0644 0:80" : "0644 0:0");
    EXPECT_EQ(pdbOpenSessionNoCreate(nullptr), kVeskInvalidArgument);
    EXPECT_EQ(pdbOpenSessionNoCreate(&session), kVeskOK);
    EXPECT_EQ(pdbCloseSession(session), kVeskOK);

    sql(file, "UPDATE pcd_meta SET value = 2");
    for (auto const open : {pdbOpenSession, pdbOpenSessionNoCreate}) {
        session = marker;
        EXPECT_EQ(open(&session), kVeskSchemaTooNew);
        EXPECT_EQ(session, nullptr);
    }
}

TEST_F(PayloadDatabase, CommitRefreshesTheCataloguesBackup)
{
    auto session = opened();
    EXPECT_EQ(pdbSessionCommit(session.get()), kVeskOK);
    EXPECT_FALSE(exists(backupFolder)); // no catalogue, no backup
    VeskSession* catalogue = nullptr;
    ASSERT_EQ(veskOpenSession(&catalogue), kVeskOK);
    ASSERT_EQ(veskCloseSession(catalogue), kVeskOK);

    EXPECT_EQ(add(session, "A"), kVeskOK);
    EXPECT_EQ(pdbSessionRollback(session.get()), kVeskOK);
    EXPECT_FALSE(exists(backupFolder));
    EXPECT_EQ(add(session, "B"), kVeskOK);
    EXPECT_THAT(sql(file, "SELECT PayloadID FROM payloads"), ElementsAre());
    EXPECT_THAT(stored(session, "SELECT PayloadID FROM payloads"), ElementsAre("B"));
    EXPECT_THAT(namesIn(backupFolder), ElementsAre("vesk.db"));
    std::string const copy = backupFolder + "/vesk.db";
    EXPECT_EQ(readFile(copy), readFile(catalogueFile));

    // Also by a handle without a database, and by closing it.
    auto* const handle = new VeskSession{nullptr, kSessionKindPayload};
    unlink(copy.c_str());
    EXPECT_EQ(pdbSessionCommit(handle), kVeskOK);
    EXPECT_EQ(unlink(copy.c_str()), 0);
    EXPECT_EQ(pdbCloseSession(handle), kVeskOK);
    EXPECT_TRUE(exists(copy));

    // A failed commit makes none, and closing still frees, rolls back and reports its own success.
    int const descriptors = openDescriptors();
    unlink(copy.c_str());
    sqlite3* reader = nullptr;
    ASSERT_EQ(sqlite3_open(file.c_str(), &reader), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(reader, "BEGIN; SELECT * FROM payloads", nullptr, nullptr, nullptr), SQLITE_OK);
    sqlite3_busy_timeout(session->store->db, 1);
    EXPECT_EQ(add(session, "C"), kVeskOK);
    EXPECT_EQ(pdbSessionCommit(session.get()), kVeskBusy);
    EXPECT_EQ(pdbCloseSession(session.release()), kVeskOK);
    EXPECT_FALSE(exists(copy));
    sqlite3_close(reader);
    EXPECT_LT(openDescriptors(), descriptors);
    EXPECT_THAT(sql(file, "SELECT PayloadID FROM payloads"), ElementsAre("B"));

    // How the backup went is not told; a failed close is, with the commit done.
    ASSERT_EQ(rmdir(backupFolder.c_str()), 0);
    writeFile(backupFolder, "in the way");
    session = opened();
    EXPECT_EQ(add(session, "D"), kVeskOK);
    EXPECT_EQ(pdbSessionCommit(session.get()), kVeskOK);
    EXPECT_EQ(add(session, "E"), kVeskOK);
    sqlite3* const connection = session->store->db;
    sqlite3_stmt* pending = nullptr;
    ASSERT_EQ(sqlite3_prepare_v2(connection, "SELECT 1", -1, &pending, nullptr), SQLITE_OK);
    EXPECT_EQ(pdbCloseSession(session.release()), kVeskBusy);
    sqlite3_finalize(pending);
    sqlite3_close(connection);
    EXPECT_THAT(sql(file, "SELECT PayloadID FROM payloads"), ElementsAre("B", "D", "E"));
}

TEST_F(PayloadDatabase, BackupsAndTheTimeOfTheFile)
{
    int32_t seconds = 77;
    EXPECT_EQ(pdbGetLastModTime(nullptr), kVeskInvalidArgument);
    EXPECT_EQ(pdbGetLastModTime(&seconds), kVeskNotFound);
    EXPECT_EQ(seconds, 77);
    EXPECT_EQ(pdbBackup(), kVeskNotFound);
    EXPECT_THAT(namesIn("/"), ElementsAre());
    add(opened(), "A");
    for (int64_t const time : {int64_t{1234567890}, int64_t{3000000000}}) {
        timeval const times[2] = {{0, 0}, {static_cast<time_t>(time), 0}};
        ASSERT_EQ(utimes(file.c_str(), times), 0);
        EXPECT_EQ(pdbGetLastModTime(&seconds), kVeskOK);
        EXPECT_EQ(seconds, static_cast<int32_t>(static_cast<uint32_t>(time)));
    }

    std::string const copy = backupFolder + "/pdb.db";
    EXPECT_EQ(pdbBackup(), kVeskOK);
    EXPECT_THAT(namesIn(backupFolder), ElementsAre("pdb.db"));
    std::string const first = readFile(copy);
    EXPECT_EQ(first, readFile(file));
    add(opened(), "B");
    EXPECT_EQ(readFile(copy), first); // a commit does not refresh this one
    EXPECT_EQ(pdbBackup(), kVeskOK);
    EXPECT_EQ(readFile(copy), readFile(file));
    FailingVfs vfs;
    vfs.arm({FileOperation::kRead, SQLITE_IOERR_READ, true, "read"}, 1);
    EXPECT_EQ(pdbBackup(), kVeskIOError);
    vfs.disarm();
    ASSERT_EQ(unlink(copy.c_str()) + rmdir(backupFolder.c_str()), 0);
    SKIP_WITHOUT_OTHER_USERS();
    asOrdinaryUser([] { EXPECT_EQ(pdbBackup(), kVeskAccessDenied); });
    EXPECT_FALSE(exists(backupFolder));
}

TEST_F(PayloadDatabase, BackupsKeepTheLocksOfThisProcess)
{
    OtherProcess other([] {
        EXPECT_EQ(sql(file, "INSERT INTO user_actions VALUES ('theirs', '', '')"), locked);
        EXPECT_EQ(sql(catalogueFile, "INSERT INTO pcd_meta VALUES ('theirs', '')"), locked);
    });
    VeskSession* catalogue = nullptr;
    ASSERT_EQ(veskOpenSession(&catalogue), kVeskOK);
    EXPECT_EQ(catalogue->store->queryNR("INSERT INTO pcd_meta VALUES ('ours', '')"), kVeskOK);
    auto const session = opened();
    EXPECT_EQ(add(session, "A"), kVeskOK);
    EXPECT_EQ(pdbBackup(), kVeskOK);
    EXPECT_EQ(pdbSessionCommit(opened().get()), kVeskOK); // and the catalogue's
    other.run();
    EXPECT_THAT(stored(session, "SELECT PayloadID FROM payloads"), ElementsAre("A"));
    EXPECT_EQ(veskCloseSession(catalogue), kVeskOK);
    EXPECT_THAT(sql(catalogueFile, "SELECT key FROM pcd_meta WHERE key LIKE '%urs'"), ElementsAre("ours"));
    EXPECT_THAT(sql(backupFolder + "/pdb.db", "SELECT PayloadID FROM payloads"), ElementsAre());
}

/// What a call is given, or all of it but one.
struct Given
{
    char const *a, *b, *c;
    char const*** list;
    char const** text;
    PdbPayloadInfo* record;
    int32_t* state;
};

TEST_F(PayloadDatabase, EveryFunctionMindsItsArgumentsAndItsStatements)
{
    static char const* const conflicts[] = {"X", nullptr};
    static char const* const upgrades[] = {"Y", "Z", nullptr};
    struct
    {
        int32_t closed; // the status on a store that is not open any more
        int statements;
        char const* required; // of what is given, by first letters
        int32_t (*call)(VeskSession*, Given const&);
    } const cases[] = {
        {kVeskOK, 1, "", [](auto* s, auto&) { return pdbSessionCommit(s); }},
        {kVeskOK, 1, "", [](auto* s, auto&) { return pdbSessionRollback(s); }},
        {kVeskFailed, 2 + 3, "abc",
         [](auto* s, auto& g) { return pdbAddPayload(s, g.a, g.b, g.c, "v", "s", conflicts, upgrades); }},
        {kVeskFailed, 2, "bc",
         [](auto* s, auto& g) { return pdbAddPayload(s, "N", "f", "n", g.b, g.c, nullptr, nullptr); }},
        {kVeskFailed, 1 + 1 + 1, "a", [](auto* s, auto& g) { return pdbRemovePayload(s, g.a); }},
        {kVeskNotFound, 1, "ar", [](auto* s, auto& g) { return pdbGetPayload(s, g.a, g.record); }},
        {kVeskNotFound, 1, "l", [](auto* s, auto& g) { return pdbGetPayloads(s, 0, g.list); }},
        {kVeskNotFound, 1, "l", [](auto* s, auto& g) { return pdbGetPayloads(s, kPdbAllPayloads, g.list); }},
        {kVeskNotFound, 1, "as", [](auto* s, auto& g) { return pdbGetInstallState(s, g.a, g.state); }},
        {kVeskFailed, 1, "a", [](auto* s, auto& g) { return pdbSetInstallState(s, g.a, 0); }},
        // Four lists, a look at X, one at B with an insert, at B and C with an insert each, the update.
        {kVeskFailed, 4 + 1 + 2 + 4 + 1, "a", [](auto* s, auto& g) { return pdbSetInstallState(s, g.a, 2); }},
        {kVeskFailed, 1, "ab", [](auto* s, auto& g) { return pdbAddPayloadDependency(s, g.a, 3, g.b); }},
        {kVeskFailed, 1, "a", [](auto* s, auto& g) { return pdbRemovePayloadDependency(s, g.a, 1, g.b); }},
        {kVeskNotFound, 1, "al", [](auto* s, auto& g) { return pdbGetPayloadDependency(s, g.a, 1, g.list); }},
        {kVeskNotFound, 1, "al",
         [](auto* s, auto& g) { return pdbGetPayloadDependencyReverse(s, g.a, 1, g.list); }},
        {kVeskNotFound, 1, "l",
         [](auto* s, auto& g) { return pdbGetPayloadDependencyKeysAndValues(s, 1, g.list); }},
        {kVeskFailed, 1, "", [](auto* s, auto& g) { return pdbAddUpgradedPayloads(s, g.a, g.b); }},
        {kVeskFailed, 1, "", [](auto* s, auto& g) { return pdbRemoveUpgradePayloads(s, g.a); }},
        {kVeskNotFound, 1, "l",
         [](auto* s, auto& g) { return pdbGetUpgradedPayloadsKeysAndValues(s, g.list); }},
        {kVeskFailed, 1, "ac", [](auto* s, auto& g) { return pdbSetPayloadData(s, g.a, 0, g.c, g.b); }},
        {kVeskNotFound, 1, "act", [](auto* s, auto& g) { return pdbGetPayloadData(s, g.a, 0, g.c, g.text); }},
        {kVeskNotFound, 1, "al", [](auto* s, auto& g) { return pdbGetPayloadDataKeys(s, g.a, 0, g.list); }},
        {kVeskNotFound, 1, "al",
         [](auto* s, auto& g) { return pdbGetPayloadDataKeysAndValues(s, g.a, 0, g.list); }},
        {kVeskFailed, 1, "ac", [](auto* s, auto& g) { return pdbRemovePayloadData(s, g.a, 0, g.c); }},
        {kVeskFailed, 1, "a", [](auto* s, auto& g) { return pdbRemovePayloadDomainData(s, g.a, 0); }},
        {kVeskFailed, 1, "ab", [](auto* s, auto& g) { return pdbSetUserAction(s, g.a, g.b); }},
        {kVeskFailed, 1, "a", [](auto* s, auto& g) { return pdbRemoveUserAction(s, g.a); }},
        {kVeskNotFound, 1, "l", [](auto* s, auto& g) { return pdbGetUserAction(s, g.list); }},
    };
    auto const session = openedWith(
        "INSERT INTO payloads (PayloadID) VALUES ('A'), ('B'), ('C'); INSERT INTO dependencies VALUES "
        "('A', 'X', 0), ('B', 'A', 1), ('C', 'A', 1), ('A', 'B', 1), ('A', 'C', 1); INSERT INTO "
        "upgraded_payloads VALUES ('B', 'A'), ('C', 'B'); INSERT INTO payload_data VALUES ('A', 0, 'c', 'v');"
        "INSERT INTO user_actions VALUES ('A', 'B', '1')");
    auto* const s = session.get();
    VeskSession handle{nullptr, kSessionKindPayload};
    char const** list;
    char const* text;
    PdbPayloadInfo record;
    int32_t state;
    Given const all{"A", "B", "c", &list, &text, &record, &state};
    int row = 0;
    for (auto const& each : cases) {
        SCOPED_TRACE(++row);
        EXPECT_EQ(each.call(nullptr, all), kVeskInvalidArgument);
        EXPECT_EQ(each.call(&handle, all), each.closed == kVeskOK ? kVeskOK : kVeskNoDataStore);
        session->store->queryNR("BEGIN");
        EXPECT_EQ(statementsOf(session, [&] { EXPECT_EQ(each.call(s, all), kVeskOK); }), each.statements);
        EXPECT_EQ(session->store->rollback(), kVeskOK);
        for (char const* missing = each.required; *missing != '\0'; ++missing) {
            auto const unless = [&](char letter, auto* pointer) {
                return *missing == letter ? nullptr : pointer;
            };
            Given const some{unless('a', all.a),    unless('b', all.b),    unless('c', all.c),
                             unless('l', all.list), unless('t', all.text), unless('r', all.record),
                             unless('s', all.state)};
            EXPECT_EQ(statementsOf(session, [&] { EXPECT_EQ(each.call(s, some), kVeskInvalidArgument); }), 0)
                << missing;
        }
    }
    std::vector<int32_t> outOfRange;
    auto const callOutOfRange = [&] {
        outOfRange = {pdbGetPayloads(s, 5, &list), pdbGetPayloads(s, -1, &list),
                      pdbSetInstallState(s, "A", 1), pdbSetInstallState(s, "A", 3),
                      pdbRemovePayloadDomainData(s, "A", 6)};
    };
    EXPECT_EQ(statementsOf(session, callOutOfRange), 0);
    EXPECT_THAT(outOfRange, Each(kVeskInvalidArgument));
    EXPECT_EQ(session->store->dbClose(), kVeskOK);
    for (auto const& each : cases) {
        EXPECT_EQ(each.call(s, all), each.closed) << &each - cases + 1;
    }
    EXPECT_EQ(pdbCloseSession(nullptr), kVeskInvalidArgument);
}

TEST_F(PayloadDatabase, MarkingInstalledMindsConflictsAndRecordsUpgrades)
{
    struct
    {
        std::string relations; // of A, B and C on record, and D that is not
        int32_t status;
        std::string upgrades; // original and upgraded
        std::string damage;
    } const cases[] = {
        {"", kVeskOK, "", ""},
        {"('B', 'A', 0)", kVeskConflict, "", ""}, // though B is not installed
        {"('A', 'B', 0)", kVeskConflict, "", ""},
        {"('A', 'A', 0)", kVeskConflict, "", ""},
        {"('D', 'A', 0), ('A', 'D', 0), ('B', 'C', 0)", kVeskOK, "", ""},
        {"('D', 'A', 0), ('C', 'A', 0)", kVeskConflict, "", ""},
        {"('A', 'D', 0), ('A', 'C', 0)", kVeskConflict, "", ""},
        {"('B', 'A', 1), ('A', 'B', 1), ('A', 'C', 0)", kVeskConflict, "", ""}, // conflicts come first
        {"('C', 'A', 1), ('B', 'A', 1)", kVeskOK, "AC", ""}, // the first in list order alone
        {"('D', 'A', 1), ('B', 'A', 1), ('C', 'A', 1)", kVeskOK, "AB", ""},
        {"('A', 'D', 1), ('A', 'B', 1), ('A', 'C', 1)", kVeskOK, "BA,CA", ""}, // every one of the originals
        {"('B', 'A', 1), ('A', 'B', 1)", kVeskOK, "AB,BA", ""},
        {"('B', 'A', 2), ('A', 'B', 3), ('A', 'C', -1)", kVeskOK, "", ""}, // other types do not matter
        {"('B', 'A', 1), ('A', 'C', 1)", kVeskConstraint, "AB",
         "CREATE TRIGGER t BEFORE INSERT ON upgraded_payloads WHEN NEW.payloadIDUpgraded = 'A' "
         "BEGIN SELECT RAISE(ABORT, ''); END;"},
        {"('B', 'A', 0)", kVeskError, "", "ALTER TABLE payloads RENAME COLUMN installState TO x"},
        {"('A', 'B', 1)", kVeskError, "", "ALTER TABLE payloads RENAME COLUMN installState TO x"},
        {"", kVeskError, "", "ALTER TABLE dependencies RENAME COLUMN type TO x"},
    };
    for (auto const& each : cases) {
        SCOPED_TRACE(each.relations + each.damage);
        root.renew();
        auto const session = openedWith(
            "DROP TRIGGER cti_dependencies; INSERT INTO payloads (PayloadID, installTime) VALUES ('A', 5), "
            "('B', 5), ('C', 5);" +
            (each.relations.empty() ? "" : "INSERT INTO dependencies VALUES " + each.relations + ";") +
            each.damage);
        auto const before = std::to_string(time(nullptr));
        EXPECT_EQ(pdbSetInstallState(session.get(), "A", kPdbInstalled), each.status);
        EXPECT_THAT(stored(session,
                           "SELECT coalesce(group_concat(payloadIDOriginal || payloadIDUpgraded), '') "
                           "FROM upgraded_payloads"),
                    ElementsAre(each.upgrades));
        if (each.status != kVeskError) {
            bool const marked = each.status == kVeskOK;
            EXPECT_THAT(
                sql(file,
                    "SELECT PayloadID FROM payloads WHERE installState = 2 AND installTime >= " + before),
                marked ? Texts{"A"} : Texts{});
            EXPECT_EQ(pdbSetInstallState(session.get(), "A", kPdbNotInstalled), kVeskOK); // consults nothing
            EXPECT_THAT(stored(session, "SELECT PayloadID FROM payloads WHERE installTime >= " + before +
                                            " AND installState = 0"),
                        ElementsAre("A"));
        }
    }
}

TEST_F(PayloadDatabase, AddingStartsAfreshAndKeepsWhatItDoesNotName)
{
    auto session = openedWith("CREATE TRIGGER t BEFORE INSERT ON dependencies WHEN NEW.PayloadIDb = 'bad' "
                              "BEGIN SELECT RAISE(ABORT, ''); END");
    auto* s = session.get();
    char const* const conflicts[] = {"B", "C", nullptr};
    char const* const upgrades[] = {"C", "D", nullptr};
    char const* const withBad[] = {"E", "bad", "F", nullptr};
    auto const before = time(nullptr);
    EXPECT_EQ(pdbAddPayload(s, "A", "old", "old", "old", "old", conflicts, upgrades), kVeskOK);
    Texts const relations{"A", "B", "0", "A", "C", "1", "A", "D", "1"}; // the upgrade replaces the conflict
    EXPECT_EQ(stored(session, "SELECT * FROM dependencies ORDER BY PayloadIDb"), relations);
    EXPECT_EQ(pdbSetPayloadData(s, "A", 0, "k", "v"), kVeskOK);
    EXPECT_EQ(session->store->queryNR("UPDATE payloads SET installState = 2, installTime = 5"), kVeskOK);

    EXPECT_EQ(pdbAddPayload(s, "A", "F", "N", "V", "S", nullptr, nullptr), kVeskOK);
    PdbPayloadInfo info = {};
    EXPECT_EQ(pdbGetPayload(s, "A", &info), kVeskOK);
    EXPECT_THAT((Texts{info.payloadID, info.productFamily, info.productName, info.version, info.signature}),
                ElementsAre("A", "F", "N", "V", "S"));
    EXPECT_EQ(info.installState, kPdbNotInstalled);
    EXPECT_GE(info.installTime, before);
    EXPECT_LE(info.installTime, time(nullptr));
    EXPECT_EQ(stored(session, "SELECT * FROM dependencies ORDER BY PayloadIDb"), relations);
    EXPECT_THAT(listed(pdbGetPayloadDataKeysAndValues, session, "A", 0), ElementsAre("k", "v"));

    // The first failure ends it and what is written stays; a refused time stamp alone does not matter.
    EXPECT_EQ(pdbAddPayload(s, "A", "", "", "", "", withBad, upgrades), kVeskConstraint);
    EXPECT_EQ(pdbAddPayload(s, "N", "", "", "", "", nullptr, withBad), kVeskConstraint);
    EXPECT_THAT(stored(session, "SELECT PayloadID || PayloadIDb FROM dependencies WHERE PayloadIDb > 'D'"),
                ElementsAre("AE", "NE"));
    session.reset();
    sql(file, "CREATE TRIGGER u BEFORE UPDATE ON payloads BEGIN SELECT RAISE(ABORT, ''); END");
    session = opened();
    EXPECT_EQ(add(session, "A"), kVeskOK);
    EXPECT_THAT(stored(session, "SELECT installState, installTime FROM payloads WHERE PayloadID = 'A'"),
                ElementsAre("0", "NULL"));
}

TEST_F(PayloadDatabase, RemovingTakesTheUpgradedOriginalsAlong)
{
    std::string const rows =
        "INSERT INTO payloads (PayloadID) VALUES ('P'), ('Q'), ('R'), ('X'); INSERT INTO dependencies VALUES "
        "('P', 'R', 0), ('R', 'P', 0), ('R', 'X', 3); INSERT INTO payload_data VALUES ('Q', 1, 'k', 'v');"
        "INSERT INTO upgraded_payloads VALUES ('P', 'X'), ('R', 'x'), ('gone', 'X'), ('Q', 'X'), ('X', 'R');";
    struct
    {
        char const* removed;
        std::string damage;
        int32_t status;
        std::string left;
    } const cases[] = {
        {"X", "", kVeskOK, "R"},
        {"x", "", kVeskOK, "P,Q,X"}, // byte for byte
        {"unknown", "", kVeskOK, "P,Q,R,X"},
        {"X",
         "CREATE TRIGGER t BEFORE DELETE ON payloads WHEN OLD.PayloadID = 'Q' BEGIN SELECT RAISE(ABORT, '');"
         " END",
         kVeskConstraint, "Q,R,X"},
        {"X",
         "DROP TABLE upgraded_payloads; CREATE TABLE upgraded_payloads (payloadIDOriginal, "
         "payloadIDUpgraded); INSERT INTO upgraded_payloads VALUES ('P', 'X'), (NULL, 'X'), ('Q', 'X')",
         kVeskOK, "Q,R"}, // a null entry ends the list
        {"X", "ALTER TABLE upgraded_payloads RENAME COLUMN payloadIDOriginal TO x", kVeskError, "P,Q,R,X"},
    };
    for (auto const& each : cases) {
        SCOPED_TRACE(each.removed + each.damage);
        root.renew();
        auto const session = openedWith(rows + each.damage);
        Texts const upgrades = sql(file, "SELECT * FROM upgraded_payloads");
        EXPECT_EQ(pdbRemovePayload(session.get(), each.removed), each.status);
        EXPECT_THAT(stored(session, "SELECT group_concat(PayloadID) FROM payloads"), ElementsAre(each.left));
        EXPECT_EQ(sql(file, "SELECT * FROM upgraded_payloads"), upgrades);
    }
}

TEST_F(PayloadDatabase, PayloadsAreListedAndRead)
{
    auto const session = openedWith("");
    EXPECT_EQ(listed(pdbGetPayloads, session, kPdbAllPayloads), Texts{"status 8"});
    EXPECT_EQ(
        session->store->queryNR(
            "INSERT INTO payloads (PayloadID, version, installState, installTime) VALUES "
            "('late', '1', 2, 1000), ('tie', '', 0, 200), ('early', '', 2, 99), ('tie too', '', 0, 200), "
            "('odd', 'v', 1, 2), ('future', '', 3, 99999999999), ('never', NULL, -1, NULL)"),
        kVeskOK);
    EXPECT_THAT(listed(pdbGetPayloads, session, 0), UnorderedElementsAre("tie", "tie too"));
    EXPECT_THAT(listed(pdbGetPayloads, session, 1), ElementsAre("odd"));
    EXPECT_THAT(listed(pdbGetPayloads, session, 2), ElementsAre("early", "late"));
    EXPECT_THAT(listed(pdbGetPayloads, session, 3), ElementsAre("future"));
    Texts all = listed(pdbGetPayloads, session, kPdbAllPayloads);
    ASSERT_EQ(all.size(), 7U);
    std::sort(all.begin() + 3, all.begin() + 5); // of one time, in whatever order
    EXPECT_THAT(all, ElementsAre("never", "odd", "early", "tie", "tie too", "late", "future"));

    struct
    {
        char const* payload;
        int32_t status;
        int32_t state;
        int32_t time;
    } const cases[] = {{"late", kVeskOK, 2, 1000},
                       {"never", kVeskOK, -1, 0},
                       {"LATE", kVeskNotFound, 0, 77},
                       {"future", kVeskOK, 3, INT32_MAX}};
    int32_t state = 0;
    for (auto const& each : cases) {
        PdbPayloadInfo info = {each.payload, "", "", "",
                               "",           0,  77}; // untouched unless found; NULLs read as empty
        EXPECT_EQ(pdbGetPayload(session.get(), each.payload, &info), each.status);
        EXPECT_THAT((Texts{info.payloadID, info.productFamily, info.version, info.signature}),
                    ElementsAre(each.payload, "", each.state == 2 ? "1" : "", ""));
        EXPECT_EQ(info.installState, each.state);
        EXPECT_EQ(info.installTime, each.time);
        state = 77;
        EXPECT_EQ(pdbGetInstallState(session.get(), each.payload, &state), each.status);
        EXPECT_EQ(state, each.state);
    }
    EXPECT_EQ(pdbSetInstallState(session.get(), "unknown", kPdbInstalled), kVeskOK); // no row, no error
    EXPECT_EQ(session->store->queryNR("ALTER TABLE payloads RENAME TO other"), kVeskOK);
    PdbPayloadInfo record;
    EXPECT_EQ(pdbGetPayload(session.get(), "late", &record), kVeskError);
    EXPECT_EQ(pdbGetInstallState(session.get(), "late", &state), kVeskError);
    EXPECT_EQ(state, 0);
    EXPECT_EQ(listed(pdbGetPayloads, session, 2), Texts{"status 12"});
}

TEST_F(PayloadDatabase, RelationsAreOnePerPairAndReadByType)
{
    auto const session = openedWith("INSERT INTO payloads (PayloadID) VALUES ('A'), ('B')");
    auto* const s = session.get();
    std::string kept;
    for (int32_t const type : {INT32_MIN, -1, 0, 1, 2, 3, 4, 5, 6, 7, 8, 32, INT32_MAX}) {
        SCOPED_TRACE(type);
        EXPECT_EQ(pdbAddPayloadDependency(s, "A", type, "B"), type <= 7 ? kVeskOK : kVeskInvalidArgument);
        kept = type <= 7 ? std::to_string(type) : kept; // each replaces the one before
        EXPECT_THAT(stored(session, "SELECT * FROM dependencies"), ElementsAre("A", "B", kept));
        bool const readable = type >= 0 && type <= 7 && type != kPdbRequires;
        auto const key = static_cast<uint32_t>(type);
        Texts const refused{"status 10"};
        EXPECT_EQ(listed(pdbGetPayloadDependency, session, "A", key), readable ? Texts{"B"} : refused);
        EXPECT_EQ(listed(pdbGetPayloadDependencyReverse, session, "B", key), readable ? Texts{"A"} : refused);
        EXPECT_EQ(listed(pdbGetPayloadDependencyKeysAndValues, session, key),
                  readable ? (Texts{"A", "B"}) : refused);
    }
    Texts const none{"status 8"};
    EXPECT_EQ(pdbAddPayloadDependency(s, "A", 0, "absent"), kVeskOK);
    EXPECT_EQ(pdbAddPayloadDependency(s, "B", 0, "A"), kVeskOK);
    EXPECT_EQ(pdbAddPayloadDependency(s, "absent", 0, "A"), kVeskConstraint);
    EXPECT_THAT(listed(pdbGetPayloadDependencyKeysAndValues, session, 0U),
                UnorderedElementsAre("A", "absent", "B", "A"));
    EXPECT_THAT(listed(pdbGetPayloadDependency, session, "A", 0U), ElementsAre("absent"));
    EXPECT_EQ(listed(pdbGetPayloadDependencyReverse, session, "B", 0U), none); // of type 7
    EXPECT_EQ(pdbRemovePayloadDependency(s, "A", 0, "B"), kVeskOK);            // likewise: nothing goes
    EXPECT_THAT(listed(pdbGetPayloadDependency, session, "A", 7U), ElementsAre("B"));
    EXPECT_EQ(pdbAddPayloadDependency(s, "A", 7, "C"), kVeskOK);
    EXPECT_EQ(pdbRemovePayloadDependency(s, "A", 7, "B"), kVeskOK);
    EXPECT_THAT(listed(pdbGetPayloadDependency, session, "A", 7U), ElementsAre("C"));
    EXPECT_EQ(pdbAddPayloadDependency(s, "A", 7, "B"), kVeskOK);
    EXPECT_EQ(pdbRemovePayloadDependency(s, "A", 7, nullptr), kVeskOK);
    EXPECT_EQ(listed(pdbGetPayloadDependency, session, "A", 7U), none);
    EXPECT_THAT(stored(session, "SELECT * FROM dependencies ORDER BY 1"),
                ElementsAre("A", "absent", "0", "B", "A", "0"));

    EXPECT_EQ(listed(pdbGetUpgradedPayloadsKeysAndValues, session), none);
    for (char const* original : {"A", "absent", "A"}) {
        EXPECT_EQ(pdbAddUpgradedPayloads(s, original, "B"), kVeskOK);
    }
    EXPECT_EQ(pdbAddUpgradedPayloads(s, "B", "C"), kVeskOK);
    EXPECT_EQ(pdbRemoveUpgradePayloads(s, "A"), kVeskOK); // upgraded nothing
    EXPECT_THAT(stored(session, "SELECT * FROM upgraded_payloads ORDER BY 1"),
                ElementsAre("A", "B", "B", "C", "absent", "B"));
    EXPECT_EQ(pdbRemoveUpgradePayloads(s, "B"), kVeskOK);
    EXPECT_THAT(listed(pdbGetUpgradedPayloadsKeysAndValues, session), ElementsAre("B", "C"));
}

TEST_F(PayloadDatabase, DataAndActions)
{
    auto const session = openedWith("INSERT INTO payloads (PayloadID) VALUES ('A'), ('B')");
    auto* const s = session.get();
    Texts const none{"status 8"};
    auto const value = [&](int32_t domain, char const* key) -> std::string {
        char const* text = nullptr;
        int32_t const status = pdbGetPayloadData(s, "A", domain, key, &text);
        EXPECT_EQ(text == nullptr, status == kVeskNotFound);
        return status == kVeskOK ? text : "status " + std::to_string(status);
    };
    struct
    {
        int32_t domain;
        int32_t status;
        char const *payload, *key, *value;
        char const* read; // of A
    } const writes[] = {
        {0, kVeskOK, "A", "k", nullptr, "status 8"},
        {0, kVeskOK, "A", "k", "old", "old"},
        {0, kVeskOK, "A", "k", "new", "new"},
        {0, kVeskOK, "A", "e", "", ""},
        {6, kVeskOK, "A", "k", "x", "x"},
        {6, kVeskOK, "A", "k", nullptr, "status 8"},
        {5, kVeskOK, "A", "k", "five", "five"},
        {-7, kVeskOK, "A", "k", "minus", "minus"},
        {6, kVeskOK, "A", "k", "six", "six"},
        {0, kVeskOK, "B", "b", "of B", "status 8"},
        {0, kVeskConstraint, "absent", "a", "x", "status 8"},
    };
    for (auto const& each : writes) {
        EXPECT_EQ(pdbSetPayloadData(s, each.payload, each.domain, each.key, each.value), each.status);
        EXPECT_EQ(value(each.domain, each.key), each.read) << each.payload << each.domain << each.key;
    }
    EXPECT_THAT(listed(pdbGetPayloadDataKeys, session, "A", 0), UnorderedElementsAre("k", "e"));
    EXPECT_THAT(listed(pdbGetPayloadDataKeys, session, "A", 1), none);
    EXPECT_THAT(listed(pdbGetPayloadDataKeysAndValues, session, "A", 0),
                UnorderedElementsAre("k", "new", "e", ""));
    EXPECT_THAT(listed(pdbGetPayloadDataKeysAndValues, session, "A", 5), ElementsAre("k", "five"));
    EXPECT_THAT(listed(pdbGetPayloadDataKeysAndValues, session, "absent", 0), none);
    EXPECT_THAT(stored(session, "SELECT domain, typeof(domain) FROM payload_data WHERE value = 'five'"),
                ElementsAre("5", "text"));
    // An SQL NULL is no value, and ends a walk over the pairs that stops at the first null entry.
    EXPECT_EQ(session->store->queryNR("UPDATE payload_data SET value = NULL WHERE domain = '0'"), kVeskOK);
    EXPECT_EQ(value(0, "k"), "status 8");
    char const** list = nullptr;
    ASSERT_EQ(pdbGetPayloadDataKeysAndValues(s, "A", 0, &list), kVeskOK);
    EXPECT_TRUE(list[0] != nullptr && list[1] == nullptr && list[2] != nullptr && list[3] == nullptr);
    EXPECT_EQ(list[4], nullptr);

    EXPECT_EQ(pdbRemovePayloadData(s, "A", 1, "k"), kVeskOK); // there is none
    EXPECT_EQ(pdbRemovePayloadData(s, "A", 0, "k"), kVeskOK);
    EXPECT_EQ(pdbRemovePayloadDomainData(s, "A", 6), kVeskInvalidArgument);
    EXPECT_EQ(pdbRemovePayloadDomainData(s, "A", 5), kVeskOK);
    EXPECT_EQ(pdbRemovePayloadDomainData(s, "A", -7), kVeskOK);
    EXPECT_THAT(stored(session, "SELECT PayloadID || domain || key FROM payload_data ORDER BY 1"),
                ElementsAre("A0e", "A6k", "B0b"));

    auto const before = time(nullptr);
    EXPECT_EQ(listed(pdbGetUserAction, session), none);
    for (char const* product : {"P", "Q", "P"}) {
        EXPECT_EQ(pdbSetUserAction(s, product, *product == 'P' ? "ann" : ""), kVeskOK);
    }
    Texts const actions = listed(pdbGetUserAction, session);
    ASSERT_EQ(actions.size(), 9U);
    EXPECT_THAT(actions, ElementsAre("P", "ann", actions[2], "Q", "", actions[5], "P", "ann", actions[8]));
    EXPECT_GE(std::stoll(actions[2]), before);
    EXPECT_LE(std::stoll(actions[8]), time(nullptr));
    EXPECT_EQ(pdbRemoveUserAction(s, "P"), kVeskOK);
    EXPECT_EQ(pdbRemoveUserAction(s, "p"), kVeskOK); // there is none
    EXPECT_THAT(stored(session, "SELECT product_id, typeof(time_action) FROM user_actions"),
                ElementsAre("Q", "text"));
}

TEST_F(PayloadDatabase, AnyTextIsKeptByteForByte)
{
    auto const session = openedWith("INSERT INTO payloads (PayloadID) VALUES ('bystander')");
    auto* const s = session.get();
    for (std::string const& any : Texts{"it's", "'; DELETE FROM payloads; --", "", "%s%n%q%d%%100%",
                                        "\xFF\xC3(\xED\xA0\x80\x01\n", std::string(1 << 20, '\'')}) {
        SCOPED_TRACE(any.substr(0, 30));
        char const* const t = any.c_str();
        char const* const self[] = {t, nullptr};
        char const* const other[] = {"bystander", nullptr};
        EXPECT_EQ(pdbAddPayload(s, t, t, t, t, t, self, other), kVeskOK);
        PdbPayloadInfo info = {};
        ASSERT_EQ(pdbGetPayload(s, t, &info), kVeskOK);
        for (auto const* read :
             {info.payloadID, info.productFamily, info.productName, info.version, info.signature}) {
            EXPECT_TRUE(read == any);
        }
        EXPECT_TRUE(listed(pdbGetPayloadDependency, session, t, 0U) == Texts{any});
        EXPECT_TRUE(listed(pdbGetPayloadDependencyReverse, session, t, 0U) == Texts{any});
        EXPECT_EQ(pdbSetInstallState(s, t, 2), kVeskConflict); // with itself
        EXPECT_EQ(pdbRemovePayloadDependency(s, t, 0, t), kVeskOK);
        EXPECT_EQ(pdbSetInstallState(s, t, 2), kVeskOK);
        EXPECT_TRUE(listed(pdbGetUpgradedPayloadsKeysAndValues, session) == (Texts{"bystander", any}));
        EXPECT_TRUE(listed(pdbGetPayloads, session, 2) == Texts{any});
        EXPECT_EQ(pdbRemoveUpgradePayloads(s, t), kVeskOK);
        EXPECT_EQ(pdbAddUpgradedPayloads(s, t, t), kVeskOK);
        EXPECT_EQ(pdbSetPayloadData(s, t, 1, t, t), kVeskOK);
        EXPECT_EQ(pdbSetPayloadData(s, t, 2, t, ""), kVeskOK);
        char const* text = nullptr;
        EXPECT_EQ(pdbGetPayloadData(s, t, 1, t, &text), kVeskOK);
        EXPECT_TRUE(text == any);
        EXPECT_TRUE(listed(pdbGetPayloadDataKeysAndValues, session, t, 1) == (Texts{any, any}));
        EXPECT_EQ(pdbRemovePayloadData(s, t, 1, t), kVeskOK);
        EXPECT_TRUE(listed(pdbGetPayloadDataKeys, session, t, 2) == Texts{any});
        EXPECT_EQ(pdbSetPayloadData(s, t, 2, t, nullptr), kVeskOK);
        EXPECT_EQ(pdbSetPayloadData(s, t, 3, t, t), kVeskOK);
        EXPECT_EQ(pdbRemovePayloadDomainData(s, t, 3), kVeskOK);
        EXPECT_THAT(stored(session, "SELECT * FROM payload_data"), ElementsAre());
        EXPECT_EQ(pdbSetUserAction(s, t, t), kVeskOK);
        Texts const actions = listed(pdbGetUserAction, session);
        EXPECT_TRUE(actions.size() == 3 && actions[0] == any && actions[1] == any);
        EXPECT_EQ(pdbRemoveUserAction(s, t), kVeskOK);
        EXPECT_EQ(pdbRemovePayload(s, t), kVeskOK);
        EXPECT_EQ(pdbRemoveUpgradePayloads(s, t), kVeskOK);
        EXPECT_THAT(stored(session,
                           "SELECT PayloadID FROM payloads; SELECT * FROM dependencies; SELECT * FROM "
                           "payload_data; SELECT * FROM upgraded_payloads; SELECT * FROM user_actions"),
                    ElementsAre("bystander"));
    }
}

TEST_F(PayloadDatabase, TwentyThousandPayloadsInOneTransaction)
{
    auto session = opened();
    for (int i = 0; i < 20000; ++i) {
        std::string const payload = "payload " + std::to_string(i);
        ASSERT_EQ(add(session, payload.c_str()), kVeskOK);
        if (i % 10 == 0) {
            ASSERT_EQ(pdbSetInstallState(session.get(), payload.c_str(), kPdbInstalled), kVeskOK);
        }
    }
    session.reset();
    session = opened();
    EXPECT_EQ(listed(pdbGetPayloads, session, kPdbAllPayloads).size(), 20000U);
    Texts const installed = listed(pdbGetPayloads, session, kPdbInstalled);
    EXPECT_EQ(installed.size(), 2000U);
    PdbPayloadInfo record;
    for (auto const& payload : installed) {
        ASSERT_EQ(pdbGetPayload(session.get(), payload.c_str(), &record), kVeskOK);
        ASSERT_EQ(record.payloadID, payload);
    }
}

} // namespace
