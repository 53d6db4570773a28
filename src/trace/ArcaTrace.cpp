// CCArcaTrace: construction, records and the record buffer.
#include "ArcaTrace.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace
{
const unsigned kInitialBufferSize = 4096;
const size_t kMaxClassName = 259;

// The process's trace object: constructed before the entry point runs.
CCArcaTrace g_ArcaTrace;

const char* LevelWord(unsigned nLevel)
{
    switch (nLevel)
    {
    case TRC_ERROR:
        return "\tError";
    case TRC_WARNING:
        return "\tWarning";
    case TRC_INFO:
        return "\tInfo";
    case TRC_VERBOSE:
        return "\tVerbose";
    case TRC_INFOCC:
        return "\tInfoCC";
    case TRC_VERBOSECC:
        return "\tVerboseCC";
    default:
        return "";
    }
}
} // namespace

CCArcaTrace* gg_ptrc = &g_ArcaTrace;

CCArcaTrace::CCArcaTrace()
    : m_bTraceClear(false), m_bFirstWritePending(false), m_bKeepHistory(false), m_bNoKeyRequired(false),
      m_hSemaphore(nullptr), m_wszPath(nullptr), m_nLevel(0), m_nLimitSize(0), m_nBytesWritten(0),
      m_nLimitTime(0), m_tNextSwitch(0), m_wszModule(nullptr), m_pBuffer(nullptr), m_nBufSize(0),
      m_nDelaySecs(0), m_nRecordLen(0), m_szErrorText(nullptr), m_bEnabled(false), m_bGlobalEnable(false),
      m_bConstructed(true), m_bSwitchedOff(false), m_bTraceInfo(false)
{
    memset(m_abGuardLead, 0x01, sizeof(m_abGuardLead));
    memset(m_abGuardTrail, 0x0F, sizeof(m_abGuardTrail));
    m_wszPath = static_cast<wchar_t*>(calloc(MAX_PATH, sizeof(wchar_t)));
    if (m_wszPath != nullptr)
    {
        wcscpy(m_wszPath, L"Trace.trc");
    }
    m_wszModule = static_cast<wchar_t*>(calloc(MAX_PATH, sizeof(wchar_t)));
    m_pBuffer = static_cast<char*>(malloc(kInitialBufferSize));
    if (m_pBuffer != nullptr)
    {
        m_pBuffer[0] = '\0';
        m_nBufSize = kInitialBufferSize;
    }
}

CCArcaTrace::~CCArcaTrace()
{
    if (m_hSemaphore != nullptr)
    {
        CloseHandle(m_hSemaphore);
        m_hSemaphore = nullptr;
    }
    m_bEnabled = false;
    free(m_pBuffer);
    m_pBuffer = nullptr;
    m_nBufSize = 0;
    free(m_wszPath);
    m_wszPath = nullptr;
    free(m_wszModule);
    m_wszModule = nullptr;
    if (m_szErrorText != nullptr)
    {
        LocalFree(m_szErrorText);
        m_szErrorText = nullptr;
    }
    // Another trace object of this module may have become the exported one: hand the
    // export back to the module's static object, which stays valid until the process ends.
    if (gg_ptrc == this && this != &g_ArcaTrace)
    {
        gg_ptrc = &g_ArcaTrace;
    }
}

void CCArcaTrace::Trace(unsigned nLevel, const char* szFunction, const char* szCategory, const char* szText,
                        const char* szFormat, ...)
{
    if (!IsActive(nLevel))
    {
        return;
    }
    // Split "Class::Method"; a plain function name belongs to "<global>".
    char szClass[kMaxClassName + 1] = "<global>";
    const char* szMethod = szFunction != nullptr ? szFunction : "";
    const char* pSep = szFunction != nullptr ? strstr(szFunction, "::") : nullptr;
    if (pSep != nullptr)
    {
        size_t nLen = static_cast<size_t>(pSep - szFunction);
        if (nLen > kMaxClassName)
        {
            nLen = kMaxClassName;
        }
        memcpy(szClass, szFunction, nLen);
        szClass[nLen] = '\0';
        szMethod = pSep + 2;
    }
    va_list args;
    va_start(args, szFormat);
    TraceV(nLevel, szClass, szMethod, szCategory, szText, szFormat, args);
    va_end(args);
}

