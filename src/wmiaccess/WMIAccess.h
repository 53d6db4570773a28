// CCWMIAccess: one connection to a WMI namespace together with the objects the current piece
// of work uses: the current instance, the instance enumerator of the last query, the
// parameters of a method call and an optional call context that goes with every call.
//
// Every operation returns an HRESULT (none lets an exception out). The object holds one
// reference on each interface it keeps and releases it when the member is replaced or the
// object is destroyed. Names are 8-bit strings, converted to UTF-16 just before each call.
// The process initializes COM on the calling thread before an object is used.
#pragma once

#include <windows.h>
#include <wbemcli.h>

#include <map>
#include <string>

class CCWMIAccess
{
public:
    CCWMIAccess();
    // Connects nothing; sets a call context with the three values (its result is ignored).
    CCWMIAccess(const char* szFeatureName, const char* szFeatureVersion, const char* szContextName);
    virtual ~CCWMIAccess();
    CCWMIAccess(const CCWMIAccess&) = delete;

    // --- Connection and context ---

    // Connects with explicit credentials (null user and password: the current user).
    // Returns WBEM_S_ALREADY_EXISTS (0x40001) when already connected to that namespace.
    HRESULT ConnectToNamespace(const char* szNamespace, const char* szUser, const char* szPassword);
    // Connects as the current user. lInProvider -1: the locator is chosen by the hosting
    // process (the administrative locator inside WinMgmt.exe or WmiPrvse.exe).
    HRESULT ConnectToNamespace(const char* szNamespace, long lInProvider = -1,
                               const char* szLocale = nullptr);
    // True when connected by name to szNamespace (any case).
    bool AlreadyConnectedToNamespace(const char* szNamespace);
    HRESULT SetProxyBlanket();
    // A new call context with "FeatureName", "FeatureVersion" and "ContextName"; on a failure
    // the context is dropped and later calls go out without one.
    HRESULT SetContext(const char* szFeatureName, const char* szFeatureVersion, const char* szContextName);
    // A new call context with the named values of the map, in the map's order.
    HRESULT SetContext(const std::map<std::string, VARIANT>& mapValues);

    // Takes over a reference the caller already counted; empties the namespace name.
    HRESULT AttachNamespace(IWbemServices* pWbemServices);
    // Takes over a counted reference as the current instance.
    HRESULT AttachInstanceObject(IWbemClassObject* pInstance);
    // Adds a reference to the argument and stores it; the services form empties the namespace
    // name, so the object no longer counts as connected by name.
    CCWMIAccess& operator=(IWbemServices* pWbemServices);
    CCWMIAccess& operator=(IWbemClassObject* pInstance);
    // Shares the other object's references, association source, namespace name and
    // amended-qualifiers switch. A member whose counterpart is null keeps its former value
    // (and its reference); the time-out and the query language stay as they are.
    CCWMIAccess& operator=(const CCWMIAccess& oOther);
    // The stored references without an added reference: the caller must not release them.
    operator IWbemServices*();
    operator IWbemClassObject*();

    // --- Queries and enumeration (the first result becomes the current instance) ---

    // 0x80041009 when there is no (further) result; the current instance is then null.
    HRESULT ExecuteQuery(const char* szWQLQuery);
    HRESULT GetClassInstances(const char* szClassname);
    HRESULT GetNextWMIInstanceInEnumerator();
    HRESULT ResetInstanceEnumerator();

    // --- Objects ---

    HRESULT GetObject(const char* szInstancePath);
    HRESULT NewInstance(const char* szClassName);
    // A counted reference to the current instance; the caller releases it.
    HRESULT ReturnInstanceObject(IWbemClassObject** ppInstance);

    // --- Properties of the current instance ---

    HRESULT GetProperty(const char* szPropertyName, VARIANT* pvPropertyValue, long lMapOffset = 0);
    // Changes the instance in memory only.
    HRESULT SetProperty(const char* szPropertyName, VARIANT* pvPropertyValue);
    // Changes the property and writes the instance back to WMI.
    HRESULT PutWMIInstanceProperty(const char* szPropertyname, VARIANT* pvPropertyValue);
    HRESULT PutInstance();

