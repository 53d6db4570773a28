// The cases that only the WMI emulator can set up: its fault switches, and a prefix whose MOF
// compiler can be unregistered (a Windows machine's registration is not a test's to remove).
#include "E2eSupport.h"

using namespace e2e;

namespace
{
const char kCompiled[] = "spMofCompiler->CompileFile succeeded";

class EmuOnly : public ::testing::Test
{
protected:
    CEmuWorld m_world;
};
} // namespace

// A version check or compilation that WMI refuses (or answers oddly) through a fault switch.
TEST_F(EmuOnly, RefusedCallsOfTheVersionCheckAndTheCompiler)
{
    const struct
    {
        const char *szSeed, *szFault, *szFile; // installed version (null: none), fault line, the file's
        DWORD dwExit;
        const char *szLeave, *szText, *szSeen; // the check's Leave, another record of it, "level message"
        const char* szCompiled;                // the "succeeded" record; "<0 records>": not compiled
    } cases[] = {
        {"1.0", "ConnectServer 0x80041003", "1.1", 4, "ret=-2, general error", "ConnectToNamespace failed!",
         "Error hr=0x80041003 '", "<0 records>"},
        // A refused class read counts as a missing class: the file is compiled.
        {"1.0", "GetObject 0x80041003 class=Tvs_Agent", "1.1", 0,
         "ret=class definition does not exist in WMI", "GetObject failed, class might not exist!",
         "Info hr=0x80041003 '", "hRes=0x0"},
        // A negative compile result is logged as success.
        {nullptr, "CompileFile 0x80041001", "1.0", 0, "ret=namespace does not exist",
         "ConnectToNamespace failed, namespace does not exist", "Info hr=0x8004100E", "hRes=0x80041001"},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.szFault);
        m_world.Reset();
        if (c.szSeed)
            m_world.Seed(VersionedAgent(c.szSeed));
        const std::string strBefore = m_world.Dump("root");
        m_world.Fault(c.szFault);
        const auto run =
            RunTarvos("/cf \"/mof=" + m_world.WriteMof("agent.mof", VersionedAgent(c.szFile)) + "\"");
        EXPECT_EQ(c.dwExit, run.dwExitCode);
        ExpectRecords(run, {{kCheck, "Leave", "", c.szLeave},
                            {kCheck, "Internal", c.szText, c.szSeen, true, true},
                            {kCompile, "Internal", kCompiled, c.szCompiled}});
        if (c.dwExit != 0)
        {
            EXPECT_EQ(strBefore, m_world.Dump("root"));
        }
    }
}

TEST_F(EmuOnly, UnregisteredCompilerIsSixteen)
{
    CScratchKey key("SOFTWARE\\TarvosTestMOF_Unregistered");
    key.SetString("path", m_world.WriteMof("agent.mof", ClassMof("Tvs_One")));
    const std::string strBefore = m_world.Dump("root");
    TarvosRun run;
    {
        CSavedValue unregistered(
            HKEY_LOCAL_MACHINE,
            "Software\\Classes\\CLSID\\{6DAF9757-2E37-11D2-AEC9-00C04FB68820}\\InprocServer32", nullptr,
            nullptr);
        ASSERT_TRUE(unregistered.Had());
        run = RunTarvos("/cm \"/key=" + key.SubKey() + "\"");
    }
    EXPECT_EQ(16u, run.dwExitCode);
    ExpectRecords(run, {{"CCompMof::CompileMOFsFromRegistry", "Internal", "Could not launch MofCompiler!",
                         "Error Error 0x80040154! '", true, true}});
    EXPECT_EQ(strBefore, m_world.Dump("root"));
    // A failure HRESULT from the compiler is not a failed compilation: no group, and still 0. The
    // trace follows the current directory: the file was taken up in its own folder.
    m_world.Fault("CompileFile 0x80041001");
    CScratchDir start;
    const auto failed = RunTarvos("/cm \"/key=" + key.SubKey() + "\"", StartedIn(start.Path(), "cm.trc"));
    EXPECT_EQ(0u, failed.dwExitCode);
    EXPECT_FALSE(ReadTrace(m_world.Dir().File("cm.trc")).lines.empty());
    EXPECT_TRUE(failed.Records("", "", "Could not compile MOF %s!").empty());
}

// /DD /MOF: an instance deletion that WMI refuses is a warning, and the class still goes.
TEST_F(EmuOnly, RefusedInstanceDeletionIsAWarning)
{
    const std::string strMof = Ns("root\\TarvosTest") + "class Tv_Esc { [key] string Name; };\n"
                                                        "instance of Tv_Esc { Name = \"q\"; };\n";
    m_world.Seed(strMof);
    m_world.Fault("DeleteInstance 0x80041003 class=Tv_Esc");
    const auto run = RunTarvos("/dd \"/mof=" + m_world.WriteMof("x.mof", strMof) + "\"");
    ExpectRecords(run, {{"", "", "INSTANCE DELETION ERROR",
                         "Warning ns='\\\\.\\root\\TarvosTest' path='Tv_Esc.Name=\"q\"'", true},
                        {"", "", "CLASS DELETED", "Verbose ns='root\\TarvosTest' path='Tv_Esc'", true}});
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
