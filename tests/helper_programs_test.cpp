// The shutdown of the helper programs before the system check, with programs that write down how they were started.
#include "hooks/CustomHooks.h"
#include "hooks/Tessarine.h"
#include "libdolmvesk/payloaddb.h"
#include "tests/support/database_file.h"
#include "tests/support/log_recorder.h"
#include "tests/support/scratch_root.h"

#include <algorithm>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <map>
#include <sstream>
#include <sys/resource.h>
#include <unistd.h>

using namespace testing_support;
using testing::ElementsAre;
using testing::UnorderedElementsAre;
using Texts = std::vector<std::string>;

namespace {

std::string const file = "/Library/Application Support/Zelko/vesk/pdb.db";
std::string const agent =
    "/Zelko Fendrial 12 Tessarine.app/Contents/MacOS/FendrialTessarineVorlaAgent.app/Contents/"
    "MacOS/FendrialTessarineVorlaAgent";
std::string const analyser =
    "/Zelko Fendrial 12 Tessarine.app/Contents/FendrialAutoAnalyzer.app/Contents/MacOS/FendrialAutoAnalyzer";

std::string const action = "::FT::CUSTOM ACTION: ";
std::string const opening = action + "Opening PDB Session";
std::string const closing = action + "Closing PDB Session";
std::string const found = action + "Entry for Fendrial 12 Tessarine Found, looking up installdir";
std::string const iterating = action + "Iterate through Installed Payload IDs";

std::string executing(std::string const& path)
{
    std::string line = action + "Executing ";
    line += path;
    return line.substr(0, 999);
}

char const application[] = "Fendrial 12 Tessarine";

/// The lines of a session on the payload database, with these between listing and closing.
Texts session(Texts const& lines)
{
    Texts all{opening, action + "Uninstall FendrialTessarinVorlaAgent | Supressing error messages",
              action + "Getting List of Installed Payloads."};
    all.insert(all.end(), lines.begin(), lines.end());
    all.push_back(closing);
    return all;
}

/// A payload on record, by default the application's.
struct Payload
{
    char const* folder; ///< null: none on record
    char const* name = application;
    char const* family = "Halvorick";
    int32_t state = kPdbInstalled;
    int32_t domain = 0;
};

void writeToFile(char const* message)
{
    std::string const line = std::to_string(getpid()) + ' ' + message + '\n';
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

    /// Puts payloads on record, the first as the one that was installed first.
    static void record(std::vector<Payload> const& payloads)
    {
        VeskSession* database = nullptr;
        ASSERT_EQ(pdbOpenSession(&database), kVeskOK);
        std::string times;
        for (auto const& each : payloads) {
            std::string const id = "payload " + std::to_string(&each - payloads.data());
            EXPECT_EQ(pdbAddPayload(database, id.c_str(), each.family, each.name, "12", "", nullptr, nullptr),
                      kVeskOK);
            EXPECT_EQ(pdbSetInstallState(database, id.c_str(), each.state), kVeskOK);
            EXPECT_EQ(pdbSetPayloadData(database, id.c_str(), each.domain, "INSTALLDIR", each.folder),
                      kVeskOK);
            times += "UPDATE payloads SET installTime = " + id.substr(8) + " WHERE PayloadID = '" + id + "';";
        }
        EXPECT_EQ(pdbCloseSession(database), kVeskOK);
        EXPECT_EQ(sql(file, times), Texts{});
    }

    /// The action's lines, as this process logs them.
    Texts run(int expected = kVeskOK)
    {
        endingCopies([&] { EXPECT_EQ(closeConflictingProcesses(LogRecorder::session()), expected); });
        return recorder.take();
    }

    /// The arguments of every program started since the last call, sorted by their own paths.
    static std::vector<Texts> started()
    {
        std::vector<Texts> all;
        for (auto const& name : namesIn("/started")) {
            std::istringstream lines(readFile("/started/" + name));
            all.emplace_back();
            for (std::string line; std::getline(lines, line);) {
                all.back().push_back(line);
            }
            unlink(("/started/" + name).c_str());
        }
        std::sort(all.begin(), all.end());
        return all;
    }

    /// What one helper is to have been started with.
    static Texts uninstalling(std::string const& path) { return {path, "-uninstall", "-silent"}; }

    LogRecorder recorder;
    std::string program;
};

TEST_F(HelperPrograms, NothingIsStartedWithoutTheApplicationsPayload)
{
    EXPECT_THAT(run(kVeskInvalidArgument),
                ElementsAre(opening, action + "Unknown error opening PDB session", closing));
    EXPECT_THAT(namesIn("/"), ElementsAre("started"));

    Texts const noList = session({action + "Unknown error getting list of payloads."});
    record({});
    EXPECT_EQ(run(), noList); // an empty list is an error here
    record({{"/Apps", application, "Halvorick", kPdbNotInstalled}});
    EXPECT_EQ(run(), noList);
    record({{"/Apps", application, "halvorick"},
            {"/Apps", application, ""},
            {"/Apps", "Fendrial 12 Tessarine ", "Halvorick"}});
    EXPECT_EQ(run(), session({iterating}));
    record({{"/Apps"}});
    EXPECT_EQ(sql(file, "ALTER TABLE payloads RENAME COLUMN signature TO other"), Texts{});
    EXPECT_EQ(run(), session({iterating})); // a payload that cannot be read is passed over
}

TEST_F(HelperPrograms, BothAreAskedToUninstallInEveryMode)
{
    record({{"/elsewhere", "Another", "Halvorick"}, {"/Apps"}});
    install("/Apps" + agent);
    install("/Apps" + analyser);
    int const descriptors = openDescriptors();
    char const* const modes[] = {"Install", "Reinstall", "Uninstall"};
    for (int mode = kHookInstall; mode <= kHookUninstall; ++mode) {
        endingCopies([&] {
            EXPECT_EQ(
                QvInstallerCustomHookProc(nullptr, kHookPreSystemCheck, mode, 0, LogRecorder::callback()),
                0U);
        });
        Texts expected =
            session({iterating, found, "/Apps", executing("/Apps" + analyser), executing("/Apps" + agent)});
        expected.insert(expected.begin(), std::string("::FT::In ") + modes[mode] + "PreSystemCheckProc");
        EXPECT_EQ(recorder.take(), expected);
        EXPECT_THAT(started(), ElementsAre(uninstalling("/Apps" + analyser), uninstalling("/Apps" + agent)));
    }
    endingCopies([] { QvInstallerCustomHookProc(nullptr, kHookPreSystemCheck, kHookInstall, 0, nullptr); });
    EXPECT_EQ(started().size(), 2U); // silence changes nothing else
    EXPECT_EQ(openDescriptors(), descriptors);
}

TEST_F(HelperPrograms, FoldersArePutInFrontAsTheyAre)
{
    std::string deep;
    for (char name = 'a'; name < 'i'; ++name) {
        deep += '/' + std::string(200, name);
    }
    std::vector<Payload> const cases[] = {
        {{"/A/"}},
        {{"/100%s%n"}},
        {{deep.c_str()}},                                    // the message is cut, the path is not
        {{"/two"}, {"/one"}},                                // the second folder comes before the first
        {{nullptr}},                                         // none on record: an empty text stands in for it
        {{"/A", application, "Halvorick", kPdbInstalled, 1}} // none in this domain
    };
    for (auto const& payloads : cases) {
        root.renew();
        makeFolders("/started");
        record(payloads);
        Texts lines{iterating};
        std::vector<Texts> programs;
        std::string before;
        for (auto const& payload : payloads) {
            std::string const folder = payload.folder == nullptr || payload.domain != 0 ? "" : payload.folder;
            SCOPED_TRACE(folder);
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

TEST_F(HelperPrograms, OneThatCannotStartComesBackAsACopy)
{
    record({{"/Apps"}});
    install("/Apps" + agent);
    endingCopies([] { closeConflictingProcesses({nullptr, 0, 0, 0, writeToFile}); });
    std::map<std::string, Texts> linesOf; // by process
    std::istringstream log(readFile("/log"));
    for (std::string process, line; log >> process && std::getline(log.ignore(), line);) {
        linesOf[process].push_back(line);
    }
    std::string const first = executing("/Apps" + analyser);
    std::string const second = executing("/Apps" + agent);
    std::vector<Texts> processes;
    processes.reserve(linesOf.size());
    for (auto const& [process, lines] : linesOf) {
        processes.push_back(lines);
    }
    // This process is as if both had been started; the copy, too, goes on and starts the agent.
    EXPECT_EQ(linesOf[std::to_string(getpid())], session({iterating, found, "/Apps", first, second}));
    EXPECT_THAT(processes, UnorderedElementsAre(session({iterating, found, "/Apps", first, second}),
                                                Texts{first, second, closing}, Texts{second}, Texts{second}));
    EXPECT_THAT(started(), ElementsAre(uninstalling("/Apps" + agent), uninstalling("/Apps" + agent)));
    EXPECT_EQ(sql(file, "UPDATE payloads SET installState = 0"), Texts{}); // nobody holds a lock
}

TEST_F(HelperPrograms, RefusedProcessesAreToldOneByOne)
{
    SKIP_WITHOUT_OTHER_USERS();
    record({{"/Apps"}});
    asOrdinaryUser([&] {
        rlimit const none = {0, 0};
        ASSERT_EQ(setrlimit(RLIMIT_NPROC, &none), 0);
        std::string const notForked = action + "Could not create the child process...exiting";
        EXPECT_EQ(run(), session({iterating, found, "/Apps", executing("/Apps" + analyser), notForked,
                                  executing("/Apps" + agent), notForked}));
    });
}

} // namespace
