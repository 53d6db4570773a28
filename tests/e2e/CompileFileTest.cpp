// /CF against the machine's WMI: the version decision, the compilation, the repository afterwards,
// the path the compiler is given and the current directory.
#include "E2eSupport.h"

using namespace e2e;

namespace
{
const char kOlder[] = "ret=class definition exists in WMI, but version is older";
const char kEqual[] = "ret=class definition exist and version information is identical";
const char kNewer[] = "ret=-1, class definition exists and installed version is newer";

// Class Tvs_Agent in root\TarvosTest with the given class qualifiers, and one instance.
std::string AgentMof(const std::string& strQualifiers, const std::string& strExtraProperty = "")
{
    return Ns("root\\TarvosTest") + strQualifiers +
           "\nclass Tvs_Agent\n{\n    [key] string Name;\n    uint32 Level = 1;\n" + strExtraProperty +
           "};\n"
           "instance of Tvs_Agent { Name = \"agent\"; Level = 7; };\n";
}
std::string Agent(const std::string& strVersion, const std::string& strExtraProperty = "")
{
    return AgentMof("[Version(\"" + strVersion + "\")]", strExtraProperty);
}
const std::string kOwner = "    string Owner;\n";

// WMI replaces a class that has instances only in force mode (the file stores them again).
const std::string FORCE_UPDATE = "#pragma classflags(\"forceupdate\")\n";

class CompileFile : public ::testing::Test
{
protected:
    CPortableWorld m_world;

    TarvosRun RunCf(const std::string& strMofText, bool bForce = false)
    {
        const std::string strMof = m_world.WriteMof("agent.mof", strMofText);
        return RunTarvos("/cf \"/mof=" + strMof + "\"" + (bForce ? " /force" : ""));
    }
    static bool Compiled(const TarvosRun& run)
    {
        return !run.Records(kCompile, "Internal", "spMofCompiler->CompileFile succeeded").empty();
    }
};
} // namespace

