#include "tools/hookhost/host.h"

#include "tools/common/descriptor_output.h"
#include "tools/hookhost/core_file.h"
#include "tools/hookhost/crash_handler.h"
#include "tools/hookhost/expectations.h"
#include "tools/hookhost/host_signals.h"
#include "tools/hookhost/messages.h"
#include "tools/hookhost/processes.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <fmt/format.h>
#include <optional>
#include <sys/wait.h>
#include <unistd.h>

namespace hookhost {

using std::chrono::milliseconds;

namespace {

constexpr milliseconds firstNotice{2000};     // a call that takes longer is reported, ...
constexpr milliseconds longestSilence{30000}; // ... then more and more rarely, up to this interval

// How long a crashed worker may take to note where it crashed.
constexpr milliseconds longestNote{5000};

// How long an interrupted hookhost waits for the reader of its last records.
constexpr milliseconds longestFarewell{2000};

[[noreturn]] void beWorker(Run& run, HostSignals const& signals, pid_t host,
                           std::function<int(Run&)> const& work)
{
    signals.restore();
    endWithParent();
    if (getppid() != host) {
        _exit(kExitHostError);
    }
    if (run.output) {
        run.output->redirect();
    } else if (!run.options.capture) {
        dup2(STDERR_FILENO, STDOUT_FILENO);
    }
    noteCrash(run.state->crash);
    run.folder.reset(); // the plug-in does not get these descriptors
    int status = kExitHostError;
    try {
        status = work(run);
    } catch (Refusal const& refusal) {
        complain(refusal);
        status = refusal.exitStatus;
    } catch (std::exception const& error) {
        complain(error.what());
    }
    run.state->leavingWith = status;
    // Deliberate: not _exit. Destructors, leak checks and coverage data behave as when an installer ends.
    std::exit(status);
}

/// Watches the worker until it has ended.
class Watch
{
public:
    Watch(Run& watchedRun, HostSignals const& hostSignals, pid_t watchedWorker)
        : run(watchedRun), signals(hostSignals), worker(watchedWorker)
    {
        run.report.setWhileWaiting([this] {
            enforceLimits();
            if (signals.interruption() != 0 && !farewellBegan) {
                farewellBegan = Clock::now();
            }
            return !farewellBegan || Clock::now() - *farewellBegan < longestFarewell;
        });
    }

    /// Waits for the worker, never for the end of its output: helper programs hold that open.
    void untilItEnds()
    {
        while (!hasEnded()) {
            enforceLimits();
            noticeLongCall();
            fd_set descriptors;
            FD_ZERO(&descriptors);
            int const above = run.output ? run.output->addTo(descriptors) : 0;
            signals.wait(untilNextCheck(), &descriptors, above);
            recordOutput(false);
            if (run.changes && run.state->returned > run.state->examined) {
                recordChanges();
                run.state->examined = run.state->returned.load(); // the worker waits for that
            }
        }
        // A terminal sends a signal to all: the worker may have ended by it before it has reached hookhost.
        if (WIFSIGNALED(status) && signals.canInterrupt(WTERMSIG(status)) && signals.interruption() == 0) {
            signals.wait(milliseconds{100});
        }
        if (WIFSIGNALED(status)) {
            interruption = signals.interruption();
        }
        recordOutput(true);
    }

    /// Records what has changed since the last call of this function, as changes of the current step. Does nothing
    /// after an interruption.
    void recordChanges()
    {
        if (run.changes && signals.interruption() == 0) {
            run.changes->record(run.report, run.state->current.load().step, worker,
                                [this] { return signals.interruption() != 0; });
        }
    }

    int status = 0;        ///< as waitpid returns it
    bool timedOut = false; ///< the worker was killed because of a time-out
    int interruption = 0;  ///< the signal to hookhost because of which the worker was killed; 0 for none

private:
    /// How long the worker has been in its current call; 0 between two calls.
    milliseconds elapsed() const
    {
        CurrentCall const call = run.state->current;
        return milliseconds(run.state->returned > call.step ? 0 : run.state->sinceBegin() - call.started);
    }

    bool hasEnded()
    {
        int childStatus = 0;
        pid_t child = 0;
        do { // hookhost also waits for the orphans that it has adopted
            child = waitpid(-1, &childStatus, WNOHANG);
        } while (child > 0 && child != worker);
        if (child == worker) {
            status = childStatus;
            ended = true;
        }
        return ended;
    }

    /// Kills the worker after a time-out or an interruption. Does nothing once the worker has been waited for: its
    /// process id may be another process's.
    void enforceLimits()
    {
        if (ended || timedOut || interruption != 0) {
            return;
        }
        interruption = signals.interruption();
        timedOut = interruption == 0 && run.options.timeout && elapsed() >= *run.options.timeout;
        if (timedOut || interruption != 0 || isStuckInCrash()) {
            kill(worker, SIGKILL);
        }
    }

