// Classes: PutClass/GetObject/DeleteClass with inheritance, qualifier flavors and system properties.
#include "EmuTestUtil.h"

namespace
{
const char* const BASE_AND_CHILD = R"(
[Version("1.2.0"): ToSubclass, Description("base")]
class EmuBase
{
    [key] string Name;
    uint32 Count = 7;
    string Tags[] = {"a", "b"};
};
[Version("2.0.0")]
class EmuChild : EmuBase
{
    boolean Flag = true;
    EmuBase ref Other;
};
)";
} // namespace

TEST_F(EmuTest, ClassBuiltThroughTheApiIsStoredAndReadBack)
{
    auto& svc = Ns();
    CComPtrT<IWbemClassObject> cls;
    ASSERT_EQ(WBEM_S_NO_ERROR, GetObj(svc.Get(), L"", cls));
    CVar name(L"ApiClass");
    ASSERT_EQ(WBEM_S_NO_ERROR, cls->Put(L"__CLASS", 0, &name, 0));
    CVar none;
    none.v.vt = VT_NULL;
    ASSERT_EQ(WBEM_S_NO_ERROR, cls->Put(L"Id", 0, &none, CIM_UINT32));
    CComPtrT<IWbemQualifierSet> qs;
    ASSERT_EQ(WBEM_S_NO_ERROR, cls->GetPropertyQualifierSet(L"Id", &qs));
    CVar t = CVar::Bool(true);
    ASSERT_EQ(WBEM_S_NO_ERROR, qs->Put(L"key", &t, 0));
    CComPtrT<IWbemQualifierSet> cq;
    ASSERT_EQ(WBEM_S_NO_ERROR, cls->GetQualifierSet(&cq));
    CVar ver(L"3.1");
    ASSERT_EQ(WBEM_S_NO_ERROR, cq->Put(L"Version", &ver, WBEM_FLAVOR_FLAG_PROPAGATE_TO_DERIVED_CLASS));
    ASSERT_EQ(WBEM_S_NO_ERROR, svc->PutClass(cls.Get(), 0, nullptr, nullptr));

    CComPtrT<IWbemClassObject> back;
    ASSERT_EQ(WBEM_S_NO_ERROR, GetObj(svc.Get(), L"ApiClass", back));
    CComPtrT<IWbemQualifierSet> bq;
    ASSERT_EQ(WBEM_S_NO_ERROR, back->GetQualifierSet(&bq));
    CVar v;
    LONG lFlavor = -1;
    ASSERT_EQ(WBEM_S_NO_ERROR, bq->Get(L"Version", 0, &v, &lFlavor));
    EXPECT_EQ(L"3.1", v.Str());
    EXPECT_EQ(WBEM_FLAVOR_FLAG_PROPAGATE_TO_DERIVED_CLASS, lFlavor);
    CIMTYPE type = 0;
    EXPECT_EQ(WBEM_S_NO_ERROR, back->Get(L"Id", 0, nullptr, &type, nullptr));
    EXPECT_EQ(CIM_UINT32, type);
    EXPECT_EQ(L"\\\\", GetStr(back.Get(), L"__PATH").substr(0, 2));
    EXPECT_NE(std::wstring::npos, GetStr(back.Get(), L"__PATH").find(L"\\root\\default:ApiClass"));
}

