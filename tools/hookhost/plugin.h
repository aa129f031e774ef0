/// The plug-in as a file and as a loaded library.
#ifndef TOOLS_HOOKHOST_PLUGIN_H
#define TOOLS_HOOKHOST_PLUGIN_H

#include "hooks/CustomHooks.h"

#include <string>

namespace hookhost {

/// The plain entry points of a loaded plug-in, which stays loaded until the process ends.
struct PluginEntries
{
    decltype(&QvInstallerCustomHookInitSession) open;
    decltype(&QvInstallerCustomHookProc) proc;
    decltype(&QvInstallerCustomHookCloseSession) close;
};

/// Checks that a file is a library of this program's word size and machine. Runs none of its code.
///
/// @throws Refusal (kExitNotLoadable)
void requirePluginFile(std::string const& path);

/// Loads a plug-in with every symbol bound at once: what it needs is found before another root is entered.
///
/// @throws Refusal (kExitNotLoadable, kExitSymbolMissing)
PluginEntries loadPlugin(std::string const& path);

/// Loads a plug-in and describes what it exports: the plain entry points and the fifteen phase procedures.
///
/// @param path        the plug-in
/// @param allEntries  receives whether every plain entry point is exported; phase procedures may lack
/// @return lines for people
/// @throws Refusal (kExitNotLoadable)
std::string describePlugin(std::string const& path, bool& allEntries);

} // namespace hookhost

#endif
