// CMofCompiler and CCurrentDirectory: the compile step shared by /CF and /CM.
#include "MofCompiler.h"

#include "ArcaTrace.h"

#include <vector>

namespace
{
// In-process server and handler, local and remote server.
const DWORD kMofCompilerContext = 0x17;
} // namespace

HRESULT CMofCompiler::Create()
{
    const char* szFunction = "CMofCompiler::Create";
    gg_ptrc->Trace(4, szFunction, "Enter", "", "");
    const HRESULT hr = CoCreateInstance(CLSID_MofCompiler, nullptr, kMofCompilerContext, IID_IMofCompiler,
                                        m_spMofCompiler.PutVoid());
    gg_ptrc->Trace(4, szFunction, "Leave", "", "hRet 0x%X", static_cast<unsigned>(hr));
    return hr;
}

HRESULT CMofCompiler::CompileInFolder(const char* szMof, std::string& strWorkDir,
                                      WBEM_COMPILE_STATUS_INFO& info)
{
    const char* szFunction = "CMofCompiler::CompileInFolder";
    gg_ptrc->Trace(4, szFunction, "Enter", "", "szMof='%s'", szMof);
    strWorkDir = szMof;
    const size_t nLastBackslash = strWorkDir.rfind('\\');
    if (nLastBackslash == std::string::npos)
    {
        throw static_cast<HRESULT>(E_INVALIDARG);
    }
    strWorkDir.erase(nLastBackslash);
    // A folder that cannot be entered (gone, or longer than the platform allows) leaves the
    // directory as it is; the compiler then reports the file itself.
    SetCurrentDirectoryA(strWorkDir.c_str());

    // The compiler must open the very file the caller named: the path is converted with the
    // thread's ANSI code page, the one the 8-bit file functions use, not the runtime's locale.
    HRESULT hr = S_OK;
    info = WBEM_COMPILE_STATUS_INFO();
    const int nChars = MultiByteToWideChar(CP_THREAD_ACP, 0, szMof, -1, nullptr, 0);
    std::vector<wchar_t> wszMof(nChars > 0 ? static_cast<size_t>(nChars) : 1, L'\0');
    if (nChars <= 0 || MultiByteToWideChar(CP_THREAD_ACP, 0, szMof, -1, wszMof.data(), nChars) != nChars)
    {
        const DWORD dwError = GetLastError();
        hr = dwError != ERROR_SUCCESS ? HRESULT_FROM_WIN32(dwError) : E_FAIL;
    }
    else
    {
        hr = m_spMofCompiler->CompileFile(wszMof.data(), nullptr, nullptr, nullptr, nullptr, 0, 0, 0, &info);
    }
    gg_ptrc->Trace(4, szFunction, "Leave", "", "hRet 0x%X", static_cast<unsigned>(hr));
    return hr;
}

CCurrentDirectory::CCurrentDirectory()
{
    m_szSaved[0] = '\0';
    if (GetCurrentDirectoryA(kMaxDirectory, m_szSaved) >= kMaxDirectory)
    {
        m_szSaved[0] = '\0';
    }
}

void CCurrentDirectory::Restore() const
{
    if (m_szSaved[0] != '\0')
    {
        SetCurrentDirectoryA(m_szSaved);
    }
}
