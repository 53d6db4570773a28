#include "UsageText.h"

#include "ArcaTrace.h"

#include <cstdio>
#include <cstring>
#include <vector>

namespace
{
const char* const kLanguagePrefixes[] = {
    "000004", "040904", "040704", "080904", "040C04", "080704", "100C04", "041004", "081604", "080A04",
    "040A04", "041604", "0C0C04", "041104", "0C0A04", "040104", "040304", "040504", "040804", "040B04",
    "040D04", "040F04", "041304", "081004", "081404", "041704", "041804", "041A04", "041C04", "041E04",
    "042004", "080404", "080C04", "081A04", "040204", "040404", "040604", "040E04", "041204", "041404",
    "081304", "041504", "041904", "041B04", "041D04", "041F04", "042104"};

bool QueryString(std::vector<BYTE>& data, const std::string& strPath, std::string* pstrValue)
{
    char* szValue = nullptr;
    UINT nLen = 0;
    if (!VerQueryValueA(data.data(), strPath.c_str(), reinterpret_cast<void**>(&szValue), &nLen) ||
        szValue == nullptr)
    {
        return false;
    }
    if (pstrValue != nullptr)
    {
        *pstrValue = std::string(szValue, strnlen(szValue, nLen));
    }
    return true;
}
} // namespace

bool ReadFileVersionInfo(const char* szFile, FileVersionInfo* pInfo, const char* const* aszPrefixes)
{
    gg_ptrc->Trace(4, "ReadFileVersionInfo", "Enter", "Method ReadFileVersionInfo has been entered.",
                   "szFile='%s'", szFile);
    bool bRet = false;
    memset(&pInfo->fixed, 0, sizeof(pInfo->fixed));
    DWORD dwHandle = 0;
    const DWORD cbData = GetFileVersionInfoSizeA(szFile, &dwHandle);
    std::vector<BYTE> data(cbData);
    VS_FIXEDFILEINFO* pFixed = nullptr;
    UINT nFixed = 0;
    if (cbData != 0 && GetFileVersionInfoA(szFile, 0, cbData, data.data()) &&
        VerQueryValueA(data.data(), "\\", reinterpret_cast<void**>(&pFixed), &nFixed) && pFixed != nullptr)
    {
        bRet = true;
        memcpy(&pInfo->fixed, pFixed, sizeof(pInfo->fixed));
        std::string strTable;
        if (aszPrefixes != nullptr)
        {
            for (const char* const* p = aszPrefixes; *p != nullptr && strTable.empty(); ++p)
            {
                const std::string strTry = std::string("\\StringFileInfo\\") + *p + "\\";
                strTable = QueryString(data, strTry + "FileDescription", nullptr) ? strTry : std::string();
            }
        }
        else
        {
            for (const char* szPrefix : kLanguagePrefixes)
            {
                const std::string strTry = std::string("\\StringFileInfo\\") + szPrefix + "B0\\";
                if (QueryString(data, strTry + "FileDescription", nullptr))
                {
                    strTable = strTry;
                    break;
                }
            }
        }
        if (!strTable.empty())
        {
            const struct
            {
                const char* szName;
                std::string* pstr;
            } aStrings[] = {
                {"FileDescription", &pInfo->FileDescription}, {"LegalCopyright", &pInfo->LegalCopyright},
                {"ProductName", &pInfo->ProductName},         {"FileVersion", &pInfo->FileVersion},
                {"CompanyName", &pInfo->CompanyName},         {"InternalName", &pInfo->InternalName},
                {"LegalTrademarks", &pInfo->LegalTrademarks}, {"OriginalFilename", &pInfo->OriginalFilename},
                {"PrivateBuild", &pInfo->PrivateBuild},       {"ProductVersion", &pInfo->ProductVersion},
                {"SpecialBuild", &pInfo->SpecialBuild}};
            for (const auto& entry : aStrings)
            {
                QueryString(data, strTable + entry.szName, entry.pstr);
            }
        }
    }
    gg_ptrc->Trace(4, "ReadFileVersionInfo", "Leave", "Method ReadFileVersionInfo has been left.", "ret=%s",
                   bRet ? "true" : "false");
    return bRet;
}

std::string BuildUsageText()
{
    gg_ptrc->Trace(4, "BuildUsageText", "Enter", "Method BuildUsageText has been entered.", "");
    char szExe[MAX_PATH] = "";
    GetModuleFileNameA(nullptr, szExe, MAX_PATH);
    szExe[MAX_PATH - 1] = '\0';
    FileVersionInfo strings = {};
    FileVersionInfo numbers = {};
    ReadFileVersionInfo(szExe, &strings);
    ReadFileVersionInfo(szExe, &numbers);

    char szBanner[512];
    _snprintf(szBanner, sizeof(szBanner), "%s Version %1.1d.%2.2d", strings.OriginalFilename.c_str(),
              static_cast<int>(HIWORD(numbers.fixed.dwFileVersionMS)),
              static_cast<int>(LOWORD(numbers.fixed.dwFileVersionMS)));
    szBanner[sizeof(szBanner) - 1] = '\0';
    std::string strText = std::string("\n") + szBanner + "\n" + strings.LegalCopyright + "\n\n" +
                          strings.FileDescription + "\n\n";

    HMODULE hExe = GetModuleHandleA(nullptr);
    HRSRC hRes = FindResourceExA(hExe, "BIGTEXT", "CmdOpt.txt", MAKELANGID(LANG_ENGLISH, SUBLANG_ENGLISH_US));
    HGLOBAL hData = hRes != nullptr ? LoadResource(hExe, hRes) : nullptr;
    const char* pBytes = hData != nullptr ? static_cast<const char*>(LockResource(hData)) : nullptr;
    const DWORD cbBytes = hRes != nullptr ? SizeofResource(hExe, hRes) : 0;
    if (pBytes == nullptr || cbBytes == 0)
    {
        strText.clear();
    }
    else
    {
        strText.append(pBytes, cbBytes);
        strText.resize(strlen(strText.c_str()));
    }
    gg_ptrc->Trace(4, "BuildUsageText", "Leave", "Method BuildUsageText has been left.", "nLength=%d",
                   static_cast<int>(strText.size()));
    return strText;
}
