#include "libdolmvesk/schemas.h"

#include "libdolmvesk/schema_texts.h"

#include <iterator>

using namespace schema_texts;

namespace {

// Makes every upgraded payload whose target was itself upgraded point at that target's own target.
constexpr char shortenUpgradeChains[] =
    "UPDATE upgraded_payloads SET payloadIDUpgraded = (SELECT second_upgraded.payloadIDUpgraded FROM"
    " upgraded_payloads AS first_upgraded INNER JOIN upgraded_payloads AS second_upgraded ON"
    " first_upgraded.payloadIDUpgraded = second_upgraded.payloadIDOriginal WHERE"
    " upgraded_payloads.payloadIDOriginal = first_upgraded.payloadIDOriginal) WHERE payloadIDOriginal"
    " IN (SELECT first_upgraded.payloadIDOriginal FROM upgraded_payloads AS first_upgraded INNER JOIN"
    " upgraded_payloads AS second_upgraded ON first_upgraded.payloadIDUpgraded ="
    " second_upgraded.payloadIDOriginal);";

// Version 1: tables, triggers, seed rows.
char const* const gVeskSchema_v1[] = {
    createMeta,
    "CREATE TABLE dolm_payload ( payloadID TEXT NOT NULL, productFamily TEXT NOT NULL, productName TEXT"
    " NOT NULL, version TEXT NOT NULL, signature TEXT NOT NULL, PRIMARY KEY (payloadID) );",
    createDolmCollection,
    createDolmCollectionPayload,
    createDolmPayloadConstraint,
    createCollectionData,
    createPayloadData,
    "CREATE TABLE upgraded_payloads ( payloadIDOriginal TEXT NOT NULL REFERENCES dolm_payload"
    " (payloadID), payloadIDUpgraded TEXT NOT NULL REFERENCES dolm_payload (payloadID), PRIMARY KEY"
    " (payloadIDOriginal) );",
    "CREATE TRIGGER ctd_dolm_payload BEFORE DELETE ON dolm_payload FOR EACH ROW BEGIN DELETE FROM"
    " dolm_collection_payload WHERE payloadID = OLD.payloadID; DELETE FROM dolm_payload_constraint"
    " WHERE payloadID = OLD.payloadID; DELETE FROM payload_data WHERE payloadID = OLD.payloadID; DELETE"
    " FROM upgraded_payloads WHERE payloadIDOriginal = OLD.payloadID; DELETE FROM upgraded_payloads"
    " WHERE payloadIDUpgraded = OLD.payloadID; END;",
    triggerCtiCollectionData,
    triggerCtuCollectionData,
    triggerCtiPayloadData,
    triggerCtuPayloadData,
    "CREATE TRIGGER ctd_dolm_collection BEFORE DELETE ON dolm_collection FOR EACH ROW BEGIN DELETE FROM"
    " dolm_collection_payload WHERE collectionID = OLD.collectionID; DELETE FROM collection_data WHERE"
    " collectionID = OLD.collectionID; END;",
    triggerCtiDolmCollectionPayload,
    triggerCtuDolmCollectionPayload,
    triggerCtdDolmCollectionPayload,
    triggerCtiDolmPayloadConstraint,
    triggerCtuDolmPayloadConstraint,
    insertSchemaVersion,
    insertCompatibilityVersion,
    nullptr,
};
static_assert(std::size(gVeskSchema_v1) == 21 + 1,
              "a missing comma joins two statements and SQLite drops the second");

// Version 2: chains of upgrades are shortened. Each run halves the length of a chain, so that ten runs resolve chains
// of up to 1024 upgrades.
char const* const gVeskSchema_v2[] = {
    "UPDATE pcd_meta SET value = 2 WHERE key = 'schema_version';",
    shortenUpgradeChains,
    shortenUpgradeChains,
    shortenUpgradeChains,
    shortenUpgradeChains,
    shortenUpgradeChains,
    shortenUpgradeChains,
    shortenUpgradeChains,
    shortenUpgradeChains,
    shortenUpgradeChains,
    shortenUpgradeChains,
    "CREATE TRIGGER insert_upgraded_payloads AFTER INSERT ON upgraded_payloads FOR EACH ROW WHEN"
    " NEW.payloadIDUpgraded IN (SELECT payloadIDOriginal FROM upgraded_payloads) BEGIN UPDATE"
    " upgraded_payloads SET payloadIDUpgraded = (SELECT DISTINCT payloadIDUpgraded FROM"
    " upgraded_payloads WHERE payloadIDOriginal = NEW.payloadIDUpgraded) WHERE payloadIDOriginal ="
    " NEW.payloadIDOriginal; END;",
    "CREATE TRIGGER update_upgraded_payloads AFTER UPDATE ON upgraded_payloads FOR EACH ROW WHEN"
    " NEW.payloadIDUpgraded IN (SELECT payloadIDOriginal FROM upgraded_payloads) BEGIN UPDATE"
    " upgraded_payloads SET payloadIDUpgraded = (SELECT DISTINCT payloadIDUpgraded FROM"
    " upgraded_payloads WHERE payloadIDOriginal = NEW.payloadIDUpgraded) WHERE payloadIDOriginal ="
    " NEW.payloadIDOriginal; END;",
    nullptr,
};
static_assert(std::size(gVeskSchema_v2) == 13 + 1,
              "a missing comma joins two statements and SQLite drops the second");

} // namespace

StatementList const gVeskSchemas[] = {gVeskSchema_v1, gVeskSchema_v2, nullptr};
