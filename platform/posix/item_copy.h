/// Copies of files, links and folders between open folders, each side with rights of its own.
#ifndef PLATFORM_POSIX_ITEM_COPY_H
#define PLATFORM_POSIX_ITEM_COPY_H

#include "platform/descriptor.h"
#include "platform/thread_rights.h"

#include <string>
#include <sys/stat.h>

namespace platform {

/// A name in an open folder, and whose rights reach it.
struct Place
{
    int folder;
    std::string name;
    Account const* account; ///< null: the process's own rights
};

/// A folder that root owns and nobody else may write. Deliberate: a group's bit counts; in homes folders belong to
/// groups of ordinary users.
bool isClosedRootFolder(int folder);

/// Gives a file or folder owner, group, permission bits and dates of another, each as far as the thread's rights
/// reach. A file gets no set-user, set-group or sticky bit.
///
/// @return whether all were given
bool giveAttributes(int descriptor, struct stat const& source);

/// Copies a file, link or folder: see HomeFolder::copy.
///
/// @param asSuperUser  whether one side is root's alone, as isClosedRootFolder has it: such folders are entered only
///                     if they are closed, too, and a file gets its attributes with the process's own rights
bool copyItem(Place const& from, Place const& to, bool asSuperUser);

} // namespace platform

#endif
