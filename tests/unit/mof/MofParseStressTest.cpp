// Random and mutated MOF texts: the scan always ends, never crashes, and the only
// exception that leaves it is E_INVALIDARG.
#include "MofScanTestSupport.h"

#include <cstdio>
#include <cstdlib>
#include <random>

namespace
{
const char* const g_aszSeeds[] = {
    "#pragma namespace(\"\\\\\\\\.\\\\root\\\\Test\")\n"
    "[Abstract, Version(\"1.0.2\"), Description(\"a [test] version\")]\n"
    "class Test_Base\n{\n  [key] string Name;\n  uint32 Count = 5;\n};\n"
    "class Test_Child : Test_Base {\n  [Values{\"a\", \"b\"}] sint8 S[];\n};\n",
    "instance of Test_Child as $C\n{\n    Name = \"x\";\n    Count = -1;\n};\n"
    "instance of Assoc\n{\nRef = $C;\nOther = \"y\";\n}\n",
    "// comment\n#pragma autorecover\n#pragma namespace (\"root\\\\cimv2\")\n"
    "/* block */ instance of __Namespace { Name = \"Sub\"; };\n",
    "[Version(\"2\")]\nclass A{\n};\n[version ( \"3\" )] \t\r\n CLASS B {\n  string s = \"http://x\";\n};\n",
    "class X : Y\n{\n};\ninstance of X as $a { p = {1,\n 2}; q = 'c'; }\n",
};

// Pieces of MOF syntax; the empty one stands for a NUL byte.
const char* const g_aszTokens[] = {
    "class", "CLASS", "instance", "of",  "as",     "$",   "#pragma", "namespace", "version", "Version",
    "[",     "]",     "{",        "}",   "(",      ")",   "=",       ";",         ":",       ",",
    "\"",    "//",    "/",        "\n",  "\r\n",   " ",   "\t",      "\\\\",      "-1",      "Name",
    "\xFF",  "\xFE",  "c",        "cla", "instan", "nam", "_x1",     "0",         "",        "\"root\""};

// The text with 1 to 8 random edits; an empty text becomes a soup of up to 60 tokens and bytes.
std::string Mutated(std::mt19937& rng, std::string str)
{
    auto random = [&rng](size_t nMax) { return std::uniform_int_distribution<size_t>(0, nMax)(rng); };
    const size_t nTokens = sizeof(g_aszTokens) / sizeof(g_aszTokens[0]);
    for (size_t n = str.empty() ? random(60) : 1 + random(7); n > 0; --n)
    {
        const size_t nPos = random(str.size()), nLen = random(12), nOp = random(6);
        const std::string strToken = g_aszTokens[random(nTokens - 1)];
        if (nOp <= 1)
            str.insert(nPos, strToken.empty() ? std::string(1, '\0') : strToken);
        else if (nOp == 2)
            str.erase(nPos, nLen);
        else if (nOp == 3)
            str.insert(nPos, str.substr(random(str.size()), nLen));
        else if (nOp == 4 && nPos < str.size())
            str[nPos] = static_cast<char>(random(255));
        else if (nOp == 5)
            str.resize(nPos);
        else
            str = str.substr(nPos) + str.substr(0, nPos);
    }
    return str;
}

// The number from an environment variable, else the default.
unsigned long FromEnvironment(const char* szName, unsigned long nDefault)
{
    char szValue[32] = "";
    return GetEnvironmentVariableA(szName, szValue, sizeof(szValue)) != 0 ? strtoul(szValue, nullptr, 10)
                                                                          : nDefault;
}
} // namespace

// Random and mutated inputs from a fixed seed: MOFSCAN_SEED and MOFSCAN_COUNT run others, and
// the line printed at the start replays a run, for example after a hang that CTest's time-out ended.
TEST(MofScanStress, RandomAndMutatedInputsEndCleanly)
{
    const unsigned nSeed = static_cast<unsigned>(FromEnvironment("MOFSCAN_SEED", 20261123));
    const unsigned long nRuns = FromEnvironment("MOFSCAN_COUNT", 20000);
    printf("MOFSCAN_SEED=%u MOFSCAN_COUNT=%lu replays this run\n", nSeed, nRuns);
    fflush(stdout);
    testkit::CScratchDir dir;
    const std::string strPath = dir.File("stress.mof");
    std::mt19937 rng(nSeed);
    const size_t nSeeds = sizeof(g_aszSeeds) / sizeof(g_aszSeeds[0]);
    std::vector<std::string> pool(g_aszSeeds, g_aszSeeds + nSeeds);
    unsigned long nThrown = 0, nRefused = 0, nRun = 0;
    for (; nRun < nRuns; ++nRun)
    {
        const std::string strInput = Mutated(
            rng, nRun % 3 == 0 ? std::string()
                               : pool[std::uniform_int_distribution<size_t>(0, pool.size() - 1)(rng)]);
        ASSERT_TRUE(testkit::WriteBytes(strPath, strInput));
        CMofParse mp;
        try
        {
            nRefused += mp.Parse(strPath.c_str()) ? 0 : 1;
        }
        catch (HRESULT hr)
        {
            ++nThrown;
            ASSERT_EQ(E_INVALIDARG, hr) << "seed " << nSeed << ", input " << nRun << ": " << strInput;
            continue;
        }
        catch (...)
        {
            FAIL() << "undocumented exception; seed " << nSeed << ", input " << nRun << ": " << strInput;
        }
        ASSERT_TRUE(mofcheck::ScanResultSane(mp))
            << "seed " << nSeed << ", input " << nRun << ": " << strInput;
        // Mutants that still scan breed further mutants, within a bounded pool.
        if (strInput.size() < 4000 && (nRun & 15) == 0)
        {
            const size_t nSlot = nSeeds + (nRun / 16) % 64;
            if (nSlot < pool.size())
                pool[nSlot] = strInput;
            else
                pool.push_back(strInput);
        }
    }
    printf("%lu inputs: %lu ended with E_INVALIDARG, %lu refused\n", nRun, nThrown, nRefused);
    EXPECT_GT(nThrown, 0ul);
    EXPECT_LT(nThrown, nRun);
}
