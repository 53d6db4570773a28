// The scanner over MOF files that others wrote (the shared corpus): no hang, no crash,
// only the documented exception, and results that agree with what the files say.
#include "MofScanInvariants.h"
#include "MofParse.h"
#include "TestKit.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <cctype>
#include <cstring>
#include <filesystem>
#include <regex>
#include <string>
#include <vector>

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

std::string Lower(std::string str)
{
    std::transform(str.begin(), str.end(), str.begin(), [](unsigned char ch) { return std::tolower(ch); });
    return str;
}

// The text of a ( "..." ) argument behind the keyword that ends before nPos, blanks and line
// ends allowed around the parenthesis; false where the text is not written that way.
bool QuotedArgument(const std::string& strText, size_t nPos, std::string& strArg)
{
    const char* const szBlanks = " \t\r\n";
    nPos = strText.find_first_not_of(szBlanks, nPos);
    if (nPos == std::string::npos || strText[nPos] != '(')
        return false;
    nPos = strText.find_first_not_of(szBlanks, nPos + 1);
    const size_t nEnd =
        nPos == std::string::npos || strText[nPos] != '"' ? nPos : strText.find('"', nPos + 1);
    if (nEnd == std::string::npos || nEnd == nPos)
        return false;
    strArg = strText.substr(nPos + 1, nEnd - nPos - 1);
    return true;
}

// The names of the pragmas written #pragma namespace("name").
std::vector<std::string> NamespacePragmas(const std::string& strText)
{
    const std::string strLower = Lower(strText);
    std::vector<std::string> names;
    std::string strName;
    for (size_t nPos = strLower.find("#pragma"); nPos != std::string::npos;
         nPos = strLower.find("#pragma", nPos + 1))
    {
        const size_t i = strLower.find_first_not_of(" \t", nPos + 7);
        if (i != nPos + 7 && i != std::string::npos && strLower.compare(i, 9, "namespace") == 0 &&
            QuotedArgument(strText, i + 9, strName))
            names.push_back(strName);
    }
    return names;
}

// The text of the last Version ( "..." ) qualifier before "class <strClass>".
bool LastVersionBefore(const std::string& strText, const std::string& strClass, std::string& strVersion,
                       size_t& nVersionPos, size_t& nClassPos)
{
    const std::string strLower = Lower(strText);
    nClassPos = strLower.find("class " + Lower(strClass));
    for (size_t nPos = nClassPos == std::string::npos ? nClassPos : strLower.rfind("version", nClassPos);
         nPos != std::string::npos && nPos > 0; nPos = strLower.rfind("version", nPos - 1))
    {
        if (QuotedArgument(strText.substr(0, nClassPos), nPos + 7, strVersion))
        {
            nVersionPos = nPos;
            return true;
        }
    }
    return false;
}
} // namespace

TEST(MofScanCorpus, RealFilesScanWithSaneResults)
{
    if (GetFileAttributesA(g_szCorpus) == INVALID_FILE_ATTRIBUTES)
        GTEST_SKIP() << "no MOF corpus at " << g_szCorpus;
    std::vector<std::string> files;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(g_szCorpus))
        if (entry.is_regular_file() && Lower(entry.path().extension().string()) == ".mof")
            files.push_back(entry.path().string());
    ASSERT_GT(files.size(), 100u);

    size_t nWithNamespaces = 0, nVersioned = 0;
    std::vector<std::string> thrown;
    for (const std::string& strFile : files)
    {
        SCOPED_TRACE(strFile);
        const std::vector<unsigned char> bytes = testkit::ReadBytes(strFile);
        const bool bUtf16 = bytes.size() >= 2 && bytes[0] == 0xFF && bytes[1] == 0xFE;
        CMofParse mp;
        bool bParsed = false;
        try
        {
            bParsed = mp.Parse(strFile.c_str());
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
        const std::string& strText = mp.Content();
        EXPECT_EQ(!bUtf16, bParsed);
        if (!bParsed)
            continue;
        EXPECT_TRUE(mofcheck::ScanResultSane(mp));

        // Every namespace pragma written the usual way is found, in order, with its text.
        std::vector<std::string> expected = NamespacePragmas(strText), found;
        for (const MofEntry& entry : mp.Namespaces())
            found.push_back(entry.Name);
        EXPECT_EQ(expected, found);
        nWithNamespaces += found.empty() ? 0 : 1;

        // A schema file defines the class it is named after; its version is the last
        // Version("...") qualifier before that declaration. Where something between the
        // two looks like a declaration to the scanner ("ClassConstraint {" reads as class
        // Constraint), those files are skipped.
        const std::string strStem = std::filesystem::path(strFile).stem().string();
        std::string strVersion;
        size_t nVersionPos = 0, nClassPos = 0;
        if (strFile.find("omischema") != std::string::npos &&
            LastVersionBefore(strText, strStem, strVersion, nVersionPos, nClassPos))
        {
            std::string strNs, strClass = "-", strFound = "-";
            const bool bNs = mp.ClassVersionFind(strNs, strClass, strFound);
            EXPECT_EQ(!mp.Namespaces().empty(), bNs);
            static const std::regex declLike(R"(class\s*\w*[^\w]([ \t]*:|\s*\{))", std::regex::icase);
            const std::string strBetween = strText.substr(nVersionPos, nClassPos - nVersionPos);
            if (std::regex_search(strBetween, declLike))
                continue;
            ++nVersioned;
            EXPECT_EQ(strStem + " " + strVersion, strClass + " " + strFound);
        }
    }
    EXPECT_GT(nWithNamespaces, 0u);
    EXPECT_GT(nVersioned, 100u);
    std::sort(thrown.begin(), thrown.end());
    EXPECT_EQ(std::vector<std::string>(std::begin(kThrowing), std::end(kThrowing)), thrown);
}
