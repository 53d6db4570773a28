// BackupIniName: the INI name split into drive, folder, base name and extension, and joined
// again with "_backup" after the base name.
#include "BackupIniName.h"

#include "ArcaTrace.h"

#include <windows.h>

namespace
{
// The buffers the name is split into and joined in, each with room for its NUL.
const size_t kDriveBuffer = 3;
const size_t kPartBuffer = 256;
const size_t kPathBuffer = MAX_PATH;
} // namespace

bool BackupIniName(const char* szIni, std::string& strBackup)
{
    gg_ptrc->Trace(4, "BackupIniName", "Enter", "Method BackupIniName has been entered.", "szIni='%s'",
                   szIni);
    const std::string strIni = szIni;
    // The drive is a leading "X:"; the folder runs up to the last "\" or "/"; the extension
    // starts at the last "." of the file name itself (a dot in a folder name is not one).
    // The name is walked character by character in the ANSI code page, so that the second
    // byte of a double-byte character is never taken for a "\".
    const size_t nDrive = strIni.size() >= 2 && strIni[1] == ':' ? 2 : 0;
    size_t nName = nDrive;
    size_t nExt = std::string::npos;
    for (size_t n = nDrive; n < strIni.size(); ++n)
    {
        const char c = strIni[n];
        if (IsDBCSLeadByte(static_cast<BYTE>(c)) && n + 1 < strIni.size())
        {
            ++n;
        }
        else if (c == '\\' || c == '/')
        {
            nName = n + 1;
            nExt = std::string::npos;
        }
        else if (c == '.')
        {
            nExt = n;
        }
    }
    if (nExt == std::string::npos)
    {
        nExt = strIni.size();
    }
    const std::string strBase = strIni.substr(nName, nExt - nName) + "_backup";
    strBackup = strIni.substr(0, nName) + strBase + strIni.substr(nExt);
    // A part that would not fit its buffer makes no name at all: a shortened one could name
    // some other file.
    const bool bRet = nDrive < kDriveBuffer && nName - nDrive < kPartBuffer && strBase.size() < kPartBuffer &&
                      strIni.size() - nExt < kPartBuffer && strBackup.size() < kPathBuffer;
    if (!bRet)
    {
        strBackup.clear();
    }
    gg_ptrc->Trace(4, "BackupIniName", "Leave", "Method BackupIniName has been left.",
                   "ret=%s, szBackup='%s'", bRet ? "true" : "false", strBackup.c_str());
    return bRet;
}
