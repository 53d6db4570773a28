// CWMIHelper: the connection to the current namespace and the reading of the INI file.
#include "WMIHelper.h"

#include "ArcaTrace.h"
#include "Bstr.h"
#include "IniFile.h"
#include "StringConversion.h"
#include "WmiErrorText.h"

#include <vector>

namespace
{
// The profile read buffer starts at this size and grows by it; a text that would need
// kProfileLimit bytes or more is not read at all.
const DWORD kProfileStep = 1024;
const DWORD kProfileLimit = 65536;
} // namespace

CWMIHelper::CWMIHelper() {}

CWMIHelper::~CWMIHelper() {}

bool CWMIHelper::OpenIni(const char* szFile)
{
    gg_ptrc->Trace(3, "CWMIHelper::OpenIni", "Enter", "Method OpenIni has been entered.", "szFile='%s'",
                   szFile);
    // The name and the existence test are those of every job's INI file.
    CIniFile oIni;
    const bool bRet = oIni.OpenIni(szFile, true);
    m_strIniFile = oIni.Path();
    gg_ptrc->Trace(3, "CWMIHelper::OpenIni", "Leave", "Method OpenIni has been left.", "ret=%s",
                   bRet ? "true" : "false");
    return bRet;
}

bool CWMIHelper::ConnectToNamespace(const char* szNamespace)
{
    gg_ptrc->Trace(3, "CWMIHelper::ConnectToNamespace", "Enter",
                   "Method ConnectToNamespace has been entered.", "szNamespace='%s'", szNamespace);
    m_spWbemServices.Release();
    m_spWbemLocator.Release();
    // A name that cannot be converted (out of memory) must not become the empty name, which
    // ConnectServer takes for the default namespace: it raises E_OUTOFMEMORY, caught below.
    CCStringConversion conv(szNamespace);
    try
    {
        const wchar_t* wszNamespace = WideName(conv, "CWMIHelper::ConnectToNamespace");
        if (SUCCEEDED(CoCreateInstance(CLSID_WbemLocator, nullptr, CLSCTX_INPROC_SERVER, IID_IWbemLocator,
                                       m_spWbemLocator.PutVoid())))
        {
            CCWmiBstr bstrNamespace(wszNamespace);
            if (SUCCEEDED(m_spWbemLocator->ConnectServer(bstrNamespace, nullptr, nullptr, nullptr, 0, nullptr,
                                                         nullptr, m_spWbemServices.Put())))
            {
                // Unlike CWmiWork's connections this one does not cloak: the job's own token
                // is not passed on. The result is not needed: the calls go out either way.
                CoSetProxyBlanket(m_spWbemServices.Get(), RPC_C_AUTHN_WINNT, RPC_C_AUTHZ_NONE, nullptr,
                                  RPC_C_AUTHN_LEVEL_CALL, RPC_C_IMP_LEVEL_IMPERSONATE, nullptr, EOAC_NONE);
            }
            else
            {
                m_spWbemServices.Release();
            }
        }
    }
    catch (HRESULT)
    {
        // Recorded where it was raised; there is no connection.
    }
    // A namespace that cannot be reached is the caller's ordinary case: no failure record.
    const bool bRet = static_cast<bool>(m_spWbemServices);
    gg_ptrc->Trace(3, "CWMIHelper::ConnectToNamespace", "Leave", "Method ConnectToNamespace has been left.",
                   "ret=%s", bRet ? "true" : "false");
    return bRet;
}

const wchar_t* CWMIHelper::WideName(CCStringConversion& conv, const char* szFunction)
{
    const wchar_t* wszName = conv.Convert2W();
    if (wszName == nullptr)
    {
        const HRESULT hr = E_OUTOFMEMORY;
        gg_ptrc->Trace(1, szFunction, "Exception", "Throwing exception because a name could not be converted",
                       "hr=0x%X '%s'", static_cast<unsigned>(hr), WmiErrorText(hr));
        throw hr;
    }
    return wszName;
}

std::string CWMIHelper::GetKeyList(const char* szSection) const
{
    gg_ptrc->Trace(4, "CWMIHelper::GetKeyList", "Enter", "Method GetKeyList has been entered.",
                   "szSection='%s'", szSection);
    const std::string strKeys = ReadProfile(szSection, nullptr);
    gg_ptrc->Trace(4, "CWMIHelper::GetKeyList", "Leave", "Method GetKeyList has been left.", "nLength=%u",
                   static_cast<unsigned>(strKeys.size()));
    return strKeys;
}

std::string CWMIHelper::GetValue(const char* szSection, const char* szKey) const
{
    gg_ptrc->Trace(4, "CWMIHelper::GetValue", "Enter", "Method GetValue has been entered.",
                   "szSection='%s', szKey='%s'", szSection, szKey);
    const std::string strValue = ReadProfile(szSection, szKey);
    gg_ptrc->Trace(4, "CWMIHelper::GetValue", "Leave", "Method GetValue has been left.", "ret='%s'",
                   strValue.c_str());
    return strValue;
}

std::string CWMIHelper::ReadProfile(const char* szSection, const char* szKey) const
{
    std::vector<char> buffer;
    for (DWORD dwSize = kProfileStep; dwSize < kProfileLimit; dwSize += kProfileStep)
    {
        buffer.resize(dwSize);
        const DWORD dwLen =
            GetPrivateProfileStringA(szSection, szKey, "", buffer.data(), dwSize, m_strIniFile.c_str());
        // A cut text comes back as the buffer size less one (a value) or less two (a key list).
        if (dwLen != dwSize - 1 && dwLen != dwSize - 2)
        {
            return std::string(buffer.data(), dwLen);
        }
    }
    gg_ptrc->Trace(2, "CWMIHelper::ReadProfile", "Internal",
                   "Text too long for the profile buffer, read as empty",
                   "file='%s', section='%s', key='%s', limit=%u", m_strIniFile.c_str(), szSection,
                   szKey != nullptr ? szKey : "<key list>", static_cast<unsigned>(kProfileLimit));
    return std::string();
}
