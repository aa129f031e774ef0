/// Text of unknown origin, made fit for a line on a terminal.
#ifndef TOOLS_COMMON_PRINTABLE_H
#define TOOLS_COMMON_PRINTABLE_H

#include <string>
#include <string_view>

namespace common {

/// Makes visible: control characters, those of U+0080 to U+009F too, as UTF-8 or as single bytes, except tabs; and
/// characters that change the direction of writing. The text stays on its line and leaves the terminal alone. Other
/// bytes stay, even those that are no UTF-8.
///
/// @param text         any bytes
/// @param alsoEscaped  ASCII characters to make visible besides, such as "\\\t" where escapes must be told from text
///                     and tabs separate columns
/// @return the text with such characters as \n, \r, \t, \\ or, byte by byte, \xNN
std::string printable(std::string_view text, std::string_view alsoEscaped = "");

/// The same, at the end of another text.
void appendPrintable(std::string& result, std::string_view text, std::string_view alsoEscaped = "");

} // namespace common

#endif
