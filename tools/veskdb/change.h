/// The verbs that change records: add, set and remove. Each goes through one session of the record library and
/// happens wholly or not at all: an error, or an interruption before the commit, rolls it back. They print
/// nothing when done, so that no lost output can follow a change.
#ifndef TOOLS_VESKDB_CHANGE_H
#define TOOLS_VESKDB_CHANGE_H

#include "tools/veskdb/options.h"

#include <csignal>

namespace veskdb {

/// @throws Refusal, Unreadable; the records are then as they were
void addPayload(Options const& options);
void setPayload(Options const& options);
void setSetting(Options const& options);
void removePayload(Options const& options);
void removeSettings(Options const& options);

/// Asks on the terminal unless --yes was given.
///
/// @param question  what is about to happen, ending in a question mark
/// @throws Refusal (kExitNotFound: declined; kExitError: there is no terminal to ask on)
void requireConsent(Options const& options, std::string const& question);

/// Holds back, while it lives, the signals by which people end a program; but for those that it was started to
/// ignore.
class HeldSignals
{
public:
    HeldSignals();
    HeldSignals(HeldSignals const&) = delete;
    HeldSignals& operator=(HeldSignals const&) = delete;
    ~HeldSignals();

    bool anyHasCome() const;

    /// @throws Refusal when one has come, and says so: the last moment to give up
    void requireNone() const;

    /// From here to the program's end they end nothing: what they were to end is done.
    void ignore() const;

private:
    sigset_t held = {};
    sigset_t before = {};
};

} // namespace veskdb

#endif
