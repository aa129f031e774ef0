/// The fifteen phase procedures. Each logs "::FT::In " and its own name, then runs its custom actions in the order
/// given here. All except PostPayloadReinstallProc return kHookOK even if an action fails.
#ifndef HOOKS_PHASE_PROCS_H
#define HOOKS_PHASE_PROCS_H

#include "hooks/HookSession.h"

// Install.
/// Runs closeConflictingProcesses.
HOOK_VISIBLE uint32_t InstallPreSystemCheckProc(CCustomHookSession const& session);
HOOK_VISIBLE uint32_t PrePayloadInstallProc(CCustomHookSession const& session);
/// Runs createUUIDFile, then copyCustomEventsDATfileFromPreviousInstall.
HOOK_VISIBLE uint32_t PostPayloadInstallProc(CCustomHookSession const& session);
HOOK_VISIBLE uint32_t InstallSessionOpenProc(CCustomHookSession const& session);
HOOK_VISIBLE uint32_t InstallSessionCloseProc(CCustomHookSession const& session);

// Reinstall.
/// Runs closeConflictingProcesses.
HOOK_VISIBLE uint32_t ReinstallPreSystemCheckProc(CCustomHookSession const& session);
HOOK_VISIBLE uint32_t PrePayloadReinstallProc(CCustomHookSession const& session);
/// Runs addEntryToCacheDB, whose result is the status, then copyCustomEventsDATfileFromPreviousInstall.
HOOK_VISIBLE uint32_t PostPayloadReinstallProc(CCustomHookSession const& session);
HOOK_VISIBLE uint32_t ReinstallSessionOpenProc(CCustomHookSession const& session);
HOOK_VISIBLE uint32_t ReinstallSessionCloseProc(CCustomHookSession const& session);

// Uninstall.
/// Runs closeConflictingProcesses.
HOOK_VISIBLE uint32_t UninstallPreSystemCheckProc(CCustomHookSession const& session);
HOOK_VISIBLE uint32_t PrePayloadUninstallProc(CCustomHookSession const& session);
HOOK_VISIBLE uint32_t PostPayloadUninstallProc(CCustomHookSession const& session);
HOOK_VISIBLE uint32_t UninstallSessionOpenProc(CCustomHookSession const& session);
HOOK_VISIBLE uint32_t UninstallSessionCloseProc(CCustomHookSession const& session);

#endif
