/// The rights of another user, for one thread and its file-system calls.
#ifndef PLATFORM_THREAD_RIGHTS_H
#define PLATFORM_THREAD_RIGHTS_H

#include <sys/stat.h>
#include <sys/types.h>
#include <vector>

namespace platform {

/// A user and a group, as the owner of a file has them.
struct Account
{
    uid_t user;
    gid_t group;
};

/// Whether permission bits let an account read, write and execute (for a folder: search). The super-user always may.
bool modeLetsUse(struct stat const& status, Account const& account);

/// Gives the calling thread, while it lives, the file-system rights of an account and no more: its user, its group
/// and no supplementary groups. The process and its other threads keep theirs, and the user database is not asked.
///
/// Only the super-user can take another user's rights. Objects nest; each restores what it found.
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
    [[maybe_unused]] Account previous = {}; // where the system does not keep them itself
    std::vector<gid_t> previousGroups;
};

} // namespace platform

#endif
