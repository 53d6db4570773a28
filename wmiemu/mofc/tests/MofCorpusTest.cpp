// MofCorpusTest.cpp - the real MOF files beside the repository must parse where WMI accepts them.
#include "MofTestUtil.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <set>

using namespace mofctest;

namespace
{

std::string Lower(std::string str)
{
    std::transform(str.begin(), str.end(), str.begin(),
                   [](unsigned char c) { return (char)std::tolower(c); });
    return str;
}

// The include arguments of a file whose include target does not exist in the including folder.
bool HasMissingInclude(const std::wstring& wszFile)
{
    std::string strText = ReadAll(wszFile);
    std::string strLower = Lower(strText);
    size_t nPos = 0;
    while ((nPos = strLower.find("#pragma include", nPos)) != std::string::npos)
    {
        size_t nOpen = strText.find('"', nPos), nClose = strText.find('"', nOpen + 1);
        nPos += 15;
        if (nOpen == std::string::npos || nClose == std::string::npos)
            continue;
        std::string strName = strText.substr(nOpen + 1, nClose - nOpen - 1);
        std::wstring wszInc =
            wszFile.substr(0, wszFile.find_last_of(L'\\') + 1) + std::wstring(strName.begin(), strName.end());
        if (GetFileAttributesW(wszInc.c_str()) == INVALID_FILE_ATTRIBUTES)
            return true;
    }
    return false;
}

size_t CountKind(const mofc::CompileResult& res, mofc::Declaration::Kind kind)
{
    return (size_t)std::count_if(res.decls.begin(), res.decls.end(),
                                 [kind](const mofc::Declaration& d) { return d.kind == kind; });
}

} // namespace

TEST(MofCorpus, EveryCimSchemaFileParsesOnItsOwn)
{
    std::wstring wszCorpus = CorpusDir();
    if (wszCorpus.empty())
        GTEST_SKIP() << "corpus folder absent";
    std::vector<std::wstring> files = FindMofFiles(wszCorpus + L"\\omi\\Unix\\share\\omischema");
    ASSERT_GT(files.size(), 1000u);
    size_t nClasses = 0;
    for (const std::wstring& wszFile : files)
    {
        mofc::CompileResult res = mofc::ParseFile(wszFile);
        EXPECT_TRUE(res.ok) << Utf8(wszFile) << ": " << Describe(res);
        nClasses += CountKind(res, mofc::Declaration::Kind::Class);
    }
    EXPECT_GE(nClasses, files.size() - 3);
}

// The whole schema through its include tree and the Windows samples are compiled and stored through
// IMofCompiler by the emulator's corpus tests.

TEST(MofCorpus, OmiSyntaxErrorFileFailsAtTheStrayQuote)
{
    std::wstring wszCorpus = CorpusDir();
    if (wszCorpus.empty())
        GTEST_SKIP() << "corpus folder absent";
    std::wstring wszFile = wszCorpus + L"\\omi\\Unix\\tests\\mof\\syntaxerror.mof";
    std::string strText = ReadAll(wszFile);
    size_t nStray = strText.find("}\";");
    ASSERT_NE(nStray, std::string::npos);
    int nLine = 1 + (int)std::count(strText.begin(), strText.begin() + (long)nStray, '\n');
    mofc::CompileResult res = mofc::ParseFile(wszFile);
    EXPECT_FALSE(res.ok);
    EXPECT_EQ(res.lastLine, nLine) << Describe(res);
    EXPECT_TRUE(res.decls.empty());
    // The error is in the last class, after every qualifier declaration and class before it.
    size_t nObjects = 0;
    std::string strLower = Lower(strText.substr(0, nStray));
    for (size_t nPos = 0; (nPos = strLower.find("qualifier ", nPos)) != std::string::npos; ++nPos)
        if (nPos == 0 || strLower[nPos - 1] == '\n')
            ++nObjects;
    for (size_t nPos = 0; (nPos = strLower.find("class ", nPos)) != std::string::npos; ++nPos)
        if (nPos == 0 || strLower[nPos - 1] == '\n')
            ++nObjects;
    EXPECT_EQ(res.objectNumber, (int)nObjects) << Describe(res);
}

TEST(MofCorpus, OmiTestFilesParseUnlessAnIncludeIsMissing)
{
    std::wstring wszCorpus = CorpusDir();
    if (wszCorpus.empty())
        GTEST_SKIP() << "corpus folder absent";
    std::vector<std::wstring> files = FindMofFiles(wszCorpus + L"\\omi\\Unix\\tests");
    std::vector<std::wstring> gen = FindMofFiles(wszCorpus + L"\\omi\\Unix\\gen");
    files.insert(files.end(), gen.begin(), gen.end());
    ASSERT_GT(files.size(), 8u);
    size_t nInstances = 0;
    for (const std::wstring& wszFile : files)
    {
        if (wszFile.find(L"syntaxerror") != std::wstring::npos)
            continue; // the deliberate error, checked above
        mofc::CompileResult res = mofc::ParseFile(wszFile);
        if (HasMissingInclude(wszFile))
        {
            EXPECT_EQ(res.hr, mofc::MOFC_E_ERROR_INVALID_INCLUDE_FILE)
                << Utf8(wszFile) << ": " << Describe(res);
            continue;
        }
        EXPECT_TRUE(res.ok) << Utf8(wszFile) << ": " << Describe(res);
        nInstances += CountKind(res, mofc::Declaration::Kind::Instance);
    }
    EXPECT_GT(nInstances, 10u);
}

TEST(MofCorpus, Utf16InstanceFileKeepsAliasesAndValues)
{
    std::wstring wszCorpus = CorpusDir();
    if (wszCorpus.empty())
        GTEST_SKIP() << "corpus folder absent";
    std::wstring wszFile = wszCorpus + L"\\omi\\Unix\\tests\\codec\\mof\\blue\\mofs\\mintinstance.mof";
    std::string strBytes = ReadAll(wszFile);
    ASSERT_GE(strBytes.size(), 2u);
    ASSERT_EQ((unsigned char)strBytes[0], 0xFF); // the file really is UTF-16 LE
    mofc::CompileResult res = mofc::ParseFile(wszFile);
    ASSERT_TRUE(res.ok) << Describe(res);
    ASSERT_FALSE(res.decls.empty());
    const mofc::InstanceDecl& first = res.decls.front().inst;
    EXPECT_EQ(first.className, L"MSFT_ExpressionIdentifier");
    EXPECT_EQ(first.alias, L"x");
    ASSERT_EQ(first.values.size(), 1u);
    EXPECT_EQ(first.values[0].value.s, L"x");
    const mofc::InstanceDecl& last = res.decls.back().inst;
    ASSERT_EQ(last.values.size(), 2u);
    ASSERT_EQ(last.values[0].value.kind, mofc::Value::Kind::Array);
    EXPECT_TRUE(last.values[0].value.items.at(0).isAlias);
    EXPECT_EQ(last.values[1].value.s, L"if1");
}
