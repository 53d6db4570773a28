// Qualifier writes of CCWMIAccess against the emulator's repository.
#include "WmiAccessTestSupport.h"

TEST_F(EmuAccessTest, QualifierOfMissingClassFailsAndWritesNothing)
{
    CCWMIAccess oAccess;
    ASSERT_EQ(S_OK, oAccess.ConnectToNamespace("root\\cimv2"));
    const std::string strBefore = Repository();
    CTestVariant v;
    EXPECT_EQ(static_cast<HRESULT>(0x80041002),
              oAccess.PutClassQualifier("Tv_Missing", "version", Text(&v, L"1")));
    EXPECT_EQ(1u, Records("PutClassQualifier", "Internal", "Error getting the class definition.").size());
    EXPECT_EQ(strBefore, Repository());
}
