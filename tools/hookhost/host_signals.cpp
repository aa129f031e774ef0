#include "tools/hookhost/host_signals.h"

#include <array>
#include <sys/resource.h>
#include <unistd.h>

namespace hookhost {

namespace {

constexpr std::array<int, 4> interruptions = {SIGTERM, SIGINT, SIGHUP, SIGQUIT};

volatile std::sig_atomic_t interruptedBy = 0;

void noteInterruption(int signal)
{
    interruptedBy = signal;
}

/// Does nothing: a handled signal ends the wait.
void noticeChild(int /*signal*/)
{
}

bool isIgnored(int signal)
{
    struct sigaction action = {};
    sigaction(signal, nullptr, &action);
    return action.sa_handler == SIG_IGN;
}

} // namespace

HostSignals::HostSignals()
{
    sigemptyset(&handled);
    sigaddset(&handled, SIGCHLD);
    for (int const each : interruptions) {
        if (!isIgnored(each)) {
            sigaddset(&handled, each);
        }
    }
    sigprocmask(SIG_BLOCK, &handled, &before);
    struct sigaction action = {};
    action.sa_handler = noticeChild;
    sigaction(SIGCHLD, &action, nullptr);
    action.sa_handler = noteInterruption;
    for (int const each : interruptions) {
        if (sigismember(&handled, each) == 1) {
            sigaction(each, &action, nullptr);
        }
    }
}

void HostSignals::restore() const
{
    std::signal(SIGCHLD, SIG_DFL);
    for (int const each : interruptions) {
        if (sigismember(&handled, each) == 1) {
            std::signal(each, SIG_DFL);
        }
    }
    sigprocmask(SIG_SETMASK, &before, nullptr);
}

void HostSignals::wait(std::chrono::milliseconds longest, fd_set* descriptors, int above) const
{
    timespec const time = {static_cast<time_t>(longest.count() / 1000),
                           static_cast<long>(longest.count() % 1000) * 1000000};
    pselect(above, descriptors, nullptr, nullptr, &time, &before);
}

int HostSignals::interruption() const
{
    sigset_t pending;
    sigpending(&pending);
    for (int const each : interruptions) {
        if (interruptedBy == 0 && sigismember(&pending, each) == 1) {
            interruptedBy = each;
        }
    }
    return interruptedBy;
}

bool HostSignals::canInterrupt(int signal) const
{
    return sigismember(&handled, signal) == 1;
}

void HostSignals::endBy(int signal) const
{
    rlimit const none = {0, 0};
    setrlimit(RLIMIT_CORE, &none);
    restore();
    raise(signal);
    _exit(128 + signal); // the signal is blocked
}

} // namespace hookhost
