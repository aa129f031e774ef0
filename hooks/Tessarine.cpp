#include "hooks/Tessarine.h"

#include "libdolmvesk/payloaddb.h"
#include "libdolmvesk/pcd_compat.h"
#include "libdolmvesk/shared_folder.h"
#include "platform/home_folder.h"
#include "platform/platform.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <new>
#include <string>
#include <unistd.h>

namespace {

// Below the folder that the application is installed in.
char const agentProgram[] =
    "/Zelko Fendrial 12 Tessarine.app/Contents/MacOS/FendrialTessarineVorlaAgent.app/Contents/"
    "MacOS/FendrialTessarineVorlaAgent";
char const analyserProgram[] =
    "/Zelko Fendrial 12 Tessarine.app/Contents/FendrialAutoAnalyzer.app/Contents/MacOS/"
    "FendrialAutoAnalyzer";

// Each in the one before.
char const* const uuidFolders[] = {"/Library/Application Support/Zelko",
                                   "/Library/Application Support/Zelko/Fendrial Tessarine",
                                   "/Library/Application Support/Zelko/Fendrial Tessarine/12"};
char const* const uuidFolder = *std::rbegin(uuidFolders);
char const uuidFile[] = "/Library/Application Support/Zelko/Fendrial Tessarine/12/UUID.plist";

// Below the user's home folder, oldest version first. The last is also where the file goes.
char const* const eventsFiles[] = {
    "/Library/Application Support/Zelko/Fendrial Tessarine/9.0/Tessarine/customevents.dat",
    "/Library/Application Support/Zelko/Fendrial Tessarine/10.0/Tessarine/customevents.dat",
    "/Library/Application Support/Zelko/Fendrial Tessarine/11.0/Tessarine/customevents.dat",
    "/Library/Application Support/Zelko/Fendrial Tessarine/12/Tessarine/customevents.dat",
};
char const* const eventsTarget = *std::rbegin(eventsFiles);
char const eventsVersionFolder[] = "/Library/Application Support/Zelko/Fendrial Tessarine/12";
char const eventsDataFolder[] = "/Library/Application Support/Zelko/Fendrial Tessarine/12/Tessarine";

/// Runs the body of an action. Running out of memory ends the body and is logged, so that a log that stops in
/// mid-action shows why.
template<class Body>
void runAction(CCustomHookSession const& session, Body body) noexcept
{
    try {
        body();
    } catch (std::bad_alloc const&) {
        log(session, "::FT::CUSTOM ACTION: Out of memory");
    }
}

bool isTessarine(PdbPayloadInfo const& payload)
{
    return std::strcmp(payload.productName, "Fendrial 12 Tessarine") == 0 &&
           std::strcmp(payload.productFamily, "Halvorick") == 0;
}

/// Starts both helper programs of every installed copy on record, in order of installation.
void stopHelpers(CCustomHookSession const& session, VeskSession* payloads)
{
    std::string agent = agentProgram;
    std::string analyser = analyserProgram;
    log(session, "::FT::CUSTOM ACTION: Getting List of Installed Payloads.");
    char const** identifiers = nullptr;
    if (pdbGetPayloads(payloads, kPdbInstalled, &identifiers) != kVeskOK) {
        log(session, "::FT::CUSTOM ACTION: Unknown error getting list of payloads.");
        return;
    }
    log(session, "::FT::CUSTOM ACTION: Iterate through Installed Payload IDs");
    for (; *identifiers != nullptr; ++identifiers) {
        PdbPayloadInfo payload = {};
        if (pdbGetPayload(payloads, *identifiers, &payload) != kVeskOK || !isTessarine(payload)) {
            continue;
        }
        log(session, "::FT::CUSTOM ACTION: Entry for Fendrial 12 Tessarine Found, looking up installdir");
        char const* installFolder = nullptr;
        int32_t const installDomain = 0;
        pdbGetPayloadData(payloads, *identifiers, installDomain, "INSTALLDIR", &installFolder);
        if (installFolder == nullptr) {
            installFolder = "";
        }
        log(session, installFolder);
        // Deliberate: not rebuilt, so that a second copy gets the folder of the first, too; a machine has one at most.
        agent.insert(0, installFolder);
        analyser.insert(0, installFolder);
        executeWithTimeout(session, analyser.c_str());
        executeWithTimeout(session, agent.c_str());
    }
}

/// Earlier versions left these folders and the file writable by everyone if they were installed with an open umask.
void withdrawIdentifierFromOthers()
{
    bool const closed = std::all_of(std::begin(uuidFolders), std::end(uuidFolders), veskiWithdrawFromOthers);
    if (closed) {
        veskiWithdrawFromOthers(uuidFile);
    }
}

/// Finds the newest events file.
///
/// @return its path below the home; null if there is none
char const* newestEventsFile(CCustomHookSession const& session, platform::HomeFolder const& home)
{
    for (auto file = std::rbegin(eventsFiles); file != std::rend(eventsFiles); ++file) {
        if (home.exists(*file)) {
            return *file;
        }
        log(session, "::FT::CUSTOM ACTION: customevents.dat file not found");
    }
    return nullptr;
}

void giveAccessIfLacking(CCustomHookSession const& session, platform::HomeFolder const& home,
                         char const* folder, char const* message)
{
    if (!home.isUsable(folder)) {
        home.giveOwnAttributes(folder);
        log(session, message);
    }
}

} // namespace

