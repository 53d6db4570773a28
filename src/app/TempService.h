// CCTempService: the account tests of the entry point.
#pragma once

#include <windows.h>

class CCTempService
{
public:
    // New SIDs of the Administrators group and of LocalSystem, or null; the caller frees them.
    static PSID GetAdminSid();
    static PSID GetLocalSystemSid();
    // True when the process token's group list holds the Administrators SID.
    static bool IsAdmin();
    // True when the process token's user is LocalSystem.
    static bool IsLocalSystem();
};
