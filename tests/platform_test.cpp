// The contract of the platform interface: what every system's set of sources must keep.
#include "platform/platform.h"
#include "tests/support/scratch_root.h"

#include <fcntl.h>
#include <filesystem>
#include <gmock/gmock.h>
#include <set>
#include <sys/time.h>
#include <unistd.h>

using namespace testing_support;
using testing::ElementsAre;

namespace {

class Platform : public ScratchRootTest
{
};

TEST_F(Platform, HomeIsTheUserRecordsUnlessTheEnvironmentCounts)
{
    setHome("/var/root");
    setenv("HOME", "/Users/ann", 1);
    EXPECT_EQ(platform::homeDirectory(), HOME_IN_ENVIRONMENT_COUNTS ? "/Users/ann" : "/var/root");
    for (bool set : {true, false}) {
        set ? setenv("HOME", "", 1) : unsetenv("HOME");
        EXPECT_EQ(platform::homeDirectory(), "/var/root");
    }
}

TEST_F(Platform, IdentifiersDiffer)
{
    std::set<std::string> seen;
    for (int round = 0; round < 100; ++round) {
        seen.insert(platform::newUUIDString());
    }
    EXPECT_EQ(seen.size(), 100U);
}

TEST_F(Platform, PropertyListReplacesAFileAndEscapesItsText)
{
    writeFile("/list.plist", "old");
    ASSERT_TRUE(platform::writePropertyList("/list.plist", "a<b", "c&d"));
    EXPECT_THAT(readFile("/list.plist"), testing::HasSubstr("<key>a&lt;b</key>"));
    EXPECT_THAT(readFile("/list.plist"), testing::HasSubstr("<string>c&amp;d</string>"));
    makeFolders("/folder.plist");
    EXPECT_FALSE(platform::writePropertyList("/folder.plist", "key", "value"));
    EXPECT_FALSE(platform::writePropertyList("/missing/list.plist", "key", "value"));
    EXPECT_THAT(namesIn("/"), ElementsAre("folder.plist", "list.plist"));
}

TEST_F(Platform, DirectoryTree)
{
    writeFile("/a/file", "");
    EXPECT_TRUE(platform::createDirectoryTree("/a/b/c"));
    EXPECT_TRUE(platform::createDirectoryTree("/a/b/c"));
    EXPECT_EQ(accessOf("/a/b/c"), "0755 0:0");
    EXPECT_FALSE(platform::createDirectoryTree("/a/file"));
    EXPECT_FALSE(platform::createDirectoryTree("/a/file/d"));
}

TEST_F(Platform, CopyRefusesAnExistingTargetAndLeavesNothingHalfDone)
{
    writeFile("/from", "bytes");
    chmod("/from", 0604);
    EXPECT_TRUE(platform::copyItem("/from", "/to"));
    EXPECT_EQ(readFile("/to"), "bytes");
    EXPECT_EQ(accessOf("/to"), "0604 0:0");

    writeFile("/from", "other");
    EXPECT_FALSE(platform::copyItem("/from", "/to"));
    EXPECT_FALSE(platform::copyItem("/from", "/from"));
    EXPECT_EQ(readFile("/to") + readFile("/from"), "bytesother");
    EXPECT_FALSE(platform::copyItem("/missing", "/copy"));
    EXPECT_FALSE(platform::copyItem("/from", "/missing/copy"));
    ASSERT_EQ(mkfifo("/pipe", 0644), 0);
    EXPECT_FALSE(platform::copyItem("/pipe", "/copy"));
    EXPECT_FALSE(exists("/copy"));

    setHome("/"); // GNUstep copies a folder only where the users' records name its owner
    writeFile("/folder/inside", "deep");
    chmod("/folder/inside", 06755);
    EXPECT_TRUE(platform::copyItem("/folder", "/copy"));
    EXPECT_EQ(readFile("/copy/inside"), "deep");
    EXPECT_EQ(accessOf("/copy/inside"), "0755 0:0"); // somebody else's program gains nothing by the copy
    EXPECT_FALSE(platform::copyItem("/folder", "/copy"));
    EXPECT_THAT(namesIn("/"), ElementsAre("copy", "etc", "folder", "from", "pipe", "to"));
}

TEST_F(Platform, FolderIsCopiedWithItsModesAndLinks)
{
    setHome("/"); // as above
    writeFile("/folder/sealed/inside", "deep");
    ASSERT_EQ(symlink("missing", "/folder/link"), 0);
    chmod("/folder/sealed", 0505);
    chmod("/folder", 0777);
    EXPECT_TRUE(platform::copyItem("/folder", "/copy"));
    EXPECT_EQ(accessOf("/copy"), "0777 0:0");
    EXPECT_EQ(accessOf("/copy/sealed"), "0505 0:0");
    EXPECT_EQ(readFile("/copy/sealed/inside"), "deep");
    EXPECT_EQ(std::filesystem::read_symlink("/copy/link"), "missing");
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
    EXPECT_TRUE(platform::createDirectoryTree("/folder"));

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
    timeval const times[2] = {{1000000000, 0}, {1234567890, 0}};
    ASSERT_EQ(utimes("/privileged", times), 0);
    ASSERT_EQ(symlink("/privileged", "/link"), 0);
    EXPECT_TRUE(platform::applyAttributes(platform::attributesOf("/link"), "/file"));
    EXPECT_EQ(accessOf("/file"), "0755 0:0");
    EXPECT_EQ(statusOf("/file").st_mtime, 1234567890);
}

} // namespace
