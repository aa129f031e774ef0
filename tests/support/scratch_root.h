/// A fresh, empty root folder for each test: the code under test runs with its real, absolute paths.
#ifndef TESTS_SUPPORT_SCRATCH_ROOT_H
#define TESTS_SUPPORT_SCRATCH_ROOT_H

#include <ctime>
#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>
#include <vector>

namespace testing_support {

/// An ordinary user: the one that tests become when the super-user's rights must not help.
constexpr uid_t ordinaryUser = 1234;
constexpr gid_t ordinaryGroup = 2345;

/// Enters a new, empty root folder; leaves and removes it at the end.
class ScratchRoot
{
public:
    ScratchRoot();
    ScratchRoot(ScratchRoot const&) = delete;
    ~ScratchRoot();

    /// Replaces the folder by a new, empty one: for the next row of a table.
    void renew();

    /// The folder as a path of the machine, for programs that are started outside it.
    std::string const& outsidePath() const { return folder; }

    /// Runs a body in the machine's own root, for programs that need its libraries.
    void outside(std::function<void()> const& body) const;

private:
    void leaveAndRemove() const;

    int const realRoot;
    std::string folder;
};

/// Whether a process can become another user here: not where only root is mapped.
bool canBecomeOrdinaryUser();

/// Skips a test that needs them.
#define SKIP_WITHOUT_OTHER_USERS()                                                                           \
    if (!testing_support::canBecomeOrdinaryUser())                                                           \
    GTEST_SKIP() << "needs users other than root: run as the machine's root"

/// A process that is forked at once and runs its body later. SQLite tracks its process's locks in memory, which fork()
/// copies: fork before the test opens anything.
class OtherProcess
{
public:
    explicit OtherProcess(std::function<void()> const& body);
    OtherProcess(OtherProcess const&) = delete;
    ~OtherProcess();

    /// Starts the body; waits for its end and takes over its failed expectations; or both.
    void start() const;
    void wait() const;
    void run() const;

private:
    int trigger[2];
    pid_t child;
};

/// Runs a body in a child process, or as an ordinary user in one; its failed expectations become this test's.
void inChildProcess(std::function<void()> const& body);
void asOrdinaryUser(std::function<void()> const& body);

/// Makes a folder the home of root and of the ordinary user, in HOME and in the records of this scratch root:
/// systems differ in which of them they use.
void setHome(std::string const& path);

/// Runs a body that may return a second time, in a copy of this process: ends the copy. Returns when all processes that
/// the body has started have ended.
void endingCopies(std::function<void()> const& body);

void writeFile(std::string const& path, std::string const& content); // and the folders above it
std::string readFile(std::string const& path);
void makeFolders(std::string const& path);
std::vector<std::string> namesIn(std::string const& folder); // sorted; "." and ".." left out

bool exists(std::string const& path);          // even as a dangling link
struct stat statusOf(std::string const& path); // follows no link

/// Permission bits, owner and group in one readable value: "0644 0:80".
std::string accessOf(std::string const& path);

/// Number of open descriptors of this process.
int openDescriptors();

class ScratchRootTest : public ::testing::Test
{
protected:
    ~ScratchRootTest() override { EXPECT_EQ(openDescriptors(), descriptors); }

    ScratchRoot root;
    int const descriptors = openDescriptors();
};

} // namespace testing_support

#endif
