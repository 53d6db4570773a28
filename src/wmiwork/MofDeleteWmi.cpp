// DoDeleteInstances and DoDeleteNonSystemClasses: the instances and classes of a MOF file.
#include "MofDelete.h"

#include "ArcaTrace.h"
#include "MofParse.h"
#include "WmiWork.h"

#include <mbstring.h>
#include <string>

namespace
{
// "namespace:path" as it stands inside a quoted object path value: backslashes doubled,
// double quotes escaped.
std::string AliasPathEscaped(const std::string& strNamespace, const std::string& strPath)
{
    std::string strEscaped;
    for (char ch : strNamespace + ":" + strPath)
    {
        if (ch == '\\' || ch == '"')
        {
            strEscaped += '\\';
        }
        strEscaped += ch;
    }
    return strEscaped;
}
} // namespace

bool DoDeleteInstances(CMofParse& mp)
{
    const char* szFunction = "DoDeleteInstances";
    gg_ptrc->Trace(3, szFunction, "Enter", "Method DoDeleteInstances has been entered.", "");
    bool bRet = true;
    WmiAliasMap aliasMap;
    WmiPropList props;
    for (const MofInstance& instance : mp.Instances())
    {
        std::string strNamespace;
        if (!mp.NamespaceForPosition(instance.Pos, strNamespace))
        {
            gg_ptrc->Trace(2, szFunction, "Internal", "Did not find namespace for instance", "name='%s'",
                           instance.ClassName.c_str());
            continue;
        }
        // Namespaces stay: an instance of __Namespace is passed over.
        if (_mbsicmp(reinterpret_cast<const unsigned char*>(instance.ClassName.c_str()),
                     reinterpret_cast<const unsigned char*>("__Namespace")) == 0)
        {
            continue;
        }
        strNamespace = "\\\\.\\" + NamespaceWithoutMachine(strNamespace);
        const HRESULT hr =
            CWmiWork::PropNamesAndTypesGet(strNamespace.c_str(), instance.ClassName.c_str(), props);
        if (hr == static_cast<HRESULT>(WBEM_E_NOT_FOUND))
        {
            // The class is not installed: there is nothing to delete.
            gg_ptrc->Trace(3, szFunction, "Internal",
                           "CWmiWork::PropNamesAndTypesGet returned WBEM_E_NOT_FOUND", "NS='%s', Class='%s'",
                           strNamespace.c_str(), instance.ClassName.c_str());
            continue;
        }
        if (FAILED(hr))
        {
            gg_ptrc->Trace(1, szFunction, "Internal", "CWmiWork::PropNamesAndTypesGet failed",
                           "NS='%s', Class='%s'", strNamespace.c_str(), instance.ClassName.c_str());
            bRet = false;
            break;
        }
        std::string strPath;
        if (!CWmiWork::InstancePathCreate(instance, props, aliasMap, strPath))
        {
            gg_ptrc->Trace(1, szFunction, "Internal", "CWmiWork::InstancePathCreate failed",
                           "NS='%s', Class='%s'", strNamespace.c_str(), instance.ClassName.c_str());
            bRet = false;
            break;
        }
        if (!instance.Alias.empty())
        {
            aliasMap[instance.Alias] = AliasPathEscaped(strNamespace, strPath);
        }
        const HRESULT hrDelete = CWmiWork::SpecificInstanceDelete(strNamespace.c_str(), strPath.c_str());
        if (hrDelete == static_cast<HRESULT>(WBEM_E_NOT_FOUND))
        {
            gg_ptrc->Trace(3, szFunction, "Internal", "Instance not found", "ns='%s' path='%s'",
                           strNamespace.c_str(), strPath.c_str());
        }
        else if (FAILED(hrDelete))
        {
            gg_ptrc->Trace(2, szFunction, "Internal", "INSTANCE DELETION ERROR", "ns='%s' path='%s'",
                           strNamespace.c_str(), strPath.c_str());
        }
        else
        {
            gg_ptrc->Trace(4, szFunction, "Internal", "INSTANCE DELETED", "ns='%s' path='%s'",
                           strNamespace.c_str(), strPath.c_str());
        }
    }
    gg_ptrc->Trace(3, szFunction, "Leave", "Method DoDeleteInstances has been left.", "ret=%s",
                   bRet ? "true" : "false");
    return bRet;
}

bool DoDeleteNonSystemClasses(CMofParse& mp)
{
    const char* szFunction = "DoDeleteNonSystemClasses";
    gg_ptrc->Trace(3, szFunction, "Enter", "Method DoDeleteNonSystemClasses has been entered.", "");
    for (const MofEntry& mofClass : mp.Classes())
    {
        // The scanner also reports the word class before a brace inside a qualifier string or a
        // comment, as a class without a name: an internal fault of that one entry, raised after
        // its record and caught here, so that the other classes are still deleted and the step
        // stays true (the autorecover step still runs).
        try
        {
            if (mofClass.Name.empty())
            {
                gg_ptrc->Trace(1, szFunction, "Exception", "Throwing exception because a class has no name",
                               "hr=0x%X", static_cast<unsigned>(E_FAIL));
                throw static_cast<HRESULT>(E_FAIL);
            }
        }
        catch (HRESULT)
        {
            continue;
        }
        // "__" sorting at or below the name counts as a system class: every name that begins
        // with "__", and every name whose first character sorts after "_" (a lower-case one).
        if (std::string("__").compare(mofClass.Name) <= 0)
        {
            gg_ptrc->Trace(3, szFunction, "Internal", "Skipping deletion of system class", "name='%s'",
                           mofClass.Name.c_str());
            continue;
        }
        std::string strNamespace;
        if (!mp.NamespaceForPosition(mofClass.Pos, strNamespace))
        {
            gg_ptrc->Trace(2, szFunction, "Internal", "Did not find namespace for class", "name='%s'",
                           mofClass.Name.c_str());
            continue;
        }
        strNamespace = NamespaceWithoutMachine(strNamespace);
        const HRESULT hr = CWmiWork::ClassDelete(strNamespace.c_str(), mofClass.Name.c_str());
        if (SUCCEEDED(hr))
        {
            gg_ptrc->Trace(4, szFunction, "Internal", "CLASS DELETED", "ns='%s' path='%s'",
                           strNamespace.c_str(), mofClass.Name.c_str());
        }
        else if (hr == static_cast<HRESULT>(WBEM_E_NOT_FOUND))
        {
            gg_ptrc->Trace(3, szFunction, "Internal", "CLASS NOT FOUND", "ns='%s' path='%s'",
                           strNamespace.c_str(), mofClass.Name.c_str());
        }
        else
        {
            gg_ptrc->Trace(2, szFunction, "Internal", "CLASS DELETION FAILED", "ns='%s' path='%s'",
                           strNamespace.c_str(), mofClass.Name.c_str());
        }
    }
    gg_ptrc->Trace(3, szFunction, "Leave", "Method DoDeleteNonSystemClasses has been left.", "ret=%s",
                   "true");
    return true;
}
