// Size and time limits: history names and what a switched file begins with.
#include "TraceTestSupport.h"

#include <cstdio>

namespace
{
// The line that a successful switch formats into the record buffer.
std::string SwitchWarningLine()
{
    char* szText = nullptr;
    FormatMessageA(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM |
                       FORMAT_MESSAGE_IGNORE_INSERTS,
                   nullptr, 1, 0, reinterpret_cast<LPSTR>(&szText), 0, nullptr);
    std::string strMessage = szText != nullptr ? szText : "<unknown>";
    LocalFree(szText);
    while (!strMessage.empty() && (strMessage.back() == '\r' || strMessage.back() == '\n'))
        strMessage.pop_back();
    return "31.12.2030 23:59:59.999\t9999\t9999\twarning\tCCArcaTrace\tFileSwitch\tInternal\t"
           "MoveFileExW returned last error 0x00000001, " +
           strMessage + "\n";
}

// As the trace writes text: UTF-16 LE, CR before LF.
std::string TraceBytes(const std::string& strText)
{
    std::string strOut;
    for (char c : strText)
    {
        if (c == '\n')
            strOut += std::string("\r\0", 2);
        strOut += std::string(1, c) + std::string(1, '\0');
    }
    return strOut;
}

std::string AsString(const std::vector<unsigned char>& bytes)
{
    return std::string(bytes.begin(), bytes.end());
}
} // namespace

class TraceLimitTest : public TraceTest
{
protected:
    std::unique_ptr<testkit::CScratchKey> m_pKey;

    void Configure(const std::string& strFile, DWORD dwLimitSize, DWORD dwLimitTime, DWORD dwKeepHistory,
                   DWORD dwClear = 1)
    {
        m_pKey = std::make_unique<testkit::CScratchKey>(FullKey());
        m_pKey->SetDword("Trace", 1);
        m_pKey->SetDword("TraceLevel", 6);
        m_pKey->SetDword("TraceClear", dwClear);
        m_pKey->SetString("TraceFile", strFile);
        m_pKey->SetDword("TraceLimitSize", dwLimitSize);
        m_pKey->SetDword("TraceLimitTime", dwLimitTime);
        m_pKey->SetDword("TraceKeepHistory", dwKeepHistory);
        m_pTrace->InitFromRegistry(AppKey().c_str(), 0x24);
        ASSERT_TRUE(m_pTrace->IsEnabled());
    }
    // Writes records longer than the switch warning line until the file has been switched once.
    void WriteUntilSwitched(const std::string& strHistory)
    {
        for (int i = 0; i < 100 && !testkit::FileExists(strHistory); ++i)
            m_pTrace->Trace(3, "C::M", "Internal", "t", "%s", std::string(200, 'a' + i % 26).c_str());
        ASSERT_TRUE(testkit::FileExists(strHistory));
    }
};

TEST_F(TraceLimitTest, SizeLimitSwitchesToHistoryAndNewFileHoldsTheWarningLine)
{
    Configure(m_strPath, 1000, 0, 0);
    WriteUntilSwitched(m_dir.File("t_000.trc"));
    // The history file holds whole records only, and more than the limit.
    const auto history = testkit::ReadBytes(m_dir.File("t_000.trc"));
    EXPECT_GT(history.size(), 1000u);
    EXPECT_EQ(0xFF, history[0]);
    // The pending record was longer than the warning line: the new file shows the line, a NUL
    // and the rest of the pending record, cut to the record's length.
    m_pTrace->Trace(3, "C::M", "Internal", "after", "");
    const std::string strNew = AsString(Bytes());
    const std::string strWarning = SwitchWarningLine();
    ASSERT_EQ("\xFF\xFE" + TraceBytes(strWarning), strNew.substr(0, 2 + TraceBytes(strWarning).size()));
    const std::string strTail = strNew.substr(2 + TraceBytes(strWarning).size());
    ASSERT_GE(strTail.size(), 2u);
    EXPECT_EQ(std::string(2, '\0'), strTail.substr(0, 2));
    const auto lines = testkit::SplitLines(testkit::ReadUtf16Text(m_strPath));
    ASSERT_EQ(3u, lines.size());
    // The pending record's last characters close the second line, the next record follows whole.
    EXPECT_EQ(std::string(10, lines[1].back()), lines[1].substr(lines[1].size() - 10));
    EXPECT_EQ("after", testkit::SplitTabs(lines[2])[7]);
}