TEST_F(EmuTest, SubclassInheritsPropertiesAndOnlyPropagatingQualifiers)
{
    CompileOk(BASE_AND_CHILD);
    auto& svc = Ns();
    CComPtrT<IWbemClassObject> child;
    ASSERT_EQ(WBEM_S_NO_ERROR, GetObj(svc.Get(), L"EmuChild", child));
    EXPECT_EQ(L"EmuBase", GetStr(child.Get(), L"__SUPERCLASS"));
    EXPECT_EQ(L"EmuBase", GetStr(child.Get(), L"__DYNASTY"));
    EXPECT_EQ(L"EmuChild", GetStr(child.Get(), L"__RELPATH"));
    CVar count;
    ASSERT_EQ(WBEM_S_NO_ERROR, child->Get(L"Count", 0, &count, nullptr, nullptr));
    EXPECT_EQ(VT_I4, count.v.vt);
    EXPECT_EQ(7, count.v.lVal);
    CVar pc;
    ASSERT_EQ(WBEM_S_NO_ERROR, child->Get(L"__PROPERTY_COUNT", 0, &pc, nullptr, nullptr));
    EXPECT_EQ(5, pc.v.lVal);
    CVar der;
    ASSERT_EQ(WBEM_S_NO_ERROR, child->Get(L"__DERIVATION", 0, &der, nullptr, nullptr));
    ASSERT_EQ(VT_ARRAY | VT_BSTR, der.v.vt);

    CComPtrT<IWbemQualifierSet> qs;
    ASSERT_EQ(WBEM_S_NO_ERROR, child->GetQualifierSet(&qs));
    CVar ver;
    LONG lFlavor = 0;
    ASSERT_EQ(WBEM_S_NO_ERROR, qs->Get(L"Version", 0, &ver, &lFlavor));
    EXPECT_EQ(L"2.0.0", ver.Str()); // its own, overriding the base's
    EXPECT_EQ(0, lFlavor & WBEM_FLAVOR_ORIGIN_PROPAGATED);
    CVar desc;
    ASSERT_EQ(WBEM_S_NO_ERROR, qs->Get(L"Description", 0, &desc, &lFlavor)); // MOF default flavor: ToSubclass
    EXPECT_EQ(WBEM_FLAVOR_ORIGIN_PROPAGATED, lFlavor & WBEM_FLAVOR_ORIGIN_PROPAGATED);

    BSTR origin = nullptr;
    ASSERT_EQ(WBEM_S_NO_ERROR, child->GetPropertyOrigin(L"Count", &origin));
    EXPECT_STREQ(L"EmuBase", origin);
    SysFreeString(origin);
    EXPECT_EQ(WBEM_S_NO_ERROR, child->InheritsFrom(L"EmuBase"));
    EXPECT_EQ(WBEM_S_FALSE, child->InheritsFrom(L"EmuChild"));
}

TEST_F(EmuTest, PutClassHonoursUpdateOnlyAndCreateOnly)
{
    CompileOk(BASE_AND_CHILD);
    auto& svc = Ns();
    CComPtrT<IWbemClassObject> base, derived;
    ASSERT_EQ(WBEM_S_NO_ERROR, GetObj(svc.Get(), L"EmuBase", base));
    EXPECT_EQ(WBEM_E_ALREADY_EXISTS, svc->PutClass(base.Get(), WBEM_FLAG_CREATE_ONLY, nullptr, nullptr));
    EXPECT_EQ(WBEM_S_NO_ERROR, svc->PutClass(base.Get(), WBEM_FLAG_UPDATE_ONLY, nullptr, nullptr));
    ASSERT_EQ(WBEM_S_NO_ERROR, base->SpawnDerivedClass(0, &derived));
    CVar name(L"NotYetThere");
    ASSERT_EQ(WBEM_S_NO_ERROR, derived->Put(L"__CLASS", 0, &name, 0));
    EXPECT_EQ(WBEM_E_NOT_FOUND, svc->PutClass(derived.Get(), WBEM_FLAG_UPDATE_ONLY, nullptr, nullptr));
    EXPECT_EQ(WBEM_S_NO_ERROR, svc->PutClass(derived.Get(), WBEM_FLAG_CREATE_ONLY, nullptr, nullptr));
    CComPtrT<IWbemClassObject> back;
    ASSERT_EQ(WBEM_S_NO_ERROR, GetObj(svc.Get(), L"NotYetThere", back));
    EXPECT_EQ(L"EmuBase", GetStr(back.Get(), L"__SUPERCLASS"));
}

