// The /SQ job: class qualifiers set from an INI file, the former values kept in a backup file.
#pragma once

#include "ExitCode.h"

// szIniBackup is null when no backup is wanted; the backup file must already exist.
ExitCode SetQualifiers(const char* szIni, const char* szIniBackup);
