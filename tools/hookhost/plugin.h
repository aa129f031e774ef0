/// The plug-in as a loaded library.
#ifndef TOOLS_HOOKHOST_PLUGIN_H
#define TOOLS_HOOKHOST_PLUGIN_H

#include "hooks/CustomHooks.h"

#include <string>

namespace hookhost {

/// A loaded plug-in and its plain entry points.
struct Plugin
{
    void* library;
    decltype(&QvInstallerCustomHookInitSession) open;
    decltype(&QvInstallerCustomHookProc) proc;
    decltype(&QvInstallerCustomHookCloseSession) close;
};

/// Loads a plug-in with every symbol bound at once: a missing library or symbol is found before another root is
/// entered.
///
/// @throws Refusal (kExitNotLoadable, kExitSymbolMissing)
Plugin loadPlugin(std::string const& path);

/// Unloads it: its destructors run.
void unloadPlugin(Plugin const& plugin);

/// Loads a plug-in and describes what it exports: each plain entry point, exported or missing, and the phase
/// procedures that it exports.
///
/// @param allEntries  receives whether every plain entry point is exported
/// @return the description, in lines
/// @throws Refusal (kExitNotLoadable)
std::string describePlugin(std::string const& path, bool& allEntries);

} // namespace hookhost

#endif