TEST_F(TraceLimitTest, ShortPendingRecordShowsOnlyTheStartOfTheWarningLine)
{
    Configure(m_strPath, 1000, 0, 0);
    // Two records of about 250 characters: the count passes 1000 bytes with the second.
    for (int i = 0; i < 2; ++i)
        m_pTrace->Trace(3, "C::M", "Internal", "t", "%s", std::string(200, 'x').c_str());
    ASSERT_FALSE(testkit::FileExists(m_dir.File("t_000.trc")));
    m_pTrace->TraceRaw(3, "%s", "short!"); // six characters pending when the limit is found
    ASSERT_TRUE(testkit::FileExists(m_dir.File("t_000.trc")));
    EXPECT_EQ("\xFF\xFE" + TraceBytes(SwitchWarningLine().substr(0, 6)), AsString(Bytes()));
}

TEST_F(TraceLimitTest, HistoryNumbersAreKeptOrOverwritten)
{
    ASSERT_TRUE(testkit::WriteBytes(m_dir.File("t_000.trc"), "zero"));
    ASSERT_TRUE(testkit::WriteBytes(m_dir.File("t_001.trc"), "one"));
    Configure(m_strPath, 1000, 0, 1);
    WriteUntilSwitched(m_dir.File("t_002.trc"));
    EXPECT_EQ("zero", AsString(testkit::ReadBytes(m_dir.File("t_000.trc"))));
    EXPECT_EQ("one", AsString(testkit::ReadBytes(m_dir.File("t_001.trc"))));

    // Without TraceKeepHistory the first number is taken again and again.
    CCArcaTrace overwrite;
    m_pKey->SetDword("TraceKeepHistory", 0);
    overwrite.InitFromRegistry(AppKey().c_str(), 0x24);
    for (int i = 0; i < 40; ++i)
        overwrite.Trace(3, "C::M", "Internal", "t", "%s", std::string(60, 'q').c_str());
    const auto history = testkit::ReadBytes(m_dir.File("t_000.trc"));
    ASSERT_GT(history.size(), 1000u);
    EXPECT_EQ(0xFF, history[0]);
    EXPECT_FALSE(testkit::FileExists(m_dir.File("t_003.trc")));
}

TEST_F(TraceLimitTest, TraceTxtSuffixInAnyCaseAndPathWithoutDot)
{
    // The suffix is matched without regard to case; the history name carries it as ".trace.txt".
    Configure(m_dir.File("x.Trace.TXT"), 1000, 0, 0);
    WriteUntilSwitched(m_dir.File("x_000.trace.txt"));
    WIN32_FIND_DATAA data;
    HANDLE hFind = FindFirstFileA(m_dir.File("x_000.*").c_str(), &data);
    ASSERT_NE(INVALID_HANDLE_VALUE, hFind);
    FindClose(hFind);
    EXPECT_STREQ("x_000.trace.txt", data.cFileName);

    CCArcaTrace noDot;
    m_pKey->SetString("TraceFile", m_dir.File("log"));
    noDot.InitFromRegistry(AppKey().c_str(), 0x24);
    for (int i = 0; i < 100 && !testkit::FileExists(m_dir.File("log_000")); ++i)
        noDot.Trace(3, "C::M", "Internal", "t", "%s", std::string(60, 'n').c_str());
    EXPECT_TRUE(testkit::FileExists(m_dir.File("log_000")));
}

