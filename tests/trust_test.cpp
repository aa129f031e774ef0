// The super-user's process where other users may write: their homes, the shared store, folders left writable.
#include "hooks/CustomHooks.h"
#include "hooks/Tessarine.h"
#include "libdolmvesk/pcd_compat.h"
#include "libdolmvesk/shared_folder.h"
#include "platform/thread_rights.h"
#include "tests/support/faults.h"
#include "tests/support/log_recorder.h"
#include "tests/support/stores.h"

#include <algorithm>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <functional>
#include <gmock/gmock.h>
#include <grp.h>
#include <linux/capability.h>
#include <sqlite3.h>
#include <sys/fsuid.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace testing_support;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

uid_t const ann = 501;
gid_t const staff = 20;
std::string const home = "/Users/ann";
std::string const library = home + "/Library";
std::string const product = library + "/Application Support/Zelko/Fendrial Tessarine/";
std::string const versionFolder = product + "12";
std::string const dataFolder = versionFolder + "/Tessarine";
std::string const target = dataFolder + "/customevents.dat";
std::string const older = product + "11.0/Tessarine/customevents.dat";
Texts const created = {"* customevents.dat file not found", "* customevents.dat file found",
                       "* Creating Directoty for the file", "* File Copied"};
Texts const existed = {"* customevents.dat file not found", "* customevents.dat file found",
                       "* Directory already exists", "* File Copied"};

/// Gives a file, or a folder and everything below it, to a user; links are not followed.
void give(std::string const& path, uid_t user = ann, gid_t group = staff)
{
    EXPECT_EQ(lchown(path.c_str(), user, group), 0) << path;
    if (!std::filesystem::is_symlink(path) && std::filesystem::is_directory(path)) {
        for (auto const& name : namesIn(path)) {
            give(std::string(path).append("/").append(name), user, group);
        }
    }
}

void plantLink(std::string const& to, std::string const& path)
{
    EXPECT_EQ(symlink(to.c_str(), path.c_str()) + lchown(path.c_str(), ann, staff), 0) << path;
}

__user_cap_header_struct capabilityHeader = {_LINUX_CAPABILITY_VERSION_3, 0};

uint64_t effectiveCapabilities()
{
    __user_cap_data_struct data[2] = {};
    EXPECT_EQ(syscall(SYS_capget, &capabilityHeader, data), 0);
    return data[0].effective | uint64_t{data[1].effective} << 32U;
}

std::vector<int> descriptorsForPrograms()
{
    std::vector<int> descriptors;
    for (int descriptor = 0; descriptor < 100; ++descriptor) {
        if (int const flags = fcntl(descriptor, F_GETFD); flags >= 0 && (flags & FD_CLOEXEC) == 0) {
            descriptors.push_back(descriptor);
        }
    }
    return descriptors;
}
std::vector<int> const inherited = descriptorsForPrograms();

/// Expects that a program which another thread starts now inherits no descriptor from this one.
void expectNothingForPrograms()
{
    EXPECT_EQ(descriptorsForPrograms(), inherited);
}

/// Copies the events file to version 12 and returns the log, without the start line. Expects that the process has its
/// own rights whenever it logs.
Texts carryEventsOver()
{
    static Texts lines;
    static uint64_t capabilities;
    lines.clear();
    capabilities = effectiveCapabilities();
    copyCustomEventsDATfileFromPreviousInstall(
        {nullptr, 0, 0, 0, [](char const* line) {
             EXPECT_EQ(setfsuid(static_cast<uid_t>(-1)), 0);
             EXPECT_EQ(setfsgid(static_cast<gid_t>(-1)), 0);
             gid_t groups[2] = {};
             EXPECT_EQ(getgroups(2, groups), 2);
             EXPECT_THAT(groups, ElementsAre(7, 8));
             EXPECT_EQ(effectiveCapabilities(), capabilities);
             int deathSignal = 0;
             prctl(PR_GET_PDEATHSIG, &deathSignal);
             EXPECT_TRUE((deathSignal == SIGUSR1 && prctl(PR_GET_DUMPABLE) == 1) ||
                         !HOME_IN_ENVIRONMENT_COUNTS);
             lines.push_back(LogRecorder::shortened(line));
         }});
    lines.erase(lines.begin());
    return lines;
}

/// Makes folders inside each other in place of the older events file.
void nestFolders(int levels)
{
    unlink(older.c_str());
    std::string deepest = older;
    for (int level = 1; level < levels; ++level) {
        deepest += "/d";
    }
    makeFolders(deepest);
    give(older);
}

class Home : public ScratchRootTest
{
protected:
    void SetUp() override
    {
        SKIP_WITHOUT_OTHER_USERS();
        gid_t const groups[] = {7, 8};
        ASSERT_EQ(setgroups(2, groups) + prctl(PR_SET_PDEATHSIG, SIGUSR1) + prctl(PR_SET_DUMPABLE, 1), 0);
    }
    void TearDown() override
    {
        setgroups(0, nullptr);
        prctl(PR_SET_PDEATHSIG, 0);
    }

    /// Makes a home of ann's with an events file of version 11.0, and files of root's outside it.
    void makeHome()
    {
        root.renew();
        setHome(home);
        writeFile(older, "events");
        give(home);
        writeFile("/victims/file", "secret");
        makeFolders("/victims/folder");
        ASSERT_EQ(chmod("/victims/file", 0600) + chmod("/victims/folder", 0755), 0);
    }

