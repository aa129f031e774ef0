/// Copies files, links and folders between open folders. Source and target may be reached with different rights.
#ifndef PLATFORM_POSIX_ITEM_COPY_H
#define PLATFORM_POSIX_ITEM_COPY_H

#include "platform/descriptor.h"
#include "platform/thread_rights.h"

#include <string>
#include <sys/stat.h>

namespace platform {

/// A name in an open folder, and the account whose rights are used there.
struct Place
{
    int folder;
    std::string name;
    Account const* account; ///< null: the process's own rights
};

/// Whether root owns a folder and no other user may write it. Deliberate: a writable folder's group counts as another
/// user; in homes, folders belong to groups of ordinary users.
bool isClosedRootFolder(int folder);

/// Gives a file or folder the owner and group, permission bits and dates of another of its kind, each if the thread's
/// rights allow it. A file gets no set-user, set-group or sticky bit.
void giveAttributes(int descriptor, struct stat const& source);

/// Copies a file, link or folder: see HomeFolder::copy.
///
/// @param asSuperUser  whether source or target is in a closed root folder: then the folders in such a source are
///                     copied only if they are closed root folders, too, and a copied file gets its attributes with the
///                     process's own rights
bool copyItem(Place const& from, Place const& to, bool asSuperUser);

} // namespace platform

#endif
