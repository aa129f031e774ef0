#include "tools/hookhost/hook_number.h"

#include "tools/hookhost/hook_interface.h"

#include <charconv>
#include <system_error>

namespace hookhost {

namespace {

template<class Names>
std::optional<HookNumber> readNameOrNumber(std::string const& text, Names const& names)
{
    std::optional<uint32_t> value = readNumber(text);
    for (uint32_t number = 0; number < names.size(); ++number) {
        if (text == names[number]) {
            value = number;
        }
    }
    if (!value) {
        return std::nullopt;
    }
    return HookNumber{*value, *value < names.size() ? names[*value] : text};
}

} // namespace

std::optional<uint32_t> readNumber(std::string_view text)
{
    bool const negative = text.substr(0, 1) == "-";
    text.remove_prefix(negative ? 1 : 0);
    bool const hexadecimal = text.substr(0, 2) == "0x" || text.substr(0, 2) == "0X";
    text.remove_prefix(hexadecimal ? 2 : 0);
    uint32_t value = 0;
    char const* const end = text.data() + text.size();
    auto const read = std::from_chars(text.data(), end, value, hexadecimal ? 16 : 10);
    if (read.ec != std::errc() || read.ptr != end || (negative && value > 0x80000000U)) {
        return std::nullopt;
    }
    return negative ? 0 - value : value;
}

std::optional<HookNumber> readMode(std::string const& text)
{
    return readNameOrNumber(text, modeNames);
}

std::optional<HookNumber> readPhase(std::string const& text)
{
    return readNameOrNumber(text, phaseNames);
}

} // namespace hookhost
