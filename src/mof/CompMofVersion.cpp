// CCompMof::CheckVersionAndCompile: the version-checked compilation of one MOF file.
#include "CompMof.h"

#include "ArcaTrace.h"
#include "MofCompiler.h"
#include "MofParse.h"
#include "WmiErrorText.h"
#include "WmiWork.h"

#include <string>

ExitCode CCompMof::CheckVersionAndCompile(const char* szMof, bool OverwriteSameVersion)
{
    const char* szFunction = "CCompMof::CheckVersionAndCompile";
    ExitCode ret = EXITCODE_OK;
    gg_ptrc->Trace(3, szFunction, "Enter", "", "szMof='%s', OverwriteSameVersion=%s", szMof,
                   OverwriteSameVersion ? "true" : "false");
    CCurrentDirectory directory;
    CMofCompiler mofCompiler;
    CMofParse mp;
    do
    {
        if (!mp.Parse(szMof))
        {
            gg_ptrc->Trace(1, szFunction, "Internal", "mp.Parse failed", "");
            ret = EXITCODE_ERR_MOF_PARSING_FAILED;
            break;
        }
        std::string strNamespace;
        std::string strClass;
        std::string strVersion;
        if (!mp.ClassVersionFind(strNamespace, strClass, strVersion))
        {
            // Without a recognisable version the file is always compiled.
            gg_ptrc->Trace(2, szFunction, "Internal", "mp.ClassVersionFind failed, maybe version missing",
                           "");
        }
        else
        {
            strNamespace = NamespaceWithoutMachine(strNamespace);
            const int nCode =
                CWmiWork::ClassVersionCheck(strNamespace.c_str(), strClass.c_str(), strVersion.c_str());
            if (nCode == CLASSVERSION_GENERAL_ERROR)
            {
                ret = EXITCODE_ERR_WMI_CONNECT;
                break;
            }
            if (nCode == CLASSVERSION_INSTALLED_NEWER ||
                (nCode == CLASSVERSION_IDENTICAL && !OverwriteSameVersion))
            {
                ret = EXITCODE_ERR_MOF_OLD_VERSION;
                break;
            }
        }
        HRESULT hr = mofCompiler.Create();
        if (FAILED(hr))
        {
            gg_ptrc->Trace(1, szFunction, "Internal", "Could not launch MofCompiler!", "Error 0x%x!",
                           static_cast<unsigned>(hr));
            ret = EXITCODE_ERR_MOFCOMP_CONNECT;
            break;
        }
        std::string strWorkDir;
        WBEM_COMPILE_STATUS_INFO info = {};
        hr = mofCompiler.CompileInFolder(szMof, strWorkDir, info);
        // The compiler reports a failed compilation by WBEM_S_FALSE; nothing else counts as failure.
        if (hr == WBEM_S_FALSE)
        {
            gg_ptrc->Trace(1, szFunction, "Internal", "Could not compile MOF",
                           "\nname='%s'\nwrkdir='%s'\ncompile_status_info.lPhaseError = %x\n"
                           "compile_status_info.hRes = %x '%s'\ncompile_status_info.ObjectNum = %x\n"
                           "compile_status_info.FirstLine = %d\ncompile_status_info.LastLine = %d",
                           szMof, strWorkDir.c_str(), static_cast<unsigned>(info.lPhaseError),
                           static_cast<unsigned>(info.hRes), WmiErrorText(info.hRes),
                           static_cast<unsigned>(info.ObjectNum), static_cast<int>(info.FirstLine),
                           static_cast<int>(info.LastLine));
            ret = EXITCODE_ERR_COMPILE_MOF;
        }
        else
        {
            gg_ptrc->Trace(4, szFunction, "Internal", "spMofCompiler->CompileFile succeeded", "hRes=0x%X",
                           static_cast<unsigned>(hr));
        }
    } while (false);
    // The Leave record is written in the directory the job started in.
    directory.Restore();
    gg_ptrc->Trace(3, szFunction, "Leave", "", "ret=%d", static_cast<int>(ret));
    mofCompiler.Release();
    return ret;
}
