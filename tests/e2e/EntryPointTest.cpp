// Tarvos.exe end to end: exit codes, the records of main, the help text and the instance counters.
#include "E2eSupport.h"
#include "SharedCounters.h"

using namespace e2e;

TEST(EntryPoint, RejectedCommandLineIsOneAndUnknownOnesAreNothingDone)
{
    const auto run = RunTarvos("/cf /mof=a.mof /dd");
    EXPECT_EQ(1u, run.dwExitCode);
    ExpectRecords(run, {{"WbemUtil::CheckParams", "Internal", "Only one action: /cf, /dd, /cm is allowed", "",
                         false, true},
                        {"main", "Exception", "ParseCmdLine returned error", "Error ", true},
                        {"main", "Leave", "", "nReturn=1 '1, '"},
                        {"DoTheJob", "", "", "<0 records>"}});
    // The entry record shows the first three arguments.
    const auto unknown = RunTarvos("/frobnicate \"/KEY=  A B\" cf /x");
    EXPECT_EQ(7u, unknown.dwExitCode);
    EXPECT_NE(std::string::npos, Only(unknown, "main", "Enter", "Tarvos called")
                                     .find("argv[1]='/frobnicate'\nargv[2]='/KEY=  A B'\nargv[3]='cf'\n"));
    EXPECT_EQ(2u, unknown.Records("WbemUtil::ParseToken", "Internal", "Unknown parameter").size());
    // Without tracing the exit codes are the same.
    TarvosOptions options;
    options.bTrace = false;
    EXPECT_EQ(1u, RunTarvos("/sq", options).dwExitCode);
    EXPECT_EQ(7u, RunTarvos("/backup", options).dwExitCode);
}

TEST(EntryPoint, RelativeNamesBecomeFullPathsInTheWorkingDirectory)
{
    CScratchDir dir;
    // The runtime's argument rules: a quoted argument keeps its blank, \" is a literal quote.
    const auto run = RunTarvos("/dd \"/ini=x y.ini\" /MOF=\\\"\\\"sub\\a.mof\\\"", StartedIn(dir.Path()));
    const std::string strEnter = Only(run, "WbemUtil::CheckParams", "Enter");
    EXPECT_NE(std::string::npos, strEnter.find("mof='" + dir.File("sub\\a.mof") + "'\nini='" +
                                               dir.File("x y.ini") + "'\nreg=''\n"))
        << strEnter;
}

TEST(EntryPoint, HelpPrintsBannerAndOptionSummary)
{
    // The option summary resource, its lines ended by CR LF.
    const std::string strResource =
        "Tarvos /CF /MOF=<mof-file> [/SYSTEM] [/FORCE]\r\nTarvos /CM [/KEY=<reg-key>] [/SYSTEM]\r\n"
        "Tarvos /DD [/INI=<ini-file> [/FORCE]] | [/MOF=<mof-file>]\r\n"
        "Tarvos /SQ /INI=<ini-file> [/BACKUP]\r\nTarvos /?\r\n\r\n"
        "  /CF       : Checks version and compiles the MOF file. \r\n"
        "  /CM       : Compile MOFs provided by a list of registry keys. \r\n"
        "  /DD       : Deletes WMI namespaces, classes and static instances. \r\n"
        "  /SQ       : Sets the qualifiers listed in the INI file. \r\n"
        "  /MOF      : Specifies the MOF file to be processed. \r\n"
        "  /INI      : Specifies the INI file to be processed. \r\n"
        "  /KEY      : The registry keys containing the MOFs to be compiled. \r\n"
        "  /SYSTEM   : The MOF compilation is done in system context.\r\n"
        "  /BACKUP   : The previous qualifier values are stored.\r\n"
        "  /FORCE    : Enforces the deletion or creation of WMI elements. \r\n"
        "  /?        : Show help\r\n\r\n"
        "  <mof-file>: The MOF file\r\n  <ini-file>: An INI file\r\n  <reg-key> : A registry key\r\n\r\n"
        "Under Windows Vista, the launching process must be elevated to perform \r\nthese tasks!\r\n\r\n"
        "Examples: Tarvos /cf /mof=PhysicylProcessor.mof /system\r\n"
        "          Tarvos /sq /ini=Tarvos.ini /backup";
    const std::string strText = "\nTarvos.exe Version 1.02\nCopyright (C) 2026 The Tarvos developers\n\n"
                                "Tarvos - WMI schema setup tool of the management agent\n\n" +
                                strResource;
    // Standard output is in text mode: every "\n" reaches the pipe as "\r\n", so the
    // summary's own CR LF line ends arrive as CR CR LF.
    std::string strExpected;
    for (char c : strText)
        strExpected += c == '\n' ? std::string("\r\n") : std::string(1, c);
    for (const char* szArgs : {"/?", "/cf /? /cm", "/DD /?"})
    {
        const auto run = RunTarvos(szArgs);
        EXPECT_EQ(0u, run.dwExitCode) << szArgs;
        EXPECT_EQ(strExpected, run.strStdout) << szArgs;
        EXPECT_EQ("nReturn=0 '0, EXITCODE_OK'", Only(run, "main", "Leave")) << szArgs;
    }
}

// The prefix's instance counters: a run takes its count back; beside a normal instance a second
// one is refused before its command line is read.
TEST(EntryPoint, NothingDoneTakesItsCountBackAndASecondNormalInstanceIsRefused)
{
    CSharedCounters counters(TarvosExe());
    ASSERT_TRUE(counters.IsMapped());
    ASSERT_EQ(0, counters.Inst());
    ASSERT_EQ(0, counters.SystemInst());
    const auto run = RunTarvos("");
    ASSERT_FALSE(run.bTimedOut);
    EXPECT_EQ(7u, run.dwExitCode);
    ExpectRecords(run,
                  {{"main", "Enter", "Tarvos called",
                    "bLocalSystem='false'\nargv[0]='" + TarvosExe() +
                        "'\nargv[1]='null'\nargv[2]='null'\nargv[3]='null'\ngg_nInst=0, gg_nSystemInst=0"},
                   {"main", "Leave", "", "nReturn=7 '7, EXITCODE_ERR_NOTHING_DONE'"},
                   {"main", "Internal", "BUILD INFORMATION", "Verbose NODEBUG; TIME=", true, true},
                   {"DoTheJob", "Leave", "", "", false, true}});
    EXPECT_TRUE(run.strStdout.empty());
    EXPECT_EQ(0, counters.Inst());
    EXPECT_EQ(0, counters.SystemInst());

    counters.Inst() = 1; // as if a normal instance were running
    const auto refused = RunTarvos("/cf /mof=a.mof");
    EXPECT_EQ(23u, refused.dwExitCode);
    ExpectRecords(refused, {{"main", "Exception", "Too many normal instances", "gg_nInst=2"},
                            {"WbemUtil::ParseCmdLine", "", "", "<0 records>"},
                            {"main", "Leave", "", "nReturn=23 '23, EXITCODE_ERR_GENERAL_ERROR'"}});
    EXPECT_TRUE(refused.Has("\ngg_nInst=1, gg_nSystemInst=0"));
    EXPECT_EQ(1, counters.Inst()) << "the refused run must take its count back";
    counters.Inst() = 0;
}
