// Qualifier sets: Get, Put, Delete, GetNames and enumeration on classes, properties and instances.
#include "EmuTestUtil.h"

namespace
{
const char* const MOF = R"(
[Version("1.0"), Abstract(false), Counts{1, 2, 3}]
class QBase { [key, MaxLen(64): DisableOverride] string Name; };
[Description("child")]
class QChild : QBase { };
)";
}

TEST_F(EmuTest, QualifierGetOfMissingQualifierIsNotFound)
{
    CompileOk(MOF);
    CComPtrT<IWbemClassObject> cls;
    ASSERT_EQ(WBEM_S_NO_ERROR, GetObj(Ns().Get(), L"QBase", cls));
    CComPtrT<IWbemQualifierSet> qs;
    ASSERT_EQ(WBEM_S_NO_ERROR, cls->GetQualifierSet(&qs));
    CVar v;
    EXPECT_EQ(WBEM_E_NOT_FOUND, qs->Get(L"NoSuchQualifier", 0, &v, nullptr));
    CVar counts;
    ASSERT_EQ(WBEM_S_NO_ERROR, qs->Get(L"Counts", 0, &counts, nullptr));
    EXPECT_EQ(VT_ARRAY | VT_I4, counts.v.vt);
    CVar ver;
    LONG lFlavor = -1;
    ASSERT_EQ(WBEM_S_NO_ERROR, qs->Get(L"version", 0, &ver, &lFlavor)); // names are case-insensitive
    EXPECT_EQ(L"1.0", ver.Str());
    EXPECT_EQ(WBEM_FLAVOR_FLAG_PROPAGATE_TO_DERIVED_CLASS, lFlavor);
}

TEST_F(EmuTest, PropertyQualifiersShowTheCimTypeAndKey)
{
    CompileOk(MOF);
    CComPtrT<IWbemClassObject> cls;
    ASSERT_EQ(WBEM_S_NO_ERROR, GetObj(Ns().Get(), L"QChild", cls));
    CComPtrT<IWbemQualifierSet> qs;
    ASSERT_EQ(WBEM_S_NO_ERROR, cls->GetPropertyQualifierSet(L"Name", &qs));
    CVar t, k;
    ASSERT_EQ(WBEM_S_NO_ERROR, qs->Get(L"CIMTYPE", 0, &t, nullptr));
    EXPECT_EQ(L"string", t.Str());
    ASSERT_EQ(WBEM_S_NO_ERROR, qs->Get(L"key", 0, &k, nullptr));
    EXPECT_EQ(VT_BOOL, k.v.vt);
    CVar other(L"128");
    EXPECT_EQ(WBEM_E_OVERRIDE_NOT_ALLOWED, qs->Put(L"MaxLen", &other, 0));
    EXPECT_EQ(WBEM_E_PROPAGATED_QUALIFIER, qs->Delete(L"key"));
    CComPtrT<IWbemQualifierSet> sys;
    EXPECT_EQ(WBEM_E_SYSTEM_PROPERTY, cls->GetPropertyQualifierSet(L"__CLASS", &sys));
    EXPECT_EQ(WBEM_E_NOT_FOUND, cls->GetPropertyQualifierSet(L"Nope", &sys));
}

