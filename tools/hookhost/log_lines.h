/// Every log line of CustomHooksTessarine and what it means: the one table behind --explain and docs/hook-phases.md.
#ifndef TOOLS_HOOKHOST_LOG_LINES_H
#define TOOLS_HOOKHOST_LOG_LINES_H

#include <string>
#include <string_view>

namespace hookhost {

struct LogLine;

/// Explains the messages of one plug-in, in the order in which they are logged: the meaning of a bare value, such as a
/// folder, follows from the line before it.
class LogExplainer
{
public:
    /// @return what the message means and, if there is something to do, what to do; empty for a line of another plug-in
    std::string explain(std::string_view message);

private:
    LogLine const* previous = nullptr;
};

/// The table as the section "Every log line" of docs/hook-phases.md.
std::string logLinesAsMarkdown();

} // namespace hookhost

#endif
