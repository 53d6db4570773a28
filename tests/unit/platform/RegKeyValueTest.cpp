// CCRegKey: the value operations the jobs use (enumeration, multi-strings) against the
// registry of the test prefix.
#include "PlatformTestSupport.h"
#include "RegKey.h"

#include <cstring>
#include <map>

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

TEST_F(RegKeyTest, EnumeratesMixedValueTypes)
{
    m_key.SetDword("aDword", 0x11223344);
    m_key.SetString("bString", "hello");
    m_key.SetString("cExpand", "%PATH%", REG_EXPAND_SZ);
    m_key.SetBinary("dBinary", std::string("\x00\xFF\x10", 3));
    m_key.SetString("eMulti", std::string("x\0yz\0", 5), REG_MULTI_SZ);
    CCRegKey key(m_strFull.c_str(), KEY_READ);

    std::map<std::string, RegValue> values;
    RegValue value;
    for (DWORD dwIndex = 0; key.EnumValue(dwIndex, value); ++dwIndex)
    {
        ASSERT_NE(nullptr, value.szName);
        EXPECT_EQ(strlen(value.szName) + 1, value.dwNameSize);
        values[value.szName] = value;
    }
    EXPECT_EQ(ERROR_NO_MORE_ITEMS, key.LastError());
    EXPECT_FALSE(key.IsOpen());
    ASSERT_EQ(5u, values.size());

    // Type, size and bytes of each; the string reader only for REG_SZ.
    const struct
    {
        const char* szName;
        DWORD dwType;
        std::string strData;
    } expected[] = {{"aDword", REG_DWORD, std::string("\x44\x33\x22\x11", 4)},
                    {"bString", REG_SZ, std::string("hello", 6)},
                    {"cExpand", REG_EXPAND_SZ, std::string("%PATH%", 7)},
                    {"dBinary", REG_BINARY, std::string("\x00\xFF\x10", 3)},
                    {"eMulti", REG_MULTI_SZ, std::string("x\0yz\0\0", 6)}};
    for (const auto& e : expected)
    {
        const RegValue& found = values[e.szName];
        EXPECT_EQ(e.dwType, found.dwType) << e.szName;
        EXPECT_EQ(e.strData, std::string(reinterpret_cast<const char*>(found.pData), found.dwDataSize))
            << e.szName;
        EXPECT_EQ(e.dwType == REG_SZ, found.GetString() != nullptr) << e.szName;
    }
    // A copy holds its own bytes.
    const RegValue copy(values["bString"]);
    EXPECT_STREQ("hello", copy.GetString());
    EXPECT_NE(values["bString"].pData, copy.pData);
}
