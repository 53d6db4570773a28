// /DD /INI against the machine's WMI: the whole repository after the job against what should be left.
#include "E2eSupport.h"

using namespace e2e;

namespace
{
const std::string kClasses =
    "class SampleClass { [key] uint32 Id; };\nclass SampleChild : SampleClass { };\n";
std::string Inst(int nId, const char* szClass = "SampleClass")
{
    return "instance of " + std::string(szClass) + " { Id = " + std::to_string(nId) + "; };\n";
}
// root\VT_Eventing with SampleClass only, and with its subclass SampleChild.
const std::string kVtBase = Ns("root\\VT_Eventing") + "class SampleClass { [key] uint32 Id; };\n";
const std::string kVt = Ns("root\\VT_Eventing") + kClasses;
const std::string kVt123 = kVt + Inst(1) + Inst(2) + Inst(3, "SampleChild");
const std::string kLink = "[Association] class SampleLink { [key] SampleClass ref Target; };\n"
                          "instance of SampleLink { Target = \"SampleClass.Id=2\"; };\n";
const std::string kOther = Ns("root\\TarvosTestOther") + kClasses + Inst(5);
// "IWbemServices::DeleteInstance method" deletes only in the current namespace: the target stays.
const std::string kFarLink = kOther + Pragma("root\\VT_Eventing") +
                             "[Association] class FarLink { [key] string Name; SampleClass ref Target; };\n"
                             "instance of FarLink { Name = \"far\"; Target = "
                             "\"\\\\\\\\.\\\\root\\\\TarvosTestOther:SampleClass.Id=5\"; };\n";

struct DeleteCase
{
    const char* szName;
    std::string strBefore; // MOF seeded before the run
    std::string strIni;    // the INI file's bytes
    std::string strAfter;  // MOF of what must be left
    DWORD dwExit = 0;
    size_t nWarnings = 0; // records of level Error or Warning
    bool bForce = false;
};

class DeleteIni : public ::testing::Test
{
protected:
    CPortableWorld m_world{{"VT_Eventing"}}; // the job's default namespace

    // Runs the job on the INI text; the file stays as it was.
    TarvosRun Run(const std::string& strIni, bool bForce = false, const std::string& strIniName = "del.ini")
    {
        const std::string strPath = m_world.Dir().File(strIniName);
        WriteBytes(strPath, strIni);
        const auto run = RunTarvos("/dd \"/ini=" + strPath + "\"" + (bForce ? " /force" : ""));
        EXPECT_EQ(std::vector<unsigned char>(strIni.begin(), strIni.end()), ReadBytes(strPath));
        return run;
    }
    void Check(const DeleteCase& c)
    {
        SCOPED_TRACE(c.szName);
        const std::string strExpected = m_world.DumpOf(c.strAfter);
        m_world.DumpOf(c.strBefore);
        const auto run = Run(c.strIni, c.bForce);
        EXPECT_EQ(c.dwExit, run.dwExitCode);
        EXPECT_EQ(strExpected, m_world.Dump("root"));
        size_t nWarnings = 0;
        for (const auto& strRecord : run.lines)
            nWarnings += Column(strRecord, 3) == "Error" || Column(strRecord, 3) == "Warning";
        EXPECT_EQ(c.nWarnings, nWarnings) << run.strTrace;
    }
};

} // namespace

