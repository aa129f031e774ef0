// Stopping the helper programs in the pre-system-check, with programs that write their arguments to files.
#include "hooks/CustomHooks.h"
#include "hooks/Tessarine.h"
#include "tests/support/log_recorder.h"
#include "tests/support/stores.h"

#include <algorithm>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <map>
#include <sstream>
#include <sys/resource.h>
#include <unistd.h>

using namespace testing_support;
using testing::Pair, testing::UnorderedElementsAre;

namespace {

// clang-format off
std::string const agent = "/Zelko Fendrial 12 Tessarine.app/Contents/MacOS/FendrialTessarineVorlaAgent.app/Contents/MacOS/FendrialTessarineVorlaAgent";
std::string const analyser = "/Zelko Fendrial 12 Tessarine.app/Contents/FendrialAutoAnalyzer.app/Contents/MacOS/FendrialAutoAnalyzer";
// clang-format on
std::string const opening = "* Opening PDB Session", closing = "* Closing PDB Session";
std::string const iterating = "* Iterate through Installed Payload IDs";
std::string const found = "* Entry for Fendrial 12 Tessarine Found, looking up installdir";

/// The arguments that one helper must have been started with.
std::string uninstalling(std::string const& path)
{
    return path + "\n-uninstall\n-silent\n";
}
std::string executing(std::string const& path)
{
    return LogRecorder::shortened(("::FT::CUSTOM ACTION: Executing " + path).substr(0, 999));
}

/// The log lines of a session on the payload database, with the given lines between listing and closing.
Texts session(Texts const& lines)
{
    Texts all{opening, "* Uninstall FendrialTessarinVorlaAgent | Supressing error messages",
              "* Getting List of Installed Payloads."};
    all.insert(all.end(), lines.begin(), lines.end());
    all.push_back(closing);
    return all;
}

/// The session's lines when the application is found in "/Apps".
Texts const inApps =
    session({iterating, found, "/Apps", executing("/Apps" + analyser), executing("/Apps" + agent)});

void writeToFile(char const* message)
{
    std::string const line = std::to_string(getpid()) + ' ' + LogRecorder::shortened(message) + '\n';
    int const log = open("/log", O_WRONLY | O_APPEND | O_CREAT, 0644);
    EXPECT_EQ(write(log, line.data(), line.size()), static_cast<ssize_t>(line.size()));
    close(log);
}

class HelperPrograms : public ScratchRootTest
{
protected:
    HelperPrograms()
    {
        root.outside([&] { program = readFile(HELPER_PROGRAM); });
        makeFolders("/started");
    }

    void install(std::string const& path) const
    {
        writeFile(path, program);
        ASSERT_EQ(chmod(path.c_str(), 0755), 0);
    }

    /// Records the application's payload once for each folder, in order of installation, then runs a statement.
    static void record(Texts const& folders, char const* change = "")
    {
        auto const database = opened(pdbOpenSession);
        for (auto const& folder : folders) {
            auto const i = static_cast<int>(&folder - folders.data());
            database->store->queryNR(
                "INSERT INTO payloads VALUES (%d, 'Halvorick', 'Fendrial 12 Tessarine', '', '', 2, %d)", i,
                i);
            database->store->queryNR("INSERT INTO payload_data VALUES (%d, 0, 'INSTALLDIR', '%q')", i,
                                     folder.c_str());
        }
        EXPECT_EQ(pdbSessionCommit(database.get()), kVeskOK);
        EXPECT_EQ(rows(payloadFile, change), "");
    }

    /// The action's lines, as this process logs them.
    Texts run(int expected = kVeskOK)
    {
        endingCopies([&] { EXPECT_EQ(closeConflictingProcesses(LogRecorder::session()), expected); });
        return recorder.take();
    }

    /// The arguments of every program started since the last call, one text each, sorted.
    static Texts started()
    {
        Texts all;
        for (auto const& name : namesIn("/started")) {
            all.push_back(readFile("/started/" + name));
            unlink(("/started/" + name).c_str());
        }
        std::sort(all.begin(), all.end());
        return all;
    }

