#include "DoTheJob.h"

#include "ArcaTrace.h"
#include "BackupIniName.h"
#include "CompMof.h"
#include "DelFromWmi.h"
#include "MofDelete.h"
#include "MofParse.h"
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
        // Set while the INI deletion runs: a [DeleteNamespace] path it cannot take apart ends it.
        bool bIniDelete = false;
        try
        {
            if (util.Delete && !util.mof.empty())
            {
                // The MOF route; it wins over an INI file. A failed deletion step reports the
                // same code as a file that could not be scanned.
                CMofParse mp;
                if (!mp.Parse(util.mof.c_str()))
                {
                    gg_ptrc->Trace(1, "DoTheJob", "Internal", "DELETING, mp.Parse failed", "file='%s'",
                                   util.mof.c_str());
                    nReturn = EXITCODE_ERR_MOF_PARSING_FAILED;
                }
                else if (DoDeleteInstances(mp) && DoDeleteNonSystemClasses(mp) &&
                         DoDeleteFromAutoRecoverList(util.mof.c_str()))
                {
                    nReturn = EXITCODE_OK;
                }
                else
                {
                    nReturn = EXITCODE_ERR_MOF_PARSING_FAILED;
                }
            }
            else if (util.Delete && !util.ini.empty())
            {
                bIniDelete = true;
                CDelFromWmi oDelFromWmi;
                if (!oDelFromWmi.OpenIni(util.ini.c_str()))
                {
                    gg_ptrc->Trace(2, "DoTheJob", "Internal", "oDelFromWmi.OpenIni failed", "file='%s'",
                                   util.ini.c_str());
                    nReturn = EXITCODE_ERR_INIFILE_NOT_FOUND;
                }
                else
                {
                    oDelFromWmi.ReadNamespaces();
                    do
                    {
                        // A namespace that cannot be reached is passed over.
                        if (oDelFromWmi.ConnectToNamespace(oDelFromWmi.CurrentNamespace()))
                        {
                            oDelFromWmi.RemoveInstancesByRef();
                            oDelFromWmi.RemoveInstances();
                            oDelFromWmi.RemoveClasses();
                        }
                    } while (oDelFromWmi.Position() != -1 && oDelFromWmi.NextNamespace());
                    oDelFromWmi.RemoveNamespaces(util.Force != FALSE);
                    // Single deletions that failed are in the trace; the job itself is done.
                    nReturn = EXITCODE_OK;
                }
                bIniDelete = false;
            }
            if (util.Compile && !util.mof.empty())
            {
                nReturn = CCompMof::CheckVersionAndCompile(util.mof.c_str(), util.Force != FALSE);
            }
            if (util.CompileFromReg)
            {
                nReturn = CCompMof::CompileMOFsFromRegistry(util.reg);
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
            if (bIniDelete)
            {
                // A [DeleteNamespace] path without a parent: the entries after it are not carried
                // out. Like every other failed deletion of the INI job it is only traced; the one
                // failure that job reports through its exit code is an INI file it cannot open.
                nReturn = EXITCODE_OK;
            }
        }
        if (util.SetQualifiers)
        {
            std::string strBackup;
            if (!util.Backup)
            {
                nReturn = SetQualifiers(util.ini.c_str(), nullptr);
            }
            else if (BackupIniName(util.ini.c_str(), strBackup))
            {
                nReturn = SetQualifiers(util.ini.c_str(), strBackup.c_str());
            }
            else
            {
                // A backup file that cannot be named cannot be there: as with a missing one,
                // nothing is set.
                gg_ptrc->Trace(1, "DoTheJob", "Internal", "Backup file name too long", "file='%s'",
                               util.ini.c_str());
                nReturn = EXITCODE_ERR_INIFILE_NOT_FOUND;
            }
        }
    }
    gg_ptrc->Trace(3, "DoTheJob", "Leave", "Method DoTheJob has been left.", "nReturn=%d '%s'",
                   static_cast<int>(nReturn), ExitCodeText(nReturn));
    return nReturn;
}
