#include "platform/platform.h"

namespace platform {

bool localApplicationSupport(std::string& out)
{
    out = "/Library/Application Support";
    return true;
}

} // namespace platform