// Each decision of the version check, the exit code, and the whole repository afterwards: what
// the file defines on top of what was there when it is compiled, else what was there.
TEST_F(CompileFile, VersionDecidesWhetherTheFileIsCompiled)
{
    struct Case
    {
        const char* szName;
        std::string strSeed; // MOF in the repository before the run
        std::string strMof;  // the file
        bool bForce;
        const char* szResult; // the version check's Leave message; "": the check does not run
        bool bCompiled;
        const char* szText = ""; // another record of the run...
        const char* szSeen = ""; // ...as "level message", a prefix
        DWORD dwExit = 0;
        std::vector<std::string> fragments = {}; // of the "Could not compile MOF" record's message
    };
    const std::vector<std::string> parseError = {"compile_status_info.lPhaseError = 1\n",
                                                 "compile_status_info.ObjectNum = 4\n",
                                                 "compile_status_info.FirstLine = 11\n"};
    const std::vector<std::string> storeError = {
        "compile_status_info.lPhaseError = 3\n", "compile_status_info.hRes = 80041026 '",
        "compile_status_info.ObjectNum = 2\n",
        "compile_status_info.FirstLine = 4\ncompile_status_info.LastLine = 10"};
    const Case cases[] = {
        {"missing namespace", "", AgentMof("[Version(\"1.0\"), Description(\"agent\")]", kOwner), false,
         "ret=namespace does not exist", true, "ConnectToNamespace failed, namespace does not exist",
         "Info hr=0x8004100E"},
        {"missing class", Ns("root\\TarvosTest"), Agent("1.0"), false,
         "ret=class definition does not exist in WMI", true},
        {"older installed", Agent("1.0"), FORCE_UPDATE + Agent("1.1", kOwner), false, kOlder, true},
        // 1.10 reads as 1.1, which is older than 1.9.
        {"versions compare as numbers", Agent("1.10"), Agent("1.9"), false, kOlder, true},
        {"installed version without a number", Agent("beta"), FORCE_UPDATE + Agent("1.0", kOwner), false,
         kOlder, true},
        {"installed without version", AgentMof(""), FORCE_UPDATE + Agent("1.0", kOwner), false,
         "ret=-3, qualifier 'version' not found", true, "GetQualifier failed!", "Error "},
        {"equal", Agent("2.0"), Agent("2", kOwner), false, kEqual, false},
        {"equal, forced", Agent("2.0"), FORCE_UPDATE + Agent("2", kOwner), true, kEqual, true},
        {"newer installed", Agent("3.5"), Agent("3.4", kOwner), false, kNewer, false},
        {"newer installed, forced", Agent("3.5"), Agent("3.4", kOwner), true, kNewer, false},
        {"file without version", "", AgentMof("[Description(\"plain\")]"), false, "", true,
         "mp.ClassVersionFind failed, maybe version missing", "Warning "},
        // A file that does not compile is 17 and stores nothing: a parse error, and an upgrade of a
        // class with instances without "forceupdate" (WBEM_E_CLASS_HAS_INSTANCES when storing).
        {"parse error", "", Agent("1.0") + "instance of Tvs_Agent { Name = ; };\n", false,
         "ret=namespace does not exist", false, "", "", 17, parseError},
        {"store error", Agent("1.0"), Agent("1.1", kOwner), false, kOlder, false, "", "", 17, storeError},
    };
    for (const Case& c : cases)
    {
        SCOPED_TRACE(c.szName);
        const std::string strExpected = m_world.DumpOf(c.strSeed, c.bCompiled ? c.strMof : "");
        m_world.DumpOf(c.strSeed);
        const auto run = RunCf(c.strMof, c.bForce);
        EXPECT_EQ(c.dwExit, run.dwExitCode);
        EXPECT_EQ(*c.szResult == '\0', run.Records(kCheck).empty());
        EXPECT_EQ(*c.szResult != '\0' ? c.szResult : "<0 records>", Only(run, kCheck, "Leave"));
        // The check leaves before its access object is released.
        EXPECT_LE(Find(run, kCheck, "Leave"),
                  Find(run, "CCWMIAccess::~CCWMIAccess", "Enter", Find(run, kCheck, "Enter")));
        EXPECT_EQ(c.bCompiled, Compiled(run));
        const bool bNotNewer = c.dwExit == 0 && !c.bCompiled;
        EXPECT_EQ(bNotNewer ? 1u : 0u, OldVersionForgiven(run));
        EXPECT_EQ(bNotNewer, run.Has("nReturn=18 '18, EXITCODE_ERR_MOF_OLD_VERSION'"));
        EXPECT_EQ(c.dwExit == 17, run.Has("nReturn=17 '17, EXITCODE_ERR_COMPILE_MOF'"));
        const std::string strFailed = Only(run, kCompile, "Internal", "Could not compile MOF");
        for (const std::string& strFragment : c.fragments)
            EXPECT_NE(std::string::npos, strFailed.find(strFragment)) << strFailed;
        const std::string strFolders =
            "\nname='" + m_world.Dir().File("agent.mof") + "'\nwrkdir='" + m_world.Dir().Path();
        EXPECT_EQ(!c.fragments.empty(), strFailed.find(strFolders + "'\n") != std::string::npos);
        if (*c.szText != '\0')
            ExpectRecords(
                run, {{*c.szResult != '\0' ? kCheck : kCompile, "Internal", c.szText, c.szSeen, true, true}});
        EXPECT_EQ(strExpected, m_world.Dump("root"));
    }
}

TEST_F(CompileFile, UnreadableOrUnscannableMofIsAParseFailure)
{
    const auto missing = RunTarvos("/cf \"/mof=" + m_world.Dir().File("missing.mof") + "\"");
    EXPECT_EQ(19u, missing.dwExitCode);
    ExpectRecords(missing, {{kCompile, "Internal", "mp.Parse failed", "", false, true}});
    // A "#pragma" with no "namespace" anywhere after it stops the scanner.
    const auto run = RunCf("// nothing to see\n#pragma autorecover\nclass X { };\n");
    EXPECT_EQ(19u, run.dwExitCode);
    ExpectRecords(run, {{"DoTheJob", "Exception", "Exception caught", "hr=0x80070057 '", false, true},
                        {"DoTheJob", "Leave", "", "nReturn=19 '19, EXITCODE_ERR_MOF_PARSING_FAILED'"}});
}

