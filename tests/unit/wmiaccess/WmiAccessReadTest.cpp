// Connection, queries and reads of CCWMIAccess against a WMI that is only read.
#include "WmiAccessTestSupport.h"

namespace
{
const HRESULT kNotAvailable = static_cast<HRESULT>(0x80041009);
const HRESULT kNotFound = static_cast<HRESULT>(0x80041002);
} // namespace

// The same namespace again, in any case, keeps the first connection; another one replaces it;
// a missing one leaves the object unconnected.
TEST_F(ReadOnlyAccessTest, SecondConnectKeepsOnlyTheSameNamespace)
{
    CCWMIAccess oAccess;
    ASSERT_EQ(S_OK, oAccess.ConnectToNamespace("root\\cimv2"));
    IWbemServices* pFirst = oAccess;
    ASSERT_NE(nullptr, pFirst);
    EXPECT_EQ(0x40001, oAccess.ConnectToNamespace("root\\cimv2"));
    EXPECT_EQ(0x40001, oAccess.ConnectToNamespace("ROOT\\CIMV2"));
    EXPECT_EQ(pFirst, static_cast<IWbemServices*>(oAccess));
    EXPECT_TRUE(oAccess.AlreadyConnectedToNamespace("Root\\CimV2"));
    EXPECT_FALSE(oAccess.AlreadyConnectedToNamespace("root\\cimv"));
    // Only the first call went as far as the proxy blanket.
    EXPECT_EQ(1u, Records("SetProxyBlanket", "Enter").size());
    ASSERT_EQ(S_OK, oAccess.ConnectToNamespace("root\\default"));
    EXPECT_FALSE(oAccess.AlreadyConnectedToNamespace("root\\cimv2"));
    EXPECT_STREQ("root\\default", oAccess.Namespace());

    EXPECT_EQ(static_cast<HRESULT>(0x8004100E), oAccess.ConnectToNamespace("root\\NoSuchNamespaceHere"));
    EXPECT_EQ(nullptr, static_cast<IWbemServices*>(oAccess));
    EXPECT_STREQ("", oAccess.Namespace());
    EXPECT_FALSE(oAccess.AlreadyConnectedToNamespace("root\\default"));
    const auto records = Records("ConnectToNamespace", "Exception");
    ASSERT_EQ(1u, records.size());
    EXPECT_EQ("Error", records[0].strLevel);
    EXPECT_EQ("Throwing exception because ConnectServer (native) failed", records[0].strText);
    EXPECT_EQ("hr 0x8004100E", records[0].strMessage);
    const auto leave = Records("ConnectToNamespace", "Leave");
    ASSERT_EQ(5u, leave.size());
    EXPECT_EQ("hRet 0x8004100E", leave[4].strMessage);
    // The failed connection went no further than ConnectServer.
    EXPECT_EQ(2u, Records("SetProxyBlanket", "Enter").size());
}

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

// A missing class or qualifier passes WMI's code; what was fetched before stays current.
TEST_F(ReadOnlyAccessTest, MissingObjectAndQualifierPassTheWmiCode)
{
    CCWMIAccess oAccess;
    ASSERT_EQ(S_OK, oAccess.ConnectToNamespace(kReadNamespace));
    EXPECT_EQ(kNotFound, oAccess.GetObject("NoSuchClass_Tarvos"));
    IWbemClassObject* pObject = nullptr;
    EXPECT_EQ(kNotAvailable, oAccess.ReturnInstanceObject(&pObject));

    ASSERT_EQ(S_OK, oAccess.GetObject(kReadClass));
    CTestVariant v;
    EXPECT_EQ(kNotFound, oAccess.GetQualifier("NoSuchQualifier_Tarvos", &v));
    EXPECT_EQ(kNotFound, oAccess.GetClassQualifier("NoSuchClass_Tarvos", "version", &v));
    EXPECT_TRUE(Records("GetClassQualifier", "Internal").empty());
    ASSERT_EQ(S_OK, oAccess.ReturnInstanceObject(&pObject));
    ASSERT_NE(nullptr, pObject);
    pObject->Release();
}
