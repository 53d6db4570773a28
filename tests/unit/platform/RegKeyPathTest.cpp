// CCRegKey: root-key paths, keys from parent handles, lazy open and the rights check.
#include "PlatformTestSupport.h"
#include "RegKey.h"

TEST_F(RegKeyTest, FullPathGivesRootAndNameInAnyCase)
{
    const struct
    {
        const char* szPath;
        HKEY hRoot;
        const char* szName;
    } cases[] = {
        {"HKEY_LOCAL_MACHINE\\SOFTWARE\\X", HKEY_LOCAL_MACHINE, "SOFTWARE\\X"},
        {"hkey_local_machine\\SOFTWARE\\X", HKEY_LOCAL_MACHINE, "SOFTWARE\\X"},
        {"HKEY_CLASSES_ROOT\\.txt", HKEY_CLASSES_ROOT, ".txt"},
        {"Hkey_Current_Config\\System", HKEY_CURRENT_CONFIG, "System"},
        {"HKEY_CURRENT_USER\\Software", HKEY_CURRENT_USER, "Software"},
        {"HKEY_PERFORMANCE_DATA\\x", HKEY_PERFORMANCE_DATA, "x"},
        {"HKEY_USERS\\.DEFAULT", HKEY_USERS, ".DEFAULT"},
        {"HKEY_USERS", HKEY_USERS, ""},         // nothing behind the root name
        {"SOFTWARE\\X", nullptr, "OFTWARE\\X"}, // no root name: the path without its first character
    };
    for (const auto& c : cases)
    {
        CCRegKey key(c.szPath, KEY_READ);
        EXPECT_EQ(c.hRoot, key.Parent()) << c.szPath;
        EXPECT_STREQ(c.szName, key.Name()) << c.szPath;
        EXPECT_EQ(static_cast<REGSAM>(KEY_READ), key.Access());
        EXPECT_FALSE(key.IsOpen());
    }
}

TEST_F(RegKeyTest, FullPathOpensTheKeyEveryTime)
{
    m_key.SetDword("Count", 42);
    CCRegKey key(m_strFull.c_str(), KEY_READ);
    for (int i = 0; i < 3; ++i)
    {
        DWORD dwValue = 0;
        ASSERT_TRUE(key.QueryDword("Count", dwValue)) << key.LastError();
        EXPECT_EQ(42u, dwValue);
        // Opened for the one read and closed again; the root stays for the next one.
        EXPECT_FALSE(key.IsOpen());
        EXPECT_EQ(HKEY_LOCAL_MACHINE, key.Parent());
    }
}

TEST_F(RegKeyTest, PathWithoutRootNameNeverOpens)
{
    m_key.SetDword("Count", 1);
    const std::string strNoRoot = "\\" + m_strSub;
    CCRegKey key(strNoRoot.c_str(), KEY_READ);
    EXPECT_EQ(nullptr, key.Parent());
    EXPECT_STREQ(m_strSub.c_str(), key.Name()); // the path without its first character

    EXPECT_FALSE(key.Open(KEY_READ));
    EXPECT_NE(ERROR_SUCCESS, key.LastError());
    DWORD dwValue = 0;
    EXPECT_FALSE(key.QueryDword("Count", dwValue));
    EXPECT_FALSE(key.SetString("New", "x"));
    EXPECT_FALSE(key.IsOpen());
}

