// CCStringConversion: in-place conversion between ANSI and UTF-16.
#include "StringConversion.h"

#include "ArcaTrace.h"

#include <windows.h>

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <cwchar>

namespace
{
const char kCreated[] = "An instance of CCStringConversion has been created.";
const char kDestroyed[] = "An instance of CCStringConversion has been destroyed.";

void* CopyBytes(const void* pSrc, size_t nBytes)
{
    void* pCopy = malloc(nBytes);
    if (pCopy)
        memcpy(pCopy, pSrc, nBytes);
    return pCopy;
}
} // namespace

CCStringConversion::CCStringConversion() : m_pBuffer(nullptr), m_bWide(false)
{
    gg_ptrc->Trace(TRC_INFOCC, "CCStringConversion::CCStringConversion", "Enter", kCreated, "");
    gg_ptrc->Trace(TRC_INFOCC, "CCStringConversion::CCStringConversion", "Leave", kCreated, "");
}

CCStringConversion::CCStringConversion(const wchar_t* szwSrc) : m_pBuffer(nullptr), m_bWide(true)
{
    gg_ptrc->Trace(TRC_INFOCC, "CCStringConversion::CCStringConversion", "Enter", kCreated, "szwSrc: 0x%08X",
                   static_cast<unsigned>(reinterpret_cast<uintptr_t>(szwSrc)));
    if (szwSrc)
        m_pBuffer = CopyBytes(szwSrc, (wcslen(szwSrc) + 1) * sizeof(wchar_t));
    gg_ptrc->Trace(TRC_INFOCC, "CCStringConversion::CCStringConversion", "Leave", kCreated, "");
}

CCStringConversion::CCStringConversion(const char* szSrc) : m_pBuffer(nullptr), m_bWide(false)
{
    gg_ptrc->Trace(TRC_INFOCC, "CCStringConversion::CCStringConversion", "Enter", kCreated, "szSrc: %s",
                   szSrc);
    if (szSrc)
        m_pBuffer = CopyBytes(szSrc, strlen(szSrc) + 1);
    gg_ptrc->Trace(TRC_INFOCC, "CCStringConversion::CCStringConversion", "Leave", kCreated, "");
}

CCStringConversion::~CCStringConversion()
{
    gg_ptrc->Trace(TRC_INFOCC, "CCStringConversion::~CCStringConversion", "Enter", kDestroyed, "");
    free(m_pBuffer);
    m_pBuffer = nullptr;
    gg_ptrc->Trace(TRC_INFOCC, "CCStringConversion::~CCStringConversion", "Leave", kDestroyed, "");
}

CCStringConversion::operator const char*()
{
    gg_ptrc->Trace(TRC_INFOCC, "CCStringConversion::operator const char *", "Enter",
                   "Method operator LPCSTR has been entered.", "");
    gg_ptrc->Trace(TRC_INFOCC, "CCStringConversion::operator const char *", "Leave",
                   "Method operator LPCSTR has been left.", "");
    return Convert2A();
}

CCStringConversion::operator const wchar_t*()
{
    gg_ptrc->Trace(TRC_INFOCC, "CCStringConversion::operator const wchar_t *", "Enter",
                   "Method operator LPCWSTR has been entered.", "");
    gg_ptrc->Trace(TRC_INFOCC, "CCStringConversion::operator const wchar_t *", "Leave",
                   "Method operator LPCWSTR has been left.", "");
    return Convert2W();
}

const char* CCStringConversion::Convert2A()
{
    gg_ptrc->Trace(TRC_INFOCC, "CCStringConversion::Convert2A", "Enter", "Method Convert2A has been entered.",
                   "");
    const char* szResult = nullptr;
    if (m_pBuffer && !m_bWide)
    {
        szResult = static_cast<const char*>(m_pBuffer);
    }
    else if (m_pBuffer)
    {
        const wchar_t* szwHeld = static_cast<const wchar_t*>(m_pBuffer);
        size_t nBytes = wcslen(szwHeld) + 1; // one byte per UTF-16 character
        char* szNew = static_cast<char*>(malloc(nBytes));
        if (!szNew)
        {
            gg_ptrc->Trace(TRC_ERROR, "CCStringConversion::Convert2A", "Internal",
                           "Memory allocation failed!", "");
        }
        else
        {
            size_t nConverted = 0;
            errno_t nErr = wcstombs_s(&nConverted, szNew, nBytes, szwHeld, _TRUNCATE);
            if (nErr == EILSEQ)
            {
                gg_ptrc->Trace(TRC_VERBOSECC, "CCStringConversion::Convert2A", "Internal",
                               "Could not convert unicode to ansi string because of unrecognized character, "
                               "using different api",
                               "");
                if (WideCharToMultiByte(CP_ACP, 0, szwHeld, -1, szNew, static_cast<int>(nBytes), nullptr,
                                        nullptr) == 0)
                {
                    gg_ptrc->Trace(TRC_ERROR, "CCStringConversion::Convert2A", "Internal",
                                   "Error converting WCHARs to CHARs, even with WideCharToMultiByte API",
                                   "GetLastError: %d", static_cast<int>(GetLastError()));
                    free(szNew);
                    szNew = nullptr;
                }
            }
            else if (nErr != 0 && nErr != STRUNCATE)
            {
                gg_ptrc->Trace(TRC_ERROR, "CCStringConversion::Convert2A", "Internal",
                               "Error converting WCHARs to CHARs ", "");
                free(szNew);
                szNew = nullptr;
            }
            if (szNew)
            {
                free(m_pBuffer);
                m_pBuffer = szNew;
                m_bWide = false;
                szResult = szNew;
            }
        }
    }
    gg_ptrc->Trace(TRC_INFOCC, "CCStringConversion::Convert2A", "Leave", "Method Convert2A has been left.",
                   "");
    return szResult;
}

const wchar_t* CCStringConversion::Convert2W()
{
    gg_ptrc->Trace(TRC_INFOCC, "CCStringConversion::Convert2W", "Enter", "Method Convert2W has been entered.",
                   "");
    const wchar_t* szwResult = nullptr;
    if (m_pBuffer && m_bWide)
    {
        szwResult = static_cast<const wchar_t*>(m_pBuffer);
    }
    else if (m_pBuffer)
    {
        const char* szHeld = static_cast<const char*>(m_pBuffer);
        size_t nChars = strlen(szHeld) + 1;
        wchar_t* szwNew = static_cast<wchar_t*>(malloc(nChars * sizeof(wchar_t)));
        if (!szwNew)
        {
            gg_ptrc->Trace(TRC_ERROR, "CCStringConversion::Convert2W", "Internal", "Memory allocation failed",
                           "");
        }
        else
        {
            size_t nConverted = 0;
            errno_t nErr = mbstowcs_s(&nConverted, szwNew, nChars, szHeld, _TRUNCATE);
            if (nErr != 0 && nErr != STRUNCATE)
            {
                gg_ptrc->Trace(TRC_ERROR, "CCStringConversion::Convert2W", "Internal",
                               "Failure converting CHARs to WCHARs", "");
                free(szwNew);
            }
            else
            {
                free(m_pBuffer);
                m_pBuffer = szwNew;
                m_bWide = true;
                szwResult = szwNew;
            }
        }
    }
    gg_ptrc->Trace(TRC_INFOCC, "CCStringConversion::Convert2W", "Leave", "Method Convert2W has been left.",
                   "");
    return szwResult;
}