TEST_F(EmuTest, DeleteClassTakesSubclassesAndTheirInstancesAlong)
{
    CompileOk(std::string(BASE_AND_CHILD) + R"(
class EmuGrandChild : EmuChild { };
instance of EmuBase { Name = "b"; };
instance of EmuGrandChild { Name = "g"; };
class EmuOther { [key] uint32 Id; };
instance of EmuOther { Id = 1; };
)");
    auto& svc = Ns();
    CBstr child(L"EmuChild");
    ASSERT_EQ(WBEM_S_NO_ERROR, svc->DeleteClass(child, 0, nullptr, nullptr));
    CComPtrT<IWbemClassObject> obj;
    EXPECT_EQ(WBEM_E_NOT_FOUND, GetObj(svc.Get(), L"EmuChild", obj));
    EXPECT_EQ(WBEM_E_NOT_FOUND, GetObj(svc.Get(), L"EmuGrandChild", obj));
    EXPECT_EQ(WBEM_E_NOT_FOUND, GetObj(svc.Get(), L"EmuBase.Name=\"g\"", obj));
    EXPECT_EQ(WBEM_S_NO_ERROR, GetObj(svc.Get(), L"EmuBase.Name=\"b\"", obj));
    EXPECT_EQ(WBEM_S_NO_ERROR, GetObj(svc.Get(), L"EmuOther.Id=1", obj));
    EXPECT_EQ(WBEM_E_NOT_FOUND, svc->DeleteClass(child, 0, nullptr, nullptr));
    EXPECT_EQ(std::wstring::npos, Dump().find(L"EmuGrandChild"));
}

TEST_F(EmuTest, MissingClassesAndBadPathsGiveWmisCodes)
{
    auto& svc = Ns();
    CComPtrT<IWbemClassObject> obj;
    EXPECT_EQ(WBEM_E_NOT_FOUND, GetObj(svc.Get(), L"NoSuchClass", obj));
    EXPECT_EQ(WBEM_E_INVALID_CLASS, GetObj(svc.Get(), L"NoSuchClass.Name=\"x\"", obj));
    EXPECT_EQ(WBEM_E_INVALID_OBJECT_PATH, GetObj(svc.Get(), L"Bad.Name=\"unterminated", obj));
    CComPtrT<IEnumWbemClassObject> en;
    CBstr cls(L"NoSuchClass");
    EXPECT_EQ(WBEM_E_INVALID_CLASS, svc->CreateInstanceEnum(cls, 0, nullptr, &en));
    EXPECT_EQ(WBEM_E_NOT_FOUND, svc->DeleteClass(cls, 0, nullptr, nullptr));
}

TEST_F(EmuTest, PutClassRefusesReservedAndMalformedNames)
{
    auto& svc = Ns();
    for (const wchar_t* name : {L"__Mine", L"Trailing_", L"9Lives", L"Has Space"})
    {
        CComPtrT<IWbemClassObject> cls;
        ASSERT_EQ(WBEM_S_NO_ERROR, GetObj(svc.Get(), L"", cls));
        CVar v(name);
        ASSERT_EQ(WBEM_S_NO_ERROR, cls->Put(L"__CLASS", 0, &v, 0));
        EXPECT_EQ(WBEM_E_INVALID_PARAMETER, svc->PutClass(cls.Get(), 0, nullptr, nullptr));
    }
    CBstr sys(L"__NAMESPACE");
    EXPECT_EQ(WBEM_E_ACCESS_DENIED, svc->DeleteClass(sys, 0, nullptr, nullptr));
}

