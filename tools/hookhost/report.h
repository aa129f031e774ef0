/// What hookhost prints to standard output: the hook's messages and how each phase ended.
#ifndef TOOLS_HOOKHOST_REPORT_H
#define TOOLS_HOOKHOST_REPORT_H

#include "tools/hookhost/options.h"

#include <atomic>
#include <string>
#include <sys/types.h>

namespace hookhost {

/// How a call into the plug-in failed to return.
struct Failure
{
    char const* outcome; ///< a word for programs: "signal", "timeout" or "exit"
    int number;          ///< the signal, or the status that the process exited with; 0 for a time-out
    std::string reason;  ///< for people
};

/// Writes lines, each in one piece: the worker, its copies and helper programs share standard output.
class Report
{
public:
    /// @param format      of every line
    /// @param mode        name of the install mode
    /// @param writeError  receives the errno of a line that could not be written; outlives the report
    Report(OutputFormat format, std::string mode, std::atomic<int>& writeError);

    /// A message of the hook, which may be null or hold any bytes.
    void message(std::string const& phase, char const* text) const noexcept;

    /// The phase returned. Not told in raw output.
    void returned(std::string const& phase, uint32_t status, double milliseconds) const;

    /// The phase did not return. Told in every format.
    void failed(std::string const& phase, pid_t worker, Failure const& failure, double milliseconds) const;

    /// Any other text for standard output, ending in a newline.
    void text(std::string const& lines) const;

private:
    OutputFormat format;
    std::string mode;
    std::atomic<int>& writeError;
};

} // namespace hookhost

#endif
