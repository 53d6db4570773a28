// CCompMof::CompileMOFsFromRegistry: compilation of the MOF files registered under one key.
#include "CompMof.h"

#include "ArcaTrace.h"
#include "MofCompiler.h"
#include "RegKey.h"
#include "WmiErrorText.h"

#include <cstring>
#include <vector>

namespace
{
// Rights the key object is described with, and those it is opened with (read, set value,
// create sub-key).
const REGSAM kSamDescribe = 0x20019;
const REGSAM kSamOpen = 0x2001F;

// The text of a compile status phase.
const char* CompilePhaseText(long lPhaseError)
{
    switch (lPhaseError)
    {
    case 0:
        return "no error";
    case 1:
        return "argument error";
    case 2:
        return "parsing";
    case 3:
        return "error occurred while storing the data";
    default:
        return "<unknown>";
    }
}

// The MOF path a value holds: a REG_SZ text up to its first terminator; empty for every
// other type (REG_EXPAND_SZ included: nothing is expanded).
std::string RegisteredPath(const RegValue& value)
{
    const char* szData = value.GetString();
    return szData != nullptr ? std::string(szData, strnlen(szData, value.dwDataSize)) : std::string();
}
} // namespace

ExitCode CCompMof::CompileMOFsFromRegistry(std::string szRegKey)
{
    const char* szFunction = "CCompMof::CompileMOFsFromRegistry";
    CCRegKey key(szRegKey.c_str(), kSamDescribe);
    if (!key.Open(kSamOpen))
    {
        // Nothing registered, or nothing this account may read: nothing to do.
        return EXITCODE_OK;
    }
    gg_ptrc->Trace(3, szFunction, "Enter", "", "szRegKey='%s'", szRegKey.c_str());
    ExitCode ret = EXITCODE_OK;
    CMofCompiler mofCompiler;
    const HRESULT hr = mofCompiler.Create();
    if (FAILED(hr))
    {
        gg_ptrc->Trace(1, szFunction, "Internal", "Could not launch MofCompiler!", "Error 0x%x! '%s'",
                       static_cast<unsigned>(hr), WmiErrorText(hr));
        ret = EXITCODE_ERR_MOFCOMP_CONNECT;
    }
    else
    {
        std::vector<RegValue> values;
        RegValue value;
        for (DWORD dwIndex = 0; key.EnumValue(dwIndex, value); ++dwIndex)
        {
            values.push_back(value);
        }
        key.Close();
        CCurrentDirectory directory;
        for (const RegValue& registered : values)
        {
            const std::string strMof = RegisteredPath(registered);
            if (strMof.empty())
            {
                continue;
            }
            // Each file is compiled in its own folder; the directory is put back only at the end.
            std::string strWorkDir;
            WBEM_COMPILE_STATUS_INFO info = {};
            if (mofCompiler.CompileInFolder(strMof.c_str(), strWorkDir, info) == WBEM_S_FALSE)
            {
                gg_ptrc->Trace(1, szFunction, "Internal", "Could not compile MOF %s!", "%s", strMof.c_str());
                gg_ptrc->Trace(4, szFunction, "Internal", "", "compile_status_info.lPhaseError = %x '%s'!",
                               static_cast<unsigned>(info.lPhaseError), CompilePhaseText(info.lPhaseError));
                gg_ptrc->Trace(4, szFunction, "Internal", "", "compile_status_info.hRes = %x!",
                               static_cast<unsigned>(info.hRes));
                gg_ptrc->Trace(4, szFunction, "Internal", "", "compile_status_info.ObjectNum = %x!",
                               static_cast<unsigned>(info.ObjectNum));
                gg_ptrc->Trace(4, szFunction, "Internal", "", "compile_status_info.FirstLine = %x!",
                               static_cast<unsigned>(info.FirstLine));
                gg_ptrc->Trace(4, szFunction, "Internal", "", "compile_status_info.LastLine = %x!",
                               static_cast<unsigned>(info.LastLine));
            }
        }
        directory.Restore();
    }
    gg_ptrc->Trace(3, szFunction, "Leave", "", "ret=%d", static_cast<int>(ret));
    mofCompiler.Release();
    return ret;
}
