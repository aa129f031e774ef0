#include "platform/thread_rights.h"

#include <sys/fsuid.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace platform {

namespace {

#ifdef SYS_setgroups32
constexpr long setGroupsCall = SYS_setgroups32; // the plain one takes 16-bit numbers
#else
constexpr long setGroupsCall = SYS_setgroups;
#endif

/// Sets the thread's supplementary groups. Deliberate: the system call itself; setgroups(3) changes every thread.
bool setThreadGroups(std::vector<gid_t> const& groups)
{
    return syscall(setGroupsCall, groups.size(), groups.data()) == 0;
}

uid_t threadUser()
{
    return static_cast<uid_t>(setfsuid(static_cast<uid_t>(-1))); // an invalid number changes nothing
}

gid_t threadGroup()
{
    return static_cast<gid_t>(setfsgid(static_cast<gid_t>(-1)));
}

} // namespace

ThreadRights::ThreadRights(Account const* account)
{
    if (account == nullptr) {
        complete = true;
        return;
    }
    int const count = getgroups(0, nullptr);
    previousGroups.resize(count > 0 ? static_cast<size_t>(count) : 0);
    if (count < 0 || getgroups(count, previousGroups.data()) != count) {
        return;
    }
    previous = {threadUser(), threadGroup()};
    changed = setThreadGroups({});
    if (!changed) {
        return;
    }
    // The user last: with it go the rights to change the others.
    setfsgid(account->group);
    setfsuid(account->user);
    complete = threadUser() == account->user && threadGroup() == account->group;
}

ThreadRights::~ThreadRights()
{
    if (changed) {
        setfsuid(previous.user);
        setfsgid(previous.group);
        setThreadGroups(previousGroups);
    }
}

} // namespace platform
