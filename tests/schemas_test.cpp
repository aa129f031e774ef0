// The tables and triggers of new files, and the catalogue's upgrade from version 1 to version 2.
#include "libdolmvesk/schemas.h"
#include "tests/support/stores.h"

using namespace testing_support;

namespace {

using StoreSchemas = ScratchRootTest;

/// FNV-1a of the statements that created a file's tables and triggers. They must never change, not even in white space.
uint64_t digestOf(std::string const& file)
{
    uint64_t digest = 0xCBF29CE484222325;
    for (char const byte : rows(file, "SELECT sql FROM sqlite_master")) {
        digest = (digest ^ static_cast<unsigned char>(byte)) * 0x100000001B3;
    }
    return digest;
}

TEST_F(StoreSchemas, NewFilesHoldTheirTablesAndTriggers)
{
    for (auto const& store : stores) {
        opened(store.open);
    }
    VeskiDataStore const media("/media", "media.db", gMdbSchemas, false, false, kSchemaTypePayload);
    struct
    {
        std::string file, versions;
        uint64_t digest;
    } const cases[] = {
        {catalogueFile, "2,1", 0x72331B04B0C6251E},
        {masterFile, "1,1", 0x9672C6A6D13331C0},
        {cacheFile, "1,1", 0x3A951E9D85F7763},
        {payloadFile, "1,1", 0x83F14A0F78D1B282},
        {"/media/media.db", "error: no such table: pcd_meta", 0x7C410C5158D44FEC},
    };
    for (auto const& each : cases) {
        EXPECT_EQ(digestOf(each.file), each.digest) << each.file;
        EXPECT_EQ(rows(each.file, "SELECT value FROM pcd_meta ORDER BY key DESC"), each.versions);
    }
    EXPECT_EQ(rows(payloadFile, "SELECT type || description FROM dependency_type ORDER BY type"),
              "0Conflicts,1Upgrades,2Requires,3Required,4Critical,5Recommended,6loadPatch,7loadLangPack");
}

TEST_F(StoreSchemas, ChainsOfUpgradesAreShortened)
{
    // A chain of the 1024 upgrades that ten runs resolve and 76 more, and a chain whose rows are unordered.
    StatementList const versionOne[] = {gVeskSchemas[0], nullptr};
    VeskiDataStore const old(databaseRoot + "vesk", "vesk.db", versionOne, false, false, kSchemaTypePayload);
    sql(catalogueFile, "WITH RECURSIVE n(i) AS (SELECT 1000 UNION ALL SELECT i + 1 FROM n WHERE i < 2099) "
                       "INSERT INTO upgraded_payloads SELECT i, i + 1 FROM n;"
                       "INSERT INTO upgraded_payloads VALUES ('c', 'd'), ('a', 'b'), ('b', 'c'), ('y', 'z')");
    opened(veskOpenSession);
    EXPECT_EQ(
        rows(catalogueFile,
             "SELECT max(payloadIDUpgraded - payloadIDOriginal), count(*), sum(payloadIDUpgraded = '2100') "
             "FROM upgraded_payloads WHERE rowid <= 1100"),
        "1024,1100,1024");
    EXPECT_EQ(rows(catalogueFile, "SELECT payloadIDOriginal || payloadIDUpgraded FROM upgraded_payloads "
                                  "ORDER BY 1 DESC LIMIT 4"),
              "yz,cd,bd,ad");
    EXPECT_EQ(rows(catalogueFile, "SELECT value FROM pcd_meta"), "2,1");
}

} // namespace
