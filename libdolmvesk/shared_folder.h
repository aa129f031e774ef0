/// Databases in a folder that other users may write: how the super-user opens them and gives them owner and mode.
///
/// Any user who may write the folder can put a link, a hard link, a FIFO or a crafted journal next to the database or in
/// its place, at any moment. The owner of a link means nothing.
#ifndef LIBDOLMVESK_SHARED_FOLDER_H
#define LIBDOLMVESK_SHARED_FOLDER_H

#include "libdolmvesk/plat_utils.h"

#include <memory>
#include <sqlite3.h>
#include <string>

/// Whether other users than root may write a folder: its owner is not root, or the bit for all is set. Deliberate: a
/// group's bit does not count; administrators write these folders. Links are followed.
bool veskiOthersMayWriteIn(std::string const& folder);

/// Withdraws the right of all to write a folder or file that root owns. A link is not followed, and a file with several
/// hard links stays as it is. Does nothing for an ordinary user.
///
/// @return whether a folder or file of root's is at the path, not writable by all
bool veskiWithdrawFromOthers(std::string const& path);

/// Closing any descriptor of a file releases all locks that the process has on it. Where no other kind of descriptor
/// exists (macOS), those that this module has opened stay open until the last copy of the result is destroyed.
///
/// @return null on systems that do not need it
std::shared_ptr<void> veskiKeepDescriptors();

/// Gives a folder or file in such a folder its owner and mode, through a descriptor. Call it as the super-user. A link or
/// a file with several hard links is left unchanged; failures are ignored.
///
/// @param path    what to change
/// @param access  owner and modes
void veskiGiveAccessInSharedFolder(std::string const& path, DatabaseAccess const& access);

/// SQLite's default file layer, restricted to one database and its rollback journal, both regular files. Every other
/// file counts as absent: it is neither opened nor deleted, whatever a journal names. Shared memory, which other users
/// could truncate, is never used: SQLite maps it only next to a `-wal` file. A database in write-ahead mode opens and
/// cannot be read.
class RestrictedVfs : private sqlite3_vfs
{
public:
    /// @param path       the database's file, absolute
    /// @param mayChange  whether the files become root's when they are opened, so that no other user can exchange them
    ///                   afterwards; otherwise the journal is not opened at all
    RestrictedVfs(std::string path, bool mayChange);
    RestrictedVfs(RestrictedVfs const&) = delete;
    RestrictedVfs& operator=(RestrictedVfs const&) = delete;
    ~RestrictedVfs() = default;

    /// Opens a connection, which must be closed before this object is destroyed.
    ///
    /// @return as sqlite3_open_v2
    int open(int flags, sqlite3** database);

private:
    struct Calls;

    sqlite3_vfs* const base;
    std::string const database;
    std::string const journal;
    std::string const ownName;
    bool const mayChange;
};

/// Whether veskiOpenConnection accepts a file as it is now. Changes nothing.
bool veskiMayOpenDatabase(std::string const& folder, std::string const& path);

/// Opens a connection to a database file. As the super-user, in a folder that others may write, it is restricted, and
/// refused if the file or its journal is anything but a regular file, or has several hard links. A file of root's that
/// all may write is accepted with any number of links: opening it gives no user a right that the user lacks.
///
/// Unless opened for reading only, the folder and the file then become root's and the folder gets the sticky bit, before
/// anything is opened by name.
///
/// @param folder  folder of the file
/// @param path    the file, absolute
/// @param flags   of sqlite3_open_v2
/// @param vfs     receives the restricted layer if one is needed; keep it until the connection is closed
/// @param database  receives the connection, with some errors as well; close it. Null if refused
/// @return as sqlite3_open_v2; SQLITE_CANTOPEN if refused
int veskiOpenConnection(std::string const& folder, std::string const& path, int flags,
                        std::unique_ptr<RestrictedVfs>& vfs, sqlite3** database);

#endif