    /// Whether the worker has crashed and cannot even note where.
    bool isStuckInCrash()
    {
        Crash const& crash = run.state->crash;
        if (crash.signal == 0 || crash.complete) {
            crashed = Clock::now();
        }
        return Clock::now() - crashed > longestNote;
    }

    void noticeLongCall()
    {
        Step const step = run.state->current.load().step;
        if (step != noticedStep) {
            noticedStep = step;
            nextNotice = firstNotice;
        }
        if (elapsed() >= nextNotice) {
            auto const seconds = std::chrono::duration_cast<std::chrono::seconds>(elapsed());
            notice(
                fmt::format("{}/{} has been running for {} s", run.mode, run.steps[step], seconds.count()));
            nextNotice = elapsed() + std::min(elapsed(), longestSilence);
        }
    }

    milliseconds untilNextCheck() const
    {
        if (run.changes) {
            return milliseconds{2}; // the worker waits after each step
        }
        bool const limited = run.options.timeout && !timedOut;
        milliseconds const next = limited ? std::min(nextNotice, *run.options.timeout) : nextNotice;
        return std::max(next - elapsed(), milliseconds{1});
    }

    /// Records what the hook has printed.
    ///
    /// @param all  also lines without a newline
    void recordOutput(bool all)
    {
        if (run.output) {
            RecordWriter::Turn turn = run.report.turn();
            if (!turn.isHeld()) {
                return; // the lost output is noted with the record that is lost next
            }
            Step const step = run.state->current.load().step;
            all ? run.output->recordAll(run.report, turn, step, worker)
                : run.output->record(run.report, turn, step, worker);
        }
    }

