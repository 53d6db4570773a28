// Records: columns, level words, the "<global>" rule, line ends, buffer growth.
#include "TraceTestSupport.h"

#include <cstdio>
#include <regex>

namespace
{
std::string Id4(DWORD dwId)
{
    char sz[16];
    snprintf(sz, sizeof(sz), "%04lu", dwId);
    return sz;
}
} // namespace

TEST_F(TraceTest, RecordColumnsAndLevelWords)
{
    m_pTrace->InitExplicit(m_strPath.c_str(), 7, 0);
    for (unsigned nLevel = 1; nLevel <= 8; ++nLevel) // 8: above the configured level
    {
        m_pTrace->Trace(nLevel, "CCStringConversion::Convert2A", "Enter",
                        "Method Convert2A has been entered.", "n=%u s='%s'", nLevel, "abc");
    }
    const auto lines = Lines();
    ASSERT_EQ(7u, lines.size());
    // Level 7 has no word: its record has one column fewer.
    const char* aszWords[] = {"\tError", "\tWarning", "\tInfo", "\tVerbose", "\tInfoCC", "\tVerboseCC", ""};
    const std::regex dateTime(R"(\d\d\.\d\d\.\d{4} \d\d:\d\d:\d\d\.\d{3}\t)");
    for (unsigned i = 0; i < 7; ++i)
    {
        ASSERT_GT(lines[i].size(), 24u);
        EXPECT_TRUE(std::regex_match(lines[i].substr(0, 24), dateTime)) << lines[i];
        EXPECT_EQ(Id4(GetCurrentProcessId()) + "\t" + Id4(GetCurrentThreadId()) + aszWords[i] +
                      "\tCCStringConversion\tConvert2A\tEnter\tMethod Convert2A has been entered.\tn=" +
                      std::to_string(i + 1) + " s='abc'",
                  lines[i].substr(24));
    }
}

TEST_F(TraceTest, PlainFunctionNameBelongsToGlobal)
{
    m_pTrace->InitExplicit(m_strPath.c_str(), 6, 0);
    m_pTrace->Trace(3, "main", "Leave", "Method main has been left.", "nReturn=%d '%s'", 7,
                    "7, EXITCODE_ERR_NOTHING_DONE");
    const std::string strLongClass(300, 'K');
    m_pTrace->Trace(3, (strLongClass + "::M").c_str(), "Internal", "t", "");
    const auto lines = Lines();
    ASSERT_EQ(2u, lines.size());
    const auto cols = testkit::SplitTabs(lines[0]);
    ASSERT_EQ(9u, cols.size());
    EXPECT_EQ("<global>", cols[4]);
    EXPECT_EQ("main", cols[5]);
    EXPECT_EQ("nReturn=7 '7, EXITCODE_ERR_NOTHING_DONE'", cols[8]);
    const auto longCols = testkit::SplitTabs(lines[1]);
    ASSERT_EQ(9u, longCols.size());
    EXPECT_EQ(std::string(259, 'K'), longCols[4]);
    EXPECT_EQ("M", longCols[5]);
}

TEST_F(TraceTest, TracingOffWritesNothingAndEnableOnDoesNotSwitchItOn)
{
    m_pTrace->Enable_Off();
    m_pTrace->Enable_On();
    EXPECT_FALSE(m_pTrace->IsEnabled());
    m_pTrace->Trace(1, "C::M", "Internal", "never", "");
    m_pTrace->TraceRaw(1, "raw");
    m_pTrace->Delay(1, 1);
    EXPECT_FALSE(testkit::FileExists(m_dir.File("Trace.trc")));
    unsigned nLevel = 1;
    EXPECT_FALSE(m_pTrace->LockIfActive(&nLevel));
}

