// /CF end to end against the WMI emulator: the version decision, the compilation and what
// the repository holds afterwards.
#include "EmuWorld.h"
#include "TestKit.h"

#include <gtest/gtest.h>

using testkit::RunTarvos;
using testkit::SplitTabs;

namespace
{
// A MOF of class Tvs_Agent in namespace root\TarvosTest with the given class qualifier list.
std::string AgentMof(const std::string& strQualifiers, const std::string& strExtraProperty = "")
{
    return "#pragma namespace(\"\\\\\\\\.\\\\root\")\n"
           "instance of __Namespace { Name = \"TarvosTest\"; };\n"
           "#pragma namespace(\"\\\\\\\\.\\\\root\\\\TarvosTest\")\n" +
           strQualifiers +
           "\nclass Tvs_Agent\n{\n    [key] string Name;\n    uint32 Level = 1;\n" + strExtraProperty +
           "};\n"
           "instance of Tvs_Agent { Name = \"agent\"; Level = 7; };\n";
}

// Put before AgentMof: WMI replaces the class that has instances only in force mode (its instances go,
// the file stores them again).
const std::string FORCE_UPDATE = "#pragma classflags(\"forceupdate\")\n";

std::string Message(const std::string& strRecord)
{
    const auto cols = SplitTabs(strRecord);
    return cols.size() >= 9 ? cols[8] : std::string();
}

class CompileVersion : public ::testing::Test
{
protected:
    testkit::CEmuWorld m_world;

    // Runs /CF on a MOF written into the world, with or without /FORCE.
    testkit::TarvosRun CompileFile(const std::string& strMofText, bool bForce = false)
    {
        const std::string strMof = m_world.WriteMof("agent.mof", strMofText);
        return RunTarvos("/cf \"/mof=" + strMof + "\"" + (bForce ? " /force" : ""));
    }
    std::string VersionCheckResult(const testkit::TarvosRun& run) const
    {
        const auto leave = run.Records("CWmiWork::ClassVersionCheck", "Leave");
        return leave.size() == 1 ? Message(leave[0]) : "<" + std::to_string(leave.size()) + " records>";
    }
    bool Compiled(const testkit::TarvosRun& run) const
    {
        return !run.Records("CCompMof::CheckVersionAndCompile", "Internal", "spMofCompiler->CompileFile succeeded")
                    .empty();
    }
    bool NotNewerMappedToOk(const testkit::TarvosRun& run) const
    {
        return run.dwExitCode == 0 &&
               run.Records("main", "Internal", "Changing EXITCODE_ERR_MOF_OLD_VERSION to EXITCODE_OK").size() == 1 &&
               run.Has("nReturn=18 '18, EXITCODE_ERR_MOF_OLD_VERSION'");
    }
};
} // namespace

TEST_F(CompileVersion, MissingNamespaceIsCompiled)
{
    const auto run = CompileFile(AgentMof("[Version(\"1.0\")]"));
    EXPECT_EQ(0u, run.dwExitCode);
    EXPECT_EQ("ret=namespace does not exist", VersionCheckResult(run));
    const auto missing = run.Records("CWmiWork::ClassVersionCheck", "Internal",
                                     "ConnectToNamespace failed, namespace does not exist");
    ASSERT_EQ(1u, missing.size());
    EXPECT_EQ("Info", SplitTabs(missing[0])[3]);
    EXPECT_TRUE(Compiled(run));
    EXPECT_NE(std::string::npos, m_world.Dump("root\\TarvosTest").find("Tvs_Agent"));
}

TEST_F(CompileVersion, RepositoryHoldsExactlyWhatTheMofDefines)
{
    const std::string strMof = AgentMof("[Version(\"1.0\"), Description(\"agent\")]", "    string Owner;\n");
    const auto run = CompileFile(strMof);
    ASSERT_EQ(0u, run.dwExitCode);
    const std::string strAfterTarvos = m_world.Dump("root");
    // The same text compiled straight into a fresh repository.
    testkit::CEmuWorld reference;
    reference.Seed(strMof);
    EXPECT_EQ(reference.Dump("root"), strAfterTarvos);
    EXPECT_NE(std::string::npos, strAfterTarvos.find("Owner"));
}

