#include "platform/posix/temporary_file.h"

#include "platform/platform.h"

#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace platform {

TemporaryFile::TemporaryFile(std::string targetPath, mode_t mode)
    : target(std::move(targetPath)), name(target + "." + newUUIDString()),
      descriptor(open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, mode))
{
}

TemporaryFile::~TemporaryFile()
{
    if (isOpen()) {
        close(descriptor);
        unlink(name.c_str()); // a published file no longer has this name
    }
}

bool TemporaryFile::write(char const* bytes, size_t size)
{
    while (size > 0) {
        ssize_t const written = ::write(descriptor, bytes, size);
        if (written < 0) {
            return false;
        }
        bytes += written;
        size -= static_cast<size_t>(written);
    }
    return true;
}

bool TemporaryFile::replaceTarget()
{
    return fsync(descriptor) == 0 && rename(name.c_str(), target.c_str()) == 0;
}

} // namespace platform