TEST_F(DeleteIni, DeletesExactlyWhatTheFileLists)
{
    const std::string kExample =
        "[Namespaces]\nNS1=root\\VT_Eventing\n[DeleteInstances]\nI1=SampleClass.Id=1\n"
        "I2=SampleClass\n[DeleteClasses]\nC1=SampleClass\n[DeleteNamespace]\nN1=root\\VT_Eventing\n";
    const std::string kNone = "[Other]\nC1=SampleClass\n[deleteclass]\nC1=SampleClass\n";
    const DeleteCase cases[] = {
        {"the example file", kVt123, kExample, ""},
        {"none of the five sections", kVt123, kNone, kVt123},
        {"an empty [Namespaces]", kVt123, "[Namespaces]\n[DeleteClasses]\nC1=SampleChild\n",
         kVtBase + Inst(1) + Inst(2)},
        {"a missing namespace is passed over", kVt123 + kOther,
         "[namespaces]\nA=root\\TarvosTestMissing\nB=root\\VT_Eventing\nC=\nD=root\\TarvosTestOther\n"
         "[DELETEINSTANCES]\nI=SampleClass\n",
         kVt + Ns("root\\TarvosTestOther") + kClasses},
        {"a bare class name takes the subclasses", kVt123, "[DeleteInstances]\nI1=SampleChild\n",
         kVt + Inst(1) + Inst(2)},
        {"a path with a key, empty values skipped", kVt123,
         "[DeleteInstances]\nI0=\nI1=SampleClass.Id=2\nI2=\n", kVt + Inst(1) + Inst(3, "SampleChild")},
        {"referenced objects go, associations stay", kVt123 + kLink,
         "[DeleteInstancesByRef]\nSampleLink=Target\n", kVt + Inst(1) + Inst(3, "SampleChild") + kLink},
        {"namespace named with machine", kVt + Ns("root\\TarvosTestX"),
         "[DeleteNamespace]\nN=\\\\.\\root\\TarvosTestX\n", kVt},
        {"a child namespace keeps its parent", Ns("root\\TarvosTestX") + Ns("root\\TarvosTestX\\Y"),
         "[DeleteNamespace]\nN=root\\TarvosTestX\n", Ns("root\\TarvosTestX") + Ns("root\\TarvosTestX\\Y"), 0,
         2},
        {"a class keeps its namespace", Ns("root\\TarvosTestX") + kClasses,
         "[DeleteNamespace]\nN=root\\TarvosTestX\n", Ns("root\\TarvosTestX") + kClasses, 0, 1},
        {"child listed before parent", Ns("root\\TarvosTestX") + Ns("root\\TarvosTestX\\Y"),
         "[DeleteNamespace]\nB=root\\TarvosTestX\\Y\nA=root\\TarvosTestX\n", ""},
        {"forced", Ns("root\\TarvosTestX") + kClasses + Inst(1) + Ns("root\\TarvosTestX\\Y") + kClasses,
         "[DeleteNamespace]\nN=root\\TarvosTestX\n", "", 0, 0, true},
        {"references are followed before instances and classes go", kVt123 + kLink,
         "[DeleteClasses]\nC=SampleLink\n[DeleteInstances]\nI=SampleLink\n"
         "[DeleteInstancesByRef]\nSampleLink=Target\n",
         kVt + Inst(1) + Inst(3, "SampleChild")},
        {"a reference into another namespace is refused and the job goes on", kVt123 + kLink + kFarLink,
         "[DeleteInstancesByRef]\nFarLink=Target\nSampleLink=Target\n",
         kVt + Inst(1) + Inst(3, "SampleChild") + kLink + kFarLink},
    };
    for (const auto& c : cases)
        Check(c);
}

