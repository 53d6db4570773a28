// MofTestUtil.cpp - helpers shared by the MOF front end tests.
#include "MofTestUtil.h"

#include <algorithm>
#include <cstdio>

namespace mofctest
{

namespace
{

void RemoveTree(const std::wstring& wszDir)
{
    WIN32_FIND_DATAW fd;
    HANDLE hFind = FindFirstFileW((wszDir + L"\\*").c_str(), &fd);
    if (hFind != INVALID_HANDLE_VALUE)
    {
        do
        {
            std::wstring wszName = fd.cFileName;
            if (wszName == L"." || wszName == L"..")
                continue;
            std::wstring wszFull = wszDir + L"\\" + wszName;
            if (fd.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY)
                RemoveTree(wszFull);
            else
                DeleteFileW(wszFull.c_str());
        } while (FindNextFileW(hFind, &fd));
        FindClose(hFind);
    }
    RemoveDirectoryW(wszDir.c_str());
}

void CollectMofFiles(const std::wstring& wszDir, std::vector<std::wstring>& files)
{
    WIN32_FIND_DATAW fd;
    HANDLE hFind = FindFirstFileW((wszDir + L"\\*").c_str(), &fd);
    if (hFind == INVALID_HANDLE_VALUE)
        return;
    do
    {
        std::wstring wszName = fd.cFileName;
        if (wszName == L"." || wszName == L"..")
            continue;
        std::wstring wszFull = wszDir + L"\\" + wszName;
        if (fd.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY)
            CollectMofFiles(wszFull, files);
        else if (wszName.size() > 4 && _wcsicmp(wszName.c_str() + wszName.size() - 4, L".mof") == 0)
            files.push_back(wszFull);
    } while (FindNextFileW(hFind, &fd));
    FindClose(hFind);
}

} // namespace

CScratchDir::CScratchDir()
{
    wchar_t wszTemp[MAX_PATH + 1] = {};
    GetTempPathW(MAX_PATH, wszTemp);
    static unsigned s_nCounter = 0;
    for (;;)
    {
        m_wszPath = std::wstring(wszTemp) + L"mofc_" + std::to_wstring(GetCurrentProcessId()) + L"_" +
                    std::to_wstring(++s_nCounter);
        if (CreateDirectoryW(m_wszPath.c_str(), nullptr))
            break;
    }
}

CScratchDir::~CScratchDir()
{
    RemoveTree(m_wszPath);
}

std::wstring CScratchDir::Write(const std::wstring& wszName, const std::string& strBytes) const
{
    std::wstring wszFull = m_wszPath + L"\\" + wszName;
    for (size_t n = m_wszPath.size() + 1; n < wszFull.size(); ++n)
        if (wszFull[n] == L'\\')
            CreateDirectoryW(wszFull.substr(0, n).c_str(), nullptr);
    HANDLE hFile = CreateFileW(wszFull.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                               FILE_ATTRIBUTE_NORMAL, nullptr);
    if (hFile != INVALID_HANDLE_VALUE)
    {
        DWORD dwWritten = 0;
        WriteFile(hFile, strBytes.data(), (DWORD)strBytes.size(), &dwWritten, nullptr);
        CloseHandle(hFile);
    }
    return wszFull;
}

CCurrentDir::CCurrentDir(const std::wstring& wszDir)
{
    wchar_t wszOld[MAX_PATH + 1] = {};
    GetCurrentDirectoryW(MAX_PATH, wszOld);
    m_wszOld = wszOld;
    SetCurrentDirectoryW(wszDir.c_str());
}

CCurrentDir::~CCurrentDir()
{
    SetCurrentDirectoryW(m_wszOld.c_str());
}

std::string Utf8(const std::wstring& wsz)
{
    if (wsz.empty())
        return std::string();
    int nLen = WideCharToMultiByte(CP_UTF8, 0, wsz.data(), (int)wsz.size(), nullptr, 0, nullptr, nullptr);
    std::string str((size_t)nLen, '\0');
    WideCharToMultiByte(CP_UTF8, 0, wsz.data(), (int)wsz.size(), &str[0], nLen, nullptr, nullptr);
    return str;
}

std::string Utf16LeWithBom(const std::wstring& wsz)
{
    std::string str("\xFF\xFE", 2);
    for (wchar_t ch : wsz)
    {
        str.push_back((char)(ch & 0xFF));
        str.push_back((char)((ch >> 8) & 0xFF));
    }
    return str;
}

std::wstring CorpusDir()
{
    std::wstring wszDir = MOFC_CORPUS_DIR;
    DWORD dwAttr = GetFileAttributesW(wszDir.c_str());
    if (dwAttr == INVALID_FILE_ATTRIBUTES || !(dwAttr & FILE_ATTRIBUTE_DIRECTORY))
        return std::wstring();
    return wszDir;
}

std::vector<std::wstring> FindMofFiles(const std::wstring& wszDir)
{
    std::vector<std::wstring> files;
    CollectMofFiles(wszDir, files);
    std::sort(files.begin(), files.end());
    return files;
}

std::string ReadAll(const std::wstring& wszPath)
{
    std::string str;
    FILE* pFile = _wfopen(wszPath.c_str(), L"rb");
    if (!pFile)
        return str;
    char szBuf[65536];
    size_t nRead;
    while ((nRead = fread(szBuf, 1, sizeof(szBuf), pFile)) > 0)
        str.append(szBuf, nRead);
    fclose(pFile);
    return str;
}

std::string Describe(const mofc::CompileResult& res)
{
    char szHead[160];
    snprintf(szHead, sizeof(szHead), "ok=%d hr=0x%08lX object=%d lines=%d-%d: ", res.ok ? 1 : 0,
             (unsigned long)res.hr, res.objectNumber, res.firstLine, res.lastLine);
    return szHead + Utf8(res.message);
}

} // namespace mofctest
