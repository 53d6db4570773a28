// CCWMIAccess: the connection to a namespace, the security blanket and the call context.
#include "WMIAccess.h"

#include "WMIAccessUtil.h"

#include <cstring>

namespace
{
// The locator WMI's own processes use for a provider that runs inside them.
const CLSID kClsidWbemAdministrativeLocator = {
    0xcb8555cc, 0x9128, 0x11d1, {0xad, 0x9b, 0x00, 0xc0, 0x4f, 0xd8, 0xfd, 0xff}};

// True when the running process is one of WMI's own hosts, so that the code runs inside a
// provider. A process whose file name cannot be read is not one.
bool RunsInWmiHost()
{
    char szPath[MAX_PATH + 1] = {};
    const DWORD dwLen = GetModuleFileNameA(nullptr, szPath, MAX_PATH);
    if (dwLen == 0 || dwLen >= MAX_PATH)
    {
        return false;
    }
    const char* szName = szPath;
    for (const char* p = szPath; *p != '\0'; ++p)
    {
        if (*p == '\\' || *p == '/' || *p == ':')
        {
            szName = p + 1;
        }
    }
    return lstrcmpiA(szName, "WinMgmt.exe") == 0 || lstrcmpiA(szName, "WmiPrvse.exe") == 0;
}

} // namespace

HRESULT CCWMIAccess::ConnectToNamespace(const char* szNamespace, const char* szUser, const char* szPassword)
{
    gg_ptrc->Trace(TRC_INFOCC, "CCWMIAccess::ConnectToNamespace", "Enter",
                   "An instance of CCWMIAccess has been created.",
                   "szNamespace: %s, szUser: %s, szPassword: %s", szNamespace, szUser, szPassword);
    const HRESULT hRet = ConnectCore(szNamespace, szUser, szPassword, false, true);
    return WmiAccLeave("CCWMIAccess::ConnectToNamespace", "Method ConnectToNamespace has been left.", hRet);
}

HRESULT CCWMIAccess::ConnectToNamespace(const char* szNamespace, long lInProvider, const char* szLocale)
{
    gg_ptrc->Trace(TRC_INFOCC, "CCWMIAccess::ConnectToNamespace", "Enter",
                   "Method ConnectToNamespace has been entered.",
                   "szNamespace: %s, lInProvider: %d, szLocale: %s", szNamespace,
                   static_cast<int>(lInProvider), szLocale);
    // -1 decides by the hosting process; any other value says it directly. The locale is
    // not passed on: the connection always uses the server's default.
    const bool bInProvider = lInProvider == -1 ? RunsInWmiHost() : lInProvider != 0;
    const HRESULT hRet = ConnectCore(szNamespace, nullptr, nullptr, bInProvider, false);
    return WmiAccLeave("CCWMIAccess::ConnectToNamespace", "Method ConnectToNamespace has been left.", hRet);
}

