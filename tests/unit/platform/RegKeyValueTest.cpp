// CCRegKey: the multi-string reads and writes of the autorecover list against the registry of
// the test prefix (the value enumeration of /CM is proven end to end).
#include "PlatformTestSupport.h"
#include "RegKey.h"

TEST_F(RegKeyTest, MultiStringRoundTripsAndBufferChecks)
{
    CCRegKey key(m_strFull.c_str(), KEY_READ | KEY_WRITE);
    DWORD dwType = 0;
    std::string strRaw;
    // The list ends at the first empty string; the empty list is one NUL, too short to read back.
    const struct
    {
        const char* szName;
        std::string strList, strRaw;
        bool bReads;
    } cases[] = {
        {"List", std::string("first\0second\0\0third", 19), std::string("first\0second\0\0", 14), true},
        {"One", std::string("only\0", 5), std::string("only\0\0", 6), true},
        {"Empty", "", std::string("\0", 1), false}};
    for (const auto& c : cases)
    {
        ASSERT_TRUE(key.SetMultiString(c.szName, c.strList.c_str())) << key.LastError();
        ASSERT_TRUE(RawQuery(c.szName, &dwType, &strRaw));
        EXPECT_EQ(static_cast<DWORD>(REG_MULTI_SZ), dwType);
        EXPECT_EQ(c.strRaw, strRaw);
        char szBuffer[64];
        DWORD cbBuffer = sizeof(szBuffer);
        EXPECT_EQ(c.bReads, key.QueryMultiString(c.szName, szBuffer, cbBuffer)) << c.szName;
        EXPECT_EQ(c.bReads ? ERROR_SUCCESS : ERROR_INVALID_DATA, key.LastError());
        EXPECT_EQ(c.bReads ? c.strRaw : "", std::string(szBuffer, c.bReads ? cbBuffer : 0));
    }
    DWORD cbBuffer = 0;
    EXPECT_TRUE(key.QueryMultiString("List", nullptr, cbBuffer));
    EXPECT_EQ(14u, cbBuffer);
    // A buffer of one byte is refused before the registry is asked.
    char szBuffer[4] = "Z";
    cbBuffer = 1;
    EXPECT_FALSE(key.QueryMultiString("List", szBuffer, cbBuffer));
    EXPECT_EQ(ERROR_INSUFFICIENT_BUFFER, key.LastError());
    EXPECT_EQ('Z', szBuffer[0]);
}
