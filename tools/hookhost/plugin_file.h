/// The plug-in as a file, examined without running any of its code.
#ifndef TOOLS_HOOKHOST_PLUGIN_FILE_H
#define TOOLS_HOOKHOST_PLUGIN_FILE_H

#include <string>

namespace hookhost {

/// Checks that a file exists, can be read and is a library that this program can load.
///
/// @throws Refusal (kExitNotLoadable)
void requirePluginFile(std::string const& path);

/// Checks that a library exports the plain entry points, where its names can be read without loading it.
///
/// @param path  a file that requirePluginFile accepts
/// @throws Refusal (kExitNotLoadable for a damaged file, kExitSymbolMissing)
void requireEntryPoints(std::string const& path);

/// Refuses a plug-in that cannot be loaded.
///
/// @param reason  what is wrong with the file, and what to do
/// @throws Refusal (kExitNotLoadable)
[[noreturn]] void refusePlugin(std::string const& path, std::string const& reason);

/// Refuses a plug-in that lacks an entry point.
///
/// @throws Refusal (kExitSymbolMissing)
[[noreturn]] void refuseWithoutEntry(std::string const& path, char const* entryPoint);

} // namespace hookhost

#endif
