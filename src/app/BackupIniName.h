// The name of the backup file of a /SQ INI file.
#pragma once

#include <string>

// Drive, folder and extension of szIni stay; the base name gets "_backup" appended:
// C:\cfg\quals.ini gives C:\cfg\quals_backup.ini, C:\cfg\quals gives C:\cfg\quals_backup.
// False, with strBackup empty, when a part or the whole name does not fit its buffer (a
// drive of 2, a folder, base name with "_backup" or extension of 255, a name of 259 bytes).
bool BackupIniName(const char* szIni, std::string& strBackup);
