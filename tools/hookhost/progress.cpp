#include "tools/hookhost/progress.h"

#include "tools/common/descriptor_output.h"

#include <fmt/format.h>
#include <unistd.h>

namespace hookhost {

Progress::Progress(char const* counted) : what(counted), onTerminal(isatty(STDERR_FILENO) != 0)
{
}

Progress::~Progress()
{
    if (shown) {
        common::writeAll(STDERR_FILENO, "\r\x1B[K");
    }
}

void Progress::advance()
{
    ++count;
    if (!onTerminal || std::chrono::steady_clock::now() < next) {
        return;
    }
    next = std::chrono::steady_clock::now() + std::chrono::milliseconds(200);
    common::writeAll(STDERR_FILENO, fmt::format("\rhookhost: {} {}", count, what));
    shown = true;
}

} // namespace hookhost
