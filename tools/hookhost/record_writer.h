/// Writes records whole, whatever the number of threads and processes that write them.
#ifndef TOOLS_HOOKHOST_RECORD_WRITER_H
#define TOOLS_HOOKHOST_RECORD_WRITER_H

#include "tools/hookhost/own_descriptor.h"
#include "tools/hookhost/run_state.h"

#include <csignal>
#include <functional>
#include <string_view>

namespace hookhost {

/// hookhost's standard output for records.
class RecordWriter
{
public:
    /// Copies the standard output: make the writer before the plug-in is loaded.
    ///
    /// @param state  outlives the writer
    explicit RecordWriter(RunState& state);

    /// Sets a function that is called ten times a second while this process waits for its turn or for a slow reader.
    /// It returns whether to continue to wait; if not, the record is lost.
    void setWhileWaiting(std::function<bool()> function) { whileWaiting = std::move(function); }

    /// While it lives, this thread alone writes records, no signal handler interrupts it and it cannot be cancelled.
    class Turn
    {
    public:
        explicit Turn(RecordWriter& writer) noexcept;
        Turn(Turn const&) = delete;
        Turn& operator=(Turn const&) = delete;
        ~Turn();

        /// Whether this thread has its turn. If it has stopped waiting, it has not, and what it writes is lost.
        bool isHeld() const { return held; }

        /// Writes lines, each ending in a newline. A loss is noted in the run's state.
        void write(std::string_view lines) noexcept;

    private:
        RecordWriter& writer;
        sigset_t signalsBefore = {};
        int cancellationBefore = 0;
        bool held = false;
    };

private:
    bool waitOn() const noexcept { return !whileWaiting || whileWaiting(); }

    RunState& state;
    OwnDescriptor const output;
    std::function<bool()> whileWaiting;
};

} // namespace hookhost

#endif
