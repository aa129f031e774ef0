/// A progress counter.
#ifndef TOOLS_HOOKHOST_PROGRESS_H
#define TOOLS_HOOKHOST_PROGRESS_H

#include <chrono>
#include <cstddef>

namespace hookhost {

/// Shows on standard error, if that is a terminal, how many things were counted: after the first second, a few times a
/// second. The destructor erases it.
class Progress
{
public:
    /// @param what  what is counted, such as "files read"; static
    explicit Progress(char const* what);
    Progress(Progress const&) = delete;
    Progress& operator=(Progress const&) = delete;
    ~Progress();

    /// Counts one more.
    void advance();

private:
    char const* const what;
    bool const onTerminal;
    bool shown = false;
    std::size_t count = 0;
    std::chrono::steady_clock::time_point next = std::chrono::steady_clock::now() + std::chrono::seconds(1);
};

} // namespace hookhost

#endif
