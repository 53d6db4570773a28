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
    range(0x8004107A, 0x8004107A); // twice
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

    // The provider row: six lines, "fileused" written as one word.
    const std::string strProvider = TableText(0x80041013);
    EXPECT_EQ(0u, strProvider.find("COM cannot locate a provider referenced in the schema. This error may be "
                                   "caused by any of the following:\n"));
    EXPECT_NE(std::string::npos,
              strProvider.find("does not match the .lib fileused when the provider was built."));
    EXPECT_EQ(5, std::count(strProvider.begin(), strProvider.end(), '\n'));
}

TEST(WmiErrorText, SystemTextFirstThenTheTableThenUnknown)
{
    // Two rows for 0x8004107A: the lookup never reaches the second, the "put operation" one.
    const WMIERRORROW* pFirst = nullptr;
    for (unsigned i = 0; i < gg_nWmiErrorRows && !pFirst; ++i)
        pFirst = gg_aWmiErrorTable[i].dwCode == 0x8004107A ? &gg_aWmiErrorTable[i] : nullptr;
    ASSERT_NE(nullptr, pFirst);
    EXPECT_EQ(0x8004107Au, pFirst[1].dwCode);
    EXPECT_NE(nullptr, strstr(pFirst[1].szText, "put operation"));
    // Facility 7 keeps the full value; facility 8 takes only the low 16 bits as the message id.
    const std::string strAccessDenied = SystemText(ERROR_ACCESS_DENIED);
    ASSERT_FALSE(strAccessDenied.empty()) << "Wine has no text for ERROR_ACCESS_DENIED";
    const struct
    {
        uint32_t dwCode;
        std::string strExpected;
    } cases[] = {
        {0x8004107A, Expected(0x8004107A)},
        {0x80041002, Expected(0x80041002)},
        {0x8004107B, Expected(0x8004107B)},
        {0x8004105E, Expected(0x8004105E)},
        {0x80041079, Expected(0x80041079)},
        {0xC0DE0001, Expected(0xC0DE0001)},
        {0x80044FFF, Expected(0x80044FFF)},
        {0, Expected(0)},
        {0x80070005, Expected(0x80070005)},
        {0x80080005, strAccessDenied},
        {0x80080002, SystemText(ERROR_FILE_NOT_FOUND)},
    };
    for (const auto& c : cases)
        EXPECT_EQ(c.strExpected, WmiErrorText(c.dwCode)) << std::hex << c.dwCode;
    if (SystemText(0x8004107A).empty())
    {
        EXPECT_STREQ(pFirst->szText, WmiErrorText(0x8004107A));
    }
    // Without the message queuing module nothing is asked of any message source: the table decides.
    HMODULE hModule = LoadLibraryExA("MQUTIL.DLL", nullptr, LOAD_LIBRARY_AS_DATAFILE);
    if (hModule)
        FreeLibrary(hModule);
    else
    {
        EXPECT_STREQ("unknown", WmiErrorText(0x800E0005));
        EXPECT_STREQ("unknown", WmiErrorText(0xC00E0001));
    }
}

TEST(WmiErrorText, OneStaticBufferClearedByEachCall)
{
    const char* sz1 = WmiErrorText(0x80041013);
    const std::string strFirst = sz1;
    for (uint32_t dwCode : {0x80041001u, 0x80080005u, 0x8004107Bu})
    {
        const char* sz = WmiErrorText(dwCode);
        EXPECT_EQ(sz1, sz);
        // Nothing of a longer earlier text stays behind the terminator.
        for (size_t i = strlen(sz); i < WMIERRORTEXT_BUFSIZE; ++i)
            ASSERT_EQ('\0', sz[i]) << std::hex << dwCode << " at " << std::dec << i;
    }
    EXPECT_NE(strFirst, std::string(sz1));
}
