// Namespaces: created and deleted through __NAMESPACE instances, with everything inside them.
#include "EmuTestUtil.h"

TEST_F(EmuTest, NamespaceInstanceCreatesAConnectableNamespace)
{
    auto& root = Ns(L"root");
    CComPtrT<IWbemClassObject> cls, inst;
    ASSERT_EQ(WBEM_S_NO_ERROR, GetObj(root.Get(), L"__NAMESPACE", cls));
    ASSERT_EQ(WBEM_S_NO_ERROR, cls->SpawnInstance(0, &inst));
    CVar name(L"EmuTop");
    ASSERT_EQ(WBEM_S_NO_ERROR, inst->Put(L"Name", 0, &name, 0));
    ASSERT_EQ(WBEM_S_NO_ERROR, root->PutInstance(inst.Get(), 0, nullptr, nullptr));
    EXPECT_EQ(WBEM_E_ALREADY_EXISTS, root->PutInstance(inst.Get(), WBEM_FLAG_CREATE_ONLY, nullptr, nullptr));
    CComPtrT<IWbemServices> svc;
    EXPECT_EQ(WBEM_S_NO_ERROR, Connect(L"\\\\.\\ROOT\\emutop", svc));
    CBstr nsClass(L"__NAMESPACE");
    CComPtrT<IEnumWbemClassObject> en;
    ASSERT_EQ(WBEM_S_NO_ERROR, root->CreateInstanceEnum(nsClass, 0, nullptr, &en));
    auto names = EnumNames(en.Get(), L"Name");
    EXPECT_EQ((std::vector<std::wstring>{L"cimv2", L"default", L"EmuTop"}), names);
}

TEST_F(EmuTest, DeletingANamespaceTakesEverythingInsideAlong)
{
    CompileOk(R"(
#pragma namespace("\\\\.\\root")
instance of __Namespace { Name = "EmuDel"; };
#pragma namespace("EmuDel")
instance of __Namespace { Name = "Inner"; };
class InDel { [key] string K; };
instance of InDel { K = "v"; };
#pragma namespace("Inner")
class InInner { };
)");
    CComPtrT<IWbemServices> inner;
    ASSERT_EQ(WBEM_S_NO_ERROR, Connect(L"root\\EmuDel\\Inner", inner));
    CComPtrT<IWbemClassObject> obj;
    EXPECT_EQ(WBEM_S_NO_ERROR, GetObj(inner.Get(), L"InInner", obj));

    CBstr path(L"__NAMESPACE.Name=\"EmuDel\"");
    ASSERT_EQ(WBEM_S_NO_ERROR, Ns(L"root")->DeleteInstance(path, 0, nullptr, nullptr));
    EXPECT_EQ(WBEM_E_NOT_FOUND, Ns(L"root")->DeleteInstance(path, 0, nullptr, nullptr));
    CComPtrT<IWbemServices> gone;
    EXPECT_EQ(WBEM_E_INVALID_NAMESPACE, Connect(L"root\\EmuDel", gone));
    EXPECT_EQ(WBEM_E_INVALID_NAMESPACE, Connect(L"root\\EmuDel\\Inner", gone));
    EXPECT_EQ(WBEM_E_INVALID_NAMESPACE, GetObj(inner.Get(), L"InInner", obj)); // the old connection too
    EXPECT_EQ(std::wstring::npos, Dump().find(L"InDel"));
}
