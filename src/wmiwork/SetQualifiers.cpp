// SetQualifiers: the entries "1", "2", ... of [Qualifier], each "namespace:class.qualifier=value".
#include "SetQualifiers.h"

#include "ArcaTrace.h"
#include "IniFile.h"
#include "WmiWork.h"

#include <string>

ExitCode SetQualifiers(const char* szIni, const char* szIniBackup)
{
    const char* szFunction = "SetQualifiers";
    gg_ptrc->Trace(3, szFunction, "Enter", "Method SetQualifiers has been entered.",
                   "szIni='%s', szIniBackup='%s'", szIni, szIniBackup != nullptr ? szIniBackup : "(null)");
    ExitCode nRet = EXITCODE_OK;
    CIniFile oWmi;
    CIniFile oIniBa;
    if (!oWmi.OpenIni(szIni, true))
    {
        gg_ptrc->Trace(1, szFunction, "Internal", "oWmi.OpenIni failed", "path='%s'", szIni);
        nRet = EXITCODE_ERR_INIFILE_NOT_FOUND;
    }
    else if (szIniBackup != nullptr && !oIniBa.OpenIni(szIniBackup, false))
    {
        // The backup file is tested for existence like the INI file itself: it must be
        // there (it may be empty) before anything is set.
        gg_ptrc->Trace(1, szFunction, "Internal", "oIniBa.OpenIni failed", "path='%s'", szIniBackup);
        nRet = EXITCODE_ERR_INIFILE_NOT_FOUND;
    }
    else
    {
        // The numbers run from 1 without gaps; the first missing or empty key ends the list.
        for (int n = 1;; ++n)
        {
            const std::string strKey = std::to_string(n);
            const std::string strEntry = oWmi.ReadString("Qualifier", strKey.c_str());
            if (strEntry.empty())
            {
                break;
            }
            const size_t nEqual = strEntry.find('=');
            if (nEqual == std::string::npos || nEqual == 0)
            {
                gg_ptrc->Trace(2, szFunction, "Internal", "Separator '=' not found", "key=%d, value='%s'", n,
                               strEntry.c_str());
                continue;
            }
            const std::string strPath = strEntry.substr(0, nEqual);
            const std::string strValue = strEntry.substr(nEqual + 1);
            std::string strOldValue;
            if (!CWmiWork::QualifierSet(strPath.c_str(), strValue.c_str(), &strOldValue))
            {
                gg_ptrc->Trace(1, szFunction, "Internal", "CWmiWork::QualifierSet failed",
                               "path='%s', value='%s'", strPath.c_str(), strValue.c_str());
                nRet = EXITCODE_ERR_SET_QUALIFIER_FAILED;
                break;
            }
            // A backup line that cannot be written (a read-only or locked file) is recorded by
            // the write itself and ends nothing: 22 is only for an entry that cannot be set.
            if (szIniBackup != nullptr && oIniBa.IsUsable())
            {
                oIniBa.WriteString("Qualifier", strKey.c_str(), (strPath + "=" + strOldValue).c_str());
            }
        }
    }
    gg_ptrc->Trace(3, szFunction, "Leave", "Method SetQualifiers has been left.", "ret=%d",
                   static_cast<int>(nRet));
    return nRet;
}
