/// The names in the hook interface: modes, phases and the symbols that a plug-in exports for them.
#ifndef TOOLS_HOOKHOST_HOOK_INTERFACE_H
#define TOOLS_HOOKHOST_HOOK_INTERFACE_H

#include <array>

namespace hookhost {

/// A name's index is its number in the hook interface.
constexpr std::array<char const*, 3> modeNames = {"install", "reinstall", "uninstall"};
constexpr std::array<char const*, 5> phaseNames = {"pre-system-check", "pre-payload", "post-payload",
                                                   "session-open", "session-close"};

/// The order in which an installer calls the phases.
constexpr std::array<char const*, 5> phasesInCallingOrder = {"session-open", "pre-system-check",
                                                             "pre-payload", "post-payload", "session-close"};

/// The plain entry points, which every plug-in needs.
constexpr char openEntry[] = "QvInstallerCustomHookInitSession";
constexpr char procEntry[] = "QvInstallerCustomHookProc";
constexpr char closeEntry[] = "QvInstallerCustomHookCloseSession";
constexpr std::array<char const*, 3> entryPoints = {openEntry, procEntry, closeEntry};

/// The phase procedures, which a plug-in may export as well. Row: install mode. Column: phase.
constexpr char const* phaseProcedures[modeNames.size()][phaseNames.size()] = {
    {"InstallPreSystemCheckProc", "PrePayloadInstallProc", "PostPayloadInstallProc", "InstallSessionOpenProc",
     "InstallSessionCloseProc"},
    {"ReinstallPreSystemCheckProc", "PrePayloadReinstallProc", "PostPayloadReinstallProc",
     "ReinstallSessionOpenProc", "ReinstallSessionCloseProc"},
    {"UninstallPreSystemCheckProc", "PrePayloadUninstallProc", "PostPayloadUninstallProc",
     "UninstallSessionOpenProc", "UninstallSessionCloseProc"},
};

} // namespace hookhost

#endif
