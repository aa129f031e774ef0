#include "tools/hookhost/worker.h"

#include "tools/common/alternate_root.h"
#include "tools/hookhost/log_callbacks.h"
#include "tools/hookhost/plugin.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
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

/// Makes one call into the plug-in. An exception that leaves it ends the worker, as it would end an installer.
template<class Call>
void makeCall(Run& run, Step step, Call call) noexcept
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
    run.state->returned = step;
    std::fflush(stdout);
    RecordWriter::Turn turn = run.report.turn();
    recordOutput(run, turn);
    bool const isPhase = step > 1 && step + 2 < run.steps.size();
    if (isPhase || status != 0) {
        run.report.returned(turn, step, status, taken.count());
    }
    uint32_t none = 0;
    run.state->firstStatus.compare_exchange_strong(none, status);
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

} // namespace

int callPlugin(Run& run)
{
    Options const& options = run.options;
    pid_t const self = getpid();
    receiveMessages([&run, self](Step step, char const* message) {
        try {
            RecordWriter::Turn turn = run.report.turn();
            if (run.output) { // first what was printed before
                run.output->record(run.report, turn, run.state->current.load().step, self);
            }
            run.report.message(turn, step, message, step <= run.state->returned);
        } catch (...) { // nothing may pass through the plug-in; except for memory, nothing is known to fail
            run.state->writeError = ENOMEM;
        }
    });
    Plugin const plugin = loadPlugin(options.plugin);
    if (run.output) {
        std::fflush(stdout);
        RecordWriter::Turn turn = run.report.turn();
        recordOutput(run, turn);
    }
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

    Step step = 1;
    makeCall(run, step, plugin.open);
    for (HookNumber const& phase : options.phases) {
        ++step;
        HookLogCallback const callback = options.logCallback ? callbackFor(step) : nullptr;
        makeCall(run, step, [&] {
            return plugin.proc(options.nullProperties ? nullptr : properties.data(), phase.value,
                               static_cast<int32_t>(options.mode.value), 0, callback);
        });
    }
    makeCall(run, ++step, plugin.close);
    makeCall(run, ++step, [&] {
        unloadPlugin(plugin);
        return 0;
    });
    return 0;
}

} // namespace hookhost