    static void expectUntouchedVictims()
    {
        EXPECT_EQ(accessOf("/victims") + ' ' + accessOf("/victims/file") + ' ' + accessOf("/victims/folder"),
                  "0755 0:0 0600 0:0 0755 0:0");
        EXPECT_EQ(readFile("/victims/file"), "secret");
        EXPECT_THAT(namesIn("/victims"), ElementsAre("file", "folder"));
        EXPECT_THAT(namesIn("/victims/folder"), IsEmpty());
    }
};

TEST_F(Home, NothingIsReachedThatItsOwnerCannotReach)
{
    // clang-format off
    struct { char const* name; std::function<void()> plant; Texts lines; } const cases[] = {
        {"the version folder", [] { plantLink("/victims/folder", versionFolder); }, created},
        {"the data folder", [] { makeFolders(versionFolder); give(versionFolder); plantLink("/victims/folder", dataFolder); },
         {existed[0], existed[1], existed[2], "::FT::Giving Permission to Tessarine", existed[3]}},
        {"a folder far above", [] { rename((library + "/Application Support").c_str(), (home + "/moved").c_str());
            plantLink("/victims/folder", library + "/Application Support"); }, Texts(4, created[0])},
        {"the events file", [] { makeFolders(dataFolder); give(versionFolder); plantLink("/victims/new", target); }, existed},
        {"an older events file", [] { unlink(older.c_str()); plantLink("/victims/file", older); }, created},
        {"a hard link for the version folder", [] { link("/victims/file", versionFolder.c_str()); }, created},
        {"a hard link for the data folder", [] { makeFolders(versionFolder); give(versionFolder);
            link("/victims/file", dataFolder.c_str()); }, {existed[0], existed[1], existed[2], "::FT::Giving Permission to Tessarine", existed[3]}},
        {"too many nested folders", [] { nestFolders(101); }, created},
        {"a folder with a file that its owner cannot read", [] { unlink(older.c_str()); makeFolders(older); give(older);
            link("/victims/file", (older + "/file").c_str()); }, created},
    };
    // clang-format on
    for (auto const& each : cases) {
        SCOPED_TRACE(each.name);
        makeHome();
        each.plant();
        EXPECT_EQ(carryEventsOver(), each.lines);
        EXPECT_FALSE(HOME_IN_ENVIRONMENT_COUNTS && exists(target + "/d"));
        expectUntouchedVictims();
    }
    EXPECT_THAT(namesIn(dataFolder), IsEmpty()); // after the last case: no partial copy is left
    makeHome();
    nestFolders(100);
    carryEventsOver();
    EXPECT_TRUE(exists(target + "/d") || !HOME_IN_ENVIRONMENT_COUNTS);
}

TEST_F(Home, ACopiedLinkIsItsOwnersAndLeadsNowhere)
{
    makeHome();
    unlink(older.c_str());
    plantLink("/victims/folder", older);
    EXPECT_EQ(carryEventsOver(), created);
    EXPECT_EQ(statusOf(target).st_uid, ann);
    writeFile(product + "10.0/Tessarine/customevents.dat", "events");
    std::filesystem::remove_all(product + "11.0");
    ASSERT_EQ(rename(target.c_str(), (home + "/link").c_str()) + rmdir(dataFolder.c_str()) +
                  rename((home + "/link").c_str(), dataFolder.c_str()),
              0);
    EXPECT_EQ(carryEventsOver(), (Texts{existed[0], existed[0], existed[1], existed[2],
                                        "::FT::Giving Permission to Tessarine", existed[3]}));
    expectUntouchedVictims();
}

TEST_F(Home, HonestLinksAreFollowed)
{
    struct
    {
        char const* name;
        uid_t user;
        mode_t mode;
    } const volumes[] = {
        {"one of the user's own", ann, 0755}, {"without owners", 99, 0777}, {"shared", 0, 01777}};
    for (auto const& volume : volumes) {
        SCOPED_TRACE(volume.name);
        makeHome();
        std::filesystem::rename(library + "/Application Support", "/volume");
        give("/volume", volume.user);
        for (auto const& folder : std::filesystem::recursive_directory_iterator("/volume")) {
            chmod(folder.path().c_str(), folder.is_directory() ? volume.mode : 0644);
        }
        chmod("/volume", volume.mode);
        plantLink("/volume", library + "/Application Support");
        EXPECT_EQ(carryEventsOver(), created);
        EXPECT_EQ(readFile(target), "events");
        EXPECT_EQ(accessOf(target), "0644 501:20");
        arm({" linkat ", EIO}, 1, Strike::kOnce);
        EXPECT_THAT(carryEventsOver(), ElementsAre(existed[1], existed[2], existed[3]));
        EXPECT_FALSE(disarm()) << "copied, although the file exists";
    }
}

TEST_F(Home, AFolderClosedToItsOwnerIsOpened)
{
    makeHome();
    makeFolders("/elsewhere/Tessarine");
    give("/elsewhere");
    give("/elsewhere/Tessarine", ann, 30);
    ASSERT_EQ(chmod("/elsewhere/Tessarine", 0100) + chmod(home.c_str(), 0751), 0);
    plantLink("/elsewhere", versionFolder);
    EXPECT_EQ(carryEventsOver(), (Texts{existed[0], existed[1], existed[2],
                                        "::FT::Giving Permission to Tessarine", existed[3]}));
    EXPECT_EQ(accessOf("/elsewhere/Tessarine"), "0751 501:20");
    EXPECT_EQ(readFile(target), "events");
    timespec const dates[] = {{1000, 0}, {2000, 0}};
    ASSERT_EQ(chmod("/elsewhere", 0500) + utimensat(AT_FDCWD, home.c_str(), dates, 0), 0);
    carryEventsOver();
    EXPECT_EQ(statusOf("/elsewhere").st_mtime, 2000);
}

