// Connection of CCWMIAccess against a WMI that is only read.
#include "WmiAccessTestSupport.h"

// The same namespace again, in any case, keeps the first connection; another one replaces it.
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
}

TEST_F(ReadOnlyAccessTest, MissingNamespaceLeavesTheObjectUnconnected)
{
    CCWMIAccess oAccess;
    ASSERT_EQ(S_OK, oAccess.ConnectToNamespace("root\\cimv2"));
    EXPECT_EQ(static_cast<HRESULT>(0x8004100E), oAccess.ConnectToNamespace("root\\NoSuchNamespaceHere"));
    EXPECT_EQ(nullptr, static_cast<IWbemServices*>(oAccess));
    EXPECT_STREQ("", oAccess.Namespace());
    EXPECT_FALSE(oAccess.AlreadyConnectedToNamespace("root\\cimv2"));
    const auto records = Records("ConnectToNamespace", "Exception");
    ASSERT_EQ(1u, records.size());
    EXPECT_EQ("Error", records[0].strLevel);
    EXPECT_EQ("Throwing exception because ConnectServer (native) failed", records[0].strText);
    EXPECT_EQ("hr 0x8004100E", records[0].strMessage);
    const auto leave = Records("ConnectToNamespace", "Leave");
    ASSERT_EQ(2u, leave.size());
    EXPECT_EQ("hRet 0x8004100E", leave[1].strMessage);
    // The failed connection went no further than ConnectServer.
    EXPECT_EQ(1u, Records("SetProxyBlanket", "Enter").size());
}
