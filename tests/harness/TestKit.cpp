#include "TestKit.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>

namespace testkit
{
const char kTarvosTraceKey[] = "Software\\Brevane\\Common\\Tracing\\Tarvos.exe\\1.02";

namespace
{
void RemoveTree(const std::string& strPath)
{
    WIN32_FIND_DATAA fd;
    HANDLE hFind = FindFirstFileA((strPath + "\\*").c_str(), &fd);
    if (hFind != INVALID_HANDLE_VALUE)
    {
        do
        {
            const std::string strName = fd.cFileName;
            if (strName == "." || strName == "..")
            {
                continue;
            }
            const std::string strChild = strPath + "\\" + strName;
            if (fd.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY)
            {
                RemoveTree(strChild);
            }
            else
            {
                SetFileAttributesA(strChild.c_str(), FILE_ATTRIBUTE_NORMAL);
                DeleteFileA(strChild.c_str());
            }
        } while (FindNextFileA(hFind, &fd));
        FindClose(hFind);
    }
    RemoveDirectoryA(strPath.c_str());
}
} // namespace

CScratchDir::CScratchDir()
{
    char szTemp[MAX_PATH];
    GetTempPathA(MAX_PATH, szTemp);
    static LONG s_nCounter = 0;
    for (;;)
    {
        char szName[64];
        snprintf(szName, sizeof(szName), "tarvostest_%lu_%ld_%lu", GetCurrentProcessId(),
                 InterlockedIncrement(&s_nCounter), GetTickCount());
        m_strPath = std::string(szTemp) + szName;
        if (CreateDirectoryA(m_strPath.c_str(), nullptr))
        {
            break;
        }
    }
}

CScratchDir::~CScratchDir()
{
    RemoveTree(m_strPath);
}

std::string FolderText(const std::string& strPath, const std::string& strSkip)
{
    std::string strText;
    WIN32_FIND_DATAA fd;
    HANDLE hFind = FindFirstFileA((strPath + "\\*").c_str(), &fd);
    for (BOOL bMore = hFind != INVALID_HANDLE_VALUE; bMore; bMore = FindNextFileA(hFind, &fd))
    {
        const std::string strName = fd.cFileName, strChild = strPath + "\\" + strName;
        if (strName == "." || strName == ".." || _stricmp(strChild.c_str(), strSkip.c_str()) == 0)
            continue;
        const std::vector<unsigned char> bytes = ReadBytes(strChild);
        strText += fd.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY
                       ? "[" + strChild + "]\n" + FolderText(strChild, strSkip)
                       : strChild + " = " + std::string(bytes.begin(), bytes.end()) + "\n";
    }
    if (hFind != INVALID_HANDLE_VALUE)
        FindClose(hFind);
    return strText;
}

bool FileExists(const std::string& strPath)
{
    return GetFileAttributesA(strPath.c_str()) != INVALID_FILE_ATTRIBUTES;
}

std::vector<unsigned char> ReadBytes(const std::string& strPath)
{
    std::ifstream in(strPath, std::ios::binary);
    return std::vector<unsigned char>(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

bool WriteBytes(const std::string& strPath, const std::string& strBytes)
{
    std::ofstream out(strPath, std::ios::binary | std::ios::trunc);
    out.write(strBytes.data(), static_cast<std::streamsize>(strBytes.size()));
    return static_cast<bool>(out);
}

std::string Utf16Bytes(const std::string& strAscii)
{
    std::string strOut;
    for (unsigned char c : strAscii)
    {
        strOut.push_back(static_cast<char>(c));
        strOut.push_back('\0');
    }
    return strOut;
}

std::string ReadUtf16Text(const std::string& strPath, bool* pbHasBom)
{
    const std::vector<unsigned char> bytes = ReadBytes(strPath);
    size_t nStart = 0;
    const bool bBom = bytes.size() >= 2 && bytes[0] == 0xFF && bytes[1] == 0xFE;
    if (bBom)
    {
        nStart = 2;
    }
    if (pbHasBom != nullptr)
    {
        *pbHasBom = bBom;
    }
    std::string strText;
    for (size_t i = nStart; i + 1 < bytes.size(); i += 2)
    {
        const unsigned nUnit = bytes[i] | (bytes[i + 1] << 8);
        strText.push_back(nUnit < 0x100 ? static_cast<char>(nUnit) : '?');
    }
    return strText;
}

std::vector<std::string> SplitLines(const std::string& strText)
{
    std::vector<std::string> lines;
    size_t nPos = 0;
    for (;;)
    {
        const size_t nEnd = strText.find("\r\n", nPos);
        if (nEnd == std::string::npos)
        {
            if (nPos < strText.size())
            {
                lines.push_back(strText.substr(nPos));
            }
            return lines;
        }
        lines.push_back(strText.substr(nPos, nEnd - nPos));
        nPos = nEnd + 2;
    }
}

std::vector<std::string> SplitRecords(const std::string& strText)
{
    std::vector<std::string> records;
    for (const std::string& strLine : SplitLines(strText))
    {
        const bool bStartsRecord = strLine.size() > 24 && strLine[2] == '.' && strLine[5] == '.' &&
                                   strLine[10] == ' ' && strLine[13] == ':' && strLine[19] == '.';
        if (bStartsRecord || records.empty())
        {
            records.push_back(strLine);
        }
        else
        {
            records.back() += "\n" + strLine;
        }
    }
    return records;
}

std::vector<std::string> SplitTabs(const std::string& strLine)
{
    std::vector<std::string> columns;
    size_t nPos = 0;
    for (;;)
    {
        const size_t nEnd = strLine.find('\t', nPos);
        columns.push_back(strLine.substr(nPos, nEnd == std::string::npos ? std::string::npos : nEnd - nPos));
        if (nEnd == std::string::npos)
        {
            return columns;
        }
        nPos = nEnd + 1;
    }
}

// A key's values and subkeys, read into memory and written back.
struct CScratchKey::Saved
{
    struct Value
    {
        std::string strName;
        DWORD dwType;
        std::string strData;
    };
    std::vector<Value> values;
    std::vector<std::pair<std::string, Saved>> subkeys;

    bool Read(HKEY hParent, const std::string& strKey)
    {
        HKEY hKey = nullptr;
        if (RegOpenKeyExA(hParent, strKey.c_str(), 0, KEY_READ, &hKey) != ERROR_SUCCESS)
            return false;
        char szName[16384];
        std::string strData(1 << 20, '\0');
        for (DWORD i = 0;; ++i)
        {
            DWORD cchName = sizeof(szName), dwType = 0, cbData = static_cast<DWORD>(strData.size());
            if (RegEnumValueA(hKey, i, szName, &cchName, nullptr, &dwType,
                              reinterpret_cast<BYTE*>(&strData[0]), &cbData) != ERROR_SUCCESS)
                break;
            values.push_back({szName, dwType, strData.substr(0, cbData)});
        }
        for (DWORD i = 0;; ++i)
        {
            DWORD cchName = sizeof(szName);
            if (RegEnumKeyExA(hKey, i, szName, &cchName, nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS)
                break;
            subkeys.emplace_back(szName, Saved());
            subkeys.back().second.Read(hKey, szName);
        }
        RegCloseKey(hKey);
        return true;
    }
    void Write(HKEY hParent, const std::string& strKey) const
    {
        HKEY hKey = nullptr;
        if (RegCreateKeyExA(hParent, strKey.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &hKey,
                            nullptr) != ERROR_SUCCESS)
            return;
        for (const Value& v : values)
            RegSetValueExA(hKey, v.strName.c_str(), 0, v.dwType,
                           reinterpret_cast<const BYTE*>(v.strData.data()),
                           static_cast<DWORD>(v.strData.size()));
        for (const auto& sub : subkeys)
            sub.second.Write(hKey, sub.first);
        RegCloseKey(hKey);
    }
};

CScratchKey::CScratchKey(const std::string& strSubKey)
    : m_strSubKey(strSubKey), m_hKey(nullptr), m_pSaved(new Saved)
{
    if (!m_pSaved->Read(HKEY_LOCAL_MACHINE, m_strSubKey))
    {
        delete m_pSaved;
        m_pSaved = nullptr;
    }
    RegDeleteTreeA(HKEY_LOCAL_MACHINE, m_strSubKey.c_str());
    const LONG lError = RegCreateKeyExA(HKEY_LOCAL_MACHINE, m_strSubKey.c_str(), 0, nullptr, 0,
                                        KEY_ALL_ACCESS, nullptr, &m_hKey, nullptr);
    EXPECT_EQ(ERROR_SUCCESS, lError) << "cannot create the scratch key HKLM\\" << m_strSubKey;
}

std::string CScratchKey::Text() const
{
    Saved saved;
    if (!saved.Read(HKEY_LOCAL_MACHINE, m_strSubKey))
        return "<no key>";
    std::string strText;
    for (const Saved::Value& v : saved.values)
        strText += v.strName + " " + std::to_string(v.dwType) + " " + v.strData + "\n";
    for (const auto& sub : saved.subkeys)
        strText += "[" + sub.first + "]\n";
    return strText;
}

CScratchKey::~CScratchKey()
{
    if (m_hKey != nullptr)
    {
        RegCloseKey(m_hKey);
    }
    RegDeleteTreeA(HKEY_LOCAL_MACHINE, m_strSubKey.c_str());
    RegDeleteKeyA(HKEY_LOCAL_MACHINE, m_strSubKey.c_str());
    if (m_pSaved != nullptr)
    {
        m_pSaved->Write(HKEY_LOCAL_MACHINE, m_strSubKey);
        delete m_pSaved;
    }
}

CSavedValue::CSavedValue(HKEY hRoot, const char* szKey, const char* szName)
    : m_hRoot(hRoot), m_strKey(szKey), m_szName(szName)
{
    HKEY hKey = nullptr;
    DWORD cbData = 0;
    if (RegOpenKeyExA(hRoot, szKey, 0, KEY_READ, &hKey) != ERROR_SUCCESS)
        return;
    m_bHad = RegQueryValueExA(hKey, szName, nullptr, &m_dwType, nullptr, &cbData) == ERROR_SUCCESS;
    m_strData.resize(cbData);
    if (m_bHad && cbData > 0)
        RegQueryValueExA(hKey, szName, nullptr, &m_dwType, reinterpret_cast<BYTE*>(&m_strData[0]), &cbData);
    RegCloseKey(hKey);
}

CSavedValue::CSavedValue(HKEY hRoot, const char* szKey, const char* szName, const char* szValue)
    : CSavedValue(hRoot, szKey, szName)
{
    const LONG lError = szValue != nullptr ? RegSetKeyValueA(hRoot, szKey, szName, REG_SZ, szValue,
                                                             static_cast<DWORD>(strlen(szValue) + 1))
                                           : RegDeleteKeyValueA(hRoot, szKey, szName);
    EXPECT_TRUE(lError == ERROR_SUCCESS || (szValue == nullptr && !m_bHad)) << szKey << "\\" << szName;
}

CSavedValue::~CSavedValue()
{
    if (m_bHad)
        RegSetKeyValueA(m_hRoot, m_strKey.c_str(), m_szName, m_dwType, m_strData.data(),
                        static_cast<DWORD>(m_strData.size()));
    else
        RegDeleteKeyValueA(m_hRoot, m_strKey.c_str(), m_szName);
}

bool RunsUnderWine()
{
    return GetProcAddress(GetModuleHandleA("ntdll.dll"), "wine_get_version") != nullptr;
}

void CScratchKey::SetDword(const char* szName, DWORD dwValue)
{
    RegSetValueExA(m_hKey, szName, 0, REG_DWORD, reinterpret_cast<const BYTE*>(&dwValue), sizeof(dwValue));
}

void CScratchKey::SetString(const char* szName, const std::string& strValue, DWORD dwType)
{
    RegSetValueExA(m_hKey, szName, 0, dwType, reinterpret_cast<const BYTE*>(strValue.c_str()),
                   static_cast<DWORD>(strValue.size() + 1));
}

void CScratchKey::SetBinary(const char* szName, const std::string& strBytes)
{
    RegSetValueExA(m_hKey, szName, 0, REG_BINARY, reinterpret_cast<const BYTE*>(strBytes.data()),
                   static_cast<DWORD>(strBytes.size()));
}

void CScratchKey::Delete(const char* szName)
{
    RegDeleteValueA(m_hKey, szName);
}

std::vector<std::string> TarvosRun::Records(const std::string& strMethod, const std::string& strCategory,
                                            const std::string& strText) const
{
    std::vector<std::string> found;
    for (const std::string& strLine : lines)
    {
        const std::vector<std::string> cols = SplitTabs(strLine);
        // date, pid, tid, level, class, method, category, text, message
        if (cols.size() < 9)
        {
            continue;
        }
        const std::string strQualified = cols[4] == "<global>" ? cols[5] : cols[4] + "::" + cols[5];
        if ((strMethod.empty() || strQualified == strMethod) &&
            (strCategory.empty() || cols[6] == strCategory) && (strText.empty() || cols[7] == strText))
        {
            found.push_back(strLine);
        }
    }
    return found;
}

std::vector<TraceRecord> TraceRecords(const std::string& strPath, const std::string& strFunction,
                                      const std::string& strCategory, const std::string& strText)
{
    std::vector<TraceRecord> records;
    for (const std::string& strLine : SplitRecords(ReadUtf16Text(strPath)))
    {
        const std::vector<std::string> cols = SplitTabs(strLine);
        if (cols.size() < 9)
        {
            continue;
        }
        const TraceRecord record = {cols[3], cols[4], cols[5], cols[6], cols[7], cols[8]};
        const bool bQualified = strFunction.find("::") != std::string::npos;
        if ((strFunction.empty() || strFunction == (bQualified ? cols[4] + "::" + cols[5] : cols[5])) &&
            (strCategory.empty() || strCategory == cols[6]) && (strText.empty() || strText == cols[7]))
        {
            records.push_back(record);
        }
    }
    return records;
}

std::string TarvosExe()
{
    char szPath[MAX_PATH] = "";
    GetModuleFileNameA(nullptr, szPath, MAX_PATH);
    const std::string strPath = szPath;
    return strPath.substr(0, strPath.rfind('\\') + 1) + "Tarvos.exe";
}

TarvosRun RunProgram(const std::string& strCommandLine, const std::string& strWorkDir, DWORD dwTimeoutMs)
{
    TarvosRun run;
    SECURITY_ATTRIBUTES sa = {sizeof(sa), nullptr, TRUE};
    HANDLE hRead = nullptr;
    HANDLE hWrite = nullptr;
    if (!CreatePipe(&hRead, &hWrite, &sa, 0))
    {
        run.strFailure = "CreatePipe failed, error " + std::to_string(GetLastError());
        ADD_FAILURE() << strCommandLine << ": " << run.strFailure;
        return run;
    }
    SetHandleInformation(hRead, HANDLE_FLAG_INHERIT, 0);
    STARTUPINFOA si = {};
    si.cb = sizeof(si);
    si.dwFlags = STARTF_USESTDHANDLES;
    si.hStdOutput = hWrite;
    si.hStdError = hWrite;
    si.hStdInput = GetStdHandle(STD_INPUT_HANDLE);
    PROCESS_INFORMATION pi = {};
    std::string strCmd = strCommandLine;
    // Wine now and then fails a process start with ERROR_INTERNAL_ERROR before the program runs
    // a single instruction; that is the test machine's fault, so the start is tried again.
    BOOL bStarted = FALSE;
    DWORD dwStartError = 0;
    for (int nTry = 0; nTry < 3 && !bStarted; ++nTry)
    {
        bStarted = CreateProcessA(nullptr, &strCmd[0], nullptr, nullptr, TRUE, 0, nullptr,
                                  strWorkDir.empty() ? nullptr : strWorkDir.c_str(), &si, &pi);
        dwStartError = GetLastError();
        if (bStarted || dwStartError != ERROR_INTERNAL_ERROR)
            break;
        printf("process start failed with error %lu, tried again: %s\n", dwStartError,
               strCommandLine.c_str());
        Sleep(200);
    }
    CloseHandle(hWrite);
    if (!bStarted)
    {
        CloseHandle(hRead);
        run.strFailure = "CreateProcessA failed, error " + std::to_string(dwStartError);
        ADD_FAILURE() << strCommandLine << ": " << run.strFailure;
        return run;
    }
    // Reads the output while the program runs, so a full pipe never blocks it.
    const ULONGLONG ullEnd = GetTickCount64() + dwTimeoutMs;
    for (;;)
    {
        DWORD dwAvail = 0;
        while (PeekNamedPipe(hRead, nullptr, 0, nullptr, &dwAvail, nullptr) && dwAvail > 0)
        {
            char buf[4096];
            DWORD dwRead = 0;
            if (!ReadFile(hRead, buf, sizeof(buf), &dwRead, nullptr) || dwRead == 0)
            {
                break;
            }
            run.strStdout.append(buf, dwRead);
        }
        if (WaitForSingleObject(pi.hProcess, 20) == WAIT_OBJECT_0)
        {
            break;
        }
        if (GetTickCount64() > ullEnd)
        {
            run.bTimedOut = true;
            run.strFailure = "still running after " + std::to_string(dwTimeoutMs) + " ms: terminated";
            TerminateProcess(pi.hProcess, 0xDEAD);
            WaitForSingleObject(pi.hProcess, 5000);
            break;
        }
    }
    char buf[4096];
    DWORD dwRead = 0;
    while (ReadFile(hRead, buf, sizeof(buf), &dwRead, nullptr) && dwRead > 0)
    {
        run.strStdout.append(buf, dwRead);
    }
    GetExitCodeProcess(pi.hProcess, &run.dwExitCode);
    CloseHandle(pi.hThread);
    CloseHandle(pi.hProcess);
    CloseHandle(hRead);
    return run;
}

TarvosOptions StartedIn(const std::string& strWorkDir, const std::string& strTraceFile)
{
    TarvosOptions options;
    options.strWorkDir = strWorkDir;
    options.strTraceFile = strTraceFile;
    return options;
}

TarvosRun RunTarvos(const std::string& strArgs, const TarvosOptions& options)
{
    CScratchDir dir;
    const std::string strWorkDir = options.strWorkDir.empty() ? dir.Path() : options.strWorkDir;
    const std::string strTraceFile =
        options.strTraceFile.empty() ? dir.File("tarvos.trc") : options.strTraceFile;
    CScratchKey key(kTarvosTraceKey);
    if (options.bTrace)
    {
        key.SetDword("Trace", 1);
        key.SetDword("TraceLevel", options.nTraceLevel);
        key.SetDword("TraceClear", 1);
        key.SetString("TraceFile", strTraceFile);
    }
    const std::string strCmd = "\"" + TarvosExe() + "\"" + (strArgs.empty() ? "" : " " + strArgs);
    TarvosRun run = RunProgram(strCmd, strWorkDir, options.dwTimeoutMs);
    const bool bRelative = strTraceFile.size() < 2 || (strTraceFile[1] != ':' && strTraceFile[0] != '\\');
    const TarvosRun trace = ReadTrace(bRelative ? strWorkDir + "\\" + strTraceFile : strTraceFile);
    run.strTrace = trace.strTrace;
    run.lines = trace.lines;
    // Every run of Tarvos.exe writes main's records; none means another run took the trace key.
    EXPECT_TRUE(!options.bTrace || !run.strFailure.empty() || !run.lines.empty())
        << "a traced run left no trace records: " << strCmd;
    return run;
}

std::string Column(const std::string& strRecord, size_t nColumn)
{
    const auto cols = SplitTabs(strRecord);
    return nColumn < cols.size() ? cols[nColumn] : std::string();
}

std::string Only(const TarvosRun& run, const std::string& strMethod, const std::string& strCategory,
                 const std::string& strText, bool bLevel)
{
    const auto found = run.Records(strMethod, strCategory, strText);
    if (found.size() != 1)
        return "<" + std::to_string(found.size()) + " records>";
    return (bLevel ? Column(found[0], 3) + " " : std::string()) + Message(found[0]);
}

std::vector<std::string> Messages(const TarvosRun& run, const std::string& strText)
{
    std::vector<std::string> messages;
    for (const std::string& strRecord : run.lines)
        if (Column(strRecord, 7) == strText)
            messages.push_back(Column(strRecord, 3) + " " + Message(strRecord));
    return messages;
}

size_t Find(const TarvosRun& run, const std::string& strMethod, const std::string& strCategory, size_t nFrom)
{
    for (size_t i = nFrom; i < run.lines.size(); ++i)
    {
        const auto cols = SplitTabs(run.lines[i]);
        if (cols.size() > 6 && cols[4] + "::" + cols[5] == strMethod && cols[6] == strCategory)
            return i;
    }
    return run.lines.size();
}

std::string RegBytes(HKEY hRoot, const char* szKey, const char* szName, DWORD* pdwType)
{
    HKEY hKey = nullptr;
    BYTE buffer[4096];
    DWORD cbData = sizeof(buffer);
    const bool bRead = RegOpenKeyExA(hRoot, szKey, 0, KEY_READ, &hKey) == ERROR_SUCCESS &&
                       RegQueryValueExA(hKey, szName, nullptr, pdwType, buffer, &cbData) == ERROR_SUCCESS;
    RegCloseKey(hKey);
    return bRead ? std::string(reinterpret_cast<const char*>(buffer), cbData) : "<none>";
}

void SetRegBytes(HKEY hRoot, const char* szKey, const char* szName, const std::string& strBytes, DWORD dwType)
{
    if (strBytes == "<none>")
        RegDeleteKeyValueA(hRoot, szKey, szName);
    else
        RegSetKeyValueA(hRoot, szKey, szName, dwType, strBytes.data(), static_cast<DWORD>(strBytes.size()));
}

std::string MultiSz(const std::vector<std::string>& strings)
{
    std::string str;
    for (const std::string& s : strings)
        str += s + '\0';
    return str + '\0';
}

TarvosRun ReadTrace(const std::string& strPath)
{
    TarvosRun trace;
    if (FileExists(strPath))
    {
        trace.strTrace = ReadUtf16Text(strPath);
        trace.lines = SplitRecords(trace.strTrace);
    }
    return trace;
}
} // namespace testkit
