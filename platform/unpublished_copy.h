/// A copy that grows where nobody else can reach it and is published under its name when it is complete.
#ifndef PLATFORM_UNPUBLISHED_COPY_H
#define PLATFORM_UNPUBLISHED_COPY_H

#include <string>

namespace platform {

/// Owns a folder beside the target that only the process's user can enter. It and an unpublished copy in
/// it are removed with the object.
class UnpublishedCopy
{
public:
    /// @param target  path under which the copy will be published; its folder exists
    explicit UnpublishedCopy(std::string target);
    UnpublishedCopy(UnpublishedCopy const&) = delete;
    UnpublishedCopy& operator=(UnpublishedCopy const&) = delete;
    ~UnpublishedCopy();

    /// Where the copy is to be made. Nothing can be made there when the folder could not be created.
    std::string const& path() const { return copy; }

    /// Gives the copy its name. Its files lose their set-user, set-group and sticky bits before: the copy may
    /// belong to somebody else than what it was made of.
    ///
    /// @return whether the copy stands at the target; false, with the target as it was, when there is none
    ///         or something stands there already
    bool publish();

private:
    std::string target;
    std::string folder;
    std::string copy;
};

} // namespace platform

#endif
