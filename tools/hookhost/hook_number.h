/// Modes, phases and statuses as they are written.
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
    std::string name;   ///< the interface's name for it; the number as it was written if there is none
};

/// Decimal, or hexadecimal after "0x"; from -2^31 to 2^32-1, as the 32 bits that stand for it.
///
/// @return no value for anything else
std::optional<uint32_t> readNumber(std::string_view text);

/// @return no value for what is neither a mode's name nor a number
std::optional<HookNumber> readMode(std::string const& text);

/// @return no value for what is neither a phase's name nor a number
std::optional<HookNumber> readPhase(std::string const& text);

} // namespace hookhost

#endif
