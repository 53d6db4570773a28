// CCArcaTrace: the UTF-16 trace file, its size and time limits and the history files.
#include "ArcaTrace.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <ctime>

namespace
{
const size_t kHistoryNames = 1000;
const wchar_t kTraceTxt[] = L".trace.txt";
const size_t kTraceTxtLen = sizeof(kTraceTxt) / sizeof(wchar_t) - 1;
const DWORD kMoveFlags = MOVEFILE_REPLACE_EXISTING | MOVEFILE_COPY_ALLOWED | MOVEFILE_WRITE_THROUGH;

int64_t Now()
{
    return static_cast<int64_t>(_time64(nullptr));
}

bool FileExists(const wchar_t* wszPath)
{
    return GetFileAttributesW(wszPath) != INVALID_FILE_ATTRIBUTES;
}

// Closes a C runtime stream on every path.
class CFileCloser
{
public:
    explicit CFileCloser(FILE* pFile) : m_pFile(pFile) {}
    ~CFileCloser()
    {
        if (m_pFile != nullptr)
        {
            fclose(m_pFile);
        }
    }
    CFileCloser(const CFileCloser&) = delete;
    CFileCloser& operator=(const CFileCloser&) = delete;
    FILE* Get() const { return m_pFile; }

private:
    FILE* m_pFile;
};
} // namespace

// Writes the record buffer: first-write handling, limit checks, then the append.
void CCArcaTrace::WriteBuffer()
{
    CheckLimits();
    AppendRecord();
}

// Writes a wide text as it stands, used where the record buffer cannot be used.
void CCArcaTrace::WriteWide(const wchar_t* wszText)
{
    CheckLimits();
    CFileCloser file(_wfopen(m_wszPath, L"ab"));
    if (file.Get() == nullptr)
    {
        return;
    }
    const size_t nLen = wcslen(wszText);
    fwrite(wszText, sizeof(wchar_t), nLen, file.Get());
    m_nBytesWritten += static_cast<unsigned>(nLen * sizeof(wchar_t));
}

void CCArcaTrace::CheckLimits()
{
    if (m_bFirstWritePending)
    {
        if (m_bTraceClear || !FileExists(m_wszPath))
        {
            CreateNewFile();
        }
        m_bFirstWritePending = false;
    }
    if (m_nLimitSize != 0 && m_nBytesWritten > m_nLimitSize)
    {
        SwitchFile();
    }
    else if (m_nLimitTime != 0 && m_tNextSwitch < Now())
    {
        SwitchFile();
        m_tNextSwitch = Now() + static_cast<int64_t>(m_nLimitTime) * 60;
    }
}

// Appends the record buffer, each byte converted alone to UTF-16, CR before every LF.
void CCArcaTrace::AppendRecord()
{
    CFileCloser file(_wfopen(m_wszPath, L"ab"));
    if (file.Get() == nullptr)
    {
        return;
    }
    wchar_t awcChunk[512];
    size_t nChunk = 0;
    for (size_t i = 0; i < m_nRecordLen; ++i)
    {
        if (nChunk + 2 > sizeof(awcChunk) / sizeof(wchar_t))
        {
            fwrite(awcChunk, sizeof(wchar_t), nChunk, file.Get());
            nChunk = 0;
        }
        wchar_t wc = 0;
        if (mbtowc(&wc, &m_pBuffer[i], 1) < 0)
        {
            wc = static_cast<unsigned char>(m_pBuffer[i]);
        }
        if (m_pBuffer[i] == '\n')
        {
            awcChunk[nChunk++] = L'\r';
        }
        awcChunk[nChunk++] = wc;
    }
    fwrite(awcChunk, sizeof(wchar_t), nChunk, file.Get());
    m_nBytesWritten += static_cast<unsigned>(m_nRecordLen * 2);
}

// Begins the file afresh: truncated, with the UTF-16 LE byte order mark.
void CCArcaTrace::CreateNewFile()
{
    CFileCloser file(_wfopen(m_wszPath, L"wb"));
    if (file.Get() != nullptr)
    {
        static const unsigned char abBom[2] = {0xFF, 0xFE};
        fwrite(abBom, 1, sizeof(abBom), file.Get());
    }
    if (m_nLimitSize != 0)
    {
        m_nBytesWritten = 2;
    }
    if (m_nLimitTime != 0)
    {
        m_tNextSwitch = Now() + static_cast<int64_t>(m_nLimitTime) * 60;
    }
}

