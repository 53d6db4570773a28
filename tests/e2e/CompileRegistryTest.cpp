// /CM against the machine's WMI: which registered values are compiled and in which folder, the
// record group of a failed file, the job's result, and the repository afterwards.
#include "E2eSupport.h"

using namespace e2e;

namespace
{
const char kFunction[] = "CCompMof::CompileMOFsFromRegistry";
const char kParseFailure[] = "\nVerbose compile_status_info.lPhaseError = 1 'argument error'!\n"
                             "Verbose compile_status_info.hRes = 8004";

// Each failed file's record group as "level message" lines: the level-1 record and the five after it.
std::vector<std::string> FailureGroups(const TarvosRun& run)
{
    std::vector<std::string> groups;
    for (size_t i = 0; i < run.lines.size(); ++i)
    {
        if (Column(run.lines[i], 7) != "Could not compile MOF %s!")
            continue;
        std::string strGroup;
        for (size_t j = i; j < i + 6 && j < run.lines.size(); ++j)
        {
            const bool bOurs = Column(run.lines[j], 4) + "::" + Column(run.lines[j], 5) == kFunction &&
                               Column(run.lines[j], 6) == "Internal";
            strGroup += (bOurs ? Column(run.lines[j], 3) + " " : "<other> ") + Column(run.lines[j], 8) + "\n";
        }
        groups.push_back(strGroup);
    }
    return groups;
}

class CompileRegistry : public ::testing::Test
{
protected:
    CPortableWorld m_world;
    CScratchKey m_key{std::string("SOFTWARE\\TarvosTestMOF_") +
                      ::testing::UnitTest::GetInstance()->current_test_info()->name()};

    // The MOF list is only read.
    TarvosRun RunCm(const TarvosOptions& options = TarvosOptions()) const
    {
        const std::string strList = m_key.Text();
        TarvosRun run = RunTarvos("/cm \"/key=" + m_key.SubKey() + "\"", options);
        EXPECT_EQ(strList, m_key.Text());
        return run;
    }
};

} // namespace

TEST_F(CompileRegistry, OnlyNonEmptyStringValuesAreCompiled)
{
    const std::string strBefore = m_world.Dump("root");
    const auto none = RunCm();
    EXPECT_EQ(0u, none.dwExitCode);
    EXPECT_EQ("ret=0", Only(none, kFunction, "Leave"));
    EXPECT_EQ(strBefore, m_world.Dump("root"));

    const std::string strMof = m_world.WriteMof("agent.mof", ClassMof("Tvs_One"));
    m_world.WriteMof("expand.mof", ClassMof("Tvs_Expanded"));
    SetEnvironmentVariableA("TVS_MOFDIR", m_world.Dir().Path().c_str());
    m_key.SetDword("1_dword", 7);
    m_key.SetString("2_path", strMof);
    m_key.SetString("3_expand", "%TVS_MOFDIR%\\expand.mof", REG_EXPAND_SZ);
    m_key.SetString("4_empty", "");
    m_key.SetBinary("5_binary", m_world.WriteMof("binary.mof", ClassMof("Tvs_Binary")));
    m_key.SetString("6_multi", m_world.WriteMof("multi.mof", ClassMof("Tvs_Multi")) + '\0', REG_MULTI_SZ);
    const auto run = RunCm();
    SetEnvironmentVariableA("TVS_MOFDIR", nullptr);
    EXPECT_EQ(0u, run.dwExitCode);
    EXPECT_TRUE(FailureGroups(run).empty());
    const std::string strActual = m_world.Dump("root");
    EXPECT_EQ(m_world.DumpOf(ClassMof("Tvs_One")), strActual);
}

