/// The system's file format of dynamic libraries.
#ifndef TOOLS_HOOKHOST_LIBRARY_FORMAT_H
#define TOOLS_HOOKHOST_LIBRARY_FORMAT_H

#include <optional>
#include <set>
#include <string>

namespace hookhost {

/// Checks that a file is a dynamic library of this program's word size and machine.
///
/// @throws Refusal (kExitNotLoadable)
void requireLoadableKind(std::string const& path);

/// The names that a library exports, as the dynamic loader finds them: section headers are not needed.
///
/// @return the names; nothing where the format cannot be read without loading the library
/// @throws Refusal (kExitNotLoadable) if the file is damaged
std::optional<std::set<std::string>> exportedNames(std::string const& path);

} // namespace hookhost

#endif
