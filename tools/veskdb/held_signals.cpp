#include "tools/veskdb/held_signals.h"

#include "tools/veskdb/message.h"
#include "tools/veskdb/refusal.h"

#include <algorithm>
#include <iterator>

namespace veskdb {

namespace {

constexpr int endingSignals[] = {SIGINT, SIGTERM, SIGHUP, SIGQUIT};

} // namespace

HeldSignals::HeldSignals()
{
    sigemptyset(&held);
    for (int const each : endingSignals) {
        struct sigaction action = {};
        sigaction(each, nullptr, &action);
        if (action.sa_handler != SIG_IGN) {
            sigaddset(&held, each);
        }
    }
    sigprocmask(SIG_BLOCK, &held, &before);
}

HeldSignals::~HeldSignals()
{
    sigprocmask(SIG_SETMASK, &before, nullptr);
}

bool HeldSignals::anyIsPending() const
{
    sigset_t pending;
    sigpending(&pending);
    return std::any_of(std::begin(endingSignals), std::end(endingSignals), [&](int each) {
        return sigismember(&held, each) == 1 && sigismember(&pending, each) == 1;
    });
}

void HeldSignals::requireNone() const
{
    if (anyIsPending()) {
        printMessage({"interrupted; nothing was changed"});
        throw Refusal(kExitError, "interrupted");
    }
}

void HeldSignals::ignore() const
{
    for (int const each : endingSignals) {
        std::signal(each, SIG_IGN); // which discards a pending one
    }
}

} // namespace veskdb
