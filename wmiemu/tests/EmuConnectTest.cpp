// Connections: namespace name forms, missing namespaces, proxy blankets, the serving module.
#include "EmuTestUtil.h"

TEST_F(EmuTest, ConnectAcceptsEveryFormOfAFreshRepositorysNamespaces)
{
    for (const wchar_t* ns : {L"root", L"root\\default", L"root\\cimv2", L"ROOT\\CIMV2",
                              L"\\\\.\\root\\cimv2", L"//./root/cimv2", L"root\\default\\"})
    {
        CComPtrT<IWbemServices> svc;
        EXPECT_EQ(WBEM_S_NO_ERROR, Connect(ns, svc)) << "namespace " << std::string(ns, ns + wcslen(ns));
    }
}

TEST_F(EmuTest, ConnectToMissingNamespaceIsInvalidNamespace)
{
    for (const wchar_t* ns : {L"root\\nosuch", L"\\\\.\\root\\cimv2\\nosuch", L"nosuch", L"root\\\\x"})
    {
        CComPtrT<IWbemServices> svc;
        EXPECT_EQ(WBEM_E_INVALID_NAMESPACE, Connect(ns, svc));
        EXPECT_FALSE(svc);
    }
}

TEST_F(EmuTest, ProxyBlanketCanBeSetOnServicesAndEnumerators)
{
    auto& svc = Ns(L"root\\cimv2");
    EXPECT_EQ(S_OK,
              CoSetProxyBlanket(svc.Get(), RPC_C_AUTHN_WINNT, RPC_C_AUTHZ_NONE, nullptr,
                                RPC_C_AUTHN_LEVEL_CALL, RPC_C_IMP_LEVEL_IMPERSONATE, nullptr, EOAC_NONE));
    CComPtrT<IEnumWbemClassObject> en;
    CBstr cls(L"__NAMESPACE");
    ASSERT_EQ(WBEM_S_NO_ERROR, svc->CreateInstanceEnum(cls, 0, nullptr, &en));
    EXPECT_EQ(S_OK,
              CoSetProxyBlanket(en.Get(), RPC_C_AUTHN_WINNT, RPC_C_AUTHZ_NONE, nullptr,
                                RPC_C_AUTHN_LEVEL_CALL, RPC_C_IMP_LEVEL_IMPERSONATE, nullptr, EOAC_NONE));
}

TEST_F(EmuTest, LocatorAndCompilerComeFromTheEmulatorDll)
{
    CComPtrT<IMofCompiler> comp;
    ASSERT_EQ(S_OK, CoCreateInstance(CLSID_MofCompiler, nullptr, 0x17, IID_IMofCompiler, (void**)&comp));
    HMODULE h = GetModuleHandleW(L"wmiemu.dll");
    ASSERT_NE(nullptr, h);
    EXPECT_EQ(nullptr, GetModuleHandleW(L"wbemprox.dll"));
}

TEST_F(EmuTest, OpenNamespaceIsRelativeToTheConnection)
{
    auto& root = Ns(L"root");
    CComPtrT<IWbemServices> sub;
    CBstr rel(L"cimv2"), bad(L"nosuch");
    EXPECT_EQ(WBEM_S_NO_ERROR, root->OpenNamespace(rel, 0, nullptr, &sub, nullptr));
    EXPECT_EQ(WBEM_E_INVALID_NAMESPACE, root->OpenNamespace(bad, 0, nullptr, &sub, nullptr));
}
