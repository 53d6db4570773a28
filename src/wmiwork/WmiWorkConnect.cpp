// CWmiWork: namespace connections and the key qualifier lookup.
#include "WmiWork.h"

#include "ArcaTrace.h"
#include "Bstr.h"
#include "ComPtr.h"
#include "StringConversion.h"
#include "WmiErrorText.h"

#include <mbstring.h>

HRESULT CWmiWork::ConnectToNamespace(const char* szNamespace, IWbemServices** ppServices)
{
    gg_ptrc->Trace(3, "CWmiWork::ConnectToNamespace", "Enter", "Method ConnectToNamespace has been entered.",
                   "szNamespace='%s'", szNamespace);
    HRESULT hRet = S_OK;
    CCComPtr<IWbemLocator> spLocator;
    *ppServices = nullptr;
    try
    {
        hRet = CoCreateInstance(CLSID_WbemLocator, nullptr, CLSCTX_INPROC_SERVER, IID_IWbemLocator,
                                spLocator.PutVoid());
        if (FAILED(hRet))
        {
            gg_ptrc->Trace(1, "CWmiWork::ConnectToNamespace", "Internal", "CoCreateInstance (native) failed",
                           "hr=0x%X '%s'", static_cast<unsigned>(hRet), WmiErrorText(hRet));
            throw hRet;
        }
        CCWmiBstr bstrNamespace(szNamespace);
        hRet = spLocator->ConnectServer(bstrNamespace, nullptr, nullptr, nullptr, 0, nullptr, nullptr,
                                        ppServices);
        if (FAILED(hRet))
        {
            gg_ptrc->Trace(1, "CWmiWork::ConnectToNamespace", "Exception",
                           "Throwing exception because ConnectServer (native) failed", "hr=0x%X '%s'",
                           static_cast<unsigned>(hRet), WmiErrorText(hRet));
            throw hRet;
        }
        hRet = SetProxyBlanket(*ppServices);
        if (FAILED(hRet))
        {
            gg_ptrc->Trace(1, "CWmiWork::ConnectToNamespace", "Exception",
                           "Throwing exception because SetProxyBlanket failed", "hr=0x%X '%s'",
                           static_cast<unsigned>(hRet), WmiErrorText(hRet));
            throw hRet;
        }
    }
    catch (HRESULT hrCaught)
    {
        hRet = hrCaught;
        if (*ppServices != nullptr)
        {
            (*ppServices)->Release();
            *ppServices = nullptr;
        }
    }
    spLocator.Release();
    gg_ptrc->Trace(3, "CWmiWork::ConnectToNamespace", "Leave", "Method ConnectToNamespace has been left.",
                   "hRet 0x%X", static_cast<unsigned>(hRet));
    return hRet;
}

HRESULT CWmiWork::ConnectTraced(const char* szFunction, const char* szNamespace, IWbemServices** ppServices)
{
    const HRESULT hr = ConnectToNamespace(szNamespace, ppServices);
    if (FAILED(hr))
    {
        gg_ptrc->Trace(1, szFunction, "Internal", "ConnectToNamespace failed", "hr=0x%X '%s'",
                       static_cast<unsigned>(hr), WmiErrorText(hr));
    }
    return hr;
}

HRESULT CWmiWork::SetProxyBlanket(IUnknown* pProxy)
{
    gg_ptrc->Trace(3, "CWmiWork::SetProxyBlanket", "Enter", "", "");
    const HRESULT hRet =
        CoSetProxyBlanket(pProxy, RPC_C_AUTHN_WINNT, RPC_C_AUTHZ_NONE, nullptr, RPC_C_AUTHN_LEVEL_CALL,
                          RPC_C_IMP_LEVEL_IMPERSONATE, nullptr, EOAC_DYNAMIC_CLOAKING);
    gg_ptrc->Trace(3, "CWmiWork::SetProxyBlanket", "Leave", "", "hRet 0x%X", static_cast<unsigned>(hRet));
    return hRet;
}

bool CWmiWork::QualifierFind(IWbemClassObject* pIWbemClassObject, const char* szPropertyName,
                             const char* szQualifierName, VARIANT* pvValue)
{
    gg_ptrc->Trace(3, "CWmiWork::QualifierFind", "Enter", "Method QualifierFind has been entered.",
                   "szPropertyName='%s', szQualifierName='%s'", szPropertyName, szQualifierName);
    bool bRet = false;
    CCComPtr<IWbemQualifierSet> spQualSet;
    CCStringConversion propertyW(szPropertyName);
    HRESULT hr =
        pIWbemClassObject->GetPropertyQualifierSet(static_cast<const wchar_t*>(propertyW), spQualSet.Put());
    if (FAILED(hr))
    {
        // The class is not known here, so its field stays empty. Passing only the property,
        // the code and its text would shift the arguments and read the code as a string.
        gg_ptrc->Trace(2, "CWmiWork::QualifierFind", "Internal",
                       "pIWbemClassObject->GetPropertyQualifierSet failed",
                       "class='%s', prop='%s', hr=0x%X '%s'", "", szPropertyName, static_cast<unsigned>(hr),
                       WmiErrorText(hr));
    }
    else
    {
        if (SUCCEEDED(spQualSet->BeginEnumeration(0)))
        {
            for (;;)
            {
                BSTR bstrName = nullptr;
                long lFlavor = 0;
                VariantClear(pvValue);
                hr = spQualSet->Next(0, &bstrName, pvValue, &lFlavor);
                if (hr == WBEM_S_NO_MORE_DATA)
                {
                    break;
                }
                if (FAILED(hr))
                {
                    gg_ptrc->Trace(2, "CWmiWork::QualifierFind", "Internal", "pQualSet->Next failed",
                                   "prop='%s', hr=0x%X '%s'", szPropertyName, static_cast<unsigned>(hr),
                                   WmiErrorText(hr));
                    break;
                }
                CCStringConversion name(bstrName != nullptr ? bstrName : L"");
                SysFreeString(bstrName);
                const char* szName = name.Convert2A();
                if (szName != nullptr &&
                    _mbsicmp(reinterpret_cast<const unsigned char*>(szName),
                             reinterpret_cast<const unsigned char*>(szQualifierName)) == 0)
                {
                    bRet = true;
                    break;
                }
            }
        }
        spQualSet->EndEnumeration();
    }
    gg_ptrc->Trace(3, "CWmiWork::QualifierFind", "Leave", "Method QualifierFind has been left.", "ret=%s",
                   bRet ? "true" : "false");
    return bRet;
}