TEST_F(TraceLimitTest, FailedRenameWritesTheErrorLineIntoTheOldFile)
{
    Configure(m_strPath, 1000, 0, 0);
    m_pTrace->Trace(3, "C::M", "Internal", "t", "%s", std::string(1000, 'a').c_str());
    // Open without delete sharing: the file cannot be renamed while this handle lives.
    HANDLE hHold = CreateFileA(m_strPath.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                               OPEN_EXISTING, 0, nullptr);
    ASSERT_NE(INVALID_HANDLE_VALUE, hHold);
    m_pTrace->Trace(3, "C::M", "Internal", "t", "%s", std::string(300, 'b').c_str());
    CloseHandle(hHold);
    EXPECT_FALSE(testkit::FileExists(m_dir.File("t_000.trc")));
    const std::string strError =
        "31.12.2030 23:59:59.999\t9999\t9999\terror\tCCArcaTrace\tFileSwitch\tException\t"
        "MoveFileExW could not create file '" +
        m_dir.File("t_000.trc") + "'\n";
    // The pending record, then twice the error line as long as that record (its rest behind a NUL).
    const std::string strText = Text();
    const size_t nFirst = strText.find(strError.substr(0, strError.size() - 1));
    ASSERT_NE(std::string::npos, nFirst) << strText;
    EXPECT_NE(std::string::npos, strText.find(strError.substr(0, strError.size() - 1), nFirst + 1));
    EXPECT_LT(strText.find(std::string(300, 'b')), nFirst);
}

TEST_F(TraceLimitTest, AllHistoryNumbersTakenGivesTheAaaTraceTxtName)
{
    for (int n = 0; n < 1000; ++n)
    {
        char szName[32];
        snprintf(szName, sizeof(szName), "t_%3.3d.trc", n);
        ASSERT_TRUE(testkit::WriteBytes(m_dir.File(szName), "h"));
    }
    Configure(m_strPath, 1000, 0, 1);
    WriteUntilSwitched(m_dir.File("t_aaa.trace.txt"));
    EXPECT_EQ("h", AsString(testkit::ReadBytes(m_dir.File("t_999.trc"))));
}

TEST_F(TraceLimitTest, TimeLimitSwitchesAKeptFileAtTheFirstRecord)
{
    ASSERT_TRUE(testkit::WriteBytes(m_strPath, "\xFF\xFE" + testkit::Utf16Bytes("old\r\n")));
    Configure(m_strPath, 0, 5, 0, 0);
    m_pTrace->Trace(3, "C::M", "Internal", "first", "%s", std::string(200, 'f').c_str());
    ASSERT_TRUE(testkit::FileExists(m_dir.File("t_000.trc")));
    EXPECT_EQ("old\r\n", testkit::ReadUtf16Text(m_dir.File("t_000.trc")));
    // The next switch is five minutes away: the following records stay in the new file,
    // which begins with the warning line and the rest of the first record.
    m_pTrace->Trace(3, "C::M", "Internal", "second", "");
    const auto lines = Lines();
    ASSERT_EQ(3u, lines.size());
    EXPECT_EQ(SwitchWarningLine(), lines[0] + "\n");
    EXPECT_EQ("second", testkit::SplitTabs(lines[2])[7]);

    // A fresh file gets its next switch time at creation: no switch at the first records.
    CCArcaTrace fresh;
    m_pKey->SetDword("TraceClear", 1);
    m_pKey->SetString("TraceFile", m_dir.File("f.trc"));
    fresh.InitFromRegistry(AppKey().c_str(), 0x24);
    fresh.Trace(3, "C::M", "Internal", "first", "");
    fresh.Trace(3, "C::M", "Internal", "second", "");
    EXPECT_FALSE(testkit::FileExists(m_dir.File("f_000.trc")));
    EXPECT_EQ(2u, testkit::SplitLines(testkit::ReadUtf16Text(m_dir.File("f.trc"))).size());
}
