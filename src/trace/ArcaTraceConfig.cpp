// CCArcaTrace: the initializers (registry, command line, explicit), the exported trace
// of the main module and the information box.
#include "ArcaTrace.h"

#include <shellapi.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <ctime>

namespace
{
const char kRegPrefix[] = "Software\\Brevane\\Common\\Tracing\\";
const size_t kMaxKeyPath = 208;

DWORD ReadDword(HKEY hKey, const char* szName, bool* pbRead = nullptr)
{
    DWORD dwValue = 0;
    DWORD dwType = 0;
    DWORD cbData = sizeof(dwValue);
    const bool bRead = RegQueryValueExA(hKey, szName, nullptr, &dwType, reinterpret_cast<BYTE*>(&dwValue),
                                        &cbData) == ERROR_SUCCESS &&
                       dwType == REG_DWORD && cbData == sizeof(dwValue);
    if (pbRead != nullptr)
    {
        *pbRead = bRead;
    }
    return bRead ? dwValue : 0;
}

// Today's key: the sum of the digits of the local date written as "%d%m%Y".
DWORD DateKey()
{
    SYSTEMTIME st;
    GetLocalTime(&st);
    char szDate[16];
    _snprintf(szDate, sizeof(szDate), "%02u%02u%04u", st.wDay, st.wMonth, st.wYear);
    szDate[sizeof(szDate) - 1] = '\0';
    DWORD dwSum = 0;
    for (const char* p = szDate; *p != '\0'; ++p)
    {
        dwSum += static_cast<DWORD>(*p - '0');
    }
    return dwSum;
}

unsigned LeadingDecimal(const wchar_t* wsz)
{
    unsigned n = 0;
    for (; *wsz >= L'0' && *wsz <= L'9'; ++wsz)
    {
        n = n * 10 + static_cast<unsigned>(*wsz - L'0');
    }
    return n;
}

bool OptionMatches(const wchar_t* wszArg, const wchar_t* wszOption)
{
    return _wcsnicmp(wszArg, wszOption, wcslen(wszOption)) == 0;
}

class CRegKeyCloser
{
public:
    explicit CRegKeyCloser(HKEY hKey) : m_hKey(hKey) {}
    ~CRegKeyCloser() { RegCloseKey(m_hKey); }
    CRegKeyCloser(const CRegKeyCloser&) = delete;
    CRegKeyCloser& operator=(const CRegKeyCloser&) = delete;

private:
    HKEY m_hKey;
};
} // namespace

void CCArcaTrace::ResetSettings()
{
    m_bTraceClear = false;
    m_bFirstWritePending = true;
    m_bKeepHistory = false;
    m_bNoKeyRequired = false;
    m_bGlobalEnable = false;
    m_bTraceInfo = false;
    m_bSwitchedOff = false;
    m_nLevel = 0;
    m_nLimitSize = 0;
    m_nLimitTime = 0;
    m_nBytesWritten = 0;
    m_tNextSwitch = 0;
    m_nDelaySecs = 0;
    SetFilePathW(L"Trace.trc");
}

