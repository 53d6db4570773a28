// CCWMIAccess: method calls and associated instances.
#include "WMIAccess.h"

#include "WMIAccessUtil.h"

#include <cstdlib>
#include <cstring>
#include <string>

HRESULT CCWMIAccess::GetMethodSignature(const char* szClassName, const char* szMethodName)
{
    gg_ptrc->Trace(TRC_INFOCC, "CCWMIAccess::GetMethodSignature", "Enter",
                   "Method GetMethodSignature has been entered.", "szClassName: %s, szMethodName: %s",
                   szClassName, szMethodName);
    HRESULT hRet = WMIACC_E_INITIALIZATION_FAILURE;
    if (m_pWbemServices == nullptr)
    {
        gg_ptrc->Trace(TRC_ERROR, "CCWMIAccess::GetMethodSignature", "Internal",
                       "Namespace pointer invalid, but shouldnt be.", "");
        return WmiAccLeave("CCWMIAccess::GetMethodSignature", "Method GetMethodSignature has been left.",
                           hRet);
    }
    ReleaseRef(m_pMethodInParams);
    IWbemClassObject* pClass = nullptr;
    CCWmiBstr bstrClass(szClassName);
    hRet = m_pWbemServices->GetObject(bstrClass, Flags(), m_pContext, &pClass, nullptr);
    if (SUCCEEDED(hRet) && pClass != nullptr)
    {
        CCWmiBstr bstrMethod(szMethodName);
        IWbemClassObject* pInSignature = nullptr;
        hRet = pClass->GetMethod(bstrMethod, 0, &pInSignature, nullptr);
        // A method without input parameters has no signature object: nothing to fill in.
        if (SUCCEEDED(hRet) && pInSignature != nullptr)
        {
            hRet = pInSignature->SpawnInstance(0, &m_pMethodInParams);
        }
        ReleaseRef(pInSignature);
    }
    else if (SUCCEEDED(hRet))
    {
        hRet = WMIACC_E_UNEXPECTED;
    }
    if (FAILED(hRet))
    {
        ReleaseRef(m_pMethodInParams);
        gg_ptrc->Trace(TRC_ERROR, "CCWMIAccess::GetMethodSignature", "Internal",
                       "Error calling GetMethod (native)", "hr 0x%X", static_cast<unsigned>(hRet));
    }
    ReleaseRef(pClass);
    return WmiAccLeave("CCWMIAccess::GetMethodSignature", "Method GetMethodSignature has been left.", hRet);
}

HRESULT CCWMIAccess::SetMethodInputParameter(const char* szParameterName, VARIANT* pvValue)
{
    gg_ptrc->Trace(TRC_INFOCC, "CCWMIAccess::SetMethodInputParameter", "Enter",
                   "Method SetMethodInputParameter has been entered.", "szParameterName: %s, pvValue: 0x%08X",
                   szParameterName, PtrLow32(pvValue));
    HRESULT hRet = WMIACC_E_UNEXPECTED;
    if (m_pMethodInParams == nullptr)
    {
        gg_ptrc->Trace(TRC_ERROR, "CCWMIAccess::SetMethodInputParameter", "Internal",
                       "Method input parameter member invalid.", "");
    }
    else
    {
        CCWmiBstr bstrName(szParameterName);
        hRet = m_pMethodInParams->Put(bstrName, 0, pvValue, 0);
        if (FAILED(hRet))
        {
            gg_ptrc->Trace(TRC_ERROR, "CCWMIAccess::SetMethodInputParameter", "Internal",
                           "Error calling Put (native)", "hr 0x%X", static_cast<unsigned>(hRet));
        }
    }
    return WmiAccLeave("CCWMIAccess::SetMethodInputParameter",
                       "Method SetMethodInputParameter has been left.", hRet);
}

HRESULT CCWMIAccess::ExecuteMethod(const char* szObjectPath, const char* szMethodName)
{
    gg_ptrc->Trace(TRC_INFOCC, "CCWMIAccess::ExecuteMethod", "Enter",
                   "Method ExecuteMethod has been entered.", "szObjectPath: %s, szMethodName: %s",
                   szObjectPath, szMethodName);
    HRESULT hRet = WMIACC_E_INITIALIZATION_FAILURE;
    if (m_pWbemServices == nullptr)
    {
        gg_ptrc->Trace(TRC_ERROR, "CCWMIAccess::ExecuteMethod", "Internal",
                       "Namespace pointer invalid, but shouldnt be.", "");
    }
    else
    {
        ReleaseRef(m_pMethodOutParams);
        CCWmiBstr bstrPath(szObjectPath);
        CCWmiBstr bstrMethod(szMethodName);
        hRet = m_pWbemServices->ExecMethod(bstrPath, bstrMethod, Flags(), m_pContext, m_pMethodInParams,
                                           &m_pMethodOutParams, nullptr);
        if (FAILED(hRet))
        {
            ReleaseRef(m_pMethodOutParams);
            gg_ptrc->Trace(TRC_ERROR, "CCWMIAccess::ExecuteMethod", "Internal",
                           "Error calling ExecMethod (native)", "hr 0x%X", static_cast<unsigned>(hRet));
        }
    }
    return WmiAccLeave("CCWMIAccess::ExecuteMethod", "Method ExecuteMethod has been left.", hRet);
}

