/// What hookhost records on standard output: the hook's messages and output, and how each step of a run ended.
#ifndef TOOLS_HOOKHOST_REPORT_H
#define TOOLS_HOOKHOST_REPORT_H

#include "tools/hookhost/json.h"
#include "tools/hookhost/options.h"
#include "tools/hookhost/process_state.h"
#include "tools/hookhost/record_writer.h"
#include "tools/hookhost/tree_entry.h"

#include <string>
#include <string_view>
#include <sys/types.h>
#include <vector>

namespace hookhost {

/// How a call into the plug-in failed to return.
struct Failure
{
    char const* outcome;    ///< for programs: "signal", "timeout", "exit" or "interrupted"
    char const* numberName; ///< what the number is: "signal" or "exit"; null if there is none
    int number;
    std::string reason; ///< for people

    // In records, but not in messages: where the plug-in crashed.
    std::string address{};             ///< empty if there is none
    std::vector<std::string> frames{}; ///< innermost first
    std::string core{};                ///< about the core file; empty if there is nothing to report
};

/// How many paths a step created, removed and changed.
struct ChangeCounts
{
    std::size_t created = 0;
    std::size_t removed = 0;
    std::size_t changed = 0;
};

/// The standard stream that the hook prints to.
enum class Stream
{
    kOutput,
    kError
};

/// Forms and writes records. Each is a line of its own, in every format; on a terminal, a heading names the step of the
/// lines below it.
class Report
{
public:
    /// @param format  of every record
    /// @param mode    name of the install mode
    /// @param steps   names of the run's steps; outlive the report
    /// @param state   outlives the report
    Report(OutputFormat format, std::string mode, std::vector<std::string> const& steps, RunState& state);

    /// Waits until this thread alone may write records, as it may while the object lives.
    RecordWriter::Turn turn() { return RecordWriter::Turn(writer); }

    /// See RecordWriter.
    void setWhileWaiting(std::function<bool()> function) { writer.setWhileWaiting(std::move(function)); }

    /// A message of the hook.
    ///
    /// @param text     null counts as "(null)"
    /// @param late     the call that the message belongs to has returned
    /// @param meaning  of the message; may be empty
    void message(RecordWriter::Turn& turn, Step step, char const* text, bool late,
                 std::string const& meaning);

    /// A line that the hook or one of its helper programs has printed.
    ///
    /// @param worker  the plug-in's process
    void output(RecordWriter::Turn& turn, Step step, pid_t worker, Stream stream, std::string_view line);

    /// Records that the step returned. Not in raw output.
    void returned(RecordWriter::Turn& turn, Step step, uint32_t status, double milliseconds);

    /// Records that the step did not return.
    ///
    /// @param worker  the plug-in's process
    void failed(RecordWriter::Turn& turn, Step step, pid_t worker, Failure const& failure,
                double milliseconds);

    /// A process that the hook has left running. With raw output, on standard error.
    void stillRunning(RecordWriter::Turn& turn, Step step, pid_t worker, pid_t process,
                      std::string const& program);

    /// A difference that a step has left behind in the plug-in's process. With raw output, on standard error.
    void leftBehind(RecordWriter::Turn& turn, Step step, LeftBehind const& left);

    /// Whether an expectation holds. In text without time and phase.
    void expectation(RecordWriter::Turn& turn, Expectation const& expectation, Verdict const& verdict);

    /// A path that a step created, removed or changed.
    ///
    /// @param before  no value if it did not exist before the step
    /// @param after   no value if it does not exist after the step; then before has one
    void change(RecordWriter::Turn& turn, Step step, pid_t worker, std::string const& path,
                std::optional<TreeEntry> const& before, std::optional<TreeEntry> const& after);

    /// The table of how many paths each step created, removed and changed: every phase, and other steps if they did.
    ///
    /// @param counts  by step
    void totals(RecordWriter::Turn& turn, std::vector<ChangeCounts> const& counts);

private:
    enum class Colour
    {
        kNone,
        kGood,
        kBad
    };

    /// Writes one record as text; nothing in raw output or as JSON lines.
    void writeText(RecordWriter::Turn& turn, Step step, pid_t process, std::string const& text,
                   Colour colour = Colour::kNone, std::string const& meaning = "");
    void writeOnTerminal(RecordWriter::Turn& turn, Step step, pid_t process, std::string const& text,
                         Colour colour, std::string const& meaning);

    /// Writes one record as a JSON object; nothing in other formats.
    void writeJson(RecordWriter::Turn& turn, char const* type, Step step, pid_t process, Json const& fields);

    OutputFormat const format;
    bool const onTerminal; ///< text is grouped
    bool const coloured;
    std::string const mode;
    std::vector<std::string> const& steps;
    RunState& state;
    RecordWriter writer;
};

} // namespace hookhost

#endif
