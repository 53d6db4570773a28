// The scanner over MOF files that others wrote (the shared corpus): no hang, no crash, only the
// documented exception, and only from the files known to end with it.
#include "MofScanTestSupport.h"

#include <filesystem>

namespace
{
const char* const g_szCorpus = MOF_CORPUS_DIR;

// The files whose scan ends with E_INVALIDARG: a "#pragma" with no "namespace" text behind it, or
// a class name followed by a blank-separated ":" and no "{" anywhere after it (qualifiers.mof:
// "Qualifier ClassConstraint : ..." reads as class Constraint).
const char* const kThrowing[] = {
    "omi/Unix/share/omischema/CIM-2.32.0/cim_schema_2.32.0.mof",
    "omi/Unix/share/omischema/CIM-2.32.0/qualifiers.mof",
    "omi/Unix/share/omischema/CIM_Schema.mof",
    "omi/Unix/tests/codec/mof/blue/mofs/dmtftypes.mof",
    "windows-samples/Samples/ManagementInfrastructure/cpp/Sample.mof",
    "windows-samples/Samples/Win7Samples/sysmgmt/wmi/vc/classprov/ClassProv.Mof",
    "windows-samples/Samples/Win7Samples/sysmgmt/wmi/vc/eventprovider/EvProv.Mof",
    "windows-samples/Samples/Win7Samples/sysmgmt/wmi/vc/methprov/MethProv.Mof",
};
} // namespace

// Every file scans to a sane result, a UTF-16 one is refused, and E_INVALIDARG leaves the scan
// of the listed files only.
TEST(MofScanCorpus, RealFilesScanWithSaneResults)
{
    if (GetFileAttributesA(g_szCorpus) == INVALID_FILE_ATTRIBUTES)
        GTEST_SKIP() << "no MOF corpus at " << g_szCorpus;
    std::vector<std::string> files;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(g_szCorpus))
        if (entry.is_regular_file() && _stricmp(entry.path().extension().string().c_str(), ".mof") == 0)
            files.push_back(entry.path().string());
    ASSERT_GT(files.size(), 100u);

    std::vector<std::string> thrown;
    for (const std::string& strFile : files)
    {
        SCOPED_TRACE(strFile);
        const std::vector<unsigned char> bytes = testkit::ReadBytes(strFile);
        const bool bUtf16 = bytes.size() >= 2 && bytes[0] == 0xFF && bytes[1] == 0xFE;
        CMofParse mp;
        try
        {
            EXPECT_EQ(!bUtf16, mp.Parse(strFile.c_str()));
        }
        catch (HRESULT hr)
        {
            EXPECT_EQ(E_INVALIDARG, hr);
            std::string strName = strFile.substr(strlen(g_szCorpus) + 1);
            std::replace(strName.begin(), strName.end(), '\\', '/');
            thrown.push_back(strName);
            continue;
        }
        catch (...)
        {
            ADD_FAILURE() << "undocumented exception";
            continue;
        }
        EXPECT_TRUE(mofcheck::ScanResultSane(mp));
    }
    std::sort(thrown.begin(), thrown.end());
    EXPECT_EQ(std::vector<std::string>(std::begin(kThrowing), std::end(kThrowing)), thrown);
}
