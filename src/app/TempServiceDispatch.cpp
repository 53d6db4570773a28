// CCTempService, service process side: the dispatcher, ServiceMain and the control handler.
#include "TempService.h"

#include "ArcaTrace.h"
#include "TempServiceProc.h"
#include "WmiErrorText.h"

#include <cstring>

namespace
{
// Process-wide values of the service process.
char g_szServiceName[MAX_PATH] = {};
TEMPSERVICEPROC g_pServiceProc = nullptr;
SERVICE_STATUS_HANDLE g_hStatus = nullptr;
// Only the service type and the current state are ever set; the service reports no error
// code of its own and accepts no controls.
SERVICE_STATUS g_status = {};
} // namespace

DWORD CCTempService::RegisterDispatcher(const char* szServiceName, TEMPSERVICEPROC pServiceProc)
{
    const char* szFunction = "CCTempService::RegisterDispatcher";
    gg_ptrc->Trace(3, szFunction, "Enter", "Method RegisterDispatcher has been entered.",
                   "pszServiceName='%s', proc=0x%p", szServiceName != nullptr ? szServiceName : "",
                   reinterpret_cast<void*>(pServiceProc));
    g_pServiceProc = TempServiceProc;
    strcpy(g_szServiceName, gg_szTempServiceName);
    SERVICE_TABLE_ENTRYA aTable[] = {{g_szServiceName, ServiceMain}, {nullptr, nullptr}};
    DWORD dwRet = 0;
    // Returns when the service has stopped.
    if (!StartServiceCtrlDispatcherA(aTable))
    {
        dwRet = GetLastError();
        gg_ptrc->Trace(2, szFunction, "Internal", "StartServiceCtrlDispatcher failed", "err=0x%8.8lx, '%s'",
                       static_cast<unsigned long>(dwRet), WmiErrorText(dwRet));
    }
    gg_ptrc->Trace(3, szFunction, "Leave", "Method RegisterDispatcher has been left.", "ret=0x%8.8lx",
                   static_cast<unsigned long>(dwRet));
    return dwRet;
}

void WINAPI CCTempService::ServiceMain(DWORD dwArgc, LPSTR* pszArgv)
{
    const char* szFunction = "CCTempService::ServiceMain";
    gg_ptrc->Trace(3, szFunction, "Enter", "Method ServiceMain has been entered.", "");
    // Running at once: there is no start-pending state.
    g_status.dwServiceType = SERVICE_WIN32_OWN_PROCESS | SERVICE_INTERACTIVE_PROCESS;
    g_status.dwCurrentState = SERVICE_RUNNING;
    g_hStatus = RegisterServiceCtrlHandlerA(g_szServiceName, Handler);
    SetServiceStatus(g_hStatus, &g_status);
    g_pServiceProc(dwArgc, pszArgv);
    g_status.dwCurrentState = SERVICE_STOPPED;
    SetServiceStatus(g_hStatus, &g_status);
    gg_ptrc->Trace(3, szFunction, "Leave", "Method ServiceMain has been left.", "");
}

void WINAPI CCTempService::Handler(DWORD /*dwControl*/)
{
    const char* szFunction = "CCTempService::Handler";
    gg_ptrc->Trace(3, szFunction, "Enter", "Method Handler has been entered.", "");
    // Whatever the control, the status is reported again unchanged.
    SetServiceStatus(g_hStatus, &g_status);
    gg_ptrc->Trace(3, szFunction, "Leave", "Method Handler has been left.", "");
}
