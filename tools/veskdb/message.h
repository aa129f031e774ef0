/// Messages on standard error.
#ifndef TOOLS_VESKDB_MESSAGE_H
#define TOOLS_VESKDB_MESSAGE_H

#include <initializer_list>

namespace veskdb {

/// Prints a message on standard error after "veskdb: ". Ignores write errors: the exit status reports the outcome.
///
/// @param pieces  the message
/// @param end     what follows it
void printMessage(std::initializer_list<char const*> pieces, char const* end = "\n") noexcept;

} // namespace veskdb

#endif