TEST_F(EmuTest, PropertyEnumerationFollowsTheOriginFlags)
{
    CompileOk(BASE_AND_CHILD);
    CComPtrT<IWbemClassObject> child;
    ASSERT_EQ(WBEM_S_NO_ERROR, GetObj(Ns().Get(), L"EmuChild", child));
    auto names = [&](LONG lFlags) {
        std::vector<std::wstring> r;
        EXPECT_EQ(WBEM_S_NO_ERROR, child->BeginEnumeration(lFlags));
        BSTR name = nullptr;
        HRESULT hr;
        while ((hr = child->Next(0, &name, nullptr, nullptr, nullptr)) == WBEM_S_NO_ERROR)
        {
            r.push_back(name);
            SysFreeString(name);
        }
        EXPECT_EQ(WBEM_S_NO_MORE_DATA, hr);
        child->EndEnumeration();
        return r;
    };
    EXPECT_EQ((std::vector<std::wstring>{L"Name", L"Count", L"Tags", L"Flag", L"Other"}),
              names(WBEM_FLAG_NONSYSTEM_ONLY));
    EXPECT_EQ((std::vector<std::wstring>{L"Flag", L"Other"}), names(WBEM_FLAG_LOCAL_ONLY));
    EXPECT_EQ((std::vector<std::wstring>{L"Name", L"Count", L"Tags"}), names(WBEM_FLAG_PROPAGATED_ONLY));
    EXPECT_EQ(10u, names(WBEM_FLAG_SYSTEM_ONLY).size());
    EXPECT_EQ(15u, names(0).size());
    EXPECT_EQ((std::vector<std::wstring>{L"Name"}), names(WBEM_FLAG_KEYS_ONLY | WBEM_FLAG_NONSYSTEM_ONLY));
    EXPECT_EQ((std::vector<std::wstring>{L"Other"}), names(WBEM_FLAG_REFS_ONLY));
    EXPECT_EQ(WBEM_E_INVALID_PARAMETER, child->BeginEnumeration(0x50));
}

TEST_F(EmuTest, PutChecksTypesAndKnownProperties)
{
    CompileOk(BASE_AND_CHILD);
    CComPtrT<IWbemClassObject> cls, inst;
    ASSERT_EQ(WBEM_S_NO_ERROR, GetObj(Ns().Get(), L"EmuBase", cls));
    ASSERT_EQ(WBEM_S_NO_ERROR, cls->SpawnInstance(0, &inst));
    CVar n(5L), s(L"x");
    EXPECT_EQ(WBEM_E_TYPE_MISMATCH, inst->Put(L"Name", 0, &n, 0));
    EXPECT_EQ(WBEM_S_NO_ERROR, inst->Put(L"Name", 0, &s, 0));
    EXPECT_EQ(WBEM_E_NOT_FOUND, inst->Put(L"Unknown", 0, &s, 0));
    EXPECT_EQ(WBEM_E_READ_ONLY, inst->Put(L"__PATH", 0, &s, 0));
    EXPECT_EQ(WBEM_E_NOT_FOUND, inst->Get(L"Unknown", 0, nullptr, nullptr, nullptr));
    EXPECT_EQ(L"EmuBase.Name=\"x\"", GetStr(inst.Get(), L"__RELPATH"));
    EXPECT_EQ(L"<null>", GetStr(inst.Get(), L"__PATH")); // not stored yet
}

