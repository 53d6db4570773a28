// Random and mutated MOF texts: the scan always ends, never crashes, and the only
// exception that leaves it is E_INVALIDARG.
#include "MofScanInvariants.h"
#include "MofParse.h"
#include "TestKit.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <random>
#include <string>
#include <thread>
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

const char* const g_aszTokens[] = {
    "class", "CLASS", "instance", "of",  "as",     "$",   "#pragma", "namespace", "version", "Version",
    "[",     "]",     "{",        "}",   "(",      ")",   "=",       ";",         ":",       ",",
    "\"",    "//",    "/",        "\n",  "\r\n",   " ",   "\t",      "\\\\",      "-1",      "Name",
    "\xFF",  "\xFE",  "c",        "cla", "instan", "nam", "_x1",     "0",         "\0",      "\"root\""};

std::string RandomText(std::mt19937& rng)
{
    std::uniform_int_distribution<int> count(0, 60);
    std::uniform_int_distribution<size_t> token(0, sizeof(g_aszTokens) / sizeof(g_aszTokens[0]) - 1);
    std::uniform_int_distribution<int> byte(0, 255);
    std::string str;
    for (int n = count(rng); n > 0; --n)
    {
        const size_t i = token(rng);
        if (i % 7 == 0)
            str.push_back(static_cast<char>(byte(rng)));
        else if (g_aszTokens[i][0] == '\0')
            str.push_back('\0');
        else
            str += g_aszTokens[i];
    }
    return str;
}

std::string Mutated(std::mt19937& rng, std::string str)
{
    std::uniform_int_distribution<int> count(1, 8);
    std::uniform_int_distribution<size_t> token(0, sizeof(g_aszTokens) / sizeof(g_aszTokens[0]) - 1);
    for (int n = count(rng); n > 0; --n)
    {
        const size_t nPos = str.empty() ? 0 : std::uniform_int_distribution<size_t>(0, str.size())(rng);
        const size_t nLen = std::uniform_int_distribution<size_t>(0, 12)(rng);
        switch (std::uniform_int_distribution<int>(0, 5)(rng))
        {
        case 0:
            str.insert(nPos, g_aszTokens[token(rng)]);
            break;
        case 1:
            str.erase(nPos, nLen);
            break;
        case 2:
            str.insert(nPos, str.substr(std::uniform_int_distribution<size_t>(0, str.size())(rng), nLen));
            break;
        case 3:
            if (nPos < str.size())
                str[nPos] = static_cast<char>(std::uniform_int_distribution<int>(0, 255)(rng));
            break;
        case 4:
            str.resize(nPos);
            break;
        default:
            str = str.substr(nPos) + str.substr(0, nPos);
            break;
        }
    }
    return str;
}

// The input file, written with as few system calls as possible: the run is long.
bool FileWrite(const std::string& strPath, const std::string& strBytes)
{
    HANDLE hFile = CreateFileA(strPath.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                               CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (hFile == INVALID_HANDLE_VALUE)
        return false;
    DWORD dwWritten = 0;
    const BOOL bOk = strBytes.empty() || WriteFile(hFile, strBytes.data(),
                                                   static_cast<DWORD>(strBytes.size()), &dwWritten, nullptr);
    CloseHandle(hFile);
    return bOk && dwWritten == strBytes.size();
}

// Ends the process with a message and the input when one scan takes far too long.
class CHangWatch
{
public:
    explicit CHangWatch(const std::string& strDumpPath) : m_strDumpPath(strDumpPath)
    {
        m_thread = std::thread([this] { Watch(); });
    }
    ~CHangWatch()
    {
        m_bStop = true;
        m_thread.join();
    }
    void Begin(const std::string* pInput)
    {
        m_pInput = pInput;
        ++m_nScans;
    }

private:
    void Watch()
    {
        unsigned long nSeen = 0;
        int nStill = 0;
        while (!m_bStop)
        {
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
            const unsigned long nNow = m_nScans;
            nStill = (nNow == nSeen) ? nStill + 1 : 0;
            nSeen = nNow;
            if (nStill >= 100)
            {
                testkit::WriteBytes(m_strDumpPath, *m_pInput);
                fprintf(stderr, "scan %lu hangs; its input is in %s\n", nNow, m_strDumpPath.c_str());
                fflush(stderr);
                TerminateProcess(GetCurrentProcess(), 3);
            }
        }
    }

    std::string m_strDumpPath;
    std::atomic<bool> m_bStop{false};
    std::atomic<unsigned long> m_nScans{0};
    std::atomic<const std::string*> m_pInput{nullptr};
    std::thread m_thread;
};
} // namespace

TEST(MofScanStress, RandomAndMutatedInputsEndCleanly)
{
    // 100,000 inputs take about 45 s under Wine on an idle machine; on a busy one the
    // run stops at the deadline instead, and says how far it came.
    const unsigned long nRuns = 100000;
    const double dDeadline = 90.0;
    testkit::CScratchDir dir;
    const std::string strPath = dir.File("stress.mof");
    CHangWatch watch(dir.Path() + "_hang.mof");
    std::mt19937 rng(static_cast<unsigned>(GetTickCount()));
    const size_t nSeeds = sizeof(g_aszSeeds) / sizeof(g_aszSeeds[0]);
    std::vector<std::string> pool(g_aszSeeds, g_aszSeeds + nSeeds);
    unsigned long nThrown = 0, nRefused = 0, nInstances = 0;
    const auto tStart = std::chrono::steady_clock::now();
    unsigned long nRun = 0;
    for (; nRun < nRuns; ++nRun)
    {
        if ((nRun & 1023) == 0 &&
            std::chrono::duration<double>(std::chrono::steady_clock::now() - tStart).count() > dDeadline)
            break;
        std::string strInput;
        if (nRun % 3 == 0)
            strInput = RandomText(rng);
        else
            strInput = Mutated(rng, pool[std::uniform_int_distribution<size_t>(0, pool.size() - 1)(rng)]);
        watch.Begin(&strInput);
        ASSERT_TRUE(FileWrite(strPath, strInput));
        CMofParse mp;
        try
        {
            if (!mp.Parse(strPath.c_str()))
                ++nRefused;
        }
        catch (HRESULT hr)
        {
            ++nThrown;
            ASSERT_EQ(E_INVALIDARG, hr) << "input: " << strInput;
            continue;
        }
        catch (...)
        {
            FAIL() << "undocumented exception; input: " << strInput;
        }
        nInstances += static_cast<unsigned long>(mp.Instances().size());
        ASSERT_TRUE(mofcheck::ScanResultSane(mp)) << "input: " << strInput;
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
    const double dSeconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - tStart).count();
    printf("%lu inputs in %.1f s: %lu ended with E_INVALIDARG, %lu refused, %lu instances found\n", nRun,
           dSeconds, nThrown, nRefused, nInstances);
    EXPECT_GT(nThrown, 0ul);
    EXPECT_LT(nThrown, nRun);
    if (nRun < nRuns)
        printf("deadline of %.0f s reached before %lu inputs\n", dDeadline, nRuns);
}
