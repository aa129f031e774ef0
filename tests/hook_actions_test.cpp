// The actions on files: the identifier and the events file, at their real paths.
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
using Texts = std::vector<std::string>;

namespace {

std::string const home = "/Users/ann";
std::string const product = home + "/Library/Application Support/Zelko/Fendrial Tessarine/";
std::string const data = product + "12/Tessarine";
std::string const uuidFolder = "/Library/Application Support/Zelko/Fendrial Tessarine/12";
std::string const uuidFile = uuidFolder + "/UUID.plist";
std::string const copyStart = "* Function start, to copy customevents.dat file from previous install";
std::string const found = "* customevents.dat file found";
std::string const notFound = "* customevents.dat file not found";

auto* const copyEvents = copyCustomEventsDATfileFromPreviousInstall;

std::string events(std::string const& version)
{
    return product + version + "/Tessarine/customevents.dat";
}

class HookActions : public ScratchRootTest
{
protected:
    HookActions() { setHome(home); }

    void expectLines(void (*action)(CCustomHookSession const&), Texts const& lines)
    {
        action(LogRecorder::session());
        EXPECT_EQ(recorder.take(), lines);
    }

    LogRecorder recorder;
};

TEST_F(HookActions, IdentifierIsWrittenOnceAndStays)
{
    // clang-format off
    struct { void (*before)(); Texts lines; bool asOrdinaryUser; } const cases[] = {
        {[] {}, {"* Inside Creating UUID", "* Creating UUID", "* Directory for the UUID file NOT present", "* Creating the directory structure " + uuidFolder, "* Could not create directory " + uuidFolder, "* Unknown error while creating UUID"}, true},
        {[] {}, {"* Inside Creating UUID", "* Creating UUID", "* Directory for the UUID file NOT present", "* Creating the directory structure " + uuidFolder, "* Successfully created UUID"}, false},
        {[] {}, {"* Inside Creating UUID", "* UUID already exists"}, false},
        {[] { unlink(uuidFile.c_str()); }, {"* Inside Creating UUID", "* Creating UUID", "* Directory for the UUID file present", "* Successfully created UUID"}, false},
        {[] { unlink(uuidFile.c_str()), makeFolders(uuidFile); }, {"* Inside Creating UUID", "* UUID already exists"}, false},
        {[] { rmdir(uuidFile.c_str()), rmdir(uuidFolder.c_str()), writeFile(uuidFolder, ""); }, {"* Inside Creating UUID", "* Creating UUID", "* Directory for the UUID file present", "* Unknown error while creating UUID"}, false},
    };
    std::regex const list(R"(<\?xml[^]*<plist version="1.0">\s*<dict>\s*<key>UUID</key>\s*<string>[0-9A-F]{8}(-[0-9A-F]{4}){3}-[0-9A-F]{12}</string>\s*</dict>\s*</plist>\s*)");
    // clang-format on
    Texts written;
    for (auto const& each : cases) {
        each.before();
        if (each.asOrdinaryUser) {
            canBecomeOrdinaryUser() ? asOrdinaryUser([&] { expectLines(createUUIDFile, each.lines); })
                                    : void();
            continue;
        }
        expectLines(createUUIDFile, each.lines);
        if (written.size() < 3) {
            written.push_back(readFile(uuidFile));
            EXPECT_TRUE(std::regex_match(written.back(), list)) << written.back();
            EXPECT_EQ(accessOf(uuidFile), "0644 0:0");
            EXPECT_THAT(namesIn(uuidFolder), ElementsAre("UUID.plist")); // no temporary file is left
        }
    }
    EXPECT_EQ(written[1], written[0]);
    EXPECT_NE(written[2], written[0]);
}

TEST_F(HookActions, NewestEventsFileIsChosen)
{
    Texts const versions = {"9.0", "10.0", "11.0"};
    for (size_t present = 0; present <= versions.size(); ++present) {
        SCOPED_TRACE(present);
        root.renew();
        setHome(home);
        makeFolders(home);
        for (size_t at = 0; at < present; ++at) {
            writeFile(events(versions[at]), versions[at]);
        }
        Texts lines{copyStart};
        lines.resize(5 - present, notFound);
        if (present > 0) {
            lines.insert(lines.end(), {found, "* Creating Directoty for the file", "* File Copied"});
        }
        expectLines(copyEvents, lines);
        EXPECT_EQ(readFile(events("12")), present > 0 ? versions[present - 1] : "");
        EXPECT_EQ(namesIn(home).size(), present > 0 ? 1U : 0U);
    }
    EXPECT_EQ(readFile(events("11.0")), "11.0");
}

TEST_F(HookActions, EventsCopyAndItsFoldersGetTheirAttributes)
{
    SKIP_WITHOUT_OTHER_USERS();
    std::string const content(200000, '\xE9'), source = events("10.0");
    writeFile(source, content);
    timeval const times[2] = {{1000000000, 0}, {1234567890, 0}};
    utimes(source.c_str(), times);
    for (std::string path = source; path != home; path.resize(path.rfind('/'))) {
        ASSERT_EQ(chown(path.c_str(), 501, 20), 0);
    }
    ASSERT_EQ(chmod(source.c_str(), 0640) + chmod(home.c_str(), 0750) + chown(home.c_str(), 501, 20), 0);
    expectLines(copyEvents,
                {copyStart, notFound, notFound, found, "* Creating Directoty for the file", "* File Copied"});
    writeFile(events("11.0"), "newer");
    // The second run finds the version-12 file itself and does not change it, even if an older version's file is newer.
    expectLines(copyEvents, {copyStart, found, "* Directory already exists", "* File Copied"});
    EXPECT_EQ(readFile(events("12")), content);
    EXPECT_EQ(accessOf(events("12")), "0640 501:20");
    EXPECT_EQ(statusOf(events("12")).st_mtime, 1234567890);
    EXPECT_EQ(accessOf(product + "12"), "0750 501:20");
    EXPECT_EQ(accessOf(data), "0750 501:20");
    EXPECT_THAT(namesIn(data), ElementsAre("customevents.dat"));
}

TEST_F(HookActions, FoldersThatTheUserCannotUseAreOpened)
{
    SKIP_WITHOUT_OTHER_USERS();
    // clang-format off
    struct { mode_t versionMode, dataMode; Texts given; } const cases[] = {
        {0700, 0700, {}},
        {0700, 0500, {"::FT::Giving Permission to Tessarine"}},
        {0500, 0700, {"::FT::Giving Permission to 12"}},
        {0300, 0600, {"::FT::Giving Permission to 12", "::FT::Giving Permission to Tessarine"}},
    };
    // clang-format on
    for (auto const& each : cases) {
        SCOPED_TRACE(testing::Message() << std::oct << each.versionMode << ' ' << each.dataMode);
        root.renew();
        setHome(home);
        writeFile(events("9.0"), "events");
        makeFolders(data);
        for (std::string folder = data; folder != "/Users"; folder.resize(folder.rfind('/'))) {
            ASSERT_EQ(chown(folder.c_str(), ordinaryUser, ordinaryGroup), 0);
        }
        ASSERT_EQ(chmod(home.c_str(), 0751) + chmod(data.c_str(), each.dataMode), 0);
        ASSERT_EQ(chmod((product + "12").c_str(), each.versionMode), 0);
        Texts lines = {copyStart, notFound, notFound, notFound, found, "* Directory already exists"};
        lines.insert(lines.end(), each.given.begin(), each.given.end());
        lines.emplace_back("* File Copied");
        asOrdinaryUser([&] { expectLines(copyEvents, lines); });
        EXPECT_EQ(readFile(events("12")), "events");
        EXPECT_EQ(accessOf(product + "12"), each.versionMode == 0700 ? "0700 1234:2345" : "0751 1234:2345");
        EXPECT_EQ(accessOf(data), each.dataMode == 0700 ? "0700 1234:2345" : "0751 1234:2345");
    }
}

} // namespace