TEST_F(Home, RootsOwnFoldersAreServedByRoot)
{
    if (!HOME_IN_ENVIRONMENT_COUNTS) {
        GTEST_SKIP() << "the sources for macOS do not exempt such folders";
    }
    std::string const opened = "::FT::Giving Permission to Tessarine";
    // clang-format off
    struct { char const* name; std::function<void()> arrange; Texts lines; std::string access, copied; } const cases[] = {
        {"all of it is root's", [] {}, created, "0751 501:20", "0600 0:0"},
        {"a data folder of root's alone", [] { makeFolders(dataFolder); chmod(dataFolder.c_str(), 0700); }, existed, "0700 0:0", "0600 0:0"},
        {"an older folder of root's alone", [] { chmod((product + "11.0/Tessarine").c_str(), 0700); }, created, "0751 501:20", "0600 0:0"},
        {"a dangling link for the events file", [] { unlink(older.c_str()); symlink("nowhere", older.c_str()); }, Texts(4, created[0]), "", ""},
        {"a file for the data folder", [] { makeFolders(versionFolder); writeFile(dataFolder, ""); chmod(dataFolder.c_str(), 0600); },
         {existed[0], existed[1], existed[2], opened, existed[3]}, "0600 0:0", ""},
        {"a version folder of the user's", [] { makeFolders(versionFolder); give(versionFolder); }, created, "0751 501:20", "0600 0:0"},
        {"below a folder of the user's", [] { makeFolders(dataFolder); give(product.substr(0, product.size() - 1)); give(dataFolder, 0, 0); chmod(older.c_str(), 0644); },
         {existed[0], existed[1], existed[2], opened, existed[3]}, "0755 0:0", ""},
        {"open to a group", [] { makeFolders(dataFolder); chmod(library.c_str(), 0775); chmod(older.c_str(), 0644); },
         {existed[0], existed[1], existed[2], "::FT::Giving Permission to 12", opened, existed[3]}, "0755 0:0", ""},
        {"a link on the way",
         [] {
             chmod(older.c_str(), 0644);
             rename((product + "11.0").c_str(), "/elsewhere");
             symlink("/elsewhere", (product + "11.0").c_str());
         },
         created,
         "0751 501:20",
         "0644 501:20"},
        {"a source that the user can read", [] { chmod(older.c_str(), 0644); }, created, "0751 501:20", "0644 0:0"},
    };
    // clang-format on
    for (auto const& each : cases) {
        SCOPED_TRACE(each.name);
        makeHome();
        give(library, 0, 0);
        ASSERT_EQ(chmod(older.c_str(), 0600) + chmod(home.c_str(), 0751), 0);
        each.arrange();
        EXPECT_EQ(carryEventsOver(), each.lines);
        EXPECT_EQ(exists(dataFolder) ? accessOf(dataFolder) : "", each.access);
        EXPECT_EQ(exists(target) ? accessOf(target) : "", each.copied);
        EXPECT_EQ(readFile(target), each.copied.empty() ? "" : "events");
    }
    for (mode_t const mode :
         {mode_t{0755}, mode_t{0775}}) { // of a folder in it: copied if only root may write it
        makeHome();
        give(library, 0, 0);
        unlink(older.c_str());
        writeFile(older + "/folder/file", "events");
        ASSERT_EQ(chmod((older + "/folder").c_str(), mode), 0);
        EXPECT_EQ(carryEventsOver(), created);
        EXPECT_EQ(exists(target), mode == 0755);
    }
}

TEST_F(Home, NothingIsReachedByAnExchangeAtAnyMoment)
{
    std::string const aside = home + "/aside";
    std::string const changing[] = {dataFolder, versionFolder, product + "11.0", product + "11.0/Tessarine"};
    for (auto const& folder : changing) {
        for (int nth = 1, struck = 1; struck != 0 && !HasFailure(); ++nth) {
            SCOPED_TRACE(testing::Message() << folder << ' ' << nth);
            makeHome();
            unlink(older.c_str());
            writeFile(older + "/one", "1");
            writeFile(older + "/two/file", "2");
            give(home);
            writeFile("/victims/folder/customevents.dat/secret", "secret");
            chmod("/victims/folder/customevents.dat", 0700);
            intrude = [&] { // as the user could
                expectNothingForPrograms();
                if (rename(folder.c_str(), aside.c_str()) == 0) {
                    plantLink("/victims/folder", folder);
                }
            };
            arm({" open64 openat64 mkdir mkdirat linkat renameat2 fchown fchmod chown chmod ", 0}, nth,
                Strike::kIntrusion);
            carryEventsOver();
            struck = disarm() ? 1 : 0;
            EXPECT_THAT(namesIn("/victims/folder"), ElementsAre("customevents.dat"));
            EXPECT_THAT(namesIn("/victims/folder/customevents.dat"), ElementsAre("secret"));
            EXPECT_EQ(accessOf("/victims/folder") + accessOf("/victims/folder/customevents.dat"),
                      "0755 0:00700 0:0");
            EXPECT_FALSE(folder.rfind(versionFolder, 0) != 0 && exists(target + "/secret"));
        }
    }
}

