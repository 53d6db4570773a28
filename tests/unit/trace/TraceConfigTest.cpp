// Settings from the registry, from explicit arguments, and the exported trace.
#include "TraceTestSupport.h"

#include <cstdio>

class TraceConfigTest : public TraceTest
{
protected:
    testkit::CScratchKey m_key{FullKey()};
};

TEST_F(TraceConfigTest, TraceWithoutLevelWritesNothing)
{
    m_key.SetDword("Trace", 1);
    m_key.SetString("TraceFile", m_strPath);
    m_pTrace->InitFromRegistry(AppKey().c_str(), 0x24);
    EXPECT_TRUE(m_pTrace->IsEnabled());
    EXPECT_EQ(0u, m_pTrace->Level());
    m_pTrace->Trace(1, "C::M", "Internal", "error", "");
    EXPECT_FALSE(testkit::FileExists(m_strPath));
}

TEST_F(TraceConfigTest, LevelSixWritesEverything)
{
    m_key.SetDword("Trace", 1);
    m_key.SetDword("TraceLevel", 6);
    m_key.SetString("TraceFile", m_strPath);
    m_pTrace->InitFromRegistry(AppKey().c_str(), 0x24);
    m_pTrace->Trace(6, "C::M", "Enter", "six", "");
    m_pTrace->Trace(7, "C::M", "Enter", "seven", "");
    ASSERT_EQ(1u, Lines().size());
}

TEST_F(TraceConfigTest, FileNameExpandsEnvironmentAndFirstPidPlaceholder)
{
    m_key.SetDword("Trace", 1);
    m_key.SetString("TraceFile", "%TEMP%\\t_%PID%_%PID%.trc", REG_SZ);
    m_pTrace->InitFromRegistry(AppKey().c_str(), 0x24);
    char szTemp[MAX_PATH];
    GetEnvironmentVariableA("TEMP", szTemp, MAX_PATH);
    char szExpected[2 * MAX_PATH];
    snprintf(szExpected, sizeof(szExpected), "%s\\t_%04lu_%%PID%%.trc", szTemp, GetCurrentProcessId());
    std::wstring wstrExpected;
    for (const char* p = szExpected; *p; ++p)
    {
        wstrExpected += static_cast<wchar_t>(static_cast<unsigned char>(*p));
    }
    EXPECT_EQ(wstrExpected, m_pTrace->FilePath());
}

TEST_F(TraceConfigTest, TraceFileOfWrongTypeKeepsTheDefaultName)
{
    m_key.SetDword("Trace", 1);
    m_key.SetString("TraceFile", m_strPath, REG_EXPAND_SZ);
    m_pTrace->InitFromRegistry(AppKey().c_str(), 0x24);
    EXPECT_EQ(std::wstring(L"Trace.trc"), m_pTrace->FilePath());
}

TEST_F(TraceConfigTest, RegistryValuesOverrideConstructionFlags)
{
    m_key.SetDword("Trace", 1);
    m_key.SetDword("TraceLevel", 3);
    m_key.SetDword("TraceGlobalEnable", 0);
    m_key.SetDword("TraceKeepHistory", 0);
    m_key.SetDword("TraceClear", 0);
    m_key.SetString("TraceFile", m_strPath);
    m_pTrace->InitFromRegistry(AppKey().c_str(), TRCFLAG_GLOBAL_ENABLE | TRCFLAG_CLEAR | TRCFLAG_KEEP_HISTORY | 0x20);
    EXPECT_FALSE(m_pTrace->IsGlobalEnabled());
    EXPECT_FALSE(m_pTrace->IsKeepHistory());
    EXPECT_FALSE(m_pTrace->IsClear());
    m_pTrace->Trace(3, "C::M", "Internal", "t", "m");
    EXPECT_EQ(9u, testkit::SplitTabs(Lines().at(0)).size());
}

TEST_F(TraceConfigTest, ClearFlagStaysWhenTheValueIsMissing)
{
    m_key.SetDword("Trace", 1);
    m_pTrace->InitFromRegistry(AppKey().c_str(), TRCFLAG_CLEAR | 0x20);
    EXPECT_TRUE(m_pTrace->IsClear());
}

