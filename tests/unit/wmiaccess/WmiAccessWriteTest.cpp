// Qualifier writes of CCWMIAccess against the emulator's repository.
#include "WmiAccessTestSupport.h"

TEST_F(EmuAccessTest, QualifiersOfMissingClassOrPropertyFailAndWriteNothing)
{
    CCWMIAccess oAccess;
    ASSERT_EQ(S_OK, oAccess.ConnectToNamespace("root\\cimv2"));
    const std::string strBefore = Repository();
    CTestVariant v;
    EXPECT_EQ(static_cast<HRESULT>(0x80041002),
              oAccess.PutClassQualifier("Tv_Missing", "version", Text(&v, L"1")));
    EXPECT_EQ(1u, Records("PutClassQualifier", "Internal", "Error getting the class definition.").size());

    ASSERT_EQ(S_OK, oAccess.GetObject("Win32_Service"));
    const HRESULT hr = oAccess.SetQualifier("Description", Text(&v, L"x"), "NoSuchProperty");
    EXPECT_TRUE(FAILED(hr));
    const auto failures = Records("SetQualifier", "Internal");
    ASSERT_EQ(1u, failures.size());
    EXPECT_EQ("Error calling GetQualifierSet or GetPropertyQualifierSet (native)", failures[0].strText);
    char szExpected[32];
    sprintf(szExpected, "hr 0x%X", static_cast<unsigned>(hr));
    EXPECT_EQ(szExpected, failures[0].strMessage);
    // A property that exists takes the qualifier in memory.
    EXPECT_EQ(S_OK, oAccess.SetQualifier("Description", Text(&v, L"x"), "State"));
    CTestVariant vRead;
    EXPECT_EQ(S_OK, oAccess.GetQualifier("Description", &vRead, "State"));
    EXPECT_EQ("x", vRead.Str());
    EXPECT_EQ(strBefore, Repository());
}
