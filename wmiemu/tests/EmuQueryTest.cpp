// Queries: the WQL the product sends and a small WHERE subset.
#include "EmuTestUtil.h"

namespace
{
const char* const MOF = R"(
class QryItem { [key] string Name; uint32 Size; boolean On; };
class QrySub : QryItem { };
instance of QryItem { Name = "alpha"; Size = 5; On = true; };
instance of QryItem { Name = "beta"; Size = 50; On = false; };
instance of QrySub { Name = "gamma"; Size = 500; };
class ABC { };
)";
}

class EmuQueryTest : public EmuTest
{
protected:
    std::vector<std::wstring> Query(const wchar_t* wql, HRESULT* phr = nullptr, const wchar_t* prop = L"Name")
    {
        CComPtrT<IEnumWbemClassObject> en;
        CBstr lang(L"WQL"), q(wql);
        HRESULT hr =
            Ns()->ExecQuery(lang, q, WBEM_FLAG_FORWARD_ONLY | WBEM_FLAG_RETURN_IMMEDIATELY, nullptr, &en);
        if (phr)
            *phr = hr;
        else
            EXPECT_EQ(WBEM_S_NO_ERROR, hr);
        return SUCCEEDED(hr) ? EnumNames(en.Get(), prop) : std::vector<std::wstring>();
    }
};

TEST_F(EmuQueryTest, SelectAllFromClassIsDeep)
{
    CompileOk(MOF);
    EXPECT_EQ((std::vector<std::wstring>{L"alpha", L"beta", L"gamma"}), Query(L"SELECT * FROM QryItem"));
    EXPECT_EQ((std::vector<std::wstring>{L"gamma"}), Query(L"select * from qrysub"));
}

TEST_F(EmuQueryTest, MetaClassQueryFiltersClassNames)
{
    CompileOk(MOF);
    EXPECT_EQ((std::vector<std::wstring>{L"QryItem", L"QrySub"}),
              Query(L"SELECT * FROM meta_class WHERE __CLASS > \"Qry\" AND __CLASS < \"Qrz\"", nullptr,
                    L"__CLASS"));
    // "WQL Operators": string comparison ignores case, so "ABC" sorts after "__zzz" as "abc" does.
    auto nonSystem =
        Query(L"SELECT * FROM meta_class WHERE __CLASS > \"__zzzzzzzzzzz\"", nullptr, L"__CLASS");
    EXPECT_EQ((std::vector<std::wstring>{L"QryItem", L"QrySub", L"ABC"}), nonSystem);
    EXPECT_EQ((std::vector<std::wstring>{L"QrySub"}),
              Query(L"SELECT * FROM meta_class WHERE __SUPERCLASS = 'QryItem'", nullptr, L"__CLASS"));
}

TEST_F(EmuQueryTest, WhereComparesLikesAndCombines)
{
    CompileOk(MOF);
    EXPECT_EQ((std::vector<std::wstring>{L"beta", L"gamma"}),
              Query(L"SELECT Name FROM QryItem WHERE Size >= 50"));
    EXPECT_EQ((std::vector<std::wstring>{L"alpha"}), Query(L"SELECT * FROM QryItem WHERE On = TRUE"));
    EXPECT_EQ((std::vector<std::wstring>{L"gamma"}), Query(L"SELECT * FROM QryItem WHERE On IS NULL"));
    EXPECT_EQ((std::vector<std::wstring>{L"alpha", L"gamma"}),
              Query(L"SELECT * FROM QryItem WHERE Name LIKE '%a' AND NOT (Name = 'beta' OR Size = 50)"));
    EXPECT_EQ((std::vector<std::wstring>{L"beta"}), Query(L"SELECT * FROM QryItem WHERE name = \"BETA\""));
    EXPECT_EQ((std::vector<std::wstring>{L"gamma"}),
              Query(L"SELECT * FROM QryItem WHERE __CLASS = 'QrySub'"));
}

TEST_F(EmuQueryTest, BadQueriesGiveWmisCodes)
{
    CompileOk(MOF);
    const std::wstring deep = L"SELECT * FROM QryItem WHERE " + std::wstring(20000, L'(') + L"Size = 5";
    for (auto& [query, hrExpected] :
         std::vector<std::pair<std::wstring, HRESULT>>{{L"SELECT * FROM", WBEM_E_INVALID_QUERY},
                                                       {L"SELECT * FROM QryItem WHERE", WBEM_E_INVALID_QUERY},
                                                       {deep, WBEM_E_INVALID_QUERY},
                                                       {L"SELECT * FROM NoSuchClass", WBEM_E_INVALID_CLASS}})
    {
        HRESULT hr = 0;
        Query(query.c_str(), &hr);
        EXPECT_EQ(hrExpected, hr) << query.substr(0, 40);
    }
    CComPtrT<IEnumWbemClassObject> en;
    CBstr lang(L"SQL"), q(L"SELECT * FROM QryItem");
    EXPECT_EQ(WBEM_E_INVALID_QUERY_TYPE, Ns()->ExecQuery(lang, q, 0, nullptr, &en));
}