// Adopts the settings of the trace object exported by the main module when that one is
// on and global; otherwise this object becomes the exported one.
bool CCArcaTrace::InheritGlobalTrace()
{
    HMODULE hMain = GetModuleHandleW(nullptr);
    CCArcaTrace** ppExported =
        hMain != nullptr ? reinterpret_cast<CCArcaTrace**>(GetProcAddress(hMain, "gg_ptrc")) : nullptr;
    CCArcaTrace* pOther = ppExported != nullptr ? *ppExported : nullptr;
    if (pOther == nullptr || pOther == this || !pOther->m_bEnabled || !pOther->m_bGlobalEnable)
    {
        gg_ptrc = this;
        return false;
    }
    m_bTraceClear = pOther->m_bTraceClear;
    m_bFirstWritePending = pOther->m_bFirstWritePending;
    m_bKeepHistory = pOther->m_bKeepHistory;
    m_bNoKeyRequired = pOther->m_bNoKeyRequired;
    m_bTraceInfo = pOther->m_bTraceInfo;
    m_bConstructed = pOther->m_bConstructed;
    m_bEnabled = true;
    m_bGlobalEnable = true;
    if (m_hSemaphore != nullptr)
    {
        CloseHandle(m_hSemaphore);
        m_hSemaphore = nullptr;
    }
    if (pOther->m_hSemaphore != nullptr &&
        !DuplicateHandle(GetCurrentProcess(), pOther->m_hSemaphore, GetCurrentProcess(), &m_hSemaphore, 0,
                         FALSE, DUPLICATE_SAME_ACCESS))
    {
        m_hSemaphore = nullptr;
    }
    FetchModuleName();
    SetFilePathW(pOther->m_wszPath);
    m_nLevel = pOther->m_nLevel;
    m_nLimitSize = pOther->m_nLimitSize;
    m_nBytesWritten = pOther->m_nBytesWritten;
    m_nLimitTime = pOther->m_nLimitTime;
    m_tNextSwitch = pOther->m_tNextSwitch;
    return true;
}

// The file name and extension of the module that holds this code.
void CCArcaTrace::FetchModuleName()
{
    if (m_wszModule == nullptr)
    {
        return;
    }
    HMODULE hModule = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                       reinterpret_cast<LPCWSTR>(&DateKey), &hModule);
    wchar_t wszPath[MAX_PATH] = L"";
    GetModuleFileNameW(hModule, wszPath, MAX_PATH);
    wszPath[MAX_PATH - 1] = L'\0';
    const wchar_t* pName = wcsrchr(wszPath, L'\\');
    pName = pName != nullptr ? pName + 1 : wszPath;
    wcsncpy(m_wszModule, pName, MAX_PATH - 1);
    m_wszModule[MAX_PATH - 1] = L'\0';
}

void CCArcaTrace::SetFilePathW(const wchar_t* wszFile)
{
    if (m_wszPath != nullptr && wszFile != m_wszPath)
    {
        wcsncpy(m_wszPath, wszFile, MAX_PATH - 1);
        m_wszPath[MAX_PATH - 1] = L'\0';
    }
}

// An 8-bit file name: environment variables expanded, converted to UTF-16, placeholders replaced.
void CCArcaTrace::SetFilePath(const char* szFile)
{
    char szExpanded[MAX_PATH];
    const DWORD dwLen = ExpandEnvironmentStringsA(szFile, szExpanded, MAX_PATH);
    if (dwLen == 0 || dwLen > MAX_PATH)
    {
        return;
    }
    wchar_t wszFile[MAX_PATH];
    if (MultiByteToWideChar(CP_ACP, 0, szExpanded, -1, wszFile, MAX_PATH) == 0)
    {
        return;
    }
    SetFilePathW(wszFile);
    ReplacePlaceholders();
}

// The first "%PID%" and the first "%TID%" become the process and thread ids ("%04u").
void CCArcaTrace::ReplacePlaceholders()
{
    const struct
    {
        const wchar_t* wszName;
        DWORD dwId;
    } aPlaceholders[] = {{L"%PID%", GetCurrentProcessId()}, {L"%TID%", GetCurrentThreadId()}};
    for (const auto& placeholder : aPlaceholders)
    {
        wchar_t* pFound = wcsstr(m_wszPath, placeholder.wszName);
        if (pFound == nullptr)
        {
            continue;
        }
        wchar_t wszResult[2 * MAX_PATH];
        const size_t nBefore = static_cast<size_t>(pFound - m_wszPath);
        wmemcpy(wszResult, m_wszPath, nBefore);
        char szId[16];
        const int nId = _snprintf(szId, sizeof(szId), "%04lu", placeholder.dwId);
        for (int i = 0; i < nId; ++i)
        {
            wszResult[nBefore + i] = static_cast<wchar_t>(szId[i]);
        }
        wcscpy(wszResult + nBefore + nId, pFound + wcslen(placeholder.wszName));
        wszResult[MAX_PATH - 1] = L'\0';
        SetFilePathW(wszResult);
    }
}

