// WmiErrorText: the program's table, the system's message tables of Wine, and the facility rules.
#include "WmiErrorText.h"

#include <windows.h>

#include <gtest/gtest.h>

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

const char* TableText(uint32_t dwCode)
{
    for (unsigned i = 0; i < gg_nWmiErrorRows; ++i)
        if (gg_aWmiErrorTable[i].dwCode == dwCode)
            return gg_aWmiErrorTable[i].szText;
    return nullptr;
}

std::string Expected(uint32_t dwCode)
{
    std::string strSystem = SystemText(dwCode);
    if (!strSystem.empty())
        return strSystem;
    const char* szTable = TableText(dwCode);
    return szTable ? szTable : "unknown";
}
} // namespace

TEST(WmiErrorTable, SizeOrderAndCodes)
{
    ASSERT_EQ(130u, gg_nWmiErrorRows);
    EXPECT_EQ(0u, gg_aWmiErrorTable[130].dwCode);
    EXPECT_EQ(nullptr, gg_aWmiErrorTable[130].szText);
    EXPECT_EQ(gg_aWmiErrorTable, gg_apWmiErrorTables[0]);
    EXPECT_EQ(nullptr, gg_apWmiErrorTables[1]);

    std::vector<uint32_t> expected;
    auto range = [&](uint32_t dwFirst, uint32_t dwLast) {
        for (uint32_t dw = dwFirst; dw <= dwLast; ++dw)
            expected.push_back(dw);
    };
    range(0x80041001, 0x80041049);
    range(0x80041050, 0x8004105D);
    range(0x8004105F, 0x80041078);
    range(0x8004107A, 0x8004107A);
    range(0x8004107A, 0x8004107A);
    range(0x80041080, 0x8004108A);
    range(0x80042001, 0x80042002);
    range(0x80043001, 0x80043002);
    ASSERT_EQ(130u, expected.size());
    for (unsigned i = 0; i < gg_nWmiErrorRows; ++i)
    {
        EXPECT_EQ(expected[i], gg_aWmiErrorTable[i].dwCode) << "row " << i;
        ASSERT_NE(nullptr, gg_aWmiErrorTable[i].szText) << "row " << i;
        EXPECT_NE('\0', gg_aWmiErrorTable[i].szText[0]) << "row " << i;
        if (i > 0)
        {
            EXPECT_LE(gg_aWmiErrorTable[i - 1].dwCode, gg_aWmiErrorTable[i].dwCode) << "row " << i;
        }
        const bool bLater = gg_aWmiErrorTable[i].dwCode >= 0x80041067;
        EXPECT_EQ(bLater,
                  strncmp(gg_aWmiErrorTable[i].szText, "Windows Server 2003 and Windows XP:  ", 37) == 0)
            << "row " << i;
    }
}

TEST(WmiErrorTable, FixedRowsByteForByte)
{
    const char* const szInvalidOp =
        "The requested operation is not valid. This error usually applies to invalid "
        "attempts to delete classes or properties.";
    const struct
    {
        uint32_t dwCode;
        const char* szText;
    } fixed[] = {
        {0x80041001, "The call failed."},
        {0x80041002, "The object could not be found."},
        {0x80041003, "The current user does not have permission to perform the action."},
        {0x80041008, "One of the parameters to the call is not correct"},
        {0x8004100E, "The namespace specified could not be found"},
        {0x80041010, "The specified class is not valid"},
        {0x80041016, szInvalidOp},
        {0x80041017, szInvalidOp},
        {0x80041022, "Reserved for future use."},
        {0x80041027, "Reserved for future use."},
        {0x80041044, "Reserved for future use."},
        {0x80041029, "The CIM type specified for a property is not valid."},
        {0x8004102A, "The CIM type specified for a property is not valid."},
        {0x8004103B,
         "Windows XP/2000/NT:  Disk is out of space.\nWindows Server 2003:  Disk is out of space or "
         "the 4 GB limit on WMI repository (CIM repository) size is reached."},
        {0x80041089,
         "Windows Server 2003 and Windows XP:  User attempted to put an instance with no defined key.\n"},
        {0x8004107A,
         "Windows Server 2003 and Windows XP:  WMI cannot do the delete operation because the provider "
         "does not allow it."},
    };
    for (const auto& row : fixed)
    {
        const char* szText = TableText(row.dwCode);
        ASSERT_NE(nullptr, szText) << std::hex << row.dwCode;
        EXPECT_STREQ(row.szText, szText) << std::hex << row.dwCode;
    }

    const std::string strProvider = TableText(0x80041013);
    EXPECT_EQ(0u, strProvider.find(
                      "COM cannot locate a provider referenced in the schema. This error may be caused "
                      "by any of the following:\n"));
    EXPECT_NE(std::string::npos,
              strProvider.find("The provider is using a WMI DLL that does not match the .lib "
                               "fileused when the provider was built."));
    size_t nLines = 1;
    for (char c : strProvider)
        nLines += c == '\n';
    EXPECT_EQ(6u, nLines);
}

