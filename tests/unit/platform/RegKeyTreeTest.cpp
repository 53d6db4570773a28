// CCRegKey: enumeration of values and sub-keys, sub-key objects, and deletion of trees.
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
    DWORD dwIndex = 0;
    for (;; ++dwIndex)
    {
        RegValue value;
        if (!key.EnumValue(dwIndex, value))
            break;
        ASSERT_NE(nullptr, value.szName);
        EXPECT_EQ(strlen(value.szName) + 1, value.dwNameSize);
        values[value.szName] = value;
    }
    EXPECT_EQ(ERROR_NO_MORE_ITEMS, key.LastError());
    EXPECT_FALSE(key.IsOpen());
    ASSERT_EQ(6u, values.size());
    EXPECT_EQ(6u, dwIndex);

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
        const RegValue& value = values[e.szName];
        EXPECT_EQ(e.dwType, value.dwType) << e.szName;
        EXPECT_EQ(e.strData, std::string(reinterpret_cast<const char*>(value.pData), value.dwDataSize))
            << e.szName;
        EXPECT_EQ(e.dwType == REG_DWORD ? 0x11223344u : 0xFFFFFFFFu, value.GetDword()) << e.szName;
        EXPECT_EQ(e.dwType == REG_SZ, value.GetString() != nullptr) << e.szName;
        EXPECT_EQ(e.dwType == REG_QWORD, value.GetQword() != nullptr) << e.szName;
    }
    EXPECT_EQ(qwIn, *values["fQword"].GetQword());
    // The raw enumeration gives names and types.
    char szName[64];
    DWORD cchName = sizeof(szName);
    DWORD dwType = 0;
    ASSERT_TRUE(key.EnumValue(0, szName, cchName, &dwType));
    EXPECT_EQ(values[szName].dwType, dwType);
}

TEST_F(RegKeyTest, EnumeratesSubKeysAndHandsOutTheFirst)
{
    MakeKey(m_strSub + "\\Alpha");
    MakeKey(m_strSub + "\\Beta");
    CCRegKey key(m_strFull.c_str(), KEY_READ);
    char szName[8];
    DWORD cchName = sizeof(szName);
    ASSERT_TRUE(key.EnumKey(1, szName, cchName));
    EXPECT_STREQ("Beta", szName);
    cchName = 2; // too small: ERROR_MORE_DATA still counts as success
    EXPECT_TRUE(key.EnumKey(0, szName, cchName));
    EXPECT_EQ(ERROR_MORE_DATA, key.LastError());
    cchName = sizeof(szName);
    EXPECT_FALSE(key.EnumKey(2, szName, cchName));
    EXPECT_EQ(ERROR_NO_MORE_ITEMS, key.LastError());

    CCRegKey sub(HKEY(nullptr), nullptr);
    ASSERT_TRUE(key.EnumKey(1, sub)); // the index is not used: always the first
    EXPECT_EQ(HKEY_LOCAL_MACHINE, sub.Parent());
    EXPECT_EQ(m_strSub + "\\Alpha", sub.Name());
    EXPECT_EQ(static_cast<REGSAM>(KEY_READ), sub.Access());
    EXPECT_TRUE(sub.Open(KEY_READ));
}

TEST_F(RegKeyTest, SubKeyObjectsAreOwnedAndNamedBelowThisKey)
{
    CCRegKey key(m_strFull.c_str(), KEY_READ | KEY_WRITE);
    DWORD dwDisposition = 0;
    CCRegKey* pChild = key.CreateSubKey("Made\\Deeper", nullptr, 0, KEY_ALL_ACCESS, nullptr, &dwDisposition);
    ASSERT_NE(nullptr, pChild) << key.LastError();
    EXPECT_EQ(static_cast<DWORD>(REG_CREATED_NEW_KEY), dwDisposition);
    EXPECT_TRUE(pChild->IsOpen());
    EXPECT_EQ(m_strSub + "\\Made\\Deeper", pChild->Name());
    EXPECT_TRUE(pChild->SetString("V", "w"));
    EXPECT_TRUE(KeyExists(m_strSub + "\\Made\\Deeper"));

    // Describing a sub-key reuses the owned object and does not open it.
    CCRegKey* pDescribed = key.SubKey("Made");
    ASSERT_EQ(pChild, pDescribed);
    EXPECT_FALSE(pDescribed->IsOpen());
    EXPECT_EQ(m_strSub + "\\Made", pDescribed->Name());

    // Below a key that has only an open handle, the sub-name is relative to that handle.
    HKEY hOpen = nullptr;
    ASSERT_EQ(ERROR_SUCCESS, RegOpenKeyExA(HKEY_LOCAL_MACHINE, m_strSub.c_str(), 0, KEY_ALL_ACCESS, &hOpen));
    CCRegKey handleOnly(HKEY(nullptr), nullptr);
    handleOnly.Attach(hOpen);
    CCRegKey* pRelative = handleOnly.SubKey("Made");
    ASSERT_NE(nullptr, pRelative);
    EXPECT_STREQ("Made", pRelative->Name());
    EXPECT_NE(nullptr, pRelative->Parent());
    char szName[32];
    DWORD cchName = sizeof(szName);
    EXPECT_TRUE(pRelative->EnumKey(0, szName, cchName));
    EXPECT_STREQ("Deeper", szName);

    // Neither a name nor an open key: no sub-key.
    CCRegKey nothing(HKEY(nullptr), nullptr);
    EXPECT_EQ(nullptr, nothing.SubKey("x"));
}

