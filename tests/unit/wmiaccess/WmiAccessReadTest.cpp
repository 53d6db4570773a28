// Queries, enumeration, properties and qualifiers of CCWMIAccess against a WMI that is only read.
#include "WmiAccessTestSupport.h"

#include <set>

namespace
{
const HRESULT kNotAvailable = static_cast<HRESULT>(0x80041009);
const HRESULT kUnexpected = static_cast<HRESULT>(0x8004101D);

// The keys of all results from the current one to the end; the end must be 0x80041009.
std::vector<std::string> KeysToEnd(CCWMIAccess& oAccess, const char* szKey)
{
    std::vector<std::string> keys;
    for (int n = 0; n < 10000; ++n)
    {
        CTestVariant v;
        EXPECT_EQ(S_OK, oAccess.GetProperty(szKey, &v));
        keys.push_back(v.Str());
        const HRESULT hr = oAccess.GetNextWMIInstanceInEnumerator();
        if (hr == kNotAvailable)
            break;
        EXPECT_EQ(S_OK, hr);
        if (hr != S_OK)
            break;
    }
    return keys;
}
} // namespace

TEST_F(ReadOnlyAccessTest, QueryWithoutResultsEndsAtOnce)
{
    CCWMIAccess oAccess;
    ASSERT_EQ(S_OK, oAccess.ConnectToNamespace(kReadNamespace));
    const std::string strQuery =
        std::string("SELECT * FROM ") + kReadClass + " WHERE " + kReadKey + " = 'NoSuchKey_42'";
    EXPECT_EQ(kNotAvailable, oAccess.ExecuteQuery(strQuery.c_str()));
    IWbemClassObject* pInstance = reinterpret_cast<IWbemClassObject*>(1);
    EXPECT_EQ(kNotAvailable, oAccess.ReturnInstanceObject(&pInstance));
    EXPECT_EQ(nullptr, pInstance);
    EXPECT_EQ(1u, Records("GetNextWMIInstanceInEnumerator", "Internal",
                          "No data available or end of enumeration reached.")
                      .size());
    // Another step stays at the end.
    EXPECT_EQ(kNotAvailable, oAccess.GetNextWMIInstanceInEnumerator());
}

TEST_F(ReadOnlyAccessTest, EnumerationEndsWithoutACurrentInstance)
{
    CCWMIAccess oAccess;
    ASSERT_EQ(S_OK, oAccess.ConnectToNamespace(kReadNamespace));
    for (const bool bQuery : {false, true})
    {
        SCOPED_TRACE(bQuery ? "ExecuteQuery" : "GetClassInstances");
        const std::string strQuery = std::string("SELECT * FROM ") + kReadClass;
        ASSERT_EQ(S_OK,
                  bQuery ? oAccess.ExecuteQuery(strQuery.c_str()) : oAccess.GetClassInstances(kReadClass));
        const std::vector<std::string> keys = KeysToEnd(oAccess, kReadKey);
        ASSERT_GE(keys.size(), 2u);
        EXPECT_EQ(keys.size(), std::set<std::string>(keys.begin(), keys.end()).size()) << "each one once";
        // At the end there is no current instance.
        IWbemClassObject* pInstance = nullptr;
        EXPECT_EQ(kNotAvailable, oAccess.ReturnInstanceObject(&pInstance));
        CTestVariant v;
        EXPECT_TRUE(FAILED(oAccess.GetProperty(kReadKey, &v)));
    }
}

TEST_F(ReadOnlyAccessTest, OperationsWithoutTheirMemberFail)
{
    CCWMIAccess oAccess;
    EXPECT_EQ(kUnexpected, oAccess.GetNextWMIInstanceInEnumerator());
    EXPECT_EQ(
        1u,
        Records("GetNextWMIInstanceInEnumerator", "Internal", "Enumeration pointer member invalid.").size());
    EXPECT_EQ(static_cast<HRESULT>(0x80041014), oAccess.ExecuteQuery("SELECT * FROM __NAMESPACE"));
    EXPECT_EQ(static_cast<HRESULT>(0x80041014), oAccess.GetObject(kReadClass));
    EXPECT_EQ(1u, Records("GetObjectA", "Internal", "Namespace pointer member invalid.").size());
    EXPECT_EQ(static_cast<HRESULT>(0x80041008), oAccess.ReturnInstanceObject(nullptr));
    CTestVariant v;
    EXPECT_EQ(kUnexpected, oAccess.GetQualifier("version", &v));
    EXPECT_TRUE(FAILED(oAccess.GetProperty(kReadKey, &v)));
    const auto thrown = Records("GetProperty", "Exception");
    ASSERT_EQ(1u, thrown.size());
    EXPECT_EQ("Throwing exception because class instance pointer invalid.", thrown[0].strText);
    EXPECT_EQ("Error", thrown[0].strLevel);
}

// A missing class, property or qualifier passes WMI's code; what was fetched before stays current.
TEST_F(ReadOnlyAccessTest, MissingObjectPropertyAndQualifierPassTheWmiCode)
{
    CCWMIAccess oAccess;
    ASSERT_EQ(S_OK, oAccess.ConnectToNamespace(kReadNamespace));
    EXPECT_EQ(static_cast<HRESULT>(0x80041002), oAccess.GetObject("NoSuchClass_Tarvos"));
    IWbemClassObject* pObject = nullptr;
    EXPECT_EQ(kNotAvailable, oAccess.ReturnInstanceObject(&pObject));

    ASSERT_EQ(S_OK, oAccess.GetClassInstances(kReadClass));
    CTestVariant v;
    EXPECT_EQ(static_cast<HRESULT>(0x80041002), oAccess.GetProperty("NoSuchProperty_Tarvos", &v));
    const auto thrown = Records("GetProperty", "Exception");
    ASSERT_EQ(1u, thrown.size());
    EXPECT_EQ("Throwing exception because Get (native) failed!", thrown[0].strText);
    EXPECT_EQ("hr 0x80041002", thrown[0].strMessage);
    EXPECT_EQ("hRet 0x80041002", Records("GetProperty", "Leave").back().strMessage);

    ASSERT_EQ(S_OK, oAccess.GetObject(kReadClass));
    EXPECT_EQ(static_cast<HRESULT>(0x80041002), oAccess.GetQualifier("NoSuchQualifier_Tarvos", &v));
    EXPECT_EQ(static_cast<HRESULT>(0x80041002),
              oAccess.GetClassQualifier("NoSuchClass_Tarvos", "version", &v));
    EXPECT_TRUE(Records("GetClassQualifier", "Internal").empty());
    ASSERT_EQ(S_OK, oAccess.ReturnInstanceObject(&pObject));
    ASSERT_NE(nullptr, pObject);
    pObject->Release();
}
