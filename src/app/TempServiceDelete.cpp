// CCTempService::ServiceDelete: deletes the service and waits until the service control
// manager has removed it.
#include "TempService.h"

#include "ArcaTrace.h"
#include "ScHandle.h"
#include "WmiErrorText.h"

#include <cstdio>

namespace
{
const char* const kFunction = "CCTempService::ServiceDelete";

void TraceError(const char* szText, DWORD dwErr, const char* szFormat = "Errorcode: %d, Message: %s")
{
    gg_ptrc->Trace(1, kFunction, "Internal", szText, szFormat, static_cast<int>(dwErr), WmiErrorText(dwErr));
}

void TraceInfo(unsigned nLevel, const char* szText)
{
    gg_ptrc->Trace(nLevel, kFunction, "Internal", szText, "name='%s'", gg_szTempServiceName);
}

bool Leave(bool bRet)
{
    gg_ptrc->Trace(3, kFunction, "Leave", "Method ServiceDelete has been left.", "ret=%s",
                   bRet ? "true" : "false");
    return bRet;
}

// The manager with all access; the last error is cleared before each call to the manager.
SC_HANDLE OpenManager()
{
    SetLastError(0);
    return OpenSCManagerA(nullptr, nullptr, SC_MANAGER_ALL_ACCESS);
}

SC_HANDLE OpenTheService(const CCScHandle& scm)
{
    SetLastError(0);
    return OpenServiceA(scm.Get(), gg_szTempServiceName, SERVICE_ALL_ACCESS);
}
} // namespace

bool CCTempService::ServiceDelete(const char* /*szServiceName*/)
{
    gg_ptrc->Trace(3, kFunction, "Enter", "Method ServiceDelete has been entered.", "ServiceName='%s'",
                   gg_szTempServiceName);
    CCScHandle scm(OpenManager());
    if (!scm)
    {
        TraceError("An error occurred while opening the Service Control Manager", GetLastError());
        return Leave(false);
    }
    CCScHandle service(OpenTheService(scm));
    if (!service)
    {
        const DWORD dwErr = GetLastError();
        scm.Close();
        if (dwErr == ERROR_SERVICE_DOES_NOT_EXIST)
        {
            TraceInfo(3, "The service does not existe");
            return Leave(true);
        }
        TraceError("An error occurred while opening the Service", dwErr);
        return Leave(false);
    }
    bool bRet = false;
    SetLastError(0);
    if (DeleteService(service.Get()))
    {
        TraceInfo(3, "The service was successfully deleted");
        service.Close();
        scm.Close();
        bRet = true;
    }
    else
    {
        const DWORD dwErr = GetLastError();
        scm.Close();
        TraceError("An error occurred while deleting the Service", dwErr);
        bRet = dwErr == ERROR_SERVICE_MARKED_FOR_DELETE;
    }
    // The manager removes a deleted service once no handle to it is open any more.
    for (int nPass = 0; nPass < 5; ++nPass)
    {
        TraceInfo(4, "Waiting for SCM to complete delete");
        service.Close();
        Sleep(2000);
        scm.Reset(OpenManager());
        if (!scm)
        {
            TraceError("An error occurred while opening the Service Control Manager", GetLastError());
            return Leave(false);
        }
        service.Reset(OpenTheService(scm));
        if (service)
        {
            service.Close();
            scm.Close();
            continue;
        }
        const DWORD dwErr = GetLastError();
        // Traced as an error even when it is the awaited one.
        TraceError("An error occurred while opening the Service", dwErr);
        scm.Close();
        if (dwErr == ERROR_SERVICE_DOES_NOT_EXIST)
        {
            TraceInfo(3, "The service doesn't exist => OK");
            return Leave(true);
        }
        if (dwErr == ERROR_ALREADY_EXISTS)
        {
            char szText[300];
            snprintf(szText, sizeof(szText), "The service reported ERROR_ALREADY_EXISTS  => OK\nname='%s'",
                     gg_szTempServiceName);
            gg_ptrc->Trace(3, kFunction, "Internal", szText, "");
            return Leave(true);
        }
        TraceError("An error occurred while opening the Service", dwErr, "Errorcode: 0x%X, Message: %s");
        bRet = false;
    }
    return Leave(bRet);
}
