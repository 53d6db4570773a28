// /SQ end to end against the WMI emulator: qualifiers set from an INI file, the backup file,
// and the whole repository compared before and after every run.
#include "EmuWorld.h"
#include "TestKit.h"

#include <gtest/gtest.h>

using testkit::RunTarvos;
using testkit::SplitTabs;

namespace
{
const char kNs[] = "root\\VT_Eventing";

// SampleClass has a subclass and instances of both; TypedClass one qualifier per type case.
const char kSeedMof[] =
    "#pragma namespace(\"\\\\\\\\.\\\\root\")\n"
    "instance of __Namespace { Name = \"VT_Eventing\"; };\n"
    "#pragma namespace(\"\\\\\\\\.\\\\root\\\\VT_Eventing\")\n"
    "[version(\"2.0\"), Description(\"sample\")]\n"
    "class SampleClass { [key] string Name; };\n"
    "class SampleChild : SampleClass { uint32 Extra; };\n"
    "instance of SampleClass { Name = \"one\"; };\n"
    "instance of SampleChild { Name = \"two\"; Extra = 2; };\n"
    "[I1(7), I2(7), I3(7), I4(7), I5(7), I6(7), S1(\"plain\"), S2(\"plain\"), S3(\"plain\"), S4(\"plain\"),\n"
    " S5(\"plain\"), B1(true), R1(1.5), A1({\"a\", \"b\"})]\n"
    "class TypedClass { [key] string Id; };\n"
    "[version(\"1.0\")]\n"
    "class OtherClass { [key] string Id; };\n";

// The dump with the qualifier line of one class replaced by "qualifier <name> <rest>".
std::string WithQualifier(const std::string& strDump, const std::string& strClass, const std::string& strName,
                          const std::string& strRest)
{
    const std::string strClassLine = "class " + std::string(kNs) + " " + strClass + "\n";
    size_t nPos = strDump.find(strClassLine);
    if (nPos == std::string::npos)
    {
        return "<no class " + strClass + ">";
    }
    const std::string strQualLine = "\n  qualifier " + strName + " ";
    nPos = strDump.find(strQualLine, nPos + strClassLine.size() - 1);
    const size_t nEnd = nPos == std::string::npos ? nPos : strDump.find('\n', nPos + 1);
    if (nEnd == std::string::npos || strDump.find("\nclass ", nPos) < nPos)
    {
        return "<no qualifier " + strName + ">";
    }
    return strDump.substr(0, nPos) + strQualLine + strRest + strDump.substr(nEnd);
}

std::string Message(const std::string& strRecord)
{
    const auto cols = SplitTabs(strRecord);
    return cols.size() >= 9 ? cols[8] : std::string();
}

class SetQualifiersJob : public ::testing::Test
{
protected:
    testkit::CEmuWorld m_world;
    std::string m_strBefore;

    void SetUp() override
    {
        m_world.Seed(kSeedMof);
        m_strBefore = m_world.Dump("root");
        ASSERT_NE(std::string::npos, m_strBefore.find("qualifier B1 "));
    }
    // An INI file whose lines follow "[Qualifier]"; returns its full path.
    std::string WriteIni(const std::string& strName, const std::vector<std::string>& lines,
                         const std::string& strSection = "[Qualifier]") const
    {
        std::string strText = strSection + "\r\n";
        for (const std::string& strLine : lines)
        {
            strText += strLine + "\r\n";
        }
        return m_world.WriteMof(strName, strText);
    }
    testkit::TarvosRun RunSq(const std::string& strIni, bool bBackup = false) const
    {
        return RunTarvos("/sq \"/ini=" + strIni + "\"" + (bBackup ? " /backup" : ""));
    }
    // The [Qualifier] section as its "key=value" lines.
    static std::vector<std::string> Section(const std::string& strIni)
    {
        std::vector<char> buffer(1 << 20);
        const DWORD dwLen = GetPrivateProfileSectionA("Qualifier", buffer.data(),
                                                      static_cast<DWORD>(buffer.size()), strIni.c_str());
        std::vector<std::string> lines;
        for (DWORD n = 0; n < dwLen; n += static_cast<DWORD>(lines.back().size()) + 1)
        {
            lines.emplace_back(buffer.data() + n);
        }
        return lines;
    }
};
} // namespace

