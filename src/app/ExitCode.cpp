#include "ExitCode.h"

const char* ExitCodeText(int nCode)
{
    switch (nCode)
    {
    case EXITCODE_ERR_MOF_OLD_VERSION:
        return "18, EXITCODE_ERR_MOF_OLD_VERSION";
    case EXITCODE_ERR_MOF_PARSING_FAILED:
        return "19, EXITCODE_ERR_MOF_PARSING_FAILED";
    case EXITCODE_ERR_ADMIN_PERMISSIONS_REQUIRED:
        return "20, EXITCODE_ERR_ADMIN_PERMISSIONS_REQUIRED";
    case EXITCODE_ERR_REG_ACCESS_FAILED:
        return "21, EXITCODE_ERR_REG_ACCESS_FAILED";
    case EXITCODE_ERR_SET_QUALIFIER_FAILED:
        return "22, EXITCODE_ERR_SET_QUALIFIER_FAILED";
    case EXITCODE_ERR_GENERAL_ERROR:
        return "23, EXITCODE_ERR_GENERAL_ERROR";
    case EXITCODE_OK:
        return "0, EXITCODE_OK";
    case EXITCODE_ERR_CMDLINE:
        return "1, ";
    case EXITCODE_ERR_INIFILE_NOT_FOUND:
        return "3, EXITCODE_ERR_INIFILE_NOT_FOUND";
    case EXITCODE_ERR_WMI_CONNECT:
        return "4, EXITCODE_ERR_WMI_CONNECT";
    case EXITCODE_ERR_ACCESS_DENIED:
        return "5, EXITCODE_ERR_ACCESS_DENIED";
    case EXITCODE_ERR_NOTHING_DONE:
        return "7, EXITCODE_ERR_NOTHING_DONE";
    case EXITCODE_ERR_MOFCOMP_CONNECT:
        return "16, EXITCODE_ERR_MOFCOMP_CONNECT";
    case EXITCODE_ERR_COMPILE_MOF:
        return "17, EXITCODE_ERR_COMPILE_MOF";
    default:
        break;
    }
    if (nCode >= EXITCODE_ERR_PARSE_TEMPLATE_MOF)
    {
        return "0x10000000 + x, EXITCODE_ERR_PARSE_TEMPLATE_MOF";
    }
    return "Unknown exit code";
}
