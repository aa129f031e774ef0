#include "tests/support/scratch_root.h"

#include <algorithm>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <grp.h>
#include <iterator>
#include <stdexcept>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

namespace fs = std::filesystem;

namespace testing_support {

namespace {

void require(bool done, char const* what)
{
    if (!done) {
        throw std::system_error(errno, std::generic_category(), what);
    }
}

} // namespace

ScratchRoot::ScratchRoot() : realRoot(open("/", O_PATH | O_DIRECTORY | O_CLOEXEC))
{
    require(realRoot >= 0, "/");
    canBecomeOrdinaryUser();
    make();
}

ScratchRoot::~ScratchRoot()
{
    leave();
    remove();
    close(realRoot);
}

void ScratchRoot::renew()
{
    leave();
    remove();
    make();
}

void ScratchRoot::make()
{
    // In memory where there is such a folder: the tests sync to disk as the product does.
    folder = access("/dev/shm", W_OK) == 0 ? "/dev/shm/scratch-root-XXXXXX" : "/tmp/scratch-root-XXXXXX";
    require(mkdtemp(folder.data()) != nullptr, folder.c_str());
    require(chmod(folder.c_str(), 0755) == 0, folder.c_str());
    enter();
    umask(022);
}

void ScratchRoot::remove() const
{
    std::error_code ignored;
    fs::remove_all(folder, ignored);
}

void ScratchRoot::enter() const
{
    require(chroot(folder.c_str()) == 0, "chroot (run as root, or under unshare --user --map-root-user)");
    require(chdir("/") == 0, "/");
}

void ScratchRoot::leave() const
{
    require(fchdir(realRoot) == 0 && chroot(".") == 0, "leaving the scratch root");
}

void ScratchRoot::outside(std::function<void()> const& body) const
{
    leave();
    body();
    enter();
}

bool canBecomeOrdinaryUser()
{
    // Looked up once, before the first scratch root is entered: there is no /proc in it.
    static bool const can = [] {
        std::ifstream map("/proc/self/uid_map");
        unsigned long long first = 0;
        unsigned long long outsideFirst = 0;
        unsigned long long count = 0;
        return map >> first >> outsideFirst >> count && count > ordinaryUser;
    }();
    return can;
}

OtherProcess::OtherProcess(std::function<void()> const& body)
{
    require(pipe(trigger) == 0, "pipe");
    child = fork();
    require(child >= 0, "fork");
    if (child == 0) {
        char go = 0;
        close(trigger[1]);
        if (read(trigger[0], &go, 1) == 1) {
            body();
        }
        _exit(::testing::Test::HasFailure() ? 1 : 0);
    }
}

OtherProcess::~OtherProcess()
{
    close(trigger[0]);
    close(trigger[1]);
    if (child > 0) {
        waitpid(child, nullptr, 0);
    }
}

void OtherProcess::run()
{
    int status = 0;
    require(write(trigger[1], "g", 1) == 1, "pipe");
    require(waitpid(child, &status, 0) == child, "waitpid");
    child = -1;
    ASSERT_TRUE(WIFEXITED(status)) << "the child process died of signal " << WTERMSIG(status);
    EXPECT_EQ(WEXITSTATUS(status), 0) << "expectations failed in the child process, see above";
}

void inChildProcess(std::function<void()> const& body)
{
    OtherProcess(body).run();
}

void asOrdinaryUser(std::function<void()> const& body)
{
    inChildProcess([&] {
        require(setgroups(0, nullptr) == 0 && setgid(ordinaryGroup) == 0 && setuid(ordinaryUser) == 0,
                "becoming an ordinary user");
        body();
    });
}

void setHome(std::string const& path)
{
    setenv("HOME", path.c_str(), 1);
    writeFile("/etc/passwd", "root:x:0:0::" + path + ":/bin/sh\nann:x:" + std::to_string(ordinaryUser) + ':' +
                                 std::to_string(ordinaryGroup) + "::" + path + ":/bin/sh\n");
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
    fs::create_directories(fs::path(path).parent_path());
    std::ofstream file(path, std::ios::binary);
    file << content;
    require(file.flush().good(), path.c_str());
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
    struct stat status = {};
    return lstat(path.c_str(), &status) == 0;
}

struct stat statusOf(std::string const& path)
{
    struct stat status = {};
    require(lstat(path.c_str(), &status) == 0, path.c_str());
    return status;
}

std::string accessOf(std::string const& path)
{
    struct stat const status = statusOf(path);
    char text[64];
    snprintf(text, sizeof text, "%04o %u:%u", static_cast<unsigned>(status.st_mode & 07777),
             static_cast<unsigned>(status.st_uid), static_cast<unsigned>(status.st_gid));
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
