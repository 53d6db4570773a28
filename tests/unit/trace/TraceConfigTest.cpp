// Settings from the registry and from the command line.
#include "TraceTestSupport.h"

namespace
{
std::string FilePath(const CCArcaTrace& trace)
{
    const std::wstring wstrPath = trace.FilePath();
    return std::string(wstrPath.begin(), wstrPath.end());
}

// The settings of a trace object in one line, to compare whole.
std::string Settings(const CCArcaTrace& trace)
{
    char sz[96];
    snprintf(sz, sizeof(sz),
             "on=%d level=%u clear=%d keep=%d global=%d size=%u time=%u delay=%u file=", trace.IsEnabled(),
             trace.Level(), trace.IsClear(), trace.IsKeepHistory(), trace.IsGlobalEnabled(),
             trace.LimitSize(), trace.LimitTime(), trace.DelaySecs());
    return sz + FilePath(trace);
}
} // namespace

using TraceConfigTest = TraceTest;

TEST_F(TraceConfigTest, MissingKeyLeavesTracingOffAndWithoutLevelNothingIsWritten)
{
    m_pTrace->InitFromRegistry("TarvosUnit\\NoSuchKey", 0x24);
    EXPECT_FALSE(m_pTrace->IsEnabled());
    m_key.SetDword("Trace", 1);
    m_key.SetString("TraceFile", m_strPath);
    m_pTrace->InitFromRegistry(AppKey().c_str(), 0x24);
    EXPECT_TRUE(m_pTrace->IsEnabled());
    m_pTrace->Trace(1, "C::M", "Internal", "error", "");
    EXPECT_FALSE(testkit::FileExists(m_strPath));

    CCArcaTrace six;
    m_key.SetDword("TraceLevel", 6);
    six.InitFromRegistry(AppKey().c_str(), 0x24);
    six.Trace(6, "C::M", "Enter", "six", "");
    six.Trace(7, "C::M", "Enter", "seven", "");
    EXPECT_EQ(1u, Lines().size());
}

TEST_F(TraceConfigTest, TraceFileExpandsEnvironmentAndFirstPlaceholdersUpTo259Characters)
{
    m_key.SetDword("Trace", 1);
    char szTemp[MAX_PATH];
    GetEnvironmentVariableA("TEMP", szTemp, MAX_PATH);
    const std::string strDir = m_dir.Path() + "\\";
    const std::string str259 = strDir + std::string(259 - strDir.size(), 'n');
    const struct
    {
        std::string strValue;
        DWORD dwType;
        std::string strExpected;
    } cases[] = {
        {"%TEMP%\\t_%PID%_%TID%_%PID%.trc", REG_SZ,
         std::string(szTemp) + "\\t_" + Id4(GetCurrentProcessId()) + "_" + Id4(GetCurrentThreadId()) +
             "_%PID%.trc"},
        {str259, REG_SZ, str259},
        {str259 + "x", REG_SZ, "Trace.trc"},
        {m_strPath, REG_EXPAND_SZ, "Trace.trc"},
    };
    for (const auto& c : cases)
    {
        m_key.SetString("TraceFile", c.strValue, c.dwType);
        CCArcaTrace trace;
        trace.InitFromRegistry(AppKey().c_str(), 0x24);
        EXPECT_EQ(c.strExpected, FilePath(trace)) << c.strValue << ", type " << c.dwType;
    }
}

