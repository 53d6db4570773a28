// /DD /MOF end to end against the WMI emulator: what a MOF file installed is removed, all
// else in the repository stays, and the file leaves the autorecover list.
#include "EmuWorld.h"
#include "TestKit.h"

#include <gtest/gtest.h>

#include <cstring>
#include <initializer_list>

using testkit::RunTarvos;
using testkit::SplitTabs;

namespace
{
const char kCimom[] = "SOFTWARE\\Microsoft\\WBEM\\CIMOM";
const char kAutoRecover[] = "Autorecover MOFs";
const std::string kNsRoot = "#pragma namespace(\"\\\\\\\\.\\\\root\")\n";
const std::string kNsDel = "#pragma namespace(\"\\\\\\\\.\\\\root\\\\TvDel\")\n";

// What the tests' MOF installs in root\TvDel: keys of every kind, a class that the deletion
// keeps (lower-case first letter), a second namespace pragma for the same namespace.
const std::string kAgentMof = "#pragma autorecover\n" + kNsRoot +
                              "instance of __Namespace { Name = \"TvDel\"; };\n" + kNsDel +
                              "class Tv_Keys { [key] string Name; [key] uint32 Id; string Note; };\n"
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

// Everything that is not the MOF's: another namespace, a class of root\cimv2, and an instance
// of the kept class that the MOF does not create.
const std::string kOtherMof = kNsRoot + "instance of __Namespace { Name = \"TvKeep\"; };\n"
                                        "#pragma namespace(\"\\\\\\\\.\\\\root\\\\TvKeep\")\n"
                                        "class Tv_Keys { [key] string Name; [key] uint32 Id; };\n"
                                        "instance of Tv_Keys { Name = \"a\"; Id = 7; };\n"
                                        "#pragma namespace(\"\\\\\\\\.\\\\root\\\\cimv2\")\n"
                                        "class Tv_Keys { [key] string Name; [key] uint32 Id; };\n"
                                        "instance of Tv_Keys { Name = \"a\"; Id = 7; };\n";
const std::string kLeftMof = kNsRoot + "instance of __Namespace { Name = \"TvDel\"; };\n" + kNsDel +
                             "class tv_lower { [key] string Name; };\n"
                             "instance of tv_lower { Name = \"kept\"; };\n";

// The autorecover value of the prefix's registry: read, set and removed as raw bytes.
bool AutoRecoverRead(std::string& strBytes, DWORD& dwType)
{
    HKEY hKey = nullptr;
    if (RegOpenKeyExA(HKEY_LOCAL_MACHINE, kCimom, 0, KEY_READ, &hKey) != ERROR_SUCCESS)
        return false;
    BYTE buffer[4096];
    DWORD cbData = sizeof(buffer);
    const LONG lResult = RegQueryValueExA(hKey, kAutoRecover, nullptr, &dwType, buffer, &cbData);
    RegCloseKey(hKey);
    if (lResult != ERROR_SUCCESS)
        return false;
    strBytes.assign(reinterpret_cast<const char*>(buffer), cbData);
    return true;
}

void AutoRecoverSet(const std::string& strBytes, DWORD dwType = REG_MULTI_SZ)
{
    HKEY hKey = nullptr;
    ASSERT_EQ(ERROR_SUCCESS, RegCreateKeyExA(HKEY_LOCAL_MACHINE, kCimom, 0, nullptr, 0, KEY_ALL_ACCESS,
                                             nullptr, &hKey, nullptr));
    if (strBytes == "<none>")
        RegDeleteValueA(hKey, kAutoRecover);
    else
        EXPECT_EQ(ERROR_SUCCESS, RegSetValueExA(hKey, kAutoRecover, 0, dwType,
                                                reinterpret_cast<const BYTE*>(strBytes.data()),
                                                static_cast<DWORD>(strBytes.size())));
    RegCloseKey(hKey);
}

std::string Bytes(const char* sz, size_t n)
{
    return std::string(sz, n);
}

// REG_MULTI_SZ data: each string with its NUL, one more NUL at the end.
std::string MultiSz(std::initializer_list<const char*> list)
{
    std::string str;
    for (const char* sz : list)
        str.append(sz, strlen(sz) + 1);
    return str + '\0';
}

class MofDelete : public ::testing::Test
{
protected:
    testkit::CEmuWorld m_world;
    std::string m_strMof = m_world.WriteMof("agent.mof", kAgentMof);

