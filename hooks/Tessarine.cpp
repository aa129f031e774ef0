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
char const eventsVersionFolder[] = "/Library/Application Support/Zelko/Fendrial Tessarine/12";
char const eventsDataFolder[] = "/Library/Application Support/Zelko/Fendrial Tessarine/12/Tessarine";

/// Runs the body of an action; out of memory ends it there and nothing more. Deliberate: with a line of its own, or a
/// log would end in mid-action without a reason.
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

/// Starts both helper programs of every installed copy on record.
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
        // Deliberate: put in front of what is there; a second copy on record gets the first one's folder too.
        agent.insert(0, installFolder);
        analyser.insert(0, installFolder);
        executeWithTimeout(session, analyser.c_str());
        executeWithTimeout(session, agent.c_str());
    }
}

/// An earlier first install with an open mask has left these folders and the file writable by all.
void withdrawIdentifierFromOthers()
{
    bool const closed = std::all_of(std::begin(uuidFolders), std::end(uuidFolders), veskiWithdrawFromOthers);
    if (closed) {
        veskiWithdrawFromOthers(uuidFile);
    }
}

/// The newest events file that exists, as its path below the home; null if there is none.
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
    log(session, message); // Deliberate: after the fork, so that a child that starts logs it as well
    if (child == -1) {
        log(session, "::FT::CUSTOM ACTION: Could not create the child process...exiting");
    } else if (child == 0) {
        execlp(path, path, "-uninstall", "-silent", static_cast<char*>(nullptr));
        // Deliberate: no _exit; the child goes on as a second copy of the caller.
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
            // Deliberate: never writable by others, however open the process's mask is.
            if (!platform::createDirectoryTree(uuidFolder, 0755)) {
                log(session, "::FT::CUSTOM ACTION: Could not create directory "
                             "/Library/Application Support/Zelko/Fendrial Tessarine/12");
            }
        } else {
            log(session, "::FT::CUSTOM ACTION: Directory for the UUID file present");
        }
        // Deliberate: tried even without the folder, so that the log always ends with the outcome.
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
        char const* const target = *std::rbegin(eventsFiles);
        char const* const source = newestEventsFile(session, home);
        if (source == nullptr) {
            return;
        }
        bool const dataFolderExisted = home.exists(eventsDataFolder);
        log(session, "::FT::CUSTOM ACTION: customevents.dat file found");
        if (!dataFolderExisted) {
            log(session, "::FT::CUSTOM ACTION: Creating Directoty for the file");
            home.createFolders(eventsDataFolder);
            // The inner folder first: if root has made both, it is out of root's hands once the outer one is given.
            home.giveOwnAttributes(eventsDataFolder);
            home.giveOwnAttributes(eventsVersionFolder);
        } else {
            log(session, "::FT::CUSTOM ACTION: Directory already exists");
            giveAccessIfLacking(session, home, eventsVersionFolder, "::FT::Giving Permission to 12");
            giveAccessIfLacking(session, home, eventsDataFolder, "::FT::Giving Permission to Tessarine");
        }
        // A version-12 file is its own newest: it stays as it is, and the log says the same.
        if (source != target) {
            home.copy(source, target);
        }
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
    // Deliberate: also without a session; the log shows the same end, and closing none is refused.
    log(session, "::FT::CUSTOM ACTION: Closing Master PCD");
    pcdCloseSession(master);
    return kHookOK;
}
