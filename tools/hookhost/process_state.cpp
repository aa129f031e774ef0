#include "tools/hookhost/process_state.h"

#include "tools/hookhost/crash_handler.h"
#include "tools/hookhost/messages.h"
#include "tools/hookhost/open_descriptors.h"

#include <algorithm>
#include <climits>
#include <csignal>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <fmt/format.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

extern char** environ;

namespace hookhost {

namespace {

std::string currentFolder()
{
    std::vector<char> path(PATH_MAX);
    return getcwd(path.data(), path.size()) != nullptr ? path.data() : std::string("removed");
}

std::string currentMask()
{
    // It can only be read by setting it: to a strict one, because another thread may make a file at this moment.
    mode_t const mask = umask(077);
    umask(mask);
    return fmt::format("{:03o}", mask);
}

void addEnvironment(ProcessState& state)
{
    for (char const* const* each = environ; each != nullptr && *each != nullptr; ++each) {
        std::string const entry = *each;
        std::size_t const equals = std::min(entry.find('='), entry.size());
        state["environment " + entry.substr(0, equals)] = entry.substr(std::min(equals + 1, entry.size()));
    }
}

void addIds(ProcessState& state)
{
    state["real user id"] = std::to_string(getuid());
    state["effective user id"] = std::to_string(geteuid());
    state["real group id"] = std::to_string(getgid());
    state["effective group id"] = std::to_string(getegid());
    int const count = getgroups(0, nullptr);
    std::vector<gid_t> groups(static_cast<std::size_t>(std::max(count, 0)));
    if (getgroups(count, groups.data()) != count) {
        groups.clear();
    }
    state["groups"] = groups.empty() ? "none" : fmt::format("{}", fmt::join(groups, ","));
}

std::string describeHandler(struct sigaction const& action)
{
    void* const handler = reinterpret_cast<void*>(action.sa_handler);
    if (action.sa_handler == SIG_DFL || isCrashHandler(action.sa_handler) ||
        isPipeHandler(action.sa_handler)) {
        return "default";
    }
    if (action.sa_handler == SIG_IGN) {
        return "ignored";
    }
    Dl_info info = {};
    if (dladdr(handler, &info) == 0) {
        return fmt::format("handler {}", handler);
    }
    char const* const slash = std::strrchr(info.dli_fname, '/');
    return fmt::format("handler {}+0x{:x}", slash != nullptr ? slash + 1 : info.dli_fname,
                       static_cast<char const*>(handler) - static_cast<char const*>(info.dli_fbase));
}

void addSignals(ProcessState& state)
{
    sigset_t blocked;
    pthread_sigmask(SIG_SETMASK, nullptr, &blocked);
    for (int signal = 1; signal < NSIG; ++signal) {
        struct sigaction action = {};
        if (sigaction(signal, nullptr, &action) == 0) {
            char const* const name = strsignal(signal);
            std::string const text = fmt::format("signal {} ({})", signal, name);
            state[text + " handling"] = describeHandler(action);
            state[text + " delivery"] = sigismember(&blocked, signal) == 1 ? "blocked" : "open";
        }
    }
}

void addLimits(ProcessState& state)
{
    struct
    {
        decltype(RLIMIT_NOFILE) resource;
        char const* name;
    } const limits[] = {
        {RLIMIT_AS, "address space"},  {RLIMIT_CORE, "core file size"}, {RLIMIT_CPU, "processor time"},
        {RLIMIT_DATA, "data size"},    {RLIMIT_FSIZE, "file size"},     {RLIMIT_MEMLOCK, "locked memory"},
        {RLIMIT_NOFILE, "open files"}, {RLIMIT_NPROC, "processes"},     {RLIMIT_STACK, "stack size"}};
    auto const show = [](rlim_t value) {
        return value == RLIM_INFINITY ? std::string("unlimited") : std::to_string(value);
    };
    for (auto const& each : limits) {
        rlimit limit = {};
        getrlimit(each.resource, &limit);
        state[fmt::format("limit on {}", each.name)] = show(limit.rlim_cur) + '/' + show(limit.rlim_max);
    }
}

/// A value for a record: of a long one, only the size.
std::string shown(std::string const& value)
{
    constexpr std::size_t longest = 100;
    return value.size() <= longest ? value : fmt::format("({} bytes)", value.size());
}

/// The value of something that does not exist: a variable is unset, a descriptor closed.
std::string absence(std::string const& what)
{
    return what.substr(0, 11) == "environment" ? "unset" : "closed";
}

} // namespace

ProcessStateReader::ProcessStateReader()
{
    int const list = openDescriptorList();
    if (list >= 0) {
        descriptorList.emplace(list);
        close(list);
    }
}

ProcessState ProcessStateReader::read() const
{
    ProcessState state;
    state["working directory"] = currentFolder();
    state["umask"] = currentMask();
    addEnvironment(state);
    addIds(state);
    addSignals(state);
    addLimits(state);
    for (auto const& [number, target] : openDescriptors(descriptorList ? descriptorList->number() : -1)) {
        state[fmt::format("descriptor {}", number)] = target;
    }
    return state;
}

std::vector<LeftBehind> compare(ProcessState const& before, ProcessState const& after)
{
    std::vector<LeftBehind> differences;
    ProcessState all = before;
    all.insert(after.begin(), after.end());
    for (auto const& entry : all) {
        std::string const& what = entry.first;
        auto const valueIn = [&](ProcessState const& state) {
            auto const found = state.find(what);
            return found != state.end() ? found->second : absence(what);
        };
        bool const present = before.count(what) == after.count(what);
        if (!present || valueIn(before) != valueIn(after)) {
            differences.push_back({what, shown(valueIn(before)), shown(valueIn(after))});
        }
    }
    return differences;
}

} // namespace hookhost
