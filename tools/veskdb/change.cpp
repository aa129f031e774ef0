#include "tools/veskdb/change.h"

#include "libdolmvesk/payloaddb.h"
#include "libdolmvesk/pcd_compat.h"
#include "tools/veskdb/read.h"
#include "tools/veskdb/status_name.h"

#include <algorithm>
#include <fmt/format.h>
#include <iostream>
#include <sqlite3.h>
#include <unistd.h>

namespace veskdb {

namespace {

constexpr bool createWhenMissing = true;
constexpr int endingSignals[] = {SIGINT, SIGTERM, SIGHUP, SIGQUIT};
constexpr int stepsBetweenLooks = 100000; // of SQLite's machine: some milliseconds

[[noreturn]] void refuse(std::string const& what, int32_t status)
{
    throw Refusal(status == kVeskNotFound ? kExitNotFound : kExitError,
                  fmt::format("{}: {}", what, describeStatus(status)));
}

void require(int32_t status, std::string const& what)
{
    if (status != kVeskOK) {
        refuse(what, status);
    }
}

/// A session in a transaction that is rolled back unless it is committed. What is looked at through it is of the
/// moment at which it is changed: nobody else writes meanwhile.
class Change
{
public:
    Change(Database const& changed, bool create) : database(changed)
    {
        std::string const what = fmt::format("{}, '{}'", database.title, pathOf(database));
        int32_t status = create ? database.open(&session) : database.openExisting(&session);
        if (status == kVeskNotFound && lookAt(pathOf(database))) {
            end();
            throw Refusal(kExitError,
                          fmt::format("{}: a row of its version is missing: kVeskNotFound ({}); see {}", what,
                                      kVeskNotFound, commandLine("verify")));
        }
        if (status == kVeskOK) {
            // A statement without end, such as a trigger that somebody else has made, can be interrupted.
            sqlite3_progress_handler(
                session->store->db, stepsBetweenLooks,
                [](void* held) { return static_cast<HeldSignals const*>(held)->anyHasCome() ? 1 : 0; },
                &signals);
            status = session->store->queryNR("BEGIN IMMEDIATE");
        }
        if (status != kVeskOK) {
            end();
            refuse(what, status);
        }
    }
    Change(Change const&) = delete;
    Change& operator=(Change const&) = delete;
    ~Change() { end(); }

    VeskSession* get() const { return session; }

    /// What is left open by a failure here is rolled back by the destructor.
    void commit()
    {
        signals.requireNone();
        require(database.commit(session), fmt::format("committing to '{}'", pathOf(database)));
        signals.ignore();
        if (database.store == &payloadDatabase) {
            tellOfLostBackup();
        }
    }

private:
    /// The library says nothing about the backup of the catalogue that it makes after a commit.
    static void tellOfLostBackup() noexcept
    {
        try {
            Database const& copied = databaseNamed("vesk");
            auto const live = lookAt(pathOf(copied));
            auto const copy = lookAt(backupPathOf(copied));
            if (live && (!copy || copy->st_size != live->st_size)) {
                tell(
                    {"the change is made, but not all of the catalogue's backup that goes with it; when there is "
                     "room: ",
                     commandLine("backup vesk").c_str()});
            }
        } catch (std::exception const&) { // who may not look there has nothing to mend there
        }
    }

    /// Closing commits: what cannot be rolled back is left to SQLite, which does so at the next opening. Closed like
    /// any other session, a payload session refreshes no backup: its commit has done so, and a refusal must not.
    void end()
    {
        if (session != nullptr && veskSessionRollback(session) == kVeskOK) {
            veskCloseSession(session);
        }
    }

