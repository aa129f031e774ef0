/// Modes, phases and statuses as they are written on the command line.
#ifndef TOOLS_HOOKHOST_HOOK_NUMBER_H
#define TOOLS_HOOKHOST_HOOK_NUMBER_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace hookhost {

/// A mode or a phase, as it is passed in a call and as it is printed.
struct HookNumber
{
    uint32_t value = 0; ///< the 32 bits that the hook receives
    std::string name;   ///< the interface's name for it; if there is none, the number as it was written
};

/// Reads a number from -2^31 to 2^32-1, decimal or, after "0x", hexadecimal.
///
/// @return its 32 bits; no value for anything else
std::optional<uint32_t> readNumber(std::string_view text);

/// Reads an install mode.
///
/// @return no value if the text is neither a mode's name nor a number
std::optional<HookNumber> readMode(std::string const& text);

/// Reads a phase.
///
/// @return no value if the text is neither a phase's name nor a number
std::optional<HookNumber> readPhase(std::string const& text);

} // namespace hookhost

#endif
