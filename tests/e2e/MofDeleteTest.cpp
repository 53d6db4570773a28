// /DD /MOF against the machine's WMI: what a MOF file installed goes, all else stays, and the file
// leaves the autorecover list.
#include "E2eSupport.h"

using namespace e2e;

namespace
{
const char kCimom[] = "SOFTWARE\\Microsoft\\WBEM\\CIMOM";
const char kAutoRecover[] = "Autorecover MOFs";
const std::string kNsDel = Pragma("root\\TarvosTestDel");

// Keys of every kind, a class the deletion keeps (lower-case first letter), a second pragma.
const std::string kAgentMof = "#pragma autorecover\n" + Ns("root\\TarvosTestDel") +
                              "class Tv_Keys { [KEY] string Name; [Key] uint32 Id; string Note; };\n"
                              "class Tv_Default { [key] string Name = \"dflt\"; uint32 N; };\n"
                              "class Tv_Ref { [key] Tv_Keys ref Target; };\n"
                              "class tv_lower { [key] string Name; };\n"
                              "instance of Tv_Keys as $K { Name = \"a\"; Id = 7; Note = \"n\"; };\n"
                              "instance of Tv_Default { N = 1; };\n"
                              "instance of Tv_Ref { Target = $K; };\n"
                              "instance of tv_lower { Name = \"q\\\"uo\\\\te\"; };\n" +
                              kNsDel +
                              "class Tv_Esc { [key] string Name; };\n"
                              "instance of Tv_Esc { Name = \"q\\\"uo\\\\te\"; };\n";

// What is not the MOF's: a class of the same name in another namespace with its instance.
const std::string kOtherMof = Ns("root\\TarvosTestOther") +
                              "class Tv_Keys { [key] string Name; [key] uint32 Id; };\n"
                              "instance of Tv_Keys { Name = \"a\"; Id = 7; };\n";
const std::string kLeftMof = Ns("root\\TarvosTestDel") + "class tv_lower { [key] string Name; };\n"
                                                         "instance of tv_lower { Name = \"kept\"; };\n";

// The list as "type:bytes", "<none>" when it is missing.
std::string List(const std::string& strBytes, DWORD dwType = REG_MULTI_SZ)
{
    return strBytes == "<none>" ? strBytes : std::to_string(dwType) + ":" + strBytes;
}
std::string AutoRecover()
{
    DWORD dwType = 0;
    const std::string strBytes = RegBytes(HKEY_LOCAL_MACHINE, kCimom, kAutoRecover, &dwType);
    return List(strBytes, dwType);
}
void AutoRecoverSet(const std::string& strBytes, DWORD dwType = REG_MULTI_SZ)
{
    SetRegBytes(HKEY_LOCAL_MACHINE, kCimom, kAutoRecover, strBytes, dwType);
}

class MofDelete : public ::testing::Test
{
protected:
    CPortableWorld m_world;
    CSavedValue m_list{HKEY_LOCAL_MACHINE, kCimom, kAutoRecover};
    std::string m_strMof = m_world.WriteMof("agent.mof", kAgentMof);

    void SetUp() override { AutoRecoverSet(MultiSz({"C:\\other.mof"})); }
    TarvosRun Delete(const std::string& strMof, const std::string& strMore = "")
    {
        return RunTarvos("/dd \"/mof=" + strMof + "\"" + strMore);
    }
};
} // namespace

