/// The databases' root folder, and the file operations that the record library needs: paths, folders, copies, owners
/// and modes. Nothing here logs or keeps state. std::bad_alloc is the only exception.
///
/// Links are followed, with one exception: in a folder that other users may write, the super-user follows no link and
/// changes no file that has several hard links (see shared_folder.h).
#ifndef LIBDOLMVESK_PLAT_UTILS_H
#define LIBDOLMVESK_PLAT_UTILS_H

#include <cstdint>
#include <string>
#include <string_view>
#include <sys/types.h>
#include <vector>

/// Finds the root folder of all databases: "Zelko" in the computer-wide Application Support folder. Creates nothing.
///
/// @param out  receives the path; untouched on failure
/// @return whether the system knows the Application Support folder
bool veskiDbPath(std::string& out);

/// @return whether the path can be examined
bool veskiPathExists(std::string const& path);

/// @return whether the path names a regular file, or a socket, which shares the mode bit that is tested
bool veskiFileExists(std::string const& path);

/// @return whether the path names a folder, or a block device or socket, which share the mode bit that is tested
bool veskiDirectoryExists(std::string const& path);

/// @return the low 32 bits of the time of the last modification, in seconds since 1970-01-01 UTC; 0 if the path cannot
///         be examined
uint32_t veskiGetFileModTime(std::string const& path);

/// @param parent  receives the folder part of the path, as dirname(3) defines it; may be the same object as the path
/// @return always true
bool veskiPathParent(std::string const& path, std::string& parent);

/// Joins two parts of a path with exactly one "/"; slashes that lead the tail are dropped.
///
/// @param base  folder, not empty
/// @param tail  what to append; must not point into out. If empty, the result is the base unchanged
/// @param out   receives the path; may be the same object as the base; untouched on failure
/// @return false when the two lengths add up to more than 1024 bytes
bool veskiPathAppend(std::string const& base, std::string_view tail, std::string& out);

/// Creates one folder, mode 0775. Only the super-user can create folders.
///
/// Changes the process's umask during one system call: do not call it from two threads at once.
///
/// @return kVeskOK (even if the folder exists); kVeskAccessDenied (not the super-user, or refused by the
///         system); kVeskInvalidArgument (a name is too long); else kVeskIOError
int32_t veskiCreateDirectory(std::string const& path);

/// Creates a folder with all missing ones above it. A failure leaves the folders made so far.
///
/// @return kVeskOK; kVeskIOError (a part of the path exists but is not a folder); else the status of
///         veskiCreateDirectory
int32_t veskiCreatePath(std::string const& path);

/// Reads a whole file with one read call.
///
/// @param out  receives the bytes; untouched if the file cannot be opened; after a failed read as long as the file,
///             with unspecified bytes
/// @return whether that one call read the whole file. Deliberate: a short read is a failure; the file is changing
bool veskiLoadFileContents(std::string const& path, std::vector<unsigned char>& out);

/// Copies a database file over another file, which gets mode 0644. Not atomic, and takes no lock.
///
/// The source is read through SQLite, so that this process's sessions keep their locks on it.
///
/// @return false if the source cannot be examined or is not safe to read, if both paths lead to one file (nothing is
///         changed), or if a read or write fails (the target is then incomplete). True, with nothing copied, if either
///         file cannot be opened: a backup that may not be written is not reported
bool veskiCopyDatabaseFile(std::string const& source, std::string const& target);

/// Owner and modes of a database and its folder.
struct DatabaseAccess
{
    uid_t owner;
    gid_t group;
    mode_t folder; ///< permission bits
    mode_t file;   ///< permission bits
};

/// @param shared  false: only the super-user may write; true: every user may, and may create files in the folder
DatabaseAccess const& databaseAccess(bool shared);

/// Sets a database file's mode to 0644. The super-user cannot do so in a folder that other users may write (EACCES).
///
/// @return 0, or -1 with errno set
int veskiSetDBMod(std::string const& path);

/// Sets the modes of a database's folder and file, and as the super-user also their owner and group: see
/// databaseAccess. A missing folder or file is skipped; failures are ignored.
///
/// @param folder    folder of the database
/// @param fileName  name of the file in it
/// @param shared    as databaseAccess
/// @return kVeskOK
int32_t veskiSetDbAccess(std::string const& folder, std::string const& fileName, bool shared);

/// Called with a database file's path after each commit. Does nothing: SQLite has already synced the file.
inline void veskiFlushFileBuffers(std::string const& /*path*/)
{
}

#endif