TEST_F(RegKeyTest, KeyFromParentHandleWorksOnDuplicate)
{
    m_key.SetString("Name", "first");
    HKEY hSoftware = nullptr;
    ASSERT_EQ(ERROR_SUCCESS, RegOpenKeyExA(HKEY_LOCAL_MACHINE, "SOFTWARE", 0, KEY_READ, &hSoftware));
    const std::string strBelow = m_strSub.substr(strlen("SOFTWARE\\"));
    {
        CCRegKey key(hSoftware, strBelow.c_str());
        EXPECT_NE(nullptr, key.Parent());
        EXPECT_NE(hSoftware, key.Parent()); // a private duplicate
        EXPECT_EQ(static_cast<REGSAM>(KEY_READ | KEY_WRITE), key.Access());

        char szValue[32] = {0};
        DWORD cbValue = sizeof(szValue);
        ASSERT_TRUE(key.QueryString("Name", szValue, cbValue)) << key.LastError();
        EXPECT_STREQ("first", szValue);
        EXPECT_FALSE(key.IsOpen());
        // The duplicate went with the key when it was closed: no second lazy open.
        EXPECT_EQ(nullptr, key.Parent());
        cbValue = sizeof(szValue);
        EXPECT_FALSE(key.QueryString("Name", szValue, cbValue));
    }
    // The caller's handle is untouched.
    DWORD cbData = 0;
    EXPECT_EQ(ERROR_SUCCESS, RegQueryInfoKeyA(hSoftware, nullptr, nullptr, nullptr, &cbData, nullptr, nullptr,
                                              nullptr, nullptr, nullptr, nullptr, nullptr));
    RegCloseKey(hSoftware);

    // A predefined root cannot be duplicated and is kept as it is.
    CCRegKey fromRoot(HKEY_LOCAL_MACHINE, m_strSub.c_str());
    EXPECT_EQ(HKEY_LOCAL_MACHINE, fromRoot.Parent());
    EXPECT_TRUE(fromRoot.SetString("Name", "second"));
    EXPECT_TRUE(fromRoot.SetString("Name", "third")); // root kept: opens again
    std::string strData;
    ASSERT_TRUE(RawQuery(m_strSub, "Name", nullptr, &strData));
    EXPECT_EQ(std::string("third", 6), strData);
}

TEST_F(RegKeyTest, ReadOnlyKeyRefusesWriteWithoutTouchingRegistry)
{
    CCRegKey key(m_strFull.c_str(), KEY_READ | KEY_WRITE);
    ASSERT_TRUE(key.Open(KEY_READ));
    EXPECT_TRUE(key.IsOpen());
    EXPECT_EQ(static_cast<REGSAM>(KEY_READ), key.Access());
    const LONG lBefore = key.LastError();

    EXPECT_FALSE(key.SetString("Refused", "x"));
    EXPECT_FALSE(key.DeleteValue("Refused"));
    EXPECT_EQ(lBefore, key.LastError());
    EXPECT_TRUE(key.IsOpen());
    EXPECT_FALSE(RawQuery(m_strSub, "Refused", nullptr, nullptr));

    const auto refusals = Records("PrepareOpen", "Internal");
    ASSERT_EQ(2u, refusals.size());
    EXPECT_EQ("Error", refusals[0].strLevel);
    EXPECT_EQ("CCRegKey", refusals[0].strClass);
    EXPECT_EQ("Missing required access right", refusals[0].strText);
    EXPECT_EQ("samRequired=0x2, m_samCurrent=0x20019", refusals[0].strMessage);
    EXPECT_EQ("samRequired=0x6, m_samCurrent=0x20019", refusals[1].strMessage);

    // Reading needs only what the key holds.
    m_key.SetDword("Allowed", 7);
    DWORD dwValue = 0;
    EXPECT_TRUE(key.QueryDword("Allowed", dwValue));
    EXPECT_EQ(7u, dwValue);
    EXPECT_TRUE(key.IsOpen()); // opened by the caller: stays open
    EXPECT_TRUE(key.Close());
    EXPECT_FALSE(key.IsOpen());
}

TEST_F(RegKeyTest, ConstructionAndOpenAreTraced)
{
    {
        CCRegKey key(m_strFull.c_str(), KEY_READ);
        key.Open(KEY_READ);
    }
    const auto ctor = Records("CCRegKey");
    ASSERT_EQ(2u, ctor.size());
    EXPECT_EQ("VerboseCC", ctor[0].strLevel);
    EXPECT_EQ("Enter", ctor[0].strCategory);
    EXPECT_EQ("name='" + m_strFull + "'", ctor[0].strMessage);
    EXPECT_EQ("Leave", ctor[1].strCategory);
    const auto open = Records("Open");
    ASSERT_EQ(2u, open.size());
    EXPECT_EQ("InfoCC", open[0].strLevel);
    EXPECT_EQ("Enter", open[0].strCategory);
    EXPECT_EQ("Leave", open[1].strCategory);
    EXPECT_EQ(2u, Records("~CCRegKey").size());

    CCRegKey fromRoot(HKEY_LOCAL_MACHINE, "X");
    const auto rootCtor = Records("CCRegKey", "Enter");
    ASSERT_EQ(2u, rootCtor.size());
    EXPECT_EQ("parent=0x80000002, name='X'", rootCtor[1].strMessage);
}