HRESULT CCWMIAccess::ConnectCore(const char* szNamespace, const char* szUser, const char* szPassword,
                                 bool bInProvider, bool bCredentials)
{
    if (AlreadyConnectedToNamespace(szNamespace))
    {
        return WMIACC_S_ALREADY_EXISTS;
    }
    m_szNamespace[0] = '\0';
    ReleaseRef(m_pWbemServices);

    HRESULT hRet = S_OK;
    IWbemLocator* pLocator = nullptr;
    try
    {
        hRet = CoCreateInstance(bInProvider ? kClsidWbemAdministrativeLocator : CLSID_WbemLocator, nullptr,
                                CLSCTX_INPROC_SERVER, IID_IWbemLocator, reinterpret_cast<void**>(&pLocator));
        if (FAILED(hRet))
        {
            gg_ptrc->Trace(TRC_ERROR, "CCWMIAccess::ConnectToNamespace", "Exception",
                           "Throwing exception because CoCreateInstance (native) failed",
                           bCredentials ? "hr: 0x%X" : "hr 0x%X", static_cast<unsigned>(hRet));
            throw hRet;
        }
        CCWmiBstr bstrNamespace(szNamespace);
        CCWmiBstr bstrUser(szUser);
        CCWmiBstr bstrPassword(szPassword);
        hRet = pLocator->ConnectServer(bstrNamespace, bstrUser, bstrPassword, nullptr, 0, nullptr, m_pContext,
                                       &m_pWbemServices);
        if (FAILED(hRet))
        {
            gg_ptrc->Trace(TRC_ERROR, "CCWMIAccess::ConnectToNamespace", "Exception",
                           "Throwing exception because ConnectServer (native) failed",
                           bCredentials ? "hr: 0x%X" : "hr 0x%X", static_cast<unsigned>(hRet));
            throw hRet;
        }
        hRet = SetProxyBlanket();
        // Inside a provider the blanket of the hosting process holds, so a failure is kept
        // only as the result.
        if (FAILED(hRet) && !bInProvider)
        {
            gg_ptrc->Trace(TRC_ERROR, "CCWMIAccess::ConnectToNamespace", "Exception",
                           "Throwing exception because SetProxyBlanket failed",
                           bCredentials ? "hr: 0x%X" : "hr 0x%X", static_cast<unsigned>(hRet));
            throw hRet;
        }
        if (szNamespace != nullptr)
        {
            lstrcpynA(m_szNamespace, szNamespace, sizeof(m_szNamespace));
        }
    }
    catch (HRESULT hrCaught)
    {
        hRet = hrCaught;
        ReleaseRef(m_pWbemServices);
    }
    ReleaseRef(pLocator);
    return hRet;
}

bool CCWMIAccess::AlreadyConnectedToNamespace(const char* szNamespace)
{
    gg_ptrc->Trace(TRC_INFOCC, "CCWMIAccess::AlreadyConnectedToNamespace", "Enter",
                   "Method AlreadyConnectedToNamespace has been entered.", "szNamespace: %s", szNamespace);
    const bool bRet = szNamespace != nullptr && m_pWbemServices != nullptr && m_szNamespace[0] != '\0' &&
                      lstrcmpiA(m_szNamespace, szNamespace) == 0;
    gg_ptrc->Trace(TRC_INFOCC, "CCWMIAccess::AlreadyConnectedToNamespace", "Leave",
                   "Method AlreadyConnectedToNamespace has been left.", "bRet %d", bRet ? 1 : 0);
    return bRet;
}

HRESULT CCWMIAccess::SetProxyBlanket()
{
    gg_ptrc->Trace(TRC_INFOCC, "CCWMIAccess::SetProxyBlanket", "Enter",
                   "Method SetProxyBlanket has been entered.", "");
    HRESULT hRet = WMIACC_E_INITIALIZATION_FAILURE;
    // Without a connection there is no proxy: CoSetProxyBlanket would dereference null.
    if (m_pWbemServices == nullptr)
    {
        gg_ptrc->Trace(TRC_ERROR, "CCWMIAccess::SetProxyBlanket", "Internal",
                       "Namespace pointer invalid, but shouldnt be.", "");
    }
    else
    {
        hRet = CoSetProxyBlanket(m_pWbemServices, RPC_C_AUTHN_WINNT, RPC_C_AUTHZ_NONE, nullptr,
                                 RPC_C_AUTHN_LEVEL_CALL, RPC_C_IMP_LEVEL_IMPERSONATE, nullptr,
                                 EOAC_DYNAMIC_CLOAKING);
    }
    return WmiAccLeave("CCWMIAccess::SetProxyBlanket", "Method SetProxyBlanket has been left.", hRet);
}

