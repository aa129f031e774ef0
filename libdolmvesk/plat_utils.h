/// Where the databases lie, and the file operations that the record library needs: paths, folders, copies,
/// owners and modes. Nothing here logs or keeps state. std::bad_alloc is the only exception.
///
/// Links are followed. The super-user follows none, and changes no file with several hard links, in a folder that other
/// users may write: see shared_folder.h.
#ifndef LIBDOLMVESK_PLAT_UTILS_H
#define LIBDOLMVESK_PLAT_UTILS_H

#include <cstdint>
#include <string>
#include <string_view>
#include <sys/types.h>
#include <vector>

/// The folder below which every database lies: the computer-wide Application Support folder's "Zelko".
///
/// @param out  receives the path; untouched on failure
/// @return whether the system knows the folder; nothing is created
bool veskiDbPath(std::string& out);

/// @return whether the path can be examined
bool veskiPathExists(std::string const& path);

/// @return whether the path names a regular file. Deliberate: one mode bit is tested, which a socket has too.
bool veskiFileExists(std::string const& path);

/// @return whether the path names a folder. Deliberate: one mode bit is tested, which a block device and a
///         socket have too.
bool veskiDirectoryExists(std::string const& path);

/// @return the last modification in seconds since 1970-01-01 UTC, its low 32 bits; 0 when the path cannot be
///         examined
uint32_t veskiGetFileModTime(std::string const& path);

/// @param parent  receives the folder part of the path, as dirname(3) sees it; may be the path itself
/// @return true
bool veskiPathParent(std::string const& path, std::string& parent);

/// Joins two parts of a path with exactly one "/"; slashes that lead the tail are dropped.
///
/// @param base  folder, not empty
/// @param tail  what to append, no part of out; empty: the result is the base as it is
/// @param out   receives the path; may be the base; untouched on failure
/// @return false when the two lengths add up to more than 1024 bytes
bool veskiPathAppend(std::string const& base, std::string_view tail, std::string& out);

/// Creates one folder, mode 0775. Only the super-user creates folders.
///
/// Changes the process's file mask for the length of one system call: not for two threads at once.
///
/// @return kVeskOK (also when the folder exists); kVeskAccessDenied (not the super-user, or refused by the
///         system); kVeskInvalidArgument (a name too long); else kVeskIOError
int32_t veskiCreateDirectory(std::string const& path);

/// Creates a folder with all missing ones above it. A failure leaves the folders made so far.
///
/// @return kVeskOK; kVeskIOError (something other than a folder is in the way); else the status of
///         veskiCreateDirectory
int32_t veskiCreatePath(std::string const& path);

/// Reads a whole file with one read call.
///
/// @param out  receives the bytes; untouched when the file cannot be opened, its length otherwise the file's
/// @return whether that one call gave the whole file. Deliberate: a short read is a failure, not a reason to
///         read on; the file is changing
bool veskiLoadFileContents(std::string const& path, std::vector<unsigned char>& out);

/// Copies a database file over another, which ends with mode 0644. Not atomic, and outside any lock.
///
/// The source is read through SQLite, so that locks which a session of this process holds on it stay.
///
/// @return false if the source cannot be examined or is not safe to read, both are one file (nothing is changed), or a read or write fails
///         (the target is then incomplete). Deliberate: true although nothing was copied if either file cannot be
///         opened; callers treat a backup that cannot be written as no reason to fail
bool veskiCopyDatabaseFile(std::string const& source, std::string const& target);

/// Owner and modes of a database and its folder.
struct DatabaseAccess
{
    uid_t owner;
    gid_t group;
    mode_t folder; ///< permission bits
    mode_t file;   ///< permission bits
};

/// @param shared  false: only the super-user writes; true: every user does, and may create files in the folder
DatabaseAccess const& databaseAccess(bool shared);

/// Sets a database file's mode to 0644. As the super-user, not in a folder that others may write.
///
/// @return 0, or -1 with errno set
int veskiSetDBMod(std::string const& path);

/// Gives a database's folder and then its file their modes, and as the super-user their owner, user 0 and
/// group 80. What is missing is skipped; failures are ignored.
///
/// @param folder    folder of the database
/// @param fileName  name of the file in it
/// @param shared    false: 0755 and 0644; true: 01777 and 0666, for a store that every user writes
/// @return kVeskOK
int32_t veskiSetDbAccess(std::string const& folder, std::string const& fileName, bool shared);

/// Called with a database file's path after each commit.
///
/// Deliberate: does nothing; SQLite has synced the file already. Flushing more would be added here.
inline void veskiFlushFileBuffers(std::string const& /*path*/)
{
}

#endif
