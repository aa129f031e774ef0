/// Notes where the plug-in crashed, before the signal ends the worker.
#ifndef TOOLS_HOOKHOST_CRASH_HANDLER_H
#define TOOLS_HOOKHOST_CRASH_HANDLER_H

#include <array>
#include <atomic>
#include <cstdint>
#include <sys/resource.h>
#include <sys/types.h>

namespace hookhost {

/// What is known of a crash. Lives in memory that the worker and the host share.
struct Crash
{
    using Text = std::array<char, 1024>; ///< ends with a null character

    std::atomic<int> signal{0};        ///< 0 if there was no crash
    std::atomic<bool> complete{false}; ///< everything below is noted
    bool hasAddress = false;           ///< the processor raised the signal
    std::uintptr_t address = 0;        ///< that could not be used
    int frameCount = 0;
    std::array<std::array<char, 96>, 24> frames{}; ///< innermost first, such as "bad.so+0x1a2b"
    Text folder{};                                 ///< the current folder, as the process saw it
    rlim_t coreLimit = 0;                          ///< in bytes
    uid_t user = 0;                                ///< the effective user
};

/// Sets signal handlers that note a crash of this process, then let the signal end it. Call it in the worker, before
/// the plug-in is loaded. Signals that have a handler keep it, and the plug-in may set handlers of its own.
///
/// @param crash  receives the facts of the crash; must exist until the process ends
void noteCrash(Crash& crash);

/// Whether a signal's handler is the one that noteCrash has set.
bool isCrashHandler(void (*handler)(int));

} // namespace hookhost

#endif
