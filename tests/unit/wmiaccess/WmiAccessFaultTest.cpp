// Failure paths of CCWMIAccess against the emulator: its fault switches and a class that is not
// there.
#include "WmiAccessTestSupport.h"

#include <cstring>
#include <functional>

TEST_F(EmuAccessTest, FailingCallsPassTheirCodeWithOneRecord)
{
    const auto putVersion = [](const char* szClass) {
        return [szClass](CCWMIAccess& o) {
            CTestVariant v;
            v.v.vt = VT_BSTR;
            v.v.bstrVal = SysAllocString(L"9.9");
            return o.PutClassQualifier(szClass, "version", &v, 0);
        };
    };
    const struct
    {
        const char* szFault; // "" for none
        std::function<HRESULT(CCWMIAccess&)> call;
        DWORD dwHr;
        const char* szMethod; // of the one "Internal" record of the failure
        const char* szText;
        const char* szMessage;
    } cases[] = {
        {"ExecQuery 0x80041017", [](CCWMIAccess& o) { return o.ExecuteQuery("SELECT * FROM Win32_Service"); },
         0x80041017, "ExecuteQuery", "Error calling ExecQuery (native)", "hr 0x80041017"},
        {"CreateInstanceEnum 0x80041017", [](CCWMIAccess& o) { return o.GetClassInstances("Win32_Service"); },
         0x80041017, "GetClassInstances", "Error calling CreateInstanceEnum (native)", "hr 0x80041017"},
        {"Next 0x80041017", [](CCWMIAccess& o) { return o.GetClassInstances("Win32_Service"); }, 0x80041017,
         "GetNextWMIInstanceInEnumerator", "Error calling Next (native)", "hr 0x80041017"},
        // PutClass would answer 0x80041003: the qualifier's own code shows it was not called.
        {"QualifierPut 0x80041017\r\nPutClass 0x80041003", putVersion("Win32_Service"), 0x80041017,
         "PutClassQualifier", "Error putting the upated class definition. ", "hr: 0x80041017"},
        {"GetQualifierSet 0x80041017", putVersion("Win32_Service"), 0x80041017, "PutClassQualifier",
         "Error putting the qualifier.", "hr: 0x80041017"},
        {"", putVersion("Tv_Missing"), 0x80041002, "PutClassQualifier", "Error getting the class definition.",
         "hr: 0x80041002"},
    };
    const std::string strBefore = Repository();
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.szFault);
        DeleteFileA(m_world.Dir().File("faults.txt").c_str());
        if (*c.szFault != '\0')
            Fault(c.szFault);
        const size_t nBefore = Records(c.szMethod, "Internal", c.szText).size();
        CCWMIAccess oAccess;
        ASSERT_EQ(S_OK, oAccess.ConnectToNamespace("root\\cimv2"));
        EXPECT_EQ(static_cast<HRESULT>(c.dwHr), c.call(oAccess));
        const auto failures = Records(c.szMethod, "Internal", c.szText);
        ASSERT_EQ(nBefore + 1, failures.size());
        EXPECT_EQ(c.szMessage, failures.back().strMessage);
        // Nothing was written, and there is no current object or instance after a failed fetch.
        EXPECT_EQ(strBefore, Repository());
        if (strcmp(c.szMethod, "PutClassQualifier") != 0)
        {
            IWbemClassObject* pInstance = nullptr;
            EXPECT_EQ(static_cast<HRESULT>(0x80041009), oAccess.ReturnInstanceObject(&pInstance));
        }
    }
}
