#include "tools/hookhost/worker.h"

#include "tools/common/alternate_root.h"
#include "tools/hookhost/log_callbacks.h"
#include "tools/hookhost/log_lines.h"
#include "tools/hookhost/messages.h"
#include "tools/hookhost/plugin.h"
#include "tools/hookhost/process_state.h"
#include "tools/hookhost/processes.h"

#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fmt/format.h>
#include <pwd.h>
#include <unistd.h>

namespace hookhost {

namespace {

/// Records all that the plug-in has printed in the step that has just ended.
void recordOutput(Run& run, RecordWriter::Turn& turn)
{
    if (run.output) {
        run.output->recordAll(run.report, turn, run.state->current.load().step, getpid());
    }
}

/// Waits until the host has recorded what the completed steps have changed. Deliberate: polls, because the plug-in
/// could close or replace a descriptor to wait for.
void waitForExamination(Run const& run)
{
    pid_t const host = getppid();
    while (run.options.changes && run.state->examined < run.state->returned) {
        if (getppid() != host) {
            _exit(kExitHostError);
        }
        usleep(500);
    }
}

/// Records what each step leaves behind in this process.
class ProcessWatch
{
public:
    /// Reads the state to compare with. Call it after loading: what a plug-in sets up then does not count.
    void begin() { state = reader.read(); }

    void record(Run& run, Step step)
    {
        ProcessState now = reader.read();
        for (LeftBehind const& each : compare(state, now)) {
            RecordWriter::Turn turn = run.report.turn();
            run.report.leftBehind(turn, step, each);
        }
        state = std::move(now);
    }

private:
    ProcessStateReader const reader;
    ProcessState state;
};

/// Waits until a debugger has attached to this process, or SIGCONT is pending.
void waitForDebugger()
{
    sigset_t resume;
    sigset_t before;
    sigset_t pending;
    sigemptyset(&resume);
    sigaddset(&resume, SIGCONT);
    sigprocmask(SIG_BLOCK, &resume, &before);
    notice(fmt::format(
        "process {} has loaded the plug-in and waits: attach a debugger and continue, or kill -CONT {}",
        getpid(), getpid()));
    do {
        usleep(20000);
        sigpending(&pending);
    } while (sigismember(&pending, SIGCONT) == 0 && !isTraced());
    if (sigismember(&pending, SIGCONT) == 1) {
        int signal = 0;
        sigwait(&resume, &signal);
    }
    sigprocmask(SIG_SETMASK, &before, nullptr);
}

/// Makes one call into the plug-in. An exception that leaves it ends the worker, as it would end an installer.
///
/// @param watch  has the state of this process before the call; receives the state after it
template<class Call>
void makeCall(Run& run, Step step, ProcessWatch& watch, Call call) noexcept
{
    pid_t const self = getpid();
    run.state->current = CurrentCall{step, run.state->sinceBegin()};
    auto const began = Clock::now();
    uint32_t const status = call();
    std::chrono::duration<double, std::milli> const taken = Clock::now() - began;
    if (getpid() != self) {
        // A copy of the worker: the plug-in could not start a helper program in it and returned instead.
        _exit(0);
    }
    run.state->statuses[step] = status;
    run.state->returned = step + 1;
    std::fflush(stdout);
    {
        RecordWriter::Turn turn = run.report.turn();
        recordOutput(run, turn);
        bool const isPhase = step >= firstPhase && step + 2 < run.steps.size();
        if (isPhase || status != 0) {
            run.report.returned(turn, step, status, taken.count());
        }
    }
    watch.record(run, step);
    uint32_t none = 0;
    run.state->firstStatus.compare_exchange_strong(none, status);
    waitForExamination(run);
}

/// Sets HOME from the user database if the environment has none. Otherwise the plug-in would look up the user in the
/// other root, with that root's own name-service libraries.
void setHomeFromUserDatabase()
{
    char const* const home = std::getenv("HOME");
    passwd const* const user = home == nullptr || *home == '\0' ? getpwuid(getuid()) : nullptr;
    if (user != nullptr && user->pw_dir != nullptr) {
        setenv("HOME", user->pw_dir, 1);
    }
}

void enterRoot(Run& run)
{
    if (run.overlay) {
        std::vector<char> folder(PATH_MAX);
        bool const stay = !run.options.root && getcwd(folder.data(), folder.size()) != nullptr;
        common::alternate_root::enter(run.overlay->rootFolder());
        run.overlay.reset(); // the plug-in does not get its descriptors
        if (stay && chdir(folder.data()) != 0) {
            notice(fmt::format("the current folder '{}' is not in the overlay", folder.data()));
        }
    } else if (run.options.root) {
        common::alternate_root::enter(*run.options.root);
    }
}

} // namespace

int callPlugin(Run& run)
{
    Options const& options = run.options;
    pid_t const self = getpid();
    receiveMessages([&run, self](Step step, char const* message) {
        // Used by one thread at a time; outlives a late message.
        static LogExplainer& explainer = *new LogExplainer;
        try {
            RecordWriter::Turn turn = run.report.turn();
            if (run.output) { // first what was printed before it
                run.output->record(run.report, turn, run.state->current.load().step, self);
            }
            std::string const text = message == nullptr ? "(null)" : message;
            for (std::size_t each = 0; each < run.options.expectations.size(); ++each) {
                if (matches(run.options.expectations[each], run.steps[step], text)) {
                    run.state->logged[each] = true;
                }
            }
            run.report.message(turn, step, text.c_str(), step < run.state->returned,
                               run.options.explain ? explainer.explain(text) : "");
        } catch (...) {
            // No exception may pass through the plug-in. Only a lack of memory is known to cause one.
            run.state->writeError = ENOMEM;
        }
    });
    ProcessWatch watch;
    Plugin const plugin = loadPlugin(options.plugin);
    std::fflush(stdout);
    run.state->returned = 1;
    {
        RecordWriter::Turn turn = run.report.turn();
        recordOutput(run, turn);
    }
    waitForExamination(run);
    if (options.debugWait) {
        waitForDebugger();
    }
    if (options.root) {
        setHomeFromUserDatabase();
    }
    enterRoot(run);
    if (options.home) {
        setenv("HOME", options.home->c_str(), 1);
    }
    std::vector<HookProperty> properties;
    for (auto const& [name, value] : options.properties) {
        properties.push_back({name.c_str(), value.c_str()});
    }
    properties.push_back({nullptr, nullptr});

    Step step = 1;
    watch.begin();
    makeCall(run, step, watch, plugin.open);
    for (HookNumber const& phase : options.phases) {
        ++step;
        HookLogCallback const callback = options.logCallback ? callbackFor(step) : nullptr;
        makeCall(run, step, watch, [&] {
            return plugin.proc(options.nullProperties ? nullptr : properties.data(), phase.value,
                               static_cast<int32_t>(options.mode.value), 0, callback);
        });
    }
    makeCall(run, ++step, watch, plugin.close);
    makeCall(run, ++step, watch, [&] {
        unloadPlugin(plugin);
        return 0;
    });
    return 0;
}

} // namespace hookhost
