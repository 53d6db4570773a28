// WmiErrorText: the system's message text for an error code, else the program's WMI table.
#include "WmiErrorText.h"

#include <windows.h>

#include <cstring>

namespace
{
// Shared by every call and not locked: each call overwrites the text of the previous one.
char g_szWmiErrorText[WMIERRORTEXT_BUFSIZE];

const DWORD kFlagsFromSystem = FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM; // 0x1100
const DWORD kFlagsFromModule =
    FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_HMODULE | FORMAT_MESSAGE_IGNORE_INSERTS; // 0xB00
const DWORD kFlagsNoSource = FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_IGNORE_INSERTS;      // 0x300

const DWORD kFacilityWin32Low16 = 8; // only the low 16 bits name the message
const DWORD kFacilityMsmq = 14;      // message queuing: its own message module

HMODULE LoadAsData(const char* szModule)
{
    return LoadLibraryExA(szModule, nullptr, LOAD_LIBRARY_AS_DATAFILE);
}

// The WMI utilities library, the system module that carries the WMI error messages.
HMODULE LoadWmiUtils()
{
    char szPath[MAX_PATH + 32] = {0};
    UINT nLen = GetSystemDirectoryA(szPath, MAX_PATH);
    if (nLen == 0 || nLen >= MAX_PATH)
        return LoadAsData("wmiutils.dll");
    strcat(szPath, "\\wbem\\wmiutils.dll");
    return LoadAsData(szPath);
}

// Asks the system for the message; the text is allocated by the system (LocalFree).
DWORD FetchMessage(DWORD dwFlags, HMODULE hModule, DWORD dwMessageId, char** ppszMessage)
{
    *ppszMessage = nullptr;
    return FormatMessageA(dwFlags, hModule, dwMessageId, 0x400, reinterpret_cast<char*>(ppszMessage), 0,
                          nullptr);
}

// The fallback chain of facility 14: the system itself, then the other message modules.
DWORD FetchFromFallbacks(HMODULE* phModule, DWORD dwMessageId, char** ppszMessage)
{
    DWORD nLen = FetchMessage(kFlagsFromSystem, nullptr, dwMessageId, ppszMessage);
    for (int nModule = 0; nModule < 2 && nLen == 0; ++nModule)
    {
        if (*phModule)
            FreeLibrary(*phModule);
        *phModule = nModule == 0 ? LoadAsData("NETMSG.DLL") : LoadWmiUtils();
        if (*phModule)
            nLen = FetchMessage(kFlagsFromModule, *phModule, dwMessageId, ppszMessage);
    }
    return nLen;
}

void CopyMessage(char* szMessage, DWORD nLen)
{
    // Trailing line ends go; the first character always stays.
    while (nLen > 1 && (szMessage[nLen - 1] == '\n' || szMessage[nLen - 1] == '\r'))
        szMessage[--nLen] = '\0';
    strncpy(g_szWmiErrorText, szMessage, WMIERRORTEXT_BUFSIZE - 1);
    g_szWmiErrorText[WMIERRORTEXT_BUFSIZE - 1] = '\0';
}

const char* LookUpTables(DWORD dwCode)
{
    for (const WMIERRORROW* const* ppTable = gg_apWmiErrorTables; *ppTable; ++ppTable)
        for (const WMIERRORROW* pRow = *ppTable; pRow->dwCode != 0; ++pRow)
            if (pRow->dwCode == dwCode)
                return pRow->szText;
    return "unknown";
}
} // namespace

const char* WmiErrorText(uint32_t hr)
{
    memset(g_szWmiErrorText, 0, sizeof(g_szWmiErrorText));
    DWORD dwMessageId = hr;
    DWORD dwFlags = kFlagsFromSystem;
    HMODULE hModule = nullptr;

    DWORD dwFacility = (hr >> 16) & 0x1FFF;
    if (dwFacility == kFacilityWin32Low16)
    {
        dwMessageId = hr & 0xFFFF;
    }
    else if (dwFacility == kFacilityMsmq)
    {
        hModule = LoadAsData("MQUTIL.DLL");
        dwFlags = hModule ? kFlagsFromModule : kFlagsNoSource;
    }

    char* szMessage = nullptr;
    DWORD nLen = FetchMessage(dwFlags, hModule, dwMessageId, &szMessage);
    if (hModule && nLen == 0)
        nLen = FetchFromFallbacks(&hModule, dwMessageId, &szMessage);
    if (hModule)
        FreeLibrary(hModule);

    if (nLen != 0 && szMessage)
        CopyMessage(szMessage, nLen);
    else
        strncpy(g_szWmiErrorText, LookUpTables(dwMessageId), WMIERRORTEXT_BUFSIZE - 1);
    if (szMessage)
        LocalFree(szMessage);
    return g_szWmiErrorText;
}
