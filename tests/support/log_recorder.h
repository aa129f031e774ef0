/// Collects what the plug-in says: a log callback takes no context, so there is one recorder at a time.
#ifndef TESTS_SUPPORT_LOG_RECORDER_H
#define TESTS_SUPPORT_LOG_RECORDER_H

#include "hooks/HookSession.h"

#include <string>
#include <vector>

namespace testing_support {

class LogRecorder
{
public:
    LogRecorder();
    LogRecorder(LogRecorder const&) = delete;
    LogRecorder& operator=(LogRecorder const&) = delete;
    ~LogRecorder();

    static HookLogCallback callback();

    /// A session for calling an action directly.
    static CCustomHookSession session(HookProperty const* properties = nullptr);

    /// The lines so far; the next call starts anew.
    std::vector<std::string> take();

private:
    std::vector<std::string> lines;
    friend void recordLine(char const* message);
};

} // namespace testing_support

#endif
