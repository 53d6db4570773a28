// MofStressTest.cpp - bounded random and mutated input: the parser must always return, never crash.
#include "MofTestUtil.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>

using namespace mofctest;

namespace
{

// A small deterministic generator, so that a failure can be reproduced.
class CRandom
{
public:
    explicit CRandom(uint64_t nSeed) : m_nState(nSeed * 2862933555777941757ull + 3037000493ull) {}
    uint32_t Next()
    {
        m_nState ^= m_nState << 13;
        m_nState ^= m_nState >> 7;
        m_nState ^= m_nState << 17;
        return (uint32_t)(m_nState >> 16);
    }
    size_t Below(size_t n) { return n ? Next() % n : 0; }

private:
    uint64_t m_nState;
};

const char* const g_szSample =
    "#pragma namespace(\"\\\\\\\\.\\\\root\\\\cimv2\")\n"
    "#pragma autorecover\n"
    "#pragma classflags(\"forceupdate\")\n"
    "qualifier Q : string = \"q\", Scope(any);\n"
    "[Abstract, Description(\"base\" \" class\") : ToSubclass Amended, Values{\"a\", \"b\"}]\n"
    "class Base : Root as $base {\n"
    "  [key] string Name = \"n\\t\\x41\";\n"
    "  uint64 Big = 0xFFFFFFFFFFFFFFFF; sint8 Small = -128; real64 R = -1.5e-3; char16 C = '\\n';\n"
    "  uint8 Bits[] = {101b, 017, 0x1F}; Base ref Self; object Emb;\n"
    "  [Static] uint32 M([in] string a, [out] Base ref b[]); void V();\n"
    "};\n"
    "#pragma deleteclass(\"Gone\", NOFAIL)\n"
    "instance of Base as $one { Name = \"1\"; Self = $base; Emb = instance of Root { X = {1, 2}; }; };\n"
    "[DYNPROPS] instance of __Namespace { Name = \"x\"; [Dynamic] Other; Ref = $one; };\n";

// Parses and checks the result is self-consistent; returns the elapsed milliseconds.
long long ParseChecked(const std::wstring& wszText)
{
    auto tStart = std::chrono::steady_clock::now();
    mofc::CompileResult res = mofc::ParseText(wszText, L"C:\\stress\\s.mof");
    auto tEnd = std::chrono::steady_clock::now();
    if (!res.ok)
    {
        EXPECT_EQ((unsigned long)res.hr & 0xFFFFF000ul, 0x80044000ul) << Describe(res);
        EXPECT_TRUE(res.decls.empty());
        EXPECT_GE(res.lastLine, res.firstLine);
        EXPECT_FALSE(res.message.empty());
    }
    return std::chrono::duration_cast<std::chrono::milliseconds>(tEnd - tStart).count();
}

std::wstring Widen(const std::string& str)
{
    return std::wstring(str.begin(), str.end());
}

} // namespace

TEST(MofStress, MutatedSamplesAlwaysReturn)
{
    const std::string strBase = g_szSample;
    ASSERT_TRUE(mofc::ParseText(Widen(strBase), L"C:\\stress\\s.mof").ok); // the unmutated sample is valid
    const char szPieces[] = "{}[]();,:=$#\"'\\/*-+0xbeE. \nclassinstanceofrefas";
    CRandom rnd(20240601);
    long long nWorst = 0;
    int nOk = 0;
    for (int nRound = 0; nRound < 4000; ++nRound)
    {
        std::string str = strBase;
        size_t nEdits = 1 + rnd.Below(4);
        for (size_t n = 0; n < nEdits && !str.empty(); ++n)
        {
            size_t nAt = rnd.Below(str.size());
            switch (rnd.Below(4))
            {
            case 0:
                str.erase(nAt, 1 + rnd.Below(8));
                break;
            case 1:
                str.insert(nAt, 1, szPieces[rnd.Below(sizeof(szPieces) - 1)]);
                break;
            case 2:
                str[nAt] = (char)rnd.Below(256);
                break;
            default:
                str.insert(nAt, str.substr(rnd.Below(str.size()), rnd.Below(40)));
                break;
            }
        }
        std::wstring wsz;
        for (char ch : str)
            wsz.push_back((wchar_t)(unsigned char)ch);
        long long nMs = ParseChecked(wsz);
        nWorst = nMs > nWorst ? nMs : nWorst;
        nOk += mofc::ParseText(wsz, L"C:\\stress\\s.mof").ok ? 1 : 0;
    }
    EXPECT_LT(nWorst, 2000);
    EXPECT_GT(nOk, 0); // some edits (inside comments or strings) keep the text valid
    EXPECT_LT(nOk, 4000);
}