TEST_F(EmuTest, QualifierPutDeleteAndNamesByOrigin)
{
    CompileOk(MOF);
    auto& svc = Ns();
    CComPtrT<IWbemClassObject> cls;
    ASSERT_EQ(WBEM_S_NO_ERROR, GetObj(svc.Get(), L"QChild", cls));
    CComPtrT<IWbemQualifierSet> qs;
    ASSERT_EQ(WBEM_S_NO_ERROR, cls->GetQualifierSet(&qs));
    CVar v(L"2.5");
    ASSERT_EQ(WBEM_S_NO_ERROR, qs->Put(L"Version", &v, WBEM_FLAVOR_FLAG_PROPAGATE_TO_DERIVED_CLASS));
    CVar bad;
    bad.v.vt = VT_UI8;
    EXPECT_EQ(WBEM_E_INVALID_QUALIFIER_TYPE, qs->Put(L"Odd", &bad, 0));
    EXPECT_EQ(WBEM_E_INVALID_PARAMETER, qs->Put(L"Odd", &v, 0x1000));

    SAFEARRAY* psa = nullptr;
    ASSERT_EQ(WBEM_S_NO_ERROR, qs->GetNames(WBEM_FLAG_LOCAL_ONLY, &psa));
    EXPECT_EQ((std::vector<std::wstring>{L"Version", L"Description"}), SafeArrayStrings(psa));
    ASSERT_EQ(WBEM_S_NO_ERROR, qs->GetNames(WBEM_FLAG_PROPAGATED_ONLY, &psa));
    EXPECT_EQ((std::vector<std::wstring>{L"Abstract", L"Counts"}), SafeArrayStrings(psa));

    ASSERT_EQ(WBEM_S_NO_ERROR, qs->Delete(L"Description"));
    EXPECT_EQ(WBEM_E_NOT_FOUND, qs->Delete(L"Description"));
    ASSERT_EQ(WBEM_S_NO_ERROR, svc->PutClass(cls.Get(), 0, nullptr, nullptr));

    CComPtrT<IWbemClassObject> back;
    ASSERT_EQ(WBEM_S_NO_ERROR, GetObj(svc.Get(), L"QChild", back));
    CComPtrT<IWbemQualifierSet> bq;
    ASSERT_EQ(WBEM_S_NO_ERROR, back->GetQualifierSet(&bq));
    ASSERT_EQ(WBEM_S_NO_ERROR, bq->BeginEnumeration(0));
    std::vector<std::wstring> seen;
    BSTR name = nullptr;
    HRESULT hr;
    while ((hr = bq->Next(0, &name, nullptr, nullptr)) == WBEM_S_NO_ERROR)
    {
        seen.push_back(name);
        SysFreeString(name);
    }
    EXPECT_EQ(WBEM_S_NO_MORE_DATA, hr);
    EXPECT_EQ((std::vector<std::wstring>{L"Version", L"Abstract", L"Counts"}), seen);
    CVar ver;
    ASSERT_EQ(WBEM_S_NO_ERROR, bq->Get(L"Version", 0, &ver, nullptr));
    EXPECT_EQ(L"2.5", ver.Str());
}