TEST_F(CompileVersion, MissingClassIsCompiled)
{
    m_world.Seed("#pragma namespace(\"\\\\\\\\.\\\\root\")\ninstance of __Namespace { Name = \"TarvosTest\"; };\n");
    const auto run = CompileFile(AgentMof("[Version(\"1.0\")]"));
    EXPECT_EQ(0u, run.dwExitCode);
    EXPECT_EQ("ret=class definition does not exist in WMI", VersionCheckResult(run));
    EXPECT_TRUE(Compiled(run));
}

TEST_F(CompileVersion, OlderInstalledVersionIsReplaced)
{
    m_world.Seed(AgentMof("[Version(\"1.0\")]"));
    const auto run = CompileFile(FORCE_UPDATE + AgentMof("[Version(\"1.1\")]", "    string Owner;\n"));
    EXPECT_EQ(0u, run.dwExitCode);
    EXPECT_EQ("ret=class definition exists in WMI, but version is older", VersionCheckResult(run));
    EXPECT_NE(std::string::npos, m_world.Dump("root\\TarvosTest").find("Owner"));
}

TEST_F(CompileVersion, InstalledClassWithoutVersionIsReplaced)
{
    m_world.Seed(AgentMof(""));
    const auto run = CompileFile(FORCE_UPDATE + AgentMof("[Version(\"1.0\")]", "    string Owner;\n"));
    EXPECT_EQ(0u, run.dwExitCode);
    EXPECT_EQ("ret=-3, qualifier 'version' not found", VersionCheckResult(run));
    EXPECT_EQ(1u, run.Records("CWmiWork::ClassVersionCheck", "Internal", "GetQualifier failed!").size());
    EXPECT_NE(std::string::npos, m_world.Dump("root\\TarvosTest").find("Owner"));
}

TEST_F(CompileVersion, EqualVersionIsKeptUnlessForced)
{
    m_world.Seed(AgentMof("[Version(\"2.0\")]"));
    const std::string strBefore = m_world.Dump("root");
    const auto kept = CompileFile(AgentMof("[Version(\"2\")]", "    string Owner;\n"));
    EXPECT_TRUE(NotNewerMappedToOk(kept));
    EXPECT_EQ("ret=class definition exist and version information is identical", VersionCheckResult(kept));
    EXPECT_FALSE(Compiled(kept));
    EXPECT_EQ(strBefore, m_world.Dump("root"));

    const auto forced = CompileFile(FORCE_UPDATE + AgentMof("[Version(\"2\")]", "    string Owner;\n"), true);
    EXPECT_EQ(0u, forced.dwExitCode);
    EXPECT_TRUE(Compiled(forced));
    EXPECT_NE(std::string::npos, m_world.Dump("root\\TarvosTest").find("Owner"));
}

TEST_F(CompileVersion, NewerInstalledVersionIsKeptEvenWhenForced)
{
    m_world.Seed(AgentMof("[Version(\"3.5\")]"));
    const std::string strBefore = m_world.Dump("root");
    for (bool bForce : {false, true})
    {
        const auto run = CompileFile(AgentMof("[Version(\"3.4\")]", "    string Owner;\n"), bForce);
        EXPECT_TRUE(NotNewerMappedToOk(run)) << bForce;
        EXPECT_EQ("ret=-1, class definition exists and installed version is newer", VersionCheckResult(run));
        EXPECT_FALSE(Compiled(run));
    }
    EXPECT_EQ(strBefore, m_world.Dump("root"));
}

TEST_F(CompileVersion, VersionsCompareAsNumbers)
{
    // 1.10 reads as 1.1, which is older than 1.9.
    m_world.Seed(AgentMof("[Version(\"1.10\")]"));
    const auto run = CompileFile(AgentMof("[Version(\"1.9\")]"));
    EXPECT_EQ(0u, run.dwExitCode);
    EXPECT_EQ("ret=class definition exists in WMI, but version is older", VersionCheckResult(run));
    EXPECT_TRUE(Compiled(run));
}

