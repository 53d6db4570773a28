// The cases that only the WMI emulator can set up: its fault switches, and a prefix whose MOF
// compiler can be unregistered (a Windows machine's registration is not a test's to remove).
#include "E2eSupport.h"

#include <gtest/gtest.h>

using e2e::ClassMof;
using e2e::Only;
using testkit::RunTarvos;

namespace
{
const char kCheck[] = "CWmiWork::ClassVersionCheck";
const char kCompile[] = "CCompMof::CheckVersionAndCompile";

std::string Agent(const char* szVersion)
{
    return ClassMof("Tvs_Agent", std::string("[Version(\"") + szVersion + "\")]\n");
}

class EmuOnly : public ::testing::Test
{
protected:
    testkit::CEmuWorld m_world;
    testkit::TarvosRun RunCf(const char* szVersion) const
    {
        return RunTarvos("/cf \"/mof=" + m_world.WriteMof("agent.mof", Agent(szVersion)) + "\"");
    }
};
} // namespace

TEST_F(EmuOnly, RefusedConnectionOfTheVersionCheckIsFour)
{
    m_world.Seed(Agent("1.0"));
    const std::string strBefore = m_world.Dump("root");
    m_world.Fault("ConnectServer 0x80041003");
    const auto run = RunCf("1.1");
    EXPECT_EQ(4u, run.dwExitCode);
    EXPECT_EQ("ret=-2, general error", Only(run, kCheck, "Leave"));
    EXPECT_EQ(
        0u,
        Only(run, kCheck, "Internal", "ConnectToNamespace failed!", true).rfind("Error hr=0x80041003 '", 0));
    EXPECT_TRUE(run.Records(kCompile, "Internal", "spMofCompiler->CompileFile succeeded").empty());
    EXPECT_EQ(strBefore, m_world.Dump("root"));
}

// A refused class read counts as a missing class: the file is compiled.
TEST_F(EmuOnly, RefusedClassReadOfTheVersionCheckCompiles)
{
    m_world.Seed(Agent("1.0"));
    m_world.Fault("GetObject 0x80041003 class=Tvs_Agent");
    const auto run = RunCf("1.1");
    EXPECT_EQ(0u, run.dwExitCode);
    EXPECT_EQ("ret=class definition does not exist in WMI", Only(run, kCheck, "Leave"));
    const std::string strRead =
        Only(run, kCheck, "Internal", "GetObject failed, class might not exist!", true);
    EXPECT_EQ(0u, strRead.rfind("Info hr=0x80041003 '", 0)) << strRead;
    EXPECT_EQ(1u, run.Records(kCompile, "Internal", "spMofCompiler->CompileFile succeeded").size());
}

TEST_F(EmuOnly, NegativeCompileResultIsLoggedAsSuccess)
{
    m_world.Fault("CompileFile 0x80041001");
    const auto run = RunCf("1.0");
    EXPECT_EQ(0u, run.dwExitCode);
    EXPECT_EQ("hRes=0x80041001", Only(run, kCompile, "Internal", "spMofCompiler->CompileFile succeeded"));
}

TEST_F(EmuOnly, UnregisteredCompilerIsSixteen)
{
    testkit::CScratchKey key("SOFTWARE\\TarvosTestMOF_Unregistered");
    key.SetString("path", m_world.WriteMof("agent.mof", ClassMof("Tvs_One")));
    const std::string strBefore = m_world.Dump("root");
    testkit::TarvosRun run;
    {
        testkit::CSavedValue unregistered(
            HKEY_LOCAL_MACHINE,
            "Software\\Classes\\CLSID\\{6DAF9757-2E37-11D2-AEC9-00C04FB68820}\\InprocServer32", nullptr,
            nullptr);
        ASSERT_TRUE(unregistered.Had());
        run = RunTarvos("/cm \"/key=" + key.SubKey() + "\"");
    }
    EXPECT_EQ(16u, run.dwExitCode);
    const std::string strFailed =
        Only(run, "CCompMof::CompileMOFsFromRegistry", "Internal", "Could not launch MofCompiler!", true);
    EXPECT_EQ(0u, strFailed.rfind("Error Error 0x80040154! '", 0)) << strFailed;
    EXPECT_EQ(strBefore, m_world.Dump("root"));
    // A failure HRESULT from the compiler is not a failed compilation: no group, and still 0. The
    // trace follows the current directory: the file was taken up in its own folder.
    m_world.Fault("CompileFile 0x80041001");
    testkit::CScratchDir start;
    const auto failed =
        RunTarvos("/cm \"/key=" + key.SubKey() + "\"", testkit::StartedIn(start.Path(), "cm.trc"));
    EXPECT_EQ(0u, failed.dwExitCode);
    EXPECT_FALSE(testkit::ReadTrace(m_world.Dir().File("cm.trc")).lines.empty());
    EXPECT_TRUE(failed.Records("", "", "Could not compile MOF %s!").empty());
}

// /DD /MOF: an instance deletion that WMI refuses is a warning, and the class still goes.
TEST_F(EmuOnly, RefusedInstanceDeletionIsAWarning)
{
    const std::string strMof =
        e2e::Ns("root\\TarvosTest") +
        "class Tv_Esc { [key] string Name; };\ninstance of Tv_Esc { Name = \"q\"; };\n";
    m_world.Seed(strMof);
    m_world.Fault("DeleteInstance 0x80041003 class=Tv_Esc");
    const auto run = RunTarvos("/dd \"/mof=" + m_world.WriteMof("x.mof", strMof) + "\"");
    EXPECT_EQ("Warning ns='\\\\.\\root\\TarvosTest' path='Tv_Esc.Name=\"q\"'",
              Only(run, "", "", "INSTANCE DELETION ERROR", true));
    EXPECT_EQ("Verbose ns='root\\TarvosTest' path='Tv_Esc'", Only(run, "", "", "CLASS DELETED", true));
}

// /SQ: the class write is refused; what was set before stays, the job stops with 22.
TEST_F(EmuOnly, RefusedQualifierWriteIsTwentyTwo)
{
    m_world.Seed(ClassMof("SampleClass", "[version(\"2.0\")]\n"));
    const std::string strBefore = m_world.Dump("root");
    m_world.Fault("PutClass 0x80041003 class=SampleClass");
    const std::string strIni =
        m_world.WriteMof("q.ini", "[Qualifier]\r\n1=root\\TarvosTest:SampleClass.version=1\r\n");
    const auto run = RunTarvos("/sq \"/ini=" + strIni + "\"");
    EXPECT_EQ(22u, run.dwExitCode);
    EXPECT_EQ("Error hr=0x80041003, The current user does not have permission to perform the action.",
              Only(run, "CWmiWork::QualifierSet", "Internal", "oAcc.SetQualifier failed!", true));
    EXPECT_EQ(strBefore, m_world.Dump("root"));
}