// "IWbemServices::PutClass method" / "PutInstance method": WBEM_FLAG_USE_AMENDED_QUALIFIERS stores no
// qualifier of the amended flavor; without it every qualifier is stored. Reads accept the flag.
TEST_F(EmuTest, AmendedQualifiersAreNotStoredWithTheAmendedFlag)
{
    CompileOk("class QAm { [key] string K; };");
    auto& svc = Ns();
    for (long lFlags : {0L, (long)WBEM_FLAG_USE_AMENDED_QUALIFIERS})
    {
        CComPtrT<IWbemClassObject> cls, inst, back;
        ASSERT_EQ(WBEM_S_NO_ERROR,
                  svc->GetObject(CBstr(L"QAm"), WBEM_FLAG_USE_AMENDED_QUALIFIERS, nullptr, &cls, nullptr));
        CComPtrT<IWbemQualifierSet> cq, iq, bq;
        CVar text(L"localized");
        ASSERT_EQ(WBEM_S_NO_ERROR, cls->GetQualifierSet(&cq));
        ASSERT_EQ(WBEM_S_NO_ERROR, cq->Put(L"Description", &text, WBEM_FLAVOR_AMENDED));
        ASSERT_EQ(WBEM_S_NO_ERROR, cq->Put(L"Plain", &text, 0));
        ASSERT_EQ(WBEM_S_NO_ERROR, svc->PutClass(cls.Get(), lFlags, nullptr, nullptr));
        ASSERT_EQ(WBEM_S_NO_ERROR, cls->SpawnInstance(0, &inst));
        CVar k(L"1");
        ASSERT_EQ(WBEM_S_NO_ERROR, inst->Put(L"K", 0, &k, 0));
        ASSERT_EQ(WBEM_S_NO_ERROR, inst->GetQualifierSet(&iq));
        ASSERT_EQ(WBEM_S_NO_ERROR, iq->Put(L"Note", &text, WBEM_FLAVOR_AMENDED));
        ASSERT_EQ(WBEM_S_NO_ERROR, svc->PutInstance(inst.Get(), lFlags, nullptr, nullptr));
        const std::wstring dump = Dump();
        const bool bStored = lFlags == 0;
        EXPECT_EQ(bStored, dump.find(L"qualifier Description") != std::wstring::npos) << lFlags;
        EXPECT_EQ(bStored, dump.find(L"qualifier Note") != std::wstring::npos) << lFlags;
        EXPECT_NE(std::wstring::npos, dump.find(L"qualifier Plain")) << lFlags;
        CComPtrT<IEnumWbemClassObject> en;
        ASSERT_EQ(WBEM_S_NO_ERROR,
                  svc->CreateInstanceEnum(CBstr(L"QAm"), WBEM_FLAG_USE_AMENDED_QUALIFIERS, nullptr, &en));
        EXPECT_EQ((std::vector<std::wstring>{L"QAm.K=\"1\""}), EnumNames(en.Get()));
        ASSERT_EQ(WBEM_S_NO_ERROR, svc->DeleteClass(CBstr(L"QAm"), 0, nullptr, nullptr));
        CompileOk("class QAm { [key] string K; };");
    }
}

// "Qualifier Flavors": "Qualifier Note : ToInstance Amended;" gives every later Note qualifier of the
// compile those flavors; flavors written at a use apply on top, uses before it keep the defaults.
TEST_F(EmuTest, QualifierFlavorDeclarationAppliesToLaterUses)
{
    CompileOk("class QFlBefore { [Note(\"0\")] string P; };\n"
              "Qualifier Note : ToInstance, Amended;\n"
              "class QFl { [Note(\"1\")] string P; [Note(\"2\") : DisableOverride] string R; [Other] string "
              "S; };\n");
    const struct
    {
        const wchar_t *wszClass, *wszProp, *wszQual;
        long lFlavor;
    } rows[] = {
        {L"QFlBefore", L"P", L"Note", WBEM_FLAVOR_FLAG_PROPAGATE_TO_DERIVED_CLASS},
        {L"QFl", L"P", L"Note",
         WBEM_FLAVOR_FLAG_PROPAGATE_TO_DERIVED_CLASS | WBEM_FLAVOR_FLAG_PROPAGATE_TO_INSTANCE |
             WBEM_FLAVOR_AMENDED},
        {L"QFl", L"R", L"Note",
         WBEM_FLAVOR_FLAG_PROPAGATE_TO_DERIVED_CLASS | WBEM_FLAVOR_FLAG_PROPAGATE_TO_INSTANCE |
             WBEM_FLAVOR_AMENDED | WBEM_FLAVOR_NOT_OVERRIDABLE},
        {L"QFl", L"S", L"Other", WBEM_FLAVOR_FLAG_PROPAGATE_TO_DERIVED_CLASS},
    };
    for (auto& row : rows)
    {
        CComPtrT<IWbemClassObject> cls;
        CComPtrT<IWbemQualifierSet> qs;
        ASSERT_EQ(WBEM_S_NO_ERROR, GetObj(Ns().Get(), row.wszClass, cls));
        ASSERT_EQ(WBEM_S_NO_ERROR, cls->GetPropertyQualifierSet(row.wszProp, &qs));
        CVar v;
        long lFlavor = -1;
        ASSERT_EQ(WBEM_S_NO_ERROR, qs->Get(row.wszQual, 0, &v, &lFlavor));
        EXPECT_EQ(row.lFlavor, lFlavor) << row.wszClass << L"." << row.wszProp;
    }
}
