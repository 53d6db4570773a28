// /SQ against Wine's own WMI: the failures that are found by reading, before anything is written.
#include "TestKit.h"

#include <gtest/gtest.h>

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
        testkit::CScratchDir dir;
        const std::string strIni = dir.File("quals.ini");
        testkit::WriteBytes(strIni, std::string("[Qualifier]\r\n1=") + c.szEntry + "\r\n");
        const auto run = testkit::RunTarvos("/sq /ini=" + strIni);
        EXPECT_EQ(22u, run.dwExitCode) << c.szEntry;
        EXPECT_EQ(1u, run.Records("CWmiWork::QualifierSet", "Internal", c.szMessage).size()) << c.szEntry;
        EXPECT_TRUE(run.Records("CCWMIAccess::PutClassQualifier").empty()) << c.szEntry;
    }
}
