// The tables and triggers that new files get, and the catalogue's way from version 1 to version 2.
#include "libdolmvesk/pcd_compat.h"
#include "libdolmvesk/schemas.h"
#include "tests/support/stores.h"

using namespace testing_support;

namespace {

std::string const mediaFile = "/media/media.db";
std::string const upgrades =
    "SELECT payloadIDOriginal || payloadIDUpgraded FROM upgraded_payloads ORDER BY 1";

class StoreSchemas : public ScratchRootTest
{
protected:
    StoreSchemas()
    {
        for (auto const open : {veskOpenSession, pcdOpenSession, pdbOpenSession}) {
            opened(open);
        }
        VeskiDataStore const media("/media", "media.db", gMdbSchemas, false, false, kSchemaTypePayload);
    }
};

TEST_F(StoreSchemas, NewFilesHoldTheirTables)
{
    // clang-format off
    struct { std::string file, sizes, versions; } const cases[] = {
        // tables, their columns, those NOT NULL, the sum of their places in primary keys; triggers; all texts' length
        {catalogueFile, "8,28,23,25,13,5618", "2,1"},
        {masterFile, "8,29,23,30,11,4812", "1,1"},
        {cacheFile, "2,6,5,7,0,226", "1,1"},
        {payloadFile, "7,23,16,15,5,2154", "1,1"},
        {mediaFile, "6,24,20,35,6,2467", "error: no such table: pcd_meta"},
    };
    // clang-format on
    std::string const sizes =
        "SELECT count(DISTINCT t.rowid), count(*), sum(c.\"notnull\"), sum(c.pk) FROM sqlite_master AS t, "
        "pragma_table_info(t.name) AS c WHERE t.type = 'table'; SELECT sum(type = 'trigger'), sum(length(sql)) FROM sqlite_master";
    for (auto const& each : cases) {
        EXPECT_EQ(rows(each.file, sizes), each.sizes);
        EXPECT_EQ(rows(each.file, "SELECT value FROM pcd_meta ORDER BY key DESC"), each.versions);
    }
    EXPECT_EQ(rows(payloadFile, "SELECT type || description FROM dependency_type ORDER BY type"),
              "0Conflicts,1Upgrades,2Requires,3Required,4Critical,5Recommended,6loadPatch,7loadLangPack");
    EXPECT_EQ(
        rows(payloadFile, "SELECT sql GLOB '*TEXT ,\tinstall*' FROM sqlite_master WHERE sql GLOB '*\t*'"),
        "1");
}

TEST_F(StoreSchemas, TriggersGuardTheRows)
{
    std::string const fill =
        ", 0, 0, 0 FROM (VALUES ('P'), ('Q'), ('R'), ('S')); INSERT INTO dolm_collection VALUES ('C', 'P', 1, 1);"
        "INSERT INTO dolm_collection_payload VALUES ('C', 'P', 1, 1), ('C', 'Q', 0, 1);"
        "INSERT INTO dolm_payload_constraint VALUES ('P', 'Q', 1), ('Q', 'P', 1);"
        "INSERT INTO collection_data VALUES ('C', 'd', 'k', 'v');"
        "INSERT INTO payload_data VALUES ('P', 'd', 'k', 'v'), ('Q', 'd', 'k', 'v')";
    sql(catalogueFile, "INSERT INTO dolm_payload SELECT *, 0" + fill);
    sql(catalogueFile, "INSERT INTO upgraded_payloads VALUES ('R', 'Q'), ('S', 'P'), ('Q', 'P')");
    sql(masterFile, "INSERT INTO dolm_payload SELECT *" + fill);
    sql(payloadFile,
        "INSERT INTO payloads (PayloadID) VALUES ('A'), ('B'); INSERT INTO upgraded_payloads VALUES "
        "('B', 'A'); INSERT INTO dependencies VALUES ('A', 'B', 0), ('B', 'A', 0); INSERT INTO "
        "payload_data VALUES ('A', 0, 'k', 'v'), ('B', 0, 'k', 'v')");
    sql(mediaFile,
        "INSERT INTO Suites VALUES ('S', '', '', ''), ('T', '', '', ''); INSERT INTO Payloads VALUES "
        "('A', '', '', '', ''), ('B', '', '', '', ''); INSERT INTO SuitePayloads VALUES ('S', 'B'), "
        "('T', 'A'), ('T', 'B'); INSERT INTO Branding VALUES ('S', '', ''), ('T', '', '');"
        "INSERT INTO PayloadData VALUES ('A', 0, '', ''), ('B', 0, '', '');"
        "INSERT INTO DependencyData (PayloadID, type) VALUES ('A', 0), ('B', 0)");
    Texts const recordFiles{catalogueFile, masterFile};
    // clang-format off
    struct { Texts files; std::string table, columns, values, refused; } const refusals[] = {
        {recordFiles, "collection_data", "(collectionID)", "('X')", "collectionID"},
        {recordFiles, "payload_data", "(payloadID)", "('X')", "payloadID"},
        {recordFiles, "dolm_payload_constraint", "(payloadID)", "('X')", "payloadID"},
        {recordFiles, "dolm_collection_payload", "(collectionID, payloadID)", "('X', 'X')", "collectionID"},
        {recordFiles, "dolm_collection_payload", "(collectionID, payloadID)", "('C', 'X')", "payloadID"},
        {{payloadFile}, "dependencies", "(PayloadID)", "('X')", "PayloadID"},
        {{payloadFile}, "payload_data", "(PayloadID)", "('X')", "PayloadID"},
        {{mediaFile}, "DependencyData", "(PayloadID)", "('X')", "PayloadID"},
        {{mediaFile}, "PayloadData", "(PayloadID)", "('X')", "PayloadID"},
    };
    // clang-format on
    auto const check = [](std::string const& file, auto const& row) {
        auto const& [files, table, columns, values, refused] = row;
        std::string const why = "_" + table + ": " + refused + " is invalid.";
        EXPECT_EQ(rows(file, "INSERT INTO " + table + columns + " VALUES " + values), "error: cti" + why);
        EXPECT_EQ(rows(file, "UPDATE " + table + " SET " + columns + " = " + values), "error: ctu" + why);
    };
    for (auto const& row : refusals) {
        for (auto const& file : row.files) {
            check(file, row);
        }
    }
    // clang-format off
    std::string const inUse = "error: ctd_dolm_collection_payload: Payload must be marked as uninstalled before removing";
    std::string const removal = "UPDATE dolm_collection_payload SET installState = 0; DELETE FROM dolm_collection";
    std::string const records =
        "SELECT payloadID FROM dolm_payload; SELECT 'in' || collectionID FROM dolm_collection; SELECT 'constraint', payloadID FROM "
        "dolm_payload_constraint; SELECT collectionID || payloadID || installState FROM dolm_collection_payload;"
        "SELECT 'data', collectionID FROM collection_data; SELECT 'data', payloadID FROM payload_data";
    std::string const payloads = "SELECT PayloadID FROM dependencies; SELECT PayloadID FROM payload_data; SELECT 'kept' FROM upgraded_payloads";
    std::string const media = "SELECT ProductID || PayloadID FROM SuitePayloads; SELECT PayloadID FROM PayloadData; "
                              "SELECT PayloadID FROM DependencyData; SELECT ProductID FROM Branding";
    struct { std::string file, statement, result, query, left; } const removals[] = {
        {masterFile, "DELETE FROM dolm_collection_payload", inUse, "", ""},
        {masterFile, "DELETE FROM dolm_collection", inUse, "", ""},
        {masterFile, "DELETE FROM dolm_payload", inUse, "", ""},
        {masterFile, "DELETE FROM dolm_payload WHERE payloadID = 'Q'", "", records, "P,R,S,inC,constraint,P,CP1,data,C,data,P"},
        {masterFile, removal, "", records, ""}, // the master store removes all payloads, in a collection or not
        {catalogueFile, "DELETE FROM dolm_collection_payload", inUse, "", ""},
        {catalogueFile, "DELETE FROM dolm_collection", inUse, "", ""},
        {catalogueFile, "DELETE FROM dolm_payload", inUse, upgrades, "QP,RQ,SP"},
        {catalogueFile, "DELETE FROM dolm_payload WHERE payloadID = 'Q'", "", records, "P,R,S,inC,constraint,P,CP1,data,C,data,P"},
        {catalogueFile, removal, "", records, "P,R,S,constraint,P,data,P"}, // and the catalogue none
        {payloadFile, "DELETE FROM payloads WHERE PayloadID = 'A'", "", payloads, "B,B,kept"},
        {mediaFile, "DELETE FROM Suites WHERE ProductID = 'S'", "", media, "TA,TB,A,B,A,B,T"},
        {mediaFile, "DELETE FROM Payloads WHERE PayloadID = 'A'", "", media, "TB,B,B,T"},
    };
    // clang-format on
    for (auto const& each : removals) {
        SCOPED_TRACE(each.file + ": " + each.statement);
        EXPECT_EQ(rows(each.file, each.statement), each.result);
        EXPECT_EQ(rows(each.file, each.query), each.left);
    }
    EXPECT_EQ(rows(catalogueFile, upgrades), "SP");
}

TEST_F(StoreSchemas, ChainsOfUpgradesAreShortened)
{
    // As many links as ten rounds of doubling reach, and 76 more; and a chain whose rows lie in no order.
    root.renew();
    StatementList const versionOne[] = {gVeskSchemas[0], nullptr};
    VeskiDataStore const old(databaseRoot + "vesk", "vesk.db", versionOne, false, false, kSchemaTypePayload);
    sql(catalogueFile, "WITH RECURSIVE n(i) AS (SELECT 1000 UNION ALL SELECT i + 1 FROM n WHERE i < 2099) "
                       "INSERT INTO upgraded_payloads SELECT i, i + 1 FROM n;"
                       "INSERT INTO upgraded_payloads VALUES ('c', 'd'), ('a', 'b'), ('b', 'c'), ('y', 'z')");
    opened(veskOpenSession);
    std::string const numbered =
        "SELECT max(payloadIDUpgraded - payloadIDOriginal), count(*), sum(payloadIDUpgraded = '2100') "
        "FROM upgraded_payloads WHERE rowid <= 1100";
    EXPECT_EQ(rows(catalogueFile, numbered), "1024,1100,1024");
    EXPECT_EQ(rows(catalogueFile, upgrades + " DESC LIMIT 4"), "yz,cd,bd,ad");
    EXPECT_EQ(rows(catalogueFile, "SELECT value FROM pcd_meta"), "2,1");
    // clang-format off
    struct { char const *inserted, *after; } const cases[] = {
        {"('2', '3'), ('1', '2')", "13,23"},
        {"('1', '2'), ('2', '3')", "12,23"}, // older rows stay
        {"('1', '9'), ('2', '3'), ('3', '4'); UPDATE upgraded_payloads SET payloadIDUpgraded = '2' WHERE "
         "payloadIDOriginal = '1'", "13,23,34"}, // one step: no trigger fires itself
    };
    // clang-format on
    for (auto const& [inserted, after] : cases) {
        sql(catalogueFile,
            "DELETE FROM upgraded_payloads; INSERT INTO upgraded_payloads VALUES " + std::string(inserted));
        EXPECT_EQ(rows(catalogueFile, upgrades), after);
    }
}

} // namespace
