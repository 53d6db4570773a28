#include "TempServiceProc.h"

#include "ArcaTrace.h"
#include "DoTheJob.h"
#include "ExitCode.h"
#include "SharedCounters.h"
#include "WbemUtil.h"

#include <objbase.h>

void TempServiceProc(DWORD dwArgc, char** pszArgv)
{
    const int argc = static_cast<int>(dwArgc);
    const char* aszArgs[3];
    for (int i = 0; i < 3; ++i)
    {
        aszArgs[i] = i < argc && pszArgv[i] != nullptr ? pszArgv[i] : "<null>";
    }
    gg_ptrc->Trace(3, "TempServiceProc", "Enter", "Method TempServiceProc has been entered.",
                   "\nargc=%d\nargv[0]='%s'\nargv[1]='%s'\nargv[2]='%s'", argc, aszArgs[0], aszArgs[1],
                   aszArgs[2]);
    CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    {
        WbemUtil util;
        if (util.ParseCmdLine(argc, pszArgv))
        {
            // Stored as the job returned it: only the waiting normal instance turns 18 into 0.
            gg_nSvcExitcode = DoTheJob(util);
        }
        else
        {
            gg_ptrc->Trace(1, "TempServiceProc", "Exception", "ParseCmdLine returned error", "");
            gg_nSvcExitcode = EXITCODE_ERR_CMDLINE;
        }
    }
    CoUninitialize();
    gg_ptrc->Trace(3, "TempServiceProc", "Leave", "Method TempServiceProc has been left.",
                   "gg_nSvcExitcode=%d", gg_nSvcExitcode);
}
