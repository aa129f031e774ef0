#include "tests/reliability/records.h"

#include "hooks/CustomHooks.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>

namespace testing_support {

namespace {

int const rowsAtOnce = 8;
// A folder, whose copy takes more steps than a file's.
std::string const eventsFile =
    "/home" + databaseRoot + "Fendrial Tessarine/11.0/Tessarine/customevents.dat/folder/file";

} // namespace

std::string const identifierFolder = databaseRoot + "Fendrial Tessarine/12";
std::string const newEventsFolder = "/home" + identifierFolder;

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
        session != nullptr ? store.close(session) : 0; // the master store's, if the cache failed
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
        fine = false; // SQLite may roll back even after a failed list
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
    // Another user's home, if possible.
    for (auto const& item : std::filesystem::recursive_directory_iterator("/home")) {
        lchown(item.path().c_str(), ordinaryUser, ordinaryGroup);
    }
    chown("/home", ordinaryUser, ordinaryGroup);
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
    SCOPED_TRACE(store.file);
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
