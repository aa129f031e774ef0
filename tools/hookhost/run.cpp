#include "tools/hookhost/run.h"

#include "tools/common/alternate_root.h"
#include "tools/common/descriptor_output.h"
#include "tools/hookhost/exit_status.h"
#include "tools/hookhost/output.h"
#include "tools/hookhost/plugin.h"
#include "tools/hookhost/report.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fmt/format.h>
#include <functional>
#include <memory>
#include <new>
#include <pwd.h>
#include <sys/mman.h>
#include <sys/select.h>
#include <sys/wait.h>
#include <unistd.h>
#ifdef __linux__
#include <sys/prctl.h>
#endif

namespace hookhost {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

namespace {

constexpr milliseconds firstNotice{2000};     // a call that takes longer is mentioned ...
constexpr milliseconds longestSilence{30000}; // ... ever more rarely, up to this

/// The call that the worker is in; aligned so that it is read and written in one piece.
struct alignas(8) CurrentCall
{
    uint32_t step;    ///< index into the names of the run's steps
    uint32_t started; ///< milliseconds since the run began
};

/// What the worker tells the host, in memory that both share. A pipe would not do: helper programs inherit it
/// and hold it open.
struct RunRecord
{
    std::atomic<CurrentCall> current{CurrentCall{0, 0}};
    std::atomic<bool> finished{false}; ///< the worker came to its own end, as opposed to an exit() below it
    std::atomic<uint32_t> firstStatus{0}; ///< the first status other than 0 that the hook returned
    std::atomic<int> writeError{0};       ///< errno of a line that was lost
    Clock::time_point const began = Clock::now();

    uint32_t sinceBegin() const
    {
        return static_cast<uint32_t>(std::chrono::duration_cast<milliseconds>(Clock::now() - began).count());
    }
};
static_assert(std::atomic<CurrentCall>::is_always_lock_free, "two processes share it");

struct SharedMemory
{
    void operator()(RunRecord* record) const { munmap(record, sizeof *record); }
};

std::unique_ptr<RunRecord, SharedMemory> newRunRecord()
{
    void* const memory =
        mmap(nullptr, sizeof(RunRecord), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) {
        throw std::bad_alloc();
    }
    return std::unique_ptr<RunRecord, SharedMemory>(new (memory) RunRecord);
}

/// Wakes pselect when the worker ends, and does nothing else.
void noticeChild(int /*signal*/)
{
}

/// Holds SIGCHLD back but during waits, so that none slips through between a look and a wait.
class ChildSignal
{
public:
    ChildSignal()
    {
        struct sigaction action = {};
        action.sa_handler = noticeChild;
        sigaction(SIGCHLD, &action, nullptr);
        sigset_t blocked;
        sigemptyset(&blocked);
        sigaddset(&blocked, SIGCHLD);
        sigprocmask(SIG_BLOCK, &blocked, &before);
    }
    ChildSignal(ChildSignal const&) = delete;
    ChildSignal& operator=(ChildSignal const&) = delete;
    ~ChildSignal() { restore(); }

    void restore() const
    {
        std::signal(SIGCHLD, SIG_DFL);
        sigprocmask(SIG_SETMASK, &before, nullptr);
    }

    /// Until a child ends or the time has passed.
    void wait(milliseconds longest) const
    {
        timespec const time = {static_cast<time_t>(longest.count() / 1000),
                               static_cast<long>(longest.count() % 1000) * 1000000};
        pselect(0, nullptr, nullptr, nullptr, &time, &before);
    }

private:
    sigset_t before = {};
};

/// What one run is made of. The names of the steps are for people and for the record of a failure.
struct Run
{
    Options const& options;
    std::string mode;
    std::vector<std::string> steps;
    Report report;
    RunRecord& record;

