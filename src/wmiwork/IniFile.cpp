// CIniFile: existence test, key reading and key writing of one INI file.
#include "IniFile.h"

#include "ArcaTrace.h"

#include <windows.h>

#include <vector>

CIniFile::CIniFile() : m_bUsable(false) {}

bool CIniFile::OpenIni(const char* szPath, bool bMustExist)
{
    gg_ptrc->Trace(4, "CIniFile::OpenIni", "Enter", "Method OpenIni has been entered.",
                   "szPath='%s', bMustExist=%s", szPath, bMustExist ? "true" : "false");
    // The profile functions look for a bare name in the Windows directory; a job means the
    // file in the current directory.
    m_strPath = szPath != nullptr ? szPath : "";
    if (m_strPath.find_first_of("\\/") == std::string::npos)
    {
        m_strPath = ".\\" + m_strPath;
    }
    const HANDLE hFile = CreateFileA(m_strPath.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                     nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    const bool bExists = hFile != INVALID_HANDLE_VALUE;
    if (bExists)
    {
        CloseHandle(hFile);
    }
    m_bUsable = bExists || !bMustExist;
    gg_ptrc->Trace(4, "CIniFile::OpenIni", "Leave", "Method OpenIni has been left.", "ret=%s",
                   bExists ? "true" : "false");
    return bExists;
}

std::string CIniFile::ReadString(const char* szSection, const char* szKey) const
{
    gg_ptrc->Trace(4, "CIniFile::ReadString", "Enter", "Method ReadString has been entered.",
                   "szSection='%s', szKey='%s'", szSection, szKey);
    // The buffer grows until the value fits, so values are read whole up to 64 MiB. A longer
    // one is read as empty rather than cut: a cut value must not be set anywhere.
    std::vector<char> buffer(1024);
    DWORD dwLen = 0;
    for (;;)
    {
        dwLen = GetPrivateProfileStringA(szSection, szKey, "", buffer.data(),
                                         static_cast<DWORD>(buffer.size()), m_strPath.c_str());
        if (dwLen + 1 < buffer.size())
        {
            break;
        }
        if (buffer.size() >= 0x4000000)
        {
            gg_ptrc->Trace(2, "CIniFile::ReadString", "Internal", "Value too long, read as empty",
                           "path='%s', szKey='%s'", m_strPath.c_str(), szKey);
            dwLen = 0;
            break;
        }
        buffer.resize(buffer.size() * 4);
    }
    std::string strValue(buffer.data(), dwLen);
    gg_ptrc->Trace(4, "CIniFile::ReadString", "Leave", "Method ReadString has been left.", "ret='%s'",
                   strValue.c_str());
    return strValue;
}

bool CIniFile::WriteString(const char* szSection, const char* szKey, const char* szValue) const
{
    gg_ptrc->Trace(4, "CIniFile::WriteString", "Enter", "Method WriteString has been entered.",
                   "szSection='%s', szKey='%s', szValue='%s'", szSection, szKey, szValue);
    const bool bRet = WritePrivateProfileStringA(szSection, szKey, szValue, m_strPath.c_str()) != FALSE;
    if (!bRet)
    {
        gg_ptrc->Trace(1, "CIniFile::WriteString", "Internal", "WritePrivateProfileStringA failed",
                       "path='%s', dwError=%lu", m_strPath.c_str(), GetLastError());
    }
    gg_ptrc->Trace(4, "CIniFile::WriteString", "Leave", "Method WriteString has been left.", "ret=%s",
                   bRet ? "true" : "false");
    return bRet;
}
