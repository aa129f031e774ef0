#include "tests/support/stores.h"

#include <cstring>
#include <gmock/gmock.h>
#include <optional>
#include <sqlite3.h>
#include <unistd.h>

using namespace testing_support;

namespace {

char const createMeta[] = "CREATE TABLE pcd_meta (key TEXT PRIMARY KEY, value TEXT)";
char const versionRow[] = "INSERT INTO pcd_meta VALUES ('schema_version', 1)";
char const compatibleRow[] = "INSERT INTO pcd_meta VALUES ('schema_compatibility_version', 1)";
char const createItems[] = "CREATE TABLE items (name TEXT PRIMARY KEY, amount INT, note TEXT)";
char const createTrigger[] = "CREATE TRIGGER refuse BEFORE UPDATE ON items WHEN NEW.amount < 0 "
                             "BEGIN SELECT RAISE(ABORT, 'refuse: amount is negative.'); END";

char const* const first[] = {createMeta, versionRow, compatibleRow, createItems, createTrigger, nullptr};
char const* const second[] = {"UPDATE pcd_meta SET value = 2 WHERE key = 'schema_version'",
                              "ALTER TABLE items ADD COLUMN unit TEXT", nullptr};
char const* const lengthy[] = {
    "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 200000) "
    "SELECT count(*) FROM n",
    second[0], nullptr};
char const* const broken[] = {"INSERT INTO items (name) VALUES ('half')", "no such statement", nullptr};
char const* const deferred[] = {"PRAGMA foreign_keys = OFF", "CREATE TABLE half (x)",
                                "CREATE TABLE other (x)", nullptr};

StatementList const twoVersions[] = {first, second, nullptr};
StatementList const lengthySecond[] = {first, lengthy, nullptr};
StatementList const brokenFirst[] = {broken, second, nullptr};
StatementList const brokenSecond[] = {first, broken, nullptr};
StatementList const oneVersion[] = {first, nullptr};
StatementList const harmless[] = {deferred, nullptr};

std::string const file = "/db/file.db";

class DataStore : public ScratchRootTest
{
protected:
    std::unique_ptr<VeskiDataStore> open(SchemaFamily family = twoVersions,
                                         schemaType type = kSchemaTypeStandard)
    {
        return std::make_unique<VeskiDataStore>("/db", "file.db", family, false, false, type);
    }
};

TEST_F(DataStore, SchemaIsBroughtUpToDateOrRefused)
{
    // clang-format off
    std::string const one = std::string(createMeta) + ";" + versionRow + ";" + compatibleRow + ";" + createItems + ";";
    std::string const meta = "SELECT value FROM pcd_meta ORDER BY key DESC", of = "UPDATE pcd_meta SET value = ";
    std::string manyTables = one;
    for (int number = 0; number < 500; ++number) { manyTables += "CREATE TABLE another" + std::to_string(number) + " (x);"; }
    std::string const leftOver = "SELECT value FROM pcd_meta UNION ALL SELECT name FROM items";
    struct { char const* name; std::string before; SchemaFamily family; int32_t status; std::string query, after; } const cases[] = {
        // SQL to run before opening (empty: no file); a query to run afterwards and its result
        {"new", "", twoVersions, kVeskOK, meta, "2,1"},
        {"upgrade", one, twoVersions, kVeskOK, "SELECT count(*) - count(unit) FROM items", "0"},
        {"upgrade among many tables", manyTables, twoVersions, kVeskOK, meta, "2,1"},
        {"version 1 fails", "", brokenFirst, kVeskOK, "SELECT * FROM sqlite_master", ""},
        {"version 2 of a new file fails", "", brokenSecond, kVeskFailed, leftOver, "1,1"},
        {"version 2 of an old file fails", one, brokenSecond, kVeskOK, leftOver, "1,1"},
        {"no version 2 in the family", "", oneVersion, kVeskNeedsRestore, meta, "1,1"},
        {"too new", one + of + "3", twoVersions, kVeskSchemaTooNew, meta, "3,3"},
        {"newer but compatible", one + of + "5 WHERE key = 'schema_version'", twoVersions, kVeskOK, meta, "5,1"},
        {"no compatibility row", one + of + "2; DELETE FROM pcd_meta WHERE key LIKE '%comp%'", twoVersions, kVeskNotFound, meta, "2"},
        {"no version table", createItems, twoVersions, kVeskOK, "SELECT name FROM sqlite_master WHERE type = 'table'", "items"},
        {"a huge version", one + of + "99999999999999999999 WHERE key = 'schema_version'", twoVersions, kVeskOK, "SELECT count(*) FROM pcd_meta", "2"},
        {"a negative version", one + of + "-5 WHERE key = 'schema_version'", twoVersions, kVeskOK, meta, "-5,1"},
    };
    // clang-format on
    for (auto const& each : cases) {
        SCOPED_TRACE(each.name);
        root.renew();
        makeFolders("/db");
        EXPECT_EQ(each.before.empty() ? "" : rows(file, each.before), "");
        auto const store = open(each.family);
        EXPECT_EQ(store->status, each.status);
        EXPECT_EQ(store->db != nullptr, each.status == kVeskOK);
        EXPECT_EQ(rows(file, each.query), each.after);
        EXPECT_EQ(rows(file, "BEGIN EXCLUSIVE"), ""); // no lock is left
    }
    for (auto const& [type, version] : {std::pair(kSchemaTypeStandard, 2),
                                        {kSchemaTypePayload, 1},
                                        {kSchemaTypeReserved, 1},
                                        {static_cast<schemaType>(77), 2}}) {
        EXPECT_EQ(newestSchemaVersion(type), version);
    }
}

TEST_F(DataStore, OpeningDependsOnWhatThePathNames)
{
    makeFolders(file);
    EXPECT_EQ(open()->status, kVeskFailed);
    EXPECT_EQ(
        VeskiDataStore("/db", std::string(1024, 'n'), twoVersions, false, false, kSchemaTypeStandard).status,
        kVeskInvalidArgument);
    writeFile("/file", "");
    EXPECT_EQ(VeskiDataStore("/file/db", "n", twoVersions, false, false, kSchemaTypeStandard).status,
              kVeskIOError);
    root.renew();
    writeFile(file, std::string(5000, '?'));
    auto const store = open();
    EXPECT_EQ(store->status, kVeskOK); // SQLite reads the file only later, and version 1 may fail
    EXPECT_EQ(store->queryNR("SELECT 1 FROM items"), kVeskIOError);
    EXPECT_EQ(readFile(file), std::string(5000, '?'));
    if (canBecomeOrdinaryUser()) {
        root.renew();
        asOrdinaryUser([&] { EXPECT_EQ(open()->status, kVeskAccessDenied); });
        EXPECT_FALSE(exists("/db"));
        writeFile(file, "");
        chmod(file.c_str(), 0600);
        asOrdinaryUser([&] { EXPECT_EQ(open()->status, kVeskAccessDenied); });
    }
}

TEST_F(DataStore, SchemaVersionsAreLoadedOneByOne)
{
    EXPECT_EQ(open(lengthySecond)->status, kVeskOK); // only reading a file's versions is limited
    root.renew();
    auto const store = open(oneVersion, kSchemaTypePayload);
    for (int version : {0, -1, INT32_MIN}) {
        EXPECT_EQ(store->loadSchema(version), kVeskInvalidArgument);
    }
    EXPECT_EQ(store->loadSchema(2), kVeskNeedsRestore);
    EXPECT_EQ(store->loadSchema(1), kVeskFailed); // its tables exist
    EXPECT_NE(sqlite3_get_autocommit(store->db), 0);

    // With another connection reading, the statements succeed and the COMMIT fails.
    store->schemaLists = harmless;
    sqlite3_busy_timeout(store->db, 1);
    sqlite3* reader = nullptr;
    ASSERT_EQ(sqlite3_open(file.c_str(), &reader), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(reader, "BEGIN; SELECT * FROM pcd_meta", nullptr, nullptr, nullptr), SQLITE_OK);
    EXPECT_EQ(store->loadSchema(1), kVeskBusy);
    sqlite3_close(reader);
    EXPECT_NE(sqlite3_get_autocommit(store->db), 0);
    EXPECT_EQ(rows(file, "BEGIN EXCLUSIVE; SELECT name FROM sqlite_master WHERE name = 'half'"), "");
}

TEST_F(DataStore, NotOpenStoresDoNothing)
{
    VeskiDataStore unopened;
    auto const closed = open();
    EXPECT_EQ(closed->dbClose(), kVeskOK);
    makeFolders("/file.db");
    VeskiDataStore failed("/", "file.db", twoVersions, false, false, kSchemaTypeStandard);
    failed.status = kVeskAccessDenied;
    for (VeskiDataStore* store : {&unopened, closed.get(), &failed}) {
        int32_t const status = store == &failed ? kVeskAccessDenied : kVeskFailed;
        EXPECT_EQ(store->commit(), kVeskOK);
        EXPECT_EQ(store->rollback(), kVeskOK);
        EXPECT_EQ(store->dbClose(), kVeskOK);
        EXPECT_EQ(store->loadSchema(1), kVeskFailed);
        char const* value = nullptr;
        EXPECT_EQ(store->querySingle(&value, "SELECT 1"), kVeskNotFound);
        EXPECT_EQ(value, empty_string);
        EXPECT_EQ(store->queryNR("INSERT INTO items (name) VALUES ('%q')", "a"), status);
        EXPECT_EQ(store->queryNR("select 1"), status);
        EXPECT_EQ(store->status, status);
    }
}

TEST_F(DataStore, TheFirstChangeOpensTheTransaction)
{
    auto const store = open();
    ASSERT_EQ(store->queryNR("INSERT INTO items (name) VALUES ('seed')"), kVeskOK);
    ASSERT_EQ(store->commit(), kVeskOK);
    std::pair<char const*, bool> const cases[] = {
        {"INSERT OR REPLACE INTO items (name, amount) VALUES ('seed', 1)", true},
        {"UPDATE items SET amount = 2", true},
        {"DELETE FROM items WHERE name = 'none'", true},
        {" UPDATE items SET amount = 3", false},
        {"update items SET amount = 4", false},
        {"UPDATE\titems SET amount = 5", false},
        {"REPLACE INTO items (name, amount) VALUES ('seed', 6)", false},
        {"SELECT * FROM items", false},
        {"CREATE TABLE other (x)", false},
    };
    for (auto const& [statement, opens] : cases) {
        SCOPED_TRACE(statement);
        EXPECT_EQ(store->queryNR(statement), kVeskOK);
        EXPECT_EQ(sqlite3_get_autocommit(store->db) == 0, opens);
        // A second connection sees the change once it is committed, and not before.
        auto const seen = rows(file, "SELECT amount FROM items");
        EXPECT_EQ(store->commit(), kVeskOK);
        EXPECT_EQ(rows(file, "SELECT amount FROM items") != seen, opens && strstr(statement, "amount"));
    }
    store->noAutoBegin = true;
    EXPECT_EQ(store->queryNR("UPDATE items SET amount = 9"), kVeskOK);
    EXPECT_EQ(rows(file, "SELECT amount FROM items"), "9");
    store->noAutoBegin = false;
    EXPECT_EQ(store->queryNR("UPDATE items SET amount = 10"), kVeskOK);
    EXPECT_EQ(store->rollback(), kVeskOK);
    EXPECT_EQ(store->rollback(), kVeskOK);
    // Without a transaction, nothing is changed.
    auto const denyTransactions = [](void*, int action, char const*, char const*, char const*, char const*) {
        return action == SQLITE_TRANSACTION ? SQLITE_DENY : SQLITE_OK;
    };
    sqlite3_set_authorizer(store->db, denyTransactions, nullptr);
    EXPECT_EQ(store->queryNR("UPDATE items SET amount = 11"), kVeskAccessDenied);
    sqlite3_set_authorizer(store->db, nullptr, nullptr);
    EXPECT_EQ(store->queryNR("UPDATE items SET amount = 12"), kVeskOK);
    EXPECT_EQ(store->dbClose(), kVeskOK); // closing commits nothing
    EXPECT_EQ(rows(file, "SELECT amount FROM items"), "9");
}

TEST_F(DataStore, ARefusedRowLeavesTheTransactionOpen)
{
    auto const store = open();
    ASSERT_EQ(store->queryNR("INSERT INTO items (name, amount) VALUES ('%q', %d)", "it's", 1), kVeskOK);
    EXPECT_EQ(store->queryNR("UPDATE items SET amount = -1"), kVeskConstraint);
    EXPECT_EQ(store->queryNR("INSERT INTO items (name) VALUES ('it''s')"), kVeskConstraint);
    EXPECT_EQ(sqlite3_get_autocommit(store->db), 0);
    EXPECT_EQ(store->queryNR("INSERT INTO nowhere VALUES (1)"), kVeskError);
    EXPECT_EQ(store->commit(), kVeskOK);
    EXPECT_EQ(rows(file, "SELECT name, amount FROM items"), "it's,1");
}

TEST_F(DataStore, ResultsAreCompleteAndOutliveTheConnection)
{
    auto const store = open();
    ASSERT_EQ(store->queryNR("INSERT INTO items VALUES ('a', 1, NULL, 'kg'), ('b', NULL, '', 'm')"), kVeskOK);
    char const** list = nullptr;
    ASSERT_EQ(store->queryList(&list, "SELECT name, amount, note FROM items ORDER BY name"), kVeskOK);
    char const* value = nullptr;
    ASSERT_EQ(store->querySingle(&value, "SELECT name FROM items ORDER BY name DESC"), kVeskOK);
    ASSERT_EQ(store->dbClose(), kVeskOK);
    char const* const expected[] = {"a", "1", nullptr, "b", nullptr, "", nullptr};
    for (size_t entry = 0; entry < std::size(expected); ++entry) {
        EXPECT_STREQ(list[entry], expected[entry]) << entry;
    }
    EXPECT_STREQ(value, "b");
}

TEST_F(DataStore, EmptyNullAndFailedResults)
{
    auto const store = open();
    ASSERT_EQ(store->queryNR("INSERT INTO items (name) VALUES ('a')"), kVeskOK);
    // clang-format off
    struct { char const* statement; int32_t single, list; char const* value; } const cases[] = {
        {"SELECT name FROM items WHERE name = 'none'", kVeskNotFound, kVeskNotFound, nullptr},
        {"SELECT amount FROM items", kVeskNotFound, kVeskOK, nullptr},
        {"SELECT nothing FROM items", kVeskError, kVeskError, empty_string},
        {"SELECT abs(-9223372036854775808)", kVeskError, kVeskError, nullptr},
        {"SELECT name, abs(-9223372036854775808) FROM items", kVeskError, kVeskError, nullptr},
        {"", kVeskError, kVeskError, nullptr},
    };
    // clang-format on
    for (auto const& each : cases) {
        SCOPED_TRACE(each.statement);
        char const* value = "before";
        EXPECT_EQ(store->querySingle(&value, each.statement), each.single);
        EXPECT_EQ(value, each.value);
        char const** list = nullptr;
        EXPECT_EQ(store->queryList(&list, each.statement), each.list);
        EXPECT_EQ(list == empty_list, each.list != kVeskOK);
        EXPECT_EQ(sqlite3_next_stmt(store->db, nullptr), nullptr); // none outlives its call
    }
    EXPECT_EQ(store->querySingle(nullptr, "DELETE FROM items"), kVeskInvalidArgument);
    EXPECT_EQ(store->queryList(nullptr, "DELETE FROM items"), kVeskInvalidArgument);
    char const* value = nullptr;
    EXPECT_EQ(store->querySingle(&value, "SELECT count(*) FROM items"), kVeskOK);
    EXPECT_STREQ(value, "1");
}

TEST_F(DataStore, ResultCodesBecomeStatuses)
{
    int const statuses[] = {0, 12, 12, 11, 12, 14, 12, 3,  11, 12,
                            4, 4,  8,  4,  11, 12, 8,  12, 12, 6}; // of codes 0 to 19
    for (int code = 0; code < int(std::size(statuses)); ++code) {
        EXPECT_EQ(veskiSQLiteErrorMap(code), statuses[code]) << code;
    }
    int const others[][2] = {{SQLITE_AUTH, 11}, {SQLITE_NOTADB, 4}, {SQLITE_ROW, 0},
                             {SQLITE_DONE, 0},  {99, 12},           {-1, 12}};
    for (auto const& each : others) {
        EXPECT_EQ(veskiSQLiteErrorMap(each[0]), each[1]) << each[0];
    }
}

} // namespace
