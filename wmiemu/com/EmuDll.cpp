// EmuDll.cpp - the in-process server: class factories for the locator and the MOF compiler.
#include "EmuCom.h"

namespace wmiemu
{

LONG g_nLiveObjects = 0;

// {0E5C21A4-7B9D-4C55-9D7B-2F1E6A0C9A31}
const IID IID_IEmuClassObject = {
    0x0e5c21a4, 0x7b9d, 0x4c55, {0x9d, 0x7b, 0x2f, 0x1e, 0x6a, 0x0c, 0x9a, 0x31}};

namespace
{
// {4590f811-1d3a-11d0-891f-00aa004b2e24}
const CLSID CLSID_EmuWbemLocator = {
    0x4590f811, 0x1d3a, 0x11d0, {0x89, 0x1f, 0x00, 0xaa, 0x00, 0x4b, 0x2e, 0x24}};
// {6DAF9757-2E37-11D2-AEC9-00C04FB68820}
const CLSID CLSID_EmuMofCompiler = {
    0x6daf9757, 0x2e37, 0x11d2, {0xae, 0xc9, 0x00, 0xc0, 0x4f, 0xb6, 0x88, 0x20}};

class CEmuFactory : public IClassFactory
{
public:
    explicit CEmuFactory(bool bCompiler) : m_bCompiler(bCompiler) {}
    STDMETHODIMP QueryInterface(REFIID riid, void** ppv) override
    {
        if (!ppv)
            return E_POINTER;
        *ppv = nullptr;
        if (riid != IID_IUnknown && riid != IID_IClassFactory)
            return E_NOINTERFACE;
        *ppv = static_cast<IClassFactory*>(this);
        AddRef();
        return S_OK;
    }
    EMU_IUNKNOWN_REFCOUNT
    STDMETHODIMP CreateInstance(IUnknown* pOuter, REFIID riid, void** ppv) override
    {
        if (!ppv)
            return E_POINTER;
        *ppv = nullptr;
        if (pOuter)
            return CLASS_E_NOAGGREGATION;
        IUnknown* p = m_bCompiler ? static_cast<IUnknown*>(new CEmuMofCompiler())
                                  : static_cast<IUnknown*>(static_cast<IWbemLocator*>(new CEmuLocator()));
        HRESULT hr = p->QueryInterface(riid, ppv);
        p->Release();
        return hr;
    }
    STDMETHODIMP LockServer(BOOL bLock) override
    {
        if (bLock)
            InterlockedIncrement(&g_nLiveObjects);
        else
            InterlockedDecrement(&g_nLiveObjects);
        return S_OK;
    }

private:
    virtual ~CEmuFactory() = default;
    bool m_bCompiler;
    LONG m_nRef = 1;
    CEmuObjectCount m_count;
};
} // namespace

HRESULT CEmuClientSecurity::QueryBlanket(IUnknown*, DWORD* pAuthnSvc, DWORD* pAuthzSvc,
                                         OLECHAR** pServerPrincName, DWORD* pAuthnLevel, DWORD* pImpLevel,
                                         void** pAuthInfo, DWORD* pCapabilities)
{
    if (pAuthnSvc)
        *pAuthnSvc = RPC_C_AUTHN_WINNT;
    if (pAuthzSvc)
        *pAuthzSvc = RPC_C_AUTHZ_NONE;
    if (pServerPrincName)
        *pServerPrincName = nullptr;
    if (pAuthnLevel)
        *pAuthnLevel = RPC_C_AUTHN_LEVEL_CALL;
    if (pImpLevel)
        *pImpLevel = RPC_C_IMP_LEVEL_IMPERSONATE;
    if (pAuthInfo)
        *pAuthInfo = nullptr;
    if (pCapabilities)
        *pCapabilities = EOAC_NONE;
    return S_OK;
}

HRESULT CEmuClientSecurity::CopyProxy(IUnknown* pProxy, IUnknown** ppCopy)
{
    if (!pProxy || !ppCopy)
        return E_INVALIDARG;
    pProxy->AddRef();
    *ppCopy = pProxy;
    return S_OK;
}

} // namespace wmiemu

extern "C" HRESULT __stdcall DllGetClassObject(REFCLSID rclsid, REFIID riid, void** ppv)
{
    using namespace wmiemu;
    if (!ppv)
        return E_POINTER;
    *ppv = nullptr;
    bool bLocator = IsEqualCLSID(rclsid, CLSID_EmuWbemLocator) != 0;
    if (!bLocator && !IsEqualCLSID(rclsid, CLSID_EmuMofCompiler))
        return CLASS_E_CLASSNOTAVAILABLE;
    CEmuFactory* pf = new CEmuFactory(!bLocator);
    HRESULT hr = pf->QueryInterface(riid, ppv);
    pf->Release();
    return hr;
}

extern "C" HRESULT __stdcall DllCanUnloadNow()
{
    return wmiemu::g_nLiveObjects == 0 ? S_OK : S_FALSE;
}
