/// The command line of veskdb.
#ifndef TOOLS_VESKDB_COMMAND_LINE_H
#define TOOLS_VESKDB_COMMAND_LINE_H

#include "tools/veskdb/options.h"

namespace veskdb {

/// A verb with its options.
struct Command
{
    int (*run)(Options const& options) = nullptr; ///< returns the exit status; throws Refusal and Unreadable
    void (*prepare)(Options const& options) = nullptr; ///< called before another root is entered; may be null
    Options options;
};

/// Reads and checks the command line. Prints the help or the version if the user asks for it.
///
/// @return the command; none if help or version was printed
/// @throws Refusal (kExitError)
std::optional<Command> readCommandLine(int argc, char const* const* argv);

} // namespace veskdb

#endif
