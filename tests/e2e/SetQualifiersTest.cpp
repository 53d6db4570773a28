// /SQ end to end against the machine's WMI: qualifiers set from an INI file, the backup file,
// and the whole repository compared before and after every run.
#include "E2eSupport.h"

using namespace e2e;

namespace
{
// SampleClass has a subclass and instances of both; TypedClass one qualifier per type case.
const std::string kSeedMof =
    Ns("root\\TarvosTestEventing") +
    "[version(\"2.0\")] class SampleClass { [key] string Name; };\n"
    "class SampleChild : SampleClass { uint32 Extra; };\n"
    "instance of SampleClass { Name = \"one\"; };\n"
    "instance of SampleChild { Name = \"two\"; Extra = 2; };\n"
    "[I1(7), I2(7), I3(7), I4(7), I5(7), S1(\"plain\"), S2(\"plain\"), S3(\"plain\"),\n"
    " S4(\"plain\"), B1(true), R1(1.5), A1({\"a\"})] class TypedClass { [key] string Id; };\n";

// The dump with one qualifier line of a class of root\TarvosTestEventing set to flavor 0 and strValue.
std::string WithQualifier(const std::string& strDump, const std::string& strClass, const std::string& strQual,
                          const std::string& strValue)
{
    const size_t nClass = strDump.find("class root\\TarvosTestEventing " + strClass + "\n");
    const size_t nPos = strDump.find("\n  qualifier " + strQual + " ", nClass);
    if (nClass == std::string::npos || nPos == std::string::npos)
        return "<no " + strClass + "." + strQual + ">";
    return strDump.substr(0, nPos) + "\n  qualifier " + strQual + " flavor=0x0 = " + strValue +
           strDump.substr(strDump.find('\n', nPos + 1));
}

// An INI file's text: the section and each line, ended by CR LF.
std::string Ini(const std::vector<std::string>& lines, const std::string& strSection = "[Qualifier]")
{
    std::string strText = strSection + "\r\n";
    for (const std::string& strLine : lines)
        strText += strLine + "\r\n";
    return strText;
}

class SetQualifiersJob : public ::testing::Test
{
protected:
    CPortableWorld m_world;
    std::string m_strBefore;

    void SetUp() override
    {
        m_world.Seed(kSeedMof);
        m_strBefore = m_world.Dump("root");
    }
    // Writes "[Qualifier]" (or strSection) and the lines; with bBackup an empty backup file too.
    std::string WriteIni(const std::string& strName, const std::vector<std::string>& lines,
                         bool bBackup = false, const std::string& strSection = "[Qualifier]") const
    {
        if (bBackup)
            m_world.WriteMof(strName.substr(0, strName.rfind('.')) + "_backup.ini", "");
        return m_world.WriteMof(strName, Ini(lines, strSection));
    }
    // No file of the folder changes but the INI's own backup, and that one only with /backup.
    TarvosRun RunSq(const std::string& strIni, bool bBackup = false) const
    {
        const size_t nDot = strIni.rfind('.');
        const std::string strBackup = nDot == std::string::npos || nDot < strIni.rfind('\\')
                                          ? strIni + "_backup"
                                          : strIni.substr(0, nDot) + "_backup" + strIni.substr(nDot);
        const std::string strFiles = FolderText(m_world.Dir().Path(), bBackup ? strBackup : "");
        const auto run = RunTarvos("/sq \"/ini=" + strIni + "\"" + (bBackup ? " /backup" : ""));
        EXPECT_EQ(strFiles, FolderText(m_world.Dir().Path(), bBackup ? strBackup : "")) << strIni;
        return run;
    }
    std::string FileText(const std::string& strName) const
    {
        const auto bytes = ReadBytes(m_world.Dir().File(strName));
        return std::string(bytes.begin(), bytes.end());
    }
};
} // namespace