TEST_F(MofDelete, WhatTheMofInstalledGoesAndAllElseStays)
{
    const std::string strLeft = m_world.DumpOf(kOtherMof, kLeftMof);
    m_world.DumpOf(kOtherMof);
    ASSERT_EQ(0u, RunTarvos("/cf \"/mof=" + m_strMof + "\"").dwExitCode);
    m_world.Seed(kNsDel + "instance of tv_lower { Name = \"kept\"; };\n");
    ASSERT_NE(std::string::npos, AutoRecover().find("agent.mof"));
    // The scanner also finds a nameless class in a comment and a system class: both are passed over.
    // A namespace instance in any letter case stays.
    const auto run = Delete(m_world.WriteMof(
        "agent.mof", "/* Base class: {see docs} */\n" + kAgentMof + "class __SystemClass\n{\n};\n" +
                         Pragma("root") + "instance of __NAMESPACE { Name = \"TarvosTestDel\"; };\n"));
    EXPECT_EQ(0u, run.dwExitCode) << run.strTrace;
    EXPECT_EQ(strLeft, m_world.Dump("root"));
    // Each path as WMI names it: keys in the class's order, quotes and backslashes escaped.
    const std::string strIn = "Verbose ns='\\\\.\\root\\TarvosTestDel' path='";
    EXPECT_EQ((std::vector<std::string>{
                  strIn + "Tv_Keys.Name=\"a\",Id=7'", strIn + "Tv_Default.Name=\"dflt\"'",
                  strIn + "Tv_Ref.Target=\"\\\\\\\\.\\\\root\\\\TarvosTestDel:Tv_Keys.Name=\\\"a\\\",Id=7\"'",
                  strIn + "tv_lower.Name=\"q\\\"uo\\\\te\"'", strIn + "Tv_Esc.Name=\"q\\\"uo\\\\te\"'"}),
              Messages(run, "INSTANCE DELETED"));
    const std::string strClass = "Verbose ns='root\\TarvosTestDel' path='Tv_";
    EXPECT_EQ((std::vector<std::string>{strClass + "Keys'", strClass + "Default'", strClass + "Ref'",
                                        strClass + "Esc'"}),
              Messages(run, "CLASS DELETED"));
    EXPECT_EQ((std::vector<std::string>{"Info name='tv_lower'", "Info name='__SystemClass'"}),
              Messages(run, "Skipping deletion of system class"));
    EXPECT_EQ(1u, Messages(run, "Throwing exception because a class has no name").size());
    EXPECT_EQ(std::vector<std::string>{"Verbose [1]='" + m_strMof + "'"},
              Messages(run, "Removing entry from AUTORECOVER value"));
    EXPECT_EQ(List(MultiSz({"C:\\other.mof"})), AutoRecover());

    // Twice: nothing left to find, and still done; only the kept class can be asked for its instance.
    const auto again = Delete(m_strMof);
    EXPECT_EQ(0u, again.dwExitCode);
    EXPECT_EQ("Info ns='\\\\.\\root\\TarvosTestDel' path='tv_lower.Name=\"q\\\"uo\\\\te\"'",
              Only(again, "", "", "Instance not found", true));
    EXPECT_EQ(4u, Messages(again, "CWmiWork::PropNamesAndTypesGet returned WBEM_E_NOT_FOUND").size());
    EXPECT_EQ(4u, Messages(again, "CLASS NOT FOUND").size());
    EXPECT_EQ(strLeft, m_world.Dump("root"));
}

