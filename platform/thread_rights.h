/// The rights of another user, for one thread and its file-system calls.
#ifndef PLATFORM_THREAD_RIGHTS_H
#define PLATFORM_THREAD_RIGHTS_H

#include <array>
#include <cstdint>
#include <sys/stat.h>
#include <sys/types.h>
#include <vector>

namespace platform {

/// A user and a group, such as those of a file.
struct Account
{
    uid_t user;
    gid_t group;
};

/// While it lives, restricts the calling thread to the file-system rights of an account: its user, its group and no
/// supplementary groups. Other threads keep theirs. The user database is not read.
///
/// Only the super-user can take another user's rights, and not while the thread has those of an account. On POSIX
/// systems, the process writes no core dump meanwhile, and a signal that it has requested for the death of its parent
/// comes when the object goes.
class ThreadRights
{
public:
    /// @param account  whose rights to take, read during the call; null: the thread keeps the rights it has
    explicit ThreadRights(Account const* account);
    ThreadRights(ThreadRights const&) = delete;
    ThreadRights& operator=(ThreadRights const&) = delete;
    ~ThreadRights();

    /// @return whether the thread has the account's rights now; if not, it may have less than before, never more
    bool taken() const { return complete; }

private:
    bool changed = false;
    bool complete = false;
    [[maybe_unused]] Account previous = {}; // for systems that do not restore it themselves
    std::vector<gid_t> previousGroups;
    [[maybe_unused]] std::array<uint32_t, 2> previousCapabilities = {};
    [[maybe_unused]] int previousDeathSignal = 0;
    [[maybe_unused]] pid_t previousParent = 0;
    [[maybe_unused]] int previousDumpable = 0;
};

/// Runs a step with the rights of an account.
///
/// @param account  as above
/// @param step     takes nothing and returns a bool
/// @return what the step returns; false, and the step does not run, if the rights cannot be taken
template<class Step>
bool withRights(Account const* account, Step step)
{
    ThreadRights const rights(account);
    return rights.taken() && step();
}

} // namespace platform

#endif