TEST_F(DeleteIni, BadInputChangesNothingItWasNotAskedTo)
{
    const std::string kLong(70000, 'A');
    std::string strKeys; // 64 KiB of key names
    for (int n = 100000; n < 106600; ++n)
        strKeys += "Key" + std::to_string(n) + "=\r\n";
    const DeleteCase cases[] = {
        {"a file of 0 bytes", kVt123, "", kVt123},
        {"a value of 64 KiB", kVt123, "[DeleteClasses]\nC1=" + kLong + "\nC2=SampleChild\n",
         kVtBase + Inst(1) + Inst(2), 0, 1},
        {"a key list of 64 KiB", kVt123, "[DeleteClasses]\r\n" + strKeys + "C=SampleChild\r\n", kVt123, 0, 1},
        {"lines without =", kVt123, "[DeleteClasses]\nSampleClass\nC2=SampleChild\n",
         kVtBase + Inst(1) + Inst(2)},
        {"WQL-special characters", kVt123,
         "[DeleteInstances]\nI1=SampleClass WHERE Id>0\nI2=*\nI3=SampleClass'\n"
         "[DeleteClasses]\nC1=Sample'Class\nC2=SampleClass;\n[DeleteInstancesByRef]\nSampleClass=Id\n",
         kVt123},
        {"unbalanced quotes", kVt123 + kLink, "[DeleteInstances]\nI1=SampleLink.Target=\"SampleClass.Id=2\n",
         kVt123 + kLink},
        {"a namespace path without a parent", kVt123,
         "[DeleteNamespace]\nN1=\\\\.\\root\nN2=root\\VT_Eventing\n", kVt123, 0, 1, true},
        {"not forced, it is refused as not empty", kVt123 + Ns("root\\TarvosTestX"),
         "[DeleteNamespace]\nN1=\\\\.\\root\nN2=root\\TarvosTestX\n", kVt123, 0, 2},
    };
    for (const auto& c : cases)
        Check(c);
    const std::string strBefore = m_world.Dump("root");
    CreateDirectoryA(m_world.Dir().File("dir.ini").c_str(), nullptr);
    for (const std::string& strName : {m_world.Dir().File("missing.ini"), m_world.Dir().File("dir.ini")})
    {
        const auto run = RunTarvos("/dd \"/ini=" + strName + "\"");
        EXPECT_EQ(3u, run.dwExitCode) << strName;
        EXPECT_EQ("Warning file='" + strName + "'",
                  Only(run, "DoTheJob", "Internal", "oDelFromWmi.OpenIni failed", true));
    }
    EXPECT_EQ(strBefore, m_world.Dump("root"));
    EXPECT_FALSE(FileExists(m_world.Dir().File("missing.ini")));
    // A UTF-16 file with its byte order mark: the profile functions read it as text.
    const auto wide = Run("\xFF\xFE" + Utf16Bytes("[DeleteClasses]\r\nC1=SampleChild\r\n"), false, "w.ini");
    EXPECT_EQ(0u, wide.dwExitCode);
    const std::string strWide = m_world.Dump("root");
    EXPECT_EQ(m_world.DumpOf(kVtBase + Inst(1) + Inst(2)), strWide);
}

TEST_F(DeleteIni, RecordsFollowTheKeysInFileOrder)
{
    m_world.DumpOf(kVt123);
    const auto run = Run("[DeleteClasses]\nZ=SampleChild\n"
                         "[DeleteInstances]\nZ=SampleClass.Id=1\nA=SampleClass\nB=NoSuchClass.Id=1\n");
    EXPECT_EQ(0u, run.dwExitCode);
    std::string strMessages; // "level method|text|message" lines
    for (const auto& strRecord : run.lines)
    {
        const auto cols = SplitTabs(strRecord);
        if (cols.size() > 8 && cols[6] == "Internal" && cols[4] == "CDelFromWmi")
            strMessages += cols[3] + " " + cols[5] + "|" + cols[7] + "|" + cols[8] + "\n";
    }
    EXPECT_EQ("Info RemoveInstances||Deleting instancename='SampleClass.Id=1'\n"
              "Info RemoveInstances||Finished deleting instancename='SampleClass.Id=1'. HRes: 0x0\n"
              "Info RemoveInstances||Deleting instances form classname='SampleClass'\n"
              "Info RemoveInstances||Finished deleting instances from classname='SampleClass'\n"
              "Info RemoveInstances||Deleting instancename='NoSuchClass.Id=1'\n"
              "Info RemoveInstances||Finished deleting instancename='NoSuchClass.Id=1'. HRes: 0x80041010\n"
              "Info RemoveClasses|Deleting class|name= 'SampleChild'\n"
              "Info RemoveClasses|Finished deleting class|name='SampleChild'. HRes: 0x0\n",
              strMessages);
    const std::string strAfter = m_world.Dump("root");
    EXPECT_EQ(m_world.DumpOf(kVtBase), strAfter);
    // A namespace that is not there does not stop the next one.
    m_world.Seed(Ns("root\\TarvosTestX"));
    const auto ns = Run("[DeleteNamespace]\nA=root\\Missing\nB=root\\TarvosTestX\n");
    EXPECT_EQ("Warning ns='root\\Missing'", Only(ns, "CDelFromWmi::RemoveNamespaces", "Internal",
                                                 "CWmiWork::NamespaceDelete failed", true));
    EXPECT_EQ(strAfter, m_world.Dump("root"));
}
