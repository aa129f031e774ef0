/// A user's home folder and the operations on files below it.
#ifndef PLATFORM_HOME_FOLDER_H
#define PLATFORM_HOME_FOLDER_H

#include "platform/descriptor.h"
#include "platform/thread_rights.h"

#include <memory>
#include <string>

namespace platform {

/// Works in a home folder. Every operation takes paths below it, each beginning with "/".
///
/// The super-user works in another user's home as that user: each operation takes the rights of the home's owner and
/// group for its file-system calls and gives them up before it returns. So nothing is read, changed or created that the
/// user could not read, change or create, even through links. If these rights cannot be taken, every operation returns
/// false and touches nothing below the home. So does every operation if the home is the super-user's own and every user
/// may write it.
///
/// Installers leave folders of root's in users' homes. On POSIX systems, these are exempt from the rule: the super-user
/// keeps its rights in a folder that only root can write, if the same holds for all folders above it up to the home.
/// Such a folder is reached only through descriptors, and no link is followed there.
///
/// Nothing is logged. std::bad_alloc is the only exception.
class HomeFolder
{
public:
    /// @param path  the home; links in this path are trusted
    explicit HomeFolder(std::string path);
    ~HomeFolder();

    /// @return whether anything exists at the path, following links
    bool exists(std::string const& below) const;

    /// @return whether the path is a folder or file that can be read, written and executed (for a folder: searched)
    bool isUsable(std::string const& below) const;

    /// Creates a folder with all missing ones above it, with the process's default modes.
    ///
    /// @return whether the folder exists now; a failure leaves the folders made so far
    bool createFolders(std::string const& below) const;

    /// Gives a folder the home's own owner, group, permission bits and dates, each if the rights allow it.
    void giveOwnAttributes(std::string const& below) const;

    /// Copies a file, or a folder with all its contents, with owner and group, permission bits and dates, each if the
    /// rights allow it. A link is copied as a link. No copied file keeps a set-user, set-group or sticky bit: its owner
    /// may differ from the source's. Holes are preserved.
    ///
    /// The copy is made completely or not at all, and the source is not changed.
    ///
    /// @param from  file, link or folder to copy
    /// @param to    path of the copy; its folder must exist, and nothing, not even a dangling link, at the path itself
    /// @return whether the copy was made; if the target exists, it stays as it was
    bool copy(std::string const& from, std::string const& to) const;

private:
    /// Runs a step with the rights of the home's owner; false if they cannot be taken.
    template<class Step>
    bool asOwner(Step step) const
    {
        return accessible && withRights(account(), step);
    }

    /// Opens the folder of a path if it is one of root's as described above; POSIX systems only.
    Descriptor rootsFolderOf(std::string const& below) const;

    /// The account whose rights to take; null for the process's own.
    Account const* account() const { return foreign ? &owner : nullptr; }

    std::string const path;
    /// The home's; null if it cannot be examined.
    std::unique_ptr<struct FileAttributes const> const attributes;
    Account owner = {};
    bool foreign = false;    ///< another user's home, entered by the super-user
    bool accessible = false; ///< whether anything below the home may be looked at
};

} // namespace platform

#endif
