// The contract of the platform interface: what every system's set of sources must keep.
#include "platform/platform.h"
#include "tests/support/scratch_root.h"

#include <fcntl.h>
#include <filesystem>
#include <gmock/gmock.h>
#include <unistd.h>

using namespace testing_support;
using testing::ElementsAre;

namespace {

using Platform = ScratchRootTest;

TEST_F(Platform, HomeIsTheUserRecordsUnlessTheEnvironmentCounts)
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

TEST_F(Platform, CopyRefusesAnExistingTargetAndLeavesNothingHalfDone)
{
    setHome("/"); // GNUstep copies a folder only where the users' records name its owner
    writeFile("/from", "bytes");
    chmod("/from", 0604);
    EXPECT_TRUE(platform::copyItem("/from", "/to"));
    EXPECT_EQ(accessOf("/to"), "0604 0:0");
    writeFile("/from", "other");
    writeFile("/folder/sealed/inside", "deep");
    ASSERT_EQ(symlink("missing", "/folder/link") + mkfifo("/pipe", 0644), 0);
    for (char const* from : {"/from", "/to", "/missing", "/folder"}) {
        EXPECT_FALSE(platform::copyItem(from, "/to")) << from;
    }
    EXPECT_EQ(readFile("/to") + readFile("/from"), "bytesother");
    EXPECT_FALSE(platform::copyItem("/from", "/missing/copy"));
    EXPECT_FALSE(platform::copyItem("/pipe", "/copy"));

    chmod("/folder/sealed/inside", 06755);
    chmod("/folder/sealed", 0505);
    chmod("/folder", 0777);
    EXPECT_TRUE(platform::copyItem("/folder", "/copy"));
    EXPECT_FALSE(platform::copyItem("/folder", "/copy"));
    EXPECT_EQ(accessOf("/copy"), "0777 0:0");
    EXPECT_EQ(accessOf("/copy/sealed"), "0505 0:0");
    EXPECT_EQ(readFile("/copy/sealed/inside"), "deep");
    EXPECT_EQ(accessOf("/copy/sealed/inside"),
              "0755 0:0"); // somebody else's program gains nothing by the copy
    EXPECT_EQ(std::filesystem::read_symlink("/copy/link"), "missing");
    EXPECT_THAT(namesIn("/"), ElementsAre("copy", "etc", "folder", "from", "pipe", "to"));
}

TEST_F(Platform, SizesAndDatesMayExceed32Bits)
{
    setHome("/"); // as above
    constexpr time_t year2200 = 7258118400;
    timespec const dates[2] = {{year2200, 0}, {year2200 + 1, 0}};
    writeFile("/folder/late", "bytes");
    writeFile("/folder/large", "");
    ASSERT_EQ(truncate("/folder/large", off_t{5} << 30), 0);
    for (char const* path : {"/folder/late", "/folder/large", "/folder"}) {
        ASSERT_EQ(utimensat(AT_FDCWD, path, dates, 0), 0);
        EXPECT_TRUE(platform::fileExists(path));
        EXPECT_TRUE(platform::isReadable(path));
    }
    EXPECT_TRUE(platform::createDirectoryTree("/folder") && platform::createDirectoryTree("/folder/a/b"));
    EXPECT_EQ(accessOf("/folder/a/b"), "0755 0:0");
    EXPECT_FALSE(platform::createDirectoryTree("/folder/late") ||
                 platform::createDirectoryTree("/folder/late/a"));
    ASSERT_TRUE(platform::copyItem("/folder/late", "/copy"));
    EXPECT_TRUE(platform::applyAttributes(platform::attributesOf("/folder/late"), "/copy"));
    EXPECT_EQ(statusOf("/copy").st_mtim.tv_sec, year2200 + 1);
    EXPECT_TRUE(platform::applyAttributes(platform::attributesOf("/copy"), "/folder/large"));
    EXPECT_EQ(statusOf("/folder/large").st_size, off_t{5} << 30);
    ASSERT_EQ(unlink("/folder/large"), 0);
    EXPECT_TRUE(platform::copyItem("/folder", "/copies"));
    EXPECT_EQ(readFile("/copies/late"), "bytes");
}

TEST_F(Platform, AttributesNeedSomethingToReadFromAndToApplyTo)
{
    writeFile("/file", "");
    EXPECT_EQ(platform::attributesOf("/missing"), nullptr);
    EXPECT_FALSE(platform::applyAttributes(nullptr, "/file"));
    EXPECT_FALSE(platform::applyAttributes(platform::attributesOf("/file"), "/missing"));
    // The privilege of one file is not lent to another.
    writeFile("/privileged", "");
    chmod("/privileged", 06755);
    ASSERT_EQ(symlink("/privileged", "/link"), 0);
    EXPECT_TRUE(platform::applyAttributes(platform::attributesOf("/link"), "/file"));
    EXPECT_EQ(accessOf("/file"), "0755 0:0");
}

} // namespace
