// WmiErrorText: the program's table, the system's message tables of Wine, and the facility rules.
#include "WmiErrorText.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

namespace
{
// What the system itself says for a message id, trailing line ends removed; empty for none.
std::string SystemText(DWORD dwId)
{
    char* szMessage = nullptr;
    DWORD nLen = FormatMessageA(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM, nullptr, dwId,
                                0x400, reinterpret_cast<char*>(&szMessage), 0, nullptr);
    std::string strText = nLen && szMessage ? std::string(szMessage, nLen) : std::string();
    if (szMessage)
        LocalFree(szMessage);
    while (strText.size() > 1 && (strText.back() == '\n' || strText.back() == '\r'))
        strText.pop_back();
    return strText;
}

// The first row of a code, or null.
const WMIERRORROW* TableRow(uint32_t dwCode)
{
    for (unsigned i = 0; i < gg_nWmiErrorRows; ++i)
        if (gg_aWmiErrorTable[i].dwCode == dwCode)
            return &gg_aWmiErrorTable[i];
    return nullptr;
}
} // namespace

TEST(WmiErrorTable, SizeOrderCodesAndXpPrefix)
{
    ASSERT_EQ(130u, gg_nWmiErrorRows);
    EXPECT_EQ(0u, gg_aWmiErrorTable[130].dwCode);
    EXPECT_EQ(nullptr, gg_aWmiErrorTable[130].szText);
    EXPECT_EQ(gg_aWmiErrorTable, gg_apWmiErrorTables[0]);
    EXPECT_EQ(nullptr, gg_apWmiErrorTables[1]);

    // Inclusive ranges of codes in table order; 0x8004107A has two rows.
    const uint32_t aRanges[][2] = {{0x80041001, 0x80041049}, {0x80041050, 0x8004105D},
                                   {0x8004105F, 0x80041078}, {0x8004107A, 0x8004107A},
                                   {0x8004107A, 0x8004107A}, {0x80041080, 0x8004108A},
                                   {0x80042001, 0x80042002}, {0x80043001, 0x80043002}};
    std::vector<uint32_t> expected;
    for (const auto& range : aRanges)
        for (uint32_t dw = range[0]; dw <= range[1]; ++dw)
            expected.push_back(dw);
    ASSERT_EQ(130u, expected.size());
    for (unsigned i = 0; i < gg_nWmiErrorRows; ++i)
    {
        EXPECT_EQ(expected[i], gg_aWmiErrorTable[i].dwCode) << "row " << i;
        ASSERT_NE(nullptr, gg_aWmiErrorTable[i].szText) << "row " << i;
        EXPECT_NE('\0', gg_aWmiErrorTable[i].szText[0]) << "row " << i;
        EXPECT_EQ(gg_aWmiErrorTable[i].dwCode >= 0x80041067,
                  strncmp(gg_aWmiErrorTable[i].szText, "Windows Server 2003 and Windows XP:  ", 37) == 0)
            << "row " << i;
    }
    // The second row of 0x8004107A, never reached by a lookup.
    EXPECT_STREQ("Windows Server 2003 and Windows XP:  WMI cannot do the put operation because the provider "
                 "does not allow it.",
                 TableRow(0x8004107A)[1].szText);
    // The provider row: six lines, "fileused" written as one word.
    const std::string strProvider = TableRow(0x80041013)->szText;
    EXPECT_EQ(0u, strProvider.find("COM cannot locate a provider referenced in the schema. This error may be "
                                   "caused by any of the following:\n"));
    EXPECT_NE(std::string::npos,
              strProvider.find("does not match the .lib fileused when the provider was built."));
    EXPECT_EQ(5, std::count(strProvider.begin(), strProvider.end(), '\n'));
}

// Byte for byte: the table's first row of a code, else "unknown". A code the system has a text
// of its own for gets that text, which varies with the system: such rows check the table only.
TEST(WmiErrorText, SystemTextFirstThenTheTableThenUnknown)
{
    const char* const szInvalidOp =
        "The requested operation is not valid. This error usually applies to invalid "
        "attempts to delete classes or properties.";
    const char* const szBadCimType = "The CIM type specified for a property is not valid.";
    const struct
    {
        uint32_t dwCode;
        const char* szText;
    } rows[] = {
        {0x80041001, "The call failed."},
        {0x80041002, "The object could not be found."},
        {0x80041008, "One of the parameters to the call is not correct"},
        {0x8004100E, "The namespace specified could not be found"},
        {0x80041010, "The specified class is not valid"},
        {0x80041016, szInvalidOp},
        {0x80041017, szInvalidOp},
        {0x80041022, "Reserved for future use."},
        {0x80041027, "Reserved for future use."},
        {0x80041044, "Reserved for future use."},
        {0x80041029, szBadCimType},
        {0x8004102A, szBadCimType},
        {0x8004103B,
         "Windows XP/2000/NT:  Disk is out of space.\nWindows Server 2003:  Disk is out of space or "
         "the 4 GB limit on WMI repository (CIM repository) size is reached."},
        // A table text keeps its line end.
        {0x80041089, "Windows Server 2003 and Windows XP:  User attempted to put an instance with no defined "
                     "key.\n"},
        {0x8004107A, "Windows Server 2003 and Windows XP:  WMI cannot do the delete operation because the "
                     "provider does not allow it."},
        {0x8004107B, "unknown"},
        {0x8004105E, "unknown"},
        {0x80041079, "unknown"},
        {0xC0DE0001, "unknown"},
        {0x80044FFF, "unknown"},
        {0x800E0005, "unknown"}, // without the message queuing module no source is asked
        {0xC00E0001, "unknown"},
    };
    for (const auto& row : rows)
    {
        const WMIERRORROW* pRow = TableRow(row.dwCode);
        EXPECT_STREQ(row.szText, pRow != nullptr ? pRow->szText : "unknown") << std::hex << row.dwCode;
        if (!SystemText(row.dwCode).empty())
            printf("0x%08X: the system's own text\n", row.dwCode);
        else
            EXPECT_STREQ(row.szText, WmiErrorText(row.dwCode)) << std::hex << row.dwCode;
    }
    // Facility 8 takes only the low 16 bits as the message id.
    ASSERT_FALSE(SystemText(ERROR_ACCESS_DENIED).empty()) << "Wine has no text for ERROR_ACCESS_DENIED";
    EXPECT_EQ(SystemText(ERROR_ACCESS_DENIED), WmiErrorText(0x80080005));
    EXPECT_EQ(SystemText(ERROR_FILE_NOT_FOUND), WmiErrorText(0x80080002));
}
