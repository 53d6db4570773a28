// Failure paths of CCWMIAccess through the emulator's fault switches.
#include "WmiAccessTestSupport.h"

#include <cstring>

TEST_F(EmuAccessTest, AccessDeniedConnectLeavesTheObjectUnconnected)
{
    Fault("ConnectServer 0x80041003");
    CCWMIAccess oAccess;
    EXPECT_EQ(static_cast<HRESULT>(0x80041003), oAccess.ConnectToNamespace("root\\cimv2"));
    EXPECT_EQ(nullptr, static_cast<IWbemServices*>(oAccess));
    EXPECT_FALSE(oAccess.AlreadyConnectedToNamespace("root\\cimv2"));
    const auto thrown = Records("ConnectToNamespace", "Exception");
    ASSERT_EQ(1u, thrown.size());
    EXPECT_EQ("hr 0x80041003", thrown[0].strMessage);
    EXPECT_TRUE(Records("SetProxyBlanket", "Enter").empty());
}

TEST_F(EmuAccessTest, FailingQueryAndEnumerationPassTheirCode)
{
    Fault("ExecQuery 0x80041017");
    Fault("CreateInstanceEnum 0x80041003");
    CCWMIAccess oAccess;
    ASSERT_EQ(S_OK, oAccess.ConnectToNamespace("root\\cimv2"));
    EXPECT_EQ(static_cast<HRESULT>(0x80041017), oAccess.ExecuteQuery("SELECT * FROM Win32_Service"));
    EXPECT_EQ(1u, Records("ExecuteQuery", "Internal", "Error calling ExecQuery (native)").size());
    EXPECT_EQ(static_cast<HRESULT>(0x80041003), oAccess.GetClassInstances("Win32_Service"));
    EXPECT_EQ(1u,
              Records("GetClassInstances", "Internal", "Error calling CreateInstanceEnum (native)").size());
}

TEST_F(EmuAccessTest, FailingStepLeavesNoCurrentInstance)
{
    Fault("Next 0x80041003");
    CCWMIAccess oAccess;
    ASSERT_EQ(S_OK, oAccess.ConnectToNamespace("root\\cimv2"));
    EXPECT_EQ(static_cast<HRESULT>(0x80041003), oAccess.GetClassInstances("Win32_Service"));
    const auto failures =
        Records("GetNextWMIInstanceInEnumerator", "Internal", "Error calling Next (native)");
    ASSERT_EQ(1u, failures.size());
    EXPECT_EQ("hr 0x80041003", failures[0].strMessage);
    IWbemClassObject* pInstance = nullptr;
    EXPECT_EQ(static_cast<HRESULT>(0x80041009), oAccess.ReturnInstanceObject(&pInstance));
}

TEST_F(EmuAccessTest, StepThatTimesOutEndsTheEnumeration)
{
    CCWMIAccess oAccess;
    ASSERT_EQ(S_OK, oAccess.ConnectToNamespace("root\\cimv2"));
    ASSERT_EQ(S_OK, oAccess.GetClassInstances("Win32_Service"));
    Fault("Next delay=2500");
    oAccess.SetEnumTimeout(200);
    EXPECT_EQ(static_cast<HRESULT>(0x80041009), oAccess.GetNextWMIInstanceInEnumerator());
    IWbemClassObject* pInstance = nullptr;
    EXPECT_EQ(static_cast<HRESULT>(0x80041009), oAccess.ReturnInstanceObject(&pInstance));
}

TEST_F(EmuAccessTest, FailingPutInstanceIsReported)
{
    Fault("PutInstance 0x80041003");
    CCWMIAccess oAccess;
    ASSERT_EQ(S_OK, oAccess.ConnectToNamespace("root\\cimv2"));
    ASSERT_EQ(S_OK, oAccess.GetObject("Win32_Service.Name=\"Alpha\""));
    CTestVariant v;
    v.v.vt = VT_BSTR;
    v.v.bstrVal = SysAllocString(L"Stopped");
    EXPECT_EQ(static_cast<HRESULT>(0x80041003), oAccess.PutWMIInstanceProperty("State", &v));
    const auto failures = Records("PutInstance", "Internal", "Error calling PutInstance (native)");
    ASSERT_EQ(1u, failures.size());
    EXPECT_EQ("hr 0x80041003", failures[0].strMessage);
    EXPECT_EQ(std::string::npos, Repository().find("\"Stopped\"\r\n  value Name = \"Alpha\""));
}

