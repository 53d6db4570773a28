// CCWMIAccess: qualifiers of the current object, of a class and of their properties.
#include "WMIAccess.h"

#include "WMIAccessUtil.h"

namespace
{
// The qualifier set of the property when one is named, else of the object itself.
HRESULT OpenQualifierSet(IWbemClassObject* pObject, const char* szPropertyName, IWbemQualifierSet** ppSet)
{
    if (szPropertyName == nullptr)
    {
        return pObject->GetQualifierSet(ppSet);
    }
    CCWmiBstr bstrProperty(szPropertyName);
    return pObject->GetPropertyQualifierSet(bstrProperty, ppSet);
}
} // namespace

HRESULT CCWMIAccess::GetQualifier(const char* szQualifierName, VARIANT* pvQualifierValue,
                                  const char* szPropertyName)
{
    gg_ptrc->Trace(TRC_INFOCC, "CCWMIAccess::GetQualifier", "Enter", "Method GetQualifier has been entered.",
                   "szQualifierName: %s, pvQualifierValue: 0x%08X, szPropertyName: %s", szQualifierName,
                   PtrLow32(pvQualifierValue), szPropertyName);
    HRESULT hRet = WMIACC_E_UNEXPECTED;
    if (m_pInstance == nullptr)
    {
        gg_ptrc->Trace(TRC_ERROR, "CCWMIAccess::GetQualifier", "Internal",
                       "class instance pointer member invalid.", "");
        return WmiAccLeave("CCWMIAccess::GetQualifier", "Method GetQualifier has been left.", hRet);
    }
    IWbemQualifierSet* pSet = nullptr;
    hRet = OpenQualifierSet(m_pInstance, szPropertyName, &pSet);
    if (FAILED(hRet) || pSet == nullptr)
    {
        hRet = FAILED(hRet) ? hRet : WMIACC_E_UNEXPECTED;
        gg_ptrc->Trace(TRC_ERROR, "CCWMIAccess::GetQualifier", "Internal",
                       "Error calling GetQualifierSet or GetPropertyQualifierSet (native)", "hr 0x%X",
                       static_cast<unsigned>(hRet));
    }
    else
    {
        CCWmiBstr bstrName(szQualifierName);
        hRet = pSet->Get(bstrName, 0, pvQualifierValue, nullptr);
    }
    ReleaseRef(pSet);
    return WmiAccLeave("CCWMIAccess::GetQualifier", "Method GetQualifier has been left.", hRet);
}

HRESULT CCWMIAccess::SetQualifier(const char* szQualifierName, VARIANT* pvQualifierValue,
                                  const char* szPropertyName)
{
    gg_ptrc->Trace(TRC_INFOCC, "CCWMIAccess::SetQualifier", "Enter", "Method SetQualifier has been entered.",
                   "szQualifierName: %s, pvQualifierValue: 0x%08X, szPropertyName: %s", szQualifierName,
                   PtrLow32(pvQualifierValue), szPropertyName);
    HRESULT hRet = WMIACC_E_UNEXPECTED;
    if (m_pInstance == nullptr)
    {
        gg_ptrc->Trace(TRC_ERROR, "CCWMIAccess::SetQualifier", "Internal",
                       "class instance pointer member invalid.", "");
        return WmiAccLeave("CCWMIAccess::SetQualifier", "Method SetQualifier has been left.", hRet);
    }
    IWbemQualifierSet* pSet = nullptr;
    hRet = OpenQualifierSet(m_pInstance, szPropertyName, &pSet);
    if (FAILED(hRet) || pSet == nullptr)
    {
        hRet = FAILED(hRet) ? hRet : WMIACC_E_UNEXPECTED;
        gg_ptrc->Trace(TRC_ERROR, "CCWMIAccess::SetQualifier", "Internal",
                       "Error calling GetQualifierSet or GetPropertyQualifierSet (native)", "hr 0x%X",
                       static_cast<unsigned>(hRet));
    }
    else
    {
        // The flavor is the amended-qualifiers call flag itself, as the callers expect it.
        CCWmiBstr bstrName(szQualifierName);
        hRet = pSet->Put(bstrName, pvQualifierValue,
                         m_lAmendedQualifiers != 0 ? WBEM_FLAG_USE_AMENDED_QUALIFIERS : 0);
    }
    ReleaseRef(pSet);
    return WmiAccLeave("CCWMIAccess::SetQualifier", "Method SetQualifier has been left.", hRet);
}

