// Records: columns, level words, line ends, buffer growth.
#include "TraceTestSupport.h"

#include <algorithm>
#include <regex>

// Levels 1 to 7 configured: the words of levels 5 and 6, none for 7 and no record above it; a class
// name is cut at 259 characters. (The words of levels 1 to 4 and "<global>" are proven end to end.)
TEST_F(TraceTest, RecordColumnsLevelWordsAndClassNames)
{
    m_pTrace->InitExplicit(m_strPath.c_str(), 7, 0);
    for (unsigned nLevel = 5; nLevel <= 8; ++nLevel)
    {
        m_pTrace->Trace(nLevel, "CCStringConversion::Convert2A", "Enter",
                        "Method Convert2A has been entered.", "n=%u s='%s'", nLevel, "abc");
    }
    m_pTrace->Trace(3, (std::string(300, 'K') + "::M").c_str(), "Internal", "t", "");
    const auto lines = Lines();
    ASSERT_EQ(4u, lines.size());
    const char* aszWords[] = {"\tInfoCC", "\tVerboseCC", ""};
    const std::regex dateTime(R"(\d\d\.\d\d\.\d{4} \d\d:\d\d:\d\d\.\d{3}\t)");
    const std::string strIds = Id4(GetCurrentProcessId()) + "\t" + Id4(GetCurrentThreadId());
    for (unsigned i = 0; i < 3; ++i)
    {
        ASSERT_GT(lines[i].size(), 24u);
        EXPECT_TRUE(std::regex_match(lines[i].substr(0, 24), dateTime)) << lines[i];
        EXPECT_EQ(strIds + aszWords[i] +
                      "\tCCStringConversion\tConvert2A\tEnter\tMethod Convert2A has been entered.\tn=" +
                      std::to_string(i + 5) + " s='abc'",
                  lines[i].substr(24));
    }
    EXPECT_EQ(std::string(259, 'K') + "|M", Column(lines[3], 4) + "|" + Column(lines[3], 5));
}

// A trace that no one switched on names "Trace.trc" in the current directory: neither that file
// nor the semaphore named after it may appear. The first record written creates the semaphore,
// named after the process and the path without < > : " / \ |, with count 1, free between records.
TEST_F(TraceTest, OnlyATraceThatWritesHasAFileAndASemaphore)
{
    char szCwd[MAX_PATH];
    ASSERT_NE(0u, GetCurrentDirectoryA(MAX_PATH, szCwd));
    ASSERT_TRUE(SetCurrentDirectoryA(m_dir.Path().c_str()));
    for (unsigned nLevel = 1; nLevel <= 7; ++nLevel)
    {
        m_pTrace->Trace(nLevel, "C::M", "Internal", "never", "");
        m_pTrace->TraceRaw(nLevel, "raw");
    }
    SetCurrentDirectoryA(szCwd);
    EXPECT_FALSE(testkit::FileExists(m_dir.File("Trace.trc")));
    char szPrefix[64];
    snprintf(szPrefix, sizeof(szPrefix), "CArcaTrace_PID_%8.8lx_", GetCurrentProcessId());
    EXPECT_EQ(nullptr, OpenSemaphoreA(SYNCHRONIZE, FALSE, (szPrefix + std::string("Trace.trc")).c_str()));

    m_pTrace->InitExplicit(m_strPath.c_str(), 6, 0);
    std::string strName = szPrefix;
    for (char c : m_strPath)
        strName += std::string("<>:\"/\\|").find(c) == std::string::npos ? std::string(1, c) : "";
    EXPECT_EQ(nullptr, OpenSemaphoreA(SEMAPHORE_ALL_ACCESS, FALSE, strName.c_str()));
    m_pTrace->Trace(3, "C::M", "Internal", "t", "");
    HANDLE hSem = OpenSemaphoreA(SEMAPHORE_ALL_ACCESS, FALSE, strName.c_str());
    ASSERT_NE(nullptr, hSem);
    EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(hSem, 0));
    EXPECT_EQ(static_cast<DWORD>(WAIT_TIMEOUT), WaitForSingleObject(hSem, 0));
    ReleaseSemaphore(hSem, 1, nullptr);
    CloseHandle(hSem);
}

TEST_F(TraceTest, FileHasOneBomAndEveryLineEndsWithCrLf)
{
    m_pTrace->InitExplicit(m_strPath.c_str(), 6, 0);
    m_pTrace->Trace(3, "C::M", "Internal", "two\nlines", "and\nmore");
    m_pTrace->TraceRaw(3, "raw %d\n", 5);
    bool bBom = false;
    const std::string strText = testkit::ReadUtf16Text(m_strPath, &bBom);
    EXPECT_TRUE(bBom);
    EXPECT_EQ(4, std::count(strText.begin(), strText.end(), '\n'));
    EXPECT_NE(std::string::npos, strText.find("more\r\nraw 5\r\n")); // the raw text stands without header

    // The clear flag begins afresh, with one mark. (A kept file, appended to without a second mark,
    // is proven end to end.)
    ASSERT_TRUE(testkit::WriteBytes(m_strPath, "\xFF\xFE" + testkit::Utf16Bytes("old\r\n")));
    CCArcaTrace trace;
    trace.InitExplicit(m_strPath.c_str(), 6, TRCFLAG_CLEAR);
    trace.Trace(3, "C::M", "Internal", "new", "");
    EXPECT_EQ(std::string::npos, Bytes().find("\xFF\xFE", 2)) << "a second mark";
    const auto lines = Lines();
    ASSERT_EQ(1u, lines.size());
    EXPECT_EQ("new", Column(lines[0], 7));
}

TEST_F(TraceTest, RecordFillingTheBufferLosesItsLineEndAndALongerOneGrowsTheBuffer)
{
    m_pTrace->InitExplicit(m_strPath.c_str(), 6, 0);
    EXPECT_EQ(4096u, m_pTrace->BufferCapacity());
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
    EXPECT_EQ(strText.find(std::string(4095 - nHeader, 'b')) - nHeader, nMarker + strMarker.size());
    EXPECT_EQ(4096u, m_pTrace->BufferCapacity());

    // A longer message grows the buffer and is written whole.
    const std::string strLong(10000, 'x');
    m_pTrace->Trace(3, "C::M", "Internal", "long", "%s|end", strLong.c_str());
    m_pTrace->Trace(3, "C::M", "Internal", "short", "s");
    EXPECT_EQ(16384u, m_pTrace->BufferCapacity());
    const auto lines = Lines();
    ASSERT_EQ(4u, lines.size());
    EXPECT_EQ(strLong + "|end", Column(lines[2], 8));
    EXPECT_EQ("s", Column(lines[3], 8));
}
