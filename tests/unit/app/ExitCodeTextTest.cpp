#include "ExitCode.h"

#include <gtest/gtest.h>

#include <string>

// Texts no end-to-end trace shows; the others are pinned there in the "nReturn=" record.
TEST(ExitCodeText, DefinedTemplateAndUnknownCodes)
{
    const struct
    {
        int nCode;
        const char* szText;
    } aRows[] = {{3, "3, EXITCODE_ERR_INIFILE_NOT_FOUND"},
                 {4, "4, EXITCODE_ERR_WMI_CONNECT"},
                 {5, "5, EXITCODE_ERR_ACCESS_DENIED"},
                 {16, "16, EXITCODE_ERR_MOFCOMP_CONNECT"},
                 {20, "20, EXITCODE_ERR_ADMIN_PERMISSIONS_REQUIRED"},
                 {21, "21, EXITCODE_ERR_REG_ACCESS_FAILED"},
                 {22, "22, EXITCODE_ERR_SET_QUALIFIER_FAILED"}};
    for (const auto& row : aRows)
        EXPECT_EQ(std::string(row.szText), ExitCodeText(row.nCode)) << row.nCode;
    // The template range; codes without a text of their own.
    for (int nCode : {0x10000000, 0x10000000 + 5, 0x7FFFFFFF})
        EXPECT_EQ(std::string("0x10000000 + x, EXITCODE_ERR_PARSE_TEMPLATE_MOF"), ExitCodeText(nCode))
            << nCode;
    for (int nCode :
         {2, 6, 8, 9, 10, 11, 12, 13, 14, 15, 24, 100, 0x0FFFFFFF, -1, -3, static_cast<int>(0x80000000)})
        EXPECT_EQ(std::string("Unknown exit code"), ExitCodeText(nCode)) << nCode;
}
