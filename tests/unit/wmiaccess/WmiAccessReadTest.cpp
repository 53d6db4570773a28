// Queries, enumeration, properties and qualifiers of CCWMIAccess against a WMI that is only read.
#include "WmiAccessTestSupport.h"

#include <cstdint>
#include <cstring>

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

TEST_F(ReadOnlyAccessTest, EnumerationEndsAndResetStartsOver)
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
        // At the end there is no current instance.
        IWbemClassObject* pInstance = nullptr;
        EXPECT_EQ(kNotAvailable, oAccess.ReturnInstanceObject(&pInstance));
        CTestVariant v;
        EXPECT_TRUE(FAILED(oAccess.GetProperty(kReadKey, &v)));

        ASSERT_EQ(S_OK, oAccess.ResetInstanceEnumerator());
        EXPECT_EQ(keys, KeysToEnd(oAccess, kReadKey));
        // A reset in the middle also goes back to the first.
        ASSERT_EQ(S_OK, oAccess.ResetInstanceEnumerator());
        ASSERT_EQ(S_OK, oAccess.GetNextWMIInstanceInEnumerator());
        EXPECT_EQ(keys[1], CurrentKey(oAccess, kReadKey));
        ASSERT_EQ(S_OK, oAccess.ResetInstanceEnumerator());
        EXPECT_EQ(keys[0], CurrentKey(oAccess, kReadKey));
    }
}

TEST_F(ReadOnlyAccessTest, OperationsWithoutTheirMemberFail)
{
    CCWMIAccess oAccess;
    EXPECT_EQ(kUnexpected, oAccess.GetNextWMIInstanceInEnumerator());
    EXPECT_EQ(
        1u,
        Records("GetNextWMIInstanceInEnumerator", "Internal", "Enumeration pointer member invalid.").size());
    EXPECT_EQ(kUnexpected, oAccess.ResetInstanceEnumerator());
    EXPECT_EQ(1u,
              Records("ResetInstanceEnumerator", "Internal", "enumerator pointer member invalid.").size());
    EXPECT_EQ(static_cast<HRESULT>(0x80041014), oAccess.ExecuteQuery("SELECT * FROM __NAMESPACE"));
    EXPECT_EQ(static_cast<HRESULT>(0x80041014), oAccess.GetObject(kReadClass));
    EXPECT_EQ(1u, Records("GetObjectA", "Internal", "Namespace pointer member invalid.").size());
    EXPECT_EQ(static_cast<HRESULT>(0x80041008), oAccess.ReturnInstanceObject(nullptr));
    CTestVariant v;
    EXPECT_EQ(kUnexpected, oAccess.GetQualifier("version", &v));
    EXPECT_EQ(kUnexpected, oAccess.BeginPropertyEnumeration());
    char szName[64];
    EXPECT_EQ(kUnexpected, oAccess.GetNextProperty(szName, &v, sizeof(szName)));
    EXPECT_TRUE(FAILED(oAccess.GetProperty(kReadKey, &v)));
    const auto thrown = Records("GetProperty", "Exception");
    ASSERT_EQ(1u, thrown.size());
    EXPECT_EQ("Throwing exception because class instance pointer invalid.", thrown[0].strText);
    EXPECT_EQ("Error", thrown[0].strLevel);
}

TEST_F(ReadOnlyAccessTest, MissingPropertyAndObjectPassTheWmiCode)
{
    CCWMIAccess oAccess;
    ASSERT_EQ(S_OK, oAccess.ConnectToNamespace(kReadNamespace));
    EXPECT_EQ(static_cast<HRESULT>(0x80041002), oAccess.GetObject("NoSuchClass_Tarvos"));
    IWbemClassObject* pInstance = nullptr;
    EXPECT_EQ(kNotAvailable, oAccess.ReturnInstanceObject(&pInstance));

    ASSERT_EQ(S_OK, oAccess.GetClassInstances(kReadClass));
    CTestVariant v;
    EXPECT_EQ(static_cast<HRESULT>(0x80041002), oAccess.GetProperty("NoSuchProperty_Tarvos", &v));
    const auto thrown = Records("GetProperty", "Exception");
    ASSERT_EQ(1u, thrown.size());
    EXPECT_EQ("Throwing exception because Get (native) failed!", thrown[0].strText);
    EXPECT_EQ("hr 0x80041002", thrown[0].strMessage);
    EXPECT_EQ("hRet 0x80041002", Records("GetProperty", "Leave").back().strMessage);
}

