/// The command line of veskdb.
#ifndef TOOLS_VESKDB_COMMAND_LINE_H
#define TOOLS_VESKDB_COMMAND_LINE_H

#include "tools/veskdb/options.h"

namespace veskdb {

/// A verb with its options.
struct Command
{
    int (*run)(Options const& options) = nullptr; ///< returns the exit status; throws Refusal and Unreadable
    void (*prepare)(Options const& options) =
        nullptr; ///< comes before another root is entered; null: nothing does
    Options options;
};

/// Reads and checks the command line. Prints the help or the version when that is what was asked for.
///
/// @return the command; none when help or version was printed
/// @throws Refusal (kExitError)
std::optional<Command> readCommandLine(int argc, char const* const* argv);

} // namespace veskdb

#endif
