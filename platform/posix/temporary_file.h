/// A file that is written under a temporary name next to its target and gets the target's name when it is complete.
#ifndef PLATFORM_POSIX_TEMPORARY_FILE_H
#define PLATFORM_POSIX_TEMPORARY_FILE_H

#include <cstddef>
#include <string>
#include <sys/types.h>

namespace platform {

/// Owns the descriptor and the name. The destructor removes a file that has not been published.
class TemporaryFile
{
public:
    /// Creates a new, empty file in the target's folder.
    ///
    /// @param target  path under which the file will be published
    /// @param mode    permission bits, less the process's umask
    TemporaryFile(std::string target, mode_t mode);
    TemporaryFile(TemporaryFile const&) = delete;
    TemporaryFile& operator=(TemporaryFile const&) = delete;
    ~TemporaryFile();

    /// @return whether the file could be created; if not, every other operation fails
    bool isOpen() const { return descriptor >= 0; }

    /// Appends bytes.
    ///
    /// @return whether all were written
    bool write(char const* bytes, size_t size);

    /// Syncs the file, then atomically renames it to the target.
    ///
    /// @return whether the file is at the target; false leaves the target as it was
    bool replaceTarget();

private:
    std::string target;
    std::string name;
    int descriptor;
};

} // namespace platform

#endif
