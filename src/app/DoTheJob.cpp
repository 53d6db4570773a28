#include "DoTheJob.h"

#include "ArcaTrace.h"
#include "UsageText.h"

#include <cstdio>

ExitCode DoTheJob(WbemUtil& util)
{
    gg_ptrc->Trace(3, "DoTheJob", "Enter", "Method DoTheJob has been entered.", "");
    // A command line without an action ends with "nothing done".
    ExitCode nReturn = EXITCODE_ERR_NOTHING_DONE;
    if (util.Help)
    {
        const std::string strUsage = BuildUsageText();
        // The usage text is its own format string; it holds no conversions.
#if defined(__GNUC__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-security"
#endif
        printf(strUsage.c_str());
#if defined(__GNUC__)
#pragma GCC diagnostic pop
#endif
        fflush(stdout);
        nReturn = EXITCODE_OK;
    }
    gg_ptrc->Trace(3, "DoTheJob", "Leave", "Method DoTheJob has been left.", "nReturn=%d '%s'",
                   static_cast<int>(nReturn), ExitCodeText(nReturn));
    return nReturn;
}