    Run& run;
    HostSignals const& signals;
    pid_t const worker;
    bool ended = false; ///< the worker has been waited for
    std::optional<Clock::time_point> farewellBegan;
    Clock::time_point crashed = Clock::now();
    Step noticedStep = 0;
    milliseconds nextNotice = firstNotice;
};

using Kind = Outcome::Kind;

/// How a step ended that did not return.
Outcome endOf(Run const& run, Watch const& ending)
{
    if (ending.interruption != 0) {
        return {Kind::kInterruption, static_cast<uint32_t>(ending.interruption)};
    }
    if (ending.timedOut) {
        return {Kind::kTimeout, 0};
    }
    if (WIFSIGNALED(ending.status)) {
        int const crash = run.state->crash.signal;
        return {Kind::kSignal, static_cast<uint32_t>(crash != 0 ? crash : WTERMSIG(ending.status))};
    }
    return {Kind::kExit, static_cast<uint32_t>(WEXITSTATUS(ending.status))};
}

/// Describes the end of a step for its record.
Failure describeFailure(Run const& run, Outcome const& end)
{
    auto const number = static_cast<int>(end.number);
    if (end.kind == Kind::kInterruption) {
        return {"interrupted", "signal", number,
                fmt::format("hookhost was interrupted by signal {}; the hook was killed", number)};
    }
    if (end.kind == Kind::kTimeout) {
        return {"timeout", nullptr, 0,
                fmt::format("it did not return within {} s and was killed",
                            static_cast<double>(run.options.timeout->count()) / 1000)};
    }
    if (end.kind == Kind::kSignal) {
        return {"signal", "signal", number,
                fmt::format("ended by signal {} ({})", number, strsignal(number))};
    }
    return {"exit", "exit", number,
            run.state->leavingWith >= 0
                ? fmt::format(
                      "the process exited with {} at its end: a destructor, an exit handler or a leak check",
                      number)
                : fmt::format("the plug-in ended the process by exit({}); it must return instead", number)};
}

/// Where the core file is: its path outside the root or, for an overlay, in the folder of --keep.
std::string describeCore(Run const& run, pid_t worker, bool dumped)
{
    std::string root = run.overlay ? run.overlay->rootFolder() : run.options.root.value_or("");
    std::vector<char> resolved(PATH_MAX);
    if (!run.overlay && !root.empty() && realpath(root.c_str(), resolved.data()) != nullptr) {
        root = resolved.data();
    }
    std::string text = describeCoreFile(dumped, worker, run.state->crash, root == "/" ? "" : root);
    if (std::size_t const at = run.overlay ? text.find(root) : std::string::npos; at != std::string::npos) {
        text.replace(at, root.size(), "");
        text += run.options.keep ? " below the folder of --keep" : " in the overlay; --keep would leave it";
    }
    return text;
}

/// Adds where the plug-in crashed to what its record has to contain.
void addCrash(Run const& run, pid_t worker, bool dumped, Failure& failure)
{
    Crash const& crash = run.state->crash;
    if (crash.signal != 0 && crash.hasAddress) {
        failure.address = fmt::format("0x{:x}", crash.address);
    }
    for (int each = 0; each < crash.frameCount; ++each) {
        failure.frames.emplace_back(crash.frames[static_cast<std::size_t>(each)].data());
    }
    if (crash.signal != 0 || dumped) {
        failure.core = describeCore(run, worker, dumped);
    }
}

/// Records the step that did not return.
///
/// @return hookhost's exit status
int reportFailure(Run& run, pid_t worker, Watch const& ending)
{
    CurrentCall const call = run.state->current;
    Outcome const end = endOf(run, ending);
    Failure failure = describeFailure(run, end);
    addCrash(run, worker, WCOREDUMP(ending.status), failure);
    {
        RecordWriter::Turn turn = run.report.turn();
        run.report.failed(turn, call.step, worker, failure, run.state->sinceBegin() - call.started);
    }
    complain(fmt::format("{}/{}: {}; calls not made: {}", run.mode, run.steps[call.step], failure.reason,
                         std::max<std::size_t>(run.steps.size() - call.step, 2) - 2));
    return end.kind == Kind::kTimeout ? static_cast<int>(kExitTimeout)
           : end.kind == Kind::kExit  ? static_cast<int>(kExitHostError)
                                      : kExitSignal + static_cast<int>(end.number);
}

/// hookhost's exit status after a run in which every step returned.
int exitStatusOf(Run const& run)
{
    uint32_t const status = run.state->firstStatus;
    if (run.state->leavingWith != 0) {
        return run.state->leavingWith;
    }
    if (status >= kExitLargeStatus) {
        notice(fmt::format("status {} (0x{:X}) does not fit an exit status; {} stands for it", status, status,
                           static_cast<int>(kExitLargeStatus)));
        return kExitLargeStatus;
    }
    return static_cast<int>(status);
}

/// How each step ended.
///
/// @param failed  the current step did not return
std::vector<Outcome> outcomesOf(Run const& run, Watch const& ending, bool failed)
{
    std::vector<Outcome> outcomes(run.steps.size());
    for (Step step = 0; step < run.state->returned; ++step) {
        outcomes[step] = {Kind::kStatus, run.state->statuses[step]};
    }
    if (failed) {
        outcomes[run.state->current.load().step] = endOf(run, ending);
    }
    return outcomes;
}

/// Records whether each expectation holds.
///
/// @param exitStatus  hookhost's exit status without expectations
/// @return its exit status with them
int judgeExpectations(Run& run, Watch const& ending, bool failed, int exitStatus)
{
    std::vector<Expectation> const& all = run.options.expectations;
    if (all.empty()) {
        return exitStatus;
    }
    std::vector<Outcome> const outcomes = outcomesOf(run, ending, failed);
    bool allHold = true;
    for (std::size_t each = 0; each < all.size(); ++each) {
        Verdict const verdict = judge(all[each], all, run.steps, outcomes, run.state->logged[each]);
        RecordWriter::Turn turn = run.report.turn();
        run.report.expectation(turn, all[each], verdict);
        allHold &= verdict.held;
    }
    Step const step = run.state->current.load().step;
    bool const unexpectedFailure = failed && !isExpected(all, run.steps, step, outcomes[step]);
    if (unexpectedFailure || (!failed && run.state->leavingWith != 0)) {
        return exitStatus;
    }
    return allHold ? 0 : static_cast<int>(kExitNotAsExpected);
}

void reportRunningProcesses(Run& run, pid_t worker)
{
    for (RunningProcess const& each : runningDescendants()) {
        RecordWriter::Turn turn = run.report.turn();
        run.report.stillRunning(turn, run.state->current.load().step, worker, each.id, each.program);
    }
}

} // namespace

int runInWorker(Run& run, std::function<int(Run&)> const& work, std::function<void()> const& finish)
{
    keepMessageDescriptor();
    adoptOrphans();
    HostSignals const signals;
    pid_t const host = getpid();
    // The first step begins now: making an overlay does not count.
    run.state->current = CurrentCall{0, run.state->sinceBegin()};
    pid_t const worker = fork();
    if (worker < 0) {
        throw Refusal(kExitHostError, fmt::format("cannot start a worker process: {}", std::strerror(errno)));
    }
    if (worker == 0) {
        beWorker(run, signals, host, work);
    }
    if (run.output) {
        run.output->closeWritingEnds();
    }
    Watch ending(run, signals, worker);
    ending.untilItEnds();
    bool const everyStepReturned =
        WIFEXITED(ending.status) && run.state->leavingWith == WEXITSTATUS(ending.status);
    int exitStatus = everyStepReturned ? exitStatusOf(run) : reportFailure(run, worker, ending);
    ending.recordChanges();
    reportRunningProcesses(run, worker);
    if (run.changes) {
        run.changes->recordTotals(run.report);
    }
    exitStatus = judgeExpectations(run, ending, !everyStepReturned, exitStatus);
    if (run.state->writeError != 0) {
        complain(common::lossOf(run.state->writeError));
        exitStatus = exitStatus == 0 ? kExitHostError : exitStatus;
    }
    if (run.output) {
        run.output->leaveReader();
    }
    try {
        finish();
    } catch (Refusal const& refusal) {
        complain(refusal);
        exitStatus = exitStatus == 0 ? static_cast<int>(refusal.exitStatus) : exitStatus;
    }
    if (signals.interruption() != 0) {
        signals.endBy(signals.interruption());
    }
    return exitStatus;
}

} // namespace hookhost
