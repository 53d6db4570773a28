// The scanner over MOF files that others wrote (the shared corpus): no hang, no crash,
// only the documented exception, and results that agree with what the files say.
#include "MofScanInvariants.h"
#include "MofParse.h"
#include "TestKit.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <cstring>
#include <iostream>
#include <regex>
#include <string>
#include <vector>

namespace
{
const char* const g_szCorpus = MOF_CORPUS_DIR;

std::string Lower(std::string str)
{
    for (char& ch : str)
        if (ch >= 'A' && ch <= 'Z')
            ch = static_cast<char>(ch - 'A' + 'a');
    return str;
}

void MofFilesCollect(const std::string& strDir, std::vector<std::string>& files)
{
    WIN32_FIND_DATAA data;
    HANDLE hFind = FindFirstFileA((strDir + "\\*").c_str(), &data);
    if (hFind == INVALID_HANDLE_VALUE)
        return;
    do
    {
        const std::string strName = data.cFileName;
        if (strName == "." || strName == "..")
            continue;
        const std::string strPath = strDir + "\\" + strName;
        if (data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY)
            MofFilesCollect(strPath, files);
        else if (strName.size() > 4 && Lower(strName.substr(strName.size() - 4)) == ".mof")
            files.push_back(strPath);
    } while (FindNextFileA(hFind, &data));
    FindClose(hFind);
}

std::string Stem(const std::string& strPath)
{
    const size_t nSlash = strPath.find_last_of('\\');
    const std::string strName = strPath.substr(nSlash + 1);
    return strName.substr(0, strName.size() - 4);
}

// Why the scan of this text must end with E_INVALIDARG: the last "#pragma" has no
// "namespace" behind it, or a "class" (also inside a word such as ClassConstraint) with
// its name is followed by a blank-separated ":" and no "{".
bool PragmaWithoutNamespace(const std::string& strLower)
{
    const size_t nPragma = strLower.rfind("#pragma");
    return nPragma != std::string::npos && strLower.find("namespace", nPragma + 7) == std::string::npos;
}

bool SuperclassWithoutBrace(const std::string& strText)
{
    static const std::regex superclass(R"(class\s*\w*[^\w][ \t]*:)", std::regex::icase);
    for (std::sregex_iterator it(strText.begin(), strText.end(), superclass), end; it != end; ++it)
    {
        if (strText.find('{', static_cast<size_t>(it->position() + it->length())) == std::string::npos)
            return true;
    }
    return false;
}

size_t Skip(const std::string& str, size_t nPos, const char* szSet)
{
    while (nPos < str.size() && std::strchr(szSet, str[nPos]) != nullptr && str[nPos] != '\0')
        ++nPos;
    return nPos;
}

// The names of the pragmas written #pragma namespace("name"), blanks allowed as usual.
std::vector<std::string> NamespacePragmas(const std::string& strText)
{
    const std::string strLower = Lower(strText);
    std::vector<std::string> names;
    for (size_t nPos = strLower.find("#pragma"); nPos != std::string::npos;
         nPos = strLower.find("#pragma", nPos + 1))
    {
        size_t i = Skip(strLower, nPos + 7, " \t");
        if (i == nPos + 7 || strLower.compare(i, 9, "namespace") != 0)
            continue;
        i = Skip(strLower, i + 9, " \t\r\n");
        if (i >= strLower.size() || strLower[i] != '(')
            continue;
        i = Skip(strLower, i + 1, " \t\r\n");
        if (i >= strLower.size() || strLower[i] != '"')
            continue;
        const size_t nEnd = strText.find('"', i + 1);
        if (nEnd != std::string::npos)
            names.push_back(strText.substr(i + 1, nEnd - i - 1));
    }
    return names;
}

// The text of the last Version ( "..." ) qualifier before "class <strClass>".
bool LastVersionBefore(const std::string& strText, const std::string& strClass, std::string& strVersion,
                       size_t& nVersionPos, size_t& nClassPos)
{
    const std::string strLower = Lower(strText);
    const size_t nClass = strLower.find("class " + Lower(strClass));
    if (nClass == std::string::npos)
        return false;
    for (size_t nPos = strLower.rfind("version", nClass); nPos != std::string::npos && nPos > 0;
         nPos = strLower.rfind("version", nPos - 1))
    {
        size_t i = Skip(strLower, nPos + 7, " \t\r\n");
        if (i >= strLower.size() || strLower[i] != '(')
            continue;
        i = Skip(strLower, i + 1, " \t\r\n");
        if (i >= strLower.size() || strLower[i] != '"')
            continue;
        const size_t nEnd = strText.find('"', i + 1);
        if (nEnd == std::string::npos || nEnd > nClass)
            continue;
        strVersion = strText.substr(i + 1, nEnd - i - 1);
        nVersionPos = nPos;
        nClassPos = nClass;
        return true;
    }
    return false;
}
} // namespace