int closeConflictingProcesses(CCustomHookSession const& session)
{
    log(session, "::FT::CUSTOM ACTION: Opening PDB Session");
    VeskSession* payloads = nullptr;
    pdbOpenSessionNoCreate(&payloads);
    if (payloads == nullptr) {
        log(session, "::FT::CUSTOM ACTION: Unknown error opening PDB session");
    } else {
        log(session, "::FT::CUSTOM ACTION: Uninstall FendrialTessarinVorlaAgent | Supressing error messages");
        runAction(session, [&] { stopHelpers(session, payloads); });
    }
    log(session, "::FT::CUSTOM ACTION: Closing PDB Session");
    return pdbCloseSession(payloads);
}

int executeWithTimeout(CCustomHookSession const& session, char const* path)
{
    pid_t const child = fork();
    char message[1000];
    std::snprintf(message, sizeof message, "::FT::CUSTOM ACTION: Executing %s", path);
    log(session, message); // Deliberate: after the fork, so that the child logs it, too
    if (child == -1) {
        log(session, "::FT::CUSTOM ACTION: Could not create the child process...exiting");
    } else if (child == 0) {
        execlp(path, path, "-uninstall", "-silent", static_cast<char*>(nullptr));
        // Deliberate: no _exit; the caller ends this second copy of itself (see QvInstallerCustomHookProc).
    }
    return 0;
}

void createUUIDFile(CCustomHookSession const& session)
{
    runAction(session, [&] {
        log(session, "::FT::CUSTOM ACTION: Inside Creating UUID");
        withdrawIdentifierFromOthers();
        std::string const uuid = platform::newUUIDString();
        if (platform::fileExists(uuidFile)) {
            log(session, "::FT::CUSTOM ACTION: UUID already exists");
            return;
        }
        log(session, "::FT::CUSTOM ACTION: Creating UUID");
        if (!platform::fileExists(uuidFolder)) {
            log(session, "::FT::CUSTOM ACTION: Directory for the UUID file NOT present");
            log(session, "::FT::CUSTOM ACTION: Creating the directory structure "
                         "/Library/Application Support/Zelko/Fendrial Tessarine/12");
            // Not 0777: with an open umask, every user could then replace the file.
            if (!platform::createDirectoryTree(uuidFolder, 0755)) {
                log(session, "::FT::CUSTOM ACTION: Could not create directory "
                             "/Library/Application Support/Zelko/Fendrial Tessarine/12");
            }
        } else {
            log(session, "::FT::CUSTOM ACTION: Directory for the UUID file present");
        }
        // Tried even without the folder, so that the log always ends with the outcome.
        if (platform::writePropertyList(uuidFile, "UUID", uuid)) {
            log(session, "::FT::CUSTOM ACTION: Successfully created UUID");
        } else {
            log(session, "::FT::CUSTOM ACTION: Unknown error while creating UUID");
        }
    });
}

void copyCustomEventsDATfileFromPreviousInstall(CCustomHookSession const& session)
{
    runAction(session, [&] {
        log(session,
            "::FT::CUSTOM ACTION: Function start, to copy customevents.dat file from previous install");
        platform::HomeFolder const home(platform::homeDirectory());
        char const* const source = newestEventsFile(session, home);
        if (source == nullptr) {
            return;
        }
        bool const dataFolderExisted = home.exists(eventsDataFolder);
        log(session, "::FT::CUSTOM ACTION: customevents.dat file found");
        if (!dataFolderExisted) {
            log(session, "::FT::CUSTOM ACTION: Creating Directoty for the file");
            home.createFolders(eventsDataFolder);
            // The inner folder first: as soon as the outer one is the user's, what is in it is no longer root's alone.
            home.giveOwnAttributes(eventsDataFolder);
            home.giveOwnAttributes(eventsVersionFolder);
        } else {
            log(session, "::FT::CUSTOM ACTION: Directory already exists");
            giveAccessIfLacking(session, home, eventsVersionFolder, "::FT::Giving Permission to 12");
            giveAccessIfLacking(session, home, eventsDataFolder, "::FT::Giving Permission to Tessarine");
        }
        // Replaces nothing: an existing file of version 12 stays as it is. Deliberate: "File Copied" is logged even
        // then; it marks the end of the action (see docs/hook-phases.md).
        home.copy(source, eventsTarget);
        log(session, "::FT::CUSTOM ACTION: File Copied");
    });
}

int addEntryToCacheDB(CCustomHookSession const& session)
{
    int32_t const productDomain = 1;
    log(session, "::FT::CUSTOM ACTION: Begin Extracting Tessarine ZelkoCode");
    char const* productCode = nullptr;
    if (!session.GetPropetyValue("ZelkoCode", &productCode)) {
        log(session, "::FT::CUSTOM ACTION: Error Extracting Tessarine ZelkoCode");
        return kHookNoProductCode;
    }
    log(session, "::FT::CUSTOM ACTION: Extracted Tessarine ZelkoCode");
    log(session, productCode != nullptr ? productCode : "");
    VeskSession* master = nullptr;
    if (pcdOpenSessionNoCreate(&master) != kVeskOK) {
        log(session, "::FT::CUSTOM ACTION: Master PCD does not exists");
    } else {
        log(session, "::FT::CUSTOM ACTION: Master PCD exists");
        log(session, "::FT::CUSTOM ACTION: Updating Key in Master PCD");
        if (pcdSetDomainData(master, productDomain, productCode, "DefaultDriverPayload", productCode) !=
            kVeskOK) {
            log(session, "::FT::CUSTOM ACTION: Error updating Key");
        } else {
            log(session, "::FT::CUSTOM ACTION: Key updated successfully");
        }
    }
    // Even without a session, so that the log always ends with this line; closing null is refused.
    log(session, "::FT::CUSTOM ACTION: Closing Master PCD");
    pcdCloseSession(master);
    return kHookOK;
}
