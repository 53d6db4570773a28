// CWmiWork: the single WMI operations of the jobs. It holds no state: every operation
// opens what it needs and releases it before it returns.
#pragma once

#include <windows.h>
#include <wbemcli.h>

#include <string>

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
};