TEST_F(EmuAccessTest, FailingQualifierPutSkipsPutClassAndIsRecordedLate)
{
    Fault("QualifierPut 0x8004100A");
    Fault("PutClass 0x80041003");
    CCWMIAccess oAccess;
    ASSERT_EQ(S_OK, oAccess.ConnectToNamespace("root\\cimv2"));
    const std::string strBefore = Repository();
    CTestVariant v;
    v.v.vt = VT_BSTR;
    v.v.bstrVal = SysAllocString(L"9.9");
    // PutClass would answer 0x80041003: the qualifier's own code shows it was not called.
    EXPECT_EQ(static_cast<HRESULT>(0x8004100A), oAccess.PutClassQualifier("Win32_Service", "version", &v, 0));
    const auto failures = Records("PutClassQualifier", "Internal");
    ASSERT_EQ(1u, failures.size());
    EXPECT_EQ("Error putting the upated class definition. ", failures[0].strText);
    EXPECT_EQ("hr: 0x8004100a", failures[0].strMessage);
    EXPECT_EQ(strBefore, Repository());
}

TEST_F(EmuAccessTest, FailingQualifierSetOfClassIsRecordedAsPutFailure)
{
    Fault("GetQualifierSet 0x80041003");
    CCWMIAccess oAccess;
    ASSERT_EQ(S_OK, oAccess.ConnectToNamespace("root\\cimv2"));
    CTestVariant v;
    v.v.vt = VT_BSTR;
    v.v.bstrVal = SysAllocString(L"9.9");
    EXPECT_EQ(static_cast<HRESULT>(0x80041003), oAccess.PutClassQualifier("Win32_Service", "version", &v, 0));
    const auto failures = Records("PutClassQualifier", "Internal");
    ASSERT_EQ(1u, failures.size());
    EXPECT_EQ("Error putting the qualifier.", failures[0].strText);
}

TEST_F(EmuAccessTest, FailingValueMapReadEmptiesTheEnumeratedValue)
{
    CCWMIAccess oAccess;
    ASSERT_EQ(S_OK, oAccess.ConnectToNamespace("root\\cimv2"));
    ASSERT_EQ(S_OK, oAccess.GetObject("Win32_Service.Name=\"Alpha\""));
    Fault("QualifierGet 0x80041003");
    ASSERT_EQ(S_OK, oAccess.BeginPropertyEnumeration());
    // System properties have no qualifiers: they keep their raw values and come first.
    char szName[128] = "__";
    CTestVariant v;
    HRESULT hr = S_OK;
    for (int n = 0; n < 100 && hr == S_OK && strncmp(szName, "__", 2) == 0; ++n)
    {
        v.Clear();
        hr = oAccess.GetNextProperty(szName, &v, sizeof(szName), true);
    }
    EXPECT_EQ(static_cast<HRESULT>(0x80041003), hr);
    EXPECT_EQ(VT_EMPTY, v.v.vt);
    const auto failures =
        Records("GetNextProperty", "Internal", "Error getting the mapped property. Return an empty variant!");
    ASSERT_EQ(1u, failures.size());
    EXPECT_EQ("hr 0x80041003", failures[0].strMessage);
}

TEST_F(EmuAccessTest, FailingClassFetchLeavesNoCurrentObject)
{
    Fault("GetObject 0x80041003 class=Win32_Service");
    CCWMIAccess oAccess;
    ASSERT_EQ(S_OK, oAccess.ConnectToNamespace("root\\cimv2"));
    EXPECT_EQ(static_cast<HRESULT>(0x80041003), oAccess.GetObject("Win32_Service"));
    IWbemClassObject* pInstance = nullptr;
    EXPECT_EQ(static_cast<HRESULT>(0x80041009), oAccess.ReturnInstanceObject(&pInstance));
    EXPECT_EQ(static_cast<HRESULT>(0x80041003), oAccess.NewInstance("Win32_Service"));
    EXPECT_EQ(1u, Records("NewInstance", "Internal", "Error calling SpawnInstance (native)").size());
}