TEST_F(SetQualifiersJob, BackupRestoresTheFormerValueOnAClassWithInstancesAndSubclasses)
{
    const auto run = RunSq(
        WriteIni("cfg.d\\quals.ini", {"1=root\\TarvosTestEventing:SampleClass.version=2.1"}, true), true);
    EXPECT_EQ(0u, run.dwExitCode);
    const size_t nEnter = run.strTrace.find("Method QualifierSet has been entered.");
    EXPECT_LT(run.strTrace.find("Method QualifierSet has been left.", nEnter),
              run.strTrace.find("An instance of CCWMIAccess has been destroyed.", nEnter));
    // Only the named qualifier changes; the subclass and both instances stay.
    EXPECT_EQ(WithQualifier(m_strBefore, "SampleClass", "version", "\"2.1\""), m_world.Dump("root"));
    const std::string strBackup = Ini({"1=root\\TarvosTestEventing:SampleClass.version=\"2.0\""});
    EXPECT_EQ(strBackup, FileText("cfg.d\\quals_backup.ini"));
    EXPECT_EQ(0u, RunSq(m_world.Dir().File("cfg.d\\quals_backup.ini")).dwExitCode);
    EXPECT_EQ(WithQualifier(m_strBefore, "SampleClass", "version", "\"2.0\""), m_world.Dump("root"));
    // A backup file that cannot be written (locked here) ends nothing: every entry is set.
    const HANDLE hLock = CreateFileA(m_world.Dir().File("cfg.d\\quals_backup.ini").c_str(), GENERIC_READ,
                                     FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
    const auto locked =
        RunSq(WriteIni("cfg.d\\quals.ini", {"1=root\\TarvosTestEventing:SampleClass.version=3",
                                            "2=root\\TarvosTestEventing:TypedClass.S1=x"}),
              true);
    CloseHandle(hLock);
    EXPECT_EQ(0u, locked.dwExitCode);
    EXPECT_EQ(WithQualifier(WithQualifier(m_strBefore, "SampleClass", "version", "\"3\""), "TypedClass", "S1",
                            "\"x\""),
              m_world.Dump("root"));
    EXPECT_EQ(strBackup, FileText("cfg.d\\quals_backup.ini"));
}

TEST_F(SetQualifiersJob, ValuesAreReadByTypeUpToTheFirstMissingKey)
{
    struct Row
    {
        const char* szQualifier; // null: an entry that is skipped
        std::string strValue;
        std::string strStored; // as the dump shows it
        const char* szOld;     // as the backup holds it
    };
    const std::string strLong(65536, 'x');
    const Row rows[] = {
        {"I1", "12abc", "12", "7"},
        {"I2", "-5", "-5", "7"},
        {nullptr, "no separator", "", ""},
        {"I3", "99999999999", "2147483647", "7"},
        {"I4", "", "0", "7"},
        {nullptr, "=root\\TarvosTestEventing:TypedClass.I5=1", "", ""},
        {"S1", "\"quoted\"", "\"quoted\"", "\"plain\""},
        {"S2", "in\"side=x", "\"in\\\"side=x\"", "\"plain\""},
        {"S3", "", "\"\"", "\"plain\""},
        {"S4", strLong, "\"" + strLong + "\"", "\"plain\""},
        {"B1", "true", "false", ""},
        {"R1", "7", "0.0", ""},
        {"A1", "c", "{}", ""},
    };
    std::vector<std::string> lines, backup;
    std::string strExpected = m_strBefore;
    for (const Row& row : rows)
    {
        const std::string strKey = std::to_string(lines.size() + 1) + "=";
        // Backslashes around the namespace are dropped.
        const std::string strPath =
            std::string(lines.size() % 2 ? "\\\\root\\TarvosTestEventing\\" : "root\\TarvosTestEventing") +
            ":TypedClass." + (row.szQualifier ? row.szQualifier : "");
        lines.push_back(strKey + (row.szQualifier ? strPath + "=" : "") + row.strValue);
        if (row.szQualifier)
        {
            backup.push_back(strKey + strPath + "=" + row.szOld);
            strExpected = WithQualifier(strExpected, "TypedClass", row.szQualifier, row.strStored);
        }
    }
    lines.push_back(std::to_string(lines.size() + 2) +
                    "=root\\TarvosTestEventing:TypedClass.I5=1"); // after a gap
    const auto run = RunSq(WriteIni("types.ini", lines, true), true);
    EXPECT_EQ(0u, run.dwExitCode);
    EXPECT_EQ(strExpected, m_world.Dump("root"));
    EXPECT_EQ(Ini(backup), FileText("types_backup.ini"));
    const auto skipped = run.Records("SetQualifiers", "Internal", "Separator '=' not found");
    ASSERT_EQ(2u, skipped.size());
    EXPECT_EQ("Warning", SplitTabs(skipped[0])[3]);
}

TEST_F(SetQualifiersJob, FirstFailingEntryStopsWith22AndKeepsWhatWasSet)
{
    struct Row
    {
        const char* szPath;
        const char* szMessage;
        const char* szDetail; // what the trace must also hold; "": the record has no message
    };
    const Row rows[] = {
        {"root\\TarvosTestNowhere:SampleClass.version", "Could not connect to namespaceh",
         "ns=root\\TarvosTestNowhere, hr=0x8004100e"},
        {"root\\TarvosTestEventing:NoClass.version", "oAcc.GetQualifier failed!", "hr=0x80041002"},
        {"root\\TarvosTestEventing:SampleClass.NoQual", "oAcc.GetQualifier failed!", "hr=0x80041002"},
        {"root\\TarvosTestEventing.SampleClass.version", "Namespace separator not found in path", ""},
        {":SampleClass.version", "Namespace separator not found in path", ""},
        {"root\\TarvosTestEventing:SampleClass", "Qualifier separator not found in path", ""},
        {"root\\TarvosTestEventing:.version", "Qualifier separator not found in path", ""},
        {"root\\TarvosTestEventing:Odd.SampleClass.version", "oAcc.GetQualifier failed!",
         "szClassName: Odd.SampleClass, szQualifierName: version,"},
    };
    for (const Row& row : rows)
    {
        SCOPED_TRACE(row.szPath);
        m_world.Reset();
        m_world.Seed(kSeedMof);
        const std::string strIni =
            WriteIni("fail.ini",
                     {"1=root\\TarvosTestEventing:TypedClass.S1=set", std::string("2=") + row.szPath + "=1",
                      "3=root\\TarvosTestEventing:TypedClass.S2=never"},
                     true);
        const auto run = RunSq(strIni, true);
        EXPECT_EQ(22u, run.dwExitCode);
        EXPECT_EQ(WithQualifier(m_strBefore, "TypedClass", "S1", "\"set\""), m_world.Dump("root"));
        EXPECT_EQ(Ini({"1=root\\TarvosTestEventing:TypedClass.S1=\"plain\""}), FileText("fail_backup.ini"));
        const std::string strRecord = Only(run, "CWmiWork::QualifierSet", "Internal", row.szMessage, true);
        EXPECT_EQ(0u, strRecord.rfind("Error ", 0));
        EXPECT_TRUE(*row.szDetail ? run.Has(row.szDetail) : strRecord == "Error ") << strRecord;
        EXPECT_TRUE(
            run.Has("CWmiWork::QualifierSet failed\tpath='" + std::string(row.szPath) + "', value='1'"));
    }
}

TEST_F(SetQualifiersJob, MissingFilesAndSectionChangeNothing)
{
    const std::string strEntry = "1=root\\TarvosTestEventing:SampleClass.version=3.0";
    const std::string strNoExt = WriteIni("noext", {strEntry});
    const struct
    {
        std::string strIni;
        DWORD dwExit;
        const char* szMessage;
    } rows[] = {
        {m_world.Dir().File("missing.ini"), 3, "oWmi.OpenIni failed"},
        {strNoExt, 3, "oIniBa.OpenIni failed"}, // its backup file is not there
        {WriteIni("other.ini", {strEntry}, true, "[Qualifiers]"), 0, "Method SetQualifiers has been left."},
    };
    for (const auto& row : rows)
    {
        const auto run = RunSq(row.strIni, true);
        EXPECT_EQ(row.dwExit, run.dwExitCode) << row.strIni;
        EXPECT_EQ(m_strBefore, m_world.Dump("root"));
        EXPECT_EQ(1u, run.Records("SetQualifiers", "", row.szMessage).size()) << row.strIni;
        EXPECT_FALSE(run.Has("CWmiWork::QualifierSet"));
    }
    // The backup name of a file without extension ends in "_backup"; it was not created.
    EXPECT_FALSE(FileExists(strNoExt + "_backup"));
    m_world.WriteMof("noext_backup", "");
    EXPECT_EQ(0u, RunSq(strNoExt, true).dwExitCode);
    EXPECT_EQ(Ini({"1=root\\TarvosTestEventing:SampleClass.version=\"2.0\""}), FileText("noext_backup"));
    // A backup name of 259 characters is made; one character more is refused and nothing is set.
    for (size_t nLen : {252u, 253u})
    {
        const auto run =
            RunSq(WriteIni(std::string(nLen - m_world.Dir().File("x.ini").size() + 1, 'q') + ".ini",
                           {"1=root\\TarvosTestEventing:SampleClass.version=" + std::to_string(nLen)}, true),
                  true);
        EXPECT_EQ(nLen == 252u ? 0u : 3u, run.dwExitCode);
        EXPECT_EQ(nLen == 252u ? 0u : 1u,
                  run.Records("DoTheJob", "Internal", "Backup file name too long").size());
    }
    EXPECT_EQ(WithQualifier(m_strBefore, "SampleClass", "version", "\"252\""), m_world.Dump("root"));
}
