// BackupIniName: the INI name split into drive, folder, base name and extension, and joined
// again with "_backup" after the base name.
#include "BackupIniName.h"

#include "ArcaTrace.h"

std::string BackupIniName(const char* szIni)
{
    gg_ptrc->Trace(4, "BackupIniName", "Enter", "Method BackupIniName has been entered.", "szIni='%s'",
                   szIni);
    const std::string strIni = szIni;
    // The drive is a leading "X:"; the folder runs up to the last "\" or "/"; the extension
    // starts at the last "." of the file name itself (a dot in a folder name is not one).
    const size_t nDrive = strIni.size() >= 2 && strIni[1] == ':' ? 2 : 0;
    const size_t nSlash = strIni.find_last_of("\\/");
    const size_t nName = nSlash == std::string::npos || nSlash < nDrive ? nDrive : nSlash + 1;
    size_t nExt = strIni.rfind('.');
    if (nExt == std::string::npos || nExt < nName)
    {
        nExt = strIni.size();
    }
    const std::string strBackup = strIni.substr(0, nExt) + "_backup" + strIni.substr(nExt);
    gg_ptrc->Trace(4, "BackupIniName", "Leave", "Method BackupIniName has been left.", "ret='%s'",
                   strBackup.c_str());
    return strBackup;
}