HRESULT CCWMIAccess::GetMethodOutputParameter(const char* szParameterName, VARIANT* pvValue)
{
    gg_ptrc->Trace(TRC_INFOCC, "CCWMIAccess::GetMethodOutputParameter", "Enter",
                   "Method GetMethodOutputParameter has been entered.",
                   "szParameterName: %s, pvValue: 0x%08X", szParameterName, PtrLow32(pvValue));
    HRESULT hRet = WMIACC_E_UNEXPECTED;
    if (m_pMethodOutParams == nullptr)
    {
        gg_ptrc->Trace(TRC_ERROR, "CCWMIAccess::GetMethodOutputParameter", "Internal",
                       "Method output parameter member invalid.", "");
    }
    else
    {
        CCWmiBstr bstrName(szParameterName);
        hRet = m_pMethodOutParams->Get(bstrName, 0, pvValue, nullptr, nullptr);
        if (FAILED(hRet))
        {
            gg_ptrc->Trace(TRC_ERROR, "CCWMIAccess::GetMethodOutputParameter", "Internal",
                           "Error calling Get (native)", "hr 0x%X", static_cast<unsigned>(hRet));
        }
    }
    return WmiAccLeave("CCWMIAccess::GetMethodOutputParameter",
                       "Method GetMethodOutputParameter has been left.", hRet);
}

HRESULT CCWMIAccess::GetAssociatedClassInstances(const char* szSourcePath, const char* szResultClass)
{
    gg_ptrc->Trace(TRC_INFOCC, "CCWMIAccess::GetAssociatedClassInstances", "Enter",
                   "Method GetAssociatedClassInstances has been entered.",
                   "szSourcePath: %s, szResultClass: %s", szSourcePath, szResultClass);
    HRESULT hRet = WMIACC_E_INITIALIZATION_FAILURE;
    if (m_pWbemServices == nullptr)
    {
        gg_ptrc->Trace(TRC_ERROR, "CCWMIAccess::GetAssociatedClassInstances", "Internal",
                       "Namespace pointer invalid, but shouldnt be.", "");
        return WmiAccLeave("CCWMIAccess::GetAssociatedClassInstances",
                           "Method GetAssociatedClassInstances has been left.", hRet);
    }
    const std::string strSource = szSourcePath != nullptr ? szSourcePath : "";
    free(m_szAssocSource);
    m_szAssocSource = static_cast<char*>(malloc(strSource.size() + 1));
    if (m_szAssocSource != nullptr)
    {
        memcpy(m_szAssocSource, strSource.c_str(), strSource.size() + 1);
    }
    const std::string strQuery = "ASSOCIATORS OF {" + strSource + "} WHERE ResultClass = " +
                                 std::string(szResultClass != nullptr ? szResultClass : "");
    ReleaseRef(m_pAssocEnum);
    CCWmiBstr bstrLanguage(m_szQueryLanguage);
    CCWmiBstr bstrQuery(strQuery.c_str());
    hRet = m_pWbemServices->ExecQuery(bstrLanguage, bstrQuery, Flags(), m_pContext, &m_pAssocEnum);
    if (FAILED(hRet))
    {
        gg_ptrc->Trace(TRC_ERROR, "CCWMIAccess::GetAssociatedClassInstances", "Internal",
                       "Error calling ExecQuery (native)", "hr 0x%X", static_cast<unsigned>(hRet));
    }
    else
    {
        hRet = GetNextAssociatedClassInstances();
    }
    return WmiAccLeave("CCWMIAccess::GetAssociatedClassInstances",
                       "Method GetAssociatedClassInstances has been left.", hRet);
}

HRESULT CCWMIAccess::GetNextAssociatedClassInstances()
{
    gg_ptrc->Trace(TRC_INFOCC, "CCWMIAccess::GetNextAssociatedClassInstances", "Enter",
                   "Method GetNextAssociatedClassInstances has been entered.", "");
    const HRESULT hRet = StepEnumerator(m_pAssocEnum, "CCWMIAccess::GetNextAssociatedClassInstances");
    return WmiAccLeave("CCWMIAccess::GetNextAssociatedClassInstances",
                       "Method GetNextAssociatedClassInstances has been left.", hRet);
}
