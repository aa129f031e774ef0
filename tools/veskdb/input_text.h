/// Reads texts of any size from a file or from standard input.
#ifndef TOOLS_VESKDB_INPUT_TEXT_H
#define TOOLS_VESKDB_INPUT_TEXT_H

#include <string>

namespace veskdb {

/// Reads everything, byte for byte.
///
/// @param path  a file; "-" is standard input
/// @throws Refusal (kExitError)
std::string readInput(std::string const& path);

/// How messages name such an input.
std::string nameOfInput(std::string const& path);

} // namespace veskdb

#endif
