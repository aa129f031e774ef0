/// What the processes of one run share: the worker that calls into the plug-in, its copies, and the host that watches.
#ifndef TOOLS_HOOKHOST_RUN_STATE_H
#define TOOLS_HOOKHOST_RUN_STATE_H

#include "tools/hookhost/crash_handler.h"
#include "tools/hookhost/record_lock.h"

#include <array>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>

namespace hookhost {

using Clock = std::chrono::steady_clock;

/// Index into the names of a run's steps. A step loads the plug-in, calls it once or unloads it.
using Step = uint32_t;

/// The steps of a run that calls the plug-in are load, open-entry, each phase, close-entry and unload.
constexpr Step firstPhase = 2;

/// The step that the worker is in; aligned so that it is read and written atomically.
struct alignas(8) CurrentCall
{
    Step step;
    uint32_t started; ///< milliseconds since the run began
};
static_assert(std::atomic<CurrentCall>::is_always_lock_free, "several processes share it");

/// The beginning of a line that the hook has printed without a newline so far.
struct UnfinishedLine
{
    std::size_t length = 0;
    std::array<char, 65536> bytes = {}; ///< a longer line is recorded in pieces of this size
};

/// Shared memory. Not a pipe: helper programs would inherit it and hold it open.
struct RunState
{
    std::atomic<CurrentCall> current{CurrentCall{0, 0}};
    std::atomic<Step> returned{0};        ///< number of completed steps
    std::atomic<Step> examined{0};        ///< number of steps whose changes the host has recorded
    std::atomic<int> leavingWith{-1};     ///< the exit status with which the worker leaves; -1 before it does
    std::atomic<uint32_t> firstStatus{0}; ///< the first status other than 0 that the hook returned
    std::atomic<int> writeError{0};       ///< errno of a record that was lost
    Crash crash;
    Clock::time_point const began = Clock::now();

    std::atomic<uint32_t>* statuses = nullptr; ///< by step, of the completed steps
    std::atomic<bool>* logged = nullptr;       ///< by number, the expected messages that were logged

    RecordLock lock;         ///< held while records are written; guards everything below
    bool amidRecord = false; ///< only a part of a record is written
    Step heading = ~Step{0}; ///< the step that the terminal's last heading names
    std::array<UnfinishedLine, 2> unfinishedLines{}; ///< of standard output and of standard error

    uint32_t sinceBegin() const
    {
        auto const time = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - began);
        return static_cast<uint32_t>(time.count());
    }
};

/// Unmaps the memory in this process; other processes keep theirs.
struct UnmapRunState
{
    std::size_t size = 0;

    void operator()(RunState* state) const;
};
using SharedRunState = std::unique_ptr<RunState, UnmapRunState>;

/// Makes the state of a new run, which begins now.
///
/// @param steps         number of the run's steps
/// @param expectations  number of the run's expectations
/// @return the state, which processes forked from now on share
/// @throws std::bad_alloc
SharedRunState newRunState(std::size_t steps, std::size_t expectations);

} // namespace hookhost

#endif
