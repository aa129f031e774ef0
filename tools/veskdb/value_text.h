/// Values as text.
#ifndef TOOLS_VESKDB_VALUE_TEXT_H
#define TOOLS_VESKDB_VALUE_TEXT_H

#include "tools/veskdb/records.h"

#include <string_view>

namespace veskdb {

/// Escapes a text so that it stays on one line and cannot control the terminal: as "\t", "\n", "\r", "\\", and "\xHH"
/// for other control characters.
std::string escaped(std::string_view text);

/// @return "2009-02-13T23:31:30Z"; the number itself beyond the year 9999
std::string isoTime(int64_t seconds);

/// The bytes of a text or blob; null for any other value.
std::string const* bytesIn(Value const& value);

/// A value as text: escaped, a null as "\N".
std::string textOf(Value const& value, ValueKind kind = ValueKind::kPlain);
void appendText(std::string& text, Value const& value, ValueKind kind);

/// The bytes of a value: a text or blob unchanged, a number's digits; empty for a null.
std::string asText(Value const& value);

/// Two hexadecimal digits for each byte.
std::string hexOf(std::string_view bytes);

} // namespace veskdb

#endif
