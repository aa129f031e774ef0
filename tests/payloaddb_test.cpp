// The payload database's functions, and SQLite itself to check the file.
#include "tests/support/faults.h"
#include "tests/support/stores.h"

#include <ctime>

using namespace testing_support;

namespace {

class PayloadDatabase : public ScratchRootTest
{
protected:
    /// Opens a session on a new database in which these statements have been run.
    void openWith(std::string const& statements)
    {
        session = nullptr;
        root.renew();
        opened(pdbOpenSession);
        EXPECT_EQ(rows(payloadFile, statements), "");
        session = opened(pdbOpenSession);
        s = session.get();
    }

    /// Commits, and queries the file.
    std::string stored(std::string const& query) const
    {
        EXPECT_EQ(pdbSessionCommit(s), kVeskOK);
        return rows(payloadFile, query);
    }

    OpenSession session;
    VeskSession* s = nullptr;
};

std::string const fourPayloads =
    "INSERT INTO payloads (PayloadID) VALUES ('P'), ('Q'), ('R'), ('X'); INSERT INTO upgraded_payloads VALUES "
    "('P', 'X'), ('R', 'x'), ('gone', 'X'), ('Q', 'X'), ('X', 'R');";
std::string const threePayloads = "INSERT INTO payloads (PayloadID) VALUES ('A'), ('B'), ('C');";
char const* const no = nullptr;

// clang-format off
/// A place for any result of a function, or null; and the arguments of a call, of which one may be missing.
struct Output { void* room; template<class T> operator T*() const { return static_cast<T*>(room); } };
struct Given { char const *a, *b, *c; Output out; };

char const* const conflictsOfCall[] = {"X'", nullptr};
char const* const upgradesOfCall[] = {"Y'", "Z'", nullptr};
struct { int32_t closed; char const* required; int32_t (*call)(VeskSession*, Given const&); } const calls[] = {
    // the status on a store that is no longer open; the required arguments, by letter
    {kVeskOK, "", [](auto* h, auto&) { return pdbSessionCommit(h); }},
    {kVeskOK, "", [](auto* h, auto&) { return pdbSessionRollback(h); }},
    {kVeskFailed, "abc", [](auto* h, auto& g) { return pdbAddPayload(h, g.a, g.b, g.c, "v", "s", conflictsOfCall, upgradesOfCall); }},
    {kVeskFailed, "bc", [](auto* h, auto& g) { return pdbAddPayload(h, "N'", "f", "n", g.b, g.c, nullptr, nullptr); }},
    {kVeskFailed, "a", [](auto* h, auto& g) { return pdbRemovePayload(h, g.a); }},
    {kVeskNotFound, "ao", [](auto* h, auto& g) { return pdbGetPayload(h, g.a, g.out); }},
    {kVeskNotFound, "o", [](auto* h, auto& g) { return pdbGetPayloads(h, 0, g.out); }},
    {kVeskNotFound, "o", [](auto* h, auto& g) { return pdbGetPayloads(h, kPdbAllPayloads, g.out); }},
    {kVeskNotFound, "ao", [](auto* h, auto& g) { return pdbGetInstallState(h, g.a, g.out); }},
    {kVeskFailed, "a", [](auto* h, auto& g) { return pdbSetInstallState(h, g.a, 0); }},
    {kVeskFailed, "a", [](auto* h, auto& g) { return pdbSetInstallState(h, g.a, 2); }},
    {kVeskFailed, "ab", [](auto* h, auto& g) { return pdbAddPayloadDependency(h, g.a, 3, g.b); }},
    {kVeskFailed, "a", [](auto* h, auto& g) { return pdbRemovePayloadDependency(h, g.a, 1, g.b); }},
    {kVeskNotFound, "ao", [](auto* h, auto& g) { return pdbGetPayloadDependency(h, g.a, 1, g.out); }},
    {kVeskNotFound, "ao", [](auto* h, auto& g) { return pdbGetPayloadDependencyReverse(h, g.a, 1, g.out); }},
    {kVeskNotFound, "o", [](auto* h, auto& g) { return pdbGetPayloadDependencyKeysAndValues(h, 1, g.out); }},
    {kVeskFailed, "", [](auto* h, auto& g) { return pdbAddUpgradedPayloads(h, g.a, g.b); }},
    {kVeskFailed, "", [](auto* h, auto& g) { return pdbRemoveUpgradePayloads(h, g.a); }},
    {kVeskNotFound, "o", [](auto* h, auto& g) { return pdbGetUpgradedPayloadsKeysAndValues(h, g.out); }},
    {kVeskFailed, "ac", [](auto* h, auto& g) { return pdbSetPayloadData(h, g.a, 0, g.c, g.b); }},
    {kVeskNotFound, "aco", [](auto* h, auto& g) { return pdbGetPayloadData(h, g.a, 0, g.c, g.out); }},
    {kVeskNotFound, "ao", [](auto* h, auto& g) { return pdbGetPayloadDataKeys(h, g.a, 0, g.out); }},
    {kVeskNotFound, "ao", [](auto* h, auto& g) { return pdbGetPayloadDataKeysAndValues(h, g.a, 0, g.out); }},
    {kVeskFailed, "ac", [](auto* h, auto& g) { return pdbRemovePayloadData(h, g.a, 0, g.c); }},
    {kVeskFailed, "a", [](auto* h, auto& g) { return pdbRemovePayloadDomainData(h, g.a, 0); }},
    {kVeskFailed, "ab", [](auto* h, auto& g) { return pdbSetUserAction(h, g.a, g.b); }},
    {kVeskFailed, "a", [](auto* h, auto& g) { return pdbRemoveUserAction(h, g.a); }},
    {kVeskNotFound, "o", [](auto* h, auto& g) { return pdbGetUserAction(h, g.out); }},
    {kVeskNotFound, "aco", [](auto* h, auto& g) { return pcdGetDomainData(h, 1, g.a, g.c, g.out); }},
    {kVeskFailed, "ac", [](auto* h, auto& g) { return pcdSetDomainData(h, 1, g.a, g.c, g.b); }},
    {kVeskFailed, "ac", [](auto* h, auto& g) { return pcdRemoveDomainData(h, 1, g.a, g.c); }},
    {kVeskNotFound, "ao", [](auto* h, auto& g) { return pcdGetDomainDataKeys(h, 1, g.a, g.out); }},
    {kVeskNotFound, "o", [](auto* h, auto& g) { return pcdGetDomainDataSubdomains(h, 1, g.out); }},
};
// clang-format on

TEST_F(PayloadDatabase, EveryFunctionChecksItsArgumentsAndItsStore)
{
    openWith(
        "INSERT INTO payloads (PayloadID) VALUES ('A'''), ('B'''), ('C'''); INSERT INTO dependencies VALUES "
        "('A''', 'X''', 0), ('B''', 'A''', 1), ('C''', 'A''', 1), ('A''', 'B''', 1), ('A''', 'C''', 1);"
        "INSERT INTO upgraded_payloads VALUES ('B''', 'A'''), ('C''', 'B'''); INSERT INTO payload_data "
        "VALUES ('A''', 0, 'c''', 'v'); INSERT INTO user_actions VALUES ('A''', 'B''', '1'); "
        // The settings' functions work on every session whose database has such a table.
        "CREATE TABLE domain_data (domain TEXT, subdomain, key, value); "
        "INSERT INTO domain_data VALUES (1, 'A''', 'c''', 'v')");
    VeskSession handle{nullptr, kSessionKindPayload};
    PdbPayloadInfo room; // the largest of all results
    Given const all{"A'", "B'", "c'", {&room}};
    for (auto const& each : calls) {
        SCOPED_TRACE(&each - calls);
        EXPECT_EQ(each.call(nullptr, all), kVeskInvalidArgument);
        EXPECT_EQ(each.call(&handle, all), each.closed == kVeskOK ? kVeskOK : kVeskNoDataStore);
        int32_t status = kVeskNoMemory;
        bool lacked = true;
        for (int nth = 1; status == kVeskNoMemory; ++nth) { // until there is enough
            s->store->queryNR("BEGIN");
            arm(allFaults[0], nth, Strike::kFromThenOn);
            status = each.call(s, all);
            lacked = disarm();
            EXPECT_EQ(s->store->rollback(), kVeskOK);
        }
        EXPECT_TRUE(status == kVeskOK && (!lacked || &each == calls)) << status; // a commit's backup may fail
        for (char const* at = each.required; *at != '\0'; ++at) {
            Given const some{*at == 'a' ? no : all.a, *at == 'b' ? no : all.b, *at == 'c' ? no : all.c,
                             Output{*at == 'o' ? nullptr : &room}};
            EXPECT_EQ(each.call(s, some), kVeskInvalidArgument) << at;
        }
    }
    EXPECT_TRUE(allGive(kVeskInvalidArgument, {pdbGetPayloads(s, 5, all.out), pdbGetPayloads(s, -1, all.out),
                                               pdbSetInstallState(s, "A", 1), pdbSetInstallState(s, "A", 3),
                                               pdbRemovePayloadDomainData(s, "A", 6)}));
    char const** list = nullptr;
    EXPECT_EQ(pdbGetPayloads(&handle, 0, &list), kVeskNoDataStore);
    EXPECT_EQ(list, empty_list);
    EXPECT_EQ(s->store->dbClose(), kVeskOK);
    for (auto const& each : calls) {
        EXPECT_EQ(each.call(s, all), each.closed) << &each - calls;
    }
}

TEST_F(PayloadDatabase, MarkingInstalledChecksConflictsAndRecordsUpgrades)
{
    // clang-format off
    struct { std::string relations; int32_t status; char const* upgrades; std::string damage; } const cases[] = {
        // relations of A, B and C, which are on record, and D, which is not; the status; recorded upgrades as pairs
        {"('A', 'B', 7)", kVeskOK, "", ""},
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
        {"('B', 'A', 1), ('A', 'C', 1)", kVeskConstraint, "", "CREATE TRIGGER t BEFORE INSERT ON upgraded_payloads "
         "WHEN NEW.payloadIDUpgraded = 'B' BEGIN SELECT RAISE(ABORT, ''); END"},
        {"('B', 'A', 1), ('A', 'C', 1)", kVeskConstraint, "AB", "CREATE TRIGGER t BEFORE INSERT ON upgraded_payloads "
         "WHEN NEW.payloadIDUpgraded = 'A' BEGIN SELECT RAISE(ABORT, ''); END"},
        {"('B', 'A', 0)", kVeskError, "", "ALTER TABLE payloads RENAME COLUMN installState TO x"},
        {"('A', 'B', 1)", kVeskError, "", "ALTER TABLE payloads RENAME COLUMN installState TO x"},
        {"('A', 'B', 1)", kVeskError, "", "ALTER TABLE dependencies RENAME COLUMN type TO x"},
    };
    // clang-format on
    for (auto const& each : cases) {
        SCOPED_TRACE(each.relations + each.damage);
        openWith(threePayloads + "DROP TRIGGER cti_dependencies; INSERT INTO dependencies VALUES " +
                 each.relations + ";" + each.damage);
        auto const before = std::to_string(time(nullptr));
        auto const changed = "SELECT PayloadID || installState FROM payloads WHERE installTime >= " + before;
        EXPECT_EQ(pdbSetInstallState(s, "A", kPdbInstalled), each.status);
        EXPECT_EQ(stored("SELECT payloadIDOriginal || payloadIDUpgraded FROM upgraded_payloads"),
                  each.upgrades);
        if (each.status != kVeskError) {
            EXPECT_EQ(stored(changed), each.status == kVeskOK ? "A2" : "");
            EXPECT_EQ(pdbSetInstallState(s, "A", kPdbNotInstalled), kVeskOK); // ignores relations
            EXPECT_EQ(stored(changed), "A0");
        }
    }
}

TEST_F(PayloadDatabase, AddingReplacesTheRecordAndKeepsRelationsAndData)
{
    openWith(
        "CREATE TRIGGER t BEFORE INSERT ON dependencies WHEN NEW.PayloadIDb = 'bad' BEGIN SELECT "
        "RAISE(ABORT, ''); END; CREATE TRIGGER u BEFORE UPDATE ON payloads WHEN NEW.PayloadID = 'U' "
        "BEGIN SELECT RAISE(ABORT, ''); END; CREATE TRIGGER v BEFORE INSERT ON payloads WHEN NEW.PayloadID = 'V' "
        "BEGIN SELECT RAISE(ABORT, ''); END");
    char const *const conflicts[] = {"B", "C", no}, *const upgrades[] = {"C", "D", no};
    char const* const withBad[] = {"E", "bad", "F", no};
    EXPECT_TRUE(allGive(kVeskOK, {pdbAddPayload(s, "A", "old", "old", "old", "old", conflicts, upgrades),
                                  pdbSetPayloadData(s, "A", 0, "k", "v"),
                                  s->store->queryNR("UPDATE payloads SET installState = 2, installTime = 5"),
                                  pdbAddPayload(s, "A", "F", "N", "V", "S", nullptr, nullptr)}));
    EXPECT_EQ(stored("SELECT * FROM payloads").substr(0, 12), "A,F,N,V,S,0,");
    EXPECT_EQ(stored("SELECT 0 + strftime('%s') - installTime <= 60 FROM payloads"), "1");
    // The upgrade of C has replaced the conflict.
    EXPECT_EQ(stored("SELECT PayloadIDb || type FROM dependencies ORDER BY 1"), "B0,C1,D1");
    EXPECT_EQ(textOf(pdbGetPayloadData, session, "A", 0, "k"), "v");

    // The first failure ends the call, and what it has written stays. Only a refused time stamp is ignored.
    EXPECT_TRUE(allGive(kVeskConstraint, {pdbAddPayload(s, "A", "", "", "", "", withBad, upgrades),
                                          pdbAddPayload(s, "N", "", "", "", "", nullptr, withBad),
                                          pdbAddPayload(s, "V", "", "", "", "", upgrades, nullptr)}));
    EXPECT_EQ(stored("SELECT PayloadID || PayloadIDb FROM dependencies WHERE PayloadIDb > 'D'"), "AE,NE");
    EXPECT_EQ(pdbAddPayload(s, "U", "", "", "", "", nullptr, nullptr), kVeskOK);
    EXPECT_EQ(stored("SELECT installTime FROM payloads WHERE PayloadID = 'U'"), "NULL");
}

TEST_F(PayloadDatabase, RemovingAlsoRemovesUpgradedOriginals)
{
    // clang-format off
    struct { char const* removed; int32_t status; char const* left; std::string damage; } const cases[] = {
        {"X", kVeskOK, "R", ""},
        {"x", kVeskOK, "P,Q,X", ""}, // byte for byte
        {"unknown", kVeskOK, "P,Q,R,X", ""},
        {"X", kVeskConstraint, "Q,R,X",
         "CREATE TRIGGER t BEFORE DELETE ON payloads WHEN OLD.PayloadID = 'Q' BEGIN SELECT RAISE(ABORT, ''); END"},
        {"X", kVeskOK, "Q,R", // a null entry ends the list
         "DROP TABLE upgraded_payloads; CREATE TABLE upgraded_payloads (payloadIDOriginal, payloadIDUpgraded); "
         "INSERT INTO upgraded_payloads VALUES ('P', 'X'), (NULL, 'X'), ('Q', 'X')"},
        {"X", kVeskOK, "P,Q,R", // so does a null second one
         "DROP TABLE upgraded_payloads; CREATE TABLE upgraded_payloads (payloadIDOriginal, payloadIDUpgraded); "
         "INSERT INTO upgraded_payloads VALUES ('P', NULL), ('Q', 'X')"},
        {"X", kVeskError, "P,Q,R,X", "ALTER TABLE upgraded_payloads RENAME COLUMN payloadIDOriginal TO x"},
    };
    // clang-format on
    for (auto const& each : cases) {
        SCOPED_TRACE(each.removed + each.damage);
        openWith(fourPayloads + each.damage);
        std::string const upgrades = stored("SELECT * FROM upgraded_payloads");
        EXPECT_EQ(pdbRemovePayload(s, each.removed), each.status);
        EXPECT_EQ(stored("SELECT PayloadID FROM payloads ORDER BY 1"), each.left);
        EXPECT_EQ(stored("SELECT * FROM upgraded_payloads"), upgrades);
    }
}

TEST_F(PayloadDatabase, PayloadsAreListedAndRead)
{
    openWith(
        "INSERT INTO payloads VALUES ('late', 'F', 'N', '1', 'S', 2, 1000), ('tie', '', '', '', '', 0, 200), "
        "('early', '', '', '', '', 2, 99), ('odd', '', '', '', '', 1, 2), "
        "('future', '', '', '', '', 3, 99999999999), ('never', NULL, NULL, NULL, NULL, -1, NULL)");
    char const* const lists[] = {"tie,", "odd,", "early,late,", "future,",
                                 "never,odd,early,tie,late,future,"};
    for (int32_t filter = 0; filter <= kPdbAllPayloads; ++filter) {
        EXPECT_EQ(listed(pdbGetPayloads, session, filter), lists[filter]);
    }
    // clang-format off
    struct { char const *payload, *texts; int32_t status, state, time; } const cases[] = {
        {"late", "lateFN1S", kVeskOK, 2, 1000},
        {"never", "never", kVeskOK, -1, 0}, // NULLs read as empty
        {"LATE", "untouched", kVeskNotFound, 0, 77},
        {"future", "future", kVeskOK, 3, INT32_MAX},
    };
    // clang-format on
    int32_t state = 77;
    for (auto const& each : cases) {
        PdbPayloadInfo i = {"un", "to", "uch", "e", "d", 0, 77};
        EXPECT_EQ(pdbGetPayload(s, each.payload, &i), each.status);
        EXPECT_EQ(pdbGetInstallState(s, each.payload, &state), each.status);
        EXPECT_EQ(std::string(i.payloadID) + i.productFamily + i.productName + i.version + i.signature,
                  each.texts);
        EXPECT_TRUE(i.installTime == each.time && i.installState == each.state && state == each.state);
    }
    VeskSession withoutStore{nullptr, kSessionKindPayload};
    EXPECT_EQ(pdbGetInstallState(&withoutStore, "late", &(state = 77)), kVeskNoDataStore);
    EXPECT_EQ(state, 0);
    EXPECT_EQ(pdbSetInstallState(s, "unknown", kPdbInstalled), kVeskOK); // no row, no error
}

TEST_F(PayloadDatabase, RelationsAreOnePerPairAndReadByType)
{
    openWith(threePayloads);
    std::string kept;
    for (int32_t const type : {INT32_MIN, -1, 0, 1, 2, 3, 4, 5, 6, 7, 8, 32, INT32_MAX}) {
        EXPECT_EQ(pdbAddPayloadDependency(s, "A", type, "B"), type <= 7 ? kVeskOK : kVeskInvalidArgument);
        kept = type <= 7 ? "A,B," + std::to_string(type) : kept; // each replaces the previous one
        EXPECT_EQ(stored("SELECT * FROM dependencies"), kept);
        bool const readable = type >= 0 && type <= 7 && type != kPdbRequires;
        auto const key = static_cast<uint32_t>(type);
        EXPECT_EQ(listed(pdbGetPayloadDependency, session, "A", key), readable ? "B," : "status 10") << type;
        EXPECT_EQ(listed(pdbGetPayloadDependencyReverse, session, "B", key), readable ? "A," : "status 10");
        EXPECT_EQ(listed(pdbGetPayloadDependencyKeysAndValues, session, key),
                  readable ? "A,B," : "status 10");
    }
    EXPECT_EQ(pdbAddPayloadDependency(s, "absent", 0, "A"), kVeskConstraint);
    EXPECT_TRUE(
        allGive(kVeskOK, {pdbAddPayloadDependency(s, "B", 0, "A"), pdbAddPayloadDependency(s, "A", 7, "C"),
                          pdbAddPayloadDependency(s, "A", 1, "absent")}));
    EXPECT_EQ(listed(pdbGetPayloadDependencyKeysAndValues, session, 0U), "B,A,");
    EXPECT_EQ(listed(pdbGetPayloadDependencyReverse, session, "B", 0U), "status 8"); // of type 7
    // clang-format off
    struct { int32_t type; char const *other, *left; } const removals[] = {
        {0, "B", "AB,AC,Aabsent,BA"}, {7, "B", "AC,Aabsent,BA"}, {1, nullptr, "AC,BA"}, {0, nullptr, "AC,BA"},
    };
    // clang-format on
    for (auto const& each : removals) {
        EXPECT_EQ(pdbRemovePayloadDependency(s, "A", each.type, each.other), kVeskOK);
        EXPECT_EQ(stored("SELECT PayloadID || PayloadIDb FROM dependencies ORDER BY 1"), each.left);
    }
    EXPECT_EQ(listed(pdbGetUpgradedPayloadsKeysAndValues, session), "status 8");
    for (auto const& [original, upgraded] : {std::pair("A", "B"), {"absent", "B"}, {"A", "B"}, {"B", "C"}}) {
        EXPECT_EQ(pdbAddUpgradedPayloads(s, original, upgraded), kVeskOK);
    }
    EXPECT_EQ(pdbRemoveUpgradePayloads(s, "A"), kVeskOK); // upgraded nothing
    EXPECT_EQ(stored("SELECT count(*) FROM upgraded_payloads"), "3");
    EXPECT_EQ(pdbRemoveUpgradePayloads(s, "B"), kVeskOK);
    EXPECT_EQ(listed(pdbGetUpgradedPayloadsKeysAndValues, session), "B,C,");
}

TEST_F(PayloadDatabase, DataAndActions)
{
    openWith(threePayloads);
    // clang-format off
    struct { char const* payload; int32_t domain; char const *key, *value; int32_t status; char const* readOfA; } const writes[] = {
        {"A", 0, "k", nullptr, kVeskOK, "status 8"},
        {"A", 0, "k", "old", kVeskOK, "old"},
        {"A", 0, "k", "new", kVeskOK, "new"},
        {"A", 0, "e", "", kVeskOK, ""},
        {"A", 6, "k", "x", kVeskOK, "x"},
        {"A", 6, "k", nullptr, kVeskOK, "status 8"},
        {"A", 5, "k", "five", kVeskOK, "five"},
        {"A", -7, "k", "minus", kVeskOK, "minus"},
        {"A", 6, "k", "six", kVeskOK, "six"},
        {"B", 0, "b", "of B", kVeskOK, "status 8"},
        {"absent", 0, "a", "x", kVeskConstraint, "status 8"},
    };
    // clang-format on
    for (auto const& each : writes) {
        EXPECT_EQ(pdbSetPayloadData(s, each.payload, each.domain, each.key, each.value), each.status);
        EXPECT_EQ(textOf(pdbGetPayloadData, session, "A", each.domain, each.key), each.readOfA);
    }
    EXPECT_EQ(listed(pdbGetPayloadDataKeys, session, "A", 0).size(), 4U);
    EXPECT_EQ(listed(pdbGetPayloadDataKeys, session, "A", 5), "k,");
    EXPECT_EQ(listed(pdbGetPayloadDataKeys, session, "A", 1), "status 8");
    EXPECT_EQ(listed(pdbGetPayloadDataKeysAndValues, session, "A", 0).size(), 9U);
    EXPECT_EQ(listed(pdbGetPayloadDataKeysAndValues, session, "A", 5), "k,five,");
    EXPECT_EQ(listed(pdbGetPayloadDataKeysAndValues, session, "absent", 0), "status 8");
    // A NULL reads as no value, and is a null entry in the list of pairs.
    EXPECT_EQ(s->store->queryNR("UPDATE payload_data SET value = NULL WHERE domain = '0'"), kVeskOK);
    EXPECT_EQ(textOf(pdbGetPayloadData, session, "A", 0, "k"), "status 8");
    char const** list = nullptr;
    ASSERT_EQ(pdbGetPayloadDataKeysAndValues(s, "A", 0, &list), kVeskOK);
    EXPECT_TRUE(list[0] && !list[1] && list[2] && !list[3] && !list[4]);

    EXPECT_EQ(pdbRemovePayloadDomainData(s, "A", 6), kVeskInvalidArgument);
    EXPECT_TRUE(
        allGive(kVeskOK, {pdbRemovePayloadData(s, "A", 1, "k"), pdbRemovePayloadData(s, "A", 0, "k"),
                          pdbRemovePayloadDomainData(s, "A", 5), pdbRemovePayloadDomainData(s, "A", -7)}));
    EXPECT_EQ(stored("SELECT PayloadID || domain || key || typeof(domain) FROM payload_data ORDER BY 1"),
              "A0etext,A6ktext,B0btext");

    EXPECT_EQ(listed(pdbGetUserAction, session), "status 8");
    EXPECT_TRUE(allGive(kVeskOK, {pdbSetUserAction(s, "P", "ann"), pdbSetUserAction(s, "Q", ""),
                                  pdbSetUserAction(s, "P", "ann")}));
    EXPECT_EQ(stored("SELECT product_id || actor || typeof(time_action) FROM user_actions"),
              "Panntext,Qtext,Panntext");
    EXPECT_EQ(stored("SELECT sum(strftime('%s') - time_action <= 60) FROM user_actions"), "3");
    EXPECT_EQ(listed(pdbGetUserAction, session).substr(0, 6), "P,ann,");
    EXPECT_TRUE(allGive(kVeskOK, {pdbRemoveUserAction(s, "P"), pdbRemoveUserAction(s, "q")})); // no q
    EXPECT_EQ(stored("SELECT product_id FROM user_actions"), "Q");
}

TEST_F(PayloadDatabase, AnyTextIsKeptByteForByte)
{
    openWith("");
    for (std::string const& any : Texts{"'; DELETE FROM payloads; --", "", "%s%n%q%d%%100%",
                                        "\xFF\xC3(\xED\xA0\x80\x01\n", std::string(1 << 20, '\'')}) {
        SCOPED_TRACE(any.substr(0, 30));
        char const* const t = any.c_str();
        char const* const self[] = {t, nullptr};
        PdbPayloadInfo i = {};
        ASSERT_TRUE(allGive(kVeskOK, {pdbAddPayload(s, t, t, t, t, t, self, nullptr), pdbGetPayload(s, t, &i),
                                      pdbSetPayloadData(s, t, 1, t, t)}));
        for (auto const* read : {i.payloadID, i.productFamily, i.productName, i.version, i.signature}) {
            EXPECT_TRUE(read == any);
        }
        EXPECT_TRUE(listed(pdbGetPayloadDependency, session, t, 0U) == any + ",");
        EXPECT_TRUE(textOf(pdbGetPayloadData, session, t, 1, t) == any);
        EXPECT_EQ(pdbRemovePayload(s, t), kVeskOK);
        EXPECT_EQ(stored("SELECT 1 FROM payloads UNION SELECT 1 FROM payload_data"), "");
    }
}

} // namespace