TEST_F(TraceTest, FileStartsWithBomAndEveryLineEndsWithCrLf)
{
    m_pTrace->InitExplicit(m_strPath.c_str(), 6, 0);
    m_pTrace->Trace(3, "C::M", "Internal", "two\nlines", "and\nmore");
    m_pTrace->TraceRaw(3, "raw %d\n", 5);
    const auto bytes = Bytes();
    ASSERT_GE(bytes.size(), 4u);
    EXPECT_EQ(0xFF, bytes[0]);
    EXPECT_EQ(0xFE, bytes[1]);
    size_t nLineFeeds = 0;
    for (size_t i = 2; i + 1 < bytes.size(); i += 2)
    {
        if (bytes[i] == '\n' && bytes[i + 1] == 0)
        {
            ++nLineFeeds;
            ASSERT_GE(i, 4u);
            EXPECT_EQ('\r', bytes[i - 2]) << "LF without CR at byte " << i;
        }
    }
    EXPECT_EQ(4u, nLineFeeds);
    EXPECT_EQ(0u, (bytes.size() - 2) % 2);
    // The raw text stands without header.
    EXPECT_NE(std::string::npos, Text().find("more\r\nraw 5\r\n"));
}

TEST_F(TraceTest, KeptFileGetsNoSecondBomAndTheClearFlagBeginsAfresh)
{
    for (const unsigned nFlags : {0u, static_cast<unsigned>(TRCFLAG_CLEAR)})
    {
        ASSERT_TRUE(testkit::WriteBytes(m_strPath, "\xFF\xFE" + testkit::Utf16Bytes("old\r\n")));
        CCArcaTrace trace;
        trace.InitExplicit(m_strPath.c_str(), 6, nFlags);
        trace.Trace(3, "C::M", "Internal", "new", "");
        const auto bytes = Bytes();
        size_t nBoms = 0;
        for (size_t i = 0; i + 1 < bytes.size(); i += 2)
            nBoms += (bytes[i] == 0xFF && bytes[i + 1] == 0xFE) ? 1 : 0;
        EXPECT_EQ(1u, nBoms);
        const auto lines = Lines();
        ASSERT_EQ(nFlags == 0 ? 2u : 1u, lines.size());
        EXPECT_EQ(nFlags == 0 ? "old" : lines[0], lines[0]);
        EXPECT_EQ("new", testkit::SplitTabs(lines.back())[7]);
    }
}

TEST_F(TraceTest, LongMessageGrowsTheBufferAndIsWrittenWhole)
{
    m_pTrace->InitExplicit(m_strPath.c_str(), 6, 0);
    EXPECT_EQ(4096u, m_pTrace->BufferCapacity());
    const std::string strLong(10000, 'x');
    m_pTrace->Trace(3, "C::M", "Internal", "long", "%s|end", strLong.c_str());
    EXPECT_EQ(16384u, m_pTrace->BufferCapacity());
    m_pTrace->Trace(3, "C::M", "Internal", "short", "s");
    EXPECT_EQ(16384u, m_pTrace->BufferCapacity());
    const auto lines = Lines();
    ASSERT_EQ(2u, lines.size());
    EXPECT_EQ(strLong + "|end", testkit::SplitTabs(lines[0])[8]);
    EXPECT_EQ("s", testkit::SplitTabs(lines[1])[8]);
}

TEST_F(TraceTest, RecordFillingTheWholeBufferLeavesNoRoomForTheLineEnd)
{
    m_pTrace->InitExplicit(m_strPath.c_str(), 6, 0);
    m_pTrace->Trace(3, "C::M", "Internal", "t", "");
    const size_t nHeader = Lines().at(0).size();
    // Header and message exactly as long as the buffer: the formatter fits, the "\n" does not.
    m_pTrace->Trace(3, "C::M", "Internal", "t", "%s", std::string(4096 - nHeader, 'a').c_str());
    // One character less: the record is written normally.
    m_pTrace->Trace(3, "C::M", "Internal", "t", "%s", std::string(4095 - nHeader, 'b').c_str());
    const std::string strText = Text();
    const std::string strMarker = "No space for end marker left in buffer";
    const size_t nMarker = strText.find(strMarker);
    ASSERT_NE(std::string::npos, nMarker);
    EXPECT_EQ(std::string::npos, strText.find("aaaa"));
    // The marker is written as it stands: the next record follows it on the same line.
    EXPECT_EQ(strText.find(std::string(4095 - nHeader, 'b')) - (nHeader), nMarker + strMarker.size());
    EXPECT_EQ(4096u, m_pTrace->BufferCapacity());
}

