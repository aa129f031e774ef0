#include "hooks/PhaseProcs.h"
#include "hooks/Tessarine.h"

uint32_t UninstallPreSystemCheckProc(CCustomHookSession const& session)
{
    log(session, "::FT::In UninstallPreSystemCheckProc");
    closeConflictingProcesses(session);
    return kHookOK;
}

uint32_t PrePayloadUninstallProc(CCustomHookSession const& session)
{
    log(session, "::FT::In PrePayloadUninstallProc");
    return kHookOK;
}

// Deliberate: removes nothing; a later install uses the identifier, the events file and the stores again.
uint32_t PostPayloadUninstallProc(CCustomHookSession const& session)
{
    log(session, "::FT::In PostPayloadUninstallProc");
    return kHookOK;
}

uint32_t UninstallSessionOpenProc(CCustomHookSession const& session)
{
    log(session, "::FT::In UninstallSessionOpenProc");
    return kHookOK;
}

uint32_t UninstallSessionCloseProc(CCustomHookSession const& session)
{
    log(session, "::FT::In UninstallSessionCloseProc");
    return kHookOK;
}
