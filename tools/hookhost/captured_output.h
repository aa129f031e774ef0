/// The standard output and standard error of the plug-in's process, read line by line into the record.
#ifndef TOOLS_HOOKHOST_CAPTURED_OUTPUT_H
#define TOOLS_HOOKHOST_CAPTURED_OUTPUT_H

#include "platform/descriptor.h"
#include "tools/hookhost/own_descriptor.h"
#include "tools/hookhost/report.h"
#include "tools/hookhost/run_state.h"

#include <array>
#include <optional>
#include <sys/select.h>

namespace hookhost {

/// A pipe for each of the two streams. Make it before the worker is forked. Worker and host both record what is in the
/// pipes: the worker before each record of its own, so that records keep the order of events, and the host
/// meanwhile, so that no writer waits for room.
class CapturedOutput
{
public:
    /// @param state  holds the unfinished lines; outlives this object
    /// @throws std::system_error if there are no descriptors left
    explicit CapturedOutput(RunState& state);

    /// In the worker: the pipes become its standard output and error.
    void redirect();

    /// In the host, once the worker is forked: a pipe then ends with its last writer.
    void closeWritingEnds();

    /// Records the lines that are in the pipes.
    ///
    /// @param worker  the plug-in's process
    void record(Report& report, RecordWriter::Turn& turn, Step step, pid_t worker);

    /// The same, and also the lines without a newline.
    void recordAll(Report& report, RecordWriter::Turn& turn, Step step, pid_t worker);

    /// Adds the pipes that have not ended to a set to wait for.
    ///
    /// @return the highest descriptor added, plus 1; 0 for none
    int addTo(fd_set& descriptors) const;

    /// Leaves behind a process that reads what helper programs print from here on and ends with the last of them, so
    /// that a pipe neither blocks nor ends them. Does nothing if there are none.
    void leaveReader();

private:
    struct Pipe
    {
        platform::Descriptor readingEnd; ///< does not block; below FD_SETSIZE, for the host
        platform::Descriptor writingEnd;
        bool ended = false;
        std::optional<OwnDescriptor> workersEnd; ///< the reading end, out of the plug-in's reach
    };

    RunState& state;
    std::array<Pipe, 2> pipes;
    bool inWorker = false;
};

} // namespace hookhost

#endif