TEST(WmiErrorText, FirstMatchingRowWins)
{
    // Two rows for 0x8004107A; the lookup never reaches the second.
    std::vector<unsigned> rows;
    for (unsigned i = 0; i < gg_nWmiErrorRows; ++i)
        if (gg_aWmiErrorTable[i].dwCode == 0x8004107A)
            rows.push_back(i);
    ASSERT_EQ(2u, rows.size());
    EXPECT_EQ(rows[0] + 1, rows[1]);
    EXPECT_NE(nullptr, strstr(gg_aWmiErrorTable[rows[1]].szText, "put operation"));
    EXPECT_EQ(nullptr, TableText(0x8004107B));

    if (!SystemText(0x8004107A).empty())
        GTEST_SKIP() << "the system has its own text for 0x8004107A";
    EXPECT_STREQ(gg_aWmiErrorTable[rows[0]].szText, WmiErrorText(0x8004107A));
    EXPECT_EQ(Expected(0x8004107B), WmiErrorText(0x8004107B));
}

TEST(WmiErrorText, UnknownCodes)
{
    for (uint32_t dwCode : {0x8004107Bu, 0x8004105Eu, 0x80041079u, 0xC0DE0001u, 0x80044FFFu})
    {
        std::string strSystem = SystemText(dwCode);
        if (strSystem.empty())
        {
            EXPECT_STREQ("unknown", WmiErrorText(dwCode)) << std::hex << dwCode;
        }
        else
        {
            EXPECT_EQ(strSystem, WmiErrorText(dwCode)) << std::hex << dwCode;
        }
    }
    EXPECT_EQ(Expected(0), WmiErrorText(0));
    std::cout << "Wine's text for 0x00000000: '" << WmiErrorText(0) << "'\n";
}

TEST(WmiErrorText, WineMessageTablesAndFacilities)
{
    const char* szWmi = WmiErrorText(0x80041002);
    std::cout << "0x80041002: '" << szWmi << "'\n";
    EXPECT_EQ(Expected(0x80041002), szWmi);

    // Facility 7 keeps the full value.
    const std::string strFacility7 = WmiErrorText(0x80070005);
    std::cout << "0x80070005: '" << strFacility7 << "'\n";
    EXPECT_EQ(Expected(0x80070005), strFacility7);

    // Facility 8: only the low 16 bits name the message, here ERROR_ACCESS_DENIED.
    const std::string strFacility8 = WmiErrorText(0x80080005);
    std::cout << "0x80080005: '" << strFacility8 << "'\n";
    const std::string strAccessDenied = SystemText(ERROR_ACCESS_DENIED);
    ASSERT_FALSE(strAccessDenied.empty()) << "Wine has no text for ERROR_ACCESS_DENIED";
    EXPECT_EQ(strAccessDenied, strFacility8);
    // The system's text ends with a line end; the result does not.
    ASSERT_FALSE(strFacility8.empty());
    EXPECT_NE('\n', strFacility8.back());
    EXPECT_NE('\r', strFacility8.back());
    EXPECT_EQ(SystemText(ERROR_FILE_NOT_FOUND), WmiErrorText(0x80080002));
}

TEST(WmiErrorText, MessageQueuingFacilityWithoutItsModule)
{
    HMODULE hModule = LoadLibraryExA("MQUTIL.DLL", nullptr, LOAD_LIBRARY_AS_DATAFILE);
    if (hModule)
    {
        FreeLibrary(hModule);
        GTEST_SKIP() << "MQUTIL.DLL is present";
    }
    // Without the module nothing is asked of any message source: the table decides.
    EXPECT_STREQ("unknown", WmiErrorText(0x800E0005));
    EXPECT_STREQ("unknown", WmiErrorText(0xC00E0001));
}

TEST(WmiErrorText, OneStaticBufferOverwrittenByEachCall)
{
    const char* sz1 = WmiErrorText(0x8004107B);
    const std::string strFirst = sz1;
    const char* sz2 = WmiErrorText(0x80080005);
    EXPECT_EQ(sz1, sz2);
    EXPECT_NE(strFirst, std::string(sz1));
    for (uint32_t dwCode : {0x80041013u, 0x80041001u, 0x80080005u})
    {
        const char* sz = WmiErrorText(dwCode);
        EXPECT_LT(strlen(sz), static_cast<size_t>(WMIERRORTEXT_BUFSIZE));
        // Cleared before each call: nothing of a longer earlier text stays behind the terminator.
        const size_t nLen = strlen(sz);
        for (size_t i = nLen; i < WMIERRORTEXT_BUFSIZE; ++i)
            ASSERT_EQ('\0', sz[i]) << std::hex << dwCode << " at " << std::dec << i;
    }
}
