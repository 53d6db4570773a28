// EmuCom.h - the emulator's COM objects: locator, services, class objects, qualifier sets,
// enumerators and the MOF compiler, over the repository of EmuStore.
#pragma once

#include "EmuStore.h"

#include <objidl.h>

namespace wmiemu
{

extern LONG g_nLiveObjects;

// {0E5C21A4-7B9D-4C55-9D7B-2F1E6A0C9A31}: asks an IWbemClassObject whether it is one of ours.
extern const IID IID_IEmuClassObject;

#define EMU_IUNKNOWN_REFCOUNT                                                                                \
    STDMETHODIMP_(ULONG) AddRef() override                                                                   \
    {                                                                                                        \
        return (ULONG)InterlockedIncrement(&m_nRef);                                                         \
    }                                                                                                        \
    STDMETHODIMP_(ULONG) Release() override                                                                  \
    {                                                                                                        \
        LONG n = InterlockedDecrement(&m_nRef);                                                              \
        if (n == 0)                                                                                          \
            delete this;                                                                                     \
        return (ULONG)n;                                                                                     \
    }

// Counts live objects for DllCanUnloadNow.
class CEmuObjectCount
{
public:
    CEmuObjectCount() { InterlockedIncrement(&g_nLiveObjects); }
    CEmuObjectCount(const CEmuObjectCount&) = delete;
    CEmuObjectCount& operator=(const CEmuObjectCount&) = delete;
    ~CEmuObjectCount() { InterlockedDecrement(&g_nLiveObjects); }
};

// IClientSecurity with nothing to secure: CoSetProxyBlanket on an in-process object succeeds.
class CEmuClientSecurity : public IClientSecurity
{
public:
    STDMETHODIMP QueryBlanket(IUnknown*, DWORD* pAuthnSvc, DWORD* pAuthzSvc, OLECHAR** pServerPrincName,
                              DWORD* pAuthnLevel, DWORD* pImpLevel, void** pAuthInfo,
                              DWORD* pCapabilities) override;
    STDMETHODIMP SetBlanket(IUnknown*, DWORD, DWORD, OLECHAR*, DWORD, DWORD, void*, DWORD) override
    {
        return S_OK;
    }
    STDMETHODIMP CopyProxy(IUnknown* pProxy, IUnknown** ppCopy) override;
};

class CEmuLocator : public IWbemLocator, public CEmuClientSecurity
{
public:
    STDMETHODIMP QueryInterface(REFIID riid, void** ppv) override;
    EMU_IUNKNOWN_REFCOUNT
    STDMETHODIMP ConnectServer(const BSTR strNetworkResource, const BSTR strUser, const BSTR strPassword,
                               const BSTR strLocale, LONG lSecurityFlags, const BSTR strAuthority,
                               IWbemContext* pCtx, IWbemServices** ppNamespace) override;

private:
    virtual ~CEmuLocator() = default;
    LONG m_nRef = 1;
    CEmuObjectCount m_count;
};

class CEmuServices : public IWbemServices, public CEmuClientSecurity
{
public:
    explicit CEmuServices(const std::wstring& ns) : m_ns(ns) {}
    STDMETHODIMP QueryInterface(REFIID riid, void** ppv) override;
    EMU_IUNKNOWN_REFCOUNT
    STDMETHODIMP OpenNamespace(const BSTR strNamespace, LONG lFlags, IWbemContext* pCtx,
                               IWbemServices** ppWorkingNamespace, IWbemCallResult** ppResult) override;
    STDMETHODIMP CancelAsyncCall(IWbemObjectSink*) override { return WBEM_E_NOT_SUPPORTED; }
    STDMETHODIMP QueryObjectSink(LONG, IWbemObjectSink**) override { return WBEM_E_NOT_SUPPORTED; }
    STDMETHODIMP GetObject(const BSTR strObjectPath, LONG lFlags, IWbemContext* pCtx,
                           IWbemClassObject** ppObject, IWbemCallResult** ppCallResult) override;
    STDMETHODIMP GetObjectAsync(const BSTR, LONG, IWbemContext*, IWbemObjectSink*) override
    {
        return WBEM_E_NOT_SUPPORTED;
    }
    STDMETHODIMP PutClass(IWbemClassObject* pObject, LONG lFlags, IWbemContext* pCtx,
                          IWbemCallResult** ppCallResult) override;
    STDMETHODIMP PutClassAsync(IWbemClassObject*, LONG, IWbemContext*, IWbemObjectSink*) override
    {
        return WBEM_E_NOT_SUPPORTED;
    }
    STDMETHODIMP DeleteClass(const BSTR strClass, LONG lFlags, IWbemContext* pCtx,
                             IWbemCallResult** ppCallResult) override;
    STDMETHODIMP DeleteClassAsync(const BSTR, LONG, IWbemContext*, IWbemObjectSink*) override
    {
        return WBEM_E_NOT_SUPPORTED;
    }
    STDMETHODIMP CreateClassEnum(const BSTR strSuperclass, LONG lFlags, IWbemContext* pCtx,
                                 IEnumWbemClassObject** ppEnum) override;
    STDMETHODIMP CreateClassEnumAsync(const BSTR, LONG, IWbemContext*, IWbemObjectSink*) override
    {
        return WBEM_E_NOT_SUPPORTED;
    }
    STDMETHODIMP PutInstance(IWbemClassObject* pInst, LONG lFlags, IWbemContext* pCtx,
                             IWbemCallResult** ppCallResult) override;
    STDMETHODIMP PutInstanceAsync(IWbemClassObject*, LONG, IWbemContext*, IWbemObjectSink*) override
    {
        return WBEM_E_NOT_SUPPORTED;
    }
    STDMETHODIMP DeleteInstance(const BSTR strObjectPath, LONG lFlags, IWbemContext* pCtx,
                                IWbemCallResult** ppCallResult) override;
    STDMETHODIMP DeleteInstanceAsync(const BSTR, LONG, IWbemContext*, IWbemObjectSink*) override
    {
        return WBEM_E_NOT_SUPPORTED;
    }
    STDMETHODIMP CreateInstanceEnum(const BSTR strFilter, LONG lFlags, IWbemContext* pCtx,
                                    IEnumWbemClassObject** ppEnum) override;
    STDMETHODIMP CreateInstanceEnumAsync(const BSTR, LONG, IWbemContext*, IWbemObjectSink*) override
    {
        return WBEM_E_NOT_SUPPORTED;
    }
    STDMETHODIMP ExecQuery(const BSTR strQueryLanguage, const BSTR strQuery, LONG lFlags, IWbemContext* pCtx,
                           IEnumWbemClassObject** ppEnum) override;
    STDMETHODIMP ExecQueryAsync(const BSTR, const BSTR, LONG, IWbemContext*, IWbemObjectSink*) override
    {
        return WBEM_E_NOT_SUPPORTED;
    }
    STDMETHODIMP ExecNotificationQuery(const BSTR, const BSTR, LONG, IWbemContext*,
                                       IEnumWbemClassObject**) override
    {
        return WBEM_E_NOT_SUPPORTED;
    }
    STDMETHODIMP ExecNotificationQueryAsync(const BSTR, const BSTR, LONG, IWbemContext*,
                                            IWbemObjectSink*) override
    {
        return WBEM_E_NOT_SUPPORTED;
    }
    STDMETHODIMP ExecMethod(const BSTR, const BSTR, LONG, IWbemContext*, IWbemClassObject*,
                            IWbemClassObject**, IWbemCallResult**) override
    {
        return WBEM_E_NOT_SUPPORTED;
    }
    STDMETHODIMP ExecMethodAsync(const BSTR, const BSTR, LONG, IWbemContext*, IWbemClassObject*,
                                 IWbemObjectSink*) override
    {
        return WBEM_E_NOT_SUPPORTED;
    }

private:
    virtual ~CEmuServices() = default;
    HRESULT MakeEnum(std::vector<Object>& objs, LONG lFlags, const std::wstring& cls,
                     IEnumWbemClassObject** ppEnum);
    std::wstring m_ns;
    LONG m_nRef = 1;
    CEmuObjectCount m_count;
};

class CEmuClassObject : public IWbemClassObject
{
public:
    explicit CEmuClassObject(const Object& obj) : m_obj(obj) {}
    static HRESULT Create(const Object& obj, IWbemClassObject** pp);
    // Our object behind an IWbemClassObject, or nullptr for a foreign one.
    static CEmuClassObject* From(IWbemClassObject* p);
    Object& Data() { return m_obj; }