TEST_F(RegKeyTest, DeletesThreeLevelSubTree)
{
    MakeKey(m_strSub + "\\Top\\Middle\\Bottom");
    HKEY hKey = nullptr;
    ASSERT_EQ(ERROR_SUCCESS,
              RegOpenKeyExA(HKEY_LOCAL_MACHINE, (m_strSub + "\\Top\\Middle").c_str(), 0, KEY_WRITE, &hKey));
    RegSetValueExA(hKey, "V", 0, REG_SZ, reinterpret_cast<const BYTE*>("x"), 2);
    RegCloseKey(hKey);

    CCRegKey key(m_strFull.c_str(), KEY_READ | KEY_WRITE);
    EXPECT_FALSE(key.DeleteSubTree("Top")); // works on the open handle only
    EXPECT_TRUE(KeyExists(m_strSub + "\\Top"));
    ASSERT_TRUE(key.Open(KEY_READ | KEY_WRITE));
    EXPECT_TRUE(key.DeleteSubTree("Top")) << key.LastError();
    EXPECT_FALSE(KeyExists(m_strSub + "\\Top"));
    EXPECT_TRUE(KeyExists(m_strSub));
    EXPECT_FALSE(key.DeleteSubTree("Top"));
    EXPECT_EQ(ERROR_FILE_NOT_FOUND, key.LastError());
}

TEST_F(RegKeyTest, SubTreeDeletionPassesOverEverySecondSibling)
{
    for (const char* szChild : {"A", "B", "C"})
        MakeKey(m_strSub + "\\Top\\" + szChild);
    CCRegKey key(m_strFull.c_str(), KEY_READ | KEY_WRITE);
    ASSERT_TRUE(key.Open(KEY_READ | KEY_WRITE));
    EXPECT_FALSE(key.DeleteSubTree("Top"));
    EXPECT_FALSE(KeyExists(m_strSub + "\\Top\\A"));
    EXPECT_TRUE(KeyExists(m_strSub + "\\Top\\B"));
    EXPECT_FALSE(KeyExists(m_strSub + "\\Top\\C"));
    // A second run removes the rest.
    EXPECT_TRUE(key.DeleteSubTree("Top"));
    EXPECT_FALSE(KeyExists(m_strSub + "\\Top"));
}

TEST_F(RegKeyTest, DeletesKeyWithEverythingBelow)
{
    for (const char* szChild : {"\\Own\\A\\A1", "\\Own\\A\\A2", "\\Own\\B", "\\Own\\C\\C1\\C2"})
        MakeKey(m_strSub + szChild);
    const std::string strOwn = m_strFull + "\\Own";
    CCRegKey key(strOwn.c_str(), KEY_READ | KEY_WRITE);
    EXPECT_TRUE(key.DeleteKeyAndSubKeys()) << key.LastError();
    EXPECT_FALSE(KeyExists(m_strSub + "\\Own"));
    EXPECT_TRUE(KeyExists(m_strSub));

    MakeKey(m_strSub + "\\Single");
    CCRegKey single((m_strFull + "\\Single").c_str(), KEY_READ);
    EXPECT_TRUE(single.DeleteKey());
    EXPECT_FALSE(KeyExists(m_strSub + "\\Single"));
    MakeKey(m_strSub + "\\Parent\\Child");
    CCRegKey parent(m_strFull.c_str(), KEY_READ | KEY_WRITE);
    EXPECT_FALSE(parent.DeleteSubKey("Parent")); // has a sub-key
    EXPECT_TRUE(parent.DeleteSubKey("Parent\\Child"));
    EXPECT_TRUE(parent.DeleteSubKey("Parent"));
}

TEST_F(RegKeyTest, FailedKeyDeletionLeavesItsWin32Error)
{
    MakeKey(m_strSub + "\\Busy\\Child");
    HKEY hSoftware = nullptr;
    ASSERT_EQ(ERROR_SUCCESS, RegOpenKeyExA(HKEY_LOCAL_MACHINE, "SOFTWARE", 0, KEY_READ, &hSoftware));
    CCRegKey fromHandle(hSoftware, (m_strSub.substr(strlen("SOFTWARE\\")) + "\\Busy").c_str());
    RegCloseKey(hSoftware);
    ASSERT_TRUE(fromHandle.Open(KEY_READ)); // the duplicated parent goes with the key when it closes
    CCRegKey noName(HKEY_LOCAL_MACHINE, nullptr);
    CCRegKey noRoot(("\\" + m_strSub).c_str(), KEY_READ);
    CCRegKey withChild((m_strFull + "\\Busy").c_str(), KEY_READ);
    const struct
    {
        CCRegKey* pKey;
        LONG lError;
    } cases[] = {{&fromHandle, ERROR_INVALID_HANDLE},
                 {&noName, ERROR_INVALID_PARAMETER},
                 {&noRoot, ERROR_INVALID_HANDLE},
                 {&withChild, ERROR_SUCCESS}}; // a key with a sub-key: the registry's own error
    for (const auto& c : cases)
    {
        EXPECT_FALSE(c.pKey->DeleteKey());
        if (c.lError != ERROR_SUCCESS)
        {
            EXPECT_EQ(c.lError, c.pKey->LastError());
        }
        else
        {
            EXPECT_NE(ERROR_SUCCESS, c.pKey->LastError());
        }
    }
    EXPECT_TRUE(KeyExists(m_strSub + "\\Busy\\Child"));
}
