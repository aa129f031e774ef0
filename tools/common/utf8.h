/// Recognises UTF-8 in arbitrary bytes.
#ifndef TOOLS_COMMON_UTF8_H
#define TOOLS_COMMON_UTF8_H

#include <cstddef>
#include <string_view>

namespace common {

/// @param at  an index into the text
/// @return the length of the UTF-8 character that begins there: 1 to 4 bytes; 0 if none does
std::size_t characterLength(std::string_view text, std::size_t at);

/// @return whether all of a text is valid UTF-8
bool isUTF8(std::string_view text);

} // namespace common

#endif
