#include "tests/support/log_recorder.h"

#include <utility>

namespace testing_support {

namespace {

LogRecorder* current = nullptr;

} // namespace

void recordLine(char const* message)
{
    if (current != nullptr) {
        current->lines.emplace_back(message);
    }
}

LogRecorder::LogRecorder()
{
    current = this;
}

LogRecorder::~LogRecorder()
{
    current = nullptr;
}

HookLogCallback LogRecorder::callback()
{
    return recordLine;
}

CCustomHookSession LogRecorder::session(HookProperty const* properties)
{
    return {properties, 0, 0, 0, recordLine};
}

std::vector<std::string> LogRecorder::take()
{
    return std::exchange(lines, {});
}

} // namespace testing_support
