// /CF and /SQ against Wine's own WMI: what they find by reading, before anything is written
// (Wine has no MOF compiler).
#include "E2eSupport.h"

using namespace e2e;

TEST(WineWmiCompile, VersionCheckReadsAndTheMissingCompilerGivesSixteen)
{
    const struct
    {
        const char* szNs;
        const char* szClass;
        const char* szVersionResult;
    } aCases[] = {
        {"root\\NoSuchNamespace", "Tvs_Probe", "ret=namespace does not exist"},
        {"root\\cimv2", "Win32_OperatingSystem", "ret=-3, qualifier 'version' not found"},
        {"root\\cimv2", "Tvs_NoSuchClass", "ret=class definition does not exist in WMI"},
    };
    for (const auto& c : aCases)
    {
        SCOPED_TRACE(c.szClass);
        CScratchDir dir;
        const std::string strMof = dir.File("probe.mof");
        WriteBytes(strMof,
                   Pragma(c.szNs) + "[Version(\"1.0\")]\nclass " + c.szClass + " { [key] string Name; };\n");
        const auto run = RunTarvos("/cf /mof=" + strMof);
        EXPECT_EQ(16u, run.dwExitCode);
        EXPECT_EQ(c.szVersionResult, Only(run, kCheck, "Leave"));
        EXPECT_EQ("Error 0x80040154!", Only(run, kCompile, "Internal", "Could not launch MofCompiler!"));
        // A missing namespace is an Info record, not an error.
        EXPECT_EQ(c.szClass == std::string("Tvs_Probe") ? "Info hr=0x8004100E" : "<0 records>",
                  Only(run, kCheck, "Internal", "ConnectToNamespace failed, namespace does not exist", true));
    }
}

TEST(WineWmiSetQualifiers, ReadFailuresStopWith22)
{
    const struct
    {
        const char* szEntry;
        const char* szMessage;
    } aCases[] = {
        {"root\\NoSuchNamespace:Tvs_Probe.version=1", "Could not connect to namespaceh"},
        {"root\\cimv2:Tvs_NoSuchClass.version=1", "oAcc.GetQualifier failed!"},
        {"root\\cimv2:Win32_OperatingSystem.Tvs_NoSuchQualifier=1", "oAcc.GetQualifier failed!"},
    };
    for (const auto& c : aCases)
    {
        SCOPED_TRACE(c.szEntry);
        CScratchDir dir;
        const std::string strIni = dir.File("quals.ini");
        WriteBytes(strIni, std::string("[Qualifier]\r\n1=") + c.szEntry + "\r\n");
        const auto run = RunTarvos("/sq /ini=" + strIni);
        EXPECT_EQ(22u, run.dwExitCode);
        EXPECT_EQ(1u, run.Records("CWmiWork::QualifierSet", "Internal", c.szMessage).size());
        EXPECT_TRUE(run.Records("CCWMIAccess::PutClassQualifier").empty());
    }
}
