#include "tools/common/printable.h"

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

} // namespace

std::string printable(std::string_view text, std::string_view alsoEscaped)
{
    std::string result;
    for (std::size_t at = 0; at < text.size(); ++at) {
        char const each = text[at];
        bool const control = (each >= 0 && each < ' ' && each != '\t') || each == '\x7F';
        bool const longControl = each == '\xC2' && at + 1 < text.size() &&
                                 (static_cast<unsigned char>(text[at + 1]) & 0xE0) == 0x80;
        if (longControl) {
            result += escapeOf(each) + escapeOf(text[++at]);
        } else if (control || alsoEscaped.find(each) != std::string_view::npos) {
            result += escapeOf(each);
        } else {
            result += each;
        }
    }
    return result;
}

} // namespace common
