// Tarvos: brings the WMI schema of the management agent into shape. The only result is
// the process exit code; the story goes to the trace file.
#include "ArcaTrace.h"
#include "DoTheJob.h"
#include "ExitCode.h"
#include "SharedCounters.h"
#include "TempService.h"
#include "TempServiceProc.h"
#include "WbemUtil.h"

#include <objbase.h>

// Sets up tracing, enforces the instance limits, runs the job in-process, as the temporary
// service's process (LocalSystem beside a running normal instance) or through the temporary
// service (/system), and returns the process exit code.
int main(int argc, char* argv[])
{
    WbemUtil util;
    CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    const bool bLocalSystem = CCTempService::IsLocalSystem();

    // The temporary service traces under its own key.
    gg_ptrc->InitFromRegistry(bLocalSystem ? "TarvosSvc.exe\\1.02" : "Tarvos.exe\\1.02", 36);
    const char* aszArgs[4];
    for (int i = 0; i < 4; ++i)
    {
        aszArgs[i] = i < argc && argv[i] != nullptr ? argv[i] : "null";
    }
    gg_ptrc->Trace(4, "main", "Internal", "BUILD INFORMATION", "NODEBUG; TIME=%s, %s", __DATE__, __TIME__);
    gg_ptrc->Trace(3, "main", "Enter", "Tarvos called",
                   "bLocalSystem='%s'\nargv[0]='%s'\nargv[1]='%s'\nargv[2]='%s'\nargv[3]='%s'\n"
                   "gg_nInst=%d, gg_nSystemInst=%d",
                   bLocalSystem ? "true" : "false", aszArgs[0], aszArgs[1], aszArgs[2], aszArgs[3], gg_nInst,
                   gg_nSystemInst);

    int nReturn = EXITCODE_ERR_NOTHING_DONE;
    do
    {
        if (bLocalSystem)
        {
            const int nSystemInst = ++gg_nSystemInst;
            if (nSystemInst > 1)
            {
                gg_ptrc->Trace(1, "main", "Exception", "Too many localsystem instances", "gg_nSystemInst=%d",
                               nSystemInst);
                nReturn = EXITCODE_ERR_GENERAL_ERROR;
                break;
            }
            if (gg_nInst > 0)
            {
                // Beside a running normal instance this process is the temporary service that
                // it started. The dispatcher returns when the service has stopped; the job's
                // code has then gone to gg_nSvcExitcode.
                const DWORD dwDispatcher =
                    CCTempService::RegisterDispatcher(gg_szTempServiceName, TempServiceProc);
                if (dwDispatcher == 0)
                {
                    nReturn = EXITCODE_OK;
                    break;
                }
                if (dwDispatcher != ERROR_FAILED_SERVICE_CONTROLLER_CONNECT)
                {
                    nReturn = EXITCODE_ERR_GENERAL_ERROR;
                    break;
                }
                // Not started by the service control manager: an ordinary run as LocalSystem.
            }
        }
        else
        {
            const int nInst = ++gg_nInst;
            if (nInst > 1)
            {
                gg_ptrc->Trace(1, "main", "Exception", "Too many normal instances", "gg_nInst=%d", nInst);
                nReturn = EXITCODE_ERR_GENERAL_ERROR;
                break;
            }
        }
        if (!util.ParseCmdLine(argc, argv))
        {
            gg_ptrc->Trace(1, "main", "Exception", "ParseCmdLine returned error", "");
            nReturn = EXITCODE_ERR_CMDLINE;
            break;
        }
        if (bLocalSystem || !util.System)
        {
            nReturn = DoTheJob(util);
        }
        else if (!CCTempService::IsAdmin())
        {
            gg_ptrc->Trace(1, "main", "Exception", "Administrator privileges required to use /system", "");
            nReturn = EXITCODE_ERR_ADMIN_PERMISSIONS_REQUIRED;
            break;
        }
        else
        {
            // The whole argument vector goes to the service; a service that could not be
            // started leaves the code of the last service run here.
            CCTempService::RunAsService(gg_szTempServiceName, argc, argv, 5000);
            nReturn = gg_nSvcExitcode;
        }
        if (nReturn == EXITCODE_ERR_MOF_OLD_VERSION)
        {
            gg_ptrc->Trace(4, "main", "Internal", "Changing EXITCODE_ERR_MOF_OLD_VERSION to EXITCODE_OK", "");
            nReturn = EXITCODE_OK;
        }
    } while (false);

    CoUninitialize();
    if (bLocalSystem)
    {
        --gg_nSystemInst;
    }
    else
    {
        --gg_nInst;
    }
    gg_ptrc->Trace(3, "main", "Leave", "Method main has been left.", "nReturn=%d '%s'", nReturn,
                   ExitCodeText(nReturn));
    return nReturn;
}