TEST_F(CompileRegistry, FailedFilesGiveOneGroupEachAndTheResultStaysZero)
{
    // A parse error on line 26 (0x1a), the third object of the file.
    std::string strBroken = ClassMof("Tvs_A");
    for (int nLine = 8; nLine < 26; ++nLine)
        strBroken += "// filler\n";
    const std::string strA = m_world.WriteMof("a.mof", strBroken + "instance of Tvs_A { Name = ; };\n");
    // A class the repository refuses to store (a new property for a class with instances) after a
    // namespace of its own, which stays.
    const std::string strSeed = ClassMof("Tvs_B") + "instance of Tvs_B { Name = \"b\"; };\n";
    m_world.Seed(strSeed);
    const std::string strB =
        m_world.WriteMof("b.mof", Ns("root\\TarvosTestStore") + Pragma("root\\TarvosTest") +
                                      "class Tvs_B\n{\n    [key] string Name;\n    uint32 N;\n};\n");
    // Files that cannot be read as MOF text: each is a parse error.
    CreateDirectoryA(m_world.Dir().File("folder.mof").c_str(), nullptr);
    const char kPicture[] = "\x89PNG\r\n\x1a\n\0\0\0\rIHDR\xff\xfe{";
    const std::vector<std::string> files = {
        strA,
        strB,
        m_world.Dir().File("missing.mof"),
        m_world.Dir().File("folder.mof"),
        m_world.WriteMof("picture.mof", std::string(kPicture, sizeof(kPicture) - 1)),
        m_world.Dir().File(std::string(270, 'x') + "\\agent.mof"),
        // 0 bytes: an empty MOF to the emulated compiler (see its README), nothing to report.
        m_world.WriteMof("empty.mof", ""),
        m_world.WriteMof("good.mof", ClassMof("Tvs_One")),
    };
    // Named a0, B1, c2, ...: the registry's order, not that of a case-sensitive sort.
    for (size_t i = 0; i < files.size(); ++i)
        m_key.SetString(
            (std::string(1, static_cast<char>((i % 2 ? 'A' : 'a') + i)) + std::to_string(i)).c_str(),
            files[i]);
    const auto run = RunCm();
    ASSERT_FALSE(run.bTimedOut);
    EXPECT_EQ(0u, run.dwExitCode);
    const auto groups = FailureGroups(run);
    ASSERT_EQ(6u, groups.size()) << run.strTrace;
    EXPECT_NE(std::string::npos, groups[0].find("!\nVerbose compile_status_info.ObjectNum = 3!\n"
                                                "Verbose compile_status_info.FirstLine = 1a!\n"
                                                "Verbose compile_status_info.LastLine = 1a!\n"))
        << groups[0];
    const std::string strStoreFailure = "\nVerbose compile_status_info.lPhaseError = 3 'error occurred while "
                                        "storing the data'!\nVerbose compile_status_info.hRes = 80041026!\n"
                                        "Verbose compile_status_info.ObjectNum = 2!\n";
    for (size_t i = 0; i < groups.size(); ++i)
    {
        const std::string strStart = "Error " + files[i] + (i == 1 ? strStoreFailure : kParseFailure);
        EXPECT_EQ(0u, groups[i].rfind(strStart, 0)) << groups[i];
        EXPECT_EQ(std::string::npos, groups[i].find("<other>")) << groups[i];
    }
    EXPECT_EQ("ret=0", Only(run, kFunction, "Leave"));
    EXPECT_TRUE(run.Has("nReturn=0 '"));
    // The refused class keeps its old definition and its instance.
    const std::string strActual = m_world.Dump("root");
    EXPECT_EQ(m_world.DumpOf(strSeed, ClassMof("Tvs_One") + Ns("root\\TarvosTestStore")), strActual);
}