TEST_F(TraceTest, SemaphoreIsNamedAfterProcessAndPath)
{
    m_pTrace->InitExplicit(m_strPath.c_str(), 6, 0);
    char szPrefix[64];
    snprintf(szPrefix, sizeof(szPrefix), "CArcaTrace_PID_%8.8lx_", GetCurrentProcessId());
    std::string strName = szPrefix;
    for (char c : m_strPath)
    {
        if (std::string("<>:\"/\\|").find(c) == std::string::npos)
            strName += c;
    }
    EXPECT_EQ(nullptr, OpenSemaphoreA(SEMAPHORE_ALL_ACCESS, FALSE, strName.c_str()));
    m_pTrace->Trace(3, "C::M", "Internal", "t", "");
    HANDLE hSem = OpenSemaphoreA(SEMAPHORE_ALL_ACCESS, FALSE, strName.c_str());
    ASSERT_NE(nullptr, hSem);
    // Count 1 and free between records.
    EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(hSem, 0));
    EXPECT_EQ(static_cast<DWORD>(WAIT_TIMEOUT), WaitForSingleObject(hSem, 0));
    ReleaseSemaphore(hSem, 1, nullptr);
    CloseHandle(hSem);
}

TEST_F(TraceTest, EnableOffAndOn)
{
    m_pTrace->InitExplicit(m_strPath.c_str(), 6, 0);
    m_pTrace->Enable_On(); // never switched off: nothing happens
    m_pTrace->Trace(3, "C::M", "Internal", "one", "");
    m_pTrace->Enable_Off();
    EXPECT_FALSE(m_pTrace->IsEnabled());
    m_pTrace->Trace(1, "C::M", "Internal", "hidden", "");
    m_pTrace->Enable_On();
    m_pTrace->Trace(3, "C::M", "Internal", "two", "");
    const auto lines = Lines();
    ASSERT_EQ(4u, lines.size());
    const auto off = testkit::SplitTabs(lines[1]);
    EXPECT_EQ("VerboseCC", off[3]);
    EXPECT_EQ("CCArcaTrace", off[4]);
    EXPECT_EQ("Enable_Off", off[5]);
    EXPECT_EQ("TRACING IS SWITCHED OFF", off[7]);
    EXPECT_EQ("TRACING IS SWITCHED BACK ON", testkit::SplitTabs(lines[2])[7]);
    EXPECT_EQ(std::string::npos, Text().find("hidden"));
}

TEST_F(TraceTest, DelayWritesBeginAndEndAroundTheWait)
{
    m_pTrace->InitExplicit(m_strPath.c_str(), 6, 0);
    m_pTrace->Delay(3, 0);
    EXPECT_FALSE(testkit::FileExists(m_strPath));
    const ULONGLONG ullStart = GetTickCount64();
    m_pTrace->Delay(3, 1);
    EXPECT_GE(GetTickCount64() - ullStart, 1000u);
    const auto lines = Lines();
    ASSERT_EQ(2u, lines.size());
    const auto begin = testkit::SplitTabs(lines[0]);
    EXPECT_EQ("Delay", begin[5]);
    EXPECT_EQ("EXECUTION DELAY BEGIN", begin[7]);
    EXPECT_EQ("Execution is stopped for 1 seconds", begin[8]);
    EXPECT_EQ("Execution continues", testkit::SplitTabs(lines[1])[8]);
}
