/// Command lines of this program, for the next step that a message names.
#ifndef TOOLS_VESKDB_OWN_COMMAND_H
#define TOOLS_VESKDB_OWN_COMMAND_H

#include <string>

namespace veskdb {

/// A command line of this program that works on the present root, to be run outside it.
///
/// @param words  the verb and the words after it
std::string ownCommand(std::string const& words);

/// A word of such a command, in single quotes; a path is one inside the root.
std::string quotedWord(std::string const& word);

} // namespace veskdb

#endif
