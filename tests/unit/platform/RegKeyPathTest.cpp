// CCRegKey: root-key paths, the rights check and the trace of each.
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
        EXPECT_EQ(std::string("name='") + c.szPath + "'", Records("CCRegKey", "Enter").back().strMessage);
    }
}

TEST_F(RegKeyTest, ReadOnlyKeyRefusesWriteWithoutTouchingRegistry)
{
    m_key.SetDword("Allowed", 7);
    CCRegKey key(m_strFull.c_str(), KEY_READ | KEY_WRITE);
    ASSERT_TRUE(key.Open(KEY_READ));
    EXPECT_EQ(static_cast<REGSAM>(KEY_READ), key.Access());
    const LONG lBefore = key.LastError();
    EXPECT_FALSE(key.SetString("Refused", "x"));
    EXPECT_FALSE(key.DeleteValue("Allowed"));
    EXPECT_EQ(lBefore, key.LastError());
    EXPECT_NE(ERROR_SUCCESS, RegGetValueA(HKEY_LOCAL_MACHINE, m_strSub.c_str(), "Refused", RRF_RT_ANY,
                                          nullptr, nullptr, nullptr));

    const auto refusals = Records("PrepareOpen", "Internal");
    ASSERT_EQ(2u, refusals.size());
    EXPECT_EQ("Error", refusals[0].strLevel);
    EXPECT_EQ("CCRegKey", refusals[0].strClass);
    EXPECT_EQ("Missing required access right", refusals[0].strText);
    EXPECT_EQ("samRequired=0x2, m_samCurrent=0x20019", refusals[0].strMessage);
    EXPECT_EQ("samRequired=0x6, m_samCurrent=0x20019", refusals[1].strMessage);

    // Reading needs only what the key holds; opened by the caller, it stays open.
    DWORD dwValue = 0;
    EXPECT_TRUE(key.QueryDword("Allowed", dwValue));
    EXPECT_EQ(7u, dwValue);
    EXPECT_TRUE(key.IsOpen());
    EXPECT_TRUE(key.Close());
    EXPECT_FALSE(key.IsOpen());
}

TEST_F(RegKeyTest, ConstructionAndOpenAreTraced)
{
    {
        CCRegKey key(m_strFull.c_str(), KEY_READ);
        key.Open(KEY_READ);
        CCRegKey fromRoot(HKEY_LOCAL_MACHINE, "X");
    }
    const auto ctor = Records("CCRegKey");
    ASSERT_EQ(4u, ctor.size());
    EXPECT_EQ("VerboseCC", ctor[0].strLevel);
    EXPECT_EQ("Enter", ctor[0].strCategory);
    EXPECT_EQ("Leave", ctor[1].strCategory);
    EXPECT_EQ("parent=0x80000002, name='X'", ctor[2].strMessage);
    const auto open = Records("Open");
    ASSERT_EQ(2u, open.size());
    EXPECT_EQ("InfoCC", open[0].strLevel);
    EXPECT_EQ("Enter", open[0].strCategory);
    EXPECT_EQ("Leave", open[1].strCategory);
    EXPECT_EQ(4u, Records("~CCRegKey").size());
}
