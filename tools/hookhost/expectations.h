/// What a run is expected to do, and whether it did.
#ifndef TOOLS_HOOKHOST_EXPECTATIONS_H
#define TOOLS_HOOKHOST_EXPECTATIONS_H

#include "tools/hookhost/run_state.h"

#include <atomic>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace hookhost {

/// How a step of a run ended.
struct Outcome
{
    enum class Kind
    {
        kNotRun,
        kStatus,
        kSignal,
        kTimeout,
        kExit,
        kInterruption
    };

    Kind kind = Kind::kNotRun;
    uint32_t number = 0; ///< the status, the signal or the exit status

    bool operator==(Outcome const& other) const { return kind == other.kind && number == other.number; }
};

/// One --expect or --expect-log.
struct Expectation
{
    std::string written; ///< as on the command line
    /// The name of a phase or other step. Without it, an outcome is expected of every phase that no other expectation
    /// names, and a message of any step.
    std::optional<std::string> phase;
    std::optional<Outcome> outcome; ///< no value for an expected message
    std::string text;               ///< a part of the expected message
};

/// Reads "[PHASE=]STATUS|signal:N|timeout|exit:N".
///
/// @throws Refusal (kExitHostError)
Expectation readExpectedOutcome(std::string const& written);

/// Reads "[PHASE=]TEXT".
///
/// @throws Refusal (kExitHostError)
Expectation readExpectedMessage(std::string const& written);

/// Whether a message is the one expected.
///
/// @param phase  the step that logged the message
bool matches(Expectation const& expectation, std::string const& phase, std::string_view message);

/// Whether an expectation holds.
struct Verdict
{
    bool held;
    std::string reason; ///< why not; empty if it holds
};

/// Judges one expectation.
///
/// @param all       every expectation of the run
/// @param steps     names of the run's steps
/// @param outcomes  of the steps
/// @param logged    for an expected message, whether it was logged
Verdict judge(Expectation const& expectation, std::vector<Expectation> const& all,
              std::vector<std::string> const& steps, std::vector<Outcome> const& outcomes, bool logged);

/// Whether a step was expected to end as it did.
bool isExpected(std::vector<Expectation> const& all, std::vector<std::string> const& steps, Step step,
                Outcome const& outcome);

/// "status 1", "signal:11": as verdicts show it.
std::string describe(Outcome const& outcome);

} // namespace hookhost

#endif
