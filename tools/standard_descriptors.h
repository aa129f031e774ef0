/// Standard input, output and error of a tool that may have been started without them.
#ifndef TOOLS_STANDARD_DESCRIPTORS_H
#define TOOLS_STANDARD_DESCRIPTORS_H

#include <string>
#include <string_view>

/// A file that is opened later must not become standard output and receive what is printed. What is missing is
/// taken by a descriptor that cannot be written to: a lost line is noticed. To be called first, in the
/// machine's own root.
void occupyStandardDescriptors();

/// Writes all of a text, in one piece as far as the descriptor allows. Waits for room, even in a descriptor that
/// does not block.
///
/// @return 0, or the errno for which the rest of the text was lost
int writeAll(int descriptor, std::string_view text) noexcept;

/// What is said of lost output, from the errno for which it was lost.
std::string lossOf(int error);

#endif
