#include "tools/hookhost/plugin_file.h"

#include "tools/hookhost/exit_status.h"
#include "tools/hookhost/hook_interface.h"
#include "tools/hookhost/library_format.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

namespace hookhost {

void requirePluginFile(std::string const& path)
{
    struct stat status = {};
    if (stat(path.c_str(), &status) != 0) {
        refusePlugin(path, fmt::format("{}; give the path of a dynamic library", std::strerror(errno)));
    }
    if (!S_ISREG(status.st_mode)) {
        refusePlugin(path, "this is not a file; give the path of a dynamic library");
    }
    int const file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0) {
        refusePlugin(path, fmt::format("it cannot be read: {}", std::strerror(errno)));
    }
    close(file);
    requireLoadableKind(path);
}

void requireEntryPoints(std::string const& path)
{
    auto const names = exportedNames(path);
    for (char const* const entry : entryPoints) {
        if (names && names->count(entry) == 0) {
            refuseWithoutEntry(path, entry);
        }
    }
}

void refusePlugin(std::string const& path, std::string const& reason)
{
    throw Refusal(kExitNotLoadable, fmt::format("plug-in '{}': {}", path, reason));
}

void refuseWithoutEntry(std::string const& path, char const* entryPoint)
{
    throw Refusal(
        kExitSymbolMissing,
        fmt::format("plug-in '{}' does not export {}; a plug-in needs {} as plain (extern \"C\") functions",
                    path, entryPoint, fmt::join(entryPoints, ", ")));
}

} // namespace hookhost