void CCArcaTrace::InitFromRegistry(const char* szAppKey, unsigned nFlags)
{
    if (m_bEnabled)
    {
        return;
    }
    ResetSettings();
    if (InheritGlobalTrace())
    {
        return;
    }
    m_bGlobalEnable = (nFlags & TRCFLAG_GLOBAL_ENABLE) != 0;
    m_bTraceClear = (nFlags & TRCFLAG_CLEAR) != 0;
    if (nFlags & TRCFLAG_CONSTRUCTED)
    {
        m_bConstructed = true;
    }
    m_bKeepHistory = (nFlags & TRCFLAG_KEEP_HISTORY) != 0;
    m_bNoKeyRequired = (nFlags & TRCFLAG_NO_KEY) != 0;

    char szKeyPath[kMaxKeyPath + 1];
    _snprintf(szKeyPath, sizeof(szKeyPath), "%s%s", kRegPrefix, szAppKey != nullptr ? szAppKey : "");
    szKeyPath[kMaxKeyPath] = '\0';
    HKEY hKey = nullptr;
    if (RegOpenKeyExA(HKEY_LOCAL_MACHINE, szKeyPath, 0, KEY_READ, &hKey) != ERROR_SUCCESS)
    {
        return;
    }
    CRegKeyCloser keyCloser(hKey);

    if (ReadDword(hKey, "Trace") != 0)
    {
        bool bKeyRead = false;
        const DWORD dwKey = m_bNoKeyRequired ? 0 : ReadDword(hKey, "Key", &bKeyRead);
        if (m_bNoKeyRequired || (bKeyRead && dwKey == DateKey()))
        {
            m_bEnabled = true;
            bool bRead = false;
            const DWORD dwClear = ReadDword(hKey, "TraceClear", &bRead);
            if (bRead)
            {
                m_bTraceClear = dwClear != 0;
            }
            // At most 259 characters: with its terminator the value fills MAX_PATH bytes; one
            // stored without a terminator gets one here, one place behind the read bytes.
            char szFile[MAX_PATH + 1] = "";
            DWORD dwType = 0;
            DWORD cbFile = MAX_PATH;
            if (RegQueryValueExA(hKey, "TraceFile", nullptr, &dwType, reinterpret_cast<BYTE*>(szFile),
                                 &cbFile) == ERROR_SUCCESS &&
                dwType == REG_SZ)
            {
                szFile[cbFile] = '\0';
                if (szFile[0] != '\0' && strlen(szFile) < MAX_PATH)
                {
                    SetFilePath(szFile);
                }
            }
        }
    }
    m_nLevel = ReadDword(hKey, "TraceLevel");
    m_bGlobalEnable = ReadDword(hKey, "TraceGlobalEnable") > 0;
    if (m_bGlobalEnable)
    {
        FetchModuleName();
    }
    m_bKeepHistory = ReadDword(hKey, "TraceKeepHistory") > 0;
    m_nLimitSize = ReadDword(hKey, "TraceLimitSize");
    m_nLimitTime = ReadDword(hKey, "TraceLimitTime");
    m_nDelaySecs = ReadDword(hKey, "TraceDelaySecs");
    if (ReadDword(hKey, "TraceInfo") != 0)
    {
        m_bTraceInfo = true;
        ShowInfoBox();
    }
}

