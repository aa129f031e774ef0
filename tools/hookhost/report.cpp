#include "tools/hookhost/report.h"

#include "tools/common/printable.h"
#include "tools/hookhost/messages.h"
#include "tools/hookhost/times.h"

#include <cstdlib>
#include <cstring>
#include <fmt/format.h>
#include <unistd.h>

namespace hookhost {

namespace {

/// Text of unknown origin on one line. Backslashes are escaped too, so that the escapes are unambiguous.
std::string escaped(std::string_view text)
{
    return common::printable(text, "\\\t");
}

/// The same for a whole record: it cannot be mistaken for one of hookhost's own, which begin with a mark.
std::string escapedRecord(std::string_view text)
{
    for (char const* const mark : {"= ", "! ", "1> ", "2> ", "+ ", "- ", "~ "}) {
        if (text.substr(0, std::strlen(mark)) == mark) {
            return fmt::format("\\x{:02X}", static_cast<unsigned char>(text[0])) + escaped(text.substr(1));
        }
    }
    return escaped(text);
}

/// A path that two spaces will follow: of two spaces in the path itself, the second one is escaped.
std::string escapedPath(std::string_view path)
{
    std::string text = escaped(path);
    for (std::size_t at = text.find("  "); at != std::string::npos; at = text.find("  ", at + 1)) {
        text.replace(at + 1, 1, "\\x20");
    }
    return text;
}

bool isSet(char const* variable)
{
    char const* const value = std::getenv(variable);
    return value != nullptr && *value != '\0';
}

} // namespace

Report::Report(OutputFormat chosenFormat, std::string modeName, std::vector<std::string> const& stepNames,
               RunState& sharedState)
    : format(chosenFormat), onTerminal(format == OutputFormat::kText && isatty(STDOUT_FILENO) != 0),
      coloured(onTerminal && !isSet("NO_COLOR")), mode(std::move(modeName)), steps(stepNames),
      state(sharedState), writer(sharedState)
{
}

void Report::message(RecordWriter::Turn& turn, Step step, char const* text, bool late,
                     std::string const& meaning)
{
    char const* const shown = text == nullptr ? "(null)" : text;
    if (format == OutputFormat::kRaw) {
        turn.write(std::string(shown) + '\n');
        return;
    }
    writeText(turn, step, getpid(),
              late ? "! logged after its call returned: " + escaped(shown) : escapedRecord(shown),
              Colour::kNone, meaning);
    Json fields = {{"message", shown}};
    if (late) {
        fields["late"] = true;
    }
    if (!meaning.empty()) {
        fields["meaning"] = meaning;
    }
    writeJson(turn, "message", step, getpid(), fields);
}

void Report::output(RecordWriter::Turn& turn, Step step, pid_t worker, Stream stream, std::string_view line)
{
    bool const isError = stream == Stream::kError;
    writeText(turn, step, worker, (isError ? "2> " : "1> ") + escaped(line));
    writeJson(turn, "output", step, worker, {{"stream", isError ? "stderr" : "stdout"}, {"line", line}});
}

void Report::returned(RecordWriter::Turn& turn, Step step, uint32_t status, double milliseconds)
{
    std::string const hexadecimal = status > 0xFFFF ? fmt::format(" (0x{:X})", status) : "";
    writeText(turn, step, getpid(),
              fmt::format("= status {}{} after {:.1f} ms", status, hexadecimal, milliseconds),
              status == 0 ? Colour::kGood : Colour::kBad);
    writeJson(turn, "phase", step, getpid(),
              {{"outcome", "returned"}, {"status", status}, {"milliseconds", milliseconds}});
}

void Report::failed(RecordWriter::Turn& turn, Step step, pid_t worker, Failure const& failure,
                    double milliseconds)
{
    std::string text = fmt::format("= failed after {:.1f} ms: {}", milliseconds, failure.reason);
    text += failure.address.empty() ? "" : " at address " + failure.address;
    text += failure.frames.empty()
                ? ""
                : fmt::format("; frames: {}", escaped(fmt::format("{}", fmt::join(failure.frames, " "))));
    text += failure.core.empty() ? "" : "; " + escaped(failure.core);
    if (format == OutputFormat::kRaw) {
        turn.write(fmt::format("{}/{} {}\n", mode, steps[step], text));
        return;
    }
    writeText(turn, step, worker, text, Colour::kBad);
    Json fields = {{"outcome", failure.outcome}};
    if (failure.numberName != nullptr) {
        fields[failure.numberName] = failure.number;
    }
    fields.update({{"reason", failure.reason}, {"milliseconds", milliseconds}});
    if (!failure.address.empty()) {
        fields["address"] = failure.address;
    }
    if (!failure.frames.empty()) {
        fields["frames"] = failure.frames;
    }
    if (!failure.core.empty()) {
        fields["core"] = failure.core;
    }
    writeJson(turn, "phase", step, worker, fields);
}

void Report::stillRunning(RecordWriter::Turn& turn, Step step, pid_t worker, pid_t process,
                          std::string const& program)
{
    if (format == OutputFormat::kRaw) {
        notice(fmt::format("still running: {} {}", process, program));
        return;
    }
    writeText(turn, step, worker, fmt::format("! still running: {} {}", process, escaped(program)));
    writeJson(turn, "running", step, worker, {{"process", process}, {"program", program}});
}

void Report::leftBehind(RecordWriter::Turn& turn, Step step, LeftBehind const& left)
{
    std::string const text = fmt::format("left behind: {} {} -> {}", left.what, left.before, left.after);
    if (format == OutputFormat::kRaw) {
        notice(text);
        return;
    }
    writeText(turn, step, getpid(), "! " + escaped(text));
    writeJson(turn, "left-behind", step, getpid(),
              {{"what", left.what}, {"before", left.before}, {"after", left.after}});
}

void Report::expectation(RecordWriter::Turn& turn, Expectation const& expectation, Verdict const& verdict)
{
    if (format != OutputFormat::kJsonLines) {
        turn.write(fmt::format("expected {}: {}{}\n", escaped(expectation.written),
                               verdict.held ? "held" : "not held: ", verdict.reason));
        return;
    }
    Json record = {{"type", "expectation"},
                   {"time", isoTimeNow()},
                   {"mode", mode},
                   {"expected", expectation.written},
                   {"held", verdict.held}};
    if (!verdict.held) {
        record["reason"] = verdict.reason;
    }
    turn.write(jsonLine(record));
}

void Report::change(RecordWriter::Turn& turn, Step step, pid_t worker, std::string const& path,
                    std::optional<TreeEntry> const& before, std::optional<TreeEntry> const& after)
{
    char const mark = !before ? '+' : !after ? '-' : '~';
    std::string const what = !before  ? describe(*after)
                             : !after ? describe(*before)
                                      : describeDifference(*before, *after);
    std::string const text = fmt::format("{} {}  {}", mark, escapedPath(path), what);
    if (format == OutputFormat::kRaw) {
        turn.write(fmt::format("{}/{} {}\n", mode, steps[step], text));
        return;
    }
    writeText(turn, step, worker, text);
    Json fields = {{"change", !before ? "created" : !after ? "removed" : "changed"}, {"path", path}};
    if (before) {
        fields["before"] = toJson(*before);
    }
    if (after) {
        fields["after"] = toJson(*after);
    }
    writeJson(turn, "change", step, worker, fields);
}

void Report::totals(RecordWriter::Turn& turn, std::vector<ChangeCounts> const& counts)
{
    ChangeCounts sum;
    Json phases = Json::array();
    std::string table = fmt::format("{:<32}{:>10}{:>10}{:>10}\n", "phase", "created", "removed", "changed");
    for (Step step = 0; step < counts.size(); ++step) {
        ChangeCounts const& each = counts[step];
        bool const isPhase = step >= firstPhase && step + 2 < counts.size();
        if (isPhase || each.created + each.removed + each.changed > 0) {
            table += fmt::format("{:<32}{:>10}{:>10}{:>10}\n", mode + '/' + steps[step], each.created,
                                 each.removed, each.changed);
            phases.push_back({{"phase", steps[step]},
                              {"created", each.created},
                              {"removed", each.removed},
                              {"changed", each.changed}});
        }
        sum.created += each.created;
        sum.removed += each.removed;
        sum.changed += each.changed;
    }
    if (format != OutputFormat::kJsonLines) {
        turn.write(table);
        return;
    }
    turn.write(jsonLine({{"type", "run"},
                         {"time", isoTimeNow()},
                         {"mode", mode},
                         {"phases", phases},
                         {"created", sum.created},
                         {"removed", sum.removed},
                         {"changed", sum.changed}}));
}

void Report::writeText(RecordWriter::Turn& turn, Step step, pid_t process, std::string const& text,
                       Colour colour, std::string const& meaning)
{
    if (onTerminal) {
        writeOnTerminal(turn, step, process, text, colour, meaning);
    } else if (format == OutputFormat::kText) {
        turn.write(fmt::format("{} {}/{} {} {}{}{}\n", isoTimeNow(), mode, steps[step], process, text,
                               meaning.empty() ? "" : "  ", meaning));
    }
}

void Report::writeOnTerminal(RecordWriter::Turn& turn, Step step, pid_t process, std::string const& text,
                             Colour colour, std::string const& meaning)
{
    std::string lines;
    if (state.heading != step) {
        state.heading = step;
        char const* const bold[] = {"", "\x1B[1m"};
        char const* const plain[] = {"", "\x1B[0m"};
        lines = fmt::format("{}{}/{}{}  process {}\n", bold[coloured], mode, steps[step], plain[coloured],
                            process);
    }
    CurrentCall const call = state.current;
    std::string const time =
        call.step == step ? fmt::format("+{} ms", state.sinceBegin() - call.started) : "";
    if (colour == Colour::kNone || !coloured) {
        lines += fmt::format("  {:>9}  {}\n", time, text);
    } else {
        lines += fmt::format("  {:>9}  \x1B[{}m{}\x1B[0m\n", time, colour == Colour::kGood ? 32 : 31, text);
    }
    if (!meaning.empty()) {
        lines += fmt::format("  {:>9}    {}\n", "", meaning);
    }
    turn.write(lines);
}

void Report::writeJson(RecordWriter::Turn& turn, char const* type, Step step, pid_t process,
                       Json const& fields)
{
    if (format == OutputFormat::kJsonLines) {
        Json record = {
            {"type", type}, {"time", isoTimeNow()}, {"mode", mode}, {"phase", steps[step]}, {"pid", process}};
        record.update(fields);
        turn.write(jsonLine(record));
    }
}

} // namespace hookhost
