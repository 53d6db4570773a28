// EmuMofCompiler.cpp - IMofCompiler::CompileFile: parse the whole file (a file that does not parse
// stores nothing), then store its declarations in order; as "Handling Errors with the MOF Compiler"
// says, the classes and instances stored before a failing declaration stay stored. Errors come back as
// WBEM_S_FALSE with WBEM_COMPILE_STATUS_INFO filled in, its lPhaseError numbered as the
// "WBEM_COMPILE_STATUS_INFO structure" page gives them: 1 parsing, 2 argument error, 3 storing. Files
// carrying "#pragma autorecover" go into the autorecover list of WMI.
#include "EmuCom.h"

#include "EmuFaults.h"
#include "EmuMofStore.h"

namespace wmiemu
{

namespace
{
enum : long
{
    PHASE_PARSING = 1,
    PHASE_ARGUMENT = 2,
    PHASE_STORING = 3
};
const wchar_t CIMOM_KEY[] = L"SOFTWARE\\Microsoft\\WBEM\\CIMOM";
const wchar_t AUTORECOVER_VALUE[] = L"Autorecover MOFs";

HRESULT Fail(WBEM_COMPILE_STATUS_INFO* pInfo, long lPhase, HRESULT hr, long lObject, long lFirst, long lLast)
{
    if (pInfo)
    {
        pInfo->lPhaseError = lPhase;
        pInfo->hRes = hr;
        pInfo->ObjectNum = lObject;
        pInfo->FirstLine = lFirst;
        pInfo->LastLine = lLast;
    }
    return WBEM_S_FALSE;
}
} // namespace

bool AddToAutorecoverList(const std::wstring& path)
{
    HKEY hKey = nullptr;
    if (RegCreateKeyExW(HKEY_LOCAL_MACHINE, CIMOM_KEY, 0, nullptr, 0, KEY_READ | KEY_WRITE, nullptr, &hKey,
                        nullptr) != ERROR_SUCCESS)
        return false;
    std::vector<std::wstring> list;
    DWORD dwType = 0, cb = 0;
    if (RegQueryValueExW(hKey, AUTORECOVER_VALUE, nullptr, &dwType, nullptr, &cb) == ERROR_SUCCESS &&
        dwType == REG_MULTI_SZ && cb > 0)
    {
        std::vector<wchar_t> buf(cb / sizeof(wchar_t) + 2, 0);
        if (RegQueryValueExW(hKey, AUTORECOVER_VALUE, nullptr, &dwType, (BYTE*)buf.data(), &cb) ==
            ERROR_SUCCESS)
            for (const wchar_t* p = buf.data(); *p; p += wcslen(p) + 1)
                list.push_back(p);
    }
    bool bOk = true;
    bool bPresent = false;
    for (auto& e : list)
        bPresent = bPresent || NameEq(e, path);
    if (!bPresent)
    {
        list.push_back(path);
        std::wstring data;
        for (auto& e : list)
            data += e + L'\0';
        data += L'\0';
        bOk = RegSetValueExW(hKey, AUTORECOVER_VALUE, 0, REG_MULTI_SZ, (const BYTE*)data.data(),
                             (DWORD)(data.size() * sizeof(wchar_t))) == ERROR_SUCCESS;
    }
    RegCloseKey(hKey);
    return bOk;
}

HRESULT CEmuMofCompiler::QueryInterface(REFIID riid, void** ppv)
{
    if (!ppv)
        return E_POINTER;
    *ppv = nullptr;
    if (riid != IID_IUnknown && riid != IID_IMofCompiler)
        return E_NOINTERFACE;
    *ppv = static_cast<IMofCompiler*>(this);
    AddRef();
    return S_OK;
}

HRESULT CEmuMofCompiler::CompileFile(LPWSTR FileName, LPWSTR ServerAndNamespace, LPWSTR, LPWSTR, LPWSTR,
                                     LONG lOptionFlags, LONG lClassFlags, LONG lInstanceFlags,
                                     WBEM_COMPILE_STATUS_INFO* pInfo)
{
    if (pInfo)
        ZeroMemory(pInfo, sizeof(*pInfo));
    // "IMofCompiler::CompileFile": ServerAndNamespace is the default namespace of the compile,
    // root\default when null; #pragma namespace overrides it. A malformed one is an argument error.
    std::wstring defaultNs;
    if (!FileName || !*FileName)
        return Fail(pInfo, PHASE_ARGUMENT, WBEM_E_INVALID_PARAMETER, 0, 0, 0);
    if (!mofc::DefaultNamespaceOf(ServerAndNamespace, defaultNs))
        return Fail(pInfo, PHASE_ARGUMENT, WBEM_E_INVALID_NAMESPACE, 0, 0, 0);
    wchar_t full[MAX_PATH * 2];
    DWORD n = GetFullPathNameW(FileName, MAX_PATH * 2, full, nullptr);
    std::wstring path = (n > 0 && n < MAX_PATH * 2) ? full : FileName;
    HRESULT hr = ApplyFault(L"CompileFile", L"", L"");
    if (FAILED(hr))
    {
        Fail(pInfo, PHASE_STORING, hr, 0, 0, 0);
        return hr;
    }

    mofc::CompileResult result = mofc::ParseFile(path, defaultNs);
    if (!result.ok)
        return Fail(pInfo, PHASE_PARSING, (HRESULT)result.hr, result.objectNumber, result.firstLine,
                    result.lastLine);
    if (lOptionFlags & WBEM_FLAG_CHECK_ONLY)
        return WBEM_S_NO_ERROR;

    size_t nFailed = 0;
    hr = Store::Instance().Modify(
        [&](Repository& repo) {
            return StoreDeclarations(repo, result.decls, lClassFlags, lInstanceFlags, nFailed);
        },
        true);
    if (FAILED(hr))
    {
        if (nFailed < result.decls.size())
        {
            const mofc::Declaration& d = result.decls[nFailed];
            return Fail(pInfo, PHASE_STORING, hr, (long)nFailed + 1, d.firstLine, d.lastLine);
        }
        return Fail(pInfo, PHASE_STORING, hr, 0, 0, 0);
    }
    if (!(lOptionFlags & WBEM_FLAG_DONT_ADD_TO_LIST))
    {
        for (auto& f : result.autorecoverFiles)
            AddToAutorecoverList(f);
        if (lOptionFlags & WBEM_FLAG_AUTORECOVER)
            AddToAutorecoverList(path);
    }
    return WBEM_S_NO_ERROR;
}

} // namespace wmiemu