void CCArcaTrace::InitFromCommandLine()
{
    if (m_bEnabled)
    {
        return;
    }
    ResetSettings();
    if (InheritGlobalTrace())
    {
        return;
    }
    int nArgs = 0;
    LPWSTR* ppArgs = CommandLineToArgvW(GetCommandLineW(), &nArgs);
    if (ppArgs == nullptr)
    {
        return;
    }
    int nTrace = -1;
    for (int i = 0; i < nArgs && nTrace < 0; ++i)
    {
        if (ppArgs[i][0] == L'/' && _wcsnicmp(ppArgs[i], L"/Trace", 6) == 0)
        {
            nTrace = i;
        }
    }
    if (nTrace >= 0)
    {
        m_bEnabled = true;
        m_nLevel = TRC_INFO;
        if (nTrace + 1 < nArgs && ppArgs[nTrace + 1][0] != L'/')
        {
            wchar_t wszExpanded[MAX_PATH];
            const DWORD dwLen = ExpandEnvironmentStringsW(ppArgs[nTrace + 1], wszExpanded, MAX_PATH);
            if (dwLen != 0 && dwLen <= MAX_PATH)
            {
                SetFilePathW(wszExpanded);
                ReplacePlaceholders();
            }
        }
        struct
        {
            const wchar_t* wszName;
            unsigned* pnValue;
        } aNumbers[] = {{L"/TrcLevel", &m_nLevel},
                        {L"/TrcLimitSize", &m_nLimitSize},
                        {L"/TrcLimitTime", &m_nLimitTime},
                        {L"/TrcDelaySecs", &m_nDelaySecs}};
        for (int i = 0; i < nArgs; ++i)
        {
            const wchar_t* wszArg = ppArgs[i];
            if (wszArg[0] != L'/')
            {
                continue;
            }
            if (OptionMatches(wszArg, L"/TrcClear"))
            {
                m_bTraceClear = true;
            }
            else if (OptionMatches(wszArg, L"/TrcInfo"))
            {
                m_bTraceInfo = true;
            }
            else if (OptionMatches(wszArg, L"/TrcGlobalEnable"))
            {
                m_bGlobalEnable = true;
                FetchModuleName();
            }
            else if (OptionMatches(wszArg, L"/TrcKeepHistory"))
            {
                m_bKeepHistory = true;
            }
            for (const auto& number : aNumbers)
            {
                if (OptionMatches(wszArg, number.wszName) && i + 1 < nArgs && ppArgs[i + 1][0] != L'/')
                {
                    *number.pnValue = LeadingDecimal(ppArgs[i + 1]);
                    ++i;
                    break;
                }
            }
        }
    }
    LocalFree(ppArgs);
    if (m_bTraceInfo)
    {
        ShowInfoBox();
    }
}

void CCArcaTrace::InitExplicit(const char* szFileName, unsigned nLevel, unsigned nFlags)
{
    if (m_bEnabled)
    {
        return;
    }
    ResetSettings();
    if (InheritGlobalTrace())
    {
        return;
    }
    m_bEnabled = true;
    if (szFileName != nullptr && szFileName[0] != '\0')
    {
        SetFilePath(szFileName);
    }
    m_nLevel = nLevel;
    m_bGlobalEnable = (nFlags & TRCFLAG_GLOBAL_ENABLE) != 0;
    if (m_bGlobalEnable)
    {
        FetchModuleName();
    }
    m_bTraceClear = (nFlags & TRCFLAG_CLEAR) != 0;
    if (nFlags & TRCFLAG_CONSTRUCTED)
    {
        m_bConstructed = true;
    }
    m_bTraceInfo = (nFlags & TRCFLAG_INFO) != 0;
    m_bKeepHistory = (nFlags & TRCFLAG_KEEP_HISTORY) != 0;
    m_bNoKeyRequired = (nFlags & TRCFLAG_NO_KEY) != 0;
}

// The box waits for its OK button. A process without an interactive desktop (a service in
// session 0) shows it on an invisible desktop, where nobody can press OK: the process then
// blocks there for good. So "TraceInfo" is for interactive diagnosis only; tests never set it.
void CCArcaTrace::ShowInfoBox() const
{
    char szText[2 * MAX_PATH];
    if (m_bEnabled && m_wszPath != nullptr && m_wszPath[0] != L'\0')
    {
        _snprintf(szText, sizeof(szText), "Enable_By_RegKey: TRACE ENABLED:\r\nFile='%S'", m_wszPath);
        szText[sizeof(szText) - 1] = '\0';
    }
    else if (m_bEnabled)
    {
        strcpy(szText, "Enable_By_RegKey: TRACE ENABLED");
    }
    else
    {
        strcpy(szText, "Enable_By_RegKey: trace disabled");
    }
    MessageBoxA(nullptr, szText, "CCArcaTrace", MB_OK);
}
