// CCWMIAccess: queries, instance enumeration and single objects. The first result of a
// query or enumeration becomes the current instance; each step replaces it.
#include "WMIAccess.h"

#include "WMIAccessUtil.h"

HRESULT CCWMIAccess::ExecuteQuery(const char* szWQLQuery)
{
    gg_ptrc->Trace(TRC_INFOCC, "CCWMIAccess::ExecuteQuery", "Enter", "Method ExecuteQuery has been entered.",
                   "szWQLQuery: %s", szWQLQuery);
    HRESULT hRet = WMIACC_E_INITIALIZATION_FAILURE;
    if (m_pWbemServices == nullptr)
    {
        gg_ptrc->Trace(TRC_ERROR, "CCWMIAccess::ExecuteQuery", "Internal",
                       "Namespace pointer invalid, but shouldnt be.", "");
    }
    else
    {
        ReleaseRef(m_pInstanceEnum);
        CCWmiBstr bstrLanguage(m_szQueryLanguage);
        CCWmiBstr bstrQuery(szWQLQuery);
        // A synchronous enumerator (neither forward-only nor semisynchronous), so that it can be reset.
        hRet = m_pWbemServices->ExecQuery(bstrLanguage, bstrQuery, Flags(), m_pContext, &m_pInstanceEnum);
        if (FAILED(hRet))
        {
            gg_ptrc->Trace(TRC_ERROR, "CCWMIAccess::ExecuteQuery", "Internal",
                           "Error calling ExecQuery (native)", "hr 0x%X", static_cast<unsigned>(hRet));
        }
        else
        {
            hRet = GetNextWMIInstanceInEnumerator();
        }
    }
    return WmiAccLeave("CCWMIAccess::ExecuteQuery", "Method ExecuteQuery has been left.", hRet);
}

HRESULT CCWMIAccess::GetClassInstances(const char* szClassname)
{
    gg_ptrc->Trace(TRC_INFOCC, "CCWMIAccess::GetClassInstances", "Enter",
                   "Method GetClassInstances has been entered.", "szClassname: %s", szClassname);
    HRESULT hRet = WMIACC_E_INITIALIZATION_FAILURE;
    if (m_pWbemServices == nullptr)
    {
        gg_ptrc->Trace(TRC_ERROR, "CCWMIAccess::GetClassInstances", "Internal",
                       "Namespace pointer invalid, but shouldnt be.", "");
    }
    else
    {
        ReleaseRef(m_pInstanceEnum);
        CCWmiBstr bstrClass(szClassname);
        // Deep: the instances of the subclasses come too.
        hRet = m_pWbemServices->CreateInstanceEnum(bstrClass, Flags(), m_pContext, &m_pInstanceEnum);
        if (FAILED(hRet))
        {
            gg_ptrc->Trace(TRC_ERROR, "CCWMIAccess::GetClassInstances", "Internal",
                           "Error calling CreateInstanceEnum (native)", "hr 0x%X",
                           static_cast<unsigned>(hRet));
        }
        else
        {
            hRet = GetNextWMIInstanceInEnumerator();
        }
    }
    return WmiAccLeave("CCWMIAccess::GetClassInstances", "Method GetClassInstances has been left.", hRet);
}

HRESULT CCWMIAccess::GetNextWMIInstanceInEnumerator()
{
    gg_ptrc->Trace(TRC_INFOCC, "CCWMIAccess::GetNextWMIInstanceInEnumerator", "Enter",
                   "Method GetNextWMIInstanceInEnumerator has been entered.", "");
    const HRESULT hRet = StepEnumerator(m_pInstanceEnum, "CCWMIAccess::GetNextWMIInstanceInEnumerator");
    return WmiAccLeave("CCWMIAccess::GetNextWMIInstanceInEnumerator",
                       "Method GetNextWMIInstanceInEnumerator has been left.", hRet);
}

HRESULT CCWMIAccess::StepEnumerator(IEnumWbemClassObject* pEnum, const char* szFunction)
{
    if (pEnum == nullptr)
    {
        gg_ptrc->Trace(TRC_ERROR, szFunction, "Internal", "Enumeration pointer member invalid.", "");
        return WMIACC_E_UNEXPECTED;
    }
    ReleaseRef(m_pInstance);
    ULONG ulReturned = 0;
    HRESULT hRet = pEnum->Next(static_cast<long>(m_ulEnumTimeout), 1, &m_pInstance, &ulReturned);
    if (SUCCEEDED(hRet) && ulReturned == 1 && m_pInstance != nullptr)
    {
        return hRet;
    }
    ReleaseRef(m_pInstance);
    if (SUCCEEDED(hRet))
    {
        // The end of the data and a step that timed out end the enumeration alike.
        gg_ptrc->Trace(TRC_VERBOSECC, szFunction, "Internal",
                       "No data available or end of enumeration reached.", "");
        return WMIACC_E_NOT_AVAILABLE;
    }
    gg_ptrc->Trace(TRC_ERROR, szFunction, "Internal", "Error calling Next (native)", "hr 0x%X",
                   static_cast<unsigned>(hRet));
    return hRet;
}