TEST_F(ReadOnlyAccessTest, PropertyNameBufferMustHoldTheNameAndItsEnd)
{
    CCWMIAccess oAccess;
    ASSERT_EQ(S_OK, oAccess.ConnectToNamespace(kReadNamespace));
    ASSERT_EQ(S_OK, oAccess.GetClassInstances(kReadClass));
    // All names with a large buffer; the end is 0x80041009.
    size_t nNames = 0, nSkip = SIZE_MAX;
    char szName[256];
    HRESULT hr = S_OK;
    ASSERT_EQ(S_OK, oAccess.BeginPropertyEnumeration());
    for (CTestVariant v; nNames < 1000 && (hr = oAccess.GetNextProperty(szName, &v, sizeof(szName))) == S_OK;
         ++nNames, v.Clear())
        nSkip = strcmp(szName, kReadKey) == 0 ? nNames : nSkip;
    EXPECT_EQ(kNotAvailable, hr);
    EXPECT_EQ(kNotAvailable, oAccess.GetNextProperty(nullptr, nullptr, 0));
    ASSERT_EQ(S_OK, oAccess.EndPropertyEnumeration());
    ASSERT_NE(SIZE_MAX, nSkip);

    // One short of the key's name and its end: nothing copied, an empty value; just enough: the name.
    const DWORD dwFits = static_cast<DWORD>(strlen(kReadKey)) + 1;
    for (const DWORD dwSize : {dwFits - 1, dwFits})
    {
        ASSERT_EQ(S_OK, oAccess.BeginPropertyEnumeration());
        CTestVariant v;
        for (size_t n = 0; n < nSkip; ++n, v.Clear())
            ASSERT_EQ(S_OK, oAccess.GetNextProperty(szName, &v, sizeof(szName)));
        memset(szName, 'x', sizeof(szName));
        hr = oAccess.GetNextProperty(szName, &v, dwSize);
        EXPECT_EQ(dwSize == dwFits ? S_OK : static_cast<HRESULT>(0x80041006), hr);
        EXPECT_EQ(dwSize == dwFits ? VT_BSTR : VT_EMPTY, v.v.vt);
        EXPECT_EQ(dwSize == dwFits ? std::string(kReadKey) : std::string(dwSize, 'x'),
                  std::string(szName, strnlen(szName, dwSize)));
        EXPECT_EQ('x', szName[dwSize]); // nothing written behind the buffer
        oAccess.EndPropertyEnumeration();
    }
    EXPECT_EQ(
        1u, Records("GetNextProperty", "Internal", "Supplied buffer to small, return emtpy variant!").size());
}

TEST_F(ReadOnlyAccessTest, MissingQualifierAndClassFailWithoutSideEffects)
{
    CCWMIAccess oAccess;
    ASSERT_EQ(S_OK, oAccess.ConnectToNamespace(kReadNamespace));
    ASSERT_EQ(S_OK, oAccess.GetObject(kReadClass));
    CTestVariant v;
    EXPECT_EQ(static_cast<HRESULT>(0x80041002), oAccess.GetQualifier("NoSuchQualifier_Tarvos", &v));
    EXPECT_EQ(static_cast<HRESULT>(0x80041002),
              oAccess.GetClassQualifier("NoSuchClass_Tarvos", "version", &v));
    EXPECT_TRUE(Records("GetClassQualifier", "Internal").empty());
    // The class fetched before is still the current object.
    IWbemClassObject* pObject = nullptr;
    ASSERT_EQ(S_OK, oAccess.ReturnInstanceObject(&pObject));
    ASSERT_NE(nullptr, pObject);
    pObject->Release();
}
