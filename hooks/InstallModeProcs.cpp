#include "hooks/PhaseProcs.h"
#include "hooks/Tessarine.h"

uint32_t InstallPreSystemCheckProc(CCustomHookSession const& session)
{
    log(session, "::FT::In InstallPreSystemCheckProc");
    closeConflictingProcesses(session);
    return kHookOK;
}

uint32_t PrePayloadInstallProc(CCustomHookSession const& session)
{
    log(session, "::FT::In PrePayloadInstallProc");
    return kHookOK;
}

uint32_t PostPayloadInstallProc(CCustomHookSession const& session)
{
    log(session, "::FT::In PostPayloadInstallProc");
    createUUIDFile(session);
    copyCustomEventsDATfileFromPreviousInstall(session);
    return kHookOK;
}

uint32_t InstallSessionOpenProc(CCustomHookSession const& session)
{
    log(session, "::FT::In InstallSessionOpenProc");
    return kHookOK;
}

uint32_t InstallSessionCloseProc(CCustomHookSession const& session)
{
    log(session, "::FT::In InstallSessionCloseProc");
    return kHookOK;
}
