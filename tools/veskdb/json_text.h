/// Values as JSON writes them.
#ifndef TOOLS_VESKDB_JSON_TEXT_H
#define TOOLS_VESKDB_JSON_TEXT_H

#include <string>

namespace veskdb {

/// A text between quotes. Bytes that are no UTF-8 become U+FFFD.
std::string jsonText(std::string const& text);

/// Appends a text of printable ASCII alone, between quotes.
///
/// @return false when the text is another, and nothing was appended
bool appendPlain(std::string& result, std::string const& text);

std::string jsonNumber(double number);

} // namespace veskdb

#endif
