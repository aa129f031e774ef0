/// The services that only the operating system can give: its well-known folders, its file manager, its
/// identifiers and its property lists. One header; one set of sources per system.
///
/// Paths are byte strings in the file system's encoding. No function decides anything for its caller or
/// logs, and a failure is a false or empty result. std::bad_alloc is the only exception.
#ifndef PLATFORM_PLATFORM_H
#define PLATFORM_PLATFORM_H

#include <memory>
#include <string>

namespace platform {

/// Finds the computer-wide Application Support folder. Creates nothing; the folder need not exist.
///
/// @param out  receives the path, without a trailing "/"; untouched on failure
/// @return whether the system knows the folder
bool localApplicationSupport(std::string& out);

/// The home folder of the process's user. Foundation goes by the user's record; the POSIX sources go by HOME
/// where it is set.
///
/// @return the path; empty when the user has none
std::string homeDirectory();

/// Makes a new random identifier.
///
/// @return 36 characters: upper-case hexadecimal digits in groups of 8, 4, 4, 4 and 12, joined by hyphens
std::string newUUIDString();

/// Writes an XML property list whose root is a dictionary with one string entry. The file replaces what
/// stands at the path, and appears whole or not at all; a failure leaves the path as it was.
///
/// @param path   file to write, in a folder that exists
/// @param key    UTF-8
/// @param value  UTF-8
/// @return whether the file is in place
bool writePropertyList(std::string const& path, std::string const& key, std::string const& value);

/// @return whether anything exists at the path, following links
bool fileExists(std::string const& path);

/// Creates a folder with all missing ones above it, with the process's default modes.
///
/// @return whether a folder stands at the path now; a failure leaves the folders made so far
bool createDirectoryTree(std::string const& path);

/// Copies a file or a folder with all it holds, with their permission bits. A link is copied as a link. No
/// copied file keeps a set-user, set-group or sticky bit: the copy belongs to the process's user.
///
/// The target appears whole or not at all; the source is only read.
///
/// @param from  what to copy
/// @param to    where to; its folder exists, and nothing, not even a dangling link, stands there
/// @return whether the copy was made; false when the target exists, which stays as it was
bool copyItem(std::string const& from, std::string const& to);

/// The attributes of a file or folder that applyAttributes can give to another: at least owner, group,
/// permission bits and dates. Opaque; shared and never changed.
using Attributes = std::shared_ptr<struct FileAttributes const>;

/// Reads the attributes of what the path names, following links.
///
/// @return the attributes; null when nothing is there
Attributes attributesOf(std::string const& path);

/// Gives a file or folder the attributes of another, each as far as the process may. A link at the path is
/// not followed and stays as it is.
///
/// @param attributes  null: nothing is done
/// @param path        file or folder to change
/// @return whether every attribute was applied; what could be applied is
bool applyAttributes(Attributes const& attributes, std::string const& path);

/// Whether the process's user may read, write, or execute (for a folder: search) what the path names. The
/// system is asked, with the process's real user.
bool isReadable(std::string const& path);
bool isWritable(std::string const& path);
bool isExecutable(std::string const& path);

} // namespace platform

#endif
