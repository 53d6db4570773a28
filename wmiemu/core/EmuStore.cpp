// EmuStore.cpp - the repository file: location, loading, saving and locking.
#include "EmuStore.h"

namespace wmiemu
{

std::string ToUtf8(const std::wstring& s)
{
    if (s.empty())
        return std::string();
    int n = WideCharToMultiByte(CP_UTF8, 0, s.data(), (int)s.size(), nullptr, 0, nullptr, nullptr);
    std::string r(n, '\0');
    WideCharToMultiByte(CP_UTF8, 0, s.data(), (int)s.size(), &r[0], n, nullptr, nullptr);
    return r;
}

std::wstring FromUtf8(const std::string& s)
{
    if (s.empty())
        return std::wstring();
    int n = MultiByteToWideChar(CP_UTF8, 0, s.data(), (int)s.size(), nullptr, 0);
    std::wstring r(n, L'\0');
    MultiByteToWideChar(CP_UTF8, 0, s.data(), (int)s.size(), &r[0], n);
    return r;
}

namespace
{
// The bytes of a file from nOffset on; false when it cannot be read.
bool ReadFrom(const std::wstring& path, ULONGLONG nOffset, std::string& data)
{
    HANDLE h = CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                           nullptr, OPEN_EXISTING, 0, nullptr);
    if (h == INVALID_HANDLE_VALUE)
        return false;
    LARGE_INTEGER li;
    li.QuadPart = (LONGLONG)nOffset;
    char buf[65536];
    DWORD dwRead = 0;
    bool bOk = SetFilePointerEx(h, li, nullptr, FILE_BEGIN) != FALSE;
    while (bOk && (bOk = ReadFile(h, buf, sizeof(buf), &dwRead, nullptr) != FALSE) && dwRead > 0)
        data.append(buf, dwRead);
    CloseHandle(h);
    return bOk;
}
} // namespace

bool ReadTextFile(const std::wstring& path, std::wstring& text)
{
    std::string data;
    if (!ReadFrom(path, 0, data))
        return false;
    if (data.size() >= 2 && (unsigned char)data[0] == 0xFF && (unsigned char)data[1] == 0xFE)
        text.assign((const wchar_t*)(data.data() + 2), (data.size() - 2) / 2);
    else if (data.size() >= 3 && data.compare(0, 3, "\xEF\xBB\xBF") == 0)
        text = FromUtf8(data.substr(3));
    else
        text = FromUtf8(data);
    return true;
}

bool WriteTextFile(const std::wstring& path, const std::wstring& text)
{
    // Make the folders first.
    for (size_t pos = path.find(L'\\', 3); pos != std::wstring::npos; pos = path.find(L'\\', pos + 1))
        CreateDirectoryW(path.substr(0, pos).c_str(), nullptr);
    std::wstring tmp = path + L".tmp";
    HANDLE h = CreateFileW(tmp.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
    if (h == INVALID_HANDLE_VALUE)
        return false;
    std::string data = ToUtf8(text);
    DWORD dwWritten = 0;
    bool bOk = WriteFile(h, data.data(), (DWORD)data.size(), &dwWritten, nullptr) && dwWritten == data.size();
    CloseHandle(h);
    return bOk && MoveFileExW(tmp.c_str(), path.c_str(), MOVEFILE_REPLACE_EXISTING);
}

std::wstring ConfigValue(const wchar_t* wszEnv, const wchar_t* wszRegValue)
{
    wchar_t buf[MAX_PATH * 2];
    DWORD n = GetEnvironmentVariableW(wszEnv, buf, MAX_PATH * 2);
    if (n > 0 && n < MAX_PATH * 2)
        return buf;
    HKEY hKey = nullptr;
    std::wstring r;
    if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, L"Software\\WmiEmu", 0, KEY_READ, &hKey) == ERROR_SUCCESS)
    {
        DWORD dwType = 0, cb = sizeof(buf) - sizeof(wchar_t);
        if (RegQueryValueExW(hKey, wszRegValue, nullptr, &dwType, (BYTE*)buf, &cb) == ERROR_SUCCESS &&
            (dwType == REG_SZ || dwType == REG_EXPAND_SZ))
        {
            buf[cb / sizeof(wchar_t)] = 0;
            wchar_t expanded[MAX_PATH * 2];
            DWORD m = ExpandEnvironmentStringsW(buf, expanded, MAX_PATH * 2);
            r = (m > 0 && m <= MAX_PATH * 2) ? expanded : buf;
        }
        RegCloseKey(hKey);
    }
    return r;
}