void CCArcaTrace::TraceClassMethod(unsigned nLevel, const char* szClass, const char* szMethod,
                                   const char* szCategory, const char* szText, const char* szFormat, ...)
{
    if (!IsActive(nLevel))
    {
        return;
    }
    va_list args;
    va_start(args, szFormat);
    TraceV(nLevel, szClass, szMethod, szCategory, szText, szFormat, args);
    va_end(args);
}

void CCArcaTrace::TraceRaw(unsigned nLevel, const char* szFormat, ...)
{
    if (!IsActive(nLevel) || !LockIfActive(&nLevel))
    {
        return;
    }
    va_list args;
    va_start(args, szFormat);
    if (FormatBehind(0, szFormat, args))
    {
        WriteBuffer();
    }
    va_end(args);
    Unlock();
}

void CCArcaTrace::TraceV(unsigned nLevel, const char* szClass, const char* szMethod, const char* szCategory,
                         const char* szText, const char* szFormat, va_list args)
{
    if (!LockIfActive(&nLevel))
    {
        return;
    }
    size_t nHeader = 0;
    if (FormatHeader(nLevel, szClass, szMethod, szCategory, szText, &nHeader) &&
        FormatBehind(nHeader, szFormat, args))
    {
        if (m_nRecordLen + 1 > m_nBufSize)
        {
            WriteWide(L"No space for end marker left in buffer");
        }
        else
        {
            m_pBuffer[m_nRecordLen++] = '\n';
            if (m_nRecordLen < m_nBufSize)
            {
                m_pBuffer[m_nRecordLen] = '\0';
            }
            WriteBuffer();
        }
    }
    Unlock();
}

bool CCArcaTrace::FormatHeader(unsigned nLevel, const char* szClass, const char* szMethod,
                               const char* szCategory, const char* szText, size_t* pnLen)
{
    SYSTEMTIME st;
    GetLocalTime(&st);
    const DWORD dwPid = GetCurrentProcessId();
    const DWORD dwTid = GetCurrentThreadId();
    const char* szNull = "";
    for (;;)
    {
        int nLen;
        if (m_bGlobalEnable)
        {
            nLen = _snprintf(m_pBuffer, m_nBufSize,
                             "%02u.%02u.%04u %02u:%02u:%02u.%03u\t%04lu\t%04lu%s\t%S\t%s\t%s\t%s\t%s\t",
                             st.wDay, st.wMonth, st.wYear, st.wHour, st.wMinute, st.wSecond, st.wMilliseconds,
                             dwPid, dwTid, LevelWord(nLevel), m_wszModule != nullptr ? m_wszModule : L"",
                             szClass, szMethod, szCategory != nullptr ? szCategory : szNull,
                             szText != nullptr ? szText : szNull);
        }
        else
        {
            nLen = _snprintf(
                m_pBuffer, m_nBufSize, "%02u.%02u.%04u %02u:%02u:%02u.%03u\t%04lu\t%04lu%s\t%s\t%s\t%s\t%s\t",
                st.wDay, st.wMonth, st.wYear, st.wHour, st.wMinute, st.wSecond, st.wMilliseconds, dwPid,
                dwTid, LevelWord(nLevel), szClass, szMethod, szCategory != nullptr ? szCategory : szNull,
                szText != nullptr ? szText : szNull);
        }
        if (nLen >= 0 && static_cast<unsigned>(nLen) < m_nBufSize)
        {
            *pnLen = static_cast<size_t>(nLen);
            return true;
        }
        if (!GrowBuffer())
        {
            return false;
        }
    }
}

