#include "tools/common/printable.h"

#include "tools/common/utf8.h"

#include <algorithm>
#include <fmt/format.h>

namespace common {

namespace {

std::string escapeOf(char character)
{
    switch (character) {
    case '\n':
        return "\\n";
    case '\r':
        return "\\r";
    case '\t':
        return "\\t";
    case '\\':
        return "\\\\";
    default:
        return fmt::format("\\x{:02X}", static_cast<unsigned char>(character));
    }
}

/// Whether a character changes the direction of the text after it: U+202A to U+202E, U+2066 to U+2069.
bool overridesDirection(std::string_view character)
{
    return (character >= "\xE2\x80\xAA" && character <= "\xE2\x80\xAE") ||
           (character >= "\xE2\x81\xA6" && character <= "\xE2\x81\xA9");
}

/// Whether a character, or a byte that is part of none, controls a terminal.
bool isControl(std::string_view character, bool complete)
{
    auto const first = static_cast<unsigned char>(character.front());
    if (character.size() == 1) {
        return (first < ' ' && first != '\t') || first == 0x7F ||
               (!complete && first >= 0x80 && first < 0xA0);
    }
    return (character >= "\xC2\x80" && character <= "\xC2\x9F") || overridesDirection(character);
}

} // namespace

std::string printable(std::string_view text, std::string_view alsoEscaped)
{
    std::string result;
    appendPrintable(result, text, alsoEscaped);
    return result;
}

void appendPrintable(std::string& result, std::string_view text, std::string_view alsoEscaped)
{
    bool const plain = std::all_of(text.begin(), text.end(), [&](char each) {
        return each >= ' ' && each < '\x7F' && alsoEscaped.find(each) == std::string_view::npos;
    });
    if (plain) {
        result += text;
        return;
    }
    for (std::size_t at = 0; at < text.size();) {
        std::size_t const length = characterLength(text, at);
        std::string_view const character = text.substr(at, length == 0 ? 1 : length);
        bool const escape = isControl(character, length != 0) ||
                            (length == 1 && alsoEscaped.find(character.front()) != std::string_view::npos);
        if (!escape) {
            result += character;
        } else {
            for (char const each : character) {
                result += escapeOf(each);
            }
        }
        at += character.size();
    }
}

} // namespace common