TEST(MofStress, RandomTokenSoupAlwaysReturns)
{
    const char* const szWords[] = {
        "class",   "instance", "of",   "as",   "$a", "ref",   "qualifier", "#pragma",   "namespace",
        "include", "\"s\"",    "'c'",  "1",    "-",  "1.5",   "{",         "}",         "[",
        "]",       "(",        ")",    ";",    ",",  ":",     "=",         "string",    "uint32",
        "X",       "true",     "null", "void", "\n", "//c\n", "/*c*/",     "ToSubclass"};
    CRandom rnd(7);
    for (int nRound = 0; nRound < 2000; ++nRound)
    {
        std::string str;
        size_t nCount = rnd.Below(200);
        for (size_t n = 0; n < nCount; ++n)
            str += std::string(szWords[rnd.Below(sizeof(szWords) / sizeof(szWords[0]))]) + " ";
        ParseChecked(Widen(str));
    }
}

TEST(MofStress, DeepAndLongInputStaysBounded)
{
    std::string strDeep = "instance of A { P = ";
    for (int n = 0; n < 5000; ++n)
        strDeep += "instance of A { P = ";
    EXPECT_LT(ParseChecked(Widen(strDeep)), 2000);
    EXPECT_LT(ParseChecked(Widen(std::string(200000, '[') + "class A { };")), 2000);
    EXPECT_LT(ParseChecked(Widen(std::string(200000, '{'))), 2000);
    EXPECT_LT(ParseChecked(Widen("class A { string S = \"" + std::string(1000000, 'x') + "\"; };")), 2000);
    EXPECT_LT(ParseChecked(Widen("class A { uint32 V[] = {" + std::string(100000, '1') + "}; };")), 2000);
    std::string strMany;
    for (int n = 0; n < 20000; ++n)
        strMany += "class C" + std::to_string(n) + " : B { [key] string K; };\n";
    mofc::CompileResult res = mofc::ParseText(Widen(strMany), L"C:\\stress\\many.mof");
    ASSERT_TRUE(res.ok) << Describe(res);
    EXPECT_EQ(res.decls.size(), 20000u);
    EXPECT_EQ(res.decls.back().firstLine, 20000);
    std::wstring wszNul = L"class A { };";
    wszNul.push_back(L'\0');
    wszNul += L"class B { };";
    EXPECT_FALSE(mofc::ParseText(wszNul, L"C:\\stress\\nul.mof").ok);
}

TEST(MofStress, MutatedCorpusFilesAlwaysReturn)
{
    std::wstring wszCorpus = CorpusDir();
    if (wszCorpus.empty())
        GTEST_SKIP() << "corpus folder absent";
    std::vector<std::wstring> files = FindMofFiles(wszCorpus);
    ASSERT_FALSE(files.empty());
    CRandom rnd(99);
    for (int nRound = 0; nRound < 300; ++nRound)
    {
        std::string str = ReadAll(files[rnd.Below(files.size())]);
        if (str.empty())
            continue;
        for (int n = 0; n < 3; ++n)
            str[rnd.Below(str.size())] = (char)rnd.Below(256);
        CScratchDir dir;
        mofc::CompileResult res = mofc::ParseFile(dir.Write(L"m.mof", str));
        if (!res.ok)
        {
            EXPECT_TRUE(res.decls.empty());
        }
    }
}