    HRESULT BeginPropertyEnumeration();
    HRESULT EndPropertyEnumeration();
    // The next property's name into szPropertyName (dwBufferSizePropName bytes) and its value;
    // with bMappedValue the value becomes its "Values" text. 0x80041009 at the end.
    HRESULT GetNextProperty(char* szPropertyName, VARIANT* pvPropertyValue, DWORD dwBufferSizePropName,
                            bool bMappedValue = false, long lMapOffset = 0);
    // Replaces the integer in pvValue by its text from the class's "ValueMap" and "Values".
    HRESULT GetMappedProperty(const char* szPropertyName, VARIANT* pvValue, long lMapOffset = 0);

    // --- Qualifiers (of the property when szPropertyName is given, else of the object) ---

    HRESULT GetQualifier(const char* szQualifierName, VARIANT* pvQualifierValue,
                         const char* szPropertyName = nullptr);
    HRESULT SetQualifier(const char* szQualifierName, VARIANT* pvQualifierValue,
                         const char* szPropertyName = nullptr);
    HRESULT GetClassQualifier(const char* szClassName, const char* szQualifierName, VARIANT* pvQualifierValue,
                              const char* szPropertyName = nullptr);
    // Puts a qualifier of the class itself and writes the class back (update only).
    HRESULT PutClassQualifier(const char* szClassName, const char* szQualifierName, VARIANT* pvQualifierValue,
                              long lFlavor = 0, const char* szPropertyName = nullptr);

    // --- Method calls ---

    // The input parameter object of a method of szClassName becomes the method input member.
    HRESULT GetMethodSignature(const char* szClassName, const char* szMethodName);
    HRESULT SetMethodInputParameter(const char* szParameterName, VARIANT* pvValue);
    // Runs the method on szObjectPath with the method input member; the result object becomes
    // the method output member.
    HRESULT ExecuteMethod(const char* szObjectPath, const char* szMethodName);
    HRESULT GetMethodOutputParameter(const char* szParameterName, VARIANT* pvValue);

    // --- Associations ---

    // "ASSOCIATORS OF {szSourcePath} WHERE ResultClass = szResultClass"; the first result
    // becomes the current instance.
    HRESULT GetAssociatedClassInstances(const char* szSourcePath, const char* szResultClass);
    HRESULT GetNextAssociatedClassInstances();

    // --- Settings ---

    // Non-zero: calls ask for amended qualifiers, qualifiers are written amended.
    void SetAmendedQualifiers(long lAmended) { m_lAmendedQualifiers = lAmended; }
    long AmendedQualifiers() const { return m_lAmendedQualifiers; }
    // The time-out of one enumeration step in milliseconds.
    void SetEnumTimeout(ULONG ulTimeout) { m_ulEnumTimeout = ulTimeout; }
    const char* Namespace() const { return m_szNamespace; }

private:
    // Both connection overloads: bCredentials selects the record format of the failures,
    // bInProvider the administrative locator and the tolerated SetProxyBlanket failure.
    HRESULT ConnectCore(const char* szNamespace, const char* szUser, const char* szPassword, bool bInProvider,
                        bool bCredentials);
    // One step of pEnum into the current instance; 0x80041009 at the end.
    HRESULT StepEnumerator(IEnumWbemClassObject* pEnum, const char* szFunction);
    // WBEM_FLAG_USE_AMENDED_QUALIFIERS when the amended-qualifiers switch is on, else 0.
    long Flags() const;
    void ReleaseAll();

    // Both constructors start from these values.
    IEnumWbemClassObject* m_pAssocEnum = nullptr;
    IEnumWbemClassObject* m_pInstanceEnum = nullptr;
    IWbemClassObject* m_pInstance = nullptr;
    IWbemClassObject* m_pMethodInParams = nullptr;
    IWbemClassObject* m_pMethodOutParams = nullptr;
    IWbemServices* m_pWbemServices = nullptr;
    IWbemContext* m_pContext = nullptr;
    char m_szNamespace[MAX_PATH] = {};
    ULONG m_ulEnumTimeout = 2000;
    const char* m_szQueryLanguage = "WQL";
    long m_lAmendedQualifiers = 0;
    char* m_szAssocSource = nullptr;
};
