/// Values in JSON.
#ifndef TOOLS_VESKDB_JSON_TEXT_H
#define TOOLS_VESKDB_JSON_TEXT_H

#include <string>

namespace veskdb {

/// A text between quotes. Bytes that are not UTF-8 become U+FFFD.
std::string jsonText(std::string const& text);

/// Appends a text between quotes if it is printable ASCII that needs no escapes.
///
/// @return false for any other text; nothing was appended
bool appendPlain(std::string& result, std::string const& text);

std::string jsonNumber(double number);

} // namespace veskdb

#endif
