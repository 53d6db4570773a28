// Failure paths of CCWMIAccess through the emulator's fault switches, and what reaches the
// emulator with each call (the call context).
#include "WmiAccessTestSupport.h"

#include <cstring>
#include <functional>

TEST_F(EmuAccessTest, FailingCallsPassTheirCodeWithOneRecord)
{
    const auto putVersion = [](CCWMIAccess& o) {
        CTestVariant v;
        return o.PutClassQualifier("Win32_Service", "version", Text(&v, L"9.9"), 0);
    };
    const struct
    {
        const char* szFault;
        std::function<HRESULT(CCWMIAccess&)> call;
        const char* szMethod;
        const char* szCategory;
        const char* szText;
        const char* szMessage;
    } cases[] = {
        {"ExecQuery 0x80041017", [](CCWMIAccess& o) { return o.ExecuteQuery("SELECT * FROM Win32_Service"); },
         "ExecuteQuery", "Internal", "Error calling ExecQuery (native)", "hr 0x80041017"},
        {"CreateInstanceEnum 0x80041017", [](CCWMIAccess& o) { return o.GetClassInstances("Win32_Service"); },
         "GetClassInstances", "Internal", "Error calling CreateInstanceEnum (native)", "hr 0x80041017"},
        {"Next 0x80041017", [](CCWMIAccess& o) { return o.GetClassInstances("Win32_Service"); },
         "GetNextWMIInstanceInEnumerator", "Internal", "Error calling Next (native)", "hr 0x80041017"},
        // PutClass would answer 0x80041003: the qualifier's own code shows it was not called.
        {"QualifierPut 0x80041017\r\nPutClass 0x80041003", putVersion, "PutClassQualifier", "Internal",
         "Error putting the upated class definition. ", "hr: 0x80041017"},
        {"GetQualifierSet 0x80041017", putVersion, "PutClassQualifier", "Internal",
         "Error putting the qualifier.", "hr: 0x80041017"},
    };
    const std::string strBefore = Repository();
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.szFault);
        DeleteFileA(m_world.Dir().File("faults.txt").c_str());
        Fault(c.szFault);
        const size_t nBefore = Records(c.szMethod, c.szCategory, c.szText).size();
        CCWMIAccess oAccess;
        ASSERT_EQ(S_OK, oAccess.ConnectToNamespace("root\\cimv2"));
        EXPECT_EQ(static_cast<HRESULT>(0x80041017), c.call(oAccess));
        const auto failures = Records(c.szMethod, c.szCategory, c.szText);
        ASSERT_EQ(nBefore + 1, failures.size());
        EXPECT_EQ(c.szMessage, failures.back().strMessage);
        // Nothing was written, and there is no current object or instance after a failed fetch.
        EXPECT_EQ(strBefore, Repository());
        if (strstr(c.szFault, "Qualifier") == nullptr)
        {
            IWbemClassObject* pInstance = nullptr;
            EXPECT_EQ(static_cast<HRESULT>(0x80041009), oAccess.ReturnInstanceObject(&pInstance));
        }
    }
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

TEST_F(EmuAccessTest, CallContextGoesWithEveryCallOfTheObjectThatHasOne)
{
    const std::string strLog = m_dir.File("context.log");
    SetEnvironmentVariableA("WMIEMU_CONTEXT_LOG", strLog.c_str());
    {
        CCWMIAccess oAccess("TarvosFeature", "1.02", "UnitTest");
        ASSERT_EQ(S_OK, oAccess.ConnectToNamespace(kReadNamespace));
        EXPECT_EQ(S_OK, oAccess.GetObject(kReadClass));
        EXPECT_EQ(S_OK, oAccess.GetClassInstances(kReadClass));
        EXPECT_EQ(S_OK, oAccess.ExecuteQuery("SELECT * FROM Win32_Service"));
        CCWMIAccess oWithout;
        ASSERT_EQ(S_OK, oWithout.ConnectToNamespace(kReadNamespace));
    }
    SetEnvironmentVariableA("WMIEMU_CONTEXT_LOG", nullptr);
    const std::string strValues = "\tFeatureName=TarvosFeature\tFeatureVersion=1.02\tContextName=UnitTest";
    const std::vector<unsigned char> log = testkit::ReadBytes(strLog);
    EXPECT_EQ("ConnectServer" + strValues + "\nGetObject" + strValues + "\nCreateInstanceEnum" + strValues +
                  "\nExecQuery" + strValues + "\nConnectServer\t<no context>\n",
              std::string(log.begin(), log.end()));

    // The constructor writes its own Enter and Leave around the context records, nothing else.
    std::vector<std::string> seen;
    for (const TraceRecord& record : testkit::TraceRecords(m_strTrace))
        if (record.strClass == "CCWMIAccess" &&
            (record.strMethod == "CCWMIAccess" || record.strMethod == "SetContext"))
            seen.push_back(record.strMethod + "|" + record.strCategory + "|" + record.strMessage);
    ASSERT_GE(seen.size(), 4u);
    EXPECT_EQ(
        (std::vector<std::string>{
            "CCWMIAccess|Enter|szFeatureName: TarvosFeature, szFeatureVersion: 1.02, szContextName: UnitTest",
            "SetContext|Enter|szFeatureName: TarvosFeature, szFeatureVersion: 1.02, szContextName: UnitTest",
            "SetContext|Leave|hRet 0x0", "CCWMIAccess|Leave|"}),
        std::vector<std::string>(seen.begin(), seen.begin() + 4));
}
