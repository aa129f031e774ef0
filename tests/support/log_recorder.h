/// Collects what the plug-in logs. A log callback takes no context, so there is one recorder at a time.
#ifndef TESTS_SUPPORT_LOG_RECORDER_H
#define TESTS_SUPPORT_LOG_RECORDER_H

#include "hooks/HookSession.h"

#include <string>
#include <utility>
#include <vector>

namespace testing_support {

class LogRecorder
{
public:
    LogRecorder() { lines.clear(); }

    static HookLogCallback callback() { return record; }

    /// A line with "* " in place of the actions' common prefix.
    static std::string shortened(std::string const& line)
    {
        std::string const prefix = "::FT::CUSTOM ACTION: ";
        return line.rfind(prefix, 0) == 0 ? "* " + line.substr(prefix.size()) : line;
    }

    /// A session for calling an action directly.
    static CCustomHookSession session(HookProperty const* properties = nullptr)
    {
        return {properties, 0, 0, 0, record};
    }

    /// The lines since the last call, shortened.
    std::vector<std::string> take() { return std::exchange(lines, {}); }

private:
    static void record(char const* message) { lines.push_back(shortened(message)); }
    static inline std::vector<std::string> lines;
};

} // namespace testing_support

#endif
