#include "hooks/CustomHooks.h"

#include "hooks/HookSession.h"
#include "hooks/PhaseProcs.h"

#include <iterator>

namespace {

using PhaseProc = uint32_t (*)(CCustomHookSession const&);

// Row: HookInstallMode. Column: HookEntryMode.
constexpr PhaseProc phaseProcs[][5] = {
    {InstallPreSystemCheckProc, PrePayloadInstallProc, PostPayloadInstallProc, InstallSessionOpenProc,
     InstallSessionCloseProc},
    {ReinstallPreSystemCheckProc, PrePayloadReinstallProc, PostPayloadReinstallProc, ReinstallSessionOpenProc,
     ReinstallSessionCloseProc},
    {UninstallPreSystemCheckProc, PrePayloadUninstallProc, PostPayloadUninstallProc, UninstallSessionOpenProc,
     UninstallSessionCloseProc},
};

} // namespace

uint32_t QvInstallerCustomHookInitSession()
{
    return kHookOK;
}

uint32_t QvInstallerCustomHookCloseSession()
{
    return kHookOK;
}

uint32_t QvInstallerCustomHookProc(HookProperty const* propertyMap, uint32_t entryMode, int32_t installMode,
                                   int32_t reserved, HookLogCallback logCallback)
{
    CCustomHookSession const session{propertyMap, entryMode, installMode, reserved, logCallback};
    if (installMode < kHookInstall || installMode > kHookUninstall) {
        log(session, "::FT::Unsupported install mode specified.");
        return kHookUnsupportedInstallMode;
    }
    auto const& procs = phaseProcs[installMode];
    if (entryMode >= std::size(procs)) {
        log(session, "::FT::Unsupported entry mode specified.");
        return kHookUnsupportedEntryMode;
    }
    return procs[entryMode](session);
}
