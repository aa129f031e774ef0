#include "platform/thread_rights.h"

#include <csignal>
#include <linux/capability.h>
#include <sys/fsuid.h>
#include <sys/prctl.h>
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

/// The thread's capability sets, in two parts of 32 bits. Deliberate: the system calls themselves, as above.
struct Capabilities
{
    bool read() { return syscall(SYS_capget, &header, sets) == 0; }
    bool write() { return syscall(SYS_capset, &header, sets) == 0; }

    __user_cap_header_struct header = {_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct sets[2] = {};
};

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
    Capabilities capabilities;
    int const count = getgroups(0, nullptr);
    previousGroups.resize(count < 0 ? 0 : static_cast<size_t>(count));
    if (count < 0 || getgroups(count, previousGroups.data()) != count || !capabilities.read()) {
        return;
    }
    previousCapabilities = {capabilities.sets[0].effective, capabilities.sets[1].effective};
    prctl(PR_GET_PDEATHSIG, &previousDeathSignal);
    previousParent = getppid();
    previousDumpable = prctl(PR_GET_DUMPABLE);
    previous = {threadUser(), threadGroup()};
    changed = true;
    bool const withoutGroups = setThreadGroups({});
    // The user last: with it go the rights to change the others.
    setfsgid(account->group);
    setfsuid(account->user);
    // A change of user drops only the capabilities that concern files. CAP_SYS_PTRACE, too, opens ways:
    // /proc/PID/cwd leads past folders that the user may not search.
    capabilities.sets[0].effective = 0;
    capabilities.sets[1].effective = 0;
    complete = withoutGroups && threadUser() == account->user && threadGroup() == account->group &&
               capabilities.write();
}

ThreadRights::~ThreadRights()
{
    if (changed) {
        setfsuid(previous.user);
        setfsgid(previous.group);
        Capabilities capabilities;
        capabilities.read();
        capabilities.sets[0].effective = previousCapabilities[0];
        capabilities.sets[1].effective = previousCapabilities[1];
        capabilities.write();
        setThreadGroups(previousGroups);
        // The system clears both at every change of user.
        prctl(PR_SET_DUMPABLE, previousDumpable);
        prctl(PR_SET_PDEATHSIG, previousDeathSignal);
        if (getppid() != previousParent) {
            raise(previousDeathSignal); // 0 if none was requested: raises nothing
        }
    }
}

} // namespace platform