    void SetUp() override { AutoRecoverSet(MultiSz({"C:\\other.mof"})); }
    testkit::TarvosRun Delete(const std::string& strMof, unsigned nLevel = 6)
    {
        testkit::TarvosOptions options;
        options.nTraceLevel = nLevel;
        return RunTarvos("/dd \"/mof=" + strMof + "\"", options);
    }
    // The messages of the records of DoDeleteInstances/DoDeleteNonSystemClasses with one text.
    std::vector<std::string> Messages(const testkit::TarvosRun& run, const std::string& strText) const
    {
        std::vector<std::string> messages;
        for (const std::string& strRecord : run.lines)
        {
            const auto cols = SplitTabs(strRecord);
            if (cols.size() >= 9 && cols[7] == strText)
                messages.push_back(cols[3] + " " + cols[8]);
        }
        return messages;
    }
};
} // namespace

TEST_F(MofDelete, WhatTheMofInstalledGoesAndAllElseStays)
{
    m_world.Seed(kOtherMof);
    ASSERT_EQ(0u, RunTarvos("/cf \"/mof=" + m_strMof + "\"").dwExitCode);
    m_world.Seed(kNsDel + "instance of tv_lower { Name = \"kept\"; };\n");
    // The list as the compile left it, with the MOF's own entry added by the emulator.
    std::string strList;
    DWORD dwType = 0;
    ASSERT_TRUE(AutoRecoverRead(strList, dwType));
    ASSERT_NE(std::string::npos, strList.find("agent.mof"));
    // The scanner also finds a system class in the text: it is passed over.
    const auto run = Delete(m_world.WriteMof("agent.mof", kAgentMof + "class __SystemClass\n{\n};\n"));
    EXPECT_EQ(0u, run.dwExitCode) << run.strTrace;

    testkit::CEmuWorld reference;
    reference.Seed(kOtherMof);
    reference.Seed(kLeftMof);
    EXPECT_EQ(reference.Dump("root"), m_world.Dump("root"));

    const std::vector<std::string> deleted = {
        "Verbose ns='\\\\.\\root\\TvDel' path='Tv_Keys.Name=\"a\",Id=7'",
        "Verbose ns='\\\\.\\root\\TvDel' path='Tv_Default.Name=\"dflt\"'",
        "Verbose ns='\\\\.\\root\\TvDel' "
        "path='Tv_Ref.Target=\"\\\\\\\\.\\\\root\\\\TvDel:Tv_Keys.Name=\\\"a\\\",Id=7\"'",
        "Verbose ns='\\\\.\\root\\TvDel' path='tv_lower.Name=\"q\\\"uo\\\\te\"'",
        "Verbose ns='\\\\.\\root\\TvDel' path='Tv_Esc.Name=\"q\\\"uo\\\\te\"'"};
    EXPECT_EQ(deleted, Messages(run, "INSTANCE DELETED"));
    EXPECT_EQ((std::vector<std::string>{
                  "Verbose ns='root\\TvDel' path='Tv_Keys'", "Verbose ns='root\\TvDel' path='Tv_Default'",
                  "Verbose ns='root\\TvDel' path='Tv_Ref'", "Verbose ns='root\\TvDel' path='Tv_Esc'"}),
              Messages(run, "CLASS DELETED"));
    EXPECT_EQ((std::vector<std::string>{"Info name='tv_lower'", "Info name='__SystemClass'"}),
              Messages(run, "Skipping deletion of system class"));
    EXPECT_EQ(1u, Messages(run, "Removing entry from AUTORECOVER value").size());
    ASSERT_TRUE(AutoRecoverRead(strList, dwType));
    EXPECT_EQ(MultiSz({"C:\\other.mof"}), strList);

    // Twice: nothing left to find, and still done. Only the kept class can be asked for its
    // instance; the other classes are gone.
    const auto again = Delete(m_strMof);
    EXPECT_EQ(0u, again.dwExitCode);
    EXPECT_EQ(
        (std::vector<std::string>{"Info ns='\\\\.\\root\\TvDel' path='tv_lower.Name=\"q\\\"uo\\\\te\"'"}),
        Messages(again, "Instance not found"));
    EXPECT_EQ(4u, Messages(again, "CWmiWork::PropNamesAndTypesGet returned WBEM_E_NOT_FOUND").size());
    EXPECT_EQ(4u, Messages(again, "CLASS NOT FOUND").size());
    EXPECT_EQ(reference.Dump("root"), m_world.Dump("root"));
}

