// CCRegKey: typed reads and writes of values against the registry of the test prefix.
#include "PlatformTestSupport.h"
#include "RegKey.h"

#include <cstring>

TEST_F(RegKeyTest, TypedReadsOfOtherTypesFailWithInvalidData)
{
    m_key.SetDword("Dword", 5);
    m_key.SetString("Text", "ab");
    m_key.SetBinary("Bytes", std::string("\x01\x02\x03\x04\x05\x06\x07\x08", 8));
    CCRegKey key(m_strFull.c_str(), KEY_READ);

    char szText[64];
    DWORD cbText = sizeof(szText);
    EXPECT_FALSE(key.QueryString("Dword", szText, cbText));
    EXPECT_EQ(ERROR_INVALID_DATA, key.LastError());
    EXPECT_EQ(4u, cbText); // what the query wrote stays
    DWORD dwValue = 0;
    EXPECT_FALSE(key.QueryDword("Text", dwValue));
    EXPECT_EQ(ERROR_INVALID_DATA, key.LastError());
    EXPECT_EQ(0, memcmp(&dwValue, "ab", 3));
    ULONGLONG qwValue = 0;
    EXPECT_FALSE(key.QueryQword("Bytes", qwValue));
    EXPECT_EQ(ERROR_INVALID_DATA, key.LastError());
    BYTE abData[16];
    DWORD cbData = sizeof(abData);
    EXPECT_FALSE(key.QueryBinary("Dword", abData, cbData));
    EXPECT_EQ(ERROR_INVALID_DATA, key.LastError());
    cbText = sizeof(szText);
    EXPECT_FALSE(key.QueryMultiString("Text", szText, cbText));
    EXPECT_EQ(ERROR_INVALID_DATA, key.LastError());

    // The right types.
    EXPECT_TRUE(key.QueryDword("Dword", dwValue));
    EXPECT_EQ(5u, dwValue);
    bool bValue = false;
    EXPECT_TRUE(key.QueryBool("Dword", bValue));
    EXPECT_TRUE(bValue);
    cbData = sizeof(abData);
    EXPECT_TRUE(key.QueryBinary("Bytes", abData, cbData));
    EXPECT_EQ(8u, cbData);
    cbText = 0;
    EXPECT_TRUE(key.QueryString("Text", nullptr, cbText)); // size only
    EXPECT_EQ(3u, cbText);
    // A missing value reports the registry's own error.
    EXPECT_FALSE(key.QueryDword("Missing", dwValue));
    EXPECT_EQ(ERROR_FILE_NOT_FOUND, key.LastError());
}

TEST_F(RegKeyTest, ExpandableStringReadsAsStringUnexpanded)
{
    m_key.SetString("Expand", "%TEMP%", REG_EXPAND_SZ);
    CCRegKey key(m_strFull.c_str(), KEY_READ);
    char szText[16] = {0};
    DWORD cbText = sizeof(szText);
    EXPECT_TRUE(key.QueryString("Expand", szText, cbText));
    EXPECT_STREQ("%TEMP%", szText);
    EXPECT_EQ(7u, cbText);
    // Too small a buffer: the registry's own answer.
    cbText = 3;
    EXPECT_FALSE(key.QueryString("Expand", szText, cbText));
    EXPECT_EQ(ERROR_MORE_DATA, key.LastError());
}

