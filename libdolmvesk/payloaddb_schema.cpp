#include "libdolmvesk/schemas.h"

#include "libdolmvesk/schema_texts.h"

#include <iterator>

using namespace schema_texts;

namespace {

// The payload database, version 1: tables, triggers, seed rows.
// Deliberate: the reference to "dependency_types" names a table that does not exist; existing files contain this text,
// and the library never switches on the enforcement of references.
char const* const gpdbSchema_v1[] = {
    createMeta,
    "CREATE TABLE payloads( PayloadID TEXT NOT NULL, productFamily TEXT ,productName TEXT , version"
    " TEXT , signature TEXT ,\tinstallState INT NOT NULL DEFAULT 0, installTime INT, PRIMARY KEY"
    " (PayloadID) );",
    "CREATE TABLE dependencies( PayloadID TEXT NOT NULL REFERENCES payloads(PayloadID) ON DELETE"
    " CASCADE, PayloadIDb TEXT NOT NULL, type INTEGER NOT NULL REFERENCES dependency_types(type),"
    " PRIMARY KEY (PayloadID, PayloadIDb) );",
    "CREATE TABLE dependency_type( type INTEGER NOT NULL, description TEXT NOT NULL, PRIMARY KEY (type)"
    " );",
    "CREATE TABLE payload_data ( PayloadID TEXT NOT NULL REFERENCES payloads (PayloadID), domain TEXT"
    " NOT NULL, key TEXT NOT NULL, value TEXT, PRIMARY KEY (PayloadID, domain, key) );",
    "CREATE TABLE upgraded_payloads ( payloadIDOriginal TEXT NOT NULL , payloadIDUpgraded TEXT NOT NULL"
    " REFERENCES payloads (PayloadID), PRIMARY KEY (payloadIDOriginal, payloadIDUpgraded) );",
    "CREATE TABLE user_actions ( product_id TEXT NOT NULL, actor TEXT , time_action TEXT NOT NULL);",
    "CREATE TRIGGER ctd_payloads BEFORE DELETE ON payloads FOR EACH ROW BEGIN DELETE FROM dependencies"
    " WHERE PayloadID = OLD.PayloadID;DELETE FROM payload_data WHERE PayloadID = OLD.PayloadID; END;",
    "CREATE TRIGGER cti_dependencies BEFORE INSERT ON dependencies FOR EACH ROW BEGIN SELECT"
    " RAISE(ABORT, 'cti_dependencies: PayloadID is invalid.') WHERE (SELECT PayloadID FROM payloads"
    " WHERE PayloadID = NEW.PayloadID) IS NULL; END;",
    "CREATE TRIGGER ctu_dependencies BEFORE UPDATE ON dependencies FOR EACH ROW BEGIN SELECT"
    " RAISE(ABORT, 'ctu_dependencies: PayloadID is invalid.') WHERE (SELECT PayloadID FROM payloads"
    " WHERE PayloadID = NEW.PayloadID) IS NULL; END;",
    "CREATE TRIGGER cti_payload_data BEFORE INSERT ON payload_data FOR EACH ROW BEGIN SELECT"
    " RAISE(ABORT, 'cti_payload_data: PayloadID is invalid.') WHERE (SELECT PayloadID FROM payloads"
    " WHERE PayloadID = NEW.PayloadID) IS NULL; END;",
    "CREATE TRIGGER ctu_payload_data BEFORE UPDATE ON payload_data FOR EACH ROW BEGIN SELECT"
    " RAISE(ABORT, 'ctu_payload_data: PayloadID is invalid.') WHERE (SELECT PayloadID FROM payloads"
    " WHERE PayloadID = NEW.PayloadID) IS NULL; END;",
    insertSchemaVersion,
    insertCompatibilityVersion,
    "INSERT INTO dependency_type VALUES (0,'Conflicts')",
    "INSERT INTO dependency_type VALUES (1,'Upgrades')",
    "INSERT INTO dependency_type VALUES (2,'Requires')",
    "INSERT INTO dependency_type VALUES (3,'Required')",
    "INSERT INTO dependency_type VALUES (4,'Critical')",
    "INSERT INTO dependency_type VALUES (5,'Recommended')",
    "INSERT INTO dependency_type VALUES (6,'loadPatch')",
    "INSERT INTO dependency_type VALUES (7,'loadLangPack')",
    nullptr,
};
static_assert(std::size(gpdbSchema_v1) == 22 + 1,
              "a missing comma joins two statements and SQLite drops the second");

// The media database, version 1: without a version record.
char const* const gmediadbSchema_v1[] = {
    "CREATE TABLE Suites( ProductID TEXT NOT NULL, group_name TEXT NOT NULL, group_family TEXT NOT"
    " NULL, display_name TEXT NOT NULL, PRIMARY KEY (ProductID) );",
    "CREATE TABLE SuitePayloads( ProductID TEXT NOT NULL REFERENCES Suites (ProductID),PayloadID TEXT"
    " NOT NULL REFERENCES Payloads (PayloadID),PRIMARY KEY (ProductID, PayloadID) );",
    "CREATE TABLE Payloads( PayloadID TEXT NOT NULL, payload_family TEXT NOT NULL,payload_name TEXT NOT"
    " NULL, payload_version TEXT NOT NULL,payload_type TEXT NOT NULL,PRIMARY KEY (PayloadID) );",
    "CREATE TABLE Branding ( ProductID TEXT NOT NULL REFERENCES Suites (ProductID),resource_type TEXT"
    " NOT NULL,resource_data TEXT NOT NULL,PRIMARY KEY (ProductID, resource_type) );",
    "CREATE TABLE PayloadData( PayloadID TEXT NOT NULL REFERENCES Payloads (PayloadID),domain TEXT NOT"
    " NULL,key TEXT NOT NULL,value TEXT NOT NULL,PRIMARY KEY (PayloadID, domain, key) );",
    "CREATE TABLE DependencyData( PayloadID TEXT NOT NULL REFERENCES Payloads (PayloadID),PayloadIDb"
    " TEXT ,type TEXT NOT NULL ,product_family TEXT, product_name TEXT, version TEXT, PRIMARY KEY"
    " (PayloadID,PayloadIDb,type,product_family,product_name,version));",
    "CREATE TRIGGER ctd_Suites BEFORE DELETE ON Suites FOR EACH ROW BEGIN DELETE FROM SuitePayloads"
    " WHERE ProductID = OLD.ProductID;DELETE FROM Branding WHERE ProductID = OLD.ProductID;END;",
    "CREATE TRIGGER ctd_Payloads BEFORE DELETE ON Payloads FOR EACH ROW BEGIN DELETE FROM"
    " DependencyData WHERE PayloadID = OLD.PayloadID;DELETE FROM PayloadData WHERE PayloadID ="
    " OLD.PayloadID; DELETE FROM SuitePayloads WHERE PayloadID = OLD.PayloadID; END;",
    "CREATE TRIGGER cti_PayloadData BEFORE INSERT ON PayloadData FOR EACH ROW BEGIN SELECT RAISE(ABORT,"
    " 'cti_PayloadData: PayloadID is invalid.') WHERE (SELECT PayloadID FROM Payloads WHERE PayloadID ="
    " NEW.PayloadID) IS NULL; END;",
    "CREATE TRIGGER ctu_PayloadData BEFORE UPDATE ON PayloadData FOR EACH ROW BEGIN SELECT RAISE(ABORT,"
    " 'ctu_PayloadData: PayloadID is invalid.') WHERE (SELECT PayloadID FROM Payloads WHERE PayloadID ="
    " NEW.PayloadID) IS NULL; END;",
    "CREATE TRIGGER cti_DependencyData BEFORE INSERT ON DependencyData FOR EACH ROW BEGIN SELECT"
    " RAISE(ABORT, 'cti_DependencyData: PayloadID is invalid.') WHERE (SELECT PayloadID FROM Payloads"
    " WHERE PayloadID = NEW.PayloadID) IS NULL; END;",
    "CREATE TRIGGER ctu_DependencyData BEFORE UPDATE ON DependencyData FOR EACH ROW BEGIN SELECT"
    " RAISE(ABORT, 'ctu_DependencyData: PayloadID is invalid.') WHERE (SELECT PayloadID FROM Payloads"
    " WHERE PayloadID = NEW.PayloadID) IS NULL; END;",
    nullptr,
};
static_assert(std::size(gmediadbSchema_v1) == 12 + 1,
              "a missing comma joins two statements and SQLite drops the second");

} // namespace

StatementList const gPdbSchemas[] = {gpdbSchema_v1, nullptr};
StatementList const gMdbSchemas[] = {gmediadbSchema_v1, nullptr};
