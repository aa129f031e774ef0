/* The public headers in a C99 program: they compile, and the functions that they declare link. */
#include "hooks/CustomHooks.h"
#include "libdolmvesk/pcd_compat.h"
#include "libdolmvesk/session.h"
#include "libdolmvesk/vesk_status.h"

#include <stddef.h>

uint32_t callEachFunctionFromC(VeskSession* s, uint32_t* time);

uint32_t callEachFunctionFromC(VeskSession* s, uint32_t* time)
{
    struct HookProperty const property = {"name", "value"};
    int32_t status = veskOpenSession(&s) | veskOpenSessionNoCreate(&s) | veskGetLastModTime(time);
    status |= pcdOpenSession(&s) | pcdOpenSessionNoCreate(&s) | pcdGetLastModTime(time);
    status |= pcdOpenCacheSession(&s) | pcdOpenCacheSessionNoCreate(&s) | pcdCacheGetLastModTime(time);
    status |= veskSessionCommit(s) | veskSessionRollback(s) | veskCloseSession(s) | veskVerifyIntegrity();
    status |= pcdSessionCommit(s) | pcdSessionRollback(s) | pcdCloseSession(s) | veskBackup();
    status |= pcdGetDomainData(s, 0, "", "", NULL) | pcdSetDomainData(s, 0, "", "", NULL);
    status |= pcdRemoveDomainData(s, 0, "", "") | pcdGetDomainDataKeys(s, 0, "", NULL);
    status |= pcdGetDomainDataSubdomains(s, 0, NULL);
    return status == kVeskOK ? QvInstallerCustomHookProc(&property, 0, kHookInstall, 0, NULL) : kHookOK;
}
