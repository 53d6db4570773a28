// Settings from the registry and from the command line.
#include "TraceTestSupport.h"

namespace
{
// The settings of a trace object in one line, to compare whole.
std::string Settings(const CCArcaTrace& trace)
{
    const std::wstring wstrPath = trace.FilePath();
    char sz[96];
    snprintf(sz, sizeof(sz),
             "on=%d level=%u clear=%d keep=%d global=%d size=%u time=%u delay=%u file=", trace.IsEnabled(),
             trace.Level(), trace.IsClear(), trace.IsKeepHistory(), trace.IsGlobalEnabled(),
             trace.LimitSize(), trace.LimitTime(), trace.DelaySecs());
    return sz + std::string(wstrPath.begin(), wstrPath.end());
}
} // namespace

using TraceConfigTest = TraceTest;

// Each row adds its values to the key and initializes a fresh trace with its construction flags,
// which the registry's values override, then writes a level-1 record: none without "TraceLevel",
// one with the module column where global enable is on.
TEST_F(TraceConfigTest, RegistryValuesOverrideConstructionFlags)
{
    m_pTrace->InitFromRegistry("TarvosUnit\\NoSuchKey", 0x24);
    EXPECT_FALSE(m_pTrace->IsEnabled());
    const struct
    {
        std::initializer_list<std::pair<const char*, DWORD>> values;
        unsigned nFlags;
        const char* szSettings;
        size_t nColumns; // of the last record in the file; 0: no file
    } cases[] = {
        {{{"Trace", 1}},
         TRCFLAG_CLEAR | 0x20,
         "on=1 level=0 clear=1 keep=0 global=0 size=0 time=0 delay=0",
         0},
        {{{"TraceGlobalEnable", 0}, {"TraceKeepHistory", 0}, {"TraceClear", 0}, {"TraceLevel", 3}},
         TRCFLAG_GLOBAL_ENABLE | TRCFLAG_CLEAR | TRCFLAG_KEEP_HISTORY | 0x20,
         "on=1 level=3 clear=0 keep=0 global=0 size=0 time=0 delay=0",
         9},
        {{{"TraceGlobalEnable", 1},
          {"TraceClear", 1},
          {"TraceLimitSize", 5000},
          {"TraceLimitTime", 7},
          {"TraceDelaySecs", 2}},
         0x24,
         "on=1 level=3 clear=1 keep=0 global=1 size=5000 time=7 delay=2",
         10},
    };
    m_key.SetString("TraceFile", m_strPath);
    for (const auto& c : cases)
    {
        SetDwords(c.values);
        CCArcaTrace trace;
        trace.InitFromRegistry(AppKey().c_str(), c.nFlags);
        EXPECT_EQ(c.szSettings + (" file=" + m_strPath), Settings(trace));
        trace.Trace(1, "C::M", "Internal", "t", "m");
        const auto lines = Lines();
        EXPECT_EQ(c.nColumns, lines.empty() ? 0 : testkit::SplitTabs(lines.back()).size()) << c.szSettings;
    }
    // The module column stands before the class.
    const auto cols = testkit::SplitTabs(Lines().back());
    char szModule[MAX_PATH];
    GetModuleFileNameA(nullptr, szModule, MAX_PATH);
    EXPECT_EQ(std::string(strrchr(szModule, '\\') + 1) + "|C", cols.at(4) + "|" + cols.at(5));
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
        EXPECT_EQ(c.strExpected, Settings(trace).substr(Settings(trace).find("file=") + 5))
            << c.strValue << ", type " << c.dwType;
    }
}

// Run by CommandLineOptions in a process of its own, with the options on its command line: prints
// the settings the command-line initializer made, this process's ids shown as <pid> and <tid>.
TEST(TraceCommandLine, DISABLED_PrintSettings)
{
    CCArcaTrace trace;
    trace.InitFromCommandLine();
    std::string str = Settings(trace);
    for (const auto& id : {std::make_pair(Id4(GetCurrentProcessId()), "<pid>"),
                           std::make_pair(Id4(GetCurrentThreadId()), "<tid>")})
    {
        const size_t nAt = str.find(id.first, str.find("file="));
        if (nAt != std::string::npos)
            str.replace(nAt, id.first.size(), id.second);
    }
    printf("%s|\n", str.c_str());
}

TEST(TraceCommandLine, CommandLineOptions)
{
    char szExe[MAX_PATH];
    GetModuleFileNameA(nullptr, szExe, MAX_PATH);
    const struct
    {
        const char *szArgs, *szExpected;
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
        const std::string strOut =
            testkit::RunProgram(std::string("\"") + szExe +
                                    "\" --gtest_also_run_disabled_tests "
                                    "--gtest_filter=TraceCommandLine.DISABLED_PrintSettings " +
                                    c.szArgs,
                                "", 30000)
                .strStdout;
        EXPECT_NE(std::string::npos, strOut.find(std::string("\n") + c.szExpected + "|"))
            << c.szArgs << strOut;
    }
}
