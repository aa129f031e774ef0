#include "tests/reliability/records.h"

#include "hooks/CustomHooks.h"
#include "libdolmvesk/pcd_compat.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>

namespace testing_support {

namespace {

std::string const filler(3000, 'x');
std::string const eventsFile = "/home" + databaseRoot + "Fendrial Tessarine/11.0/Tessarine/customevents.dat";

int32_t writeSetting(VeskSession* session, char const* key)
{
    return pcdSetDomainData(session, 1, "settings", key, filler.c_str());
}

int32_t listSettings(VeskSession* session, char const*** keys)
{
    return pcdGetDomainDataKeys(session, 1, "settings", keys);
}

char const settingKeys[] = "SELECT key FROM domain_data ORDER BY key";

} // namespace

std::string const identifierFolder = databaseRoot + "Fendrial Tessarine/12";
std::string const newEventsFolder = "/home" + identifierFolder;

std::array<Store const, 4> const stores = {{
    {"payload database", payloadFile, pdbOpenSession,
     [](VeskSession* session, char const* key) {
         return pdbAddPayload(session, key, "family", "name", "1", filler.c_str(), nullptr, nullptr);
     },
     [](VeskSession* session, char const*** keys) { return pdbGetPayloads(session, kPdbAllPayloads, keys); },
     pdbSessionCommit, pdbCloseSession, "SELECT PayloadID FROM payloads ORDER BY 1"},
    {"master store", masterFile, pcdOpenSession, writeSetting, listSettings, pcdSessionCommit,
     pcdCloseSession, settingKeys},
    {"cache store", cacheFile, pcdOpenCacheSession, writeSetting, listSettings, pcdSessionCommit,
     pcdCloseSession, settingKeys},
    {"catalogue", catalogueFile, veskOpenSession,
     [](VeskSession* session, char const* key) {
         return session->store->queryNR("INSERT OR REPLACE INTO upgraded_payloads VALUES ('%q', '%q')", key,
                                        filler.c_str());
     },
     [](VeskSession* session, char const*** keys) {
         return session->store->queryList(keys, "SELECT payloadIDOriginal FROM upgraded_payloads");
     },
     veskSessionCommit, veskCloseSession, "SELECT payloadIDOriginal FROM upgraded_payloads ORDER BY 1"},
}};

int32_t Outcome::note(int32_t status)
{
    int32_t const possible[] = {kVeskOK,         kVeskFailed,       kVeskNoMemory,     kVeskIOError,
                                kVeskConstraint, kVeskNotFound,     kVeskAccessDenied, kVeskError,
                                kVeskBusy,       kVeskNeedsRestore, kVeskSchemaTooNew};
    documented = documented && std::count(std::begin(possible), std::end(possible), status) == 1;
    return status;
}

Outcome useStore(Store const& store)
{
    Outcome outcome;
    VeskSession* session = nullptr;
    outcome.opened = outcome.note(store.open(&session));
    if (outcome.opened != kVeskOK) {
        session != nullptr ? store.close(session) : 0; // the master store's, when it is the cache that failed
        return outcome;
    }
    session->store->queryNR("PRAGMA cache_size = 5");
    bool fine = true;
    for (int row = 0; row < rowsAtOnce; ++row) {
        char key[16];
        std::snprintf(key, sizeof key, "new %d", row);
        fine = outcome.note(store.write(session, key)) == kVeskOK && fine;
    }
    char const** keys = nullptr;
    if (outcome.note(store.list(session, &keys)) == kVeskOK) {
        for (outcome.listed = 0; keys[outcome.listed] != nullptr;) {
            ++outcome.listed;
        }
    } else {
        fine = false; // SQLite itself may have rolled back, for a failed list, too
        outcome.documented = outcome.documented && keys == empty_list;
    }
    outcome.kept = outcome.note(store.commit(session)) == kVeskOK && fine;
    outcome.note(store.close(session));
    return outcome;
}

bool runEveryPhase()
{
    bool all = true;
    HookProperty const properties[] = {{"ZelkoCode", "new 0"}, {nullptr, nullptr}};
    for (int32_t mode = kHookInstall; mode <= kHookUninstall; ++mode) {
        for (uint32_t phase = 0; phase < 5; ++phase) {
            all = QvInstallerCustomHookProc(properties, phase, mode, 0, [](char const*) {}) == kHookOK && all;
        }
    }
    return all;
}

Machine makeMachine()
{
    setHome("/home");
    Machine machine;
    for (auto const& store : stores) {
        VeskSession* session = nullptr;
        EXPECT_EQ(store.open(&session), kVeskOK);
        for (char const* key : {"old 1", "old 2", "old 3"}) {
            EXPECT_EQ(store.write(session, key), kVeskOK);
        }
        EXPECT_EQ(store.close(session), kVeskOK);
    }
    EXPECT_EQ(veskBackup(), kVeskOK);
    writeFile(eventsFile, "events");
    for (auto const& file : {payloadFile, masterFile, cacheFile, catalogueFile, backupFile, eventsFile}) {
        machine[file] = readFile(file);
    }
    return machine;
}

void restoreMachine(Machine const& machine)
{
    for (auto const& [file, content] : machine) {
        std::filesystem::remove(file + "-journal");
        writeFile(file, content);
    }
    std::filesystem::remove_all(identifierFolder);
    std::filesystem::remove_all(newEventsFolder);
}

void expectWholeAndUsable(Store const& store, Outcome const& outcome, bool hasOldRows)
{
    SCOPED_TRACE(store.name);
    std::string const last = hasOldRows ? "old 1,old 2,old 3" : "new 7";
    int const all = rowsAtOnce + (hasOldRows ? 3 : 0);
    EXPECT_TRUE(outcome.documented);
    EXPECT_TRUE(outcome.listed < 0 || !outcome.kept || outcome.listed == all) << outcome.listed;
    std::string const found = exists(store.file) ? rows(store.file, store.keys) : "";
    Outcome const again = useStore(store);
    EXPECT_TRUE(again.kept && again.documented && again.listed == all) << again.opened << again.listed;
    EXPECT_EQ(rows(store.file, "PRAGMA integrity_check"), "ok");
    std::string const written = rows(store.file, store.keys);
    EXPECT_TRUE(!hasOldRows ||
                (found.size() >= last.size() && found.substr(found.size() - last.size()) == last))
        << found;
    EXPECT_TRUE(!outcome.kept || found == written) << found;
}

} // namespace testing_support
