#include "DoTheJob.h"

#include "ArcaTrace.h"
#include "BackupIniName.h"
#include "CompMof.h"
#include "SetQualifiers.h"
#include "WmiErrorText.h"
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
    else
    {
        try
        {
            if (util.Compile && !util.mof.empty())
            {
                nReturn = CCompMof::CheckVersionAndCompile(util.mof.c_str(), util.Force != FALSE);
            }
        }
        catch (HRESULT hr)
        {
            // The invalid-argument exceptions of the MOF scanner and of a MOF path without a
            // directory: the MOF file could not be processed. The caller must see a failure,
            // and this is the code for a MOF file that could not be handled.
            gg_ptrc->Trace(1, "DoTheJob", "Exception", "Exception caught", "hr=0x%X '%s'",
                           static_cast<unsigned>(hr), WmiErrorText(hr));
            nReturn = EXITCODE_ERR_MOF_PARSING_FAILED;
        }
        if (util.SetQualifiers)
        {
            const std::string strBackup = util.Backup ? BackupIniName(util.ini.c_str()) : std::string();
            nReturn = SetQualifiers(util.ini.c_str(), util.Backup ? strBackup.c_str() : nullptr);
        }
    }
    gg_ptrc->Trace(3, "DoTheJob", "Leave", "Method DoTheJob has been left.", "nReturn=%d '%s'",
                   static_cast<int>(nReturn), ExitCodeText(nReturn));
    return nReturn;
}
