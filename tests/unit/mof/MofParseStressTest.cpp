// Random and mutated MOF texts: the scan always ends, never crashes, and the only
// exception that leaves it is E_INVALIDARG.
#include "MofScanInvariants.h"
#include "MofParse.h"
#include "TestKit.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

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
} // namespace

// Random and mutated inputs from a seed printed at the start: set MOFSCAN_SEED to that number
// to run the same inputs again, for example after a hang that CTest's time-out ended.
TEST(MofScanStress, RandomAndMutatedInputsEndCleanly)
{
    // 100,000 inputs take about 45 s under Wine on an idle machine; on a busy one the
    // run stops at the deadline instead, and says how far it came.
    const unsigned long nRuns = 100000;
    const double dDeadline = 90.0;
    char szSeed[32] = "";
    const unsigned nSeed = GetEnvironmentVariableA("MOFSCAN_SEED", szSeed, sizeof(szSeed)) != 0
                               ? static_cast<unsigned>(strtoul(szSeed, nullptr, 10))
                               : static_cast<unsigned>(GetTickCount());
    printf("seed %u (MOFSCAN_SEED=%u replays this run)\n", nSeed, nSeed);
    fflush(stdout);
    testkit::CScratchDir dir;
    const std::string strPath = dir.File("stress.mof");
    std::mt19937 rng(nSeed);
    const size_t nSeeds = sizeof(g_aszSeeds) / sizeof(g_aszSeeds[0]);
    std::vector<std::string> pool(g_aszSeeds, g_aszSeeds + nSeeds);
    unsigned long nThrown = 0, nRefused = 0, nRun = 0;
    const auto tStart = std::chrono::steady_clock::now();
    auto seconds = [&tStart] {
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - tStart).count();
    };
    for (; nRun < nRuns && ((nRun & 1023) != 0 || seconds() < dDeadline); ++nRun)
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
    printf("%lu inputs in %.1f s: %lu ended with E_INVALIDARG, %lu refused\n", nRun, seconds(), nThrown,
           nRefused);
    EXPECT_GT(nThrown, 0ul);
    EXPECT_LT(nThrown, nRun);
}