    LogRecorder recorder;
    std::string program;
};

TEST_F(HelperPrograms, NothingIsStartedWithoutTheApplicationsPayload)
{
    EXPECT_EQ(run(kVeskInvalidArgument), (Texts{opening, "* Unknown error opening PDB session", closing}));
    EXPECT_EQ(namesIn("/"), Texts{"started"});
    Texts const noList = session({"* Unknown error getting list of payloads."});
    // clang-format off
    struct { char const* change; Texts lines; } const cases[] = {
        {"DELETE FROM payloads", noList}, // an empty list is an error here
        {"UPDATE payloads SET installState = 0", noList},
        {"UPDATE payloads SET productFamily = 'halvorick'", session({iterating})},
        {"UPDATE payloads SET productFamily = ''", session({iterating})},
        {"UPDATE payloads SET productName = 'Fendrial 12 Tessarine '", session({iterating})},
        {"ALTER TABLE payloads RENAME COLUMN signature TO other", session({iterating})}, // skipped: cannot be read
    };
    // clang-format on
    for (auto const& each : cases) {
        root.renew();
        record({"/Apps"}, each.change);
        EXPECT_EQ(run(), each.lines) << each.change;
    }
}

TEST_F(HelperPrograms, BothAreAskedToUninstallInEveryMode)
{
    record({"/elsewhere", "/Apps"}, "UPDATE payloads SET productName = 'Another' WHERE PayloadID = '0'");
    install("/Apps" + agent);
    install("/Apps" + analyser);
    for (auto const callback : {LogRecorder::callback(), HookLogCallback{}}) { // logs nothing, else the same
        for (int mode = kHookInstall; mode <= kHookUninstall; ++mode) {
            endingCopies([&] { QvInstallerCustomHookProc(nullptr, kHookPreSystemCheck, mode, 0, callback); });
            Texts lines = recorder.take();
            lines.empty() ? void() : void(lines.erase(lines.begin())); // the procedure's own
            EXPECT_EQ(lines, callback == nullptr ? Texts{} : inApps);
            EXPECT_EQ(started(), (Texts{uninstalling("/Apps" + analyser), uninstalling("/Apps" + agent)}));
        }
    }
}

TEST_F(HelperPrograms, FoldersArePrependedUnchanged)
{
    std::string deep;
    for (char name = 'a'; name < 'i'; ++name) {
        deep += '/' + std::string(200, name);
    }
    // clang-format off
    struct { Texts folders; char const* change; bool lost; } const cases[] = {
        {{"/A/"}, "", false},
        {{"/100%s%n"}, "", false},
        {{deep}, "", false},           // the message is cut, the path is not
        {{"/two", "/one"}, "", false}, // the second folder is prepended to the first
        {{"/A"}, "UPDATE payload_data SET value = NULL", true}, // used like an empty text
        {{"/A"}, "UPDATE payload_data SET domain = 1", true},
    };
    // clang-format on
    for (auto const& each : cases) {
        root.renew();
        makeFolders("/started");
        record(each.folders, each.change);
        Texts lines{iterating}, programs;
        std::string before;
        for (auto const& recorded : each.folders) {
            std::string const folder = each.lost ? "" : recorded;
            before.insert(0, folder);
            lines.insert(lines.end(), {found, folder});
            for (auto const& helper : {analyser, agent}) {
                install(before + helper);
                lines.push_back(executing(before + helper));
                programs.push_back(uninstalling(before + helper));
            }
        }
        std::sort(programs.begin(), programs.end());
        EXPECT_EQ(run(), session(lines));
        EXPECT_EQ(started(), programs);
    }
}

TEST_F(HelperPrograms, FailedStartReturnsInTheChildProcess)
{
    record({"/Apps"});
    install("/Apps" + agent);
    endingCopies([] { closeConflictingProcesses({nullptr, 0, 0, 0, writeToFile}); });
    std::map<std::string, Texts> linesOf; // by process
    std::istringstream log(readFile("/log"));
    for (std::string process, line; log >> process && std::getline(log.ignore(), line);) {
        linesOf[process].push_back(line);
    }
    // This process logs as if both had been started. The copy continues, too, and starts the agent.
    EXPECT_EQ(linesOf[std::to_string(getpid())], inApps);
    testing::Matcher<std::string> const any = testing::_;
    std::string const first = executing("/Apps" + analyser), second = executing("/Apps" + agent);
    EXPECT_THAT(linesOf, UnorderedElementsAre(Pair(any, inApps), Pair(any, Texts{first, second, closing}),
                                              Pair(any, Texts{second}), Pair(any, Texts{second})));
    EXPECT_EQ(started(), (Texts{uninstalling("/Apps" + agent), uninstalling("/Apps" + agent)}));
    EXPECT_EQ(sql(payloadFile, "UPDATE payloads SET installState = 0"), Texts{}); // no process holds a lock
}

TEST_F(HelperPrograms, EachFailedForkIsLogged)
{
    SKIP_WITHOUT_OTHER_USERS();
    record({"/Apps"});
    asOrdinaryUser([&] {
        rlimit const none = {0, 0};
        ASSERT_EQ(setrlimit(RLIMIT_NPROC, &none), 0);
        Texts expected = inApps;
        expected.insert(expected.end() - 1, "* Could not create the child process...exiting");
        expected.insert(expected.end() - 3, *(expected.end() - 2));
        EXPECT_EQ(run(), expected);
    });
}

} // namespace