// "WBEM_CHANGE_FLAG_TYPE enumeration" and "pragma classflags": what each update mode allows.
TEST_F(EmuTest, ClassUpdateModesFollowInstancesAndSubclasses)
{
    const std::string ONE = "class U { [key] string K; string A; }; instance of U { K = \"1\"; };";
    const std::string KIDS = "class U { [key] string K; string A; }; [Q(1)] class UKid : U { };";
    enum Change
    {
        AddProperty,
        Describe,
        AddQ,
        MakeKey
    };
    struct Row
    {
        std::string mof;
        Change change;
        long lFlags;
        unsigned long hr;
        const wchar_t* wszStillThere; // "" when the path must be gone
        const wchar_t* wszPath;
    } rows[] = {
        {ONE, AddProperty, 0, WBEM_E_CLASS_HAS_INSTANCES, L"y", L"U.K=\"1\""},
        {ONE, AddProperty, WBEM_FLAG_UPDATE_SAFE_MODE, WBEM_E_CLASS_HAS_INSTANCES, L"y", L"U.K=\"1\""},
        {ONE, AddProperty, WBEM_FLAG_UPDATE_FORCE_MODE, WBEM_S_NO_ERROR, L"", L"U.K=\"1\""},
        {ONE, MakeKey, 0, WBEM_E_CLASS_HAS_INSTANCES, L"y", L"U.K=\"1\""},
        {ONE, Describe, 0, WBEM_S_NO_ERROR, L"y", L"U.K=\"1\""}, // non-important qualifier
        {KIDS, AddProperty, 0, WBEM_E_CLASS_HAS_CHILDREN, L"y", L"UKid"},
        {KIDS, AddProperty, WBEM_FLAG_UPDATE_SAFE_MODE, WBEM_S_NO_ERROR, L"y", L"UKid"},
        {KIDS, AddQ, 0, WBEM_E_CLASS_HAS_CHILDREN, L"y", L"UKid"},
        {KIDS, AddQ, WBEM_FLAG_UPDATE_SAFE_MODE, WBEM_E_CLASS_HAS_CHILDREN, L"y", L"UKid"},
        {KIDS, AddQ, WBEM_FLAG_UPDATE_FORCE_MODE, WBEM_S_NO_ERROR, L"y", L"UKid"},
        {KIDS + "instance of UKid { K = \"2\"; };", AddQ, WBEM_FLAG_UPDATE_FORCE_MODE,
         WBEM_E_CLASS_HAS_INSTANCES, L"y", L"U.K=\"2\""},
    };
    for (const Row& row : rows)
    {
        SCOPED_TRACE(row.mof + " change " + std::to_string(row.change) + " flags " +
                     std::to_string(row.lFlags));
        DeleteFileW((m_dir + L"repository.txt").c_str());
        CompileOk(row.mof);
        auto& svc = Ns();
        CComPtrT<IWbemClassObject> cls, obj;
        ASSERT_EQ(WBEM_S_NO_ERROR, GetObj(svc.Get(), L"U", cls));
        CComPtrT<IWbemQualifierSet> qs;
        CVar none, text(L"changed"), t = CVar::Bool(true);
        none.v.vt = VT_NULL;
        if (row.change == AddProperty)
            ASSERT_EQ(WBEM_S_NO_ERROR, cls->Put(L"Extra", 0, &none, CIM_STRING));
        else if (row.change == MakeKey)
            ASSERT_EQ(WBEM_S_NO_ERROR, cls->GetPropertyQualifierSet(L"A", &qs));
        else
            ASSERT_EQ(WBEM_S_NO_ERROR, cls->GetQualifierSet(&qs));
        if (row.change != AddProperty)
        {
            ASSERT_EQ(WBEM_S_NO_ERROR,
                      qs->Put(row.change == MakeKey ? L"key"
                              : row.change == AddQ  ? L"Q"
                                                    : L"Description",
                              row.change == Describe ? &text : &t,
                              row.change == AddQ
                                  ? WBEM_FLAVOR_NOT_OVERRIDABLE | WBEM_FLAVOR_FLAG_PROPAGATE_TO_DERIVED_CLASS
                                  : 0));
        }
        const std::wstring strBefore = Dump();
        EXPECT_EQ(row.hr, (unsigned long)svc->PutClass(cls.Get(), row.lFlags, nullptr, nullptr));
        EXPECT_EQ(*row.wszStillThere ? WBEM_S_NO_ERROR : WBEM_E_NOT_FOUND,
                  GetObj(svc.Get(), row.wszPath, obj));
        const std::wstring strAfter = Dump();
        EXPECT_EQ(SUCCEEDED((HRESULT)row.hr), strAfter != strBefore);
        // Force mode resolves the conflict by deleting the subclass's own qualifier.
        if (row.mof.find("UKid") != std::string::npos)
        {
            EXPECT_EQ(row.change == AddQ && SUCCEEDED((HRESULT)row.hr),
                      strAfter.find(L"UKid : U\n  qualifier Q") == std::wstring::npos);
        }
    }
}
