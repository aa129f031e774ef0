#include "tools/hookhost/library_format.h"

namespace hookhost {

// Left to the dynamic loader, which names what is wrong when it loads the file.
void requireLoadableKind(std::string const& /*path*/)
{
}

std::optional<std::set<std::string>> exportedNames(std::string const& /*path*/)
{
    return std::nullopt;
}

} // namespace hookhost
