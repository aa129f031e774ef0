/// Command lines of this program, for the next step that a message names.
#ifndef TOOLS_VESKDB_OWN_COMMAND_H
#define TOOLS_VESKDB_OWN_COMMAND_H

#include <string>

namespace veskdb {

/// A command line of this program, to be run outside the root that it works in now, on that root.
///
/// @param words  verb and what follows
std::string ownCommand(std::string const& words);

/// A word of such a command, between single quotes: a path as it is inside the root.
std::string quotedWord(std::string const& word);

} // namespace veskdb

#endif
