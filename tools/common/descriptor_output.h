/// Writing to a descriptor whose reader may be slow or gone.
#ifndef TOOLS_COMMON_DESCRIPTOR_OUTPUT_H
#define TOOLS_COMMON_DESCRIPTOR_OUTPUT_H

#include <string>
#include <string_view>

namespace common {

/// Writes all of a text, in one piece as far as the descriptor allows. Waits for room, even in a descriptor that
/// does not block.
///
/// @return 0, or the errno for which the rest of the text was lost
int writeAll(int descriptor, std::string_view text) noexcept;

/// The message about lost output.
///
/// @param error  the errno for which it was lost
std::string lossOf(int error);

} // namespace common

#endif
