// EmuServices.cpp - IWbemServices on one namespace of the repository (synchronous calls only).
#include "EmuCom.h"

#include "EmuContextLog.h"

#include "EmuFaults.h"
#include "EmuQuery.h"

namespace wmiemu
{

namespace
{
std::wstring Str(const BSTR b)
{
    return b ? std::wstring(b) : std::wstring();
}

std::wstring ClassOfPath(const std::wstring& path)
{
    ObjectPath op;
    return ParseObjectPath(path, op) ? op.className : std::wstring();
}

void ClearCallResult(IWbemCallResult** pp)
{
    if (pp)
        *pp = nullptr;
}
} // namespace

HRESULT CEmuServices::QueryInterface(REFIID riid, void** ppv)
{
    if (!ppv)
        return E_POINTER;
    *ppv = nullptr;
    if (riid == IID_IUnknown || riid == IID_IWbemServices)
        *ppv = static_cast<IWbemServices*>(this);
    else if (riid == IID_IClientSecurity)
        *ppv = static_cast<IClientSecurity*>(this);
    else
        return E_NOINTERFACE;
    AddRef();
    return S_OK;
}

HRESULT CEmuServices::OpenNamespace(const BSTR strNamespace, LONG, IWbemContext*,
                                    IWbemServices** ppWorkingNamespace, IWbemCallResult** ppResult)
{
    ClearCallResult(ppResult);
    if (!strNamespace || !ppWorkingNamespace)
        return WBEM_E_INVALID_PARAMETER;
    *ppWorkingNamespace = nullptr;
    std::wstring rel;
    if (!NormalizeNamespace(strNamespace, rel))
        return WBEM_E_INVALID_NAMESPACE;
    std::wstring full = m_ns + L"\\" + rel;
    HRESULT hr = ApplyFault(L"OpenNamespace", full, L"");
    if (FAILED(hr))
        return hr;
    hr = Store::Instance().Read([&](const Repository& repo) {
        const Namespace* pNs = repo.FindNs(full);
        if (!pNs)
            return WBEM_E_INVALID_NAMESPACE;
        full = pNs->path;
        return WBEM_S_NO_ERROR;
    });
    if (SUCCEEDED(hr))
        *ppWorkingNamespace = new CEmuServices(full);
    return hr;
}

HRESULT CEmuServices::GetObject(const BSTR strObjectPath, LONG, IWbemContext* pCtx,
                                IWbemClassObject** ppObject, IWbemCallResult** ppCallResult)
{
    RecordContext(L"GetObject", pCtx);
    ClearCallResult(ppCallResult);
    if (ppObject)
        *ppObject = nullptr;
    std::wstring path = Str(strObjectPath);
    HRESULT hr = ApplyFault(L"GetObject", m_ns, ClassOfPath(path));
    if (FAILED(hr))
        return hr;
    Object obj;
    if (path.empty())
    {
        // An empty class, to be filled in and stored with PutClass.
        hr = Store::Instance().Read([&](const Repository& repo) {
            return repo.FindNs(m_ns) ? WBEM_S_NO_ERROR : WBEM_E_INVALID_NAMESPACE;
        });
        obj.ns = m_ns;
    }
    else
        hr = Store::Instance().Read(
            [&](const Repository& repo) { return repo.GetObjectByPath(m_ns, path, obj); });
    if (FAILED(hr))
        return hr;
    if (!ppObject)
        return WBEM_S_NO_ERROR;
    return CEmuClassObject::Create(obj, ppObject);
}

HRESULT CEmuServices::PutClass(IWbemClassObject* pObject, LONG lFlags, IWbemContext*,
                               IWbemCallResult** ppCallResult)
{
    ClearCallResult(ppCallResult);
    CEmuClassObject* pEmu = pObject ? CEmuClassObject::From(pObject) : nullptr;
    if (!pEmu)
        return WBEM_E_INVALID_PARAMETER;
    Object obj = pEmu->Data();
    HRESULT hr = ApplyFault(L"PutClass", m_ns, obj.className);
    if (FAILED(hr))
        return hr;
    return Store::Instance().Modify([&](Repository& repo) { return repo.PutClass(m_ns, obj, lFlags); });
}

HRESULT CEmuServices::DeleteClass(const BSTR strClass, LONG, IWbemContext*, IWbemCallResult** ppCallResult)
{
    ClearCallResult(ppCallResult);
    if (!strClass)
        return WBEM_E_INVALID_PARAMETER;
    std::wstring cls = strClass;
    HRESULT hr = ApplyFault(L"DeleteClass", m_ns, cls);
    if (FAILED(hr))
        return hr;
    return Store::Instance().Modify([&](Repository& repo) { return repo.DeleteClass(m_ns, cls); });
}

HRESULT CEmuServices::PutInstance(IWbemClassObject* pInst, LONG lFlags, IWbemContext*,
                                  IWbemCallResult** ppCallResult)
{
    ClearCallResult(ppCallResult);
    CEmuClassObject* pEmu = pInst ? CEmuClassObject::From(pInst) : nullptr;
    if (!pEmu)
        return WBEM_E_INVALID_PARAMETER;
    Object obj = pEmu->Data();
    HRESULT hr = ApplyFault(L"PutInstance", m_ns, obj.className);
    if (FAILED(hr))
        return hr;
    return Store::Instance().Modify(
        [&](Repository& repo) { return repo.PutInstance(m_ns, obj, lFlags, nullptr); });
}

HRESULT CEmuServices::DeleteInstance(const BSTR strObjectPath, LONG, IWbemContext*,
                                     IWbemCallResult** ppCallResult)
{
    ClearCallResult(ppCallResult);
    if (!strObjectPath)
        return WBEM_E_INVALID_PARAMETER;
    std::wstring path = strObjectPath;
    HRESULT hr = ApplyFault(L"DeleteInstance", m_ns, ClassOfPath(path));
    if (FAILED(hr))
        return hr;
    return Store::Instance().Modify([&](Repository& repo) { return repo.DeleteInstance(m_ns, path); });
}

HRESULT CEmuServices::MakeEnum(std::vector<Object>& objs, LONG lFlags, const std::wstring& cls,
                               IEnumWbemClassObject** ppEnum)
{
    *ppEnum = new CEmuEnum(std::move(objs), m_ns, cls, (lFlags & WBEM_FLAG_FORWARD_ONLY) != 0);
    return WBEM_S_NO_ERROR;
}

HRESULT CEmuServices::CreateClassEnum(const BSTR strSuperclass, LONG lFlags, IWbemContext* pCtx,
                                      IEnumWbemClassObject** ppEnum)
{
    RecordContext(L"CreateClassEnum", pCtx);
    if (!ppEnum)
        return WBEM_E_INVALID_PARAMETER;
    *ppEnum = nullptr;
    std::wstring super = Str(strSuperclass);
    HRESULT hr = ApplyFault(L"CreateClassEnum", m_ns, super);
    if (FAILED(hr))
        return hr;
    std::vector<Object> objs;
    hr = Store::Instance().Read([&](const Repository& repo) {
        return repo.EnumClasses(m_ns, super, !(lFlags & WBEM_FLAG_SHALLOW), objs);
    });
    return FAILED(hr) ? hr : MakeEnum(objs, lFlags, super, ppEnum);
}

HRESULT CEmuServices::CreateInstanceEnum(const BSTR strFilter, LONG lFlags, IWbemContext* pCtx,
                                         IEnumWbemClassObject** ppEnum)
{
    RecordContext(L"CreateInstanceEnum", pCtx);
    if (!ppEnum || !strFilter)
        return WBEM_E_INVALID_PARAMETER;
    *ppEnum = nullptr;
    std::wstring cls = strFilter;
    HRESULT hr = ApplyFault(L"CreateInstanceEnum", m_ns, cls);
    if (FAILED(hr))
        return hr;
    std::vector<Object> objs;
    hr = Store::Instance().Read([&](const Repository& repo) {
        return repo.EnumInstances(m_ns, cls, !(lFlags & WBEM_FLAG_SHALLOW), objs);
    });
    return FAILED(hr) ? hr : MakeEnum(objs, lFlags, cls, ppEnum);
}

HRESULT CEmuServices::ExecQuery(const BSTR strQueryLanguage, const BSTR strQuery, LONG lFlags,
                                IWbemContext* pCtx, IEnumWbemClassObject** ppEnum)
{
    RecordContext(L"ExecQuery", pCtx);
    if (!ppEnum || !strQueryLanguage || !strQuery)
        return WBEM_E_INVALID_PARAMETER;
    *ppEnum = nullptr;
    if (!NameEq(strQueryLanguage, L"WQL"))
        return WBEM_E_INVALID_QUERY_TYPE;
    std::wstring query = strQuery, cls;
    std::vector<Object> objs;
    HRESULT hr = Store::Instance().Read(
        [&](const Repository& repo) { return RunQuery(repo, m_ns, query, objs, &cls); });
    HRESULT hrFault = ApplyFault(L"ExecQuery", m_ns, cls);
    if (FAILED(hrFault))
        return hrFault;
    return FAILED(hr) ? hr : MakeEnum(objs, lFlags, cls, ppEnum);
}

} // namespace wmiemu
