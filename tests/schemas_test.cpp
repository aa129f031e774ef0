// The tables and triggers that new files get, and the catalogue's way from version 1 to version 2.
#include "libdolmvesk/pcd_compat.h"
#include "libdolmvesk/schemas.h"
#include "tests/support/database_file.h"
#include "tests/support/scratch_root.h"
#include "tests/support/stores.h"

#include <sqlite3.h>

using namespace testing_support;
using Texts = std::vector<std::string>;

namespace {

class StoreSchemas : public ScratchRootTest
{
};

std::string const upgrades =
    "SELECT payloadIDOriginal || payloadIDUpgraded FROM upgraded_payloads ORDER BY 1";

TEST_F(StoreSchemas, NewFilesHoldTheirTables)
{
    opened(veskOpenSession);
    opened(pcdOpenSession);
    // Columns that are no text name their type; "!" is NOT NULL; a number is the place in the primary key.
    std::string const columns =
        "SELECT t.name || ':' || (SELECT group_concat(' ' || c.name || replace(' ' || c.type, ' TEXT', '') ||"
        " substr('!', 1, c.\"notnull\") || replace(c.pk, 0, '') || coalesce('=' || c.dflt_value, ''))"
        " FROM pragma_table_info(t.name) AS c) FROM sqlite_master AS t WHERE type = 'table' ORDER BY t.rowid;";
    Texts tables{
        "pcd_meta: key!1, value!",
        "dolm_payload: payloadID!1, productFamily!, productName!, version!, signature!",
        "dolm_collection: collectionID!1, collectionPayloadID!, tsInstalled INT, tsModified INT",
        "dolm_collection_payload: collectionID!1, payloadID!2, installState INT!=0, tsInstalled INTEGER",
        "dolm_payload_constraint: payloadID!1, payloadIDb!2, constraintType INTEGER!3",
        "collection_data: collectionID!1, domain!2, key!3, value",
        "payload_data: payloadID!1, domain!2, key!3, value",
        "upgraded_payloads: payloadIDOriginal!1, payloadIDUpgraded!"};
    EXPECT_EQ(sql(catalogueFile, columns), tables);
    tables[1] = "dolm_payload: payloadID!1, productFamily!, productName!, version!";
    tables[7] = "domain_data: domain!1, subDomain!2, key!3, value";
    EXPECT_EQ(sql(masterFile, columns), tables);
    EXPECT_EQ(sql(cacheFile, columns), (Texts{tables[0], tables[7]}));

    std::string const counts = "SELECT count(*) FROM sqlite_master WHERE type = 'trigger'; "
                               "SELECT key || ' ' || value FROM pcd_meta ORDER BY key DESC";
    EXPECT_EQ(sql(catalogueFile, counts),
              (Texts{"13", "schema_version 2", "schema_compatibility_version 1"}));
    EXPECT_EQ(sql(masterFile, counts), (Texts{"11", "schema_version 1", "schema_compatibility_version 1"}));
    EXPECT_EQ(sql(cacheFile, counts), (Texts{"0", "schema_version 1", "schema_compatibility_version 1"}));

    // What two families share is the same to the blank, and only one text has a blank doubled.
    auto const differences = [](std::string const& file, std::string const& other) {
        return sql(file, "ATTACH '" + other +
                             "' AS other; SELECT name FROM main.sqlite_master WHERE sql "
                             "NOT IN (SELECT sql FROM other.sqlite_master WHERE sql NOT NULL)");
    };
    EXPECT_EQ(differences(cacheFile, masterFile), Texts{});
    EXPECT_EQ(differences(masterFile, catalogueFile),
              (Texts{"dolm_payload", "domain_data", "ctd_dolm_payload", "ctd_dolm_collection"}));
    std::string const blanks = "SELECT name FROM sqlite_master WHERE sql GLOB '*  *' OR sql GLOB '*[\t\n]*'";
    EXPECT_EQ(sql(catalogueFile, blanks), Texts{});
    EXPECT_EQ(sql(masterFile, blanks), Texts{"ctd_dolm_collection"});
}

TEST_F(StoreSchemas, TriggersGuardTheRows)
{
    char const inUse[] = "ctd_dolm_collection_payload: Payload must be marked as uninstalled before removing";
    std::string const refusals[][2] = {
        // a statement and its message, " is invalid." left out

        {"INSERT INTO collection_data VALUES ('X', 'd', 'k', 'v')", "cti_collection_data: collectionID"},
        {"UPDATE collection_data SET collectionID = 'X'", "ctu_collection_data: collectionID"},
        {"INSERT INTO payload_data VALUES ('X', 'd', 'k', 'v')", "cti_payload_data: payloadID"},
        {"UPDATE payload_data SET payloadID = 'X'", "ctu_payload_data: payloadID"},
        {"INSERT INTO dolm_collection_payload VALUES ('X', 'X', 0, 1)", // the collection is tested first
         "cti_dolm_collection_payload: collectionID"},
        {"INSERT INTO dolm_collection_payload VALUES ('C', 'X', 0, 1)",
         "cti_dolm_collection_payload: payloadID"},
        {"UPDATE dolm_collection_payload SET collectionID = 'X', payloadID = 'X'",
         "ctu_dolm_collection_payload: collectionID"},
        {"UPDATE dolm_collection_payload SET payloadID = 'X'", "ctu_dolm_collection_payload: payloadID"},
        {"DELETE FROM dolm_collection_payload", inUse},
        {"DELETE FROM dolm_collection", inUse},
        {"DELETE FROM dolm_payload", inUse},
        {"INSERT INTO dolm_payload_constraint VALUES ('X', 'P', 1)",
         "cti_dolm_payload_constraint: payloadID"},
        {"UPDATE dolm_payload_constraint SET payloadID = 'X'", "ctu_dolm_payload_constraint: payloadID"},
    };
    std::string const fill =
        "INSERT INTO dolm_collection VALUES ('C', 'P', 1, 1);"
        "INSERT INTO dolm_collection_payload VALUES ('C', 'P', 1, 1);"
        "INSERT INTO dolm_collection_payload (collectionID, payloadID) VALUES ('C', 'Q');"
        "INSERT INTO dolm_payload_constraint VALUES ('P', 'Q', 1), ('Q', 'P', 1);"
        "INSERT INTO collection_data VALUES ('C', 'd', 'k', 'v');"
        "INSERT INTO payload_data VALUES ('P', 'd', 'k', 'v'), ('Q', 'd', 'k', 'v')";
    std::string const everything =
        "SELECT 'payload', payloadID FROM dolm_payload; SELECT 'in', collectionID FROM dolm_collection;"
        "SELECT collectionID || payloadID || installState FROM dolm_collection_payload;"
        "SELECT 'constraint', payloadID FROM dolm_payload_constraint;"
        "SELECT 'data', collectionID FROM collection_data; SELECT 'data', payloadID FROM payload_data";
    for (bool const isCatalogue : {true, false}) {
        SCOPED_TRACE(isCatalogue);
        std::string const& file = isCatalogue ? catalogueFile : masterFile;
        auto const session = opened(isCatalogue ? veskOpenSession : pcdOpenSession);
        ASSERT_EQ(sql(file, "INSERT INTO dolm_payload SELECT *, 0, 0, 0" +
                                std::string(isCatalogue ? ", 0" : "") +
                                " FROM (VALUES ('P'), ('Q'), ('R'), ('S'));" + fill),
                  Texts{});
        Texts const before = sql(file, everything);
        for (auto const& each : refusals) {
            EXPECT_EQ(session->store->queryNR("%s", each[0].c_str()), kVeskConstraint) << each[0];
            EXPECT_EQ(sqlite3_errmsg(session->store->db), each[1] + (each[1] == inUse ? "" : " is invalid."));
        }
        EXPECT_EQ(veskSessionCommit(session.get()), kVeskOK);
        EXPECT_EQ(sql(file, everything), before);

        if (isCatalogue) {
            sql(file, "INSERT INTO upgraded_payloads VALUES ('R', 'Q'), ('S', 'P'), ('Q', 'P')");
        }
        sql(file, "DELETE FROM dolm_payload WHERE payloadID = 'Q'");
        EXPECT_EQ(sql(file, everything), (Texts{"payload", "P", "payload", "R", "payload", "S", "in", "C",
                                                "CP1", "constraint", "P", "data", "C", "data", "P"}));
        EXPECT_EQ(sql(file, upgrades),
                  isCatalogue ? Texts{"SP"} : Texts{"error: no such table: upgraded_payloads"});
        sql(file, "UPDATE dolm_collection_payload SET installState = 0; DELETE FROM dolm_collection");
        // The catalogue keeps payloads without a collection; the master store removes all there are.
        Texts const kept{"payload", "P", "payload", "R", "payload", "S", "constraint", "P", "data", "P"};
        EXPECT_EQ(sql(file, everything), isCatalogue ? kept : Texts{});
    }
}

TEST_F(StoreSchemas, ChainsOfUpgradesAreShortened)
{
    // As many links as ten rounds of doubling reach, and 76 more; and a chain whose rows lie in no order.
    StatementList const versionOne[] = {gVeskSchemas[0], nullptr};
    VeskiDataStore const old(databaseRoot + "vesk", "vesk.db", versionOne, false, false, kSchemaTypePayload);
    ASSERT_EQ(old.status, kVeskOK);
    sql(catalogueFile, "WITH RECURSIVE n(i) AS (SELECT 1000 UNION ALL SELECT i + 1 FROM n WHERE i < 2099) "
                       "INSERT INTO upgraded_payloads SELECT i, i + 1 FROM n;"
                       "INSERT INTO upgraded_payloads VALUES ('c', 'd'), ('a', 'b'), ('b', 'c'), ('y', 'z')");
    opened(veskOpenSession);
    EXPECT_EQ(sql(catalogueFile,
                  "SELECT max(payloadIDUpgraded - payloadIDOriginal), count(*), "
                  "sum(payloadIDUpgraded = '2100') FROM upgraded_payloads WHERE rowid <= 1100"),
              (Texts{"1024", "1100", "1024"}));
    EXPECT_EQ(sql(catalogueFile, upgrades + " DESC LIMIT 4"), (Texts{"yz", "cd", "bd", "ad"}));
    EXPECT_EQ(sql(catalogueFile, "SELECT value FROM pcd_meta"), (Texts{"2", "1"}));

    struct
    {
        char const* statements;
        Texts after;
    } const cases[] = {
        {"INSERT INTO upgraded_payloads VALUES ('2', '3'), ('1', '2')", {"13", "23"}},
        {"INSERT INTO upgraded_payloads VALUES ('1', '2'), ('2', '3')", {"12", "23"}}, // older rows stay
        {"INSERT INTO upgraded_payloads VALUES ('1', '9'), ('2', '3'), ('3', '4');"
         "UPDATE upgraded_payloads SET payloadIDUpgraded = '2' WHERE payloadIDOriginal = '1'",
         {"13", "23", "34"}}, // one step: no trigger fires itself
    };
    for (auto const& each : cases) {
        root.renew();
        auto const session = opened(veskOpenSession);
        EXPECT_EQ(sqlite3_exec(session->store->db, each.statements, nullptr, nullptr, nullptr), SQLITE_OK);
        EXPECT_EQ(sql(catalogueFile, upgrades), each.after);
    }
}

} // namespace
