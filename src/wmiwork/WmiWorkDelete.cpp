// CWmiWork: deletion of instances, classes and namespaces.
#include "WmiWork.h"

#include "ArcaTrace.h"
#include "Bstr.h"
#include "ComPtr.h"
#include "WMIAccess.h"
#include "WmiErrorText.h"

#include <string>

HRESULT CWmiWork::SpecificInstanceDelete(const char* szNamespace, const char* szRelPath)
{
    const char* szFunction = "CWmiWork::SpecificInstanceDelete";
    gg_ptrc->Trace(3, szFunction, "Enter", "Method SpecificInstanceDelete has been entered.",
                   "NS='%s', relpath='%s'", szNamespace, szRelPath);
    CCComPtr<IWbemServices> spServices;
    HRESULT hRet = ConnectTraced(szFunction, szNamespace, spServices.Put());
    if (SUCCEEDED(hRet))
    {
        CCWmiBstr bstrPath(szRelPath);
        hRet = spServices->DeleteInstance(bstrPath, 0, nullptr, nullptr);
    }
    spServices.Release();
    gg_ptrc->Trace(3, szFunction, "Leave", "Method SpecificInstanceDelete has been left.", "ret=0x%X",
                   static_cast<unsigned>(hRet));
    return hRet;
}

bool CWmiWork::InstanceDelete(const char* szNamespace, const char* szClass, const char* szKey)
{
    const char* szFunction = "CWmiWork::InstanceDelete";
    gg_ptrc->Trace(3, szFunction, "Enter", "Method InstanceDelete has been entered.",
                   "NS='%s', class='%s', key='%s'", szNamespace, szClass,
                   szKey != nullptr ? szKey : "<null>");
    bool bRet = false;
    if (szKey != nullptr)
    {
        const std::string strObjPath = std::string(szClass) + "." + szKey;
        const HRESULT hr = SpecificInstanceDelete(szNamespace, strObjPath.c_str());
        if (FAILED(hr))
        {
            gg_ptrc->Trace(1, szFunction, "Internal", "SpecificInstanceDelete failed",
                           "szNamespace='%s', csObjPath='%s', hr=0x%X '%s'", szNamespace, strObjPath.c_str(),
                           static_cast<unsigned>(hr), WmiErrorText(hr));
        }
        else
        {
            bRet = true;
        }
    }
    else
    {
        CCWMIAccess oAcc;
        CCComPtr<IWbemServices> spServices;
        HRESULT hr = oAcc.ConnectToNamespace(szNamespace);
        if (FAILED(hr))
        {
            gg_ptrc->Trace(1, szFunction, "Internal", "oAcc.ConnectToNamespace failed",
                           "NS='%s', hr=0x%X '%s'", szNamespace, static_cast<unsigned>(hr), WmiErrorText(hr));
        }
        else if (FAILED(hr = oAcc.ExecuteQuery(("SELECT * FROM " + std::string(szClass)).c_str())))
        {
            gg_ptrc->Trace(2, szFunction, "Internal", "oAcc.ExecuteQuery failed", "hr=0x%X '%s'",
                           static_cast<unsigned>(hr), WmiErrorText(hr));
        }
        else if (SUCCEEDED(ConnectTraced(szFunction, szNamespace, spServices.Put())))
        {
            // Single failures are traced and passed over; the deletion as a whole succeeds.
            bRet = true;
            for (;;)
            {
                VARIANT vPath;
                VariantInit(&vPath);
                hr = oAcc.GetProperty("__PATH", &vPath);
                if (FAILED(hr) || vPath.vt != VT_BSTR)
                {
                    gg_ptrc->Trace(2, szFunction, "Internal", "oAcc.GetProperty(_T(\"__PATH\") failed",
                                   "hr=0x%X '%s'", static_cast<unsigned>(hr), WmiErrorText(hr));
                }
                else if (FAILED(hr = spServices->DeleteInstance(vPath.bstrVal, 0, nullptr, nullptr)))
                {
                    gg_ptrc->Trace(2, szFunction, "Internal", "pWbemServices->DeleteInstance failed",
                                   "hr=0x%X '%s'", static_cast<unsigned>(hr), WmiErrorText(hr));
                }
                VariantClear(&vPath);
                hr = oAcc.GetNextWMIInstanceInEnumerator();
                if (hr != S_OK && hr != static_cast<HRESULT>(WBEM_E_NOT_AVAILABLE) &&
                    hr != WBEM_S_NO_MORE_DATA)
                {
                    gg_ptrc->Trace(2, szFunction, "Internal", "oAcc.GetNextWMIInstanceInEnumerator failed",
                                   "hr=0x%X '%s'", static_cast<unsigned>(hr), WmiErrorText(hr));
                }
                if (hr != S_OK)
                {
                    break;
                }
            }
        }
    }
    gg_ptrc->Trace(3, szFunction, "Leave", "Method InstanceDelete has been left.", "ret=%s",
                   bRet ? "true" : "false");
    return bRet;
}

