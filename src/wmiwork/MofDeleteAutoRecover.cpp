// DoDeleteFromAutoRecoverList: the MOF file's entries in the WMI autorecover list.
#include "MofDelete.h"

#include "ArcaTrace.h"
#include "RegKey.h"

#include <cstddef>
#include <cstring>
#include <mbstring.h>
#include <string>
#include <vector>

namespace
{
const char kCimomKey[] = "HKEY_LOCAL_MACHINE\\SOFTWARE\\Microsoft\\WBEM\\CIMOM";
const char kAutoRecoverValue[] = "Autorecover MOFs";

// The text behind the last backslash, or the whole path.
const char* FileNameOf(const std::string& strPath)
{
    const size_t nSlash = strPath.rfind('\\');
    return strPath.c_str() + (nSlash == std::string::npos ? 0 : nSlash + 1);
}

// The strings of a REG_MULTI_SZ value up to the empty string that ends them. The value must
// end with two NULs; a first byte NUL is an empty list.
bool MultiStringRead(CCRegKey& key, const char* szValue, std::vector<std::string>& list)
{
    DWORD cbData = 0;
    if (!key.QueryMultiString(szValue, nullptr, cbData))
    {
        return false;
    }
    // Two bytes more than asked for keep the walk below inside the buffer, whatever the
    // value holds; the read itself sees the size the value has.
    std::vector<char> buffer(cbData + 2, '\0');
    DWORD cbRead = cbData < 2 ? 2 : cbData;
    if (!key.QueryMultiString(szValue, buffer.data(), cbRead))
    {
        return false;
    }
    for (const char* sz = buffer.data(); *sz != '\0'; sz += strlen(sz) + 1)
    {
        list.push_back(sz);
    }
    return true;
}

bool MultiStringWrite(CCRegKey& key, const char* szValue, const std::vector<std::string>& list)
{
    std::string strData;
    for (const std::string& str : list)
    {
        strData.append(str.c_str(), str.size() + 1);
    }
    strData += '\0';
    return key.SetMultiString(szValue, strData.c_str());
}
} // namespace

bool DoDeleteFromAutoRecoverList(const char* szMofPath)
{
    const char* szFunction = "DoDeleteFromAutoRecoverList";
    gg_ptrc->Trace(3, szFunction, "Enter", "Method DoDeleteFromAutoRecoverList has been entered.",
                   "szMofPath='%s'", szMofPath);
    bool bRet = false;
    CCRegKey key(kCimomKey, 0x2001F);
    std::vector<std::string> list;
    if (!key.Open(0x2001F))
    {
        gg_ptrc->Trace(2, szFunction, "Internal", "Could not open reg key", "%s", kCimomKey);
    }
    else if (!MultiStringRead(key, kAutoRecoverValue, list))
    {
        gg_ptrc->Trace(2, szFunction, "Internal", "Could not get autorecover value", "%s", kCimomKey);
    }
    else
    {
        bRet = true;
        const std::string strMofName = FileNameOf(szMofPath);
        bool bRemoved = false;
        for (size_t i = 0; i < list.size();)
        {
            if (_mbsicmp(reinterpret_cast<const unsigned char*>(FileNameOf(list[i])),
                         reinterpret_cast<const unsigned char*>(strMofName.c_str())) == 0)
            {
                gg_ptrc->Trace(4, szFunction, "Internal", "Removing entry from AUTORECOVER value",
                               "[%d]='%s'", static_cast<int>(i), list[i].c_str());
                list.erase(list.begin() + static_cast<std::ptrdiff_t>(i));
                bRemoved = true;
            }
            else
            {
                ++i;
            }
        }
        // Nothing matched: the value stays exactly as it was.
        if (bRemoved && !MultiStringWrite(key, kAutoRecoverValue, list))
        {
            gg_ptrc->Trace(2, szFunction, "Internal", "Could not set autorecover value", "%s", kCimomKey);
        }
    }
    key.Close();
    gg_ptrc->Trace(3, szFunction, "Leave", "Method DoDeleteFromAutoRecoverList has been left.", "ret=%s",
                   bRet ? "true" : "false");
    return bRet;
}
