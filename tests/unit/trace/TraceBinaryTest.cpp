// Hex dumps: line layout, partial last lines and skipped zero lines.
#include "TraceTestSupport.h"

#include <cstdint>
#include <cstdio>

class TraceBinaryTest : public TraceTest
{
protected:
    void SetUp() override { m_pTrace->InitExplicit(m_strPath.c_str(), 6, 0); }
    // The dump lines: everything after the header record and its empty line.
    std::vector<std::string> DumpLines(const void* pData, unsigned nBytes, bool bSkip, unsigned nPerLine = 16,
                                       unsigned nPerGroup = 4)
    {
        m_pTrace->TraceBinary(4, "C::Dump", "Internal", "data", pData, nBytes, nPerLine, nPerGroup, bSkip);
        const auto lines = Lines();
        EXPECT_GE(lines.size(), 2u);
        // The address as the Windows runtime prints "%p": 16 upper-case hex digits.
        char szHeader[96];
        snprintf(szHeader, sizeof(szHeader), "Binary data at address 0x%016llX (%u Bytes)",
                 static_cast<unsigned long long>(reinterpret_cast<uintptr_t>(pData)), nBytes);
        EXPECT_EQ(szHeader, testkit::SplitTabs(lines.at(0)).at(8));
        EXPECT_EQ("", lines.at(1));
        return std::vector<std::string>(lines.begin() + 2, lines.end());
    }
};

TEST_F(TraceBinaryTest, FullLineLayout)
{
    unsigned char ab[32];
    for (unsigned i = 0; i < 16; ++i)
    {
        ab[i] = static_cast<unsigned char>('A' + i);
    }
    const unsigned char abEdges[16] = {0x00, 0x1F, 0x20, 0x7E, 0x7F, 0x80, 0xFF, 'z', 1, 2, 3, 4, 5, 6, 7, 8};
    memcpy(ab + 16, abEdges, 16);
    const auto lines = DumpLines(ab, 32, false);
    ASSERT_EQ(2u, lines.size());
    EXPECT_EQ("41 42 43 44  45 46 47 48  49 4A 4B 4C  4D 4E 4F 50  ABCD EFGH IJKL MNOP", lines[0]);
    EXPECT_EQ("00 1F 20 7E  7F 80 FF 7A  01 02 03 04  05 06 07 08  .. ~ \x7F..z .... ....", lines[1]);
}

TEST_F(TraceBinaryTest, PartialLastLineIsPaddedUnlessOneByteShort)
{
    unsigned char ab[31];
    for (unsigned i = 0; i < sizeof(ab); ++i)
    {
        ab[i] = static_cast<unsigned char>('a' + i % 26);
    }
    // 15 bytes on the last line of 16: that line is not written.
    EXPECT_EQ(1u, DumpLines(ab, 31, false).size());
}

TEST_F(TraceBinaryTest, PartialLastLineOfFourteenIsBlankedBehindItsBytes)
{
    unsigned char ab[30];
    memset(ab, 'Z', sizeof(ab));
    const auto lines = DumpLines(ab, 30, false);
    ASSERT_EQ(2u, lines.size());
    EXPECT_EQ("5A 5A 5A 5A  5A 5A 5A 5A  5A 5A 5A 5A  5A 5A        ZZZZ ZZZZ ZZZZ ZZ  ", lines[1]);
}

TEST_F(TraceBinaryTest, TrailingZeroLinesAreSkipped)
{
    unsigned char ab[64] = {};
    memset(ab, 'd', 16);
    const auto lines = DumpLines(ab, 64, true);
    ASSERT_EQ(2u, lines.size());
    EXPECT_EQ("64 64 64 64  64 64 64 64  64 64 64 64  64 64 64 64  dddd dddd dddd dddd", lines[0]);
    EXPECT_EQ("... 3 zero lines skipped", lines[1]);
}

TEST_F(TraceBinaryTest, LessThanOneLineOfDataKeepsExactlyTheFirstLine)
{
    unsigned char ab[40] = {1, 2, 3};
    const auto lines = DumpLines(ab, 40, true);
    // 24 bytes skipped as one whole line: 16 + 8 bytes are dumped.
    ASSERT_EQ(3u, lines.size());
    EXPECT_EQ("01 02 03 00  00 00 00 00  00 00 00 00  00 00 00 00  .... .... .... ....", lines[0]);
    EXPECT_EQ("00 00 00 00  00 00 00 00                            .... ....          ", lines[1]);
    EXPECT_EQ("... 1 zero lines skipped", lines[2]);
}

TEST_F(TraceBinaryTest, FewerTrailingZerosThanALineAreDumped)
{
    unsigned char ab[32] = {};
    memset(ab, 'e', 20);
    EXPECT_EQ(2u, DumpLines(ab, 32, true).size());
}

TEST_F(TraceBinaryTest, ZeroGroupSizeDumpsNothingInsteadOfFailing)
{
    unsigned char ab[8] = {1};
    m_pTrace->TraceBinary(4, "C::Dump", "Internal", "data", ab, 8, 16, 0, false);
    EXPECT_EQ(2u, Lines().size()); // the header record and its empty line only
}
