/// What a user asks of hookhost: its command line, checked and in the terms of the hook interface.
#ifndef TOOLS_HOOKHOST_OPTIONS_H
#define TOOLS_HOOKHOST_OPTIONS_H

#include <array>
#include <chrono>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace hookhost {

/// Exit statuses of hookhost besides the hook's own ones.
enum ExitStatus
{
    kExitLargeStatus = 123, ///< the hook's status is 123 or above, which would collide with the ones below
    kExitTimeout = 124,
    kExitHostError = 125, ///< usage, or the host cannot do its work
    kExitSymbolMissing = 126,
    kExitNotLoadable = 127,
    kExitSignal = 128 ///< plus the number of the signal that ended the plug-in
};

/// The run ends, or does not begin. what() names the input and what would be right.
class Refusal : public std::runtime_error
{
public:
    Refusal(ExitStatus status, std::string const& message) : std::runtime_error(message), exitStatus(status)
    {
    }

    ExitStatus exitStatus;
};

/// Where a name stands is its number in the hook interface.
constexpr std::array<char const*, 3> modeNames = {"install", "reinstall", "uninstall"};
constexpr std::array<char const*, 5> phaseNames = {"pre-system-check", "pre-payload", "post-payload",
                                                   "session-open", "session-close"};

enum class OutputFormat
{
    kText,     ///< for people: time, mode/phase, process id and message; a closing line per phase
    kRaw,      ///< the hook's messages, byte for byte; a line for a phase that did not return
    kJsonLines ///< one JSON object per message and per phase
};

/// A mode or a phase, as it goes into a call and as people read it.
struct HookNumber
{
    uint32_t value = 0; ///< the 32 bits that the hook receives
    std::string name;   ///< the interface's name for it; the number when there is none
};

struct Options
{
    std::string plugin; ///< contains a "/", so that no library search path is asked
    bool list = false;
    bool dryRun = false;
    HookNumber mode;
    std::vector<HookNumber> phases; ///< in calling order
    std::vector<std::pair<std::string, std::string>> properties;
    std::optional<std::string> root;
    std::optional<std::string> home;                  ///< absolute, as seen from inside the root
    std::optional<std::chrono::milliseconds> timeout; ///< for each call into the plug-in
    bool logCallback = true;
    OutputFormat format = OutputFormat::kText;
};

/// Reads and checks the command line, without looking at any file that it names. Prints the help when that
/// is what was asked for.
///
/// @return the options; none when the help was printed
/// @throws Refusal
std::optional<Options> readOptions(int argc, char const* const* argv);

} // namespace hookhost

#endif