TEST_F(Home, WhatIsExchangedWhileItIsCopiedIsCopiedWholeOrNotAtAll)
{
    auto const plantPipe = [] { mkfifo(older.c_str(), 0666); };
    auto const plantOneLink = [] { plantLink("customevents.dat1", older); };
    auto const plantOther = [] { plantLink("./customevents.dat1", older); };
    auto const plantFile = [] { writeFile(older, "events"), give(older); };
    auto const plantShorter = [] { writeFile(older, ""); };
    for (auto const& [first, second] :
         std::initializer_list<std::pair<std::function<void()>, std::function<void()>>>{
             {plantOneLink, plantOther}, {plantFile, plantPipe}, {plantFile, plantShorter}}) {
        for (int nth = 1, struck = 1; struck != 0 && !HasFailure(); ++nth) {
            SCOPED_TRACE(nth);
            makeHome();
            ASSERT_EQ(rename(older.c_str(), (older + "1").c_str()), 0);
            first();
            intrude = [&plant = second] { unlink(older.c_str()), plant(); };
            arm({" setfsuid sendfile64 ", 0}, nth, Strike::kIntrusion);
            alarm(20);
            carryEventsOver();
            alarm(0);
            struck = disarm() ? 1 : 0;
            if (exists(target) && std::filesystem::is_symlink(target)) {
                EXPECT_THAT(std::filesystem::read_symlink(target),
                            testing::AnyOf("customevents.dat1", "./customevents.dat1"));
            } else if (exists(target)) {
                EXPECT_THAT(readFile(target), testing::AnyOf("events", ""));
            }
        }
    }
}

TEST_F(Home, AUserWhoOpensTheCopyReadsNothingThatOnlyRootMayRead)
{
    for (int nth = 1, struck = 1; struck != 0; ++nth) {
        makeHome();
        give(library, 0, 0);
        makeFolders(versionFolder);
        give(versionFolder);
        ASSERT_EQ(chmod(older.c_str(), 0600), 0);
        int opened = -1;
        intrude = [&] {
            Texts const names = exists(dataFolder) ? namesIn(dataFolder) : Texts();
            std::string const copy = dataFolder + '/' + (names.empty() ? "" : names[0]);
            opened = !names.empty() && statusOf(copy).st_uid == ann ? open(copy.c_str(), O_RDONLY) : -1;
        };
        arm({" fchown pwrite64 fchmod fsync linkat ", 0}, nth, Strike::kIntrusion);
        carryEventsOver();
        struck = disarm() ? 1 : 0;
        char byte = 0;
        EXPECT_FALSE(read(opened, &byte, 1) == 1) << nth;
        EXPECT_TRUE(!exists(target) || readFile(target) == "events") << nth;
        close(opened);
    }
}

TEST_F(Home, ACopyIsPublishedWhereTheFileSystemLacksCalls)
{
    for (char const* lacking : {" linkat ", " linkat renameat2 "}) {
        SCOPED_TRACE(lacking);
        makeHome();
        arm({lacking, EINVAL}, 1, Strike::kFromThenOn);
        EXPECT_EQ(carryEventsOver(), created);
        EXPECT_EQ(disarm(), HOME_IN_ENVIRONMENT_COUNTS);
        EXPECT_EQ(readFile(target), "events");
        EXPECT_THAT(namesIn(dataFolder), ElementsAre("customevents.dat"));
        // What has appeared meanwhile stays.
        makeHome();
        intrude = [] {
            EXPECT_EQ(effectiveCapabilities(), 0U); // /proc/PID/cwd would be open to CAP_SYS_PTRACE
            writeFile(target, "newer"), give(target);
        };
        arm({" linkat ", EINVAL}, 1, Strike::kIntrusion);
        carryEventsOver();
        EXPECT_EQ(disarm(), HOME_IN_ENVIRONMENT_COUNTS);
        EXPECT_EQ(readFile(target), HOME_IN_ENVIRONMENT_COUNTS ? "newer" : "events");
    }
    makeHome();
    nestFolders(1);
    arm({" renameat2 ", EINVAL}, 1, Strike::kFromThenOn);
    carryEventsOver();
    EXPECT_EQ(disarm(), HOME_IN_ENVIRONMENT_COUNTS);
    EXPECT_FALSE(HOME_IN_ENVIRONMENT_COUNTS && !namesIn(dataFolder).empty());
}

TEST_F(Home, NothingIsLookedAtWithoutTheRightsOfItsOwner)
{
    for (int const capability : {CAP_SETUID, CAP_SETGID}) {
        makeHome();
        inChildProcess([&] {
            __user_cap_data_struct data[2] = {};
            ASSERT_EQ(syscall(SYS_capget, &capabilityHeader, data), 0);
            data[0].effective &= ~(1U << static_cast<unsigned>(capability));
            ASSERT_EQ(syscall(SYS_capset, &capabilityHeader, data), 0);
            prctl(PR_SET_PDEATHSIG, SIGUSR1);
            EXPECT_EQ(carryEventsOver(), Texts(4, created[0]));
        });
    }
    platform::Account const account = {ann, staff};
    for (int const nth : {1, 2}) {
        arm({" getgroups ", EINVAL}, nth, Strike::kOnce);
        EXPECT_FALSE(platform::ThreadRights(&account).taken() && HOME_IN_ENVIRONMENT_COUNTS);
        disarm();
    }
    makeHome();
    ASSERT_EQ(chown(home.c_str(), 0, 0) + chmod(home.c_str(), 01777), 0);
    EXPECT_EQ(carryEventsOver(), Texts(4, created[0])); // root's own rights would follow any user's links
}

