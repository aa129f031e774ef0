// The actions on files: the identifier and the events file, with the paths that they have on a machine.
#include "hooks/CustomHooks.h"
#include "hooks/Tessarine.h"
#include "tests/support/log_recorder.h"
#include "tests/support/scratch_root.h"

#include <gmock/gmock.h>
#include <regex>
#include <sys/time.h>
#include <unistd.h>

using namespace testing_support;
using testing::ElementsAre;
using testing::ElementsAreArray;

namespace {

std::string const action = "::FT::CUSTOM ACTION: ";

class HookActions : public ScratchRootTest
{
protected:
    HookActions() { setHome(home); }

    std::vector<std::string> runCreateUUIDFile()
    {
        createUUIDFile(LogRecorder::session());
        return recorder.take();
    }

    std::vector<std::string> runCopyEvents()
    {
        copyCustomEventsDATfileFromPreviousInstall(LogRecorder::session());
        return recorder.take();
    }

    std::string events(std::string const& version) const
    {
        return product + version + "/Tessarine/customevents.dat";
    }

    LogRecorder recorder;
    std::string const home = "/Users/ann";
    std::string const product = home + "/Library/Application Support/Zelko/Fendrial Tessarine/";
    std::string const uuidFolder = "/Library/Application Support/Zelko/Fendrial Tessarine/12";
    std::string const uuidFile = uuidFolder + "/UUID.plist";
};

TEST_F(HookActions, IdentifierIsWrittenOnceAndStays)
{
    EXPECT_THAT(runCreateUUIDFile(), ElementsAre(action + "Inside Creating UUID", action + "Creating UUID",
                                                 action + "Directory for the UUID file NOT present",
                                                 action + "Creating the directory structure " + uuidFolder,
                                                 action + "Successfully created UUID"));
    std::string const written = readFile(uuidFile);
    EXPECT_TRUE(std::regex_search(
        written,
        std::regex(
            "^<\\?xml[^]*<plist version=\"1.0\">\\s*<dict>\\s*<key>UUID</key>\\s*<string>[0-9A-F]{8}(-[0-9A-F]"
            "{4}){3}-[0-9A-F]{12}</string>\\s*</dict>\\s*</plist>\\s*$")))
        << written;
    EXPECT_EQ(accessOf(uuidFile), "0644 0:0");
    EXPECT_THAT(namesIn(uuidFolder), ElementsAre("UUID.plist")); // no temporary file is left behind

    EXPECT_THAT(runCreateUUIDFile(),
                ElementsAre(action + "Inside Creating UUID", action + "UUID already exists"));
    EXPECT_EQ(readFile(uuidFile), written);

    ASSERT_EQ(unlink(uuidFile.c_str()), 0);
    EXPECT_THAT(runCreateUUIDFile(), ElementsAre(action + "Inside Creating UUID", action + "Creating UUID",
                                                 action + "Directory for the UUID file present",
                                                 action + "Successfully created UUID"));
    EXPECT_NE(readFile(uuidFile), written);
}

TEST_F(HookActions, IdentifierGivesWayToWhatStandsThere)
{
    makeFolders(uuidFile);
    EXPECT_THAT(runCreateUUIDFile(),
                ElementsAre(action + "Inside Creating UUID", action + "UUID already exists"));
    EXPECT_THAT(namesIn(uuidFile), ElementsAre());
}

TEST_F(HookActions, IdentifierThatCannotBeWrittenIsLoggedAndSwallowed)
{
    SKIP_WITHOUT_OTHER_USERS();
    makeFolders("/Library");
    auto const postPayload = [&] {
        EXPECT_EQ(
            QvInstallerCustomHookProc(nullptr, kHookPostPayload, kHookInstall, 0, LogRecorder::callback()),
            0U);
        auto lines = recorder.take();
        lines.resize(7);
        return lines;
    };
    asOrdinaryUser([&] {
        EXPECT_THAT(postPayload(),
                    ElementsAre("::FT::In PostPayloadInstallProc", action + "Inside Creating UUID",
                                action + "Creating UUID", action + "Directory for the UUID file NOT present",
                                action + "Creating the directory structure " + uuidFolder,
                                action + "Could not create directory " + uuidFolder,
                                action + "Unknown error while creating UUID"));
    });
    EXPECT_THAT(namesIn("/Library"), ElementsAre());

    // A file in the way of the folder counts as the folder being present, and then the write fails.
    writeFile(uuidFolder, "in the way");
    EXPECT_THAT(runCreateUUIDFile(), ElementsAre(action + "Inside Creating UUID", action + "Creating UUID",
                                                 action + "Directory for the UUID file present",
                                                 action + "Unknown error while creating UUID"));
    EXPECT_EQ(readFile(uuidFolder), "in the way");
}

TEST_F(HookActions, NewestEventsFileIsChosen)
{
    struct
    {
        std::vector<std::string> present;
        unsigned notFound;
        std::string copied;
    } const cases[] = {
        {{"9.0"}, 3, "9.0"},
        {{"9.0", "10.0"}, 2, "10.0"},
        {{"9.0", "10.0", "11.0"}, 1, "11.0"},
    };
    for (auto const& each : cases) {
        SCOPED_TRACE(each.copied);
        root.renew();
        setHome(home);
        for (auto const& version : each.present) {
            writeFile(events(version), "events of " + version);
        }
        std::vector<std::string> expected(each.notFound, action + "customevents.dat file not found");
        expected.insert(expected.begin(),
                        action + "Function start, to copy customevents.dat file from previous install");
        for (auto const* line :
             {"customevents.dat file found", "Creating Directoty for the file", "File Copied"}) {
            expected.push_back(action + line);
        }
        EXPECT_THAT(runCopyEvents(), ElementsAreArray(expected));
        EXPECT_EQ(readFile(events("12")), "events of " + each.copied);
        for (auto const& version : each.present) {
            EXPECT_EQ(readFile(events(version)), "events of " + version);
        }
    }
}

TEST_F(HookActions, NoEventsFileAnywhereDoesNothing)
{
    makeFolders(home);
    std::vector<std::string> expected(5, action + "customevents.dat file not found");
    expected[0] = action + "Function start, to copy customevents.dat file from previous install";
    EXPECT_EQ(runCopyEvents(), expected);
    EXPECT_THAT(namesIn(home), ElementsAre());
}

TEST_F(HookActions, EventsCopyAndItsFoldersGetTheirAttributes)
{
    SKIP_WITHOUT_OTHER_USERS();
    std::string const content(200000, '\xE9');
    writeFile(events("10.0"), content);
    ASSERT_EQ(chmod(events("10.0").c_str(), 0640), 0);
    ASSERT_EQ(chown(events("10.0").c_str(), 501, 20), 0);
    timeval const times[2] = {{1000000000, 0}, {1234567890, 0}};
    ASSERT_EQ(utimes(events("10.0").c_str(), times), 0);
    ASSERT_EQ(chmod(home.c_str(), 0750), 0);
    ASSERT_EQ(chown(home.c_str(), 501, 21), 0);

    runCopyEvents();
    EXPECT_EQ(readFile(events("12")), content);
    EXPECT_EQ(accessOf(events("12")), "0640 501:20");
    EXPECT_EQ(statusOf(events("12")).st_mtime, 1234567890);
    EXPECT_EQ(accessOf(product + "12"), "0750 501:21");
    EXPECT_EQ(accessOf(product + "12/Tessarine"), "0750 501:21");
    EXPECT_THAT(namesIn(product + "12/Tessarine"), ElementsAre("customevents.dat"));

    // The second run finds the version-12 file itself and leaves it alone, whatever the older ones hold now.
    writeFile(events("11.0"), "newer");
    EXPECT_THAT(runCopyEvents(),
                ElementsAre(action + "Function start, to copy customevents.dat file from previous install",
                            action + "customevents.dat file found", action + "Directory already exists",
                            action + "File Copied"));
    EXPECT_EQ(readFile(events("12")), content);
    EXPECT_EQ(statusOf(events("12")).st_mtime, 1234567890);
}

TEST_F(HookActions, FoldersThatTheUserCannotUseAreOpened)
{
    SKIP_WITHOUT_OTHER_USERS();
    std::string const version = product + "12";
    std::string const data = version + "/Tessarine";
    struct
    {
        mode_t versionMode;
        mode_t dataMode;
        std::vector<std::string> given;
    } const cases[] = {
        {0700, 0700, {}},
        {0700, 0500, {"::FT::Giving Permission to Tessarine"}},
        {0500, 0700, {"::FT::Giving Permission to 12"}},
        {0300, 0600, {"::FT::Giving Permission to 12", "::FT::Giving Permission to Tessarine"}},
    };
    for (auto const& each : cases) {
        SCOPED_TRACE(testing::Message() << std::oct << each.versionMode << ' ' << each.dataMode);
        root.renew();
        setHome(home);
        writeFile(events("9.0"), "events");
        makeFolders(data);
        for (std::string folder = data; folder != "/Users"; folder.resize(folder.rfind('/'))) {
            ASSERT_EQ(chown(folder.c_str(), ordinaryUser, ordinaryGroup), 0);
        }
        ASSERT_EQ(chmod(home.c_str(), 0751), 0);
        ASSERT_EQ(chmod(version.c_str(), each.versionMode), 0);
        ASSERT_EQ(chmod(data.c_str(), each.dataMode), 0);
        std::vector<std::string> expected(each.given);
        expected.insert(expected.begin(), action + "Directory already exists");
        expected.push_back(action + "File Copied");
        asOrdinaryUser([&] {
            auto lines = runCopyEvents();
            lines.erase(lines.begin(), lines.begin() + 5); // the start, three not found and one found
            EXPECT_EQ(lines, expected);
            EXPECT_EQ(readFile(events("12")), "events");
        });
        EXPECT_EQ(accessOf(version), each.versionMode == 0700 ? "0700 1234:2345" : "0751 1234:2345");
        EXPECT_EQ(accessOf(data), each.dataMode == 0700 ? "0700 1234:2345" : "0751 1234:2345");
    }
}

TEST_F(HookActions, PlantedLinksAreNotFollowed)
{
    // As the super-user in a home that somebody else can write.
    writeFile("/victim", "secret");
    ASSERT_EQ(chmod("/victim", 0600), 0);
    makeFolders("/victims");
    ASSERT_EQ(chmod("/victims", 0711), 0);
    std::string const version = product + "12";

    // The source is a link: it is carried over as a link, and neither bytes nor attributes go through it.
    makeFolders(product + "9.0/Tessarine");
    ASSERT_EQ(symlink("/victim", events("9.0").c_str()), 0);
    runCopyEvents();
    EXPECT_TRUE(S_ISLNK(statusOf(events("12")).st_mode));
    EXPECT_EQ(accessOf("/victim"), "0600 0:0");

    // The target is a dangling link: nothing is created at its other end.
    ASSERT_EQ(unlink(events("9.0").c_str()), 0);
    ASSERT_EQ(unlink(events("12").c_str()), 0);
    writeFile(events("9.0"), "events");
    ASSERT_EQ(symlink("/created", events("12").c_str()), 0);
    runCopyEvents();
    EXPECT_FALSE(exists("/created"));

    // The version folder is a link: the home's attributes do not reach its other end.
    ASSERT_EQ(unlink(events("12").c_str()), 0);
    ASSERT_EQ(rmdir((version + "/Tessarine").c_str()), 0);
    ASSERT_EQ(rmdir(version.c_str()), 0);
    ASSERT_EQ(symlink("/victims", version.c_str()), 0);
    runCopyEvents();
    EXPECT_EQ(accessOf("/victims"), "0711 0:0");
}

TEST_F(HookActions, LeaveNoDescriptorBehind)
{
    writeFile(events("10.0"), "events");
    int const before = openDescriptors();
    for (int round = 0; round < 20; ++round) {
        unlink(events("12").c_str());
        unlink(uuidFile.c_str());
        for (int mode : {kHookInstall, kHookReinstall}) {
            QvInstallerCustomHookProc(nullptr, kHookPostPayload, mode, 0, nullptr);
        }
    }
    EXPECT_EQ(openDescriptors(), before);
    EXPECT_EQ(readFile(events("12")), "events");
}

} // namespace
