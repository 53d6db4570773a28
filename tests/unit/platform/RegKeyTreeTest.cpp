// CCRegKey: enumeration of values and sub-keys, and deletion of trees.
#include "PlatformTestSupport.h"
#include "RegKey.h"

#include <cstring>
#include <map>

TEST_F(RegKeyTest, EnumeratesMixedValueTypes)
{
    m_key.SetDword("aDword", 0x11223344);
    m_key.SetString("bString", "hello");
    m_key.SetString("cExpand", "%PATH%", REG_EXPAND_SZ);
    m_key.SetBinary("dBinary", std::string("\x00\xFF\x10", 3));
    m_key.SetString("eMulti", std::string("x\0yz\0", 5), REG_MULTI_SZ);
    CCRegKey key(m_strFull.c_str(), KEY_READ | KEY_WRITE);
    const ULONGLONG qwIn = 0xFEDCBA9876543210ull;
    ASSERT_TRUE(key.SetValue("fQword", REG_QWORD, &qwIn, sizeof(qwIn)));

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
    ASSERT_EQ(6u, values.size());

    // Type, size and bytes of each, and the typed readers only for their own type.
    const struct
    {
        const char* szName;
        DWORD dwType;
        std::string strData;
    } expected[] = {{"aDword", REG_DWORD, std::string("\x44\x33\x22\x11", 4)},
                    {"bString", REG_SZ, std::string("hello", 6)},
                    {"cExpand", REG_EXPAND_SZ, std::string("%PATH%", 7)},
                    {"dBinary", REG_BINARY, std::string("\x00\xFF\x10", 3)},
                    {"eMulti", REG_MULTI_SZ, std::string("x\0yz\0\0", 6)},
                    {"fQword", REG_QWORD, std::string(reinterpret_cast<const char*>(&qwIn), 8)}};
    for (const auto& e : expected)
    {
        const RegValue& found = values[e.szName];
        EXPECT_EQ(e.dwType, found.dwType) << e.szName;
        EXPECT_EQ(e.strData, std::string(reinterpret_cast<const char*>(found.pData), found.dwDataSize))
            << e.szName;
        EXPECT_EQ(e.dwType == REG_DWORD ? 0x11223344u : 0xFFFFFFFFu, found.GetDword()) << e.szName;
        EXPECT_EQ(e.dwType == REG_SZ, found.GetString() != nullptr) << e.szName;
        EXPECT_EQ(e.dwType == REG_QWORD, found.GetQword() != nullptr) << e.szName;
    }
    EXPECT_EQ(qwIn, *values["fQword"].GetQword());
    // A copy holds its own bytes.
    const RegValue copy(values["aDword"]);
    EXPECT_EQ(0x11223344u, copy.GetDword());
    EXPECT_NE(values["aDword"].pData, copy.pData);
}

TEST_F(RegKeyTest, SubKeysAreEnumeratedAndTreesDeleted)
{
    testkit::CScratchKey bottom(m_strSub + "\\Top\\Middle\\Bottom"), b(m_strSub + "\\Top\\B"),
        c(m_strSub + "\\Top\\C");
    CCRegKey key(m_strFull.c_str(), KEY_READ | KEY_WRITE);
    char szName[8];
    DWORD cchName = 2; // too small: ERROR_MORE_DATA still counts as success
    EXPECT_TRUE(key.EnumKey(0, szName, cchName));
    EXPECT_EQ(ERROR_MORE_DATA, key.LastError());
    cchName = sizeof(szName);
    ASSERT_TRUE(key.EnumKey(0, szName, cchName));
    EXPECT_STREQ("Top", szName);
    cchName = sizeof(szName);
    EXPECT_FALSE(key.EnumKey(1, szName, cchName));
    EXPECT_EQ(ERROR_NO_MORE_ITEMS, key.LastError());

    EXPECT_FALSE(key.DeleteSubTree("Top")); // works on the open handle only
    ASSERT_TRUE(key.Open(KEY_READ | KEY_WRITE));
    // Sub-keys "B", "C", "Middle": the first and third go, "C" stays for a second run.
    EXPECT_FALSE(key.DeleteSubTree("Top"));
    EXPECT_FALSE(KeyExists("\\Top\\B"));
    EXPECT_TRUE(KeyExists("\\Top\\C"));
    EXPECT_FALSE(KeyExists("\\Top\\Middle"));
    EXPECT_TRUE(key.DeleteSubTree("Top")) << key.LastError();
    EXPECT_FALSE(KeyExists("\\Top"));

    testkit::CScratchKey a1(m_strSub + "\\Own\\A\\A1"), a2(m_strSub + "\\Own\\A\\A2"),
        ownB(m_strSub + "\\Own\\B");
    CCRegKey own((m_strFull + "\\Own").c_str(), KEY_READ | KEY_WRITE);
    EXPECT_TRUE(own.DeleteKeyAndSubKeys()) << own.LastError();
    EXPECT_FALSE(KeyExists("\\Own"));
    EXPECT_TRUE(KeyExists(""));
}
