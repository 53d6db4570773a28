// The name of the backup file of a /SQ INI file.
#pragma once

#include <string>

// Drive, folder and extension of szIni stay; the base name gets "_backup" appended:
// C:\cfg\quals.ini gives C:\cfg\quals_backup.ini, C:\cfg\quals gives C:\cfg\quals_backup.
std::string BackupIniName(const char* szIni);