// Formats behind nOffset, doubling the buffer until the text fits.
bool CCArcaTrace::FormatBehind(size_t nOffset, const char* szFormat, va_list args)
{
    for (;;)
    {
        va_list argsCopy;
        va_copy(argsCopy, args);
        const size_t nSpace = m_nBufSize - nOffset;
        const int nLen =
            _vsnprintf(m_pBuffer + nOffset, nSpace, szFormat != nullptr ? szFormat : "", argsCopy);
        va_end(argsCopy);
        if (nLen >= 0)
        {
            // A text of exactly nSpace characters fits without terminator; the caller
            // then finds no room for the line end.
            m_nRecordLen = nOffset + static_cast<size_t>(nLen);
            return true;
        }
        if (!GrowBuffer())
        {
            return false;
        }
    }
}

bool CCArcaTrace::GrowBuffer()
{
    const unsigned nNewSize = m_nBufSize * 2;
    char* pNew = nNewSize > m_nBufSize ? static_cast<char*>(realloc(m_pBuffer, nNewSize)) : nullptr;
    if (pNew == nullptr)
    {
        m_bEnabled = false;
        WriteWide(L"Buffer allocation failed, tracing was disabled");
        return false;
    }
    m_pBuffer = pNew;
    m_nBufSize = nNewSize;
    return true;
}

bool CCArcaTrace::LockIfActive(const unsigned* pnLevel)
{
    if (!m_bEnabled || pnLevel == nullptr || *pnLevel > m_nLevel)
    {
        return false;
    }
    if (m_hSemaphore == nullptr && !CreateTraceSemaphore())
    {
        return false;
    }
    return WaitForSingleObject(m_hSemaphore, INFINITE) == WAIT_OBJECT_0;
}

void CCArcaTrace::Unlock()
{
    if (m_hSemaphore != nullptr)
    {
        ReleaseSemaphore(m_hSemaphore, 1, nullptr);
    }
}

// One semaphore per process and trace file, shared by all modules of the process.
bool CCArcaTrace::CreateTraceSemaphore()
{
    char szName[MAX_PATH];
    int nLen = _snprintf(szName, sizeof(szName), "CArcaTrace_PID_%8.8lx_", GetCurrentProcessId());
    for (const wchar_t* p = m_wszPath; p != nullptr && *p != L'\0' && nLen < MAX_PATH - 1; ++p)
    {
        const char c = static_cast<char>(*p);
        if (strchr("<>:\"/\\|", c) == nullptr)
        {
            szName[nLen++] = c;
        }
    }
    szName[nLen] = '\0';
    m_hSemaphore = ::OpenSemaphoreA(SEMAPHORE_ALL_ACCESS, FALSE, szName);
    if (m_hSemaphore == nullptr)
    {
        m_hSemaphore = CreateSemaphoreA(nullptr, 1, 1, szName);
    }
    return m_hSemaphore != nullptr;
}

void CCArcaTrace::Enable_Off()
{
    if (m_bEnabled)
    {
        Trace(TRC_VERBOSECC, "CCArcaTrace::Enable_Off", "Internal", "TRACING IS SWITCHED OFF", "");
        m_bEnabled = false;
        m_bSwitchedOff = true;
    }
}

void CCArcaTrace::Enable_On()
{
    if (m_bSwitchedOff)
    {
        m_bEnabled = true;
        m_bSwitchedOff = false;
        Trace(TRC_VERBOSECC, "CCArcaTrace::Enable_On", "Internal", "TRACING IS SWITCHED BACK ON", "");
    }
}

void CCArcaTrace::Delay(unsigned nLevel, unsigned nSeconds)
{
    const unsigned nDelay = m_nDelaySecs != 0 ? m_nDelaySecs : nSeconds;
    if (nDelay == 0)
    {
        return;
    }
    Trace(nLevel, "CCArcaTrace::Delay", "Internal", "EXECUTION DELAY BEGIN",
          "Execution is stopped for %lu seconds", static_cast<unsigned long>(nDelay));
    // Polls the clock without sleeping, so the delay also holds where sleeping is disturbed.
    const ULONGLONG ullEnd = GetTickCount64() + static_cast<ULONGLONG>(nDelay) * 1000;
    while (GetTickCount64() < ullEnd)
    {
    }
    Trace(nLevel, "CCArcaTrace::Delay", "Internal", "EXECUTION DELAY END", "Execution continues");
}