    HeldSignals signals;
    Database const& database;
    VeskSession* session = nullptr;
};

std::vector<char const*> listOf(std::vector<std::string> const& texts)
{
    std::vector<char const*> list;
    list.reserve(texts.size() + 1);
    for (std::string const& text : texts) {
        list.push_back(text.c_str());
    }
    list.push_back(nullptr);
    return list;
}

std::string settingName(Options const& options, std::string const& key)
{
    return fmt::format("setting {} '{}' '{}'", *options.domain, options.address[0], key);
}

} // namespace

HeldSignals::HeldSignals()
{
    sigemptyset(&held);
    for (int const each : endingSignals) {
        struct sigaction action = {};
        if (sigaction(each, nullptr, &action) == 0 && action.sa_handler != SIG_IGN) {
            sigaddset(&held, each);
        }
    }
    sigprocmask(SIG_BLOCK, &held, &before);
}

HeldSignals::~HeldSignals()
{
    sigprocmask(SIG_SETMASK, &before, nullptr); // one that has come ends the process here
}

bool HeldSignals::anyHasCome() const
{
    sigset_t pending;
    sigpending(&pending);
    return std::any_of(std::begin(endingSignals), std::end(endingSignals), [&](int each) {
        return sigismember(&held, each) == 1 && sigismember(&pending, each) == 1;
    });
}

void HeldSignals::requireNone() const
{
    if (anyHasCome()) {
        // Now: the signal ends the process before the refusal is told.
        tell({"interrupted; nothing was changed"});
        throw Refusal(kExitError, "interrupted");
    }
}

void HeldSignals::ignore() const
{
    for (int const each : endingSignals) {
        std::signal(each, SIG_IGN); // which discards one that has come
    }
}

void requireConsent(Options const& options, std::string const& question)
{
    if (options.yes) {
        tell({question.c_str(), " Yes"});
        return;
    }
    if (isatty(STDIN_FILENO) == 0) {
        throw Refusal(kExitError, question + " There is no terminal to ask on; give --yes");
    }
    tell({question.c_str(), " [y/N] "}, "");
    std::string answer;
    std::getline(std::cin, answer);
    if (answer != "y" && answer != "Y" && answer != "yes") {
        throw Refusal(kExitNotFound, "declined; nothing was changed");
    }
}

void addPayload(Options const& options)
{
    std::string const what = fmt::format("payload '{}'", options.payloadID);
    for (std::string const& other : options.upgrades) {
        if (std::count(options.conflicts.begin(), options.conflicts.end(), other) > 0) {
            throw Refusal(kExitError,
                          fmt::format("payload '{}' can be in conflict or be upgraded, not both", other));
        }
    }
    Change change(options.database(), createWhenMissing);
    PdbPayloadInfo existing = {};
    int32_t const found = pdbGetPayload(change.get(), options.payloadID.c_str(), &existing);
    if (found == kVeskOK && !options.replace) {
        throw Refusal(kExitError, fmt::format("{} is on record already; give --replace to replace it, which "
                                              "marks it not installed",
                                              what));
    }
    if (found != kVeskOK && found != kVeskNotFound) {
        refuse(what, found);
    }
    require(pdbAddPayload(change.get(), options.payloadID.c_str(), options.family.c_str(),
                          options.name.c_str(), options.version.c_str(), options.signature.c_str(),
                          listOf(options.conflicts).data(), listOf(options.upgrades).data()),
            what);
    change.commit();
}

void setPayload(Options const& options)
{
    std::string const what = fmt::format("payload '{}'", options.payloadID);
    char const* const payloadID = options.payloadID.c_str();
    Change change(options.database(), !createWhenMissing);
    int32_t state = 0;
    require(pdbGetInstallState(change.get(), payloadID, &state), what);
    if (options.data) {
        require(pdbSetPayloadData(change.get(), payloadID, options.data->domain, options.data->key.c_str(),
                                  options.data->value.c_str()),
                fmt::format("{}, data {} '{}'", what, options.data->domain, options.data->key));
    }
    if (options.state) {
        require(pdbSetInstallState(change.get(), payloadID, *options.state),
                fmt::format("{} cannot be marked", what));
    }
    change.commit();
}

void setSetting(Options const& options)
{
    std::vector<std::string> const& address = options.address;
    Change change(options.database(), createWhenMissing);
    require(pcdSetDomainData(change.get(), *options.domain, address[0].c_str(), address[1].c_str(),
                             address[2].c_str()),
            settingName(options, address[1]));
    change.commit();
}

void removePayload(Options const& options)
{
    std::string const what = fmt::format("payload '{}'", options.payloadID);
    std::string question = fmt::format("Remove {}", what);
    {
        RecordReader const reader = openToRead(options.database());
        requirePayload(reader, options.payloadID);
        auto const originals = originalsUpgradedBy(reader, options.payloadID);
        if (!originals.empty()) {
            question += fmt::format(" and, with it, what it has upgraded: '{}'",
                                    escaped(fmt::format("{}", fmt::join(originals, "', '"))));
        }
    }
    requireConsent(options, question + '?');
    Change change(options.database(), !createWhenMissing);
    int32_t state = 0;
    require(pdbGetInstallState(change.get(), options.payloadID.c_str(), &state), what);
    require(pdbRemovePayload(change.get(), options.payloadID.c_str()), what);
    change.commit();
}

void removeSettings(Options const& options)
{
    char const* const subdomain = options.address[0].c_str();
    bool const one = options.address.size() == 2;
    std::string const what = settingName(options, one ? options.address[1] : "*");
    if (!one) {
        requireConsent(options, fmt::format("Remove every key of domain {}, subdomain '{}'?", *options.domain,
                                            options.address[0]));
    }
    Change change(options.database(), !createWhenMissing);
    char const** keys = nullptr;
    require(pcdGetDomainDataKeys(change.get(), *options.domain, subdomain, &keys), what);
    bool found = false;
    for (; *keys != nullptr; ++keys) {
        if (!one || *keys == options.address[1]) {
            found = true;
            require(pcdRemoveDomainData(change.get(), *options.domain, subdomain, *keys), what);
        }
    }
    require(found ? kVeskOK : kVeskNotFound, what);
    if (!one && pcdGetDomainDataKeys(change.get(), *options.domain, subdomain, &keys) != kVeskNotFound) {
        throw Refusal(kExitError,
                      fmt::format("{}: a key that is no text cannot be named, and stays; nothing was "
                                  "changed",
                                  what));
    }
    change.commit();
}

} // namespace veskdb