TEST_F(RegKeyTest, MultiStringRoundTripsAndBufferChecks)
{
    CCRegKey key(m_strFull.c_str(), KEY_READ | KEY_WRITE);
    const char aList[] = "first\0second\0\0third"; // the list ends at the empty string
    ASSERT_TRUE(key.SetMultiString("List", aList)) << key.LastError();
    DWORD dwType = 0;
    std::string strRaw;
    ASSERT_TRUE(RawQuery(m_strSub, "List", &dwType, &strRaw));
    EXPECT_EQ(static_cast<DWORD>(REG_MULTI_SZ), dwType);
    EXPECT_EQ(std::string("first\0second\0\0", 14), strRaw);

    char szBuffer[64];
    DWORD cbBuffer = sizeof(szBuffer);
    ASSERT_TRUE(key.QueryMultiString("List", szBuffer, cbBuffer)) << key.LastError();
    EXPECT_EQ(14u, cbBuffer);
    EXPECT_EQ(0, memcmp(szBuffer, "first\0second\0\0", 14));
    cbBuffer = 0;
    EXPECT_TRUE(key.QueryMultiString("List", nullptr, cbBuffer));
    EXPECT_EQ(14u, cbBuffer);

    // A buffer of one byte is refused before the registry is asked.
    szBuffer[0] = 'Z';
    cbBuffer = 1;
    EXPECT_FALSE(key.QueryMultiString("List", szBuffer, cbBuffer));
    EXPECT_EQ(ERROR_INSUFFICIENT_BUFFER, key.LastError());
    EXPECT_EQ('Z', szBuffer[0]);
    EXPECT_EQ(1u, cbBuffer);

    // The empty list is written as one NUL, which is too short to read back as a list.
    ASSERT_TRUE(key.SetMultiString("Empty", ""));
    ASSERT_TRUE(RawQuery(m_strSub, "Empty", &dwType, &strRaw));
    EXPECT_EQ(static_cast<DWORD>(REG_MULTI_SZ), dwType);
    EXPECT_EQ(std::string("\0", 1), strRaw);
    cbBuffer = sizeof(szBuffer);
    EXPECT_FALSE(key.QueryMultiString("Empty", szBuffer, cbBuffer));
    EXPECT_EQ(ERROR_INVALID_DATA, key.LastError());

    // One string only.
    ASSERT_TRUE(key.SetMultiString("One", "only\0"));
    ASSERT_TRUE(RawQuery(m_strSub, "One", &dwType, &strRaw));
    EXPECT_EQ(std::string("only\0\0", 6), strRaw);
}

TEST_F(RegKeyTest, WritesAndReadsEveryType)
{
    CCRegKey key(m_strFull.c_str(), KEY_READ | KEY_WRITE);
    ASSERT_TRUE(key.SetString("S", "text"));
    const DWORD dwIn = 0xCAFEBABE;
    ASSERT_TRUE(key.SetValue("D", REG_DWORD, &dwIn, sizeof(dwIn)));
    const ULONGLONG qwIn = 0x0123456789ABCDEFull;
    ASSERT_TRUE(key.SetValue("Q", REG_QWORD, &qwIn, sizeof(qwIn)));
    EXPECT_FALSE(key.IsOpen());

    DWORD dwType = 0;
    std::string strRaw;
    ASSERT_TRUE(RawQuery(m_strSub, "S", &dwType, &strRaw));
    EXPECT_EQ(static_cast<DWORD>(REG_SZ), dwType);
    EXPECT_EQ(std::string("text", 5), strRaw);
    ULONGLONG qwOut = 0;
    EXPECT_TRUE(key.QueryQword("Q", qwOut));
    EXPECT_EQ(qwIn, qwOut);

    RegValue value;
    ASSERT_TRUE(key.QueryValue("D", value));
    EXPECT_EQ(static_cast<DWORD>(REG_DWORD), value.dwType);
    EXPECT_EQ(dwIn, value.GetDword());
    EXPECT_EQ(nullptr, value.GetString());
    EXPECT_EQ(nullptr, value.GetQword());
    RegValue copy(value);
    EXPECT_EQ(dwIn, copy.GetDword());
    EXPECT_NE(value.pData, copy.pData);

    EXPECT_TRUE(key.DeleteValue("S"));
    EXPECT_FALSE(RawQuery(m_strSub, "S", nullptr, nullptr));
    EXPECT_FALSE(key.DeleteValue("S"));
    EXPECT_EQ(ERROR_FILE_NOT_FOUND, key.LastError());
}

TEST_F(RegKeyTest, GuidValues)
{
    CCRegKey key(m_strFull.c_str(), KEY_READ | KEY_WRITE);
    const GUID guid = {0x4590F811, 0x1D3A, 0x11D0, {0x89, 0x1F, 0x00, 0xAA, 0x00, 0x4B, 0x2E, 0x24}};
    ASSERT_TRUE(key.SetGuid("Id", guid));
    std::string strRaw;
    ASSERT_TRUE(RawQuery(m_strSub, "Id", nullptr, &strRaw));
    EXPECT_EQ(std::string("{4590F811-1D3A-11D0-891F-00AA004B2E24}", 39), strRaw);
    GUID read = {};
    ASSERT_TRUE(key.QueryGuid("Id", read));
    EXPECT_TRUE(IsEqualGUID(guid, read));

    m_key.SetString("NoBrace", "4590F811-1D3A-11D0-891F-00AA004B2E24");
    EXPECT_FALSE(key.QueryGuid("NoBrace", read));
    EXPECT_EQ(ERROR_INVALID_DATA, key.LastError());
    m_key.SetString("Junk", "{not a guid}");
    EXPECT_FALSE(key.QueryGuid("Junk", read));
    EXPECT_EQ(ERROR_INVALID_DATA, key.LastError());
}
