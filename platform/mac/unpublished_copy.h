/// A copy that is made in a private folder next to its target and gets its final name when it is complete.
#ifndef PLATFORM_MAC_UNPUBLISHED_COPY_H
#define PLATFORM_MAC_UNPUBLISHED_COPY_H

#include <string>

namespace platform {

/// Owns a folder next to the target that only the thread's user can enter. The folder and an unpublished copy in it
/// are removed with the object.
class UnpublishedCopy
{
public:
    /// @param target  path under which the copy will be published; its folder exists
    explicit UnpublishedCopy(std::string target);
    UnpublishedCopy(UnpublishedCopy const&) = delete;
    UnpublishedCopy& operator=(UnpublishedCopy const&) = delete;
    ~UnpublishedCopy();

    /// Where to make the copy. Nothing can be made there if the folder could not be created.
    std::string const& path() const { return copy; }

    /// Gives the copy its name. Its files first lose their set-user, set-group and sticky bits: the copy may belong
    /// to another user than the source.
    ///
    /// @return whether the copy is at the target; false, with the target as it was, if there is no copy or something
    ///         exists at the target
    bool publish();

private:
    std::string target;
    std::string folder;
    std::string copy;
};

} // namespace platform

#endif