TEST_F(Home, TheDeathOfAParentIsToldWhenTheRightsAreGivenBack)
{
    if (!HOME_IN_ENVIRONMENT_COUNTS) {
        GTEST_SKIP() << "macOS knows no such signal";
    }
    int told[2] = {}, taken[2] = {}, alive[2] = {};
    ASSERT_EQ(pipe(told) + pipe(taken) + pipe(alive), 0);
    static int answer;
    answer = told[1];
    char byte = 0;
    pid_t const parent = fork();
    if (parent == 0) {
        if (fork() != 0) {
            _exit(read(taken[0], &byte, 1) == 1 ? 0 : 1); // dies as soon as its child has the rights
        }
        close(alive[1]);
        signal(SIGUSR1, [](int) { _exit(write(answer, "s", 1) == 1 ? 0 : 1); });
        prctl(PR_SET_PDEATHSIG, SIGUSR1);
        {
            platform::Account const account = {ann, staff};
            platform::ThreadRights const rights(&account);
            (void)!write(taken[1], "t", 1);
            (void)!read(alive[0], &byte, 1); // until the last process that has the other end is gone
        }
        _exit(0);
    }
    int status = 0;
    EXPECT_EQ(waitpid(parent, &status, 0), parent);
    for (int const end : {alive[1], told[1]}) {
        close(end);
    }
    EXPECT_EQ(read(told[0], &byte, 1), 1) << "the child has ended without the signal";
    for (int const end : {told[0], taken[0], taken[1], alive[0]}) {
        close(end);
    }
}

// --- the machine's own folders

class Machine : public ScratchRootTest
{
};

TEST_F(Machine, AnOpenMaskLeavesNothingOpen)
{
    SKIP_WITHOUT_OTHER_USERS();
    Texts const paths = {databaseRoot.substr(0, databaseRoot.size() - 1), databaseRoot + "Fendrial Tessarine",
                         databaseRoot + "Fendrial Tessarine/12",
                         databaseRoot + "Fendrial Tessarine/12/UUID.plist"};
    auto const access = [&] {
        Texts all;
        std::transform(paths.begin(), paths.end(), std::back_inserter(all), accessOf);
        return all;
    };
    Texts const closed = {"0755 0:0", "0755 0:0", "0755 0:0", "0644 0:0"};
    umask(0);
    intrude = expectNothingForPrograms;
    arm({" write ", 0}, 1, Strike::kIntrusion);
    createUUIDFile(LogRecorder::session());
    EXPECT_EQ(disarm(), HOME_IN_ENVIRONMENT_COUNTS);
    EXPECT_EQ(access(), closed);
    // As earlier versions left them.
    for (auto const& path : paths) {
        chmod(path.c_str(), statusOf(path).st_mode | 0022);
    }
    ASSERT_EQ(link(paths[3].c_str(), "/second"), 0);
    createUUIDFile(LogRecorder::session());
    EXPECT_EQ(accessOf("/second"), "0666 0:0"); // perhaps another user's second name
    ASSERT_EQ(unlink("/second"), 0);
    for (auto const& path : paths) {
        chmod(path.c_str(), statusOf(path).st_mode | 0022);
    }
    VeskSession* session = nullptr;
    EXPECT_EQ(pdbOpenSession(&session) + pdbCloseSession(session), 0);
    EXPECT_EQ(access()[0], "0775 0:0");
    ASSERT_EQ(chown(paths[0].c_str(), ann, staff) + chmod(paths[0].c_str(), 0777), 0);
    veskBackup();
    EXPECT_EQ(access()[0], "0777 501:20"); // only what is root's
    ASSERT_EQ(chown(paths[0].c_str(), 0, 0) + chmod(paths[0].c_str(), 0775), 0);
    createUUIDFile(LogRecorder::session());
    arm({" fchmod ", EIO}, 1, Strike::kOnce);
    createUUIDFile(LogRecorder::session());
    EXPECT_FALSE(disarm()) << "changed although it is closed";
    EXPECT_EQ(access(), (Texts{"0775 0:0", "0775 0:0", "0775 0:0", "0664 0:0"}));
    // Not through a link that was planted while the folder was writable.
    makeFolders("/open");
    ASSERT_EQ(chmod("/open", 01777) + rename(paths[1].c_str(), "/moved") + symlink("/open", paths[1].c_str()),
              0);
    createUUIDFile(LogRecorder::session());
    EXPECT_EQ(accessOf("/open"), "1777 0:0");
}

TEST_F(Machine, RootsLinksToOtherVolumesAreFollowedByBackups)
{
    for (auto const& [file, open, backUp] : {std::tuple{catalogueFile, &veskOpenSession, &veskBackup},
                                             std::tuple{payloadFile, &pdbOpenSession, &pdbBackup}}) {
        opened(open);
        std::string const volume = "/volume" + file.substr(file.rfind('/'));
        makeFolders("/volume");
        ASSERT_EQ(rename(file.c_str(), volume.c_str()) + symlink(volume.c_str(), file.c_str()), 0);
        opened(open);
        intrude = expectNothingForPrograms;
        arm({" write ", 0}, 1, Strike::kIntrusion);
        EXPECT_EQ(backUp(), kVeskOK);
        EXPECT_TRUE(disarm());
        arm({" read ", 0}, 1, Strike::kIntrusion);
        std::vector<unsigned char> bytes;
        EXPECT_TRUE(veskiLoadFileContents(file, bytes) && disarm());
        std::string const backup = backupPath + file.substr(file.rfind('/'));
        EXPECT_TRUE(exists(backup) && readFile(backup) == readFile(volume));
        // A backup that is a hard link to the database itself.
        std::string const content = readFile(volume);
        ASSERT_EQ(unlink(backup.c_str()) + link(volume.c_str(), backup.c_str()), 0);
        EXPECT_EQ(backUp(), kVeskIOError);
        EXPECT_TRUE(readFile(volume) == content);
    }
}

