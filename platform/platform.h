/// Operating-system services: well-known folders, files, identifiers and property lists. One set of sources per
/// system. See home_folder.h for work in a user's home.
///
/// Paths are byte strings in the file system's encoding. Nothing is logged; a failure is a false or empty result.
/// std::bad_alloc is the only exception.
#ifndef PLATFORM_PLATFORM_H
#define PLATFORM_PLATFORM_H

#include <string>
#include <sys/types.h>

namespace platform {

/// Finds the computer-wide Application Support folder. Creates nothing; the folder need not exist.
///
/// @param out  receives the path, without a trailing "/"; untouched on failure
/// @return whether the system knows the folder
bool localApplicationSupport(std::string& out);

/// The home folder of the process's user. The POSIX sources use HOME if it is set, else the user's record; Foundation
/// uses only the user's record.
///
/// @return the path; empty if the user has none
std::string homeDirectory();

/// Makes a new random identifier.
///
/// @return 36 characters: upper-case hexadecimal digits in groups of 8, 4, 4, 4 and 12, joined by hyphens
std::string newUUIDString();

/// Atomically writes an XML property list whose root is a dictionary with one string entry. The file replaces an
/// existing one; a failure leaves the path as it was. Its mode is 0644, less the process's umask.
///
/// @param path   file to write, in a folder that exists
/// @param key    UTF-8
/// @param value  UTF-8
/// @return whether the file is in place
bool writePropertyList(std::string const& path, std::string const& key, std::string const& value);

/// @return whether anything exists at the path, following links
bool fileExists(std::string const& path);

/// Creates a folder with all missing ones above it.
///
/// @param mode  permission bits of each folder made, less the process's umask
/// @return whether a folder exists at the path now; a failure leaves the folders made so far
bool createDirectoryTree(std::string const& path, mode_t mode);

} // namespace platform

#endif
