/// Reads a whole tree of folders.
#ifndef TOOLS_HOOKHOST_TREE_WALK_H
#define TOOLS_HOOKHOST_TREE_WALK_H

#include "tools/hookhost/tree_entry.h"

#include <functional>
#include <string>
#include <vector>

namespace hookhost {

/// The names in a folder, without "." and "..". Leaves the date of the folder's last reading as it is where it can.
///
/// @param folder  descriptor of a folder above, or AT_FDCWD
/// @return no value if it is not a folder or cannot be read
std::optional<std::vector<std::string>> namesIn(int folder, std::string const& name);

/// Visits one entry, given the descriptor of its folder, its name there, and its path.
///
/// @return whether to walk into the entry, if it is a folder
using Visitor = std::function<bool(int folder, std::string const& name, std::string const& path)>;

/// Visits everything below a folder, the file systems mounted there included, without following links. Skips what
/// cannot be read.
///
/// @param folder  descriptor of a folder, and
/// @param name    the name in it of the folder to walk, which itself is not visited
/// @param path    that folder's path, ending in "/"
void walk(int folder, std::string const& name, std::string const& path, Visitor const& visit);

} // namespace hookhost

#endif