TEST_F(CompileVersion, MofWithoutVersionIsCompiledAfterAWarning)
{
    const auto run = CompileFile(AgentMof("[Description(\"plain\")]"));
    EXPECT_EQ(0u, run.dwExitCode);
    const auto warning = run.Records("CCompMof::CheckVersionAndCompile", "Internal",
                                     "mp.ClassVersionFind failed, maybe version missing");
    ASSERT_EQ(1u, warning.size());
    EXPECT_EQ("Warning", SplitTabs(warning[0])[3]);
    EXPECT_TRUE(run.Records("CWmiWork::ClassVersionCheck").empty());
    EXPECT_TRUE(Compiled(run));
}

TEST_F(CompileVersion, CompileErrorIsSeventeenAndStoresNothing)
{
    const std::string strBefore = m_world.Dump("root");
    const std::string strBroken = AgentMof("[Version(\"1.0\")]") + "instance of Tvs_Agent { Name = ; };\n";
    const auto run = CompileFile(strBroken);
    EXPECT_EQ(17u, run.dwExitCode);
    const auto failed = run.Records("CCompMof::CheckVersionAndCompile", "Internal", "Could not compile MOF");
    ASSERT_EQ(1u, failed.size());
    const std::string strMessage = Message(failed[0]);
    EXPECT_NE(std::string::npos, strMessage.find("\nname='" + m_world.Dir().File("agent.mof") + "'\nwrkdir='" +
                                                 m_world.Dir().Path() + "'\n"))
        << strMessage;
    EXPECT_NE(std::string::npos, strMessage.find("compile_status_info.lPhaseError = 2\n"));
    EXPECT_NE(std::string::npos, strMessage.find("compile_status_info.ObjectNum = 4\n")) << strMessage;
    EXPECT_NE(std::string::npos, strMessage.find("compile_status_info.FirstLine = 11\n")) << strMessage;
    EXPECT_EQ(strBefore, m_world.Dump("root"));
    EXPECT_TRUE(run.Has("nReturn=17 '17, EXITCODE_ERR_COMPILE_MOF'"));
}

TEST_F(CompileVersion, RelativeIncludesResolveInTheMofsDirectory)
{
    m_world.WriteMof("inc\\parts\\agent_class.mof", AgentMof("[Version(\"1.0\")]"));
    const std::string strMain = m_world.WriteMof(
        "inc\\main.mof", "#pragma include(\"parts\\\\agent_class.mof\")\n"
                         "#pragma namespace(\"\\\\\\\\.\\\\root\\\\TarvosTest\")\n"
                         "instance of Tvs_Agent { Name = \"second\"; Level = 2; };\n");
    // The compiler looks in the current directory first: a decoy there wins unless the
    // MOF's directory is the current one.
    testkit::CScratchDir elsewhere;
    CreateDirectoryA(elsewhere.File("parts").c_str(), nullptr);
    testkit::WriteBytes(elsewhere.File("parts\\agent_class.mof"),
                        AgentMof("[Version(\"1.0\")]", "    string Decoy;\n"));
    testkit::TarvosOptions options;
    options.strWorkDir = elsewhere.Path();
    const auto run = RunTarvos("/cf /mof=" + strMain, options);
    EXPECT_EQ(0u, run.dwExitCode) << run.strTrace;
    EXPECT_TRUE(Compiled(run));
    const std::string strDump = m_world.Dump("root\\TarvosTest");
    EXPECT_NE(std::string::npos, strDump.find("second"));
    EXPECT_NE(std::string::npos, strDump.find("agent"));
    EXPECT_EQ(std::string::npos, strDump.find("Decoy"));
}

