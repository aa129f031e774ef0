/// Another root folder for the process: every absolute path then lies below it. The product has no switch
/// for its paths, so this is how its real code is run without touching the machine's own files.
#ifndef TOOLS_COMMON_ALTERNATE_ROOT_H
#define TOOLS_COMMON_ALTERNATE_ROOT_H

#include <stdexcept>
#include <string>

namespace common {

namespace alternate_root {

/// A folder cannot be the root. what() names the folder, the reason and what would be right.
class Refused : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// Finds out whether enter would succeed, by trying it in a child process. Changes nothing.
///
/// @param folder  the root in question, relative to the current folder or absolute
/// @throws Refused
void requireUsable(std::string const& folder);

/// Makes the folder the process's root and its current folder, for good. Load every library before.
///
/// @param folder  the new root, relative to the current folder or absolute
/// @throws Refused when it cannot; the caller must then exit, not continue in its present root
void enter(std::string const& folder);

/// The folder that was entered, as it was given; empty for the machine's own root.
std::string const& entered();

/// A path of the root that was entered as a command outside it has to name it; between single quotes.
std::string quotedFromOutside(std::string const& path);

} // namespace alternate_root

} // namespace common

#endif
