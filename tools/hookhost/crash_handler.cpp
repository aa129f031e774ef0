#include "tools/hookhost/crash_handler.h"

#include "tools/hookhost/undone_call.h"

#include <csignal>
#include <cstdio>
#include <cstring>
#include <dlfcn.h>
#include <execinfo.h>
#include <optional>
#include <unistd.h>

namespace hookhost {

namespace {

constexpr int crashSignals[] = {SIGSEGV, SIGBUS, SIGILL, SIGFPE, SIGABRT, SIGTRAP, SIGSYS};

Crash* crashOfThisProcess = nullptr;
pid_t worker = 0;

/// "bad.so+0x1a2b"; the address alone if it is in no library.
template<class Text>
void describeFrame(Text& text, void* address)
{
    Dl_info info = {};
    auto const place = reinterpret_cast<std::uintptr_t>(address);
    if (dladdr(address, &info) == 0) {
        std::snprintf(text.data(), text.size(), "0x%jx", static_cast<uintmax_t>(place));
        return;
    }
    char const* const slash = std::strrchr(info.dli_fname, '/');
    std::snprintf(text.data(), text.size(), "%s+0x%jx", slash != nullptr ? slash + 1 : info.dli_fname,
                  static_cast<uintmax_t>(place - reinterpret_cast<std::uintptr_t>(info.dli_fbase)));
}

/// Whether the processor has raised the signal, for an instruction that fails again if it is run again.
bool isFault(int signal, siginfo_t const& info)
{
    return info.si_code > 0 &&
           (signal == SIGSEGV || signal == SIGBUS || signal == SIGILL || signal == SIGFPE);
}

/// Deliberate: calls functions that are not safe in a signal handler. The process has crashed anyway; the most
/// important facts are noted first, and the host kills a worker that does not finish.
__attribute__((noinline)) void note(int signal, siginfo_t const& info, void* context)
{
    Crash& crash = *crashOfThisProcess;
    crash.hasAddress = isFault(signal, info);
    crash.address = reinterpret_cast<std::uintptr_t>(info.si_addr);
    rlimit limit = {};
    getrlimit(RLIMIT_CORE, &limit);
    crash.coreLimit = limit.rlim_cur;
    crash.user = geteuid();
    crash.signal = signal;
    if (getcwd(crash.folder.data(), crash.folder.size()) == nullptr) {
        crash.folder[0] = '\0';
    }
    std::optional<UndoneCall> undoneCall;
    if (crash.hasAddress && (signal == SIGSEGV || signal == SIGBUS)) {
        undoneCall.emplace(context, crash.address);
    }
    if (undoneCall && undoneCall->isUndone()) {
        describeFrame(crash.frames[0], info.si_addr);
        crash.frameCount = 1;
    }
    int const room = static_cast<int>(crash.frames.size()) - crash.frameCount;
    // This function, the handler, and the system's function that calls the handler.
    constexpr int ownFrames = 3;
    void* addresses[ownFrames + std::tuple_size<decltype(crash.frames)>::value];
    int const count = backtrace(addresses, ownFrames + room);
    for (int each = ownFrames; each < count; ++each) {
        describeFrame(crash.frames[static_cast<std::size_t>(crash.frameCount)], addresses[each]);
        ++crash.frameCount;
    }
    crash.complete = true;
}

void handleCrash(int signal, siginfo_t* info, void* context)
{
    std::signal(signal, SIG_DFL);
    if (getpid() == worker && crashOfThisProcess->signal == 0) {
        note(signal, *info, context);
    }
    // A fault occurs again after this, so that a core file shows it. Any other signal has to be sent again.
    if (!isFault(signal, *info)) {
        raise(signal);
    }
}

} // namespace

void noteCrash(Crash& crash)
{
    crashOfThisProcess = &crash;
    worker = getpid();
    void* first = nullptr;
    backtrace(&first, 1); // loads the library that it needs, which must not happen in a crash

    static std::array<char, 65536> stack; // for a crash by endless recursion
    stack_t handlerStack = {};
    handlerStack.ss_sp = stack.data();
    handlerStack.ss_size = stack.size();
    sigaltstack(&handlerStack, nullptr);
    for (int const each : crashSignals) {
        struct sigaction action = {};
        sigaction(each, nullptr, &action);
        if ((action.sa_flags & SA_SIGINFO) == 0 && action.sa_handler == SIG_DFL) {
            action.sa_sigaction = handleCrash;
            action.sa_flags = SA_SIGINFO | SA_ONSTACK;
            sigaction(each, &action, nullptr);
        }
    }
}

bool isCrashHandler(void (*handler)(int))
{
    return reinterpret_cast<void*>(handler) == reinterpret_cast<void*>(handleCrash);
}

} // namespace hookhost
