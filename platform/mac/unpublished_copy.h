/// A copy that is made in a private folder next to its target and gets its final name only when complete.
#ifndef PLATFORM_MAC_UNPUBLISHED_COPY_H
#define PLATFORM_MAC_UNPUBLISHED_COPY_H

#include <string>

namespace platform {

/// Owns a folder next to the target that only the thread's user can enter. The destructor removes the folder, with a
/// copy that has not been published.
class UnpublishedCopy
{
public:
    /// @param target  path under which the copy will be published; its folder exists
    explicit UnpublishedCopy(std::string target);
    UnpublishedCopy(UnpublishedCopy const&) = delete;
    UnpublishedCopy& operator=(UnpublishedCopy const&) = delete;
    ~UnpublishedCopy();

    /// The path at which to make the copy. That fails if the folder could not be created.
    std::string const& path() const { return copy; }

    /// Gives the copy its final name. Its files first lose their set-user, set-group and sticky bits: the copy's owner
    /// may differ from the source's.
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
