/// Makes text of unknown origin safe to print as one line on a terminal.
#ifndef TOOLS_COMMON_PRINTABLE_H
#define TOOLS_COMMON_PRINTABLE_H

#include <string>
#include <string_view>

namespace common {

/// Escapes control characters except tabs, and characters that change the direction of writing. U+0080 to U+009F count
/// as control characters, as UTF-8 or as single bytes. So the text stays on one line and cannot control the terminal.
/// Other bytes stay unchanged, even invalid UTF-8.
///
/// @param text         any bytes
/// @param alsoEscaped  ASCII characters to escape as well, such as "\\\t" if escapes must differ from text and tabs
///                     separate columns
/// @return the text with these characters escaped as \n, \r, \t, \\ or, byte by byte, \xNN
std::string printable(std::string_view text, std::string_view alsoEscaped = "");

/// Appends the same to another text.
void appendPrintable(std::string& result, std::string_view text, std::string_view alsoEscaped = "");

} // namespace common

#endif
