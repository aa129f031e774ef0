/// A user's home folder and what this process does below it.
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
/// group for its file-system calls and gives them back before it returns. So a link leads no further than its user
/// could go, and nothing is read, changed or made that the user could not. If these rights cannot be taken, every
/// operation returns false without a look below the home. The same holds in a home of the super-user's own that
/// every user may write.
///
/// The folders of the super-user's in such a home, which installers leave there, are served as well (POSIX systems):
/// what is in a folder that root owns and nobody else may write, with only such folders above it up to the home, is
/// handled as the super-user. It is reached by descriptors alone, and no link is followed there.
///
/// Nothing is logged. std::bad_alloc is the only exception.
class HomeFolder
{
public:
    /// @param path  the home; links up to there are trusted
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

    /// Gives a folder the home's own owner, group, permission bits and dates, each as far as the rights reach.
    ///
    /// @return whether all were given; what could be given is
    bool giveOwnAttributes(std::string const& below) const;

    /// Copies a file, or a folder with all it holds, with owner, group, permission bits and dates as far as the
    /// rights reach. A link is copied as a link. No copied file keeps a set-user, set-group or sticky bit: it may
    /// belong to another user than the source. Holes stay holes.
    ///
    /// The copy appears complete or not at all, and the source is only read.
    ///
    /// @param from  what to copy
    /// @param to    where to; its folder exists, and nothing exists at the path itself, not even a dangling link
    /// @return whether the copy was made; if the target exists, it stays as it was
    bool copy(std::string const& from, std::string const& to) const;

private:
    /// Runs a step with the rights of the home's owner; false if they cannot be had.
    template<class Step>
    bool asOwner(Step step) const
    {
        if (!accessible) {
            return false;
        }
        ThreadRights const rights(account());
        return rights.taken() && step();
    }

    /// Opens the folder of a path if it is one of the super-user's own as described above; POSIX systems only.
    Descriptor rootsFolderOf(std::string const& below) const;

    /// Whose rights to take; null for the process's own.
    Account const* account() const { return foreign ? &owner : nullptr; }

    std::string const path;
    std::unique_ptr<struct FileAttributes const> const
        attributes; ///< the home's; null if it cannot be examined
    Account owner = {};
    bool foreign = false;    ///< another user's home, entered by the super-user
    bool accessible = false; ///< whether anything below the home may be looked at
};

} // namespace platform

#endif
