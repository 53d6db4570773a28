// CCArcaTrace: the trace facility of every module of Tarvos.
//
// One static trace object per module; its address is exported as gg_ptrc so that
// other modules of the same process can find it and write into the same file.
// The trace is off until one of the initializers switches it on; while it is
// off a trace call costs two tests and no call into the system.
#pragma once

#include <windows.h>

#include <cstdarg>
#include <cstddef>
#include <cstdint>

#if defined(__GNUC__)
#define TRC_PRINTF_CHECK(fmt, args) __attribute__((format(ms_printf, fmt, args)))
#else
#define TRC_PRINTF_CHECK(fmt, args)
#endif

// Levels of the trace records.
enum : unsigned
{
    TRC_ERROR = 1,
    TRC_WARNING = 2,
    TRC_INFO = 3,
    TRC_VERBOSE = 4,
    TRC_INFOCC = 5,
    TRC_VERBOSECC = 6,
};

// Construction flags of InitFromRegistry and InitExplicit.
enum : unsigned
{
    TRCFLAG_GLOBAL_ENABLE = 0x01,
    TRCFLAG_CLEAR = 0x02,
    TRCFLAG_CONSTRUCTED = 0x04,
    TRCFLAG_INFO = 0x08,
    TRCFLAG_KEEP_HISTORY = 0x10,
    TRCFLAG_NO_KEY = 0x20,
};

class CCArcaTrace
{
public:
    CCArcaTrace();
    ~CCArcaTrace();
    CCArcaTrace(const CCArcaTrace&) = delete;
    CCArcaTrace& operator=(const CCArcaTrace&) = delete;

    // One record: szFunction is "Class::Method" or a plain function name.
    void Trace(unsigned nLevel, const char* szFunction, const char* szCategory, const char* szText,
               const char* szFormat, ...) TRC_PRINTF_CHECK(6, 7);
    void TraceClassMethod(unsigned nLevel, const char* szClass, const char* szMethod, const char* szCategory,
                          const char* szText, const char* szFormat, ...) TRC_PRINTF_CHECK(7, 8);
    // The formatted text alone, without header and without line end.
    void TraceRaw(unsigned nLevel, const char* szFormat, ...) TRC_PRINTF_CHECK(3, 4);
    // A header record followed by a hex and character dump of the data.
    void TraceBinary(unsigned nLevel, const char* szFunction, const char* szCategory, const char* szText,
                     const void* pData, unsigned nBytes, unsigned nBytesPerLine, unsigned nBytesPerGroup,
                     bool bSkipTrailingZeros);
    void TraceBinaryClassMethod(unsigned nLevel, const char* szClass, const char* szMethod,
                                const char* szCategory, const char* szText, const void* pData,
                                unsigned nBytes, unsigned nBytesPerLine, unsigned nBytesPerGroup,
                                bool bSkipTrailingZeros);

    // False when tracing is off or *pnLevel is above the configured level; otherwise
    // waits for the semaphore and tells whether it was obtained. Unlock releases it.
    bool LockIfActive(const unsigned* pnLevel);
    void Unlock();

    void Enable_Off();
    void Enable_On();
    void Delay(unsigned nLevel, unsigned nSeconds);

    // Initializers: the first one that switches tracing on wins.
    void InitFromRegistry(const char* szAppKey, unsigned nFlags);
    void InitFromCommandLine();
    void InitExplicit(const char* szFileName, unsigned nLevel, unsigned nFlags);

    bool IsEnabled() const { return m_bEnabled; }
    unsigned Level() const { return m_nLevel; }
    bool IsGlobalEnabled() const { return m_bGlobalEnable; }
    bool IsClear() const { return m_bTraceClear; }
    bool IsKeepHistory() const { return m_bKeepHistory; }
    bool IsInfo() const { return m_bTraceInfo; }
    unsigned LimitSize() const { return m_nLimitSize; }
    unsigned LimitTime() const { return m_nLimitTime; }
    unsigned DelaySecs() const { return m_nDelaySecs; }
    unsigned BufferCapacity() const { return m_nBufSize; }
    const wchar_t* FilePath() const { return m_wszPath; }

private:
    bool IsActive(unsigned nLevel) const { return m_bEnabled && nLevel <= m_nLevel; }
    void TraceV(unsigned nLevel, const char* szClass, const char* szMethod, const char* szCategory,
                const char* szText, const char* szFormat, va_list args);
    bool FormatHeader(unsigned nLevel, const char* szClass, const char* szMethod, const char* szCategory,
                      const char* szText, size_t* pnLen);
    bool GrowBuffer();
    bool FormatBehind(size_t nOffset, const char* szFormat, va_list args);
    void DumpBinary(const unsigned char* pData, unsigned nBytes, unsigned nBytesPerLine,
                    unsigned nBytesPerGroup, bool bSkipTrailingZeros);
    bool CreateTraceSemaphore();
    void WriteBuffer();
    void WriteWide(const wchar_t* wszText);
    void CheckLimits();
    void AppendRecord();
    void CreateNewFile();
    void SwitchFile();
    void HistoryName(wchar_t* wszHistory, size_t nChars) const;
    void FormatSystemMessage(DWORD dwCode);
    void ResetSettings();
    bool InheritGlobalTrace();
    void FetchModuleName();
    void SetFilePath(const char* szFile);
    void SetFilePathW(const wchar_t* wszFile);
    void ReplacePlaceholders();
    void ShowInfoBox() const;

    unsigned char m_abGuardLead[4];
    bool m_bTraceClear;
    bool m_bFirstWritePending;
    bool m_bKeepHistory;
    bool m_bNoKeyRequired;
    HANDLE m_hSemaphore;
    wchar_t* m_wszPath;
    unsigned m_nLevel;
    unsigned m_nLimitSize;
    unsigned m_nBytesWritten;
    unsigned m_nLimitTime;
    int64_t m_tNextSwitch;
    wchar_t* m_wszModule;
    char* m_pBuffer;
    unsigned m_nBufSize;
    unsigned m_nDelaySecs;
    size_t m_nRecordLen;
    char* m_szErrorText;
    bool m_bEnabled;
    bool m_bGlobalEnable;
    bool m_bConstructed;
    bool m_bSwitchedOff;
    unsigned char m_abGuardTrail[4];
    bool m_bTraceInfo;
};

// The trace object of this process, exported for the other modules of the process.
extern "C" __declspec(dllexport) CCArcaTrace* gg_ptrc;
