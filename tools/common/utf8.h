/// Bytes that may be UTF-8 and may be anything else.
#ifndef TOOLS_COMMON_UTF8_H
#define TOOLS_COMMON_UTF8_H

#include <cstddef>
#include <string_view>

namespace common {

/// The length of the UTF-8 character that begins at a place of a text: 1 to 4 bytes; 0 when none does there.
///
/// @param at  before the text's end
std::size_t characterLength(std::string_view text, std::size_t at);

bool isUTF8(std::string_view text);

} // namespace common

#endif