HRESULT CCWMIAccess::ResetInstanceEnumerator()
{
    gg_ptrc->Trace(TRC_INFOCC, "CCWMIAccess::ResetInstanceEnumerator", "Enter",
                   "Method ResetInstanceEnumerator has been entered.", "");
    HRESULT hRet = WMIACC_E_UNEXPECTED;
    if (m_pInstanceEnum == nullptr)
    {
        gg_ptrc->Trace(TRC_ERROR, "CCWMIAccess::ResetInstanceEnumerator", "Internal",
                       "enumerator pointer member invalid.", "");
    }
    else
    {
        hRet = m_pInstanceEnum->Reset();
        if (SUCCEEDED(hRet))
        {
            hRet = GetNextWMIInstanceInEnumerator();
        }
    }
    return WmiAccLeave("CCWMIAccess::ResetInstanceEnumerator",
                       "Method ResetInstanceEnumerator has been left.", hRet);
}

HRESULT CCWMIAccess::GetObject(const char* szInstancePath)
{
    // With windows.h this method is compiled as GetObjectA; the records say so.
    gg_ptrc->Trace(TRC_INFOCC, "CCWMIAccess::GetObjectA", "Enter", "Method GetObject has been entered.",
                   "szInstancePath: %s", szInstancePath);
    HRESULT hRet = WMIACC_E_INITIALIZATION_FAILURE;
    if (m_pWbemServices == nullptr)
    {
        gg_ptrc->Trace(TRC_ERROR, "CCWMIAccess::GetObjectA", "Internal", "Namespace pointer member invalid.",
                       "");
    }
    else
    {
        ReleaseRef(m_pInstance);
        CCWmiBstr bstrPath(szInstancePath);
        hRet = m_pWbemServices->GetObject(bstrPath, Flags(), m_pContext, &m_pInstance, nullptr);
        if (FAILED(hRet))
        {
            ReleaseRef(m_pInstance);
        }
    }
    return WmiAccLeave("CCWMIAccess::GetObjectA", "Method GetObject has been left.", hRet);
}

HRESULT CCWMIAccess::NewInstance(const char* szClassName)
{
    gg_ptrc->Trace(TRC_INFOCC, "CCWMIAccess::NewInstance", "Enter", "Method NewInstance has been entered.",
                   "szClassName: %s", szClassName);
    HRESULT hRet = WMIACC_E_INITIALIZATION_FAILURE;
    if (m_pWbemServices == nullptr)
    {
        gg_ptrc->Trace(TRC_ERROR, "CCWMIAccess::NewInstance", "Internal", "Namespace pointer member invalid.",
                       "");
    }
    else
    {
        ReleaseRef(m_pInstance);
        IWbemClassObject* pClass = nullptr;
        CCWmiBstr bstrClass(szClassName);
        hRet = m_pWbemServices->GetObject(bstrClass, Flags(), m_pContext, &pClass, nullptr);
        if (SUCCEEDED(hRet) && pClass != nullptr)
        {
            hRet = pClass->SpawnInstance(0, &m_pInstance);
            if (FAILED(hRet))
            {
                ReleaseRef(m_pInstance);
            }
        }
        else
        {
            if (SUCCEEDED(hRet))
            {
                hRet = WMIACC_E_UNEXPECTED;
            }
            gg_ptrc->Trace(TRC_ERROR, "CCWMIAccess::NewInstance", "Internal",
                           "Error calling SpawnInstance (native)", "hr 0x%X", static_cast<unsigned>(hRet));
        }
        ReleaseRef(pClass);
    }
    return WmiAccLeave("CCWMIAccess::NewInstance", "Method NewInstance has been left.", hRet);
}

HRESULT CCWMIAccess::ReturnInstanceObject(IWbemClassObject** ppInstance)
{
    gg_ptrc->Trace(TRC_INFOCC, "CCWMIAccess::ReturnInstanceObject", "Enter",
                   "Method ReturnInstanceObject has been entered.", "");
    HRESULT hRet = S_OK;
    if (ppInstance == nullptr)
    {
        gg_ptrc->Trace(TRC_ERROR, "CCWMIAccess::ReturnInstanceObject", "Internal", "Invalid parameter.", "");
        hRet = WMIACC_E_INVALID_PARAMETER;
    }
    else if (m_pInstance != nullptr)
    {
        m_pInstance->AddRef();
        *ppInstance = m_pInstance;
    }
    else
    {
        *ppInstance = nullptr;
        gg_ptrc->Trace(TRC_ERROR, "CCWMIAccess::ReturnInstanceObject", "Internal",
                       "class instance pointer member invalid.", "");
        hRet = WMIACC_E_NOT_AVAILABLE;
    }
    return WmiAccLeave("CCWMIAccess::ReturnInstanceObject", "Method ReturnInstanceObject has been left.",
                       hRet);
}