TEST_F(SetQualifiersJob, BackupRestoresTheFormerValueOnAClassWithInstancesAndSubclasses)
{
    const std::string strIni = WriteIni("cfg.d\\quals.ini", {"1=root\\VT_Eventing:SampleClass.version=2.1"});
    const std::string strBackup = m_world.Dir().File("cfg.d\\quals_backup.ini");
    ASSERT_TRUE(testkit::WriteBytes(strBackup, ""));
    const auto run = RunSq(strIni, true);
    EXPECT_EQ(0u, run.dwExitCode);
    EXPECT_TRUE(run.Has("szIni='" + strIni + "', szIniBackup='" + strBackup + "'"));
    // Only the named qualifier changes; the subclass and both instances stay.
    EXPECT_EQ(WithQualifier(m_strBefore, "SampleClass", "version", "flavor=0x0 = \"2.1\""),
              m_world.Dump("root"));
    EXPECT_EQ(std::vector<std::string>{"1=root\\VT_Eventing:SampleClass.version=\"2.0\""},
              Section(strBackup));

    const auto restore = RunSq(strBackup);
    EXPECT_EQ(0u, restore.dwExitCode);
    EXPECT_EQ(WithQualifier(m_strBefore, "SampleClass", "version", "flavor=0x0 = \"2.0\""),
              m_world.Dump("root"));
}

TEST_F(SetQualifiersJob, EachTypeIsReadByTheQualifierAsItStandsAndKeepsItsType)
{
    struct Row
    {
        const char* szQualifier;
        std::string strValue;
        std::string strStored; // the dump's text after "flavor=0x0 = "
        const char* szOld;     // the backup's text after "="
    };
    const std::string strLong(65536, 'x');
    const Row rows[] = {
        {"I1", "12abc", "12", "7"},
        {"I2", "-5", "-5", "7"},
        {"I3", "99999999999", "2147483647", "7"},
        {"I4", "-99999999999", "-2147483648", "7"},
        {"I5", "abc", "0", "7"},
        {"I6", "", "0", "7"},
        {"S1", "\"quoted\"", "\"quoted\"", "\"plain\""},
        {"S2", "in\"side", "\"in\\\"side\"", "\"plain\""},
        {"S3", "", "\"\"", "\"plain\""},
        {"S4", strLong, "\"" + strLong + "\"", "\"plain\""},
        {"S5", "2.1=x", "\"2.1=x\"", "\"plain\""},
        {"B1", "true", "false", ""},
        {"R1", "7", "0.0", ""},
        {"A1", "c", "{}", ""},
    };
    std::vector<std::string> lines;
    std::vector<std::string> backup;
    std::string strExpected = m_strBefore;
    for (const Row& row : rows)
    {
        // Backslashes around the namespace are dropped.
        const std::string strKey = std::to_string(lines.size() + 1) + "=";
        const std::string strPath = (lines.size() % 2 ? "\\\\root\\VT_Eventing\\:" : "root\\VT_Eventing:") +
                                    std::string("TypedClass.") + row.szQualifier;
        lines.push_back(strKey + strPath + "=" + row.strValue);
        backup.push_back(strKey + strPath + "=" + row.szOld);
        strExpected =
            WithQualifier(strExpected, "TypedClass", row.szQualifier, "flavor=0x0 = " + row.strStored);
    }
    const std::string strIni = WriteIni("types.ini", lines);
    const std::string strBackup = m_world.Dir().File("types_backup.ini");
    ASSERT_TRUE(testkit::WriteBytes(strBackup, ""));
    const auto run = RunSq(strIni, true);
    EXPECT_EQ(0u, run.dwExitCode);
    EXPECT_EQ(strExpected, m_world.Dump("root"));
    EXPECT_EQ(backup, Section(strBackup));
}

TEST_F(SetQualifiersJob, ListEndsAtTheFirstMissingKeyAndSkipsEntriesWithoutSeparator)
{
    const std::string strIni =
        WriteIni("gaps.ini", {"1=root\\VT_Eventing:SampleClass.Description=first", "2=no separator here",
                              "3==root\\VT_Eventing:SampleClass.version=9",
                              "4=root\\VT_Eventing:TypedClass.I1=4", "6=root\\VT_Eventing:TypedClass.I2=6"});
    const auto run = RunSq(strIni);
    EXPECT_EQ(0u, run.dwExitCode);
    const std::string strExpected =
        WithQualifier(WithQualifier(m_strBefore, "SampleClass", "Description", "flavor=0x0 = \"first\""),
                      "TypedClass", "I1", "flavor=0x0 = 4");
    EXPECT_EQ(strExpected, m_world.Dump("root"));
    const auto skipped = run.Records("SetQualifiers", "Internal", "Separator '=' not found");
    ASSERT_EQ(2u, skipped.size());
    EXPECT_EQ("Warning", SplitTabs(skipped[0])[3]);
    EXPECT_EQ("key=2, value='no separator here'", Message(skipped[0]));
    EXPECT_EQ(2u, run.Records("CWmiWork::QualifierSet", "Leave").size());
}