TEST_F(CompileVersion, AccessDeniedConnectionIsAWmiConnectError)
{
    m_world.Seed(AgentMof("[Version(\"1.0\")]"));
    m_world.Fault("ConnectServer 0x80041003");
    const auto run = CompileFile(AgentMof("[Version(\"1.1\")]"));
    EXPECT_EQ(4u, run.dwExitCode);
    EXPECT_EQ("ret=-2, general error", VersionCheckResult(run));
    const auto failed = run.Records("CWmiWork::ClassVersionCheck", "Internal", "ConnectToNamespace failed!");
    ASSERT_EQ(1u, failed.size());
    EXPECT_EQ(0u, Message(failed[0]).rfind("hr=0x80041003 '", 0));
    EXPECT_FALSE(Compiled(run));
}

TEST_F(CompileVersion, NegativeCompileResultIsLoggedAsSuccess)
{
    m_world.Fault("CompileFile 0x80041001");
    const auto run = CompileFile(AgentMof("[Version(\"1.0\")]"));
    EXPECT_EQ(0u, run.dwExitCode);
    const auto done = run.Records("CCompMof::CheckVersionAndCompile", "Internal", "spMofCompiler->CompileFile succeeded");
    ASSERT_EQ(1u, done.size());
    EXPECT_EQ("hRes=0x80041001", Message(done[0]));
}

TEST_F(CompileVersion, UnreadableMofIsAParseFailure)
{
    const auto run = RunTarvos("/cf \"/mof=" + m_world.Dir().File("missing.mof") + "\"");
    EXPECT_EQ(19u, run.dwExitCode);
    EXPECT_EQ(1u, run.Records("CCompMof::CheckVersionAndCompile", "Internal", "mp.Parse failed").size());
}

TEST_F(CompileVersion, ScannerExceptionBecomesAParseFailure)
{
    // A "#pragma" with no "namespace" anywhere after it stops the scanner.
    const auto run = CompileFile("// nothing to see\n#pragma autorecover\nclass X { };\n");
    EXPECT_EQ(19u, run.dwExitCode);
    const auto caught = run.Records("DoTheJob", "Exception", "Exception caught");
    ASSERT_EQ(1u, caught.size());
    EXPECT_EQ(0u, Message(caught[0]).rfind("hr=0x80070057 '", 0));
    EXPECT_TRUE(run.Has("nReturn=19 '19, EXITCODE_ERR_MOF_PARSING_FAILED'"));
}

// An agent upgrade as Windows meets it: the installed class has instances and the newer MOF adds a
// property. Without "#pragma classflags("forceupdate")" WMI refuses the class in the storing phase
// (WBEM_E_CLASS_HAS_INSTANCES) and the repository keeps the installed version; with it the upgrade works.
TEST_F(CompileVersion, UpgradeOfAClassWithInstancesNeedsForceUpdate)
{
    m_world.Seed(AgentMof("[Version(\"1.0\")]"));
    const std::string strBefore = m_world.Dump("root");
    const std::string strNewer = AgentMof("[Version(\"1.1\")]", "    string Owner;\n");
    const auto refused = CompileFile(strNewer);
    EXPECT_EQ(17u, refused.dwExitCode);
    const auto failed = refused.Records("CCompMof::CheckVersionAndCompile", "Internal", "Could not compile MOF");
    ASSERT_EQ(1u, failed.size());
    const std::string strMessage = Message(failed[0]);
    EXPECT_NE(std::string::npos, strMessage.find("compile_status_info.lPhaseError = 3\n")) << strMessage;
    EXPECT_NE(std::string::npos, strMessage.find("compile_status_info.hRes = 80041026 '")) << strMessage;
    EXPECT_NE(std::string::npos, strMessage.find("compile_status_info.ObjectNum = 2\n")) << strMessage;
    EXPECT_EQ(strBefore, m_world.Dump("root"));

    const auto upgraded = CompileFile(FORCE_UPDATE + strNewer);
    EXPECT_EQ(0u, upgraded.dwExitCode);
    EXPECT_TRUE(Compiled(upgraded));
    const std::string strAfter = m_world.Dump("root\\TarvosTest");
    EXPECT_NE(std::string::npos, strAfter.find("property string Owner")) << strAfter;
    EXPECT_NE(std::string::npos, strAfter.find("value Level = 7")) << strAfter;
}
