#include "tests/support/scratch_root.h"

#include <algorithm>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <grp.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

namespace fs = std::filesystem;

namespace testing_support {

static void require(bool done, std::string const& what)
{
    if (!done) {
        throw std::system_error(errno, std::generic_category(), what);
    }
}

ScratchRoot::ScratchRoot() : realRoot(open("/", O_PATH | O_DIRECTORY | O_CLOEXEC))
{
    renew();
}

ScratchRoot::~ScratchRoot()
{
    leaveAndRemove();
    close(realRoot);
}

void ScratchRoot::renew()
{
    leaveAndRemove();
    // In memory where there is such a folder: the tests sync to disk as the product does.
    folder = access("/dev/shm", W_OK) == 0 ? "/dev/shm/scratch-root-XXXXXX" : "/tmp/scratch-root-XXXXXX";
    require(mkdtemp(folder.data()) != nullptr && chmod(folder.c_str(), 0755) == 0, folder);
    umask(022);
    outside([] {});
}

void ScratchRoot::leaveAndRemove() const
{
    std::error_code ignored;
    require(fchdir(realRoot) == 0 && chroot(".") == 0, "leaving the scratch root");
    fs::remove_all(folder, ignored);
}

void ScratchRoot::outside(std::function<void()> const& body) const
{
    require(fchdir(realRoot) == 0 && chroot(".") == 0, "leaving the scratch root");
    body();
    require(chroot(folder.c_str()) == 0 && chdir("/") == 0,
            "chroot (run as root, or under unshare --user --map-root-user)");
}

bool canBecomeOrdinaryUser()
{
    return seteuid(ordinaryUser) == 0 && seteuid(0) == 0;
}

OtherProcess::OtherProcess(std::function<void()> const& body)
{
    require(pipe(trigger) == 0 && (child = fork()) >= 0, "a child process");
    if (child == 0) {
        char go;
        close(trigger[1]);
        if (read(trigger[0], &go, 1) == 1) {
            body();
        }
        _exit(testing::Test::HasFailure() ? 1 : 0);
    }
}

OtherProcess::~OtherProcess()
{
    close(trigger[0]);
    close(trigger[1]);
    waitpid(child, nullptr, 0);
}

void OtherProcess::start() const
{
    require(write(trigger[1], "g", 1) == 1, "the child process");
}

void OtherProcess::wait() const
{
    int status = 0;
    require(waitpid(child, &status, 0) == child, "the child process");
    EXPECT_EQ(status, 0) << "expectations failed in the child process, see above, or a signal ended it";
}

void OtherProcess::run() const
{
    start();
    wait();
}

void inChildProcess(std::function<void()> const& body)
{
    OtherProcess(body).run();
}

void asOrdinaryUser(std::function<void()> const& body)
{
    inChildProcess([&] {
        require(setgroups(0, nullptr) == 0 && setgid(ordinaryGroup) == 0 && setuid(ordinaryUser) == 0,
                "setuid");
        body();
    });
}

void setHome(std::string const& path)
{
    setenv("HOME", path.c_str(), 1);
    std::string const rest = "::" + path + ":/bin/sh\n";
    writeFile("/etc/passwd", "root:x:0:0" + rest + "ann:x:1234:2345" + rest);
}

void endingCopies(std::function<void()> const& body)
{
    pid_t const self = getpid();
    body();
    while (waitpid(-1, nullptr, 0) > 0) {
    }
    if (getpid() != self) {
        _exit(0);
    }
}

void writeFile(std::string const& path, std::string const& content)
{
    makeFolders(fs::path(path).parent_path());
    require((std::ofstream(path, std::ios::binary) << content << std::flush).good(), path);
}

std::string readFile(std::string const& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

void makeFolders(std::string const& path)
{
    fs::create_directories(path);
}

std::vector<std::string> namesIn(std::string const& folder)
{
    std::vector<std::string> names;
    for (auto const& entry : fs::directory_iterator(folder)) {
        names.push_back(entry.path().filename());
    }
    std::sort(names.begin(), names.end());
    return names;
}

bool exists(std::string const& path)
{
    struct stat status;
    return lstat(path.c_str(), &status) == 0;
}

struct stat statusOf(std::string const& path)
{
    struct stat status;
    require(lstat(path.c_str(), &status) == 0, path);
    return status;
}

std::string accessOf(std::string const& path)
{
    struct stat const status = statusOf(path);
    char text[64];
    snprintf(text, sizeof text, "%04o %u:%u", status.st_mode & 07777U, status.st_uid, status.st_gid);
    return text;
}

int openDescriptors()
{
    int count = 0;
    for (int descriptor = 0; descriptor < 1024; ++descriptor) {
        count += fcntl(descriptor, F_GETFD) != -1 ? 1 : 0;
    }
    return count;
}

} // namespace testing_support
