// CCTempService: the temporary LocalSystem service made from this executable, and the account
// tests of the entry point.
//
// A normal instance with /system registers its own executable as the demand-start service
// "Tarvos", starts it with its own argument vector, waits until it has stopped and deletes it
// again. The service process is a second run of the same program: it registers the dispatcher,
// whose ServiceMain runs the service procedure (TempServiceProc), which leaves the job's exit
// code in the shared counter gg_nSvcExitcode. Whatever name an operation is given, the service
// is always "Tarvos"; every operation is static.
#pragma once

#include <windows.h>

// The procedure that ServiceMain runs with the service's start arguments.
typedef void (*TEMPSERVICEPROC)(DWORD dwArgc, char** pszArgv);

class CCTempService
{
public:
    // New SIDs of the Administrators group and of LocalSystem, or null; the caller frees them.
    static PSID GetAdminSid();
    static PSID GetLocalSystemSid();
    // True when the process token's group list holds the Administrators SID.
    static bool IsAdmin();
    // True when the process token's user is LocalSystem.
    static bool IsLocalSystem();

    // Normal instance: start the service, wait for its end and delete it. The job's result is
    // in gg_nSvcExitcode afterwards (a service that could not be started leaves it as it was).
    static void RunAsService(const char* szServiceName, int argc, char* argv[], DWORD dwTimeOut);
    // Creates and starts the service with argv as its start arguments; 0 or a Win32 error.
    // The service handle (null when none was created) belongs to the caller.
    static DWORD StartAsService(const char* szServiceName, int argc, char* argv[], SC_HANDLE* phService);
    // True when the service was seen stopped. The time-out is not applied: the wait lasts as
    // long as the service runs.
    static bool WaitForServiceEnd(SC_HANDLE hService, DWORD dwTimeOut);
    // Queries the status until it is SERVICE_STOPPED (true) or a query fails (false).
    static bool CheckForServiceEnd(SC_HANDLE hService);
    // Closes the service handle and deletes the service.
    static void CleanUp(const char* szServiceName, SC_HANDLE hService);
    // True when the service is gone or going.
    static bool ServiceDelete(const char* szServiceName);

    // Service process: runs the dispatcher with ServiceMain and TempServiceProc; returns when
    // the service has stopped. 0, or the Win32 error of the dispatcher (1063: the process was
    // not started by the service control manager).
    static DWORD RegisterDispatcher(const char* szServiceName, TEMPSERVICEPROC pServiceProc);
    static void WINAPI ServiceMain(DWORD dwArgc, LPSTR* pszArgv);
    static void WINAPI Handler(DWORD dwControl);
};

// The service's name and display name.
extern const char gg_szTempServiceName[];