TEST_F(TraceConfigTest, GlobalEnableAddsTheModuleColumn)
{
    m_key.SetDword("Trace", 1);
    m_key.SetDword("TraceLevel", 3);
    m_key.SetDword("TraceGlobalEnable", 1);
    m_key.SetDword("TraceLimitSize", 5000);
    m_key.SetDword("TraceLimitTime", 7);
    m_key.SetDword("TraceDelaySecs", 2);
    m_key.SetString("TraceFile", m_strPath);
    m_pTrace->InitFromRegistry(AppKey().c_str(), 0x24);
    EXPECT_EQ(5000u, m_pTrace->LimitSize());
    EXPECT_EQ(7u, m_pTrace->LimitTime());
    EXPECT_EQ(2u, m_pTrace->DelaySecs());
    m_pTrace->Trace(3, "C::M", "Internal", "t", "m");
    const auto cols = testkit::SplitTabs(Lines().at(0));
    ASSERT_EQ(10u, cols.size());
    char szModule[MAX_PATH];
    GetModuleFileNameA(nullptr, szModule, MAX_PATH);
    const char* pName = strrchr(szModule, '\\');
    EXPECT_EQ(pName != nullptr ? pName + 1 : szModule, cols[4]);
    EXPECT_EQ("C", cols[5]);
}

TEST_F(TraceConfigTest, DateKeyIsRequiredWithoutFlag0x20)
{
    m_key.SetDword("Trace", 1);
    m_pTrace->InitFromRegistry(AppKey().c_str(), 0);
    EXPECT_FALSE(m_pTrace->IsEnabled());

    SYSTEMTIME st;
    GetLocalTime(&st);
    char szDate[16];
    snprintf(szDate, sizeof(szDate), "%02u%02u%04u", st.wDay, st.wMonth, st.wYear);
    DWORD dwSum = 0;
    for (const char* p = szDate; *p; ++p)
    {
        dwSum += static_cast<DWORD>(*p - '0');
    }
    m_key.SetDword("Key", dwSum + 1);
    m_pTrace->InitFromRegistry(AppKey().c_str(), 0);
    EXPECT_FALSE(m_pTrace->IsEnabled());
    m_key.SetDword("Key", dwSum);
    m_pTrace->InitFromRegistry(AppKey().c_str(), 0);
    EXPECT_TRUE(m_pTrace->IsEnabled());
}

TEST_F(TraceConfigTest, MissingKeyLeavesTracingOff)
{
    CCArcaTrace trace;
    trace.InitFromRegistry("TarvosUnit\\NoSuchKey", 0x24);
    EXPECT_FALSE(trace.IsEnabled());
}

TEST_F(TraceConfigTest, FirstInitializerThatSwitchesOnWins)
{
    m_pTrace->InitExplicit(m_strPath.c_str(), 4, TRCFLAG_INFO | TRCFLAG_KEEP_HISTORY);
    EXPECT_TRUE(m_pTrace->IsInfo());
    EXPECT_TRUE(m_pTrace->IsKeepHistory());
    m_key.SetDword("Trace", 1);
    m_key.SetDword("TraceLevel", 6);
    m_pTrace->InitFromRegistry(AppKey().c_str(), 0x24);
    m_pTrace->InitExplicit("other.trc", 1, 0);
    EXPECT_EQ(4u, m_pTrace->Level());
    EXPECT_EQ(std::wstring(m_strPath.begin(), m_strPath.end()), m_pTrace->FilePath());
}

TEST_F(TraceConfigTest, SecondTraceInheritsTheExportedGlobalTrace)
{
    m_pTrace->InitExplicit(m_strPath.c_str(), 4, TRCFLAG_GLOBAL_ENABLE);
    ASSERT_EQ(m_pTrace.get(), gg_ptrc);
    // The module's own registry settings would name another file and level: the exported trace wins.
    m_key.SetDword("Trace", 1);
    m_key.SetDword("TraceLevel", 6);
    m_key.SetString("TraceFile", m_dir.File("other.trc"));
    CCArcaTrace second;
    second.InitFromRegistry(AppKey().c_str(), 0x24);
    EXPECT_TRUE(second.IsEnabled());
    EXPECT_TRUE(second.IsGlobalEnabled());
    EXPECT_EQ(4u, second.Level());
    m_pTrace->Trace(3, "A::M", "Internal", "first", "");
    second.Trace(3, "B::M", "Internal", "second", "");
    second.Trace(5, "B::M", "Internal", "too detailed", "");
    EXPECT_FALSE(testkit::FileExists(m_dir.File("other.trc")));
    const auto lines = Lines();
    ASSERT_EQ(2u, lines.size());
    EXPECT_EQ("B", testkit::SplitTabs(lines[1])[5]);
}