TEST_F(CompileFile, MofsFolderIsTheCurrentDirectoryEvenWithAnsiCharacters)
{
    // "€" and "é": in code page 1252 "€" is 0x80, which a C-locale conversion makes U+0080.
    char szFolder[32] = "";
    BOOL bLossy = FALSE;
    WideCharToMultiByte(CP_ACP, 0, L"Tvs \u20AC\u00E9", -1, szFolder, sizeof(szFolder), nullptr, &bLossy);
    const std::string strFolder = bLossy ? "mof" : szFolder;
    // The compiler looks for an include in the current directory first: the starting directory's
    // decoy wins unless the MOF's folder is the current one.
    m_world.WriteMof(strFolder + "\\parts\\step.mof", Agent("1.0"));
    const std::string strSecond = Pragma("root\\TarvosTest") + "instance of Tvs_Agent { Name = \"two\"; };\n";
    const std::string strMof =
        m_world.WriteMof(strFolder + "\\agent.mof", "#pragma include(\"parts\\\\step.mof\")\n" + strSecond);
    CScratchDir start;
    CreateDirectoryA(start.File("parts").c_str(), nullptr);
    WriteBytes(start.File("parts\\step.mof"), ClassMof("Tvs_Decoy"));
    // The trace file follows the current directory.
    const auto run = RunTarvos("/cf \"/mof=" + strMof + "\"", StartedIn(start.Path(), "cf.trc"));
    EXPECT_EQ(0u, run.dwExitCode) << run.strTrace;
    const std::string strActual = m_world.Dump("root");
    EXPECT_EQ(m_world.DumpOf(Agent("1.0") + strSecond), strActual);
    // The compile's outcome is written in the MOF's folder; from the job's Leave on, the starting
    // directory again.
    EXPECT_TRUE(Compiled(ReadTrace(m_world.Dir().File(strFolder + "\\cf.trc"))));
    const size_t nLeave = Find(run, kCompile, "Leave");
    ASSERT_LT(nLeave, run.lines.size());
    EXPECT_EQ(nLeave + 1, Find(run, "<global>::DoTheJob", "Leave"));
}

// Installed Version(2.5) is a real number; the file's "2.5" is the same version.
TEST_F(CompileFile, RealVersionQualifierIgnoresTheUsersDecimalComma)
{
    m_world.Seed(AgentMof("[Version(2.5)]"));
    const std::string strMof = m_world.WriteMof("agent.mof", Agent("2.5"));
    TarvosRun run;
    {
        CSavedValue comma(HKEY_CURRENT_USER, "Control Panel\\International", "sDecimal", ",");
        run = RunTarvos("/cf \"/mof=" + strMof + "\"");
    }
    EXPECT_EQ(0u, run.dwExitCode);
    EXPECT_EQ(kEqual, Only(run, kCheck, "Leave"));
    EXPECT_FALSE(Compiled(run));
}

// As LocalSystem through the temporary service: the job is done there and its code comes back.
TEST_F(CompileFile, SystemRunsTheJobInTheService)
{
    if (RunsUnderWine())
        GTEST_SKIP() << "Wine runs no process as LocalSystem (TempService.* prove the service side there)";
    const std::string strExpected = m_world.DumpOf(Agent("1.0"));
    m_world.Reset();
    const auto run = RunTarvos("/cf \"/mof=" + m_world.WriteMof("agent.mof", Agent("1.0")) + "\" /system");
    EXPECT_EQ(0u, run.dwExitCode) << run.strTrace;
    EXPECT_EQ(1u, run.Records("CCTempService::WaitForServiceEnd", "Leave").size());
    EXPECT_EQ(strExpected, m_world.Dump("root"));
}
