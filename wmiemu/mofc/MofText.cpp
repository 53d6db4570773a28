// MofText.cpp - reading MOF files: bytes to text, and path helpers.
#include "MofText.h"

#include <windows.h>

namespace mofc
{

namespace
{

std::wstring DecodeUtf16(const std::string& strBytes, size_t nStart, bool bBigEndian)
{
    std::wstring wszText;
    wszText.reserve((strBytes.size() - nStart) / 2);
    for (size_t n = nStart; n + 1 < strBytes.size(); n += 2)
    {
        unsigned char b0 = (unsigned char)strBytes[n], b1 = (unsigned char)strBytes[n + 1];
        wszText.push_back(bBigEndian ? (wchar_t)((b0 << 8) | b1) : (wchar_t)((b1 << 8) | b0));
    }
    return wszText;
}

// Strict UTF-8 decoding; false on the first malformed sequence.
bool DecodeUtf8(const std::string& strBytes, size_t nStart, std::wstring& wszText)
{
    wszText.clear();
    wszText.reserve(strBytes.size() - nStart);
    size_t n = nStart;
    while (n < strBytes.size())
    {
        unsigned char c = (unsigned char)strBytes[n];
        if (c < 0x80)
        {
            wszText.push_back((wchar_t)c);
            ++n;
            continue;
        }
        int nMore = 0;
        unsigned long dwCode = 0;
        if ((c & 0xE0) == 0xC0)
            nMore = 1, dwCode = c & 0x1F;
        else if ((c & 0xF0) == 0xE0)
            nMore = 2, dwCode = c & 0x0F;
        else if ((c & 0xF8) == 0xF0)
            nMore = 3, dwCode = c & 0x07;
        else
            return false;
        if (n + nMore >= strBytes.size())
            return false;
        for (int k = 1; k <= nMore; ++k)
        {
            unsigned char cc = (unsigned char)strBytes[n + k];
            if ((cc & 0xC0) != 0x80)
                return false;
            dwCode = (dwCode << 6) | (cc & 0x3F);
        }
        if ((nMore == 1 && dwCode < 0x80) || (nMore == 2 && dwCode < 0x800) ||
            (nMore == 3 && dwCode < 0x10000) || dwCode > 0x10FFFF)
            return false;
        if (dwCode >= 0x10000)
        {
            dwCode -= 0x10000;
            wszText.push_back((wchar_t)(0xD800 + (dwCode >> 10)));
            wszText.push_back((wchar_t)(0xDC00 + (dwCode & 0x3FF)));
        }
        else
            wszText.push_back((wchar_t)dwCode);
        n += nMore + 1;
    }
    return true;
}

} // namespace

std::wstring DecodeMofBytes(const std::string& strBytes)
{
    size_t nSize = strBytes.size();
    unsigned char b0 = nSize > 0 ? (unsigned char)strBytes[0] : 0;
    unsigned char b1 = nSize > 1 ? (unsigned char)strBytes[1] : 0;
    if (b0 == 0xFF && b1 == 0xFE)
        return DecodeUtf16(strBytes, 2, false);
    if (b0 == 0xFE && b1 == 0xFF)
        return DecodeUtf16(strBytes, 2, true);
    if (nSize >= 2 && b0 != 0 && b1 == 0)
        return DecodeUtf16(strBytes, 0, false);
    size_t nStart = (nSize >= 3 && b0 == 0xEF && b1 == 0xBB && (unsigned char)strBytes[2] == 0xBF) ? 3 : 0;
    std::wstring wszText;
    if (DecodeUtf8(strBytes, nStart, wszText))
        return wszText;
    wszText.clear();
    for (size_t n = nStart; n < nSize; ++n)
        wszText.push_back((wchar_t)(unsigned char)strBytes[n]);
    return wszText;
}

bool ReadFileBytes(const std::wstring& wszPath, std::string& strBytes)
{
    strBytes.clear();
    HANDLE hFile = CreateFileW(wszPath.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                               OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (hFile == INVALID_HANDLE_VALUE)
        return false;
    bool bOk = true;
    LARGE_INTEGER liSize{};
    if (!GetFileSizeEx(hFile, &liSize) || liSize.QuadPart < 0 ||
        (unsigned long long)liSize.QuadPart > kMaxMofFileBytes)
        bOk = false;
    else
    {
        strBytes.resize((size_t)liSize.QuadPart);
        size_t nDone = 0;
        while (nDone < strBytes.size())
        {
            DWORD dwRead = 0;
            if (!ReadFile(hFile, &strBytes[nDone], (DWORD)(strBytes.size() - nDone), &dwRead, nullptr) ||
                dwRead == 0)
            {
                bOk = false;
                break;
            }
            nDone += dwRead;
        }
    }
    CloseHandle(hFile);
    if (!bOk)
        strBytes.clear();
    return bOk;
}

std::wstring FullPathOf(const std::wstring& wszPath)
{
    if (wszPath.empty())
        return wszPath;
    DWORD dwLen = GetFullPathNameW(wszPath.c_str(), 0, nullptr, nullptr);
    if (dwLen == 0)
        return wszPath;
    std::wstring wszFull(dwLen, L'\0');
    DWORD dwGot = GetFullPathNameW(wszPath.c_str(), dwLen, &wszFull[0], nullptr);
    if (dwGot == 0 || dwGot >= dwLen)
        return wszPath;
    wszFull.resize(dwGot);
    return wszFull;
}

std::wstring FolderOf(const std::wstring& wszPath)
{
    size_t nSlash = wszPath.find_last_of(L"\\/");
    return nSlash == std::wstring::npos ? std::wstring() : wszPath.substr(0, nSlash);
}

std::wstring JoinPath(const std::wstring& wszFolder, const std::wstring& wszRelative)
{
    if (wszFolder.empty())
        return wszRelative;
    wchar_t chLast = wszFolder.back();
    return (chLast == L'\\' || chLast == L'/') ? wszFolder + wszRelative : wszFolder + L"\\" + wszRelative;
}

bool IsAbsolutePath(const std::wstring& wszPath)
{
    if (wszPath.size() >= 2 && wszPath[1] == L':')
        return true;
    return !wszPath.empty() && (wszPath[0] == L'\\' || wszPath[0] == L'/');
}

bool IsExistingFile(const std::wstring& wszPath)
{
    DWORD dwAttr = GetFileAttributesW(wszPath.c_str());
    return dwAttr != INVALID_FILE_ATTRIBUTES && !(dwAttr & FILE_ATTRIBUTE_DIRECTORY);
}

} // namespace mofc
