#include "tools/hookhost/expectations.h"

#include "tools/hookhost/exit_status.h"
#include "tools/hookhost/hook_interface.h"
#include "tools/hookhost/hook_number.h"

#include <algorithm>
#include <fmt/format.h>
#include <utility>

namespace hookhost {

namespace {

/// Steps that are not phases, but can fail like one.
constexpr char const* otherSteps[] = {"load", "open-entry", "close-entry", "unload"};

std::string readPhaseName(char const* option, std::string const& written, std::string const& name)
{
    bool const isOther =
        std::find(std::begin(otherSteps), std::end(otherSteps), name) != std::end(otherSteps);
    auto const phase = readPhase(name);
    if (!phase && !isOther) {
        throw Refusal(kExitHostError,
                      fmt::format("{} '{}': the phase '{}' is unknown; before the first '=', give one "
                                  "of {}, {} or a 32-bit number",
                                  option, written, name, fmt::join(phaseNames, ", "),
                                  fmt::join(otherSteps, ", ")));
    }
    return isOther ? name : phase->name;
}

/// Splits "[PHASE=]VALUE".
std::pair<std::optional<std::string>, std::string> splitPhase(char const* option, std::string const& written)
{
    std::size_t const equals = written.find('=');
    if (equals == std::string::npos) {
        return {std::nullopt, written};
    }
    return {readPhaseName(option, written, written.substr(0, equals)), written.substr(equals + 1)};
}

std::optional<Outcome> readOutcome(std::string const& text)
{
    std::string const kind = text.substr(0, text.find(':'));
    std::string const number = kind.size() < text.size() ? text.substr(kind.size() + 1) : "";
    bool const isDecimal = !number.empty() && number.find_first_not_of("0123456789") == std::string::npos;
    uint32_t const value = isDecimal ? readNumber(number).value_or(~0U) : ~0U;
    if (text == "timeout") {
        return Outcome{Outcome::Kind::kTimeout, 0};
    }
    if (kind == "signal" && value > 0 && value < 128) {
        return Outcome{Outcome::Kind::kSignal, value};
    }
    if (kind == "exit" && value < 256) {
        return Outcome{Outcome::Kind::kExit, value};
    }
    auto const status = readNumber(text);
    return status ? std::optional(Outcome{Outcome::Kind::kStatus, *status}) : std::nullopt;
}

/// Whether an expected outcome is about a step.
bool covers(Expectation const& expectation, std::vector<Expectation> const& all,
            std::vector<std::string> const& steps, Step step)
{
    if (!expectation.outcome || expectation.phase) {
        return expectation.outcome && *expectation.phase == steps[step];
    }
    bool const isPhase = step >= firstPhase && step + 2 < steps.size();
    return isPhase && std::none_of(all.begin(), all.end(), [&](Expectation const& each) {
               return each.outcome && each.phase == steps[step];
           });
}

} // namespace

Expectation readExpectedOutcome(std::string const& written)
{
    auto [phase, text] = splitPhase("--expect", written);
    auto const outcome = readOutcome(text);
    if (!outcome) {
        throw Refusal(kExitHostError,
                      fmt::format("--expect '{}': '{}' is no outcome; give a status, signal:N, timeout "
                                  "or exit:N",
                                  written, text));
    }
    return {written, std::move(phase), outcome, ""};
}

Expectation readExpectedMessage(std::string const& written)
{
    auto [phase, text] = splitPhase("--expect-log", written);
    if (text.empty()) {
        throw Refusal(kExitHostError,
                      fmt::format("--expect-log '{}' has no text; give a part of a message", written));
    }
    return {written, std::move(phase), std::nullopt, std::move(text)};
}

bool matches(Expectation const& expectation, std::string const& phase, std::string_view message)
{
    return !expectation.outcome && (!expectation.phase || *expectation.phase == phase) &&
           message.find(expectation.text) != std::string_view::npos;
}

Verdict judge(Expectation const& expectation, std::vector<Expectation> const& all,
              std::vector<std::string> const& steps, std::vector<Outcome> const& outcomes, bool logged)
{
    if (!expectation.outcome) {
        return {logged, logged ? "" : "no message contains it"};
    }
    bool isCovered = false;
    for (Step step = 0; step < steps.size(); ++step) {
        if (covers(expectation, all, steps, step)) {
            isCovered = true;
            if (!(outcomes[step] == *expectation.outcome)) {
                std::string const which = expectation.phase ? "it" : steps[step];
                return {false, outcomes[step].kind == Outcome::Kind::kNotRun
                                   ? which + " was not run"
                                   : fmt::format("{} was {}", which, describe(outcomes[step]))};
            }
        }
    }
    // Without a phase, other expectations may name every phase of the run; with one, it must be in the run.
    bool const held = isCovered || !expectation.phase;
    return {held, held ? "" : "it was not run"};
}

bool isExpected(std::vector<Expectation> const& all, std::vector<std::string> const& steps, Step step,
                Outcome const& outcome)
{
    return std::any_of(all.begin(), all.end(), [&](Expectation const& each) {
        return covers(each, all, steps, step) && outcome == *each.outcome;
    });
}

std::string describe(Outcome const& outcome)
{
    switch (outcome.kind) {
    case Outcome::Kind::kNotRun:
        return "not run";
    case Outcome::Kind::kStatus:
        return fmt::format("status {}", outcome.number);
    case Outcome::Kind::kSignal:
        return fmt::format("signal:{}", outcome.number);
    case Outcome::Kind::kTimeout:
        return "timeout";
    case Outcome::Kind::kExit:
        return fmt::format("exit:{}", outcome.number);
    case Outcome::Kind::kInterruption:
        break;
    }
    return "interrupted";
}

} // namespace hookhost