// --- the shared store

class SharedStore : public ScratchRootTest
{
protected:
    void SetUp() override { opened(pcdOpenSession); }

    std::string const journal = cacheFile + "-journal";
};

TEST_F(SharedStore, AWorldWritableFileOfRootsMayHaveSeveralHardLinks)
{
    SKIP_WITHOUT_OTHER_USERS();
    ASSERT_EQ(link(cacheFile.c_str(), "/elsewhere"), 0);
    HookProperty const properties[] = {{"ZelkoCode", "code"}, {nullptr, nullptr}};
    EXPECT_EQ(QvInstallerCustomHookProc(properties, kHookPostPayload, kHookReinstall, 0, nullptr), kHookOK);
    EXPECT_EQ(rows(masterFile, "SELECT value FROM domain_data"), "code");
    EXPECT_EQ(chmod(cacheFile.c_str(), 0644), 0); // but no other file
    VeskSession* session = nullptr;
    EXPECT_EQ(pcdOpenCacheSession(&session), kVeskAccessDenied);
    EXPECT_EQ(accessOf("/elsewhere"), "0644 0:80");
}

TEST_F(SharedStore, LinksAndPipesInPlaceOfItsFilesAreRefused)
{
    // clang-format off
    struct { char const* name; std::function<void(char const*)> plant; int32_t journal, log; } const cases[] = {
        {"a link", [](char const* path) { plantLink("/victims/file", path); }, kVeskAccessDenied, kVeskOK},
        {"a link of root's", [](char const* path) { symlink("/victims/file", path); }, kVeskAccessDenied, kVeskOK},
        {"a link to nothing", [](char const* path) { plantLink("/victims/new", path); }, kVeskAccessDenied, kVeskOK},
        {"a hard link", [](char const* path) { link("/victims/file", path); }, kVeskAccessDenied, kVeskOK},
        {"a pipe", [](char const* path) { mkfifo(path, 0666); }, kVeskAccessDenied, kVeskOK},
        {"a folder", [](char const* path) { makeFolders(path); }, kVeskAccessDenied, kVeskOK},
    };
    // clang-format on
    SKIP_WITHOUT_OTHER_USERS();
    for (auto const& each : cases) {
        for (char const* suffix : {"", "-journal", "-wal", "-shm"}) {
            SCOPED_TRACE(testing::Message() << each.name << " at cache.db" << suffix);
            root.renew();
            SetUp();
            writeFile("/victims/file", "");
            ASSERT_EQ(chmod("/victims/file", 04640), 0);
            unlink((cacheFile + suffix).c_str());
            each.plant((cacheFile + suffix).c_str());
            bool const isFile = *suffix == '\0' &&
                                (each.name == std::string("a pipe") || each.name == std::string("a folder"));
            int32_t const expected = isFile ? kVeskFailed : strlen(suffix) == 4 ? each.log : each.journal;
            VeskSession* session = nullptr;
            EXPECT_EQ(pcdOpenCacheSession(&session), expected);
            expected == kVeskOK ? pcdCloseSession(session) : 0;
            EXPECT_EQ(pcdOpenSession(&session), expected); // the master store's also opens it
            pcdCloseSession(session);
            EXPECT_EQ(accessOf("/victims/file"), "4640 0:0");
            EXPECT_EQ(statusOf("/victims/file").st_size, 0);
            EXPECT_THAT(namesIn("/victims"), ElementsAre("file"));
        }
    }
}

TEST_F(SharedStore, NothingIsReachedByAnExchangeAtAnyMoment)
{
    SKIP_WITHOUT_OTHER_USERS();
    std::string const content = readFile(cacheFile);
    platform::Account const account = {ann, staff};
    for (bool const atJournal : {false, true}) {
        std::string const path = cacheFile + (atJournal ? "-journal" : "");
        for (int kind = 0; kind < 3; ++kind) {
            for (int nth = 1, struck = 1; struck != 0 && !HasFailure(); ++nth) {
                SCOPED_TRACE(testing::Message() << path << ' ' << kind << ' ' << nth);
                unlink(cacheFile.c_str());
                unlink(journal.c_str());
                writeFile(cacheFile, content);
                give(cacheFile);
                chown(cacheFile.substr(0, cacheFile.rfind('/')).c_str(), ann, staff);
                chmod(cacheFile.substr(0, cacheFile.rfind('/')).c_str(), 0777);
                std::filesystem::remove_all("/victims");
                writeFile("/victims/file", "");
                ASSERT_EQ(chmod("/victims/file", 04640), 0);
                intrude = [&] {
                    expectNothingForPrograms();
                    {
                        platform::ThreadRights const rights(&account); // may ann still do this?
                        unlink(path.c_str());
                    }
                    if (!exists(path)) {
                        kind == 0   ? symlink("/victims/file", path.c_str())
                        : kind == 1 ? link("/victims/file", path.c_str())
                                    : mkfifo(path.c_str(), 0666);
                    }
                };
                arm({" open64 fchownat chown fchown chmod fchmod unlink pread64 pwrite64 fdatasync ", 0}, nth,
                    Strike::kIntrusion);
                alarm(20);
                VeskSession* session = nullptr;
                if (pcdOpenCacheSession(&session) == kVeskOK) {
                    pcdSetDomainData(session, 1, "s", "k", "v");
                    pcdCloseSession(session);
                }
                struck = disarm() ? 1 : 0;
                alarm(0);
                EXPECT_EQ(accessOf("/victims/file"), "4640 0:0");
                EXPECT_EQ(statusOf("/victims/file").st_size, 0);
            }
        }
    }
}

