#include "ExitCode.h"

#include <gtest/gtest.h>

#include <string>

TEST(ExitCodeText, DefinedCodes)
{
    const struct
    {
        int nCode;
        const char* szText;
    } aRows[] = {{0, "0, EXITCODE_OK"},
                 {1, "1, "},
                 {3, "3, EXITCODE_ERR_INIFILE_NOT_FOUND"},
                 {4, "4, EXITCODE_ERR_WMI_CONNECT"},
                 {5, "5, EXITCODE_ERR_ACCESS_DENIED"},
                 {7, "7, EXITCODE_ERR_NOTHING_DONE"},
                 {16, "16, EXITCODE_ERR_MOFCOMP_CONNECT"},
                 {17, "17, EXITCODE_ERR_COMPILE_MOF"},
                 {18, "18, EXITCODE_ERR_MOF_OLD_VERSION"},
                 {19, "19, EXITCODE_ERR_MOF_PARSING_FAILED"},
                 {20, "20, EXITCODE_ERR_ADMIN_PERMISSIONS_REQUIRED"},
                 {21, "21, EXITCODE_ERR_REG_ACCESS_FAILED"},
                 {22, "22, EXITCODE_ERR_SET_QUALIFIER_FAILED"},
                 {23, "23, EXITCODE_ERR_GENERAL_ERROR"}};
    for (const auto& row : aRows)
        EXPECT_EQ(std::string(row.szText), ExitCodeText(row.nCode)) << row.nCode;
}

TEST(ExitCodeText, TemplateRangeAndUnknownCodes)
{
    const std::string strTemplate = "0x10000000 + x, EXITCODE_ERR_PARSE_TEMPLATE_MOF";
    EXPECT_EQ(strTemplate, ExitCodeText(0x10000000));
    EXPECT_EQ(strTemplate, ExitCodeText(0x10000000 + 5));
    EXPECT_EQ(strTemplate, ExitCodeText(0x7FFFFFFF));
    for (int nCode :
         {2, 6, 8, 9, 10, 11, 12, 13, 14, 15, 24, 100, 0x0FFFFFFF, -1, -3, static_cast<int>(0x80000000)})
        EXPECT_EQ(std::string("Unknown exit code"), ExitCodeText(nCode)) << nCode;
}