TEST_F(CompileRegistry, KeyNameIsCompletedBelowLocalMachine)
{
    m_key.SetString("path", m_world.WriteMof("agent.mof", ClassMof("Tvs_One")));
    // A root name in /KEY= is taken as a sub-key of HKEY_LOCAL_MACHINE: a missing key, nothing
    // to do, and not a single record of the job.
    const auto rooted = RunTarvos("/cm \"/key=HKEY_LOCAL_MACHINE\\" + m_key.SubKey() + "\"");
    EXPECT_EQ(0u, rooted.dwExitCode);
    ExpectRecords(rooted,
                  {{kFunction, "", "", "<0 records>"}, {"CMofCompiler::Create", "", "", "<0 records>"}});
    EXPECT_TRUE(rooted.Has("nReturn=0 '"));

    CScratchKey defaultKey("SOFTWARE\\Brevane\\Vintrel\\Infrastructure\\MOF");
    const std::string strOther = m_world.WriteMof("other.mof", ClassMof("Tvs_Two"));
    defaultKey.SetString("other", strOther);
    const auto byDefault = RunTarvos("/cm");
    EXPECT_EQ(0u, byDefault.dwExitCode);
    const std::string strActual = m_world.Dump("root");
    EXPECT_EQ(m_world.DumpOf(ClassMof("Tvs_Two")), strActual);
}

TEST_F(CompileRegistry, PathWithoutFolderTakesTheExceptionRoute)
{
    const std::string strMof = m_world.WriteMof("agent.mof", ClassMof("Tvs_One"));
    m_key.SetString("a", strMof);
    m_key.SetString("b", "agent.mof");
    // The trace file follows the current directory, which agent.mof's folder stays.
    const auto run = RunCm(StartedIn("", "cm.trc"));
    EXPECT_EQ(19u, run.dwExitCode);
    const auto inMofDir = ReadTrace(m_world.Dir().File("cm.trc"));
    ExpectRecords(inMofDir, {{"DoTheJob", "Exception", "Exception caught", "hr=0x80070057 '", false, true},
                             {kFunction, "Leave", "", "<0 records>"}});
    EXPECT_NE(std::string::npos, m_world.Dump("root\\TarvosTest").find("Tvs_One"));
}

TEST_F(CompileRegistry, EachFileIsCompiledInItsOwnFolder)
{
    // Each main file includes "parts\inc.mof" of its own folder; the starting directory's decoy
    // wins when no folder is entered, A's part wins for B when only the first is.
    CScratchDir start;
    const std::string strDecoy = start.File("parts");
    CreateDirectoryA(strDecoy.c_str(), nullptr);
    WriteBytes(strDecoy + "\\inc.mof", ClassMof("Tvs_Decoy"));
    m_world.WriteMof("A\\parts\\inc.mof", ClassMof("Tvs_FromA"));
    m_world.WriteMof("B\\parts\\inc.mof", ClassMof("Tvs_FromB"));
    const std::string strInclude = "#pragma include(\"parts\\\\inc.mof\")\n";
    m_key.SetString("a", m_world.WriteMof("A\\main.mof", strInclude));
    m_key.SetString("b", m_world.WriteMof("B\\main.mof", strInclude));
    const auto run = RunCm(StartedIn(start.Path(), "cm.trc"));
    EXPECT_EQ(0u, run.dwExitCode);
    const std::string strActual = m_world.Dump("root");
    EXPECT_EQ(m_world.DumpOf(ClassMof("Tvs_FromA"), ClassMof("Tvs_FromB")), strActual);

    // The trace file follows the current directory: the job starts and ends in the starting
    // directory, and records were written while each file's folder was the current one.
    ExpectRecords(run, {{kFunction, "Enter", "", "", false, true}, {kFunction, "Leave", "", "ret=0"}});
    for (const char* szFolder : {"A\\cm.trc", "B\\cm.trc"})
    {
        const auto inFolder = ReadTrace(m_world.Dir().File(szFolder));
        EXPECT_FALSE(inFolder.lines.empty()) << szFolder;
        EXPECT_TRUE(inFolder.Records(kFunction).empty()) << szFolder;
    }
    EXPECT_TRUE(run.Has("nReturn=0 '"));
}
