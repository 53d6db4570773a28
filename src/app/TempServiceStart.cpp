// CCTempService, normal instance side: create and start the service, wait for its end, clean up.
#include "TempService.h"

#include "ArcaTrace.h"
#include "ScHandle.h"
#include "WmiErrorText.h"

#include <cstdint>

const char gg_szTempServiceName[] = "Tarvos";

namespace
{
// DELETE | SERVICE_START | SERVICE_QUERY_STATUS
const DWORD kServiceAccess = DELETE | SERVICE_START | SERVICE_QUERY_STATUS;
// SERVICE_WIN32_OWN_PROCESS | SERVICE_INTERACTIVE_PROCESS
const DWORD kServiceType = SERVICE_WIN32_OWN_PROCESS | SERVICE_INTERACTIVE_PROCESS;
} // namespace

void CCTempService::RunAsService(const char* /*szServiceName*/, int argc, char* argv[], DWORD dwTimeOut)
{
    const char* szFunction = "CCTempService::RunAsService";
    gg_ptrc->Trace(3, szFunction, "Enter", "Method RunAsService has been entered.", "argc=%d", argc);
    SC_HANDLE hService = nullptr;
    if (StartAsService(gg_szTempServiceName, argc, argv, &hService) == 0)
    {
        WaitForServiceEnd(hService, dwTimeOut);
        CleanUp(gg_szTempServiceName, hService);
    }
    else if (hService != nullptr)
    {
        // A service that was created but did not start stays as it is; only the handle goes.
        CloseServiceHandle(hService);
    }
    gg_ptrc->Trace(3, szFunction, "Leave", "Method RunAsService has been left.", "");
}

DWORD CCTempService::StartAsService(const char* /*szServiceName*/, int argc, char* argv[],
                                    SC_HANDLE* phService)
{
    const char* szFunction = "CCTempService::StartAsService";
    gg_ptrc->Trace(3, szFunction, "Enter", "Method StartAsService has been entered.", "argc=%d", argc);
    *phService = nullptr;
    DWORD dwRet = 0;
    char szPath[MAX_PATH] = {};
    GetModuleFileNameA(nullptr, szPath, MAX_PATH);
    CCScHandle scm(OpenSCManagerA(nullptr, SERVICES_ACTIVE_DATABASEA, SC_MANAGER_CREATE_SERVICE));
    if (!scm)
    {
        dwRet = GetLastError();
        gg_ptrc->Trace(1, szFunction, "Internal", "OpenSCManager failed", "err=0x%X",
                       static_cast<unsigned>(dwRet));
    }
    else
    {
        CCScHandle service;
        // A service left behind by an earlier run is deleted and the creation tried once more.
        for (int nAttempt = 1; nAttempt <= 2; ++nAttempt)
        {
            service.Reset(CreateServiceA(scm.Get(), gg_szTempServiceName, gg_szTempServiceName,
                                         kServiceAccess, kServiceType, SERVICE_DEMAND_START,
                                         SERVICE_ERROR_NORMAL, szPath, nullptr, nullptr, nullptr, nullptr,
                                         nullptr));
            const DWORD dwErr = GetLastError();
            if (service)
            {
                if (dwErr != 0)
                {
                    gg_ptrc->Trace(2, szFunction, "Internal", "CreateService failed", "err=0x%X, '%s'",
                                   static_cast<unsigned>(dwErr), WmiErrorText(dwErr));
                }
                break;
            }
            if (dwErr != ERROR_SERVICE_EXISTS)
            {
                gg_ptrc->Trace(1, szFunction, "Internal", "CreateService failed", "err=0x%X, '%s'",
                               static_cast<unsigned>(dwErr), WmiErrorText(dwErr));
                break;
            }
            if (nAttempt == 1)
            {
                CCScHandle leftover(OpenServiceA(scm.Get(), gg_szTempServiceName, DELETE));
                leftover.Close();
                ServiceDelete(gg_szTempServiceName);
            }
        }
        // The whole argument vector, program path included, becomes the start arguments.
        if (!StartServiceA(service.Get(), static_cast<DWORD>(argc), const_cast<LPCSTR*>(argv)))
        {
            dwRet = GetLastError();
            gg_ptrc->Trace(1, szFunction, "Internal", "StartService failed", "err=0x%X, '%s'",
                           static_cast<unsigned>(dwRet), WmiErrorText(dwRet));
        }
        scm.Close();
        *phService = service.Detach();
    }
    gg_ptrc->Trace(3, szFunction, "Leave", "Method StartAsService has been left.", "ret=0x%8.8lx, %s",
                   static_cast<unsigned long>(dwRet), WmiErrorText(dwRet));
    return dwRet;
}

bool CCTempService::WaitForServiceEnd(SC_HANDLE hService, DWORD dwTimeOut)
{
    const char* szFunction = "CCTempService::WaitForServiceEnd";
    gg_ptrc->Trace(3, szFunction, "Enter", "Method WaitForServiceEnd has been entered.", "dwTimeOut=%u",
                   static_cast<unsigned>(dwTimeOut));
    // The time-out is deliberately not applied: CheckForServiceEnd returns when the service
    // has stopped or its status can no longer be read.
    const bool bRet = CheckForServiceEnd(hService);
    if (!bRet)
    {
        Sleep(100);
    }
    gg_ptrc->Trace(3, szFunction, "Leave", "Method WaitForServiceEnd has been left.", "ret='%s'",
                   bRet ? "true" : "false");
    return bRet;
}

bool CCTempService::CheckForServiceEnd(SC_HANDLE hService)
{
    const char* szFunction = "CCTempService::CheckForServiceEnd";
    gg_ptrc->Trace(3, szFunction, "Enter", "Method CheckForServiceEnd has been entered.", "");
    bool bRet = false;
    for (;;)
    {
        SERVICE_STATUS_PROCESS status = {};
        DWORD cbNeeded = 0;
        if (!QueryServiceStatusEx(hService, SC_STATUS_PROCESS_INFO, reinterpret_cast<LPBYTE>(&status),
                                  sizeof(status), &cbNeeded))
        {
            const DWORD dwErr = GetLastError();
            gg_ptrc->Trace(1, szFunction, "Internal", "QueryServiceStatusEx failed", "ret=0x%X, '%s'",
                           static_cast<unsigned>(dwErr), WmiErrorText(dwErr));
            break;
        }
        if (status.dwCurrentState == SERVICE_STOPPED)
        {
            bRet = true;
            break;
        }
    }
    gg_ptrc->Trace(3, szFunction, "Leave", "Method CheckForServiceEnd has been left.", "ret='%s'",
                   bRet ? "true" : "false");
    return bRet;
}

void CCTempService::CleanUp(const char* /*szServiceName*/, SC_HANDLE hService)
{
    const char* szFunction = "CCTempService::CleanUp";
    gg_ptrc->Trace(3, szFunction, "Enter", "Method CleanUp has been entered.", "name=%s, handle=0x%8.8lx",
                   gg_szTempServiceName, static_cast<unsigned long>(reinterpret_cast<uintptr_t>(hService)));
    if (!CloseServiceHandle(hService))
    {
        gg_ptrc->Trace(2, szFunction, "Internal", "CloseServiceHandle failed", "");
    }
    ServiceDelete(gg_szTempServiceName);
    gg_ptrc->Trace(3, szFunction, "Leave", "Method CleanUp has been left.", "");
}