TEST_F(SharedStore, AFileOfAnotherUserBecomesRoots)
{
    SKIP_WITHOUT_OTHER_USERS();
    std::string const folder = cacheFile.substr(0, cacheFile.rfind('/'));
    ASSERT_EQ(chown(cacheFile.c_str(), ann, staff) + chmod(cacheFile.c_str(), 0600), 0);
    ASSERT_EQ(chown(folder.c_str(), ann, staff) + chmod(folder.c_str(), 0777), 0);
    intrude = [&] { EXPECT_EQ(accessOf(cacheFile) + ", " + accessOf(folder), "0600 0:20, 1777 0:20"); };
    arm({" pread64 ", 0}, 1, Strike::kIntrusion); // SQLite's first look
    opened(pcdOpenCacheSession);
    EXPECT_TRUE(disarm());
    EXPECT_EQ(accessOf(cacheFile) + ", " + accessOf(folder), "0666 0:80, 1777 0:80");
    arm({" fchownat ", EPERM}, 1, Strike::kOnce);
    opened(pcdOpenCacheSession);
    EXPECT_FALSE(disarm()) << "given to root again";
}

TEST_F(SharedStore, ItsFolderMayBeALinkOnlyOfRoots)
{
    SKIP_WITHOUT_OTHER_USERS();
    std::string const folder = cacheFile.substr(0, cacheFile.rfind('/'));
    ASSERT_EQ(rename(folder.c_str(), "/volume") + symlink("/volume", folder.c_str()), 0);
    opened(pcdOpenCacheSession);
    ASSERT_EQ(chown(folder.substr(0, folder.rfind('/')).c_str(), ann, staff),
              0); // who could have planted the link
    VeskSession* session = nullptr;
    EXPECT_EQ(pcdOpenCacheSession(&session), kVeskAccessDenied);
}

TEST_F(SharedStore, NothingOfAPlantedJournalStaysInItsOwn)
{
    auto const session = opened(pcdOpenCacheSession);
    writeFile(journal, std::string(50000, '\0') + "planted"); // for SQLite, one that was never begun
    EXPECT_EQ(pcdSetDomainData(session.get(), 1, "s", "k", "v"), kVeskOK);
    EXPECT_EQ(readFile(journal).find("planted"), std::string::npos);
    // SQLite's own temporary files stay usable.
    EXPECT_EQ(session->store->queryNR("PRAGMA temp_store = 1"), kVeskOK);
    EXPECT_EQ(session->store->queryNR("CREATE TEMP TABLE t AS SELECT randomblob(9000000)"), kVeskOK);
    EXPECT_EQ(pcdSessionCommit(session.get()), kVeskOK);
}

TEST_F(SharedStore, ChangingItsAccessKeepsTheLocksOfThisProcess)
{
    OtherProcess const other([] {
        EXPECT_EQ(sql(cacheFile, "INSERT INTO domain_data VALUES (1, 's', 'k', '')"),
                  Texts{"error: database is locked"});
    });
    auto const first = opened(pcdOpenCacheSession);
    EXPECT_EQ(pcdSetDomainData(first.get(), 1, "s", "k", "v"), kVeskOK);
    chmod(cacheFile.c_str(), 0644);
    opened(pcdOpenCacheSession);
    EXPECT_EQ(accessOf(cacheFile).substr(0, 4), "0666");
    other.run();
}

/// A journal that a crash might have left, ending with the name of a file for SQLite to delete afterwards.
std::string journalNaming(std::string const& victim)
{
    sqlite3* database = nullptr;
    unlink("/other.db");
    sqlite3_open("/other.db", &database);
    sqlite3_exec(database,
                 "CREATE TABLE t(x); INSERT INTO t VALUES (zeroblob(30000)); PRAGMA cache_size = 1; BEGIN;"
                 "UPDATE t SET x = randomblob(30000); INSERT INTO t VALUES (randomblob(30000))",
                 nullptr, nullptr, nullptr);
    std::string content = readFile("/other.db-journal");
    sqlite3_close(database);
    EXPECT_GT(content.size(), 4096U);
    auto const number = [&](unsigned value) {
        for (int shift = 24; shift >= 0; shift -= 8) {
            content += static_cast<char>(value >> shift & 0xFFU);
        }
    };
    number(0x40000000 / 4096 + 1); // the page that never holds data
    content += victim;
    number(static_cast<unsigned>(victim.size()));
    unsigned sum = 0;
    std::for_each(victim.begin(), victim.end(), [&](char each) { sum += static_cast<unsigned char>(each); });
    number(sum);
    return content + "\xd9\xd5\x05\xf9\x20\xa1\x63\xd7";
}

TEST_F(SharedStore, AJournalDeletesAndOpensNoOtherFile)
{
    writeFile("/victim", "");
    mkfifo("/pipe", 0666);
    for (char const* victim : {"/victim", "/pipe"}) {
        writeFile(journal, journalNaming(victim));
        opened(pcdOpenSession);
        EXPECT_TRUE(exists(victim));
        EXPECT_FALSE(exists(journal));
    }
}