HRESULT CWmiWork::ClassDelete(const char* szNamespace, const char* szClass)
{
    const char* szFunction = "CWmiWork::ClassDelete";
    gg_ptrc->Trace(3, szFunction, "Enter", "Method ClassDelete has been entered.", "NS='%s', class='%s'",
                   szNamespace, szClass);
    CCComPtr<IWbemServices> spServices;
    HRESULT hRet = ConnectToNamespace(szNamespace, spServices.Put());
    if (FAILED(hRet))
    {
        gg_ptrc->Trace(1, szFunction, "Internal", "ConnectToNamespace failed", "NS='%s' hr=0x%X '%s'",
                       szNamespace, static_cast<unsigned>(hRet), WmiErrorText(hRet));
    }
    else
    {
        CCWmiBstr bstrClass(szClass);
        hRet = spServices->DeleteClass(bstrClass, 0, nullptr, nullptr);
        if (SUCCEEDED(hRet))
        {
            hRet = S_OK;
        }
        else if (hRet == static_cast<HRESULT>(WBEM_E_NOT_FOUND))
        {
            gg_ptrc->Trace(3, szFunction, "Internal", "pWbemServices->DeleteClass returned WBEM_E_NOT_FOUND",
                           "class='%s' hr=0x%X '%s'", szClass, static_cast<unsigned>(hRet),
                           WmiErrorText(hRet));
        }
        else
        {
            gg_ptrc->Trace(1, szFunction, "Internal", "pWbemServices->DeleteClass failed",
                           "class='%s' hr=0x%X '%s'", szClass, static_cast<unsigned>(hRet),
                           WmiErrorText(hRet));
        }
    }
    spServices.Release();
    gg_ptrc->Trace(3, szFunction, "Leave", "Method ClassDelete has been left.", "hRet 0x%X",
                   static_cast<unsigned>(hRet));
    return hRet;
}

bool CWmiWork::NamespaceDelete(const char* szNamespace, bool bForce)
{
    const char* szFunction = "CWmiWork::NamespaceDelete";
    gg_ptrc->Trace(3, szFunction, "Enter", "Method NamespaceDelete has been entered.",
                   "szNamespace='%s', bForce=%s", szNamespace, bForce ? "true" : "false");
    bool bEmpty = true;
    if (!bForce)
    {
        // The namespace must hold no child namespace and no class outside the system classes.
        CCWMIAccess oAcc;
        HRESULT hr = oAcc.ConnectToNamespace(szNamespace);
        if (FAILED(hr))
        {
            gg_ptrc->Trace(1, szFunction, "Internal", "ConnectToNamespace failed!", "hr=0x%X '%s'",
                           static_cast<unsigned>(hr), WmiErrorText(hr));
            bEmpty = false;
        }
        else if ((hr = oAcc.GetClassInstances("__NAMESPACE")) != static_cast<HRESULT>(WBEM_E_NOT_AVAILABLE))
        {
            if (FAILED(hr))
            {
                gg_ptrc->Trace(1, szFunction, "Internal", "oAcc.GetClassInstances failed!", "hr=0x%X '%s'",
                               static_cast<unsigned>(hr), WmiErrorText(hr));
            }
            else
            {
                gg_ptrc->Trace(2, szFunction, "Internal", "There are child namespaces available",
                               "szNamespace='%s'", szNamespace);
            }
            bEmpty = false;
        }
        else if ((hr = oAcc.ExecuteQuery("SELECT * FROM meta_class WHERE __CLASS > \"__zzzzzzzzzzz\"")) !=
                 static_cast<HRESULT>(WBEM_E_NOT_AVAILABLE))
        {
            if (FAILED(hr))
            {
                gg_ptrc->Trace(1, szFunction, "Internal", "oAcc.ExecuteQuery failed!", "hr=0x%X '%s'",
                               static_cast<unsigned>(hr), WmiErrorText(hr));
            }
            else
            {
                gg_ptrc->Trace(3, szFunction, "Internal",
                               "There are non system classes available, skipping deletion of namespace",
                               "szNamespace='%s'", szNamespace);
            }
            bEmpty = false;
        }
    }
    bool bRet = false;
    if (bEmpty)
    {
        const std::string strPath(szNamespace);
        const size_t nSlash = strPath.rfind('\\');
        if (nSlash == std::string::npos)
        {
            // No parent to delete the namespace from: the path is an invalid argument, and
            // the operation ends here without its Leave record. The job's handler reports it.
            throw static_cast<HRESULT>(E_INVALIDARG);
        }
        const std::string strParent = NamespaceWithoutMachine(strPath.substr(0, nSlash));
        const std::string strKey = "Name=\"" + strPath.substr(nSlash + 1) + "\"";
        bRet = InstanceDelete(strParent.c_str(), "__NAMESPACE", strKey.c_str());
    }
    gg_ptrc->Trace(3, szFunction, "Leave", "Method NamespaceDelete has been left.", "ret='%s'",
                   bRet ? "true" : "false");
    return bRet;
}
