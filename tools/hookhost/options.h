/// hookhost's command line, checked and in terms of the hook interface.
#ifndef TOOLS_HOOKHOST_OPTIONS_H
#define TOOLS_HOOKHOST_OPTIONS_H

#include "tools/hookhost/expectations.h"
#include "tools/hookhost/hook_number.h"

#include <chrono>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace hookhost {

enum class OutputFormat
{
    kText,     ///< time, mode/phase, process id and message; a closing line per phase
    kRaw,      ///< the hook's messages, byte for byte; a line for a phase that did not return
    kJsonLines ///< one JSON object per message and per phase
};

struct Options
{
    std::string plugin; ///< contains a "/", so that the dynamic loader does not search for it
    bool list = false;
    bool dryRun = false;
    HookNumber mode;
    std::vector<HookNumber> phases; ///< in calling order
    std::vector<std::pair<std::string, std::string>> properties;
    std::optional<std::string> root;
    bool overlay = false;
    std::optional<std::string> keep;                  ///< where an overlay's changes are copied to
    bool changes = false;                             ///< what each phase changed below the root is recorded
    std::optional<std::string> home;                  ///< absolute, as seen from inside the root
    std::optional<std::chrono::milliseconds> timeout; ///< for each call into the plug-in
    bool nullProperties = false;                      ///< the hook gets a null property map
    bool logCallback = true;
    bool capture = true; ///< the hook's own output is recorded, except in raw output
    OutputFormat format = OutputFormat::kText;
    bool explain = false;   ///< messages of CustomHooksTessarine get their meaning
    bool debugWait = false; ///< the worker waits for a debugger
    std::vector<Expectation> expectations;
};

/// Reads and checks the command line, without looking at any file that it names. Prints the help or the version
/// if the command line asks for it.
///
/// @return the options; none when the help or the version was printed
/// @throws Refusal (kExitHostError)
std::optional<Options> readOptions(int argc, char const* const* argv);

/// Whether a command line, which may be wrong otherwise, chooses JSON lines.
bool asksForJson(int argc, char const* const* argv);

} // namespace hookhost

#endif