TEST_F(SetQualifiersJob, FirstFailingEntryStopsWith22AndKeepsWhatWasSet)
{
    struct Row
    {
        const char* szEntry;
        const char* szFault;
        const char* szMessage;
        const char* szDetail; // a fragment of the trace that the failure must leave
    };
    const Row rows[] = {
        {"root\\Nowhere:SampleClass.version=1", "", "Could not connect to namespaceh",
         "ns=root\\Nowhere, hr=0x8004100e"},
        {"root\\VT_Eventing:NoClass.version=1", "", "oAcc.GetQualifier failed!", "hr=0x80041002"},
        {"root\\VT_Eventing:SampleClass.NoQual=1", "", "oAcc.GetQualifier failed!", "hr=0x80041002"},
        {"root\\VT_Eventing:OtherClass.version=3", "PutClass 0x80041003 class=OtherClass",
         "oAcc.SetQualifier failed!", "hr=0x80041003"},
        {"root\\VT_Eventing.SampleClass.version=1", "", "Namespace separator not found in path", ""},
        {":SampleClass.version=1", "", "Namespace separator not found in path", ""},
        {"root\\VT_Eventing:SampleClass=1", "", "Qualifier separator not found in path", ""},
        {"root\\VT_Eventing:.version=1", "", "Qualifier separator not found in path", ""},
        {"root\\VT_Eventing:Odd.SampleClass.version=1", "", "oAcc.GetQualifier failed!",
         "szClassName: Odd.SampleClass, szQualifierName: version,"},
    };
    const std::string strBackup = m_world.Dir().File("fail_backup.ini");
    for (const Row& row : rows)
    {
        SCOPED_TRACE(row.szEntry);
        m_world.Tool("reset");
        m_world.Tool("fault clear");
        m_world.Seed(kSeedMof);
        if (*row.szFault != '\0')
        {
            m_world.Fault(row.szFault);
        }
        ASSERT_TRUE(testkit::WriteBytes(strBackup, ""));
        const std::string strIni =
            WriteIni("fail.ini", {"1=root\\VT_Eventing:TypedClass.S1=set", std::string("2=") + row.szEntry,
                                  "3=root\\VT_Eventing:TypedClass.S2=never"});
        const auto run = RunSq(strIni, true);
        EXPECT_EQ(22u, run.dwExitCode);
        EXPECT_EQ(WithQualifier(m_strBefore, "TypedClass", "S1", "flavor=0x0 = \"set\""),
                  m_world.Dump("root"));
        EXPECT_EQ(std::vector<std::string>{"1=root\\VT_Eventing:TypedClass.S1=\"plain\""},
                  Section(strBackup));
        const auto failed = run.Records("CWmiWork::QualifierSet", "Internal", row.szMessage);
        ASSERT_EQ(1u, failed.size());
        EXPECT_EQ("Error", SplitTabs(failed[0])[3]);
        EXPECT_TRUE(run.Has(row.szDetail));
        const std::string strEntry = std::string(row.szEntry);
        const size_t nEqual = strEntry.find('=');
        EXPECT_EQ(1u, run.Records("SetQualifiers", "Internal", "CWmiWork::QualifierSet failed").size());
        EXPECT_TRUE(run.Has("path='" + strEntry.substr(0, nEqual) + "', value='" +
                            strEntry.substr(nEqual + 1) + "'"));
    }
}

TEST_F(SetQualifiersJob, MissingFilesAndSectionChangeNothing)
{
    const std::string strEntry = "1=root\\VT_Eventing:SampleClass.version=3.0";
    const std::string strNoBackup = WriteIni("nobackup", {strEntry});
    struct Row
    {
        std::string strIni;
        bool bBackup;
        DWORD dwExit;
        const char* szMessage;
    };
    const Row rows[] = {
        {m_world.Dir().File("missing.ini"), false, 3, "oWmi.OpenIni failed"},
        {strNoBackup, true, 3, "oIniBa.OpenIni failed"},
        {WriteIni("other.ini", {strEntry}, "[Qualifiers]"), true, 0, nullptr},
    };
    ASSERT_TRUE(testkit::WriteBytes(m_world.Dir().File("other_backup.ini"), ""));
    for (const Row& row : rows)
    {
        SCOPED_TRACE(row.strIni);
        const auto run = RunSq(row.strIni, row.bBackup);
        EXPECT_EQ(row.dwExit, run.dwExitCode);
        EXPECT_EQ(m_strBefore, m_world.Dump("root"));
        EXPECT_TRUE(run.Records("CWmiWork::QualifierSet").empty());
        if (row.szMessage != nullptr)
        {
            const auto failed = run.Records("SetQualifiers", "Internal", row.szMessage);
            ASSERT_EQ(1u, failed.size());
            EXPECT_EQ("Error", SplitTabs(failed[0])[3]);
        }
    }
    // The backup name of a file without extension ends in "_backup"; it is not created.
    EXPECT_TRUE(testkit::FileExists(strNoBackup));
    EXPECT_FALSE(testkit::FileExists(strNoBackup + "_backup"));
    ASSERT_TRUE(testkit::WriteBytes(strNoBackup + "_backup", ""));
    EXPECT_EQ(0u, RunSq(strNoBackup, true).dwExitCode);
    EXPECT_EQ(std::vector<std::string>{"1=root\\VT_Eventing:SampleClass.version=\"2.0\""},
              Section(strNoBackup + "_backup"));
}
