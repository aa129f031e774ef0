/// A file that is written beside its target and published under the target's name when it is complete.
#ifndef PLATFORM_POSIX_TEMPORARY_FILE_H
#define PLATFORM_POSIX_TEMPORARY_FILE_H

#include <cstddef>
#include <string>
#include <sys/types.h>

namespace platform {

/// Owns the descriptor and the name; an unpublished file is removed with the object.
class TemporaryFile
{
public:
    /// Creates a new, empty file in the target's folder.
    ///
    /// @param target  path under which the file will be published
    /// @param mode    permission bits, less the process mask
    TemporaryFile(std::string target, mode_t mode);
    TemporaryFile(TemporaryFile const&) = delete;
    TemporaryFile& operator=(TemporaryFile const&) = delete;
    ~TemporaryFile();

    /// @return whether the file could be created; when not, every other operation fails
    bool isOpen() const { return descriptor >= 0; }

    /// Appends all the bytes.
    bool write(char const* bytes, size_t size);

    bool setMode(mode_t mode);

    /// Brings the bytes to the disk and gives the file the target's name, in one step.
    ///
    /// @return whether the file stands at the target; false leaves the target as it was
    bool replaceTarget();

    /// As replaceTarget, but refuses a target that exists.
    bool becomeTarget();

private:
    std::string target;
    std::string name;
    int descriptor;
};

} // namespace platform

#endif
