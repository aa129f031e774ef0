#include "tools/common/alternate_root.h"

#include <cerrno>
#include <cstring>
#include <sys/wait.h>
#include <unistd.h>

namespace common {

namespace alternate_root {

namespace {

/// @return 0, else the errno of the step that failed
int tryToEnter(std::string const& folder)
{
    return chroot(folder.c_str()) == 0 && chdir("/") == 0 ? 0 : errno;
}

std::string reasonFor(int error)
{
    switch (error) {
    case ENOENT:
        return "no such folder; create it first or give an existing one";
    case ENOTDIR:
        return "this is not a folder; give the folder that contains the other root";
    case EACCES:
        return "this user may not enter the folder; its path needs search permission (x) throughout";
    case EPERM:
        return "entering another root requires the super-user; run this as root or under "
               "'unshare --user --map-root-user'";
    default:
        return std::strerror(error);
    }
}

void refuseUnless(int error, std::string const& folder)
{
    if (error != 0) {
        throw Refused("root '" + folder + "': " + reasonFor(error));
    }
}

std::string enteredFolder;

} // namespace

void requireUsable(std::string const& folder)
{
    pid_t const child = fork();
    if (child == 0) {
        _exit(tryToEnter(folder));
    }
    int status = 0;
    if (child < 0 || waitpid(child, &status, 0) != child) {
        refuseUnless(errno, folder);
    }
    refuseUnless(WIFEXITED(status) ? WEXITSTATUS(status) : EINTR, folder);
}

void enter(std::string const& folder)
{
    refuseUnless(tryToEnter(folder), folder);
    enteredFolder = folder;
}

std::string const& entered()
{
    return enteredFolder;
}

std::string quotedFromOutside(std::string const& path)
{
    std::string quoted = "'";
    for (char const each : enteredFolder + path) {
        quoted += each == '\'' ? "'\\''" : std::string(1, each);
    }
    return quoted + "'";
}

} // namespace alternate_root

} // namespace common