TEST_F(SharedStore, ItsOwnJournalIsRolledBack)
{
    SKIP_WITHOUT_OTHER_USERS();
    std::string const before = readFile(cacheFile);
    inChildProcess([] {
        VeskSession* session = nullptr;
        pcdOpenCacheSession(&session);
        session->store->queryNR("PRAGMA cache_size = 1");
        for (char const* key : {"a", "b", "c", "d"}) {
            pcdSetDomainData(session, 1, "s", key, std::string(20000, 'x').c_str());
        }
        EXPECT_EQ(accessOf(cacheFile + "-journal"), "0666 0:80"); // every user can roll it back
    });
    EXPECT_FALSE(readFile(cacheFile) == before);
    // A reader, which may change nothing, cannot read either.
    ASSERT_EQ(chown(journal.c_str(), ann, staff) + chmod(journal.c_str(), 0600), 0);
    std::unique_ptr<RestrictedVfs> vfs;
    sqlite3* reader = nullptr;
    EXPECT_EQ(veskiOpenConnection(cacheFile.substr(0, cacheFile.rfind('/')), cacheFile, SQLITE_OPEN_READONLY,
                                  vfs, &reader),
              SQLITE_OK);
    EXPECT_EQ(sqlite3_exec(reader, "SELECT * FROM domain_data", nullptr, nullptr, nullptr), SQLITE_READONLY);
    sqlite3_close(reader);
    EXPECT_EQ(accessOf(journal), "0600 501:20");
    opened(pcdOpenCacheSession);
    EXPECT_TRUE(readFile(cacheFile) == before);
    EXPECT_FALSE(exists(journal));
}

TEST_F(SharedStore, WriteAheadModeOpensAndCannotBeRead)
{
    std::fstream(cacheFile, std::ios::in | std::ios::out | std::ios::binary).seekp(18) << "\2\2";
    writeFile(cacheFile + "-wal", std::string(4096, 'x'));
    auto const session = opened(pcdOpenCacheSession);
    char const* value = nullptr;
    EXPECT_EQ(pcdGetDomainData(session.get(), 1, "s", "k", &value), kVeskAccessDenied);
    opened(pcdOpenSession);
    EXPECT_FALSE(exists(cacheFile + "-shm"));
}

TEST_F(SharedStore, CraftedVersionsCostLittle)
{
    std::string nested = "CREATE VIEW v0 AS SELECT 'schema_version' AS key, 1 AS value;";
    std::string generated =
        "CREATE TABLE pcd_meta (key TEXT, g0 AS (1)"; // each twice the program of the last
    for (int level = 1; level < 30; ++level) {
        char text[100];
        std::snprintf(text, sizeof text, "CREATE VIEW v%d AS SELECT * FROM v%d UNION ALL SELECT * FROM v%d;",
                      level, level - 1, level - 1);
        nested += text;
        std::snprintf(text, sizeof text, ", g%d AS (g%d + g%d)", level, level - 1, level - 1);
        generated += text;
    }
    nested += "CREATE VIEW pcd_meta AS SELECT * FROM v29";
    generated += ", value AS (g29 + g29)); INSERT INTO pcd_meta VALUES ('schema_version')";
    for (
        char const* crafted :
        {nested.c_str(), generated.c_str(),
         "CREATE VIEW pcd_meta AS SELECT 'schema_version' AS key, hex(zeroblob(400000000)) AS value",
         "CREATE VIEW pcd_meta AS WITH RECURSIVE n(key, value) AS (SELECT 1, 1 UNION ALL SELECT key + 1, 1 FROM n) "
         "SELECT * FROM n",
         "CREATE TABLE pcd_meta (key TEXT, value TEXT AS (hex(zeroblob(400000000)))); INSERT INTO pcd_meta VALUES "
         "('schema_version')",
         "CREATE TABLE pcd_meta (key TEXT, value BLOB); INSERT INTO pcd_meta VALUES ('schema_version', "
         "zeroblob(100000000))",
         "PRAGMA writable_schema = 1; WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 10) "
         "INSERT INTO sqlite_master SELECT 'view', 'v' || i, 'v' || i, 0, 'CREATE VIEW v' || i || ' AS SELECT 1 WHERE "
         "1 IN (' || replace(hex(zeroblob(200000)), '0', '1,') || '1)' FROM n"}) {
        SCOPED_TRACE(crafted);
        unlink(cacheFile.c_str());
        sql(cacheFile, crafted);
        inChildProcess([] {
            VeskSession* session = nullptr;
            EXPECT_EQ(pcdOpenCacheSession(&session), kVeskOK);
            rusage usage = {};
            getrusage(RUSAGE_SELF, &usage);
            EXPECT_LT(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec, 4);
            EXPECT_LT(usage.ru_maxrss, UNDER_SANITIZERS ? 500000 : 60000); // KiB, of the test program, too
            EXPECT_GE(sqlite3_limit(session->store->db, SQLITE_LIMIT_LENGTH, -1), 1'000'000'000);
            EXPECT_GE(sqlite3_limit(session->store->db, SQLITE_LIMIT_FUNCTION_ARG, -1), 100);
            EXPECT_EQ(session->store->queryNR(
                          "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE "
                          "i < 100000) SELECT count(*) FROM n"),
                      kVeskOK);
        });
    }
}

} // namespace
