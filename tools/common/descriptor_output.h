/// Writing to a descriptor whose reader may be slow or may have closed it.
#ifndef TOOLS_COMMON_DESCRIPTOR_OUTPUT_H
#define TOOLS_COMMON_DESCRIPTOR_OUTPUT_H

#include <string>
#include <string_view>

namespace common {

/// Writes all of a text, in as few calls as the descriptor allows. Waits for room, even in a non-blocking descriptor.
///
/// @return 0, or the errno of the failed write, after which the rest of the text is lost
int writeAll(int descriptor, std::string_view text) noexcept;

/// The message about lost output.
///
/// @param error  what writeAll returned
std::string lossOf(int error);

} // namespace common

#endif
