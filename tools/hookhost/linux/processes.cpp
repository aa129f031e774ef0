#include "tools/hookhost/processes.h"

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <dirent.h>
#include <fmt/format.h>
#include <fstream>
#include <limits.h>
#include <map>
#include <memory>
#include <sstream>
#include <sys/prctl.h>
#include <unistd.h>

namespace hookhost {

namespace {

struct Listed
{
    pid_t parent = 0;
    char state = 'X'; // of what is no process
};

/// /proc/PID/stat: "PID (NAME) STATE PARENT ...", where NAME may hold blanks and parentheses.
Listed readProcess(pid_t id)
{
    std::ifstream file(fmt::format("/proc/{}/stat", id));
    std::string text;
    std::getline(file, text, '\0'); // not by iterators, which throw for a process that has just ended
    Listed listed;
    std::istringstream(text.substr(text.rfind(')') + 1)) >> listed.state >> listed.parent;
    return listed;
}

/// The program's path; empty if this user may not know it.
std::string programOf(pid_t id)
{
    char path[PATH_MAX];
    ssize_t const length = readlink(fmt::format("/proc/{}/exe", id).c_str(), path, sizeof path);
    return std::string(path, static_cast<std::size_t>(std::max<ssize_t>(length, 0)));
}

} // namespace

void endWithParent()
{
    prctl(PR_SET_PDEATHSIG, SIGKILL);
}

void adoptOrphans()
{
    prctl(PR_SET_CHILD_SUBREAPER, 1);
}

std::vector<RunningProcess> runningDescendants()
{
    std::map<pid_t, Listed> all;
    std::unique_ptr<DIR, int (*)(DIR*)> const folder(opendir("/proc"), closedir);
    for (dirent const* entry = nullptr; folder && (entry = readdir(folder.get())) != nullptr;) {
        auto const id = static_cast<pid_t>(std::atoi(entry->d_name)); // 0 for what is no process
        all[id] = readProcess(id);
    }
    std::vector<RunningProcess> running;
    for (auto const& [id, process] : all) {
        pid_t ancestor = process.parent;
        for (std::size_t steps = 0; ancestor != getpid() && all.count(ancestor) != 0 && steps < all.size();
             ++steps) {
            ancestor = all[ancestor].parent;
        }
        if (ancestor == getpid() && process.state != 'Z' && process.state != 'X') {
            running.push_back({id, programOf(id)});
        }
    }
    return running;
}

bool isTraced()
{
    std::ifstream file("/proc/self/status");
    for (std::string name; file >> name;) {
        if (pid_t tracer = 0; name == "TracerPid:" && file >> tracer) {
            return tracer != 0;
        }
    }
    return false;
}

void closeAllFrom(int first)
{
    closefrom(first);
}

} // namespace hookhost