HRESULT CCWMIAccess::SetContext(const char* szFeatureName, const char* szFeatureVersion,
                                const char* szContextName)
{
    gg_ptrc->Trace(TRC_INFOCC, "CCWMIAccess::SetContext", "Enter", "Method SetContext has been entered.",
                   "szFeatureName: %s, szFeatureVersion: %s, szContextName: %s", szFeatureName,
                   szFeatureVersion, szContextName);
    ReleaseRef(m_pContext);
    HRESULT hRet = CoCreateInstance(CLSID_WbemContext, nullptr, CLSCTX_ALL, IID_IWbemContext,
                                    reinterpret_cast<void**>(&m_pContext));
    if (FAILED(hRet))
    {
        gg_ptrc->Trace(TRC_ERROR, "CCWMIAccess::SetContext", "Internal",
                       "Error creating IWbemContext instance,", "hr 0x%X", static_cast<unsigned>(hRet));
    }
    else
    {
        struct NamedValue
        {
            const wchar_t* wszName;
            const char* szValue;
            const char* szFailure;
        };
        const NamedValue aValues[] = {
            {L"FeatureName", szFeatureName,
             "Error calling SetValue (native) with 'FeatureName' on IWbemContext"},
            {L"FeatureVersion", szFeatureVersion,
             "Error calling SetValue (native) with 'FeatureVersion' on IWbemContext"},
            {L"ContextName", szContextName,
             "Error calling SetValue (native) with 'ContextName' on IWbemContext"},
        };
        for (const NamedValue& oValue : aValues)
        {
            VARIANT vValue;
            VariantInit(&vValue);
            vValue.vt = VT_BSTR;
            CCWmiBstr bstrValue(oValue.szValue != nullptr ? oValue.szValue : "");
            vValue.bstrVal = bstrValue;
            const HRESULT hr = m_pContext->SetValue(oValue.wszName, 0, &vValue);
            if (FAILED(hr))
            {
                gg_ptrc->Trace(TRC_ERROR, "CCWMIAccess::SetContext", "Internal", oValue.szFailure, "hr 0x%X",
                               static_cast<unsigned>(hr));
                hRet = hr;
            }
        }
    }
    if (FAILED(hRet))
    {
        ReleaseRef(m_pContext);
    }
    return WmiAccLeave("CCWMIAccess::SetContext", "Method SetContext has been left.", hRet);
}

HRESULT CCWMIAccess::SetContext(const std::map<std::string, VARIANT>& mapValues)
{
    gg_ptrc->Trace(TRC_INFOCC, "CCWMIAccess::SetContext", "Enter", "Method SetContext has been entered.",
                   "nValues: %u", static_cast<unsigned>(mapValues.size()));
    ReleaseRef(m_pContext);
    HRESULT hRet = CoCreateInstance(CLSID_WbemContext, nullptr, CLSCTX_ALL, IID_IWbemContext,
                                    reinterpret_cast<void**>(&m_pContext));
    if (FAILED(hRet))
    {
        gg_ptrc->Trace(TRC_ERROR, "CCWMIAccess::SetContext", "Internal",
                       "Error creating IWbemContext instance,", "hr 0x%X", static_cast<unsigned>(hRet));
    }
    else
    {
        for (const auto& oEntry : mapValues)
        {
            CCStringConversion name(oEntry.first.c_str());
            const wchar_t* wszName = name.Convert2W();
            // The context copies the value; the caller's VARIANT stays untouched.
            const HRESULT hr = m_pContext->SetValue(wszName != nullptr ? wszName : L"", 0,
                                                    const_cast<VARIANT*>(&oEntry.second));
            if (FAILED(hr))
            {
                gg_ptrc->Trace(TRC_ERROR, "CCWMIAccess::SetContext", "Internal",
                               "Error calling SetValue (native) on IWbemContext", "szName: %s, hr 0x%X",
                               oEntry.first.c_str(), static_cast<unsigned>(hr));
                hRet = hr;
            }
        }
    }
    if (FAILED(hRet))
    {
        ReleaseRef(m_pContext);
    }
    return WmiAccLeave("CCWMIAccess::SetContext", "Method SetContext has been left.", hRet);
}
