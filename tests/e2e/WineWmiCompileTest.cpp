// /CF against Wine's own WMI: its version check reads, and it has no MOF compiler.
#include "TestKit.h"

#include <gtest/gtest.h>

using testkit::RunTarvos;

namespace
{
struct Case
{
    const char* szNamespacePragma;
    const char* szClass;
    const char* szVersionResult;
};

testkit::TarvosRun CompileAgainstWine(const Case& c)
{
    testkit::CScratchDir dir;
    const std::string strMof = dir.File("probe.mof");
    testkit::WriteBytes(strMof, std::string("#pragma namespace(\"") + c.szNamespacePragma + "\")\n[Version(\"1.0\")]\nclass " +
                                    c.szClass + " { [key] string Name; };\n");
    return RunTarvos("/cf /mof=" + strMof);
}
} // namespace

TEST(WineWmiCompile, VersionCheckReadsAndTheMissingCompilerGivesSixteen)
{
    const Case aCases[] = {
        {"\\\\\\\\.\\\\root\\\\NoSuchNamespace", "Tvs_Probe", "ret=namespace does not exist"},
        {"\\\\\\\\.\\\\root\\\\cimv2", "Win32_OperatingSystem", "ret=-3, qualifier 'version' not found"},
        {"\\\\\\\\.\\\\root\\\\cimv2", "Tvs_NoSuchClass", "ret=class definition does not exist in WMI"},
    };
    for (const Case& c : aCases)
    {
        const auto run = CompileAgainstWine(c);
        EXPECT_EQ(16u, run.dwExitCode) << c.szClass;
        const auto leave = run.Records("CWmiWork::ClassVersionCheck", "Leave");
        ASSERT_EQ(1u, leave.size()) << c.szClass;
        EXPECT_EQ(c.szVersionResult, testkit::SplitTabs(leave[0])[8]);
        const auto launch = run.Records("CCompMof::CheckVersionAndCompile", "Internal", "Could not launch MofCompiler!");
        ASSERT_EQ(1u, launch.size()) << c.szClass;
        EXPECT_EQ("Error 0x80040154!", testkit::SplitTabs(launch[0])[8]);
    }
}

TEST(WineWmiCompile, MissingNamespaceIsAnInfoRecordNotAnError)
{
    const auto run = CompileAgainstWine({"\\\\\\\\.\\\\root\\\\NoSuchNamespace", "Tvs_Probe", ""});
    const auto missing =
        run.Records("CWmiWork::ClassVersionCheck", "Internal", "ConnectToNamespace failed, namespace does not exist");
    ASSERT_EQ(1u, missing.size());
    EXPECT_EQ("Info", testkit::SplitTabs(missing[0])[3]);
    EXPECT_EQ("hr=0x8004100E", testkit::SplitTabs(missing[0])[8]);
}
