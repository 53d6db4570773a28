// /CF end to end against the WMI emulator: the path the compiler is given, the directory the
// trace records are written in, and the version check's order and number format.
#include "CompileTestSupport.h"
#include "EmuWorld.h"
#include "TestKit.h"

#include <gtest/gtest.h>

using testkit::RunTarvos;
using testkit::SplitTabs;

namespace
{
const char kCompile[] = "CCompMof::CheckVersionAndCompile";

std::string AgentMof(const std::string& strVersion)
{
    return compiletest::ClassMof("Tvs_Step", "[Version(" + strVersion + ")]\n");
}

// Index of the first record of the method (and category) at or after nFrom; lines.size() when none.
size_t Find(const testkit::TarvosRun& run, const std::string& strMethod, const std::string& strCategory,
            size_t nFrom = 0)
{
    for (size_t i = nFrom; i < run.lines.size(); ++i)
    {
        const auto cols = SplitTabs(run.lines[i]);
        if (cols.size() > 6 && cols[4] + "::" + cols[5] == strMethod && cols[6] == strCategory)
        {
            return i;
        }
    }
    return run.lines.size();
}

class CompileStep : public ::testing::Test
{
protected:
    testkit::CEmuWorld m_world;
};
} // namespace

TEST_F(CompileStep, FolderWithCharactersOfTheAnsiCodePage)
{
    // "€" and "é": in code page 1252 "€" is 0x80, which a C-locale conversion makes U+0080.
    char szFolder[32] = "";
    BOOL bLossy = FALSE;
    WideCharToMultiByte(CP_ACP, 0, L"Tvs \u20AC\u00E9", -1, szFolder, sizeof(szFolder), nullptr, &bLossy);
    if (bLossy)
    {
        GTEST_SKIP() << "the ANSI code page has no euro sign";
    }
    const std::string strMof = m_world.WriteMof(std::string(szFolder) + "\\agent.mof", AgentMof("\"1.0\""));
    const auto run = RunTarvos("/cf \"/mof=" + strMof + "\"");
    EXPECT_EQ(0u, run.dwExitCode) << run.strTrace;
    EXPECT_EQ(1u, run.Records(kCompile, "Internal", "spMofCompiler->CompileFile succeeded").size());
    EXPECT_NE(std::string::npos, m_world.Dump("root\\TarvosTest").find("Tvs_Step"));
}

TEST_F(CompileStep, RelativeTraceFileFollowsTheCurrentDirectory)
{
    const std::string strMof = m_world.WriteMof("mof\\agent.mof", AgentMof("\"1.0\""));
    testkit::CScratchDir start;
    testkit::TarvosOptions options;
    options.strWorkDir = start.Path();
    options.strTraceFile = "cf.trc";
    const auto run = RunTarvos("/cf \"/mof=" + strMof + "\"", options);
    EXPECT_EQ(0u, run.dwExitCode);
    // Written while the MOF's folder is the current directory: the compile step's end and
    // its outcome. Everything from the job's Leave on is back in the starting directory.
    const auto inMofFolder = testkit::ReadTrace(m_world.Dir().File("mof\\cf.trc"));
    ASSERT_EQ(2u, inMofFolder.lines.size()) << inMofFolder.strTrace;
    const auto stepLeave = inMofFolder.Records("CMofCompiler::CompileInFolder", "Leave");
    ASSERT_EQ(1u, stepLeave.size());
    EXPECT_EQ("hRet 0x0", compiletest::Column(stepLeave[0], 8));
    EXPECT_EQ(1u, inMofFolder.Records(kCompile, "Internal", "spMofCompiler->CompileFile succeeded").size());
    const size_t nLeave = Find(run, kCompile, "Leave");
    ASSERT_LT(nLeave, run.lines.size());
    EXPECT_EQ(nLeave + 1, Find(run, "<global>::DoTheJob", "Leave"));
    EXPECT_EQ(1u, run.Records("CMofCompiler::CompileInFolder", "Enter").size());
}

TEST_F(CompileStep, VersionCheckLeavesBeforeItsAccessObjectIsReleased)
{
    m_world.Seed(AgentMof("\"1.0\""));
    const auto run = RunTarvos("/cf \"/mof=" + m_world.WriteMof("agent.mof", AgentMof("\"1.1\"")) + "\"");
    EXPECT_EQ(0u, run.dwExitCode);
    const size_t nEnter = Find(run, "CWmiWork::ClassVersionCheck", "Enter");
    const size_t nLeave = Find(run, "CWmiWork::ClassVersionCheck", "Leave");
    const size_t nRelease = Find(run, "CCWMIAccess::~CCWMIAccess", "Enter", nEnter);
    EXPECT_LT(nLeave, nRelease);
    EXPECT_LT(nRelease, run.lines.size());
}

TEST_F(CompileStep, RealVersionQualifierIgnoresTheUsersDecimalComma)
{
    // Installed Version(2.5) is a real number; the file's "2.5" is the same version.
    m_world.Seed(AgentMof("2.5"));
    const std::string strMof = m_world.WriteMof("agent.mof", AgentMof("\"2.5\""));
    testkit::TarvosRun run;
    {
        compiletest::CPrefixValue comma(HKEY_CURRENT_USER, "Control Panel\\International", "sDecimal", ",");
        run = RunTarvos("/cf \"/mof=" + strMof + "\"");
    }
    EXPECT_EQ(0u, run.dwExitCode);
    const auto leave = run.Records("CWmiWork::ClassVersionCheck", "Leave");
    ASSERT_EQ(1u, leave.size());
    EXPECT_EQ("ret=class definition exist and version information is identical",
              compiletest::Column(leave[0], 8));
    EXPECT_TRUE(run.Records(kCompile, "Internal", "spMofCompiler->CompileFile succeeded").empty());
}
