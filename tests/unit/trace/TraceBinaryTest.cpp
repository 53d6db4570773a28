// Hex dumps: line layout, partial last lines and skipped zero lines.
#include "TraceTestSupport.h"

#include <cstdint>
#include <cstdio>

TEST_F(TraceTest, BinaryDumps)
{
    const std::string strEdges("\x00\x1F\x20\x7E\x7F\x80\xFF\x7A\x01\x02\x03\x04\x05\x06\x07\x08", 16);
    const std::string strDs(16, 'd');
    const struct
    {
        std::string strData;
        bool bSkip;
        std::vector<std::string> lines;
    } cases[] = {
        {"ABCDEFGHIJKLMNOP" + strEdges,
         false,
         {"41 42 43 44  45 46 47 48  49 4A 4B 4C  4D 4E 4F 50  ABCD EFGH IJKL MNOP",
          "00 1F 20 7E  7F 80 FF 7A  01 02 03 04  05 06 07 08  .. ~ \x7F..z .... ...."}},
        // 15 bytes on the last line of 16: that line is not written; 14 are blanked behind.
        {std::string(31, 'a'),
         false,
         {"61 61 61 61  61 61 61 61  61 61 61 61  61 61 61 61  aaaa aaaa aaaa aaaa"}},
        {std::string(30, 'Z'),
         false,
         {"5A 5A 5A 5A  5A 5A 5A 5A  5A 5A 5A 5A  5A 5A 5A 5A  ZZZZ ZZZZ ZZZZ ZZZZ",
          "5A 5A 5A 5A  5A 5A 5A 5A  5A 5A 5A 5A  5A 5A        ZZZZ ZZZZ ZZZZ ZZ  "}},
        {strDs + std::string(48, '\0'),
         true,
         {"64 64 64 64  64 64 64 64  64 64 64 64  64 64 64 64  dddd dddd dddd dddd",
          "... 3 zero lines skipped"}},
        // Less than one line of data: exactly the first line is kept, 24 bytes skip one line.
        {std::string("\x01\x02\x03", 3) + std::string(37, '\0'),
         true,
         {"01 02 03 00  00 00 00 00  00 00 00 00  00 00 00 00  .... .... .... ....",
          "00 00 00 00  00 00 00 00                            .... ....          ",
          "... 1 zero lines skipped"}},
        // Fewer trailing zeros than a line are dumped.
        {std::string(20, 'e') + std::string(12, '\0'),
         true,
         {"65 65 65 65  65 65 65 65  65 65 65 65  65 65 65 65  eeee eeee eeee eeee",
          "65 65 65 65  00 00 00 00  00 00 00 00  00 00 00 00  eeee .... .... ...."}},
    };
    m_pTrace->InitExplicit(m_strPath.c_str(), 6, TRCFLAG_CLEAR);
    for (const auto& c : cases)
    {
        m_pTrace->TraceBinary(4, "C::Dump", "Internal", "data", c.strData.data(),
                              static_cast<unsigned>(c.strData.size()), 16, 4, c.bSkip);
        const auto lines = Lines();
        ASSERT_GE(lines.size(), 2u);
        // The address as the Windows runtime prints "%p": 16 upper-case hex digits.
        char szHeader[96];
        snprintf(szHeader, sizeof(szHeader), "Binary data at address 0x%016llX (%u Bytes)",
                 static_cast<unsigned long long>(reinterpret_cast<uintptr_t>(c.strData.data())),
                 static_cast<unsigned>(c.strData.size()));
        EXPECT_EQ(szHeader, testkit::SplitTabs(lines[0]).at(8));
        EXPECT_EQ("", lines[1]);
        EXPECT_EQ(c.lines, std::vector<std::string>(lines.begin() + 2, lines.end())) << c.lines[0];
        DeleteFileA(m_strPath.c_str());
    }
    // A group size of 0 dumps nothing instead of failing.
    m_pTrace->TraceBinary(4, "C::Dump", "Internal", "data", "abc", 3, 16, 0, false);
    EXPECT_EQ(2u, Lines().size());
}
