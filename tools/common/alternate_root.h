/// Another root folder for the process, below which all its absolute paths then are. The product's paths are fixed:
/// this is how its real code is run without touching the machine's own files.
#ifndef TOOLS_COMMON_ALTERNATE_ROOT_H
#define TOOLS_COMMON_ALTERNATE_ROOT_H

#include <stdexcept>
#include <string>

namespace common {

namespace alternate_root {

/// A folder cannot be the root. what() names the folder, the reason and what to do.
class Refused : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// Checks whether enter would succeed, by trying it in a child process. Changes nothing.
///
/// @param folder  the root in question, relative to the current folder or absolute
/// @throws Refused
void requireUsable(std::string const& folder);

/// Makes the folder the process's root and its current folder; this cannot be reversed. Load every library before.
///
/// @param folder  the new root, relative to the current folder or absolute
/// @throws Refused if that fails; the caller must then exit, not continue in its present root
void enter(std::string const& folder);

/// The folder that was entered, as it was given; empty for the machine's own root.
std::string const& entered();

/// A path below the entered root, as a shell command outside that root must name it: with the root's folder before it,
/// in single quotes.
std::string quotedFromOutside(std::string const& path);

} // namespace alternate_root

} // namespace common

#endif