TEST_F(MofDelete, FilesThatCannotBeUndoneChangeNothing)
{
    ASSERT_EQ(0u, RunTarvos("/cf \"/mof=" + m_strMof + "\"").dwExitCode);
    const std::string strBefore = m_world.Dump("root");
    struct Case
    {
        const char* szName;
        std::string strText;
        DWORD dwExit;
        const char* szText;
    } cases[] = {
        {"utf16.mof", std::string("\xFF\xFE#\0", 4), 19, "DELETING, mp.Parse failed"},
        // The failed path stops the job before any class is deleted.
        {"nokey.mof", kNsDel + "instance of Tv_Keys { Name = \"a\"; };\nclass Tv_Keys { };\n", 19,
         "Key property not found and no default value set"},
        {"nopragma.mof", "class Tv_Keys { };\ninstance of Tv_Keys { Name = \"a\"; Id = 7; };\n", 0,
         "Did not find namespace for instance"},
        {"empty.mof", "", 0, "Method DoDeleteFromAutoRecoverList has been left."},
        {"notinstalled.mof",
         kNsDel + "class Tv_None { [key] string N; };\ninstance of Tv_None { N = \"x\"; };\n", 0,
         "CWmiWork::PropNamesAndTypesGet returned WBEM_E_NOT_FOUND"},
        {"nons.mof", Pragma("root\\TarvosTestNone") + "instance of Tv_Keys { Name = \"a\"; };\n", 19,
         "CWmiWork::PropNamesAndTypesGet failed"},
        {"nonsclass.mof", Pragma("root\\TarvosTestNone") + "class Tv_Keys { };\n", 0,
         "CLASS DELETION FAILED"},
    };
    for (const Case& c : cases)
    {
        SCOPED_TRACE(c.szName);
        const std::string strFile = m_world.WriteMof(c.szName, c.strText);
        AutoRecoverSet(MultiSz({"C:\\other.mof", strFile}));
        const auto run = Delete(strFile);
        EXPECT_EQ(c.dwExit, run.dwExitCode);
        EXPECT_EQ(List(c.dwExit ? MultiSz({"C:\\other.mof", strFile}) : MultiSz({"C:\\other.mof"})),
                  AutoRecover());
        EXPECT_TRUE(run.Has(c.szText)) << run.strTrace;
        EXPECT_EQ(strBefore, m_world.Dump("root"));
    }
    // With an INI file named as well only the MOF route runs: a missing INI file would give 3.
    const auto both =
        Delete(m_world.WriteMof("empty.mof", ""), " \"/ini=" + m_world.Dir().File("none.ini") + "\"");
    EXPECT_EQ(0u, both.dwExitCode);
    EXPECT_EQ(1u, both.Records("DoDeleteFromAutoRecoverList", "Leave").size());
}

TEST_F(MofDelete, AutoRecoverListLosesEveryEntryOfTheFileName)
{
    const std::string strGone = m_world.DumpOf(Ns("root\\TarvosTestDel"));
    const std::string strMof = m_world.WriteMof("x.mof", kNsDel + "class Tv_Gone { };\n");
    struct Case
    {
        std::string strBefore;
        DWORD dwType, dwExit;
        std::string strAfter; // "<same>": byte for byte what it was
    } cases[] = {
        // First: the classes go before the missing value fails the job.
        {"<none>", REG_MULTI_SZ, 19, "<none>"},
        {MultiSz({"C:\\A\\x.mof", "u.mof", "D:\\B\\X.MOF", "C:\\A\\x.mof.bak", "x.mof", "v"}), REG_MULTI_SZ,
         0, MultiSz({"u.mof", "C:\\A\\x.mof.bak", "v"})},
        {MultiSz({"C:\\A\\y.mof", "xx.mof"}), REG_MULTI_SZ, 0, "<same>"},
        {std::string("\0\0", 2), REG_MULTI_SZ, 0, "<same>"},
        {MultiSz({"D:\\B\\X.MOF"}), REG_MULTI_SZ, 0, std::string(1, '\0')},
        {std::string("C:\\x.mof\0\0", 10), REG_SZ, 19, "<same>"},
        {std::string("C:\\x.mof\0", 9), REG_MULTI_SZ, 19, "<same>"},
        {std::string(1, '\0'), REG_MULTI_SZ, 19, "<same>"},
    };
    for (const Case& c : cases)
    {
        SCOPED_TRACE(c.strBefore);
        m_world.DumpOf(Ns("root\\TarvosTestDel") + "class Tv_Gone { [key] string N; };\n");
        AutoRecoverSet(c.strBefore, c.dwType);
        const auto run = Delete(strMof);
        EXPECT_EQ(c.dwExit, run.dwExitCode);
        EXPECT_EQ(c.strAfter == "<same>" ? List(c.strBefore, c.dwType) : List(c.strAfter), AutoRecover());
        EXPECT_EQ(
            c.dwExit == 0 ? 0u : 1u,
            run.Records("DoDeleteFromAutoRecoverList", "Internal", "Could not get autorecover value").size());
        EXPECT_EQ(strGone, m_world.Dump("root"));
    }
}
