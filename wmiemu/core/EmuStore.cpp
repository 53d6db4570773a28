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

bool ReadTextFile(const std::wstring& path, std::wstring& text)
{
    HANDLE h = CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                           nullptr, OPEN_EXISTING, 0, nullptr);
    if (h == INVALID_HANDLE_VALUE)
        return false;
    std::string data;
    char buf[65536];
    DWORD dwRead = 0;
    bool bOk = true;
    while ((bOk = ReadFile(h, buf, sizeof(buf), &dwRead, nullptr) != FALSE) && dwRead > 0)
        data.append(buf, dwRead);
    CloseHandle(h);
    if (!bOk)
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

HRESULT Store::Sync()
{
    std::wstring path = RepositoryFilePath();
    WIN32_FILE_ATTRIBUTE_DATA fad = {};
    bool bExists = GetFileAttributesExW(path.c_str(), GetFileExInfoStandard, &fad) != FALSE;
    ULONGLONG nSize = ((ULONGLONG)fad.nFileSizeHigh << 32) | fad.nFileSizeLow;
    if (m_bLoaded && path == m_path && bExists && CompareFileTime(&fad.ftLastWriteTime, &m_ftWrite) == 0 &&
        nSize == m_nSize)
        return WBEM_S_NO_ERROR;
    m_path = path;
    m_ftWrite = fad.ftLastWriteTime;
    m_nSize = nSize;
    if (!bExists)
    {
        m_repo = Repository::Fresh();
        m_bLoaded = true;
        return WBEM_S_NO_ERROR;
    }
    std::wstring text, error;
    Repository repo;
    if (!ReadTextFile(path, text) || !repo.Parse(text, error))
    {
        m_lastError = L"cannot read the repository file " + path + L": " + error;
        m_bLoaded = false;
        return WBEM_E_FAILED;
    }
    m_repo = std::move(repo);
    m_bLoaded = true;
    return WBEM_S_NO_ERROR;
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
    m_nSize = ((ULONGLONG)fad.nFileSizeHigh << 32) | fad.nFileSizeLow;
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
    Repository copy = m_repo;
    hr = f(copy);
    if (FAILED(hr) && !bKeepOnFailure)
        return hr;
    m_repo = std::move(copy);
    HRESULT hrSave = Save();
    return FAILED(hrSave) ? hrSave : hr;
}

HRESULT Store::Reset()
{
    Lock lock(*this);
    std::wstring path = RepositoryFilePath();
    if (!DeleteFileW(path.c_str()) && GetLastError() != ERROR_FILE_NOT_FOUND &&
        GetLastError() != ERROR_PATH_NOT_FOUND)
        return WBEM_E_FAILED;
    m_bLoaded = false;
    return WBEM_S_NO_ERROR;
}

} // namespace wmiemu
