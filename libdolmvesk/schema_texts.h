/// Statements that more than one schema family runs. Do not change even white space: see schemas.h.
#ifndef LIBDOLMVESK_SCHEMA_TEXTS_H
#define LIBDOLMVESK_SCHEMA_TEXTS_H

namespace schema_texts {

// The version record of every database.
inline constexpr char createMeta[] =
    "CREATE TABLE pcd_meta ( key TEXT NOT NULL, value TEXT NOT NULL, PRIMARY KEY (key) );";
inline constexpr char insertSchemaVersion[] =
    "INSERT INTO pcd_meta (key, value) VALUES ('schema_version', 1);";
inline constexpr char insertCompatibilityVersion[] =
    "INSERT INTO pcd_meta (key, value) VALUES ('schema_compatibility_version', 1);";

// Settings by domain, subdomain and key: both configuration stores.
inline constexpr char createDomainData[] =
    "CREATE TABLE domain_data ( domain TEXT NOT NULL, subDomain TEXT NOT NULL, key TEXT NOT NULL, value"
    " TEXT, PRIMARY KEY (domain, subDomain, key) );";

// Collections, their payloads and their data: the catalogue and the master configuration store.
inline constexpr char createDolmCollection[] =
    "CREATE TABLE dolm_collection ( collectionID TEXT NOT NULL, collectionPayloadID TEXT NOT NULL"
    " REFERENCES dolm_payload (payloadID) ON DELETE RESTRICT, tsInstalled INT, tsModified INT, PRIMARY"
    " KEY (collectionID) );";
inline constexpr char createDolmCollectionPayload[] =
    "CREATE TABLE dolm_collection_payload ( collectionID TEXT NOT NULL REFERENCES dolm_collection"
    " (collectionID) ON DELETE CASCADE, payloadID TEXT NOT NULL REFERENCES dolm_payload (payloadID) ON"
    " DELETE RESTRICT, installState INT NOT NULL DEFAULT 0, tsInstalled INTEGER, PRIMARY KEY"
    " (collectionID, payloadID) );";
inline constexpr char createDolmPayloadConstraint[] =
    "CREATE TABLE dolm_payload_constraint ( payloadID TEXT NOT NULL REFERENCES dolm_payload (payloadID)"
    " ON DELETE CASCADE, payloadIDb TEXT NOT NULL, constraintType INTEGER NOT NULL, PRIMARY KEY"
    " (payloadID, payloadIDb, constraintType) );";
inline constexpr char createCollectionData[] =
    "CREATE TABLE collection_data ( collectionID TEXT NOT NULL REFERENCES dolm_collection"
    " (collectionID), domain TEXT NOT NULL, key TEXT NOT NULL, value TEXT, PRIMARY KEY (collectionID,"
    " domain, key) );";
inline constexpr char createPayloadData[] =
    "CREATE TABLE payload_data ( payloadID TEXT NOT NULL REFERENCES dolm_payload (payloadID), domain"
    " TEXT NOT NULL, key TEXT NOT NULL, value TEXT, PRIMARY KEY (payloadID, domain, key) );";
inline constexpr char triggerCtiCollectionData[] =
    "CREATE TRIGGER cti_collection_data BEFORE INSERT ON collection_data FOR EACH ROW BEGIN SELECT"
    " RAISE(ABORT, 'cti_collection_data: collectionID is invalid.') WHERE (SELECT collectionID FROM"
    " dolm_collection WHERE collectionID = NEW.collectionID) IS NULL; END;";
inline constexpr char triggerCtuCollectionData[] =
    "CREATE TRIGGER ctu_collection_data BEFORE UPDATE ON collection_data FOR EACH ROW BEGIN SELECT"
    " RAISE(ABORT, 'ctu_collection_data: collectionID is invalid.') WHERE (SELECT collectionID FROM"
    " dolm_collection WHERE collectionID = NEW.collectionID) IS NULL; END;";
inline constexpr char triggerCtiPayloadData[] =
    "CREATE TRIGGER cti_payload_data BEFORE INSERT ON payload_data FOR EACH ROW BEGIN SELECT"
    " RAISE(ABORT, 'cti_payload_data: payloadID is invalid.') WHERE (SELECT payloadID FROM dolm_payload"
    " WHERE payloadID = NEW.payloadID) IS NULL; END;";
inline constexpr char triggerCtuPayloadData[] =
    "CREATE TRIGGER ctu_payload_data BEFORE UPDATE ON payload_data FOR EACH ROW BEGIN SELECT"
    " RAISE(ABORT, 'ctu_payload_data: payloadID is invalid.') WHERE (SELECT payloadID FROM dolm_payload"
    " WHERE payloadID = NEW.payloadID) IS NULL; END;";
inline constexpr char triggerCtiDolmCollectionPayload[] =
    "CREATE TRIGGER cti_dolm_collection_payload BEFORE INSERT ON dolm_collection_payload FOR EACH ROW"
    " BEGIN SELECT RAISE(ABORT, 'cti_dolm_collection_payload: collectionID is invalid.') WHERE (SELECT"
    " collectionID FROM dolm_collection WHERE collectionID = NEW.collectionID) IS NULL; SELECT"
    " RAISE(ABORT, 'cti_dolm_collection_payload: payloadID is invalid.') WHERE (SELECT payloadID FROM"
    " dolm_payload WHERE payloadID = NEW.payloadID) IS NULL; END;";
inline constexpr char triggerCtuDolmCollectionPayload[] =
    "CREATE TRIGGER ctu_dolm_collection_payload BEFORE UPDATE ON dolm_collection_payload FOR EACH ROW"
    " BEGIN SELECT RAISE(ABORT, 'ctu_dolm_collection_payload: collectionID is invalid.') WHERE (SELECT"
    " collectionID FROM dolm_collection WHERE collectionID = NEW.collectionID) IS NULL; SELECT"
    " RAISE(ABORT, 'ctu_dolm_collection_payload: payloadID is invalid.') WHERE (SELECT payloadID FROM"
    " dolm_payload WHERE payloadID = NEW.payloadID) IS NULL; END;";
inline constexpr char triggerCtdDolmCollectionPayload[] =
    "CREATE TRIGGER ctd_dolm_collection_payload BEFORE DELETE ON dolm_collection_payload FOR EACH ROW"
    " WHEN OLD.installState != 0 BEGIN SELECT RAISE(ABORT, 'ctd_dolm_collection_payload: Payload must"
    " be marked as uninstalled before removing'); END;";
inline constexpr char triggerCtiDolmPayloadConstraint[] =
    "CREATE TRIGGER cti_dolm_payload_constraint BEFORE INSERT ON dolm_payload_constraint FOR EACH ROW"
    " BEGIN SELECT RAISE(ABORT, 'cti_dolm_payload_constraint: payloadID is invalid.') WHERE (SELECT"
    " payloadID FROM dolm_payload WHERE payloadID = NEW.payloadID) IS NULL; END;";
inline constexpr char triggerCtuDolmPayloadConstraint[] =
    "CREATE TRIGGER ctu_dolm_payload_constraint BEFORE UPDATE ON dolm_payload_constraint FOR EACH ROW"
    " BEGIN SELECT RAISE(ABORT, 'ctu_dolm_payload_constraint: payloadID is invalid.') WHERE (SELECT"
    " payloadID FROM dolm_payload WHERE payloadID = NEW.payloadID) IS NULL; END;";

} // namespace schema_texts

#endif