TEST_F(MofDelete, KeyWithoutValueOrDefaultStopsBeforeAnyClass)
{
    ASSERT_EQ(0u, RunTarvos("/cf \"/mof=" + m_strMof + "\"").dwExitCode);
    const std::string strBefore = m_world.Dump("root");
    const auto run = Delete(m_world.WriteMof(
        "nokey.mof", kNsDel + "instance of Tv_Keys { Name = \"a\"; };\n" + "class Tv_Keys { };\n"));
    EXPECT_EQ(19u, run.dwExitCode);
    EXPECT_EQ(1u, run.Records("CWmiWork::InstancePathCreate", "Internal",
                              "Key property not found and no default value set")
                      .size());
    EXPECT_EQ(1u, run.Records("DoDeleteInstances", "Internal", "CWmiWork::InstancePathCreate failed").size());
    EXPECT_TRUE(run.Records("DoDeleteNonSystemClasses").empty());
    EXPECT_EQ(strBefore, m_world.Dump("root"));
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
        const char* szText; // a record the run writes
    } cases[] = {
        {"utf16.mof", Bytes("\xFF\xFE#\0", 4), 19, "DELETING, mp.Parse failed"},
        {"nopragma.mof", "class Tv_Keys { };\ninstance of Tv_Keys { Name = \"a\"; Id = 7; };\n", 0,
         "Did not find namespace for instance"},
        {"empty.mof", "", 0, "Method DoDeleteFromAutoRecoverList has been left."},
        {"notinstalled.mof",
         kNsDel + "class Tv_None { [key] string N; };\ninstance of Tv_None { N = \"x\"; };\n", 0,
         "CWmiWork::PropNamesAndTypesGet returned WBEM_E_NOT_FOUND"},
        {"nons.mof",
         "#pragma namespace(\"\\\\\\\\.\\\\root\\\\TvNone\")\ninstance of Tv_Keys { Name = \"a\"; };\n", 19,
         "CWmiWork::PropNamesAndTypesGet failed"},
        {"nonsclass.mof", "#pragma namespace(\"\\\\\\\\.\\\\root\\\\TvNone\")\nclass Tv_Keys { };\n", 0,
         "CLASS DELETION FAILED"},
    };
    for (const Case& c : cases)
    {
        const auto run = Delete(m_world.WriteMof(c.szName, c.strText));
        EXPECT_EQ(c.dwExit, run.dwExitCode) << c.szName;
        EXPECT_TRUE(run.Has(c.szText)) << c.szName << "\n" << run.strTrace;
        EXPECT_EQ(strBefore, m_world.Dump("root")) << c.szName;
    }
}

TEST_F(MofDelete, AutoRecoverListLosesEveryEntryOfTheFileName)
{
    m_world.Seed(kNsRoot + "instance of __Namespace { Name = \"TvDel\"; };\n" + kNsDel +
                 "class Tv_Gone { [key] string N; };\n");
    const std::string strMof = m_world.WriteMof("x.mof", kNsDel + "class Tv_Gone { };\n");
    struct Case
    {
        std::string strBefore;
        DWORD dwType;
        DWORD dwExit;
        std::string strAfter; // "<same>": byte for byte what it was
    } cases[] = {
        // First: the classes go before the missing value fails the job.
        {"<none>", REG_MULTI_SZ, 19, "<none>"},
        {MultiSz({"C:\\A\\x.mof", "u.mof", "D:\\B\\X.MOF", "C:\\A\\x.mof.bak", "x.mof", "v"}), REG_MULTI_SZ,
         0, MultiSz({"u.mof", "C:\\A\\x.mof.bak", "v"})},
        {MultiSz({"C:\\A\\y.mof", "xx.mof"}), REG_MULTI_SZ, 0, "<same>"},
        {Bytes("\0\0", 2), REG_MULTI_SZ, 0, "<same>"},
        {MultiSz({"D:\\B\\X.MOF"}), REG_MULTI_SZ, 0, Bytes("\0", 1)},
        {Bytes("C:\\x.mof\0", 9), REG_SZ, 19, "<same>"},
        {Bytes("C:\\x.mof\0", 9), REG_MULTI_SZ, 19, "<same>"},
        {Bytes("\0", 1), REG_MULTI_SZ, 19, "<same>"},
    };
    for (const Case& c : cases)
    {
        AutoRecoverSet(c.strBefore, c.dwType);
        const auto run = Delete(strMof);
        EXPECT_EQ(c.dwExit, run.dwExitCode) << c.strBefore;
        std::string strAfter = "<none>";
        DWORD dwType = 0;
        AutoRecoverRead(strAfter, dwType);
        EXPECT_EQ(c.strAfter == "<same>" ? c.strBefore : c.strAfter, strAfter) << c.strBefore;
        EXPECT_EQ(
            c.dwExit == 0 ? 0u : 1u,
            run.Records("DoDeleteFromAutoRecoverList", "Internal", "Could not get autorecover value").size());
        EXPECT_EQ(std::string::npos, m_world.Dump("root").find("Tv_Gone"));
    }
}
