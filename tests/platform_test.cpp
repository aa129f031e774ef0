// The contract of the platform interface, which every system's set of sources must fulfil.
#include "platform/home_folder.h"
#include "platform/platform.h"
#include "tests/support/scratch_root.h"

#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <unistd.h>

using namespace testing_support;
using testing::ElementsAre;

namespace {

using Platform = ScratchRootTest;

TEST_F(Platform, HomeComesFromTheEnvironmentOrTheUserRecord)
{
    setHome("/var/root");
    for (char const* home : {"/Users/ann", ""}) {
        setenv("HOME", home, 1);
        EXPECT_EQ(platform::homeDirectory(), HOME_IN_ENVIRONMENT_COUNTS && *home != 0 ? home : "/var/root");
    }
    unsetenv("HOME");
    EXPECT_EQ(platform::homeDirectory(), "/var/root");
}

TEST_F(Platform, PropertyListReplacesAFileAndEscapesItsText)
{
    writeFile("/list.plist", "old");
    ASSERT_TRUE(platform::writePropertyList("/list.plist", "a<b", "c&d"));
    EXPECT_THAT(readFile("/list.plist"),
                testing::ContainsRegex("<key>a&lt;b</key>.*<string>c&amp;d</string>"));
    makeFolders("/folder.plist");
    EXPECT_FALSE(platform::writePropertyList("/folder.plist", "key", "value"));
    EXPECT_FALSE(platform::writePropertyList("/missing/list.plist", "key", "value"));
    EXPECT_THAT(namesIn("/"), ElementsAre("folder.plist", "list.plist"));
}

TEST_F(Platform, CopyRefusesAnExistingTargetAndLeavesNoPartialCopy)
{
    setHome("/"); // GNUstep copies a folder only if the users' records name its owner
    platform::HomeFolder const home("/");
    writeFile("/from", "bytes");
    chmod("/from", 0604);
    EXPECT_TRUE(home.copy("/from", "/to"));
    EXPECT_EQ(accessOf("/to"), "0604 0:0");
    writeFile("/from", "other");
    writeFile("/folder/sealed/inside", "deep");
    ASSERT_EQ(symlink("missing", "/folder/link") + mkfifo("/pipe", 0644), 0);
    for (char const* from : {"/from", "/to", "/missing", "/folder"}) {
        EXPECT_FALSE(home.copy(from, "/to")) << from;
    }
    EXPECT_EQ(readFile("/to") + readFile("/from"), "bytesother");
    EXPECT_FALSE(home.copy("/from", "/missing/copy"));
    EXPECT_FALSE(home.copy("/pipe", "/copy"));

    chmod("/folder/sealed/inside", 06755);
    chmod("/folder/sealed", 0505);
    chmod("/folder", 0777);
    EXPECT_TRUE(home.copy("/folder", "/copy"));
    EXPECT_FALSE(home.copy("/folder", "/copy"));
    EXPECT_EQ(accessOf("/copy"), "0777 0:0");
    EXPECT_EQ(accessOf("/copy/sealed"), "0505 0:0");
    EXPECT_EQ(readFile("/copy/sealed/inside"), "deep");
    EXPECT_EQ(accessOf("/copy/sealed/inside"), "0755 0:0"); // the copy may belong to another user
    EXPECT_EQ(std::filesystem::read_symlink("/copy/link"), "missing");
    if (HOME_IN_ENVIRONMENT_COUNTS) { // GNUstep leaves out what it cannot copy
        mkfifo("/folder/pipe", 0644);
        EXPECT_FALSE(home.copy("/folder", "/half"));
    }
    EXPECT_THAT(namesIn("/"), ElementsAre("copy", "etc", "folder", "from", "pipe", "to"));
}

TEST_F(Platform, CopiedFilesAndLinksKeepTheirOwners)
{
    SKIP_WITHOUT_OTHER_USERS();
    setHome("/");
    writeFile("/folder/file", "bytes");
    ASSERT_EQ(symlink("missing", "/link") + lchown("/link", 501, 20), 0);
    ASSERT_EQ(chown("/folder/file", 501, 20), 0);
    EXPECT_TRUE(platform::HomeFolder("/").copy("/folder", "/copy") &&
                platform::HomeFolder("/").copy("/link", "/copied"));
    EXPECT_EQ(HOME_IN_ENVIRONMENT_COUNTS ? accessOf("/copy/file") : "0644 501:20", "0644 501:20");
    EXPECT_EQ(HOME_IN_ENVIRONMENT_COUNTS ? statusOf("/copied").st_uid : 501U, 501U);
}

TEST_F(Platform, SizesAndDatesMayExceed32Bits)
{
    setHome("/"); // as above
    platform::HomeFolder const home("/");
    constexpr time_t year2200 = 7258118400;
    constexpr off_t size = off_t{5} << 30;
    timespec const dates[2] = {{year2200, 0}, {year2200 + 1, 0}};
    writeFile("/folder/late", "bytes");
    writeFile("/folder/large", "");
    ASSERT_EQ(truncate("/folder/large", size), 0);
    for (char const* path : {"/folder/late", "/folder/large", "/folder"}) {
        ASSERT_EQ(utimensat(AT_FDCWD, path, dates, 0), 0);
        EXPECT_TRUE(home.exists(path));
        EXPECT_TRUE(path == std::string("/folder") ? home.isUsable(path) : platform::fileExists(path));
    }
    ASSERT_EQ(mkdir("/empty", 0755) + chdir("/empty"), 0);
    EXPECT_TRUE(home.createFolders("/folder") && home.createFolders("/folder/a/b"));
    EXPECT_TRUE(platform::createDirectoryTree("/folder/c/d/e", 0755));
    EXPECT_TRUE(namesIn("/empty").empty());
    EXPECT_EQ(accessOf("/folder/a/b"), "0755 0:0");
    EXPECT_FALSE(home.createFolders("/folder/late") || home.createFolders("/folder/late/a"));
    ASSERT_TRUE(home.copy("/folder/late", "/copy"));
    EXPECT_EQ(statusOf("/copy").st_mtim.tv_sec, year2200 + 1);
    if (HOME_IN_ENVIRONMENT_COUNTS) { // GNUstep fills holes
        ASSERT_TRUE(home.copy("/folder/large", "/sparse"));
        EXPECT_EQ(statusOf("/sparse").st_size, size);
        EXPECT_EQ(statusOf("/sparse").st_blocks, 0);
    }
    ASSERT_EQ(unlink("/folder/large"), 0);
    EXPECT_TRUE(home.copy("/folder", "/copies"));
    EXPECT_EQ(readFile("/copies/late"), "bytes");
}

TEST_F(Platform, DataAroundHolesIsCopied)
{
    std::string content(1 << 20, '\0');
    content.replace(300000, 5, "first");
    content.replace(700000, 6, "second");
    writeFile("/from", "");
    truncate("/from", static_cast<off_t>(content.size()));
    std::fstream file("/from", std::ios::in | std::ios::out | std::ios::binary);
    file.seekp(300000) << "first";
    file.seekp(700000) << "second" << std::flush;
    EXPECT_TRUE(platform::HomeFolder("/").copy("/from", "/to"));
    EXPECT_TRUE(readFile("/to") == content);
    EXPECT_TRUE(statusOf("/to").st_blocks == statusOf("/from").st_blocks || !HOME_IN_ENVIRONMENT_COUNTS);
}

} // namespace