TEST_F(TraceConfigTest, RegistryValuesOverrideConstructionFlagsAndGlobalEnableAddsTheModuleColumn)
{
    m_key.SetDword("Trace", 1);
    m_pTrace->InitFromRegistry(AppKey().c_str(), TRCFLAG_CLEAR | 0x20);
    EXPECT_TRUE(m_pTrace->IsClear());

    SetDwords({{"TraceGlobalEnable", 0}, {"TraceKeepHistory", 0}, {"TraceClear", 0}, {"TraceLevel", 3}});
    m_key.SetString("TraceFile", m_strPath);
    {
        CCArcaTrace trace;
        trace.InitFromRegistry(AppKey().c_str(),
                               TRCFLAG_GLOBAL_ENABLE | TRCFLAG_CLEAR | TRCFLAG_KEEP_HISTORY | 0x20);
        EXPECT_EQ("on=1 level=3 clear=0 keep=0 global=0 size=0 time=0 delay=0 file=" + m_strPath,
                  Settings(trace));
        trace.Trace(3, "C::M", "Internal", "t", "m");
        EXPECT_EQ(9u, testkit::SplitTabs(Lines().at(0)).size());
    }

    // Global enable adds the module column.
    SetDwords({{"TraceGlobalEnable", 1}, {"TraceClear", 1}});
    SetDwords({{"TraceLimitSize", 5000}, {"TraceLimitTime", 7}, {"TraceDelaySecs", 2}});
    m_pTrace = std::make_unique<CCArcaTrace>();
    m_pTrace->InitFromRegistry(AppKey().c_str(), 0x24);
    EXPECT_EQ("on=1 level=3 clear=1 keep=0 global=1 size=5000 time=7 delay=2 file=" + m_strPath,
              Settings(*m_pTrace));
    m_pTrace->Trace(3, "C::M", "Internal", "t", "m");
    const auto cols = testkit::SplitTabs(Lines().back());
    ASSERT_EQ(10u, cols.size());
    char szModule[MAX_PATH];
    GetModuleFileNameA(nullptr, szModule, MAX_PATH);
    EXPECT_EQ(strrchr(szModule, '\\') + 1, cols[4]);
    EXPECT_EQ("C", cols[5]);
}

// Run by CommandLineOptions in a process of its own, with the options on its command line:
// prints the settings the command-line initializer made, with this process's ids.
TEST(TraceCommandLine, DISABLED_PrintSettings)
{
    CCArcaTrace trace;
    trace.InitFromCommandLine();
    printf("%s|%s|%s\n", Settings(trace).c_str(), Id4(GetCurrentProcessId()).c_str(),
           Id4(GetCurrentThreadId()).c_str());
}

TEST(TraceCommandLine, CommandLineOptions)
{
    char szExe[MAX_PATH];
    GetModuleFileNameA(nullptr, szExe, MAX_PATH);
    const struct
    {
        const char* szArgs;
        const char* szExpected; // "<pid>" and "<tid>": the ids of the process that ran it
    } cases[] = {
        {"/trace", "on=1 level=3 clear=0 keep=0 global=0 size=0 time=0 delay=0 file=Trace.trc"},
        {"/TraceX t_%PID%_%TID%_%PID%.trc /TrcLevel /TrcClear",
         "on=1 level=3 clear=1 keep=0 global=0 size=0 time=0 delay=0 file=t_<pid>_<tid>_%PID%.trc"},
        {"/TRACE /trclevel 5x /TrcLimitSize 12 /TrcLimitTime /TrcDelaySecs 4 /TrcKeepHistoryPlus "
         "/TrcGlobalEnable",
         "on=1 level=5 clear=0 keep=1 global=1 size=12 time=0 delay=4 file=Trace.trc"},
        {"/TrcLevel 5 trace /Trc",
         "on=0 level=0 clear=0 keep=0 global=0 size=0 time=0 delay=0 file=Trace.trc"},
    };
    for (const auto& c : cases)
    {
        const testkit::TarvosRun run = testkit::RunProgram(
            std::string("\"") + szExe +
                "\" --gtest_also_run_disabled_tests --gtest_filter=TraceCommandLine.DISABLED_PrintSettings " +
                c.szArgs,
            "", 30000);
        const size_t nStart = run.strStdout.find("on=");
        ASSERT_NE(std::string::npos, nStart) << run.strStdout;
        std::string strLine =
            run.strStdout.substr(nStart, run.strStdout.find_first_of("\r\n", nStart) - nStart);
        std::string strExpected = c.szExpected;
        for (const char* szId : {"<tid>", "<pid>"})
        {
            const size_t nBar = strLine.rfind('|');
            const size_t nAt = strExpected.find(szId);
            if (nAt != std::string::npos)
                strExpected.replace(nAt, 5, strLine.substr(nBar + 1));
            strLine.erase(nBar);
        }
        EXPECT_EQ(strExpected, strLine) << c.szArgs;
    }
}