TEST(MofScanCorpus, RealFilesScanWithSaneResults)
{
    if (GetFileAttributesA(g_szCorpus) == INVALID_FILE_ATTRIBUTES)
        GTEST_SKIP() << "no MOF corpus at " << g_szCorpus;
    std::vector<std::string> files;
    MofFilesCollect(g_szCorpus, files);
    ASSERT_GT(files.size(), 100u);

    size_t nThrown = 0, nRefused = 0, nWithNamespaces = 0, nVersioned = 0, nInstances = 0, nClasses = 0;
    size_t nOtherClassWord = 0;
    for (const std::string& strFile : files)
    {
        SCOPED_TRACE(strFile);
        const std::vector<unsigned char> bytes = testkit::ReadBytes(strFile);
        const bool bUtf16 = bytes.size() >= 2 && bytes[0] == 0xFF && bytes[1] == 0xFE;
        CMofParse mp;
        bool bParsed = false;
        bool bThrown = false;
        try
        {
            bParsed = mp.Parse(strFile.c_str());
        }
        catch (HRESULT hr)
        {
            EXPECT_EQ(E_INVALIDARG, hr);
            bThrown = true;
        }
        catch (...)
        {
            ADD_FAILURE() << "undocumented exception";
            continue;
        }
        const std::string& strText = mp.Content();
        const bool bMustThrow = !bUtf16 && PragmaWithoutNamespace(Lower(strText));
        if (bThrown)
        {
            ++nThrown;
            EXPECT_TRUE(bMustThrow || SuperclassWithoutBrace(strText));
            continue;
        }
        EXPECT_FALSE(bMustThrow);
        EXPECT_EQ(!bUtf16, bParsed);
        if (!bParsed)
        {
            ++nRefused;
            continue;
        }
        EXPECT_TRUE(mofcheck::ScanResultSane(mp));
        nClasses += mp.Classes().size();
        nInstances += mp.Instances().size();

        // Every namespace pragma written the usual way is found, in order, with its text.
        std::vector<std::string> expected = NamespacePragmas(strText), found;
        for (const MofEntry& entry : mp.Namespaces())
            found.push_back(entry.Name);
        EXPECT_EQ(expected, found);
        if (!found.empty())
            ++nWithNamespaces;

        // A schema file defines the class it is named after; its version is the last
        // Version("...") qualifier before that declaration. Where something between the
        // two looks like a declaration to the scanner ("ClassConstraint {" reads as class
        // Constraint), those files are only counted.
        std::string strVersion;
        size_t nVersionPos = 0, nClassPos = 0;
        if (strFile.find("omischema") != std::string::npos &&
            LastVersionBefore(strText, Stem(strFile), strVersion, nVersionPos, nClassPos))
        {
            std::string strNs, strClass = "-", strFound = "-";
            const bool bNs = mp.ClassVersionFind(strNs, strClass, strFound);
            EXPECT_EQ(!mp.Namespaces().empty(), bNs);
            static const std::regex declLike(R"(class\s*\w*[^\w]([ \t]*:|\s*\{))", std::regex::icase);
            const std::string strBetween = strText.substr(nVersionPos, nClassPos - nVersionPos);
            if (std::regex_search(strBetween, declLike))
            {
                ++nOtherClassWord;
                continue;
            }
            ++nVersioned;
            EXPECT_EQ(Stem(strFile), strClass);
            EXPECT_EQ(strVersion, strFound);
        }
    }
    std::cout << files.size() << " MOF files: " << nThrown << " ended with E_INVALIDARG, " << nRefused
              << " refused (UTF-16), " << nWithNamespaces << " with namespaces, " << nVersioned
              << " with a versioned class (" << nOtherClassWord << " more with ClassConstraint), " << nClasses
              << " classes, " << nInstances << " instances\n";
    EXPECT_GT(nWithNamespaces, 0u);
    EXPECT_GT(nVersioned, 100u);
}
