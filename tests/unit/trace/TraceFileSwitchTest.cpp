// Size and time limits: history names and what a switched file begins with.
#include "TraceTestSupport.h"

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
           strMessage + "\r\n";
}
} // namespace

class TraceLimitTest : public TraceTest
{
protected:
    void Configure(const std::string& strFile, DWORD dwLimitSize, DWORD dwLimitTime, DWORD dwKeepHistory,
                   DWORD dwClear = 1)
    {
        SetDwords({{"Trace", 1},
                   {"TraceLevel", 6},
                   {"TraceClear", dwClear},
                   {"TraceLimitSize", dwLimitSize},
                   {"TraceLimitTime", dwLimitTime},
                   {"TraceKeepHistory", dwKeepHistory}});
        m_key.SetString("TraceFile", strFile);
        m_pTrace = std::make_unique<CCArcaTrace>();
        m_pTrace->InitFromRegistry(AppKey().c_str(), 0x24);
        ASSERT_TRUE(m_pTrace->IsEnabled());
    }
    // Writes records longer than the switch warning line until the file has been switched once:
    // the history file then holds more than the limit of 1000 bytes.
    void WriteUntilSwitched(const std::string& strHistory)
    {
        for (int i = 0; i < 100 && Bytes(strHistory).size() <= 1000; ++i)
            m_pTrace->Trace(3, "C::M", "Internal", "t", "%s", std::string(200, 'a' + i % 26).c_str());
        ASSERT_GT(Bytes(strHistory).size(), 1000u);
    }
};

TEST_F(TraceLimitTest, SizeLimitSwitchesToHistoryAndNewFileHoldsTheWarningLine)
{
    Configure(m_strPath, 1000, 0, 0);
    WriteUntilSwitched(m_dir.File("t_000.trc"));
    EXPECT_EQ(0u, Bytes(m_dir.File("t_000.trc")).find("\xFF\xFE"));
    // The pending record was longer than the warning line: the new file shows the line, a NUL
    // and the rest of the pending record, cut to the record's length.
    m_pTrace->Trace(3, "C::M", "Internal", "after", "");
    const std::string strStart = "\xFF\xFE" + testkit::Utf16Bytes(SwitchWarningLine()) + std::string(2, '\0');
    EXPECT_EQ(strStart, Bytes().substr(0, strStart.size()));
    const auto lines = Lines();
    ASSERT_EQ(3u, lines.size());
    // The pending record's last characters close the second line, the next record follows whole.
    EXPECT_EQ(std::string(10, lines[1].back()), lines[1].substr(lines[1].size() - 10));
    EXPECT_EQ("after", Column(lines[2], 7));

    // A pending record shorter than the line shows only the line's start.
    Configure(m_dir.File("s.trc"), 1000, 0, 0);
    for (int i = 0; i < 2; ++i) // about 500 bytes each: the count passes 1000 bytes with the second
        m_pTrace->Trace(3, "C::M", "Internal", "t", "%s", std::string(200, 'x').c_str());
    ASSERT_FALSE(testkit::FileExists(m_dir.File("s_000.trc")));
    m_pTrace->TraceRaw(3, "%s", "short!");
    ASSERT_TRUE(testkit::FileExists(m_dir.File("s_000.trc")));
    EXPECT_EQ("\xFF\xFE" + testkit::Utf16Bytes(SwitchWarningLine().substr(0, 6)), Bytes(m_dir.File("s.trc")));
}

// The history name of a size switch: the stem and "_000" on (".trace.txt" matched without regard
// to case and written in lower case), the first free number with TraceKeepHistory, else "_000"
// again; "_aaa.trace.txt" when all 1000 are taken. Other history files stay as they were.
TEST_F(TraceLimitTest, HistoryNames)
{
    const struct
    {
        const char* szFile;
        int nTaken; // history files t_000.trc on, there before
        DWORD dwKeepHistory;
        const char* szHistory;
    } cases[] = {
        {"t.trc", 2, 1, "t_002.trc"},
        {"t.trc", 2, 0, "t_000.trc"},
        {"x.Trace.TXT", 0, 0, "x_000.trace.txt"},
        {"log", 0, 0, "log_000"},
        {"t.trc", 1000, 1, "t_aaa.trace.txt"},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.szHistory);
        std::vector<std::string> taken;
        for (int n = 0; n < c.nTaken; ++n)
        {
            char szName[32];
            snprintf(szName, sizeof(szName), "t_%3.3d.trc", n);
            taken.push_back(szName);
            ASSERT_TRUE(testkit::WriteBytes(m_dir.File(szName), "h"));
        }
        Configure(m_dir.File(c.szFile), 1000, 0, c.dwKeepHistory);
        WriteUntilSwitched(m_dir.File(c.szHistory));
        WIN32_FIND_DATAA data;
        const HANDLE hFind = FindFirstFileA(m_dir.File(c.szHistory).c_str(), &data);
        ASSERT_NE(INVALID_HANDLE_VALUE, hFind);
        FindClose(hFind);
        EXPECT_STREQ(c.szHistory, data.cFileName);
        for (const std::string& strName : taken)
            EXPECT_EQ(strName != c.szHistory, Bytes(m_dir.File(strName)) == "h") << strName;
    }
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
        m_dir.File("t_000.trc") + "'";
    // The pending record, then twice the error line as long as that record (its rest behind a NUL).
    const std::string strText = Text();
    const size_t nFirst = strText.find(strError);
    ASSERT_NE(std::string::npos, nFirst) << strText;
    EXPECT_NE(std::string::npos, strText.find(strError, nFirst + 1));
    EXPECT_LT(strText.find(std::string(300, 'b')), nFirst);
}

TEST_F(TraceLimitTest, TimeLimitSwitchesAKeptFileAtTheFirstRecordButNotAFreshOne)
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
    EXPECT_EQ(SwitchWarningLine(), lines[0] + "\r\n");
    EXPECT_EQ("second", Column(lines[2], 7));

    // A fresh file gets its next switch time at creation: no switch at the first records.
    Configure(m_dir.File("f.trc"), 0, 5, 0, 1);
    m_pTrace->Trace(3, "C::M", "Internal", "first", "");
    m_pTrace->Trace(3, "C::M", "Internal", "second", "");
    EXPECT_FALSE(testkit::FileExists(m_dir.File("f_000.trc")));
    EXPECT_EQ(2u, testkit::SplitLines(testkit::ReadUtf16Text(m_dir.File("f.trc"))).size());
}