std::wstring RepositoryFilePath()
{
    std::wstring path = ConfigValue(L"WMIEMU_REPOSITORY", L"Repository");
    if (!path.empty())
        return path;
    wchar_t buf[MAX_PATH];
    DWORD n = GetEnvironmentVariableW(L"ProgramData", buf, MAX_PATH);
    std::wstring base = (n > 0 && n < MAX_PATH) ? buf : L"C:\\ProgramData";
    return base + L"\\WmiEmu\\repository.txt";
}

class Store::Lock
{
public:
    explicit Lock(Store& s) : m_s(s)
    {
        EnterCriticalSection(&m_s.m_cs);
        if (m_s.m_hMutex)
            WaitForSingleObject(m_s.m_hMutex, 30000);
    }
    ~Lock()
    {
        if (m_s.m_hMutex)
            ReleaseMutex(m_s.m_hMutex);
        LeaveCriticalSection(&m_s.m_cs);
    }
    Lock(const Lock&) = delete;
    Lock& operator=(const Lock&) = delete;

private:
    Store& m_s;
};

Store::Store()
{
    InitializeCriticalSection(&m_cs);
    m_hMutex = CreateMutexW(nullptr, FALSE, L"Local\\WmiEmuRepository");
}

Store& Store::Instance()
{
    // Never destroyed: COM may call in while the process shuts down.
    static Store* s_pStore = new Store();
    return *s_pStore;
}

namespace
{
std::wstring JournalPath(const std::wstring& path)
{
    return path + L".journal";
}

ULONGLONG SizeOf(const WIN32_FILE_ATTRIBUTE_DATA& fad)
{
    return ((ULONGLONG)fad.nFileSizeHigh << 32) | fad.nFileSizeLow;
}

} // namespace

std::wstring Store::JournalHeader() const
{
    wchar_t buf[96];
    swprintf(buf, 96, L"wmiemu-journal 1 %llu %08lX%08lX\n", (unsigned long long)m_nSize,
             (unsigned long)m_ftWrite.dwHighDateTime, (unsigned long)m_ftWrite.dwLowDateTime);
    return buf;
}

HRESULT Store::Sync()
{
    std::wstring path = RepositoryFilePath();
    WIN32_FILE_ATTRIBUTE_DATA fad = {}, jad = {};
    bool bExists = GetFileAttributesExW(path.c_str(), GetFileExInfoStandard, &fad) != FALSE;
    GetFileAttributesExW(JournalPath(path).c_str(), GetFileExInfoStandard, &jad);
    if (!m_bLoaded || path != m_path || bExists != m_bFile ||
        (bExists && (CompareFileTime(&fad.ftLastWriteTime, &m_ftWrite) != 0 || SizeOf(fad) != m_nSize)))
    {
        m_path = path;
        HRESULT hr = Load(fad, bExists);
        m_nJournalSize = SizeOf(jad);
        m_ftJournal = jad.ftLastWriteTime;
        return hr;
    }
    if (!bExists ||
        (SizeOf(jad) == m_nJournalSize && CompareFileTime(&jad.ftLastWriteTime, &m_ftJournal) == 0))
        return WBEM_S_NO_ERROR;
    // Only the journal changed: another process appended to it, or started it.
    HRESULT hr =
        m_nJournal > 0 && SizeOf(jad) >= m_nJournal ? ApplyJournalFrom(m_nJournal) : Load(fad, bExists);
    m_nJournalSize = SizeOf(jad);
    m_ftJournal = jad.ftLastWriteTime;
    return hr;
}

HRESULT Store::Load(const WIN32_FILE_ATTRIBUTE_DATA& fad, bool bExists)
{
    m_ftWrite = fad.ftLastWriteTime;
    m_nSize = SizeOf(fad);
    m_bFile = bExists;
    m_nJournal = 0;
    if (!bExists)
    {
        // No file: a fresh repository, and no journal belongs to it.
        m_repo = Repository::Fresh();
        m_bLoaded = true;
        return WBEM_S_NO_ERROR;
    }
    std::wstring text, error;
    Repository repo;
    if (!ReadTextFile(m_path, text) || !repo.Parse(text, error))
    {
        m_lastError = L"cannot read the repository file " + m_path + L": " + error;
        m_bLoaded = false;
        return WBEM_E_FAILED;
    }
    m_repo = std::move(repo);
    m_bLoaded = true;
    return ApplyJournalFrom(0);
}