// The history name: "<stem>_NNN<suffix>", where "x.trace.txt" has the suffix ".trace.txt".
void CCArcaTrace::HistoryName(wchar_t* wszHistory, size_t nChars) const
{
    const size_t nPath = wcslen(m_wszPath);
    size_t nStem = nPath;
    const wchar_t* wszSuffix = L"";
    if (nPath >= kTraceTxtLen && _wcsicmp(m_wszPath + nPath - kTraceTxtLen, kTraceTxt) == 0)
    {
        nStem = nPath - kTraceTxtLen;
        wszSuffix = kTraceTxt;
    }
    else if (const wchar_t* pDot = wcsrchr(m_wszPath, L'.'))
    {
        nStem = static_cast<size_t>(pDot - m_wszPath);
        wszSuffix = pDot;
    }
    if (nStem + 5 + wcslen(wszSuffix) + kTraceTxtLen >= nChars)
    {
        wszHistory[0] = L'\0';
        return;
    }
    for (size_t n = 0; n < kHistoryNames; ++n)
    {
        wmemcpy(wszHistory, m_wszPath, nStem);
        wchar_t* p = wszHistory + nStem;
        *p++ = L'_';
        *p++ = static_cast<wchar_t>(L'0' + n / 100);
        *p++ = static_cast<wchar_t>(L'0' + n / 10 % 10);
        *p++ = static_cast<wchar_t>(L'0' + n % 10);
        wcscpy(p, wszSuffix);
        if (!m_bKeepHistory || !FileExists(wszHistory))
        {
            return;
        }
    }
    // All numbers are taken: this name always carries ".trace.txt", whatever the file's own suffix.
    wmemcpy(wszHistory, m_wszPath, nStem);
    wcscpy(wszHistory + nStem, L"_aaa");
    wcscat(wszHistory, kTraceTxt);
}

void CCArcaTrace::FormatSystemMessage(DWORD dwCode)
{
    if (m_szErrorText != nullptr)
    {
        LocalFree(m_szErrorText);
        m_szErrorText = nullptr;
    }
    FormatMessageA(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM |
                       FORMAT_MESSAGE_IGNORE_INSERTS,
                   nullptr, dwCode, 0, reinterpret_cast<LPSTR>(&m_szErrorText), 0, nullptr);
    if (m_szErrorText != nullptr)
    {
        size_t nLen = strlen(m_szErrorText);
        while (nLen > 0 && (m_szErrorText[nLen - 1] == '\r' || m_szErrorText[nLen - 1] == '\n'))
        {
            m_szErrorText[--nLen] = '\0';
        }
    }
}

// Moves the current file to its history name and begins a new one. The pending record
// is then written as the caller's write goes on, over the fixed line formatted into the
// buffer here: the new file shows the fixed line cut to the pending record's length.
void CCArcaTrace::SwitchFile()
{
    wchar_t wszHistory[2 * MAX_PATH];
    HistoryName(wszHistory, sizeof(wszHistory) / sizeof(wchar_t));
    const BOOL bMoved = MoveFileExW(m_wszPath, wszHistory, kMoveFlags);
    const unsigned nLimitSize = m_nLimitSize;
    const unsigned nLimitTime = m_nLimitTime;
    if (bMoved)
    {
        m_nLimitSize = 0;
        m_nLimitTime = 0;
        AppendRecord();
        FormatSystemMessage(static_cast<DWORD>(bMoved));
        _snprintf(m_pBuffer, m_nBufSize,
                  "31.12.2030 23:59:59.999\t9999\t9999\twarning\tCCArcaTrace\tFileSwitch\tInternal\t"
                  "MoveFileExW returned last error 0x%8.8lx, %s\n",
                  static_cast<unsigned long>(bMoved), m_szErrorText != nullptr ? m_szErrorText : "<unknown>");
        AppendRecord();
        m_nLimitSize = nLimitSize;
        m_nLimitTime = nLimitTime;
    }
    if (!FileExists(wszHistory))
    {
        m_nLimitSize = 0;
        m_nLimitTime = 0;
        AppendRecord();
        _snprintf(m_pBuffer, m_nBufSize,
                  "31.12.2030 23:59:59.999\t9999\t9999\terror\tCCArcaTrace\tFileSwitch\tException\t"
                  "MoveFileExW could not create file '%S'\n",
                  wszHistory);
        AppendRecord();
        m_nLimitSize = nLimitSize;
        m_nLimitTime = nLimitTime;
        return;
    }
    CreateNewFile();
}
