// CCRegKey: typed reads and writes of values against the registry of the test prefix.
#include "PlatformTestSupport.h"
#include "RegKey.h"

#include <cstring>
#include <functional>

TEST_F(RegKeyTest, TypedReadsCheckTheTypeAndLeaveWhatTheQueryWrote)
{
    m_key.SetDword("Dword", 5);
    m_key.SetString("Text", "ab");
    m_key.SetString("Expand", "%TEMP%", REG_EXPAND_SZ);
    CCRegKey key(m_strFull.c_str(), KEY_READ);
    char szText[64];
    DWORD cb = 0;
    DWORD dwValue = 0;
    const struct
    {
        const char* szCase;
        std::function<bool()> read;
        LONG lError;
        std::function<bool()> after; // what the caller's buffers hold afterwards
    } cases[] = {
        {"string of a DWORD", [&] { return cb = sizeof(szText), key.QueryString("Dword", szText, cb); },
         ERROR_INVALID_DATA, [&] { return cb == 4; }},
        {"DWORD of a string", [&] { return key.QueryDword("Text", dwValue); }, ERROR_INVALID_DATA,
         [&] { return memcmp(&dwValue, "ab", 3) == 0; }},
        {"multi-string of a string",
         [&] { return cb = sizeof(szText), key.QueryMultiString("Text", szText, cb); }, ERROR_INVALID_DATA,
         nullptr},
        {"missing value", [&] { return key.QueryDword("Missing", dwValue); }, ERROR_FILE_NOT_FOUND, nullptr},
        {"string too long for the buffer", [&] { return cb = 3, key.QueryString("Expand", szText, cb); },
         ERROR_MORE_DATA, nullptr},
        {"DWORD", [&] { return key.QueryDword("Dword", dwValue); }, ERROR_SUCCESS,
         [&] { return dwValue == 5; }},
        {"string size only", [&] { return cb = 0, key.QueryString("Text", nullptr, cb); }, ERROR_SUCCESS,
         [&] { return cb == 3; }},
        {"expandable string, unexpanded",
         [&] { return cb = sizeof(szText), key.QueryString("Expand", szText, cb); }, ERROR_SUCCESS,
         [&] { return strcmp(szText, "%TEMP%") == 0 && cb == 7; }},
    };
    for (const auto& c : cases)
    {
        EXPECT_EQ(c.lError == ERROR_SUCCESS, c.read()) << c.szCase;
        EXPECT_EQ(c.lError, key.LastError()) << c.szCase;
        EXPECT_TRUE(!c.after || c.after()) << c.szCase;
    }
}

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

TEST_F(RegKeyTest, WritesReadsAndDeletesValues)
{
    CCRegKey key(m_strFull.c_str(), KEY_READ | KEY_WRITE);
    ASSERT_TRUE(key.SetString("S", "text"));
    const ULONGLONG qwIn = 0x0123456789ABCDEFull;
    ASSERT_TRUE(key.SetValue("Q", REG_QWORD, &qwIn, sizeof(qwIn)));
    const GUID guid = {0x4590F811, 0x1D3A, 0x11D0, {0x89, 0x1F, 0x00, 0xAA, 0x00, 0x4B, 0x2E, 0x24}};
    ASSERT_TRUE(key.SetGuid("Id", guid));
    EXPECT_FALSE(key.IsOpen());
    DWORD dwType = 0;
    std::string strRaw;
    ASSERT_TRUE(RawQuery("S", &dwType, &strRaw));
    EXPECT_EQ(static_cast<DWORD>(REG_SZ), dwType);
    EXPECT_EQ(std::string("text", 5), strRaw);
    ASSERT_TRUE(RawQuery("Id", nullptr, &strRaw));
    EXPECT_EQ(std::string("{4590F811-1D3A-11D0-891F-00AA004B2E24}", 39), strRaw);
    ULONGLONG qwOut = 0;
    EXPECT_TRUE(key.QueryQword("Q", qwOut));
    EXPECT_EQ(qwIn, qwOut);
    GUID read = {};
    ASSERT_TRUE(key.QueryGuid("Id", read));
    EXPECT_TRUE(IsEqualGUID(guid, read));
    m_key.SetString("NoBrace", "4590F811-1D3A-11D0-891F-00AA004B2E24");
    EXPECT_FALSE(key.QueryGuid("NoBrace", read));
    EXPECT_EQ(ERROR_INVALID_DATA, key.LastError());

    EXPECT_TRUE(key.DeleteValue("S"));
    EXPECT_FALSE(RawQuery("S", nullptr, nullptr));
    EXPECT_FALSE(key.DeleteValue("S"));
    EXPECT_EQ(ERROR_FILE_NOT_FOUND, key.LastError());
}