HRESULT Store::ApplyJournalFrom(ULONGLONG nOffset)
{
    std::string data;
    if (!ReadFrom(JournalPath(m_path), nOffset, data))
        return WBEM_S_NO_ERROR;
    size_t nUsed = 0;
    if (nOffset == 0)
    {
        const std::string header = ToUtf8(JournalHeader());
        if (data.compare(0, header.size(), header) != 0)
            return WBEM_S_NO_ERROR; // the journal of another file
        nUsed = header.size();
    }
    // Complete records only: one cut short by a killed process ends without its "end" line.
    size_t nEnd = data.rfind("\nend\n");
    nEnd = nEnd == std::string::npos || nEnd + 5 <= nUsed ? nUsed : nEnd + 5;
    std::wstring error;
    if (nEnd > nUsed && !m_repo.ApplyJournal(FromUtf8(data.substr(nUsed, nEnd - nUsed)), error))
    {
        m_lastError = L"cannot read the journal of " + m_path + L": " + error;
        m_bLoaded = false;
        return WBEM_E_FAILED;
    }
    m_nJournal = nOffset + nEnd;
    return WBEM_S_NO_ERROR;
}

HRESULT Store::Append(const std::wstring& record)
{
    // A journal goes with a file: the first write of a fresh repository writes the file.
    if (!m_bFile)
        return Save();
    std::string data = ToUtf8((m_nJournal == 0 ? JournalHeader() : std::wstring()) + record);
    std::wstring path = JournalPath(m_path);
    HANDLE h =
        CreateFileW(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                    nullptr, OPEN_ALWAYS, 0, nullptr);
    LARGE_INTEGER li;
    li.QuadPart = (LONGLONG)m_nJournal;
    DWORD dwWritten = 0;
    // Written over whatever a killed process left after the last complete record.
    bool bOk = h != INVALID_HANDLE_VALUE && SetFilePointerEx(h, li, nullptr, FILE_BEGIN) &&
               WriteFile(h, data.data(), (DWORD)data.size(), &dwWritten, nullptr) &&
               dwWritten == data.size() && SetEndOfFile(h);
    if (h != INVALID_HANDLE_VALUE)
        CloseHandle(h);
    if (!bOk)
    {
        m_lastError = L"cannot write the journal " + path;
        m_bLoaded = false;
        return WBEM_E_FAILED;
    }
    m_nJournal += data.size();
    WIN32_FILE_ATTRIBUTE_DATA jad = {};
    GetFileAttributesExW(path.c_str(), GetFileExInfoStandard, &jad);
    m_nJournalSize = SizeOf(jad);
    m_ftJournal = jad.ftLastWriteTime;
    return m_nJournal > m_nSize && m_nJournal > 64 * 1024 ? Save() : (HRESULT)WBEM_S_NO_ERROR;
}

HRESULT Store::Save()
{
    if (!WriteTextFile(m_path, m_repo.Serialize()))
    {
        m_lastError = L"cannot write the repository file " + m_path;
        m_bLoaded = false;
        return WBEM_E_FAILED;
    }
    WIN32_FILE_ATTRIBUTE_DATA fad = {};
    GetFileAttributesExW(m_path.c_str(), GetFileExInfoStandard, &fad);
    m_ftWrite = fad.ftLastWriteTime;
    m_nSize = SizeOf(fad);
    m_bFile = true;
    // The old journal no longer belongs to the file (its header says so) even where it stays.
    DeleteFileW(JournalPath(m_path).c_str());
    m_nJournal = m_nJournalSize = 0;
    m_ftJournal = FILETIME{};
    return WBEM_S_NO_ERROR;
}

HRESULT Store::Read(const std::function<HRESULT(const Repository&)>& f)
{
    Lock lock(*this);
    HRESULT hr = Sync();
    return FAILED(hr) ? hr : f(m_repo);
}

HRESULT Store::Modify(const std::function<HRESULT(Repository&)>& f, bool bKeepOnFailure)
{
    Lock lock(*this);
    HRESULT hr = Sync();
    if (FAILED(hr))
        return hr;
    // The copy is made over the repository of an earlier call, kept for this: its items mostly match
    // and keep their storage, so a call on a large repository allocates little.
    Repository copy;
    std::swap(copy, m_spare);
    copy.CopyFrom(m_repo);
    hr = f(copy);
    if (FAILED(hr) && !bKeepOnFailure)
    {
        m_spare = std::move(copy);
        return hr;
    }
    std::wstring record = copy.JournalRecord(m_repo);
    std::swap(m_repo, copy);
    m_spare = std::move(copy);
    HRESULT hrSave = record.empty() ? (HRESULT)WBEM_S_NO_ERROR : Append(record);
    return FAILED(hrSave) ? hrSave : hr;
}

HRESULT Store::Reset()
{
    Lock lock(*this);
    std::wstring path = RepositoryFilePath();
    for (const std::wstring& file : {path, JournalPath(path)})
        if (!DeleteFileW(file.c_str()) && GetLastError() != ERROR_FILE_NOT_FOUND &&
            GetLastError() != ERROR_PATH_NOT_FOUND)
            return WBEM_E_FAILED;
    m_bLoaded = false;
    return WBEM_S_NO_ERROR;
}

} // namespace wmiemu