    /// The work of the worker process.
    /// @return its exit status, before the hook's statuses are looked at
    std::function<int(Run const&)> work;
};

[[noreturn]] void beWorker(Run const& run, ChildSignal const& signals, pid_t host)
{
    signals.restore();
#ifdef __linux__
    prctl(PR_SET_PDEATHSIG, SIGKILL); // the worker does not outlive hookhost
#endif
    if (getppid() != host) {
        _exit(kExitHostError);
    }
    int status = kExitHostError;
    try {
        status = run.work(run);
    } catch (Refusal const& refusal) {
        complain(refusal.what());
        status = refusal.exitStatus;
    } catch (std::exception const& error) {
        complain(error.what());
    }
    std::fflush(nullptr); // what the plug-in printed by itself
    run.record.finished = true;
    _exit(status);
}

/// Waits for the worker, never for the end of its output: helper programs hold that open. Says when a call
/// takes long.
///
/// @param timedOut  receives whether the worker was killed for the time-out
/// @return the worker's status as waitpid gives it
int watchWorker(Run const& run, ChildSignal const& signals, pid_t worker, bool& timedOut)
{
    timedOut = false;
    uint32_t noticed = 0;
    milliseconds notice = firstNotice;
    for (;;) {
        int status = 0;
        if (waitpid(worker, &status, timedOut ? 0 : WNOHANG) == worker) {
            return status;
        }
        CurrentCall const call = run.record.current;
        milliseconds const elapsed{run.record.sinceBegin() - call.started};
        if (run.options.timeout && elapsed >= *run.options.timeout) {
            kill(worker, SIGKILL);
            timedOut = true;
            continue;
        }
        if (call.step != noticed) {
            noticed = call.step;
            notice = firstNotice;
        }
        if (elapsed >= notice) {
            complain(fmt::format("{}/{} has been running for {} s", run.mode, run.steps[call.step],
                                 elapsed.count() / 1000));
            notice = elapsed + std::min(elapsed, longestSilence);
        }
        milliseconds const wakeUp = run.options.timeout ? std::min(notice, *run.options.timeout) : notice;
        signals.wait(std::max(wakeUp - elapsed, milliseconds{1}));
    }
}

/// Puts the failed step on record.
///
/// @return hookhost's exit status
int reportFailure(Run const& run, pid_t worker, int status, bool timedOut)
{
    CurrentCall const call = run.record.current;
    Failure failure;
    int exitStatus = kExitHostError;
    if (timedOut) {
        failure = {"timeout", 0,
                   fmt::format("it did not return within {} s and was killed",
                               static_cast<double>(run.options.timeout->count()) / 1000)};
        exitStatus = kExitTimeout;
    } else if (WIFSIGNALED(status)) {
        int const signal = WTERMSIG(status);
        failure = {"signal", signal, fmt::format("ended by signal {} ({})", signal, strsignal(signal))};
        exitStatus = kExitSignal + signal;
    } else {
        int const code = WEXITSTATUS(status);
        failure = {"exit", code,
                   fmt::format("the plug-in ended the process by exit({}); it must return instead", code)};
    }
    run.report.failed(run.steps[call.step], worker, failure, run.record.sinceBegin() - call.started);
    complain(fmt::format("{}/{}: {}; calls not made: {}", run.mode, run.steps[call.step], failure.reason,
                         run.steps.size() - call.step - 1));
    return exitStatus;
}

/// Runs the work in a worker process.
///
/// @return hookhost's exit status
int inWorker(Run const& run)
{
    ChildSignal const signals;
    pid_t const host = getpid();
    pid_t const worker = fork();
    if (worker < 0) {
        throw Refusal(kExitHostError, fmt::format("no process for the run: {}", std::strerror(errno)));
    }
    if (worker == 0) {
        beWorker(run, signals, host);
    }
    bool timedOut = false;
    int const status = watchWorker(run, signals, worker, timedOut);
    RunRecord const& record = run.record;
    int exitStatus = WEXITSTATUS(status);
    if (!WIFEXITED(status) || !record.finished) {
        exitStatus = reportFailure(run, worker, status, timedOut);
    } else if (exitStatus == 0 && record.firstStatus >= kExitLargeStatus) {
        complain(fmt::format("status {} does not fit an exit status; {} stands for it",
                             record.firstStatus.load(), static_cast<int>(kExitLargeStatus)));
        exitStatus = kExitLargeStatus;
    } else if (exitStatus == 0) {
        exitStatus = static_cast<int>(record.firstStatus);
    }
    if (record.writeError != 0) {
        complain(common::lossOf(record.writeError));
        return exitStatus == 0 ? kExitHostError : exitStatus;
    }
    return exitStatus;
}

// The log callback takes no context: the worker is in one call at a time.
Report const* currentReport = nullptr;
std::string const* currentPhase = nullptr;

void logMessage(char const* message)
{
    currentReport->message(*currentPhase, message);
}

/// Makes one call into the plug-in. An exception that comes out of it ends the worker, as it would end an
/// installer.
template<class Call>
uint32_t makeCall(Run const& run, uint32_t step, Call call) noexcept
{
    pid_t const self = getpid();
    run.record.current = CurrentCall{step, run.record.sinceBegin()};
    currentPhase = &run.steps[step];
    auto const began = Clock::now();
    uint32_t const status = call();
    if (getpid() != self) {
        // A copy of the worker: the plug-in could not start a helper program in it and returned instead.
        _exit(0);
    }
    bool const isPhase = step > 1 && step + 1 < run.steps.size();
    if (isPhase || status != 0) {
        std::chrono::duration<double, std::milli> const taken = Clock::now() - began;
        run.report.returned(*currentPhase, status, taken.count());
    }
    uint32_t none = 0;
    run.record.firstStatus.compare_exchange_strong(none, status);
    return status;
}

/// Sets HOME from the user database if the environment has none. Below another root the plug-in would otherwise
/// look the user up there, with that root's own name-service libraries.
void setHomeFromUserDatabase()
{
    char const* const home = std::getenv("HOME");
    passwd const* const user = home == nullptr || *home == '\0' ? getpwuid(getuid()) : nullptr;
    if (user != nullptr && user->pw_dir != nullptr) {
        setenv("HOME", user->pw_dir, 1);
    }
}

int callPlugin(Run const& run)
{
    Options const& options = run.options;
    PluginEntries const plugin = loadPlugin(options.plugin);
    if (options.root) {
        setHomeFromUserDatabase();
        common::alternate_root::enter(*options.root);
    }
    if (options.home) {
        setenv("HOME", options.home->c_str(), 1);
    }
    std::vector<HookProperty> properties;
    for (auto const& [name, value] : options.properties) {
        properties.push_back({name.c_str(), value.c_str()});
    }
    properties.push_back({nullptr, nullptr});
    currentReport = &run.report;
    HookLogCallback const callback = options.logCallback ? logMessage : nullptr;

    uint32_t step = 1;
    makeCall(run, step, plugin.open);
    for (HookNumber const& phase : options.phases) {
        makeCall(run, ++step, [&] {
            return plugin.proc(properties.data(), phase.value, static_cast<int32_t>(options.mode.value), 0,
                               callback);
        });
    }
    makeCall(run, ++step, plugin.close);
    return 0;
}

/// Every check that can be made without running code of the plug-in.
void requireRunnable(Options const& options)
{
    requirePluginFile(options.plugin);
    if (options.root) {
        common::alternate_root::requireUsable(*options.root);
    }
}

} // namespace

int showRun(Options const& options)
{
    requireRunnable(options);
    std::string lines = fmt::format("would load {}\n", options.plugin);
    if (options.root) {
        lines += fmt::format("would enter the root {}\n", *options.root);
    }
    if (options.home) {
        lines += fmt::format("would set HOME to {}\n", *options.home);
    }
    for (auto const& [name, value] : options.properties) {
        lines += fmt::format("would pass the property {}={}\n", name, value);
    }
    lines += "would call QvInstallerCustomHookInitSession()\n";
    for (HookNumber const& phase : options.phases) {
        lines += fmt::format("would call QvInstallerCustomHookProc(properties, {}, {}, 0, {}) for {}/{}\n",
                             phase.value, static_cast<int32_t>(options.mode.value),
                             options.logCallback ? "log" : "null", options.mode.name, phase.name);
    }
    lines += "would call QvInstallerCustomHookCloseSession()\n";
    printAnswer(lines);
    return 0;
}

int runPhases(Options const& options)
{
    requireRunnable(options);
    std::vector<std::string> steps = {"load", "open-entry"};
    for (HookNumber const& phase : options.phases) {
        steps.push_back(phase.name);
    }
    steps.emplace_back("close-entry");
    auto const record = newRunRecord();
    return inWorker({options, options.mode.name, std::move(steps),
                     Report(options.format, options.mode.name, record->writeError), *record, callPlugin});
}

int listPlugin(Options const& options)
{
    requirePluginFile(options.plugin);
    auto const record = newRunRecord();
    return inWorker({options,
                     "list",
                     {"load"},
                     Report(options.format, "list", record->writeError),
                     *record,
                     [](Run const& run) {
                         bool complete = false;
                         run.report.text(describePlugin(run.options.plugin, complete));
                         return complete ? 0 : static_cast<int>(kExitSymbolMissing);
                     }});
}

} // namespace hookhost
