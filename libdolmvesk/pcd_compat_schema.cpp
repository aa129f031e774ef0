#include "libdolmvesk/schemas.h"

#include "libdolmvesk/schema_texts.h"

#include <iterator>

using namespace schema_texts;

namespace {

// The master store, version 1: the settings, and the catalogue's legacy tables.
char const* const gPcdSchema_v1[] = {
    createMeta,
    "CREATE TABLE dolm_payload ( payloadID TEXT NOT NULL, productFamily TEXT NOT NULL, productName TEXT"
    " NOT NULL, version TEXT NOT NULL, PRIMARY KEY (payloadID) );",
    createDolmCollection,
    createDolmCollectionPayload,
    createDolmPayloadConstraint,
    createCollectionData,
    createPayloadData,
    createDomainData,
    "CREATE TRIGGER ctd_dolm_payload BEFORE DELETE ON dolm_payload FOR EACH ROW BEGIN DELETE FROM"
    " dolm_collection_payload WHERE payloadID = OLD.payloadID; DELETE FROM dolm_payload_constraint"
    " WHERE payloadID = OLD.payloadID; DELETE FROM payload_data WHERE payloadID = OLD.payloadID; END;",
    triggerCtiCollectionData,
    triggerCtuCollectionData,
    triggerCtiPayloadData,
    triggerCtuPayloadData,
    "CREATE TRIGGER ctd_dolm_collection BEFORE DELETE ON dolm_collection FOR EACH ROW BEGIN DELETE FROM"
    " dolm_collection_payload WHERE collectionID = OLD.collectionID;  DELETE FROM dolm_payload WHERE"
    " payloadID IN ( SELECT p.payloadID FROM dolm_payload p LEFT JOIN dolm_collection_payload pc ON"
    " (p.payloadID = pc.payloadID) WHERE pc.payloadID IS NULL); DELETE FROM collection_data WHERE"
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
static_assert(std::size(gPcdSchema_v1) == 21 + 1,
              "a missing comma joins two statements and SQLite drops the second");

// The cache store, version 1: only the settings.
char const* const gHbSchema_v1[] = {
    createMeta, createDomainData, insertSchemaVersion, insertCompatibilityVersion, nullptr,
};
static_assert(std::size(gHbSchema_v1) == 4 + 1,
              "a missing comma joins two statements and SQLite drops the second");

// Deliberate: empty. The stores' newest version is 2, as the catalogue's, but changes nothing. It does not record
// itself, so that it runs, without effect, at every opening.
char const* const gPcdSchema_v2[] = {nullptr};
static_assert(std::size(gPcdSchema_v2) == 0 + 1, "an empty version");
char const* const gHbSchema_v2[] = {nullptr};
static_assert(std::size(gHbSchema_v2) == 0 + 1, "an empty version");

} // namespace

StatementList const gPcdSchemas[] = {gPcdSchema_v1, gPcdSchema_v2, nullptr};
StatementList const gHbSchemas[] = {gHbSchema_v1, gHbSchema_v2, nullptr};