HRESULT CCWMIAccess::GetClassQualifier(const char* szClassName, const char* szQualifierName,
                                       VARIANT* pvQualifierValue, const char* szPropertyName)
{
    gg_ptrc->Trace(TRC_INFOCC, "CCWMIAccess::GetClassQualifier", "Enter",
                   "Method GetClassQualifier has been entered.",
                   "szClassName: %s, szQualifierName: %s, pvQualifierValue: 0x%08X, szPropertyName: %s",
                   szClassName, szQualifierName, PtrLow32(pvQualifierValue), szPropertyName);
    HRESULT hRet = WMIACC_E_INITIALIZATION_FAILURE;
    if (m_pWbemServices == nullptr)
    {
        gg_ptrc->Trace(TRC_ERROR, "CCWMIAccess::GetClassQualifier", "Internal",
                       "Namespace pointer invalid, but shouldnt be.", "");
        return WmiAccLeave("CCWMIAccess::GetClassQualifier", "Method GetClassQualifier has been left.", hRet);
    }
    IWbemClassObject* pClass = nullptr;
    IWbemQualifierSet* pSet = nullptr;
    CCWmiBstr bstrClass(szClassName);
    hRet = m_pWbemServices->GetObject(bstrClass, Flags(), m_pContext, &pClass, nullptr);
    if (SUCCEEDED(hRet) && pClass == nullptr)
    {
        hRet = WMIACC_E_UNEXPECTED;
    }
    if (SUCCEEDED(hRet))
    {
        hRet = OpenQualifierSet(pClass, szPropertyName, &pSet);
        if (SUCCEEDED(hRet) && pSet != nullptr)
        {
            CCWmiBstr bstrName(szQualifierName);
            hRet = pSet->Get(bstrName, 0, pvQualifierValue, nullptr);
        }
        else if (SUCCEEDED(hRet))
        {
            hRet = WMIACC_E_UNEXPECTED;
        }
    }
    ReleaseRef(pSet);
    ReleaseRef(pClass);
    return WmiAccLeave("CCWMIAccess::GetClassQualifier", "Method GetClassQualifier has been left.", hRet);
}

HRESULT CCWMIAccess::PutClassQualifier(const char* szClassName, const char* szQualifierName,
                                       VARIANT* pvQualifierValue, long lFlavor, const char* szPropertyName)
{
    gg_ptrc->Trace(
        TRC_INFOCC, "CCWMIAccess::PutClassQualifier", "Enter", "Method PutClassQualifier has been entered.",
        "szClassName: %s, szQualifierName: %s, pvQualifierValue: 0x%08X, lFlavor: %d, szPropertyName: %s",
        szClassName, szQualifierName, PtrLow32(pvQualifierValue), static_cast<int>(lFlavor), szPropertyName);
    HRESULT hRet = WMIACC_E_INITIALIZATION_FAILURE;
    if (m_pWbemServices == nullptr)
    {
        gg_ptrc->Trace(TRC_ERROR, "CCWMIAccess::PutClassQualifier", "Internal",
                       "Namespace pointer invalid, but shouldnt be.", "");
        return WmiAccLeave("CCWMIAccess::PutClassQualifier", "Method PutClassQualifier has been left.", hRet);
    }
    IWbemClassObject* pClass = nullptr;
    IWbemQualifierSet* pSet = nullptr;
    CCWmiBstr bstrClass(szClassName);
    hRet = m_pWbemServices->GetObject(bstrClass, Flags(), m_pContext, &pClass, nullptr);
    if (FAILED(hRet) || pClass == nullptr)
    {
        hRet = FAILED(hRet) ? hRet : WMIACC_E_UNEXPECTED;
        gg_ptrc->Trace(TRC_ERROR, "CCWMIAccess::PutClassQualifier", "Internal",
                       "Error getting the class definition.", "hr: 0x%x", static_cast<unsigned>(hRet));
    }
    else
    {
        // The qualifier always goes to the class itself; lFlavor and szPropertyName are only
        // traced. Each failure record names the step after the one that failed.
        hRet = pClass->GetQualifierSet(&pSet);
        if (FAILED(hRet) || pSet == nullptr)
        {
            hRet = FAILED(hRet) ? hRet : WMIACC_E_UNEXPECTED;
            gg_ptrc->Trace(TRC_ERROR, "CCWMIAccess::PutClassQualifier", "Internal",
                           "Error putting the qualifier.", "hr: 0x%x", static_cast<unsigned>(hRet));
        }
        else
        {
            CCWmiBstr bstrName(szQualifierName);
            hRet = pSet->Put(bstrName, pvQualifierValue, m_lAmendedQualifiers != 0 ? WBEM_FLAVOR_AMENDED : 0);
            if (FAILED(hRet))
            {
                gg_ptrc->Trace(TRC_ERROR, "CCWMIAccess::PutClassQualifier", "Internal",
                               "Error putting the upated class definition. ", "hr: 0x%x",
                               static_cast<unsigned>(hRet));
            }
            else
            {
                hRet =
                    m_pWbemServices->PutClass(pClass, WBEM_FLAG_UPDATE_ONLY | Flags(), m_pContext, nullptr);
            }
        }
    }
    ReleaseRef(pSet);
    ReleaseRef(pClass);
    return WmiAccLeave("CCWMIAccess::PutClassQualifier", "Method PutClassQualifier has been left.", hRet);
}
