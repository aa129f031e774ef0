#include "platform/platform.h"

#include <cstdlib>
#include <pwd.h>
#include <unistd.h>

namespace platform {

std::string homeDirectory()
{
    char const* const home = std::getenv("HOME");
    if (home != nullptr && *home != '\0') {
        return home;
    }
    passwd const* const user = getpwuid(getuid());
    return user != nullptr ? user->pw_dir : "";
}

} // namespace platform
