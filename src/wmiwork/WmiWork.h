// CWmiWork: the single WMI operations of the jobs. It holds no state: every operation
// opens what it needs and releases it before it returns.
#pragma once

#include <windows.h>
#include <wbemcli.h>

#include <map>
#include <string>
#include <vector>

struct MofInstance;

// A namespace path without its machine part: leading backslashes and dots off, so
// \\.\root\X and .\root\X become root\X (and a path of nothing else becomes empty).
inline std::string NamespaceWithoutMachine(const std::string& strNamespace)
{
    const size_t nStart = strNamespace.find_first_not_of("\\.");
    return nStart == std::string::npos ? std::string() : strNamespace.substr(nStart);
}

// One non-system property of a class as WMI enumerates it. The default value is the class's
// value of the property; the record owns it.
struct WmiPropRecord
{
    std::string Name;
    CIMTYPE Type = CIM_EMPTY;
    VARIANT vDefault;
    bool bKey = false;

    WmiPropRecord() { VariantInit(&vDefault); }
    WmiPropRecord(const WmiPropRecord& other) : Name(other.Name), Type(other.Type), bKey(other.bKey)
    {
        VariantInit(&vDefault);
        VariantCopy(&vDefault, const_cast<VARIANT*>(&other.vDefault));
    }
    WmiPropRecord& operator=(const WmiPropRecord& other)
    {
        if (this != &other)
        {
            Name = other.Name;
            Type = other.Type;
            bKey = other.bKey;
            VariantCopy(&vDefault, const_cast<VARIANT*>(&other.vDefault));
        }
        return *this;
    }
    ~WmiPropRecord() { VariantClear(&vDefault); }
};
using WmiPropList = std::vector<WmiPropRecord>;
// Alias of a MOF instance ("$Name") -> its escaped full object path "namespace:path".
using WmiAliasMap = std::map<std::string, std::string>;

// Results of ClassVersionCheck.
enum : int
{
    CLASSVERSION_NO_QUALIFIER = -3,
    CLASSVERSION_GENERAL_ERROR = -2,
    CLASSVERSION_INSTALLED_NEWER = -1,
    CLASSVERSION_IDENTICAL = 0,
    CLASSVERSION_INSTALLED_OLDER = 1,
    CLASSVERSION_NO_CLASS = 2,
    CLASSVERSION_NO_NAMESPACE = 3,
};

class CWmiWork
{
public:
    // Connects to a namespace; on success the caller owns *ppServices.
    static HRESULT ConnectToNamespace(const char* szNamespace, IWbemServices** ppServices);
    static HRESULT SetProxyBlanket(IUnknown* pProxy);
    // Compares the installed class's "version" qualifier with szVersion (see the codes above).
    static int ClassVersionCheck(const char* szNamespace, const char* szClass, const char* szVersion);
    // True when the property carries a qualifier named szQualifierName (any case);
    // pvValue receives the values of the qualifiers read.
    static bool QualifierFind(IWbemClassObject* pIWbemClassObject, const char* szPropertyName,
                              const char* szQualifierName, VARIANT* pvValue);

    // --- Properties and object paths ---

    // The class's non-system properties in WMI's order; WBEM_E_NOT_FOUND for a missing class.
    static HRESULT PropNamesAndTypesGet(const char* szNamespace, const char* szClass, WmiPropList& list);
    // Class.Key1=value1,Key2=value2 from the instance's values, the class defaults and aliases.
    static bool InstancePathCreate(const MofInstance& instance, const WmiPropList& list,
                                   const WmiAliasMap& aliasMap, std::string& strPath);
    // The value as object path text; false for a type that has none.
    static bool CimValue2Str(CIMTYPE type, const VARIANT& vValue, std::string& strText);

    // --- Deletions ---

    // The result of IWbemServices::DeleteInstance, or of the failed connection.
    static HRESULT SpecificInstanceDelete(const char* szNamespace, const char* szRelPath);
    // With szKey the one instance "Class.Key", without it every instance of the class.
    static bool InstanceDelete(const char* szNamespace, const char* szClass, const char* szKey);
    // S_OK, WBEM_E_NOT_FOUND when there is no such class, or the failure.
    static HRESULT ClassDelete(const char* szNamespace, const char* szClass);
    // Without bForce only a namespace without child namespaces and non-system classes goes.
    // A path without a backslash has no parent: E_INVALIDARG is thrown by value.
    static bool NamespaceDelete(const char* szNamespace, bool bForce);

    // The trace text of a ClassVersionCheck result.
    static const char* ClassVersionText(int nCode);
    // Sets the class qualifier named by "namespace:class.qualifier" (split at the first ":"
    // and the last ".") to szValue, read by the type the qualifier has in WMI. A qualifier
    // that does not exist is not created. pstrOldValue, when given, receives the former value
    // in the form of the backup file.
    static bool QualifierSet(const char* szQualifierPath, const char* szValue,
                             std::string* pstrOldValue = nullptr);
    // A qualifier value as the backup file holds it: a string in double quotes, a VT_I4 as
    // "%ld", a VT_UI4 as "%lu", any other type as the empty text.
    static std::string QualifierBackupText(const VARIANT& vValue);
    // Fills the cleared *pvValue with type vt from text: VT_BSTR without the double quotes at
    // both ends, VT_I4 and VT_UI4 as atol reads the text, any other type with an empty value.
    static void QualifierValueFromText(VARTYPE vt, const char* szValue, VARIANT* pvValue);

private:
    // ConnectToNamespace for the operation szFunction; a failure is traced there as
    // "ConnectToNamespace failed" with the HRESULT and its text.
    static HRESULT ConnectTraced(const char* szFunction, const char* szNamespace, IWbemServices** ppServices);
};