    STDMETHODIMP QueryInterface(REFIID riid, void** ppv) override;
    EMU_IUNKNOWN_REFCOUNT
    STDMETHODIMP GetQualifierSet(IWbemQualifierSet** ppQualSet) override;
    STDMETHODIMP Get(LPCWSTR wszName, LONG lFlags, VARIANT* pVal, CIMTYPE* pType, LONG* plFlavor) override;
    STDMETHODIMP Put(LPCWSTR wszName, LONG lFlags, VARIANT* pVal, CIMTYPE Type) override;
    STDMETHODIMP Delete(LPCWSTR wszName) override;
    STDMETHODIMP GetNames(LPCWSTR wszQualifierName, LONG lFlags, VARIANT* pQualifierVal,
                          SAFEARRAY** pNames) override;
    STDMETHODIMP BeginEnumeration(LONG lEnumFlags) override;
    STDMETHODIMP Next(LONG lFlags, BSTR* strName, VARIANT* pVal, CIMTYPE* pType, LONG* plFlavor) override;
    STDMETHODIMP EndEnumeration() override;
    STDMETHODIMP GetPropertyQualifierSet(LPCWSTR wszProperty, IWbemQualifierSet** ppQualSet) override;
    STDMETHODIMP Clone(IWbemClassObject** ppCopy) override;
    STDMETHODIMP GetObjectText(LONG lFlags, BSTR* pstrObjectText) override;
    STDMETHODIMP SpawnDerivedClass(LONG lFlags, IWbemClassObject** ppNewClass) override;
    STDMETHODIMP SpawnInstance(LONG lFlags, IWbemClassObject** ppNewInstance) override;
    STDMETHODIMP CompareTo(LONG, IWbemClassObject*) override { return WBEM_E_NOT_SUPPORTED; }
    STDMETHODIMP GetPropertyOrigin(LPCWSTR wszName, BSTR* pstrClassName) override;
    STDMETHODIMP InheritsFrom(LPCWSTR strAncestor) override;
    STDMETHODIMP GetMethod(LPCWSTR, LONG, IWbemClassObject**, IWbemClassObject**) override
    {
        return WBEM_E_NOT_SUPPORTED;
    }
    STDMETHODIMP PutMethod(LPCWSTR, LONG, IWbemClassObject*, IWbemClassObject*) override
    {
        return WBEM_E_NOT_SUPPORTED;
    }
    STDMETHODIMP DeleteMethod(LPCWSTR) override { return WBEM_E_NOT_SUPPORTED; }
    STDMETHODIMP BeginMethodEnumeration(LONG) override { return WBEM_E_NOT_SUPPORTED; }
    STDMETHODIMP NextMethod(LONG, BSTR*, IWbemClassObject**, IWbemClassObject**) override
    {
        return WBEM_E_NOT_SUPPORTED;
    }
    STDMETHODIMP EndMethodEnumeration() override { return WBEM_E_NOT_SUPPORTED; }
    STDMETHODIMP GetMethodQualifierSet(LPCWSTR, IWbemQualifierSet**) override { return WBEM_E_NOT_SUPPORTED; }
    STDMETHODIMP GetMethodOrigin(LPCWSTR, BSTR*) override { return WBEM_E_NOT_SUPPORTED; }

private:
    virtual ~CEmuClassObject() = default;
    std::vector<std::wstring> Names(LONG lFlags) const;
    Object m_obj;
    std::vector<std::wstring> m_enumNames;
    size_t m_nEnumPos = 0;
    bool m_bEnumerating = false;
    LONG m_nRef = 1;
    CEmuObjectCount m_count;
};

// The qualifiers of an object (property "" ) or of one of its properties; works on the live object.
class CEmuQualifierSet : public IWbemQualifierSet
{
public:
    CEmuQualifierSet(CEmuClassObject* pOwner, const std::wstring& prop);
    STDMETHODIMP QueryInterface(REFIID riid, void** ppv) override;
    EMU_IUNKNOWN_REFCOUNT
    STDMETHODIMP Get(LPCWSTR wszName, LONG lFlags, VARIANT* pVal, LONG* plFlavor) override;
    STDMETHODIMP Put(LPCWSTR wszName, VARIANT* pVal, LONG lFlavor) override;
    STDMETHODIMP Delete(LPCWSTR wszName) override;
    STDMETHODIMP GetNames(LONG lFlags, SAFEARRAY** pNames) override;
    STDMETHODIMP BeginEnumeration(LONG lFlags) override;
    STDMETHODIMP Next(LONG lFlags, BSTR* pstrName, VARIANT* pVal, LONG* plFlavor) override;
    STDMETHODIMP EndEnumeration() override;

private:
    virtual ~CEmuQualifierSet();
    std::vector<Qualifier>* Quals();
    std::vector<Qualifier> View(); // with the CIMTYPE qualifier of a property
    CEmuClassObject* m_pOwner;
    std::wstring m_prop;
    std::vector<Qualifier> m_enum;
    size_t m_nEnumPos = 0;
    bool m_bEnumerating = false;
    LONG m_nRef = 1;
    CEmuObjectCount m_count;
};

class CEmuEnum : public IEnumWbemClassObject, public CEmuClientSecurity
{
public:
    CEmuEnum(std::vector<Object> objs, const std::wstring& ns, const std::wstring& cls, bool bForwardOnly)
        : m_objs(std::move(objs)), m_ns(ns), m_cls(cls), m_bForwardOnly(bForwardOnly)
    {
    }
    STDMETHODIMP QueryInterface(REFIID riid, void** ppv) override;
    EMU_IUNKNOWN_REFCOUNT
    STDMETHODIMP Reset() override;
    STDMETHODIMP Next(LONG lTimeout, ULONG uCount, IWbemClassObject** apObjects, ULONG* puReturned) override;
    STDMETHODIMP NextAsync(ULONG, IWbemObjectSink*) override { return WBEM_E_NOT_SUPPORTED; }
    STDMETHODIMP Clone(IEnumWbemClassObject** ppEnum) override;
    STDMETHODIMP Skip(LONG lTimeout, ULONG nCount) override;

private:
    virtual ~CEmuEnum() = default;
    std::vector<Object> m_objs;
    std::wstring m_ns, m_cls;
    bool m_bForwardOnly;
    size_t m_nPos = 0;
    LONG m_nRef = 1;
    CEmuObjectCount m_count;
};

class CEmuMofCompiler : public IMofCompiler
{
public:
    STDMETHODIMP QueryInterface(REFIID riid, void** ppv) override;
    EMU_IUNKNOWN_REFCOUNT
    STDMETHODIMP CompileFile(LPWSTR FileName, LPWSTR ServerAndNamespace, LPWSTR User, LPWSTR Authority,
                             LPWSTR Password, LONG lOptionFlags, LONG lClassFlags, LONG lInstanceFlags,
                             WBEM_COMPILE_STATUS_INFO* pInfo) override;
    STDMETHODIMP CompileBuffer(LONG, BYTE*, LPWSTR, LPWSTR, LPWSTR, LPWSTR, LONG, LONG, LONG,
                               WBEM_COMPILE_STATUS_INFO*) override
    {
        return WBEM_E_NOT_SUPPORTED;
    }
    STDMETHODIMP CreateBMOF(LPWSTR, LPWSTR, LPWSTR, LONG, LONG, LONG, WBEM_COMPILE_STATUS_INFO*) override
    {
        return WBEM_E_NOT_SUPPORTED;
    }

private:
    virtual ~CEmuMofCompiler() = default;
    LONG m_nRef = 1;
    CEmuObjectCount m_count;
};

// VARIANTs as WMI hands them out for a CIM type (0: by the value's own kind, as for qualifiers).
HRESULT ToVariant(const Value& v, CIMTYPE type, VARIANT* pVar);
// A VARIANT taken for a property of the given type (0: any); WBEM_E_TYPE_MISMATCH when it does not fit.
HRESULT FromVariant(const VARIANT* pVar, CIMTYPE type, Value& out);
// The CIM type a VARIANT suggests for a new property.
CIMTYPE CimTypeOfVariant(VARTYPE vt);
HRESULT MakeSafeArrayOfNames(const std::vector<std::wstring>& names, SAFEARRAY** pp);

// Registers a MOF file in the autorecover list of WMI (once, case-insensitively).
bool AddToAutorecoverList(const std::wstring& path);

} // namespace wmiemu
