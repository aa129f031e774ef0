/// The signals that reach hookhost while it waits for its worker.
#ifndef TOOLS_HOOKHOST_HOST_SIGNALS_H
#define TOOLS_HOOKHOST_HOST_SIGNALS_H

#include <chrono>
#include <csignal>
#include <sys/select.h>

namespace hookhost {

/// Blocks the end of a child process, TERM, INT, HUP and QUIT except in wait(), so that none is missed between a check
/// and a wait. A signal that was ignored when hookhost started stays ignored. The destructor restores the former state.
class HostSignals
{
public:
    HostSignals();
    HostSignals(HostSignals const&) = delete;
    HostSignals& operator=(HostSignals const&) = delete;
    ~HostSignals() { restore(); }

    /// Restores the handlers and the mask that the constructor found.
    void restore() const;

    /// Waits until a child ends, one of the signals arrives, a descriptor can be read or the time has passed.
    ///
    /// @param descriptors  to wait for; null for none
    /// @param above        the highest of them, plus 1
    void wait(std::chrono::milliseconds longest, fd_set* descriptors = nullptr, int above = 0) const;

    /// The number of the signal that interrupts hookhost; 0 if none has arrived.
    int interruption() const;

    /// Whether a signal that has ended a process would interrupt hookhost.
    bool canInterrupt(int signal) const;

    /// Ends this process by a signal, without a core file.
    [[noreturn]] void endBy(int signal) const;

private:
    sigset_t before = {};
    sigset_t handled = {};
};

} // namespace hookhost

#endif
