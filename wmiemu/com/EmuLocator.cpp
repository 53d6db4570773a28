// EmuLocator.cpp - IWbemLocator: connections to the namespaces of the repository.
#include "EmuCom.h"

#include "EmuContextLog.h"

#include "EmuFaults.h"

namespace wmiemu
{

HRESULT CEmuLocator::QueryInterface(REFIID riid, void** ppv)
{
    if (!ppv)
        return E_POINTER;
    *ppv = nullptr;
    if (riid == IID_IUnknown || riid == IID_IWbemLocator)
        *ppv = static_cast<IWbemLocator*>(this);
    else if (riid == IID_IClientSecurity)
        *ppv = static_cast<IClientSecurity*>(this);
    else
        return E_NOINTERFACE;
    AddRef();
    return S_OK;
}

HRESULT CEmuLocator::ConnectServer(const BSTR strNetworkResource, const BSTR, const BSTR, const BSTR, LONG,
                                   const BSTR, IWbemContext* pCtx, IWbemServices** ppNamespace)
{
    RecordContext(L"ConnectServer", pCtx);
    if (!ppNamespace || !strNetworkResource)
        return WBEM_E_INVALID_PARAMETER;
    *ppNamespace = nullptr;
    std::wstring ns;
    if (!NormalizeNamespace(strNetworkResource, ns))
        return WBEM_E_INVALID_NAMESPACE;
    HRESULT hr = ApplyFault(L"ConnectServer", ns, L"");
    if (FAILED(hr))
        return hr;
    std::wstring path;
    hr = Store::Instance().Read([&](const Repository& repo) {
        const Namespace* pNs = repo.FindNs(ns);
        if (!pNs)
            return WBEM_E_INVALID_NAMESPACE;
        path = pNs->path;
        return WBEM_S_NO_ERROR;
    });
    if (FAILED(hr))
        return hr;
    *ppNamespace = new CEmuServices(path);
    return WBEM_S_NO_ERROR;
}

} // namespace wmiemu
