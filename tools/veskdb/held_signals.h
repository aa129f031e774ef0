/// The signals that commonly end a program, blocked while it must not end.
#ifndef TOOLS_VESKDB_HELD_SIGNALS_H
#define TOOLS_VESKDB_HELD_SIGNALS_H

#include <csignal>

namespace veskdb {

/// Blocks, for its lifetime, the signals that commonly end a program, except those ignored at start.
class HeldSignals
{
public:
    HeldSignals();
    HeldSignals(HeldSignals const&) = delete;
    HeldSignals& operator=(HeldSignals const&) = delete;
    /// Unblocks them: a pending one ends the process here.
    ~HeldSignals();

    bool anyIsPending() const;

    /// Refuses to go on if a signal is pending. Prints a message first: the signal ends the process before the refusal
    /// could be reported.
    ///
    /// @throws Refusal (kExitError) if a signal is pending
    void requireNone() const;

    /// From here on ignores these signals: the change is made.
    void ignore() const;

private:
    sigset_t held = {};
    sigset_t before = {};
};

} // namespace veskdb

#endif
