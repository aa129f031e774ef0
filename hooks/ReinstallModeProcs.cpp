#include "hooks/PhaseProcs.h"
#include "hooks/Tessarine.h"

uint32_t ReinstallPreSystemCheckProc(CCustomHookSession const& session)
{
    log(session, "::FT::In ReinstallPreSystemCheckProc");
    closeConflictingProcesses(session);
    return kHookOK;
}

uint32_t PrePayloadReinstallProc(CCustomHookSession const& session)
{
    log(session, "::FT::In PrePayloadReinstallProc");
    return kHookOK;
}

uint32_t PostPayloadReinstallProc(CCustomHookSession const& session)
{
    log(session, "::FT::In PostPayloadReinstallProc");
    // No createUUIDFile: a reinstall keeps the identifier of the first install.
    int const status = addEntryToCacheDB(session);
    copyCustomEventsDATfileFromPreviousInstall(session);
    return static_cast<uint32_t>(status);
}

uint32_t ReinstallSessionOpenProc(CCustomHookSession const& session)
{
    log(session, "::FT::In ReinstallSessionOpenProc");
    return kHookOK;
}

uint32_t ReinstallSessionCloseProc(CCustomHookSession const& session)
{
    log(session, "::FT::In ReinstallSessionCloseProc");
    return kHookOK;
}
